#include "uvek/jpeg.h"

#include <array>
#include <cmath>
#include <functional>

#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

using Samples = std::array<Vek8u, 64>;
using Coefficients = std::array<Vek16s, 64>;
using Table = std::array<Vek16u, 64>;
using Raw = std::array<Vek8u, 64>;

class JpegDctTest : public TierTest {
protected:
    std::mt19937 random_{Seed()};
};

Raw UniformRaw(int step)
{
    Raw raw;
    raw.fill((Vek8u)step);
    return raw;
}

Table ForwardTable(const Raw& raw)
{
    Table table;
    vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), table.data());
    return table;
}

Table Uniform(int value)
{
    Table table;
    table.fill((Vek16u)value);
    return table;
}

Coefficients Forward(const Samples& samples, const Table& table)
{
    Coefficients out;
    EXPECT_EQ(StatusOk, vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples.data(), 8, out.data(), table.data()));
    return out;
}

Samples Inverse(const Coefficients& coefficients, const Table& table)
{
    Samples out;
    EXPECT_EQ(StatusOk, vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(coefficients.data(), out.data(), 8, table.data()));
    return out;
}

double Basis(int k, int n) { return (k == 0 ? std::sqrt(0.125) : 0.5) * std::cos((2 * n + 1) * k * M_PI / 16); }

// The transform and its inverse by their sums, in double.
std::array<double, 64> Transform(const std::array<double, 64>& in, bool inverse)
{
    std::array<double, 64> rows{}, out{};
    for (int y = 0; y < 8; ++y)
        for (int k = 0; k < 8; ++k)
            for (int n = 0; n < 8; ++n)
                rows[8 * y + k] += in[8 * y + n] * (inverse ? Basis(n, k) : Basis(k, n));
    for (int x = 0; x < 8; ++x)
        for (int k = 0; k < 8; ++k)
            for (int n = 0; n < 8; ++n)
                out[8 * k + x] += rows[8 * n + x] * (inverse ? Basis(n, k) : Basis(k, n));
    return out;
}

// Blocks of noise of every contrast, of extremes, and single basis waves.
Samples RandomSamples(std::mt19937& random)
{
    Samples samples;
    const int kind = (int)(random() % 4), contrast = 1 + (int)(random() % 256), kx = (int)(random() % 8), ky = (int)(random() % 8);
    const int base = (int)(random() % (257 - (unsigned)contrast));
    for (int i = 0; i < 64; ++i) {
        const bool sign = Basis(kx, i % 8) * Basis(ky, i / 8) > 0;
        samples[i] = (Vek8u)(kind == 0 ? (random() & 1 ? 255 : 0) : kind == 1 ? (sign ? 255 : 0) : base + (int)(random() % (unsigned)contrast));
    }
    return samples;
}

// ---- The 16-bit design, sample by sample in int ----

int Sat16(int v) { return std::min(32767, std::max(-32768, v)); }
int Wrap16(int v) { return (Vek16s)v; }
int Adds(int a, int b) { return Sat16(a + b); }
int Subs(int a, int b) { return Sat16(a - b); }
int Mul(int x, int k) { return (x * k) >> 16; }
int NarrowWeight(int row, int k, int n)
{
    static const int scale[4][8] = {{0, 22725, 21407, 19266, 16384, 12873, 8867, 4520},
                                    {0, 31521, 29692, 26722, 22725, 17855, 12299, 6270},
                                    {0, 29692, 27969, 25172, 21407, 16819, 11585, 5906},
                                    {0, 26722, 25172, 22654, 19266, 15137, 10426, 5315}};
    const int* const w = scale[std::min(row, 8 - row) % 4];
    if (k == 0)
        return w[4];
    const double c = std::cos((2 * n + 1) * k * M_PI / 16);
    const int j = (int)std::lround(std::acos(std::fabs(c)) * 16 / M_PI);
    return c > 0 ? w[j] : -w[j];
}

