// The pictures of a contact sheet, and what makes them.
#ifndef UVEK_TOOLS_DEMO_PANEL_H
#define UVEK_TOOLS_DEMO_PANEL_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "demo/scene.h"

namespace uvek::demo {

struct Panel {
    std::string family, title;
    std::string functions;                  // what the library does in `run`
    std::function<void()> run;              // calls the library alone, into buffers that stand already: this is timed
    std::function<void(Canvas&)> show;      // draws the last result on a canvas of the scene's frame
    std::function<void()> prepare = [] {};  // makes records anew, once in each tier: they belong to the tier that made them
};

// Each adds its panels in the order of the sheet. They keep references to the scene.
void AddJpegPanels(const Scene& scene, std::vector<Panel>& panels);
void AddColourPanels(const Scene& scene, std::vector<Panel>& panels);
void AddImagePanels(const Scene& scene, std::vector<Panel>& panels);
void AddStatisticsPanels(const Scene& scene, std::vector<Panel>& panels);
void AddGeometryPanels(const Scene& scene, std::vector<Panel>& panels);
void AddFilterPanels(const Scene& scene, std::vector<Panel>& panels);
void AddFourierPanels(const Scene& scene, std::vector<Panel>& panels);
void AddNoisePanels(const Scene& scene, std::vector<Panel>& panels);
void AddVisionPanels(const Scene& scene, std::vector<Panel>& panels);

using ImagePointer = std::shared_ptr<Image>;

inline ImagePointer NewImage(const Scene& scene, int channels) { return std::make_shared<Image>(scene.rgb.width, scene.rgb.height, channels); }

// ---- Ways to show a result ----

// The whole picture, centred.
void ShowWhole(Canvas& canvas, const Image& image);

// The scene's detail, pixel for pixel.
void ShowDetail(Canvas& canvas, const Scene& scene, const Image& image);

// The left half of one picture and the right half of another, of one size.
void ShowHalves(Canvas& canvas, const Image& left, const Image& right);

// The detail, its left half from one picture and its right half from another.
void ShowSplit(Canvas& canvas, const Scene& scene, const Image& before, const Image& after);

// Four pictures of one size, two by two.
struct Quarter {
    const Image& image;
    std::string label;
};
void ShowQuarters(Canvas& canvas, const std::vector<Quarter>& quarters);

}  // namespace uvek::demo

#endif
