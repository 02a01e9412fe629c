// Fills, channel orders, mirrors, transposition and vector moves, against one sample at a time.
#include <vector>

#include "support/moves.h"
#include "support/tiers.h"
#include "uvek/image.h"

namespace uvek::test {
namespace {

class ImageRearrangeTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

// Calls `expect(x, y)` for each pixel of a size.
template <typename Visit>
void ForEachPixel(VekImageSize size, Visit visit)
{
    for (Vek32s y = 0; y < size.height; ++y)
        for (Vek32s x = 0; x < size.width; ++x)
            visit(x, y);
}

template <int channels, typename Call>
void ExpectFilled(const Shape& shape, Call call)
{
    const Vek8u value[4] = {7, 201, 0, 99};
    GuardedImage<Vek8u, channels> image(shape), expected(shape);
    ForEachPixel(shape.size(), [&](Vek32s x, Vek32s y) {
        for (int c = 0; c < channels; ++c)
            expected.set(x, y, c, value[c]);
    });
    ASSERT_EQ(StatusOk, call(value, image));
    ASSERT_TRUE(expected == image) << image;
}

TEST_P(ImageRearrangeTest, FillsReachEverySample)
{
    const auto visit = [](const Shape& shape) {
        ExpectFilled<1>(shape, [](const Vek8u* v, auto& image) { return vekiSet_8u_C1R(v[0], image.data(), image.step(), image.size()); });
        ExpectFilled<3>(shape, [](const Vek8u* v, auto& image) { return vekiSet_8u_C3R(v, image.data(), image.step(), image.size()); });
        ExpectFilled<4>(shape, [](const Vek8u* v, auto& image) { return vekiSet_8u_C4R(v, image.data(), image.step(), image.size()); });
    };
    ForEachShape(visit);
    visit({4133, 1031});                             // above 4 MiB each, packed
    visit({1037, 1411, 3, false, Flush::Start, 5});  // C3 and C4 above, rows apart
}

template <typename T>
void ExpectVectorFilled(Vek32s length, int offset, T value, VekStatus (*set)(T, T*, Vek32s))
{
    GuardedVector<T> v(length, offset % 2 ? Flush::Start : Flush::End, offset), expected(length, offset % 2 ? Flush::Start : Flush::End, offset);
    expected.Fill([&] { return value; });
    ASSERT_EQ(StatusOk, set(value, v.data(), length));
    ASSERT_TRUE(expected == v) << v;
}

TEST_P(ImageRearrangeTest, VectorsFillAndCopy)
{
    for (Vek32s length = 1; length < 1200000; length += length < 200 ? 1 : length) {
        for (const int offset : {0, 1, 6, 15}) {
            ExpectVectorFilled<Vek8u>(length, offset, 0xa7, veksSet_8u);
            ExpectVectorFilled<Vek16s>(length, offset, -12345, veksSet_16s);
            ExpectVectorFilled<Vek32f>(length, offset, -1.37e9f, veksSet_32f);
            ExpectVectorFilled<Vek8u>(length, offset, 0, [](Vek8u, Vek8u* p, Vek32s n) { return veksZero_8u(p, n); });
            ExpectVectorFilled<Vek16s>(length, offset, 0, [](Vek16s, Vek16s* p, Vek32s n) { return veksZero_16s(p, n); });

            const auto src = Noise<Vek32s>(Shape{length, 1, 0, false, Flush::End, offset}, random_);
            GuardedVector<Vek32s> dst(length, Flush::Start, (offset * 3 + length) % 16);
            const auto arrived = [&] { return std::memcmp(src.data(), dst.data(), (size_t)length * 4) == 0 && dst.IsSlackIntact(); };
            ASSERT_EQ(StatusOk, veksCopy_32f((const Vek32f*)src.data(), (Vek32f*)dst.data(), length));
            ASSERT_TRUE(arrived()) << dst;
            std::memset(dst.data(), 0, (size_t)length * 4);
            ASSERT_EQ(StatusOk, veksCopy_16s((const Vek16s*)src.data(), (Vek16s*)dst.data(), length * 2));
            ASSERT_TRUE(arrived()) << dst;
            std::memset(dst.data(), 0, (size_t)length * 4);
            ASSERT_EQ(StatusOk, veksCopy_8u((const Vek8u*)src.data(), (Vek8u*)dst.data(), length * 4));
            ASSERT_TRUE(arrived()) << dst;
        }
    }
}

// What a queue in a vector does: its rest moves to the front.
TEST_P(ImageRearrangeTest, VectorsMoveDownUnharmed)
{
    for (const size_t down : {1, 2, 3, 16, 31, 100})
        for (const size_t length : {40, 1000, 600000}) {
            std::vector<Vek8u> v(down + length);
            for (auto& x : v)
                x = (Vek8u)random_();
            const std::vector<Vek8u> rest(v.begin() + (ptrdiff_t)down, v.end());
            ASSERT_EQ(StatusOk, veksCopy_8u(v.data() + down, v.data(), (Vek32s)length));
            ASSERT_TRUE(std::equal(rest.begin(), rest.end(), v.begin())) << down << " down of " << length;
        }
}

TEST_P(ImageRearrangeTest, DeinterleaveWarnsOfAlignmentAndFinishes)
{
    for (Vek32s channels = 1; channels <= 6; ++channels)
        for (Vek32s length = 1; length < 60; ++length)
            for (int fault = 0; fault < 3; ++fault) {  // none, an odd source, the last plane off by a sample
                const auto pad = (int)(-(unsigned)(length * channels * 2) % 16), planePad = (int)(-(unsigned)(length * 2) % 16);
                const auto src = Noise<Vek16s>(Shape{length * channels, 1, 0, false, Flush::End, pad + (fault == 1)}, random_);
                std::vector<GuardedVector<Vek16s>> planes;
                std::vector<Vek16s*> pointers;
                for (Vek32s k = 0; k < channels; ++k) {
                    planes.emplace_back(length, Flush::End, planePad + (fault == 2 && k == channels - 1 ? 2 : 0));
                    pointers.push_back(planes.back().data());
                }
                ASSERT_EQ(fault ? WarnUnaligned : StatusOk, veksDeinterleave_16s(src.data(), channels, length, pointers.data()));
                for (Vek32s k = 0; k < channels; ++k)
                    for (Vek32s i = 0; i < length; ++i)
                        ASSERT_EQ(src.at(i * channels + k, 0), planes[(size_t)k][i]) << channels << " channels, length " << length;
            }
}

TEST_P(ImageRearrangeTest, ChannelsTakeAnyOrder)
{
    for (int repeat = 0; repeat < 6; ++repeat) {
        const Vek32s order[3] = {(Vek32s)(random_() % 3), (Vek32s)(random_() % 3), (Vek32s)(random_() % 3)};
        const Moves moves = {{order[0], 0}, {order[1], 1}, {order[2], 2}};
        const auto ordered = [&](auto swap) {
            return [&order, swap](auto* src, Vek32s srcStep, auto* dst, Vek32s dstStep, VekImageSize size) { return swap(src, srcStep, dst, dstStep, size, order); };
        };
        SCOPED_TRACE(testing::PrintToString(order));
        ExpectMoves<3, 3, Vek8u>(random_, moves, ordered(vekiSwapChannels_8u_C3R), Steps::Positive);
        ExpectMoves<3, 3, Vek16u>(random_, moves, ordered(vekiSwapChannels_16u_C3R), Steps::Positive);
        ExpectMoves<4, 4, Vek8u>(random_, moves, ordered(vekiSwapChannels_8u_AC4R), Steps::Positive);
        ExpectMoves<4, 4, Vek16u>(random_, moves, ordered(vekiSwapChannels_16u_AC4R), Steps::Positive);
        ExpectMoves<3, 3, Vek8u>(random_, moves, [&](const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size) {
            for (Vek32s y = 0; y < size.height; ++y)
                std::memcpy(dst + y * dstStep, src + y * srcStep, (size_t)size.width * 3);
            return vekiSwapChannels_8u_C3IR(dst, dstStep, size, order);
        }, Steps::Positive);
    }
}

TEST_P(ImageRearrangeTest, OneChannelSpreadsToThree)
{
    ExpectMoves<1, 3, Vek8u>(random_, {{0, 0}, {0, 1}, {0, 2}}, vekiDup_8u_C1C3R);
}

template <typename T, int channels, typename Call>
void ExpectMirrored(std::mt19937& random, Call call)
{
    ForEachShape([&](Shape shape) {
        shape.height += 1 + shape.width % 2;  // odd and even heights from 2 on
        for (Vek32s axis = AxisHorizontal; axis <= AxisBoth; ++axis) {
            if (axis != AxisHorizontal && shape.width < 2)
                continue;
            const auto src = Noise<T, channels>(shape, random);
            auto image = src, expected = src;
            ForEachPixel(shape.size(), [&](Vek32s x, Vek32s y) {
                const Vek32s toX = axis == AxisHorizontal ? x : shape.width - 1 - x;
                const Vek32s toY = axis == AxisVertical ? y : shape.height - 1 - y;
                for (int c = 0; c < (channels == 4 ? 3 : channels); ++c)
                    expected.set(toX, toY, c, src.at(x, y, c));
            });
            ASSERT_EQ(StatusOk, call(src, image, axis));
            ASSERT_TRUE(expected == image) << image << " axis " << axis << " seed " << Seed();
        }
    });
}

TEST_P(ImageRearrangeTest, MirrorsTurnPixelsAndLeaveAlpha)
{
    const auto inPlace = [](auto mirror) {
        return [mirror](const auto&, auto& image, Vek32s axis) { return mirror(image.data(), image.step(), image.size(), axis); };
    };
    ExpectMirrored<Vek8u, 1>(random_, inPlace(vekiMirror_8u_C1IR));
    ExpectMirrored<Vek8u, 3>(random_, inPlace(vekiMirror_8u_C3IR));
    ExpectMirrored<Vek8u, 4>(random_, inPlace(vekiMirror_8u_AC4IR));
    ExpectMirrored<Vek16u, 1>(random_, inPlace(vekiMirror_16u_C1IR));
    ExpectMirrored<Vek16u, 3>(random_, inPlace(vekiMirror_16u_C3IR));
    ExpectMirrored<Vek16u, 4>(random_, inPlace(vekiMirror_16u_AC4IR));
    ExpectMirrored<Vek8u, 3>(random_, [](const auto& src, auto& image, Vek32s axis) {
        image = GuardedImage<Vek8u, 3>(image.shape());
        return vekiMirror_8u_C3R(src.data(), src.step(), image.data(), image.step(), src.size(), axis);
    });
}

void ExpectTransposed(const Shape& shape, const Shape& turned, std::mt19937& random)
{
    const auto src = Noise<Vek8u>(shape, random);
    GuardedImage<Vek8u> dst(turned), expected(turned);
    ForEachPixel(shape.size(), [&](Vek32s x, Vek32s y) { expected.set(y, x, 0, src.at(x, y)); });
    ASSERT_EQ(StatusOk, vekiTranspose_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
    ASSERT_TRUE(expected == dst) << src;
}

TEST_P(ImageRearrangeTest, RowsBecomeColumns)
{
    for (const Vek32s width : {1, 2, 15, 16, 17, 63, 64, 65, 130, 300})
        for (const Vek32s height : {1, 3, 16, 31, 64, 66, 129})
            for (const int offset : {0, 3})
                ExpectTransposed({width, height, offset, offset != 0}, {height, width, 2 * offset, false, Flush::Start, offset}, random_);
    // Tiles of 512, with a remainder in both directions: the cache of most machines is known or small enough.
    ExpectTransposed({1088, 576, 0, false, Flush::Start}, {576, 1088, 0, false, Flush::Start}, random_);
}

TEST_P(ImageRearrangeTest, BadCallsReportTheFirstFaultAndWriteNothing)
{
    Vek8u s[64] = {1, 2, 3}, d[64] = {};
    Vek16u s16[64] = {}, d16[64] = {};
    const VekImageSize good = {3, 3}, flat = {2, 0}, thin = {0, 2};
    const Vek32s order[3] = {2, 1, 0}, high[3] = {0, 1, 3}, low[3] = {0, -1, 5};

    EXPECT_EQ(StatusNullPointer, vekiSet_8u_C1R(1, nullptr, 0, flat));
    EXPECT_EQ(StatusBadSize, vekiSet_8u_C1R(1, d, 0, flat));
    for (const auto set : {vekiSet_8u_C3R, vekiSet_8u_C4R}) {
        EXPECT_EQ(StatusNullPointer, set(nullptr, d, 0, flat));
        EXPECT_EQ(StatusNullPointer, set(s, nullptr, 0, thin));
        EXPECT_EQ(StatusBadSize, set(s, d, 0, thin));
    }
    EXPECT_EQ(StatusNullPointer, vekiDup_8u_C1C3R(s, 0, nullptr, 0, flat));
    EXPECT_EQ(StatusBadSize, vekiDup_8u_C1C3R(s, 0, d, 0, flat));
    EXPECT_EQ(StatusNullPointer, vekiTranspose_8u_C1R(nullptr, 0, d, 0, flat));
    EXPECT_EQ(StatusBadSize, vekiTranspose_8u_C1R(s, 0, d, 0, thin));

    const auto swap = [&](auto call, auto* from, auto* to) {
        EXPECT_EQ(StatusNullPointer, call(from, 0, to, 0, flat, nullptr));
        EXPECT_EQ(StatusBadSize, call(from, 0, to, 8, flat, high));
        EXPECT_EQ(StatusBadStep, call(from, 0, to, 8, good, high));
        EXPECT_EQ(StatusBadStep, call(from, 8, to, -8, good, high));
        EXPECT_EQ(StatusBadChannelOrder, call(from, 8, to, 8, good, high));
        EXPECT_EQ(StatusBadChannelOrder, call(from, 8, to, 8, good, low));
    };
    swap(vekiSwapChannels_8u_C3R, s, d);
    swap(vekiSwapChannels_8u_AC4R, s, d);
    swap(vekiSwapChannels_16u_C3R, s16, d16);
    swap(vekiSwapChannels_16u_AC4R, s16, d16);
    EXPECT_EQ(StatusNullPointer, vekiSwapChannels_8u_C3IR(nullptr, 0, flat, order));
    EXPECT_EQ(StatusBadSize, vekiSwapChannels_8u_C3IR(d, 0, flat, high));
    EXPECT_EQ(StatusBadStep, vekiSwapChannels_8u_C3IR(d, 0, good, high));
    EXPECT_EQ(StatusBadChannelOrder, vekiSwapChannels_8u_C3IR(d, 9, good, low));

    const auto mirror = [&](auto call, auto* image) {
        EXPECT_EQ(StatusNullPointer, call(nullptr, 8, flat, 5));
        EXPECT_EQ(StatusBadSize, call(image, 8, flat, 5));
        EXPECT_EQ(StatusBadMirrorAxis, call(image, 8, {1, 1}, 3));
        EXPECT_EQ(StatusBadMirrorAxis, call(image, 8, {1, 1}, -1));
        EXPECT_EQ(StatusBadSize, call(image, 8, {5, 1}, AxisHorizontal));
        EXPECT_EQ(StatusBadSize, call(image, 8, {1, 5}, AxisVertical));
        EXPECT_EQ(StatusBadSize, call(image, 8, {5, 1}, AxisBoth));
        EXPECT_EQ(StatusBadSize, call(image, 8, {1, 5}, AxisBoth));
    };
    for (const auto call : {vekiMirror_8u_C1IR, vekiMirror_8u_C3IR, vekiMirror_8u_AC4IR})
        mirror(call, d);
    for (const auto call : {vekiMirror_16u_C1IR, vekiMirror_16u_C3IR, vekiMirror_16u_AC4IR})
        mirror(call, d16);
    mirror([&](Vek8u* dst, Vek32s step, VekImageSize size, Vek32s axis) { return vekiMirror_8u_C3R(s, step, dst, step, size, axis); }, d);

    EXPECT_EQ(StatusNullPointer, veksSet_8u(1, nullptr, 0));
    EXPECT_EQ(StatusBadSize, veksSet_32f(1, (Vek32f*)d, 0));
    EXPECT_EQ(StatusBadSize, veksZero_16s((Vek16s*)d, -1));
    EXPECT_EQ(StatusNullPointer, veksCopy_8u(s, nullptr, 0));
    EXPECT_EQ(StatusBadSize, veksCopy_16s((Vek16s*)s16, (Vek16s*)d16, 0));
    Vek16s* planes[2] = {(Vek16s*)d16, nullptr};
    EXPECT_EQ(StatusNullPointer, veksDeinterleave_16s((Vek16s*)s16, 0, 0, nullptr));
    EXPECT_EQ(StatusBadChannelCount, veksDeinterleave_16s((Vek16s*)s16, 0, 0, planes));
    EXPECT_EQ(StatusBadSize, veksDeinterleave_16s((Vek16s*)s16, 2, 0, planes));
    EXPECT_EQ(StatusNullPointer, veksDeinterleave_16s((Vek16s*)s16, 2, 4, planes));
    for (int i = 0; i < 64; ++i)
        ASSERT_EQ(0, d[i] | d16[i]);
}

UVEK_ON_ALL_TIERS(ImageRearrangeTest);

}  // namespace
}  // namespace uvek::test
