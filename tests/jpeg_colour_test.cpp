#include "uvek/jpeg.h"

#include <cmath>

#include "support/checks.h"
#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class JpegColourTest : public TierTest {
protected:
    void CheckInverse(const Planes& src, const Shape& shape);

    std::mt19937 random_{Seed()};
};

// The fixed-point forms: weights of R, G, B and offset for Y, Cb, Cr.
struct Form {
    int w[3][4];
    int bits;
};
const Form kForm16 = {{{19595, 38470, 7471, 32768}, {-11059, -21709, 32768, 8421375}, {32768, -27439, -5329, 8421375}}, 16};
const Form kForm15 = {{{9798, 19235, 3736, 16266}, {-5529, -10855, 16384, 4210688}, {16384, -13720, -2664, 4210704}}, 15};
const Form kForm14 = {{{4899, 9617, 1868, 8192}, {-2764, -5428, 8192, 2105344}, {8192, -6860, -1332, 2105344}}, 14};

Pixel Forward(const Form& form, const Pixel& p)
{
    Pixel out;
    for (int i = 0; i < 3; ++i)
        out[i] = Sat8((form.w[i][0] * p[0] + form.w[i][1] * p[1] + form.w[i][2] * p[2] + form.w[i][3]) >> form.bits);
    return out;
}

Pixel InverseTable(int y, int cb, int cr)
{
    return {Sat8(y + ((91881 * (cr - 128) + 32768) >> 16)), Sat8(y + ((-22554 * (cb - 128) + 32768 - 46802 * (cr - 128)) >> 16)),
            Sat8(y + ((116130 * (cb - 128) + 32768) >> 16))};
}

Pixel Inverse14(int y, int cb, int cr)
{
    return {Sat8(y + ((22970 * cr - 2932015) >> 14)), Sat8(y + ((-5638 * cb - 11700 * cr + 2227566) >> 14)), Sat8(y + ((29032 * cb - 3707961) >> 14))};
}

Pixel InverseInks(int y, int cb, int cr)
{
    return {Sat8(y + ((22970 * cr - 2932015) >> 14)), Sat8(y - ((5638 * cb + 11700 * cr - 2211182) >> 14)), Sat8(y + ((29032 * cb - 3708561) >> 14))};
}

TEST_P(JpegColourTest, ForwardFollowsTheFormOfItsColumn)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;  // steps are at least 1 here
        GuardedImage<Vek8u, 3> rgb(shape), bgr(shape);
        GuardedImage<Vek8u, 4> inks(shape);
        FillPixels(rgb, random_);
        FillPixels(inks, random_);
        Planes planes(shape), swapped(shape), expected(shape), ycck(shape), expectedYcck(shape);
        GuardedImage<Vek8u> luma(shape), swappedLuma(shape), expectedLuma(shape);
        const bool wide = GetParam() == 0;
        ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
            const Pixel p = At(rgb, x, y), ink = At(inks, x, y);
            for (int c = 0; c < 3; ++c)
                bgr.set(x, y, c, (Vek8u)p[2 - c]);
            const Pixel converted = Forward(wide ? kForm16 : x < shape.width / 8 * 8 ? kForm15 : kForm14, p);
            expected.set(x, y, converted);
            expectedLuma.set(x, y, 0, (Vek8u)Forward(wide ? kForm16 : kForm15, p)[0]);
            expectedYcck.set(x, y, Forward(wide ? kForm16 : kForm14, {255 - ink[0], 255 - ink[1], 255 - ink[2]}));
            expectedYcck.at[3].set(x, y, 0, inks.at(x, y, 3));
            // All forms are what JFIF defines, to within one.
            const double yy = 0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2], exact[3] = {yy, 128 + (p[2] - yy) / 1.772, 128 + (p[0] - yy) / 1.402};
            for (int c = 0; c < 3; ++c)
                ASSERT_LE(std::fabs(exact[c] - converted[c]), 1.5);
        });
        ASSERT_EQ(StatusOk, vekiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), rgb.step(), planes.pointers, luma.step(), rgb.size()));
        ASSERT_EQ(StatusOk, vekiBGRToYCbCr_JPEG_8u_C3P3R(bgr.data(), bgr.step(), swapped.pointers, luma.step(), rgb.size()));
        ASSERT_EQ(StatusOk, vekiRGBToY_JPEG_8u_C3C1R(rgb.data(), rgb.step(), luma.data(), luma.step(), rgb.size()));
        ASSERT_EQ(StatusOk, vekiBGRToY_JPEG_8u_C3C1R(bgr.data(), bgr.step(), swappedLuma.data(), luma.step(), rgb.size()));
        ASSERT_EQ(StatusOk, vekiCMYKToYCCK_JPEG_8u_C4P4R(inks.data(), inks.step(), ycck.pointers, luma.step(), rgb.size()));
        ASSERT_TRUE(expected == planes && expected == swapped) << shape;
        ASSERT_TRUE(expectedLuma == luma && expectedLuma == swappedLuma) << shape;
        ASSERT_TRUE(expectedYcck == ycck) << shape;
    });
}

