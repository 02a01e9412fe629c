// Colour conversion, sampling and DCT of a JPEG codec. Peers do not compute quite the same: OpenCV's YCrCb
// is interleaved and has other fractions, libyuv's coefficients have six to eight bits; the planar calls of
// libjpeg-turbo (colour alone for 4:4:4, colour and sampling for 4:2:0) add a call's set-up.
#include <memory>

#include "support.h"
#include "uvek/uvek.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#ifdef UVEK_HAVE_LIBYUV
#include <libyuv.h>
#endif
#ifdef UVEK_HAVE_TURBOJPEG
#include <turbojpeg.h>
#endif

namespace uvek::bench {
namespace {

#ifdef UVEK_HAVE_LIBYUV
// The call asks the processor, which takes longer than a small image.
void MaskYuv(int flags)
{
    static int current = 0;
    if (current != flags)
        libyuv::MaskCpuFlags(current = flags);
}
#endif

struct Planes {
    explicit Planes(Size size) : y(size, 1), cb(size, 1), cr(size, 1) {}
    Image<Vek8u> y, cb, cr;
};

void RegisterColour(Size size)
{
    static std::vector<std::unique_ptr<Image<Vek8u>>> images;
    static std::vector<std::unique_ptr<Planes>> planeSets;
    images.push_back(std::make_unique<Image<Vek8u>>(size, 3));
    planeSets.push_back(std::make_unique<Planes>(size));
    Image<Vek8u>& rgb = *images.back();
    Planes& planes = *planeSets.back();
    images.push_back(std::make_unique<Image<Vek8u>>(size, 3));
    Image<Vek8u>& out = *images.back();
    images.push_back(std::make_unique<Image<Vek8u>>(size, 4));
    Image<Vek8u>& inks = *images.back();
    images.push_back(std::make_unique<Image<Vek8u>>(size, 1));
    Image<Vek8u>& black = *images.back();

    Vek8u* const dst[4] = {planes.y.data(), planes.cb.data(), planes.cr.data(), black.data()};
    const auto pointers = [=](int i) { return dst[i]; };
    const Vek32s step = planes.y.step();
    const VekImageSize roi = rgb.size();
    const int64_t area = (int64_t)size.width * size.height;
    const std::string name = size.name();

    RegisterTiers("jpeg_rgb_to_y", name, area * 4, [&, roi] { vekiRGBToY_JPEG_8u_C3C1R(rgb.data(), rgb.step(), planes.y.data(), planes.y.step(), roi); });
    RegisterTiers("jpeg_rgb_to_ycbcr", name, area * 6, [&rgb, pointers, step, roi] {
        Vek8u* const to[3] = {pointers(0), pointers(1), pointers(2)};
        vekiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), rgb.step(), to, step, roi);
    });
    RegisterTiers("jpeg_ycbcr_to_rgb", name, area * 6, [&out, pointers, step, roi] {
        const Vek8u* const from[3] = {pointers(0), pointers(1), pointers(2)};
        vekiYCbCrToRGB_JPEG_8u_P3C3R(from, step, out.data(), out.step(), roi);
    });
    RegisterTiers("jpeg_cmyk_to_ycck", name, area * 8, [&inks, pointers, step, roi] {
        Vek8u* const to[4] = {pointers(0), pointers(1), pointers(2), pointers(3)};
        vekiCMYKToYCCK_JPEG_8u_C4P4R(inks.data(), inks.step(), to, step, roi);
    });
    RegisterTiers("jpeg_ycck_to_cmyk", name, area * 8, [&inks, pointers, step, roi] {
        const Vek8u* const from[4] = {pointers(0), pointers(1), pointers(2), pointers(3)};
        vekiYCCKToCMYK_JPEG_8u_P4C4R(from, step, inks.data(), inks.step(), roi);
    });

