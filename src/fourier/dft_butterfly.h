// Butterflies of radix 3, 5 and any odd number, over scalars and registers, and the loads and stores
// that run four blocks side by side.
#ifndef UVEK_FOURIER_DFT_BUTTERFLY_H
#define UVEK_FOURIER_DFT_BUTTERFLY_H

#include "fourier/dft.h"

namespace uvek::VEK_TIER_NAMESPACE {

template <bool inverse, typename L>
VEK_BUTTERFLY void Butterfly3(Cx<L>& x0, Cx<L>& x1, Cx<L>& x2)
{
    const L half = ConstantOf<L>::Make(-0.5), sine = ConstantOf<L>::Make(0.86602540378443864676);
    const Cx<L> s = Add(x1, x2), d = Scale(Sub(x1, x2), sine), m = Add(x0, Scale(s, half));
    x0 = Add(x0, s);
    x1 = AddTurned<inverse>(m, d);
    x2 = SubTurned<inverse>(m, d);
}

template <bool inverse, typename L>
VEK_BUTTERFLY void Butterfly5(Cx<L>& x0, Cx<L>& x1, Cx<L>& x2, Cx<L>& x3, Cx<L>& x4)
{
    const L c1 = ConstantOf<L>::Make(0.30901699437494742410), c2 = ConstantOf<L>::Make(-0.80901699437494742410);
    const L s1 = ConstantOf<L>::Make(0.95105651629515357212), s2 = ConstantOf<L>::Make(0.58778525229247312917);
    const Cx<L> a = Add(x1, x4), b = Add(x2, x3), c = Sub(x1, x4), d = Sub(x2, x3);
    const Cx<L> m1 = Add(Add(x0, Scale(a, c1)), Scale(b, c2)), m2 = Add(Add(x0, Scale(a, c2)), Scale(b, c1));
    const Cx<L> n1 = Add(Scale(c, s1), Scale(d, s2)), n2 = Sub(Scale(c, s2), Scale(d, s1));
    x0 = Add(Add(x0, a), b);
    x1 = AddTurned<inverse>(m1, n1);
    x4 = SubTurned<inverse>(m1, n1);
    x2 = AddTurned<inverse>(m2, n2);
    x3 = SubTurned<inverse>(m2, n2);
}

// An odd radix by its definition, folded: sums and differences of the inputs j and f - j give the
// outputs k and f - k together. x is overwritten by the folded inputs.
template <bool inverse, typename L, typename Sink>
inline void ButterflyOdd(Vek32s f, const Complex* roots, Cx<L>* x, Sink put)
{
    Cx<L> sum = x[0];
    for (Vek32s j = 1; j <= f / 2; ++j) {
        Butterfly2(x[j], x[f - j]);
        sum = Add(sum, x[j]);
    }
    put(0, sum);
    for (Vek32s k = 1; k <= f / 2; ++k) {
        Cx<L> cosines = x[0], sines = {ConstantOf<L>::Make(0), ConstantOf<L>::Make(0)};
        Vek32s index = 0;
        for (Vek32s j = 1; j <= f / 2; ++j) {
            index += k;
            if (index >= f)
                index -= f;
            cosines = Add(cosines, Scale(x[j], ConstantOf<L>::Make(roots[index].re)));
            sines = Sub(sines, Scale(x[f - j], ConstantOf<L>::Make(roots[index].im)));
        }
        put(k, AddTurned<inverse>(cosines, sines));
        put(f - k, SubTurned<inverse>(cosines, sines));
    }
}

// One butterfly of radix f (0: that of the argument) from at(j) to put(m).
template <bool inverse, int f, typename L, typename Source, typename Sink>
VEK_BUTTERFLY void AnyButterfly(Vek32s factor, const Complex* roots, Source at, Sink put)
{
    if constexpr (f == 2) {
        Cx<L> a = at(0), b = at(1);
        Butterfly2(a, b);
        put(0, a);
        put(1, b);
    } else if constexpr (f == 3) {
        Cx<L> a = at(0), b = at(1), c = at(2);
        Butterfly3<inverse>(a, b, c);
        put(0, a);
        put(1, b);
        put(2, c);
    } else if constexpr (f == 4) {
        Cx<L> a = at(0), b = at(1), c = at(2), d = at(3);
        Butterfly4<inverse>(a, b, c, d);
        put(0, a);
        put(1, b);
        put(2, c);
        put(3, d);
    } else if constexpr (f == 5) {
        Cx<L> a = at(0), b = at(1), c = at(2), d = at(3), e = at(4);
        Butterfly5<inverse>(a, b, c, d, e);
        put(0, a);
        put(1, b);
        put(2, c);
        put(3, d);
        put(4, e);
    } else {
        Cx<L> x[kLargestFactor];
        x[0] = at(0);
        for (Vek32s j = 1; j < factor; ++j)
            x[j] = at(j);
        ButterflyOdd<inverse>(factor, roots, x, put);
    }
}

// Four elements that stand anywhere, one a lane.
inline Cx<F> LoadFour(const Complex* a, const Complex* b, const Complex* c, const Complex* d)
{
    const F low = AsFloat(UnpackLow64(Load64(a), Load64(b))), high = AsFloat(UnpackLow64(Load64(c), Load64(d)));
    return {Pick<0, 2, 0, 2>(low, high), Pick<1, 3, 1, 3>(low, high)};
}

inline void StoreFour(Complex* p, int64_t apart, Cx<F> v)
{
    const V low = AsInt(UnpackLow(v.re, v.im)), high = AsInt(UnpackHigh(v.re, v.im));
    Store64(p, low);
    Store64(p + apart, UnpackHigh64(low, low));
    Store64(p + 2 * apart, high);
    Store64(p + 3 * apart, UnpackHigh64(high, high));
}

inline Cx<F> SplatRoot(const Vek32f* pair) { return {SplatF(pair[0]), SplatF(pair[1])}; }

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
