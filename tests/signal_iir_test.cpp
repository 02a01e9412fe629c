#include "uvek/signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "support/allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class SignalIirTest : public TierTest {};

// b[0] .. b[N], then a[0] .. a[N].
struct Filter {
    std::vector<float> taps;
    int order() const { return (int)taps.size() / 2 - 1; }
};

struct State {
    VekIirState* state = nullptr;
    explicit State(const Filter& filter, const float* delay = nullptr)
    {
        EXPECT_EQ(StatusOk, veksIIRInitAlloc_32f(&state, filter.taps.data(), filter.order(), delay));
    }
    State(const State&) = delete;
    ~State() { EXPECT_EQ(StatusOk, veksIIRFree_32f(state)); }
};

// The difference equation itself, in double precision, on a signal at rest before its start.
std::vector<double> InDoubles(const Filter& f, const std::vector<float>& x)
{
    const int order = f.order();
    const float reciprocal = 1.0f / f.taps[(size_t)order + 1];
    std::vector<double> y(x.size());
    for (int n = 0; n < (int)x.size(); ++n) {
        double sum = 0;
        for (int k = 0; k <= std::min(order, n); ++k)
            sum += (double)(f.taps[(size_t)k] * reciprocal) * x[(size_t)(n - k)];
        for (int k = 1; k <= std::min(order, n); ++k)
            sum -= (double)(f.taps[(size_t)(order + 1 + k)] * reciprocal) * y[(size_t)(n - k)];
        y[(size_t)n] = sum;
    }
    return y;
}

// Poles and zeros in the unit circle, up to order 8; above that taps too small to ring.
Filter RandomFilter(int order, std::mt19937& random)
{
    std::uniform_real_distribution<double> unit(-1, 1);
    const double a0 = std::ldexp(1 + 0.3 * unit(random), (int)(random() % 5) - 2);
    std::vector<double> b = {1}, a = {1};
    const auto multiply = [](std::vector<double>& p, double c1, double c2) {  // by 1 + c1 z + c2 z^2
        p.resize(p.size() + 2);
        for (size_t i = p.size(); i-- > 0;)
            p[i] += (i > 0 ? c1 * p[i - 1] : 0) + (i > 1 ? c2 * p[i - 2] : 0);
    };
    for (int left = order; left > 1 && order <= 8; left -= 2) {
        const auto pole = std::polar(0.8 * std::fabs(unit(random)), 3.14 * unit(random));
        multiply(a, -2 * pole.real(), std::norm(pole));
        multiply(b, -2 * std::cos(3.14 * unit(random)), 1);
    }
    for (double size = order > 8 ? 0.4 / order : 0; (int)b.size() <= order;) {
        b.push_back(unit(random));
        a.push_back(size * unit(random));
    }
    Filter f;
    for (const double v : b)
        f.taps.push_back((float)(v * a0));
    for (const double v : a)
        f.taps.push_back((float)(v * a0));
    return f;
}

// Every output takes 2 N + 1 products and sums, whose roundings the recursion carries on as it does an
// impulse; inputs are at most 1.
double RoundingBound(const Filter& f, const std::vector<double>& y)
{
    const int order = f.order();
    Filter recursion = f;
    std::fill(recursion.taps.begin(), recursion.taps.begin() + order + 1, 0.0f);
    recursion.taps[0] = f.taps[(size_t)order + 1];
    std::vector<float> impulse(2000);
    impulse[0] = 1;
    double gain = 0, terms = 0, largest = 0;
    for (const double v : InDoubles(recursion, impulse))
        gain += std::fabs(v);
    for (const double v : y)
        largest = std::max(largest, std::fabs(v));
    for (int k = 0; k <= order; ++k)
        terms += std::fabs(f.taps[(size_t)k]) + std::fabs(f.taps[(size_t)(order + 1 + k)]) * largest;
    return gain * (2 * order + 1) * std::ldexp(terms / std::fabs(f.taps[(size_t)order + 1]), -24);
}

