// A picture that is being put together. The pixels come from the library; only letters are Cairo's.
#ifndef UVEK_TOOLS_DEMO_CANVAS_H
#define UVEK_TOOLS_DEMO_CANVAS_H

#include <array>
#include <string>

#include "codec/image.h"
#include "uvek/uvek.h"

namespace uvek::demo {

using codec::Image;
using Colour = std::array<uint8_t, 3>;

constexpr Colour kWhite = {255, 255, 255}, kInk = {32, 33, 36}, kFaint = {118, 120, 124}, kHairline = {208, 209, 211}, kMat = {236, 236, 233};

struct Box {
    int x, y, width, height;
};

inline VekImageSize SizeOf(const Image& image) { return {image.width, image.height}; }
inline VekImageRect RectOf(const Image& image) { return {0, 0, image.width, image.height}; }

enum class Align { Left, Centre, Right };
enum class Face { Regular, Bold, Mono };

class Canvas {
public:
    Canvas(int width, int height, Colour colour);

    int width() const { return image_.width; }
    int height() const { return image_.height; }
    const Image& image() const { return image_; }

    void Fill(Box box, Colour colour);
    void Place(const Image& image, int x, int y);  // what falls outside is cut
    void Frame(Box box, Colour colour);            // a line of one pixel just outside
    void Line(double x0, double y0, double x1, double y1, double width, Colour colour, double opacity = 1);
    void Disc(double x, double y, double radius, Colour colour) { Line(x, y, x, y, 2 * radius, colour); }
    void Blend(int x, int y, Colour colour, double coverage);

    // Letters with their baseline at y; the width they take.
    int Text(int x, int y, int pixels, Face face, Colour colour, const std::string& text, Align align = Align::Left);
    // White letters on a dark ground, for use on top of pictures; x, y: the ground's lower left corner.
    void Label(int x, int y, const std::string& text);

private:
    Box Cut(Box box) const;

    Image image_;
};

// The width of a text in pixels.
int TextWidth(int pixels, Face face, const std::string& text);

// A picture scaled to exactly width by height: by means of areas where both sides shrink, so that no pixel
// is lost; small ones keep their pixels visible.
Image Scale(const Image& image, int width, int height);

// The largest scaled copy within width by height.
Image Fit(const Image& image, int width, int height);

// A grey picture as RGB; others as they are.
Image ToRgb(const Image& image);

// The part of a picture inside `box`, which is cut to it.
Image Crop(const Image& image, Box box);

}  // namespace uvek::demo

#endif
