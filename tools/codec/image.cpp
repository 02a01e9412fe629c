#include "codec/image.h"

#include <spng.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

namespace uvek::codec {
namespace {

constexpr int kLargestSide = 65500;

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string LowerExtension(const std::string& path)
{
    std::string extension = path.substr(path.find_last_of('.') == std::string::npos ? path.size() : path.find_last_of('.'));
    for (char& c : extension)
        c = (char)std::tolower((unsigned char)c);
    return extension;
}

Image MakeImage(int64_t width, int64_t height, int channels, int precision)
{
    if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide)
        throw Error("image of " + std::to_string(width) + " by " + std::to_string(height) + " pixels");
    if (precision <= 8)
        return Image((int)width, (int)height, channels);
    Image image;
    image.width = (int)width;
    image.height = (int)height;
    image.channels = channels;
    image.precision = precision;
    image.wide.resize((size_t)width * (size_t)height * (size_t)channels);
    return image;
}

// ---- PNM ----

class PnmHeader {
public:
    explicit PnmHeader(const Bytes& bytes) : bytes_(bytes) {}

    int Number()
    {
        SkipSpace();
        int64_t value = 0;
        const size_t first = at_;
        for (; at_ < bytes_.size() && std::isdigit(bytes_[at_]); ++at_)
            value = value * 10 + (bytes_[at_] - '0') > 1000000 ? 1000000 : value * 10 + (bytes_[at_] - '0');
        if (at_ == first)
            throw Error("not a PNM header");
        return (int)value;
    }
    size_t SamplesBegin() const { return at_ + 1; }  // one white space after the last number

private:
    void SkipSpace()
    {
        for (; at_ < bytes_.size(); ++at_) {
            if (bytes_[at_] == '#')
                while (at_ < bytes_.size() && bytes_[at_] != '\n')
                    ++at_;
            else if (!std::isspace(bytes_[at_]))
                return;
        }
    }

    const Bytes& bytes_;
    size_t at_ = 2;
};

int BitsFor(int largest)
{
    int bits = 1;
    while ((1 << bits) - 1 < largest)
        ++bits;
    return bits;
}

Image ReadPnm(const Bytes& bytes)
{
    PnmHeader header(bytes);
    const int width = header.Number(), height = header.Number(), largest = header.Number();
    if (largest < 1 || largest > 65535)
        throw Error("PNM with a largest value of " + std::to_string(largest));
    const int channels = bytes[1] == '5' ? 1 : 3;
    const size_t count = (size_t)width * (size_t)height * (size_t)channels, wide = largest > 255 ? 2 : 1;
    const size_t begin = header.SamplesBegin();
    if (bytes.size() < begin || (bytes.size() - begin) / wide < count)
        throw Error("PNM file is too short");
    Image image = MakeImage(width, height, channels, largest > 255 ? BitsFor(largest) : 8);
    for (size_t i = 0; i < count; ++i) {
        if (wide == 2)
            image.wide[i] = (uint16_t)(bytes[begin + 2 * i] << 8 | bytes[begin + 2 * i + 1]);
        else
            image.samples[i] = largest == 255 ? bytes[begin + i] : (uint8_t)(bytes[begin + i] * 255 / largest);
    }
    return image;
}

Bytes WritePnm(const Image& image)
{
    const std::string header = std::string(image.channels == 1 ? "P5\n" : "P6\n") + std::to_string(image.width) + " "
        + std::to_string(image.height) + "\n" + std::to_string((1 << image.precision) - 1) + "\n";
    Bytes bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), image.samples.begin(), image.samples.end());
    for (const uint16_t sample : image.wide) {
        bytes.push_back((uint8_t)(sample >> 8));
        bytes.push_back((uint8_t)sample);
    }
    return bytes;
}

// ---- PNG ----

using Png = std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)>;

void CheckPng(int result)
{
    if (result)
        throw Error(std::string("PNG: ") + spng_strerror(result));
}

