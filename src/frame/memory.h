// The allocator under all context records and scratch memory; tier code calls it directly.
#ifndef UVEK_FRAME_MEMORY_H
#define UVEK_FRAME_MEMORY_H

#include "uvek/memory.h"

namespace uvek {

// vekMalloc and vekFree with a 64-bit byte count; null below 1 or when memory is short.
void* AllocateBlock(int64_t bytes);
void ReleaseBlock(void* block);

}  // namespace uvek

#endif
