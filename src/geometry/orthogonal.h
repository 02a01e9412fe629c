// Rotation by 90, 180 or 270 degrees and a whole shift: pixels move as they are.
#ifndef UVEK_GEOMETRY_ORTHOGONAL_H
#define UVEK_GEOMETRY_ORTHOGONAL_H

#include "geometry/warp_call.h"

namespace uvek::VEK_TIER_NAMESPACE {

// quarterTurns: 1 to 3, counter-clockwise. The interpolation is not looked at.
VekStatus OrthogonalRotate(const WarpCall& call, int quarterTurns, Vek64f xShift, Vek64f yShift);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
