// Resize of Y0 U Y1 V images: luma over pixels, chroma over pairs, in line buffers of the same four samples
// a pair, so that rows blend like those of any four-channel image.
#include "geometry/resize.h"

#include <math.h>

#include "uvek/geometry.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int kPairBytes = 4;
constexpr int kChroma[2] = {1, 3};  // U and V in a pair

struct Job {
    const Vek8u* src;
    Vek32s srcStep;
    Vek8u* dst;
    Vek32s dstStep;
    Axis luma, chroma, y;
    Vek32s pairs;
};

// The sample of lane 0 .. 3 of a pair: its index and byte.
struct Columns {
    const Vek32s *luma, *chroma;
    Vek32s At(Vek32s pair, int lane) const { return lane % 2 ? chroma[pair] + lane : luma[2 * pair + lane / 2]; }
};

VekStatus MapWidth(Axis& axis, Vek32s wanted)
{
    const Vek64f reach = axis.region * axis.factor + kPositionSlack, whole = trunc(reach);
    if (wanted <= whole)      axis.length = wanted;
    else if (whole >= 2)      axis.length = (Vek32s)whole;
    else if (reach < 1.5)     return StatusResizeTooSmall;
    else                      axis.length = 2;
    return StatusOk;
}

Vek64f CornerStep(const Axis& axis)
{
    const Vek64f scaled = axis.region * axis.factor;
    return scaled > 1.0 ? (axis.region - 1) / (scaled - 1) : 0.0;
}

VekStatus Nearest(const Job& job)
{
    const Block<Vek32s> yIndex(job.y.length), luma(job.luma.length), chroma(job.pairs);
    if (!yIndex || !luma || !chroma)
        return StatusNoMemory;
    NearestTable(job.y, 1, yIndex);
    NearestTable(job.luma, 2, luma);
    NearestTable(job.chroma, kPairBytes, chroma);
    for (Vek32s y = 0; y < job.y.length; ++y) {
        Vek8u* dst = Row(job.dst, job.dstStep, y);
        if (y > 0 && yIndex[y] == yIndex[y - 1]) {
            memmove(dst, Row(job.dst, job.dstStep, y - 1), (size_t)job.pairs * kPairBytes);
            continue;
        }
        const Vek8u* const src = Row(job.src, job.srcStep, yIndex[y]);
        for (Vek32s k = 0; k < job.pairs; ++k, dst += kPairBytes) {
            dst[0] = src[luma[2 * k]];
            dst[1] = src[chroma[k] + kChroma[0]];
            dst[2] = src[luma[2 * k + 1]];
            dst[3] = src[chroma[k] + kChroma[1]];
        }
    }
    return StatusOk;
}

// weights: for each pair the two weights of its four lanes. Positions start in the region, so that every
// weight is one.
void LinearRow(const Vek8u* src, const Columns& columns, const Vek16u* weights, Vek32s pairs, Vek16u* line)
{
    for (Vek32s k = 0; k < pairs; ++k, weights += 8, line += 4) {
        if (kBlocks) {
            const auto luma = [&](int i) { return Load32(src + columns.luma[2 * k + i]); };
            // Y alone, two neighbours of each of the two; U and V alone, two neighbours side by side.
            const V y = And(UnpackLow32(luma(0), luma(1)), Splat16(0xff));
            const V uv = PermuteLow16<0, 2, 1, 3>(ShiftRight16u<8>(Load64(src + columns.chroma[k])));
            const V sums = Add32(MulAdd16(UnpackLow32(y, uv), LoadU(weights)), Splat32(128));
            Store64(line, Pack32sTo16s(ShiftRight32u<8>(sums), Zero()));
        } else {
            for (int lane = 0; lane < 4; ++lane) {
                const Vek8u* const s = src + columns.At(k, lane);
                const Vek32u a = s[0], b = s[lane % 2 ? kPairBytes : 2];
                line[lane] = (Vek16u)((weights[2 * lane] * a + weights[2 * lane + 1] * b + 128) >> 8);
            }
        }
    }
}

