// What the linear filters share: where a flipped kernel's taps stand, and rounding to a byte.
#ifndef UVEK_FILTER_TAPS_H
#define UVEK_FILTER_TAPS_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

// The source of a call: `first` is the first destination sample's first tap, which meets the kernel's
// last element; a tap to the right is `pixel` bytes on.
struct TapSource {
    const Vek8u* first;
    Vek32s step;
    Vek32s pixel;
};

inline TapSource FirstTap(const Vek8u* pSrc, Vek32s srcStep, Vek32s channels, VekImageSize kernel, VekPoint anchor)
{
    const int64_t x = (int64_t)anchor.x - (kernel.width - 1), y = (int64_t)anchor.y - (kernel.height - 1);
    return {Offset(pSrc, y * srcStep + x * channels), srcStep, channels};
}

// Whether the steps hold the read area's rows and the destination's.
inline bool IsGoodStep(Vek32s srcStep, Vek32s dstStep, Vek32s channels, VekImageSize size, VekImageSize kernel)
{
    return srcStep >= ((int64_t)size.width + kernel.width - 1) * channels && dstStep >= (int64_t)size.width * channels;
}

// To nearest, ties to even, clamped; what is no number gives 0. Up to 0.5 the result is 0.
inline Vek8u RoundToByte(Vek32f v)
{
    if (!(v > 0.5f))
        return 0;
    if (v >= 255.0f)
        return 255;
    const Vek32s i = (Vek32s)((Vek64f)v + 0.5);
    return (Vek8u)((Vek32f)i - v == 0.5f && (i & 1) ? i - 1 : i);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
