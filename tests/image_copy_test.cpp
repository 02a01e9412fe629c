// Copies against a model that moves one sample at a time.
#include <numeric>
#include <vector>

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

const Moves kOne = {{0, 0}}, kThree = {{0, 0}, {1, 1}, {2, 2}}, kFour = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};

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

TEST_P(ImageCopyTest, AlphaIsDroppedOrLeft)
{
    ExpectMoves<4, 3, Vek8u>(random_, kThree, vekiCopy_8u_AC4C3R);
    ExpectMoves<4, 3, Vek16s>(random_, kThree, vekiCopy_16s_AC4C3R);
    ExpectMoves<3, 4, Vek8u>(random_, kThree, vekiCopy_8u_C3AC4R);
    ExpectMoves<3, 4, Vek16s>(random_, kThree, vekiCopy_16s_C3AC4R);
}

TEST_P(ImageCopyTest, OneChannelMovesAlone)
{
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

template <typename T, int channels, typename Call>
void ExpectSplitOn(const Shape& shape, std::mt19937& random, Call call)
{
    const auto src = Noise<T, channels>(shape, random);
    Shape planeShape = OtherThan(shape);
    std::vector<GuardedImage<T>> planes, expected;
    T* pointers[channels];
    for (int c = 0; c < channels; ++c) {
        planes.push_back(Noise<T>(planeShape, random));
        expected.push_back(planes[(size_t)c]);
        planeShape.offset = (planeShape.offset + shape.width) % 5 * (int)sizeof(T);
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x)
                expected.back().set(x, y, 0, src.at(x, y, c));
    }
    for (int c = 0; c < channels; ++c)
        pointers[c] = planes[(size_t)c].data();
    ASSERT_EQ(StatusOk, call(src.data(), src.step(), pointers, planes[0].step(), src.size()));
    for (int c = 0; c < channels; ++c)
        ASSERT_TRUE(expected[(size_t)c] == planes[(size_t)c]) << "plane " << c << " of " << src << " seed " << Seed();
}

template <int channels, typename Call>
void ExpectMergeOn(const Shape& shape, std::mt19937& random, Call call)
{
    auto dst = Noise<Vek8u, channels>(OtherThan(shape), random);
    auto expected = dst;
    std::vector<GuardedImage<Vek8u>> planes;
    const Vek8u* pointers[channels];
    Shape planeShape = shape;
    for (int c = 0; c < channels; ++c) {
        planes.push_back(Noise<Vek8u>(planeShape, random));
        planeShape.offset = (planeShape.offset + 3 * c + 1) % 16;
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x)
                expected.set(x, y, c, planes.back().at(x, y));
    }
    for (int c = 0; c < channels; ++c)
        pointers[c] = planes[(size_t)c].data();
    ASSERT_EQ(StatusOk, call(pointers, planes[0].step(), dst.data(), dst.step(), dst.size()));
    ASSERT_TRUE(expected == dst) << dst << " seed " << Seed();
}

TEST_P(ImageCopyTest, PlanesSplitAndMerge)
{
    ForEachShape([&](const Shape& shape) {
        ExpectSplitOn<Vek8u, 3>(shape, random_, vekiCopy_8u_C3P3R);
        ExpectSplitOn<Vek8u, 4>(shape, random_, vekiCopy_8u_C4P4R);
        ExpectSplitOn<Vek16s, 3>(shape, random_, vekiCopy_16s_C3P3R);
        ExpectSplitOn<Vek16s, 4>(shape, random_, vekiCopy_16s_C4P4R);
        ExpectMergeOn<3>(shape, random_, vekiCopy_8u_P3C3R);
        ExpectMergeOn<4>(shape, random_, vekiCopy_8u_P4C4R);
    });
    ExpectMergeOn<3>(kLarge, random_, vekiCopy_8u_P3C3R);
    ExpectMergeOn<4>(kLargePadded, random_, vekiCopy_8u_P4C4R);
    ExpectSplitOn<Vek16s, 3>(kLargePadded, random_, vekiCopy_16s_C3P3R);
    ExpectSplitOn<Vek16s, 4>(kLarge, random_, vekiCopy_16s_C4P4R);
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
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x)
                for (int c = 0; c < 3 && mask.at(x, y) != 0; ++c)
                    expected.set(x, y, c, src.at(x, y, c));
        ASSERT_EQ(StatusOk, vekiCopy_8u_C3MR(src.data(), src.step(), dst.data(), dst.step(), src.size(), mask.data(), mask.step()));
        ASSERT_TRUE(expected == dst) << dst << " seed " << Seed();
    });
}

