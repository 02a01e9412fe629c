// Borders and pixel arithmetic.
#include <algorithm>
#include <cmath>
#include <limits>

#include "support/moves.h"
#include "support/tiers.h"
#include "uvek/image.h"

namespace uvek::test {
namespace {

class ImageArithmeticTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

template <int channels, typename Call>
void ExpectBorder(const Shape& shape, Vek32s top, Vek32s left, Vek32s bottom, Vek32s right, std::mt19937& random, Call call)
{
    const auto src = Noise<Vek8u, channels>(shape, random);
    const Shape frame = {shape.width + left + right, shape.height + top + bottom, shape.padding, false, Flush::Start, shape.offset};
    GuardedImage<Vek8u, channels> dst(frame), expected(frame);
    for (Vek32s y = 0; y < frame.height; ++y)
        for (Vek32s x = 0; x < frame.width; ++x)
            for (int c = 0; c < channels; ++c)
                expected.set(x, y, c, src.at(std::clamp(x - left, 0, shape.width - 1), std::clamp(y - top, 0, shape.height - 1), c));
    ASSERT_EQ(StatusOk, call(src.data(), src.step(), src.size(), dst.data(), dst.step(), dst.size(), top, left));
    ASSERT_TRUE(expected == dst) << dst << " top " << top << " left " << left;
}

TEST_P(ImageArithmeticTest, BorderRepeatsTheNearestPixel)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        const Vek32s top = shape.width % 4, left = shape.width % 3 * 9, bottom = shape.width % 5, right = shape.width % 7 * 17;
        ExpectBorder<1>(shape, top, left, bottom, right, random_, vekiCopyReplicateBorder_8u_C1R);
        ExpectBorder<3>(shape, top, left, bottom, right, random_, vekiCopyReplicateBorder_8u_C3R);
    });
    ExpectBorder<1>({1, 1}, 1, 1, 1, 1, random_, vekiCopyReplicateBorder_8u_C1R);
}

TEST_P(ImageArithmeticTest, BorderGrowsAroundAnImageInPlace)
{
    GuardedImage<Vek8u> image = Noise<Vek8u>(Shape{40, 9}, random_), expected = image;
    for (Vek32s y = 0; y < 9; ++y)
        for (Vek32s x = 0; x < 40; ++x)
            expected.set(x, y, 0, image.at(std::clamp(x, 3, 34), std::clamp(y, 2, 7)));
    ASSERT_EQ(StatusOk, vekiCopyReplicateBorder_8u_C1R(image.data() + 2 * 40 + 3, 40, {32, 6}, image.data(), 40, image.size(), 2, 3));
    EXPECT_TRUE(expected == image);
}

TEST_P(ImageArithmeticTest, NarrowingSaturates)
{
    GuardedVector<Vek16s> all(65536);
    GuardedVector<Vek8u> narrow(65536);
    Vek32s next = -32768;
    all.Fill([&] { return next++; });
    ASSERT_EQ(StatusOk, vekiConvert_16s8u_C1R(all.data(), all.step(), narrow.data(), narrow.step(), all.size()));
    for (Vek32s i = 0; i < 65536; ++i)
        ASSERT_EQ(std::clamp(i - 32768, 0, 255), narrow[i]);
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        const auto src = Noise<Vek16s>(shape, random_);
        GuardedImage<Vek8u> dst(shape);
        ASSERT_EQ(StatusOk, vekiConvert_16s8u_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x)
                ASSERT_EQ(std::clamp<int>(src.at(x, y), 0, 255), dst.at(x, y)) << src;
        ASSERT_TRUE(dst.IsSlackIntact());
    });
}

TEST_P(ImageArithmeticTest, WideningKeepsEveryValue)
{
    const Moves one = {{0, 0}}, three = {{0, 0}, {1, 1}, {2, 2}}, four = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};
    ExpectMoves<1, 1, Vek8u, Vek16s>(random_, one, vekiConvert_8u16s_C1R, Steps::Positive);
    ExpectMoves<1, 1, Vek8u, Vek16u>(random_, one, vekiConvert_8u16u_C1R, Steps::Positive);
    ExpectMoves<3, 3, Vek8u, Vek16u>(random_, three, vekiConvert_8u16u_C3R, Steps::Positive);
    ExpectMoves<4, 4, Vek8u, Vek16u>(random_, four, vekiConvert_8u16u_C4R, Steps::Positive);
    const Shape packed = {1399, 1000}, apart = {1181, 800, 2, false, Flush::End, 6}, odd = {1181, 800, 3, false, Flush::End, 1};
    ExpectMovesOn<1, 1, Vek8u, Vek16s>(packed, packed, random_, one, vekiConvert_8u16s_C1R);
    for (const Shape& shape : {apart, odd})  // an odd address has no boundary to stream from
        ExpectMovesOn<3, 3, Vek8u, Vek16u>(shape, shape, random_, three, vekiConvert_8u16u_C3R);
}

