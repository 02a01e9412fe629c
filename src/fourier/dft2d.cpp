// Transforms of images of any size, complex and real.
#include "fourier/passes2d.h"
#include "fourier/transform2d.h"
#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int64_t kBufferAlignment = 16;

template <bool inverse>
VekStatus Run1d(const Complex* src, Complex* dst, const DftSpec* spec, Vek8u* buffer)
{
    return inverse ? DftInverseComplex(src, dst, spec, buffer) : DftForwardComplex(src, dst, spec, buffer);
}

template <bool inverse>
VekStatus TransformImage(const Complex* pSrc, Vek32s srcStep, Complex* pDst, Vek32s dstStep, const VekDft2Spec* pSpec, Vek8u* pBuffer)
{
    if (!pSpec)                        return StatusNullPointer;
    const Dft2Spec& spec = *(const Dft2Spec*)pSpec;
    if (spec.id != kDft2Complex)       return StatusBadContext;
    if (!pSrc || !pDst)                return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)    return StatusBadStep;

    const WorkMemory work(pBuffer, spec.bufferSize, kBufferAlignment);
    if (work.isMissing())
        return StatusNoMemory;
    const DftSpec* const column = spec.columnComplex ? spec.columnComplex : spec.rowComplex;
    const auto run = [column](Complex* data, Vek8u* buffer) { return Run1d<inverse>(data, data, column, buffer); };
    if (spec.sizeY == 1)
        return Run1d<inverse>(pSrc, pDst, spec.rowComplex, work.bytes());
    if (spec.sizeX == 1) {
        if (srcStep == sizeof(Complex) && dstStep == sizeof(Complex))
            return Run1d<inverse>(pSrc, pDst, column, work.bytes());
        return OneColumn<Complex>(pSrc, srcStep, pDst, dstStep, spec.sizeY, work.bytes(), run);
    }
    for (Vek32s y = 0; y < spec.sizeY; ++y) {
        const VekStatus status = Run1d<inverse>(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), spec.rowComplex, work.bytes());
        if (status != StatusOk)
            return status;
    }
    return ComplexColumns(pDst, dstStep, spec.sizeX, spec.sizeY, work.bytes(), run);
}

Vek32s WorkSizeOf(const DftSpec* spec)
{
    Vek32s size = 0;
    DftWorkBytes(spec, &size);
    return size;
}

void Release(Dft2Spec* spec)
{
    if (spec->rowComplex)
        DftSpecFreeComplex(spec->rowComplex);
    if (spec->columnComplex)
        DftSpecFreeComplex(spec->columnComplex);
    if (spec->rowReal)
        DftSpecFreeReal(spec->rowReal);
    if (spec->columnReal)
        DftSpecFreeReal(spec->columnReal);
    spec->id = 0;
    ReleaseBlock(spec);
}

VekStatus BuildSpecs(Dft2Spec& spec, Vek32s flag)
{
    const Vek32s w = spec.sizeX, h = spec.sizeY;
    VekStatus status;
    int64_t bytes;
    if (spec.id == kDft2Complex) {
        status = DftSpecBuildComplex(&spec.rowComplex, w, flag, spec.hint);
        if (status == StatusOk && h != w)
            status = DftSpecBuildComplex(&spec.columnComplex, h, flag, spec.hint);
        if (status != StatusOk)
            return status;
        const int64_t column = WorkSizeOf(spec.columnComplex ? spec.columnComplex : spec.rowComplex);
        bytes = Max((int64_t)WorkSizeOf(spec.rowComplex), column + 64 * (int64_t)h);
    } else {
        status = DftSpecBuildReal(&spec.rowReal, w, flag, spec.hint);
        if (status == StatusOk && h != w)
            status = DftSpecBuildReal(&spec.columnReal, h, flag, spec.hint);
        if (status == StatusOk)
            status = DftSpecBuildComplex(&spec.columnComplex, h, flag, spec.hint);
        if (status != StatusOk)
            return status;
        const int64_t column = WorkSizeOf(spec.columnReal ? spec.columnReal : spec.rowReal);
        bytes = Max(column + 16 * (int64_t)h, WorkSizeOf(spec.columnComplex) + 64 * (int64_t)h);
        bytes = Max(bytes, WorkSizeOf(spec.rowReal) + 16 * (int64_t)w);
    }
    if (bytes > kLargestWorkSize)
        return StatusNoMemory;
    spec.bufferSize = (Vek32s)bytes;
    return StatusOk;
}

