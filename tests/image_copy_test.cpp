// Copies against a model that moves one sample at a time.
#include <numeric>
#include <vector>

#include "support/checks.h"
#include "support/moves.h"
#include "support/tiers.h"
#include "uvek/image.h"

namespace uvek::test {
namespace {

class ImageCopyTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

// Large enough for the streaming limits; packed, and in rows that share no alignment.
const Shape kLarge = {1027, 700}, kLargePadded = {1027, 700, 5, false, Flush::End, 5};

TEST_P(ImageCopyTest, WholePixelsArrive)
{
    ExpectMoves<1, 1, Vek8u>(random_, kOne, vekiCopy_8u_C1R);
    ExpectMoves<3, 3, Vek8u>(random_, kThree, vekiCopy_8u_C3R);
    ExpectMoves<4, 4, Vek8u>(random_, kFour, vekiCopy_8u_C4R);
    ExpectMoves<1, 1, Vek16s>(random_, kOne, vekiCopy_16s_C1R);
    ExpectMoves<3, 3, Vek16s>(random_, kThree, vekiCopy_16s_C3R);
    ExpectMoves<4, 4, Vek16s>(random_, kFour, vekiCopy_16s_C4R);
    ExpectMovesOn<3, 3, Vek8u, Vek8u>(kLarge, kLarge, random_, kThree, vekiCopy_8u_C3R);
    ExpectMovesOn<3, 3, Vek8u, Vek8u>(kLargePadded, kLargePadded, random_, kThree, vekiCopy_8u_C3R);
    ExpectMoves<1, 1, Vek32s>(random_, kOne, [](const Vek32s* src, Vek32s srcStep, Vek32s* dst, Vek32s dstStep, VekImageSize size) {
        return vekiCopy_32f_C1R((const Vek32f*)src, srcStep, (Vek32f*)dst, dstStep, size);  // any bits, also signalling NaNs
    });
}

TEST_P(ImageCopyTest, ThreeChannelsOrOneMoveAlone)
{
    ExpectMoves<4, 3, Vek8u>(random_, kThree, vekiCopy_8u_AC4C3R);
    ExpectMoves<4, 3, Vek16s>(random_, kThree, vekiCopy_16s_AC4C3R);
    ExpectMoves<3, 4, Vek8u>(random_, kThree, vekiCopy_8u_C3AC4R);
    ExpectMoves<3, 4, Vek16s>(random_, kThree, vekiCopy_16s_C3AC4R);
    for (int c = 0; c < 4; ++c) {
        if (c < 3) {
            ExpectMoves<1, 3, Vek8u>(random_, {{0, c}}, vekiCopy_8u_C1C3R);
            ExpectMoves<3, 1, Vek8u>(random_, {{c, 0}}, vekiCopy_8u_C3C1R);
            ExpectMoves<1, 3, Vek16s>(random_, {{0, c}}, vekiCopy_16s_C1C3R);
            ExpectMoves<3, 1, Vek16s>(random_, {{c, 0}}, vekiCopy_16s_C3C1R);
        }
        ExpectMoves<1, 4, Vek8u>(random_, {{0, c}}, vekiCopy_8u_C1C4R);
        ExpectMoves<4, 1, Vek8u>(random_, {{c, 0}}, vekiCopy_8u_C4C1R);
        ExpectMoves<1, 4, Vek16s>(random_, {{0, c}}, vekiCopy_16s_C1C4R);
        ExpectMoves<4, 1, Vek16s>(random_, {{c, 0}}, vekiCopy_16s_C4C1R);
    }
}

// call(packed, step, planes, planeStep, size) makes planes of a packed image, or the image of planes.
template <typename T, int channels, bool split, typename Call>
void ExpectPlanesOn(const Shape& shape, std::mt19937& random, Call call)
{
    auto packed = Noise<T, channels>(split ? shape : OtherThan(shape), random);
    auto expectedPacked = packed;
    Shape planeShape = split ? OtherThan(shape) : shape;
    std::vector<GuardedImage<T>> planes, expected;
    T* pointers[channels];
    for (int c = 0; c < channels; ++c) {
        planes.push_back(Noise<T>(planeShape, random));
        expected.push_back(planes.back());
        pointers[c] = planes.back().data();
        planeShape.offset = (planeShape.offset + shape.width) % 5 * (int)sizeof(T);
        ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
            if (split)
                expected.back().set(x, y, 0, packed.at(x, y, c));
            else
                expectedPacked.set(x, y, c, planes.back().at(x, y));
        });
    }
    ASSERT_EQ(StatusOk, call(packed.data(), packed.step(), pointers, planes[0].step(), packed.size()));
    ASSERT_TRUE(expected == planes && expectedPacked == packed) << packed << " seed " << Seed();
}

