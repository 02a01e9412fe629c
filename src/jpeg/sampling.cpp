// Chroma planes halved by averages, and rows doubled by a triangle filter. Biases are fixed by side,
// not alternating; all tiers agree.
#include "frame/simd.h"
#include "uvek/jpeg.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- Halving ----

void HalveRow(const Vek8u* pSrc, Vek8u* pDst, Vek32s width)
{
    Vek32s x = 0;
    if constexpr (kBlocks) {
        for (; width - x >= 16; x += 16) {
            const Vek8u* const p = Offset(pSrc, (int64_t)x * 2);
            // The average of a sum and 0 is half the sum, rounded up.
            StoreU(pDst + x, Pack16sTo8u(Average16u(SumPairs8u(LoadU(p)), Zero()), Average16u(SumPairs8u(LoadU(p + 16)), Zero())));
        }
    }
    for (; x < width; ++x) {
        const Vek8u* const p = Offset(pSrc, (int64_t)x * 2);
        pDst[x] = (Vek8u)((p[0] + p[1] + 1) >> 1);
    }
}

inline V QuarterSums(const Vek8u* pUpper, const Vek8u* pLower)
{
    return ShiftRight16u<2>(Add16(Add16(SumPairs8u(LoadU(pUpper)), SumPairs8u(LoadU(pLower))), Splat16(3)));
}

void QuarterRow(const Vek8u* pUpper, const Vek8u* pLower, Vek8u* pDst, Vek32s width)
{
    Vek32s x = 0;
    if constexpr (kBlocks) {
        for (; width - x >= 16; x += 16) {
            const Vek8u *const p = Offset(pUpper, (int64_t)x * 2), *const q = Offset(pLower, (int64_t)x * 2);
            StoreU(pDst + x, Pack16sTo8u(QuarterSums(p, q), QuarterSums(p + 16, q + 16)));
        }
    }
    for (; x < width; ++x) {
        const Vek8u *const p = Offset(pUpper, (int64_t)x * 2), *const q = Offset(pLower, (int64_t)x * 2);
        pDst[x] = (Vek8u)((p[0] + p[1] + q[0] + q[1] + 3) >> 2);
    }
}

// ---- Doubling: an output is 3/4 of its sample and 1/4 of the neighbour on its side; past an end stands the end ----

// Outputs 2 i and 2 i + 1 of 16 samples; the samples before and after them are read too.
inline void DoubleBlock(const Vek8u* pSrc, Vek8u* pDst)
{
    const V s = LoadU(pSrc), before = LoadU(pSrc - 1), after = LoadU(pSrc + 1), one = Splat8(1);
    // In bytes: (3 s + a + 1) >> 2 is the average rounded down of s and of the average rounded up of s and a,
    // (3 s + a + 2) >> 2 the average rounded up of s and of the one rounded down.
    const V up = Average8u(s, before);
    const V left = Sub8(Average8u(s, up), And(Xor(s, up), one));
    const V down = Sub8(Average8u(s, after), And(Xor(s, after), one));
    const V right = Average8u(s, down);
    StoreU(pDst, UnpackLow8(left, right));
    StoreU(pDst + 16, UnpackHigh8(left, right));
}

void DoubleRow(const Vek8u* pSrc, Vek32s width, Vek8u* pDst)
{
    const auto convert = [=](Vek32s i) {
        const Vek32s s = 3 * pSrc[i];
        Vek8u* const p = Offset(pDst, (int64_t)i * 2);
        p[0] = (Vek8u)((s + pSrc[i > 0 ? i - 1 : 0] + 1) >> 2);
        p[1] = (Vek8u)((s + pSrc[i < width - 1 ? i + 1 : i] + 2) >> 2);
    };
    Vek32s i = 0;
    convert(i++);
    if (kBlocks && width >= 18) {
        for (; width - i > 16; i += 16)
            DoubleBlock(pSrc + i, Offset(pDst, (int64_t)i * 2));
        i = width - 17;  // the last whole block ends before the last sample
        DoubleBlock(pSrc + i, Offset(pDst, (int64_t)i * 2));
        i += 16;
    }
    for (; i < width; ++i)
        convert(i);
}

// Column sums 3 a + b of 16 samples, in two halves, with 2 more: three of one and one of another bring the 8
// of the left output.
inline void ColumnSums(const Vek8u* pNear, const Vek8u* pFar, V& low, V& high)
{
    const V a = LoadU(pNear), b = LoadU(pFar), bias = Splat16(2);
    if constexpr (kHasByteShuffle) {
        const V weights = Splat16(1 << 8 | 3);
        low = Add16(MulAdd8us(UnpackLow8(a, b), weights), bias);
        high = Add16(MulAdd8us(UnpackHigh8(a, b), weights), bias);
    } else {
        const V three = Splat16(3);
        low = Add16(Add16(MulLow16(WidenLow8u(a), three), WidenLow8u(b)), bias);
        high = Add16(Add16(MulLow16(WidenHigh8u(a), three), WidenHigh8u(b)), bias);
    }
}

