// Borders and pixel arithmetic.
#include <cmath>
#include <limits>

#include "support/checks.h"
#include "support/moves.h"
#include "support/tiers.h"
#include "uvek/image.h"

namespace uvek::test {
namespace {

class ImageArithmeticTest : public TierTest {
protected:
    // Steps are at least 1 here.
    template <typename Visit>
    void ForEachDownwardShape(Visit&& visit)
    {
        ForEachShape([&](Shape shape) {
            shape.upward = false;
            visit(shape);
        });
    }
    std::mt19937 random_{Seed()};
};

template <int channels, typename Call>
void ExpectBorder(const Shape& shape, Vek32s top, Vek32s left, Vek32s bottom, Vek32s right, std::mt19937& random, Call call)
{
    const auto src = Noise<Vek8u, channels>(shape, random);
    const Shape frame = {shape.width + left + right, shape.height + top + bottom, shape.padding, false, Flush::Start, shape.offset};
    GuardedImage<Vek8u, channels> dst(frame), expected(frame);
    SetEach(expected, [&](Vek32s x, Vek32s y, int c) {
        return src.at(std::clamp(x - left, 0, shape.width - 1), std::clamp(y - top, 0, shape.height - 1), c);
    });
    ASSERT_EQ(StatusOk, call(src.data(), src.step(), src.size(), dst.data(), dst.step(), dst.size(), top, left));
    ASSERT_TRUE(expected == dst) << dst << " top " << top << " left " << left;
}

TEST_P(ImageArithmeticTest, BorderRepeatsTheNearestPixel)
{
    ForEachDownwardShape([&](const Shape& shape) {
        const Vek32s top = shape.width % 4, left = shape.width % 3 * 9, bottom = shape.width % 5, right = shape.width % 7 * 17;
        ExpectBorder<1>(shape, top, left, bottom, right, random_, vekiCopyReplicateBorder_8u_C1R);
        ExpectBorder<3>(shape, top, left, bottom, right, random_, vekiCopyReplicateBorder_8u_C3R);
    });
    // It grows around an image in place.
    GuardedImage<Vek8u> image = Noise<Vek8u>(Shape{40, 9}, random_), expected = image;
    SetEach(expected, [&](Vek32s x, Vek32s y, int) { return image.at(std::clamp(x, 3, 34), std::clamp(y, 2, 7)); });
    ASSERT_EQ(StatusOk, vekiCopyReplicateBorder_8u_C1R(image.data() + 2 * 40 + 3, 40, {32, 6}, image.data(), 40, image.size(), 2, 3));
    EXPECT_TRUE(expected == image);
}

void ExpectNarrowed(const GuardedImage<Vek16s>& src)
{
    GuardedImage<Vek8u> dst(src.shape()), expected(src.shape());
    SetEach(expected, [&](Vek32s x, Vek32s y, int) { return Sat8(src.at(x, y)); });
    ASSERT_EQ(StatusOk, vekiConvert_16s8u_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
    ASSERT_TRUE(expected == dst) << src;
}

TEST_P(ImageArithmeticTest, NarrowingSaturates)
{
    GuardedImage<Vek16s> all(65536, 1);
    SetEach(all, [](Vek32s x, Vek32s, int) { return x; });
    ExpectNarrowed(all);
    ForEachDownwardShape([&](const Shape& shape) { ExpectNarrowed(Noise<Vek16s>(shape, random_)); });
}

TEST_P(ImageArithmeticTest, WideningKeepsEveryValue)
{
    ExpectMoves<1, 1, Vek8u, Vek16s>(random_, kOne, vekiConvert_8u16s_C1R, Steps::Positive);
    ExpectMoves<1, 1, Vek8u, Vek16u>(random_, kOne, vekiConvert_8u16u_C1R, Steps::Positive);
    ExpectMoves<3, 3, Vek8u, Vek16u>(random_, kThree, vekiConvert_8u16u_C3R, Steps::Positive);
    ExpectMoves<4, 4, Vek8u, Vek16u>(random_, kFour, vekiConvert_8u16u_C4R, Steps::Positive);
    const Shape packed = {1399, 1000}, apart = {1181, 800, 2, false, Flush::End, 6}, odd = {1181, 800, 3, false, Flush::End, 1};
    ExpectMovesOn<1, 1, Vek8u, Vek16s>(packed, packed, random_, kOne, vekiConvert_8u16s_C1R);
    for (const Shape& shape : {apart, odd})  // an odd address has no boundary to stream from
        ExpectMovesOn<3, 3, Vek8u, Vek16u>(shape, shape, random_, kThree, vekiConvert_8u16u_C3R);
}

// The product by a power of two, modulo 65536; 0 from 16 on.
Vek16u Shifted(Vek16u sample, Vek32u count)
{
    return count > 15 ? (Vek16u)0 : (Vek16u)std::fmod(sample * std::pow(2.0, count), 65536.0);
}

TEST_P(ImageArithmeticTest, ShiftsDropTheirHighBits)
{
    ForEachDownwardShape([&](const Shape& shape) {
        Vek32u counts[4] = {(Vek32u)random_() % 19, (Vek32u)random_() % 19, shape.width % 9 == 0 ? 0x80000001u : (Vek32u)random_() % 3, 0};
        if (shape.width % 5 == 0)
            counts[1] = counts[2] = counts[0];
        const auto check = [&](auto image, auto shift) {
            auto expected = image;
            SetEach(expected, [&](Vek32s x, Vek32s y, int c) { return Shifted(image.at(x, y, c), counts[c]); });
            ASSERT_EQ(StatusOk, shift(counts, image.data(), image.step(), image.size()));
            ASSERT_TRUE(expected == image) << image << " counts " << counts[0] << " " << counts[1] << " " << counts[2];
        };
        check(Noise<Vek16u, 1>(shape, random_), [](const Vek32u* n, Vek16u* p, Vek32s step, VekImageSize size) { return vekiLShiftC_16u_C1IR(n[0], p, step, size); });
        check(Noise<Vek16u, 3>(shape, random_), vekiLShiftC_16u_C3IR);
        check(Noise<Vek16u, 4>(shape, random_), vekiLShiftC_16u_AC4IR);
    });
}

TEST_P(ImageArithmeticTest, OrAndThresholdsFollowEverySample)
{
    ForEachDownwardShape([&](const Shape& shape) {
        const auto src = Noise<Vek8u>(shape, random_);
        auto either = Noise<Vek8u>(shape, random_), above = either, below = either, expectedEither = either, expectedAbove = either, expectedBelow = either;
        const auto threshold = (Vek8u)(shape.width * 37);
        const auto value = shape.width % 3 == 0 ? threshold : (Vek8u)(shape.width * 91 + 5);  // a threshold that is its own value clamps
        ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
            const Vek8u v = either.at(x, y), s = src.at(x, y);
            expectedEither.set(x, y, 0, (Vek8u)(v + s - (v & s)));
            expectedAbove.set(x, y, 0, v > threshold ? value : v);
            expectedBelow.set(x, y, 0, v < threshold ? value : v);
        });
        ASSERT_EQ(StatusOk, vekiOr_8u_C1IR(src.data(), src.step(), either.data(), either.step(), src.size()));
        ASSERT_EQ(StatusOk, vekiThreshold_GTVal_8u_C1IR(above.data(), above.step(), above.size(), threshold, value));
        ASSERT_EQ(StatusOk, vekiThreshold_LTVal_8u_C1IR(below.data(), below.step(), below.size(), threshold, value));
        ASSERT_TRUE(expectedEither == either && expectedAbove == above && expectedBelow == below) << shape << " threshold " << +threshold;
    });
}

TEST_P(ImageArithmeticTest, DivisionMultipliesByTheRoundedReciprocal)
{
    int different = 0;
    ForEachDownwardShape([&](const Shape& shape) {
        GuardedImage<Vek32f> image(shape), expected(shape);
        image.Fill([&] { return (Vek32f)(int)random_() * 1e-3f; });
        const Vek32f value = 3.0f + (Vek32f)shape.width * 0.37f, reciprocal = (Vek32f)(1.0 / value);
        SetEach(expected, [&](Vek32s x, Vek32s y, int) {
            // The product of two singles is exact in double, so that this rounds once, like the kernel.
            const auto product = (Vek32f)((double)image.at(x, y) * reciprocal);
            different += product != image.at(x, y) / value;
            return product;
        });
        ASSERT_EQ(StatusOk, vekiDivC_32f_C1IR(value, image.data(), image.step(), image.size()));
        ASSERT_TRUE(expected == image) << image;
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

TEST_P(ImageArithmeticTest, CompositionFollowsItsRuleAndRunsInPlace)
{
    const auto check = [&](int type, int a1, int a2, const GuardedImage<Vek8u, 3>& first, const GuardedImage<Vek8u, 3>& second, bool inPlace) {
        auto dst = second, expected = second;
        SetEach(expected, [&](Vek32s x, Vek32s y, int c) { return Composed(type, first.at(x, y, c), a1, second.at(x, y, c), a2); });
        ASSERT_EQ(StatusOk, vekiAlphaCompC_8u_C3R(first.data(), first.step(), (Vek8u)a1, (inPlace ? dst : second).data(), second.step(), (Vek8u)a2,
                                                  dst.data(), dst.step(), dst.size(), type));
        ASSERT_TRUE(expected == dst) << dst << " type " << type << " alphas " << a1 << " " << a2;
    };
    // Every pair of samples.
    GuardedImage<Vek8u, 3> first(257, 256), second(257, 256);
    int i = 0, j = 0;
    first.Fill([&] { return i++ % 256; });
    second.Fill([&] { return j++ / 256 % 256; });
    for (int type = AlphaOver; type <= AlphaPlusPremul; ++type)
        for (const auto& [a1, a2] : {std::pair{0, 255}, {255, 0}, {255, 255}, {128, 127}, {1, 254}, {(int)(random_() % 256), (int)(random_() % 256)}})
            check(type, a1, a2, first, second, false);
    ForEachShape([&](const Shape& shape) { check(AlphaXor, 77, 201, Noise<Vek8u, 3>(shape, random_), Noise<Vek8u, 3>(shape, random_), true); });
    // Over itself by one sample, a row composes what it has just written.
    Vek8u row[100], expected[100], other[99] = {};
    for (int x = 0; x < 100; ++x) {
        row[x] = (Vek8u)(255 - x);
        expected[x] = x == 0 ? row[0] : (Vek8u)Composed(AlphaPlus, expected[x - 1], 200, 0, 0);
    }
    ASSERT_EQ(StatusOk, vekiAlphaCompC_8u_C3R(row, 0, 200, other, 0, 0, row + 1, 0, {33, 1}, AlphaPlus));
    EXPECT_EQ(0, std::memcmp(expected, row, 100));
}

TEST_P(ImageArithmeticTest, BadCallsReportTheFirstFaultAndWriteNothing)
{
    constexpr Vek32s kMost = std::numeric_limits<Vek32s>::max();
    for (const auto border : {vekiCopyReplicateBorder_8u_C1R, vekiCopyReplicateBorder_8u_C3R}) {
        const auto framed = [=](VekImageSize frame, Vek32s top, Vek32s left) {
            return [=](const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size) {
                return border(src, srcStep, size, dst, dstStep, frame, top, left);
            };
        };
        ExpectOrder<Vek8u, Vek8u>(Then::StepSize, framed({2, 2}, 0, 0));
        for (const VekImageSize bad : {VekImageSize{0, 2}, {2, 0}, {1, 2}, {2, 1}})
            ExpectOrder<Vek8u, Vek8u>(Then::StepSize, framed(bad, 0, 0), StatusBadSize);
        for (const auto& [top, left] : {std::pair{-1, 0}, {0, -1}, {0, 3}, {3, 0}, {kMost, 0}, {0, kMost}})  // sums that 32 bits do not hold
            ExpectOrder<Vek8u, Vek8u>(Then::StepSize, framed({4, 4}, top, left), StatusBadSize);
    }
    ExpectOrder<Vek16s, Vek8u>(Then::SizeStep, vekiConvert_16s8u_C1R);
    ExpectOrder<Vek8u, Vek16s>(Then::SizeStep, vekiConvert_8u16s_C1R);
    for (const auto widen : {vekiConvert_8u16u_C1R, vekiConvert_8u16u_C3R, vekiConvert_8u16u_C4R})
        ExpectOrder<Vek8u, Vek16u>(Then::SizeStep, widen);
    ExpectOrder<Vek16u, Vek16u>(Then::StepSize, InPlace([](Vek16u* p, Vek32s step, VekImageSize size) { return vekiLShiftC_16u_C1IR(16, p, step, size); }));
    for (const auto shift : {vekiLShiftC_16u_C3IR, vekiLShiftC_16u_AC4IR}) {
        const Vek32u counts[3] = {1, 16, 0};
        ExpectOrder<Vek16u, Vek16u>(Then::StepSize, InPlace([&](Vek16u* p, Vek32s step, VekImageSize size) { return shift(counts, p, step, size); }));
        EXPECT_EQ(StatusNullPointer, shift(nullptr, (Vek16u*)counts, 0, {0, 0}));
    }
    ExpectOrder<Vek8u, Vek8u>(Then::StepSize, vekiOr_8u_C1IR);
    for (const Vek32f zero : {0.0f, -0.0f})
        ExpectOrder<Vek32f, Vek32f>(Then::SizeStep, InPlace([=](Vek32f* p, Vek32s step, VekImageSize size) { return vekiDivC_32f_C1IR(zero, p, step, size); }),
                                    StatusDivideByZero);
    for (const auto threshold : {vekiThreshold_GTVal_8u_C1IR, vekiThreshold_LTVal_8u_C1IR})
        ExpectOrder<Vek8u, Vek8u>(Then::SizeStep, InPlace([=](Vek8u* p, Vek32s step, VekImageSize size) { return threshold(p, step, size, 1, 2); }));
    const Vek8u other[64] = {};
    for (const Vek32s type : {12, -1})
        for (const bool swapped : {false, true}) {
            const auto compose = [&](const Vek8u* src, Vek32s, Vek8u* dst, Vek32s, VekImageSize size) {
                return vekiAlphaCompC_8u_C3R(swapped ? other : src, 8, 9, swapped ? src : other, 8, 9, dst, 8, size, type);
            };
            ExpectOrder<Vek8u, Vek8u>(Then::Size, compose, StatusBadAlphaType);
        }
}

UVEK_ON_ALL_TIERS(ImageArithmeticTest);

}  // namespace
}  // namespace uvek::test
