#include <cfenv>
#include <cmath>
#include <vector>

#include "support/allocator.h"
#include "support/tiers.h"
#include "support/window.h"
#include "uvek/filter.h"

namespace uvek::test {
namespace {

class LinearFilterTest : public TierTest {};

template <typename K>
struct Kernel {
    VekImageSize size;
    VekPoint anchor;
    std::vector<K> values;

    Border border() const { return {size.width - 1 - anchor.x, size.height - 1 - anchor.y, anchor.x, anchor.y}; }
    K at(Vek32s n, Vek32s m) const { return values[(size_t)(m * size.width + n)]; }
};

template <typename K, typename Next>
Kernel<K> RandomKernel(VekImageSize size, VekPoint anchor, Next next)
{
    Kernel<K> kernel{size, anchor, std::vector<K>((size_t)(size.width * size.height))};
    for (K& value : kernel.values)
        value = next();
    return kernel;
}

// Nearest with ties to even, from the exact quotient where the divisor is a power of two.
Vek8u Divided(Vek32s sum, Vek32s divisor)
{
    const bool exact = divisor > 0 && (divisor & (divisor - 1)) == 0;
    const double quotient = exact ? (double)sum / divisor : (double)((float)sum * (1.0f / (float)divisor));
    return (Vek8u)std::fmin(std::fmax(std::nearbyint(quotient), 0), 255);
}

// The integer kernel with its divisor, or the float kernel, of one channel or three.
template <int channels, typename K, typename... Divisor>
VekStatus Filter(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size, const Kernel<K>& k, Divisor... divisor)
{
    if constexpr (std::is_same_v<K, Vek32s>)
        return (channels == 1 ? vekiFilter_8u_C1R : vekiFilter_8u_C3R)(src, srcStep, dst, dstStep, size, k.values.data(), k.size, k.anchor, divisor...);
    else
        return (channels == 1 ? vekiFilter32f_8u_C1R : vekiFilter32f_8u_C3R)(src, srcStep, dst, dstStep, size, k.values.data(), k.size, k.anchor);
}

template <int channels>
void CheckInteger(const Kernel<Vek32s>& k, Vek32s divisor)
{
    CheckWindow<Vek8u, Vek8u, channels>(
        k.border(),
        [&](auto& src, auto& dst) { return Filter<channels>(src.data(), src.step(), dst.data(), dst.step(), dst.size(), k, divisor); },
        [&](auto& src, Vek32s x, Vek32s y, int c) {
            uint32_t sum = 0;
            for (Vek32s m = 0; m < k.size.height; ++m)
                for (Vek32s n = 0; n < k.size.width; ++n)
                    sum += (uint32_t)k.at(n, m) * src.at(x + k.anchor.x - n, y + k.anchor.y - m, c);
            return Divided((Vek32s)sum, divisor);
        });
}

TEST_P(LinearFilterTest, IntegerKernelsOfEveryMagnitudeAndDivisor)
{
    std::mt19937 random(Seed());
    const auto range = [&](Vek32s low, Vek32s high) {
        return [&random, low, high] { return std::uniform_int_distribution<Vek32s>(low, high)(random); };
    };
    // Sums of 16 bits, of 24, of 32 that wrap; coefficients of a byte, of 16 bits, past them.
    CheckInteger<1>(RandomKernel<Vek32s>({3, 3}, {1, 1}, range(-9, 15)), 1);
    CheckInteger<1>(RandomKernel<Vek32s>({3, 3}, {0, 2}, range(0, 28)), 16);
    CheckInteger<3>(RandomKernel<Vek32s>({3, 2}, {2, 0}, range(-20, 20)), 3);
    CheckInteger<1>(RandomKernel<Vek32s>({5, 5}, {2, 2}, range(-300, 400)), 571);
    CheckInteger<3>(RandomKernel<Vek32s>({4, 3}, {1, 2}, range(-32767, 32766)), 1 << 17);
    CheckInteger<1>(RandomKernel<Vek32s>({3, 3}, {1, 1}, range(-32767, 32766)), -1000);
    CheckInteger<1>(RandomKernel<Vek32s>({3, 1}, {1, 0}, range(-40000, 60000)), 64);
    CheckInteger<1>(RandomKernel<Vek32s>({1, 3}, {0, 1}, range(-2147483647, 2147483647)), 1 << 30);
    // A byte pair's multiply-add saturates beyond these.
    CheckInteger<1>({{3, 1}, {1, 0}, {64, 64, 127}}, 1);
    CheckInteger<1>({{2, 2}, {0, 0}, {65, 64, 0, 0}}, 129);
    CheckInteger<1>({{3, 1}, {0, 0}, {-128, 128, -1}}, -2);
    CheckInteger<1>({{3, 3}, {1, 1}, {0, 0, 0, 0, 0, 0, 0, 0, 0}}, 5);
}

// One sample through a 1x1 kernel, in a block and in a narrow image.
template <typename K, typename... Divisor>
void ExpectScaled(int want, int sample, K coefficient, Divisor... divisor)
{
    const Kernel<K> kernel{{1, 1}, {0, 0}, {coefficient}};
    const std::vector<Vek8u> src(20, (Vek8u)sample);
    std::vector<Vek8u> wide(20, 9), narrow(1, 9);
    EXPECT_EQ(StatusOk, Filter<1>(src.data(), 20, wide.data(), 20, {20, 1}, kernel, divisor...));
    EXPECT_EQ(StatusOk, Filter<1>(src.data(), 1, narrow.data(), 1, {1, 1}, kernel, divisor...));
    EXPECT_EQ(std::vector<Vek8u>(20, (Vek8u)want), wide) << sample << " times " << coefficient;
    EXPECT_EQ(want, narrow[0]) << sample << " times " << coefficient;
}

TEST_P(LinearFilterTest, ResultsRoundTiesToEvenAndClamp)
{
    const struct { int want, sample, coefficient, divisor; } quotients[] = {
        {77, 77, 1, 1}, {2, 5, 1, 2}, {4, 7, 1, 2}, {1, 4, 1, 3}, {2, 15, 1, 6}, {4, 21, 1, 6}, {50, 50, -1, -1}, {0, 50, 1, -1}, {0, 50, -1, 4},
        {255, 200, 2, 1}, {255, 255, 32766, 8}, {0, 1, 1 << 29, 1 << 30}, {2, 3, 1 << 29, 1 << 30}};
    for (const auto& q : quotients)
        ExpectScaled(q.want, q.sample, q.coefficient, q.divisor);
    const struct { int want; Vek32f value; } floats[] = {
        {0, 0.5f}, {1, 0.50000006f}, {2, 1.5f}, {2, 2.5f}, {254, 254.49998f}, {254, 254.5f}, {255, 1e30f}, {0, -1e30f}, {0, NAN}, {255, INFINITY}};
    for (const auto& f : floats)
        ExpectScaled(f.want, 1, f.value);
}

TEST_P(LinearFilterTest, ResultsDoNotFollowTheCallersRoundingMode)
{
    GuardedImage<Vek8u> src(17, 1), dst(17, 1), twos(17, 1);  // 1.5, the tie to even
    src.Fill([] { return 3; });
    twos.Fill([] { return 2; });
    const Vek32s one = 1;
    const Vek32f half = 0.5f;
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
        for (const bool inSingles : {false, true}) {
            std::fesetround(mode);
            if (inSingles)
                vekiFilter32f_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), dst.size(), &half, {1, 1}, {0, 0});
            else
                vekiFilter_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), dst.size(), &one, {1, 1}, {0, 0}, 2);
            const int after = std::fegetround();
            std::fesetround(FE_TONEAREST);
            EXPECT_EQ(mode, after);
            EXPECT_EQ(twos, dst) << "mode " << mode << ", in single precision " << inSingles;
        }
}

