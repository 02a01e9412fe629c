#include "codec/jpeg_pixels.h"

#include <algorithm>
#include <cstring>

namespace uvek::codec {
namespace {

// The smallest width of a component that the triangle filter is used for; narrower ones are repeated,
// as other decoders do.
constexpr int kTriangleWidth = 3;

// Gives full-size rows of a component.
class RowSource {
public:
    RowSource(const FrameSize& frame, const Plane& plane)
        : frame_(frame), plane_(plane), halvedWide_(2 * plane.layout.h == frame.mostH && plane.layout.width >= kTriangleWidth),
          halvedHigh_(2 * plane.layout.v == frame.mostV), buffer_((size_t)2 * (size_t)plane.layout.step() + (size_t)frame.width)
    {
    }

    bool IsFullSize() const { return plane_.layout.h == frame_.mostH && plane_.layout.v == frame_.mostV; }

    const uint8_t* Row(int y)
    {
        if (IsFullSize())
            return SourceRow(y);
        const int sourceY = y * plane_.layout.v / frame_.mostV;
        if (halvedWide_ && plane_.layout.v == frame_.mostV) {
            Check(vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(SourceRow(sourceY), plane_.layout.width, buffer_.data()), "upsampling");
        } else if (halvedWide_ && halvedHigh_) {
            const uint8_t* other = SourceRow(OtherRow(y, sourceY));
            Check(vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(SourceRow(sourceY), other, plane_.layout.width, buffer_.data()), "upsampling");
        } else if (halvedHigh_ && plane_.layout.h == frame_.mostH) {
            TriangleBetweenRows(y, sourceY);
        } else {
            const uint8_t* source = SourceRow(sourceY);
            for (int x = 0; x < frame_.width; ++x)
                buffer_[(size_t)x] = source[x * plane_.layout.h / frame_.mostH];
        }
        return buffer_.data();
    }

private:
    int OtherRow(int y, int sourceY) const { return std::clamp(y % 2 ? sourceY + 1 : sourceY - 1, 0, plane_.layout.height - 1); }

    void TriangleBetweenRows(int y, int sourceY)
    {
        const uint8_t* near = SourceRow(sourceY);
        const uint8_t* far = SourceRow(OtherRow(y, sourceY));
        const int round = y % 2 ? 2 : 1;
        for (int x = 0; x < frame_.width; ++x)
            buffer_[(size_t)x] = (uint8_t)((3 * near[x] + far[x] + round) >> 2);
    }

    const uint8_t* SourceRow(int y) const { return plane_.samples + (size_t)y * (size_t)plane_.layout.step(); }

    const FrameSize& frame_;
    Plane plane_;
    bool halvedWide_, halvedHigh_;
    Bytes buffer_;
};

// Rows of up to four components, sourceStep bytes apart, to pixels.
void Convert(PixelColour colour, const uint8_t* const (&rows)[4], int sourceStep, Image& image, int y, int height)
{
    const VekImageSize size = {image.width, height};
    uint8_t* to = image.row(y);
    switch (colour) {
    case PixelColour::Grey:
        return Check(vekiCopy_8u_C1R(rows[0], sourceStep, to, image.step(), size), "copy");
    case PixelColour::RGB:
        return Check(vekiCopy_8u_P3C3R(rows, sourceStep, to, image.step(), size), "copy");
    case PixelColour::YCbCr:
        return Check(vekiYCbCrToRGB_JPEG_8u_P3C3R(rows, sourceStep, to, image.step(), size), "colour conversion");
    case PixelColour::CMYK:
        return Check(vekiCopy_8u_P4C4R(rows, sourceStep, to, image.step(), size), "copy");
    case PixelColour::YCCK:
        return Check(vekiYCCKToCMYK_JPEG_8u_P4C4R(rows, sourceStep, to, image.step(), size), "colour conversion");
    }
}

}  // namespace

Image JoinPlanes(const FrameSize& frame, const std::vector<Plane>& planes, PixelColour colour)
{
    Image image(frame.width, frame.height, (int)planes.size());
    std::vector<RowSource> sources;
    sources.reserve(planes.size());
    for (const Plane& plane : planes)
        sources.emplace_back(frame, plane);
    const uint8_t* rows[4] = {};
    if (std::all_of(sources.begin(), sources.end(), [](const RowSource& source) { return source.IsFullSize(); })) {
        for (size_t i = 0; i < planes.size(); ++i)
            rows[i] = planes[i].samples;
        Convert(colour, rows, planes[0].layout.step(), image, 0, frame.height);
        return image;
    }
    for (int y = 0; y < frame.height; ++y) {
        for (size_t i = 0; i < planes.size(); ++i)
            rows[i] = sources[i].Row(y);
        Convert(colour, rows, frame.width, image, y, 1);
    }
    return image;
}

Image JoinLossless(const FrameSize& frame, const std::vector<const uint16_t*>& planes, int precision, int pointTransform)
{
    const int channels = (int)planes.size();
    Image image;
    if (precision <= 8) {
        image = Image(frame.width, frame.height, channels);
        image.precision = precision;
    } else {
        image.width = frame.width;
        image.height = frame.height;
        image.channels = channels;
        image.precision = precision;
        image.wide.resize((size_t)frame.width * (size_t)frame.height * (size_t)channels);
    }
    const size_t pixels = (size_t)frame.width * (size_t)frame.height;
    for (size_t i = 0; i < pixels; ++i)
        for (size_t c = 0; c < planes.size(); ++c) {
            const int value = planes[c][i] << pointTransform;
            if (precision <= 8)
                image.samples[i * planes.size() + c] = (uint8_t)value;
            else
                image.wide[i * planes.size() + c] = (uint16_t)value;
        }
    return image;
}

}  // namespace uvek::codec
