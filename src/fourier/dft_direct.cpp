// Transforms of short lengths without small factors, by their definition, and of long ones by the chirp
// method: a convolution with exp(i pi n^2 / N), run through power-of-two transforms (L. Bluestein, 1968).
#include "fourier/dft_butterfly.h"

namespace uvek::VEK_TIER_NAMESPACE {

// The lengths that come here are odd: an even one has a factor of 2, and the rest is small enough.
template <bool inverse>
void DirectTransform(const Complex* roots, Vek32s n, const Complex* src, Complex* dst, Complex* work)
{
    for (Vek32s j = 0; j < n; ++j)
        work[j] = Get(src + j);
    ButterflyOdd<inverse>(n, roots, work, [=](Vek32s k, Complex x) { Put(dst + k, x); });
}

void DirectTransformReal(const Complex* roots, Vek32s n, const Vek32f* src, Vek32f* dst, Vek32f* work)
{
    memcpy(work, src, (size_t)n * sizeof *src);
    Vek32f sum = work[0];
    for (Vek32s j = 1; j <= n / 2; ++j) {
        const Vek32f a = work[j], b = work[n - j];
        work[j] = a + b;
        work[n - j] = a - b;
        sum += work[j];
    }
    Put(dst, sum);
    for (Vek32s k = 1; k <= n / 2; ++k) {
        Vek32f re = work[0], im = 0;
        Vek32s index = 0;
        for (Vek32s j = 1; j <= n / 2; ++j) {
            index += k;
            if (index >= n)
                index -= n;
            re += work[j] * roots[index].re;
            im += work[n - j] * roots[index].im;
        }
        Put(dst + 2 * k - 1, re);
        Put(dst + 2 * k, im);
    }
}

namespace {

// to = a b, element by element; to may be either.
void Multiply(const Complex* a, const Complex* b, Complex* to, int64_t count)
{
    int64_t i = 0;
    if (kBlocks)
        for (const Pairs<Vek32f> x{(Vek32f*)a}, y{(Vek32f*)b}, z{(Vek32f*)to}; count - i >= 4; i += 4)
            Store(z, i, MulRoot<false>(Load(x, i), Load(y, i)));
    for (; i < count; ++i)
        Put(to + i, MulRoot<false>(Get(a + i), Get(b + i)));
}

// Steps 2 to 4: the work memory holds the turned input, then its convolution.
VekStatus Convolve(const DftSpec& spec, Vek32s n, Complex* a, Vek8u* work)
{
    memset((void*)(a + n), 0, (size_t)(spec.chirpLength - n) * sizeof *a);
    const VekStatus status = FftForwardInterleaved(a, a, (const FftSpec<Vek32f>*)spec.chirpSpec, work);
    if (status != StatusOk)
        return status;
    Multiply(a, spec.chirpSpectrum, a, spec.chirpLength);
    return FftInverseInterleaved(a, a, (const FftSpec<Vek32f>*)spec.chirpSpec, work);
}

}  // namespace

template <bool inverse>
VekStatus ChirpTransform(const DftSpec& spec, Vek32s n, const Complex* src, Complex* dst, Vek8u* work)
{
    Complex* const a = (Complex*)work;
    Multiply(src, spec.chirp, a, n);
    const VekStatus status = Convolve(spec, n, a, work + (int64_t)spec.chirpLength * 8);
    if (status != StatusOk)
        return status;
    Multiply(a, spec.chirp, dst, n);
    if (inverse)
        for (Vek32s k = 1; k < n - k; ++k) {
            const Complex x = Get(dst + k), y = Get(dst + n - k);
            Put(dst + k, y);
            Put(dst + n - k, x);
        }
    return StatusOk;
}

VekStatus ChirpTransformReal(const DftSpec& spec, Vek32s n, const Vek32f* src, Vek32f* dst, Vek8u* work)
{
    Complex* const a = (Complex*)work;
    for (Vek32s i = 0; i < n; ++i)
        a[i] = Scale(spec.chirp[i], Get(src + i));
    const VekStatus status = Convolve(spec, n, a, work + (int64_t)spec.chirpLength * 8);
    if (status != StatusOk)
        return status;
    Multiply(a, spec.chirp, a, n / 2 + 1);
    Put(dst, a[0].re);
    memcpy(dst + 1, a + 1, (size_t)(n - 1) * sizeof *dst);
    return StatusOk;
}

template void DirectTransform<false>(const Complex*, Vek32s, const Complex*, Complex*, Complex*);
template void DirectTransform<true>(const Complex*, Vek32s, const Complex*, Complex*, Complex*);
template VekStatus ChirpTransform<false>(const DftSpec&, Vek32s, const Complex*, Complex*, Vek8u*);
template VekStatus ChirpTransform<true>(const DftSpec&, Vek32s, const Complex*, Complex*, Vek8u*);

}  // namespace uvek::VEK_TIER_NAMESPACE
