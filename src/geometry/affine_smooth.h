// Softens the slanted edges of a region that was written into a destination.
#ifndef UVEK_GEOMETRY_AFFINE_SMOOTH_H
#define UVEK_GEOMETRY_AFFINE_SMOOTH_H

#include "geometry/spans.h"
#include "geometry/warp_call.h"

namespace uvek::VEK_TIER_NAMESPACE {

void SmoothEdges(const WarpCall& call, const Polygon& polygon, bool clockwise);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
