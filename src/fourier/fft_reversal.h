// Bit reversal of large arrays through square tiles. An index is top bits, a tile number and bottom
// bits: tile m gathers all rows (top bits) of its run of samples (bottom bits), is reversed within,
// and goes to tile rev(m). Only whole runs of a tile's side are read and written in the arrays.
#ifndef UVEK_FOURIER_FFT_REVERSAL_H
#define UVEK_FOURIER_FFT_REVERSAL_H

#include "fourier/fft_plan.h"

namespace uvek::VEK_TIER_NAMESPACE {

template <int bits>
constexpr int ReversedValue(int v)
{
    int r = 0;
    for (int i = 0; i < bits; ++i, v >>= 1)
        r = r << 1 | (v & 1);
    return r;
}

template <int bits>
struct ReversedValues {
    Vek8u at[1 << bits];
};
template <int bits>
constexpr ReversedValues<bits> MakeReversedValues()
{
    ReversedValues<bits> r = {};
    for (int i = 0; i < 1 << bits; ++i)
        r.at[i] = (Vek8u)ReversedValue<bits>(i);
    return r;
}
template <int bits> constexpr ReversedValues<bits> kReversed = MakeReversedValues<bits>();

// Reads the tile at src, whose rows are `pitch` samples apart, into the packed tile: sample (row, column)
// becomes (rev(column), rev(row)). Singles move in blocks of four rows a quarter of the tile apart and
// four columns, which a transpose turns into runs of four.
template <int bits>
inline void GatherTile(const Vek32f* src, int64_t pitch, Vek32f* tile)
{
    static_assert(bits == 6, "");
    for (int row = 0; row < 16; ++row)
        for (int column = 0; column < 16; ++column) {
            const Vek32f* const p = src + row * pitch + 4 * column;
            F a = LoadU(p), c = LoadU(p + 16 * pitch), b = LoadU(p + 32 * pitch), d = LoadU(p + 48 * pitch);
            Transpose4(a, b, c, d);
            Vek32f* const q = tile + kReversed<4>.at[column] * 64 + kReversed<4>.at[row] * 4;
            StoreA(q, a);
            StoreA(q + 32 * 64, b);
            StoreA(q + 16 * 64, c);
            StoreA(q + 48 * 64, d);
        }
}

template <int bits>
inline void GatherTile(const Cx<Vek32f>* src, int64_t pitch, Cx<Vek32f>* tile)
{
    static_assert(bits == 6, "");
    for (int row = 0; row < 32; ++row)
        for (int column = 0; column < 32; ++column) {
            const Cx<Vek32f>* const p = src + row * pitch + 2 * column;
            const V a = LoadU(p), b = LoadU(p + 32 * pitch);
            Cx<Vek32f>* const q = tile + kReversed<5>.at[column] * 64 + kReversed<5>.at[row] * 2;
            StoreA(q, UnpackLow64(a, b));
            StoreA(q + 32 * 64, UnpackHigh64(a, b));
        }
}

template <int bits>
inline void GatherTile(const Cx<Vek64f>* src, int64_t pitch, Cx<Vek64f>* tile)
{
    constexpr int kSide = 1 << bits;
    for (int row = 0; row < kSide; ++row)
        for (int column = 0; column < kSide; ++column)
            StoreA(tile + kReversed<bits>.at[column] * kSide + kReversed<bits>.at[row], LoadU(src + row * pitch + column));
}

template <typename E>
inline void PutTile(const E* tile, E* dst, int64_t pitch, int side)
{
    for (int row = 0; row < side; ++row)
        memcpy(dst + row * pitch, tile + row * side, (size_t)side * sizeof(E));
}

template <int bits, typename E>
void ReverseTiles(const E* src, E* dst, Vek32s order, const Vek32s* table, void* work)
{
    constexpr int kSide = 1 << bits;
    const int64_t pitch = (int64_t)1 << (order - bits), tiles = pitch / kSide;
    E* const first = (E*)work;
    E* const second = first + kSide * kSide;
    for (int64_t m = 0; m < tiles; ++m) {
        const int64_t to = table[m];
        if (src != dst || to == m) {
            GatherTile<bits>(src + m * kSide, pitch, first);
            PutTile(first, dst + to * kSide, pitch, kSide);
        } else if (m < to) {
            GatherTile<bits>(src + m * kSide, pitch, first);
            GatherTile<bits>(src + to * kSide, pitch, second);
            PutTile(first, dst + to * kSide, pitch, kSide);
            PutTile(second, dst + m * kSide, pitch, kSide);
        }
    }
}

template <typename T> void ReverseTiles(Split<T> src, Split<T> dst, Vek32s order, const Vek32s* table, T* work)
{
    ReverseTiles<6>((const T*)src.re, dst.re, order, table, work);
    ReverseTiles<6>((const T*)src.im, dst.im, order, table, work);
}
template <typename T> void ReverseTiles(Pairs<T> src, Pairs<T> dst, Vek32s order, const Vek32s* table, T* work)
{
    if (TileSideBits<T>(order) == 6)
        ReverseTiles<6>((const Cx<T>*)src.p, (Cx<T>*)dst.p, order, table, work);
    else if constexpr (kIsDouble<T>)
        ReverseTiles<5>((const Cx<T>*)src.p, (Cx<T>*)dst.p, order, table, work);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
