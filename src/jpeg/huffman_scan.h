// The walk over a block that the encoders of progressive scans share with the counters of symbols: what
// is a writer here either writes or counts.
#ifndef UVEK_JPEG_HUFFMAN_SCAN_H
#define UVEK_JPEG_HUFFMAN_SCAN_H

#include "jpeg/huffman_block.h"
#include "jpeg/huffman_writer.h"

namespace uvek::VEK_TIER_NAMESPACE {

constexpr Vek32u kSixteenZeros = 0xf0;
constexpr Vek32s kMaxRun = 32767;
constexpr Vek32s kMaxRunSize = 14;
// A block may add 63 bits to those that wait.
constexpr Vek32s kManyCorrections = 938;

// DC differences of up to 11 bits.
constexpr Vek32s kDcLimit = 1 << 11;

VEK_HOT Vek32s NextDcDifference(const Vek16s* src, Vek32s bit, Vek16s* lastDc)
{
    const Vek32s value = Get(src) >> bit, difference = value - Get(lastDc);
    Put(lastDc, (Vek16s)value);
    return difference;
}

// Writes the run of blocks without new coefficients, if there is one.
template <typename Writer>
__attribute__((noinline)) VekStatus PutRun(Writer& writer, const EncodeHuffmanSpec& table, EncodeHuffmanState* state)
{
    VekStatus status = StatusOk;
    if (state->eobRun == 0)
        return status;
    if (state->eobRun > kMaxRun) {
        status = writer.PutSymbol(table, 16 * kMaxRunSize);
        if (status >= 0)
            status = writer.PutBits((Vek32u)state->eobRun, kMaxRunSize);
        if (status < 0)
            return status;
        state->eobRun -= kMaxRun;
    }
    const Vek32s size = (Vek32s)BitLength((Vek32u)state->eobRun) - 1;
    if (size > kMaxRunSize)
        return StatusBitstreamEnd;
    status = writer.PutSymbol(table, (Vek32u)(16 * size));
    if (status >= 0 && size > 0)
        status = writer.PutBits((Vek32u)state->eobRun, size);
    if (status >= 0)
        state->eobRun = 0;
    return status;
}

// The run, and the correction bits that wait for it.
template <typename Writer>
VekStatus PutRunAndCorrections(Writer& writer, const EncodeHuffmanSpec& table, EncodeHuffmanState* state)
{
    const VekStatus status = PutRun(writer, table, state);
    return status < 0 ? status : writer.PutEach(state->correctionBits, &state->correctionCount);
}

template <typename Writer>
VEK_HOT VekStatus CodeAcFirst(Writer& writer, const EncodeHuffmanSpec& table, const Vek16s* src, Vek32s first, Vek32s last, Vek32s bit,
                              EncodeHuffmanState* state)
{
    VekStatus status = StatusOk;
    Vek32s next = first;
    for (uint64_t left = MagnitudeSets(src, bit, false).nonZero & From(first) & ~From(last + 1); left != 0; left &= left - 1) {
        const Vek32s at = __builtin_ctzll(left);
        Vek32s run = at - next;
        next = at + 1;
        if (state->eobRun != 0) {
            Writer copy = writer;
            status = PutRun(copy, table, state);
            writer = copy;
            if (status < 0)
                return status;
        }
        for (; run > 15; run -= 16) {
            status = writer.PutSymbol(table, kSixteenZeros);
            if (status < 0)
                return status;
        }
        const Vek16s* const p = src + kNaturalOrder[at];
        const Vek32s magnitude = ShiftedMagnitude(p, bit);
        if (magnitude >= 1 << Writer::kMaxValueSize)
            return StatusBitstreamEnd;
        status = writer.PutValue(table, (uint64_t)run, Get(p) < 0 ? -magnitude : magnitude);
        if (status < 0)
            return status;
    }
    if (next <= last && ++state->eobRun >= kMaxRun)
        status = PutRun(writer, table, state);
    return status;
}

template <typename Writer>
VEK_HOT VekStatus CodeAcRefine(Writer& writer, const EncodeHuffmanSpec& table, const Vek16s* src, Vek32s first, Vek32s last, Vek32s bit,
                               EncodeHuffmanState* state)
{
    const uint64_t band = From(first) & ~From(last + 1);
    MagnitudeSets sets(src, bit, true);
    const uint64_t one = sets.one & band;
    const Vek32s lastNew = one != 0 ? 63 - __builtin_clzll(one) : 0;

    // Only after calls that failed and were gone on with can there be more than a block may add to. A counter
    // keeps no bits and needs no room.
    constexpr Vek32s kRoom = sizeof state->correctionBits - (kBlockSize - 1);
    if (Writer::kKeepsBits && state->correctionCount > kRoom)
        return StatusBadCoderState;

    VekStatus status = StatusOk;
    Vek8u* bits = state->correctionBits + state->correctionCount;
    Vek32s bitCount = 0, run = 0, next = first;
    for (uint64_t left = sets.nonZero & band; left != 0; left &= left - 1) {
        const Vek32s at = __builtin_ctzll(left);
        run += at - next;
        next = at + 1;
        for (; run > 15 && at <= lastNew; run -= 16) {
            status = PutRunAndCorrections(writer, table, state);
            if (status >= 0)
                status = writer.PutSymbol(table, kSixteenZeros);
            if (status >= 0)
                status = writer.PutEach(bits, &bitCount);
            if (status < 0)
                return status;
            bits = state->correctionBits;
        }
        const Vek16s* const p = src + kNaturalOrder[at];
        if ((one >> at & 1) == 0) {
            writer.Keep(bits, bitCount++, ShiftedMagnitude(p, bit));
            continue;
        }
        status = PutRunAndCorrections(writer, table, state);
        if (status >= 0)
            status = writer.PutSymbol(table, (Vek32u)(16 * run + 1));
        if (status >= 0)
            status = writer.PutBits(Get(p) >= 0, 1);
        if (status >= 0)
            status = writer.PutEach(bits, &bitCount);
        if (status < 0)
            return status;
        bits = state->correctionBits;
        run = 0;
    }
    run += last + 1 - next;
    if (run > 0 || bitCount > 0) {
        ++state->eobRun;
        state->correctionCount += bitCount;
        if (state->eobRun >= kMaxRun || state->correctionCount >= kManyCorrections)
            status = PutRunAndCorrections(writer, table, state);
    }
    return status;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
