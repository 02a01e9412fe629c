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

using Pixels = GuardedImage<Vek8u, 3>;

constexpr int kCodes[] = {InterNearest, InterLinear, InterCubic, InterLanczos, InterSuper};
constexpr int kShiftedCodes[] = {InterNearest, InterLinear, InterCubic, InterLanczos};

template <typename T, int channels>
VekStatus Resize(const GuardedImage<T, channels>& src, VekImageRect roi, GuardedImage<T, channels>& dst, double xFactor, double yFactor, int interpolation)
{
    const auto call = [&](auto* resize) {
        return resize(src.data(), src.size(), src.step(), roi, dst.data(), dst.step(), dst.size(), xFactor, yFactor, interpolation);
    };
    if constexpr (std::is_same_v<T, float>)
        return call(vekiResize_32f_C1R);
    else
        return call(channels == 1 ? vekiResize_8u_C1R : channels == 3 ? vekiResize_8u_C3R : vekiResize_8u_C4R);
}

VekStatus ResizeShift(const Pixels& src, VekImageRect roi, Pixels& dst, double xStep, double yStep, double xShift, double yShift, int interpolation)
{
    return vekiResizeShift_8u_C3R(src.data(), src.size(), src.step(), roi, dst.data(), dst.step(), dst.size(), xStep, yStep, xShift, yShift, interpolation);
}

// ---- A direct statement of the mapping and of each interpolation, pixel by pixel ----

// A tap position of a destination pixel: pixel i and what lies behind it.
struct Tap {
    int i;
    int weight;  // linear, bytes
    float t;
};

struct Axis {
    int origin, region, end;  // of the region, in the image; the image's end, in the region
    double factor, shift;
    bool steps;               // factor is the source distance, not the scale
    int interpolation;
    std::vector<double> at;   // empty: too small

    Axis(int image, int start, int asked, int wanted, double factor_, double shift_, bool steps_, int code)
        : origin(start), region(std::min(asked, image - start)), end(image - start), factor(factor_), shift(shift_), steps(steps_), interpolation(code)
    {
        const bool nearest = code == InterNearest;
        double step = factor;
        int length;
        if (steps) {
            const double n = std::floor((region - !nearest) / factor + 1e-7);
            length = n >= wanted - 1 ? wanted : std::max(1, (int)n + !nearest);
        } else {
            const double scaled = region * factor;
            length = std::min(wanted, std::max((int)(scaled + 1e-7), (int)(scaled + 1e-7 >= 0.5)));
            step = nearest ? 1 / factor : scaled > 1 ? (region - 1) / (scaled - 1) : 0;
        }
        for (double p = nearest ? shift + 0.5 * step : shift; (int)at.size() < length; p += step)
            at.push_back(p);
    }
    int length() const { return (int)at.size(); }

    Tap TapAt(int k) const
    {
        const double p = at[(size_t)k];
        int i = (int)(p + 1e-7);
        if (interpolation == InterNearest)
            return {std::min(i, (shift == 0 && !steps ? region : end) - 1), 0, 0};
        if (interpolation == InterLinear)
            return i == end - 1 ? Tap{i - 1, 16384, 1.0f} : Tap{i, (int)((p - i) * 16384 + 1e-7), (float)(p - i)};
        if (interpolation == InterCubic) {
            if (i == end - 1)
                return {i - 2, 0, 2.0f};
            i += origin + i == 0 ? 1 : i == end - 2 ? -1 : 0;
        }
        return {i, 0, (float)(p - i)};
    }
};

float Cubic(float s0, float s1, float s2, float s3, float t)
{
    const float d1 = s1 - s0, d2 = (s2 - s1) - d1, d3 = (s1 - s2 - s2 + s3) - d2;
    const float c1 = 1 + t, c2 = t * (1 + t) * 0.5f, c3 = (t - 1) * c2 / 3;
    return s0 + c1 * d1 + c2 * d2 + c3 * d3;
}

