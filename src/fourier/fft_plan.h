// Which path serves which order, tier by tier and for both precisions, and how much memory it needs.
// Orders here are those of complex transforms.
#ifndef UVEK_FOURIER_FFT_PLAN_H
#define UVEK_FOURIER_FFT_PLAN_H

#include "fourier/fft.h"

namespace uvek::VEK_TIER_NAMESPACE {

template <typename T> constexpr bool kIsDouble = sizeof(T) == sizeof(Vek64f);

// The largest order that one kernel does.
template <typename T>
constexpr Vek32s kKernelOrder = kIsDouble<T> ? (kTier == 0 ? 9 : kTier == 1 ? 14 : 16)
                                             : (kTier == 0 ? 10 : kTier == 1 ? 16 : 17);
// Above the kernel, tier 0 has two orders that merge blocks.
template <typename T> constexpr Vek32s kMergeOrder = kTier == 0 ? kKernelOrder<T> + 2 : kKernelOrder<T>;

// The bits of the outer, column dimension of a split order.
template <typename T>
constexpr Vek32s ColumnBits(Vek32s order)
{
    if (kTier == 0) {
        constexpr Vek8u kSingle[] = {5, 6, 7, 8, 8, 8, 10, 10, 10, 10, 8, 8, 10, 10, 10, 10, 10, 10};
        constexpr Vek8u kDouble[] = {4, 5, 6, 7, 7, 8, 9, 9, 9, 8, 8, 9, 9, 9, 9, 9, 9, 9, 9};
        return kIsDouble<T> ? kDouble[order - 12] : kSingle[order - 13];
    }
    if (!kIsDouble<T>)
        return order >= 22 ? 8 : order == 21 ? 5 : order >= 18 ? 4 : 3;
    if (kTier == 1)
        return order >= 22 ? 8 : order == 21 ? 7 : order >= 19 ? 6 : order >= 16 ? 4 : 3;
    return order >= 21 ? 8 : 6;
}

// log2 of the points that the outer stages hold at a time; tier 0 holds four columns.
template <typename T>
constexpr Vek32s TileBits(Vek32s order)
{
    if (kTier == 0)
        return ColumnBits<T>(order) + 2;
    if (!kIsDouble<T>)
        return order >= 22 ? 15 : order == 21 ? 13 : order >= 18 ? 10 : 9;
    if (kTier == 1)
        return order >= 21 ? 14 : order >= 19 ? 13 : order >= 16 ? 10 : 8;
    return order >= 22 ? 14 : order >= 19 ? 12 : 10;
}

// The bits of a kernel's next stage with `done` bits behind it: radix 4 or 8.
constexpr Vek32s StageBits(Vek32s order, Vek32s done)
{
    const Vek32s left = order - done;
    if (kTier >= 2)
        return left % 3 == 0 ? 3 : 2;
    const bool is8 = left == 3 || (left >= 5 && done >= 3)
        || (done == 2 && (order == 7 || order == 10 || order == 11 || order == 13 || order == 14));
    return is8 ? 3 : 2;
}

// The samples of a stage's twiddles.
constexpr int64_t StageTableSize(Vek32s done, Vek32s bits) { return (((int64_t)1 << bits) - 1) * 2 << done; }

// The same for the outer stages.
constexpr bool IsOuterRadix8(Vek32s left) { return left != 2 && left != 4; }

// The reversal of the split path moves square tiles of samples, two of which fit into work memory.
template <typename T>
constexpr Vek32s TileSideBits(Vek32s order)
{
    return !kIsDouble<T> || (kTier == 1 && order >= 19) ? 6 : 5;
}

template <typename T> constexpr int64_t TileCount(Vek32s order) { return (int64_t)1 << (order - 2 * TileSideBits<T>(order)); }

// The entries of the table that a kernel reads in its first stage.
constexpr int64_t FusedReversalCount(Vek32s order) { return Max((int64_t)1, ((int64_t)1 << order) / 32); }

template <typename T>
constexpr int64_t WorkBytes(Vek32s order)
{
    constexpr int64_t kPoint = 2 * sizeof(T);
    if (order < kFirstTableOrder)
        return 0;
    if (order <= kMergeOrder<T>)
        return kTier == 0 ? 0 : ((kPoint << order) + 31) & ~(int64_t)31;
    // Not less than two tiles of the large reversal.
    constexpr int kTwoLevelOrder = kIsDouble<T> ? (kTier == 1 ? 19 : 18) : (kTier == 1 ? 20 : 19);
    constexpr int64_t kTwoLevelBytes = !kIsDouble<T> ? 65536 : kTier == 1 ? 131072 : 32768;
    int64_t bytes = kTier > 0 && order >= kTwoLevelOrder ? kTwoLevelBytes : 0;
    for (; order > kMergeOrder<T>; order -= ColumnBits<T>(order))
        bytes = Max(bytes, kPoint << TileBits<T>(order));
    return kTier == 0 ? bytes : Max(bytes, kPoint << order);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
