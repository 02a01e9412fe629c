// Cubic samples of byte images in blocks.
#ifndef UVEK_GEOMETRY_AFFINE_CUBIC8_H
#define UVEK_GEOMETRY_AFFINE_CUBIC8_H

#include "geometry/affine_blocks8.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// As for linear samples: positions are off by 2^-23 (the double's parameter is rounded to a single), or
// by 1e-7 on both sides of a sample, times slopes up to 700 in two dimensions; some 16 roundings of
// values up to 400. In all below 2^-10; twice that is on the safe side.
constexpr Vek32f kCubicDoubt = 1.0f / 512;

// Weights of the samples at -1, 0, 1, 2, of four positions at a time.
inline void CubicWeights(F t, F (&w)[4])
{
    const F half = SplatF(0.5f), sixth = SplatF(1.0f / 6), t2 = Mul(t, t), t3 = Mul(t2, t);
    const F outer = Mul(Sub(t3, t), sixth);
    w[0] = Sub(Mul(Sub(t2, t), half), outer);
    w[1] = Add(Sub(Mul(Sub(t3, t), half), t2), SplatF(1));
    w[2] = Add(Mul(Sub(t2, t3), half), t);
    w[3] = outer;
}

template <int lane>
F Splat(F v)
{
    return Pick<lane, lane, lane, lane>(v, v);
}

// p: the sample before and above the position. One channel: four samples of a row at a time.
template <int lane>
F WeighRows(const Vek8u* p, Vek32s step, const F (&wy)[4])
{
    F sum = Mul(ToFloat(Load8uTo32s(p)), Splat<lane>(wy[0]));
    for (int j = 1; j < 4; ++j)
        sum = Add(sum, Mul(ToFloat(Load8uTo32s(p + (int64_t)j * step)), Splat<lane>(wy[j])));
    return sum;
}

inline int SampleCubicBlock1(const Vek8u* origin, Vek32s step, const Block& block, Vek8u* dst)
{
    F wx[4], wy[4];
    CubicWeights(block.fx, wx);
    CubicWeights(block.fy, wy);
    F a = WeighRows<0>(origin + block.offset[0] - step - 1, step, wy), b = WeighRows<1>(origin + block.offset[1] - step - 1, step, wy);
    F c = WeighRows<2>(origin + block.offset[2] - step - 1, step, wy), d = WeighRows<3>(origin + block.offset[3] - step - 1, step, wy);
    Transpose4(a, b, c, d);  // columns of the four positions
    F farthest = ZeroF();
    const V value = RoundToWhole(Add(Add(Mul(a, wx[0]), Mul(b, wx[1])), Add(Mul(c, wx[2]), Mul(d, wx[3]))), &farthest);
    Store32(dst, Pack16sTo8u(Pack32sTo16s(value, value), value));
    return InDoubt(farthest, kCubicDoubt);
}

// Three or four channels: a pixel at a time.
template <int channels, int lane>
V WeighPixel(const Vek8u* p, Vek32s step, const F (&wx)[4], const F (&wy)[4], F* pFarthest)
{
    const F w0 = Splat<lane>(wx[0]), w1 = Splat<lane>(wx[1]), w2 = Splat<lane>(wx[2]), w3 = Splat<lane>(wx[3]);
    F sum = ZeroF();
    for (int j = 0; j < 4; ++j, p += step) {
        const F left = Add(Mul(ToFloat(Load8uTo32s(p)), w0), Mul(ToFloat(Load8uTo32s(p + channels)), w1));
        const F right = Add(Mul(ToFloat(Load8uTo32s(p + 2 * channels)), w2), Mul(ToFloat(Load8uTo32s(p + 3 * channels)), w3));
        sum = Add(sum, Mul(Add(left, right), Splat<lane>(wy[j])));
    }
    return RoundToWhole(sum, pFarthest);
}

template <int channels>
int SampleCubicBlockInterleaved(const Vek8u* origin, Vek32s step, const Block& block, Vek8u* dst)
{
    F wx[4], wy[4];
    CubicWeights(block.fx, wx);
    CubicWeights(block.fy, wy);
    const Vek8u* const first = origin - step - channels;
    F farthest = ZeroF();
    const V a = WeighPixel<channels, 0>(first + block.offset[0], step, wx, wy, &farthest);
    const V b = WeighPixel<channels, 1>(first + block.offset[1], step, wx, wy, &farthest);
    const V c = WeighPixel<channels, 2>(first + block.offset[2], step, wx, wy, &farthest);
    const V d = WeighPixel<channels, 3>(first + block.offset[3], step, wx, wy, &farthest);
    StorePixels<channels>(dst, a, b, c, d);
    return InDoubt(farthest, kCubicDoubt) & (channels == 3 ? 7 : 15);
}

template <int channels, class Walk>
Vek32s SampleCubicBlocks(const SourceImage& source, Walk& walk, Vek8u* dst, Vek32s count)
{
    return SampleBlocks8<channels, InterCubic, 1, 2>(source, walk, dst, count, [](const Vek8u* origin, Vek32s step, const Block& block, Vek8u* to) {
        if constexpr (channels == 1)
            return SampleCubicBlock1(origin, step, block, to);
        else
            return SampleCubicBlockInterleaved<channels>(origin, step, block, to);
    });
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
