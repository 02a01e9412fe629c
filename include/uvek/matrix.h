/* QR of 3x3 matrices in double precision, by Householder reflections. */
#ifndef UVEK_MATRIX_H
#define UVEK_MATRIX_H

#include "uvek/base.h"

UVEK_BEGIN

/* Factorises a 3x3 matrix: R on and above the diagonal of pDst, and below it, column by column, the
   Householder vectors without their first element, which is 1. srcStride1, dstStride1: bytes between
   rows, positive multiples of 8 (24 is packed). pBuffer: 3 doubles of scratch. pDst may be pSrc.
   A pivot of exactly 0 takes the negative root. The last diagonal element is not tested, so that a
   matrix of rank 2 may factorise with a last element of 0.
   Returns StatusNullPointer, StatusBadMatrixStride, StatusDivideByZero (the squared norm of a
   column's rest is below 2.220446049250313e-16; earlier columns stay factorised), StatusOk. */
VekStatus vekmQRDecomp_m_64f_3x3(const Vek64f* pSrc, Vek32s srcStride1, Vek64f* pBuffer, Vek64f* pDst, Vek32s dstStride1);

/* Solves A x = b with the factors of vekmQRDecomp_m_64f_3x3. pSrc, srcStride1: the factors and the
   bytes between their rows. pBuffer: not null, not used. pSrc2: the 3 elements of b. pDst: the 3 of
   x, may be pSrc2. A zero on the diagonal of R gives infinities or NaN.
   Returns StatusNullPointer, StatusBadMatrixStride, StatusOk. */
VekStatus vekmQRBackSubst_mv_64f_3x3(const Vek64f* pSrc, Vek32s srcStride1, Vek64f* pBuffer, const Vek64f* pSrc2, Vek64f* pDst);

UVEK_END

#endif
