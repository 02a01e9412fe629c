// The sample of an image at a real position: nearest, linear, cubic.
#ifndef UVEK_GEOMETRY_AFFINE_PIXEL_H
#define UVEK_GEOMETRY_AFFINE_PIXEL_H

#include "frame/simd_float.h"
#include "geometry/warp_call.h"

namespace uvek::VEK_TIER_NAMESPACE {

struct SourceImage {
    const Vek8u* origin;
    int64_t step;
    Vek32s width, height;
    int64_t ahead;  // bytes from a sample to that of a few destination rows below, for the cache
};

inline SourceImage SourceOf(const WarpCall& call, int64_t ahead)
{
    return {call.pSrc, call.srcStep, call.srcSize.width, call.srcSize.height, ahead};
}

// What carries a position over a whole number that it should have reached.
constexpr Vek64f kPositionTolerance = 1e-7;

namespace {

template <typename T>
Vek64f SampleAt(const Vek8u* pixel, int c)
{
    return (Vek64f)Get((const T*)pixel + c);
}

template <typename T>
T ToSample(Vek64f rounded)
{
    if constexpr (sizeof(T) == 1)
        return Saturate8u((Vek32s)rounded);
    else
        return Saturate16u((Vek32s)rounded);
}

// The sample before a position, and how far the position is on the way to the next one. The last
// sample is all the way from the last but one.
struct Tap {
    Vek32s index;
    Vek64f fraction;
};

inline Tap LinearTap(Vek64f position, Vek32s length)
{
    const Vek32s index = (Vek32s)(position + kPositionTolerance);
    if (index >= length - 1)
        return {length - 2, 1.0};
    return {index, position - index};
}

template <typename T, int channels>
void SampleNearest(const SourceImage& s, Vek64f sx, Vek64f sy, T* dst)
{
    const Vek32s ix = Min((Vek32s)(sx + 0.5), s.width - 1), iy = Min((Vek32s)(sy + 0.5), s.height - 1);
    memcpy(dst, s.origin + iy * s.step + ix * (int64_t)(channels * sizeof(T)), channels * sizeof(T));
}

template <typename T, int channels>
void SampleLinear(const SourceImage& s, Vek64f sx, Vek64f sy, T* dst)
{
    const Tap x = LinearTap(sx, s.width), y = LinearTap(sy, s.height);
    const Vek8u* const p0 = s.origin + y.index * s.step + x.index * (int64_t)(channels * sizeof(T));
    const Vek8u* const p1 = p0 + s.step;
    for (int c = 0; c < channels; ++c) {
        const Vek64f s00 = SampleAt<T>(p0, c), s01 = SampleAt<T>(p0, c + channels);
        const Vek64f s10 = SampleAt<T>(p1, c), s11 = SampleAt<T>(p1, c + channels);
        const Vek64f top = s00 + (s01 - s00) * x.fraction, bottom = s10 + (s11 - s10) * x.fraction;
        if constexpr (sizeof(T) == 4)
            Put(dst + c, (Vek32f)(top + (bottom - top) * y.fraction));
        else
            Put(dst + c, ToSample<T>(y.fraction * (bottom - top) + 0.5 + top));
    }
}

// Lagrange weights of the samples at -1, 0, 1, 2.
struct CubicTaps {
    Vek32s base;
    Vek64f weight[4];
};

inline CubicTaps CubicTapsAt(Vek64f position, Vek32s length)
{
    const Vek32s index = LinearTap(position, length).index;
    const Vek32s base = index < 1 ? 0 : index >= length - 2 ? length - 4 : index - 1;
    const Vek64f t = (Vek32f)(position - 1.0 - base), t2 = t * t, t3 = t2 * t;
    constexpr Vek64f sixth = 1.0 / 6, third = 1.0 / 3;
    return {base, {t2 * 0.5 - t3 * sixth - t * third, t3 * 0.5 - t2 - t * 0.5 + 1, t2 * 0.5 - t3 * 0.5 + t, (t3 - t) * sixth}};
}

template <typename T, int channels>
void SampleCubic(const SourceImage& s, Vek64f sx, Vek64f sy, T* dst)
{
    const CubicTaps x = CubicTapsAt(sx, s.width), y = CubicTapsAt(sy, s.height);
    const Vek8u* const origin = s.origin + y.base * s.step + x.base * (int64_t)(channels * sizeof(T));
    for (int c = 0; c < channels; ++c) {
        Vek64f v = 0;
        for (int j = 0; j < 4; ++j) {
            const Vek8u* const row = origin + j * s.step;
            v += y.weight[j] * (x.weight[0] * SampleAt<T>(row, c) + x.weight[1] * SampleAt<T>(row, c + channels) + x.weight[2] * SampleAt<T>(row, c + 2 * channels) + x.weight[3] * SampleAt<T>(row, c + 3 * channels));
        }
        if constexpr (sizeof(T) == 4) {
            Put(dst + c, (Vek32f)v);
        } else {
            constexpr Vek64f most = sizeof(T) == 1 ? 255.0 : 65535.0;
            Put(dst + c, (T)(Vek32s)(v > most ? most : v < 0 ? 0 : v + 0.5));
        }
    }
}

// A position that is not over the image (a NaN among them) leaves its pixel as it is.
template <typename T, int channels, int code>
void SamplePixel(const SourceImage& s, Vek64f sx, Vek64f sy, T* dst)
{
    if (!(sx > -1 && sx < s.width && sy > -1 && sy < s.height))
        return;
    if constexpr (code == InterNearest)
        SampleNearest<T, channels>(s, sx, sy, dst);
    else if constexpr (code == InterLinear)
        SampleLinear<T, channels>(s, sx, sy, dst);
    else
        SampleCubic<T, channels>(s, sx, sy, dst);
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
