#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/allocator.h"
#include "support/bad_lengths.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"
#include "uvek/uvek.h"

namespace uvek::test {
namespace {

VekStatus CrossCorr(const Vek32f* a, Vek32s an, const Vek32f* b, Vek32s bn, Vek32f* d, Vek32s dn, Vek32s lag) { return veksCrossCorr_32f(a, an, b, bn, d, dn, lag); }
VekStatus CrossCorr(const Vek64f* a, Vek32s an, const Vek64f* b, Vek32s bn, Vek64f* d, Vek32s dn, Vek32s lag) { return veksCrossCorr_64f(a, an, b, bn, d, dn, lag); }

struct Window {
    Vek32s length1, length2, count, lowLag;
};

// Against the sums in long double, on vectors at odd addresses before and behind guard pages. Returns
// how many blocks of memory the call asked for: none when it sums directly.
template <typename T>
int Check(const Window& w, std::mt19937& random)
{
    std::normal_distribution<double> noise;
    const auto next = [&] { return (T)noise(random); };
    GuardedVector<T> a(w.length1, Flush::End, w.count % 3), b(w.length2, Flush::Start, w.lowLag & 1), dst(w.count, Flush::End, w.length1 % 2);
    a.Fill(next);
    b.Fill(next);
    const ScopedAllocator allocator;
    EXPECT_EQ(StatusOk, CrossCorr(a.data(), w.length1, b.data(), w.length2, dst.data(), w.count, w.lowLag));
    EXPECT_EQ(0, allocator.live());
    EXPECT_TRUE(dst.IsSlackIntact());

    // Noise of power 1: a sum of n products grows as the root of n. The roundings of a plain sum, each evenly
    // spread over half a unit of what has been summed, add up as their squares do; six times that never
    // happens. A transform rounds to a few units of the largest sum.
    const double unit = std::numeric_limits<T>::epsilon(), terms = std::min(w.length1, w.length2);
    // A window may be long: the ends, and some lags between, speak for the rest.
    for (Vek32s n = 0; n < w.count; n += n < 100 || w.count - n < 100 ? 1 : 1 + (w.count - 200) / 60) {
        const int64_t lag = (int64_t)w.lowLag + n;
        long double sum = 0;
        double squares = 0;
        const int64_t from = std::max<int64_t>(0, -lag), to = std::min<int64_t>(w.length1, w.length2 - lag);
        for (int64_t i = from; i < to; ++i) {
            sum += (long double)a[(Vek32s)i] * b[(Vek32s)(i + lag)];
            squares += (double)(sum * sum);
        }
        const double bound = unit * (6 / std::sqrt(12) * std::sqrt(squares) + 8 * std::sqrt(terms) + 8);
        if (from >= to) {
            EXPECT_EQ(0, dst[n]) << "lag " << lag;
        } else if (std::fabs((double)(sum - dst[n])) > bound) {
            ADD_FAILURE() << "lag " << lag << " of " << w.length1 << " by " << w.length2 << ": " << dst[n] << " for " << (double)sum << " seed " << Seed();
            break;
        }
    }
    return allocator.requests();
}

class CorrelationTest : public TierTest {};

TEST_P(CorrelationTest, SumsEveryOverlapDirectly)
{
    std::mt19937 random(Seed());
    for (Vek32s length1 = 1; length1 <= 40; length1 += 3)
        for (const Vek32s length2 : {1, 2, 5, 8, 17, 33})
            for (const Vek32s count : {1, 3, 4, 7, 16, 37, 90}) {
                const Window w = {length1, length2, count, (Vek32s)(random() % (unsigned)(length1 + length2 + 40)) - length1 - 20};
                EXPECT_EQ(0, Check<Vek32f>(w, random));
                EXPECT_EQ(0, Check<Vek64f>(w, random));
            }
    // Fewer lags than a register, over long vectors.
    EXPECT_EQ(0, Check<Vek32f>({5000, 4001, 3, -7}, random));
    EXPECT_EQ(0, Check<Vek64f>({5000, 4001, 1, -999}, random));
    // Far from any overlap nothing is computed.
    for (const Vek32s lag : {-2147483647 - 1, -100, 50, 2147483647}) {
        EXPECT_EQ(0, Check<Vek32f>({40, 50, 60, lag}, random));
        EXPECT_EQ(0, Check<Vek64f>({40, 50, 60, lag}, random));
    }
}

// The window times the ratio of the lengths decides, truncated.
TEST_P(CorrelationTest, TurnsToTransformsAboveItsLimit)
{
    std::mt19937 random(Seed());
    EXPECT_EQ(0, Check<Vek32f>({800, 800, 383, -100}, random));
    EXPECT_LT(0, Check<Vek32f>({800, 800, 384, -100}, random));
    EXPECT_EQ(0, Check<Vek32f>({1000, 600, 639, -300}, random));  // 383.4
    EXPECT_LT(0, Check<Vek32f>({1000, 600, 640, -300}, random));  // 384
    EXPECT_EQ(0, Check<Vek64f>({800, 800, 511, -100}, random));
    EXPECT_LT(0, Check<Vek64f>({800, 800, 512, -100}, random));
    // It counts the lags that overlap, not those asked for.
    EXPECT_EQ(0, Check<Vek32f>({800, 800, 1000, 417}, random));
    EXPECT_LT(0, Check<Vek32f>({800, 800, 1000, 416}, random));
}

TEST_P(CorrelationTest, TransformsGiveEveryWindow)
{
    std::mt19937 random(Seed());
    const Window windows[] = {
        {700, 700, 1399, -699}, {700, 700, 1600, -800}, {1024, 1024, 600, 0}, {1500, 501, 1990, -1495}, {501, 1500, 1800, -300},
        {1200, 400, 1599, -1199}, {400, 1200, 1599, -399},              // exactly three times: blocks
        {30000, 700, 30699, -29999}, {700, 30000, 30699, -699},          // all of it, both orientations
        {30000, 700, 25000, -28000}, {700, 30000, 25000, 4000},          // begins far inside: earlier blocks are skipped
        {30000, 700, 24000, -29999}, {700, 30000, 24000, 5990},          // one end outside
        {9000, 2900, 2000, -8999}, {2900, 9000, 2100, 6500}, {600, 100000, 96100, 100},
    };
    for (const Window& w : windows) {
        EXPECT_LT(0, Check<Vek32f>(w, random)) << w.length1 << " by " << w.length2;
        EXPECT_LT(0, Check<Vek64f>(w, random)) << w.length1 << " by " << w.length2;
    }
    // Every order from 2^11 on; the longest transforms run only on the tiers whose plan changes there.
    for (const Vek32s length : {900, 2100, 4200, 8400, 17000, 34000, 70000, 150000, 300000}) {
        if (length > 70000 && GetParam() > 1)
            continue;
        EXPECT_LT(0, Check<Vek64f>({length, length, 2 * length - 1, 1 - length}, random));
        EXPECT_LT(0, Check<Vek32f>({length, length, 2 * length - 1, 1 - length}, random));
    }
}

TEST_P(CorrelationTest, FailedAllocationsEndTheCallOrAreMadeGood)
{
    std::vector<Vek64f> a(3000, 1), b(900, 1), dst(4100);
    for (const bool isBlocked : {false, true}) {
        const Vek32s length1 = isBlocked ? 3000 : 1500;
        int failed = 0;
        bool isReached = true;
        for (int failing = 0; isReached; ++failing) {
            const ScopedAllocator allocator(failing);
            std::fill(dst.begin(), dst.end(), 7);
            const VekStatus status = veksCrossCorr_64f(a.data(), length1, b.data(), 900, dst.data(), length1 + 1000, -length1 - 99);
            EXPECT_EQ(0, allocator.live());
            isReached = allocator.requests() > failing;
            if (status == StatusOk) {
                EXPECT_NEAR(900, dst[(size_t)length1 + 99], 1e-9);
                continue;
            }
            ++failed;
            EXPECT_EQ(StatusNoMemory, status);
            EXPECT_EQ(0, dst[99]);   // before any overlap
            EXPECT_EQ(7, dst[101]);  // not reached
        }
        EXPECT_EQ(3, failed);  // the record, its sines, the arrays; the transforms can do without the work area
    }
}

TEST_P(CorrelationTest, BadCallsGiveTheirStatus)
{
    ExpectBadLengths(veksCrossCorr_32f);
    ExpectBadLengths(veksCrossCorr_64f);
    float a[2] = {1, 2}, d[2] = {9, 9};
    EXPECT_EQ(StatusBadSize, veksCrossCorr_32f(a, 0, a, 2, d, 2, 0));
    EXPECT_EQ(StatusBadSize, veksCrossCorr_32f(a, 2, a, -1, d, 2, 0));
    EXPECT_EQ(StatusBadSize, veksCrossCorr_32f(a, 2, a, 2, d, 0, 0));
    EXPECT_EQ(9, d[0]);
}

UVEK_ON_ALL_TIERS(CorrelationTest);

}  // namespace
}  // namespace uvek::test
