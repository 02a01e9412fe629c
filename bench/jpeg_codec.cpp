// Whole files: the tool's codec beside libjpeg-turbo, on the photograph of the examples.
#include "codec/jpeg.h"
#include "support.h"

#ifdef UVEK_HAVE_TURBOJPEG
#include <turbojpeg.h>
#endif

namespace uvek::bench {
namespace {

using codec::Bytes;
using codec::Image;

#ifdef UVEK_HAVE_TURBOJPEG
Bytes CompressByPeer(const Image& image, int flags)
{
    static tjhandle handle = tjInitCompress();
    static Bytes buffer(tjBufSize(image.width, image.height, TJSAMP_444));
    unsigned char* to = buffer.data();
    unsigned long size = buffer.size();
    tjCompress2(handle, image.samples.data(), image.width, image.step(), image.height, TJPF_RGB, &to, &size, TJSAMP_420, 75, flags | TJFLAG_NOREALLOC);
    return Bytes(buffer.begin(), buffer.begin() + (long)size);
}

void DecompressByPeer(const Bytes& file, Image& image)
{
    static tjhandle handle = tjInitDecompress();
    tjDecompress2(handle, file.data(), file.size(), image.samples.data(), image.width, image.step(), image.height, TJPF_RGB, TJFLAG_ACCURATEDCT);
}
#endif

void RegisterAll()
{
    const Bytes photograph = codec::ReadFile(UVEK_PHOTOGRAPH);
    const Image image = codec::DecodeJpeg(photograph).image;
    const std::string size = std::to_string(image.width) + "x" + std::to_string(image.height);
    const auto bytes = (int64_t)image.samples.size();

    RegisterTiers("jpeg_decode", size, bytes, [=] { benchmark::DoNotOptimize(codec::DecodeJpeg(photograph)); });
    RegisterTiers("jpeg_encode", size, bytes, [=] { benchmark::DoNotOptimize(codec::EncodeJpeg(image)); });
#ifdef UVEK_HAVE_TURBOJPEG
    Register("jpeg_decode", "libjpeg-turbo", -1, size, bytes, [=] {
        Image out(image.width, image.height, 3);
        DecompressByPeer(photograph, out);
        benchmark::DoNotOptimize(out);
    });
    Register("jpeg_encode", "libjpeg-turbo", -1, size, bytes, [=] { benchmark::DoNotOptimize(CompressByPeer(image, TJFLAG_ACCURATEDCT)); });
    const Bytes progressive = CompressByPeer(image, TJFLAG_ACCURATEDCT | TJFLAG_PROGRESSIVE);
    RegisterTiers("jpeg_decode_progressive", size, bytes, [=] { benchmark::DoNotOptimize(codec::DecodeJpeg(progressive)); });
    Register("jpeg_decode_progressive", "libjpeg-turbo", -1, size, bytes, [=] {
        Image out(image.width, image.height, 3);
        DecompressByPeer(progressive, out);
        benchmark::DoNotOptimize(out);
    });
#endif
}

const bool registered = (RegisterAll(), true);

}  // namespace
}  // namespace uvek::bench
