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
    Vek32s windowColumns;   // that a window serves: 8, 4 where eight are too far apart, 0 where there are no windows
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

// Two samples of line buffers to a byte, by the weight of the second.
struct RowBlend {
    static constexpr Vek32s kRound = 1 << (kColumnShift - 1);
    V negated, round;
    Vek32u top, bottom;

    explicit RowBlend(Vek32s weight)
        : negated(Splat16(-2 * weight)), round(Splat16(kRound >> kWeightBits)), top((Vek32u)(kWholeWeight - weight)), bottom((Vek32u)weight) {}

    // The sum's first term and the rounding are multiples of 1 << 14: what is left to divide by that is
    // w (b - t), rounded down. Again -2 w fits 16 bits.
    V Eight(V t, V b) const
    {
        const V d = Sub16(t, b);
        return ShiftRight16u<kLineBits>(Add16(Add16(t, round), MulHigh16s(Add16(d, d), negated)));
    }
    Vek8u One(Vek16u t, Vek16u b) const { return (Vek8u)((b * bottom + t * top + kRound) >> kColumnShift); }
};

// The bytes a0 b0 a1 b1 .. of the taps of eight columns.
inline V GatherTaps(const Vek8u* src, const Vek32s* index)
{
    const auto taps = [=](int i) { return (Vek32s)Get((const Vek16u*)(src + index[i])); };
    V v = ShiftCount(taps(0));
    v = Insert16<1>(v, taps(1));
    v = Insert16<2>(v, taps(2));
    v = Insert16<3>(v, taps(3));
    v = Insert16<4>(v, taps(4));
    v = Insert16<5>(v, taps(5));
    v = Insert16<6>(v, taps(6));
    return Insert16<7>(v, taps(7));
}

// The first columns of one row or two that the same destination row blends, by blocks. emit(k, v) gets eight words
// of each row from column k on, of which those behind a block of three-channel pixels are to be overwritten.
template <int rows, typename Emit>
Vek32s RowBlocksC1(const Vek8u* const (&src)[rows], const Columns& columns, Emit emit)
{
    // Held here, since what is stored might change them for all that the compiler knows.
    const Vek32s* const index = columns.index;
    const Vek32s* const offset = columns.offset;
    const Window* const window = columns.window;
    const Vek16s* const negated = columns.negated;
    const Vek32s blocks = columns.count / 8;
    const auto gathered = [=](int r, Vek32s b) { return GatherTaps(src[r], index + 8 * b); };
    const auto shuffled = [=](int r, Vek32s b) { return Shuffle8(LoadU(src[r] + offset[b]), LoadU(window + b)); };
    const auto emit8 = [=](Vek32s b, auto taps) {
        V v[rows];
#pragma GCC unroll 2
        for (int r = 0; r < rows; ++r)
            v[r] = RowOfBytes(taps(r), LoadU(negated + 8 * b));
        emit(8 * b, v);
    };
    if (columns.windowColumns == 4) {
        for (Vek32s b = 0; b < blocks; ++b)
            emit8(b, [=](int r) { return UnpackLow64(shuffled(r, 2 * b), shuffled(r, 2 * b + 1)); });
    } else if (columns.windowColumns == 8) {
#pragma GCC unroll 2
        for (Vek32s b = 0; b < blocks; ++b)
            emit8(b, [=](int r) { return shuffled(r, b); });
    } else {
        for (Vek32s b = 0; b < blocks; ++b) {
            if constexpr (kHasByteShuffle) {
                emit8(b, [=](int r) { return gathered(r, b); });
            } else {
                const Vek16u* const pair = columns.pair + 16 * (int64_t)b;
                V v[rows];
                for (int r = 0; r < rows; ++r) {
                    const V taps = gathered(r, b);
                    v[r] = Pack32sTo16s(RowOfPairs(WidenLow8u(taps), LoadU(pair)), RowOfPairs(WidenHigh8u(taps), LoadU(pair + 8)));
                }
                emit(8 * b, v);
            }
        }
    }
    return 8 * blocks;
}

// Two pixels with their right neighbours, eight bytes each.
template <int channels>
V RowOfTwoPixels(const Vek8u* first, const Vek8u* second, const Columns& columns, Vek32s k)
{
    constexpr bool three = channels == 3;
    if constexpr (kHasByteShuffle) {
        constexpr int n = channels;
        const V pixels = LoadHigh64(Load64(first), second), weights = Load32(columns.negated + k);
        if constexpr (three)
            return RowOfBytes(Shuffle8(pixels, Lanes8(0, n, 1, n + 1, 2, n + 2, 8, n + 8, 9, n + 9, 10, n + 10, 11, 11, 11, 11)),
                              Shuffle8(weights, Lanes8(0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3, 2, 3)));
        else
            return RowOfBytes(Shuffle8(pixels, Lanes8(0, n, 1, n + 1, 2, n + 2, 3, n + 3, 8, n + 8, 9, n + 9, 10, n + 10, 11, n + 11)),
                              Shuffle8(weights, Lanes8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3)));
    } else {
        const auto taps = [](const Vek8u* p) {
            const V v = Load64(p);
            return WidenLow8u(UnpackLow8(v, BytesDown<channels>(v)));
        };
        const V weights = Load64(columns.pair + 2 * (int64_t)k);
        const V v = Pack32sTo16s(RowOfPairs(taps(first), Permute32<0, 0, 0, 0>(weights)), RowOfPairs(taps(second), Permute32<1, 1, 1, 1>(weights)));
        return three ? Select(Lanes16(-1, -1, -1, 0, 0, 0, 0, 0), v, BytesDown<2>(v)) : v;
    }
}

