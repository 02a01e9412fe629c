#include "uvek/jpeg.h"

#include <array>
#include <cmath>

#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

using Samples = std::array<Vek8u, 64>;
using Coefficients = std::array<Vek16s, 64>;
using Table = std::array<Vek16u, 64>;
using Raw = std::array<Vek8u, 64>;

template <typename T>
std::array<T, 64> Flat(int value)
{
    std::array<T, 64> block;
    block.fill((T)value);
    return block;
}

class JpegDctTest : public TierTest {
protected:
    // Both transform guarded blocks at any address, with rows apart, and see that the rest is kept.
    Coefficients Forward(const Samples& samples, const Table& table)
    {
        const Blocks b(AnyShape(), samples, {}, table);
        EXPECT_EQ(StatusOk, vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(b.samples.data(), b.samples.step(), b.coefficients.data(), b.table.data()));
        Coefficients out;
        for (int i = 0; i < 64; ++i)
            out[i] = b.coefficients[i];
        EXPECT_TRUE(Blocks(b.samples.shape(), samples, out, table).coefficients == b.coefficients) << b.samples;
        return out;
    }
    Samples Inverse(const Coefficients& coefficients, const Table& table)
    {
        const Blocks b(AnyShape(), {}, coefficients, table);
        EXPECT_EQ(StatusOk, vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(b.coefficients.data(), b.samples.data(), b.samples.step(), b.table.data()));
        Samples out;
        for (int i = 0; i < 64; ++i)
            out[i] = b.samples.at(i % 8, i / 8);
        EXPECT_TRUE(Blocks(b.samples.shape(), out, coefficients, table).samples == b.samples) << b.samples;
        return out;
    }
    std::mt19937 random_{Seed()};

private:
    struct Blocks {
        Blocks(const Shape& shape, const Samples& s, const Coefficients& c, const Table& t)
            : samples(shape), coefficients(64, shape.flush, shape.offset), table(64, shape.flush, shape.offset ^ 1)
        {
            int i = 0, j = 0, k = 0;
            samples.Fill([&] { return s[i++]; });
            coefficients.Fill([&] { return c[j++]; });
            table.Fill([&] { return t[k++]; });
        }
        GuardedImage<Vek8u> samples;
        GuardedVector<Vek16s> coefficients;
        GuardedVector<Vek16u> table;
    };
    Shape AnyShape() { return {8, 8, (Vek32s)(random_() % 5), false, random_() & 1 ? Flush::End : Flush::Start, (int)(random_() % 16)}; }
};

constexpr double kPi = 3.14159265358979323846;

double Basis(int k, int n) { return (k == 0 ? std::sqrt(0.125) : 0.5) * std::cos((2 * n + 1) * k * kPi / 16); }

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
int Adds(int a, int b) { return Sat16(a + b); }
int Subs(int a, int b) { return Sat16(a - b); }
int Up(int v, int bits) { return (Vek16s)(v * (1 << bits)); }
int Mul(int x, int k) { return (x * k) >> 16; }
int TimesTan3(int x) { return Adds(Mul(x, -21746), x); }

int NarrowWeight(int row, int k, int n)
{
    static const int scale[4][8] = {{0, 22725, 21407, 19266, 16384, 12873, 8867, 4520},
                                    {0, 31521, 29692, 26722, 22725, 17855, 12299, 6270},
                                    {0, 29692, 27969, 25172, 21407, 16819, 11585, 5906},
                                    {0, 26722, 25172, 22654, 19266, 15137, 10426, 5315}};
    const int* const w = scale[std::min(row, 8 - row) % 4];
    const double c = std::cos((2 * n + 1) * k * kPi / 16);
    const int j = k == 0 ? 4 : (int)std::lround(std::acos(std::fabs(c)) * 16 / kPi);
    return c > 0 ? w[j] : -w[j];
}

Coefficients NarrowForward(const Samples& samples, const Table& table)
{
    int at[8][8];
    for (int x = 0; x < 8; ++x) {
        int R[8];
        for (int y = 0; y < 8; ++y)
            R[y] = samples[8 * y + x] - 128;
        const int a = Up(Adds(R[1], R[6]), 3), b = Up(Adds(R[5], R[2]), 3), e = Adds(R[0], R[7]), g = Adds(R[3], R[4]);
        const int h = Up(Subs(e, g), 3), k = Up(Adds(e, g), 3), m = Subs(a, b), n = Adds(a, b);
        const int f = Up(Subs(R[1], R[6]), 4), l = Up(Subs(R[2], R[5]), 4), o = Up(Subs(R[0], R[7]), 3), i = Up(Subs(R[3], R[4]), 3);
        const int v = Mul(Adds(f, l), 23170) | 1, z = Mul(Subs(f, l), 23170), P = Adds(i, z), Q = Subs(i, z), S = Adds(o, v), T = Subs(o, v);
        const int out[8] = {Adds(k, n), Adds(S, Mul(P, 13036)) | 1, Adds(h, Mul(m, 27146)) | 1, Subs(T, TimesTan3(Q)),
                            Subs(k, n), Adds(TimesTan3(T), Q), Subs(Mul(h, 27146), m) | 1, Subs(Mul(S, 13036), P)};
        for (int y = 0; y < 8; ++y)
            at[y][x] = out[y];
    }
    Coefficients out;
    for (int i = 0; i < 64; ++i) {
        const int* const x = at[i / 8];
        int sum = 1 << 19;
        for (int n = 0; n < 4; ++n)
            sum += NarrowWeight(i / 8, i % 8, n) * (i & 1 ? Subs(x[n], x[7 - n]) : Adds(x[n], x[7 - n]));
        out[i] = (Vek16s)Sat16((int)std::nearbyint(Sat16(sum >> 20) * (double)table[i] / 32768));
    }
    return out;
}

