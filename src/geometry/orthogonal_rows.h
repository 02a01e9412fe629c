// Pixels of 1 to 12 bytes in reversed rows.
#ifndef UVEK_GEOMETRY_ORTHOGONAL_ROWS_H
#define UVEK_GEOMETRY_ORTHOGONAL_ROWS_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <int pixelBytes>
void MovePixel(Vek8u* dst, const Vek8u* src)
{
    memcpy(dst, src, pixelBytes);
}

// src: the last pixel of the source row.
template <int pixelBytes>
void ReverseRow(const Vek8u* src, Vek8u* dst, Vek32s width)
{
    Vek32s x = 0;
    if constexpr (kBlocks && 16 % pixelBytes == 0) {
        constexpr int pixels = 16 / pixelBytes;
        for (; width - x >= pixels; x += pixels) {
            const V v = LoadU(src - (int64_t)(x + pixels - 1) * pixelBytes);
            StoreU(dst + (int64_t)x * pixelBytes, pixelBytes == 1 ? Reverse8(v) : pixelBytes == 2 ? Reverse16(v) : Permute32<3, 2, 1, 0>(v));
        }
    } else if constexpr (kHasByteShuffle && pixelBytes == 3) {
        // Five pixels end the register, a byte of a sixth begins it; the sixth's place is written twice.
        const V order = Lanes8(13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, 0);
        for (; width - x >= 6; x += 5)
            StoreU(dst + (int64_t)x * 3, Shuffle8(LoadU(src - (int64_t)x * 3 - 13), order));
    } else if constexpr (kBlocks && pixelBytes == 3) {
        // Words of four bytes, of which the next pixel overwrites the last.
        if (width > 0)
            MovePixel<3>(dst, src);
        for (x = 1; x < width - 1; ++x)
            MovePixel<4>(dst + (int64_t)x * 3, src - (int64_t)x * 3);
    }
    for (; x < width; ++x)
        MovePixel<pixelBytes>(dst + (int64_t)x * pixelBytes, src - (int64_t)x * pixelBytes);
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
