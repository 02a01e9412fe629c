// Transforms of any length by the method of their record.
#include "fourier/dft_butterfly.h"
#include "fourier/fft_real.h"
#include "fourier/fft_small.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

template <bool inverse>
void SmallComplex(Vek32s n, const Complex* src, Complex* dst, Vek32f scale)
{
    if (n != 3) {
        TransformSmall<inverse>(n / 2, Pairs<Vek32f>{(Vek32f*)src}, Pairs<Vek32f>{(Vek32f*)dst}, scale);  // 1, 2, 4: orders 0, 1, 2
        return;
    }
    Complex x[3];
    memcpy(x, src, sizeof x);
    Butterfly3<inverse>(x[0], x[1], x[2]);
    for (Complex& v : x)
        v = Scale(v, scale);
    memcpy(dst, x, sizeof x);
}

void SmallReal(Vek32s n, const Vek32f* src, Vek32f* dst, Vek32f scale)
{
    Vek32f x[4], y[4];
    memcpy(x, src, (size_t)n * sizeof *src);
    if (n == 1)
        y[0] = x[0];
    else if (n == 2) {
        y[0] = x[0] + x[1];
        y[1] = x[0] - x[1];
    } else if (n == 3) {
        Complex a = {x[0], 0}, b = {x[1], 0}, c = {x[2], 0};
        Butterfly3<false>(a, b, c);
        y[0] = a.re;
        y[1] = b.re;
        y[2] = b.im;
    } else {
        const Vek32f even = x[0] + x[2], odd = x[1] + x[3];
        y[0] = even + odd;
        y[1] = x[0] - x[2];
        y[2] = x[3] - x[1];
        y[3] = even - odd;
    }
    for (Vek32s i = 0; i < n; ++i)
        y[i] *= scale;
    memcpy(dst, y, (size_t)n * sizeof *dst);
}

template <bool inverse>
VekStatus RunMethod(const DftSpec& spec, Vek32s n, const Complex* src, Complex* dst, Vek8u* work)
{
    if (spec.chirpSpec)
        return ChirpTransform<inverse>(spec, n, src, dst, work);
    if (spec.isMixedRadix)
        MixedTransform<inverse>(spec, src, dst, (Complex*)work);
    else
        DirectTransform<inverse>(spec.rootTable, n, src, dst, (Complex*)work);
    return StatusOk;
}

template <bool inverse>
VekStatus TransformComplex(const Complex* pSrc, Complex* pDst, const DftSpec* pSpec, Vek8u* pBuffer)
{
    if (!pSpec)                    return StatusNullPointer;
    if (pSpec->id != kDftComplex)  return StatusBadContext;
    if (!pSrc || !pDst)            return StatusNullPointer;

    const DftSpec& spec = *pSpec;
    const Vek32f scale = (inverse ? spec.scaleInverse : spec.scaleForward) == 1 ? spec.scale : 1.0f;
    if (spec.length < 5) {
        SmallComplex<inverse>(spec.length, pSrc, pDst, scale);
        return StatusOk;
    }
    const WorkMemory work(pBuffer, spec.workSize);
    if (work.isMissing())
        return StatusNoMemory;
    const FftSpec<Vek32f>* const power = spec.powerSpec;
    if (power)
        return inverse ? FftInverseInterleaved(pSrc, pDst, power, work.bytes()) : FftForwardInterleaved(pSrc, pDst, power, work.bytes());
    const VekStatus status = RunMethod<inverse>(spec, spec.length, pSrc, pDst, work.bytes());
    if (status == StatusOk)
        ScaleSamples((Vek32f*)pDst, 2 * (int64_t)spec.length, scale);
    return status;
}

}  // namespace

VekStatus DftForwardComplex(const Complex* pSrc, Complex* pDst, const DftSpec* pSpec, Vek8u* pBuffer)
{
    return TransformComplex<false>(pSrc, pDst, pSpec, pBuffer);
}

VekStatus DftInverseComplex(const Complex* pSrc, Complex* pDst, const DftSpec* pSpec, Vek8u* pBuffer)
{
    return TransformComplex<true>(pSrc, pDst, pSpec, pBuffer);
}

VekStatus DftForwardReal(const Vek32f* pSrc, Vek32f* pDst, const DftSpec* pSpec, Vek8u* pBuffer)
{
    if (!pSpec)                 return StatusNullPointer;
    if (pSpec->id != kDftReal)  return StatusBadContext;
    if (!pSrc || !pDst)         return StatusNullPointer;

    const DftSpec& spec = *pSpec;
    const Vek32s n = spec.length;
    const Vek32f scale = spec.scaleForward == 1 ? spec.scale : 1.0f;
    if (n < 5) {
        SmallReal(n, pSrc, pDst, scale);
        return StatusOk;
    }
    const WorkMemory work(pBuffer, spec.workSize);
    if (work.isMissing())
        return StatusNoMemory;
    if (spec.powerSpec)
        return FftRealForwardPack(pSrc, pDst, (const FftSpec<Vek32f>*)spec.powerSpec, work.bytes());
    if (n % 2 == 0) {
        const VekStatus status = RunMethod<false>(spec, n / 2, (const Complex*)pSrc, (Complex*)pDst, work.bytes());
        if (status != StatusOk)
            return status;
        RealPostStep(pDst, n / 2, (const Vek32f*)spec.realPost, kBlocks);
        ScaleSamples(pDst, n, scale);
        WorkingToPack(pDst, n);
        return StatusOk;
    }
    if (spec.chirpSpec) {
        const VekStatus status = ChirpTransformReal(spec, n, pSrc, pDst, work.bytes());
        if (status != StatusOk)
            return status;
    } else if (spec.isMixedRadix)
        MixedTransformReal(spec, pSrc, pDst, work.as<Vek32f>());
    else
        DirectTransformReal(spec.rootTable, n, pSrc, pDst, work.as<Vek32f>());
    ScaleSamples(pDst, n, scale);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
