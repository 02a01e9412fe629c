// Complex arithmetic on scalars and on vectors alike: a butterfly is written once, for one element
// or for a register of them, and for both directions.
#ifndef UVEK_FOURIER_LANES_H
#define UVEK_FOURIER_LANES_H

#include "frame/simd_float.h"

// A register type as a template argument loses its alignment attribute, which no template here asks for.
#pragma GCC diagnostic ignored "-Wignored-attributes"

// A butterfly lives in registers only when it is part of its loop, which the compiler doubts of itself.
#ifndef VEK_BUTTERFLY
#define VEK_BUTTERFLY inline __attribute__((always_inline))
#endif

namespace uvek::VEK_TIER_NAMESPACE {

inline Vek32f Add(Vek32f a, Vek32f b) { return a + b; }
inline Vek32f Sub(Vek32f a, Vek32f b) { return a - b; }
inline Vek32f Mul(Vek32f a, Vek32f b) { return a * b; }
inline Vek64f Add(Vek64f a, Vek64f b) { return a + b; }
inline Vek64f Sub(Vek64f a, Vek64f b) { return a - b; }
inline Vek64f Mul(Vek64f a, Vek64f b) { return a * b; }

// The register of a sample type, and how many samples it holds.
template <typename T> struct LanesOf;
template <> struct LanesOf<Vek32f> {
    using Type = F;
    static constexpr int kCount = 4;
};
template <> struct LanesOf<Vek64f> {
    using Type = D;
    static constexpr int kCount = 2;
};
template <typename T> using LanesType = typename LanesOf<T>::Type;
inline F SplatLanes(Vek32f v) { return SplatF(v); }
inline D SplatLanes(Vek64f v) { return SplatD(v); }

// A constant in the lane type L.
template <typename L> struct ConstantOf {
    static L Make(Vek64f v) { return (L)v; }
};
template <> struct ConstantOf<F> {
    static F Make(Vek64f v) { return SplatF((Vek32f)v); }
};
template <> struct ConstantOf<D> {
    static D Make(Vek64f v) { return SplatD(v); }
};

template <typename L>
struct Cx {
    L re, im;
};

// The value from registers alone. For a load that is used twice the compiler would rather load twice,
// and loads are what a butterfly runs short of first.
template <typename L>
VEK_BUTTERFLY Cx<L> Held(Cx<L> v)
{
    __asm__("" : "+x"(v.re), "+x"(v.im));
    return v;
}

template <typename L> VEK_BUTTERFLY Cx<L> Add(Cx<L> a, Cx<L> b) { return {Add(a.re, b.re), Add(a.im, b.im)}; }
template <typename L> VEK_BUTTERFLY Cx<L> Sub(Cx<L> a, Cx<L> b) { return {Sub(a.re, b.re), Sub(a.im, b.im)}; }
template <typename L> VEK_BUTTERFLY Cx<L> Scale(Cx<L> a, L factor) { return {Mul(a.re, factor), Mul(a.im, factor)}; }

// Tables hold the roots of the forward direction; the inverse takes the conjugate by the signs.
template <bool inverse, typename L>
VEK_BUTTERFLY Cx<L> MulRoot(Cx<L> x, Cx<L> w)
{
    if constexpr (inverse)
        return {Add(Mul(x.re, w.re), Mul(x.im, w.im)), Sub(Mul(x.im, w.re), Mul(x.re, w.im))};
    else
        return {Sub(Mul(x.re, w.re), Mul(x.im, w.im)), Add(Mul(x.re, w.im), Mul(x.im, w.re))};
}

// a + q b and a - q b, where q is a quarter turn in the direction: -i forward, i inverse.
template <bool inverse, typename L>
VEK_BUTTERFLY Cx<L> AddTurned(Cx<L> a, Cx<L> b)
{
    if constexpr (inverse)
        return {Sub(a.re, b.im), Add(a.im, b.re)};
    else
        return {Add(a.re, b.im), Sub(a.im, b.re)};
}

template <bool inverse, typename L>
VEK_BUTTERFLY Cx<L> SubTurned(Cx<L> a, Cx<L> b)
{
    return AddTurned<!inverse>(a, b);
}

// Transforms of 2, 4 and 8 elements in natural order, in place.
template <typename L>
VEK_BUTTERFLY void Butterfly2(Cx<L>& a, Cx<L>& b)
{
    const Cx<L> x = a;
    a = Add(x, b);
    b = Sub(x, b);
}

template <bool inverse, typename L>
VEK_BUTTERFLY void Butterfly4(Cx<L>& x0, Cx<L>& x1, Cx<L>& x2, Cx<L>& x3)
{
    const Cx<L> s02 = Add(x0, x2), d02 = Sub(x0, x2), s13 = Add(x1, x3), d13 = Sub(x1, x3);
    x0 = Add(s02, s13);
    x1 = AddTurned<inverse>(d02, d13);
    x2 = Sub(s02, s13);
    x3 = SubTurned<inverse>(d02, d13);
}

// The odd half of a transform of eight: a transform of four whose results are turned by as many
// eighths, the last one with its sign reversed.
template <bool inverse, typename L>
VEK_BUTTERFLY void OddHalf8(Cx<L>& x1, Cx<L>& x3, Cx<L>& x5, Cx<L>& x7)
{
    const L half = ConstantOf<L>::Make(0.70710678118654752440);
    Butterfly4<inverse>(x1, x3, x5, x7);
    const Cx<L> p = x3, r = x7;
    if constexpr (inverse) {
        x3 = {Mul(half, Sub(p.re, p.im)), Mul(half, Add(p.im, p.re))};
        x7 = {Mul(half, Add(r.im, r.re)), Mul(half, Sub(r.im, r.re))};
    } else {
        x3 = {Mul(half, Add(p.re, p.im)), Mul(half, Sub(p.im, p.re))};
        x7 = {Mul(half, Sub(r.re, r.im)), Mul(half, Add(r.re, r.im))};
    }
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
