#include "uvek/colour.h"

#include "support/checks.h"
#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class HsvTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

TEST_P(HsvTest, ColoursByHand)
{
    const struct { Pixel rgb, hsv; } cases[] = {
        {{0, 0, 0}, {0, 0, 0}}, {{100, 100, 100}, {0, 0, 100}}, {{255, 0, 0}, {0, 255, 255}}, {{0, 255, 0}, {85, 255, 255}},
        {{0, 0, 255}, {170, 255, 255}}, {{200, 0, 5}, {254, 255, 200}},  // just below red: 255 - 42.5 / 40 = 253.9
    };
    for (const auto& c : cases) {
        GuardedImage<Vek8u, 3> image(19, 1);  // blocks and leftovers give a colour alike
        int i = 0;
        image.Fill([&] { return c.rgb[i++ % 3]; });
        EXPECT_EQ(StatusOk, vekiRGBToHSV_8u_C3R(image.data(), 57, image.data(), 57, image.size()));
        EXPECT_EQ(c.hsv, At(image, 0, 0));
        for (int x = 1; x < 19; ++x)
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(c.hsv[k], image.at(x, 0, k), k < 2 ? 1 : 0);
    }
}

// The hexagon's formula in double, and saturation; to within what the reciprocals leave. Of two equal channels
// blue decides before green, green before red.
TEST_P(HsvTest, IsTheHexagonOnEveryShape)
{
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek8u, 3> src(shape), dst(shape);
        FillPixels(src, random_);
        ASSERT_EQ(StatusOk, vekiRGBToHSV_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        GuardedImage<Vek8u, 3> inPlace(src);
        ASSERT_EQ(StatusOk, vekiRGBToHSV_8u_C3R(inPlace.data(), src.step(), inPlace.data(), src.step(), src.size()));
        ASSERT_TRUE(inPlace == dst) << shape;
        ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
            const double r = src.at(x, y, 0), g = src.at(x, y, 1), b = src.at(x, y, 2);
            const double max = std::max(r, std::max(g, b)), delta = max - std::min(r, std::min(g, b));
            double hue = 0;
            if (delta > 0)
                hue = b == max ? 4 + (r - g) / delta : g == max ? 2 + (b - r) / delta : (g - b) / delta;
            ASSERT_NEAR((hue < 0 ? hue + 6 : hue) * 42.5, dst.at(x, y, 0), 0.6);
            ASSERT_NEAR(max > 0 ? delta / max * 255 : 0, dst.at(x, y, 1), 0.6);
            ASSERT_EQ(max, dst.at(x, y, 2));
        });
    });
}

TEST_P(HsvTest, BadCallsInOrder)
{
    ExpectOrder<Vek8u, Vek8u>(Then::Size, vekiRGBToHSV_8u_C3R);
}

UVEK_ON_ALL_TIERS(HsvTest);

}  // namespace
}  // namespace uvek::test
