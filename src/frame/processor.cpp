// What CPUID's answers mean: the class of a processor, its tiers, its largest cache. No state.
#include "frame/processor.h"

#include <cpuid.h>
#include <string.h>

#include "frame/frame.h"

// The 12 characters of CPUID leaf 0 that name the vendor whose models the class table lists.
#ifndef UVEK_REFERENCE_VENDOR
#error "UVEK_REFERENCE_VENDOR comes from the build"
#endif
static_assert(sizeof UVEK_REFERENCE_VENDOR == 13, "a vendor signature has 12 characters");

extern "C" {

// Largest first: the walk stops at the first row that fits, which makes it the largest cache.
const Vek32s vekCacheDescriptorTable[][2] = {
    {77, 16777216}, {76, 12582912}, {75, 8388608}, {71, 8388608},  {78, 6291456},  {74, 6291456},  {73, 4194304},
    {41, 4194304},  {70, 4194304},  {72, 3145728}, {37, 2097152},  {125, 2097152}, {133, 2097152}, {69, 2097152},
    {35, 1048576},  {135, 1048576}, {124, 1048576}, {120, 1048576}, {132, 1048576}, {68, 1048576}, {34, 524288},
    {123, 524288},  {128, 524288},  {134, 524288}, {62, 524288},   {127, 524288},  {131, 524288},  {67, 524288},
    {61, 393216},   {122, 262144},  {130, 262144}, {60, 262144},   {63, 262144},   {66, 262144},   {58, 196608},
    {121, 131072},  {57, 131072},   {59, 131072},  {65, 131072},   {0, 0},
};

}  // extern "C"

namespace uvek {
namespace {

bool Bit(Vek32u word, int bit) { return (word >> bit & 1) != 0; }

}  // namespace

CpuIdLeaf CpuId(Vek32u leaf, Vek32u subleaf)
{
    CpuIdLeaf answer;
    __cpuid_count(leaf, subleaf, answer.eax, answer.ebx, answer.ecx, answer.edx);
    return answer;
}

ProcessorAnswers AskProcessor()
{
    ProcessorAnswers answers = {};
    answers.leaf0 = CpuId(0, 0);
    answers.leaf1 = CpuId(1, 0);
    answers.extended0 = CpuId(0x80000000u, 0);
    if ((answers.extended0.eax & 0x7fffffffu) != 0)
        answers.extended1 = CpuId(0x80000001u, 0);
    if ((Vek32s)answers.leaf0.eax >= 4)
        answers.leaf4 = CpuId(4, 0);
    if ((Vek32s)answers.leaf0.eax >= 2)
        answers.leaf2 = CpuId(2, 0);
    return answers;
}

bool HasReferenceVendor(const ProcessorAnswers& answers)
{
    const Vek32u signature[3] = {answers.leaf0.ebx, answers.leaf0.edx, answers.leaf0.ecx};
    return memcmp(signature, UVEK_REFERENCE_VENDOR, sizeof signature) == 0;
}

Vek32s ClassifyProcessor(const ProcessorAnswers& answers)
{
    const CpuIdLeaf& leaf1 = answers.leaf1;
    Vek32u family = leaf1.eax >> 8 & 15;
    Vek32u model = leaf1.eax >> 4 & 15;
    const Vek32u extendedModel = leaf1.eax >> 16 & 15;
    const Vek32u extendedFamily = leaf1.eax >> 20 & 255;
    const bool sse3 = Bit(leaf1.ecx, 0), ssse3 = Bit(leaf1.ecx, 9);
    const bool sse41 = Bit(leaf1.ecx, 19), sse42 = Bit(leaf1.ecx, 20);
    const bool sse = Bit(leaf1.edx, 25), sse2 = Bit(leaf1.edx, 26);
    const bool longMode = (answers.extended0.eax & 0x7fffffffu) != 0 && Bit(answers.extended1.edx, 29);
    const Vek32u cores = (Vek32s)answers.leaf0.eax >= 4 ? (answers.leaf4.eax >> 26) + 1 : 1;

    if (family == 15 || family == 6)
        model += extendedModel << 4;
    if (family == 15)
        family += extendedFamily;  // so that only extended family 0 is family 15 below

    if (HasReferenceVendor(answers)) {
        if (family == 6 && model == 15 && ssse3)
            return cores <= 2 ? 33 : 34;
        if (family == 6 && model == 23 && sse41)
            return 68;
        if (family == 6 && model == 26 && sse42)
            return 35;
        if (family == 6 && model == 28 && ssse3)
            return 36;
        if (family == 15)
            return 66;
    }
    if (sse42) return 69;
    if (sse41) return 68;
    if (ssse3) return 67;
    if (sse3) return 66;
    if (sse2) return 65;
    if (sse) return 64;
    if (longMode) return 96;
    return 0;
}

Vek32s TierOfClass(Vek32s processorClass)
{
    switch (processorClass) {
    case 32: case 66:
        return 1;
    case 33: case 34: case 36: case 67:
        return 2;
    case 35: case 37: case 68: case 69:
        return 3;
    default:
        return 0;
    }
}

Vek32s WaterfallRowOfClass(Vek32s processorClass)
{
    switch (processorClass) {
    case 32: case 33: case 34: case 66: case 96:
        return 1;
    case 67:
        return 2;
    case 68: case 69:
        return 3;
    default:
        return 0;
    }
}

VekStatus LargestCache(const ProcessorAnswers& answers, Vek32s* size)
{
    *size = 0;
    if (answers.leaf0.eax < 2 || !HasReferenceVendor(answers))
        return WarnCacheQueryUnavailable;
    if ((answers.leaf2.eax & 0xff) != 1)
        return WarnCacheDescriptorUnknown;

    // A register with bit 31 set, or none left, holds no descriptors. The byte at position 0 is the
    // repeat count of EAX.
    const Vek32u registers[4] = {answers.leaf2.eax, answers.leaf2.ebx, answers.leaf2.ecx, answers.leaf2.edx};
    Vek8u area[16];
    int packed = 0, count = 0;
    for (int i = 0; i < 4; ++i) {
        const Vek32u value = Bit(registers[i], 31) ? 0 : registers[i];
        if (value == 0)
            continue;
        memcpy(area + packed, &value, sizeof value);
        packed += 4;
        count += i == 0 ? 3 : 4;
    }
    if (count == 0)
        return WarnCacheDescriptorUnknown;
    for (int row = 0; vekCacheDescriptorTable[row][0] != 0; ++row) {
        for (int i = 1; i <= count && i < packed; ++i) {
            if (area[i] == vekCacheDescriptorTable[row][0]) {
                *size = vekCacheDescriptorTable[row][1];
                return StatusOk;
            }
        }
    }
    return WarnCacheDescriptorUnknown;
}

}  // namespace uvek
