// What runs once, when the library is loaded.
#include <string.h>

#include "frame/frame.h"
#include "frame/platform.h"
#include "frame/processor.h"

extern "C" {

// Tiers from the most preferred downward; 4 ends a row.
const Vek32s vekSlotWaterfall[4][5] = {
    {0, 4, 0, 0, 0},
    {1, 0, 4, 0, 0},
    {2, 1, 0, 4, 0},
    {3, 2, 1, 0, 4},
};

// No primitive reads it; loading fills it all the same.
alignas(16) Vek16u vekProductTable[256][256] = {};

Vek8u vekConfigFilePresent = 0;

}  // extern "C"

namespace uvek {
namespace {

constexpr Vek32s kNoTier = 4;
constexpr char kExtension[] = "xml";
constexpr size_t kPathCapacity = 1024;

bool BuildProductTable()
{
    for (Vek32u i = 0; i < 256; ++i)
        for (Vek32u j = 0; j < 256; ++j)
            vekProductTable[i][j] = (Vek16u)(i * j);
    return true;
}

bool StoreTier(const VekSlotRecord* records, Vek32s count, Vek32s tier)
{
    for (Vek32s i = 0; i < count; ++i) {
        if (!records[i].tiers[tier])
            return false;  // slots stored so far keep their value until a later tier overwrites them
        *records[i].slot = records[i].tiers[tier];
    }
    return true;
}

}  // namespace

bool FillSlots(const VekSlotRecord* records, Vek32s count, const Vek32s* row)
{
    if (count <= 0)
        return false;
    for (; *row < kNoTier; ++row)
        if (StoreTier(records, count, *row))
            return true;
    return false;
}

VekStatus ProbeConfigFile(char* path, size_t capacity)
{
    char* dot = strrchr(path, '.');
    if (!dot || dot == path)
        return kConfigFileNoExtension;
    if ((size_t)(dot + 1 - path) + sizeof kExtension > capacity)
        return kConfigFileNoExtension;  // the path was cut: what stands there is not the library's name
    memcpy(dot + 1, kExtension, sizeof kExtension);
    vekConfigFilePresent = CanOpenForReading(path) ? 1 : 0;
    return vekConfigFilePresent ? 0 : 1;
}

bool LoadEntry(void* module, Vek32s reason)
{
    if (reason != kReasonProcessAttach)
        return true;

    vekInitTier();
    char message[256] = {};
    vekGetProcessorClass();  // asked twice, the second answer counts
    const Vek32s row = WaterfallRowOfClass(vekGetProcessorClass());
    if (!FillSlots(vekSlotRecords, vekSlotRecordCount, vekSlotWaterfall[row])) {
        strcpy(message, " No vek matching to CPU was found during the Waterfall");
        ReportLoadFailure(message, "Set vek library error");
        return false;
    }
    if (!BuildProductTable())
        return false;
    char path[kPathCapacity];
    ModulePath(module, path, sizeof path);
    ProbeConfigFile(path, sizeof path);
    return true;
}

}  // namespace uvek
