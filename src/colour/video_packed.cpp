// Packed RGB to packed YCbCr in video range and back.
#include "colour/blocks.h"
#include "colour/video_range.h"
#include "uvek/colour.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- Forward: the 16-bit form rounds down after 11 and after 4 more bits ----

struct Words {
    V rgLow, rgHigh, b;  // pairs R G of four pixels each, 32 times B of all eight
};

inline V PackedSum(const Words& w, const HalfWeights& k)
{
    const V pair = SplatPair16(k.r, k.g);
    const V p = Pack32sTo16s(ShiftRight32s<11>(MulAdd16(w.rgLow, pair)), ShiftRight32s<11>(MulAdd16(w.rgHigh, pair)));
    // 32 b k >> 16 is b k >> 11.
    return ShiftRight16s<4>(Add16(p, MulHigh16s(w.b, Splat16(k.b))));
}

// The offset is added to bytes, where it saturates as it does in words.
inline V Luma(const Words& low, const Words& high)
{
    return AddSat8u(Pack16sTo8u(PackedSum(low, kHalfY), PackedSum(high, kHalfY)), Splat8(16));
}

inline V Chroma(const Words& low, const Words& high, const HalfWeights& k)
{
    return Xor(Pack16sTo8s(PackedSum(low, k), PackedSum(high, k)), Splat8(128));
}

void ForwardBlocks(const Vek8u* src, Vek8u* dst, Vek32s blocks)
{
    for (; blocks > 0; --blocks, src += 48, dst += 48) {
        const Pixels16<3> pixels = LoadPixels<3>(src);
        const Words low = {RedGreenPairs<0>(pixels), RedGreenPairs<1>(pixels), ShiftRight16u<3>(BlueWords<0>(pixels))};
        const Words high = {RedGreenPairs<2>(pixels), RedGreenPairs<3>(pixels), ShiftRight16u<3>(BlueWords<1>(pixels))};
        V y = Luma(low, high), cb = Chroma(low, high, kHalfCb), cr = Chroma(low, high, kHalfCr);
        Interleave3x8(y, cb, cr);
        StoreU(dst, y);
        StoreU(dst + 16, cb);
        StoreU(dst + 32, cr);
    }
}

void ForwardRow(const Vek8u* pSrc, Vek8u* pDst, Vek32s width)
{
    Vek32s x = 0;
    if constexpr (kBlocks)
        x = RunBlocks<3, 3>(ForwardBlocks, pSrc, pDst, width);
    for (; x < width; ++x) {
        const Vek8u* const p = Offset(pSrc, (int64_t)x * 3);
        const Vek8u y = LumaOf(p), cb = CbOf(p[0], p[1], p[2], kChromaOffset, kChromaShift), cr = CrOf(p[0], p[1], p[2], kChromaOffset, kChromaShift);
        Vek8u* const q = Offset(pDst, (int64_t)x * 3);
        q[0] = y;
        q[1] = cb;
        q[2] = cr;
    }
}

// ---- Inverse ----

void InverseBlocks(const Vek8u* src, Vek8u* dst, Vek32s blocks)
{
    const V zero = Zero(), centre = Splat8(128);
    for (; blocks > 0; --blocks, src += 48, dst += 48) {
        V y = LoadU(src), cb = LoadU(src + 16), cr = LoadU(src + 32);
        Deinterleave3x8(y, cb, cr);
        cb = Xor(cb, centre);
        cr = Xor(cr, centre);
        const ChromaTerms low = ChromaTermsOf(UnpackLow8(zero, cb), UnpackLow8(zero, cr), kBlackTerm);
        const ChromaTerms high = ChromaTermsOf(UnpackHigh8(zero, cb), UnpackHigh8(zero, cr), kBlackTerm);
        const V lumaLow = LumaTerm(UnpackLow8(zero, y)), lumaHigh = LumaTerm(UnpackHigh8(zero, y));
        StoreClamped3x8(dst, ShiftRight16s<4>(Add16(lumaLow, low.r)), ShiftRight16s<4>(Add16(lumaHigh, high.r)),
                        ShiftRight16s<4>(Add16(lumaLow, low.g)), ShiftRight16s<4>(Add16(lumaHigh, high.g)),
                        ShiftRight16s<4>(Add16(lumaLow, low.b)), ShiftRight16s<4>(Add16(lumaHigh, high.b)));
    }
}

void InverseRow(const Vek8u* pSrc, Vek8u* pDst, Vek32s width)
{
    Vek32s x = 0;
    if constexpr (kBlocks)
        x = RunBlocks<3, 3>(InverseBlocks, pSrc, pDst, width);
    for (; x < width; ++x) {
        const Vek8u* const p = Offset(pSrc, (int64_t)x * 3);
        const Rgb pixel = RgbOf(p[0], p[1], p[2], kBlackFloor);
        Vek8u* const q = Offset(pDst, (int64_t)x * 3);
        q[0] = pixel.r;
        q[1] = pixel.g;
        q[2] = pixel.b;
    }
}

}  // namespace

VekStatus vekiRGBToYCbCr_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        ForwardRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), roiSize.width);
    return StatusOk;
}

VekStatus vekiYCbCrToRGB_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        InverseRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), roiSize.width);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
