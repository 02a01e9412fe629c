// Separable smoothing of bytes by a symmetric kernel, a row at a time: sums along a row, then sums of such rows.
// Kernel entries are in units of 1/8192. A row sum keeps 5 fractional bits, a smoothed sample 3.
#ifndef UVEK_VISION_SMOOTH_H
#define UVEK_VISION_SMOOTH_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

// What the sums of a kernel need. Wide takes any kernel; the block kernels take the other two.
enum class SumWidth {
    Wide,   // 32 bits, wrapping
    Words,  // row sums fit 16 bits
    Small,  // entries are small multiples of a power of two: the sums of the multiples fit 16 bits all through
};

struct SmoothKernel {
    const Vek16s* taps;
    Vek32s size;
    SumWidth width;
    Vek32s smallBits;   // Small: entries are multiple << smallBits
};

// The scaled-down sums are exact: 8 bits of a row sum's scale go by its shift, the rest before the final one.
constexpr Vek32s kSmallestSmallBits = 9, kLargestSmallBits = 11, kLargestSmallSum = 16, kLargestSmallSize = 5;

inline SumWidth SumWidthOf(const Vek16s* taps, Vek32s size, Vek32s* smallBits)
{
    int64_t positive = 0, negative = 0;
    Vek32s bits = 0;
    for (Vek32s i = 0; i < size; ++i) {
        (taps[i] < 0 ? negative : positive) += taps[i];
        bits |= taps[i];
    }
    *smallBits = kLargestSmallBits;
    while (*smallBits > 0 && bits & ((1 << *smallBits) - 1))
        --*smallBits;
    if (size <= kLargestSmallSize && negative == 0 && *smallBits >= kSmallestSmallBits && positive >> *smallBits <= kLargestSmallSum)
        return SumWidth::Small;
    return positive * 255 >> 8 <= 32767 && negative * 255 >> 8 >= -32768 ? SumWidth::Words : SumWidth::Wide;
}

// ---- One sample after another ----

enum class Shift { Sum, EachProduct };

// `padded` starts size / 2 samples before the row; every `spacing`th sum is made.
template <Shift shift>
void SumAlongRow(const Vek8u* padded, Vek32s spacing, Vek32s count, const SmoothKernel& k, Vek32s* sums)
{
    for (Vek32s x = 0; x < count; ++x, padded += spacing) {
        Vek32u sum = 0;
        for (Vek32s j = 0; j < k.size; ++j) {
            const Vek32s product = k.taps[j] * padded[j];
            sum += (Vek32u)(shift == Shift::EachProduct ? product >> 8 : product);
        }
        sums[x] = shift == Shift::EachProduct ? (Vek32s)sum : (Vek32s)sum >> 8;
    }
}

inline Vek16s SumOfRows(void* const* rows, Vek32s x, const SmoothKernel& k)
{
    Vek32u sum = 16384;
    for (Vek32s j = 0; j < k.size; ++j)
        sum += (Vek32u)k.taps[j] * (Vek32u)((const Vek32s*)rows[j])[x];
    return Saturate16s((Vek32s)sum >> 15);
}

// ---- Eight at a time ----
// These run on to a multiple of eight: what they read and write has room for it, save for the destination.

// Word pairs (a, b) against the taps j and j + 1; past the last tap stands a zero.
inline V TapPair(const SmoothKernel& k, Vek32s j)
{
    return SplatPair16(k.taps[j], j + 1 < k.size ? k.taps[j + 1] : 0);
}

template <int spacing>
void SumAlongRowInWords(const Vek8u* padded, Vek32s count, const SmoothKernel& k, Vek16s* sums)
{
    for (Vek32s x = 0; x < count; x += 8, padded += 8 * spacing) {
        V low = Zero(), high = Zero();
        for (Vek32s j = 0; j < k.size; j += 2) {
            const V taps = TapPair(k, j);
            const V pairs = spacing == 2 ? LoadU(padded + j) : UnpackLow8(Load64(padded + j), Load64(padded + j + 1));
            low = Add32(low, MulAdd16(WidenLow8u(pairs), taps));
            high = Add32(high, MulAdd16(WidenHigh8u(pairs), taps));
        }
        StoreU(sums + x, Pack32sTo16s(ShiftRight32s<8>(low), ShiftRight32s<8>(high)));
    }
}

// Sums of the multiples, unsigned.
template <int spacing>
void SumAlongRowInSmall(const Vek8u* padded, Vek32s count, const SmoothKernel& k, Vek16s* sums)
{
    Vek32s m[6] = {};
    for (Vek32s j = 0; j < k.size; ++j)
        m[j] = k.taps[j] >> k.smallBits;
    const auto pair = [&](Vek32s j) { return Splat16(m[j] | m[j + 1] << 8); };
    const V taps01 = pair(0), taps23 = pair(2), taps45 = pair(4);
    const auto load = [&](const Vek8u* p) { return spacing == 2 ? LoadU(p) : UnpackLow8(Load64(p), Load64(p + 1)); };
    for (Vek32s x = 0; x < count; x += 8, padded += 8 * spacing) {
        V sum = Add16(MulAdd8us(load(padded), taps01), MulAdd8us(load(padded + 2), taps23));
        if (k.size > 3)
            sum = Add16(sum, MulAdd8us(load(padded + 4), taps45));
        StoreU(sums + x, sum);
    }
}

inline V SumOfEightRowsInWords(void* const* rows, Vek32s x, const SmoothKernel& k)
{
    V low = Splat32(16384), high = low;
    for (Vek32s j = 0; j < k.size; j += 2) {
        const V a = LoadU((const Vek16s*)rows[j] + x), b = j + 1 < k.size ? LoadU((const Vek16s*)rows[j + 1] + x) : Zero();
        const V taps = TapPair(k, j);
        low = Add32(low, MulAdd16(UnpackLow16(a, b), taps));
        high = Add32(high, MulAdd16(UnpackHigh16(a, b), taps));
    }
    return Pack32sTo16s(ShiftRight32s<15>(low), ShiftRight32s<15>(high));
}

// The taps of SumOfEightRowsInSmall, made once a row.
struct SmallTaps {
    V outer, inner, centre, round, shift;
};

inline SmallTaps SmallTapsOf(const SmoothKernel& k)
{
    const Vek32s c = k.size / 2, shift = 23 - 2 * k.smallBits;
    return {Splat16(c > 1 ? k.taps[0] >> k.smallBits : 0), Splat16(k.taps[c - 1] >> k.smallBits), Splat16(k.taps[c] >> k.smallBits),
            Splat16(1 << (shift - 1)), ShiftCount(shift)};
}

template <Vek32s size>
V SumOfEightRowsInSmall(void* const* rows, Vek32s x, const SmallTaps& t)
{
    constexpr Vek32s c = size / 2;
    const auto row = [&](Vek32s j) { return LoadU((const Vek16s*)rows[j] + x); };
    V sum = Add16(Add16(t.round, MulLow16(row(c), t.centre)), MulLow16(Add16(row(c - 1), row(c + 1)), t.inner));
    if (size == 5)
        sum = Add16(sum, MulLow16(Add16(row(0), row(4)), t.outer));
    return ShiftRight16uBy(sum, t.shift);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
