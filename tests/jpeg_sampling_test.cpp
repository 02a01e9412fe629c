#include "uvek/jpeg.h"

#include <vector>

#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class JpegSamplingTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

std::vector<Vek8u> Doubled(const std::vector<Vek8u>& row)
{
    std::vector<Vek8u> out(row.size() * 2);
    EXPECT_EQ(StatusOk, vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(row.data(), (Vek32s)row.size(), out.data()));
    return out;
}

std::vector<Vek8u> DoubledBoth(const std::vector<Vek8u>& near, const std::vector<Vek8u>& far)
{
    std::vector<Vek8u> out(near.size() * 2);
    EXPECT_EQ(StatusOk, vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(near.data(), far.data(), (Vek32s)near.size(), out.data()));
    return out;
}

using Bytes = std::vector<Vek8u>;

TEST_P(JpegSamplingTest, RoundingByHand)
{
    EXPECT_EQ((Bytes{10, 13, 17, 20}), Doubled({10, 20}));          // 12.5 on the right rounds up, 17.5 on the left down
    EXPECT_EQ((Bytes{0, 1, 2, 4, 4, 5}), Doubled({0, 3, 5}));       // 0.75 2.25 3.5 4.5
    EXPECT_EQ((Bytes{7, 7}), Doubled({7}));
    EXPECT_EQ((Bytes{1, 1}), DoubledBoth({1}, {0}));                // 12/16, and 8 or 7 more
    EXPECT_EQ((Bytes{1, 0}), DoubledBoth({0}, {2}));                // 8/16 rounds up on the left alone
    // Sums 31, 60: (124 + 8) / 16, (153 + 7) / 16, (211 + 8) / 16, (240 + 7) / 16.
    EXPECT_EQ((Bytes{8, 10, 13, 15}), DoubledBoth({10, 20}, {1, 0}));
    for (int v = 0; v < 256; ++v) {
        const Bytes flat(40, (Vek8u)v), expected(80, (Vek8u)v);
        ASSERT_EQ(expected, Doubled(flat));
        ASSERT_EQ(expected, DoubledBoth(flat, flat));
    }

    const Vek8u src[2][4] = {{1, 0, 1, 2}, {0, 0, 0, 0}};
    Vek8u dst[2] = {};
    ASSERT_EQ(StatusOk, vekiSampleDownH2V2_JPEG_8u_C1R(src[0], 4, {1, 1}, dst, 2, {2, 1}));
    EXPECT_EQ(1, dst[0]);  // a quarter rounds up
    EXPECT_EQ(1, dst[1]);
    ASSERT_EQ(StatusOk, vekiSampleDownH2V1_JPEG_8u_C1R(src[0], 4, {1, 1}, dst, 2, {2, 1}));
    EXPECT_EQ(1, dst[0]);  // a half rounds up
    EXPECT_EQ(2, dst[1]);
}

// Against the filters written on real numbers, in guarded memory, on every shape.
TEST_P(JpegSamplingTest, HalvingIsARoundedAverageOnEveryShape)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        Shape wide = shape;
        wide.width *= 2;
        wide.height *= 2;
        for (const Kind kind : kAllKinds) {
            GuardedImage<Vek8u> src(wide), one(shape), four(shape);
            FillInteger(src, kind, random_);
            GuardedImage<Vek8u> expectedOne(shape), expectedFour(shape);
            for (Vek32s y = 0; y < shape.height; ++y)
                for (Vek32s x = 0; x < shape.width; ++x) {
                    const int upper = src.at(2 * x, y) + src.at(2 * x + 1, y);
                    expectedOne.set(x, y, 0, (Vek8u)((upper + 1) / 2));
                    int sum = 3;
                    for (int i = 0; i < 4; ++i)
                        sum += src.at(2 * x + i % 2, 2 * y + i / 2);
                    expectedFour.set(x, y, 0, (Vek8u)(sum / 4));
                }
            ASSERT_EQ(StatusOk, vekiSampleDownH2V1_JPEG_8u_C1R(src.data(), src.step(), {1, 1}, one.data(), one.step(), one.size()));
            ASSERT_EQ(StatusOk, vekiSampleDownH2V2_JPEG_8u_C1R(src.data(), src.step(), {1, 1}, four.data(), four.step(), four.size()));
            ASSERT_TRUE(expectedOne == one) << one;
            ASSERT_TRUE(expectedFour == four) << four;
        }
    });
}

