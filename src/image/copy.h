// Copies of rows and of regions, under everything that moves samples unchanged. Sizes are bytes.
#ifndef UVEK_IMAGE_COPY_H
#define UVEK_IMAGE_COPY_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

inline bool Overlap(const void* a, const void* b, int64_t bytes)
{
    const int64_t distance = (int64_t)((uintptr_t)a - (uintptr_t)b);
    return distance < bytes && distance > -bytes;
}

// One row, never past the cache. In tier 0 a row that overlaps its destination is copied sample by
// sample from the first, so that a destination just ahead of the source repeats the row's start; the
// other tiers copy by blocks, and a row that overlaps itself ends as their order leaves it.
void CopyRow(const Vek8u* src, Vek8u* dst, int64_t bytes, int sampleBytes = 1);

// Rows from the first to the last. sampleBytes: 1, 2 or 4. A large region goes past the cache.
void CopyRegion(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, int64_t rowBytes, Vek32s height, int sampleBytes);

// A run of any length that goes from the first byte to the last by short blocks: bytes that move down
// in memory arrive unharmed, whatever the distance.
void CopyForward(const Vek8u* src, Vek8u* dst, int64_t bytes);

// Past the cache: chunks are read ahead, then stored by stores that leave the cache alone. It takes
// rows of any length; the fence at its end makes the copy visible to other threads.
void StreamRegion(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, int64_t rowBytes, int64_t height);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
