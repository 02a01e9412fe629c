#include "support/transform.h"

#include <cmath>

namespace uvek::test {
namespace {

using Number = std::complex<double>;

size_t SmallestFactor(size_t n)
{
    for (size_t f = 2; f * f <= n; ++f)
        if (n % f == 0)
            return f;
    return n;
}

// roots: those of the whole length, of which this part takes every `stride`th.
void TransformPart(const Number* in, size_t stride, size_t n, const Spectrum& roots, Number* out)
{
    if (n == 1) {
        *out = *in;
        return;
    }
    const size_t f = SmallestFactor(n), q = n / f;
    for (size_t j = 0; j < f; ++j)
        TransformPart(in + j * stride, stride * f, q, roots, out + j * q);
    Spectrum x(f);
    for (size_t t = 0; t < q; ++t) {
        for (size_t j = 0; j < f; ++j)
            x[j] = out[j * q + t];
        for (size_t m = 0; m < f; ++m) {
            Number sum = 0;
            for (size_t j = 0; j < f; ++j)
                sum += x[j] * roots[(j * (t + m * q)) % n * stride];
            out[t + m * q] = sum;
        }
    }
}

}  // namespace

Spectrum Transform(const Spectrum& x, int sign)
{
    const double turn = sign * 2 * std::acos(-1.0) / (double)x.size();
    Spectrum roots(x.size()), out(x.size());
    for (size_t k = 0; k < roots.size(); ++k)
        roots[k] = std::polar(1.0, turn * (double)k);
    TransformPart(x.data(), 1, x.size(), roots, out.data());
    return out;
}

double RelativeError(const Spectrum& truth, const Spectrum& got)
{
    double error = 0, power = 0;
    for (size_t i = 0; i < truth.size(); ++i) {
        error += std::norm(truth[i] - got[i]);
        power += std::norm(truth[i]);
    }
    return std::sqrt(error / (power > 0 ? power : 1));
}

}  // namespace uvek::test
