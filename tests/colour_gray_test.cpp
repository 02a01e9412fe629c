#include "uvek/colour.h"

#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class GrayTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

// Weights by which sums stay below 1, pass it, wrap, saturate, and leave 16 bits in one term.
const Vek32f kWeights[][3] = {{0.299f, 0.587f, 0.114f}, {1, 0, 0}, {0.9f, 0.9f, 0.9f}, {7, 8, 9}, {-0.25f, 1, 0.25f}, {0, 0, 1.0f / 8192}, {20, 0.5f, 1e9f}};

unsigned Fixed(Vek32f c)
{
    const double v = c * 4096.0 + 0.5;
    return v < 2147483648.0 ? (unsigned)(int)v : 0x80000000u;
}

Vek8u ExpectedGray(int tier, bool inBlock, const unsigned* s, const unsigned* k)
{
    if (tier == 0 || !inBlock)
        return (Vek8u)((s[0] * k[0] + s[1] * k[1] + s[2] * k[2]) >> 12);
    unsigned sum = 0;
    for (int i = 0; i < 3; ++i)
        sum = std::min(65535u, sum + (s[i] * (k[i] & 0xffff) >> 8));
    return (Vek8u)std::min(255u, sum >> 4);
}

template <int channels, typename Convert>
void CheckGray8(int tier, std::mt19937& random, Convert convert)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, channels> src(shape);
        FillPixels(src, random);
        for (const auto& weights : kWeights) {
            const unsigned k[3] = {Fixed(weights[0]), Fixed(weights[1]), Fixed(weights[2])};
            GuardedImage<Vek8u> dst(shape), expected(shape);
            ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
                const unsigned s[3] = {src.at(x, y, 0), src.at(x, y, 1), src.at(x, y, 2)};
                expected.set(x, y, 0, ExpectedGray(tier, x < shape.width / 8 * 8, s, k));
            });
            ASSERT_EQ(StatusOk, convert(src.data(), src.step(), dst.data(), dst.step(), src.size(), weights));
            ASSERT_TRUE(expected == dst) << shape << " weights " << weights[0];
        }
    });
}

TEST_P(GrayTest, EightBitsFollowTheFormOfTheirColumn)
{
    CheckGray8<3>(GetParam(), random_, vekiColorToGray_8u_C3C1R);
    CheckGray8<4>(GetParam(), random_, vekiColorToGray_8u_AC4C1R);
}

TEST_P(GrayTest, DefaultsAreLumaWeights)
{
    GuardedImage<Vek8u, 3> src(41, 3);
    src.Fill([&] { return random_(); });
    src.set(7, 0, 0, 255);
    src.set(7, 0, 1, 255);
    src.set(7, 0, 2, 255);
    GuardedImage<Vek8u> byNull(41, 3), byName(41, 3), byWeights(41, 3);
    EXPECT_EQ(StatusOk, vekiColorToGray_8u_C3C1R(src.data(), src.step(), byNull.data(), 41, src.size(), nullptr));
    EXPECT_EQ(StatusOk, vekiRGBToGray_8u_C3C1R(src.data(), src.step(), byName.data(), 41, src.size()));
    EXPECT_EQ(StatusOk, vekiColorToGray_8u_C3C1R(src.data(), src.step(), byWeights.data(), 41, src.size(), kWeights[0]));
    EXPECT_TRUE(byNull == byName);
    EXPECT_TRUE(byWeights == byName);
    EXPECT_EQ(GetParam() == 0 ? 255 : 254, byName.at(7, 0));  // 1220 + 2394 + 465 is short of 4080
    // Rounded down, and green's 12-bit weight of 2404 / 4096 is up to 0.023 of a unit short; up to two units lower in blocks.
    ForEachPixel(41, 3, [&](Vek32s x, Vek32s y) {
        EXPECT_NEAR(0.299 * src.at(x, y, 0) + 0.587 * src.at(x, y, 1) + 0.114 * src.at(x, y, 2), byName.at(x, y), GetParam() == 0 ? 1.03 : 3.03);
    });

    const Vek16u white[3] = {65535, 65535, 65535}, red[3] = {1000, 0, 0};
    Vek16u gray = 0;
    EXPECT_EQ(StatusOk, vekiColorToGray_16u_C3C1R(red, 6, &gray, 2, {1, 1}, nullptr));
    EXPECT_EQ(299, gray);
    EXPECT_EQ(StatusOk, vekiColorToGray_16u_C3C1R(white, 6, &gray, 2, {1, 1}, nullptr));
    EXPECT_NEAR(65535, gray, 1);
}

template <int channels, typename Convert>
void CheckGray16(std::mt19937& random, Convert convert)
{
    ForEachShape([&](Shape shape) {
        shape.padding &= ~1;
        GuardedImage<Vek16u, channels> src(shape);
        src.Fill(std::ref(random));
        for (const auto& weights : kWeights) {
            GuardedImage<Vek16u> dst(shape), expected(shape);
            ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
                const Vek32f a = src.at(x, y, 0) * weights[0], b = src.at(x, y, 1) * weights[1], c = src.at(x, y, 2) * weights[2];
                const Vek32f sum = a + b + c;
                expected.set(x, y, 0, sum < 2147483648.0f ? (Vek16u)(int)sum : (Vek16u)0);
            });
            // An odd step counts as the even one below it.
            ASSERT_EQ(StatusOk, convert(src.data(), src.step() | 1, dst.data(), dst.step() | 1, src.size(), weights));
            ASSERT_TRUE(expected == dst) << shape << " weights " << weights[0];
        }
    });
}

TEST_P(GrayTest, SixteenBitsAreSinglePrecisionAtAnyAddress)
{
    CheckGray16<3>(random_, vekiColorToGray_16u_C3C1R);
    CheckGray16<4>(random_, vekiColorToGray_16u_AC4C1R);
}

template <typename T, typename Convert>
void CheckBadCalls(Convert convert)
{
    T src[4] = {1, 2, 3, 4}, dst[1] = {9};
    EXPECT_EQ(StatusNullPointer, convert((const T*)nullptr, 0, dst, 0, VekImageSize{0, 0}));
    EXPECT_EQ(StatusNullPointer, convert(src, 0, (T*)nullptr, 0, VekImageSize{0, 0}));
    EXPECT_EQ(StatusBadSize, convert(src, 0, dst, 0, VekImageSize{0, 1}));
    EXPECT_EQ(StatusBadSize, convert(src, 0, dst, 0, VekImageSize{1, -1}));
    EXPECT_EQ(9, dst[0]);
    EXPECT_EQ(StatusOk, convert(src, 0, dst, 0, VekImageSize{1, 1}));  // steps are not tested
}

TEST_P(GrayTest, BadCallsInOrder)
{
    const auto withNull = [](auto convert) { return [=](auto... arguments) { return convert(arguments..., nullptr); }; };
    CheckBadCalls<Vek8u>(withNull(vekiColorToGray_8u_C3C1R));
    CheckBadCalls<Vek8u>(withNull(vekiColorToGray_8u_AC4C1R));
    CheckBadCalls<Vek16u>(withNull(vekiColorToGray_16u_C3C1R));
    CheckBadCalls<Vek16u>(withNull(vekiColorToGray_16u_AC4C1R));
    CheckBadCalls<Vek8u>(vekiRGBToGray_8u_C3C1R);
}

UVEK_ON_ALL_TIERS(GrayTest);

}  // namespace
}  // namespace uvek::test
