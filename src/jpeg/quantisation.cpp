// Quantisation tables: a DQT segment's 64 steps scaled for a quality, and made ready for the two
// transforms. The steps stand in zigzag order in the segment and in row-major order in the prepared
// tables.
#include "frame/tier.h"
#include "uvek/jpeg.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// The row-major place of each position of the zigzag scan.
constexpr Vek8u kNaturalOfZigzag[64] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
};

// round(32768 / step), for steps of 1 to 255. The quotient has 16 more bits than the result; no step
// of a byte brings it near a tie, where the addition of two for an odd result would show.
Vek16u Reciprocal(Vek32u step)
{
    const Vek32u quotient = 0x80000000u / step;
    const Vek32u odd = quotient >> 16 & 1;
    return (Vek16u)((quotient + 2 * odd + 32767) >> 16);
}

}  // namespace

VekStatus vekiQuantFwdRawTableInit_JPEG_8u(Vek8u* pQuantRawTable, Vek32s qualityFactor)
{
    if (!pQuantRawTable)    return StatusNullPointer;
    if (qualityFactor < 1)  return StatusBadRange;

    // Past 100 the scale is negative and every entry 1, as at 100; the limit keeps it from overflowing.
    const Vek32s quality = Min(qualityFactor, 100);
    const Vek32s scale = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    for (int i = 0; i < 64; ++i)
        pQuantRawTable[i] = (Vek8u)Clamp((pQuantRawTable[i] * scale + 50) / 100, 1, 255);
    return StatusOk;
}

VekStatus vekiQuantFwdTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantFwdTable)
{
    if (!pQuantRawTable || !pQuantFwdTable)  return StatusNullPointer;

    VekStatus status = StatusOk;
    for (int k = 0; k < 64; ++k) {
        const Vek8u step = pQuantRawTable[k];
        if (step == 0)
            status = WarnDivideByZero;
        Put(pQuantFwdTable + kNaturalOfZigzag[k], step == 0 ? (Vek16u)65535 : Reciprocal(step));
    }
    return status;
}

VekStatus vekiQuantInvTableInit_JPEG_8u16u(const Vek8u* pQuantRawTable, Vek16u* pQuantInvTable)
{
    if (!pQuantRawTable || !pQuantInvTable)  return StatusNullPointer;

    for (int k = 0; k < 64; ++k)
        Put(pQuantInvTable + kNaturalOfZigzag[k], (Vek16u)pQuantRawTable[k]);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