void ExpectNear(const std::vector<double>& want, const std::vector<float>& got, double bound, const std::string& what)
{
    for (size_t n = 0; n < want.size(); ++n)
        ASSERT_NEAR(want[n], got[n], bound) << n << " of " << what << " seed " << Seed();
}

// A signal through the filter in pieces, each in memory of its own that ends or starts at a guard.
template <typename NextLength>
std::vector<float> InPieces(VekIirState* state, const std::vector<float>& x, NextLength next)
{
    std::vector<float> y;
    for (Vek32s piece = 0; y.size() < x.size(); ++piece) {
        const Vek32s length = (Vek32s)std::min(std::max<size_t>(next(), 1), x.size() - y.size());
        const Flush flush = piece % 2 ? Flush::End : Flush::Start;
        GuardedVector<Vek32f> src(length, flush, piece % 7), dst(length, flush, piece % 5);
        size_t at = y.size();
        src.Fill([&] { return x[at++]; });
        const bool inPlace = piece % 3 == 0;
        EXPECT_EQ(StatusOk, veksIIR_32f(src.data(), inPlace ? src.data() : dst.data(), length, state));
        const auto& out = inPlace ? src : dst;
        EXPECT_TRUE(out.IsSlackIntact());
        for (Vek32s i = 0; i < length; ++i)
            y.push_back(out[i]);
    }
    return y;
}

TEST_P(SignalIirTest, FollowsTheDifferenceEquationHoweverItIsCut)
{
    std::mt19937 random(Seed());
    std::uniform_real_distribution<float> noise(-1, 1);
    for (const int order : {1, 2, 3, 4, 5, 6, 7, 8, 8, 13, 31, 255, 256, 300}) {
        const Filter f = RandomFilter(order, random);
        std::vector<float> x(6000);
        for (float& v : x)
            v = noise(random);
        const auto want = InDoubles(f, x);
        const State whole(f), cut(f), small(f);
        const std::string name = "order " + std::to_string(order);
        const double bound = RoundingBound(f, want);
        ASSERT_LT(bound, 0.01 * *std::max_element(want.begin(), want.end()));  // it says something
        ExpectNear(want, InPieces(whole.state, x, [] { return 6000; }), bound, name);
        ExpectNear(want, InPieces(cut.state, x, [&] { return 1 + random() % (random() % 4 ? 70 : 2100); }), bound, name + " cut");
        // Around the length from which blocks pay.
        ExpectNear(want, InPieces(small.state, x, [&] { return 4 * order - 1 + random() % 4; }), bound, name + " small");
    }
}

TEST_P(SignalIirTest, StateHoldsNormalisedTapsAndDelayLine)
{
    const float delay[] = {0.5f, -2, 8}, taps[] = {0.75f, 1.25f, 1.75f, 2.25f, 0.25f, 0.5f, 0.75f};
    const State made({{3, 5, 7, 9, 4, 1, 2, 3}}, delay);
    const VekIirState& state = *made.state;
    EXPECT_TRUE(state.id == 0x49493031 && state.order == 3 && state.ownsMemory == 1 && (uintptr_t)&state % 16 == 0);
    EXPECT_TRUE(std::equal(taps, taps + 7, state.taps) && std::equal(delay, delay + 3, state.delay) && state.delay[3] == 0);
    // One sample: y = 0.75 x + d0, then d[i] = b[i + 1] x - a[i + 1] y + d[i + 1].
    float v = 4;
    ASSERT_EQ(StatusOk, veksIIR_32f(&v, &v, 1, made.state));
    EXPECT_EQ(3.5f, v);
    const float after[] = {1.25f * 4 - 0.25f * 3.5f - 2, 1.75f * 4 - 0.5f * 3.5f + 8, 2.25f * 4 - 0.75f * 3.5f, 0};
    EXPECT_TRUE(std::equal(after, after + 4, state.delay));
}

