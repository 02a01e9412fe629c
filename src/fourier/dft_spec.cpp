// Chooses the method for a length and builds its tables.
#include <math.h>

#include "fourier/dft.h"
#include "fourier/quarter_sine.h"
#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr bool IsPowerOfTwo(Vek32s n) { return (n & (n - 1)) == 0; }

template <typename E>
bool Allocate(E*& table, int64_t count)
{
    table = (E*)AllocateBlock(count * (int64_t)sizeof(E));
    return table != nullptr;
}

// exp(-2 pi i k / n) for all k below n. Only an octant, a quadrant or a half is computed where n allows
// it; the rest is its reflection.
void FillRoots(Complex* w, int64_t n)
{
    const Vek64f step = kTwoPi / (Vek64f)n;
    const int64_t computed = n % 8 == 0 ? n / 8 : n % 4 == 0 ? n / 4 : n % 2 == 0 ? n / 2 : n - 1;
    for (int64_t k = 0; k <= computed; ++k)
        w[k] = {(Vek32f)cos((Vek64f)k * step), (Vek32f)-sin((Vek64f)k * step)};
    if (n % 8 == 0)
        for (int64_t k = n / 8 + 1; k <= n / 4; ++k)
            w[k] = {-w[n / 4 - k].im, -w[n / 4 - k].re};
    if (n % 4 == 0)
        for (int64_t k = n / 4 + 1; k <= n / 2; ++k)
            w[k] = {-w[n / 2 - k].re, w[n / 2 - k].im};
    if (n % 2 == 0)
        for (int64_t k = n / 2 + 1; k < n; ++k)
            w[k] = {w[n - k].re, -w[n - k].im};
}

// The table lives as long as a build.
class Roots {
public:
    explicit Roots(int64_t n) : n_(n)
    {
        if (Allocate(table_, n))
            FillRoots(table_, n);
    }
    ~Roots() { ReleaseBlock(table_); }
    Roots(const Roots&) = delete;
    Roots& operator=(const Roots&) = delete;

    bool isMissing() const { return !table_; }
    Complex operator[](int64_t k) const { return table_[k]; }
    int64_t count() const { return n_; }

private:
    int64_t n_;
    Complex* table_;
};

struct Factors {
    Vek32s at[kStageEntries + 1];
    Vek32s count = 0;
};

// Fours, then a two, which goes first, then odd divisors up to kLargestFactor; what is left is the last
// factor. False when a prime factor is too large, or when there is only one factor.
bool Factorise(Vek32s n, Factors* pFactors)
{
    Factors& f = *pFactors;
    for (; n % 4 == 0; n /= 4)
        f.at[f.count++] = 4;
    if (n % 2 == 0) {
        if (f.count)
            f.at[f.count] = f.at[0];
        f.at[0] = 2;
        ++f.count;
        n /= 2;
    }
    for (Vek32s d = 3; n >= d * d;) {
        if (n % d == 0) {
            f.at[f.count++] = d;
            n /= d;
        } else if ((d += 2) > kLargestFactor)
            return false;
    }
    const bool isWhole = f.count > 0 && n <= kLargestFactor;
    f.at[f.count++] = n;
    return isWhole;
}

bool FillFactorRoots(DftSpec& spec, const Factors& f, const Roots& roots)
{
    for (Vek32s i = 0; i < f.count; ++i) {
        const Vek32s factor = f.at[i];
        if (factor <= 5)
            continue;
        if (i > 0 && factor == f.at[i - 1]) {
            spec.factors[i].factorRoots = spec.factors[i - 1].factorRoots;
            continue;
        }
        if (!Allocate(spec.factors[i].factorRoots, factor))
            return false;
        for (Vek32s k = 0; k < factor; ++k)
            spec.factors[i].factorRoots[k] = roots[k * (roots.count() / factor)];
    }
    return true;
}

// Entry (t, j) is the root of j t stride; t runs over the quotient, or over the half spectrum's terms
// from 1 in a real transform.
bool FillStageTwiddles(DftStage& stage, int64_t n, bool isReal, const Roots& roots)
{
    const int64_t first = isReal ? 1 : 0, count = isReal ? stage.quotient / 2 : stage.quotient;
    const int64_t powers = stage.factor - 1, scale = roots.count() / n;
    if (!Allocate(stage.stageTwiddles, Max((int64_t)1, count * powers * 2)))
        return false;
    const auto root = [&](int64_t t, int64_t j) { return roots[(first + t) * j * stage.stride * scale]; };
    const int64_t grouped = DftGroups(count) * 4;
    Vek32f* p = stage.stageTwiddles;
    for (int64_t t = 0; t < grouped; t += 4)
        for (int64_t j = 1; j <= powers; ++j, p += 8)
            for (int64_t lane = 0; lane < 4; ++lane) {
                p[lane] = root(t + lane, j).re;
                p[lane + 4] = root(t + lane, j).im;
            }
    for (int64_t t = grouped; t < count; ++t)
        for (int64_t j = 1; j <= powers; ++j, p += 2)
            Put((Complex*)p, root(t, j));
    return true;
}