double LanczosWindow(double x)
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
    const Axis &x, &y;
    int tier;

    static constexpr bool kIsFloat = std::is_same_v<T, float>;

    float At(int i, int j, int c) const { return (float)image.at(x.origin + i, y.origin + j, c); }

    T Linear(Tap h, Tap v, int c) const
    {
        if constexpr (kIsFloat) {
            const auto row = [&](int j) { return (At(h.i + 1, j, c) - At(h.i, j, c)) * h.t + At(h.i, j, c); };
            return row(v.i + 1) * v.t + row(v.i) * (1.0f - v.t);
        } else {
            const auto row = [&](int j) { return (unsigned)((16384 - h.weight) * At(h.i, j, c) + h.weight * At(h.i + 1, j, c) + 128) >> 8; };
            return (T)((row(v.i + 1) * v.weight + row(v.i) * (16384 - v.weight) + 0x80000) >> 20);
        }
    }
    // Blocks of tiers 1 to 3 add a half that is rounded to single precision.
    T CubicRounded(Tap h, Tap v, int c, bool block) const
    {
        const auto row = [&](int j) { return Cubic(At(h.i - 1, j, c), At(h.i, j, c), At(h.i + 1, j, c), At(h.i + 2, j, c), h.t); };
        const float value = Cubic(row(v.i - 1), row(v.i), row(v.i + 1), row(v.i + 2), v.t);
        if constexpr (kIsFloat)
            return value;
        return (T)std::clamp((int)(block ? (double)(value + 0.5000001192092896f) : value + 0.5000001), 0, 255);
    }
    // In double precision from the window's formula, with every tap clamped to the image. Above the first position's
    // row stand as many real rows as the image has above the region.
    double Lanczos(Tap h, Tap v, int c) const
    {
        const int top = std::min(y.end - 1, y.TapAt(0).i - std::min(y.origin, 2));
        double sum = 0, weights = 0;
        for (int j = -2; j <= 3; ++j)
            for (int i = -2; i <= 3; ++i) {
                const double w = LanczosWindow(j - v.t) * LanczosWindow(i - h.t);
                sum += w * At(std::clamp(h.i + i, -x.origin, x.end - 1), std::clamp(v.i + j, top, y.end - 1), c);
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
        const int code = x.interpolation, blockEnd = tier == 0 ? 0 : x.length() * channels / 8 * 8;
        for (int l = 0; l < y.length(); ++l)
            for (int k = 0; k < x.length(); ++k)
                for (int c = 0; c < channels; ++c) {
                    const Tap h = x.TapAt(k), v = y.TapAt(l);
                    T wanted = got.at(k, l, c);
                    if (code == InterNearest)
                        wanted = (T)At(h.i, v.i, c);
                    else if (code == InterLinear)
                        wanted = Linear(h, v, c);
                    else if (code == InterCubic)
                        wanted = CubicRounded(h, v, c, k * channels + c < blockEnd);
                    else {
                        // The window's table has steps of a hundredth; sums of areas are rounded in single precision.
                        const double exact = code == InterLanczos ? Lanczos(h, v, c) : Super(k, l, c);
                        const double tolerance = (code == InterLanczos ? 0.2 : 1e-3) + (kIsFloat ? 0 : 0.5);
                        EXPECT_NEAR(kIsFloat ? exact : std::clamp(exact, 0.0, 255.0), (double)wanted, tolerance) << k << "," << l << "," << c;
                    }
                    want.set(k, l, c, wanted);
                }
        EXPECT_EQ(want, got);  // and nothing outside of the effective size
    }
};

// ---- Cases ----

struct Case {
    Shape source, destination;
    VekImageRect roi;
    double xFactor, yFactor;
};