Samples NarrowInverse(const Coefficients& coefficients, const Table& table)
{
    static const int round[8] = {65536, 2901, 2260, 1704, 1024, 455, 512, 373};
    int R[8][8];  // by column
    for (int i = 0; i < 64; ++i) {
        uint32_t sum = (uint32_t)round[i / 8];
        for (int k = 0, at = i / 8 * 8; k < 8; ++k)
            sum += (uint32_t)(NarrowWeight(i / 8, k, i % 8) * Sat16(coefficients[at + k] * (Vek16s)table[at + k]));
        R[i % 8][i / 8] = Sat16((int32_t)sum >> 11);
    }
    Samples out;
    for (int x = 0; x < 8; ++x) {
        const int* const r = R[x];
        const int t35 = Adds(TimesTan3(r[5]), r[3]), d35 = Subs(r[5], TimesTan3(r[3]));
        const int s17 = Adds(Mul(r[7], 13036), r[1]), d17 = Subs(Mul(r[1], 13036), r[7]);
        const int s26 = Adds(Mul(r[6], 27146), r[2]), d26 = Subs(Mul(r[2], 27146), r[6]);
        const int A = Adds(s17, t35), B = Subs(s17, t35), C = Subs(d17, d35), D = Adds(d17, d35), E = Adds(B, C), F = Subs(B, C);
        const int E2 = Adds(E, Mul(E, -19195)), F2 = Adds(F, Mul(F, -19195)), G = Adds(r[0], r[4]), H = Subs(r[0], r[4]);
        const int I = Adds(G, s26), J = Subs(G, s26), K = Adds(H, d26), L = Subs(H, d26);
        const int y[8] = {Adds(I, A), Adds(K, E2), Adds(L, F2), Adds(J, D), Subs(J, D), Subs(L, F2), Subs(K, E2), Subs(I, A)};
        for (int i = 0; i < 8; ++i)
            out[8 * i + x] = (Vek8u)std::min(255, std::max(0, (y[i] >> 6) + 128));
    }
    return out;
}

// ---- Transforms ----

std::array<double, 64> Centred(const Samples& samples)
{
    std::array<double, 64> shifted;
    for (int i = 0; i < 64; ++i)
        shifted[i] = samples[i] - 128.0;
    return shifted;
}

TEST_P(JpegDctTest, ForwardIsTheOrthonormalTransform)
{
    for (int round = 0; round < 3000; ++round) {
        const Samples samples = RandomSamples(random_);
        const auto exact = Transform(Centred(samples), false);
        const Coefficients got = Forward(samples, Flat<Vek16u>(32768));
        for (int i = 0; i < 64; ++i)
            ASSERT_NEAR(exact[i], got[i], 1.25) << i;
        Table table;
        for (Vek16u& r : table)
            r = (Vek16u)(random_() >> (random_() % 16));
        const Coefficients quantised = Forward(samples, table);
        if (GetParam() > 0) {
            ASSERT_EQ(NarrowForward(samples, table), quantised);
        }
    }
    for (int v = 0; v < 256; ++v) {
        // A flat block has one coefficient. By a step of 16 every second one is a tie: 8 (v - 128) / 16 to even;
        // 65535 is the entry that a step of 0 leaves, nearly two.
        const struct { int entry; double dc; } cases[] = {{32768, 8.0 * (v - 128)}, {2048, std::nearbyint((v - 128) / 2.0)}, {65535, 16.0 * (v - 128)}};
        for (const auto& c : cases) {
            Coefficients expected = {};
            expected[0] = (Vek16s)c.dc;
            ASSERT_EQ(expected, Forward(Flat<Vek8u>(v), Flat<Vek16u>(c.entry)));
        }
    }
}

TEST_P(JpegDctTest, InverseIsTheOrthonormalTransform)
{
    double squares = 0;
    int worst = 0;
    constexpr int rounds = 3000;
    for (int round = 0; round < rounds; ++round) {
        const int step = 1 + (int)(random_() % 40);
        const auto spectrum = Transform(Centred(RandomSamples(random_)), false);
        std::array<double, 64> rounded;
        Coefficients coefficients;
        for (int i = 0; i < 64; ++i) {
            coefficients[i] = (Vek16s)std::lround(spectrum[i] / step);
            rounded[i] = coefficients[i] * step;
        }
        const auto exact = Transform(rounded, true);
        const Samples got = Inverse(coefficients, Flat<Vek16u>(step));
        for (int i = 0; i < 64; ++i) {
            const int want = std::min(255, std::max(0, (int)std::lround(exact[i]) + 128));
            worst = std::max(worst, std::abs(want - got[i]));
            squares += (want - got[i]) * (want - got[i]);
        }
    }
    EXPECT_LE(worst, 1);
    EXPECT_LE(squares / (64.0 * rounds), 0.02);  // the mean square error that IEEE 1180 allows
    EXPECT_EQ(Flat<Vek8u>(128), Inverse({}, Flat<Vek16u>(255)));
}

