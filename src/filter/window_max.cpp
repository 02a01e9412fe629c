// The window maximum. Blocks do large masks in passes whose number does not depend on the mask: a row's maxima
// of up to 16 samples by doubling, those of longer runs and those of columns by the two-sided scan of
// van Herk (1992) and Gil and Werman (1993).
#include "filter/sweep.h"
#include "image/copy.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct Window {
    const Vek8u* src;  // the first window's first sample
    Vek32s srcStep;
    VekImageSize size, mask;
};

// ---- Tier 0: row maxima in a ring of mask.height rows ----

void RowMaxima(const Vek8u* src, Vek8u* dst, Vek32s width, Vek32s maskWidth)
{
    for (Vek32s x = 0; x < width; ++x) {
        Vek8u largest = src[x];
        for (Vek32s n = 1; n < maskWidth; ++n)
            largest = Max(largest, src[(int64_t)x + n]);
        dst[x] = largest;
    }
}

bool MaxScalar(const Window& w, Vek8u* dst, Vek32s dstStep)
{
    const int64_t stride = ((int64_t)w.size.width + 31) & ~(int64_t)31;
    auto* ring = (Vek8u*)AllocateBlock(stride * w.mask.height);
    if (!ring)
        return false;
    for (Vek32s m = 0; m < w.mask.height - 1; ++m)
        RowMaxima(Row(w.src, w.srcStep, m), ring + m * stride, w.size.width, w.mask.width);
    Vek32s newest = w.mask.height - 1;
    for (Vek32s y = 0; y < w.size.height; ++y) {
        const Vek8u* src = Offset(w.src, ((int64_t)y + w.mask.height - 1) * w.srcStep);
        RowMaxima(src, ring + newest * stride, w.size.width, w.mask.width);
        newest = newest + 1 == w.mask.height ? 0 : newest + 1;
        Vek8u* to = Row(dst, dstStep, y);
        for (Vek32s x = 0; x < w.size.width; ++x) {
            Vek8u largest = ring[x];
            for (Vek32s m = 1; m < w.mask.height; ++m)
                largest = Max(largest, ring[m * stride + x]);
            to[x] = largest;
        }
    }
    ReleaseBlock(ring);
    return true;
}

// ---- Small masks: every sample of the window is loaded ----

constexpr Vek32s kSmall = 8;

template <int maskWidth>
inline V RowMaximum(const Vek8u* p)
{
    V largest = LoadU(p);
    for (int n = 1; n < maskWidth; ++n)
        largest = Max8u(largest, LoadU(p + n));
    return largest;
}

// A destination row in blocks; `kept` earlier rows' maxima stand in the ring, `oldest` makes way. knownKept: the same
// for heights that are met often, otherwise 0.
template <int maskWidth, int knownKept>
void SmallMaskRow(const Vek8u* newest, Vek8u* dst, Vek32s width, V* ring, Vek32s kept, Vek32s oldest)
{
    const int64_t blocks = BlockCount(width, 16);
    if (knownKept > 0)
        kept = knownKept;
    ForEachBlock<16>(width, [=](Vek32s i, Vek32s x) {
        const V here = RowMaximum<maskWidth>(newest + x);
        V largest = here;
        for (Vek32s r = 0; r < kept; ++r)
            largest = Max8u(largest, ring[r * blocks + i]);
        ring[oldest * blocks + i] = here;
        if (dst)
            StoreU(dst + x, largest);
    });
}

