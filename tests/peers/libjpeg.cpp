#include "peers/libjpeg.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace uvek::test {
namespace {

[[noreturn]] void Die(j_common_ptr info)
{
    info->err->output_message(info);
    std::abort();
}

// Counts warnings and prints nothing.
void CountWarning(j_common_ptr info, int level)
{
    if (level < 0)
        ++info->err->num_warnings;
}

struct Errors {
    jpeg_error_mgr manager;
    Errors()
    {
        jpeg_std_error(&manager);
        manager.error_exit = Die;
        manager.emit_message = CountWarning;
    }
};

}  // namespace

codec::Bytes EncodeByPeer(const codec::Image& image, const PeerOptions& options)
{
    Errors errors;
    jpeg_compress_struct info;
    info.err = &errors.manager;
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = (JDIMENSION)image.width;
    info.image_height = (JDIMENSION)image.height;
    info.input_components = image.channels;
    info.in_color_space = image.channels == 1 ? JCS_GRAYSCALE : image.channels == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&info);
    if (image.channels == 4)
        jpeg_set_colorspace(&info, JCS_YCCK);
    if (options.grey)
        jpeg_set_colorspace(&info, JCS_GRAYSCALE);
    jpeg_set_quality(&info, options.quality, options.baselineTables ? TRUE : FALSE);
    if (info.num_components > 1) {
        info.comp_info[0].h_samp_factor = options.h;
        info.comp_info[0].v_samp_factor = options.v;
        if (info.num_components == 4) {
            info.comp_info[3].h_samp_factor = options.h;
            info.comp_info[3].v_samp_factor = options.v;
        }
    }
    if (options.progressive)
        jpeg_simple_progression(&info);
    info.optimize_coding = options.optimize ? TRUE : FALSE;
    info.restart_interval = (unsigned)options.restart;
    info.dct_method = JDCT_ISLOW;
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(image.row((int)info.next_scanline));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    codec::Bytes file(buffer, buffer + size);
    jpeg_destroy_compress(&info);
    std::free(buffer);
    return file;
}

PeerReading ReadByPeer(const codec::Bytes& file)
{
    PeerReading reading;
    Errors errors;
    {
        jpeg_decompress_struct info;
        info.err = &errors.manager;
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, file.data(), file.size());
        jpeg_read_header(&info, TRUE);
        jvirt_barray_ptr* arrays = jpeg_read_coefficients(&info);
        for (int c = 0; c < info.num_components; ++c) {
            const jpeg_component_info& component = info.comp_info[c];
            codec::Coefficients block;
            block.blocksWide = (int)component.width_in_blocks;
            block.blocksHigh = (int)component.height_in_blocks;
            for (JDIMENSION y = 0; y < component.height_in_blocks; ++y) {
                JBLOCKARRAY row = info.mem->access_virt_barray((j_common_ptr)&info, arrays[c], y, 1, FALSE);
                for (JDIMENSION x = 0; x < component.width_in_blocks; ++x)
                    block.values.insert(block.values.end(), row[0][x], row[0][x] + DCTSIZE2);
            }
            reading.coefficients.push_back(std::move(block));
        }
        jpeg_finish_decompress(&info);
        jpeg_destroy_decompress(&info);
    }
    {
        jpeg_decompress_struct info;
        info.err = &errors.manager;
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, file.data(), file.size());
        jpeg_read_header(&info, TRUE);
        info.dct_method = JDCT_ISLOW;
        jpeg_start_decompress(&info);
        reading.image = codec::Image((int)info.output_width, (int)info.output_height, info.output_components);
        while (info.output_scanline < info.output_height) {
            JSAMPROW row = reading.image.row((int)info.output_scanline);
            jpeg_read_scanlines(&info, &row, 1);
        }
        jpeg_finish_decompress(&info);
        jpeg_destroy_decompress(&info);
    }
    reading.warnings = errors.manager.num_warnings;
    return reading;
}

}  // namespace uvek::test
