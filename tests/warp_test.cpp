#include <gtest/gtest.h>

#include <cmath>

#include "support/resample.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

using Pixels = GuardedImage<Vek8u, 3>;
using Quad = double[4][2];

// The two warps behind one face.
struct Bilinear {
    double c[2][4];

    VekStatus Solve(VekImageRect roi, const Quad& quad) { return vekiGetBilinearTransform(roi, quad, c); }
    VekStatus Warp(const Pixels& src, VekImageRect srcRoi, Pixels& dst, VekImageRect dstRoi, int code) const
    {
        return vekiWarpBilinear_8u_C3R(src.data(), src.size(), src.step(), srcRoi, dst.data(), dst.step(), dstRoi, c, code);
    }
    Position At(Position p) const
    {
        return {c[0][0] * p.x * p.y + c[0][1] * p.x + c[0][2] * p.y + c[0][3], c[1][0] * p.x * p.y + c[1][1] * p.x + c[1][2] * p.y + c[1][3]};
    }
};

struct Perspective {
    double c[3][3];

    VekStatus Solve(VekImageRect roi, const Quad& quad) { return vekiGetPerspectiveTransform(roi, quad, c); }
    VekStatus Warp(const Pixels& src, VekImageRect srcRoi, Pixels& dst, VekImageRect dstRoi, int code) const
    {
        return vekiWarpPerspective_8u_C3R(src.data(), src.size(), src.step(), srcRoi, dst.data(), dst.step(), dstRoi, c, code);
    }
    Position At(Position p) const
    {
        const long double w = c[2][0] * p.x + c[2][1] * p.y + c[2][2];
        return {(c[0][0] * p.x + c[0][1] * p.y + c[0][2]) / w, (c[1][0] * p.x + c[1][1] * p.y + c[1][2]) / w};
    }
};

// The inverse by Newton's method on the forward mapping, from the middle of the region.
template <class Mapping>
std::optional<Position> Inverse(const Mapping& mapping, VekImageRect roi, int X, int Y)
{
    Position p = {roi.x + (roi.width - 1) / 2.0L, roi.y + (roi.height - 1) / 2.0L};
    for (int i = 0; i < 60; ++i) {
        const long double h = 1e-4L;
        const Position f = mapping.At(p), fx = mapping.At({p.x + h, p.y}), fy = mapping.At({p.x, p.y + h});
        const long double a = (fx.x - f.x) / h, b = (fy.x - f.x) / h, c = (fx.y - f.y) / h, d = (fy.y - f.y) / h, det = a * d - b * c;
        const long double ex = X - f.x, ey = Y - f.y, dx = (d * ex - b * ey) / det, dy = (a * ey - c * ex) / det;
        p = {p.x + dx, p.y + dy};
        if (std::fabs(dx) + std::fabs(dy) < 1e-14L)
            return p;
    }
    return std::nullopt;
}

const VekImageRect kRoi = {4, 3, 40, 25};
const Quad kQuads[] = {
    {{10.3, 8.1}, {60.7, 2.9}, {70.2, 50.6}, {5.4, 41.3}},   // all sides slanted
    {{60.7, 2.9}, {10.3, 8.1}, {5.4, 41.3}, {70.2, 50.6}},   // the same in a mirror
    {{10, 5}, {60, 5}, {70, 45}, {2, 45}},                   // upper and lower side parallel
    {{8, 4}, {68, 12}, {68, 40}, {8, 52}},                   // left and right side parallel
    {{68, 12}, {8, 4}, {8, 52}, {68, 40}},                   // and in a mirror
    {{40, -20}, {95, 30}, {38, 75}, {-15, 28}},              // on its corner, cut by all sides
    {{30, 3}, {72, 18}, {58, 50}, {12, 36}},                 // wound a quarter round
};

class WarpTest : public TierTest {};

