// Seeded noise. The seed is printed by every test program that uses it, and UVEK_TEST_SEED repeats it.
#ifndef UVEK_TESTS_SUPPORT_RANDOM_H
#define UVEK_TESTS_SUPPORT_RANDOM_H

#include <cstdint>
#include <limits>
#include <random>

#include "support/guarded.h"

namespace uvek::test {

uint32_t Seed();

// Samples of every kind that breaks kernels: noise, all low, all high, alternating extremes, by `kind`.
enum class Kind { Noise, Low, High, Alternating };
constexpr Kind kAllKinds[] = {Kind::Noise, Kind::Low, Kind::High, Kind::Alternating};

template <typename T, int channels>
void FillInteger(GuardedImage<T, channels>& image, Kind kind, std::mt19937& random)
{
    const T low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
    bool odd = false;
    image.Fill([&]() -> T {
        switch (kind) {
        case Kind::Low: return low;
        case Kind::High: return high;
        case Kind::Alternating: odd = !odd; return odd ? low : high;
        default: return (T)random();
        }
    });
}

template <typename T, int channels = 1>
GuardedImage<T, channels> Noise(const Shape& shape, std::mt19937& random)
{
    GuardedImage<T, channels> image(shape);
    FillInteger(image, Kind::Noise, random);
    return image;
}

}  // namespace uvek::test

#endif
