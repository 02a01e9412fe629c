// One channel spread to three.
#include "frame/simd_interleave.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

void DuplicateRow(const Vek8u* src, Vek8u* dst, Vek32s width)
{
    int64_t x = 0;
    if (kBlocks && kHasByteShuffle) {
        const V first = Lanes8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
        const V second = Lanes8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
        const V third = Lanes8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
        for (; width - x >= 16; x += 16) {
            const V v = LoadU(src + x);
            StoreU(dst + x * 3, Shuffle8(v, first));
            StoreU(dst + x * 3 + 16, Shuffle8(v, second));
            StoreU(dst + x * 3 + 32, Shuffle8(v, third));
        }
    } else if (kBlocks) {
        // Two pixels are six bytes of eight: the next ones write over the rest.
        const V first = Splat64(0xffffff), second = Splat64(0xffffff000000);
        for (; width - x >= 9; x += 8) {
            const V v = Load64(src + x), twice = UnpackLow8(v, v);
            const auto store4 = [=](Vek8u* to, V fourTimes) {
                const V pixels = Or(And(fourTimes, first), And(ShiftRight64u<8>(fourTimes), second));
                Store64(to, pixels);
                StoreHigh64(to + 6, pixels);
            };
            store4(dst + x * 3, UnpackLow16(twice, twice));
            store4(dst + x * 3 + 12, UnpackHigh16(twice, twice));
        }
    }
    for (; x < width; ++x)
        dst[x * 3] = dst[x * 3 + 1] = dst[x * 3 + 2] = src[x];
}

}  // namespace

VekStatus vekiDup_8u_C1C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        DuplicateRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), roiSize.width);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
