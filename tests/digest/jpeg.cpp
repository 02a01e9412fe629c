// The entropy coders, each on what its counterpart has written, on damaged copies of that and in buffers
// that are too short; then what works on tables and single blocks.
#include "digest/recorder.h"

namespace uvek::digest {
namespace {

using Bytes = std::vector<Vek8u>;

constexpr int kBlockCount = 40;
constexpr Vek16s kEmpty[kBlockCount][64] = {};

// A record of the library's, whose size its own function tells.
template <typename R>
class Record {
public:
    Record(Recorder& r, VekStatus (*getSize)(Vek32s*))
    {
        Vek32s size = 0;
        r.Call(getSize, &size);
        r.Add(getSize, size);
        bytes_.resize((size_t)size / 8 + 1);
    }
    R* get() { return (R*)bytes_.data(); }

private:
    std::vector<uint64_t> bytes_;
};

struct Lists {
    Vek8u bits[16] = {}, vals[256] = {};
};

class Huffman {
public:
    explicit Huffman(Recorder& recorder) : r(recorder) {}

    void Run()
    {
        Tables();
        for (const int density : {0, 3, 40, 64})
            for (const Vek32s al : {0, 1, 4}) {
                MakeBlocks(density, 1 << (al + 1 + density % 7));
                Baseline();
                Progressive(al, 1, 63);
                Progressive(al, 6, 20);
            }
        Lossless();
    }

private:
    // Lists from the counts of some symbols, and records from those lists.
    void MakeTable(Vek32s (&counts)[257])
    {
        Lists lists;
        r.Call(vekiEncodeHuffmanRawTableInit_JPEG_8u, counts, lists.bits, lists.vals);
        r.Add(vekiEncodeHuffmanRawTableInit_JPEG_8u, lists.bits, 16);
        r.Add(vekiEncodeHuffmanRawTableInit_JPEG_8u, lists.vals, 256);
        UseLists(lists);
    }

    void UseLists(const Lists& lists)
    {
        r.Call(vekiEncodeHuffmanSpecInit_JPEG_8u, lists.bits, lists.vals, encoder_.get());
        r.Call(vekiDecodeHuffmanSpecInit_JPEG_8u, lists.bits, lists.vals, decoder_.get());
    }

    void Tables()
    {
        for (int turn = 0; turn < 60; ++turn) {
            Vek32s counts[257] = {};
            const uint32_t symbols = 1 + random() % 256;
            for (uint32_t i = 0; i < symbols; ++i)
                counts[random() % 256] = (Vek32s)(random() >> (1 + random() % 31));
            MakeTable(counts);
            Lists lists;  // and of any shape, mostly refused
            for (Vek8u& count : lists.bits)
                count = (Vek8u)(random() % 4 ? 0 : random() % (turn % 2 ? 256 : 5));
            UseLists(lists);
        }
        Vek32s every[257];
        for (int i = 0; i < 257; ++i)
            every[i] = 1 + (i % 16 < 12 ? 1000 / (1 + i % 16) : 0) + (i < 16 ? 500 : 0);
        MakeTable(every);
    }

    void MakeBlocks(int density, int reach)
    {
        for (auto& block : blocks_)
            for (Vek16s& c : block)
                c = (int)(random() % 64) < density ? (Vek16s)((Vek32s)(random() % (uint32_t)(2 * reach)) - reach) : (Vek16s)0;
    }

    // Encodes all blocks by encode(block or null, flush), into a buffer of `length`.
    template <typename F, typename Encode>
    Bytes Encoded(F* f, Vek32s length, Encode&& encode)
    {
        Bytes data((size_t)length, 0xcd);
        r.Call(vekiEncodeHuffmanStateInit_JPEG_8u, encoding_.get());
        position_ = 0;
        lastDc_ = 0;
        for (const auto& block : blocks_)
            if (encode(block, data.data(), length, 0) != StatusOk)
                break;
        encode((const Vek16s*)nullptr, data.data(), length, 1);
        r.Add(f, position_);
        r.Add(f, data.data(), data.size());
        data.resize((size_t)position_);
        return data;
    }

