// Smallest and largest sample of each of three channels.
#include "frame/simd.h"
#include "uvek/statistics.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kChannels = 3;

struct Extremes {
    Vek8u low[kChannels], high[kChannels];

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

void TakeRow(const Vek8u* row, Vek32s width, Extremes& extremes)
{
    Vek32s x = 0;
    if (kBlocks && width >= 16) {
        // The channels of 48 bytes recur in the next 48: three registers of extremes, split at the end.
        V low[kChannels], high[kChannels];
        for (int i = 0; i < kChannels; ++i)
            low[i] = high[i] = LoadU(row + 16 * i);
        for (x = 16; width - x >= 16; x += 16)
            for (int i = 0; i < kChannels; ++i) {
                const V v = LoadU(row + (int64_t)x * kChannels + 16 * i);
                low[i] = Min8u(low[i], v);
                high[i] = Max8u(high[i], v);
            }
        Vek8u split[2][16 * kChannels];
        for (int i = 0; i < kChannels; ++i) {
            StoreU(split[0] + 16 * i, low[i]);
            StoreU(split[1] + 16 * i, high[i]);
        }
        for (int i = 0; i < 16; ++i) {
            extremes.Take(split[0] + kChannels * i);
            extremes.Take(split[1] + kChannels * i);
        }
    }
    for (; x < width; ++x)
        extremes.Take(row + (int64_t)x * kChannels);
}

}  // namespace

VekStatus vekiMinMax_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize, Vek8u pMin[3], Vek8u pMax[3])
{
    if (!pSrc || !pMin || !pMax)                     return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)     return StatusBadSize;

    Extremes extremes = {{pSrc[0], pSrc[1], pSrc[2]}, {pSrc[0], pSrc[1], pSrc[2]}};
    for (Vek32s y = 0; y < roiSize.height && !extremes.AreFinal(); ++y)
        TakeRow(Row(pSrc, srcStep, y), roiSize.width, extremes);
    memcpy(pMin, extremes.low, sizeof extremes.low);
    memcpy(pMax, extremes.high, sizeof extremes.high);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
