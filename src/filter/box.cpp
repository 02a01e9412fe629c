// The window mean of three-channel bytes. Column sums slide down, a window's sum slides along them.
//
// A 3x3 mask, an area up to 8100 and a larger one scale their sums in three ways that differ in the
// last bit. The sums themselves are exact and take the narrowest type that holds them, except those of
// single precision that pass 2^24, where every addition stands in the order of the scalar loop.
#include "frame/memory.h"
#include "frame/simd_float.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kChannels = 3;
constexpr int64_t kLargestIntegerArea = 8100;

// ---- 3x3 ----

constexpr Vek32s kNinth = 29128;  // of 2^18, rounded up

struct Words {
    V low, high;
};

inline Words ColumnSums3(const Vek8u* p, int64_t step)
{
    const V a = LoadU(p), b = LoadU(Offset(p, step)), c = LoadU(Offset(p, 2 * step));
    return {Add16(Add16(WidenLow8u(a), WidenLow8u(b)), WidenLow8u(c)), Add16(Add16(WidenHigh8u(a), WidenHigh8u(b)), WidenHigh8u(c))};
}

inline V Ninth(V s) { return ShiftRight16u<2>(MulHigh16u(s, Splat16(kNinth))); }

// The row of `samples`, whose windows start at src.
void Box3Row(const Vek8u* src, int64_t step, Vek8u* dst, int64_t samples)
{
    int64_t x = 0;
    if (kBlocks && samples >= 16) {
        // Words 3 and 6 further on are the next pixels' samples of the same channel.
        if (samples - x >= 26) {
            Words here = ColumnSums3(src, step);
            for (; samples - x >= 26; x += 16) {
                const Words next = ColumnSums3(src + x + 16, step);
                const V low = Add16(Add16(here.low, Concat<6>(here.low, here.high)), Concat<12>(here.low, here.high));
                const V high = Add16(Add16(here.high, Concat<6>(here.high, next.low)), Concat<12>(here.high, next.low));
                StoreU(dst + x, Pack16sTo8u(Ninth(low), Ninth(high)));
                here = next;
            }
        }
        for (; x < samples; x += 16) {
            x = Min(x, samples - 16);
            const Words a = ColumnSums3(src + x, step), b = ColumnSums3(src + x + 3, step), c = ColumnSums3(src + x + 6, step);
            StoreU(dst + x, Pack16sTo8u(Ninth(Add16(Add16(a.low, b.low), c.low)), Ninth(Add16(Add16(a.high, b.high), c.high))));
        }
    }
    for (; x < samples; ++x) {
        Vek32s s = 0;
        for (int m = 0; m < 3; ++m) {
            const Vek8u* p = Offset(src + x, m * step);
            s += p[0] + p[kChannels] + p[2 * kChannels];
        }
        dst[x] = (Vek8u)(s * kNinth >> 18);
    }
}

// ---- Scaling ----

struct Reciprocal {
    Vek32u factor;  // integer form: sum * factor >> shift
    Vek32s shift;
    Vek32f single;  // float form
};

Reciprocal MakeReciprocal(int64_t area)
{
    Reciprocal r = {256, 8, 1.0f / (Vek32f)area};
    if (area > 1 && area <= kLargestIntegerArea) {
        Vek32u u = (Vek32u)((Vek64f)r.single * 4294967295.0);
        Vek32s n = 0;
        for (; n < 24 && !(u & 0x80000000u); ++n)
            u <<= 1;
        r.factor = (u >> 20) + 1;
        r.shift = n + 12;
    }
    return r;
}

constexpr Vek32f kNudge = 0.000009f;  // lifts a mean that is a whole number past its rounding error

Vek8u Scale(Vek32s s, const Reciprocal& r) { return (Vek8u)(((Vek32u)s * r.factor) >> r.shift); }
Vek8u Scale(Vek32f s, const Reciprocal& r) { return Saturate8u((Vek32s)(s * r.single + kNudge)); }

