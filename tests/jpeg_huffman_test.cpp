// The coders of all kinds of scan, on files of libjpeg, on noise and on broken data; baseline blocks by hand.
#include <gtest/gtest.h>

#include "support/huffman_cases.h"
#include "support/tiers.h"
#ifdef UVEK_HAVE_LIBJPEG
#include "support/libjpeg_peer.h"
#endif

namespace uvek::test {
namespace {

class JpegHuffmanTest : public TierTest {};

TEST_P(JpegHuffmanTest, RecordsHaveTheirSizesAndStartClear)
{
    const struct { VekStatus (*ask)(Vek32s*); Vek32s expected; } sizes[] = {
        {vekiDecodeHuffmanSpecGetBufSize_JPEG_8u, 1644}, {vekiDecodeHuffmanStateGetBufSize_JPEG_8u, 24},
        {vekiEncodeHuffmanSpecGetBufSize_JPEG_8u, 1024}, {vekiEncodeHuffmanStateGetBufSize_JPEG_8u, 1048},
    };
    for (const auto& s : sizes) {
        Vek32s size = 0;
        EXPECT_EQ(StatusOk, s.ask(&size));
        EXPECT_EQ(s.expected, size);
        EXPECT_EQ(StatusNullPointer, s.ask(nullptr));
    }
    EXPECT_EQ(StatusNullPointer, vekiDecodeHuffmanStateInit_JPEG_8u(nullptr));
    EXPECT_EQ(StatusNullPointer, vekiEncodeHuffmanStateInit_JPEG_8u(nullptr));
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
    const auto check = [&](auto init, auto* record) {
        EXPECT_EQ(StatusNullPointer, init(nullptr, lists.vals, record));
        EXPECT_EQ(StatusNullPointer, init(lists.bits, nullptr, record));
        EXPECT_EQ(StatusNullPointer, init(lists.bits, lists.vals, nullptr));
    };
    check(vekiDecodeHuffmanSpecInit_JPEG_8u, decode.get());
    check(vekiEncodeHuffmanSpecInit_JPEG_8u, encode.get());

    // A symbol that is listed twice keeps its last code, 01.
    const auto twice = EncodeTable(CodesOfLength(2, {7, 7}));
    EXPECT_EQ(2u << 16 | 1, ((const Vek32u*)twice.get())[7]);
    EXPECT_EQ(0u, ((const Vek32u*)twice.get())[0]);
}

TEST_P(JpegHuffmanTest, OptimisedListsFollowTheStatistics)
{
    std::vector<Vek32s> counters(257);
    HuffmanLists lists;
    const auto optimise = [&] { return vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals); };
    EXPECT_EQ(StatusNullPointer, vekiEncodeHuffmanRawTableInit_JPEG_8u(nullptr, lists.bits, lists.vals));
    EXPECT_EQ(StatusOk, optimise());
    EXPECT_EQ(HuffmanLists(), lists);
    counters[9] = 5;
    counters[256] = 1000;
    ASSERT_EQ(StatusOk, optimise());
    EXPECT_EQ(CodesOfLength(1, {9}), lists);
    // Counters that grow like Fibonacci's make the deepest tree: cut to 16 bits it still is a code.
    Vek32s a = 1, b = 1;
    for (size_t symbol = 0; symbol < 30; ++symbol) {
        counters[symbol] = a;
        std::swap(a, b);
        b += a;
    }
    ASSERT_EQ(StatusOk, optimise());
    EXPECT_GT(lists.bits[15], 0);
    Record<EncodeHuffmanSpec> table(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u);
    EXPECT_EQ(StatusOk, vekiEncodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, table.get()));
    // If each counter is above the sum of all but the one before it, the tree is a single chain, and
    // beyond 32 bits there is no help.
    Vek32s sum = 1, sumBefore = 0;
    for (size_t symbol = 0; symbol < 42; ++symbol) {
        counters[symbol] = sumBefore + 1;
        sumBefore = sum;
        sum += counters[symbol];
    }
    EXPECT_EQ(StatusBadHuffmanTable, optimise());
}

