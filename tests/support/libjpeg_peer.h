// libjpeg as the truth about coefficients and files.
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
    double detail = 20;              // amplitude of the noise
    std::vector<jpeg_scan_info> script;
};

// A picture of waves and noise as a file of libjpeg.
inline Bytes CompressWithLibjpeg(const PeerOptions& o)
{
    jpeg_compress_struct c;
    jpeg_error_mgr errors;
    c.err = jpeg_std_error(&errors);
    jpeg_create_compress(&c);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &data, &size);
    c.image_width = (JDIMENSION)o.width;
    c.image_height = (JDIMENSION)o.height;
    c.input_components = o.channels;
    c.in_color_space = o.channels == 1 ? JCS_GRAYSCALE : o.channels == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, o.quality, TRUE);
    if (o.progressive)
        jpeg_simple_progression(&c);
    c.comp_info[0].h_samp_factor = o.h;
    c.comp_info[0].v_samp_factor = o.v;
    c.optimize_coding = o.optimize;
    c.restart_interval = (unsigned)o.restart;
    jpeg_scan_info apart[4] = {};
    if (!o.interleave) {
        for (int i = 0; i < o.channels; ++i)
            apart[i] = {1, {i}, 0, 63, 0, 0};
        c.scan_info = apart;
        c.num_scans = o.channels;
    }
    if (!o.script.empty()) {
        c.scan_info = o.script.data();
        c.num_scans = (int)o.script.size();
    }
    jpeg_start_compress(&c, TRUE);
    Bytes row((size_t)o.width * o.channels);
    uint32_t noise = 12345;
    for (int y = 0; y < o.height; ++y) {
        for (size_t i = 0; i < row.size(); ++i) {
            noise = noise * 1664525u + 1013904223u;
            const double x = (double)(i / o.channels), grain = (noise >> 8) / 16777216.0 - 0.5;
            const double wave = 90 * std::sin(x * 0.05 + y * 0.011 * (1 + i % o.channels)) * std::cos(y * 0.07);
            row[i] = (uint8_t)std::min(255.0, std::max(0.0, 127 + wave + o.detail * grain * (y / 16 % 2)));
        }
        JSAMPROW rows = row.data();
        jpeg_write_scanlines(&c, &rows, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    Bytes bytes(data, data + size);
    free(data);
    return bytes;
}

// Coefficients of a file; *warnings counts what libjpeg found wrong with it.
inline Coefficients ReadWithLibjpeg(const JpegFile& file, int* warnings = nullptr)
{
    jpeg_decompress_struct d;
    jpeg_error_mgr errors;
    d.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, file.bytes.data(), (unsigned long)file.bytes.size());
    jpeg_read_header(&d, TRUE);
    jvirt_barray_ptr* const arrays = jpeg_read_coefficients(&d);
    Coefficients all = EmptyCoefficients(file);
    for (size_t c = 0; c < all.size(); ++c) {
        const JpegComponent& component = file.components[c];
        for (int y = 0; y < component.paddedDown; ++y) {
            JBLOCKARRAY rows = d.mem->access_virt_barray((j_common_ptr)&d, arrays[c], (JDIMENSION)y, 1, FALSE);
            for (int i = 0; i < component.paddedAcross * 64; ++i)
                all[c][(size_t)y * component.paddedAcross * 64 + i] = rows[0][i / 64][i % 64];
        }
    }
    if (warnings)
        *warnings = (int)errors.num_warnings;
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
    return all;
}

}  // namespace uvek::test

#endif
