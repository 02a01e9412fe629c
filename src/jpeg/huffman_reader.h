// Reads bits and Huffman codes from entropy-coded data. What a call has read, and where it stands, is
// the same however fast it got there: the buffer is only filled when bits are missing, up to 25 or more.
#ifndef UVEK_JPEG_HUFFMAN_READER_H
#define UVEK_JPEG_HUFFMAN_READER_H

#include "jpeg/huffman_records.h"

namespace uvek::VEK_TIER_NAMESPACE {

// It lives in registers only while its address is not taken; what is hot is inlined, what is not works
// on a copy.
class HuffmanReader {
public:
    HuffmanReader(const Vek8u* src, Vek32s length, const Vek32s* position, const Vek32s* marker, const DecodeHuffmanState* state)
        : next_(src + Get(position)),
          end_(src + length),
          bits_(state->bitBuffer << 1 << ((63 - state->bitCount) & 63)),
          count_(state->bitCount),
          marker_(Get(marker))
    {
        fastEnd_ = marker_ == 0 ? end_ : next_;
    }

    void Save(const Vek8u* src, Vek32s* position, Vek32s* marker, DecodeHuffmanState* state) const
    {
        Put(position, (Vek32s)(next_ - src));
        Put(marker, marker_);
        state->bitBuffer = bits_ >> 1 >> ((63 - count_) & 63);
        state->bitCount = count_;
    }

    // Reads the next symbol of `table`. A negative status ends the block.
    VEK_HOT VekStatus ReadSymbol(const DecodeHuffmanSpec& table, Vek32u* symbol)
    {
        *symbol = 0;
        if (__builtin_expect(count_ < 8, 0)) {
            const VekStatus status = Fill(0);
            if (status < 0)
                return status;
            if (count_ < 8)
                return ReadLongSymbol(table, 1, symbol);
        }
        const Vek32u entry = table.fastLookup[bits_ >> 56];
        if (__builtin_expect(entry == 0, 0))
            return ReadLongSymbol(table, 9, symbol);
        Drop((Vek32s)(entry >> 16));
        *symbol = entry & 0xffff;
        return StatusOk;
    }

    // Reads `size` bits, 1 to 16, as an unsigned number.
    VEK_HOT VekStatus ReadBits(Vek32s size, Vek32u* value)
    {
        const VekStatus status = Need(size);
        if (status < 0)
            return status;
        *value = (Vek32u)(bits_ >> (64 - size));
        Drop(size);
        return StatusOk;
    }

    // Reads the value that follows a symbol of `size`, 1 to 15: a clear first bit makes it negative.
    VEK_HOT VekStatus ReadValue(Vek32s size, Vek32s* value)
    {
        const VekStatus status = Need(size);
        if (status < 0)
            return status;
        // Negative values are the one's complement of their magnitude.
        const int64_t negative = ~((int64_t)bits_ >> 63);
        *value = (Vek32s)((int64_t)((bits_ ^ (uint64_t)negative) >> (64 - size)) ^ negative) - (Vek32s)negative;
        Drop(size);
        return StatusOk;
    }

private:
    void Drop(Vek32s size)
    {
        bits_ <<= size;
        count_ -= size;
    }

    VEK_HOT VekStatus Need(Vek32s size)
    {
        if (count_ >= size)
            return StatusOk;
        const VekStatus status = Fill(size);
        // A marker that has just been met does not fail the fill itself, whatever was needed.
        return status < 0 || count_ >= size ? status : StatusBitstreamEnd;
    }

    VEK_HOT VekStatus Fill(Vek32s needed)
    {
        if (kBlocks && fastEnd_ - next_ >= 4) {
            const Vek32u bytes = Get((const Vek32u*)next_);
            // Some byte is 0xff: its complement is zero, and only that borrows past a clear top bit.
            const bool hasStuffing = ((~bytes - 0x01010101u) & bytes & 0x80808080u) != 0;
            if (!hasStuffing) {
                // Bits beyond count_ are those of bytes not yet taken; to have them early does no harm,
                // as the same bytes come there again.
                bits_ |= (uint64_t)__builtin_bswap32(bytes) << 32 >> count_;
                const Vek32s taken = (32 - count_) >> 3;
                next_ += taken;
                count_ += taken * 8;
                return StatusOk;
            }
        }
        HuffmanReader copy = *this;
        const VekStatus status = copy.FillByBytes(needed);
        *this = copy;
        return status;
    }

    // Takes bytes one by one until there are 25 bits, a marker, or nothing left.
    __attribute__((noinline)) VekStatus FillByBytes(Vek32s needed)
    {
        const VekStatus tooFew = marker_ != 0 ? StatusBitstreamEnd : StatusBitstreamExhausted;
        if (marker_ == 0)
            while (count_ < 25 && next_ < end_) {
                Vek8u byte = *next_++;
                if (byte == 0xff) {
                    while (next_ < end_ && *next_ == 0xff)  // fill before a marker
                        ++next_;
                    if (next_ == end_)
                        return StatusBitstreamExhausted;
                    byte = *next_++;
                    if (byte != 0) {
                        marker_ = byte;
                        fastEnd_ = next_;
                        return StatusOk;
                    }
                    byte = 0xff;
                }
                bits_ |= (uint64_t)byte << (56 - count_);
                count_ += 8;
            }
        return needed > count_ ? tooFew : StatusOk;
    }

    // Codes that the lookup does not hold, bit by bit from `length` on.
    VEK_HOT VekStatus ReadLongSymbol(const DecodeHuffmanSpec& table, Vek32s length, Vek32u* symbol)
    {
        HuffmanReader copy = *this;
        Vek32u found = 0;
        const VekStatus status = copy.ReadByLength(table, length, &found);
        *this = copy;
        *symbol = found;
        return status;
    }

    __attribute__((noinline)) VekStatus ReadByLength(const DecodeHuffmanSpec& table, Vek32s length, Vek32u* symbol)
    {
        Vek32u code = 0;
        VekStatus status = ReadBits(length, &code);
        for (; status >= 0; ++length) {
            const Vek16u last = table.maxCode[length];
            if (last != kNoCode && code <= last) {
                *symbol = table.symbols[(Vek8u)(table.symbolOffset[length] - table.minCode[length] + code)];
                return StatusOk;
            }
            Vek32u bit = 0;
            status = ReadBits(1, &bit);
            if (length == kMaxCodeLength && status >= 0)
                return StatusBitstreamEnd;
            code = code << 1 | bit;
        }
        return status;
    }

    const Vek8u* next_;
    const Vek8u* end_;
    const Vek8u* fastEnd_;  // whole words may be taken up to here
    uint64_t bits_;  // left-aligned
    Vek32s count_;
    Vek32s marker_;
};

// Adds the next DC difference to *lastDc.
VEK_HOT VekStatus ReadDc(HuffmanReader& reader, const DecodeHuffmanSpec& table, Vek16s* lastDc)
{
    Vek32u symbol;
    const VekStatus status = reader.ReadSymbol(table, &symbol);
    const Vek32s size = symbol & 15;
    if (status < 0 || size == 0)
        return status;
    Vek32s difference;
    const VekStatus read = reader.ReadValue(size, &difference);
    if (read >= 0)
        Put(lastDc, (Vek16s)(Get(lastDc) + difference));
    return read;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
