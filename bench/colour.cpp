// Gray, HSV and video-range YCbCr. libyuv's weights have seven or eight bits; OpenCV's packed YCrCb is
// full-range and its HSV has other scales.
#include <memory>

#include "support.h"
#include "uvek/uvek.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef UVEK_HAVE_LIBYUV
#include <libyuv.h>
#endif

namespace uvek::bench {
namespace {

struct Case {
    explicit Case(Size s) : size(s), rgb(s, 3), out(s, 3), four(s, 4), wide(s, 3), wideGray(s, 1), y(s, 1), cb(s, 1), cr(s, 1) {}
    Size size;
    Image<Vek8u> rgb, out, four;
    Image<Vek16u> wide, wideGray;
    Image<Vek8u> y, cb, cr;
};

#ifdef UVEK_HAVE_LIBYUV
// The call asks the processor, which takes longer than a small image.
void MaskYuv(int flags)
{
    static int current = 0;
    if (current != flags)
        libyuv::MaskCpuFlags(current = flags);
}
#endif

void RegisterColour(Size size)
{
    static std::vector<std::unique_ptr<Case>> cases;
    cases.push_back(std::make_unique<Case>(size));
    Case& c = *cases.back();
    const VekImageSize roi = c.rgb.size();
    const int64_t area = (int64_t)size.width * size.height;
    const std::string name = size.name();

    RegisterTiers("colour_gray", name, area * 4, [&c, roi] { vekiRGBToGray_8u_C3C1R(c.rgb.data(), c.rgb.step(), c.y.data(), c.y.step(), roi); });
    RegisterTiers("colour_gray_ac4", name, area * 5, [&c, roi] { vekiColorToGray_8u_AC4C1R(c.four.data(), c.four.step(), c.y.data(), c.y.step(), roi, nullptr); });
    RegisterTiers("colour_gray_16u", name, area * 8, [&c, roi] { vekiColorToGray_16u_C3C1R(c.wide.data(), c.wide.step(), c.wideGray.data(), c.wideGray.step(), roi, nullptr); });
    RegisterTiers("colour_hsv", name, area * 6, [&c, roi] { vekiRGBToHSV_8u_C3R(c.rgb.data(), c.rgb.step(), c.out.data(), c.out.step(), roi); });
    RegisterTiers("colour_rgb_to_ycbcr", name, area * 6, [&c, roi] { vekiRGBToYCbCr_8u_C3R(c.rgb.data(), c.rgb.step(), c.out.data(), c.out.step(), roi); });
    RegisterTiers("colour_ycbcr_to_rgb", name, area * 6, [&c, roi] { vekiYCbCrToRGB_8u_C3R(c.rgb.data(), c.rgb.step(), c.out.data(), c.out.step(), roi); });
    RegisterTiers("colour_rgb_to_422", name, area * 5, [&c, roi] { vekiRGBToYCbCr422_8u_C3C2R(c.rgb.data(), c.rgb.step(), c.four.data(), c.y.step() * 2, roi); });
    RegisterTiers("colour_rgb_to_420", name, area * 9 / 2, [&c, roi] {
        Vek8u* const planes[3] = {c.y.data(), c.cb.data(), c.cr.data()};
        const Vek32s steps[3] = {c.y.step(), c.cb.step() / 2, c.cr.step() / 2};
        vekiRGBToYCbCr420_8u_C3P3R(c.rgb.data(), c.rgb.step(), planes, steps, roi);
    });
    RegisterTiers("colour_420_to_bgr", name, area * 9 / 2, [&c, roi] {
        const Vek8u* const planes[3] = {c.y.data(), c.cb.data(), c.cr.data()};
        const Vek32s steps[3] = {c.y.step(), c.cb.step() / 2, c.cr.step() / 2};
        vekiYCbCr420ToBGR_8u_P3C3R(planes, steps, c.out.data(), c.out.step(), roi);
    });
    RegisterTiers("colour_422_weave", name, area * 4, [&c, roi] {
        const Vek8u* const planes[3] = {c.y.data(), c.cb.data(), c.cr.data()};
        const Vek32s steps[3] = {c.y.step(), c.cb.step() / 2, c.cr.step() / 2};
        vekiYCbCr422_8u_P3C2R(planes, steps, c.four.data(), c.y.step() * 2, roi);
    });

#ifdef UVEK_HAVE_OPENCV
    cv::setNumThreads(1);
    const cv::Mat rgb(size.height, size.width, CV_8UC3, c.rgb.data()), out(size.height, size.width, CV_8UC3, c.out.data());
    const cv::Mat four(size.height, size.width, CV_8UC4, c.four.data()), y(size.height, size.width, CV_8UC1, c.y.data());
    const cv::Mat wide(size.height, size.width, CV_16UC3, c.wide.data()), wideGray(size.height, size.width, CV_16UC1, c.wideGray.data());
    const cv::Mat planes(size.height * 3 / 2, size.width, CV_8UC1);  // of OpenCV's own, one under the other
    const auto convert = [&](const char* operation, int64_t bytes, const cv::Mat& from, const cv::Mat& to, int code) {
        Register(operation, "opencv", -1, name, bytes, [=]() mutable { cv::cvtColor(from, to, code); });
    };
    convert("colour_gray", area * 4, rgb, y, cv::COLOR_RGB2GRAY);
    convert("colour_gray_ac4", area * 5, four, y, cv::COLOR_RGBA2GRAY);
    convert("colour_gray_16u", area * 8, wide, wideGray, cv::COLOR_RGB2GRAY);
    convert("colour_hsv", area * 6, rgb, out, cv::COLOR_RGB2HSV_FULL);
    convert("colour_rgb_to_ycbcr", area * 6, rgb, out, cv::COLOR_RGB2YCrCb);
    convert("colour_ycbcr_to_rgb", area * 6, rgb, out, cv::COLOR_YCrCb2RGB);
    convert("colour_rgb_to_420", area * 9 / 2, rgb, planes, cv::COLOR_RGB2YUV_I420);
    convert("colour_420_to_bgr", area * 9 / 2, planes, out, cv::COLOR_YUV2BGR_I420);
#endif
#ifdef UVEK_HAVE_LIBYUV
    const int flags = PeersAreHeld() ? ~(libyuv::kCpuHasAVX | libyuv::kCpuHasAVX2 | libyuv::kCpuHasSSE42 | libyuv::kCpuHasERMS | libyuv::kCpuHasFMA3) & 0xffff : -1;
    const auto call = [&](const char* operation, int64_t bytes, auto work) {
        Register(operation, "libyuv", -1, name, bytes, [=, &c] {
            MaskYuv(flags);
            work(c);
        });
    };
    call("colour_gray", area * 4, [](Case& k) { libyuv::RAWToJ400(k.rgb.data(), k.rgb.step(), k.y.data(), k.y.step(), k.size.width, k.size.height); });
    call("colour_gray_ac4", area * 5, [](Case& k) { libyuv::ABGRToJ400(k.four.data(), k.four.step(), k.y.data(), k.y.step(), k.size.width, k.size.height); });
    call("colour_rgb_to_420", area * 9 / 2, [](Case& k) {
        libyuv::RAWToI420(k.rgb.data(), k.rgb.step(), k.y.data(), k.y.step(), k.cb.data(), k.cb.step() / 2, k.cr.data(), k.cr.step() / 2, k.size.width, k.size.height);
    });
    call("colour_420_to_bgr", area * 9 / 2, [](Case& k) {
        libyuv::I420ToRGB24(k.y.data(), k.y.step(), k.cb.data(), k.cb.step() / 2, k.cr.data(), k.cr.step() / 2, k.out.data(), k.out.step(), k.size.width, k.size.height);
    });
    call("colour_422_weave", area * 4, [](Case& k) {
        libyuv::I422ToYUY2(k.y.data(), k.y.step(), k.cb.data(), k.cb.step() / 2, k.cr.data(), k.cr.step() / 2, k.four.data(), k.y.step() * 2, k.size.width, k.size.height);
    });
#endif
}

const bool kRegistered = [] {
    for (const Size size : kSizes)
        RegisterColour(size);
    return true;
}();

}  // namespace
}  // namespace uvek::bench
