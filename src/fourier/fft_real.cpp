// Real power-of-two transforms: a complex transform of half the length in the destination, and a step
// between its result Z and the half spectrum X. Both stand in the working layout X[0], X[M], Re X[1],
// Im X[1], .. with M half the real length.
#include "fourier/fft_real.h"

#include "fourier/fft_plan.h"
#include "fourier/fft_small.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Where the pair of k stands in a table: pairs from k = 0, or groups of four from k = 1.
template <typename T>
inline Cx<T> TablePair(const T* table, int64_t k, bool isGrouped)
{
    const T* const p = isGrouped ? table + (k - 1) / 4 * 8 + (k - 1) % 4 : table + 2 * k;
    return {p[0], p[isGrouped ? 4 : 1]};
}

template <typename L>
inline void PostPair(Cx<L>& low, Cx<L>& high, Cx<L> w)
{
    const L e = Sub(low.re, high.re), f = Add(low.im, high.im);
    const L t = Add(Mul(w.im, e), Mul(w.re, f)), u = Sub(Mul(f, w.im), Mul(e, w.re));
    const L a = low.re, b = low.im, c = high.re, d = high.im;
    low = {Add(t, c), Sub(u, d)};
    high = {Sub(a, t), Sub(u, b)};
}

template <typename L>
inline void PrePair(Cx<L>& low, Cx<L>& high, Cx<L> w)
{
    const L e = Sub(low.re, high.re), f = Add(low.im, high.im);
    const L v = Sub(Mul(w.im, e), Mul(w.re, f)), r = Add(Mul(e, w.re), Mul(f, w.im));
    const L s = Add(low.re, high.re), d = Sub(low.im, high.im);
    low = {Add(s, v), Add(d, r)};
    high = {Sub(s, v), Sub(r, d)};
}

inline F Reversed(F v) { return Pick<3, 2, 1, 0>(v, v); }
inline D Reversed(D v) { return Pick<1, 0>(v, v); }
template <typename L> inline Cx<L> Reversed(Cx<L> v) { return {Reversed(v.re), Reversed(v.im)}; }

// Both ends at once: k upward, m - k downward.
template <bool isPost, typename T>
void WalkPairs(T* z, int64_t m, const T* table, bool isGrouped)
{
    const Pairs<T> data{z};
    const int64_t pairs = (m - 1) / 2;
    int64_t k = 1;
    if (kBlocks && isGrouped) {
        constexpr int kStep = LanesOf<T>::kCount;
        for (; pairs - k >= 3; k += 4)
            for (int half = 0; half < 4; half += kStep) {
                const int64_t i = k + half, j = m - i - (kStep - 1);
                auto low = Load(data, i), high = Reversed(Load(data, j));
                const T* const p = table + (k - 1) * 2 + half;
                const Cx<LanesType<T>> w = {LoadA(p), LoadA(p + 4)};
                if (isPost)
                    PostPair(low, high, w);
                else
                    PrePair(low, high, w);
                Store(data, i, low);
                Store(data, j, Reversed(high));
            }
    }
    for (; k <= pairs; ++k) {
        Cx<T> low = LoadOne(data, k), high = LoadOne(data, m - k);
        const Cx<T> w = TablePair(table, k, isGrouped);
        if (isPost)
            PostPair(low, high, w);
        else
            PrePair(low, high, w);
        StoreOne(data, k, low);
        StoreOne(data, m - k, high);
    }
}

