// Square windows of an image at real positions. A window's sample needs the four pixels around it; positions
// where one of them lies outside count as outside, and no sum asks for them.
#ifndef UVEK_VISION_WINDOW_H
#define UVEK_VISION_WINDOW_H

#include <math.h>

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Bytes give samples with 7 fractional bits, gradients give gradients.
template <typename T>
constexpr Vek32s kWeightBits = sizeof(T) == 1 ? 14 : 15;
template <typename T>
constexpr Vek32s kWeightShift = sizeof(T) == 1 ? 7 : 15;

struct Weights {
    Vek32s topLeft, bottomLeft, topRight, bottomRight;
};

// Each product is rounded up, and what that adds comes off the largest, so that even a whole position
// takes a little from its neighbours, and all weights fit 16 bits signed.
inline Weights BilinearWeights(Vek32f fractionX, Vek32f fractionY, Vek32s bits)
{
    const Vek32s one = 1 << bits;
    const Vek32s x = (Vek32s)(fractionX * (Vek32f)one + 0.5f), y = (Vek32s)(fractionY * (Vek32f)one + 0.5f);
    const auto product = [=](Vek32s a, Vek32s b) { return (a * b + one) >> bits; };
    Vek32s w[4] = {product(one - x, one - y), product(one - x, y), product(x, one - y), product(x, y)};
    const Vek32s excess = w[0] + w[1] + w[2] + w[3] - one;
    if (excess > 0) {
        int largest = 0;
        for (int i = 1; i < 4; ++i)
            if (w[i] > w[largest])
                largest = i;
        w[largest] -= excess;
    }
    return {w[0], w[1], w[2], w[3]};
}

// Window positions, ends excluded.
struct Span {
    Vek32s left, top, right, bottom;
    bool IsEmpty() const { return left >= right || top >= bottom; }
    Vek64f Count() const { return (Vek64f)(right - left) * (bottom - top); }
};

inline Span Intersect(const Span& a, const Span& b)
{
    return {Max(a.left, b.left), Max(a.top, b.top), Min(a.right, b.right), Min(a.bottom, b.bottom)};
}

inline bool IsSame(const Span& a, const Span& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

// A window's place in an image: the pixel of its first sample, the way on from there, and what lies inside.
struct Place {
    Vek32s x, y;
    Vek32f fractionX, fractionY;
    Span inside;
};

inline Place PlaceWindow(Vek32f centreX, Vek32f centreY, Vek32s size, VekImageSize image)
{
    constexpr Vek32f kFar = 1 << 30;
    const Vek32f half = (Vek32f)(size - 1) * 0.5f, x = centreX - half, y = centreY - half;
    if (!(x > -kFar && x < kFar && y > -kFar && y < kFar))
        return {0, 0, 0, 0, {0, 0, 0, 0}};
    const Vek32f wholeX = floorf(x), wholeY = floorf(y);
    const Vek32s left = (Vek32s)wholeX, top = (Vek32s)wholeY;
    const auto end = [=](Vek32s first, Vek32s length) { return (Vek32s)Min((int64_t)size, (int64_t)length - 1 - first); };
    return {left, top, x - wholeX, y - wholeY, {Max(0, -left), Max(0, -top), end(left, image.width), end(top, image.height)}};
}

// ---- Samples ----

template <typename T>
Vek16s SampleAt(const T* upper, const T* lower, const Weights& w)
{
    const Vek32s sum = w.topLeft * Get(upper) + w.topRight * Get(upper + 1) + w.bottomLeft * Get(lower) + w.bottomRight * Get(lower + 1);
    return (Vek16s)((sum + (1 << (kWeightShift<T> - 1))) >> kWeightShift<T>);
}

// Pixels and their right neighbours, interleaved, eight of them from p on.
struct Pairs {
    V low, high;
};

inline Pairs LoadPairs(const Vek8u* p)
{
    const V pairs = UnpackLow8(Load64(p), Load64(p + 1));
    return {WidenLow8u(pairs), WidenHigh8u(pairs)};
}

inline Pairs LoadPairs(const Vek16s* p)
{
    const V a = LoadU(p), b = LoadU(p + 1);
    return {UnpackLow16(a, b), UnpackHigh16(a, b)};
}

// Weights against such pairs.
struct WeightPairs {
    V top, bottom;
};

inline WeightPairs PairsOf(const Weights& w)
{
    return {SplatPair16(w.topLeft, w.topRight), SplatPair16(w.bottomLeft, w.bottomRight)};
}

template <typename T>
V SampleEight(const Pairs& upper, const Pairs& lower, const WeightPairs& w)
{
    const V round = Splat32(1 << (kWeightShift<T> - 1));
    const V low = Add32(Add32(MulAdd16(upper.low, w.top), MulAdd16(lower.low, w.bottom)), round);
    const V high = Add32(Add32(MulAdd16(upper.high, w.top), MulAdd16(lower.high, w.bottom)), round);
    return Pack32sTo16s(ShiftRight32s<kWeightShift<T>>(low), ShiftRight32s<kWeightShift<T>>(high));
}

// ---- Windows ----

// A window of 16-bit values; rows have room for blocks of eight past their end.
struct Window {
    Vek16s* samples;
    int64_t stride;  // elements
    Vek16s* Row(Vek32s y) const { return samples + y * stride; }
};

constexpr Vek32s kWindowSlack = 16;

// From element n on, a mask of the last n of eight lanes.
constexpr Vek16s kLastLanes[16] = {0, 0, 0, 0, 0, 0, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1};

// At least eight columns, in blocks of eight; the last reaches back, and its mask has the columns that are new. One call
// of `block` for both keeps it inlined, and its sums in registers.
template <typename Block>
inline void ForBlocks(Vek32s left, Vek32s right, Block block)
{
    const V every = Splat16(-1), last = LoadU(kLastLanes + ((right - left - 1) & 7) + 1);
    for (Vek32s x = left;; x += 8) {
        const bool isLast = right - x <= 8;
        block(isLast ? right - 8 : x, isLast ? last : every);
        if (isLast)
            return;
    }
}

// The positions of `span`, of an image whose pixel (x, y) answers to the window's first sample.
template <typename T>
void SampleWindow(const T* image, int64_t step, Vek32s x, Vek32s y, const Weights& weights, const Span& span, const Window& window)
{
    const WeightPairs pairs = PairsOf(weights);
    for (Vek32s v = span.top; v < span.bottom; ++v) {
        const T* const upper = Offset(image, step * ((int64_t)y + v)) + x;
        const T* const lower = Offset(upper, step);
        Vek16s* const to = window.Row(v);
        if (kBlocks && span.right - span.left >= 8)
            ForBlocks(span.left, span.right, [&](Vek32s u, V) { StoreU(to + u, SampleEight<T>(LoadPairs(upper + u), LoadPairs(lower + u), pairs)); });
        else
            for (Vek32s u = span.left; u < span.right; ++u)
                to[u] = SampleAt(upper + u, lower + u, weights);
    }
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
