// Vectors and images from the aligned allocator. The tiers behave alike.
#include "frame/memory.h"
#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int64_t kRowAlignment = 32;

template <typename T>
T* AllocateVector(Vek32s len)
{
    return (T*)AllocateBlock((int64_t)len * (int64_t)sizeof(T));
}

template <typename T, int channels>
T* AllocateImage(Vek32s width, Vek32s height, Vek32s* pStepBytes)
{
    if (!pStepBytes)
        return nullptr;
    if (width < 1 || height < 1) {
        *pStepBytes = 0;
        return nullptr;
    }
    const int64_t rowBytes = (int64_t)width * channels * (int64_t)sizeof(T);
    const int64_t step = (rowBytes + kRowAlignment - 1) & ~(kRowAlignment - 1);
    *pStepBytes = (Vek32s)(Vek32u)step;
    // Callers keep the total below 2^31; past it the low 32 bits count, as promised.
    return (T*)AllocateBlock((Vek32s)((Vek32u)step * (Vek32u)height));
}

}  // namespace

Vek8u* veksMalloc_8u(Vek32s len) { return AllocateVector<Vek8u>(len); }
Vek16s* veksMalloc_16s(Vek32s len) { return AllocateVector<Vek16s>(len); }
Vek32f* veksMalloc_32f(Vek32s len) { return AllocateVector<Vek32f>(len); }
void veksFree(void* ptr) { ReleaseBlock(ptr); }

Vek8u* vekiMalloc_8u_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek8u, 1>(width, height, pStepBytes); }
Vek8u* vekiMalloc_8u_C3(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek8u, 3>(width, height, pStepBytes); }
Vek8u* vekiMalloc_8u_C4(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek8u, 4>(width, height, pStepBytes); }
Vek16s* vekiMalloc_16s_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek16s, 1>(width, height, pStepBytes); }
Vek16s* vekiMalloc_16s_C3(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek16s, 3>(width, height, pStepBytes); }
Vek16u* vekiMalloc_16u_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek16u, 1>(width, height, pStepBytes); }
Vek16u* vekiMalloc_16u_C3(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek16u, 3>(width, height, pStepBytes); }
Vek32f* vekiMalloc_32f_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek32f, 1>(width, height, pStepBytes); }
Vek32s* vekiMalloc_32s_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes) { return AllocateImage<Vek32s, 1>(width, height, pStepBytes); }
void vekiFree(void* ptr) { ReleaseBlock(ptr); }

}  // namespace uvek::VEK_TIER_NAMESPACE
