// Pyramids of pictures, and points tracked from one picture to another.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "commands/commands.h"
#include "commands/files.h"
#include "uvek/uvek.h"

namespace uvek::tool {
namespace {

constexpr Vek16s kSmoothing[] = {1, 4, 6, 4, 1};
constexpr Vek32s kSmoothingSize = 5;

struct Arguments {
    std::string a, b, out;
    int levels = 4;
    float rate = 2;
    int window = 21;
    int points = 200;
    bool grid = false;
};

template <typename T>
using Owner = std::unique_ptr<T, VekStatus (*)(T*)>;

// A picture's levels, in memory of their own.
class Pyramid {
public:
    Pyramid(const codec::Image& base, int levels, float rate) : state_(nullptr, vekiPyramidFree)
    {
        VekPyramidState* state = nullptr;
        Check(vekiPyramidInitAlloc(&state, levels, {base.width, base.height}, rate), "pyramid");
        state_.reset(state);
        images_.push_back(base);
        VekPyramidLayerState* layer = nullptr;
        Check(vekiPyramidLayerDownInitAlloc_8u_C1R(&layer, {base.width, base.height}, rate, kSmoothing, kSmoothingSize, InterLinear), "pyramid");
        const Owner<VekPyramidLayerState> owner(layer, vekiPyramidLayerDownFree_8u_C1R);
        for (int i = 1; i <= state->numLevels; ++i) {
            const codec::Image& above = images_.back();
            codec::Image image(state->pRoi[i].width, state->pRoi[i].height, 1);
            Check(vekiPyramidLayerDown_8u_C1R(above.samples.data(), above.step(), state->pRoi[i - 1], image.samples.data(), image.step(), state->pRoi[i], layer),
                  "pyramid layer");
            images_.push_back(std::move(image));
        }
        for (size_t i = 0; i < images_.size(); ++i) {
            state->pImage[i] = images_[i].samples.data();
            state->pStep[i] = images_[i].step();
        }
    }
    const VekPyramidState* state() const { return state_.get(); }
    const std::vector<codec::Image>& images() const { return images_; }

private:
    Owner<VekPyramidState> state_;
    std::vector<codec::Image> images_;
};

// All levels in one picture, side by side.
int ShowPyramid(const Arguments& arguments)
{
    int exitStatus = kDone;
    const Pyramid pyramid(ReadGrey(arguments.a, exitStatus), arguments.levels, arguments.rate);
    int width = 0;
    for (const codec::Image& image : pyramid.images())
        width += image.width;
    codec::Image out(width, pyramid.images()[0].height, 1);
    int x = 0;
    for (const codec::Image& image : pyramid.images()) {
        Check(vekiCopy_8u_C1R(image.samples.data(), image.step(), out.samples.data() + x, out.step(), {image.width, image.height}), "copy");
        std::printf("%d by %d\n", image.width, image.height);
        x += image.width;
    }
    WritePicture(arguments.out, out);
    return exitStatus;
}

// ---- Points worth tracking ----

struct Point {
    float x, y;
    double strength;
};

// The smaller eigenvalue of the gradients' matrix around each sample (Shi and Tomasi, 1994), strongest
// first, none nearer to another than `distance`.
std::vector<Point> FindCorners(const codec::Image& image, int count, int distance)
{
    constexpr int kReach = 3;
    const VekImageSize inner = {image.width - 2, image.height - 2};
    std::vector<Point> candidates, chosen;
    if (inner.width < 2 * kReach + 1 || inner.height < 2 * kReach + 1)
        return chosen;
    std::vector<Vek16s> dx((size_t)inner.width * (size_t)inner.height), dy(dx.size());
    const Vek32s step = inner.width * (Vek32s)sizeof(Vek16s);
    const Vek8u* first = image.row(1) + 1;
    Check(vekiSobel3x3_Dx_8u16s_C1R(first, image.step(), dx.data(), step, inner), "gradient");
    Check(vekiSobel3x3_Dy_8u16s_C1R(first, image.step(), dy.data(), step, inner), "gradient");
    for (int y = kReach; y < inner.height - kReach; y += 2)
        for (int x = kReach; x < inner.width - kReach; x += 2) {
            double xx = 0, yy = 0, xy = 0;
            for (int j = -kReach; j <= kReach; ++j)
                for (int i = -kReach; i <= kReach; ++i) {
                    const size_t at = (size_t)(y + j) * (size_t)inner.width + (size_t)(x + i);
                    xx += (double)dx[at] * dx[at];
                    yy += (double)dy[at] * dy[at];
                    xy += (double)dx[at] * dy[at];
                }
            candidates.push_back({(float)(x + 1), (float)(y + 1), (xx + yy - std::hypot(xx - yy, 2 * xy)) / 2});
        }
    std::sort(candidates.begin(), candidates.end(), [](const Point& a, const Point& b) { return a.strength > b.strength; });
    for (const Point& point : candidates) {
        if ((int)chosen.size() == count || point.strength <= 0)
            break;
        if (std::none_of(chosen.begin(), chosen.end(), [&](const Point& other) { return std::hypot(point.x - other.x, point.y - other.y) < distance; }))
            chosen.push_back(point);
    }
    return chosen;
}

std::vector<Point> MakeGrid(const codec::Image& image, int count)
{
    const int columns = std::max(1, (int)std::lround(std::sqrt((double)count * image.width / image.height))), rows = std::max(1, count / columns);
    std::vector<Point> points;
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i)
            points.push_back({((float)i + 0.5f) * (float)image.width / (float)columns, ((float)j + 0.5f) * (float)image.height / (float)rows, 1});
    return points;
}

// ---- Drawing ----

void Dot(codec::Image& image, int x, int y, int radius, const uint8_t (&colour)[3])
{
    for (int j = std::max(0, y - radius); j <= std::min(image.height - 1, y + radius); ++j)
        for (int i = std::max(0, x - radius); i <= std::min(image.width - 1, x + radius); ++i)
            std::copy(colour, colour + 3, image.row(j) + 3 * i);
}

void Line(codec::Image& image, float x0, float y0, float x1, float y1, const uint8_t (&colour)[3])
{
    const int steps = 1 + (int)std::max(std::fabs(x1 - x0), std::fabs(y1 - y0));
    for (int i = 0; i <= steps; ++i)
        Dot(image, (int)std::lround(x0 + (x1 - x0) * (float)i / (float)steps), (int)std::lround(y0 + (y1 - y0) * (float)i / (float)steps), 0, colour);
}

int Track(const Arguments& arguments)
{
    int exitStatus = kDone;
    const codec::Image a = ReadGrey(arguments.a, exitStatus), b = ReadGrey(arguments.b, exitStatus);
    if (a.width != b.width || a.height != b.height)
        throw codec::Error("the two pictures differ in size");
    const Pyramid first(a, arguments.levels, arguments.rate), second(b, arguments.levels, arguments.rate);
    const std::vector<Point> points = arguments.grid ? MakeGrid(a, arguments.points) : FindCorners(a, arguments.points, 10);
    if (points.empty())
        throw codec::Error(arguments.a + ": nothing to track");

    std::vector<Vek32f> from, to;
    for (const Point& point : points) {
        from.push_back(point.x);
        from.push_back(point.y);
    }
    to = from;
    std::vector<Vek8s> status(points.size());
    std::vector<Vek32f> error(points.size());
    VekOpticalFlowState* state = nullptr;
    Check(vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {a.width / 2, a.height / 2}, arguments.window, 0), "tracker");
    const Owner<VekOpticalFlowState> owner(state, vekiOpticalFlowPyrLKFree_8u_C1R);
    constexpr Vek32s kIterations = 30;
    constexpr Vek32f kThreshold = 0.01f;
    Check(vekiOpticalFlowPyrLK_8u_C1R(first.state(), second.state(), from.data(), to.data(), status.data(), error.data(), (Vek32s)points.size(),
                                      arguments.window, first.state()->numLevels, kIterations, kThreshold, state),
          "tracking");