    const VekImageSize half = {size.width / 2, size.height / 2};
    RegisterTiers("jpeg_down_h2v1", name, area + area / 2, [&planes, roi, half, step, &black] {
        vekiSampleDownH2V1_JPEG_8u_C1R(planes.y.data(), step, roi, black.data(), step, {half.width, roi.height});
    });
    RegisterTiers("jpeg_down_h2v2", name, area + area / 4, [&planes, roi, half, step, &black] {
        vekiSampleDownH2V2_JPEG_8u_C1R(planes.y.data(), step, roi, black.data(), step, half);
    });
    RegisterTiers("jpeg_up_h2v1", name, area + area / 2, [&planes, roi, half, step, &black] {
        for (Vek32s y = 0; y < roi.height; ++y)
            vekiSampleUpRowH2V1_Triangle_JPEG_8u_C1(planes.y.data() + (ptrdiff_t)y * step, half.width, black.data() + (ptrdiff_t)y * step);
    });
    RegisterTiers("jpeg_up_h2v2", name, area + area / 4, [&planes, roi, half, step, &black] {
        for (Vek32s y = 1; y < roi.height - 1; ++y) {
            const Vek8u* const near = planes.y.data() + (ptrdiff_t)(y / 2) * step;
            vekiSampleUpRowH2V2_Triangle_JPEG_8u_C1(near, near + (y & 1 ? step : -(y / 2 ? step : 0)), half.width, black.data() + (ptrdiff_t)y * step);
        }
    });

#ifdef UVEK_HAVE_OPENCV
    cv::setNumThreads(1);
    const cv::Mat source(size.height, size.width, CV_8UC3, rgb.data()), result(size.height, size.width, CV_8UC3, out.data());
    const cv::Mat luma(size.height, size.width, CV_8UC1, planes.y.data()), small(size.height / 2, size.width / 2, CV_8UC1, black.data());
    Register("jpeg_rgb_to_y", "opencv", -1, name, area * 4, [=]() mutable { cv::cvtColor(source, luma, cv::COLOR_RGB2GRAY); });
    Register("jpeg_rgb_to_ycbcr", "opencv", -1, name, area * 6, [=]() mutable { cv::cvtColor(source, result, cv::COLOR_RGB2YCrCb); });
    Register("jpeg_ycbcr_to_rgb", "opencv", -1, name, area * 6, [=]() mutable { cv::cvtColor(source, result, cv::COLOR_YCrCb2RGB); });
    Register("jpeg_down_h2v2", "opencv", -1, name, area + area / 4, [=]() mutable { cv::resize(luma, small, small.size(), 0, 0, cv::INTER_AREA); });
#endif
#ifdef UVEK_HAVE_LIBYUV
    const int flags = PeersAreHeld() ? ~(libyuv::kCpuHasAVX | libyuv::kCpuHasAVX2 | libyuv::kCpuHasSSE42 | libyuv::kCpuHasERMS | libyuv::kCpuHasFMA3) & 0xffff : -1;
    const auto call = [&](const std::string& operation, int64_t bytes, auto&& work) {
        Register(operation, "libyuv", -1, name, bytes, [=] {
            MaskYuv(flags);
            work();
        });
    };
    Vek8u* const y = planes.y.data();
    Vek8u* const cb = planes.cb.data();
    Vek8u* const cr = planes.cr.data();
    Vek8u* const p = rgb.data();
    Vek8u* const q = out.data();
    Vek8u* const k = black.data();
    call("jpeg_rgb_to_y", area * 4, [=] { libyuv::RAWToJ400(p, 3 * step, y, step, size.width, size.height); });
    call("jpeg_ycbcr_to_rgb", area * 6, [=] {
        libyuv::I444ToRGB24Matrix(y, step, cr, step, cb, step, q, 3 * step, &libyuv::kYvuJPEGConstants, size.width, size.height);
    });
    call("jpeg_down_h2v2", area + area / 4, [=] { libyuv::ScalePlane(y, step, size.width, size.height, k, step, size.width / 2, size.height / 2, libyuv::kFilterBox); });
    call("jpeg_down_h2v1", area + area / 2, [=] { libyuv::ScalePlane(y, step, size.width, size.height, k, step, size.width / 2, size.height, libyuv::kFilterBox); });
    call("jpeg_up_h2v1", area + area / 2, [=] { libyuv::ScalePlane(y, step, size.width / 2, size.height, k, step, size.width, size.height, libyuv::kFilterLinear); });
    call("jpeg_up_h2v2", area + area / 4, [=] { libyuv::ScalePlane(y, step, size.width / 2, size.height / 2, k, step, size.width, size.height, libyuv::kFilterBilinear); });
#endif
#ifdef UVEK_HAVE_TURBOJPEG
    static tjhandle const encoder = tjInitCompress(), decoder = tjInitDecompress();
    Register("jpeg_rgb_to_ycbcr", "libjpeg-turbo", -1, name, area * 6, [=, &rgb] {
        Vek8u* to[3] = {pointers(0), pointers(1), pointers(2)};
        int strides[3] = {step, step, step};
        tjEncodeYUVPlanes(encoder, rgb.data(), roi.width, rgb.step(), roi.height, TJPF_RGB, to, strides, TJSAMP_444, 0);
    });
    Register("jpeg_ycbcr_to_rgb", "libjpeg-turbo", -1, name, area * 6, [=, &out] {
        const Vek8u* from[3] = {pointers(0), pointers(1), pointers(2)};
        int strides[3] = {step, step, step};
        tjDecodeYUVPlanes(decoder, from, strides, TJSAMP_444, out.data(), roi.width, out.step(), roi.height, TJPF_RGB, 0);
    });
#endif
}

// Blocks of a plane of 256 by 256 samples, as a codec walks them. No peer offers the step alone.
constexpr int kSide = 256;

template <typename Visit>
void ForEachBlock(Vek16s* coefficients, int step, Visit&& visit)
{
    for (int y = 0; y < kSide; y += 8)
        for (int x = 0; x < kSide; x += 8, coefficients += 64)
            visit(y * step + x, coefficients);
}

void RegisterDct()
{
    static Image<Vek8u> samples({kSide, kSide}, 1), back({kSide, kSide}, 1);
    static Image<Vek16s> coefficients({kSide, kSide}, 1);
    static Vek16u forward[64], inverse[64];
    Vek8u raw[64];
    for (int i = 0; i < 64; ++i)
        raw[i] = (Vek8u)(3 + i / 2);
    vekiQuantFwdTableInit_JPEG_8u16u(raw, forward);
    vekiQuantInvTableInit_JPEG_8u16u(raw, inverse);
    RegisterTiers("jpeg_dct_forward", "256x256", kSide * kSide * 3, [] {
        ForEachBlock(coefficients.data(), samples.step(), [](int at, Vek16s* block) {
            vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples.data() + at, samples.step(), block, forward);
        });
    });
    RegisterTiers("jpeg_dct_inverse", "256x256", kSide * kSide * 3, [] {
        ForEachBlock(coefficients.data(), back.step(), [](int at, Vek16s* block) {
            vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(block, back.data() + at, back.step(), inverse);
        });
    });
}

const bool kRegistered = [] {
    for (const Size size : kSizes)
        RegisterColour(size);
    RegisterDct();
    return true;
}();

}  // namespace
}  // namespace uvek::bench
