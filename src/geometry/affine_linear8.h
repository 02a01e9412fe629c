// Linear samples of byte images in blocks of four. Singles compute them, and a bound on the error says
// which of the results are beyond doubt: those equal what doubles give. The few others, and positions
// at the image's rim, are sampled one by one.
#ifndef UVEK_GEOMETRY_AFFINE_LINEAR8_H
#define UVEK_GEOMETRY_AFFINE_LINEAR8_H

#include "geometry/affine_pixel.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// A position added to this lands where a double's last bit is 2^-32: its low 32 bits then are the
// position's fraction, and the high ones its whole part beside those of the constant.
constexpr Vek64f kFixedPoint = 1.5 * (1 << 20);
constexpr Vek32s kFixedPointHigh = 0x41380000;
constexpr Vek32s kMostFixedPoint = 1 << 19;

// The greatest distance to the double's result: fractions are off by 2^-24, and by 1e-7 where the
// double is taken from the next sample's side, times slopes up to 255 in two dimensions; some eight
// roundings of values up to 255.5 add 2^-17 each. In all below 2^-12; twice that is on the safe side.
constexpr Vek32f kDoubt = 1.0f / 2048;

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

inline F Lerp(F a, F b, F t)
{
    return Add(a, Mul(Sub(b, a), t));
}

// The value's whole part; *pDoubt gathers the lanes whose fraction is too near a whole number.
inline V RoundOrDoubt(F value, F* pDoubt)
{
    const F raised = Add(value, SplatF(0.5f));
    const V whole = Truncate32s(raised);
    const F fromHalf = Abs(Sub(Sub(raised, ToFloat(whole)), SplatF(0.5f)));
    *pDoubt = Or(*pDoubt, Less(SplatF(0.5f - kDoubt), fromHalf));
    return whole;
}

// One channel: the pairs of the four pixels side by side, upper ones in the low half.
inline int SampleBlock1(const Vek8u* origin, Vek32s step, const Vek32s (&offset)[4], const Block& block, Vek8u* dst)
{
    const auto pair = [](const Vek8u* p) { return (Vek32s)Get((const Vek16u*)p); };
    const Vek8u* const p0 = origin + offset[0], *const p1 = origin + offset[1], *const p2 = origin + offset[2], *const p3 = origin + offset[3];
    V pairs = Zero();
    pairs = Insert16<0>(pairs, pair(p0));
    pairs = Insert16<1>(pairs, pair(p1));
    pairs = Insert16<2>(pairs, pair(p2));
    pairs = Insert16<3>(pairs, pair(p3));
    pairs = Insert16<4>(pairs, pair(p0 + step));
    pairs = Insert16<5>(pairs, pair(p1 + step));
    pairs = Insert16<6>(pairs, pair(p2 + step));
    pairs = Insert16<7>(pairs, pair(p3 + step));
    const V upper = WidenLow16u(pairs), lower = WidenHigh16u(pairs), left = Splat32(0xff);
    const F top = Lerp(ToFloat(And(upper, left)), ToFloat(ShiftRight32u<8>(upper)), block.fx);
    const F bottom = Lerp(ToFloat(And(lower, left)), ToFloat(ShiftRight32u<8>(lower)), block.fx);
    F doubt = ZeroF();
    const V value = RoundOrDoubt(Lerp(top, bottom, block.fy), &doubt);
    Store32(dst, Pack16sTo8u(Pack32sTo16s(value, value), value));
    return MoveMask(doubt);
}

template <int channels, int lane>
V SampleInterleaved(const Vek8u* p, Vek32s step, const Block& block, F* pDoubt)
{
    const F fx = Pick<lane, lane, lane, lane>(block.fx, block.fx), fy = Pick<lane, lane, lane, lane>(block.fy, block.fy);
    const F top = Lerp(ToFloat(Load8uTo32s(p)), ToFloat(Load8uTo32s(p + channels)), fx);
    const F bottom = Lerp(ToFloat(Load8uTo32s(p + step)), ToFloat(Load8uTo32s(p + step + channels)), fx);
    return RoundOrDoubt(Lerp(top, bottom, fy), pDoubt);
}

// Three or four channels: a register holds one pixel, with three channels and a sample of the next.
template <int channels>
int SampleBlockInterleaved(const Vek8u* origin, Vek32s step, const Vek32s (&offset)[4], const Block& block, Vek8u* dst)
{
    F doubt = ZeroF();
    const V a = SampleInterleaved<channels, 0>(origin + offset[0], step, block, &doubt);
    const V b = SampleInterleaved<channels, 1>(origin + offset[1], step, block, &doubt);
    const V c = SampleInterleaved<channels, 2>(origin + offset[2], step, block, &doubt);
    const V d = SampleInterleaved<channels, 3>(origin + offset[3], step, block, &doubt);
    const V pixels = Pack16sTo8u(Pack32sTo16s(a, b), Pack32sTo16s(c, d));
    if constexpr (channels == 4) {
        StoreU(dst, pixels);
        return MoveMask(doubt);
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
    return MoveMask(doubt) & 7;
}

// Whether all offsets fit 32 bits and all positions the fixed point.
inline bool FitsBlocks(const SourceImage& s, int channels)
{
    return s.width <= kMostFixedPoint && s.height <= kMostFixedPoint && s.step * s.height + (int64_t)s.width * channels <= 0x7fffffff;
}

// Samples whole blocks; returns the number of pixels.
template <int channels, class Walk>
Vek32s SampleLinearBlocks(const SourceImage& source, Walk& walk, Vek8u* dst, Vek32s count)
{
    if (!FitsBlocks(source, channels))
        return 0;
    // The right-hand pixel of three channels is read with a fourth sample, that of yet another pixel.
    const V lastX = Splat32(source.width - (channels == 3 ? 3 : 2)), lastY = Splat32(source.height - 2);
    const Vek32s step = (Vek32s)source.step;
    const V steps = Splat32(step);
    Vek32s i = 0;
    for (; count - i >= 4; i += 4, dst += 4 * channels) {
        const D p[4] = {walk.Next(), walk.Next(), walk.Next(), walk.Next()};
        const Block block = SplitPositions(p);
        const V outside = Or(Or(block.ix, block.iy), Or(Greater32s(block.ix, lastX), Greater32s(block.iy, lastY)));
        bool sampled = MoveMask(AsFloat(outside)) == 0;
        if (sampled) {
            const V columns = channels == 1 ? block.ix : channels == 4 ? ShiftLeft32<2>(block.ix) : Add32(Add32(block.ix, block.ix), block.ix);
            alignas(16) Vek32s offset[4];
            StoreA(offset, Add32(MulLow32(block.iy, steps), columns));
            Prefetch(Offset(source.origin, offset[0] + source.ahead));
            if constexpr (channels == 1)
                sampled = SampleBlock1(source.origin, step, offset, block, dst) == 0;
            else
                sampled = SampleBlockInterleaved<channels>(source.origin, step, offset, block, dst) == 0;
        }
        if (!sampled)
            for (int k = 0; k < 4; ++k)
                SamplePixel<Vek8u, channels, InterLinear>(source, LowD(p[k]), HighD(p[k]), dst + k * channels);
    }
    return i;
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