// Orders 0 to 3 whole, in the working layout; a scale comes after the first additions.
template <int order, typename T>
VEK_BUTTERFLY void ForwardDirect(const T* src, T* dst, T scale)
{
    constexpr int n = 1 << order;
    T x[n];
    memcpy(x, src, sizeof x);
    [[maybe_unused]] T turned = 0;
    if constexpr (order == 2)
        turned = (x[3] - x[1]) * scale;  // not x[1] - x[3] negated, which makes a zero negative
#pragma GCC unroll 4
    for (int i = 0; i < n / 2; ++i) {
        const T a = x[i], b = x[i + n / 2];
        x[i] = a + b;
        x[i + n / 2] = a - b;
    }
#pragma GCC unroll 8
    for (int i = 0; i < n; ++i)
        x[i] *= scale;
    if constexpr (order == 2) {
        const T s0 = x[0], s1 = x[1], d0 = x[2];
        const T out[] = {s0 + s1, s0 - s1, d0, turned};
        memcpy(x, out, sizeof out);
    } else if constexpr (order == 3) {
        // The sums are a transform of four; the differences, turned, give X[1] and X[3].
        const T half = (T)0.70710678118654752440;
        const T s02 = x[0] + x[2], s13 = x[1] + x[3];
        const T p = half * (x[5] - x[7]), q = half * (x[5] + x[7]);
        const T out[] = {s02 + s13, s02 - s13, x[4] + p, -x[6] - q, x[0] - x[2], x[3] - x[1], x[4] - p, x[6] - q};
        memcpy(x, out, sizeof out);
    }
    memcpy(dst, x, sizeof x);
}

template <typename T>
void ForwardSmall(Vek32s order, const T* src, T* dst, T scale)
{
    WithDirectOrder(order, [=](auto n) { ForwardDirect<n.value>(src, dst, scale); });
}

// From the working layout, n times the inverse before the scale.
template <int order, typename T>
VEK_BUTTERFLY void InverseDirect(const T* src, T* dst, T scale)
{
    constexpr int n = 1 << order;
    T x[n];
    memcpy(x, src, sizeof x);
    if constexpr (order == 1) {
        const T a = x[0], b = x[1];
        x[0] = a + b;
        x[1] = a - b;
    } else if constexpr (order == 2) {
        const T even = x[0] + x[1], odd = x[0] - x[1], re = 2 * x[2], im = 2 * x[3];
        const T out[] = {even + re, odd - im, even - re, odd + im};
        memcpy(x, out, sizeof out);
    } else if constexpr (order == 3) {
        const T root2 = (T)1.41421356237309504880;
        // Even outputs: a transform of four over X[0], X[4], X[2] and the sums of X[1] and X[3].
        const T even = x[0] + x[1], odd = x[0] - x[1], re2 = 2 * x[4], im2 = 2 * x[5];
        const T e0 = even + re2, e1 = odd - im2, e2 = even - re2, e3 = odd + im2;
        const T reSum = x[2] + x[6], reDiff = x[2] - x[6], imSum = x[3] + x[7], imDiff = x[3] - x[7];
        const T o0 = 2 * reSum, o1 = root2 * (reDiff - imSum), o2 = -2 * imDiff, o3 = -root2 * (reDiff + imSum);
        const T out[] = {e0 + o0, e1 + o1, e2 + o2, e3 + o3, e0 - o0, e1 - o1, e2 - o2, e3 - o3};
        memcpy(x, out, sizeof out);
    }
#pragma GCC unroll 8
    for (int i = 0; i < n; ++i)
        x[i] *= scale;
    memcpy(dst, x, sizeof x);
}

template <typename T>
void InverseSmall(Vek32s order, const T* src, T* dst, T scale)
{
    WithDirectOrder(order, [=](auto n) { InverseDirect<n.value>(src, dst, scale); });
}

// The forward transform to the working layout.
template <typename T>
void ForwardWorking(const T* src, T* dst, const FftSpec<T>& spec, T* work)
{
    const T scale = spec.scaleForward == 1 ? spec.scale : (T)1;
    if (spec.order < kFirstTableOrder) {
        ForwardSmall(spec.order, src, dst, scale);
        return;
    }
    const int64_t m = (int64_t)1 << (spec.order - 1);
    const bool isSmall = spec.order - 1 < kFirstTableOrder;  // whose direct kernel would scale too early
    FftTransform<T, false>(spec, spec.order - 1, Pairs<T>{(T*)src}, Pairs<T>{dst}, isSmall ? (T)1 : scale, work);
    if (isSmall)
        ScaleSamples(dst, 2 * m, scale);
    RealPostStep(dst, m, (const T*)spec.realPost, kBlocks);
}

