#include "codec/jpeg_lossless.h"

#include <utility>

#include "codec/jpeg_format.h"
#include "codec/jpeg_output.h"

namespace uvek::codec {
namespace {

constexpr int kMostBytesPerSample = 16;

// The library's predictors 5 to 7 halve samples in their signed view, which is not the standard's when a
// sample has all 16 bits.
bool NeedsUnsignedView(int precision, int predictor, int pointTransform) { return predictor >= 5 && precision - pointTransform > 15; }

uint16_t PredictUnsigned(int predictor, int left, int above, int aboveLeft)
{
    switch (predictor) {
    case 5: return (uint16_t)(left + ((above - aboveLeft) >> 1));
    case 6: return (uint16_t)(above + ((left - aboveLeft) >> 1));
    default: return (uint16_t)((left + above) >> 1);
    }
}

class LosslessEncoder {
public:
    LosslessEncoder(const Image& image, const EncodeOptions& options) : image_(image), options_(options)
    {
        const bool wide = image.precision > 8;
        if (image.channels == 4 || (image.channels == 3 && wide))
            throw Error("lossless files are grey of up to 16 bits or RGB of 8");
        if (options.pointTransform >= image.precision)
            throw Error("the point transform leaves no bits");
        if ((int64_t)options.restart * image.width > 65535)
            throw Error("a restart interval of that many rows does not fit");
    }

    Bytes Run()
    {
        TakeDifferences();
        const HuffmanLists lists = counts_.MakeLists();
        WriteHeader(lists);
        WriteSamples(EncoderTable(lists));
        out_.Marker(kEoi);
        return out_.Take();
    }

private:
    size_t channels() const { return (size_t)image_.channels; }
    bool StartsInterval(int y) const { return y == 0 || (options_.restart && y % options_.restart == 0); }

    // All differences, interleaved like the samples.
    void TakeDifferences()
    {
        const size_t width = (size_t)image_.width;
        std::vector<std::vector<uint16_t>> above(channels(), std::vector<uint16_t>(width)), row = above;
        std::vector<int16_t> line(width);
        differences_.resize(width * (size_t)image_.height * channels());
        for (int y = 0; y < image_.height; ++y)
            for (size_t c = 0; c < channels(); ++c) {
                for (size_t x = 0; x < width; ++x) {
                    const size_t at = ((size_t)y * width + x) * channels() + c;
                    row[c][x] = (uint16_t)((image_.precision > 8 ? image_.wide[at] : image_.samples[at]) >> options_.pointTransform);
                }
                DifferencesOfRow(row[c].data(), StartsInterval(y) ? nullptr : above[c].data(), line.data(), image_.width, image_.precision,
                                 options_.predictor, options_.pointTransform);
                for (size_t x = 0; x < width; ++x) {
                    differences_[((size_t)y * width + x) * channels() + c] = line[x];
                    ++counts_.data()[Category(line[x])];
                }
                std::swap(above[c], row[c]);
            }
    }

    static int Category(int difference)
    {
        int magnitude = difference < 0 ? -difference : difference, category = 0;
        for (; magnitude > 0; magnitude >>= 1)
            ++category;
        return category;
    }

    void WriteHeader(const HuffmanLists& lists)
    {
        const int count = image_.channels;
        out_.Marker(kSoi);
        out_.Marker(kSof3);
        out_.Put({0, 8 + 3 * count, image_.precision, image_.height >> 8, image_.height & 255, image_.width >> 8, image_.width & 255, count});
        for (int c = 0; c < count; ++c)
            out_.Put({Id(c), 0x11, 0});
        out_.HuffmanTable(HuffmanKind::DC, 0, lists);
        if (options_.restart)
            out_.RestartInterval(options_.restart * image_.width);
        out_.Marker(kSos);
        out_.Put({0, 6 + 2 * count, count});
        for (int c = 0; c < count; ++c)
            out_.Put({Id(c), 0});
        out_.Put({options_.predictor, 0, options_.pointTransform});
    }

    int Id(int c) const { return image_.channels == 3 ? "RGB"[c] : 1; }

    void WriteSamples(const EncoderTable& table)
    {
        const size_t rowSamples = (size_t)image_.width * channels();
        for (int y = 0; y < image_.height; ++y) {
            if (y > 0 && StartsInterval(y)) {
                Flush();
                out_.Marker(kRst0 + (y / options_.restart - 1) % 8);
            }
            out_.MakeRoom((int)rowSamples * kMostBytesPerSample);
            for (size_t i = 0; i < rowSamples; ++i)
                Check(vekiEncodeHuffmanOne_JPEG_16s1u_C1(&differences_[(size_t)y * rowSamples + i], out_.data(), out_.size(), out_.position(),
                                                         table.get(), out_.state(), 0),
                      "Huffman coding");
            if (options_.progress)
                options_.progress((double)y / image_.height);
        }
        Flush();
    }

    void Flush()
    {
        out_.MakeRoom(kMostBytesPerSample);
        Check(vekiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, out_.data(), out_.size(), out_.position(), nullptr, out_.state(), 1), "flush");
    }

    const Image& image_;
    const EncodeOptions& options_;
    std::vector<int16_t> differences_;
    SymbolCounts counts_;
    JpegOutput out_;
};

}  // namespace

void ReconstructRow(const int16_t* differences, const uint16_t* above, uint16_t* row, int width, int precision, int predictor, int pointTransform)
{
    auto* samples = reinterpret_cast<Vek16s*>(row);
    if (!above)
        return Check(vekiReconstructPredFirstRow_JPEG_16s_C1(differences, samples, width, precision, pointTransform), "lossless prediction");
    if (!NeedsUnsignedView(precision, predictor, pointTransform))
        return Check(vekiReconstructPredRow_JPEG_16s_C1(differences, reinterpret_cast<const Vek16s*>(above), samples, width, predictor), "lossless prediction");
    row[0] = (uint16_t)(differences[0] + above[0]);
    for (int x = 1; x < width; ++x)
        row[x] = (uint16_t)(differences[x] + PredictUnsigned(predictor, row[x - 1], above[x], above[x - 1]));
}

void DifferencesOfRow(const uint16_t* row, const uint16_t* above, int16_t* differences, int width, int precision, int predictor, int pointTransform)
{
    const auto* samples = reinterpret_cast<const Vek16s*>(row);
    if (!above)
        return Check(vekiDiffPredFirstRow_JPEG_16s_C1(samples, differences, width, precision, pointTransform), "lossless prediction");
    if (!NeedsUnsignedView(precision, predictor, pointTransform))
        return Check(vekiDiffPredRow_JPEG_16s_C1(samples, reinterpret_cast<const Vek16s*>(above), differences, width, predictor), "lossless prediction");
    differences[0] = (int16_t)(row[0] - above[0]);
    for (int x = 1; x < width; ++x)
        differences[x] = (int16_t)(row[x] - PredictUnsigned(predictor, row[x - 1], above[x], above[x - 1]));
}

Bytes EncodeLossless(const Image& image, const EncodeOptions& options) { return LosslessEncoder(image, options).Run(); }

}  // namespace uvek::codec
