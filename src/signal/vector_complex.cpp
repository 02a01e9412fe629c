// Magnitude, power and phase of complex vectors.
#include "frame/simd_float.h"
#include "signal/arctangent.h"
#include "signal/elementwise.h"
#include "uvek/signal.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Where the parts of a number stand: in two vectors, or side by side.
struct Planes {
    const Vek32f* re;
    const Vek32f* im;
    void Load4(Vek32s i, F& x, F& y) const
    {
        x = LoadU(re + i);
        y = LoadU(im + i);
    }
    Vek32f Re(Vek32s i) const { return Get(re + i); }
    Vek32f Im(Vek32s i) const { return Get(im + i); }
};

struct Pairs {
    const Vek32f* parts;
    const Vek32f* At(Vek32s i) const { return parts + 2 * (int64_t)i; }
    void Load4(Vek32s i, F& x, F& y) const
    {
        const F a = LoadU(At(i)), b = LoadU(At(i) + 4);
        x = Pick<0, 2, 0, 2>(a, b);
        y = Pick<1, 3, 1, 3>(a, b);
    }
    Vek32f Re(Vek32s i) const { return Get(At(i)); }
    Vek32f Im(Vek32s i) const { return Get(At(i) + 1); }
};

struct SumOfSquares {
    F operator()(F x, F y) const { return Add(Mul(x, x), Mul(y, y)); }
    Vek32f operator()(Vek32f x, Vek32f y) const { return x * x + y * y; }
};

inline Vek32f MagnitudeOf(Vek32f re, Vek32f im)
{
    const Vek64f x = re, y = im;
    return (Vek32f)sqrt(x * x + y * y);
}

inline D MagnitudeOf(D re, D im)
{
    return Sqrt(Add(Mul(re, re), Mul(im, im)));
}

// Singles serve as long as the square neither overflows nor loses bits below the smallest normal
// number, and for the number zero; a block with any other lane goes through doubles, as in tier 0.
// Squares stand in the order of their bits as integers, NaNs last: counted from the smallest that serves,
// those below wrap round to behind them.
constexpr Vek32u kSmallestBits = 0x0d800000;  // 2^-100

inline V FromSmallest(F square)
{
    return Add32(AsInt(square), Splat32((Vek32s)(0x80000000u - kSmallestBits)));
}

inline bool SquaresServe(V largestFromSmallest)
{
    return AllZero(Greater32s(largestFromSmallest, Splat32((Vek32s)(0x80000000u + (Vek32u)kLargestFinite - kSmallestBits))));
}

inline bool SquareServesOrIsZero(F square, F re, F im)
{
    const F zero = Equal(Abs(Or(re, im)), ZeroF());
    return SquaresServe(FromSmallest(Or(square, And(zero, SplatF(1)))));
}

inline F MagnitudeInDoubles(F re, F im)
{
    return LowHalves(ToFloatLow(MagnitudeOf(ToDoubleLow(re), ToDoubleLow(im))),
                     ToFloatLow(MagnitudeOf(ToDoubleHigh(re), ToDoubleHigh(im))));
}

// Four lanes, whatever they hold.
template <typename Source>
inline F MagnitudeOfAny(const Source& source, Vek32s i)
{
    F x, y;
    source.Load4(i, x, y);
    const F square = SumOfSquares{}(x, y);
    return SquareServesOrIsZero(square, x, y) ? Sqrt(square) : MagnitudeInDoubles(x, y);
}

template <typename Source>
VekStatus Magnitude(Source source, Vek32f* pDst, Vek32s len)
{
    Vek32s i = 0;
    if (kBlocks) {
        for (; len - i >= 16; i += 16) {  // a line's results are stored together
            const auto square = [=](Vek32s k) {
                F x, y;
                source.Load4(i + k, x, y);
                return SumOfSquares{}(x, y);
            };
            const F a = square(0), b = square(4), c = square(8), d = square(12);
            if (SquaresServe(Max32s(Max32s(FromSmallest(a), FromSmallest(b)), Max32s(FromSmallest(c), FromSmallest(d))))) {
                StoreU(pDst + i, Sqrt(a));
                StoreU(pDst + i + 4, Sqrt(b));
                StoreU(pDst + i + 8, Sqrt(c));
                StoreU(pDst + i + 12, Sqrt(d));
            } else {
                for (Vek32s k = i; k < i + 16; k += 4)
                    StoreU(pDst + k, MagnitudeOfAny(source, k));
            }
        }
        for (; len - i >= 4; i += 4)
            StoreU(pDst + i, MagnitudeOfAny(source, i));
    }
    for (; i < len; ++i)
        Put(pDst + i, MagnitudeOf(source.Re(i), source.Im(i)));
    return StatusOk;
}

void PhaseByElement(const Vek32f* re, const Vek32f* im, Vek32f* dst, Vek32s len)
{
    for (Vek32s i = 0; i < len; ++i)
        Put(dst + i, (Vek32f)atan2((Vek64f)Get(im + i), (Vek64f)Get(re + i)));
}

}  // namespace

VekStatus veksMagnitude_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDst, Vek32s len)
{
    if (!pSrcRe || !pSrcIm || !pDst)  return StatusNullPointer;
    if (len < 1)                      return StatusBadSize;
    return Magnitude(Planes{pSrcRe, pSrcIm}, pDst, len);
}

VekStatus veksMagnitude_32fc(const Vek32fc* pSrc, Vek32f* pDst, Vek32s len)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (len < 1)         return StatusBadSize;
    return Magnitude(Pairs{(const Vek32f*)pSrc}, pDst, len);
}

VekStatus veksPowerSpectr_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDst, Vek32s len)
{
    if (!pSrcRe || !pSrcIm || !pDst)  return StatusNullPointer;
    if (len < 1)                      return StatusBadSize;

    MapTwo(pSrcRe, pSrcIm, pDst, len, SumOfSquares{});
    return StatusOk;
}

VekStatus veksPhase_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDst, Vek32s len)
{
    if (!pSrcRe || !pSrcIm || !pDst)  return StatusNullPointer;
    if (len < 1)                      return StatusBadSize;

    Vek32s i = 0;
    if (kBlocks) {
        const F magnitude = AsFloat(Splat32(0x7fffffff));
        for (; len - i >= 8; i += 8) {
            const F x0 = LoadU(pSrcRe + i), x1 = LoadU(pSrcRe + i + 4);
            const F y0 = LoadU(pSrcIm + i), y1 = LoadU(pSrcIm + i + 4);
            const F absX0 = And(x0, magnitude), absX1 = And(x1, magnitude);
            const F absY0 = And(y0, magnitude), absY1 = And(y1, magnitude);
            const V larger0 = LargerMagnitude(absX0, absY0), larger1 = LargerMagnitude(absX1, absY1);
            if (MoveMask8(Greater32s(Max32s(larger0, larger1), Splat32(kLargestFinite))) != 0) {
                PhaseByElement(pSrcRe + i, pSrcIm + i, pDst + i, 8);
                continue;
            }
            StoreU(pDst + i, Arctangent2(y0, x0, absY0, absX0, larger0));
            StoreU(pDst + i + 4, Arctangent2(y1, x1, absY1, absX1, larger1));
        }
    }
    PhaseByElement(pSrcRe + i, pSrcIm + i, pDst + i, len - i);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
