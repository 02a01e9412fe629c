#include "uvek/signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "support/bad_lengths.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class SignalWindowTest : public TierTest {};

using Vector16s = GuardedVector<Vek16s>;
using Vector32f = GuardedVector<Vek32f>;

constexpr double kPi = 3.14159265358979323846;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

double Cosine(Vek32s k, Vek32s length)
{
    return std::cos(2 * kPi * k / (length - 1));
}

// ---- Windows ----

// On lengths too short to drift every result is the product rounded as the tier rounds it.
TEST_P(SignalWindowTest, HammingTruncatesInTier0AndRoundsAbove)
{
    std::mt19937 random(Seed());
    for (Vek32s n = 3; n < 120; ++n) {
        Vector16s v(n, n % 2 ? Flush::End : Flush::Start, n % 5);
        FillInteger(v, kAllKinds[random() % 4], random);
        const Vector16s before = v;
        ASSERT_EQ(StatusOk, veksWinHamming_16s_I(v.data(), n));
        for (Vek32s k = 0; k < n; ++k) {
            const double product = before[k] * (0.54 - 0.46 * Cosine(k, n));
            if (2 * k == n - 1) {
                ASSERT_EQ(before[k], v[k]);
            } else if (GetParam() == 0 && std::fabs(product - std::round(product)) > 1e-6) {
                ASSERT_EQ((int)product, v[k]) << k << " of " << n << " seed " << Seed();
            } else if (GetParam() > 0 && std::fabs(product - std::floor(product) - 0.5) > 0.05) {
                ASSERT_EQ((int)std::nearbyint(product), v[k]) << k << " of " << n << " seed " << Seed();
            } else {
                ASSERT_NEAR(product, v[k], 1.001);
            }
        }
        ASSERT_TRUE(v.IsSlackIntact());
    }
}

TEST_P(SignalWindowTest, HammingStartsAfreshAfter176Pairs)
{
    for (const Vek32s n : {353, 356, 359, 704, 1000, 20001, 300000}) {
        Vector16s v(n);
        v.Fill([] { return 32767; });
        ASSERT_EQ(StatusOk, veksWinHamming_16s_I(v.data(), n));
        const double largestDrift = GetParam() ? 32767 * 5e-5 + 0.5 : 1.001;
        for (Vek32s k = 0; k < n / 2; ++k) {
            const double product = 32767 * (0.54 - 0.46 * Cosine(k, n));
            ASSERT_NEAR(product, v[k], largestDrift) << k << " of " << n;
            ASSERT_EQ(v[k], v[n - 1 - k]) << k << " of " << n;
            if (GetParam() > 0 && k % 176 == 0) {
                ASSERT_NEAR(product, v[k], 0.51) << k << " of " << n;  // fresh from a cosine
            }
        }
    }
}

TEST_P(SignalWindowTest, HannRoundsOnceInTier0AndTwiceAbove)
{
    std::mt19937 random(Seed());
    std::normal_distribution<float> normal(0, 1000);
    int differences = 0;
    for (Vek32s n = 4; n < 140; ++n) {
        Vector32f v(n, n % 2 ? Flush::End : Flush::Start, n % 8);
        v.Fill([&] { return normal(random); });
        const Vector32f before = v;
        ASSERT_EQ(StatusOk, veksWinHann_32f_I(v.data(), n));
        for (Vek32s k = 0; k < n; ++k) {
            const double w = 0.5 - 0.5 * Cosine(k, n);
            const auto once = [&](double weight) { return (float)(before[k] * weight); };
            const auto twice = [&](double weight) { return before[k] * (float)weight; };
            const auto result = [&](double weight) { return GetParam() ? twice(weight) : once(weight); };
            if (2 * k == n - 1) {
                ASSERT_EQ(before[k], v[k]);
            } else if (k == 0 || k == n - 1) {
                ASSERT_NEAR(0, v[k], 1e-9);
            } else {  // a weight is good to 1e-12, which decides where a product is next to a tie
                ASSERT_TRUE(v[k] == result(w - 1e-12) || v[k] == result(w + 1e-12)) << k << " of " << n << " seed " << Seed();
            }
            differences += once(w) != twice(w);
        }
        ASSERT_TRUE(v.IsSlackIntact());
    }
    EXPECT_GT(differences, 100);
    for (const Vek32s n : {1025, 30000, 200001}) {
        Vector32f v(n);
        v.Fill([] { return 1; });
        ASSERT_EQ(StatusOk, veksWinHann_32f_I(v.data(), n));
        for (Vek32s k = 0; k < n; ++k)
            ASSERT_NEAR(2 * k == n - 1 ? 1 : 0.5 - 0.5 * Cosine(k, n), v[k], 2e-6) << k << " of " << n;
    }
}