Coefficients NarrowForward(const Samples& samples, const Table& table)
{
    int at[8][8];
    for (int x = 0; x < 8; ++x) {
        int R[8];
        for (int y = 0; y < 8; ++y)
            R[y] = samples[8 * y + x] - 128;
        const int a = Wrap16(Adds(R[1], R[6]) * 8), b = Wrap16(Adds(R[5], R[2]) * 8), e = Adds(R[0], R[7]), g = Adds(R[3], R[4]);
        const int h = Wrap16(Subs(e, g) * 8), k = Wrap16(Adds(e, g) * 8), m = Subs(a, b), n = Adds(a, b);
        at[0][x] = Adds(k, n);
        at[4][x] = Subs(k, n);
        at[2][x] = Adds(h, Mul(m, 27146)) | 1;
        at[6][x] = Subs(Mul(h, 27146), m) | 1;
        const int f = Wrap16(Subs(R[1], R[6]) * 16), l = Wrap16(Subs(R[2], R[5]) * 16);
        const int v = Mul(Adds(f, l), 23170) | 1, z = Mul(Subs(f, l), 23170);
        const int o = Wrap16(Subs(R[0], R[7]) * 8), i = Wrap16(Subs(R[3], R[4]) * 8);
        const int P = Adds(i, z), Q = Subs(i, z), S = Adds(o, v), T = Subs(o, v);
        at[1][x] = Adds(S, Mul(P, 13036)) | 1;
        at[7][x] = Subs(Mul(S, 13036), P);
        const int U = Adds(Mul(Q, -21746), Q), V = Adds(Mul(T, -21746), T);
        at[3][x] = Subs(T, U);
        at[5][x] = Adds(V, Q);
    }
    Coefficients out;
    for (int y = 0; y < 8; ++y)
        for (int k = 0; k < 8; ++k) {
            int sum = 1 << 19;
            for (int n = 0; n < 4; ++n)
                sum += NarrowWeight(y, k, n) * (k & 1 ? Subs(at[y][n], at[y][7 - n]) : Adds(at[y][n], at[y][7 - n]));
            out[8 * y + k] = (Vek16s)Sat16((int)std::nearbyint(Sat16(sum >> 20) * (double)table[8 * y + k] / 32768));
        }
    return out;
}

Samples NarrowInverse(const Coefficients& coefficients, const Table& table)
{
    static const int round[8] = {65536, 2901, 2260, 1704, 1024, 455, 512, 373};
    int R[8][8];
    for (int y = 0; y < 8; ++y)
        for (int n = 0; n < 8; ++n) {
            uint32_t sum = (uint32_t)round[y];
            for (int k = 0; k < 8; ++k)
                sum += (uint32_t)(NarrowWeight(y, k, n) * Sat16(coefficients[8 * y + k] * (Vek16s)table[8 * y + k]));
            R[y][n] = Sat16((int32_t)sum >> 11);
        }
    Samples out;
    for (int x = 0; x < 8; ++x) {
        const auto r = [&](int y) { return R[y][x]; };
        const int m5 = Adds(r(5), Mul(r(5), -21746)), m3 = Adds(r(3), Mul(r(3), -21746)), t35 = Adds(m5, r(3)), d35 = Subs(r(5), m3);
        const int s17 = Adds(Mul(r(7), 13036), r(1)), d17 = Subs(Mul(r(1), 13036), r(7));
        const int s26 = Adds(Mul(r(6), 27146), r(2)), d26 = Subs(Mul(r(2), 27146), r(6));
        const int A = Adds(s17, t35), B = Subs(s17, t35), C = Subs(d17, d35), D = Adds(d17, d35), E = Adds(B, C), F = Subs(B, C);
        const int E2 = Adds(E, Mul(E, -19195)), F2 = Adds(F, Mul(F, -19195)), G = Adds(r(0), r(4)), H = Subs(r(0), r(4));
        const int I = Adds(G, s26), J = Subs(G, s26), K = Adds(H, d26), L = Subs(H, d26);
        const int y[8] = {Adds(I, A), Adds(K, E2), Adds(L, F2), Adds(J, D), Subs(J, D), Subs(L, F2), Subs(K, E2), Subs(I, A)};
        for (int i = 0; i < 8; ++i)
            out[8 * i + x] = (Vek8u)std::min(255, std::max(0, (y[i] >> 6) + 128));
    }
    return out;
}

