/* Image data movement and pixel arithmetic.

   A region is a pointer to its first pixel, a step, which is the number of bytes from one row to the
   next, and roiSize, its width and height in pixels, each at least 1. Samples may stand at any
   address, also wide ones. Only the region's own bytes are read and written. Source and destination
   of a call must not overlap, unless its text says what happens. Checks are made in the order in
   which a text lists its statuses; a failed call has written nothing. Unless said otherwise all tiers
   give the same result. */
#ifndef UVEK_IMAGE_H
#define UVEK_IMAGE_H

#include "uvek/base.h"

UVEK_BEGIN

/* ---- Copies ----

   All take any step, also zero and negative ones. They return StatusNullPointer (also for an entry of
   an array of planes), StatusBadSize, StatusOk. */

/* Copy all channels. Rows go from the first to the last. Where a row overlaps its destination, tier 0
   copies sample by sample from the first, so that a destination a little ahead of the source repeats
   the start of the row along it; tiers 1 to 3 copy by blocks and promise nothing. An image
   that moves up onto itself by whole rows, or down with negative steps, arrives unharmed. Large regions
   go past the cache: in tier 1 above 1 MiB, in tiers 2 and 3 from 2 MiB and half the largest cache on,
   where that is known. */
VekStatus vekiCopy_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_8u_C4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C1R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Four channels to three, the fourth dropped; three channels into the first three of four, the
   destination's fourth left as it is. */
VekStatus vekiCopy_8u_AC4C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_AC4C3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_8u_C3AC4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C3AC4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);

/* A one-channel image into one channel of an image of three or four. pDst: that channel's sample in
   the first pixel. The other channels are neither read nor written. */
VekStatus vekiCopy_8u_C1C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_8u_C1C4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C1C3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C1C4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);

/* One channel of an image of three or four to a one-channel image. pSrc: that channel's sample in the
   first pixel. */
VekStatus vekiCopy_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_8u_C4C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C3C1R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C4C1R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Interleaved pixels to planes, which all have the step dstStep. */
VekStatus vekiCopy_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_8u_C4P4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[4], Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C3P3R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* const pDst[3], Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_16s_C4P4R(const Vek16s* pSrc, Vek32s srcStep, Vek16s* const pDst[4], Vek32s dstStep, VekImageSize roiSize);

/* Planes, which all have the step srcStep, to interleaved pixels. */
VekStatus vekiCopy_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiCopy_8u_P4C4R(const Vek8u* const pSrc[4], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* The pixels whose byte in the mask, an image of the same size, is not zero; others stay. */
VekStatus vekiCopy_8u_C3MR(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek8u* pMask, Vek32s maskStep);

/* ---- Fills, channels, mirrors, transposition ---- */

/* Every sample takes the channel's value. Any step. StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus vekiSet_8u_C1R(Vek8u value, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiSet_8u_C3R(const Vek8u value[3], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiSet_8u_C4R(const Vek8u value[4], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Each sample to all three channels of its pixel. Any step. StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus vekiDup_8u_C1C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Destination channel k takes source channel dstOrder[k], 0 to 2; entries may repeat. The AC4 forms
   leave the destination's fourth channel as it is. Steps are at least 1. pDst may be pSrc.
   StatusNullPointer, StatusBadSize, StatusBadStep, StatusBadChannelOrder, StatusOk. */
VekStatus vekiSwapChannels_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3]);
VekStatus vekiSwapChannels_16u_C3R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3]);
VekStatus vekiSwapChannels_8u_AC4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3]);
VekStatus vekiSwapChannels_16u_AC4R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3]);
VekStatus vekiSwapChannels_8u_C3IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, const Vek32s dstOrder[3]);

/* Turn an image over: AxisHorizontal top to bottom, AxisVertical left to right, AxisBoth both ways.
   An axis that turns rows needs a height of at least 2, one that turns columns a width of at least 2.
   The AC4 forms move three samples of a pixel and leave the fourth in its place. Any step.
   StatusNullPointer, StatusBadSize (below 1), StatusBadMirrorAxis, StatusBadSize (below 2), StatusOk. */
VekStatus vekiMirror_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, Vek32s axis);
VekStatus vekiMirror_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis);
VekStatus vekiMirror_8u_C3IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis);
VekStatus vekiMirror_8u_AC4IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis);
VekStatus vekiMirror_16u_C1IR(Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis);
VekStatus vekiMirror_16u_C3IR(Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis);
VekStatus vekiMirror_16u_AC4IR(Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis);

/* Rows to columns: sample (x, y) goes to row x, column y. roiSize is the source's; the destination is
   roiSize.height wide and roiSize.width high. Any step. StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus vekiTranspose_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* ---- Vectors: len is in samples, at least 1 ---- */

/* Every sample takes the value, or zero. StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus veksSet_8u(Vek8u value, Vek8u* pDst, Vek32s len);
VekStatus veksSet_16s(Vek16s value, Vek16s* pDst, Vek32s len);
VekStatus veksSet_32f(Vek32f value, Vek32f* pDst, Vek32s len);
VekStatus veksZero_8u(Vek8u* pDst, Vek32s len);
VekStatus veksZero_16s(Vek16s* pDst, Vek32s len);

/* Copy from the first sample to the last; of vectors that overlap nothing is promised.
   StatusNullPointer, StatusBadSize, StatusOk. */
