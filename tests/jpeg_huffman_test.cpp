#include "support/huffman_cases.h"

#include <gmock/gmock.h>

#include "support/tiers.h"
#ifdef UVEK_HAVE_LIBJPEG
#include "support/libjpeg_peer.h"
#endif

namespace uvek::test {
namespace {

class JpegHuffmanTest : public TierTest {};

struct Decoder {
    explicit Decoder(const HuffmanLists& dcLists = StandardDc(), const HuffmanLists& acLists = StandardAc())
    {
        EXPECT_EQ(StatusOk, vekiDecodeHuffmanSpecInit_JPEG_8u(dcLists.bits, dcLists.vals, dc.get()));
        EXPECT_EQ(StatusOk, vekiDecodeHuffmanSpecInit_JPEG_8u(acLists.bits, acLists.vals, ac.get()));
    }
    VekStatus Block(const GuardedBytes& data)
    {
        return vekiDecodeHuffman8x8_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &position, block, &lastDc, &marker, dc.get(), ac.get(),
                                                  state.get());
    }
    VekStatus One(const GuardedBytes& data, Vek16s* value)
    {
        return vekiDecodeHuffmanOne_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &position, value, &marker, dc.get(), state.get());
    }
    // The state's fields, which callers know as bytes only.
    Vek32s field(size_t offset) const
    {
        Vek32s value;
        std::memcpy(&value, (const char*)state.get() + offset, sizeof value);
        return value;
    }
    Vek32s bitCount() const { return field(8); }
    Vek32s coefCount() const { return field(16); }

    Record<DecodeHuffmanSpec> dc{vekiDecodeHuffmanSpecGetBufSize_JPEG_8u}, ac{vekiDecodeHuffmanSpecGetBufSize_JPEG_8u};
    Record<DecodeHuffmanState> state{vekiDecodeHuffmanStateGetBufSize_JPEG_8u};
    Vek32s position = 0, marker = 0;
    Vek16s lastDc = 0;
    Vek16s block[64] = {};
};

struct Encoder {
    explicit Encoder(const HuffmanLists& dcLists = StandardDc(), const HuffmanLists& acLists = StandardAc())
    {
        EXPECT_EQ(StatusOk, vekiEncodeHuffmanSpecInit_JPEG_8u(dcLists.bits, dcLists.vals, dc.get()));
        EXPECT_EQ(StatusOk, vekiEncodeHuffmanSpecInit_JPEG_8u(acLists.bits, acLists.vals, ac.get()));
    }
    VekStatus Block(const GuardedBytes& data, const Vek16s* block, Vek32s flush = 0)
    {
        return vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, data.data(), (Vek32s)data.size(), &position, &lastDc, dc.get(), ac.get(),
                                                  state.get(), flush);
    }
    Record<EncodeHuffmanSpec> dc{vekiEncodeHuffmanSpecGetBufSize_JPEG_8u}, ac{vekiEncodeHuffmanSpecGetBufSize_JPEG_8u};
    Record<EncodeHuffmanState> state{vekiEncodeHuffmanStateGetBufSize_JPEG_8u};
    Vek32s position = 0;
    Vek16s lastDc = 0;
};

TEST_P(JpegHuffmanTest, RecordsHaveTheirSizesAndStartClear)
{
    Vek32s size = 0;
    EXPECT_EQ(StatusOk, vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size));
    EXPECT_EQ(1644, size);
    EXPECT_EQ(StatusOk, vekiDecodeHuffmanStateGetBufSize_JPEG_8u(&size));
    EXPECT_EQ(24, size);
    EXPECT_EQ(StatusOk, vekiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size));
    EXPECT_EQ(1024, size);
    EXPECT_EQ(StatusOk, vekiEncodeHuffmanStateGetBufSize_JPEG_8u(&size));
    EXPECT_EQ(1048, size);
    EXPECT_EQ(StatusNullPointer, vekiEncodeHuffmanStateGetBufSize_JPEG_8u(nullptr));
    EXPECT_EQ(StatusNullPointer, vekiDecodeHuffmanStateInit_JPEG_8u(nullptr));
    Record<EncodeHuffmanState> state(vekiEncodeHuffmanStateGetBufSize_JPEG_8u), clear = state;
    std::memset((void*)state.get(), 0xa5, 1048);
    EXPECT_EQ(StatusOk, vekiEncodeHuffmanStateInit_JPEG_8u(state.get()));
    EXPECT_EQ(0, std::memcmp(state.get(), clear.get(), 1044));
}