VekStatus Linear(const Job& job)
{
    const int64_t samples = (int64_t)job.pairs * 4;
    const Block<Vek32s> yIndex(job.y.length), luma(job.luma.length), chroma(job.pairs);
    const Block<Vek16u> yWeight(job.y.length), lumaWeight(job.luma.length), chromaWeight(job.pairs), weights(2 * samples);
    const Block<Vek16u> lines(2 * (samples + kLineSlack));
    if (!yIndex || !luma || !chroma || !yWeight || !lumaWeight || !chromaWeight || !weights || !lines)
        return StatusNoMemory;
    LinearTable(job.y, 1, yIndex, yWeight);
    LinearTable(job.luma, 2, luma, lumaWeight);
    LinearTable(job.chroma, kPairBytes, chroma, chromaWeight);
    for (Vek32s k = 0; k < job.pairs; ++k)
        for (int lane = 0; lane < 4; ++lane) {
            const Vek16u w = lane % 2 ? chromaWeight[k] : lumaWeight[2 * k + lane / 2];
            weights[8 * (int64_t)k + 2 * lane] = (Vek16u)(kWholeWeight - w);
            weights[8 * (int64_t)k + 2 * lane + 1] = w;
        }

    RowCache<2, Vek16u> rows(lines, samples + kLineSlack);
    const auto resample = [&](Vek32s row, Vek16u* line) {
        LinearRow(Row(job.src, job.srcStep, row), {luma, chroma}, weights, job.pairs, line);
    };
    for (Vek32s y = 0; y < job.y.length; ++y) {
        const Vek16u* const top = rows.Fetch(yIndex[y], resample);
        const Vek16u* const bottom = rows.Fetch(yIndex[y] + 1, resample);
        BlendRows(top, bottom, yWeight[y], true, Row(job.dst, job.dstStep, y), (Vek32s)samples);
    }
    return StatusOk;
}

// weights: c1 of the four lanes of a pair, then c2, c3.
void CubicRow(const Vek8u* src, const Columns& columns, const Vek32f* weights, Vek32s pairs, Vek32f* line)
{
    for (Vek32s k = 0; k < pairs; ++k, weights += 12, line += 4) {
        if (kBlocks) {
            const auto luma = [&](int i) { return And(Load64(src + columns.luma[2 * k + i] - 2), Splat16(0xff)); };
            // The four taps of U and of V as words: U0 V0 .. U3 V3, then U0 .. U3 V0 .. V3.
            const V uv = ShiftRight16u<8>(LoadU(src + columns.chroma[k] - kPairBytes));
            const V split = Permute32<0, 2, 1, 3>(PermuteHigh16<0, 2, 1, 3>(PermuteLow16<0, 2, 1, 3>(uv)));
            const V y0u = UnpackLow16(luma(0), split), y1v = UnpackLow16(luma(1), UnpackHigh64(split, split));
            const V taps01 = UnpackLow32(y0u, y1v), taps23 = UnpackHigh32(y0u, y1v);  // Y0 U Y1 V of a tap
            StoreU(line, CubicOfBytes(WidenLow16u(taps01), WidenHigh16u(taps01), WidenLow16u(taps23), WidenHigh16u(taps23),
                                      LoadU(weights), LoadU(weights + 4), LoadU(weights + 8)));
        } else {
            for (int lane = 0; lane < 4; ++lane) {
                const Vek8u* const s = src + columns.At(k, lane);
                const int d = lane % 2 ? kPairBytes : 2;
                line[lane] = Cubic(s[-d], s[0], s[d], s[2 * d], {weights[lane], weights[4 + lane], weights[8 + lane]});
            }
        }
    }
}

VekStatus CubicResize(const Job& job)
{
    const int64_t samples = (int64_t)job.pairs * 4;
    const Block<Vek32s> yIndex(job.y.length), luma(job.luma.length), chroma(job.pairs);
    const Block<Vek32f> yParameter(job.y.length), lumaParameter(job.luma.length), chromaParameter(job.pairs), weights(3 * samples);
    const Block<Vek32f> lines(4 * (samples + kLineSlack));
    if (!yIndex || !luma || !chroma || !yParameter || !lumaParameter || !chromaParameter || !weights || !lines)
        return StatusNoMemory;
    CubicTable(job.y, 1, yIndex, yParameter);
    CubicTable(job.luma, 2, luma, lumaParameter);
    CubicTable(job.chroma, kPairBytes, chroma, chromaParameter);
    for (Vek32s k = 0; k < job.pairs; ++k)
        for (int lane = 0; lane < 4; ++lane) {
            const CubicWeights w = CubicAt(lane % 2 ? chromaParameter[k] : lumaParameter[2 * k + lane / 2]);
            Vek32f* const to = weights + 12 * (int64_t)k + lane;
            to[0] = w.c1;
            to[4] = w.c2;
            to[8] = w.c3;
        }

    RowCache<4, Vek32f> rows(lines, samples + kLineSlack);
    const auto resample = [&](Vek32s row, Vek32f* line) {
        CubicRow(Row(job.src, job.srcStep, row), {luma, chroma}, weights, job.pairs, line);
    };
    for (Vek32s y = 0; y < job.y.length; ++y) {
        const Vek32f* taps[4];
        for (int i = 0; i < 4; ++i)
            taps[i] = rows.Fetch(yIndex[y] - 1 + i, resample);
        CubicColumns(taps, yParameter[y], Row(job.dst, job.dstStep, y), (Vek32s)samples);
    }
    return StatusOk;
}

