// Counts the library's allocations, and lets a chosen one fail.
#ifndef UVEK_TESTS_SUPPORT_ALLOCATOR_H
#define UVEK_TESTS_SUPPORT_ALLOCATOR_H

namespace uvek::test {

// While it lives, allocation number `failAt` (from 0) and none other fails; -1: none does.
class ScopedAllocator {
public:
    explicit ScopedAllocator(int failAt = -1);
    ~ScopedAllocator();
    ScopedAllocator(const ScopedAllocator&) = delete;
    ScopedAllocator& operator=(const ScopedAllocator&) = delete;

    int requests() const;  // allocations asked for so far
    int live() const;      // blocks not yet released
};

}  // namespace uvek::test

#endif
