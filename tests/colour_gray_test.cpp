#include "uvek/colour.h"

#include "support/checks.h"
#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class GrayTest : public TierTest {
protected:
    template <int channels, typename T, typename Convert, typename Expected>
    void Check(Convert convert, Expected expectedOf);

    std::mt19937 random_{Seed()};
};

// Weights by which sums stay below 1, pass it, wrap, saturate, and leave 16 bits in one term.
const Vek32f kWeights[][3] = {{0.299f, 0.587f, 0.114f}, {1, 0, 0}, {0.9f, 0.9f, 0.9f}, {7, 8, 9}, {-0.25f, 1, 0.25f}, {0, 0, 1.0f / 8192}, {20, 0.5f, 1e9f}};

unsigned Fixed(Vek32f c)
{
    const double v = c * 4096.0 + 0.5;
    return v < 2147483648.0 ? (unsigned)(int)v : 0x80000000u;
}

Vek8u Gray8(bool inBlock, const Vek8u* s, const Vek32f* weights)
{
    unsigned sum = 0, saturated = 0;
    for (int i = 0; i < 3; ++i) {
        sum += s[i] * Fixed(weights[i]);
        saturated = std::min(65535u, saturated + (s[i] * (Fixed(weights[i]) & 0xffff) >> 8));
    }
    return inBlock ? (Vek8u)std::min(255u, saturated >> 4) : (Vek8u)(sum >> 12);
}

Vek16u Gray16(bool, const Vek16u* s, const Vek32f* weights)
{
    const Vek32f a = s[0] * weights[0], b = s[1] * weights[1], c = s[2] * weights[2], sum = a + b + c;
    return sum < 2147483648.0f ? (Vek16u)(int)sum : (Vek16u)0;
}

template <int channels, typename T, typename Convert, typename Expected>
void GrayTest::Check(Convert convert, Expected expectedOf)
{
    ForEachShape([&](Shape shape) {
        const int odd = sizeof(T) == 2;  // an odd step of 16-bit samples counts as the even one below it
        shape.padding &= ~odd;
        GuardedImage<T, channels> src(shape);
        if (odd)
            src.Fill(std::ref(random_));
        else
            FillPixels(src, random_);
        for (const auto& weights : kWeights) {
            GuardedImage<T> dst(shape), expected(shape);
            SetEach(expected, [&](Vek32s x, Vek32s y, int) {
                const T s[3] = {src.at(x, y, 0), src.at(x, y, 1), src.at(x, y, 2)};
                return expectedOf(GetParam() > 0 && x < shape.width / 8 * 8, s, weights);
            });
            ASSERT_EQ(StatusOk, convert(src.data(), src.step() | odd, dst.data(), dst.step() | odd, src.size(), weights));
            ASSERT_TRUE(expected == dst) << shape << " weights " << weights[0];
        }
    });
}

TEST_P(GrayTest, EightBitsFollowTheFormOfTheirColumn)
{
    Check<3, Vek8u>(vekiColorToGray_8u_C3C1R, Gray8);
    Check<4, Vek8u>(vekiColorToGray_8u_AC4C1R, Gray8);
}

TEST_P(GrayTest, SixteenBitsAreSinglePrecisionAtAnyAddress)
{
    Check<3, Vek16u>(vekiColorToGray_16u_C3C1R, Gray16);
    Check<4, Vek16u>(vekiColorToGray_16u_AC4C1R, Gray16);
}

TEST_P(GrayTest, DefaultsAreLumaWeights)
{
    GuardedImage<Vek8u, 3> src(41, 3);
    FillPixels(src, random_);
    GuardedImage<Vek8u> byNull(41, 3), byName(41, 3), byWeights(41, 3);
    EXPECT_EQ(StatusOk, vekiColorToGray_8u_C3C1R(src.data(), src.step(), byNull.data(), 41, src.size(), nullptr));
    EXPECT_EQ(StatusOk, vekiRGBToGray_8u_C3C1R(src.data(), src.step(), byName.data(), 41, src.size()));
    EXPECT_EQ(StatusOk, vekiColorToGray_8u_C3C1R(src.data(), src.step(), byWeights.data(), 41, src.size(), kWeights[0]));
    EXPECT_TRUE(byNull == byName && byWeights == byName);
    // Rounded down, and green's 12-bit weight of 2404 / 4096 is up to 0.023 of a unit short; up to two units lower in blocks.
    ForEachPixel(41, 3, [&](Vek32s x, Vek32s y) {
        EXPECT_NEAR(0.299 * src.at(x, y, 0) + 0.587 * src.at(x, y, 1) + 0.114 * src.at(x, y, 2), byName.at(x, y), GetParam() == 0 ? 1.03 : 3.03);
    });
    const Vek16u colours[6] = {65535, 65535, 65535, 1000, 0, 0};
    Vek16u gray[2] = {};
    EXPECT_EQ(StatusOk, vekiColorToGray_16u_C3C1R(colours, 12, gray, 4, {2, 1}, nullptr));
    EXPECT_NEAR(65535, gray[0], 1);
    EXPECT_EQ(299, gray[1]);
}

TEST_P(GrayTest, BadCallsInOrder)
{
    const auto withNull = [](auto convert) { return [=](auto... arguments) { return convert(arguments..., nullptr); }; };
    ExpectOrder<Vek8u, Vek8u>(Then::Size, vekiRGBToGray_8u_C3C1R);
    for (const auto convert : {vekiColorToGray_8u_C3C1R, vekiColorToGray_8u_AC4C1R})
        ExpectOrder<Vek8u, Vek8u>(Then::Size, withNull(convert));
    for (const auto convert : {vekiColorToGray_16u_C3C1R, vekiColorToGray_16u_AC4C1R})
        ExpectOrder<Vek16u, Vek16u>(Then::Size, withNull(convert));
}

UVEK_ON_ALL_TIERS(GrayTest);

}  // namespace
}  // namespace uvek::test
