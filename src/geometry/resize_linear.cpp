// Linear: rows are resampled into line buffers, two of which make a destination row. Bytes run in fixed
// point, weights of 14 bits and line buffers of 6 bits below the point; floats in their own precision.
#include "geometry/resize.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kLineBits = 6;
constexpr int kRowShift = kWeightBits - kLineBits;
constexpr int kColumnShift = kWeightBits + kLineBits;

// A call's tables and buffers in the horizontal direction.
struct Columns {
    const Vek32s* index;
    const Vek16u* pair;     // two weights a column
    const Vek16s* negated;  // -2 times the second weight, where bytes are shuffled
    Vek32s count;
    bool blocks;
    Vek32s safe;            // columns that may read 8 bytes
    Vek32s windows;         // that are in use
    Vek32s windowColumns;   // of each: 8, or 4 where eight are too far apart
    const Vek32s* offset;
    const Window* window;
};

// Without byte shuffles: pairs of words and their two weights. Some tiers have no use for it.
[[maybe_unused]] inline V RowOfPairs(V taps, V weights)
{
    return ShiftRight32u<kRowShift>(Add32(MulAdd16(taps, weights), Splat32(1 << (kRowShift - 1))));
}

// Eight samples, the bytes a0 b0 a1 b1 .. of their taps. With d = b - a,
// (16384 - w) a + w b + 128 over 256 is 64 a + (w d + 128) / 256, and the second term is the rounded product
// of -2 w and -64 d. Both factors are negated because -2 w fits 16 bits and 2 w does not.
inline V RowOfBytes(V taps, V negated)
{
    const V base = MulAdd8us(taps, Splat16(1 << kLineBits)), slope = MulAdd8us(taps, Splat16((1 << kLineBits) | -(1 << kLineBits) * 256));
    return Add16(base, MulRound16s(slope, negated));
}

Vek32s RowBlocksC1(const Vek8u* src, const Columns& columns, Vek16u* line)
{
    Vek32s k = 0;
    if (columns.windows > 0) {
        // Held here, since the stores below might change them for all that the compiler knows.
        const Vek32s* const offset = columns.offset;
        const Window* const window = columns.window;
        const Vek16s* const negated = columns.negated;
        const Vek32s windows = columns.windows;
        const auto taps = [=](Vek32s b) { return Shuffle8(LoadU(src + offset[b]), LoadU(window + b)); };
        const auto row8 = [=](V bytes, Vek32s at) { StoreU(line + at, RowOfBytes(bytes, LoadU(negated + at))); };
        if (columns.windowColumns == 4) {
            for (Vek32s b = 0; b < windows; b += 2, k += 8)
                row8(UnpackLow64(taps(b), taps(b + 1)), k);
            return k;
        }
        Vek32s b = 0;
        for (; windows - b >= 2; b += 2, k += 16) {
            row8(taps(b), k);
            row8(taps(b + 1), k + 8);
        }
        if (b < windows) {
            row8(taps(b), k);
            k += 8;
        }
        return k;
    }
    for (; columns.count - k >= 8; k += 8) {
        const Vek32s* const x = columns.index + k;
        const auto taps = [&](int i) { return (Vek32s)Get((const Vek16u*)(src + x[i])); };
        V v = ShiftCount(taps(0));
        v = Insert16<1>(v, taps(1));
        v = Insert16<2>(v, taps(2));
        v = Insert16<3>(v, taps(3));
        v = Insert16<4>(v, taps(4));
        v = Insert16<5>(v, taps(5));
        v = Insert16<6>(v, taps(6));
        v = Insert16<7>(v, taps(7));
        if constexpr (kHasByteShuffle) {
            StoreU(line + k, RowOfBytes(v, LoadU(columns.negated + k)));
        } else {
            const Vek16u* const pair = columns.pair + 2 * (int64_t)k;
            StoreU(line + k, Pack32sTo16s(RowOfPairs(WidenLow8u(v), LoadU(pair)), RowOfPairs(WidenHigh8u(v), LoadU(pair + 8))));
        }
    }
    return k;
}

// Two pixels with their right neighbours, eight bytes each.
template <int channels>
V RowOfTwoPixels(const Vek8u* first, const Vek8u* second, const Columns& columns, Vek32s k)
{
    if constexpr (kHasByteShuffle) {
        constexpr int n = channels, x = channels == 3 ? 3 : 7;
        const V taps = Shuffle8(LoadHigh64(Load64(first), second),
                                Lanes8(0, n, 1, n + 1, 2, n + 2, 3, x, 8, n + 8, 9, n + 9, 10, n + 10, 11, x + 8));
        return RowOfBytes(taps, Shuffle8(Load32(columns.negated + k), Lanes8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3)));
    } else {
        const auto taps = [](const Vek8u* p) {
            const V v = Load64(p);
            return WidenLow8u(UnpackLow8(v, BytesDown<channels>(v)));
        };
        const V weights = Load64(columns.pair + 2 * (int64_t)k);
        return Pack32sTo16s(RowOfPairs(taps(first), Permute32<0, 0, 0, 0>(weights)), RowOfPairs(taps(second), Permute32<1, 1, 1, 1>(weights)));
    }
}

