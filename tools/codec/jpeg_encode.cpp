// From pixels to a baseline JPEG file.
#include <algorithm>
#include <cstring>

#include "codec/jpeg.h"
#include "codec/jpeg_format.h"
#include "codec/jpeg_output.h"

namespace uvek::codec {
namespace {

constexpr int kMostBlocksPerMcu = 10;
constexpr int kMostBytesPerBlock = 1024;  // 64 codes of 16 bits with 11 bits each, every byte stuffed: 432

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

    std::vector<std::vector<Component*>> Scans();
    int McuCount(const std::vector<Component*>& components) const;
    template <typename Visit>
    void ForEachBlock(const std::vector<Component*>& components, int mcu, Visit visit);
    void CountSymbols();
    void WriteHeader();
    void WriteScan(const std::vector<Component*>& components);
    void WriteByStrips(const std::vector<Component*>& components);
    void BeginMcu(const std::vector<Component*>& components, int mcu);
    void WriteBlock(Component& component, const Vek16s* block);
    void Flush();
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
    std::vector<EncoderTable> dc_, ac_;
    Bytes inverted_;
    JpegOutput out_;
};

Encoder::Encoder(const Image& image, const EncodeOptions& options) : image_(image), options_(options), colour_(options.colour)
{
    if (image.precision != 8)
        throw Error("images of " + std::to_string(image.precision) + " bits a sample can only be coded without loss");
    if (image.width < 1 || image.height < 1 || image.width > 65500 || image.height > 65500)
        throw Error("image of " + std::to_string(image.width) + " by " + std::to_string(image.height) + " pixels");
    if (options.restart < 0 || options.restart > 65535)
        throw Error("restart interval outside 0 to 65535");
    if (image.channels == 4 && colour_ != Colour::CMYK)
        colour_ = Colour::YCCK;
    frame_.width = image.width;
    frame_.height = image.height;
    const bool hasChroma = image.channels > 1 && (colour_ == Colour::YCbCr || colour_ == Colour::YCCK);
    if (hasChroma) {
        frame_.mostH = options.sampling == Sampling::S444 ? 1 : 2;
        frame_.mostV = options.sampling == Sampling::S420 ? 2 : 1;
        tableSets_ = 2;
    }
    for (int i = 0; i < image.channels; ++i) {
        Component component;
        component.id = colour_ == Colour::RGB && image.channels == 3 ? "RGB"[i] : i + 1;
        component.chroma = hasChroma && (i == 1 || i == 2);
        component.layout = component.chroma ? frame_.Place(1, 1) : frame_.Place(frame_.mostH, frame_.mostV);
        component.strip.resize((size_t)StripStep() * (size_t)frame_.mostV * 8);
        if (component.layout.h != frame_.mostH)
            component.reduced.resize((size_t)component.layout.step() * 8);
        components_.push_back(std::move(component));
    }
    quantisation_ = {kLumaQuantisation, kChromaQuantisation};
    for (size_t i = 0; i < 2; ++i) {
        Check(vekiQuantFwdRawTableInit_JPEG_8u(quantisation_[i].data(), options.quality), "quantisation table");
        Check(vekiQuantFwdTableInit_JPEG_8u16u(quantisation_[i].data(), reciprocals_[i].data()), "quantisation table");
        dcLists_[i] = StandardHuffman(HuffmanKind::DC, i == 1);
        acLists_[i] = StandardHuffman(HuffmanKind::AC, i == 1);
    }
}

// ---- Pixels to coefficients ----

// Repeats the last column to the strip's width and the last row to its height.
void Pad(Bytes& strip, int step, int width, int height)
{
    const int fullHeight = (int)(strip.size() / (size_t)step);
    if (width < step)
        for (int y = 0; y < height; ++y) {
            uint8_t* row = strip.data() + (size_t)y * (size_t)step;
            std::memset(row + width, row[width - 1], (size_t)(step - width));
        }
    for (int y = height; y < fullHeight; ++y)
        std::memcpy(strip.data() + (size_t)y * (size_t)step, strip.data() + (size_t)(height - 1) * (size_t)step, (size_t)step);
}

// Files of four components hold the complement of the inks, as the marker says that they have.
const uint8_t* Encoder::InvertedRows(int y, int height)
{
    inverted_.assign(image_.row(y), image_.row(y) + (size_t)height * (size_t)image_.step());
    for (uint8_t& sample : inverted_)
        sample = (uint8_t)(255 - sample);
    return inverted_.data();
}

// Converts the pixels of a row of MCUs and reduces the chroma.
void Encoder::LoadStrip(int line)
{
    const int fullHeight = frame_.mostV * 8, y = line * fullHeight, height = std::min(fullHeight, image_.height - y);
    const int step = StripStep();
    const VekImageSize size = {image_.width, height};
    Vek8u* planes[4] = {};
    for (size_t i = 0; i < components_.size(); ++i)
        planes[i] = components_[i].strip.data();
    const uint8_t* from = image_.channels == 4 ? InvertedRows(y, height) : image_.row(y);
    if (image_.channels == 1)
        Check(vekiCopy_8u_C1R(from, image_.step(), planes[0], step, size), "copy");
    else if (image_.channels == 3 && colour_ == Colour::RGB)
        Check(vekiCopy_8u_C3P3R(from, image_.step(), planes, step, size), "copy");
    else if (image_.channels == 3)
        Check(vekiRGBToYCbCr_JPEG_8u_C3P3R(from, image_.step(), planes, step, size), "colour conversion");
    else if (colour_ == Colour::CMYK)
        Check(vekiCopy_8u_C4P4R(from, image_.step(), planes, step, size), "copy");
    else
        Check(vekiCMYKToYCCK_JPEG_8u_C4P4R(from, image_.step(), planes, step, size), "colour conversion");

    for (Component& component : components_) {
        Pad(component.strip, step, image_.width, height);
        if (component.reduced.empty())
            continue;
        const VekImageSize full = {step, fullHeight}, half = {component.layout.step(), 8};
        const auto reduce = frame_.mostV == 1 ? vekiSampleDownH2V1_JPEG_8u_C1R : vekiSampleDownH2V2_JPEG_8u_C1R;
        Check(reduce(component.strip.data(), step, full, component.reduced.data(), half.width, half), "downsampling");
    }
}

// Block (x, y) of the strip.
void Encoder::Transform(const Component& component, int x, int y, Vek16s* block) const
{
    const Bytes& strip = component.reduced.empty() ? component.strip : component.reduced;
    const int step = component.layout.step();
    Check(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(strip.data() + (size_t)y * 8 * (size_t)step + (size_t)x * 8, step, block,
                                              reciprocals_[component.chroma].data()),
          "DCT");
}

void Encoder::FillCoefficients()
{
    for (Component& component : components_)
        component.coefficients.resize((size_t)component.layout.blocksWide * (size_t)component.layout.blocksHigh * kBlockSize);
    for (int line = 0; line < frame_.mcusHigh(); ++line) {
        LoadStrip(line);
        for (Component& component : components_)
            for (int y = 0; y < component.layout.v; ++y)
                for (int x = 0; x < component.layout.blocksWide; ++x)
                    Transform(component, x, y, component.Block(x, line * component.layout.v + y));
        Report(0.5 * line / frame_.mcusHigh());
    }
}

// ---- Coefficients to the file ----

std::vector<std::vector<Component*>> Encoder::Scans()
{
    std::vector<std::vector<Component*>> scans;
    if (options_.interleaved || components_.size() == 1)
        scans.emplace_back();
    for (Component& component : components_) {
        if (!options_.interleaved && components_.size() > 1)
            scans.emplace_back();
        scans.back().push_back(&component);
    }
    return scans;
}

// A scan of one component has a block for an MCU, and leaves out those outside the image.
int Encoder::McuCount(const std::vector<Component*>& components) const
{
    if (components.size() > 1)
        return frame_.mcusWide() * frame_.mcusHigh();
    return components[0]->layout.usedWide * components[0]->layout.usedHigh;
}

template <typename Visit>
void Encoder::ForEachBlock(const std::vector<Component*>& components, int mcu, Visit visit)
{
    if (components.size() == 1) {
        const int width = components[0]->layout.usedWide;
        return visit(*components[0], mcu % width, mcu / width);
    }
    const int column = mcu % frame_.mcusWide(), line = mcu / frame_.mcusWide();
    for (Component* component : components)
        for (int y = 0; y < component->layout.v; ++y)
            for (int x = 0; x < component->layout.h; ++x)
                visit(*component, column * component->layout.h + x, line * component->layout.v + y);
}

// The tables that suit the coefficients. Counting a block as a scan of its own and flushing behind it
// counts exactly what a baseline scan writes.
void Encoder::CountSymbols()
{
    std::array<SymbolCounts, 2> dc, ac;
    for (const auto& components : Scans()) {
        const int count = McuCount(components);
        for (int mcu = 0; mcu < count; ++mcu) {
            if (mcu == 0 || (options_.restart && mcu % options_.restart == 0))
                for (Component* component : components)
                    component->lastDc = 0;
            ForEachBlock(components, mcu, [&](Component& component, int x, int y) {
                const Vek16s* block = component.Block(x, y);
                Vek32s* acCounts = ac[component.chroma].data();
                Check(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, dc[component.chroma].data(), &component.lastDc, 0), "statistics");
                Check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, acCounts, 1, 63, 0, out_.state(), 0), "statistics");
                Check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, acCounts, 1, 63, 0, out_.state(), 1), "statistics");
            });
        }
    }
    for (size_t i = 0; i < (size_t)tableSets_; ++i) {
        dcLists_[i] = dc[i].MakeLists();
        acLists_[i] = ac[i].MakeLists();
    }
}

