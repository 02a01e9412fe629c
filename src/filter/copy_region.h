// A region moved row by row: what a window of one pixel does.
#ifndef UVEK_FILTER_COPY_REGION_H
#define UVEK_FILTER_COPY_REGION_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

inline void CopyRegion(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size)
{
    for (Vek32s y = 0; y < size.height; ++y)
        memmove(Row(dst, dstStep, y), Row(src, srcStep, y), (size_t)size.width);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
