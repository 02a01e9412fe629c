/* One-dimensional signal processing. Lengths count elements, and all vectors may stand at any address.
   Unless a comment says otherwise all tiers give the same result, a source may be the destination too,
   no other overlap is allowed, and the statuses are, in order: StatusNullPointer for any null pointer,
   StatusBadSize for a length below 1, StatusOk. */
#ifndef UVEK_SIGNAL_H
#define UVEK_SIGNAL_H

#include "uvek/base.h"

UVEK_BEGIN

/* ---- Vectors of 16-bit integers ---- */

/* Add `value` to, or subtract it from, each element, in place; the result saturates. */
VekStatus veksAddC_16s_I(Vek16s value, Vek16s* pSrcDst, Vek32s len);
VekStatus veksSubC_16s_I(Vek16s value, Vek16s* pSrcDst, Vek32s len);

/* pDst[i] = (pSrc1[i] + pSrc2[i]) 2^-scaleFactor, the sum exact, the quotient rounded to nearest with
   ties to even, the result saturated. From a scaleFactor of 17 on every result is 0. */
VekStatus veksAdd_16s_Sfs(const Vek16s* pSrc1, const Vek16s* pSrc2, Vek16s* pDst, Vek32s len, Vek32s scaleFactor);

/* Shift each element by `value` bits, in place: left without saturation, so that from 16 on all
   elements become 0, and right with the sign, so that from 16 on they become -1 or 0. After the two
   usual statuses a negative value gives StatusBadShift. */
VekStatus veksLShiftC_16s_I(Vek32s value, Vek16s* pSrcDst, Vek32s len);
VekStatus veksRShiftC_16s_I(Vek32s value, Vek16s* pSrcDst, Vek32s len);

/* ---- Conversions ---- */

/* Each element as a float, exactly. The destination must not overlap the source. */
VekStatus veksConvert_16s32f(const Vek16s* pSrc, Vek32f* pDst, Vek32s len);
VekStatus veksConvert_8u32f(const Vek8u* pSrc, Vek32f* pDst, Vek32s len);

/* pDst[i] = pSrc[i] 2^-scaleFactor, rounded by rndMode (RoundZero, RoundNear; any other is
   RoundHalfAway) and saturated; a NaN gives 0. The destination must not overlap the source. */
VekStatus veksConvert_32f16s_Sfs(const Vek32f* pSrc, Vek16s* pDst, Vek32s len, Vek32s rndMode, Vek32s scaleFactor);

/* ---- Vectors of floats ---- */

/* pDst[i] = |pSrc[i]|: the sign bit is cleared, a NaN's too. */
VekStatus veksAbs_32f(const Vek32f* pSrc, Vek32f* pDst, Vek32s len);

/* Multiplies each element by `value`, in place. A value of 0 stores zeros, also for NaN and infinity;
   a value of 1 leaves the vector as it is. */
VekStatus veksMulC_32f_I(Vek32f value, Vek32f* pSrcDst, Vek32s len);

/* Multiplies each element by 1 / value, which is formed once in single precision: the last bit of a
   result can differ from a quotient's. After the two usual statuses a value of 0 gives
   StatusDivideByZero. */
VekStatus veksDivC_32f_I(Vek32f value, Vek32f* pSrcDst, Vek32s len);

/* pSrcDst[i] = pSrcDst[i] pSrc[i]; pSrcDst[i] = pSrcDst[i]^2. */
VekStatus veksMul_32f_I(const Vek32f* pSrc, Vek32f* pSrcDst, Vek32s len);
VekStatus veksSqr_32f_I(Vek32f* pSrcDst, Vek32s len);

/* The square root of each element, correctly rounded, in place. A negative element becomes the NaN
   0xFFC00000; both zeros and NaNs stay as they are. The whole vector is done in any case, and
   WarnSqrtOfNegative in place of StatusOk tells that an element was negative. */
VekStatus veksSqrt_32f_I(Vek32f* pSrcDst, Vek32s len);

/* ---- Complex vectors ---- */

