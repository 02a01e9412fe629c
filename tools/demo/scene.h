// What all panels start from: the picture in the forms that the library's functions take.
#ifndef UVEK_TOOLS_DEMO_SCENE_H
#define UVEK_TOOLS_DEMO_SCENE_H

#include "demo/canvas.h"

namespace uvek::demo {

constexpr int kLargestSide = 1024;  // of the picture that panels work on
constexpr int kEnlargement = 5;     // of a close-up
constexpr int kBorder = 8;          // replicated pixels around it, for windows that reach outside

// A picture with kBorder replicated pixels on every side.
struct Bordered {
    Image image;

    explicit Bordered(const Image& in);
    const Vek8u* inner() const { return image.row(kBorder) + kBorder * image.channels; }
    Vek32s step() const { return image.step(); }
};

Image Gray(const Image& rgb);

struct Scene {
    Image rgb, gray;
    Bordered borderedRgb, borderedGray;
    Box frame;     // a panel's: only its size counts
    Box detail;    // where the picture has most contrast, of a panel's size or the picture's if that is smaller
    Box closeUp;   // the same inside the detail, for enlargements

    codec::Bytes file;  // the picture as a JPEG file

    // jpegFile: where the picture comes from, or empty.
    Scene(const Image& picture, const codec::Bytes& jpegFile);
    VekImageSize size() const { return SizeOf(rgb); }
};

}  // namespace uvek::demo

#endif
