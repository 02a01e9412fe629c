// Tables, bit strings and blocks for tests of the Huffman coders.
#ifndef UVEK_TESTS_SUPPORT_HUFFMAN_CASES_H
#define UVEK_TESTS_SUPPORT_HUFFMAN_CASES_H

#include <cstring>
#include <initializer_list>
#include <string>

#include "support/jpeg_file.h"
#include "support/random.h"

namespace uvek::test {

// The luminance tables of ISO/IEC 10918-1 Annex K.3, for cases worked by hand.
inline HuffmanLists StandardDc()
{
    return {{0, 1, 5, 1, 1, 1, 1, 1, 1}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
}

inline HuffmanLists StandardAc()
{
    return {{0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125},
            {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07, 0x22, 0x71, 0x14, 0x32,
             0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52, 0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16,
             0x17, 0x18, 0x19, 0x1a, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45,
             0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69,
             0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94,
             0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6,
             0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8,
             0xd9, 0xda, 0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8,
             0xf9, 0xfa}};
}

// One code for each of `symbols`, all of `length` bits.
inline HuffmanLists CodesOfLength(int length, std::vector<Vek8u> symbols)
{
    HuffmanLists lists;
    lists.bits[length - 1] = (Vek8u)symbols.size();
    std::copy(symbols.begin(), symbols.end(), lists.vals);
    return lists;
}

// A code for each symbol, of 2 to 12 bits; those of the first are the shortest.
inline HuffmanLists AllSymbols()
{
    HuffmanLists lists = {{0, 1, 1, 1, 1, 0, 0, 0, 200, 0, 0, 52}, {0x01, 0x00, 0x11, 0x02}};
    for (int symbol = 3, next = 4; symbol < 256; ++symbol)
        if (symbol != 0x11)
            lists.vals[next++] = (Vek8u)symbol;
    return lists;
}

inline GuardedBytes Guarded(const Bytes& bytes)
{
    GuardedBytes guarded(bytes.size());
    std::copy(bytes.begin(), bytes.end(), guarded.data());
    return guarded;
}

// Bytes from digits, blanks aside, padded with zeros; 0xff is not stuffed.
inline Bytes Bits(const std::string& digits)
{
    Bytes bytes;
    int count = 0;
    for (const char digit : digits)
        if (digit != ' ') {
            if (count % 8 == 0)
                bytes.push_back(0);
            bytes.back() |= (uint8_t)((digit - '0') << (7 - count++ % 8));
        }
    return bytes;
}

// What calls leave behind, to be compared between tiers.
struct Trace {
    void Add(const void* p, size_t size) { bytes.insert(bytes.end(), (const uint8_t*)p, (const uint8_t*)p + size); }
    void Add(std::initializer_list<Vek32s> numbers) { Add(numbers.begin(), numbers.size() * sizeof(Vek32s)); }
    friend bool operator==(const Trace& a, const Trace& b) { return a.bytes == b.bytes; }

    Bytes bytes;
};

constexpr ScanKind kBaseline{}, kDcFirst{true, 0, 0, 0, 0}, kDcRefine{true, 0, 0, 1, 0}, kAcFirst{true, 1, 63, 0, 0}, kAcRefine{true, 1, 63, 1, 0};

constexpr ScanKind Band(const ScanKind& kind, Vek32s ss, Vek32s se, Vek32s al)
{
    return {true, ss, se, kind.ah, al};
}

// A decoder with its tables and a guarded block. The state's fields are known to callers as bytes only.
struct TestDecoder : BlockDecoder {
    explicit TestDecoder(const HuffmanLists& dcLists = StandardDc(), const HuffmanLists& acLists = StandardAc(), Flush flush = Flush::End)
        : dc(DecodeTable(dcLists)), ac(DecodeTable(acLists)), block(64, flush)
    {
    }
    VekStatus Block(const GuardedBytes& data, const ScanKind& kind = kBaseline)
    {
        return Decode(kind, data.data(), (Vek32s)data.size(), block.data(), &lastDc, dc.get(), ac.get());
    }
    Vek32s bitCount() const { return ((const Vek32s*)state.get())[2]; }
    Vek32s eobRun() const { return ((const Vek32s*)state.get())[3]; }
    Vek32s coefCount() const { return ((const Vek32s*)state.get())[4]; }

    Record<DecodeHuffmanSpec> dc, ac;
    GuardedVector<Vek16s> block;
    Vek16s lastDc = 0;
};

// An encoder with its tables and a guarded buffer.
struct TestEncoder : BlockEncoder {
    explicit TestEncoder(size_t room, const HuffmanLists& dcLists = StandardDc(), const HuffmanLists& acLists = StandardAc())
        : dc(EncodeTable(dcLists)), ac(EncodeTable(acLists)), data(room)
    {
        std::memset(data.data(), 0x5a, room);
    }
    VekStatus Block(const Vek16s* block, const ScanKind& kind = kBaseline, Vek32s flush = 0)
    {
        return Encode(kind, data.data(), (Vek32s)data.size(), block, &lastDc, dc.get(), ac.get(), flush);
    }
    VekStatus Flush(const ScanKind& kind = kBaseline) { return Block(nullptr, kind, 1); }
    Bytes written() const { return Bytes(data.data(), data.data() + position); }
    Vek32s bitCount() const { return ((const Vek32s*)state.get())[2]; }
    Vek32s eobRun() const { return ((const Vek32s*)state.get())[3]; }
    Vek32s correctionCount() const { return ((const Vek32s*)state.get())[4]; }

    Record<EncodeHuffmanSpec> dc, ac;
    GuardedBytes data;
    Vek16s lastDc = 0;
};

inline void RandomBlock(std::mt19937& random, Vek16s (&block)[64])
{
    const unsigned density = random() % 65, size = 1 + random() % 11;
    for (Vek16s& c : block)
        c = random() % 64 < density ? (Vek16s)((int)(random() % (2u << size)) - (1 << size)) : (Vek16s)0;
    if (random() % 100 == 0)
        block[random() % 64] = -32768;
}

}  // namespace uvek::test

#endif
