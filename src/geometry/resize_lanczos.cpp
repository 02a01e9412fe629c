// Lanczos of order 3: six taps in each direction, in single precision.
#include "geometry/resize.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kTaps = 6;
constexpr int kOrder = 3;
constexpr int kSteps = 100;  // table entries in a pixel

// sin(pi n / d) from the Taylor series about the nearest multiple of a half turn.
constexpr Vek64f SinPi(int n, int d)
{
    int sign = 1;
    while (2 * n > d) {
        n -= d;
        sign = -sign;
    }
    const Vek64f x = 3.14159265358979323846 * n / d;
    Vek64f term = x, sum = x;
    for (int k = 2; k < 30; k += 2) {
        term *= -x * x / (k * (k + 1.0));
        sum += term;
    }
    return sign * sum;
}

// sinc(x) sinc(x / 3) at x = n / 100, with a zero behind for the interpolation at the end.
struct Window3 {
    Vek32f at[kOrder * kSteps + 2];
};

constexpr Window3 MakeWindow()
{
    Window3 window = {};
    window.at[0] = 1;
    for (int n = 1; n < kOrder * kSteps; ++n) {
        const Vek64f a = 3.14159265358979323846 * n / kSteps;
        window.at[n] = (Vek32f)(SinPi(n, kSteps) * SinPi(n, kOrder * kSteps) * kOrder / (a * a));
    }
    return window;
}

constexpr Window3 kWindow = MakeWindow();

Vek32f Lookup(Vek32f x)
{
    if (!(x > -kOrder && x < kOrder))
        return 0;
    const Vek32f a = (Vek32f)((x < 0 ? -(Vek64f)x : (Vek64f)x) * kSteps);
    const Vek32s n = (Vek32s)a;
    return (kWindow.at[n + 1] - kWindow.at[n]) * (a - (Vek32f)n) + kWindow.at[n];
}

struct Coefficients {
    Vek32f at[kTaps];
};

// Of the pixels i - 2 .. i + 3 for a position f behind pixel i; their sum is 1.
Coefficients CoefficientsAt(Vek32f f)
{
    Coefficients c;
    const Vek32f x0 = -2.0f - f;
    Vek32f sum = 0;
    for (int k = 0; k < kTaps; ++k) {
        c.at[k] = Lookup(x0 + (Vek32f)k);
        sum += c.at[k];
    }
    if (kTier == 0) {  // four at once, by an estimate and a step of Newton's
        const Vek32f r = LowF(ReciprocalApprox(SplatF(sum))), reciprocal = 2 * r - sum * r * r;
        for (int k = 0; k < 4; ++k)
            c.at[k] *= reciprocal;
        for (int k = 4; k < kTaps; ++k)
            c.at[k] /= sum;
    } else {
        for (int k = 0; k < kTaps; ++k)
            c.at[k] /= sum;
    }
    return c;
}

struct Position {
    Vek32s index;
    Vek32f fraction;
};

// Shifted positions may pass the image: taps are clamped to it, not the position, so that its edge is
// reached by way of a last blend. Farther off all taps are the edge pixel.
Position PositionInReach(const Axis& axis, Vek64f p, Vek32s i)
{
    const Vek32s first = -axis.origin - kOrder, last = axis.last() + kOrder - 1;
    if (i > last)   return {last, 0};
    if (i < first)  return {first, 0};
    return {i, (Vek32f)(p - i)};
}

struct Columns {
    Vek32s* index;          // bytes from the region's first pixel to the first of the six
    Vek32f* c[kTaps];       // coefficients of all columns, tap by tap
    Vek8u *before, *behind; // how many of the six have moved in from each end
    Vek32s count;
    Vek32s left, right;     // columns outside of [left, right) have moved taps
    Vek32s safe;            // columns that may read a little behind their six pixels
    Vek32s windowBlocks;    // of 4 columns each
    const Vek32s* offset;
    const Window* windows;
};

