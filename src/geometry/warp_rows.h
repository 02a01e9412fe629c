// What the two warps share below their checks: a row of source positions, then the sampling of them.
// The positions' divisions and roots so run ahead of the sampling's loads.
#ifndef UVEK_GEOMETRY_WARP_ROWS_H
#define UVEK_GEOMETRY_WARP_ROWS_H

#include "geometry/affine_smooth.h"
#include "geometry/affine_tiles.h"

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

// Positions of a tile's row, computed before the first of them is sampled.
struct CoordRow {
    Vek64f at[2 * kTileWidth];
};

// What tiles ask of rows, from an inverse mapping: inverse.Start(column) as there, and
// inverse.Fill(state, coords, count), which leaves the state behind the positions that it fills in.
template <class Inverse>
struct WarpRows {
    using State = typename Inverse::State;

    Inverse& inverse;
    CoordRow coords;

    State Start(Vek32s column) { return inverse.Start(column); }
    CoordWalk WalkOf(State& state, Vek32s count)
    {
        inverse.Fill(state, coords.at, count);
        return {coords.at};
    }
};

template <int code, class Inverse>
void SampleWarp(const WarpCall& call, const SpanTable& table, Inverse& inverse)
{
    WarpRows<Inverse> rows = {inverse, {}};
    SampleTiles<Vek8u, 3, code>(SourceOf(call, 0), table, rows, call.pDst, call.dstStep);
}

// `inverse` maps back to the region whose corners' images are `quadrangle`.
template <class Inverse>
VekStatus Warp(const WarpCall& call, const Quadrangle& quadrangle, bool clockwise, Inverse&& inverse)
{
    SpanTable table;
    if (!MakeSpans(quadrangle, clockwise, call.dstRoi, &table))
        return WarnNoRotationOverlap;
    inverse.StartAt(table.firstRow);
    const int code = Downgraded(call.interpolation, call.srcSize);
    const auto kernel = code == InterNearest ? SampleWarp<InterNearest, Inverse> : code == InterLinear ? SampleWarp<InterLinear, Inverse> : SampleWarp<InterCubic, Inverse>;
    kernel(call, table, inverse);
    ReleaseSpans(&table);
    if (HasSmoothEdges(call.interpolation))
        SmoothEdges(call, table.polygon, clockwise);
    return StatusOk;
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
