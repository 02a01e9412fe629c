// Hamming and Hann windows in place. They are symmetric, so a weight serves a sample and its mirror
// image, and recurrences keep trigonometric functions out of the loops. Tier 0 and the others differ in
// the recurrence and in the rounding.
#include "frame/simd_float.h"
#include "uvek/signal.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek64f kPi = 3.14159265358979323846;

// ---- Tier 0: the angle turns by a rotation in doubles ----

struct Rotation {
    Vek64f stepCos, stepSin, cosine, sine;
    explicit Rotation(Vek64f step) : stepCos(cos(step)), stepSin(sqrt(1 - stepCos * stepCos)), cosine(1), sine(0) {}
    void Turn()
    {
        const Vek64f turned = cosine * stepCos - sine * stepSin;
        sine = sine * stepCos + cosine * stepSin;
        cosine = turned;
    }
};

void HammingByRotation(Vek16s* p, Vek32s len)
{
    Rotation angle(2 * kPi / (len - 1));
    for (Vek32s k = 0; k < len / 2; ++k, angle.Turn()) {
        const Vek64f w = 0.54 - 0.46 * angle.cosine;
        Put(p + k, (Vek16s)(Vek32s)(Get(p + k) * w));
        Put(p + len - 1 - k, (Vek16s)(Vek32s)(Get(p + len - 1 - k) * w));
    }
}

void HannByRotation(Vek32f* p, Vek32s len)
{
    Rotation angle(2 * kPi / (len - 1));
    for (Vek32s k = 0; k < len / 2; ++k, angle.Turn()) {
        const Vek64f w = 0.5 * (1 - angle.cosine);
        Put(p + k, (Vek32f)(Get(p + k) * w));
        Put(p + len - 1 - k, (Vek32f)(Get(p + len - 1 - k) * w));
    }
}

// ---- Tiers 1 to 3: h(k + 2 m) = 2 cos(m step) h(k + m) - h(k) ----

// 0.46 cos(index step) by the processor's cosine, in extended precision whatever the precision in force.
Vek64f ExtendedCosine(Vek32s index, Vek64f step)
{
    const Vek64f scale = 0.46;
    const Vek16u extended = 0x037f;
    Vek16u before;
    Vek64f result;
    __asm__ volatile(
        "fnstcw %[before]\n\t"
        "fldcw %[extended]\n\t"
        "fildl %[index]\n\t"
        "fmull %[step]\n\t"
        "fcos\n\t"
        "fmull %[scale]\n\t"
        "fstpl %[result]\n\t"
        "fldcw %[before]"
        : [before] "=&m"(before), [result] "=&m"(result)
        : [extended] "m"(extended), [index] "m"(index), [step] "m"(step), [scale] "m"(scale)
        : "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)");
    return result;
}

// Eight consecutive values of 0.46 cos(k step), as floats: four in `now`, the next four in `next`.
struct HammingCosines {
    F now, next;

    // From h(m - 1) and h(m), or from h(0) and h(1) when both belong to the eight.
    void SeedBefore(Vek64f before, Vek64f first, Vek64f twiceCos) { Seed(first, twiceCos * first - before, twiceCos); }
    void Seed(Vek64f first, Vek64f second, Vek64f twiceCos)
    {
        Vek32f h[8];
        for (Vek32f& value : h) {
            value = (Vek32f)first;
            const Vek64f third = twiceCos * second - first;
            first = second;
            second = third;
        }
        now = LoadU(h);
        next = LoadU(h + 4);
    }
    void Advance(F twiceCos4)
    {
        const F after = Sub(Mul(twiceCos4, next), now);
        now = next;
        next = after;
    }
};

inline F Reversed(F v)
{
    return Pick<3, 2, 1, 0>(v, v);
}

inline void Weigh4(Vek16s* p, F weight)
{
    const F samples = ToFloat(WidenLow16s(Load64(p)));
    const V rounded = Nearest32s(Mul(samples, weight));
    Store64(p, Pack32sTo16s(rounded, rounded));
}

