#include "support/allocator.h"

#include <atomic>
#include <cstdlib>

#include "frame/frame.h"

namespace uvek::test {
namespace {

std::atomic<int> requestCount, liveCount;
int failing = -1;
VekMemoryHooks before;

void* Allocate(size_t bytes)
{
    if (requestCount++ == failing)
        return nullptr;
    ++liveCount;
    return before.allocate(bytes);
}

void Release(void* block)
{
    --liveCount;
    before.release(block);
}

}  // namespace

ScopedAllocator::ScopedAllocator(int failAt)
{
    requestCount = 0;
    liveCount = 0;
    failing = failAt;
    before = vekMemoryHooks;
    vekMemoryHooks = {Allocate, Release};
}

ScopedAllocator::~ScopedAllocator() { vekMemoryHooks = before; }

int ScopedAllocator::requests() const { return requestCount; }

int ScopedAllocator::live() const { return liveCount; }

}  // namespace uvek::test
