// Softens slanted edges: the pixel just outside the edge is mixed with its inner neighbour, by the
// edge's distance to the two.
#include "geometry/affine_smooth.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <typename T>
void Mix(Vek8u* pOuter, const Vek8u* pInner, Vek64f outerWeight, Vek64f innerWeight, int channels)
{
    for (int c = 0; c < channels; ++c) {
        const Vek64f v = Get((const T*)pOuter + c) * outerWeight + Get((const T*)pInner + c) * innerWeight;
        if constexpr (sizeof(T) == 4)
            Put((T*)pOuter + c, (T)v);
        else
            Put((T*)pOuter + c, (T)(Vek32s)(v + 0.5));
    }
}

// Along x where steep is false, else along y. `a` and `b` are the edge's ends in the polygon's order.
void SmoothEdge(const WarpCall& call, Vertex a, Vertex b, bool steep, bool clockwise)
{
    const Vek64f ac = steep ? a.y : a.x, bc = steep ? b.y : b.x, ap = steep ? a.x : a.y, bp = steep ? b.x : b.y;
    // Clockwise, the outer side of an edge that runs to the right is above it, of one that runs down,
    // to its right.
    const bool outerIsLess = ((bc > ac) != steep) == clockwise;
    const VekImageRect roi = call.dstRoi;
    const Vek64f pLow = steep ? roi.x : roi.y, pHigh = pLow + (steep ? roi.width : roi.height) - 1;
    const int channels = ChannelsOf(call.formatCode), sampleBytes = SampleBytesOf(call.formatCode);
    const int64_t pixel = channels * sampleBytes;
    const auto mix = sampleBytes == 1 ? Mix<Vek8u> : sampleBytes == 2 ? Mix<Vek16u> : Mix<Vek32f>;

    const Vek64f last = floor(Max(ac, bc));
    for (Vek64f c = ceil(Min(ac, bc)); c <= last; c += 1) {
        const Vek64f p = ap + (c - ac) * (bp - ap) / (bc - ac);
        const Vek64f outer = outerIsLess ? floor(p) : ceil(p), inner = outerIsLess ? ceil(p) : floor(p);
        // The edge lies in dstRoi; rounding must not lead out of it.
        if (p == inner || !(Min(inner, outer) >= pLow && Max(inner, outer) <= pHigh))
            continue;
        const int64_t along = (int64_t)c, o = (int64_t)outer, i = (int64_t)inner;
        const auto at = [&](int64_t across) {
            return Offset(call.pDst, (steep ? along : across) * call.dstStep + (steep ? across : along) * pixel);
        };
        mix(at(o), at(i), fabs(p - outer), fabs(p - inner), channels);
    }
}

}  // namespace

void SmoothEdges(const WarpCall& call, const Polygon& polygon, bool clockwise)
{
    if (polygon.count < 3)
        return;
    for (int i = 0; i < polygon.count; ++i) {
        const Vertex a = polygon.at[i], b = polygon.at[i + 1 == polygon.count ? 0 : i + 1];
        if (a.x != b.x && a.y != b.y)
            SmoothEdge(call, a, b, fabs(b.y - a.y) > fabs(b.x - a.x), clockwise);
    }
}

}  // namespace uvek::VEK_TIER_NAMESPACE
