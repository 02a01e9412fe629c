// The engine under rotation and affine warps: any affine mapping of a region, by destination pixels.
#ifndef UVEK_GEOMETRY_AFFINE_H
#define UVEK_GEOMETRY_AFFINE_H

#include "geometry/spans.h"
#include "geometry/warp_call.h"

namespace uvek::VEK_TIER_NAMESPACE {

// X = c00 x + c01 y + c02, Y = c10 x + c11 y + c12.
struct AffineMatrix {
    Vek64f c00, c01, c02, c10, c11, c12;
};

inline Vertex Map(const AffineMatrix& m, Vek64f x, Vek64f y)
{
    return {m.c00 * x + m.c01 * y + m.c02, m.c10 * x + m.c11 * y + m.c12};
}

// The images of a region's corner pixels.
template <typename Mapping>
inline Quadrangle MapCorners(VekImageRect roi, Mapping&& map)
{
    const Vek64f x0 = roi.x, y0 = roi.y, x1 = x0 + roi.width - 1, y1 = y0 + roi.height - 1;
    return {{map(x0, y0), map(x1, y0), map(x1, y1), map(x0, y1)}};
}

// Whether the linear part maps the plane to a line, or nearly so.
bool IsSingular(Vek64f c00, Vek64f c01, Vek64f c10, Vek64f c11);

VekStatus AffineCore(const WarpCall& call, const AffineMatrix& matrix);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
