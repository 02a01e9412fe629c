// Recursive filters on streams: the state, the sample-by-sample forms, and the choice of a form.
#include "frame/memory.h"
#include "signal/iir_block.h"
#include "uvek/signal.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32u kDirectForm = 0x49493031, kBiquads = 0x49493032;

bool IsState(const VekIirState* state)
{
    return state->id == kDirectForm || state->id == kBiquads;
}

// Taps stand as b[0] .. b[N], a[1] .. a[N].
IirSection SectionOf(const VekIirState* state)
{
    return {state->order, state->taps, state->taps + state->order, state->delay, state->firTaps, state->feedback};
}

// ---- Sample by sample ----

// Two samples in one pass over the taps: half the traffic over the delay line.
void FilterPairs(const IirSection& f, const Vek32f* src, Vek32f* dst, Vek32s len)
{
    const Vek32f* const b = f.b;
    const Vek32f* const a = f.a;
    Vek32f* const d = f.delay;
    const Vek32s order = f.order;
    if (order == 1)
        return FilterOrder1(f, src, dst, len);
    Vek32s n = 0;
    for (; len - n >= 2; n += 2) {
        const Vek32f x0 = Get(src + n), x1 = Get(src + n + 1);
        const Vek32f y0 = b[0] * x0 + d[0];
        const Vek32f y1 = b[0] * x1 + d[1] + b[1] * x0 - a[1] * y0;
        for (Vek32s i = 0; i <= order - 2; ++i)
            d[i] = b[i + 1] * x1 - a[i + 1] * y1 + b[i + 2] * x0 - a[i + 2] * y0 + d[i + 2];
        d[order - 1] = b[order] * x1 - a[order] * y1;
        Put(dst + n, y0);
        Put(dst + n + 1, y1);
    }
    if (n < len)
        Put(dst + n, FilterSample(f, Get(src + n)));
}

// One sample through all sections. Taps are (b0, b1, b2, a1, a2) for each, delays two.
Vek32f FilterThroughBiquads(const Vek32f* taps, Vek32f* delay, Vek32s sections, Vek32f x)
{
    for (Vek32s s = 0; s < sections; ++s, taps += 5, delay += 2) {
        const Vek32f y = taps[0] * x + delay[0];
        delay[0] = taps[1] * x + delay[1] - taps[3] * y;
        delay[1] = taps[2] * x + (0 - taps[4]) * y;
        x = y;
    }
    return x;
}

// ---- In blocks ----

void FilterDirectBlock(const VekIirState* state, const Vek32f* src, Vek32f* dst, Vek32s length)
{
    const IirSection f = SectionOf(state);
    if (length <= 4 * (int64_t)f.order) {
        FilterSamples(f, src, dst, length);
        return;
    }
    switch (f.order) {
    case 1:  FilterBlock<1>(f, src, dst, length, state->blockBuffer); break;
    case 2:  FilterBlock<2>(f, src, dst, length, state->blockBuffer); break;
    default: FilterBlock<0>(f, src, dst, length, state->blockBuffer); break;
    }
}

// A section is a direct form of order 2. What look-ahead takes is made here and not asked of the record,
// of which others may be the makers: it is a few operations a block.
void FilterSectionBlock(const Vek32f* taps, Vek32f* delay, const Vek32f* src, Vek32f* dst, Vek32s length)
{
    constexpr Vek32s kOrder = 2;
    const Vek32f b[] = {taps[0], taps[1], taps[2]}, a[] = {1, taps[3], taps[4]};
    alignas(16) Vek32f firTaps[4 * (kOrder + 1)], feedback[4 * (kOrder + kClosingRows)], t[kIirBlock];
    for (int k = 0; k <= kOrder; ++k)
        StoreA(firTaps + 4 * k, SplatF(b[k]));
    BuildFeedback(a, kOrder, feedback);

    Vek32f d[] = {delay[0], delay[1], 0};
    FilterBlock<kOrder>({kOrder, b, a, d, firTaps, feedback}, src, dst, length, t);
    delay[0] = d[0];
    delay[1] = d[1];
}

