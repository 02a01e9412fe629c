// Prints a line "export tier hash" for each export on each tier. What the hash is of follows from a seed
// alone, so that two builds whose pages differ compute different bits.
#include <cstdio>

#include "digest/signatures.h"
#include "frame/frame.h"

namespace uvek::digest {
namespace {

struct Listed {
    const char* name;
    Export address;
};

constexpr int kTiers = 4;

int Print()
{
    int missing = 0;
    for (int tier = 0; tier < kTiers; ++tier) {
        vekTierIndex = tier;
        FillSlots(vekSlotRecords, vekSlotRecordCount, vekSlotWaterfall[tier]);
        Recorder recorder;
        CallFrame(recorder);
        CallGeometry(recorder);
        CallHuffman(recorder);
        CallBlocks(recorder);
        CallFourier(recorder);
        CallSignal(recorder);
        CallVision(recorder);
#define VEK_DIRECT(name) Simple(recorder, #name, ::name);
#define VEK_TABLE(name) Simple(recorder, #name, ::name);
#define VEK_SLOT(name) Simple(recorder, #name, ::name);
#include "frame/exports.inc"

        const Listed list[] = {
#define VEK_DIRECT(name) {#name, (Export)::name},
#define VEK_TABLE(name) {#name, (Export)::name},
#define VEK_SLOT(name) {#name, (Export)::name},
#include "frame/exports.inc"
        };
        for (const Listed& listed : list) {
            const uint64_t* const hash = recorder.Find(listed.address);
            if (hash)
                std::printf("%s %d %016llx\n", listed.name, tier, (unsigned long long)*hash);
            else
                std::fprintf(stderr, "no case for %s\n", listed.name);
            missing += !hash;
        }
    }
    return missing ? 1 : 0;
}

}  // namespace
}  // namespace uvek::digest

int main() { return uvek::digest::Print(); }