struct ExactFloat { Vek32s sum; };  // a sum of the float form that an integer holds as well

// Sums of a type, and 16 means of them.
template <typename T> struct Sums;

template <> struct Sums<Vek16u> {
    using Sum = Vek16u;
    static V Load4(const Sum* p) { return Load64(p); }
    static V Plus(V a, V b) { return Add16(a, b); }
    static V Slide(V s, V in, V out) { return Add16(s, Held(Sub16(in, out))); }
    static void Store4(Sum* p, V s) { Store64(p, s); }

    // The product's upper 16 bits need a shift of at least 16: the factor takes what is missing.
    static void Store16(Vek8u* dst, const Sum* s, const Reciprocal& r)
    {
        const Vek32s missing = Max(16 - r.shift, 0);
        const V factor = Splat16((int)(r.factor << missing)), count = ShiftCount(r.shift + missing - 16);
        StoreU(dst, Pack16sTo8u(ShiftRight16uBy(MulHigh16u(LoadU(s), factor), count), ShiftRight16uBy(MulHigh16u(LoadU(s + 8), factor), count)));
    }
    static Vek8u Store1(Sum s, const Reciprocal& r) { return Scale((Vek32s)s, r); }

    static void Slide16(Sum* s, const Vek8u* in, const Vek8u* out)
    {
        const V a = LoadU(in), b = LoadU(out);
        StoreU(s, Add16(LoadU(s), Sub16(WidenLow8u(a), WidenLow8u(b))));
        StoreU(s + 8, Add16(LoadU(s + 8), Sub16(WidenHigh8u(a), WidenHigh8u(b))));
    }
};

template <> struct Sums<Vek32s> {
    using Sum = Vek32s;
    static V Load4(const Sum* p) { return LoadU(p); }
    static V Plus(V a, V b) { return Add32(a, b); }
    static V Slide(V s, V in, V out) { return Add32(s, Held(Sub32(in, out))); }
    static void Store4(Sum* p, V s) { StoreU(p, s); }

    static void Store16(Vek8u* dst, const Sum* s, const Reciprocal& r)
    {
        const V factor = Splat32((Vek32s)r.factor), count = ShiftCount(r.shift);
        const auto mean = [&](const Sum* p) { return ShiftRight32uBy(MulLow32(LoadU(p), factor), count); };
        StoreU(dst, Pack16sTo8u(Pack32sTo16s(mean(s), mean(s + 4)), Pack32sTo16s(mean(s + 8), mean(s + 12))));
    }
    static Vek8u Store1(Sum s, const Reciprocal& r) { return Scale(s, r); }

    static void Slide16(Sum* s, const Vek8u* in, const Vek8u* out)
    {
        const V a = LoadU(in), b = LoadU(out);
        const V low = Sub16(WidenLow8u(a), WidenLow8u(b)), high = Sub16(WidenHigh8u(a), WidenHigh8u(b));
        StoreU(s, Add32(LoadU(s), WidenLow16s(low)));
        StoreU(s + 4, Add32(LoadU(s + 4), WidenHigh16s(low)));
        StoreU(s + 8, Add32(LoadU(s + 8), WidenLow16s(high)));
        StoreU(s + 12, Add32(LoadU(s + 12), WidenHigh16s(high)));
    }
};

inline V FloatMean(F s, const Reciprocal& r) { return Truncate32s(Add(Mul(s, SplatF(r.single)), SplatF(kNudge))); }

template <> struct Sums<ExactFloat> : Sums<Vek32s> {
    static void Store16(Vek8u* dst, const Sum* s, const Reciprocal& r)
    {
        const auto mean = [&](const Sum* p) { return FloatMean(ToFloat(LoadU(p)), r); };
        StoreU(dst, Pack16sTo8u(Pack32sTo16s(mean(s), mean(s + 4)), Pack32sTo16s(mean(s + 8), mean(s + 12))));
    }
    static Vek8u Store1(Sum s, const Reciprocal& r) { return Scale((Vek32f)s, r); }
};