TEST_P(LinearFilterTest, FloatKernelsAddInTheOrderOfTheTier)
{
    std::mt19937 random(Seed());
    const auto next = [&]() -> Vek32f { return std::uniform_real_distribution<Vek32f>(-0.2f, 0.35f)(random); };
    const auto check = [&](auto channelCount, VekImageSize size, VekPoint anchor) {
        constexpr int channels = decltype(channelCount)::value;
        const auto k = RandomKernel<Vek32f>(size, anchor, next);
        CheckWindow<Vek8u, Vek8u, channels>(
            k.border(),
            [&](auto& src, auto& dst) { return Filter<channels>(src.data(), src.step(), dst.data(), dst.step(), dst.size(), k); },
            [&](auto& src, Vek32s x, Vek32s y, int c) {
                const bool byRow = GetParam() > 0 && channels == 1 && size.width >= 3 && src.size().width >= 16;
                Vek32f sum = 0, row = 0;
                for (Vek32s m = size.height - 1; m >= 0; --m, sum = byRow ? sum + row : sum, row = 0)
                    for (Vek32s n = size.width - 1; n >= 0; --n)
                        (byRow ? row : sum) += k.at(n, m) * src.at(x + anchor.x - n, y + anchor.y - m, c);
                return (Vek8u)std::fmin(std::fmax(std::nearbyintf(sum), 0.0f), 255.0f);
            });
    };
    const std::integral_constant<int, 1> c1;
    const std::integral_constant<int, 3> c3;
    check(c1, {3, 3}, {1, 1});
    check(c1, {5, 4}, {0, 3});
    check(c1, {2, 5}, {1, 2});
    check(c3, {3, 3}, {2, 0});
    check(c3, {1, 2}, {0, 1});
}