// ---- Transforms ----

TEST_P(JpegDctTest, ForwardIsTheOrthonormalTransform)
{
    const Table ones = Uniform(32768);
    for (int round = 0; round < 3000; ++round) {
        const Samples samples = RandomSamples(random_);
        std::array<double, 64> shifted;
        for (int i = 0; i < 64; ++i)
            shifted[i] = samples[i] - 128.0;
        const auto exact = Transform(shifted, false);
        const Coefficients got = Forward(samples, ones);
        for (int i = 0; i < 64; ++i)
            ASSERT_NEAR(exact[i], got[i], 1.25) << i;
        if (GetParam() > 0) {
            Table table;
            for (Vek16u& r : table)
                r = (Vek16u)(random_() >> (random_() % 16));
            ASSERT_EQ(NarrowForward(samples, table), Forward(samples, table));
        }
    }
}

TEST_P(JpegDctTest, FlatBlockHasOneCoefficient)
{
    for (int v = 0; v < 256; ++v) {
        Samples samples;
        samples.fill((Vek8u)v);
        Coefficients expected = {};
        expected[0] = (Vek16s)(8 * (v - 128));
        ASSERT_EQ(expected, Forward(samples, Uniform(32768)));
        // The same by a step of 16, where every second block is a tie: 8 (v - 128) / 16 to even.
        expected[0] = (Vek16s)std::nearbyint((v - 128) / 2.0);
        ASSERT_EQ(expected, Forward(samples, Uniform(2048)));
        // And by the entry that a step of 0 leaves, nearly two.
        expected[0] = (Vek16s)(16 * (v - 128));
        ASSERT_EQ(expected, Forward(samples, Uniform(65535)));
    }
}

TEST_P(JpegDctTest, InverseIsTheOrthonormalTransform)
{
    double squares = 0;
    int worst = 0;
    constexpr int rounds = 3000;
    for (int round = 0; round < rounds; ++round) {
        Samples samples = RandomSamples(random_);
        std::array<double, 64> shifted, rounded;
        for (int i = 0; i < 64; ++i)
            shifted[i] = samples[i] - 128.0;
        const int step = 1 + (int)(random_() % 40);
        const auto spectrum = Transform(shifted, false);
        Coefficients coefficients;
        for (int i = 0; i < 64; ++i) {
            coefficients[i] = (Vek16s)std::lround(spectrum[i] / step);
            rounded[i] = coefficients[i] * step;
        }
        const auto exact = Transform(rounded, true);
        const Samples got = Inverse(coefficients, Uniform(step));
        for (int i = 0; i < 64; ++i) {
            const int want = std::min(255, std::max(0, (int)std::lround(exact[i]) + 128));
            worst = std::max(worst, std::abs(want - got[i]));
            squares += (want - got[i]) * (want - got[i]);
        }
    }
    EXPECT_LE(worst, 1);
    EXPECT_LE(squares / (64.0 * rounds), 0.02);  // the mean square error that IEEE 1180 allows
}

TEST_P(JpegDctTest, InverseOfNothingIsGrey)
{
    Samples grey;
    grey.fill(128);
    EXPECT_EQ(grey, Inverse(Coefficients{}, Uniform(255)));
}

