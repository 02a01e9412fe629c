// Normally distributed numbers by Marsaglia's polar method, on the sum of a congruential generator and a
// subtract-with-borrow generator. The sequence is exact and the same in every tier.
#include "frame/memory.h"
#include "frame/simd_float.h"
#include "uvek/signal.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32u kGaussState = 40;
constexpr Vek32u kFirstCongruential = 0x436CBAE9;
constexpr Vek64f kToUnit = 4.656612873077e-10;  // the decimal itself, which is not quite 2^-31

constexpr Vek32u Congruential(Vek32u v)
{
    return v * 69069u + 1013904243u;
}

struct Generator {
    Vek32u lcg, swbA, swbB, swbC;
    Vek32s borrow;
};

// All ones where v is negative as a signed number.
constexpr Vek32u SignMask(Vek32u v)
{
    return 0u - (v >> 31);
}

// Two uniform numbers of -1 to 1. The base of the subtraction is 2^32 - 18.
inline void DrawUniforms(Generator& g, Vek64f& u1, Vek64f& u2)
{
    const Vek32u lcg1 = Congruential(g.lcg), lcg2 = Congruential(lcg1);
    const Vek32u t = g.swbB - g.swbC + (Vek32u)g.borrow, borrow1 = SignMask(t);
    const Vek32u s = borrow1 + g.swbA - g.swbB, borrow2 = SignMask(s);
    const Vek32u t2 = t - (18u & borrow1), s2 = s - (18u & borrow2);
    g = {lcg2, s2, t2, g.swbA, (Vek32s)borrow2};
    u1 = (Vek64f)(Vek32s)(t2 + lcg1) * kToUnit;
    u2 = (Vek64f)(Vek32s)(s2 + lcg2) * kToUnit;
}

// Points drawn in one go: what waits for a logarithm of one does not wait for the others.
constexpr int kPoints = 64;

struct Points {
    Vek64f u1[kPoints], u2[kPoints], factor[kPoints];
};

// Draws points until `count` of them lie inside the unit circle, off its centre. Which do is a matter of
// chance that no processor foresees, so one that does not is overwritten instead of branched around.
void DrawPoints(Generator& g, Points& points, int count)
{
    Vek64f square[kPoints];
    for (int i = 0; i < count;) {
        DrawUniforms(g, points.u1[i], points.u2[i]);
        const Vek64f q = points.u1[i] * points.u1[i] + points.u2[i] * points.u2[i];
        square[i] = q;
        i += (q < 1.0) & (q != 0.0);
    }
    for (int i = 0; i < count; ++i)
        points.factor[i] = log(square[i]);
    int i = 0;
    if (kBlocks)
        for (; count - i >= 2; i += 2)
            StoreU(points.factor + i, Sqrt(Div(Mul(LoadU(points.factor + i), SplatD(-2.0)), LoadU(square + i))));
    for (; i < count; ++i)
        points.factor[i] = sqrt(points.factor[i] * -2.0 / square[i]);
}

inline Vek32f Sample(Vek64f stdDev, Vek64f factor, Vek64f v, Vek32f mean)
{
    return (Vek32f)(stdDev * factor * v) + mean;
}

// Both numbers of each point, the second first.
void WritePoints(const Points& points, int count, Vek64f stdDev, Vek32f mean, Vek32f* dst)
{
    int i = 0;
    if (kBlocks)
        for (; count - i >= 2; i += 2) {
            const D scale = Mul(SplatD(stdDev), LoadU(points.factor + i));
            const F first = ToFloatLow(Mul(scale, LoadU(points.u2 + i))), second = ToFloatLow(Mul(scale, LoadU(points.u1 + i)));
            StoreU(dst + 2 * i, Add(UnpackLow(first, second), SplatF(mean)));
        }
    for (; i < count; ++i) {
        Put(dst + 2 * i, Sample(stdDev, points.factor[i], points.u2[i], mean));
        Put(dst + 2 * i + 1, Sample(stdDev, points.factor[i], points.u1[i], mean));
    }
}

}  // namespace

VekStatus veksRandGaussInitAlloc_32f(VekRandGaussState** ppState, Vek32f mean, Vek32f stdDev, Vek32u seed)
{
    if (!ppState)
        return StatusNullPointer;
    auto* const state = (VekRandGaussState*)AllocateBlock(sizeof(VekRandGaussState));
    if (!state)
        return StatusNoMemory;
    *state = {};
    state->id = kGaussState;
    state->seed = seed;
    state->mean = mean;
    state->stdDev = stdDev;
    state->lcg = kFirstCongruential;
    state->swbA = seed;
    state->swbB = Congruential(seed);
    state->swbC = Congruential(state->swbB);
    state->borrow = -1;
    state->pairEmpty = 1;
    *ppState = state;
    return StatusOk;
}

VekStatus veksRandGauss_32f(Vek32f* pDst, Vek32s len, VekRandGaussState* pState)
{
    if (!pDst || !pState)           return StatusNullPointer;
    if (len < 1)                    return StatusBadSize;
    if (pState->id != kGaussState)  return StatusBadContext;

    VekRandGaussState state = *pState;
    const Vek64f stdDev = state.stdDev;
    Vek32s n = 0;
    if (state.pairEmpty != 1) {
        Put(pDst, Sample(stdDev, state.polarFactor, state.polarSecond, state.mean));
        state.pairEmpty = 1;
        n = 1;
    }
    Generator generator = {state.lcg, state.swbA, state.swbB, state.swbC, state.borrow};
    Points points;
    while (n < len) {
        const Vek32s left = len - n;
        const int count = Min(kPoints, left / 2 + left % 2), whole = Min(kPoints, left / 2);
        DrawPoints(generator, points, count);
        WritePoints(points, whole, stdDev, state.mean, pDst + n);
        n += 2 * whole;
        state.polarFactor = points.factor[count - 1];
        state.polarSecond = points.u1[count - 1];
        if (whole < count) {
            Put(pDst + n, Sample(stdDev, state.polarFactor, points.u2[whole], state.mean));
            state.pairEmpty = 0;
            ++n;
        }
    }
    state.lcg = generator.lcg;
    state.swbA = generator.swbA;
    state.swbB = generator.swbB;
    state.swbC = generator.swbC;
    state.borrow = generator.borrow;
    *pState = state;
    return StatusOk;
}

VekStatus veksRandGaussFree_32f(VekRandGaussState* pState)
{
    if (!pState)                    return StatusNullPointer;
    if (pState->id != kGaussState)  return StatusBadContext;
    ReleaseBlock(pState);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
