#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "support/allocator.h"
#include "support/tiers.h"
#include "support/window.h"
#include "uvek/filter.h"

namespace uvek::test {
namespace {

class WindowFilterTest : public TierTest {};

using WindowFilter = VekStatus (*)(const Vek8u*, Vek32s, Vek8u*, Vek32s, VekImageSize, VekImageSize, VekPoint);

struct Mask {
    VekImageSize size;
    VekPoint anchor;

    Border border() const { return {anchor.x, anchor.y, size.width - 1 - anchor.x, size.height - 1 - anchor.y}; }
};

// fold(samples of the window) -> the result.
template <int channels, typename Fold>
void Check(WindowFilter filter, const Mask& mask, Fold fold)
{
    std::vector<Vek8u> window;
    CheckWindow<Vek8u, Vek8u, channels>(
        mask.border(),
        [&](auto& src, auto& dst) { return filter(src.data(), src.step(), dst.data(), dst.step(), dst.size(), mask.size, mask.anchor); },
        [&](auto& src, Vek32s x, Vek32s y, int c) {
            window.clear();
            for (Vek32s j = 0; j < mask.size.height; ++j)
                for (Vek32s i = 0; i < mask.size.width; ++i)
                    window.push_back(src.at(x - mask.anchor.x + i, y - mask.anchor.y + j, c));
            return fold(window);
        });
}

Vek8u MedianOfSamples(std::vector<Vek8u>& v)
{
    std::nth_element(v.begin(), v.begin() + (ptrdiff_t)(v.size() / 2), v.end());
    return v[v.size() / 2];
}

TEST_P(WindowFilterTest, MedianOfEveryMaskShape)
{
    for (const Mask& mask : {Mask{{1, 1}, {0, 0}}, {{3, 3}, {1, 1}}, {{3, 3}, {0, 2}}, {{5, 5}, {2, 2}}, {{5, 5}, {4, 0}}, {{3, 1}, {2, 0}}, {{1, 3}, {0, 0}},
                             {{5, 1}, {1, 0}}, {{1, 5}, {0, 4}}, {{1, 7}, {0, 3}}, {{7, 1}, {3, 0}}, {{3, 5}, {0, 0}}, {{7, 3}, {6, 1}}})
        Check<1>(vekiFilterMedian_8u_C1R, mask, MedianOfSamples);
}

TEST_P(WindowFilterTest, OfDestinationRowsThatOverlapTheLaterStays)
{
    std::mt19937 random(Seed());
    const auto src = Noise<Vek8u>(Shape{44, 6}, random);
    Vek8u together[44] = {}, apart[44] = {};
    ASSERT_EQ(StatusOk, vekiFilterMedian_8u_C1R(src.data() + 2 + 2 * src.step(), src.step(), together, 1, {40, 2}, {5, 5}, {2, 2}));
    for (Vek32s y = 0; y < 2; ++y)
        ASSERT_EQ(StatusOk, vekiFilterMedian_8u_C1R(src.data() + 2 + (2 + y) * src.step(), src.step(), apart + y, 1, {40, 1}, {5, 5}, {2, 2}));
    EXPECT_TRUE(std::equal(together, together + 44, apart)) << "seed " << Seed();
}

TEST_P(WindowFilterTest, Median5x5OfEveryCountOfOnesInItsColumns)
{
    // Windows side by side; of five rows the inner four of column c hold digit c of the window's number
    // in base 5, in any order, between two rows of noise.
    const Vek32s windows = 3125, width = windows * 5;
    std::mt19937 random(Seed());
    std::vector<Vek8u> src((size_t)width * 6), dst((size_t)width * 2);
    for (Vek32s w = 0, x = 0; w < windows; ++w)
        for (Vek32s c = 0, digits = w; c < 5; ++c, ++x, digits /= 5) {
            const auto turn = (Vek32s)(random() % 4);
            for (Vek32s r = 0; r < 4; ++r)
                src[(size_t)((1 + (r + turn) % 4) * width + x)] = r < digits % 5;
            src[(size_t)x] = random() & 1;
            src[(size_t)(5 * width + x)] = random() & 1;
        }
    ASSERT_EQ(StatusOk, vekiFilterMedian_8u_C1R(src.data(), width, dst.data(), width, {width - 4, 2}, {5, 5}, {0, 0}));
    for (Vek32s y = 0; y < 2; ++y)
        for (Vek32s x = 0; x < width - 4; ++x) {
            int ones = 0;
            for (Vek32s i = 0; i < 25; ++i)
                ones += src[(size_t)((y + i / 5) * width + x + i % 5)];
            ASSERT_EQ(ones > 12, dst[(size_t)(y * width + x)]) << "at " << x << ", " << y;
        }
}

TEST_P(WindowFilterTest, MaximumOfEveryMaskShape)
{
    for (const Mask& mask : {Mask{{1, 1}, {0, 0}}, {{3, 3}, {1, 1}}, {{1, 2}, {0, 1}}, {{2, 1}, {0, 0}}, {{15, 4}, {14, 0}}, {{16, 1}, {3, 0}},
                             {{17, 3}, {8, 2}}, {{31, 2}, {0, 1}}, {{32, 1}, {31, 0}}, {{50, 2}, {20, 1}}, {{67, 1}, {33, 0}}, {{5, 8}, {4, 0}}, {{8, 9}, {0, 3}}})
        Check<1>(vekiFilterMax_8u_C1R, mask, [](std::vector<Vek8u>& v) { return *std::max_element(v.begin(), v.end()); });
}

TEST_P(WindowFilterTest, MaximumFindsAPeakWhereverItStands)
{
    const Mask mask = {{83, 29}, {40, 5}};
    for (const Vek32s at : {0, 1, 15, 16, 40, 82, 83, 100, 150}) {
        BorderedImage<Vek8u> src(Shape{150, 70}, mask.border());
        src.whole().Fill([] { return 3; });
        src.set(at, at / 2, 0, 200);
        GuardedImage<Vek8u> dst(150, 70), want(150, 70);
        want.Fill([&, i = 0]() mutable {
            const int x = i % 150 - 40, y = i++ / 150 - 5;
            return at >= x && at < x + 83 && at / 2 >= y && at / 2 < y + 29 ? 200 : 3;
        });
        ASSERT_EQ(StatusOk, vekiFilterMax_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), dst.size(), mask.size, mask.anchor));
        ASSERT_EQ(want, dst) << "the peak at " << at;
    }
}

