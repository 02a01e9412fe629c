#include <gtest/gtest.h>

#include <cmath>
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

using ComplexImage = GuardedImage<Vek32f, 2>;
using RealImage = GuardedImage<Vek32f>;
using SpecPointer = std::unique_ptr<VekDft2Spec, VekStatus (*)(VekDft2Spec*)>;

SpecPointer Spec(bool isReal, VekImageSize size, Vek32s flag = FftScaleNone)
{
    VekDft2Spec* spec = nullptr;
    EXPECT_EQ(StatusOk, (isReal ? vekiDFTInitAlloc_R_32f : vekiDFTInitAlloc_C_32fc)(&spec, size, flag, 0));
    return {spec, isReal ? vekiDFTFree_R_32f : vekiDFTFree_C_32fc};
}
SpecPointer ComplexSpec(VekImageSize size, Vek32s flag = FftScaleNone) { return Spec(false, size, flag); }
SpecPointer RealSpec(VekImageSize size, Vek32s flag = FftScaleNone) { return Spec(true, size, flag); }

template <typename Image>
Image Noisy(const Shape& shape, std::mt19937& random)
{
    std::normal_distribution<float> noise;
    Image image(shape);
    image.Fill([&] { return noise(random); });
    return image;
}

// Samples of an image as complex numbers, row by row.
template <int channels>
Spectrum Flat(const GuardedImage<Vek32f, channels>& image)
{
    Spectrum s;
    for (Vek32s y = 0; y < image.height(); ++y)
        for (Vek32s x = 0; x < image.width(); ++x)
            s.push_back({image.at(x, y, 0), channels == 2 ? image.at(x, y, 1) : 0});
    return s;
}

Spectrum Transform2(Spectrum s, VekImageSize size, int sign)
{
    const size_t w = (size_t)size.width, h = (size_t)size.height;
    for (size_t y = 0; y < h; ++y) {
        const Spectrum row = Transform(Spectrum(s.begin() + (ptrdiff_t)(y * w), s.begin() + (ptrdiff_t)((y + 1) * w)), sign);
        std::copy(row.begin(), row.end(), s.begin() + (ptrdiff_t)(y * w));
    }
    for (size_t x = 0; x < w; ++x) {
        Spectrum column(h);
        for (size_t y = 0; y < h; ++y)
            column[y] = s[y * w + x];
        column = Transform(column, sign);
        for (size_t y = 0; y < h; ++y)
            s[y * w + x] = column[y];
    }
    return s;
}

// The image in Pack layout that a spectrum makes, term by term.
Spectrum PackOf(const Spectrum& s, VekImageSize size)
{
    const Vek32s w = size.width, h = size.height;
    const auto part = [](std::complex<double> v, Vek32s index, Vek32s length) {
        return index == 0 || (length % 2 == 0 && index == length - 1) || index % 2 == 1 ? v.real() : v.imag();
    };
    Spectrum pack;
    for (Vek32s y = 0; y < h; ++y)
        for (Vek32s x = 0; x < w; ++x) {
            const Vek32s kx = (x + 1) / 2, ky = (y + 1) / 2;
            const bool isRealColumn = x == 0 || (w % 2 == 0 && x == w - 1);
            pack.push_back(isRealColumn ? part(s[(size_t)(ky * w + kx)], y, h) : part(s[(size_t)(y * w + kx)], x, w));
        }
    return pack;
}

// Every method and both sides of its limits: small kernels, powers of two, mixed radix in sweeps and in
// recursion, direct, chirp; lengths whose first trial divisor passes the limit.
const Vek32s kLengths[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 18, 20, 21, 24, 25, 27, 30, 35, 36, 45, 48, 49, 60, 63, 64, 75, 77,
                           81, 100, 105, 121, 125, 127, 128, 143, 149, 150, 151, 169, 173, 179, 180, 181, 210, 225, 250, 256, 300, 302, 343, 360, 375, 423,
                           500, 512, 625, 720, 729, 845, 1000, 1009, 1018, 1080, 1155, 1331, 1500, 1920, 1999, 2000, 2001, 2002, 2025, 2187, 2197, 2310,
                           2400, 3125, 3375, 4000, 4050, 4093, 4095, 5000, 10125, 22500, 22801};

class DftTest : public TierTest {};