template <int channels, int rows, typename Emit>
Vek32s RowBlocks(const Vek8u* const (&src)[rows], const Columns& columns, Emit emit)
{
    if constexpr (channels == 1) {
        return RowBlocksC1(src, columns, emit);
    } else {
        Vek32s k = 0;
        for (; columns.safe - k >= 2; k += 2) {
            V v[rows];
#pragma GCC unroll 2
            for (int r = 0; r < rows; ++r)
                v[r] = RowOfTwoPixels<channels>(src[r] + columns.index[k], src[r] + columns.index[k + 1], columns, k);
            emit(k, v);
        }
        return k;
    }
}

// Visits the samples that are left from column k on: visit(sample, offset of the first tap, weights).
template <int channels, typename Visit>
inline void RowRest(const Columns& columns, Vek32s k, Visit visit)
{
    for (; k < columns.count; ++k)
        for (int c = 0; c < channels; ++c)
            visit((int64_t)k * channels + c, columns.index[k] + c, columns.pair + 2 * (int64_t)k);
}

template <int channels>
inline Vek16u RowSample(const Vek8u* tap, const Vek16u* pair)
{
    return (Vek16u)(((Vek32u)pair[0] * tap[0] + (Vek32u)pair[1] * tap[channels] + (1 << (kRowShift - 1))) >> kRowShift);
}

template <int channels>
void ResampleRow(const Vek8u* src, const Columns& columns, Vek16u* line)
{
    Vek32s k = 0;
    if (kBlocks && columns.blocks)
        k = RowBlocks<channels>({src}, columns, [=](Vek32s at, const V (&v)[1]) { StoreU(line + (int64_t)at * channels, v[0]); });
    RowRest<channels>(columns, k, [=](int64_t i, Vek32s tap, const Vek16u* pair) { line[i] = RowSample<channels>(src + tap, pair); });
}

// Both rows at once, for a destination row that shares neither with its neighbours.
template <int channels>
void ResampleAndBlend(const Vek8u* top, const Vek8u* bottom, const Columns& columns, Vek32s weight, Vek8u* dst)
{
    const RowBlend blend(weight);
    const Vek32s k = RowBlocks<channels>({top, bottom}, columns, [=](Vek32s at, const V (&v)[2]) {
        Store64(dst + (int64_t)at * channels, Pack16sTo8u(blend.Eight(v[0], v[1]), Zero()));
    });
    RowRest<channels>(columns, k, [=](int64_t i, Vek32s tap, const Vek16u* pair) {
        dst[i] = blend.One(RowSample<channels>(top + tap, pair), RowSample<channels>(bottom + tap, pair));
    });
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
    // Blocks of three-channel pixels write two samples more than theirs.
    const Vek32s safe = Min(SafeColumns(xIndex, width, 8, limit), channels == 3 ? width - 1 : width);
    const Columns columns = {xIndex, pair, negated, width, goodX, safe, windowColumns, offset, window};

    RowCache<2, Vek16u> rows(lines, lineLength);
    const auto resample = [&](Vek32s row, Vek16u* line) { ResampleRow<channels>(Row(job.src, job.srcStep, row), columns, line); };
    const bool good = goodX && goodY;
    for (Vek32s y = 0; y < height; ++y) {
        const Vek32s row = yIndex[y];
        Vek8u* const dst = Row(job.dst, job.dstStep, y);
        const bool alone = !rows.Holds(row) && !rows.Holds(row + 1) && (y + 1 == height || yIndex[y + 1] > row + 1);
        if (kHasByteShuffle && good && alone) {
            ResampleAndBlend<channels>(Row(job.src, job.srcStep, row), Row(job.src, job.srcStep, row + 1), columns, yWeight[y], dst);
        } else {
            const Vek16u* const top = rows.Fetch(row, resample);
            const Vek16u* const bottom = rows.Fetch(row + 1, resample);
            BlendRows(top, bottom, yWeight[y], good, dst, (Vek32s)samples);
        }
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
    const RowBlend blend(weight);
    const auto eight = [=](Vek32s at) { return blend.Eight(LoadU(top + at), LoadU(bottom + at)); };
    Vek32s i = 0;
    if (kBlocks && blocks) {
        for (; count - i >= 16; i += 16)
            StoreU(dst + i, Pack16sTo8u(eight(i), eight(i + 8)));
        for (; count - i >= 8; i += 8)
            Store64(dst + i, Pack16sTo8u(eight(i), Zero()));
    }
    for (; i < count; ++i)
        dst[i] = blend.One(top[i], bottom[i]);
}

const ResizeKernel kLinearKernels[kSampleKinds] = {LinearBytes<1>, LinearBytes<3>, LinearBytes<4>, LinearFloats};

}  // namespace uvek::VEK_TIER_NAMESPACE
