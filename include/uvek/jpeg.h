/* The pieces of a JPEG codec. */
#ifndef UVEK_JPEG_H
#define UVEK_JPEG_H

#include "uvek/base.h"

UVEK_BEGIN

/* ---- Colour, sampling, DCT ---- */

/* Full-range YCbCr of JFIF, with chroma centred on 128. Steps are bytes between rows, at least 1, one
   for all planes of an array; planes stand in the order Y, Cb, Cr and then K, interleaved inks in the
   order C, M, Y, K. roiSize: pixels, each at least 1. Source and destination must not overlap.

   Tier 0 works with a 16-bit fraction, tiers 1 to 3 (which agree) with a 15-bit or a 14-bit one,
   depending on the column: results differ by at most one between tier 0 and the others.

   All return StatusNullPointer (pSrc or pDst, then the planes in order), StatusBadStep (either step),
   StatusBadSize, StatusOk. */

/* Luma of three-channel pixels; Y = 0.299 R + 0.587 G + 0.114 B. Tiers 1 to 3: 15-bit fraction. */
VekStatus vekiRGBToY_JPEG_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiBGRToY_JPEG_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Three-channel pixels to three planes; Cb = 128 + 0.564 (B - Y), Cr = 128 + 0.713 (R - Y). Tiers 1 to 3:
   15-bit fraction in whole groups of 8 columns, 14-bit in the columns left over. */
VekStatus vekiRGBToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiBGRToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize);

/* Three planes to three-channel pixels, clamped. Tiers 1 to 3: 14-bit fraction in whole groups of 4
   columns, tier 0's arithmetic in the columns left over. */
VekStatus vekiYCbCrToRGB_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiYCbCrToBGR_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Inks to four planes: 255 - C, 255 - M, 255 - Y as R, G, B converted to Y, Cb, Cr; K copied. Tiers 1
   to 3: 14-bit fraction. */
VekStatus vekiCMYKToYCCK_JPEG_8u_C4P4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[4], Vek32s dstStep, VekImageSize roiSize);

/* Four planes to inks, the way back of vekiCMYKToYCCK_JPEG_8u_C4P4R. Tiers 1 to 3 as in
   vekiYCbCrToRGB_JPEG_8u_P3C3R, but for other rounding terms in green and blue. */
VekStatus vekiYCCKToCMYK_JPEG_8u_P4C4R(const Vek8u* const pSrc[4], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Halves a plane's width, or width and height, by averages of 2 samples (rounded half up) or of 4 (their
   sum, plus 3, over 4). The work follows from dstRoiSize alone: 2 dstRoiSize.width columns are read of as
   many rows (H2V1) or twice as many (H2V2); srcRoiSize is only tested. Steps: bytes, at least 1. Sizes:
   pixels, each at least 1. Source and destination must not overlap. All tiers agree.
   Return StatusNullPointer (pSrc), StatusBadStep (srcStep), StatusBadSize (srcRoiSize),
   StatusNullPointer (pDst), StatusBadStep (dstStep), StatusBadSize (dstRoiSize), StatusOk. */
VekStatus vekiSampleDownH2V1_JPEG_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize);
VekStatus vekiSampleDownH2V2_JPEG_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize);

/* Doubles the width of a row with a triangle filter: an output takes 3/4 of the nearer sample and 1/4 of
   the farther one, and the two at the ends copy theirs. srcWidth: samples in the row, at least 1;
   2 srcWidth bytes are written. Source and destination must not overlap. All tiers agree. A width of 1
   gives the one sample twice. Returns StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const Vek8u* pSrc, Vek32s srcWidth, Vek8u* pDst);

/* One output row of a plane doubled in both directions: the same filter on 3/4 of pSrc1, the row nearer
   to the output row, and 1/4 of pSrc2, the row on its other side. A caller repeats the outer row at the
   top and bottom of a plane. srcWidth: samples in a row, at least 1; 2 srcWidth bytes are written. Sources
   and destination must not overlap. All tiers agree. Returns StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const Vek8u* pSrc1, const Vek8u* pSrc2, Vek32s srcWidth, Vek8u* pDst);

/* Scales the 64 entries of a quantisation table, in any order, in place, for a quality: 50 keeps them,
   1 makes them 50 times as coarse, 100 and more make them 1. Entries stay within 1 to 255. All tiers agree.
   qualityFactor: at least 1. Returns StatusNullPointer, StatusBadRange (qualityFactor), StatusOk. */
VekStatus vekiQuantFwdRawTableInit_JPEG_8u(Vek8u* pQuantRawTable, Vek32s qualityFactor);

/* Makes the encoder's table, 64 reciprocals round(32768 / step) in row-major order, of the 64 steps of
   pQuantRawTable, which stand in the zigzag order of a DQT segment. A step of 0 gives 65535. All tiers agree.
   Returns StatusNullPointer, WarnDivideByZero (some step is 0; the table is complete), StatusOk. */
VekStatus vekiQuantFwdTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantFwdTable);

/* Makes the decoder's table, the 64 steps in row-major order, of the same steps in zigzag order.
   All tiers agree. Returns StatusNullPointer, StatusOk. */
VekStatus vekiQuantInvTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantInvTable);

/* Samples to quantised coefficients: subtracts 128, takes the orthonormal 8x8 DCT and multiplies by
   pQuantFwdTable (of vekiQuantFwdTableInit_JPEG_8u16u), rounding ties to even and saturating. pSrc: 8 rows
   of 8 samples, srcStep bytes apart, at least 1. pDst: 64 coefficients in row-major order, contiguous;
   it must not overlap the samples. No alignment is asked for; 16 bytes is fastest. Tier 0 has a 32-bit
   transform and tiers 1 to 3 (which agree) a 16-bit one: coefficients differ within the error of either.
   Returns StatusNullPointer (pSrc, pDst), StatusBadStep, StatusNullPointer (pQuantFwdTable), StatusOk. */
VekStatus vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, const Vek16u* pQuantFwdTable);

/* Quantised coefficients to samples: multiplies by pQuantInvTable (of vekiQuantInvTableInit_JPEG_8u16u),
   saturating, takes the inverse of that DCT, adds 128 and clamps. pSrc: 64 coefficients in row-major
   order, contiguous, not changed. pDst: 8 rows of 8 samples, dstStep bytes apart, at least 1. Alignment
   and tiers as in vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R.
   Returns StatusNullPointer (pSrc, pDst), StatusBadStep, StatusNullPointer (pQuantInvTable), StatusOk. */
VekStatus vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstStep, const Vek16u* pQuantInvTable);

/* ---- Huffman coding ---- */

UVEK_END

#endif