TEST_P(JpegHuffmanTest, TableBuildersRefuseWhatDoesNotFit)
{
    Record<DecodeHuffmanSpec> decode(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u);
    Record<EncodeHuffmanSpec> encode(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u);
    struct { const char* name; HuffmanLists lists; VekStatus decoder, encoder; } cases[] = {
        {"no codes", {}, StatusOk, StatusOk},
        {"256 codes", {{0, 0, 0, 0, 0, 0, 0, 0, 1, 255}, {}}, StatusOk, StatusOk},
        {"257 codes", {{0, 0, 0, 0, 0, 0, 0, 0, 2, 255}, {}}, StatusBadHuffmanTable, StatusBadHuffmanTable},
        {"all ones", {{2}, {}}, StatusOk, StatusBadHuffmanTable},
        {"all ones of 16 bits", {{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2}, {}}, StatusOk, StatusBadHuffmanTable},
        {"three of one bit", {{3}, {}}, StatusBadHuffmanTable, StatusBadHuffmanTable},
        {"over-full beyond 8 bits", {{2, 0, 0, 0, 0, 0, 0, 0, 5}, {}}, StatusOk, StatusBadHuffmanTable},
        {"one too many of 8 bits", {{1, 1, 1, 1, 1, 1, 1, 3}, {}}, StatusOk, StatusBadHuffmanTable},
        {"two too many of 8 bits", {{1, 1, 1, 1, 1, 1, 1, 4}, {}}, StatusBadHuffmanTable, StatusBadHuffmanTable},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.decoder, vekiDecodeHuffmanSpecInit_JPEG_8u(c.lists.bits, c.lists.vals, decode.get())) << c.name;
        EXPECT_EQ(c.encoder, vekiEncodeHuffmanSpecInit_JPEG_8u(c.lists.bits, c.lists.vals, encode.get())) << c.name;
    }
    const HuffmanLists lists = StandardDc();
    EXPECT_EQ(StatusNullPointer, vekiDecodeHuffmanSpecInit_JPEG_8u(nullptr, lists.vals, decode.get()));
    EXPECT_EQ(StatusNullPointer, vekiDecodeHuffmanSpecInit_JPEG_8u(lists.bits, nullptr, decode.get()));
    EXPECT_EQ(StatusNullPointer, vekiEncodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, nullptr));

    // A symbol that is listed twice keeps its last code, 01.
    const HuffmanLists twice = CodesOfLength(2, {7, 7});
    ASSERT_EQ(StatusOk, vekiEncodeHuffmanSpecInit_JPEG_8u(twice.bits, twice.vals, encode.get()));
    EXPECT_EQ(2u << 16 | 1, ((const Vek32u*)encode.get())[7]);
    EXPECT_EQ(0u, ((const Vek32u*)encode.get())[0]);
}

