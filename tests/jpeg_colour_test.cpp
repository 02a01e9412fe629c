#include "uvek/jpeg.h"

#include <cmath>

#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class JpegColourTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

struct Triple {
    Vek8u a, b, c;
    bool operator==(const Triple& o) const { return a == o.a && b == o.b && c == o.c; }
};

std::ostream& operator<<(std::ostream& out, const Triple& t) { return out << (int)t.a << ' ' << (int)t.b << ' ' << (int)t.c; }

Vek8u Sat8(int v) { return (Vek8u)std::min(255, std::max(0, v)); }

// The fixed-point forms: weights of R, G, B and offset for Y, Cb, Cr.
struct Form {
    int w[3][4];
    int bits;
};
const Form kForm16 = {{{19595, 38470, 7471, 32768}, {-11059, -21709, 32768, 8421375}, {32768, -27439, -5329, 8421375}}, 16};
const Form kForm15 = {{{9798, 19235, 3736, 16266}, {-5529, -10855, 16384, 4210688}, {16384, -13720, -2664, 4210704}}, 15};
const Form kForm14 = {{{4899, 9617, 1868, 8192}, {-2764, -5428, 8192, 2105344}, {8192, -6860, -1332, 2105344}}, 14};

Triple Forward(const Form& form, int r, int g, int b)
{
    Vek8u out[3];
    for (int i = 0; i < 3; ++i)
        out[i] = Sat8((form.w[i][0] * r + form.w[i][1] * g + form.w[i][2] * b + form.w[i][3]) >> form.bits);
    return {out[0], out[1], out[2]};
}

// R, G, B by the stored tables' rules, by the 14-bit rule, and by the inks' 14-bit rule.
Triple InverseTable(int y, int cb, int cr)
{
    return {Sat8(y + ((91881 * (cr - 128) + 32768) >> 16)), Sat8(y + ((-22554 * (cb - 128) + 32768 - 46802 * (cr - 128)) >> 16)),
            Sat8(y + ((116130 * (cb - 128) + 32768) >> 16))};
}

Triple Inverse14(int y, int cb, int cr)
{
    return {Sat8(y + ((22970 * cr - 2932015) >> 14)), Sat8(y + ((-5638 * cb - 11700 * cr + 2227566) >> 14)), Sat8(y + ((29032 * cb - 3707961) >> 14))};
}

Triple InverseInks(int y, int cb, int cr)
{
    return {Sat8(y + ((22970 * cr - 2932015) >> 14)), Sat8(y - ((5638 * cb + 11700 * cr - 2211182) >> 14)), Sat8(y + ((29032 * cb - 3708561) >> 14))};
}

Triple Exact(int r, int g, int b)
{
    const double y = 0.299 * r + 0.587 * g + 0.114 * b;
    return {Sat8((int)std::lround(y)), Sat8((int)std::lround(128 + (b - y) / 1.772)), Sat8((int)std::lround(128 + (r - y) / 1.402))};
}

template <typename Image>
void FillPixels(Image& image, std::mt19937& random)
{
    // Dark, bright and saturated colours as often as others.
    image.Fill([&] { const unsigned v = random(); return v & 0x300 ? v : v & 0x400 ? 255u : 0u; });
}

struct PlaneSet {
    explicit PlaneSet(const Shape& shape) : at{GuardedImage<Vek8u>(shape), GuardedImage<Vek8u>(shape), GuardedImage<Vek8u>(shape), GuardedImage<Vek8u>(shape)} {}
    GuardedImage<Vek8u> at[4];
    Vek8u* pointers[4] = {at[0].data(), at[1].data(), at[2].data(), at[3].data()};
    Triple pixel(Vek32s x, Vek32s y) const { return {at[0].at(x, y), at[1].at(x, y), at[2].at(x, y)}; }
    void set(Vek32s x, Vek32s y, const Triple& t)
    {
        at[0].set(x, y, 0, t.a);
        at[1].set(x, y, 0, t.b);
        at[2].set(x, y, 0, t.c);
    }
};

