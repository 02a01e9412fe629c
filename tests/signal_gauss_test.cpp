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

class State {
public:
    State(float mean, float stdDev, uint32_t seed) { EXPECT_EQ(StatusOk, veksRandGaussInitAlloc_32f(&state_, mean, stdDev, seed)); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { EXPECT_EQ(StatusOk, veksRandGaussFree_32f(state_)); }
    VekRandGaussState* operator->() const { return state_; }

    std::vector<float> Draw(Vek32s length)
    {
        GuardedVector<Vek32f> numbers(length, length % 2 ? Flush::End : Flush::Start, length % 4);
        EXPECT_EQ(StatusOk, veksRandGauss_32f(numbers.data(), length, state_));
        EXPECT_TRUE(numbers.IsSlackIntact());
        std::vector<float> drawn;
        for (Vek32s i = 0; i < length; ++i)
            drawn.push_back(numbers[i]);
        return drawn;
    }

private:
    VekRandGaussState* state_ = nullptr;
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

// Kolmogorov and Smirnov's largest distance to the normal distribution, and the first four moments.
TEST_P(SignalGaussTest, NumbersAreNormal)
{
    constexpr int kCount = 100000;
    for (const uint32_t seed : {0u, 7u, 0xffffffffu}) {
        auto numbers = State(0, 1, seed).Draw(kCount);
        double moments[5] = {}, pairs = 0;
        for (int i = 0; i < kCount; ++i) {
            for (int power = 1; power <= 4; ++power)
                moments[power] += std::pow(numbers[(size_t)i], power) / kCount;
            pairs += i ? (double)numbers[(size_t)i] * numbers[(size_t)i - 1] / kCount : 0;
        }
        const double deviation = 1 / std::sqrt((double)kCount);
        EXPECT_NEAR(0, moments[1], 4 * deviation);
        EXPECT_NEAR(1, moments[2], 4 * std::sqrt(2.0) * deviation);
        EXPECT_NEAR(0, moments[3], 4 * std::sqrt(15.0) * deviation);
        EXPECT_NEAR(3, moments[4], 4 * std::sqrt(96.0) * deviation);
        EXPECT_NEAR(0, pairs, 4 * deviation);
        std::sort(numbers.begin(), numbers.end());
        double distance = 0;
        for (int i = 0; i < kCount; ++i) {
            const double below = 0.5 * std::erfc(-numbers[(size_t)i] / std::sqrt(2.0));
            distance = std::max({distance, below - (double)i / kCount, (i + 1.0) / kCount - below});
        }
        EXPECT_LT(distance, 1.63 * deviation) << "seed " << seed;  // chance exceeds this once in a hundred
    }
}

TEST_P(SignalGaussTest, StateStartsFromItsSeed)
{
    State state(5, 0, 0);
    EXPECT_EQ(0u, (uintptr_t)state.operator->() % 16);
    EXPECT_EQ(64u, sizeof(VekRandGaussState));
    EXPECT_EQ(40u, state->id);
    EXPECT_EQ(1131199209u, state->lcg);
    EXPECT_EQ(0u, state->swbA);
    EXPECT_EQ(1013904243u, state->swbB);
    EXPECT_EQ(1013904243u * 69069u + 1013904243u, state->swbC);
    EXPECT_EQ(-1, state->borrow);
    EXPECT_EQ(1u, state->pairEmpty);
    EXPECT_EQ(std::vector<float>(3, 5), state.Draw(3));  // no deviation, and the generators move on
    EXPECT_EQ(0u, state->pairEmpty);
    EXPECT_NE(1131199209u, state->lcg);
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
