// Just enough of a JPEG file for tests and benchmarks of the coders: its tables, its scans, and the walk
// over the blocks of a scan.
#ifndef UVEK_TESTS_SUPPORT_JPEG_FILE_H
#define UVEK_TESTS_SUPPORT_JPEG_FILE_H

#include <algorithm>
#include <cstdint>
#include <numeric>
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
        const int total = std::accumulate(a.bits, a.bits + 16, 0);
        return std::equal(a.bits, a.bits + 16, b.bits) && std::equal(a.vals, a.vals + std::min(total, 256), b.vals);
    }
};

struct JpegComponent {
    int id, h, v;
    int blocksAcross, blocksDown;    // in a scan of this component alone
    int paddedAcross, paddedDown;    // in an interleaved scan, and in memory
};

// What a scan codes of its blocks: all of them, or a band of coefficients down to bit `al`, refined if `ah` is not 0.
struct ScanKind {
    bool progressive = false;
    Vek32s ss = 0, se = 63, ah = 0, al = 0;
};

struct JpegScan : ScanKind {
    std::vector<int> components;     // indices into JpegFile::components
    int dcTable[4] = {}, acTable[4] = {};
    int restartInterval = 0;
    HuffmanLists dc[4], ac[4];
    size_t begin = 0, end = 0;       // of the entropy-coded data, restart markers included
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
            scan.progressive = file.progressive;
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
    // A component alone comes in its own blocks, several come in MCUs.
    const bool alone = scan.components.size() == 1;
    const JpegComponent& first = file.components[(size_t)scan.components[0]];
    const int across = alone ? first.blocksAcross : file.mcusAcross, down = alone ? first.blocksDown : file.mcusDown;
    VekStatus status = StatusOk;
    int toGo = scan.restartInterval;
    for (int my = 0; my < down; ++my)
        for (int mx = 0; mx < across; ++mx) {
            if (scan.restartInterval > 0 && toGo-- == 0) {
                if ((status = restart()) < 0)
                    return status;
                toGo = scan.restartInterval - 1;
            }
            for (size_t i = 0; i < scan.components.size(); ++i) {
                const JpegComponent& c = file.components[(size_t)scan.components[i]];
                const int h = alone ? 1 : c.h, v = alone ? 1 : c.v;
                for (int y = 0; y < v; ++y)
                    for (int x = 0; x < h; ++x)
                        if ((status = block((int)i, scan.components[i], (my * v + y) * c.paddedAcross + mx * h + x)) < 0)
                            return status;
            }
        }
    return status;
}

inline Record<DecodeHuffmanSpec> DecodeTable(const HuffmanLists& lists)
{
    Record<DecodeHuffmanSpec> table(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u);
    vekiDecodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, table.get());
    return table;
}

inline Record<EncodeHuffmanSpec> EncodeTable(const HuffmanLists& lists)
{
    Record<EncodeHuffmanSpec> table(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u);
    vekiEncodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, table.get());
    return table;
}

// The decoder for each kind of scan, with what it keeps between blocks.
struct BlockDecoder {
    VekStatus Decode(const ScanKind& s, const uint8_t* data, Vek32s length, Vek16s* block, Vek16s* lastDc, const DecodeHuffmanSpec* dc,
                     const DecodeHuffmanSpec* ac)
    {
        if (!s.progressive)
            return vekiDecodeHuffman8x8_JPEG_1u16s_C1(data, length, &position, block, lastDc, &marker, dc, ac, state.get());
        if (s.ss == 0)
            return s.ah == 0 ? vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(data, length, &position, block, lastDc, &marker, s.al, dc, state.get())
                             : vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data, length, &position, block, &marker, s.al, state.get());
        const auto decode = s.ah == 0 ? vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1 : vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1;
        return decode(data, length, &position, block, &marker, s.ss, s.se, s.al, ac, state.get());
    }

    Record<DecodeHuffmanState> state{vekiDecodeHuffmanStateGetBufSize_JPEG_8u};
    Vek32s position = 0, marker = 0;
};

// The encoder for each kind of scan; null tables and blocks will do for a flush of bits alone.
struct BlockEncoder {
    VekStatus Encode(const ScanKind& s, uint8_t* data, Vek32s length, const Vek16s* block, Vek16s* lastDc, const EncodeHuffmanSpec* dc,
                     const EncodeHuffmanSpec* ac, Vek32s flush)
    {
        if (!s.progressive)
            return vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, data, length, &position, lastDc, dc, ac, state.get(), flush);
        if (s.ss == 0)
            return s.ah == 0 ? vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, data, length, &position, lastDc, s.al, dc, state.get(), flush)
                             : vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, data, length, &position, s.al, state.get(), flush);
        const auto encode = s.ah == 0 ? vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1 : vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1;
        return encode(block, data, length, &position, s.ss, s.se, s.al, ac, state.get(), flush);
    }

    Record<EncodeHuffmanState> state{vekiEncodeHuffmanStateGetBufSize_JPEG_8u};
    Vek32s position = 0;
};

