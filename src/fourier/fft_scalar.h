// Tier 0's transforms from order 4: reverse, then decimation in time in place, by one kernel, by
// merged blocks, or split into rows and columns.
#ifndef UVEK_FOURIER_FFT_SCALAR_H
#define UVEK_FOURIER_FFT_SCALAR_H

#include "fourier/fft_plan.h"

namespace uvek::VEK_TIER_NAMESPACE {

// ---- Reversal, of single samples or of pairs ----

template <typename E>
inline void SwapAt(E* p, int64_t i, int64_t j)
{
    const E a = Get(p + i), b = Get(p + j);
    Put(p + i, b);
    Put(p + j, a);
}

// The four elements with middle value i stand at i, i + 1, i + half, i + half + 1 (i even); with them
// go those of j = rev(i), and the bottom bit becomes the top bit.
template <typename E>
void ReverseScalar(const E* src, E* dst, Vek32s order, const Vek32s* table)
{
    const int64_t half = (int64_t)1 << order >> 1;
    const bool inPlace = src == dst;
    const auto move = [&](int64_t i, int64_t j) {
        if (inPlace) {
            SwapAt(dst, i, j);
            return;
        }
        const E a = Get(src + i), b = Get(src + j);
        Put(dst + i, b);
        Put(dst + j, a);
    };
    const auto keep = [&](int64_t i) {
        if (!inPlace) {
            Put(dst + i, Get(src + i));
            Put(dst + half + i + 1, Get(src + half + i + 1));
        }
        move(i + 1, half + i);
    };
    for (; *table; table += 2) {
        const int64_t i = table[0] / 2, j = table[1] / 2;
        move(i, j);
        move(i + 1, half + j);
        move(half + i, j + 1);
        move(half + i + 1, half + j + 1);
    }
    keep(0);
    while (*++table)
        keep(*table / 2);
}

template <typename T> void ReverseScalar(Split<T> src, Split<T> dst, Vek32s order, const Vek32s* table)
{
    ReverseScalar<T>(src.re, dst.re, order, table);
    ReverseScalar<T>(src.im, dst.im, order, table);
}
template <typename T> void ReverseScalar(Pairs<T> src, Pairs<T> dst, Vek32s order, const Vek32s* table)
{
    ReverseScalar((const Cx<T>*)src.p, (Cx<T>*)dst.p, order, table);
}

// ---- The kernel ----

// Blocks of `length` from four of a quarter each, which stand in reversed order: 0, 2, 1, 3. The
// roots of k are at entry k * stride of the kernel's table.
template <bool inverse, typename T, typename Form>
void ScalarStage4(Form data, int64_t n, int64_t length, const T* twiddles, int64_t stride)
{
    const int64_t q = length / 4;
    for (int64_t block = 0; block < n; block += length)
        for (int64_t k = 0; k < q; ++k) {
            const int64_t i = block + k;
            Cx<T> a = LoadOne(data, i), c = LoadOne(data, i + q), b = LoadOne(data, i + 2 * q), d = LoadOne(data, i + 3 * q);
            if (q > 1) {
                const T* const w = twiddles + 6 * k * stride;
                b = MulRoot<inverse>(b, Cx<T>{w[0], w[1]});
                c = MulRoot<inverse>(c, Cx<T>{w[2], w[3]});
                d = MulRoot<inverse>(d, Cx<T>{w[4], w[5]});
            }
            Butterfly4<inverse>(a, b, c, d);
            StoreOne(data, i, a);
            StoreOne(data, i + q, b);
            StoreOne(data, i + 2 * q, c);
            StoreOne(data, i + 3 * q, d);
        }
}

// Two halves of a block; the upper quarter of the butterflies takes the lower quarter's roots, `step`
// samples apart, turned.
template <bool inverse, typename T, typename Form>
void ScalarMerge(Form data, int64_t length, int64_t first, int64_t last, const T* twiddles, int64_t step)
{
    const int64_t half = length / 2, quarter = length / 4;
    for (int64_t k = first; k < last; ++k) {
        const T* const p = twiddles + k * step;
        const Cx<T> w = {p[0], p[1]};
        const Cx<T> a = LoadOne(data, k), b = MulRoot<inverse>(LoadOne(data, k + half), w);
        const Cx<T> c = LoadOne(data, k + quarter), d = MulRoot<inverse>(LoadOne(data, k + quarter + half), w);
        StoreOne(data, k, Add(a, b));
        StoreOne(data, k + half, Sub(a, b));
        StoreOne(data, k + quarter, AddTurned<inverse>(c, d));
        StoreOne(data, k + quarter + half, SubTurned<inverse>(c, d));
    }
}

// An odd order has one stage of radix 2: the last in split form, the second in pairs.
template <bool inverse, typename T, typename Form>
void ScalarKernel(Form data, Vek32s order, const T* twiddles)
{
    const int64_t n = (int64_t)1 << order;
    ScalarStage4<inverse>(data, n, 4, twiddles, 0);
    int64_t length = 16;
    if (order % 2 && !IsSplit<Form>::value) {
        for (int64_t block = 0; block < n; block += 8)
            ScalarMerge<inverse>(data.At(block), 8, 0, 2, twiddles, 6 * (n / 8));
        length = 32;
    }
    for (; length <= n; length *= 4)
        ScalarStage4<inverse>(data, n, length, twiddles, n / length);
    if (order % 2 && IsSplit<Form>::value)
        ScalarMerge<inverse>(data, n, 0, n / 4, twiddles, 6);
}

// ---- Above the kernel ----

// Kernels on blocks, then merges, in tiles of butterflies whose roots stay in cache.
template <bool inverse, typename T, typename Form>
void MergeBlocks(const FftSpec<T>& spec, Vek32s order, Form data, T scale)
{
    constexpr int64_t kTile = kIsDouble<T> ? 64 : 128;
    const int64_t n = (int64_t)1 << order, block = (int64_t)1 << kKernelOrder<T>;
    // The last block of pairs is what the reversal has just left in cache.
    for (int64_t i = 0; i < n; i += block) {
        const Form part = data.At(IsSplit<Form>::value ? i : n - block - i);
        ScalarKernel<inverse>(part, kKernelOrder<T>, (const T*)spec.kernelTwiddles);
        ScaleForm(part, block, scale);
    }
    for (int64_t length = 2 * block; length <= n; length *= 2)
        for (int64_t tile = 0; tile < length / 4; tile += kTile)
            for (int64_t at = 0; at < n; at += length)
                ScalarMerge<inverse>(data.At(at), length, tile, tile + kTile, (const T*)spec.mergeTwiddlesNear, 2 * (n / length));
}

template <bool inverse, typename T, typename Form>
void ReversedScalar(const FftSpec<T>& spec, Vek32s order, Vek32s level, Form data, T scale, T* work)
{
    const int64_t n = (int64_t)1 << order;
    if (order <= kKernelOrder<T>) {
        ScalarKernel<inverse>(data, order, (const T*)spec.kernelTwiddles);
        ScaleForm(data, n, scale);
        return;
    }
    if (order <= kMergeOrder<T>) {
        MergeBlocks<inverse>(spec, order, data, scale);
        return;
    }
    const Vek32s k = ColumnBits<T>(order);
    const int64_t rows = (int64_t)1 << k, columns = n >> k;
    for (int64_t row = 0; row < rows; ++row)
        ReversedScalar<inverse>(spec, order - k, level + 1, data.At(row * columns), scale, work);
    const T* factors = spec.outerColumnTwiddles[level];
    for (int64_t c = 0; c < columns; c += 4) {
        for (int64_t row = 0; row < rows; ++row, factors += 8)
            for (int j = 0; j < 4; ++j)
                StoreOne(Pairs<T>{work}, j * rows + row,
                         MulRoot<inverse>(LoadOne(data, row * columns + c + j), Cx<T>{factors[j], factors[j + 4]}));
        for (int j = 0; j < 4; ++j)
            ScalarKernel<inverse>(Pairs<T>{work}.At(j * rows), k, (const T*)spec.outerKernelTwiddles[level]);
        for (int64_t row = 0; row < rows; ++row)
            for (int j = 0; j < 4; ++j)
                StoreOne(data, row * columns + c + j, LoadOne(Pairs<T>{work}, j * rows + row));
    }
}

template <bool inverse, typename T, typename Form>
void TransformScalar(const FftSpec<T>& spec, Vek32s order, Form src, Form dst, T scale, T* work)
{
    ReverseScalar(src, dst, order, spec.bitReversal);
    ReversedScalar<inverse>(spec, order, 0, dst, scale, work);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