template <class Mapping>
void ExpectWarps()
{
    std::mt19937 random(Seed());
    unsigned variant = 0;
    for (const Quad& quad : kQuads) {
        Mapping mapping;
        ASSERT_EQ(StatusOk, mapping.Solve(kRoi, quad));
        const double x1 = kRoi.x + kRoi.width - 1, y1 = kRoi.y + kRoi.height - 1;
        const double corners[4][2] = {{(double)kRoi.x, (double)kRoi.y}, {x1, (double)kRoi.y}, {x1, y1}, {(double)kRoi.x, y1}};
        for (int i = 0; i < 4; ++i) {
            const Position p = mapping.At({corners[i][0], corners[i][1]});
            EXPECT_NEAR(quad[i][0], (double)p.x, 1e-11);
            EXPECT_NEAR(quad[i][1], (double)p.y, 1e-11);
        }
        for (const int code : kResampleCodes) {
            ++variant;
            Shape shape{kRoi.x + kRoi.width + (Vek32s)(variant % 2 * 7), kRoi.y + kRoi.height, (Vek32s)(variant % 5), false, variant & 1 ? Flush::Start : Flush::End, (int)(variant % 3)};
            Pixels src = Noise<Vek8u, 3>(shape, random);
            shape.width = 80;
            shape.height = 60;
            const Pixels before = Noise<Vek8u, 3>(shape, random);
            Pixels dst = before;
            const VekImageRect dstRoi = {(Vek32s)(variant % 4), 1, 79 - (Vek32s)(variant % 3), 58};
            const auto run = [&] {
                Pixels out = before;
                EXPECT_EQ(StatusOk, mapping.Warp(src, kRoi, out, dstRoi, code));
                return out;
            };
            dst = run();
            const int written = ExpectResampled(src, kRoi, before, dst, dstRoi, code, [&](int x, int y) { return Inverse(mapping, kRoi, x, y); });
            EXPECT_GT(written, 500);
            ASSERT_EQ(OnTier(0, run), dst);
            if (testing::Test::HasFailure())
                FAIL() << "quadrangle " << &quad - kQuads << " code " << code << " seed " << Seed();
        }
    }
}

TEST_P(WarpTest, BilinearWritesTheQuadrangleAndNoMore) { ExpectWarps<Bilinear>(); }

TEST_P(WarpTest, PerspectiveWritesTheQuadrangleAndNoMore) { ExpectWarps<Perspective>(); }

// Out by one mapping and back by the mapping of the opposite corners: a smooth image comes back.
TEST_P(WarpTest, ThereAndBackIsTheImage)
{
    const Quad quad = {{12, 6}, {110, 15}, {125, 112}, {3, 97}};
    const VekImageRect roi = {0, 0, 100, 80}, all = {0, 0, 130, 120};
    Pixels src(100, 80), out(130, 120), back(100, 80);
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 100; ++x)
            for (int c = 0; c < 3; ++c)
                src.set(x, y, c, (Vek8u)std::lround(127 + 60 * std::sin(x * 0.09 + c) + 60 * std::cos(y * 0.11 - c)));
    Perspective there, again;
    ASSERT_EQ(StatusOk, there.Solve(roi, quad));
    ASSERT_EQ(StatusOk, there.Warp(src, roi, out, all, InterCubic));
    // The inverse matrix is the adjugate, up to a factor.
    const auto& c = there.c;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int i1 = (i + 1) % 3, i2 = (i + 2) % 3, j1 = (j + 1) % 3, j2 = (j + 2) % 3;
            again.c[j][i] = c[i1][j1] * c[i2][j2] - c[i1][j2] * c[i2][j1];
        }
    ASSERT_EQ(StatusOk, again.Warp(out, {0, 0, 130, 120}, back, roi, InterCubic));
    for (int y = 3; y < 77; ++y)
        for (int x = 3; x < 97; ++x)
            ASSERT_NEAR(src.at(x, y, 1), back.at(x, y, 1), 3) << x << ", " << y;
}