bool MaxOfSmallMask(const Window& w, Vek8u* dst, Vek32s dstStep)
{
    constexpr decltype(&SmallMaskRow<1, 0>) rows[kSmall] = {SmallMaskRow<1, 0>, SmallMaskRow<2, 0>, SmallMaskRow<3, 0>, SmallMaskRow<4, 0>,
                                                            SmallMaskRow<5, 0>, SmallMaskRow<6, 0>, SmallMaskRow<7, 0>, SmallMaskRow<8, 0>};
    const auto any = rows[w.mask.width - 1];
    const Vek32s kept = w.mask.height - 1;
    const bool square = w.mask.width == w.mask.height;
    const auto row = square && kept == 2 ? SmallMaskRow<3, 2> : square && kept == 4 ? SmallMaskRow<5, 4> : any;
    auto* ring = (V*)AllocateBlock((int64_t)BlockCount(w.size.width, 16) * Max(kept, 1) * (int64_t)sizeof(V));
    if (!ring)
        return false;
    for (Vek32s m = 0; m < kept; ++m)
        any(Row(w.src, w.srcStep, m), nullptr, w.size.width, ring, 0, m);
    for (Vek32s y = 0, oldest = 0; y < w.size.height; ++y) {
        row(Offset(w.src, ((int64_t)y + kept) * w.srcStep), Row(dst, dstStep, y), w.size.width, ring, kept, oldest);
        oldest = oldest + 1 >= kept ? 0 : oldest + 1;
    }
    ReleaseBlock(ring);
    return true;
}

// ---- Any mask ----

// a[x] = max(a[x], a[x + distance]), from left to right: nothing is read that was written.
void Widen(Vek8u* a, int64_t distance, int64_t bytes)
{
    for (int64_t x = 0; x < bytes; x += 16)
        StoreA(a + x, Max8u(LoadA(a + x), LoadU(a + x + distance)));
}

// out[i] = the maximum of the blocks a[i] .. a[i + run - 1], run > 1: a scan from the right within each
// run of blocks, and one from the left in the run that follows it.
void MaximaOfBlocks(const V* a, V* out, int64_t count, int64_t run)
{
    for (int64_t first = 0; first < count; first += run) {
        V largest = a[first + run - 1];
        for (int64_t i = run - 1;; --i) {
            largest = Max8u(largest, a[first + i]);
            if (first + i < count)
                out[first + i] = largest;
            if (i == 0)
                break;
        }
        largest = a[first + run];
        for (int64_t i = 1; i < run && first + i < count; ++i) {
            out[first + i] = Max8u(out[first + i], largest);
            largest = Max8u(largest, a[first + run + i]);
        }
    }
}

// Scratch rows of one call, in bytes.
struct RowScratch {
    Vek8u* copy;     // the source row, then maxima of up to 16 samples; zeros behind it
    Vek8u* longRun;  // maxima of whole blocks
    int64_t copyBytes;
};

// The row's maxima, in whole blocks.
void RowMaximaBlocks(const Window& w, const Vek8u* src, const RowScratch& scratch, Vek8u* dst, int64_t dstBytes)
{
    const int64_t read = (int64_t)w.size.width + w.mask.width - 1;
    Vek8u* copy = scratch.copy;
    memcpy(copy, src, (size_t)read);
    memset(copy + read, 0, (size_t)(scratch.copyBytes - read));
    int64_t run = 1;
    for (; run < 16 && 2 * run <= w.mask.width; run *= 2)
        Widen(copy, run, scratch.copyBytes - 16);
    const Vek8u* blocks = copy;
    if (w.mask.width >= 32) {
        MaximaOfBlocks((const V*)copy, (V*)scratch.longRun, dstBytes / 16, w.mask.width / 16);
        blocks = scratch.longRun;
    }
    const int64_t rest = w.mask.width - run;
    for (int64_t x = 0; x < dstBytes; x += 16)
        StoreA(dst + x, Max8u(LoadA(blocks + x), LoadU(copy + x + rest)));
}

// The larger of two rows of blocks, as the destination row.
void StoreMaxima(const Vek8u* a, const Vek8u* b, Vek8u* dst, Vek32s width)
{
    if (width < 16) {
        alignas(16) Vek8u block[16];
        StoreA(block, Max8u(LoadA(a), LoadA(b)));
        memcpy(dst, block, (size_t)width);
        return;
    }
    for (Vek32s i = 0; i <= (width - 1) / 16; ++i) {
        const Vek32s x = Min(16 * i, width - 16);
        StoreU(dst + x, Max8u(LoadU(a + x), LoadU(b + x)));
    }
}

