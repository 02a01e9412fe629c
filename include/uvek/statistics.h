/* Image statistics. No function changes its source, allocates, or writes a result after a failed check. */
#ifndef UVEK_STATISTICS_H
#define UVEK_STATISTICS_H

#include "uvek/base.h"

UVEK_BEGIN

/* Histogram over bins with given boundaries. pHist[i], i = 0 .. nLevels - 2, becomes the count of
   samples v with pLevels[i] <= v < pLevels[i + 1]. Boundaries are clamped to 0 .. 256 and need not
   rise: a falling pair makes an empty bin, and samples outside all bins are not counted.
   Returns StatusNullPointer, StatusBadSize, StatusBadStep (below 1), StatusBadHistogramLevels (nLevels
   below 2), StatusOk. All tiers agree. */
VekStatus vekiHistogramRange_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize,
                                    Vek32s* pHist, const Vek32s* pLevels, Vek32s nLevels);

/* The same for each channel, with three count arrays, three boundary arrays and three level counts.
   Returns StatusNullPointer for the four pointers; then, channel by channel, StatusNullPointer for an
   entry of pHist or pLevels and StatusBadHistogramLevels; then StatusBadSize, StatusBadStep, StatusOk. */
VekStatus vekiHistogramRange_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize,
                                    Vek32s* const pHist[3], const Vek32s* const pLevels[3], const Vek32s nLevels[3]);

/* Mean and population deviation of channel `coi` (1 to 3). pMean and pStdDev may each be null. The
   pixel count is held at 32 bits; where it wraps to 0, both results are 0.
   Returns StatusNullPointer (pSrc), StatusBadSize, StatusBadStep (below 3 * width),
   StatusBadChannelOfInterest, StatusOk. All tiers agree. */
VekStatus vekiMean_StdDev_8u_C3CR(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize, Vek32s coi, Vek64f* pMean, Vek64f* pStdDev);

/* Smallest and largest sample of each channel. Any step does.
   Returns StatusNullPointer, StatusBadSize, StatusOk. All tiers agree. */
VekStatus vekiMinMax_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize, Vek8u pMin[3], Vek8u pMax[3]);

/* The sum of all samples. Any step does. Returns StatusNullPointer, StatusBadSize, StatusOk.
   Tiers: tier 0, and every tier with hint 2, adds in double precision, even columns to one accumulator
   and odd ones to another over all rows, and adds the two. With any other hint, tiers above 0 add each
   row in lanes of single precision, which is faster and less exact. */
VekStatus vekiSum_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, VekImageSize roiSize, Vek64f* pSum, Vek32s hint);

UVEK_END

#endif
