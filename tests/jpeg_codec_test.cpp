// The tool's codec against libjpeg, in both directions, and what it makes of broken files.
#include "codec/jpeg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "peers/libjpeg.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

using codec::Bytes;
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

// The blocks that hold samples of the image; what only fills MCUs is nobody's business.
void ExpectSameCoefficients(const std::vector<codec::Coefficients>& peer, const std::vector<codec::Coefficients>& ours)
{
    ASSERT_EQ(peer.size(), ours.size());
    for (size_t c = 0; c < peer.size(); ++c)
        for (int y = 0; y < peer[c].blocksHigh; ++y)
            for (int x = 0; x < peer[c].blocksWide; ++x) {
                const auto* expected = &peer[c].values[((size_t)y * (size_t)peer[c].blocksWide + (size_t)x) * 64];
                const auto* found = &ours[c].values[((size_t)y * (size_t)ours[c].blocksWide + (size_t)x) * 64];
                ASSERT_TRUE(std::equal(expected, expected + 64, found)) << "component " << c << " block " << x << ", " << y;
            }
}

int LargestDifference(const Image& a, const Image& b)
{
    if (a.samples.size() != b.samples.size())
        return 256;
    int largest = 0;
    for (size_t i = 0; i < a.samples.size(); ++i)
        largest = std::max(largest, std::abs(a.samples[i] - b.samples[i]));
    return largest;
}

// Between two decoders: a unit for each DCT, enlarged by the colour matrix, and one for its rounding.
constexpr int kDecoderTolerance = 4;

void ExpectReadsLikePeer(const Bytes& file)
{
    const PeerReading peer = ReadByPeer(file);
    codec::DecodeOptions options;
    options.keepCoefficients = true;
    const codec::Decoded ours = codec::DecodeJpeg(file, options);
    EXPECT_EQ("", ours.warning);
    ExpectSameCoefficients(peer.coefficients, ours.coefficients);
    if (peer.image.channels != 4) {  // the peer leaves the complement of the inks as it stands
        EXPECT_LE(LargestDifference(peer.image, ours.image), kDecoderTolerance);
    }
    EXPECT_EQ(ours.image.samples, codec::DecodeJpeg(file).image.samples);
}

const struct Extent { int width, height; } kExtents[] = {{1, 1}, {2, 3}, {7, 9}, {8, 8}, {16, 16}, {17, 33}, {100, 75}, {131, 61}};

TEST_P(CodecTest, ReadsWhatLibjpegWrites)
{
    for (const Extent& extent : kExtents) {
        const Image rgb = Scene(extent.width, extent.height, 3);
        const struct { int h, v; } samplings[] = {{1, 1}, {2, 1}, {2, 2}, {1, 2}, {4, 1}};
        int round = 0;
        for (const auto& sampling : samplings)
            for (const bool progressive : {false, true}) {
                PeerOptions options;
                options.h = sampling.h;
                options.v = sampling.v;
                options.progressive = progressive;
                options.optimize = round % 2;
                options.restart = round % 3 == 0 ? 0 : round % 3;
                options.quality = 1 + (round * 37 + extent.width) % 100;
                SCOPED_TRACE(testing::Message() << extent.width << "x" << extent.height << " round " << round);
                ExpectReadsLikePeer(EncodeByPeer(rgb, options));
                ++round;
            }
        PeerOptions options;
        options.grey = true;
        ExpectReadsLikePeer(EncodeByPeer(rgb, options));
        ExpectReadsLikePeer(EncodeByPeer(Scene(extent.width, extent.height, 4), PeerOptions()));
    }
}

TEST_P(CodecTest, ReadsEveryQuality)
{
    const Image image = Scene(64, 48, 3);
    for (int quality = 1; quality <= 100; ++quality) {
        PeerOptions options;
        options.quality = quality;
        options.baselineTables = quality % 2;
        SCOPED_TRACE(quality);
        ExpectReadsLikePeer(EncodeByPeer(image, options));
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
                    const Bytes file = codec::EncodeJpeg(Scene(extent.width, extent.height, channels), options);
                    EXPECT_EQ(0, ReadByPeer(file).warnings);
                    ExpectReadsLikePeer(file);
                    ++round;
                }
}

TEST_P(CodecTest, KeepsThePictureAtHighQuality)
{
    for (const int channels : {1, 3, 4}) {
        const Image image = Scene(100, 75, channels);
        codec::EncodeOptions options;
        options.quality = 100;
        options.sampling = codec::Sampling::S444;
        // A step of 1 loses at most half in each coefficient.
        EXPECT_LE(LargestDifference(image, codec::DecodeJpeg(codec::EncodeJpeg(image, options)).image), 8) << channels;
    }
}

// Grey of any precision, with samples over the whole range, or RGB.
Image LosslessScene(int width, int height, int channels, int precision, int pointTransform, std::mt19937& random)
{
    Image image = Scene(width, height, channels);
    image.precision = precision;
    const auto place = [&](int sample) { return ((sample << precision >> 8) + (int)(random() % 5)) % (1 << precision) >> pointTransform << pointTransform; };
    if (precision > 8)
        for (const uint8_t sample : image.samples)
            image.wide.push_back((uint16_t)place(sample));
    for (uint8_t& sample : image.samples)
        sample = (uint8_t)place(sample);
    if (precision > 8)
        image.samples.clear();
    return image;
}

TEST_P(CodecTest, LosslessFilesComeBackSampleForSample)
{
    std::mt19937 random(Seed());
    for (int precision = 2; precision <= 16; ++precision)
        for (int predictor = 1; predictor <= 7; ++predictor) {
            const int channels = precision <= 8 && predictor % 2 ? 3 : 1;
            codec::EncodeOptions options;
            options.lossless = true;
            options.predictor = predictor;
            options.pointTransform = predictor == 4 ? precision / 3 : 0;
            options.restart = predictor % 3;
            const Image image = LosslessScene(1 + (int)(random() % 40), 1 + (int)(random() % 20), channels, precision, options.pointTransform, random);
            const codec::Decoded decoded = codec::DecodeJpeg(codec::EncodeJpeg(image, options));
            SCOPED_TRACE(testing::Message() << "precision " << precision << " predictor " << predictor << " seed " << Seed());
            EXPECT_EQ("", decoded.warning);
            EXPECT_EQ(image.samples, decoded.image.samples);
            EXPECT_EQ(image.wide, decoded.image.wide);
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
