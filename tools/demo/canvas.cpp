#include "demo/canvas.h"

#include <algorithm>
#include <cmath>

#include "commands/files.h"

namespace uvek::demo {

using tool::Check;

Canvas::Canvas(int width, int height, Colour colour) : image_(width, height, 3)
{
    Fill({0, 0, width, height}, colour);
}

Box Canvas::Cut(Box box) const
{
    const int right = std::min(box.x + box.width, width()), bottom = std::min(box.y + box.height, height());
    const int left = std::max(box.x, 0), top = std::max(box.y, 0);
    return {left, top, std::max(right - left, 0), std::max(bottom - top, 0)};
}

void Canvas::Fill(Box box, Colour colour)
{
    const Box cut = Cut(box);
    if (cut.width > 0 && cut.height > 0)
        Check(vekiSet_8u_C3R(colour.data(), image_.row(cut.y) + 3 * cut.x, image_.step(), {cut.width, cut.height}), "fill");
}

void Canvas::Place(const Image& image, int x, int y)
{
    const Box cut = Cut({x, y, image.width, image.height});
    if (cut.width < 1 || cut.height < 1)
        return;
    const Image rgb = ToRgb(image);
    Check(vekiCopy_8u_C3R(rgb.row(cut.y - y) + 3 * (cut.x - x), rgb.step(), image_.row(cut.y) + 3 * cut.x, image_.step(), {cut.width, cut.height}), "copy");
}

void Canvas::Frame(Box box, Colour colour)
{
    Fill({box.x - 1, box.y - 1, box.width + 2, 1}, colour);
    Fill({box.x - 1, box.y + box.height, box.width + 2, 1}, colour);
    Fill({box.x - 1, box.y, 1, box.height}, colour);
    Fill({box.x + box.width, box.y, 1, box.height}, colour);
}

void Canvas::Blend(int x, int y, Colour colour, double coverage)
{
    if (x < 0 || y < 0 || x >= width() || y >= height() || coverage <= 0)
        return;
    uint8_t* pixel = image_.row(y) + 3 * x;
    for (size_t c = 0; c < 3; ++c)
        pixel[c] = (uint8_t)std::lround(pixel[c] + (colour[c] - pixel[c]) * std::min(coverage, 1.0));
}

// A pixel is covered by how far its centre lies inside the line's edge.
void Canvas::Line(double x0, double y0, double x1, double y1, double thickness, Colour colour, double opacity)
{
    const double reach = thickness / 2 + 1, dx = x1 - x0, dy = y1 - y0, length2 = dx * dx + dy * dy;
    const int left = std::max(0, (int)std::floor(std::min(x0, x1) - reach)), right = std::min(width() - 1, (int)std::ceil(std::max(x0, x1) + reach));
    const int top = std::max(0, (int)std::floor(std::min(y0, y1) - reach)), bottom = std::min(height() - 1, (int)std::ceil(std::max(y0, y1) + reach));
    for (int y = top; y <= bottom; ++y)
        for (int x = left; x <= right; ++x) {
            const double along = length2 > 0 ? std::clamp(((x - x0) * dx + (y - y0) * dy) / length2, 0.0, 1.0) : 0;
            const double distance = std::hypot(x - x0 - along * dx, y - y0 - along * dy);
            Blend(x, y, colour, opacity * std::clamp(thickness / 2 + 0.5 - distance, 0.0, 1.0));
        }
}

void Canvas::Label(int x, int y, const std::string& text)
{
    constexpr int kPixels = 12, kMargin = 5, kHeight = 18;
    const int textWidth = TextWidth(kPixels, Face::Regular, text);
    for (int j = y - kHeight; j < y; ++j)
        for (int i = x; i < x + textWidth + 2 * kMargin; ++i)
            Blend(i, j, {0, 0, 0}, 0.62);
    Text(x + kMargin, y - 5, kPixels, Face::Regular, kWhite, text);
}

Image ToRgb(const Image& image)
{
    if (image.channels == 3)
        return image;
    Image rgb(image.width, image.height, 3);
    Check(vekiDup_8u_C1C3R(image.samples.data(), image.step(), rgb.samples.data(), rgb.step(), SizeOf(image)), "copy");
    return rgb;
}

Image Crop(const Image& image, Box box)
{
    const int x = std::clamp(box.x, 0, image.width - 1), y = std::clamp(box.y, 0, image.height - 1);
    Image part(std::clamp(box.width, 1, image.width - x), std::clamp(box.height, 1, image.height - y), image.channels);
    const auto copy = image.channels == 1 ? vekiCopy_8u_C1R : vekiCopy_8u_C3R;
    Check(copy(image.row(y) + x * image.channels, image.step(), part.samples.data(), part.step(), SizeOf(part)), "copy");
    return part;
}

Image Scale(const Image& image, int width, int height)
{
    if (width == image.width && height == image.height)
        return image;
    constexpr int kPixelsShow = 4;  // from this enlargement on
    const bool shrinks = width <= image.width && height <= image.height;
    const Vek32s interpolation = shrinks ? InterSuper : width >= kPixelsShow * image.width || height >= kPixelsShow * image.height ? InterNearest : InterLinear;
    // A hair more than the ratio, so that the scaled length does not round down below what is wanted.
    const auto factor = [](int to, int from) { return to == from ? 1.0 : (to + 1e-6) / from; };
    Image out(width, height, image.channels);
    const auto resize = image.channels == 1 ? vekiResize_8u_C1R : vekiResize_8u_C3R;
    Check(resize(image.samples.data(), SizeOf(image), image.step(), RectOf(image), out.samples.data(), out.step(), SizeOf(out), factor(width, image.width),
                 factor(height, image.height), interpolation),
          "resize");
    return out;
}

Image Fit(const Image& image, int width, int height)
{
    const double factor = std::min((double)width / image.width, (double)height / image.height);
    const auto scaled = [&](int length, int most) { return std::clamp((int)std::lround(length * factor), 1, most); };
    return Scale(image, scaled(image.width, width), scaled(image.height, height));
}

}  // namespace uvek::demo
