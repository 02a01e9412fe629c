// Fills with a repeated pixel.
#ifndef UVEK_IMAGE_FILL_H
#define UVEK_IMAGE_FILL_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

// A pixel of 1, 2, 3, 4, 6 or 8 bytes, repeated. 24 is a multiple of all of these; in 64 bytes
// any 16 of an endless row of pixels stand at an offset of 0 to 47.
struct FillPattern {
    Vek8u bytes[64];
    bool isOneByte = true;  // all of them alike

    FillPattern(const void* pixel, int pixelBytes)
    {
        const auto* const p = (const Vek8u*)pixel;
        for (int i = 0; i < 24; ++i)
            bytes[i] = p[i % pixelBytes];
        memcpy(bytes + 24, bytes, 24);
        memcpy(bytes + 48, bytes, 16);
        for (int i = 1; i < pixelBytes; ++i)
            isOneByte = isOneByte && p[i] == p[0];
    }
};

// `streams`: past the cache; the caller ends the fill with a fence.
void FillRow(Vek8u* dst, int64_t bytes, const FillPattern& pattern, bool streams = false);

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
