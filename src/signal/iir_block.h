// A block of a recursive filter by look-ahead: four outputs at a time, from the outputs before them
// alone, so that the processor waits for one output in four.
#ifndef UVEK_SIGNAL_IIR_BLOCK_H
#define UVEK_SIGNAL_IIR_BLOCK_H

#include "frame/simd_float.h"

namespace uvek::VEK_TIER_NAMESPACE {

constexpr Vek32s kIirBlock = 1024;

// A filter of order N: b[0] to b[N] and a[1] to a[N] (a[0] stands for nothing), the first N + 1 numbers
// of the delay line, its last 0, each b[k] four times, and the look-ahead rows.
struct IirSection {
    Vek32s order;
    const Vek32f* b;
    const Vek32f* a;
    Vek32f* delay;
    const Vek32f* firTaps;
    const Vek32f* feedback;
};

constexpr int kClosingRows = 3;

// Row i is what y[n - 1 - i] brings to y[n] .. y[n + 3], the recursion expanded; the closing rows are
// what the forward part brings at n, n + 1 and n + 2. The impulse response 1, c0, r01, r02 is all there
// is to these.
inline void BuildFeedback(const Vek32f* a, Vek32s order, Vek32f* feedback)
{
    const auto c = [=](Vek32s i) { return i < order ? -a[i + 1] : 0.0f; };
    const Vek32f c0 = c(0), c1 = c(1), c2 = c(2);
    Vek32f impulse[] = {1, c0, 0, 0};
    for (Vek32s i = 0; i < order; ++i) {
        Vek32f* const r = feedback + 4 * (int64_t)i;
        r[0] = c(i);
        r[1] = c0 * r[0] + c(i + 1);
        r[2] = c0 * r[1] + c1 * r[0] + c(i + 2);
        r[3] = c0 * r[2] + c1 * r[1] + c2 * r[0] + c(i + 3);
        if (i == 0) {
            impulse[2] = r[1];
            impulse[3] = r[2];
        }
    }
    for (int row = 0; row < kClosingRows; ++row)
        for (int lane = 0; lane < 4; ++lane)
            feedback[4 * ((int64_t)order + row) + lane] = lane < row ? 0 : impulse[lane - row];
}

// ---- The transposed form, sample by sample: the same operations in each of these ----

inline Vek32f FilterSample(const IirSection& f, Vek32f x)
{
    const Vek32f* const b = f.b;
    const Vek32f* const a = f.a;
    Vek32f* const d = f.delay;
    const Vek32s order = f.order;
    const Vek32f y = b[0] * x + d[0];
    Vek32s i = 0;
    if (kBlocks) {
        const F vx = SplatF(x), vy = SplatF(y);
        for (; order - i >= 4; i += 4)
            StoreU(d + i, Add(Sub(Mul(LoadU(b + i + 1), vx), Mul(LoadU(a + i + 1), vy)), LoadU(d + i + 1)));
    }
    for (; i < order; ++i)
        d[i] = b[i + 1] * x - a[i + 1] * y + d[i + 1];
    return y;
}

inline void FilterOrder1(const IirSection& f, const Vek32f* src, Vek32f* dst, Vek32s length)
{
    const Vek32f b0 = f.b[0], b1 = f.b[1], a1 = f.a[1];
    Vek32f d0 = f.delay[0];
    for (Vek32s n = 0; n < length; ++n) {
        const Vek32f x = Get(src + n), y = b0 * x + d0;
        d0 = b1 * x - a1 * y + 0.0f;
        Put(dst + n, y);
    }
    f.delay[0] = d0;
}

inline void FilterOrder2(const IirSection& f, const Vek32f* src, Vek32f* dst, Vek32s length)
{
    const Vek32f b0 = f.b[0], b1 = f.b[1], b2 = f.b[2], a1 = f.a[1], a2 = f.a[2];
    Vek32f d0 = f.delay[0], d1 = f.delay[1];
    for (Vek32s n = 0; n < length; ++n) {
        const Vek32f x = Get(src + n), y = b0 * x + d0;
        d0 = b1 * x - a1 * y + d1;
        d1 = b2 * x - a2 * y + 0.0f;
        Put(dst + n, y);
    }
    f.delay[0] = d0;
    f.delay[1] = d1;
}

// Orders of 4 kVectors - 3 to 4 kVectors with the delay line in registers, so that the next sample need
// not wait for a store. A register may pass the end of the taps, never that of the record, and the area
// of the delay line is whole registers.
template <int kVectors>
inline void FilterInRegisters(const IirSection& f, const Vek32f* src, Vek32f* dst, Vek32s length)
{
    const Vek32s inLast = f.order - 4 * (kVectors - 1);
    const F mask = AsFloat(Greater32s(Splat32(inLast), Lanes32(0, 1, 2, 3)));
    F b[kVectors], a[kVectors], d[kVectors + 1];
    for (int k = 0; k < kVectors; ++k) {
        const F keep = k == kVectors - 1 ? mask : AsFloat(Splat32(-1));
        b[k] = And(keep, LoadU(f.b + 1 + 4 * k));
        a[k] = And(keep, LoadU(f.a + 1 + 4 * k));
        d[k] = And(keep, LoadU(f.delay + 4 * k));
    }
    d[kVectors] = ZeroF();
    const F b0 = SplatF(f.b[0]);
    for (Vek32s n = 0; n < length; ++n) {
        const F x = SplatF(Get(src + n)), sum = Add(Mul(b0, x), d[0]);
        const F y = Pick<0, 0, 0, 0>(sum, sum);
#pragma GCC unroll 4
        for (int k = 0; k < kVectors; ++k)
            d[k] = Add(Sub(Mul(b[k], x), Mul(a[k], y)), AsFloat(Concat<4>(AsInt(d[k]), AsInt(d[k + 1]))));
        d[kVectors - 1] = And(d[kVectors - 1], mask);  // an infinite sample times no tap is a NaN
        Put(dst + n, LowF(sum));
    }
    for (int k = 0; k < kVectors; ++k)
        StoreU(f.delay + 4 * k, d[k]);
}

inline void FilterSamples(const IirSection& f, const Vek32f* src, Vek32f* dst, Vek32s length)
{
    if (f.order == 1)
        FilterOrder1(f, src, dst, length);
    else if (f.order == 2)
        FilterOrder2(f, src, dst, length);
    else if (f.order <= 4)
        FilterInRegisters<1>(f, src, dst, length);
    else if (f.order <= 8)
        FilterInRegisters<2>(f, src, dst, length);
    else
        for (Vek32s n = 0; n < length; ++n)
            Put(dst + n, FilterSample(f, Get(src + n)));
}

// ---- Look-ahead ----

// t[n] = sum of b[k] x[n - k] for n = order to length - 1. kOrder is the order, or 0 for any.
template <int kOrder>
inline void ForwardPart(const IirSection& f, const Vek32f* x, Vek32s length, Vek32f* t)
{
    const Vek32s order = kOrder ? kOrder : f.order;
    const Vek32f* const taps = f.firTaps;
    const Vek32f* const b = f.b;
    Vek32s n = order;
    for (; length - n >= 16; n += 16) {
        const Vek32f* from = x + n;
        F tap = LoadA(taps);
        F s0 = Mul(tap, LoadU(from)), s1 = Mul(tap, LoadU(from + 4));
        F s2 = Mul(tap, LoadU(from + 8)), s3 = Mul(tap, LoadU(from + 12));
#pragma GCC unroll 4
        for (Vek32s k = 1; k <= order; ++k) {
            --from;
            tap = LoadA(taps + 4 * k);
            s0 = Add(s0, Mul(tap, LoadU(from)));
            s1 = Add(s1, Mul(tap, LoadU(from + 4)));
            s2 = Add(s2, Mul(tap, LoadU(from + 8)));
            s3 = Add(s3, Mul(tap, LoadU(from + 12)));
        }
        StoreU(t + n, s0);
        StoreU(t + n + 4, s1);
        StoreU(t + n + 8, s2);
        StoreU(t + n + 12, s3);
    }
    for (; n < length; ++n) {
        Vek32f sum = b[0] * Get(x + n);
        for (Vek32s k = 1; k <= order; ++k)
            sum += b[k] * Get(x + n - k);
        t[n] = sum;
    }
}

// y[n] = t[n] - sum of a[k] y[n - k] for n = order to length - 1.
template <int kOrder>
inline void RecursivePart(const IirSection& f, const Vek32f* t, Vek32f* y, Vek32s length)
{
    const Vek32s order = kOrder ? kOrder : f.order;
    const Vek32f* const feedback = f.feedback;
    const Vek32f* const closing = feedback + 4 * order;
    const F h1 = SplatF(closing[1]), h2 = SplatF(closing[2]), h3 = SplatF(closing[3]);
    const F r0 = LoadA(feedback), r1 = order > 1 ? LoadA(feedback + 4) : ZeroF();
    const F r2 = order > 2 ? LoadA(feedback + 8) : ZeroF(), r3 = order > 3 ? LoadA(feedback + 12) : ZeroF();
    Vek32s n = order;
    F last = LanesF(order > 3 ? Get(y + n - 4) : 0, order > 2 ? Get(y + n - 3) : 0, order > 1 ? Get(y + n - 2) : 0, Get(y + n - 1));
    for (; length - n >= 4; n += 4) {
        const F v = LoadU(t + n);
        const V bits = AsInt(v);
        F sum = Add(Add(v, Mul(h1, AsFloat(BytesUp<4>(bits)))),
                    Add(Mul(h2, AsFloat(BytesUp<8>(bits))), Mul(h3, AsFloat(BytesUp<12>(bits)))));
        Vek32s i = 4;
        for (; order - i >= 4; i += 4) {
            const V older = LoadU((const void*)(y + n - 4 - i));
            const Vek32f* const rows = feedback + 4 * i;
            const F near = Add(Mul(LoadA(rows), AsFloat(Permute32<3, 3, 3, 3>(older))),
                               Mul(LoadA(rows + 4), AsFloat(Permute32<2, 2, 2, 2>(older))));
            const F far = Add(Mul(LoadA(rows + 8), AsFloat(Permute32<1, 1, 1, 1>(older))),
                              Mul(LoadA(rows + 12), AsFloat(Permute32<0, 0, 0, 0>(older))));
            sum = Add(sum, Add(near, far));
        }
        for (; i < order; ++i)
            sum = Add(sum, Mul(LoadA(feedback + 4 * i), SplatF(Get(y + n - 1 - i))));

        // What waits for the four outputs just made comes last.
        const V made = AsInt(last);
        const F y1 = AsFloat(Permute32<3, 3, 3, 3>(made)), y2 = AsFloat(Permute32<2, 2, 2, 2>(made));
        const F y3 = AsFloat(Permute32<1, 1, 1, 1>(made)), y4 = AsFloat(Permute32<0, 0, 0, 0>(made));
        if (order == 1)
            last = Add(sum, Mul(r0, y1));
        else if (order == 2)
            last = Add(sum, Add(Mul(r0, y1), Mul(r1, y2)));
        else
            last = Add(sum, Add(Add(Mul(r0, y1), Mul(r1, y2)), Add(Mul(r2, y3), Mul(r3, y4))));
        StoreU(y + n, last);
    }
    for (; n < length; ++n) {
        Vek32f sum = t[n];
        for (Vek32s k = 1; k <= order; ++k)
            sum -= f.a[k] * Get(y + n - k);
        Put(y + n, sum);
    }
}

// d[i] + sum of sign taps[i + j] v[-j] over the terms within reach, for i = 0 to order - 1.
template <int sign>
inline void CarryInto(Vek32f* d, const Vek32f* taps, const Vek32f* v, Vek32s order)
{
    for (Vek32s j = 0; j < order; ++j) {
        const Vek32f sample = sign * Get(v - j);
        const F samples = SplatF(sample);
        const Vek32s count = order - j;
        Vek32s i = 0;
        for (; count - i >= 4; i += 4)
            StoreU(d + i, Add(LoadU(d + i), Mul(LoadU(taps + j + i), samples)));
        for (; i < count; ++i)
            d[i] += taps[j + i] * sample;
    }
}

// Filters `length` samples, more than 4 times the order and at most kIirBlock of them; dst may be src.
// t holds a block.
template <int kOrder>
inline void FilterBlock(const IirSection& f, const Vek32f* src, Vek32f* dst, Vek32s length, Vek32f* t)
{
    const Vek32s order = kOrder ? kOrder : f.order;
    ForwardPart<kOrder>(f, src, length, t);

    // The delay line after the block: first what the last inputs leave in it, as dst may be src.
    Vek32f next[kIirBlock / 4];
    memset(next, 0, (size_t)order * sizeof next[0]);
    CarryInto<1>(next, f.b + 1, src + length - 1, order);
    FilterSamples(f, src, dst, order);
    RecursivePart<kOrder>(f, t, dst, length);
    CarryInto<-1>(next, f.a + 1, dst + length - 1, order);
    memcpy(f.delay, next, (size_t)order * sizeof next[0]);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
