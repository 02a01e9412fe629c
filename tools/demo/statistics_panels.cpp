// The histogram of the three channels, with means and deviations.
#include <algorithm>
#include <array>
#include <cstdio>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

namespace {

constexpr int kBins = 256;
constexpr std::array<Colour, 3> kChannels = {{{214, 57, 57}, {47, 158, 68}, {34, 104, 219}}};
constexpr const char* kNames[3] = {"red", "green", "blue"};

struct Counts {
    std::array<std::array<Vek32s, kBins>, 3> bins{};
    std::array<double, 3> mean{}, deviation{};
};

void Count(const Image& rgb, Counts& counts)
{
    Vek32s levels[kBins + 1];
    for (int i = 0; i <= kBins; ++i)
        levels[i] = i;
    Vek32s* const bins[3] = {counts.bins[0].data(), counts.bins[1].data(), counts.bins[2].data()};
    const Vek32s* const allLevels[3] = {levels, levels, levels};
    const Vek32s levelCounts[3] = {kBins + 1, kBins + 1, kBins + 1};
    Check(vekiHistogramRange_8u_C3R(rgb.samples.data(), rgb.step(), SizeOf(rgb), bins, allLevels, levelCounts), "histogram");
    for (size_t c = 0; c < 3; ++c)
        Check(vekiMean_StdDev_8u_C3CR(rgb.samples.data(), rgb.step(), SizeOf(rgb), (Vek32s)c + 1, &counts.mean[c], &counts.deviation[c]), "mean");
}

void Plot(Canvas& canvas, const Counts& counts)
{
    constexpr int kMargin = 12, kAxis = 20, kLegendLine = 15, kLegend = 3 * kLegendLine + 6;
    const int left = kMargin, right = canvas.width() - kMargin, bottom = canvas.height() - kAxis, top = kMargin, high = bottom - top;
    canvas.Fill({0, 0, canvas.width(), canvas.height()}, kWhite);
    // The highest bin that is not an isolated spike fills the plot, up to what the legend needs.
    std::array<Vek32s, 3 * kBins> sorted;
    for (size_t c = 0; c < 3; ++c)
        std::copy(counts.bins[c].begin(), counts.bins[c].end(), sorted.begin() + (std::ptrdiff_t)(c * kBins));
    std::sort(sorted.begin(), sorted.end());
    const Vek32s reference = sorted[sorted.size() - 7];
    const double full = reference > 0 ? 1.36 * reference : std::max(sorted.back(), 1);
    const auto xOf = [&](double level) { return left + level * (right - left) / (kBins - 1); };
    for (int level = 0; level <= kBins; level += 64) {
        const int shown = std::min(level, kBins - 1);
        canvas.Line(xOf(shown), top, xOf(shown), bottom, 1, kHairline);
        canvas.Text((int)xOf(shown), bottom + 14, 11, Face::Regular, kFaint, std::to_string(shown), level == 0 ? Align::Left : shown == kBins - 1 ? Align::Right : Align::Centre);
    }
    for (size_t c = 0; c < 3; ++c) {
        const auto yOf = [&](int bin) { return bottom - high * std::min(1.0, counts.bins[c][(size_t)bin] / full); };
        for (int x = left; x <= right; ++x)
            for (int y = (int)yOf((x - left) * (kBins - 1) / (right - left)); y < bottom; ++y)
                canvas.Blend(x, y, kChannels[c], 0.22);
        for (int bin = 0; bin + 1 < kBins; ++bin)
            canvas.Line(xOf(bin), yOf(bin), xOf(bin + 1), yOf(bin + 1), 1.4, kChannels[c]);
    }
    canvas.Line(left, bottom, right, bottom, 1, kFaint);
    if (high < 2 * kLegend)
        return;
    for (size_t c = 0; c < 3; ++c) {
        char text[64];
        std::snprintf(text, sizeof text, "%s %.1f \u00b1 %.1f", kNames[c], counts.mean[c], counts.deviation[c]);
        canvas.Text(right - 2, top + 10 + kLegendLine * (int)c, 11, Face::Regular, kChannels[c], text, Align::Right);
    }
}

}  // namespace

void AddStatisticsPanels(const Scene& scene, std::vector<Panel>& panels)
{
    const auto counts = std::make_shared<Counts>();
    panels.push_back({"statistics", "Histogram", "vekiHistogramRange_8u_C3R", [&scene, counts] { Count(scene.rgb, *counts); },
                      [counts](Canvas& canvas) { Plot(canvas, *counts); }});
}

}  // namespace uvek::demo
