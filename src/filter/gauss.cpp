// Gaussian smoothing, 3x3 of weight 16 and 5x5 of weight 571.
#include "filter/sweep.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct Gauss3 {
    using Src = Vek8u;
    using Dst = Vek8u;
    using Row = Vek32s;
    using BlockRow = WordPair;
    static constexpr Vek32s kBlock = 16;

    static Row Scalar(const Vek8u* p) { return p[-1] + 2 * p[0] + p[1]; }

    static Vek8u Combine(Row a, Row b, Row c, const Vek8u*)
    {
        const Vek32s s = a + 2 * b + c;
        return (Vek8u)((s + ((s >> 4) & 1) + 7) >> 4);
    }

    // Even places see a b c of the neighbourhood a b c d, odd ones b c d.
    static BlockRow Block(const Vek8u* p)
    {
        const V here = LoadU(p);
        const V a = EvenBytes(LoadU(p - 1)), b = EvenBytes(here), c = OddBytes(here), d = OddBytes(LoadU(p + 1));
        const V middle = Add16(b, c);
        return {Add16(Add16(a, b), middle), Add16(Add16(c, d), middle)};
    }

    static V Sixteenth(V a, V b, V c)
    {
        const V s = Add16(Add16(a, b), Add16(b, c));
        return ShiftRight16u<4>(Add16(Add16(s, Splat16(7)), And(ShiftRight16u<4>(s), Splat16(1))));
    }

    static void StoreBlock(const BlockRow& a, const BlockRow& b, const BlockRow& c, const Vek8u*, Vek8u* dst)
    {
        StoreBytes(dst, {Sixteenth(a.even, b.even, c.even), Sixteenth(a.odd, b.odd, c.odd)});
    }
};

// The kernel is symmetric in x, in y and about its diagonals: six weights, each with the sum of the
// samples that it meets. A row gives the sums of the two outer, the two inner and the middle samples.
constexpr Vek32s kWeight = 571;
constexpr Vek32s kCorner = 2, kEdge = 7, kArm = 12, kInnerCorner = 31, kInnerEdge = 52, kCentre = 127;

// The nearest quotient of a + b + c and 571, in 16 bits: b + c and 571 quotients may wrap, the remainder does not.
// a is at most 65250, the three together at most 255 * 571.
inline V Quotient(V a, V b, V c)
{
    // No sum is half way between two quotients, as 571 is odd: they are those of the sum + 285, rounded
    // down. Averages round up, and 3 less make good for it: for every sum a fourth of it gives the quotient
    // or one less, and the remainder of that, short by 3, tells which.
    const V biased = Add16(a, Splat16(kWeight / 2 - 3));
    const V fourth = Average16u(Average16u(b, c), ShiftRight16u<1>(biased));
    const V quotient = MulHigh16u(fourth, Splat16((4 << 16) / kWeight));
    const V remainder = Sub16(Add16(biased, Add16(b, c)), MulLow16(quotient, Splat16(kWeight)));
    return Sub16(quotient, Greater16s(remainder, Splat16(kWeight - 4)));
}

struct Gauss5 {
    struct Row { Vek32s outer, inner, middle; };
    struct BlockRow { WordPair outer, inner, middle; };
    using Src = Vek8u;
    using Dst = Vek8u;
    static constexpr Vek32s kBlock = 16;

    static Row Scalar(const Vek8u* p) { return {p[-2] + p[2], p[-1] + p[1], p[0]}; }

    static Vek8u Combine(const Row& a, const Row& b, const Row& c, const Row& d, const Row& e, const Vek8u*)
    {
        const Vek32s s = kCorner * (a.outer + e.outer) + kEdge * (a.inner + e.inner + b.outer + d.outer)
            + kArm * (a.middle + e.middle + c.outer) + kInnerCorner * (b.inner + d.inner)
            + kInnerEdge * (b.middle + d.middle + c.inner) + kCentre * c.middle;
        constexpr Vek32u kHalf = kWeight / 2 + 1, kReciprocal = ((1u << 24) + kWeight / 2) / kWeight;
        return (Vek8u)((((Vek32u)s + kHalf) * kReciprocal) >> 24);
    }

    static BlockRow Block(const Vek8u* p)
    {
        const V left = LoadU(p - 2), here = LoadU(p), right = LoadU(p + 2);
        const V a = EvenBytes(left), b = OddBytes(left), c = EvenBytes(here), d = OddBytes(here);
        const V e = EvenBytes(right), f = OddBytes(right);
        return {{Add16(a, e), Add16(b, f)}, {Add16(b, d), Add16(c, e)}, {c, d}};
    }

