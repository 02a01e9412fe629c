/* Resize, rotation and warps. */
#ifndef UVEK_GEOMETRY_H
#define UVEK_GEOMETRY_H

#include "uvek/base.h"

UVEK_BEGIN

/* ---- Resize ---- */

/* Resample the region srcRoi of an image into a destination region. Common to all:
   pSrc: the image's origin, srcSize its pixels; srcStep, dstStep: bytes between rows, any value (a
   negative srcStep is a bottom-up image). srcRoi: measured from the origin and clipped to the image;
   pixels of the image outside of it may be read as interpolation taps. pDst: first destination pixel;
   dstRoiSize: the pixels wanted. xFactor, yFactor: destination length divided by source length. The
   region's scaled length, region * factor rounded down, limits what is written: pixels of dstRoiSize
   beyond it keep their bytes, and a smaller dstRoiSize crops. Destination and source must not overlap.

   interpolation: InterNearest; InterLinear; InterCubic, the cubic through four points; InterLanczos,
   six taps of sinc(x) sinc(x/3); InterSuper, the mean over the area of a destination pixel, for
   factors up to 1. Linear, cubic and Lanczos map the region's corner pixels onto the destination's
   corner pixels. By the size of the whole image, silently: a side below 8 turns Lanczos to cubic,
   below 4 cubic to linear, below 2 everything to nearest.

   8-bit nearest and linear are the same in all tiers. Of the others, tiers 1 to 3 may differ from
   tier 0 by one unit. */

/* Status, in order: StatusNullPointer; StatusBadSize (srcSize below 1, srcRoi.x or .y below 0,
   srcRoi.width or .height below 1); WarnEmptyIntersection (srcRoi starts outside of the image, nothing
   is written); StatusBadSize (dstRoiSize below 1); StatusBadResizeFactor (a factor not above 0);
   StatusBadInterpolation (an unknown code, or InterSuper with a factor above 1); StatusResizeTooSmall
   (a scaled length below 0.5); StatusNoMemory; StatusOk.
   InterSuper with an odd srcRoi.height and a positive step asks before all of this whether the row
   behind the image can be read, and works on a copy of the image if it cannot; without memory for
   the copy the call ends with StatusNoMemory. */
VekStatus vekiResize_8u_C1R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                            VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation);
VekStatus vekiResize_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                            VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation);
VekStatus vekiResize_8u_C4R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                            VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation);

/* The same on floats, without the question of the row behind. Steps are bytes; what exceeds a multiple
   of 4 is dropped. Values are neither rounded nor clamped. */
VekStatus vekiResize_32f_C1R(const Vek32f* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek32f* pDst, Vek32s dstStep,
                             VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation);

/* Resamples so that the source point (xCenter, yCenter), in pixels of the image, falls on the middle of
   the destination region; destination pixels that srcRoi does not reach keep their bytes. InterSuper
   drops the fraction of a pixel in the position.
   Status, in order: StatusNullPointer (pDst); then from StatusBadSize to StatusBadResizeFactor as for
   vekiResize_8u_C3R; StatusNullPointer (pSrc); StatusBadSize or WarnEmptyIntersection when the two
   regions do not meet; the rest as there. */
VekStatus vekiResizeCenter_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                                  VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek64f xCenter, Vek64f yCenter,
                                  Vek32s interpolation);

/* Resamples with the source distance between neighbouring destination pixels given: xFr, yFr, above 0.
   xShift, yShift: the source position, relative to srcRoi, of the first destination pixel. Positions
   outside of the image take the image's edge; with Lanczos each of the six taps does so by itself.
   Between -1 and 0, where the first pixel is still the first tap, linear and cubic are of no use: the
   fraction is negative, and a linear weight of it wraps. What limits what is written is
   (region - 1) / distance + 1, rounded down, for nearest region / distance, and 1 at least.
   InterSuper is not accepted.
   Status: as for vekiResize_8u_C3R, without StatusResizeTooSmall. */
VekStatus vekiResizeShift_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                                 VekImageSize dstRoiSize, Vek64f xFr, Vek64f yFr, Vek64f xShift, Vek64f yShift, Vek32s interpolation);

