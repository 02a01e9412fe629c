// From pixels to quantised coefficients, and the encoder's entry.
#include <algorithm>
#include <cstring>

#include "codec/jpeg_encoder.h"
#include "codec/jpeg_lossless.h"

namespace uvek::codec {

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

namespace {

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

}  // namespace

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

Bytes EncodeJpeg(const Image& image, const EncodeOptions& options)
{
    return options.lossless ? EncodeLossless(image, options) : Encoder(image, options).Run();
}

}  // namespace uvek::codec
