// From quantised coefficients to the scans of a baseline or progressive file.
#include "codec/jpeg_encoder.h"

namespace uvek::codec {

// ---- What is coded in which order ----

std::vector<Scan> Encoder::Scans() { return options_.progressive ? ProgressiveScans() : BaselineScans(); }

std::vector<Scan> Encoder::BaselineScans()
{
    std::vector<Scan> scans;
    if (options_.interleaved)
        scans.emplace_back();
    for (Component& component : components_) {
        if (!options_.interleaved)
            scans.emplace_back();
        scans.back().components.push_back(&component);
    }
    return scans;
}

// First the DC of all components, then a few luma coefficients, then the rest, each without its lowest bits;
// the bits follow one by one.
std::vector<Scan> Encoder::ProgressiveScans()
{
    std::vector<Component*> all;
    for (Component& component : components_)
        all.push_back(&component);
    std::vector<Scan> scans = {{all, 0, 0, 0, 1}};
    const auto each = [&](bool chroma, int ss, int se, int ah, int al) {
        for (Component* component : all)
            if (component->chroma == chroma)
                scans.push_back({{component}, ss, se, ah, al});
    };
    each(false, 1, 5, 0, 2);
    each(true, 1, 63, 0, 1);
    each(false, 6, 63, 0, 2);
    each(false, 1, 63, 2, 1);
    scans.push_back({all, 0, 0, 1, 0});
    each(true, 1, 63, 1, 0);
    each(false, 1, 63, 1, 0);
    return scans;
}

// A scan of one component has a block for an MCU, and leaves out those outside the image.
int Encoder::McuCount(const Scan& scan) const
{
    if (scan.components.size() > 1)
        return frame_.mcusWide() * frame_.mcusHigh();
    return scan.components[0]->layout.usedWide * scan.components[0]->layout.usedHigh;
}

template <typename Visit>
void Encoder::ForEachBlock(const Scan& scan, int mcu, Visit visit)
{
    if (scan.components.size() == 1) {
        const int width = scan.components[0]->layout.usedWide;
        return visit(*scan.components[0], mcu % width, mcu / width);
    }
    const int column = mcu % frame_.mcusWide(), line = mcu / frame_.mcusWide();
    for (Component* component : scan.components)
        for (int y = 0; y < component->layout.v; ++y)
            for (int x = 0; x < component->layout.h; ++x)
                visit(*component, column * component->layout.h + x, line * component->layout.v + y);
}

// ---- Tables made for the image ----

void Encoder::CountBlock(const Scan& scan, Component& component, const Vek16s* block)
{
    Vek32s* const ac = acCounts_[component.chroma].data();
    if (scan.HasDcCodes())
        Check(vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, dcCounts_[component.chroma].data(), &component.lastDc, scan.al), "statistics");
    if (scan.IsBaseline()) {
        // Counted as a scan of its own and flushed, a block has the symbols that a baseline scan writes.
        Check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, ac, 1, 63, 0, out_.state(), 0), "statistics");
        Check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, ac, 1, 63, 0, out_.state(), 1), "statistics");
    } else if (scan.HasAcCodes()) {
        const auto count = scan.ah == 0 ? vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1 : vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1;
        Check(count(block, ac, scan.ss, scan.se, scan.al, out_.state(), 0), "statistics");
    }
}

void Encoder::CountSymbols(const std::vector<Scan>& scans)
{
    dcCounts_ = {};
    acCounts_ = {};
    for (const Scan& scan : scans) {
        const int count = McuCount(scan);
        const auto flush = [&] {
            if (scan.HasAcCodes() && !scan.IsBaseline())
                Check(vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, acCounts_[scan.components[0]->chroma].data(), scan.ss, scan.se,
                                                                      scan.al, out_.state(), 1),
                      "statistics");
        };
        for (int mcu = 0; mcu < count; ++mcu) {
            if (mcu == 0 || (options_.restart && mcu % options_.restart == 0)) {
                flush();
                for (Component* component : scan.components)
                    component->lastDc = 0;
            }
            ForEachBlock(scan, mcu, [&](Component& component, int x, int y) { CountBlock(scan, component, component.Block(x, y)); });
        }
        flush();
    }
    for (size_t i = 0; i < (size_t)tableSets_; ++i) {
        dcLists_[i] = dcCounts_[i].MakeLists();
        acLists_[i] = acCounts_[i].MakeLists();
    }
}

// ---- Segments ----

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
    out_.Marker(options_.progressive ? kSof2 : kSof0);
    const int count = (int)components_.size(), length = 8 + 3 * count;
    out_.Put({0, length, 8, frame_.height >> 8, frame_.height & 255, frame_.width >> 8, frame_.width & 255, count});
    for (const Component& component : components_)
        out_.Put({component.id, component.layout.h << 4 | component.layout.v, component.chroma});
    if (options_.restart)
        out_.RestartInterval(options_.restart);
}

