#include <gmock/gmock.h>

#include <cmath>

#include "support/resample.h"
#include "support/tiers.h"

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

struct Turn { double angle, xShift, yShift; };

template <typename F>
VekStatus Rotate(const F& format, const typename F::Image& src, VekImageRect srcRoi, typename F::Image& dst, VekImageRect dstRoi, const Turn& t, int code)
{
    return format.rotate(src.data(), src.size(), src.step(), srcRoi, dst.data(), dst.step(), dstRoi, t.angle, t.xShift, t.yShift, code);
}

class RotateTest : public TierTest {
protected:
    template <typename F>
    void ExpectRotated(const F& format, Shape from, VekImageRect srcRoi, Shape to, VekImageRect dstRoi, const Turn& t, int code, std::mt19937& random)
    {
        const auto src = Random<typename F::Image>(from, random), before = Random<typename F::Image>(to, random);
        auto dst = before;
        ASSERT_EQ(StatusOk, Rotate(format, src, srcRoi, dst, dstRoi, t, code));
        const int model = std::fmod(t.angle, 90) == 0 && code > InterCubic ? (int)InterNearest : code;
        EXPECT_GT(ExpectResampled(src, srcRoi, before, dst, dstRoi, model, [&](int x, int y) { return Unrotated(t.angle, t.xShift, t.yShift, x, y); }), 0);
        if (HasFailure())
            FAIL() << "angle " << t.angle << " from " << from << " to " << to << " code " << code << " channels " << F::kChannels << " seed " << Seed();
    }
};

