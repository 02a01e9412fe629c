// Smallest and largest sample of each of three channels.
#include "frame/simd.h"
#include "uvek/statistics.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kChannels = 3;

struct Extremes {
    Vek8u low[kChannels], high[kChannels];

    explicit Extremes(const Vek8u* pixel) : low{pixel[0], pixel[1], pixel[2]}, high{pixel[0], pixel[1], pixel[2]} {}

    void Take(const Vek8u* pixel)
    {
        for (int c = 0; c < kChannels; ++c) {
            low[c] = Min(low[c], pixel[c]);
            high[c] = Max(high[c], pixel[c]);
        }
    }

    // Nothing can extend them.
    bool AreFinal() const { return low[0] + low[1] + low[2] == 0 && high[0] + high[1] + high[2] == 3 * 255; }
};

// The channels of 48 bytes recur in the next 48: three registers of each extreme, split at the end. They
// start as those of 16 pixels of the first row, which takes a row of 16.
struct BlockExtremes {
    V low[kChannels], high[kChannels];

    explicit BlockExtremes(const Vek8u* p)
    {
        for (int i = 0; i < kChannels; ++i)
            low[i] = high[i] = LoadU(p + 16 * i);
    }

    void TakeRow(const Vek8u* row, Vek32s width)
    {
        V a = low[0], b = low[1], c = low[2], x = high[0], y = high[1], z = high[2];
        for (int64_t i = 0; i < width; i += 16) {
            const Vek8u* p = row + Min(i, (int64_t)width - 16) * kChannels;
            const V u = LoadU(p), v = LoadU(p + 16), w = LoadU(p + 32);
            a = Min8u(a, u);
            b = Min8u(b, v);
            c = Min8u(c, w);
            x = Max8u(x, u);
            y = Max8u(y, v);
            z = Max8u(z, w);
        }
        low[0] = a;
        low[1] = b;
        low[2] = c;
        high[0] = x;
        high[1] = y;
        high[2] = z;
    }

    Extremes Split() const
    {
        Vek8u lows[16 * kChannels], highs[16 * kChannels];
        for (int i = 0; i < kChannels; ++i) {
            StoreU(lows + 16 * i, low[i]);
            StoreU(highs + 16 * i, high[i]);
        }
        Extremes extremes(lows);
        for (int i = 0; i < 16; ++i) {
            extremes.Take(lows + kChannels * i);
            extremes.Take(highs + kChannels * i);
        }
        return extremes;
    }

    // Cheap, and rarely wrong: the least of all channels is 0 and the largest 255.
    bool MayBeFinal() const
    {
        const V lows = Min8u(Min8u(low[0], low[1]), low[2]), highs = Max8u(Max8u(high[0], high[1]), high[2]);
        return MoveMask8(Equal8(lows, Zero())) && MoveMask8(Equal8(highs, Splat8(255)));
    }
};

Extremes FindExtremes(const Vek8u* pSrc, Vek32s srcStep, VekImageSize size)
{
    if (kBlocks && size.width >= 16) {
        BlockExtremes blocks(pSrc);
        for (Vek32s y = 0; y < size.height; ++y) {
            blocks.TakeRow(Row(pSrc, srcStep, y), size.width);
            if (blocks.MayBeFinal() && blocks.Split().AreFinal())
                break;
        }
        return blocks.Split();
    }
    Extremes extremes(pSrc);
    for (Vek32s y = 0; y < size.height && !extremes.AreFinal(); ++y) {
        const Vek8u* row = Row(pSrc, srcStep, y);
        for (Vek32s x = 0; x < size.width; ++x)
            extremes.Take(row + (int64_t)x * kChannels);
    }
    return extremes;
}

}  // namespace

VekStatus vekiMinMax_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize, Vek8u pMin[3], Vek8u pMax[3])
{
    if (!pSrc || !pMin || !pMax)                     return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)     return StatusBadSize;

    const Extremes extremes = FindExtremes(pSrc, srcStep, roiSize);
    memcpy(pMin, extremes.low, sizeof extremes.low);
    memcpy(pMax, extremes.high, sizeof extremes.high);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
