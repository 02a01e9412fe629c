#include "uvek/jpeg.h"

#include <cmath>

#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class JpegColourTest : public TierTest {
protected:
    // Steps are at least 1 here.
    template <typename Visit>
    void ForEachDownwardShape(Visit&& visit)
    {
        ForEachShape([&](Shape shape) {
            shape.upward = false;
            visit(shape);
        });
    }
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
    ForEachDownwardShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> rgb(shape), bgr(shape);
        GuardedImage<Vek8u, 4> inks(shape);
        FillPixels(rgb, random_);
        FillPixels(inks, random_);
        Planes planes(shape), swapped(shape), expected(shape), ycck(shape), expectedYcck(shape);
        GuardedImage<Vek8u> luma(shape), swappedLuma(shape), expectedLuma(shape);
        const bool wide = GetParam() == 0;
        ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
            const Pixel p = At(rgb, x, y);
            for (int c = 0; c < 3; ++c)
                bgr.set(x, y, c, (Vek8u)p[2 - c]);
            expected.set(x, y, Forward(wide ? kForm16 : x < shape.width / 8 * 8 ? kForm15 : kForm14, p));
            expectedLuma.set(x, y, 0, (Vek8u)Forward(wide ? kForm16 : kForm15, p)[0]);
            expectedYcck.set(x, y, Forward(wide ? kForm16 : kForm14, {255 - inks.at(x, y, 0), 255 - inks.at(x, y, 1), 255 - inks.at(x, y, 2)}));
            expectedYcck.at[3].set(x, y, 0, inks.at(x, y, 3));
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

TEST_P(JpegColourTest, InverseFollowsTheFormOfItsColumn)
{
    ForEachDownwardShape([&](const Shape& shape) {
        Planes src(shape);
        for (auto& plane : src.at)
            FillPixels(plane, random_);
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
    });
}

// Every chroma pair, at lumas on both sides of every clamp: the kernels' shortcuts hold for each of them.
TEST_P(JpegColourTest, EveryChromaConverts)
{
    Planes src(Shape{256, 1});
    GuardedImage<Vek8u, 3> rgb(256, 1);
    GuardedImage<Vek8u, 4> inks(256, 1);
    for (int i = 0; i < 3 * 256; ++i) {
        const int luma = i % 3 * 127, cr = i / 3;
        for (int cb = 0; cb < 256; ++cb)
            src.set(cb, 0, {luma, cb, cr});
        ASSERT_EQ(StatusOk, vekiYCbCrToRGB_JPEG_8u_P3C3R(src.pointers, 256, rgb.data(), 768, {256, 1}));
        ASSERT_EQ(StatusOk, vekiYCCKToCMYK_JPEG_8u_P4C4R(src.pointers, 256, inks.data(), 1024, {256, 1}));
        for (int cb = 0; cb < 256; ++cb) {
            const Pixel ink = At(inks, cb, 0);
            ASSERT_EQ((GetParam() ? Inverse14 : InverseTable)(luma, cb, cr), At(rgb, cb, 0)) << luma << ' ' << cb << ' ' << cr;
            ASSERT_EQ((GetParam() ? InverseInks : InverseTable)(luma, cb, cr), (Pixel{255 - ink[0], 255 - ink[1], 255 - ink[2]})) << luma << ' ' << cb << ' ' << cr;
        }
    }
}

// The forms are what JFIF defines, to within one; corners of the colour cube by hand.
TEST_P(JpegColourTest, IsJfif)
{
    Planes planes(Shape{16, 1});
    const auto convert = [&](Pixel p) {
        GuardedImage<Vek8u, 3> rgb(16, 1);
        int i = 0;
        rgb.Fill([&] { return p[i++ % 3]; });
        EXPECT_EQ(StatusOk, vekiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), 48, planes.pointers, 16, {16, 1}));
        return planes.pixel(9, 0);
    };
    EXPECT_EQ((Pixel{255, 128, 128}), convert({255, 255, 255}));
    EXPECT_EQ((Pixel{29, 255, 107}), convert({0, 0, 255}));  // chroma comes to 256 and stays within a byte
    EXPECT_EQ((Pixel{76, 85, 255}), convert({255, 0, 0}));
    for (int i = 0; i < 3000; ++i) {
        const Pixel p = {(int)(random_() & 255), (int)(random_() & 255), (int)(random_() & 255)}, got = convert(p);
        const double y = 0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2];
        const Pixel exact = {(int)std::lround(y), Sat8((int)std::lround(128 + (p[2] - y) / 1.772)), Sat8((int)std::lround(128 + (p[0] - y) / 1.402))};
        for (int c = 0; c < 3; ++c)
            ASSERT_NEAR(exact[c], got[c], 1);
    }
}

TEST_P(JpegColourTest, BadCallsInOrder)
{
    Vek8u pixels[4] = {1, 2, 3, 4}, samples[4] = {5, 6, 7, 8};
    Vek8u* const planes[4] = {samples, samples + 1, samples + 2, samples + 3};
    // The packed side, its step, the planar side, its step, the size.
    const auto check = [&](auto convert, int planeCount) {
        EXPECT_EQ(StatusNullPointer, convert(nullptr, 0, planes, 1, VekImageSize{1, 1}));
        EXPECT_EQ(StatusNullPointer, convert(pixels, 0, nullptr, 1, VekImageSize{1, 1}));
        for (int i = 0; i < planeCount; ++i) {
            Vek8u* holed[4] = {planes[0], planes[1], planes[2], planes[3]};
            holed[i] = nullptr;
            EXPECT_EQ(StatusNullPointer, convert(pixels, 0, holed, 1, VekImageSize{1, 1}));
        }
        EXPECT_EQ(StatusBadStep, convert(pixels, 0, planes, 1, VekImageSize{0, 1}));
        EXPECT_EQ(StatusBadStep, convert(pixels, 4, planes, -1, VekImageSize{0, 1}));
        EXPECT_EQ(StatusBadSize, convert(pixels, 4, planes, 1, VekImageSize{0, 1}));
        EXPECT_EQ(StatusBadSize, convert(pixels, 4, planes, 1, VekImageSize{1, 0}));
    };
    const auto turned = [](auto convert) {
        return [=](Vek8u* p, Vek32s pStep, Vek8u* const* q, Vek32s qStep, VekImageSize size) { return convert(q, qStep, p, pStep, size); };
    };
    const auto flat = [](auto convert) {
        return [=](Vek8u* p, Vek32s pStep, Vek8u* const* q, Vek32s qStep, VekImageSize size) { return convert(p, pStep, q ? q[0] : nullptr, qStep, size); };
    };
    check(vekiRGBToYCbCr_JPEG_8u_C3P3R, 3);
    check(vekiBGRToYCbCr_JPEG_8u_C3P3R, 3);
    check(vekiCMYKToYCCK_JPEG_8u_C4P4R, 4);
    check(turned(vekiYCbCrToRGB_JPEG_8u_P3C3R), 3);
    check(turned(vekiYCbCrToBGR_JPEG_8u_P3C3R), 3);
    check(turned(vekiYCCKToCMYK_JPEG_8u_P4C4R), 4);
    check(flat(vekiRGBToY_JPEG_8u_C3C1R), 1);
    check(flat(vekiBGRToY_JPEG_8u_C3C1R), 1);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(2 * i + 6, pixels[i] + samples[i]);
}

UVEK_ON_ALL_TIERS(JpegColourTest);

}  // namespace
}  // namespace uvek::test
