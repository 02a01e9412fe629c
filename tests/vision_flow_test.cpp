#include "uvek/vision.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"
#ifdef UVEK_HAVE_CODEC
#include "codec/jpeg.h"
#endif

namespace uvek::test {
namespace {

class VisionFlowTest : public TierTest {};

using Level = GuardedImage<Vek8u>;

// A pyramid of rate 2 with its pixels, in memory that ends at inaccessible pages.
class Pyramid {
public:
    template <typename Grey>
    Pyramid(Vek32s width, Vek32s height, Vek32s levels, Grey grey, Flush flush = Flush::End)
    {
        EXPECT_EQ(StatusOk, vekiPyramidInitAlloc(&state_, levels, {width, height}, 2));
        const Vek16s kernel[5] = {1, 4, 6, 4, 1};
        VekPyramidLayerState* down = nullptr;
        EXPECT_EQ(StatusOk, vekiPyramidLayerDownInitAlloc_8u_C1R(&down, {width, height}, 2, kernel, 5, InterLinear));
        for (Vek32s i = 0; i <= state_->numLevels; ++i) {
            levels_.emplace_back(Shape{state_->pRoi[i].width, state_->pRoi[i].height, i % 2 * 3, false, flush});
            Level& level = levels_.back();
            if (i == 0) {
                level.Fill([&, n = 0]() mutable { const int x = n % width, y = n++ / width; return grey(x, y); });
            } else {
                const Level& above = levels_[(size_t)i - 1];
                EXPECT_EQ(StatusOk, vekiPyramidLayerDown_8u_C1R(above.data(), above.step(), above.size(), level.data(), level.step(), level.size(), down));
            }
            state_->pImage[i] = level.data();
            state_->pStep[i] = level.step();
        }
        EXPECT_EQ(StatusOk, vekiPyramidLayerDownFree_8u_C1R(down));
    }
    ~Pyramid() { EXPECT_EQ(StatusOk, vekiPyramidFree(state_)); }
    Pyramid(const Pyramid&) = delete;
    Pyramid& operator=(const Pyramid&) = delete;
    VekPyramidState* get() const { return state_; }
    VekPyramidState* operator->() const { return state_; }

private:
    VekPyramidState* state_ = nullptr;
    std::vector<Level> levels_;
};

struct Tracks {
    std::vector<Vek32f> prev, next, error;
    std::vector<Vek8s> status;

