// Householder QR of a 3x3 matrix, and the solution of a system with its factors. The order of the
// operations is part of the contract and the same in every tier.
#include "frame/tier.h"
#include "uvek/matrix.h"

#include <math.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek64f kSmallestSquaredNorm = 2.220446049250313e-16;

struct Matrix3 {
    Vek64f at[3][3];
};

Matrix3 ReadMatrix(const Vek64f* p, Vek32s stride)
{
    Matrix3 m;
    for (int i = 0; i < 3; ++i)
        memcpy(m.at[i], Row(p, stride, i), sizeof m.at[i]);
    return m;
}

void WriteMatrix(const Matrix3& m, Vek64f* p, Vek32s stride)
{
    for (int i = 0; i < 3; ++i)
        memcpy(Row(p, stride, i), m.at[i], sizeof m.at[i]);
}

bool IsGoodStride(Vek32s stride)
{
    return stride >= 1 && stride % (Vek32s)sizeof(Vek64f) == 0;
}

// One reflection, on column j and those to its right; its vector is left in pVector too. False when
// the column is too small.
bool Reflect(Matrix3& m, int j, Vek64f* pVector)
{
    auto& d = m.at;
    Vek64f n2 = 0;
    for (int i = j; i < 3; ++i)
        n2 += d[i][j] * d[i][j];
    if (fabs(n2) < kSmallestSquaredNorm)
        return false;
    const Vek64f n = sqrt(n2), pivot = d[j][j];
    const Vek64f alpha = pivot > 0 ? pivot + n : pivot - n;
    const Vek64f scale = 1 / alpha;

    Vek64f v[3] = {};
    v[j] = 1;
    Vek64f sum = 1;
    for (int i = j + 1; i < 3; ++i) {
        v[i] = d[i][j] * scale;
        sum += v[i] * v[i];
    }
    memcpy(pVector + j, v + j, (size_t)(3 - j) * sizeof v[0]);
    const Vek64f beta = -2 / sum;
    for (int k = j; k < 3; ++k) {
        Vek64f s = d[j][k];
        for (int i = j + 1; i < 3; ++i)
            s += d[i][k] * v[i];
        s *= beta;
        for (int i = j; i < 3; ++i)
            d[i][k] += v[i] * s;
    }
    for (int i = j + 1; i < 3; ++i)
        d[i][j] = v[i];
    return true;
}

}  // namespace

VekStatus vekmQRDecomp_m_64f_3x3(const Vek64f* pSrc, Vek32s srcStride1, Vek64f* pBuffer, Vek64f* pDst, Vek32s dstStride1)
{
    if (!pSrc || !pBuffer || !pDst)                              return StatusNullPointer;
    if (!IsGoodStride(srcStride1) || !IsGoodStride(dstStride1))  return StatusBadMatrixStride;

    Matrix3 m = ReadMatrix(pSrc, srcStride1);
    const bool done = Reflect(m, 0, pBuffer) && Reflect(m, 1, pBuffer);
    WriteMatrix(m, pDst, dstStride1);
    return done ? StatusOk : StatusDivideByZero;
}

VekStatus vekmQRBackSubst_mv_64f_3x3(const Vek64f* pSrc, Vek32s srcStride1, Vek64f* pBuffer, const Vek64f* pSrc2, Vek64f* pDst)
{
    if (!pSrc || !pBuffer || !pSrc2 || !pDst)  return StatusNullPointer;
    if (!IsGoodStride(srcStride1))             return StatusBadMatrixStride;

    const Matrix3 m = ReadMatrix(pSrc, srcStride1);
    const auto& r = m.at;
    const Vek64f u1 = r[1][0], u2 = r[2][0], w = r[2][1];
    const Vek64f b0 = Get(pSrc2), b1 = Get(pSrc2 + 1), b2 = Get(pSrc2 + 2);

    const Vek64f beta1 = -2 / (u1 * u1 + 1 + u2 * u2), beta2 = -2 / (w * w + 1);
    const Vek64f t = beta1 * (u1 * b1 + b0 + u2 * b2);
    const Vek64f y0 = b0 + t, y1 = b1 + u1 * t, y2 = b2 + u2 * t;
    const Vek64f s = beta2 * (w * y2 + y1);
    const Vek64f z1 = y1 + s, z2 = y2 + w * s;
    const Vek64f x2 = z2 / r[2][2];
    const Vek64f x1 = (z1 - r[1][2] * x2) / r[1][1];
    const Vek64f x0 = (y0 - (r[0][2] * x2 + r[0][1] * x1)) / r[0][0];

    Put(pDst, x0);
    Put(pDst + 1, x1);
    Put(pDst + 2, x2);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
