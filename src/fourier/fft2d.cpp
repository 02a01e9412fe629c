// The power-of-two real transform of images, both ways, and the product of its spectra.
#include "fourier/passes2d.h"
#include "fourier/transform2d.h"
#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

using Spec1d = FftSpec<Vek32f>;

VekStatus RunReal(bool inverse, const Vek32f* src, Vek32f* dst, const Spec1d* spec, Vek8u* buffer)
{
    return inverse ? FftRealInversePack(src, dst, spec, buffer) : FftRealForwardPack(src, dst, spec, buffer);
}

VekStatus Columns(bool inverse, Vek32f* image, Vek32s step, const Fft2Spec& spec, Vek8u* work)
{
    const Spec1d* const column = spec.columnReal ? spec.columnReal : spec.rowReal;
    const Spec1d* const interior = spec.columnComplex;
    return PackColumns(image, step, (int64_t)1 << spec.sizeX, (int64_t)1 << spec.sizeY, work,
                       [=](Vek32f* data, Vek8u* buffer) { return RunReal(inverse, data, data, column, buffer); },
                       [=](Complex* data, Vek8u* buffer) {
                           return inverse ? FftInverseInterleaved(data, data, interior, buffer) : FftForwardInterleaved(data, data, interior, buffer);
                       });
}

VekStatus Rows(bool inverse, const Vek32f* src, Vek32s srcStep, Vek32f* dst, Vek32s dstStep, const Fft2Spec& spec, Vek8u* work)
{
    for (int64_t y = 0; y < (int64_t)1 << spec.sizeY; ++y) {
        const VekStatus status = RunReal(inverse, Offset(src, srcStep * y), Offset(dst, dstStep * y), spec.rowReal, work);
        if (status != StatusOk)
            return status;
    }
    return StatusOk;
}

// A single row, or a single column, is one transform. A column of contiguous samples needs no detour.
VekStatus RunLine(bool inverse, const Vek32f* src, Vek32s srcStep, Vek32f* dst, Vek32s dstStep, const Fft2Spec& spec, Vek8u* work)
{
    if (spec.sizeY == 0)
        return RunReal(inverse, src, dst, spec.rowReal, work);
    const Spec1d* const column = spec.columnReal ? spec.columnReal : spec.rowReal;
    if (srcStep == sizeof(Vek32f) && dstStep == sizeof(Vek32f))
        return RunReal(inverse, src, dst, column, work);
    return OneColumn<Vek32f>(src, srcStep, dst, dstStep, (int64_t)1 << spec.sizeY, work,
                             [=](Vek32f* data, Vek8u* buffer) { return RunReal(inverse, data, data, column, buffer); });
}

VekStatus Transform(bool inverse, const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, const Fft2Spec* pSpec, Vek8u* pBuffer)
{
    if (!pSpec)                      return StatusNullPointer;
    if (pSpec->id != kFft2Real)      return StatusBadContext;
    if (!pSrc || !pDst)              return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)  return StatusBadStep;

    const Fft2Spec& spec = *pSpec;
    const WorkMemory work(pBuffer, spec.bufferSize, 16);
    if (work.isMissing())
        return StatusNoMemory;
    if (spec.sizeX == 0 || spec.sizeY == 0)
        return RunLine(inverse, pSrc, srcStep, pDst, dstStep, spec, work.bytes());
    if (!inverse) {
        const VekStatus status = Rows(false, pSrc, srcStep, pDst, dstStep, spec, work.bytes());
        return status != StatusOk ? status : Columns(false, pDst, dstStep, spec, work.bytes());
    }
    if (pSrc != pDst)
        for (int64_t y = 0; y < (int64_t)1 << spec.sizeY; ++y)
            memmove(Offset(pDst, dstStep * y), Offset(pSrc, srcStep * y), sizeof(Vek32f) << spec.sizeX);
    const VekStatus status = Columns(true, pDst, dstStep, spec, work.bytes());
    return status != StatusOk ? status : Rows(true, pDst, dstStep, pDst, dstStep, spec, work.bytes());
}

void Release(Fft2Spec* spec)
{
    if (spec->columnComplex)
        FftSpecFree(spec->columnComplex);
    if (spec->rowReal)
        FftRealSpecFree(spec->rowReal);
    if (spec->columnReal)
        FftRealSpecFree(spec->columnReal);
    spec->id = 0;
    ReleaseBlock(spec);
}

VekStatus BuildSpecs(Fft2Spec& spec, Vek32s flag)
{
    VekStatus status = FftRealSpecBuild(&spec.rowReal, spec.sizeX, flag, spec.hint);
    if (status == StatusOk && spec.sizeY != spec.sizeX)
        status = FftRealSpecBuild(&spec.columnReal, spec.sizeY, flag, spec.hint);
    if (status == StatusOk)
        status = FftSpecBuild(&spec.columnComplex, spec.sizeY, flag, spec.hint);
    if (status != StatusOk)
        return status;
    const int64_t w = (int64_t)1 << spec.sizeX, h = (int64_t)1 << spec.sizeY;
    Vek32s row = 0, column = 0, interior = 0;
    FftRealWorkBytes((const Spec1d*)spec.rowReal, &row);
    FftRealWorkBytes((const Spec1d*)(spec.columnReal ? spec.columnReal : spec.rowReal), &column);
    FftWorkBytes((const Spec1d*)spec.columnComplex, &interior);
    const int64_t bytes = Max(Max(column + 16 * h, interior + 64 * h), row + 16 * w);
    if (bytes > kLargestWorkSize)
        return StatusNoMemory;
    spec.bufferSize = (Vek32s)bytes;
    return StatusOk;
}

