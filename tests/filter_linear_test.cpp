#include <cfenv>
#include <cmath>
#include <functional>
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

    Border border() const
    {
        return {size.width - 1 - anchor.x, size.height - 1 - anchor.y, anchor.x, anchor.y};
    }
};

template <typename K>
Kernel<K> RandomKernel(VekImageSize size, VekPoint anchor, const std::function<K()>& next)
{
    Kernel<K> kernel{size, anchor, {}};
    for (Vek32s i = 0; i < size.width * size.height; ++i)
        kernel.values.push_back(next());
    return kernel;
}

// Nearest with ties to even, from the exact quotient where the divisor is a power of two.
Vek8u Divided(Vek32s sum, Vek32s divisor)
{
    const bool exact = divisor > 0 && (divisor & (divisor - 1)) == 0;
    const double quotient = exact ? (double)sum / divisor : (double)((float)sum * (1.0f / (float)divisor));
    return (Vek8u)std::fmin(std::fmax(std::nearbyint(quotient), 0), 255);
}

template <int channels>
VekStatus Filter(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size, const Vek32s* kernel, VekImageSize kernelSize,
                 VekPoint anchor, Vek32s divisor)
{
    return (channels == 1 ? vekiFilter_8u_C1R : vekiFilter_8u_C3R)(src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor, divisor);
}

template <int channels>
VekStatus Filter(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size, const Vek32f* kernel, VekImageSize kernelSize,
                 VekPoint anchor)
{
    return (channels == 1 ? vekiFilter32f_8u_C1R : vekiFilter32f_8u_C3R)(src, srcStep, dst, dstStep, size, kernel, kernelSize, anchor);
}

template <int channels>
void CheckInteger(const Kernel<Vek32s>& k, Vek32s divisor)
{
    CheckWindow<Vek8u, Vek8u, channels>(
        k.border(),
        [&](auto& src, auto& dst) {
            return Filter<channels>(src.data(), src.step(), dst.data(), dst.step(), dst.size(), k.values.data(), k.size, k.anchor, divisor);
        },
        [&](auto& src, Vek32s x, Vek32s y, int c) {
            uint32_t sum = 0;
            for (Vek32s m = 0; m < k.size.height; ++m)
                for (Vek32s n = 0; n < k.size.width; ++n)
                    sum += (uint32_t)k.values[(size_t)(m * k.size.width + n)] * src.at(x + k.anchor.x - n, y + k.anchor.y - m, c);
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

// One pixel through a 1x1 kernel, in a block and in a narrow image.
Vek8u Scaled(Vek32s sample, Vek32s coefficient, Vek32s divisor)
{
    Vek8u narrow = 0, wide[20] = {}, src[20];
    std::memset(src, sample, sizeof src);
    EXPECT_EQ(StatusOk, vekiFilter_8u_C1R(src, 1, &narrow, 1, {1, 1}, &coefficient, {1, 1}, {0, 0}, divisor));
    EXPECT_EQ(StatusOk, vekiFilter_8u_C1R(src, 20, wide, 20, {20, 1}, &coefficient, {1, 1}, {0, 0}, divisor));
    EXPECT_EQ(narrow, wide[0]);
    EXPECT_EQ(narrow, wide[19]);
    return narrow;
}

TEST_P(LinearFilterTest, QuotientsRoundTiesToEvenAndClamp)
{
    EXPECT_EQ(77, Scaled(77, 1, 1));
    EXPECT_EQ(2, Scaled(5, 1, 2));
    EXPECT_EQ(4, Scaled(7, 1, 2));
    EXPECT_EQ(1, Scaled(4, 1, 3));
    EXPECT_EQ(2, Scaled(15, 1, 6));
    EXPECT_EQ(4, Scaled(21, 1, 6));
    EXPECT_EQ(50, Scaled(50, -1, -1));
    EXPECT_EQ(0, Scaled(50, 1, -1));
    EXPECT_EQ(0, Scaled(50, -1, 4));
    EXPECT_EQ(255, Scaled(200, 2, 1));
    EXPECT_EQ(255, Scaled(255, 32766, 8));
    EXPECT_EQ(0, Scaled(1, 1 << 29, 1 << 30));
    EXPECT_EQ(2, Scaled(3, 1 << 29, 1 << 30));
}

TEST_P(LinearFilterTest, QuotientsDoNotFollowTheCallersRoundingMode)
{
    GuardedImage<Vek8u> src(16, 1), dst(16, 1);
    src.Fill([] { return 3; });
    const Vek32s one = 1;
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(mode);
        vekiFilter_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), dst.size(), &one, {1, 1}, {0, 0}, 2);
        const int after = std::fegetround();
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(mode, after);
        EXPECT_EQ(2, dst.at(0, 0)) << "mode " << mode;  // 1.5, the tie to even
        EXPECT_EQ(2, dst.at(15, 0)) << "mode " << mode;
    }
}

