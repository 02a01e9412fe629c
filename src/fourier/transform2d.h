// Two-dimensional transforms: the record, and the power-of-two real operations that convolution runs.
#ifndef UVEK_FOURIER_TRANSFORM2D_H
#define UVEK_FOURIER_TRANSFORM2D_H

#include "fourier/dft.h"

namespace uvek::VEK_TIER_NAMESPACE {

constexpr Vek32u kFft2Real = 26;
constexpr Vek32u kDft2Complex = 27;
constexpr Vek32u kDft2Real = 28;

// A null column spec means that the row spec serves the columns. DftSpec for the arbitrary sizes,
// FftSpec for the power-of-two form, whose sizes are orders.
template <typename ComplexSpec, typename RealSpec>
struct Transform2Spec {
    Vek32u id;
    Vek32s sizeX;
    Vek32s sizeY;
    Vek32u hint;
    Vek32s bufferSize;
    ComplexSpec* rowComplex;
    ComplexSpec* columnComplex;
    RealSpec* rowReal;
    RealSpec* columnReal;
};
using Dft2Spec = Transform2Spec<DftSpec, DftSpec>;
using Fft2Spec = Transform2Spec<FftSpec<Vek32f>, FftSpec<Vek32f>>;

VekStatus Fft2SpecBuild(Fft2Spec** ppSpec, Vek32s orderX, Vek32s orderY, Vek32s flag, Vek32u hint);
VekStatus Fft2SpecFree(Fft2Spec* pSpec);
VekStatus Fft2WorkBytes(const Fft2Spec* pSpec, Vek32s* pSize);
VekStatus Fft2ForwardPack(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, const Fft2Spec* pSpec, Vek8u* pBuffer);
VekStatus Fft2InversePack(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, const Fft2Spec* pSpec, Vek8u* pBuffer);

// The product of two spectra in two-dimensional Pack, in place on the second.
VekStatus Pack2Mul(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pSrcDst, Vek32s srcDstStep, VekImageSize size);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
