// Linear samples of byte images in blocks.
#ifndef UVEK_GEOMETRY_AFFINE_LINEAR8_H
#define UVEK_GEOMETRY_AFFINE_LINEAR8_H

#include "geometry/affine_blocks8.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// The greatest distance to the double's result: fractions are off by 2^-24, and by 1e-7 where the
// double is taken from the next sample's side, times slopes up to 255 in two dimensions; some eight
// roundings of values up to 255.5 add 2^-17 each. In all below 2^-12; twice that is on the safe side.
constexpr Vek32f kLinearDoubt = 1.0f / 2048;

inline F Lerp(F a, F b, F t)
{
    return Add(a, Mul(Sub(b, a), t));
}

// One channel: the pairs of the four pixels side by side, upper ones in the low half.
inline int SampleBlock1(const Vek8u* origin, Vek32s step, const Block& block, Vek8u* dst)
{
    const auto pair = [](const Vek8u* p) { return (Vek32s)Get((const Vek16u*)p); };
    const Vek8u* const p0 = origin + block.offset[0];
    const Vek8u* const p1 = origin + block.offset[1];
    const Vek8u* const p2 = origin + block.offset[2];
    const Vek8u* const p3 = origin + block.offset[3];
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
    F farthest = ZeroF();
    const V value = RoundToWhole(Lerp(top, bottom, block.fy), &farthest);
    Store32(dst, Pack16sTo8u(Pack32sTo16s(value, value), value));
    return InDoubt(farthest, kLinearDoubt);
}

template <int channels, int lane>
V SampleInterleaved(const Vek8u* p, Vek32s step, const Block& block, F* pFarthest)
{
    const F fx = Pick<lane, lane, lane, lane>(block.fx, block.fx), fy = Pick<lane, lane, lane, lane>(block.fy, block.fy);
    const F top = Lerp(ToFloat(Load8uTo32s(p)), ToFloat(Load8uTo32s(p + channels)), fx);
    const F bottom = Lerp(ToFloat(Load8uTo32s(p + step)), ToFloat(Load8uTo32s(p + step + channels)), fx);
    return RoundToWhole(Lerp(top, bottom, fy), pFarthest);
}

// Three or four channels: a register holds one pixel, with three channels and a sample of the next.
template <int channels>
int SampleBlockInterleaved(const Vek8u* origin, Vek32s step, const Block& block, Vek8u* dst)
{
    F farthest = ZeroF();
    const V a = SampleInterleaved<channels, 0>(origin + block.offset[0], step, block, &farthest);
    const V b = SampleInterleaved<channels, 1>(origin + block.offset[1], step, block, &farthest);
    const V c = SampleInterleaved<channels, 2>(origin + block.offset[2], step, block, &farthest);
    const V d = SampleInterleaved<channels, 3>(origin + block.offset[3], step, block, &farthest);
    StorePixels<channels>(dst, a, b, c, d);
    return InDoubt(farthest, kLinearDoubt) & (channels == 3 ? 7 : 15);
}

template <int channels, class Walk>
Vek32s SampleLinearBlocks(const SourceImage& source, Walk& walk, Vek8u* dst, Vek32s count)
{
    return SampleBlocks8<channels, InterLinear, 0, 1>(source, walk, dst, count, [](const Vek8u* origin, Vek32s step, const Block& block, Vek8u* to) {
        if constexpr (channels == 1)
            return SampleBlock1(origin, step, block, to);
        else
            return SampleBlockInterleaved<channels>(origin, step, block, to);
    });
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
