/* Spatial filters over images of bytes.

   None of them makes a border: pSrc addresses the source pixel at the first destination pixel's
   position, and the caller guarantees the pixels around the region that the filter's window reaches.
   Exactly those are read. Steps are bytes, sizes are pixels. Source and destination must not overlap
   save where a function works in place. */
#ifndef UVEK_FILTER_H
#define UVEK_FILTER_H

#include "uvek/base.h"

UVEK_BEGIN

/* Convolution with a caller's kernel of 32-bit integers, divided by `divisor`.
   pKernel: kernelSize.height rows of kernelSize.width coefficients, dense. The kernel is used flipped:
   coefficient (row m, column n) meets source pixel (x + anchor.x - n, y + anchor.y - m). Any anchor
   does. The sum wraps at 32 bits. It is divided, rounded to nearest with ties to even, and clamped to
   0 .. 255; where the divisor is neither 1 nor a power of two, the quotient is the single-precision
   product of the sum and 1 / divisor. C3: every channel alike.
   Returns StatusNullPointer, StatusBadSize (a width or height below 1, of region or kernel),
   StatusBadDivisor (0), StatusBadStep (srcStep below the bytes of dstRoiSize.width + kernelSize.width - 1
   pixels, dstStep below those of a destination row), StatusOk. All tiers agree. */
VekStatus vekiFilter_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                            const Vek32s* pKernel, VekImageSize kernelSize, VekPoint anchor, Vek32s divisor);
VekStatus vekiFilter_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                            const Vek32s* pKernel, VekImageSize kernelSize, VekPoint anchor, Vek32s divisor);

/* The same with a kernel of single-precision coefficients and no divisor. The sum runs in single
   precision, row after row and from left to right along the flipped kernel, and is rounded to nearest,
   ties to even, and clamped; a sum that is no number gives 0. Statuses as above, without
   StatusBadDivisor.
   Tiers: above tier 0 the C1 form sums each kernel row by itself and then adds the rows, if the kernel
   is 3 or wider, the region 16 or wider and scratch memory is to be had; a result beside a rounding
   border may so differ by one. */
VekStatus vekiFilter32f_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               const Vek32f* pKernel, VekImageSize kernelSize, VekPoint anchor);
VekStatus vekiFilter32f_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               const Vek32f* pKernel, VekImageSize kernelSize, VekPoint anchor);

/* Smoothing. MaskSize3x3: (1 2 1) times (1 2 1), over 16, ties to even. MaskSize5x5: the rows
   2 7 12 7 2, 7 31 52 31 7, 12 52 127 52 12 and their mirror images, over 571, to nearest. One or two
   pixels are read on every side.
   Returns StatusNullPointer, StatusBadSize, StatusBadStep (below 1), StatusBadMaskSize, StatusNoMemory,
   StatusOk. All tiers agree, whatever the floating-point rounding mode. */
VekStatus vekiFilterGauss_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize, Vek32s mask);

/* Sharpening: the pixel times the mask's area (9 or 25), less the sum of the mask, clamped to 0 .. 255.
   Masks, pixels read and statuses as for Gauss. All tiers agree. */
VekStatus vekiFilterHipass_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize, Vek32s mask);

/* Sobel gradients; one pixel is read on every side. Dx: (1 0 -1, 2 0 -2, 1 0 -1), positive where the
   left side is brighter. Dy: (-1 -2 -1, 0 0 0, 1 2 1), positive where the lower side is brighter. The
   8u16s forms give -1020 .. 1020. The 32f forms use steps of whole samples: a remainder of the step
   over 4 is dropped.
   Returns StatusNullPointer, StatusBadSize, StatusBadStep (below 1), StatusNoMemory, StatusOk. All
   tiers agree. */
VekStatus vekiSobel3x3_Dx_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize dstRoiSize);
VekStatus vekiSobel3x3_Dy_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize dstRoiSize);
VekStatus vekiSobel3x3_Dx_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, VekImageSize dstRoiSize);
VekStatus vekiSobel3x3_Dy_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, VekImageSize dstRoiSize);

/* The mean of a window, for each channel. The window of (x, y) starts at (x - anchor.x, y - anchor.y)
   and is maskSize wide and high: it is not flipped. The scaling depends on the mask: 3x3 gives
   sum * 29128 >> 18; an area up to 8100 multiplies by a 12-bit reciprocal of the area, rounded up, and
   drops the fraction; a larger one slides sums in single precision and gives the truncation of
   sum * (1 / area) + 0.000009, whose sums may drift where they pass 2^24.
   Returns StatusNullPointer, StatusBadStep (below 1), StatusBadSize, StatusBadMaskSize (below 1),
   StatusBadAnchor (outside the mask), StatusNoMemory (never with 3x3), StatusOk. All tiers agree. */
VekStatus vekiFilterBox_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               VekImageSize maskSize, VekPoint anchor);

/* The largest sample of a window placed as for Box. Its time does not depend on the mask above tier 0.
   Returns StatusNullPointer, StatusBadSize, StatusBadStep (below 1), StatusBadMaskSize (below 1),
   StatusBadAnchor (outside the mask), StatusNoMemory, StatusOk. All tiers agree. */
VekStatus vekiFilterMax_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               VekImageSize maskSize, VekPoint anchor);

/* The median of a window placed as for Box, exact for every mask.
   Returns StatusNullPointer, StatusBadSize, StatusBadStep (below 1), StatusBadMaskSize (a width or
   height below 1 or even), StatusBadAnchor (outside the mask), StatusOk. All tiers agree. */
VekStatus vekiFilterMedian_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                                  VekImageSize maskSize, VekPoint anchor);

/* Grey-scale morphology in place: each pixel becomes the largest (Dilate) or smallest (Erode) of its
   3x3 neighbourhood as it was before the call. One pixel around the region is read and never written.
   Returns StatusNullPointer, StatusBadStep (below 1), StatusBadSize, StatusStepTooSmall (below width
   plus 2), StatusNoMemory, StatusOk. All tiers agree. */
VekStatus vekiDilate3x3_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize);
VekStatus vekiErode3x3_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize);

UVEK_END

#endif