TEST_P(JpegHuffmanTest, OptimisedListsFollowTheStatistics)
{
    std::vector<Vek32s> counters(257);
    HuffmanLists lists;
    EXPECT_EQ(StatusNullPointer, vekiEncodeHuffmanRawTableInit_JPEG_8u(nullptr, lists.bits, lists.vals));
    EXPECT_EQ(StatusOk, vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals));
    EXPECT_EQ(HuffmanLists(), lists);
    counters[9] = 5;
    counters[256] = 1000;
    ASSERT_EQ(StatusOk, vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals));
    EXPECT_EQ(CodesOfLength(1, {9}), lists);
    // The reserved symbol (1) joins 30, the higher of two that occur twice; those three, 20 and the one
    // of 9 make lengths 1, 2, 3 and 4, the reserved one falling away.
    counters[10] = 2;
    counters[30] = 2;
    counters[9] = 9;
    ASSERT_EQ(StatusOk, vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals));
    EXPECT_EQ((HuffmanLists{{1, 1, 1}, {9, 10, 30}}), lists);

    // Counters that grow like Fibonacci's make the deepest tree: cut to 16 bits it still is a code.
    Vek32s a = 1, b = 1;
    for (int symbol = 0; symbol < 30; ++symbol) {
        counters[(size_t)symbol] = a;
        std::swap(a, b);
        b += a;
    }
    ASSERT_EQ(StatusOk, vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals));
    EXPECT_GT(lists.bits[15], 0);
    const Encoder encoder(lists, lists);
    const Decoder decoder(lists, lists);
    // If each counter is above the sum of all but the one before it, the tree is a single chain, and
    // beyond 32 bits there is no help.
    Vek32s sum = 1, sumBefore = 0;
    for (int symbol = 0; symbol < 42; ++symbol) {
        counters[(size_t)symbol] = sumBefore + 1;
        sumBefore = sum;
        sum += counters[(size_t)symbol];
    }
    EXPECT_EQ(StatusBadHuffmanTable, vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals));
}

TEST_P(JpegHuffmanTest, ReaderStopsWhereItsBitsEnd)
{
    // Difference 0 and end of block: 00 1010, twelve bits for two blocks, then ones.
    Decoder d;
    GuardedBytes data = Guarded({0x28, 0xaf});
    EXPECT_EQ(StatusOk, d.Block(data));
    EXPECT_EQ(1, d.coefCount());
    EXPECT_EQ(10, d.bitCount());
    EXPECT_EQ(StatusOk, d.Block(data));
    EXPECT_EQ(4, d.bitCount());
    EXPECT_EQ(2, d.position);
    EXPECT_EQ(StatusBitstreamExhausted, d.Block(data));
    EXPECT_EQ(0, d.coefCount());

    const struct { const char* name; Bytes bytes; VekStatus status; Vek32s position, marker, bits; } cases[] = {
        {"marker met", {0x28, 0xff, 0xd3, 0x12}, StatusOk, 3, 0xd3, 2},
        {"fill and marker", {0x28, 0xff, 0xff, 0xff, 0xd3}, StatusOk, 5, 0xd3, 2},
        {"fill and stuffing", {0x28, 0xff, 0xff, 0x00, 1, 2, 3}, StatusOk, 6, 0, 26},
        {"marker not reached", {0x28, 1, 2, 3, 0xff, 0xd3}, StatusOk, 4, 0, 26},
        {"lone ff at the end", {0x28, 0xff}, StatusBitstreamExhausted, 2, 0, 8},
        {"nothing but fill", {0xff, 0xff, 0xff}, StatusBitstreamExhausted, 3, 0, 0},
        {"marker at once", {0xff, 0xd9, 0x28}, StatusBitstreamEnd, 2, 0xd9, 0},
        {"marker within a value", {0xea, 0xff, 0xd9}, StatusBitstreamEnd, 3, 0xd9, 4},
        {"no such code", {0xff, 0x00, 0xff, 0x00, 0xff, 0x00, 0}, StatusBitstreamEnd, 7, 0, 15},
    };
    for (const auto& c : cases)
        for (const size_t behind : {(size_t)0, (size_t)40}) {  // near the end of the data, and far from it
            if (behind > 0 && c.status == StatusBitstreamExhausted)
                continue;
            Bytes bytes = c.bytes;
            bytes.resize(bytes.size() + behind);
            Decoder decoder;
            EXPECT_EQ(c.status, decoder.Block(Guarded(bytes))) << c.name;
            EXPECT_EQ(c.position, decoder.position) << c.name;
            EXPECT_EQ(c.marker, decoder.marker) << c.name;
            EXPECT_EQ(c.bits, decoder.bitCount()) << c.name;
        }
    Decoder empty;
    Vek8u none = 0;
    EXPECT_EQ(StatusBitstreamExhausted,
              vekiDecodeHuffman8x8_JPEG_1u16s_C1(&none, 0, &empty.position, empty.block, &empty.lastDc, &empty.marker, empty.dc.get(),
                                                 empty.ac.get(), empty.state.get()));
}

