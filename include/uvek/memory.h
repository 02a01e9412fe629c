/* Aligned memory and the version record. */
#ifndef UVEK_MEMORY_H
#define UVEK_MEMORY_H

#include "uvek/base.h"

UVEK_BEGIN

/* What the library is; one constant record for each code tier. */
typedef struct VekLibVersion {
    Vek32s versionMajor;     /* of the interface */
    Vek32s versionMinor;     /* of the interface */
    Vek32s buildSeries;      /* of the build */
    Vek32s buildNumber;      /* within the series */
    char tierCode[4];        /* "mx", "m7", "u8" or "y8", zero-filled */
    const char* libraryName; /* of the tier's code */
    const char* versionText; /* the numbers above in words */
    const char* dateText;    /* of the build */
} VekLibVersion;

/* Allocates `length` bytes at an address that is a multiple of 32. Null when length is below 1 or
   memory is short. The block goes back through any one of vekFree, veksFree and vekiFree. */
void* vekMalloc(Vek32s length);

/* Releases a block of vekMalloc, veksMalloc_* or vekiMalloc_*; a null ptr is ignored. */
void vekFree(void* ptr);

/* The first multiple of alignBytes, a power of two, at or above ptr. Nothing is checked. */
void* vekAlignPtr(void* ptr, Vek32s alignBytes);

/* Allocate `len` samples, 32-byte aligned. Null when len is below 1 or memory is short. */
Vek8u* veksMalloc_8u(Vek32s len);
Vek16s* veksMalloc_16s(Vek32s len);
Vek32f* veksMalloc_32f(Vek32s len);

/* Same as vekFree. */
void veksFree(void* ptr);

/* Allocate an image of width by height pixels, every row starting at a multiple of 32. The row step
   in bytes is stored in *pStepBytes, also when the allocation then fails. Null when pStepBytes is
   null, when width or height is below 1 (the stored step is 0 then) or when memory is short. The
   image's byte count must be below 2147483648. */
Vek8u* vekiMalloc_8u_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek8u* vekiMalloc_8u_C3(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek8u* vekiMalloc_8u_C4(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek16s* vekiMalloc_16s_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek16s* vekiMalloc_16s_C3(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek16u* vekiMalloc_16u_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek16u* vekiMalloc_16u_C3(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek32f* vekiMalloc_32f_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes);
Vek32s* vekiMalloc_32s_C1(Vek32s width, Vek32s height, Vek32s* pStepBytes);

/* Same as vekFree. */
void vekiFree(void* ptr);

/* The version record of the tier that serves the caller; constant, never to be freed. */
const VekLibVersion* vekjGetLibVersion(void);

UVEK_END

#endif
