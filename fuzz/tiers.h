// What the fuzz targets share: an input read piece by piece, and the demand that all tiers do the same
// with it.
#ifndef UVEK_FUZZ_TIERS_H
#define UVEK_FUZZ_TIERS_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "frame/frame.h"
#include "support/huffman_cases.h"

namespace uvek::fuzz {

using namespace uvek::test;

class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    uint8_t Byte() { return size_ == 0 ? 0 : (--size_, *data_++); }
    Vek32s Below(Vek32s limit) { return Byte() % limit; }
    // The rest, against an inaccessible page.
    GuardedBytes Rest() const { return Guarded(Bytes(data_, data_ + size_)); }

private:
    const uint8_t* data_;
    size_t size_;
};

// Runs `trace`, which returns a Trace, on each tier.
template <typename Run>
void CompareTiers(Run&& run)
{
    Trace first;
    for (int tier = 0; tier < 4; ++tier) {
        vekTierIndex = tier;
        Trace trace = run();
        if (tier == 0)
            first = std::move(trace);
        else if (!(first == trace)) {
            std::fprintf(stderr, "tier %d differs from tier 0\n", tier);
            std::abort();
        }
    }
}

// Of both decoding states the fields that mean something.
inline void AddState(Trace& trace, const Record<DecodeHuffmanState>& state)
{
    trace.Add(state.get(), 20);
}

inline void AddBlock(Trace& trace, const Vek16s* block)
{
    trace.Add(block, 64 * sizeof *block);
}

// Lists need not be such as make a table.
struct TableOfLists {
    explicit TableOfLists(const HuffmanLists& lists) { status = vekiDecodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, record.get()); }
    Record<DecodeHuffmanSpec> record{vekiDecodeHuffmanSpecGetBufSize_JPEG_8u};
    VekStatus status;
};

// One page-guarded block, as mapping one for each run costs more than the run.
inline Vek16s* ClearedBlock()
{
    static const GuardedVector<Vek16s> block(64);
    std::memset((void*)block.data(), 0, 128);
    return block.data();
}

}  // namespace uvek::fuzz

#endif