// Regions anywhere, reaching past the image now and then; wanted sizes short, equal and long of the scaled.
Case RandomCase(std::mt19937& random, bool reduce, int sampleBytes)
{
    const auto upTo = [&](int n) { return (int)(random() % (unsigned)n); };
    const auto factor = [&] {
        constexpr double kFactors[] = {1, 0.5, 1.0 / 3, 0.25, 0.4, 0.6, 0.7, 2, 1.5, 2.7, 4, 1.1};
        return upTo(4) ? kFactors[upTo(reduce ? 7 : 12)] : 0.2 + upTo(reduce ? 800 : 3000) / 1000.0;
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
    c.destination = shape(std::max(1, 1 + (int)(c.roi.width * c.xFactor) + upTo(5) - upTo(2)),
                          std::max(1, 1 + (int)(c.roi.height * c.yFactor) + upTo(4) - upTo(2)));
    return c;
}

// shifted: by steps and shifts; where these lead past the image, Lanczos alone is stated.
template <typename T, int channels>
void CheckCases(int tier, int interpolation, bool shifted, int cases)
{
    std::mt19937 random(Seed() + (unsigned)interpolation);
    for (int n = 0; n < cases && !testing::Test::HasFailure(); ++n) {
        const Case c = RandomCase(random, interpolation == InterSuper, sizeof(T));
        GuardedImage<T, channels> source(c.source), destination(c.destination);
        source.Fill([&, kind = random() % 4] { return (T)(kind == 0 ? random() % 2 * 255 : random() % 256); });
        const GuardedImage<T, channels> before(destination);
        const double reach = interpolation == InterLanczos ? 5 : 1;
        const double xShift = shifted ? reach * (random() % 100) / 100.0 : 0, yShift = shifted ? reach * (random() % 100) / 100.0 * (n % 3) : 0;
        const Axis x(c.source.width, c.roi.x, c.roi.width, c.destination.width, shifted ? 1 / c.xFactor : c.xFactor, xShift, shifted, interpolation);
        const Axis y(c.source.height, c.roi.y, c.roi.height, c.destination.height, shifted ? 1 / c.yFactor : c.yFactor, yShift, shifted, interpolation);
        SCOPED_TRACE(testing::Message() << "interpolation " << interpolation << " case " << n << " source " << c.source << " roi " << c.roi.x << "," << c.roi.y
                                        << " " << c.roi.width << "x" << c.roi.height << " factors " << x.factor << "," << y.factor << " shifts " << xShift << ","
                                        << yShift << " to " << c.destination << " seed " << Seed());
        VekStatus status;
        if constexpr (channels == 3) {
            if (shifted && (interpolation == InterLinear || interpolation == InterCubic) && (x.at.back() + 1e-7 >= x.end || y.at.back() + 1e-7 >= y.end))
                continue;
            status = shifted ? ResizeShift(source, c.roi, destination, x.factor, y.factor, xShift, yShift, interpolation)
                             : Resize(source, c.roi, destination, x.factor, y.factor, interpolation);
        } else {
            status = Resize(source, c.roi, destination, x.factor, y.factor, interpolation);
        }
        if (x.at.empty() || y.at.empty()) {
            EXPECT_EQ(StatusResizeTooSmall, status);
            EXPECT_EQ(before, destination);
            continue;
        }
        ASSERT_EQ(StatusOk, status);
        // A pixel stretched by super-sampling has a test of its own.
        if (interpolation != InterSuper || (x.region * x.factor >= 0.9999999 && y.region * y.factor >= 0.9999999))
            Reference<T, channels>{source, x, y, tier}.Check(before, destination);
    }
}

template <typename T, int channels>
void CheckAll(int tier)
{
    for (const int interpolation : kCodes)
        CheckCases<T, channels>(tier, interpolation, false, interpolation == InterLanczos ? 40 : 120);
}

TEST_P(ResizeTest, BytesC1AreAsStatedPixelByPixel) { CheckAll<Vek8u, 1>(GetParam()); }
TEST_P(ResizeTest, BytesC3AreAsStatedPixelByPixel) { CheckAll<Vek8u, 3>(GetParam()); }
TEST_P(ResizeTest, BytesC4AreAsStatedPixelByPixel) { CheckAll<Vek8u, 4>(GetParam()); }
TEST_P(ResizeTest, FloatsAreAsStatedPixelByPixel) { CheckAll<Vek32f, 1>(GetParam()); }

TEST_P(ResizeTest, ShiftedStepsAreAsStated)
{
    for (const int interpolation : kShiftedCodes)
        CheckCases<Vek8u, 3>(GetParam(), interpolation, true, 60);
}

TEST_P(ResizeTest, PositionsFarOutsideReadTheImagesEdge)
{
    const Shape shape{20, 20};
    Pixels source(shape), destination(shape);
    source.Fill([n = 0]() mutable { return n++ / 3 < 200 ? 10 : 200; });
    for (const int interpolation : kShiftedCodes)
        for (const double shift : {-1e300, -50.0, 19.0, 50.0, 1e300, (double)NAN})
            for (const VekImageRect roi : {VekImageRect{0, 0, 20, 20}, VekImageRect{3, 1, 9, 9}}) {
                ASSERT_EQ(StatusOk, ResizeShift(source, roi, destination, 0.1, 0.1, shift, shift, interpolation));
                if (std::isfinite(shift) && shift != 19) {
                    EXPECT_EQ(shift < 0 ? 10 : 200, destination.at(3, 3, 1)) << interpolation << " " << shift;
                }
            }
}

TEST_P(ResizeTest, LargeAreasOfWhiteAreWhite)
{
    // Their sums pass 31 bits.
    const Vek32s n = 2903;
    const std::vector<Vek8u> white((size_t)n * n, 255);
    Vek8u mean = 0;
    ASSERT_EQ(StatusOk, vekiResize_8u_C1R(white.data(), {n, n}, n, {0, 0, n, n}, &mean, 1, {1, 1}, 1.0 / n, 1.0 / n, InterSuper));
    EXPECT_EQ(255, mean);
}

TEST_P(ResizeTest, AreasOfRowsThatOverlapEndWithTheLastRow)
{
    // A step of one byte: every row is the row before moved by a pixel. The rows end at the guard page.
    GuardedImage<Vek8u> line(32, 1), rows(24, 9), fromLine(12, 4), fromRows(12, 4);
    line.Fill([n = 0]() mutable { return (Vek8u)(n += 7); });
    rows.Fill([&, n = 0]() mutable { const int x = n % 24 + n / 24; ++n; return line.at(x, 0); });
    ASSERT_EQ(StatusOk, vekiResize_8u_C1R(line.data(), {24, 9}, 1, {0, 0, 24, 9}, fromLine.data(), fromLine.step(), {12, 4}, 0.5, 0.5, InterSuper));
    ASSERT_EQ(StatusOk, Resize(rows, {0, 0, 24, 9}, fromRows, 0.5, 0.5, InterSuper));
    EXPECT_EQ(fromRows, fromLine);
}

TEST_P(ResizeTest, FractionsMakeTheShiftedResizeEqualThePlainOne)
{
    std::mt19937 random(Seed());
    const auto source = Noise<Vek8u, 3>(Shape{37, 23}, random);
    const VekImageRect roi = {4, 2, 30, 40};  // clipped to 21 rows
    Vek64f xFr = 0, yFr = 0;
    for (const int interpolation : kShiftedCodes)
        for (const double factor : {0.5, 0.7, 1.0, 1.9}) {
            Pixels plain((int)(30 * factor + 1e-7), (int)(21 * factor + 1e-7)), shifted(plain);
            ASSERT_EQ(StatusOk, vekiGetResizeFract(source.size(), roi, factor, factor, &xFr, &yFr, interpolation));
            ASSERT_EQ(StatusOk, Resize(source, roi, plain, factor, factor, interpolation));
            ASSERT_EQ(StatusOk, ResizeShift(source, roi, shifted, xFr, yFr, 0, 0, interpolation));
            EXPECT_EQ(plain, shifted) << interpolation << " " << factor;
        }
    ASSERT_EQ(StatusOk, vekiGetResizeFract({10, 10}, {0, 0, 4, 5}, 0.25, 2, &xFr, &yFr, InterLinear));
    EXPECT_EQ(0.0, xFr);
    EXPECT_EQ(4.0 / 9, yFr);
}

TEST_P(ResizeTest, CentreFallsOnTheMiddleOfTheDestination)
{
    std::mt19937 random(Seed());
    int checked = 0;
    const auto call = [](const Pixels& src, VekImageRect roi, Pixels& dst, const Case& c, double xCenter, double yCenter, int interpolation) {
        return vekiResizeCenter_8u_C3R(src.data(), src.size(), src.step(), roi, dst.data(), dst.step(), dst.size(), c.xFactor, c.yFactor, xCenter, yCenter,
                                       interpolation);
    };
    for (int n = 0; n < 150; ++n) {
        const Case c = RandomCase(random, false, 1);
        const auto source = Noise<Vek8u, 3>(c.source, random);
        Pixels destination(c.destination);
        const double xCenter = random() % 1000 / 1000.0 * c.source.width, yCenter = random() % 1000 / 1000.0 * c.source.height;
        if (call(source, {0, 0, c.source.width, c.source.height}, destination, c, xCenter, yCenter, InterNearest) != StatusOk)
            continue;  // the two regions miss each other
        // Away from the ends, where lengths are rounded, the nearest pixel is plain.
        const auto clear = [](double s, double step, int end) {
            const auto inside = [&](double v) { return v > 0.01 && v < end - 0.01 && std::fabs(v - std::round(v)) > 1e-6; };
            return inside(s - step) && inside(s) && inside(s + 2 * step + 1);
        };
        for (int y = 0; y < c.destination.height; ++y)
            for (int x = 0; x < c.destination.width; ++x) {
                const double sx = xCenter + (x + 0.5 - 0.5 * c.destination.width) / c.xFactor;
                const double sy = yCenter + (y + 0.5 - 0.5 * c.destination.height) / c.yFactor;
                if (clear(sx, 1 / c.xFactor, c.source.width) && clear(sy, 1 / c.yFactor, c.source.height)) {
                    ASSERT_EQ(source.at((int)sx, (int)sy, 1), destination.at(x, y, 1)) << n << " " << x << "," << y << " seed " << Seed();
                    ++checked;
                }
            }
        for (const int interpolation : kCodes)
            call(source, c.roi, destination, c, xCenter, yCenter, interpolation);  // stays within its memory
    }
    EXPECT_GT(checked, 1000);

    // A whole centre at factor 1 is a move: destination pixel (x, y) is source pixel (x + 3, y - 2).
    const auto source = Noise<Vek8u, 3>(Shape{20, 20}, random);
    for (const int interpolation : kShiftedCodes) {
        Pixels destination(20, 20), want(20, 20);
        ASSERT_EQ(StatusOk, call(source, {0, 0, 20, 20}, destination, {{}, {}, {}, 1, 1}, 13, 8, interpolation));
        for (int i = 0; i < 17 * 18 * 3; ++i)
            want.set(i / 3 % 17, 2 + i / 51, i % 3, source.at(3 + i / 3 % 17, i / 51, i % 3));
        EXPECT_EQ(want, destination) << interpolation;
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
        GuardedImage<Vek8u> asked(2 * c.width, 2 * c.height), taken(asked);
        ASSERT_EQ(StatusOk, Resize(source, {0, 0, c.width, c.height}, asked, 2, 2, c.asked));
        ASSERT_EQ(StatusOk, Resize(source, {0, 0, c.width, c.height}, taken, 2, 2, c.taken));
        EXPECT_EQ(taken, asked) << c.width << "x" << c.height;
    }
}

TEST_P(ResizeTest, ScaledLengthsBelowHalfAPixelAreRefused)
{
    GuardedImage<Vek8u> source(9, 9), destination(4, 4);
    source.Fill([] { return 77; });
    for (const int interpolation : kCodes) {
        EXPECT_EQ(StatusResizeTooSmall, Resize(source, {0, 0, 1, 9}, destination, 0.4999998, 1, interpolation));
        EXPECT_EQ(StatusOk, Resize(source, {0, 0, 1, 9}, destination, 0.49999995, 1, interpolation));
        EXPECT_EQ(77, destination.at(0, 3)) << interpolation;
    }
}

TEST_P(ResizeTest, AreasKeepTheMean)
{
    std::mt19937 random(Seed());
    const auto image = Noise<Vek8u, 4>(Shape{60, 45}, random);
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

// ---- Statuses and memory ----

TEST_P(ResizeTest, StatusesComeInTheirOrder)
{
    Pixels source(12, 12), destination(12, 12);
    source.Fill([] { return 9; });
    const Pixels before(destination);
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
        EXPECT_EQ(c.want, vekiResize_8u_C3R(c.src, c.size, 36, c.roi, c.dst, 36, c.dstSize, c.x, c.y, c.code)) << c.what;
        // The centred form looks at the source pointer later, and tiny factors leave it no region.
        const VekStatus centred = !c.src || c.x == 0.001 || c.y == 0.001 ? StatusBadSize : c.want;
        EXPECT_EQ(centred, vekiResizeCenter_8u_C3R(c.src, c.size, 36, c.roi, c.dst, 36, c.dstSize, c.x, c.y, 6, 6, c.code)) << c.what;
        if (c.code != InterSuper) {
            EXPECT_EQ(c.want, vekiResizeShift_8u_C3R(c.src, c.size, 36, c.roi, c.dst, 36, c.dstSize, c.x, c.y, 0, 0, c.code)) << c.what;
        }
    }
    EXPECT_EQ(StatusNullPointer, vekiResizeCenter_8u_C3R(nullptr, kSize, 36, kAll, d, 36, kSize, 1, 1, 6, 6, 3));
    EXPECT_EQ(StatusBadInterpolation, ResizeShift(source, kAll, destination, 1, 1, 0, 0, InterSuper));
    EXPECT_EQ(before, destination);

    Vek64f fr = 0;
    EXPECT_EQ(WarnEmptyIntersection, vekiGetResizeFract(kSize, kBehind, 0, 1, nullptr, &fr, 1));
    EXPECT_EQ(StatusBadResizeFactor, vekiGetResizeFract(kSize, kAll, 0, 1, nullptr, &fr, 1));
    EXPECT_EQ(StatusNullPointer, vekiGetResizeFract(kSize, kAll, 1, 1, &fr, nullptr, 8));
    EXPECT_EQ(StatusBadInterpolation, vekiGetResizeFract(kSize, kAll, 1, 1, &fr, &fr, 8));
    // No number is no factor below 0: the calls go through, inside of their memory.
    for (const int code : kShiftedCodes) {
        EXPECT_EQ(StatusOk, Resize(source, kAll, destination, NAN, NAN, code));
        EXPECT_EQ(StatusOk, ResizeShift(source, kAll, destination, NAN, INFINITY, 0, 0, code));
    }
}

TEST_P(ResizeTest, EveryFailedAllocationIsReportedAndNothingLeaks)
{
    std::mt19937 random(Seed());
    const auto walk = [&](auto source) {  // odd in height, and no row behind can be read
        for (const int interpolation : kCodes) {
            int requests = 2;
            for (int failAt = -1; failAt < requests; ++failAt) {
                decltype(source) to(Shape{20, 9});
                const auto before = to;
                const ScopedAllocator allocator(failAt);
                EXPECT_EQ(failAt < 0 ? StatusOk : StatusNoMemory, Resize(source, {0, 0, 24, 11}, to, 0.8, 0.8, interpolation))
                    << interpolation << " allocation " << failAt;
                EXPECT_EQ(0, allocator.live());
                EXPECT_EQ(failAt >= 0, before == to);
                requests = failAt < 0 ? allocator.requests() : requests;
            }
            EXPECT_GT(requests, 1);
        }
    };
    walk(Noise<Vek8u, 3>(Shape{24, 11}, random));
    walk(Noise<Vek32f>(Shape{24, 11}, random));
}

UVEK_ON_ALL_TIERS(ResizeTest);

}  // namespace
}  // namespace uvek::test
