// What rotation and warps are held to: the image at a real position, in extended precision and by the
// textbook, and the statuses that they have in common.
#ifndef UVEK_TESTS_SUPPORT_RESAMPLE_H
#define UVEK_TESTS_SUPPORT_RESAMPLE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>

#include "support/allocator.h"
#include "support/random.h"
#include "uvek/geometry.h"

namespace uvek::test {

constexpr int kResampleCodes[] = {InterNearest, InterLinear, InterCubic};

struct Position {
    long double x, y;
};

// The value of the Lagrange polynomial through `taps` samples, and of its product in two dimensions;
// 2 taps are linear interpolation.
template <typename T, int channels>
long double PolynomialAt(const GuardedImage<T, channels>& image, Position p, int taps, int c)
{
    const auto base = [&](long double at, Vek32s length) {
        return std::clamp((Vek32s)std::floor(at + 1e-7L) - (taps / 2 - 1), 0, length - taps);
    };
    const Vek32s bx = base(p.x, image.width()), by = base(p.y, image.height());
    const auto weight = [&](long double at, Vek32s first, int i) {
        long double w = 1;
        for (int j = 0; j < taps; ++j)
            if (j != i)
                w *= (at - (first + j)) / (i - j);
        return w;
    };
    long double sum = 0;
    for (int j = 0; j < taps; ++j)
        for (int i = 0; i < taps; ++i)
            sum += weight(p.y, by, j) * weight(p.x, bx, i) * image.at(bx + i, by + j, c);
    return sum;
}

// Whether `sample` is the image at p, where rounding may turn a tie either way.
template <typename T, int channels>
bool IsSampleAt(const GuardedImage<T, channels>& image, Position p, int code, int c, T sample)
{
    if (code == InterNearest) {
        for (const long double dx : {-1e-9L, 1e-9L})
            for (const long double dy : {-1e-9L, 1e-9L})
                if (sample == image.at(std::clamp((Vek32s)std::floor(p.x + 0.5L + dx), 0, image.width() - 1),
                                       std::clamp((Vek32s)std::floor(p.y + 0.5L + dy), 0, image.height() - 1), c))
                    return true;
        return false;
    }
    // The cubic parameter is a single: 1e-7 of a pixel, times slopes of some thrice the range.
    const long double value = PolynomialAt(image, p, code == InterLinear ? 2 : 4, c);
    if constexpr (std::is_floating_point_v<T>) {
        return std::fabs(sample - value) <= (code == InterLinear ? 1e-5L : 1e-3L) * (1 + std::fabs(value));
    } else {
        const long double range = std::numeric_limits<T>::max(), tolerance = (code == InterLinear ? 1e-8L : 1e-6L) * range;
        const auto rounded = [&](long double v) { return (T)std::floor(std::clamp(v, 0.0L, range) + 0.5L); };
        return sample == rounded(value - tolerance) || sample == rounded(value + tolerance);
    }
}

// Every pixel of dst is as in `before` outside dstRoi and wherever it has no position in srcRoi, and the
// source at its position elsewhere. On the region's edge, within 1e-9, either will do. Returns the
// pixels that were written.
template <typename T, int channels>
int ExpectResampled(const GuardedImage<T, channels>& src, VekImageRect srcRoi, const GuardedImage<T, channels>& before, const GuardedImage<T, channels>& dst,
                    VekImageRect dstRoi, int code, const std::function<std::optional<Position>(int, int)>& sourceOf)
{
    int written = 0, wrong = 0;
    const auto inside = [&](const std::optional<Position>& p, long double margin) {
        return p && p->x >= srcRoi.x - margin && p->x <= srcRoi.x + std::min(srcRoi.width, src.width() - srcRoi.x) - 1 + margin
            && p->y >= srcRoi.y - margin && p->y <= srcRoi.y + std::min(srcRoi.height, src.height() - srcRoi.y) - 1 + margin;
    };
    for (int y = 0; y < dst.height(); ++y)
        for (int x = 0; x < dst.width(); ++x) {
            const bool inRoi = x >= dstRoi.x && x - dstRoi.x < dstRoi.width && y >= dstRoi.y && y - dstRoi.y < dstRoi.height;
            const std::optional<Position> p = inRoi ? sourceOf(x, y) : std::nullopt;
            bool kept = true, sampled = inside(p, 1e-9L);
            for (int c = 0; c < channels; ++c) {
                kept = kept && dst.at(x, y, c) == before.at(x, y, c);
                sampled = sampled && IsSampleAt(src, *p, code, c, dst.at(x, y, c));
            }
            written += inside(p, 0);
            const bool right = inside(p, -1e-9L) ? sampled : inside(p, 1e-9L) ? sampled || kept : kept;
            if (!right && ++wrong < 4)
                ADD_FAILURE() << "pixel " << x << ", " << y << (p ? " from " : " outside, ") << (p ? (double)p->x : 0) << ", " << (p ? (double)p->y : 0) << (kept ? " kept" : "")
                              << " sample " << +dst.at(x, y);
        }
    EXPECT_TRUE(src.IsSlackIntact() && dst.IsSlackIntact());
    return written;
}

// What is wrong with a call that resamples 20 by 20 pixels of three bytes onto as many.
struct BadResample {
    const char* what;
    VekStatus status, quarterTurn;  // in general; by quarter turns, which interpolate nothing
    bool noSrc = false, noDst = false;
    VekImageSize srcSize = {20, 20};
    VekImageRect srcRoi = {0, 0, 20, 20}, dstRoi = {0, 0, 20, 20};
    Vek32s srcStep = 60, dstStep = 60, interpolation = InterLinear;
};
constexpr VekImageRect kAllOf20 = {0, 0, 20, 20};
constexpr BadResample kBadResamples[] = {
    {"no source before no size", StatusNullPointer, StatusNullPointer, true, false, {0, 20}},
    {"no destination before no step", StatusNullPointer, StatusNullPointer, false, true, {20, 20}, kAllOf20, kAllOf20, 0},
    {"no width before no step", StatusBadSize, StatusBadSize, false, false, {0, 20}, kAllOf20, kAllOf20, 0},
    {"no height before no step", StatusBadSize, StatusBadSize, false, false, {20, 0}, kAllOf20, kAllOf20, 60, 0},
    {"source rectangle left of the image", StatusBadSize, StatusBadSize, false, false, {20, 20}, {-1, 0, 20, 20}},
    {"source rectangle without rows", StatusBadSize, StatusBadSize, false, false, {20, 20}, {0, 0, 20, 0}},
    {"destination rectangle above the image", StatusBadSize, StatusBadSize, false, false, {20, 20}, kAllOf20, {0, -1, 20, 20}},
    {"destination rectangle without columns", StatusBadSize, StatusBadSize, false, false, {20, 20}, kAllOf20, {0, 0, 0, 20}},
    {"source step before code", StatusBadStep, StatusBadStep, false, false, {20, 20}, kAllOf20, kAllOf20, -60, 60, 3},
    {"destination step", StatusBadStep, StatusBadStep, false, false, {20, 20}, kAllOf20, kAllOf20, 60, 0},
    {"code before outside", StatusBadInterpolation, WarnEmptyIntersection, false, false, {20, 20}, {0, 20, 20, 20}, kAllOf20, 60, 60, InterSuper | SmoothEdgeFlag},
    {"outside before one column", WarnEmptyIntersection, WarnEmptyIntersection, false, false, {20, 20}, {20, 0, 1, 20}},
    {"one row left", StatusBadRectangle, StatusOk, false, false, {20, 20}, {0, 19, 20, 20}},
    {"missed", WarnNoRotationOverlap, WarnEmptyIntersection, false, false, {20, 20}, kAllOf20, {400, 0, 20, 20}},
};

// call(src, srcSize, srcStep, srcRoi, dst, dstStep, dstRoi, interpolation) -> status.
template <typename Call>
void ExpectBadResamples(bool quarterTurn, Call&& call)
{
    const GuardedImage<Vek8u, 3> src(20, 20);
    for (const BadResample& k : kBadResamples) {
        GuardedImage<Vek8u, 3> dst(20, 20);
        dst.Fill([] { return 1; });
        const GuardedImage<Vek8u, 3> before = dst;
        const VekStatus expected = quarterTurn ? k.quarterTurn : k.status;
        EXPECT_EQ(expected, call(k.noSrc ? nullptr : src.data(), k.srcSize, k.srcStep, k.srcRoi, k.noDst ? nullptr : dst.data(), k.dstStep, k.dstRoi,
                                 k.interpolation)) << k.what;
        EXPECT_EQ(expected != StatusOk, before == dst) << k.what;
    }
}

// Smooth edges take one block of memory; without it nothing is written. call(src, dst) resamples as above.
template <typename Call>
void ExpectShortMemoryIsNoOverlap(Call&& call)
{
    std::mt19937 random(Seed());
    const auto src = Noise<Vek8u, 3>({20, 20}, random), before = Noise<Vek8u, 3>({20, 20}, random);
    for (int failAt = 0; failAt < 2; ++failAt) {
        auto dst = before;
        const ScopedAllocator allocator(failAt);
        EXPECT_EQ(failAt == 0 ? WarnNoRotationOverlap : StatusOk, call(src, dst));
        EXPECT_EQ(1, allocator.requests());
        EXPECT_EQ(0, allocator.live());
        EXPECT_EQ(failAt == 0, before == dst);
    }
}

}  // namespace uvek::test

#endif
