// Cross-correlation over a window of lags: r(L) is the sum of src1[i] src2[i + L].
#include "fourier/fft_real.h"
#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// The transform path starts where the window times the ratio of the lengths exceeds this.
template <typename T> constexpr Vek32s kDirectLimit = sizeof(T) == sizeof(Vek32f) ? 383 : 511;

constexpr int64_t kOverlapSaveRatio = 3;

template <typename T>
struct Vectors {
    const T* first;
    int64_t firstLength;
    const T* second;
    int64_t secondLength;

    // The indices into `first` that meet `second` at a lag.
    int64_t Low(int64_t lag) const { return Max((int64_t)0, -lag); }
    int64_t High(int64_t lag) const { return Min(firstLength, secondLength - lag); }
};

template <typename T>
T SumProducts(const Vectors<T>& v, int64_t lag, int64_t from, int64_t to, T sum)
{
    for (int64_t i = from; i < to; ++i)
        sum += Get(v.first + i) * Get(v.second + i + lag);
    return sum;
}

// One lag alone, in partial sums.
template <typename T>
T SumInLanes(const Vectors<T>& v, int64_t lag)
{
    constexpr int kStep = LanesOf<T>::kCount;
    const int64_t from = v.Low(lag), to = v.High(lag);
    const T* const a = v.first;
    const T* const b = v.second + lag;
    auto s0 = SplatLanes((T)0), s1 = s0, s2 = s0, s3 = s0;
    int64_t i = from;
    for (; to - i >= 4 * kStep; i += 4 * kStep) {
        s0 = Add(s0, Mul(LoadU(a + i), LoadU(b + i)));
        s1 = Add(s1, Mul(LoadU(a + i + kStep), LoadU(b + i + kStep)));
        s2 = Add(s2, Mul(LoadU(a + i + 2 * kStep), LoadU(b + i + 2 * kStep)));
        s3 = Add(s3, Mul(LoadU(a + i + 3 * kStep), LoadU(b + i + 3 * kStep)));
    }
    alignas(16) T lanes[kStep];
    StoreA(lanes, Add(Add(s0, s1), Add(s2, s3)));
    T sum = 0;
    for (const T lane : lanes)
        sum += lane;
    return SumProducts(v, lag, i, to, sum);
}

// `registers` (1 or 4) of neighbouring lags at once, each lag a lane. The indices that all of them share
// run in registers; those that only some have come before and behind, in ascending order.
template <int registers, typename T>
void SumNeighbours(const Vectors<T>& v, int64_t lag, T* dst)
{
    constexpr int kStep = LanesOf<T>::kCount, kLags = registers * kStep, kWide = registers > 1 ? kStep : 0;
    const int64_t from = v.Low(lag), to = Max(from, v.High(lag + kLags - 1));
    alignas(16) T sums[kLags];
    for (int k = 0; k < kLags; ++k)
        sums[k] = SumProducts(v, lag + k, v.Low(lag + k), Min(from, v.High(lag + k)), (T)0);
    const T* const loaded = sums;
    auto s0 = LoadA(loaded), s1 = LoadA(loaded + kWide), s2 = LoadA(loaded + 2 * kWide), s3 = LoadA(loaded + 3 * kWide);
    for (int64_t i = from; i < to; ++i) {
        const auto a = SplatLanes(Get(v.first + i));
        const T* const b = v.second + i + lag;
        s0 = Add(s0, Mul(a, LoadU(b)));
        if (registers > 1) {
            s1 = Add(s1, Mul(a, LoadU(b + kStep)));
            s2 = Add(s2, Mul(a, LoadU(b + 2 * kStep)));
            s3 = Add(s3, Mul(a, LoadU(b + 3 * kStep)));
        }
    }
    StoreA(sums, s0);
    if (registers > 1) {
        StoreA(sums + kWide, s1);
        StoreA(sums + 2 * kWide, s2);
        StoreA(sums + 3 * kWide, s3);
    }
    for (int k = 0; k < kLags; ++k)
        Put(dst + k, SumProducts(v, lag + k, Max(to, v.Low(lag + k)), v.High(lag + k), sums[k]));
}

