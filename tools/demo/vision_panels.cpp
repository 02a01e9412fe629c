// A pyramid, points followed from the picture to a copy that was turned and enlarged, and that motion undone.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

namespace {

template <typename T>
using Owner = std::unique_ptr<T, VekStatus (*)(T*)>;

constexpr Vek32f kRate = 2;
constexpr Vek32s kLevels = 4;
constexpr Vek32s kWindow = 21;
constexpr std::array<Vek16s, 5> kSmoothing = {1, 4, 6, 4, 1};

class Pyramid {
public:
    explicit Pyramid(const Image& base) : levels_(nullptr, vekiPyramidFree), layer_(nullptr, vekiPyramidLayerDownFree_8u_C1R)
    {
        VekPyramidState* levels = nullptr;
        Check(vekiPyramidInitAlloc(&levels, kLevels, SizeOf(base), kRate), "pyramid");
        levels_.reset(levels);
        VekPyramidLayerState* layer = nullptr;
        Check(vekiPyramidLayerDownInitAlloc_8u_C1R(&layer, SizeOf(base), kRate, kSmoothing.data(), (Vek32s)kSmoothing.size(), InterLinear), "pyramid");
        layer_.reset(layer);
        images_.push_back(base);
        for (int i = 1; i <= levels->numLevels; ++i)
            images_.emplace_back(levels->pRoi[i].width, levels->pRoi[i].height, 1);
        for (size_t i = 0; i < images_.size(); ++i) {
            levels->pImage[i] = images_[i].samples.data();
            levels->pStep[i] = images_[i].step();
        }
    }
    void Fill()
    {
        for (size_t i = 1; i < images_.size(); ++i)
            Check(vekiPyramidLayerDown_8u_C1R(images_[i - 1].row(0), images_[i - 1].step(), SizeOf(images_[i - 1]), images_[i].row(0), images_[i].step(), SizeOf(images_[i]), layer_.get()),
                  "pyramid");
    }
    const VekPyramidState* state() const { return levels_.get(); }
    const std::vector<Image>& images() const { return images_; }

private:
    Owner<VekPyramidState> levels_;
    Owner<VekPyramidLayerState> layer_;
    std::vector<Image> images_;
};

// ---- A known motion ----

// Turned and enlarged about the middle, and pushed aside, with the picture itself where nothing arrives.
Image Moved(const Image& rgb)
{
    constexpr double kTurn = 2.5 * 3.14159265358979323846 / 180, kZoom = 1.05;
    const double c = kZoom * std::cos(kTurn), s = kZoom * std::sin(kTurn), x = (rgb.width - 1) / 2.0, y = (rgb.height - 1) / 2.0;
    const double xPush = rgb.width / 120.0, yPush = rgb.height / 160.0;
    const double coefficients[2][4] = {{0, c, s, x - c * x - s * y + xPush}, {0, -s, c, y + s * x - c * y + yPush}};
    Image out = rgb;
    Check(vekiWarpBilinear_8u_C3R(rgb.samples.data(), SizeOf(rgb), rgb.step(), RectOf(rgb), out.samples.data(), out.step(), RectOf(out), coefficients, InterCubic), "warp");
    return out;
}

// In each cell of a grid the pixel with the strongest gradient both ways.
std::vector<Vek32f> ChoosePoints(const Scene& scene)
{
    constexpr int kCells = 12;
    const Image& gray = scene.gray;
    const int cell = std::max(8, std::max(gray.width, gray.height) / kCells), margin = kWindow / 2 + 1;
    std::vector<Vek16s> dx(gray.samples.size()), dy(gray.samples.size());
    const Vek32s step = gray.width * (Vek32s)sizeof(Vek16s);
    Check(vekiSobel3x3_Dx_8u16s_C1R(scene.borderedGray.inner(), scene.borderedGray.step(), dx.data(), step, SizeOf(gray)), "gradient");
    Check(vekiSobel3x3_Dy_8u16s_C1R(scene.borderedGray.inner(), scene.borderedGray.step(), dy.data(), step, SizeOf(gray)), "gradient");
    std::vector<Vek32f> points;
    for (int top = margin; top < gray.height - margin; top += cell)
        for (int left = margin; left < gray.width - margin; left += cell) {
            int best = 0, bestX = 0, bestY = 0;
            for (int y = top; y < std::min(top + cell, gray.height - margin); ++y)
                for (int x = left; x < std::min(left + cell, gray.width - margin); ++x) {
                    const size_t at = (size_t)y * (size_t)gray.width + (size_t)x;
                    const int strength = std::min(std::abs(dx[at]), std::abs(dy[at]));
                    if (strength > best) {
                        best = strength;
                        bestX = x;
                        bestY = y;
                    }
                }
            if (best > 0)
                points.insert(points.end(), {(Vek32f)bestX, (Vek32f)bestY});
        }
    return points;
}

struct Motion {
    Image moved;
    Pyramid first, second;
    Owner<VekOpticalFlowState> tracker{nullptr, vekiOpticalFlowPyrLKFree_8u_C1R};
    std::vector<Vek32f> from, to, error;
    std::vector<Vek8s> status;
    Image undone, blendBefore, blendAfter;

