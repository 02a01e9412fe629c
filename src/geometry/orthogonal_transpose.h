// Pixels of 1 to 12 bytes from columns to rows.
#ifndef UVEK_GEOMETRY_ORTHOGONAL_TRANSPOSE_H
#define UVEK_GEOMETRY_ORTHOGONAL_TRANSPOSE_H

#include "geometry/orthogonal_rows.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// A block that registers turn: so many destination columns, each from a source row, and rows.
struct BlockSize {
    Vek32s columns, rows;
};

template <int pixelBytes>
constexpr BlockSize kBlock = {0, 0};
template <>
constexpr BlockSize kBlock<1> = {16, 8};
template <>
constexpr BlockSize kBlock<2> = {8, 8};
template <>
constexpr BlockSize kBlock<3> = {16, 4};
template <>
constexpr BlockSize kBlock<4> = {16, 4};

// Source row i of the block starts at src + i step; destination row j at dst + j dstStep.
inline void TransposeBlock1(const Vek8u* src, int64_t step, Vek8u* dst, int64_t dstStep)
{
    V a[8], b[8];
    for (int i = 0; i < 8; ++i)  // rows i and i + 8
        a[i] = UnpackLow8(Load64(src + i * step), Load64(src + (i + 8) * step));
    for (int i = 0; i < 4; ++i) {  // i, i + 4, i + 8, i + 12 of columns 0 to 3 and 4 to 7
        b[i] = UnpackLow8(a[i], a[i + 4]);
        b[i + 4] = UnpackHigh8(a[i], a[i + 4]);
    }
    for (int half = 0; half < 8; half += 4)
        for (int i = 0; i < 2; ++i) {
            a[half + i] = UnpackLow8(b[half + i], b[half + i + 2]);
            a[half + i + 2] = UnpackHigh8(b[half + i], b[half + i + 2]);
        }
    for (int i = 0; i < 8; i += 2) {
        StoreU(dst + i * dstStep, UnpackLow8(a[i], a[i + 1]));
        StoreU(dst + (i + 1) * dstStep, UnpackHigh8(a[i], a[i + 1]));
    }
}

inline void TransposeBlock2(const Vek8u* src, int64_t step, Vek8u* dst, int64_t dstStep)
{
    V a[8], b[8];
    for (int i = 0; i < 8; ++i)
        a[i] = LoadU(src + i * step);
    for (int i = 0; i < 4; ++i) {
        b[2 * i] = UnpackLow16(a[i], a[i + 4]);
        b[2 * i + 1] = UnpackHigh16(a[i], a[i + 4]);
    }
    for (int i = 0; i < 4; ++i) {
        a[2 * i] = UnpackLow16(b[i], b[i + 4]);
        a[2 * i + 1] = UnpackHigh16(b[i], b[i + 4]);
    }
    for (int i = 0; i < 4; ++i) {
        StoreU(dst + 2 * i * dstStep, UnpackLow16(a[i], a[i + 4]));
        StoreU(dst + (2 * i + 1) * dstStep, UnpackHigh16(a[i], a[i + 4]));
    }
}

inline void Transpose32(V& a, V& b, V& c, V& d)
{
    const V ab0 = UnpackLow32(a, b), ab1 = UnpackHigh32(a, b), cd0 = UnpackLow32(c, d), cd1 = UnpackHigh32(c, d);
    a = UnpackLow64(ab0, cd0);
    b = UnpackHigh64(ab0, cd0);
    c = UnpackLow64(ab1, cd1);
    d = UnpackHigh64(ab1, cd1);
}

// 16 columns of four rows, of pixels that load(p) gives as four of four bytes: part[j][i] is destination row j, columns 4 i on.
template <typename Load>
inline void TransposeColumns(const Vek8u* src, int64_t step, V (&part)[4][4], Load load)
{
    for (int i = 0; i < 4; ++i) {
        const Vek8u* const from = src + 4 * i * step;
        V a = load(from), b = load(from + step), c = load(from + 2 * step), d = load(from + 3 * step);
        Transpose32(a, b, c, d);
        part[0][i] = a;
        part[1][i] = b;
        part[2][i] = c;
        part[3][i] = d;
    }
}

// A line of each destination row, stored at once: where rows stand a power of two apart, few lines of them stay in the cache.
inline void TransposeBlock4(const Vek8u* src, int64_t step, Vek8u* dst, int64_t dstStep)
{
    V part[4][4];
    TransposeColumns(src, step, part, [](const Vek8u* p) { return LoadU(p); });
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            StoreU(dst + j * dstStep + 16 * i, part[j][i]);
}