// Anything that a corrupt file can hold, with products far past 16 bits and sums past 32.
TEST_P(JpegDctTest, InverseOfWildBlocksFollowsItsDesign)
{
    // 200 * 200 saturates to 32767, eight times the white level, and does not wrap to a negative number. Tier 0's
    // column pass keeps 16 bits of 8 * 32767, which is -8: grey. A step of 65535 reads as -1.
    const Samples flat = Flat<Vek8u>(GetParam() == 0 ? 128 : 255);
    EXPECT_EQ(flat, Inverse({200}, Flat<Vek16u>(200)));
    EXPECT_EQ(flat, Inverse({-32768}, Flat<Vek16u>(65535)));
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

// ---- Tables ----

TEST_P(JpegDctTest, PreparedTablesStandInRowOrderAndReciprocalsAreRounded)
{
    for (int first = 1; first < 256; first += 64) {  // all steps up to 255, and 0 in the end
        Raw raw;
        for (int k = 0; k < 64; ++k)
            raw[k] = (Vek8u)(first + k);
        Table inverse, forward;
        ASSERT_EQ(StatusOk, vekiQuantInvTableInit_JPEG_8u16u(raw.data(), inverse.data()));
        ASSERT_EQ(raw[63] ? (VekStatus)StatusOk : WarnDivideByZero, vekiQuantFwdTableInit_JPEG_8u16u(raw.data(), forward.data()));
        // Along the diagonals of the standard's figure, up and down by turns.
        for (int diagonal = 0, k = 0; diagonal < 15; ++diagonal)
            for (int i = std::max(0, diagonal - 7); i <= std::min(7, diagonal); ++i, ++k) {
                const int x = diagonal % 2 ? diagonal - i : i, at = 8 * (diagonal - x) + x;
                ASSERT_EQ(raw[k], inverse[at]);
                ASSERT_EQ(raw[k] ? std::lround(32768.0 / raw[k]) : 65535, forward[at]);
            }
    }
}

TEST_P(JpegDctTest, QualityScalesTables)
{
    const struct { int entry; Vek32s quality; int expected; } cases[] = {
        {0, 50, 1}, {16, 50, 16}, {5, 1, 250}, {6, 1, 255}, {16, 47, 17},  // 5000 / 47 is 106: 16.96, and a half is added
        {255, 100, 1}, {255, 101, 1}, {255, 125, 1}, {255, 0x40000000, 1}, {255, 0x40000064, 1}, {255, 2147483647, 1},
    };
    for (const auto& c : cases) {
        Raw raw = Flat<Vek8u>(c.entry);
        EXPECT_EQ(StatusOk, vekiQuantFwdRawTableInit_JPEG_8u(raw.data(), c.quality));
        EXPECT_EQ(Flat<Vek8u>(c.expected), raw) << c.entry << " at quality " << c.quality;
    }
}

TEST_P(JpegDctTest, BadCallsInOrder)
{
    Raw raw = Flat<Vek8u>(7);
    Table table = Flat<Vek16u>(9);
    Samples samples = {};
    Coefficients coefficients = {};
    EXPECT_EQ(StatusNullPointer, vekiQuantFwdRawTableInit_JPEG_8u(nullptr, 0));
    EXPECT_EQ(StatusBadRange, vekiQuantFwdRawTableInit_JPEG_8u(raw.data(), 0));
    for (const auto prepare : {vekiQuantFwdTableInit_JPEG_8u16u, vekiQuantInvTableInit_JPEG_8u16u}) {
        EXPECT_EQ(StatusNullPointer, prepare(nullptr, table.data()));
        EXPECT_EQ(StatusNullPointer, prepare(raw.data(), nullptr));
    }
    const auto check = [&](auto call) {
        EXPECT_EQ(StatusNullPointer, call(nullptr, 0, coefficients.data(), table.data()));
        EXPECT_EQ(StatusNullPointer, call(samples.data(), 0, nullptr, table.data()));
        EXPECT_EQ(StatusBadStep, call(samples.data(), 0, coefficients.data(), nullptr));
        EXPECT_EQ(StatusNullPointer, call(samples.data(), 1, coefficients.data(), nullptr));
    };
    check(vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R);
    check([](Vek8u* p, Vek32s step, Vek16s* q, const Vek16u* t) { return vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(q, p, step, t); });
    EXPECT_TRUE(raw == Flat<Vek8u>(7) && table == Flat<Vek16u>(9) && samples == Samples{} && coefficients == Coefficients{});
}

UVEK_ON_ALL_TIERS(JpegDctTest);

}  // namespace
}  // namespace uvek::test
