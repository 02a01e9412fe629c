// Convolution with an integer kernel and a divisor.
//
// Blocks take the taps two at a time: bytes of two source places are interleaved, so that one
// multiply-add serves both taps. Which taps make a pair is free, as the sum wraps the same in any order.
#include "filter/taps.h"
#include "frame/memory.h"
#include "frame/simd_float.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- The quotient ----

enum class Division { None, Shift, Product };

struct Divisor {
    Division form;
    Vek32s shift;
    Vek32f reciprocal;
};

Divisor MakeDivisor(Vek32s divisor)
{
    if (divisor == 1)
        return {Division::None, 0, 1};
    if (divisor > 0 && (divisor & (divisor - 1)) == 0)
        return {Division::Shift, __builtin_ctz((Vek32u)divisor), 0};
    return {Division::Product, 0, 1.0f / (Vek32f)divisor};
}

Vek8u Quotient(Vek32s s, const Divisor& d)
{
    if (d.form == Division::None)
        return Saturate8u(s);
    if (d.form == Division::Product)
        return RoundToByte((Vek32f)s * d.reciprocal);
    if (s < 1)
        return 0;
    const Vek32s q = s >> d.shift, half = 1 << (d.shift - 1);
    return Saturate8u(q + (((s & (2 * half - 1)) + (q & 1) + half - 1) >> d.shift));
}

// Quotients of four sums at a time, still to be saturated.
template <Division form>
class Quotients {
public:
    explicit Quotients(const Divisor& d)
        : reciprocal_(SplatF(d.reciprocal)), count_(ShiftCount(d.shift)), mask_(Splat32((Vek32s)(((Vek32u)1 << d.shift) - 1))),
          half_(ShiftRight32u<1>(mask_))
    {
    }

    V Of(V s) const
    {
        if constexpr (form == Division::None)
            return s;
        if constexpr (form == Division::Product)
            return Nearest32s(Min(SplatF(255), Mul(ToFloat(s), reciprocal_)));
        const V q = ShiftRight32sBy(s, count_);
        const V rest = Add32(Add32(And(s, mask_), And(q, Splat32(1))), half_);
        return And(Add32(q, ShiftRight32sBy(rest, count_)), Greater32s(s, Zero()));
    }

    void Store(Vek8u* dst, V a, V b, V c, V d) const
    {
        StoreU(dst, Pack16sTo8u(Pack32sTo16s(Of(a), Of(b)), Pack32sTo16s(Of(c), Of(d))));
    }

private:
    F reciprocal_;
    V count_, mask_;
    V half_;  // of the divisor, less one
};

// ---- Scalar ----

Vek32s Sum(const Vek8u* p, const TapSource& source, const Vek32s* pKernel, VekImageSize kernel)
{
    const Vek32s* k = pKernel + (int64_t)kernel.width * kernel.height;
    Vek32u sum = 0;
    for (Vek32s m = 0; m < kernel.height; ++m) {
        const Vek8u* row = Row(p, source.step, m);
        for (Vek32s n = 0; n < kernel.width; ++n)
            sum += (Vek32u)Get(--k) * row[(int64_t)n * source.pixel];
    }
    return (Vek32s)sum;
}

void FilterScalar(const TapSource& source, Vek8u* pDst, Vek32s dstStep, int64_t samples, Vek32s height,
                  const Vek32s* pKernel, VekImageSize kernel, const Divisor& divisor)
{
    for (Vek32s y = 0; y < height; ++y) {
        const Vek8u* src = Row(source.first, source.step, y);
        Vek8u* dst = Row(pDst, dstStep, y);
        for (int64_t x = 0; x < samples; ++x)
            dst[x] = Quotient(Sum(src + x, source, pKernel, kernel), divisor);
    }
}

// ---- Blocks ----

struct TapPair {
    int64_t first, second;  // bytes from the first tap
    V coefficients;         // words, or bytes, in turn
};

struct Taps {
    TapPair* pairs;
    int64_t count;
    bool bytes;   // sums of 16 bits hold, from byte coefficients
    Vek32s bias;  // what keeps such sums at or above 0
};

