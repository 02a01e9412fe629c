// Histograms over bins with a caller's boundaries.
#include "frame/simd.h"
#include "uvek/statistics.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Neighbouring samples are often alike, and a counter that was just stored is slow to load: they count
// in tables of their own.
constexpr int kTables = 4;

constexpr int kAheadBytes = 768;  // counting leaves the processor little room to look ahead for large images' lines

struct Counters {
    Vek32u at[kTables][256];
};

void CountRow(const Vek8u* row, int64_t samples, Counters& counters)
{
    int64_t x = 0;
    for (; samples - x >= 2 * kTables; x += 2 * kTables) {
        Prefetch(row + x + kAheadBytes);
        for (int i = 0; i < 2 * kTables; ++i)
            ++counters.at[i % kTables][row[x + i]];
    }
    for (; x < samples; ++x)
        ++counters.at[0][row[x]];
}

// A channel counts in the two tables counters[2 c] and counters[2 c + 1].
constexpr int kChannels = 3;

void CountPixels(const Vek8u* row, int64_t pixels, Vek32u (*counters)[256])
{
    int64_t x = 0;
    for (; pixels - x >= 2; x += 2, row += 2 * kChannels)
        for (int c = 0; c < kChannels; ++c) {
            ++counters[2 * c][row[c]];
            ++counters[2 * c + 1][row[kChannels + c]];
        }
    if (x < pixels)
        for (int c = 0; c < kChannels; ++c)
            ++counters[2 * c][row[c]];
}

// Bins of the counters that `tables` tables share. Counts are held at 32 bits, as the counters are.
void StoreBins(const Vek32u (*counters)[256], int tables, Vek32s* pHist, const Vek32s* pLevels, Vek32s nLevels)
{
    Vek32u below[257] = {0};  // how many samples are less than the index
    for (int v = 0; v < 256; ++v) {
        Vek32u count = 0;
        for (int t = 0; t < tables; ++t)
            count += counters[t][v];
        below[v + 1] = below[v] + count;
    }
    for (Vek32s i = 0; i < nLevels - 1; ++i) {
        const Vek32s low = Clamp(Get(pLevels + i), 0, 256), high = Clamp(Get(pLevels + i + 1), 0, 256);
        Put(pHist + i, low < high ? (Vek32s)(below[high] - below[low]) : 0);
    }
}

}  // namespace

VekStatus vekiHistogramRange_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize,
                                    Vek32s* pHist, const Vek32s* pLevels, Vek32s nLevels)
{
    if (!pSrc || !pHist || !pLevels)                 return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)     return StatusBadSize;
    if (srcStep < 1)                                 return StatusBadStep;
    if (nLevels < 2)                                 return StatusBadHistogramLevels;

    Counters counters = {};
    for (Vek32s y = 0; y < roiSize.height; ++y)
        CountRow(Row(pSrc, srcStep, y), roiSize.width, counters);
    StoreBins(counters.at, kTables, pHist, pLevels, nLevels);
    return StatusOk;
}

VekStatus vekiHistogramRange_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize,
                                    Vek32s* const pHist[3], const Vek32s* const pLevels[3], const Vek32s nLevels[3])
{
    if (!pSrc || !pHist || !pLevels || !nLevels)     return StatusNullPointer;
    for (int c = 0; c < kChannels; ++c) {
        if (!pHist[c] || !pLevels[c])                return StatusNullPointer;
        if (Get(nLevels + c) < 2)                    return StatusBadHistogramLevels;
    }
    if (roiSize.width < 1 || roiSize.height < 1)     return StatusBadSize;
    if (srcStep < 1)                                 return StatusBadStep;

    Vek32u counters[2 * kChannels][256] = {};
    for (Vek32s y = 0; y < roiSize.height; ++y)
        CountPixels(Row(pSrc, srcStep, y), roiSize.width, counters);
    for (int c = 0; c < kChannels; ++c)
        StoreBins(counters + 2 * c, 2, pHist[c], pLevels[c], Get(nLevels + c));
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
