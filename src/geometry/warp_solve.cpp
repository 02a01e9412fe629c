// The coefficients that carry a rectangle onto a quadrangle.
#include "geometry/spans.h"
#include "geometry/warp_call.h"
#include "uvek/geometry.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct Corners {
    Vek64f x0, y0, x1, y1;
};

VekStatus Check(VekImageRect roi, const Quadrangle& quadrangle)
{
    if (HasBadOrigin(roi) || roi.width < 1 || roi.height < 1)  return StatusBadSize;
    if (Winding(quadrangle) < 0)                               return StatusBadQuadrangle;
    if (roi.width - 1 < 1 || roi.height - 1 < 1)               return StatusBadRectangle;
    return StatusOk;
}

Corners CornersOf(VekImageRect roi)
{
    return {(Vek64f)roi.x, (Vek64f)roi.y, (Vek64f)roi.x + roi.width - 1, (Vek64f)roi.y + roi.height - 1};
}

// One coordinate of the corners' images, in their order.
void SolveBilinear(const Corners& r, const Vek64f (&q)[4], Vek64f (&row)[4])
{
    const Vek64f e0 = q[1] - q[0], e1 = q[2] - q[1], e2 = q[3] - q[2], e3 = q[0] - q[3];
    const Vek64f inv = 1 / ((r.x1 - r.x0) * (r.y1 - r.y0));
    row[0] = (-e0 - e2) * inv;
    row[1] = (e0 * r.y1 + e2 * r.y0) * inv;
    row[2] = (e3 * -r.x1 - e1 * r.x0) * inv;
    row[3] = (-row[0] * r.y0 - row[1]) * r.x0 + q[0] - row[2] * r.y0;
}

}  // namespace

VekStatus vekiGetBilinearTransform(VekImageRect srcRoi, const Vek64f quad[4][2], Vek64f coeffs[2][4])
{
    Quadrangle q;
    memcpy(q.at, quad, sizeof q.at);
    const VekStatus status = Check(srcRoi, q);
    if (status != StatusOk)
        return status;

    const Corners corners = CornersOf(srcRoi);
    Vek64f rows[2][4];
    SolveBilinear(corners, {q.at[0].x, q.at[1].x, q.at[2].x, q.at[3].x}, rows[0]);
    SolveBilinear(corners, {q.at[0].y, q.at[1].y, q.at[2].y, q.at[3].y}, rows[1]);
    memcpy(coeffs, rows, sizeof rows);
    return StatusOk;
}

VekStatus vekiGetPerspectiveTransform(VekImageRect srcRoi, const Vek64f quad[4][2], Vek64f coeffs[3][3])
{
    Quadrangle quadrangle;
    memcpy(quadrangle.at, quad, sizeof quadrangle.at);
    const VekStatus status = Check(srcRoi, quadrangle);
    if (status != StatusOk)
        return status;

    const Corners r = CornersOf(srcRoi);
    const Vertex* q = quadrangle.at;
    const Vek64f u = 1 / (r.x1 - r.x0), v = 1 / (r.y1 - r.y0);
    const Vek64f dx1 = q[3].x - q[2].x, dx2 = q[2].x - q[1].x, sx = (q[0].x - q[3].x) + dx2;
    const Vek64f dy1 = q[3].y - q[2].y, dy2 = q[2].y - q[1].y, sy = (q[0].y - q[3].y) + dy2;
    const Vek64f det = 1 / (dx1 * dy2 - dx2 * dy1);
    const Vek64f g = (sx * dy2 - sy * dx2) * det, h = (sx * dy1 - sy * dx1) * det;
    const Vek64f A = (q[1].x - q[0].x + q[1].x * h) * u, D = (q[1].y - q[0].y + q[1].y * h) * u;
    const Vek64f B = (q[3].x * g - (q[0].x - q[3].x)) * v, E = (q[3].y * g - (q[0].y - q[3].y)) * v;
    const Vek64f G = h * u, H = g * v;
    const Vek64f c[9] = {A, B, q[0].x - A * r.x0 - B * r.y0,
                         D, E, q[0].y - D * r.x0 - E * r.y0,
                         G, H, 1 - r.x0 * G - r.y0 * H};
    memcpy(coeffs, c, sizeof c);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
