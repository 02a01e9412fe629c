#include "uvek/geometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "support/allocator.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class ResizeTest : public TierTest {};

// ---- A direct statement of the mapping and of each interpolation, pixel by pixel ----

struct RefAxis {
    int image, origin, region, wanted;
    double factor, shift = 0;
    bool steps = false;  // factor is the source distance, not the scale
    int length = 0;      // 0: too small
    std::vector<double> at;

    void Map(bool nearest)
    {
        double step = factor;
        if (steps) {
            const double n = std::floor((region - !nearest) / factor + 1e-7);
            length = n >= wanted - 1 ? wanted : std::max(1, (int)n + !nearest);
        } else {
            const double scaled = region * factor;
            length = std::min(wanted, (int)(scaled + 1e-7));
            if (length == 0)
                length = scaled + 1e-7 >= 0.5;
            step = nearest ? 1 / factor : scaled > 1 ? (region - 1) / (scaled - 1) : 0;
        }
        double p = nearest ? shift + 0.5 * step : shift;
        for (int k = 0; k < length; ++k, p += step)
            at.push_back(p);
    }
    int end() const { return image - origin; }
};

// A tap position of a destination pixel: pixel i and what lies behind it.
struct RefTap {
    int i;
    int weight;  // linear, bytes
    float t;
};

RefTap TapAt(const RefAxis& axis, int k, int interpolation)
{
    const double p = axis.at[k];
    int i = (int)(p + 1e-7);
    if (interpolation == InterNearest)
        return {axis.shift == 0 && !axis.steps ? std::min(i, axis.region - 1) : std::min(i, axis.end() - 1), 0, 0};
    if (interpolation == InterLinear)
        return i == axis.end() - 1 ? RefTap{i - 1, 16384, 1.0f} : RefTap{i, (int)((p - i) * 16384 + 1e-7), (float)(p - i)};
    if (interpolation == InterCubic) {
        const int g = axis.origin + i;
        if (g == axis.image - 1)
            return {i - 2, 0, 2.0f};
        i += g == 0 ? 1 : g == axis.image - 2 ? -1 : 0;
    }
    return {i, 0, (float)(p - i)};
}

float RefCubic(float s0, float s1, float s2, float s3, float t)
{
    const float d1 = s1 - s0, d2 = (s2 - s1) - d1, d3 = (s1 - s2 - s2 + s3) - d2;
    const float c1 = 1 + t, c2 = t * (1 + t) * 0.5f, c3 = (t - 1) * c2 / 3;
    return s0 + c1 * d1 + c2 * d2 + c3 * d3;
}

double RefWindow(double x)
{
    const double pi = std::acos(-1.0);
    const auto sinc = [&](double v) { return v == 0 ? 1 : std::sin(pi * v) / (pi * v); };
    return std::fabs(x) < 3 ? sinc(x) * sinc(x / 3) : 0;
}

// The share of destination pixel k, at 1 / factor source pixels each, that source pixel i has.
double Overlap(int i, int k, double factor)
{
    return std::max(0.0, std::min(i + 1.0, (k + 1) / factor) - std::max((double)i, k / factor)) * factor;
}

template <typename T, int channels>
struct Reference {
    const GuardedImage<T, channels>& image;
    RefAxis x, y;
    int interpolation, tier;

    float At(int i, int j, int c) const { return (float)image.at(x.origin + i, y.origin + j, c); }

    T Rounded(float v, bool block) const
    {
        if constexpr (std::is_same_v<T, float>)
            return v;
        const double sum = block ? (double)(v + 0.5000001192092896f) : v + 0.5000001;
        return (T)std::clamp((int)sum, 0, 255);
    }

