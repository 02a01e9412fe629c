// Data movement and pixel arithmetic. Content does not matter to these kernels, save the masks' and the singles', among
// which denormal numbers would take many times as long.
#include "support.h"

#include <cstring>
#include <functional>
#include <map>
#include <memory>

#include "uvek/image.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace uvek::bench {
namespace {

// Packed images of up to eight bytes a pixel.
struct Buffers {
    explicit Buffers(Size s) : size{s.width, s.height}, pixels((int64_t)s.width * s.height), storage((size_t)pixels * 17 + 256), singles((size_t)pixels, 1.0f)
    {
        auto* at = storage.data() + (-(uintptr_t)storage.data() & 63);
        uint32_t grain = 1;
        for (auto& x : storage)
            x = (Vek8u)((grain = grain * 1664525u + 1013904223u) >> 24);
        src = at;
        dst = src + (pixels * 8 + 64) / 64 * 64;
        mask = dst + (pixels * 8 + 64) / 64 * 64;
        for (int64_t i = 0; i < pixels; ++i)  // discs: whole runs, and edges now and then
            mask[i] = (i % s.width / 40 + i / s.width / 40) % 2 ? 255 : 0;
    }
    template <typename T = Vek8u> T* Src() const { return (T*)src; }
    template <typename T = Vek8u> T* Dst() const { return (T*)dst; }
    Vek8u* Plane(int c, int sampleBytes = 1) const { return dst + pixels * c * sampleBytes; }
    Vek32s Step(int pixelBytes) const { return size.width * pixelBytes; }
#ifdef UVEK_HAVE_OPENCV
    cv::Mat SrcMat(int type) const { return {size.height, size.width, type, src}; }
    cv::Mat DstMat(int type) const { return {size.height, size.width, type, dst}; }
    cv::Mat MaskMat() const { return {size.height, size.width, CV_8UC1, mask}; }
    std::vector<cv::Mat> Planes(int count, int type) const
    {
        std::vector<cv::Mat> planes;
        for (int c = 0; c < count; ++c)
            planes.emplace_back(size.height, size.width, type, Plane(c, (int)CV_ELEM_SIZE1(type)));
        return planes;
    }
#endif

