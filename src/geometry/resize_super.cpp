// Area averaging: the source rows of a destination row are added up with the share that each has in it,
// then the columns.
#include "geometry/resize.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// A source pixel cut by the border between two destination pixels gives `tail` of itself to the first and
// the rest to the second. Sums in single precision take shares that were multiplied in double.
inline Vek32f Share(Vek64f sample, Vek64f share)
{
    return (Vek32f)(sample * share);
}

inline F Share(F samples, D share)
{
    return LowHalves(ToFloatLow(Mul(ToDoubleLow(samples), share)), ToFloatLow(Mul(ToDoubleHigh(samples), share)));
}

// Rounded down. No more than two lengths of a region ever make a pixel: the bound is beyond use.
Vek32s Whole(Vek64f v)
{
    return (Vek32s)Min(floor(v), (Vek64f)(1 << 30));
}

// The source pixels of a destination pixel: the rest of a cut one (head is 0 when there is none), whole
// ones, and a part of the next (tail, or 0).
struct Span {
    Vek32s first;
    Vek32s whole;
    Vek64f head, tail;

    Vek32s end() const { return first + (head > 0) + whole + (tail > 0); }
};

// Destination pixels in a row, at `scale` source pixels to each.
class SpanWalk {
public:
    explicit SpanWalk(Vek64f scale) : scale_(scale), at_(0), cut_(scale - floor(scale)) {}
    Span First()
    {
        at_ = Whole(scale_);
        return {0, at_, 0, cut_};
    }
    Span Next()
    {
        const Vek64f rest = 1 - cut_, left = scale_ - rest, whole = floor(kPositionSlack + left);
        cut_ = left - whole;
        const Span span = {at_, Whole(whole), rest > kPositionSlack ? rest : 0, cut_ > kPositionSlack ? cut_ : 0};
        at_ += (span.head > 0) + span.whole;
        return span;
    }
    Vek32s at() const { return at_; }

private:
    Vek64f scale_;
    Vek32s at_;
    Vek64f cut_;
};

// Rows from `base` on, of which those from `limit` on are the one before it.
struct Rows {
    const Vek8u* base;
    Vek32s step;
    Vek32s limit;

    const Vek8u* operator[](Vek32s y) const { return Row(base, step, Min(y, limit - 1)); }
};

F LoadSamples(const Vek8u* row, const Vek8u*, Vek32s i) { return ToFloat(WidenLow8uTo32(Load32(row + i))); }
F LoadSamples(const Vek8u* row, const Vek32f*, Vek32s i) { return AsFloat(LoadU(row + (int64_t)i * (int)sizeof(Vek32f))); }
Vek32f LoadSample(const Vek8u* row, const Vek8u*, Vek32s i) { return row[i]; }
Vek32f LoadSample(const Vek8u* row, const Vek32f*, Vek32s i) { return Get((const Vek32f*)row + i); }

// Sixteen sums at a time stay in registers over all rows.
template <typename T>
void AddRows(const Rows& rows, const Span& span, Vek32f* sums, Vek32s count)
{
    constexpr const T* kType = nullptr;
    const Vek32s firstWhole = span.first + (span.head > 0), endWhole = firstWhole + span.whole;
    Vek32s i = 0;
    if (kBlocks)
        for (; count - i >= 16; i += 16) {
            F s0 = ZeroF(), s1 = ZeroF(), s2 = ZeroF(), s3 = ZeroF();
            const auto add = [&](Vek32s y, auto shareOf) {
                const Vek8u* const row = rows[y];
                s0 = Add(s0, shareOf(LoadSamples(row, kType, i)));
                s1 = Add(s1, shareOf(LoadSamples(row, kType, i + 4)));
                s2 = Add(s2, shareOf(LoadSamples(row, kType, i + 8)));
                s3 = Add(s3, shareOf(LoadSamples(row, kType, i + 12)));
            };
            if (span.head > 0)
                add(span.first, [&](F v) { return Share(v, SplatD(span.head)); });
            for (Vek32s y = firstWhole; y < endWhole; ++y)
                add(y, [](F v) { return v; });
            if (span.tail > 0)
                add(endWhole, [&](F v) { return Share(v, SplatD(span.tail)); });
            StoreU(sums + i, s0);
            StoreU(sums + i + 4, s1);
            StoreU(sums + i + 8, s2);
            StoreU(sums + i + 12, s3);
        }
    for (; i < count; ++i) {
        Vek32f sum = 0;
        if (span.head > 0)
            sum += Share(LoadSample(rows[span.first], kType, i), span.head);
        for (Vek32s y = firstWhole; y < endWhole; ++y)
            sum += LoadSample(rows[y], kType, i);
        if (span.tail > 0)
            sum += Share(LoadSample(rows[endWhole], kType, i), span.tail);
        sums[i] = sum;
    }
}

