#include "commands/files.h"

#include <cstdio>

#include "codec/jpeg.h"
#include "uvek/uvek.h"

namespace uvek::tool {
namespace {

constexpr int kOutputQuality = 92;

bool HasJpegExtension(const std::string& path)
{
    const size_t dot = path.find_last_of('.');
    const std::string extension = dot == std::string::npos ? "" : path.substr(dot);
    return extension == ".jpg" || extension == ".jpeg" || extension == ".JPG" || extension == ".JPEG";
}

codec::Image To8Bits(codec::Image image)
{
    if (image.precision <= 8)
        return image;
    codec::Image narrow(image.width, image.height, image.channels);
    for (size_t i = 0; i < narrow.samples.size(); ++i)
        narrow.samples[i] = (uint8_t)(image.wide[i] >> (image.precision - 8));
    return narrow;
}

}  // namespace

codec::Image ReadPicture(const std::string& path, int& exitStatus)
{
    const codec::Bytes bytes = codec::ReadFile(path);
    if (bytes.size() < 2 || bytes[0] != 0xff || bytes[1] != 0xd8)
        return codec::ReadImage(path);
    try {
        codec::Decoded decoded = codec::DecodeJpeg(bytes);
        if (!decoded.warning.empty()) {
            std::fprintf(stderr, "uvek: %s: %s\n", path.c_str(), decoded.warning.c_str());
            exitStatus = kPartly;
        }
        return std::move(decoded.image);
    } catch (const codec::Error& error) {
        throw codec::Error(path + ": " + error.what());
    }
}

codec::Image ReadRgb(const std::string& path, int& exitStatus)
{
    codec::Image image = codec::ToDisplay(To8Bits(ReadPicture(path, exitStatus)));
    if (image.channels == 3)
        return image;
    codec::Image rgb(image.width, image.height, 3);
    Check(vekiDup_8u_C1C3R(image.samples.data(), image.step(), rgb.samples.data(), rgb.step(), {image.width, image.height}), "copy");
    return rgb;
}

codec::Image ReadGrey(const std::string& path, int& exitStatus)
{
    codec::Image image = codec::ToDisplay(To8Bits(ReadPicture(path, exitStatus)));
    if (image.channels == 1)
        return image;
    codec::Image grey(image.width, image.height, 1);
    Check(vekiRGBToGray_8u_C3C1R(image.samples.data(), image.step(), grey.samples.data(), grey.step(), {image.width, image.height}), "conversion to grey");
    return grey;
}

void WritePicture(const std::string& path, const codec::Image& image)
{
    if (!HasJpegExtension(path))
        return codec::WriteImage(path, image);
    codec::EncodeOptions options;
    options.quality = kOutputQuality;
    codec::WriteFile(path, codec::EncodeJpeg(image, options));
}

void Check(int status, const char* what)
{
    if (status < 0)
        throw codec::Error(std::string(what) + " failed with status " + std::to_string(status));
}

}  // namespace uvek::tool
