// Differences of samples from their prediction, and samples from the differences, modulo 2^16.
#include "frame/simd.h"
#include "uvek/jpeg.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kLanes = 8;

// a stands to the left of the sample, b above, c above to the left.
template <int predictor>
Vek32s Predict(Vek32s a, Vek32s b, Vek32s c)
{
    switch (predictor) {
    case 1: return a;
    case 2: return b;
    case 3: return c;
    case 4: return a + b - c;
    case 5: return a + ((b - c) >> 1);
    case 6: return b + ((a - c) >> 1);
    default: return (a + b) >> 1;
    }
}

// (a - b) >> 1 and (a + b) >> 1, whose 17 bits the lanes do not hold: half by half, and what the lowest
// bits borrow or carry.
V HalfDifference(V a, V b)
{
    const V borrow = And(AndNot(a, b), Splat16(1));
    return Sub16(Sub16(ShiftRight16s<1>(a), ShiftRight16s<1>(b)), borrow);
}

V HalfSum(V a, V b)
{
    return Add16(Add16(ShiftRight16s<1>(a), ShiftRight16s<1>(b)), And(And(a, b), Splat16(1)));
}

template <int predictor>
V Predict(V a, V b, V c)
{
    switch (predictor) {
    case 1: return a;
    case 2: return b;
    case 3: return c;
    case 4: return Sub16(Add16(a, b), c);
    case 5: return Add16(a, HalfDifference(b, c));
    case 6: return Add16(b, HalfDifference(a, c));
    default: return HalfSum(a, b);
    }
}

bool Overlaps(const Vek16s* a, const Vek16s* b, Vek32s width)
{
    const uintptr_t from = (uintptr_t)a, to = (uintptr_t)b, bytes = (uintptr_t)width * sizeof(Vek16s);
    return from - to < bytes || to - from < bytes;
}

// From sample 1 on. Rows that overlap are left to the loop from left to right, which reads what it wrote.
template <int predictor>
void Subtract(const Vek16s* src, const Vek16s* above, Vek16s* dst, Vek32s width)
{
    Vek32s x = 1;
    if (kBlocks && !Overlaps(src, dst, width) && !Overlaps(above, dst, width))
        for (; width - x >= kLanes; x += kLanes) {
            const V a = LoadU(src + x - 1), b = LoadU(above + x), c = LoadU(above + x - 1);
            StoreU(dst + x, Sub16(LoadU(src + x), Predict<predictor>(a, b, c)));
        }
    for (; x < width; ++x) {
        const Vek32s predicted = Predict<predictor>(Get(src + x - 1), Get(above + x), Get(above + x - 1));
        Put(dst + x, (Vek16s)(Get(src + x) - predicted));
    }
}

// The running sum of the lanes, after `before` in all lanes.
V RunningSum(V v, V before)
{
    v = Add16(v, BytesUp<2>(v));
    v = Add16(v, BytesUp<4>(v));
    v = Add16(v, BytesUp<8>(v));
    return Add16(v, before);
}

V LastLane(V v)
{
    return Permute32<3, 3, 3, 3>(PermuteHigh16<3, 3, 3, 3>(v));
}

template <int predictor>
void Add(const Vek16s* src, const Vek16s* above, Vek16s* dst, Vek32s width)
{
    // Where the sample to the left enters as it is, samples are running sums of all the rest.
    constexpr bool isSum = predictor == 1 || predictor == 4 || predictor == 5;
    constexpr bool isFree = predictor == 2 || predictor == 3;
    Vek32s x = 1;
    if (kBlocks && (isSum || isFree) && (src == dst || !Overlaps(src, dst, width)) && !Overlaps(above, dst, width)) {
        V left = Splat16(Get(dst));
        for (; width - x >= kLanes; x += kLanes) {
            const V b = LoadU(above + x), c = LoadU(above + x - 1);
            V v = Add16(LoadU(src + x), Predict<predictor>(Zero(), b, c));
            if (isSum) {
                v = RunningSum(v, left);
                left = LastLane(v);
            }
            StoreU(dst + x, v);
        }
    }
    Vek32s left = Get(dst + x - 1);
    for (; x < width; ++x) {
        left = (Vek16s)(Get(src + x) + Predict<predictor>(left, Get(above + x), Get(above + x - 1)));
        Put(dst + x, (Vek16s)left);
    }
}

