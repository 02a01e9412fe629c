#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <random>

#include "support/allocator.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"
#include "support/transform.h"
#include "uvek/uvek.h"

namespace uvek::test {
namespace {

constexpr Vek32s kLargestTestedOrder = 20;
constexpr Vek32s kLargestAccurateOrder = 22;  // of tier 3 alone: the truth takes longest
using Vector = GuardedVector<Vek32f>;
using SpecPointer = std::unique_ptr<VekFftSpec, VekStatus (*)(VekFftSpec*)>;

SpecPointer Spec(bool isReal, Vek32s order, Vek32s flag)
{
    VekFftSpec* spec = nullptr;
    EXPECT_EQ(StatusOk, (isReal ? veksFFTInitAlloc_R_32f : veksFFTInitAlloc_C_32f)(&spec, order, flag, 0));
    return {spec, isReal ? veksFFTFree_R_32f : veksFFTFree_C_32f};
}
SpecPointer ComplexSpec(Vek32s order, Vek32s flag) { return Spec(false, order, flag); }
SpecPointer RealSpec(Vek32s order, Vek32s flag) { return Spec(true, order, flag); }

// The same noise for an order wherever it is asked for, and its transform, which takes longer than all else.
struct Case {
    std::vector<float> re, im;
    Spectrum truth, realTruth;
    double peerError = 0;
};

const Case& CaseOf(Vek32s order, int round = 0)
{
    static std::map<std::pair<int, int>, Case> cases;
    Case& c = cases[{order, round}];
    if (!c.re.empty())
        return c;
    std::mt19937 random(Seed() + (unsigned)(100 * round + order));
    std::normal_distribution<float> noise;
    const size_t n = (size_t)1 << order;
    Spectrum x(n), real(n);
    c.re.resize(n);
    c.im.resize(n);
    for (size_t i = 0; i < n; ++i) {
        real[i] = c.re[i] = noise(random);
        x[i] = {c.re[i], c.im[i] = noise(random)};
    }
    c.truth = Transform(x);
    // The spectrum of the real part is the even half of the whole spectrum.
    c.realTruth.resize(n / 2 + 1);
    for (size_t k = 0; k <= n / 2; ++k)
        c.realTruth[k] = 0.5 * (c.truth[k % n] + std::conj(c.truth[(n - k) % n]));
    c.peerError = ErrorOfPeer(x, c.truth, 4e-8 * std::sqrt(std::log2((double)n + 1)));  // grows with the order's root
    return c;
}

Vector Copy(const std::vector<float>& x, Flush flush = Flush::End, int offset = 0)
{
    Vector v((Vek32s)x.size(), flush, offset);
    auto next = x.begin();
    v.Fill([&] { return *next++; });
    return v;
}

Spectrum Complex(const Vector& re, const Vector& im)
{
    Spectrum s((size_t)re.length());
    for (Vek32s i = 0; i < re.length(); ++i)
        s[(size_t)i] = {re[i], im[i]};
    return s;
}

class FftTest : public TierTest {};

TEST_P(FftTest, EveryOrderIsAsAccurateAsItsPeer)
{
    for (Vek32s order = 0; order <= (GetParam() == 3 ? kLargestAccurateOrder : kLargestTestedOrder); ++order) {
        const SpecPointer spec = ComplexSpec(order, FftScaleInverse);
        const int rounds = order < 10 ? 40 : 1;  // short data say little about an error by themselves
        double error = 0, peer = 0;
        for (int round = 0; round < rounds; ++round) {
            const Case& c = CaseOf(order, round);
            const Vector re = Copy(c.re), im = Copy(c.im, Flush::Start);
            Vector outRe(re.length()), outIm(re.length(), Flush::Start);
            ASSERT_EQ(StatusOk, veksFFTFwd_CToC_32f(re.data(), im.data(), outRe.data(), outIm.data(), spec.get(), nullptr));
            error += std::pow(RelativeError(c.truth, Complex(outRe, outIm)), 2);
            peer += std::pow(c.peerError, 2);
            // And back, in place.
            ASSERT_EQ(StatusOk, veksFFTInv_CToC_32f(outRe.data(), outIm.data(), outRe.data(), outIm.data(), spec.get(), nullptr));
            ASSERT_LT(RelativeError(Complex(re, im), Complex(outRe, outIm)), 4e-7) << "order " << order << " seed " << Seed();
            ASSERT_TRUE(outRe.IsSlackIntact() && outIm.IsSlackIntact());
        }
        EXPECT_LE(std::sqrt(error), 1.2 * std::sqrt(peer)) << "order " << order << " seed " << Seed();
    }
}

TEST_P(FftTest, RealTransformsGiveHalfTheSpectrum)
{
    for (Vek32s order = 0; order <= kLargestTestedOrder; ++order) {
        const Case& c = CaseOf(order);
        const SpecPointer spec = RealSpec(order, FftScaleNone);
        const Vek32s n = 1 << order;
        const Vector x = Copy(c.re);
        Vector y(n > 1 ? n + 2 : 2);
        ASSERT_EQ(StatusOk, veksFFTFwd_RToCCS_32f(x.data(), y.data(), spec.get(), nullptr));
        Spectrum got((size_t)(n / 2 + 1));
        for (Vek32s k = 0; k <= n / 2; ++k)
            got[(size_t)k] = {y[2 * k], y[2 * k + 1]};
        EXPECT_LT(RelativeError(c.realTruth, got), 3e-7) << "order " << order << " seed " << Seed();
        for (const float zero : {y[1], y[n > 1 ? n + 1 : 1]})
            EXPECT_TRUE(zero == 0 && !std::signbit(zero)) << "order " << order;

        Vector inPlace(y.length());
        std::memcpy(inPlace.data(), x.data(), (size_t)n * 4);
        ASSERT_EQ(StatusOk, veksFFTFwd_RToCCS_32f(inPlace.data(), inPlace.data(), spec.get(), nullptr));
        EXPECT_EQ(y, inPlace) << "order " << order;
    }
}

TEST_P(FftTest, IntegersComeBackExactly)
{
    for (Vek32s order = 0; order <= 8; ++order) {
        const Vek32s n = 1 << order;
        std::mt19937 random(Seed());
        Vector re(n), im(n), outRe(n), outIm(n);
        for (Vector* v : {&re, &im})
            v->Fill([&] { return (float)(random() % 17) - 8; });
        const SpecPointer spec = ComplexSpec(order, FftScaleInverse);
        ASSERT_EQ(StatusOk, veksFFTFwd_CToC_32f(re.data(), im.data(), outRe.data(), outIm.data(), spec.get(), nullptr));
        if (order <= 2) {  // nothing but sums: exact in between too
            EXPECT_LE(RelativeError(Transform(Complex(re, im)), Complex(outRe, outIm)), 1e-12) << "order " << order;
        }
        ASSERT_EQ(StatusOk, veksFFTInv_CToC_32f(outRe.data(), outIm.data(), outRe.data(), outIm.data(), spec.get(), nullptr));
        for (Vek32s i = 0; i < n; ++i)
            ASSERT_TRUE(re[i] == std::round(outRe[i]) && im[i] == std::round(outIm[i])) << "order " << order << " seed " << Seed();
    }
}

TEST_P(FftTest, FlagsScaleTheDirectionsTheyName)
{
    for (const Vek32s order : {0, 1, 2, 3, 4, 5, 10, 11, 12, 13, 15, 18}) {
        const Case& c = CaseOf(order);
        const double n = (double)c.re.size();
        const struct { Vek32s flag; double forward, inverse; } kinds[] = {
            {FftScaleForward, 1 / n, 1}, {FftScaleInverse, 1, 1 / n}, {FftScaleSqrt, 1 / std::sqrt(n), 1 / std::sqrt(n)}, {FftScaleNone, 1, 1}};
        for (const auto& kind : kinds) {
            const SpecPointer spec = ComplexSpec(order, kind.flag);
            Vector re = Copy(c.re), im = Copy(c.im), y((Vek32s)n + 2);
            ASSERT_EQ(StatusOk, veksFFTFwd_CToC_32f(re.data(), im.data(), re.data(), im.data(), spec.get(), nullptr));
            Spectrum truth = c.truth, source(c.re.size());
            for (auto& v : truth)
                v *= kind.forward;
            EXPECT_LT(RelativeError(truth, Complex(re, im)), 4e-7) << order << " flag " << kind.flag;
            ASSERT_EQ(StatusOk, veksFFTInv_CToC_32f(re.data(), im.data(), re.data(), im.data(), spec.get(), nullptr));
            for (size_t i = 0; i < source.size(); ++i)
                source[i] = n * kind.forward * kind.inverse * std::complex<double>(c.re[i], c.im[i]);
            EXPECT_LT(RelativeError(source, Complex(re, im)), 4e-7) << order << " flag " << kind.flag;

            ASSERT_EQ(StatusOk, veksFFTFwd_RToCCS_32f(Copy(c.re).data(), y.data(), RealSpec(order, kind.flag).get(), nullptr));
            EXPECT_NEAR(c.realTruth[0].real() * kind.forward, y[0], 1e-4 * n * kind.forward) << order << " flag " << kind.flag;
        }
    }
}

// Every way of passing the same data gives the same bits: in place for one plane and not the other,
// odd addresses, a buffer of the caller's at any address and of exactly the size that a record states.
TEST_P(FftTest, PlacesAndBuffersChangeNoBit)
{
    for (const Vek32s order : {0, 3, 4, 5, 6, 9, 10, 11, 13, 16, 17, 18}) {
        const Case& c = CaseOf(order);
        const Vek32s n = 1 << order;
        const SpecPointer spec = ComplexSpec(order, FftScaleForward);
        for (auto* transform : {veksFFTFwd_CToC_32f, veksFFTInv_CToC_32f}) {
            const Vector re = Copy(c.re), im = Copy(c.im);
            Vector truthRe(n), truthIm(n);
            ASSERT_EQ(StatusOk, transform(re.data(), im.data(), truthRe.data(), truthIm.data(), spec.get(), nullptr));

            Vector mixedRe = Copy(c.re), mixedIm(n);
            ASSERT_EQ(StatusOk, transform(mixedRe.data(), im.data(), mixedRe.data(), mixedIm.data(), spec.get(), nullptr));
            EXPECT_EQ(truthRe, mixedRe) << order;
            EXPECT_EQ(truthIm, mixedIm) << order;

            const Vector oddRe = Copy(c.re, Flush::Start, 1), oddIm = Copy(c.im, Flush::End, 6);
            Vector outRe(n, Flush::Start, 11), outIm(n, Flush::End, 2);
            const size_t bytes = order < 4 ? 0 : order <= 17 ? (size_t)8 << order : (size_t)2 << 20;
            const GuardedBytes buffer(bytes + 32);
            ScopedAllocator allocator;
            ASSERT_EQ(StatusOk, transform(oddRe.data(), oddIm.data(), outRe.data(), outIm.data(), spec.get(), buffer.data()));
            EXPECT_EQ(0, allocator.requests());
            for (Vek32s i = 0; i < n; ++i) {
                ASSERT_EQ(truthRe[i], outRe[i]) << order;
                ASSERT_EQ(truthIm[i], outIm[i]) << order;
            }
        }
    }
}

TEST_P(FftTest, FailedAllocationsLeaveNothingBehind)
{
    for (const Vek32s order : {3, 6, 12, 14, 18})
        for (const bool isReal : {false, true}) {
            int failing = 0;
            for (VekStatus status = StatusNoMemory; status != StatusOk; ++failing) {
                ScopedAllocator allocator(failing);
                VekFftSpec* const before = (VekFftSpec*)&failing;
                VekFftSpec* spec = before;
                status = (isReal ? veksFFTInitAlloc_R_32f : veksFFTInitAlloc_C_32f)(&spec, order, FftScaleNone, 0);
                if (status == StatusOk)
                    (isReal ? veksFFTFree_R_32f : veksFFTFree_C_32f)(spec);
                else
                    EXPECT_TRUE(status == StatusNoMemory && spec == before);
                EXPECT_EQ(0, allocator.live());
            }
            EXPECT_EQ(order <= 10 ? 2 : 3, failing) << order;  // the record, and above order 10 the sines
        }
    const SpecPointer spec = ComplexSpec(18, FftScaleNone), real = RealSpec(18, FftScaleNone);
    std::vector<float> x(1 << 18, 1), y((1 << 18) + 2, 7);
    const std::vector<float> before = y;
    for (const bool isReal : {false, true}) {
        const ScopedAllocator allocator(0);
        EXPECT_EQ(StatusNoMemory, isReal ? veksFFTFwd_RToCCS_32f(x.data(), y.data(), real.get(), nullptr)
                                         : veksFFTFwd_CToC_32f(x.data(), x.data(), y.data(), y.data(), spec.get(), nullptr));
    }
    EXPECT_EQ(before, y);
}

TEST_P(FftTest, BadCallsGiveTheirStatus)
{
    VekFftSpec* spec = nullptr;
    for (auto* build : {veksFFTInitAlloc_C_32f, veksFFTInitAlloc_R_32f}) {
        EXPECT_EQ(StatusNullPointer, build(nullptr, 31, 3, 0));
        EXPECT_EQ(StatusBadFftOrder, build(&spec, 31, 3, 0));
        EXPECT_EQ(StatusBadFftOrder, build(&spec, -1, 1, 0));
        for (const Vek32s flag : {0, 3, 5, 16, -1})
            EXPECT_EQ(StatusBadFftFlag, build(&spec, 30, flag, 0));
        ScopedAllocator allocator(0);
        EXPECT_EQ(StatusNoMemory, build(&spec, 30, 1, 0));  // order 30 is allowed; memory decides
        EXPECT_EQ(nullptr, spec);
    }
    const SpecPointer complex = ComplexSpec(2, 1), real = RealSpec(2, 1);
    float x[4] = {1, 2, 3, 4}, y[6] = {9, 9, 9, 9, 9, 9};
    for (auto* transform : {veksFFTFwd_CToC_32f, veksFFTInv_CToC_32f}) {
        EXPECT_EQ(StatusNullPointer, transform(nullptr, x, y, y, nullptr, nullptr));
        EXPECT_EQ(StatusBadContext, transform(nullptr, x, y, y, real.get(), nullptr));
        EXPECT_EQ(StatusNullPointer, transform(nullptr, x, y, y, complex.get(), nullptr));
        EXPECT_EQ(StatusNullPointer, transform(x, nullptr, y, y, complex.get(), nullptr));
        EXPECT_EQ(StatusNullPointer, transform(x, x, nullptr, y, complex.get(), nullptr));
        EXPECT_EQ(StatusNullPointer, transform(x, x, y, nullptr, complex.get(), nullptr));
    }
    EXPECT_EQ(StatusNullPointer, veksFFTFwd_RToCCS_32f(nullptr, y, nullptr, nullptr));
    EXPECT_EQ(StatusBadContext, veksFFTFwd_RToCCS_32f(nullptr, y, complex.get(), nullptr));
    EXPECT_EQ(StatusNullPointer, veksFFTFwd_RToCCS_32f(nullptr, y, real.get(), nullptr));
    EXPECT_EQ(StatusNullPointer, veksFFTFwd_RToCCS_32f(x, nullptr, real.get(), nullptr));
    EXPECT_EQ(9, y[0]);
    EXPECT_EQ(StatusNullPointer, veksFFTFree_C_32f(nullptr));
    EXPECT_EQ(StatusNullPointer, veksFFTFree_R_32f(nullptr));
    // A record refused stays whole.
    EXPECT_EQ(StatusBadContext, veksFFTFree_C_32f(real.get()));
    EXPECT_EQ(StatusBadContext, veksFFTFree_R_32f(complex.get()));
    EXPECT_EQ(StatusOk, veksFFTFwd_RToCCS_32f(x, y, real.get(), nullptr));
}

UVEK_ON_ALL_TIERS(FftTest);

}  // namespace
}  // namespace uvek::test
