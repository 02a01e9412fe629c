// Discrete Fourier transforms in double precision by the definition, halved or otherwise divided where
// the length has a small factor: slow, and right.
#ifndef UVEK_TESTS_SUPPORT_TRANSFORM_H
#define UVEK_TESTS_SUPPORT_TRANSFORM_H

#include <complex>
#include <vector>

#ifdef UVEK_HAVE_FFTW3F
#include <fftw3.h>
#endif

namespace uvek::test {

using Spectrum = std::vector<std::complex<double>>;

// sign: -1 forward, 1 inverse; nothing is scaled.
Spectrum Transform(const Spectrum& x, int sign = -1);

// Root mean square of the difference, relative to that of the truth.
double RelativeError(const Spectrum& truth, const Spectrum& got);

// That of the peer's forward transform of x in single precision; `expected` where there is no peer.
inline double ErrorOfPeer(const Spectrum& x, const Spectrum& truth, double expected)
{
#ifdef UVEK_HAVE_FFTW3F
    std::vector<std::complex<float>> in(x.begin(), x.end()), out(x.size());
    const fftwf_plan plan = fftwf_plan_dft_1d((int)x.size(), (fftwf_complex*)in.data(), (fftwf_complex*)out.data(), FFTW_FORWARD, FFTW_ESTIMATE);
    fftwf_execute(plan);
    fftwf_destroy_plan(plan);
    (void)expected;
    return RelativeError(truth, Spectrum(out.begin(), out.end()));
#else
    (void)x, (void)truth;
    return expected;
#endif
}

}  // namespace uvek::test

#endif
