// The sums of a tracking step over a span of window positions. Products add up in lanes of 32 bits as far as these
// hold them, then in double precision, where they are exact too: where one ends and the other begins does not show.
// A full row of a window need not fit 32 bits: ten pixels along an edge of black and white do not.
#ifndef UVEK_VISION_FLOW_SUMS_H
#define UVEK_VISION_FLOW_SUMS_H

#include "frame/simd_float.h"
#include "vision/window.h"

namespace uvek::VEK_TIER_NAMESPACE {

struct Structure {
    Vek64f xx, xy, yy;
    Vek32s blocks;  // so many blocks of a row of SumSlope's fit a lane
};

struct Slope {
    Vek64f x, y;
};

// Gradients are below 2^14 (16320), samples and their differences below 2^15 (32640), and a block has two products for
// a lane. Four blocks of squared gradients fit. Of gradients times differences two fit in any case, and four where no
// lane's squares come to 2^29: sqrt(2^29) sqrt(8) 32640 is below 2^31.
constexpr Vek32s kBlocksOfSquares = 4;
constexpr Vek32s kBlocksOfAnything = 2;
constexpr Vek32s kLargeSquares = -(1 << 29);  // the bits from 2^29 on

inline D AddLanes(D sum, V lanes)
{
    return Add(sum, Add(ToDoubleLow(lanes), ToDoubleLow(Permute32<2, 3, 2, 3>(lanes))));
}

inline Vek64f SumD(D v)
{
    return LowD(v) + HighD(v);
}

// Eight columns of a row as a step reads them: one pointer, in a cache line or two. Gradients of columns that stand
// in the block before too are zero.
struct Block {
    Vek16s first[8], gradientX[8], gradientY[8], difference[8];
};

// What a step compares: the first image's window and its gradients, and where its difference from the second goes.
struct Comparison {
    Window first, gradientX, gradientY, difference;
    Block* blocks;           // the span's rows, all of the same number of blocks
};

inline bool IsInBlocks(const Span& span)
{
    return kBlocks && span.right - span.left >= 8;
}

inline Vek32s BlocksInRow(const Span& span)
{
    return (span.right - span.left + 7) / 8;
}

// To be called for each new span, before SumSlope.
inline Structure SumStructure(const Comparison& c, const Span& span)
{
    if (IsInBlocks(span)) {
        D xx = ZeroD(), xy = ZeroD(), yy = ZeroD();
        V bits = Zero();
        Block* to = c.blocks;
        for (Vek32s v = span.top; v < span.bottom; ++v) {
            V xx32 = Zero(), xy32 = Zero(), yy32 = Zero();
            Vek32s room = kBlocksOfSquares;
            const auto widen = [&] {
                xx = AddLanes(xx, xx32);
                xy = AddLanes(xy, xy32);
                yy = AddLanes(yy, yy32);
                bits = Or(bits, Or(xx32, yy32));
            };
            const Vek16s* const first = c.first.Row(v);
            const Vek16s* const gx = c.gradientX.Row(v);
            const Vek16s* const gy = c.gradientY.Row(v);
            ForBlocks(span.left, span.right, [&](Vek32s u, V mask) {
                if (room-- == 0) {
                    widen();
                    xx32 = xy32 = yy32 = Zero();
                    room = kBlocksOfSquares - 1;
                }
                const V x = And(LoadU(gx + u), mask), y = And(LoadU(gy + u), mask);
                StoreA(to->first, LoadU(first + u));
                StoreA(to->gradientX, x);
                StoreA(to->gradientY, y);
                ++to;
                xx32 = Add32(xx32, MulAdd16(x, x));
                xy32 = Add32(xy32, MulAdd16(x, y));
                yy32 = Add32(yy32, MulAdd16(y, y));
            });
            widen();
        }
        const bool isSmall = MoveMask8(Equal32(And(bits, Splat32(kLargeSquares)), Zero())) == 0xFFFF;
        return {SumD(xx), SumD(xy), SumD(yy), isSmall ? kBlocksOfSquares : kBlocksOfAnything};
    }
    Structure sum = {0, 0, 0, 0};
    for (Vek32s v = span.top; v < span.bottom; ++v) {
        int64_t xx = 0, xy = 0, yy = 0;
        for (Vek32s u = span.left; u < span.right; ++u) {
            const Vek32s x = c.gradientX.Row(v)[u], y = c.gradientY.Row(v)[u];
            xx += x * x;
            xy += x * y;
            yy += y * y;
        }
        sum.xx += (Vek64f)xx;
        sum.xy += (Vek64f)xy;
        sum.yy += (Vek64f)yy;
    }
    return sum;
}

// Part of a row's part of a step's sums.
struct SlopeLanes {
    V x = Zero(), y = Zero();

