// Pixels moved: mirrors and borders.
#include <algorithm>
#include <array>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

void AddImagePanels(const Scene& scene, std::vector<Panel>& panels)
{
    const std::array<ImagePointer, 3> mirrored = {NewImage(scene, 3), NewImage(scene, 3), NewImage(scene, 3)};
    panels.push_back({"image", "Mirrored", "vekiMirror_8u_C3R",
                      [&scene, mirrored] {
                          constexpr Vek32s kAxes[3] = {AxisVertical, AxisHorizontal, AxisBoth};
                          for (size_t i = 0; i < 3; ++i)
                              Check(vekiMirror_8u_C3R(scene.rgb.samples.data(), scene.rgb.step(), mirrored[i]->samples.data(), mirrored[i]->step(), scene.size(), kAxes[i]),
                                    "mirror");
                      },
                      [&scene, mirrored](Canvas& canvas) {
                          const int width = scene.rgb.width, height = scene.rgb.height;
                          Canvas all(2 * width, 2 * height, kMat);
                          all.Place(scene.rgb, 0, 0);
                          all.Place(*mirrored[0], width, 0);
                          all.Place(*mirrored[1], 0, height);
                          all.Place(*mirrored[2], width, height);
                          ShowWhole(canvas, all.image());
                      }});

    const int border = std::max(1, std::min(scene.rgb.width, scene.rgb.height) / 6);
    const auto bordered = std::make_shared<Image>(scene.rgb.width + 2 * border, scene.rgb.height + 2 * border, 3);
    panels.push_back({"image", "Border replicated", "vekiCopyReplicateBorder_8u_C3R",
                      [&scene, bordered, border] {
                          Check(vekiCopyReplicateBorder_8u_C3R(scene.rgb.samples.data(), scene.rgb.step(), scene.size(), bordered->samples.data(), bordered->step(), SizeOf(*bordered),
                                                               border, border),
                                "border");
                      },
                      [bordered](Canvas& canvas) { ShowWhole(canvas, *bordered); }});
}

}  // namespace uvek::demo
