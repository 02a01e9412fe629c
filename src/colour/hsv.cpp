// RGB to hue, saturation, value: hue counts 255 to the turn. Tier 0 divides; tiers 1 to 3 take the
// processor's approximate reciprocals, which leave less than a tenth of a unit, and round to nearest.
#include "colour/blocks.h"
#include "frame/simd_float.h"
#include "frame/simd_interleave.h"
#include "uvek/colour.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32f kAlmostHalf = 0.499999f;

void ConvertPixel(const Vek8u* src, Vek8u* dst)
{
    const int r = src[0], g = src[1], b = src[2];
    const int high = Max(r, Max(g, b)), low = Min(r, Min(g, b));
    Vek8u hue = 0, saturation = 0;
    if (high != low) {
        const Vek32f max = (Vek32f)high, delta = (Vek32f)(high - low), inv = 1.0f / delta;
        saturation = (Vek8u)(delta / max * 255.0f + kAlmostHalf);
        const Vek32f t = (max - (Vek32f)r) * inv;
        Vek32f x;
        if (b == high)
            x = 4.0f - t + (max - (Vek32f)g) * inv;
        else if (g == high)
            x = 2.0f + t - (max - (Vek32f)b) * inv;
        else
            x = (Vek32f)(g - b) * inv;
        Vek32f h = x * 255.0f / 6.0f;
        if (h < 0)
            h += 255.0f;
        hue = (Vek8u)(h + kAlmostHalf);
    }
    dst[0] = hue;
    dst[1] = saturation;
    dst[2] = (Vek8u)high;
}

// Hues of four pixels: offset + 42.5 n / delta.
inline V HueOf4(V numerator, V delta, V offset)
{
    return Nearest32s(Add(Mul(Mul(ToFloat(numerator), ReciprocalApprox(ToFloat(delta))), SplatF(42.5f)), ToFloat(offset)));
}

inline V SaturationOf4(V delta, V max)
{
    return Nearest32s(Mul(Mul(ToFloat(delta), ReciprocalApprox(ToFloat(max))), SplatF(255.0f)));
}

// Eight pixels, in words.
inline V Hue(V numerator, V delta, V offset)
{
    return Pack32sTo16s(HueOf4(WidenLow16s(numerator), WidenLow16u(delta), WidenLow16u(offset)),
                        HueOf4(WidenHigh16s(numerator), WidenHigh16u(delta), WidenHigh16u(offset)));
}

inline V Saturation(V delta, V max)
{
    return Pack32sTo16s(SaturationOf4(WidenLow16u(delta), WidenLow16u(max)), SaturationOf4(WidenHigh16u(delta), WidenHigh16u(max)));
}

void ConvertBlocks(const Vek8u* src, Vek8u* dst, Vek32s blocks)
{
    for (; blocks > 0; --blocks, src += 48, dst += 48) {
        V r = LoadU(src), g = LoadU(src + 16), b = LoadU(src + 32);
        Deinterleave3x8(r, g, b);
        V max = Max8u(r, Max8u(g, b));
        const V min = Min8u(r, Min8u(g, b)), delta = Sub8(max, min), gray = Equal8(delta, Zero());

        // The channel that follows the largest one in the circle, and the one before it: their difference is the
        // numerator. The largest stands at a third of the turn for each step from red.
        const V isBlue = Equal8(b, max), isGreen = AndNot(isBlue, Equal8(g, max));
        const V after = Select(isBlue, r, Select(isGreen, b, g)), before = Select(isBlue, g, Select(isGreen, r, b));
        const V behindRed = AndNot(Or(isBlue, isGreen), Xor(Equal8(Max8u(after, before), after), Splat8(255)));
        const V offset = Or(Or(And(isBlue, Splat8(170)), And(isGreen, Splat8(85))), behindRed);

        const V hueLow = Hue(Sub16(WidenLow8u(after), WidenLow8u(before)), WidenLow8u(delta), WidenLow8u(offset));
        const V hueHigh = Hue(Sub16(WidenHigh8u(after), WidenHigh8u(before)), WidenHigh8u(delta), WidenHigh8u(offset));
        V hue = AndNot(gray, Pack16sTo8u(hueLow, hueHigh));
        V saturation = AndNot(gray, Pack16sTo8u(Saturation(WidenLow8u(delta), WidenLow8u(max)), Saturation(WidenHigh8u(delta), WidenHigh8u(max))));
        Interleave3x8(hue, saturation, max);
        StoreU(dst, hue);
        StoreU(dst + 16, saturation);
        StoreU(dst + 32, max);
    }
}

}  // namespace

VekStatus vekiRGBToHSV_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y) {
        const Vek8u* const src = Row(pSrc, srcStep, y);
        Vek8u* const dst = Row(pDst, dstStep, y);
        Vek32s x = 0;
        if constexpr (kBlocks)
            x = RunBlocks<3, 3>(ConvertBlocks, src, dst, roiSize.width);
        for (; x < roiSize.width; ++x)
            ConvertPixel(Offset(src, (int64_t)x * 3), Offset(dst, (int64_t)x * 3));
    }
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
