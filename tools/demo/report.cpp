#include "demo/report.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

#include "frame/frame.h"

namespace uvek::demo {
namespace {

constexpr int kQualities[] = {50, 75, 92};
constexpr int kMostRounds = 9;
constexpr double kMostMilliseconds = 60;  // of all rounds in a tier; one is always run

double Time(const std::function<void()>& work)
{
    double best = 1e9, all = 0;
    for (int round = 0; round < kMostRounds && all < kMostMilliseconds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const double spent = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
        best = std::min(best, spent);
        all += spent;
    }
    return best;
}

double Psnr(const codec::Image& a, const codec::Image& b)
{
    double sum = 0;
    for (size_t i = 0; i < a.samples.size(); ++i)
        sum += std::pow((double)a.samples[i] - b.samples[i], 2);
    return sum == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 * (double)a.samples.size() / sum);
}

}  // namespace

int HighestTier() { return __builtin_cpu_supports("sse4.1") ? 3 : __builtin_cpu_supports("ssse3") ? 2 : __builtin_cpu_supports("sse3") ? 1 : 0; }

void UseTier(int tier)
{
    vekTierIndex = tier;
    FillSlots(vekSlotRecords, vekSlotRecordCount, vekSlotWaterfall[tier]);
}

void ShowProgress(const std::string& text)
{
    if (isatty(STDERR_FILENO))
        std::fprintf(stderr, "\r\033[K%s", text.c_str());
}

void ClearProgress() { ShowProgress(""); }

void PrintTimesHeading(const char* what) { std::printf("\n%-42s%9s%9s%9s%9s%10s\n", what, "tier 0", "tier 1", "tier 2", "tier 3", "0 / 3"); }

void PrintTimes(const std::string& what, const std::function<void()>& work, const std::function<void()>& prepare)
{
    std::array<double, kTiers> times{};
    const int highest = HighestTier();
    for (int tier = 0; tier <= highest; ++tier) {
        UseTier(tier);
        ShowProgress(what + ", tier " + std::to_string(tier) + " ..");
        prepare();
        times[(size_t)tier] = Time(work);
    }
    ClearProgress();
    std::printf("%-42s", what.c_str());
    for (int tier = 0; tier < kTiers; ++tier) {
        if (tier <= highest)
            std::printf("%9.3f", times[(size_t)tier]);
        else
            std::printf("%9s", "-");
    }
    if (highest == kTiers - 1)
        std::printf("%9.1fx", times[0] / times[kTiers - 1]);
    std::printf("\n");
    std::fflush(stdout);
}

void ReportCodec(const codec::Image& picture, const codec::Bytes& jpegFile, const std::string& folder)
{
    std::vector<codec::Bytes> encoded;
    std::printf("\nquality      bytes   bits a pixel   PSNR dB   file\n");
    for (const int quality : kQualities) {
        ShowProgress("coding at quality " + std::to_string(quality) + " ..");
        codec::EncodeOptions options;
        options.quality = quality;
        encoded.push_back(codec::EncodeJpeg(picture, options));
        const std::string name = folder + "/quality-" + std::to_string(quality) + ".jpg";
        codec::WriteFile(name, encoded.back());
        const double psnr = Psnr(picture, codec::DecodeJpeg(encoded.back()).image);
        ClearProgress();
        std::printf("%7d %10zu %14.2f %9.2f   %s\n", quality, encoded.back().size(), 8.0 * (double)encoded.back().size() / picture.width / picture.height, psnr, name.c_str());
    }

    PrintTimesHeading("whole files, milliseconds");
    if (!jpegFile.empty())
        PrintTimes("decode the file", [&] { codec::DecodeJpeg(jpegFile); });
    for (size_t i = 0; i < encoded.size(); ++i) {
        codec::EncodeOptions options;
        options.quality = kQualities[i];
        PrintTimes("encode, quality " + std::to_string(options.quality), [&] { codec::EncodeJpeg(picture, options); });
        PrintTimes("decode, quality " + std::to_string(options.quality), [&] { codec::DecodeJpeg(encoded[i]); });
    }
}

}  // namespace uvek::demo
