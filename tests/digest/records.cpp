// Users of records: transforms, recursive filters, random numbers, pyramids and tracking; and memory.
#include "digest/recorder.h"

namespace uvek::digest {
namespace {

template <typename Init, typename Free, typename Spec>
class Made {
public:
    template <typename... Args>
    Made(Recorder& r, Init* init, Free* release, Spec**, Args... args) : r_(r), release_(release)
    {
        r.Call(init, &spec_, args...);
    }
    ~Made()
    {
        if (spec_)
            r_.Call(release_, spec_);
    }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;
    Spec* get() const { return spec_; }

private:
    Recorder& r_;
    Free* release_;
    Spec* spec_ = nullptr;
};

template <typename Spec, typename... InitArgs, typename... Args>
auto Make(Recorder& r, VekStatus (*init)(Spec**, InitArgs...), VekStatus (*release)(Spec*), Args... args)
{
    return Made<VekStatus(Spec**, InitArgs...), VekStatus(Spec*), Spec>(r, init, release, (Spec**)nullptr, args...);
}

constexpr Vek32s kFlags[] = {FftScaleForward, FftScaleInverse, FftScaleSqrt, FftScaleNone, 3};

void CallOneDimension(Recorder& r, Vek32s order, Vek32s flag)
{
    Random random(13);
    const size_t n = (size_t)1 << order;
    const auto re = Vector<Vek32f>(random, n), im = Vector<Vek32f>(random, n);
    std::vector<Vek32f> toRe(n + 2), toIm(n);
    std::vector<Vek8u> buffer(8 * n + (order > 17 ? 1 << 21 : 0) + 32);
    const auto complexSpec = Make(r, veksFFTInitAlloc_C_32f, veksFFTFree_C_32f, order, flag, 0);
    for (const auto transform : {veksFFTFwd_CToC_32f, veksFFTInv_CToC_32f})
        for (Vek8u* work : {(Vek8u*)nullptr, buffer.data()}) {
            r.Call(transform, re.data(), im.data(), toRe.data(), toIm.data(), complexSpec.get(), work);
            r.Add(transform, toRe.data(), n);
            r.Add(transform, toIm.data(), n);
        }
    const auto realSpec = Make(r, veksFFTInitAlloc_R_32f, veksFFTFree_R_32f, order, flag, 0);
    r.Call(veksFFTFwd_RToCCS_32f, re.data(), toRe.data(), realSpec.get(), buffer.data());
    r.Add(veksFFTFwd_RToCCS_32f, toRe.data(), n + 2);
    r.Call(veksFFTFree_R_32f, (VekFftSpec*)complexSpec.get());  // of the other kind
}

void CallTwoDimensions(Recorder& r, VekImageSize size, Vek32s flag)
{
    Random random(14);
    const size_t n = (size_t)size.width * (size_t)size.height;
    const auto samples = Vector<Vek32f>(random, 2 * n);
    std::vector<Vek32f> to(2 * n);
    const auto complexSpec = Make(r, vekiDFTInitAlloc_C_32fc, vekiDFTFree_C_32fc, size, flag, 0);
    for (const auto transform : {vekiDFTFwd_CToC_32fc_C1R, vekiDFTInv_CToC_32fc_C1R}) {
        r.Call(transform, (const Vek32fc*)samples.data(), 8 * size.width, (Vek32fc*)to.data(), 8 * size.width, complexSpec.get(), nullptr);
        r.Add(transform, to.data(), to.size());
    }
    const auto realSpec = Make(r, vekiDFTInitAlloc_R_32f, vekiDFTFree_R_32f, size, flag, 0);
    r.Call(vekiDFTFwd_RToPack_32f_C1R, samples.data(), 4 * size.width, to.data(), 4 * size.width, realSpec.get(), nullptr);
    r.Add(vekiDFTFwd_RToPack_32f_C1R, to.data(), n);
}

void CallConvolution(Recorder& r, VekImageSize a, VekImageSize b)
{
    Random random(15);
    const Vek32s width = a.width + b.width - 1;
    const auto src1 = Vector<Vek32f>(random, (size_t)a.width * (size_t)a.height), src2 = Vector<Vek32f>(random, (size_t)b.width * (size_t)b.height);
    std::vector<Vek32f> dst((size_t)width * (size_t)(a.height + b.height - 1));
    r.Call(vekiConvFull_32f_C1R, src1.data(), 4 * a.width, a, src2.data(), 4 * b.width, b, dst.data(), 4 * width);
    r.Add(vekiConvFull_32f_C1R, dst.data(), dst.size());
}

template <typename T>
void CallCorrelation(Recorder& r, VekStatus (*f)(const T*, Vek32s, const T*, Vek32s, T*, Vek32s, Vek32s), Vek32s len1, Vek32s len2)
{
    Random random(16);
    const auto src1 = Vector<T>(random, (size_t)len1), src2 = Vector<T>(random, (size_t)len2);
    for (const Vek32s length : {1, 7, (len1 + len2) / 2, len1 + len2 + 9})
        for (const Vek32s lag : {1 - len1, -3, 5}) {
            std::vector<T> dst((size_t)length);
            r.Call(f, src1.data(), len1, src2.data(), len2, dst.data(), length, lag);
            r.Add(f, dst.data(), dst.size());
        }
}

void CallRecursiveFilter(Recorder& r)
{
    Random random(17);
    const auto src = Vector<Vek32f>(random, 5000);
    std::vector<Vek32f> dst(5000);
    const auto filter = [&](VekIirState* state) {
        for (const Vek32s length : {1, 2, 7, 1023, 1024, 1025, 1918}) {
            r.Call(veksIIR_32f, src.data(), dst.data(), length, state);
            r.Add(veksIIR_32f, dst.data(), (size_t)length);
        }
    };
    for (Vek32s order = 0; order <= 9; ++order) {
        std::vector<Vek32f> taps(2 * (size_t)order + 2), delay(16, 0.5f);
        for (Vek32f& tap : taps)
            tap = (Vek32f)(random.Uniform() / (order + 1));
        taps[(size_t)order + 1] = order == 7 ? 0 : 1.25f;
        VekIirState* state = nullptr;
        if (r.Call(veksIIRInitAlloc_32f, &state, taps.data(), order, order % 2 ? delay.data() : nullptr) != StatusOk)
            continue;
        filter(state);
        r.Add(veksIIRInitAlloc_32f, state->taps, 2 * (size_t)order + 1);
        r.Add(veksIIRInitAlloc_32f, state->delay, (size_t)order + 1);
        r.Call(veksIIRFree_32f, state);
    }
    for (Vek32s sections = 1; sections <= 5; ++sections) {
        std::vector<Vek32f> taps(5 * (size_t)sections), delay(2 * (size_t)sections);
        for (Vek32f& tap : taps)
            tap = (Vek32f)(random.Uniform() / 2);
        VekIirState state = {};
        state.id = 0x49493032;
        state.taps = taps.data();
        state.delay = delay.data();
        state.order = 2 * sections;
        filter(&state);
        r.Call(veksIIRFree_32f, &state);
    }
}

void CallRandomNumbers(Recorder& r)
{
    std::vector<Vek32f> dst(3001);
    for (const Vek32u seed : {0u, 1u, 12345u, 0xffffffffu}) {
        VekRandGaussState* state = nullptr;
        r.Call(veksRandGaussInitAlloc_32f, &state, 100.0f, 25.0f, seed);
        r.Add(veksRandGaussInitAlloc_32f, state->swbA);
        for (const Vek32s length : {1, 2, 5, 64, 3001}) {
            r.Call(veksRandGauss_32f, dst.data(), length, state);
            r.Add(veksRandGauss_32f, dst.data(), (size_t)length);
        }
        r.Call(veksRandGaussFree_32f, state);
    }
}

// A pyramid with the library's own layers; its pixels live as long as it does.
class Pyramid {
public:
    Pyramid(Recorder& r, VekImageSize size, Vek32f rate, const std::vector<Vek16s>& kernel, double shift) : r_(r)
    {
        r.Call(vekiPyramidInitAlloc, &state_, 5, size, rate);
        r.Call(vekiPyramidLayerDownInitAlloc_8u_C1R, &layer_, size, rate, kernel.data(), (Vek32s)kernel.size(), InterLinear + 0);
        if (!state_ || !layer_)
            return;
        r.Add(vekiPyramidInitAlloc, state_->numLevels);
        r.Add(vekiPyramidLayerDownInitAlloc_8u_C1R, layer_->kernel, kernel.size());
        for (Vek32s i = 0; i <= state_->numLevels; ++i) {
            const VekImageSize at = state_->pRoi[i];
            r.Add(vekiPyramidInitAlloc, at.width);
            r.Add(vekiPyramidInitAlloc, at.height);
            r.Add(vekiPyramidInitAlloc, state_->pRate[i]);
            levels_.emplace_back((size_t)at.width * (size_t)at.height);
            state_->pImage[i] = levels_.back().data();
            state_->pStep[i] = at.width;
            if (i == 0) {
                for (Vek32s y = 0; y < at.height; ++y)
                    for (Vek32s x = 0; x < at.width; ++x)  // bumps, moved by the shift, without the runtime's sine
                        levels_[0][(size_t)(y * at.width + x)] = (Vek8u)(128 + 100 * Bump((x + shift) / 17) * Bump((y - shift) / 11));
            } else {
                r.Call(vekiPyramidLayerDown_8u_C1R, state_->pImage[i - 1], state_->pStep[i - 1], state_->pRoi[i - 1], state_->pImage[i], at.width, at, layer_);
                r.Add(vekiPyramidLayerDown_8u_C1R, levels_.back().data(), levels_.back().size());
            }
        }
    }
    ~Pyramid()
    {
        r_.Call(vekiPyramidLayerDownFree_8u_C1R, layer_);
        r_.Call(vekiPyramidFree, state_);
    }
    Pyramid(const Pyramid&) = delete;
    Pyramid& operator=(const Pyramid&) = delete;
    VekPyramidState* get() const { return state_; }

private:
    static double Bump(double x)
    {
        const double t = x - 2 * (double)(int64_t)(x / 2);
        return t < 1 ? 4 * t * (1 - t) : 4 * (t - 1) * (t - 2);
    }

