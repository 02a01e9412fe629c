// A sparse tracker over two pyramids: Lucas and Kanade's iteration at each level, coarse to fine (Bouguet 2000).
#include "uvek/vision.h"
#include "vision/flow_sums.h"
#include "vision/layout.h"
#include "vision/scharr.h"
#include "vision/window.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek64f kSmallestDeterminant = 2.220446049250313e-16;
constexpr Vek64f kReversed = 0.0003452669770922512;

// The margined window needs two samples more a side, and one pixel more than that.
constexpr Vek32s kMargin = 2, kPatchMargin = 3;

// Where things stand in the state's buffer.
struct Buffers {
    Comparison compared;
    Window margined;
    Window levelX, levelY;   // gradients of a whole level
    Vek8u* patch;
    Vek32s patchStep;
    BlockLayout layout;
};

Buffers BuffersOf(const VekOpticalFlowState& state)
{
    Buffers b;
    const auto window = [&](int64_t height, int64_t width) {
        const int64_t stride = width + kWindowSlack;
        return Window{(Vek16s*)Offset(state.buffer, b.layout.Add(height, stride, sizeof(Vek16s))), stride};
    };
    const int64_t size = state.winSize;
    Window* const windows[] = {&b.compared.first, &b.compared.gradientX, &b.compared.gradientY, &b.compared.difference, &b.margined};
    for (Window* w : windows)
        *w = window(size + kMargin, size + kMargin);
    b.compared.blocks = (Block*)Offset(state.buffer, b.layout.Add(size, size / 8 + 1, sizeof(Block)));
    b.levelX = window(state.height, state.width);
    b.levelY = window(state.height, state.width);
    b.patchStep = (Vek32s)(size + kPatchMargin);
    b.patch = (Vek8u*)Offset(state.buffer, b.layout.Add(size + kPatchMargin, size + kPatchMargin, 1));
    return b;
}

struct Image {
    const Vek8u* pixels;
    Vek32s step;
    VekImageSize size;
};

Image LevelOf(const VekPyramidState* pyramid, Vek32s level)
{
    return {pyramid->pImage[level], pyramid->pStep[level], pyramid->pRoi[level]};
}

VekStatus CheckLevel(const Image& image)
{
    if (image.size.width < 1 || image.size.height < 1)  return StatusBadSize;
    if (image.step < image.size.width)                  return StatusBadStep;
    return StatusOk;
}

struct Tracker {
    const VekPyramidState* pyramid1;
    const VekPyramidState* pyramid2;
    const Vek32f* prev;
    Vek32f* next;
    Vek8s* status;
    Vek32f* error;
    Vek32s winSize, maxIter;
    Vek64f threshold;
    Buffers buffers;
};

enum class Gradients { OfLevel, OfWindow };

// The gradients of a window whose centre is given, from the window itself with a margin. Pixels outside the image are
// those of its edge.
void FilterAround(const Tracker& t, const Image& image, Vek32f x, Vek32f y)
{
    const Buffers& b = t.buffers;
    const Vek32s size = t.winSize + kMargin;
    const Place place = PlaceWindow(x, y, size, image.size);
    const Weights weights = BilinearWeights(place.fractionX, place.fractionY, kWeightBits<Vek8u>);
    const Span all = {0, 0, size, size};
    if (IsSame(place.inside, all)) {
        SampleWindow(image.pixels, image.step, place.x, place.y, weights, all, b.margined);
    } else {
        for (Vek32s v = 0; v <= size; ++v) {
            const Vek8u* const from = Row(image.pixels, image.step, Clamp(place.y + v, 0, image.size.height - 1));
            Vek8u* const to = Row(b.patch, b.patchStep, v);
            for (Vek32s u = 0; u <= size; ++u)
                to[u] = from[Clamp(place.x + u, 0, image.size.width - 1)];
        }
        SampleWindow((const Vek8u*)b.patch, b.patchStep, 0, 0, weights, all, b.margined);
    }
    ScharrWindow(b.margined, t.winSize, b.compared.gradientX, b.compared.gradientY);
}

