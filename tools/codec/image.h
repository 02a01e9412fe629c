// An image in memory, and its files.
#ifndef UVEK_TOOLS_CODEC_IMAGE_H
#define UVEK_TOOLS_CODEC_IMAGE_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace uvek::codec {

// What a user is told in one line.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

using Bytes = std::vector<uint8_t>;

// Interleaved samples without padding: grey (1), RGB (3) or CMYK (4, 255 is full ink).
struct Image {
    int width = 0;
    int height = 0;
    int channels = 0;
    int precision = 8;           // bits a sample; above 8 the samples stand in `wide`
    Bytes samples;
    std::vector<uint16_t> wide;

    Image() = default;
    Image(int imageWidth, int imageHeight, int imageChannels)
        : width(imageWidth), height(imageHeight), channels(imageChannels), samples((size_t)imageWidth * (size_t)imageHeight * (size_t)imageChannels)
    {
    }
    int step() const { return width * channels; }
    uint8_t* row(int y) { return samples.data() + (size_t)y * (size_t)step(); }
    const uint8_t* row(int y) const { return samples.data() + (size_t)y * (size_t)step(); }
};

Bytes ReadFile(const std::string& path);
void WriteFile(const std::string& path, const Bytes& bytes);

// PNG or binary PGM/PPM, told apart by content when read and by extension when written. CMYK images
// are written as RGB. Samples above 8 bits stay as they are.
Image DecodeImage(const Bytes& file);
Image ReadImage(const std::string& path);
void WriteImage(const std::string& path, const Image& image);

// The RGB (or grey) picture of a CMYK image; others come back as they are.
Image ToDisplay(const Image& image);

}  // namespace uvek::codec

#endif
