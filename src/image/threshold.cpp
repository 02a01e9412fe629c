// Samples on one side of a threshold take a fixed value.
#include "frame/simd.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

enum class Side { Below, Above };

// SSE orders bytes as signed only; v <= limit is max(v, limit) == limit.
template <Side side>
inline V ReplaceBlock(V v, V limit, V fill)
{
    const V nearer = side == Side::Above ? Max8u(v, limit) : Min8u(v, limit);
    return Select(Equal8(nearer, limit), v, fill);
}

template <Side side>
void ReplaceRow(Vek8u* row, Vek32s width, Vek8u threshold, Vek8u value)
{
    Vek32s x = 0;
    if (kBlocks) {
        const V limit = Splat8(threshold), fill = Splat8(value);
        const auto replace16 = [=](Vek8u* p) { StoreU(p, ReplaceBlock<side>(LoadU(p), limit, fill)); };
        for (; width - x >= 64; x += 64) {
            replace16(row + x);
            replace16(row + x + 16);
            replace16(row + x + 32);
            replace16(row + x + 48);
        }
        for (; width - x >= 16; x += 16)
            replace16(row + x);
    }
    for (; x < width; ++x)
        row[x] = (side == Side::Above ? row[x] > threshold : row[x] < threshold) ? value : row[x];
}

template <Side side>
VekStatus Replace(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek8u threshold, Vek8u value)
{
    if (!pSrcDst)                                 return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (srcDstStep < 1)                           return StatusBadStep;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        ReplaceRow<side>(Row(pSrcDst, srcDstStep, y), roiSize.width, threshold, value);
    return StatusOk;
}

}  // namespace

VekStatus vekiThreshold_GTVal_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek8u threshold, Vek8u value)
{
    return Replace<Side::Above>(pSrcDst, srcDstStep, roiSize, threshold, value);
}

VekStatus vekiThreshold_LTVal_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek8u threshold, Vek8u value)
{
    return Replace<Side::Below>(pSrcDst, srcDstStep, roiSize, threshold, value);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