inline void TransposeBlock3(const Vek8u* src, int64_t step, Vek8u* dst, int64_t dstStep)
{
    V part[4][4];
    TransposeColumns(src, step, part, [](const Vek8u* p) {
        return Shuffle8(UnpackLow64(Load64(p), Load32(p + 8)), Lanes8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    });
    // 12 bytes at the end of the register, which the next twelve are joined to.
    const V toEnd = Lanes8(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14);
    for (int j = 0; j < 4; ++j) {
        const V a = Shuffle8(part[j][0], toEnd), b = Shuffle8(part[j][1], toEnd);
        const V c = Shuffle8(part[j][2], toEnd), d = Shuffle8(part[j][3], toEnd);
        Vek8u* const to = dst + j * dstStep;
        StoreU(to, Concat<4>(a, BytesDown<4>(b)));
        StoreU(to + 16, Concat<8>(b, BytesDown<4>(c)));
        StoreU(to + 32, Concat<12>(c, BytesDown<4>(d)));
    }
}

template <int pixelBytes>
void TransposeBlock(const Vek8u* src, int64_t step, Vek8u* dst, int64_t dstStep)
{
    if constexpr (pixelBytes == 1)
        TransposeBlock1(src, step, dst, dstStep);
    else if constexpr (pixelBytes == 2)
        TransposeBlock2(src, step, dst, dstStep);
    else if constexpr (pixelBytes == 3)
        TransposeBlock3(src, step, dst, dstStep);
    else
        TransposeBlock4(src, step, dst, dstStep);
}

// Destination columns at a time: as many source rows stay in the cache while a tile goes down, and
// whole lines of the destination are written. A multiple of every block's columns. Of four-byte pixels the
// double takes half as long again on images of 64 MB.
template <int pixelBytes>
constexpr Vek32s kTileColumns = (pixelBytes == 4 ? 128 : 256) / pixelBytes / 16 * 16;

// Pixel (x, y) of the destination stands at src + x columnStep + y rowStep; rowStep is a pixel, forward
// or backward.
template <int pixelBytes>
void Transpose(const Vek8u* src, int64_t columnStep, int64_t rowStep, Vek8u* dst, Vek32s dstStep, VekImageSize size)
{
    constexpr BlockSize block = kBlock<pixelBytes>;
    const int64_t rowBytes = (int64_t)size.width * pixelBytes;
    constexpr bool hasBlocks = kBlocks && block.rows > 0 && (kHasByteShuffle || pixelBytes != 3);
    // Source rows a page and more apart are not foreseen by a processor: a band asks for its share of the lines behind
    // the next one. Narrow pixels have their time for it within a line.
    constexpr int bandsPerLine = hasBlocks ? 64 / (block.rows * pixelBytes) : 1;
    const bool isFar = pixelBytes >= 3 && rowBytes * size.height >= 1 << 24;
    // Destination rows that overlap show in which order they are written: by blocks, it would not be tier 0's.
    const bool areApart = dstStep >= rowBytes, isBackward = rowStep < 0;
    for (int64_t x0 = 0; x0 < size.width; x0 += kTileColumns<pixelBytes>) {
        const Vek32s columns = (Vek32s)Min<int64_t>(kTileColumns<pixelBytes>, size.width - x0);
        const Vek8u* const tile = Offset(src, x0 * columnStep);
        Vek8u* const dstTile = dst + x0 * pixelBytes;
        Vek32s y = 0, blocked = 0;
        if constexpr (hasBlocks) {
            blocked = areApart ? columns - columns % block.columns : 0;
            const Vek32s bands = blocked ? size.height / block.rows : 0;
            for (Vek32s band = 0; band < bands; ++band) {
                // Where the source runs backward the last band comes first, so that memory ahead is what comes next, and
                // a block starts with its last row.
                y = block.rows * (isBackward ? bands - 1 - band : band);
                const Vek32s first = isBackward ? y + block.rows - 1 : y;
                const int64_t step = isBackward ? -(int64_t)dstStep : dstStep;
                for (Vek32s x = 0; x < blocked; x += block.columns) {
                    const Vek8u* const from = Offset(tile, x * columnStep + first * rowStep);
                    if (isFar)
                        for (Vek32s i = y / block.rows % bandsPerLine; i < block.columns; i += bandsPerLine)
                            Prefetch(Offset(from, i * columnStep + 128));
                    TransposeBlock<pixelBytes>(from, columnStep, Row(dstTile, dstStep, first) + x * pixelBytes, step);
                }
                for (Vek32s j = y; j < y + block.rows; ++j)
                    for (Vek32s x = blocked; x < columns; ++x)
                        MovePixel<pixelBytes>(Row(dstTile, dstStep, j) + x * pixelBytes, Offset(tile, x * columnStep + j * rowStep));
            }
            y = bands * block.rows;
        }
        for (; y < size.height; ++y) {
            Vek8u* const to = Row(dstTile, dstStep, y);
            const Vek8u* const from = Offset(tile, y * rowStep);
            for (Vek32s x = 0; x < columns; ++x)
                MovePixel<pixelBytes>(to + x * pixelBytes, Offset(from, x * columnStep));
        }
    }
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
