// Spans in blocks of four positions. A tile's width of blocks is prepared before it is sampled: in one go
// the way from a position to its samples is longer than what a processor looks ahead.
#ifndef UVEK_GEOMETRY_AFFINE_BLOCKS_H
#define UVEK_GEOMETRY_AFFINE_BLOCKS_H

#include "geometry/affine_pixel.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32s kPreparedBlocks = 8;

struct Positions {
    D at[4];
    alignas(16) Vek32s offset[4];  // of their samples, in bytes
    int outside;                   // not 0 where one of them must be sampled alone
};

constexpr Vek32s kMostFixedPoint = 1 << 19;

// Whether all offsets fit 32 bits and all positions the fixed point.
inline bool FitsBlocks(const SourceImage& s, int pixelBytes)
{
    return s.width <= kMostFixedPoint && s.height <= kMostFixedPoint && s.step * s.height + (int64_t)s.width * pixelBytes <= 0x7fffffff;
}

// Samples whole blocks and returns the number of pixels. prepare(block) fills in what follows from block.at; sample(block,
// dst) writes four pixels, and returns false where it may not have got them right.
template <typename T, int channels, int code, class Block, class Walk, typename Prepare, typename Sample>
Vek32s SampleBlocks(const SourceImage& source, Walk& walk, Vek8u* dst, Vek32s count, Prepare&& prepare, Sample&& sample)
{
    constexpr int pixelBytes = channels * (int)sizeof(T);
    if (!FitsBlocks(source, pixelBytes))
        return 0;
    const Vek32s blocks = count / 4;
    Block prepared[kPreparedBlocks];
    for (Vek32s done = 0; done < blocks; done += kPreparedBlocks) {
        const Vek32s some = Min(blocks - done, kPreparedBlocks);
        for (Vek32s i = 0; i < some; ++i) {
            for (D& position : prepared[i].at)
                position = walk.Next();
            prepare(prepared[i]);
        }
        for (Vek32s i = 0; i < some; ++i, dst += 4 * pixelBytes) {
            const Block& block = prepared[i];
            bool sampled = block.outside == 0;
            if (sampled) {
                Prefetch(Offset(source.origin, block.offset[0] + source.ahead));
                sampled = sample(block, dst);
            }
            if (!sampled)
                for (int k = 0; k < 4; ++k)
                    SamplePixel<T, channels, code>(source, LowD(block.at[k]), HighD(block.at[k]), (T*)(dst + k * pixelBytes));
        }
    }
    return blocks * 4;
}

}  // namespace
}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