    void Add(Block* block, V sampled)
    {
        const V d = Sub16(LoadA(block->first), sampled);
        StoreA(block->difference, d);
        x = Add32(x, MulAdd16(d, LoadA(block->gradientX)));
        y = Add32(y, MulAdd16(d, LoadA(block->gradientY)));
    }
};

// Samples the second image, whose pixel at `origin` answers to the window's first sample; sums its difference from the
// first times the gradients, and keeps the difference.
inline Slope SumSlope(const Comparison& c, const Structure& structure, const Vek8u* origin, Vek32s step, const Weights& weights, const Span& span)
{
    if (IsInBlocks(span)) {
        const WeightPairs pairs = PairsOf(weights);
        const Vek32s blocks = BlocksInRow(span), lastBlock = span.right - span.left - 8;
        const Vek8u* p = Row(origin, step, span.top) + span.left;
        Block* to = c.blocks;
        D sumX = ZeroD(), sumY = ZeroD();
        Vek32s rows = span.bottom - span.top;
        // Two rows at a time share the pixels between them.
        for (; rows >= 2; rows -= 2, p = Row(p, step, 2), to += blocks) {
            const Vek8u* const p1 = Row(p, step, 1);
            const Vek8u* const p2 = Row(p, step, 2);
            for (Vek32s i = 0; i < blocks;) {
                SlopeLanes upper, lower;
                for (const Vek32s end = Min(blocks, i + structure.blocks); i < end; ++i, ++to) {
                    const Vek32s u = Min(8 * i, lastBlock);
                    const Pairs middle = LoadPairs(p1 + u);
                    upper.Add(to, SampleEight<Vek8u>(LoadPairs(p + u), middle, pairs));
                    lower.Add(to + blocks, SampleEight<Vek8u>(middle, LoadPairs(p2 + u), pairs));
                }
                sumX = AddLanes(AddLanes(sumX, upper.x), lower.x);
                sumY = AddLanes(AddLanes(sumY, upper.y), lower.y);
            }
        }
        for (Vek32s i = 0; rows > 0 && i < blocks;) {
            SlopeLanes last;
            for (const Vek32s end = Min(blocks, i + structure.blocks); i < end; ++i, ++to) {
                const Vek8u* const q = p + Min(8 * i, lastBlock);
                last.Add(to, SampleEight<Vek8u>(LoadPairs(q), LoadPairs(Row(q, step, 1)), pairs));
            }
            sumX = AddLanes(sumX, last.x);
            sumY = AddLanes(sumY, last.y);
        }
        return {SumD(sumX), SumD(sumY)};
    }
    SampleWindow(origin, step, 0, 0, weights, span, c.difference);
    Slope sum = {0, 0};
    for (Vek32s v = span.top; v < span.bottom; ++v) {
        int64_t x = 0, y = 0;
        Vek16s* const difference = c.difference.Row(v);
        for (Vek32s u = span.left; u < span.right; ++u) {
            const Vek32s d = c.first.Row(v)[u] - difference[u];
            difference[u] = (Vek16s)d;
            x += d * c.gradientX.Row(v)[u];
            y += d * c.gradientY.Row(v)[u];
        }
        sum.x += (Vek64f)x;
        sum.y += (Vek64f)y;
    }
    return sum;
}

// The root of the mean squared difference, in grey levels.
inline Vek32f RootMeanSquare(const Comparison& c, const Span& span)
{
    if (span.IsEmpty())
        return 0;
    int64_t sum = 0;
    if (IsInBlocks(span)) {
        const Block* block = c.blocks;
        V sum64 = Zero();
        for (Vek32s v = span.top; v < span.bottom; ++v)
            ForBlocks(span.left, span.right, [&](Vek32s, V mask) {
                const V d = And(LoadA(block->difference), mask), squares = MulAdd16(d, d);  // below 2^32, unsigned
                sum64 = Add64(sum64, Add64(WidenLow32u(squares), WidenHigh32u(squares)));
                ++block;
            });
        sum = Sum64(sum64);
    } else {
        for (Vek32s v = span.top; v < span.bottom; ++v)
            for (Vek32s u = span.left; u < span.right; ++u)
                sum += (int64_t)c.difference.Row(v)[u] * c.difference.Row(v)[u];
    }
    return (Vek32f)(sqrt((Vek64f)sum / span.Count()) * 0.0078125);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
