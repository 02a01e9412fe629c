// Samples on one side of a threshold take a fixed value.
#include "frame/simd.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

enum class Side { Below, Above };

// The sample, held to the limit. SSE orders bytes as signed only, but it has their extremes.
template <Side side>
inline V Clamp(V v, V limit)
{
    return side == Side::Above ? Min8u(v, limit) : Max8u(v, limit);
}

// Whole blocks of 16 samples; how many samples they are.
template <typename Map>
inline Vek32s MapBlocks(Vek8u* row, Vek32s width, Map map)
{
    const auto map16 = [=](Vek8u* p) { StoreU(p, map(LoadU(p))); };
    Vek32s x = 0;
    for (; width - x >= 64; x += 64) {
        map16(row + x);
        map16(row + x + 16);
        map16(row + x + 32);
        map16(row + x + 48);
    }
    for (; width - x >= 16; x += 16)
        map16(row + x);
    return x;
}

template <Side side>
void ReplaceRow(Vek8u* row, Vek32s width, Vek8u threshold, Vek8u value)
{
    Vek32s x = 0;
    if (kBlocks) {
        const V limit = Splat8(threshold), fill = Splat8(value);
        // A comparison with the limit, not with the sample, saves a copy of it.
        constexpr Side other = side == Side::Above ? Side::Below : Side::Above;
        x = threshold == value ? MapBlocks(row, width, [=](V v) { return Clamp<side>(v, limit); })
                               : MapBlocks(row, width, [=](V v) { return Select(Equal8(Clamp<other>(v, limit), limit), v, fill); });
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
