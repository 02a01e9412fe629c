// The encoder of DCT files: pixels to coefficients (jpeg_encode.cpp), coefficients to scans
// (jpeg_encode_scans.cpp).
#ifndef UVEK_TOOLS_CODEC_JPEG_ENCODER_H
#define UVEK_TOOLS_CODEC_JPEG_ENCODER_H

#include <optional>

#include "codec/jpeg.h"
#include "codec/jpeg_format.h"
#include "codec/jpeg_output.h"

namespace uvek::codec {

constexpr int kMostBlocksPerMcu = 10;
constexpr int kMostBytesPerBlock = 1024;  // 64 codes of 16 bits with 11 bits each, every byte stuffed: 432;
                                          // of a refinement scan with all that waits: 750
constexpr int kMostBytesPerFlush = 1024;

struct Component {
    int id = 0;
    bool chroma = false;  // which of the two sets of tables it uses
    Layout layout;
    Bytes strip;                          // a row of MCUs of samples, full size
    Bytes reduced;                        // the same at the component's size
    std::vector<Vek16s> coefficients;     // of the whole image, when coded in a second pass
    Vek16s lastDc = 0;

    Vek16s* Block(int x, int y) { return coefficients.data() + ((size_t)y * (size_t)layout.blocksWide + (size_t)x) * kBlockSize; }
};

// What a scan codes: its components, the band of zigzag positions, the bit position before and after.
struct Scan {
    std::vector<Component*> components;
    int ss = 0, se = 63, ah = 0, al = 0;

    bool IsBaseline() const { return ss == 0 && se == 63; }
    bool HasDcCodes() const { return ss == 0 && ah == 0; }
    bool HasAcCodes() const { return se > 0; }
};

class Encoder {
public:
    Encoder(const Image& image, const EncodeOptions& options);
    Bytes Run();

private:
    int StripStep() const { return frame_.mcusWide() * frame_.mostH * 8; }
    void LoadStrip(int line);
    const uint8_t* InvertedRows(int y, int height);
    void Transform(const Component& component, int x, int y, Vek16s* block) const;
    void FillCoefficients();

    std::vector<Scan> Scans();
    std::vector<Scan> BaselineScans();
    std::vector<Scan> ProgressiveScans();
    int McuCount(const Scan& scan) const;
    template <typename Visit>
    void ForEachBlock(const Scan& scan, int mcu, Visit visit);
    void CountSymbols(const std::vector<Scan>& scans);
    void CountBlock(const Scan& scan, Component& component, const Vek16s* block);
    void WriteHeader();
    void WriteTables(const Scan* scan);
    void WriteScan(const Scan& scan);
    void WriteByStrips(const Scan& scan);
    void BeginMcu(const Scan& scan, int mcu);
    void WriteBlock(const Scan& scan, Component& component, const Vek16s* block);
    void Flush(const Scan& scan);
    void Report(double done) const
    {
        if (options_.progress)
            options_.progress(done);
    }

    const Image& image_;
    const EncodeOptions& options_;
    Colour colour_;
    FrameSize frame_;
    std::vector<Component> components_;
    int tableSets_ = 1;
    std::array<std::array<uint8_t, kBlockSize>, 2> quantisation_;  // luma, chroma; zigzag order
    std::array<std::array<Vek16u, kBlockSize>, 2> reciprocals_{};
    std::array<HuffmanLists, 2> dcLists_, acLists_;
    std::array<SymbolCounts, 2> dcCounts_, acCounts_;
    std::array<std::optional<EncoderTable>, 2> dc_, ac_;
    Bytes inverted_;
    JpegOutput out_;
};

}  // namespace uvek::codec

#endif
