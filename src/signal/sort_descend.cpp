// Descending sort in place, by a quicksort of fixed steps: where NaNs and zeros of both signs end is what
// its comparisons make of them.
#include "frame/tier.h"
#include "signal/sort_ordered.h"
#include "uvek/signal.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct Elements {
    Vek32f* p;
    Vek32f operator[](Vek32s i) const { return Get(p + i); }
    void Swap(Vek32s i, Vek32s k) const
    {
        const Vek32f a = Get(p + i), b = Get(p + k);
        Put(p + i, b);
        Put(p + k, a);
    }
    void SwapIfLess(Vek32s i, Vek32s k) const
    {
        if (Get(p + i) < Get(p + k))
            Swap(i, k);
    }
};

struct Range {
    Vek32s lo, hi;
    Vek32s length() const { return hi - lo + 1; }
};

constexpr Vek32s kSelected = 9;

// The smallest to the end, the first of equals.
void SortBySelection(Elements x, Range range)
{
    for (Vek32s hi = range.hi; hi > range.lo; --hi) {
        Vek32s smallest = range.lo;
        for (Vek32s i = range.lo + 1; i <= hi; ++i)
            if (x[i] < x[smallest])
                smallest = i;
        x.Swap(smallest, hi);
    }
}

// Splits a range of at least four: all of `left` before all of `right`, and between them elements equal to
// the pivot, which is the median of the first, the middle and the larger of the last two.
void Split(Elements x, Range range, Range& left, Range& right)
{
    const Vek32s lo = range.lo, hi = range.hi, middle = lo + range.length() / 2;
    x.SwapIfLess(hi, hi - 1);  // the smaller to hi - 1
    x.SwapIfLess(lo, middle);
    x.SwapIfLess(middle, hi);
    x.SwapIfLess(lo, middle);

    const Vek32f pivot = x[middle];
    Vek32s i = lo + 1, k = hi;
    for (;;) {
        while (i < k && !(x[i] < pivot))
            ++i;
        while (i < k && x[k] < pivot)
            --k;
        if (i >= k)
            break;
        x.Swap(i, k);
    }
    right = {i, hi};
    left = {lo, i - 1};
    while (left.hi > lo && x[left.hi] == pivot)
        --left.hi;
}

void SortBySteps(Elements x, Vek32s len)
{
    Range stack[64], range = {0, len - 1};
    int depth = 0;
    for (;;) {
        if (range.length() > kSelected) {
            Range left, right;
            Split(x, range, left, right);
            const bool leftIsShorter = left.length() < right.length();
            const Range shorter = leftIsShorter ? left : right, longer = leftIsShorter ? right : left;
            range = longer;
            if (shorter.length() > 1) {
                stack[depth++] = longer;
                range = shorter;
            }
        } else {
            SortBySelection(x, range);
            if (depth == 0)
                return;
            range = stack[--depth];
        }
    }
}

}  // namespace

VekStatus veksSortDescend_32f_I(Vek32f* pSrcDst, Vek32s len)
{
    if (!pSrcDst)  return StatusNullPointer;
    if (len < 1)   return StatusBadSize;
    if (kBlocks && IsTotallyOrdered(pSrcDst, len))
        SortOrdered(pSrcDst, len, [](Vek32f* p, Vek32s n) { SortBySteps({p}, n); });
    else
        SortBySteps({pSrcDst}, len);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
