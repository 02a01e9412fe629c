// Selection networks, alike for a sample and for a register of samples.
#ifndef UVEK_FILTER_MEDIAN_NETWORKS_H
#define UVEK_FILTER_MEDIAN_NETWORKS_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

inline Vek8u Lower(Vek8u a, Vek8u b) { return Min(a, b); }
inline Vek8u Upper(Vek8u a, Vek8u b) { return Max(a, b); }
inline V Lower(V a, V b) { return Min8u(a, b); }
inline V Upper(V a, V b) { return Max8u(a, b); }

template <typename T>
inline void Order(T& a, T& b)
{
    const T low = Lower(a, b);
    b = Upper(a, b);
    a = low;
}

// What a network works on: one sample, or a register of 16.
struct Sample {
    using T = Vek8u;
    static T Load(const Vek8u* p) { return *p; }
};

struct Block {
    using T = V;
    static T Load(const Vek8u* p) { return LoadU(p); }
};

template <typename Kind>
struct Sorted3 {
    typename Kind::T low, middle, high;
};

// A column of three samples in order.
template <typename Kind>
inline Sorted3<Kind> SortColumn3(const Vek8u* p, int64_t step)
{
    auto a = Kind::Load(p), b = Kind::Load(Offset(p, step)), c = Kind::Load(Offset(p, 2 * step));
    Order(b, c);
    Order(a, b);
    Order(b, c);
    return {a, b, c};
}

template <typename T>
inline T MedianOf(T a, T b, T c)
{
    Order(a, b);
    return Upper(a, Lower(b, c));
}

template <typename T>
inline T MedianOf(const T (&v)[3])
{
    return MedianOf(v[0], v[1], v[2]);
}

// Neither the smaller of two pairs' minima nor the larger of their maxima can be the median of five.
template <typename T>
inline T MedianOf(const T (&v)[5])
{
    T a = v[0], b = v[1], c = v[2], d = v[3];
    Order(a, b);
    Order(c, d);
    return MedianOf(Upper(a, c), Lower(b, d), v[4]);
}

// Of nine samples as three sorted columns: the largest low, the middle one of the middles and the
// smallest high one leave only the median between them.
template <typename Kind>
inline typename Kind::T MedianOf(const Sorted3<Kind>& a, const Sorted3<Kind>& b, const Sorted3<Kind>& c)
{
    return MedianOf(Upper(Upper(a.low, b.low), c.low), MedianOf(a.middle, b.middle, c.middle), Lower(Lower(a.high, b.high), c.high));
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
