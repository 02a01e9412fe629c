// Loops over vectors that treat every element alike. An operation has two call operators: one for a
// register, which the blocks use, and one for a sample, which is tier 0 and the tail.
#ifndef UVEK_SIGNAL_ELEMENTWISE_H
#define UVEK_SIGNAL_ELEMENTWISE_H

#include "frame/simd_float.h"

namespace uvek::VEK_TIER_NAMESPACE {

// dst may be src. Four registers a round keep both load ports busy while data is in cache.
template <typename T, typename Operation>
inline void MapOne(const T* src, T* dst, Vek32s len, Operation operation)
{
    constexpr Vek32s kLanes = 16 / (Vek32s)sizeof(T);
    Vek32s i = 0;
    if constexpr (kBlocks) {
        for (; len - i >= 4 * kLanes; i += 4 * kLanes) {
            const auto a = operation(LoadU(src + i)), b = operation(LoadU(src + i + kLanes));
            const auto c = operation(LoadU(src + i + 2 * kLanes)), d = operation(LoadU(src + i + 3 * kLanes));
            StoreU(dst + i, a);
            StoreU(dst + i + kLanes, b);
            StoreU(dst + i + 2 * kLanes, c);
            StoreU(dst + i + 3 * kLanes, d);
        }
        for (; len - i >= kLanes; i += kLanes)
            StoreU(dst + i, operation(LoadU(src + i)));
    }
    for (; i < len; ++i)
        Put(dst + i, operation(Get(src + i)));
}

// dst may be either source.
template <typename T, typename Operation>
inline void MapTwo(const T* src1, const T* src2, T* dst, Vek32s len, Operation operation)
{
    constexpr Vek32s kLanes = 16 / (Vek32s)sizeof(T);
    Vek32s i = 0;
    if constexpr (kBlocks) {
        for (; len - i >= 4 * kLanes; i += 4 * kLanes) {
            const auto result = [=](int k) { return operation(LoadU(src1 + i + k * kLanes), LoadU(src2 + i + k * kLanes)); };
            const auto a = result(0), b = result(1), c = result(2), d = result(3);
            StoreU(dst + i, a);
            StoreU(dst + i + kLanes, b);
            StoreU(dst + i + 2 * kLanes, c);
            StoreU(dst + i + 3 * kLanes, d);
        }
        for (; len - i >= kLanes; i += kLanes)
            StoreU(dst + i, operation(LoadU(src1 + i), LoadU(src2 + i)));
    }
    for (; i < len; ++i)
        Put(dst + i, operation(Get(src1 + i), Get(src2 + i)));
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