VekStatus Build(VekDft2Spec** ppSpec, VekImageSize roiSize, Vek32s flag, Vek32s hint, Vek32u id)
{
    if (!ppSpec)                                  return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    Dft2Spec* const spec = (Dft2Spec*)AllocateBlock(sizeof(Dft2Spec));
    if (!spec)                                    return StatusNoMemory;

    *spec = {};
    spec->id = id;
    spec->sizeX = roiSize.width;
    spec->sizeY = roiSize.height;
    spec->hint = (Vek32u)hint;
    const VekStatus status = BuildSpecs(*spec, flag);
    if (status == StatusOk)
        *ppSpec = (VekDft2Spec*)spec;
    else
        Release(spec);
    return status;
}

VekStatus Free(VekDft2Spec* pSpec, Vek32u id)
{
    if (!pSpec)                           return StatusNullPointer;
    if (((Dft2Spec*)pSpec)->id != id)     return StatusBadContext;

    Release((Dft2Spec*)pSpec);
    return StatusOk;
}

}  // namespace

VekStatus vekiDFTInitAlloc_C_32fc(VekDft2Spec** ppSpec, VekImageSize roiSize, Vek32s flag, Vek32s hint)
{
    return Build(ppSpec, roiSize, flag, hint, kDft2Complex);
}

VekStatus vekiDFTInitAlloc_R_32f(VekDft2Spec** ppSpec, VekImageSize roiSize, Vek32s flag, Vek32s hint)
{
    return Build(ppSpec, roiSize, flag, hint, kDft2Real);
}

VekStatus vekiDFTFree_C_32fc(VekDft2Spec* pSpec) { return Free(pSpec, kDft2Complex); }
VekStatus vekiDFTFree_R_32f(VekDft2Spec* pSpec) { return Free(pSpec, kDft2Real); }

VekStatus vekiDFTFwd_CToC_32fc_C1R(const Vek32fc* pSrc, Vek32s srcStep, Vek32fc* pDst, Vek32s dstStep, const VekDft2Spec* pSpec, Vek8u* pBuffer)
{
    return TransformImage<false>((const Complex*)pSrc, srcStep, (Complex*)pDst, dstStep, pSpec, pBuffer);
}

VekStatus vekiDFTInv_CToC_32fc_C1R(const Vek32fc* pSrc, Vek32s srcStep, Vek32fc* pDst, Vek32s dstStep, const VekDft2Spec* pSpec, Vek8u* pBuffer)
{
    return TransformImage<true>((const Complex*)pSrc, srcStep, (Complex*)pDst, dstStep, pSpec, pBuffer);
}

VekStatus vekiDFTFwd_RToPack_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, const VekDft2Spec* pSpec, Vek8u* pBuffer)
{
    if (!pSpec)                      return StatusNullPointer;
    const Dft2Spec& spec = *(const Dft2Spec*)pSpec;
    if (spec.id != kDft2Real)        return StatusBadContext;
    if (!pSrc || !pDst)              return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)  return StatusBadStep;

    const WorkMemory work(pBuffer, spec.bufferSize, kBufferAlignment);
    if (work.isMissing())
        return StatusNoMemory;
    const DftSpec* const column = spec.columnReal ? spec.columnReal : spec.rowReal;
    const auto runReal = [column](Vek32f* data, Vek8u* buffer) { return DftForwardReal(data, data, column, buffer); };
    if (spec.sizeY == 1)
        return DftForwardReal(pSrc, pDst, spec.rowReal, work.bytes());
    if (spec.sizeX == 1) {
        if (srcStep == sizeof(Vek32f) && dstStep == sizeof(Vek32f))
            return DftForwardReal(pSrc, pDst, column, work.bytes());
        return OneColumn<Vek32f>(pSrc, srcStep, pDst, dstStep, spec.sizeY, work.bytes(), runReal);
    }
    for (Vek32s y = 0; y < spec.sizeY; ++y) {
        const VekStatus status = DftForwardReal(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), spec.rowReal, work.bytes());
        if (status != StatusOk)
            return status;
    }
    const DftSpec* const interior = spec.columnComplex;
    return PackColumns(pDst, dstStep, spec.sizeX, spec.sizeY, work.bytes(), runReal,
                       [interior](Complex* data, Vek8u* buffer) { return DftForwardComplex(data, data, interior, buffer); });
}

}  // namespace uvek::VEK_TIER_NAMESPACE
