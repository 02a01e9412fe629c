// A pyramid's next lower level: smoothing, then every second sample or linear interpolation. Smoothed rows are made
// when a destination row asks for them; row sums wait in a ring as long as a kernel reaches them.
#include "frame/simd_float.h"
#include "uvek/vision.h"
#include "vision/layout.h"
#include "vision/pyramid.h"
#include "vision/smooth.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32s kSlack = 32;  // elements past a row's end that blocks of eight may touch

// What a VekPyramidLayerState* leads to.
struct Layer {
    VekPyramidLayerState head;
    void** taps;            // kerSize rows of the ring, as the kernel sees them
    Vek8u* padded;          // a source row with its reflected margins
    Vek16s* lines[2];       // interpolated rows, in workBuffer
    Vek32s* position;       // of a destination column, in the source
    Vek32f* fraction;
    int64_t ringStride;     // elements of 32 bits
    Vek32s smallBits;
    SumWidth sumWidth;
};

// Mirrored about the edge samples, as often as it takes.
Vek32s Reflect(int64_t i, Vek32s length)
{
    if (i >= 0 && i < length)
        return (Vek32s)i;
    if (length == 1)
        return 0;
    const int64_t period = 2 * ((int64_t)length - 1);
    i = (i % period + period) % period;
    return (Vek32s)(i < length ? i : period - i);
}

// ---- Smoothing ----

// One call's way down the source.
struct Smoothing {
    const Layer& layer;
    const Vek8u* src;
    Vek32s srcStep;
    VekImageSize size;
    Vek32s spacing;         // 1, or 2 where only every second column is wanted
    Vek32s count;           // columns wanted
    bool isSmall;           // an image no larger than the kernel has a rounding of its own
    SmoothKernel kernel;
    Vek32s ringRows;
    Vek32s nextRow;
};

void* RingRow(const Smoothing& s, Vek32s y)
{
    return (Vek32s*)s.layer.head.lineBuffers + y % s.ringRows * s.layer.ringStride;
}

void SumSourceRow(const Smoothing& s, Vek32s y)
{
    const Vek8u* const row = Row(s.src, s.srcStep, y);
    const Vek32s width = s.size.width, c = s.kernel.size / 2;
    Vek8u* const padded = s.layer.padded;
    memcpy(padded + c, row, (size_t)width);
    for (Vek32s i = 1; i <= c; ++i) {
        padded[c - i] = row[Reflect(-i, width)];
        padded[(int64_t)c + width - 1 + i] = row[Reflect((int64_t)width - 1 + i, width)];
    }
    void* const sums = RingRow(s, y);
    if (s.isSmall)
        return SumAlongRow<Shift::EachProduct>(padded, s.spacing, s.count, s.kernel, (Vek32s*)sums);
    const auto inBlocks = [&](auto one, auto two) { (s.spacing == 2 ? two : one)(padded, s.count, s.kernel, (Vek16s*)sums); };
    switch (s.kernel.width) {
    case SumWidth::Small: return inBlocks(SumAlongRowInSmall<1>, SumAlongRowInSmall<2>);
    case SumWidth::Words: return inBlocks(SumAlongRowInWords<1>, SumAlongRowInWords<2>);
    case SumWidth::Wide:  return SumAlongRow<Shift::Sum>(padded, s.spacing, s.count, s.kernel, (Vek32s*)sums);
    }
}

// Sees to it that the ring holds all that smoothed row y stands on. Rows are asked for in rising order.
void ReachRow(Smoothing& s, Vek32s y)
{
    const Vek32s c = s.kernel.size / 2, height = s.size.height;
    const bool all = height <= s.kernel.size;  // reflected more than once, perhaps
    const Vek32s first = all ? 0 : Max(y - c, 0), last = all || height - 1 - y < c ? height - 1 : y + c;
    for (s.nextRow = Max(s.nextRow, first); s.nextRow <= last; ++s.nextRow)
        SumSourceRow(s, s.nextRow);
    for (Vek32s j = 0; j < s.kernel.size; ++j)
        s.layer.taps[j] = RingRow(s, Reflect((int64_t)y - c + j, height));
}

