// What scripts/demo runs: a photograph through the codec at three qualities, timed on every tier.
//
// It is linked with a static build of the library's objects and sets the tier as the tests do: the
// shared library has no way to choose one.
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "codec/jpeg.h"
#include "frame/frame.h"
#include "uvek/uvek.h"

namespace {

using uvek::codec::Bytes;
using uvek::codec::Image;

constexpr int kQualities[] = {50, 75, 92};
constexpr int kTiers = 4;
constexpr int kRounds = 7;

void UseTier(int tier)
{
    vekTierIndex = tier;
    uvek::FillSlots(vekSlotRecords, vekSlotRecordCount, vekSlotWaterfall[tier]);
}

// The best of some rounds, in milliseconds.
double Time(const std::function<void()>& work)
{
    double best = 1e9;
    for (int round = 0; round < kRounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        best = std::min(best, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
    }
    return best;
}

double Psnr(const Image& a, const Image& b)
{
    double sum = 0;
    for (size_t i = 0; i < a.samples.size(); ++i)
        sum += std::pow((double)a.samples[i] - b.samples[i], 2);
    return sum == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 * (double)a.samples.size() / sum);
}

void PrintTimes(const char* what, const std::function<void()>& work)
{
    std::printf("%-22s", what);
    for (int tier = 0; tier < kTiers; ++tier) {
        UseTier(tier);
        if (isatty(STDERR_FILENO))
            std::fprintf(stderr, "\rtiming %s on tier %d ..\r\033[K", what, tier);
        std::printf("%9.2f", Time(work));
    }
    std::printf("\n");
}

void Run(const std::string& picture, const std::string& folder)
{
    const bool isJpeg = picture.size() > 4 && (picture.substr(picture.size() - 4) == ".jpg" || picture.substr(picture.size() - 5) == ".jpeg");
    const Bytes file = isJpeg ? uvek::codec::ReadFile(picture) : Bytes();
    const Image original = isJpeg ? uvek::codec::ToDisplay(uvek::codec::DecodeJpeg(file).image) : uvek::codec::ReadImage(picture);
    std::printf("%s: %d by %d pixels, %d channels\n", picture.c_str(), original.width, original.height, original.channels);
    uvek::codec::WriteImage(folder + "/decoded.png", original);

    std::vector<Bytes> encoded;
    std::printf("\nquality      bytes   bits a pixel   PSNR dB   file\n");
    for (const int quality : kQualities) {
        uvek::codec::EncodeOptions options;
        options.quality = quality;
        encoded.push_back(uvek::codec::EncodeJpeg(original, options));
        const std::string name = folder + "/quality-" + std::to_string(quality) + ".jpg";
        uvek::codec::WriteFile(name, encoded.back());
        std::printf("%7d %10zu %14.2f %9.2f   %s\n", quality, encoded.back().size(),
                    8.0 * (double)encoded.back().size() / original.width / original.height,
                    Psnr(original, uvek::codec::DecodeJpeg(encoded.back()).image), name.c_str());
    }

    std::printf("\nmilliseconds            tier 0   tier 1   tier 2   tier 3\n");
    if (isJpeg)
        PrintTimes("decode the picture", [&] { uvek::codec::DecodeJpeg(file); });
    for (size_t i = 0; i < encoded.size(); ++i) {
        uvek::codec::EncodeOptions options;
        options.quality = kQualities[i];
        PrintTimes(("encode, quality " + std::to_string(options.quality)).c_str(), [&] { uvek::codec::EncodeJpeg(original, options); });
        PrintTimes(("decode, quality " + std::to_string(options.quality)).c_str(), [&] { uvek::codec::DecodeJpeg(encoded[i]); });
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: uvek_demo PICTURE FOLDER\n");
        return 1;
    }
    try {
        Run(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "uvek_demo: %s\n", error.what());
        return 1;
    }
    return 0;
}
