#include <gtest/gtest.h>

#include "support/random.h"
#include "support/tiers.h"
#include "uvek/jpeg.h"

namespace uvek::test {
namespace {

class JpegLosslessTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

using Row = GuardedVector<Vek16s>;

TEST_P(JpegLosslessTest, PredictionsAreTheStandards)
{
    const struct { int predictor; Vek16s sample, left, above, aboveLeft, expected; } cases[] = {
        {1, 1000, 10, 25, 8, 1000 - 10}, {2, 1000, 10, 25, 8, 1000 - 25}, {3, 1000, 10, 25, 8, 1000 - 8}, {4, 1000, 10, 25, 8, 1000 - 27},
        {5, 1000, 10, 25, 8, 1000 - 18}, {6, 1000, 10, 25, 8, 1000 - 26}, {7, 1000, 10, 25, 8, 1000 - 17},
        // Halves round downwards, and samples above 32767 count as negative: 65535 is -1.
        {5, 0, 0, 7, 8, 1}, {6, 0, 7, 0, 8, 1}, {7, 0, -1, 0, 99, 1}, {5, 0, 0, 32767, -32768, -32767}, {7, 0, -32768, -32768, 0, -32768},
        // Everything wraps.
        {1, 0, 1, 0, 0, -1}, {2, 32767, 0, -32768, 0, -1},
    };
    for (const auto& c : cases) {
        const Vek16s src[2] = {c.left, c.sample}, prev[2] = {c.aboveLeft, c.above};
        Vek16s dst[2] = {};
        EXPECT_EQ(StatusOk, vekiDiffPredRow_JPEG_16s_C1(src, prev, dst, 2, c.predictor));
        EXPECT_EQ((Vek16s)(c.left - c.aboveLeft), dst[0]);
        EXPECT_EQ(c.expected, dst[1]) << "predictor " << c.predictor << " of " << c.left << ' ' << c.above << ' ' << c.aboveLeft;
    }
}

TEST_P(JpegLosslessTest, FirstSampleIsPredictedByHalfTheRange)
{
    const struct { Vek32s p, pt; Vek16s prediction; } cases[] = {
        {8, 0, 128}, {8, 2, 32}, {16, 0, -32768}, {2, 0, 2}, {2, 1, 1}, {12, 3, 256},
        {8, 8, 0},      // 1 << 31 has no low bits
        {8, 39, 1},     // counts go modulo 32
    };
    for (const auto& c : cases) {
        const Vek16s src[3] = {100, 90, 95}, expected[3] = {(Vek16s)(100 - c.prediction), -10, 5};
        Vek16s dst[3], back[3];
        ASSERT_EQ(StatusOk, vekiDiffPredFirstRow_JPEG_16s_C1(src, dst, 3, c.p, c.pt));
        EXPECT_EQ(0, std::memcmp(expected, dst, sizeof dst)) << c.p << ' ' << c.pt;
        ASSERT_EQ(StatusOk, vekiReconstructPredFirstRow_JPEG_16s_C1(dst, back, 3, c.p, c.pt));
        EXPECT_EQ(0, std::memcmp(src, back, sizeof src));
    }
}

TEST_P(JpegLosslessTest, RowsComeBackAndEqualTier0OnEveryShape)
{
    ForEachShape([&](const Shape& shape) {
        const Vek32s width = shape.width;
        for (const Kind kind : {Kind::Noise, Kind::Alternating})
            for (int predictor = 0; predictor <= 7; ++predictor) {
                Row src(width, shape.flush, shape.offset % 4), above(width, shape.flush, shape.offset % 3);
                Row differences(width, shape.flush, shape.offset % 2), back(width, shape.flush, shape.offset % 4), tier0 = differences;
                FillInteger(src, kind, random_);
                FillInteger(above, Kind::Noise, random_);
                const auto subtract = [&](Row& dst) {
                    return predictor == 0 ? vekiDiffPredFirstRow_JPEG_16s_C1(src.data(), dst.data(), width, 16, 0)
                                          : vekiDiffPredRow_JPEG_16s_C1(src.data(), above.data(), dst.data(), width, predictor);
                };
                const auto add = [&](const Row& from, Row& dst) {
                    return predictor == 0 ? vekiReconstructPredFirstRow_JPEG_16s_C1(from.data(), dst.data(), width, 16, 0)
                                          : vekiReconstructPredRow_JPEG_16s_C1(from.data(), above.data(), dst.data(), width, predictor);
                };
                ASSERT_EQ(StatusOk, subtract(differences));
                OnTier(0, subtract, tier0);
                ASSERT_EQ(tier0, differences) << shape << " predictor " << predictor;
                ASSERT_EQ(StatusOk, add(differences, back));
                ASSERT_EQ(src, back) << shape << " predictor " << predictor;
                ASSERT_EQ(StatusOk, add(differences, differences));  // in place
                ASSERT_EQ(0, std::memcmp(src.data(), differences.data(), (size_t)width * 2)) << shape << " predictor " << predictor << " in place";
                ASSERT_TRUE(differences.IsSlackIntact());
            }
    });
}

TEST_P(JpegLosslessTest, OverlappingRowsGoFromLeftToRight)
{
    for (int predictor = 1; predictor <= 7; ++predictor)
        for (int shift = -20; shift <= 20; ++shift)
            for (const bool overAbove : {false, true}) {
                std::vector<Vek16s> first(200);
                for (Vek16s& v : first)
                    v = (Vek16s)random_();
                const auto run = [&](auto call) {
                    std::vector<Vek16s> m = first;
                    Vek16s* const dst = m.data() + 50 + shift;
                    EXPECT_EQ(StatusOk, call(m.data() + (overAbove ? 130 : 50), m.data() + (overAbove ? 50 : 130), dst, 60, predictor));
                    return m;
                };
                for (const auto call : {vekiDiffPredRow_JPEG_16s_C1, vekiReconstructPredRow_JPEG_16s_C1})
                    ASSERT_EQ(OnTier(0, run, call), run(call)) << predictor << ' ' << shift;
            }
    // The loop reads what it has written: differences of differences, by hand.
    Vek16s row[4] = {5, 7, 7, 1};
    const Vek16s expected[4] = {4, 3, 4, -3};
    ASSERT_EQ(StatusOk, vekiDiffPredFirstRow_JPEG_16s_C1(row, row, 4, 2, 1));
    EXPECT_EQ(0, std::memcmp(expected, row, sizeof row));
}

TEST_P(JpegLosslessTest, ChecksComeInTheirOrder)
{
    Vek16s a[2] = {1, 2}, b[2] = {3, 4}, c[2] = {5, 6};
    for (const auto row : {vekiDiffPredRow_JPEG_16s_C1, vekiReconstructPredRow_JPEG_16s_C1}) {
        EXPECT_EQ(StatusNullPointer, row(nullptr, b, c, 0, 0));
        EXPECT_EQ(StatusNullPointer, row(a, nullptr, c, 0, 0));
        EXPECT_EQ(StatusNullPointer, row(a, b, nullptr, 0, 0));
        EXPECT_EQ(StatusBadSize, row(a, b, c, 0, 0));
        for (const Vek32s predictor : {0, 8})
            EXPECT_EQ(StatusBadRange, row(a, b, c, 2, predictor));
    }
    for (const auto first : {vekiDiffPredFirstRow_JPEG_16s_C1, vekiReconstructPredFirstRow_JPEG_16s_C1}) {
        EXPECT_EQ(StatusNullPointer, first(nullptr, c, 0, 0, -1));
        EXPECT_EQ(StatusNullPointer, first(a, nullptr, 0, 0, -1));
        EXPECT_EQ(StatusBadSize, first(a, c, 0, 1, -1));
        for (const auto& [p, pt] : {std::pair{1, 0}, {17, 0}, {8, -1}})
            EXPECT_EQ(StatusBadRange, first(a, c, 2, p, pt));
    }
    EXPECT_EQ(5, c[0]);
}

UVEK_ON_ALL_TIERS(JpegLosslessTest);

}  // namespace
}  // namespace uvek::test
