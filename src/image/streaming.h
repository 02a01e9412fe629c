// When a transfer is so large that it should pass by the cache. The conclusions are pure functions
// of the processor's answers and of sizes; only AskLargestCache() looks at the processor in use.
#ifndef UVEK_IMAGE_STREAMING_H
#define UVEK_IMAGE_STREAMING_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

// CPUID leaves 0 and 2, each as EAX, EBX, ECX, EDX. The largest cache in bytes of 512 KiB and above
// that the reference vendor's descriptors name, 0 where there is none or the vendor is another.
Vek32s LargestDescribedCache(const Vek32u leaf0[4], const Vek32u leaf2[4]);

// The same of the processor in use. Nothing is remembered: the query costs little beside a transfer
// that is large enough to ask.
Vek32s AskLargestCache();

// A copy spoils the cache twice over, a fill once. A cache of 0 is an unknown one.
bool CopyStreams(int64_t bytes, Vek32s largestCache);
bool FillStreams(int64_t bytes, Vek32s largestCache);

// Bytes from which copies ask for the cache: of regions in tiers 2 and 3, of vectors.
constexpr int64_t kLargeRegionCopy = 2097152;
constexpr int64_t kLargeVectorCopy = kTier == 1 ? 524288 : 1048576;

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
