// The load entry's steps: slots, product table, companion file, readable memory.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "frame/frame.h"
#include "frame/platform.h"
#include "support/guarded.h"

namespace uvek::test {
namespace {

// Code addresses that are told apart and never called.
VekCodeAddress Code(int record, int tier) { return (VekCodeAddress)(uintptr_t)(0x1000 + record * 16 + tier); }

struct Waterfall {
    static constexpr int kCount = 3;
    VekCodeAddress slots[kCount] = {};
    VekSlotRecord records[kCount];

    Waterfall()
    {
        for (int i = 0; i < kCount; ++i)
            records[i] = {&slots[i], {Code(i, 0), Code(i, 1), Code(i, 2), Code(i, 3)}};
    }
    bool Fill(int row) { return FillSlots(records, kCount, vekSlotWaterfall[row]); }
    void ExpectTier(int tier) const
    {
        for (int i = 0; i < kCount; ++i)
            EXPECT_EQ(Code(i, tier), slots[i]) << i;
    }
};

TEST(WaterfallTest, TakesTheFirstTierThatAllRecordsHave)
{
    for (int row = 0; row < 4; ++row) {
        Waterfall full;
        EXPECT_TRUE(full.Fill(row));
        full.ExpectTier(row);
    }
    Waterfall holed;
    holed.records[2].tiers[3] = nullptr;
    EXPECT_TRUE(holed.Fill(3));
    holed.ExpectTier(2);
    holed.records[1].tiers[2] = nullptr;
    holed.records[0].tiers[1] = nullptr;
    EXPECT_TRUE(holed.Fill(3));
    holed.ExpectTier(0);
}

TEST(WaterfallTest, FailsWithoutACompleteTierOrARecord)
{
    Waterfall holed;
    for (VekCodeAddress& code : holed.records[1].tiers)
        code = nullptr;
    EXPECT_FALSE(holed.Fill(3));
    EXPECT_EQ(Code(0, 0), holed.slots[0]);  // what an abandoned tier stored stays
    EXPECT_EQ(nullptr, holed.slots[1]);
    Waterfall full;
    EXPECT_FALSE(FillSlots(full.records, 0, vekSlotWaterfall[3]));
    EXPECT_FALSE(FillSlots(full.records, -1, vekSlotWaterfall[3]));
    const Vek32s empty[] = {4, 0, 0, 0, 0};
    EXPECT_FALSE(FillSlots(full.records, Waterfall::kCount, empty));
}

TEST(LoadEntryTest, AttachFillsEverythingAndOtherReasonsNothing)
{
    const Vek32s tier = vekTierIndex;
    vekTierIndex = 99;
    vekProductTable[3][5] = 0;
    for (const Vek32s reason : {0, 2, 3}) {
        EXPECT_TRUE(LoadEntry(nullptr, reason));
        EXPECT_EQ(99, vekTierIndex);
        EXPECT_EQ(0, vekProductTable[3][5]);
    }
    EXPECT_TRUE(LoadEntry(nullptr, 1));
    EXPECT_NE(99, vekTierIndex);
    for (int i = 0; i < 256; ++i)
        for (int j = 0; j < 256; ++j)
            ASSERT_EQ(i * j, vekProductTable[i][j]);
    for (Vek32s i = 0; i < vekSlotRecordCount; ++i)
        EXPECT_NE(nullptr, *vekSlotRecords[i].slot);
    vekTierIndex = tier;
}

struct Probe {
    char path[1024] = {};
    VekStatus status;
    explicit Probe(const std::string& library)
    {
        std::snprintf(path, sizeof path, "%s", library.c_str());
        status = ProbeConfigFile(path, sizeof path);
    }
};

TEST(ConfigFileTest, IsLookedForBesideTheLibrary)
{
    const auto folder = std::filesystem::temp_directory_path() / "uvek_load.test";
    std::filesystem::create_directories(folder);
    const std::string library = (folder / "uvek.dll").string(), config = (folder / "uvek.xml").string();
    std::filesystem::remove(config);

    vekConfigFilePresent = 9;
    Probe absent(library);
    EXPECT_EQ(1, absent.status);
    EXPECT_EQ(0, vekConfigFilePresent);
    EXPECT_EQ(config, absent.path);

    std::ofstream(config) << "unread";
    Probe present(library);
    EXPECT_EQ(0, present.status);
    EXPECT_EQ(1, vekConfigFilePresent);

    // The last dot counts, also when it stands in a folder's name.
    vekConfigFilePresent = 9;
    EXPECT_STREQ("/a.xml", Probe("/a.folder/library").path);
    vekConfigFilePresent = 9;
    EXPECT_EQ(kConfigFileNoExtension, Probe("library").status);
    EXPECT_EQ(kConfigFileNoExtension, Probe(".hidden").status);
    EXPECT_EQ(kConfigFileNoExtension, Probe("").status);
    EXPECT_EQ(9, vekConfigFilePresent);
    std::filesystem::remove_all(folder);
}

TEST(ReadableMemoryTest, KnowsWhatItMayNotTouch)
{
    for (const Flush flush : {Flush::End, Flush::Start}) {
        const GuardedBytes block(10000, flush);
        EXPECT_TRUE(IsReadable(block.data(), block.size()));
        EXPECT_TRUE(IsReadable(block.data() + 4999, 1));
    }
    const GuardedBytes end(10000, Flush::End), start(10000, Flush::Start);
    EXPECT_FALSE(IsReadable(end.data(), end.size() + 1));
    EXPECT_FALSE(IsReadable(end.data() + end.size(), 1));
    EXPECT_FALSE(IsReadable(end.data() + end.size() - 1, 2));
    EXPECT_FALSE(IsReadable(start.data() - 1, 1));
    EXPECT_FALSE(IsReadable(start.data() - 1, 100));
    EXPECT_FALSE(IsReadable(nullptr, 1));
    EXPECT_TRUE(IsReadable(nullptr, 0));
}

}  // namespace
}  // namespace uvek::test