// The first image's window around p and its gradients, where they are inside.
void PrepareWindow(const Tracker& t, Gradients gradients, const Image& image, const Place& place, Vek32f x, Vek32f y)
{
    const Buffers& b = t.buffers;
    SampleWindow(image.pixels, image.step, place.x, place.y, BilinearWeights(place.fractionX, place.fractionY, kWeightBits<Vek8u>), place.inside, b.compared.first);
    if (gradients == Gradients::OfWindow)
        return FilterAround(t, image, x, y);
    const Weights weights = BilinearWeights(place.fractionX, place.fractionY, kWeightBits<Vek16s>);
    const int64_t step = b.levelX.stride * (int64_t)sizeof(Vek16s);
    SampleWindow((const Vek16s*)b.levelX.samples, step, place.x, place.y, weights, place.inside, b.compared.gradientX);
    SampleWindow((const Vek16s*)b.levelY.samples, step, place.x, place.y, weights, place.inside, b.compared.gradientY);
}

// Takes point i through one level. A lost point is no failure: its status stays.
VekStatus TrackPoint(const Tracker& t, Gradients gradients, Vek32s level, Vek32s i)
{
    const Comparison& compared = t.buffers.compared;
    const Image image1 = LevelOf(t.pyramid1, level), image2 = LevelOf(t.pyramid2, level);
    if (const VekStatus status = CheckLevel(image1))  return status;
    if (const VekStatus status = CheckLevel(image2))  return status;

    const Vek64f rate = t.pyramid1->pRate[level];
    const auto scaled = [=](const Vek32f* p) { return (Vek32f)(Get(p) * rate); };
    const auto moveTo = [&](Vek32f x, Vek32f y) {
        Put(t.next + 2 * (int64_t)i, (Vek32f)(x / rate));
        Put(t.next + 2 * (int64_t)i + 1, (Vek32f)(y / rate));
    };
    Vek32f x = scaled(t.next + 2 * (int64_t)i), y = scaled(t.next + 2 * (int64_t)i + 1);
    const Vek32f fromX = scaled(t.prev + 2 * (int64_t)i), fromY = scaled(t.prev + 2 * (int64_t)i + 1);

    const Place place = PlaceWindow(fromX, fromY, t.winSize, image1.size);
    if (!place.inside.IsEmpty())
        PrepareWindow(t, gradients, image1, place, fromX, fromY);
    Vek64f lastX = (Vek64f)image1.size.width + image1.size.height, lastY = lastX;  // no step reverses it
    Structure g = {0, 0, 0, 0};
    Span span = {0, 0, 0, 0};
    bool found = true;
    for (Vek32s iteration = 0; iteration < t.maxIter; ++iteration) {
        const Place to = PlaceWindow(x, y, t.winSize, image2.size);
        const Span common = Intersect(place.inside, to.inside);
        const bool changed = iteration == 0 || !IsSame(common, span);
        span = common;
        if (span.IsEmpty()) {
            moveTo(x, y);
            found = false;
            break;
        }
        if (changed)
            g = SumStructure(compared, span);
        const Slope slope = SumSlope(compared, g, Row(image2.pixels, image2.step, to.y) + to.x, image2.step, BilinearWeights(to.fractionX, to.fractionY, kWeightBits<Vek8u>), span);
        const Vek64f determinant = g.xx * g.yy - g.xy * g.xy;
        if (determinant < kSmallestDeterminant) {
            found = false;
            break;
        }
        const Vek64f dx = (g.yy * slope.x - g.xy * slope.y) / determinant, dy = (g.xx * slope.y - g.xy * slope.x) / determinant;
        x = (Vek32f)(x + dx);
        y = (Vek32f)(y + dy);
        if (dx * dx + dy * dy < t.threshold * t.threshold)
            break;
        if (fabs(lastX + dx) < kReversed && fabs(lastY + dy) < kReversed) {
            x = (Vek32f)(x - dx * 0.5);
            y = (Vek32f)(y - dy * 0.5);
            break;
        }
        lastX = dx;
        lastY = dy;
    }
    if (found) {
        moveTo(x, y);
        t.status[i] = (Vek8s)level;
    }
    Put(t.error + i, RootMeanSquare(compared, span));
    return StatusOk;
}

