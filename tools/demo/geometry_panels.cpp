// Resize by each interpolation, rotation, and the two warps.
#include <algorithm>
#include <cmath>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

namespace {

constexpr double kAngle = 24;
constexpr int kReduction = 8;

void AddEnlarged(const Scene& scene, std::vector<Panel>& panels, const char* title, Vek32s interpolation)
{
    const VekImageRect part = {scene.closeUp.x, scene.closeUp.y, scene.closeUp.width, scene.closeUp.height};
    const double factor = std::min((double)scene.frame.width / part.width, (double)scene.frame.height / part.height) + 1e-6;
    const auto out = std::make_shared<Image>(std::max(1, (int)(part.width * factor)), std::max(1, (int)(part.height * factor)), 3);
    panels.push_back({"geometry", title, "vekiResize_8u_C3R",
                      [&scene, out, part, factor, interpolation] {
                          Check(vekiResize_8u_C3R(scene.rgb.samples.data(), scene.size(), scene.rgb.step(), part, out->samples.data(), out->step(), SizeOf(*out), factor, factor, interpolation),
                                "resize");
                      },
                      [out](Canvas& canvas) { ShowWhole(canvas, *out); }});
}

// Reduced to an eighth by areas; beside it what picking single pixels makes of it.
void AddReduced(const Scene& scene, std::vector<Panel>& panels)
{
    const int width = std::max(1, scene.rgb.width / kReduction), height = std::max(1, scene.rgb.height / kReduction);
    const auto nearest = std::make_shared<Image>(width, height, 3), super = std::make_shared<Image>(width, height, 3);
    const auto resize = [&scene, width, height](Image& out, Vek32s interpolation) {
        const auto factor = [](int to, int from) { return to == from ? 1.0 : (to + 1e-6) / from; };
        Check(vekiResize_8u_C3R(scene.rgb.samples.data(), scene.size(), scene.rgb.step(), RectOf(scene.rgb), out.samples.data(), out.step(), SizeOf(out),
                                factor(width, scene.rgb.width), factor(height, scene.rgb.height), interpolation),
              "resize");
    };
    panels.push_back({"geometry", "Reduced to an eighth", "vekiResize_8u_C3R",
                      [resize, nearest, super] {
                          resize(*nearest, InterNearest);
                          resize(*super, InterSuper);
                      },
                      [nearest, super](Canvas& canvas) {
                          ShowHalves(canvas, *nearest, *super);
                          canvas.Label(0, canvas.height(), "nearest");
                          canvas.Label(canvas.width() / 2 + 1, canvas.height(), "super");
                      }});
}

// Smoothed edges are mixed with what lies around them, so that it is laid anew for each run.
void Clear(Image& image) { Check(vekiSet_8u_C3R(kMat.data(), image.samples.data(), image.step(), SizeOf(image)), "fill"); }

void AddRotated(const Scene& scene, std::vector<Panel>& panels)
{
    double bound[4];
    Check(vekiGetRotateBound(RectOf(scene.rgb), bound, kAngle, 0, 0), "bound");
    const auto out = std::make_shared<Image>((int)std::ceil(bound[2] - bound[0]) + 3, (int)std::ceil(bound[3] - bound[1]) + 3, 3);
    const double xShift = 1 - bound[0], yShift = 1 - bound[1];
    panels.push_back({"geometry", "Rotated by 24 degrees", "vekiRotate_8u_C3R",
                      [&scene, out, xShift, yShift] {
                          Clear(*out);
                          Check(vekiRotate_8u_C3R(scene.rgb.samples.data(), scene.size(), scene.rgb.step(), RectOf(scene.rgb), out->samples.data(), out->step(), RectOf(*out), kAngle, xShift,
                                                  yShift, InterCubic | SmoothEdgeFlag),
                                "rotation");
                      },
                      [out](Canvas& canvas) { ShowWhole(canvas, *out); }});
}

// A grid shows how a warp spaces what it moves.
Image WithGrid(const Image& image)
{
    constexpr int kCells = 8;
    Canvas canvas(image.width, image.height, kMat);
    canvas.Place(image, 0, 0);
    const double thickness = std::max(image.width, image.height) / 340.0;
    if (thickness < 0.5)
        return image;
    for (int i = 1; i < kCells; ++i) {
        const double x = (double)image.width * i / kCells, y = (double)image.height * i / kCells;
        canvas.Line(x, 0, x, image.height, thickness, kWhite, 0.75);
        canvas.Line(0, y, image.width, y, thickness, kWhite, 0.75);
    }
    return canvas.image();
}

void AddWarps(const Scene& scene, std::vector<Panel>& panels)
{
    const double w = scene.rgb.width - 1, h = scene.rgb.height - 1;
    const auto source = std::make_shared<Image>(WithGrid(scene.rgb));
    const ImagePointer far = NewImage(scene, 3), bent = NewImage(scene, 3);
    constexpr Vek32s kInterpolation = InterLinear | SmoothEdgeFlag;
    panels.push_back({"geometry", "Perspective", "vekiWarpPerspective_8u_C3R",
                      [source, far, w, h] {
                          Clear(*far);
                          const double quad[4][2] = {{0.32 * w, 0.04 * h}, {0.76 * w, 0.13 * h}, {0.99 * w, 0.97 * h}, {0.01 * w, 0.85 * h}};
                          double coefficients[3][3];
                          Check(vekiGetPerspectiveTransform(RectOf(*source), quad, coefficients), "quadrangle");
                          Check(vekiWarpPerspective_8u_C3R(source->samples.data(), SizeOf(*source), source->step(), RectOf(*source), far->samples.data(), far->step(), RectOf(*far),
                                                           coefficients, kInterpolation),
                                "warp");
                      },
                      [far](Canvas& canvas) { ShowWhole(canvas, *far); }});
    panels.push_back({"geometry", "Bilinear warp", "vekiWarpBilinear_8u_C3R",
                      [source, bent, w, h] {
                          Clear(*bent);
                          const double quad[4][2] = {{0.32 * w, 0.04 * h}, {0.76 * w, 0.13 * h}, {0.99 * w, 0.97 * h}, {0.01 * w, 0.85 * h}};
                          double coefficients[2][4];
                          Check(vekiGetBilinearTransform(RectOf(*source), quad, coefficients), "quadrangle");
                          Check(vekiWarpBilinear_8u_C3R(source->samples.data(), SizeOf(*source), source->step(), RectOf(*source), bent->samples.data(), bent->step(), RectOf(*bent), coefficients,
                                                        kInterpolation),
                                "warp");
                      },
                      [bent](Canvas& canvas) { ShowWhole(canvas, *bent); }});
}

}  // namespace

void AddGeometryPanels(const Scene& scene, std::vector<Panel>& panels)
{
    AddEnlarged(scene, panels, "Enlarged: nearest", InterNearest);
    AddEnlarged(scene, panels, "Enlarged: linear", InterLinear);
    AddEnlarged(scene, panels, "Enlarged: cubic", InterCubic);
    AddEnlarged(scene, panels, "Enlarged: Lanczos", InterLanczos);
    AddReduced(scene, panels);
    AddRotated(scene, panels);
    AddWarps(scene, panels);
}

}  // namespace uvek::demo