bool operator==(const PlaneSet& a, const PlaneSet& b)
{
    return a.at[0] == b.at[0] && a.at[1] == b.at[1] && a.at[2] == b.at[2] && a.at[3] == b.at[3];
}

template <typename Visit>
void ForEachPixel(const Shape& shape, Visit&& visit)
{
    for (Vek32s y = 0; y < shape.height; ++y)
        for (Vek32s x = 0; x < shape.width; ++x)
            visit(x, y);
}

TEST_P(JpegColourTest, ForwardFollowsTheFormOfItsColumn)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        GuardedImage<Vek8u, 3> src(shape), swapped(shape);
        FillPixels(src, random_);
        PlaneSet planes(shape), fromSwapped(shape), expected(shape);
        GuardedImage<Vek8u> luma(shape), lumaOfSwapped(shape), expectedLuma(shape);
        ForEachPixel(shape, [&](Vek32s x, Vek32s y) {
            const int r = src.at(x, y, 0), g = src.at(x, y, 1), b = src.at(x, y, 2);
            swapped.set(x, y, 0, (Vek8u)b);
            swapped.set(x, y, 1, (Vek8u)g);
            swapped.set(x, y, 2, (Vek8u)r);
            const Form& form = GetParam() == 0 ? kForm16 : x < shape.width / 8 * 8 ? kForm15 : kForm14;
            expected.set(x, y, Forward(form, r, g, b));
            expectedLuma.set(x, y, 0, Forward(GetParam() == 0 ? kForm16 : kForm15, r, g, b).a);
        });
        ASSERT_EQ(StatusOk, vekiRGBToYCbCr_JPEG_8u_C3P3R(src.data(), src.step(), planes.pointers, luma.step(), src.size()));
        ASSERT_EQ(StatusOk, vekiBGRToYCbCr_JPEG_8u_C3P3R(swapped.data(), src.step(), fromSwapped.pointers, luma.step(), src.size()));
        ASSERT_EQ(StatusOk, vekiRGBToY_JPEG_8u_C3C1R(src.data(), src.step(), luma.data(), luma.step(), src.size()));
        ASSERT_EQ(StatusOk, vekiBGRToY_JPEG_8u_C3C1R(swapped.data(), src.step(), lumaOfSwapped.data(), luma.step(), src.size()));
        ASSERT_TRUE(expected == planes) << shape;
        ASSERT_TRUE(expected == fromSwapped) << shape;
        ASSERT_TRUE(expectedLuma == luma) << shape;
        ASSERT_TRUE(expectedLuma == lumaOfSwapped) << shape;
    });
}

TEST_P(JpegColourTest, InverseFollowsTheFormOfItsColumn)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        PlaneSet src(shape);
        for (auto& plane : src.at)
            FillPixels(plane, random_);
        GuardedImage<Vek8u, 3> rgb(shape), bgr(shape), expectedRgb(shape), expectedBgr(shape);
        GuardedImage<Vek8u, 4> inks(shape), expectedInks(shape);
        ForEachPixel(shape, [&](Vek32s x, Vek32s y) {
            const Triple in = src.pixel(x, y);
            const bool table = GetParam() == 0 || x >= shape.width / 4 * 4;
            const Triple p = (table ? InverseTable : Inverse14)(in.a, in.b, in.c), q = (table ? InverseTable : InverseInks)(in.a, in.b, in.c);
            const Vek8u pixel[3] = {p.a, p.b, p.c}, ink[4] = {(Vek8u)(255 - q.a), (Vek8u)(255 - q.b), (Vek8u)(255 - q.c), src.at[3].at(x, y)};
            for (int c = 0; c < 3; ++c) {
                expectedRgb.set(x, y, c, pixel[c]);
                expectedBgr.set(x, y, c, pixel[2 - c]);
            }
            for (int c = 0; c < 4; ++c)
                expectedInks.set(x, y, c, ink[c]);
        });
        const Vek32s step = src.at[0].step();
        ASSERT_EQ(StatusOk, vekiYCbCrToRGB_JPEG_8u_P3C3R(src.pointers, step, rgb.data(), rgb.step(), rgb.size()));
        ASSERT_EQ(StatusOk, vekiYCbCrToBGR_JPEG_8u_P3C3R(src.pointers, step, bgr.data(), bgr.step(), bgr.size()));
        ASSERT_EQ(StatusOk, vekiYCCKToCMYK_JPEG_8u_P4C4R(src.pointers, step, inks.data(), inks.step(), inks.size()));
        ASSERT_TRUE(expectedRgb == rgb) << shape;
        ASSERT_TRUE(expectedBgr == bgr) << shape;
        ASSERT_TRUE(expectedInks == inks) << shape;
    });
}

