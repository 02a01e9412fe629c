// Builds and releases the records of the power-of-two transforms.
#include <math.h>

#include "fourier/fft_plan.h"
#include "fourier/quarter_sine.h"
#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int64_t kTableAlignment = 32;

constexpr int64_t RoundUp(int64_t bytes) { return (bytes + kTableAlignment - 1) & ~(kTableAlignment - 1); }

// Gives out tables one after another; with no base it only measures.
class Carver {
public:
    explicit Carver(void* base, int64_t start) : base_((char*)base), used_(RoundUp(start)) {}
    template <typename E> void Take(E*& table, int64_t count)
    {
        table = base_ ? (E*)(base_ + used_) : nullptr;
        used_ = RoundUp(used_ + count * (int64_t)sizeof(E));
    }
    int64_t used() const { return used_; }

private:
    char* base_;
    int64_t used_;
};

constexpr Vek32u ReverseBits(Vek32u v, Vek32s bits)
{
    Vek32u r = 0;
    for (Vek32s i = 0; i < bits; ++i, v >>= 1)
        r = r << 1 | (v & 1);
    return r;
}

// Tier 0's kernels: for k up to a quarter of the length, the roots k, 2k and 3k.
constexpr int64_t ScalarTwiddleCount(Vek32s order) { return (((int64_t)1 << order) / 4 + 1) * 6; }

template <typename T>
void FillScalarTwiddles(T* p, Vek32s order, const QuarterSine<T>& sine)
{
    for (int64_t k = 0; k <= ((int64_t)1 << order) / 4; ++k)
        for (int j = 1; j <= 3; ++j, p += 2)
            Put((Cx<T>*)p, sine.Root(j * k, order));
}

// The stages of a kernel that has `done` bits behind it: one block a stage, in it groups of four
// butterflies, in a group each power as four real and four imaginary parts.
constexpr int64_t StageTwiddleCount(Vek32s order)
{
    int64_t count = 0;
    for (Vek32s done = 2; done < order;) {
        count += StageTableSize(done, StageBits(order, done));
        done += StageBits(order, done);
    }
    return count;
}

template <typename T>
void FillStageTwiddles(T* p, Vek32s order, const QuarterSine<T>& sine)
{
    for (Vek32s done = 2; done < order;) {
        const Vek32s bits = StageBits(order, done);
        for (int64_t k = 0; k < (int64_t)1 << done; k += 4)
            for (int power = 1; power < 1 << bits; ++power, p += 8)
                for (int lane = 0; lane < 4; ++lane) {
                    const Cx<T> w = sine.Root(power * (k + lane), done + bits);
                    p[lane] = w.re;
                    p[lane + 4] = w.im;
                }
        done += bits;
    }
}

// The outer stages run along columns: one root serves a whole row, so it stands four times.
constexpr int64_t OuterTwiddleCount(Vek32s order)
{
    int64_t count = 0;
    for (Vek32s done = 0; done < order;) {
        const Vek32s bits = IsOuterRadix8(order - done) ? 3 : 2;
        if (done > 0)
            count += (((int64_t)1 << bits) - 1) * 8 << done;
        done += bits;
    }
    return count;
}

template <typename T>
void FillOuterTwiddles(T* p, Vek32s order, const QuarterSine<T>& sine)
{
    for (Vek32s done = 0; done < order;) {
        const Vek32s bits = IsOuterRadix8(order - done) ? 3 : 2;
        for (int64_t k = 0; done > 0 && k < (int64_t)1 << done; ++k)
            for (int power = 1; power < 1 << bits; ++power, p += 8)
                for (int lane = 0; lane < 4; ++lane) {
                    const Cx<T> w = sine.Root(power * k, done + bits);
                    p[lane] = w.re;
                    p[lane + 4] = w.im;
                }
        done += bits;
    }
}

// Row p of the columns c carries the factor W^(rev(p) c): groups of four columns, in the order in
// which the column pass reads them.
template <typename T>
void FillColumnTwiddles(T* p, Vek32s order, const QuarterSine<T>& sine)
{
    const Vek32s k = ColumnBits<T>(order);
    const int64_t columns = (int64_t)1 << (order - k), tile = (int64_t)1 << (TileBits<T>(order) - k);
    for (int64_t first = 0; first < columns; first += tile)
        for (int64_t row = 0; row < (int64_t)1 << k; ++row) {
            const int64_t turn = ReverseBits((Vek32u)row, k);
            for (int64_t c = first; c < first + tile; c += 4, p += 8)
                for (int lane = 0; lane < 4; ++lane) {
                    const Cx<T> w = sine.Root(turn * (c + lane), order);
                    p[lane] = w.re;
                    p[lane + 4] = w.im;
                }
        }
}

