// A JPEG codec on the library's primitives: what they leave to their caller, which is markers, tables,
// the walk over the blocks and restart intervals.
#ifndef UVEK_TOOLS_CODEC_JPEG_H
#define UVEK_TOOLS_CODEC_JPEG_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "codec/image.h"

namespace uvek::codec {

// Told how much of the work is done, from 0 to 1.
using Progress = std::function<void(double)>;

// ---- Decoding ----

// A component's coefficients, block by block in natural order, as a decoder of another make has them.
struct Coefficients {
    int blocksWide = 0;  // whole MCUs
    int blocksHigh = 0;
    std::vector<int16_t> values;
};

struct Decoded {
    Image image;
    std::string warning;                     // not empty when part of the image is missing or was repaired
    std::vector<Coefficients> coefficients;  // when asked for
};

struct DecodeOptions {
    bool keepCoefficients = false;
    Progress progress;
};

// Throws Error where nothing can be decoded.
Decoded DecodeJpeg(const Bytes& file, const DecodeOptions& options = {});

// ---- Encoding ----

enum class Sampling { S444, S422, S420 };

// What the components of a three- or four-channel image are coded as.
enum class Colour { YCbCr, RGB, YCCK, CMYK };

struct EncodeOptions {
    int quality = 75;
    Sampling sampling = Sampling::S420;
    Colour colour = Colour::YCbCr;  // a CMYK image is coded as YCCK unless CMYK is asked for
    bool optimize = false;          // Huffman tables made for the image
    bool interleaved = true;        // false: a scan for each component
    bool progressive = false;       // spectral selection and successive approximation, tables for each scan
    int restart = 0;                // MCUs between restart markers, 0 for none; rows in lossless files

    // Lossless files (SOF3): grey of 8 to 16 bits, RGB of 8.
    bool lossless = false;
    int predictor = 1;              // 1 to 7
    int pointTransform = 0;         // low bits that are left out

    Progress progress;
};

Bytes EncodeJpeg(const Image& image, const EncodeOptions& options = {});

}  // namespace uvek::codec

#endif