void JpegColourTest::CheckInverse(const Planes& src, const Shape& shape)
{
    GuardedImage<Vek8u, 3> rgb(shape), bgr(shape), expectedRgb(shape), expectedBgr(shape);
    GuardedImage<Vek8u, 4> inks(shape), expectedInks(shape);
    ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
        const Pixel in = src.pixel(x, y);
        const bool table = GetParam() == 0 || x >= shape.width / 4 * 4;
        const Pixel p = (table ? InverseTable : Inverse14)(in[0], in[1], in[2]), q = (table ? InverseTable : InverseInks)(in[0], in[1], in[2]);
        for (int c = 0; c < 3; ++c) {
            expectedRgb.set(x, y, c, (Vek8u)p[c]);
            expectedBgr.set(x, y, c, (Vek8u)p[2 - c]);
            expectedInks.set(x, y, c, (Vek8u)(255 - q[c]));
        }
        expectedInks.set(x, y, 3, src.at[3].at(x, y));
    });
    const Vek32s step = src.steps[0];
    ASSERT_EQ(StatusOk, vekiYCbCrToRGB_JPEG_8u_P3C3R(src.pointers, step, rgb.data(), rgb.step(), rgb.size()));
    ASSERT_EQ(StatusOk, vekiYCbCrToBGR_JPEG_8u_P3C3R(src.pointers, step, bgr.data(), bgr.step(), bgr.size()));
    ASSERT_EQ(StatusOk, vekiYCCKToCMYK_JPEG_8u_P4C4R(src.pointers, step, inks.data(), inks.step(), inks.size()));
    ASSERT_TRUE(expectedRgb == rgb && expectedBgr == bgr && expectedInks == inks) << shape;
}

TEST_P(JpegColourTest, InverseFollowsTheFormOfItsColumn)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        Planes src(shape);
        for (auto& plane : src.at)
            FillPixels(plane, random_);
        CheckInverse(src, shape);
    });
    // Every chroma pair, at lumas on both sides of every clamp: the kernels' shortcuts hold for each of them.
    const Shape all = {256, 256};
    for (const int luma : {0, 127, 254}) {
        Planes src(all);
        ForEachPixel(256, 256, [&](Vek32s x, Vek32s y) { src.set(x, y, {luma, x, y}); });
        CheckInverse(src, all);
    }
}

TEST_P(JpegColourTest, BadCallsInOrder)
{
    // The packed side, its step, the planar side, its step, the size.
    const auto check = [&](auto convert, int planeCount) {
        ExpectOrder<Vek8u, Vek8u>(Then::StepSize, [=](Vek8u* p, Vek32s pStep, Vek8u* q, Vek32s qStep, VekImageSize size) {
            Vek8u* const planes[4] = {q, q, q, q};
            return convert(p, pStep, q ? planes : nullptr, qStep, size);
        });
        Vek8u packed[4] = {}, plane[4] = {};
        ExpectPlanesAreLookedAt<Vek8u>(planeCount, plane, [&](Vek8u** planes) { return convert(packed, 0, planes, 0, VekImageSize{0, 0}); });
    };
    const auto turned = [](auto convert) {
        return [=](Vek8u* p, Vek32s pStep, Vek8u* const* q, Vek32s qStep, VekImageSize size) { return convert(q, qStep, p, pStep, size); };
    };
    check(vekiRGBToYCbCr_JPEG_8u_C3P3R, 3);
    check(vekiBGRToYCbCr_JPEG_8u_C3P3R, 3);
    check(vekiCMYKToYCCK_JPEG_8u_C4P4R, 4);
    check(turned(vekiYCbCrToRGB_JPEG_8u_P3C3R), 3);
    check(turned(vekiYCbCrToBGR_JPEG_8u_P3C3R), 3);
    check(turned(vekiYCCKToCMYK_JPEG_8u_P4C4R), 4);
    for (const auto convert : {vekiRGBToY_JPEG_8u_C3C1R, vekiBGRToY_JPEG_8u_C3C1R})
        ExpectOrder<Vek8u, Vek8u>(Then::StepSize, convert);
}

UVEK_ON_ALL_TIERS(JpegColourTest);

}  // namespace
}  // namespace uvek::test
