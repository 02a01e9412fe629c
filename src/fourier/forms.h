// The forms in which complex data stand in memory. A form is asked for elements by their index, for
// one (LoadOne, StoreOne) or for a register of consecutive ones (Load, Store).
#ifndef UVEK_FOURIER_FORMS_H
#define UVEK_FOURIER_FORMS_H

#include "fourier/lanes.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Separate real and imaginary planes, anywhere in the caller's memory.
template <typename T>
struct Split {
    T* re;
    T* im;
    Split At(int64_t i) const { return {re + i, im + i}; }
};

// Real, imaginary pairs, anywhere in the caller's memory.
template <typename T>
struct Pairs {
    T* p;
    Pairs At(int64_t i) const { return {p + 2 * i}; }
};

// Four real parts, then four imaginary parts, in work memory on a 32-byte boundary: a butterfly of a
// power-of-two stride touches one cache line where split planes would touch two of one cache set.
template <typename T>
struct Fours {
    T* p;
    Fours At(int64_t i) const { return {p + 2 * i}; }  // i: a multiple of 4
};

// A form whose stores multiply by a factor.
template <typename Form, typename T>
struct Scaled {
    Form form;
    T scale;
    Scaled At(int64_t i) const { return {form.At(i), scale}; }
};

template <typename Form> struct IsSplit { static constexpr bool value = false; };
template <typename T> struct IsSplit<Split<T>> { static constexpr bool value = true; };
template <typename Form, typename T> struct IsSplit<Scaled<Form, T>> { static constexpr bool value = IsSplit<Form>::value; };

template <typename T> VEK_BUTTERFLY Cx<T> LoadOne(Split<T> f, int64_t i) { return {Get(f.re + i), Get(f.im + i)}; }
template <typename T> VEK_BUTTERFLY Cx<T> LoadOne(Pairs<T> f, int64_t i) { return Get((const Cx<T>*)(f.p + 2 * i)); }
template <typename T> VEK_BUTTERFLY void StoreOne(Split<T> f, int64_t i, Cx<T> v) { Put(f.re + i, v.re); Put(f.im + i, v.im); }
template <typename T> VEK_BUTTERFLY void StoreOne(Pairs<T> f, int64_t i, Cx<T> v) { Put((Cx<T>*)(f.p + 2 * i), v); }

template <typename T> VEK_BUTTERFLY Cx<LanesType<T>> Load(Split<T> f, int64_t i) { return {LoadU(f.re + i), LoadU(f.im + i)}; }
template <typename T> VEK_BUTTERFLY void Store(Split<T> f, int64_t i, Cx<LanesType<T>> v)
{
    StoreU(f.re + i, v.re);
    StoreU(f.im + i, v.im);
}

VEK_BUTTERFLY Cx<F> Load(Pairs<Vek32f> f, int64_t i)
{
    const F a = LoadU(f.p + 2 * i), b = LoadU(f.p + 2 * i + 4);
    return {Pick<0, 2, 0, 2>(a, b), Pick<1, 3, 1, 3>(a, b)};
}
VEK_BUTTERFLY void Store(Pairs<Vek32f> f, int64_t i, Cx<F> v)
{
    StoreU(f.p + 2 * i, UnpackLow(v.re, v.im));
    StoreU(f.p + 2 * i + 4, UnpackHigh(v.re, v.im));
}
VEK_BUTTERFLY Cx<D> Load(Pairs<Vek64f> f, int64_t i)
{
    const D a = LoadU(f.p + 2 * i), b = LoadU(f.p + 2 * i + 2);
    return {UnpackLow(a, b), UnpackHigh(a, b)};
}
VEK_BUTTERFLY void Store(Pairs<Vek64f> f, int64_t i, Cx<D> v)
{
    StoreU(f.p + 2 * i, UnpackLow(v.re, v.im));
    StoreU(f.p + 2 * i + 2, UnpackHigh(v.re, v.im));
}