// Whole rows of bytes in integers. 16-bit lanes hold 256 rows; more go in portions.
void AddWholeRows(const Rows& rows, Vek32s first, Vek32s whole, Vek32s* sums, Vek32s count)
{
    constexpr Vek32s kPortion = 256;
    Vek32s i = 0;
    if (kBlocks)
        for (; count - i >= 16; i += 16)
            for (Vek32s y = 0; y < whole; y += kPortion) {
                V a = Zero(), b = Zero();
                const Vek32s end = Min(kPortion, whole - y);
                for (Vek32s r = 0; r < end; ++r) {
                    const V v = LoadU(rows[first + y + r] + i);
                    a = Add16(a, WidenLow8u(v));
                    b = Add16(b, WidenHigh8u(v));
                }
                const V quarters[4] = {WidenLow16u(a), WidenHigh16u(a), WidenLow16u(b), WidenHigh16u(b)};
                for (int q = 0; q < 4; ++q)
                    StoreU(sums + i + 4 * q, y == 0 ? quarters[q] : Add32(quarters[q], LoadU(sums + i + 4 * q)));
            }
    for (; i < count; ++i) {
        Vek32u sum = 0;
        for (Vek32s y = 0; y < whole; ++y)
            sum += rows[first + y][i];
        sums[i] = (Vek32s)sum;
    }
}

void PutMean(Vek8u* p, Vek64f v) { *p = (Vek8u)(int64_t)(v + 0.5); }
void PutMean(Vek32f* p, Vek64f v) { Put(p, (Vek32f)v); }

template <typename T, int channels>
void SumWholeColumns(const Vek32s* sums, Vek32s whole, Vek64f scale, T* dst, Vek32s width)
{
    for (Vek32s k = 0; k < width; ++k)
        for (int c = 0; c < channels; ++c) {
            const Vek32s* from = sums + (int64_t)k * whole * channels + c;
            int64_t sum = 0;
            for (Vek32s i = 0; i < whole; ++i, from += channels)
                sum += *from;
            PutMean(dst + (int64_t)k * channels + c, (Vek64f)sum * scale);
        }
}

template <typename T>
void PutPixel(T* dst, F sums, Vek64f scale, int channels)
{
    const D low = Mul(ToDoubleLow(sums), SplatD(scale)), high = Mul(ToDoubleHigh(sums), SplatD(scale));
    PutMean(dst, LowD(low));
    PutMean(dst + 1, HighD(low));
    PutMean(dst + 2, LowD(high));
    if (channels == 4)
        PutMean(dst + 3, HighD(high));
}

template <typename T, int channels>
void SumColumns(const Vek32f* sums, const Span* spans, Vek64f scale, T* dst, Vek32s width)
{
    for (Vek32s k = 0; k < width; ++k, dst += channels) {
        const Span& span = spans[k];
        const Vek32f* from = sums + (int64_t)span.first * channels;
        if (kBlocks && channels > 1) {  // a register holds the pixel, and at three channels one sample more
            F sum = ZeroF();
            if (span.head > 0) {
                sum = Share(LoadU(from), SplatD(span.head));
                from += channels;
            }
            for (Vek32s i = 0; i < span.whole; ++i, from += channels)
                sum = Add(sum, LoadU(from));
            if (span.tail > 0)
                sum = Add(sum, Share(LoadU(from), SplatD(span.tail)));
            PutPixel(dst, sum, scale, channels);
            continue;
        }
        for (int c = 0; c < channels; ++c) {
            const Vek32f* at = from + c;
            Vek32f sum = 0;
            if (span.head > 0) {
                sum = Share(*at, span.head);
                at += channels;
            }
            for (Vek32s i = 0; i < span.whole; ++i, at += channels)
                sum += *at;
            if (span.tail > 0)
                sum += Share(*at, span.tail);
            PutMean(dst + c, (Vek64f)sum * scale);
        }
    }
}

// Which columns of sums make the destination columns. Sums beyond the region's columns are needed only
// where a region is stretched to one pixel.
void ColumnSpans(Vek64f scale, bool whole, Vek32s columns, Vek32s width, Span* spans)
{
    const Vek32s n = Whole(scale);
    if (whole) {
        for (Vek32s k = 0; k < width; ++k)
            spans[k] = {k * n, n, 0, 0};
        return;
    }
    SpanWalk walk(scale);
    spans[0] = walk.First();
    Vek32s k = 1;
    for (; k < width && walk.at() < columns - n; ++k) {
        spans[k] = walk.Next();
        if (spans[k].tail > 0 && walk.at() >= columns)
            spans[k].tail = 0;
    }
    // Rounding can end the columns one destination pixel early; that one is what stands in the row of sums.
    for (; k < width; ++k)
        spans[k] = {k, 1, 0, 0};
}

