// Makes a baseline JPEG file smaller without any loss: jpeg_transcode IN.jpg OUT.jpg
//
// The entropy-coded data of each scan is decoded to coefficients, which stay as they are, and coded again with
// Huffman tables made for them. No pixel is ever computed; all other segments are copied.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <uvek/uvek.hpp>

namespace {

using Bytes = std::vector<Vek8u>;
using Block = std::array<Vek16s, 64>;

enum Marker { kSof0 = 0xc0, kDht = 0xc4, kSof15 = 0xcf, kJpg = 0xc8, kDac = 0xcc, kRst0 = 0xd0, kRst7 = 0xd7, kSoi = 0xd8, kEoi = 0xd9, kSos = 0xda, kDri = 0xdd };

struct Component {
    int h, v;                   // sampling factors
    int dcTable = 0, acTable = 0;
    Vek16s lastDc = 0;          // the prediction of the next block
};

// What a DHT segment tells of a table.
struct Lists {
    std::array<Vek8u, 16> bits{};
    std::array<Vek8u, 256> values{};

    int count() const
    {
        int sum = 0;
        for (const Vek8u n : bits)
            sum += n;
        return sum;
    }
};
using Counts = std::array<Vek32s, 257>;  // how often each symbol occurs; the last one is reserved

int CeilDiv(int a, int b) { return (a + b - 1) / b; }

class Transcoder {
public:
    explicit Transcoder(Bytes in) : in_(std::move(in)) {}

    Bytes Run()
    {
        if (Word(0) != (0xff00 | kSoi))
            throw std::runtime_error("no JPEG file");
        out_.assign({0xff, kSoi});
        for (position_ = 2;;) {
            const int marker = Word(position_) & 0xff, begin = position_;
            if (Byte(position_) != 0xff)
                throw std::runtime_error("a marker is missing");
            if (marker == kEoi) {
                out_.insert(out_.end(), {0xff, kEoi});
                return std::move(out_);
            }
            position_ += 2 + Word(begin + 2);
            Byte(position_ - 1);
            if (marker == kDht) {  // its tables are replaced by others, scan by scan
                ReadTables(begin + 4);
                continue;
            }
            if (marker == kSof0)
                ReadFrame(begin + 4);
            else if (marker > kSof0 && marker <= kSof15 && marker != kJpg && marker != kDac)
                throw std::runtime_error("only baseline files are transcoded");
            else if (marker == kDri)
                restart_ = Word(begin + 4);
            else if (marker == kSos) {
                TranscodeScan(begin);
                continue;
            }
            out_.insert(out_.end(), in_.begin() + begin, in_.begin() + position_);
        }
    }

private:
    // ---- Segments ----

    int Byte(int at) const
    {
        if ((size_t)at >= in_.size())
            throw std::runtime_error("the file is cut off");
        return in_[(size_t)at];
    }
    int Word(int at) const { return Byte(at) << 8 | Byte(at + 1); }

    void ReadTables(int at)
    {
        while (at < position_) {
            Lists lists;
            const int id = Byte(at++);
            for (Vek8u& n : lists.bits)
                n = (Vek8u)Byte(at++);
            for (int i = 0; i < lists.count(); ++i)
                lists.values.at((size_t)i) = (Vek8u)Byte(at++);
            tables_[id] = lists;
        }
    }

    void ReadFrame(int at)
    {
        height_ = Word(at + 1);
        width_ = Word(at + 3);
        const int count = Byte(at + 5);
        for (int i = 0; i < count; ++i) {
            const int sampling = Byte(at + 7 + 3 * i);
            const Component component = {sampling >> 4, sampling & 15};
            if (component.h < 1 || component.h > 4 || component.v < 1 || component.v > 4)
                throw std::runtime_error("a sampling factor is out of range");
            mostH_ = std::max(mostH_, component.h);
            mostV_ = std::max(mostV_, component.v);
            components_[Byte(at + 6 + 3 * i)] = component;
        }
        if (Byte(at) != 8 || width_ < 1 || height_ < 1)
            throw std::runtime_error("the frame's size or precision is not supported");
    }

    // ---- Scans ----

    // Calls `block(component, index)` for the blocks of a scan in their order, and `restart` between intervals.
    template <class OnBlock, class OnRestart>
    void ForEachBlock(const std::vector<Component*>& scan, OnBlock block, OnRestart restart)
    {
        // With several components an MCU has a block for each sample of each; alone, a component has no MCUs.
        int wide = CeilDiv(width_, 8 * mostH_), high = CeilDiv(height_, 8 * mostV_);
        if (scan.size() == 1) {
            wide = CeilDiv(CeilDiv(width_ * scan[0]->h, mostH_), 8);
            high = CeilDiv(CeilDiv(height_ * scan[0]->v, mostV_), 8);
        }
        for (Component* component : scan)
            component->lastDc = 0;
        size_t index = 0;
        for (int mcu = 0; mcu < wide * high; ++mcu) {
            if (restart_ && mcu && mcu % restart_ == 0) {
                restart(mcu / restart_ - 1);
                for (Component* component : scan)
                    component->lastDc = 0;
            }
            for (Component* component : scan)
                for (int i = scan.size() == 1 ? 1 : component->h * component->v; i > 0; --i)
                    block(*component, index++);
        }
    }

