// What the two warps share below their checks: a row of source positions for each span, then the
// sampling of them. The positions' divisions and roots so run ahead of the sampling's loads.
#ifndef UVEK_GEOMETRY_WARP_ROWS_H
#define UVEK_GEOMETRY_WARP_ROWS_H

#include "frame/memory.h"
#include "geometry/affine_sample.h"
#include "geometry/affine_smooth.h"
#include "geometry/spans.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Reads the positions of a span, x and y in turn.
struct CoordWalk {
    const Vek64f* next;

    D Next()
    {
        const D now = LoadU(next);
        next += 2;
        return now;
    }
};

constexpr int kWarpChannels = 3;

// inverse.Row(coords, column, row, count) fills in the positions of `count` pixels from that column;
// it is called once a row, downward, whether the row has pixels or not.
template <int code, class Inverse>
void SampleWarp(const WarpCall& call, const SpanTable& table, Inverse& inverse, Vek64f* coords)
{
    const SourceImage source = SourceOf(call);
    const int64_t rows = (int64_t)table.lastRow - table.firstRow + 1;
    for (int64_t i = 0; i < rows; ++i) {
        const Span span = table.spans[i];
        const Vek32s count = span.first > span.last ? 0 : span.last - span.first + 1;
        inverse.NextRow(coords, span.first, count);
        CoordWalk walk = {coords};
        Vek8u* const dst = Offset(call.pDst, (table.firstRow + i) * call.dstStep + (int64_t)span.first * kWarpChannels);
        SampleSpan<Vek8u, kWarpChannels, code>(source, walk, dst, count);
    }
}

// A row holds the widest span.
inline Vek64f* AllocateCoordRow(const SpanTable& table)
{
    int64_t widest = 1;
    for (int64_t i = 0; i <= (int64_t)table.lastRow - table.firstRow; ++i)
        widest = Max(widest, (int64_t)table.spans[i].last - table.spans[i].first + 1);
    return (Vek64f*)AllocateBlock(widest * 2 * (int64_t)sizeof(Vek64f));
}

// `inverse` maps back to the region whose corners' images are `quadrangle`; it stands at firstRow.
template <class Inverse>
VekStatus Warp(const WarpCall& call, const Quadrangle& quadrangle, bool clockwise, Inverse&& inverse)
{
    SpanTable table;
    if (!MakeSpans(quadrangle, clockwise, call.dstRoi, &table))
        return WarnNoRotationOverlap;
    Vek64f* const coords = AllocateCoordRow(table);
    if (coords) {
        const int code = Downgraded(call.interpolation, call.srcSize);
        inverse.StartAt(table.firstRow);
        (code == InterNearest ? SampleWarp<InterNearest, Inverse> : code == InterLinear ? SampleWarp<InterLinear, Inverse> : SampleWarp<InterCubic, Inverse>)(call, table, inverse, coords);
        if (HasSmoothEdges(call.interpolation))
            SmoothEdges(call, table.polygon, clockwise);
    }
    ReleaseBlock(coords);
    ReleaseSpans(&table);
    return coords ? StatusOk : StatusNoMemory;
}

// The turn at the quadrangle's third corner.
inline bool IsClockwise(const Quadrangle& quadrangle)
{
    const Vertex* q = quadrangle.at;
    return (q[3].x - q[2].x) * (q[0].y - q[3].y) - (q[0].x - q[3].x) * (q[3].y - q[2].y) > 0;
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
