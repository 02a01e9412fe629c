// Several arrays in one block of memory, each on a 32-byte boundary.
#ifndef UVEK_VISION_LAYOUT_H
#define UVEK_VISION_LAYOUT_H

#include "frame/memory.h"
#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Adds up what the arrays take; an offset is where an array will stand in the block.
class BlockLayout {
public:
    // Room for rows * columns elements.
    int64_t Add(int64_t rows, int64_t columns, int64_t elementBytes)
    {
        const int64_t offset = bytes_;
        int64_t elements, bytes;
        if (__builtin_mul_overflow(rows, columns, &elements) || __builtin_mul_overflow(elements, elementBytes, &bytes) || bytes > kMost - bytes_)
            fits_ = false;
        else
            bytes_ += (bytes + 31) & ~(int64_t)31;
        return offset;
    }

    // Null when memory is short, or the sum was more than there can be.
    void* Allocate() const { return fits_ ? AllocateBlock(bytes_) : nullptr; }

private:
    static constexpr int64_t kMost = (int64_t)1 << 46;

    int64_t bytes_ = 0;
    bool fits_ = true;
};

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