    void TranscodeScan(int header)
    {
        std::vector<Component*> scan;
        for (int i = 0; i < Byte(header + 4); ++i) {
            Component& component = components_.at(Byte(header + 5 + 2 * i));
            const int tables = Byte(header + 6 + 2 * i);
            component.dcTable = tables >> 4;
            component.acTable = 0x10 | (tables & 15);
            scan.push_back(&component);
        }
        if (scan.empty())
            throw std::runtime_error("a scan has no components");
        const int data = position_;
        const std::vector<Block> blocks = Decode(scan);
        const std::map<int, Lists> lists = MakeTables(scan, blocks);
        for (const auto& [id, list] : lists) {
            const int length = 19 + list.count();
            out_.insert(out_.end(), {0xff, kDht, (Vek8u)(length >> 8), (Vek8u)length, (Vek8u)id});
            out_.insert(out_.end(), list.bits.begin(), list.bits.end());
            out_.insert(out_.end(), list.values.begin(), list.values.begin() + list.count());
        }
        out_.insert(out_.end(), in_.begin() + header, in_.begin() + data);
        // The new tables are the best there are, but the bytes may need more stuffing than those before.
        Encode(scan, blocks, lists, 2 * (position_ - data) + 64);
    }

    std::vector<Block> Decode(const std::vector<Component*>& scan)
    {
        std::map<int, uvek::huffman_decode_table> tables;
        for (const auto& [id, list] : tables_)
            tables[id] = uvek::make_huffman_decode_table(list.bits.data(), list.values.data());
        const uvek::huffman_decode_state state = uvek::make_huffman_decode_state();
        std::vector<Block> blocks;
        Vek32s marker = 0;
        ForEachBlock(
            scan,
            [&](Component& component, size_t) {
                uvek::check(vekiDecodeHuffman8x8_JPEG_1u16s_C1(in_.data(), (Vek32s)in_.size(), &position_, blocks.emplace_back().data(), &component.lastDc,
                                                               &marker, tables.at(component.dcTable).get(), tables.at(component.acTable).get(), state.get()));
            },
            [&](int) {
                if (NextMarker(marker) < kRst0 || NextMarker(marker) > kRst7)
                    throw std::runtime_error("a restart marker is missing");
                if (marker == 0)
                    position_ += 2;
                marker = 0;
                uvek::check(vekiDecodeHuffmanStateInit_JPEG_8u(state.get()));
            });
        NextMarker(marker);
        if (marker != 0)
            position_ -= 2;  // the decoder has read the marker that follows
        return blocks;
    }

    // The marker behind an interval: the one that the decoder has met, or the one that stands next.
    int NextMarker(int met) const
    {
        if (met == 0 && Byte(position_) != 0xff)
            throw std::runtime_error("data is left over behind a scan");
        return met ? met : Byte(position_ + 1);
    }

    // The statistics are those of progressive coding, where a run of empty ends may span blocks; a flush behind
    // each block makes every run one block long, which is what a baseline scan has.
    std::map<int, Lists> MakeTables(const std::vector<Component*>& scan, const std::vector<Block>& blocks)
    {
        const uvek::huffman_encode_state state = uvek::make_huffman_encode_state();
        std::map<int, Counts> counts;
        ForEachBlock(
            scan,
            [&](Component& component, size_t i) {
                Vek32s* const ac = counts[component.acTable].data();
                uvek::check(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(blocks[i].data(), counts[component.dcTable].data(), &component.lastDc, 0));
                uvek::check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(blocks[i].data(), ac, 1, 63, 0, state.get(), 0));
                uvek::check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, ac, 1, 63, 0, state.get(), 1));
            },
            [](int) {});
        std::map<int, Lists> lists;
        for (const auto& [id, count] : counts)
            uvek::check(vekiEncodeHuffmanRawTableInit_JPEG_8u(count.data(), lists[id].bits.data(), lists[id].values.data()));
        return lists;
    }

    void Encode(const std::vector<Component*>& scan, const std::vector<Block>& blocks, const std::map<int, Lists>& lists, Vek32s most)
    {
        std::map<int, uvek::huffman_encode_table> tables;
        for (const auto& [id, list] : lists)
            tables[id] = uvek::make_huffman_encode_table(list.bits.data(), list.values.data());
        const uvek::huffman_encode_state state = uvek::make_huffman_encode_state();
        Bytes data((size_t)most);
        Vek32s position = 0;
        const auto flush = [&] {
            uvek::check(vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, data.data(), most, &position, nullptr, nullptr, nullptr, state.get(), 1));
        };
        ForEachBlock(
            scan,
            [&](Component& component, size_t i) {
                uvek::check(vekiEncodeHuffman8x8_JPEG_16s1u_C1(blocks[i].data(), data.data(), most, &position, &component.lastDc,
                                                               tables.at(component.dcTable).get(), tables.at(component.acTable).get(), state.get(), 0));
            },
            [&](int interval) {
                flush();
                data.at((size_t)position++) = 0xff;
                data.at((size_t)position++) = (Vek8u)(kRst0 + interval % 8);
            });
        flush();
        out_.insert(out_.end(), data.begin(), data.begin() + position);
    }

    Bytes in_, out_;
    Vek32s position_ = 0;
    std::map<int, Lists> tables_;  // by class (0x00 DC, 0x10 AC) and number
    std::map<int, Component> components_;
    int width_ = 0, height_ = 0, mostH_ = 1, mostV_ = 1, restart_ = 0;
};

}  // namespace

int main(int argc, char** argv)
try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: jpeg_transcode IN.jpg OUT.jpg\n");
        return EXIT_FAILURE;
    }
    std::ifstream file(argv[1], std::ios::binary);
    const Bytes in((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const Bytes out = Transcoder(in).Run();
    std::ofstream result(argv[2], std::ios::binary);
    if (!result.write(reinterpret_cast<const char*>(out.data()), (std::streamsize)out.size()).flush())
        throw std::runtime_error(std::string(argv[2]) + ": cannot be written");
    std::printf("%zu bytes became %zu\n", in.size(), out.size());
} catch (const std::exception& error) {
    std::fprintf(stderr, "jpeg_transcode: %s\n", error.what());
    return EXIT_FAILURE;
}
