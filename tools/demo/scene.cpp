#include "demo/scene.h"

#include <algorithm>
#include <cmath>

#include "codec/jpeg.h"
#include "commands/files.h"

namespace uvek::demo {

using tool::Check;

namespace {

constexpr int kFrameWidth = 300, kLeastHeight = 150, kMostHeight = 400;

// The window of `area` with the largest deviation, of those in steps of an eighth. What is nearer to the middle
// counts for more, as a photographer puts there what the picture is about.
Box FindDetail(const Image& rgb, Box area, int width, int height)
{
    Box best = {area.x, area.y, std::min(width, area.width), std::min(height, area.height)};
    double most = -1;
    const int xStep = std::max(1, best.width / 8), yStep = std::max(1, best.height / 8);
    for (int y = area.y; y + best.height <= area.y + area.height; y += yStep)
        for (int x = area.x; x + best.width <= area.x + area.width; x += xStep) {
            double deviation = 0;
            Check(vekiMean_StdDev_8u_C3CR(rgb.row(y) + 3 * x, rgb.step(), {best.width, best.height}, 2, nullptr, &deviation), "deviation");
            const double xOff = (2.0 * (x - area.x) + best.width) / area.width - 1, yOff = (2.0 * (y - area.y) + best.height) / area.height - 1;
            const double weight = deviation * std::exp(-xOff * xOff - yOff * yOff);
            if (weight > most) {
                most = weight;
                best.x = x;
                best.y = y;
            }
        }
    return best;
}

Box Frame(const Image& rgb)
{
    const double height = (double)kFrameWidth * rgb.height / rgb.width;
    return {0, 0, kFrameWidth, (int)std::lround(std::clamp(height, (double)kLeastHeight, (double)kMostHeight))};
}

Image Working(const Image& picture)
{
    return std::max(picture.width, picture.height) <= kLargestSide ? picture : Fit(picture, kLargestSide, kLargestSide);
}

}  // namespace

Image Gray(const Image& rgb)
{
    Image gray(rgb.width, rgb.height, 1);
    Check(vekiRGBToGray_8u_C3C1R(rgb.samples.data(), rgb.step(), gray.samples.data(), gray.step(), SizeOf(rgb)), "gray");
    return gray;
}

Bordered::Bordered(const Image& in) : image(in.width + 2 * kBorder, in.height + 2 * kBorder, in.channels)
{
    const auto copy = in.channels == 1 ? vekiCopyReplicateBorder_8u_C1R : vekiCopyReplicateBorder_8u_C3R;
    Check(copy(in.samples.data(), in.step(), SizeOf(in), image.samples.data(), image.step(), SizeOf(image), kBorder, kBorder), "border");
}

Scene::Scene(const Image& picture, const codec::Bytes& jpegFile)
    : rgb(Working(picture)), gray(Gray(rgb)), borderedRgb(rgb), borderedGray(gray), frame(Frame(rgb)), detail(FindDetail(rgb, {0, 0, rgb.width, rgb.height}, frame.width, frame.height)),
      closeUp(FindDetail(rgb, detail, std::max(1, frame.width / kEnlargement), std::max(1, frame.height / kEnlargement)))
{
    codec::EncodeOptions options;
    options.quality = 92;
    const bool asItIs = !jpegFile.empty() && rgb.width == picture.width && rgb.height == picture.height;
    file = asItIs ? jpegFile : codec::EncodeJpeg(rgb, options);
}

}  // namespace uvek::demo
