// The tier table, the slots and their records. All of it follows from the export list and the public
// prototypes: an entry that differs from its prototype does not link.
#include "frame/frame.h"
#include "uvek/uvek.h"

#define VEK_DIRECT(name)
#define VEK_TABLE(name) decltype(::name) name;
#define VEK_SLOT(name) decltype(::name) name;
namespace uvek::mx {
#include "frame/exports.inc"
}

#define VEK_DIRECT(name)
#define VEK_TABLE(name) decltype(::name) name;
#define VEK_SLOT(name) decltype(::name) name;
namespace uvek::m7 {
#include "frame/exports.inc"
}

#define VEK_DIRECT(name)
#define VEK_TABLE(name) decltype(::name) name;
#define VEK_SLOT(name) decltype(::name) name;
namespace uvek::u8 {
#include "frame/exports.inc"
}

#define VEK_DIRECT(name)
#define VEK_TABLE(name) decltype(::name) name;
#define VEK_SLOT(name) decltype(::name) name;
namespace uvek::y8 {
#include "frame/exports.inc"
}

extern "C" {

Vek32s vekTierIndex = 0;

// Four code addresses of each table-dispatched export, in tier order, which its stub indexes; and
// the slot of each slot-dispatched export, which its stub jumps through.
#define VEK_DIRECT(name)
#define VEK_TABLE(name)                                               \
    extern VEK_INTERNAL decltype(::name)* const vekTiersOf_##name[4]; \
    decltype(::name)* const vekTiersOf_##name[4] = {uvek::mx::name, uvek::m7::name, uvek::u8::name, uvek::y8::name};
#define VEK_SLOT(name)                                   \
    extern VEK_INTERNAL VekCodeAddress vekSlotOf_##name; \
    VekCodeAddress vekSlotOf_##name = nullptr;
#include "frame/exports.inc"

VekSlotRecord vekSlotRecords[] = {
#define VEK_DIRECT(name)
#define VEK_TABLE(name)
#define VEK_SLOT(name)                                                              \
    {&vekSlotOf_##name, {(VekCodeAddress)uvek::mx::name, (VekCodeAddress)uvek::m7::name, \
                         (VekCodeAddress)uvek::u8::name, (VekCodeAddress)uvek::y8::name}},
#include "frame/exports.inc"
};

Vek32s vekSlotRecordCount = (Vek32s)(sizeof vekSlotRecords / sizeof vekSlotRecords[0]);

}  // extern "C"
