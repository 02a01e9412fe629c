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

constexpr ZigzagShuffle kZigzagShuffle;
constexpr ZigzagBits kZigzagBits;

template <int to>
inline uint64_t ZeroIn16(V a, V b, V c, V d)
{
    const auto& index = kZigzagShuffle.index[to];
    V bytes = Or(Shuffle8(b, LoadA(index[1])), Shuffle8(c, LoadA(index[2])));
    if (to < 3)  // the ends of the zigzag lie in few rows
        bytes = Or(bytes, Shuffle8(a, LoadA(index[0])));
    if (to > 0)
        bytes = Or(bytes, Shuffle8(d, LoadA(index[3])));
    return (uint64_t)MoveMask8(Equal8(bytes, Zero())) << 16 * to;
}

template <int from>
inline uint64_t NonZeroOf16(V bytes)
{
    const unsigned found = (unsigned)MoveMask8(Equal8(bytes, Zero())) ^ 0xffff;
    const auto& bits = kZigzagBits.bits;
    return bits[4 * from][found & 15] | bits[4 * from + 1][found >> 4 & 15] | bits[4 * from + 2][found >> 8 & 15]
         | bits[4 * from + 3][found >> 12];
}

// Bit z is set where zigzag position z is not zero; a, b, c and d hold two rows each, as bytes.
inline uint64_t NonZeroInZigzag(V a, V b, V c, V d)
{
    if constexpr (kHasByteShuffle)
        return ~(ZeroIn16<0>(a, b, c, d) | ZeroIn16<1>(a, b, c, d) | ZeroIn16<2>(a, b, c, d) | ZeroIn16<3>(a, b, c, d));
    return NonZeroOf16<0>(a) | NonZeroOf16<1>(b) | NonZeroOf16<2>(c) | NonZeroOf16<3>(d);
}

inline uint64_t NonZeroInZigzag(const Vek16s* block)
{
    if constexpr (kBlocks)
        return NonZeroInZigzag(Pack16sTo8s(LoadU(block), LoadU(block + 8)), Pack16sTo8s(LoadU(block + 16), LoadU(block + 24)),
                               Pack16sTo8s(LoadU(block + 32), LoadU(block + 40)), Pack16sTo8s(LoadU(block + 48), LoadU(block + 56)));
    uint64_t mask = 0;
    for (int z = 0; z < kBlockSize; ++z)
        mask |= (uint64_t)(Get(block + kNaturalOrder[z]) != 0) << z;
    return mask;
}

// Zigzag positions from `first` on; none for 64.
inline uint64_t From(Vek32s first)
{
    return first >= kBlockSize ? 0 : ~(uint64_t)0 << first;
}

inline Vek32s ShiftedMagnitude(const Vek16s* p, Vek32s bit)
{
    const Vek32s value = Get(p);
    return (value < 0 ? -value : value) >> bit;
}

// 16 magnitudes, shifted, as bytes that are 0 or 1 where the magnitude is.
inline V ShiftedMagnitudes(const Vek16s* p, V bit)
{
    return Pack16sTo8s(ShiftRight16uBy(Abs16(LoadU(p)), bit), ShiftRight16uBy(Abs16(LoadU(p + 8)), bit));
}

// Where a block's magnitudes, shifted right by `bit`, are not zero, and where they are one.
struct MagnitudeSets {
    uint64_t nonZero = 0;
    uint64_t one = 0;

    MagnitudeSets(const Vek16s* block, Vek32s bit, bool wantsOnes)
    {
        if constexpr (kBlocks) {
            const V count = ShiftCount(bit);
            const V a = ShiftedMagnitudes(block, count), b = ShiftedMagnitudes(block + 16, count);
            const V c = ShiftedMagnitudes(block + 32, count), d = ShiftedMagnitudes(block + 48, count);
            nonZero = NonZeroInZigzag(a, b, c, d);
            if (wantsOnes) {
                const V ones = Splat8(1);
                one = NonZeroInZigzag(Equal8(a, ones), Equal8(b, ones), Equal8(c, ones), Equal8(d, ones));
            }
        } else {
            for (int z = 0; z < kBlockSize; ++z) {
                const Vek32s magnitude = ShiftedMagnitude(block + kNaturalOrder[z], bit);
                nonZero |= (uint64_t)(magnitude != 0) << z;
                one |= (uint64_t)(magnitude == 1) << z;
            }
        }
    }
};

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
