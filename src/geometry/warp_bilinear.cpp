// Bilinear warp of a byte image of three channels.
#include <math.h>

#include "geometry/affine.h"
#include "geometry/warp_rows.h"
#include "uvek/geometry.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// |f - g| small against |f|: the edges that f and g are products of run alike.
bool IsParallel(Vek64f f, Vek64f g)
{
    if (fabs(f) <= 1e-200)
        return fabs(g) <= 1e-10;
    return fabs((f - g) / f) <= 1e-10;
}

// Where lines of constant x or y in the source stay parallel, an equation of the inverse is of a lower
// degree: 0 is the general case, in 1 the pair of edges of `pa` is parallel, in 2 that of `pb`, in 3
// both.
struct BilinearInverse {
    Vek64f p[11];
    int kind;
    bool upperRoot;
    Vek64f a, b, c;  // the three sums on the present row, without the column's part

    BilinearInverse(const Quadrangle& quadrangle, VekImageRect roi, bool clockwise);

    void StartAt(Vek32s row)
    {
        a = p[1] * row + p[2];
        b = p[6] * row + p[8];
        c = p[7] * row + p[9];
    }

    struct State {
        Vek64f a, b, c;
    };

    State Start(Vek32s column)
    {
        const State state = {p[0] * column + a, p[4] * column + b, p[5] * column + c};
        a += p[1];
        b += p[6];
        c += p[7];
        return state;
    }

    void Fill(State& state, Vek64f* coords, Vek32s count) const
    {
        if (kind == 0 && upperRoot)
            FillAs<0, true>(state, coords, count);
        else if (kind == 0)
            FillAs<0, false>(state, coords, count);
        else if (kind == 1)
            FillAs<1, false>(state, coords, count);
        else if (kind == 2)
            FillAs<2, false>(state, coords, count);
        else
            FillAs<3, false>(state, coords, count);
    }

private:
    // The source positions of two pixels, x's and y's.
    template <int form, bool upper>
    void Solve(D A, D B, D C, D& x, D& y) const
    {
        if constexpr (form == 0) {
            const D root = Sqrt(Sub(Mul(A, A), B));
            const D u = upper ? Add(A, root) : Sub(A, root);
            x = Add(u, SplatD(p[10]));
            y = Add(Mul(SplatD(p[3]), u), C);
        } else if constexpr (form == 1) {
            x = Add(Div(B, A), SplatD(p[10]));
            y = C;
        } else if constexpr (form == 2) {
            x = B;
            y = Add(Div(C, A), SplatD(p[10]));
        } else {
            x = B;
            y = C;
        }
    }

    template <int form, bool upper>
    void FillAs(State& state, Vek64f* coords, Vek32s count) const
    {
        State s = state;
        for (Vek32s i = 0; i < count; i += 2) {
            const State next = {s.a + p[0], s.b + p[4], s.c + p[5]};
            D x, y;
            Solve<form, upper>(LanesD(s.a, next.a), LanesD(s.b, next.b), LanesD(s.c, next.c), x, y);
            StoreU(coords + 2 * i, UnpackLow(x, y));
            s = next;
            if (count - i == 1)
                break;
            StoreU(coords + 2 * i + 2, UnpackHigh(x, y));
            s = {next.a + p[0], next.b + p[4], next.c + p[5]};
        }
        state = s;
    }
};

