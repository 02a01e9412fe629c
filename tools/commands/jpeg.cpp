#include <cstdio>
#include <map>
#include <memory>

#include "codec/jpeg.h"
#include "commands/commands.h"
#include "commands/files.h"
#include "commands/progress.h"

namespace uvek::tool {
namespace {

struct Arguments {
    std::string in, out;
    codec::EncodeOptions encode;
};

int Decode(const Arguments& arguments)
{
    ProgressLine progress("decoding");
    codec::DecodeOptions options;
    options.progress = [&](double done) { progress(done); };
    const codec::Bytes file = codec::ReadFile(arguments.in);
    codec::Decoded decoded;
    try {
        decoded = codec::DecodeJpeg(file, options);
    } catch (const codec::Error& error) {
        throw codec::Error(arguments.in + ": " + error.what());
    }
    codec::WriteImage(arguments.out, decoded.image);
    if (decoded.warning.empty())
        return kDone;
    std::fprintf(stderr, "uvek: %s: %s\n", arguments.in.c_str(), decoded.warning.c_str());
    return kPartly;
}

int Encode(const Arguments& arguments)
{
    ProgressLine progress("encoding");
    codec::EncodeOptions options = arguments.encode;
    options.progress = [&](double done) { progress(done); };
    codec::WriteFile(arguments.out, codec::EncodeJpeg(codec::ReadImage(arguments.in), options));
    return kDone;
}

}  // namespace

void AddJpeg(CLI::App& app, int& exitStatus)
{
    auto arguments = std::make_shared<Arguments>();
    CLI::App* jpeg = app.add_subcommand("jpeg", "Decode and encode JPEG files");
    jpeg->require_subcommand(1);

    CLI::App* decode = jpeg->add_subcommand("decode", "JPEG to PNG, PPM or PGM, by the extension of OUT");
    decode->add_option("in", arguments->in, "JPEG file")->required();
    decode->add_option("out", arguments->out, "image file")->required();
    decode->callback([=, &exitStatus] { exitStatus = Decode(*arguments); });

    CLI::App* encode = jpeg->add_subcommand("encode", "PNG, PPM or PGM to JPEG");
    codec::EncodeOptions& options = arguments->encode;
    encode->add_option("in", arguments->in, "image file")->required();
    encode->add_option("out", arguments->out, "JPEG file")->required();
    encode->add_option("--quality", options.quality, "1 (smallest file) to 100")->check(CLI::Range(1, 100))->capture_default_str();
    encode->add_option("--sampling", options.sampling, "chroma sampling: 444, 422 or 420")
        ->transform(CLI::CheckedTransformer(std::map<std::string, codec::Sampling>{
            {"444", codec::Sampling::S444}, {"422", codec::Sampling::S422}, {"420", codec::Sampling::S420}}))
        ->default_str("420");
    encode->add_flag("--optimize", options.optimize, "Huffman tables made for this image");
    encode->add_flag("!--non-interleaved", options.interleaved, "a scan for each component");
    encode->add_option("--restart", options.restart, "MCUs (rows, without loss) between restart markers, 0 for none")->check(CLI::Range(0, 65535));
    CLI::Option* progressive = encode->add_flag("--progressive", options.progressive, "first the outline, then the detail");
    CLI::Option* lossless = encode->add_flag("--lossless", options.lossless, "every sample as it is: grey of 8 to 16 bits, RGB of 8");
    lossless->excludes(progressive);
    encode->add_option("--predictor", options.predictor, "of lossless files, 1 to 7")->check(CLI::Range(1, 7))->needs(lossless);
    encode->add_option("--point-transform", options.pointTransform, "low bits that lossless files leave out")->check(CLI::Range(0, 15))->needs(lossless);
    encode->callback([=, &exitStatus] { exitStatus = Encode(*arguments); });
}

}  // namespace uvek::tool
