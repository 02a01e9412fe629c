// Pyramids and optical flow. OpenCV's pyramid step has the kernel 1 4 6 4 1 built in, and rounds once. Its tracker stops
// by other rules than ours near the end; both follow every point of this scene.
#include "support.h"

#include <array>
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

// Two images of one scene, and points on it.
struct Scene {
    static constexpr Vek32s kLevels = 3, kWindow = 21;
    explicit Scene(Size s) : size(s)
    {
        for (int k = 0; k < 2; ++k) {
            vekiPyramidInitAlloc(&pyramid[k], kLevels, {size.width, size.height}, 2);
            VekPyramidLayerState* layer = nullptr;
            vekiPyramidLayerDownInitAlloc_8u_C1R(&layer, {size.width, size.height}, 2, kBinomial, 5, InterLinear);
            for (int i = 0; i <= kLevels; ++i) {
                const VekImageSize level = pyramid[k]->pRoi[i];
                images[k].emplace_back(Size{level.width, level.height}, 1);
                pyramid[k]->pImage[i] = images[k][i].data();
                pyramid[k]->pStep[i] = images[k][i].step();
                if (i == 0)
                    Paint(images[k][0], k * 3.3, k * -2.1);
                else
                    vekiPyramidLayerDown_8u_C1R(pyramid[k]->pImage[i - 1], pyramid[k]->pStep[i - 1], pyramid[k]->pRoi[i - 1], pyramid[k]->pImage[i],
                                                pyramid[k]->pStep[i], level, layer);
            }
            vekiPyramidLayerDownFree_8u_C1R(layer);
        }
        for (int i = 0; i < 500; ++i) {
            points.push_back(20 + (size.width - 40) * (i % 25 + 0.3f) / 25);
            points.push_back(20 + (size.height - 40) * (i / 25 + 0.6f) / 20);
        }
    }
    void Paint(Image<Vek8u>& image, double dx, double dy)
    {
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) {
                const double u = x - dx, v = y - dy;
                image.data()[(size_t)y * image.step() + x] = (Vek8u)(128 + 30 * std::sin(u * 0.31 + v * 0.11) + 30 * std::sin(v * 0.43 - u * 0.09)
                                                                     + 25 * std::sin(u * 0.045 + v * 0.05) + 25 * std::sin(v * 0.07 - u * 0.03));
            }
    }

    Size size;
    std::vector<Image<Vek8u>> images[2];
    VekPyramidState* pyramid[2];
    std::vector<Vek32f> points;
};

// The gradients of all levels as a whole, or around each point from the base on.
void Flow(const std::string& operation, Size size, VekImageSize roi)
{
    const auto scene = std::make_shared<Scene>(size);
    VekOpticalFlowState* state = nullptr;
    vekiOpticalFlowPyrLKInitAlloc_8u_C1R(&state, roi, Scene::kWindow, 0);
    const int64_t bytes = 2 * 500 * Scene::kWindow * Scene::kWindow * (Scene::kLevels + 1);
    RegisterTiers(operation, size.name(), bytes, [=] {
        std::vector<Vek32f> next = scene->points, error(500);
        std::vector<Vek8s> status(500);
        vekiOpticalFlowPyrLK_8u_C1R(scene->pyramid[0], scene->pyramid[1], scene->points.data(), next.data(), status.data(), error.data(), 500,
                                    Scene::kWindow, Scene::kLevels, 30, 0.01f, state);
    });
#ifdef UVEK_HAVE_OPENCV
    Register(operation, "opencv", -1, size.name(), bytes, [=, pyramids = std::make_shared<std::array<std::vector<cv::Mat>, 2>>()]() mutable {
        cv::setNumThreads(1);
        if ((*pyramids)[0].empty())
            for (int k = 0; k < 2; ++k) {
                const cv::Mat base(size.height, size.width, CV_8UC1, scene->images[k][0].data());
                cv::buildOpticalFlowPyramid(base, (*pyramids)[k], {Scene::kWindow, Scene::kWindow}, Scene::kLevels, false);
            }
        const cv::Mat from(500, 1, CV_32FC2, scene->points.data());
        cv::Mat to = from.clone(), status, error;
        cv::calcOpticalFlowPyrLK((*pyramids)[0], (*pyramids)[1], from, to, status, error, {Scene::kWindow, Scene::kWindow}, Scene::kLevels,
                                 {cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.01}, cv::OPTFLOW_USE_INITIAL_FLOW);
    });
#endif
}

const bool registered = [] {
    for (const Size size : kSizes) {
        Down("vision_PyramidDown", kBinomial, 2, size);
        Down("vision_PyramidDownUneven", kUneven, 2, size);
        Down("vision_PyramidDownInterpolated", kBinomial, 1.5f, size);
    }
    Flow("vision_OpticalFlow", {640, 480}, {641, 481});
    Flow("vision_OpticalFlowLargeBase", {640, 480}, {640, 480});
    return true;
}();

}  // namespace
}  // namespace uvek::bench
