// Adds noise to a picture and measures how well three filters take it away: denoise IN.ppm OUT.ppm
//
// Prints the peak signal-to-noise ratio of each, and writes the best picture of the last kind of noise.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <vector>

#include "ppm.hpp"

namespace {

constexpr int kMask = 3, kBorder = kMask / 2;

// Every sample by a normally distributed amount.
void AddGaussianNoise(RgbImage& picture, float deviation)
{
    uvek::gauss_random random = uvek::make_gauss_random(0, deviation, 1);
    std::vector<Vek32f> noise((size_t)picture.width() * 3);
    for (int y = 0; y < picture.height(); ++y) {
        check(uvek::draw(random, noise));
        for (size_t x = 0; x < noise.size(); ++x) {
            Vek8u& sample = picture.row(y)[(int)x];
            sample = (Vek8u)std::clamp(std::lround((float)sample + noise[x]), 0L, 255L);
        }
    }
}

// A sample in twenty becomes black or white.
void AddImpulses(RgbImage& picture)
{
    constexpr float kRare = 1.96f;  // standard deviations, which one sample in twenty exceeds
    uvek::gauss_random random = uvek::make_gauss_random(0, 1, 2);
    std::vector<Vek32f> draw((size_t)picture.width() * 3);
    for (int y = 0; y < picture.height(); ++y) {
        check(uvek::draw(random, draw));
        for (size_t x = 0; x < draw.size(); ++x)
            if (std::fabs(draw[x]) > kRare)
                picture.row(y)[(int)x] = draw[x] < 0 ? 0 : 255;
    }
}

double Psnr(const RgbImage& a, const RgbImage& b)
{
    double sum = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < 3 * a.width(); ++x)
            sum += std::pow((double)a.row(y)[x] - b.row(y)[x], 2);
    return 10 * std::log10(255.0 * 255.0 * 3 * a.width() * a.height() / sum);
}

// A filter reads the pixels around the region it is given, so that it runs inside a bordered copy.
template <class Image>
Image WithBorder(const Image& picture)
{
    Image bordered(picture.width() + 2 * kBorder, picture.height() + 2 * kBorder);
    check(uvek::replicate_border(picture, bordered, kBorder, kBorder));
    return bordered;
}

RgbImage Box(const RgbImage& picture)
{
    RgbImage result(picture.size());
    check(uvek::box(WithBorder(picture).sub({kBorder, kBorder, picture.width(), picture.height()}), result, {kMask, kMask}, {kBorder, kBorder}));
    return result;
}

// Filters of one channel run on each of the three.
template <class Filter>
RgbImage OnEachChannel(const RgbImage& picture, Filter filter)
{
    RgbImage result(picture.size());
    GrayImage channel(picture.size()), filtered(picture.size());
    for (int c = 0; c < 3; ++c) {
        check(uvek::extract(picture, c, channel));
        const GrayImage bordered = WithBorder(channel);
        check(filter(bordered.sub({kBorder, kBorder, picture.width(), picture.height()}), filtered));
        check(uvek::insert(filtered, result, c));
    }
    return result;
}

RgbImage Gauss(const RgbImage& picture)
{
    return OnEachChannel(picture, [](auto src, GrayImage& dst) { return uvek::gauss(src, dst, MaskSize3x3); });
}

RgbImage Median(const RgbImage& picture)
{
    return OnEachChannel(picture, [](auto src, GrayImage& dst) { return uvek::median(src, dst, {kMask, kMask}, {kBorder, kBorder}); });
}

}  // namespace

int main(int argc, char** argv)
try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: denoise IN.ppm OUT.ppm\n");
        return EXIT_FAILURE;
    }
    const RgbImage original = ReadPpm(argv[1]);
    std::printf("PSNR in dB     noisy      box    Gauss   median\n");
    for (const bool impulses : {false, true}) {
        RgbImage noisy(original.size());
        check(uvek::copy(original, noisy));
        if (impulses)
            AddImpulses(noisy);
        else
            AddGaussianNoise(noisy, 20);
        std::printf("%-11s %8.2f", impulses ? "impulses" : "Gaussian", Psnr(original, noisy));
        double best = 0;
        for (const auto filter : {Box, Gauss, Median}) {
            const RgbImage result = filter(noisy);
            const double psnr = Psnr(original, result);
            std::printf(" %8.2f", psnr);
            if (psnr > best) {
                best = psnr;
                WritePpm(argv[2], result);
            }
        }
        std::printf("\n");
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "denoise: %s\n", error.what());
    return EXIT_FAILURE;
}
