// What scripts/demo runs: a picture through every family of the library, to a contact sheet and a table of times.
#include <algorithm>
#include <cstdio>
#include <exception>

#include "codec/jpeg.h"
#include "commands/files.h"
#include "demo/report.h"
#include "demo/sheet.h"

namespace {

using namespace uvek::demo;
using uvek::codec::Bytes;

constexpr int kSheetQuality = 68;
constexpr int64_t kMostPixels = 12 << 20;  // of a picture that the codec is timed on

std::string FileName(const std::string& path) { return path.substr(path.find_last_of('/') + 1); }

void WriteSheet(const std::string& path, const Image& sheet)
{
    uvek::codec::EncodeOptions options;
    options.quality = kSheetQuality;
    options.progressive = true;
    uvek::codec::WriteFile(path, uvek::codec::EncodeJpeg(sheet, options));
}

// Runs a panel in every tier; a picture may be too small for it.
Shown Run(const Panel& panel)
{
    Shown shown = {panel, ""};
    try {
        PrintTimes(panel.family + ": " + panel.title, panel.run, panel.prepare);
    } catch (const uvek::codec::Error& error) {
        ClearProgress();
        shown.fault = error.what();
        std::printf("%-42s%s\n", (panel.family + ": " + panel.title).c_str(), error.what());
    }
    return shown;
}

int Demonstrate(const std::string& path, const std::string& folder)
{
    int exitStatus = 0;
    ShowProgress("reading " + path + " ..");
    UseTier(HighestTier());
    const Image picture = uvek::tool::ReadRgb(path, exitStatus);
    Bytes file = uvek::codec::ReadFile(path);
    if (file.size() < 2 || file[0] != 0xff || file[1] != 0xd8)
        file.clear();
    ClearProgress();
    std::printf("%s: %d by %d pixels\n", path.c_str(), picture.width, picture.height);

    const bool huge = (int64_t)picture.width * picture.height > kMostPixels;
    const Scene scene(picture, file);
    if (huge)
        std::printf("too large to be quick: what follows is of the picture reduced to %d by %d\n", scene.rgb.width, scene.rgb.height);
    std::printf("every tier in turn: the demo is linked with the library's objects and sets it, which libuvek.so leaves to the processor\n");
    ReportCodec(huge ? scene.rgb : picture, huge ? Bytes() : file, folder);

    std::vector<Panel> panels;
    for (const auto add : {AddJpegPanels, AddColourPanels, AddImagePanels, AddStatisticsPanels, AddGeometryPanels, AddFilterPanels, AddFourierPanels, AddNoisePanels, AddVisionPanels})
        add(scene, panels);
    PrintTimesHeading(("panels at " + std::to_string(scene.rgb.width) + "x" + std::to_string(scene.rgb.height) + ", milliseconds").c_str());
    std::vector<Shown> shown;
    shown.reserve(panels.size());
    for (const Panel& panel : panels)
        shown.push_back(Run(panel));

    ShowProgress("drawing ..");
    const std::string detail = FileName(path) + ", " + std::to_string(picture.width) + " by " + std::to_string(picture.height) + " pixels";
    const Image sheet = MakeSheet(scene, shown, "uvek", detail);
    uvek::codec::WriteImage(folder + "/decoded.png", huge ? scene.rgb : picture);
    uvek::codec::WriteImage(folder + "/contact-sheet.png", sheet);
    WriteSheet(folder + "/contact-sheet.jpg", sheet);
    for (const char* family : {"jpeg", "colour", "image", "statistics", "geometry", "filter", "fourier", "signal", "vision", "matrix"}) {
        std::vector<Shown> own;
        std::copy_if(shown.begin(), shown.end(), std::back_inserter(own), [&](const Shown& s) { return s.panel.family == family; });
        WriteSheet(folder + "/" + family + ".jpg", MakeSheet(scene, own, "", ""));
    }
    ClearProgress();
    std::printf("\n%s/contact-sheet.png: %zu panels; a sheet for each family stands beside it\n", folder.c_str(), shown.size());
    return exitStatus;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: uvek_demo PICTURE FOLDER\n");
        return 1;
    }
    try {
        return Demonstrate(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "uvek_demo: %s\n", error.what());
        return 1;
    }
}