TEST_P(LinearFilterTest, FloatOrderShowsInTheResult)
{
    // Each 0.75 is lost in 2^24, where singles are 2 apart; the row's own sum of 1.5 is not.
    const Vek32f kernel[9] = {0, 0, -16777216.0f, 0.75f, 0, 0.75f, 0, 0, 16777216.0f};
    Vek8u src[3 * 18], dst[16] = {};
    std::memset(src, 1, sizeof src);
    const auto run = [&] { return vekiFilter32f_8u_C1R(src, 18, dst, 16, {16, 1}, kernel, {3, 3}, {2, 2}); };
    ASSERT_EQ(StatusOk, run());
    EXPECT_EQ(GetParam() > 0 ? 2 : 0, dst[15]);
    const ScopedAllocator failing(0);
    ASSERT_EQ(StatusOk, run());
    EXPECT_EQ(0, dst[15]);
}

TEST_P(LinearFilterTest, AnchorsOutsideTheKernelMoveTheReadArea)
{
    const Vek32s kernel[3] = {1, 0, 0};
    GuardedBytes src(20);
    for (int i = 0; i < 20; ++i)
        src.data()[i] = (Vek8u)i;
    Vek8u dst[18];
    // Element 0 meets column x + 7: the area 5 .. 5 + 17 + 2 starts before the pointer that is given.
    ASSERT_EQ(StatusOk, vekiFilter_8u_C1R(src.data() - 5, 20, dst, 18, {18, 1}, kernel, {3, 1}, {7, 0}, 1));
    for (int i = 0; i < 18; ++i)
        EXPECT_EQ(i + 2, dst[i]);
    ASSERT_EQ(StatusOk, vekiFilter_8u_C1R(src.data() + 4, 20, dst, 18, {18, 1}, kernel, {3, 1}, {-2, 0}, 1));
    EXPECT_EQ(2, dst[0]);
}

TEST_P(LinearFilterTest, WithoutScratchTheScalarLoopGivesTheSameBytes)
{
    const Kernel<Vek32s> kernel = {{3, 3}, {2, 2}, {1, 2, 3, 4, 5, 6, 7, 8, 9}};
    std::mt19937 random(Seed());
    const auto src = Noise<Vek8u>(Shape{40, 12}, random);
    GuardedImage<Vek8u> dst(38, 10), want(38, 10);
    ASSERT_EQ(StatusOk, Filter<1>(src.data(), src.step(), want.data(), want.step(), want.size(), kernel, 45));
    const ScopedAllocator failing(0);
    ASSERT_EQ(StatusOk, Filter<1>(src.data(), src.step(), dst.data(), dst.step(), dst.size(), kernel, 45));
    EXPECT_EQ(want, dst);
    EXPECT_EQ(0, failing.live());
}

TEST_P(LinearFilterTest, BadCallsGiveTheirStatusInOrder)
{
    const Vek8u src[400] = {};
    Vek8u dst[100] = {7};
    const VekImageSize size = {4, 2}, none = {0, 2};
    const auto check = [&](auto channelCount, auto zero, auto... divisor) {
        constexpr int channels = decltype(channelCount)::value;
        using K = decltype(zero);
        const Kernel<K> kernel = {{3, 3}, {1, 1}, std::vector<K>(9)}, flat = {{3, -1}, {1, 1}, std::vector<K>(9)}, null = {{0, 2}, {1, 1}, {}};
        const Vek32s srcStep = 6 * channels, dstStep = 4 * channels;
        const auto call = [&](const Vek8u* from, Vek32s fromStep, Vek8u* to, Vek32s toStep, VekImageSize region, const Kernel<K>& k, auto... by) {
            return Filter<channels>(from, fromStep, to, toStep, region, k, by...);
        };
        EXPECT_EQ(StatusNullPointer, call(nullptr, srcStep, dst, dstStep, none, kernel, divisor...));
        EXPECT_EQ(StatusNullPointer, call(src, srcStep, nullptr, dstStep, none, kernel, divisor...));
        EXPECT_EQ(StatusNullPointer, call(src, srcStep, dst, dstStep, size, null, (divisor - 1)...));
        EXPECT_EQ(StatusBadSize, call(src, 0, dst, dstStep, none, kernel, (divisor - 1)...));
        EXPECT_EQ(StatusBadSize, call(src, srcStep, dst, 0, size, flat, (divisor - 1)...));
        EXPECT_EQ(StatusBadStep, call(src, srcStep - 1, dst, dstStep, size, kernel, divisor...));
        EXPECT_EQ(StatusBadStep, call(src, srcStep, dst, dstStep - 1, size, kernel, divisor...));
        if constexpr (sizeof...(divisor) == 1) {
            EXPECT_EQ(StatusBadDivisor, call(src, 0, dst, dstStep, size, kernel, (divisor - 1)...));
        }
    };
    check(std::integral_constant<int, 1>(), Vek32s(0), 1);
    check(std::integral_constant<int, 3>(), Vek32s(0), 1);
    check(std::integral_constant<int, 1>(), Vek32f(0));
    check(std::integral_constant<int, 3>(), Vek32f(0));
    EXPECT_EQ(7, dst[0]);
}

UVEK_ON_ALL_TIERS(LinearFilterTest);

}  // namespace
}  // namespace uvek::test