TEST_P(JpegHuffmanTest, ReaderStopsWhereItsBitsEnd)
{
    // Difference 0 and end of block: 00 1010, twelve bits for two blocks, then ones.
    TestDecoder d;
    const GuardedBytes data = Guarded({0x28, 0xaf});
    const struct { VekStatus status; Vek32s coefficients, bits; } blocks[] = {{StatusOk, 1, 10}, {StatusOk, 1, 4}, {StatusBitstreamExhausted, 0, 0}};
    for (const auto& expected : blocks) {
        EXPECT_EQ(expected.status, d.Block(data));
        EXPECT_EQ(expected.coefficients, d.coefCount());
        EXPECT_EQ(expected.bits, d.bitCount());
        EXPECT_EQ(64, std::count(d.block.data(), d.block.data() + 64, 0));  // of what stood there before
    }
    EXPECT_EQ(2, d.position);

    const struct { const char* name; Bytes bytes; VekStatus status; Vek32s position, marker, bits; } cases[] = {
        {"no data", {}, StatusBitstreamExhausted, 0, 0, 0},
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
            TestDecoder decoder;
            EXPECT_EQ(c.status, decoder.Block(Guarded(bytes))) << c.name;
            EXPECT_EQ(c.position, decoder.position) << c.name;
            EXPECT_EQ(c.marker, decoder.marker) << c.name;
            EXPECT_EQ(c.bits, decoder.bitCount()) << c.name;
        }
}

VekStatus ReadOne(TestDecoder& d, const GuardedBytes& data, Vek16s* value)
{
    return vekiDecodeHuffmanOne_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &d.position, value, &d.marker, d.dc.get(), d.state.get());
}

