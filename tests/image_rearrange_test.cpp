// Fills, channel orders, mirrors, transposition and vector moves, against one sample at a time.
#include <vector>

#include "support/checks.h"
#include "support/moves.h"
#include "support/tiers.h"
#include "uvek/image.h"

namespace uvek::test {
namespace {

class ImageRearrangeTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

template <int channels, typename Call>
void ExpectFilled(const Shape& shape, Call call)
{
    const Vek8u value[4] = {7, 201, 0, 99};
    GuardedImage<Vek8u, channels> image(shape), expected(shape);
    SetEach(expected, [&](Vek32s, Vek32s, int c) { return value[c]; });
    ASSERT_EQ(StatusOk, call(value, image.data(), image.step(), image.size()));
    ASSERT_TRUE(expected == image) << image;
}

VekStatus SetOne(const Vek8u* value, Vek8u* dst, Vek32s step, VekImageSize size) { return vekiSet_8u_C1R(*value, dst, step, size); }

TEST_P(ImageRearrangeTest, FillsReachEverySample)
{
    const auto visit = [](const Shape& shape) {
        ExpectFilled<1>(shape, SetOne);
        ExpectFilled<3>(shape, vekiSet_8u_C3R);
        ExpectFilled<4>(shape, vekiSet_8u_C4R);
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
            const auto copied = [&](auto sample, auto copy) {
                using T = decltype(sample);
                GuardedVector<Vek32s> dst(length, Flush::Start, (offset * 3 + length) % 16);
                ASSERT_EQ(StatusOk, copy((const T*)src.data(), (T*)dst.data(), length * (Vek32s)(4 / sizeof(T))));
                ASSERT_TRUE(std::memcmp(src.data(), dst.data(), (size_t)length * 4) == 0 && dst.IsSlackIntact()) << dst;
            };
            copied(Vek8u(), veksCopy_8u);
            copied(Vek16s(), veksCopy_16s);
            copied(Vek32f(), veksCopy_32f);
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
    const auto check = [&](Vek32s channels, Vek32s length, int fault) {  // none, an odd source, the last plane off by a sample
        const auto pad = (int)(-(unsigned)(length * channels * 2) % 16), planePad = (int)(-(unsigned)(length * 2) % 16);
        const auto src = Noise<Vek16s>(Shape{length * channels, 1, 0, false, Flush::End, pad + (fault == 1)}, random_);
        std::vector<GuardedVector<Vek16s>> planes;
        std::vector<Vek16s*> pointers;
        for (Vek32s k = 0; k < channels; ++k) {
            planes.emplace_back(length, Flush::End, planePad + (fault == 2 && k == channels - 1 ? 2 : 0));
            pointers.push_back(planes.back().data());
        }
        ASSERT_EQ(fault ? WarnUnaligned : StatusOk, veksDeinterleave_16s(src.data(), channels, length, pointers.data()));
        Vek32s wrong = 0;
        for (Vek32s k = 0; k < channels; ++k)
            for (Vek32s i = 0; i < length; ++i)
                wrong += src.at(i * channels + k, 0) != planes[(size_t)k][i];
        ASSERT_EQ(0, wrong) << channels << " channels, length " << length << " seed " << Seed();
    };
    for (Vek32s channels = 1; channels <= 6; ++channels)
        for (Vek32s length = 1; length < 60; ++length)
            for (int fault = 0; fault < 3; ++fault)
                check(channels, length, fault);
    for (Vek32s channels = 2; channels <= 4; ++channels)  // past any cache
        check(channels, (1 << 23) / channels + 5, 0);
}

TEST_P(ImageRearrangeTest, ChannelsTakeAnyOrder)
{
    ExpectMoves<1, 3, Vek8u>(random_, {{0, 0}, {0, 1}, {0, 2}}, vekiDup_8u_C1C3R);
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

template <typename T, int channels, typename Call>
void ExpectMirrored(std::mt19937& random, Call call)
{
    const auto expect = [&](Shape shape) {
        shape.height += 1 + shape.width % 2;  // odd and even heights from 2 on
        for (Vek32s axis = AxisHorizontal; axis <= AxisBoth; ++axis) {
            if (axis != AxisHorizontal && shape.width < 2)
                continue;
            const auto src = Noise<T, channels>(shape, random);
            auto image = src, expected = src;
            SetEach(expected, [&](Vek32s x, Vek32s y, int c) {  // the alpha channel stays
                return c == 3 ? src.at(x, y, c) : src.at(axis == AxisHorizontal ? x : shape.width - 1 - x, axis == AxisVertical ? y : shape.height - 1 - y, c);
            });
            ASSERT_EQ(StatusOk, call(src, image, axis));
            ASSERT_TRUE(expected == image) << image << " axis " << axis << " seed " << Seed();
        }
    };
    ForEachShape(expect);
    expect({1000 / (channels * (int)sizeof(T)) + 37, 1100, 5, false, Flush::Start, 3});  // large: rows are asked for
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
    SetEach(expected, [&](Vek32s x, Vek32s y, int) { return src.at(y, x); });
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
    const VekImageSize none = {0, 0};
    for (const auto set : {SetOne, vekiSet_8u_C3R, vekiSet_8u_C4R})
        ExpectOrder<Vek8u, Vek8u>(Then::Size, [=](Vek8u* src, Vek32s, Vek8u* dst, Vek32s step, VekImageSize size) {
            return set == SetOne ? SetOne((const Vek8u*)"a", src ? dst : nullptr, step, size) : set(src, dst, step, size);
        });
    ExpectOrder<Vek8u, Vek8u>(Then::Size, vekiDup_8u_C1C3R);
    ExpectOrder<Vek8u, Vek8u>(Then::Size, vekiTranspose_8u_C1R);

    const Vek32s order[3] = {2, 1, 0}, high[3] = {0, 1, 3}, low[3] = {0, -1, 2};
    const auto swap = [&](auto call, auto sample) {
        using T = decltype(sample);
        T pixel[4] = {};
        EXPECT_EQ(StatusNullPointer, call(pixel, 0, pixel, 0, none, nullptr));
        for (const Vek32s* bad : {order, high, low})
            ExpectOrder<T, T>(Then::SizeStep, [=](T* src, Vek32s srcStep, T* dst, Vek32s dstStep, VekImageSize size) {
                return call(src, srcStep, dst, dstStep, size, bad);
            }, bad == order ? StatusOk : StatusBadChannelOrder);
    };
    swap(vekiSwapChannels_8u_C3R, Vek8u());
    swap(vekiSwapChannels_8u_AC4R, Vek8u());
    swap(vekiSwapChannels_16u_C3R, Vek16u());
    swap(vekiSwapChannels_16u_AC4R, Vek16u());
    swap([](Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size, const Vek32s* o) {
        return vekiSwapChannels_8u_C3IR(src ? dst : nullptr, std::min(srcStep, dstStep), size, o);
    }, Vek8u());

    const auto mirror = [&](auto call, auto sample) {
        using T = decltype(sample);
        for (const Vek32s axis : {3, -1})
            ExpectOrder<T, T>(Then::Size, [=](T* src, Vek32s srcStep, T* dst, Vek32s dstStep, VekImageSize size) {
                return call(src, srcStep, dst, dstStep, size, axis);
            }, StatusBadMirrorAxis);
        // Where a half is turned onto the other there must be two; the axis is looked at before.
        T src[64] = {1, 2, 3}, dst[64] = {};
        const std::pair<VekImageSize, Vek32s> thin[] = {{{5, 1}, AxisHorizontal}, {{1, 5}, AxisVertical}, {{5, 1}, AxisBoth}, {{1, 5}, AxisBoth}};
        for (const auto& [size, axis] : thin)
            EXPECT_EQ(StatusBadSize, call(src, 32, dst, 32, size, axis));
        EXPECT_EQ(StatusBadMirrorAxis, call(src, 32, dst, 32, {1, 1}, 3));
        EXPECT_EQ(64, std::count(dst, dst + 64, 0));
    };
    const auto inPlace = [](auto call) {
        return [call](auto* src, Vek32s, auto* dst, Vek32s step, VekImageSize size, Vek32s axis) { return call(src ? dst : nullptr, step, size, axis); };
    };
    for (const auto call : {vekiMirror_8u_C1IR, vekiMirror_8u_C3IR, vekiMirror_8u_AC4IR})
        mirror(inPlace(call), Vek8u());
    for (const auto call : {vekiMirror_16u_C1IR, vekiMirror_16u_C3IR, vekiMirror_16u_AC4IR})
        mirror(inPlace(call), Vek16u());
    mirror(vekiMirror_8u_C3R, Vek8u());

    const auto vectors = [](auto sample, auto set, auto copy) {
        using T = decltype(sample);
        const auto length = [](VekImageSize size) { return std::min(size.width, size.height); };
        ExpectOrder<T, T>(Then::Size, [=](T* src, Vek32s, T* dst, Vek32s, VekImageSize size) { return copy(src, dst, length(size)); });
        ExpectOrder<T, T>(Then::Size, [=](T* src, Vek32s, T* dst, Vek32s, VekImageSize size) { return set(T(1), src ? dst : nullptr, length(size)); });
    };
    vectors(Vek8u(), veksSet_8u, veksCopy_8u);
    vectors(Vek16s(), veksSet_16s, veksCopy_16s);
    vectors(Vek32f(), veksSet_32f, veksCopy_32f);
    vectors(Vek8u(), [](Vek8u, Vek8u* p, Vek32s n) { return veksZero_8u(p, n); }, veksCopy_8u);
    vectors(Vek16s(), [](Vek16s, Vek16s* p, Vek32s n) { return veksZero_16s(p, n); }, veksCopy_16s);

    Vek16s samples[8] = {};
    Vek16s* planes[2] = {samples, nullptr};
    EXPECT_EQ(StatusNullPointer, veksDeinterleave_16s(samples, 0, 0, nullptr));
    EXPECT_EQ(StatusBadChannelCount, veksDeinterleave_16s(samples, 0, 0, planes));
    EXPECT_EQ(StatusBadSize, veksDeinterleave_16s(samples, 2, 0, planes));
    EXPECT_EQ(StatusNullPointer, veksDeinterleave_16s(samples, 2, 4, planes));
}

UVEK_ON_ALL_TIERS(ImageRearrangeTest);

}  // namespace
}  // namespace uvek::test
