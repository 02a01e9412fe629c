// What the real transforms of any length share.
#ifndef UVEK_FOURIER_FFT_REAL_H
#define UVEK_FOURIER_FFT_REAL_H

#include "fourier/fft.h"

namespace uvek::VEK_TIER_NAMESPACE {

// From the complex transform of the m pairs of a real sequence of 2 m samples to its half spectrum, in
// the working layout. The table holds pairs from k = 0, or groups of four from k = 1.
template <typename T> void RealPostStep(T* z, int64_t m, const T* table, bool isGrouped);

// The working layout of n samples, n even, to Pack.
template <typename T> void WorkingToPack(T* x, int64_t n);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