    codec::Image out = ReadRgb(arguments.a, exitStatus);
    constexpr uint8_t kMoved[3] = {255, 230, 0}, kLost[3] = {255, 0, 0};
    std::printf("       x        y       dx       dy    error\n");
    for (size_t i = 0; i < points.size(); ++i) {
        const bool found = status[i] == 0;
        Dot(out, (int)std::lround(from[2 * i]), (int)std::lround(from[2 * i + 1]), 1, found ? kMoved : kLost);
        if (!found) {
            std::printf("%8.2f %8.2f     lost at level %d\n", from[2 * i], from[2 * i + 1], status[i] - 1);
            continue;
        }
        Line(out, from[2 * i], from[2 * i + 1], to[2 * i], to[2 * i + 1], kMoved);
        std::printf("%8.2f %8.2f %8.3f %8.3f %8.3f\n", from[2 * i], from[2 * i + 1], to[2 * i] - from[2 * i], to[2 * i + 1] - from[2 * i + 1], error[i]);
    }
    WritePicture(arguments.out, out);
    return exitStatus;
}

}  // namespace

void AddVision(CLI::App& app, int& exitStatus)
{
    auto arguments = std::make_shared<Arguments>();
    CLI::App* pyramid = app.add_subcommand("pyramid", "Show a picture's pyramid, level beside level");
    pyramid->add_option("in", arguments->a, "JPEG, PNG, PPM or PGM file")->required();
    pyramid->callback([=, &exitStatus] { exitStatus = ShowPyramid(*arguments); });
    CLI::App* track = app.add_subcommand("track", "Track points from a picture to another, and draw how they moved");
    track->add_option("a", arguments->a, "the first picture")->required();
    track->add_option("b", arguments->b, "the second picture, as large")->required();
    track->callback([=, &exitStatus] { exitStatus = Track(*arguments); });
    for (CLI::App* command : {pyramid, track}) {
        command->add_option("out", arguments->out, "image file, by its extension")->required();
        command->add_option("--levels", arguments->levels, "below the picture itself")->check(CLI::Range(1, 12))->capture_default_str();
        command->add_option("--rate", arguments->rate, "from level to level")->check(CLI::Range(1.01, 10.0))->capture_default_str();
    }
    track->add_option("--window", arguments->window, "side of the tracked window")->check(CLI::Range(3, 101))->capture_default_str();
    track->add_option("--points", arguments->points, "how many")->check(CLI::Range(1, 10000))->capture_default_str();
    track->add_flag("--grid", arguments->grid, "points in a grid instead of corners");
}

}  // namespace uvek::tool
