// Just enough of a JPEG file for tests and benchmarks of the coders: its tables, its scans, and the walk
// over the blocks of a scan.
#ifndef UVEK_TESTS_SUPPORT_JPEG_FILE_H
#define UVEK_TESTS_SUPPORT_JPEG_FILE_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include "uvek/jpeg.h"

namespace uvek::test {

using Bytes = std::vector<uint8_t>;

// A caller's record of the library, allocated at the size that it asks for.
template <typename T>
class Record {
public:
    explicit Record(VekStatus (*getSize)(Vek32s*))
    {
        Vek32s size = 0;
        getSize(&size);
        words_.resize(((size_t)size + 7) / 8);
    }
    T* get() { return (T*)words_.data(); }
    const T* get() const { return (const T*)words_.data(); }
    friend bool operator==(const Record& a, const Record& b) { return a.words_ == b.words_; }

private:
    std::vector<uint64_t> words_;
};

struct HuffmanLists {
    Vek8u bits[16] = {};
    Vek8u vals[256] = {};

    // Equal in the symbols that are in use.
    friend bool operator==(const HuffmanLists& a, const HuffmanLists& b)
    {
        int total = 0;
        for (int i = 0; i < 16; total += a.bits[i++])
            if (a.bits[i] != b.bits[i])
                return false;
        return std::equal(a.vals, a.vals + total, b.vals);
    }
};

struct JpegComponent {
    int id, h, v;
    int blocksAcross, blocksDown;    // in a scan of this component alone
    int paddedAcross, paddedDown;    // in an interleaved scan, and in memory
};

struct JpegScan {
    std::vector<int> components;     // indices into JpegFile::components
    int dcTable[4] = {}, acTable[4] = {};
    int ss, se, ah, al;
    int restartInterval;
    HuffmanLists dc[4], ac[4];
    size_t begin, end;               // of the entropy-coded data, restart markers included
};

struct JpegFile {
    Bytes bytes;
    bool progressive = false;
    int width = 0, height = 0, mcusAcross = 0, mcusDown = 0;
    std::vector<JpegComponent> components;
    std::vector<JpegScan> scans;
};

// For each component its blocks, 64 coefficients each in natural order.
using Coefficients = std::vector<std::vector<Vek16s>>;

inline Coefficients EmptyCoefficients(const JpegFile& file)
{
    Coefficients all;
    for (const JpegComponent& c : file.components)
        all.emplace_back((size_t)c.paddedAcross * c.paddedDown * 64);
    return all;
}

inline JpegFile ParseJpeg(const Bytes& bytes)
{
    JpegFile file;
    file.bytes = bytes;
    JpegScan tables{};
    const auto word = [&](size_t at) { return bytes.at(at) << 8 | bytes.at(at + 1); };
    const auto up = [](int a, int b) { return (a + b - 1) / b; };
    for (size_t at = 2; at + 4 <= bytes.size();) {
        const int marker = bytes[at + 1];
        size_t p = at + 4;
        const size_t end = at + 2 + (size_t)word(at + 2);
        if (marker == 0xd9)
            break;
        if (marker == 0xc4) {
            while (p < end) {
                HuffmanLists& lists = (bytes[p] & 0x10 ? tables.ac : tables.dc)[bytes[p] & 3];
                ++p;
                size_t total = 0;
                for (int i = 0; i < 16; ++i)
                    total += lists.bits[i] = bytes[p++];
                for (size_t i = 0; i < total; ++i)
                    lists.vals[i] = bytes[p++];
            }
        } else if (marker == 0xdd) {
            tables.restartInterval = word(p);
        } else if (marker >= 0xc0 && marker <= 0xc2) {
            file.progressive = marker == 0xc2;
            file.height = word(p + 1);
            file.width = word(p + 3);
            int maxH = 1, maxV = 1;
            for (int i = 0; i < bytes[p + 5]; ++i) {
                const uint8_t* const c = &bytes[p + 6 + 3 * (size_t)i];
                file.components.push_back({c[0], c[1] >> 4, c[1] & 15, 0, 0, 0, 0});
                maxH = std::max(maxH, c[1] >> 4);
                maxV = std::max(maxV, c[1] & 15);
            }
            file.mcusAcross = up(file.width, 8 * maxH);
            file.mcusDown = up(file.height, 8 * maxV);
            for (JpegComponent& c : file.components) {
                c.blocksAcross = up(up(file.width * c.h, maxH), 8);
                c.blocksDown = up(up(file.height * c.v, maxV), 8);
                c.paddedAcross = file.mcusAcross * c.h;
                c.paddedDown = file.mcusDown * c.v;
            }
        } else if (marker == 0xda) {
            JpegScan scan = tables;
            const int count = bytes[p++];
            for (int i = 0; i < count; ++i, p += 2)
                for (size_t c = 0; c < file.components.size(); ++c)
                    if (file.components[c].id == bytes[p]) {
                        scan.dcTable[i] = bytes[p + 1] >> 4;
                        scan.acTable[i] = bytes[p + 1] & 15;
                        scan.components.push_back((int)c);
                    }
            scan.ss = bytes[p];
            scan.se = bytes[p + 1];
            scan.ah = bytes[p + 2] >> 4;
            scan.al = bytes[p + 2] & 15;
            scan.begin = scan.end = end;
            while (scan.end + 1 < bytes.size()
                   && (bytes[scan.end] != 0xff || bytes[scan.end + 1] == 0 || (bytes[scan.end + 1] & 0xf8) == 0xd0))
                ++scan.end;
            file.scans.push_back(scan);
            at = scan.end;
            continue;
        }
        at = end;
    }
    return file;
}

// Calls block(i, component, index of the block) for each block in the order of the scan, i counting
// the scan's components, and restart() between restart intervals. Stops at the first status below 0.
template <typename Block, typename Restart>
VekStatus WalkScan(const JpegFile& file, const JpegScan& scan, Block&& block, Restart&& restart)
{
    int toGo = scan.restartInterval;
    const auto nextUnit = [&] {
        if (scan.restartInterval == 0)
            return StatusOk + 0;
        const VekStatus status = toGo == 0 ? restart() : (VekStatus)StatusOk;
        toGo = (toGo == 0 ? scan.restartInterval : toGo) - 1;
        return status;
    };
    VekStatus status = StatusOk;
    if (scan.components.size() == 1) {
        const JpegComponent& c = file.components[(size_t)scan.components[0]];
        for (int y = 0; y < c.blocksDown; ++y)
            for (int x = 0; x < c.blocksAcross; ++x) {
                if ((status = nextUnit()) < 0 || (status = block(0, scan.components[0], y * c.paddedAcross + x)) < 0)
                    return status;
            }
        return status;
    }
    for (int my = 0; my < file.mcusDown; ++my)
        for (int mx = 0; mx < file.mcusAcross; ++mx) {
            if ((status = nextUnit()) < 0)
                return status;
            for (size_t i = 0; i < scan.components.size(); ++i) {
                const JpegComponent& c = file.components[(size_t)scan.components[i]];
                for (int y = 0; y < c.v; ++y)
                    for (int x = 0; x < c.h; ++x)
                        if ((status = block((int)i, scan.components[i], (my * c.v + y) * c.paddedAcross + mx * c.h + x)) < 0)
                            return status;
            }
        }
    return status;
}

// Bytes of a scan through the library's decoders, into the coefficients.
class ScanDecoder {
public:
    ScanDecoder(const JpegFile& file, const JpegScan& scan) : file_(file), scan_(scan)
    {
        for (int i = 0; i < 4; ++i) {
            dc_.emplace_back(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u);
            ac_.emplace_back(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u);
            vekiDecodeHuffmanSpecInit_JPEG_8u(scan.dc[i].bits, scan.dc[i].vals, dc_[i].get());
            vekiDecodeHuffmanSpecInit_JPEG_8u(scan.ac[i].bits, scan.ac[i].vals, ac_[i].get());
        }
    }

