// Sharpening: the centre times the mask's area, less the sum of the mask.
#include "filter/sweep.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct Hipass3 {
    using Src = Vek8u;
    using Dst = Vek8u;
    using Row = Vek32s;
    using BlockRow = WordPair;
    static constexpr Vek32s kBlock = 16;

    static Row Scalar(const Vek8u* p) { return p[-1] + p[0] + p[1]; }

    static Vek8u Combine(Row a, Row b, Row c, const Vek8u* centre) { return Saturate8u(9 * *centre - (a + b + c)); }

    static BlockRow Block(const Vek8u* p)
    {
        const V here = LoadU(p);
        const V a = EvenBytes(LoadU(p - 1)), b = EvenBytes(here), c = OddBytes(here), d = OddBytes(LoadU(p + 1));
        const V middle = Add16(b, c);
        return {Add16(a, middle), Add16(middle, d)};
    }

    static void StoreBlock(const BlockRow& a, const BlockRow& b, const BlockRow& c, const Vek8u* centre, Vek8u* dst)
    {
        const V here = LoadU(centre), nine = Splat16(9);
        StoreSaturated(dst, {Sub16(MulLow16(EvenBytes(here), nine), Add16(Add16(a.even, b.even), c.even)),
                             Sub16(MulLow16(OddBytes(here), nine), Add16(Add16(a.odd, b.odd), c.odd))});
    }
};

struct Hipass5 {
    using Src = Vek8u;
    using Dst = Vek8u;
    using Row = Vek32s;
    using BlockRow = WordPair;
    static constexpr Vek32s kBlock = 16;

    static Row Scalar(const Vek8u* p) { return p[-2] + p[-1] + p[0] + p[1] + p[2]; }

    static Vek8u Combine(Row a, Row b, Row c, Row d, Row e, const Vek8u* centre)
    {
        return Saturate8u(25 * *centre - (a + b + c + d + e));
    }

    static BlockRow Block(const Vek8u* p)
    {
        const V left = LoadU(p - 2), here = LoadU(p), right = LoadU(p + 2);
        const V middle = Add16(Add16(OddBytes(left), EvenBytes(here)), Add16(OddBytes(here), EvenBytes(right)));
        return {Add16(EvenBytes(left), middle), Add16(middle, OddBytes(right))};
    }

    static void StoreBlock(const BlockRow& a, const BlockRow& b, const BlockRow& c, const BlockRow& d, const BlockRow& e,
                           const Vek8u* centre, Vek8u* dst)
    {
        const V here = LoadU(centre), area = Splat16(25);
        const V even = Add16(Add16(Add16(a.even, b.even), Add16(c.even, d.even)), e.even);
        const V odd = Add16(Add16(Add16(a.odd, b.odd), Add16(c.odd, d.odd)), e.odd);
        StoreSaturated(dst, {Sub16(MulLow16(EvenBytes(here), area), even), Sub16(MulLow16(OddBytes(here), area), odd)});
    }
};

}  // namespace

VekStatus vekiFilterHipass_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize, Vek32s mask)
{
    if (!pSrc || !pDst)                                  return StatusNullPointer;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)   return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)                      return StatusBadStep;
    if (mask != MaskSize3x3 && mask != MaskSize5x5)      return StatusBadMaskSize;

    return mask == MaskSize3x3 ? Sweep<Hipass3, 3>(pSrc, srcStep, pDst, dstStep, dstRoiSize)
                               : Sweep<Hipass5, 5>(pSrc, srcStep, pDst, dstStep, dstRoiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
