// Writes bits and Huffman codes as entropy-coded data. Between calls only bits that do not make up a
// byte are pending.
#ifndef UVEK_JPEG_HUFFMAN_WRITER_H
#define UVEK_JPEG_HUFFMAN_WRITER_H

#include "frame/simd.h"
#include "jpeg/huffman_records.h"

namespace uvek::VEK_TIER_NAMESPACE {

// How many bits a number has.
constexpr Vek32u BitLength(Vek32u value)
{
    return value == 0 ? 0 : (Vek32u)(32 - __builtin_clz(value));
}

// A value's category, which is the length of its magnitude, and the bits that follow the category's
// code: those of the value, of one less where it is negative.
struct ValueCode {
    uint64_t category;
    uint64_t bits;
};

constexpr ValueCode CodeOfAnyValue(Vek32s value)
{
    const Vek32s sign = value >> 31;
    const Vek32u category = BitLength((Vek32u)((value ^ sign) - sign));
    return {category, (Vek32u)(value + sign) & ((1u << category) - 1)};
}

// All that 8-bit samples give.
constexpr Vek32s kSmallValue = 2048;

struct SmallValueCodes {
    Vek16u of[2 * kSmallValue];  // of -2048 to 2047: bits << 4 | category

    constexpr SmallValueCodes() : of()
    {
        for (Vek32s value = -kSmallValue; value < kSmallValue; ++value) {
            const ValueCode code = CodeOfAnyValue(value);
            of[value + kSmallValue] = (Vek16u)(code.bits << 4 | code.category);
        }
    }
};

constexpr SmallValueCodes kSmallValueCodes;

// The writer that looks at the room left before every byte; a put that fails leaves the state as it was.
class HuffmanWriter {
public:
    static constexpr Vek32s kMaxValueSize = 11;  // in progressive scans
    static constexpr bool kKeepsBits = true;     // in the state, until a run is written

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

    VekStatus PutSymbol(const EncodeHuffmanSpec& table, Vek32u symbol)
    {
        if (symbol > 255)
            return StatusBadHuffmanTable;
        const Vek32u entry = table.entries[symbol];
        return PutBits(entry & 0xffff, (Vek32s)(entry >> 16));
    }

    // The code for `run` zeros and a value, and the value's bits if it has any.
    VekStatus PutValue(const EncodeHuffmanSpec& table, uint64_t run, Vek32s value)
    {
        const ValueCode code = CodeOfAnyValue(value);
        const VekStatus status = PutSymbol(table, (Vek32u)(16 * run + code.category));
        return status < 0 || code.category == 0 ? status : PutBits((Vek32u)code.bits, (Vek32s)code.category);
    }

    // Writes the low bits of *count bytes and leaves in *count how many are still to come.
    VekStatus PutEach(const Vek8u* bits, Vek32s* count)
    {
        for (VekStatus status; *count > 0; --*count, ++bits) {
            status = PutBits(*bits, 1);
            if (status < 0)
                return status;
        }
        return StatusOk;
    }

    static void Keep(Vek8u* bits, Vek32s index, Vek32s bit) { bits[index] = (Vek8u)(bit & 1); }

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

// From 16 - n on: a mask of n bytes.
constexpr Vek8u kFirstBytes[32] = {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};

// The writer for calls that cannot run out of room: the caller has seen that kBlockRoom or kScanRoom
// bytes are left. What it writes goes to a buffer of its own, with no branch on the number of bytes, and
// from there to the destination. It leaves what the other writer would have left.
class FastHuffmanWriter {
public:
    static constexpr Vek32s kMaxValueSize = 11;
    static constexpr bool kKeepsBits = true;

    // A baseline block is 64 values, each a code and bits of up to 16, up to 3 codes for zeros, one for
    // its end, and what was pending. A progressive one may bring two runs of blocks with it, and all the
    // correction bits that a state can hold.
    static constexpr Vek32s kBlockBytes = 64 * (2 + 2) + 4 * 2 + 1;
    static constexpr Vek32s kScanBytes = kBlockBytes + 2 * 4 + sizeof(EncodeHuffmanState::correctionBits) / 8;
    // Every byte stuffed, and what Save rewrites behind them.
    static constexpr Vek32s kBlockRoom = 2 * kBlockBytes + 16;
    static constexpr Vek32s kScanRoom = 2 * kScanBytes + 16;

    struct Buffer {
        Vek8u bytes[kScanBytes + 16];
    };