// Hands smoothed row y on: eight(x, samples), of which those past the row's end mean nothing, or one(x, sample).
template <typename Eight, typename One>
void SmoothRow(Smoothing& s, Vek32s y, Eight eight, One one)
{
    ReachRow(s, y);
    void* const* const taps = s.layer.taps;
    const SmoothKernel& k = s.kernel;
    const auto inBlocks = [&](auto sum) {
        for (Vek32s x = 0; x < s.count; x += 8)
            eight(x, sum(x));
    };
    switch (k.width) {
    case SumWidth::Small: {
        const SmallTaps small = SmallTapsOf(k);
        if (k.size == 5)
            return inBlocks([&](Vek32s x) { return SumOfEightRowsInSmall<5>(taps, x, small); });
        return inBlocks([&](Vek32s x) { return SumOfEightRowsInSmall<3>(taps, x, small); });
    }
    case SumWidth::Words:
        return inBlocks([&](Vek32s x) { return SumOfEightRowsInWords(taps, x, k); });
    case SumWidth::Wide:
        for (Vek32s x = 0; x < s.count; ++x)
            one(x, SumOfRows(taps, x, k));
    }
}

const Vek16s* SmoothRow(Smoothing& s, Vek32s y)
{
    Vek16s* const smoothed = s.layer.head.workBuffer;
    SmoothRow(s, y, [=](Vek32s x, V v) { StoreU(smoothed + x, v); }, [=](Vek32s x, Vek16s v) { smoothed[x] = v; });
    return smoothed;
}

// ---- Resampling ----

Vek8u ToByte(Vek32s v)
{
    return Saturate8u((v + 4) >> 3);
}

// Eight words to bytes; those past the row's end stay unwritten.
void StoreBytes(Vek8u* dst, Vek32s x, Vek32s width, V words)
{
    const V bytes = Pack16sTo8u(ShiftRight16s<3>(AddSat16s(words, Splat16(4))), Zero());
    if (width - x >= 8) {
        Store64(dst + x, bytes);
    } else {
        Vek8u last[8];
        Store64(last, bytes);
        memcpy(dst + x, last, (size_t)(width - x));
    }
}

// The rate is 2, and every second sample there.
void TakeSecondSamples(Smoothing& s, Vek8u* pDst, Vek32s dstStep, VekImageSize dstSize)
{
    for (Vek32s y = 0; y < dstSize.height; ++y) {
        Vek8u* const dst = Row(pDst, dstStep, y);
        SmoothRow(s, 2 * y, [=](Vek32s x, V v) { StoreBytes(dst, x, dstSize.width, v); }, [=](Vek32s x, Vek16s v) { dst[x] = ToByte(v); });
    }
}

Vek32s WithinTwice(Vek32s i, Vek32s length)
{
    return (Vek32s)Min(2 * (int64_t)i, (int64_t)length - 1);
}

// The rate is so nearly 2 that a large image has its last samples asked for from beyond its edge.
void TakeSecondSamplesWithin(Smoothing& s, Vek8u* pDst, Vek32s dstStep, VekImageSize dstSize)
{
    for (Vek32s y = 0; y < dstSize.height; ++y) {
        Vek8u* const dst = Row(pDst, dstStep, y);
        const Vek16s* const smoothed = SmoothRow(s, WithinTwice(y, s.size.height));
        for (Vek32s x = 0; x < dstSize.width; ++x)
            dst[x] = ToByte(smoothed[WithinTwice(x, s.size.width)]);
    }
}

Vek16s Between(Vek16s a, Vek16s b, Vek32f fraction)
{
    return (Vek16s)(Vek32s)(b * fraction + 0.5f + (1 - fraction) * a);
}

V Between(V a, V b, F fraction)
{
    return Truncate32s(Add(Add(Mul(ToFloat(b), fraction), SplatF(0.5f)), Mul(Sub(SplatF(1), fraction), ToFloat(a))));
}

// The four pairs of a sample and its right neighbour.
V GatherPairs(const Vek16s* row, const Vek32s* position)
{
    return UnpackLow64(UnpackLow32(Load32(row + position[0]), Load32(row + position[1])), UnpackLow32(Load32(row + position[2]), Load32(row + position[3])));
}

// Position i alone is taken by the last sample if its neighbour lies outside.
struct SourceSample {
    Vek32s i;
    Vek32f fraction;
    bool alone;
};

