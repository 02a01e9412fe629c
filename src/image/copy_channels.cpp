// One channel of interleaved pixels alone, and pixels that gain or lose an alpha.
#include "frame/simd_interleave.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <typename T>
constexpr int kSamples = 16 / (int)sizeof(T);  // in a register

// ---- One channel out of several: src[channels * x] to dst[x] ----

template <int channels, typename T>
void ExtractRow(const T* src, T* dst, int64_t width)
{
    int64_t x = 0;
    if (kBlocks) {
        // One pixel more than a block holds: what follows the last sample is not the channel's.
        for (; width - x > kSamples<T>; x += kSamples<T>) {
            const T* from = src + x * channels;
            V a = LoadU(from), b = LoadU(from + kSamples<T>), c = LoadU(from + 2 * kSamples<T>);
            if constexpr (channels == 3) {
                if constexpr (sizeof(T) == 1)
                    Deinterleave3x8(a, b, c);
                else
                    Deinterleave3x16(a, b, c);
            } else {
                V d = LoadU(from + 3 * kSamples<T>);
                if constexpr (sizeof(T) == 1) {
                    const V low = Splat32(0xff);
                    a = Pack16sTo8u(Pack32sTo16s(And(a, low), And(b, low)), Pack32sTo16s(And(c, low), And(d, low)));
                } else {
                    Deinterleave4x16(a, b, c, d);
                }
            }
            StoreU(dst + x, a);
        }
    }
    for (; x < width; ++x)
        Put(dst + x, Get(src + x * channels));
}

// ---- One channel into several: src[x] to dst[channels * x] ----

// Stores of single samples throughout: the other channels may be another thread's to write.
template <int channels, typename T>
void InsertRow(const T* src, T* dst, int64_t width)
{
    int64_t x = 0;
    if (kBlocks) {
        for (; width - x >= 4; x += 4) {
            T* const to = dst + x * channels;
            const T a = Get(src + x), b = Get(src + x + 1), c = Get(src + x + 2), d = Get(src + x + 3);
            Put(to, a);
            Put(to + channels, b);
            Put(to + 2 * channels, c);
            Put(to + 3 * channels, d);
        }
    }
    for (; x < width; ++x)
        Put(dst + x * channels, Get(src + x));
}

// ---- Alpha ----

// A register of four-sample pixels, packed to 12 bytes of three-sample pixels, and back with zeros in
// the place of alpha.
template <typename T>
inline V DropAlpha(V v)
{
    if constexpr (kHasByteShuffle) {
        const V byPixel = sizeof(T) == 1 ? Lanes8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)
                                         : Lanes8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
        return Shuffle8(v, byPixel);
    }
    // Halves of 6 bytes first; then the high one closes up on the low one.
    if constexpr (sizeof(T) == 1)
        v = Or(And(v, Splat64(0xffffff)), And(ShiftRight64u<8>(v), Splat64(0xffffff000000)));
    return Or(And(v, Lanes32(-1, 0xffff, 0, 0)), And(BytesDown<2>(v), Lanes32(0, -65536, -1, 0)));
}

template <typename T>
inline V MakeRoomForAlpha(V v)
{
    if constexpr (kHasByteShuffle) {
        const V byPixel = sizeof(T) == 1 ? Lanes8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1)
                                         : Lanes8(0, 1, 2, 3, 4, 5, -1, -1, 6, 7, 8, 9, 10, 11, -1, -1);
        return Shuffle8(v, byPixel);
    }
    v = Or(And(v, Lanes32(-1, 0xffff, 0, 0)), And(BytesUp<2>(v), Lanes32(0, 0, -1, 0xffff)));
    if constexpr (sizeof(T) == 1)
        v = Or(And(v, Splat64(0xffffff)), And(ShiftLeft64<8>(v), Splat64(0xffffff00000000)));
    return v;
}

template <typename T>
void DropAlphaRow(const T* src, T* dst, int64_t width)
{
    int64_t x = 0;
    if (kBlocks) {
        for (; width - x >= kSamples<T>; x += kSamples<T>) {
            const T* from = src + x * 4;
            T* to = dst + x * 3;
            const V a = DropAlpha<T>(LoadU(from)), b = DropAlpha<T>(LoadU(from + kSamples<T>));
            const V c = DropAlpha<T>(LoadU(from + 2 * kSamples<T>)), d = DropAlpha<T>(LoadU(from + 3 * kSamples<T>));
            StoreU(to, Or(a, BytesUp<12>(b)));
            StoreU(to + kSamples<T>, Or(BytesDown<4>(b), BytesUp<8>(c)));
            StoreU(to + 2 * kSamples<T>, Or(BytesDown<8>(c), BytesUp<4>(d)));
        }
    }
    for (; x < width; ++x)
        for (int c = 0; c < 3; ++c)
            Put(dst + x * 3 + c, Get(src + x * 4 + c));
}