template <typename Call>
auto Merging(Call call)
{
    return [call](Vek8u* packed, Vek32s step, Vek8u* const* planes, Vek32s planeStep, VekImageSize size) { return call(planes, planeStep, packed, step, size); };
}

TEST_P(ImageCopyTest, PlanesSplitAndMerge)
{
    ForEachShape([&](const Shape& shape) {
        ExpectPlanesOn<Vek8u, 3, true>(shape, random_, vekiCopy_8u_C3P3R);
        ExpectPlanesOn<Vek8u, 4, true>(shape, random_, vekiCopy_8u_C4P4R);
        ExpectPlanesOn<Vek16s, 3, true>(shape, random_, vekiCopy_16s_C3P3R);
        ExpectPlanesOn<Vek16s, 4, true>(shape, random_, vekiCopy_16s_C4P4R);
        ExpectPlanesOn<Vek8u, 3, false>(shape, random_, Merging(vekiCopy_8u_P3C3R));
        ExpectPlanesOn<Vek8u, 4, false>(shape, random_, Merging(vekiCopy_8u_P4C4R));
    });
    ExpectPlanesOn<Vek8u, 3, false>(kLarge, random_, Merging(vekiCopy_8u_P3C3R));
    ExpectPlanesOn<Vek8u, 4, false>(kLargePadded, random_, Merging(vekiCopy_8u_P4C4R));
    ExpectPlanesOn<Vek16s, 3, true>(kLargePadded, random_, vekiCopy_16s_C3P3R);
    ExpectPlanesOn<Vek16s, 4, true>(kLarge, random_, vekiCopy_16s_C4P4R);
}

// Bytes are streamed from 16 MiB on, and planes only where all of them share an alignment.
template <int channels, typename T, typename Call>
void ExpectLargeSplit(const std::vector<Vek8u>& bytes, Call split)
{
    constexpr Vek32s kWidth = 2368 / sizeof(T), kHeight = 2368;
    constexpr size_t kPixels = (size_t)kWidth * kHeight;
    const auto* src = (const T*)bytes.data();
    std::vector<T> planes(kPixels * channels);
    T* pointers[channels];
    for (int c = 0; c < channels; ++c)
        pointers[c] = planes.data() + kPixels * (size_t)c;
    ASSERT_EQ(StatusOk, split(src, kWidth * channels * (Vek32s)sizeof(T), pointers, kWidth * (Vek32s)sizeof(T), {kWidth, kHeight}));
    size_t different = 0;
    for (size_t i = 0; i < kPixels * channels; ++i)
        different += src[i] != pointers[i % channels][i / channels];
    EXPECT_EQ(0u, different) << channels << " channels";
}

TEST_P(ImageCopyTest, LargePlanesArriveWhole)
{
    std::vector<Vek8u> src((size_t)2368 * 2368 * 4);
    Vek32u next = 1;
    for (auto& x : src)
        x = (Vek8u)((next = next * 1664525u + 1013904223u) >> 24);
    ExpectLargeSplit<3, Vek8u>(src, vekiCopy_8u_C3P3R);
    ExpectLargeSplit<4, Vek8u>(src, vekiCopy_8u_C4P4R);
    ExpectLargeSplit<3, Vek16s>(src, vekiCopy_16s_C3P3R);
    ExpectLargeSplit<4, Vek16s>(src, vekiCopy_16s_C4P4R);
}