template <int channels>
Vek32s RowBlocksPixels(const Vek8u* src, const Columns& columns, Vek16u* line)
{
    Vek32s k = 0;
    for (; columns.safe - k >= 2; k += 2) {
        const V v = RowOfTwoPixels<channels>(src + columns.index[k], src + columns.index[k + 1], columns, k);
        Vek16u* const to = line + (int64_t)k * channels;
        if constexpr (channels == 4) {
            StoreU(to, v);
        } else {
            Store64(to, v);  // the fourth word is overwritten by the next pixel
            StoreHigh64(to + 3, v);
        }
    }
    return k;
}

template <int channels>
void ResampleRow(const Vek8u* src, const Columns& columns, Vek16u* line)
{
    Vek32s k = 0;
    if (kBlocks && columns.blocks) {
        if constexpr (channels == 1)
            k = RowBlocksC1(src, columns, line);
        else
            k = RowBlocksPixels<channels>(src, columns, line);
    }
    for (; k < columns.count; ++k) {
        const Vek8u* const a = src + columns.index[k];
        const Vek32u w0 = columns.pair[2 * k], w1 = columns.pair[2 * k + 1];
        for (int c = 0; c < channels; ++c)
            line[(int64_t)k * channels + c] = (Vek16u)((w0 * a[c] + w1 * a[c + channels] + (1 << (kRowShift - 1))) >> kRowShift);
    }
}

template <int channels>
VekStatus LinearBytes(const ResizeJob& job)
{
    const Vek32s width = job.x.length, height = job.y.length;
    const int64_t samples = (int64_t)width * channels, lineLength = samples + kLineSlack;
    const Vek32s blocks = kHasByteShuffle && channels == 1 ? width / 8 : 0;
    const Block<Vek32s> yIndex(height), xIndex(width), offset(2 * blocks + 1);
    const Block<Vek16u> yWeight(height), xWeight(width), pair(2 * (int64_t)width), lines(2 * lineLength);
    const Block<Vek16s> negated(width);
    const Block<Window> window(2 * (int64_t)blocks + 1);
    if (!yIndex || !xIndex || !offset || !yWeight || !xWeight || !pair || !negated || !lines || !window)
        return StatusNoMemory;

    const bool goodY = LinearTable(job.y, 1, yIndex, yWeight), goodX = LinearTable(job.x, channels, xIndex, xWeight);
    for (Vek32s k = 0; k < width; ++k) {
        pair[2 * (int64_t)k] = (Vek16u)(kWholeWeight - xWeight[k]);
        pair[2 * (int64_t)k + 1] = xWeight[k];
        negated[k] = (Vek16s)(-2 * xWeight[k]);
    }
    const int64_t first = -(int64_t)job.x.origin * channels, limit = ((int64_t)job.x.last() + 1) * channels;
    const Vek32s* const index = xIndex;
    const auto build = [&](Vek32s columns) {
        return BuildWindows<1>(columns == 8 ? blocks : 2 * blocks, first, limit, [=](Vek32s b, int j) {
            return j < 2 * columns ? (int64_t)index[columns * b + j / 2] + j % 2 : first - 1;
        }, offset, window);
    };
    const Vek32s windowColumns = !goodX || blocks == 0 ? 0 : build(8) ? 8 : build(4) ? 4 : 0;
    const Vek32s windows = windowColumns == 8 ? blocks : windowColumns == 4 ? 2 * blocks : 0;
    const Columns columns = {xIndex, pair, negated, width, goodX, SafeColumns(xIndex, width, 8, limit), windows, windowColumns, offset, window};

    RowCache<2, Vek16u> rows(lines, lineLength);
    const auto resample = [&](Vek32s row, Vek16u* line) { ResampleRow<channels>(Row(job.src, job.srcStep, row), columns, line); };
    for (Vek32s y = 0; y < height; ++y) {
        const Vek16u* const top = rows.Fetch(yIndex[y], resample);
        const Vek16u* const bottom = rows.Fetch(yIndex[y] + 1, resample);
        BlendRows(top, bottom, yWeight[y], goodX && goodY, Row(job.dst, job.dstStep, y), (Vek32s)samples);
    }
    return StatusOk;
}

