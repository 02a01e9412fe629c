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

// ---- 5x5: two windows, one below the other, share four rows ----

inline void SortColumn4(V (&v)[4])
{
    Order(v[0], v[1]); Order(v[2], v[3]);
    Order(v[0], v[2]); Order(v[1], v[3]);
    Order(v[1], v[2]);
}

inline void SortRow5(V (&v)[5])
{
    Order(v[0], v[3]); Order(v[1], v[4]);
    Order(v[0], v[2]); Order(v[1], v[3]);
    Order(v[0], v[1]); Order(v[2], v[4]);
    Order(v[1], v[2]); Order(v[3], v[4]);
    Order(v[2], v[3]);
}

// w: the 20 shared samples, rank r of column c at 5 r + c. Five samples more cannot make any but the
// middle six the median of 25: they are left in order at w[7] .. w[12]. The network was found by
// simulated annealing over the 5^5 inputs of zeros and ones that sorted columns can give. Inlined, its
// wires are registers.
[[gnu::always_inline]] inline void SortMiddleSix(V (&w)[20])
{
    Order(w[18], w[19]); Order(w[5], w[6]); Order(w[1], w[0]); Order(w[10], w[11]); Order(w[3], w[5]); Order(w[14], w[13]);
    Order(w[2], w[3]); Order(w[12], w[6]); Order(w[0], w[18]); Order(w[13], w[17]); Order(w[6], w[19]); Order(w[16], w[15]);
    Order(w[16], w[17]); Order(w[9], w[8]); Order(w[3], w[16]); Order(w[6], w[14]); Order(w[13], w[16]); Order(w[1], w[9]);
    Order(w[7], w[9]); Order(w[0], w[13]); Order(w[5], w[4]); Order(w[4], w[12]); Order(w[14], w[15]); Order(w[8], w[9]);
    Order(w[12], w[18]); Order(w[4], w[6]); Order(w[8], w[10]); Order(w[3], w[5]); Order(w[9], w[11]); Order(w[0], w[7]);
    Order(w[9], w[10]); Order(w[18], w[16]); Order(w[12], w[13]); Order(w[10], w[18]); Order(w[10], w[12]); Order(w[12], w[14]);
    Order(w[6], w[9]); Order(w[5], w[7]); Order(w[6], w[10]); Order(w[9], w[7]); Order(w[7], w[13]); Order(w[11], w[13]);
    Order(w[7], w[10]); Order(w[9], w[12]); Order(w[5], w[4]); Order(w[4], w[8]); Order(w[10], w[12]); Order(w[8], w[9]);
    Order(w[6], w[8]); Order(w[7], w[9]); Order(w[9], w[10]); Order(w[18], w[14]); Order(w[11], w[18]); Order(w[11], w[12]);
    Order(w[7], w[8]);
}

// The median of the sorted middle six and the sorted five: the sixth of the eleven.
inline V MedianOf(const V (&w)[20], const V (&five)[5])
{
    const V a = Lower(Upper(w[7], five[4]), Upper(w[8], five[3])), b = Lower(Upper(w[9], five[2]), Upper(w[10], five[1]));
    return Lower(Lower(a, b), Lower(Upper(w[11], five[0]), w[12]));
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
