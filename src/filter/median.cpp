// The window median. Small windows go through networks of minima and maxima, others through a
// histogram that slides along the row.
#include "filter/copy_region.h"
#include "filter/median_networks.h"
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

template <int n>
Sorted3<Block> Shifted(const Sorted3<Block>& a, const Sorted3<Block>& b)
{
    return {Concat<n>(a.low, b.low), Concat<n>(a.middle, b.middle), Concat<n>(a.high, b.high)};
}

// Every column is sorted once, and serves three windows.
void Median3x3Row(const Vek8u* src, int64_t step, Vek8u* dst, Vek32s width)
{
    Vek32s x = 0;
    if (kBlocks && width >= 16) {
        if (width >= 30) {
            Sorted3<Block> here = SortColumn3<Block>(src, step);
            for (; width - x >= 30; x += 16) {
                const Sorted3<Block> next = SortColumn3<Block>(src + x + 16, step);
                StoreU(dst + x, MedianOf(here, Shifted<1>(here, next), Shifted<2>(here, next)));
                here = next;
            }
        }
        for (; x < width; x += 16) {
            x = Min(x, width - 16);
            StoreU(dst + x, MedianOf(SortColumn3<Block>(src + x, step), SortColumn3<Block>(src + x + 1, step),
                                     SortColumn3<Block>(src + x + 2, step)));
        }
    }
    if (x < width) {
        Sorted3<Sample> left = SortColumn3<Sample>(src + x, step), middle = SortColumn3<Sample>(src + x + 1, step);
        for (; x < width; ++x) {
            const Sorted3<Sample> right = SortColumn3<Sample>(src + x + 2, step);
            dst[x] = MedianOf(left, middle, right);
            left = middle;
            middle = right;
        }
    }
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
        CopyRegion(src, srcStep, pDst, dstStep, dstRoiSize);
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
