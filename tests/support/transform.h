// Discrete Fourier transforms in double precision by the definition, halved or otherwise divided where
// the length has a small factor: slow, and right.
#ifndef UVEK_TESTS_SUPPORT_TRANSFORM_H
#define UVEK_TESTS_SUPPORT_TRANSFORM_H

#include <complex>
#include <vector>

namespace uvek::test {

using Spectrum = std::vector<std::complex<double>>;

// sign: -1 forward, 1 inverse; nothing is scaled.
Spectrum Transform(const Spectrum& x, int sign = -1);

// Root mean square of the difference, relative to that of the truth.
double RelativeError(const Spectrum& truth, const Spectrum& got);

}  // namespace uvek::test

#endif
