// Weighted sums of three channels, in 8 bits by fixed point and in 16 bits by single precision.
#include "colour/blocks.h"
#include "colour/groups.h"
#include "frame/simd_float.h"
#include "uvek/colour.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- 8 bits ----

struct FixedWeights {
    Vek32u k[3];  // 12-bit fractions
};

constexpr FixedWeights kDefaultFixed = {{1225, 2404, 467}};

FixedWeights ToFixed(const Vek32f* coeffs)
{
    if (!coeffs)
        return kDefaultFixed;
    FixedWeights weights;
    for (int i = 0; i < 3; ++i) {
        // The instruction, as any weight is taken: a cast leaves the range of int undefined.
        const Vek64f scaled = (Vek64f)Get(coeffs + i) * 4096.0 + 0.5;
        weights.k[i] = (Vek32u)Low32(Truncate32s(SplatD(scaled)));
    }
    return weights;
}

// Products keep 4 fraction bits.
inline V GrayWords(const Products& p) { return ShiftRight16u<4>(AddSat16u(AddSat16u(p.r, p.g), p.b)); }

template <int channels, int count>
void GrayBlocks(const Vek8u* src, Vek8u* dst, Vek32s blocks, ProductWeights weights)
{
    for (; blocks > 0; --blocks, src += 16 * channels, dst += 16) {
        const Pixels16<channels> pixels = LoadPixels<channels, count>(src);
        StoreBytes<count>(dst, Pack16sTo8u(GrayWords(HighProducts<0>(pixels, weights)), GrayWords(HighProducts<1>(pixels, weights))));
    }
}

template <int channels>
void GrayRow(const Vek8u* pSrc, Vek8u* pDst, Vek32s width, const FixedWeights& weights)
{
    const Vek32u* const k = weights.k;
    Vek32s x = 0;
    if (kBlocks)
        x = RunBlocks<channels, 1>(GrayBlocks<channels, 16>, GrayBlocks<channels, 8>, pSrc, pDst, width, ProductWeights((int)k[0], (int)k[1], (int)k[2]));
    for (; x < width; ++x) {
        const Vek8u* const p = Offset(pSrc, (int64_t)x * channels);
        pDst[x] = (Vek8u)((p[0] * k[0] + p[1] * k[1] + p[2] * k[2]) >> 12);
    }
}

template <int channels>
VekStatus ToGray(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f* coeffs)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    const FixedWeights weights = ToFixed(coeffs);
    for (Vek32s y = 0; y < roiSize.height; ++y)
        GrayRow<channels>(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), roiSize.width, weights);
    return StatusOk;
}

// ---- 16 bits ----

struct FloatWeights {
    Vek32f k[3];
};

// A channel of four pixels in 32 bits each: the two registers that hold 24 bytes have them in different lanes.
struct ThreeOf4Pixels {
    V a, b, c;

    explicit ThreeOf4Pixels(const Vek16u* p)
    {
        const V low = LoadU(p), high = LoadU(p + 4);
        a = Shuffle8(MergeWords<1 << 5, 0>(low, high, low), Lanes8(0, 1, -1, -1, 6, 7, -1, -1, 12, 13, -1, -1, 10, 11, -1, -1));
        b = Shuffle8(MergeWords<1 << 6, 0>(low, high, low), Lanes8(2, 3, -1, -1, 8, 9, -1, -1, 14, 15, -1, -1, 12, 13, -1, -1));
        c = Shuffle8(MergeWords<1 << 4 | 1 << 7, 0>(low, high, low), Lanes8(4, 5, -1, -1, 10, 11, -1, -1, 8, 9, -1, -1, 14, 15, -1, -1));
    }
};

inline V Weighted(V a, V b, V c, F ka, F kb, F kc)
{
    return Truncate32s(Add(Add(Mul(ToFloat(a), ka), Mul(ToFloat(b), kb)), Mul(ToFloat(c), kc)));
}

// The low halves of eight 32-bit lanes.
inline V LowWords(V low, V high)
{
    if constexpr (VEK_TIER >= 3) {
        const V mask = Splat32(0xffff);
        return Pack32sTo16u(And(low, mask), And(high, mask));
    }
    return Pack32sTo16s(ShiftRight32s<16>(ShiftLeft32<16>(low)), ShiftRight32s<16>(ShiftLeft32<16>(high)));
}

template <int channels>
void GrayRow(const Vek16u* pSrc, Vek16u* pDst, Vek32s width, const FloatWeights& weights)
{
    const Vek32f* const k = weights.k;
    Vek32s x = 0;
    if (kBlocks) {
        const F ka = SplatF(k[0]), kb = SplatF(k[1]), kc = SplatF(k[2]);
        for (; width - x >= 8; x += 8) {
            const Vek16u* const p = Offset(pSrc, (int64_t)x * channels * 2);
            V low, high;
            if constexpr (VEK_TIER >= 3 && channels == 3) {
                const ThreeOf4Pixels left(p), right(p + 12);
                low = Weighted(left.a, left.b, left.c, ka, kb, kc);
                high = Weighted(right.a, right.b, right.c, ka, kb, kc);
            } else {
                V a = LoadU(p), b = LoadU(p + 8), c = LoadU(p + 16);
                if constexpr (channels == 4) {
                    V alpha = LoadU(p + 24);
                    Deinterleave4x16(a, b, c, alpha);
                } else {
                    Deinterleave3x16(a, b, c);
                }
                low = Weighted(WidenLow16u(a), WidenLow16u(b), WidenLow16u(c), ka, kb, kc);
                high = Weighted(WidenHigh16u(a), WidenHigh16u(b), WidenHigh16u(c), ka, kb, kc);
            }
            StoreU(pDst + x, LowWords(low, high));
        }
    }
    for (; x < width; ++x) {
        const Vek16u* const p = Offset(pSrc, (int64_t)x * channels * 2);
        const Vek32f sum = (Vek32f)Get(p) * k[0] + (Vek32f)Get(p + 1) * k[1] + (Vek32f)Get(p + 2) * k[2];
        Put(pDst + x, (Vek16u)Low32(Truncate32s(SplatF(sum))));
    }
}

template <int channels>
VekStatus ToGray(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f* coeffs)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    FloatWeights weights = {{0.299f, 0.587f, 0.114f}};
    if (coeffs)
        memcpy(weights.k, coeffs, sizeof weights.k);
    // Steps are taken in whole samples.
    for (Vek32s y = 0; y < roiSize.height; ++y)
        GrayRow<channels>(Row(pSrc, srcStep & ~1, y), Row(pDst, dstStep & ~1, y), roiSize.width, weights);
    return StatusOk;
}

}  // namespace

VekStatus vekiColorToGray_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3])
{
    return ToGray<3>(pSrc, srcStep, pDst, dstStep, roiSize, coeffs);
}

VekStatus vekiColorToGray_8u_AC4C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3])
{
    return ToGray<4>(pSrc, srcStep, pDst, dstStep, roiSize, coeffs);
}

VekStatus vekiColorToGray_16u_C3C1R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3])
{
    return ToGray<3>(pSrc, srcStep, pDst, dstStep, roiSize, coeffs);
}

VekStatus vekiColorToGray_16u_AC4C1R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32f coeffs[3])
{
    return ToGray<4>(pSrc, srcStep, pDst, dstStep, roiSize, coeffs);
}

VekStatus vekiRGBToGray_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return ToGray<3>(pSrc, srcStep, pDst, dstStep, roiSize, nullptr);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