TEST_P(JpegHuffmanTest, LosslessDifferencesEndAtCategory16)
{
    // 00000000 is category 15, 00000001 is 16, which has no bits, 00000010 is 0.
    const HuffmanLists lists = CodesOfLength(8, {15, 16, 0});
    Decoder d(lists, lists);
    Vek16s value = 0;
    const GuardedBytes data = Guarded(Bits("00000001 00000000 100000000000001 00000010 00000000 010101010101010 0"));
    for (const Vek16s expected : {-32768, 16385, 0, -21845}) {
        ASSERT_EQ(StatusOk, d.One(data, &value));
        EXPECT_EQ(expected, value);
    }

    // The refill for a value meets the marker first and is still short of bits.
    Decoder cut(lists, lists);
    const GuardedBytes marked = Guarded({0, 0, 0, 0, 0, 0xff, 0xd9});
    ASSERT_EQ(StatusOk, cut.One(marked, &value));
    value = 77;
    EXPECT_EQ(StatusBitstreamEnd, cut.One(marked, &value));
    EXPECT_EQ(77, value);
    EXPECT_EQ(0xd9, cut.marker);
    EXPECT_EQ(7, cut.position);

    // All 65536 differences there and back.
    HuffmanLists all = CodesOfLength(5, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    Encoder encoder(all, all);
    const GuardedBytes written(65536 * 3);
    for (Vek32s i = -32768; i < 32768; ++i) {
        const Vek16s difference = (Vek16s)i;
        ASSERT_EQ(StatusOk, vekiEncodeHuffmanOne_JPEG_16s1u_C1(&difference, written.data(), (Vek32s)written.size(), &encoder.position,
                                                              encoder.dc.get(), encoder.state.get(), 0));
    }
    ASSERT_EQ(StatusOk, vekiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, written.data(), (Vek32s)written.size(), &encoder.position, nullptr,
                                                          encoder.state.get(), 1));
    Decoder back(all, all);
    for (Vek32s i = -32768; i < 32768; ++i) {
        ASSERT_EQ(StatusOk, back.One(written, &value));
        ASSERT_EQ(i, value);
    }
}

TEST_P(JpegHuffmanTest, RunsPastTheBlockStayInIt)
{
    const HuffmanLists dc = CodesOfLength(1, {0}), ac = CodesOfLength(4, {0x00, 0xf0, 0xf1, 0xe1, 0x01});
    const std::string to49 = "0 0001 0001 0001 ", one = "0100 1 ", after14 = "0011 1 ", after15 = "0010 1 ";
    const std::string eight = one + one + one + one + one + one + one + one;
    const struct { const char* name; std::string bits; VekStatus status; Vek16s last; } cases[] = {
        {"the last position", to49 + after14, StatusOk, 1},
        {"the first outside", to49 + after15, StatusOk, 1},
        {"eight past", to49 + eight + after14, StatusOk, 1},
        {"nine past", to49 + eight + one + after14, StatusBadCoderState, 0},
        {"sixteen zeros past", to49 + "0001", StatusOk, 0},
    };
    for (const auto& c : cases)
        for (const size_t behind : {(size_t)0, (size_t)40}) {
            Bytes bytes = Bits(c.bits);
            bytes.resize(bytes.size() + behind);
            Decoder d(dc, ac);
            EXPECT_EQ(c.status, d.Block(Guarded(bytes))) << c.name;
            EXPECT_EQ(64, d.coefCount()) << c.name;
            EXPECT_EQ(c.last, d.block[63]) << c.name;
        }
}

