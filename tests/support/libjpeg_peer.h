// libjpeg as the truth about coefficients, samples and files.
#ifndef UVEK_TESTS_SUPPORT_LIBJPEG_PEER_H
#define UVEK_TESTS_SUPPORT_LIBJPEG_PEER_H

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include "jpeg_file.h"

namespace uvek::test {

struct PeerOptions {
    int width = 64, height = 64, channels = 3;
    int h = 2, v = 2;                // luma sampling
    int quality = 75;
    int restart = 0;                 // MCUs
    bool optimize = false, interleave = true, progressive = false;
    bool grey = false;               // drops the colour of RGB
    bool wideSteps = false;          // quantisation steps above 255
    double detail = 20;              // amplitude of the noise
    std::vector<jpeg_scan_info> script;
};

// Warnings are counted, and nothing is printed but what ends the program.
inline jpeg_error_mgr* CountWarnings(jpeg_error_mgr& errors)
{
    jpeg_std_error(&errors);
    errors.emit_message = [](j_common_ptr info, int level) { info->err->num_warnings += level < 0; };
    return &errors;
}

// A picture as a file of libjpeg; four channels are the complement of inks.
inline Bytes CompressWithLibjpeg(const PeerOptions& o, const Bytes& picture)
{
    jpeg_compress_struct c;
    jpeg_error_mgr errors;
    c.err = CountWarnings(errors);
    jpeg_create_compress(&c);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &data, &size);
    c.image_width = (JDIMENSION)o.width;
    c.image_height = (JDIMENSION)o.height;
    c.input_components = o.channels;
    c.in_color_space = o.channels == 1 ? JCS_GRAYSCALE : o.channels == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&c);
    if (o.channels == 4)
        jpeg_set_colorspace(&c, JCS_YCCK);
    if (o.grey)
        jpeg_set_colorspace(&c, JCS_GRAYSCALE);
    jpeg_set_quality(&c, o.quality, o.wideSteps ? FALSE : TRUE);
    if (o.progressive)
        jpeg_simple_progression(&c);
    for (int i = 0; i < c.num_components; i += 3) {  // luma, and black
        c.comp_info[i].h_samp_factor = o.h;
        c.comp_info[i].v_samp_factor = o.v;
    }
    c.optimize_coding = o.optimize;
    c.restart_interval = (unsigned)o.restart;
    std::vector<jpeg_scan_info> script = o.script;
    if (!o.interleave)
        for (int i = 0; i < o.channels; ++i)
            script.push_back({1, {i}, 0, 63, 0, 0});
    if (!script.empty()) {
        c.scan_info = script.data();
        c.num_scans = (int)script.size();
    }
    jpeg_start_compress(&c, TRUE);
    while (c.next_scanline < c.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(picture.data()) + (size_t)c.next_scanline * o.width * o.channels;
        jpeg_write_scanlines(&c, &row, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    Bytes bytes(data, data + size);
    free(data);
    return bytes;
}

// A picture of waves and noise.
inline Bytes CompressWithLibjpeg(const PeerOptions& o)
{
    Bytes picture;
    uint32_t noise = 12345;
    for (int y = 0; y < o.height; ++y)
        for (int x = 0; x < o.width; ++x)
            for (int c = 0; c < o.channels; ++c) {
                noise = noise * 1664525u + 1013904223u;
                const double grain = (noise >> 8) / 16777216.0 - 0.5;
                const double wave = 90 * std::sin(x * 0.05 + y * 0.011 * (1 + c)) * std::cos(y * 0.07);
                picture.push_back((uint8_t)std::min(255.0, std::max(0.0, 127 + wave + o.detail * grain * (y / 16 % 2))));
            }
    return CompressWithLibjpeg(o, picture);
}

// A file that libjpeg reads.
struct PeerReader {
    explicit PeerReader(const Bytes& bytes)
    {
        d.err = CountWarnings(errors);
        jpeg_create_decompress(&d);
        jpeg_mem_src(&d, bytes.data(), (unsigned long)bytes.size());
        jpeg_read_header(&d, TRUE);
    }
    ~PeerReader() { jpeg_destroy_decompress(&d); }
    PeerReader(const PeerReader&) = delete;

    int Finish()
    {
        jpeg_finish_decompress(&d);
        return (int)errors.num_warnings;
    }

    jpeg_decompress_struct d;
    jpeg_error_mgr errors;
};

inline Coefficients ReadWithLibjpeg(const JpegFile& file, int* warnings = nullptr)
{
    PeerReader reader(file.bytes);
    jvirt_barray_ptr* const arrays = jpeg_read_coefficients(&reader.d);
    Coefficients all = EmptyCoefficients(file);
    for (size_t c = 0; c < all.size(); ++c) {
        const JpegComponent& component = file.components[c];
        for (int y = 0; y < component.paddedDown; ++y) {
            JBLOCKARRAY rows = reader.d.mem->access_virt_barray((j_common_ptr)&reader.d, arrays[c], (JDIMENSION)y, 1, FALSE);
            std::copy(rows[0][0], rows[0][component.paddedAcross], &all[c][(size_t)y * component.paddedAcross * 64]);
        }
    }
    const int found = reader.Finish();
    if (warnings)
        *warnings = found;
    return all;
}

// Samples by the accurate integer DCT.
inline Bytes SamplesByLibjpeg(const Bytes& bytes)
{
    PeerReader reader(bytes);
    jpeg_decompress_struct& d = reader.d;
    d.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&d);
    const size_t step = (size_t)d.output_width * (size_t)d.output_components;
    Bytes samples(step * d.output_height);
    while (d.output_scanline < d.output_height) {
        JSAMPROW row = &samples[d.output_scanline * step];
        jpeg_read_scanlines(&d, &row, 1);
    }
    reader.Finish();
    return samples;
}

}  // namespace uvek::test

#endif