void ResampleRow(const Vek8u* src, const Vek32s* index, const Vek32f* fraction, Vek32f* line, Vek32s width)
{
    Vek32s k = 0;
    if (kBlocks)
        for (; width - k >= 4; k += 4) {
            const F p = AsFloat(LoadHigh64(Load64(src + index[k]), src + index[k + 1]));
            const F q = AsFloat(LoadHigh64(Load64(src + index[k + 2]), src + index[k + 3]));
            const F a = Pick<0, 2, 0, 2>(p, q), b = Pick<1, 3, 1, 3>(p, q);
            StoreU(line + k, Add(Mul(Sub(b, a), LoadU(fraction + k)), a));
        }
    for (; k < width; ++k) {
        const Vek32f a = Get((const Vek32f*)(src + index[k])), b = Get((const Vek32f*)(src + index[k] + sizeof(Vek32f)));
        line[k] = (b - a) * fraction[k] + a;
    }
}

// Not the form of the row pass: the last bits of the two differ.
void BlendRows(const Vek32f* top, const Vek32f* bottom, Vek32f w, Vek32f* dst, Vek32s count)
{
    const Vek32f v = 1.0f - w;
    Vek32s i = 0;
    if (kBlocks)
        for (; count - i >= 4; i += 4)
            StoreU(dst + i, Add(Mul(LoadU(bottom + i), SplatF(w)), Mul(LoadU(top + i), SplatF(v))));
    for (; i < count; ++i)
        Put(dst + i, bottom[i] * w + top[i] * v);
}

void LinearTable(const Axis& axis, Vek32s stride, Vek32s* index, Vek32f* fraction)
{
    ForEachPosition(axis, axis.shift, [&](Vek32s k, Vek64f p, Vek32s i) {
        if (i >= axis.last()) {
            i = axis.last() - 1;
            fraction[k] = 1.0f;
        } else {
            i = Max(i, -axis.origin);
            fraction[k] = (Vek32f)(p - i);
        }
        index[k] = i * stride;
    });
}

VekStatus LinearFloats(const ResizeJob& job)
{
    const Vek32s width = job.x.length, height = job.y.length;
    const Block<Vek32s> yIndex(height), xIndex(width);
    const Block<Vek32f> yWeight(height), xWeight(width), lines(2 * ((int64_t)width + kLineSlack));
    if (!yIndex || !xIndex || !yWeight || !xWeight || !lines)
        return StatusNoMemory;
    LinearTable(job.y, 1, yIndex, yWeight);
    LinearTable(job.x, sizeof(Vek32f), xIndex, xWeight);

    RowCache<2, Vek32f> rows(lines, (int64_t)width + kLineSlack);
    const auto resample = [&](Vek32s row, Vek32f* line) { ResampleRow(Row(job.src, job.srcStep, row), xIndex, xWeight, line, width); };
    for (Vek32s y = 0; y < height; ++y) {
        const Vek32f* const top = rows.Fetch(yIndex[y], resample);
        const Vek32f* const bottom = rows.Fetch(yIndex[y] + 1, resample);
        BlendRows(top, bottom, yWeight[y], (Vek32f*)Row(job.dst, job.dstStep, y), width);
    }
    return StatusOk;
}

}  // namespace

void BlendRows(const Vek16u* top, const Vek16u* bottom, Vek32s weight, bool blocks, Vek8u* dst, Vek32s count)
{
    constexpr Vek32s kRound = 1 << (kColumnShift - 1);
    Vek32s i = 0;
    if (kBlocks && blocks) {
        // The sum's first term and the rounding are multiples of 1 << 14: what is left to divide by that is
        // w (b - t), rounded down. Again -2 w fits 16 bits.
        const V negated = Splat16(-2 * weight), round = Splat16(kRound >> kWeightBits);
        const auto blend8 = [&](Vek32s at) {
            const V t = LoadU(top + at), d = Sub16(t, LoadU(bottom + at));
            return ShiftRight16u<kLineBits>(Add16(Add16(t, round), MulHigh16s(Add16(d, d), negated)));
        };
        for (; count - i >= 16; i += 16)
            StoreU(dst + i, Pack16sTo8u(blend8(i), blend8(i + 8)));
        for (; count - i >= 8; i += 8)
            Store64(dst + i, Pack16sTo8u(blend8(i), Zero()));
    }
    const Vek32u w = (Vek32u)weight, v = (Vek32u)(kWholeWeight - weight);
    for (; i < count; ++i)
        dst[i] = (Vek8u)((bottom[i] * w + top[i] * v + kRound) >> kColumnShift);
}

const ResizeKernel kLinearKernels[kSampleKinds] = {LinearBytes<1>, LinearBytes<3>, LinearBytes<4>, LinearFloats};

}  // namespace uvek::VEK_TIER_NAMESPACE