TEST_P(RotateTest, WritesTheRotatedPixelsAndNoOthers)
{
    struct { Turn turn; VekImageRect srcRoi, dstRoi; } const cases[] = {
        {{33, 3.3, 21.7}, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {{-33, 12, -3}, {5, 2, 40, 900}, {7, 3, 31, 22}},
        {{45, 2, 40}, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {{0, 7, 5}, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {{0, 6.5, 4.25}, {1, 1, 30, 20}, {0, 0, 90, 70}},
        {{90, 0.5, 60}, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {{180, 70, 30.5}, {3, 0, 55, 23}, {9, 9, 80, 11}},
        {{-90, 30.25, 1.75}, {0, 0, 61, 23}, {0, 0, 90, 70}},
        {{725.5, 10, 10}, {50, 15, 11, 8}, {0, 0, 90, 70}},
        {{200.125, 80, 30}, {0, 0, 4, 4}, {0, 0, 90, 70}},
    };
    std::mt19937 random(Seed());
    ForEachFormat([&](auto format) {
        unsigned variant = 0;
        for (const auto& k : cases)
            for (const int code : kResampleCodes) {
                ++variant;
                ExpectRotated(format, ShapeOf(61, 23, variant), k.srcRoi, ShapeOf(90, 70, variant + 1), k.dstRoi, k.turn, code, random);
            }
    });
}

TEST_P(RotateTest, QuarterTurnsMovePixelsAsTheyAre)
{
    std::mt19937 random(Seed());
    ForEachFormat([&](auto format) {
        unsigned variant = 0;
        for (const Vek32s width : {1, 2, 3, 5, 8, 15, 16, 17, 31, 33, 48, 67, 100})
            for (const Vek32s height : {1, 4, 7, 16, 29, 35, 70})
                for (const int turns : {1, 2, 3}) {
                    ++variant;
                    const Vek32s w = turns == 2 ? width : height, h = turns == 2 ? height : width;
                    // The whole image, or what is left of it without a border on each side.
                    const Vek32s cut = variant % 5 == 0 && w > 4 && h > 4 ? 2 : 0;
                    const Turn turn = {turns * 90.0 - 360 * (int)(variant % 3), turns == 1 ? 0.0 : w - 1, turns == 3 ? 0.0 : h - 1};
                    ExpectRotated(format, ShapeOf(width, height, variant), {0, 0, width, height}, ShapeOf(w, h, variant + 1),
                                  {cut, cut, w - 2 * cut, h - 2 * cut}, turn, 77, random);
                }
    });
}

TEST_P(RotateTest, QuarterTurnsOntoRowsThatOverlapEqualTier0)
{
    std::mt19937 random(Seed());
    ForEachFormat([&](auto format) {
        using F = decltype(format);
        const auto src = Random<typename F::Image>(ShapeOf(24, 40, 1), random);
        for (const int turns : {1, 2, 3}) {
            const VekImageRect all = {0, 0, turns == 2 ? 24 : 40, turns == 2 ? 40 : 24};
            const auto run = [&] {
                std::vector<typename F::Sample> dst(80 * 16 * F::kChannels);
                const Vek32s step = (Vek32s)sizeof(typename F::Sample) * F::kChannels * 7;
                EXPECT_EQ(StatusOk, format.rotate(src.data(), src.size(), src.step(), {0, 0, 24, 40}, dst.data(), step, all, turns * 90.0,
                                                  turns == 1 ? 0 : all.width - 1, turns == 3 ? 0 : all.height - 1, InterNearest));
                return dst;
            };
            ASSERT_EQ(OnTier(0, run), run()) << turns << " turns, " << F::kChannels << " channels, seed " << Seed();
        }
    });
}

TEST_P(RotateTest, FourQuarterTurnsGiveTheImageBack)
{
    const Format<Vek8u, 3> format{vekiRotate_8u_C3R};
    std::mt19937 random(Seed());
    const auto before = Random<GuardedImage<Vek8u, 3>>(ShapeOf(53, 38, 1), random);
    auto image = before;
    for (int turn = 0; turn < 4; ++turn) {
        GuardedImage<Vek8u, 3> next(ShapeOf(image.height(), image.width(), 1));
        const VekImageRect all = {0, 0, 99, 99};
        ASSERT_EQ(StatusOk, Rotate(format, image, all, next, all, {90, 0, image.width() - 1.0}, InterLinear));
        image = std::move(next);
    }
    EXPECT_EQ(before, image);
}

TEST_P(RotateTest, EqualsTier0ToTheByte)
{
    // Kinds with ties everywhere: rounding must not hang on the tier's way of computing.
    const Turn turns[] = {{90, 0.5, 150}, {0, 0.5, 0.5}, {0, 3.25, 1.75}, {180, 190.5, 140.5}, {45, 20, 120}, {33, 10, 110}, {213.7, 180, 90}};
    std::mt19937 random(Seed());
    ForEachFormat([&](auto format) {
        using Image = typename decltype(format)::Image;
        for (const bool alternating : {false, true})
            for (const Turn& turn : turns)
                for (const int code : kResampleCodes) {
                    auto src = Random<Image>(ShapeOf(151 + (Vek32s)(random() % 8), 97, (unsigned)code), random);
                    if (alternating)
                        src.Fill([n = 0]() mutable { return n++ % 2 ? 255 : 0; });
                    const auto run = [&] {
                        Image dst(ShapeOf(201, 180, (unsigned)code + 1));
                        EXPECT_EQ(StatusOk, Rotate(format, src, {0, 0, 1000, 1000}, dst, {0, 0, 201, 180}, turn, code | SmoothEdgeFlag));
                        return dst;
                    };
                    ASSERT_EQ(OnTier(0, run), run()) << "angle " << turn.angle << " code " << code << " seed " << Seed();
                }
    });
}

TEST_P(RotateTest, SmoothEdgesFadeByTheirDistanceToTheEdge)
{
    // A region of 200 on black: a pixel just outside an edge, which its inner neighbour along the steeper
    // axis lies within, has the share of the way between the two that the edge leaves inside.
    const Format<Vek8u, 1> format = {vekiRotate_8u_C1R};
    const Turn t = {25, 12.3, 24.6};
    const VekImageRect all = {0, 0, 70, 70};
    GuardedImage<Vek8u> src(40, 30), plain(70, 70), smooth(70, 70);
    src.Fill([] { return 200; });
    plain.Fill([] { return 0; });
    smooth.Fill([] { return 0; });
    ASSERT_EQ(StatusOk, Rotate(format, src, all, plain, all, t, InterNearest));
    ASSERT_EQ(StatusOk, Rotate(format, src, all, smooth, all, t, InterNearest | SmoothEdgeFlag));
    int faded = 0;
    const double c = std::cos(t.angle * std::acos(-1.0) / 180);
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 70; ++x) {
            if (plain.at(x, y)) {
                EXPECT_EQ(200, smooth.at(x, y));
                continue;
            }
            // How far outside, in source pixels across the nearer edge; along the axis it is 1/c of that.
            const Position p = Unrotated(t.angle, t.xShift, t.yShift, x, y);
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
        const auto src = Noise<Vek8u, 3>(ShapeOf(40, 50, 1), random);
        GuardedImage<Vek8u, 3> a(40, 50), b(40, 50);
        const VekImageRect all = {0, 0, 40, 50};
        EXPECT_EQ(StatusOk, vekiRotateCenter_8u_C3R(src.data(), src.size(), src.step(), all, a.data(), a.step(), all, angle, 17, 29, InterLinear));
        EXPECT_EQ(StatusOk, Rotate(Format<Vek8u, 3>{vekiRotate_8u_C3R}, src, all, b, all, {angle, x - 100, y + 7}, InterLinear));
        EXPECT_EQ(a, b);
    }
}

TEST_P(RotateTest, BadCallsGiveTheirStatusAndWriteNothing)
{
    for (const double angle : {45.0, 90.0})
        ExpectBadResamples(angle == 90, [&](auto src, auto srcSize, auto srcStep, auto srcRoi, auto dst, auto dstStep, auto dstRoi, auto code) {
            return vekiRotate_8u_C3R(src, srcSize, srcStep, srcRoi, dst, dstStep, dstRoi, angle, 0, 10, code);
        });
    const Format<Vek8u, 3> format = {vekiRotate_8u_C3R};
    GuardedImage<Vek8u, 3> src(20, 20), dst(20, 20);
    dst.Fill([] { return 1; });
    const GuardedImage<Vek8u, 3> before = dst;
    // So far off that the corners fall together; not a number.
    EXPECT_EQ(StatusBadCoefficients, Rotate(format, src, kAllOf20, dst, kAllOf20, {45, 1e300, 1e300}, InterLinear | SmoothEdgeFlag));
    EXPECT_EQ(WarnEmptyIntersection, Rotate(format, src, kAllOf20, dst, kAllOf20, {90, 1e300, 1e300}, InterLinear | SmoothEdgeFlag));
    for (const double angle : {45.0, 90.0})
        EXPECT_EQ(StatusBadCoefficients, Rotate(format, src, kAllOf20, dst, kAllOf20, {angle, std::nan(""), std::nan("")}, InterLinear));
    EXPECT_EQ(before, dst);
    double x = 1, bound[4];
    EXPECT_EQ(StatusNullPointer, vekiAddRotateShift(0, 0, 30, &x, nullptr));
    EXPECT_EQ(StatusNullPointer, vekiAddRotateShift(0, 0, 30, nullptr, &x));
    EXPECT_EQ(1, x);
    EXPECT_EQ(StatusBadSize, vekiGetRotateBound({0, 0, 0, 1}, bound, 0, 0, 0));
    EXPECT_EQ(StatusBadSize, vekiGetRotateBound({0, -1, 1, 1}, bound, 0, 0, 0));
}

TEST_P(RotateTest, ShortMemoryIsNoOverlap)
{
    const Format<Vek8u, 3> format = {vekiRotate_8u_C3R};
    ExpectShortMemoryIsNoOverlap([&](auto& src, auto& dst) { return Rotate(format, src, kAllOf20, dst, kAllOf20, {30, 0, 19}, InterCubic | SmoothEdgeFlag); });
    GuardedImage<Vek8u, 3> src(20, 20), dst(20, 20);
    const ScopedAllocator allocator(0);
    EXPECT_EQ(StatusOk, Rotate(format, src, kAllOf20, dst, kAllOf20, {90, 0, 19}, InterCubic | SmoothEdgeFlag));
}

UVEK_ON_ALL_TIERS(RotateTest);

}  // namespace
}  // namespace uvek::test