uint32_t Total(const std::vector<Vek8u>& v) { return std::accumulate(v.begin(), v.end(), 0u); }

TEST_P(WindowFilterTest, BoxInItsThreeForms)
{
    for (const Mask& mask : {Mask{{3, 3}, {1, 1}}, {{3, 3}, {2, 0}}})
        Check<3>(vekiFilterBox_8u_C3R, mask, [](std::vector<Vek8u>& v) { return Total(v) * 29128 >> 18; });
    // factor and shift by hand: 2^32 / area, shifted left until its top bit is set, its upper 12 bits plus one.
    struct { Mask mask; uint32_t factor; int shift; } const integer[] = {
        {{{1, 1}, {0, 0}}, 256, 8}, {{{2, 1}, {1, 0}}, 4096, 13}, {{{5, 1}, {4, 0}}, 3277, 14}, {{{3, 5}, {0, 2}}, 2185, 15},
        {{{9, 4}, {3, 3}}, 3641, 17}};
    for (const auto& form : integer)
        Check<3>(vekiFilterBox_8u_C3R, form.mask, [&](std::vector<Vek8u>& v) { return (Vek8u)(Total(v) * form.factor >> form.shift); });
}

// A large window and few results, so that brute force stays cheap. All tiers give the same.
template <typename Expected>
void CheckWideBox(VekImageSize size, VekImageSize mask, Expected expected)
{
    std::mt19937 random(Seed());
    BorderedImage<Vek8u, 3> src(Shape{size.width, size.height}, {0, 0, mask.width - 1, mask.height - 1});
    for (unsigned turn = 0; turn < 4; ++turn) {
        FillWithBytes(src, turn, random);
        const auto run = [&] {
            GuardedImage<Vek8u, 3> dst(size.width, size.height);
            EXPECT_EQ(StatusOk, vekiFilterBox_8u_C3R(src.data(), src.step(), dst.data(), dst.step(), size, mask, {0, 0}));
            return dst;
        };
        const GuardedImage<Vek8u, 3> dst = run();
        EXPECT_EQ(OnTier(0, run), dst);
        for (Vek32s i = 0; i < size.width * size.height * 3; ++i) {
            const Vek32s x = i / 3 % size.width, y = i / 3 / size.width;
            uint32_t sum = 0;
            for (Vek32s k = 0; k < mask.width * mask.height; ++k)
                sum += src.at(x + k % mask.width, y + k / mask.width, i % 3);
            ASSERT_PRED2(expected, sum, dst.at(x, y, i % 3)) << "a mask of " << mask.width << "x" << mask.height;
        }
    }
}

