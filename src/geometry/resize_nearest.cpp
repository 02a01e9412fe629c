// Nearest pixel: each destination row is a selection from one source row.
#include "geometry/resize.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// safe: columns that may read and write four bytes.
template <int pixelBytes>
void SelectPixels(const Vek8u* src, const Vek32s* index, Vek8u* dst, Vek32s k, Vek32s safe, Vek32s columns)
{
    if (kBlocks && pixelBytes > 1)
        for (; safe - k >= 4; k += 4) {  // at three bytes the fourth is overwritten by the next pixel
            Vek8u* const to = dst + (int64_t)k * pixelBytes;
            const Vek32u a = Get((const Vek32u*)(src + index[k])), b = Get((const Vek32u*)(src + index[k + 1]));
            const Vek32u c = Get((const Vek32u*)(src + index[k + 2])), d = Get((const Vek32u*)(src + index[k + 3]));
            Put((Vek32u*)to, a);
            Put((Vek32u*)(to + pixelBytes), b);
            Put((Vek32u*)(to + 2 * pixelBytes), c);
            Put((Vek32u*)(to + 3 * pixelBytes), d);
        }
    if (kBlocks && pixelBytes == 1)
        for (; columns - k >= 4; k += 4) {
            const Vek32u ab = src[index[k]] | (Vek32u)src[index[k + 1]] << 8, cd = src[index[k + 2]] | (Vek32u)src[index[k + 3]] << 8;
            Put((Vek32u*)(dst + k), ab | cd << 16);
        }
    for (; k < columns; ++k)
        memcpy(dst + (int64_t)k * pixelBytes, src + index[k], pixelBytes);
}

// 16 destination bytes come from one run of 16 source bytes, or from two.
struct Selection {
    Vek32s* offset;
    Window* windows;
    Vek32s blocks;
};

bool BuildPairs(Vek32s blocks, int64_t first, int64_t limit, const Vek32s* index, int pixelBytes, const Selection& selection)
{
    for (Vek32s b = 0; b < blocks; ++b) {
        const auto source = [&](int j) {
            const int64_t byte = (int64_t)b * 16 + j;
            return (int64_t)index[byte / pixelBytes] + byte % pixelBytes;
        };
        int64_t low = source(0), high = low;
        for (int j = 1; j < 16; ++j) {
            low = Min(low, source(j));
            high = Max(high, source(j));
        }
        const int64_t base = Min(low, limit - 32);
        if (base < first || high - base > 31)
            return false;
        selection.offset[b] = (Vek32s)base;
        for (int j = 0; j < 16; ++j) {
            const Vek8u at = (Vek8u)(source(j) - base);
            selection.windows[2 * b].shuffle[j] = at < 16 ? at : (Vek8u)128;
            selection.windows[2 * b + 1].shuffle[j] = at < 16 ? (Vek8u)128 : (Vek8u)(at - 16);
        }
    }
    return true;
}

void SelectSingles(const Vek8u* src, const Selection& selection, Vek8u* dst)
{
    for (Vek32s b = 0; b < selection.blocks; ++b)
        StoreU(dst + (int64_t)b * 16, Shuffle8(LoadU(src + selection.offset[b]), LoadU(selection.windows + b)));
}

void SelectPairs(const Vek8u* src, const Selection& selection, Vek8u* dst)
{
    for (Vek32s b = 0; b < selection.blocks; ++b) {
        const Vek8u* const from = src + selection.offset[b];
        const V low = Shuffle8(LoadU(from), LoadU(selection.windows + 2 * b));
        const V high = Shuffle8(LoadU(from + 16), LoadU(selection.windows + 2 * b + 1));
        StoreU(dst + (int64_t)b * 16, Or(low, high));
    }
}

template <int pixelBytes>
VekStatus Nearest(const ResizeJob& job)
{
    const Vek32s columns = job.x.length;
    const int64_t rowBytes = (int64_t)columns * pixelBytes;
    const Block<Vek32s> yIndex(job.y.length), xIndex(columns);
    if (!yIndex || !xIndex)
        return StatusNoMemory;
    NearestTable(job.y, 1, yIndex);
    NearestTable(job.x, pixelBytes, xIndex);

    const Vek32s blocks = kHasByteShuffle ? (Vek32s)(rowBytes / 16) : 0;
    const Block<Vek32s> offset(blocks + 1);
    const Block<Window> windows(2 * (int64_t)blocks + 1);
    if (!offset || !windows)
        return StatusNoMemory;
    const Selection selection = {offset, windows, blocks};
    const int64_t first = -(int64_t)job.x.origin * pixelBytes, limit = ((int64_t)job.x.last() + 1) * pixelBytes;
    const Vek32s* const index = xIndex;
    const auto source = [=](Vek32s b, int j) {
        const int64_t byte = (int64_t)b * 16 + j;
        return (int64_t)index[byte / pixelBytes] + byte % pixelBytes;
    };
    // The last column's fourth byte would be outside of the row on either side.
    const Vek32s safe = Min(columns - 1, SafeColumns(index, columns, 4, limit));
    const bool singles = blocks > 0 && BuildWindows<1>(blocks, first, limit, source, offset, windows);
    // Two runs for four pixels of four bytes would be no gain on four copies.
    const bool pairs = blocks > 0 && !singles && pixelBytes < 4 && BuildPairs(blocks, first, limit, index, pixelBytes, selection);
    // The first pixel that is not whole inside the blocks.
    const Vek32s tail = singles || pairs ? (Vek32s)((int64_t)blocks * 16 / pixelBytes) : 0;

    for (Vek32s y = 0; y < job.y.length; ++y) {
        Vek8u* const dst = Row(job.dst, job.dstStep, y);
        if (y > 0 && yIndex[y] == yIndex[y - 1]) {
            memmove(dst, Row(job.dst, job.dstStep, y - 1), (size_t)rowBytes);
            continue;
        }
        const Vek8u* const src = Row(job.src, job.srcStep, yIndex[y]);
        if (singles)
            SelectSingles(src, selection, dst);
        else if (pairs)
            SelectPairs(src, selection, dst);
        SelectPixels<pixelBytes>(src, xIndex, dst, tail, safe, columns);
    }
    return StatusOk;
}

}  // namespace

const ResizeKernel kNearestKernels[kSampleKinds] = {Nearest<1>, Nearest<3>, Nearest<4>, Nearest<4>};

}  // namespace uvek::VEK_TIER_NAMESPACE
