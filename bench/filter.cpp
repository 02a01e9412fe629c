// Spatial filters. Where OpenCV has no equal, the row beside is the nearest of its filters: GaussianBlur
// of 5x5 is separable, blur and boxFilter round, filter2D divides by scaling its kernel, and its
// morphology does not work in place.
#include "support.h"

#include <map>
#include <memory>
#include <tuple>

#include "uvek/filter.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace uvek::bench {
namespace {

// An image with a border that the largest of the windows fits.
template <typename T>
struct Bordered {
    static constexpr int kReach = 50;
    Image<T> whole;
    int channels;
    Size size;

    Bordered(Size s, int channelCount) : whole({s.width + 2 * kReach, s.height + 2 * kReach}, channelCount), channels(channelCount), size(s) {}
    T* data() { return (T*)((char*)whole.data() + (int64_t)kReach * whole.step()) + kReach * channels; }
    int step() const { return whole.step(); }
    VekImageSize extent() const { return {size.width, size.height}; }
    int64_t bytes() const { return (int64_t)size.width * size.height * channels * (int64_t)sizeof(T); }
};

// Images are made once for each size and use: all the operations' own would take minutes and gigabytes.
enum class Use { Source, Destination, InPlace };

template <typename T>
Bordered<T>& Shared(Size size, int channels, Use use)
{
    static std::map<std::tuple<int, int, int, Use>, std::unique_ptr<Bordered<T>>> images;
    auto& image = images[{size.width, size.height, channels, use}];
    if (!image)
        image = std::make_unique<Bordered<T>>(size, channels);
    return *image;
}

#ifdef UVEK_HAVE_OPENCV
template <typename T>
cv::Mat View(Bordered<T>& image)
{
    return cv::Mat(image.size.height, image.size.width, CV_MAKETYPE(cv::DataType<T>::type, image.channels), image.data(), (size_t)image.step());
}
#endif

template <typename S, typename D>
struct Pair {
    Bordered<S>& src;
    Bordered<D>& dst;
};

// Our call on all tiers and the peer's on the same images. Both are given lambdas of a Pair.
template <typename S, typename D, typename Ours, typename Peer>
void Compare(const std::string& operation, int channels, Ours ours, Peer peer, Use use = Use::Source)
{
    for (const Size size : kSizes) {
        const Pair<S, D> images = {Shared<S>(size, channels, use), Shared<D>(size, channels, Use::Destination)};
        const int64_t bytes = images.src.bytes() + images.dst.bytes();
        RegisterTiers(operation, size.name(), bytes, [=] { ours(images); });
#ifdef UVEK_HAVE_OPENCV
        Register(operation, "opencv", -1, size.name(), bytes, [=] {
            cv::setNumThreads(1);
            peer(View(images.src), View(images.dst));
        });
#else
        (void)peer;
#endif
    }
}

using Bytes = const Pair<Vek8u, Vek8u>;

void RegisterFixed()
{
    for (const int mask : {33, 55}) {
        const int reach = mask == 33 ? 1 : 2, n = 2 * reach + 1;
        const std::string suffix = mask == 33 ? "3x3" : "5x5";
        Compare<Vek8u, Vek8u>("filter_Gauss" + suffix, 1,
            [=](Bytes& i) { vekiFilterGauss_8u_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent(), mask); },
            [=](auto src, auto dst) { cv::GaussianBlur(src, dst, cv::Size(n, n), mask == 33 ? 0 : 0.75); });
        Compare<Vek8u, Vek8u>("filter_Hipass" + suffix, 1,
            [=](Bytes& i) { vekiFilterHipass_8u_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent(), mask); },
            [=](auto src, auto dst) {
                cv::Mat kernel(n, n, CV_32F, cv::Scalar(-1));
                kernel.at<float>(reach, reach) = (float)(n * n - 1);
                cv::filter2D(src, dst, -1, kernel);
            });
    }
    using Words = const Pair<Vek8u, Vek16s>;
    using Floats = const Pair<Vek32f, Vek32f>;
    Compare<Vek8u, Vek16s>("filter_SobelDx", 1,
        [](Words& i) { vekiSobel3x3_Dx_8u16s_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent()); },
        [](auto src, auto dst) { cv::Sobel(src, dst, CV_16S, 1, 0); });
    Compare<Vek8u, Vek16s>("filter_SobelDy", 1,
        [](Words& i) { vekiSobel3x3_Dy_8u16s_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent()); },
        [](auto src, auto dst) { cv::Sobel(src, dst, CV_16S, 0, 1); });
    Compare<Vek32f, Vek32f>("filter_SobelDx32f", 1,
        [](Floats& i) { vekiSobel3x3_Dx_32f_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent()); },
        [](auto src, auto dst) { cv::Sobel(src, dst, CV_32F, 1, 0); });
    Compare<Vek32f, Vek32f>("filter_SobelDy32f", 1,
        [](Floats& i) { vekiSobel3x3_Dy_32f_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent()); },
        [](auto src, auto dst) { cv::Sobel(src, dst, CV_32F, 0, 1); });
}

