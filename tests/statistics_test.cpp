#include "uvek/statistics.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class StatisticsTest : public TierTest {};

// Visits images of every shape and kind of content.
template <typename T, int channels, typename Visit>
void ForEachImage(bool upward, Visit&& visit)
{
    std::mt19937 random(Seed());
    int turn = 0;
    ForEachShape([&](Shape shape) {
        shape.upward = shape.upward && upward;
        GuardedImage<T, channels> image(shape);
        FillInteger(image, kAllKinds[turn++ % 4], random);
        visit(image);
    });
}

// The samples of a channel, row by row.
template <typename T, int channels>
std::vector<T> Channel(const GuardedImage<T, channels>& image, int c)
{
    std::vector<T> samples;
    for (Vek32s y = 0; y < image.height(); ++y)
        for (Vek32s x = 0; x < image.width(); ++x)
            samples.push_back(image.at(x, y, c));
    return samples;
}

// Counts of each channel's samples from one boundary to the next; what stands behind them is 77.
template <int channels>
void ExpectCounts(const GuardedImage<Vek8u, channels>& image, const std::vector<Vek32s> (&levels)[channels], const std::vector<Vek32s> (&bins)[channels])
{
    for (int c = 0; c < channels; ++c) {
        const auto samples = Channel(image, c);
        std::vector<Vek32s> want(levels[c].size(), 77);
        for (size_t i = 0; i + 1 < want.size(); ++i)
            want[i] = (Vek32s)std::count_if(samples.begin(), samples.end(), [&](Vek32s v) { return v >= levels[c][i] && v < levels[c][i + 1]; });
        ASSERT_EQ(want, bins[c]) << "channel " << c << " of " << image << " seed " << Seed();
    }
}

TEST_P(StatisticsTest, HistogramCountsBetweenBoundaries)
{
    const std::vector<Vek32s> many = {-5, 0, 1, 10, 5, 20, 128, 255, 256, 300, 2000000000, -2000000000}, levels[3] = {{0, 256}, many, {0, 128, 256}};
    const Vek32s counts[3] = {2, (Vek32s)many.size(), 3};
    ForEachImage<Vek8u, 1>(false, [&](auto& image) {
        std::vector<Vek32s> bins[1] = {std::vector<Vek32s>(many.size(), 77)};
        ASSERT_EQ(StatusOk, vekiHistogramRange_8u_C1R(image.data(), image.step(), image.size(), bins[0].data(), many.data(), counts[1]));
        ExpectCounts(image, {many}, bins);
    });
    ForEachImage<Vek8u, 3>(false, [&](auto& image) {
        std::vector<Vek32s> bins[3] = {std::vector<Vek32s>(2, 77), std::vector<Vek32s>(many.size(), 77), std::vector<Vek32s>(3, 77)};
        Vek32s* const hist[3] = {bins[0].data(), bins[1].data(), bins[2].data()};
        const Vek32s* const boundaries[3] = {levels[0].data(), levels[1].data(), levels[2].data()};
        ASSERT_EQ(StatusOk, vekiHistogramRange_8u_C3R(image.data(), image.step(), image.size(), hist, boundaries, counts));
        ExpectCounts(image, levels, bins);
    });
}

TEST_P(StatisticsTest, ExtremesMeanAndDeviationOfEachChannel)
{
    ForEachImage<Vek8u, 3>(true, [&](auto& image) {
        Vek8u low[3], high[3];
        ASSERT_EQ(StatusOk, vekiMinMax_8u_C3R(image.data(), image.step(), image.size(), low, high));
        for (int c = 0; c < 3; ++c) {
            const auto samples = Channel(image, c);
            const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
            ASSERT_EQ(*least, low[c]) << image;
            ASSERT_EQ(*most, high[c]) << image;
            if (image.step() < 0)
                continue;
            const double n = (double)samples.size();
            double sum = 0, squares = 0, mean = -1, deviation = -1;
            for (const double v : samples) {
                sum += v;
                squares += v * v;
            }
            ASSERT_EQ(StatusOk, vekiMean_StdDev_8u_C3CR(image.data(), image.step(), image.size(), c + 1, &mean, &deviation));
            ASSERT_EQ(sum / n, mean) << image;
            ASSERT_EQ(std::sqrt(std::fabs(squares / n - sum / n * (sum / n))), deviation) << image;
        }
    });
}

