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

// At 65536 / 306 to the unit the three weights come so near to whole numbers that bytes hold them: 55, 108 and 21 are
// off by less than a tenth of a unit in all. A high product of 306 then takes the scale off.
constexpr int kLumaUnit = 306;
constexpr int kLumaRed = 55, kLumaGreen = 108, kLumaBlue = 21;
constexpr int kLumaWordOffset = 16 * 65536 / kLumaUnit;         // 16
constexpr int kLumaWordOffsetNearest = 33 * 32768 / kLumaUnit;  // 16.5

inline V LumaWords(V sum, V offset) { return MulHigh16u(Add16(sum, offset), Splat16(kLumaUnit)); }

// R G pairs and B G pairs of a group's four pixels, weighted: green takes part in both, for its weight.
template <int group>
inline V LumaPairs(V v)
{
    constexpr int r = kSkip<3, group>, g = r + 1, b = r + 2;
    const V pairs = Shuffle8(v, Lanes8(r, g, r + 3, g + 3, r + 6, g + 6, r + 9, g + 9, b, g, b + 3, g + 3, b + 6, g + 6, b + 9, g + 9));
    constexpr int rg = kLumaGreen / 2 << 8 | kLumaRed, bg = kLumaGreen / 2 << 8 | kLumaBlue;
    return MulAdd8us(pairs, Lanes16(rg, rg, rg, rg, bg, bg, bg, bg));
}

inline V LumaSum(V r, V g, V b)
{
    return Add16(Add16(MulLow16(r, Splat16(kLumaRed)), MulLow16(g, Splat16(kLumaGreen))), MulLow16(b, Splat16(kLumaBlue)));
}

// Luma of 16 pixels; the offsets are of pixels 0, 2, .. and 1, 3, ...
inline V LumaBytes(const Pixels16<3>& pixels, int even, int odd)
{
    const V* const v = pixels.v;
    const V offset = SplatPair16(even, odd);
    if constexpr (kHasByteShuffle) {
        const V a = LumaPairs<0>(v[0]), b = LumaPairs<1>(v[1]), c = LumaPairs<2>(v[2]), d = LumaPairs<3>(v[3]);
        return Pack16sTo8u(LumaWords(Add16(UnpackLow64(a, b), UnpackHigh64(a, b)), offset), LumaWords(Add16(UnpackLow64(c, d), UnpackHigh64(c, d)), offset));
    } else {
        return Pack16sTo8u(LumaWords(LumaSum(WidenLow8u(v[0]), WidenLow8u(v[1]), WidenLow8u(v[2])), offset),
                           LumaWords(LumaSum(WidenHigh8u(v[0]), WidenHigh8u(v[1]), WidenHigh8u(v[2])), offset));
    }
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
