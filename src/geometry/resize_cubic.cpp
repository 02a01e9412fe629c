// Cubic through four points: rows in single precision, unclamped, then columns over four of them.
#include "geometry/resize.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct Columns {
    const Vek32s* index;    // bytes from the region's first to the second of the four pixels
    Vek32s count;
    Vek32s safe;            // columns that may read a byte behind their four pixels
    const Vek32f *c1, *c2, *c3;
    Vek32s windowBlocks;    // of 4 columns each
    const Vek32s* offset;
    const Window* windows;
};

CubicWeights WeightsOf(const Columns& columns, Vek32s k)
{
    return {columns.c1[k], columns.c2[k], columns.c3[k]};
}

// Four columns of one sample: taps hold s0 of the four, then s1, s2, s3.
void StoreColumns4(V taps, const Columns& columns, Vek32s k, Vek32f* line)
{
    StoreU(line + k, CubicOfBytes(Bytes32<0>(taps), Bytes32<1>(taps), Bytes32<2>(taps), Bytes32<3>(taps),
                                  LoadU(columns.c1 + k), LoadU(columns.c2 + k), LoadU(columns.c3 + k)));
}

Vek32s RowBlocksC1(const Vek8u* src, const Columns& columns, Vek32f* line)
{
    Vek32s k = 0;
    if (columns.windowBlocks > 0) {
        for (Vek32s b = 0; b < columns.windowBlocks; ++b, k += 4)
            StoreColumns4(Shuffle8(LoadU(src + columns.offset[b]), LoadU(columns.windows + b)), columns, k, line);
        return k;
    }
    for (; columns.count - k >= 4; k += 4) {
        const auto load = [&](int i) { return Load32(src + columns.index[k + i] - 1); };
        // Bytes of the columns 0 1, 2 3 alternate, then those of all four.
        StoreColumns4(UnpackLow16(UnpackLow8(load(0), load(1)), UnpackLow8(load(2), load(3))), columns, k, line);
    }
    return k;
}

template <int channels>
Vek32s RowBlocksPixels(const Vek8u* src, const Columns& columns, Vek32f* line)
{
    Vek32s k = 0;
    for (; k < columns.safe; ++k) {
        const Vek8u* const s = src + columns.index[k];
        const auto pixel = [&](int i) { return WidenLow8uTo32(Load32(s + i * channels)); };
        StoreU(line + (int64_t)k * channels, CubicOfBytes(pixel(-1), pixel(0), pixel(1), pixel(2),
                                                          SplatF(columns.c1[k]), SplatF(columns.c2[k]), SplatF(columns.c3[k])));
    }
    return k;
}

template <int channels>
void ResampleRow(const Vek8u* src, const Columns& columns, Vek32f* line)
{
    Vek32s k = 0;
    if (kBlocks) {
        if constexpr (channels == 1)
            k = RowBlocksC1(src, columns, line);
        else
            k = RowBlocksPixels<channels>(src, columns, line);
    }
    for (; k < columns.count; ++k) {
        const Vek8u* const s = src + columns.index[k];
        const CubicWeights w = WeightsOf(columns, k);
        for (int c = 0; c < channels; ++c)
            line[(int64_t)k * channels + c] = Cubic(s[c - channels], s[c], s[c + channels], s[c + 2 * channels], w);
    }
}

void ResampleFloats(const Vek8u* src, const Columns& columns, Vek32f* line)
{
    Vek32s k = 0;
    if (kBlocks)
        for (; columns.count - k >= 4; k += 4) {
            const auto load = [&](int i) { return AsFloat(LoadU(src + columns.index[k + i] - sizeof(Vek32f))); };
            F s0 = load(0), s1 = load(1), s2 = load(2), s3 = load(3);
            Transpose4(s0, s1, s2, s3);
            StoreU(line + k, Cubic(s0, s1, s2, s3, LoadU(columns.c1 + k), LoadU(columns.c2 + k), LoadU(columns.c3 + k)));
        }
    for (; k < columns.count; ++k) {
        const auto tap = [&](int i) { return Get((const Vek32f*)(src + columns.index[k] + i * (int)sizeof(Vek32f))); };
        line[k] = Cubic(tap(-1), tap(0), tap(1), tap(2), WeightsOf(columns, k));
    }
}

