// Vectors copied, and vectors of interleaved channels taken apart.
#include "frame/simd_interleave.h"
#include "image/copy.h"
#include "image/streaming.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int64_t kPastAnyCache = 8388608;  // samples

template <typename T>
VekStatus CopyVector(const T* pSrc, T* pDst, Vek32s len)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (len < 1)         return StatusBadSize;

    const auto* src = (const Vek8u*)pSrc;
    auto* dst = (Vek8u*)pDst;
    const int64_t bytes = (int64_t)len * (int64_t)sizeof(T);
    if (kTier > 0 && bytes >= kLargeVectorCopy && CopyStreams(bytes, AskLargestCache()))
        StreamRegion(src, 0, dst, 0, bytes, 1);
    else if (Overlap(src, dst, bytes))
        CopyForward(src, dst, bytes);
    else
        CopyRow(src, dst, bytes, sizeof(T));
    return StatusOk;
}

// From sample `from` on; in short runs, so that many channels find their samples still in the cache.
void DeinterleaveSamples(const Vek16s* src, Vek32s channels, int64_t from, Vek32s len, Vek16s* const* dst)
{
    constexpr int64_t kRun = 128;
    for (; from < len; from += kRun) {
        const int64_t end = Min(from + kRun, (int64_t)len);
        for (Vek32s k = 0; k < channels; ++k)
            for (int64_t i = from; i < end; ++i)
                Put(dst[k] + i, Get(src + i * channels + k));
    }
}

// The samples done, a multiple of 8.
template <bool stream>
int64_t DeinterleaveBlocks2(const Vek16s* src, Vek32s len, Vek16s* const* dst)
{
    int64_t i = 0;
    for (; len - i >= 8; i += 8) {
        const V a = SplitWords(LoadU(src + i * 2)), b = SplitWords(LoadU(src + i * 2 + 8));
        Store<stream>(dst[0] + i, UnpackLow64(a, b));
        Store<stream>(dst[1] + i, UnpackHigh64(a, b));
    }
    return i;
}

template <bool stream>
int64_t DeinterleaveBlocks3(const Vek16s* src, Vek32s len, Vek16s* const* dst)
{
    int64_t i = 0;
    for (; len - i >= 8; i += 8) {
        V a = LoadU(src + i * 3), b = LoadU(src + i * 3 + 8), c = LoadU(src + i * 3 + 16);
        Deinterleave3x16(a, b, c);
        Store<stream>(dst[0] + i, a);
        Store<stream>(dst[1] + i, b);
        Store<stream>(dst[2] + i, c);
    }
    return i;
}

template <bool stream>
int64_t DeinterleaveBlocks4(const Vek16s* src, Vek32s len, Vek16s* const* dst)
{
    int64_t i = 0;
    for (; len - i >= 8; i += 8) {
        V a = LoadU(src + i * 4), b = LoadU(src + i * 4 + 8), c = LoadU(src + i * 4 + 16), d = LoadU(src + i * 4 + 24);
        Deinterleave4x16(a, b, c, d);
        Store<stream>(dst[0] + i, a);
        Store<stream>(dst[1] + i, b);
        Store<stream>(dst[2] + i, c);
        Store<stream>(dst[3] + i, d);
    }
    return i;
}

// 2 to 4 channels.
template <bool stream>
int64_t DeinterleaveBlocks(const Vek16s* src, Vek32s channels, Vek32s len, Vek16s* const* dst)
{
    return channels == 2   ? DeinterleaveBlocks2<stream>(src, len, dst)
           : channels == 3 ? DeinterleaveBlocks3<stream>(src, len, dst)
                           : DeinterleaveBlocks4<stream>(src, len, dst);
}

}  // namespace

VekStatus veksCopy_8u(const Vek8u* pSrc, Vek8u* pDst, Vek32s len)
{
    return CopyVector(pSrc, pDst, len);
}

VekStatus veksCopy_16s(const Vek16s* pSrc, Vek16s* pDst, Vek32s len)
{
    return CopyVector(pSrc, pDst, len);
}

VekStatus veksCopy_32f(const Vek32f* pSrc, Vek32f* pDst, Vek32s len)
{
    return CopyVector(pSrc, pDst, len);
}

VekStatus veksDeinterleave_16s(const Vek16s* pSrc, Vek32s ch, Vek32s len, Vek16s* const* pDst)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (ch < 1)          return StatusBadChannelCount;
    if (len < 1)         return StatusBadSize;
    bool aligned = IsAligned(pSrc, 16);
    for (Vek32s k = 0; k < ch; ++k) {
        if (!pDst[k])    return StatusNullPointer;
        aligned = aligned && IsAligned(pDst[k], 16);
    }

    int64_t done = 0;
    if (kBlocks && ch >= 2 && ch <= 4) {
        if (aligned && (int64_t)len * ch >= kPastAnyCache) {
            done = DeinterleaveBlocks<true>(pSrc, ch, len, pDst);
            Fence();
        } else {
            done = DeinterleaveBlocks<false>(pSrc, ch, len, pDst);
        }
    }
    DeinterleaveSamples(pSrc, ch, done, len, pDst);
    return aligned ? StatusOk : WarnUnaligned;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
