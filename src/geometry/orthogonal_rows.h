// Pixels of 1 to 12 bytes in reversed rows and in transposed tiles.
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
    for (Vek32s x = 0; x < width; ++x)
        MovePixel<pixelBytes>(dst + (int64_t)x * pixelBytes, src - (int64_t)x * pixelBytes);
}

// Destination columns at a time: so many source rows stay in the cache while a tile goes down.
constexpr Vek32s kTileColumns = 32;

// Pixel (x, y) of the destination stands at src + x columnStep + y rowStep.
template <int pixelBytes>
void Transpose(const Vek8u* src, int64_t columnStep, int64_t rowStep, Vek8u* dst, Vek32s dstStep, VekImageSize size)
{
    for (int64_t x0 = 0; x0 < size.width; x0 += kTileColumns) {
        const Vek32s columns = (Vek32s)Min<int64_t>(kTileColumns, size.width - x0);
        for (Vek32s y = 0; y < size.height; ++y) {
            const Vek8u* from = Offset(src, x0 * columnStep + y * rowStep);
            Vek8u* to = Row(dst, dstStep, y) + x0 * pixelBytes;
            for (Vek32s x = 0; x < columns; ++x)
                MovePixel<pixelBytes>(to + x * pixelBytes, Offset(from, x * columnStep));
        }
    }
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
