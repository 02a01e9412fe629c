// Convolution with a single-precision kernel. The order of the additions is part of the contract, so
// lanes are samples and every lane adds in that order.
#include "filter/taps.h"
#include "frame/memory.h"
#include "frame/simd_float.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Whether the taps are added to one sum, or each row's taps to its own and the rows' sums then.
enum class Order { Direct, ByRow };

Vek32f Sum(const Vek8u* p, const TapSource& source, const Vek32f* pKernel, VekImageSize kernel)
{
    const Vek32f* k = pKernel + (int64_t)kernel.width * kernel.height;
    Vek32f sum = 0;
    for (Vek32s m = 0; m < kernel.height; ++m) {
        const Vek8u* row = Row(p, source.step, m);
        for (Vek32s n = 0; n < kernel.width; ++n)
            sum += Get(--k) * row[(int64_t)n * source.pixel];
    }
    return sum;
}

void FilterScalar(const TapSource& source, Vek8u* pDst, Vek32s dstStep, int64_t samples, Vek32s height,
                  const Vek32f* pKernel, VekImageSize kernel)
{
    for (Vek32s y = 0; y < height; ++y) {
        const Vek8u* src = Row(source.first, source.step, y);
        Vek8u* dst = Row(pDst, dstStep, y);
        for (int64_t x = 0; x < samples; ++x)
            dst[x] = RoundToByte(Sum(src + x, source, pKernel, kernel));
    }
}

// ---- Blocks, over a ring of source rows converted once ----

struct Ring {
    Vek32f* coefficients;  // flipped, each four times
    Vek32f* rows;          // `slots` rows of `stride` samples
    int64_t stride;
    int64_t slots;         // the kernel's height, and a row more where two destination rows are made at once

    int64_t After(int64_t slot, int count = 1) const { return slot + count < slots ? slot + count : slot + count - slots; }
    const Vek32f* At(int64_t slot, int64_t x) const { return rows + slot * stride + x; }
};

void ConvertRow(const Vek8u* src, Vek32f* dst, int64_t samples)
{
    for (int64_t i = 0; i < samples; i += 16) {
        const int64_t x = Min(i, samples - 16);  // a row is at least one block
        const V v = LoadU(src + x);
        StoreU(dst + x, ToFloat(WidenLow8uTo32(v)));
        StoreU(dst + x + 4, ToFloat(WidenLow8uTo32(BytesDown<4>(v))));
        StoreU(dst + x + 8, ToFloat(WidenLow8uTo32(BytesDown<8>(v))));
        StoreU(dst + x + 12, ToFloat(WidenLow8uTo32(BytesDown<12>(v))));
    }
}

// The minimum keeps what is no number, which converts to the least integer.
inline V RoundBlock(F v) { return Nearest32s(Min(SplatF(255), v)); }

struct Sums {
    F a, b, c, d;
};

inline Sums Products(const Vek32f* p, F coefficient)
{
    return {Mul(LoadU(p), coefficient), Mul(LoadU(p + 4), coefficient), Mul(LoadU(p + 8), coefficient), Mul(LoadU(p + 12), coefficient)};
}

inline void AddTo(Sums& s, const Sums& t) { s = {Add(s.a, t.a), Add(s.b, t.b), Add(s.c, t.c), Add(s.d, t.d)}; }

// taps: those of the row still to add, or 0 where they are not known beforehand and `kernelWidth` tells.
template <int taps>
inline void AddTaps(Sums& s, const Vek32f* p, const Vek32f* k, Vek32s kernelWidth, Vek32s pixel)
{
    if constexpr (taps > 0) {
        AddTo(s, Products(p, LoadA(k)));
        if constexpr (taps > 1)
            AddTaps<taps - 1>(s, p + pixel, k + 4, kernelWidth, pixel);
    } else {
        for (Vek32s n = 0; n < kernelWidth; ++n)
            AddTo(s, Products(p + (int64_t)n * pixel, LoadA(k + 4 * (int64_t)n)));
    }
}

// The same samples to two sums.
inline void AddTo(F& s, F k, F& t, F l, const Vek32f* p)
{
    const F sample = Held(LoadU(p));
    s = Add(s, Mul(sample, k));
    t = Add(t, Mul(sample, l));
}

inline void AddTap(Sums& s, F k, Sums& t, F l, const Vek32f* p)
{
    AddTo(s.a, k, t.a, l, p);
    AddTo(s.b, k, t.b, l, p + 4);
    AddTo(s.c, k, t.c, l, p + 8);
    AddTo(s.d, k, t.d, l, p + 12);
    Settle(s.a, s.b, s.c, s.d);
    Settle(t.a, t.b, t.c, t.d);
}