TEST_P(LinearFilterTest, FloatKernelsAddInTheOrderOfTheTier)
{
    std::mt19937 random(Seed());
    const auto next = [&]() -> Vek32f { return std::uniform_real_distribution<Vek32f>(-0.2f, 0.35f)(random); };
    const auto check = [&](auto channelCount, const Kernel<Vek32f>& k) {
        constexpr int channels = decltype(channelCount)::value;
        CheckWindow<Vek8u, Vek8u, channels>(
            k.border(),
            [&](auto& src, auto& dst) {
                return Filter<channels>(src.data(), src.step(), dst.data(), dst.step(), dst.size(), k.values.data(), k.size, k.anchor);
            },
            [&](auto& src, Vek32s x, Vek32s y, int c) {
                const bool byRow = GetParam() > 0 && channels == 1 && k.size.width >= 3 && src.size().width >= 16;
                Vek32f sum = 0, row = 0;
                for (Vek32s m = k.size.height - 1; m >= 0; --m, sum = byRow ? sum + row : sum, row = 0)
                    for (Vek32s n = k.size.width - 1; n >= 0; --n)
                        (byRow ? row : sum) += k.values[(size_t)(m * k.size.width + n)] * src.at(x + k.anchor.x - n, y + k.anchor.y - m, c);
                return (Vek8u)std::fmin(std::fmax(std::nearbyintf(sum), 0.0f), 255.0f);
            });
    };
    const std::integral_constant<int, 1> c1;
    const std::integral_constant<int, 3> c3;
    check(c1, RandomKernel<Vek32f>({3, 3}, {1, 1}, next));
    check(c1, RandomKernel<Vek32f>({5, 4}, {0, 3}, next));
    check(c1, RandomKernel<Vek32f>({2, 5}, {1, 2}, next));
    check(c3, RandomKernel<Vek32f>({3, 3}, {2, 0}, next));
    check(c3, RandomKernel<Vek32f>({1, 2}, {0, 1}, next));
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

TEST_P(LinearFilterTest, FloatResultsRoundTiesToEven)
{
    const auto one = [](Vek32f value) {
        Vek8u dst[16] = {9};
        const Vek8u src[16] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
        EXPECT_EQ(StatusOk, vekiFilter32f_8u_C1R(src, 16, dst, 16, {16, 1}, &value, {1, 1}, {0, 0}));
        Vek8u narrow = 9;
        EXPECT_EQ(StatusOk, vekiFilter32f_8u_C1R(src, 1, &narrow, 1, {1, 1}, &value, {1, 1}, {0, 0}));
        EXPECT_EQ(narrow, dst[7]);
        return narrow;
    };
    EXPECT_EQ(0, one(0.5f));
    EXPECT_EQ(1, one(0.50000006f));
    EXPECT_EQ(2, one(1.5f));
    EXPECT_EQ(2, one(2.5f));
    EXPECT_EQ(254, one(254.49998f));
    EXPECT_EQ(254, one(254.5f));
    EXPECT_EQ(255, one(1e30f));
    EXPECT_EQ(0, one(-1e30f));
    EXPECT_EQ(0, one(NAN));
    EXPECT_EQ(255, one(INFINITY));
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
    const Vek32s kernel[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    std::mt19937 random(Seed());
    const GuardedImage<Vek8u> src = Noise<Vek8u>(Shape{40, 12}, random);
    GuardedImage<Vek8u> dst(38, 10), want(38, 10);
    const auto run = [&](GuardedImage<Vek8u>& to) {
        return vekiFilter_8u_C1R(src.data(), src.step(), to.data(), to.step(), to.size(), kernel, {3, 3}, {2, 2}, 45);
    };
    ASSERT_EQ(StatusOk, run(want));
    const ScopedAllocator failing(0);
    ASSERT_EQ(StatusOk, run(dst));
    EXPECT_EQ(want, dst);
    EXPECT_EQ(0, failing.live());
}

TEST_P(LinearFilterTest, BadCallsGiveTheirStatusInOrder)
{
    const Vek8u src[400] = {};
    Vek8u dst[100] = {7};
    const Vek32s k[9] = {};
    const Vek32f f[9] = {};
    const VekImageSize size = {4, 2}, kernel = {3, 3}, none = {0, 2};
    EXPECT_EQ(StatusNullPointer, vekiFilter_8u_C1R(nullptr, 6, dst, 4, none, k, kernel, {1, 1}, 1));
    EXPECT_EQ(StatusNullPointer, vekiFilter_8u_C1R(src, 6, nullptr, 4, none, k, kernel, {1, 1}, 1));
    EXPECT_EQ(StatusNullPointer, vekiFilter_8u_C3R(src, 18, dst, 12, size, nullptr, none, {1, 1}, 0));
    EXPECT_EQ(StatusBadSize, vekiFilter_8u_C1R(src, 6, dst, 4, none, k, kernel, {1, 1}, 0));
    EXPECT_EQ(StatusBadSize, vekiFilter_8u_C3R(src, 6, dst, 4, size, k, {3, -1}, {1, 1}, 0));
    EXPECT_EQ(StatusBadDivisor, vekiFilter_8u_C1R(src, 0, dst, 4, size, k, kernel, {1, 1}, 0));
    EXPECT_EQ(StatusBadDivisor, vekiFilter_8u_C3R(src, 18, dst, 0, size, k, kernel, {1, 1}, 0));
    EXPECT_EQ(StatusBadStep, vekiFilter_8u_C1R(src, 5, dst, 4, size, k, kernel, {1, 1}, 1));
    EXPECT_EQ(StatusBadStep, vekiFilter_8u_C1R(src, 6, dst, 3, size, k, kernel, {1, 1}, 1));
    EXPECT_EQ(StatusBadStep, vekiFilter_8u_C3R(src, 17, dst, 12, size, k, kernel, {1, 1}, 1));
    EXPECT_EQ(StatusBadStep, vekiFilter_8u_C3R(src, 18, dst, 11, size, k, kernel, {1, 1}, 1));
    EXPECT_EQ(StatusNullPointer, vekiFilter32f_8u_C1R(nullptr, 6, dst, 4, none, f, kernel, {1, 1}));
    EXPECT_EQ(StatusNullPointer, vekiFilter32f_8u_C3R(src, 18, dst, 12, size, nullptr, none, {1, 1}));
    EXPECT_EQ(StatusBadSize, vekiFilter32f_8u_C1R(src, 0, dst, 4, size, f, {0, 1}, {1, 1}));
    EXPECT_EQ(StatusBadStep, vekiFilter32f_8u_C1R(src, 5, dst, 4, size, f, kernel, {1, 1}));
    EXPECT_EQ(StatusBadStep, vekiFilter32f_8u_C3R(src, 18, dst, 11, size, f, kernel, {1, 1}));
    EXPECT_EQ(7, dst[0]);
}

UVEK_ON_ALL_TIERS(LinearFilterTest);

}  // namespace
}  // namespace uvek::test
