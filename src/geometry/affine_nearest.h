// Nearest samples in blocks, of pixels of any bytes: the same sums in double precision as one by one, so the
// same pixels.
#ifndef UVEK_GEOMETRY_AFFINE_NEAREST_H
#define UVEK_GEOMETRY_AFFINE_NEAREST_H

#include "geometry/affine_blocks.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Pixels go by one load and one store of a power of two of bytes, which may reach into the next pixel.
constexpr int BytesMoved(int pixelBytes)
{
    int moved = 1;
    while (moved < pixelBytes)
        moved *= 2;
    return moved;
}

// Alone remain positions below zero, those that round to beyond the last pixel, and a row's last pixel where the
// load would reach beyond it.
template <typename T, int channels, class Walk>
Vek32s SampleNearestBlocks(const SourceImage& source, Walk& walk, Vek8u* pDst, Vek32s count)
{
    constexpr int pixelBytes = channels * (int)sizeof(T), moved = BytesMoved(pixelBytes);
    const Vek32s step = (Vek32s)source.step, lastX = source.width - 1 - (moved > pixelBytes), lastY = source.height - 1;
    const V last = Lanes32(lastX, lastY, lastX, lastY), factors = Lanes32(pixelBytes, step, pixelBytes, step);
    const auto prepare = [&](Positions& block) {
        const D(&p)[4] = block.at;
        const D half = SplatD(0.5);
        const V ab = UnpackLow64(Truncate32s(Add(p[0], half)), Truncate32s(Add(p[1], half)));
        const V cd = UnpackLow64(Truncate32s(Add(p[2], half)), Truncate32s(Add(p[3], half)));
        const V outside = Or(Or(ab, cd), Or(Greater32s(ab, last), Greater32s(cd, last)));
        block.outside = MoveMask(AsFloat(outside)) | MoveMask(Or(Or(p[0], p[1]), Or(p[2], p[3])));
        const F m = AsFloat(MulLow32(ab, factors)), n = AsFloat(MulLow32(cd, factors));
        StoreA(block.offset, Add32(AsInt(Pick<0, 2, 0, 2>(m, n)), AsInt(Pick<1, 3, 1, 3>(m, n))));
    };
    return SampleBlocks<T, channels, InterNearest, Positions>(source, walk, pDst, count, prepare, [&](const Positions& block, Vek8u* dst) {
        for (int k = 0; k < 3; ++k)
            memcpy(dst + k * pixelBytes, source.origin + block.offset[k], moved);
        memcpy(dst + 3 * pixelBytes, source.origin + block.offset[3], pixelBytes);
        return true;
    });
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