// Taps beyond the image count for its edge pixel: their coefficients are added up there, first to last,
// and the six taps move inside with zeros at the other end.
void ColumnTable(const Axis& axis, Vek32s stride, Columns& columns)
{
    columns.left = 0;
    columns.right = columns.count;
    ForEachPosition(axis, axis.shift, [&](Vek32s k, Vek64f p, Vek32s index) {
        const Position at = PositionInReach(axis, p, index);
        const Coefficients c = CoefficientsAt(at.fraction);
        const Vek32s before = Max(0, 2 - (axis.origin + at.index)), behind = Max(0, at.index + 3 - axis.last());
        columns.index[k] = (at.index - 2 + before - behind) * stride;
        Coefficients moved = {};
        for (int t = 0; t < kTaps; ++t)
            moved.at[Clamp(t - before + behind, 0, kTaps - 1)] += c.at[t];
        for (int t = 0; t < kTaps; ++t)
            columns.c[t][k] = moved.at[t];
        columns.before[k] = (Vek8u)before;
        columns.behind[k] = (Vek8u)behind;
        if (before > 0)
            columns.left = k + 1;
        if (behind > 0)
            columns.right = Min(columns.right, k);
    });
    columns.right = Max(columns.left, columns.right);
}

// Four columns of one sample: taps 0 to 3 of the four in `low`, taps 4 and 5 in the low half of `high`.
void StoreColumns4(V low, V high, const Columns& columns, Vek32s k, Vek32f* line)
{
    const auto product = [&](int t, V samples) { return Mul(LoadU(columns.c[t] + k), ToFloat(samples)); };
    F sum = Add(product(0, Bytes32<0>(low)), product(1, Bytes32<1>(low)));
    sum = Add(Add(sum, product(2, Bytes32<2>(low))), product(3, Bytes32<3>(low)));
    StoreU(line + k, Add(Add(sum, product(4, Bytes32<0>(high))), product(5, Bytes32<1>(high))));
}

Vek32s RowBlocksC1(const Vek8u* src, const Columns& columns, Vek32f* line)
{
    Vek32s k = 0;
    if (columns.windowBlocks > 0) {
        for (Vek32s b = 0; b < columns.windowBlocks; ++b, k += 4) {
            const V v = LoadU(src + columns.offset[b]);
            StoreColumns4(Shuffle8(v, LoadU(columns.windows + 2 * b)), Shuffle8(v, LoadU(columns.windows + 2 * b + 1)), columns, k, line);
        }
        return k;
    }
    for (; columns.safe - k >= 4; k += 4) {
        const auto load = [&](int i) { return Load64(src + columns.index[k + i]); };
        // Bytes of the columns 0 1, 2 3 alternate, then those of all four.
        const V a = UnpackLow8(load(0), load(1)), b = UnpackLow8(load(2), load(3));
        StoreColumns4(UnpackLow16(a, b), UnpackHigh16(a, b), columns, k, line);
    }
    return k;
}

template <int channels>
Vek32s RowBlocksPixels(const Vek8u* src, const Columns& columns, Vek32f* line)
{
    Vek32s k = 0;
    for (; k < columns.safe; ++k) {
        const Vek8u* const s = src + columns.index[k];
        F sum = ZeroF();
        for (int t = 0; t < kTaps; ++t) {
            const F product = Mul(SplatF(columns.c[t][k]), ToFloat(WidenLow8uTo32(Load32(s + t * channels))));
            sum = t == 0 ? product : Add(sum, product);
        }
        StoreU(line + (int64_t)k * channels, sum);
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
        for (int c = 0; c < channels; ++c) {
            Vek32f sum = columns.c[0][k] * s[c];
            for (int t = 1; t < kTaps; ++t)
                sum += columns.c[t][k] * s[c + t * channels];
            line[(int64_t)k * channels + c] = sum;
        }
    }
}

