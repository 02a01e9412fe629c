// The lossless process (ISO/IEC 10918-1 Annex H): what its two directions share.
#ifndef UVEK_TOOLS_CODEC_JPEG_LOSSLESS_H
#define UVEK_TOOLS_CODEC_JPEG_LOSSLESS_H

#include "codec/jpeg.h"

namespace uvek::codec {

Bytes EncodeLossless(const Image& image, const EncodeOptions& options);

// Differences of a row to samples and back. The row above is null in the first row of an interval.
void ReconstructRow(const int16_t* differences, const uint16_t* above, uint16_t* row, int width, int precision, int predictor, int pointTransform);
void DifferencesOfRow(const uint16_t* row, const uint16_t* above, int16_t* differences, int width, int precision, int predictor, int pointTransform);

}  // namespace uvek::codec

#endif
