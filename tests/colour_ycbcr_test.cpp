#include "uvek/colour.h"

#include <cmath>

#include "support/checks.h"
#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class VideoColourTest : public TierTest {
protected:
    // What columns of whole blocks of 8 may differ by from tier 0's formula.
    int Tolerance(Vek32s x, Vek32s width) const { return GetParam() > 0 && x < width / 8 * 8 ? 1 : 0; }

    void CheckPacked(const GuardedImage<Vek8u, 3>& src);

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

// A sample that is within the tolerance of what it should be is as good.
Vek8u Near(int expected, int found, int tolerance)
{
    return (Vek8u)(std::abs(expected - found) <= tolerance ? found : expected);
}

// ITU-R BT.601 in double, of which the forms keep the floor.
void ExpectDefined(const Pixel& in, const Pixel& forward, const Pixel& inverse)
{
    const double luma = 0.299 * in[0] + 0.587 * in[1] + 0.114 * in[2];
    const double there[3] = {16 + luma * 219 / 255, 128 + (in[2] - luma) / 1.772 * 224 / 255, 128 + (in[0] - luma) / 1.402 * 224 / 255};
    const double y = (in[0] - 16) * 255 / 219.0, blue = (in[1] - 128) * 1.772 * 255 / 224, red = (in[2] - 128) * 1.402 * 255 / 224;
    const double back[3] = {y + red, y - (0.114 * blue + 0.299 * red) / 0.587, y + blue};
    for (int c = 0; c < 3; ++c) {
        ASSERT_LE(std::abs(there[c] - forward[c]), 1.2);
        ASSERT_LE(std::abs(std::min(255.0, std::max(0.0, back[c])) - inverse[c]), 1.2);
    }
}

void VideoColourTest::CheckPacked(const GuardedImage<Vek8u, 3>& src)
{
    GuardedImage<Vek8u, 3> ycbcr(src.shape()), rgb(src.shape()), expectedYcbcr(src.shape()), expectedRgb(src.shape());
    ASSERT_EQ(StatusOk, vekiRGBToYCbCr_8u_C3R(src.data(), src.step(), ycbcr.data(), ycbcr.step(), src.size()));
    ASSERT_EQ(StatusOk, vekiYCbCrToRGB_8u_C3R(src.data(), src.step(), rgb.data(), rgb.step(), src.size()));
    ForEachPixel(src.width(), src.height(), [&](Vek32s x, Vek32s y) {
        const int tolerance = Tolerance(x, src.width());
        const Pixel p = At(src, x, y), inverse = Inverse(p, -1220544);
        const Pixel forward = tolerance ? ForwardBlock(p) : Pixel{LumaOf(p), CbOf(p), CrOf(p)};
        ExpectDefined(p, forward, inverse);
        for (int c = 0; c < 3; ++c) {
            expectedYcbcr.set(x, y, c, (Vek8u)forward[c]);
            expectedRgb.set(x, y, c, Near(inverse[c], rgb.at(x, y, c), tolerance));
        }
    });
    ASSERT_TRUE(expectedYcbcr == ycbcr && expectedRgb == rgb) << src;
}

TEST_P(VideoColourTest, PackedConversionsFollowTheirForms)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape);
        FillPixels(src, random_);
        CheckPacked(src);
    });
    // Every chroma pair at both ends and in the middle of luma.
    GuardedImage<Vek8u, 3> src(256, 256);
    for (const int luma : {0, 16, 126, 235, 255}) {
        int i = 0;
        src.Fill([&] { const int c = i % 3, pixel = i++ / 3; return c == 0 ? luma : c == 1 ? pixel & 255 : pixel >> 8; });
        CheckPacked(src);
    }
}