// One column of floats, without the zeros of moved taps, whose samples may be no numbers.
Vek32f ResampleFloat(const Vek8u* src, const Columns& columns, Vek32s k)
{
    const int from = columns.behind[k], to = kTaps - columns.before[k];
    const auto product = [&](int t) { return columns.c[t][k] * Get((const Vek32f*)(src + columns.index[k] + t * (int)sizeof(Vek32f))); };
    Vek32f sum = product(from);
    for (int t = from + 1; t < to; ++t)
        sum += product(t);
    return sum;
}

void ResampleFloats(const Vek8u* src, const Columns& columns, Vek32f* line)
{
    Vek32s k = 0;
    for (; k < columns.left; ++k)
        line[k] = ResampleFloat(src, columns, k);
    if (kBlocks)
        for (; columns.right - k >= 4; k += 4) {
            const auto at = [&](int i) { return src + columns.index[k + i]; };
            F s0 = AsFloat(LoadU(at(0))), s1 = AsFloat(LoadU(at(1))), s2 = AsFloat(LoadU(at(2))), s3 = AsFloat(LoadU(at(3)));
            Transpose4(s0, s1, s2, s3);
            const F p = AsFloat(LoadHigh64(Load64(at(0) + 16), at(1) + 16)), q = AsFloat(LoadHigh64(Load64(at(2) + 16), at(3) + 16));
            const F s4 = Pick<0, 2, 0, 2>(p, q), s5 = Pick<1, 3, 1, 3>(p, q);
            const auto product = [&](int t, F s) { return Mul(LoadU(columns.c[t] + k), s); };
            F sum = Add(product(0, s0), product(1, s1));
            sum = Add(Add(sum, product(2, s2)), product(3, s3));
            StoreU(line + k, Add(Add(sum, product(4, s4)), product(5, s5)));
        }
    for (; k < columns.count; ++k)
        line[k] = ResampleFloat(src, columns, k);
}

template <typename T>
void Combine(const Vek32f* const rows[kTaps], const Coefficients& c, T* dst, Vek32s count)
{
    const Vek32f *const r0 = rows[0], *const r1 = rows[1], *const r2 = rows[2], *const r3 = rows[3], *const r4 = rows[4], *const r5 = rows[5];
    Vek32s i = 0;
    if (kBlocks) {
        const F c0 = SplatF(c.at[0]), c1 = SplatF(c.at[1]), c2 = SplatF(c.at[2]), c3 = SplatF(c.at[3]), c4 = SplatF(c.at[4]), c5 = SplatF(c.at[5]);
        const auto at = [&](Vek32s j) {
            F sum = Add(Mul(LoadU(r0 + j), c0), Mul(LoadU(r1 + j), c1));
            sum = Add(Add(sum, Mul(LoadU(r2 + j), c2)), Mul(LoadU(r3 + j), c3));
            return Add(Add(sum, Mul(LoadU(r4 + j), c4)), Mul(LoadU(r5 + j), c5));
        };
        for (; count - i >= 8; i += 8)
            PutSamples8(dst + i, at(i), at(i + 4));
    }
    for (; i < count; ++i) {
        Vek32f sum = r0[i] * c.at[0];
        for (int t = 1; t < kTaps; ++t)
            sum += rows[t][i] * c.at[t];
        PutSample(dst + i, sum);
    }
}

// Which rows the six taps of destination rows are. What stands above the first is settled once, by where
// the region starts; from there on rows move up and new ones follow below.
class TapRows {
public:
    TapRows(const Axis& axis, Vek32s first) : top_(-axis.origin), last_(axis.last()), at_(first)
    {
        row[0] = InImage(axis.origin == 0 ? first : axis.origin == 1 ? first - 1 : first - 2);
        row[1] = InImage(axis.origin == 0 ? first : first - 1);
        for (int t = 2; t < kTaps; ++t)
            row[t] = InImage(first - 2 + t);
    }
    void Advance(Vek32s to)
    {
        const Vek32s by = Min(to - at_, kTaps);
        for (int t = 0; t < kTaps; ++t)
            row[t] = t + by < kTaps ? row[t + by] : InImage(to - 2 + t);
        at_ = to;
    }
    Vek32s row[kTaps];

private:
    Vek32s InImage(Vek32s r) const { return Clamp(r, top_, last_); }

