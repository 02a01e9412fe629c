// Conversions between vectors of integers and of singles.
#include "frame/simd_float.h"
#include "uvek/signal.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

enum class Rounding { Zero, Even, Away };

constexpr Rounding RoundingOf(Vek32s mode)
{
    return mode == RoundZero ? Rounding::Zero : mode == RoundNear ? Rounding::Even : Rounding::Away;
}

// In doubles the sum with a half is exact for every single in range.
template <Rounding rounding>
inline Vek16s RoundSample(Vek64f v)
{
    if constexpr (rounding == Rounding::Away) {
        if (v >= 32767)   return 32767;
        if (v <= -32768)  return -32768;
        return v == v ? (Vek16s)(Vek32s)(v < 0 ? v - 0.5 : v + 0.5) : (Vek16s)0;
    } else {
        if (v > 32767)    return 32767;
        if (v < -32768)   return -32768;
        if (v != v)       return 0;
        if constexpr (rounding == Rounding::Zero)
            return (Vek16s)(Vek32s)v;
        const Vek64f sum = v < 0 ? v - 0.5 : v + 0.5;
        const Vek32s near = (Vek32s)sum;
        const bool isOddTie = (near & 1) != 0 && near == sum;
        return (Vek16s)(!isOddTie ? near : near < 0 ? near + 1 : near - 1);
    }
}

// Four lanes clamped from above, which leaves saturation from below to the packing; a NaN gives 0.
// The single below one half takes ties up as one half does, and 0.5 less an ulp not with them.
template <Rounding rounding>
inline V RoundBlock(F v)
{
    const F half = SplatF(0.49999997f);
    const F number = Min(And(v, Equal(v, v)), SplatF(32767));
    if constexpr (rounding == Rounding::Zero)
        return Truncate32s(number);
    else if constexpr (rounding == Rounding::Even)
        return Nearest32s(number);
    else
        return Truncate32s(Add(number, Or(half, And(number, SplatF(-0.0f)))));
}

// 2^-scaleFactor, by repeated halving or doubling: exact, then 0 or infinity.
Vek64f PowerOfTwo(Vek32s scaleFactor)
{
    constexpr Vek32s kPastAll = 1100;
    Vek64f factor = 1;
    for (Vek32s i = Clamp(scaleFactor, -kPastAll, kPastAll); i != 0; i += i > 0 ? -1 : 1)
        factor *= scaleFactor > 0 ? 0.5 : 2.0;
    return factor;
}

template <Rounding rounding>
void ConvertToInteger(const Vek32f* src, Vek16s* dst, Vek32s len, Vek32s scaleFactor)
{
    const Vek64f factor = PowerOfTwo(scaleFactor);
    Vek32s i = 0;
    // Where the factor is a normal single, a product that rounds to anything but 0 or a bound is exact in
    // singles too.
    if (kBlocks && scaleFactor >= -127 && scaleFactor <= 126) {
        const F scale = SplatF((Vek32f)factor);
        for (; len - i >= 8; i += 8)
            StoreU(dst + i, Pack32sTo16s(RoundBlock<rounding>(Mul(LoadU(src + i), scale)),
                                         RoundBlock<rounding>(Mul(LoadU(src + i + 4), scale))));
    }
    for (; i < len; ++i)
        Put(dst + i, RoundSample<rounding>(Get(src + i) * factor));
}

}  // namespace

VekStatus veksConvert_16s32f(const Vek16s* pSrc, Vek32f* pDst, Vek32s len)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (len < 1)         return StatusBadSize;

    Vek32s i = 0;
    if (kBlocks)
        for (; len - i >= 16; i += 16) {
            StoreU(pDst + i, ToFloat(WidenLow16s(Load64(pSrc + i))));
            StoreU(pDst + i + 4, ToFloat(WidenLow16s(Load64(pSrc + i + 4))));
            StoreU(pDst + i + 8, ToFloat(WidenLow16s(Load64(pSrc + i + 8))));
            StoreU(pDst + i + 12, ToFloat(WidenLow16s(Load64(pSrc + i + 12))));
        }
    for (; i < len; ++i)
        Put(pDst + i, (Vek32f)Get(pSrc + i));
    return StatusOk;
}

VekStatus veksConvert_8u32f(const Vek8u* pSrc, Vek32f* pDst, Vek32s len)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (len < 1)         return StatusBadSize;

    Vek32s i = 0;
    if (kBlocks)
        for (; len - i >= 16; i += 16) {
            const V v = LoadU(pSrc + i), low = WidenLow8u(v), high = WidenHigh8u(v);
            StoreU(pDst + i, ToFloat(WidenLow16u(low)));
            StoreU(pDst + i + 4, ToFloat(WidenHigh16u(low)));
            StoreU(pDst + i + 8, ToFloat(WidenLow16u(high)));
            StoreU(pDst + i + 12, ToFloat(WidenHigh16u(high)));
        }
    for (; i < len; ++i)
        Put(pDst + i, (Vek32f)pSrc[i]);
    return StatusOk;
}

VekStatus veksConvert_32f16s_Sfs(const Vek32f* pSrc, Vek16s* pDst, Vek32s len, Vek32s rndMode, Vek32s scaleFactor)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (len < 1)         return StatusBadSize;

    const RoundToNearest nearest;
    switch (RoundingOf(rndMode)) {
    case Rounding::Zero: ConvertToInteger<Rounding::Zero>(pSrc, pDst, len, scaleFactor); break;
    case Rounding::Even: ConvertToInteger<Rounding::Even>(pSrc, pDst, len, scaleFactor); break;
    case Rounding::Away: ConvertToInteger<Rounding::Away>(pSrc, pDst, len, scaleFactor); break;
    }
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
