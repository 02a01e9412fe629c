// Images and vectors of one value.
#include "image/fill.h"

#include "frame/simd.h"
#include "image/streaming.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <bool stream>
inline void Store48(Vek8u* dst, V a, V b, V c)
{
    if (stream) {
        Stream(dst, a);
        Stream(dst + 16, b);
        Stream(dst + 32, c);
    } else {
        StoreA(dst, a);
        StoreA(dst + 16, b);
        StoreA(dst + 32, c);
    }
}

// 16 bytes or more: one block anywhere, aligned blocks in the pattern's phase, one block at the end.
template <bool stream>
void FillBlocks(Vek8u* dst, int64_t bytes, const FillPattern& pattern)
{
    StoreU(dst, LoadU(pattern.bytes));
    int64_t x = -(uintptr_t)dst & 15;
    const V a = LoadU(pattern.bytes + x), b = LoadU(pattern.bytes + x + 16), c = LoadU(pattern.bytes + x + 32);
    for (; bytes - x >= 96; x += 96) {
        Store48<stream>(dst + x, a, b, c);
        Store48<stream>(dst + x + 48, a, b, c);
    }
    if (bytes - x >= 48) {
        Store48<stream>(dst + x, a, b, c);
        x += 48;
    }
    if (bytes - x >= 16)
        StoreA(dst + x, a);
    if (bytes - x >= 32)
        StoreA(dst + x + 16, b);
    const int64_t last = bytes - 16;
    StoreU(dst + last, LoadU(pattern.bytes + last % 48));
}

// Image fills stream by their byte count alone, wrapped to 32 bits; vectors ask for the cache.
constexpr Vek32s kStreamedFill = kTier == 1 ? 2097153 : 4194305;

template <int pixelBytes>
VekStatus FillRegion(const Vek8u* pixel, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pDst || !pixel)                          return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    int64_t rowBytes = (int64_t)roiSize.width * pixelBytes;
    Vek32s height = roiSize.height;
    const bool streams = kTier > 0 && WrappedProduct((Vek32s)rowBytes, height) >= kStreamedFill;
    if (dstStep == rowBytes) {
        rowBytes *= height;
        height = 1;
    }
    const FillPattern pattern(pixel, pixelBytes);
    for (Vek32s y = 0; y < height; ++y)
        FillRow(Row(pDst, dstStep, y), rowBytes, pattern, streams);
    if (streams)
        Fence();
    return StatusOk;
}

// Vectors of more than `asksAbove` elements ask for the cache and stream when they are as large as it;
// the wider samples of veksSet only when they are larger.
template <typename T>
VekStatus FillVector(T value, T* pDst, Vek32s len, Vek32s asksAbove, bool streamsAtEqual)
{
    if (!pDst)    return StatusNullPointer;
    if (len < 1)  return StatusBadSize;

    const int64_t bytes = (int64_t)len * (int64_t)sizeof(T);
    const bool streams = kTier > 0 && len > asksAbove && FillStreams(streamsAtEqual ? bytes : bytes - 1, AskLargestCache());
    FillRow((Vek8u*)pDst, bytes, FillPattern(&value, sizeof(T)), streams);
    if (streams)
        Fence();
    return StatusOk;
}

}  // namespace

void FillRow(Vek8u* dst, int64_t bytes, const FillPattern& pattern, bool streams)
{
    if (kBlocks && bytes >= 16) {
        if (streams)
            FillBlocks<true>(dst, bytes, pattern);
        else if (pattern.isOneByte)
            memset(dst, pattern.bytes[0], (size_t)bytes);  // the C runtime knows the processor at hand
        else
            FillBlocks<false>(dst, bytes, pattern);
        return;
    }
    int64_t x = 0;
    for (; bytes - x >= 48; x += 48)
        memcpy(dst + x, pattern.bytes, 48);
    for (int64_t i = 0; x + i < bytes; ++i)
        dst[x + i] = pattern.bytes[i];
}

VekStatus vekiSet_8u_C1R(Vek8u value, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return FillRegion<1>(&value, pDst, dstStep, roiSize);
}

VekStatus vekiSet_8u_C3R(const Vek8u value[3], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return FillRegion<3>(value, pDst, dstStep, roiSize);
}

VekStatus vekiSet_8u_C4R(const Vek8u value[4], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return FillRegion<4>(value, pDst, dstStep, roiSize);
}

VekStatus veksSet_8u(Vek8u value, Vek8u* pDst, Vek32s len)
{
    return FillVector(value, pDst, len, 524288, true);
}

VekStatus veksSet_16s(Vek16s value, Vek16s* pDst, Vek32s len)
{
    return FillVector(value, pDst, len, 524288, false);
}

VekStatus veksSet_32f(Vek32f value, Vek32f* pDst, Vek32s len)
{
    return FillVector(value, pDst, len, 262144, false);
}

VekStatus veksZero_8u(Vek8u* pDst, Vek32s len)
{
    return FillVector((Vek8u)0, pDst, len, 524288, true);
}

VekStatus veksZero_16s(Vek16s* pDst, Vek32s len)
{
    return FillVector((Vek16s)0, pDst, len, 262144, true);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
