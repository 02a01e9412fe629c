// Transforms of any length, complex and real: the record and its operations.
#ifndef UVEK_FOURIER_DFT_H
#define UVEK_FOURIER_DFT_H

#include "fourier/fft.h"

namespace uvek::VEK_TIER_NAMESPACE {

using Complex = Cx<Vek32f>;

constexpr Vek32u kDftComplex = 13;
constexpr Vek32u kDftReal = 15;
constexpr Vek32s kStageEntries = 20;
constexpr Vek32s kLargestFactor = 150;       // also the longest complex direct transform
constexpr Vek32s kLargestDirectReal = 180;
constexpr int64_t kSweepLimit = 2000;        // points that stay in cache; larger blocks recurse

// One stage of a mixed-radix transform. The factors are those of all entries and, last, the quotient
// of the last entry, whose factorRoots stand in the entry after it.
struct DftStage {
    Vek32s factor;
    Vek32s quotient;  // the length divided by the factors up to this one
    Vek32s stride;    // the product of the factors before
    Vek32s count;     // blocks of factor * quotient points in a sweep
    Complex* factorRoots;
    Vek32f* stageTwiddles;
};

struct DftSpec {
    Vek32u id;
    Vek32s length;
    Vek32u scaleForward;
    Vek32u scaleInverse;
    Vek32f scale;
    Vek32u hint;
    Vek32s workSize;
    Vek32u isPowerOfTwo;
    Vek32u reservedMode;
    Vek32u oddRealMixed;
    Vek32s chirpLength;
    Complex* rootTable;
    Vek32f* realPost;
    Vek32f* realPre;
    Complex* chirp;
    Complex* chirpSpectrum;
    FftSpec<Vek32f>* powerSpec;
    FftSpec<Vek32f>* chirpSpec;
    Vek32u isMixedRadix;
    Vek32s lastFactorIndex;
    Vek32s* digitOrder;
    DftStage factors[kStageEntries];
};
static_assert(sizeof(DftSpec) == 760);

VekStatus DftSpecBuildComplex(DftSpec** ppSpec, Vek32s length, Vek32s flag, Vek32u hint);
VekStatus DftSpecBuildReal(DftSpec** ppSpec, Vek32s length, Vek32s flag, Vek32u hint);
VekStatus DftSpecFreeComplex(DftSpec* pSpec);
VekStatus DftSpecFreeReal(DftSpec* pSpec);
VekStatus DftWorkBytes(const DftSpec* pSpec, Vek32s* pSize);
VekStatus DftForwardComplex(const Complex* pSrc, Complex* pDst, const DftSpec* pSpec, Vek8u* pBuffer);
VekStatus DftInverseComplex(const Complex* pSrc, Complex* pDst, const DftSpec* pSpec, Vek8u* pBuffer);
VekStatus DftForwardReal(const Vek32f* pSrc, Vek32f* pDst, const DftSpec* pSpec, Vek8u* pBuffer);

// ---- The methods, unscaled; src may be dst. `work`: 32-byte aligned ----

template <bool inverse> void MixedTransform(const DftSpec& spec, const Complex* src, Complex* dst, Complex* work);
void MixedTransformReal(const DftSpec& spec, const Vek32f* src, Vek32f* dst, Vek32f* work);

template <bool inverse> void DirectTransform(const Complex* roots, Vek32s n, const Complex* src, Complex* dst, Complex* work);
void DirectTransformReal(const Complex* roots, Vek32s n, const Vek32f* src, Vek32f* dst, Vek32f* work);

// The chirp method runs complex transforms of chirpLength, whose statuses it passes on.
template <bool inverse> VekStatus ChirpTransform(const DftSpec& spec, Vek32s n, const Complex* src, Complex* dst, Vek8u* work);
VekStatus ChirpTransformReal(const DftSpec& spec, Vek32s n, const Vek32f* src, Vek32f* dst, Vek8u* work);

// How many samples the twiddles of a stage take, and where those of t begin: groups of four
// consecutive t, each power as four real and four imaginary parts; then single t as pairs. Tier 0
// has single ones only.
constexpr int64_t DftGroups(int64_t count) { return kBlocks ? count / 4 : 0; }
inline const Vek32f* DftGroupTwiddles(const DftStage& stage, int64_t group) { return stage.stageTwiddles + group * (stage.factor - 1) * 8; }
inline const Vek32f* DftSingleTwiddles(const DftStage& stage, int64_t index)  // index >= 4 groups
{
    return stage.stageTwiddles + index * (stage.factor - 1) * 2;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
