// Extremes, sum, mean and deviation of vectors of singles. Sums stand in doubles.
#include "frame/simd_float.h"
#include "uvek/signal.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- Extremes ----

struct Larger {
    F operator()(F v, F best) const { return Max(v, best); }
    Vek32f operator()(Vek32f v, Vek32f best) const { return v > best ? v : best; }
};

struct Smaller {
    F operator()(F v, F best) const { return Min(v, best); }
    Vek32f operator()(Vek32f v, Vek32f best) const { return v < best ? v : best; }
};

Vek32f FirstZero(const Vek32f* src, Vek32s len)
{
    Vek32s i = 0;
    for (; len - i >= 4 && MoveMask(Equal(LoadU(src + i), ZeroF())) == 0; i += 4) {}
    while (Get(src + i) != 0)
        ++i;
    return Get(src + i);
}

// The first element stands until a later one is beyond it, so a NaN in front stays and others count
// for nothing. Lanes lose the order of the elements, which shows in one case: a result of zero has the
// sign of the first zero.
template <typename Better>
VekStatus Extreme(const Vek32f* pSrc, Vek32s len, Vek32f* pResult, Better better)
{
    if (!pSrc || !pResult)  return StatusNullPointer;
    if (len < 1)            return StatusBadSize;

    Vek32f best = Get(pSrc);
    Vek32s i = 1;
    if (kBlocks && best == best && len >= 16) {
        F a = SplatF(best), b = a, c = a, d = a;
        for (i = 0; len - i >= 16; i += 16) {
            a = better(LoadU(pSrc + i), a);
            b = better(LoadU(pSrc + i + 4), b);
            c = better(LoadU(pSrc + i + 8), c);
            d = better(LoadU(pSrc + i + 12), d);
        }
        Vek32f lanes[4];
        StoreU(lanes, better(better(a, b), better(c, d)));
        best = better(better(lanes[0], lanes[1]), better(lanes[2], lanes[3]));
    }
    for (; i < len; ++i)
        best = better(Get(pSrc + i), best);
    Put(pResult, kBlocks && best == 0 ? FirstZero(pSrc, len) : best);
    return StatusOk;
}

// ---- Sums ----

struct Sums {
    Vek64f values, squares;
};

// Two running sums, for even and for odd positions.
Vek64f SumInOrder(const Vek32f* src, Vek32s len)
{
    Vek64f even = 0, odd = 0;
    Vek32s i = 0;
    for (; len - i >= 4; i += 4) {
        even += Get(src + i);
        odd += Get(src + i + 1);
        even += Get(src + i + 2);
        odd += Get(src + i + 3);
    }
    for (; i < len; ++i)
        (i & 1 ? odd : even) += Get(src + i);
    return even + odd;
}

// Eight running sums.
Vek64f SumInLanes(const Vek32f* src, Vek32s len)
{
    D a = ZeroD(), b = a, c = a, d = a;
    Vek32s i = 0;
    for (; len - i >= 8; i += 8) {
        const F v = LoadU(src + i), w = LoadU(src + i + 4);
        a = Add(a, ToDoubleLow(v));
        b = Add(b, ToDoubleHigh(v));
        c = Add(c, ToDoubleLow(w));
        d = Add(d, ToDoubleHigh(w));
    }
    const D pair = Add(Add(a, c), Add(b, d));
    return LowD(pair) + HighD(pair) + SumInOrder(src + i, len - i);
}

Vek64f SumOf(const Vek32f* src, Vek32s len)
{
    return kBlocks ? SumInLanes(src, len) : SumInOrder(src, len);
}

Sums SumsOf(const Vek32f* src, Vek32s len)
{
    Sums sums = {0, 0};
    Vek32s i = 0;
    if (kBlocks) {
        D s0 = ZeroD(), s1 = s0, q0 = s0, q1 = s0;
        for (; len - i >= 4; i += 4) {
            const F v = LoadU(src + i);
            const D low = ToDoubleLow(v), high = ToDoubleHigh(v);
            s0 = Add(s0, low);
            s1 = Add(s1, high);
            q0 = Add(q0, Mul(low, low));
            q1 = Add(q1, Mul(high, high));
        }
        const D s = Add(s0, s1), q = Add(q0, q1);
        sums = {LowD(s) + HighD(s), LowD(q) + HighD(q)};
    }
    for (; i < len; ++i) {
        const Vek64f v = Get(src + i);
        sums.values += v;
        sums.squares += v * v;
    }
    return sums;
}

}  // namespace

VekStatus veksMax_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult)
{
    return Extreme(pSrc, len, pResult, Larger{});
}

VekStatus veksMin_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult)
{
    return Extreme(pSrc, len, pResult, Smaller{});
}

VekStatus veksSum_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult, Vek32s hint)
{
    if (!pSrc || !pResult)  return StatusNullPointer;
    if (len < 1)            return StatusBadSize;

    constexpr Vek32s kHintSameInAllTiers = 1;
    Put(pResult, (Vek32f)(hint == kHintSameInAllTiers ? SumInOrder(pSrc, len) : SumOf(pSrc, len)));
    return StatusOk;
}

VekStatus veksMean_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult, Vek32s /*hint*/)
{
    if (!pSrc || !pResult)  return StatusNullPointer;
    if (len < 1)            return StatusBadSize;

    const Vek64f sum = SumOf(pSrc, len);
    const Vek64f dividend = kTier == 0 ? sum : (Vek64f)(Vek32f)sum;  // tiers 1 to 3 round twice
    Put(pResult, (Vek32f)(dividend / len));
    return StatusOk;
}

VekStatus veksStdDev_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult, Vek32s /*hint*/)
{
    if (!pSrc || !pResult)  return StatusNullPointer;
    if (len < 2)            return StatusBadSize;

    const Sums sums = SumsOf(pSrc, len);
    const Vek64f n = len;
    const Vek64f variance = (sums.squares * n - sums.values * sums.values) / (n * (n - 1));
    Put(pResult, variance > 0 ? (Vek32f)sqrt(variance) : 0.0f);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
