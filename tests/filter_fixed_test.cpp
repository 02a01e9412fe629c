#include <algorithm>
#include <cfenv>
#include <cmath>

#include "support/allocator.h"
#include "support/tiers.h"
#include "support/window.h"
#include "uvek/filter.h"

namespace uvek::test {
namespace {

class FixedFilterTest : public TierTest {};

using ByteFilter = VekStatus (*)(const Vek8u*, Vek32s, Vek8u*, Vek32s, VekImageSize, Vek32s);

// The sum of a square kernel around a sample, in exact arithmetic.
template <typename Image, typename Weight>
double WindowSum(const Image& src, Vek32s x, Vek32s y, int reach, Weight weight)
{
    double sum = 0;
    for (int j = -reach; j <= reach; ++j)
        for (int i = -reach; i <= reach; ++i)
            sum += weight(i, j) * (double)src.at(x + i, y + j);
    return sum;
}

template <typename Weight>
void CheckBytes(ByteFilter filter, int reach, double divisor, Weight weight)
{
    CheckWindow<Vek8u, Vek8u, 1>(
        {reach, reach, reach, reach},
        [&](auto& src, auto& dst) {
            return filter(src.data(), src.step(), dst.data(), dst.step(), dst.size(), reach == 1 ? MaskSize3x3 : MaskSize5x5);
        },
        [&](auto& src, Vek32s x, Vek32s y, int) {
            return std::fmin(std::fmax(std::nearbyint(WindowSum(src, x, y, reach, weight) / divisor), 0), 255);
        });
}

TEST_P(FixedFilterTest, GaussIsTheNearestOfTheWeightedMean)
{
    CheckBytes(vekiFilterGauss_8u_C1R, 1, 16, [](int i, int j) { return (i ? 1 : 2) * (j ? 1 : 2); });
    const int weights[3][3] = {{127, 52, 12}, {52, 31, 7}, {12, 7, 2}};
    CheckBytes(vekiFilterGauss_8u_C1R, 2, 571, [&](int i, int j) { return weights[std::abs(j)][std::abs(i)]; });
}

TEST_P(FixedFilterTest, HipassTakesTheWindowFromTheCentre)
{
    CheckBytes(vekiFilterHipass_8u_C1R, 1, 1, [](int i, int j) { return i || j ? -1 : 8; });
    CheckBytes(vekiFilterHipass_8u_C1R, 2, 1, [](int i, int j) { return i || j ? -1 : 24; });
}

TEST_P(FixedFilterTest, Gauss5x5RoundsToNearestWhateverTheCallersMode)
{
    std::mt19937 random(Seed());
    BorderedImage<Vek8u> src(Shape{64, 40}, {2, 2, 2, 2});
    FillWithBytes(src, 3, random);
    GuardedImage<Vek8u> want(64, 40), dst(64, 40);
    ASSERT_EQ(StatusOk, vekiFilterGauss_8u_C1R(src.data(), src.step(), want.data(), want.step(), want.size(), MaskSize5x5));
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(mode);
        const VekStatus status = vekiFilterGauss_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), dst.size(), MaskSize5x5);
        const int after = std::fegetround();
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(StatusOk, status);
        EXPECT_EQ(mode, after);
        EXPECT_EQ(want, dst) << "rounding mode " << mode;
    }
}

constexpr int kDx[3][3] = {{1, 0, -1}, {2, 0, -2}, {1, 0, -1}};
constexpr int kDy[3][3] = {{-1, -2, -1}, {0, 0, 0}, {1, 2, 1}};

template <typename S, typename D>
void CheckSobel(VekStatus (*sobel)(const S*, Vek32s, D*, Vek32s, VekImageSize), const int (&kernel)[3][3])
{
    CheckWindow<S, D, 1>(
        {1, 1, 1, 1},
        [&](auto& src, auto& dst) { return sobel(src.data(), src.step(), dst.data(), dst.step(), dst.size()); },
        [&](auto& src, Vek32s x, Vek32s y, int) { return WindowSum(src, x, y, 1, [&](int i, int j) { return kernel[j + 1][i + 1]; }); },
        (Vek32s)sizeof(S));
}

TEST_P(FixedFilterTest, SobelKeepsItsSigns)
{
    CheckSobel(vekiSobel3x3_Dx_8u16s_C1R, kDx);
    CheckSobel(vekiSobel3x3_Dy_8u16s_C1R, kDy);
    CheckSobel(vekiSobel3x3_Dx_32f_C1R, kDx);
    CheckSobel(vekiSobel3x3_Dy_32f_C1R, kDy);
}

TEST_P(FixedFilterTest, FloatSobelAddsFromTopToBottomAndDropsOddStepBytes)
{
    // 2^24 + 1 + 1 loses both ones from the top, and none the other way round.
    const Vek32f big = 16777216.0f;
    alignas(16) Vek32f src[3][8] = {{0, big, 0, 0, 0, 0}, {0, 0.5f, 0, 0, 0, 0}, {0, 1, 0, 0, 0, 0}};
    for (auto& row : src)
        for (int x = 1; x < 6; ++x)
            row[x + 1] = row[1];  // columns 0 | 1 .. 6 | then a difference of zero
    Vek32f dst[4] = {};
    ASSERT_EQ(StatusOk, vekiSobel3x3_Dx_32f_C1R(&src[1][1], 8 * 4 + 3, dst, 16 + 1, {4, 1}));
    EXPECT_EQ(-big, dst[0]);
    EXPECT_EQ(0, dst[1]);
    ASSERT_EQ(StatusOk, vekiSobel3x3_Dy_32f_C1R(&src[1][1], 8 * 4 + 2, dst, 8 + 3, {1, 1}));
    EXPECT_EQ(3 * (1 - big), dst[0]);
}