    T Linear(RefTap h, RefTap v, int c) const
    {
        if constexpr (std::is_same_v<T, float>) {
            const auto row = [&](int j) { return (At(h.i + 1, j, c) - At(h.i, j, c)) * h.t + At(h.i, j, c); };
            return row(v.i + 1) * v.t + row(v.i) * (1.0f - v.t);
        } else {
            const auto row = [&](int j) { return (unsigned)((16384 - h.weight) * At(h.i, j, c) + h.weight * At(h.i + 1, j, c) + 128) >> 8; };
            return (T)((row(v.i + 1) * v.weight + row(v.i) * (16384 - v.weight) + 0x80000) >> 20);
        }
    }
    float Cubic(RefTap h, RefTap v, int c) const
    {
        const auto row = [&](int j) { return RefCubic(At(h.i - 1, j, c), At(h.i, j, c), At(h.i + 1, j, c), At(h.i + 2, j, c), h.t); };
        return RefCubic(row(v.i - 1), row(v.i), row(v.i + 1), row(v.i + 2), v.t);
    }
    // In double precision from the window's formula, with every tap clamped to the image.
    double Lanczos(RefTap h, RefTap v, int c) const
    {
        double sum = 0, weights = 0;
        for (int j = -2; j <= 3; ++j)
            for (int i = -2; i <= 3; ++i) {
                const double w = RefWindow(j - v.t) * RefWindow(i - h.t);
                sum += w * At(std::clamp(h.i + i, -x.origin, x.end() - 1), std::clamp(v.i + j, -y.origin, y.end() - 1), c);
                weights += w;
            }
        return sum / weights;
    }
    double Super(int k, int l, int c) const
    {
        double sum = 0;
        for (int j = (int)(l / y.factor); j < std::min((l + 1) / y.factor, (double)y.region); ++j)
            for (int i = (int)(k / x.factor); i < std::min((k + 1) / x.factor, (double)x.region); ++i)
                sum += At(i, j, c) * Overlap(i, k, x.factor) * Overlap(j, l, y.factor);
        return sum;
    }

    // Compares what the library wrote, and puts the reference's bytes in its place where it may differ.
    void Check(const GuardedImage<T, channels>& before, const GuardedImage<T, channels>& got) const
    {
        GuardedImage<T, channels> want(before);
        const int blockEnd = tier == 0 ? 0 : x.length * channels / 8 * 8;
        for (int l = 0; l < y.length; ++l)
            for (int k = 0; k < x.length; ++k) {
                const RefTap h = TapAt(x, k, interpolation), v = TapAt(y, l, interpolation);
                for (int c = 0; c < channels; ++c) {
                    const T is = got.at(k, l, c);
                    T wanted = is;
                    if (interpolation == InterNearest) {
                        wanted = (T)At(h.i, v.i, c);
                    } else if (interpolation == InterLinear) {
                        wanted = Linear(h, v, c);
                    } else if (interpolation == InterCubic) {
                        wanted = Rounded(Cubic(h, v, c), k * channels + c < blockEnd);
                    } else {
                        // The window's table has steps of a hundredth; sums of areas are rounded in single precision.
                        const bool lanczos = interpolation == InterLanczos;
                        double exact = lanczos ? Lanczos(h, v, c) : Super(k, l, c);
                        const double tolerance = (lanczos ? 0.2 : 1e-3) + (std::is_same_v<T, float> ? 0 : 0.5);
                        if (!std::is_same_v<T, float>)
                            exact = std::clamp(exact, 0.0, 255.0);
                        EXPECT_NEAR(exact, (double)is, tolerance) << k << "," << l << "," << c;
                    }
                    want.set(k, l, c, wanted);
                }
            }
        EXPECT_EQ(want, got);  // and nothing outside of the effective size
    }
};

// ---- Cases ----

template <typename T, int channels>
VekStatus CallResize(const T* pSrc, VekImageSize srcSize, int srcStep, VekImageRect roi, T* pDst, int dstStep, VekImageSize dstSize,
                     double xFactor, double yFactor, int interpolation)
{
    if constexpr (std::is_same_v<T, float>)
        return vekiResize_32f_C1R(pSrc, srcSize, srcStep, roi, pDst, dstStep, dstSize, xFactor, yFactor, interpolation);
    else
        return (channels == 1 ? vekiResize_8u_C1R : channels == 3 ? vekiResize_8u_C3R : vekiResize_8u_C4R)(
            pSrc, srcSize, srcStep, roi, pDst, dstStep, dstSize, xFactor, yFactor, interpolation);
}

struct Case {
    Shape source, destination;
    VekImageRect roi;
    double xFactor, yFactor, xShift = 0, yShift = 0;
};

