// The caller-owned records of the Huffman coders, and the zigzag order of a block.
#ifndef UVEK_JPEG_HUFFMAN_RECORDS_H
#define UVEK_JPEG_HUFFMAN_RECORDS_H

#include "frame/tier.h"
#include "uvek/jpeg.h"

struct DecodeHuffmanSpec {
    Vek16u symbols[256];     // in the order of their codes
    Vek32u fastLookup[256];  // by the next 8 bits: length << 16 | symbol, or 0 for a longer code
    Vek16u minCode[18];      // by length
    Vek16u maxCode[18];      // by length; kNoCode where there is none
    Vek16u symbolOffset[18];
};

struct DecodeHuffmanState {
    uint64_t bitBuffer;  // right-aligned, zero above bitCount bits
    Vek32s bitCount;
    Vek32s eobRun;
    Vek32s coefCount;
};

struct EncodeHuffmanSpec {
    Vek32u entries[256];  // by symbol: length << 16 | code, or 0
};

struct EncodeHuffmanState {
    uint64_t bitBuffer;  // bitCount bits from bit 23 downwards, zero below
    Vek32s bitCount;
    Vek32s eobRun;
    Vek32s correctionCount;
    Vek8u correctionBits[1024];
};

static_assert(sizeof(DecodeHuffmanSpec) == 1644 && sizeof(DecodeHuffmanState) == 24, "sizes are part of the contract");
static_assert(sizeof(EncodeHuffmanSpec) == 1024 && sizeof(EncodeHuffmanState) == 1048, "sizes are part of the contract");

// For the inner loops of the coders, whose reader or writer is to be held in registers.
#define VEK_HOT __attribute__((always_inline)) inline

namespace uvek::VEK_TIER_NAMESPACE {

constexpr Vek32s kBlockSize = 64;
constexpr Vek32s kMaxCodeLength = 16;
constexpr Vek16u kNoCode = 0xffff;

// What a corrupt run can reach from inside a block: 15 positions past the last.
constexpr Vek32s kZigzagReach = kBlockSize + 16;

// The natural position of each zigzag position. A short overrun lands on the last coefficient, a
// longer one is negative.
constexpr Vek8s kNaturalOrder[kZigzagReach] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13,
    6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51, 58, 59, 52, 45, 38, 31,
    39, 46, 53, 60, 61, 54, 47, 55, 62, 63, 63, 63, 63, 63, 63, 63, 63, 63, -1, -1, -1, -1, -1, -1, -1, -1};

// What a progressive scan may hold: a bit position, and zigzag positions without the first.
constexpr Vek32s kMaxBit = 13;

inline bool IsBand(Vek32s first, Vek32s last)
{
    return first >= 1 && first < kBlockSize && last >= first && last < kBlockSize;
}

inline void ClearState(DecodeHuffmanState* state)
{
    memset(state, 0, sizeof *state);
}

inline void ClearState(EncodeHuffmanState* state)
{
    memset(state, 0, sizeof *state);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