// Tier 0: an index is a top bit, a middle value and a bottom bit, and the four indices of one middle
// value move together. Pairs i < rev(i), a 0, then from the end downward the middles that stay.
// Above: where one kernel's first stage puts its results, or the reversed tile numbers.
template <typename T>
constexpr int64_t ReversalCount(Vek32s order)
{
    if (kTier == 0)
        return ((int64_t)1 << order) / 4 + 1;
    if (order <= kKernelOrder<T>)
        return FusedReversalCount(order);
    return TileCount<T>(order);
}

template <typename T>
void FillReversal(Vek32s* p, Vek32s order)
{
    if (kTier == 0) {
        const Vek32s middles = 1 << (order - 2);
        Vek32s front = 0, back = middles;
        p[back] = 0;
        for (Vek32s i = 1; i < middles; ++i) {
            const Vek32s j = (Vek32s)ReverseBits((Vek32u)i, order - 2);
            if (i < j) {
                p[front++] = 4 * i;
                p[front++] = 4 * j;
            } else if (i == j)
                p[--back] = 4 * i;
        }
        p[front] = 0;
    } else if (order <= kKernelOrder<T>) {
        // Where the butterflies of four consecutive inputs put their results.
        for (Vek32s g = 0; g < (Vek32s)FusedReversalCount(order); ++g)
            p[g] = (Vek32s)ReverseBits((Vek32u)(4 * g), order - 2) * 8;
    } else {
        for (Vek32s tile = 0; tile < (Vek32s)TileCount<T>(order); ++tile)
            p[tile] = (Vek32s)ReverseBits((Vek32u)tile, order - 2 * TileSideBits<T>(order));
    }
}

// The post-step's pairs are cos/2 and (1 - sin)/2, the pre-step's cos and -sin, of turns k / N. Tier 0
// reads pairs from k = 0; the others groups of four from k = 1.
template <typename T>
int64_t RealTableCount(Vek32s order)
{
    const int64_t quarter = (int64_t)1 << order >> 2;
    return kBlocks && order > 3 ? (quarter - 1 + 3) / 4 * 8 : quarter * 2;
}

template <typename T>
void FillRealTables(T* post, T* pre, Vek32s order, const QuarterSine<T>& sine)
{
    const int64_t quarter = (int64_t)1 << order >> 2;
    const bool grouped = kBlocks && order > 3;
    for (int64_t k = grouped ? 1 : 0; k < quarter; ++k) {
        const Cx<T> w = sine.Root(k, order);
        const int64_t first = grouped ? (k - 1) / 4 * 8 + (k - 1) % 4 : 2 * k, second = first + (grouped ? 4 : 1);
        post[first] = (T)0.5 * w.re;
        post[second] = (T)(0.5 + 0.5 * (Vek64f)w.im);
        pre[first] = w.re;
        pre[second] = w.im;
    }
}

// The lengths that the record's tables serve.
template <typename T>
struct TablePlan {
    Vek32s levels = 0;
    Vek32s levelOrder[kLevels] = {};
    Vek32s rowOrder;     // what is left below the split levels
    Vek32s kernelOrder;  // of one kernel call
    bool merges;

    explicit TablePlan(Vek32s order)
    {
        for (; order > kMergeOrder<T>; order -= ColumnBits<T>(order))
            levelOrder[levels++] = order;
        rowOrder = order;
        kernelOrder = Min(order, kKernelOrder<T>);
        merges = rowOrder > kernelOrder;
    }
};

template <typename T>
int64_t LayOut(FftSpec<T>& spec, void* base, Vek32s complexOrder, bool isReal)
{
    Carver carver(base, sizeof spec);
    if (complexOrder >= kFirstTableOrder) {
        const TablePlan<T> plan(complexOrder);
        carver.Take(spec.bitReversal, ReversalCount<T>(complexOrder));
        carver.Take(spec.kernelTwiddles, kTier == 0 ? ScalarTwiddleCount(plan.kernelOrder) : StageTwiddleCount(plan.kernelOrder));
        if (plan.merges)
            carver.Take(spec.mergeTwiddlesNear, (int64_t)2 << plan.rowOrder >> 2);
        for (int i = 0; i < plan.levels; ++i) {
            const Vek32s k = ColumnBits<T>(plan.levelOrder[i]);
            carver.Take(spec.outerKernelTwiddles[i], kTier == 0 ? ScalarTwiddleCount(k) : OuterTwiddleCount(k));
            carver.Take(spec.outerColumnTwiddles[i], (int64_t)2 << plan.levelOrder[i]);
        }
    }
    if (isReal && spec.order >= kFirstTableOrder) {
        carver.Take(spec.realPost, RealTableCount<T>(spec.order));
        carver.Take(spec.realPre, RealTableCount<T>(spec.order));
    }
    return carver.used();
}