TEST_P(DftTest, EveryLengthFollowsTheDefinition)
{
    std::mt19937 random(Seed());
    for (const Vek32s n : kLengths) {
        const ComplexImage x = Noisy<ComplexImage>({n, 1}, random);
        ComplexImage y(n, 1);
        const SpecPointer spec = ComplexSpec({n, 1}, FftScaleInverse);
        ASSERT_EQ(StatusOk, vekiDFTFwd_CToC_32fc_C1R((const Vek32fc*)x.data(), 1, (Vek32fc*)y.data(), 1, spec.get(), nullptr));
        const Spectrum truth = Transform(Flat(x));
        // The least error that a float result can show, for lengths that the peer happens to do exactly.
        EXPECT_LE(RelativeError(truth, Flat(y)), 1.2 * ErrorOfPeer(Flat(x), truth, 4e-7) + 6e-8) << n << " seed " << Seed();
        ComplexImage inPlace = x;
        ASSERT_EQ(StatusOk, vekiDFTFwd_CToC_32fc_C1R((const Vek32fc*)inPlace.data(), 1, (Vek32fc*)inPlace.data(), 1, spec.get(), nullptr));
        EXPECT_EQ(y, inPlace) << n;
        ASSERT_EQ(StatusOk, vekiDFTInv_CToC_32fc_C1R((const Vek32fc*)y.data(), 1, (Vek32fc*)y.data(), 1, spec.get(), nullptr));
        EXPECT_LT(RelativeError(Flat(x), Flat(y)), 1e-6) << n << " seed " << Seed();

        const RealImage r = Noisy<RealImage>({n, 1}, random);
        RealImage pack(n, 1), packInPlace = r;
        const SpecPointer real = RealSpec({n, 1});
        ASSERT_EQ(StatusOk, vekiDFTFwd_RToPack_32f_C1R(r.data(), 1, pack.data(), 1, real.get(), nullptr));
        EXPECT_LT(RelativeError(PackOf(Transform(Flat(r)), {n, 1}), Flat(pack)), 8e-7) << n << " seed " << Seed();
        ASSERT_EQ(StatusOk, vekiDFTFwd_RToPack_32f_C1R(packInPlace.data(), 1, packInPlace.data(), 1, real.get(), nullptr));
        EXPECT_EQ(pack, packInPlace) << n;
        ASSERT_TRUE(y.IsSlackIntact() && pack.IsSlackIntact());
    }
}

TEST_P(DftTest, ImagesOfAllShapesFollowTheDefinition)
{
    std::mt19937 random(Seed());
    const VekImageSize sizes[] = {{1, 1}, {2, 1}, {1, 2}, {3, 3}, {4, 4}, {5, 1}, {1, 5}, {1, 7}, {1, 32}, {2, 2}, {2, 9}, {3, 16}, {7, 5}, {8, 8}, {9, 6},
                                  {10, 151}, {13, 12}, {16, 3}, {17, 30}, {18, 64}, {24, 15}, {31, 31}, {32, 18}, {33, 7}, {64, 40}, {151, 10}};
    const struct { Vek32s flag; bool forward, inverse, isRoot; } flags[] = {
        {FftScaleNone, false, false, false}, {FftScaleForward, true, false, false}, {FftScaleInverse, false, true, false}, {FftScaleSqrt, true, true, true}};
    int round = 0;
    for (const VekImageSize size : sizes) {
        const auto& kind = flags[round++ % 4];
        const double area = (double)size.width * size.height, factor = kind.isRoot ? 1 / std::sqrt(area) : 1 / area;
        const Shape shape = {size.width, size.height, round % 3 ? round % 7 : 0, false, round % 2 ? Flush::End : Flush::Start, round % 5};
        const ComplexImage x = Noisy<ComplexImage>(shape, random);
        for (const bool inverse : {false, true}) {
            const SpecPointer spec = ComplexSpec(size, kind.flag);
            const auto transform = inverse ? vekiDFTInv_CToC_32fc_C1R : vekiDFTFwd_CToC_32fc_C1R;
            ComplexImage y(Shape{size.width, size.height, 4 * (round % 2)}), z = x;
            ASSERT_EQ(StatusOk, transform((const Vek32fc*)x.data(), x.step(), (Vek32fc*)y.data(), y.step(), spec.get(), nullptr));
            Spectrum truth = Transform2(Flat(x), size, inverse ? 1 : -1);
            for (auto& v : truth)
                v *= (inverse ? kind.inverse : kind.forward) ? factor : 1;
            EXPECT_LT(RelativeError(truth, Flat(y)), 6e-7) << shape << " seed " << Seed();
            ASSERT_EQ(StatusOk, transform((const Vek32fc*)z.data(), z.step(), (Vek32fc*)z.data(), z.step(), spec.get(), nullptr));
            EXPECT_EQ(Flat(y), Flat(z)) << shape;
            EXPECT_TRUE(y.IsSlackIntact() && z.IsSlackIntact());
        }
        const RealImage r = Noisy<RealImage>(shape, random);
        RealImage pack(Shape{size.width, size.height, 3 * (round % 2)}), inPlace = r;
        const SpecPointer real = RealSpec(size, kind.flag);
        const GuardedBytes buffer(65536 + 16, Flush::Start);
        ASSERT_EQ(StatusOk, vekiDFTFwd_RToPack_32f_C1R(r.data(), r.step(), pack.data(), pack.step(), real.get(), nullptr));
        Spectrum truth = PackOf(Transform2(Flat(r), size, -1), size);
        for (auto& v : truth)
            v *= kind.forward ? factor : 1;
        EXPECT_LT(RelativeError(truth, Flat(pack)), 6e-7) << shape << " seed " << Seed();
        ScopedAllocator allocator;
        ASSERT_EQ(StatusOk, vekiDFTFwd_RToPack_32f_C1R(inPlace.data(), inPlace.step(), inPlace.data(), inPlace.step(), real.get(), buffer.data() + round % 16));
        EXPECT_EQ(0, allocator.requests());
        EXPECT_EQ(Flat(pack), Flat(inPlace)) << shape;
        EXPECT_TRUE(inPlace.IsSlackIntact());
    }
}