VekStatus SuperOfPairs(const Job& job, VekImageSize srcSize)
{
    const Vek64f reach = trunc((job.pairs + 1.0) * (1 / job.luma.factor)) + 1;
    // The columns are pairs, but their bound is in pixels; the pairs that are there come on top of it.
    const Vek32s columns = reach < job.luma.region ? (Vek32s)reach : job.luma.region;
    return SuperSample({job.src, job.srcStep, job.dst, job.dstStep, {job.pairs, job.y.length}, job.luma.factor, job.y.factor, columns,
                        (srcSize.width - job.luma.origin) / 2, srcSize.height - job.y.origin},
                       SampleKind::BytesC4);
}

}  // namespace

VekStatus vekiResizeYUV422_8u_C2R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                                  VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation)
{
    if (!pSrc || !pDst)                                           return StatusNullPointer;
    if (srcSize.width < 1 || srcSize.height < 1)                  return StatusBadSize;
    if (srcRoi.x < 0 || srcRoi.y < 0)                             return StatusBadSize;
    if (srcRoi.width < 1 || srcRoi.height < 1)                    return StatusBadSize;
    if (srcSize.width <= srcRoi.x || srcSize.height <= srcRoi.y)  return WarnEmptyIntersection;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1)            return StatusBadSize;
    if ((srcSize.width | srcRoi.width | srcRoi.x) & 1)            return StatusBadSize;
    if (dstRoiSize.width < 2)                                     return StatusBadSize;
    if (xFactor <= 0 || yFactor <= 0)                             return StatusBadResizeFactor;
    if (interpolation != InterNearest && interpolation != InterLinear && interpolation != InterCubic && interpolation != InterSuper)
        return StatusBadInterpolation;

    if (interpolation == InterCubic && (srcSize.width < 8 || srcSize.height < 4))
        interpolation = InterLinear;
    if (interpolation != InterSuper && (srcSize.width < 4 || srcSize.height < 2))
        interpolation = InterNearest;

    const Vek32s width = Min(srcRoi.width, srcSize.width - srcRoi.x), height = Min(srcRoi.height, srcSize.height - srcRoi.y);
    Job job;
    job.src = Offset(pSrc, (int64_t)srcRoi.y * srcStep + (int64_t)srcRoi.x * 4);
    job.srcStep = srcStep;
    job.dst = pDst;
    job.dstStep = dstStep;
    job.luma = {srcSize.width, srcRoi.x, width, xFactor, 0, 0, 0, width - 1};
    job.y = {srcSize.height, srcRoi.y, height, yFactor, 0, 0, 0, 0};
    VekStatus status = MapWidth(job.luma, dstRoiSize.width);
    if (status == StatusOk)
        status = MapScaled(job.y, dstRoiSize.height, interpolation == InterNearest);
    if (status != StatusOk)
        return status;
    if (interpolation == InterSuper && !(xFactor <= 1.0 && yFactor <= 1.0))
        return StatusBadResizeFactor;

    job.pairs = job.luma.length / 2;
    job.luma.length = 2 * job.pairs;
    job.chroma = {srcSize.width / 2, srcRoi.x / 2, width / 2, xFactor, 0, 0, job.pairs, width / 2 - 1};
    if (interpolation == InterNearest) {
        job.luma.step = job.chroma.step = 1 / xFactor;
        return Nearest(job);
    }
    job.luma.step = CornerStep(job.luma);
    job.chroma.step = CornerStep(job.chroma);
    return interpolation == InterLinear  ? Linear(job)
           : interpolation == InterCubic ? CubicResize(job)
                                         : SuperOfPairs(job, srcSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
