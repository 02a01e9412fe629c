#include "uvek/vision.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class VisionPyramidTest : public TierTest {};

using Kernel = std::vector<Vek16s>;

class LayerDown {
public:
    LayerDown(VekImageSize size, Vek32f rate, const Kernel& kernel)
    {
        const VekStatus status = vekiPyramidLayerDownInitAlloc_8u_C1R(&state_, size, rate, kernel.data(), (Vek32s)kernel.size(), InterLinear);
        EXPECT_EQ(std::equal(kernel.begin(), kernel.end(), kernel.rbegin()) ? StatusOk : WarnAsymmetricKernel, status);
    }
    LayerDown(const LayerDown&) = delete;
    LayerDown& operator=(const LayerDown&) = delete;
    ~LayerDown() { EXPECT_EQ(StatusOk, vekiPyramidLayerDownFree_8u_C1R(state_)); }
    VekPyramidLayerState* get() const { return state_; }
    Kernel kernel() const { return Kernel(state_->kernel, state_->kernel + state_->kerSize); }

private:
    VekPyramidLayerState* state_ = nullptr;
};

// Sizes of all levels that there can be.
std::vector<VekImageSize> Levels(VekImageSize size, Vek32f rate)
{
    VekPyramidState* pyramid = nullptr;
    EXPECT_EQ(StatusOk, vekiPyramidInitAlloc(&pyramid, INT32_MAX, size, rate));
    const std::vector<VekImageSize> levels(pyramid->pRoi, pyramid->pRoi + pyramid->numLevels + 1);
    EXPECT_EQ(StatusOk, vekiPyramidFree(pyramid));
    return levels;
}

TEST_P(VisionPyramidTest, LevelsFallToOnePixel)
{
    VekPyramidState* p = nullptr;
    ASSERT_EQ(StatusOk, vekiPyramidInitAlloc(&p, 3, {100, 7}, 2.5f));
    EXPECT_EQ(3, p->numLevels);
    const VekImageSize sizes[4] = {{100, 7}, {40, 3}, {16, 2}, {7, 1}};  // 16 / 2.5 rounds to 6, which 13 to 15 fall to
    Vek64f rate = 1;
    for (int i = 0; i < 4; ++i, rate *= 1 / 2.5) {
        EXPECT_EQ(sizes[i].width, p->pRoi[i].width) << i;
        EXPECT_EQ(sizes[i].height, p->pRoi[i].height) << i;
        EXPECT_EQ(rate, p->pRate[i]);
        EXPECT_EQ(nullptr, p->pImage[i]);
        EXPECT_EQ(0, p->pStep[i]);
    }
    EXPECT_EQ(nullptr, p->pState);
    EXPECT_EQ(StatusOk, vekiPyramidFree(p));

    EXPECT_EQ(1u, Levels({1, 1}, 2).size());
    EXPECT_EQ(8u, Levels({1, 128}, 2).size());
    EXPECT_EQ(4, Levels({7, 1}, 2)[1].width);
    for (const Vek32f r : {1.01f, 1.25f, 1.9f, 1.99999f, 2.5f, 10.0f})
        for (const Vek32s width : {2, 3, 17, 99999, 4194301, INT32_MAX}) {
            const auto levels = Levels({width, 3}, r);
            for (size_t i = 1; i < levels.size(); ++i) {
                const double n = levels[i].width, source = levels[i - 1].width;
                ASSERT_TRUE(n < source || source == 1) << source << " by " << r;
                if (source >= 100000)
                    continue;
                ASSERT_LE(std::floor((n - 1) * r - 1e-3) + 1, source) << source << " to " << n << " by " << r;
                ASSERT_TRUE(std::floor(n * r + 1e-3) >= source || source == n + 1) << source << " to " << n << " by " << r;
            }
            EXPECT_EQ(1, levels.back().width);
            EXPECT_EQ(1, levels.back().height);
        }
    ASSERT_EQ(StatusOk, vekiPyramidInitAlloc(&p, 100, {INT32_MAX, INT32_MAX - 7}, 1.0000001f));  // where singles lie far apart
    EXPECT_EQ(100, p->numLevels);
    EXPECT_EQ(StatusOk, vekiPyramidFree(p));
}

