/* Image pyramids and optical flow. */
#ifndef UVEK_VISION_H
#define UVEK_VISION_H

#include "uvek/base.h"

UVEK_BEGIN

/* ---- Image pyramids ---- */

/* The geometry of a stack of images that fall in size by one rate: level 0 is the base. Each array has
   numLevels + 1 entries. The caller owns the pixels of each level, and stores their addresses and steps. */
typedef struct VekPyramidState {
    Vek8u** pImage;        /* null at first; the caller fills them in */
    VekImageSize* pRoi;    /* size of each level in pixels */
    Vek64f* pRate;         /* scale of each level: 1, 1 / rate, .. */
    Vek32s* pStep;         /* bytes from row to row; 0 at first, the caller fills them in */
    void* pState;          /* null at first; room for the caller's layer state */
    Vek32s numLevels;      /* levels below the base */
} VekPyramidState;

/* Makes the record of a pyramid with at most `level` levels below a base of roiSize. Levels end at one pixel,
   so that numLevels may be smaller, down to 0. rate: above 1, at most 10. A level's width is its
   upper's divided by the rate and rounded, then moved by single pixels until the source width lies from
   (width - 1) rate + 1 to width rate, and not at or below the width, all in single precision; heights likewise. *ppState
   is set on success only and goes back by vekiPyramidFree.
   Returns StatusNullPointer, StatusBadSize (a size below 1), StatusBadRange (rate, or level below 1),
   StatusNoMemory, StatusOk. */
VekStatus vekiPyramidInitAlloc(VekPyramidState** ppState, Vek32s level, VekImageSize roiSize, Vek32f rate);

/* Releases the record, not the pixels. Returns StatusNullPointer, StatusOk. */
VekStatus vekiPyramidFree(VekPyramidState* pState);

/* What computes the next lower level of images up to one size; the library's to write. */
typedef struct VekPyramidLayerState {
    Vek16s* kernel;        /* kerSize entries, symmetric, in units of 1 / 8192 */
    Vek16s* workBuffer;    /* smoothed and interpolated samples */
    void* lineBuffers;     /* ring of row sums */
    Vek32s kerSize;        /* odd */
    Vek32s width;          /* the source size given at creation */
    Vek32s height;         /* likewise */
    Vek32s mode;           /* InterLinear */
    Vek32f rate;           /* from level to level */
} VekPyramidLayerState;

/* Makes the state for sources up to srcRoiSize. rate: above 1, at most 10. pKernel: kerSize entries (odd, from 3)
   of a smoothing kernel, applied along rows and along columns. It is mirrored from its left half and centre, and
   each entry k becomes ((k * 16384) / sum) >> 1, which makes a sum of about 8192; a kernel whose sum is 0 is used as
   it stands. mode: InterLinear. *ppState goes back by vekiPyramidLayerDownFree_8u_C1R.
   Returns StatusNullPointer, StatusBadSize (a size below 1), StatusBadRange (mode, rate or kerSize),
   StatusNoMemory, WarnAsymmetricKernel (made all the same; the right half was not used), StatusOk. */
VekStatus vekiPyramidLayerDownInitAlloc_8u_C1R(VekPyramidLayerState** ppState, VekImageSize srcRoiSize, Vek32f rate,
                                               const Vek16s* pKernel, Vek32s kerSize, Vek32s mode);

/* Computes the next lower level: smooths with the kernel, then takes every second sample of every second row where
   the rate is 2 (to 0.00002), and else interpolates linearly at multiples of the rate, first along rows. Outside the
   image the smoothing sees it reflected about its edge samples, which are not repeated. Row sums lose 8 bits,
   column sums leave 3, interpolation adds a half and truncates, the result is rounded and saturated. Where the source is no
   wider or no higher than kerSize, products lose their 8 bits before they are added, so that small images come out
   slightly lower. srcRoiSize: not above the size the state was made for. dstRoiSize: what a pyramid of the state's
   rate has below srcRoiSize. srcStep, dstStep: bytes, at least the width. The images must not overlap. A state
   holds buffers: one call at a time. All tiers agree.
   Returns StatusNullPointer, StatusBadSize (srcRoiSize), StatusBadStep, StatusBadRange (the state's rate),
   StatusBadSize (dstRoiSize), StatusOk. */
VekStatus vekiPyramidLayerDown_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep,
                                      VekImageSize dstRoiSize, VekPyramidLayerState* pState);

/* Returns StatusNullPointer, StatusOk. */
VekStatus vekiPyramidLayerDownFree_8u_C1R(VekPyramidLayerState* pState);

/* ---- Optical flow ---- */

/* The tracker's window size and its memory. */
typedef struct VekOpticalFlowState {
    Vek32s width;          /* a level below this width and height has its gradients computed as a whole */
    Vek32s height;         /* likewise */
    Vek32s bufferCount;    /* 1 */
    Vek32s reserved;       /* 1 */
    Vek32s hint;           /* kept, without effect */
    Vek32s winSize;        /* side of the window in samples */
    void* buffer;          /* windows and gradients, the library's to write */
} VekOpticalFlowState;

/* Makes a tracker of windows of winSize by winSize samples. roiSize: levels smaller than this in width and height
   have their gradients computed once for all points, larger ones around each point; memory grows with it.
   *ppState is set on success only and goes back by vekiOpticalFlowPyrLKFree_8u_C1R.
   Returns StatusNullPointer, StatusBadSize (winSize or roiSize below 1), StatusNoMemory, StatusOk. */
VekStatus vekiOpticalFlowPyrLKInitAlloc_8u_C1R(VekOpticalFlowState** ppState, VekImageSize roiSize, Vek32s winSize, Vek32s hint);

/* Finds points of one image in another, by Lucas and Kanade's method from level maxLev down to the base.
   pPyr1, pPyr2: pyramids of equal shape with the caller's images and steps; maxLev is at most their numLevels, which
   is not checked. pPrev: numFeat points (x, y) of the first image, in pixels of the base. pNext: on entry where to
   start looking, a copy of pPrev if nothing is known; on return the positions found. pStatus: 0 for a point
   that was followed down to the base; k + 1 for one that was lost at level k, whose pNext is the last estimate.
   A point is lost where its window lies outside the one or the other image, or has no texture to follow. pError: root of the
   mean squared difference of the two windows in grey levels, of the last level reached; 0 where they do not overlap.
   winSize: that of the state. maxIter: steps at each level, at least 1; running out of them loses no
   point. threshold: pixels of the level, at least 0; a step shorter than that ends the level, as does one that takes
   back the step before. Sums use the positions of a window whose four pixels all lie inside. pNext, pStatus
   and pError must not overlap what else is read. A state holds buffers: one call at a time. All tiers agree.
   Returns StatusNullPointer, StatusBadSize (numFeat, winSize), StatusBadRange (maxLev, maxIter, threshold), and, after
   points have been written, StatusBadSize or StatusBadStep (a level's size below 1, its step below its width);
   StatusOk. */
VekStatus vekiOpticalFlowPyrLK_8u_C1R(const VekPyramidState* pPyr1, const VekPyramidState* pPyr2, const Vek32f* pPrev, Vek32f* pNext,
                                      Vek8s* pStatus, Vek32f* pError, Vek32s numFeat, Vek32s winSize, Vek32s maxLev, Vek32s maxIter,
                                      Vek32f threshold, VekOpticalFlowState* pState);

/* Returns StatusNullPointer, StatusOk. */
VekStatus vekiOpticalFlowPyrLKFree_8u_C1R(VekOpticalFlowState* pState);

UVEK_END

#endif
