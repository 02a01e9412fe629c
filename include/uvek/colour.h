/* Video-range YCbCr, gray and HSV. */
#ifndef UVEK_COLOUR_H
#define UVEK_COLOUR_H

#include "uvek/base.h"

UVEK_BEGIN

/* Steps are bytes between rows, of any sign; none is tested. roiSize: pixels, each at least 1 unless told
   otherwise. Source and destination must not overlap, save for vekiRGBToHSV_8u_C3R. Tiers 1 to 3 convert
   whole blocks of 8 columns, of 16 where planes are 4:2:0, in 16-bit arithmetic and the columns left over as
   tier 0 does; they agree with one another.

   Unless told otherwise all return StatusNullPointer (pSrc or pDst), StatusBadSize, StatusOk. */

/* Weighted sum of three samples of a pixel; the fourth of an AC4 pixel is not read. coeffs: 3 weights, or
   null for 0.299, 0.587, 0.114.
   8u: weights become 12-bit fractions. Tier 0 rounds the sum down and keeps its low 8 bits, which wraps when weights
   sum to more than 1. Tiers 1 to 3 round each product down to 4 fraction bits and clamp the sum, which lies up to 2
   lower; there a weight has 16 bits in all, so that it must be from 0 to below 16.
   16u: single precision, from left to right, truncated, the low 16 bits. An odd step counts as the even one
   below it. All tiers agree. */
VekStatus vekiColorToGray_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3]);
VekStatus vekiColorToGray_8u_AC4C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3]);
VekStatus vekiColorToGray_16u_C3C1R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3]);
VekStatus vekiColorToGray_16u_AC4C1R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3]);

/* vekiColorToGray_8u_C3C1R with the weights 0.299, 0.587, 0.114. */
VekStatus vekiRGBToGray_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* RGB to hue, saturation and value, each of 0 to 255, where 255 is a whole turn of hue. Gray has hue and saturation
   0; of equal largest channels blue decides before green before red. pDst may be pSrc. Tiers 1 to 3 divide by the
   processor's approximate reciprocal and differ from tier 0 by at most one. */
VekStatus vekiRGBToHSV_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* RGB to YCbCr of ITU-R BT.601 in video range: Y of 16 to 235, Cb and Cr of 16 to 240 around 128. Tiers 1 to 3 do
   not round and differ from tier 0 by at most one. */
VekStatus vekiRGBToYCbCr_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* The way back, rounded down and clamped. Tiers 1 to 3 differ from tier 0 by at most one. */
VekStatus vekiYCbCrToRGB_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* RGB to 4:2:2, the bytes Y0 Cb Y1 Cr for two pixels, with the chroma of their average. The second luma is
   rounded down, the first to nearest. An odd width ends in a pixel of two bytes, its Y and its Cb. Tiers 1 to 3
   differ from tier 0 by at most one. */
VekStatus vekiRGBToYCbCr422_8u_C3C2R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* RGB to three planes Y, Cb, Cr with one Cb and one Cr for 2 by 2 pixels. dstStep: a step for each plane. The last
   column of an odd width and the last row of an odd height are left out; chroma planes have half the size, rounded
   down. Tiers 1 to 3 differ from tier 0 by at most one.
   Returns StatusNullPointer (pSrc, pDst), StatusBadSize, StatusNullPointer (a plane), WarnOddSize (the even part is
   done), StatusOk. */
VekStatus vekiRGBToYCbCr420_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], const Vek32s dstStep[3], VekImageSize roiSize);

/* The way back to BGR pixels, rounded to nearest and clamped. srcStep: a step for each plane. Odd sizes,
   differences and statuses as in vekiRGBToYCbCr420_8u_C3P3R. */
VekStatus vekiYCbCr420ToBGR_8u_P3C3R(const Vek8u* const pSrc[3], const Vek32s srcStep[3], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Three planes of 4:2:2, Cb and Cr of half the width, to the bytes Y0 Cb Y1 Cr. srcStep: a step for each plane.
   roiSize: at least 2 by 1; the last pixel of an odd width is not written. All tiers agree.
   Returns StatusNullPointer (pSrc, pDst, a plane), StatusBadSize, StatusOk. */
VekStatus vekiYCbCr422_8u_P3C2R(const Vek8u* const pSrc[3], const Vek32s srcStep[3], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

UVEK_END

#endif
