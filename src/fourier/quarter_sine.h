// Roots of unity of power-of-two orders, from a quarter wave of sines.
#ifndef UVEK_FOURIER_QUARTER_SINE_H
#define UVEK_FOURIER_QUARTER_SINE_H

#include "fourier/lanes.h"
#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {

constexpr Vek64f kTwoPi = 6.283185307179586;
constexpr Vek32s kConstantSineOrder = 10;

// The sine by its series, for tables that stand in the program.
constexpr Vek64f SineOfTurn(int part, int whole)
{
    const long double x = 6.28318530717958647692528676655900577L * part / whole;
    long double term = x, sum = 0;
    for (int n = 1; n < 24; ++n) {
        sum += term;
        term *= -x * x / ((2.0L * n) * (2.0L * n + 1));
    }
    return (Vek64f)sum;
}

// Sine and cosine of 0 to pi / 4 by the same series, to three quarters of a unit in the last place. Those
// of the C runtimes differ in the last bit from one to the next, and so would spectra in double.
constexpr Vek64f OctantSine(Vek64f x)
{
    const Vek64f z = x * x;
    const Vek64f rest = 1.0 / 362880 + z * (-1.0 / 39916800 + z * (1.0 / 6227020800 + z * (-1.0 / 1307674368000 + z * (1.0 / 355687428096000))));
    return x + x * (z * (-1.0 / 6 + z * (1.0 / 120 + z * (-1.0 / 5040 + z * rest))));
}

constexpr Vek64f OctantCosine(Vek64f x)
{
    const Vek64f z = x * x, half = 0.5 * z, main = 1 - half;
    const Vek64f rest = -1.0 / 3628800 + z * (1.0 / 479001600 + z * (-1.0 / 87178291200 + z * (1.0 / 20922789888000)));
    return main + (((1 - main) - half) + z * (z * (1.0 / 24 + z * (-1.0 / 720 + z * (1.0 / 40320 + z * rest)))));
}

template <typename T>
struct ConstantSines {
    T at[(1 << kConstantSineOrder) / 4 + 1];
};

template <typename T>
constexpr ConstantSines<T> MakeConstantSines()
{
    ConstantSines<T> s = {};
    for (int j = 0; j <= (1 << kConstantSineOrder) / 4; ++j)
        s.at[j] = (T)SineOfTurn(j, 1 << kConstantSineOrder);
    s.at[(1 << kConstantSineOrder) / 4] = 1;
    return s;
}

template <typename T> constexpr ConstantSines<T> kConstantSines = MakeConstantSines<T>();

// sin(2 pi j / 2^order) for j up to a quarter. Up to order 10 one constant table serves; above, a
// table is computed in double and lives as long as this object, which is as long as a build.
template <typename T>
class QuarterSine {
public:
    explicit QuarterSine(Vek32s order)
    {
        if (order <= kConstantSineOrder) {
            table_ = kConstantSines<T>.at;
            return;
        }
        order_ = order;
        const int64_t n = (int64_t)1 << order, quarter = n / 4;
        T* const s = (T*)(owned_ = AllocateBlock((quarter + 1) * (int64_t)sizeof(T)));
        table_ = s;
        if (!s)
            return;
        const Vek64f step = kTwoPi / (Vek64f)n;
        for (int64_t j = 0; j <= n / 8; ++j) {
            s[j] = (T)OctantSine((Vek64f)j * step);
            s[quarter - j] = (T)OctantCosine((Vek64f)j * step);
        }
    }
    ~QuarterSine() { ReleaseBlock(owned_); }
    QuarterSine(const QuarterSine&) = delete;
    QuarterSine& operator=(const QuarterSine&) = delete;

    bool isMissing() const { return !table_; }

    // exp(-2 pi i k / 2^order), for any k of at least 0.
    Cx<T> Root(int64_t k, Vek32s order) const
    {
        const int64_t quarter = (int64_t)1 << order_ >> 2;
        const int64_t turned = k << (order_ - order);
        const int64_t r = turned & (quarter - 1);
        if (turned == quarter)
            return {table_[0], -table_[quarter]};  // of the first quarter, whose cosine ends in a positive zero
        switch (turned / quarter & 3) {
        case 0: return {table_[quarter - r], -table_[r]};
        case 1: return {-table_[r], -table_[quarter - r]};
        case 2: return {-table_[quarter - r], table_[r]};
        default: return {table_[r], table_[quarter - r]};
        }
    }

private:
    const T* table_ = nullptr;
    void* owned_ = nullptr;
    Vek32s order_ = kConstantSineOrder;
};

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
