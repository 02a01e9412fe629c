// Progressive scans by hand: runs of blocks, corrections, limits. jpeg_huffman_test has whole files and noise.
#include <gtest/gtest.h>

#include "support/huffman_cases.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class JpegProgressiveTest : public TierTest {};

// Four-bit codes for what progressive scans need: 0000 ends a block, 0001 is sixteen zeros, 0010 is a
// value, 0011 a value after a zero, 0100 starts runs of 2 and 3 blocks, 0101 of 16384 and more.
HuffmanLists ScanLists()
{
    return CodesOfLength(4, {0x00, 0xf0, 0x01, 0x11, 0x10, 0xe0, 0xf1, 0x0a, 0x0b});
}

struct BandDecoder : TestDecoder {
    explicit BandDecoder(const HuffmanLists& lists = ScanLists()) : TestDecoder(lists, lists) { std::memset(block.data(), 0, 128); }
};

struct BandEncoder : TestEncoder {
    explicit BandEncoder(const HuffmanLists& lists = ScanLists()) : TestEncoder(3000, lists, lists) {}
};

TEST_P(JpegProgressiveTest, DecodersStayInTheBlock)
{
    // Position 1 + 48, then fifteen zeros and a value: the first position outside.
    const GuardedBytes past = Guarded(Bits("0001 0001 0001 0110 1 0000 0000"));
    BandDecoder first, refine, one;
    EXPECT_EQ(StatusBadCoderState, first.Block(past, kAcFirst));
    EXPECT_EQ(0, first.block[63]);
    // In refinement the walk ends behind the band with a value still in hand.
    EXPECT_EQ(StatusOk, refine.Block(past, kAcRefine));
    // A band of one coefficient, and the last one.
    EXPECT_EQ(StatusOk, one.Block(Guarded(Bits("0010 1")), Band(kAcFirst, 63, 63, 13)));
    EXPECT_EQ(1 << 13, one.block[63]);
    EXPECT_EQ(1, one.position);
}

