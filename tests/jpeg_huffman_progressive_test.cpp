#include <gmock/gmock.h>

#include <algorithm>
#include <array>

#include "support/huffman_cases.h"
#include "support/tiers.h"
#ifdef UVEK_HAVE_LIBJPEG
#include "support/libjpeg_peer.h"
#endif

namespace uvek::test {
namespace {

class JpegProgressiveTest : public TierTest {};

struct Decoder {
    explicit Decoder(const HuffmanLists& lists = StandardAc())
    {
        EXPECT_EQ(StatusOk, vekiDecodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, table.get()));
    }
    VekStatus First(const GuardedBytes& data, Vek16s* block, Vek32s ss = 1, Vek32s se = 63, Vek32s al = 0)
    {
        return vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &position, block, &marker, ss, se, al,
                                                          table.get(), state.get());
    }
    VekStatus Refine(const GuardedBytes& data, Vek16s* block, Vek32s ss = 1, Vek32s se = 63, Vek32s al = 0)
    {
        return vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &position, block, &marker, ss, se, al,
                                                           table.get(), state.get());
    }
    VekStatus Dc(const GuardedBytes& data, Vek16s* block, Vek32s al)
    {
        return vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &position, block, &lastDc, &marker, al,
                                                          table.get(), state.get());
    }
    VekStatus DcRefine(const GuardedBytes& data, Vek16s* block, Vek32s al)
    {
        return vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data.data(), (Vek32s)data.size(), &position, block, &marker, al, state.get());
    }
    Vek32s& eobRun() { return ((Vek32s*)state.get())[3]; }

    Record<DecodeHuffmanSpec> table{vekiDecodeHuffmanSpecGetBufSize_JPEG_8u};
    Record<DecodeHuffmanState> state{vekiDecodeHuffmanStateGetBufSize_JPEG_8u};
    Vek32s position = 0, marker = 0;
    Vek16s lastDc = 0;
};

struct Encoder {
    Encoder(const HuffmanLists& lists, size_t room) : data(room)
    {
        EXPECT_EQ(StatusOk, vekiEncodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, table.get()));
        std::memset(data.data(), 0x5a, room);
    }
    VekStatus First(const Vek16s* block, Vek32s ss = 1, Vek32s se = 63, Vek32s al = 0, Vek32s flush = 0)
    {
        return vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, data.data(), (Vek32s)data.size(), &position, ss, se, al, table.get(),
                                                          state.get(), flush);
    }
    VekStatus Refine(const Vek16s* block, Vek32s ss = 1, Vek32s se = 63, Vek32s al = 0, Vek32s flush = 0)
    {
        return vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, data.data(), (Vek32s)data.size(), &position, ss, se, al, table.get(),
                                                           state.get(), flush);
    }
    Bytes written() const { return Bytes(data.data(), data.data() + position); }
    Vek32s eobRun() const { return ((const Vek32s*)state.get())[3]; }
    Vek32s correctionCount() const { return ((const Vek32s*)state.get())[4]; }

    Record<EncodeHuffmanSpec> table{vekiEncodeHuffmanSpecGetBufSize_JPEG_8u};
    Record<EncodeHuffmanState> state{vekiEncodeHuffmanStateGetBufSize_JPEG_8u};
    GuardedBytes data;
    Vek32s position = 0;
};

// Four-bit codes for what progressive scans need: 0000 ends a block, 0001 is sixteen zeros, 0010 is a
// value, 0011 a value after a zero, 0100 starts runs of 2 and 3 blocks, 0101 of 16384 and more.
HuffmanLists ScanLists()
{
    return CodesOfLength(4, {0x00, 0xf0, 0x01, 0x11, 0x10, 0xe0, 0xf1, 0x0a, 0x0b});
}