// Regions anywhere, reaching past the image now and then; wanted sizes short, equal and long of the scaled.
Case RandomCase(std::mt19937& random, bool reduce, int sampleBytes)
{
    const auto upTo = [&](int n) { return (int)(random() % (unsigned)n); };
    const auto factor = [&] {
        constexpr double kFactors[] = {1, 0.5, 1.0 / 3, 0.25, 0.4, 0.6, 0.7, 2, 1.5, 2.7, 4, 1.1};
        return upTo(4) ? kFactors[upTo(reduce ? 7 : 12)] : reduce ? 0.2 + upTo(800) / 1000.0 : 0.2 + upTo(3000) / 1000.0;
    };
    const auto shape = [&](int width, int height) {
        return Shape{width, height, upTo(3) * 4 * sampleBytes, upTo(4) == 0, upTo(2) ? Flush::End : Flush::Start, upTo(2) * upTo(16)};
    };
    Case c;
    c.source = shape(8 + upTo(random() % 8 ? 60 : 500), 8 + upTo(16));
    c.roi.x = upTo(2) * upTo(c.source.width - 2);
    c.roi.y = upTo(2) * upTo(c.source.height - 2);
    c.roi.width = upTo(3) ? c.source.width - c.roi.x + upTo(2) : 1 + upTo(c.source.width - c.roi.x);
    c.roi.height = upTo(3) ? c.source.height - c.roi.y + upTo(2) : 1 + upTo(c.source.height - c.roi.y);
    c.xFactor = factor();
    c.yFactor = factor();
    c.destination = shape(1 + (int)(c.roi.width * c.xFactor) + upTo(5) - upTo(2), 1 + (int)(c.roi.height * c.yFactor) + upTo(4) - upTo(2));
    c.destination.width = std::max(1, c.destination.width);
    c.destination.height = std::max(1, c.destination.height);
    return c;
}

RefAxis AxisOf(int image, int origin, int length, int wanted, double factor, double shift = 0, bool steps = false)
{
    return {image, origin, std::min(length, image - origin), wanted, factor, shift, steps, 0, {}};
}

template <typename T, int channels>
void CheckAgainstReference(int tier, int interpolation, int cases)
{
    std::mt19937 random(Seed() + (unsigned)interpolation);
    for (int n = 0; n < cases && !testing::Test::HasFailure(); ++n) {
        const Case c = RandomCase(random, interpolation == InterSuper, sizeof(T));
        GuardedImage<T, channels> source(c.source), destination(c.destination);
        source.Fill([&, kind = random() % 4] { return (T)(kind == 0 ? random() % 2 * 255 : random() % 256); });
        const GuardedImage<T, channels> before(destination);
        SCOPED_TRACE(testing::Message() << "case " << n << " source " << c.source << " roi " << c.roi.x << "," << c.roi.y << " " << c.roi.width << "x"
                                        << c.roi.height << " factors " << c.xFactor << "," << c.yFactor << " to " << c.destination << " seed " << Seed());
        RefAxis x = AxisOf(c.source.width, c.roi.x, c.roi.width, c.destination.width, c.xFactor);
        RefAxis y = AxisOf(c.source.height, c.roi.y, c.roi.height, c.destination.height, c.yFactor);
        x.Map(interpolation == InterNearest);
        y.Map(interpolation == InterNearest);
        const VekStatus status = CallResize<T, channels>(source.data(), source.size(), source.step(), c.roi, destination.data(), destination.step(),
                                                         destination.size(), c.xFactor, c.yFactor, interpolation);
        if (x.length == 0 || y.length == 0) {
            EXPECT_EQ(StatusResizeTooSmall, status);
            EXPECT_EQ(before, destination);
            continue;
        }
        ASSERT_EQ(StatusOk, status);
        if (interpolation == InterSuper && (x.region * x.factor < 0.9999999 || y.region * y.factor < 0.9999999))
            continue;  // a stretched pixel has a test of its own
        Reference<T, channels>{source, x, y, interpolation, tier}.Check(before, destination);
    }
}

template <typename T, int channels>
void CheckAll(int tier)
{
    for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos, InterSuper}) {
        SCOPED_TRACE(testing::Message() << "interpolation " << interpolation);
        CheckAgainstReference<T, channels>(tier, interpolation, interpolation == InterLanczos ? 40 : 120);
    }
}

TEST_P(ResizeTest, BytesC1AreAsStatedPixelByPixel) { CheckAll<Vek8u, 1>(GetParam()); }
TEST_P(ResizeTest, BytesC3AreAsStatedPixelByPixel) { CheckAll<Vek8u, 3>(GetParam()); }
TEST_P(ResizeTest, BytesC4AreAsStatedPixelByPixel) { CheckAll<Vek8u, 4>(GetParam()); }
TEST_P(ResizeTest, FloatsAreAsStatedPixelByPixel) { CheckAll<Vek32f, 1>(GetParam()); }

