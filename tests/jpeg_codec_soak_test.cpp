// The tool's codec over many generated images: what comes back is the image within the quantisation's own
// error, or exactly, and nothing stays in memory.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <tuple>

#include "codec/jpeg.h"
#include "support/random.h"
#include "support/tiers.h"

// Every block of the codec comes from here: it allocates by containers alone.
static std::atomic<int64_t> liveBlocks, liveBytes;

void* operator new(size_t size)
{
    void* const block = std::malloc(size ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++liveBlocks;
    liveBytes += (int64_t)malloc_usable_size(block);
    return block;
}

static void Release(void* block)
{
    liveBlocks -= block != nullptr;
    liveBytes -= (int64_t)malloc_usable_size(block);
    std::free(block);
}

void operator delete(void* block) noexcept { Release(block); }

void operator delete(void* block, size_t) noexcept { Release(block); }

namespace uvek::test {
namespace {

using codec::Image;

struct Case {
    Image image;
    codec::EncodeOptions options;
    bool smooth = false;
};

int Below(std::mt19937& random, int limit) { return (int)(random() % (unsigned)limit); }

// Slopes and noise that all colours share, so that chroma is the same everywhere and loses nothing when it
// is subsampled; far enough from both ends that nothing is clamped at usual qualities.
void Paint(Image& image, std::mt19937& random, int noise)
{
    int base[4], slope[2] = {Below(random, 5) - 2, Below(random, 5) - 2};
    for (int& b : base)
        b = 90 + Below(random, 70);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const int ramp = std::abs((x * slope[0] + y * slope[1] + 4096) % 128 - 64) - 32, grain = noise ? Below(random, noise) - noise / 2 : 0;
            for (int c = 0; c < image.channels; ++c)
                image.row(y)[x * image.channels + c] = (uint8_t)(base[c] + ramp + grain);
        }
}

Case MakeCase(std::mt19937& random)
{
    constexpr int kChannels[] = {1, 3, 3, 4};
    const int reach = Below(random, 60) == 0 ? 500 : 64;
    Case c;
    codec::EncodeOptions& o = c.options;
    o.lossless = Below(random, 4) == 0;
    o.restart = Below(random, 3) == 0 ? 1 + Below(random, 9) : 0;
    c.image = Image(1 + Below(random, reach), 1 + Below(random, reach), o.lossless ? kChannels[Below(random, 2)] : kChannels[Below(random, 4)]);
    if (o.lossless) {
        o.predictor = 1 + Below(random, 7);
        c.image.precision = c.image.channels == 1 ? 2 + Below(random, 15) : 2 + Below(random, 7);
        o.pointTransform = Below(random, std::min(3, c.image.precision));
        for (uint8_t& sample : c.image.samples) {
            const unsigned value = random() & ((1u << c.image.precision) - 1);
            sample = (uint8_t)value;
            if (c.image.precision > 8)
                c.image.wide.push_back((uint16_t)value);
        }
        if (c.image.precision > 8)
            c.image.samples.clear();
        return c;
    }
    o.quality = 1 + Below(random, 100);
    o.sampling = (codec::Sampling)Below(random, 3);
    o.colour = c.image.channels == 3 ? (Below(random, 5) ? codec::Colour::YCbCr : codec::Colour::RGB) : Below(random, 2) ? codec::Colour::YCCK : codec::Colour::CMYK;
    o.progressive = Below(random, 3) == 0;
    o.optimize = Below(random, 2);
    o.interleaved = Below(random, 4) != 0;
    c.smooth = Below(random, 2);
    Paint(c.image, random, c.smooth ? 0 : 1 + Below(random, 40));
    return c;
}

// The steps of all quantisation tables in a file: the sum of their squares, of the coarsest.
double CoarsestTable(const codec::Bytes& file)
{
    double coarsest = 0;
    for (size_t at = 2; at + 4 < file.size() && file[at] == 0xff && file[at + 1] != 0xda;) {
        const size_t end = at + 2 + ((size_t)file[at + 2] << 8 | file[at + 3]);
        for (size_t table = at + 4; file[at + 1] == 0xdb && table + 65 <= end; table += 65) {
            double sum = 0;
            for (size_t i = 1; i <= 64; ++i)
                sum += (double)file[table + i] * file[table + i];
            coarsest = std::max(coarsest, sum);
        }
        at = end;
    }
    return coarsest;
}

// The transform is orthonormal and no coefficient is off by more than half its step, so that each block's squares add up to
// CoarsestTable / 4; a subsampled block spreads over four. The inverse colour matrix stretches by less than the
// root of 5, and rounding in all stages adds less than 3 to a sample.
double LargestError(const Case& c, const codec::Bytes& file)
{
    const double blocks = std::ceil((c.image.width + 15) / 16) * 4 * std::ceil((c.image.height + 15) / 16) * c.image.channels;
    return std::sqrt(5 * 4 * blocks * CoarsestTable(file) / 4) + 3 * std::sqrt((double)c.image.samples.size());
}

void Check(const Case& c, int number)
{
    const codec::Bytes file = codec::EncodeJpeg(c.image, c.options);
    const codec::Decoded decoded = codec::DecodeJpeg(file);
    const Image& got = decoded.image;
    SCOPED_TRACE(testing::Message() << "image " << number << ", " << c.image.width << " by " << c.image.height << ", " << c.image.channels << " channels, quality "
                                    << c.options.quality << ", seed " << Seed());
    ASSERT_EQ("", decoded.warning);
    ASSERT_EQ(std::make_tuple(c.image.width, c.image.height, c.image.channels), std::make_tuple(got.width, got.height, got.channels));
    ASSERT_EQ(c.image.samples.size(), got.samples.size());
    if (c.options.lossless) {
        Image expected = c.image;
        const unsigned kept = ~((1u << c.options.pointTransform) - 1);
        for (uint8_t& sample : expected.samples)
            sample &= (uint8_t)kept;
        for (uint16_t& sample : expected.wide)
            sample &= (uint16_t)kept;
        ASSERT_EQ(expected.precision, got.precision);
        ASSERT_EQ(expected.samples, got.samples);
        ASSERT_EQ(expected.wide, got.wide);
        return;
    }
    double squares = 0;
    for (size_t i = 0; i < got.samples.size(); ++i)
        squares += std::pow((double)got.samples[i] - c.image.samples[i], 2);
    ASSERT_LE(std::sqrt(squares), LargestError(c, file));
    if (c.smooth && c.options.quality >= 60) {
        EXPECT_LE(squares, 6.0 * 6.0 * (double)got.samples.size()) << "a smooth picture";
    }
}

// What the process holds once the allocator has given back all that is free.
int64_t ResidentBytes()
{
    malloc_trim(0);
    int64_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

// UVEK_SOAK_IMAGES: how many; scripts/test has 10000.
TEST(JpegCodecSoakTest, ImagesComeBackAndMemoryStaysAsItWas)
{
    const char* const asked = std::getenv("UVEK_SOAK_IMAGES");
    const int images = asked ? std::atoi(asked) : 300;
    std::mt19937 random(Seed());
    int64_t blocks = 0, bytes = 0, resident = 0;
    for (int i = 0; i < images && !HasFatalFailure(); ++i) {
        if (i == images / 4) {  // with every table of the runtime filled
            blocks = liveBlocks;
            bytes = liveBytes;
            resident = ResidentBytes();
        }
        const ScopedTier tier(i % kTierCount);
        Check(MakeCase(random), i);
    }
    EXPECT_EQ(blocks, liveBlocks);
    EXPECT_EQ(bytes, liveBytes);
    const int64_t end = ResidentBytes();
#ifndef UVEK_ALLOCATOR_KEEPS_FREED  // as a sanitizer's does, for a while
    EXPECT_LE(end, resident + (4 << 20)) << "bytes resident";
#endif
    std::printf("%d images, %jd bytes resident at a quarter of them, %jd at the end\n", images, (intmax_t)resident, (intmax_t)end);
}

}  // namespace
}  // namespace uvek::test
