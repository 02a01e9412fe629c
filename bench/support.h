// What the benchmarks share: the three sizes, the tier switch, and images with noise-free content.
#ifndef UVEK_BENCH_SUPPORT_H
#define UVEK_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "frame/frame.h"

namespace uvek::bench {

// Names are FAMILY_OPERATION/PEER/SIZE, where PEER is tier0 .. tier3 or the name of another library:
// scripts/bench finds the ratios by them.

struct Size {
    int width, height;
    std::string name() const { return std::to_string(width) + "x" + std::to_string(height); }
};

// In cache, of a screen, past any cache.
constexpr Size kSizes[] = {{256, 256}, {1920, 1080}, {4096, 4096}};

inline void UseTier(int tier)
{
    vekTierIndex = tier;
    FillSlots(vekSlotRecords, vekSlotRecordCount, vekSlotWaterfall[tier]);
}

// Whether this run holds its peers to SSE4.1: for those that take no such order from the environment.
inline bool PeersAreHeld() { return std::getenv("UVEK_BENCH_HELD") != nullptr; }

// A 64-byte aligned packed image of smooth waves with some grain, alike for every peer. It is made when it is
// first asked for: a run of a few benchmarks waits for no others' images.
template <typename T>
class Image {
public:
    Image(Size size, int channels) : size_(size), channels_(channels) {}
    T* data()
    {
        if (samples_.empty())
            Make();
        return samples_.data() + shift_;
    }
    int step() const { return (int)(size_.width * channels_ * sizeof(T)); }
    int64_t bytes() const { return (int64_t)step() * size_.height; }
    VekImageSize size() const { return {size_.width, size_.height}; }

private:
    void Make()
    {
        std::vector<double> wave((size_t)(size_.width * channels_));
        for (size_t x = 0; x < wave.size(); ++x)
            wave[x] = 90 * std::sin((double)x * 0.013);
        samples_.resize(wave.size() * (size_t)size_.height + 64 / sizeof(T));
        while (((uintptr_t)(samples_.data() + shift_)) % 64)
            ++shift_;
        uint32_t grain = 1;
        T* p = samples_.data() + shift_;
        for (int y = 0; y < size_.height; ++y) {
            const double height = std::cos(y * 0.017);
            for (const double w : wave) {
                grain = grain * 1664525u + 1013904223u;
                *p++ = (T)(120 + w * height + (grain >> 28));
            }
        }
    }

    Size size_;
    int channels_;
    std::vector<T> samples_;
    size_t shift_ = 0;
};

// Registers `call` on a tier (or under a peer's name, tier -1), counting `bytes` a call.
template <typename Call>
void Register(const std::string& operation, const std::string& peer, int tier, const std::string& size, int64_t bytes, Call call)
{
    benchmark::RegisterBenchmark((operation + "/" + peer + "/" + size).c_str(), [=](benchmark::State& state) mutable {
        if (tier >= 0)
            UseTier(tier);
        call();  // makes the images, and warms what it runs through
        for (auto _ : state) {
            call();
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() * bytes);
    });
}

// On all four tiers.
template <typename Call>
void RegisterTiers(const std::string& operation, const std::string& size, int64_t bytes, Call call)
{
    for (int tier = 0; tier < 4; ++tier)
        Register(operation, "tier" + std::to_string(tier), tier, size, bytes, call);
}

}  // namespace uvek::bench

#endif