TEST_P(ResizeTest, ShiftedStepsAreAsStated)
{
    std::mt19937 random(Seed());
    for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos})
        for (int n = 0; n < 60; ++n) {
            Case c = RandomCase(random, false, 1);
            // Shifts that keep every position inside of the image; rows above the first stay copies of it, which
            // the statement with clamped taps does not know, so Lanczos is shifted by less than a row.
            c.xShift = random() % 100 / 100.0;
            c.yShift = random() % 100 / 100.0 * (n % 3);
            if (interpolation == InterLanczos)
                c.yShift = random() % 100 / 100.0;
            GuardedImage<Vek8u, 3> source = Noise<Vek8u, 3>(c.source, random), destination(c.destination);
            const GuardedImage<Vek8u, 3> before(destination);
            RefAxis x = AxisOf(c.source.width, c.roi.x, c.roi.width, c.destination.width, 1 / c.xFactor, c.xShift, true);
            RefAxis y = AxisOf(c.source.height, c.roi.y, c.roi.height, c.destination.height, 1 / c.yFactor, c.yShift, true);
            x.Map(interpolation == InterNearest);
            y.Map(interpolation == InterNearest);
            if (interpolation != InterNearest && (x.at.back() + 1e-7 >= x.end() || y.at.back() + 1e-7 >= y.end()))
                continue;
            ASSERT_EQ(StatusOk, vekiResizeShift_8u_C3R(source.data(), source.size(), source.step(), c.roi, destination.data(), destination.step(),
                                                       destination.size(), x.factor, y.factor, c.xShift, c.yShift, interpolation));
            Reference<Vek8u, 3>{source, x, y, interpolation, GetParam()}.Check(before, destination);
        }
}

TEST_P(ResizeTest, PositionsFarOutsideReadTheImagesEdge)
{
    const Shape shape{20, 20};
    GuardedImage<Vek8u, 3> source(shape), destination(shape);
    source.Fill([n = 0]() mutable { return n++ / 3 < 200 ? 10 : 200; });
    for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos})
        for (const double shift : {-1e300, -50.0, 19.0, 50.0, 1e300, (double)NAN})
            for (const VekImageRect roi : {VekImageRect{0, 0, 20, 20}, VekImageRect{3, 1, 9, 9}}) {
                ASSERT_EQ(StatusOk, vekiResizeShift_8u_C3R(source.data(), source.size(), source.step(), roi, destination.data(), destination.step(),
                                                           destination.size(), 0.1, 0.1, shift, shift, interpolation));
                if (std::isfinite(shift) && shift != 19) {
                    EXPECT_EQ(shift < 0 ? 10 : 200, destination.at(3, 3, 1)) << interpolation << " " << shift;
                }
            }
}

TEST_P(ResizeTest, NearestByStepsMayLeaveTheRegionYetNotTheImage)
{
    // Two destination pixels of step 2 stand at source pixels 1 and 3 of a region of three.
    GuardedImage<Vek8u, 3> source(6, 6), destination(2, 2);
    source.Fill([n = 0]() mutable { return (Vek8u)(n++ / 3); });
    for (const auto& [origin, second] : {std::pair{1, 4}, {2, 5}, {3, 5}}) {
        ASSERT_EQ(StatusOk, vekiResizeShift_8u_C3R(source.data(), source.size(), source.step(), {origin, origin, 3, 3}, destination.data(),
                                                   destination.step(), destination.size(), 2, 2, 0, 0, InterNearest));
        EXPECT_EQ((origin + 1) * 7, destination.at(0, 0, 0));
        EXPECT_EQ(second * 7, destination.at(1, 1, 0));
    }
}

TEST_P(ResizeTest, AreasOfRowsThatOverlapEndWithTheLastRow)
{
    // A step of one byte: every row is the row before moved by a pixel. The rows end at the guard page.
    constexpr int kWidth = 24, kHeight = 9;
    GuardedImage<Vek8u> line(kWidth + kHeight - 1, 1), rows(kWidth, kHeight), fromLine(12, 4), fromRows(12, 4);
    line.Fill([n = 0]() mutable { return (Vek8u)(n += 7); });
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            rows.set(x, y, 0, line.at(x + y, 0));
    const VekImageRect roi = {0, 0, kWidth, kHeight};
    ASSERT_EQ(StatusOk, vekiResize_8u_C1R(line.data(), {kWidth, kHeight}, 1, roi, fromLine.data(), fromLine.step(), fromLine.size(), 0.5, 0.5, InterSuper));
    ASSERT_EQ(StatusOk, vekiResize_8u_C1R(rows.data(), rows.size(), rows.step(), roi, fromRows.data(), fromRows.step(), fromRows.size(), 0.5, 0.5, InterSuper));
    EXPECT_EQ(fromRows, fromLine);
}

