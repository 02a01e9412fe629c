// Resize by every interpolation, up and down, beside cv::resize. Not the same arithmetic everywhere: cubic is
// another kernel there, its Lanczos has eight taps for our six, and its linear and area at exactly one half are
// one 2x2 mean. Corners map to corners here, edges to edges there.
#include "support.h"

#include <memory>

#include "uvek/geometry.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace uvek::bench {
namespace {

struct Method {
    const char* name;
    int code, peer;
    bool up, down;
};

#ifdef UVEK_HAVE_OPENCV
constexpr int kPeers[] = {cv::INTER_NEAREST, cv::INTER_LINEAR, cv::INTER_CUBIC, cv::INTER_LANCZOS4, cv::INTER_AREA};
#else
constexpr int kPeers[] = {0, 0, 0, 0, 0};
#endif
constexpr Method kMethods[] = {
    {"nearest", InterNearest, kPeers[0], true, true}, {"linear", InterLinear, kPeers[1], true, true}, {"cubic", InterCubic, kPeers[2], true, true},
    {"lanczos", InterLanczos, kPeers[3], true, true}, {"area", InterSuper, kPeers[4], false, true},
};

struct Scale {
    const char* name;
    double factor;
};
constexpr Scale kScales[] = {{"up", 1.6}, {"down", 0.6}, {"half", 0.5}, {"third", 1.0 / 3}};

// The images of the benchmark that runs: those of all of them at once would fill the memory.
struct Pair {
    Image<Vek8u> from, to;
};

Pair& PairOf(Size from, Size to, int channels)
{
    static std::unique_ptr<Pair> pair;
    static std::string current;
    const std::string wanted = from.name() + to.name() + std::to_string(channels);
    if (current != wanted) {
        pair.reset();
        pair.reset(new Pair{{from, channels}, {to, channels}});
        current = wanted;
    }
    return *pair;
}

// As the support's Register, for a pair of images.
template <typename Call>
void RegisterPair(const std::string& operation, const std::string& peer, int tier, Size from, Size to, int channels, Call call)
{
    benchmark::RegisterBenchmark((operation + "/" + peer + "/" + from.name()).c_str(), [=](benchmark::State& state) {
        Pair& pair = PairOf(from, to, channels);
        if (tier >= 0)
            UseTier(tier);
        call(pair.from, pair.to);
        for (auto _ : state) {
            call(pair.from, pair.to);
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() * (pair.from.bytes() + pair.to.bytes()));
    });
}

const bool registered = [] {
#ifdef UVEK_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    for (const Size size : kSizes)
        for (const int channels : {1, 3, 4})
            for (const Method& method : kMethods)
                for (const Scale& scale : kScales) {
                    if (scale.factor > 1 ? !method.up : !method.down)
                        continue;
                    if (scale.factor < 0.6 && method.code != InterSuper && method.code != InterLinear && method.code != InterNearest)
                        continue;
                    const Size to = {(int)(size.width * scale.factor + 1e-7), (int)(size.height * scale.factor + 1e-7)};
                    const std::string operation = std::string("resize_") + method.name + "_" + scale.name + "_c" + std::to_string(channels);
                    const auto resize = channels == 1 ? vekiResize_8u_C1R : channels == 3 ? vekiResize_8u_C3R : vekiResize_8u_C4R;
                    for (int tier = 0; tier < 4; ++tier)
                        RegisterPair(operation, "tier" + std::to_string(tier), tier, size, to, channels, [=](Image<Vek8u>& src, Image<Vek8u>& dst) {
                            resize(src.data(), src.size(), src.step(), {0, 0, size.width, size.height}, dst.data(), dst.step(), dst.size(),
                                   scale.factor, scale.factor, method.code);
                        });
#ifdef UVEK_HAVE_OPENCV
                    RegisterPair(operation, "opencv", -1, size, to, channels, [=](Image<Vek8u>& src, Image<Vek8u>& dst) {
                        const cv::Mat from(size.height, size.width, CV_8UC(channels), src.data(), (size_t)src.step());
                        cv::Mat result(to.height, to.width, CV_8UC(channels), dst.data(), (size_t)dst.step());
                        cv::resize(from, result, result.size(), 0, 0, method.peer);
                    });
#endif
                }
    return true;
}();

}  // namespace
}  // namespace uvek::bench
