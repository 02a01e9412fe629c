// The row and column passes of two-dimensional transforms over any one-dimensional ones. A pass stops
// at the first failing transform and returns its status.
#ifndef UVEK_FOURIER_PASSES2D_H
#define UVEK_FOURIER_PASSES2D_H

#include "fourier/dft.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Columns travel between the image and contiguous arrays `height` apart: pairs of columns by four rows
// at a time, so that whole parts of cache lines move on both sides.
template <int columns>
void Gather(const Complex* image, Vek32s step, int64_t height, Complex* arrays)
{
    int64_t y = 0;
    for (; kBlocks && height - y >= 4; y += 4)
        for (int c = 0; c < columns; c += 2) {
            const V p = LoadU(Offset(image + c, step * y)), q = LoadU(Offset(image + c, step * (y + 1)));
            const V r = LoadU(Offset(image + c, step * (y + 2))), s = LoadU(Offset(image + c, step * (y + 3)));
            Complex* const even = arrays + c * height + y;
            StoreU(even, UnpackLow64(p, q));
            StoreU(even + 2, UnpackLow64(r, s));
            StoreU(even + height, UnpackHigh64(p, q));
            StoreU(even + height + 2, UnpackHigh64(r, s));
        }
    for (; y < height; ++y)
        for (int c = 0; c < columns; ++c)
            Put(arrays + c * height + y, Get(Offset(image, step * y) + c));
}

template <int columns>
void Scatter(const Complex* arrays, int64_t height, Complex* image, Vek32s step)
{
    int64_t y = 0;
    for (; kBlocks && height - y >= 4; y += 4)
        for (int c = 0; c < columns; c += 2) {
            const Complex* const even = arrays + c * height + y;
            const V p = LoadU(even), q = LoadU(even + 2), r = LoadU(even + height), s = LoadU(even + height + 2);
            StoreU(Offset(image + c, step * y), UnpackLow64(p, r));
            StoreU(Offset(image + c, step * (y + 1)), UnpackHigh64(p, r));
            StoreU(Offset(image + c, step * (y + 2)), UnpackLow64(q, s));
            StoreU(Offset(image + c, step * (y + 3)), UnpackHigh64(q, s));
        }
    for (; y < height; ++y)
        for (int c = 0; c < columns; ++c)
            Put(Offset(image, step * y) + c, Get(arrays + c * height + y));
}

// One column, of complex or real samples, from one image to another through `run(column, work)`.
template <typename E, typename Run>
VekStatus OneColumn(const E* src, Vek32s srcStep, E* dst, Vek32s dstStep, int64_t height, Vek8u* work, Run run)
{
    E* const column = (E*)work;
    for (int64_t y = 0; y < height; ++y)
        column[y] = Get(Offset(src, srcStep * y));
    const VekStatus status = run(column, work + height * (int64_t)sizeof(E));
    if (status != StatusOk)
        return status;
    for (int64_t y = 0; y < height; ++y)
        Put(Offset(dst, dstStep * y), column[y]);
    return StatusOk;
}

template <int columns, typename Run>
VekStatus ColumnGroup(Complex* image, Vek32s step, int64_t height, Vek8u* work, Run run)
{
    Complex* const arrays = (Complex*)work;
    Gather<columns>(image, step, height, arrays);
    for (int c = 0; c < columns; ++c) {
        const VekStatus status = run(arrays + c * height, work + columns * height * (int64_t)sizeof(Complex));
        if (status != StatusOk)
            return status;
    }
    Scatter<columns>(arrays, height, image, step);
    return StatusOk;
}

// Complex columns in place: eight together are the samples of a cache line, and work memory has room
// for eight.
template <typename Run>
VekStatus ComplexColumns(Complex* image, Vek32s step, int64_t columns, int64_t height, Vek8u* work, Run run)
{
    for (int64_t x = 0; x < columns;) {
        const int64_t left = columns - x;
        const VekStatus status = left >= 8   ? ColumnGroup<8>(image + x, step, height, work, run)
                                 : left >= 4 ? ColumnGroup<4>(image + x, step, height, work, run)
                                             : OneColumn<Complex>(image + x, step, image + x, step, height, work, run);
        if (status != StatusOk)
            return status;
        x += left >= 8 ? 8 : left >= 4 ? 4 : 1;
    }
    return StatusOk;
}

// What the columns of a real image's spectrum are: column 0 and, for an even width, the last one real;
// between them pairs of columns, each complex.
template <typename RunReal, typename RunComplex>
VekStatus PackColumns(Vek32f* image, Vek32s step, int64_t width, int64_t height, Vek8u* work, RunReal runReal, RunComplex runComplex)
{
    VekStatus status = OneColumn<Vek32f>(image, step, image, step, height, work, runReal);
    if (status == StatusOk)
        status = ComplexColumns((Complex*)(image + 1), step, (width - 1) / 2, height, work, runComplex);
    if (status == StatusOk && width % 2 == 0)
        status = OneColumn<Vek32f>(image + width - 1, step, image + width - 1, step, height, work, runReal);
    return status;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