TEST_P(ResizeTest, LanczosRowsAboveAShiftedFirstRowAreThatRow)
{
    // Rows 2 y; shifted to row 3 the two taps above are copies of row 3, not rows 1 and 2.
    GuardedImage<Vek8u, 3> source(12, 12), destination(12, 1);
    for (int y = 0; y < 12; ++y)
        for (int i = 0; i < 36; ++i)
            source.set(i / 3, y, i % 3, (Vek8u)(y == 1 || y == 2 ? 250 : 100));
    const VekImageRect roi = {0, 0, 12, 12};
    ASSERT_EQ(StatusOk, vekiResizeShift_8u_C3R(source.data(), source.size(), source.step(), roi, destination.data(), destination.step(),
                                               destination.size(), 1, 0.9, 0, 3.5, InterLanczos));
    EXPECT_EQ(100, destination.at(5, 0, 0));
}

TEST_P(ResizeTest, LanczosTapsAreClampedOneByOneWherePositionsPassTheImage)
{
    // The last position is 12.3: of its taps 10 .. 15 the image has 10 and the edge, 11. Tap 10 weighs
    // 0.031 there; before the image, at -1.2, tap 1 weighs 0.028.
    for (const bool down : {false, true})
        for (const bool before : {false, true}) {
            GuardedImage<Vek8u, 3> source(12, 12), destination(13, 13);
            for (int i = 0; i < 12 * 36; ++i)
                source.set(i % 36 / 3, i / 36, i % 3, (Vek8u)((down ? i / 36 : i % 36 / 3) == (before ? 1 : 10) ? 240 : 20));
            const double shift = before ? -1.2 : 1.5;
            ASSERT_EQ(StatusOk, vekiResizeShift_8u_C3R(source.data(), source.size(), source.step(), {0, 0, 12, 12}, destination.data(),
                                                       destination.step(), destination.size(), 0.9, 0.9, shift, shift, InterLanczos));
            const int at = before ? 0 : 12;
            EXPECT_EQ(before ? 26 : 27, destination.at(down ? 6 : at, down ? at : 6, 1)) << down;
        }
}

TEST_P(ResizeTest, FractionsMakeTheShiftedResizeEqualThePlainOne)
{
    std::mt19937 random(Seed());
    const auto source = Noise<Vek8u, 3>(Shape{37, 23}, random);
    const VekImageRect roi = {4, 2, 30, 40};  // clipped to 21 rows
    for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos})
        for (const double factor : {0.5, 0.7, 1.0, 1.9}) {
            Vek64f xFr = 0, yFr = 0;
            ASSERT_EQ(StatusOk, vekiGetResizeFract(source.size(), roi, factor, factor, &xFr, &yFr, interpolation));
            const Shape shape{(int)(30 * factor + 1e-7), (int)(21 * factor + 1e-7)};
            GuardedImage<Vek8u, 3> plain(shape), shifted(shape);
            ASSERT_EQ(StatusOk, vekiResize_8u_C3R(source.data(), source.size(), source.step(), roi, plain.data(), plain.step(), plain.size(), factor,
                                                  factor, interpolation));
            ASSERT_EQ(StatusOk, vekiResizeShift_8u_C3R(source.data(), source.size(), source.step(), roi, shifted.data(), shifted.step(),
                                                       shifted.size(), xFr, yFr, 0, 0, interpolation));
            EXPECT_EQ(plain, shifted) << interpolation << " " << factor;
        }
    Vek64f xFr = 0, yFr = 0;
    ASSERT_EQ(StatusOk, vekiGetResizeFract({10, 10}, {0, 0, 4, 5}, 0.25, 2, &xFr, &yFr, InterLinear));
    EXPECT_EQ(0.0, xFr);
    EXPECT_EQ(4.0 / 9, yFr);
}

