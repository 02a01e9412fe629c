// Rotation by an angle and a shift, and the shifts and bounds that go with it.
#include <math.h>

#include "geometry/affine.h"
#include "geometry/orthogonal.h"
#include "uvek/geometry.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Into 0 to 360.
Vek64f Normalised(Vek64f angle)
{
    const Vek64f a = angle - trunc(angle / 360) * 360;
    return a < 0 ? a + 360 : a;
}

// Cosine and sine, exact at the quarter turns.
struct Turn {
    Vek64f c, s;
};

Turn TurnBy(Vek64f normalised)
{
    if (normalised == 90)
        return {0, 1};
    if (normalised == 180)
        return {-1, 0};
    if (normalised == 270)
        return {0, -1};
    const Vek64f t = normalised / 180 * 3.141592653589793;
    return {cos(t), sin(t)};
}

AffineMatrix RotateMatrix(Vek64f normalised, Vek64f xShift, Vek64f yShift)
{
    const Turn turn = TurnBy(normalised);
    return {turn.c, turn.s, xShift, -turn.s, turn.c, yShift};
}

// The shift that brings (x, y) back to its place.
Vertex RotateShift(Vek64f x, Vek64f y, Vek64f angle)
{
    const Vek64f a = Normalised(angle);
    if (a == 0)
        return {0, 0};
    if (a == 90)
        return {x - y, y + x};
    if (a == 180)
        return {x + x, y + y};
    if (a == 270)
        return {x + y, y - x};
    const Turn turn = TurnBy(a);
    return {x - x * turn.c - y * turn.s, y - turn.c * y + x * turn.s};
}

VekStatus Rotate(const WarpCall& call, Vek64f angle, Vek64f xShift, Vek64f yShift)
{
    const Vek64f a = Normalised(angle);
    if ((a == 90 || a == 180 || a == 270) && xShift == floor(xShift) && yShift == floor(yShift))
        return OrthogonalRotate(call, (int)a / 90, xShift, yShift);
    return AffineCore(call, RotateMatrix(a, xShift, yShift));
}

}  // namespace

#define UVEK_ROTATE(name, T, formatCode)                                                                                                                            \
    VekStatus name(const T* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, T* pDst, Vek32s dstStep, VekImageRect dstRoi,                          \
                   Vek64f angle, Vek64f xShift, Vek64f yShift, Vek32s interpolation)                                                                                \
    {                                                                                                                                                               \
        return Rotate({(const Vek8u*)pSrc, srcSize, srcStep, srcRoi, (Vek8u*)pDst, dstStep, dstRoi, formatCode, interpolation}, angle, xShift, yShift);             \
    }
UVEK_ROTATE(vekiRotate_8u_C1R, Vek8u, kKind8u + kLayoutC1)
UVEK_ROTATE(vekiRotate_8u_C3R, Vek8u, kKind8u + kLayoutC3)
UVEK_ROTATE(vekiRotate_8u_C4R, Vek8u, kKind8u + kLayoutC4)
UVEK_ROTATE(vekiRotate_16u_C1R, Vek16u, kKind16u + kLayoutC1)
UVEK_ROTATE(vekiRotate_16u_C3R, Vek16u, kKind16u + kLayoutC3)
UVEK_ROTATE(vekiRotate_32f_C3R, Vek32f, kKind32f + kLayoutC3)
#undef UVEK_ROTATE

VekStatus vekiRotateCenter_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi,
                                  Vek64f angle, Vek64f xCenter, Vek64f yCenter, Vek32s interpolation)
{
    const Vertex shift = RotateShift(xCenter, yCenter, angle);
    return Rotate({pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoi, kKind8u + kLayoutC3, interpolation}, angle, shift.x, shift.y);
}

VekStatus vekiGetRotateBound(VekImageRect srcRoi, Vek64f bound[4], Vek64f angle, Vek64f xShift, Vek64f yShift)
{
    if (HasBadOrigin(srcRoi) || srcRoi.width < 1 || srcRoi.height < 1)  return StatusBadSize;

    const AffineMatrix matrix = RotateMatrix(Normalised(angle), xShift, yShift);
    const Quadrangle q = MapCorners(srcRoi, [&](Vek64f x, Vek64f y) { return Map(matrix, x, y); });
    Vertex low = q.at[0], high = q.at[0];
    for (int i = 1; i < 4; ++i) {
        low = {Min(low.x, q.at[i].x), Min(low.y, q.at[i].y)};
        high = {Max(high.x, q.at[i].x), Max(high.y, q.at[i].y)};
    }
    Put(bound, low.x);
    Put(bound + 1, low.y);
    Put(bound + 2, high.x);
    Put(bound + 3, high.y);
    return StatusOk;
}

VekStatus vekiAddRotateShift(Vek64f xCenter, Vek64f yCenter, Vek64f angle, Vek64f* pxShift, Vek64f* pyShift)
{
    if (!pxShift || !pyShift)  return StatusNullPointer;

    const Vertex shift = RotateShift(xCenter, yCenter, angle);
    Put(pxShift, Get(pxShift) + shift.x);
    Put(pyShift, Get(pyShift) + shift.y);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
