#include "uvek/signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "support/allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class SignalGaussTest : public TierTest {};

struct State {
    VekRandGaussState* state = nullptr;
    State(float mean, float stdDev, uint32_t seed) { EXPECT_EQ(StatusOk, veksRandGaussInitAlloc_32f(&state, mean, stdDev, seed)); }
    State(const State&) = delete;
    ~State() { EXPECT_EQ(StatusOk, veksRandGaussFree_32f(state)); }
    std::vector<float> Draw(Vek32s length)
    {
        GuardedVector<Vek32f> numbers(length, length % 2 ? Flush::End : Flush::Start, length % 4);
        EXPECT_EQ(StatusOk, veksRandGauss_32f(numbers.data(), length, state));
        EXPECT_TRUE(numbers.IsSlackIntact());
        std::vector<float> drawn((size_t)length);
        std::memcpy(drawn.data(), numbers.data(), drawn.size() * sizeof(float));
        return drawn;
    }
};

// Worked out by a program in another language.
TEST_P(SignalGaussTest, SequenceIsExact)
{
    const struct {
        uint32_t seed;
        float mean, stdDev;
        uint32_t first[5], number19999;
    } known[] = {
        {0, 0, 1, {0xbee5e144, 0xbfab1df9, 0x3fa53cd5, 0xbf49bb81, 0xbf08892e}, 0x3f0dd387},
        {1, 0, 1, {0x3d06fe6a, 0xbf72bc76, 0x3fa77ae0, 0x3ffbb773, 0xbf1fa245}, 0xbf3f7980},
        {0xdeadbeef, 2.5f, 0.1f, {0x401a99f3, 0x401e1670, 0x4024c0ce, 0x4022d02f, 0x4014c261}, 0x401d3fce},
    };
    for (const auto& sequence : known) {
        const auto numbers = State(sequence.mean, sequence.stdDev, sequence.seed).Draw(20000);
        EXPECT_EQ(0, std::memcmp(sequence.first, numbers.data(), sizeof sequence.first)) << sequence.seed;
        EXPECT_EQ(0, std::memcmp(&sequence.number19999, &numbers[19999], 4)) << sequence.seed;
    }
}

TEST_P(SignalGaussTest, CutsDoNotShow)
{
    std::mt19937 random(Seed());
    for (int round = 0; round < 20; ++round) {
        const uint32_t seed = (uint32_t)random();
        const auto whole = OnTier(0, [&] { return State(1, 3, seed).Draw(1500); });
        State cut(1, 3, seed);
        std::vector<float> pieces;
        while (pieces.size() < whole.size()) {
            const auto piece = cut.Draw((Vek32s)std::min<size_t>(1 + random() % (round % 2 ? 9 : 300), whole.size() - pieces.size()));
            pieces.insert(pieces.end(), piece.begin(), piece.end());
        }
        EXPECT_EQ(whole, pieces) << "seed " << seed;
    }
}

// The first four moments, which a single wild number would spoil, and Kolmogorov and Smirnov's largest distance.
TEST_P(SignalGaussTest, NumbersAreNormal)
{
    constexpr int kCount = 100000;
    const double moment[] = {1, 0, 1, 0, 3}, spread[] = {0, 1, 2, 15, 96};
    for (const uint32_t seed : {0u, 7u, 0xffffffffu}) {
        auto numbers = State(0, 1, seed).Draw(kCount);
        for (int power = 1; power <= 4; ++power) {
            double sum = 0;
            for (const double v : numbers)
                sum += std::pow(v, power);
            EXPECT_NEAR(moment[power], sum / kCount, 4 * std::sqrt(spread[power] / kCount)) << "seed " << seed;
        }
        std::sort(numbers.begin(), numbers.end());
        double distance = 0;
        for (size_t i = 0; i < numbers.size(); ++i) {
            const double below = 0.5 * std::erfc(-numbers[i] / std::sqrt(2.0));
            distance = std::max({distance, below - (double)i / kCount, (double)(i + 1) / kCount - below});
        }
        EXPECT_LT(distance, 1.63 / std::sqrt((double)kCount)) << "seed " << seed;  // chance exceeds this once in a hundred
    }
}

TEST_P(SignalGaussTest, BadCallsGiveTheirStatus)
{
    VekRandGaussState* state = nullptr;
    EXPECT_EQ(StatusNullPointer, veksRandGaussInitAlloc_32f(nullptr, 0, 1, 1));
    const ScopedAllocator allocator(0);
    EXPECT_EQ(StatusNoMemory, veksRandGaussInitAlloc_32f(&state, 0, 1, 1));
    EXPECT_EQ(nullptr, state);
    ASSERT_EQ(StatusOk, veksRandGaussInitAlloc_32f(&state, 0, 1, 1));
    const VekRandGaussState before = *state;
    float numbers[2] = {7, 7};
    EXPECT_TRUE(before.id == 40 && before.lcg == 1131199209u && before.swbA == 1 && before.borrow == -1 && before.pairEmpty == 1);
    EXPECT_EQ(StatusNullPointer, veksRandGauss_32f(nullptr, 0, state));
    EXPECT_EQ(StatusNullPointer, veksRandGauss_32f(numbers, 0, nullptr));
    EXPECT_EQ(StatusNullPointer, veksRandGaussFree_32f(nullptr));
    EXPECT_EQ(StatusBadSize, veksRandGauss_32f(numbers, 0, state));
    state->id = 41;
    EXPECT_EQ(StatusBadSize, veksRandGauss_32f(numbers, -1, state));
    EXPECT_EQ(StatusBadContext, veksRandGauss_32f(numbers, 2, state));
    EXPECT_EQ(StatusBadContext, veksRandGaussFree_32f(state));
    state->id = 40;
    EXPECT_EQ(0, std::memcmp(&before, state, sizeof before));
    EXPECT_TRUE(numbers[0] == 7 && numbers[1] == 7);
    EXPECT_EQ(StatusOk, veksRandGaussFree_32f(state));
    EXPECT_EQ(0, allocator.live());
}

UVEK_ON_ALL_TIERS(SignalGaussTest);

}  // namespace
}  // namespace uvek::test
