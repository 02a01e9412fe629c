// Rows to columns. Tiles of at most 64 by 64 keep the strided side in the cache.
#include "frame/frame.h"
#include "frame/simd.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// A W x H region of the source to an H x W region of the destination.
struct Transposition {
    const Vek8u* src;
    Vek32s srcStep;
    Vek8u* dst;
    Vek32s dstStep;
};

void TransposeSamples(const Transposition& t, Vek32s x0, Vek32s y0, Vek32s width, Vek32s height)
{
    for (Vek32s x = x0; x < x0 + width; ++x) {
        Vek8u* const to = Row(t.dst, t.dstStep, x);
        for (Vek32s y = y0; y < y0 + height; ++y)
            to[y] = Row(t.src, t.srcStep, y)[x];
    }
}

// Four rounds in which register i takes up byte pairs of i and i + 8: byte (r, c) of the 16 x 16 block
// is at 16 r + c, and a round turns the eight bits of that address by one.
inline void Transpose16x16(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep)
{
    V a[16], b[16];
    for (int i = 0; i < 16; ++i)
        a[i] = LoadU(Row(src, srcStep, i));
    for (int i = 0; i < 8; ++i) {
        b[2 * i] = UnpackLow8(a[i], a[i + 8]);
        b[2 * i + 1] = UnpackHigh8(a[i], a[i + 8]);
    }
    for (int i = 0; i < 8; ++i) {
        a[2 * i] = UnpackLow8(b[i], b[i + 8]);
        a[2 * i + 1] = UnpackHigh8(b[i], b[i + 8]);
    }
    for (int i = 0; i < 8; ++i) {
        b[2 * i] = UnpackLow8(a[i], a[i + 8]);
        b[2 * i + 1] = UnpackHigh8(a[i], a[i + 8]);
    }
    for (int i = 0; i < 8; ++i) {
        StoreU(Row(dst, dstStep, 2 * i), UnpackLow8(b[i], b[i + 8]));
        StoreU(Row(dst, dstStep, 2 * i + 1), UnpackHigh8(b[i], b[i + 8]));
    }
}

void TransposeTile(const Transposition& t, Vek32s x0, Vek32s y0, Vek32s width, Vek32s height)
{
    if (!kBlocks || width < 16 || height < 16)
        return TransposeSamples(t, x0, y0, width, height);
    // The last block of a row or column of blocks reaches back: it does some samples twice.
    for (Vek32s x = 0; x < width; x += 16) {
        const Vek32s bx = x0 + Min(x, width - 16);
        for (Vek32s y = 0; y < height; y += 16) {
            const Vek32s by = y0 + Min(y, height - 16);
            Transpose16x16(Row(t.src, t.srcStep, by) + bx, t.srcStep, Row(t.dst, t.dstStep, bx) + by, t.dstStep);
        }
    }
}

constexpr Vek32s kTile = 64, kTileOfTiles = 512;

// Columns of tiles, each from top to bottom.
void TransposeTiles(const Transposition& t, Vek32s x0, Vek32s y0, Vek32s width, Vek32s height)
{
    for (Vek32s x = 0, w; x < width; x += w) {
        w = Min(kTile, width - x);
        for (Vek32s y = 0, h; y < height; y += h) {
            h = Min(kTile, height - y);
            TransposeTile(t, x0 + x, y0 + y, w, h);
        }
    }
}

// Whether tiles of tiles pay: the image is wide, whole tiles throughout, and outgrows the cache.
bool OutgrowsCache(const Transposition& t, VekImageSize size)
{
    if (kTier < 2 || size.width <= 1024 || size.width % 64 != 0 || size.height % 64 != 0)
        return false;
    if (t.srcStep % 16 != 0 || !IsAligned(t.src, 16) || t.dstStep % 64 != 0 || !IsAligned(t.dst, 64))
        return false;
    Vek32s cache = 0;
    vekGetMaxCacheSize(&cache);
    return cache < WrappedProduct(WrappedProduct(2, size.width), size.height);
}

}  // namespace

VekStatus vekiTranspose_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    const Transposition t = {pSrc, srcStep, pDst, dstStep};
    const Vek32s width = roiSize.width, height = roiSize.height;
    if (OutgrowsCache(t, roiSize)) {
        for (Vek32s x = 0, w; x < width; x += w) {
            w = Min(kTileOfTiles, width - x);
            for (Vek32s y = 0, h; y < height; y += h) {
                h = Min(kTileOfTiles, height - y);
                TransposeTiles(t, x, y, w, h);
            }
        }
    } else {
        TransposeTiles(t, 0, 0, width, height);
    }
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
