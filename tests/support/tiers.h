// Runs a test on every tier: the fixture sets the statics that the load entry sets.
#ifndef UVEK_TESTS_SUPPORT_TIERS_H
#define UVEK_TESTS_SUPPORT_TIERS_H

#include <gtest/gtest.h>

#include <utility>

namespace uvek::test {

constexpr int kTierCount = 4;

// Puts table exports and slot exports in `tier`; the destructor puts both back.
class ScopedTier {
public:
    explicit ScopedTier(int tier);
    ~ScopedTier();
    ScopedTier(const ScopedTier&) = delete;
    ScopedTier& operator=(const ScopedTier&) = delete;

private:
    int before_;
};

class TierTest : public ::testing::TestWithParam<int> {
protected:
    ScopedTier tier_{GetParam()};
};

// What `call` returns on a tier.
template <typename Call, typename... Args>
auto OnTier(int tier, Call&& call, Args&&... args)
{
    const ScopedTier scoped(tier);
    return std::forward<Call>(call)(std::forward<Args>(args)...);
}

}  // namespace uvek::test

// Once in each test file, for each fixture.
#define UVEK_ON_ALL_TIERS(fixture)                                                           \
    INSTANTIATE_TEST_SUITE_P(, fixture, ::testing::Range(0, ::uvek::test::kTierCount),       \
                             [](const auto& info) { return "tier" + std::to_string(info.param); })

#endif