    // Decodes into `into` by decode(data, length, block); also with every so many bytes damaged, and cut.
    template <typename F, typename Decode>
    void Decoded(F* f, const Bytes& data, const Vek16s (&start)[kBlockCount][64], Decode&& decode)
    {
        for (int turn = 0; turn < 6; ++turn) {
            Bytes copy = data;
            for (int hit = 0; hit < turn && !copy.empty(); ++hit)
                copy[random() % copy.size()] = (Vek8u)(turn == 5 ? 0xff : random());
            if (turn == 4)
                copy.resize(copy.size() / 2);
            Vek16s into[kBlockCount][64];
            std::memcpy(into, start, sizeof into);
            r.Call(vekiDecodeHuffmanStateInit_JPEG_8u, decoding_.get());
            position_ = marker_ = 0;
            lastDc_ = 0;
            copy.push_back(0);  // not counted
            for (auto& block : into) {
                const VekStatus status = decode(copy.data(), (Vek32s)copy.size() - 1, block);
                r.Add(f, position_);
                r.Add(f, marker_);
                r.Add(f, lastDc_);
                if (status != StatusOk)
                    break;
            }
            r.Add(f, into[0], kBlockCount * 64);
        }
    }

    void Baseline()
    {
        Bytes data;
        for (const Vek32s length : {40, 20000})
            data = Encoded(vekiEncodeHuffman8x8_JPEG_16s1u_C1, length, [&](const Vek16s* block, Vek8u* dst, Vek32s size, Vek32s flush) {
                return r.Call(vekiEncodeHuffman8x8_JPEG_16s1u_C1, block, dst, size, &position_, &lastDc_, encoder_.get(), encoder_.get(), encoding_.get(), flush);
            });
        Decoded(vekiDecodeHuffman8x8_JPEG_1u16s_C1, data, kEmpty, [&](const Vek8u* src, Vek32s size, Vek16s* block) {
            return r.Call(vekiDecodeHuffman8x8_JPEG_1u16s_C1, src, size, &position_, block, &lastDc_, &marker_, decoder_.get(), decoder_.get(), decoding_.get());
        });
    }

    void Lossless()
    {
        Bytes data;
        MakeBlocks(64, 30000);
        for (const Vek32s length : {7, 20000})
            data = Encoded(vekiEncodeHuffmanOne_JPEG_16s1u_C1, length, [&](const Vek16s* block, Vek8u* dst, Vek32s size, Vek32s flush) {
                VekStatus status = StatusOk;
                for (int i = 0; i < (block ? 64 : 1) && status == StatusOk; ++i)
                    status = r.Call(vekiEncodeHuffmanOne_JPEG_16s1u_C1, block ? block + i : nullptr, dst, size, &position_, encoder_.get(), encoding_.get(), flush);
                return status;
            });
        Decoded(vekiDecodeHuffmanOne_JPEG_1u16s_C1, data, kEmpty, [&](const Vek8u* src, Vek32s size, Vek16s* block) {
            VekStatus status = StatusOk;
            for (int i = 0; i < 64 && status == StatusOk; ++i)
                status = r.Call(vekiDecodeHuffmanOne_JPEG_1u16s_C1, src, size, &position_, block + i, &marker_, decoder_.get(), decoding_.get());
            return status;
        });
    }