TEST_P(JpegHuffmanTest, LosslessDifferencesEndAtCategory16)
{
    // 00000000 is category 15, 00000001 is 16, which has no bits, 00000010 is 0.
    const HuffmanLists lists = CodesOfLength(8, {15, 16, 0});
    TestDecoder d(lists);
    Vek16s value = 0;
    const GuardedBytes data = Guarded(Bits("00000001 00000000 100000000000001 00000010 00000000 010101010101010 0"));
    for (const Vek16s expected : {-32768, 16385, 0, -21845}) {
        ASSERT_EQ(StatusOk, ReadOne(d, data, &value));
        EXPECT_EQ(expected, value);
    }

    // The refill for a value meets the marker first and is still short of bits.
    TestDecoder cut(lists);
    const GuardedBytes marked = Guarded({0, 0, 0, 0, 0, 0xff, 0xd9});
    ASSERT_EQ(StatusOk, ReadOne(cut, marked, &value));
    value = 77;
    EXPECT_EQ(StatusBitstreamEnd, ReadOne(cut, marked, &value));
    EXPECT_EQ(77, value);
    EXPECT_EQ(0xd9, cut.marker);
    EXPECT_EQ(7, cut.position);

    // All 65536 differences there and back.
    const HuffmanLists all = CodesOfLength(5, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    TestEncoder e(65536 * 3, all);
    const auto write = [&](const Vek16s* difference, Vek32s flush) {
        return vekiEncodeHuffmanOne_JPEG_16s1u_C1(difference, e.data.data(), (Vek32s)e.data.size(), &e.position, flush ? nullptr : e.dc.get(),
                                                  e.state.get(), flush);
    };
    for (Vek32s i = -32768; i < 32768; ++i) {
        value = (Vek16s)i;
        ASSERT_EQ(StatusOk, write(&value, 0));
    }
    ASSERT_EQ(StatusOk, write(nullptr, 1));
    TestDecoder back(all);
    for (Vek32s i = -32768; i < 32768; ++i) {
        ASSERT_EQ(StatusOk, ReadOne(back, e.data, &value));
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
            TestDecoder d(dc, ac);
            EXPECT_EQ(c.status, d.Block(Guarded(bytes))) << c.name;
            EXPECT_EQ(64, d.coefCount()) << c.name;
            EXPECT_EQ(c.last, d.block[63]) << c.name;
        }
}

TEST_P(JpegHuffmanTest, WriterKeepsItsBitsWhenTheBufferIsFull)
{
    const Vek16s zeros[64] = {};
    const Record<EncodeHuffmanState> clear(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    TestEncoder e(1);
    EXPECT_EQ(StatusOk, e.Flush());  // nothing pending, nothing written
    EXPECT_EQ(0, e.position);
    ASSERT_EQ(StatusOk, e.Block(zeros));  // 00 1010
    ASSERT_EQ(StatusOk, e.Block(zeros));  // 00, a byte; 1010 is pending
    EXPECT_EQ((Bytes{0x28}), e.written());
    EXPECT_EQ(StatusBitstreamExhausted, e.Block(zeros));  // 00 is pending too, 1010 does not fit
    EXPECT_EQ(1, e.position);
    EXPECT_EQ(0xa00000u, (Vek32u)(*(const uint64_t*)e.state.get()));
    EXPECT_EQ(6, e.bitCount());
    EXPECT_EQ(StatusBitstreamExhausted, e.Flush());
    EXPECT_EQ(clear, e.state);

    // Values without a code.
    Vek16s block[64] = {};
    block[12] = -32768;  // after fifteen zeros there is no symbol for its category
    TestEncoder rich(2000);
    EXPECT_EQ(StatusBadHuffmanTable, rich.Block(block));
    block[12] = 0;
    block[0] = 32767;
    EXPECT_EQ(StatusBadHuffmanTable, rich.Block(block));
    EXPECT_EQ(32767, rich.lastDc);
}

TEST_P(JpegHuffmanTest, EncodersAndCountersEqualTier0WhereverTheBufferEnds)
{
    const ScanKind kinds[] = {kBaseline, kAcFirst, kAcRefine, kBaseline, kAcFirst, kAcRefine, kDcFirst, kDcRefine};
    std::mt19937 random(Seed());
    for (int i = 0; i < 800; ++i) {
        const ScanKind& kind = kinds[i % 8];
        const uint32_t seed = (uint32_t)random();
        const auto encode = [&] {
            std::mt19937 r(seed);
            const bool all = kind.progressive || i % 16 < 8;  // codes for every value, or not
            TestEncoder e(r() % 3 ? 1 + r() % 900 : 4000, all ? AllSymbols() : StandardDc(), all ? AllSymbols() : StandardAc());
            std::vector<Vek32s> counters(257);
            Record<EncodeHuffmanState> counting(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
            const Vek32s ss = 1 + (Vek32s)(r() % 63), se = ss + (Vek32s)(r() % (64 - (unsigned)ss)), al = (Vek32s)(r() % 4);
            const ScanKind band = kind.ss == 0 ? kind : Band(kind, ss, se, al);
            GuardedVector<Vek16s> guarded(64, Flush::End, (int)(r() % 2));
            Trace trace;
            Vek16s lastCounted = 0;
            for (int n = 0; n < 20; ++n) {
                Vek16s block[64];
                RandomBlock(r, block);
                for (Vek16s& c : block)
                    c = (Vek16s)(kind.progressive ? c / 8 * (n % 3 != 0) : c);
                std::memcpy((void*)guarded.data(), block, sizeof block);
                trace.Add({e.Block(guarded.data(), band), e.position, e.lastDc});
                trace.Add(e.state.get(), 1044);
                if (kind.progressive)
                    trace.Add({CountSymbols(band, block, &lastCounted, counters.data(), counting.get(), 0)});
                trace.Add(counting.get(), 1044);
            }
            trace.Add({e.Flush(band)});
            trace.Add(counters.data(), 257 * sizeof(Vek32s));
            trace.Add(e.data.data(), e.data.size());
            EXPECT_TRUE(e.data.IsSlackIntact());
            return trace;
        };
        ASSERT_TRUE(OnTier(0, encode) == encode()) << "seed " << Seed() << " round " << i;
    }
}

TEST_P(JpegHuffmanTest, CorruptDataGivesWhatTier0GivesAndNothingOutside)
{
    std::mt19937 random(Seed());
    // A stream of each kind, to be cut, flipped and filled with markers.
    const ScanKind kinds[] = {kBaseline, kAcFirst, kBaseline, kAcRefine};
    std::vector<Bytes> good;
    for (const ScanKind& kind : kinds) {
        TestEncoder e(6000, StandardDc(), kind.progressive ? AllSymbols() : StandardAc());
        for (int n = 0; n < (kind.progressive ? 40 : 25); ++n) {
            Vek16s block[64];
            RandomBlock(random, block);
            for (Vek16s& c : block)
                c = (Vek16s)(kind.progressive ? c / 20 * (n % 3 != 0) : std::max<int>(c, -2048) / 4);
            ASSERT_EQ(StatusOk, e.Block(block, kind));
        }
        ASSERT_EQ(StatusOk, e.Flush(kind));
        good.push_back(e.written());
        ASSERT_GT(good.back().size(), 50u);
    }
    int failures = 0;
    for (int i = 0; i < 20000; ++i) {
        const ScanKind& kind = kinds[i % 4];
        Bytes bad = good[(size_t)i % 4];
        for (unsigned faults = 1 + random() % 4; faults > 0; --faults) {
            const size_t at = random() % bad.size();
            switch (random() % 4) {
            case 0: bad[at] = (uint8_t)random(); break;
            case 1: bad[at] = 0xff; break;
            case 2: bad.resize(at + 1); break;
            default: bad[at] ^= (uint8_t)(1u << random() % 8); break;
            }
        }
        const GuardedBytes data = Guarded(bad);
        const uint32_t seed = (uint32_t)random();
        const auto decode = [&] {
            std::mt19937 r(seed);
            TestDecoder d(kind.progressive ? AllSymbols() : StandardDc(), kind.progressive ? AllSymbols() : StandardAc(), i % 8 < 4 ? Flush::Start : Flush::End);
            const Vek32s ss = 1 + (Vek32s)(r() % 20), se = 63 - (Vek32s)(r() % 20), al = (Vek32s)(r() % 14);
            Trace trace;
            for (int n = 0; n < 28; ++n) {
                if (n % 4 == 0)
                    d.block.Fill([&] { return r() % 3 ? 0u : r(); });
                // A scan of coefficients meets a DC first or refinement now and then.
                const unsigned other = r() % 16;
                ScanKind used = kind.progressive ? Band(kind, ss, se, al) : kind;
                if (kind.progressive && other < 2)
                    used = {true, 0, 0, (Vek32s)other, al};
                const VekStatus status = d.Block(data, used);
                trace.Add({status, d.position, d.lastDc, d.marker});
                trace.Add(d.block.data(), 128);
                trace.Add(d.state.get(), 20);
                failures += status < 0;
            }
            return trace;
        };
        ASSERT_TRUE(OnTier(0, decode) == decode()) << "seed " << Seed() << " round " << i;
    }
    EXPECT_GT(failures, 10000);
}

TEST_P(JpegHuffmanTest, ChecksComeInTheirOrder)
{
    TestDecoder d;
    TestEncoder e(4);
    const Vek8u src[4] = {};
    Vek8u* const dst = e.data.data();
    Vek16s block[64] = {};
    const auto decode = [&](const Vek8u* s, Vek32s length, Vek16s* b, Vek32s* marker, const DecodeHuffmanSpec* ac) {
        return vekiDecodeHuffman8x8_JPEG_1u16s_C1(s, length, &d.position, b, &d.lastDc, marker, d.dc.get(), ac, d.state.get());
    };
    EXPECT_EQ(StatusNullPointer, decode(nullptr, -1, block, &d.marker, d.ac.get()));
    EXPECT_EQ(StatusBadRange, decode(src, -1, nullptr, &d.marker, d.ac.get()));
    EXPECT_EQ(StatusNullPointer, decode(src, 4, block, nullptr, d.ac.get()));
    EXPECT_EQ(StatusNullPointer, decode(src, 4, block, &d.marker, nullptr));
    const auto one = [&](const Vek8u* s, Vek32s length, Vek16s* b, const DecodeHuffmanSpec* table) {
        return vekiDecodeHuffmanOne_JPEG_1u16s_C1(s, length, &d.position, b, &d.marker, table, d.state.get());
    };
    EXPECT_EQ(StatusNullPointer, one(nullptr, 0, block, d.dc.get()));
    EXPECT_EQ(StatusBadSize, one(src, 0, nullptr, d.dc.get()));
    EXPECT_EQ(StatusNullPointer, one(src, 4, nullptr, d.dc.get()));
    EXPECT_EQ(StatusNullPointer, one(src, 4, block, nullptr));
    EXPECT_EQ(0, d.position);

    const auto whole = [&](const Vek16s* s, Vek8u* to, Vek32s length, EncodeHuffmanState* state, const EncodeHuffmanSpec* ac, Vek32s flush) {
        return vekiEncodeHuffman8x8_JPEG_16s1u_C1(s, to, length, &e.position, &e.lastDc, e.dc.get(), ac, state, flush);
    };
    const auto single = [&](const Vek16s* s, Vek8u* to, Vek32s length, EncodeHuffmanState* state, const EncodeHuffmanSpec* table, Vek32s flush) {
        return vekiEncodeHuffmanOne_JPEG_16s1u_C1(s, to, length, &e.position, table, state, flush);
    };
    const auto check = [&](auto encode) {
        EXPECT_EQ(StatusNullPointer, encode(block, nullptr, 0, e.state.get(), nullptr, 1));
        EXPECT_EQ(StatusBadSize, encode(block, dst, 0, nullptr, nullptr, 1));
        EXPECT_EQ(StatusNullPointer, encode(block, dst, 4, nullptr, nullptr, 1));
        EXPECT_EQ(StatusNullPointer, encode(nullptr, dst, 4, e.state.get(), e.ac.get(), 0));
        EXPECT_EQ(StatusNullPointer, encode(block, dst, 4, e.state.get(), nullptr, 0));
        EXPECT_EQ(StatusOk, encode(nullptr, dst, 4, e.state.get(), nullptr, 1));
    };
    check(whole);
    check(single);
    EXPECT_EQ(0x5a, dst[0]);
}

#ifdef UVEK_HAVE_LIBJPEG
TEST_P(JpegHuffmanTest, FilesOfLibjpegGiveItsCoefficientsItsTablesAndItsBytesAgain)
{
    const std::vector<jpeg_scan_info> scripts[] = {
        {},  // libjpeg's own
        {{3, {0, 1, 2}, 0, 0, 0, 0}, {1, {0}, 1, 63, 0, 0}, {1, {1}, 1, 63, 0, 0}, {1, {2}, 1, 63, 0, 0}},
        {{3, {0, 1, 2}, 0, 0, 0, 3}, {1, {0}, 1, 1, 0, 2}, {1, {0}, 2, 63, 0, 4}, {1, {1}, 1, 63, 0, 1}, {1, {2}, 1, 63, 0, 1},
         {1, {0}, 2, 63, 4, 3}, {3, {0, 1, 2}, 0, 0, 3, 2}, {1, {0}, 2, 63, 3, 2}, {1, {0}, 1, 63, 2, 1}, {3, {0, 1, 2}, 0, 0, 2, 1},
         {1, {1}, 1, 63, 1, 0}, {1, {2}, 1, 63, 1, 0}, {1, {0}, 1, 63, 1, 0}, {3, {0, 1, 2}, 0, 0, 1, 0}},
        {{1, {1}, 0, 0, 0, 1}, {1, {0}, 0, 0, 0, 1}, {1, {2}, 0, 0, 0, 1}, {1, {0}, 1, 5, 0, 0}, {1, {0}, 6, 63, 0, 2},
         {1, {0}, 6, 63, 2, 1}, {1, {0}, 6, 63, 1, 0}, {3, {0, 1, 2}, 0, 0, 1, 0}},
    };
    for (int i = 0; i < 96; ++i) {
        PeerOptions options;
        options.progressive = i >= 60;
        options.width = 1 + i * 37 % 190;
        options.height = 1 + i * 53 % 120;
        options.channels = options.progressive ? 3 : i % 5 == 0 ? 1 : i % 7 == 0 ? 4 : 3;
        options.h = 1 + i % 2;
        options.v = 1 + i / 2 % 2;
        options.quality = i % 60 == 0 ? 1 : i % 60 == 1 ? 100 : 20 + i * 29 % 80;
        options.restart = i % 3 == 0 ? 1 + i % 4 : 0;
        options.optimize = i % 4 == 1;
        options.interleave = options.progressive || i % 6 != 2;
        options.detail = i % 7 == 4 ? 0 : 10 + i % 8 * 30;
        if (options.progressive)
            options.script = scripts[i % 4];
        const JpegFile file = ParseJpeg(CompressWithLibjpeg(options));
        SCOPED_TRACE(testing::Message() << "case " << i << " of " << file.scans.size() << " scans");
        Coefficients coefficients = EmptyCoefficients(file);
        for (const JpegScan& scan : file.scans) {
            const uint8_t* const data = file.bytes.data() + scan.begin;
            // A baseline scan can be read twice: also with the whole of the file behind it, as most callers have it.
            if (!options.progressive) {
                ASSERT_EQ(StatusOk, ScanDecoder(file, scan).Decode(data, (Vek32s)(file.bytes.size() - scan.begin), coefficients));
            }
            ASSERT_EQ(StatusOk, ScanDecoder(file, scan).Decode(data, (Vek32s)(scan.end - scan.begin), coefficients));
        }
        ASSERT_EQ(ReadWithLibjpeg(file), coefficients);
        for (const JpegScan& scan : file.scans) {
            Bytes written(2 * (scan.end - scan.begin) + 600);
            ASSERT_EQ(StatusOk, ScanEncoder(file, scan).Encode(coefficients, written));
            ASSERT_EQ(Bytes(file.bytes.begin() + (long)scan.begin, file.bytes.begin() + (long)scan.end), written);
            if (options.progressive && scan.components.size() == 1 && (scan.ss > 0 || scan.ah == 0)) {
                const HuffmanLists& lists = scan.ss > 0 ? scan.ac[scan.acTable[0]] : scan.dc[scan.dcTable[0]];
                ASSERT_EQ(lists, ScanEncoder(file, scan).OptimisedLists(coefficients));
            }
        }
    }
}
#endif

UVEK_ON_ALL_TIERS(JpegHuffmanTest);

}  // namespace
}  // namespace uvek::test
