// What the tests of images and colours share: walks over pixels, one form of three samples, planes in guarded memory.
#ifndef UVEK_TESTS_SUPPORT_PIXELS_H
#define UVEK_TESTS_SUPPORT_PIXELS_H

#include <algorithm>
#include <array>

#include "support/random.h"

namespace uvek::test {

using Pixel = std::array<int, 3>;

inline int Sat8(int v) { return std::min(255, std::max(0, v)); }

// Black, white and saturated colours as often as others.
template <typename T, int channels>
void FillPixels(GuardedImage<T, channels>& image, std::mt19937& random)
{
    image.Fill([&] { const unsigned v = random(); return v & 0x300 ? v : v & 0x400 ? 255u : 0u; });
}

template <int channels>
Pixel At(const GuardedImage<Vek8u, channels>& image, Vek32s x, Vek32s y)
{
    return {image.at(x, y, 0), image.at(x, y, 1), image.at(x, y, 2)};
}

// visit(x, y) for every pixel.
template <typename Visit>
void ForEachPixel(Vek32s width, Vek32s height, Visit&& visit)
{
    for (Vek32s y = 0; y < height; ++y)
        for (Vek32s x = 0; x < width; ++x)
            visit(x, y);
}

// Every sample becomes value(x, y, channel).
template <typename T, int channels, typename Value>
void SetEach(GuardedImage<T, channels>& image, Value&& value)
{
    ForEachPixel(image.width(), image.height(), [&](Vek32s x, Vek32s y) {
        for (int c = 0; c < channels; ++c)
            image.set(x, y, c, (T)value(x, y, c));
    });
}

// Up to four planes; the chroma planes may have a shape of their own.
struct Planes {
    explicit Planes(const Shape& shape) : Planes(shape, shape) {}
    Planes(const Shape& luma, const Shape& chroma) : at{GuardedImage<Vek8u>(luma), GuardedImage<Vek8u>(chroma), GuardedImage<Vek8u>(chroma), GuardedImage<Vek8u>(luma)} {}
    Planes(const Planes&) = delete;

    Pixel pixel(Vek32s x, Vek32s y) const { return {at[0].at(x, y), at[1].at(x, y), at[2].at(x, y)}; }
    void set(Vek32s x, Vek32s y, const Pixel& p)
    {
        for (int i = 0; i < 3; ++i)
            at[i].set(x, y, 0, (Vek8u)p[i]);
    }
    friend bool operator==(const Planes& a, const Planes& b) { return std::equal(a.at, a.at + 4, b.at); }

    GuardedImage<Vek8u> at[4];
    Vek8u* pointers[4] = {at[0].data(), at[1].data(), at[2].data(), at[3].data()};
    Vek32s steps[3] = {at[0].step(), at[1].step(), at[2].step()};
};

}  // namespace uvek::test

#endif
