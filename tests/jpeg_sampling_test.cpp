#include "uvek/jpeg.h"

#include "support/pixels.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class JpegSamplingTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

TEST_P(JpegSamplingTest, FiltersHoldOnEveryShape)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        Shape wide = shape;
        wide.width *= 2;
        wide.height *= 2;
        for (const Kind kind : kAllKinds) {
            // The source's stated size does not shorten the work.
            GuardedImage<Vek8u> src(wide), one(shape), four(shape), expectedOne(shape), expectedFour(shape);
            FillInteger(src, kind, random_);
            ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
                expectedOne.set(x, y, 0, (Vek8u)((src.at(2 * x, y) + src.at(2 * x + 1, y) + 1) / 2));
                const int sum = src.at(2 * x, 2 * y) + src.at(2 * x + 1, 2 * y) + src.at(2 * x, 2 * y + 1) + src.at(2 * x + 1, 2 * y + 1);
                expectedFour.set(x, y, 0, (Vek8u)((sum + 3) / 4));  // a quarter rounds up
            });
            ASSERT_EQ(StatusOk, vekiSampleDownH2V1_JPEG_8u_C1R(src.data(), src.step(), {1, 1}, one.data(), one.step(), one.size()));
            ASSERT_EQ(StatusOk, vekiSampleDownH2V2_JPEG_8u_C1R(src.data(), src.step(), {1, 1}, four.data(), four.step(), four.size()));
            ASSERT_TRUE(expectedOne == one && expectedFour == four) << shape;

            const Vek32s n = shape.width;
            GuardedVector<Vek8u> near(n, shape.flush, shape.offset), far(n, shape.flush, 0);
            FillInteger(near, kind, random_);
            FillInteger(far, kind == Kind::Alternating ? Kind::High : kind, random_);
            const auto row = [&] { return GuardedVector<Vek8u>(2 * n, shape.flush, shape.offset / 2); };
            auto doubled = row(), both = row(), expectedDoubled = row(), expectedBoth = row();
            for (Vek32s i = 0; i < 2 * n; ++i) {
                const bool right = i & 1;
                const Vek32s s = i / 2, t = std::min(n - 1, std::max(0, right ? s + 1 : s - 1));  // the end stands for what is past it
                expectedDoubled.set(i, 0, 0, (Vek8u)((3 * near[s] + near[t] + (right ? 2 : 1)) / 4));
                expectedBoth.set(i, 0, 0, (Vek8u)((9 * near[s] + 3 * far[s] + 3 * near[t] + far[t] + (right ? 7 : 8)) / 16));
            }
            ASSERT_EQ(StatusOk, vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(near.data(), n, doubled.data()));
            ASSERT_EQ(StatusOk, vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(near.data(), far.data(), n, both.data()));
            ASSERT_TRUE(expectedDoubled == doubled && expectedBoth == both) << n;
        }
    });
}

TEST_P(JpegSamplingTest, BadCallsInOrder)
{
    const Vek8u src[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    Vek8u dst[4] = {9, 9, 9, 9};
    const VekImageSize good = {2, 1}, flat = {1, 0}, thin = {0, 1};
    for (const auto down : {vekiSampleDownH2V1_JPEG_8u_C1R, vekiSampleDownH2V2_JPEG_8u_C1R}) {
        EXPECT_EQ(StatusNullPointer, down(nullptr, 0, thin, dst, 0, good));
        EXPECT_EQ(StatusBadStep, down(src, 0, thin, dst, 2, good));
        EXPECT_EQ(StatusBadSize, down(src, 4, thin, nullptr, 2, good));
        EXPECT_EQ(StatusBadSize, down(src, 4, flat, nullptr, 2, good));
        EXPECT_EQ(StatusNullPointer, down(src, 4, good, nullptr, 0, good));
        EXPECT_EQ(StatusBadStep, down(src, 4, good, dst, -2, thin));
        EXPECT_EQ(StatusBadSize, down(src, 4, good, dst, 2, thin));
        EXPECT_EQ(StatusBadSize, down(src, 4, good, dst, 2, flat));
    }
    const auto one = vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1;
    const auto both = vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1;
    for (const VekStatus status : {one(nullptr, 0, dst), one(src, 0, nullptr), both(nullptr, src, 0, dst), both(src, nullptr, 0, dst), both(src, src, 0, nullptr)})
        EXPECT_EQ(StatusNullPointer, status);
    for (const VekStatus status : {one(src, 0, dst), both(src, src, -1, dst)})
        EXPECT_EQ(StatusBadSize, status);
    EXPECT_EQ(4, std::count(dst, dst + 4, 9));
}

UVEK_ON_ALL_TIERS(JpegSamplingTest);

}  // namespace
}  // namespace uvek::test
