// The sweep of the fixed 3-row and 5-row kernels: each source row is filtered in x once, its results
// stand in a ring until the rows that need them are done, and a destination row combines them.
//
// A kernel is a type with
//   Src, Dst                                sample types
//   Row, Scalar(const Src*)                 one sample's row result, in scalar arithmetic
//   Combine(rows.., const Src* centre)      a destination sample of the row results, top to bottom
//   kBlock, BlockRow, Block(const Src*)     the same for kBlock samples at once
//   StoreBlock(const BlockRow&.., const Src* centre, Dst*)
//
// A row is written when its own and the next row's results are in the ring, so that a kernel that does
// not look at `centre` may work in place.
#ifndef UVEK_FILTER_SWEEP_H
#define UVEK_FILTER_SWEEP_H

#include "frame/memory.h"
#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Words of 16 neighbouring samples, at even and at odd places: a load of bytes splits into them with
// one mask and one shift, and loads one byte apart share halves.
struct WordPair {
    V even, odd;
};

inline V EvenBytes(V v) { return And(v, Splat16(0xff)); }
inline V OddBytes(V v) { return ShiftRight16u<8>(v); }

// Bytes of words that are 0 .. 255 already.
inline void StoreBytes(Vek8u* p, WordPair v) { StoreU(p, Or(v.even, ShiftLeft16<8>(v.odd))); }

// Bytes of signed words, saturated.
inline void StoreSaturated(Vek8u* p, WordPair v)
{
    const V halves = Pack16sTo8u(v.even, v.odd);
    StoreU(p, UnpackLow8(halves, BytesDown<8>(halves)));
}

// Blocks of `block` samples that cover a row, which is no shorter: the last one reaches back to end with it.
constexpr Vek32s BlockCount(Vek32s width, Vek32s block) { return (width - 1) / block + 1; }

// visit(number of the block, its first sample)
template <Vek32s block, typename Visit>
inline void ForEachBlock(Vek32s width, Visit visit)
{
    const Vek32s last = BlockCount(width, block) - 1;
    for (Vek32s i = 0; i < last; ++i)
        visit(i, i * block);
    visit(last, width - block);
}

template <typename Kernel>
void SweepBlocks3(const typename Kernel::Src* src, int64_t srcStep, typename Kernel::Dst* dst, int64_t dstStep, VekImageSize size,
                  typename Kernel::BlockRow* ring)
{
    typename Kernel::BlockRow* above = ring;
    typename Kernel::BlockRow* here = ring + BlockCount(size.width, Kernel::kBlock);
    ForEachBlock<Kernel::kBlock>(size.width, [=](Vek32s i, Vek32s x) {
        above[i] = Kernel::Block(Offset(src + x, -srcStep));
        here[i] = Kernel::Block(src + x);
    });
    for (Vek32s y = 0; y < size.height; ++y) {
        const auto* below = Offset(src, srcStep);
        ForEachBlock<Kernel::kBlock>(size.width, [=](Vek32s i, Vek32s x) {
            const auto next = Kernel::Block(below + x);
            Kernel::StoreBlock(above[i], here[i], next, src + x, dst + x);
            above[i] = next;
        });
        auto* const swap = above;
        above = here;
        here = swap;
        src = below;
        dst = Offset(dst, dstStep);
    }
}

template <typename Kernel>
void SweepScalar3(const typename Kernel::Src* src, int64_t srcStep, typename Kernel::Dst* dst, int64_t dstStep, VekImageSize size,
                  typename Kernel::Row* ring)
{
    typename Kernel::Row* above = ring;
    typename Kernel::Row* here = ring + size.width;
    for (Vek32s x = 0; x < size.width; ++x) {
        above[x] = Kernel::Scalar(Offset(src + x, -srcStep));
        here[x] = Kernel::Scalar(src + x);
    }
    for (Vek32s y = 0; y < size.height; ++y) {
        const auto* below = Offset(src, srcStep);
        for (Vek32s x = 0; x < size.width; ++x) {
            const auto next = Kernel::Scalar(below + x);
            Put(dst + x, Kernel::Combine(above[x], here[x], next, src + x));
            above[x] = next;
        }
        auto* const swap = above;
        above = here;
        here = swap;
        src = below;
        dst = Offset(dst, dstStep);
    }
}