TEST_P(JpegColourTest, InksFollowTheFormOfTheirTier)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        GuardedImage<Vek8u, 4> src(shape);
        FillPixels(src, random_);
        PlaneSet planes(shape), expected(shape);
        ForEachPixel(shape, [&](Vek32s x, Vek32s y) {
            expected.set(x, y, Forward(GetParam() == 0 ? kForm16 : kForm14, 255 - src.at(x, y, 0), 255 - src.at(x, y, 1), 255 - src.at(x, y, 2)));
            expected.at[3].set(x, y, 0, src.at(x, y, 3));
        });
        ASSERT_EQ(StatusOk, vekiCMYKToYCCK_JPEG_8u_C4P4R(src.data(), src.step(), planes.pointers, planes.at[0].step(), src.size()));
        ASSERT_TRUE(expected == planes) << shape;
    });
}

// Every chroma pair, at lumas on both sides of every clamp: the kernels' shortcuts hold for each of them.
TEST_P(JpegColourTest, EveryChromaConverts)
{
    const Shape row{256, 1};
    PlaneSet src(row);
    GuardedImage<Vek8u, 3> rgb(row);
    GuardedImage<Vek8u, 4> inks(row);
    for (int cr = 0; cr < 256; ++cr) {
        for (const int luma : {0, 128, 255}) {
            for (int cb = 0; cb < 256; ++cb)
                src.set(cb, 0, {(Vek8u)luma, (Vek8u)cb, (Vek8u)cr});
            ASSERT_EQ(StatusOk, vekiYCbCrToRGB_JPEG_8u_P3C3R(src.pointers, 256, rgb.data(), 768, {256, 1}));
            ASSERT_EQ(StatusOk, vekiYCCKToCMYK_JPEG_8u_P4C4R(src.pointers, 256, inks.data(), 1024, {256, 1}));
            for (int cb = 0; cb < 256; ++cb) {
                const Triple got = {rgb.at(cb, 0, 0), rgb.at(cb, 0, 1), rgb.at(cb, 0, 2)};
                const Triple ink = {(Vek8u)(255 - inks.at(cb, 0, 0)), (Vek8u)(255 - inks.at(cb, 0, 1)), (Vek8u)(255 - inks.at(cb, 0, 2))};
                ASSERT_EQ((GetParam() ? Inverse14 : InverseTable)(luma, cb, cr), got) << luma << ' ' << cb << ' ' << cr;
                ASSERT_EQ((GetParam() ? InverseInks : InverseTable)(luma, cb, cr), ink) << luma << ' ' << cb << ' ' << cr;
            }
        }
    }
}