inline void Weigh(Vek16s* p, Vek32f weight)
{
    const Vek32s rounded = Low32(Nearest32s(SplatF((Vek32f)Get(p) * weight)));
    Put(p, Saturate16s(rounded));
}

void HammingByRecurrence(Vek16s* p, Vek32s len)
{
    constexpr Vek32s kPairsPerSeed = 176;  // floats drift
    const Vek64f step = 2 * kPi / (len - 1), cosStep = cos(step), twiceCos = 2 * cosStep;
    const F twiceCos4 = SplatF((Vek32f)(2 * cos(8 * kPi / (len - 1)))), base = SplatF(0.54f);
    const Vek32s pairs = len / 2;
    HammingCosines h;
    h.Seed(0.46, 0.46 * cosStep, twiceCos);
    Vek32s k = 0;
    for (Vek32s untilSeed = kPairsPerSeed; pairs - k >= 4;) {
        const F weight = Sub(base, h.now);
        Weigh4(p + k, weight);
        Weigh4(p + len - 4 - k, Reversed(weight));
        k += 4;
        untilSeed -= 4;
        if (untilSeed > 0) {
            h.Advance(twiceCos4);
        } else {
            h.SeedBefore(ExtendedCosine(k - 1, step), ExtendedCosine(k, step), twiceCos);
            untilSeed = kPairsPerSeed;
        }
    }
    Vek32f weights[4];
    StoreU(weights, Sub(base, h.now));
    for (const Vek32f* weight = weights; k < pairs; ++k, ++weight) {
        Weigh(p + k, *weight);
        Weigh(p + len - 1 - k, *weight);
    }
}

// Two weights, as floats, in lanes 0 and 1.
inline F HannWeights(D h)
{
    return ToFloatLow(Sub(SplatD(0.5), h));
}

inline void Weigh2(Vek32f* p, F weight)
{
    Store64(p, AsInt(Mul(AsFloat(Load64(p)), weight)));
}

void HannByRecurrence(Vek32f* p, Vek32s len)
{
    const Vek64f step = 2 * kPi / (len - 1), twiceCos = 2 * cos(step);
    const Vek64f h1 = 0.5 * cos(step), h2 = twiceCos * h1 - 0.5, h3 = twiceCos * h2 - h1;
    const D twiceCos2 = SplatD(2 * cos(2 * step));
    D now = LanesD(0.5, h1), next = LanesD(h2, h3);
    Vek32s k = 0;
    for (; len / 2 - k >= 2; k += 2) {
        const F weight = HannWeights(now);
        Weigh2(p + k, weight);
        Weigh2(p + len - 2 - k, Pick<1, 0, 3, 2>(weight, weight));
        const D after = Sub(Mul(twiceCos2, next), now);
        now = next;
        next = after;
    }
    if (k < len / 2) {
        const Vek32f weight = LowF(HannWeights(now));
        Put(p + k, Get(p + k) * weight);
        Put(p + len - 1 - k, Get(p + len - 1 - k) * weight);
    }
}

}  // namespace

VekStatus veksWinHamming_16s_I(Vek16s* pSrcDst, Vek32s len)
{
    if (!pSrcDst)  return StatusNullPointer;
    if (len < 3)   return StatusBadSize;
    (kBlocks ? HammingByRecurrence : HammingByRotation)(pSrcDst, len);
    return StatusOk;
}

VekStatus veksWinHann_32f_I(Vek32f* pSrcDst, Vek32s len)
{
    if (!pSrcDst)  return StatusNullPointer;
    if (len < 3)   return StatusBadSize;
    if (len == 3) {  // not multiplied: a NaN becomes 0 too
        Put(pSrcDst, 0.0f);
        Put(pSrcDst + 2, 0.0f);
    } else {
        (kBlocks ? HannByRecurrence : HannByRotation)(pSrcDst, len);
    }
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
