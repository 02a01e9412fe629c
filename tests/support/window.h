// Window filters against a plain statement of one result: the source is readable exactly where the
// window reaches, in every shape.
#ifndef UVEK_TESTS_SUPPORT_WINDOW_H
#define UVEK_TESTS_SUPPORT_WINDOW_H

#include <gtest/gtest.h>

#include "support/guarded.h"
#include "support/random.h"

namespace uvek::test {

// How far a window reaches beyond its pixel.
struct Border {
    Vek32s left = 0, top = 0, right = 0, bottom = 0;
};

// A region with its border in guarded memory.
template <typename T, int channels = 1>
class BorderedImage {
public:
    BorderedImage(Shape shape, const Border& border) : border_(border), size_(shape.size()), whole_(Grow(shape, border)) {}

    T* data() const { return (T*)((uint8_t*)whole_.data() + (int64_t)whole_.step() * border_.top) + (int64_t)border_.left * channels; }
    Vek32s step() const { return whole_.step(); }
    VekImageSize size() const { return size_; }
    T at(Vek32s x, Vek32s y, int c = 0) const { return whole_.at(x + border_.left, y + border_.top, c); }
    void set(Vek32s x, Vek32s y, int c, T value) { whole_.set(x + border_.left, y + border_.top, c, value); }
    GuardedImage<T, channels>& whole() { return whole_; }
    const GuardedImage<T, channels>& whole() const { return whole_; }

private:
    static Shape Grow(Shape shape, const Border& border)
    {
        shape.width += border.left + border.right;
        shape.height += border.top + border.bottom;
        return shape;
    }

    Border border_;
    VekImageSize size_;
    GuardedImage<T, channels> whole_;
};

// Fills with bytes: noise, both extremes, or their alternation, by turns.
template <typename T, int channels>
void FillWithBytes(BorderedImage<T, channels>& image, unsigned turn, std::mt19937& random)
{
    bool odd = false;
    image.whole().Fill([&]() -> T {
        odd = !odd;
        switch (turn % 6) {
        case 0: return (T)0;
        case 1: return (T)255;
        case 2: return (T)(odd ? 0 : 255);
        default: return (T)(random() & 255);
        }
    });
}

// run(source, destination) -> status; expected(source, x, y, c) -> the sample. `sampleStep`: what
// paddings are multiples of.
template <typename S, typename D, int channels, typename Run, typename Expected>
void CheckWindow(const Border& border, Run&& run, Expected&& expected, Vek32s sampleStep = 1)
{
    std::mt19937 random(Seed());
    unsigned turn = 0;
    ForEachShape([&](Shape shape) {
        if (shape.width > 255 && shape.offset != 0)
            return;  // brute force takes its time
        shape.upward = false;
        shape.padding = shape.padding / sampleStep * sampleStep;
        BorderedImage<S, channels> src(shape, border);
        FillWithBytes(src, turn++, random);
        const GuardedImage<S, channels> before = src.whole();
        GuardedImage<D, channels> dst(shape), want(shape);
        ASSERT_EQ(StatusOk, run(src, dst)) << shape;
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x)
                for (int c = 0; c < channels; ++c) {
                    const D value = (D)expected(src, x, y, c);
                    ASSERT_EQ(value, dst.at(x, y, c)) << "at " << x << ", " << y << ", channel " << c << " of " << shape << " seed " << Seed();
                    want.set(x, y, c, value);
                }
        EXPECT_EQ(want, dst) << "bytes outside the region, " << shape;
        EXPECT_EQ(before, src.whole()) << shape;
    });
}

}  // namespace uvek::test

#endif