TEST_P(SignalWindowTest, HannOfThreeClearsTheEnds)
{
    float v[] = {kNaN, 5, -kInfinity};
    EXPECT_EQ(StatusOk, veksWinHann_32f_I(v, 3));
    EXPECT_TRUE(v[0] == 0 && !std::signbit(v[0]) && v[1] == 5 && v[2] == 0 && !std::signbit(v[2]));
}

// ---- Sort ----

Vector32f Vector(const std::vector<float>& values)
{
    Vector32f v((Vek32s)values.size());
    auto next = values.begin();
    v.Fill([&] { return *next++; });
    return v;
}

Vector32f Sorted(Vector32f v)
{
    EXPECT_EQ(StatusOk, veksSortDescend_32f_I(v.data(), v.length()));
    return v;
}

using Pattern = std::function<float(Vek32s i, Vek32s n, std::mt19937& random)>;
const Pattern kPatterns[] = {
    [](Vek32s, Vek32s, std::mt19937& random) { return (float)(int32_t)random(); },
    [](Vek32s, Vek32s, std::mt19937& random) { return (float)(random() % 4) - 1; },
    [](Vek32s i, Vek32s, std::mt19937&) { return (float)i; },
    [](Vek32s i, Vek32s, std::mt19937&) { return (float)-i; },
    [](Vek32s i, Vek32s n, std::mt19937&) { return (float)std::min(i, n - i); },
    [](Vek32s i, Vek32s, std::mt19937&) { return (float)(i % 17); },
    [](Vek32s, Vek32s, std::mt19937&) { return 3.0f; },
    [](Vek32s, Vek32s, std::mt19937& random) { return random() % 3 ? (random() % 2 ? kInfinity : -kInfinity) : std::ldexp(1.0f, -140); },
};

TEST_P(SignalWindowTest, SortPutsTheLargestFirst)
{
    std::mt19937 random(Seed());
    for (const Pattern& pattern : kPatterns)
        ForEachShape([&](const Shape& shape) {
            Vector32f v(shape.width, shape.flush, shape.offset);
            v.Fill([&, i = 0]() mutable { return pattern(i++, shape.width, random); });
            Vector32f want = v;
            std::vector<float> values;
            for (Vek32s i = 0; i < shape.width; ++i)
                values.push_back(v[i]);
            std::sort(values.begin(), values.end(), std::greater<float>());
            want.Fill([&, i = 0]() mutable { return values[(size_t)i++]; });
            ASSERT_EQ(StatusOk, veksSortDescend_32f_I(v.data(), shape.width));
            ASSERT_EQ(want, v) << shape << " pattern " << &pattern - kPatterns << " seed " << Seed();
        });
}

// The first three by hand, the last two by a program in another language that follows the same steps.
TEST_P(SignalWindowTest, NaNsAndZerosEndWhereTheStepsPutThem)
{
    const std::vector<float> known[][2] = {
        {{0.0f, -0.0f}, {-0.0f, 0.0f}},
        {{kNaN, 1, 2}, {2, 1, kNaN}},
        {{1, kNaN, 2}, {kNaN, 2, 1}},
        {{0.0f, 1, -0.0f, 2, 0.0f, -1, -0.0f, 3, 0.0f, -2, -0.0f, -0.0f},
         {3, 2, 1, 0.0f, -0.0f, -0.0f, -0.0f, 0.0f, 0.0f, -0.0f, -1, -2}},
        {{5, kNaN, 3, -0.0f, 8, 1, kNaN, 0.0f, 7, 2, 9, 4, 6}, {kNaN, kNaN, 8, 7, 5, 4, 3, 2, 1, 0.0f, -0.0f, 9, 6}},
    };
    for (const auto& pair : known)
        EXPECT_EQ(Vector(pair[1]), Sorted(Vector(pair[0])));
}

TEST_P(SignalWindowTest, NaNsAndZerosEndAlikeInAllTiers)
{
    std::mt19937 random(Seed());
    for (int round = 0; round < 300; ++round) {
        std::vector<float> values(1 + random() % 300);
        const uint32_t strange = 2 + random() % 40;
        for (float& v : values)
            v = random() % strange ? (float)(random() % 20) - 10 : random() % 3 ? std::copysign(0.0f, (float)(random() % 2) - 0.5f) : kNaN;
        const Vector32f v = Vector(values);
        EXPECT_EQ(OnTier(0, Sorted, v), OnTier(GetParam(), Sorted, v)) << "seed " << Seed();
    }
}

TEST_P(SignalWindowTest, BadCallsGiveTheirStatusAndWriteNothing)
{
    ExpectBadLengths(veksWinHamming_16s_I, {2, 1, 0, -3});
    ExpectBadLengths(veksWinHann_32f_I, {2, 1, 0, -3});
    ExpectBadLengths(veksSortDescend_32f_I);
    float one = 9;
    EXPECT_EQ(StatusOk, veksSortDescend_32f_I(&one, 1));
}

UVEK_ON_ALL_TIERS(SignalWindowTest);

}  // namespace
}  // namespace uvek::test