    void Progressive(Vek32s al, Vek32s ss, Vek32s se)
    {
        constexpr Vek32s kLength = 20000;
        Bytes data = Encoded(vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1, kLength, [&](const Vek16s* block, Vek8u* dst, Vek32s size, Vek32s flush) {
            return r.Call(vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1, block, dst, size, &position_, &lastDc_, al, encoder_.get(), encoding_.get(), flush);
        });
        Decoded(vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1, data, kEmpty, [&](const Vek8u* src, Vek32s size, Vek16s* block) {
            return r.Call(vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1, src, size, &position_, block, &lastDc_, &marker_, al, decoder_.get(), decoding_.get());
        });
        data = Encoded(vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1, kLength, [&](const Vek16s* block, Vek8u* dst, Vek32s size, Vek32s flush) {
            return r.Call(vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1, block, dst, size, &position_, al, encoding_.get(), flush);
        });
        Decoded(vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1, data, kEmpty, [&](const Vek8u* src, Vek32s size, Vek16s* block) {
            return r.Call(vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1, src, size, &position_, block, &marker_, al, decoding_.get());
        });
        data = Encoded(vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, kLength, [&](const Vek16s* block, Vek8u* dst, Vek32s size, Vek32s flush) {
            return r.Call(vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, block, dst, size, &position_, ss, se, al + 1, encoder_.get(), encoding_.get(), flush);
        });
        Decoded(vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, data, kEmpty, [&](const Vek8u* src, Vek32s size, Vek16s* block) {
            return r.Call(vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, src, size, &position_, block, &marker_, ss, se, al + 1, decoder_.get(), decoding_.get());
        });
        data = Encoded(vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, kLength, [&](const Vek16s* block, Vek8u* dst, Vek32s size, Vek32s flush) {
            return r.Call(vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, block, dst, size, &position_, ss, se, al, encoder_.get(), encoding_.get(), flush);
        });
        Vek16s coarse[kBlockCount][64];  // what the scan before has left
        for (int i = 0; i < kBlockCount; ++i)
            for (int k = 0; k < 64; ++k)
                coarse[i][k] = (Vek16s)(blocks_[i][k] / (2 << al) * (2 << al));
        Decoded(vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1, data, coarse, [&](const Vek8u* src, Vek32s size, Vek16s* block) {
            return r.Call(vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1, src, size, &position_, block, &marker_, ss, se, al, decoder_.get(), decoding_.get());
        });

        Vek32s counts[256] = {};
        lastDc_ = 0;
        for (const auto& block : blocks_)
            r.Call(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1, block, counts, &lastDc_, al);
        r.Add(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1, counts, 256);
        Count(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, ss, se, al);
        Count(vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1, ss, se, al);
    }

    template <typename F>
    void Count(F* f, Vek32s ss, Vek32s se, Vek32s al)
    {
        Vek32s counts[256] = {};
        r.Call(vekiEncodeHuffmanStateInit_JPEG_8u, encoding_.get());
        for (const auto& block : blocks_)
            r.Call(f, block, counts, ss, se, al, encoding_.get(), 0);
        r.Call(f, (const Vek16s*)nullptr, counts, ss, se, al, encoding_.get(), 1);
        r.Add(f, counts, 256);
    }

