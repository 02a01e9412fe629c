// The decision to pass by the cache, on made-up processors, and the kernel that does it, on this one.
#include <cstring>

#include "support/random.h"
#include "uvek/image.h"

#define DECLARE_TIER(code)                                                                                       \
    namespace uvek::code {                                                                                       \
    Vek32s LargestDescribedCache(const Vek32u leaf0[4], const Vek32u leaf2[4]);                                  \
    bool CopyStreams(int64_t bytes, Vek32s largestCache);                                                        \
    bool FillStreams(int64_t bytes, Vek32s largestCache);                                                        \
    void StreamRegion(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, int64_t rowBytes, int64_t height); \
    }
DECLARE_TIER(mx)
DECLARE_TIER(m7)
DECLARE_TIER(u8)
DECLARE_TIER(y8)

#include <gtest/gtest.h>

namespace uvek::test {
namespace {

struct Leaves {
    Vek32u leaf0[4] = {2, 0, 0, 0};
    Vek32u leaf2[4] = {1, 0, 0, 0};

    explicit Leaves(const char* vendor = UVEK_REFERENCE_VENDOR)
    {
        std::memcpy(&leaf0[1], vendor, 4);
        std::memcpy(&leaf0[3], vendor + 4, 4);
        std::memcpy(&leaf0[2], vendor + 8, 4);
    }
    Leaves& Say(int reg, Vek32u value) { leaf2[reg] = value; return *this; }
};

TEST(ImageStreamingTest, LargestDescriptorWinsAndOtherAnswersLeaveTheCacheUnknown)
{
    Leaves old = Leaves().Say(1, 77);
    old.leaf0[0] = 1;
    const struct { Vek32s size; Leaves leaves; } cases[] = {
        {524288, Leaves().Say(0, 0x43000001)},       // in EAX's top byte
        {6291456, Leaves().Say(1, 0x434e2c57).Say(3, 0x00007dff)},
        {16777216, Leaves().Say(1, 78).Say(3, 77 << 16)},
        {2097152, Leaves().Say(2, 0x0000007d).Say(1, 0x80004d4du)},  // a register with bit 31 says nothing
        {3145728, Leaves().Say(0, 0x00004801)},
        {0, Leaves("AnotherBrand").Say(1, 77)},
        {0, Leaves().Say(0, 0x4d4d4d02)},            // a repeat count other than 1
        {0, Leaves().Say(1, 61).Say(2, 122)},        // caches below 512 KiB
        {0, Leaves()},
        {0, Leaves().Say(0, 0x80000001u)},
        {0, old},
        // Without EAX's bytes the first register that speaks stands at the front, where its low byte is passed over.
        {0, Leaves().Say(0, 0x80000001u).Say(1, 77)},
        {16777216, Leaves().Say(0, 0x80000001u).Say(1, 77 << 8)},
    };
    for (const auto& c : cases)
        for (const auto ask : {mx::LargestDescribedCache, m7::LargestDescribedCache, u8::LargestDescribedCache, y8::LargestDescribedCache})
            EXPECT_EQ(c.size, ask(c.leaves.leaf0, c.leaves.leaf2)) << std::hex << c.leaves.leaf2[0] << ' ' << c.leaves.leaf2[1];
}

TEST(ImageStreamingTest, CopiesPassHalfTheCacheAndFillsTheWhole)
{
    const auto check = [](auto streams, int64_t limit) {
        EXPECT_TRUE(streams(limit, 6000000));
        EXPECT_FALSE(streams(limit - 1, 6000000));
        EXPECT_FALSE(streams(1 << 30, 0));
        EXPECT_TRUE(streams(int64_t(1) << 33, 16777216));
    };
    for (const auto streams : {m7::CopyStreams, u8::CopyStreams, y8::CopyStreams})
        check(streams, 3000000);
    for (const auto streams : {m7::FillStreams, u8::FillStreams, y8::FillStreams})
        check(streams, 6000000);
}

TEST(ImageStreamingTest, StreamedRowsArriveWhole)
{
    std::mt19937 random(Seed());
    const auto visit = [&](const Shape& shape) {
        for (const auto stream : {mx::StreamRegion, m7::StreamRegion, u8::StreamRegion, y8::StreamRegion}) {
            const auto src = Noise<Vek8u>(shape, random);
            Shape other = shape;
            other.offset = (shape.offset * 3 + 5) % 16;
            GuardedImage<Vek8u> dst(other), expected(other);
            for (Vek32s y = 0; y < shape.height; ++y)
                std::memcpy(expected.data() + y * expected.step(), src.data() + y * src.step(), (size_t)shape.width);
            stream(src.data(), src.step(), dst.data(), dst.step(), shape.width, shape.height);
            ASSERT_TRUE(expected == dst) << dst << " seed " << Seed();
        }
    };
    ForEachShape(visit);
    for (const Vek32s width : {262144, 262144 + 63, 3 * 262144 + 100})  // whole chunks and what is left of them
        visit({width, 2, 7, false, Flush::End, 3});
}

}  // namespace
}  // namespace uvek::test
