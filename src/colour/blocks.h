// How a row is cut: whole blocks of 16 pixels where they lie, a half block through a copy, and the rest,
// fewer than 8 pixels, for the caller's scalar formula.
#ifndef UVEK_COLOUR_BLOCKS_H
#define UVEK_COLOUR_BLOCKS_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

// kernel(src, dst, blocks, args...) converts `blocks` times 16 pixels of srcBytes to pixels of dstBytes. Returns
// the columns done. src may be dst.
template <int srcBytes, int dstBytes, typename Kernel, typename... Args>
inline Vek32s RunBlocks(Kernel kernel, const Vek8u* pSrc, Vek8u* pDst, Vek32s width, Args... args)
{
    const Vek32s whole = width & ~15;
    kernel(pSrc, pDst, width / 16, args...);
    if (width & 8) {
        Vek8u in[16 * srcBytes] = {}, out[16 * dstBytes];
        memcpy(in, Offset(pSrc, (int64_t)whole * srcBytes), 8 * srcBytes);
        kernel(in, out, 1, args...);
        memcpy(Offset(pDst, (int64_t)whole * dstBytes), out, 8 * dstBytes);
    }
    return width & ~7;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