/* pDst[i] = sqrt(re^2 + im^2). Tier 0 rounds the double-precision value; tiers 1 to 3 are within 1.2
   units in the last place of the true value, over all exponents. The destination of the 32fc form must
   not overlap the source. */
VekStatus veksMagnitude_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDst, Vek32s len);
VekStatus veksMagnitude_32fc(const Vek32fc* pSrc, Vek32f* pDst, Vek32s len);

/* pDst[i] = re^2 + im^2, each step rounded to single precision. */
VekStatus veksPowerSpectr_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDst, Vek32s len);

/* pDst[i] = atan2(im, re), -pi to pi. Tier 0 rounds the double-precision value of the C runtime; tiers 1
   to 3 are within 2.4 units in the last place of the true value, over all exponents, with zeros and
   infinities as the C function has them. */
VekStatus veksPhase_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDst, Vek32s len);

/* ---- Reductions: one result in *pResult ---- */

/* The largest and the smallest element. A NaN in the first element is the result, elsewhere it counts
   for nothing; a result of zero has the sign of the first zero. */
VekStatus veksMax_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult);
VekStatus veksMin_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult);

/* Sum, arithmetic mean and sample deviation (dividing by len - 1; 0 where rounding makes the variance
   negative or where it is a NaN). Sums are held in double precision, added in an order that differs
   between tier 0 and the others; tiers 1 to 3 round the sum of the mean to single precision before the
   division. For the sum a hint of 1 picks tier 0's order, and so its result, in every tier; any other
   picks the fastest. The others ignore the hint. The deviation needs a length of at least 2, else
   StatusBadSize. */
VekStatus veksSum_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult, Vek32s hint);
VekStatus veksMean_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult, Vek32s hint);
VekStatus veksStdDev_32f(const Vek32f* pSrc, Vek32s len, Vek32f* pResult, Vek32s hint);

/* ---- Recursive filters ---- */

/* A filter with its delay line, which every call moves on: one stream, one caller at a time. The direct
   form of order N, id 0x49493031, comes from veksIIRInitAlloc_32f and is
       y[n] = b[0] x[n] + .. + b[N] x[n - N] - a[1] y[n - 1] - .. - a[N] y[n - N],
   with `delay` as the state of its transposed form,
       y = b[0] x + d[0], then d[i] = b[i + 1] x - a[i + 1] y + d[i + 1], d[N] being 0.
   A cascade of sections of order 2, id 0x49493032, is made by the caller: `taps` with (b0, b1, b2, a1, a2)
   and `delay` with two numbers for each section, `order` twice the number of sections, ownsMemory 0. */
typedef struct VekIirState {
    Vek32u id;             /* which of the two forms */
    Vek32f* taps;          /* b[0] .. b[N], a[1] .. a[N], divided by a[0] */
    Vek32f* delay;         /* N + 1 numbers, the last 0 */
    Vek32s order;          /* N */
    Vek32f* firTaps;       /* null in tier 0, as is what follows but for the numbers; b[k], four times each */
    Vek32f* feedback;      /* what outputs before a block add to its four samples */
    Vek32s sections;       /* not read: `order` tells */
    Vek32f* sectionRows;   /* not read */
    Vek32f* blockBuffer;   /* scratch for a block of samples */
    Vek32f* blockBuffer2;  /* not read */
    Vek32u ownsMemory;     /* 1: veksIIRFree_32f releases the record */
} VekIirState;

/* Makes a state from pTaps, 2 (order + 1) numbers b[0] .. b[order], a[0] .. a[order], and pDlyLine, the
   first `order` numbers of the delay line, or null for zeros. The taps are multiplied by 1 / a[0]. Returns
   StatusNullPointer (pTaps or ppState), StatusBadFilterOrder (order below 1), StatusNoMemory with
   *ppState as it was, StatusDivideByZero (a[0] is 0) with *ppState leading to released memory, which must
   not be used, StatusOk. */
