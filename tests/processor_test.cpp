// Made-up processors: every branch of the classification, both maps of a class, the cache walk.
#include "frame/processor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/frame.h"

namespace uvek::test {
namespace {

// Feature bits of leaf 1, each level with those below it.
struct Features {
    Vek32u ecx, edx;
};
constexpr Vek32u kSse = 1u << 25, kSse2 = 1u << 26;
constexpr Vek32u kSse3 = 1u << 0, kSsse3 = 1u << 9, kSse41 = 1u << 19, kSse42 = 1u << 20;
constexpr Features kNone = {0, 0}, kUpToSse = {0, kSse}, kUpToSse2 = {0, kSse | kSse2};
constexpr Features kUpToSse3 = {kSse3, kSse | kSse2}, kUpToSsse3 = {kSse3 | kSsse3, kSse | kSse2};
constexpr Features kUpToSse41 = {kSse3 | kSsse3 | kSse41, kSse | kSse2};
constexpr Features kUpToSse42 = {kSse3 | kSsse3 | kSse41 | kSse42, kSse | kSse2};

constexpr char kReference[] = "GenuineIntel", kOther[] = "AuthenticAMD";

ProcessorAnswers Processor(const char* vendor, Vek32u family, Vek32u model, Features features, Vek32u cores = 2, bool longMode = true)
{
    ProcessorAnswers answers = {};
    answers.leaf0.eax = 4;
    std::memcpy(&answers.leaf0.ebx, vendor, 4);
    std::memcpy(&answers.leaf0.edx, vendor + 4, 4);
    std::memcpy(&answers.leaf0.ecx, vendor + 8, 4);
    const Vek32u baseFamily = family > 15 ? 15 : family;
    answers.leaf1.eax = (family - baseFamily) << 20 | (model >> 4) << 16 | baseFamily << 8 | (model & 15) << 4;
    answers.leaf1.ecx = features.ecx;
    answers.leaf1.edx = features.edx;
    answers.leaf4.eax = (cores - 1) << 26;
    answers.extended0.eax = 0x80000001u;
    answers.extended1.edx = longMode ? 1u << 29 : 0;
    return answers;
}

TEST(ProcessorClassTest, ReferenceModelsTakeTheirBranches)
{
    EXPECT_EQ(33, ClassifyProcessor(Processor(kReference, 6, 15, kUpToSsse3, 1)));
    EXPECT_EQ(33, ClassifyProcessor(Processor(kReference, 6, 15, kUpToSsse3, 2)));
    EXPECT_EQ(34, ClassifyProcessor(Processor(kReference, 6, 15, kUpToSsse3, 3)));
    EXPECT_EQ(34, ClassifyProcessor(Processor(kReference, 6, 15, kUpToSse42, 64)));
    EXPECT_EQ(66, ClassifyProcessor(Processor(kReference, 6, 15, kUpToSse3, 4)));
    EXPECT_EQ(68, ClassifyProcessor(Processor(kReference, 6, 23, kUpToSse42)));
    EXPECT_EQ(67, ClassifyProcessor(Processor(kReference, 6, 23, kUpToSsse3)));
    EXPECT_EQ(35, ClassifyProcessor(Processor(kReference, 6, 26, kUpToSse42)));
    EXPECT_EQ(68, ClassifyProcessor(Processor(kReference, 6, 26, kUpToSse41)));
    EXPECT_EQ(36, ClassifyProcessor(Processor(kReference, 6, 28, kUpToSse42)));
    EXPECT_EQ(66, ClassifyProcessor(Processor(kReference, 6, 28, kUpToSse3)));
    EXPECT_EQ(69, ClassifyProcessor(Processor(kReference, 6, 44, kUpToSse42)));
}

TEST(ProcessorClassTest, Family15CountsOnlyWithoutAnExtension)
{
    EXPECT_EQ(66, ClassifyProcessor(Processor(kReference, 15, 3, kUpToSse2)));
    EXPECT_EQ(66, ClassifyProcessor(Processor(kReference, 15, 23, kUpToSse42)));
    EXPECT_EQ(65, ClassifyProcessor(Processor(kReference, 16, 3, kUpToSse2)));
    EXPECT_EQ(65, ClassifyProcessor(Processor(kOther, 15, 3, kUpToSse2)));
}

TEST(ProcessorClassTest, OtherFamiliesIgnoreTheExtendedModel)
{
    // Family 5 with extended model bits set is no family 6 model.
    ProcessorAnswers answers = Processor(kReference, 5, 26, kUpToSse42);
    EXPECT_EQ(69, ClassifyProcessor(answers));
    // A core count without leaf 4 is 1, whatever that leaf would say.
    answers = Processor(kReference, 6, 15, kUpToSsse3, 4);
    answers.leaf0.eax = 3;
    EXPECT_EQ(33, ClassifyProcessor(answers));
    answers.leaf0.eax = 0x80000004u;  // negative: below 4 as a signed number
    EXPECT_EQ(33, ClassifyProcessor(answers));
}

TEST(ProcessorClassTest, EveryOtherProcessorGoesByItsFeatures)
{
    const struct { Features features; Vek32s expected; } rows[] = {
        {kUpToSse42, 69}, {kUpToSse41, 68}, {kUpToSsse3, 67}, {kUpToSse3, 66}, {kUpToSse2, 65}, {kUpToSse, 64}, {kNone, 96},
    };
    for (const auto& row : rows)
        for (const Vek32u model : {15u, 23u, 26u, 28u})
            EXPECT_EQ(row.expected, ClassifyProcessor(Processor(kOther, 6, model, row.features)));
    EXPECT_EQ(0, ClassifyProcessor(Processor(kOther, 6, 15, kNone, 2, false)));
    ProcessorAnswers noExtended = Processor(kOther, 6, 15, kNone);
    noExtended.extended0.eax = 0x80000000u;  // leaf 0x80000001 does not count then
    EXPECT_EQ(0, ClassifyProcessor(noExtended));
}

TEST(ProcessorClassTest, TheTwoMapsAndTheSetterDisagreeWhereTheyShould)
{
    const struct { Vek32s processorClass, tier, row, setTier; } rows[] = {
        {0, 0, 0, 0},  {32, 1, 1, 1},  {33, 2, 1, 2},  {34, 2, 1, 2},  {35, 3, 0, 3},  {36, 2, 0, 2},  {37, 3, 0, 3},
        {64, 0, 0, -1}, {65, 0, 0, -1}, {66, 1, 1, -1}, {67, 2, 2, 2}, {68, 3, 3, 3},  {69, 3, 3, 3},  {96, 0, 1, 0},
        {-1, 0, 0, 0}, {1, 0, 0, -1},  {31, 0, 0, -1}, {38, 0, 0, -1}, {70, 0, 0, -1},
    };
    const Vek32s before = vekTierIndex;
    for (const auto& row : rows) {
        EXPECT_EQ(row.tier, TierOfClass(row.processorClass)) << row.processorClass;
        EXPECT_EQ(row.row, WaterfallRowOfClass(row.processorClass)) << row.processorClass;
        vekTierIndex = 99;
        EXPECT_EQ(row.setTier < 0 ? WarnUnknownProcessorClass : StatusOk, vekSetProcessorClass(row.processorClass)) << row.processorClass;
        EXPECT_EQ(row.setTier < 0 ? 99 : row.setTier, vekTierIndex) << row.processorClass;
    }
    vekTierIndex = before;
}

TEST(ProcessorClassTest, InitTierStoresTheTierAndReportsTheVendor)
{
    const Vek32s before = vekTierIndex;
    vekTierIndex = 99;
    EXPECT_EQ(vekIsReferenceVendor() ? StatusOk : WarnNotReferenceProcessor, vekInitTier());
    EXPECT_EQ(TierOfClass(vekGetProcessorClass()), vekTierIndex);
    vekTierIndex = before;
}

VekStatus CacheOf(CpuIdLeaf leaf2, Vek32s* size, const char* vendor = kReference, Vek32u highestLeaf = 2)
{
    ProcessorAnswers answers = Processor(vendor, 6, 15, kUpToSsse3);
    answers.leaf0.eax = highestLeaf;
    answers.leaf2 = leaf2;
    return LargestCache(answers, size);
}

TEST(CacheQueryTest, ReportsTheLargestDescriptor)
{
    Vek32s size = -1;
    // EAX descriptors 0x2c 0x30 0x7d (2 MiB), repeat count 1; 0x4d (16 MiB) in EDX.
    EXPECT_EQ(StatusOk, CacheOf({0x7d302c01, 0, 0, 0}, &size));
    EXPECT_EQ(2097152, size);
    EXPECT_EQ(StatusOk, CacheOf({0x7d302c01, 0, 0, 0x0000004d}, &size));
    EXPECT_EQ(16777216, size);
    // A register with bit 31 set holds no descriptors.
    EXPECT_EQ(StatusOk, CacheOf({0x7d302c01, 0, 0, 0x8000004d}, &size));
    EXPECT_EQ(2097152, size);
    // The repeat count is no descriptor: with EAX left out, the first byte of the next register stands in its place.
    EXPECT_EQ(WarnCacheDescriptorUnknown, CacheOf({0x80000001, 0x0000004d, 0, 0}, &size));
    EXPECT_EQ(StatusOk, CacheOf({0x80000001, 0x00004d00, 0, 0}, &size));
    EXPECT_EQ(16777216, size);
}

TEST(CacheQueryTest, UnknownsHaveTheirStatus)
{
    Vek32s size = -1;
    EXPECT_EQ(WarnCacheQueryUnavailable, CacheOf({0x7d302c01, 0, 0, 0}, &size, kOther));
    EXPECT_EQ(0, size);
    EXPECT_EQ(WarnCacheQueryUnavailable, CacheOf({0x7d302c01, 0, 0, 0}, &size, kReference, 1));
    EXPECT_EQ(WarnCacheDescriptorUnknown, CacheOf({0x7d302c02, 0, 0, 0}, &size));
    EXPECT_EQ(WarnCacheDescriptorUnknown, CacheOf({0x00000001, 0, 0, 0}, &size));
    EXPECT_EQ(WarnCacheDescriptorUnknown, CacheOf({0x80000001, 0x80000000u, 0, 0}, &size));
    EXPECT_EQ(0, size);
}

TEST(CacheQueryTest, TheFirstAnswerIsRemembered)
{
    EXPECT_EQ(StatusNullPointer, vekGetMaxCacheSize(nullptr));
    ResetCacheQuery();
    Vek32s first = -1, second = -2;
    const VekStatus status = vekGetMaxCacheSize(&first);
    EXPECT_TRUE(status == StatusOk || status == WarnCacheQueryUnavailable || status == WarnCacheDescriptorUnknown);
    EXPECT_EQ(status, vekGetMaxCacheSize(&second));
    EXPECT_EQ(first, second);
    EXPECT_EQ(status == StatusOk, first > 0);
}

TEST(CacheQueryTest, TheTableFallsFromTheLargest)
{
    int rows = 0;
    for (; vekCacheDescriptorTable[rows][0] != 0; ++rows) {
        if (rows > 0) {
            EXPECT_GE(vekCacheDescriptorTable[rows - 1][1], vekCacheDescriptorTable[rows][1]);
        }
    }
    EXPECT_EQ(39, rows);
}

}  // namespace
}  // namespace uvek::test
