// The frame of all resampling: checks, the mapping of destination pixels to source positions, the choice
// of a kernel, and the exports.
#include "geometry/resize.h"

#include <math.h>

#include "frame/platform.h"
#include "uvek/geometry.h"

namespace uvek::VEK_TIER_NAMESPACE {

VekStatus MapScaled(Axis& axis, Vek32s wanted, bool nearest)
{
    const Vek64f scaled = axis.region * axis.factor, reach = scaled + kPositionSlack, whole = trunc(reach);
    if (wanted <= whole)
        axis.length = wanted;
    else if (whole >= 1)
        axis.length = (Vek32s)whole;
    else if (reach < 0.5)
        return StatusResizeTooSmall;
    else
        axis.length = 1;
    // A scaled length of a half would take the pixel behind the region. A shift may leave the region, yet
    // never the image.
    axis.bound = axis.shift == 0 ? axis.region - 1 : axis.last();
    if (nearest)
        axis.step = 1 / axis.factor;
    else
        axis.step = scaled > 1.0 ? (axis.region - 1) / (scaled - 1) : 0.0;
    return StatusOk;
}

void NearestTable(const Axis& axis, Vek32s stride, Vek32s* index)
{
    ForEachPosition(axis, axis.shift + 0.5 * axis.step,
                    [&](Vek32s k, Vek64f, Vek32s i) { index[k] = Clamp(i, -axis.origin, axis.bound) * stride; });
}

bool LinearTable(const Axis& axis, Vek32s stride, Vek32s* index, Vek16u* weight)
{
    bool good = true;
    ForEachPosition(axis, axis.shift, [&](Vek32s k, Vek64f p, Vek32s i) {
        Vek32s w;
        if (i >= axis.last()) {  // the image's last pixel, wherever the region ends
            i = axis.last() - 1;
            w = kWholeWeight;
        } else if (i < -axis.origin) {
            i = -axis.origin;
            w = 0;
        } else {
            w = (Vek32s)((p - i) * kWholeWeight + kPositionSlack);
        }
        good = good && w >= 0 && w <= kWholeWeight;
        index[k] = i * stride;
        weight[k] = (Vek16u)w;
    });
    return good;
}

void CubicTable(const Axis& axis, Vek32s stride, Vek32s* index, Vek32f* parameter)
{
    ForEachPosition(axis, axis.shift, [&](Vek32s k, Vek64f p, Vek32s i) {
        if (i >= axis.last()) {
            i = axis.last() - 2;
            parameter[k] = 2.0f;
        } else if (i < -axis.origin) {
            i = 1 - axis.origin;
            parameter[k] = -1.0f;
        } else {
            if (i == -axis.origin)
                ++i;
            else if (i == axis.last() - 1)
                --i;
            parameter[k] = (Vek32f)(p - i);
        }
        index[k] = i * stride;
    });
}

namespace {

constexpr Vek32s kPixelBytes[kSampleKinds] = {1, 3, 4, 4};

void MapSteps(Axis& axis, Vek32s wanted, bool nearest)
{
    axis.step = axis.factor;
    axis.bound = axis.last();
    const Vek64f reach = (nearest ? axis.region : axis.region - 1) / axis.factor + kPositionSlack;
    const Vek32s steps = TruncateToInt(reach);
    // Nearest keeps the comparison of the others, although its length is the steps themselves.
    axis.length = steps >= wanted - 1 ? wanted : Max(1, nearest ? steps : steps + 1);
}

// The checks that all entries but the pointers' have in one order.
VekStatus CheckRegions(VekImageSize srcSize, VekImageRect srcRoi, VekImageSize dstSize, Vek64f xFactor, Vek64f yFactor)
{
    if (srcSize.width <= 0 || srcSize.height <= 0)            return StatusBadSize;
    if (srcRoi.x < 0 || srcRoi.y < 0)                         return StatusBadSize;
    if (srcRoi.width <= 0 || srcRoi.height <= 0)              return StatusBadSize;
    if (srcSize.width <= srcRoi.x || srcSize.height <= srcRoi.y) return WarnEmptyIntersection;
    if (dstSize.width <= 0 || dstSize.height <= 0)            return StatusBadSize;
    if (xFactor <= 0 || yFactor <= 0)                         return StatusBadResizeFactor;
    return StatusOk;
}

Vek32s Downgrade(Vek32s interpolation, VekImageSize size)
{
    const Vek32s side = Min(size.width, size.height);
    if (side < 8 && interpolation == InterLanczos)
        interpolation = InterCubic;
    if (side < 4 && interpolation == InterCubic)
        interpolation = InterLinear;
    return side < 2 ? (Vek32s)InterNearest : interpolation;
}

VekImageRect Clip(VekImageRect rect, VekImageSize size)
{
    rect.width = Min(rect.width, size.width - rect.x);
    rect.height = Min(rect.height, size.height - rect.y);
    return rect;
}

ResizeJob JobOf(const ResizeRequest& request)
{
    const VekImageRect roi = Clip(request.srcRoi, request.srcSize);
    ResizeJob job;
    job.src = Offset((const Vek8u*)request.src, (int64_t)roi.y * request.srcStep + (int64_t)roi.x * kPixelBytes[(int)request.kind]);
    job.dst = (Vek8u*)request.dst;
    job.srcStep = request.srcStep;
    job.dstStep = request.dstStep;
    if (request.kind == SampleKind::FloatC1) {  // whole samples
        job.srcStep &= ~3;
        job.dstStep &= ~3;
    }
    job.x = {request.srcSize.width, roi.x, roi.width, request.xFactor, request.xShift, 0, 0, 0};
    job.y = {request.srcSize.height, roi.y, roi.height, request.yFactor, request.yShift, 0, 0, 0};
    return job;
}

VekStatus ResizeCore(const ResizeRequest& request)
{
    if (!request.src || !request.dst)
        return StatusNullPointer;
    VekStatus status = CheckRegions(request.srcSize, request.srcRoi, request.dstSize, request.xFactor, request.yFactor);
    if (status != StatusOk)
        return status;
    const Vek32s asked = request.interpolation;
    if (asked != InterNearest && asked != InterLinear && asked != InterCubic && asked != InterLanczos)
        return StatusBadInterpolation;

    const Vek32s interpolation = Downgrade(asked, request.srcSize);
    const bool nearest = interpolation == InterNearest;
    ResizeJob job = JobOf(request);
    if (request.factors == FactorKind::ScaleFactors) {
        status = MapScaled(job.x, request.dstSize.width, nearest);
        if (status == StatusOk)
            status = MapScaled(job.y, request.dstSize.height, nearest);
        if (status != StatusOk)
            return status;
    } else {
        MapSteps(job.x, request.dstSize.width, nearest);
        MapSteps(job.y, request.dstSize.height, nearest);
    }
    const ResizeKernel* const kernels = interpolation == InterNearest ? kNearestKernels
                                        : interpolation == InterLinear ? kLinearKernels
                                        : interpolation == InterCubic  ? kCubicKernels
                                                                       : kLanczosKernels;
    return kernels[(int)request.kind](job);
}

// rowBehind: the row behind the image is there.
VekStatus SuperSampleCore(const ResizeRequest& request, bool rowBehind)
{
    if (!request.src || !request.dst)
        return StatusNullPointer;
    VekStatus status = CheckRegions(request.srcSize, request.srcRoi, request.dstSize, request.xFactor, request.yFactor);
    if (status != StatusOk)
        return status;

    ResizeJob job = JobOf(request);
    status = MapScaled(job.x, request.dstSize.width, false);
    if (status == StatusOk)
        status = MapScaled(job.y, request.dstSize.height, false);
    if (status != StatusOk)
        return status;
    // A region that scales to less than a pixel is stretched to one, from rows of the image alone.
    const bool stretched = job.y.region * job.y.factor + kPositionSlack < 1;
    const Vek64f reach = trunc((job.x.length + 1.0) * (1 / job.x.factor)) + 1;
    const Vek32s columns = reach < job.x.region ? (Vek32s)reach : job.x.region;
    return SuperSample({job.src, job.srcStep, job.dst, job.dstStep, {job.x.length, job.y.length}, job.x.factor, job.y.factor, columns,
                        job.x.region, job.y.image - job.y.origin + (rowBehind && !stretched ? 1 : 0)},
                       request.kind);
}

VekStatus Resize(const ResizeRequest& request, bool rowBehind = false)
{
    const bool super = request.interpolation == InterSuper && request.xFactor <= 1.0 && request.yFactor <= 1.0;
    return super ? SuperSampleCore(request, rowBehind) : ResizeCore(request);
}

// Sums of an odd number of rows may come to touch the row behind the image, by the rounding of their
// shares. Where that row cannot be read they work on a copy that has the last row twice.
VekStatus ResizeGuarded(ResizeRequest request)
{
    const Vek32s step = request.srcStep, total = WrappedProduct(request.srcSize.height, step);
    const bool exact = total == (int64_t)request.srcSize.height * step;
    const int64_t rowBytes = (int64_t)request.srcSize.width * kPixelBytes[(int)request.kind];
    // Where rows overlap, a step's bytes are not the row behind: the last row stands for it.
    if (request.interpolation != InterSuper || !(request.srcRoi.height & 1) || step <= 0 || step < rowBytes || total <= 0 || !exact || !request.src)
        return Resize(request);

    const Vek8u* const src = (const Vek8u*)request.src;
    if (IsReadable(src + total, (size_t)step))
        return Resize(request, true);

    const Block<Vek8u> copy((int64_t)total + step);
    if (!copy)
        return StatusNoMemory;
    // The bytes between the last row's end and the next row's start need not exist.
    const size_t lastRow = (size_t)Max(rowBytes, (int64_t)0);
    memcpy(copy, src, (size_t)(total - step) + lastRow);
    memcpy(copy + total, src + (total - step), lastRow);
    request.src = copy;
    return Resize(request, true);
}

// One direction of a resize about a centre: which part of the destination is reached, and from where.
struct Centred {
    Vek32s dstStart, dstLength, srcStart, srcLength;
    Vek64f shift;
};

Centred Centre(Vek32s roiStart, Vek32s roiLength, Vek32s dstLength, Vek64f factor, Vek64f centre)
{
    const Vek64f half = 0.5 * dstLength, start = (roiStart - centre) * factor + half;
    Centred c;
    c.dstStart = Max(0, TruncateToInt(ceil(start)));
    // The region's end counts here, not its length.
    const Vek64f end = ((Vek64f)roiStart + roiLength) * factor + start;
    c.dstLength = (Vek32s)Max((int64_t)TruncateToInt(end < dstLength ? end : (Vek64f)dstLength) - c.dstStart, (int64_t)0);
    const Vek64f reach = (dstLength - start) / factor;
    c.srcLength = TruncateToInt(ceil(reach < roiLength ? reach : (Vek64f)roiLength));
    const Vek64f first = centre + (c.dstStart - half) / factor;
    c.srcStart = TruncateToInt(first);
    c.shift = first - c.srcStart;
    return c;
}

}  // namespace

VekStatus vekiResize_8u_C1R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                            VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation)
{
    return ResizeGuarded({pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor, yFactor, SampleKind::BytesC1, interpolation,
                          FactorKind::ScaleFactors, 0, 0});
}