template <typename T>
void CorrelateDirectly(const Vectors<T>& v, int64_t lag, T* dst, int64_t count)
{
    int64_t n = 0;
    if (kBlocks) {
        constexpr int kStep = LanesOf<T>::kCount;
        for (; count - n >= 4 * kStep; n += 4 * kStep)
            SumNeighbours<4>(v, lag + n, dst + n);
        for (; count - n >= kStep; n += kStep)
            SumNeighbours<1>(v, lag + n, dst + n);
        for (; n < count; ++n)
            Put(dst + n, SumInLanes(v, lag + n));
    }
    for (; n < count; ++n)
        Put(dst + n, SumProducts(v, lag + n, v.Low(lag + n), v.High(lag + n), (T)0));
}

Vek32s OrderFor(int64_t n)
{
    Vek32s order = 1;
    while ((int64_t)1 << order < n)
        ++order;
    return order;
}

// What a transform correlation holds; everything goes with it.
template <typename T>
struct Workshop {
    FftSpec<T>* spec = nullptr;
    Vek8u* work = nullptr;
    T* arrays = nullptr;

    ~Workshop()
    {
        ReleaseBlock(arrays);
        ReleaseBlock(work);
        if (spec)
            FftRealSpecFree(spec);
    }
};

template <typename T>
VekStatus Prepare(Workshop<T>& shop, Vek32s order, int64_t arrays)
{
    const VekStatus status = FftRealSpecBuild(&shop.spec, order, FftScaleInverse, 0);
    if (status != StatusOk)
        return status;
    Vek32s workBytes = 0;
    FftRealWorkBytes((const FftSpec<T>*)shop.spec, &workBytes);
    shop.work = (Vek8u*)AllocateBlock(workBytes);  // without it each transform takes its own
    shop.arrays = (T*)AllocateBlock((arrays * (int64_t)sizeof(T)) << order);
    return shop.arrays ? StatusOk : StatusNoMemory;
}

// array: `zeros` zeros, `count` samples, zeros up to n.
template <typename T>
void Pad(T* array, int64_t n, int64_t zeros, const T* samples, int64_t count)
{
    memset(array, 0, (size_t)zeros * sizeof(T));
    memcpy(array + zeros, samples, (size_t)count * sizeof(T));
    memset(array + zeros + count, 0, (size_t)(n - zeros - count) * sizeof(T));
}

// b becomes the correlation of b by a, of which the spectrum is given and lost.
template <typename T>
VekStatus CorrelateSpectrum(const Workshop<T>& shop, T* a, T* b, int64_t n)
{
    const FftSpec<T>* const spec = shop.spec;
    VekStatus status = FftRealForwardPack((const T*)b, b, spec, shop.work);
    if (status == StatusOk)
        status = SpectrumMulConj((const T*)b, a, (Vek32s)n);
    if (status == StatusOk)
        status = FftRealInversePack((const T*)a, b, spec, shop.work);
    return status;
}

template <typename T>
VekStatus CorrelateWhole(const Vectors<T>& v, int64_t position, T* dst, int64_t count)
{
    const Vek32s order = OrderFor(v.firstLength + v.secondLength - 1);
    const int64_t n = (int64_t)1 << order;
    Workshop<T> shop;
    VekStatus status = Prepare(shop, order, 2);
    if (status != StatusOk)
        return status;
    T *const a = shop.arrays, *const b = a + n;
    Pad(a, n, 0, v.first, v.firstLength);
    Pad(b, n, v.firstLength - 1, v.second, v.secondLength);
    status = FftRealForwardPack((const T*)a, a, (const FftSpec<T>*)shop.spec, shop.work);
    if (status == StatusOk)
        status = CorrelateSpectrum(shop, a, b, n);
    if (status == StatusOk)
        memcpy(dst, b + position, (size_t)count * sizeof(T));
    return status;
}

