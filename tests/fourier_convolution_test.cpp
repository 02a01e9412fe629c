#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"
#include "uvek/uvek.h"

namespace uvek::test {
namespace {

using Image = GuardedImage<Vek32f>;

Image Noisy(const Shape& shape, std::mt19937& random)
{
    std::normal_distribution<float> noise;
    Image image(shape);
    image.Fill([&] { return noise(random); });
    return image;
}

VekStatus Convolve(const Image& a, const Image& b, Image& dst)
{
    return vekiConvFull_32f_C1R(a.data(), a.step(), a.size(), b.data(), b.step(), b.size(), dst.data(), dst.step());
}

// Against the sums in double, of all samples or, in a large result, of those around every `stride`th.
// Returns how many blocks of memory the call asked for: none when it sums directly.
int Check(VekImageSize size1, VekImageSize size2, std::mt19937& random, int stride = 1)
{
    const Image a = Noisy({size1.width, size1.height, size2.width % 9, false, Flush::End, size1.height % 4}, random);
    const Image b = Noisy({size2.width, size2.height, size1.width % 5, false, Flush::Start, size1.width % 4}, random);
    Image dst(Shape{size1.width + size2.width - 1, size1.height + size2.height - 1, size1.width % 6});
    const ScopedAllocator allocator;
    EXPECT_EQ(StatusOk, Convolve(a, b, dst));
    EXPECT_EQ(0, allocator.live());
    const bool isDirect = allocator.requests() == 0;
    const double unit = 0.5 * std::numeric_limits<float>::epsilon();
    // A transform spreads its error over the block, or over a row or column of it that is large: of the results' size,
    // the root of how many products of noise they sum, and of this result's, up to 0.6 sqrt(log2 N) units in each of
    // three passes. Six times that never happens.
    const double most = (double)std::min(size1.width, size2.width) * std::min(size1.height, size2.height);
    const double passes = 6 * 0.6 * std::sqrt(3 * std::log2((double)dst.width() * dst.height() * 4)) * 2 * unit;
    for (Vek32s y = 0; y < dst.height(); ++y)
        for (Vek32s x = y % stride; x < dst.width(); x += stride) {
            double sum = 0, magnitude = 0;
            int terms = 0;
            for (Vek32s j = std::max(0, y - b.height() + 1); j <= std::min(y, a.height() - 1); ++j)
                for (Vek32s i = std::max(0, x - b.width() + 1); i <= std::min(x, a.width() - 1); ++i, ++terms) {
                    const double product = (double)a.at(i, j) * b.at(x - i, y - j);
                    sum += product;
                    magnitude += std::fabs(product);
                }
            // A sum of n products in any order is off by n roundings of the sum of their magnitudes at most.
            const double bound = isDirect ? terms * unit * magnitude : passes * (std::sqrt(most) + std::fabs(sum));
            if (std::fabs(sum - dst.at(x, y)) > bound) {
                ADD_FAILURE() << "(" << x << ", " << y << ") of " << size1.width << "x" << size1.height << " by " << size2.width << "x" << size2.height
                              << ": " << dst.at(x, y) << " for " << sum << " seed " << Seed();
                return -1;
            }
        }
    const Image same = dst;
    EXPECT_EQ(same, dst);  // the rows' padding and the guards keep their pattern
    return allocator.requests();
}

class ConvolutionTest : public TierTest {};

TEST_P(ConvolutionTest, SumsSmallImagesDirectly)
{
    std::mt19937 random(Seed());
    for (Vek32s w = 1; w <= 14; ++w)
        for (const VekImageSize kernel : {VekImageSize{1, 1}, {2, 3}, {3, 1}, {4, 2}, {5, 5}, {9, 2}, {14, 1}})
            EXPECT_EQ(0, Check({w, 1 + w % 4}, kernel, random));
    EXPECT_EQ(0, Check({100, 50}, {12, 10}, random));  // 120 samples of the kernel
    EXPECT_EQ(0, Check({12, 10}, {100, 50}, random));
}

TEST_P(ConvolutionTest, TurnsToTransformsAtItsLimits)
{
    std::mt19937 random(Seed());
    const bool isTier0 = GetParam() == 0;
    EXPECT_LT(0, Check({100, 50}, {11, 11}, random));           // 121 samples of the kernel
    EXPECT_EQ(0, Check({14, 60}, {11, 12}, random));            // 24 by 71, 1704 samples of the result
    EXPECT_EQ(isTier0, Check({25, 38}, {11, 12}, random) > 0);  // 35 by 49, 1715
    EXPECT_EQ(isTier0, Check({30, 62}, {11, 13}, random) > 0);  // 40 by 74, 2960
    EXPECT_LT(0, Check({37, 52}, {11, 12}, random));            // 47 by 63, 2961
    // The wider image is the one that goes in blocks, whichever argument it is; equal widths keep the first.
    EXPECT_EQ(0, Check({1, 120}, {3000, 1}, random, 7));
    EXPECT_LT(0, Check({1, 3000}, {120, 1}, random, 7));
    EXPECT_EQ(0, Check({40, 300}, {40, 3}, random, 7));
    EXPECT_LT(0, Check({40, 3}, {40, 300}, random, 7));
}

TEST_P(ConvolutionTest, TransformsGiveTheWholeAndItsBlocks)
{
    std::mt19937 random(Seed());
    EXPECT_LT(0, Check({60, 60}, {23, 23}, random, 3));    // 3600 of 529: below seven times
    EXPECT_LT(0, Check({77, 55}, {55, 11}, random, 3));    // exactly seven times: one block
    EXPECT_LT(0, Check({77, 56}, {55, 11}, random, 3));    // above: blocks, the last ones cut off
    EXPECT_LT(0, Check({11, 11}, {200, 130}, random, 5));  // swapped
    EXPECT_LT(0, Check({301, 40}, {13, 37}, random, 5));
    EXPECT_LT(0, Check({150, 700}, {130, 3}, random, 11));
    EXPECT_LT(0, Check({5000, 1}, {300, 1}, random, 3));   // a single row
    EXPECT_LT(0, Check({3, 900}, {3, 60}, random, 3));
    EXPECT_LT(0, Check({640, 480}, {31, 31}, random, 37));
}

TEST_P(ConvolutionTest, FailedAllocationsLeaveNothingBehind)
{
    std::mt19937 random(Seed());
    const Image a = Noisy({90, 80}, random), b = Noisy({20, 30}, random);
    for (int failing = 0;; ++failing) {
        Image dst(109, 109);
        const ScopedAllocator allocator(failing);
        const VekStatus status = Convolve(a, b, dst);
        EXPECT_EQ(0, allocator.live());
        if (status == StatusOk) {
            EXPECT_LT(3, failing);
            break;
        }
        ASSERT_EQ(StatusNoMemory, status);
        EXPECT_EQ(Image(109, 109), dst);
    }
}

TEST_P(ConvolutionTest, BadCallsGiveTheirStatus)
{
    float a[4] = {2, 3, 4, 5}, d[4] = {9, 9, 9, 9};
    struct Input { const float* data; VekImageSize size; Vek32s step; };
    const Input good = {a, {1, 1}, 4}, null = {nullptr, {0, 1}, 4}, narrow = {a, {0, 1}, 0}, flat = {a, {1, 0}, 0}, folded = {a, {1, 1}, 0};
    const auto call = [](const Input& x, const Input& y, float* dst, Vek32s step) {
        return vekiConvFull_32f_C1R(x.data, x.step, x.size, y.data, y.step, y.size, dst, step);
    };
    for (const Input& bad : {null, narrow, flat, folded}) {
        const VekStatus want = !bad.data ? StatusNullPointer : bad.size.width && bad.size.height ? StatusBadStep : StatusBadSize;
        EXPECT_EQ(want, call(bad, good, d, 4));
        EXPECT_EQ(want, call(good, bad, d, 4));
    }
    EXPECT_EQ(StatusNullPointer, call(narrow, good, nullptr, 4));
    EXPECT_EQ(StatusBadSize, call(good, narrow, d, 0));
    EXPECT_EQ(StatusBadStep, call(good, good, d, 0));
    EXPECT_EQ(9, d[0]);
}

UVEK_ON_ALL_TIERS(ConvolutionTest);

}  // namespace
}  // namespace uvek::test