BilinearInverse::BilinearInverse(const Quadrangle& quadrangle, VekImageRect roi, bool clockwise)
{
    const Vertex* q = quadrangle.at;
    const Vek64f x0 = q[0].x, x1 = q[1].x, x2 = q[2].x, x3 = q[3].x, y0 = q[0].y, y1 = q[1].y, y2 = q[2].y, y3 = q[3].y;
    const Vek64f W = roi.width - 1, H = roi.height - 1, Rx = roi.x, Ry = roi.y;
    const Vek64f sx = (x3 - x2) + (x1 - x0), sy = (y3 - y2) + (y1 - y0);
    const Vek64f det = (x0 - x3) * (y1 - y0) - (x1 - x0) * (y0 - y3);

    const Vek64f fa = (x1 - x0) * (y3 - y2), ga = (x3 - x2) * (y1 - y0);
    const Vek64f pa = IsParallel(fa, ga) ? 0 : ga - fa;
    const Vek64f fb = (x0 - x3) * (y2 - y1), gb = (x2 - x1) * (y0 - y3);
    const Vek64f pb = IsParallel(fb, gb) ? 0 : gb - fb;
    const Vek64f ta = pa / W, tb = pb / H;
    upperRoot = clockwise ? pa > 0 : pa < 0;
    kind = pa != 0 ? (pb != 0 ? 0 : 2) : (pb != 0 ? 1 : 3);

    Vek64f P = 0, S = 0;
    switch (kind) {
    case 0:
        p[0] = -sy / (2 * ta);
        p[1] = sx / (2 * ta);
        p[2] = -det / (2 * ta) - y0 * p[1] - x0 * p[0];
        p[3] = -ta / tb;
        p[4] = (y0 - y3) * W / ta;
        p[5] = -sy / tb;
        p[6] = -(x0 - x3) * W / ta;
        p[7] = sx / tb;
        p[10] = Rx;
        S = Ry;
        break;
    case 1:
        p[0] = sy;
        p[1] = -sx;
        p[2] = det - y0 * p[1] - x0 * sy;
        p[3] = 0;
        p[4] = -(y0 - y3) * W;
        p[5] = -sy / tb;
        p[6] = (x0 - x3) * W;
        p[7] = sx / tb;
        p[10] = Rx;
        S = Ry;
        break;
    case 2:
        p[0] = sy;
        p[1] = -sx;
        p[2] = -det - y0 * p[1] - x0 * sy;
        p[3] = 0;
        p[4] = -sy / ta;
        p[5] = (y1 - y0) * H;
        p[6] = sx / ta;
        p[7] = -(x1 - x0) * H;
        p[10] = Ry;
        P = Rx;
        break;
    default:
        p[0] = p[1] = p[2] = p[3] = 0;
        p[4] = -(y0 - y3) * W / det;
        p[5] = -(y1 - y0) * H / det;
        p[6] = (x0 - x3) * W / det;
        p[7] = (x1 - x0) * H / det;
        p[10] = 0;
        P = Rx;
        S = Ry;
    }
    p[8] = P - p[4] * x0 - p[6] * y0;
    p[9] = S - p[5] * x0 - p[7] * y0;
}

Vertex Map(const Vek64f (&c)[2][4], Vek64f x, Vek64f y)
{
    return {c[0][0] * x * y + c[0][1] * x + c[0][2] * y + c[0][3], c[1][0] * x * y + c[1][1] * x + c[1][2] * y + c[1][3]};
}

}  // namespace

VekStatus vekiWarpBilinear_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, const Vek64f coeffs[2][4], Vek32s interpolation)
{
    const WarpCall call = {pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoi, kKind8u + kLayoutC3, interpolation};
    Vek64f c[2][4];
    memcpy(c, coeffs, sizeof c);
    if (c[0][0] == 0 && c[1][0] == 0)
        return AffineCore(call, {c[0][1], c[0][2], c[0][3], c[1][1], c[1][2], c[1][3]});
    if (!pSrc || !pDst)                            return StatusNullPointer;
    if (HasBadSize(call))                          return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)                return StatusBadStep;
    if (!IsInterpolation(interpolation))           return StatusBadInterpolation;
    if (StartsOutside(srcRoi, srcSize))            return WarnEmptyIntersection;
    const VekImageRect roi = ClipToImage(srcRoi, srcSize);
    if (roi.width < 2 || roi.height < 2)           return StatusBadRectangle;
    const Quadrangle quadrangle = MapCorners(roi, [&](Vek64f x, Vek64f y) { return Map(c, x, y); });
    if (Winding(quadrangle) < 0)                   return StatusBadCoefficients;

    const bool clockwise = IsClockwise(quadrangle);
    return Warp(call, quadrangle, clockwise, BilinearInverse(quadrangle, roi, clockwise));
}

}  // namespace uvek::VEK_TIER_NAMESPACE