// The non-zero taps in pairs. False when a coefficient does not fit 16 bits.
bool MakeTaps(Taps& taps, const TapSource& source, const Vek32s* pKernel, VekImageSize kernel)
{
    const Vek32s* k = pKernel + (int64_t)kernel.width * kernel.height;
    struct { int64_t offset; Vek32s value; } held = {0, 0};
    bool isHeld = false, bytes = kHasByteShuffle;
    int64_t positive = 0, negative = 0;
    taps.count = 0;
    const auto add = [&](int64_t offset, Vek32s value) {
        if (!isHeld) {
            held = {offset, value};
            isHeld = true;
            return;
        }
        // The byte multiply-add saturates a pair's sum at 16 signed bits.
        const Vek32s up = Max(held.value, 0) + Max(value, 0), down = Min(held.value, 0) + Min(value, 0);
        bytes = bytes && up <= 128 && down >= -128 && Max(held.value, value) <= 127;
        taps.pairs[taps.count++] = {held.offset, offset, Lanes16(held.value, value, 0, 0, 0, 0, 0, 0)};
        isHeld = false;
    };
    for (Vek32s m = 0; m < kernel.height; ++m)
        for (Vek32s n = 0; n < kernel.width; ++n) {
            const Vek32s value = Get(--k);
            if (value < -32767 || value > 32766)
                return false;
            if (value == 0)
                continue;
            (value > 0 ? positive : negative) += value > 0 ? value : -value;
            add((int64_t)m * source.step + (int64_t)n * source.pixel, value);
        }
    if (isHeld)
        add(held.offset, 0);
    taps.bytes = bytes && 255 * (positive + negative) <= 65535;
    taps.bias = taps.bytes ? (Vek32s)(255 * negative) : 0;
    for (int64_t i = 0; i < taps.count; ++i) {
        const V words = Permute32<0, 0, 0, 0>(taps.pairs[i].coefficients);
        taps.pairs[i].coefficients = taps.bytes ? Pack16sTo8s(words, words) : words;
    }
    return true;
}

// A sum of 24 bits is exact in single precision, and so is its product with a power of two.
Divisor ForBlocks(const Divisor& divisor, const Vek32s* pKernel, VekImageSize kernel)
{
    int64_t magnitude = 0;
    for (int64_t i = 0; i < (int64_t)kernel.width * kernel.height; ++i) {
        const int64_t value = Get(pKernel + i);
        magnitude += value < 0 ? -value : value;
    }
    if (divisor.form != Division::Shift || magnitude * 255 > 1 << 24)
        return divisor;
    return {Division::Product, 0, 1.0f / (Vek32f)(1u << divisor.shift)};
}

// pairs: how many there are, or 0 where that is not known beforehand and taps.count tells.
template <int pairs, typename AddPair>
inline void ForEachPair(const Taps& taps, AddPair addPair)
{
    if constexpr (pairs > 0) {
        for (int i = 0; i < pairs; ++i)
            addPair(taps.pairs[i]);
    } else {
#pragma GCC unroll 4
        for (int64_t i = 0; i < taps.count; ++i)
            addPair(taps.pairs[i]);
    }
}

template <Division form, int pairs>
inline void FilterBlockBytes(const Vek8u* src, Vek8u* dst, const Taps& taps, const Quotients<form>& quotients)
{
    V low = Splat16(taps.bias), high = low;
    ForEachPair<pairs>(taps, [&](const TapPair& pair) {
        const V a = LoadU(src + pair.first), b = LoadU(src + pair.second);
        low = Add16(low, MulAdd8us(UnpackLow8(a, b), pair.coefficients));
        high = Add16(high, MulAdd8us(UnpackHigh8(a, b), pair.coefficients));
    });
    const V bias = Splat32(taps.bias);
    quotients.Store(dst, Sub32(WidenLow16u(low), bias), Sub32(WidenHigh16u(low), bias),
                    Sub32(WidenLow16u(high), bias), Sub32(WidenHigh16u(high), bias));
}

template <Division form, int pairs>
inline void FilterBlockWords(const Vek8u* src, Vek8u* dst, const Taps& taps, const Quotients<form>& quotients)
{
    V s0 = Zero(), s1 = Zero(), s2 = Zero(), s3 = Zero();
    ForEachPair<pairs>(taps, [&](const TapPair& pair) {
        const V a = LoadU(src + pair.first), b = LoadU(src + pair.second);
        const V low = UnpackLow8(a, b), high = UnpackHigh8(a, b);
        s0 = Add32(s0, MulAdd16(WidenLow8u(low), pair.coefficients));
        s1 = Add32(s1, MulAdd16(WidenHigh8u(low), pair.coefficients));
        s2 = Add32(s2, MulAdd16(WidenLow8u(high), pair.coefficients));
        s3 = Add32(s3, MulAdd16(WidenHigh8u(high), pair.coefficients));
    });
    quotients.Store(dst, s0, s1, s2, s3);
}

