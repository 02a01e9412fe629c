#include "uvek/colour.h"

#include <array>
#include <cmath>
#include <vector>

#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class VideoColourTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

using Pixel = std::array<int, 3>;

int Sat8(int v) { return std::min(255, std::max(0, v)); }

// The 16-bit forms, from a pixel or from sums of pixels.
int LumaSum(int r, int g, int b, int offset) { return ((16843 * r + 33030 * g + 6423 * b + offset) >> 16) & 255; }
int CbSum(int r, int g, int b, int offset, int shift) { return ((-9699 * r - 19071 * g + 28770 * b + offset) >> shift) & 255; }
int CrSum(int r, int g, int b, int offset, int shift) { return ((28770 * r - 24117 * g - 4653 * b + offset) >> shift) & 255; }

Pixel Forward(int r, int g, int b)
{
    return {LumaSum(r, g, b, 1081344), CbSum(r, g, b, -8355840, 16), CrSum(r, g, b, -8355840, 16)};
}

// The 15-bit form of the blocks of tiers 1 to 3.
Pixel ForwardBlock(int r, int g, int b)
{
    const auto term = [&](int c0, int c1, int c2, int offset) { return Sat8(((((c0 * r + c1 * g) >> 11) + ((c2 * b) >> 11)) >> 4) + offset); };
    return {term(8421, 16515, 3211, 16), term(-4850, -9535, 14385, 128), term(14385, -12059, -2327, 128)};
}

Pixel Inverse(int y, int cb, int cr, int black)
{
    const int a = 76284 * y + black, u = cb - 128, v = cr - 128;
    return {Sat8((a + 104595 * v) >> 16), Sat8((a - 25690 * u - 53281 * v) >> 16), Sat8((a + 132186 * u) >> 16)};
}

template <typename Image>
void FillPixels(Image& image, std::mt19937& random)
{
    image.Fill([&] { const unsigned v = random(); return v & 0x300 ? v : v & 0x400 ? 255u : 0u; });
}

template <typename Image>
Pixel At(const Image& image, Vek32s x, Vek32s y)
{
    return {image.at(x, y, 0), image.at(x, y, 1), image.at(x, y, 2)};
}

void ExpectNear(const Pixel& expected, const Pixel& got, int tolerance, const Shape& shape)
{
    for (int c = 0; c < 3; ++c)
        ASSERT_NEAR(expected[c], got[c], tolerance) << shape << " channel " << c;
}

// Converts one pixel, in the leftover column of a width of 1.
template <typename Convert>
Pixel One(Convert convert, Pixel in)
{
    const Vek8u src[3] = {(Vek8u)in[0], (Vek8u)in[1], (Vek8u)in[2]};
    Vek8u dst[3] = {};
    EXPECT_EQ(StatusOk, convert(src, 3, dst, 3, {1, 1}));
    return {dst[0], dst[1], dst[2]};
}

TEST_P(VideoColourTest, CornersByHand)
{
    EXPECT_EQ((Pixel{16, 128, 128}), One(vekiRGBToYCbCr_8u_C3R, {0, 0, 0}));
    EXPECT_EQ((Pixel{235, 128, 128}), One(vekiRGBToYCbCr_8u_C3R, {255, 255, 255}));
    EXPECT_EQ((Pixel{82, 90, 240}), One(vekiRGBToYCbCr_8u_C3R, {255, 0, 0}));
    EXPECT_EQ((Pixel{0, 0, 0}), One(vekiYCbCrToRGB_8u_C3R, {16, 128, 128}));
    EXPECT_EQ((Pixel{254, 254, 254}), One(vekiYCbCrToRGB_8u_C3R, {235, 128, 128}));  // 254.9, rounded down
}

TEST_P(VideoColourTest, PackedForwardFollowsTheFormOfItsColumn)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape), dst(shape), expected(shape);
        FillPixels(src, random_);
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x) {
                const Pixel p = At(src, x, y);
                const Pixel q = GetParam() > 0 && x < shape.width / 8 * 8 ? ForwardBlock(p[0], p[1], p[2]) : Forward(p[0], p[1], p[2]);
                for (int c = 0; c < 3; ++c)
                    expected.set(x, y, c, (Vek8u)q[c]);
            }
        ASSERT_EQ(StatusOk, vekiRGBToYCbCr_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        ASSERT_TRUE(expected == dst) << shape;
    });
}

TEST_P(VideoColourTest, PackedInverseStaysWithinOne)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape), dst(shape);
        FillPixels(src, random_);
        ASSERT_EQ(StatusOk, vekiYCbCrToRGB_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        ASSERT_TRUE(dst.IsSlackIntact());
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x) {
                const Pixel p = At(src, x, y);
                ExpectNear(Inverse(p[0], p[1], p[2], -1220544), At(dst, x, y), GetParam() > 0 && x < shape.width / 8 * 8 ? 1 : 0, shape);
            }
    });
}