#ifdef UVEK_HAVE_LIBJPEG
TEST_P(JpegProgressiveTest, FilesOfLibjpegGiveItsCoefficientsItsTablesAndItsBytesAgain)
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
    for (int i = 0; i < 36; ++i) {
        PeerOptions options;
        options.width = 1 + i * 37 % 190;
        options.height = 1 + i * 53 % 120;
        options.h = 1 + i % 2;
        options.v = 1 + i / 2 % 2;
        options.quality = i == 0 ? 1 : i == 1 ? 100 : 20 + i * 29 % 80;
        options.restart = i % 3 == 0 ? 1 + i % 4 : 0;
        options.detail = i % 7 == 0 ? 0 : 10 + i % 8 * 30;
        options.progressive = true;
        options.script = scripts[i % 4];
        const JpegFile file = ParseJpeg(CompressWithLibjpeg(options));
        SCOPED_TRACE(testing::Message() << "case " << i << " of " << file.scans.size() << " scans");
        Coefficients coefficients = EmptyCoefficients(file);
        for (const JpegScan& scan : file.scans)
            ASSERT_EQ(StatusOk, ScanDecoder(file, scan).Decode(file.bytes.data() + scan.begin, (Vek32s)(scan.end - scan.begin), coefficients));
        ASSERT_EQ(ReadWithLibjpeg(file), coefficients);
        for (const JpegScan& scan : file.scans) {
            Bytes written(2 * (scan.end - scan.begin) + 600);
            ASSERT_EQ(StatusOk, ScanEncoder(file, scan).Encode(coefficients, written));
            ASSERT_EQ(Bytes(file.bytes.begin() + (long)scan.begin, file.bytes.begin() + (long)scan.end), written);
            if (scan.components.size() == 1 && (scan.ss > 0 || scan.ah == 0)) {
                const HuffmanLists& lists = scan.ss > 0 ? scan.ac[scan.acTable[0]] : scan.dc[scan.dcTable[0]];
                ASSERT_EQ(lists, OptimisedLists(file, scan, coefficients));
            }
        }
    }
}
#endif

TEST_P(JpegProgressiveTest, RunsOfBlocksCarryThroughTheState)
{
    // A run of three blocks, 0100 1; in refinement the second and third take correction bits 1 and 0.
    Decoder first(ScanLists());
    const GuardedBytes data = Guarded(Bits("0100 1 1 0 0010 1"));
    Vek16s block[64] = {};
    ASSERT_EQ(StatusOk, first.First(data, block));
    EXPECT_EQ(2, first.eobRun());
    const Vek32s position = first.position;
    EXPECT_EQ(StatusOk, first.First(data, block));
    EXPECT_EQ(StatusOk, first.First(data, block));
    EXPECT_EQ(0, first.eobRun());
    EXPECT_EQ(position, first.position);

    Decoder refine(ScanLists());
    ASSERT_EQ(StatusOk, refine.Refine(data, block, 1, 63, 1));
    block[1] = 4;
    block[8] = 0;
    ASSERT_EQ(StatusOk, refine.Refine(data, block, 1, 63, 1));
    EXPECT_EQ(6, block[1]);
    block[1] = -4;
    ASSERT_EQ(StatusOk, refine.Refine(data, block, 1, 63, 1));
    EXPECT_EQ(-4, block[1]);
    // A new value at the first zero, position 2, past the -4 that takes the bit after the sign.
    ASSERT_EQ(0, refine.eobRun());
    refine.Refine(data, block, 1, 2, 1);
    EXPECT_EQ(2, block[8]);
}

TEST_P(JpegProgressiveTest, DecodersStayInTheBlock)
{
    // Position 1 + 48, then fifteen zeros and a value: the first position outside.
    const GuardedBytes past = Guarded(Bits("0001 0001 0001 0110 1 0000 0000"));
    const GuardedVector<Vek16s> block(64);
    std::memset((void*)block.data(), 0, 128);
    Decoder first(ScanLists());
    EXPECT_EQ(StatusBadCoderState, first.First(past, block.data()));
    EXPECT_EQ(0, block[63]);
    // In refinement the walk ends behind the band with a value still in hand.
    Decoder refine(ScanLists());
    EXPECT_EQ(StatusOk, refine.Refine(past, block.data()));
    // A band of one coefficient, and the last one.
    Decoder one(ScanLists());
    EXPECT_EQ(StatusOk, one.First(Guarded(Bits("0010 1")), block.data(), 63, 63, 13));
    EXPECT_EQ(1 << 13, block[63]);
    EXPECT_EQ(0, one.position - 1);
}