void FilterBiquads(const VekIirState* state, const Vek32f* src, Vek32f* dst, Vek32s length)
{
    const Vek32s sections = state->order / 2;
    if (kBlocks && sections > 0 && length > 4 * (int64_t)sections) {
        for (Vek32s s = 0; s < sections; ++s)
            FilterSectionBlock(state->taps + 5 * (int64_t)s, state->delay + 2 * (int64_t)s, s == 0 ? src : dst, dst, length);
    } else {
        for (Vek32s n = 0; n < length; ++n)
            Put(dst + n, FilterThroughBiquads(state->taps, state->delay, sections, Get(src + n)));
    }
}

// ---- The state ----

constexpr int64_t Rounded16(int64_t bytes)
{
    return (bytes + 15) & ~(int64_t)15;
}

// Gives out the areas of one allocation, 16-byte aligned; with no allocation yet it only counts.
struct Areas {
    Vek8u* base;
    int64_t used = 0;
    Vek32f* Take(int64_t floats)
    {
        Vek32f* const area = base ? (Vek32f*)(base + used) : nullptr;
        used += Rounded16(floats * (int64_t)sizeof(Vek32f));
        return area;
    }
};

// Sets the record's pointers into the allocation that starts with it; the bytes that it takes.
int64_t LayOut(VekIirState* state, int64_t order)
{
    Areas areas = {(Vek8u*)state};
    areas.used = Rounded16(sizeof(VekIirState));
    VekIirState at = {};
    at.taps = areas.Take(2 * order + 1);
    at.delay = areas.Take(order + 1);
    if (kBlocks) {
        at.firTaps = areas.Take(4 * (order + 1));
        at.feedback = areas.Take(4 * (order + kClosingRows));
        at.blockBuffer = areas.Take(kIirBlock);
    }
    if (state)
        *state = at;
    return areas.used;
}

}  // namespace

VekStatus veksIIRInitAlloc_32f(VekIirState** ppState, const Vek32f* pTaps, Vek32s order, const Vek32f* pDlyLine)
{
    if (!pTaps || !ppState)  return StatusNullPointer;
    if (order < 1)           return StatusBadFilterOrder;

    const int64_t n = order;
    auto* const state = (VekIirState*)AllocateBlock(LayOut(nullptr, n));
    if (!state)
        return StatusNoMemory;
    LayOut(state, n);
    state->id = kDirectForm;
    state->order = order;
    state->ownsMemory = 1;
    *ppState = state;
    const Vek32f a0 = Get(pTaps + n + 1);
    if (a0 == 0) {
        ReleaseBlock(state);
        return StatusDivideByZero;
    }

    const Vek32f reciprocal = 1.0f / a0;
    for (int64_t k = 0; k <= n; ++k)
        state->taps[k] = Get(pTaps + k) * reciprocal;
    for (int64_t k = 1; k <= n; ++k)
        state->taps[n + k] = Get(pTaps + n + 1 + k) * reciprocal;
    for (int64_t i = 0; i < n; ++i)
        state->delay[i] = pDlyLine ? Get(pDlyLine + i) : 0;
    state->delay[n] = 0;
    if (kBlocks) {
        for (int64_t k = 0; k <= n; ++k)
            StoreA(state->firTaps + 4 * k, SplatF(state->taps[k]));
        BuildFeedback(state->taps + n, order, state->feedback);
    }
    return StatusOk;
}

VekStatus veksIIR_32f(const Vek32f* pSrc, Vek32f* pDst, Vek32s len, VekIirState* pState)
{
    if (!pState || !pSrc || !pDst)  return StatusNullPointer;
    if (len < 1)                    return StatusBadSize;
    if (!IsState(pState))           return StatusBadContext;

    const bool biquads = pState->id == kBiquads;
    if (!kBlocks) {
        if (biquads)
            FilterBiquads(pState, pSrc, pDst, len);
        else
            FilterPairs(SectionOf(pState), pSrc, pDst, len);
        return StatusOk;
    }
    for (Vek32s n = 0; n < len; n += Min(kIirBlock, len - n))
        (biquads ? FilterBiquads : FilterDirectBlock)(pState, pSrc + n, pDst + n, Min(kIirBlock, len - n));
    return StatusOk;
}

VekStatus veksIIRFree_32f(VekIirState* pState)
{
    if (!pState)           return StatusNullPointer;
    if (!IsState(pState))  return StatusBadContext;
    if (pState->ownsMemory)
        ReleaseBlock(pState);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