// The product by a power of two, modulo 65536; 0 from 16 on.
Vek16u Shifted(Vek16u sample, Vek32u count)
{
    return count > 15 ? (Vek16u)0 : (Vek16u)std::fmod(sample * std::pow(2.0, count), 65536.0);
}

template <int channels, typename Call>
void ExpectShifted(std::mt19937& random, Call shift)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        Vek32u counts[4] = {(Vek32u)random() % 19, (Vek32u)random() % 19, shape.width % 9 == 0 ? 0x80000001u : (Vek32u)random() % 3, 0};
        if (shape.width % 5 == 0 || channels == 1)
            counts[1] = counts[2] = counts[0];
        auto image = Noise<Vek16u, channels>(shape, random), expected = image;
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x)
                for (int c = 0; c < channels; ++c)
                    expected.set(x, y, c, Shifted(image.at(x, y, c), counts[c]));
        ASSERT_EQ(StatusOk, shift(counts, image.data(), image.step(), image.size()));
        ASSERT_TRUE(expected == image) << image << " counts " << counts[0] << " " << counts[1] << " " << counts[2];
    });
}

TEST_P(ImageArithmeticTest, ShiftsDropTheirHighBits)
{
    ExpectShifted<1>(random_, [](const Vek32u* n, Vek16u* p, Vek32s step, VekImageSize size) { return vekiLShiftC_16u_C1IR(n[0], p, step, size); });
    ExpectShifted<3>(random_, vekiLShiftC_16u_C3IR);
    ExpectShifted<4>(random_, vekiLShiftC_16u_AC4IR);
}

TEST_P(ImageArithmeticTest, OrAndThresholdsFollowEverySample)
{
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        const auto src = Noise<Vek8u>(shape, random_);
        const auto before = Noise<Vek8u>(shape, random_);
        auto either = before, above = before, below = before;
        const auto threshold = (Vek8u)(shape.width * 37);
        const auto value = shape.width % 3 == 0 ? threshold : (Vek8u)(shape.width * 91 + 5);  // a threshold that is its own value clamps
        ASSERT_EQ(StatusOk, vekiOr_8u_C1IR(src.data(), src.step(), either.data(), either.step(), src.size()));
        ASSERT_EQ(StatusOk, vekiThreshold_GTVal_8u_C1IR(above.data(), above.step(), above.size(), threshold, value));
        ASSERT_EQ(StatusOk, vekiThreshold_LTVal_8u_C1IR(below.data(), below.step(), below.size(), threshold, value));
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x) {
                const Vek8u v = before.at(x, y), s = src.at(x, y);
                ASSERT_EQ(v + s - (v & s), either.at(x, y));
                ASSERT_EQ(v > threshold ? value : v, above.at(x, y)) << +v << " against " << +threshold;
                ASSERT_EQ(v < threshold ? value : v, below.at(x, y)) << +v << " against " << +threshold;
            }
        EXPECT_TRUE(either.IsSlackIntact() && above.IsSlackIntact() && below.IsSlackIntact());
    });
}

TEST_P(ImageArithmeticTest, DivisionMultipliesByTheRoundedReciprocal)
{
    int different = 0;
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        GuardedImage<Vek32f> image(shape);
        image.Fill([&] { return (Vek32f)(int)random_() * 1e-3f; });
        const auto before = image;
        const Vek32f value = 3.0f + (Vek32f)shape.width * 0.37f;
        ASSERT_EQ(StatusOk, vekiDivC_32f_C1IR(value, image.data(), image.step(), image.size()));
        const auto reciprocal = (Vek32f)(1.0 / value);
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x) {
                // The product of two singles is exact in double, so that this rounds once, like the kernel.
                ASSERT_EQ((Vek32f)((double)before.at(x, y) * reciprocal), image.at(x, y));
                different += image.at(x, y) != before.at(x, y) / value;
            }
        ASSERT_TRUE(image.IsSlackIntact());
    });
    EXPECT_GT(different, 0);
}

// The rules in the words of Porter and Duff, with the family's division by 255, on one sample.
int Composed(int type, int s1, int a1, int s2, int a2)
{
    const auto d = [](int x) { return (x + x / 256 + 1) / 256; };
    const bool premultiplied = type >= AlphaOverPremul;
    const int c1 = premultiplied ? s1 : d(a1 * s1), c2 = premultiplied ? s2 : d(a2 * s2);
    int sum = 0;
    switch (type % 6) {
    case AlphaOver: sum = c1 + d((255 - a1) * c2); break;
    case AlphaIn: sum = d(a2 * c1); break;
    case AlphaOut: sum = d((255 - a2) * c1); break;
    case AlphaATop: sum = d(a2 * c1) + d((255 - a1) * c2); break;
    case AlphaXor: sum = d((255 - a2) * c1) + d((255 - a1) * c2); break;
    default: sum = c1 + c2; break;
    }
    return type >= AlphaPlus ? std::min(sum, 255) : sum % 256;
}