// Both outputs of eight samples, interleaved.
inline V TriangleOutputs(V before, V c, V after)
{
    const V c3 = Add16(Add16(c, c), c);
    const V left = ShiftRight16u<4>(Add16(c3, before));
    const V right = ShiftLeft16<4>(Sub16(Add16(c3, after), Splat16(1)));  // its bias is 7
    return Or(left, And(right, Splat16(0xff00)));
}

// Outputs of 16 samples, of which low and high are the sums; the last lane of `before` and the first one of
// `after` are the sums beside them.
inline void DoubleBothBlock(V before, V low, V high, V after, Vek8u* pDst)
{
    StoreU(pDst, TriangleOutputs(Concat<14>(before, low), low, Concat<2>(low, high)));
    StoreU(pDst + 16, TriangleOutputs(Concat<14>(low, high), high, Concat<2>(high, after)));
}

void DoubleBothRow(const Vek8u* pNear, const Vek8u* pFar, Vek32s width, Vek8u* pDst)
{
    const auto sum = [=](Vek32s i) {
        i = Clamp(i, 0, width - 1);
        return 3 * pNear[i] + pFar[i];
    };
    if (kBlocks && width >= 16) {
        const auto first = [=](Vek32s i) { return Insert16<0>(Zero(), sum(i) + 2); };
        const auto last = [=](Vek32s i) { return Insert16<7>(Zero(), sum(i) + 2); };
        const auto out = [=](Vek32s i) { return Offset(pDst, (int64_t)i * 2); };
        V before = last(-1), low, high;
        ColumnSums(pNear, pFar, low, high);
        Vek32s i = 0;
        for (; width - i >= 32; i += 16) {
            V nextLow, nextHigh;
            ColumnSums(pNear + i + 16, pFar + i + 16, nextLow, nextHigh);
            DoubleBothBlock(before, low, high, nextLow, out(i));
            before = high;
            low = nextLow;
            high = nextHigh;
        }
        if (width - i > 16) {  // the last whole block reaches back
            DoubleBothBlock(before, low, high, first(i + 16), out(i));
            i = width - 16;
            before = last(i - 1);
            ColumnSums(pNear + i, pFar + i, low, high);
        }
        DoubleBothBlock(before, low, high, first(width), out(i));
        return;
    }
    for (Vek32s i = 0; i < width; ++i) {
        Vek8u* const p = Offset(pDst, (int64_t)i * 2);
        p[0] = (Vek8u)((3 * sum(i) + sum(i - 1) + 8) >> 4);
        p[1] = (Vek8u)((3 * sum(i) + sum(i + 1) + 7) >> 4);
    }
}

template <bool both>
VekStatus SampleDown(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize)
{
    if (!pSrc)                                          return StatusNullPointer;
    if (srcStep < 1)                                    return StatusBadStep;
    if (srcRoiSize.width < 1 || srcRoiSize.height < 1)  return StatusBadSize;
    if (!pDst)                                          return StatusNullPointer;
    if (dstStep < 1)                                    return StatusBadStep;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < dstRoiSize.height; ++y) {
        if constexpr (both) {
            const Vek8u* const upper = Offset(pSrc, (int64_t)srcStep * y * 2);
            QuarterRow(upper, Offset(upper, srcStep), Row(pDst, dstStep, y), dstRoiSize.width);
        } else {
            HalveRow(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), dstRoiSize.width);
        }
    }
    return StatusOk;
}

}  // namespace

VekStatus vekiSampleDownH2V1_JPEG_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize)
{
    return SampleDown<false>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize);
}

VekStatus vekiSampleDownH2V2_JPEG_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize)
{
    return SampleDown<true>(pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize);
}

VekStatus vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const Vek8u* pSrc, Vek32s srcWidth, Vek8u* pDst)
{
    if (!pSrc || !pDst)  return StatusNullPointer;
    if (srcWidth < 1)    return StatusBadSize;

    DoubleRow(pSrc, srcWidth, pDst);
    return StatusOk;
}

VekStatus vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const Vek8u* pSrc1, const Vek8u* pSrc2, Vek32s srcWidth, Vek8u* pDst)
{
    if (!pSrc1 || !pSrc2 || !pDst)  return StatusNullPointer;
    if (srcWidth < 1)               return StatusBadSize;

    DoubleBothRow(pSrc1, pSrc2, srcWidth, pDst);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
