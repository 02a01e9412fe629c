// An image inside a larger one, its edge pixels repeated around it.
#include "frame/simd.h"
#include "image/copy.h"
#include "image/fill.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <int channels>
inline V RepeatedPixel(const Vek8u* pixel)
{
    if constexpr (channels == 1)
        return Splat8(*pixel);
    else
        return Shuffle8(Lanes32(pixel[0] | pixel[1] << 8 | pixel[2] << 16, 0, 0, 0), Lanes8(0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0));
}

template <int channels>
void RepeatPixel(const Vek8u* pixel, Vek8u* dst, int64_t count)
{
    const int64_t bytes = count * channels;
    if (bytes >= 64)
        return FillRow(dst, bytes, FillPattern(pixel, channels));
    int64_t x = 0;
    if (kBlocks && (channels == 1 || kHasByteShuffle)) {
        constexpr int whole = 16 / channels * channels;
        const V pattern = RepeatedPixel<channels>(pixel);
        for (; bytes - x >= 16; x += whole)
            StoreU(dst + x, pattern);
        if (bytes - x >= 8) {
            Store64(dst + x, pattern);
            x += 8 / channels * channels;
        }
    }
    for (; x < bytes; x += channels)
        for (int c = 0; c < channels; ++c)
            dst[x + c] = pixel[c];
}

// A source row that lies across its destination is copied forward byte by byte in every tier.
void CopyBodyRow(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    if (!Overlap(src, dst, bytes))
        return CopyRow(src, dst, bytes);
    for (int64_t x = 0; x < bytes; ++x)
        dst[x] = src[x];
}

template <int channels>
VekStatus ReplicateBorder(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep,
                          VekImageSize dstRoiSize, Vek32s topBorderHeight, Vek32s leftBorderWidth)
{
    const int64_t right = (int64_t)dstRoiSize.width - leftBorderWidth - srcRoiSize.width;
    const int64_t bottom = (int64_t)dstRoiSize.height - topBorderHeight - srcRoiSize.height;

    if (!pSrc || !pDst)                                    return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)                        return StatusBadStep;
    if (srcRoiSize.width < 1 || srcRoiSize.height < 1)     return StatusBadSize;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)     return StatusBadSize;
    if (topBorderHeight < 0 || leftBorderWidth < 0)        return StatusBadSize;
    if (right < 0 || bottom < 0)                           return StatusBadSize;

    const int64_t left = leftBorderWidth;
    const int64_t bodyBytes = (int64_t)srcRoiSize.width * channels, rowBytes = (int64_t)dstRoiSize.width * channels;
    Vek8u* const firstBody = Row(pDst, dstStep, topBorderHeight);
    for (Vek32s y = 0; y < srcRoiSize.height; ++y) {
        const Vek8u* const src = Row(pSrc, srcStep, y);
        Vek8u* const dst = Row(firstBody, dstStep, y);
        Vek8u* const body = dst + left * channels;
        RepeatPixel<channels>(src, dst, left);
        CopyBodyRow(src, body, bodyBytes);
        RepeatPixel<channels>(src + bodyBytes - channels, body + bodyBytes, right);
    }
    Vek8u* const lastBody = Row(firstBody, dstStep, srcRoiSize.height - 1);
    for (Vek32s y = 0; y < (Vek32s)bottom; ++y)
        CopyBodyRow(lastBody, Offset(lastBody, (int64_t)dstStep * (y + 1)), rowBytes);
    for (Vek32s y = 0; y < topBorderHeight; ++y)
        CopyBodyRow(firstBody, Row(pDst, dstStep, y), rowBytes);
    return StatusOk;
}

}  // namespace

VekStatus vekiCopyReplicateBorder_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep,
                                         VekImageSize dstRoiSize, Vek32s topBorderHeight, Vek32s leftBorderWidth)
{
    return ReplicateBorder<1>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, topBorderHeight, leftBorderWidth);
}

VekStatus vekiCopyReplicateBorder_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep,
                                         VekImageSize dstRoiSize, Vek32s topBorderHeight, Vek32s leftBorderWidth)
{
    return ReplicateBorder<3>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, topBorderHeight, leftBorderWidth);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