SourceSample SampleAt(Vek32s x, Vek32s count, Vek32f rate, Vek32s length)
{
    const Vek32f u = (Vek32f)x * rate;
    const Vek32s i = Truncate(u);
    return {Min(i, length - 1), u - (Vek32f)i, x == count - 1 && i >= length - 1};
}

void InterpolateRow(const Layer& layer, const Vek16s* row, Vek32s count, bool lastAlone, Vek16s* line)
{
    const Vek32s* const position = layer.position;
    const Vek32f* const fraction = layer.fraction;
    const Vek32s pairs = lastAlone ? count - 1 : count;
    Vek32s x = 0;
    if (kBlocks)
        for (; pairs - x >= 4; x += 4) {
            const V pair = GatherPairs(row, position + x);
            const V t = Between(ShiftRight32s<16>(ShiftLeft32<16>(pair)), ShiftRight32s<16>(pair), LoadU(fraction + x));
            Store64(line + x, Pack32sTo16s(t, t));
        }
    for (; x < pairs; ++x)
        line[x] = Between(row[position[x]], row[position[x] + 1], fraction[x]);
    if (lastAlone)
        line[x] = row[position[x]];
}

void InterpolateColumns(const Vek16s* upper, const Vek16s* lower, Vek32f fraction, Vek32s width, Vek8u* dst)
{
    Vek32s x = 0;
    if (kBlocks)
        for (const F f = SplatF(fraction); x < width; x += 8) {
            const V a = LoadU(upper + x), b = LoadU(lower + x);
            StoreBytes(dst, x, width, Pack32sTo16s(Between(WidenLow16s(a), WidenLow16s(b), f), Between(WidenHigh16s(a), WidenHigh16s(b), f)));
        }
    for (; x < width; ++x)
        dst[x] = ToByte(Between(upper[x], lower[x], fraction));
}

void Interpolate(Smoothing& s, Vek8u* pDst, Vek32s dstStep, VekImageSize dstSize)
{
    const Layer& layer = s.layer;
    const Vek32f rate = layer.head.rate;
    bool lastAlone = false;
    for (Vek32s x = 0; x < dstSize.width; ++x) {
        const SourceSample place = SampleAt(x, dstSize.width, rate, s.size.width);
        layer.position[x] = place.i;
        layer.fraction[x] = place.fraction;
        lastAlone = place.alone;
    }
    Vek32s held[2] = {-1, -1};
    const auto line = [&](Vek32s y) {
        Vek16s* const samples = layer.lines[y & 1];
        if (held[y & 1] != y)
            InterpolateRow(layer, SmoothRow(s, y), dstSize.width, lastAlone, samples);
        held[y & 1] = y;
        return samples;
    };
    for (Vek32s y = 0; y < dstSize.height; ++y) {
        Vek8u* const dst = Row(pDst, dstStep, y);
        const SourceSample place = SampleAt(y, dstSize.height, rate, s.size.height);
        const Vek16s* const upper = line(place.i);
        if (place.alone)
            for (Vek32s x = 0; x < dstSize.width; ++x)
                dst[x] = ToByte(upper[x]);
        else
            InterpolateColumns(upper, line(place.i + 1), place.fraction, dstSize.width, dst);
    }
}

// ---- The kernel ----

// Writes the mirrored kernel, scaled to a sum of about 8192. False if the one given is not symmetric.
bool Normalise(const Vek16s* pKernel, Vek32s kerSize, Vek16s* taps)
{
    const Vek32s c = kerSize / 2;
    bool symmetric = true;
    Vek32u left = 0;
    for (Vek32s i = 0; i < c; ++i) {
        symmetric = symmetric && Get(pKernel + i) == Get(pKernel + kerSize - 1 - i);
        left += (Vek32u)Get(pKernel + i);
    }
    const Vek32s sum = (Vek32s)((Vek32u)Get(pKernel + c) + 2 * left);
    for (Vek32s i = 0; i <= c; ++i) {
        const Vek32s tap = Get(pKernel + i);
        taps[i] = taps[kerSize - 1 - i] = (Vek16s)(sum == 0 ? tap : tap * 16384 / sum >> 1);
    }
    return symmetric;
}

}  // namespace