bool FillDigitOrder(DftSpec& spec)
{
    const Vek32s count = spec.factors[spec.lastFactorIndex].count;
    if (!Allocate(spec.digitOrder, count))
        return false;
    Vek32s* const list = spec.digitOrder;
    Vek32s filled = 1;
    list[0] = 0;
    for (Vek32s i = spec.lastFactorIndex - 1; i >= 0; --i) {
        const Vek32s f = spec.factors[i].factor;
        const Vek32s copies = filled < count ? f : 1;
        for (Vek32s j = copies - 1; j >= 0; --j)  // downward: the list itself is copy 0
            for (Vek32s e = 0; e < filled; ++e)
                list[j * filled + e] = f * list[e] + j;
        filled *= copies;
    }
    return true;
}

VekStatus BuildMixed(DftSpec& spec, Vek32s n, const Factors& f, bool isReal, const Roots& roots)
{
    Vek32s largest = 0;
    for (Vek32s i = 0; i < f.count; ++i)
        if (f.at[i] > 5)
            largest = Max(largest, f.at[i]);
    const int64_t workSize = 8 * ((int64_t)largest + n) + 64;
    if (workSize > kLargestWorkSize)
        return StatusNoMemory;
    spec.workSize = (Vek32s)workSize;
    spec.isMixedRadix = 1;
    spec.lastFactorIndex = f.count - 2;
    Vek32s stride = 1, quotient = n, count = 1;
    for (Vek32s i = 0; i <= spec.lastFactorIndex; ++i) {
        const Vek32s factor = f.at[i], size = quotient;
        quotient /= factor;
        DftStage& stage = spec.factors[i];
        stage.factor = factor;
        stage.quotient = quotient;
        stage.stride = stride;
        stage.count = count;
        stride *= factor;
        count = size > kSweepLimit ? 1 : count * factor;
        if (!FillStageTwiddles(stage, n, isReal, roots))
            return StatusNoMemory;
    }
    return FillFactorRoots(spec, f, roots) && FillDigitOrder(spec) ? StatusOk : StatusNoMemory;
}

VekStatus BuildDirect(DftSpec& spec, Vek32s n, Vek32s workSize, const Roots& roots)
{
    if (!Allocate(spec.rootTable, n))
        return StatusNoMemory;
    for (Vek32s k = 0; k < n; ++k)
        spec.rootTable[k] = roots[k * (roots.count() / n)];
    spec.workSize = workSize;
    return StatusOk;
}

VekStatus BuildChirp(DftSpec& spec, Vek32s n, Vek32u hint)
{
    Vek32s order = 0;
    while ((int64_t)1 << order < 2 * (int64_t)n - 1)
        ++order;
    const VekStatus status = FftSpecBuild(&spec.chirpSpec, order, FftScaleNone, hint);
    if (status != StatusOk)
        return status == StatusBadFftOrder ? StatusNoMemory : status;
    const int64_t length = (int64_t)1 << order;
    if (8 * length + spec.chirpSpec->workSize + 32 > kLargestWorkSize)
        return StatusNoMemory;
    spec.chirpLength = (Vek32s)length;
    const Roots roots(2 * (int64_t)n);
    if (roots.isMissing() || !Allocate(spec.chirp, n) || !Allocate(spec.chirpSpectrum, length))
        return StatusNoMemory;
    memset((void*)spec.chirpSpectrum, 0, (size_t)length * sizeof(Complex));
    int64_t index = 0;  // k squared, modulo 2 n
    for (int64_t k = 0; k < n; ++k) {
        const Complex w = roots[index];
        spec.chirp[k] = w;
        spec.chirpSpectrum[k] = {w.re, -w.im};
        if (k > 0)
            spec.chirpSpectrum[length - k] = spec.chirpSpectrum[k];
        index = (index + 2 * k + 1) % (2 * (int64_t)n);
    }
    const VekStatus transformed = FftForwardInterleaved(spec.chirpSpectrum, spec.chirpSpectrum, (const FftSpec<Vek32f>*)spec.chirpSpec, nullptr);
    if (transformed != StatusOk)
        return transformed;
    ScaleSamples((Vek32f*)spec.chirpSpectrum, 2 * length, 1.0f / (Vek32f)length);
    spec.workSize = (Vek32s)(8 * (Vek32u)length + (Vek32u)spec.chirpSpec->workSize + 32);
    return StatusOk;
}

VekStatus BuildPowerOfTwo(DftSpec& spec, Vek32s flag, bool isReal)
{
    Vek32s order = 0;
    while (1 << order < spec.length)
        ++order;
    spec.isPowerOfTwo = 1;
    if (isReal) {
        const VekStatus status = FftRealSpecBuild(&spec.powerSpec, order, flag, spec.hint);
        return status != StatusOk ? status : FftRealWorkBytes((const FftSpec<Vek32f>*)spec.powerSpec, &spec.workSize);
    }
    const VekStatus status = FftSpecBuild(&spec.powerSpec, order, flag, spec.hint);
    return status != StatusOk ? status : FftWorkBytes((const FftSpec<Vek32f>*)spec.powerSpec, &spec.workSize);
}