TEST_P(VisionPyramidTest, KernelIsMirroredAndScaled)
{
    EXPECT_EQ((Kernel{512, 2048, 3072, 2048, 512}), LayerDown({9, 9}, 2, {1, 4, 6, 4, 1}).kernel());
    EXPECT_EQ((Kernel{512, 2048, 3072, 2048, 512}), LayerDown({9, 9}, 2, {1, 4, 6, 77, -5}).kernel());
    EXPECT_EQ((Kernel{-2731, 13653, -2731}), LayerDown({1, 1}, 3, {-1, 5, -1}).kernel());  // the quotient truncates, the shift does not
    EXPECT_EQ((Kernel{100, -200, 100}), LayerDown({1, 1}, 3, {100, -200, 3}).kernel());
}

// ---- The next level, sample by sample from the image itself ----

Vek32s Mirrored(Vek32s i, Vek32s n)
{
    while (i < 0 || i >= n)
        i = n == 1 ? 0 : i < 0 ? -i : 2 * (n - 1) - i;
    return i;
}

struct Model {
    const GuardedImage<Vek8u>& image;
    Kernel kernel;
    Vek32f rate;

    Vek32s Smoothed(Vek32s x, Vek32s y) const
    {
        const Vek32s n = (Vek32s)kernel.size(), w = image.width(), h = image.height();
        int64_t sum = 0;
        for (Vek32s j = 0; j < n; ++j) {
            int64_t row = 0;
            for (Vek32s i = 0; i < n; ++i) {
                const Vek32s product = kernel[(size_t)i] * image.at(Mirrored(x + i - n / 2, w), Mirrored(y + j - n / 2, h));
                row += w <= n || h <= n ? (product >> 8) * 256 : product;
            }
            sum += kernel[(size_t)j] * (row >> 8);
        }
        return std::clamp((Vek32s)(sum + 16384) >> 15, -32768, 32767);  // extreme kernels wrap
    }
    Vek32s InRow(Vek32s x, Vek32s y, bool last) const
    {
        const Vek32f u = (Vek32f)x * rate, f = u - std::floor(u);
        const Vek32s i = (Vek32s)u;
        if (last && i + 1 >= image.width())
            return Smoothed(i, y);
        return (Vek32s)((Vek32f)Smoothed(i + 1, y) * f + 0.5f + (1 - f) * (Vek32f)Smoothed(i, y));
    }
    Vek32s At(Vek32s x, Vek32s y, VekImageSize size) const
    {
        const auto byte = [](Vek32s t) { return std::clamp((t + 4) >> 3, 0, 255); };
        if (std::fabs(rate - 2) < 1.9e-5)
            return byte(Smoothed(std::min(2 * x, image.width() - 1), std::min(2 * y, image.height() - 1)));
        const Vek32f v = (Vek32f)y * rate, f = v - std::floor(v);
        const Vek32s i = (Vek32s)v;
        const bool last = x == size.width - 1;
        if (y == size.height - 1 && i + 1 >= image.height())
            return byte(InRow(x, i, last));
        return byte((Vek32s)((Vek32f)InRow(x, i + 1, last) * f + 0.5f + (1 - f) * (Vek32f)InRow(x, i, last)));
    }
};

void ExpectDown(const GuardedImage<Vek8u>& src, Vek32f rate, const Kernel& kernel, int slot)
{
    const LayerDown layer({src.width() + slot, src.height() + slot % 3}, rate, kernel);
    Shape shape = src.shape();
    const auto levels = Levels(src.size(), rate);
    shape.width = levels[levels.size() > 1].width;
    shape.height = levels[levels.size() > 1].height;
    GuardedImage<Vek8u> dst(shape), expected(shape);
    const Model model = {src, layer.kernel(), rate};
    for (Vek32s y = 0; y < shape.height; ++y)
        for (Vek32s x = 0; x < shape.width; ++x)
            expected.set(x, y, 0, (Vek8u)model.At(x, y, shape.size()));
    ASSERT_EQ(StatusOk, vekiPyramidLayerDown_8u_C1R(src.data(), src.step(), src.size(), dst.data(), dst.step(), dst.size(), layer.get()));
    EXPECT_TRUE(expected == dst) << src << " rate " << rate << " kernel of " << kernel.size() << " from " << kernel[0] << " seed " << Seed();
    EXPECT_TRUE(src.IsSlackIntact());
}