VekStatus vekiResize_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                            VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation)
{
    return ResizeGuarded({pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor, yFactor, SampleKind::BytesC3, interpolation,
                          FactorKind::ScaleFactors, 0, 0});
}

VekStatus vekiResize_8u_C4R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                            VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation)
{
    return ResizeGuarded({pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor, yFactor, SampleKind::BytesC4, interpolation,
                          FactorKind::ScaleFactors, 0, 0});
}

VekStatus vekiResize_32f_C1R(const Vek32f* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek32f* pDst, Vek32s dstStep,
                             VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek32s interpolation)
{
    return Resize({pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor, yFactor, SampleKind::FloatC1, interpolation,
                   FactorKind::ScaleFactors, 0, 0});
}

VekStatus vekiResizeCenter_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                                  VekImageSize dstRoiSize, Vek64f xFactor, Vek64f yFactor, Vek64f xCenter, Vek64f yCenter,
                                  Vek32s interpolation)
{
    if (!pDst)
        return StatusNullPointer;
    const VekStatus status = CheckRegions(srcSize, srcRoi, dstRoiSize, xFactor, yFactor);
    if (status != StatusOk)
        return status;

    const VekImageRect roi = Clip(srcRoi, srcSize);
    const Centred x = Centre(roi.x, roi.width, dstRoiSize.width, xFactor, xCenter);
    const Centred y = Centre(roi.y, roi.height, dstRoiSize.height, yFactor, yCenter);
    return Resize({pSrc, srcSize, srcStep, {x.srcStart, y.srcStart, x.srcLength, y.srcLength},
                   Offset(pDst, (int64_t)y.dstStart * dstStep + (int64_t)x.dstStart * 3), dstStep, {x.dstLength, y.dstLength},
                   xFactor, yFactor, SampleKind::BytesC3, interpolation, FactorKind::ScaleFactors, x.shift, y.shift});
}