// Coefficients 1 .. 9 fit the byte path, those times 37 do not.
void RegisterLinear()
{
    for (const int n : {3, 5, 7})
        for (const int channels : {1, 3})
            for (const int factor : {1, 37}) {
                std::vector<Vek32s> integers;
                std::vector<Vek32f> floats;
                Vek32s sum = 0;
                for (int i = 0; i < n * n; ++i) {
                    integers.push_back((1 + i % 9) * factor);
                    sum += integers.back();
                }
                for (const Vek32s k : integers)
                    floats.push_back((Vek32f)k / (Vek32f)sum);
                const VekPoint anchor = {n / 2, n / 2};
                const auto peer = [=](auto src, auto dst) { cv::filter2D(src, dst, -1, cv::Mat(n, n, CV_32F, (void*)floats.data())); };
                const std::string suffix = std::to_string(n) + "x" + std::to_string(n) + "_C" + std::to_string(channels);
                Compare<Vek8u, Vek8u>((factor == 1 ? "filter_Filter" : "filter_FilterWide") + suffix, channels,
                    [=](Bytes& i) {
                        (channels == 1 ? vekiFilter_8u_C1R : vekiFilter_8u_C3R)(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent(),
                                                                                integers.data(), {n, n}, anchor, sum);
                    }, peer);
                if (factor == 1)
                    Compare<Vek8u, Vek8u>("filter_Filter32f" + suffix, channels,
                        [=](Bytes& i) {
                            (channels == 1 ? vekiFilter32f_8u_C1R : vekiFilter32f_8u_C3R)(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(),
                                                                                          i.src.extent(), floats.data(), {n, n}, anchor);
                        }, peer);
            }
}

void RegisterWindows()
{
    for (const int n : {3, 5, 15, 101}) {
        const std::string suffix = std::to_string(n) + "x" + std::to_string(n);
        const VekImageSize mask = {n, n};
        const VekPoint anchor = {n / 2, n / 2};
        Compare<Vek8u, Vek8u>("filter_Box" + suffix, 3,
            [=](Bytes& i) { vekiFilterBox_8u_C3R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent(), mask, anchor); },
            [=](auto src, auto dst) { cv::blur(src, dst, cv::Size(n, n)); });
        Compare<Vek8u, Vek8u>("filter_Max" + suffix, 1,
            [=](Bytes& i) { vekiFilterMax_8u_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent(), mask, anchor); },
            [=](auto src, auto dst) { cv::dilate(src, dst, cv::Mat::ones(n, n, CV_8U)); });
        if (n < 100)
            Compare<Vek8u, Vek8u>("filter_Median" + suffix, 1,
                [=](Bytes& i) { vekiFilterMedian_8u_C1R(i.src.data(), i.src.step(), i.dst.data(), i.dst.step(), i.src.extent(), mask, anchor); },
                [=](auto src, auto dst) { cv::medianBlur(src, dst, n); });
    }
}

void RegisterMorphology()
{
    Compare<Vek8u, Vek8u>("filter_Dilate3x3", 1,
        [](Bytes& i) { vekiDilate3x3_8u_C1IR(i.src.data(), i.src.step(), i.src.extent()); },
        [](auto src, auto dst) { cv::dilate(src, dst, cv::Mat()); }, Use::InPlace);
    Compare<Vek8u, Vek8u>("filter_Erode3x3", 1,
        [](Bytes& i) { vekiErode3x3_8u_C1IR(i.src.data(), i.src.step(), i.src.extent()); },
        [](auto src, auto dst) { cv::erode(src, dst, cv::Mat()); }, Use::InPlace);
}

const bool registered = [] {
    RegisterFixed();
    RegisterLinear();
    RegisterWindows();
    RegisterMorphology();
    return true;
}();

}  // namespace
}  // namespace uvek::bench
