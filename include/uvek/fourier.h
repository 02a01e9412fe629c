/* Fourier transforms, convolution and correlation. */
#ifndef UVEK_FOURIER_H
#define UVEK_FOURIER_H

#include "uvek/base.h"

UVEK_BEGIN

/* Which direction of a transform of n elements multiplies its result, and by what. */
enum {
    FftScaleForward = 1,  /* forward by 1 / n */
    FftScaleInverse = 2,  /* inverse by 1 / n */
    FftScaleSqrt = 4,     /* both by 1 / sqrt(n) */
    FftScaleNone = 8      /* neither */
};

/* A record holds what transforms of one length share, its tables among it. Transforms only read it:
   one record may serve many threads at once, each with its own pBuffer or with none.

   pBuffer: work memory of a call. Null: the call allocates what it needs and releases it before it
   returns, and answers StatusNoMemory, with the destination untouched, if it cannot. Otherwise it is
   rounded up to a multiple of 32 bytes (16 in two dimensions). For a transform of n = 2^order complex
   elements, 32 bytes and the following suffice on every tier: none below order 4, 8 n up to order 17,
   2 MiB above. A real transform needs what the complex one of half its length needs. In two dimensions
   128 * (width + height) + 256 bytes suffice for any size and kind.

   X[k] is the sum of x[j] exp(-2 pi i j k / n) forward, exp(+2 pi i j k / n) inverse. The tiers differ
   in rounding only; within a tier neither alignment, nor transforming in place, nor the buffer changes
   a bit of a result. */
typedef struct VekFftSpec VekFftSpec;

/* Makes a record for complex transforms of 2^order elements in separate planes. flag: FftScale...;
   hint: stored, without effect. *ppSpec is set on success only; it goes back by veksFFTFree_C_32f.
   Returns StatusNullPointer, StatusBadFftOrder (order outside 0 to 30), StatusBadFftFlag,
   StatusNoMemory, StatusOk. */
VekStatus veksFFTInitAlloc_C_32f(VekFftSpec** ppSpec, Vek32s order, Vek32s flag, Vek32s hint);

/* Releases such a record. Returns StatusNullPointer, StatusBadContext (another kind of record, which
   stays as it is), StatusOk. */
VekStatus veksFFTFree_C_32f(VekFftSpec* pSpec);

/* Transform n complex elements, real and imaginary parts in planes of n samples each. A destination
   plane may be the source plane of its kind, each for itself; other overlaps are not allowed.
   Return StatusNullPointer (pSpec), StatusBadContext, StatusNullPointer (a plane), StatusNoMemory,
   StatusOk. */
VekStatus veksFFTFwd_CToC_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDstRe, Vek32f* pDstIm,
                              const VekFftSpec* pSpec, Vek8u* pBuffer);
VekStatus veksFFTInv_CToC_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDstRe, Vek32f* pDstIm,
                              const VekFftSpec* pSpec, Vek8u* pBuffer);

/* The same for real transforms of 2^order samples. */
VekStatus veksFFTInitAlloc_R_32f(VekFftSpec** ppSpec, Vek32s order, Vek32s flag, Vek32s hint);
VekStatus veksFFTFree_R_32f(VekFftSpec* pSpec);

/* Transforms n real samples to the n / 2 + 1 complex terms that determine the spectrum, n + 2 samples:
   Re X[0], 0, Re X[1], Im X[1], .., Re X[n/2], 0. For n = 1 it is X[0], 0. pDst may be pSrc, with room
   for n + 2 samples.
   Returns StatusNullPointer (pSpec), StatusBadContext, StatusNullPointer (data), StatusNoMemory, StatusOk. */
VekStatus veksFFTFwd_RToCCS_32f(const Vek32f* pSrc, Vek32f* pDst, const VekFftSpec* pSpec, Vek8u* pBuffer);

/* A record of two-dimensional transforms of one size, any width and height of at least 1. It is used
   like VekFftSpec. Each of the row and the column pass scales by its own length, so that 1 / n stands for
   1 / (width * height) in all. */
typedef struct VekDft2Spec VekDft2Spec;