VekStatus vekiPyramidLayerDownInitAlloc_8u_C1R(VekPyramidLayerState** ppState, VekImageSize srcRoiSize, Vek32f rate,
                                               const Vek16s* pKernel, Vek32s kerSize, Vek32s mode)
{
    if (!ppState || !pKernel)                                                               return StatusNullPointer;
    if (srcRoiSize.width < 1 || srcRoiSize.height < 1)                                      return StatusBadSize;
    if (mode != InterLinear || !IsReductionRate(rate) || kerSize < 3 || kerSize % 2 == 0)  return StatusBadRange;

    const int64_t width = srcRoiSize.width, rowLength = width + kSlack;
    BlockLayout layout;
    layout.Add(1, 1, sizeof(Layer));
    const int64_t kernel = layout.Add(1, kerSize, sizeof(Vek16s)), taps = layout.Add(1, kerSize, sizeof(void*));
    const int64_t work = layout.Add(3, rowLength, sizeof(Vek16s));
    const int64_t ring = layout.Add(Min(kerSize, srcRoiSize.height), rowLength, sizeof(Vek32s));
    const int64_t padded = layout.Add(1, width + kerSize + kSlack, 1);
    const int64_t position = layout.Add(1, width, sizeof(Vek32s)), fraction = layout.Add(1, width, sizeof(Vek32f));
    Layer* const layer = (Layer*)layout.Allocate();
    if (!layer)
        return StatusNoMemory;
    const auto at = [&](int64_t offset) { return Offset((void*)layer, offset); };
    layer->head = {(Vek16s*)at(kernel), (Vek16s*)at(work), at(ring), kerSize, srcRoiSize.width, srcRoiSize.height, mode, rate};
    layer->taps = (void**)at(taps);
    layer->padded = (Vek8u*)at(padded);
    layer->lines[0] = layer->head.workBuffer + rowLength;
    layer->lines[1] = layer->lines[0] + rowLength;
    layer->position = (Vek32s*)at(position);
    layer->fraction = (Vek32f*)at(fraction);
    layer->ringStride = rowLength;

    const bool symmetric = Normalise(pKernel, kerSize, layer->head.kernel);
    layer->sumWidth = SumWidthOf(layer->head.kernel, kerSize, &layer->smallBits);
    *ppState = &layer->head;
    return symmetric ? StatusOk : WarnAsymmetricKernel;
}

VekStatus vekiPyramidLayerDown_8u_C1R(const Vek8u* pSrc, Vek32s srcStep, VekImageSize srcRoiSize, Vek8u* pDst, Vek32s dstStep,
                                      VekImageSize dstRoiSize, VekPyramidLayerState* pState)
{
    if (!pSrc || !pDst || !pState)                                             return StatusNullPointer;
    if (srcRoiSize.width < 1 || srcRoiSize.height < 1)                         return StatusBadSize;
    if (srcStep < srcRoiSize.width || dstStep < dstRoiSize.width)              return StatusBadStep;
    const Vek32f rate = pState->rate;
    if (!IsReductionRate(rate))                                                return StatusBadRange;
    const VekImageSize size = PyramidDownSize(srcRoiSize, rate);
    if (dstRoiSize.width != size.width || dstRoiSize.height != size.height)    return StatusBadSize;

    const Layer& layer = *(const Layer*)pState;
    const Vek32s kerSize = pState->kerSize;
    const bool isSmall = srcRoiSize.width <= kerSize || srcRoiSize.height <= kerSize;
    const SumWidth sumWidth = kBlocks && !isSmall ? layer.sumWidth : SumWidth::Wide;
    Smoothing s = {layer, pSrc, srcStep, srcRoiSize, 1, srcRoiSize.width, isSmall, {pState->kernel, kerSize, sumWidth, layer.smallBits},
                   Min(kerSize, srcRoiSize.height), 0};
    if (rate < 1.99998f || rate > 2.00002f) {
        Interpolate(s, pDst, dstStep, size);
    } else if (size.width - 1 > (srcRoiSize.width - 1) / 2 || size.height - 1 > (srcRoiSize.height - 1) / 2) {
        TakeSecondSamplesWithin(s, pDst, dstStep, size);
    } else {
        s.spacing = 2;
        s.count = size.width;
        TakeSecondSamples(s, pDst, dstStep, size);
    }
    return StatusOk;
}

VekStatus vekiPyramidLayerDownFree_8u_C1R(VekPyramidLayerState* pState)
{
    if (!pState)  return StatusNullPointer;

    ReleaseBlock(pState);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