// Halves of bytes, the whole number of rows and columns there is most use for.
template <int channels>
Vek32s HalveRow(const Vek8u* a, const Vek8u* b, Vek8u* dst, Vek32s width)
{
    // The two pixels of each sum side by side; at three channels from 12 bytes.
    const V pairs = channels == 3   ? Lanes8(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, 128, 128, 128, 128)
                    : channels == 4 ? Lanes8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15)
                                    : Zero();
    const V one = Splat8(1), two = Splat16(2);
    const auto sums = [&](const Vek8u* from) {
        const V v = LoadU(from);
        return MulAdd8us(channels == 1 ? v : Shuffle8(v, pairs), one);
    };
    const auto means = [&](Vek32s i) { return ShiftRight16u<2>(Add16(Add16(sums(a + i), sums(b + i)), two)); };
    Vek32s k = 0;
    if constexpr (channels == 1) {
        for (; width - k >= 16; k += 16)
            StoreU(dst + k, Pack16sTo8u(means(2 * k), means(2 * k + 16)));
    } else if constexpr (channels == 4) {
        for (; width - k >= 4; k += 4)
            StoreU(dst + 4 * k, Pack16sTo8u(means(8 * k), means(8 * k + 16)));
    } else {
        // Four pixels, 12 bytes, of two loads of which the second reads 4 bytes more; the row goes on.
        for (; width - k >= 5; k += 4) {
            const V v = Pack16sTo8u(means(6 * k), means(6 * k + 12));
            Store64(dst + 3 * k, v);
            StoreHigh64(dst + 3 * k + 6, v);
        }
    }
    return k;
}

template <int channels>
void Halve(const SuperSampleJob& job)
{
    for (Vek32s y = 0; y < job.size.height; ++y) {
        const Vek8u *const a = Row(job.src, job.srcStep, 2 * y), *const b = Row(job.src, job.srcStep, 2 * y + 1);
        Vek8u* const dst = Row(job.dst, job.dstStep, y);
        for (Vek32s k = HalveRow<channels>(a, b, dst, job.size.width); k < job.size.width; ++k)
            for (int c = 0; c < channels; ++c) {
                const Vek32s i = 2 * k * channels + c;
                dst[k * channels + c] = (Vek8u)((a[i] + a[i + channels] + b[i] + b[i + channels] + 2) >> 2);
            }
    }
}

// A row of sums behind the image: the last column again, up to those that count, and behind them that or nothing.
template <int channels, typename Sum>
void Extend(Sum* sums, Vek32s have, Vek32s counted, Vek32s used, bool repeat)
{
    for (int64_t i = (int64_t)have * channels; i < (int64_t)used * channels; ++i)
        sums[i] = repeat || i < (int64_t)counted * channels ? sums[i - channels] : (Sum)0;
}

template <typename T, int channels>
VekStatus Super(const SuperSampleJob& job)
{
    constexpr bool kBytes = sizeof(T) == 1;
    const Vek32s width = job.size.width, height = job.size.height;
    const Vek64f ix = 1 / job.xFactor, iy = 1 / job.yFactor, scale = job.xFactor * job.yFactor;
    const bool wholeX = ix - trunc(ix) < kPositionSlack, wholeY = iy - trunc(iy) < kPositionSlack;
    const Vek32s rowsEach = Whole(iy);

    if constexpr (kBytes && kBlocks) {
        const bool inside = 2 * (int64_t)width <= Min(job.columns, job.limitX) && 2 * (int64_t)height <= job.limitY;
        if ((channels == 1 || kHasByteShuffle) && job.xFactor == 0.5 && job.yFactor == 0.5 && inside) {
            Halve<channels>(job);
            return StatusOk;
        }
    }

    const Block<Span> spans(width);
    if (!spans)
        return StatusNoMemory;
    ColumnSpans(ix, wholeX, job.columns, width, spans);
    Vek32s used = 0;
    for (Vek32s k = 0; k < width; ++k)
        used = Max(used, spans[k].end());
    const Vek32s counted = Min(job.columns, used), have = Min(counted, job.limitX);
    const bool repeat = !wholeX || wholeY;  // whole columns under cut rows end with those that count
    const Block<Vek32f> sums((int64_t)used * channels + kLineSlack);
    if (!sums)
        return StatusNoMemory;

    SpanWalk walk(iy);
    for (Vek32s y = 0; y < height; ++y) {
        const Span span = wholeY ? Span{y * rowsEach, rowsEach, 0, 0} : y == 0 ? walk.First() : walk.Next();
        const Rows rows = {job.src, job.srcStep, job.limitY};
        T* const dst = (T*)Row(job.dst, job.dstStep, y);
        if (kBytes && wholeX && wholeY) {
            Vek32s* const integers = (Vek32s*)(void*)(Vek32f*)sums;
            AddWholeRows(rows, span.first, span.whole, integers, have * channels);
            Extend<channels>(integers, have, counted, used, repeat);
            SumWholeColumns<T, channels>(integers, spans[0].whole, scale, dst, width);
        } else {
            AddRows<T>(rows, span, sums, have * channels);
            Extend<channels>((Vek32f*)sums, have, counted, used, repeat);
            SumColumns<T, channels>(sums, spans, scale, dst, width);
        }
    }
    return StatusOk;
}

}  // namespace

VekStatus SuperSample(const SuperSampleJob& job, SampleKind kind)
{
    switch (kind) {
    case SampleKind::BytesC1: return Super<Vek8u, 1>(job);
    case SampleKind::BytesC3: return Super<Vek8u, 3>(job);
    case SampleKind::BytesC4: return Super<Vek8u, 4>(job);
    default:                  return Super<Vek32f, 1>(job);
    }
}

}  // namespace uvek::VEK_TIER_NAMESPACE