TEST_P(JpegProgressiveTest, DcKeepsItsPredictionUnshifted)
{
    const HuffmanLists lists = CodesOfLength(2, {3, 0});
    Decoder d(lists);
    Vek16s block[64] = {};
    const GuardedBytes data = Guarded(Bits("00 101 01 1 0 1"));
    ASSERT_EQ(StatusOk, d.Dc(data, block, 2));
    EXPECT_EQ(20, block[0]);
    EXPECT_EQ(5, d.lastDc);
    ASSERT_EQ(StatusOk, d.Dc(data, block, 2));
    EXPECT_EQ(20, block[0]);
    for (const Vek16s expected : {22, 22, 22}) {
        ASSERT_EQ(StatusOk, d.DcRefine(data, block, 1));
        EXPECT_EQ(expected, block[0]);
    }
}

TEST_P(JpegProgressiveTest, LongRunsAndManyCorrectionsAreWrittenAtOnce)
{
    const Vek16s zeros[64] = {};
    Encoder runs(ScanLists(), 3000);
    std::vector<Vek32s> counters(257);
    Record<EncodeHuffmanState> counting(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    for (int i = 0; i < 32766; ++i) {
        ASSERT_EQ(StatusOk, runs.First(zeros));
        ASSERT_EQ(StatusOk, vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(zeros, counters.data(), 1, 63, 0, counting.get(), 0));
    }
    EXPECT_EQ(0, runs.position);
    ASSERT_EQ(StatusOk, runs.First(zeros));
    ASSERT_EQ(StatusOk, vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(zeros, counters.data(), 1, 63, 0, counting.get(), 0));
    EXPECT_EQ(0, runs.eobRun());
    EXPECT_EQ(1, counters[0xe0]);
    ASSERT_EQ(StatusOk, runs.First(nullptr, 0, 0, 99, 1));
    EXPECT_EQ((Bytes{0x5f, 0xff, 0x00, 0xff, 0x00}), runs.written());  // 0101 and 14 ones, padded: 01011111 11111111 11 111111

    // A run that could not be written is due again with every further block.
    for (const bool refine : {false, true}) {
        Encoder stuck(CodesOfLength(4, {0x01}), 600);
        const auto code = [&] { return refine ? stuck.Refine(zeros) : stuck.First(zeros); };
        for (int i = 0; i < 32766; ++i)
            ASSERT_EQ(StatusOk, code());
        EXPECT_EQ(StatusBadHuffmanTable, code());
        EXPECT_EQ(StatusBadHuffmanTable, code());
    }

    // Blocks of 63 corrections: the fifteenth reaches 945, above 937.
    Vek16s rich[64];
    std::fill(std::begin(rich), std::end(rich), (Vek16s)-3);
    Encoder many(ScanLists(), 3000);
    for (int i = 0; i < 14; ++i)
        ASSERT_EQ(StatusOk, many.Refine(rich));
    EXPECT_EQ(0, many.position);
    EXPECT_EQ(882, many.correctionCount());
    ASSERT_EQ(StatusBadHuffmanTable, many.Refine(rich));  // a run of 15 has no code here
    EXPECT_EQ(945, many.correctionCount());
    // Whoever goes on after that meets the end of the state's own buffer, not what lies behind it.
    ASSERT_EQ(StatusBadHuffmanTable, many.Refine(rich));
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(StatusBadCoderState, many.Refine(rich));
    EXPECT_EQ(1008, many.correctionCount());
    std::fill(counters.begin(), counters.end(), 0);  // a counter needs no such room
    ASSERT_EQ(StatusOk, vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(rich, counters.data(), 1, 63, 0, many.state.get(), 0));
    EXPECT_EQ(1, counters[0x40]);  // the 17 blocks that are due
    const HuffmanLists withRuns = CodesOfLength(4, {0x00, 0x10, 0x20, 0x30});
    Encoder ready(withRuns, 3000);
    for (int i = 0; i < 15; ++i)
        ASSERT_EQ(StatusOk, ready.Refine(rich));
    EXPECT_EQ(0, ready.correctionCount());
    EXPECT_EQ(0, ready.eobRun());
    EXPECT_EQ((4 + 3 + 945) / 8, ready.position - (Vek32s)std::count(ready.data.data(), ready.data.data() + ready.position, 0));
}

TEST_P(JpegProgressiveTest, FlushResetsEvenAfterFailure)
{
    const Vek16s zeros[64] = {};
    const Record<EncodeHuffmanState> clear(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    for (const bool refine : {false, true}) {
        Encoder e(CodesOfLength(4, {0x01}), 600);  // no code for a run
        const auto code = [&](const Vek16s* block, Vek32s flush) { return refine ? e.Refine(block, 1, 63, 0, flush) : e.First(block, 1, 63, 0, flush); };
        ASSERT_EQ(StatusOk, code(nullptr, 1));
        EXPECT_EQ(0, e.position);
        ASSERT_EQ(StatusOk, code(zeros, 0));
        EXPECT_EQ(refine ? StatusBadHuffmanTable : StatusOk, code(nullptr, 1));
        EXPECT_EQ(clear, e.state);
        EXPECT_EQ(0, e.position);
    }
}

TEST_P(JpegProgressiveTest, ValuesHaveTheirLimits)
{
    std::vector<Vek32s> counters(257);
    Record<EncodeHuffmanState> state(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    Vek16s block[64] = {};
    const auto count = [&](Vek16s value) {
        block[1] = value;
        return vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, counters.data(), 1, 1, 0, state.get(), 0);
    };
    EXPECT_EQ(StatusOk, count(-1023));
    EXPECT_EQ(1, counters[10]);
    EXPECT_EQ(StatusBitstreamEnd, count(1024));
    Encoder e(ScanLists(), 100);
    block[1] = -2047;
    EXPECT_EQ(StatusOk, e.First(block, 1, 1));
    block[1] = 2048;
    EXPECT_EQ(StatusBitstreamEnd, e.First(block, 1, 1));
    block[1] = -32768;
    EXPECT_EQ(StatusBitstreamEnd, e.First(block, 1, 1));
    // Shifted away it counts as a zero: a run of one block, no more.
    block[1] = -7;
    Encoder shifted(ScanLists(), 100);
    EXPECT_EQ(StatusOk, shifted.First(block, 1, 1, 3));
    EXPECT_EQ(1, shifted.eobRun());
    Vek16s lastDc = 0;
    block[0] = 4095;
    EXPECT_EQ(StatusBitstreamEnd, vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counters.data(), &lastDc, 0));
    EXPECT_EQ(4095, lastDc);
    block[0] = 2048;
    EXPECT_EQ(StatusOk, vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counters.data(), &lastDc, 0));
    EXPECT_EQ(1, counters[11]);
}