template <typename T>
inline V BesideAlpha(const T* dst, V pixels)
{
    const V alpha = sizeof(T) == 1 ? Splat32(-16777216) : Lanes32(0, -65536, 0, -65536);
    return Or(And(LoadU(dst), alpha), pixels);
}

template <typename T>
void KeepAlphaRow(const T* src, T* dst, int64_t width)
{
    int64_t x = 0;
    if (kBlocks) {
        for (; width - x >= kSamples<T>; x += kSamples<T>) {
            const T* from = src + x * 3;
            T* to = dst + x * 4;
            const V a = LoadU(from), b = LoadU(from + kSamples<T>), c = LoadU(from + 2 * kSamples<T>);
            const V first = BesideAlpha(to, MakeRoomForAlpha<T>(a));
            const V second = BesideAlpha(to + kSamples<T>, MakeRoomForAlpha<T>(Concat<12>(a, b)));
            const V third = BesideAlpha(to + 2 * kSamples<T>, MakeRoomForAlpha<T>(Concat<8>(b, c)));
            const V fourth = BesideAlpha(to + 3 * kSamples<T>, MakeRoomForAlpha<T>(BytesDown<4>(c)));
            StoreU(to, first);
            StoreU(to + kSamples<T>, second);
            StoreU(to + 2 * kSamples<T>, third);
            StoreU(to + 3 * kSamples<T>, fourth);
        }
    }
    for (; x < width; ++x)
        for (int c = 0; c < 3; ++c)
            Put(dst + x * 4 + c, Get(src + x * 3 + c));
}

// ---- Regions ----

// canJoin: rows of both sides that are packed end to end make one long row.
template <typename T>
VekStatus CopyRows(const T* pSrc, Vek32s srcStep, T* pDst, Vek32s dstStep, VekImageSize roiSize,
                   void (*copyRow)(const T*, T*, int64_t), bool canJoin)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    if (canJoin) {
        copyRow(pSrc, pDst, (int64_t)roiSize.width * roiSize.height);
        return StatusOk;
    }
    for (Vek32s y = 0; y < roiSize.height; ++y)
        copyRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), roiSize.width);
    return StatusOk;
}

// oneStep is the step of the one-channel side, which is packed; fourStep that of the other.
template <typename T>
bool ArePacked4(Vek32s oneStep, Vek32s fourStep, Vek32s width)
{
    return fourStep == (int64_t)oneStep * 4 && oneStep == (int64_t)width * (int64_t)sizeof(T);
}

}  // namespace

VekStatus vekiCopy_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, ExtractRow<3, Vek8u>, false);
}

VekStatus vekiCopy_16s_C3C1R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, ExtractRow<3, Vek16s>, false);
}

VekStatus vekiCopy_8u_C4C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, ExtractRow<4, Vek8u>, ArePacked4<Vek8u>(dstStep, srcStep, roiSize.width));
}

VekStatus vekiCopy_16s_C4C1R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, ExtractRow<4, Vek16s>, ArePacked4<Vek16s>(dstStep, srcStep, roiSize.width));
}

VekStatus vekiCopy_8u_C1C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, InsertRow<3, Vek8u>, false);
}

VekStatus vekiCopy_16s_C1C3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, InsertRow<3, Vek16s>, false);
}

VekStatus vekiCopy_8u_C1C4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, InsertRow<4, Vek8u>, ArePacked4<Vek8u>(srcStep, dstStep, roiSize.width));
}

VekStatus vekiCopy_16s_C1C4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, InsertRow<4, Vek16s>, ArePacked4<Vek16s>(srcStep, dstStep, roiSize.width));
}

VekStatus vekiCopy_8u_AC4C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, DropAlphaRow<Vek8u>, false);
}

VekStatus vekiCopy_16s_AC4C3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, DropAlphaRow<Vek16s>, false);
}

VekStatus vekiCopy_8u_C3AC4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, KeepAlphaRow<Vek8u>, false);
}

VekStatus vekiCopy_16s_C3AC4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return CopyRows(pSrc, srcStep, pDst, dstStep, roiSize, KeepAlphaRow<Vek16s>, false);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
