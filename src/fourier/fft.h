// The power-of-two transforms: the record with its tables, and the operations that the rest of the
// family calls. Everything is a template over the precision; Vek32f and Vek64f are instantiated.
#ifndef UVEK_FOURIER_FFT_H
#define UVEK_FOURIER_FFT_H

#include "fourier/forms.h"
#include "frame/memory.h"
#include "uvek/fourier.h"

namespace uvek::VEK_TIER_NAMESPACE {

constexpr Vek32u kFftInterleaved = 4;
constexpr Vek32u kFftSplit = 5;
constexpr Vek32u kFftReal = 6;
constexpr Vek32u kFftRealDouble = 9;

constexpr Vek32s kLargestOrder = 30;
constexpr Vek32s kFirstTableOrder = 4;  // below it the direct kernels need nothing
constexpr int kLevels = 3;

// One allocation holds the record and its tables. The public VekFftSpec is FftSpec<Vek32f>.
template <typename T>
struct FftSpec {
    Vek32u id;
    Vek32s order;  // of the real length in a real record
    Vek32u scaleForward;
    Vek32u scaleInverse;
    T scale;
    Vek32u hint;
    Vek32s workSize;
    Vek32u ownsMemory;
    Vek32s* bitReversal;
    T* kernelTwiddles;
    T* mergeTwiddlesNear;
    T* mergeTwiddlesFar;
    T* realPost;
    T* realPre;
    T* outerKernelTwiddles[kLevels];
    T* outerColumnTwiddles[kLevels];
};

template <typename T> VekStatus FftSpecBuild(FftSpec<T>** ppSpec, Vek32s order, Vek32s flag, Vek32u hint);
template <typename T> VekStatus FftSpecFree(FftSpec<T>* pSpec);
template <typename T> VekStatus FftWorkBytes(const FftSpec<T>* pSpec, Vek32s* pSize);
template <typename T> VekStatus FftForwardInterleaved(const Cx<T>* pSrc, Cx<T>* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer);
template <typename T> VekStatus FftInverseInterleaved(const Cx<T>* pSrc, Cx<T>* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer);

template <typename T> VekStatus FftRealSpecBuild(FftSpec<T>** ppSpec, Vek32s order, Vek32s flag, Vek32u hint);
template <typename T> VekStatus FftRealSpecFree(FftSpec<T>* pSpec);
template <typename T> VekStatus FftRealWorkBytes(const FftSpec<T>* pSpec, Vek32s* pSize);
template <typename T> VekStatus FftRealForwardPack(const T* pSrc, T* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer);
template <typename T> VekStatus FftRealInversePack(const T* pSrc, T* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer);
template <typename T> VekStatus SpectrumMulConj(const T* pSrc, T* pSrcDst, Vek32s len);

// The common part of both builders: a record of `id` whose complex transforms have `complexOrder`.
// A real record gets its post- and pre-step tables too.
template <typename T>
VekStatus FftRecordBuild(FftSpec<T>** ppSpec, Vek32u id, Vek32s order, Vek32s complexOrder, Vek32s flag, Vek32u hint);
template <typename T> VekStatus FftRecordFree(FftSpec<T>* pSpec, Vek32u id);

// The complex transform of 2^order elements from src to dst by the record's tables, multiplied by
// `scale` unless it is 1. A plane of dst may be that of src. `work`: workSize bytes, 32-byte aligned.
template <typename T, bool inverse, typename Form>
void FftTransform(const FftSpec<T>& spec, Vek32s order, Form src, Form dst, T scale, T* work);

// Flags say which direction multiplies, by what for n elements; false for an unknown flag.
template <typename T>
struct Scaling {
    Vek32u forward, inverse;
    T scale;
};
template <typename T> bool ScalingOf(Vek32s flag, Vek64f n, Scaling<T>* pScaling);

// The largest size that callers can be told of in 32 bits, less what alignment adds. Transforms that want
// more are refused for want of memory.
constexpr int64_t kLargestWorkSize = 0x7fffffff - 64;

// The work memory of one call: the caller's, rounded up, or its own until it goes out of scope.
// In line: a small transform takes hardly longer than two calls.
class WorkMemory {
public:
    WorkMemory(Vek8u* pBuffer, int64_t bytes, int64_t alignment = 32)
        : p_((Vek8u*)(((uintptr_t)pBuffer + (uintptr_t)(alignment - 1)) & ~(uintptr_t)(alignment - 1)))
    {
        if (!pBuffer && bytes != 0) {
            owned_ = AllocateBlock(bytes);
            missing_ = !owned_;
            p_ = (Vek8u*)owned_;
        }
    }
    ~WorkMemory()
    {
        if (owned_)
            ReleaseBlock(owned_);
    }
    WorkMemory(const WorkMemory&) = delete;
    WorkMemory& operator=(const WorkMemory&) = delete;

    bool isMissing() const { return missing_; }
    Vek8u* bytes() const { return p_; }
    template <typename T> T* as() const { return (T*)p_; }

private:
    Vek8u* p_;
    void* owned_ = nullptr;
    bool missing_ = false;
};

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
