// Transforms, convolution and correlation, beside FFTW and OpenCV. FFTW is measured with both kinds of
// plan; it takes the widest vectors that the processor has and offers no switch.
#include "support.h"

#include <memory>

#include "uvek/uvek.h"
#ifdef UVEK_HAVE_FFTW3F
#include <fftw3.h>
#endif
#ifdef UVEK_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace uvek::bench {
namespace {

// Samples on a cache line's boundary, with some room behind them.
class Samples {
public:
    explicit Samples(int64_t count) : image_({(int)(count < 65536 ? count : 65536), (int)((count + 65535) / 65536)}, 1) {}
    float* data() { return image_.data(); }

private:
    Image<Vek32f> image_;
};

using Shared = std::shared_ptr<Samples>;
Shared Make(int64_t count) { return std::make_shared<Samples>(count); }

constexpr int64_t kWorkSlack = 3 << 20;  // above what any order asks for beyond 8 bytes a point

int64_t WorkSamples(int64_t n) { return (8 * (n < (1 << 17) ? n : 0) + kWorkSlack) / 4; }

// Each tier in turn makes its own record.
template <typename Prepare>
void RegisterPrepared(const std::string& operation, const std::string& peer, int tier, const std::string& size, int64_t bytes, Prepare prepare)
{
    benchmark::RegisterBenchmark((operation + "/" + peer + "/" + size).c_str(), [=](benchmark::State& state) {
        if (tier >= 0)
            UseTier(tier);
        auto call = prepare();
        call();
        for (auto _ : state) {
            call();
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() * bytes);
    });
}

template <typename Prepare>
void RegisterPreparedTiers(const std::string& operation, const std::string& size, int64_t bytes, Prepare prepare)
{
    for (int tier = 0; tier < 4; ++tier)
        RegisterPrepared(operation, "tier" + std::to_string(tier), tier, size, bytes, prepare);
}

void RegisterOrder(int order)
{
    const int64_t n = (int64_t)1 << order;
    const std::string size = std::to_string(order);
    RegisterPreparedTiers("FFT_complex", size, 8 * n, [=] {
        VekFftSpec* made = nullptr;
        veksFFTInitAlloc_C_32f(&made, order, FftScaleNone, 0);
        const std::shared_ptr<VekFftSpec> spec(made, veksFFTFree_C_32f);
        return [=, re = Make(n), im = Make(n), outRe = Make(n), outIm = Make(n), work = Make(WorkSamples(n))] {
            veksFFTFwd_CToC_32f(re->data(), im->data(), outRe->data(), outIm->data(), spec.get(), (Vek8u*)work->data());
        };
    });
    RegisterPreparedTiers("FFT_real", size, 4 * n, [=] {
        VekFftSpec* made = nullptr;
        veksFFTInitAlloc_R_32f(&made, order, FftScaleNone, 0);
        const std::shared_ptr<VekFftSpec> spec(made, veksFFTFree_R_32f);
        return [=, x = Make(n), y = Make(n + 2), work = Make(WorkSamples(n))] {
            veksFFTFwd_RToCCS_32f(x->data(), y->data(), spec.get(), (Vek8u*)work->data());
        };
    });
#ifdef UVEK_HAVE_FFTW3F
    struct { const char* name; unsigned flag; } const kinds[] = {{"fftw_estimate", FFTW_ESTIMATE}, {"fftw_measure", FFTW_MEASURE}};
    for (const auto& kind : kinds) {
        if (order > 22)  // whose plans take minutes to measure; these orders show how the cost grows
            break;
        const unsigned flag = kind.flag;
        RegisterPrepared("FFT_complex", kind.name, -1, size, 8 * n, [=] {
            const Shared re = Make(n), im = Make(n), outRe = Make(n), outIm = Make(n);
            const fftwf_iodim dim = {(int)n, 1, 1};
            const std::shared_ptr<fftwf_plan_s> plan(
                fftwf_plan_guru_split_dft(1, &dim, 0, nullptr, re->data(), im->data(), outRe->data(), outIm->data(), flag), fftwf_destroy_plan);
            return [=] { fftwf_execute_split_dft(plan.get(), re->data(), im->data(), outRe->data(), outIm->data()); };
        });
        RegisterPrepared("FFT_real", kind.name, -1, size, 4 * n, [=] {
            const Shared x = Make(n), y = Make(n + 2);
            const std::shared_ptr<fftwf_plan_s> plan(
                fftwf_plan_dft_r2c_1d((int)n, x->data(), (fftwf_complex*)y->data(), flag | FFTW_PRESERVE_INPUT), fftwf_destroy_plan);
            return [=] { fftwf_execute_dft_r2c(plan.get(), x->data(), (fftwf_complex*)y->data()); };
        });
    }
#endif
}

template <int channels>
std::shared_ptr<Image<Vek32f>> MakeImage(Size size)
{
    return std::make_shared<Image<Vek32f>>(size, channels);
}

void RegisterImage(Size size)
{
    const int64_t bytes = (int64_t)size.width * size.height * 4;
    const VekImageSize roi = {size.width, size.height};
    RegisterPreparedTiers("DFT_complex", size.name(), 2 * bytes, [=] {
        VekDft2Spec* made = nullptr;
        vekiDFTInitAlloc_C_32fc(&made, roi, FftScaleNone, 0);
        const std::shared_ptr<VekDft2Spec> spec(made, vekiDFTFree_C_32fc);
        return [=, x = MakeImage<2>(size), y = MakeImage<2>(size)] {
            vekiDFTFwd_CToC_32fc_C1R((const Vek32fc*)x->data(), x->step(), (Vek32fc*)y->data(), y->step(), spec.get(), nullptr);
        };
    });
    RegisterPreparedTiers("DFT_real", size.name(), bytes, [=] {
        VekDft2Spec* made = nullptr;
        vekiDFTInitAlloc_R_32f(&made, roi, FftScaleNone, 0);
        const std::shared_ptr<VekDft2Spec> spec(made, vekiDFTFree_R_32f);
        return [=, x = MakeImage<1>(size), y = MakeImage<1>(size)] {
            vekiDFTFwd_RToPack_32f_C1R(x->data(), x->step(), y->data(), y->step(), spec.get(), nullptr);
        };
    });
#ifdef UVEK_HAVE_OPENCV
    // The same layouts on both sides, Pack included.
    RegisterPrepared("DFT_complex", "opencv", -1, size.name(), 2 * bytes, [=] {
        return [=, x = MakeImage<2>(size), y = MakeImage<2>(size)] {
            const cv::Mat from(size.height, size.width, CV_32FC2, x->data());
            cv::Mat to(size.height, size.width, CV_32FC2, y->data());
            cv::dft(from, to);
        };
    });
    RegisterPrepared("DFT_real", "opencv", -1, size.name(), bytes, [=] {
        return [=, x = MakeImage<1>(size), y = MakeImage<1>(size)] {
            const cv::Mat from(size.height, size.width, CV_32FC1, x->data());
            cv::Mat to(size.height, size.width, CV_32FC1, y->data());
            cv::dft(from, to);
        };
    });
#endif
}

void RegisterConvolution(Size image, Size kernel)
{
    const Size full = {image.width + kernel.width - 1, image.height + kernel.height - 1};
    RegisterPreparedTiers("ConvFull", image.name() + "_" + kernel.name(), (int64_t)full.width * full.height * 4, [=] {
        return [=, a = MakeImage<1>(image), b = MakeImage<1>(kernel), y = MakeImage<1>(full)] {
            vekiConvFull_32f_C1R(a->data(), a->step(), a->size(), b->data(), b->step(), b->size(), y->data(), y->step());
        };
    });
}

void RegisterCorrelation(int length1, int length2, int lags)
{
    const std::string size = std::to_string(length1) + "_" + std::to_string(length2) + "_" + std::to_string(lags);
    RegisterPreparedTiers("CrossCorr_32f", size, 4 * (int64_t)lags, [=] {
        return [=, a = Make(length1), b = Make(length2), y = Make(lags)] {
            veksCrossCorr_32f(a->data(), length1, b->data(), length2, y->data(), lags, -lags / 2);
        };
    });
    RegisterPreparedTiers("CrossCorr_64f", size, 8 * (int64_t)lags, [=] {
        const auto vector = [](int length) { return std::make_shared<std::vector<double>>((size_t)length, 0.5); };
        return [=, a = vector(length1), b = vector(length2), y = vector(lags)] {
            veksCrossCorr_64f(a->data(), length1, b->data(), length2, y->data(), lags, -lags / 2);
        };
    });
}

const bool registered = [] {
#ifdef UVEK_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    for (int order = 6; order <= 24; ++order)
        RegisterOrder(order);
    for (const Size size : {Size{1000, 1000}, {1024, 1024}, {1920, 1080}, {1009, 1009}, {675, 675}})
        RegisterImage(size);
    RegisterConvolution({640, 480}, {7, 7});
    RegisterConvolution({640, 480}, {31, 31});
    RegisterConvolution({512, 512}, {400, 400});
    RegisterCorrelation(5000, 5000, 300);
    RegisterCorrelation(20000, 20000, 20000);
    RegisterCorrelation(100000, 1000, 90000);
    return true;
}();

}  // namespace
}  // namespace uvek::bench
