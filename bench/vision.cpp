// Pyramids and optical flow. OpenCV's pyramid step has the kernel 1 4 6 4 1 built in, and rounds once.
#include "support.h"

#include <memory>

#include "uvek/vision.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#endif

namespace uvek::bench {
namespace {

const Vek16s kBinomial[5] = {1, 4, 6, 4, 1};
const Vek16s kUneven[5] = {1, 5, 7, 5, 1};  // one that is no multiple of a power of two when scaled

void Down(const std::string& operation, const Vek16s* kernel, Vek32f rate, Size size)
{
    const auto src = std::make_shared<Image<Vek8u>>(size, 1);
    VekPyramidState* pyramid = nullptr;
    vekiPyramidInitAlloc(&pyramid, 1, src->size(), rate);
    const VekImageSize half = pyramid->pRoi[1];
    vekiPyramidFree(pyramid);
    const auto dst = std::make_shared<Image<Vek8u>>(Size{half.width, half.height}, 1);
    VekPyramidLayerState* layer = nullptr;
    vekiPyramidLayerDownInitAlloc_8u_C1R(&layer, src->size(), rate, kernel, 5, InterLinear);
    const std::shared_ptr<VekPyramidLayerState> state(layer, vekiPyramidLayerDownFree_8u_C1R);
    RegisterTiers(operation, size.name(), src->bytes() + dst->bytes(), [=] {
        vekiPyramidLayerDown_8u_C1R(src->data(), src->step(), src->size(), dst->data(), dst->step(), dst->size(), state.get());
    });
#ifdef UVEK_HAVE_OPENCV
    if (rate == 2 && kernel == kBinomial)
        Register(operation, "opencv", -1, size.name(), src->bytes() + dst->bytes(), [=] {
            cv::setNumThreads(1);
            const cv::Mat from(size.height, size.width, CV_8UC1, src->data(), (size_t)src->step());
            cv::Mat to(half.height, half.width, CV_8UC1, dst->data(), (size_t)dst->step());
            cv::pyrDown(from, to, to.size());
        });
#endif
}

const bool registered = [] {
    for (const Size size : kSizes) {
        Down("vision_PyramidDown", kBinomial, 2, size);
        Down("vision_PyramidDownUneven", kUneven, 2, size);
        Down("vision_PyramidDownInterpolated", kBinomial, 1.5f, size);
    }
    return true;
}();

}  // namespace
}  // namespace uvek::bench
