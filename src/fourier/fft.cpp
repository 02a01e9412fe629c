// Complex power-of-two transforms: the split exports and the interleaved operations.
#include "fourier/fft_plan.h"
#include "fourier/fft_scalar.h"
#include "fourier/fft_small.h"
#include "fourier/fft_vector.h"

namespace uvek::VEK_TIER_NAMESPACE {

template <typename T, bool inverse, typename Form>
void FftTransform(const FftSpec<T>& spec, Vek32s order, Form src, Form dst, T scale, T* work)
{
    if (order < kFirstTableOrder)
        TransformSmall<inverse>(order, src, dst, scale);
    else if constexpr (kTier == 0)
        TransformScalar<inverse>(spec, order, src, dst, scale, work);
    else
        TransformVector<inverse>(spec, order, src, dst, scale, work);
}

namespace {

template <bool inverse, typename T, typename Form>
VekStatus Run(const FftSpec<T>& spec, Form src, Form dst, Vek8u* pBuffer)
{
    const WorkMemory work(pBuffer, spec.workSize);
    if (work.isMissing())
        return StatusNoMemory;
    const bool scales = (inverse ? spec.scaleInverse : spec.scaleForward) == 1;
    FftTransform<T, inverse>(spec, spec.order, src, dst, scales ? spec.scale : (T)1, work.as<T>());
    return StatusOk;
}

template <bool inverse>
VekStatus RunSplit(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDstRe, Vek32f* pDstIm, const VekFftSpec* pSpec, Vek8u* pBuffer)
{
    if (!pSpec)                                        return StatusNullPointer;
    const auto& spec = *(const FftSpec<Vek32f>*)pSpec;
    if (spec.id != kFftSplit)                          return StatusBadContext;
    if (!pSrcRe || !pSrcIm || !pDstRe || !pDstIm)      return StatusNullPointer;
    return Run<inverse>(spec, Split<Vek32f>{(Vek32f*)pSrcRe, (Vek32f*)pSrcIm}, Split<Vek32f>{pDstRe, pDstIm}, pBuffer);
}

template <bool inverse, typename T>
VekStatus RunInterleaved(const Cx<T>* pSrc, Cx<T>* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer)
{
    if (!pSpec)                         return StatusNullPointer;
    if (pSpec->id != kFftInterleaved)   return StatusBadContext;
    if (!pSrc || !pDst)                 return StatusNullPointer;
    return Run<inverse>(*pSpec, Pairs<T>{(T*)pSrc}, Pairs<T>{(T*)pDst}, pBuffer);
}

}  // namespace

template <typename T> VekStatus FftSpecBuild(FftSpec<T>** ppSpec, Vek32s order, Vek32s flag, Vek32u hint)
{
    return FftRecordBuild(ppSpec, kFftInterleaved, order, order, flag, hint);
}

template <typename T> VekStatus FftSpecFree(FftSpec<T>* pSpec) { return FftRecordFree(pSpec, kFftInterleaved); }

template <typename T> VekStatus FftWorkBytes(const FftSpec<T>* pSpec, Vek32s* pSize)
{
    if (!pSpec || !pSize)              return StatusNullPointer;
    if (pSpec->id != kFftInterleaved)  return StatusBadContext;

    *pSize = pSpec->workSize > 0 ? pSpec->workSize + 32 : 0;
    return StatusOk;
}

template <typename T>
VekStatus FftForwardInterleaved(const Cx<T>* pSrc, Cx<T>* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer)
{
    return RunInterleaved<false>(pSrc, pDst, pSpec, pBuffer);
}

template <typename T>
VekStatus FftInverseInterleaved(const Cx<T>* pSrc, Cx<T>* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer)
{
    return RunInterleaved<true>(pSrc, pDst, pSpec, pBuffer);
}

template void FftTransform<Vek32f, false>(const FftSpec<Vek32f>&, Vek32s, Pairs<Vek32f>, Pairs<Vek32f>, Vek32f, Vek32f*);
template void FftTransform<Vek32f, true>(const FftSpec<Vek32f>&, Vek32s, Pairs<Vek32f>, Pairs<Vek32f>, Vek32f, Vek32f*);
template void FftTransform<Vek64f, false>(const FftSpec<Vek64f>&, Vek32s, Pairs<Vek64f>, Pairs<Vek64f>, Vek64f, Vek64f*);
template void FftTransform<Vek64f, true>(const FftSpec<Vek64f>&, Vek32s, Pairs<Vek64f>, Pairs<Vek64f>, Vek64f, Vek64f*);
template VekStatus FftSpecBuild(FftSpec<Vek32f>**, Vek32s, Vek32s, Vek32u);
template VekStatus FftSpecFree(FftSpec<Vek32f>*);
template VekStatus FftWorkBytes(const FftSpec<Vek32f>*, Vek32s*);
template VekStatus FftForwardInterleaved(const Cx<Vek32f>*, Cx<Vek32f>*, const FftSpec<Vek32f>*, Vek8u*);
template VekStatus FftInverseInterleaved(const Cx<Vek32f>*, Cx<Vek32f>*, const FftSpec<Vek32f>*, Vek8u*);

VekStatus veksFFTInitAlloc_C_32f(VekFftSpec** ppSpec, Vek32s order, Vek32s flag, Vek32s hint)
{
    FftSpec<Vek32f>* spec = nullptr;
    const VekStatus status = FftSpecBuild(ppSpec ? &spec : nullptr, order, flag, (Vek32u)hint);
    if (status != StatusOk)
        return status;
    spec->id = kFftSplit;
    *ppSpec = (VekFftSpec*)spec;
    return StatusOk;
}

VekStatus veksFFTFree_C_32f(VekFftSpec* pSpec) { return FftRecordFree((FftSpec<Vek32f>*)pSpec, kFftSplit); }

VekStatus veksFFTFwd_CToC_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDstRe, Vek32f* pDstIm, const VekFftSpec* pSpec, Vek8u* pBuffer)
{
    return RunSplit<false>(pSrcRe, pSrcIm, pDstRe, pDstIm, pSpec, pBuffer);
}

VekStatus veksFFTInv_CToC_32f(const Vek32f* pSrcRe, const Vek32f* pSrcIm, Vek32f* pDstRe, Vek32f* pDstIm, const VekFftSpec* pSpec, Vek8u* pBuffer)
{
    return RunSplit<true>(pSrcRe, pSrcIm, pDstRe, pDstIm, pSpec, pBuffer);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
