// Image statistics. OpenCV's mean and extremes take all channels at once, ours one and three.
#include "support.h"

#include "uvek/statistics.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace uvek::bench {
namespace {

template <typename T, typename Ours, typename Peer>
void Compare(const std::string& operation, int channels, Ours ours, Peer peer)
{
    for (const Size size : kSizes) {
        const auto image = std::make_shared<Image<T>>(size, channels);
        RegisterTiers(operation, size.name(), image->bytes(), [=] { ours(*image); });
#ifdef UVEK_HAVE_OPENCV
        const cv::Mat view(size.height, size.width, CV_MAKETYPE(cv::DataType<T>::type, channels), image->data(), (size_t)image->step());
        Register(operation, "opencv", -1, size.name(), image->bytes(), [=] {
            cv::setNumThreads(1);
            peer(view);
        });
#else
        (void)peer;
#endif
    }
}

const Vek32s* Levels()
{
    static const std::vector<Vek32s> levels = [] {
        std::vector<Vek32s> v;
        for (Vek32s i = 0; i <= 256; ++i)
            v.push_back(i);
        return v;
    }();
    return levels.data();
}

const bool registered = [] {
    using Bytes = Image<Vek8u>;
    Compare<Vek8u>("statistics_HistogramC1", 1,
        [](Bytes& i) {
            Vek32s bins[256];
            vekiHistogramRange_8u_C1R(i.data(), i.step(), i.size(), bins, Levels(), 257);
        },
        [](const auto& view) {
            cv::Mat bins;
            const int channel = 0, count = 256;
            const float range[] = {0, 256};
            const float* ranges[] = {range};
            cv::calcHist(&view, 1, &channel, cv::Mat(), bins, 1, &count, ranges);
        });
    Compare<Vek8u>("statistics_HistogramC3", 3,
        [](Bytes& i) {
            Vek32s bins[3][256];
            Vek32s* const hist[3] = {bins[0], bins[1], bins[2]};
            const Vek32s* const levels[3] = {Levels(), Levels(), Levels()};
            const Vek32s counts[3] = {257, 257, 257};
            vekiHistogramRange_8u_C3R(i.data(), i.step(), i.size(), hist, levels, counts);
        },
        [](const auto& view) {
            cv::Mat bins[3];
            const int count = 256;
            const float range[] = {0, 256};
            const float* ranges[] = {range};
            for (int c = 0; c < 3; ++c)
                cv::calcHist(&view, 1, &c, cv::Mat(), bins[c], 1, &count, ranges);
        });
    Compare<Vek8u>("statistics_MeanStdDev", 3,
        [](Bytes& i) {
            double mean, deviation;
            vekiMean_StdDev_8u_C3CR(i.data(), i.step(), i.size(), 2, &mean, &deviation);
        },
        [](const auto& view) {
            cv::Scalar mean, deviation;
            cv::meanStdDev(view, mean, deviation);
        });
    Compare<Vek8u>("statistics_MinMax", 3,
        [](Bytes& i) {
            Vek8u low[3], high[3];
            vekiMinMax_8u_C3R(i.data(), i.step(), i.size(), low, high);
        },
        [](const auto& view) {
            double low, high;
            cv::minMaxIdx(view.reshape(1), &low, &high);
        });
    for (const Vek32s hint : {0, 2})
        Compare<Vek32f>(hint == 2 ? "statistics_SumAccurate" : "statistics_Sum", 1,
            [=](Image<Vek32f>& i) {
                double sum;
                vekiSum_32f_C1R(i.data(), i.step(), i.size(), &sum, hint);
            },
            [](const auto& view) { benchmark::DoNotOptimize(cv::sum(view)); });
    return true;
}();

}  // namespace
}  // namespace uvek::bench
