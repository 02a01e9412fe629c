#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support/allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/resample.h"
#include "support/tiers.h"
#include "uvek/geometry.h"

namespace uvek::test {
namespace {

template <typename T>
using RotateFunction = VekStatus(const T*, VekImageSize, Vek32s, VekImageRect, T*, Vek32s, VekImageRect, Vek64f, Vek64f, Vek64f, Vek32s);

template <typename T, int channels>
struct Format {
    using Sample = T;
    using Image = GuardedImage<T, channels>;
    static constexpr int kChannels = channels;
    RotateFunction<T>* rotate;
};

template <typename Visit>
void ForEachFormat(Visit&& visit)
{
    visit(Format<Vek8u, 1>{vekiRotate_8u_C1R});
    visit(Format<Vek8u, 3>{vekiRotate_8u_C3R});
    visit(Format<Vek8u, 4>{vekiRotate_8u_C4R});
    visit(Format<Vek16u, 1>{vekiRotate_16u_C1R});
    visit(Format<Vek16u, 3>{vekiRotate_16u_C3R});
    visit(Format<Vek32f, 3>{vekiRotate_32f_C3R});
}

constexpr int kCodes[] = {InterNearest, InterLinear, InterCubic};

// Floats get whole numbers, so that any sample that was not written shows.
template <class Image>
Image Random(const Shape& shape, std::mt19937& random)
{
    Image image(shape);
    image.Fill([&] { return random() & 0xffff; });
    return image;
}

Shape ShapeOf(Vek32s width, Vek32s height, unsigned variant)
{
    Shape shape{width, height, (Vek32s)(variant * 5 % 13), false, variant & 1 ? Flush::Start : Flush::End, (int)(variant * 3 % 8)};
    if (variant % 3 == 0)
        shape.padding = shape.offset = 0;
    return shape;
}

Position Unrotated(long double degrees, long double xShift, long double yShift, int X, int Y)
{
    const long double t = degrees * 3.14159265358979323846264338327950288L / 180, c = std::cos(t), s = std::sin(t);
    return {c * (X - xShift) - s * (Y - yShift), s * (X - xShift) + c * (Y - yShift)};
}

class RotateTest : public TierTest {};

TEST_P(RotateTest, WritesTheRotatedPixelsAndNoOthers)
{
    struct Case { double angle, xShift, yShift; VekImageRect srcRoi, dstRoi; };
    const Case cases[] = {
        {33, 3.3, 21.7, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {-33, 12, -3, {5, 2, 40, 900}, {7, 3, 31, 22}},
        {45, 2, 40, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {0, 7, 5, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {0, 6.5, 4.25, {1, 1, 30, 20}, {0, 0, 90, 70}},
        {90, 0.5, 60, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {180, 70, 30.5, {3, 0, 55, 23}, {9, 9, 80, 11}},
        {-90, 30.25, 1.75, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {725.5, 10, 10, {50, 15, 11, 8}, {0, 0, 90, 70}},
        {200.125, 80, 30, {0, 0, 4, 4}, {0, 0, 90, 70}},
    };
    ForEachFormat([&](auto format) {
        using Image = typename decltype(format)::Image;
        std::mt19937 random(Seed());
        unsigned variant = 0;
        for (const Case& k : cases)
            for (const int code : kCodes) {
                const Image src = Random<Image>(ShapeOf(61, 23, ++variant), random);
                const Image before = Random<Image>(ShapeOf(90, 70, ++variant), random);
                Image dst = before;
                ASSERT_EQ(StatusOk, format.rotate(src.data(), src.size(), src.step(), k.srcRoi, dst.data(), dst.step(), k.dstRoi, k.angle, k.xShift, k.yShift, code));
                const int written = ExpectResampled(src, k.srcRoi, before, dst, k.dstRoi, code,
                                                    [&](int x, int y) { return Unrotated(k.angle, k.xShift, k.yShift, x, y); });
                EXPECT_GT(written, 5);
                if (HasFailure())
                    FAIL() << "angle " << k.angle << " code " << code << " bytes " << sizeof(typename decltype(format)::Sample) << " seed " << Seed();
            }
    });
}

TEST_P(RotateTest, EqualsTier0ToTheByte)
{
    // Kinds with ties everywhere: rounding must not hang on the tier's way of computing.
    struct { double angle, xShift, yShift; } const turns[] = {{90, 0.5, 150}, {0, 0.5, 0.5}, {0, 3.25, 1.75}, {180, 190.5, 140.5}, {45, 20, 120}, {33, 10, 110}, {213.7, 180, 90}};
    ForEachFormat([&](auto format) {
        using Image = typename decltype(format)::Image;
        std::mt19937 random(Seed());
        for (const Kind kind : {Kind::Noise, Kind::Alternating})
            for (const auto& turn : turns)
                for (const int code : kCodes) {
                    const Shape shape = ShapeOf(151 + (Vek32s)(random() % 8), 97, (unsigned)code);
                    Image src = Random<Image>(shape, random);
                    if (kind == Kind::Alternating) {
                        bool odd = false;
                        src.Fill([&] { odd = !odd; return odd ? 0 : 255; });
                    }
                    const auto run = [&] {
                        Image dst(ShapeOf(201, 180, (unsigned)code + 1));
                        const auto status = format.rotate(src.data(), src.size(), src.step(), {0, 0, 1000, 1000}, dst.data(), dst.step(), {0, 0, 201, 180}, turn.angle, turn.xShift, turn.yShift, code | SmoothEdgeFlag);
                        EXPECT_EQ(StatusOk, status);
                        return dst;
                    };
                    ASSERT_EQ(OnTier(0, run), run()) << "angle " << turn.angle << " code " << code << " seed " << Seed();
                }
    });
}

TEST_P(RotateTest, QuarterTurnsMovePixelsAsTheyAre)
{
    ForEachFormat([&](auto format) {
        using Image = typename decltype(format)::Image;
        std::mt19937 random(Seed());
        unsigned variant = 0;
        for (const Vek32s width : {1, 2, 3, 5, 8, 15, 16, 17, 31, 33, 48, 67, 100})
            for (const Vek32s height : {1, 4, 7, 16, 29, 35, 70})
                for (const int turns : {1, 2, 3}) {
                    const Image src = Random<Image>(ShapeOf(width, height, ++variant), random);
                    const Vek32s w = turns == 2 ? width : height, h = turns == 2 ? height : width;
                    const Image before = Random<Image>(ShapeOf(w, h, ++variant), random);
                    Image dst = before;
                    // The whole image, or what is left of it without a border on each side.
                    const Vek32s cut = variant % 5 == 0 && w > 4 && h > 4 ? 2 : 0;
                    const double angle = turns * 90 - 360 * (int)(variant % 3);
                    ASSERT_EQ(StatusOk, format.rotate(src.data(), src.size(), src.step(), {0, 0, width, height}, dst.data(), dst.step(), {cut, cut, w - 2 * cut, h - 2 * cut}, angle,
                                                      turns == 1 ? 0 : w - 1, turns == 3 ? 0 : h - 1, 77));
                    for (Vek32s y = 0; y < h; ++y)
                        for (Vek32s x = 0; x < w; ++x)
                            for (int c = 0; c < format.kChannels; ++c) {
                                const bool in = x >= cut && y >= cut && x < w - cut && y < h - cut;
                                const auto moved = turns == 1 ? src.at(width - 1 - y, x, c) : turns == 2 ? src.at(width - 1 - x, height - 1 - y, c) : src.at(y, height - 1 - x, c);
                                ASSERT_EQ(in ? moved : before.at(x, y, c), dst.at(x, y, c)) << width << "x" << height << " turns " << turns << " at " << x << ", " << y << " seed " << Seed();
                            }
                    ASSERT_TRUE(src.IsSlackIntact() && dst.IsSlackIntact());
                }
    });
}

TEST_P(RotateTest, FourQuarterTurnsGiveTheImageBack)
{
    std::mt19937 random(Seed());
    GuardedImage<Vek8u, 3> image = Random<GuardedImage<Vek8u, 3>>(ShapeOf(53, 38, 1), random);
    const GuardedImage<Vek8u, 3> before = image;
    for (int turn = 0; turn < 4; ++turn) {
        GuardedImage<Vek8u, 3> next(ShapeOf(image.height(), image.width(), 1));
        double x = 0, y = 0;
        // About the centre of its pixels, then to where the turned image's centre is.
        ASSERT_EQ(StatusOk, vekiAddRotateShift((image.width() - 1) / 2.0, (image.height() - 1) / 2.0, 90, &x, &y));
        x += (next.width() - image.width()) / 2.0;
        y += (next.height() - image.height()) / 2.0;
        ASSERT_EQ(StatusOk, vekiRotate_8u_C3R(image.data(), image.size(), image.step(), {0, 0, 99, 99}, next.data(), next.step(), {0, 0, 99, 99}, 90, x, y, InterLinear));
        image = std::move(next);
    }
    EXPECT_EQ(before, image);
}

TEST_P(RotateTest, SmoothEdgesFadeByTheirDistanceToTheEdge)
{
    // A region of 200 on black: a pixel just outside an edge, which its inner neighbour along the steeper
    // axis lies within, has the share of the way between the two that the edge leaves inside.
    GuardedImage<Vek8u> src(40, 30), plain(70, 70), smooth(70, 70);
    src.Fill([] { return 200; });
    plain.Fill([] { return 0; });
    smooth.Fill([] { return 0; });
    const double angle = 25, xShift = 12.3, yShift = 24.6;
    const VekImageRect all = {0, 0, 70, 70};
    ASSERT_EQ(StatusOk, vekiRotate_8u_C1R(src.data(), src.size(), src.step(), all, plain.data(), plain.step(), all, angle, xShift, yShift, InterNearest));
    ASSERT_EQ(StatusOk, vekiRotate_8u_C1R(src.data(), src.size(), src.step(), all, smooth.data(), smooth.step(), all, angle, xShift, yShift, InterNearest | SmoothEdgeFlag));
    int faded = 0;
    const double c = std::cos(angle * 3.14159265358979324 / 180);
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 70; ++x) {
            if (plain.at(x, y)) {
                EXPECT_EQ(200, smooth.at(x, y));
                continue;
            }
            // How far outside, in source pixels across the nearer edge; along the axis it is 1/c of that.
            const Position p = Unrotated(angle, xShift, yShift, x, y);
            const double outX = (double)std::max(-p.x, p.x - 39), outY = (double)std::max(-p.y, p.y - 29);
            if (outX > -2 && outY > -2)  // off the corners, where two edges meet
                continue;
            const double share = 1 - std::max(outX, outY) / c;
            EXPECT_NEAR(share > 0 ? 200 * share : 0, smooth.at(x, y), 0.5001) << x << ", " << y;
            faded += share > 0;
        }
    EXPECT_GT(faded, 80);
}

TEST_P(RotateTest, BoundsAndCentres)
{
    double bound[4];
    ASSERT_EQ(StatusOk, vekiGetRotateBound({2, 3, 11, 6}, bound, -270, 5, 40));  // x 2 .. 12, y 3 .. 8, (x, y) to (y + 5, 40 - x)
    EXPECT_THAT(bound, testing::ElementsAre(8, 28, 13, 38));
    ASSERT_EQ(StatusOk, vekiGetRotateBound({0, 0, 2, 2}, bound, 45, 0, 0));
    const double h = std::sqrt(0.5);
    EXPECT_THAT(bound, testing::ElementsAre(testing::DoubleNear(0, 1e-15), testing::DoubleNear(-h, 1e-15), testing::DoubleNear(2 * h, 1e-15), testing::DoubleNear(h, 1e-15)));

    for (const double angle : {0.0, 90.0, 180.0, 270.0, 31.5, -400.0}) {
        double x = 100, y = -7;
        ASSERT_EQ(StatusOk, vekiAddRotateShift(17, 29, angle, &x, &y));
        const Position p = Unrotated(angle, x - 100, y + 7, 17, 29);
        EXPECT_NEAR(17, (double)p.x, 1e-12);
        EXPECT_NEAR(29, (double)p.y, 1e-12);
        // Turning about a centre is the same as turning and shifting by hand.
        std::mt19937 random(Seed());
        const auto src = Random<GuardedImage<Vek8u, 3>>(ShapeOf(40, 50, 1), random);
        GuardedImage<Vek8u, 3> a(40, 50), b(40, 50);
        EXPECT_EQ(StatusOk, vekiRotateCenter_8u_C3R(src.data(), src.size(), src.step(), {0, 0, 40, 50}, a.data(), a.step(), {0, 0, 40, 50}, angle, 17, 29, InterLinear));
        EXPECT_EQ(StatusOk, vekiRotate_8u_C3R(src.data(), src.size(), src.step(), {0, 0, 40, 50}, b.data(), b.step(), {0, 0, 40, 50}, angle, x - 100, y + 7, InterLinear));
        EXPECT_EQ(a, b);
    }
}

TEST_P(RotateTest, BadCallsGiveTheirStatusAndWriteNothing)
{
    struct Call {
        const char* what;
        VekStatus general, orthogonal;  // at 45 and at 90 degrees
        bool noSrc = false, noDst = false;
        VekImageSize srcSize = {20, 20};
        VekImageRect srcRoi = {0, 0, 20, 20}, dstRoi = {0, 0, 20, 20};
        Vek32s srcStep = 20, dstStep = 20, interpolation = InterLinear;
        double shift = 0;
    };
    const Call calls[] = {
        {"no source before no size", StatusNullPointer, StatusNullPointer, true, false, {0, 20}},
        {"no destination before no step", StatusNullPointer, StatusNullPointer, false, true, {20, 20}, {0, 0, 20, 20}, {0, 0, 20, 20}, 0},
        {"no width before no step", StatusBadSize, StatusBadSize, false, false, {0, 20}, {0, 0, 20, 20}, {0, 0, 20, 20}, 0},
        {"source rectangle", StatusBadSize, StatusBadSize, false, false, {20, 20}, {-1, 0, 20, 20}},
        {"source rectangle without rows", StatusBadSize, StatusBadSize, false, false, {20, 20}, {0, 0, 20, 0}},
        {"destination rectangle", StatusBadSize, StatusBadSize, false, false, {20, 20}, {0, 0, 20, 20}, {0, -1, 20, 20}},
        {"destination rectangle without columns", StatusBadSize, StatusBadSize, false, false, {20, 20}, {0, 0, 20, 20}, {0, 0, 0, 20}},
        {"source step before code", StatusBadStep, StatusBadStep, false, false, {20, 20}, {0, 0, 20, 20}, {0, 0, 20, 20}, -20, 20, 0},
        {"destination step", StatusBadStep, StatusBadStep, false, false, {20, 20}, {0, 0, 20, 20}, {0, 0, 20, 20}, 20, 0},
        {"code before outside", StatusBadInterpolation, WarnEmptyIntersection, false, false, {20, 20}, {20, 0, 20, 20}, {0, 0, 20, 20}, 20, 20, InterLanczos},
        {"outside before one row", WarnEmptyIntersection, WarnEmptyIntersection, false, false, {20, 20}, {0, 20, 20, 1}},
        {"one row left", StatusBadRectangle, StatusOk, false, false, {20, 20}, {0, 19, 20, 20}},
        {"missed", WarnNoRotationOverlap, WarnEmptyIntersection, false, false, {20, 20}, {0, 0, 20, 20}, {0, 0, 20, 20}, 20, 20, InterLinear, 5000},
        {"so far off that the corners fall together", StatusBadCoefficients, WarnEmptyIntersection, false, false, {20, 20}, {0, 0, 20, 20}, {0, 0, 20, 20}, 20, 20, InterLinear | SmoothEdgeFlag, 1e300},
        {"not a number", StatusBadCoefficients, StatusBadCoefficients, false, false, {20, 20}, {0, 0, 20, 20}, {0, 0, 20, 20}, 20, 20, InterLinear, std::nan("")},
    };
    GuardedImage<Vek8u> src(20, 20);
    src.Fill([] { return 1; });
    for (const Call& k : calls)
        for (const double angle : {45.0, 90.0}) {
            GuardedImage<Vek8u> dst(20, 20);
            const GuardedImage<Vek8u> before = dst;
            const VekStatus expected = angle == 90 ? k.orthogonal : k.general;
            EXPECT_EQ(expected, vekiRotate_8u_C1R(k.noSrc ? nullptr : src.data(), k.srcSize, k.srcStep, k.srcRoi, k.noDst ? nullptr : dst.data(), k.dstStep, k.dstRoi, angle, k.shift, k.shift, k.interpolation))
                << k.what << " at " << angle;
            EXPECT_EQ(expected != StatusOk, before == dst) << k.what;
        }
    double x = 1;
    EXPECT_EQ(StatusNullPointer, vekiAddRotateShift(0, 0, 30, &x, nullptr));
    EXPECT_EQ(StatusNullPointer, vekiAddRotateShift(0, 0, 30, nullptr, &x));
    EXPECT_EQ(1, x);
    double bound[4];
    EXPECT_EQ(StatusBadSize, vekiGetRotateBound({0, 0, 0, 1}, bound, 0, 0, 0));
    EXPECT_EQ(StatusBadSize, vekiGetRotateBound({0, -1, 1, 1}, bound, 0, 0, 0));
}

TEST_P(RotateTest, ShortMemoryIsNoOverlap)
{
    const GuardedImage<Vek8u> src(20, 20);
    GuardedImage<Vek8u> dst(20, 20);
    const GuardedImage<Vek8u> before = dst;
    const auto rotate = [&](double angle) {
        return vekiRotate_8u_C1R(src.data(), src.size(), src.step(), {0, 0, 20, 20}, dst.data(), dst.step(), {0, 0, 20, 20}, angle, 0, 19, InterCubic | SmoothEdgeFlag);
    };
    {
        ScopedAllocator failing(0);
        EXPECT_EQ(WarnNoRotationOverlap, rotate(30));
        EXPECT_EQ(0, failing.live());
        EXPECT_EQ(before, dst);
    }
    ScopedAllocator counting;
    EXPECT_EQ(StatusOk, rotate(30));
    EXPECT_EQ(1, counting.requests());
    EXPECT_EQ(StatusOk, rotate(90));
    EXPECT_EQ(1, counting.requests());
    EXPECT_EQ(0, counting.live());
}

UVEK_ON_ALL_TIERS(RotateTest);

}  // namespace
}  // namespace uvek::test
