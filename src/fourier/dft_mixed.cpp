// The mixed-radix transform of complex data: decimation in time, depth first above kSweepLimit
// points, in sweeps below.
#include "fourier/dft_butterfly.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// One sweep of a stage over `blocks` blocks of factor * quotient points, from `in` to `out`, which may
// be the same. Four consecutive t fill a register; the t left over run in four blocks at a time.
template <bool inverse, int f>
void SweepStage(const DftStage& stage, const Complex* in, Complex* out, int64_t blocks)
{
    const int64_t q = stage.quotient, factor = f ? f : stage.factor, size = factor * q;
    const Complex* const roots = stage.factorRoots;
    const int64_t groups = DftGroups(q);
    for (int64_t block = 0; block < blocks; ++block) {
        const Pairs<Vek32f> from{(Vek32f*)(in + block * size)}, to{(Vek32f*)(out + block * size)};
        for (int64_t group = 0; group < groups; ++group) {
            const Vek32f* const twiddles = DftGroupTwiddles(stage, group);
            AnyButterfly<inverse, f, F>(
                stage.factor, roots,
                [=](int64_t j) __attribute__((always_inline)) {
                    const Cx<F> x = Load(from, 4 * group + j * q);
                    return j ? MulRoot<inverse>(x, LoadRoot(twiddles + 8 * (j - 1))) : x;
                },
                [=](int64_t m, Cx<F> x) __attribute__((always_inline)) { Store(to, 4 * group + m * q, x); });
        }
    }
    for (int64_t t = 4 * groups; t < q; ++t) {
        const Vek32f* const twiddles = DftSingleTwiddles(stage, t);
        int64_t block = 0;
        for (; kBlocks && blocks - block >= 4; block += 4) {
            const Complex* const from = in + block * size + t;
            Complex* const to = out + block * size + t;
            AnyButterfly<inverse, f, F>(
                stage.factor, roots,
                [=](int64_t j) __attribute__((always_inline)) {
                    const Complex* const p = from + j * q;
                    const Cx<F> x = LoadFour(p, p + size, p + 2 * size, p + 3 * size);
                    return j ? MulRoot<inverse>(x, SplatRoot(twiddles + 2 * (j - 1))) : x;
                },
                [=](int64_t m, Cx<F> x) __attribute__((always_inline)) { StoreFour(to + m * q, size, x); });
        }
        for (; block < blocks; ++block) {
            const Complex* const from = in + block * size + t;
            Complex* const to = out + block * size + t;
            AnyButterfly<inverse, f, Vek32f>(
                stage.factor, roots,
                [=](int64_t j) __attribute__((always_inline)) {
                    const Complex x = Get(from + j * q);
                    return j ? MulRoot<inverse>(x, Complex{twiddles[2 * j - 2], twiddles[2 * j - 1]}) : x;
                },
                [=](int64_t m, Complex x) __attribute__((always_inline)) { Put(to + m * q, x); });
        }
    }
}

template <bool inverse>
void Sweep(const DftStage& stage, const Complex* in, Complex* out, int64_t blocks)
{
    switch (stage.factor) {
    case 2: SweepStage<inverse, 2>(stage, in, out, blocks); break;
    case 3: SweepStage<inverse, 3>(stage, in, out, blocks); break;
    case 4: SweepStage<inverse, 4>(stage, in, out, blocks); break;
    case 5: SweepStage<inverse, 5>(stage, in, out, blocks); break;
    default: SweepStage<inverse, 0>(stage, in, out, blocks);
    }
}

// The innermost transforms, of the last factor: their inputs stand factor * stride apart, their
// outputs lie one behind another.
template <bool inverse, int f>
void FirstPass(const DftSpec& spec, const Complex* in, Complex* out)
{
    const DftStage& last = spec.factors[spec.lastFactorIndex];
    const Complex* const roots = spec.factors[spec.lastFactorIndex + 1].factorRoots;
    const int64_t r = last.quotient, factor = last.factor, stride = last.stride, apart = factor * stride;
    const int64_t transforms = last.count * factor;
    const auto source = [=, &spec](int64_t i) { return in + spec.digitOrder[i / factor] + i % factor * stride; };
    int64_t i = 0;
    for (; kBlocks && transforms - i >= 4; i += 4) {
        const Complex *const a = source(i), *const b = source(i + 1), *const c = source(i + 2), *const d = source(i + 3);
        Complex* const to = out + i * r;
        AnyButterfly<inverse, f, F>(
            last.quotient, roots,
            [=](int64_t j) __attribute__((always_inline)) { return LoadFour(a + j * apart, b + j * apart, c + j * apart, d + j * apart); },
            [=](int64_t m, Cx<F> x) __attribute__((always_inline)) { StoreFour(to + m, r, x); });
    }
    for (; i < transforms; ++i) {
        const Complex* const from = source(i);
        Complex* const to = out + i * r;
        AnyButterfly<inverse, f, Vek32f>(
            last.quotient, roots, [=](int64_t j) __attribute__((always_inline)) { return Get(from + j * apart); },
            [=](int64_t m, Complex x) __attribute__((always_inline)) { Put(to + m, x); });
    }
}

// The transform from stage `index` on, of factor * quotient points. The last sweep goes from `work` to
// `out`; everything before it stays in `work`.
template <bool inverse>
void RunStages(const DftSpec& spec, Vek32s index, const Complex* in, Complex* work, Complex* out)
{
    const DftStage& stage = spec.factors[index];
    const int64_t size = (int64_t)stage.factor * stage.quotient;
    if (size > kSweepLimit && index < spec.lastFactorIndex) {
        for (int64_t j = 0; j < stage.factor; ++j) {
            Complex* const part = work + j * stage.quotient;
            RunStages<inverse>(spec, index + 1, in + j * stage.stride, part, part);
        }
        Sweep<inverse>(stage, work, out, 1);
        return;
    }
    switch (spec.factors[spec.lastFactorIndex].quotient) {
    case 3: FirstPass<inverse, 3>(spec, in, work); break;
    case 5: FirstPass<inverse, 5>(spec, in, work); break;
    default: FirstPass<inverse, 0>(spec, in, work);
    }
    for (Vek32s i = spec.lastFactorIndex; i >= index; --i)
        Sweep<inverse>(spec.factors[i], work, i == index ? out : work, spec.factors[i].count);
}

}  // namespace

template <bool inverse>
void MixedTransform(const DftSpec& spec, const Complex* src, Complex* dst, Complex* work)
{
    RunStages<inverse>(spec, 0, src, src == dst ? work : dst, dst);
}

template void MixedTransform<false>(const DftSpec&, const Complex*, Complex*, Complex*);
template void MixedTransform<true>(const DftSpec&, const Complex*, Complex*, Complex*);

}  // namespace uvek::VEK_TIER_NAMESPACE