VekStatus veksIIRInitAlloc_32f(VekIirState** ppState, const Vek32f* pTaps, Vek32s order, const Vek32f* pDlyLine);

/* Filters `len` samples; pDst may be pSrc. Calls on the parts of a signal in turn do what one call on the
   whole does, up to rounding. Arithmetic is single precision; tier 0 goes sample by sample or by pairs,
   the others in blocks of 1024 by look-ahead, which rounds otherwise. Returns StatusNullPointer,
   StatusBadSize, StatusBadContext (pState is no such record), StatusOk. */
VekStatus veksIIR_32f(const Vek32f* pSrc, Vek32f* pDst, Vek32s len, VekIirState* pState);

/* Releases a state of veksIIRInitAlloc_32f; one that the caller made is left alone. Returns
   StatusNullPointer, StatusBadContext, StatusOk. */
VekStatus veksIIRFree_32f(VekIirState* pState);

/* ---- Gaussian random numbers ---- */

/* A sequence of normally distributed numbers, which a seed fixes to the last bit (given the C runtime's
   logarithm), in every tier and however it is cut into calls. Every call moves it on: one caller at a
   time. */
typedef struct VekRandGaussState {
    Vek32u id;             /* 40 */
    Vek32u seed;           /* as it was given */
    Vek32f mean;           /* of the numbers */
    Vek32f stdDev;         /* of the numbers */
    Vek32u lcg;            /* congruential generator; starts alike for every seed */
    Vek32u swbA;           /* subtract-with-borrow generator */
    Vek32u swbB;           /* its second word */
    Vek32u swbC;           /* its third */
    Vek32s borrow;         /* 0 or -1 */
    Vek32u pairEmpty;      /* 1: numbers come in pairs, and none is left of the last */
    Vek64f polarFactor;    /* the last pair's factor */
    Vek64f polarSecond;    /* the uniform number of the pair's second one */
    int64_t reserved;      /* no meaning */
} VekRandGaussState;

/* Makes a state; there is no reseeding, a new seed is a new state. A stdDev of 0 gives `mean` throughout.
   Returns StatusNullPointer, StatusNoMemory with *ppState as it was, StatusOk. */
VekStatus veksRandGaussInitAlloc_32f(VekRandGaussState** ppState, Vek32f mean, Vek32f stdDev, Vek32u seed);

/* The next `len` numbers. Returns StatusNullPointer, StatusBadSize, StatusBadContext (pState is no such
   record), StatusOk. */
VekStatus veksRandGauss_32f(Vek32f* pDst, Vek32s len, VekRandGaussState* pState);

/* Releases a state. Returns StatusNullPointer, StatusBadContext, StatusOk. */
VekStatus veksRandGaussFree_32f(VekRandGaussState* pState);

/* ---- Windows and sorting ---- */

/* Multiply a vector in place by the Hamming window, w(k) = 0.54 - 0.46 cos(2 pi k / (len - 1)), and the Hann
   window, w(k) = 0.5 - 0.5 cos(2 pi k / (len - 1)). The middle sample of an odd length stays as it is, and
   the ends of a Hann window of 3 become 0. Weights follow by recurrences, and tiers differ in the last
   bits: tier 0 multiplies in double precision, and Hamming truncates toward zero; tiers 1 to 3 multiply
   in single precision, and Hamming rounds to nearest and its weights drift by up to 5e-5 on long vectors.
   The other weights are exact to a float, drifting by 1e-6 on a million samples, 3e-5 on four millions.
   Returns StatusNullPointer, StatusBadSize (len below 3), StatusOk. */
VekStatus veksWinHamming_16s_I(Vek16s* pSrcDst, Vek32s len);
VekStatus veksWinHann_32f_I(Vek32f* pSrcDst, Vek32s len);

/* Sorts in place, the largest first. Zeros of either sign are equal, and no comparison with a NaN holds:
   where these end depends on where they start, the same in every tier. No memory is taken. */
VekStatus veksSortDescend_32f_I(Vek32f* pSrcDst, Vek32s len);

UVEK_END

#endif
