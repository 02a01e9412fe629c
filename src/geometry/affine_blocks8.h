// Byte images in blocks of four positions. Singles compute the samples, and a bound on the error says
// which of them are beyond doubt: those equal what doubles give. The few others, and positions at the
// image's rim, are sampled one by one.
#ifndef UVEK_GEOMETRY_AFFINE_BLOCKS8_H
#define UVEK_GEOMETRY_AFFINE_BLOCKS8_H

#include "geometry/affine_blocks.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// A position added to this lands where a double's last bit is 2^-32: its low 32 bits then are the
// position's fraction, and the high ones its whole part beside those of the constant.
constexpr Vek64f kFixedPoint = 1.5 * (1 << 20);
constexpr Vek32s kFixedPointHigh = 0x41380000;

// Four positions and their fractions.
struct Block : Positions {
    F fx, fy;
};

// Sets the fractions; the whole parts are what offsets are made from.
inline void SplitPositions(Block& block, V& ix, V& iy)
{
    const D shift = SplatD(kFixedPoint);
    const D(&p)[4] = block.at;
    const V a = AsInt(Add(p[0], shift)), b = AsInt(Add(p[1], shift)), c = AsInt(Add(p[2], shift)), d = AsInt(Add(p[3], shift));
    const V xAB = UnpackLow32(a, b), xCD = UnpackLow32(c, d), yAB = UnpackHigh32(a, b), yCD = UnpackHigh32(c, d);
    const V bias = Splat32(kFixedPointHigh);
    const F unit = SplatF(1.0f / (1 << 24));
    ix = Sub32(UnpackHigh64(xAB, xCD), bias);
    iy = Sub32(UnpackHigh64(yAB, yCD), bias);
    block.fx = Mul(ToFloat(ShiftRight32u<8>(UnpackLow64(xAB, xCD))), unit);
    block.fy = Mul(ToFloat(ShiftRight32u<8>(UnpackLow64(yAB, yCD))), unit);
}

// What a single of up to 2^22 is rounded by: added to it, a single's last bit is 1.
constexpr Vek32f kWhole = 1.5f * (1 << 23);

// The nearest whole number; *pFarthest gathers how far from theirs the values are, in each lane.
inline V RoundToWhole(F value, F* pFarthest)
{
    const F raised = Add(value, SplatF(kWhole));
    *pFarthest = Max(*pFarthest, Abs(Sub(value, Sub(raised, SplatF(kWhole)))));
    return Sub32(AsInt(raised), AsInt(SplatF(kWhole)));
}

// The lanes in which a value's error of up to `bound` may have turned its rounding.
inline int InDoubt(F farthest, Vek32f bound)
{
    return MoveMask(Less(SplatF(0.5f - bound), farthest));
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

// Blocks by kernel(origin, step, block, dst), which is not 0 where a sample is in doubt. The kernel's taps reach `before`
// pixels to the left and up, `behind` to the right and down of a position's own.
template <int channels, int code, int before, int behind, class Walk, typename Kernel>
Vek32s SampleBlocks8(const SourceImage& source, Walk& walk, Vek8u* pDst, Vek32s count, Kernel&& kernel)
{
    // The rightmost pixel of three channels is read with a fourth sample, that of yet another pixel.
    const V lastX = Splat32(source.width - 1 - behind - (channels == 3)), lastY = Splat32(source.height - 1 - behind);
    const V first = Splat32(before);
    const Vek32s step = (Vek32s)source.step;
    const V steps = Splat32(step);
    const auto prepare = [&](Block& block) {
        V ix, iy;
        SplitPositions(block, ix, iy);
        const V outside = Or(Or(Greater32s(first, ix), Greater32s(first, iy)), Or(Greater32s(ix, lastX), Greater32s(iy, lastY)));
        block.outside = MoveMask(AsFloat(outside));
        const V columns = channels == 1 ? ix : channels == 4 ? ShiftLeft32<2>(ix) : Add32(Add32(ix, ix), ix);
        StoreA(block.offset, Add32(MulLow32(iy, steps), columns));
    };
    return SampleBlocks<Vek8u, channels, code, Block>(source, walk, pDst, count, prepare, [&](const Block& block, Vek8u* dst) {
        return kernel(source.origin, step, block, dst) == 0;
    });
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