    explicit Motion(const Scene& scene)
        : moved(Moved(scene.rgb)), first(scene.gray), second(Gray(moved)), from(ChoosePoints(scene)), error(from.size() / 2), status(from.size() / 2),
          undone(scene.rgb), blendBefore(scene.rgb), blendAfter(scene.rgb)
    {
        VekOpticalFlowState* state = nullptr;
        Check(vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, {scene.gray.width / 2 + 1, scene.gray.height / 2 + 1}, kWindow, 0), "tracker");
        tracker.reset(state);
        first.Fill();
        second.Fill();
    }
};

void Track(Motion& motion)
{
    if (motion.from.empty())
        throw codec::Error("nothing to track");
    motion.to = motion.from;
    constexpr Vek32s kIterations = 30;
    constexpr Vek32f kThreshold = 0.01f;
    Check(vekiOpticalFlowPyrLK_8u_C1R(motion.first.state(), motion.second.state(), motion.from.data(), motion.to.data(), motion.status.data(), motion.error.data(),
                                      (Vek32s)motion.status.size(), kWindow, motion.first.state()->numLevels, kIterations, kThreshold, motion.tracker.get()),
          "tracking");
}

void ShowMotion(Canvas& canvas, const Scene& scene, const Motion& motion)
{
    constexpr Colour kMoved = {255, 221, 0}, kLost = {255, 60, 60};
    ShowWhole(canvas, scene.rgb);
    const double scale = std::min((double)canvas.width() / scene.rgb.width, (double)canvas.height() / scene.rgb.height);
    const double left = (canvas.width() - scale * scene.rgb.width) / 2, top = (canvas.height() - scale * scene.rgb.height) / 2;
    int found = 0;
    for (size_t i = 0; i < motion.status.size(); ++i) {
        const double x = left + scale * motion.from[2 * i], y = top + scale * motion.from[2 * i + 1];
        if (motion.status[i] != 0) {
            canvas.Disc(x, y, 2, kLost);
            continue;
        }
        ++found;
        const double toX = left + scale * motion.to[2 * i], toY = top + scale * motion.to[2 * i + 1];
        canvas.Line(x, y, toX, toY, 3.2, kInk, 0.55);
        canvas.Line(x, y, toX, toY, 1.6, kMoved);
        canvas.Disc(toX, toY, 2.2, kMoved);
    }
    canvas.Label(0, canvas.height(), std::to_string(found) + " of " + std::to_string(motion.status.size()) + " points followed");
}

// ---- The motion fitted ----

// The affine mapping back from the second picture to the first, by least squares over the points that hold:
// normal equations of three unknowns, factorised once and solved for x and for y.
void FitMotion(const Motion& motion, const std::vector<bool>& holds, double coefficients[2][4])
{
    double normal[3][3] = {}, right[2][3] = {};
    for (size_t i = 0; i < motion.status.size(); ++i) {
        if (!holds[i])
            continue;
        const double row[3] = {motion.to[2 * i], motion.to[2 * i + 1], 1};
        for (size_t j = 0; j < 3; ++j) {
            for (size_t k = 0; k < 3; ++k)
                normal[j][k] += row[j] * row[k];
            right[0][j] += row[j] * motion.from[2 * i];
            right[1][j] += row[j] * motion.from[2 * i + 1];
        }
    }
    constexpr Vek32s kStride = 3 * (Vek32s)sizeof(double);
    double factors[3][3], buffer[3];
    Check(vekmQRDecomp_m_64f_3x3(normal[0], kStride, buffer, factors[0], kStride), "factorisation");
    for (size_t axis = 0; axis < 2; ++axis) {
        coefficients[axis][0] = 0;
        Check(vekmQRBackSubst_mv_64f_3x3(factors[0], kStride, buffer, right[axis], coefficients[axis] + 1), "solution");
    }
}