template <typename T>
std::vector<T> Counting(size_t length)
{
    std::vector<T> v(length);
    std::iota(v.begin(), v.end(), (T)1);
    return v;
}

// The start of the row repeats along it, at a distance of `ahead` samples.
template <typename T, typename Call>
void ExpectSmear(size_t ahead, VekImageSize size, size_t samples, Call call)
{
    auto row = Counting<T>(samples + ahead), expected = row;
    for (size_t i = ahead; i < samples + ahead; ++i)
        expected[i] = expected[i - ahead];
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
    Vek8u s[64] = {1, 2, 3}, d[64] = {};
    Vek16s s16[64] = {1, 2, 3}, d16[64] = {};
    const Vek32f sf[4] = {1};
    Vek32f df[4] = {};
    Vek8u* none = nullptr;
    const VekImageSize good = {2, 2}, flat = {2, 0}, thin = {0, 2};
    const auto simple = [&](auto copy, auto* from, auto* to) {
        EXPECT_EQ(StatusNullPointer, copy(nullptr, 4, to, 4, flat));
        EXPECT_EQ(StatusNullPointer, copy(from, 4, nullptr, 4, thin));
        EXPECT_EQ(StatusBadSize, copy(from, 0, to, 0, flat));
        EXPECT_EQ(StatusBadSize, copy(from, 0, to, 0, thin));
    };
    for (const auto copy : {vekiCopy_8u_C1R, vekiCopy_8u_C3R, vekiCopy_8u_C4R, vekiCopy_8u_AC4C3R, vekiCopy_8u_C3AC4R,
                            vekiCopy_8u_C1C3R, vekiCopy_8u_C1C4R, vekiCopy_8u_C3C1R, vekiCopy_8u_C4C1R})
        simple(copy, s, d);
    for (const auto copy : {vekiCopy_16s_C1R, vekiCopy_16s_C3R, vekiCopy_16s_C4R, vekiCopy_16s_AC4C3R, vekiCopy_16s_C3AC4R,
                            vekiCopy_16s_C1C3R, vekiCopy_16s_C1C4R, vekiCopy_16s_C3C1R, vekiCopy_16s_C4C1R})
        simple(copy, s16, d16);
    simple(vekiCopy_32f_C1R, sf, df);
    EXPECT_EQ(StatusNullPointer, vekiCopy_8u_C3MR(s, 4, d, 4, flat, nullptr, 4));
    EXPECT_EQ(StatusBadSize, vekiCopy_8u_C3MR(s, 4, d, 4, flat, s, 4));

    for (int hole = 0; hole < 4; ++hole) {
        Vek8u* planes[4] = {d, d + 16, d + 32, d + 48};
        Vek16s* planes16[4] = {d16, d16 + 16, d16 + 32, d16 + 48};
        planes[hole] = nullptr;
        planes16[hole] = nullptr;
        EXPECT_EQ(StatusNullPointer, vekiCopy_8u_C4P4R(s, 8, planes, 2, flat));
        EXPECT_EQ(StatusNullPointer, vekiCopy_8u_P4C4R(planes, 2, d, 8, good));
        EXPECT_EQ(StatusNullPointer, vekiCopy_16s_C4P4R(s16, 8, planes16, 4, good));
        if (hole == 3) {  // whole for three planes
            EXPECT_EQ(StatusBadSize, vekiCopy_8u_C3P3R(s, 6, planes, 2, flat));
            EXPECT_EQ(StatusBadSize, vekiCopy_8u_P3C3R(planes, 2, d, 6, thin));
            EXPECT_EQ(StatusBadSize, vekiCopy_16s_C3P3R(s16, 6, planes16, 2, thin));
            continue;
        }
        EXPECT_EQ(StatusNullPointer, vekiCopy_8u_C3P3R(s, 6, planes, 2, thin));
        EXPECT_EQ(StatusNullPointer, vekiCopy_8u_P3C3R(planes, 2, d, 6, flat));
        EXPECT_EQ(StatusNullPointer, vekiCopy_16s_C3P3R(s16, 6, planes16, 2, good));
    }
    EXPECT_EQ(StatusNullPointer, vekiCopy_8u_C3P3R(nullptr, 6, &none, 2, good));
    EXPECT_EQ(StatusNullPointer, vekiCopy_8u_C4P4R(s, 6, nullptr, 2, good));
    EXPECT_EQ(StatusNullPointer, vekiCopy_8u_P3C3R(nullptr, 6, d, 2, good));
    for (int i = 0; i < 64; ++i)
        ASSERT_EQ(0, d[i] | d16[i] | (df[i % 4] != 0));
}

UVEK_ON_ALL_TIERS(ImageCopyTest);

}  // namespace
}  // namespace uvek::test
