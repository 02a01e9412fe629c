// Projective warp of a byte image of three channels.
#include <math.h>

#include "geometry/affine.h"
#include "geometry/warp_rows.h"
#include "uvek/geometry.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// The adjugate of the forward matrix, rows of (column, row, constant) factors of x, y and w; and its
// three sums on the present row, without the column's part.
struct PerspectiveInverse {
    Vek64f m[9];
    Vek64f x, y, w;

    explicit PerspectiveInverse(const Vek64f* c)
        : m{c[4] * c[8] - c[7] * c[5], c[7] * c[2] - c[1] * c[8], c[1] * c[5] - c[4] * c[2],
            c[6] * c[5] - c[3] * c[8], c[0] * c[8] - c[6] * c[2], c[3] * c[2] - c[0] * c[5],
            c[3] * c[7] - c[6] * c[4], c[6] * c[1] - c[0] * c[7], c[0] * c[4] - c[3] * c[1]}
    {
    }

    void StartAt(Vek32s row)
    {
        x = m[1] * row + m[2];
        y = m[4] * row + m[5];
        w = m[7] * row + m[8];
    }

    struct State {
        D xy;
        Vek64f w;
    };

    State Start(Vek32s column)
    {
        const State state = {LanesD(m[0] * column + x, m[3] * column + y), m[6] * column + w};
        x += m[1];
        y += m[4];
        w += m[7];
        return state;
    }

    void Fill(State& state, Vek64f* coords, Vek32s count) const
    {
        D xy = state.xy;
        Vek64f z = state.w;
        const D step = LanesD(m[0], m[3]);
        Vek32s i = 0;
        for (; count - i >= 2; i += 2) {  // one division for two positions
            const D next = Add(xy, step);
            const Vek64f zNext = z + m[6];
            const D r = Div(SplatD(1), LanesD(z, zNext));
            StoreU(coords + 2 * i, Mul(xy, Pick<0, 0>(r, r)));
            StoreU(coords + 2 * i + 2, Mul(next, Pick<1, 1>(r, r)));
            xy = Add(next, step);
            z = zNext + m[6];
        }
        if (i < count) {
            StoreU(coords + 2 * i, Mul(xy, SplatD(1 / z)));
            xy = Add(xy, step);
            z += m[6];
        }
        state = {xy, z};
    }
};

Vertex Project(const Vek64f* c, Vek64f x, Vek64f y)
{
    const Vek64f w = c[6] * x + c[7] * y + c[8];
    return {(c[0] * x + c[1] * y + c[2]) / w, (c[3] * x + c[4] * y + c[5]) / w};
}

}  // namespace

VekStatus vekiWarpPerspective_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, const Vek64f coeffs[3][3], Vek32s interpolation)
{
    const WarpCall call = {pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoi, kKind8u + kLayoutC3, interpolation};
    if (!pSrc || !pDst)                            return StatusNullPointer;
    if (HasBadSize(call))                          return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)                return StatusBadStep;
    if (!IsInterpolation(interpolation))           return StatusBadInterpolation;
    Vek64f c[9];
    memcpy(c, coeffs, sizeof c);
    if (IsSingular(c[0], c[1], c[3], c[4]))        return StatusBadCoefficients;
    if (fabs(c[8]) <= 1e-200)                      return StatusBadCoefficients;
    if (fabs(c[8] / c[8]) <= 1e-10)                return StatusBadCoefficients;
    if (StartsOutside(srcRoi, srcSize))            return WarnEmptyIntersection;
    const VekImageRect roi = ClipToImage(srcRoi, srcSize);
    if (roi.width < 2 || roi.height < 2)           return StatusBadRectangle;
    const Quadrangle quadrangle = MapCorners(roi, [&](Vek64f x, Vek64f y) { return Project(c, x, y); });
    if (Winding(quadrangle) < 0)                   return StatusBadCoefficients;

    return Warp(call, quadrangle, IsClockwise(quadrangle), PerspectiveInverse(c));
}

}  // namespace uvek::VEK_TIER_NAMESPACE