void Accumulate(Vek8u* a, const Vek8u* b, int64_t bytes)
{
    for (int64_t x = 0; x < bytes; x += 16)
        StoreA(a + x, Max8u(LoadA(a + x), LoadA(b + x)));
}

// The scan over rows. Slots hold the row maxima of mask.height rows, scanned upward in place; as a
// slot's destination row is done, it takes a row of the next run, which `ahead` has scanned downward.
bool MaxBlocks(const Window& w, Vek8u* dst, Vek32s dstStep)
{
    const int64_t rowBytes = ((int64_t)w.size.width + 15) & ~(int64_t)15;
    const int64_t copyBytes = rowBytes + (((int64_t)w.mask.width + 15) & ~(int64_t)15) + 32;
    const int64_t run = w.mask.height;
    auto* rows = (Vek8u*)AllocateBlock(rowBytes * (run + 1));
    auto* work = (Vek8u*)AllocateBlock(copyBytes + rowBytes);
    const bool done = rows && work;
    if (done) {
        const RowScratch scratch = {work, work + copyBytes, copyBytes};
        Vek8u* ahead = rows + run * rowBytes;
        const auto fill = [&](int64_t y, int64_t slot) {
            RowMaximaBlocks(w, Offset(w.src, y * w.srcStep), scratch, rows + slot * rowBytes, rowBytes);
        };
        for (int64_t i = 0; i < run; ++i)
            fill(i, i);
        for (int64_t y = 0; y < w.size.height; y += run) {
            for (int64_t i = run - 2; i >= 0; --i)
                Accumulate(rows + i * rowBytes, rows + (i + 1) * rowBytes, rowBytes);
            StoreMaxima(rows, rows, Offset(dst, y * dstStep), w.size.width);
            memset(ahead, 0, (size_t)rowBytes);
            for (int64_t i = 1; i < run && y + i < w.size.height; ++i) {
                fill(y + run + i - 1, i - 1);
                Accumulate(ahead, rows + (i - 1) * rowBytes, rowBytes);
                StoreMaxima(rows + i * rowBytes, ahead, Offset(dst, (y + i) * dstStep), w.size.width);
            }
            if (y + run < w.size.height)
                fill(y + 2 * run - 1, run - 1);
        }
    }
    ReleaseBlock(work);
    ReleaseBlock(rows);
    return done;
}

}  // namespace

VekStatus vekiFilterMax_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               VekImageSize maskSize, VekPoint anchor)
{
    if (!pSrc || !pDst)                                  return StatusNullPointer;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)   return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)                      return StatusBadStep;
    if (maskSize.width < 1 || maskSize.height < 1)       return StatusBadMaskSize;
    if (anchor.x < 0 || anchor.x >= maskSize.width || anchor.y < 0 || anchor.y >= maskSize.height)
        return StatusBadAnchor;

    if (maskSize.width == 1 && maskSize.height == 1) {
        CopyRegion(pSrc, srcStep, pDst, dstStep, dstRoiSize.width, dstRoiSize.height, 1);
        return StatusOk;
    }
    const Window w = {Offset(pSrc, -(int64_t)anchor.y * srcStep - anchor.x), srcStep, dstRoiSize, maskSize};
    const bool small = maskSize.width <= kSmall && maskSize.height <= kSmall && dstRoiSize.width >= 16;
    const bool done = !kBlocks ? MaxScalar(w, pDst, dstStep) : small ? MaxOfSmallMask(w, pDst, dstStep) : MaxBlocks(w, pDst, dstStep);
    return done ? StatusOk : StatusNoMemory;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