TEST_P(ResizeTest, CentreFallsOnTheMiddleOfTheDestination)
{
    std::mt19937 random(Seed());
    int checked = 0;
    for (int n = 0; n < 150; ++n) {
        const Case c = RandomCase(random, false, 1);
        const auto source = Noise<Vek8u, 3>(c.source, random);
        GuardedImage<Vek8u, 3> destination(c.destination);
        const VekImageRect roi = {0, 0, c.source.width, c.source.height};
        const double xCenter = random() % 1000 / 1000.0 * c.source.width, yCenter = random() % 1000 / 1000.0 * c.source.height;
        const auto call = [&](VekImageRect region, double cx, double cy, int interpolation) {
            return vekiResizeCenter_8u_C3R(source.data(), source.size(), source.step(), region, destination.data(), destination.step(),
                                           destination.size(), c.xFactor, c.yFactor, cx, cy, interpolation);
        };
        if (call(roi, xCenter, yCenter, InterNearest) != StatusOk)
            continue;  // the two regions miss each other
        for (int y = 0; y < c.destination.height; ++y)
            for (int x = 0; x < c.destination.width; ++x) {
                const double sx = xCenter + (x + 0.5 - 0.5 * c.destination.width) / c.xFactor;
                const double sy = yCenter + (y + 0.5 - 0.5 * c.destination.height) / c.yFactor;
                const auto clear = [](double s, int end) { return s > 0.01 && s < end - 0.01 && std::fabs(s - std::round(s)) > 1e-6; };
                // Away from the ends, where lengths are rounded, the nearest pixel is plain.
                if (clear(sx - 1 / c.xFactor, c.source.width) && clear(sx + 2 / c.xFactor + 1, c.source.width)
                    && clear(sy - 1 / c.yFactor, c.source.height) && clear(sy + 2 / c.yFactor + 1, c.source.height)) {
                    ASSERT_EQ(source.at((int)sx, (int)sy, 1), destination.at(x, y, 1)) << n << " " << x << "," << y << " seed " << Seed();
                    ++checked;
                }
            }
        for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos, InterSuper})
            call(c.roi, xCenter, yCenter, interpolation);  // stays within its memory
    }
    EXPECT_GT(checked, 1000);

    // A whole centre at factor 1 is a move: destination pixel (x, y) is source pixel (x + 3, y - 2).
    const auto source = Noise<Vek8u, 3>(Shape{20, 20}, random);
    for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos}) {
        GuardedImage<Vek8u, 3> destination(20, 20);
        const GuardedImage<Vek8u, 3> before(destination);
        ASSERT_EQ(StatusOk, vekiResizeCenter_8u_C3R(source.data(), source.size(), source.step(), {0, 0, 20, 20}, destination.data(),
                                                    destination.step(), destination.size(), 1, 1, 13, 8, interpolation));
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 20; ++x)
                ASSERT_EQ(x < 17 && y >= 2 ? source.at(x + 3, y - 2, 2) : before.at(x, y, 2), destination.at(x, y, 2)) << x << "," << y;
    }
}

// ---- What the frame decides ----

TEST_P(ResizeTest, SmallImagesGetSimplerInterpolations)
{
    std::mt19937 random(Seed());
    const struct { int width, height, asked, taken; } cases[] = {
        {7, 20, InterLanczos, InterCubic}, {20, 3, InterLanczos, InterLinear}, {3, 20, InterCubic, InterLinear},
        {20, 1, InterLanczos, InterNearest}, {1, 9, InterLinear, InterNearest}, {1, 1, InterCubic, InterNearest},
    };
    for (const auto& c : cases) {
        const auto source = Noise<Vek8u>(Shape{c.width, c.height}, random);
        GuardedImage<Vek8u> asked(Shape{2 * c.width, 2 * c.height}), taken(asked);
        for (auto* const image : {&asked, &taken})
            ASSERT_EQ(StatusOk, vekiResize_8u_C1R(source.data(), source.size(), source.step(), {0, 0, c.width, c.height}, image->data(), image->step(),
                                                  image->size(), 2, 2, image == &asked ? c.asked : c.taken));
        EXPECT_EQ(taken, asked) << c.width << "x" << c.height;
    }
}

TEST_P(ResizeTest, ScaledLengthsBelowHalfAPixelAreRefused)
{
    GuardedImage<Vek8u> source(9, 9), destination(4, 4);
    source.Fill([] { return 77; });
    const auto call = [&](int region, double factor, int interpolation) {
        return vekiResize_8u_C1R(source.data(), source.size(), source.step(), {0, 0, region, 9}, destination.data(), destination.step(), {4, 4}, factor,
                                 1, interpolation);
    };
    for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos, InterSuper}) {
        EXPECT_EQ(StatusResizeTooSmall, call(1, 0.4, interpolation));
        EXPECT_EQ(StatusResizeTooSmall, call(1, 0.4999998, interpolation));
        EXPECT_EQ(StatusOk, call(1, 0.5, interpolation));
        EXPECT_EQ(StatusOk, call(1, 0.49999995, interpolation));
        EXPECT_EQ(77, destination.at(0, 3)) << interpolation;
    }
}