// Every chroma pair at both ends and in the middle of luma.
TEST_P(VideoColourTest, PackedInverseOfEveryChroma)
{
    GuardedImage<Vek8u, 3> src(256, 256), dst(256, 256);
    for (const int luma : {0, 16, 126, 235, 255}) {
        for (int v = 0; v < 256; ++v)
            for (int u = 0; u < 256; ++u) {
                src.set(u, v, 0, (Vek8u)luma);
                src.set(u, v, 1, (Vek8u)u);
                src.set(u, v, 2, (Vek8u)v);
            }
        ASSERT_EQ(StatusOk, vekiYCbCrToRGB_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        for (int v = 0; v < 256; ++v)
            for (int u = 0; u < 256; ++u)
                ExpectNear(Inverse(luma, u, v, -1220544), At(dst, u, v), GetParam() > 0 ? 1 : 0, src.shape());
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
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; x += 2) {
                const Pixel a = At(src, x, y), b = At(src, std::min(x + 1, shape.width - 1), y);
                const int tolerance = GetParam() > 0 && x < shape.width / 8 * 8 ? 1 : 0;
                ASSERT_NEAR(LumaSum(a[0], a[1], a[2], 1081344), dst.at(x, y, 0), tolerance) << shape;
                if (x + 1 == shape.width) {  // the odd last pixel has no Cr
                    ASSERT_EQ(Forward(a[0], a[1], a[2])[1], dst.at(x, y, 1)) << shape;
                    continue;
                }
                ASSERT_NEAR(CbSum(a[0] + b[0], a[1] + b[1], a[2] + b[2], -16711680, 17), dst.at(x, y, 1), tolerance) << shape;
                ASSERT_NEAR(LumaSum(b[0], b[1], b[2], 1048576), dst.at(x + 1, y, 0), tolerance) << shape;
                ASSERT_NEAR(CrSum(a[0] + b[0], a[1] + b[1], a[2] + b[2], -16711680, 17), dst.at(x + 1, y, 1), tolerance) << shape;
            }
    });
}

Shape Half(Shape shape)
{
    shape.width = std::max(1, shape.width / 2);
    shape.height = std::max(1, shape.height / 2);
    shape.padding += 3;
    shape.upward = !shape.upward;
    return shape;
}

// Planes of one image, chroma of half the size, each with a step and a direction of its own.
struct Planes420 {
    explicit Planes420(const Shape& shape) : at{GuardedImage<Vek8u>(shape), GuardedImage<Vek8u>(Half(shape)), GuardedImage<Vek8u>(Half(shape))} {}
    GuardedImage<Vek8u> at[3];
    Vek8u* pointers[3] = {at[0].data(), at[1].data(), at[2].data()};
    Vek32s steps[3] = {at[0].step(), at[1].step(), at[2].step()};
};

TEST_P(VideoColourTest, QuadsShareTheirChroma)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape);
        FillPixels(src, random_);
        Planes420 planes(shape);
        const Planes420 untouched(shape);
        const VekStatus status = shape.width % 2 || shape.height % 2 ? WarnOddSize : StatusOk;
        ASSERT_EQ(status, vekiRGBToYCbCr420_8u_C3P3R(src.data(), src.step(), planes.pointers, planes.steps, src.size()));
        const Vek32s width = shape.width / 2, height = shape.height / 2;
        for (Vek32s y = 0; y < height; ++y)
            for (Vek32s x = 0; x < width; ++x) {
                const int tolerance = GetParam() > 0 && x < width / 8 * 8 ? 1 : 0;
                Pixel sum = {};
                for (int i = 0; i < 4; ++i) {
                    const Pixel p = At(src, 2 * x + i % 2, 2 * y + i / 2);
                    ASSERT_NEAR(LumaSum(p[0], p[1], p[2], 1081344), planes.at[0].at(2 * x + i % 2, 2 * y + i / 2), tolerance) << shape;
                    for (int c = 0; c < 3; ++c)
                        sum[c] += p[c];
                }
                ASSERT_NEAR(CbSum(sum[0], sum[1], sum[2], -33521664, 18), planes.at[1].at(x, y), tolerance) << shape;
                ASSERT_NEAR(CrSum(sum[0], sum[1], sum[2], -33521664, 18), planes.at[2].at(x, y), tolerance) << shape;
            }
        // What an odd size leaves over, and all beside the planes, is as it was.
        for (Vek32s y = 0; y < height * 2; ++y)
            for (Vek32s x = 0; x < width * 2; ++x)
                planes.at[0].set(x, y, 0, untouched.at[0].at(x, y));
        for (Vek32s y = 0; y < height; ++y)
            for (Vek32s x = 0; x < width; ++x)
                for (int c = 1; c < 3; ++c)
                    planes.at[c].set(x, y, 0, untouched.at[c].at(x, y));
        for (int c = 0; c < 3; ++c)
            ASSERT_TRUE(untouched.at[c] == planes.at[c]) << shape;
    });
}