template <> struct Sums<Vek32f> {
    using Sum = Vek32f;
    static F Load4(const Sum* p) { return LoadU(p); }
    static F Plus(F a, F b) { return Add(a, b); }
    static F Slide(F s, F in, F out) { return Add(s, Sub(in, out)); }
    static void Store4(Sum* p, F s) { StoreU(p, s); }

    static void Store16(Vek8u* dst, const Sum* s, const Reciprocal& r)
    {
        const auto mean = [&](const Sum* p) { return FloatMean(LoadU(p), r); };
        StoreU(dst, Pack16sTo8u(Pack32sTo16s(mean(s), mean(s + 4)), Pack32sTo16s(mean(s + 8), mean(s + 12))));
    }
    static Vek8u Store1(Sum s, const Reciprocal& r) { return Scale(s, r); }

    static void Slide16(Sum* s, const Vek8u* in, const Vek8u* out)
    {
        const V a = LoadU(in), b = LoadU(out);
        const V low = Sub16(WidenLow8u(a), WidenLow8u(b)), high = Sub16(WidenHigh8u(a), WidenHigh8u(b));
        StoreU(s, Add(LoadU(s), ToFloat(WidenLow16s(low))));
        StoreU(s + 4, Add(LoadU(s + 4), ToFloat(WidenHigh16s(low))));
        StoreU(s + 8, Add(LoadU(s + 8), ToFloat(WidenLow16s(high))));
        StoreU(s + 12, Add(LoadU(s + 12), ToFloat(WidenHigh16s(high))));
    }
};

// ---- The sliding sums ----

// sums += in - out, for a column each.
template <typename T>
void SlideColumns(typename Sums<T>::Sum* sums, const Vek8u* in, const Vek8u* out, int64_t samples)
{
    using Sum = typename Sums<T>::Sum;
    int64_t x = 0;
    if constexpr (kBlocks)
        for (; samples - x >= 16; x += 16)
            Sums<T>::Slide16(sums + x, in + x, out + x);
    for (; x < samples; ++x)
        sums[x] = (Sum)(sums[x] + (Sum)(in[x] - out[x]));
}

template <typename T>
void AddColumns(typename Sums<T>::Sum* sums, const Vek8u* in, int64_t samples)
{
    using Sum = typename Sums<T>::Sum;
    for (int64_t x = 0; x < samples; ++x)
        sums[x] = (Sum)(sums[x] + (Sum)in[x]);
}

// A row of means by blocks: a pixel's sums are the lanes of a register, with one lane to spare, and a
// run of them is scaled at once.
template <typename T>
void MeanRowBlocks(const typename Sums<T>::Sum* columns, Vek8u* dst, Vek32s width, Vek32s maskWidth, const Reciprocal& r)
{
    using S = Sums<T>;
    constexpr Vek32s kRun = 128;
    typename S::Sum run[kRun * kChannels + 1];
    auto sum = S::Load4(columns);
    const typename S::Sum* in = columns + kChannels;
    for (Vek32s i = 1; i < maskWidth; ++i, in += kChannels)
        sum = S::Plus(sum, S::Load4(in));
    for (Vek32s done = 0; done < width;) {
        const Vek32s pixels = Min(kRun, width - done);
        for (Vek32s i = 0; i < pixels; ++i) {
            S::Store4(run + i * kChannels, sum);
            sum = S::Slide(sum, S::Load4(in), S::Load4(columns));
            in += kChannels;
            columns += kChannels;
        }
        const Vek32s samples = pixels * kChannels;
        Vek32s x = 0;
        if (samples >= 16)
            for (; x < samples; x += 16) {
                x = Min(x, samples - 16);
                S::Store16(dst + x, run + x, r);
            }
        for (; x < samples; ++x)
            dst[x] = S::Store1(run[x], r);
        dst += samples;
        done += pixels;
    }
}