/* The source distances *pxFr, *pyFr with which vekiResizeShift_8u_C3R, shifts 0, maps as
   vekiResize_8u_C3R does with xFactor, yFactor: 1 / factor for nearest; (region - 1) / (region * factor
   - 1) for the others, or 0 where region * factor is not above 1.
   Status, in order: StatusBadSize (srcSize, srcRoi), WarnEmptyIntersection, StatusBadResizeFactor,
   StatusNullPointer (pxFr, pyFr), StatusBadInterpolation (InterSuper too), StatusOk. */
VekStatus vekiGetResizeFract(VekImageSize srcSize, VekImageRect srcRoi, Vek64f xFactor, Vek64f yFactor, Vek64f* pxFr, Vek64f* pyFr,
                             Vek32s interpolation);

/* Resizes a 4:2:2 image, four bytes Y0 U Y1 V for two pixels. Widths and x are in pixels. The region
   starts srcRoi.x * 4 bytes into a row: callers place it by pairs of bytes, and the bytes that it reaches
   must exist. Odd scaled widths lose a column. Interpolations: nearest, linear, cubic, super. An image
   less than 8 wide or 4 high turns cubic to linear, less than 4 wide or 2 high turns both to nearest.
   Status, in order: StatusNullPointer; StatusBadSize (srcSize, srcRoi); WarnEmptyIntersection;
   StatusBadSize (dstRoiSize below 1; then srcSize.width, srcRoi.width or srcRoi.x odd, or dstRoiSize.width
   below 2); StatusBadResizeFactor (a factor not above 0); StatusBadInterpolation; StatusResizeTooSmall (a
   scaled width below 1.5 or height below 0.5); StatusBadResizeFactor (InterSuper with a factor above 1);
   StatusNoMemory; StatusOk. All tiers agree within one unit, and exactly for nearest and linear. */
VekStatus vekiResizeYUV422_8u_C2R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                                  VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation);
/* ---- Rotation and warps ---- */

/* Shared by the functions below. pSrc and pDst are the origins of whole images: srcRoi and dstRoi are
   measured from them. srcSize: the source image, in pixels. srcStep, dstStep: bytes between rows, at
   least 1. srcRoi is cut to the image; its corner pixels' centres, mapped forward, span a quadrangle,
   and the pixels of dstRoi inside it, edges included, are written. All others keep their values.
   Source and destination must not overlap.

   interpolation: InterNearest, InterLinear or InterCubic, to which SmoothEdgeFlag may be added. Linear
   and cubic look at pixels outside srcRoi where the image has them. Cubic is four-point Lagrange
   interpolation. Cubic becomes linear where the image is below 4 pixels wide or high. With
   SmoothEdgeFlag the pixels just outside each slanted edge are mixed with their inner neighbours, by
   how far the edge reaches into them.

   Angles are degrees, any number, counter-clockwise in an image whose y points downward: with c and s
   the cosine and sine, (x, y) moves to (c x + s y + xShift, -s x + c y + yShift).

   All tiers give the same result. */

/* Rotate srcRoi about the source image's origin, then shift it. Multiples of 90 degrees other than 0
   with whole shifts move pixels as they are, whatever `interpolation` holds.
   Return, in this order: StatusNullPointer; StatusBadSize (srcSize below 1, or a rectangle with
   negative origin or size below 1); StatusBadStep; then, where pixels are interpolated,
   StatusBadInterpolation; StatusBadCoefficients; WarnEmptyIntersection (srcRoi starts outside the
   image); StatusBadRectangle (srcRoi has one column or row inside the image);
   StatusBadCoefficients (the angle or a shift is not finite, or so large that the corners coincide); WarnNoRotationOverlap (dstRoi is
   missed, or no memory); StatusOk. Where pixels move as they are, after StatusBadStep,
   WarnEmptyIntersection (srcRoi starts outside the image, or dstRoi is missed); StatusOk. */
