// RGB, and planes, to the 4:2:2 sequence Y0 Cb Y1 Cr in video range.
#include "colour/blocks.h"
#include "colour/video_range.h"
#include "uvek/colour.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32s kSecondLumaOffset = 16 << 16;  // the second pixel of a pair is not rounded
constexpr Vek32s kPairOffset = (1 << 16) - (128 << 17);

void ForwardBlocks(const Vek8u* src, Vek8u* dst, Vek32s blocks)
{
    for (; blocks > 0; --blocks, src += 48, dst += 32) {
        const Pixels16<3> pixels = LoadPixels<3>(src);
        const V luma = LumaBytes(pixels, kLumaWordOffsetNearest, kLumaWordOffset);
        // Halved weights leave 16 bits to take off the sum of two; the half is 2 times 16384.
        const PairSums sums = SumPairs(pixels);
        const V cb = ChromaWords<16>(sums, kHalfCb, 2, 14), cr = ChromaWords<16>(sums, kHalfCr, 2, 14);
        const V chroma = Xor(Pack16sTo8s(UnpackLow16(cb, cr), UnpackHigh16(cb, cr)), Splat8(128));
        StoreU(dst, UnpackLow8(luma, chroma));
        StoreU(dst + 16, UnpackHigh8(luma, chroma));
    }
}

void ForwardRow(const Vek8u* pSrc, Vek8u* pDst, Vek32s width)
{
    Vek32s x = 0;
    if constexpr (kBlocks)
        x = RunBlocks<3, 2>(ForwardBlocks, pSrc, pDst, width);
    for (; x < (width & ~1); x += 2) {
        const Vek8u* const p = Offset(pSrc, (int64_t)x * 3);
        const Vek32s r = p[0] + p[3], g = p[1] + p[4], b = p[2] + p[5];
        Vek8u* const q = Offset(pDst, (int64_t)x * 2);
        q[0] = LumaOf(p);
        q[1] = CbOf(r, g, b, kPairOffset, 17);
        q[2] = LumaOf(p + 3, kSecondLumaOffset);
        q[3] = CrOf(r, g, b, kPairOffset, 17);
    }
    if (x < width) {
        const Vek8u* const p = Offset(pSrc, (int64_t)x * 3);
        Vek8u* const q = Offset(pDst, (int64_t)x * 2);
        q[0] = LumaOf(p);
        q[1] = CbOf(p[0], p[1], p[2], kChromaOffset, kChromaShift);
    }
}

void WeaveRow(const Vek8u* pLuma, const Vek8u* pCb, const Vek8u* pCr, Vek8u* pDst, Vek32s pairs)
{
    Vek32s i = 0;
    if constexpr (kBlocks) {
        for (; pairs - i >= 16; i += 16) {
            const V cb = LoadU(pCb + i), cr = LoadU(pCr + i), low = UnpackLow8(cb, cr), high = UnpackHigh8(cb, cr);
            const Vek8u* const luma = Offset(pLuma, (int64_t)i * 2);
            const V y0 = LoadU(luma), y1 = LoadU(luma + 16);
            Vek8u* const dst = Offset(pDst, (int64_t)i * 4);
            StoreU(dst, UnpackLow8(y0, low));
            StoreU(dst + 16, UnpackHigh8(y0, low));
            StoreU(dst + 32, UnpackLow8(y1, high));
            StoreU(dst + 48, UnpackHigh8(y1, high));
        }
    }
    for (; i < pairs; ++i) {
        const Vek8u* const luma = Offset(pLuma, (int64_t)i * 2);
        Vek8u* const dst = Offset(pDst, (int64_t)i * 4);
        dst[0] = luma[0];
        dst[1] = pCb[i];
        dst[2] = luma[1];
        dst[3] = pCr[i];
    }
}

}  // namespace

VekStatus vekiRGBToYCbCr422_8u_C3C2R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        ForwardRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), roiSize.width);
    return StatusOk;
}

VekStatus vekiYCbCr422_8u_P3C2R(const Vek8u* const pSrc[3], const Vek32s srcStep[3], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (!pSrc[0] || !pSrc[1] || !pSrc[2])         return StatusNullPointer;
    if (roiSize.width < 2 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        WeaveRow(Row(pSrc[0], srcStep[0], y), Row(pSrc[1], srcStep[1], y), Row(pSrc[2], srcStep[2], y), Row(pDst, dstStep, y), roiSize.width / 2);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