TEST_P(WarpTest, BilinearWithoutProductsIsAffine)
{
    // A parallelogram: the solver's product terms vanish, and a rotation comes out as one.
    const Quad quad = {{10, 50}, {10, 11}, {34, 11}, {34, 50}};
    Bilinear mapping;
    ASSERT_EQ(StatusOk, mapping.Solve(kRoi, quad));
    EXPECT_EQ(0, mapping.c[0][0]);
    EXPECT_EQ(0, mapping.c[1][0]);
    std::mt19937 random(Seed());
    const Pixels src = Noise<Vek8u, 3>({50, 30}, random);
    Pixels a(60, 60), b(60, 60);
    ASSERT_EQ(StatusOk, mapping.Warp(src, kRoi, a, {0, 0, 60, 60}, InterLinear));
    ASSERT_EQ(StatusOk, vekiRotate_8u_C3R(src.data(), src.size(), src.step(), kRoi, b.data(), b.step(), {0, 0, 60, 60}, 90, 7, 54, InterLinear));
    EXPECT_EQ(b, a);
    const Bilinear flat = {{{0, 1, 2, 0}, {0, 2, 4, 0}}};
    EXPECT_EQ(StatusBadCoefficients, flat.Warp(src, kRoi, a, {0, 0, 60, 60}, InterLinear));
    // Products too small for their sides not to be parallel.
    const Bilinear almost = {{{1e-14, 0, 1, 7}, {1e-14, -1, 0, 54}}};
    Pixels c(60, 60);
    ASSERT_EQ(StatusOk, almost.Warp(src, kRoi, c, {0, 0, 60, 60}, InterNearest));
    ASSERT_EQ(StatusOk, mapping.Warp(src, kRoi, a, {0, 0, 60, 60}, InterNearest));
    int differing = 0;
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x)
            differing += a.at(x, y) != c.at(x, y);
    EXPECT_LE(differing, 2 * (25 + 40));  // a position on the region's edge may fall off it
}

TEST_P(WarpTest, PositionsFarOffReadNothingOutside)
{
    // Ill-conditioned on purpose: roots of negative numbers, divisions by zero, positions past any image.
    std::mt19937 random(Seed());
    std::uniform_real_distribution<double> any(-1, 1);
    int ran = 0;
    for (int round = 0; round < 6000; ++round) {
        const double tiny = std::pow(10, -(double)(random() % 18)), huge = std::pow(10, (double)(random() % 8));
        const Pixels src = Noise<Vek8u, 3>({2 + (Vek32s)(random() % 9), 2 + (Vek32s)(random() % 9)}, random);
        Pixels dst(Shape{12, 12, 0, false, round & 1 ? Flush::Start : Flush::End, 0});
        const VekImageRect all = {0, 0, 50, 50}, to = {0, 0, 12, 12};
        const int code = kResampleCodes[round % 3] | (round & 4 ? SmoothEdgeFlag : 0);
        Bilinear b;
        Perspective p;
        for (int i = 0; i < 8; ++i)
            b.c[i / 4][i % 4] = any(random) * (i % 4 == 0 ? tiny : i % 4 == 3 ? 6 : random() % 2 ? huge : 2);
        for (int i = 0; i < 9; ++i)
            p.c[i / 3][i % 3] = any(random) * (i >= 6 ? random() % 2 ? tiny : 1 : i % 3 == 2 ? 6 : random() % 2 ? huge : 2);
        ran += b.Warp(src, all, dst, to, code) == StatusOk;
        ran += p.Warp(src, all, dst, to, code) == StatusOk;
        ASSERT_TRUE(src.IsSlackIntact() && dst.IsSlackIntact()) << round << " seed " << Seed();
    }
    EXPECT_GT(ran, 150);
}

