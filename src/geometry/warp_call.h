// What rotation and warps are called with, once the pixel type is a code.
#ifndef UVEK_GEOMETRY_WARP_CALL_H
#define UVEK_GEOMETRY_WARP_CALL_H

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

// The low three bits of a format code are the layout, the others the sample kind.
enum { kLayoutC1 = 0, kLayoutC3 = 1, kLayoutC4 = 4 };
enum { kKind8u = 0, kKind32f = 8, kKind16u = 16 };

constexpr int ChannelsOf(int formatCode)
{
    return (formatCode & 7) == kLayoutC1 ? 1 : (formatCode & 7) == kLayoutC3 ? 3 : 4;
}

constexpr int SampleBytesOf(int formatCode)
{
    return (formatCode & ~7) == kKind8u ? 1 : (formatCode & ~7) == kKind32f ? 4 : 2;
}

struct WarpCall {
    const Vek8u* pSrc;
    VekImageSize srcSize;
    Vek32s srcStep;
    VekImageRect srcRoi;
    Vek8u* pDst;
    Vek32s dstStep;
    VekImageRect dstRoi;
    int formatCode;
    Vek32s interpolation;
};

inline bool HasBadOrigin(VekImageRect r)
{
    return r.x < 0 || r.y < 0;
}

inline bool HasBadSize(const WarpCall& call)
{
    return call.srcSize.width <= 0 || call.srcSize.height <= 0
        || HasBadOrigin(call.srcRoi) || call.srcRoi.width <= 0 || call.srcRoi.height <= 0
        || HasBadOrigin(call.dstRoi) || call.dstRoi.width <= 0 || call.dstRoi.height <= 0;
}

inline bool StartsOutside(VekImageRect roi, VekImageSize size)
{
    return roi.x >= size.width || roi.y >= size.height;
}

inline VekImageRect ClipToImage(VekImageRect roi, VekImageSize size)
{
    return {roi.x, roi.y, Min(roi.width, size.width - roi.x), Min(roi.height, size.height - roi.y)};
}

inline int InterpolationCode(Vek32s interpolation)
{
    return interpolation & 0x7fffffff;
}

inline bool HasSmoothEdges(Vek32s interpolation)
{
    return interpolation < 0;
}

inline bool IsInterpolation(Vek32s interpolation)
{
    const int code = InterpolationCode(interpolation);
    return code == InterNearest || code == InterLinear || code == InterCubic;
}

// What an image this small allows.
inline int Downgraded(Vek32s interpolation, VekImageSize size)
{
    const int code = InterpolationCode(interpolation);
    if (size.width == 1 || size.height == 1)
        return InterNearest;
    return code == InterCubic && (size.width < 4 || size.height < 4) ? InterLinear : code;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
