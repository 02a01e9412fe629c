// Writes bits and Huffman codes as entropy-coded data. Between calls only bits that do not make up a
// byte are pending.
#ifndef UVEK_JPEG_HUFFMAN_WRITER_H
#define UVEK_JPEG_HUFFMAN_WRITER_H

#include "jpeg/huffman_records.h"

namespace uvek::VEK_TIER_NAMESPACE {

// How many bits |value| has.
inline Vek32s BitLength(Vek32u magnitude)
{
    return magnitude == 0 ? 0 : 32 - __builtin_clz(magnitude);
}

// The category of a value, and the bits that follow its code: those of value - 1 for a negative one.
struct SignedValue {
    explicit SignedValue(Vek32s value)
    {
        const Vek32s sign = value >> 31;
        category = BitLength((Vek32u)((value ^ sign) - sign));
        bits = (Vek32u)(value + sign) & ((1u << category) - 1);
    }
    Vek32s category;
    Vek32u bits;
};

// The writer that looks at the room left before every byte; a put that fails leaves the state as it was.
class HuffmanWriter {
public:
    HuffmanWriter(Vek8u* dst, Vek32s length, Vek32s* position, EncodeHuffmanState* state)
        : dst_(dst), length_(length), position_(position), state_(state)
    {
    }

    VekStatus PutBits(Vek32u value, Vek32s size)
    {
        if (size == 0)
            return StatusBadHuffmanTable;
        Vek32s total = size + state_->bitCount;
        Vek32u window = (Vek32u)state_->bitBuffer | (value & ((1u << size) - 1)) << (24 - total);
        Vek32s at = Get(position_);
        for (; total >= 8; total -= 8) {
            const Vek8u byte = (Vek8u)(window >> 16);
            const bool hasRoom = at < length_ && (byte != 0xff || length_ - at > 1);
            if (at < length_)
                dst_[at++] = byte;
            if (hasRoom && byte == 0xff)
                dst_[at++] = 0;
            Put(position_, at);
            if (!hasRoom)
                return StatusBitstreamExhausted;
            window = window << 8 & 0xffffff;
        }
        state_->bitBuffer = window;
        state_->bitCount = total;
        return StatusOk;
    }

    // The code of `symbol`, then `size` bits.
    VekStatus PutSymbol(const EncodeHuffmanSpec& table, Vek32s symbol, Vek32u bits = 0, Vek32s size = 0)
    {
        if (symbol > 255)
            return StatusBadHuffmanTable;
        const Vek32u entry = table.entries[symbol];
        const VekStatus status = PutBits(entry & 0xffff, (Vek32s)(entry >> 16));
        return status < 0 || size == 0 ? status : PutBits(bits, size);
    }

    // A partial byte is padded with ones; the state is cleared in any case.
    VekStatus Flush()
    {
        const VekStatus status = PutBits(0x7f, 7);
        ClearState(state_);
        return status;
    }

private:
    Vek8u* dst_;
    Vek32s length_;
    Vek32s* position_;
    EncodeHuffmanState* state_;
};

// The writer for calls that cannot run out of room: the caller has seen that kRoomPerBlock bytes are
// left. It gathers 64 bits before it stores and leaves what the other writer would have left.
class FastHuffmanWriter {
public:
    // 64 values, each a code and bits of up to 16; up to 3 codes for zeros, one for the end, and what
    // was pending; every byte stuffed.
    static constexpr Vek32s kRoomPerBlock = 2 * (64 * (2 + 2) + 4 * 2 + 1);

    FastHuffmanWriter(Vek8u* dst, const Vek32s* position, const EncodeHuffmanState* state)
        : next_(dst + Get(position)), bits_(state->bitBuffer >> (24 - state->bitCount)), count_(state->bitCount)
    {
    }

    void Save(Vek8u* dst, Vek32s* position, EncodeHuffmanState* state)
    {
        StoreWholeBytes();
        Put(position, (Vek32s)(next_ - dst));
        state->bitBuffer = (bits_ & ((1u << count_) - 1)) << (24 - count_);
        state->bitCount = count_;
    }

    VekStatus PutSymbol(const EncodeHuffmanSpec& table, Vek32s symbol, Vek32u bits = 0, Vek32s size = 0)
    {
        if (symbol > 255)
            return StatusBadHuffmanTable;
        const Vek32u entry = table.entries[symbol];
        if (entry == 0)
            return StatusBadHuffmanTable;
        Append((entry & 0xffff) << size | bits, (Vek32s)(entry >> 16) + size);
        return StatusOk;
    }

private:
    // Up to 32 bits, none above `size`.
    void Append(Vek32u value, Vek32s size)
    {
        const Vek32s free = 64 - count_;
        if (size < free) {
            bits_ = bits_ << size | value;
            count_ += size;
            return;
        }
        // `size` is at least `free`, which is at least 1.
        const Vek32s rest = size - free;
        Store8(bits_ << free | value >> rest);
        bits_ = value;  // its upper bits have gone out and will fall off
        count_ = rest;
    }

    void Store8(uint64_t bytes)
    {
        const bool hasFf = ((~bytes - 0x0101010101010101u) & bytes & 0x8080808080808080u) != 0;
        if (!hasFf) {
            Put((uint64_t*)next_, (uint64_t)__builtin_bswap64(bytes));
            next_ += 8;
        } else {
            next_ = StoreStuffed(next_, bytes, 8);
        }
    }

    void StoreWholeBytes()
    {
        const Vek32s whole = count_ >> 3;
        count_ &= 7;
        const uint64_t bytes = whole == 0 ? 0 : bits_ >> count_ << (64 - 8 * whole);
        if (((~bytes - 0x0101010101010101u) & bytes & 0x8080808080808080u) != 0) {
            next_ = StoreStuffed(next_, bytes, whole);
            return;
        }
        // In pieces, as nothing is to be written behind the last whole byte.
        uint64_t left = __builtin_bswap64(bytes);
        if (whole & 4) {
            Put((Vek32u*)next_, (Vek32u)left);
            left >>= 32;
            next_ += 4;
        }
        if (whole & 2) {
            Put((Vek16u*)next_, (Vek16u)left);
            left >>= 16;
            next_ += 2;
        }
        if (whole & 1)
            *next_++ = (Vek8u)left;
    }

    // The upper `size` bytes, a zero behind each 0xff.
    static __attribute__((noinline)) Vek8u* StoreStuffed(Vek8u* next, uint64_t bytes, Vek32s size)
    {
        for (; size > 0; --size, bytes <<= 8) {
            const Vek8u byte = (Vek8u)(bytes >> 56);
            *next++ = byte;
            if (byte == 0xff)
                *next++ = 0;
        }
        return next;
    }

    Vek8u* next_;
    uint64_t bits_;  // right-aligned; above count_ stands what was stored
    Vek32s count_;   // at most 63
};

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
