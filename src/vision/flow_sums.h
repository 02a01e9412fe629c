// The sums of a tracking step over a span of window positions. A row's sum is a 32-bit integer, and wraps; rows add up
// in double precision, where they are exact, so that their order does not show.
#ifndef UVEK_VISION_FLOW_SUMS_H
#define UVEK_VISION_FLOW_SUMS_H

#include "frame/simd_float.h"
#include "vision/window.h"

namespace uvek::VEK_TIER_NAMESPACE {

struct Structure {
    Vek64f xx, xy, yy;
};

struct Slope {
    Vek64f x, y;
};

// The sums of the lanes of four registers.
inline V SumEach32(V a, V b, V c, V d)
{
    const V ab = Add32(UnpackLow32(a, b), UnpackHigh32(a, b)), cd = Add32(UnpackLow32(c, d), UnpackHigh32(c, d));
    return Add32(UnpackLow64(ab, cd), UnpackHigh64(ab, cd));
}

inline D ToDoubleHigh(V v)
{
    return ToDoubleLow(Permute32<2, 3, 2, 3>(v));
}

inline Structure SumStructure(const Window& gradientX, const Window& gradientY, const Span& span)
{
    Structure sum = {0, 0, 0};
    if (kBlocks && span.right - span.left >= 8) {
        D xxxy = ZeroD(), yy = ZeroD();
        for (Vek32s v = span.top; v < span.bottom; ++v) {
            V xx32 = Zero(), xy32 = Zero(), yy32 = Zero();
            const Vek16s* const gx = gradientX.Row(v);
            const Vek16s* const gy = gradientY.Row(v);
            ForBlocks(span.left, span.right, [&](Vek32s u, V mask) {
                const V x = And(LoadU(gx + u), mask), y = And(LoadU(gy + u), mask);
                xx32 = Add32(xx32, MulAdd16(x, x));
                xy32 = Add32(xy32, MulAdd16(x, y));
                yy32 = Add32(yy32, MulAdd16(y, y));
            });
            const V row = SumEach32(xx32, xy32, yy32, Zero());
            xxxy = Add(xxxy, ToDoubleLow(row));
            yy = Add(yy, ToDoubleHigh(row));
        }
        return {LowD(xxxy), HighD(xxxy), LowD(yy)};
    }
    for (Vek32s v = span.top; v < span.bottom; ++v) {
        Vek32u xx = 0, xy = 0, yy = 0;
        for (Vek32s u = span.left; u < span.right; ++u) {
            const Vek32s x = gradientX.Row(v)[u], y = gradientY.Row(v)[u];
            xx += (Vek32u)(x * x);
            xy += (Vek32u)(x * y);
            yy += (Vek32u)(y * y);
        }
        sum.xx += (Vek32s)xx;
        sum.xy += (Vek32s)xy;
        sum.yy += (Vek32s)yy;
    }
    return sum;
}

// What a step compares: the first image's window and its gradients, and the second image with a window's place in it.
struct Comparison {
    Window first, gradientX, gradientY, difference;
    const Vek8u* second;
    Vek32s step, x, y;
};

// Samples the second image and sums its difference from the first times the gradients; keeps the difference.
inline Slope SumSlope(const Comparison& c, const Weights& weights, const Span& span)
{
    if (kBlocks && span.right - span.left >= 8) {
        const WeightPairs pairs = PairsOf(weights);
        D sum = ZeroD();
        const auto row = [&](Vek32s v) { return Row(c.second, c.step, c.y + v) + c.x; };
        Vek32s v = span.top;
        // Two rows at a time share the pixels between them, and one reduction.
        for (; span.bottom - v >= 2; v += 2) {
            const Vek8u* const p0 = row(v);
            const Vek8u* const p1 = row(v + 1);
            const Vek8u* const p2 = row(v + 2);
            const int64_t at = v * c.first.stride, below = at + c.first.stride;
            V x0 = Zero(), y0 = Zero(), x1 = Zero(), y1 = Zero();
            ForBlocks(span.left, span.right, [&](Vek32s u, V mask) __attribute__((always_inline)) {
                const Pairs middle = LoadPairs(p1 + u);
                V d = Sub16(LoadU(c.first.samples + at + u), SampleEight<Vek8u>(LoadPairs(p0 + u), middle, pairs));
                StoreU(c.difference.samples + at + u, d);
                d = And(d, mask);
                x0 = Add32(x0, MulAdd16(d, LoadU(c.gradientX.samples + at + u)));
                y0 = Add32(y0, MulAdd16(d, LoadU(c.gradientY.samples + at + u)));
                d = Sub16(LoadU(c.first.samples + below + u), SampleEight<Vek8u>(middle, LoadPairs(p2 + u), pairs));
                StoreU(c.difference.samples + below + u, d);
                d = And(d, mask);
                x1 = Add32(x1, MulAdd16(d, LoadU(c.gradientX.samples + below + u)));
                y1 = Add32(y1, MulAdd16(d, LoadU(c.gradientY.samples + below + u)));
            });
            const V both = SumEach32(x0, y0, x1, y1);
            sum = Add(sum, Add(ToDoubleLow(both), ToDoubleHigh(both)));
        }
        if (v < span.bottom) {
            const Vek8u* const p0 = row(v);
            const Vek8u* const p1 = row(v + 1);
            V x = Zero(), y = Zero();
            ForBlocks(span.left, span.right, [&](Vek32s u, V mask) {
                const V d = Sub16(LoadU(c.first.Row(v) + u), SampleEight<Vek8u>(LoadPairs(p0 + u), LoadPairs(p1 + u), pairs));
                StoreU(c.difference.Row(v) + u, d);
                x = Add32(x, MulAdd16(And(d, mask), LoadU(c.gradientX.Row(v) + u)));
                y = Add32(y, MulAdd16(And(d, mask), LoadU(c.gradientY.Row(v) + u)));
            });
            sum = Add(sum, ToDoubleLow(SumEach32(x, y, Zero(), Zero())));
        }
        return {LowD(sum), HighD(sum)};
    }
    SampleWindow(c.second, c.step, c.x, c.y, weights, span, c.difference);
    Slope sum = {0, 0};
    for (Vek32s v = span.top; v < span.bottom; ++v) {
        Vek32u x = 0, y = 0;
        Vek16s* const difference = c.difference.Row(v);
        for (Vek32s u = span.left; u < span.right; ++u) {
            const Vek32s d = c.first.Row(v)[u] - difference[u];
            difference[u] = (Vek16s)d;
            x += (Vek32u)(d * c.gradientX.Row(v)[u]);
            y += (Vek32u)(d * c.gradientY.Row(v)[u]);
        }
        sum.x += (Vek32s)x;
        sum.y += (Vek32s)y;
    }
    return sum;
}

// The root of the mean squared difference, in grey levels.
inline Vek32f RootMeanSquare(const Window& difference, const Span& span)
{
    if (span.IsEmpty())
        return 0;
    int64_t sum = 0;
    for (Vek32s v = span.top; v < span.bottom; ++v) {
        const Vek16s* const row = difference.Row(v);
        if (kBlocks && span.right - span.left >= 8) {
            V sum64 = Zero();
            ForBlocks(span.left, span.right, [&](Vek32s u, V mask) {
                const V d = And(LoadU(row + u), mask), squares = MulAdd16(d, d);  // below 2^32, unsigned
                sum64 = Add64(sum64, Add64(WidenLow32u(squares), WidenHigh32u(squares)));
            });
            sum += Sum64(sum64);
        } else {
            for (Vek32s u = span.left; u < span.right; ++u)
                sum += (int64_t)row[u] * row[u];
        }
    }
    return (Vek32f)(sqrt((Vek64f)sum / span.Count()) * 0.0078125);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
