// From a JPEG file to component planes: segments, scans, restart intervals, and what to do with files
// that are cut off or broken.
#include <algorithm>
#include <cstring>
#include <optional>

#include "codec/jpeg.h"
#include "codec/jpeg_format.h"
#include "codec/jpeg_lossless.h"
#include "codec/jpeg_pixels.h"

namespace uvek::codec {
namespace {

constexpr int64_t kMostSamples = 1 << 29;
constexpr uint8_t kGrey = 128;  // what a block shows that could not be decoded

struct Component {
    int id = 0;
    int quantTable = 0;
    bool hasQuantisation = false;
    std::array<Vek16u, kBlockSize> quantisation{};  // of the first scan that had the component
    Layout layout;
    Bytes plane;
    std::vector<int16_t> coefficients;  // where the whole image's are wanted
    std::vector<uint16_t> lossless;     // samples of a lossless frame
    int dcTable = 0, acTable = 0;
    Vek16s lastDc = 0;

    Vek16s* Block(int x, int y) { return coefficients.data() + ((size_t)y * (size_t)layout.blocksWide + (size_t)x) * kBlockSize; }
    Vek8u* Samples(int x, int y) { return plane.data() + (size_t)y * 8 * (size_t)layout.step() + (size_t)x * 8; }
};

enum class Process { Sequential, Progressive, Lossless };

struct Scan {
    std::vector<Component*> components;
    int ss = 0, se = 63, ah = 0, al = 0;
};

class HuffmanTable {
public:
    HuffmanTable() : record_(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u) {}
    void Build(const HuffmanLists& lists)
    {
        if (vekiDecodeHuffmanSpecInit_JPEG_8u(lists.bits.data(), lists.values.data(), record_.get()) != StatusOk)
            throw Error("unusable Huffman table");
        built_ = true;
    }
    const DecodeHuffmanSpec* get() const
    {
        if (!built_)
            throw Error("a scan uses a Huffman table that was not given");
        return record_.get();
    }

private:
    Record<DecodeHuffmanSpec> record_;
    bool built_ = false;
};

class Decoder {
public:
    Decoder(const Bytes& file, const DecodeOptions& options)
        : file_(file), options_(options), state_(vekiDecodeHuffmanStateGetBufSize_JPEG_8u)
    {
        if (file.size() > (1u << 30))
            throw Error("file of more than a gigabyte");
    }

    Decoded Run();

private:
    // ---- Segments ----
    int size() const { return (int)file_.size(); }
    int Byte(int at) const { return at < size() ? file_[(size_t)at] : throw Error("segment is cut off"); }
    int Word(int at) const { return Byte(at) << 8 | Byte(at + 1); }
    int NextMarker();
    void ReadSegment(int marker);
    void ReadQuantisation(int at, int end);
    void ReadHuffman(int at, int end);
    void ReadFrame(int marker, int at, int end);
    void ReadAdobe(int at, int end);
    Scan ReadScanHeader(int at, int end);

    // ---- Scans ----
    void DecodeScan(const Scan& scan);
    bool DecodeMcu(const Scan& scan, int mcu);
    VekStatus DecodeBlock(const Scan& scan, Component& component, int x, int y);
    VekStatus DecodeProgressiveBlock(const Scan& scan, Component& component, Vek16s* block);
    void StartInterval(const Scan& scan);
    int Resynchronise(int interval);
    void CaptureQuantisation(const Scan& scan);
    int McuCount(const Scan& scan) const;

    void DecodeLosslessScan(const Scan& scan);

    // ---- Pixels ----
    void Transform(Component& component);
    PixelColour ColourOfFrame() const;
    Decoded Finish();
    void Warn(const std::string& text)
    {
        if (warning_.empty())
            warning_ = text;
    }

    const Bytes& file_;
    const DecodeOptions& options_;
    std::string warning_;

    int position_ = 0;      // in the file
    Vek32s marker_ = 0;     // that ended the entropy-coded data
    Record<DecodeHuffmanState> state_;

    std::array<std::array<Vek16u, kBlockSize>, 4> quantisation_{};  // natural order
    std::array<bool, 4> hasQuantisation_{};
    std::array<HuffmanTable, 4> dc_, ac_;
    int restart_ = 0;