TEST_P(StatisticsTest, MeanAndDeviationOfALongRow)
{
    // Longer than the run whose squares fit 32 bits.
    const Vek32s width = 16 * 8192 * 2 + 21;
    const std::vector<Vek8u> row((size_t)width * 3, 255);
    double mean = 0, deviation = 1;
    ASSERT_EQ(StatusOk, vekiMean_StdDev_8u_C3CR(row.data(), width * 3, {width, 1}, 2, &mean, &deviation));
    EXPECT_EQ(255, mean);
    EXPECT_EQ(0, deviation);
    EXPECT_EQ(StatusOk, vekiMean_StdDev_8u_C3CR(row.data(), width * 3, {width, 1}, 2, nullptr, nullptr));
}

TEST_P(StatisticsTest, ExtremesEndWhereNothingCanExtendThem)
{
    // The second row stands on the guard page. Tier 0 alone is bound to stop; no tier is to be slower.
    GuardedBytes row(6);
    const Vek8u pixels[6] = {0, 255, 0, 255, 0, 255};
    std::memcpy(row.data(), pixels, 6);
    Vek8u low[3], high[3];
    ASSERT_EQ(StatusOk, vekiMinMax_8u_C3R(row.data(), 6, {2, 5}, low, high));
    EXPECT_EQ(0, low[0] + low[1] + low[2]);
    EXPECT_EQ(765, high[0] + high[1] + high[2]);
}

TEST_P(StatisticsTest, SumIsExactOnWholeNumbersAndCloseOnNoise)
{
    std::mt19937 random(Seed());
    ForEachShape([&](const Shape& shape) {
        GuardedImage<Vek32f> image(shape);
        for (const bool whole : {true, false}) {
            image.Fill([&] { return whole ? (Vek32f)(random() % 2001) - 1000 : std::ldexp((Vek32f)random(), -32) - 0.25f; });
            double exact = 0, magnitude = 0;
            for (const double v : Channel(image, 0)) {
                exact += v;
                magnitude += std::fabs(v);
            }
            for (const Vek32s hint : {0, 1, 2}) {
                double sum = 0;
                ASSERT_EQ(StatusOk, vekiSum_32f_C1R(image.data(), image.step(), image.size(), &sum, hint));
                ASSERT_NEAR(exact, sum, whole ? 0 : magnitude * (hint == 2 || GetParam() == 0 ? 1e-14 : 1e-5)) << shape << " hint " << hint;
            }
        }
    });
}

TEST_P(StatisticsTest, AccurateSumAddsEvenAndOddColumnsApart)
{
    // 2^53 swallows a one: 2^53 + 1 + 1 is 2^53 in one accumulator, and not across two.
    const Vek32f big = 9007199254740992.0f;
    const Vek32f src[2][3] = {{big, 1, 1}, {1, 1, -big}};
    double sum = 0;
    ASSERT_EQ(StatusOk, vekiSum_32f_C1R(src[0], 12, {3, 2}, &sum, 2));
    EXPECT_EQ(2, sum);
    if (GetParam() == 0) {
        ASSERT_EQ(StatusOk, vekiSum_32f_C1R(src[0], 12, {3, 2}, &sum, 0));
        EXPECT_EQ(2, sum);
    }
}