    VEK_HOT FastHuffmanWriter(Buffer& buffer, const EncodeHuffmanState* state)
        : next_(buffer.bytes), bits_((Vek32u)state->bitBuffer >> (24 - state->bitCount)), count_((uint64_t)state->bitCount)
    {
    }

    VEK_HOT void Save(const Buffer& buffer, Vek8u* dst, Vek32s* position, EncodeHuffmanState* state) const
    {
        const Vek32s size = (Vek32s)(next_ - buffer.bytes);
        Put(position, Get(position) + CopyBytes(buffer.bytes, size, dst + Get(position)));
        state->bitBuffer = (bits_ & ((1u << count_) - 1)) << (24 - count_);
        state->bitCount = (Vek32s)count_;
    }

    VEK_HOT VekStatus PutSymbol(const EncodeHuffmanSpec& table, uint64_t symbol)
    {
        return PutEntry(table.entries[symbol], 0, 0);
    }

    VEK_HOT VekStatus PutValue(const EncodeHuffmanSpec& table, uint64_t run, Vek32s value)
    {
        if (__builtin_expect((Vek32u)(value + kSmallValue) >= 2 * kSmallValue, 0)) {
            const ValueCode code = CodeOfAnyValue(value);
            const uint64_t symbol = 16 * run + code.category;
            return symbol > 255 ? (VekStatus)StatusBadHuffmanTable : PutEntry(table.entries[symbol], code.bits, code.category);
        }
        const uint64_t code = (kSmallValueCodes.of + kSmallValue)[value];
        return PutEntry(table.entries[16 * run + (code & 15)], code >> 4, code & 15);
    }

    // 1 to 16 bits.
    VEK_HOT VekStatus PutBits(Vek32u value, Vek32s size)
    {
        Append(value & ((1u << size) - 1), (uint64_t)size);
        return StatusOk;
    }

    VEK_HOT VekStatus PutEach(const Vek8u* bits, Vek32s* count)
    {
        for (Vek32s i = 0; i < *count;) {
            const Vek32s size = Min(*count - i, 16);
            uint64_t value = 0;
            for (const Vek32s end = i + size; i < end; ++i)
                value = value << 1 | (bits[i] & 1);
            Append(value, (uint64_t)size);
        }
        *count = 0;
        return StatusOk;
    }

    static void Keep(Vek8u* bits, Vek32s index, Vek32s bit) { bits[index] = (Vek8u)(bit & 1); }

private:
    // A code of up to 16 bits and `size` more, up to 16.
    VEK_HOT VekStatus PutEntry(uint64_t entry, uint64_t bits, uint64_t size)
    {
        if (__builtin_expect(entry == 0, 0))
            return StatusBadHuffmanTable;
        Append((entry & 0xffff) << size | bits, (entry >> 16) + size);
        return StatusOk;
    }

    // Up to 32 bits, none above `size`.
    VEK_HOT void Append(uint64_t value, uint64_t size)
    {
        bits_ = bits_ << size | value;
        count_ += size;
        Put((uint64_t*)next_, (uint64_t)__builtin_bswap64(bits_ << (64 - count_)));
        next_ += count_ >> 3;
        count_ &= 7;
    }

    // Returns how many bytes they become.
    VEK_HOT static Vek32s CopyBytes(const Vek8u* src, Vek32s size, Vek8u* dst)
    {
        const V ff = Splat8(0xff);
        V found = Zero();
        Vek32s i = 0;
        for (; size - i >= 16; i += 16) {
            const V bytes = LoadU(src + i);
            found = Or(found, Equal8(bytes, ff));
            StoreU(dst + i, bytes);
        }
        // Sixteen bytes again, of which those behind the last keep what they hold.
        const V mask = LoadU(kFirstBytes + 16 - (size - i));
        const V bytes = And(mask, LoadU(src + i));
        found = Or(found, Equal8(bytes, ff));
        if (MoveMask8(found) != 0)
            return CopyStuffed(src, size, dst);
        StoreU(dst + i, Or(bytes, AndNot(mask, LoadU(dst + i))));
        return size;
    }

    static __attribute__((noinline)) Vek32s CopyStuffed(const Vek8u* src, Vek32s size, Vek8u* dst)
    {
        Vek8u* next = dst;
        for (Vek32s i = 0; i < size; ++i) {
            *next++ = src[i];
            if (src[i] == 0xff)
                *next++ = 0;
        }
        return (Vek32s)(next - dst);
    }

    Vek8u* next_;
    uint64_t bits_;  // right-aligned; above count_ stands what was stored
    uint64_t count_; // 0 to 7
};

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