    Recorder& r_;
    VekPyramidState* state_ = nullptr;
    VekPyramidLayerState* layer_ = nullptr;
    std::vector<std::vector<Vek8u>> levels_;
};

}  // namespace

void CallFourier(Recorder& r)
{
    for (const Vek32s flag : kFlags)
        for (Vek32s order = 0; order <= 13; ++order)
            CallOneDimension(r, order, flag);
    for (const Vek32s order : {14, 15, 16, 17, 18})
        CallOneDimension(r, order, FftScaleNone);

    for (const Vek32s flag : kFlags)
        for (const VekImageSize size : {VekImageSize{1, 1}, {2, 3}, {5, 7}, {8, 8}, {12, 10}})
            CallTwoDimensions(r, size, flag);
    for (Vek32s length = 3; length <= 80; ++length)
        CallTwoDimensions(r, {length, 1 + length % 13}, FftScaleInverse);
    for (const VekImageSize size : {VekImageSize{101, 3}, {3, 121}, {127, 2}, {210, 9}, {1031, 2}, {2, 1031}, {64, 128}, {2310, 1}, {5000, 1}, {1, 4096}, {362, 3}, {180, 181}, {151, 2}})
        CallTwoDimensions(r, size, FftScaleNone);

    CallConvolution(r, {1, 1}, {1, 1});
    CallConvolution(r, {9, 4}, {3, 5});
    CallConvolution(r, {37, 41}, {12, 3});
    CallConvolution(r, {64, 64}, {31, 17});
    CallConvolution(r, {200, 190}, {25, 25});
    CallConvolution(r, {11, 12}, {150, 160});
    for (const Vek32s len1 : {1, 3, 50, 700, 5000})
        for (const Vek32s len2 : {1, 8, 33, 900, 3000}) {
            CallCorrelation(r, veksCrossCorr_32f, len1, len2);
            CallCorrelation(r, veksCrossCorr_64f, len1, len2);
        }
}

void CallSignal(Recorder& r)
{
    CallRecursiveFilter(r);
    CallRandomNumbers(r);

    Random random(18);
    for (int turn = 0; turn < 300; ++turn) {
        Vek64f a[9], factors[9] = {}, b[3], buffer[3];
        for (Vek64f& v : a)
            v = turn % 10 == 0 ? (Vek64f)(random() % 2) : random.Uniform();
        for (Vek64f& v : b)
            v = random.Uniform();
        const VekStatus status = r.Call(vekmQRDecomp_m_64f_3x3, a, 24, buffer, factors, 24);
        r.Add(vekmQRDecomp_m_64f_3x3, factors, 9);
        if (status == StatusOk) {
            r.Call(vekmQRBackSubst_mv_64f_3x3, factors, 24, buffer, b, b);
            r.Add(vekmQRBackSubst_mv_64f_3x3, b, 3);
        }
    }
}

void CallVision(Recorder& r)
{
    const std::vector<std::vector<Vek16s>> kernels = {{1, 4, 6, 4, 1}, {1, 2, 1}, {-1, 3, 20, 50, 20, 3, -1}, {1, 2, 4}};
    for (const auto& kernel : kernels)
        for (const Vek32f rate : {2.0f, 1.5f, 3.7f})
            for (const VekImageSize size : {VekImageSize{97, 64}, {5, 130}, {1, 1}})
                const Pyramid pyramid(r, size, rate, kernel, 0);

    const Pyramid first(r, {160, 120}, 2, kernels[0], 0), second(r, {160, 120}, 2, kernels[0], 1.75);
    Random random(19);
    for (const VekImageSize whole : {VekImageSize{1, 1}, {90, 70}, {160, 120}})
        for (const Vek32s window : {1, 3, 5, 9, 16, 21}) {
            VekOpticalFlowState* state = nullptr;
            r.Call(vekiOpticalFlowPyrLKInitAlloc_8u_C1R, &state, whole, window, 0);
            constexpr Vek32s kPoints = 60;
            std::vector<Vek32f> from(2 * kPoints), to, error(kPoints);
            std::vector<Vek8s> lost(kPoints);
            for (Vek32f& v : from)
                v = (Vek32f)(80 + random.Uniform() * 85);
            to = from;
            r.Call(vekiOpticalFlowPyrLK_8u_C1R, first.get(), second.get(), from.data(), to.data(), lost.data(), error.data(), kPoints, window, 3, 8, 0.01f, state);
            r.Add(vekiOpticalFlowPyrLK_8u_C1R, to.data(), to.size());
            r.Add(vekiOpticalFlowPyrLK_8u_C1R, lost.data(), lost.size());
            r.Add(vekiOpticalFlowPyrLK_8u_C1R, error.data(), error.size());
            r.Call(vekiOpticalFlowPyrLKFree_8u_C1R, state);
        }
}

// A block is all that it promises when it is aligned, as large as asked for and released without harm.
void CallFrame(Recorder& r)
{
    const auto length = [&](auto allocate, auto release) {
        for (const Vek32s count : {-1, 0, 1, 33, 1000}) {
            auto* const block = allocate(count);
            r.Add(allocate, (uintptr_t)block % 32);
            r.Add(allocate, block != nullptr);
            if (block)
                std::memset((void*)block, 1, (size_t)count);
            release(block);
            r.Add(release, count);
        }
    };
    length(vekMalloc, vekFree);
    length(veksMalloc_8u, veksFree);
    length(veksMalloc_16s, vekiFree);
    length(veksMalloc_32f, veksFree);
    const auto image = [&](auto allocate) {
        for (const VekImageSize size : {VekImageSize{0, 1}, {1, 1}, {33, 4}, {100, 0}, {101, 7}}) {
            Vek32s step = -1;
            auto* const block = allocate(size.width, size.height, &step);
            r.Add(allocate, step);
            r.Add(allocate, (uintptr_t)block % 32);
            r.Add(allocate, block != nullptr);
            if (block)
                std::memset((void*)block, 1, (size_t)step * (size_t)size.height);
            vekiFree(block);
        }
    };
    image(vekiMalloc_8u_C1);
    image(vekiMalloc_8u_C3);
    image(vekiMalloc_8u_C4);
    image(vekiMalloc_16s_C1);
    image(vekiMalloc_16s_C3);
    image(vekiMalloc_16u_C1);
    image(vekiMalloc_16u_C3);
    image(vekiMalloc_32f_C1);
    image(vekiMalloc_32s_C1);
    for (const uintptr_t address : {(uintptr_t)0, (uintptr_t)1, (uintptr_t)4097})
        for (const Vek32s alignment : {1, 32, 4096})
            r.Add(vekAlignPtr, (uintptr_t)vekAlignPtr((void*)address, alignment));
    const VekLibVersion* const version = vekjGetLibVersion();
    r.Add(vekjGetLibVersion, version->versionMajor * 1000 + version->versionMinor);
    r.Add(vekjGetLibVersion, version->tierCode, 4);
    r.Add(vekjGetLibVersion, version->versionText, std::strlen(version->versionText));
}

}  // namespace uvek::digest