    // Eight results, of the six sums of their samples, as three that fit 16 bits.
    static V Eight(V corner, V edge, V arm, V innerCorner, V innerEdge, V centre)
    {
        return Quotient(Add16(Add16(MulLow16(corner, Splat16(kCorner)), MulLow16(edge, Splat16(kEdge))), MulLow16(arm, Splat16(kArm))),
                        Add16(MulLow16(innerCorner, Splat16(kInnerCorner)), MulLow16(centre, Splat16(kCentre))),
                        MulLow16(innerEdge, Splat16(kInnerEdge)));
    }

    static void StoreBlock(const BlockRow& a, const BlockRow& b, const BlockRow& c, const BlockRow& d, const BlockRow& e,
                           const Vek8u*, Vek8u* dst)
    {
        const V even = Eight(Add16(a.outer.even, e.outer.even),
                             Add16(Add16(a.inner.even, e.inner.even), Add16(b.outer.even, d.outer.even)),
                                Add16(Add16(a.middle.even, e.middle.even), c.outer.even),
                                Add16(b.inner.even, d.inner.even),
                                Add16(Add16(b.middle.even, d.middle.even), c.inner.even), c.middle.even);
        const V odd = Eight(Add16(a.outer.odd, e.outer.odd),
                               Add16(Add16(a.inner.odd, e.inner.odd), Add16(b.outer.odd, d.outer.odd)),
                               Add16(Add16(a.middle.odd, e.middle.odd), c.outer.odd),
                               Add16(b.inner.odd, d.inner.odd),
                               Add16(Add16(b.middle.odd, d.middle.odd), c.inner.odd), c.middle.odd);
        StoreBytes(dst, {even, odd});
    }
};

// With the multiply-add of bytes a row gives its weighted sums for windows that have it as an outer, an
// inner or the middle row: 16 bits hold each, and that of two like rows. The two places to the left, the
// centre and the two to the right are a product each, which no weight saturates; loads a byte apart let
// even and odd places share the constants, whose loads bound this kernel.
struct Gauss5Bytes : Gauss5 {
    struct BlockRow { WordPair outer, inner, middle; };

    static V Pairs(V v, Vek32s first, Vek32s second) { return MulAdd8us(v, Splat16(first | second << 8)); }

    static WordPair Weighted(const V (&at)[5], Vek32s far, Vek32s near, Vek32s centre)
    {
        return {Add16(Add16(Pairs(at[0], far, near), Pairs(at[2], centre, 0)), Pairs(at[3], near, far)),
                Add16(Add16(Pairs(at[1], far, near), Pairs(at[2], 0, centre)), Pairs(at[4], near, far))};
    }

    static BlockRow Block(const Vek8u* p)
    {
        const V at[5] = {LoadU(p - 2), LoadU(p - 1), LoadU(p), LoadU(p + 1), LoadU(p + 2)};
        return {Weighted(at, kCorner, kEdge, kArm), Weighted(at, kEdge, kInnerCorner, kInnerEdge),
                Weighted(at, kArm, kInnerEdge, kCentre)};
    }

    static void StoreBlock(const BlockRow& a, const BlockRow& b, const BlockRow& c, const BlockRow& d, const BlockRow& e,
                           const Vek8u*, Vek8u* dst)
    {
        StoreBytes(dst, {Quotient(Add16(a.outer.even, e.outer.even), Add16(b.inner.even, d.inner.even), c.middle.even),
                         Quotient(Add16(a.outer.odd, e.outer.odd), Add16(b.inner.odd, d.inner.odd), c.middle.odd)});
    }
};

}  // namespace

VekStatus vekiFilterGauss_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize, Vek32s mask)
{
    if (!pSrc || !pDst)                                  return StatusNullPointer;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)   return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)                      return StatusBadStep;
    if (mask != MaskSize3x3 && mask != MaskSize5x5)      return StatusBadMaskSize;

    if (mask == MaskSize3x3)
        return Sweep<Gauss3, 3>(pSrc, srcStep, pDst, dstStep, dstRoiSize);
    return kHasByteShuffle ? Sweep<Gauss5Bytes, 5>(pSrc, srcStep, pDst, dstStep, dstRoiSize)
                           : Sweep<Gauss5, 5>(pSrc, srcStep, pDst, dstStep, dstRoiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
