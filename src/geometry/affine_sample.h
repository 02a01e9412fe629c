// Samples of an image along a span of destination pixels.
#ifndef UVEK_GEOMETRY_AFFINE_SAMPLE_H
#define UVEK_GEOMETRY_AFFINE_SAMPLE_H

#include "geometry/affine_cubic8.h"
#include "geometry/affine_linear8.h"
#include "geometry/affine_nearest.h"
#include "geometry/affine_pixel.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// walk.Next() is the next position, x in the low lane.
template <typename T, int channels, int code, class Walk>
void SampleSpan(const SourceImage& source, Walk& walk, Vek8u* pDst, Vek32s count)
{
    Vek32s i = 0;
    if constexpr (kBlocks && code == InterNearest)
        i = SampleNearestBlocks<T, channels>(source, walk, pDst, count);
    else if constexpr (kBlocks && code == InterLinear && sizeof(T) == 1)
        i = SampleLinearBlocks<channels>(source, walk, pDst, count);
    else if constexpr (kBlocks && code == InterCubic && sizeof(T) == 1)
        i = SampleCubicBlocks<channels>(source, walk, pDst, count);
    for (; i < count; ++i) {
        const D position = walk.Next();
        SamplePixel<T, channels, code>(source, LowD(position), HighD(position), (T*)pDst + (int64_t)i * channels);
    }
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
