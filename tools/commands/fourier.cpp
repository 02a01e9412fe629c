// Spectra and convolutions of pictures, and noise.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <vector>

#include "commands/commands.h"
#include "commands/files.h"
#include "uvek/uvek.h"

namespace uvek::tool {
namespace {

struct Arguments {
    std::string in, kernel, out;
    double deviation = 10;
    unsigned seed = 1;
};

template <typename T>
Vek32s Step(int width)
{
    return width * (Vek32s)sizeof(T);
}

// The logarithm of the spectrum's magnitude, with frequency 0 in the middle, over the range of a byte.
int Spectrum(const Arguments& arguments)
{
    int exitStatus = kDone;
    const codec::Image in = ReadGrey(arguments.in, exitStatus);
    const size_t width = (size_t)in.width, height = (size_t)in.height;
    std::vector<Vek32fc> samples(width * height);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = {(Vek32f)in.samples[i], 0};

    VekDft2Spec* spec = nullptr;
    Check(vekiDFTInitAlloc_C_32fc(&spec, {in.width, in.height}, FftScaleNone, 0), "transform");
    const std::unique_ptr<VekDft2Spec, VekStatus (*)(VekDft2Spec*)> owner(spec, vekiDFTFree_C_32fc);
    const Vek32s step = Step<Vek32fc>(in.width);
    Check(vekiDFTFwd_CToC_32fc_C1R(samples.data(), step, samples.data(), step, spec, nullptr), "transform");

    codec::Image out(in.width, in.height, 1);
    const double scale = 255 / std::log1p(255.0 * (double)samples.size());
    for (size_t y = 0; y < height; ++y)
        for (size_t x = 0; x < width; ++x) {
            const Vek32fc& value = samples[(y + height - height / 2) % height * width + (x + width - width / 2) % width];
            out.row((int)y)[x] = (uint8_t)(scale * std::log1p(std::hypot((double)value.re, (double)value.im)));
        }
    WritePicture(arguments.out, out);
    return exitStatus;
}

// A channel as numbers.
std::vector<Vek32f> Channel(const codec::Image& image, int channel)
{
    std::vector<Vek32f> samples((size_t)image.width * (size_t)image.height);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = image.samples[i * (size_t)image.channels + (size_t)channel];
    return samples;
}

// The picture convolved with the kernel, whose samples are weights that sum to 1; the result is as large as
// the picture, which counts as black outside.
int Convolve(const Arguments& arguments)
{
    int exitStatus = kDone;
    const codec::Image in = ReadRgb(arguments.in, exitStatus), kernel = ReadGrey(arguments.kernel, exitStatus);
    std::vector<Vek32f> weights = Channel(kernel, 0);
    double sum = 0;
    for (const Vek32f weight : weights)
        sum += weight;
    if (sum == 0)
        throw codec::Error(arguments.kernel + ": a kernel of zeros");
    for (Vek32f& weight : weights)
        weight = (Vek32f)(weight / sum);

    codec::Image out(in.width, in.height, 3);
    const int fullWidth = in.width + kernel.width - 1, fullHeight = in.height + kernel.height - 1;
    std::vector<Vek32f> full((size_t)fullWidth * (size_t)fullHeight);
    for (int c = 0; c < 3; ++c) {
        const std::vector<Vek32f> channel = Channel(in, c);
        Check(vekiConvFull_32f_C1R(channel.data(), Step<Vek32f>(in.width), {in.width, in.height}, weights.data(), Step<Vek32f>(kernel.width),
                                   {kernel.width, kernel.height}, full.data(), Step<Vek32f>(fullWidth)),
              "convolution");
        for (int y = 0; y < in.height; ++y)
            for (int x = 0; x < in.width; ++x) {
                const Vek32f value = full[(size_t)(y + kernel.height / 2) * (size_t)fullWidth + (size_t)(x + kernel.width / 2)];
                out.row(y)[3 * x + c] = (uint8_t)std::clamp(std::lround(value), 0L, 255L);
            }
    }
    WritePicture(arguments.out, out);
    return exitStatus;
}

int Noise(const Arguments& arguments)
{
    int exitStatus = kDone;
    codec::Image image = ReadRgb(arguments.in, exitStatus);
    VekRandGaussState* state = nullptr;
    Check(veksRandGaussInitAlloc_32f(&state, 0, (Vek32f)arguments.deviation, arguments.seed), "random numbers");
    const std::unique_ptr<VekRandGaussState, VekStatus (*)(VekRandGaussState*)> owner(state, veksRandGaussFree_32f);
    std::vector<Vek32f> noise((size_t)image.step());
    for (int y = 0; y < image.height; ++y) {
        Check(veksRandGauss_32f(noise.data(), image.step(), state), "random numbers");
        for (int x = 0; x < image.step(); ++x)
            image.row(y)[x] = (uint8_t)std::clamp(std::lround(image.row(y)[x] + noise[(size_t)x]), 0L, 255L);
    }
    WritePicture(arguments.out, image);
    return exitStatus;
}

}  // namespace

void AddFourier(CLI::App& app, int& exitStatus)
{
    auto arguments = std::make_shared<Arguments>();
    const auto add = [=, &app, &exitStatus](const char* name, const char* what, int (*run)(const Arguments&)) {
        CLI::App* command = app.add_subcommand(name, what);
        command->add_option("in", arguments->in, "JPEG, PNG, PPM or PGM file")->required();
        command->callback([=, &exitStatus] { exitStatus = run(*arguments); });
        return command;
    };
    const auto addOut = [=](CLI::App* command) { command->add_option("out", arguments->out, "image file, by its extension")->required(); };
    addOut(add("spectrum", "The logarithm of a picture's spectrum, frequency 0 in the middle", Spectrum));
    CLI::App* convolve = add("convolve", "Convolve a picture with a kernel picture", Convolve);
    convolve->add_option("kernel", arguments->kernel, "picture of the weights")->required();
    addOut(convolve);
    CLI::App* noise = add("noise", "Add Gaussian noise", Noise);
    addOut(noise);
    noise->add_option("--deviation", arguments->deviation, "of the noise, in sample values")->check(CLI::Range(0.0, 1000.0))->capture_default_str();
    noise->add_option("--seed", arguments->seed, "of the sequence")->capture_default_str();
}

}  // namespace uvek::tool