template <int taps>
inline void AddTaps(Sums& s, const Vek32f* k, Sums& t, const Vek32f* l, const Vek32f* p, Vek32s kernelWidth, Vek32s pixel)
{
    if constexpr (taps > 0) {
        AddTap(s, LoadA(k), t, LoadA(l), p);
        if constexpr (taps > 1)
            AddTaps<taps - 1>(s, k + 4, t, l + 4, p + pixel, kernelWidth, pixel);
    } else {
        for (Vek32s n = 0; n < kernelWidth; ++n)
            AddTap(s, LoadA(k + 4 * (int64_t)n), t, LoadA(l + 4 * (int64_t)n), p + (int64_t)n * pixel);
    }
}

// A sum begins with its first product: only the sign of a zero tells it from a sum that begins with 0,
// and no byte shows that.
template <int width>
inline Sums RowSums(const Vek32f* p, const Vek32f* k, Vek32s kernelWidth, Vek32s pixel)
{
    Sums s = Products(p, LoadA(k));
    AddTaps<(width > 0 ? width - 1 : 0)>(s, p + pixel, k + 4, kernelWidth - 1, pixel);
    return s;
}

inline void StoreRounded(Vek8u* dst, const Sums& s)
{
    StoreU(dst, Pack16sTo8u(Pack32sTo16s(RoundBlock(s.a), RoundBlock(s.b)), Pack32sTo16s(RoundBlock(s.c), RoundBlock(s.d))));
}

// Four samples under a kernel of three by three, whose coefficients stay in registers.
template <Order order>
inline F Sum3x3(const F (&k)[9], const Vek32f* const (&rows)[3], int64_t x, Vek32s pixel)
{
    const auto product = [&](int i) { return Mul(LoadU(rows[i / 3] + x + i % 3 * (int64_t)pixel), k[i]); };
    F sum = Add(Add(product(0), product(1)), product(2));
    if constexpr (order == Order::ByRow) {
        sum = Add(sum, Add(Add(product(3), product(4)), product(5)));
        return Add(sum, Add(Add(product(6), product(7)), product(8)));
    }
    sum = Add(Add(Add(sum, product(3)), product(4)), product(5));
    return Add(Add(Add(sum, product(6)), product(7)), product(8));
}

template <Order order>
void FilterRow3x3(const Ring& ring, int64_t oldest, Vek8u* dst, Vek32s, int64_t samples, VekImageSize, Vek32s pixel)
{
    const Vek32f* rows[3];
    F k[9];
    for (int m = 0; m < 3; ++m)
        rows[m] = ring.At(ring.After(oldest, m), 0);
    for (int i = 0; i < 9; ++i)
        k[i] = LoadA(ring.coefficients + 4 * i);
    for (int64_t i = 0; i < samples; i += 16) {
        const int64_t x = Min(i, samples - 16);
        const auto rounded = [&](int part) { return RoundBlock(Sum3x3<order>(k, rows, x + 4 * part, pixel)); };
        const V a = rounded(0), ab = Pack32sTo16s(a, rounded(1));
        const V c = rounded(2), cd = Pack32sTo16s(c, rounded(3));
        StoreU(dst + x, Pack16sTo8u(ab, cd));
    }
}

template <Order order, int width>
void FilterRow(const Ring& ring, int64_t oldest, Vek8u* dst, Vek32s, int64_t samples, VekImageSize kernel, Vek32s pixel)
{
    for (int64_t i = 0; i < samples; i += 16) {
        const int64_t x = Min(i, samples - 16);
        const Vek32f* k = ring.coefficients;
        Sums s = RowSums<width>(ring.At(oldest, x), k, kernel.width, pixel);
        for (int64_t m = 1, r = oldest; m < kernel.height; ++m) {
            k += 4 * (int64_t)kernel.width;
            r = ring.After(r);
            if constexpr (order == Order::ByRow)
                AddTo(s, RowSums<width>(ring.At(r, x), k, kernel.width, pixel));
            else
                AddTaps<width>(s, ring.At(r, x), k, kernel.width, pixel);
        }
        StoreRounded(dst + x, s);
    }
}

// Two destination rows, for which the source rows that the kernel covers in both are loaded once. Sums by row would
// need more registers than there are.
template <int width>
void FilterTwoRows(const Ring& ring, int64_t oldest, Vek8u* dst, Vek32s dstStep, int64_t samples, VekImageSize kernel, Vek32s pixel)
{
    for (int64_t i = 0; i < samples; i += 16) {
        const int64_t x = Min(i, samples - 16);
        const Vek32f* k = ring.coefficients;
        Sums s = RowSums<width>(ring.At(oldest, x), k, kernel.width, pixel), t = {ZeroF(), ZeroF(), ZeroF(), ZeroF()};
        int64_t r = oldest;
        for (Vek32s m = 1; m < kernel.height; ++m, k += 4 * (int64_t)kernel.width) {
            r = ring.After(r);
            AddTaps<width>(s, k + 4 * (int64_t)kernel.width, t, k, ring.At(r, x), kernel.width, pixel);
        }
        AddTaps<width>(t, ring.At(ring.After(r), x), k, kernel.width, pixel);
        StoreRounded(dst + x, s);
        StoreRounded(Row(dst, dstStep, 1) + x, t);
    }
}

