// Interleaved pixels to planes and back.
#include "frame/simd_interleave.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <typename T>
constexpr int kSamples = 16 / (int)sizeof(T);  // in a register

template <int channels, typename T>
inline void Deinterleave(V& a, V& b, V& c, V& d)
{
    if constexpr (channels == 3 && sizeof(T) == 1)
        Deinterleave3x8(a, b, c);
    else if constexpr (channels == 3)
        Deinterleave3x16(a, b, c);
    else if constexpr (sizeof(T) == 1)
        Deinterleave4x8(a, b, c, d);
    else
        Deinterleave4x16(a, b, c, d);
}

// Without block code here: the ends of rows, and tier 0, plane by plane.
template <int channels, typename T>
void SplitSamples(const T* src, T* const* planes, int64_t from, int64_t to)
{
    for (int c = 0; c < channels; ++c)
        for (int64_t x = from; x < to; ++x)
            Put(planes[c] + x, Get(src + x * channels + c));
}

// One register of each channel from the pixels at `from`.
template <int channels, typename T>
inline void LoadChannels(const T* from, V& a, V& b, V& c, V& d)
{
    constexpr int n = kSamples<T>;
    a = LoadU(from);
    b = LoadU(from + n);
    c = LoadU(from + 2 * n);
    d = channels == 4 ? LoadU(from + 3 * n) : c;
    Deinterleave<channels, T>(a, b, c, d);
}

// From sample x on; the samples done.
template <int channels, bool stream, typename T>
int64_t SplitBlocks(const T* src, T* const* planes, int64_t x, int64_t width)
{
    T *const p = planes[0], *const q = planes[1], *const r = planes[2], *const s = planes[channels - 1];
    for (; width - x >= kSamples<T>; x += kSamples<T>) {
        V a, b, c, d;
        LoadChannels<channels>(src + x * channels, a, b, c, d);
        Store<stream>(p + x, a);
        Store<stream>(q + x, b);
        Store<stream>(r + x, c);
        if (channels == 4)
            Store<stream>(s + x, d);
    }
    return x;
}

template <int channels, typename T>
void SplitRow(const T* src, T* const* planes, int64_t width, bool streams)
{
    int64_t x = 0;
    if (kBlocks) {
        if (streams) {
            // Up to the first plane's boundary. Planes that do not reach theirs there are stored plainly.
            x = Min(width, (int64_t)(-(uintptr_t)planes[0] & 15) / (int64_t)sizeof(T));
            SplitSamples<channels>(src, planes, 0, x);
            for (int c = 0; c < channels; ++c)
                streams = streams && IsAligned(planes[c] + x, 16);
        }
        x = streams ? SplitBlocks<channels, true>(src, planes, x, width) : SplitBlocks<channels, false>(src, planes, x, width);
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

template <int channels, bool stream>
int64_t MergeBlocks(const Vek8u* const* planes, Vek8u* dst, int64_t x, int64_t width)
{
    const Vek8u *const p = planes[0], *const q = planes[1], *const r = planes[2], *const s = planes[channels - 1];
    for (; width - x >= 16; x += 16) {
        V a = LoadU(p + x), b = LoadU(q + x), c = LoadU(r + x), d = channels == 4 ? LoadU(s + x) : c;
        if constexpr (channels == 3)
            Interleave3x8(a, b, c);
        else
            Interleave4x8(a, b, c, d);
        Vek8u* const to = dst + x * channels;
        Store<stream>(to, a);
        Store<stream>(to + 16, b);
        Store<stream>(to + 32, c);
        if (channels == 4)
            Store<stream>(to + 48, d);
    }
    return x;
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
        x = streams ? MergeBlocks<channels, true>(planes, dst, x, width) : MergeBlocks<channels, false>(planes, dst, x, width);
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

// Words pass the cache by their byte count wrapped to 32 bits; bytes only where no cache could hold them.
bool SplitStreams(VekImageSize size, Vek32s channels, size_t sampleBytes)
{
    if (kTier == 0)
        return false;
    if (sampleBytes == 1)
        return (int64_t)size.width * size.height * channels >= 16777216;
    return WrappedProduct(WrappedProduct(size.width, channels * 2), size.height) >= (kTier == 1 ? 1048577 : 2097153);
}

template <int channels, typename T>
VekStatus Split(const T* pSrc, Vek32s srcStep, T* const* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    for (int c = 0; c < channels; ++c)
        if (!pDst[c])                             return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    const bool streams = SplitStreams(roiSize, channels, sizeof(T));
    int64_t width = roiSize.width;
    Vek32s height = roiSize.height;
    // Rows of bytes that are packed on all sides make one, while it is short or whole words can move.
    if (sizeof(T) == 1 && srcStep == (int64_t)dstStep * channels && dstStep == width
        && (WrappedProduct(srcStep, height) < 160000 || (kTier > 0 && ArePlanesAligned<channels>(pSrc, pDst)))) {
        width *= height;
        height = 1;
    }
    for (Vek32s y = 0; y < height; ++y) {
        T* planes[channels];
        for (int c = 0; c < channels; ++c)
            planes[c] = Row(pDst[c], dstStep, y);
        SplitRow<channels>(Row(pSrc, srcStep, y), planes, width, streams);
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
