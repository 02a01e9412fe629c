// The window median. Small windows go through networks of minima and maxima, others through a
// histogram that slides along the row.
#include "filter/median_networks.h"
#include "image/copy.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- Networks ----

// The median of `count` samples that stand `stride` bytes apart, at each place of a row.
template <int count>
void LineMedianRow(const Vek8u* src, int64_t stride, Vek8u* dst, Vek32s width)
{
    Vek32s x = 0;
    if (kBlocks && width >= 16)
        for (; x < width; x += 16) {
            x = Min(x, width - 16);
            V v[count];
            for (int i = 0; i < count; ++i)
                v[i] = LoadU(Offset(src + x, i * stride));
            StoreU(dst + x, MedianOf(v));
        }
    for (; x < width; ++x) {
        Vek8u v[count];
        for (int i = 0; i < count; ++i)
            v[i] = *Offset(src + x, i * stride);
        dst[x] = MedianOf(v);
    }
}

// Blocks of sorted columns along a row: each is sorted once, and serves the windows of its neighbours.
// `here` starts with column x, `next` with column x + 16; both hold what windows of `reach` columns more
// than one need, and nothing past them is read.
template <typename Columns, int reach, typename Emit>
inline void WalkColumns(Vek32s width, Emit emit, const Vek8u* src, int64_t step)
{
    Columns here = Columns::Sort(src, step);
    for (Vek32s x = 0;;) {
        const bool whole = width + (int64_t)reach - x >= 32;
        const Columns next = whole ? Columns::Sort(src + x + 16, step) : Columns::template Down<16 - reach>(Columns::Sort(src + x + reach, step));
        emit(x, here, next);
        const Vek32s last = width - 16;
        if (x == last)
            break;
        if (last - x >= 16) {
            x += 16;
            here = next;
        } else {
            x = last;
            here = Columns::Sort(src + x, step);
        }
    }
}

struct Columns3 {
    Sorted3<Block> v;

    static Columns3 Sort(const Vek8u* p, int64_t step) { return {SortColumn3<Block>(p, step)}; }

    template <int n>
    static Columns3 Down(const Columns3& a) { return {{BytesDown<n>(a.v.low), BytesDown<n>(a.v.middle), BytesDown<n>(a.v.high)}}; }

    template <int n>
    static Sorted3<Block> Shifted(const Columns3& a, const Columns3& b)
    {
        return {Concat<n>(a.v.low, b.v.low), Concat<n>(a.v.middle, b.v.middle), Concat<n>(a.v.high, b.v.high)};
    }
};

void Median3x3Row(const Vek8u* src, int64_t step, Vek8u* dst, Vek32s width)
{
    if (kBlocks && width >= 16) {
        WalkColumns<Columns3, 2>(width, [&](Vek32s x, const Columns3& a, const Columns3& b) {
            StoreU(dst + x, MedianOf(a.v, Columns3::Shifted<1>(a, b), Columns3::Shifted<2>(a, b)));
        }, src, step);
        return;
    }
    Sorted3<Sample> left = SortColumn3<Sample>(src, step), middle = SortColumn3<Sample>(src + 1, step);
    for (Vek32s x = 0; x < width; ++x) {
        const Sorted3<Sample> right = SortColumn3<Sample>(src + x + 2, step);
        dst[x] = MedianOf(left, middle, right);
        left = middle;
        middle = right;
    }
}

struct Columns4 {
    V v[4];

    static Columns4 Sort(const Vek8u* p, int64_t step)
    {
        Columns4 c = {{LoadU(p), LoadU(Offset(p, step)), LoadU(Offset(p, 2 * step)), LoadU(Offset(p, 3 * step))}};
        SortColumn4(c.v);
        return c;
    }

    template <int n>
    static Columns4 Down(const Columns4& a)
    {
        return {{BytesDown<n>(a.v[0]), BytesDown<n>(a.v[1]), BytesDown<n>(a.v[2]), BytesDown<n>(a.v[3])}};
    }

    template <int n>
    static void Shift(const Columns4& a, const Columns4& b, V (&w)[20])
    {
        w[n] = Concat<n>(a.v[0], b.v[0]);
        w[5 + n] = Concat<n>(a.v[1], b.v[1]);
        w[10 + n] = Concat<n>(a.v[2], b.v[2]);
        w[15 + n] = Concat<n>(a.v[3], b.v[3]);
    }
};

inline V MedianWithRow(const V (&w)[20], const Vek8u* row)
{
    V five[5] = {LoadU(row), LoadU(row + 1), LoadU(row + 2), LoadU(row + 3), LoadU(row + 4)};
    SortRow5(five);
    return MedianOf(w, five);
}