template <typename T>
void MeanRow(const typename Sums<T>::Sum* columns, Vek8u* dst, Vek32s width, Vek32s maskWidth, const Reciprocal& r)
{
    using Sum = typename Sums<T>::Sum;
    for (int c = 0; c < kChannels; ++c) {
        const Sum* out = columns + c;
        const Sum* in = out;
        Sum sum = 0;
        for (Vek32s i = 0; i < maskWidth; ++i, in += kChannels)
            sum = (Sum)(sum + *in);
        for (Vek32s x = 0; x < width; ++x, in += kChannels, out += kChannels) {
            dst[(int64_t)x * kChannels + c] = Sums<T>::Store1(sum, r);
            sum = (Sum)(sum + (Sum)(*in - *out));
        }
    }
}

// The window that slides out of the last pixel looks at one column past the last, and blocks at a lane
// more: `scratch` holds two pixels of zeros behind the columns.
template <typename T>
void BoxSums(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, VekImageSize size, VekImageSize mask,
             const Reciprocal& r, void* scratch, int64_t scratchBytes)
{
    auto* columns = (typename Sums<T>::Sum*)scratch;
    const int64_t samples = ((int64_t)size.width + mask.width - 1) * kChannels;
    memset(scratch, 0, (size_t)scratchBytes);
    for (Vek32s m = 0; m < mask.height; ++m)
        AddColumns<T>(columns, Row(src, srcStep, m), samples);
    for (Vek32s y = 0;; ++y) {
        if constexpr (kBlocks)
            MeanRowBlocks<T>(columns, Row(dst, dstStep, y), size.width, mask.width, r);
        else
            MeanRow<T>(columns, Row(dst, dstStep, y), size.width, mask.width, r);
        if (y + 1 == size.height)
            break;
        const Vek8u* top = Row(src, srcStep, y);
        SlideColumns<T>(columns, Offset(top, (int64_t)mask.height * srcStep), top, samples);
    }
}

}  // namespace

VekStatus vekiFilterBox_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize dstRoiSize,
                               VekImageSize maskSize, VekPoint anchor)
{
    if (!pSrc || !pDst)                                  return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)                      return StatusBadStep;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)   return StatusBadSize;
    if (maskSize.width < 1 || maskSize.height < 1)       return StatusBadMaskSize;
    if (anchor.x < 0 || anchor.x >= maskSize.width || anchor.y < 0 || anchor.y >= maskSize.height)
        return StatusBadAnchor;

    const Vek8u* src = Offset(pSrc, -(int64_t)anchor.y * srcStep - (int64_t)anchor.x * kChannels);
    if (maskSize.width == 3 && maskSize.height == 3) {
        for (Vek32s y = 0; y < dstRoiSize.height; ++y)
            Box3Row(Row(src, srcStep, y), srcStep, Row(pDst, dstStep, y), (int64_t)dstRoiSize.width * kChannels);
        return StatusOk;
    }

    const int64_t bytes = ((int64_t)dstRoiSize.width + maskSize.width + 2) * kChannels * (int64_t)sizeof(Vek32s);
    void* scratch = AllocateBlock(bytes);
    if (!scratch)
        return StatusNoMemory;
    const int64_t area = (int64_t)maskSize.width * maskSize.height;
    const Reciprocal r = MakeReciprocal(area);
    auto* sums = area > kLargestIntegerArea ? BoxSums<Vek32f> : BoxSums<Vek32s>;
    if constexpr (kBlocks) {
        if (area > kLargestIntegerArea && area * 255 <= 1 << 24)
            sums = BoxSums<ExactFloat>;
        else if (area > 1 && area * 255 <= 65535)
            sums = BoxSums<Vek16u>;
    }
    sums(src, srcStep, pDst, dstStep, dstRoiSize, maskSize, r, scratch, bytes);
    ReleaseBlock(scratch);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