template <typename T>
void Combine(const Vek32f* const rows[4], Vek32f t, T* dst, Vek32s count)
{
    const CubicWeights w = CubicAt(t);
    const Vek32f *const r0 = rows[0], *const r1 = rows[1], *const r2 = rows[2], *const r3 = rows[3];
    Vek32s i = 0;
    if (kBlocks) {
        const F c1 = SplatF(w.c1), c2 = SplatF(w.c2), c3 = SplatF(w.c3);
        const auto at = [&](Vek32s j) { return Cubic(LoadU(r0 + j), LoadU(r1 + j), LoadU(r2 + j), LoadU(r3 + j), c1, c2, c3); };
        for (; count - i >= 8; i += 8)
            PutSamples8(dst + i, at(i), at(i + 4));
    }
    for (; i < count; ++i)
        PutSample(dst + i, Cubic(r0[i], r1[i], r2[i], r3[i], w));
}

template <typename T, int channels>
VekStatus CubicResize(const ResizeJob& job)
{
    constexpr Vek32s kPixel = channels * (Vek32s)sizeof(T);
    const Vek32s width = job.x.length, height = job.y.length;
    const int64_t samples = (int64_t)width * channels, lineLength = samples + kLineSlack;
    const Vek32s windowBlocks = kHasByteShuffle && sizeof(T) == 1 && channels == 1 ? width / 4 : 0;
    const Block<Vek32s> yIndex(height), xIndex(width), offset(windowBlocks + 1);
    const Block<Vek32f> yParameter(height), c1(width), c2(width), c3(width), lines(4 * lineLength);
    const Block<Window> windows(windowBlocks + 1);
    if (!yIndex || !xIndex || !offset || !yParameter || !c1 || !c2 || !c3 || !lines || !windows)
        return StatusNoMemory;

    CubicTable(job.y, 1, yIndex, yParameter);
    CubicTable(job.x, kPixel, xIndex, c1);
    for (Vek32s k = 0; k < width; ++k) {
        const CubicWeights w = CubicAt(c1[k]);
        c1[k] = w.c1;
        c2[k] = w.c2;
        c3[k] = w.c3;
    }
    const int64_t first = -(int64_t)job.x.origin * kPixel, limit = ((int64_t)job.x.last() + 1) * kPixel;
    const Vek32s* const index = xIndex;
    const bool windowed = windowBlocks > 0 && BuildWindows<1>(windowBlocks, first, limit, [=](Vek32s b, int j) {
        return (int64_t)index[4 * b + j % 4] - 1 + j / 4;
    }, offset, windows);
    const Columns columns = {xIndex, width, SafeColumns(xIndex, width, 2 * kPixel + 4, limit), c1, c2, c3,
                             windowed ? windowBlocks : 0, offset, windows};

    RowCache<4, Vek32f> rows(lines, lineLength);
    const auto resample = [&](Vek32s row, Vek32f* line) {
        const Vek8u* const src = Row(job.src, job.srcStep, row);
        if constexpr (sizeof(T) == 1)
            ResampleRow<channels>(src, columns, line);
        else
            ResampleFloats(src, columns, line);
    };
    for (Vek32s y = 0; y < height; ++y) {
        const Vek32f* taps[4];
        for (int i = 0; i < 4; ++i)
            taps[i] = rows.Fetch(yIndex[y] - 1 + i, resample);
        Combine(taps, yParameter[y], (T*)Row(job.dst, job.dstStep, y), (Vek32s)samples);
    }
    return StatusOk;
}

}  // namespace

void CubicColumns(const Vek32f* const rows[4], Vek32f t, Vek8u* dst, Vek32s count)
{
    Combine(rows, t, dst, count);
}

const ResizeKernel kCubicKernels[kSampleKinds] = {CubicResize<Vek8u, 1>, CubicResize<Vek8u, 3>, CubicResize<Vek8u, 4>,
                                                  CubicResize<Vek32f, 1>};

}  // namespace uvek::VEK_TIER_NAMESPACE