// One destination row, or two: the windows of the second reach one source row further down.
template <bool two>
void Median5x5Rows(const Vek8u* src, int64_t step, Vek8u* dst, int64_t dstStep, Vek32s width)
{
    const Vek8u* bottom = Offset(src, 5 * step);
    WalkColumns<Columns4, 4>(width, [&](Vek32s x, const Columns4& a, const Columns4& b) {
        V w[20];
        w[0] = a.v[0];
        w[5] = a.v[1];
        w[10] = a.v[2];
        w[15] = a.v[3];
        Columns4::Shift<1>(a, b, w);
        Columns4::Shift<2>(a, b, w);
        Columns4::Shift<3>(a, b, w);
        Columns4::Shift<4>(a, b, w);
        SortMiddleSix(w);
        StoreU(dst + x, MedianWithRow(w, src + x));
        if constexpr (two)
            StoreU(Offset(dst, dstStep) + x, MedianWithRow(w, bottom + x));
    }, Offset(src, step), step);
}

void Median5x5(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size)
{
    Vek32s y = 0;
    if (dstStep >= size.width)  // else rows overlap, and the later one stays
        for (; size.height - y >= 2; y += 2)
            Median5x5Rows<true>(Row(src, srcStep, y), srcStep, Row(dst, dstStep, y), dstStep, size.width);
    for (; y < size.height; ++y)
        Median5x5Rows<false>(Row(src, srcStep, y), srcStep, Row(dst, dstStep, y), dstStep, size.width);
}

// ---- Histogram ----

// bins: all zero, before and after.
void MedianHistogramRow(const Vek8u* src, int64_t step, Vek8u* dst, Vek32s width, VekImageSize mask, Vek32s* bins)
{
    const int64_t rank = ((int64_t)mask.width * mask.height >> 1) + 1;
    for (Vek32s m = 0; m < mask.height; ++m)
        for (Vek32s n = 0; n < mask.width; ++n)
            ++bins[Offset(src, m * step)[n]];
    Vek32s median = 0;
    int64_t count = bins[0];  // of samples up to the median
    while (count < rank)
        count += bins[++median];
    for (Vek32s x = 0;; ++x) {
        dst[x] = (Vek8u)median;
        if (x + 1 == width)
            break;
        const Vek8u* out = src + x;
        for (Vek32s m = 0; m < mask.height; ++m, out = Offset(out, step)) {
            const Vek32s old = out[0], entering = out[mask.width];
            --bins[old];
            ++bins[entering];
            count += (entering <= median) - (old <= median);
        }
        if (count < rank) {
            while (count < rank)
                count += bins[++median];
        } else {
            while (count - bins[median] >= rank)
                count -= bins[median--];
        }
    }
    for (Vek32s m = 0; m < mask.height; ++m)
        for (Vek32s n = 0; n < mask.width; ++n)
            bins[Offset(src, m * step)[(int64_t)width - 1 + n]] = 0;
}

void MedianHistogram(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size, VekImageSize mask)
{
    Vek32s bins[256] = {};
    for (Vek32s y = 0; y < size.height; ++y)
        MedianHistogramRow(Row(src, srcStep, y), srcStep, Row(dst, dstStep, y), size.width, mask, bins);
}

constexpr bool Is(VekImageSize mask, Vek32s width, Vek32s height) { return mask.width == width && mask.height == height; }

}  // namespace

VekStatus vekiFilterMedian_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                                  VekImageSize maskSize, VekPoint anchor)
{
    if (!pSrc || !pDst)                                  return StatusNullPointer;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)   return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)                      return StatusBadStep;
    if (maskSize.width < 1 || maskSize.height < 1 || maskSize.width % 2 == 0 || maskSize.height % 2 == 0)
        return StatusBadMaskSize;
    if (anchor.x < 0 || anchor.x >= maskSize.width || anchor.y < 0 || anchor.y >= maskSize.height)
        return StatusBadAnchor;

    const Vek8u* src = Offset(pSrc, -(int64_t)anchor.y * srcStep - anchor.x);
    if (Is(maskSize, 1, 1)) {
        CopyRegion(src, srcStep, pDst, dstStep, dstRoiSize.width, dstRoiSize.height, 1);
        return StatusOk;
    }
    if (kBlocks && Is(maskSize, 5, 5) && dstRoiSize.width >= 16) {
        Median5x5(src, srcStep, pDst, dstStep, dstRoiSize);
        return StatusOk;
    }
    const auto row = Is(maskSize, 3, 3) ? Median3x3Row : nullptr;
    const auto line = Is(maskSize, 3, 1) || Is(maskSize, 1, 3) ? LineMedianRow<3>
        : Is(maskSize, 5, 1) || Is(maskSize, 1, 5) ? LineMedianRow<5>
        : nullptr;
    if (!row && !line) {
        MedianHistogram(src, srcStep, pDst, dstStep, dstRoiSize, maskSize);
        return StatusOk;
    }
    for (Vek32s y = 0; y < dstRoiSize.height; ++y)
        if (row)
            row(Row(src, srcStep, y), srcStep, Row(pDst, dstStep, y), dstRoiSize.width);
        else
            line(Row(src, srcStep, y), maskSize.height == 1 ? 1 : srcStep, Row(pDst, dstStep, y), dstRoiSize.width);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