// The counter for each kind of progressive scan that has symbols.
inline VekStatus CountSymbols(const ScanKind& s, const Vek16s* block, Vek16s* lastDc, Vek32s* counters, EncodeHuffmanState* state, Vek32s flush)
{
    if (s.ss == 0)
        return flush ? (VekStatus)StatusOk : vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, counters, lastDc, s.al);
    const auto count = s.ah == 0 ? vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1 : vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1;
    return count(block, counters, s.ss, s.se, s.al, state, flush);
}

// Bytes of a scan through the library's decoders, into the coefficients.
class ScanDecoder {
public:
    ScanDecoder(const JpegFile& file, const JpegScan& scan) : file_(file), scan_(scan)
    {
        for (int i = 0; i < 4; ++i) {
            dc_.push_back(DecodeTable(scan.dc[i]));
            ac_.push_back(DecodeTable(scan.ac[i]));
        }
    }

    VekStatus Decode(const uint8_t* data, Vek32s length, Coefficients& coefficients)
    {
        BlockDecoder coder;
        Vek16s lastDc[4] = {};
        return WalkScan(file_, scan_, [&](int i, int component, int index) {
            Vek16s* const block = &coefficients[(size_t)component][(size_t)index * 64];
            return coder.Decode(scan_, data, length, block, &lastDc[component], dc_[scan_.dcTable[i]].get(), ac_[scan_.acTable[i]].get());
        }, [&] {
            // The marker may still lie ahead when no bit behind the interval was asked for.
            while (coder.marker == 0 && coder.position + 1 < length)
                if (data[coder.position++] == 0xff && data[coder.position] != 0 && data[coder.position] != 0xff)
                    coder.marker = data[coder.position++];
            if ((coder.marker & 0xf8) != 0xd0)
                return (VekStatus)StatusBitstreamEnd;
            coder.marker = 0;
            std::fill(lastDc, lastDc + 4, (Vek16s)0);
            return vekiDecodeHuffmanStateInit_JPEG_8u(coder.state.get());
        });
    }

private:
    const JpegFile& file_;
    const JpegScan& scan_;
    std::vector<Record<DecodeHuffmanSpec>> dc_, ac_;
};

// Coefficients through the library's encoders, into the bytes of a scan.
class ScanEncoder {
public:
    ScanEncoder(const JpegFile& file, const JpegScan& scan) : file_(file), scan_(scan)
    {
        for (int i = 0; i < 4; ++i) {
            dc_.push_back(EncodeTable(scan.dc[i]));
            ac_.push_back(EncodeTable(scan.ac[i]));
        }
    }

    // `data` is cut to what was written.
    VekStatus Encode(const Coefficients& coefficients, Bytes& data)
    {
        BlockEncoder coder;
        Vek16s lastDc[4] = {};
        int restarts = 0;
        const auto encode = [&](int i, const Vek16s* block, Vek16s* last, Vek32s flush) {
            return coder.Encode(scan_, data.data(), (Vek32s)data.size(), block, last, dc_[scan_.dcTable[i]].get(), ac_[scan_.acTable[i]].get(), flush);
        };
        VekStatus status = WalkScan(file_, scan_, [&](int i, int component, int index) {
            return encode(i, &coefficients[(size_t)component][(size_t)index * 64], &lastDc[component], 0);
        }, [&] {
            const VekStatus flushed = encode(0, nullptr, nullptr, 1);
            if (flushed < 0 || data.size() - (size_t)coder.position < 2)
                return flushed < 0 ? flushed : (VekStatus)StatusBitstreamExhausted;
            data[(size_t)coder.position++] = 0xff;
            data[(size_t)coder.position++] = (uint8_t)(0xd0 + restarts++ % 8);
            std::fill(lastDc, lastDc + 4, (Vek16s)0);
            return flushed;
        });
        if (status >= 0)
            status = encode(0, nullptr, nullptr, 1);
        data.resize((size_t)coder.position);
        return status;
    }

    // The lists that a table made for a progressive scan has.
    HuffmanLists OptimisedLists(const Coefficients& coefficients) const
    {
        std::vector<Vek32s> counters(257);
        Record<EncodeHuffmanState> state(vekiEncodeHuffmanStateGetBufSize_JPEG_8u);
        Vek16s lastDc[4] = {};
        const auto flush = [&] {
            std::fill(lastDc, lastDc + 4, (Vek16s)0);
            return CountSymbols(scan_, nullptr, nullptr, counters.data(), state.get(), 1);
        };
        WalkScan(file_, scan_, [&](int, int component, int index) {
            return CountSymbols(scan_, &coefficients[(size_t)component][(size_t)index * 64], &lastDc[component], counters.data(), state.get(), 0);
        }, flush);
        flush();
        HuffmanLists lists;
        vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals);
        return lists;
    }

private:
    const JpegFile& file_;
    const JpegScan& scan_;
    std::vector<Record<EncodeHuffmanSpec>> dc_, ac_;
};

}  // namespace uvek::test

#endif
