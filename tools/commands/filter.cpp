// Filters with a replicated border, and statistics of pictures.
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <numeric>
#include <vector>

#include "commands/commands.h"
#include "commands/files.h"
#include "uvek/uvek.h"

namespace uvek::tool {
namespace {

struct Arguments {
    std::string in, out;
    std::string filter;
    int size = 3;
    std::vector<int> kernel;
    int divisor = 0;
};

VekImageSize SizeOf(const codec::Image& image) { return {image.width, image.height}; }

// A picture with `border` replicated pixels on every side.
struct Bordered {
    codec::Image image;
    int border;

    Bordered(const codec::Image& in, int border) : image(in.width + 2 * border, in.height + 2 * border, in.channels), border(border)
    {
        const auto copy = in.channels == 1 ? vekiCopyReplicateBorder_8u_C1R : vekiCopyReplicateBorder_8u_C3R;
        Check(copy(in.samples.data(), in.step(), SizeOf(in), image.samples.data(), image.step(), SizeOf(image), border, border), "border");
    }
    Vek8u* inner() { return image.row(border) + border * image.channels; }
    Vek32s step() const { return image.step(); }
};

// One-channel filters run on each channel of a picture.
template <typename Run>
codec::Image OnEachChannel(const codec::Image& in, Run run)
{
    if (in.channels == 1)
        return run(in);
    codec::Image out(in.width, in.height, 3), plane(in.width, in.height, 1);
    for (int c = 0; c < 3; ++c) {
        Check(vekiCopy_8u_C3C1R(in.samples.data() + c, in.step(), plane.samples.data(), plane.step(), SizeOf(in)), "channel copy");
        const codec::Image filtered = run(plane);
        Check(vekiCopy_8u_C1C3R(filtered.samples.data(), filtered.step(), out.samples.data() + c, out.step(), SizeOf(in)), "channel copy");
    }
    return out;
}

// Half of the gradient's magnitude, |dx| + |dy| over 2, clamped.
codec::Image Sobel(const codec::Image& in)
{
    Bordered source(in, 1);
    codec::Image out(in.width, in.height, 1);
    std::vector<Vek16s> dx((size_t)in.width * (size_t)in.height), dy(dx.size());
    const Vek32s step = in.width * (Vek32s)sizeof(Vek16s);
    Check(vekiSobel3x3_Dx_8u16s_C1R(source.inner(), source.step(), dx.data(), step, SizeOf(in)), "Sobel");
    Check(vekiSobel3x3_Dy_8u16s_C1R(source.inner(), source.step(), dy.data(), step, SizeOf(in)), "Sobel");
    for (size_t i = 0; i < dx.size(); ++i)
        out.samples[i] = (uint8_t)std::min((std::abs(dx[i]) + std::abs(dy[i])) / 2, 255);
    return out;
}

codec::Image Morphology(const codec::Image& in, bool dilate)
{
    Bordered source(in, 1);
    const auto run = dilate ? vekiDilate3x3_8u_C1IR : vekiErode3x3_8u_C1IR;
    Check(run(source.inner(), source.step(), SizeOf(in)), "morphology");
    codec::Image out(in.width, in.height, 1);
    Check(vekiCopy_8u_C1R(source.inner(), source.step(), out.samples.data(), out.step(), SizeOf(in)), "copy");
    return out;
}

codec::Image Box(const codec::Image& in, int size)
{
    // The filter has three channels; a grey picture has them alike.
    const int border = size / 2;
    codec::Image rgb(in.width, in.height, 3);
    if (in.channels == 1)
        Check(vekiDup_8u_C1C3R(in.samples.data(), in.step(), rgb.samples.data(), rgb.step(), SizeOf(in)), "copy");
    else
        rgb = in;
    Bordered source(rgb, border);
    codec::Image out(in.width, in.height, 3);
    Check(vekiFilterBox_8u_C3R(source.inner(), source.step(), out.samples.data(), out.step(), SizeOf(in), {size, size}, {border, border}), "box");
    if (in.channels == 3)
        return out;
    codec::Image grey(in.width, in.height, 1);
    Check(vekiCopy_8u_C3C1R(out.samples.data(), out.step(), grey.samples.data(), grey.step(), SizeOf(in)), "channel copy");
    return grey;
}

codec::Image Kernel(const codec::Image& in, const Arguments& arguments)
{
    const int size = arguments.size, border = size / 2;
    if ((int)arguments.kernel.size() != size * size)
        throw codec::Error("--kernel has " + std::to_string(size * size) + " coefficients for --size " + std::to_string(size));
    const int sum = std::accumulate(arguments.kernel.begin(), arguments.kernel.end(), 0);
    const int divisor = arguments.divisor ? arguments.divisor : sum ? sum : 1;
    Bordered source(in, border);
    codec::Image out(in.width, in.height, in.channels);
    const auto run = in.channels == 1 ? vekiFilter_8u_C1R : vekiFilter_8u_C3R;
    Check(run(source.inner(), source.step(), out.samples.data(), out.step(), SizeOf(in), arguments.kernel.data(), {size, size}, {border, border}, divisor), "filter");
    return out;
}

codec::Image Apply(const codec::Image& in, const Arguments& arguments)
{
    const std::string& name = arguments.filter;
    const int size = arguments.size, border = size / 2;
    if (size < 1 || size % 2 == 0)
        throw codec::Error("--size is odd");
    if (name == "box")
        return Box(in, size);
    if (name == "kernel")
        return Kernel(in, arguments);
    return OnEachChannel(in, [&](const codec::Image& plane) {
        if (name == "sobel")
            return Sobel(plane);
        if (name == "erode" || name == "dilate")
            return Morphology(plane, name == "dilate");
        Bordered source(plane, border);
        codec::Image out(plane.width, plane.height, 1);
        if (name == "gauss" || name == "hipass") {
            const auto run = name == "gauss" ? vekiFilterGauss_8u_C1R : vekiFilterHipass_8u_C1R;
            if (size > 5)
                throw codec::Error("--size is 3 or 5 here");
            Check(run(source.inner(), source.step(), out.samples.data(), out.step(), SizeOf(plane), size == 3 ? MaskSize3x3 : MaskSize5x5), "filter");
        } else {
            const auto run = name == "max" ? vekiFilterMax_8u_C1R : vekiFilterMedian_8u_C1R;
            Check(run(source.inner(), source.step(), out.samples.data(), out.step(), SizeOf(plane), {size, size}, {border, border}), "filter");
        }
        return out;
    });
}

int Filter(const Arguments& arguments)
{
    int exitStatus = kDone;
    const bool grey = ReadPicture(arguments.in, exitStatus).channels == 1;
    const codec::Image in = grey ? ReadGrey(arguments.in, exitStatus) : ReadRgb(arguments.in, exitStatus);
    WritePicture(arguments.out, Apply(in, arguments));
    return exitStatus;
}

constexpr int kBins = 32, kBarLength = 48;

int Stats(const Arguments& arguments)
{
    int exitStatus = kDone;
    const codec::Image image = ReadRgb(arguments.in, exitStatus);
    Vek32s levels[kBins + 1];
    for (int i = 0; i <= kBins; ++i)
        levels[i] = i * 256 / kBins;
    Vek32s counts[3][kBins];
    Vek32s* const histograms[3] = {counts[0], counts[1], counts[2]};
    const Vek32s* const allLevels[3] = {levels, levels, levels};
    const Vek32s levelCounts[3] = {kBins + 1, kBins + 1, kBins + 1};
    Check(vekiHistogramRange_8u_C3R(image.samples.data(), image.step(), SizeOf(image), histograms, allLevels, levelCounts), "histogram");
    Vek8u least[3], most[3];
    Check(vekiMinMax_8u_C3R(image.samples.data(), image.step(), SizeOf(image), least, most), "extremes");
    std::printf("%d by %d pixels\n", image.width, image.height);
    for (int c = 0; c < 3; ++c) {
        double mean, deviation;
        Check(vekiMean_StdDev_8u_C3CR(image.samples.data(), image.step(), SizeOf(image), c + 1, &mean, &deviation), "mean");
        std::printf("%-6s mean %7.3f  deviation %7.3f  from %3d to %3d\n", c == 0 ? "red" : c == 1 ? "green" : "blue", mean, deviation, least[c], most[c]);
    }
    Vek32s largest = 1;
    for (const auto& channel : counts)
        largest = std::max(largest, *std::max_element(channel, channel + kBins));
    std::printf("\nvalues       red    green     blue\n");
    for (int i = 0; i < kBins; ++i) {
        const Vek32s sum = counts[0][i] + counts[1][i] + counts[2][i];
        const int length = (int)((int64_t)sum * kBarLength / (3 * (int64_t)largest));
        std::printf("%3d-%3d %8d %8d %8d %s\n", levels[i], levels[i + 1] - 1, counts[0][i], counts[1][i], counts[2][i], std::string((size_t)length, '#').c_str());
    }
    return exitStatus;
}

}  // namespace

void AddFilter(CLI::App& app, int& exitStatus)
{
    auto arguments = std::make_shared<Arguments>();
    CLI::App* filter = app.add_subcommand("filter", "Filter a picture, its border replicated");
    filter->add_option("filter", arguments->filter, "gauss, hipass, sobel, box, max, median, erode, dilate or kernel")
        ->required()
        ->check(CLI::IsMember({"gauss", "hipass", "sobel", "box", "max", "median", "erode", "dilate", "kernel"}));
    filter->add_option("in", arguments->in, "JPEG, PNG, PPM or PGM file")->required();
    filter->add_option("out", arguments->out, "image file, by its extension")->required();
    filter->add_option("--size", arguments->size, "side of the mask, odd")->check(CLI::Range(1, 999))->capture_default_str();
    filter->add_option("--kernel", arguments->kernel, "coefficients, row by row, of the filter 'kernel'");
    filter->add_option("--divisor", arguments->divisor, "of the kernel's sum; without it the sum of the coefficients");
    filter->callback([=, &exitStatus] { exitStatus = Filter(*arguments); });

    CLI::App* stats = app.add_subcommand("stats", "Show a picture's histogram, means, deviations and extremes");
    stats->add_option("in", arguments->in, "JPEG, PNG, PPM or PGM file")->required();
    stats->callback([=, &exitStatus] { exitStatus = Stats(*arguments); });
}

}  // namespace uvek::tool