TEST_P(JpegProgressiveTest, LongRunsAndManyCorrectionsAreWrittenAtOnce)
{
    const Vek16s zeros[64] = {};
    BandEncoder runs;
    std::vector<Vek32s> counters(257);
    Record<EncodeHuffmanState> counting(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    for (int i = 0; i < 32767; ++i) {
        ASSERT_EQ(i, runs.eobRun());
        ASSERT_EQ(StatusOk, runs.Block(zeros, kAcFirst));
        ASSERT_EQ(0, counters[0xe0]);
        ASSERT_EQ(StatusOk, CountSymbols(kAcFirst, zeros, nullptr, counters.data(), counting.get(), 0));
    }
    EXPECT_EQ(0, runs.eobRun());
    EXPECT_EQ(1, counters[0xe0]);
    ASSERT_EQ(StatusOk, runs.Flush(Band(kAcFirst, 64, 0, 99)));  // a flush asks for no band
    EXPECT_EQ((Bytes{0x5f, 0xff, 0x00, 0xff, 0x00}), runs.written());  // 0101 and 14 ones, padded: 01011111 11111111 11 111111

    // A run that could not be written is due again with every further block.
    for (const ScanKind& kind : {kAcFirst, kAcRefine}) {
        BandEncoder stuck(CodesOfLength(4, {0x01}));
        for (int i = 0; i < 32766; ++i)
            ASSERT_EQ(StatusOk, stuck.Block(zeros, kind));
        EXPECT_EQ(StatusBadHuffmanTable, stuck.Block(zeros, kind));
        EXPECT_EQ(StatusBadHuffmanTable, stuck.Block(zeros, kind));
    }

    // Blocks of 63 corrections: the fifteenth reaches 945, above 937. A run of 15 has no code here, and whoever
    // goes on after that meets the end of the state's own buffer, not what lies behind it.
    Vek16s rich[64];
    std::fill(std::begin(rich), std::end(rich), (Vek16s)-3);
    BandEncoder many;
    for (int i = 1; i < 20; ++i) {
        ASSERT_EQ(i < 15 ? StatusOk : i < 17 ? StatusBadHuffmanTable : StatusBadCoderState, many.Block(rich, kAcRefine));
        ASSERT_EQ(std::min(i, 16) * 63, many.correctionCount());
    }
    std::fill(counters.begin(), counters.end(), 0);  // a counter needs no such room
    ASSERT_EQ(StatusOk, CountSymbols(kAcRefine, rich, nullptr, counters.data(), many.state.get(), 0));
    EXPECT_EQ(1, counters[0x40]);  // the 17 blocks that are due
    BandEncoder ready(CodesOfLength(4, {0x00, 0x10, 0x20, 0x30}));
    for (int i = 0; i < 15; ++i)
        ASSERT_EQ(StatusOk, ready.Block(rich, kAcRefine));
    EXPECT_EQ(0, ready.correctionCount());
    EXPECT_EQ(0, ready.eobRun());
    const Bytes written = ready.written();
    EXPECT_EQ((4 + 3 + 945) / 8, (Vek32s)written.size() - std::count(written.begin(), written.end(), 0));
}

TEST_P(JpegProgressiveTest, FlushResetsEvenAfterFailure)
{
    const Vek16s zeros[64] = {};
    const Record<EncodeHuffmanState> clear(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    for (const ScanKind& kind : {kAcFirst, kAcRefine}) {
        BandEncoder e(CodesOfLength(4, {0x01}));  // no code for a run
        ASSERT_EQ(StatusOk, e.Flush(kind));
        ASSERT_EQ(StatusOk, e.Block(zeros, kind));
        EXPECT_EQ(kind.ah ? StatusBadHuffmanTable : StatusOk, e.Flush(kind));
        EXPECT_EQ(clear, e.state);
        EXPECT_EQ(0, e.position);
    }
}

TEST_P(JpegProgressiveTest, ValuesHaveTheirLimits)
{
    std::vector<Vek32s> counters(257);
    BandEncoder e;
    Vek16s block[64] = {}, lastDc = 0;
    const ScanKind one = Band(kAcFirst, 1, 1, 0);
    const struct { Vek16s value; VekStatus counter, encoder; } cases[] = {
        {-1023, StatusOk, StatusOk}, {1024, StatusBitstreamEnd, StatusOk}, {-2047, StatusBitstreamEnd, StatusOk},
        {2048, StatusBitstreamEnd, StatusBitstreamEnd}, {-32768, StatusBitstreamEnd, StatusBitstreamEnd},
    };
    for (const auto& c : cases) {
        block[1] = c.value;
        EXPECT_EQ(c.encoder, e.Block(block, one)) << c.value;
        EXPECT_EQ(c.counter, CountSymbols(one, block, nullptr, counters.data(), e.state.get(), 0)) << c.value;
    }
    EXPECT_EQ(1, counters[10]);
    // Shifted away it counts as a zero: a run of one block, no more.
    block[1] = -7;
    BandEncoder shifted;
    EXPECT_EQ(StatusOk, shifted.Block(block, Band(kAcFirst, 1, 1, 3)));
    EXPECT_EQ(1, shifted.eobRun());
    for (const Vek16s dc : {4095, 2048}) {
        block[0] = dc;
        const VekStatus expected = dc == 4095 ? StatusBitstreamEnd : StatusOk;  // differences of 4095 and -2047
        EXPECT_EQ(expected, CountSymbols(kDcFirst, block, &lastDc, counters.data(), nullptr, 0));
        EXPECT_EQ(dc, lastDc);
        EXPECT_EQ(expected, e.Block(block, kDcFirst));
        EXPECT_EQ(dc, e.lastDc);
    }
    EXPECT_EQ(1, counters[11]);
}

TEST_P(JpegProgressiveTest, ChecksComeInTheirOrder)
{
    BandDecoder d;
    BandEncoder e;
    const GuardedBytes src(8);
    Vek16s block[64] = {}, dc = 0;
    Vek32s at = 0, marker = 0;
    const DecodeHuffmanSpec* const dcTable = d.dc.get();
    const EncodeHuffmanSpec* const acTable = e.ac.get();
    const struct { Vek32s ss, se, al; } bands[] = {{0, 63, 0}, {1, 64, 0}, {5, 4, 0}, {64, 64, 0}, {1, 63, 14}, {1, 63, -1}};

    const auto decoder = [&](auto call, bool hasTable) {
        EXPECT_EQ(StatusNullPointer, call(nullptr, 0, block, 14, dcTable, d.state.get()));
        EXPECT_EQ(StatusBadSize, call(src.data(), 0, nullptr, 14, dcTable, d.state.get()));
        EXPECT_EQ(StatusNullPointer, call(src.data(), 8, nullptr, 14, dcTable, d.state.get()));
        for (const Vek32s al : {14, -1})
            EXPECT_EQ(StatusBadRange, call(src.data(), 8, block, al, nullptr, nullptr));
        EXPECT_EQ(StatusNullPointer, call(src.data(), 8, block, 13, dcTable, nullptr));
        EXPECT_EQ(hasTable, StatusNullPointer == call(src.data(), 8, block, 13, nullptr, d.state.get()));
    };
    using Table = const DecodeHuffmanSpec*;
    using State = DecodeHuffmanState*;
    decoder([&](const Vek8u* s, Vek32s length, Vek16s* b, Vek32s al, Table table, State state) {
        return vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(s, length, &at, b, &dc, &marker, al, table, state);
    }, true);
    for (const auto decode : {vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1}) {
        decoder([&](const Vek8u* s, Vek32s length, Vek16s* b, Vek32s al, Table table, State state) {
            return decode(s, length, &at, b, &marker, 1, 63, al, table, state);
        }, true);
        for (const auto& band : bands)
            EXPECT_EQ(StatusBadRange, decode(src.data(), 8, &at, block, &marker, band.ss, band.se, band.al, nullptr, d.state.get()));
    }
    EXPECT_EQ(0, at);
    decoder([&](const Vek8u* s, Vek32s length, Vek16s* b, Vek32s al, Table, State state) {
        return vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(s, length, &at, b, &marker, al, state);
    }, false);

    at = 0;
    Vek8u* const dst = e.data.data();
    const auto encoder = [&](auto call) {
        EXPECT_EQ(StatusNullPointer, call(block, nullptr, 0, 14, e.state.get(), 1));
        EXPECT_EQ(StatusBadSize, call(block, dst, 0, 14, nullptr, 1));
        EXPECT_EQ(StatusNullPointer, call(block, dst, 8, 14, nullptr, 1));
        EXPECT_EQ(StatusOk, call(nullptr, dst, 8, 99, e.state.get(), 1));
        EXPECT_EQ(StatusNullPointer, call(nullptr, dst, 8, 14, e.state.get(), 0));
        for (const Vek32s al : {14, -1})
            EXPECT_EQ(StatusBadRange, call(block, dst, 8, al, e.state.get(), 0));
    };
    encoder([&](const Vek16s* s, Vek8u* to, Vek32s length, Vek32s al, EncodeHuffmanState* state, Vek32s flush) {
        return vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(s, to, length, &at, flush ? nullptr : &dc, al, nullptr, state, flush);
    });
    encoder([&](const Vek16s* s, Vek8u* to, Vek32s length, Vek32s al, EncodeHuffmanState* state, Vek32s flush) {
        return vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(s, to, length, &at, al, state, flush);
    });
    EXPECT_EQ(StatusNullPointer, vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, dst, 8, &at, &dc, 13, nullptr, e.state.get(), 0));
    for (const auto encode : {vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1}) {
        encoder([&](const Vek16s* s, Vek8u* to, Vek32s length, Vek32s al, EncodeHuffmanState* state, Vek32s flush) {
            return encode(s, to, length, &at, 1, 63, al, acTable, state, flush);
        });
        EXPECT_EQ(StatusNullPointer, encode(block, dst, 8, &at, 1, 64, 0, nullptr, e.state.get(), 1));  // even a flush takes the table
        for (const auto& band : bands)
            EXPECT_EQ(StatusBadRange, encode(block, dst, 8, &at, band.ss, band.se, band.al, acTable, e.state.get(), 0));
    }
    EXPECT_EQ(0, at);

    std::vector<Vek32s> counters(257);
    EXPECT_EQ(StatusNullPointer, vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(nullptr, counters.data(), &dc, 14));
    EXPECT_EQ(StatusBadRange, vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counters.data(), &dc, -1));
    for (const auto count : {vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1}) {
        EXPECT_EQ(StatusNullPointer, count(block, counters.data(), 0, 0, 0, nullptr, 1));
        EXPECT_EQ(StatusNullPointer, count(nullptr, counters.data(), 0, 0, 0, e.state.get(), 0));
        for (const auto& band : bands)
            EXPECT_EQ(StatusBadRange, count(block, counters.data(), band.ss, band.se, band.al, e.state.get(), 0));
    }
}

UVEK_ON_ALL_TIERS(JpegProgressiveTest);

}  // namespace
}  // namespace uvek::test
