// The sum of a float image, exact to the last bits or fast.
#include "frame/simd_float.h"
#include "uvek/statistics.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32s kHintAccurate = 2;

// Even columns to one double, odd ones to another, held across rows.
struct Accurate {
    Vek64f even = 0, odd = 0;

    void Add(const Vek32f* row, Vek32s width)
    {
        Vek32s x = 0;
        for (; width - x >= 2; x += 2) {
            even += Get(row + x);
            odd += Get(row + x + 1);
        }
        if (x < width)
            even += Get(row + x);
    }
    Vek64f Total() const { return odd + even; }
};

// A row in lanes of single precision, from its first 16-byte boundary on.
Vek64f FastRowSum(const Vek32f* row, Vek32s width)
{
    Vek32f head = 0;
    Vek32s x = 0;
    if (IsAligned(row, sizeof(Vek32f)))
        for (; x < width && !IsAligned(row + x, 16); ++x)
            head += row[x];
    F a = ZeroF(), b = a, c = a, d = a;
    for (; width - x >= 16; x += 16) {
        a = Add(a, LoadU(row + x));
        b = Add(b, LoadU(row + x + 4));
        c = Add(c, LoadU(row + x + 8));
        d = Add(d, LoadU(row + x + 12));
    }
    for (; width - x >= 4; x += 4)
        a = Add(a, LoadU(row + x));
    const F lanes = Add(Add(a, b), Add(c, d)), halves = Add(lanes, HighHalves(lanes, lanes));
    Vek32f tail = 0;
    for (; x < width; ++x)
        tail += Get(row + x);
    return (Vek64f)(LowF(halves) + LowF(DupOdd(halves)) + (head + tail));
}

}  // namespace

VekStatus vekiSum_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, VekImageSize roiSize, Vek64f* pSum, Vek32s hint)
{
    if (!pSrc || !pSum)                              return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)     return StatusBadSize;

    Vek64f total = 0;
    if (!kBlocks || hint == kHintAccurate) {
        Accurate sum;
        for (Vek32s y = 0; y < roiSize.height; ++y)
            sum.Add(Row(pSrc, srcStep, y), roiSize.width);
        total = sum.Total();
    } else {
        for (Vek32s y = 0; y < roiSize.height; ++y)
            total += FastRowSum(Row(pSrc, srcStep, y), roiSize.width);
    }
    Put(pSum, total);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
