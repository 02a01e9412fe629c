// Gaussian smoothing, 3x3 of weight 16 and 5x5 of weight 571.
#include "filter/sweep.h"
#include "frame/simd_float.h"
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

    // Eight results, of the six sums of their samples.
    static V Quotient(V corner, V edge, V arm, V innerCorner, V innerEdge, V centre)
    {
        const V w0 = Splat32(kCorner | kEdge << 16), w1 = Splat32(kArm | kInnerCorner << 16), w2 = Splat32(kInnerEdge | kCentre << 16);
        const V low = Add32(Add32(MulAdd16(UnpackLow16(corner, edge), w0), MulAdd16(UnpackLow16(arm, innerCorner), w1)),
                            MulAdd16(UnpackLow16(innerEdge, centre), w2));
        const V high = Add32(Add32(MulAdd16(UnpackHigh16(corner, edge), w0), MulAdd16(UnpackHigh16(arm, innerCorner), w1)),
                             MulAdd16(UnpackHigh16(innerEdge, centre), w2));
        // 1 / 571. Rounded to nearest, the product equals tier 0's fixed-point quotient for every sum that
        // bytes can give: no sum lies on a border between two results, as 571 is odd.
        const F reciprocal = SplatF(0.0017513134f);
        return Pack32sTo16s(Nearest32s(Mul(ToFloat(low), reciprocal)), Nearest32s(Mul(ToFloat(high), reciprocal)));
    }

    static void StoreBlock(const BlockRow& a, const BlockRow& b, const BlockRow& c, const BlockRow& d, const BlockRow& e,
                           const Vek8u*, Vek8u* dst)
    {
        const V even = Quotient(Add16(a.outer.even, e.outer.even),
                                Add16(Add16(a.inner.even, e.inner.even), Add16(b.outer.even, d.outer.even)),
                                Add16(Add16(a.middle.even, e.middle.even), c.outer.even),
                                Add16(b.inner.even, d.inner.even),
                                Add16(Add16(b.middle.even, d.middle.even), c.inner.even), c.middle.even);
        const V odd = Quotient(Add16(a.outer.odd, e.outer.odd),
                               Add16(Add16(a.inner.odd, e.inner.odd), Add16(b.outer.odd, d.outer.odd)),
                               Add16(Add16(a.middle.odd, e.middle.odd), c.outer.odd),
                               Add16(b.inner.odd, d.inner.odd),
                               Add16(Add16(b.middle.odd, d.middle.odd), c.inner.odd), c.middle.odd);
        StoreBytes(dst, {even, odd});
    }
};

VekStatus Gauss5x5(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize size)
{
    if constexpr (kBlocks) {
        const NearestMode mode;
        return Sweep<Gauss5, 5>(pSrc, srcStep, pDst, dstStep, size);
    } else {
        return Sweep<Gauss5, 5>(pSrc, srcStep, pDst, dstStep, size);
    }
}

}  // namespace

VekStatus vekiFilterGauss_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize, Vek32s mask)
{
    if (!pSrc || !pDst)                                  return StatusNullPointer;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)   return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)                      return StatusBadStep;
    if (mask != MaskSize3x3 && mask != MaskSize5x5)      return StatusBadMaskSize;

    return mask == MaskSize3x3 ? Sweep<Gauss3, 3>(pSrc, srcStep, pDst, dstStep, dstRoiSize)
                               : Gauss5x5(pSrc, srcStep, pDst, dstStep, dstRoiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