void Encoder::WriteHeader()
{
    out_.Marker(kSoi);
    if (components_.size() == 1 || colour_ == Colour::YCbCr) {
        out_.Marker(kApp0);
        out_.Put({0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0});
    } else {
        out_.Marker(kApp14);
        out_.Put({0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, colour_ == Colour::YCCK ? 2 : 0});
    }
    for (int i = 0; i < tableSets_; ++i)
        out_.QuantisationTable(i, quantisation_[(size_t)i]);
    out_.Marker(kSof0);
    const int count = (int)components_.size(), length = 8 + 3 * count;
    out_.Put({0, length, 8, frame_.height >> 8, frame_.height & 255, frame_.width >> 8, frame_.width & 255, count});
    for (const Component& component : components_)
        out_.Put({component.id, component.layout.h << 4 | component.layout.v, component.chroma});
    for (int i = 0; i < tableSets_; ++i) {
        out_.HuffmanTable(HuffmanKind::DC, i, dcLists_[(size_t)i]);
        out_.HuffmanTable(HuffmanKind::AC, i, acLists_[(size_t)i]);
        dc_.emplace_back(dcLists_[(size_t)i]);
        ac_.emplace_back(acLists_[(size_t)i]);
    }
    if (options_.restart)
        out_.RestartInterval(options_.restart);
}

