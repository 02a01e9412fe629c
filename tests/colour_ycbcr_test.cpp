#include "uvek/colour.h"

#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class VideoColourTest : public TierTest {
protected:
    // What columns of whole blocks of 8 may differ by from tier 0's formula.
    int Tolerance(Vek32s x, Vek32s width) const { return GetParam() > 0 && x < width / 8 * 8 ? 1 : 0; }

    std::mt19937 random_{Seed()};
};

// The 16-bit forms, from a pixel or from sums of pixels.
int LumaOf(const Pixel& p, int offset = 1081344) { return ((16843 * p[0] + 33030 * p[1] + 6423 * p[2] + offset) >> 16) & 255; }
int CbOf(const Pixel& p, int offset = -8355840, int shift = 16) { return ((-9699 * p[0] - 19071 * p[1] + 28770 * p[2] + offset) >> shift) & 255; }
int CrOf(const Pixel& p, int offset = -8355840, int shift = 16) { return ((28770 * p[0] - 24117 * p[1] - 4653 * p[2] + offset) >> shift) & 255; }

Pixel operator+(const Pixel& p, const Pixel& q) { return {p[0] + q[0], p[1] + q[1], p[2] + q[2]}; }

// The 15-bit form of the blocks of tiers 1 to 3.
Pixel ForwardBlock(const Pixel& p)
{
    const auto term = [&](int c0, int c1, int c2, int offset) { return Sat8(((((c0 * p[0] + c1 * p[1]) >> 11) + ((c2 * p[2]) >> 11)) >> 4) + offset); };
    return {term(8421, 16515, 3211, 16), term(-4850, -9535, 14385, 128), term(14385, -12059, -2327, 128)};
}

Pixel Inverse(const Pixel& p, int black)
{
    const int a = 76284 * p[0] + black, u = p[1] - 128, v = p[2] - 128;
    return {Sat8((a + 104595 * v) >> 16), Sat8((a - 25690 * u - 53281 * v) >> 16), Sat8((a + 132186 * u) >> 16)};
}

bool IsNear(const Pixel& p, const Pixel& q, int tolerance)
{
    return std::abs(p[0] - q[0]) <= tolerance && std::abs(p[1] - q[1]) <= tolerance && std::abs(p[2] - q[2]) <= tolerance;
}

TEST_P(VideoColourTest, CornersByHand)
{
    const auto one = [](auto convert, Pixel in) {
        const Vek8u src[3] = {(Vek8u)in[0], (Vek8u)in[1], (Vek8u)in[2]};
        Vek8u dst[3] = {};
        EXPECT_EQ(StatusOk, convert(src, 3, dst, 3, {1, 1}));
        return Pixel{dst[0], dst[1], dst[2]};
    };
    EXPECT_EQ((Pixel{16, 128, 128}), one(vekiRGBToYCbCr_8u_C3R, {0, 0, 0}));
    EXPECT_EQ((Pixel{235, 128, 128}), one(vekiRGBToYCbCr_8u_C3R, {255, 255, 255}));
    EXPECT_EQ((Pixel{82, 90, 240}), one(vekiRGBToYCbCr_8u_C3R, {255, 0, 0}));
    EXPECT_EQ((Pixel{0, 0, 0}), one(vekiYCbCrToRGB_8u_C3R, {16, 128, 128}));
    EXPECT_EQ((Pixel{254, 254, 254}), one(vekiYCbCrToRGB_8u_C3R, {235, 128, 128}));  // 254.9, rounded down
}

TEST_P(VideoColourTest, PackedConversionsFollowTheirForms)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape), ycbcr(shape), rgb(shape), expected(shape);
        FillPixels(src, random_);
        ASSERT_EQ(StatusOk, vekiRGBToYCbCr_8u_C3R(src.data(), src.step(), ycbcr.data(), ycbcr.step(), src.size()));
        ASSERT_EQ(StatusOk, vekiYCbCrToRGB_8u_C3R(src.data(), src.step(), rgb.data(), rgb.step(), src.size()));
        ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
            const Pixel p = At(src, x, y), q = Tolerance(x, shape.width) ? ForwardBlock(p) : Pixel{LumaOf(p), CbOf(p), CrOf(p)};
            ASSERT_EQ(q, At(ycbcr, x, y)) << shape;
            ASSERT_TRUE(IsNear(Inverse(p, -1220544), At(rgb, x, y), Tolerance(x, shape.width))) << shape;
            for (int c = 0; c < 3; ++c) {
                ycbcr.set(x, y, c, expected.at(x, y, c));
                rgb.set(x, y, c, expected.at(x, y, c));
            }
        });
        ASSERT_TRUE(expected == ycbcr && expected == rgb) << "between rows of " << shape;
    });
}

