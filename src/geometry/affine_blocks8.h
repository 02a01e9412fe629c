// Byte images in blocks of four positions. Singles compute the samples, and a bound on the error says
// which of them are beyond doubt: those equal what doubles give. The few others, and positions at the
// image's rim, are sampled one by one.
#ifndef UVEK_GEOMETRY_AFFINE_BLOCKS8_H
#define UVEK_GEOMETRY_AFFINE_BLOCKS8_H

#include "geometry/affine_pixel.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// A position added to this lands where a double's last bit is 2^-32: its low 32 bits then are the
// position's fraction, and the high ones its whole part beside those of the constant.
constexpr Vek64f kFixedPoint = 1.5 * (1 << 20);
constexpr Vek32s kFixedPointHigh = 0x41380000;
constexpr Vek32s kMostFixedPoint = 1 << 19;

// Four positions as whole parts and fractions.
struct Block {
    V ix, iy;
    F fx, fy;
};

inline Block SplitPositions(const D (&p)[4])
{
    const D shift = SplatD(kFixedPoint);
    const V a = AsInt(Add(p[0], shift)), b = AsInt(Add(p[1], shift)), c = AsInt(Add(p[2], shift)), d = AsInt(Add(p[3], shift));
    const V xAB = UnpackLow32(a, b), xCD = UnpackLow32(c, d), yAB = UnpackHigh32(a, b), yCD = UnpackHigh32(c, d);
    const V bias = Splat32(kFixedPointHigh);
    const F unit = SplatF(1.0f / (1 << 24));
    return {Sub32(UnpackHigh64(xAB, xCD), bias), Sub32(UnpackHigh64(yAB, yCD), bias),
            Mul(ToFloat(ShiftRight32u<8>(UnpackLow64(xAB, xCD))), unit), Mul(ToFloat(ShiftRight32u<8>(UnpackLow64(yAB, yCD))), unit)};
}

// The value's whole part; *pDoubt gathers the lanes whose fraction is too near a whole number.
inline V RoundOrDoubt(F value, Vek32f bound, F* pDoubt)
{
    const F raised = Add(value, SplatF(0.5f));
    const V whole = Truncate32s(raised);
    const F fromHalf = Abs(Sub(Sub(raised, ToFloat(whole)), SplatF(0.5f)));
    *pDoubt = Or(*pDoubt, Less(SplatF(0.5f - bound), fromHalf));
    return whole;
}

// Four pixels, each in the low lanes of its register.
template <int channels>
void StorePixels(Vek8u* dst, V a, V b, V c, V d)
{
    const V pixels = Pack16sTo8u(Pack32sTo16s(a, b), Pack32sTo16s(c, d));
    if constexpr (channels == 4) {
        StoreU(dst, pixels);
    } else if constexpr (kHasByteShuffle) {
        const V packed = Shuffle8(pixels, Lanes8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        Store64(dst, packed);
        Store32(dst + 8, BytesDown<8>(packed));
    } else {
        alignas(16) Vek8u four[16];
        StoreA(four, pixels);
        for (int i = 0; i < 4; ++i)
            memcpy(dst + 3 * i, four + 4 * i, 3);
    }
}

// Whether all offsets fit 32 bits and all positions the fixed point.
inline bool FitsBlocks(const SourceImage& s, int channels)
{
    return s.width <= kMostFixedPoint && s.height <= kMostFixedPoint && s.step * s.height + (int64_t)s.width * channels <= 0x7fffffff;
}

// Samples whole blocks by kernel(origin, step, offset, block, dst), which is not 0 where one is in doubt; returns the
// number of pixels. The kernel's taps reach `before` pixels to the left and up, `behind` to the right
// and down of a position's own.
template <int channels, int code, int before, int behind, class Walk, typename Kernel>
Vek32s SampleBlocks(const SourceImage& source, Walk& walk, Vek8u* dst, Vek32s count, Kernel&& kernel)
{
    if (!FitsBlocks(source, channels))
        return 0;
    // The rightmost pixel of three channels is read with a fourth sample, that of yet another pixel.
    const V lastX = Splat32(source.width - 1 - behind - (channels == 3)), lastY = Splat32(source.height - 1 - behind);
    const V first = Splat32(before);
    const Vek32s step = (Vek32s)source.step;
    const V steps = Splat32(step);
    Vek32s i = 0;
    for (; count - i >= 4; i += 4, dst += 4 * channels) {
        const D p[4] = {walk.Next(), walk.Next(), walk.Next(), walk.Next()};
        const Block block = SplitPositions(p);
        const V outside = Or(Or(Greater32s(first, block.ix), Greater32s(first, block.iy)), Or(Greater32s(block.ix, lastX), Greater32s(block.iy, lastY)));
        bool sampled = MoveMask(AsFloat(outside)) == 0;
        if (sampled) {
            const V columns = channels == 1 ? block.ix : channels == 4 ? ShiftLeft32<2>(block.ix) : Add32(Add32(block.ix, block.ix), block.ix);
            alignas(16) Vek32s offset[4];
            StoreA(offset, Add32(MulLow32(block.iy, steps), columns));
            Prefetch(Offset(source.origin, offset[0] + source.ahead));
            sampled = kernel(source.origin, step, offset, block, dst) == 0;
        }
        if (!sampled)
            for (int k = 0; k < 4; ++k)
                SamplePixel<Vek8u, channels, code>(source, LowD(p[k]), HighD(p[k]), dst + k * channels);
    }
    return i;
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