// Ends a restart interval where one ends, and makes room for the MCU.
void Encoder::BeginMcu(const std::vector<Component*>& components, int mcu)
{
    if (options_.restart && mcu > 0 && mcu % options_.restart == 0) {
        Flush();
        out_.Marker(kRst0 + (mcu / options_.restart - 1) % 8);
        for (Component* component : components)
            component->lastDc = 0;
    }
    out_.MakeRoom(kMostBlocksPerMcu * kMostBytesPerBlock);
}

void Encoder::WriteBlock(Component& component, const Vek16s* block)
{
    Check(vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, out_.data(), out_.size(), out_.position(), &component.lastDc,
                                             dc_[component.chroma].get(), ac_[component.chroma].get(), out_.state(), 0),
          "Huffman coding");
}

void Encoder::Flush()
{
    out_.MakeRoom(kMostBytesPerBlock);
    Check(vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out_.data(), out_.size(), out_.position(), nullptr, nullptr, nullptr, out_.state(), 1), "flush");
}

// Blocks are coded as soon as they are transformed: the strip is in cache then.
void Encoder::WriteByStrips(const std::vector<Component*>& components)
{
    alignas(16) Vek16s block[kBlockSize];
    int mcu = 0;
    for (int line = 0; line < frame_.mcusHigh(); ++line) {
        LoadStrip(line);
        for (int column = 0; column < frame_.mcusWide(); ++column) {
            BeginMcu(components, mcu++);
            for (Component* component : components)
                for (int y = 0; y < component->layout.v; ++y)
                    for (int x = 0; x < component->layout.h; ++x) {
                        Transform(*component, column * component->layout.h + x, y, block);
                        WriteBlock(*component, block);
                    }
        }
        Report((double)line / frame_.mcusHigh());
    }
}

void Encoder::WriteScan(const std::vector<Component*>& components)
{
    const int scanned = (int)components.size();
    out_.Marker(kSos);
    out_.Put({0, 6 + 2 * scanned, scanned});
    for (Component* component : components) {
        out_.Put({component->id, component->chroma ? 0x11 : 0x00});
        component->lastDc = 0;
    }
    out_.Put({0, 63, 0});

    if (components[0]->coefficients.empty())
        WriteByStrips(components);
    else
        for (int mcu = 0; mcu < McuCount(components); ++mcu) {
            BeginMcu(components, mcu);
            ForEachBlock(components, mcu, [this](Component& component, int x, int y) { WriteBlock(component, component.Block(x, y)); });
        }
    Flush();
}

Bytes Encoder::Run()
{
    const auto scans = Scans();
    if (options_.optimize || scans.size() > 1)
        FillCoefficients();
    if (options_.optimize)
        CountSymbols();
    WriteHeader();
    for (const auto& components : scans)
        WriteScan(components);
    out_.Marker(kEoi);
    return out_.Take();
}

}  // namespace

Bytes EncodeJpeg(const Image& image, const EncodeOptions& options) { return Encoder(image, options).Run(); }

}  // namespace uvek::codec