Vek32s FirstPrediction(Vek32s P, Vek32s Pt)
{
    return (Vek32s)(1u << ((P - Pt - 1) & 31));
}

}  // namespace

VekStatus vekiDiffPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, Vek32s width, Vek32s P, Vek32s Pt)
{
    if (!pSrc || !pDst)               return StatusNullPointer;
    if (width < 1)                    return StatusBadSize;
    if (P < 2 || P > 16 || Pt < 0)    return StatusBadRange;

    Put(pDst, (Vek16s)((Vek32u)Get(pSrc) - (Vek32u)FirstPrediction(P, Pt)));
    Subtract<1>(pSrc, pSrc, pDst, width);
    return StatusOk;
}

VekStatus vekiDiffPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst, Vek32s width, Vek32s predictor)
{
    if (!pSrc || !pPrevRow || !pDst)  return StatusNullPointer;
    if (width < 1)                    return StatusBadSize;
    if (predictor < 1 || predictor > 7)  return StatusBadRange;

    Put(pDst, (Vek16s)(Get(pSrc) - Get(pPrevRow)));
    switch (predictor) {
    case 1: Subtract<1>(pSrc, pPrevRow, pDst, width); break;
    case 2: Subtract<2>(pSrc, pPrevRow, pDst, width); break;
    case 3: Subtract<3>(pSrc, pPrevRow, pDst, width); break;
    case 4: Subtract<4>(pSrc, pPrevRow, pDst, width); break;
    case 5: Subtract<5>(pSrc, pPrevRow, pDst, width); break;
    case 6: Subtract<6>(pSrc, pPrevRow, pDst, width); break;
    default: Subtract<7>(pSrc, pPrevRow, pDst, width); break;
    }
    return StatusOk;
}

VekStatus vekiReconstructPredFirstRow_JPEG_16s_C1(const Vek16s* pSrc, Vek16s* pDst, Vek32s width, Vek32s P, Vek32s Pt)
{
    if (!pSrc || !pDst)               return StatusNullPointer;
    if (width < 1)                    return StatusBadSize;
    if (P < 2 || P > 16 || Pt < 0)    return StatusBadRange;

    Put(pDst, (Vek16s)((Vek32u)Get(pSrc) + (Vek32u)FirstPrediction(P, Pt)));
    Add<1>(pSrc, pSrc, pDst, width);
    return StatusOk;
}

VekStatus vekiReconstructPredRow_JPEG_16s_C1(const Vek16s* pSrc, const Vek16s* pPrevRow, Vek16s* pDst, Vek32s width,
                                             Vek32s predictor)
{
    if (!pSrc || !pPrevRow || !pDst)  return StatusNullPointer;
    if (width < 1)                    return StatusBadSize;
    if (predictor < 1 || predictor > 7)  return StatusBadRange;

    Put(pDst, (Vek16s)(Get(pSrc) + Get(pPrevRow)));
    switch (predictor) {
    case 1: Add<1>(pSrc, pPrevRow, pDst, width); break;
    case 2: Add<2>(pSrc, pPrevRow, pDst, width); break;
    case 3: Add<3>(pSrc, pPrevRow, pDst, width); break;
    case 4: Add<4>(pSrc, pPrevRow, pDst, width); break;
    case 5: Add<5>(pSrc, pPrevRow, pDst, width); break;
    case 6: Add<6>(pSrc, pPrevRow, pDst, width); break;
    default: Add<7>(pSrc, pPrevRow, pDst, width); break;
    }
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