TEST_P(JpegHuffmanTest, WriterKeepsItsBitsWhenTheBufferIsFull)
{
    const Vek16s zeros[64] = {};
    const Record<EncodeHuffmanState> clear(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    Encoder e;
    const GuardedBytes one(1);
    EXPECT_EQ(StatusOk, e.Block(one, nullptr, 1));  // nothing pending, nothing written
    EXPECT_EQ(0, e.position);
    ASSERT_EQ(StatusOk, e.Block(one, zeros));       // 00 1010
    ASSERT_EQ(StatusOk, e.Block(one, zeros));       // 00, a byte; 1010 is pending
    ASSERT_EQ(1, e.position);
    EXPECT_EQ(0x28, one.data()[0]);
    EXPECT_EQ(StatusBitstreamExhausted, e.Block(one, zeros));  // 00 is pending too, 1010 does not fit
    EXPECT_EQ(1, e.position);
    EXPECT_EQ(0xa00000u, (Vek32u)(*(const uint64_t*)e.state.get()));
    EXPECT_EQ(6, ((const Vek32s*)e.state.get())[2]);
    EXPECT_EQ(StatusBitstreamExhausted, e.Block(one, nullptr, 1));
    EXPECT_EQ(clear, e.state);

    // A partial byte is padded with ones; if that makes 0xff its zero needs room as well.
    Encoder padded;
    const GuardedBytes two(2);
    ASSERT_EQ(StatusOk, padded.Block(two, zeros));
    EXPECT_EQ(StatusOk, padded.Block(two, nullptr, 1));
    EXPECT_EQ((Bytes{0x2b}), Bytes(two.data(), two.data() + padded.position));
    Encoder ones(CodesOfLength(4, {9, 8, 7, 6, 5, 4, 3, 2, 1, 11, 12, 13, 14, 15, 0}), CodesOfLength(3, {9, 8, 7, 6, 5, 4, 0}));
    ASSERT_EQ(StatusOk, ones.Block(one, zeros));  // 1110 110
    EXPECT_EQ(StatusOk, ones.Block(one, nullptr, 1));
    EXPECT_EQ(0xed, one.data()[0]);
    Encoder stuffed(CodesOfLength(2, {9, 8, 0}), CodesOfLength(2, {9, 8, 0}));
    const Vek16s minusOne[64] = {};
    ASSERT_EQ(StatusOk, stuffed.Block(two, minusOne));
    EXPECT_EQ(StatusOk, stuffed.Block(two, nullptr, 1));
    EXPECT_EQ((Bytes{0xaf}), Bytes(two.data(), two.data() + stuffed.position));

    // Values without a code.
    Vek16s block[64] = {};
    block[12] = -32768;  // after fifteen zeros there is no symbol for its category
    Encoder rich;
    const GuardedBytes room(2000);
    EXPECT_EQ(StatusBadHuffmanTable, rich.Block(room, block));
    block[12] = 0;
    block[0] = 32767;
    EXPECT_EQ(StatusBadHuffmanTable, rich.Block(room, block));
    EXPECT_EQ(32767, rich.lastDc);
}

TEST_P(JpegHuffmanTest, EncoderEqualsTier0WhereverTheBufferEnds)
{
    std::mt19937 random(Seed());
    for (int i = 0; i < 400; ++i) {
        const uint32_t seed = (uint32_t)random();
        const auto encode = [&] {
            std::mt19937 r(seed);
            const GuardedBytes data(r() % 3 ? 1 + r() % 700 : 4000);
            std::memset(data.data(), 0x5a, data.size());
            Encoder e;
            Trace trace;
            GuardedVector<Vek16s> guarded(64, Flush::End, (int)(r() % 2));
            for (int n = 0; n < 12; ++n) {
                Vek16s block[64];
                RandomBlock(r, block);
                std::memcpy((void*)guarded.data(), block, sizeof block);
                trace.numbers.push_back(e.Block(data, guarded.data()));
                trace.numbers.insert(trace.numbers.end(), {e.position, e.lastDc});
                const uint8_t* const state = (const uint8_t*)e.state.get();
                trace.bytes.insert(trace.bytes.end(), state, state + 20);
            }
            trace.bytes.insert(trace.bytes.end(), data.data(), data.data() + data.size());
            EXPECT_TRUE(data.IsSlackIntact());
            return trace;
        };
        ASSERT_EQ(OnTier(0, encode), encode()) << "seed " << Seed() << " round " << i;
    }
}

TEST_P(JpegHuffmanTest, CorruptDataGivesWhatTier0GivesAndNothingOutside)
{
    std::mt19937 random(Seed());
    Bytes good(6000);
    {
        Encoder e;
        const GuardedBytes data(good.size());
        for (int n = 0; n < 25; ++n) {
            Vek16s block[64];
            RandomBlock(random, block);
            std::replace(std::begin(block), std::end(block), (Vek16s)-32768, (Vek16s)0);
            for (Vek16s& c : block)
                c = (Vek16s)(c / 4);
            ASSERT_EQ(StatusOk, e.Block(data, block));
        }
        ASSERT_EQ(StatusOk, e.Block(data, nullptr, 1));
        good.assign(data.data(), data.data() + e.position);
    }
    int failures = 0;
    const GuardedVector<Vek16s> blocks[2] = {GuardedVector<Vek16s>(64, Flush::Start), GuardedVector<Vek16s>(64, Flush::End)};
    for (int i = 0; i < 10000; ++i) {
        Bytes bad = good;
        for (unsigned faults = 1 + random() % 3; faults > 0; --faults) {
            const size_t at = random() % bad.size();
            switch (random() % 4) {
            case 0: bad[at] = (uint8_t)random(); break;
            case 1: bad[at] = 0xff; break;
            case 2: bad.resize(at + 1); break;
            default: bad[at] ^= (uint8_t)(1u << random() % 8); break;
            }
        }
        const GuardedBytes data = Guarded(bad);
        const auto decode = [&] {
            Decoder d;
            Trace trace;
            for (int n = 0; n < 26; ++n) {
                const GuardedVector<Vek16s>& block = blocks[n % 2];
                const VekStatus status = vekiDecodeHuffman8x8_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &d.position, block.data(),
                                                                            &d.lastDc, &d.marker, d.dc.get(), d.ac.get(), d.state.get());
                trace.numbers.insert(trace.numbers.end(), {status, d.position, d.lastDc, d.marker, d.bitCount(), d.coefCount()});
                trace.bytes.insert(trace.bytes.end(), (uint8_t*)block.data(), (uint8_t*)(block.data() + 64));
                failures += status < 0;
            }
            return trace;
        };
        ASSERT_EQ(OnTier(0, decode), decode()) << "seed " << Seed() << " round " << i;
    }
    EXPECT_GT(failures, 10000);
}

