// How a row is cut: whole blocks of 16 pixels, a half block, and the rest, fewer than 8 pixels, for the caller's scalar
// formula.
#ifndef UVEK_COLOUR_BLOCKS_H
#define UVEK_COLOUR_BLOCKS_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

// whole(src, dst, blocks, args...) converts `blocks` times 16 pixels of srcBytes to pixels of dstBytes, and
// half(src, dst, 1, args...) 8 of them. Returns the columns done.
template <int srcBytes, int dstBytes, typename Kernel, typename... Args>
inline Vek32s RunBlocks(Kernel whole, Kernel half, const Vek8u* pSrc, Vek8u* pDst, Vek32s width, Args... args)
{
    const Vek32s x = width & ~15;
    if (x > 0)
        whole(pSrc, pDst, width / 16, args...);
    if (width & 8)
        half(Offset(pSrc, (int64_t)x * srcBytes), Offset(pDst, (int64_t)x * dstBytes), 1, args...);
    return width & ~7;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