// The tables that a scan uses; all of them without a scan.
void Encoder::WriteTables(const Scan* scan)
{
    for (int i = 0; i < tableSets_; ++i) {
        bool used = scan == nullptr;
        for (size_t c = 0; scan && c < scan->components.size(); ++c)
            used = used || scan->components[c]->chroma == (i == 1);
        if (used && (!scan || scan->HasDcCodes())) {
            out_.HuffmanTable(HuffmanKind::DC, i, dcLists_[(size_t)i]);
            dc_[(size_t)i].emplace(dcLists_[(size_t)i]);
        }
        if (used && (!scan || scan->HasAcCodes())) {
            out_.HuffmanTable(HuffmanKind::AC, i, acLists_[(size_t)i]);
            ac_[(size_t)i].emplace(acLists_[(size_t)i]);
        }
    }
}

// ---- Scans ----

// Ends a restart interval where one ends, and makes room for the MCU.
void Encoder::BeginMcu(const Scan& scan, int mcu)
{
    if (options_.restart && mcu > 0 && mcu % options_.restart == 0) {
        Flush(scan);
        out_.Marker(kRst0 + (mcu / options_.restart - 1) % 8);
        for (Component* component : scan.components)
            component->lastDc = 0;
    }
    out_.MakeRoom(kMostBlocksPerMcu * kMostBytesPerBlock);
}

void Encoder::WriteBlock(const Scan& scan, Component& component, const Vek16s* block)
{
    Vek8u* const to = out_.data();
    const auto dc = [&] { return dc_[component.chroma]->get(); };
    const auto ac = [&] { return ac_[component.chroma]->get(); };
    VekStatus status;
    if (scan.IsBaseline())
        status = vekiEncodeHuffman8x8_JPEG_16s1u_C1(block, to, out_.size(), out_.position(), &component.lastDc, dc(), ac(), out_.state(), 0);
    else if (scan.HasDcCodes())
        status = vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, to, out_.size(), out_.position(), &component.lastDc, scan.al, dc(), out_.state(), 0);
    else if (!scan.HasAcCodes())
        status = vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, to, out_.size(), out_.position(), scan.al, out_.state(), 0);
    else if (scan.ah == 0)
        status = vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, to, out_.size(), out_.position(), scan.ss, scan.se, scan.al, ac(), out_.state(), 0);
    else
        status = vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, to, out_.size(), out_.position(), scan.ss, scan.se, scan.al, ac(), out_.state(), 0);
    Check(status, "Huffman coding");
}

void Encoder::Flush(const Scan& scan)
{
    out_.MakeRoom(kMostBytesPerFlush);
    Vek8u* const to = out_.data();
    VekStatus status;
    if (scan.IsBaseline())
        status = vekiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, to, out_.size(), out_.position(), nullptr, nullptr, nullptr, out_.state(), 1);
    else if (!scan.HasAcCodes())
        status = vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(nullptr, to, out_.size(), out_.position(), 0, out_.state(), 1);
    else {
        const auto flush = scan.ah == 0 ? vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1 : vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1;
        status = flush(nullptr, to, out_.size(), out_.position(), scan.ss, scan.se, scan.al, ac_[scan.components[0]->chroma]->get(), out_.state(), 1);
    }
    Check(status, "flush");
}

// Blocks are coded as soon as they are transformed: the strip is in cache then.
void Encoder::WriteByStrips(const Scan& scan)
{
    alignas(16) Vek16s block[kBlockSize];
    int mcu = 0;
    for (int line = 0; line < frame_.mcusHigh(); ++line) {
        LoadStrip(line);
        for (int column = 0; column < frame_.mcusWide(); ++column) {
            BeginMcu(scan, mcu++);
            for (Component* component : scan.components)
                for (int y = 0; y < component->layout.v; ++y)
                    for (int x = 0; x < component->layout.h; ++x) {
                        Transform(*component, column * component->layout.h + x, y, block);
                        WriteBlock(scan, *component, block);
                    }
        }
        Report((double)line / frame_.mcusHigh());
    }
}

void Encoder::WriteScan(const Scan& scan)
{
    const int scanned = (int)scan.components.size();
    out_.Marker(kSos);
    out_.Put({0, 6 + 2 * scanned, scanned});
    for (Component* component : scan.components) {
        out_.Put({component->id, component->chroma ? 0x11 : 0x00});
        component->lastDc = 0;
    }
    out_.Put({scan.ss, scan.se, scan.ah << 4 | scan.al});

    if (scan.components[0]->coefficients.empty())
        WriteByStrips(scan);
    else
        for (int mcu = 0, count = McuCount(scan); mcu < count; ++mcu) {
            BeginMcu(scan, mcu);
            ForEachBlock(scan, mcu, [&](Component& component, int x, int y) { WriteBlock(scan, component, component.Block(x, y)); });
        }
    Flush(scan);
}

Bytes Encoder::Run()
{
    const std::vector<Scan> scans = Scans();
    if (options_.optimize || options_.progressive || scans.size() > 1)
        FillCoefficients();
    WriteHeader();
    if (!options_.progressive) {
        if (options_.optimize)
            CountSymbols(scans);
        WriteTables(nullptr);
    }
    for (const Scan& scan : scans) {
        if (options_.progressive) {  // the standard's tables have no codes for runs of blocks: each scan brings its own
            CountSymbols({scan});
            WriteTables(&scan);
        }
        WriteScan(scan);
        if (options_.progressive)
            Report(0.5 + 0.5 * (double)(&scan - scans.data()) / (double)scans.size());
    }
    out_.Marker(kEoi);
    return out_.Take();
}

}  // namespace uvek::codec
