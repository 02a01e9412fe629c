// The frame operations on the processor that the library runs on, and the little state they have.
#include "frame/frame.h"
#include "frame/processor.h"

namespace uvek {
namespace {

constexpr VekStatus kCacheNotAsked = 1;

VekStatus cacheStatus = kCacheNotAsked;
Vek32s cacheSize = 0;

}  // namespace

void ResetCacheQuery()
{
    cacheStatus = kCacheNotAsked;
    cacheSize = 0;
}

}  // namespace uvek

extern "C" {

Vek32s vekCpuIdAvailable(void) { return 1; }  // every x86-64 processor has it

Vek32s vekIsReferenceVendor(void)
{
    uvek::ProcessorAnswers answers = {};
    answers.leaf0 = uvek::CpuId(0, 0);
    return uvek::HasReferenceVendor(answers) ? 1 : 0;
}

Vek32s vekGetProcessorClass(void)
{
    return vekCpuIdAvailable() ? uvek::ClassifyProcessor(uvek::AskProcessor()) : 0;
}

VekStatus vekInitTier(void)
{
    vekTierIndex = uvek::TierOfClass(vekGetProcessorClass());
    return vekCpuIdAvailable() && vekIsReferenceVendor() ? StatusOk : WarnNotReferenceProcessor;
}

// Narrower than TierOfClass, and not called at load.
VekStatus vekSetProcessorClass(Vek32s processorClass)
{
    switch (processorClass) {
    case -1: case 0: case 96:
        vekTierIndex = 0;
        return StatusOk;
    case 32:
        vekTierIndex = 1;
        return StatusOk;
    case 33: case 34: case 36: case 67:
        vekTierIndex = 2;
        return StatusOk;
    case 35: case 37: case 68: case 69:
        vekTierIndex = 3;
        return StatusOk;
    default:
        return WarnUnknownProcessorClass;
    }
}

// Unlocked on purpose: two first calls at once store the same values. The size goes first, so that
// whoever sees the status sees it too.
VekStatus vekGetMaxCacheSize(Vek32s* pSize)
{
    if (!pSize)
        return StatusNullPointer;
    VekStatus status = __atomic_load_n(&uvek::cacheStatus, __ATOMIC_ACQUIRE);
    if (status == uvek::kCacheNotAsked) {
        Vek32s size;
        status = uvek::LargestCache(uvek::AskProcessor(), &size);
        __atomic_store_n(&uvek::cacheSize, size, __ATOMIC_RELAXED);
        __atomic_store_n(&uvek::cacheStatus, status, __ATOMIC_RELEASE);
    }
    *pSize = __atomic_load_n(&uvek::cacheSize, __ATOMIC_RELAXED);
    return status;
}

}  // extern "C"
