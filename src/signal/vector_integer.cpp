// Arithmetic on vectors of 16-bit samples: saturated sums and differences, scaled sums, shifts.
#include "signal/elementwise.h"
#include "uvek/signal.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct AddConstant {
    Vek16s value;
    V operator()(V v) const { return AddSat16s(v, Splat16(value)); }
    Vek16s operator()(Vek16s v) const { return Saturate16s(v + value); }
};

// Not an addition of -value, which -32768 does not have.
struct SubtractConstant {
    Vek16s value;
    V operator()(V v) const { return SubSat16s(v, Splat16(value)); }
    Vek16s operator()(Vek16s v) const { return Saturate16s(v - value); }
};

struct ShiftLeft {
    Vek32s count;
    V operator()(V v) const { return ShiftLeft16By(v, ShiftCount(count)); }
    Vek16s operator()(Vek16s v) const { return (Vek16s)(Vek16u)((Vek32u)(Vek16u)v << count); }
};

struct ShiftRight {
    Vek32s count;
    V operator()(V v) const { return ShiftRight16sBy(v, ShiftCount(count)); }
    Vek16s operator()(Vek16s v) const { return (Vek16s)(v >> count); }
};

template <typename Operation>
VekStatus ApplyConstant(Vek16s* pSrcDst, Vek32s len, Operation operation)
{
    if (!pSrcDst)  return StatusNullPointer;
    if (len < 1)   return StatusBadSize;
    if (operation.value != 0)
        MapOne(pSrcDst, pSrcDst, len, operation);
    return StatusOk;
}

// ---- Sums with a scale factor ----

struct AddSaturated {
    V operator()(V a, V b) const { return AddSat16s(a, b); }
    Vek16s operator()(Vek16s a, Vek16s b) const { return Saturate16s(a + b); }
};

// The sum of each pair of lanes, held at 32 bits, goes through `scale`.
template <typename Scale>
inline V ScaleSum(V a, V b, Scale scale)
{
    const V one = Splat16(1);
    return Pack32sTo16s(scale(MulAdd16(UnpackLow16(a, b), one)), scale(MulAdd16(UnpackHigh16(a, b), one)));
}

// The sum over 2^count for count 1 to 16, ties to even. It fits 16 bits from count 1 on.
struct AddScaledDown {
    Vek32s count;
    V operator()(V a, V b) const
    {
        const V bits = ShiftCount(count), round = Splat32((1 << (count - 1)) - 1), one = Splat32(1);
        return ScaleSum(a, b, [=](V sum) {
            const V odd = And(ShiftRight32uBy(sum, bits), one);
            return ShiftRight32sBy(Add32(Add32(sum, round), odd), bits);
        });
    }
    Vek16s operator()(Vek16s a, Vek16s b) const
    {
        const Vek32s sum = a + b;
        return Saturate16s((sum + (1 << (count - 1)) - 1 + ((sum >> count) & 1)) >> count);
    }
};

// The sum times 2^count for count 1 to 15: 17 bits and 15 are just what 32 hold.
struct AddScaledUp {
    Vek32s count;
    V operator()(V a, V b) const
    {
        const V bits = ShiftCount(count);
        return ScaleSum(a, b, [=](V sum) { return ShiftLeft32By(sum, bits); });
    }
    Vek16s operator()(Vek16s a, Vek16s b) const { return Saturate16s((Vek32s)((Vek32u)(a + b) << count)); }
};

// From a factor of 2^16 on any sum but zero saturates.
struct AddSigned {
    V operator()(V a, V b) const
    {
        const V sum = AddSat16s(a, b);
        return Or(ShiftRight16u<1>(Greater16s(sum, Zero())), ShiftLeft16<15>(Greater16s(Zero(), sum)));
    }
    Vek16s operator()(Vek16s a, Vek16s b) const
    {
        const Vek32s sum = a + b;
        return sum > 0 ? (Vek16s)32767 : sum < 0 ? (Vek16s)-32768 : (Vek16s)0;
    }
};

}  // namespace

VekStatus veksAddC_16s_I(Vek16s value, Vek16s* pSrcDst, Vek32s len)
{
    return ApplyConstant(pSrcDst, len, AddConstant{value});
}

VekStatus veksSubC_16s_I(Vek16s value, Vek16s* pSrcDst, Vek32s len)
{
    return ApplyConstant(pSrcDst, len, SubtractConstant{value});
}

VekStatus veksAdd_16s_Sfs(const Vek16s* pSrc1, const Vek16s* pSrc2, Vek16s* pDst, Vek32s len, Vek32s scaleFactor)
{
    if (!pSrc1 || !pSrc2 || !pDst)  return StatusNullPointer;
    if (len < 1)                    return StatusBadSize;

    if (scaleFactor == 0)
        MapTwo(pSrc1, pSrc2, pDst, len, AddSaturated{});
    else if (scaleFactor > 16)
        memset(pDst, 0, (size_t)len * sizeof *pDst);
    else if (scaleFactor > 0)
        MapTwo(pSrc1, pSrc2, pDst, len, AddScaledDown{scaleFactor});
    else if (scaleFactor > -16)
        MapTwo(pSrc1, pSrc2, pDst, len, AddScaledUp{-scaleFactor});
    else
        MapTwo(pSrc1, pSrc2, pDst, len, AddSigned{});
    return StatusOk;
}

VekStatus veksLShiftC_16s_I(Vek32s value, Vek16s* pSrcDst, Vek32s len)
{
    if (!pSrcDst)   return StatusNullPointer;
    if (len < 1)    return StatusBadSize;
    if (value < 0)  return StatusBadShift;

    if (value > 15)
        memset(pSrcDst, 0, (size_t)len * sizeof *pSrcDst);
    else if (value > 0)
        MapOne(pSrcDst, pSrcDst, len, ShiftLeft{value});
    return StatusOk;
}

VekStatus veksRShiftC_16s_I(Vek32s value, Vek16s* pSrcDst, Vek32s len)
{
    if (!pSrcDst)   return StatusNullPointer;
    if (len < 1)    return StatusBadSize;
    if (value < 0)  return StatusBadShift;

    if (value > 0)
        MapOne(pSrcDst, pSrcDst, len, ShiftRight{Min(value, 15)});
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
