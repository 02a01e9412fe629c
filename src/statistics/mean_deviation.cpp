// Mean and population deviation of one channel of three.
#include "frame/simd.h"
#include "uvek/statistics.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kChannels = 3;

struct RowSums {
    int64_t sum, squares;
};

// All ones where a byte of the register that starts `first` bytes into a run of pixels is of `channel`.
V ChannelMask(int first, int channel)
{
    Vek8u mask[16];
    for (int i = 0; i < 16; ++i)
        mask[i] = (first + i) % kChannels == channel ? 255 : 0;
    return LoadU(mask);
}

struct ChannelMasks {
    V part[kChannels];
};

// 16 pixels stand in three registers, and 16 = 1 mod 3: the channel's bytes stand at other places in
// each of them, so that one register takes all 16.
inline V ChannelOf(const Vek8u* p, const ChannelMasks& masks)
{
    return Or(Or(And(LoadU(p), masks.part[0]), And(LoadU(p + 16), masks.part[1])), And(LoadU(p + 32), masks.part[2]));
}

inline void Accumulate(V v, V& sum, V& squares)
{
    const V low = WidenLow8u(v), high = WidenHigh8u(v);
    sum = Add64(sum, SumAbsDiff8u(v, Zero()));
    squares = Add32(squares, Add32(MulAdd16(low, low), MulAdd16(high, high)));
}

RowSums SumRow(const Vek8u* row, Vek32s width, int channel, const ChannelMasks& masks)
{
    RowSums sums = {0, 0};
    Vek32s x = 0;
    if (kBlocks) {
        V sum = Zero();
        while (width - x >= 16) {
            // A lane takes at most 4 * 255^2 from 16 pixels: 8192 times that fit 31 bits.
            const Vek32s blocks = Min((width - x) / 16, 8192);
            V squares = Zero();
            for (Vek32s i = 0; i < blocks; ++i)
                Accumulate(ChannelOf(row + (int64_t)(x + 16 * i) * kChannels, masks), sum, squares);
            sums.squares += Sum64(Add64(WidenLow32u(squares), WidenHigh32u(squares)));
            x += 16 * blocks;
        }
        sums.sum = Sum64(sum);
    }
    for (; x < width; ++x) {
        const int64_t v = row[(int64_t)x * kChannels + channel];
        sums.sum += v;
        sums.squares += v * v;
    }
    return sums;
}

}  // namespace

VekStatus vekiMean_StdDev_8u_C3CR(const Vek8u* pSrc, Vek32s srcStep, VekImageSize roiSize, Vek32s coi, Vek64f* pMean, Vek64f* pStdDev)
{
    if (!pSrc)                                       return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)     return StatusBadSize;
    if (srcStep < (int64_t)roiSize.width * kChannels) return StatusBadStep;
    if (coi < 1 || coi > kChannels)                  return StatusBadChannelOfInterest;

    const int channel = coi - 1;
    const ChannelMasks masks = {{ChannelMask(0, channel), ChannelMask(16, channel), ChannelMask(32, channel)}};
    int64_t sum = 0;
    Vek64f squares = 0;
    for (Vek32s y = 0; y < roiSize.height; ++y) {
        const RowSums row = SumRow(Row(pSrc, srcStep, y), roiSize.width, channel, masks);
        sum += row.sum;
        squares += (Vek64f)row.squares;
    }
    Vek64f mean = 0, deviation = 0;
    if (const Vek32s n = WrappedProduct(roiSize.width, roiSize.height)) {
        mean = (Vek64f)sum / n;
        deviation = sqrt(fabs(squares / n - mean * mean));
    }
    if (pMean)
        Put(pMean, mean);
    if (pStdDev)
        Put(pStdDev, deviation);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
