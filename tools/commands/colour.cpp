// Video-range colour models: pictures to and from other models, and raw planes of subsampled video.
#include <cstdio>
#include <memory>

#include "commands/commands.h"
#include "commands/files.h"
#include "uvek/uvek.h"

namespace uvek::tool {
namespace {

struct Arguments {
    std::string in, out;
    int width = 0, height = 0;
    bool inverse = false;
};

VekImageSize SizeOf(const codec::Image& image) { return {image.width, image.height}; }

int Gray(const Arguments& arguments)
{
    int exitStatus = kDone;
    WritePicture(arguments.out, ReadGrey(arguments.in, exitStatus));
    return exitStatus;
}

// A picture of three channels to another one.
template <typename Convert>
int ConvertPicture(const Arguments& arguments, Convert convert)
{
    int exitStatus = kDone;
    const codec::Image in = ReadRgb(arguments.in, exitStatus);
    codec::Image out(in.width, in.height, 3);
    Check(convert(in.samples.data(), in.step(), out.samples.data(), out.step(), SizeOf(in)), "colour conversion");
    WritePicture(arguments.out, out);
    return exitStatus;
}

// Where the planes of a raw 4:2:0 file stand: Y, then Cb and Cr of half the size.
struct Planes420 {
    VekImageSize size;
    Vek32s steps[3];
    size_t offsets[3], bytes;

    explicit Planes420(int width, int height) : size{width & ~1, height & ~1}, steps{size.width, size.width / 2, size.width / 2}
    {
        const size_t luma = (size_t)size.width * (size_t)size.height;
        offsets[0] = 0;
        offsets[1] = luma;
        offsets[2] = luma + luma / 4;
        bytes = luma + luma / 2;
    }
};

codec::Bytes ReadRaw(const Arguments& arguments, size_t bytes)
{
    codec::Bytes raw = codec::ReadFile(arguments.in);
    if (raw.size() < bytes)
        throw codec::Error(arguments.in + ": " + std::to_string(raw.size()) + " bytes, a frame has " + std::to_string(bytes));
    return raw;
}

int From420(const Arguments& arguments)
{
    const Planes420 planes(arguments.width, arguments.height);
    if (planes.size.width < 2 || planes.size.height < 2)
        throw codec::Error("--size WxH tells the size of the raw frame");
    const codec::Bytes raw = ReadRaw(arguments, planes.bytes);
    const Vek8u* const from[3] = {&raw[planes.offsets[0]], &raw[planes.offsets[1]], &raw[planes.offsets[2]]};
    codec::Image image(planes.size.width, planes.size.height, 3);
    Check(vekiYCbCr420ToBGR_8u_P3C3R(from, planes.steps, image.samples.data(), image.step(), planes.size), "colour conversion");
    const Vek32s order[3] = {2, 1, 0};
    Check(vekiSwapChannels_8u_C3IR(image.samples.data(), image.step(), planes.size, order), "channel swap");
    WritePicture(arguments.out, image);
    return kDone;
}

int To420(const Arguments& arguments)
{
    int exitStatus = kDone;
    const codec::Image image = ReadRgb(arguments.in, exitStatus);
    const Planes420 planes(image.width, image.height);
    codec::Bytes raw(planes.bytes);
    Vek8u* const to[3] = {&raw[planes.offsets[0]], &raw[planes.offsets[1]], &raw[planes.offsets[2]]};
    const VekStatus status = vekiRGBToYCbCr420_8u_C3P3R(image.samples.data(), image.step(), to, planes.steps, SizeOf(image));
    Check(status, "colour conversion");
    if (status == WarnOddSize)
        std::fprintf(stderr, "uvek: the last column or row of an odd size is left out\n");
    codec::WriteFile(arguments.out, raw);
    return exitStatus;
}

// A picture, or three raw planes of which chroma has half the width, to the bytes Y0 Cb Y1 Cr.
int To422(const Arguments& arguments)
{
    int exitStatus = kDone;
    if (arguments.width == 0) {
        const codec::Image image = ReadRgb(arguments.in, exitStatus);
        codec::Bytes raw((size_t)image.width * (size_t)image.height * 2);
        Check(vekiRGBToYCbCr422_8u_C3C2R(image.samples.data(), image.step(), raw.data(), image.width * 2, SizeOf(image)), "colour conversion");
        codec::WriteFile(arguments.out, raw);
        return exitStatus;
    }
    const int half = arguments.width / 2;
    const VekImageSize size = {half * 2, arguments.height};
    const size_t luma = (size_t)size.width * (size_t)size.height, chroma = luma / 2;
    const codec::Bytes planes = ReadRaw(arguments, luma + 2 * chroma);
    const Vek8u* const from[3] = {planes.data(), planes.data() + luma, planes.data() + luma + chroma};
    const Vek32s steps[3] = {size.width, half, half};
    codec::Bytes raw(luma * 2);
    Check(vekiYCbCr422_8u_P3C2R(from, steps, raw.data(), size.width * 2, size), "interleaving");
    codec::WriteFile(arguments.out, raw);
    return exitStatus;
}

}  // namespace

void AddColour(CLI::App& app, int& exitStatus)
{
    auto arguments = std::make_shared<Arguments>();
    CLI::App* colour = app.add_subcommand("colour", "Video-range colour models");
    colour->require_subcommand(1);
    const auto add = [=, &exitStatus](const char* name, const char* what, int (*run)(const Arguments&)) {
        CLI::App* command = colour->add_subcommand(name, what);
        command->add_option("in", arguments->in, "input file")->required();
        command->add_option("out", arguments->out, "output file")->required();
        command->callback([=, &exitStatus] { exitStatus = run(*arguments); });
        return command;
    };
    const auto addSize = [=](CLI::App* command, const char* what) {
        command->add_option_function<std::string>(
            "--size",
            [=](const std::string& text) {
                if (std::sscanf(text.c_str(), "%dx%d", &arguments->width, &arguments->height) != 2 || arguments->width < 2 || arguments->height < 1)
                    throw CLI::ValidationError("--size", "is WIDTHxHEIGHT");
            },
            what);
    };
    add("gray", "a picture's luma", Gray);
    add("hsv", "hue, saturation and value as the three channels of a picture",
        [](const Arguments& a) { return ConvertPicture(a, vekiRGBToHSV_8u_C3R); });
    add("ycbcr", "RGB to video-range YCbCr, as the three channels of a picture",
        [](const Arguments& a) { return ConvertPicture(a, a.inverse ? vekiYCbCrToRGB_8u_C3R : vekiRGBToYCbCr_8u_C3R); })
        ->add_flag("--inverse", arguments->inverse, "YCbCr to RGB");
    addSize(add("420", "a picture to raw planes Y, Cb, Cr of 4:2:0, or back", [](const Arguments& a) { return a.width ? From420(a) : To420(a); }),
            "of the raw frame: converts from it to a picture");
    addSize(add("422", "a picture, or raw planes, to the raw bytes Y0 Cb Y1 Cr", To422), "of three raw planes: interleaves them");
}

}  // namespace uvek::tool