VekStatus vekiResizeShift_8u_C3R(const Vek8u* pSrc, VekImageSize srcSize, Vek32s srcStep, VekImageRect srcRoi, Vek8u* pDst, Vek32s dstStep,
                                 VekImageSize dstRoiSize, Vek64f xFr, Vek64f yFr, Vek64f xShift, Vek64f yShift, Vek32s interpolation)
{
    return ResizeCore({pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFr, yFr, SampleKind::BytesC3, interpolation,
                       FactorKind::SourceSteps, xShift, yShift});
}

VekStatus vekiGetResizeFract(VekImageSize srcSize, VekImageRect srcRoi, Vek64f xFactor, Vek64f yFactor, Vek64f* pxFr, Vek64f* pyFr,
                             Vek32s interpolation)
{
    const VekStatus status = CheckRegions(srcSize, srcRoi, {1, 1}, xFactor, yFactor);
    if (status != StatusOk)   return status;
    if (!pxFr || !pyFr)       return StatusNullPointer;
    if (interpolation != InterNearest && interpolation != InterLinear && interpolation != InterCubic && interpolation != InterLanczos)
        return StatusBadInterpolation;

    const VekImageRect roi = Clip(srcRoi, srcSize);
    const auto fraction = [&](Vek32s region, Vek64f factor) {
        const Vek64f scaled = region * factor;
        return interpolation == InterNearest ? 1 / factor : scaled > 1.0 ? (region - 1) / (scaled - 1) : 0.0;
    };
    Put(pxFr, fraction(roi.width, xFactor));
    Put(pyFr, fraction(roi.height, yFactor));
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
