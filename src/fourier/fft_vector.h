// The transforms of tiers 1 to 3 from order 4: one kernel, or above its reach rows and then columns.
#ifndef UVEK_FOURIER_FFT_VECTOR_H
#define UVEK_FOURIER_FFT_VECTOR_H

#include "fourier/fft_kernel.h"
#include "fourier/fft_reversal.h"

namespace uvek::VEK_TIER_NAMESPACE {

// ---- The outer stages on a tile of columns ----

// What the first outer stage reads: the rows of the data, each sample times its factor.
template <typename Form, typename T>
struct Turned {
    Form form;         // at the tile's first column
    int64_t columns;   // between rows of the data
    int64_t tile;      // between rows of the factors
    const T* factors;
};

template <bool inverse, typename T, typename Form>
VEK_BUTTERFLY Cx<LanesType<T>> LoadTurned(Turned<Form, T> t, int64_t row, int64_t column)
{
    const T* const factor = GroupOf((T*)t.factors + 2 * row * t.tile, column);
    return MulRoot<inverse>(Load(t.form, row * t.columns + column), LoadRoot(factor));
}

template <bool inverse, int bits, typename T, typename Form, typename Out>
void OuterFirstStage(const Turned<Form, T>& in, Out out, int64_t outColumns, int64_t rows)
{
    for (int64_t row = 0; row < rows; row += 1 << bits)
        for (int64_t c = 0; c < in.tile; c += LanesOf<T>::kCount)
            Step<inverse, bits>(
                [=](int n) __attribute__((always_inline)) { return LoadTurned<inverse>(in, row + ReversedPlace<bits>(n), c); },
                [=](int n, Cx<LanesType<T>> x) __attribute__((always_inline)) { Store(out, (row + n) * outColumns + c, x); });
}

// A later stage; the rows of `out` are outColumns apart, those of the tile `tile`.
template <bool inverse, int bits, typename T, typename Out>
void OuterStage(Fours<T> in, int64_t tile, Out out, int64_t outColumns, int64_t rows, int64_t length, const T* twiddles)
{
    constexpr int kRadix = 1 << bits;
    for (int64_t block = 0; block < rows; block += length << bits)
        for (int64_t k = 0; k < length; ++k) {
            const T* const roots = twiddles + k * (kRadix - 1) * 8;
            for (int64_t c = 0; c < tile; c += LanesOf<T>::kCount)
                Step<inverse, bits>(
                    [=](int n) __attribute__((always_inline)) {
                        const auto x = Load(in, (block + k + ReversedPlace<bits>(n) * length) * tile + c);
                        return n ? MulRoot<inverse>(x, LoadRoot(roots + 8 * (n - 1))) : x;
                    },
                    [=](int n, Cx<LanesType<T>> x) __attribute__((always_inline)) { Store(out, (block + k + n * length) * outColumns + c, x); });
        }
}

template <bool inverse, typename T, typename Form>
void TransformColumns(const FftSpec<T>& spec, Vek32s order, Vek32s level, Form data, T* work)
{
    const Vek32s k = ColumnBits<T>(order);
    const int64_t rows = (int64_t)1 << k, columns = (int64_t)1 << (order - k);
    const int64_t tile = (int64_t)1 << (TileBits<T>(order) - k);
    const Fours<T> held{work};
    for (int64_t first = 0; first < columns; first += tile) {
        const Form at = data.At(first);
        const Turned<Form, T> turned{at, columns, tile, spec.outerColumnTwiddles[level] + 2 * first * rows};
        Vek32s done = IsOuterRadix8(k) ? 3 : 2;
        if (done == k) {
            OuterFirstStage<inverse, 3>(turned, at, columns, rows);
            continue;
        }
        if (done == 3)
            OuterFirstStage<inverse, 3>(turned, held, tile, rows);
        else
            OuterFirstStage<inverse, 2>(turned, held, tile, rows);
        const T* table = spec.outerKernelTwiddles[level];
        while (done < k) {
            const Vek32s bits = IsOuterRadix8(k - done) ? 3 : 2;
            const int64_t length = (int64_t)1 << done;
            const bool isLast = done + bits == k;
            if (bits == 3 && isLast)
                OuterStage<inverse, 3>(held, tile, at, columns, rows, length, table);
            else if (bits == 3)
                OuterStage<inverse, 3>(held, tile, held, tile, rows, length, table);
            else if (isLast)
                OuterStage<inverse, 2>(held, tile, at, columns, rows, length, table);
            else
                OuterStage<inverse, 2>(held, tile, held, tile, rows, length, table);
            table += (((int64_t)1 << bits) - 1) * 8 << done;
            done += bits;
        }
    }
}

// ---- The whole ----

template <bool inverse, typename T, typename Form>
void ReversedVector(const FftSpec<T>& spec, Vek32s order, Vek32s level, Form data, T scale, T* work)
{
    if (order <= kKernelOrder<T>) {
        PlainFirstStage<inverse>(data, work, (int64_t)1 << order);
        FinishKernel<inverse>(order, work, data, scale, (const T*)spec.kernelTwiddles);
        return;
    }
    const Vek32s k = ColumnBits<T>(order);
    for (int64_t row = 0; row < (int64_t)1 << k; ++row)
        ReversedVector<inverse>(spec, order - k, level + 1, data.At(row << (order - k)), scale, work);
    TransformColumns<inverse>(spec, order, level, data, work);
}

template <bool inverse, typename T, typename Form>
void TransformVector(const FftSpec<T>& spec, Vek32s order, Form src, Form dst, T scale, T* work)
{
    if (order <= kKernelOrder<T>) {
        Kernel<inverse>(order, src, dst, scale, work, spec.bitReversal, (const T*)spec.kernelTwiddles);
        return;
    }
    ReverseTiles(src, dst, order, spec.bitReversal, work);
    ReversedVector<inverse>(spec, order, 0, dst, scale, work);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