    bool hasFrame_ = false;
    Process process_ = Process::Sequential;
    int precision_ = 8;
    FrameSize frame_;
    std::vector<Component> components_;
    bool jfif_ = false;
    std::optional<int> adobeTransform_;
    int scans_ = 0;
    int pointTransform_ = 0;
    bool ended_ = false;  // the entropy-coded data ran out
};

// ---- Segments ----

// The next marker at or after the position, which is left behind it; 0 at the end of the file.
int Decoder::NextMarker()
{
    if (marker_ != 0) {
        const int found = marker_;
        marker_ = 0;
        return found;
    }
    while (position_ + 1 < size()) {
        const int second = Byte(position_ + 1);
        if (Byte(position_) == 0xff && second != 0 && second != 0xff) {
            position_ += 2;
            return second;
        }
        ++position_;
    }
    position_ = size();
    return 0;
}

void Decoder::ReadSegment(int marker)
{
    const int length = Word(position_), end = position_ + length;
    if (length < 2 || end > size())
        throw Error("segment is cut off");
    const int at = position_ + 2;
    position_ = end;
    if (marker == kDqt)
        ReadQuantisation(at, end);
    else if (marker == kDht)
        ReadHuffman(at, end);
    else if (marker == kDri)
        restart_ = Word(at);
    else if (marker == kApp0)
        jfif_ = jfif_ || (length >= 7 && std::memcmp(&file_[(size_t)at], "JFIF", 5) == 0);
    else if (marker == kApp14)
        ReadAdobe(at, end);
    else if (marker >= kSof0 && marker <= kSof15 && marker != kJpg && marker != kDac)
        ReadFrame(marker, at, end);
    else if (marker == kSos)
        DecodeScan(ReadScanHeader(at, end));
    else if (marker == kDac)
        throw Error("arithmetic coding is not supported");
}

void Decoder::ReadQuantisation(int at, int end)
{
    while (at < end) {
        const int wide = Byte(at) >> 4, id = Byte(at) & 15;
        ++at;
        const int bytes = wide ? 2 * kBlockSize : kBlockSize;
        if (wide > 1 || id > 3 || end - at < bytes)
            throw Error("bad quantisation table");
        auto& table = quantisation_[(size_t)id];
        if (wide)
            for (int k = 0; k < kBlockSize; ++k)
                table[kZigzag[(size_t)k]] = (Vek16u)Word(at + 2 * k);
        else
            Check(vekiQuantInvTableInit_JPEG_8u16u(&file_[(size_t)at], table.data()), "quantisation table");
        hasQuantisation_[(size_t)id] = true;
        at += bytes;
    }
}

void Decoder::ReadHuffman(int at, int end)
{
    while (at < end) {
        const int kind = Byte(at) >> 4, id = Byte(at) & 15;
        ++at;
        HuffmanLists lists;
        if (kind > 1 || id > 3 || end - at < 16)
            throw Error("bad Huffman table");
        std::copy_n(&file_[(size_t)at], 16, lists.bits.begin());
        at += 16;
        const int count = lists.count();
        if (count > 256 || end - at < count)
            throw Error("bad Huffman table");
        std::copy_n(file_.begin() + at, count, lists.values.begin());
        at += count;
        (kind ? ac_ : dc_)[(size_t)id].Build(lists);
    }
}

void Decoder::ReadFrame(int marker, int at, int end)
{
    if (hasFrame_)
        throw Error("file of more than one frame");
    if (marker > kSof3)
        throw Error(marker > 0xc8 ? "arithmetic coding is not supported" : "hierarchical files are not supported");
    process_ = marker == kSof3 ? Process::Lossless : marker == kSof2 ? Process::Progressive : Process::Sequential;
    precision_ = Byte(at);
    frame_.height = Word(at + 1);
    frame_.width = Word(at + 3);
    const int count = Byte(at + 5);
    if (process_ == Process::Lossless ? precision_ < 2 || precision_ > 16 : precision_ != 8)
        throw Error("samples of " + std::to_string(precision_) + " bits are not supported");
    if (frame_.width < 1 || frame_.height < 1)
        throw Error("image without a size");
    if (count < 1 || count > kMostComponents || count == 2 || end - at < 6 + 3 * count)
        throw Error("image of " + std::to_string(count) + " components");
    components_.resize((size_t)count);
    for (int i = 0; i < count; ++i) {
        Component& component = components_[(size_t)i];
        component.id = Byte(at + 6 + 3 * i);
        component.layout.h = Byte(at + 7 + 3 * i) >> 4;
        component.layout.v = Byte(at + 7 + 3 * i) & 15;
        component.quantTable = Byte(at + 8 + 3 * i);
        if (component.layout.h < 1 || component.layout.h > 4 || component.layout.v < 1 || component.layout.v > 4 || component.quantTable > 3)
            throw Error("bad component");
        frame_.mostH = std::max(frame_.mostH, component.layout.h);
        frame_.mostV = std::max(frame_.mostV, component.layout.v);
    }
    int64_t samples = 0;
    for (Component& component : components_) {
        component.layout = frame_.Place(component.layout.h, component.layout.v);
        samples += (int64_t)component.layout.blocksWide * component.layout.blocksHigh * kBlockSize;
    }
    if (samples > kMostSamples)
        throw Error("image of " + std::to_string(frame_.width) + " by " + std::to_string(frame_.height) + " pixels is too large");
    for (Component& component : components_) {
        const size_t size = (size_t)component.layout.blocksWide * (size_t)component.layout.blocksHigh * kBlockSize;
        if (process_ == Process::Lossless) {
            if (component.layout.h != 1 || component.layout.v != 1)
                throw Error("lossless files of subsampled components are not supported");
            component.lossless.assign((size_t)frame_.width * (size_t)frame_.height, 0);
            continue;
        }
        component.plane.assign(size, kGrey);
        if (process_ == Process::Progressive || options_.keepCoefficients)
            component.coefficients.assign(size, 0);
    }
    hasFrame_ = true;
}

void Decoder::ReadAdobe(int at, int end)
{
    if (end - at >= 12 && std::memcmp(&file_[(size_t)at], "Adobe", 5) == 0)
        adobeTransform_ = Byte(at + 11);
}

Scan Decoder::ReadScanHeader(int at, int end)
{
    Scan scan;
    if (!hasFrame_)
        throw Error("scan before the frame");
    const int count = Byte(at);
    if (count < 1 || count > kMostComponents || end - at < 4 + 2 * count)
        throw Error("bad scan");
    for (int i = 0; i < count; ++i) {
        const int id = Byte(at + 1 + 2 * i), tables = Byte(at + 2 + 2 * i);
        const auto found = std::find_if(components_.begin(), components_.end(), [id](const Component& c) { return c.id == id; });
        if (found == components_.end() || (tables >> 4) > 3 || (tables & 15) > 3)
            throw Error("bad scan");
        found->dcTable = tables >> 4;
        found->acTable = tables & 15;
        if (std::find(scan.components.begin(), scan.components.end(), &*found) != scan.components.end())
            throw Error("bad scan");
        scan.components.push_back(&*found);
    }
    scan.ss = Byte(at + 1 + 2 * count);
    scan.se = Byte(at + 2 + 2 * count);
    scan.ah = Byte(at + 3 + 2 * count) >> 4;
    scan.al = Byte(at + 3 + 2 * count) & 15;
    const bool progressive = process_ == Process::Progressive;
    if (progressive && (scan.se > 63 || scan.ss > scan.se || scan.al > 13 || (scan.ss == 0 && scan.se != 0) || (scan.ss > 0 && count != 1)))
        throw Error("bad progressive scan");
    return scan;
}

// ---- Scans ----

int Decoder::McuCount(const Scan& scan) const
{
    if (scan.components.size() > 1)
        return frame_.mcusWide() * frame_.mcusHigh();
    const Layout& layout = scan.components[0]->layout;
    return layout.usedWide * layout.usedHigh;
}

void Decoder::StartInterval(const Scan& scan)
{
    Check(vekiDecodeHuffmanStateInit_JPEG_8u(state_.get()), "decoder state");
    marker_ = 0;
    for (Component* component : scan.components)
        component->lastDc = 0;
}

// Looks for the restart marker behind interval `interval`, and returns the interval that follows what it
// finds, or -1 where the data ends. Markers count modulo 8, so a few lost intervals are stepped over.
int Decoder::Resynchronise(int interval)
{
    if (marker_ == 0 && position_ < size() && Byte(position_) != 0xff)
        Warn("data is left over in scan " + std::to_string(scans_));
    const int found = NextMarker();
    if (found < kRst0 || found > kRst7) {
        marker_ = found;
        return -1;
    }
    const int ahead = (found - kRst0 - interval) & 7;
    if (ahead != 0)
        Warn("a restart marker is out of order");
    return interval + 1 + ahead;
}

void Decoder::CaptureQuantisation(const Scan& scan)
{
    for (Component* component : scan.components) {
        if (component->hasQuantisation)
            continue;
        if (!hasQuantisation_[(size_t)component->quantTable])
            throw Error("a scan uses a quantisation table that was not given");
        component->quantisation = quantisation_[(size_t)component->quantTable];
        component->hasQuantisation = true;
    }
}

void Decoder::DecodeScan(const Scan& scan)
{
    ++scans_;
    if (process_ == Process::Lossless)
        return DecodeLosslessScan(scan);
    CaptureQuantisation(scan);
    if (scan.components.size() > 1) {
        int blocks = 0;
        for (const Component* component : scan.components)
            blocks += component->layout.h * component->layout.v;
        if (blocks > 10)
            throw Error("bad scan");
    }
    const int count = McuCount(scan);
    const int progressStep = std::max(1, count / 64);
    StartInterval(scan);
    int mcu = 0;
    while (mcu < count) {
        const int interval = restart_ ? mcu / restart_ : 0;
        const int end = restart_ ? std::min(count, (interval + 1) * restart_) : count;
        bool good = true;
        for (; mcu < end && good; ++mcu) {
            good = DecodeMcu(scan, mcu);
            if (options_.progress && mcu % progressStep == 0)
                options_.progress((double)mcu / count);
        }
        if (!good)
            Warn(ended_ ? "the file is cut off: " + std::to_string(mcu - 1) + " of " + std::to_string(count) + " units of scan " + std::to_string(scans_) + " decoded"
                        : "corrupt data in scan " + std::to_string(scans_));
        if (mcu >= count && good)
            break;
        if (!restart_)
            return;
        const int next = Resynchronise(interval);
        if (next < 0)  {
            if (good)
                Warn("a restart marker is missing");
            return;
        }
        StartInterval(scan);
        mcu = next * restart_;
    }
}

bool Decoder::DecodeMcu(const Scan& scan, int mcu)
{
    VekStatus status = StatusOk;
    if (scan.components.size() == 1) {
        Component& component = *scan.components[0];
        status = DecodeBlock(scan, component, mcu % component.layout.usedWide, mcu / component.layout.usedWide);
    } else {
        const int column = mcu % frame_.mcusWide(), line = mcu / frame_.mcusWide();
        for (Component* component : scan.components) {
            const Layout& layout = component->layout;
            for (int y = 0; y < layout.v && status == StatusOk; ++y)
                for (int x = 0; x < layout.h && status == StatusOk; ++x)
                    status = DecodeBlock(scan, *component, column * layout.h + x, line * layout.v + y);
        }
    }
    if (status == StatusBitstreamExhausted)
        ended_ = true;
    return status == StatusOk;
}

VekStatus Decoder::DecodeBlock(const Scan& scan, Component& component, int x, int y)
{
    if (process_ == Process::Progressive)
        return DecodeProgressiveBlock(scan, component, component.Block(x, y));
    alignas(16) Vek16s local[kBlockSize];
    Vek16s* block = options_.keepCoefficients ? component.Block(x, y) : local;
    const VekStatus status = vekiDecodeHuffman8x8_JPEG_1u16s_C1(
        file_.data(), size(), &position_, block, &component.lastDc, &marker_, dc_[(size_t)component.dcTable].get(),
        ac_[(size_t)component.acTable].get(), state_.get());
    if (status == StatusOk)
        Check(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block, component.Samples(x, y), component.layout.step(), component.quantisation.data()), "inverse DCT");
    return status;
}

VekStatus Decoder::DecodeProgressiveBlock(const Scan& scan, Component& component, Vek16s* block)
{
    const Vek8u* data = file_.data();
    if (scan.ss == 0) {
        if (scan.ah == 0)
            return vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(data, size(), &position_, block, &component.lastDc, &marker_, scan.al,
                                                              dc_[(size_t)component.dcTable].get(), state_.get());
        return vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data, size(), &position_, block, &marker_, scan.al, state_.get());
    }
    const DecodeHuffmanSpec* table = ac_[(size_t)component.acTable].get();
    if (scan.ah == 0)
        return vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(data, size(), &position_, block, &marker_, scan.ss, scan.se, scan.al, table, state_.get());
    return vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(data, size(), &position_, block, &marker_, scan.ss, scan.se, scan.al, table, state_.get());
}

