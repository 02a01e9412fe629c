// Interleaved pixels to planes and back.
#include "frame/simd_interleave.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <typename T>
constexpr int kSamples = 16 / (int)sizeof(T);  // in a register

template <int channels, typename T>
inline void Deinterleave(V (&v)[4])
{
    if constexpr (channels == 3 && sizeof(T) == 1)
        Deinterleave3x8(v[0], v[1], v[2]);
    else if constexpr (channels == 3)
        Deinterleave3x16(v[0], v[1], v[2]);
    else if constexpr (sizeof(T) == 1)
        Deinterleave4x8(v[0], v[1], v[2], v[3]);
    else
        Deinterleave4x16(v[0], v[1], v[2], v[3]);
}

inline void StoreOrStream(void* p, V v, bool stream)
{
    if (stream)
        Stream(p, v);
    else
        StoreU(p, v);
}

// Without block code here: the ends of rows, and tier 0, plane by plane.
template <int channels, typename T>
void SplitSamples(const T* src, T* const* planes, int64_t from, int64_t to)
{
    for (int c = 0; c < channels; ++c)
        for (int64_t x = from; x < to; ++x)
            Put(planes[c] + x, Get(src + x * channels + c));
}

template <int channels, typename T>
void SplitRow(const T* src, T* const* planes, int64_t width, bool streams)
{
    int64_t x = 0;
    if (kBlocks) {
        bool aligned[channels] = {};
        if (streams) {
            // Up to the first plane's boundary; planes that stand otherwise take ordinary stores.
            x = Min(width, (int64_t)(-(uintptr_t)planes[0] & 15) / (int64_t)sizeof(T));
            SplitSamples<channels>(src, planes, 0, x);
            for (int c = 0; c < channels; ++c)
                aligned[c] = IsAligned(planes[c] + x, 16);
        }
        for (; width - x >= kSamples<T>; x += kSamples<T>) {
            V v[4];
            for (int c = 0; c < channels; ++c)
                v[c] = LoadU(src + x * channels + c * kSamples<T>);
            Deinterleave<channels, T>(v);
            for (int c = 0; c < channels; ++c)
                StoreOrStream(planes[c] + x, v[c], aligned[c]);
        }
    }
    SplitSamples<channels>(src, planes, x, width);
}

template <int channels>
void MergeSamples(const Vek8u* const* planes, Vek8u* dst, int64_t from, int64_t to)
{
    for (int64_t x = from; x < to; ++x)
        for (int c = 0; c < channels; ++c)
            dst[x * channels + c] = planes[c][x];
}

template <int channels>
void MergeRow(const Vek8u* const* planes, Vek8u* dst, int64_t width, bool streams)
{
    int64_t x = 0;
    if (kBlocks) {
        if (streams) {
            // Some pixel of the next 16 starts on a boundary, unless pixels of four bytes never do.
            while (x < width && x < 16 && !IsAligned(dst + x * channels, 16))
                ++x;
            MergeSamples<channels>(planes, dst, 0, x);
            streams = IsAligned(dst + x * channels, 16);
        }
        for (; width - x >= 16; x += 16) {
            V v[4];
            for (int c = 0; c < channels; ++c)
                v[c] = LoadU(planes[c] + x);
            if constexpr (channels == 3)
                Interleave3x8(v[0], v[1], v[2]);
            else
                Interleave4x8(v[0], v[1], v[2], v[3]);
            for (int c = 0; c < channels; ++c)
                StoreOrStream(dst + x * channels + c * 16, v[c], streams);
        }
    }
    MergeSamples<channels>(planes, dst, x, width);
}

template <int channels, typename T>
bool ArePlanesAligned(const T* interleaved, T* const* planes)
{
    bool aligned = IsAligned(interleaved, 4);
    for (int c = 0; c < channels; ++c)
        aligned = aligned && IsAligned(planes[c], 4);
    return aligned;
}

template <int channels, typename T>
VekStatus Split(const T* pSrc, Vek32s srcStep, T* const* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    for (int c = 0; c < channels; ++c)
        if (!pDst[c])                             return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    // Rows of bytes that are packed on all sides make one, while it is short or whole words can move.
    if (sizeof(T) == 1 && srcStep == (int64_t)dstStep * channels && dstStep == roiSize.width
        && (WrappedProduct(srcStep, roiSize.height) < 160000 || (kTier > 0 && ArePlanesAligned<channels>(pSrc, pDst)))) {
        SplitRow<channels>(pSrc, pDst, (int64_t)roiSize.width * roiSize.height, false);
        return StatusOk;
    }
    const Vek32s bytes = WrappedProduct(WrappedProduct(roiSize.width, channels * (Vek32s)sizeof(T)), roiSize.height);
    const bool streams = sizeof(T) == 2 && kTier > 0 && bytes >= (kTier == 1 ? 1048577 : 2097153);
    for (Vek32s y = 0; y < roiSize.height; ++y) {
        T* planes[channels];
        for (int c = 0; c < channels; ++c)
            planes[c] = Row(pDst[c], dstStep, y);
        SplitRow<channels>(Row(pSrc, srcStep, y), planes, roiSize.width, streams);
    }
    if (streams)
        Fence();
    return StatusOk;
}

template <int channels>
VekStatus Merge(const Vek8u* const* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    for (int c = 0; c < channels; ++c)
        if (!pSrc[c])                             return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    const Vek32s bytes = WrappedProduct(WrappedProduct(roiSize.width, roiSize.height), channels);
    const bool streams = kTier > 0 && bytes > (kTier == 1 ? 1048576 : 2097152);
    int64_t width = roiSize.width;
    Vek32s height = roiSize.height;
    if (dstStep == (int64_t)srcStep * channels && srcStep == width) {
        width *= height;
        height = 1;
    }
    for (Vek32s y = 0; y < height; ++y) {
        const Vek8u* planes[channels];
        for (int c = 0; c < channels; ++c)
            planes[c] = Row(pSrc[c], srcStep, y);
        MergeRow<channels>(planes, Row(pDst, dstStep, y), width, streams);
    }
    if (streams)
        Fence();
    return StatusOk;
}

}  // namespace

VekStatus vekiCopy_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize)
{
    return Split<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_8u_C4P4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[4], Vek32s dstStep, VekImageSize roiSize)
{
    return Split<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_16s_C3P3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* const pDst[3], Vek32s dstStep, VekImageSize roiSize)
{
    return Split<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_16s_C4P4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* const pDst[4], Vek32s dstStep, VekImageSize roiSize)
{
    return Split<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return Merge<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCopy_8u_P4C4R(const Vek8u* const pSrc[4], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return Merge<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
