// The mixed-radix transform of an odd number of real samples. Each part is a half spectrum in Pack of
// odd length: X[0], Re X[1], Im X[1], .. A butterfly takes term t of f parts of q samples and gives the
// terms t + m q; those above the middle are the conjugates of terms that Pack holds.
#include "fourier/dft_butterfly.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

inline Cx<F> Mirrored(Cx<F> x) { return {Pick<3, 2, 1, 0>(x.re, x.re), Sub(ZeroF(), Pick<3, 2, 1, 0>(x.im, x.im))}; }

// Term i of a Pack spectrum, i from 1, is pair i of this form.
inline Pairs<Vek32f> TermsOf(const Vek32f* spectrum) { return {(Vek32f*)spectrum - 1}; }

template <int f>
void SweepReal(const DftStage& stage, const Vek32f* in, Vek32f* out, int64_t blocks)
{
    const int64_t q = stage.quotient, n = (int64_t)stage.factor * q, middle = stage.factor / 2;
    const Complex* const roots = stage.factorRoots;
    const int64_t groups = DftGroups(q / 2);
    for (int64_t block = 0; block < blocks; ++block, in += n, out += n) {
        const Vek32f* const from = in;
        Vek32f* const to = out;
        const Pairs<Vek32f> terms = TermsOf(to);
        AnyButterfly<false, f, Vek32f>(
            stage.factor, roots, [=](int64_t j) { return Complex{Get(from + j * q), 0}; },
            [=](int64_t m, Complex x) {
                if (m == 0)
                    Put(to, x.re);
                else if (m <= middle)
                    StoreOne(terms, m * q, x);
            });
        for (int64_t group = 0; group < groups; ++group) {
            const Vek32f* const twiddles = DftGroupTwiddles(stage, group);
            const int64_t t = 1 + 4 * group;
            AnyButterfly<false, f, F>(
                stage.factor, roots,
                [=](int64_t j) __attribute__((always_inline)) {
                    const Cx<F> x = Load(TermsOf(from + j * q), t);
                    return j ? MulRoot<false>(x, LoadRoot(twiddles + 8 * (j - 1))) : x;
                },
                [=](int64_t m, Cx<F> x) __attribute__((always_inline)) {
                    if (m <= middle)
                        Store(terms, t + m * q, x);
                    else
                        Store(terms, n - (t + m * q) - 3, Mirrored(x));
                });
        }
        for (int64_t t = 1 + 4 * groups; t <= q / 2; ++t) {
            const Vek32f* const twiddles = DftSingleTwiddles(stage, t - 1);
            AnyButterfly<false, f, Vek32f>(
                stage.factor, roots,
                [=](int64_t j) __attribute__((always_inline)) {
                    const Complex x = LoadOne(TermsOf(from + j * q), t);
                    return j ? MulRoot<false>(x, Complex{twiddles[2 * j - 2], twiddles[2 * j - 1]}) : x;
                },
                [=](int64_t m, Complex x) __attribute__((always_inline)) {
                    if (m <= middle)
                        StoreOne(terms, t + m * q, x);
                    else
                        StoreOne(terms, n - (t + m * q), Complex{x.re, -x.im});
                });
        }
    }
}

void SweepReal(const DftStage& stage, const Vek32f* in, Vek32f* out, int64_t blocks)
{
    switch (stage.factor) {
    case 3: SweepReal<3>(stage, in, out, blocks); break;
    case 5: SweepReal<5>(stage, in, out, blocks); break;
    default: SweepReal<0>(stage, in, out, blocks);
    }
}

template <int f>
void FirstPassReal(const DftSpec& spec, const Vek32f* in, Vek32f* out)
{
    const DftStage& last = spec.factors[spec.lastFactorIndex];
    const Complex* const roots = spec.factors[spec.lastFactorIndex + 1].factorRoots;
    const int64_t r = last.quotient, apart = (int64_t)last.factor * last.stride;
    for (int64_t block = 0; block < last.count; ++block)
        for (int64_t part = 0; part < last.factor; ++part, out += r) {
            const Vek32f* const from = in + spec.digitOrder[block] + part * last.stride;
            Vek32f* const to = out;
            AnyButterfly<false, f, Vek32f>(
                last.quotient, roots, [=](int64_t j) { return Complex{Get(from + j * apart), 0}; },
                [=](int64_t m, Complex x) {
                    if (m == 0)
                        Put(to, x.re);
                    else if (m <= r / 2)
                        StoreOne(TermsOf(to), m, x);
                });
        }
}

// The transform from stage `index` on. The last sweep goes from `work` to `out`; what comes before
// changes between `work` and `other`.
void RunReal(const DftSpec& spec, Vek32s index, const Vek32f* in, Vek32f* out, Vek32f* work, Vek32f* other)
{
    const DftStage& stage = spec.factors[index];
    const int64_t size = (int64_t)stage.factor * stage.quotient;
    if (size > kSweepLimit && index < spec.lastFactorIndex) {
        for (int64_t j = 0; j < stage.factor; ++j) {
            const int64_t at = j * stage.quotient;
            RunReal(spec, index + 1, in + j * stage.stride, work + at, other + at, work + at);
        }
        SweepReal(stage, work, out, 1);
        return;
    }
    Vek32f* here = (spec.lastFactorIndex - index) % 2 ? other : work;
    Vek32f* there = here == work ? other : work;
    switch (spec.factors[spec.lastFactorIndex].quotient) {
    case 3: FirstPassReal<3>(spec, in, here); break;
    case 5: FirstPassReal<5>(spec, in, here); break;
    default: FirstPassReal<0>(spec, in, here);
    }
    for (Vek32s i = spec.lastFactorIndex; i >= index; --i) {
        SweepReal(spec.factors[i], here, i == index ? out : there, spec.factors[i].count);
        Vek32f* const next = there;
        there = here;
        here = next;
    }
}

}  // namespace

void MixedTransformReal(const DftSpec& spec, const Vek32f* src, Vek32f* dst, Vek32f* work)
{
    RunReal(spec, 0, src, dst, work, work + spec.length);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
