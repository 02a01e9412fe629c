// Filters and morphology. Those whose effect is small are shown pixel for pixel, beside what they started from.
#include <algorithm>
#include <cstdlib>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

namespace {

using Filter = std::function<VekStatus(Image& out)>;

ImagePointer Add(const Scene& scene, std::vector<Panel>& panels, const char* title, const char* function, int channels, const Filter& filter, bool split)
{
    ImagePointer out = NewImage(scene, channels);
    const Image& before = channels == 1 ? scene.gray : scene.rgb;
    panels.push_back({"filter", title, function, [out, filter] { Check(filter(*out), "filter"); },
                      [&scene, &before, out, split](Canvas& canvas) {
                          if (split)
                              ShowSplit(canvas, scene, before, *out);
                          else
                              ShowDetail(canvas, scene, *out);
                      }});
    return out;
}

// The gradients' magnitude is the demo's own arithmetic; the two gradients are what is timed.
void AddSobel(const Scene& scene, std::vector<Panel>& panels)
{
    const auto dx = std::make_shared<std::vector<Vek16s>>(scene.gray.samples.size()), dy = std::make_shared<std::vector<Vek16s>>(scene.gray.samples.size());
    panels.push_back({"filter", "Sobel gradient", "vekiSobel3x3_Dx_8u16s_C1R",
                      [&scene, dx, dy] {
                          const Bordered& source = scene.borderedGray;
                          const Vek32s step = scene.gray.width * (Vek32s)sizeof(Vek16s);
                          Check(vekiSobel3x3_Dx_8u16s_C1R(source.inner(), source.step(), dx->data(), step, scene.size()), "Sobel");
                          Check(vekiSobel3x3_Dy_8u16s_C1R(source.inner(), source.step(), dy->data(), step, scene.size()), "Sobel");
                      },
                      [&scene, dx, dy](Canvas& canvas) {
                          Image edges(scene.gray.width, scene.gray.height, 1);
                          for (size_t i = 0; i < edges.samples.size(); ++i)
                              edges.samples[i] = (uint8_t)std::min((std::abs((*dx)[i]) + std::abs((*dy)[i])) / 2, 255);
                          ShowDetail(canvas, scene, edges);
                      }});
}

// In place, on a copy that is made anew each time and whose frame of one pixel stays.
void AddMorphology(const Scene& scene, std::vector<Panel>& panels, const char* title, const char* function, VekStatus (*run)(Vek8u*, Vek32s, VekImageSize))
{
    constexpr int kPasses = 3;
    const auto work = std::make_shared<Image>(scene.borderedGray.image);
    const auto inner = [work] { return work->row(kBorder) + kBorder; };
    panels.push_back({"filter", title, function,
                      [&scene, work, inner, run] {
                          Check(vekiCopy_8u_C1R(scene.gray.samples.data(), scene.gray.step(), inner(), work->step(), scene.size()), "copy");
                          for (int pass = 0; pass < kPasses; ++pass)
                              Check(run(inner(), work->step(), scene.size()), "morphology");
                      },
                      [&scene, work](Canvas& canvas) {
                          const Image result = Crop(*work, {kBorder, kBorder, scene.gray.width, scene.gray.height});
                          ShowSplit(canvas, scene, scene.gray, result);
                      }});
}

}  // namespace

void AddFilterPanels(const Scene& scene, std::vector<Panel>& panels)
{
    const Bordered &rgb = scene.borderedRgb, &gray = scene.borderedGray;
    const VekImageSize size = scene.size();
    Add(scene, panels, "Gauss 5x5", "vekiFilterGauss_8u_C1R", 1,
        [&gray, size](Image& out) { return vekiFilterGauss_8u_C1R(gray.inner(), gray.step(), out.samples.data(), out.step(), size, MaskSize5x5); }, true);
    Add(scene, panels, "Box 15x15", "vekiFilterBox_8u_C3R", 3,
        [&rgb, size](Image& out) { return vekiFilterBox_8u_C3R(rgb.inner(), rgb.step(), out.samples.data(), out.step(), size, {15, 15}, {7, 7}); }, true);
    Add(scene, panels, "Sharpened by a 3x3 kernel", "vekiFilter_8u_C3R", 3,
        [&rgb, size](Image& out) {
            constexpr Vek32s kSharpen[9] = {-1, -2, -1, -2, 16, -2, -1, -2, -1};
            return vekiFilter_8u_C3R(rgb.inner(), rgb.step(), out.samples.data(), out.step(), size, kSharpen, {3, 3}, {1, 1}, 4);
        },
        true);
    Add(scene, panels, "High-pass 3x3", "vekiFilterHipass_8u_C1R", 1,
        [&gray, size](Image& out) { return vekiFilterHipass_8u_C1R(gray.inner(), gray.step(), out.samples.data(), out.step(), size, MaskSize3x3); }, false);
    AddSobel(scene, panels);
    AddMorphology(scene, panels, "Eroded, three times", "vekiErode3x3_8u_C1IR", vekiErode3x3_8u_C1IR);
    AddMorphology(scene, panels, "Dilated, three times", "vekiDilate3x3_8u_C1IR", vekiDilate3x3_8u_C1IR);
    Add(scene, panels, "Largest of 9x9", "vekiFilterMax_8u_C1R", 1,
        [&gray, size](Image& out) { return vekiFilterMax_8u_C1R(gray.inner(), gray.step(), out.samples.data(), out.step(), size, {9, 9}, {4, 4}); }, true);
}

}  // namespace uvek::demo
