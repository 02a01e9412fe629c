// What the JPEG file format says (ISO/IEC 10918-1): markers, the zigzag order, the tables of Annex K.
#ifndef UVEK_TOOLS_CODEC_JPEG_FORMAT_H
#define UVEK_TOOLS_CODEC_JPEG_FORMAT_H

#include <array>
#include <cstdint>
#include <vector>

#include "codec/image.h"
#include "uvek/uvek.h"

namespace uvek::codec {

enum Marker : int {
    kSof0 = 0xc0, kSof1 = 0xc1, kSof2 = 0xc2, kSof3 = 0xc3, kDht = 0xc4, kSof15 = 0xcf, kJpg = 0xc8, kDac = 0xcc,
    kRst0 = 0xd0, kRst7 = 0xd7, kSoi = 0xd8, kEoi = 0xd9, kSos = 0xda, kDqt = 0xdb, kDnl = 0xdc, kDri = 0xdd,
    kApp0 = 0xe0, kApp14 = 0xee, kTem = 0x01,
};

constexpr int kBlockSize = 64;
constexpr int kMostComponents = 4;

extern const std::array<uint8_t, kBlockSize> kZigzag;  // natural position of each zigzag position

extern const std::array<uint8_t, kBlockSize> kLumaQuantisation, kChromaQuantisation;  // zigzag order

// The two lists of a DHT segment.
struct HuffmanLists {
    std::array<uint8_t, 16> bits{};
    std::array<uint8_t, 256> values{};

    int count() const
    {
        int sum = 0;
        for (const uint8_t n : bits)
            sum += n;
        return sum;
    }
};

enum class HuffmanKind { DC, AC };
const HuffmanLists& StandardHuffman(HuffmanKind kind, bool chroma);

// Throws what a status means for the file at hand.
void Check(VekStatus status, const char* what);

// A caller-owned record of the library, of the size that it asks for.
template <typename T>
class Record {
public:
    explicit Record(VekStatus (*size)(Vek32s*))
    {
        Vek32s bytes = 0;
        Check(size(&bytes), "record size");
        storage_.resize(((size_t)bytes + 7) / 8);
    }
    T* get() { return reinterpret_cast<T*>(storage_.data()); }
    const T* get() const { return reinterpret_cast<const T*>(storage_.data()); }

private:
    std::vector<uint64_t> storage_;
};

constexpr int CeilDiv(int a, int b) { return (a + b - 1) / b; }

// A component's place in the frame. Blocks cover whole MCUs; `used` ones hold samples of the image.
struct Layout {
    int h = 1, v = 1;
    int width = 0, height = 0;  // samples
    int blocksWide = 0, blocksHigh = 0;
    int usedWide = 0, usedHigh = 0;

    int step() const { return blocksWide * 8; }
};

struct FrameSize {
    int width = 0, height = 0;
    int mostH = 1, mostV = 1;

    int mcusWide() const { return CeilDiv(width, 8 * mostH); }
    int mcusHigh() const { return CeilDiv(height, 8 * mostV); }
    Layout Place(int h, int v) const;
};

}  // namespace uvek::codec

#endif