void MultiplyPairs(const Vek32f* a, Vek32f* b, int64_t pairs)
{
    const Pairs<Vek32f> x{(Vek32f*)a}, y{b};
    int64_t i = 0;
    for (; kBlocks && pairs - i >= 4; i += 4)
        Store(y, i, MulRoot<false>(Load(x, i), Load(y, i)));
    for (; i < pairs; ++i)
        StoreOne(y, i, MulRoot<false>(LoadOne(x, i), LoadOne(y, i)));
}

// Columns 0 and, for an even width, W - 1 of row 0 or the last row hold reals.
void MultiplyRealRow(const Vek32f* a, Vek32f* b, int64_t width)
{
    Put(b, Get(a) * Get(b));
    MultiplyPairs(a + 1, b + 1, (width - 1) / 2);
    if (width % 2 == 0)
        Put(b + width - 1, Get(a + width - 1) * Get(b + width - 1));
}

// In the other rows these columns hold the real part, and one row further the imaginary part.
void MultiplyDown(const Vek32f* a, Vek32s aStep, Vek32f* b, Vek32s bStep)
{
    const Complex x = {Get(a), Get(Offset(a, aStep))}, y = {Get(b), Get(Offset(b, bStep))};
    const Complex product = MulRoot<false>(x, y);
    Put(b, product.re);
    Put(Offset(b, bStep), product.im);
}

}  // namespace

VekStatus Fft2SpecBuild(Fft2Spec** ppSpec, Vek32s orderX, Vek32s orderY, Vek32s flag, Vek32u hint)
{
    if (!ppSpec)                                                                        return StatusNullPointer;
    if (orderX < 0 || orderX > kLargestOrder || orderY < 0 || orderY > kLargestOrder)   return StatusBadFftOrder;
    Fft2Spec* const spec = (Fft2Spec*)AllocateBlock(sizeof(Fft2Spec));
    if (!spec)                                                                          return StatusNoMemory;

    *spec = {};
    spec->id = kFft2Real;
    spec->sizeX = orderX;
    spec->sizeY = orderY;
    spec->hint = hint;
    const VekStatus status = BuildSpecs(*spec, flag);
    if (status == StatusOk)
        *ppSpec = spec;
    else
        Release(spec);
    return status;
}

VekStatus Fft2SpecFree(Fft2Spec* pSpec)
{
    if (!pSpec)                  return StatusNullPointer;
    if (pSpec->id != kFft2Real)  return StatusBadContext;

    Release(pSpec);
    return StatusOk;
}

VekStatus Fft2WorkBytes(const Fft2Spec* pSpec, Vek32s* pSize)
{
    if (!pSpec || !pSize)        return StatusNullPointer;
    if (pSpec->id != kFft2Real)  return StatusBadContext;

    *pSize = pSpec->bufferSize + 16;
    return StatusOk;
}

VekStatus Fft2ForwardPack(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, const Fft2Spec* pSpec, Vek8u* pBuffer)
{
    return Transform(false, pSrc, srcStep, pDst, dstStep, pSpec, pBuffer);
}

VekStatus Fft2InversePack(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, const Fft2Spec* pSpec, Vek8u* pBuffer)
{
    return Transform(true, pSrc, srcStep, pDst, dstStep, pSpec, pBuffer);
}

VekStatus Pack2Mul(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pSrcDst, Vek32s srcDstStep, VekImageSize size)
{
    if (!pSrc || !pSrcDst)                  return StatusNullPointer;
    if (srcStep < 1 || srcDstStep < 1)      return StatusBadStep;
    if (size.width < 1 || size.height < 1)  return StatusBadSize;

    const int64_t w = size.width;
    MultiplyRealRow(pSrc, pSrcDst, w);
    Vek32s y = 1;
    for (; y < size.height - 1; y += 2) {
        const Vek32f* const a = Row(pSrc, srcStep, y);
        Vek32f* const b = Row(pSrcDst, srcDstStep, y);
        MultiplyDown(a, srcStep, b, srcDstStep);
        if (w % 2 == 0)
            MultiplyDown(a + w - 1, srcStep, b + w - 1, srcDstStep);
        MultiplyPairs(a + 1, b + 1, (w - 1) / 2);
        MultiplyPairs(Offset(a, srcStep) + 1, Offset(b, srcDstStep) + 1, (w - 1) / 2);
    }
    if (y < size.height)
        MultiplyRealRow(Row(pSrc, srcStep, y), Row(pSrcDst, srcDstStep, y), w);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