template <typename T> constexpr Vek32u kRealId = kIsDouble<T> ? kFftRealDouble : kFftReal;

template <typename T>
VekStatus CheckReal(const void* pSrc, const void* pDst, const FftSpec<T>* pSpec)
{
    if (!pSpec)                     return StatusNullPointer;
    if (pSpec->id != kRealId<T>)    return StatusBadContext;
    if (!pSrc || !pDst)             return StatusNullPointer;
    return StatusOk;
}

}  // namespace

template <typename T>
void RealPostStep(T* z, int64_t m, const T* table, bool isGrouped)
{
    const T a = Get(z), b = Get(z + 1);
    Put(z, a + b);
    Put(z + 1, a - b);
    WalkPairs<true>(z, m, table, isGrouped);
    if (m % 2 == 0)
        Put(z + m + 1, -Get(z + m + 1));
}

template <typename T>
void WorkingToPack(T* x, int64_t n)
{
    if (n < 3)
        return;
    const T last = Get(x + 1);
    memmove(x + 1, x + 2, (size_t)(n - 2) * sizeof(T));
    Put(x + n - 1, last);
}

template <typename T> VekStatus FftRealSpecBuild(FftSpec<T>** ppSpec, Vek32s order, Vek32s flag, Vek32u hint)
{
    return FftRecordBuild(ppSpec, kRealId<T>, order, (Vek32s)((Vek32u)order - 1), flag, hint);
}

template <typename T> VekStatus FftRealSpecFree(FftSpec<T>* pSpec) { return FftRecordFree(pSpec, kRealId<T>); }

template <typename T> VekStatus FftRealWorkBytes(const FftSpec<T>* pSpec, Vek32s* pSize)
{
    if (!pSpec || !pSize)         return StatusNullPointer;
    if (pSpec->id != kRealId<T>)  return StatusBadContext;

    *pSize = pSpec->workSize > 0 ? pSpec->workSize + 32 : 0;
    return StatusOk;
}

template <typename T>
VekStatus FftRealForwardPack(const T* pSrc, T* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer)
{
    const VekStatus status = CheckReal(pSrc, pDst, pSpec);
    if (status != StatusOk)
        return status;
    const WorkMemory work(pBuffer, pSpec->workSize);
    if (work.isMissing())
        return StatusNoMemory;
    ForwardWorking(pSrc, pDst, *pSpec, work.as<T>());
    WorkingToPack(pDst, (int64_t)1 << pSpec->order);
    return StatusOk;
}

template <typename T>
VekStatus FftRealInversePack(const T* pSrc, T* pDst, const FftSpec<T>* pSpec, Vek8u* pBuffer)
{
    const VekStatus status = CheckReal(pSrc, pDst, pSpec);
    if (status != StatusOk)
        return status;
    const WorkMemory work(pBuffer, pSpec->workSize);
    if (work.isMissing())
        return StatusNoMemory;

    const int64_t n = (int64_t)1 << pSpec->order, m = n / 2;
    const T scale = pSpec->scaleInverse == 1 ? pSpec->scale : (T)1;
    const T first = Get(pSrc), last = Get(pSrc + n - 1);
    Put(pDst, first);
    if (n > 1) {
        memmove(pDst + 2, pSrc + 1, (size_t)(n - 2) * sizeof(T));
        Put(pDst + 1, last);
    }
    if (pSpec->order < kFirstTableOrder) {
        InverseSmall(pSpec->order, pDst, pDst, scale);
        return StatusOk;
    }
    // All terms become twice those of Z: with it the scale of n serves the transform of half of n.
    Put(pDst, first + last);
    Put(pDst + 1, first - last);
    WalkPairs<false>(pDst, m, (const T*)pSpec->realPre, kBlocks);
    Put(pDst + m, 2 * Get(pDst + m));
    Put(pDst + m + 1, -2 * Get(pDst + m + 1));
    const bool isSmall = pSpec->order - 1 < kFirstTableOrder;
    FftTransform<T, true>(*pSpec, pSpec->order - 1, Pairs<T>{pDst}, Pairs<T>{pDst}, isSmall ? (T)1 : scale, work.as<T>());
    if (isSmall)
        ScaleSamples(pDst, n, scale);
    return StatusOk;
}