VekStatus veksCopy_8u(const Vek8u* pSrc, Vek8u* pDst, Vek32s len);
VekStatus veksCopy_16s(const Vek16s* pSrc, Vek16s* pDst, Vek32s len);
VekStatus veksCopy_32f(const Vek32f* pSrc, Vek32f* pDst, Vek32s len);

/* Takes ch interleaved channels of len samples each apart: pDst[k][i] is pSrc[i * ch + k]. pDst: an
   array of ch pointers. StatusNullPointer (an array), StatusBadChannelCount (ch below 1),
   StatusBadSize, StatusNullPointer (an entry); then, with everything done, WarnUnaligned when pSrc or
   an entry is no multiple of 16, else StatusOk. */
VekStatus veksDeinterleave_16s(const Vek16s* pSrc, Vek32s ch, Vek32s len, Vek16s* const* pDst);

/* ---- Borders ---- */

/* Copies the source into a larger destination, topBorderHeight rows down and leftBorderWidth pixels
   in, and fills the frame around it with the nearest pixel of the source. pDst, dstRoiSize: the whole
   destination, at least as large as border and source together; the rest is the right and the bottom
   border. Steps are at least 1, borders at least 0. The source may be the destination's inside.
   StatusNullPointer, StatusBadStep, StatusBadSize, StatusOk. */
VekStatus vekiCopyReplicateBorder_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep,
                                         VekImageSize dstRoiSize, Vek32s topBorderHeight, Vek32s leftBorderWidth);
VekStatus vekiCopyReplicateBorder_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep,
                                         VekImageSize dstRoiSize, Vek32s topBorderHeight, Vek32s leftBorderWidth);

/* ---- Pixel arithmetic: steps are at least 1 unless said otherwise ---- */

/* 16 bits to 8, saturated to 0 to 255; 8 bits to 16, the value unchanged.
   StatusNullPointer, StatusBadSize, StatusBadStep, StatusOk. */
VekStatus vekiConvert_16s8u_C1R(const Vek16s* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiConvert_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiConvert_8u16u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiConvert_8u16u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize);
VekStatus vekiConvert_8u16u_C4R(const Vek8u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize);

/* Shift each channel left by its count, in place; the low 16 bits are kept, and a count above 15
   clears the channel. The AC4 form leaves the fourth channel as it is.
   StatusNullPointer, StatusBadStep, StatusBadSize, StatusOk. */
VekStatus vekiLShiftC_16u_C1IR(Vek32u value, Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize);
VekStatus vekiLShiftC_16u_C3IR(const Vek32u value[3], Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize);
VekStatus vekiLShiftC_16u_AC4IR(const Vek32u value[3], Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize);

/* Bitwise OR with the source, in place. StatusNullPointer, StatusBadStep, StatusBadSize, StatusOk. */
VekStatus vekiOr_8u_C1IR(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize);

/* Multiplies each sample by 1 / value, which is rounded once: a result may differ from a true
   quotient in its last bit. StatusNullPointer, StatusBadSize, StatusBadStep, StatusDivideByZero (a
   value of 0 or -0), StatusOk. */
VekStatus vekiDivC_32f_C1IR(Vek32f value, Vek32f* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize);

/* Replace each sample above (GT) or below (LT) `threshold` by `value`, in place; a sample equal to it
   stays. StatusNullPointer, StatusBadSize, StatusBadStep, StatusOk. */
VekStatus vekiThreshold_GTVal_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek8u threshold, Vek8u value);
VekStatus vekiThreshold_LTVal_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek8u threshold, Vek8u value);

/* Types of composition; in the Premul types the samples are already multiplied by their alpha. */
enum {
    AlphaOver = 0,
    AlphaIn = 1,
    AlphaOut = 2,
    AlphaATop = 3,
    AlphaXor = 4,
    AlphaPlus = 5,
    AlphaOverPremul = 6,
    AlphaInPremul = 7,
    AlphaOutPremul = 8,
    AlphaATopPremul = 9,
    AlphaXorPremul = 10,
    AlphaPlusPremul = 11
};

/* Composes two images with constant alphas, 0 to 255, by the rules of Porter and Duff, "Compositing
   Digital Images" (1984). With d(x) = (x + (x >> 8) + 1) >> 8 for a division by 255, the result of
   samples s1, s2 and alphas a1, a2 is the sum of both columns, b being 255 - a:
       Over   d(a1 s1)        d(b1 d(a2 s2))         OverPremul   s1           d(b1 s2)
       In     d(a2 d(a1 s1))  -                      InPremul     d(a2 s1)     -
       Out    d(b2 d(a1 s1))  -                      OutPremul    d(b2 s1)     -
       ATop   d(a2 d(a1 s1))  d(b1 d(a2 s2))         ATopPremul   d(a2 s1)     d(b1 s2)
       Xor    d(b2 d(a1 s1))  d(b1 d(a2 s2))         XorPremul    d(b2 s1)     d(b1 s2)
       Plus   d(a1 s1)        d(a2 s2)               PlusPremul   s1           s2
   Plus and the Premul types saturate to 255; the sums of Over, ATop and Xor keep their low 8 bits.
   Any step. pDst may be pSrc1 or pSrc2. StatusNullPointer, StatusBadSize, StatusBadAlphaType, StatusOk. */
VekStatus vekiAlphaCompC_8u_C3R(const Vek8u* pSrc1, Vek32s src1Step, Vek8u alpha1, const Vek8u* pSrc2, Vek32s src2Step,
                                Vek8u alpha2, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, Vek32s alphaType);

UVEK_END

#endif
