// Noise added to the picture and taken out again, and a recursive filter along a row.
#include <algorithm>
#include <array>
#include <cmath>

#include "commands/files.h"
#include "demo/panel.h"

namespace uvek::demo {

using tool::Check;

namespace {

constexpr Vek32f kDeviation = 32;
constexpr Vek32u kSeed = 7;

struct Noisy {
    Image image, denoised;
    std::vector<Vek32f> noise;
    std::vector<Vek16s> noise16, pixels16;
    std::array<Image, 3> planes, medians;
};

// The whole picture as one vector: its rows stand without padding.
void AddNoise(const Scene& scene, Noisy& noisy)
{
    const Vek32s count = (Vek32s)scene.rgb.samples.size();
    VekRandGaussState* state = nullptr;
    Check(veksRandGaussInitAlloc_32f(&state, 0, kDeviation, kSeed), "noise");
    const std::unique_ptr<VekRandGaussState, VekStatus (*)(VekRandGaussState*)> owner(state, veksRandGaussFree_32f);
    Check(veksRandGauss_32f(noisy.noise.data(), count, state), "noise");
    Check(veksConvert_32f16s_Sfs(noisy.noise.data(), noisy.noise16.data(), count, RoundNear, 0), "conversion");
    const VekImageSize samples = {scene.rgb.step(), scene.rgb.height};
    const Vek32s step16 = scene.rgb.step() * (Vek32s)sizeof(Vek16s);
    Check(vekiConvert_8u16s_C1R(scene.rgb.samples.data(), scene.rgb.step(), noisy.pixels16.data(), step16, samples), "conversion");
    Check(veksAdd_16s_Sfs(noisy.pixels16.data(), noisy.noise16.data(), noisy.pixels16.data(), count, 0), "sum");
    Check(vekiConvert_16s8u_C1R(noisy.pixels16.data(), step16, noisy.image.samples.data(), noisy.image.step(), samples), "conversion");
}

void TakeMedians(const Scene& scene, Noisy& noisy)
{
    constexpr Vek32s kSide = 5;
    const auto at = [](Image& plane) { return plane.row(kBorder) + kBorder; };
    Vek8u* const planes[3] = {at(noisy.planes[0]), at(noisy.planes[1]), at(noisy.planes[2])};
    Check(vekiCopy_8u_C3P3R(noisy.image.samples.data(), noisy.image.step(), planes, noisy.planes[0].step(), scene.size()), "planes");
    for (size_t c = 0; c < 3; ++c) {
        Image& plane = noisy.planes[c];
        Check(vekiCopyReplicateBorder_8u_C1R(planes[c], plane.step(), scene.size(), plane.samples.data(), plane.step(), SizeOf(plane), kBorder, kBorder), "border");
        Check(vekiFilterMedian_8u_C1R(planes[c], plane.step(), noisy.medians[c].samples.data(), noisy.medians[c].step(), scene.size(), {kSide, kSide}, {kSide / 2, kSide / 2}), "median");
    }
    const Vek8u* const medians[3] = {noisy.medians[0].row(0), noisy.medians[1].row(0), noisy.medians[2].row(0)};
    Check(vekiCopy_8u_P3C3R(medians, noisy.medians[0].step(), noisy.denoised.samples.data(), noisy.denoised.step(), scene.size()), "pixels");
}

// ---- A row and its low-pass ----

struct Row {
    std::vector<Vek32f> in, out;
    std::vector<Vek32f> taps;
};

// Butterworth's filter of order 2, by the bilinear transform; cutoff in cycles a sample.
std::vector<Vek32f> LowPass(double cutoff)
{
    const double k = std::tan(3.14159265358979323846 * cutoff), norm = 1 + std::sqrt(2.0) * k + k * k, b = k * k / norm;
    return {(Vek32f)b, (Vek32f)(2 * b), (Vek32f)b, 1, (Vek32f)(2 * (k * k - 1) / norm), (Vek32f)((1 - std::sqrt(2.0) * k + k * k) / norm)};
}

// The delay line with which the filter has been seeing the first sample for ever.
void Filter(Row& row)
{
    const Vek32f first = row.in[0], *b = row.taps.data(), *a = b + 3;
    const Vek32f d1 = (b[2] - a[2]) * first, delay[2] = {(b[1] - a[1]) * first + d1, d1};
    VekIirState* state = nullptr;
    Check(veksIIRInitAlloc_32f(&state, row.taps.data(), 2, delay), "filter");
    const std::unique_ptr<VekIirState, VekStatus (*)(VekIirState*)> owner(state, veksIIRFree_32f);
    Check(veksIIR_32f(row.in.data(), row.out.data(), (Vek32s)row.in.size(), state), "filter");
}

void Plot(Canvas& canvas, const Row& row)
{
    constexpr int kMargin = 10, kAxis = 26;
    constexpr Colour kBefore = {150, 170, 200}, kAfter = {200, 60, 30};
    const int left = kAxis, right = canvas.width() - kMargin, top = kMargin, bottom = canvas.height() - kMargin;
    canvas.Fill({0, 0, canvas.width(), canvas.height()}, kWhite);
    const auto yOf = [&](double value) { return bottom - std::clamp(value, 0.0, 255.0) * (bottom - top) / 255; };
    for (const int level : {0, 64, 128, 192, 255}) {
        canvas.Line(left, yOf(level), right, yOf(level), 1, kHairline);
        canvas.Text(left - 4, (int)yOf(level) + 4, 11, Face::Regular, kFaint, std::to_string(level), Align::Right);
    }
    const auto draw = [&](const std::vector<Vek32f>& samples, double thickness, Colour colour) {
        const double last = std::max<double>((double)samples.size() - 1, 1);
        const auto xOf = [&](size_t i) { return left + (double)i * (right - left) / last; };
        for (size_t i = 1; i < samples.size(); ++i)
            canvas.Line(xOf(i - 1), yOf(samples[i - 1]), xOf(i), yOf(samples[i]), thickness, colour);
    };
    draw(row.in, 1, kBefore);
    draw(row.out, 2, kAfter);
}

}  // namespace

void AddNoisePanels(const Scene& scene, std::vector<Panel>& panels)
{
    const auto noisy = std::make_shared<Noisy>();
    const int width = scene.rgb.width, height = scene.rgb.height;
    noisy->image = noisy->denoised = Image(width, height, 3);
    noisy->noise.resize(scene.rgb.samples.size());
    noisy->noise16.resize(scene.rgb.samples.size());
    noisy->pixels16.resize(scene.rgb.samples.size());
    noisy->planes.fill(Image(width + 2 * kBorder, height + 2 * kBorder, 1));
    noisy->medians.fill(Image(width, height, 1));
    panels.push_back({"signal", "Gaussian noise", "veksRandGauss_32f", [&scene, noisy] { AddNoise(scene, *noisy); },
                      [&scene, noisy](Canvas& canvas) { ShowDetail(canvas, scene, noisy->image); }});
    panels.push_back({"filter", "Its median 5x5", "vekiFilterMedian_8u_C1R", [&scene, noisy] { TakeMedians(scene, *noisy); },
                      [&scene, noisy](Canvas& canvas) { ShowSplit(canvas, scene, noisy->image, noisy->denoised); }});

    const auto row = std::make_shared<Row>();
    const uint8_t* samples = scene.gray.row(height / 2);
    row->in.assign(samples, samples + width);
    row->out.resize(row->in.size());
    row->taps = LowPass(0.02);
    panels.push_back({"signal", "A row, recursively filtered", "veksIIR_32f", [row] { Filter(*row); }, [row](Canvas& canvas) { Plot(canvas, *row); }});
}

}  // namespace uvek::demo
