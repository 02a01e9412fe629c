// Samples of 8 bits to 16 and back.
#include "frame/simd.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

void NarrowRow(const Vek16s* src, Vek8u* dst, int64_t width)
{
    int64_t x = 0;
    if (kBlocks) {
        for (; width - x >= 32; x += 32) {
            StoreU(dst + x, Pack16sTo8u(LoadU(src + x), LoadU(src + x + 8)));
            StoreU(dst + x + 16, Pack16sTo8u(LoadU(src + x + 16), LoadU(src + x + 24)));
        }
        if (width - x >= 16) {
            StoreU(dst + x, Pack16sTo8u(LoadU(src + x), LoadU(src + x + 8)));
            x += 16;
        }
    }
    for (; x < width; ++x)
        dst[x] = Saturate8u(Get(src + x));
}

template <bool stream>
int64_t WidenBlocks(const Vek8u* src, Vek16u* dst, int64_t from, int64_t width)
{
    int64_t x = from;
    for (; width - x >= 32; x += 32) {
        const V a = LoadU(src + x), b = LoadU(src + x + 16);
        Store<stream>(dst + x, WidenLow8u(a));
        Store<stream>(dst + x + 8, WidenHigh8u(a));
        Store<stream>(dst + x + 16, WidenLow8u(b));
        Store<stream>(dst + x + 24, WidenHigh8u(b));
    }
    if (width - x >= 16) {
        const V a = LoadU(src + x);
        Store<stream>(dst + x, WidenLow8u(a));
        Store<stream>(dst + x + 8, WidenHigh8u(a));
        x += 16;
    }
    return x;
}

void WidenSamples(const Vek8u* src, Vek16u* dst, int64_t from, int64_t to)
{
    for (int64_t x = from; x < to; ++x)
        Put(dst + x, (Vek16u)src[x]);
}

// A destination at an odd address has no boundary to start streaming from.
void WidenRow(const Vek8u* src, Vek16u* dst, int64_t width, bool streams)
{
    int64_t x = 0;
    if (kBlocks) {
        if (streams && IsAligned(dst, 2)) {
            x = Min(width, (int64_t)(-(uintptr_t)dst & 15) / 2);
            WidenSamples(src, dst, 0, x);
            x = WidenBlocks<true>(src, dst, x, width);
        } else {
            x = WidenBlocks<false>(src, dst, 0, width);
        }
    }
    WidenSamples(src, dst, x, width);
}

// Limits of the sample count, wrapped to 32 bits, above which packed rows and other rows stream.
constexpr Vek32s kStreamedPacked = kTier == 1 ? 699050 : 1398101;
constexpr Vek32s kStreamedRows = kTier == 1 ? 1398100 : 2796202;
constexpr int64_t kStreamedRow = 513;

VekStatus Widen(const Vek8u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, Vek32s channels)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)               return StatusBadStep;

    const Vek32s samples = WrappedProduct(WrappedProduct(roiSize.width, channels), roiSize.height);
    int64_t width = (int64_t)roiSize.width * channels;
    Vek32s height = roiSize.height;
    const bool packed = dstStep == 2 * (int64_t)srcStep && srcStep == width;
    const bool streams = kTier > 0 && (packed ? samples > kStreamedPacked : samples > kStreamedRows && width >= kStreamedRow);
    if (packed) {
        width *= height;
        height = 1;
    }
    for (Vek32s y = 0; y < height; ++y)
        WidenRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), width, streams);
    if (streams)
        Fence();
    return StatusOk;
}

}  // namespace

VekStatus vekiConvert_16s8u_C1R(const Vek16s* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)               return StatusBadStep;

    int64_t width = roiSize.width;
    Vek32s height = roiSize.height;
    if (srcStep == 2 * (int64_t)dstStep && dstStep == width) {
        width *= height;
        height = 1;
    }
    for (Vek32s y = 0; y < height; ++y)
        NarrowRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), width);
    return StatusOk;
}

VekStatus vekiConvert_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return Widen(pSrc, srcStep, (Vek16u*)pDst, dstStep, roiSize, 1);
}

VekStatus vekiConvert_8u16u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return Widen(pSrc, srcStep, pDst, dstStep, roiSize, 1);
}

VekStatus vekiConvert_8u16u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return Widen(pSrc, srcStep, pDst, dstStep, roiSize, 3);
}

VekStatus vekiConvert_8u16u_C4R(const Vek8u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return Widen(pSrc, srcStep, pDst, dstStep, roiSize, 4);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
