#include "demo/sheet.h"

#include <algorithm>
#include <map>

namespace uvek::demo {
namespace {

constexpr int kColumns = 4, kMargin = 24, kGutter = 20, kCaption = 42, kRowGap = 22, kHeading = 62;
constexpr Colour kPaper = {250, 250, 248};

const std::map<std::string, Colour> kFamilyColours = {
    {"jpeg", {176, 82, 0}},     {"colour", {178, 34, 90}},  {"image", {72, 84, 100}},   {"statistics", {0, 118, 110}}, {"geometry", {28, 94, 190}},
    {"filter", {110, 62, 180}}, {"fourier", {0, 122, 60}},  {"signal", {140, 106, 0}},  {"vision", {190, 44, 44}},     {"matrix", {60, 66, 160}},
};

void DrawPanel(Canvas& sheet, const Scene& scene, const Shown& shown, int x, int y)
{
    const int width = scene.frame.width, height = scene.frame.height;
    Canvas canvas(width, height, kMat);
    if (shown.fault.empty()) {
        shown.panel.show(canvas);
    } else {
        canvas.Text(width / 2, height / 2 - 4, 13, Face::Regular, kFaint, "this picture is too small:", Align::Centre);
        canvas.Text(width / 2, height / 2 + 14, 12, Face::Regular, kFaint, shown.fault, Align::Centre);
    }
    sheet.Place(canvas.image(), x, y);
    sheet.Frame({x, y, width, height}, kHairline);
    sheet.Text(x, y + height + 19, 15, Face::Bold, kInk, shown.panel.title);
    const auto colour = kFamilyColours.find(shown.panel.family);
    sheet.Text(x + width, y + height + 19, 13, Face::Regular, colour == kFamilyColours.end() ? kFaint : colour->second, shown.panel.family, Align::Right);
    sheet.Text(x, y + height + 37, 11, Face::Mono, kFaint, shown.panel.functions);
}

}  // namespace

Image MakeSheet(const Scene& scene, const std::vector<Shown>& panels, const std::string& heading, const std::string& detail)
{
    const int count = (int)panels.size(), columns = std::min(count, kColumns), rows = (count + columns - 1) / columns;
    const int cellWidth = scene.frame.width + kGutter, cellHeight = scene.frame.height + kCaption + kRowGap, top = heading.empty() ? 0 : kHeading;
    Canvas sheet(2 * kMargin + columns * cellWidth - kGutter, 2 * kMargin + top + rows * cellHeight - kRowGap, kPaper);
    if (!heading.empty()) {
        const int after = sheet.Text(kMargin, kMargin + 30, 34, Face::Bold, kInk, heading);
        sheet.Text(kMargin + after + 18, kMargin + 30, 15, Face::Regular, kFaint, detail);
        sheet.Text(sheet.width() - kMargin, kMargin + 30, 13, Face::Regular, kFaint, "pixels by the library, letters by Cairo", Align::Right);
        sheet.Fill({kMargin, kMargin + 44, sheet.width() - 2 * kMargin, 1}, kHairline);
    }
    for (int i = 0; i < count; ++i)
        DrawPanel(sheet, scene, panels[(size_t)i], kMargin + i % columns * cellWidth, kMargin + top + i / columns * cellHeight);
    return sheet.image();
}

}  // namespace uvek::demo