TEST_P(ImageArithmeticTest, CompositionFollowsItsRuleForEverySamplePair)
{
    GuardedImage<Vek8u, 3> first(257, 256), second(257, 256);
    int i = 0, j = 0;
    first.Fill([&] { return i++ % 256; });
    second.Fill([&] { return j++ / 256 % 256; });
    for (int type = AlphaOver; type <= AlphaPlusPremul; ++type) {
        for (const auto& [a1, a2] : {std::pair{0, 255}, {255, 0}, {255, 255}, {128, 127}, {1, 254}, {(int)(random_() % 256), (int)(random_() % 256)}}) {
            GuardedImage<Vek8u, 3> dst(257, 256);
            ASSERT_EQ(StatusOk, vekiAlphaCompC_8u_C3R(first.data(), first.step(), (Vek8u)a1, second.data(), second.step(), (Vek8u)a2,
                                                      dst.data(), dst.step(), dst.size(), type));
            for (Vek32s k = 0; k < 257 * 3 * 256; ++k)
                ASSERT_EQ(Composed(type, first.data()[k], a1, second.data()[k], a2), dst.data()[k]) << "type " << type << " alphas " << a1 << " " << a2;
        }
    }
}

TEST_P(ImageArithmeticTest, CompositionTakesEveryShapeAndRunsInPlace)
{
    ForEachShape([&](const Shape& shape) {
        const auto first = Noise<Vek8u, 3>(shape, random_);
        auto second = Noise<Vek8u, 3>(shape, random_), expected = second;
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x)
                for (int c = 0; c < 3; ++c)
                    expected.set(x, y, c, (Vek8u)Composed(AlphaXor, first.at(x, y, c), 77, second.at(x, y, c), 201));
        ASSERT_EQ(StatusOk, vekiAlphaCompC_8u_C3R(first.data(), first.step(), 77, second.data(), second.step(), 201,
                                                  second.data(), second.step(), second.size(), AlphaXor));
        ASSERT_TRUE(expected == second) << second;
    });
    // Over itself by one sample, a row composes what it has just written.
    Vek8u row[100], expected[100], other[99] = {};
    for (int i = 0; i < 100; ++i)
        row[i] = expected[i] = (Vek8u)(255 - i);
    for (int i = 1; i < 100; ++i)
        expected[i] = (Vek8u)Composed(AlphaPlus, expected[i - 1], 200, 0, 0);
    ASSERT_EQ(StatusOk, vekiAlphaCompC_8u_C3R(row, 0, 200, other, 0, 0, row + 1, 0, {33, 1}, AlphaPlus));
    EXPECT_EQ(0, std::memcmp(expected, row, 100));
}