template <typename T>
void FillTables(FftSpec<T>& spec, Vek32s complexOrder, bool isReal, const QuarterSine<T>& sine)
{
    if (complexOrder >= kFirstTableOrder) {
        const TablePlan<T> plan(complexOrder);
        FillReversal<T>(spec.bitReversal, complexOrder);
        if (kTier == 0)
            FillScalarTwiddles(spec.kernelTwiddles, plan.kernelOrder, sine);
        else
            FillStageTwiddles(spec.kernelTwiddles, plan.kernelOrder, sine);
        if (plan.merges)
            for (int64_t k = 0; k < (int64_t)1 << plan.rowOrder >> 2; ++k)
                Put((Cx<T>*)spec.mergeTwiddlesNear + k, sine.Root(k, plan.rowOrder));
        for (int i = 0; i < plan.levels; ++i) {
            const Vek32s k = ColumnBits<T>(plan.levelOrder[i]);
            if (kTier == 0)
                FillScalarTwiddles(spec.outerKernelTwiddles[i], k, sine);
            else
                FillOuterTwiddles(spec.outerKernelTwiddles[i], k, sine);
            FillColumnTwiddles(spec.outerColumnTwiddles[i], plan.levelOrder[i], sine);
        }
    }
    if (isReal)
        FillRealTables(spec.realPost, spec.realPre, spec.order, sine);
}

}  // namespace

template <typename T>
bool ScalingOf(Vek32s flag, Vek64f n, Scaling<T>* pScaling)
{
    const T part = 1 / (T)n;
    switch (flag) {
    case FftScaleForward: *pScaling = {1, 0, part}; return true;
    case FftScaleInverse: *pScaling = {0, 1, part}; return true;
    case FftScaleSqrt: *pScaling = {1, 1, (T)(1 / sqrt(n))}; return true;
    case FftScaleNone: *pScaling = {0, 0, 0}; return true;
    }
    return false;
}

template <typename T>
VekStatus FftRecordBuild(FftSpec<T>** ppSpec, Vek32u id, Vek32s order, Vek32s complexOrder, Vek32s flag, Vek32u hint)
{
    if (!ppSpec)                              return StatusNullPointer;
    if (order < 0 || order > kLargestOrder)   return StatusBadFftOrder;
    Scaling<T> scaling;
    if (!ScalingOf(flag, (Vek64f)((int64_t)1 << order), &scaling))  return StatusBadFftFlag;

    const bool isReal = complexOrder != order;
    FftSpec<T> sizes = {};
    sizes.order = order;
    const int64_t bytes = LayOut(sizes, nullptr, complexOrder, isReal);
    FftSpec<T>* const spec = (FftSpec<T>*)AllocateBlock(bytes);
    if (!spec)
        return StatusNoMemory;
    *spec = {};
    spec->id = id;
    spec->order = order;
    spec->hint = hint;
    spec->scaleForward = scaling.forward;
    spec->scaleInverse = scaling.inverse;
    spec->scale = scaling.scale;
    if (order >= kFirstTableOrder) {
        const QuarterSine<T> sine(order);
        if (sine.isMissing()) {
            ReleaseBlock(spec);
            return StatusNoMemory;
        }
        LayOut(*spec, spec, complexOrder, isReal);
        FillTables(*spec, complexOrder, isReal, sine);
        spec->workSize = (Vek32s)WorkBytes<T>(complexOrder);
    }
    spec->ownsMemory = 1;
    *ppSpec = spec;
    return StatusOk;
}

template <typename T>
VekStatus FftRecordFree(FftSpec<T>* pSpec, Vek32u id)
{
    if (!pSpec)           return StatusNullPointer;
    if (pSpec->id != id)  return StatusBadContext;

    pSpec->id = 0;
    if (pSpec->ownsMemory == 1)
        ReleaseBlock(pSpec);
    return StatusOk;
}

template bool ScalingOf(Vek32s, Vek64f, Scaling<Vek32f>*);
template VekStatus FftRecordBuild(FftSpec<Vek32f>**, Vek32u, Vek32s, Vek32s, Vek32s, Vek32u);
template VekStatus FftRecordBuild(FftSpec<Vek64f>**, Vek32u, Vek32s, Vek32s, Vek32s, Vek32u);
template VekStatus FftRecordFree(FftSpec<Vek32f>*, Vek32u);
template VekStatus FftRecordFree(FftSpec<Vek64f>*, Vek32u);

}  // namespace uvek::VEK_TIER_NAMESPACE