TEST_P(StatisticsTest, BadCallsGiveTheirStatusInOrder)
{
    const Vek8u src[64] = {};
    const VekImageSize size = {2, 2}, none = {2, 0};
    const Vek32s levels[2] = {0, 256};
    Vek32s bins[2] = {7, 7};
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C1R(nullptr, 0, none, bins, levels, 1));
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C1R(src, 0, none, nullptr, levels, 1));
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C1R(src, 0, none, bins, nullptr, 1));
    EXPECT_EQ(StatusBadSize, vekiHistogramRange_8u_C1R(src, 0, none, bins, levels, 1));
    EXPECT_EQ(StatusBadStep, vekiHistogramRange_8u_C1R(src, 0, size, bins, levels, 1));
    EXPECT_EQ(StatusBadHistogramLevels, vekiHistogramRange_8u_C1R(src, 6, size, bins, levels, 1));

    Vek32s* const hist[3] = {bins, bins, bins};
    Vek32s* const hole[3] = {bins, bins, nullptr};
    const Vek32s* const bounds[3] = {levels, levels, levels};
    const Vek32s* const noBounds[3] = {nullptr, levels, levels};
    const Vek32s good[3] = {2, 2, 2}, bad[3] = {2, 1, 2};
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C3R(nullptr, 0, none, hist, bounds, bad));
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C3R(src, 0, none, nullptr, bounds, bad));
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C3R(src, 0, none, hist, nullptr, bad));
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C3R(src, 0, none, hist, bounds, nullptr));
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C3R(src, 0, none, hist, noBounds, bad));
    EXPECT_EQ(StatusBadHistogramLevels, vekiHistogramRange_8u_C3R(src, 0, none, hole, bounds, bad));
    EXPECT_EQ(StatusNullPointer, vekiHistogramRange_8u_C3R(src, 0, none, hole, bounds, good));
    EXPECT_EQ(StatusBadSize, vekiHistogramRange_8u_C3R(src, 0, none, hist, bounds, good));
    EXPECT_EQ(StatusBadStep, vekiHistogramRange_8u_C3R(src, 0, size, hist, bounds, good));
    EXPECT_EQ(7, bins[0]);

    double mean = 7, deviation = 7;
    EXPECT_EQ(StatusNullPointer, vekiMean_StdDev_8u_C3CR(nullptr, 5, none, 4, &mean, &deviation));
    EXPECT_EQ(StatusBadSize, vekiMean_StdDev_8u_C3CR(src, 5, none, 4, &mean, &deviation));
    EXPECT_EQ(StatusBadStep, vekiMean_StdDev_8u_C3CR(src, 5, size, 4, &mean, &deviation));
    EXPECT_EQ(StatusBadChannelOfInterest, vekiMean_StdDev_8u_C3CR(src, 6, size, 4, &mean, &deviation));
    EXPECT_EQ(StatusBadChannelOfInterest, vekiMean_StdDev_8u_C3CR(src, 6, size, 0, &mean, &deviation));
    EXPECT_EQ(7, mean);

    Vek8u low[3] = {7}, high[3] = {7};
    EXPECT_EQ(StatusNullPointer, vekiMinMax_8u_C3R(nullptr, 6, none, low, high));
    EXPECT_EQ(StatusNullPointer, vekiMinMax_8u_C3R(src, 6, none, nullptr, high));
    EXPECT_EQ(StatusNullPointer, vekiMinMax_8u_C3R(src, 6, none, low, nullptr));
    EXPECT_EQ(StatusBadSize, vekiMinMax_8u_C3R(src, 6, none, low, high));
    EXPECT_EQ(7, low[0]);
    EXPECT_EQ(StatusOk, vekiMinMax_8u_C3R(src, 0, size, low, high));

    const Vek32f samples[4] = {1, 2, 3, 4};
    double sum = 7;
    EXPECT_EQ(StatusNullPointer, vekiSum_32f_C1R(nullptr, 8, none, &sum, 0));
    EXPECT_EQ(StatusNullPointer, vekiSum_32f_C1R(samples, 8, none, nullptr, 0));
    EXPECT_EQ(StatusBadSize, vekiSum_32f_C1R(samples, 8, none, &sum, 0));
    EXPECT_EQ(7, sum);
    EXPECT_EQ(StatusOk, vekiSum_32f_C1R(samples, 0, size, &sum, 0));
    EXPECT_EQ(6, sum);
}

UVEK_ON_ALL_TIERS(StatisticsTest);

}  // namespace
}  // namespace uvek::test