TEST_P(ImageArithmeticTest, BadCallsReportTheFirstFaultAndWriteNothing)
{
    const Vek32s most = std::numeric_limits<Vek32s>::max();
    Vek8u s[64] = {1, 2, 3}, d[64] = {};
    Vek16s s16[64] = {};
    Vek16u d16[64] = {};
    Vek32f df[8] = {};
    const Vek32u counts[3] = {1, 16, 0};
    const VekImageSize good = {2, 2}, flat = {2, 0}, thin = {0, 2};

    for (const auto border : {vekiCopyReplicateBorder_8u_C1R, vekiCopyReplicateBorder_8u_C3R}) {
        EXPECT_EQ(StatusNullPointer, border(s, 0, flat, nullptr, 0, flat, 0, 0));
        EXPECT_EQ(StatusNullPointer, border(nullptr, 0, flat, d, 0, flat, 0, 0));
        EXPECT_EQ(StatusBadStep, border(s, 0, flat, d, 8, flat, -1, 0));
        EXPECT_EQ(StatusBadStep, border(s, 8, flat, d, 0, flat, -1, 0));
        EXPECT_EQ(StatusBadSize, border(s, 8, flat, d, 8, good, 0, 0));
        EXPECT_EQ(StatusBadSize, border(s, 8, good, d, 8, thin, 0, 0));
        EXPECT_EQ(StatusBadSize, border(s, 8, good, d, 8, {4, 4}, -1, 0));
        EXPECT_EQ(StatusBadSize, border(s, 8, good, d, 8, {4, 4}, 0, -1));
        EXPECT_EQ(StatusBadSize, border(s, 8, good, d, 8, {4, 4}, 0, 3));
        EXPECT_EQ(StatusBadSize, border(s, 8, good, d, 8, {4, 4}, 3, 0));
        EXPECT_EQ(StatusBadSize, border(s, 8, good, d, 8, {4, 4}, most, 0));  // sums that 32 bits do not hold
        EXPECT_EQ(StatusBadSize, border(s, 8, good, d, 8, {4, 4}, 0, most));
    }
    EXPECT_EQ(StatusNullPointer, vekiConvert_16s8u_C1R(s16, 0, nullptr, 0, flat));
    EXPECT_EQ(StatusBadSize, vekiConvert_16s8u_C1R(s16, 0, d, 0, flat));
    EXPECT_EQ(StatusBadStep, vekiConvert_16s8u_C1R(s16, 4, d, 0, good));
    EXPECT_EQ(StatusNullPointer, vekiConvert_8u16s_C1R(nullptr, 0, s16, 0, flat));
    for (const auto widen : {vekiConvert_8u16u_C1R, vekiConvert_8u16u_C3R, vekiConvert_8u16u_C4R}) {
        EXPECT_EQ(StatusNullPointer, widen(s, 0, nullptr, 0, flat));
        EXPECT_EQ(StatusBadSize, widen(s, 0, d16, 0, thin));
        EXPECT_EQ(StatusBadStep, widen(s, 0, d16, 4, good));
        EXPECT_EQ(StatusBadStep, widen(s, 4, d16, -4, good));
    }
    EXPECT_EQ(StatusNullPointer, vekiLShiftC_16u_C1IR(1, nullptr, 0, flat));
    EXPECT_EQ(StatusBadStep, vekiLShiftC_16u_C1IR(16, d16, 0, flat));
    EXPECT_EQ(StatusBadSize, vekiLShiftC_16u_C1IR(16, d16, 4, flat));
    for (const auto shift : {vekiLShiftC_16u_C3IR, vekiLShiftC_16u_AC4IR}) {
        EXPECT_EQ(StatusNullPointer, shift(nullptr, d16, 0, flat));
        EXPECT_EQ(StatusNullPointer, shift(counts, nullptr, 0, flat));
        EXPECT_EQ(StatusBadStep, shift(counts, d16, 0, flat));
        EXPECT_EQ(StatusBadSize, shift(counts, d16, 8, thin));
    }
    EXPECT_EQ(StatusNullPointer, vekiOr_8u_C1IR(nullptr, 0, d, 0, flat));
    EXPECT_EQ(StatusBadStep, vekiOr_8u_C1IR(s, 0, d, 8, flat));
    EXPECT_EQ(StatusBadStep, vekiOr_8u_C1IR(s, 8, d, 0, flat));
    EXPECT_EQ(StatusBadSize, vekiOr_8u_C1IR(s, 8, d, 8, thin));
    EXPECT_EQ(StatusNullPointer, vekiDivC_32f_C1IR(0, nullptr, 0, flat));
    EXPECT_EQ(StatusBadSize, vekiDivC_32f_C1IR(0, df, 0, flat));
    EXPECT_EQ(StatusBadStep, vekiDivC_32f_C1IR(0, df, 0, good));
    EXPECT_EQ(StatusDivideByZero, vekiDivC_32f_C1IR(0, df, 8, good));
    EXPECT_EQ(StatusDivideByZero, vekiDivC_32f_C1IR(-0.0f, df, 8, good));
    for (const auto threshold : {vekiThreshold_GTVal_8u_C1IR, vekiThreshold_LTVal_8u_C1IR}) {
        EXPECT_EQ(StatusNullPointer, threshold(nullptr, 0, flat, 1, 2));
        EXPECT_EQ(StatusBadSize, threshold(d, 0, flat, 1, 2));
        EXPECT_EQ(StatusBadStep, threshold(d, 0, good, 1, 2));
    }
    const auto compose = [&](const Vek8u* a, const Vek8u* b, Vek8u* to, VekImageSize size, Vek32s type) {
        return vekiAlphaCompC_8u_C3R(a, 8, 9, b, 8, 9, to, 8, size, type);
    };
    EXPECT_EQ(StatusNullPointer, compose(nullptr, s, d, flat, 12));
    EXPECT_EQ(StatusNullPointer, compose(s, nullptr, d, flat, 12));
    EXPECT_EQ(StatusNullPointer, compose(s, s, nullptr, flat, 12));
    EXPECT_EQ(StatusBadSize, compose(s, s, d, thin, 12));
    EXPECT_EQ(StatusBadAlphaType, compose(s, s, d, good, 12));
    EXPECT_EQ(StatusBadAlphaType, compose(s, s, d, good, -1));
    for (int i = 0; i < 64; ++i)
        ASSERT_EQ(0, d[i] | d16[i] | s16[i] | (df[i % 8] != 0));
}

UVEK_ON_ALL_TIERS(ImageArithmeticTest);

}  // namespace
}  // namespace uvek::test