TEST_P(JpegSamplingTest, DoublingIsATriangleOnEveryWidth)
{
    ForEachShape([&](const Shape& shape) {
        for (const Kind kind : kAllKinds) {
            const Vek32s n = shape.width;
            GuardedVector<Vek8u> near(n, shape.flush, shape.offset), far(n, shape.flush, 0);
            FillInteger(near, kind, random_);
            FillInteger(far, kind == Kind::Alternating ? Kind::High : kind, random_);
            GuardedVector<Vek8u> one(2 * n, shape.flush, shape.offset / 2), both(2 * n, shape.flush, shape.offset / 2);
            GuardedVector<Vek8u> expectedOne(2 * n, shape.flush, shape.offset / 2), expectedBoth(2 * n, shape.flush, shape.offset / 2);
            for (Vek32s i = 0; i < 2 * n; ++i) {
                const bool right = i & 1;
                const Vek32s s = i / 2, t = std::min(n - 1, std::max(0, right ? s + 1 : s - 1));  // the end stands for what is past it
                expectedOne.set(i, 0, 0, (Vek8u)((3 * near[s] + near[t] + (right ? 2 : 1)) / 4));
                expectedBoth.set(i, 0, 0, (Vek8u)((9 * near[s] + 3 * far[s] + 3 * near[t] + far[t] + (right ? 7 : 8)) / 16));
            }
            ASSERT_EQ(StatusOk, vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(near.data(), n, one.data()));
            ASSERT_EQ(StatusOk, vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(near.data(), far.data(), n, both.data()));
            ASSERT_TRUE(expectedOne == one) << one;
            ASSERT_TRUE(expectedBoth == both) << both;
        }
    });
}

TEST_P(JpegSamplingTest, BadCallsInOrder)
{
    Vek8u src[8] = {1, 2, 3, 4, 5, 6, 7, 8}, dst[4] = {9, 9, 9, 9};
    const VekImageSize good = {2, 1};
    for (const auto down : {vekiSampleDownH2V1_JPEG_8u_C1R, vekiSampleDownH2V2_JPEG_8u_C1R}) {
        EXPECT_EQ(StatusNullPointer, down(nullptr, 0, {0, 0}, dst, 0, good));
        EXPECT_EQ(StatusBadStep, down(src, 0, {0, 1}, dst, 2, good));
        EXPECT_EQ(StatusBadSize, down(src, 4, {0, 1}, nullptr, 2, good));
        EXPECT_EQ(StatusBadSize, down(src, 4, {1, 0}, nullptr, 2, good));
        EXPECT_EQ(StatusNullPointer, down(src, 4, good, nullptr, 0, good));
        EXPECT_EQ(StatusBadStep, down(src, 4, good, dst, -2, {0, 1}));
        EXPECT_EQ(StatusBadSize, down(src, 4, good, dst, 2, {0, 1}));
        EXPECT_EQ(StatusBadSize, down(src, 4, good, dst, 2, {1, 0}));
    }
    EXPECT_EQ(StatusNullPointer, vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(nullptr, 0, dst));
    EXPECT_EQ(StatusNullPointer, vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(src, 0, nullptr));
    EXPECT_EQ(StatusBadSize, vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(src, 0, dst));
    EXPECT_EQ(StatusNullPointer, vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(nullptr, src, 0, dst));
    EXPECT_EQ(StatusNullPointer, vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(src, nullptr, 0, dst));
    EXPECT_EQ(StatusNullPointer, vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(src, src, 0, nullptr));
    EXPECT_EQ(StatusBadSize, vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(src, src, -1, dst));
    EXPECT_EQ(Bytes(4, 9), Bytes(dst, dst + 4));
}

UVEK_ON_ALL_TIERS(JpegSamplingTest);

}  // namespace
}  // namespace uvek::test
