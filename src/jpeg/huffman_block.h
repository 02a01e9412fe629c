// Finds the coefficients of a block that an encoder has to look at.
#ifndef UVEK_JPEG_HUFFMAN_BLOCK_H
#define UVEK_JPEG_HUFFMAN_BLOCK_H

#include "frame/simd.h"
#include "jpeg/huffman_records.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Where byte j of zigzag positions 16 i + j comes from among 16 bytes of natural order, from 16 `from`.
struct ZigzagShuffle {
    alignas(16) Vek8s index[4][4][16];

    constexpr ZigzagShuffle() : index()
    {
        for (int to = 0; to < 4; ++to)
            for (int from = 0; from < 4; ++from)
                for (int j = 0; j < 16; ++j) {
                    const int natural = kNaturalOrder[16 * to + j];
                    index[to][from][j] = natural / 16 == from ? (Vek8s)(natural % 16) : (Vek8s)-1;
                }
    }
};

// The zigzag positions of four neighbours in natural order, as bits.
struct ZigzagBits {
    uint64_t bits[16][16];

    constexpr ZigzagBits() : bits()
    {
        for (int position = 0; position < kBlockSize; ++position) {
            const int natural = kNaturalOrder[position];
            for (int set = 0; set < 16; ++set)
                if (set >> natural % 4 & 1)
                    bits[natural / 4][set] |= (uint64_t)1 << position;
        }
    }
};

// Bit z is set where the coefficient at zigzag position z is not zero. `packed` holds a byte for each
// coefficient in natural order.
inline uint64_t NonZeroInZigzag(const V (&packed)[4])
{
    if constexpr (kHasByteShuffle) {
        static constexpr ZigzagShuffle kShuffle;
        uint64_t zeros = 0;
        for (int to = 0; to < 4; ++to) {
            V bytes = Zero();
            for (int from = 0; from < 4; ++from)
                if (to + 3 != from && from + 3 != to)  // the ends of the zigzag lie in few rows
                    bytes = Or(bytes, Shuffle8(packed[from], LoadA(kShuffle.index[to][from])));
            zeros |= (uint64_t)MoveMask8(Equal8(bytes, Zero())) << 16 * to;
        }
        return ~zeros;
    }
    static constexpr ZigzagBits kZigzag;
    uint64_t mask = 0;
    for (int i = 0; i < 4; ++i) {
        const unsigned found = (unsigned)MoveMask8(Equal8(packed[i], Zero())) ^ 0xffff;
        mask |= kZigzag.bits[4 * i][found & 15] | kZigzag.bits[4 * i + 1][found >> 4 & 15];
        mask |= kZigzag.bits[4 * i + 2][found >> 8 & 15] | kZigzag.bits[4 * i + 3][found >> 12];
    }
    return mask;
}

inline uint64_t NonZeroInZigzag(const Vek16s* block)
{
    if constexpr (kBlocks) {
        V packed[4];
        for (int i = 0; i < 4; ++i)
            packed[i] = Pack16sTo8s(LoadU(block + 16 * i), LoadU(block + 16 * i + 8));
        return NonZeroInZigzag(packed);
    }
    uint64_t mask = 0;
    for (int z = 0; z < kBlockSize; ++z)
        mask |= (uint64_t)(Get(block + kNaturalOrder[z]) != 0) << z;
    return mask;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
