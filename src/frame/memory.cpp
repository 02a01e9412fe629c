// Blocks on 32-byte boundaries. The base allocator's address stands in the 8 bytes below a block.
#include "frame/memory.h"

#include <string.h>

#include "frame/frame.h"
#include "frame/platform.h"

extern "C" {

VekMemoryHooks vekMemoryHooks = {uvek::PlatformAllocate, uvek::PlatformRelease};

}  // extern "C"

namespace uvek {
namespace {

constexpr uintptr_t kBlockAlignment = 32;
constexpr int64_t kOverhead = sizeof(void*) + kBlockAlignment;  // the header, and the way to the boundary

}  // namespace

void* AllocateBlock(int64_t bytes)
{
    if (bytes < 1)
        return nullptr;
    void* base = vekMemoryHooks.allocate((size_t)(bytes + kOverhead));
    if (!base)
        return nullptr;
    char* block = (char*)(((uintptr_t)base + kOverhead - 1) & ~(kBlockAlignment - 1));
    memcpy(block - sizeof base, &base, sizeof base);
    return block;
}

void ReleaseBlock(void* block)
{
    if (!block)
        return;
    void* base;
    memcpy(&base, (char*)block - sizeof base, sizeof base);
    vekMemoryHooks.release(base);
}

}  // namespace uvek

extern "C" {

VEK_EXPORTED void* vekMalloc(Vek32s length) { return uvek::AllocateBlock(length); }

VEK_EXPORTED void vekFree(void* ptr) { uvek::ReleaseBlock(ptr); }

VEK_EXPORTED void* vekAlignPtr(void* ptr, Vek32s alignBytes)
{
    const uint64_t mask = (uint64_t)(int64_t)alignBytes - 1, address = (uint64_t)(uintptr_t)ptr;
    return (void*)(uintptr_t)(address + ((0 - (address & mask)) & mask));
}

}  // extern "C"