TEST_P(VideoColourTest, PairsShareTheirChroma)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape);
        FillPixels(src, random_);
        GuardedImage<Vek8u, 2> dst(shape), expected(shape);
        ASSERT_EQ(StatusOk, vekiRGBToYCbCr422_8u_C3C2R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
            // The second luma has a rounding of its own; the odd last pixel has no Cr.
            const bool second = x & 1, alone = !second && x + 1 == shape.width;
            const Pixel p = At(src, x, y), sum = alone ? p : p + At(src, x ^ 1, y);
            const int chroma = alone ? CbOf(p) : second ? CrOf(sum, -16711680, 17) : CbOf(sum, -16711680, 17), tolerance = Tolerance(x, shape.width);
            expected.set(x, y, 0, Near(second ? LumaOf(p, 1048576) : LumaOf(p), dst.at(x, y, 0), tolerance));
            expected.set(x, y, 1, Near(chroma, dst.at(x, y, 1), tolerance));
        });
        ASSERT_TRUE(expected == dst) << shape;
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
        GuardedImage<Vek8u, 3> src(shape), back(shape), expectedBack(shape);
        FillPixels(src, random_);
        Planes planes(shape, Half(shape)), expected(shape, Half(shape)), noise(shape, Half(shape));
        for (auto& plane : noise.at)
            FillPixels(plane, random_);
        const VekStatus status = shape.width % 2 || shape.height % 2 ? WarnOddSize : StatusOk;
        ASSERT_EQ(status, vekiRGBToYCbCr420_8u_C3P3R(src.data(), src.step(), planes.pointers, planes.steps, src.size()));
        ASSERT_EQ(status, vekiYCbCr420ToBGR_8u_P3C3R(noise.pointers, noise.steps, back.data(), back.step(), back.size()));
        ForEachPixel(shape.width / 2, shape.height / 2, [&](Vek32s x, Vek32s y) {  // an odd last row and column stay as they are
            const int tolerance = Tolerance(x, shape.width / 2);
            Pixel sum = {};
            for (int i = 0; i < 4; ++i) {
                const Vek32s px = 2 * x + i % 2, py = 2 * y + i / 2;
                const Pixel p = At(src, px, py), rgb = Inverse({noise.at[0].at(px, py), noise.at[1].at(x, y), noise.at[2].at(x, y)}, -1187776);
                sum = sum + p;
                expected.at[0].set(px, py, 0, Near(LumaOf(p), planes.at[0].at(px, py), tolerance));
                for (int c = 0; c < 3; ++c)
                    expectedBack.set(px, py, c, Near(rgb[2 - c], back.at(px, py, c), tolerance));
            }
            expected.at[1].set(x, y, 0, Near(CbOf(sum, -33521664, 18), planes.at[1].at(x, y), tolerance));
            expected.at[2].set(x, y, 0, Near(CrOf(sum, -33521664, 18), planes.at[2].at(x, y), tolerance));
        });
        ASSERT_TRUE(expected == planes && expectedBack == back) << shape;
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
    for (const auto packed : {vekiRGBToYCbCr_8u_C3R, vekiYCbCrToRGB_8u_C3R, vekiRGBToYCbCr422_8u_C3C2R})
        ExpectOrder<Vek8u, Vek8u>(Then::Size, packed);
    const Vek32s steps[3] = {0, 0, 0};
    // The size comes before the planes, save in the rearrangement.
    const auto check = [&](auto call, bool planesFirst, VekStatus smallest) {
        ExpectOrder<Vek8u, Vek8u>(Then::Size, [=](Vek8u* p, Vek32s, Vek8u* q, Vek32s, VekImageSize size) {
            Vek8u* const planes[3] = {q, q, q};
            return call(p, q ? planes : nullptr, size);
        });
        Vek8u in[4] = {}, out[4] = {};
        ExpectPlanesAreLookedAt<Vek8u>(3, out, [&](Vek8u** planes) { return call(in, planes, VekImageSize{1, 1}); });
        ExpectPlanesAreLookedAt<Vek8u>(planesFirst ? 3 : 0, out, [&](Vek8u** planes) { return call(in, planes, VekImageSize{0, 1}); });
        Vek8u* const planes[3] = {out, out, out};
        EXPECT_EQ(smallest, call(in, planes, VekImageSize{1, 1}));
    };
    check([&](Vek8u* p, Vek8u* const* q, VekImageSize size) { return vekiRGBToYCbCr420_8u_C3P3R(p, 0, q, steps, size); }, false, WarnOddSize);
    check([&](Vek8u* p, Vek8u* const* q, VekImageSize size) { return vekiYCbCr420ToBGR_8u_P3C3R(q, steps, p, 0, size); }, false, WarnOddSize);
    check([&](Vek8u* p, Vek8u* const* q, VekImageSize size) { return vekiYCbCr422_8u_P3C2R(q, steps, p, 0, size); }, true, StatusBadSize);
}

UVEK_ON_ALL_TIERS(VideoColourTest);

}  // namespace
}  // namespace uvek::test