TEST_P(JpegHuffmanTest, ChecksComeInTheirOrder)
{
    Decoder d;
    Encoder e;
    const Vek8u src[4] = {};
    Vek8u dst[4] = {1, 1, 1, 1};
    Vek16s block[64] = {};
    const auto decode = [&](const Vek8u* s, Vek32s length, Vek16s* b, Vek32s* marker) {
        return vekiDecodeHuffman8x8_JPEG_1u16s_C1(s, length, &d.position, b, &d.lastDc, marker, d.dc.get(), d.ac.get(), d.state.get());
    };
    EXPECT_EQ(StatusNullPointer, decode(nullptr, -1, block, &d.marker));
    EXPECT_EQ(StatusBadRange, decode(src, -1, nullptr, &d.marker));
    EXPECT_EQ(StatusNullPointer, decode(src, 4, block, nullptr));
    const auto one = [&](const Vek8u* s, Vek32s length, Vek16s* b, const DecodeHuffmanSpec* table) {
        return vekiDecodeHuffmanOne_JPEG_1u16s_C1(s, length, &d.position, b, &d.marker, table, d.state.get());
    };
    EXPECT_EQ(StatusNullPointer, one(nullptr, 0, block, d.dc.get()));
    EXPECT_EQ(StatusBadSize, one(src, 0, nullptr, d.dc.get()));
    EXPECT_EQ(StatusNullPointer, one(src, 4, block, nullptr));
    EXPECT_EQ(0, d.position);
    const auto encode = [&](const Vek16s* s, Vek8u* to, Vek32s length, EncodeHuffmanState* state, Vek32s flush) {
        return vekiEncodeHuffman8x8_JPEG_16s1u_C1(s, to, length, &e.position, nullptr, e.dc.get(), e.ac.get(), state, flush);
    };
    EXPECT_EQ(StatusNullPointer, encode(block, nullptr, 0, e.state.get(), 1));
    EXPECT_EQ(StatusBadSize, encode(block, dst, 0, nullptr, 1));
    EXPECT_EQ(StatusNullPointer, encode(block, dst, 4, nullptr, 1));
    EXPECT_EQ(StatusNullPointer, encode(block, dst, 4, e.state.get(), 0));  // no lastDC
    EXPECT_EQ(StatusOk, encode(nullptr, dst, 4, e.state.get(), 1));
    EXPECT_EQ(1, dst[0]);
}