/* Make a record for complex images, or for real ones. *ppSpec is set on success only; it goes back by the
   Free function of its kind.
   Return StatusNullPointer, StatusBadSize (a width or height below 1), StatusNoMemory (also where work
   memory would pass 2 GiB), StatusBadFftFlag, StatusOk. */
VekStatus vekiDFTInitAlloc_C_32fc(VekDft2Spec** ppSpec, VekImageSize roiSize, Vek32s flag, Vek32s hint);
VekStatus vekiDFTInitAlloc_R_32f(VekDft2Spec** ppSpec, VekImageSize roiSize, Vek32s flag, Vek32s hint);

/* Return StatusNullPointer, StatusBadContext (another kind of record, which stays as it is), StatusOk. */
VekStatus vekiDFTFree_C_32fc(VekDft2Spec* pSpec);
VekStatus vekiDFTFree_R_32f(VekDft2Spec* pSpec);

/* Transform a complex image of the record's size. srcStep, dstStep: bytes between rows, at least 1; a
   single row does not use them. pDst with dstStep may be pSrc with srcStep. A pass that runs short of memory
   ends the call, and the destination is then as the passes before left it.
   Return StatusNullPointer (pSpec), StatusBadContext, StatusNullPointer (data), StatusBadStep, StatusNoMemory,
   StatusOk. */
VekStatus vekiDFTFwd_CToC_32fc_C1R(const Vek32fc* pSrc, Vek32s srcStep, Vek32fc* pDst, Vek32s dstStep,
                                   const VekDft2Spec* pSpec, Vek8u* pBuffer);
VekStatus vekiDFTInv_CToC_32fc_C1R(const Vek32fc* pSrc, Vek32s srcStep, Vek32fc* pDst, Vek32s dstStep,
                                   const VekDft2Spec* pSpec, Vek8u* pBuffer);

/* Transforms a real image to its spectrum in Pack layout, an image of the same size. In one dimension Pack
   is Re X[0], Re X[1], Im X[1], Re X[2], .., and for an even length Re X[n/2] last. Here each row is the Pack of
   its transform along x; then column 0 and, for an even width, the last column, which hold reals, become Packs
   downward, and each pair of columns between them, a complex column, is transformed as such. Arguments and
   statuses as above. */
VekStatus vekiDFTFwd_RToPack_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep,
                                     const VekDft2Spec* pSpec, Vek8u* pBuffer);

/* The full convolution of two images: sample (x, y) of the result is the sum of src1(i, j) src2(x - i, y - j)
   over all i, j within both, (width1 + width2 - 1) by (height1 + height2 - 1) samples. Steps: bytes between
   rows, at least 1. pDst overlaps neither source. Small work is summed directly, in the destination; the
   rest goes through transforms, whose size and so whose rounding depends on the sizes. Tiers differ in
   rounding, and tier 0 turns to transforms earlier.
   Returns StatusNullPointer, StatusBadSize (a width or height below 1), StatusBadStep, StatusNoMemory (what
   was done by then stays), StatusBadFftOrder (a transform would be longer than 2^30), StatusOk. */
VekStatus vekiConvFull_32f_C1R(const Vek32f* pSrc1, Vek32s src1Step, VekImageSize src1Size, const Vek32f* pSrc2,
                               Vek32s src2Step, VekImageSize src2Size, Vek32f* pDst, Vek32s dstStep);

/* The cross-correlation of two vectors over dstLen lags from lowLag, which may be any number: pDst[n] is
   the sum over i of src1[i] src2[i + lowLag + n], where both exist; 0 where nothing does. pDst overlaps neither
   source. Long windows go through transforms, in double precision for 64f.
   Return StatusNullPointer, StatusBadSize (a length below 1), StatusNoMemory or StatusBadFftOrder (leading and
   trailing zeros are written by then), StatusOk. */
VekStatus veksCrossCorr_32f(const Vek32f* pSrc1, Vek32s src1Len, const Vek32f* pSrc2, Vek32s src2Len, Vek32f* pDst,
                            Vek32s dstLen, Vek32s lowLag);
VekStatus veksCrossCorr_64f(const Vek64f* pSrc1, Vek32s src1Len, const Vek64f* pSrc2, Vek32s src2Len, Vek64f* pDst,
                            Vek32s dstLen, Vek32s lowLag);

UVEK_END

#endif
