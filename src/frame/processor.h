// Processor identification: what CPUID answers, and what the frame concludes from it. The
// conclusions are pure functions of the answers, so that made-up processors can be tested.
#ifndef UVEK_FRAME_PROCESSOR_H
#define UVEK_FRAME_PROCESSOR_H

#include "uvek/base.h"

namespace uvek {

struct CpuIdLeaf {
    Vek32u eax, ebx, ecx, edx;
};

struct ProcessorAnswers {
    CpuIdLeaf leaf0;          // highest leaf, vendor signature in EBX, EDX, ECX
    CpuIdLeaf leaf1;          // family and model, features
    CpuIdLeaf leaf2;          // cache descriptors, where leaf 0 admits it
    CpuIdLeaf leaf4;          // core count, where leaf 0 admits it
    CpuIdLeaf extended0;      // leaf 0x80000000
    CpuIdLeaf extended1;      // leaf 0x80000001, where extended0 admits it
};

CpuIdLeaf CpuId(Vek32u leaf, Vek32u subleaf);
ProcessorAnswers AskProcessor();

bool HasReferenceVendor(const ProcessorAnswers& answers);
Vek32s ClassifyProcessor(const ProcessorAnswers& answers);

// The tier of table-dispatched exports and the waterfall row of slot-dispatched ones. The two maps
// differ on purpose: one processor can run the two kinds of export in different tiers.
Vek32s TierOfClass(Vek32s processorClass);
Vek32s WaterfallRowOfClass(Vek32s processorClass);

// The largest cache that leaf 2 reports, in bytes, with the status that vekGetMaxCacheSize stores.
VekStatus LargestCache(const ProcessorAnswers& answers, Vek32s* size);

}  // namespace uvek

#endif