// Every chroma pair at both ends and in the middle of luma.
TEST_P(VideoColourTest, PackedInverseOfEveryChroma)
{
    GuardedImage<Vek8u, 3> src(256, 256), dst(256, 256);
    for (const int luma : {0, 16, 126, 235, 255}) {
        int i = 0;
        src.Fill([&] { const int c = i % 3, pixel = i++ / 3; return c == 0 ? luma : c == 1 ? pixel & 255 : pixel >> 8; });
        ASSERT_EQ(StatusOk, vekiYCbCrToRGB_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        ForEachPixel(256, 256, [&](Vek32s x, Vek32s y) { ASSERT_TRUE(IsNear(Inverse({luma, x, y}, -1220544), At(dst, x, y), Tolerance(x, 256))); });
    }
}

TEST_P(VideoColourTest, PairsShareTheirChroma)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape);
        FillPixels(src, random_);
        GuardedImage<Vek8u, 2> dst(shape);
        ASSERT_EQ(StatusOk, vekiRGBToYCbCr422_8u_C3C2R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        ASSERT_TRUE(dst.IsSlackIntact());
        ForEachPixel((shape.width + 1) / 2, shape.height, [&](Vek32s i, Vek32s y) {
            const Vek32s x = 2 * i;
            const Pixel a = At(src, x, y);
            ASSERT_NEAR(LumaOf(a), dst.at(x, y, 0), Tolerance(x, shape.width)) << shape;
            if (x + 1 == shape.width) {  // the odd last pixel has no Cr
                ASSERT_EQ(CbOf(a), dst.at(x, y, 1)) << shape;
                return;
            }
            const Pixel b = At(src, x + 1, y), got = {dst.at(x, y, 1), dst.at(x + 1, y, 0), dst.at(x + 1, y, 1)};
            ASSERT_TRUE(IsNear({CbOf(a + b, -16711680, 17), LumaOf(b, 1048576), CrOf(a + b, -16711680, 17)}, got, Tolerance(x, shape.width))) << shape;
        });
    });
}

// Chroma planes of half a shape, with a step and a direction of their own.
Shape Half(Shape shape)
{
    shape.width = std::max(1, shape.width / 2);
    shape.height = std::max(1, shape.height / 2);
    shape.padding += 3;
    shape.upward = !shape.upward;
    return shape;
}

TEST_P(VideoColourTest, QuadsShareTheirChroma)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape), back(shape), untouchedBack(shape);
        FillPixels(src, random_);
        Planes planes(shape, Half(shape)), noise(shape, Half(shape)), untouched(shape, Half(shape));
        for (auto& plane : noise.at)
            FillPixels(plane, random_);
        const VekStatus status = shape.width % 2 || shape.height % 2 ? WarnOddSize : StatusOk;
        ASSERT_EQ(status, vekiRGBToYCbCr420_8u_C3P3R(src.data(), src.step(), planes.pointers, planes.steps, src.size()));
        ASSERT_EQ(status, vekiYCbCr420ToBGR_8u_P3C3R(noise.pointers, noise.steps, back.data(), back.step(), back.size()));
        ForEachPixel(shape.width / 2, shape.height / 2, [&](Vek32s x, Vek32s y) {
            const int tolerance = Tolerance(x, shape.width / 2);
            Pixel sum = {};
            for (int i = 0; i < 4; ++i) {
                const Vek32s px = 2 * x + i % 2, py = 2 * y + i / 2;
                const Pixel p = At(src, px, py), bgr = At(back, px, py);
                ASSERT_NEAR(LumaOf(p), planes.at[0].at(px, py), tolerance) << shape;
                sum = sum + p;
                const Pixel expected = Inverse({noise.at[0].at(px, py), noise.at[1].at(x, y), noise.at[2].at(x, y)}, -1187776);
                ASSERT_TRUE(IsNear(expected, {bgr[2], bgr[1], bgr[0]}, tolerance)) << shape;
                // Put back what may change, so that a comparison shows all that may not.
                planes.at[0].set(px, py, 0, untouched.at[0].at(px, py));
                for (int c = 0; c < 3; ++c)
                    back.set(px, py, c, untouchedBack.at(px, py, c));
            }
            ASSERT_NEAR(CbOf(sum, -33521664, 18), planes.at[1].at(x, y), tolerance) << shape;
            ASSERT_NEAR(CrOf(sum, -33521664, 18), planes.at[2].at(x, y), tolerance) << shape;
            for (int c = 1; c < 3; ++c)
                planes.at[c].set(x, y, 0, untouched.at[c].at(x, y));
        });
        ASSERT_TRUE(untouched == planes && untouchedBack == back) << shape;
    });
}

