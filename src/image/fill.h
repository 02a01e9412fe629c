// Fills with a repeated pixel.
#ifndef UVEK_IMAGE_FILL_H
#define UVEK_IMAGE_FILL_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

// A pixel of 1, 2, 3, 4, 6 or 8 bytes, repeated. 48 is a multiple of all of these, so that any
// 16 bytes of an endless row of pixels stand at an offset of 0 to 47.
struct FillPattern {
    Vek8u bytes[64];

    FillPattern(const void* pixel, int pixelBytes)
    {
        for (int i = 0; i < 64; ++i)
            bytes[i] = ((const Vek8u*)pixel)[i % pixelBytes];
    }
};

// `streams`: past the cache; the caller ends the fill with a fence.
void FillRow(Vek8u* dst, int64_t bytes, const FillPattern& pattern, bool streams = false);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