TEST_P(WindowFilterTest, BoxAreaOf8100IsTheLastOfIntegers)
{
    // Sums of 16 bits end at an area of 257.
    const struct { VekImageSize size, mask; uint32_t factor; int shift; } integers[] = {
        {{41, 4}, {15, 15}, 2331, 19}, {{150, 3}, {257, 1}, 4081, 20}, {{150, 3}, {19, 14}, 3943, 20}, {{7, 2}, {90, 90}, 2072, 24}};
    for (const auto& c : integers)
        CheckWideBox(c.size, c.mask, [&](uint32_t sum, Vek8u got) { return got == sum * c.factor >> c.shift; });
    for (const VekImageSize mask : {VekImageSize{8101, 1}, {101, 101}}) {
        const float reciprocal = 1.0f / (float)(mask.width * mask.height);
        CheckWideBox({7, 3}, mask, [&](uint32_t sum, Vek8u got) { return got == (Vek8u)((float)sum * reciprocal + 0.000009f); });
    }
    // Past 24 bits a sum is rounded before it is scaled.
    CheckWideBox({33, 3}, {350, 200}, [](uint32_t sum, Vek8u got) { return std::fabs(std::floor(sum / 70000.0) - got) <= 1; });
}

TEST_P(WindowFilterTest, BadCallsGiveTheirStatusInOrder)
{
    const Vek8u src[300] = {};
    Vek8u dst[60] = {7};
    const VekImageSize size = {4, 1}, none = {4, 0}, mask = {3, 5}, noMask = {3, 0};
    const WindowFilter filters[] = {vekiFilterBox_8u_C3R, vekiFilterMax_8u_C1R, vekiFilterMedian_8u_C1R};
    for (const WindowFilter filter : filters) {
        EXPECT_EQ(StatusNullPointer, filter(nullptr, 0, dst, 12, none, noMask, {5, 5}));
        EXPECT_EQ(StatusNullPointer, filter(src, 24, nullptr, 12, none, noMask, {5, 5}));
        const VekStatus first = filter == vekiFilterBox_8u_C3R ? StatusBadStep : StatusBadSize;
        EXPECT_EQ(first, filter(src, 0, dst, 12, none, noMask, {5, 5}));
        EXPECT_EQ(first, filter(src, 24, dst, 0, none, noMask, {5, 5}));
        EXPECT_EQ(StatusBadSize, filter(src, 24, dst, 12, none, noMask, {5, 5}));
        EXPECT_EQ(StatusBadStep, filter(src, 24, dst, -12, size, noMask, {5, 5}));
        EXPECT_EQ(StatusBadMaskSize, filter(src, 24, dst, 12, size, noMask, {5, 5}));
        for (const VekPoint anchor : {VekPoint{3, 0}, {0, 5}, {-1, 0}, {0, -1}})
            EXPECT_EQ(StatusBadAnchor, filter(src, 24, dst, 12, size, mask, anchor));
    }
    EXPECT_EQ(StatusBadMaskSize, vekiFilterMedian_8u_C1R(src, 24, dst, 12, size, {4, 3}, {1, 1}));
    EXPECT_EQ(StatusBadMaskSize, vekiFilterMedian_8u_C1R(src, 24, dst, 12, size, {3, 2}, {9, 1}));
    EXPECT_EQ(7, dst[0]);
}

TEST_P(WindowFilterTest, FailedAllocationsAreReportedAndGivenBack)
{
    const Vek8u src[3000] = {};
    struct { WindowFilter filter; VekImageSize mask; bool allocates; } const calls[] = {
        {vekiFilterBox_8u_C3R, {5, 3}, true}, {vekiFilterBox_8u_C3R, {1, 1}, true}, {vekiFilterBox_8u_C3R, {3, 3}, false},
        {vekiFilterMax_8u_C1R, {3, 3}, true}, {vekiFilterMax_8u_C1R, {1, 1}, false}, {vekiFilterMedian_8u_C1R, {5, 5}, false},
        {vekiFilterMedian_8u_C1R, {1, 9}, false}};
    for (const auto& call : calls) {
        int requests = call.allocates;
        for (int failAt = -1; failAt < requests; ++failAt) {
            Vek8u dst[60] = {7};
            const ScopedAllocator allocator(failAt);
            EXPECT_EQ(failAt < 0 ? StatusOk : StatusNoMemory, call.filter(src, 60, dst, 30, {4, 1}, call.mask, {0, 0})) << call.mask.width << " " << failAt;
            EXPECT_EQ(failAt < 0 ? 0 : 7, dst[0]);
            EXPECT_EQ(0, allocator.live());
            requests = failAt < 0 ? allocator.requests() : requests;
        }
        EXPECT_EQ(call.allocates, requests > 0);
    }
}

UVEK_ON_ALL_TIERS(WindowFilterTest);

}  // namespace
}  // namespace uvek::test