// Scans of differences, sample by sample, rows predicted from the row above (Annex H).
void Decoder::DecodeLosslessScan(const Scan& scan)
{
    const int width = frame_.width, height = frame_.height, predictor = scan.ss;
    pointTransform_ = scan.al;
    if (predictor < 1 || predictor > 7 || scan.al >= precision_ || (restart_ % width) != 0)
        throw Error("bad lossless scan");
    const int rowsPerInterval = restart_ ? restart_ / width : height;
    const size_t count = scan.components.size();
    std::vector<std::vector<Vek16s>> differences(count, std::vector<Vek16s>((size_t)width));
    StartInterval(scan);
    bool firstRow = true;
    for (int y = 0; y < height; ++y) {
        if (y > 0 && y % rowsPerInterval == 0) {
            const int next = Resynchronise(y / rowsPerInterval - 1);
            if (next < 0)
                return Warn("a restart marker is missing");
            y = next * rowsPerInterval;
            if (y >= height)
                return;
            StartInterval(scan);
            firstRow = true;
        }
        VekStatus status = StatusOk;
        for (int x = 0; x < width && status == StatusOk; ++x)
            for (size_t i = 0; i < count && status == StatusOk; ++i)
                status = vekiDecodeHuffmanOne_JPEG_1u16s_C1(file_.data(), size(), &position_, &differences[i][(size_t)x], &marker_,
                                                            dc_[(size_t)scan.components[i]->dcTable].get(), state_.get());
        if (status != StatusOk) {
            Warn(status == StatusBitstreamExhausted ? "the file is cut off: " + std::to_string(y) + " of " + std::to_string(height) + " rows decoded"
                                                    : "corrupt data in row " + std::to_string(y));
            if (!restart_)
                return;
            y += rowsPerInterval - 1 - y % rowsPerInterval;
            continue;
        }
        for (size_t i = 0; i < count; ++i) {
            uint16_t* row = scan.components[i]->lossless.data() + (size_t)y * (size_t)width;
            ReconstructRow(differences[i].data(), firstRow ? nullptr : row - width, row, width, precision_, predictor, scan.al);
        }
        firstRow = false;
        if (options_.progress)
            options_.progress((double)y / height);
    }
}