Image ReadPng(const Bytes& bytes)
{
    const Png png(spng_ctx_new(0), spng_ctx_free);
    spng_ihdr header;
    CheckPng(spng_set_png_buffer(png.get(), bytes.data(), bytes.size()));
    CheckPng(spng_get_ihdr(png.get(), &header));
    const bool grey = header.color_type == SPNG_COLOR_TYPE_GRAYSCALE;
    const bool wide = grey && header.bit_depth == 16;  // colour of 16 bits is read as 8
    Image image = MakeImage(header.width, header.height, grey ? 1 : 3, wide ? 16 : 8);
    const int format = wide ? SPNG_FMT_PNG : grey ? SPNG_FMT_G8 : SPNG_FMT_RGB8;
    if (wide)
        CheckPng(spng_decode_image(png.get(), image.wide.data(), image.wide.size() * 2, format, 0));
    else
        CheckPng(spng_decode_image(png.get(), image.samples.data(), image.samples.size(), format, 0));
    return image;
}

Bytes WritePng(const Image& image)
{
    const Png png(spng_ctx_new(SPNG_CTX_ENCODER), spng_ctx_free);
    CheckPng(spng_set_option(png.get(), SPNG_ENCODE_TO_BUFFER, 1));
    spng_ihdr header = {};
    header.width = (uint32_t)image.width;
    header.height = (uint32_t)image.height;
    header.bit_depth = image.precision > 8 ? 16 : 8;
    header.color_type = image.channels == 1 ? SPNG_COLOR_TYPE_GRAYSCALE : SPNG_COLOR_TYPE_TRUECOLOR;
    CheckPng(spng_set_ihdr(png.get(), &header));
    if (image.precision > 8)
        CheckPng(spng_encode_image(png.get(), image.wide.data(), image.wide.size() * 2, SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE));
    else
        CheckPng(spng_encode_image(png.get(), image.samples.data(), image.samples.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE));
    size_t size = 0;
    int result = 0;
    const std::unique_ptr<void, decltype(&std::free)> buffer(spng_get_png_buffer(png.get(), &size, &result), std::free);
    CheckPng(result);
    const auto* begin = (const uint8_t*)buffer.get();
    return Bytes(begin, begin + size);
}

}  // namespace

Bytes ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Error(path + ": " + std::strerror(errno));
    Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad())
        throw Error(path + ": cannot be read");
    return bytes;
}

void WriteFile(const std::string& path, const Bytes& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write((const char*)bytes.data(), (std::streamsize)bytes.size());
    file.close();
    if (!file)
        throw Error(path + ": cannot be written");
}

Image DecodeImage(const Bytes& file)
{
    if (file.size() > 8 && std::memcmp(file.data(), "\x89PNG", 4) == 0)
        return ReadPng(file);
    if (file.size() > 8 && file[0] == 'P' && (file[1] == '5' || file[1] == '6'))
        return ReadPnm(file);
    throw Error("neither PNG nor binary PGM or PPM");
}

Image ReadImage(const std::string& path)
{
    const Bytes bytes = ReadFile(path);
    try {
        return DecodeImage(bytes);
    } catch (const Error& error) {
        throw Error(path + ": " + error.what());
    }
}

void WriteImage(const std::string& path, const Image& image)
{
    const Image display = ToDisplay(image);
    const std::string extension = LowerExtension(path);
    if (EndsWith(extension, ".png"))
        WriteFile(path, WritePng(display));
    else if (extension == ".ppm" || extension == ".pgm" || extension == ".pnm")
        WriteFile(path, WritePnm(display));
    else
        throw Error(path + ": the extension says neither .png nor .ppm nor .pgm");
}

Image ToDisplay(const Image& image)
{
    if (image.channels != 4)
        return image;
    Image display(image.width, image.height, 3);
    const uint8_t* ink = image.samples.data();
    for (size_t i = 0; i < display.samples.size(); i += 3, ink += 4)
        for (size_t c = 0; c < 3; ++c)
            display.samples[i + c] = (uint8_t)(((255 - ink[c]) * (255 - ink[3]) + 127) / 255);
    return display;
}

}  // namespace uvek::codec