// i is a multiple of the lane count; a register of doubles is half a group of four.
template <typename T> VEK_BUTTERFLY T* GroupOf(T* p, int64_t i)
{
    return LanesOf<T>::kCount == 4 ? p + 2 * i : p + 2 * (i & ~(int64_t)3) + (i & 3);
}
template <typename T> VEK_BUTTERFLY Cx<LanesType<T>> LoadRoot(const T* p) { return {LoadA(p), LoadA(p + 4)}; }
template <typename T> VEK_BUTTERFLY Cx<LanesType<T>> Load(Fours<T> f, int64_t i) { return LoadRoot((const T*)GroupOf(f.p, i)); }
template <typename T> VEK_BUTTERFLY void Store(Fours<T> f, int64_t i, Cx<LanesType<T>> v)
{
    T* const p = GroupOf(f.p, i);
    StoreA(p, v.re);
    StoreA(p + 4, v.im);
}

template <typename Form, typename T>
VEK_BUTTERFLY void Store(Scaled<Form, T> f, int64_t i, Cx<LanesType<T>> v)
{
    Store(f.form, i, Scale(v, SplatLanes(f.scale)));
}

// Runs of elements fill the cache lines that they touch. A small block on the stack holds them for
// kernels whose arrays stand apart by multiples of a page.
constexpr int kRun = 16;

// A block as the same form, `count` elements long.
template <typename T> VEK_BUTTERFLY Split<T> BlockOf(Split<T>, T* p, int count) { return {p, p + count}; }
template <typename T> VEK_BUTTERFLY Pairs<T> BlockOf(Pairs<T>, T* p, int) { return {p}; }

template <typename T>
VEK_BUTTERFLY void CopySamples(const T* src, T* dst, int count)
{
    for (int i = 0; i < count; i += LanesOf<T>::kCount)
        StoreU(dst + i, LoadU(src + i));
}
template <typename T> VEK_BUTTERFLY void CopyRun(Split<T> src, int64_t i, Split<T> dst, int64_t to)
{
    CopySamples((const T*)src.re + i, dst.re + to, kRun);
    CopySamples((const T*)src.im + i, dst.im + to, kRun);
}
template <typename T> VEK_BUTTERFLY void CopyRun(Pairs<T> src, int64_t i, Pairs<T> dst, int64_t to)
{
    CopySamples((const T*)src.p + 2 * i, dst.p + 2 * to, 2 * kRun);
}

// A block in groups of four, which takes the scaling upon itself.
template <typename Form, typename T> VEK_BUTTERFLY Fours<T> FoursFor(Form, T* p) { return {p}; }
template <typename Form, typename T> VEK_BUTTERFLY Scaled<Fours<T>, T> FoursFor(Scaled<Form, T> f, T* p) { return {{p}, f.scale}; }

template <typename T>
VEK_BUTTERFLY void StoreRun(Split<T> dst, int64_t i, Fours<T> run)
{
    constexpr int kStep = LanesOf<T>::kCount;
    for (int k = 0; k < kRun; k += kStep)
        StoreU(dst.re + i + k, LoadA((const T*)GroupOf(run.p, k)));
    for (int k = 0; k < kRun; k += kStep)
        StoreU(dst.im + i + k, LoadA((const T*)GroupOf(run.p, k) + 4));
}
template <typename T>
VEK_BUTTERFLY void StoreRun(Pairs<T> dst, int64_t i, Fours<T> run)
{
    for (int k = 0; k < kRun; k += LanesOf<T>::kCount)
        Store(dst, i + k, Load(run, k));
}
template <typename Form, typename T> VEK_BUTTERFLY void StoreRun(Scaled<Form, T> dst, int64_t i, Fours<T> run) { StoreRun(dst.form, i, run); }

// Multiplies `count` samples that stand anywhere. A factor of 1 changes no bit.
template <typename T>
VEK_BUTTERFLY void ScaleSamples(T* p, int64_t count, T factor)
{
    if (factor == 1)
        return;
    T* const end = p + count;
    if (kBlocks) {
        constexpr int kStep = LanesOf<T>::kCount;
        const auto by = SplatLanes(factor);
        for (; end - p >= kStep; p += kStep)
            StoreU(p, Mul(LoadU((const T*)p), by));
    }
    for (; p < end; ++p)
        Put(p, Get(p) * factor);
}
template <typename T> inline void ScaleForm(Pairs<T> f, int64_t count, T factor) { ScaleSamples(f.p, 2 * count, factor); }
template <typename T> inline void ScaleForm(Split<T> f, int64_t count, T factor)
{
    ScaleSamples(f.re, count, factor);
    ScaleSamples(f.im, count, factor);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