    explicit Tracks(std::vector<Vek32f> points) : prev(points), next(points), error(points.size() / 2, -1), status(points.size() / 2, 99) {}
    VekStatus Run(const Pyramid& a, const Pyramid& b, VekImageSize roi, Vek32s winSize, Vek32s maxLev, Vek32s maxIter = 30, Vek32f threshold = 0.003f)
    {
        VekOpticalFlowState* state = nullptr;
        EXPECT_EQ(StatusOk, vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, roi, winSize, 0));
        const VekStatus result = vekiOpticalFlowPyrLK_8u_C1R(a.get(), b.get(), prev.data(), next.data(), status.data(), error.data(), (Vek32s)status.size(),
                                                             winSize, maxLev, maxIter, threshold, state);
        EXPECT_EQ(StatusOk, vekiOpticalFlowPyrLKFree_8u_C1R(state));
        return result;
    }
};

// A texture that is known between its pixels too: waves in all directions, half of them of 8 to 20 pixels for the base, half
// of 25 to 150 for the coarser levels.
class Texture {
public:
    explicit Texture(uint32_t seed)
    {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> uniform(0, 1);
        bool fine = false;
        for (Wave& w : waves_) {
            fine = !fine;
            const double length = fine ? 8 * std::pow(2.5, uniform(random)) : 25 * std::pow(6, uniform(random)), angle = 6.2831853 * uniform(random);
            w = {6.2831853 / length * std::cos(angle), 6.2831853 / length * std::sin(angle), 6.2831853 * uniform(random)};
        }
    }
    double at(double x, double y) const
    {
        double sum = 0;
        for (const Wave& w : waves_)
            sum += std::sin(w.x * x + w.y * y + w.phase);
        return std::clamp(128 + 22 * sum, 0.0, 255.0);
    }

private:
    struct Wave { double x, y, phase; } waves_[24];
};

constexpr Vek32s kWidth = 400, kHeight = 320;
// Gradients of every level as a whole, of the two coarsest, around each point.
constexpr VekImageSize kRois[] = {{1000, 1000}, {100, 100}, {1, 1}};

TEST_P(VisionFlowTest, FollowsShiftsOfUpToTwentyPixels)
{
    std::vector<Vek32f> grid;
    for (int y = 100; y <= kHeight - 100; y += 15)
        for (int x = 100; x <= kWidth - 100; x += 20)
            grid.insert(grid.end(), {(Vek32f)x + 0.25f, (Vek32f)y});
    const struct { double x, y; } shifts[] = {{0.37, -0.81}, {-5.5, 3.2}, {13.37, 14.8}};
    for (const auto& shift : shifts) {
        const Texture texture(Seed());
        const auto rounded = [](double v) { return (Vek8u)std::lround(v); };
        const Pyramid a(kWidth, kHeight, 3, [&](int x, int y) { return rounded(texture.at(x, y)); });
        const Pyramid b(kWidth, kHeight, 3, [&](int x, int y) { return rounded(texture.at(x - shift.x, y - shift.y)); });
        for (const VekImageSize& roi : kRois) {
            Tracks tracks(grid);
            ASSERT_EQ(StatusOk, tracks.Run(a, b, roi, 21, 3));
            ASSERT_EQ(std::vector<Vek8s>(grid.size() / 2, 0), tracks.status) << "seed " << Seed();
            for (size_t i = 0; i < grid.size(); ++i) {
                ASSERT_NEAR(grid[i] + (i % 2 ? shift.y : shift.x), tracks.next[i], 0.05) << i << " roi " << roi.width << " seed " << Seed();
                ASSERT_LT(tracks.error[i / 2], 4);
            }
        }
    }
}

// Along an edge of black and white a row's sums are beyond 32 bits.
TEST_P(VisionFlowTest, FollowsCornersOfAWhiteSquare)
{
    const auto square = [](int left, int top) {
        return [=](int x, int y) { return (Vek8u)(x >= left && x < left + 60 && y >= top && y < top + 60 ? 255 : 0); };
    };
    const Pyramid a(190, 190, 1, square(60, 65)), b(190, 190, 1, square(62, 64));
    const std::vector<Vek32f> from = {59.5f, 64.5f, 119.5f, 64.5f, 59.5f, 124.5f, 119.5f, 124.5f};
    for (const VekImageSize& roi : kRois)
        for (const Vek32s size : {6, 21, 47}) {
            Tracks tracks(from);
            ASSERT_EQ(StatusOk, tracks.Run(a, b, roi, size, 1));
            EXPECT_EQ(std::vector<Vek8s>(4, 0), tracks.status) << size;
            for (size_t i = 0; i < from.size(); ++i)
                EXPECT_NEAR(from[i] + (i % 2 ? -1 : 2), tracks.next[i], 0.05) << size;
        }
}

#ifdef UVEK_HAVE_CODEC
// A photograph at half its size: moved by half pixels of its own it comes from other samples, not from an
// interpolation. The Gaussian that it is seen through leaves little above the smaller image's frequencies,
// which would move with no shift.
class Photograph {
public:
    Photograph() : image_(codec::DecodeJpeg(codec::ReadFile(UVEK_PHOTOGRAPH)).image)
    {
        double sum = 0;
        for (int i = 0; i <= 2 * kReach; ++i)
            sum += weights_[i] = std::exp(-(i - kReach) * (i - kReach) / (2 * 2.2 * 2.2));
        for (double& weight : weights_)
            weight /= sum;
    }
    Vek8u at(int x, int y) const  // in pixels of the full size
    {
        double sum = 0;
        for (int v = 0; v <= 2 * kReach; ++v)
            for (int u = 0; u <= 2 * kReach; ++u)
                sum += weights_[v] * weights_[u] * image_.row(y + v - kReach)[(x + u - kReach) * image_.channels + 1];
        return (Vek8u)std::lround(sum);
    }

private:
    static constexpr int kReach = 6;
    codec::Image image_;
    double weights_[2 * kReach + 1];
};

TEST_P(VisionFlowTest, FollowsAPhotographOverFourLevels)
{
    const Photograph photograph;
    const struct {
        int x, y;  // in half pixels
    } shifts[] = {{1, -1}, {7, -13}, {-29, 18}, {40, 25}};
    for (const auto& shift : shifts) {
        const Pyramid a(460, 330, 3, [&](int x, int y) { return photograph.at(2 * x + 52, 2 * y + 52); });
        const Pyramid b(460, 330, 3, [&](int x, int y) { return photograph.at(2 * x + 52 - shift.x, 2 * y + 52 - shift.y); });
        // Textured: the smaller eigenvalue of the mean gradient matrix over the window.
        std::vector<Vek32f> points;
        for (int y = 60; y < 270; y += 14)
            for (int x = 60; x < 400; x += 14) {
                double xx = 0, xy = 0, yy = 0;
                for (int v = -10; v <= 10; ++v)
                    for (int u = -10; u <= 10; ++u) {
                        const auto pixel = [&](int dx, int dy) { return a->pImage[0][(int64_t)(y + v + dy) * a->pStep[0] + x + u + dx]; };
                        const double gx = (pixel(1, 0) - pixel(-1, 0)) / 2.0, gy = (pixel(0, 1) - pixel(0, -1)) / 2.0;
                        xx += gx * gx / 441, xy += gx * gy / 441, yy += gy * gy / 441;
                    }
                if ((xx + yy) / 2 - std::sqrt((xx - yy) * (xx - yy) / 4 + xy * xy) > 40)
                    points.insert(points.end(), {(Vek32f)x, (Vek32f)y});
            }
        ASSERT_GT(points.size(), 2 * 40u);
        Tracks tracks(points);
        ASSERT_EQ(StatusOk, tracks.Run(a, b, {1000, 1000}, 21, 3));
        for (size_t i = 0; i < tracks.status.size(); ++i) {
            EXPECT_EQ(0, tracks.status[i]) << points[2 * i] << " " << points[2 * i + 1];
            EXPECT_NEAR(points[2 * i] + shift.x / 2.0, tracks.next[2 * i], 0.05) << points[2 * i] << " " << points[2 * i + 1];
            EXPECT_NEAR(points[2 * i + 1] + shift.y / 2.0, tracks.next[2 * i + 1], 0.05) << points[2 * i] << " " << points[2 * i + 1];
        }
    }
}
#endif

TEST_P(VisionFlowTest, AnyPointOnAnyImageEqualsTier0InsideTheLevels)
{
    std::mt19937 random(Seed());
    for (int turn = 0; turn < 60; ++turn) {
        const Vek32s width = 1 + (Vek32s)(random() % 90) + 20 * (turn % 3), height = 1 + (Vek32s)(random() % 70);
        const Vek32s size = turn < 20 ? turn + 1 : 1 + (Vek32s)(random() % 45);
        const bool extreme = turn % 5 == 4;  // stripes of black and white, and their inverse, make the largest sums of a row
        const auto grey = [&](int x, int y) { return (Vek8u)(extreme ? (x % 44 < 40 ? y : x) / 2 % 2 * 255 : random()); };
        const auto other = [&](int x, int y) { return (Vek8u)(extreme ? 255 - grey(x, y) : random()); };
        const Flush flush = turn % 2 ? Flush::Start : Flush::End;
        const Pyramid a(width, height, 2, grey, flush), b(width, height, 2, other, flush);
        std::vector<Vek32f> points;
        for (int i = 0; i < 80; ++i)
            for (const Vek32s length : {width, height})
                points.push_back(i % 3 ? (Vek32f)(random() % (unsigned)length) : (Vek32f)(random() % 1000 / 1000.0 * (length + 20) - 10));
        for (const Vek32f odd : {3e9f, -3e9f, 1e38f, std::nanf(""), INFINITY})
            points.insert(points.end(), {odd, 5, 5, odd});
        for (const VekImageSize roi : {VekImageSize{300, 300}, VekImageSize{width / 2 + 2, 300}, VekImageSize{1, 1}}) {
            Tracks tracks(points), tier0(points);
            ASSERT_EQ(StatusOk, tracks.Run(a, b, roi, size, a->numLevels, 1 + turn % 9, 0));
            ASSERT_EQ(StatusOk, OnTier(0, [&] { return tier0.Run(a, b, roi, size, a->numLevels, 1 + turn % 9, 0); }));
            EXPECT_EQ(tier0.status, tracks.status) << turn << " seed " << Seed();
            EXPECT_EQ(0, std::memcmp(tier0.next.data(), tracks.next.data(), points.size() * sizeof(Vek32f))) << turn << " seed " << Seed();
            EXPECT_EQ(tier0.error, tracks.error) << turn << " seed " << Seed();
        }
    }
}

TEST_P(VisionFlowTest, ErrorIsTheRootMeanSquareOfTheLastWindows)
{
    std::mt19937 random(Seed());
    const auto first = Noise<Vek8u>({60, 50}, random), second = Noise<Vek8u>({60, 50}, random);
    const Pyramid a(60, 50, 1, [&](int x, int y) { return first.at(x, y); }), b(60, 50, 1, [&](int x, int y) { return second.at(x, y); });
    const auto bilinear = [](const Level& i, double x, double y) {
        const int u = (int)std::floor(x), v = (int)std::floor(y);
        const double f = x - u, g = y - v;
        return (1 - g) * ((1 - f) * i.at(u, v) + f * i.at(u + 1, v)) + g * ((1 - f) * i.at(u, v + 1) + f * i.at(u + 1, v + 1));
    };
    // In the middle; with both windows cut, the first on the left, the second at the bottom.
    const Vek32f points[2][4] = {{30.3f, 25.7f, 28.6f, 20.1f}, {3.5f, 40.25f, 30.75f, 44.5f}};
    for (const auto& p : points) {
        Tracks tracks({p[0], p[1]});
        tracks.next = {p[2], p[3]};
        ASSERT_EQ(StatusOk, tracks.Run(a, b, {1, 1}, 11, 0, 1));
        double sum = 0, count = 0;
        const auto inside = [](double x, double y) { return x >= 0 && x < 59 && y >= 0 && y < 49; };
        for (int v = -5; v <= 5; ++v)
            for (int u = -5; u <= 5; ++u)
                if (inside(p[0] + u, p[1] + v) && inside(p[2] + u, p[3] + v)) {
                    sum += std::pow(bilinear(first, p[0] + u, p[1] + v) - bilinear(second, p[2] + u, p[3] + v), 2);
                    ++count;
                }
        EXPECT_NEAR(std::sqrt(sum / count), tracks.error[0], 0.02) << "seed " << Seed();
    }

    Tracks same({30.3f, 25.7f});
    ASSERT_EQ(StatusOk, same.Run(a, a, {1, 1}, 11, 1));
    EXPECT_EQ(0, same.error[0]);
    EXPECT_EQ(0, same.status[0]);
    EXPECT_EQ(same.prev, same.next);
}

TEST_P(VisionFlowTest, WeightsRoundUpAndTheLargestPaysForIt)
{
    const Pyramid dot(9, 9, 1, [](int x, int y) { return (Vek8u)(x == 4 && y == 4 ? 255 : 0); });
    const Pyramid dark(9, 9, 1, [](int, int) { return (Vek8u)0; });
    const auto seen = [&](Vek32f x, Vek32f y) {
        Tracks tracks({x, y});
        EXPECT_EQ(StatusOk, tracks.Run(dot, dark, {1, 1}, 1, 0));
        EXPECT_EQ(1, tracks.status[0]);  // one sample cannot tell a direction
        EXPECT_EQ(tracks.prev, tracks.next);
        return tracks.error[0] * 128;
    };
    // 16385 of the pixel and 1 of each neighbour, 4 too many; four times 4097, of which the top left pays.
    const struct { Vek32f x, y; int weight; } cases[] = {{4, 4, 16381}, {3, 3, 1}, {4.5f, 4.5f, 4093}, {3.5f, 3.5f, 4097}, {3, 3.5f, 1}};
    for (const auto& c : cases)
        EXPECT_EQ((c.weight * 255 + 64) / 128, seen(c.x, c.y)) << c.x << ", " << c.y;
}

TEST_P(VisionFlowTest, LostPointsTellTheirLevel)
{
    const Texture texture(7);
    const auto half = [&](int x, int y) { return (Vek8u)(x < 128 ? 90 : texture.at(x, y)); };
    const Pyramid a(256, 128, 2, half), b(256, 128, 2, half);
    for (const VekImageSize& roi : kRois) {
        // On the flat half; with texture on the coarser levels only; textured; outside; with a guess outside; on an edge.
        Tracks tracks({40, 64, 112.5f, 64, 190, 64, 300, 64, 190, 64, 255, 64});
        tracks.next[0] = 41;
        tracks.next[8] = -100;
        ASSERT_EQ(StatusOk, tracks.Run(a, b, roi, 21, 2));
        EXPECT_EQ((std::vector<Vek8s>{3, 1, 0, 3, 3, 0}), tracks.status) << roi.width;
        EXPECT_EQ(41, tracks.next[0]);
        EXPECT_EQ(64, tracks.next[1]);
        EXPECT_EQ(0, tracks.error[0]);
        EXPECT_NEAR(112.5, tracks.next[2], 2);
        EXPECT_EQ(190, tracks.next[4]);
        EXPECT_EQ(300, tracks.next[6]);
        EXPECT_EQ(-100, tracks.next[8]);
        EXPECT_EQ(0, tracks.error[3]);
        EXPECT_EQ(255, tracks.next[10]);
    }
}

TEST_P(VisionFlowTest, StepsEndAsAsked)
{
    const Texture texture(3);
    const Pyramid a(128, 128, 1, [&](int x, int y) { return (Vek8u)texture.at(x, y); });
    const Pyramid b(128, 128, 1, [&](int x, int y) { return (Vek8u)texture.at(x - 2.3, y + 1.1); });
    const auto x = [&](Vek32s maxIter, Vek32f threshold) {
        Tracks tracks({64, 64});
        EXPECT_EQ(StatusOk, tracks.Run(a, b, {1, 1}, 15, 0, maxIter, threshold));
        EXPECT_EQ(0, tracks.status[0]);
        return tracks.next[0];
    };
    const Vek32f one = x(1, 0), two = x(2, 0);
    EXPECT_NE(one, two);
    EXPECT_EQ(one, x(100, 10));                     // the first step is short enough
    EXPECT_NEAR(x(100, 0.01f), x(100000, 0), 0.02);  // a step of nothing, or one taken back, ends it at once
}

TEST_P(VisionFlowTest, BadCalls)
{
    const auto grey = [](int x, int y) { return (Vek8u)(x * x * 7 + y * y * 5 + x * y); };
    const Pyramid a(64, 64, 1, grey), b(64, 64, 1, grey);
    VekOpticalFlowState* state = nullptr;
    EXPECT_EQ(StatusNullPointer, vekiOpticalFlowPyrLKInitAlloc_8u_C1R(nullptr, {0, 0}, 0, 0));
    EXPECT_EQ(StatusBadSize, vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {1, 1}, 0, 0));
    EXPECT_EQ(StatusBadSize, vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {0, 1}, 1, 0));
    EXPECT_EQ(StatusBadSize, vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {1, 0}, 1, 0));
    EXPECT_EQ(StatusNoMemory, vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {INT32_MAX, INT32_MAX}, INT32_MAX, 0));
    for (int failing = 0; failing < 3; ++failing) {
        const ScopedAllocator allocator(failing);
        EXPECT_EQ(failing < 2 ? StatusNoMemory : StatusOk, vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {9, 9}, 5, 3));
        EXPECT_EQ(failing < 2 ? 0 : 2, allocator.live());
        EXPECT_EQ(failing < 2, state == nullptr);
    }
    ASSERT_NE(nullptr, state);

    Vek32f prev[4] = {32, 32, 20, 30}, next[4] = {32, 32, 20, 30}, error[2] = {-1, -1};
    Vek8s status[2] = {99, 99};
    const void* const all[7] = {a.get(), b.get(), prev, next, status, error, state};
    const auto track = [&](int null, Vek32s numFeat, Vek32s winSize, Vek32s maxLev, Vek32s maxIter, Vek32f threshold) {
        const auto p = [&](int i) { return i == null ? nullptr : all[i]; };
        return vekiOpticalFlowPyrLK_8u_C1R((const VekPyramidState*)p(0), (const VekPyramidState*)p(1), (const Vek32f*)p(2), (Vek32f*)p(3), (Vek8s*)p(4),
                                           (Vek32f*)p(5), numFeat, winSize, maxLev, maxIter, threshold, (VekOpticalFlowState*)p(6));
    };
    for (int null = 0; null < 7; ++null)
        EXPECT_EQ(StatusNullPointer, track(null, 0, 5, 1, 9, 0)) << null;
    EXPECT_EQ(StatusBadSize, track(-1, 0, 5, -1, 9, 0));
    EXPECT_EQ(StatusBadSize, track(-1, 2, 0, 1, 0, 0));
    EXPECT_EQ(StatusBadSize, track(-1, 2, 6, 1, 9, -1));
    EXPECT_EQ(StatusBadRange, track(-1, 2, 5, -1, 9, 0));
    EXPECT_EQ(StatusBadRange, track(-1, 2, 5, 1, 0, 0));
    EXPECT_EQ(StatusBadRange, track(-1, 2, 5, 1, 9, -1e-9f));
    EXPECT_EQ(99, status[0]);
    EXPECT_EQ(-1, error[0]);

    // A level that cannot be read stops the call at the first point that comes to it.
    b->pStep[0] = 63;
    EXPECT_EQ(StatusBadStep, track(-1, 2, 5, 1, 9, 0));
    EXPECT_EQ(1, status[0]);
    EXPECT_EQ(2, status[1]);
    EXPECT_EQ(-1, error[1]);
    b->pStep[0] = 64;
    a->pRoi[1].height = 0;
    EXPECT_EQ(StatusBadSize, track(-1, 2, 5, 1, 9, 0));
    EXPECT_EQ(2, status[0]);
    EXPECT_EQ(StatusOk, vekiOpticalFlowPyrLKFree_8u_C1R(state));
    EXPECT_EQ(StatusNullPointer, vekiOpticalFlowPyrLKFree_8u_C1R(nullptr));
}

UVEK_ON_ALL_TIERS(VisionFlowTest);

}  // namespace
}  // namespace uvek::test
