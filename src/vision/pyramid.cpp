// The record of a pyramid: the sizes and scales of its levels, and where the caller keeps their pixels.
#include "vision/pyramid.h"

#include "uvek/vision.h"
#include "vision/layout.h"

namespace uvek::VEK_TIER_NAMESPACE {

VekStatus vekiPyramidInitAlloc(VekPyramidState** ppState, Vek32s level, VekImageSize roiSize, Vek32f rate)
{
    if (!ppState)                                 return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (!IsReductionRate(rate) || level < 1)      return StatusBadRange;

    Vek32s numLevels = 0;
    for (VekImageSize size = roiSize; numLevels < level && (size.width >= 2 || size.height > 1); ++numLevels)
        size = PyramidDownSize(size, rate);

    const int64_t images = (int64_t)numLevels + 1;
    BlockLayout layout;
    layout.Add(1, 1, sizeof(VekPyramidState));
    const int64_t image = layout.Add(images, 1, sizeof(Vek8u*)), roi = layout.Add(images, 1, sizeof(VekImageSize));
    const int64_t scale = layout.Add(images, 1, sizeof(Vek64f)), step = layout.Add(images, 1, sizeof(Vek32s));
    VekPyramidState* const state = (VekPyramidState*)layout.Allocate();
    if (!state)
        return StatusNoMemory;
    state->pImage = (Vek8u**)Offset((void*)state, image);
    state->pRoi = (VekImageSize*)Offset((void*)state, roi);
    state->pRate = (Vek64f*)Offset((void*)state, scale);
    state->pStep = (Vek32s*)Offset((void*)state, step);
    state->pState = nullptr;
    state->numLevels = numLevels;

    const Vek64f reduction = 1 / (Vek64f)rate;
    state->pRoi[0] = roiSize;
    state->pRate[0] = 1;
    for (Vek32s i = 1; i <= numLevels; ++i) {
        state->pRoi[i] = PyramidDownSize(state->pRoi[i - 1], rate);
        state->pRate[i] = state->pRate[i - 1] * reduction;
    }
    memset(state->pImage, 0, (size_t)images * sizeof(Vek8u*));
    memset(state->pStep, 0, (size_t)images * sizeof(Vek32s));
    *ppState = state;
    return StatusOk;
}

VekStatus vekiPyramidFree(VekPyramidState* pState)
{
    if (!pState)  return StatusNullPointer;

    ReleaseBlock(pState);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