void Undo(const Scene& scene, Motion* found)
{
    if (!found || found->to.empty())
        throw codec::Error("no points were followed");
    Motion& motion = *found;
    constexpr double kFarOff = 2;  // pixels; points that miss the first fit by more are left out of the second
    constexpr Vek8u kHalf = 128;
    std::vector<bool> holds;
    for (const Vek8s status : motion.status)
        holds.push_back(status == 0);
    double coefficients[2][4];
    FitMotion(motion, holds, coefficients);
    for (size_t i = 0; i < holds.size(); ++i) {
        const double x = motion.to[2 * i], y = motion.to[2 * i + 1];
        const double xMiss = coefficients[0][1] * x + coefficients[0][2] * y + coefficients[0][3] - motion.from[2 * i];
        const double yMiss = coefficients[1][1] * x + coefficients[1][2] * y + coefficients[1][3] - motion.from[2 * i + 1];
        holds[i] = holds[i] && std::hypot(xMiss, yMiss) < kFarOff;
    }
    FitMotion(motion, holds, coefficients);
    const Image &rgb = scene.rgb, &moved = motion.moved;
    Check(vekiWarpBilinear_8u_C3R(moved.samples.data(), SizeOf(moved), moved.step(), RectOf(moved), motion.undone.samples.data(), motion.undone.step(), RectOf(rgb), coefficients, InterLinear),
          "warp");
    const auto blend = [&](const Image& other, Image& out) {
        Check(vekiAlphaCompC_8u_C3R(rgb.samples.data(), rgb.step(), kHalf, other.samples.data(), other.step(), 255, out.samples.data(), out.step(), scene.size(), AlphaOver), "composition");
    };
    blend(moved, motion.blendBefore);
    blend(motion.undone, motion.blendAfter);
}

// The base takes two thirds of the width, what is below it the rest.
void ShowPyramid(Canvas& canvas, const Pyramid& pyramid)
{
    constexpr int kGap = 3;
    const std::vector<Image>& images = pyramid.images();
    const double scale = std::min((canvas.width() - kGap) / (1.5 * images[0].width), (double)canvas.height() / images[0].height);
    int x = 0, y = 0, below = 0;
    for (size_t i = 0; i < images.size(); ++i) {
        const int width = std::max(1, (int)(images[i].width * scale)), height = std::max(1, (int)(images[i].height * scale));
        if (i == 0)
            y = below = std::max(0, (canvas.height() - height) / 2);
        canvas.Place(Scale(images[i], width, height), x, y);
        if (i == 0)
            x = width + kGap;
        else
            below += height + kGap;
        y = below;
    }
}

}  // namespace

void AddVisionPanels(const Scene& scene, std::vector<Panel>& panels)
{
    const auto pyramid = std::make_shared<std::unique_ptr<Pyramid>>();
    panels.push_back({"vision", "Pyramid", "vekiPyramidLayerDown_8u_C1R", [pyramid] { (*pyramid)->Fill(); }, [pyramid](Canvas& canvas) { ShowPyramid(canvas, **pyramid); },
                      [&scene, pyramid] { *pyramid = std::make_unique<Pyramid>(scene.gray); }});

    const auto motion = std::make_shared<std::unique_ptr<Motion>>();
    panels.push_back({"vision", "Points followed", "vekiOpticalFlowPyrLK_8u_C1R", [motion] { Track(**motion); },
                      [&scene, motion](Canvas& canvas) { ShowMotion(canvas, scene, **motion); }, [&scene, motion] { *motion = std::make_unique<Motion>(scene); }});
    panels.push_back({"matrix", "Motion fitted and undone", "vekmQRDecomp_m_64f_3x3", [&scene, motion] { Undo(scene, motion->get()); },
                      [&scene, motion](Canvas& canvas) {
                          ShowSplit(canvas, scene, (*motion)->blendBefore, (*motion)->blendAfter);
                          canvas.Label(0, canvas.height(), "both pictures");
                          canvas.Label(canvas.width() / 2 + 1, canvas.height(), "aligned");
                      }});
}

}  // namespace uvek::demo
