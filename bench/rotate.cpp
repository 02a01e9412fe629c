// Quarter turns, rotation by an angle and the projective warp. OpenCV interpolates in fixed point with
// 32 steps a pixel, the library in double precision.
#include "support.h"

#include <memory>

#include "uvek/geometry.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace uvek::bench {
namespace {

using RotateFunction = decltype(vekiRotate_8u_C1R);

#ifdef UVEK_HAVE_OPENCV
cv::Mat MatOf(Image<Vek8u>& image, int channels)
{
    return cv::Mat(image.size().height, image.size().width, CV_8UC(channels), image.data());
}
#endif

struct Pair {
    Image<Vek8u> src, dst;
    int channels;
};

std::shared_ptr<Pair> MakePair(Size src, Size dst, int channels)
{
    return std::make_shared<Pair>(Pair{Image<Vek8u>(src, channels), Image<Vek8u>(dst, channels), channels});
}

VekImageRect Whole(Image<Vek8u>& image)
{
    return {0, 0, image.size().width, image.size().height};
}

void RegisterTurn(RotateFunction* rotate, int channels, int turns, Size size)
{
    const auto pair = MakePair(size, turns == 2 ? size : Size{size.height, size.width}, channels);
    const std::string name = "rotate" + std::to_string(turns * 90) + "_8u_C" + std::to_string(channels);
    const int64_t bytes = 2 * pair->src.bytes();
    RegisterTiers(name, size.name(), bytes, [=] {
        Image<Vek8u>&s = pair->src, &d = pair->dst;
        rotate(s.data(), s.size(), s.step(), Whole(s), d.data(), d.step(), Whole(d), turns * 90, turns == 1 ? 0 : d.size().width - 1, turns == 3 ? 0 : d.size().height - 1, InterNearest);
    });
#ifdef UVEK_HAVE_OPENCV
    Register(name, "opencv", -1, size.name(), bytes, [=] {
        cv::setNumThreads(1);
        cv::Mat dst = MatOf(pair->dst, channels);
        cv::rotate(MatOf(pair->src, channels), dst, turns == 1 ? cv::ROTATE_90_COUNTERCLOCKWISE : turns == 2 ? cv::ROTATE_180 : cv::ROTATE_90_CLOCKWISE);
    });
#endif
}

constexpr struct { const char* name; int code, peerCode; } kInterpolations[] = {
    {"nearest", InterNearest, 0}, {"linear", InterLinear, 1}, {"cubic", InterCubic, 2}};

// About the centre, so that most of the destination is written.
template <class Interpolation>
void RegisterAngle(RotateFunction* rotate, int channels, const Interpolation& interpolation, Size size)
{
    const auto pair = MakePair(size, size, channels);
    const std::string name = std::string("rotate33_") + interpolation.name + "_8u_C" + std::to_string(channels);
    const int64_t bytes = 2 * pair->src.bytes();
    double x = 0, y = 0;
    vekiAddRotateShift(size.width / 2, size.height / 2, 33, &x, &y);
    const int code = interpolation.code;
    RegisterTiers(name, size.name(), bytes, [=] {
        Image<Vek8u>&s = pair->src, &d = pair->dst;
        rotate(s.data(), s.size(), s.step(), Whole(s), d.data(), d.step(), Whole(d), 33, x, y, code);
    });
#ifdef UVEK_HAVE_OPENCV
    const int peerCode = interpolation.peerCode;
    Register(name, "opencv", -1, size.name(), bytes, [=] {
        cv::setNumThreads(1);
        const double c = std::cos(33 * CV_PI / 180), s = std::sin(33 * CV_PI / 180);
        const cv::Mat matrix = (cv::Mat_<double>(2, 3) << c, s, x, -s, c, y);
        cv::Mat dst = MatOf(pair->dst, channels);
        cv::warpAffine(MatOf(pair->src, channels), dst, matrix, dst.size(), peerCode, cv::BORDER_TRANSPARENT);
    });
#endif
}

template <class Interpolation>
void RegisterWarp(bool perspective, const Interpolation& interpolation, Size size)
{
    const auto pair = MakePair(size, size, 3);
    const std::string name = std::string(perspective ? "warpPerspective_" : "warpBilinear_") + interpolation.name + "_8u_C3";
    const int64_t bytes = 2 * pair->src.bytes();
    const double w = size.width - 1, h = size.height - 1;
    const double quad[4][2] = {{0.1 * w, 0}, {w, 0.15 * h}, {0.85 * w, h}, {0, 0.9 * h}};
    struct Coefficients { double perspective[3][3], bilinear[2][4]; } k;
    vekiGetPerspectiveTransform({0, 0, size.width, size.height}, quad, k.perspective);
    vekiGetBilinearTransform({0, 0, size.width, size.height}, quad, k.bilinear);
    const int code = interpolation.code;
    RegisterTiers(name, size.name(), bytes, [=] {
        Image<Vek8u>&s = pair->src, &d = pair->dst;
        if (perspective)
            vekiWarpPerspective_8u_C3R(s.data(), s.size(), s.step(), Whole(s), d.data(), d.step(), Whole(d), k.perspective, code);
        else
            vekiWarpBilinear_8u_C3R(s.data(), s.size(), s.step(), Whole(s), d.data(), d.step(), Whole(d), k.bilinear, code);
    });
#ifdef UVEK_HAVE_OPENCV
    const int peerCode = interpolation.peerCode;
    if (perspective)
        Register(name, "opencv", -1, size.name(), bytes, [=] {
            cv::setNumThreads(1);
            cv::Mat dst = MatOf(pair->dst, 3);
            cv::warpPerspective(MatOf(pair->src, 3), dst, cv::Mat(3, 3, CV_64F, (void*)k.perspective), dst.size(), peerCode, cv::BORDER_TRANSPARENT);
        });
#endif
}

const bool registered = [] {
    constexpr struct { RotateFunction* rotate; int channels; } layouts[] = {{vekiRotate_8u_C1R, 1}, {vekiRotate_8u_C3R, 3}, {vekiRotate_8u_C4R, 4}};
    for (const Size size : kSizes) {
        for (const auto& layout : layouts) {
            for (const int turns : {1, 2, 3})
                RegisterTurn(layout.rotate, layout.channels, turns, size);
            for (const auto& interpolation : kInterpolations)
                RegisterAngle(layout.rotate, layout.channels, interpolation, size);
        }
        for (const auto& interpolation : kInterpolations) {
            RegisterWarp(true, interpolation, size);
            RegisterWarp(false, interpolation, size);
        }
    }
    return true;
}();

}  // namespace
}  // namespace uvek::bench