// In the layout of the power-of-two real transforms.
bool FillRealPost(DftSpec& spec, const Roots& roots)
{
    const int64_t pairs = (spec.length / 2 - 1) / 2;
    if (!Allocate(spec.realPost, (pairs + 3) / 4 * 8 + 2) || !Allocate(spec.realPre, (pairs + 3) / 4 * 8 + 2))
        return false;
    for (int64_t k = kBlocks ? 1 : 0; k <= pairs; ++k) {
        const Complex w = roots[k];
        const int64_t first = kBlocks ? (k - 1) / 4 * 8 + (k - 1) % 4 : 2 * k, second = first + (kBlocks ? 4 : 1);
        spec.realPost[first] = 0.5f * w.re;
        spec.realPost[second] = (Vek32f)(0.5 + 0.5 * (Vek64f)w.im);
        spec.realPre[first] = w.re;
        spec.realPre[second] = w.im;
    }
    return true;
}

VekStatus BuildMethod(DftSpec& spec, Vek32s flag, bool isReal)
{
    const Vek32s length = spec.length;
    if (length < 5)
        return StatusOk;
    if (IsPowerOfTwo(length))
        return BuildPowerOfTwo(spec, flag, isReal);
    const Roots roots(length);
    if (roots.isMissing())
        return StatusNoMemory;

    const bool isOddReal = isReal && length % 2;
    if (isReal && !isOddReal && !FillRealPost(spec, roots))
        return StatusNoMemory;
    const Vek32s n = isReal && !isOddReal ? length / 2 : length;  // a real even length runs a complex half
    Factors factors;
    if (Factorise(n, &factors)) {
        spec.oddRealMixed = isOddReal;
        return BuildMixed(spec, n, factors, isOddReal, roots);
    }
    if (n <= (isOddReal ? kLargestDirectReal : kLargestFactor))
        return BuildDirect(spec, n, (isReal ? 4 : 8) * length + 32, roots);
    return BuildChirp(spec, n, spec.hint);
}

void Release(DftSpec* spec)
{
    for (Vek32s i = 0; i < kStageEntries; ++i) {
        ReleaseBlock(spec->factors[i].stageTwiddles);
        if (i == 0 || spec->factors[i].factorRoots != spec->factors[i - 1].factorRoots)
            ReleaseBlock(spec->factors[i].factorRoots);
    }
    ReleaseBlock(spec->digitOrder);
    ReleaseBlock(spec->rootTable);
    ReleaseBlock(spec->realPost);
    ReleaseBlock(spec->realPre);
    ReleaseBlock(spec->chirp);
    ReleaseBlock(spec->chirpSpectrum);
    if (spec->powerSpec)
        spec->powerSpec->id == kFftReal ? FftRealSpecFree(spec->powerSpec) : FftSpecFree(spec->powerSpec);
    if (spec->chirpSpec)
        FftSpecFree(spec->chirpSpec);
    spec->id = 0;
    ReleaseBlock(spec);
}

VekStatus Build(DftSpec** ppSpec, Vek32s length, Vek32s flag, Vek32u hint, Vek32u id)
{
    if (!ppSpec)     return StatusNullPointer;
    if (length < 1)  return StatusBadSize;
    DftSpec* const spec = (DftSpec*)AllocateBlock(sizeof(DftSpec));
    if (!spec)       return StatusNoMemory;

    memset((void*)spec, 0, sizeof *spec);
    spec->id = id;
    spec->length = length;
    spec->hint = hint;
    Scaling<Vek32f> scaling;
    VekStatus status = StatusBadFftFlag;
    if (ScalingOf(flag, length, &scaling)) {
        spec->scaleForward = scaling.forward;
        spec->scaleInverse = scaling.inverse;
        spec->scale = scaling.scale;
        status = BuildMethod(*spec, flag, id == kDftReal);
    }
    if (status == StatusOk)
        *ppSpec = spec;
    else
        Release(spec);
    return status;
}

VekStatus Free(DftSpec* pSpec, Vek32u id)
{
    if (!pSpec)           return StatusNullPointer;
    if (pSpec->id != id)  return StatusBadContext;

    Release(pSpec);
    return StatusOk;
}

}  // namespace

VekStatus DftSpecBuildComplex(DftSpec** ppSpec, Vek32s length, Vek32s flag, Vek32u hint) { return Build(ppSpec, length, flag, hint, kDftComplex); }
VekStatus DftSpecBuildReal(DftSpec** ppSpec, Vek32s length, Vek32s flag, Vek32u hint) { return Build(ppSpec, length, flag, hint, kDftReal); }
VekStatus DftSpecFreeComplex(DftSpec* pSpec) { return Free(pSpec, kDftComplex); }
VekStatus DftSpecFreeReal(DftSpec* pSpec) { return Free(pSpec, kDftReal); }

VekStatus DftWorkBytes(const DftSpec* pSpec, Vek32s* pSize)
{
    if (!pSpec || !pSize)                                      return StatusNullPointer;
    if (pSpec->id != kDftComplex && pSpec->id != kDftReal)     return StatusBadContext;

    *pSize = pSpec->workSize;
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
