#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/allocator.h"
#include "support/random.h"
#include "support/tiers.h"
#include "uvek/geometry.h"

namespace uvek::test {
namespace {

class ResizeYuv422Test : public TierTest {};

VekStatus Call(const GuardedImage<Vek8u, 4>& from, VekImageRect roi, GuardedImage<Vek8u, 4>& to, double xFactor, double yFactor, int interpolation)
{
    return vekiResizeYUV422_8u_C2R(from.data(), {2 * from.width(), from.height()}, from.step(), roi, to.data(), to.step(),
                                   {2 * to.width(), to.height()}, xFactor, yFactor, interpolation);
}

// One byte in `every` of each row, from the byte `first`: a plane of its own, of both lumas or of a chroma.
GuardedImage<Vek8u> Plane(const GuardedImage<Vek8u, 4>& image, int first, int every)
{
    GuardedImage<Vek8u> plane(image.width() * 4 / every, image.height());
    plane.Fill([&, i = 0]() mutable {
        const int byte = first + i % plane.width() * every, row = i / plane.width();
        ++i;
        return image.at(byte / 4, row, byte % 4);
    });
    return plane;
}

TEST_P(ResizeYuv422Test, PlanesEqualTheOneChannelResize)
{
    std::mt19937 random(Seed());
    for (int n = 0; n < 400; ++n) {
        const Shape shape{4 + (int)(random() % 30), 8 + (int)(random() % 9), (int)(random() % 9), n % 3 == 1, n % 2 ? Flush::End : Flush::Start, n % 5};
        const auto image = Noise<Vek8u, 4>(shape, random);
        const int code = (const int[]){InterLinear, InterCubic, InterSuper, InterNearest}[n % 4];
        // Whole scaled sizes of both, so that the planes' lengths and steps are those of the planes alone.
        const double xFactor = code == InterSuper ? (const double[]){1, 0.5, 0.25, 0.75}[random() % 4] : 0.25 * (1 + (int)(random() % 12));
        const double yFactor = code == InterSuper ? (const double[]){1, 0.5, 0.3, 0.6}[random() % 4] : 0.2 + random() % 300 / 100.0;
        const int pairs = (int)(shape.width * xFactor), height = (int)(shape.height * yFactor + 1e-7);
        if (pairs * 2 != (int)(2 * shape.width * xFactor + 1e-7))
            continue;
        GuardedImage<Vek8u, 4> got(Shape{pairs, height, 3, n % 3 == 2, n % 2 ? Flush::Start : Flush::End, 0}), mean(pairs, height);
        SCOPED_TRACE(testing::Message() << "case " << n << " code " << code << " " << shape << " by " << xFactor << "," << yFactor << " seed " << Seed());
        ASSERT_EQ(StatusOk, Call(image, {0, 0, 2 * shape.width, shape.height + n % 2}, got, xFactor, yFactor, code));
        EXPECT_TRUE(got.IsSlackIntact());
        if (code == InterSuper) {  // a pair is one pixel of four channels, both lumas apart
            ASSERT_EQ(StatusOk, vekiResize_8u_C4R(image.data(), image.size(), image.step(), {0, 0, shape.width, shape.height}, mean.data(), mean.step(),
                                                  mean.size(), xFactor, yFactor, InterSuper));
            for (int i = 0; i < pairs * height * 4; ++i)
                ASSERT_EQ(mean.at(i / 4 % pairs, i / 4 / pairs, i % 4), got.at(i / 4 % pairs, i / 4 / pairs, i % 4)) << i;
            continue;
        }
        for (const auto& [first, every] : {std::pair{0, 2}, {1, 4}, {3, 4}}) {
            const auto from = Plane(image, first, every), result = Plane(got, first, every);
            GuardedImage<Vek8u> want(result.width(), height);
            ASSERT_EQ(StatusOk, vekiResize_8u_C1R(from.data(), from.size(), from.step(), {0, 0, from.width(), from.height()}, want.data(), want.step(),
                                                  want.size(), xFactor, yFactor, code));
            // Rounding of cubic sums by block or tail goes by the place in the row, which differs between the two.
            const int tolerance = code == InterCubic && GetParam() > 0 ? 1 : 0;
            for (int i = 0; i < want.width() * height; ++i)
                ASSERT_NEAR(want.at(i % want.width(), i / want.width()), result.at(i % want.width(), i / want.width()), tolerance) << first << " " << i;
        }
    }
}

TEST_P(ResizeYuv422Test, AreasPastTheImageTakeItsLastPair)
{
    // Three pairs make one that is four wide, of which the fourth still counts.
    GuardedImage<Vek8u, 4> image(3, 5), got(1, 1), white(1, 1);
    image.Fill([] { return 255; });
    white.Fill([] { return 255; });
    for (const double yFactor : {0.4, 0.5}) {
        ASSERT_EQ(StatusOk, Call(image, {0, 0, 6, 5}, got, 0.25, yFactor, InterSuper));
        EXPECT_EQ(white, got) << yFactor;
    }
    EXPECT_EQ(StatusBadResizeFactor, Call(image, {0, 0, 6, 5}, got, NAN, 0.5, InterSuper));
    EXPECT_EQ(StatusBadResizeFactor, Call(image, {0, 0, 6, 5}, got, 0.5, NAN, InterSuper));
}

TEST_P(ResizeYuv422Test, RegionsStartFourBytesAPixelIntoTheRow)
{
    // 16 pixels of which the region is 4 from x = 4: bytes 16 .. 23, the pixels 8 .. 11.
    GuardedImage<Vek8u, 4> image(8, 2), got(2, 2);
    image.Fill([n = 0]() mutable { return n++; });
    for (const int code : {InterNearest, InterSuper, InterLinear}) {
        ASSERT_EQ(StatusOk, Call(image, {4, 0, 4, 2}, got, 1, 1, code));
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(16 + i, got.at(i / 4, 0, i % 4)) << code;
    }
}

TEST_P(ResizeYuv422Test, LengthsAndDowngradesAreItsOwn)
{
    std::mt19937 random(Seed());
    const auto image = Noise<Vek8u, 4>(Shape{5, 9}, random);
    const auto pairsOf = [&](int width, double factor) {  // how many pairs a region of that width fills
        GuardedImage<Vek8u, 4> to(6, 1), other(to);
        const VekStatus status = Call(image, {0, 0, width, 9}, to, factor, 1, InterNearest);
        int pairs = 0;
        while (status == StatusOk && pairs < 6 && to.at(pairs, 0, 0) != other.at(pairs, 0, 0))
            ++pairs;
        return status == StatusOk ? pairs : status;
    };
    EXPECT_EQ(StatusResizeTooSmall, pairsOf(2, 0.7));
    EXPECT_EQ(1, pairsOf(2, 0.75));
    EXPECT_EQ(2, pairsOf(10, 0.59));

    const struct { int width, height, asked, taken; } cases[] = {
        {6, 9, InterCubic, InterLinear}, {10, 3, InterCubic, InterLinear}, {2, 9, InterCubic, InterNearest}, {10, 1, InterLinear, InterNearest}};
    for (const auto& c : cases) {
        const auto small = Noise<Vek8u, 4>(Shape{c.width / 2, c.height}, random);
        GuardedImage<Vek8u, 4> asked(c.width, 2 * c.height), taken(asked);
        ASSERT_EQ(StatusOk, Call(small, {0, 0, c.width, c.height}, asked, 2, 2, c.asked));
        ASSERT_EQ(StatusOk, Call(small, {0, 0, c.width, c.height}, taken, 2, 2, c.taken));
        EXPECT_EQ(taken, asked) << c.width << "x" << c.height;
    }
}

TEST_P(ResizeYuv422Test, StatusesComeInTheirOrder)
{
    GuardedImage<Vek8u, 4> image(8, 8), to(8, 8);
    const GuardedImage<Vek8u, 4> before(to);
    const Vek8u* const s = image.data();
    Vek8u* const d = to.data();
    constexpr VekImageSize kSize = {16, 8}, kOdd = {15, 8};
    constexpr VekImageRect kAll = {0, 0, 16, 8};
    const struct { const char* what; VekStatus want; const Vek8u* src; VekImageSize size; VekImageRect roi; Vek8u* dst; VekImageSize dstSize; double x, y; int code; } calls[] = {
        {"no source before no size", StatusNullPointer, nullptr, {0, 8}, kAll, d, kSize, 1, 1, 2},
        {"no destination", StatusNullPointer, s, kSize, kAll, nullptr, kSize, 1, 1, 2},
        {"no size before outside", StatusBadSize, s, {0, 8}, {16, 0, 2, 2}, d, kSize, 1, 1, 2},
        {"outside before no destination size", WarnEmptyIntersection, s, kOdd, {17, 0, 2, 2}, d, {0, 0}, 0, 1, 2},
        {"odd image before factor", StatusBadSize, s, kOdd, kAll, d, kSize, 0, 1, 2},
        {"odd region", StatusBadSize, s, kSize, {0, 0, 15, 8}, d, kSize, 0, 1, 2},
        {"odd start", StatusBadSize, s, kSize, {1, 0, 14, 8}, d, kSize, 0, 1, 2},
        {"one column", StatusBadSize, s, kSize, kAll, d, {1, 8}, 0, 1, 2},
        {"factor before code", StatusBadResizeFactor, s, kSize, kAll, d, kSize, 1, -1, 16},
        {"no Lanczos, before too small", StatusBadInterpolation, s, kSize, kAll, d, kSize, 0.01, 1, 16},
        {"too small before super's factor", StatusResizeTooSmall, s, kSize, kAll, d, kSize, 0.01, 2, 8},
        {"super does not enlarge", StatusBadResizeFactor, s, kSize, kAll, d, kSize, 1, 2, 8},
    };
    for (const auto& c : calls)
        EXPECT_EQ(c.want, vekiResizeYUV422_8u_C2R(c.src, c.size, image.step(), c.roi, c.dst, to.step(), c.dstSize, c.x, c.y, c.code)) << c.what;
    EXPECT_EQ(before, to);

    for (const int code : {InterNearest, InterLinear, InterCubic, InterSuper}) {
        int requests = 1;
        for (int failAt = -1; failAt < requests; ++failAt) {
            const ScopedAllocator allocator(failAt);
            EXPECT_EQ(failAt < 0 ? StatusOk : StatusNoMemory, Call(image, kAll, to, 0.75, 0.75, code)) << code << " allocation " << failAt;
            EXPECT_EQ(0, allocator.live());
            requests = failAt < 0 ? allocator.requests() : requests;
        }
    }
}

UVEK_ON_ALL_TIERS(ResizeYuv422Test);

}  // namespace
}  // namespace uvek::test