// Positions count lags of the longer vector against the shorter one from their first overlap. Each
// block yields `valid` of them; blocks outside the window are skipped.
template <typename T>
VekStatus CorrelateBlocks(const Vectors<T>& v, int64_t position, T* dst, int64_t count)
{
    const bool isReversed = v.firstLength >= v.secondLength;
    const T* const longer = isReversed ? v.first : v.second;
    const T* const shorter = isReversed ? v.second : v.first;
    const int64_t longLength = Max(v.firstLength, v.secondLength), shortLength = Min(v.firstLength, v.secondLength);
    const int64_t begin = isReversed ? longLength + shortLength - 1 - position - count : position, end = begin + count;

    const Vek32s order = OrderFor(2 * shortLength) + 1;
    const int64_t n = (int64_t)1 << order, valid = n - shortLength + 1;
    Workshop<T> shop;
    VekStatus status = Prepare(shop, order, 3);
    if (status != StatusOk)
        return status;
    T *const a = shop.arrays, *const b = a + n, *const kept = b + n;
    Pad(kept, n, 0, shorter, shortLength);
    status = FftRealForwardPack((const T*)kept, kept, (const FftSpec<T>*)shop.spec, shop.work);
    for (int64_t block = begin / valid * valid; status == StatusOk && block < end; block += valid) {
        const int64_t first = block - (shortLength - 1), zeros = Max((int64_t)0, -first);
        const int64_t samples = Min(n - zeros, longLength - (first + zeros));
        memcpy(a, kept, (size_t)n * sizeof(T));
        Pad(b, n, zeros, longer + first + zeros, samples);
        status = CorrelateSpectrum(shop, a, b, n);
        if (status != StatusOk)
            break;
        const int64_t from = Max(begin, block), to = Min(end, block + valid);
        memcpy(dst + (from - begin), b + (from - block), (size_t)(to - from) * sizeof(T));
    }
    if (status == StatusOk && isReversed)
        for (int64_t i = 0, j = count - 1; i < j; ++i, --j) {
            const T low = Get(dst + i), high = Get(dst + j);
            Put(dst + i, high);
            Put(dst + j, low);
        }
    return status;
}

template <typename T>
VekStatus Correlate(const T* pSrc1, Vek32s src1Len, const T* pSrc2, Vek32s src2Len, T* pDst, Vek32s dstLen, Vek32s lowLag)
{
    if (!pSrc1 || !pSrc2 || !pDst)                return StatusNullPointer;
    if (src1Len < 1 || src2Len < 1 || dstLen < 1) return StatusBadSize;

    // Lags without any overlap, before and behind, are zeros.
    int64_t lag = lowLag, left = dstLen;
    const int64_t lowest = 1 - (int64_t)src1Len;
    if (lag < lowest) {
        const int64_t zeros = Min(lowest - lag, left);
        memset(pDst, 0, (size_t)zeros * sizeof(T));
        pDst += zeros;
        left -= zeros;
        lag = lowest;
    }
    if (left == 0)
        return StatusOk;
    const int64_t overlapping = Max((int64_t)0, src2Len - lag);
    if (left > overlapping) {
        memset(pDst + overlapping, 0, (size_t)(left - overlapping) * sizeof(T));
        left = overlapping;
    }
    if (left == 0)
        return StatusOk;

    const Vectors<T> v = {pSrc1, src1Len, pSrc2, src2Len};
    const Vek32s shorter = Min(src1Len, src2Len), longer = Max(src1Len, src2Len);
    // Truncation belongs to the rule: the limit's own fractions stay direct.
    const Vek32f weight = (Vek32f)left * (Vek32f)shorter / (Vek32f)longer;
    if (weight < (Vek32f)(kDirectLimit<T> + 1)) {
        CorrelateDirectly(v, lag, pDst, left);
        return StatusOk;
    }
    const int64_t position = lag - lowest;
    if (longer >= kOverlapSaveRatio * shorter)
        return CorrelateBlocks(v, position, pDst, left);
    return CorrelateWhole(v, position, pDst, left);
}

}  // namespace

VekStatus veksCrossCorr_32f(const Vek32f* pSrc1, Vek32s src1Len, const Vek32f* pSrc2, Vek32s src2Len, Vek32f* pDst, Vek32s dstLen, Vek32s lowLag)
{
    return Correlate(pSrc1, src1Len, pSrc2, src2Len, pDst, dstLen, lowLag);
}

VekStatus veksCrossCorr_64f(const Vek64f* pSrc1, Vek32s src1Len, const Vek64f* pSrc2, Vek32s src2Len, Vek64f* pDst, Vek32s dstLen, Vek32s lowLag)
{
    return Correlate(pSrc1, src1Len, pSrc2, src2Len, pDst, dstLen, lowLag);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
