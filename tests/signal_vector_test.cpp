#include "uvek/signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <limits>

#include "support/bad_lengths.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class SignalVectorTest : public TierTest {};

using Vector16s = GuardedVector<Vek16s>;
using Vector32f = GuardedVector<Vek32f>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

float FromBits(uint32_t bits)
{
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

template <typename T>
GuardedVector<T> Like(const Shape& shape)
{
    return GuardedVector<T>(shape.width, shape.flush, shape.offset);
}

// Any bit pattern but a NaN's: all exponents, denormals, infinities, zeros.
float AnyFloat(std::mt19937& random)
{
    for (;;) {
        const float v = FromBits((uint32_t)random());
        if (v == v)
            return random() % 8 ? v : random() % 2 ? 0.0f : std::copysign(kInfinity, v);
    }
}

double UnitInLastPlace(double v)
{
    return std::ldexp(1.0, std::max(v == 0 ? -149 : std::ilogb(v) - 23, -149));
}

Vek16s Saturated(double v)
{
    return (Vek16s)std::clamp(v, -32768.0, 32767.0);
}

TEST_P(SignalVectorTest, ConstantsSaturateAndShiftsDropBits)
{
    std::mt19937 random(Seed());
    ForEachShape([&](const Shape& shape) {
        auto before = Like<Vek16s>(shape);
        FillInteger(before, kAllKinds[random() % 4], random);
        const auto check = [&](const char* name, Vek32s value, auto call, auto expected) {
            auto got = before, want = before;
            for (Vek32s i = 0; i < shape.width; ++i)
                want.set(i, 0, 0, expected(before[i]));
            ASSERT_EQ(StatusOk, call(value, got.data(), shape.width));
            ASSERT_EQ(want, got) << name << " " << value << " " << shape << " seed " << Seed();
        };
        for (const int value : {0, 1, -1, 1000, 32767, -32768}) {
            check("add", value, veksAddC_16s_I, [=](Vek16s v) { return Saturated(v + value); });
            check("subtract", value, veksSubC_16s_I, [=](Vek16s v) { return Saturated(v - value); });
        }
        for (const Vek32s value : {0, 1, 14, 15, 16, 2147483647}) {
            const int places = std::min(value, 16);
            check("left", value, veksLShiftC_16s_I, [=](Vek16s v) { return (Vek16s)(Vek16u)((uint64_t)(Vek16u)v << places); });
            check("right", value, veksRShiftC_16s_I, [=](Vek16s v) { return (Vek16s)std::floor(std::ldexp(v, -places)); });
        }
    });
}

TEST_P(SignalVectorTest, ScaledSumsRoundTiesToEven)
{
    std::mt19937 random(Seed());
    for (const Vek32s factor : {-2147483647 - 1, -17, -16, -15, -3, -1, 0, 1, 2, 9, 15, 16, 17, 2147483647}) {
        const double scale = std::ldexp(1.0, -std::clamp(factor, -100, 100));
        ForEachShape([&](const Shape& shape) {
            auto a = Like<Vek16s>(shape), b = a, sum = a;
            FillInteger(a, kAllKinds[random() % 4], random);
            FillInteger(b, kAllKinds[random() % 4], random);
            b.set(0, 0, 0, (Vek16s)-a[0]);
            for (Vek32s i = 0; i < shape.width; ++i)
                sum.set(i, 0, 0, Saturated(std::nearbyint((a[i] + b[i]) * scale)));
            auto result = a;
            ASSERT_EQ(StatusOk, veksAdd_16s_Sfs(a.data(), b.data(), result.data(), shape.width, factor));
            ASSERT_EQ(sum, result) << shape << " factor " << factor << " seed " << Seed();
            ASSERT_EQ(StatusOk, veksAdd_16s_Sfs(a.data(), b.data(), b.data(), shape.width, factor));
            ASSERT_EQ(sum, b) << "in place";
        });
    }
}

TEST_P(SignalVectorTest, IntegersBecomeTheirFloats)
{
    for (const Vek32s n : {65536, 65531, 19}) {  // tails of several lengths
        Vector16s words(n);
        GuardedVector<Vek8u> bytes(n, Flush::Start, 1);
        Vector32f fromWords(n, Flush::End, 2), fromBytes(n, Flush::End, 2);
        words.Fill([i = -32768]() mutable { return i++; });
        bytes.Fill([i = 0]() mutable { return i++; });
        ASSERT_EQ(StatusOk, veksConvert_16s32f(words.data(), fromWords.data(), n));
        ASSERT_EQ(StatusOk, veksConvert_8u32f(bytes.data(), fromBytes.data(), n));
        for (Vek32s i = 0; i < n; ++i)
            ASSERT_TRUE(i - 32768 == fromWords[i] && i % 256 == fromBytes[i]) << i << " of " << n;
    }
}

// The value in the middle of rounding: ties, their neighbours, the borders of the range and past them.
float HardToRound(std::mt19937& random)
{
    const int whole = random() % 3 == 0 ? (int)(random() % 5) - 2 : random() % 2 ? 32767 - (int)(random() % 3) : -32769 + (int)(random() % 3);
    float v = (float)whole + 0.5f * (float)(random() % 3);
    for (int step = (int)(random() % 3); step > 0; --step)
        v = std::nextafter(v, random() % 2 ? kInfinity : -kInfinity);
    return random() % 8 == 0 ? AnyFloat(random) : random() % 16 == 0 ? kNaN : v;
}

TEST_P(SignalVectorTest, FloatsRoundByModeAndSaturate)
{
    std::mt19937 random(Seed());
    constexpr Vek32s kLength = 4099;
    const Vek32s factors[] = {0, 1, -1, 7, -9, 126, 127, 130, -127, -128, -140, 1074, 1075, -1023, -1024, 2147483647, -2147483647 - 1};
    for (const Vek32s factor : factors)
        for (const int mode : {(int)RoundZero, (int)RoundNear, (int)RoundHalfAway, -1}) {
            const double scale = std::ldexp(1.0, -std::clamp(factor, -1100, 1100));
            Vector32f values(kLength, factor & 1 ? Flush::End : Flush::Start, mode + 1);
            values.Fill([&] {
                const float hard = HardToRound(random);
                return std::abs(factor) < 100 ? std::ldexp(hard, factor) : hard;
            });
            Vector16s result(kLength, Flush::End, 1);
            ASSERT_EQ(StatusOk, veksConvert_32f16s_Sfs(values.data(), result.data(), kLength, mode, factor));
            for (Vek32s i = 0; i < kLength; ++i) {
                const double v = values[i] * scale;
                const double want = std::isnan(v) ? 0 : mode == RoundZero ? std::trunc(v) : mode == RoundNear ? std::nearbyint(v) : std::round(v);
                ASSERT_EQ(Saturated(want), result[i]) << values[i] << " mode " << mode << " factor " << factor << " seed " << Seed();
            }
        }
}

TEST_P(SignalVectorTest, ConversionsDoNotFollowTheCallersRoundingMode)
{
    Vector32f src(9);
    Vector16s dst(9);
    src.Fill([] { return 3.7f; });
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
        for (const int rounding : {RoundZero, RoundNear, RoundHalfAway}) {
            std::fesetround(mode);
            veksConvert_32f16s_Sfs(src.data(), dst.data(), 9, rounding, 0);
            const int after = std::fegetround();
            std::fesetround(FE_TONEAREST);
            EXPECT_EQ(mode, after);
            for (int i = 0; i < 9; ++i)
                EXPECT_EQ(rounding == RoundZero ? 3 : 4, dst[i]) << "mode " << mode << " rounding " << rounding;
        }
}

// The elementwise operations against the arithmetic of this program's own compiler, to the bit.
TEST_P(SignalVectorTest, FloatArithmeticIsExact)
{
    std::mt19937 random(Seed());
    ForEachShape([&](const Shape& shape) {
        const Vek32s n = shape.width;
        auto a = Like<Vek32f>(shape), b = a;
        a.Fill([&] { return AnyFloat(random); });
        b.Fill([&] { return random() % 2 ? std::ldexp(AnyFloat(random), -60) : 1.5f; });
        const auto check = [&](const char* name, auto call, auto expected) {
            auto result = a, want = a;
            for (Vek32s i = 0; i < n; ++i)
                want.set(i, 0, 0, expected(a[i], b[i]));
            ASSERT_EQ(StatusOk, call(result.data()));
            for (Vek32s i = 0; i < n; ++i)
                if (std::isnan(want[i]) && std::isnan(result[i]))
                    want.set(i, 0, 0, result[i]);  // infinity times zero: the sign is the compiler's choice
            ASSERT_EQ(want, result) << name << " " << shape << " seed " << Seed();
        };
        check("abs", [&](float* p) { return veksAbs_32f(a.data(), p, n); }, [](float x, float) { return std::fabs(x); });
        check("mulC", [&](float* p) { return veksMulC_32f_I(-0.3f, p, n); }, [](float x, float) { return x * -0.3f; });
        check("divC", [&](float* p) { return veksDivC_32f_I(3.0f, p, n); }, [](float x, float) { return x * (1.0f / 3.0f); });
        check("mul", [&](float* p) { return veksMul_32f_I(b.data(), p, n); }, [](float x, float y) { return x * y; });
        check("sqr", [&](float* p) { return veksSqr_32f_I(p, n); }, [](float x, float) { return x * x; });
        check("power", [&](float* p) { return veksPowerSpectr_32f(a.data(), b.data(), p, n); },
              [](float x, float y) { const volatile float xx = x * x, yy = y * y; return xx + yy; });
    });
}

TEST_P(SignalVectorTest, ConstantsZeroAndOneDoNotMultiply)
{
    Vector32f v(21), zeros(21);
    v.Fill([i = 0]() mutable { return FromBits(i++ % 2 ? 0xffc12345 : 0x7f800001); });  // NaNs, signalling too
    zeros.Fill([] { return 0.0f; });
    auto result = v;
    EXPECT_EQ(StatusOk, veksMulC_32f_I(1.0f, result.data(), 21));
    EXPECT_EQ(StatusDivideByZero, veksDivC_32f_I(-0.0f, result.data(), 21));
    EXPECT_EQ(v, result);
    EXPECT_EQ(StatusOk, veksMulC_32f_I(-0.0f, result.data(), 21));
    EXPECT_EQ(zeros, result);
}

TEST_P(SignalVectorTest, SquareRootWarnsOfNegativesAndFinishes)
{
    std::mt19937 random(Seed());
    ForEachShape([&](const Shape& shape) {
        auto v = Like<Vek32f>(shape);
        v.Fill([&] { return std::fabs(AnyFloat(random)); });
        const Vek32s odd = (Vek32s)(random() % (uint32_t)shape.width);
        const float oddOnes[] = {-1e-45f, -kInfinity, -0.0f, FromBits(0x7f800001), FromBits(0xff800001), FromBits(0xffc00007)};
        const int kind = (int)(random() % 6);
        v.set(odd, 0, 0, oddOnes[kind]);
        auto want = v;
        for (Vek32s i = 0; i < shape.width; ++i)
            want.set(i, 0, 0, i == odd ? (kind < 2 ? FromBits(0xFFC00000) : v[i]) : std::sqrt(v[i]));
        ASSERT_EQ(kind < 2 ? WarnSqrtOfNegative : StatusOk, veksSqrt_32f_I(v.data(), shape.width));
        ASSERT_EQ(want, v) << shape << " seed " << Seed();
    });
}

// re and im of all exponents, most often close to each other.
void FillComplex(Vector32f& re, Vector32f& im, std::mt19937& random)
{
    const int common = random() % 4 ? (int)(random() % 250) - 125 : 0;  // whole blocks of one exponent take the short path
    re.Fill([&] { return common ? std::ldexp((float)(int32_t)random(), common - 31) : AnyFloat(random); });
    im.Fill([&] { return common ? std::ldexp((float)(int32_t)random(), common - 31 - (int)(random() % 3)) : AnyFloat(random); });
    if (random() % 2) {  // one element out of line: zeros, or what squares cannot hold
        const Vek32s odd = (Vek32s)(random() % (uint32_t)re.length());
        const float sizes[] = {0.0f, 0.0f, 0x1p-90f, 0x1p90f}, size = sizes[random() % 4];
        re.set(odd, 0, 0, random() % 2 ? size : -size);
        im.set(odd, 0, 0, random() % 3 ? -size : im[odd]);
    }
}

TEST_P(SignalVectorTest, MagnitudeAndPhaseStayWithinTheirBounds)
{
    std::mt19937 random(Seed());
    const double magnitudeBound = GetParam() ? 1.2 : 0.5001, phaseBound = GetParam() ? 2.4 : 0.5001;
    for (int round = 0; round < 10; ++round)
        ForEachShape([&](const Shape& shape) {
            const Vek32s n = shape.width;
            auto re = Like<Vek32f>(shape), im = re, magnitude = re, phase = re;
            FillComplex(re, im, random);
            GuardedVector<Vek32fc> z(n, shape.flush, shape.offset);
            for (Vek32s i = 0; i < n; ++i)
                z.set(i, 0, 0, {re[i], im[i]});
            ASSERT_EQ(StatusOk, veksMagnitude_32f(re.data(), im.data(), magnitude.data(), n));
            ASSERT_EQ(StatusOk, veksPhase_32f(re.data(), im.data(), phase.data(), n));
            for (Vek32s i = 0; i < n; ++i) {
                const double x = re[i], y = im[i], length = std::sqrt(x * x + y * y), angle = std::atan2(y, x);
                if (length > std::numeric_limits<float>::max())
                    ASSERT_EQ((float)length, magnitude[i]) << x << " " << y;
                else
                    ASSERT_NEAR(length, magnitude[i], magnitudeBound * UnitInLastPlace(length)) << x << " " << y << " seed " << Seed();
                ASSERT_NEAR(angle, phase[i], phaseBound * UnitInLastPlace(angle)) << y << " " << x << " seed " << Seed();
                ASSERT_EQ(std::signbit(angle), std::signbit(phase[i]));
            }
            auto ofPairs = magnitude;
            ASSERT_EQ(StatusOk, veksMagnitude_32fc(z.data(), ofPairs.data(), n));
            ASSERT_EQ(magnitude, ofPairs);
            ASSERT_EQ(StatusOk, veksMagnitude_32f(re.data(), im.data(), re.data(), n));
            ASSERT_EQ(magnitude, re) << "in place";
        });
}

TEST_P(SignalVectorTest, ExtremesKeepTheFirstAndPassOverNaNs)
{
    std::mt19937 random(Seed());
    ForEachShape([&](const Shape& shape) {
        auto v = Like<Vek32f>(shape);
        const int palette = (int)(random() % 3);
        v.Fill([&]() -> float {
            const float few[] = {0.0f, -0.0f, kNaN, palette == 1 ? -1.0f : 1.0f};
            return palette ? few[random() % 4] : AnyFloat(random);
        });
        const auto check = [&](auto extreme, auto better) {
            Vector32f want(1), result(1);
            want.set(0, 0, 0, v[0]);
            for (Vek32s i = 1; i < shape.width; ++i)
                if (better(v[i], want[0]))
                    want.set(0, 0, 0, v[i]);
            ASSERT_EQ(StatusOk, extreme(v.data(), shape.width, result.data()));
            ASSERT_EQ(want, result) << want[0] << " is " << result[0] << " " << shape << " seed " << Seed();
        };
        check(veksMax_32f, std::greater<float>());
        check(veksMin_32f, std::less<float>());
    });
}

TEST_P(SignalVectorTest, SumsAreHeldInDoublePrecision)
{
    std::mt19937 random(Seed());
    std::uniform_real_distribution<float> noise(-1, 3);
    ForEachShape([&](const Shape& shape) {
        const Vek32s n = shape.width;
        auto v = Like<Vek32f>(shape);
        v.Fill([&] { return random() % 9 == 0 ? 1e6f : noise(random); });
        long double sum = 0, squares = 0;
        for (Vek32s i = 0; i < n; ++i)
            sum += v[i];
        for (Vek32s i = 0; i < n; ++i)
            squares += (v[i] - sum / n) * (v[i] - sum / n);
        const auto call = [&](auto reduce, Vek32s hint, VekStatus status = StatusOk) {
            float result = 77;
            EXPECT_EQ(status, reduce(v.data(), n, &result, hint));
            return result;
        };
        for (const Vek32s hint : {0, 1, 2})
            ASSERT_NEAR((double)sum, call(veksSum_32f, hint), 0.51 * UnitInLastPlace((double)sum) + 1e-9) << shape << " seed " << Seed();
        ASSERT_EQ(OnTier(0, call, veksSum_32f, 1), call(veksSum_32f, 1));
        // Tiers 1 to 3 round the sum, then the quotient.
        const double roundings = 0.51 * (UnitInLastPlace((double)sum) / n + UnitInLastPlace((double)sum / n));
        ASSERT_NEAR((double)sum / n, call(veksMean_32f, 0), roundings + 1e-9) << shape << " seed " << Seed();
        if (n == 1) {
            ASSERT_EQ(77, call(veksStdDev_32f, 0, StatusBadSize));
            return;
        }
        const double deviation = std::sqrt((double)squares / (n - 1));
        ASSERT_NEAR(deviation, call(veksStdDev_32f, 0), 1e-6 * deviation + 1e-6) << shape << " seed " << Seed();
        v.set(0, 0, 0, kNaN);
        ASSERT_EQ(0, call(veksStdDev_32f, 0));
    });
}

// Whole numbers add exactly in any order, so the one rounding more of tiers 1 to 3 shows alone.
TEST_P(SignalVectorTest, MeanRoundsTheSumFirstAboveTier0)
{
    std::mt19937 random(Seed());
    int differences = 0;
    for (int round = 0; round < 200; ++round) {
        const Vek32s n = 3 + (Vek32s)(random() % 60);
        Vector32f v(n);
        double sum = 0;
        v.Fill([&] { const float x = (float)(random() % 16777216); sum += x; return x; });
        const float once = (float)(sum / n), twice = (float)((double)(float)sum / n);
        float result;
        ASSERT_EQ(StatusOk, veksMean_32f(v.data(), n, &result, round % 3));
        ASSERT_EQ(GetParam() ? twice : once, result);
        differences += once != twice;
    }
    EXPECT_GT(differences, 0);
}

TEST_P(SignalVectorTest, BadCallsGiveTheirStatusAndWriteNothing)
{
    const auto expect = [](auto*... calls) { (ExpectBadLengths(calls), ...); };
    expect(veksAddC_16s_I, veksSubC_16s_I, veksLShiftC_16s_I, veksRShiftC_16s_I, veksAdd_16s_Sfs, veksConvert_16s32f, veksConvert_8u32f,
           veksConvert_32f16s_Sfs, veksMulC_32f_I, veksDivC_32f_I, veksSqr_32f_I, veksSqrt_32f_I, veksAbs_32f, veksMul_32f_I, veksMagnitude_32f,
           veksMagnitude_32fc, veksPowerSpectr_32f, veksPhase_32f, veksMax_32f, veksMin_32f, veksSum_32f, veksMean_32f, veksStdDev_32f);
    Vek16s word = 7;
    EXPECT_EQ(StatusBadShift, veksLShiftC_16s_I(-1, &word, 1));
    EXPECT_EQ(StatusBadShift, veksRShiftC_16s_I(-1, &word, 1));
    EXPECT_EQ(7, word);
}

UVEK_ON_ALL_TIERS(SignalVectorTest);

}  // namespace
}  // namespace uvek::test