TEST_P(DftTest, FailedAllocationsLeaveNothingBehind)
{
    const VekImageSize sizes[] = {{2, 3}, {64, 45}, {151, 302}, {181, 7}, {49, 49}, {1009, 22}};
    for (const VekImageSize size : sizes)
        for (const bool isReal : {false, true}) {
            const auto build = isReal ? vekiDFTInitAlloc_R_32f : vekiDFTInitAlloc_C_32fc;
            VekStatus status = StatusNoMemory;
            for (int failing = -1; status != StatusOk; ++failing) {  // the first time a flag is bad, and nothing is asked for
                ScopedAllocator allocator(failing);
                VekDft2Spec* spec = nullptr;
                status = build(&spec, size, failing < 0 ? 3 : (int)FftScaleNone, 0);
                ASSERT_EQ(status == StatusOk, spec != nullptr);
                if (status == StatusOk)
                    (isReal ? vekiDFTFree_R_32f : vekiDFTFree_C_32fc)(spec);
                else
                    ASSERT_EQ(failing < 0 ? StatusBadFftFlag : StatusNoMemory, status);
                ASSERT_EQ(0, allocator.live()) << size.width << "x" << size.height << " failing " << failing;
            }
        }
    const SpecPointer spec = ComplexSpec({30, 30});
    std::vector<float> x(1800, 1);
    ScopedAllocator allocator(0);
    EXPECT_EQ(StatusNoMemory, vekiDFTFwd_CToC_32fc_C1R((const Vek32fc*)x.data(), 240, (Vek32fc*)x.data(), 240, spec.get(), nullptr));
    EXPECT_EQ(std::vector<float>(1800, 1), x);
}

TEST_P(DftTest, BadCallsGiveTheirStatus)
{
    VekDft2Spec* spec = nullptr;
    for (auto* build : {vekiDFTInitAlloc_C_32fc, vekiDFTInitAlloc_R_32f}) {
        EXPECT_EQ(StatusNullPointer, build(nullptr, {0, 1}, 3, 0));
        EXPECT_EQ(StatusBadSize, build(&spec, {0, 1}, 3, 0));
        EXPECT_EQ(StatusBadSize, build(&spec, {1, 0}, 3, 0));
        EXPECT_EQ(StatusBadFftFlag, build(&spec, {1, 1}, 3, 0));
        EXPECT_EQ(nullptr, spec);
    }
    const SpecPointer complex = ComplexSpec({2, 2}), real = RealSpec({2, 2});
    Vek32fc c[4] = {};
    float r[4] = {1, 2, 3, 4};
    for (auto* transform : {vekiDFTFwd_CToC_32fc_C1R, vekiDFTInv_CToC_32fc_C1R}) {
        EXPECT_EQ(StatusNullPointer, transform(nullptr, 0, c, 16, nullptr, nullptr));
        EXPECT_EQ(StatusBadContext, transform(nullptr, 0, c, 16, real.get(), nullptr));
        EXPECT_EQ(StatusNullPointer, transform(nullptr, 0, c, 16, complex.get(), nullptr));
        EXPECT_EQ(StatusNullPointer, transform(c, 0, nullptr, 16, complex.get(), nullptr));
        EXPECT_EQ(StatusBadStep, transform(c, 0, c, 16, complex.get(), nullptr));
        EXPECT_EQ(StatusBadStep, transform(c, 16, c, -16, complex.get(), nullptr));
    }
    EXPECT_EQ(StatusNullPointer, vekiDFTFwd_RToPack_32f_C1R(nullptr, 0, r, 8, nullptr, nullptr));
    EXPECT_EQ(StatusBadContext, vekiDFTFwd_RToPack_32f_C1R(nullptr, 0, r, 8, complex.get(), nullptr));
    EXPECT_EQ(StatusNullPointer, vekiDFTFwd_RToPack_32f_C1R(r, 0, nullptr, 8, real.get(), nullptr));
    EXPECT_EQ(StatusBadStep, vekiDFTFwd_RToPack_32f_C1R(r, 8, r, 0, real.get(), nullptr));
    EXPECT_EQ(StatusNullPointer, vekiDFTFree_C_32fc(nullptr));
    EXPECT_EQ(StatusBadContext, vekiDFTFree_C_32fc(real.get()));
    EXPECT_EQ(StatusBadContext, vekiDFTFree_R_32f(complex.get()));
}

UVEK_ON_ALL_TIERS(DftTest);

}  // namespace
}  // namespace uvek::test