    VekStatus Decode(const uint8_t* data, Vek32s length, Coefficients& coefficients)
    {
        Start();
        position_ = 0;
        return WalkScan(file_, scan_, [&](int i, int component, int index) {
            return DecodeBlock(data, length, i, &coefficients[(size_t)component][(size_t)index * 64], lastDc_[component]);
        }, [&] {
            // The marker may still lie ahead when no bit behind the interval was asked for.
            while (marker_ == 0 && position_ + 1 < length)
                if (data[position_++] == 0xff && data[position_] != 0 && data[position_] != 0xff)
                    marker_ = data[position_++];
            if ((marker_ & 0xf8) != 0xd0)
                return (VekStatus)StatusBitstreamEnd;
            Start();
            return (VekStatus)StatusOk;
        });
    }

private:
    void Start()
    {
        marker_ = 0;
        vekiDecodeHuffmanStateInit_JPEG_8u(state_.get());
        for (Vek16s& dc : lastDc_)
            dc = 0;
    }

    VekStatus DecodeBlock(const uint8_t* data, Vek32s length, int i, Vek16s* block, Vek16s& lastDc);

    const JpegFile& file_;
    const JpegScan& scan_;
    std::vector<Record<DecodeHuffmanSpec>> dc_, ac_;
    Record<DecodeHuffmanState> state_{vekiDecodeHuffmanStateGetBufSize_JPEG_8u};
    Vek16s lastDc_[4];
    Vek32s position_, marker_;
};

inline VekStatus ScanDecoder::DecodeBlock(const uint8_t* data, Vek32s length, int i, Vek16s* block, Vek16s& lastDc)
{
    const JpegScan& s = scan_;
    const DecodeHuffmanSpec* const dc = dc_[s.dcTable[i]].get();
    const DecodeHuffmanSpec* const ac = ac_[s.acTable[i]].get();
    if (!file_.progressive)
        return vekiDecodeHuffman8x8_JPEG_1u16s_C1(data, length, &position_, block, &lastDc, &marker_, dc, ac, state_.get());
    if (s.ss == 0)
        return s.ah == 0 ? vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(data, length, &position_, block, &lastDc, &marker_, s.al, dc, state_.get())
                         : vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data, length, &position_, block, &marker_, s.al, state_.get());
    const auto decode = s.ah == 0 ? vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1 : vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1;
    return decode(data, length, &position_, block, &marker_, s.ss, s.se, s.al, ac, state_.get());
}

