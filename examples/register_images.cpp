// Finds how far one picture is shifted against another: register_images FIRST.ppm SECOND.ppm
//
// Correlation of small copies finds the shift to a few pixels, wherever it is; tracking a grid of points down
// the pyramids from there finds it to a fraction of one.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

#include "ppm.hpp"

namespace {

struct Shift {
    float x, y;
};

// The pictures of a pyramid in halves, with the record that the tracker wants of them.
struct Pyramid {
    static constexpr Vek16s kSmoothing[] = {1, 4, 6, 4, 1};
    static constexpr int kLevels = 3;

    std::vector<GrayImage> images;
    uvek::pyramid record;

    explicit Pyramid(const RgbImage& picture) : record(uvek::make_pyramid(kLevels, picture.size(), 2))
    {
        uvek::pyramid_layer layer = uvek::make_pyramid_layer(picture.size(), 2, kSmoothing);
        for (int i = 0; i <= record->numLevels; ++i) {
            GrayImage image(record->pRoi[i]);
            check(i == 0 ? uvek::rgb_to_gray(picture, image) : uvek::layer_down(layer, images.back(), image));
            record->pImage[i] = image.data();
            record->pStep[i] = image.step();
            images.push_back(std::move(image));
        }
    }
};

// Floats around zero: what is left of a picture without its mean.
uvek::image<Vek32f, 1> Centred(const GrayImage& picture)
{
    uvek::image<Vek32f, 1> result(picture.size());
    for (int y = 0; y < picture.height(); ++y)
        check(uvek::convert(picture.row(y), result.row(y)));
    double sum;
    check(uvek::sum(result, sum));
    const float mean = (float)(sum / picture.width() / picture.height());
    for (int y = 0; y < picture.height(); ++y)
        for (float& sample : result.row(y))
            sample -= mean;
    return result;
}

// Correlation is convolution with the other picture turned around; its peak tells the shift.
Shift Correlate(const GrayImage& first, const GrayImage& second)
{
    const int width = first.width(), height = first.height();
    GrayImage turned(second.size());
    check(uvek::copy(second, turned));
    check(uvek::mirror(turned, AxisBoth));
    uvek::image<Vek32f, 1> correlation(2 * width - 1, 2 * height - 1);
    check(uvek::convolve(Centred(first), Centred(turned), correlation));
    float best = 0;
    Shift shift = {0, 0};
    for (int y = 0; y < correlation.height(); ++y)
        for (int x = 0; x < correlation.width(); ++x)
            if (correlation(x, y) > best) {
                best = correlation(x, y);
                shift = {(float)(width - 1 - x), (float)(height - 1 - y)};
            }
    return shift;
}

float Median(std::vector<float>& values)
{
    std::nth_element(values.begin(), values.begin() + (std::ptrdiff_t)values.size() / 2, values.end());
    return values[values.size() / 2];
}

// The median of how far the points of a grid moved, each looked for from `start` on.
Shift Track(const Pyramid& first, const Pyramid& second, Shift start)
{
    constexpr int kSpacing = 16, kWindow = 15, kIterations = 30;
    constexpr float kThreshold = 0.01f;
    const VekImageSize size = first.images[0].size();
    std::vector<float> from, to;
    for (int y = kSpacing; y < size.height; y += kSpacing)
        for (int x = kSpacing; x < size.width; x += kSpacing) {
            from.insert(from.end(), {(float)x, (float)y});
            to.insert(to.end(), {(float)x + start.x, (float)y + start.y});
        }
    const size_t count = from.size() / 2;
    std::vector<Vek8s> lost(count);
    std::vector<float> error(count), xs, ys;
    uvek::optical_flow tracker = uvek::make_optical_flow(size, kWindow);
    uvek::check(vekiOpticalFlowPyrLK_8u_C1R(first.record.get(), second.record.get(), from.data(), to.data(), lost.data(), error.data(), (Vek32s)count,
                                            kWindow, first.record->numLevels, kIterations, kThreshold, tracker.get()));
    for (size_t i = 0; i < count; ++i)
        if (!lost[i]) {
            xs.push_back(to[2 * i] - from[2 * i]);
            ys.push_back(to[2 * i + 1] - from[2 * i + 1]);
        }
    if (xs.empty())
        throw std::runtime_error("no point of the first picture is in the second");
    std::printf("%zu of %zu points found\n", xs.size(), count);
    return {Median(xs), Median(ys)};
}

}  // namespace

int main(int argc, char** argv)
try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: register_images FIRST.ppm SECOND.ppm\n");
        return EXIT_FAILURE;
    }
    const RgbImage pictures[2] = {ReadPpm(argv[1]), ReadPpm(argv[2])};
    if (pictures[0].width() != pictures[1].width() || pictures[0].height() != pictures[1].height())
        throw std::runtime_error("the pictures differ in size");
    const Pyramid first(pictures[0]), second(pictures[1]);
    const float scale = (float)first.record->pRate[0] / (float)first.record->pRate[first.record->numLevels];
    const Shift small = Correlate(first.images.back(), second.images.back());
    const Shift coarse = {small.x * scale, small.y * scale};
    std::printf("correlation: %.0f %.0f\n", coarse.x, coarse.y);
    const Shift fine = Track(first, second, coarse);
    std::printf("shift: %.3f %.3f\n", fine.x, fine.y);
} catch (const std::exception& error) {
    std::fprintf(stderr, "register_images: %s\n", error.what());
    return EXIT_FAILURE;
}