// ---- Pixels ----

void Decoder::Transform(Component& component)
{
    for (int y = 0; y < component.layout.blocksHigh; ++y)
        for (int x = 0; x < component.layout.blocksWide; ++x)
            Check(vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(component.Block(x, y), component.Samples(x, y), component.layout.step(), component.quantisation.data()), "inverse DCT");
}

PixelColour Decoder::ColourOfFrame() const
{
    if (components_.size() == 1)
        return PixelColour::Grey;
    if (components_.size() == 4)
        return adobeTransform_.value_or(0) == 2 ? PixelColour::YCCK : PixelColour::CMYK;
    if (process_ == Process::Lossless)
        return PixelColour::RGB;
    const bool named = components_[0].id == 'R' && components_[1].id == 'G' && components_[2].id == 'B';
    const bool rgb = !jfif_ && (adobeTransform_ ? *adobeTransform_ == 0 : named);
    return rgb ? PixelColour::RGB : PixelColour::YCbCr;
}

Decoded Decoder::Finish()
{
    Decoded decoded;
    if (process_ == Process::Lossless) {
        std::vector<const uint16_t*> planes;
        for (const Component& component : components_)
            planes.push_back(component.lossless.data());
        decoded.image = JoinLossless(frame_, planes, precision_, pointTransform_);
    } else {
        std::vector<Plane> planes;
        for (Component& component : components_) {
            if (process_ == Process::Progressive && component.hasQuantisation)
                Transform(component);
            planes.push_back({component.plane.data(), component.layout});
        }
        decoded.image = JoinPlanes(frame_, planes, ColourOfFrame());
        // Files with the marker hold the complement of the inks.
        if (components_.size() == 4 && adobeTransform_)
            for (uint8_t& sample : decoded.image.samples)
                sample = (uint8_t)(255 - sample);
    }
    decoded.warning = warning_;
    if (options_.keepCoefficients)
        for (Component& component : components_)
            decoded.coefficients.push_back({component.layout.blocksWide, component.layout.blocksHigh, std::move(component.coefficients)});
    return decoded;
}

Decoded Decoder::Run()
{
    if (size() < 4 || Byte(0) != 0xff || Byte(1) != kSoi)
        throw Error("not a JPEG file");
    position_ = 2;
    for (;;) {
        const int marker = NextMarker();
        if (marker == 0) {
            if (scans_ == 0)
                throw Error("the file ends before the image");
            Warn("the file is cut off: its end marker is missing");
            return Finish();
        }
        if (marker == kEoi)
            break;
        if ((marker >= kRst0 && marker <= kRst7) || marker == kTem)
            continue;
        try {
            ReadSegment(marker);
        } catch (const Error& error) {
            // Behind the first scan there is something to show.
            if (scans_ == 0)
                throw;
            Warn(error.what());
            return Finish();
        }
    }
    if (scans_ == 0)
        throw Error("the file ends before the image");
    return Finish();
}

}  // namespace

Decoded DecodeJpeg(const Bytes& file, const DecodeOptions& options) { return Decoder(file, options).Run(); }

}  // namespace uvek::codec