    Vek32s top_, last_, at_;
};

template <typename T, int channels>
VekStatus LanczosResize(const ResizeJob& job)
{
    constexpr bool kBytes = sizeof(T) == 1;
    constexpr Vek32s kPixel = channels * (Vek32s)sizeof(T);
    const Vek32s width = job.x.length, height = job.y.length;
    const int64_t samples = (int64_t)width * channels, lineLength = samples + kLineSlack;
    const Vek32s windowBlocks = kHasByteShuffle && kBytes && channels == 1 ? width / 4 : 0;
    const Block<Vek32s> yIndex(height), xIndex(width), offset(windowBlocks + 1);
    const Block<Coefficients> yCoefficients(height);
    const Block<Vek32f> xCoefficients(kTaps * (int64_t)width), lines(kTaps * lineLength);
    const Block<Window> windows(2 * (int64_t)windowBlocks + 1);
    const Block<Vek8u> moved(2 * (int64_t)width);
    if (!yIndex || !xIndex || !moved || !offset || !yCoefficients || !xCoefficients || !lines || !windows)
        return StatusNoMemory;

    ForEachPosition(job.y, job.y.shift, [&](Vek32s k, Vek64f p, Vek32s index) {
        const Position at = PositionInReach(job.y, p, index);
        yIndex[k] = at.index;
        yCoefficients[k] = CoefficientsAt(at.fraction);
    });
    Columns columns;
    columns.index = xIndex;
    columns.count = width;
    columns.before = moved;
    columns.behind = moved + width;
    for (int t = 0; t < kTaps; ++t)
        columns.c[t] = xCoefficients + (int64_t)t * width;
    ColumnTable(job.x, kPixel, columns);
    const int64_t first = -(int64_t)job.x.origin * kPixel, limit = ((int64_t)job.x.last() + 1) * kPixel;
    columns.safe = SafeColumns(xIndex, width, channels == 1 ? 8 : 5 * kPixel + 4, limit);
    const Vek32s* const index = xIndex;
    columns.windowBlocks = windowBlocks > 0 && BuildWindows<2>(windowBlocks, first, limit, [=](Vek32s b, int j) {
        return j < 4 * kTaps ? (int64_t)index[4 * b + j % 4] + j / 4 : first - 1;
    }, offset, windows) ? windowBlocks : 0;
    columns.offset = offset;
    columns.windows = windows;

    RowCache<kTaps, Vek32f> rows(lines, lineLength);
    const auto resample = [&](Vek32s row, Vek32f* line) {
        const Vek8u* const src = Row(job.src, job.srcStep, row);
        if constexpr (kBytes)
            ResampleRow<channels>(src, columns, line);
        else
            ResampleFloats(src, columns, line);
    };
    TapRows tapRows(job.y, yIndex[0]);
    for (Vek32s y = 0; y < height; ++y) {
        tapRows.Advance(yIndex[y]);
        const Vek32f* taps[kTaps];
        for (int t = 0; t < kTaps; ++t)
            taps[t] = rows.Fetch(tapRows.row[t], resample);
        Combine(taps, yCoefficients[y], (T*)Row(job.dst, job.dstStep, y), (Vek32s)samples);
    }
    return StatusOk;
}

}  // namespace

const ResizeKernel kLanczosKernels[kSampleKinds] = {LanczosResize<Vek8u, 1>, LanczosResize<Vek8u, 3>, LanczosResize<Vek8u, 4>,
                                                    LanczosResize<Vek32f, 1>};

}  // namespace uvek::VEK_TIER_NAMESPACE
