// Colour models, channel by channel.
#include <array>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

namespace {

using Convert = VekStatus (*)(const Vek8u*, Vek32s, Vek8u*, Vek32s, VekImageSize);

void AddModel(const Scene& scene, std::vector<Panel>& panels, const char* title, const char* function, Convert convert, const std::array<const char*, 3>& names)
{
    const ImagePointer pixels = NewImage(scene, 3);
    const std::array<ImagePointer, 3> planes = {NewImage(scene, 1), NewImage(scene, 1), NewImage(scene, 1)};
    panels.push_back({"colour", title, function,
                      [&scene, pixels, planes, convert] {
                          Check(convert(scene.rgb.samples.data(), scene.rgb.step(), pixels->samples.data(), pixels->step(), scene.size()), "colour conversion");
                          Vek8u* const to[3] = {planes[0]->row(0), planes[1]->row(0), planes[2]->row(0)};
                          Check(vekiCopy_8u_C3P3R(pixels->samples.data(), pixels->step(), to, planes[0]->step(), scene.size()), "planes");
                      },
                      [&scene, planes, names](Canvas& canvas) {
                          ShowQuarters(canvas, {{scene.rgb, "RGB"}, {*planes[0], names[0]}, {*planes[1], names[1]}, {*planes[2], names[2]}});
                      }});
}

}  // namespace

void AddColourPanels(const Scene& scene, std::vector<Panel>& panels)
{
    AddModel(scene, panels, "Luma and chroma", "vekiRGBToYCbCr_8u_C3R", vekiRGBToYCbCr_8u_C3R, {"Y", "Cb", "Cr"});
    AddModel(scene, panels, "Hue, saturation, value", "vekiRGBToHSV_8u_C3R", vekiRGBToHSV_8u_C3R, {"H", "S", "V"});

    const ImagePointer gray = NewImage(scene, 1);
    panels.push_back({"colour", "Gray", "vekiRGBToGray_8u_C3C1R",
                      [&scene, gray] { Check(vekiRGBToGray_8u_C3C1R(scene.rgb.samples.data(), scene.rgb.step(), gray->samples.data(), gray->step(), scene.size()), "gray"); },
                      [gray](Canvas& canvas) { ShowWhole(canvas, *gray); }});
}

}  // namespace uvek::demo
