// Dilation and erosion in place: a row's horizontal extremes are kept until the next two rows have
// used them, so that the row itself may be overwritten.
#include "filter/sweep.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct Largest {
    static Vek8u Of(Vek8u a, Vek8u b) { return Max(a, b); }
    static V Of(V a, V b) { return Max8u(a, b); }
};

struct Smallest {
    static Vek8u Of(Vek8u a, Vek8u b) { return Min(a, b); }
    static V Of(V a, V b) { return Min8u(a, b); }
};

template <typename Pick>
struct Neighbourhood3 {
    using Src = Vek8u;
    using Dst = Vek8u;
    using Row = Vek8u;
    using BlockRow = V;
    static constexpr Vek32s kBlock = 16;

    static Row Scalar(const Vek8u* p) { return Pick::Of(Pick::Of(p[-1], p[0]), p[1]); }
    static Vek8u Combine(Row a, Row b, Row c, const Vek8u*) { return Pick::Of(Pick::Of(a, b), c); }
    static BlockRow Block(const Vek8u* p) { return Pick::Of(Pick::Of(LoadU(p - 1), LoadU(p)), LoadU(p + 1)); }
    static void StoreBlock(V a, V b, V c, const Vek8u*, Vek8u* dst) { StoreU(dst, Pick::Of(Pick::Of(a, b), c)); }
};

template <typename Pick>
VekStatus Morphology(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize size)
{
    if (!pSrcDst)                                return StatusNullPointer;
    if (srcDstStep < 1)                          return StatusBadStep;
    if (size.width < 1 || size.height < 1)       return StatusBadSize;
    if (srcDstStep < (int64_t)size.width + 2)    return StatusStepTooSmall;

    return Sweep<Neighbourhood3<Pick>, 3>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, size);
}

}  // namespace

VekStatus vekiDilate3x3_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    return Morphology<Largest>(pSrcDst, srcDstStep, roiSize);
}

VekStatus vekiErode3x3_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize)
{
    return Morphology<Smallest>(pSrcDst, srcDstStep, roiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
