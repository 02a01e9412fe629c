// How large a level of a pyramid is.
#ifndef UVEK_VISION_PYRAMID_H
#define UVEK_VISION_PYRAMID_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

inline bool IsReductionRate(Vek32f rate)
{
    return rate > 1 && rate <= 10;
}

inline Vek32s Truncate(Vek32f v)
{
    return v < 2147483648.0f ? (Vek32s)v : INT32_MAX;
}

// The lengths that a rate reduces to n run from the one to the other.
inline Vek32s ShortestSource(Vek32s n, Vek32f rate)
{
    return n == 1 ? 1 : Max(n + 1, (Vek32s)Min((int64_t)Truncate((Vek32f)(n - 1) * rate) + 1, (int64_t)INT32_MAX));
}

inline Vek32s LongestSource(Vek32s n, Vek32f rate)
{
    return Max(n + 1, Truncate((Vek32f)n * rate));
}

// Below `source`, unless that is 1.
inline Vek32s DownLength(Vek32s source, Vek32f rate)
{
    Vek32s n = Max(1, Truncate((Vek32f)source / rate + 0.5f));
    for (bool raised = false;;) {
        if (source < ShortestSource(n, rate)) {
            --n;
            if (raised)  // singles are too coarse for this length: two neighbours would alternate for ever
                return n;
        } else if (source > LongestSource(n, rate)) {
            ++n;
            raised = true;
        } else {
            return n;
        }
    }
}

inline VekImageSize PyramidDownSize(VekImageSize size, Vek32f rate)
{
    return {DownLength(size.width, rate), DownLength(size.height, rate)};
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
