// The bytes of a JPEG file being written: segments, and room for entropy-coded data.
#ifndef UVEK_TOOLS_CODEC_JPEG_OUTPUT_H
#define UVEK_TOOLS_CODEC_JPEG_OUTPUT_H

#include <algorithm>
#include <initializer_list>

#include "codec/jpeg_format.h"

namespace uvek::codec {

class JpegOutput {
public:
    JpegOutput() : state_(vekiEncodeHuffmanStateGetBufSize_JPEG_8u) { Check(vekiEncodeHuffmanStateInit_JPEG_8u(state_.get()), "encoder state"); }

    void Marker(int marker) { Put({0xff, marker}); }
    void Put(std::initializer_list<int> values)
    {
        MakeRoom((int)values.size());
        for (const int value : values)
            bytes_[(size_t)position_++] = (uint8_t)value;
    }
    template <typename Iterator>
    void Put(Iterator first, Iterator last)
    {
        for (; first != last; ++first)
            Put({*first});
    }
    void QuantisationTable(int id, const std::array<uint8_t, kBlockSize>& zigzag)
    {
        Marker(kDqt);
        Put({0, 2 + 1 + kBlockSize, id});
        Put(zigzag.begin(), zigzag.end());
    }
    void HuffmanTable(HuffmanKind kind, int id, const HuffmanLists& lists)
    {
        const int count = lists.count(), length = 2 + 1 + 16 + count;
        Marker(kDht);
        Put({length >> 8, length & 255, (kind == HuffmanKind::AC ? 16 : 0) | id});
        Put(lists.bits.begin(), lists.bits.end());
        Put(lists.values.begin(), lists.values.begin() + count);
    }
    void RestartInterval(int mcus)
    {
        Marker(kDri);
        Put({0, 4, mcus >> 8, mcus & 255});
    }

    // Keeps `count` bytes free behind the position, so that coding never meets a full buffer.
    void MakeRoom(int count)
    {
        if (bytes_.size() - (size_t)position_ < (size_t)count)
            bytes_.resize(std::max(bytes_.size() * 2, (size_t)position_ + (size_t)count + 65536));
    }
    Vek8u* data() { return bytes_.data(); }
    Vek32s size() const { return (Vek32s)bytes_.size(); }
    Vek32s* position() { return &position_; }
    EncodeHuffmanState* state() { return state_.get(); }

    Bytes Take()
    {
        bytes_.resize((size_t)position_);
        return std::move(bytes_);
    }

private:
    Bytes bytes_;
    Vek32s position_ = 0;
    Record<EncodeHuffmanState> state_;
};

// An encoder's table from its lists.
class EncoderTable {
public:
    explicit EncoderTable(const HuffmanLists& lists) : record_(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u)
    {
        Check(vekiEncodeHuffmanSpecInit_JPEG_8u(lists.bits.data(), lists.values.data(), record_.get()), "Huffman table");
    }
    const EncodeHuffmanSpec* get() const { return record_.get(); }

private:
    Record<EncodeHuffmanSpec> record_;
};

// How often each symbol occurs, and the table made from it.
class SymbolCounts {
public:
    Vek32s* data() { return counts_.data(); }
    HuffmanLists MakeLists() const
    {
        HuffmanLists lists;
        Check(vekiEncodeHuffmanRawTableInit_JPEG_8u(counts_.data(), lists.bits.data(), lists.values.data()), "Huffman table");
        return lists;
    }

private:
    std::array<Vek32s, 257> counts_{};
};

}  // namespace uvek::codec

#endif
