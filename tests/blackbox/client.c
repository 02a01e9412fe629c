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

/* Transfers so large that they ask the processor for its cache and may go around it. */
static int LargeTransfersArrive(void)
{
    enum { WIDTH = 3001, HEIGHT = 6001, STEP = 3011, BYTES = STEP * HEIGHT };
    const VekImageSize size = {WIDTH, HEIGHT};
    Vek8u *from = (Vek8u*)malloc(BYTES), *to = (Vek8u*)malloc(BYTES);
    int x, y, good = from && to;
    if (good) {
        for (x = 0; x < BYTES; ++x)
            from[x] = (Vek8u)(x * 7 + x / 251);
        memset(to, 9, BYTES);
        good = vekiCopy_8u_C1R(from, STEP, to, STEP, size) == StatusOk;
        for (y = 0; y < HEIGHT; ++y)
            good = good && !memcmp(from + y * STEP, to + y * STEP, WIDTH) && (y == HEIGHT - 1 || (to[y * STEP + WIDTH] == 9 && to[y * STEP + STEP - 1] == 9));
        good = good && veksCopy_8u(from, to + 3, BYTES - 3) == StatusOk && !memcmp(from, to + 3, BYTES - 3);
        good = good && vekiCopy_8u_C1R(from + 1, WIDTH, to, WIDTH, size) == StatusOk && !memcmp(from + 1, to, WIDTH * HEIGHT);
        good = good && veksSet_8u(77, to + 1, BYTES - 1) == StatusOk && to[1] == 77 && !memcmp(to + 1, to + 2, BYTES - 2);
        good = good && veksZero_8u(to, BYTES) == StatusOk && to[0] == 0 && !memcmp(to, to + 1, BYTES - 1);
    }
    free(from);
    free(to);
    return good;
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
    if (!LargeTransfersArrive())
        return 6;
    return 0;
}
