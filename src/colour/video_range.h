// BT.601 in video range: the formulas that the packed, 4:2:2 and 4:2:0 conversions share. Scalars have
// 16-bit fractions, vectors what 16-bit lanes hold.
#ifndef UVEK_COLOUR_VIDEO_RANGE_H
#define UVEK_COLOUR_VIDEO_RANGE_H

#include "colour/groups.h"

namespace uvek::VEK_TIER_NAMESPACE {

// ---- Forward, scalar: sums wrap, and the low byte of what is shifted down is the sample ----

constexpr Vek32s kLumaOffset = (16 << 16) + (1 << 15);  // rounds to nearest

constexpr Vek8u LumaOf(const Vek8u* rgb, Vek32s offset = kLumaOffset)
{
    return (Vek8u)((16843 * rgb[0] + 33030 * rgb[1] + 6423 * rgb[2] + offset) >> 16);
}

// Of one pixel, or of the sums of 2^n pixels with an offset and a shift that have n bits more.
constexpr Vek8u CbOf(Vek32s r, Vek32s g, Vek32s b, Vek32s offset, int shift)
{
    return (Vek8u)((-9699 * r - 19071 * g + 28770 * b + offset) >> shift);
}

constexpr Vek8u CrOf(Vek32s r, Vek32s g, Vek32s b, Vek32s offset, int shift)
{
    return (Vek8u)((28770 * r - 24117 * g - 4653 * b + offset) >> shift);
}

constexpr Vek32s kChromaOffset = (1 << 15) - (128 << 16);  // 128.5 in the low byte
constexpr int kChromaShift = 16;

// ---- Forward, vector ----

struct HalfWeights {
    int r, g, b;  // 15-bit fractions
};

constexpr HalfWeights kHalfY = {8421, 16515, 3211}, kHalfCb = {-4850, -9535, 14385}, kHalfCr = {14385, -12059, -2327};

// Luma of 16 pixels, from high products of 8 fraction bits; so has `offset`.
inline V LumaWords(const Products& p, V offset) { return ShiftRight16u<8>(Add16(Add16(p.r, p.g), Add16(p.b, offset))); }

inline V LumaBytes(const Pixels16<3>& pixels, V offset)
{
    const ProductWeights weights(16843, 33030, 6423);
    return Pack16sTo8u(LumaWords(HighProducts<0>(pixels, weights), offset), LumaWords(HighProducts<1>(pixels, weights), offset));
}

// Chroma, less 128, of eight sums of pixels, in words. What rounds is unit * (1 << unitBits), as the pair's second
// word times its weight.
template <int shift>
inline V ChromaWords(const PairSums& sums, const HalfWeights& w, int unit, int unitBits)
{
    const V rg = SplatPair16(w.r, w.g), b1 = SplatPair16(w.b, 1 << unitBits), one = Splat32(unit << 16);
    return Pack32sTo16s(ShiftRight32s<shift>(Add32(MulAdd16(sums.rg(0), rg), MulAdd16(Or(sums.b(0), one), b1))),
                        ShiftRight32s<shift>(Add32(MulAdd16(sums.rg(1), rg), MulAdd16(Or(sums.b(1), one), b1))));
}

// ---- Inverse ----

constexpr Vek32s kGain = 76284, kRedOfCr = 104595, kGreenOfCb = -25690, kGreenOfCr = -53281, kBlueOfCb = 132186;
constexpr Vek32s kBlackFloor = -16 * kGain;                    // rounds down
constexpr Vek32s kBlackNearest = kBlackFloor + (1 << 15);      // rounds to nearest

struct Rgb {
    Vek8u r, g, b;
};

constexpr Rgb RgbOf(Vek8u y, Vek8u cb, Vek8u cr, Vek32s black)
{
    const Vek32s luma = kGain * y + black, u = cb - 128, v = cr - 128;
    return {Saturate8u((luma + kRedOfCr * v) >> 16), Saturate8u((luma + kGreenOfCb * u + kGreenOfCr * v) >> 16), Saturate8u((luma + kBlueOfCb * u) >> 16)};
}

// In sixteenths: high products of samples in the upper halves of words, luma unsigned and chroma signed.
inline V LumaTerm(V y) { return MulHigh16u(y, Splat16(9536 / 2)); }

constexpr int kBlackTerm = 16 * 9536 * 128 / 65536;

struct ChromaTerms {
    V r, g, b;  // to be added to luma, and to be shifted down by 4
};

inline ChromaTerms ChromaTermsOf(V cb, V cr, int black)
{
    const V offset = Splat16(black);
    const V green = Add16(MulHigh16s(cb, Splat16(1606)), MulHigh16s(cr, Splat16(3330)));
    return {Sub16(MulHigh16s(cr, Splat16(6537)), offset), Sub16(Sub16(Zero(), offset), green), Sub16(MulHigh16s(cb, Splat16(8262)), offset)};
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