TEST_P(ImageCopyTest, MaskPicksPixels)
{
    ForEachShape([&](const Shape& shape) {
        const auto src = Noise<Vek8u, 3>(shape, random_);
        auto dst = Noise<Vek8u, 3>(OtherThan(shape), random_);
        GuardedImage<Vek8u> mask(shape);
        // Runs of zeros, runs of non-zeros, and a mixture.
        int left = 0, kind = 0;
        mask.Fill([&] {
            if (left-- == 0) {
                left = (int)(random_() % 50);
                kind = (int)(random_() % 3);
            }
            return kind == 0 ? 0u : kind == 1 ? random_() % 255 + 1 : random_() % 2 * 128;
        });
        auto expected = dst;
        SetEach(expected, [&](Vek32s x, Vek32s y, int c) { return (mask.at(x, y) ? src : dst).at(x, y, c); });
        ASSERT_EQ(StatusOk, vekiCopy_8u_C3MR(src.data(), src.step(), dst.data(), dst.step(), src.size(), mask.data(), mask.step()));
        ASSERT_TRUE(expected == dst) << dst << " seed " << Seed();
    });
}

// The start of the row repeats along it, at a distance of `ahead` samples.
template <typename T, typename Call>
void ExpectSmear(size_t ahead, VekImageSize size, size_t samples, Call call)
{
    std::vector<T> row(samples + ahead), expected(samples + ahead);
    std::iota(row.begin(), row.end(), (T)1);
    for (size_t i = 0; i < row.size(); ++i)
        expected[i] = i < ahead ? row[i] : expected[i - ahead];
    ASSERT_EQ(StatusOk, call(row.data(), 1000, row.data() + ahead, 1000, size));
    EXPECT_EQ(expected, row);
}

TEST(ImageCopyOverlapTest, SmearsInTier0)
{
    const ScopedTier tier(0);
    const auto masked = [](const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size) {
        const std::vector<Vek8u> all(21, 1);
        return vekiCopy_8u_C3MR(src, srcStep, dst, dstStep, size, all.data(), 21);
    };
    for (const size_t ahead : {1, 2, 15, 16, 17, 63}) {
        ExpectSmear<Vek8u>(ahead, {21, 1}, 63, masked);
        ExpectSmear<Vek8u>(ahead, {64, 1}, 64, vekiCopy_8u_C1R);
        ExpectSmear<Vek8u>(ahead, {21, 1}, 63, vekiCopy_8u_C3R);
        ExpectSmear<Vek16s>(ahead, {64, 1}, 64, vekiCopy_16s_C1R);
        ExpectSmear<Vek16s>(ahead, {16, 1}, 64, vekiCopy_16s_C4R);
        ExpectSmear<Vek32f>(ahead, {64, 1}, 64, vekiCopy_32f_C1R);
    }
}

// A source on a 16-byte boundary less than 160 bytes behind its destination: after the row's first
// 16 bytes, tiers 2 and 3 go from the end backward and lose nothing more.
TEST(ImageCopyOverlapTest, BackwardPathKeepsTheRestOfTheRow)
{
    for (int tier = 2; tier < 4; ++tier) {
        const ScopedTier scoped(tier);
        for (const size_t ahead : {16, 32, 96, 160}) {
            alignas(16) static Vek8u row[2000];
            std::iota(std::begin(row), std::end(row), (Vek8u)0);
            std::vector<Vek8u> expected(std::begin(row), std::end(row));
            std::copy_n(expected.begin(), 16, expected.begin() + (ptrdiff_t)ahead);
            std::memmove(expected.data() + ahead + 16, expected.data() + 16, 1000 - 16);
            ASSERT_EQ(StatusOk, vekiCopy_8u_C1R(row, 0, row + ahead, 0, {1000, 1}));
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), row)) << "tier " << tier << ", " << ahead << " ahead";
        }
    }
}

// Packed rows are joined, but not where one long row would overlap its destination.
TEST_P(ImageCopyTest, ImageScrollsByWholeRows)
{
    for (const int width : {32, 640, 3952, 4000})
        for (const int by : {1, 3}) {
            GuardedImage<Vek8u> image(Shape{width, 12, 0});
            image.Fill(random_);
            auto expected = image;
            std::memmove(expected.data(), expected.data() + by * width, (size_t)(width * (12 - by)));
            ASSERT_EQ(StatusOk, vekiCopy_8u_C1R(image.data() + by * width, width, image.data(), width, {width, 12 - by}));
            EXPECT_TRUE(expected == image) << width << " by " << by << " seed " << Seed();
        }
}