// The first of some rows becomes their last.
template <typename T, int count>
inline void Rotate(T* (&rows)[count])
{
    T* const first = rows[0];
    for (int r = 0; r < count - 1; ++r)
        rows[r] = rows[r + 1];
    rows[count - 1] = first;
}

template <typename Kernel>
void SweepBlocks5(const typename Kernel::Src* src, int64_t srcStep, typename Kernel::Dst* dst, int64_t dstStep, VekImageSize size,
                  typename Kernel::BlockRow* ring)
{
    const Vek32s blocks = BlockCount(size.width, Kernel::kBlock);
    typename Kernel::BlockRow* rows[4];
    for (int r = 0; r < 4; ++r) {
        rows[r] = ring + (int64_t)r * blocks;
        ForEachBlock<Kernel::kBlock>(size.width, [&](Vek32s i, Vek32s x) {
            rows[r][i] = Kernel::Block(Offset(src + x, (r - 2) * srcStep));
        });
    }
    for (Vek32s y = 0; y < size.height; ++y) {
        const auto* lowest = Offset(src, 2 * srcStep);
        auto* const oldest = rows[0];
        const auto *const second = rows[1], *const third = rows[2], *const fourth = rows[3];
        // Not ForEachBlock, whose second call for the last block makes this long body 5 % slower.
        for (Vek32s i = 0; i < blocks; ++i) {
            const Vek32s x = Min(i * Kernel::kBlock, size.width - Kernel::kBlock);
            const auto next = Kernel::Block(lowest + x);
            Kernel::StoreBlock(oldest[i], second[i], third[i], fourth[i], next, src + x, dst + x);
            oldest[i] = next;
        }
        Rotate(rows);
        src = Offset(src, srcStep);
        dst = Offset(dst, dstStep);
    }
}

template <typename Kernel>
void SweepScalar5(const typename Kernel::Src* src, int64_t srcStep, typename Kernel::Dst* dst, int64_t dstStep, VekImageSize size,
                  typename Kernel::Row* ring)
{
    typename Kernel::Row* rows[4];
    for (int r = 0; r < 4; ++r) {
        rows[r] = ring + (int64_t)r * size.width;
        for (Vek32s x = 0; x < size.width; ++x)
            rows[r][x] = Kernel::Scalar(Offset(src + x, (r - 2) * srcStep));
    }
    for (Vek32s y = 0; y < size.height; ++y) {
        const auto* lowest = Offset(src, 2 * srcStep);
        for (Vek32s x = 0; x < size.width; ++x) {
            const auto next = Kernel::Scalar(lowest + x);
            Put(dst + x, Kernel::Combine(rows[0][x], rows[1][x], rows[2][x], rows[3][x], next, src + x));
            rows[0][x] = next;
        }
        Rotate(rows);
        src = Offset(src, srcStep);
        dst = Offset(dst, dstStep);
    }
}

// The whole of a call after its checks. Rows are swept at their full width: narrower strips would keep the
// ring in the first cache, and lose far more by visiting a page for every short run of a row.
template <typename Kernel, int rows>
VekStatus Sweep(const typename Kernel::Src* src, int64_t srcStep, typename Kernel::Dst* dst, int64_t dstStep, VekImageSize size)
{
    constexpr int kept = rows - 1;
    const bool blocks = kBlocks && size.width >= Kernel::kBlock;
    const int64_t rowBytes = blocks ? BlockCount(size.width, Kernel::kBlock) * (int64_t)sizeof(typename Kernel::BlockRow)
                                    : size.width * (int64_t)sizeof(typename Kernel::Row);
    void* ring = AllocateBlock(kept * rowBytes);
    if (!ring)
        return StatusNoMemory;
    if (blocks) {
        if constexpr (rows == 3)
            SweepBlocks3<Kernel>(src, srcStep, dst, dstStep, size, (typename Kernel::BlockRow*)ring);
        else
            SweepBlocks5<Kernel>(src, srcStep, dst, dstStep, size, (typename Kernel::BlockRow*)ring);
    } else {
        if constexpr (rows == 3)
            SweepScalar3<Kernel>(src, srcStep, dst, dstStep, size, (typename Kernel::Row*)ring);
        else
            SweepScalar5<Kernel>(src, srcStep, dst, dstStep, size, (typename Kernel::Row*)ring);
    }
    ReleaseBlock(ring);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