// One or two destination rows from the ring, whose first source row stands in slot `oldest`.
using RowFilter = void (*)(const Ring& ring, int64_t oldest, Vek8u* dst, Vek32s dstStep, int64_t samples, VekImageSize kernel, Vek32s pixel);

void FilterBlocks(const TapSource& source, Vek8u* pDst, Vek32s dstStep, int64_t samples, Vek32s height,
                  const Ring& ring, VekImageSize kernel, RowFilter filterRow, RowFilter filterTwoRows)
{
    const int64_t read = samples + (int64_t)(kernel.width - 1) * source.pixel;
    const Vek8u* src = source.first;
    int64_t next = 0;
    const auto convert = [&](Vek32s rows) {
        for (Vek32s i = 0; i < rows; ++i) {
            ConvertRow(src, ring.rows + next * ring.stride, read);
            src = Offset(src, source.step);
            next = ring.After(next);
        }
    };
    convert(kernel.height - 1);
    int64_t oldest = 0;
    for (Vek32s y = 0; y < height;) {
        const int rows = filterTwoRows && y + 1 < height ? 2 : 1;
        convert(rows);
        (rows == 2 ? filterTwoRows : filterRow)(ring, oldest, Row(pDst, dstStep, y), dstStep, samples, kernel, source.pixel);
        oldest = ring.After(oldest, rows);
        y += rows;
    }
}

struct RowFilters {
    RowFilter one, two;
};

template <Order order, int width>
RowFilters FiltersOfWidth()
{
    if constexpr (order == Order::Direct)
        return {FilterRow<order, width>, FilterTwoRows<width>};
    else
        return {FilterRow<order, width>, nullptr};
}

template <Order order>
RowFilters ChooseFilters(VekImageSize kernel)
{
    if (kernel.width == 3 && kernel.height == 3)
        return {FilterRow3x3<order>, nullptr};
    return kernel.width == 3 ? FiltersOfWidth<order, 3>()
        : kernel.width == 5 ? FiltersOfWidth<order, 5>()
        : kernel.width == 7 ? FiltersOfWidth<order, 7>()
        : FiltersOfWidth<order, 0>();
}

// False where the scalar loop has to do it, in the direct order then.
template <Order order>
bool TryBlocks(const TapSource& source, Vek8u* pDst, Vek32s dstStep, int64_t samples, Vek32s height,
               const Vek32f* pKernel, VekImageSize kernel)
{
    const RowFilters filters = ChooseFilters<order>(kernel);
    const int64_t taps = (int64_t)kernel.width * kernel.height;
    const int64_t stride = (samples + (int64_t)(kernel.width - 1) * source.pixel + 3) & ~(int64_t)3;
    const int64_t slots = (int64_t)kernel.height + (filters.two ? 1 : 0);
    auto* scratch = (Vek32f*)AllocateBlock((4 * taps + stride * slots) * (int64_t)sizeof(Vek32f));
    if (!scratch)
        return false;
    for (int64_t i = 0; i < taps; ++i)
        StoreA(scratch + 4 * i, SplatF(Get(pKernel + (taps - 1 - i))));
    FilterBlocks(source, pDst, dstStep, samples, height, {scratch, scratch + 4 * taps, stride, slots}, kernel, filters.one, filters.two);
    ReleaseBlock(scratch);
    return true;
}

VekStatus Filter(Vek32s channels, const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize size,
                 const Vek32f* pKernel, VekImageSize kernel, VekPoint anchor)
{
    if (!pSrc || !pDst || !pKernel)                                                      return StatusNullPointer;
    if (size.width < 1 || size.height < 1 || kernel.width < 1 || kernel.height < 1)      return StatusBadSize;
    if (!IsGoodStep(srcStep, dstStep, channels, size, kernel))                           return StatusBadStep;

    const TapSource source = FirstTap(pSrc, srcStep, channels, kernel, anchor);
    const int64_t samples = (int64_t)size.width * channels;
    bool done = false;
    const RoundToNearest nearest;
    if (kBlocks && samples >= 16)
        done = channels == 1 && kernel.width >= 3
            ? TryBlocks<Order::ByRow>(source, pDst, dstStep, samples, size.height, pKernel, kernel)
            : TryBlocks<Order::Direct>(source, pDst, dstStep, samples, size.height, pKernel, kernel);
    if (!done)
        FilterScalar(source, pDst, dstStep, samples, size.height, pKernel, kernel);
    return StatusOk;
}

}  // namespace

VekStatus vekiFilter32f_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               const Vek32f* pKernel, VekImageSize kernelSize, VekPoint anchor)
{
    return Filter(1, pSrc, srcStep, pDst, dstStep, dstRoiSize, pKernel, kernelSize, anchor);
}

VekStatus vekiFilter32f_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               const Vek32f* pKernel, VekImageSize kernelSize, VekPoint anchor)
{
    return Filter(3, pSrc, srcStep, pDst, dstStep, dstRoiSize, pKernel, kernelSize, anchor);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