TEST_P(VideoColourTest, PlanesWeaveIntoPairs)
{
    ForEachShape([&](const Shape& shape) {
        if (shape.width < 2)
            return;
        Shape half = Half(shape);
        half.height = shape.height;
        Planes src(shape, half);
        for (auto& plane : src.at)
            FillPixels(plane, random_);
        GuardedImage<Vek8u, 2> dst(shape), expected(shape);
        ForEachPixel(shape.width & ~1, shape.height, [&](Vek32s x, Vek32s y) {
            expected.set(x, y, 0, src.at[0].at(x, y));
            expected.set(x, y, 1, src.at[x & 1 ? 2 : 1].at(x / 2, y));
        });
        ASSERT_EQ(StatusOk, vekiYCbCr422_8u_P3C2R(src.pointers, src.steps, dst.data(), dst.step(), dst.size()));
        ASSERT_TRUE(expected == dst) << shape;
    });
}

TEST_P(VideoColourTest, BadCallsInOrder)
{
    Vek8u in[12] = {}, out[12] = {};
    const VekImageSize thin = {0, 1}, flat = {1, 0}, one = {1, 1};
    for (const auto packed : {vekiRGBToYCbCr_8u_C3R, vekiYCbCrToRGB_8u_C3R, vekiRGBToYCbCr422_8u_C3C2R}) {
        EXPECT_EQ(StatusNullPointer, packed(nullptr, 0, out, 0, thin));
        EXPECT_EQ(StatusNullPointer, packed(in, 0, nullptr, 0, thin));
        EXPECT_EQ(StatusBadSize, packed(in, 0, out, 0, thin));
        EXPECT_EQ(StatusBadSize, packed(in, 0, out, 0, flat));
    }
    Vek8u* const planes[3] = {out, out + 4, out + 8};
    const Vek32s steps[3] = {0, 0, 0};
    const auto forward = [&](Vek8u* p, Vek8u* const* q, VekImageSize size) { return vekiRGBToYCbCr420_8u_C3P3R(p, 0, q, steps, size); };
    const auto inverse = [&](Vek8u* p, Vek8u* const* q, VekImageSize size) { return vekiYCbCr420ToBGR_8u_P3C3R(q, steps, p, 0, size); };
    const auto weave = [&](Vek8u* p, Vek8u* const* q, VekImageSize size) { return vekiYCbCr422_8u_P3C2R(q, steps, p, 0, size); };
    const auto check = [&](auto call, VekStatus holedAndThin, VekStatus smallest) {
        EXPECT_EQ(StatusNullPointer, call(nullptr, planes, thin));
        EXPECT_EQ(StatusNullPointer, call(in, nullptr, thin));
        for (int i = 0; i < 3; ++i) {
            Vek8u* holed[3] = {planes[0], planes[1], planes[2]};
            holed[i] = nullptr;
            EXPECT_EQ(holedAndThin, call(in, holed, thin));
            EXPECT_EQ(StatusNullPointer, call(in, holed, one));
        }
        EXPECT_EQ(StatusBadSize, call(in, planes, thin));
        EXPECT_EQ(StatusBadSize, call(in, planes, VekImageSize{2, 0}));
        EXPECT_EQ(smallest, call(in, planes, one));
    };
    // The size comes before the planes, save in the rearrangement.
    check(forward, StatusBadSize, WarnOddSize);
    check(inverse, StatusBadSize, WarnOddSize);
    check(weave, StatusNullPointer, StatusBadSize);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(0, in[i] | out[i]);
}

UVEK_ON_ALL_TIERS(VideoColourTest);

}  // namespace
}  // namespace uvek::test
