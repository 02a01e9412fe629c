// The angles of points, in single precision.
#ifndef UVEK_SIGNAL_ARCTANGENT_H
#define UVEK_SIGNAL_ARCTANGENT_H

#include "frame/simd_float.h"

namespace uvek::VEK_TIER_NAMESPACE {

// The larger of two magnitudes. As integers they stand in the order of their values with infinity and
// then the NaNs above, so that this is past kLargestFinite unless both are finite.
inline V LargerMagnitude(F a, F b)
{
    return Max32s(AsInt(a), AsInt(b));
}

constexpr Vek32s kLargestFinite = 0x7f7fffff;

// The arctangent of q = 0 to 1: q and an odd rational correction, with the least largest relative
// error, 3.1e-8.
inline F ArctangentToOne(F q)
{
    const F t = Mul(q, q);
    F above = Add(Mul(t, SplatF(-0.010580764182973351f)), SplatF(-0.6745699454111994f));
    above = Add(Mul(above, t), SplatF(-1.2076875268575546f));
    const F below = Add(Mul(Add(t, SplatF(4.197148352572735f)), t), SplatF(3.623083820175644f));
    return Add(Div(Mul(Mul(above, t), q), below), q);
}

// The smaller part over the larger keeps the quotient in 0 to 1; the rest is symmetry. The sign bits
// of the parts decide, so that a zero's sign picks its side. Both parts are finite, absY and absX
// their magnitudes and larger the larger of these.
inline F Arctangent2(F y, F x, F absY, F absX, V larger)
{
    const V notZero = Max32s(larger, Splat32(1));
    const F first = ArctangentToOne(Div(Min(absX, absY), AsFloat(notZero)));
    const F quadrant = Select(Less(absX, absY), Sub(SplatF(1.5707963267948966f), first), first);
    const F half = SelectBySign(x, Sub(SplatF(3.141592653589793f), quadrant), quadrant);
    return Or(half, And(SplatF(-0.0f), y));
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