TEST_P(JpegProgressiveTest, EncodersAndCountersEqualTier0WhereverTheBufferEnds)
{
    std::mt19937 random(Seed());
    for (int i = 0; i < 300; ++i) {
        const uint32_t seed = (uint32_t)random();
        const auto encode = [&] {
            std::mt19937 r(seed);
            Encoder first(AllSymbols(), r() % 3 ? 1 + r() % 700 : 4000), refine(AllSymbols(), r() % 3 ? 1 + r() % 900 : 4000);
            Trace trace;
            std::vector<Vek32s> counters(257), refineCounters(257);
            Record<EncodeHuffmanState> counting(vekiEncodeHuffmanStateGetBufSize_JPEG_8u), refineCounting = counting;
            const Vek32s ss = 1 + (Vek32s)(r() % 63), se = ss + (Vek32s)(r() % (64 - (unsigned)ss)), al = (Vek32s)(r() % 4);
            for (int n = 0; n < 20; ++n) {
                Vek16s block[64];
                RandomBlock(r, block);
                if (r() % 3 == 0)
                    std::memset(block, 0, sizeof block);
                for (Vek16s& c : block)
                    c = (Vek16s)(c / 8);
                trace.numbers.insert(trace.numbers.end(), {
                    first.First(block, ss, se, al), first.position, refine.Refine(block, ss, se, al), refine.position,
                    vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, counters.data(), ss, se, al, counting.get(), 0),
                    vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block, refineCounters.data(), ss, se, al, refineCounting.get(), 0)});
                for (const auto* state : {&first.state, &refine.state, &counting, &refineCounting}) {
                    const uint8_t* const bytes = (const uint8_t*)state->get();
                    trace.bytes.insert(trace.bytes.end(), bytes, bytes + 1044);
                }
            }
            trace.numbers.insert(trace.numbers.end(), {first.First(nullptr, 0, 0, 0, 1), refine.Refine(nullptr, 0, 0, 0, 1)});
            trace.numbers.insert(trace.numbers.end(), counters.begin(), counters.end());
            trace.numbers.insert(trace.numbers.end(), refineCounters.begin(), refineCounters.end());
            trace.bytes.insert(trace.bytes.end(), first.data.data(), first.data.data() + first.data.size());
            trace.bytes.insert(trace.bytes.end(), refine.data.data(), refine.data.data() + refine.data.size());
            return trace;
        };
        ASSERT_EQ(OnTier(0, encode), encode()) << "seed " << Seed() << " round " << i;
    }
}