template <typename T>
VekStatus SpectrumMulConj(const T* pSrc, T* pSrcDst, Vek32s len)
{
    if (!pSrc || !pSrcDst)  return StatusNullPointer;
    if (len < 1)            return StatusBadSize;

    Put(pSrcDst, Get(pSrc) * Get(pSrcDst));
    if (len % 2 == 0)
        Put(pSrcDst + len - 1, Get(pSrc + len - 1) * Get(pSrcDst + len - 1));
    const Pairs<T> first{(T*)pSrc + 1}, second{pSrcDst + 1};
    const int64_t pairs = (len - 1) / 2;
    int64_t i = 0;
    if (kBlocks)
        for (; pairs - i >= LanesOf<T>::kCount; i += LanesOf<T>::kCount)
            Store(second, i, MulRoot<true>(Load(first, i), Load(second, i)));
    for (; i < pairs; ++i)
        StoreOne(second, i, MulRoot<true>(LoadOne(first, i), LoadOne(second, i)));
    return StatusOk;
}

template void RealPostStep(Vek32f*, int64_t, const Vek32f*, bool);
template void WorkingToPack(Vek32f*, int64_t);
template VekStatus FftRealSpecBuild(FftSpec<Vek32f>**, Vek32s, Vek32s, Vek32u);
template VekStatus FftRealSpecBuild(FftSpec<Vek64f>**, Vek32s, Vek32s, Vek32u);
template VekStatus FftRealSpecFree(FftSpec<Vek32f>*);
template VekStatus FftRealSpecFree(FftSpec<Vek64f>*);
template VekStatus FftRealWorkBytes(const FftSpec<Vek32f>*, Vek32s*);
template VekStatus FftRealWorkBytes(const FftSpec<Vek64f>*, Vek32s*);
template VekStatus FftRealForwardPack(const Vek32f*, Vek32f*, const FftSpec<Vek32f>*, Vek8u*);
template VekStatus FftRealForwardPack(const Vek64f*, Vek64f*, const FftSpec<Vek64f>*, Vek8u*);
template VekStatus FftRealInversePack(const Vek32f*, Vek32f*, const FftSpec<Vek32f>*, Vek8u*);
template VekStatus FftRealInversePack(const Vek64f*, Vek64f*, const FftSpec<Vek64f>*, Vek8u*);
template VekStatus SpectrumMulConj(const Vek32f*, Vek32f*, Vek32s);
template VekStatus SpectrumMulConj(const Vek64f*, Vek64f*, Vek32s);

VekStatus veksFFTInitAlloc_R_32f(VekFftSpec** ppSpec, Vek32s order, Vek32s flag, Vek32s hint)
{
    return FftRealSpecBuild((FftSpec<Vek32f>**)ppSpec, order, flag, (Vek32u)hint);
}

VekStatus veksFFTFree_R_32f(VekFftSpec* pSpec) { return FftRealSpecFree((FftSpec<Vek32f>*)pSpec); }

VekStatus veksFFTFwd_RToCCS_32f(const Vek32f* pSrc, Vek32f* pDst, const VekFftSpec* pSpec, Vek8u* pBuffer)
{
    const auto* const spec = (const FftSpec<Vek32f>*)pSpec;
    const VekStatus status = CheckReal(pSrc, pDst, spec);
    if (status != StatusOk)
        return status;
    const WorkMemory work(pBuffer, spec->workSize);
    if (work.isMissing())
        return StatusNoMemory;
    ForwardWorking(pSrc, pDst, *spec, work.as<Vek32f>());
    const int64_t n = (int64_t)1 << spec->order;
    if (n > 1) {
        Put(pDst + n, Get(pDst + 1));
        Put(pDst + n + 1, 0.0f);
    }
    Put(pDst + 1, 0.0f);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