// The forms are what JFIF defines, to within one; corners of the colour cube by hand.
TEST_P(JpegColourTest, IsJfif)
{
    PlaneSet planes(Shape{16, 1});
    const auto convert = [&](int r, int g, int b) {
        Vek8u pixels[48];
        for (int i = 0; i < 16; ++i) {
            pixels[3 * i] = (Vek8u)r;
            pixels[3 * i + 1] = (Vek8u)g;
            pixels[3 * i + 2] = (Vek8u)b;
        }
        EXPECT_EQ(StatusOk, vekiRGBToYCbCr_JPEG_8u_C3P3R(pixels, 48, planes.pointers, 16, {16, 1}));
        return planes.pixel(9, 0);
    };
    EXPECT_EQ((Triple{255, 128, 128}), convert(255, 255, 255));
    EXPECT_EQ((Triple{0, 128, 128}), convert(0, 0, 0));
    EXPECT_EQ((Triple{29, 255, 107}), convert(0, 0, 255));  // chroma comes to 256 and stays within a byte
    EXPECT_EQ((Triple{76, 85, 255}), convert(255, 0, 0));
    for (int i = 0; i < 5000; ++i) {
        const int r = random_() & 255, g = random_() & 255, b = random_() & 255;
        const Triple got = convert(r, g, b), exact = Exact(r, g, b);
        ASSERT_NEAR(exact.a, got.a, 1);
        ASSERT_NEAR(exact.b, got.b, 1);
        ASSERT_NEAR(exact.c, got.c, 1);
    }
}

TEST_P(JpegColourTest, BadCallsInOrder)
{
    Vek8u pixels[4] = {1, 2, 3, 4}, samples[4] = {5, 6, 7, 8};
    Vek8u* const planes[4] = {samples, samples + 1, samples + 2, samples + 3};
    const VekImageSize one = {1, 1};
    const auto checkForward = [&](auto convert, int channels) {
        EXPECT_EQ(StatusNullPointer, convert(nullptr, 0, planes, 1, one));
        EXPECT_EQ(StatusNullPointer, convert(pixels, 0, nullptr, 1, one));
        for (int i = 0; i < channels; ++i) {
            Vek8u* holed[4] = {planes[0], planes[1], planes[2], planes[3]};
            holed[i] = nullptr;
            EXPECT_EQ(StatusNullPointer, convert(pixels, 0, holed, 1, one));
        }
        EXPECT_EQ(StatusBadStep, convert(pixels, 0, planes, 1, {0, 1}));
        EXPECT_EQ(StatusBadStep, convert(pixels, 4, planes, -1, {0, 1}));
        EXPECT_EQ(StatusBadSize, convert(pixels, 4, planes, 1, {0, 1}));
        EXPECT_EQ(StatusBadSize, convert(pixels, 4, planes, 1, {1, 0}));
    };
    checkForward(vekiRGBToYCbCr_JPEG_8u_C3P3R, 3);
    checkForward(vekiBGRToYCbCr_JPEG_8u_C3P3R, 3);
    checkForward(vekiCMYKToYCCK_JPEG_8u_C4P4R, 4);
    const auto checkInverse = [&](auto convert, int channels) {
        checkForward([&](const Vek8u* p, Vek32s pixelStep, Vek8u* const* q, Vek32s planeStep, VekImageSize size) {
            return convert(q, planeStep, (Vek8u*)p, pixelStep, size);
        }, channels);
    };
    checkInverse(vekiYCbCrToRGB_JPEG_8u_P3C3R, 3);
    checkInverse(vekiYCbCrToBGR_JPEG_8u_P3C3R, 3);
    checkInverse(vekiYCCKToCMYK_JPEG_8u_P4C4R, 4);
    for (const auto luma : {vekiRGBToY_JPEG_8u_C3C1R, vekiBGRToY_JPEG_8u_C3C1R}) {
        EXPECT_EQ(StatusNullPointer, luma(nullptr, 0, samples, 1, one));
        EXPECT_EQ(StatusNullPointer, luma(pixels, 0, nullptr, 1, one));
        EXPECT_EQ(StatusBadStep, luma(pixels, 0, samples, 1, {0, 1}));
        EXPECT_EQ(StatusBadStep, luma(pixels, 3, samples, 0, {0, 1}));
        EXPECT_EQ(StatusBadSize, luma(pixels, 3, samples, 1, {0, 1}));
        EXPECT_EQ(StatusBadSize, luma(pixels, 3, samples, 1, {1, 0}));
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(i + 1, pixels[i]);
        EXPECT_EQ(i + 5, samples[i]);
    }
}

UVEK_ON_ALL_TIERS(JpegColourTest);

}  // namespace
}  // namespace uvek::test