// Anything that a corrupt file can hold, with products far past 16 bits and sums past 32.
TEST_P(JpegDctTest, InverseOfWildBlocksFollowsItsDesign)
{
    // 200 * 200 saturates to 32767, eight times the white level, and does not wrap to a negative number. Tier 0's
    // column pass keeps 16 bits of 8 * 32767, which is -8: grey.
    Coefficients edge = {};
    edge[0] = 200;
    Samples flat;
    flat.fill(GetParam() == 0 ? 128 : 255);
    EXPECT_EQ(flat, Inverse(edge, Uniform(200)));
    edge[0] = -32768;
    EXPECT_EQ(flat, Inverse(edge, Uniform(65535)));  // the step reads as -1
    for (int round = 0; round < 3000; ++round) {
        Coefficients coefficients;
        Table table;
        const unsigned shift = random_() % 16, density = 1 + random_() % 8;
        for (int i = 0; i < 64; ++i) {
            coefficients[i] = random_() % density ? (Vek16s)0 : (Vek16s)((Vek16s)random_() >> shift);
            table[i] = (Vek16u)(random_() >> (16 + random_() % 16));
        }
        const Samples got = Inverse(coefficients, table);
        if (GetParam() > 0) {
            ASSERT_EQ(NarrowInverse(coefficients, table), got);
        }
    }
}

TEST_P(JpegDctTest, AnyAddressGivesTheSameAndNothingElseIsTouched)
{
    for (int offset = 0; offset < 16; ++offset) {
        for (const Flush flush : {Flush::End, Flush::Start}) {
            GuardedImage<Vek8u> samples(Shape{8, 8, offset % 5, false, flush, offset});
            samples.Fill(std::ref(random_));
            GuardedVector<Vek16s> coefficients(64, flush, offset);
            GuardedVector<Vek16u> table(64, flush, offset ^ 1);
            table.Fill([&] { return 32768 / (1 + random_() % 20); });
            Samples packed;
            Table alignedTable;
            for (int i = 0; i < 64; ++i) {
                packed[i] = samples.at(i % 8, i / 8);
                alignedTable[i] = table[i];
            }
            ASSERT_EQ(StatusOk, vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples.data(), samples.step(), coefficients.data(), table.data()));
            ASSERT_TRUE(coefficients.IsSlackIntact());
            const Coefficients expected = Forward(packed, alignedTable);
            for (int i = 0; i < 64; ++i)
                ASSERT_EQ(expected[i], coefficients[i]);

            GuardedImage<Vek8u> back(samples.shape());
            ASSERT_EQ(StatusOk, vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(coefficients.data(), back.data(), back.step(), table.data()));
            GuardedImage<Vek8u> want(samples.shape());
            const Samples plain = Inverse(expected, alignedTable);
            int i = 0;
            want.Fill([&] { return plain[i++]; });
            ASSERT_TRUE(want == back) << back;
        }
    }
}

// ---- Tables ----

TEST_P(JpegDctTest, PreparedTablesStandInRowOrder)
{
    // The first diagonals of the scan and its last position.
    const int natural[] = {0, 1, 8, 16, 9, 2, 3, 10, 17, 24, 32, 25, 18, 11, 4, 5};
    Raw raw = {};
    for (int k = 0; k < 64; ++k)
        raw[k] = (Vek8u)(k + 1);
    Table inverse, forward;
    ASSERT_EQ(StatusOk, vekiQuantInvTableInit_JPEG_8u16u(raw.data(), inverse.data()));
    ASSERT_EQ(StatusOk, vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), forward.data()));
    for (int k = 0; k < 16; ++k)
        EXPECT_EQ(k + 1, inverse[natural[k]]);
    // Walking the second half backwards mirrors the first: position 63 - k stands at 63 - natural.
    for (int k = 0; k < 16; ++k)
        EXPECT_EQ(64 - k, inverse[63 - natural[k]]);
    std::array<int, 65> seen = {};
    for (int i = 0; i < 64; ++i) {
        ++seen[inverse[i]];
        EXPECT_EQ(std::lround(32768.0 / inverse[i]), forward[i]);
    }
    for (int k = 1; k <= 64; ++k)
        EXPECT_EQ(1, seen[k]);
    // Neighbours of the scan are neighbours in the block, diagonals included.
    std::array<int, 64> place;
    for (int i = 0; i < 64; ++i)
        place[inverse[i] - 1] = i;
    for (int k = 1; k < 64; ++k) {
        EXPECT_LE(std::abs(place[k] % 8 - place[k - 1] % 8), 1);
        EXPECT_LE(std::abs(place[k] / 8 - place[k - 1] / 8), 1);
    }
}