// Blocks go forward, each loaded whole before it is stored.
TEST_P(ImageCopyTest, MovesDownInMemoryByMoreThanABlock)
{
    for (const size_t offset : {0, 5})
        for (const size_t distance : {80, 84, 203}) {
            alignas(16) static Vek8u row[2000];
            std::iota(std::begin(row), std::end(row), (Vek8u)0);
            std::vector<Vek8u> expected(std::begin(row), std::end(row));
            std::memmove(expected.data() + offset, expected.data() + offset + distance, 1000);
            ASSERT_EQ(StatusOk, vekiCopy_8u_C1R(row + offset + distance, 0, row + offset, 0, {1000, 1}));
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), row)) << offset << ", by " << distance;
        }
}

TEST_P(ImageCopyTest, OntoItselfChangesNothing)
{
    for (const Vek32s width : {5, 30, 333, 700000}) {
        auto image = Noise<Vek8u, 3>(Shape{width, 3}, random_);
        const auto before = image;
        EXPECT_EQ(StatusOk, vekiCopy_8u_C3R(image.data(), image.step(), image.data(), image.step(), image.size()));
        EXPECT_TRUE(before == image);
    }
}

TEST_P(ImageCopyTest, BadCallsReportTheFirstFaultAndWriteNothing)
{
    for (const auto copy : {vekiCopy_8u_C1R, vekiCopy_8u_C3R, vekiCopy_8u_C4R, vekiCopy_8u_AC4C3R, vekiCopy_8u_C3AC4R,
                            vekiCopy_8u_C1C3R, vekiCopy_8u_C1C4R, vekiCopy_8u_C3C1R, vekiCopy_8u_C4C1R})
        ExpectOrder<Vek8u, Vek8u>(Then::Size, copy);
    for (const auto copy : {vekiCopy_16s_C1R, vekiCopy_16s_C3R, vekiCopy_16s_C4R, vekiCopy_16s_AC4C3R, vekiCopy_16s_C3AC4R,
                            vekiCopy_16s_C1C3R, vekiCopy_16s_C1C4R, vekiCopy_16s_C3C1R, vekiCopy_16s_C4C1R})
        ExpectOrder<Vek16s, Vek16s>(Then::Size, copy);
    ExpectOrder<Vek32f, Vek32f>(Then::Size, vekiCopy_32f_C1R);
    Vek8u mask[64] = {};
    ExpectOrder<Vek8u, Vek8u>(Then::Size, [&](const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size) {
        return vekiCopy_8u_C3MR(src, srcStep, dst, dstStep, size, mask, 8);
    });
    EXPECT_EQ(StatusNullPointer, vekiCopy_8u_C3MR(mask, 0, mask, 0, {0, 0}, nullptr, 0));

    const auto planar = [](auto copy, auto sample, int channels) {
        using T = decltype(sample);
        ExpectOrder<T, T>(Then::Size, [=](T* src, Vek32s, T* dst, Vek32s, VekImageSize size) {
            T* const planes[4] = {dst, dst, dst, dst};
            return copy(src, 8, dst ? planes : nullptr, 4, size);
        });
        for (const VekImageSize bad : {VekImageSize{2, 0}, {0, 2}}) {
            T packed[16] = {};
            ExpectPlanesAreLookedAt<T>(channels, packed, [&](T** planes) { return copy(packed, 8, planes, 4, bad); });
        }
    };
    planar(vekiCopy_8u_C3P3R, Vek8u(), 3);
    planar(vekiCopy_8u_C4P4R, Vek8u(), 4);
    planar(vekiCopy_16s_C3P3R, Vek16s(), 3);
    planar(vekiCopy_16s_C4P4R, Vek16s(), 4);
    planar(Merging(vekiCopy_8u_P3C3R), Vek8u(), 3);
    planar(Merging(vekiCopy_8u_P4C4R), Vek8u(), 4);
}

UVEK_ON_ALL_TIERS(ImageCopyTest);

}  // namespace
}  // namespace uvek::test
