/* A customer of the shared library, in C99: prints what it can see of the dispatch.

   client TIER_OFFSET CONFIG_OFFSET SLOT_OFFSET: offsets of the library's statics from its load
   address, as its symbol table gives them. Prints the tier's code, vekTierIndex, the flag of the
   companion file, and the slot's content as an offset from the load address. */
#ifndef _WIN32
#define _GNU_SOURCE
#include <dlfcn.h>
#else
#include <windows.h>
#endif
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "uvek/uvek.h"

static const char* LoadAddress(void)
{
#ifdef _WIN32
    return (const char*)GetModuleHandleA("uvek.dll");
#else
    Dl_info info;
    return dladdr((const void*)(uintptr_t)vekjGetLibVersion, &info) ? (const char*)info.dli_fbase : NULL;
#endif
}

int main(int argc, char** argv)
{
    const char* base = LoadAddress();
    uint64_t offset[3], slot;
    Vek32s tier;
    double a[9] = {2, 0, 0, 0, 3, 0, 0, 0, 4}, qr[9], buffer[3], b[3] = {2, 6, 12}, x[3];
    int i;
    if (argc != 4 || !base)
        return 2;
    for (i = 0; i < 3; ++i)
        offset[i] = strtoull(argv[i + 1], NULL, 16);
    memcpy(&tier, base + offset[0], sizeof tier);
    memcpy(&slot, base + offset[2], sizeof slot);
    printf("%.4s %" PRId32 " %d %" PRIx64 "\n", vekjGetLibVersion()->tierCode, tier, base[offset[1]], slot - (uint64_t)(uintptr_t)base);

    /* A call through a slot and one through the table, with all arguments in their places. */
    if (vekmQRDecomp_m_64f_3x3(a, 24, buffer, qr, 24) != StatusOk || vekmQRBackSubst_mv_64f_3x3(qr, 24, buffer, b, x) != StatusOk)
        return 3;
    if (x[0] < 0.999999 || x[0] > 1.000001 || x[1] < 1.999999 || x[1] > 2.000001 || x[2] < 2.999999 || x[2] > 3.000001)
        return 4;
    {
        Vek32s step = 0;
        Vek8u* image = vekiMalloc_8u_C3(11, 3, &step);
        if (!image || step != 64)
            return 5;
        vekiFree(image);
    }
    return 0;
}