TEST_P(JpegProgressiveTest, CorruptDataGivesWhatTier0GivesAndNothingOutside)
{
    std::mt19937 random(Seed());
    // One stream of each kind, cut, flipped and full of markers.
    Bytes good[2];
    for (int kind = 0; kind < 2; ++kind) {
        Encoder e(AllSymbols(), 6000);
        for (int n = 0; n < 40; ++n) {
            Vek16s block[64];
            RandomBlock(random, block);
            for (Vek16s& c : block)
                c = (Vek16s)(n % 3 == 0 ? 0 : kind ? c % 3 : c / 20);
            ASSERT_EQ(StatusOk, kind ? e.Refine(block) : e.First(block));
        }
        good[kind] = e.written();
        ASSERT_GT(good[kind].size(), 50u);
    }
    const GuardedVector<Vek16s> block(64);
    for (int i = 0; i < 10000; ++i) {
        Bytes bad = good[i % 2];
        for (unsigned faults = 1 + random() % 4; faults > 0; --faults) {
            const size_t at = random() % bad.size();
            if (random() % 4 == 0)
                bad.resize(at + 1);
            else
                bad[at] = random() % 4 ? (uint8_t)random() : (uint8_t)0xff;
        }
        const GuardedBytes data = Guarded(bad);
        const uint32_t seed = (uint32_t)random();
        const auto decode = [&] {
            std::mt19937 r(seed);
            Decoder d(AllSymbols());
            Trace trace;
            const Vek32s ss = 1 + (Vek32s)(r() % 20), se = 63 - (Vek32s)(r() % 20), al = (Vek32s)(r() % 14);
            for (int n = 0; n < 30; ++n) {
                if (n % 4 == 0)
                    for (Vek32s c = 0; c < 64; ++c)
                        block.data()[c] = r() % 3 ? (Vek16s)0 : (Vek16s)r();
                VekStatus status;
                switch (r() % 16) {
                case 0: status = d.Dc(data, block.data(), al); break;
                case 1: status = d.DcRefine(data, block.data(), al); break;
                default: status = i % 2 ? d.Refine(data, block.data(), ss, se, al) : d.First(data, block.data(), ss, se, al); break;
                }
                trace.numbers.insert(trace.numbers.end(), {status, d.position, d.lastDc, d.marker, d.eobRun()});
                trace.bytes.insert(trace.bytes.end(), (uint8_t*)block.data(), (uint8_t*)(block.data() + 64));
                trace.bytes.insert(trace.bytes.end(), (uint8_t*)d.state.get(), (uint8_t*)d.state.get() + 16);
            }
            return trace;
        };
        ASSERT_EQ(OnTier(0, decode), decode()) << "seed " << Seed() << " round " << i;
    }
}