#ifdef UVEK_HAVE_LIBJPEG
TEST_P(JpegHuffmanTest, FilesOfLibjpegGiveItsCoefficientsAndItsBytesAgain)
{
    for (int i = 0; i < 60; ++i) {
        PeerOptions options;
        options.width = 1 + i * 37 % 150;
        options.height = 1 + i * 53 % 90;
        options.channels = i % 5 == 0 ? 1 : i % 7 == 0 ? 4 : 3;
        options.h = 1 + i % 2;
        options.v = 1 + i / 2 % 2;
        options.quality = i == 0 ? 1 : i == 1 ? 100 : 20 + i * 29 % 80;
        options.restart = i % 3 == 0 ? 1 + i % 4 : 0;
        options.optimize = i % 4 == 1;
        options.interleave = i % 6 != 2;
        options.detail = 10 + i % 8 * 30;
        const JpegFile file = ParseJpeg(CompressWithLibjpeg(options));
        SCOPED_TRACE(testing::Message() << "case " << i << " of " << file.scans.size() << " scans");
        Coefficients coefficients = EmptyCoefficients(file);
        for (const JpegScan& scan : file.scans) {
            const uint8_t* const data = file.bytes.data() + scan.begin;
            ASSERT_EQ(StatusOk, ScanDecoder(file, scan).Decode(data, (Vek32s)(scan.end - scan.begin), coefficients));
            // The same with the whole of the file behind it, as most callers have it.
            ASSERT_EQ(StatusOk, ScanDecoder(file, scan).Decode(data, (Vek32s)(file.bytes.size() - scan.begin), coefficients));
        }
        ASSERT_EQ(ReadWithLibjpeg(file), coefficients);
        for (const JpegScan& scan : file.scans) {
            Bytes written(2 * (scan.end - scan.begin) + 600);
            ASSERT_EQ(StatusOk, ScanEncoder(file, scan).Encode(coefficients, written));
            ASSERT_EQ(Bytes(file.bytes.begin() + (long)scan.begin, file.bytes.begin() + (long)scan.end), written);
        }
    }
}
#endif

UVEK_ON_ALL_TIERS(JpegHuffmanTest);

}  // namespace
}  // namespace uvek::test
