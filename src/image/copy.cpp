// Whole regions, and the pixels that a mask picks.
#include "image/copy.h"

#include "frame/simd.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <int channels, typename T>
VekStatus CopyPixels(const T* pSrc, Vek32s srcStep, T* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    const int64_t rowBytes = (int64_t)roiSize.width * channels * (int64_t)sizeof(T);
    CopyRegion((const Vek8u*)pSrc, srcStep, (Vek8u*)pDst, dstStep, rowBytes, roiSize.height, sizeof(T));
    return StatusOk;
}

// Sample by sample, as all copies of tier 0, so that a row that overlaps itself repeats its start.
inline void CopyPixel3(const Vek8u* src, Vek8u* dst)
{
    dst[0] = src[0];
    dst[1] = src[1];
    dst[2] = src[2];
}

void CopyMaskedRow(const Vek8u* src, Vek8u* dst, const Vek8u* mask, Vek32s width)
{
    Vek32s x = 0;
    if (kBlocks) {
        for (; width - x >= 16; x += 16) {
            const Vek8u* from = src + (int64_t)x * 3;
            Vek8u* to = dst + (int64_t)x * 3;
            Vek32u chosen = (Vek32u)MoveMask8(Equal8(LoadU(mask + x), Zero())) ^ 0xffffu;
            if (chosen == 0xffff) {
                const V a = LoadU(from), b = LoadU(from + 16), c = LoadU(from + 32);
                StoreU(to, a);
                StoreU(to + 16, b);
                StoreU(to + 32, c);
                continue;
            }
            // Bit by bit: what the mask leaves out is not even rewritten with its own value.
            for (; chosen != 0; chosen &= chosen - 1) {
                const int at = 3 * __builtin_ctz(chosen);
                CopyPixel3(from + at, to + at);
            }
        }
    }
    for (; x < width; ++x)
        if (mask[x])
            CopyPixel3(src + (int64_t)x * 3, dst + (int64_t)x * 3);
}

}  // namespace

VekStatus vekiCopy_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyPixels<1>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyPixels<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_8u_C4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyPixels<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_16s_C1R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyPixels<1>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_16s_C3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyPixels<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_16s_C4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyPixels<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyPixels<1>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_8u_C3MR(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek8u* pMask, Vek32s maskStep)
{
    if (!pSrc || !pDst || !pMask)                 return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        CopyMaskedRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), Row(pMask, maskStep, y), roiSize.width);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