TEST_P(VisionPyramidTest, DownSmoothsAndResamples)
{
    // Sums in bytes and words, in words, past them, negative, and so wide that small images are mirrored many times.
    const Kernel kernels[] = {{1, 4, 6, 4, 1}, {1, 2, 1}, {1, 1, 0, 1, 1}, {3, 10, 3}, {1, 7, 9, 7, 1}, {1, 6, 15, 20, 15, 6, 1}, {-1, 5, -1},
                              {-30, 1, 59, 1, -30}, {32767, -32767, 0, -32767, 32767}, {-100, 201, -100}, Kernel(15, 9), {0, 1, 0}};
    const Vek32f rates[] = {2, 1.5f, 1.1f, 2.00001f, 3.7f, 10, 1.99f};
    std::mt19937 random(Seed());
    int turn = 0;
    ForEachShape([&](Shape shape) {
        if (shape.width > 129)
            return;
        shape.upward = false;
        shape.height = turn % 4 == 3 ? 1 + turn % 5 : 6 + turn % 13;
        GuardedImage<Vek8u> src(shape);
        FillInteger(src, turn % 6 < 4 ? Kind::Noise : turn % 6 == 4 ? Kind::High : Kind::Alternating, random);
        for (int i = 0; i < 4; ++i, ++turn)
            ExpectDown(src, rates[turn % 7], kernels[turn / 3 % 12], turn % 20);
    });
    // An image no larger than the kernel rounds earlier: 11 * 744 * 250 >> 8 is 7992, but 11 * (744 * 250 >> 8) is 7986.
    for (const Vek32s width : {7, 11, 12, 13}) {
        GuardedImage<Vek8u> src(width, 13);
        src.Fill([] { return 250; });
        ExpectDown(src, 2, Kernel(11, 1), 0);
    }
}

TEST_P(VisionPyramidTest, RateOfNearlyTwoStaysInsideALargeImage)
{
    const Vek32f rate = 1.99999f;
    const Vek32s width = 399997;
    GuardedVector<Vek8u> src(width);
    std::mt19937 random(Seed());
    FillInteger(src, Kind::Noise, random);
    const VekImageSize size = Levels(src.size(), rate)[1];
    ASSERT_GT(2 * (size.width - 1), width - 1);
    GuardedVector<Vek8u> dst(size.width);
    const LayerDown layer(src.size(), rate, {0, 1, 0});
    ASSERT_EQ(StatusOk, vekiPyramidLayerDown_8u_C1R(src.data(), src.step(), src.size(), dst.data(), dst.step(), size, layer.get()));
    for (Vek32s x = 0; x < size.width; ++x)
        ASSERT_EQ(src[std::min(2 * x, width - 1)], dst[x]) << x;
}

TEST_P(VisionPyramidTest, BadCallsOfPyramids)
{
    VekPyramidState* pyramid = nullptr;
    EXPECT_EQ(StatusNullPointer, vekiPyramidInitAlloc(nullptr, 1, {0, 1}, 2));
    EXPECT_EQ(StatusBadSize, vekiPyramidInitAlloc(&pyramid, 0, {0, 1}, 1));
    EXPECT_EQ(StatusBadSize, vekiPyramidInitAlloc(&pyramid, 0, {1, 0}, 1));
    for (const Vek32f rate : {1.0f, 10.001f, -2.0f, std::nanf("")})
        EXPECT_EQ(StatusBadRange, vekiPyramidInitAlloc(&pyramid, 1, {9, 9}, rate));
    EXPECT_EQ(StatusBadRange, vekiPyramidInitAlloc(&pyramid, 0, {9, 9}, 2));
    EXPECT_EQ(StatusNullPointer, vekiPyramidFree(nullptr));
    const ScopedAllocator allocator(0);
    EXPECT_EQ(StatusNoMemory, vekiPyramidInitAlloc(&pyramid, 3, {9, 9}, 2));
    EXPECT_EQ(StatusOk, vekiPyramidInitAlloc(&pyramid, 3, {9, 9}, 2));
    EXPECT_EQ(StatusOk, vekiPyramidFree(pyramid));
    EXPECT_EQ(0, allocator.live());
}

