// Rotation by 90, 180 or 270 degrees: 180 is a reversed copy, the others are transposes.
#include "geometry/orthogonal.h"

#include "geometry/orthogonal_rows.h"
#include "geometry/orthogonal_transpose.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Past any image, and far from the end of 64-bit sums.
constexpr int64_t kFarShift = (int64_t)1 << 40;

int64_t WholeShift(Vek64f shift)
{
    return (int64_t)Clamp(shift, (Vek64f)-kFarShift, (Vek64f)kFarShift);
}

struct Range {
    int64_t first, last;
};

Range Intersect(Range a, int64_t first, int64_t last)
{
    return {Max(a.first, first), Min(a.last, last)};
}

template <int pixelBytes>
void Move(const Vek8u* src, int64_t columnStep, int64_t rowStep, Vek8u* dst, Vek32s dstStep, VekImageSize size, int quarterTurns)
{
    if (quarterTurns == 2)
        for (Vek32s y = 0; y < size.height; ++y)
            ReverseRow<pixelBytes>(Offset(src, y * rowStep), Row(dst, dstStep, y), size.width);
    else
        Transpose<pixelBytes>(src, columnStep, rowStep, dst, dstStep, size);
}

}  // namespace

VekStatus OrthogonalRotate(const WarpCall& call, int quarterTurns, Vek64f xShift, Vek64f yShift)
{
    if (!call.pSrc || !call.pDst)                  return StatusNullPointer;
    if (HasBadSize(call))                          return StatusBadSize;
    if (call.srcStep < 1 || call.dstStep < 1)      return StatusBadStep;
    if (StartsOutside(call.srcRoi, call.srcSize))  return WarnEmptyIntersection;

    const VekImageRect roi = ClipToImage(call.srcRoi, call.srcSize);
    const int64_t x0 = roi.x, y0 = roi.y, ex = x0 + roi.width - 1, ey = y0 + roi.height - 1;
    const int64_t xs = WholeShift(xShift), ys = WholeShift(yShift);
    const Range columns[] = {{y0 + xs, ey + xs}, {xs - ex, xs - x0}, {xs - ey, xs - y0}};
    const Range rows[] = {{ys - ex, ys - x0}, {ys - ey, ys - y0}, {x0 + ys, ex + ys}};
    const Range x = Intersect(columns[quarterTurns - 1], call.dstRoi.x, (int64_t)call.dstRoi.x + call.dstRoi.width - 1);
    const Range y = Intersect(rows[quarterTurns - 1], call.dstRoi.y, (int64_t)call.dstRoi.y + call.dstRoi.height - 1);
    if (x.first > x.last || y.first > y.last)      return WarnEmptyIntersection;

    // The source of the first pixel, and the way to those of its right and its lower neighbour.
    const int64_t pixel = ChannelsOf(call.formatCode) * SampleBytesOf(call.formatCode), row = call.srcStep;
    const int64_t sx[] = {ys - y.first, xs - x.first, y.first - ys}, sy[] = {x.first - xs, ys - y.first, xs - x.first};
    const int64_t columnSteps[] = {row, -pixel, -row}, rowSteps[] = {-pixel, -row, pixel};
    const Vek8u* const src = Offset(call.pSrc, sy[quarterTurns - 1] * row + sx[quarterTurns - 1] * pixel);
    Vek8u* const dst = Offset(call.pDst, y.first * call.dstStep + x.first * pixel);
    const VekImageSize size = {(Vek32s)(x.last - x.first + 1), (Vek32s)(y.last - y.first + 1)};

    const auto move = pixel == 1 ? Move<1> : pixel == 2 ? Move<2> : pixel == 3 ? Move<3> : pixel == 4 ? Move<4> : pixel == 6 ? Move<6> : Move<12>;
    move(src, columnSteps[quarterTurns - 1], rowSteps[quarterTurns - 1], dst, call.dstStep, size, quarterTurns);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