TEST_P(FixedFilterTest, BadCallsGiveTheirStatusInOrder)
{
    const VekImageSize size = {3, 1}, none = {3, 0};
    Vek8u image[64] = {}, dst[16] = {7};
    for (const ByteFilter filter : {ByteFilter(vekiFilterGauss_8u_C1R), ByteFilter(vekiFilterHipass_8u_C1R)}) {
        EXPECT_EQ(StatusNullPointer, filter(nullptr, 8, dst, 3, none, 33));
        EXPECT_EQ(StatusNullPointer, filter(image + 18, 8, nullptr, 3, none, 33));
        EXPECT_EQ(StatusBadSize, filter(image + 18, 0, dst, 3, none, 33));
        EXPECT_EQ(StatusBadSize, filter(image + 18, 8, dst, 3, {-1, 4}, 35));
        EXPECT_EQ(StatusBadStep, filter(image + 18, 0, dst, 3, size, 35));
        EXPECT_EQ(StatusBadStep, filter(image + 18, 8, dst, -3, size, 33));
        EXPECT_EQ(StatusBadMaskSize, filter(image + 18, 8, dst, 3, size, 35));
        for (const Vek32s mask : {33, 55}) {
            const ScopedAllocator failing(0);
            EXPECT_EQ(StatusNoMemory, filter(image + 18, 8, dst, 3, size, mask));
        }
        ScopedAllocator counting;
        EXPECT_EQ(StatusOk, filter(image + 18, 8, dst + 8, 3, size, 55));
        EXPECT_EQ(0, counting.live());
    }
    const auto sobel = [&](auto filter, auto* src, auto* to) {
        EXPECT_EQ(StatusNullPointer, filter(nullptr, 8, to, 16, none));
        EXPECT_EQ(StatusNullPointer, filter(src, 8, nullptr, 16, none));
        EXPECT_EQ(StatusBadSize, filter(src, 0, to, 16, none));
        EXPECT_EQ(StatusBadStep, filter(src, 0, to, 16, size));
        EXPECT_EQ(StatusBadStep, filter(src, 8, to, 0, size));
        const ScopedAllocator failing(0);
        EXPECT_EQ(StatusNoMemory, filter(src, 24, to, 16, size));
        EXPECT_EQ(7, to[0]);
    };
    Vek16s words[8] = {7};
    Vek32f floats[32] = {7};
    sobel(vekiSobel3x3_Dx_8u16s_C1R, image + 18, words);
    sobel(vekiSobel3x3_Dy_8u16s_C1R, image + 18, words);
    sobel(vekiSobel3x3_Dx_32f_C1R, floats + 8, floats);
    sobel(vekiSobel3x3_Dy_32f_C1R, floats + 8, floats);
    EXPECT_EQ(7, dst[0]);
}

// ---- In place ----

using InPlace = VekStatus (*)(Vek8u*, Vek32s, VekImageSize);

// The border around the region is read and stays as it is.
template <typename Pick>
void CheckInPlace(InPlace filter, Pick pick)
{
    std::mt19937 random(Seed());
    unsigned turn = 0;
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        BorderedImage<Vek8u> image(shape, {1, 1, 1, 1});
        FillWithBytes(image, turn++, random);
        GuardedImage<Vek8u> before(image.whole()), want(image.whole());
        for (Vek32s y = 1; y <= shape.height; ++y)
            for (Vek32s x = 1; x <= shape.width; ++x)
                for (int i = 0; i < 9; ++i)
                    want.set(x, y, 0, pick(i == 0 ? before.at(x, y) : want.at(x, y), before.at(x + i % 3 - 1, y + i / 3 - 1)));
        ASSERT_EQ(StatusOk, filter(image.data(), image.step(), image.size())) << shape;
        EXPECT_EQ(want, image.whole()) << shape << " seed " << Seed();
    });
}

TEST_P(FixedFilterTest, MorphologyReplacesEachPixelByItsNeighbourhoodsExtreme)
{
    CheckInPlace(vekiDilate3x3_8u_C1IR, [](Vek8u a, Vek8u b) { return std::max(a, b); });
    CheckInPlace(vekiErode3x3_8u_C1IR, [](Vek8u a, Vek8u b) { return std::min(a, b); });
}

TEST_P(FixedFilterTest, BadCallsInPlaceGiveTheirStatusInOrder)
{
    Vek8u image[64] = {};
    image[9] = 7;
    for (const InPlace filter : {InPlace(vekiDilate3x3_8u_C1IR), InPlace(vekiErode3x3_8u_C1IR)}) {
        EXPECT_EQ(StatusNullPointer, filter(nullptr, 0, {0, 0}));
        EXPECT_EQ(StatusBadStep, filter(image + 10, 0, {0, 1}));
        EXPECT_EQ(StatusBadSize, filter(image + 10, 1, {6, 0}));
        EXPECT_EQ(StatusStepTooSmall, filter(image + 10, 7, {6, 2}));
        {
            const ScopedAllocator failing(0);
            EXPECT_EQ(StatusNoMemory, filter(image + 10, 8, {6, 2}));
        }
        EXPECT_EQ(7, image[9]);
        EXPECT_EQ(0, image[10]);
    }
    ScopedAllocator counting;
    EXPECT_EQ(StatusOk, vekiDilate3x3_8u_C1IR(image + 9, 8, {6, 2}));
    EXPECT_EQ(0, counting.live());
    EXPECT_EQ(7, image[10]);
}

UVEK_ON_ALL_TIERS(FixedFilterTest);

}  // namespace
}  // namespace uvek::test
