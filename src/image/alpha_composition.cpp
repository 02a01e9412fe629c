// Two images composed with constant alphas, by the rules of T. Porter and T. Duff, "Compositing
// Digital Images" (1984). Samples are plain, or in the Premul types already multiplied by alpha.
#include "frame/simd.h"
#include "image/copy.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// What a composition does to a sample of either image, d being DivideBy255: the sum of
// d(outer d(inner s)) of both. A factor of 255 changes nothing, as d(255 s) is s.
struct Composition {
    Vek8u inner1, outer1;
    Vek8u inner2, outer2;
    bool saturates;  // or else the sum's low 8 bits are kept
};

constexpr Vek8u kKeep = 255, kDrop = 0;

Composition Compose(Vek32u type, Vek8u a1, Vek8u a2)
{
    const auto not1 = (Vek8u)(255 - a1), not2 = (Vek8u)(255 - a2);
    switch (type) {
    case AlphaOver:       return {kKeep, a1, a2, not1, false};
    case AlphaIn:         return {a1, a2, kKeep, kDrop, false};
    case AlphaOut:        return {a1, not2, kKeep, kDrop, false};
    case AlphaATop:       return {a1, a2, a2, not1, false};
    case AlphaXor:        return {a1, not2, a2, not1, false};
    case AlphaPlus:       return {kKeep, a1, kKeep, a2, true};
    case AlphaOverPremul: return {kKeep, kKeep, kKeep, not1, true};
    case AlphaInPremul:   return {kKeep, a2, kKeep, kDrop, true};
    case AlphaOutPremul:  return {kKeep, not2, kKeep, kDrop, true};
    case AlphaATopPremul: return {kKeep, a2, kKeep, not1, true};
    case AlphaXorPremul:  return {kKeep, not2, kKeep, not1, true};
    default:              return {kKeep, kKeep, kKeep, kKeep, true};  // AlphaPlusPremul
    }
}

// Of a product of two bytes: the result is a byte again.
inline Vek32u DivideBy255(Vek32u x)
{
    return (x + (x >> 8) + 1) >> 8;
}

// (x + (x >> 8) + 1) >> 8 is (257 x + 256) >> 16, and 257 (x + 1) is one more, which reaches no other
// multiple of 65536 below x = 65535; the largest product is 65025.
inline V DivideBy255(V x)
{
    return MulHigh16u(Add16(x, Splat16(1)), Splat16(257));
}

inline V Weigh(V samples, V inner, V outer)
{
    return DivideBy255(MulLow16(outer, DivideBy255(MulLow16(inner, samples))));
}

inline Vek8u ComposeSample(Vek32u s1, Vek32u s2, const Composition& rule)
{
    const Vek32u sum = DivideBy255(rule.outer1 * DivideBy255(rule.inner1 * s1))
                     + DivideBy255(rule.outer2 * DivideBy255(rule.inner2 * s2));
    return (Vek8u)(rule.saturates ? Min(sum, 255u) : sum);
}

void ComposeSamples(const Vek8u* src1, const Vek8u* src2, Vek8u* dst, int64_t from, int64_t to, const Composition& rule)
{
    for (int64_t x = from; x < to; ++x)
        dst[x] = ComposeSample(src1[x], src2[x], rule);
}

// kInner: whether either inner factor does something; without, half the work is left out.
template <bool kInner>
int64_t ComposeBlocks(const Vek8u* src1, const Vek8u* src2, Vek8u* dst, int64_t samples, const Composition& rule)
{
    const V inner1 = Splat16(rule.inner1), outer1 = Splat16(rule.outer1);
    const V inner2 = Splat16(rule.inner2), outer2 = Splat16(rule.outer2);
    // A sum is at most 510: what saturates is past this mask's effect.
    const V kept = Splat16(rule.saturates ? 0x1ff : 0xff);
    const auto weigh = [](V s, V inner, V outer) { return kInner ? Weigh(s, inner, outer) : DivideBy255(MulLow16(outer, s)); };
    int64_t x = 0;
    for (; samples - x >= 16; x += 16) {
        const V a = LoadU(src1 + x), b = LoadU(src2 + x);
        const V low = Add16(weigh(WidenLow8u(a), inner1, outer1), weigh(WidenLow8u(b), inner2, outer2));
        const V high = Add16(weigh(WidenHigh8u(a), inner1, outer1), weigh(WidenHigh8u(b), inner2, outer2));
        StoreU(dst + x, Pack16sTo8u(And(low, kept), And(high, kept)));
    }
    return x;
}

// Partly over itself, a row is read as it is written, sample by sample.
bool ReadsWhatItWrites(const Vek8u* src, const Vek8u* dst, int64_t bytes)
{
    return src != dst && Overlap(src, dst, bytes);
}

}  // namespace

VekStatus vekiAlphaCompC_8u_C3R(const Vek8u* pSrc1, Vek32s src1Step, Vek8u alpha1, const Vek8u* pSrc2, Vek32s src2Step,
                                Vek8u alpha2, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, Vek32s alphaType)
{
    if (!pSrc1 || !pSrc2 || !pDst)                  return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)    return StatusBadSize;
    if ((Vek32u)alphaType > (Vek32u)AlphaPlusPremul)  return StatusBadAlphaType;

    const Composition rule = Compose((Vek32u)alphaType, alpha1, alpha2);
    const bool hasInner = rule.inner1 != kKeep || rule.inner2 != kKeep;
    const int64_t samples = (int64_t)roiSize.width * 3;
    for (Vek32s y = 0; y < roiSize.height; ++y) {
        const Vek8u* const src1 = Row(pSrc1, src1Step, y);
        const Vek8u* const src2 = Row(pSrc2, src2Step, y);
        Vek8u* const dst = Row(pDst, dstStep, y);
        int64_t x = 0;
        if (kBlocks && !ReadsWhatItWrites(src1, dst, samples) && !ReadsWhatItWrites(src2, dst, samples))
            x = hasInner ? ComposeBlocks<true>(src1, src2, dst, samples, rule) : ComposeBlocks<false>(src1, src2, dst, samples, rule);
        ComposeSamples(src1, src2, dst, x, samples, rule);
    }
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