TEST_P(VisionPyramidTest, BadCallsOfLayers)
{
    const Vek16s k[5] = {1, 4, 6, 4, 1};
    VekPyramidLayerState* state = nullptr;
    EXPECT_EQ(StatusNullPointer, vekiPyramidLayerDownInitAlloc_8u_C1R(nullptr, {0, 1}, 2, k, 5, InterLinear));
    const auto init = [&](VekImageSize size, Vek32f rate, const Vek16s* kernel, Vek32s kernelSize, Vek32s interpolation) {
        return vekiPyramidLayerDownInitAlloc_8u_C1R(&state, size, rate, kernel, kernelSize, interpolation);
    };
    EXPECT_EQ(StatusNullPointer, init({0, 1}, 2, nullptr, 5, InterLinear));
    EXPECT_EQ(StatusBadSize, init({9, 0}, 1, k, 4, InterNearest));
    EXPECT_EQ(StatusBadRange, init({9, 9}, 2, k, 5, InterNearest));
    EXPECT_EQ(StatusBadRange, init({9, 9}, 1, k, 5, InterLinear));
    for (const Vek32s size : {4, 1, -3})
        EXPECT_EQ(StatusBadRange, init({9, 9}, 2, k, size, InterLinear));
    {
        const ScopedAllocator allocator(0);
        EXPECT_EQ(StatusNoMemory, init({9, 9}, 2, k, 5, InterLinear));
        EXPECT_EQ(nullptr, state);
        ASSERT_EQ(StatusOk, init({9, 9}, 2, k, 5, InterLinear));
    }
    const GuardedImage<Vek8u> src(9, 9);
    GuardedImage<Vek8u> dst(5, 5), before(5, 5);
    const auto down = [&](const Vek8u* from, Vek32s srcStep, VekImageSize size, Vek8u* to, Vek32s dstStep, VekImageSize dstSize) {
        return vekiPyramidLayerDown_8u_C1R(from, srcStep, size, to, dstStep, dstSize, state);
    };
    EXPECT_EQ(StatusNullPointer, down(nullptr, 9, {0, 9}, dst.data(), 5, {5, 5}));
    EXPECT_EQ(StatusNullPointer, down(src.data(), 9, {0, 9}, nullptr, 5, {5, 5}));
    EXPECT_EQ(StatusNullPointer, vekiPyramidLayerDown_8u_C1R(src.data(), 9, {0, 9}, dst.data(), 5, {5, 5}, nullptr));
    EXPECT_EQ(StatusBadSize, down(src.data(), -9, {9, 0}, dst.data(), 5, {5, 5}));
    state->rate = 11;
    EXPECT_EQ(StatusBadStep, down(src.data(), 8, {9, 9}, dst.data(), 5, {5, 5}));
    EXPECT_EQ(StatusBadStep, down(src.data(), 9, {9, 9}, dst.data(), 4, {5, 4}));
    EXPECT_EQ(StatusBadRange, down(src.data(), 9, {9, 9}, dst.data(), 5, {5, 4}));
    state->rate = 2;
    EXPECT_EQ(StatusBadSize, down(src.data(), 9, {9, 9}, dst.data(), 5, {5, 4}));
    EXPECT_EQ(StatusBadSize, down(src.data(), 9, {9, 9}, dst.data(), 5, {4, 5}));
    EXPECT_TRUE(before == dst);
    EXPECT_EQ(StatusOk, vekiPyramidLayerDownFree_8u_C1R(state));
    EXPECT_EQ(StatusNullPointer, vekiPyramidLayerDownFree_8u_C1R(nullptr));
}

UVEK_ON_ALL_TIERS(VisionPyramidTest);

}  // namespace
}  // namespace uvek::test
