#include <gtest/gtest.h>

#include "support/random.h"
#include "support/tiers.h"
#include "uvek/jpeg.h"

namespace uvek::test {
namespace {

class JpegLosslessTest : public TierTest {};

using Row = GuardedVector<Vek16s>;

// One difference at position 1 of a row.
Vek16s DifferenceAt1(int predictor, Vek16s sample, Vek16s left, Vek16s above, Vek16s aboveLeft)
{
    const Vek16s src[2] = {left, sample}, prev[2] = {aboveLeft, above};
    Vek16s dst[2] = {};
    EXPECT_EQ(StatusOk, vekiDiffPredRow_JPEG_16s_C1(src, prev, dst, 2, predictor));
    EXPECT_EQ((Vek16s)(left - aboveLeft), dst[0]);
    return dst[1];
}

TEST_P(JpegLosslessTest, PredictionsAreTheStandards)
{
    const Vek16s expected[] = {0, 1000 - 10, 1000 - 25, 1000 - 8, 1000 - 27, 1000 - 18, 1000 - 26, 1000 - 17};
    for (int predictor = 1; predictor <= 7; ++predictor)
        EXPECT_EQ(expected[predictor], DifferenceAt1(predictor, 1000, 10, 25, 8)) << predictor;
    // Halves round downwards, and samples above 32767 count as negative: 65535 is -1.
    EXPECT_EQ(0 - (0 - 1), DifferenceAt1(5, 0, 0, 7, 8));
    EXPECT_EQ(0 - (0 - 1), DifferenceAt1(6, 0, 7, 0, 8));
    EXPECT_EQ(0 - -1, DifferenceAt1(7, 0, -1, 0, 99));
    EXPECT_EQ((Vek16s)(0 - 32767), DifferenceAt1(5, 0, 0, 32767, -32768));
    EXPECT_EQ((Vek16s)(0 + 32768), DifferenceAt1(7, 0, -32768, -32768, 0));
    // Everything wraps.
    EXPECT_EQ(-1, DifferenceAt1(1, 0, 1, 0, 0));
    EXPECT_EQ(-1, DifferenceAt1(2, 32767, 0, -32768, 0));
}

TEST_P(JpegLosslessTest, FirstSampleIsPredictedByHalfTheRange)
{
    const struct { Vek32s p, pt; Vek16s prediction; } cases[] = {
        {8, 0, 128}, {8, 2, 32}, {16, 0, -32768}, {2, 0, 2}, {2, 1, 1}, {12, 3, 256},
        {8, 8, 0},      // 1 << 31 has no low bits
        {8, 39, 1},     // counts go modulo 32
    };
    for (const auto& c : cases) {
        const Vek16s src[3] = {100, 90, 95};
        Vek16s dst[3], back[3];
        ASSERT_EQ(StatusOk, vekiDiffPredFirstRow_JPEG_16s_C1(src, dst, 3, c.p, c.pt));
        EXPECT_EQ((Vek16s)(100 - c.prediction), dst[0]) << c.p << ' ' << c.pt;
        EXPECT_EQ(-10, dst[1]);
        EXPECT_EQ(5, dst[2]);
        ASSERT_EQ(StatusOk, vekiReconstructPredFirstRow_JPEG_16s_C1(dst, back, 3, c.p, c.pt));
        EXPECT_EQ(0, std::memcmp(src, back, sizeof src));
    }
}

TEST_P(JpegLosslessTest, RowsComeBackAndEqualTier0OnEveryShape)
{
    std::mt19937 random(Seed());
    ForEachShape([&](const Shape& shape) {
        const Vek32s width = shape.width;
        for (const Kind kind : {Kind::Noise, Kind::Alternating})
            for (int predictor = 0; predictor <= 7; ++predictor) {
                Row src(width, shape.flush, shape.offset % 4), above(width, shape.flush, shape.offset % 3);
                Row differences(width, shape.flush, shape.offset % 2), back(width, shape.flush, shape.offset % 5), tier0 = differences;
                FillInteger(src, kind, random);
                FillInteger(above, Kind::Noise, random);
                const Row before = src;
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
                for (Vek32s x = 0; x < width; ++x)
                    ASSERT_EQ(before[x], back[x]) << shape << " predictor " << predictor << " at " << x;
                ASSERT_TRUE(back.IsSlackIntact());
                ASSERT_EQ(StatusOk, add(differences, differences));  // in place
                for (Vek32s x = 0; x < width; ++x)
                    ASSERT_EQ(before[x], differences[x]) << shape << " predictor " << predictor << " in place at " << x;
            }
    });
}

TEST_P(JpegLosslessTest, OverlappingRowsGoFromLeftToRight)
{
    std::mt19937 random(Seed());
    for (int predictor = 1; predictor <= 7; ++predictor)
        for (int shift = -20; shift <= 20; ++shift)
            for (const bool overAbove : {false, true}) {
                std::vector<Vek16s> first(200);
                for (Vek16s& v : first)
                    v = (Vek16s)random();
                const auto run = [&](bool forward) {
                    std::vector<Vek16s> m = first;
                    Vek16s* const dst = m.data() + 50 + shift;
                    const Vek16s *const src = m.data() + (overAbove ? 130 : 50), *const above = m.data() + (overAbove ? 50 : 130);
                    EXPECT_EQ(StatusOk, (forward ? vekiDiffPredRow_JPEG_16s_C1 : vekiReconstructPredRow_JPEG_16s_C1)(src, above, dst, 60, predictor));
                    return m;
                };
                for (const bool forward : {true, false})
                    ASSERT_EQ(OnTier(0, run, forward), run(forward)) << predictor << ' ' << shift << ' ' << forward;
            }
    // The loop reads what it has written: differences of differences, by hand.
    Vek16s row[4] = {5, 7, 7, 1};
    ASSERT_EQ(StatusOk, vekiDiffPredFirstRow_JPEG_16s_C1(row, row, 4, 2, 1));
    EXPECT_EQ(4, row[0]);
    EXPECT_EQ(3, row[1]);
    EXPECT_EQ(4, row[2]);
    EXPECT_EQ(-3, row[3]);
}

TEST_P(JpegLosslessTest, ChecksComeInTheirOrder)
{
    Vek16s a[2] = {1, 2}, b[2] = {3, 4}, c[2] = {5, 6};
    for (const auto row : {vekiDiffPredRow_JPEG_16s_C1, vekiReconstructPredRow_JPEG_16s_C1}) {
        EXPECT_EQ(StatusNullPointer, row(nullptr, b, c, 0, 0));
        EXPECT_EQ(StatusNullPointer, row(a, nullptr, c, 0, 0));
        EXPECT_EQ(StatusNullPointer, row(a, b, nullptr, 0, 0));
        EXPECT_EQ(StatusBadSize, row(a, b, c, 0, 0));
        EXPECT_EQ(StatusBadRange, row(a, b, c, 2, 0));
        EXPECT_EQ(StatusBadRange, row(a, b, c, 2, 8));
    }
    for (const auto first : {vekiDiffPredFirstRow_JPEG_16s_C1, vekiReconstructPredFirstRow_JPEG_16s_C1}) {
        EXPECT_EQ(StatusNullPointer, first(nullptr, c, 0, 0, -1));
        EXPECT_EQ(StatusBadSize, first(a, c, 0, 1, -1));
        EXPECT_EQ(StatusBadRange, first(a, c, 2, 1, 0));
        EXPECT_EQ(StatusBadRange, first(a, c, 2, 17, 0));
        EXPECT_EQ(StatusBadRange, first(a, c, 2, 8, -1));
    }
    EXPECT_EQ(5, c[0]);
}

UVEK_ON_ALL_TIERS(JpegLosslessTest);

}  // namespace
}  // namespace uvek::test