VekStatus vekiRotate_8u_C1R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, Vek64f angle, Vek64f xShift, Vek64f yShift, Vek32s interpolation);
VekStatus vekiRotate_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, Vek64f angle, Vek64f xShift, Vek64f yShift, Vek32s interpolation);
VekStatus vekiRotate_8u_C4R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, Vek64f angle, Vek64f xShift, Vek64f yShift, Vek32s interpolation);
VekStatus vekiRotate_16u_C1R(const Vek16u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek16u* pDst, Vek32s dstStep, VekImageRect dstRoi, Vek64f angle, Vek64f xShift, Vek64f yShift, Vek32s interpolation);
VekStatus vekiRotate_16u_C3R(const Vek16u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek16u* pDst, Vek32s dstStep, VekImageRect dstRoi, Vek64f angle, Vek64f xShift, Vek64f yShift, Vek32s interpolation);
VekStatus vekiRotate_32f_C3R(const Vek32f* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek32f* pDst, Vek32s dstStep, VekImageRect dstRoi, Vek64f angle, Vek64f xShift, Vek64f yShift, Vek32s interpolation);

/* As vekiRotate_8u_C3R with the shift that keeps the point (xCenter, yCenter) in its place. */
VekStatus vekiRotateCenter_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, Vek64f angle, Vek64f xCenter, Vek64f yCenter, Vek32s interpolation);

/* Stores the bounding box of the rotated corner pixels of srcRoi: least x, least y, greatest x,
   greatest y. `bound` is not tested.
   Returns StatusBadSize (negative origin or size below 1), StatusOk. */
VekStatus vekiGetRotateBound(VekImageRect srcRoi, Vek64f bound[4], Vek64f angle, Vek64f xShift, Vek64f yShift);

/* Adds to *pxShift and *pyShift the shift with which a rotation by `angle` keeps (xCenter, yCenter) in
   its place. Returns StatusNullPointer, StatusOk. */
VekStatus vekiAddRotateShift(Vek64f xCenter, Vek64f yCenter, Vek64f angle, Vek64f* pxShift, Vek64f* pyShift);

/* Carries srcRoi onto the quadrangle that the coefficients give: X = a x y + b x + c y + d with
   coeffs[0] = {a, b, c, d}, and Y likewise with coeffs[1]. Where both a are 0 the mapping is affine.
   A position that has no source (the inverse is the root of a quadratic) leaves its pixel as it is.
   Returns, in this order: StatusNullPointer; StatusBadSize; StatusBadStep; StatusBadInterpolation;
   StatusBadCoefficients (affine and singular); WarnEmptyIntersection (srcRoi starts outside the
   image); StatusBadRectangle (srcRoi has one column or row inside the image); StatusBadCoefficients
   (the quadrangle is degenerate or not convex); WarnNoRotationOverlap (dstRoi is missed, or no
   memory); StatusOk. `coeffs` is not tested. */
VekStatus vekiWarpBilinear_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, const Vek64f coeffs[2][4], Vek32s interpolation);

/* The same for a projective mapping: X = (c0 x + c1 y + c2) / (c6 x + c7 y + c8) and
   Y = (c3 x + c4 y + c5) / (c6 x + c7 y + c8), with c0 .. c8 the rows of coeffs.
   Returns as vekiWarpBilinear_8u_C3R; StatusBadCoefficients in the first place where c0, c1, c3, c4
   are singular as an affine matrix or c8 is 0 (up to 1e-200). */
VekStatus vekiWarpPerspective_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep, VekImageRect dstRoi, const Vek64f coeffs[3][3], Vek32s interpolation);

/* Find the coefficients that carry the corner pixels of srcRoi, (x0, y0), (x1, y0), (x1, y1), (x0, y1),
   onto the four (x, y) of `quad` in this order. `quad` and `coeffs` are not tested. The projective
   mapping is that of Heckbert (1989); its c8 is not scaled to 1.
   Return StatusBadSize (negative origin or size below 1), StatusBadQuadrangle (degenerate or not
   convex), StatusBadRectangle (srcRoi has one column or row), StatusOk. */
VekStatus vekiGetBilinearTransform(VekImageRect srcRoi, const Vek64f quad[4][2], Vek64f coeffs[2][4]);
VekStatus vekiGetPerspectiveTransform(VekImageRect srcRoi, const Vek64f quad[4][2], Vek64f coeffs[3][3]);

UVEK_END

#endif
