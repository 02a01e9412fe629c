// An image inside a larger one, its edge pixels repeated around it.
#include "image/copy.h"
#include "image/fill.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <int channels>
void RepeatPixel(const Vek8u* pixel, Vek8u* dst, int64_t count)
{
    if (count * channels >= 64)
        return FillRow(dst, count * channels, FillPattern(pixel, channels));
    for (int64_t x = 0; x < count * channels; x += channels)
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
