// Samples shifted, divided by a constant, or ORed with another image's, in place.
#include "frame/simd_float.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- Left shift ----

// A shift is a product by a power of two whose low 16 bits are kept; a count past 15 is a factor of 0.
// 24 factors are a whole number of pixels of one, three and four samples.
void ScaleRow(Vek16u* row, int64_t width, const Vek16u* factors)
{
    int64_t x = 0;
    if (kBlocks) {
        const V a = LoadU(factors), b = LoadU(factors + 8), c = LoadU(factors + 16);
        for (; width - x >= 24; x += 24) {
            StoreU(row + x, MulLow16(LoadU(row + x), a));
            StoreU(row + x + 8, MulLow16(LoadU(row + x + 8), b));
            StoreU(row + x + 16, MulLow16(LoadU(row + x + 16), c));
        }
    }
    while (x < width)
        for (int i = 0; i < 24 && x < width; ++i, ++x)
            Put(row + x, (Vek16u)((Vek32u)Get(row + x) * factors[i]));
}

// `counts`: of the first `counted` samples of a pixel; a fourth is alpha and stays.
VekStatus ShiftLeft(const Vek32u* counts, int counted, int channels, Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    if (!pSrcDst || !counts)                      return StatusNullPointer;
    if (srcDstStep < 1)                           return StatusBadStep;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    Vek16u factors[24];
    bool unchanged = true;
    for (int i = 0; i < 24; ++i) {
        const Vek32u count = i % channels < counted ? counts[i % channels] : 0;
        factors[i] = count > 15 ? (Vek16u)0 : (Vek16u)(1u << count);
        unchanged = unchanged && count == 0;
    }
    for (Vek32s y = 0; !unchanged && y < roiSize.height; ++y)
        ScaleRow(Row(pSrcDst, srcDstStep, y), (int64_t)roiSize.width * channels, factors);
    return StatusOk;
}

// ---- OR ----

void OrRow(const Vek8u* src, Vek8u* dst, Vek32s width)
{
    Vek32s x = 0;
    if (kBlocks) {
        for (; width - x >= 32; x += 32) {
            const V a = Or(LoadU(src + x), LoadU(dst + x)), b = Or(LoadU(src + x + 16), LoadU(dst + x + 16));
            StoreU(dst + x, a);
            StoreU(dst + x + 16, b);
        }
        if (width - x >= 16) {
            StoreU(dst + x, Or(LoadU(src + x), LoadU(dst + x)));
            x += 16;
        }
    }
    for (; x < width; ++x)
        dst[x] = (Vek8u)(dst[x] | src[x]);
}

// ---- Division ----

// By the reciprocal, rounded once: a quotient may differ from a true division in its last bit.
void MultiplyRow(Vek32f* row, Vek32s width, Vek32f factor)
{
    Vek32s x = 0;
    if (kBlocks) {
        const F f = SplatF(factor);
        for (; width - x >= 8; x += 8) {
            StoreU(row + x, Mul(LoadU(row + x), f));
            StoreU(row + x + 4, Mul(LoadU(row + x + 4), f));
        }
    }
    for (; x < width; ++x)
        Put(row + x, Get(row + x) * factor);
}

}  // namespace

VekStatus vekiLShiftC_16u_C1IR(Vek32u value, Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    return ShiftLeft(&value, 1, 1, pSrcDst, srcDstStep, roiSize);
}

VekStatus vekiLShiftC_16u_C3IR(const Vek32u value[3], Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    return ShiftLeft(value, 3, 3, pSrcDst, srcDstStep, roiSize);
}

VekStatus vekiLShiftC_16u_AC4IR(const Vek32u value[3], Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    return ShiftLeft(value, 3, 4, pSrcDst, srcDstStep, roiSize);
}

VekStatus vekiOr_8u_C1IR(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    if (!pSrc || !pSrcDst)                        return StatusNullPointer;
    if (srcStep < 1 || srcDstStep < 1)            return StatusBadStep;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        OrRow(Row(pSrc, srcStep, y), Row(pSrcDst, srcDstStep, y), roiSize.width);
    return StatusOk;
}

VekStatus vekiDivC_32f_C1IR(Vek32f value, Vek32f* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    if (!pSrcDst)                                 return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (srcDstStep < 1)                           return StatusBadStep;
    if (value == 0)                               return StatusDivideByZero;

    const Vek32f reciprocal = 1.0f / value;
    for (Vek32s y = 0; y < roiSize.height; ++y)
        MultiplyRow(Row(pSrcDst, srcDstStep, y), roiSize.width, reciprocal);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