    VekImageSize size;
    int64_t pixels;
    std::vector<Vek8u> storage;
    std::vector<Vek32f> singles;
    Vek8u *src, *dst, *mask;
};

Buffers& At(Size size)
{
    static std::map<std::string, std::unique_ptr<Buffers>> all;
    auto& entry = all[size.name()];
    if (!entry)
        entry = std::make_unique<Buffers>(size);
    return *entry;
}

using Call = std::function<void(Buffers&)>;

void Add(const std::string& name, int bytesPerPixel, Call ours, const std::string& peer = "", Call theirs = {})
{
    for (const Size size : kSizes) {
        Buffers& b = At(size);
        const int64_t bytes = (int64_t)size.width * size.height * bytesPerPixel;
        RegisterTiers("image_" + name, size.name(), bytes, [ours, &b] { ours(b); });
        if (theirs)
            Register("image_" + name, peer, -1, size.name(), bytes, [theirs, &b] { theirs(b); });
    }
}

template <typename T, typename F>
Call Plain(F f, int from, int to)  // of source and destination alike, in bytes a pixel
{
    return [=](Buffers& b) { f(b.Src<T>(), b.Step(from), b.Dst<T>(), b.Step(to), b.size); };
}

void AddCopies()
{
    const auto memcpyOf = [](int n) { return [n](Buffers& b) { std::memcpy(b.dst, b.src, (size_t)(b.pixels * n)); }; };
    Add("copy_8u_C1R", 2, Plain<Vek8u>(vekiCopy_8u_C1R, 1, 1), "memcpy", memcpyOf(1));
    Add("copy_8u_C4R", 8, Plain<Vek8u>(vekiCopy_8u_C4R, 4, 4), "memcpy", memcpyOf(4));
    Add("vector_copy_8u", 2, [](Buffers& b) { veksCopy_8u(b.src, b.dst, (Vek32s)b.pixels); }, "memcpy", memcpyOf(1));
    Add("set_8u_C1R", 1, [](Buffers& b) { vekiSet_8u_C1R(7, b.dst, b.Step(1), b.size); }, "memset",
        [](Buffers& b) { std::memset(b.dst, 7, (size_t)b.pixels); });
    const auto split = [](auto f, int channels, int sampleBytes) -> Call {
        return [=](Buffers& b) {
            using T = std::conditional_t<std::is_invocable_v<decltype(f), const Vek8u*, Vek32s, Vek8u* const*, Vek32s, VekImageSize>, Vek8u, Vek16s>;
            T* planes[4];
            for (int c = 0; c < 4; ++c)
                planes[c] = (T*)b.Plane(c % channels, sampleBytes);
            f(b.Src<T>(), b.Step(channels * sampleBytes), planes, b.Step(sampleBytes), b.size);
        };
    };
    const auto merge = [](auto f, int channels) -> Call {
        return [=](Buffers& b) {
            const Vek8u* planes[4];
            for (int c = 0; c < 4; ++c)
                planes[c] = b.Plane(c % channels);
            f(planes, b.Step(1), b.src, b.Step(channels), b.size);
        };
    };
#ifdef UVEK_HAVE_OPENCV
    const auto cvSplit = [](int channels, int depth) -> Call {
        return [=](Buffers& b) { cv::split(b.SrcMat(CV_MAKETYPE(depth, channels)), b.Planes(channels, depth).data()); };
    };
    const auto cvMerge = [](int channels) -> Call {
        return [=](Buffers& b) { cv::Mat dst = b.SrcMat(CV_8UC(channels)); cv::merge(b.Planes(channels, CV_8UC1).data(), (size_t)channels, dst); };
    };
    const auto extract = [](int channels, int depth) -> Call {
        return [=](Buffers& b) { cv::Mat dst = b.DstMat(depth); cv::extractChannel(b.SrcMat(CV_MAKETYPE(depth, channels)), dst, 0); };
    };
    const auto insert = [](int channels, int depth) -> Call {
        return [=](Buffers& b) { cv::Mat dst = b.DstMat(CV_MAKETYPE(depth, channels)); cv::insertChannel(b.SrcMat(depth), dst, 0); };
    };
    const auto colour = [](int from, int to, int code) -> Call {
        return [=](Buffers& b) { cv::Mat dst = b.DstMat(to); cv::cvtColor(b.SrcMat(from), dst, code); };
    };
    // Three channels of a destination, whose alpha stays as here: cvtColor and flip would write it as well.
    const auto mix = [](int from, int to, bool swapped) -> Call {
        return [=](Buffers& b) {
            const int pairs[2][6] = {{0, 0, 1, 1, 2, 2}, {0, 2, 1, 1, 2, 0}};
            const cv::Mat src = b.SrcMat(from);
            cv::Mat dst = b.DstMat(to);
            cv::mixChannels(&src, 1, &dst, 1, pairs[swapped], 3);
        };
    };
    const auto set = [](int channels) -> Call {
        return [=](Buffers& b) { b.DstMat(CV_8UC(channels)).setTo(cv::Scalar(1, 2, 3, 4)); };
    };
    const Call masked = [](Buffers& b) { cv::Mat dst = b.DstMat(CV_8UC3); b.SrcMat(CV_8UC3).copyTo(dst, b.MaskMat()); };
#else
    const auto cvSplit = [](int, int) -> Call { return {}; };
    const auto cvMerge = [](int) -> Call { return {}; };
    const auto extract = cvSplit, insert = cvSplit;
    const auto colour = [](int, int, int) -> Call { return {}; };
    const auto mix = [](int, int, bool) -> Call { return {}; };
    const auto set = [](int) -> Call { return {}; };
    const Call masked;
    enum { CV_8U, CV_16S, CV_16U, CV_8UC1, CV_8UC3, CV_8UC4, CV_16UC3, CV_16UC4 };
    struct cv { enum { COLOR_BGRA2BGR, COLOR_GRAY2BGR, COLOR_BGR2RGB }; };
#endif
    Add("copy_8u_C3P3R", 6, split(vekiCopy_8u_C3P3R, 3, 1), "opencv", cvSplit(3, CV_8U));
    Add("copy_8u_C4P4R", 8, split(vekiCopy_8u_C4P4R, 4, 1), "opencv", cvSplit(4, CV_8U));
    Add("copy_16s_C3P3R", 12, split(vekiCopy_16s_C3P3R, 3, 2), "opencv", cvSplit(3, CV_16S));
    Add("copy_16s_C4P4R", 16, split(vekiCopy_16s_C4P4R, 4, 2), "opencv", cvSplit(4, CV_16S));
    Add("copy_8u_P3C3R", 6, merge(vekiCopy_8u_P3C3R, 3), "opencv", cvMerge(3));
    Add("copy_8u_P4C4R", 8, merge(vekiCopy_8u_P4C4R, 4), "opencv", cvMerge(4));
    Add("copy_8u_C3C1R", 4, Plain<Vek8u>(vekiCopy_8u_C3C1R, 3, 1), "opencv", extract(3, CV_8U));
    Add("copy_8u_C4C1R", 5, Plain<Vek8u>(vekiCopy_8u_C4C1R, 4, 1), "opencv", extract(4, CV_8U));
    Add("copy_16s_C3C1R", 8, Plain<Vek16s>(vekiCopy_16s_C3C1R, 6, 2), "opencv", extract(3, CV_16S));
    Add("copy_16s_C4C1R", 10, Plain<Vek16s>(vekiCopy_16s_C4C1R, 8, 2), "opencv", extract(4, CV_16S));
    Add("copy_8u_C1C3R", 4, Plain<Vek8u>(vekiCopy_8u_C1C3R, 1, 3), "opencv", insert(3, CV_8U));
    Add("copy_8u_C1C4R", 5, Plain<Vek8u>(vekiCopy_8u_C1C4R, 1, 4), "opencv", insert(4, CV_8U));
    Add("copy_16s_C1C3R", 8, Plain<Vek16s>(vekiCopy_16s_C1C3R, 2, 6), "opencv", insert(3, CV_16S));
    Add("copy_16s_C1C4R", 10, Plain<Vek16s>(vekiCopy_16s_C1C4R, 2, 8), "opencv", insert(4, CV_16S));
    Add("copy_8u_AC4C3R", 7, Plain<Vek8u>(vekiCopy_8u_AC4C3R, 4, 3), "opencv", colour(CV_8UC4, CV_8UC3, cv::COLOR_BGRA2BGR));
    Add("copy_16s_AC4C3R", 14, Plain<Vek16s>(vekiCopy_16s_AC4C3R, 8, 6), "opencv", colour(CV_16UC4, CV_16UC3, cv::COLOR_BGRA2BGR));
    Add("copy_8u_C3AC4R", 7, Plain<Vek8u>(vekiCopy_8u_C3AC4R, 3, 4), "opencv", mix(CV_8UC3, CV_8UC4, false));
    Add("copy_16s_C3AC4R", 14, Plain<Vek16s>(vekiCopy_16s_C3AC4R, 6, 8), "opencv", mix(CV_16UC3, CV_16UC4, false));
    Add("copy_8u_C3MR", 7, [](Buffers& b) { vekiCopy_8u_C3MR(b.src, b.Step(3), b.dst, b.Step(3), b.size, b.mask, b.Step(1)); }, "opencv", masked);
    Add("set_8u_C3R", 3, [](Buffers& b) { vekiSet_8u_C3R(b.src, b.dst, b.Step(3), b.size); }, "opencv", set(3));
    Add("set_8u_C4R", 4, [](Buffers& b) { vekiSet_8u_C4R(b.src, b.dst, b.Step(4), b.size); }, "opencv", set(4));
    Add("dup_8u_C1C3R", 4, Plain<Vek8u>(vekiDup_8u_C1C3R, 1, 3), "opencv", colour(CV_8UC1, CV_8UC3, cv::COLOR_GRAY2BGR));
    static const Vek32s order[3] = {2, 1, 0};
    Add("swap_8u_C3R", 6, [](Buffers& b) { vekiSwapChannels_8u_C3R(b.src, b.Step(3), b.dst, b.Step(3), b.size, order); }, "opencv", colour(CV_8UC3, CV_8UC3, cv::COLOR_BGR2RGB));
    Add("swap_16u_C3R", 12, [](Buffers& b) { vekiSwapChannels_16u_C3R(b.Src<Vek16u>(), b.Step(6), b.Dst<Vek16u>(), b.Step(6), b.size, order); }, "opencv", colour(CV_16UC3, CV_16UC3, cv::COLOR_BGR2RGB));
    Add("swap_8u_AC4R", 8, [](Buffers& b) { vekiSwapChannels_8u_AC4R(b.src, b.Step(4), b.dst, b.Step(4), b.size, order); }, "opencv", mix(CV_8UC4, CV_8UC4, true));
    Add("swap_16u_AC4R", 16, [](Buffers& b) { vekiSwapChannels_16u_AC4R(b.Src<Vek16u>(), b.Step(8), b.Dst<Vek16u>(), b.Step(8), b.size, order); }, "opencv", mix(CV_16UC4, CV_16UC4, true));
    Add("swap_8u_C3IR", 6, [](Buffers& b) { vekiSwapChannels_8u_C3IR(b.dst, b.Step(3), b.size, order); });
    Add("deinterleave_16s_2", 8, [](Buffers& b) { Vek16s* p[2] = {(Vek16s*)b.Plane(0, 2), (Vek16s*)b.Plane(1, 2)}; veksDeinterleave_16s(b.Src<Vek16s>(), 2, (Vek32s)b.pixels, p); }, "opencv", cvSplit(2, CV_16S));
}

void AddMirrors()
{
    const auto add = [](const std::string& name, auto mirror, int pixelBytes, int type) {
        using T = std::conditional_t<std::is_invocable_v<decltype(mirror), Vek8u*, Vek32s, VekImageSize, Vek32s>, Vek8u, Vek16u>;
        for (const Vek32s axis : {AxisHorizontal, AxisVertical, AxisBoth}) {
            Call theirs;
#ifdef UVEK_HAVE_OPENCV
            theirs = [=](Buffers& b) {
                cv::Mat image = b.DstMat(type);
                if (image.channels() < 4)
                    return cv::flip(image, image, axis == AxisBoth ? -1 : axis);
                static cv::Mat flipped;  // since alpha stays
                const int pairs[] = {0, 0, 1, 1, 2, 2};
                cv::flip(image, flipped, axis == AxisBoth ? -1 : axis);
                cv::mixChannels(&flipped, 1, &image, 1, pairs, 3);
            };
#else
            (void)type;
#endif
            Add(name + "_axis" + std::to_string(axis), 2 * pixelBytes, [=](Buffers& b) { mirror(b.Dst<T>(), b.Step(pixelBytes), b.size, axis); }, "opencv", theirs);
        }
    };
    add("mirror_8u_C1IR", vekiMirror_8u_C1IR, 1, 0);
    add("mirror_8u_C3IR", vekiMirror_8u_C3IR, 3, 16);
    add("mirror_8u_AC4IR", vekiMirror_8u_AC4IR, 4, 24);
    add("mirror_16u_C1IR", vekiMirror_16u_C1IR, 2, 2);
    add("mirror_16u_C3IR", vekiMirror_16u_C3IR, 6, 18);
    add("mirror_16u_AC4IR", vekiMirror_16u_AC4IR, 8, 26);
    for (const Vek32s axis : {AxisHorizontal, AxisVertical, AxisBoth}) {
        Call theirs;
#ifdef UVEK_HAVE_OPENCV
        theirs = [=](Buffers& b) { cv::Mat dst = b.DstMat(CV_8UC3); cv::flip(b.SrcMat(CV_8UC3), dst, axis == AxisBoth ? -1 : axis); };
#endif
        Add("mirror_8u_C3R_axis" + std::to_string(axis), 6, [=](Buffers& b) { vekiMirror_8u_C3R(b.src, b.Step(3), b.dst, b.Step(3), b.size, axis); }, "opencv", theirs);
    }
}

void AddArithmetic()
{
    Call transpose, narrow, threshold, lower, either, divide, border1, border3;
    const auto widen = [](int channels) -> Call {
#ifdef UVEK_HAVE_OPENCV
        return [=](Buffers& b) { cv::Mat dst = b.DstMat(CV_16UC(channels)); b.SrcMat(CV_8UC(channels)).convertTo(dst, CV_16U); };
#else
        (void)channels;
        return {};
#endif
    };
#ifdef UVEK_HAVE_OPENCV
    transpose = [](Buffers& b) { cv::Mat dst(b.size.width, b.size.height, CV_8UC1, b.dst); cv::transpose(b.SrcMat(CV_8UC1), dst); };
    narrow = [](Buffers& b) { cv::Mat dst = b.DstMat(CV_8UC1); b.SrcMat(CV_16SC1).convertTo(dst, CV_8U); };
    threshold = [](Buffers& b) { cv::Mat image = b.DstMat(CV_8UC1); cv::threshold(image, image, 100, 255, cv::THRESH_TRUNC); };
    lower = [](Buffers& b) { cv::Mat image = b.DstMat(CV_8UC1); cv::threshold(image, image, 99, 255, cv::THRESH_TOZERO); };
    either = [](Buffers& b) { cv::Mat image = b.DstMat(CV_8UC1); cv::bitwise_or(b.SrcMat(CV_8UC1), image, image); };
    divide = [](Buffers& b) { cv::Mat image(b.size.height, b.size.width, CV_32FC1, b.singles.data()); image.convertTo(image, CV_32F, -1); };
    const auto border = [](int type) -> Call {
        return [=](Buffers& b) {
            cv::Mat dst(b.size.height + 16, b.size.width + 16, type, b.dst);
            cv::copyMakeBorder(b.SrcMat(type), dst, 8, 8, 8, 8, cv::BORDER_REPLICATE);
        };
    };
    border1 = border(CV_8UC1);
    border3 = border(CV_8UC3);
#endif
    Add("transpose_8u_C1R", 2, [](Buffers& b) { vekiTranspose_8u_C1R(b.src, b.Step(1), b.dst, b.size.height, b.size); }, "opencv", transpose);
    Add("convert_16s8u_C1R", 3, [](Buffers& b) { vekiConvert_16s8u_C1R(b.Src<Vek16s>(), b.Step(2), b.dst, b.Step(1), b.size); }, "opencv", narrow);
    Add("convert_8u16u_C1R", 3, [](Buffers& b) { vekiConvert_8u16u_C1R(b.src, b.Step(1), b.Dst<Vek16u>(), b.Step(2), b.size); }, "opencv", widen(1));
    Add("convert_8u16u_C3R", 9, [](Buffers& b) { vekiConvert_8u16u_C3R(b.src, b.Step(3), b.Dst<Vek16u>(), b.Step(6), b.size); }, "opencv", widen(3));
    Add("shift_16u_C1IR", 4, [](Buffers& b) { vekiLShiftC_16u_C1IR(1, b.Dst<Vek16u>(), b.Step(2), b.size); });
    static const Vek32u counts[3] = {1, 2, 3};
    Add("shift_16u_C3IR", 12, [](Buffers& b) { vekiLShiftC_16u_C3IR(counts, b.Dst<Vek16u>(), b.Step(6), b.size); });
    Add("or_8u_C1IR", 3, [](Buffers& b) { vekiOr_8u_C1IR(b.src, b.Step(1), b.dst, b.Step(1), b.size); }, "opencv", either);
    Add("divide_32f_C1IR", 8, [](Buffers& b) { vekiDivC_32f_C1IR(-1, b.singles.data(), b.Step(4), b.size); }, "opencv", divide);
    Add("threshold_gt_8u_C1IR", 2, [](Buffers& b) { vekiThreshold_GTVal_8u_C1IR(b.dst, b.Step(1), b.size, 100, 100); }, "opencv", threshold);
    Add("threshold_lt_8u_C1IR", 2, [](Buffers& b) { vekiThreshold_LTVal_8u_C1IR(b.dst, b.Step(1), b.size, 100, 0); }, "opencv", lower);
    for (const int channels : {1, 3})
        Add("border_8u_C" + std::to_string(channels) + "R", 2 * channels, [=](Buffers& b) {
            const VekImageSize frame = {b.size.width + 16, b.size.height + 16};
            const auto call = channels == 1 ? vekiCopyReplicateBorder_8u_C1R : vekiCopyReplicateBorder_8u_C3R;
            call(b.src, b.Step(channels), b.size, b.dst, frame.width * channels, frame, 8, 8);
        }, "opencv", channels == 1 ? border1 : border3);
    for (const Vek32s type : {AlphaOver, AlphaXor, AlphaPlusPremul})
        Add("compose_8u_C3R_type" + std::to_string(type), 9, [=](Buffers& b) {
            vekiAlphaCompC_8u_C3R(b.src, b.Step(3), 100, b.src + b.pixels * 3, b.Step(3), 200, b.dst, b.Step(3), b.size, type);
        });
}

const bool registered = [] {
#ifdef UVEK_HAVE_OPENCV
    cv::setNumThreads(1);
#endif
    AddCopies();
    AddMirrors();
    AddArithmetic();
    return true;
}();

}  // namespace
}  // namespace uvek::bench
