// RGB to 4:2:0 planes in video range, and planes to BGR, by blocks of 2 by 2 pixels.
#include "colour/video_range.h"
#include "uvek/colour.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32s kQuadOffset = (1 << 15) - (128 << 18);

// ---- Forward: rows of pixels and of luma in pairs ----

void ForwardRows(const Vek8u* const src[2], Vek8u* const luma[2], Vek8u* pCb, Vek8u* pCr, Vek32s pairs)
{
    Vek32s i = 0;
    if constexpr (kBlocks) {
        for (; pairs - i >= 8; i += 8) {
            const Pixels16<3> upper = LoadPixels<3>(Offset(src[0], (int64_t)i * 6)), lower = LoadPixels<3>(Offset(src[1], (int64_t)i * 6));
            StoreU(Offset(luma[0], (int64_t)i * 2), LumaBytes(upper, kLumaWordOffsetNearest, kLumaWordOffsetNearest));
            StoreU(Offset(luma[1], (int64_t)i * 2), LumaBytes(lower, kLumaWordOffsetNearest, kLumaWordOffsetNearest));
            const PairSums sums = Add(SumPairs(upper), SumPairs(lower));
            const V cb = ChromaWords<17>(sums, kHalfCb, 1, 14), cr = ChromaWords<17>(sums, kHalfCr, 1, 14);
            const V both = Xor(Pack16sTo8s(cb, cr), Splat8(128));
            Store64(pCb + i, both);
            Store64(pCr + i, UnpackHigh64(both, both));
        }
    }
    for (; i < pairs; ++i) {
        Vek32s sum[3] = {};
        for (int y = 0; y < 2; ++y) {
            const Vek8u* const p = Offset(src[y], (int64_t)i * 6);
            Vek8u* const q = Offset(luma[y], (int64_t)i * 2);
            q[0] = LumaOf(p);
            q[1] = LumaOf(p + 3);
            for (int c = 0; c < 3; ++c)
                sum[c] += p[c] + p[c + 3];
        }
        pCb[i] = CbOf(sum[0], sum[1], sum[2], kQuadOffset, 18);
        pCr[i] = CrOf(sum[0], sum[1], sum[2], kQuadOffset, 18);
    }
}

// ---- Inverse ----

struct Doubled {
    V low, high;  // every word twice
};

inline Doubled Double(V v) { return {UnpackLow16(v, v), UnpackHigh16(v, v)}; }

void InverseRows(const Vek8u* const luma[2], const Vek8u* pCb, const Vek8u* pCr, Vek8u* const dst[2], Vek32s pairs)
{
    Vek32s i = 0;
    if constexpr (kBlocks) {
        const V zero = Zero(), centre = Splat8(128);
        for (; pairs - i >= 8; i += 8) {
            const V cb = UnpackLow8(zero, Xor(Load64(pCb + i), centre)), cr = UnpackLow8(zero, Xor(Load64(pCr + i), centre));
            const ChromaTerms terms = ChromaTermsOf(cb, cr, kBlackTerm - 8);  // 8 sixteenths round
            const Doubled r = Double(terms.r), g = Double(terms.g), b = Double(terms.b);
            for (int y = 0; y < 2; ++y) {
                const V samples = LoadU(Offset(luma[y], (int64_t)i * 2));
                const V low = LumaTerm(UnpackLow8(zero, samples)), high = LumaTerm(UnpackHigh8(zero, samples));
                StoreClamped3x8(Offset(dst[y], (int64_t)i * 6), ShiftRight16s<4>(Add16(low, b.low)), ShiftRight16s<4>(Add16(high, b.high)),
                                ShiftRight16s<4>(Add16(low, g.low)), ShiftRight16s<4>(Add16(high, g.high)),
                                ShiftRight16s<4>(Add16(low, r.low)), ShiftRight16s<4>(Add16(high, r.high)));
            }
        }
    }
    for (; i < pairs; ++i) {
        for (int k = 0; k < 4; ++k) {
            const Rgb pixel = RgbOf(Offset(luma[k / 2], (int64_t)i * 2)[k % 2], pCb[i], pCr[i], kBlackNearest);
            Vek8u* const q = Offset(dst[k / 2], (int64_t)i * 6) + k % 2 * 3;
            q[0] = pixel.b;
            q[1] = pixel.g;
            q[2] = pixel.r;
        }
    }
}

VekStatus OddOrOk(VekImageSize size) { return ((size.width | size.height) & 1) ? WarnOddSize : StatusOk; }

}  // namespace

VekStatus vekiRGBToYCbCr420_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], const Vek32s dstStep[3], VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (!pDst[0] || !pDst[1] || !pDst[2])         return StatusNullPointer;

    for (Vek32s y = 0; y < roiSize.height / 2; ++y) {
        const Vek8u* const src[2] = {Row(pSrc, srcStep, 2 * y), Row(pSrc, srcStep, 2 * y + 1)};
        Vek8u* const luma[2] = {Row(pDst[0], dstStep[0], 2 * y), Row(pDst[0], dstStep[0], 2 * y + 1)};
        ForwardRows(src, luma, Row(pDst[1], dstStep[1], y), Row(pDst[2], dstStep[2], y), roiSize.width / 2);
    }
    return OddOrOk(roiSize);
}

VekStatus vekiYCbCr420ToBGR_8u_P3C3R(const Vek8u* const pSrc[3], const Vek32s srcStep[3], Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (!pSrc[0] || !pSrc[1] || !pSrc[2])         return StatusNullPointer;

    for (Vek32s y = 0; y < roiSize.height / 2; ++y) {
        const Vek8u* const luma[2] = {Row(pSrc[0], srcStep[0], 2 * y), Row(pSrc[0], srcStep[0], 2 * y + 1)};
        Vek8u* const dst[2] = {Row(pDst, dstStep, 2 * y), Row(pDst, dstStep, 2 * y + 1)};
        InverseRows(luma, Row(pSrc[1], srcStep[1], y), Row(pSrc[2], srcStep[2], y), dst, roiSize.width / 2);
    }
    return OddOrOk(roiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