// Sections of whole numbers whose poles their zeros cancel, so that the truth is simple and exact.
TEST_P(SignalIirTest, CascadeOfTheCallersMakingIsFiltered)
{
    std::mt19937 random(Seed());
    const float kinds[3][5] = {{1, 0, -1, -1, 0},   // x[n] + x[n - 1]
                               {1, -1, 1, -1, 1},   // x[n]
                               {0, 1, 1, 0, 0}};    // x[n - 1] + x[n - 2]
    for (const int sections : {0, 1, 2, 3, 7, 12}) {
        std::vector<float> taps, delay((size_t)(2 * sections)), x(3000);
        for (float& v : x)
            v = (float)(random() % 11) - 5;
        std::vector<float> want = x;
        for (int s = 0; s < sections; ++s) {
            const uint32_t kind = random() % 3;
            taps.insert(taps.end(), kinds[kind], kinds[kind] + 5);
            for (size_t n = want.size(); n-- > 0;) {
                const auto past = [&](size_t k) { return n < k ? 0 : want[n - k]; };
                want[n] = kind == 0 ? past(0) + past(1) : kind == 1 ? past(0) : past(1) + past(2);
            }
        }
        VekIirState state = {};
        state.id = 0x49493032;
        state.taps = taps.data();
        state.delay = delay.data();
        state.order = 2 * sections;
        state.sections = sections;
        EXPECT_EQ(want, InPieces(&state, x, [&] { return random() % 3 ? 1 + random() % 70 : 4 * sections + random() % 1500; })) << Seed();
        EXPECT_EQ(StatusOk, veksIIRFree_32f(&state));  // releases nothing: the record is not the library's
        EXPECT_EQ(0x49493032u, state.id);
    }
}

TEST_P(SignalIirTest, BadCallsGiveTheirStatus)
{
    const float taps[] = {1, 2, 1, 0.5f}, zero[] = {1, 2, -0.0f, 0.5f};
    VekIirState* state = nullptr;
    EXPECT_EQ(StatusNullPointer, veksIIRInitAlloc_32f(&state, nullptr, 0, nullptr));
    EXPECT_EQ(StatusNullPointer, veksIIRInitAlloc_32f(nullptr, taps, 0, nullptr));
    EXPECT_EQ(StatusBadFilterOrder, veksIIRInitAlloc_32f(&state, zero, 0, nullptr));
    {
        const ScopedAllocator allocator(0);
        EXPECT_EQ(StatusNoMemory, veksIIRInitAlloc_32f(&state, zero, 1, nullptr));
        EXPECT_EQ(nullptr, state);
        // The record is placed before its taps are looked at, and released all the same.
        EXPECT_EQ(StatusDivideByZero, veksIIRInitAlloc_32f(&state, zero, 1, nullptr));
        EXPECT_NE(nullptr, state);
        EXPECT_EQ(0, allocator.live());
        ASSERT_EQ(StatusOk, veksIIRInitAlloc_32f(&state, taps, 1, nullptr));
        EXPECT_EQ(StatusOk, veksIIRFree_32f(state));
        EXPECT_EQ(0, allocator.live());
    }

    float x[2] = {1, 2}, y[2] = {7, 7};
    VekIirState stranger = {};
    stranger.id = 0x49493033;
    EXPECT_EQ(StatusNullPointer, veksIIR_32f(x, y, 0, nullptr));
    EXPECT_EQ(StatusNullPointer, veksIIR_32f(nullptr, y, 0, &stranger));
    EXPECT_EQ(StatusNullPointer, veksIIR_32f(x, nullptr, 0, &stranger));
    EXPECT_EQ(StatusBadSize, veksIIR_32f(x, y, 0, &stranger));
    EXPECT_EQ(StatusBadContext, veksIIR_32f(x, y, 2, &stranger));
    EXPECT_EQ(StatusNullPointer, veksIIRFree_32f(nullptr));
    EXPECT_EQ(StatusBadContext, veksIIRFree_32f(&stranger));
    EXPECT_TRUE(y[0] == 7 && y[1] == 7);
}

UVEK_ON_ALL_TIERS(SignalIirTest);

}  // namespace
}  // namespace uvek::test