    Recorder& r;
    Random random{11};
    Record<EncodeHuffmanSpec> encoder_{r, vekiEncodeHuffmanSpecGetBufSize_JPEG_8u};
    Record<DecodeHuffmanSpec> decoder_{r, vekiDecodeHuffmanSpecGetBufSize_JPEG_8u};
    Record<EncodeHuffmanState> encoding_{r, vekiEncodeHuffmanStateGetBufSize_JPEG_8u};
    Record<DecodeHuffmanState> decoding_{r, vekiDecodeHuffmanStateGetBufSize_JPEG_8u};
    Vek16s blocks_[kBlockCount][64] = {};
    Vek16s lastDc_ = 0;
    Vek32s position_ = 0, marker_ = 0;
};

}  // namespace

void CallHuffman(Recorder& recorder) { Huffman(recorder).Run(); }

void CallBlocks(Recorder& r)
{
    Random random(12);
    for (int turn = 0; turn < 400; ++turn) {
        Bytes raw = Vector<Vek8u>(random, 64);
        Vek16u forward[64] = {}, inverse[64] = {};
        for (Vek8u& step : raw)
            step = turn % 9 == 0 ? step : (Vek8u)(1 + step % (1 + turn % 40));
        r.Call(vekiQuantFwdRawTableInit_JPEG_8u, raw.data(), turn % 120);
        r.Add(vekiQuantFwdRawTableInit_JPEG_8u, raw.data(), 64);
        r.Call(vekiQuantFwdTableInit_JPEG_8u16u, raw.data(), forward);
        r.Add(vekiQuantFwdTableInit_JPEG_8u16u, forward, 64);
        r.Call(vekiQuantInvTableInit_JPEG_8u16u, raw.data(), inverse);
        r.Add(vekiQuantInvTableInit_JPEG_8u16u, inverse, 64);

        const Raster<Vek8u> src(random, {8, 8, (Kind)(turn % 3), turn % 2 == 0}, 1), dst(random, {8, 8, Kind::Noise, turn % 2 == 0}, 1);
        Vek16s coefficients[64];
        r.Call(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, src.data(), src.step(), coefficients, forward);
        r.Add(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R, coefficients, 64);
        if (turn % 4 == 0)
            for (Vek16s& c : coefficients)
                c = (Vek16s)(random() >> random() % 16);
        r.Call(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R, coefficients, dst.data(), dst.step(), inverse);
        dst.NoteFor(r, vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R);
    }

    // Alphas, histograms, planes of channels: what a signature does not tell how to fill.
    for (const Shape& shape : kShapes) {
        const VekImageSize size = {shape.width, shape.height};
        const Raster<Vek8u> a(random, shape, 3), b(random, shape, 3), dst(random, shape, 3);
        for (Vek32s type = 0; type <= 12; ++type) {
            const Vek8u alpha1 = (Vek8u)(random() | (type == 3 ? 255 : 0)), alpha2 = (Vek8u)random();
            r.Call(vekiAlphaCompC_8u_C3R, a.data(), a.step(), alpha1, b.data(), b.step(), alpha2, dst.data(), dst.step(), size, type);
            dst.NoteFor(r, vekiAlphaCompC_8u_C3R);
        }
        const Vek32s levels[] = {-3, 0, 10, 11, 90, 60, 200, 256, 300};
        Vek32s counts[3][8] = {};
        Vek32s* const histograms[3] = {counts[0], counts[1], counts[2]};
        const Vek32s* const boundaries[3] = {levels, levels + 1, levels + 2};
        const Vek32s lengths[3] = {9, 8, 5};
        r.Call(vekiHistogramRange_8u_C1R, a.data(), a.step(), size, counts[0], levels, 9);
        r.Add(vekiHistogramRange_8u_C1R, counts[0], 8);
        r.Call(vekiHistogramRange_8u_C3R, a.data(), a.step(), size, histograms, boundaries, lengths);
        r.Add(vekiHistogramRange_8u_C3R, counts[0], 24);
        for (Vek32s channel = 0; channel <= 3; ++channel) {
            Vek64f mean = -1, deviation = -1;
            r.Call(vekiMean_StdDev_8u_C3CR, a.data(), a.step(), size, channel, &mean, &deviation);
            r.Add(vekiMean_StdDev_8u_C3CR, mean);
            r.Add(vekiMean_StdDev_8u_C3CR, deviation);
        }
        Vek8u least[3] = {}, most[3] = {};
        r.Call(vekiMinMax_8u_C3R, a.data(), a.step(), size, least, most);
        r.Add(vekiMinMax_8u_C3R, least, 3);
        r.Add(vekiMinMax_8u_C3R, most, 3);
        const Raster<Vek32f> floats(random, shape, 1);
        for (const Vek32s hint : {0, 1, 2}) {
            Vek64f sum = -1;
            r.Call(vekiSum_32f_C1R, floats.data(), floats.step(), size, &sum, hint);
            r.Add(vekiSum_32f_C1R, sum);
        }
        const std::vector<Vek16s> words = Vector<Vek16s>(random, (size_t)shape.width * 5 + 1);
        std::vector<Vek16s> apart = Vector<Vek16s>(random, (size_t)shape.width * 5 + 5);
        Vek16s* channels[5];
        for (int i = 0; i < 5; ++i)
            channels[i] = apart.data() + i * (shape.width + 1);
        for (const Vek32s count : {0, 1, 2, 3, 5}) {
            for (const Vek16s* p : {words.data(), words.data() + 1}) {  // the status tells of alignment, which the allocator chooses
                const VekStatus status = veksDeinterleave_16s(p, count, shape.width, channels);
                r.Add(veksDeinterleave_16s, status == WarnUnaligned ? StatusOk : status);
            }
            r.Add(veksDeinterleave_16s, apart.data(), apart.size());
        }
    }
}

}  // namespace uvek::digest