TEST_P(JpegDctTest, ReciprocalsAreRoundedAndZeroWarns)
{
    for (int step = 1; step < 256; ++step)
        ASSERT_EQ(std::lround(32768.0 / step), ForwardTable(UniformRaw(step))[step % 64]);
    Raw raw = UniformRaw(10);
    raw[63] = 0;
    Table table;
    EXPECT_EQ(WarnDivideByZero, vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), table.data()));
    EXPECT_EQ(65535, table[63]);
    EXPECT_EQ(3277, table[62]);
}

TEST_P(JpegDctTest, QualityScalesTables)
{
    const auto scaled = [](int entry, Vek32s quality) {
        Raw raw = UniformRaw(entry);
        EXPECT_EQ(StatusOk, vekiQuantFwdRawTableInit_JPEG_8u(raw.data(), quality));
        EXPECT_EQ(UniformRaw(raw[17]), raw);
        return (int)raw[17];
    };
    EXPECT_EQ(1, scaled(0, 50));
    EXPECT_EQ(16, scaled(16, 50));
    EXPECT_EQ(250, scaled(5, 1));
    EXPECT_EQ(255, scaled(6, 1));
    EXPECT_EQ(8, scaled(16, 75));
    EXPECT_EQ(17, scaled(16, 47));  // 5000 / 47 is 106: 16.96, and a half is added
    EXPECT_EQ(255, scaled(255, 50));
    for (const Vek32s quality : {100, 101, 125, 0x40000000, 0x40000064, 2147483647})
        for (const int entry : {0, 1, 99, 255})
            EXPECT_EQ(1, scaled(entry, quality));
}

TEST_P(JpegDctTest, BadCallsInOrder)
{
    Raw raw = UniformRaw(7);
    Table table = Uniform(9);
    Samples samples = {};
    Coefficients coefficients = {};
    EXPECT_EQ(StatusNullPointer, vekiQuantFwdRawTableInit_JPEG_8u(nullptr, 0));
    EXPECT_EQ(StatusBadRange, vekiQuantFwdRawTableInit_JPEG_8u(raw.data(), 0));
    EXPECT_EQ(StatusBadRange, vekiQuantFwdRawTableInit_JPEG_8u(raw.data(), -2147483647 - 1));
    for (const auto prepare : {vekiQuantFwdTableInit_JPEG_8u16u, vekiQuantInvTableInit_JPEG_8u16u}) {
        EXPECT_EQ(StatusNullPointer, prepare(nullptr, table.data()));
        EXPECT_EQ(StatusNullPointer, prepare(raw.data(), nullptr));
    }
    const auto forward = vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R;
    EXPECT_EQ(StatusNullPointer, forward(nullptr, 0, coefficients.data(), table.data()));
    EXPECT_EQ(StatusNullPointer, forward(samples.data(), 0, nullptr, table.data()));
    EXPECT_EQ(StatusBadStep, forward(samples.data(), 0, coefficients.data(), nullptr));
    EXPECT_EQ(StatusBadStep, forward(samples.data(), -8, coefficients.data(), table.data()));
    EXPECT_EQ(StatusNullPointer, forward(samples.data(), 1, coefficients.data(), nullptr));
    const auto inverse = vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R;
    EXPECT_EQ(StatusNullPointer, inverse(nullptr, samples.data(), 0, table.data()));
    EXPECT_EQ(StatusNullPointer, inverse(coefficients.data(), nullptr, 0, table.data()));
    EXPECT_EQ(StatusBadStep, inverse(coefficients.data(), samples.data(), 0, nullptr));
    EXPECT_EQ(StatusNullPointer, inverse(coefficients.data(), samples.data(), 8, nullptr));
    EXPECT_EQ(UniformRaw(7), raw);
    EXPECT_EQ(Uniform(9), table);
    EXPECT_EQ(Samples{}, samples);
    EXPECT_EQ(Coefficients{}, coefficients);
}

UVEK_ON_ALL_TIERS(JpegDctTest);

}  // namespace
}  // namespace uvek::test