// The coarsest level that has outgrown the whole-level gradients; -1 if none has.
Vek32s FirstLargeLevel(const VekPyramidState* pyramid, Vek32s maxLev, const VekOpticalFlowState* state)
{
    Vek32s level = maxLev;
    while (level >= 0 && pyramid->pRoi[level].width < state->width && pyramid->pRoi[level].height < state->height)
        --level;
    return level;
}

}  // namespace

VekStatus vekiOpticalFlowPyrLKInitAlloc_8u_C1R(VekOpticalFlowState** ppState, VekImageSize roiSize, Vek32s winSize, Vek32s hint)
{
    if (!ppState)                                                return StatusNullPointer;
    if (winSize < 1 || roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    VekOpticalFlowState* const state = (VekOpticalFlowState*)AllocateBlock(sizeof(VekOpticalFlowState));
    if (!state)
        return StatusNoMemory;
    *state = {roiSize.width, roiSize.height, 1, 1, hint, winSize, nullptr};
    state->buffer = BuffersOf(*state).layout.Allocate();
    if (!state->buffer) {
        ReleaseBlock(state);
        return StatusNoMemory;
    }
    *ppState = state;
    return StatusOk;
}

VekStatus vekiOpticalFlowPyrLK_8u_C1R(const VekPyramidState* pPyr1, const VekPyramidState* pPyr2, const Vek32f* pPrev, Vek32f* pNext,
                                      Vek8s* pStatus, Vek32f* pError, Vek32s numFeat, Vek32s winSize, Vek32s maxLev, Vek32s maxIter,
                                      Vek32f threshold, VekOpticalFlowState* pState)
{
    if (!pPyr1 || !pPyr2 || !pPrev || !pNext || !pStatus || !pError || !pState)  return StatusNullPointer;
    if (numFeat < 1 || winSize < 1 || winSize != pState->winSize)                return StatusBadSize;
    if (maxLev < 0 || maxIter < 1 || threshold < 0)                              return StatusBadRange;

    const Tracker tracker = {pPyr1, pPyr2, pPrev, pNext, pStatus, pError, winSize, maxIter, threshold, BuffersOf(*pState)};
    // A status says which level failed last, plus one: a point that is lost at one level sits out the next.
    const auto track = [&](Gradients gradients, Vek32s level, Vek32s i) {
        return pStatus[i] == (Vek8s)(level + 1) ? TrackPoint(tracker, gradients, level, i) : StatusOk;
    };
    memset(pStatus, (Vek8s)(maxLev + 1), (size_t)numFeat);

    const Vek32s firstLarge = FirstLargeLevel(pPyr1, maxLev, pState);
    for (Vek32s level = maxLev; level > firstLarge; --level) {
        const Image image = LevelOf(pPyr1, level);
        if (const VekStatus status = CheckLevel(image))
            return status;
        ScharrImage(image.pixels, image.step, image.size, tracker.buffers.levelX, tracker.buffers.levelY);
        for (Vek32s i = 0; i < numFeat; ++i)
            if (const VekStatus status = track(Gradients::OfLevel, level, i))
                return status;
    }
    for (Vek32s i = 0; i < numFeat; ++i)
        for (Vek32s level = firstLarge; level >= 0; --level)
            if (const VekStatus status = track(Gradients::OfWindow, level, i))
                return status;
    return StatusOk;
}

VekStatus vekiOpticalFlowPyrLKFree_8u_C1R(VekOpticalFlowState* pState)
{
    if (!pState)  return StatusNullPointer;

    ReleaseBlock(pState->buffer);
    ReleaseBlock(pState);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
