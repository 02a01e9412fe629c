#include "uvek/colour.h"

#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class HsvTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

// One colour in every column of a row of 19: blocks and leftovers give it alike.
Pixel Converted(Pixel rgb)
{
    GuardedImage<Vek8u, 3> image(19, 1);
    int i = 0;
    image.Fill([&] { return rgb[i++ % 3]; });
    EXPECT_EQ(StatusOk, vekiRGBToHSV_8u_C3R(image.data(), 57, image.data(), 57, image.size()));
    const Pixel first = At(image, 0, 0);
    for (int x = 1; x < 19; ++x)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(first[c], image.at(x, 0, c), c < 2 ? 1 : 0);
    return first;
}

TEST_P(HsvTest, ColoursByHand)
{
    EXPECT_EQ((Pixel{0, 0, 0}), Converted({0, 0, 0}));
    EXPECT_EQ((Pixel{0, 0, 100}), Converted({100, 100, 100}));
    EXPECT_EQ((Pixel{0, 255, 255}), Converted({255, 0, 0}));
    EXPECT_EQ((Pixel{85, 255, 255}), Converted({0, 255, 0}));
    EXPECT_EQ((Pixel{170, 255, 255}), Converted({0, 0, 255}));
    EXPECT_EQ((Pixel{254, 255, 200}), Converted({200, 0, 5}));  // just below red: 255 - 42.5 / 40 = 253.9
    // Of two equal channels blue decides before green, green before red: 127.5, 212.5 and 42.5.
    EXPECT_NEAR(127.5, Converted({0, 255, 255})[0], 0.5);
    EXPECT_NEAR(212.5, Converted({255, 0, 255})[0], 0.5);
    EXPECT_NEAR(42.5, Converted({255, 255, 0})[0], 0.5);
}

// The hexagon's formula in double, and saturation; to within what the reciprocals leave.
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
    Vek8u src[3] = {1, 2, 3}, dst[3] = {7, 8, 9};
    EXPECT_EQ(StatusNullPointer, vekiRGBToHSV_8u_C3R(nullptr, 0, dst, 0, {0, 0}));
    EXPECT_EQ(StatusNullPointer, vekiRGBToHSV_8u_C3R(src, 0, nullptr, 0, {0, 0}));
    EXPECT_EQ(StatusBadSize, vekiRGBToHSV_8u_C3R(src, 0, dst, 0, {0, 1}));
    EXPECT_EQ(StatusBadSize, vekiRGBToHSV_8u_C3R(src, 0, dst, 0, {1, 0}));
    EXPECT_EQ(7, dst[0]);
    EXPECT_EQ(StatusOk, vekiRGBToHSV_8u_C3R(src, 0, dst, 0, {1, 1}));
}

UVEK_ON_ALL_TIERS(HsvTest);

}  // namespace
}  // namespace uvek::test
