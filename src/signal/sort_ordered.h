// Descending sort where equal elements are the same bits, so that there is one result and any way to it
// will do: a quicksort without branches on the elements.
#ifndef UVEK_SIGNAL_SORT_ORDERED_H
#define UVEK_SIGNAL_SORT_ORDERED_H

#include "frame/simd_float.h"

namespace uvek::VEK_TIER_NAMESPACE {

// No NaN, and not zeros of both signs.
inline bool IsTotallyOrdered(const Vek32f* p, Vek32s len)
{
    F plus = ZeroF(), minus = ZeroF(), unordered = ZeroF();
    const auto look = [&](F v) {
        const F zero = Equal(v, ZeroF());
        plus = Or(plus, AndNot(v, zero));
        minus = Or(minus, And(v, zero));
        unordered = Or(unordered, Unordered(v, v));
    };
    Vek32s i = 0;
    for (; len - i >= 4; i += 4)
        look(LoadU(p + i));
    for (; i < len; ++i)
        look(SplatF(Get(p + i)));
    return MoveMask(unordered) == 0 && (MoveMask(plus) == 0 || MoveMask(minus) == 0);
}

constexpr Vek32s kRanked = 16;

// Up to 16 elements: each goes to the place that the count of those before it gives. An element comes before
// another when it is larger, or equal and earlier.
inline void SortByRank(Vek32f* p, Vek32s len)
{
    alignas(16) Vek32f x[kRanked];
    alignas(16) Vek32s rank[kRanked];
    for (Vek32s i = 0; i < len; ++i)
        x[i] = Get(p + i);
    for (Vek32s i = len; i < kRanked; ++i)
        x[i] = -__builtin_inff();

    F v[4];
    V ranks[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
        v[k] = LoadA(x + 4 * k);
        ranks[k] = Zero();
    }
    const F later[] = {AsFloat(Lanes32(0, -1, -1, -1)), AsFloat(Lanes32(0, 0, -1, -1)), AsFloat(Lanes32(0, 0, 0, -1)), ZeroF()};
#pragma GCC unroll 4
    for (int part = 0; part < 4; ++part) {
#pragma GCC unroll 4
        for (int lane = 0; lane < 4; ++lane) {
            const F one = SplatF(x[4 * part + lane]);
#pragma GCC unroll 4
            for (int k = 0; k < 4; ++k) {
                const F before = k < part ? Less(v[k], one)
                               : k > part ? LessEqual(v[k], one)
                                          : Or(Less(v[k], one), And(Equal(v[k], one), later[lane]));
                ranks[k] = Sub32(ranks[k], AsInt(before));
            }
        }
    }
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k)
        StoreA(rank + 4 * k, ranks[k]);
    for (Vek32s i = 0; i < len; ++i)
        Put(p + rank[i], x[i]);
}

// The elements that go before the pivot to the front; how many there are.
template <bool equalsToo>
inline Vek32s Partition(Vek32f* p, Vek32s len, Vek32f pivot)
{
    Vek32s front = 0;
    for (Vek32s i = 0; i < len; ++i) {
        const Vek32f x = Get(p + i);
        Put(p + i, Get(p + front));
        Put(p + front, x);
        front += equalsToo ? x >= pivot : x > pivot;
    }
    return front;
}

inline Vek32f Median(Vek32f a, Vek32f b, Vek32f c)
{
    const Vek32f low = Min(a, b), high = Max(a, b);
    return Max(low, Min(high, c));
}

inline Vek32f ChoosePivot(const Vek32f* p, Vek32s len)
{
    const auto median3 = [=](int64_t i, int64_t step) { return Median(Get(p + i), Get(p + i + step), Get(p + i + 2 * step)); };
    const Vek32s ninth = len / 9;
    if (len < 128)
        return median3(len / 4, len / 4);
    return Median(median3(0, ninth), median3(3 * (int64_t)ninth, ninth), median3(6 * (int64_t)ninth, ninth));
}

// `fallback` sorts a part that the choice of pivots keeps failing on.
template <typename Sort>
inline void SortOrdered(Vek32f* p, Vek32s len, Sort fallback)
{
    struct Part {
        Vek32f* p;
        Vek32s len;
        int splitsLeft;
    };
    int splits = 8;
    for (Vek32s n = len; n > 0; n /= 2)
        splits += 2;
    Part stack[64], part = {p, len, splits};
    int depth = 0;
    for (;;) {
        if (part.len <= kRanked || part.splitsLeft == 0) {
            part.len <= kRanked ? SortByRank(part.p, part.len) : fallback(part.p, part.len);
            if (depth == 0)
                return;
            part = stack[--depth];
            continue;
        }
        const Vek32f pivot = ChoosePivot(part.p, part.len);
        const Vek32s larger = Partition<false>(part.p, part.len, pivot);
        if (larger == 0) {  // the pivot is the largest: those that equal it are done
            const Vek32s equal = Partition<true>(part.p, part.len, pivot);
            part = {part.p + equal, part.len - equal, part.splitsLeft - 1};
            continue;
        }
        const Part front = {part.p, larger, part.splitsLeft - 1};
        const Part back = {part.p + larger, part.len - larger, part.splitsLeft - 1};
        const bool frontIsShorter = front.len < back.len;
        stack[depth++] = frontIsShorter ? back : front;
        part = frontIsShorter ? front : back;
    }
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
