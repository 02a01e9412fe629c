// Gradients by Scharr's operator: the difference of the two neighbours in one direction, smoothed by 3, 10, 3 in the
// other. A slope of one grey level a pixel is 128.
#ifndef UVEK_VISION_SCHARR_H
#define UVEK_VISION_SCHARR_H

#include "frame/simd.h"
#include "vision/window.h"

namespace uvek::VEK_TIER_NAMESPACE {

// ---- Of a whole image ----

// Neighbours outside are the edge's own pixels. 4 * 16 * 255 fits 16 bits.
inline void ScharrPixel(const Vek8u* above, const Vek8u* row, const Vek8u* below, Vek32s x, Vek32s width, Vek16s* gx, Vek16s* gy)
{
    const Vek32s l = Max(x - 1, 0), r = Min(x + 1, width - 1);
    gx[x] = (Vek16s)(4 * (3 * (above[r] - above[l] + below[r] - below[l]) + 10 * (row[r] - row[l])));
    gy[x] = (Vek16s)(4 * (3 * (below[l] - above[l] + below[r] - above[r]) + 10 * (below[x] - above[x])));
}

inline void ScharrEight(const Vek8u* above, const Vek8u* row, const Vek8u* below, Vek16s* gx, Vek16s* gy)
{
    const auto at = [](const Vek8u* p) { return WidenLow8u(Load64(p)); };
    const V aboveLeft = at(above - 1), aboveRight = at(above + 1), belowLeft = at(below - 1), belowRight = at(below + 1);
    const V falling = Sub16(belowRight, aboveLeft), rising = Sub16(belowLeft, aboveRight);
    const V along = Sub16(at(row + 1), at(row - 1)), down = Sub16(at(below), at(above));
    StoreU(gx, ShiftLeft16<2>(Add16(MulLow16(Sub16(falling, rising), Splat16(3)), MulLow16(along, Splat16(10)))));
    StoreU(gy, ShiftLeft16<2>(Add16(MulLow16(Add16(falling, rising), Splat16(3)), MulLow16(down, Splat16(10)))));
}

inline void ScharrImage(const Vek8u* image, Vek32s step, VekImageSize size, const Window& gradientX, const Window& gradientY)
{
    for (Vek32s y = 0; y < size.height; ++y) {
        const Vek8u* const above = Row(image, step, Max(y - 1, 0));
        const Vek8u* const row = Row(image, step, y);
        const Vek8u* const below = Row(image, step, Min(y + 1, size.height - 1));
        Vek16s* const gx = gradientX.Row(y);
        Vek16s* const gy = gradientY.Row(y);
        if (kBlocks && size.width >= 10) {
            ScharrPixel(above, row, below, 0, size.width, gx, gy);
            ForBlocks(1, size.width - 1, [=](Vek32s x, V) { ScharrEight(above + x, row + x, below + x, gx + x, gy + x); });
            ScharrPixel(above, row, below, size.width - 1, size.width, gx, gy);
        } else {
            for (Vek32s x = 0; x < size.width; ++x)
                ScharrPixel(above, row, below, x, size.width, gx, gy);
        }
    }
}

// ---- Of a window with a margin of one sample ----

// 3 a + 10 b + 3 c, to the scale of whole images from samples that have 7 fractional bits.
inline Vek16s Smooth3(Vek32s a, Vek32s b, Vek32s c)
{
    return Saturate16s((3 * (a + c) + 10 * b + 16) >> 5);
}

inline V Smooth3(V a, V b, V c)
{
    const V outer = SplatPair16(3, 3), inner = SplatPair16(10, 16), one = Splat16(1);
    const V low = Add32(MulAdd16(UnpackLow16(a, c), outer), MulAdd16(UnpackLow16(b, one), inner));
    const V high = Add32(MulAdd16(UnpackHigh16(a, c), outer), MulAdd16(UnpackHigh16(b, one), inner));
    return Pack32sTo16s(ShiftRight32s<5>(low), ShiftRight32s<5>(high));
}

// `margined` is two samples wider and higher than the gradients.
inline void ScharrWindow(const Window& margined, Vek32s size, const Window& gradientX, const Window& gradientY)
{
    for (Vek32s y = 0; y < size; ++y) {
        const Vek16s* const above = margined.Row(y);
        const Vek16s* const row = margined.Row(y + 1);
        const Vek16s* const below = margined.Row(y + 2);
        Vek16s* const gx = gradientX.Row(y);
        Vek16s* const gy = gradientY.Row(y);
        Vek32s x = 0;
        if (kBlocks)
            for (; x < size; x += 8) {
                const auto along = [=](const Vek16s* p) { return Sub16(LoadU(p + x + 2), LoadU(p + x)); };
                const auto down = [=](Vek32s i) { return Sub16(LoadU(below + x + i), LoadU(above + x + i)); };
                StoreU(gx + x, Smooth3(along(above), along(row), along(below)));
                StoreU(gy + x, Smooth3(down(0), down(1), down(2)));
            }
        for (; x < size; ++x) {
            const auto along = [=](const Vek16s* p) { return p[x + 2] - p[x]; };
            const auto down = [=](Vek32s i) { return below[x + i] - above[x + i]; };
            gx[x] = Smooth3(along(above), along(row), along(below));
            gy[x] = Smooth3(down(0), down(1), down(2));
        }
    }
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