// Coefficients through the library's encoders, into the bytes of a scan.
class ScanEncoder {
public:
    ScanEncoder(const JpegFile& file, const JpegScan& scan) : file_(file), scan_(scan)
    {
        for (int i = 0; i < 4; ++i) {
            dc_.emplace_back(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u);
            ac_.emplace_back(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u);
            vekiEncodeHuffmanSpecInit_JPEG_8u(scan.dc[i].bits, scan.dc[i].vals, dc_[i].get());
            vekiEncodeHuffmanSpecInit_JPEG_8u(scan.ac[i].bits, scan.ac[i].vals, ac_[i].get());
        }
        vekiEncodeHuffmanStateInit_JPEG_8u(state_.get());
    }

    // `data` is cut to what was written.
    VekStatus Encode(const Coefficients& coefficients, Bytes& data)
    {
        position_ = 0;
        int restarts = 0;
        for (Vek16s& dc : lastDc_)
            dc = 0;
        VekStatus status = WalkScan(file_, scan_, [&](int i, int component, int index) {
            return EncodeBlock(data, i, &coefficients[(size_t)component][(size_t)index * 64], &lastDc_[component], 0);
        }, [&] {
            const VekStatus flushed = EncodeBlock(data, 0, nullptr, nullptr, 1);
            if (flushed < 0 || data.size() - (size_t)position_ < 2)
                return flushed < 0 ? flushed : (VekStatus)StatusBitstreamExhausted;
            data[(size_t)position_++] = 0xff;
            data[(size_t)position_++] = (uint8_t)(0xd0 + restarts++ % 8);
            for (Vek16s& dc : lastDc_)
                dc = 0;
            return flushed;
        });
        if (status >= 0)
            status = EncodeBlock(data, 0, nullptr, nullptr, 1);
        data.resize((size_t)position_);
        return status;
    }

private:
    VekStatus EncodeBlock(Bytes& data, int i, const Vek16s* block, Vek16s* lastDc, Vek32s flush);

    const JpegFile& file_;
    const JpegScan& scan_;
    std::vector<Record<EncodeHuffmanSpec>> dc_, ac_;
    Record<EncodeHuffmanState> state_{vekiEncodeHuffmanStateGetBufSize_JPEG_8u};
    Vek16s lastDc_[4];
    Vek32s position_;
};

inline VekStatus ScanEncoder::EncodeBlock(Bytes& data, int i, const Vek16s* block, Vek16s* lastDc, Vek32s flush)
{
    const JpegScan& s = scan_;
    const EncodeHuffmanSpec* const dc = dc_[s.dcTable[i]].get();
    const EncodeHuffmanSpec* const ac = ac_[s.acTable[i]].get();
    const Vek32s length = (Vek32s)data.size();
    if (!file_.progressive)
        return vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, data.data(), length, &position_, lastDc, dc, ac, state_.get(), flush);
    if (s.ss == 0)
        return s.ah == 0 ? vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, data.data(), length, &position_, lastDc, s.al, dc, state_.get(), flush)
                         : vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, data.data(), length, &position_, s.al, state_.get(), flush);
    const auto encode = s.ah == 0 ? vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1 : vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1;
    return encode(block, data.data(), length, &position_, s.ss, s.se, s.al, ac, state_.get(), flush);
}

// The lists that an optimised table for a progressive scan has.
inline HuffmanLists OptimisedLists(const JpegFile& file, const JpegScan& s, const Coefficients& coefficients)
{
    std::vector<Vek32s> counters(257);
    Record<EncodeHuffmanState> state(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
    Vek16s lastDc[4] = {};
    const auto countAc = s.ah == 0 ? vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1 : vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1;
    WalkScan(file, s, [&](int, int component, int index) {
        const Vek16s* const block = &coefficients[(size_t)component][(size_t)index * 64];
        return s.ss == 0 ? vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counters.data(), &lastDc[component], s.al)
                         : countAc(block, counters.data(), s.ss, s.se, s.al, state.get(), 0);
    }, [&] {
        for (Vek16s& dc : lastDc)
            dc = 0;
        return s.ss == 0 ? (VekStatus)StatusOk : countAc(nullptr, counters.data(), 0, 0, 0, state.get(), 1);
    });
    countAc(nullptr, counters.data(), 0, 0, 0, state.get(), 1);
    HuffmanLists lists;
    vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals);
    return lists;
}

}  // namespace uvek::test

#endif
