// The spectrum, and a blur by convolution.
#include <algorithm>
#include <array>
#include <cmath>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

namespace {

template <typename T>
Vek32s Step(int width)
{
    return width * (Vek32s)sizeof(T);
}

struct Spectrum {
    std::vector<Vek32fc> in, out;
    std::unique_ptr<VekDft2Spec, VekStatus (*)(VekDft2Spec*)> spec{nullptr, vekiDFTFree_C_32fc};
};

// The logarithm of the magnitude, frequency 0 in the middle, over what a byte holds. The lower part
// of the range is black: a photograph has little there.
Image Picture(const Spectrum& spectrum, int width, int height)
{
    std::vector<double> logs(spectrum.out.size());
    for (size_t i = 0; i < logs.size(); ++i)
        logs[i] = std::log1p(std::hypot((double)spectrum.out[i].re, (double)spectrum.out[i].im));
    const double most = std::max(*std::max_element(logs.begin(), logs.end()), 1.0), black = most * 0.38;
    Image image(width, height, 1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const size_t from = (size_t)((y + height - height / 2) % height) * (size_t)width + (size_t)((x + width - width / 2) % width);
            image.row(y)[x] = (uint8_t)std::clamp(400 * (logs[from] - black) / (most - black), 0.0, 255.0);
        }
    return image;
}

void AddSpectrum(const Scene& scene, std::vector<Panel>& panels)
{
    const auto spectrum = std::make_shared<Spectrum>();
    for (const uint8_t sample : scene.gray.samples)
        spectrum->in.push_back({(Vek32f)sample, 0});
    spectrum->out.resize(spectrum->in.size());
    panels.push_back({"fourier", "Spectrum", "vekiDFTFwd_CToC_32fc_C1R",
                      [&scene, spectrum] {
                          const Vek32s step = Step<Vek32fc>(scene.gray.width);
                          Check(vekiDFTFwd_CToC_32fc_C1R(spectrum->in.data(), step, spectrum->out.data(), step, spectrum->spec.get(), nullptr), "transform");
                      },
                      [&scene, spectrum](Canvas& canvas) { ShowWhole(canvas, Picture(*spectrum, scene.gray.width, scene.gray.height)); },
                      [&scene, spectrum] {
                          VekDft2Spec* spec = nullptr;
                          spectrum->spec.reset();
                          Check(vekiDFTInitAlloc_C_32fc(&spec, scene.size(), FftScaleNone, 0), "transform");
                          spectrum->spec.reset(spec);
                      }});
}

// A disc, as a lens out of focus has it, with weights that sum to 1.
std::vector<Vek32f> Disc(int side)
{
    std::vector<Vek32f> weights((size_t)side * (size_t)side);
    const double middle = (side - 1) / 2.0;
    double sum = 0;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const double inside = std::clamp(middle + 0.5 - std::hypot(x - middle, y - middle), 0.0, 1.0);
            weights[(size_t)y * (size_t)side + (size_t)x] = (Vek32f)inside;
            sum += inside;
        }
    for (Vek32f& weight : weights)
        weight = (Vek32f)(weight / sum);
    return weights;
}

struct Blur {
    int side, width, height, fullWidth, fullHeight;  // of the kernel, of the bordered picture, of the result
    std::vector<Vek32f> kernel;
    std::array<std::vector<Vek32f>, 3> in, out;
};

void AddConvolution(const Scene& scene, std::vector<Panel>& panels)
{
    const auto blur = std::make_shared<Blur>();
    blur->side = std::max(3, std::min(scene.rgb.width, scene.rgb.height) / 36) | 1;
    blur->kernel = Disc(blur->side);
    // Replicated by the kernel's reach, so that the picture's rim does not darken.
    const int border = blur->side / 2;
    Image bordered(scene.rgb.width + 2 * border, scene.rgb.height + 2 * border, 3);
    Check(vekiCopyReplicateBorder_8u_C3R(scene.rgb.samples.data(), scene.rgb.step(), scene.size(), bordered.samples.data(), bordered.step(), SizeOf(bordered), border, border), "border");
    blur->width = bordered.width;
    blur->height = bordered.height;
    blur->fullWidth = bordered.width + blur->side - 1;
    blur->fullHeight = bordered.height + blur->side - 1;
    for (size_t c = 0; c < 3; ++c) {
        for (size_t i = c; i < bordered.samples.size(); i += 3)
            blur->in[c].push_back(bordered.samples[i]);
        blur->out[c].resize((size_t)blur->fullWidth * (size_t)blur->fullHeight);
    }
    panels.push_back({"fourier", "Convolved with a disc", "vekiConvFull_32f_C1R",
                      [blur] {
                          for (size_t c = 0; c < 3; ++c)
                              Check(vekiConvFull_32f_C1R(blur->in[c].data(), Step<Vek32f>(blur->width), {blur->width, blur->height}, blur->kernel.data(), Step<Vek32f>(blur->side),
                                                         {blur->side, blur->side}, blur->out[c].data(), Step<Vek32f>(blur->fullWidth)),
                                    "convolution");
                      },
                      [&scene, blur](Canvas& canvas) {
                          Image image(scene.rgb.width, scene.rgb.height, 3);
                          for (int y = 0; y < image.height; ++y)
                              for (int x = 0; x < image.width; ++x)
                                  for (size_t c = 0; c < 3; ++c) {
                                      const Vek32f value = blur->out[c][(size_t)(y + blur->side - 1) * (size_t)blur->fullWidth + (size_t)(x + blur->side - 1)];
                                      image.row(y)[3 * x + (int)c] = (uint8_t)std::clamp(std::lround(value), 0L, 255L);
                                  }
                          ShowWhole(canvas, image);
                      }});
}

}  // namespace

void AddFourierPanels(const Scene& scene, std::vector<Panel>& panels)
{
    AddSpectrum(scene, panels);
    AddConvolution(scene, panels);
}

}  // namespace uvek::demo
