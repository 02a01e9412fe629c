// Component planes to pixels and back.
#ifndef UVEK_TOOLS_CODEC_JPEG_PIXELS_H
#define UVEK_TOOLS_CODEC_JPEG_PIXELS_H

#include <vector>

#include "codec/jpeg_format.h"

namespace uvek::codec {

enum class PixelColour { Grey, RGB, YCbCr, CMYK, YCCK };

struct Plane {
    const uint8_t* samples;
    Layout layout;
};

// Enlarges subsampled components (2:1 by the triangle filter, other ratios by repetition) and converts.
Image JoinPlanes(const FrameSize& frame, const std::vector<Plane>& planes, PixelColour colour);

// Interleaves the samples of a lossless frame, shifted back by its point transform.
Image JoinLossless(const FrameSize& frame, const std::vector<const uint16_t*>& planes, int precision, int pointTransform);

}  // namespace uvek::codec

#endif
