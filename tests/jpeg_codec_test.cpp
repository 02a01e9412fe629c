// The tool's codec against libjpeg, in both directions, and what it makes of broken files.
#include "codec/jpeg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "support/libjpeg_peer.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

using codec::Image;

class CodecTest : public TierTest {};

// Something like a photograph: slopes, edges and grain.
Image Scene(int width, int height, int channels)
{
    Image image(width, height, channels);
    std::mt19937 random(7);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                const double wave = 127 + 90 * std::sin(x * 0.11 * (c + 1)) * std::cos(y * 0.07) + ((x / 9 + y / 7) % 2 ? 25 : -25);
                image.row(y)[x * channels + c] = (uint8_t)std::clamp(wave + (int)(random() % 17) - 8, 0.0, 255.0);
            }
    return image;
}

int LargestDifference(const Bytes& a, const Bytes& b)
{
    if (a.size() != b.size())
        return 256;
    int largest = 0;
    for (size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(a[i] - b[i]));
    return largest;
}

// Between two decoders: a unit for each DCT, enlarged by the colour matrix, and one for its rounding.
constexpr int kDecoderTolerance = 4;

void ExpectReadsLikePeer(const Bytes& bytes)
{
    const JpegFile file = ParseJpeg(bytes);
    int warnings = 0;
    const Coefficients peer = ReadWithLibjpeg(file, &warnings);
    EXPECT_EQ(0, warnings);
    codec::DecodeOptions options;
    options.keepCoefficients = true;
    const codec::Decoded ours = codec::DecodeJpeg(bytes, options);
    EXPECT_EQ("", ours.warning);
    ASSERT_EQ(peer.size(), ours.coefficients.size());
    for (size_t c = 0; c < peer.size(); ++c)  // the blocks that hold samples; what only fills MCUs is nobody's business
        for (int y = 0; y < file.components[c].blocksDown; ++y) {
            const auto* expected = &peer[c][(size_t)(y * file.components[c].paddedAcross) * 64];
            const auto* found = &ours.coefficients[c].values[(size_t)(y * ours.coefficients[c].blocksWide) * 64];
            ASSERT_TRUE(std::equal(expected, expected + file.components[c].blocksAcross * 64, found)) << "component " << c << " row " << y;
        }
    if (ours.image.channels != 4) {  // the peer leaves the complement of the inks as it stands
        EXPECT_LE(LargestDifference(SamplesByLibjpeg(bytes), ours.image.samples), kDecoderTolerance);
    }
    EXPECT_EQ(ours.image.samples, codec::DecodeJpeg(bytes).image.samples);
}

Bytes EncodeByPeer(const Image& image, PeerOptions options)
{
    options.width = image.width;
    options.height = image.height;
    options.channels = image.channels;
    return CompressWithLibjpeg(options, image.samples);
}

const struct Extent { int width, height; } kExtents[] = {{1, 1}, {2, 3}, {7, 9}, {8, 8}, {16, 16}, {17, 33}, {100, 75}, {131, 61}};

TEST_P(CodecTest, ReadsWhatLibjpegWrites)
{
    constexpr struct { int h, v; } kSamplings[] = {{1, 1}, {2, 1}, {2, 2}, {1, 2}, {4, 1}};
    for (const Extent& extent : kExtents)
        for (int round = 0; round < 12; ++round) {
            PeerOptions options;
            options.h = kSamplings[round % 5].h;
            options.v = kSamplings[round % 5].v;
            options.progressive = round / 5 % 2;
            options.optimize = round % 2;
            options.restart = round % 3;
            options.quality = 1 + (round * 37 + extent.width) % 100;
            options.wideSteps = true;
            options.grey = round == 10;
            SCOPED_TRACE(testing::Message() << extent.width << "x" << extent.height << " round " << round);
            ExpectReadsLikePeer(EncodeByPeer(Scene(extent.width, extent.height, round == 11 ? 4 : 3), options));
        }
    for (int quality = 1; quality <= 100; ++quality) {
        PeerOptions options;
        options.quality = quality;
        options.wideSteps = quality % 2 == 0;
        SCOPED_TRACE(quality);
        ExpectReadsLikePeer(EncodeByPeer(Scene(64, 48, 3), options));
    }
}