TEST_P(VideoColourTest, QuadsGoBackToPixels)
{
    ForEachShape([&](const Shape& shape) {
        Planes420 planes(shape);
        for (auto& plane : planes.at)
            FillPixels(plane, random_);
        GuardedImage<Vek8u, 3> dst(shape), untouched(shape);
        const VekStatus status = shape.width % 2 || shape.height % 2 ? WarnOddSize : StatusOk;
        ASSERT_EQ(status, vekiYCbCr420ToBGR_8u_P3C3R(planes.pointers, planes.steps, dst.data(), dst.step(), dst.size()));
        for (Vek32s y = 0; y < (shape.height & ~1); ++y)
            for (Vek32s x = 0; x < (shape.width & ~1); ++x) {
                const Pixel rgb = Inverse(planes.at[0].at(x, y), planes.at[1].at(x / 2, y / 2), planes.at[2].at(x / 2, y / 2), -1187776);
                const Pixel bgr = At(dst, x, y);
                ExpectNear(rgb, {bgr[2], bgr[1], bgr[0]}, GetParam() > 0 && x / 2 < shape.width / 2 / 8 * 8 ? 1 : 0, shape);
                for (int c = 0; c < 3; ++c)
                    dst.set(x, y, c, untouched.at(x, y, c));
            }
        ASSERT_TRUE(untouched == dst) << shape;
    });
}

TEST_P(VideoColourTest, PlanesWeaveIntoPairs)
{
    ForEachShape([&](const Shape& shape) {
        if (shape.width < 2)
            return;
        Shape half = Half(shape);
        half.height = shape.height;
        GuardedImage<Vek8u> luma(shape), cb(half), cr(half);
        for (auto* const plane : {&luma, &cb, &cr})
            FillPixels(*plane, random_);
        const Vek8u* const pointers[3] = {luma.data(), cb.data(), cr.data()};
        const Vek32s steps[3] = {luma.step(), cb.step(), cr.step()};
        GuardedImage<Vek8u, 2> dst(shape), expected(shape);
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < (shape.width & ~1); ++x) {
                expected.set(x, y, 0, luma.at(x, y));
                expected.set(x, y, 1, (x & 1 ? cr : cb).at(x / 2, y));
            }
        ASSERT_EQ(StatusOk, vekiYCbCr422_8u_P3C2R(pointers, steps, dst.data(), dst.step(), dst.size()));
        ASSERT_TRUE(expected == dst) << shape;
    });
}

TEST_P(VideoColourTest, BadCallsInOrder)
{
    Vek8u in[12] = {}, out[12] = {};
    for (const auto packed : {vekiRGBToYCbCr_8u_C3R, vekiYCbCrToRGB_8u_C3R, vekiRGBToYCbCr422_8u_C3C2R}) {
        EXPECT_EQ(StatusNullPointer, packed(nullptr, 0, out, 0, {0, 0}));
        EXPECT_EQ(StatusNullPointer, packed(in, 0, nullptr, 0, {0, 0}));
        EXPECT_EQ(StatusBadSize, packed(in, 0, out, 0, {0, 1}));
        EXPECT_EQ(StatusBadSize, packed(in, 0, out, 0, {1, 0}));
    }
    Vek8u* const planes[3] = {out, out + 4, out + 8};
    const Vek32s steps[3] = {0, 0, 0};
    const auto forward = vekiRGBToYCbCr420_8u_C3P3R;
    const auto inverse = vekiYCbCr420ToBGR_8u_P3C3R;
    const auto weave = vekiYCbCr422_8u_P3C2R;
    EXPECT_EQ(StatusNullPointer, forward(nullptr, 0, planes, steps, {0, 0}));
    EXPECT_EQ(StatusNullPointer, forward(in, 0, nullptr, steps, {0, 0}));
    EXPECT_EQ(StatusNullPointer, inverse(nullptr, steps, in, 0, {0, 0}));
    EXPECT_EQ(StatusNullPointer, inverse(planes, steps, nullptr, 0, {0, 0}));
    EXPECT_EQ(StatusNullPointer, weave(nullptr, steps, in, 0, {1, 1}));
    EXPECT_EQ(StatusNullPointer, weave(planes, steps, nullptr, 0, {1, 1}));
    for (int i = 0; i < 3; ++i) {
        Vek8u* holed[3] = {planes[0], planes[1], planes[2]};
        holed[i] = nullptr;
        // The size comes before the planes, save in the rearrangement.
        EXPECT_EQ(StatusBadSize, forward(in, 0, holed, steps, {0, 2}));
        EXPECT_EQ(StatusNullPointer, forward(in, 0, holed, steps, {1, 1}));
        EXPECT_EQ(StatusBadSize, inverse(holed, steps, in, 0, {2, 0}));
        EXPECT_EQ(StatusNullPointer, inverse(holed, steps, in, 0, {1, 1}));
        EXPECT_EQ(StatusNullPointer, weave(holed, steps, in, 0, {0, 0}));
    }
    EXPECT_EQ(StatusBadSize, weave(planes, steps, in, 0, {1, 1}));
    EXPECT_EQ(StatusBadSize, weave(planes, steps, in, 0, {2, 0}));
    EXPECT_EQ(WarnOddSize, forward(in, 0, planes, steps, {1, 1}));
    EXPECT_EQ(WarnOddSize, inverse(planes, steps, in, 0, {1, 2}));
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(0, in[i] | out[i]);
}

UVEK_ON_ALL_TIERS(VideoColourTest);

}  // namespace
}  // namespace uvek::test