template <Division form, bool bytes, int pairs>
void FilterBlocks(const TapSource& source, Vek8u* pDst, Vek32s dstStep, int64_t samples, VekImageSize kernel, Vek32s height,
                  const Taps& taps, const Divisor& divisor)
{
    const Quotients<form> quotients(divisor);
    for (Vek32s y = 0; y < height; ++y) {
        const Vek8u* src = Row(source.first, source.step, y);
        Vek8u* dst = Row(pDst, dstStep, y);
        // The row that the next destination row adds: the processor's own look-ahead ends with each page.
        const Vek8u* below = Row(src, source.step, kernel.height);
        for (int64_t x = 0; x < samples; x += 64)
            Prefetch(below + x);
        for (int64_t i = 0; i < samples; i += 16) {
            const int64_t x = Min(i, samples - 16);
            if constexpr (bytes)
                FilterBlockBytes<form, pairs>(src + x, dst + x, taps, quotients);
            else
                FilterBlockWords<form, pairs>(src + x, dst + x, taps, quotients);
        }
    }
}

using BlockFilter = decltype(&FilterBlocks<Division::None, true, 0>);

template <bool bytes, int pairs>
BlockFilter ChooseFilter(Division form)
{
    return form == Division::None ? FilterBlocks<Division::None, bytes, pairs>
        : form == Division::Shift ? FilterBlocks<Division::Shift, bytes, pairs>
        : FilterBlocks<Division::Product, bytes, pairs>;
}

// A kernel of three by three without zeros makes five pairs.
BlockFilter ChooseFilter(const Taps& taps, Division form)
{
    if (taps.count == 5)
        return taps.bytes ? ChooseFilter<true, 5>(form) : ChooseFilter<false, 5>(form);
    return taps.bytes ? ChooseFilter<true, 0>(form) : ChooseFilter<false, 0>(form);
}

// False where the scalar loop has to do it.
bool TryBlocks(const TapSource& source, Vek8u* pDst, Vek32s dstStep, int64_t samples, Vek32s height,
               const Vek32s* pKernel, VekImageSize kernel, const Divisor& divisor)
{
    if (!kBlocks || samples < 16)
        return false;
    Taps taps;
    taps.pairs = (TapPair*)AllocateBlock(((int64_t)kernel.width * kernel.height / 2 + 1) * (int64_t)sizeof(TapPair));
    if (!taps.pairs)
        return false;
    const bool fits = MakeTaps(taps, source, pKernel, kernel);
    if (fits) {
        const Divisor d = ForBlocks(divisor, pKernel, kernel);
        ChooseFilter(taps, d.form)(source, pDst, dstStep, samples, kernel, height, taps, d);
    }
    ReleaseBlock(taps.pairs);
    return fits;
}

VekStatus Filter(Vek32s channels, const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize size,
                 const Vek32s* pKernel, VekImageSize kernel, VekPoint anchor, Vek32s divisor)
{
    if (!pSrc || !pDst || !pKernel)                                                      return StatusNullPointer;
    if (size.width < 1 || size.height < 1 || kernel.width < 1 || kernel.height < 1)      return StatusBadSize;
    if (divisor == 0)                                                                    return StatusBadDivisor;
    if (!IsGoodStep(srcStep, dstStep, channels, size, kernel))                           return StatusBadStep;

    const TapSource source = FirstTap(pSrc, srcStep, channels, kernel, anchor);
    const int64_t samples = (int64_t)size.width * channels;
    const Divisor d = MakeDivisor(divisor);
    const RoundToNearest nearest;
    if (!TryBlocks(source, pDst, dstStep, samples, size.height, pKernel, kernel, d))
        FilterScalar(source, pDst, dstStep, samples, size.height, pKernel, kernel, d);
    return StatusOk;
}

}  // namespace

VekStatus vekiFilter_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                            const Vek32s* pKernel, VekImageSize kernelSize, VekPoint anchor, Vek32s divisor)
{
    return Filter(1, pSrc, srcStep, pDst, dstStep, dstRoiSize, pKernel, kernelSize, anchor, divisor);
}

VekStatus vekiFilter_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                            const Vek32s* pKernel, VekImageSize kernelSize, VekPoint anchor, Vek32s divisor)
{
    return Filter(3, pSrc, srcStep, pDst, dstStep, dstRoiSize, pKernel, kernelSize, anchor, divisor);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