TEST_P(CodecTest, LibjpegReadsWhatItWrites)
{
    int round = 0;
    for (const Extent& extent : kExtents)
        for (const int channels : {1, 3, 4})
            for (const codec::Sampling sampling : {codec::Sampling::S444, codec::Sampling::S422, codec::Sampling::S420})
                for (const bool optimize : {false, true}) {
                    codec::EncodeOptions options;
                    options.sampling = sampling;
                    options.optimize = optimize;
                    options.quality = 1 + round * 29 % 100;
                    options.restart = round % 4;
                    options.interleaved = round % 5 != 0;
                    options.progressive = round % 3 == 1;
                    if (round % 7 == 0)
                        options.colour = channels == 4 ? codec::Colour::CMYK : codec::Colour::RGB;
                    SCOPED_TRACE(testing::Message() << extent.width << "x" << extent.height << " channels " << channels << " round " << round);
                    ExpectReadsLikePeer(codec::EncodeJpeg(Scene(extent.width, extent.height, channels), options));
                    ++round;
                }
}

TEST_P(CodecTest, MakesTheBestOfACutFile)
{
    const Image image = Scene(100, 75, 3);
    for (const bool progressive : {false, true}) {
        PeerOptions options;
        options.progressive = progressive;
        const Bytes file = EncodeByPeer(image, options);
        const Image whole = codec::DecodeJpeg(file).image;
        Bytes half(file.begin(), file.begin() + (long)(file.size() * 3 / 4));
        const codec::Decoded decoded = codec::DecodeJpeg(half);
        EXPECT_NE("", decoded.warning);
        if (!progressive) {
            EXPECT_TRUE(std::equal(whole.row(0), whole.row(8), decoded.image.row(0)));
        }
    }
    EXPECT_THROW(codec::DecodeJpeg({}), codec::Error);
    EXPECT_THROW(codec::DecodeJpeg({0xff, 0xd8, 0xff, 0xd9}), codec::Error);
    EXPECT_THROW(codec::DecodeJpeg({'P', '6', '\n', '1'}), codec::Error);
}

TEST_P(CodecTest, StepsOverADamagedInterval)
{
    const Image image = Scene(160, 64, 3);
    codec::EncodeOptions options;
    options.restart = 10;  // a row of MCUs
    Bytes file = codec::EncodeJpeg(image, options);
    const Image whole = codec::DecodeJpeg(file).image;
    // The second interval loses most of its data.
    size_t at = 0;
    while (file[at] != 0xff || file[at + 1] != 0xd0)
        ++at;
    file.erase(file.begin() + (long)at + 20, file.begin() + (long)at + 620);
    const codec::Decoded decoded = codec::DecodeJpeg(file);
    EXPECT_NE("", decoded.warning);
    EXPECT_TRUE(std::equal(whole.row(0), whole.row(14), decoded.image.row(0)));
    EXPECT_TRUE(std::equal(whole.row(34), whole.row(63), decoded.image.row(34)));
}

TEST_P(CodecTest, SurvivesTenThousandCorruptions)
{
    std::mt19937 random(Seed());
    std::vector<Bytes> files;
    for (const bool progressive : {false, true}) {
        PeerOptions options;
        options.progressive = progressive;
        options.restart = progressive ? 0 : 2;
        files.push_back(EncodeByPeer(Scene(40, 24, 3), options));
    }
    int decoded = 0;
    for (int round = 0; round < 2500; ++round) {  // on each of four tiers
        Bytes file = files[(size_t)round % files.size()];
        const int changes = 1 + (int)(random() % 4);
        for (int i = 0; i < changes; ++i)
            file[random() % file.size()] = (uint8_t)random();
        if (round % 5 == 0)
            file.resize(random() % file.size());
        try {
            codec::DecodeJpeg(file);
            ++decoded;
        } catch (const codec::Error&) {
        }
    }
    EXPECT_GT(decoded, 500) << "seed " << Seed();
}

UVEK_ON_ALL_TIERS(CodecTest);

}  // namespace
}  // namespace uvek::test