TEST_P(ResizeTest, AreasAreMeans)
{
    // 10 pixels at 0.4: the spans [0, 2.5), [2.5, 5), [5, 7.5), [7.5, 10).
    GuardedImage<Vek8u> row(10, 1), four(4, 1);
    row.Fill([n = 0]() mutable { return 10 * n++; });
    ASSERT_EQ(StatusOk, vekiResize_8u_C1R(row.data(), {10, 1}, row.step(), {0, 0, 10, 1}, four.data(), four.step(), {4, 1}, 0.4, 1, InterSuper));
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ((Vek8u)((const int[]){8, 32, 58, 82}[k]), four.at(k, 0));  // (0 + 10 + 20 / 2) / 2.5, ..

    // The mean of an image survives; odd heights stand before an unreadable page and before a readable row.
    std::mt19937 random(Seed());
    for (const Flush flush : {Flush::End, Flush::Start}) {
        const auto image = Noise<Vek8u, 4>(Shape{60, 45, 0, false, flush, 0}, random);
        GuardedImage<Vek8u, 4> fifth(12, 9);
        ASSERT_EQ(StatusOk, vekiResize_8u_C4R(image.data(), image.size(), image.step(), {0, 0, 60, 45}, fifth.data(), fifth.step(), fifth.size(), 0.2, 0.2,
                                              InterSuper));
        double before = 0, after = 0;
        for (int i = 0; i < 60 * 45; ++i)
            before += image.at(i % 60, i / 60, 2) / 2700.0;
        for (int i = 0; i < 12 * 9; ++i)
            after += fifth.at(i % 12, i / 12, 2) / 108.0;
        EXPECT_NEAR(before, after, 0.2);
    }
}

// ---- Statuses and memory ----

