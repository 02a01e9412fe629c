// Signal primitives beside plain loops as -O3 -msse4.1 makes them, OpenCV and the standard library.
#include "support.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "uvek/signal.h"

#ifdef UVEK_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace uvek::bench {
namespace {

#if defined(__clang__)
#define PLAIN __attribute__((noinline, target("sse4.1")))
#else
#define PLAIN __attribute__((noinline, optimize("O3", "no-math-errno"), target("sse4.1")))
#endif

constexpr int kLengths[] = {1 << 10, 1 << 16, 1 << 22};

// Vectors that every call of one length shares. In-place calls get operands that keep values in range.
struct Vectors {
    explicit Vectors(int length) : n(length), x(n), y(n), out(n), z(n), s(n), s2(n), sOut(n), bytes(n)
    {
        std::mt19937 random(1);
        std::normal_distribution<float> normal(0, 1000);
        for (int i = 0; i < n; ++i) {
            x[i] = normal(random);
            y[i] = normal(random);
            z[i] = {x[i], y[i]};
            s[i] = (Vek16s)random();
            s2[i] = (Vek16s)random();
            bytes[i] = (Vek8u)random();
        }
        signs.resize(n);
        for (int i = 0; i < n; ++i)
            signs[i] = random() & 1 ? 1.0f : -1.0f;
    }
    int n;
    std::vector<Vek32f> x, y, out, signs;
    std::vector<Vek32fc> z;
    std::vector<Vek16s> s, s2, sOut;
    std::vector<Vek8u> bytes;
};

PLAIN void PlainAddC(Vek16s* p, int n, Vek16s v)
{
    for (int i = 0; i < n; ++i)
        p[i] = (Vek16s)std::clamp(p[i] + v, -32768, 32767);
}
PLAIN void PlainAddSfs(const Vek16s* a, const Vek16s* b, Vek16s* d, int n)
{
    for (int i = 0; i < n; ++i) {
        const int sum = a[i] + b[i];
        d[i] = (Vek16s)((sum + 1 + ((sum >> 2) & 1)) >> 2);
    }
}
PLAIN void PlainRShift(Vek16s* p, int n, int count)
{
    for (int i = 0; i < n; ++i)
        p[i] = (Vek16s)(p[i] >> count);
}
PLAIN void PlainFrom16s(const Vek16s* a, Vek32f* d, int n)
{
    for (int i = 0; i < n; ++i)
        d[i] = a[i];
}
PLAIN void PlainFrom8u(const Vek8u* a, Vek32f* d, int n)
{
    for (int i = 0; i < n; ++i)
        d[i] = a[i];
}
PLAIN void PlainTo16s(const Vek32f* a, Vek16s* d, int n)
{
    for (int i = 0; i < n; ++i) {
        const float v = a[i] < -32768.0f ? -32768.0f : a[i] > 32767.0f ? 32767.0f : a[i];
        d[i] = (Vek16s)(int)(v + 0.5f);  // less than the library does
    }
}
PLAIN void PlainMulC(Vek32f* p, int n, float v)
{
    for (int i = 0; i < n; ++i)
        p[i] *= v;
}
PLAIN void PlainMul(const Vek32f* a, Vek32f* p, int n)
{
    for (int i = 0; i < n; ++i)
        p[i] *= a[i];
}
PLAIN void PlainAbs(const Vek32f* a, Vek32f* d, int n)
{
    for (int i = 0; i < n; ++i)
        d[i] = __builtin_fabsf(a[i]);
}
PLAIN void PlainPower(const Vek32f* a, const Vek32f* b, Vek32f* d, int n)
{
    for (int i = 0; i < n; ++i)
        d[i] = a[i] * a[i] + b[i] * b[i];
}
PLAIN float PlainMax(const Vek32f* a, int n)
{
    float best = a[0];
    for (int i = 1; i < n; ++i)
        best = a[i] > best ? a[i] : best;
    return best;
}
PLAIN double PlainSum(const Vek32f* a, int n)
{
    double sum = 0;
    for (int i = 0; i < n; ++i)
        sum += a[i];
    return sum;
}

// The transposed form, as one writes it.
template <int kOrder>
PLAIN void PlainFilter(const float* b, const float* a, float* delay, const float* src, float* dst, int n)
{
    float d[kOrder + 1] = {};
    std::copy_n(delay, kOrder, d);
    for (int i = 0; i < n; ++i) {
        const float x = src[i], y = b[0] * x + d[0];
        for (int k = 1; k <= kOrder; ++k)
            d[k - 1] = b[k] * x - a[k] * y + d[k];
        dst[i] = y;
    }
    std::copy_n(d, kOrder, delay);
}

template <int kOrder>
void RegisterFilter(const std::shared_ptr<Vectors>& v)
{
    // (1 - 0.5 z^-1)^kOrder below, (1 + z^-1)^kOrder above.
    std::vector<float> taps(2 * kOrder + 2);
    float binomial = 1;
    for (int k = 0; k <= kOrder; binomial = binomial * (kOrder - k) / (k + 1), ++k) {
        taps[k] = binomial;
        taps[kOrder + 1 + k] = binomial * std::pow(-0.5f, k);
    }
    const std::string name = "IIR_order" + std::to_string(kOrder), size = std::to_string(v->n);
    for (int tier = 0; tier < 4; ++tier) {
        UseTier(tier);
        VekIirState* state = nullptr;
        veksIIRInitAlloc_32f(&state, taps.data(), kOrder, nullptr);  // lives as long as the program
        Register(name, "tier" + std::to_string(tier), tier, size, 8 * (int64_t)v->n,
                 [v, state] { veksIIR_32f(v->x.data(), v->out.data(), v->n, state); });
    }
    const auto delay = std::make_shared<std::vector<float>>(kOrder + 1);
    Register(name, "plain", -1, size, 8 * (int64_t)v->n, [v, taps, delay] {
        PlainFilter<kOrder>(taps.data(), taps.data() + kOrder + 1, delay->data(), v->x.data(), v->out.data(), v->n);
    });
}

void RegisterGauss(const std::shared_ptr<Vectors>& v)
{
    const std::string size = std::to_string(v->n);
    VekRandGaussState* state = nullptr;
    veksRandGaussInitAlloc_32f(&state, 0, 1, 1);  // lives as long as the program
    RegisterTiers("RandGauss", size, 4 * (int64_t)v->n, [v, state] { veksRandGauss_32f(v->out.data(), v->n, state); });
    Register("RandGauss", "std", -1, size, 4 * (int64_t)v->n, [v, engine = std::mt19937(1), normal = std::normal_distribution<float>()]() mutable {
        for (float& x : v->out)
            x = normal(engine);
    });
    Register("RandGauss", "std_lcg", -1, size, 4 * (int64_t)v->n, [v, engine = std::minstd_rand(1), normal = std::normal_distribution<float>()]() mutable {
        for (float& x : v->out)
            x = normal(engine);
    });
}

// In-place calls start each pass from a copy, whose time is in all figures.
void RegisterWindowsAndSort(const std::shared_ptr<Vectors>& v)
{
    const std::string size = std::to_string(v->n);
    const int64_t n = v->n;
    RegisterTiers("WinHamming_16s", size, 4 * n, [v] {
        v->sOut = v->s;
        veksWinHamming_16s_I(v->sOut.data(), v->n);
    });
    RegisterTiers("WinHann_32f", size, 8 * n, [v] {
        v->out = v->x;
        veksWinHann_32f_I(v->out.data(), v->n);
    });
    // Other numbers in every pass: a processor learns the branches of a short sort by heart.
    const auto pool = std::make_shared<std::vector<float>>(std::max<size_t>(v->n, 1 << 20));
    std::mt19937 random(2);
    for (float& x : *pool)
        x = (float)(int32_t)random();
    auto next = [v, pool, at = size_t{0}]() mutable {
        std::copy_n(pool->data() + at, v->n, v->out.data());
        at = at + 2 * v->n <= pool->size() ? at + v->n : 0;
    };
    RegisterTiers("SortDescend_32f", size, 8 * n, [v, next]() mutable {
        next();
        veksSortDescend_32f_I(v->out.data(), v->n);
    });
    Register("SortDescend_32f", "std", -1, size, 8 * n, [v, next]() mutable {
        next();
        std::sort(v->out.begin(), v->out.end(), std::greater<float>());
    });
}

void RegisterVectors(int length)
{
    const auto v = std::make_shared<Vectors>(length);
    const std::string size = std::to_string(length);
    const int n = length;
    const auto add = [&](const std::string& operation, int64_t bytesEach, auto call, auto plain) {
        RegisterTiers(operation, size, bytesEach * n, call);
        Register(operation, "plain", -1, size, bytesEach * n, plain);
    };
    float* const x = v->x.data();
    float* const y = v->y.data();
    float* const out = v->out.data();
    float* const signs = v->signs.data();
    Vek16s* const s = v->s.data();
    Vek16s* const s2 = v->s2.data();
    Vek16s* const sOut = v->sOut.data();
    Vek8u* const bytes = v->bytes.data();
    const Vek32fc* const z = v->z.data();
    auto result = std::make_shared<float>();

    add("AddC_16s", 4, [v, sOut, n] { veksAddC_16s_I(3, sOut, n); }, [v, sOut, n] { PlainAddC(sOut, n, 3); });
    add("Add_16s_Sfs2", 6, [=] { veksAdd_16s_Sfs(s, s2, sOut, n, 2); }, [=] { PlainAddSfs(s, s2, sOut, n); });
    add("RShiftC_16s", 4, [=] { veksRShiftC_16s_I(1, sOut, n); }, [=] { PlainRShift(sOut, n, 1); });
    add("Convert_16s32f", 6, [=] { veksConvert_16s32f(s, out, n); }, [=] { PlainFrom16s(s, out, n); });
    add("Convert_8u32f", 5, [=] { veksConvert_8u32f(bytes, out, n); }, [=] { PlainFrom8u(bytes, out, n); });
    add("Convert_32f16s_Near", 6, [=] { veksConvert_32f16s_Sfs(x, sOut, n, RoundNear, 0); }, [=] { PlainTo16s(x, sOut, n); });
    add("Convert_32f16s_AwaySfs3", 6, [=] { veksConvert_32f16s_Sfs(x, sOut, n, RoundHalfAway, 3); }, [=] { PlainTo16s(x, sOut, n); });
    add("MulC_32f", 8, [=] { veksMulC_32f_I(-1.0f, out, n); }, [=] { PlainMulC(out, n, -1.0f); });
    add("Mul_32f", 12, [=] { veksMul_32f_I(signs, out, n); }, [=] { PlainMul(signs, out, n); });
    add("Abs_32f", 8, [=] { veksAbs_32f(x, out, n); }, [=] { PlainAbs(x, out, n); });
    add("PowerSpectr_32f", 12, [=] { veksPowerSpectr_32f(x, y, out, n); }, [=] { PlainPower(x, y, out, n); });
    add("Max_32f", 4, [=] { veksMax_32f(x, n, result.get()); }, [=] { *result = PlainMax(x, n); });
    add("Sum_32f", 4, [=] { veksSum_32f(x, n, result.get(), 0); }, [=] { *result = (float)PlainSum(x, n); });
    RegisterTiers("StdDev_32f", size, 4 * n, [=] { veksStdDev_32f(x, n, result.get(), 0); });

    // OpenCV's phase is a coarse one, to 0.3 degrees; its square root and magnitude are of the same kind.
    RegisterTiers("Magnitude_32f", size, 12 * (int64_t)n, [=] { veksMagnitude_32f(x, y, out, n); });
    RegisterTiers("Magnitude_32fc", size, 12 * (int64_t)n, [=] { veksMagnitude_32fc(z, out, n); });
    RegisterTiers("Phase_32f", size, 12 * (int64_t)n, [=] { veksPhase_32f(x, y, out, n); });
    RegisterTiers("Sqrt_32f", size, 8 * (int64_t)n, [=] { veksAbs_32f(x, out, n); veksSqrt_32f_I(out, n); });
    RegisterFilter<1>(v);
    RegisterFilter<2>(v);
    RegisterFilter<8>(v);
    RegisterGauss(v);
    RegisterWindowsAndSort(v);
#ifdef UVEK_HAVE_OPENCV
    cv::setNumThreads(1);
    const cv::Mat re(1, n, CV_32F, x), im(1, n, CV_32F, y);
    cv::Mat to(1, n, CV_32F, out);
    Register("Magnitude_32f", "opencv", -1, size, 12 * (int64_t)n, [=]() mutable { cv::magnitude(re, im, to); });
    // It takes planes alone, so that pairs are split first.
    const cv::Mat pairs(1, n, CV_32FC2, (void*)z);
    Register("Magnitude_32fc", "opencv", -1, size, 12 * (int64_t)n, [=, planes = std::make_shared<std::vector<cv::Mat>>()]() mutable {
        cv::split(pairs, *planes);
        cv::magnitude((*planes)[0], (*planes)[1], to);
    });
    Register("Phase_32f", "opencv", -1, size, 12 * (int64_t)n, [=]() mutable { cv::phase(re, im, to); });
    Register("Sqrt_32f", "opencv", -1, size, 8 * (int64_t)n, [=]() mutable { veksAbs_32f(x, out, n); cv::sqrt(to, to); });
    Register("Sum_32f", "opencv", -1, size, 4 * (int64_t)n, [=] { *result = (float)cv::sum(re)[0]; });
#endif
}

const int kRegistered = [] {
    for (const int length : kLengths)
        RegisterVectors(length);
    return 0;
}();

}  // namespace
}  // namespace uvek::bench
