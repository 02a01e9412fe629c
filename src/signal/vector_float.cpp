// Arithmetic in place on vectors of singles.
#include "signal/elementwise.h"
#include "uvek/signal.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct ClearSign {
    F operator()(F v) const { return Abs(v); }
    Vek32f operator()(Vek32f v) const { return fabsf(v); }
};

struct Scale {
    Vek32f value;
    F operator()(F v) const { return Mul(v, SplatF(value)); }
    Vek32f operator()(Vek32f v) const { return v * value; }
};

struct Product {
    F operator()(F a, F b) const { return Mul(a, b); }
    Vek32f operator()(Vek32f a, Vek32f b) const { return a * b; }
};

struct Square {
    F operator()(F v) const { return Mul(v, v); }
    Vek32f operator()(Vek32f v) const { return v * v; }
};

// The root of a negative number is the processor's own NaN, 0xFFC00000, which its square root
// instruction gives too. A NaN stays bit for bit, a signalling one included, as do both zeros.
// A root in double precision rounded to single is the single-precision root, so all tiers agree.
struct SquareRoot {
    bool* negative;
    F operator()(F v) const
    {
        *negative |= MoveMask(Less(v, ZeroF())) != 0;
        return Select(Unordered(v, v), v, Sqrt(v));
    }
    Vek32f operator()(Vek32f v) const
    {
        if (v > 0)
            return (Vek32f)sqrt((Vek64f)v);
        if (!(v < 0))
            return v;
        *negative = true;
        constexpr Vek32u kBits = 0xFFC00000u;
        return Get((const Vek32f*)&kBits);
    }
};

}  // namespace

VekStatus veksAbs_32f(const Vek32f* pSrc, Vek32f* pDst, Vek32s len)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (len < 1)         return StatusBadSize;
    MapOne(pSrc, pDst, len, ClearSign{});
    return StatusOk;
}

VekStatus veksMulC_32f_I(Vek32f value, Vek32f* pSrcDst, Vek32s len)
{
    if (!pSrcDst)  return StatusNullPointer;
    if (len < 1)   return StatusBadSize;

    if (value == 0)
        memset(pSrcDst, 0, (size_t)len * sizeof *pSrcDst);
    else if (value != 1)
        MapOne(pSrcDst, pSrcDst, len, Scale{value});
    return StatusOk;
}

VekStatus veksDivC_32f_I(Vek32f value, Vek32f* pSrcDst, Vek32s len)
{
    if (!pSrcDst)    return StatusNullPointer;
    if (len < 1)     return StatusBadSize;
    if (value == 0)  return StatusDivideByZero;
    MapOne(pSrcDst, pSrcDst, len, Scale{1.0f / value});
    return StatusOk;
}

VekStatus veksMul_32f_I(const Vek32f* pSrc, Vek32f* pSrcDst, Vek32s len)
{
    if (!pSrc || !pSrcDst)  return StatusNullPointer;
    if (len < 1)            return StatusBadSize;
    MapTwo((const Vek32f*)pSrcDst, pSrc, pSrcDst, len, Product{});
    return StatusOk;
}

VekStatus veksSqr_32f_I(Vek32f* pSrcDst, Vek32s len)
{
    if (!pSrcDst)  return StatusNullPointer;
    if (len < 1)   return StatusBadSize;
    MapOne(pSrcDst, pSrcDst, len, Square{});
    return StatusOk;
}

VekStatus veksSqrt_32f_I(Vek32f* pSrcDst, Vek32s len)
{
    if (!pSrcDst)  return StatusNullPointer;
    if (len < 1)   return StatusBadSize;
    bool negative = false;
    MapOne(pSrcDst, pSrcDst, len, SquareRoot{&negative});
    return negative ? WarnSqrtOfNegative : StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