TEST_P(ResizeTest, StatusesComeInTheirOrder)
{
    GuardedImage<Vek8u, 3> source(12, 12), destination(12, 12);
    source.Fill([] { return 9; });
    const GuardedImage<Vek8u, 3> before(destination);
    const Vek8u* const s = source.data();
    Vek8u* const d = destination.data();
    constexpr VekImageSize kSize = {12, 12}, kNone = {0, 12};
    constexpr VekImageRect kAll = {0, 0, 12, 12}, kFlat = {0, 0, 12, 0}, kLeft = {-1, 0, 12, 12}, kBehind = {12, 0, 12, 12};
    const struct { const char* what; VekStatus want; const Vek8u* src; VekImageSize size; VekImageRect roi; Vek8u* dst; VekImageSize dstSize; double x, y; int code; } calls[] = {
        {"no source before no size", StatusNullPointer, nullptr, kNone, kAll, d, kSize, 1, 1, 1},
        {"no destination before no size", StatusNullPointer, s, kNone, kAll, nullptr, kSize, 1, 1, 2},
        {"no size before outside", StatusBadSize, s, kNone, kBehind, d, kSize, 1, 1, 2},
        {"flat region", StatusBadSize, s, kSize, kFlat, d, kSize, 1, 1, 4},
        {"region left of the image", StatusBadSize, s, kSize, kLeft, d, kSize, 1, 1, 16},
        {"outside before no destination size", WarnEmptyIntersection, s, kSize, kBehind, d, kNone, 0, 0, 3},
        {"no destination size before factor", StatusBadSize, s, kSize, kAll, d, {12, -1}, -1, 1, 2},
        {"factor before code", StatusBadResizeFactor, s, kSize, kAll, d, kSize, 1, 0, 3},
        {"factor before super", StatusBadResizeFactor, s, kSize, kAll, d, kSize, -1, 0.5, 8},
        {"code before too small", StatusBadInterpolation, s, kSize, kAll, d, kSize, 0.001, 1, 3},
        {"super does not enlarge", StatusBadInterpolation, s, kSize, kAll, d, kSize, 1.5, 0.001, 8},
        {"too small", StatusResizeTooSmall, s, kSize, kAll, d, kSize, 1, 0.001, 8},
    };
    for (const auto& c : calls) {
        const int step = source.step();
        EXPECT_EQ(c.want, vekiResize_8u_C3R(c.src, c.size, step, c.roi, c.dst, step, c.dstSize, c.x, c.y, c.code)) << c.what;
        // The centred form looks at the source pointer later, and tiny factors leave it no region.
        const VekStatus centred = !c.src || c.x == 0.001 || c.y == 0.001 ? StatusBadSize : c.want;
        EXPECT_EQ(centred, vekiResizeCenter_8u_C3R(c.src, c.size, step, c.roi, c.dst, step, c.dstSize, c.x, c.y, 6, 6, c.code)) << c.what;
        if (c.code != InterSuper) {
            EXPECT_EQ(c.want, vekiResizeShift_8u_C3R(c.src, c.size, step, c.roi, c.dst, step, c.dstSize, c.x, c.y, 0, 0, c.code)) << c.what;
        }
    }
    EXPECT_EQ(StatusNullPointer, vekiResizeCenter_8u_C3R(nullptr, kSize, 36, kAll, d, 36, kSize, 1, 1, 6, 6, 3));
    EXPECT_EQ(StatusBadInterpolation, vekiResizeShift_8u_C3R(s, kSize, 36, kAll, d, 36, kSize, 1, 1, 0, 0, InterSuper));
    EXPECT_EQ(before, destination);

    Vek64f fr = 0;
    EXPECT_EQ(WarnEmptyIntersection, vekiGetResizeFract(kSize, kBehind, 0, 1, nullptr, &fr, 1));
    EXPECT_EQ(StatusBadResizeFactor, vekiGetResizeFract(kSize, kAll, 0, 1, nullptr, &fr, 1));
    EXPECT_EQ(StatusNullPointer, vekiGetResizeFract(kSize, kAll, 1, 1, &fr, nullptr, 8));
    EXPECT_EQ(StatusBadInterpolation, vekiGetResizeFract(kSize, kAll, 1, 1, &fr, &fr, 8));
    // No number is no factor below 0: the calls go through, inside of their memory.
    for (const int code : {InterNearest, InterLinear, InterCubic, InterLanczos}) {
        EXPECT_EQ(StatusOk, vekiResize_8u_C3R(s, kSize, 36, kAll, d, 36, kSize, NAN, NAN, code));
        EXPECT_EQ(StatusOk, vekiResizeShift_8u_C3R(s, kSize, 36, kAll, d, 36, kSize, NAN, INFINITY, 0, 0, code));
    }
}

TEST_P(ResizeTest, EveryFailedAllocationIsReportedAndNothingLeaks)
{
    std::mt19937 random(Seed());
    const auto source = Noise<Vek8u, 3>(Shape{24, 11}, random);  // odd, and no row behind can be read
    const auto floats = Noise<Vek32f>(Shape{24, 11}, random);
    const VekImageRect all = {0, 0, 24, 11};
    for (const int interpolation : {InterNearest, InterLinear, InterCubic, InterLanczos, InterSuper})
        for (const bool bytes : {true, false}) {
            const GuardedImage<Vek8u, 3> before(Shape{20, 9});
            const auto run = [&](GuardedImage<Vek8u, 3>& to) {
                return bytes ? vekiResize_8u_C3R(source.data(), {24, 11}, source.step(), all, to.data(), to.step(), to.size(), 0.8, 0.8, interpolation)
                             : vekiResize_32f_C1R(floats.data(), {24, 11}, floats.step(), all, (Vek32f*)to.data(), to.step(), {15, 8}, 0.8, 0.8,
                                                  interpolation);
            };
            int requests = 0;
            {
                GuardedImage<Vek8u, 3> to(before);
                const ScopedAllocator allocator;
                EXPECT_EQ(StatusOk, run(to));
                EXPECT_EQ(0, allocator.live());
                requests = allocator.requests();
            }
            EXPECT_GT(requests, 1);
            for (int failAt = 0; failAt < requests; ++failAt) {
                GuardedImage<Vek8u, 3> to(before);
                const ScopedAllocator allocator(failAt);
                EXPECT_EQ(StatusNoMemory, run(to)) << interpolation << " allocation " << failAt;
                EXPECT_EQ(0, allocator.live());
                EXPECT_EQ(before, to);
            }
        }
}

UVEK_ON_ALL_TIERS(ResizeTest);

}  // namespace
}  // namespace uvek::test
