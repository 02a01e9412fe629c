// The frame's statics and the operations that no export calls, under their given names. All of them
// have C linkage and stay inside the library.
#ifndef UVEK_FRAME_FRAME_H
#define UVEK_FRAME_FRAME_H

#include <stddef.h>

#include "uvek/base.h"

#if defined(_WIN32)  // where the .def file alone decides what is exported
#define VEK_INTERNAL
#define VEK_EXPORTED
#else
#define VEK_INTERNAL __attribute__((visibility("hidden")))
#define VEK_EXPORTED __attribute__((visibility("default")))
#endif
// Stands in the symbol table although nothing in the library may call it.
#define VEK_OPERATION VEK_INTERNAL __attribute__((used, noinline))

extern "C" {

typedef void (*VekCodeAddress)(void);

// One slot-dispatched export: where its slot is, and its code in tier order.
struct VekSlotRecord {
    VekCodeAddress* slot;
    VekCodeAddress tiers[4];
};

struct VekMemoryHooks {
    void* (*allocate)(size_t bytes);
    void (*release)(void* block);
};

extern VEK_INTERNAL Vek32s vekTierIndex;
extern VEK_INTERNAL Vek32s vekSlotRecordCount;
extern VEK_INTERNAL VekSlotRecord vekSlotRecords[];
extern VEK_INTERNAL const Vek32s vekSlotWaterfall[4][5];
extern VEK_INTERNAL Vek16u vekProductTable[256][256];
extern VEK_INTERNAL Vek8u vekConfigFilePresent;
extern VEK_INTERNAL const Vek32s vekCacheDescriptorTable[][2];
extern VEK_INTERNAL VekMemoryHooks vekMemoryHooks;

VEK_OPERATION Vek32s vekCpuIdAvailable(void);
VEK_OPERATION Vek32s vekIsReferenceVendor(void);
VEK_OPERATION Vek32s vekGetProcessorClass(void);
VEK_OPERATION VekStatus vekInitTier(void);
VEK_OPERATION VekStatus vekSetProcessorClass(Vek32s processorClass);
VEK_OPERATION VekStatus vekGetMaxCacheSize(Vek32s* pSize);

}  // extern "C"

namespace uvek {

// Fills every record's slot from the first tier of the row that all records have.
bool FillSlots(const VekSlotRecord* records, Vek32s count, const Vek32s* row);

// Looks for the companion file of the library at `path`, which it cuts and extends in place.
VekStatus ProbeConfigFile(char* path, size_t capacity);

// Forgets the answer of vekGetMaxCacheSize, for tests.
void ResetCacheQuery();

constexpr Vek32s kReasonProcessAttach = 1;
constexpr VekStatus kConfigFileNoExtension = (VekStatus)0x80004005u;

// What the system's load notification runs. False refuses the load.
bool LoadEntry(void* module, Vek32s reason);

}  // namespace uvek

#endif
