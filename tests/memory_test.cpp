#include "uvek/memory.h"

#include <gmock/gmock.h>

#include <cstring>

#include "support/allocator.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class MemoryTest : public TierTest {};

TEST_P(MemoryTest, BlocksAreAlignedAndInterchangeable)
{
    ScopedAllocator allocator;
    void (*const releasers[])(void*) = {vekFree, veksFree, vekiFree};
    for (Vek32s bytes = 1; bytes < 300; ++bytes) {
        void* const blocks[] = {vekMalloc(bytes), veksMalloc_8u(bytes), veksMalloc_16s(bytes), veksMalloc_32f(bytes)};
        const size_t sizes[] = {1, 1, 2, 4};
        for (int i = 0; i < 4; ++i) {
            ASSERT_NE(nullptr, blocks[i]);
            EXPECT_EQ(0u, (uintptr_t)blocks[i] % 32);
            std::memset(blocks[i], 0xff, (size_t)bytes * sizes[i]);
            releasers[(bytes + i) % 3](blocks[i]);
        }
    }
    EXPECT_EQ(0, allocator.live());
}

TEST_P(MemoryTest, BadLengthsGiveNull)
{
    for (const Vek32s length : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(nullptr, vekMalloc(length));
        EXPECT_EQ(nullptr, veksMalloc_8u(length));
        EXPECT_EQ(nullptr, veksMalloc_16s(length));
        EXPECT_EQ(nullptr, veksMalloc_32f(length));
    }
    vekFree(nullptr);
    veksFree(nullptr);
    vekiFree(nullptr);
}

TEST_P(MemoryTest, ImageStepsAreMultiplesOf32)
{
    struct { void* (*allocate)(Vek32s, Vek32s, Vek32s*); int pixelBytes; } const kinds[] = {
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_8u_C1(w, h, s); }, 1},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_8u_C3(w, h, s); }, 3},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_8u_C4(w, h, s); }, 4},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_16s_C1(w, h, s); }, 2},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_16s_C3(w, h, s); }, 6},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_16u_C1(w, h, s); }, 2},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_16u_C3(w, h, s); }, 6},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_32f_C1(w, h, s); }, 4},
        {[](Vek32s w, Vek32s h, Vek32s* s) -> void* { return vekiMalloc_32s_C1(w, h, s); }, 4},
    };
    for (const auto& kind : kinds) {
        for (Vek32s width = 1; width < 70; ++width) {
            Vek32s step = -1;
            void* const image = kind.allocate(width, 3, &step);
            ASSERT_NE(nullptr, image);
            EXPECT_EQ(0u, (uintptr_t)image % 32);
            EXPECT_EQ(0, step % 32);
            EXPECT_GE(step, width * kind.pixelBytes);
            EXPECT_LT(step, width * kind.pixelBytes + 32);
            std::memset(image, 0xff, (size_t)step * 3);
            vekiFree(image);
        }
        Vek32s step = -1;
        EXPECT_EQ(nullptr, kind.allocate(0, 5, &step));
        EXPECT_EQ(0, step);
        step = -1;
        EXPECT_EQ(nullptr, kind.allocate(5, 0, &step));
        EXPECT_EQ(0, step);
        EXPECT_EQ(nullptr, kind.allocate(5, 5, nullptr));
        // A total that is negative as a signed 32-bit number fails, with the step already stored.
        EXPECT_EQ(nullptr, kind.allocate(1 << 20, (1 << 11) / kind.pixelBytes + 1, &step));
        EXPECT_EQ((1 << 20) * kind.pixelBytes, step);
    }
}

TEST_P(MemoryTest, ShortMemoryGivesNullAfterTheStep)
{
    ScopedAllocator allocator(0);
    Vek32s step = -1;
    EXPECT_EQ(nullptr, vekiMalloc_8u_C3(11, 1, &step));
    EXPECT_EQ(64, step);
    EXPECT_EQ(0, allocator.live());
}

TEST_P(MemoryTest, VersionNamesTheTier)
{
    const char* const codes[] = {"mx", "m7", "u8", "y8"};
    const char* const names[] = {"vekjmxl.lib", "vekjm7l.lib", "vekju8l.lib", "vekjy8l.lib"};
    const VekLibVersion* const version = vekjGetLibVersion();
    EXPECT_THAT(version->tierCode, testing::ElementsAre(codes[GetParam()][0], codes[GetParam()][1], 0, 0));
    EXPECT_STREQ(names[GetParam()], version->libraryName);
    EXPECT_STREQ("5.3 Update 4 build 85.38", version->versionText);
    EXPECT_STREQ("Aug 13 2008", version->dateText);
    EXPECT_EQ(5, version->versionMajor);
    EXPECT_EQ(3, version->versionMinor);
    EXPECT_EQ(85, version->buildSeries);
    EXPECT_EQ(497, version->buildNumber);
}

TEST(AlignPtrTest, FollowsTheFormulaForAnyAlignment)
{
    const auto at = [](uintptr_t p) { return (void*)p; };
    EXPECT_EQ(at(64), vekAlignPtr(at(33), 32));
    EXPECT_EQ(at(64), vekAlignPtr(at(64), 32));
    EXPECT_EQ(at(33), vekAlignPtr(at(33), 1));
    EXPECT_EQ(at(0), vekAlignPtr(at(33), 0));
    // mask is 11: 33 AND 11 is 1, and -1 AND 11 is 11.
    EXPECT_EQ(at(44), vekAlignPtr(at(33), 12));
}

UVEK_ON_ALL_TIERS(MemoryTest);

}  // namespace
}  // namespace uvek::test