TEST_P(WarpTest, BadCallsGiveTheirStatusAndWriteNothing)
{
    const Pixels src(20, 20);
    Pixels dst(20, 20);
    const Pixels before = dst;
    Bilinear b;
    Perspective p;
    const Quad good = {{1, 2}, {18, 1}, {17, 19}, {0, 15}};
    const VekImageRect all = {0, 0, 20, 20};
    ASSERT_EQ(StatusOk, b.Solve(all, good));
    ASSERT_EQ(StatusOk, p.Solve(all, good));

    const auto expect = [](auto* warp, const auto& coefficients) {
        ExpectBadResamples(false, [&](auto src, auto srcSize, auto srcStep, auto srcRoi, auto out, auto dstStep, auto dstRoi, auto code) {
            return warp(src, srcSize, srcStep, srcRoi, out, dstStep, dstRoi, coefficients, code);
        });
    };
    expect(vekiWarpBilinear_8u_C3R, b.c);
    expect(vekiWarpPerspective_8u_C3R, p.c);
    const Bilinear crossed = {{{1, 0, 0, 0}, {0, 1, 0, 0}}};  // the corners with y = 0 go to X = 0, one with x = 0 too
    EXPECT_EQ(StatusBadCoefficients, crossed.Warp(src, all, dst, all, InterLinear));
    const Perspective noC8 = {{{1, 0, 0}, {0, 1, 0}, {1, 1, 0}}}, singular = {{{1, 2, 0}, {2, 4, 0}, {0, 0, 1}}}, crossing = {{{1, 0, 0}, {0, 1, 0}, {-0.1, 0, 1}}};
    EXPECT_EQ(StatusBadInterpolation, noC8.Warp(src, {20, 0, 1, 1}, dst, all, 0));
    EXPECT_EQ(StatusBadCoefficients, noC8.Warp(src, {20, 0, 1, 1}, dst, all, InterLinear));
    EXPECT_EQ(StatusBadCoefficients, singular.Warp(src, {20, 0, 1, 1}, dst, all, InterLinear));
    EXPECT_EQ(StatusBadCoefficients, crossing.Warp(src, all, dst, all, InterLinear));
    EXPECT_EQ(before, dst);

    const Quad bow = {{0, 0}, {10, 10}, {10, 0}, {0, 10}}, line = {{0, 0}, {5, 0}, {10, 0}, {0, 10}};
    for (const Quad* bad : {&bow, &line}) {
        EXPECT_EQ(StatusBadSize, b.Solve({0, 0, 0, 1}, *bad));
        EXPECT_EQ(StatusBadQuadrangle, b.Solve({0, 0, 1, 1}, *bad));
        EXPECT_EQ(StatusBadSize, p.Solve({-1, 0, 5, 5}, *bad));
        EXPECT_EQ(StatusBadQuadrangle, p.Solve({0, 0, 1, 1}, *bad));
    }
    EXPECT_EQ(StatusBadRectangle, b.Solve({0, 0, 1, 5}, good));
    EXPECT_EQ(StatusBadRectangle, p.Solve({0, 0, 5, 1}, good));
}

TEST_P(WarpTest, ShortMemoryIsNoOverlap)
{
    const auto expect = [](auto mapping) {
        ASSERT_EQ(StatusOk, mapping.Solve(kAllOf20, {{1, 2}, {18, 1}, {17, 19}, {0, 15}}));
        ExpectShortMemoryIsNoOverlap([&](auto& src, auto& dst) { return mapping.Warp(src, kAllOf20, dst, kAllOf20, InterLinear | SmoothEdgeFlag); });
    };
    expect(Bilinear{});
    expect(Perspective{});
}

TEST_P(WarpTest, CornersThatOverflowTheCutWriteNothing)
{
    GuardedImage<Vek8u, 3> src(64, 64), dst(100, 100);
    const GuardedImage<Vek8u, 3> before = dst;
    const Vek64f far[2][4] = {{0, 1e154, 1, -5}, {0, 1e154, 1e154, 0}}, farther[2][4] = {{0, 1, 1, 0}, {0, 1e307, 0, 0}};
    for (const auto& coefficients : {far, farther})
        for (const Vek32s interpolation : {(Vek32s)InterNearest, InterNearest | SmoothEdgeFlag})
            vekiWarpBilinear_8u_C3R(src.data(), src.size(), src.step(), {0, 0, 64, 64}, dst.data(), dst.step(), {0, 0, 100, 100}, coefficients, interpolation);
    EXPECT_EQ(before, dst);
}

UVEK_ON_ALL_TIERS(WarpTest);

}  // namespace
}  // namespace uvek::test