TEST_P(JpegProgressiveTest, ChecksComeInTheirOrder)
{
    Decoder d;
    const Vek8u src[8] = {};
    Vek16s block[64] = {}, dc = 0;
    Vek32s at = 0, marker = 0;
    const auto first = [&](const Vek8u* s, Vek32s length, Vek16s* b, Vek32s ss, Vek32s se, Vek32s al, const DecodeHuffmanSpec* table) {
        return vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(s, length, &at, b, &marker, ss, se, al, table, d.state.get());
    };
    EXPECT_EQ(StatusNullPointer, first(nullptr, 0, block, 1, 63, 0, d.table.get()));
    EXPECT_EQ(StatusBadSize, first(src, 0, nullptr, 1, 63, 0, d.table.get()));
    EXPECT_EQ(StatusNullPointer, first(src, 8, nullptr, 0, 63, 0, d.table.get()));
    for (const auto& band : {std::array<Vek32s, 3>{0, 63, 0}, {1, 64, 0}, {5, 4, 0}, {64, 64, 0}, {1, 63, 14}, {1, 63, -1}})
        EXPECT_EQ(StatusBadRange, first(src, 8, block, band[0], band[1], band[2], nullptr));
    EXPECT_EQ(StatusNullPointer, first(src, 8, block, 1, 63, 13, nullptr));
    EXPECT_EQ(StatusBadRange, vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, 8, &at, block, &dc, &marker, 14, nullptr, d.state.get()));
    EXPECT_EQ(StatusBadRange, vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, 8, &at, block, &marker, 14, nullptr));
    EXPECT_EQ(StatusNullPointer, vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, 8, &at, block, &marker, 13, nullptr));
    EXPECT_EQ(0, at);

    Encoder e(AllSymbols(), 8);
    const auto encode = [&](const Vek16s* s, Vek8u* dst, Vek32s length, Vek32s se, const EncodeHuffmanSpec* table, Vek32s flush) {
        return vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(s, dst, length, &at, 1, se, 0, table, e.state.get(), flush);
    };
    Vek8u* const dst = e.data.data();
    EXPECT_EQ(StatusNullPointer, encode(block, nullptr, 0, 63, e.table.get(), 1));
    EXPECT_EQ(StatusBadSize, encode(block, dst, 0, 63, nullptr, 1));
    EXPECT_EQ(StatusNullPointer, encode(block, dst, 8, 63, nullptr, 1));
    EXPECT_EQ(StatusNullPointer, encode(nullptr, dst, 8, 64, e.table.get(), 0));
    EXPECT_EQ(StatusBadRange, encode(block, dst, 8, 64, e.table.get(), 0));
    // The DC table comes after the range, and a flush needs neither.
    EXPECT_EQ(StatusBadRange, vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, dst, 8, &at, &dc, 14, nullptr, e.state.get(), 0));
    EXPECT_EQ(StatusNullPointer, vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, dst, 8, &at, &dc, 13, nullptr, e.state.get(), 0));
    EXPECT_EQ(StatusOk, vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(nullptr, dst, 8, &at, nullptr, 99, nullptr, e.state.get(), 1));
    std::vector<Vek32s> counters(257);
    EXPECT_EQ(StatusNullPointer, vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, counters.data(), 0, 0, 0, nullptr, 1));
    EXPECT_EQ(StatusNullPointer, vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, counters.data(), 0, 0, 0, e.state.get(), 0));
    EXPECT_EQ(StatusBadRange, vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, counters.data(), 0, 0, 0, e.state.get(), 0));
    EXPECT_EQ(StatusBadRange, vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counters.data(), &dc, -1));
}

UVEK_ON_ALL_TIERS(JpegProgressiveTest);

}  // namespace
}  // namespace uvek::test
