// Entropy decoding and encoding of a photograph's coefficients, beside libjpeg's coefficient interface.
#include "support.h"

#ifdef UVEK_HAVE_LIBJPEG
#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "../tests/support/libjpeg_peer.h"

namespace uvek::bench {
namespace {

using namespace uvek::test;

// The tree's photograph where there is one, else a picture of waves and noise.
Bytes Photograph()
{
    namespace fs = std::filesystem;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(fs::path(__FILE__).parent_path().parent_path() / "examples" / "data", none))
        if (entry.path().extension() == ".jpg") {
            std::ifstream in(entry.path(), std::ios::binary);
            return Bytes(std::istreambuf_iterator<char>(in), {});
        }
    PeerOptions options;
    options.width = 1024;
    options.height = 768;
    options.quality = 95;
    options.detail = 60;
    return CompressWithLibjpeg(options);
}

Bytes Recompress(const Bytes& bytes, int quality, bool progressive)
{
    jpeg_decompress_struct d;
    jpeg_compress_struct c;
    jpeg_error_mgr errors;
    d.err = c.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    jpeg_create_compress(&c);
    jpeg_mem_src(&d, bytes.data(), (unsigned long)bytes.size());
    jpeg_read_header(&d, TRUE);
    jpeg_start_decompress(&d);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &data, &size);
    c.image_width = d.output_width;
    c.image_height = d.output_height;
    c.input_components = d.output_components;
    c.in_color_space = d.out_color_space;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, quality, TRUE);
    if (progressive)
        jpeg_simple_progression(&c);
    jpeg_start_compress(&c, TRUE);
    Bytes row((size_t)d.output_width * d.output_components);
    JSAMPROW rows = row.data();
    while (d.output_scanline < d.output_height) {
        jpeg_read_scanlines(&d, &rows, 1);
        jpeg_write_scanlines(&c, &rows, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_finish_decompress(&d);
    jpeg_destroy_compress(&c);
    jpeg_destroy_decompress(&d);
    Bytes result(data, data + size);
    free(data);
    return result;
}

struct Sample {
    JpegFile file;
    Coefficients coefficients;
    std::vector<Bytes> scans;
};

void WriteWithLibjpeg(const Bytes& bytes, int repeats)
{
    jpeg_decompress_struct d;
    jpeg_error_mgr errors;
    d.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, bytes.data(), (unsigned long)bytes.size());
    jpeg_read_header(&d, TRUE);
    jvirt_barray_ptr* const arrays = jpeg_read_coefficients(&d);
    std::vector<unsigned char> buffer(bytes.size() * 2);
    for (int i = 0; i < repeats; ++i) {
        jpeg_compress_struct c;
        c.err = d.err;
        jpeg_create_compress(&c);
        unsigned char* data = buffer.data();
        unsigned long size = buffer.size();
        jpeg_mem_dest(&c, &data, &size);
        jpeg_copy_critical_parameters(&d, &c);
        jpeg_write_coefficients(&c, arrays);
        jpeg_finish_compress(&c);
        jpeg_destroy_compress(&c);
    }
    jpeg_destroy_decompress(&d);
}

void DecodeAll(Sample& s)
{
    for (auto& blocks : s.coefficients)
        if (s.file.progressive)
            std::fill(blocks.begin(), blocks.end(), (Vek16s)0);
    for (const JpegScan& scan : s.file.scans)
        if (ScanDecoder(s.file, scan).Decode(s.file.bytes.data() + scan.begin, (Vek32s)(s.file.bytes.size() - scan.begin), s.coefficients) < 0)
            std::abort();
}

void EncodeAll(Sample& s)
{
    for (size_t i = 0; i < s.scans.size(); ++i) {
        s.scans[i].resize(2 * s.file.bytes.size());
        if (ScanEncoder(s.file, s.file.scans[i]).Encode(s.coefficients, s.scans[i]) < 0)
            std::abort();
    }
}

void ReadOnly(const Bytes& bytes)
{
    jpeg_decompress_struct d;
    jpeg_error_mgr errors;
    d.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, bytes.data(), (unsigned long)bytes.size());
    jpeg_read_header(&d, TRUE);
    jpeg_read_coefficients(&d);
    jpeg_destroy_decompress(&d);
}

void RegisterFile(const Bytes& photograph, int quality, bool progressive)
{
    auto sample = std::make_shared<Sample>();
    sample->file = ParseJpeg(Recompress(photograph, quality, progressive));
    sample->coefficients = EmptyCoefficients(sample->file);
    sample->scans.resize(sample->file.scans.size());
    DecodeAll(*sample);
    if (sample->coefficients != ReadWithLibjpeg(sample->file))
        std::abort();
    const int64_t bytes = (int64_t)sample->file.bytes.size();
    const std::string name = (progressive ? "progressive_quality" : "baseline_quality") + std::to_string(quality);
    RegisterTiers("jpeg_decode_huffman", name, bytes, [=] { DecodeAll(*sample); });
    Register("jpeg_decode_huffman", "libjpeg", -1, name, bytes, [=] { ReadOnly(sample->file.bytes); });
    RegisterTiers("jpeg_encode_huffman", name, bytes, [=] { EncodeAll(*sample); });
    // Ten files from one set of arrays, as reading them is part of the call. Of progressive files libjpeg
    // makes the tables as well, which is another job.
    if (!progressive)
        Register("jpeg_encode_huffman_x10_with_read", "libjpeg", -1, name, 10 * bytes, [=] { WriteWithLibjpeg(sample->file.bytes, 10); });
}

bool RegisterAll()
{
    // Pages that go back to the system at each free would count against the peer.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    const Bytes photograph = Photograph();
    for (const int quality : {50, 75, 90, 100})
        RegisterFile(photograph, quality, false);
    for (const int quality : {75, 90})
        RegisterFile(photograph, quality, true);

    constexpr Vek32s kWidth = 4096;
    for (int predictor = 1; predictor <= 7; ++predictor) {
        auto rows = std::make_shared<std::vector<Vek16s>>(3 * kWidth);
        for (size_t i = 0; i < rows->size(); ++i)
            (*rows)[i] = (Vek16s)(i * i / 77);
        const std::string name = "predictor" + std::to_string(predictor);
        RegisterTiers("jpeg_lossless_difference", name, kWidth * 2, [=] {
            vekiDiffPredRow_JPEG_16s_C1(rows->data(), rows->data() + kWidth, rows->data() + 2 * kWidth, kWidth, predictor);
        });
        RegisterTiers("jpeg_lossless_reconstruct", name, kWidth * 2, [=] {
            vekiReconstructPredRow_JPEG_16s_C1(rows->data(), rows->data() + kWidth, rows->data() + 2 * kWidth, kWidth, predictor);
        });
    }
    return true;
}

const bool kRegistered = RegisterAll();

}  // namespace
}  // namespace uvek::bench
#endif
