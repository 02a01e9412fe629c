// One kernel of tiers 1 to 3: it reads its input in reversed order while it does a first stage of radix 4,
// keeps its intermediate data in work memory in groups of four, and writes its output with the last stage.
#ifndef UVEK_FOURIER_FFT_KERNEL_H
#define UVEK_FOURIER_FFT_KERNEL_H

#include "fourier/fft_plan.h"

namespace uvek::VEK_TIER_NAMESPACE {

// ---- The first stage ----

// Four results of each of the lanes' butterflies become one group a lane, at `to` plus `apart` times
// the lane's reversed number.
VEK_BUTTERFLY void StoreLanes(Cx<F> a, Cx<F> b, Cx<F> c, Cx<F> d, Vek32f* to, int64_t apart)
{
    Transpose4(a.re, b.re, c.re, d.re);
    Transpose4(a.im, b.im, c.im, d.im);
    Store(Fours<Vek32f>{to}, 0, a);
    Store(Fours<Vek32f>{to + 2 * apart}, 0, b);
    Store(Fours<Vek32f>{to + apart}, 0, c);
    Store(Fours<Vek32f>{to + 3 * apart}, 0, d);
}

VEK_BUTTERFLY void StoreLanes(Cx<D> a, Cx<D> b, Cx<D> c, Cx<D> d, Vek64f* to, int64_t apart)
{
    StoreA(to, UnpackLow(a.re, b.re));
    StoreA(to + 2, UnpackLow(c.re, d.re));
    StoreA(to + 4, UnpackLow(a.im, b.im));
    StoreA(to + 6, UnpackLow(c.im, d.im));
    Vek64f* const second = to + 2 * apart;
    StoreA(second, UnpackHigh(a.re, b.re));
    StoreA(second + 2, UnpackHigh(c.re, d.re));
    StoreA(second + 4, UnpackHigh(a.im, b.im));
    StoreA(second + 6, UnpackHigh(c.im, d.im));
}

// The butterflies of inputs p, p + 1, .. (a quarter of n apart each) give the four results from 4 rev(p).
template <bool inverse, typename T, typename Form>
VEK_BUTTERFLY void FusedGroup(Form src, int64_t quarter, T* to, int64_t apart)
{
    for (int i = 0; i < 4; i += LanesOf<T>::kCount) {
        auto a = Held(Load(src, i)), b = Held(Load(src, i + quarter));
        auto c = Held(Load(src, i + 2 * quarter)), d = Held(Load(src, i + 3 * quarter));
        Butterfly4<inverse>(a, b, c, d);
        StoreLanes(a, b, c, d, to + (i ? apart : 0), apart);
    }
}

// Pairs stay pairs in the butterfly and part in the transpose behind it. A register holds those of two
// butterflies; the four results of the second one go `apart` from those of the first.
template <bool inverse>
VEK_BUTTERFLY void ButterflyOfPairs(F a, F b, F c, F d, Vek32f* to, int64_t apart)
{
    __asm__("" : "+x"(a), "+x"(b), "+x"(c), "+x"(d));  // from registers alone, as Held() has it
    const F s02 = Add(a, c), d02 = Sub(a, c), s13 = Add(b, d), d13 = Sub(b, d);
    const F turned = Xor(Pick<1, 0, 3, 2>(d13, d13), inverse ? LanesF(-0.0f, 0, -0.0f, 0) : LanesF(0, -0.0f, 0, -0.0f));
    const F x0 = Add(s02, s13), x1 = Add(d02, turned), x2 = Sub(s02, s13), x3 = Sub(d02, turned);
    const F low01 = UnpackLow(x0, x1), low23 = UnpackLow(x2, x3), high01 = UnpackHigh(x0, x1), high23 = UnpackHigh(x2, x3);
    StoreA(to, LowHalves(low01, low23));
    StoreA(to + 4, HighHalves(low01, low23));
    StoreA(to + apart, LowHalves(high01, high23));
    StoreA(to + apart + 4, HighHalves(high01, high23));
}

template <bool inverse, typename T>
VEK_BUTTERFLY void FusedGroup(Pairs<Vek32f> src, int64_t quarter, T* to, int64_t apart)
{
    for (int half = 0; half < 2; ++half) {
        const Vek32f* const p = src.p + 4 * half;
        ButterflyOfPairs<inverse>(LoadU(p), LoadU(p + 2 * quarter), LoadU(p + 4 * quarter), LoadU(p + 6 * quarter),
                                  to + (half ? apart : 0), 2 * apart);
    }
}

// Inputs p and p + n / 8 give neighbouring groups, one cache line of singles.
template <bool inverse, typename T, typename Form>
VEK_BUTTERFLY void FusedLoop(Form src, T* work, int64_t n, const Vek32s* table)
{
    const int64_t quarter = n / 4, apart = n / 16 * 8;
    if (n < 32) {
        FusedGroup<inverse>(src, quarter, work, apart);
        return;
    }
    for (int64_t p = 0; p < n / 8; p += 4) {
        T* const to = work + table[p / 4];
        FusedGroup<inverse>(src.At(p), quarter, to, apart);
        FusedGroup<inverse>(src.At(p + n / 8), quarter, to + 8, apart);
    }
}

// The same from order 13 on. The eight inputs stand multiples of a page apart, and a cache set has no room
// for them all while their lines are read bit by bit: whole lines come by way of a small block.
template <bool inverse, typename T, typename Form>
void LargeFirstStage(Form src, T* work, int64_t n, const Vek32s* table)
{
    const int64_t apart = n / 16 * 8;
    alignas(64) T block[8 * 2 * kRun];
    const Form held = BlockOf(src, block, 8 * kRun);
    for (int64_t p = 0; p < n / 8; p += kRun) {
        for (int i = 0; i < 8; ++i)
            CopyRun(src, p + i * (n / 8), held, i * kRun);
        for (int k = 0; k < kRun; k += 4) {
            T* const to = work + table[(p + k) / 4];
            FusedGroup<inverse>(held.At(k), 2 * kRun, to, apart);
            FusedGroup<inverse>(held.At(k + kRun), 2 * kRun, to + 8, apart);
        }
    }
}

template <bool inverse, typename T, typename Form>
void FusedFirstStage(Form src, T* work, int64_t n, const Vek32s* table)
{
    // Pairs need it later, since they have half as many streams.
    if (n >= (int64_t)1 << (IsSplit<Form>::value ? 13 : kIsDouble<T> ? 14 : 15))
        LargeFirstStage<inverse>(src, work, n, table);
    else
        FusedLoop<inverse>(src, work, n, table);
}

// The same on data that are reversed already.
template <bool inverse>
void PlainFirstStage(Split<Vek32f> src, Vek32f* work, int64_t n)
{
    for (int64_t i = 0; i < n; i += 16) {
        Cx<F> a = Load(src, i), b = Load(src, i + 4), c = Load(src, i + 8), d = Load(src, i + 12);
        Transpose4(a.re, b.re, c.re, d.re);
        Transpose4(a.im, b.im, c.im, d.im);
        Butterfly4<inverse>(a, c, b, d);
        Transpose4(a.re, c.re, b.re, d.re);
        Transpose4(a.im, c.im, b.im, d.im);
        const Fours<Vek32f> to{work};
        Store(to, i, a);
        Store(to, i + 4, c);
        Store(to, i + 8, b);
        Store(to, i + 12, d);
    }
}

template <bool inverse>
void PlainFirstStage(Pairs<Vek32f> src, Vek32f* work, int64_t n)
{
    for (int64_t i = 0; i < 2 * n; i += 16) {
        const Vek32f* const p = src.p + i;
        const F first01 = LoadU(p), first23 = LoadU(p + 4), second01 = LoadU(p + 8), second23 = LoadU(p + 12);
        ButterflyOfPairs<inverse>(LowHalves(first01, second01), LowHalves(first23, second23), HighHalves(first01, second01),
                                  HighHalves(first23, second23), work + i, 8);
    }
}

template <bool inverse>
void PlainFirstStage(Pairs<Vek64f> src, Vek64f* work, int64_t n)
{
    for (int64_t i = 0; i < n; i += 8) {
        const Cx<D> p = Load(src, i), q = Load(src, i + 4), r = Load(src, i + 2), s = Load(src, i + 6);
        Cx<D> a = {UnpackLow(p.re, q.re), UnpackLow(p.im, q.im)}, c = {UnpackHigh(p.re, q.re), UnpackHigh(p.im, q.im)};
        Cx<D> b = {UnpackLow(r.re, s.re), UnpackLow(r.im, s.im)}, d = {UnpackHigh(r.re, s.re), UnpackHigh(r.im, s.im)};
        Butterfly4<inverse>(a, b, c, d);
        StoreLanes(a, b, c, d, work + 2 * i, 4);
    }
}

// ---- The stages ----

// Written without a loop, which would stay one within a butterfly.
template <int bits>
VEK_BUTTERFLY constexpr int ReversedPlace(int n)
{
    return bits == 3 ? (n & 1) << 2 | (n & 2) | n >> 2 : (n & 1) << 1 | n >> 1;
}

// One butterfly of 4 or 8 registers that stand `apart` elements from one another in reversed order.
// Source::At(n) is input n with its root, Sink::Put(n) takes output n. The odd half of a transform of
// eight is done first and waits, since the registers hold one half.
template <bool inverse, typename Source, typename Sink>
VEK_BUTTERFLY void Step4(Source at, Sink put)
{
    auto a = at(0), b = at(1), c = at(2), d = at(3);
    Butterfly4<inverse>(a, b, c, d);
    put(0, a);
    put(1, b);
    put(2, c);
    put(3, d);
}

template <bool inverse, typename Source, typename Sink>
VEK_BUTTERFLY void Step8(Source at, Sink put)
{
    auto o0 = at(1), o1 = at(3), o2 = at(5), o3 = at(7);
    OddHalf8<inverse>(o0, o1, o2, o3);
    auto e0 = at(0), e1 = at(2), e2 = at(4), e3 = at(6);
    Butterfly4<inverse>(e0, e1, e2, e3);
    put(0, Add(e0, o0));
    put(4, Sub(e0, o0));
    put(1, Add(e1, o1));
    put(5, Sub(e1, o1));
    put(2, AddTurned<inverse>(e2, o2));
    put(6, SubTurned<inverse>(e2, o2));
    put(3, Sub(e3, o3));
    put(7, Add(e3, o3));
}

template <bool inverse, int bits, typename Source, typename Sink>
VEK_BUTTERFLY void Step(Source at, Sink put)
{
    if constexpr (bits == 3)
        Step8<inverse>(at, put);
    else
        Step4<inverse>(at, put);
}

// One butterfly, of elements `length` apart from `first` on, to the same of `out` or to others.
template <bool inverse, int bits, typename T, typename Out>
VEK_BUTTERFLY void StageStep(Fours<T> in, int64_t first, int64_t length, const T* roots, Out out, int64_t to, int64_t apart)
{
    Step<inverse, bits>(
        [=](int n) __attribute__((always_inline)) {
            const auto x = Held(Load(in, first + ReversedPlace<bits>(n) * length));
            if (n == 0)
                return x;
            return MulRoot<inverse>(x, LoadRoot(roots + 8 * (n - 1)));
        },
        [=](int n, Cx<LanesType<T>> x) __attribute__((always_inline)) { Store(out, to + n * apart, x); });
}

// One stage of a kernel over n elements in blocks of 2^(done + bits). A fixed length is one that the
// compiler knows: strides become part of the instructions, which is a tenth of the time.
template <bool inverse, int bits, int fixedLength, typename T, typename Out>
VEK_BUTTERFLY void StageLoops(Fours<T> in, Out out, int64_t n, int64_t anyLength, const T* twiddles)
{
    constexpr int kTable = ((1 << bits) - 1) * 8;
    const int64_t length = fixedLength ? fixedLength : anyLength;
    for (int64_t block = 0; block < n; block += length << bits) {
        const T* roots = twiddles;
        for (int64_t k = 0; k < length; k += 4, roots += kTable)
            for (int half = 0; half < 4; half += LanesOf<T>::kCount)
                StageStep<inverse, bits>(in, block + k + half, length, roots + half, out, block + k + half, length);
    }
}

template <bool inverse, int bits, int fixedLength, typename T, typename Out>
void KernelStage(Fours<T> in, Out out, int64_t n, int64_t length, const T* twiddles)
{
    StageLoops<inverse, bits, fixedLength>(in, out, n, length, twiddles);
}

// The last stage of a large kernel, where input and output together are too many streams for a cache
// set: whole lines leave by way of a small block.
template <bool inverse, int bits, typename T, typename Out>
void LargeLastStage(Fours<T> in, Out out, int64_t length, const T* twiddles)
{
    alignas(64) T block[2 * kRun << bits];
    const auto held = FoursFor(out, block);
    for (int64_t first = 0; first < length; first += kRun) {
        for (int k = 0; k < kRun; k += 4, twiddles += ((1 << bits) - 1) * 8)
            for (int half = 0; half < 4; half += LanesOf<T>::kCount)
                StageStep<inverse, bits>(in, first + k + half, length, twiddles + half, held, k + half, kRun);
        for (int i = 0; i < 1 << bits; ++i)
            StoreRun(out, first + i * length, Fours<T>{block}.At(i * kRun));
    }
}

template <bool inverse, int bits, typename T, typename Out>
void LastStage(Fours<T> in, Out out, int64_t length, const T* twiddles)
{
    constexpr int64_t kLargest = IsSplit<Out>::value ? 512 : 256;  // whose streams find room
    if (length > kLargest)
        LargeLastStage<inverse, bits>(in, out, length, twiddles);
    else
        KernelStage<inverse, bits, 0>(in, out, length << bits, length, twiddles);
}

// A stage within work memory; that of double precision has no use for a fixed length.
template <bool inverse, int bits, typename T>
void InnerStage(Fours<T> data, int64_t n, int64_t length, const T* twiddles)
{
    if constexpr (!kIsDouble<T>)
        switch (length) {
        case 4: return KernelStage<inverse, bits, 4>(data, data, n, 4, twiddles);
        case 16: return KernelStage<inverse, bits, 16>(data, data, n, 16, twiddles);
        case 32: return KernelStage<inverse, bits, 32>(data, data, n, 32, twiddles);
        }
    KernelStage<inverse, bits, 0>(data, data, n, length, twiddles);
}

// All stages from `done` bits on of an order whose plan the compiler unrolls.
template <bool inverse, Vek32s order, Vek32s done, typename Out>
VEK_BUTTERFLY void FixedStages(Vek32f* work, Out out, const Vek32f* twiddles)
{
    constexpr Vek32s kBits = StageBits(order, done);
    constexpr int64_t kN = (int64_t)1 << order, kLength = (int64_t)1 << done;
    const Fours<Vek32f> data{work};
    if constexpr (done + kBits == order) {
        StageLoops<inverse, kBits, (int)kLength>(data, out, kN, kLength, twiddles);
    } else {
        KernelStage<inverse, kBits, (int)kLength>(data, data, kN, kLength, twiddles);
        FixedStages<inverse, order, done + kBits>(work, out, twiddles + StageTableSize(done, kBits));
    }
}

template <bool inverse, Vek32s order, typename Form>
void FixedFirstStage(Form src, Vek32f* work, const Vek32s* table)
{
    FusedLoop<inverse>(src, work, (int64_t)1 << order, table);
}

template <bool inverse, Vek32s order, typename Form, typename Out>
void FixedKernel(Form src, Vek32f* work, Out out, const Vek32s* table, const Vek32f* twiddles)
{
    FixedFirstStage<inverse, order>(src, work, table);
    FixedStages<inverse, order, 2>(work, out, twiddles);
}

constexpr Vek32s kLargestFixedOrder = 11;

template <bool inverse, typename Form, typename Out>
void SmallKernel(Vek32s order, Form src, Vek32f* work, Out out, const Vek32s* table, const Vek32f* twiddles)
{
    switch (order) {
    case 4: return FixedKernel<inverse, 4>(src, work, out, table, twiddles);
    case 5: return FixedKernel<inverse, 5>(src, work, out, table, twiddles);
    case 6: return FixedKernel<inverse, 6>(src, work, out, table, twiddles);
    case 7: return FixedKernel<inverse, 7>(src, work, out, table, twiddles);
    case 8: return FixedKernel<inverse, 8>(src, work, out, table, twiddles);
    case 9: return FixedKernel<inverse, 9>(src, work, out, table, twiddles);
    case 10: return FixedKernel<inverse, 10>(src, work, out, table, twiddles);
    default: return FixedKernel<inverse, kLargestFixedOrder>(src, work, out, table, twiddles);
    }
}

template <bool inverse, typename T>
void InnerStage(Vek32s bits, Fours<T> data, int64_t n, int64_t length, const T* twiddles)
{
    if (bits == 3)
        InnerStage<inverse, 3>(data, n, length, twiddles);
    else
        InnerStage<inverse, 2>(data, n, length, twiddles);
}

// All stages but the last in work memory: up to blocks that stay in the first-level cache block by
// block, above that in sweeps; the last one writes to out.
template <bool inverse, typename T, typename Out>
void KernelStages(Vek32s order, T* work, Out out, const T* twiddles)
{
    constexpr Vek32s kCacheOrder = kIsDouble<T> ? 10 : 11;
    const int64_t n = (int64_t)1 << order;

    Vek32s inner = 2;
    while (inner + StageBits(order, inner) <= Min(kCacheOrder, order - 1))
        inner += StageBits(order, inner);
    const T* table = twiddles;
    for (int64_t block = 0; block < n; block += (int64_t)1 << inner) {
        table = twiddles;
        for (Vek32s done = 2; done < inner;) {
            const Vek32s bits = StageBits(order, done);
            InnerStage<inverse>(bits, Fours<T>{work}.At(block), (int64_t)1 << inner, (int64_t)1 << done, table);
            table += StageTableSize(done, bits);
            done += bits;
        }
    }
    for (Vek32s done = inner; done < order;) {
        const Vek32s bits = StageBits(order, done);
        const int64_t length = (int64_t)1 << done;
        if (done + bits < order)
            InnerStage<inverse>(bits, Fours<T>{work}, n, length, table);
        else if (bits == 3)
            LastStage<inverse, 3>(Fours<T>{work}, out, length, table);
        else
            LastStage<inverse, 2>(Fours<T>{work}, out, length, table);
        table += StageTableSize(done, bits);
        done += bits;
    }
}

template <bool inverse, typename T, typename Form>
void FinishKernel(Vek32s order, T* work, Form dst, T scale, const T* twiddles)
{
    if (scale == 1)
        KernelStages<inverse>(order, work, dst, twiddles);
    else
        KernelStages<inverse>(order, work, Scaled<Form, T>{dst, scale}, twiddles);
}

template <bool inverse, typename T, typename Form>
void Kernel(Vek32s order, Form src, Form dst, T scale, T* work, const Vek32s* table, const T* twiddles)
{
    if constexpr (!kIsDouble<T>)
        if (order <= kLargestFixedOrder) {
            if (scale == 1)
                return SmallKernel<inverse>(order, src, work, dst, table, twiddles);
            return SmallKernel<inverse>(order, src, work, Scaled<Form, T>{dst, scale}, table, twiddles);
        }
    FusedFirstStage<inverse>(src, work, (int64_t)1 << order, table);
    FinishKernel<inverse>(order, work, dst, scale, twiddles);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
