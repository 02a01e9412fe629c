// Resize, rotate and warp pictures.
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

#include "commands/commands.h"
#include "commands/files.h"
#include "uvek/uvek.h"

namespace uvek::tool {
namespace {

const std::map<std::string, Vek32s> kInterpolations = {
    {"nearest", InterNearest}, {"linear", InterLinear}, {"cubic", InterCubic}, {"lanczos", InterLanczos}, {"super", InterSuper}};

struct Arguments {
    std::string in, out;
    Vek32s interpolation = InterLinear;
    std::string size;
    double factor = 0;
    double angle = 0;
    bool smooth = false;
    bool crop = false;
    bool bilinear = false;
    std::vector<double> corners;
};

VekImageSize SizeOf(const codec::Image& image) { return {image.width, image.height}; }
VekImageRect RectOf(const codec::Image& image) { return {0, 0, image.width, image.height}; }

// A grey or RGB picture of 8 bits.
codec::Image ReadGreyOrRgb(const std::string& path, int& exitStatus)
{
    const codec::Image image = ReadPicture(path, exitStatus);
    return image.channels == 1 ? ReadGrey(path, exitStatus) : ReadRgb(path, exitStatus);
}

int Resize(const Arguments& arguments)
{
    int exitStatus = kDone, width = 0, height = 0;
    const codec::Image in = ReadGreyOrRgb(arguments.in, exitStatus);
    double xFactor = arguments.factor, yFactor = arguments.factor;
    if (!arguments.size.empty()) {
        if (std::sscanf(arguments.size.c_str(), "%dx%d", &width, &height) != 2 || width < 1 || height < 1)
            throw codec::Error("--size is WIDTHxHEIGHT");
        // A hair more than the ratio, so that the scaled length does not round down below the size.
        xFactor = (width + 1e-6) / in.width;
        yFactor = (height + 1e-6) / in.height;
    } else if (xFactor > 0) {
        width = (int)(in.width * xFactor + 1e-7);
        height = (int)(in.height * yFactor + 1e-7);
    }
    if (width < 1 || height < 1)
        throw codec::Error("--size or --factor tells the size of the result");
    codec::Image out(width, height, in.channels);
    const auto resize = in.channels == 1 ? vekiResize_8u_C1R : vekiResize_8u_C3R;
    Check(resize(in.samples.data(), SizeOf(in), in.step(), RectOf(in), out.samples.data(), out.step(), SizeOf(out), xFactor, yFactor, arguments.interpolation),
          "resize");
    WritePicture(arguments.out, out);
    return exitStatus;
}

int Rotate(const Arguments& arguments)
{
    int exitStatus = kDone;
    const codec::Image in = ReadGreyOrRgb(arguments.in, exitStatus);
    double xShift = 0, yShift = 0;
    codec::Image out(in.width, in.height, in.channels);
    if (arguments.crop) {
        Check(vekiAddRotateShift((in.width - 1) / 2.0, (in.height - 1) / 2.0, arguments.angle, &xShift, &yShift), "shift");
    } else {
        double bound[4];
        Check(vekiGetRotateBound(RectOf(in), bound, arguments.angle, 0, 0), "bound");
        // Rounded, so that turns by 90 degrees, whose bounds are whole up to the last bits, stay whole.
        const double left = std::floor(bound[0] + 1e-6), top = std::floor(bound[1] + 1e-6);
        xShift = -left;
        yShift = -top;
        out = codec::Image((int)(std::ceil(bound[2] - 1e-6) - left) + 1, (int)(std::ceil(bound[3] - 1e-6) - top) + 1, in.channels);
    }
    const Vek32s interpolation = arguments.interpolation | (arguments.smooth ? SmoothEdgeFlag : 0);
    const auto rotate = in.channels == 1 ? vekiRotate_8u_C1R : vekiRotate_8u_C3R;
    Check(rotate(in.samples.data(), SizeOf(in), in.step(), RectOf(in), out.samples.data(), out.step(), RectOf(out), arguments.angle, xShift, yShift, interpolation),
          "rotation");
    WritePicture(arguments.out, out);
    return exitStatus;
}

int Warp(const Arguments& arguments)
{
    int exitStatus = kDone;
    const codec::Image in = ReadRgb(arguments.in, exitStatus);
    double quad[4][2];
    double right = 0, bottom = 0;
    for (size_t i = 0; i < 4; ++i) {
        quad[i][0] = arguments.corners[2 * i];
        quad[i][1] = arguments.corners[2 * i + 1];
        right = std::max(right, quad[i][0]);
        bottom = std::max(bottom, quad[i][1]);
    }
    if (!(right < 65500) || !(bottom < 65500))
        throw codec::Error("a corner is too far away");
    codec::Image out((int)std::ceil(right) + 1, (int)std::ceil(bottom) + 1, 3);
    const Vek32s interpolation = arguments.interpolation | (arguments.smooth ? SmoothEdgeFlag : 0);
    if (arguments.bilinear) {
        double coefficients[2][4];
        Check(vekiGetBilinearTransform(RectOf(in), quad, coefficients), "quadrangle");
        Check(vekiWarpBilinear_8u_C3R(in.samples.data(), SizeOf(in), in.step(), RectOf(in), out.samples.data(), out.step(), RectOf(out), coefficients, interpolation), "warp");
    } else {
        double coefficients[3][3];
        Check(vekiGetPerspectiveTransform(RectOf(in), quad, coefficients), "quadrangle");
        Check(vekiWarpPerspective_8u_C3R(in.samples.data(), SizeOf(in), in.step(), RectOf(in), out.samples.data(), out.step(), RectOf(out), coefficients, interpolation), "warp");
    }
    WritePicture(arguments.out, out);
    return exitStatus;
}

}  // namespace

void AddGeometry(CLI::App& app, int& exitStatus)
{
    auto arguments = std::make_shared<Arguments>();
    const auto add = [=, &app, &exitStatus](const char* name, const char* what, int (*run)(const Arguments&), const char* kinds) {
        CLI::App* command = app.add_subcommand(name, what);
        command->add_option("in", arguments->in, "JPEG, PNG, PPM or PGM file")->required();
        command->add_option("out", arguments->out, "image file, by its extension")->required();
        command->add_option("--interpolation", arguments->interpolation, kinds)->transform(CLI::CheckedTransformer(kInterpolations))->default_str("linear");
        command->callback([=, &exitStatus] { exitStatus = run(*arguments); });
        return command;
    };
    CLI::App* resize = add("resize", "Scale a picture", Resize, "nearest, linear, cubic, lanczos, or super for smaller ones");
    resize->add_option("--size", arguments->size, "WIDTHxHEIGHT of the result")->excludes(resize->add_option("--factor", arguments->factor, "of both sides"));

    CLI::App* rotate = add("rotate", "Turn a picture counter-clockwise", Rotate, "nearest, linear or cubic");
    rotate->add_option("--angle", arguments->angle, "degrees")->required();
    rotate->add_flag("--crop", arguments->crop, "keep the size and turn about the middle");
    rotate->add_flag("--smooth", arguments->smooth, "smooth the edges");

    CLI::App* warp = add("warp", "Map a picture onto a quadrangle", Warp, "nearest, linear or cubic");
    warp->add_option("--corners", arguments->corners, "x y of the corners: top left, top right, bottom right, bottom left")->expected(8)->required();
    warp->add_flag("--bilinear", arguments->bilinear, "bilinear instead of perspective");
    warp->add_flag("--smooth", arguments->smooth, "smooth the edges");
}

}  // namespace uvek::tool
