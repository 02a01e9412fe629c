// BT.601 in video range: the formulas that the packed, 4:2:2 and 4:2:0 conversions share. Scalars have
// 16-bit fractions, vectors what 16-bit lanes hold.
#ifndef UVEK_COLOUR_VIDEO_RANGE_H
#define UVEK_COLOUR_VIDEO_RANGE_H

#include "frame/simd.h"

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

// Luma of eight pixels in words, from samples in the upper halves of words; `offset` has 8 fraction bits.
inline V LumaWords(V r, V g, V b, V offset)
{
    const V sum = Add16(Add16(MulHigh16u(r, Splat16(16843)), MulHigh16u(g, Splat16(33030))), MulHigh16u(b, Splat16(6423)));
    return ShiftRight16u<8>(Add16(sum, offset));
}

inline V LumaBytes(V r, V g, V b, V offset)
{
    const V zero = Zero();
    return Pack16sTo8u(LumaWords(UnpackLow8(zero, r), UnpackLow8(zero, g), UnpackLow8(zero, b), offset),
                       LumaWords(UnpackHigh8(zero, r), UnpackHigh8(zero, g), UnpackHigh8(zero, b), offset));
}

// Chroma of sums of 2^n pixels, in words, less 128: `round` and `shift` have n bits more than for one pixel. The
// pairs are r g and b 1.
template <int shift>
inline V ChromaOf4(V rg, V b1, const HalfWeights& w, int round)
{
    return ShiftRight32s<shift>(Add32(MulAdd16(rg, SplatPair16(w.r, w.g)), MulAdd16(b1, SplatPair16(w.b, round))));
}

template <int shift>
inline V ChromaWords(V r, V g, V b, const HalfWeights& w, int round)
{
    const V one = Splat16(1);
    return Pack32sTo16s(ChromaOf4<shift>(UnpackLow16(r, g), UnpackLow16(b, one), w, round),
                        ChromaOf4<shift>(UnpackHigh16(r, g), UnpackHigh16(b, one), w, round));
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
