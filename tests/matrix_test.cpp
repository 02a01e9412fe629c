#include "uvek/matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "support/guarded.h"
#include "support/random.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

class QrTest : public TierTest {};

using Matrix = GuardedImage<Vek64f>;

Matrix Rows(std::initializer_list<double> values)
{
    Matrix m(3, 3);
    auto next = values.begin();
    m.Fill([&] { return *next++; });
    return m;
}

// Solves by the two calls, on strided and odd addresses.
VekStatus Solve(const Matrix& a, const double (&b)[3], double (&x)[3])
{
    GuardedVector<Vek64f> buffer(3, Flush::End, 3), rhs(3, Flush::Start, 5), solution(3, Flush::End, 1);
    Matrix qr(Shape{3, 3, 16});
    for (int i = 0; i < 3; ++i)
        rhs.set(i, 0, 0, b[i]);
    const VekStatus status = vekmQRDecomp_m_64f_3x3(a.data(), a.step(), buffer.data(), qr.data(), qr.step());
    if (status != StatusOk)
        return status;
    const VekStatus solved = vekmQRBackSubst_mv_64f_3x3(qr.data(), qr.step(), buffer.data(), rhs.data(), solution.data());
    for (int i = 0; i < 3; ++i)
        x[i] = solution[i];
    return solved;
}

TEST_P(QrTest, SolvesRandomSystemsToTheirCondition)
{
    std::mt19937 random(Seed());
    std::uniform_real_distribution<double> entry(-10, 10);
    for (int round = 0; round < 2000; ++round) {
        Matrix a(Shape{3, 3, 8 * (round % 4), false, Flush::End, round % 16});
        a.Fill([&] { return entry(random); });
        if (round % 3 == 0)  // nearly singular: the last row close to a sum of the others
            for (int c = 0; c < 3; ++c)
                a.set(c, 2, 0, a.at(c, 0) + a.at(c, 1) + 1e-6 * entry(random));
        const double truth[3] = {entry(random), entry(random), entry(random)};
        double b[3], x[3];
        for (int i = 0; i < 3; ++i)
            b[i] = a.at(0, i) * truth[0] + a.at(1, i) * truth[1] + a.at(2, i) * truth[2];
        ASSERT_EQ(StatusOk, Solve(a, b, x));
        // A stable solver's residual is small however bad the condition.
        const double size = std::fabs(x[0]) + std::fabs(x[1]) + std::fabs(x[2]);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(b[i], a.at(0, i) * x[0] + a.at(1, i) * x[1] + a.at(2, i) * x[2], 1e-13 * (10 * size + 100)) << "seed " << Seed();
    }
}

TEST_P(QrTest, IdentityReflectsItsFirstTwoPivots)
{
    const Matrix identity = Rows({1, 0, 0, 0, 1, 0, 0, 0, 1});
    Matrix qr = identity;
    double buffer[3], x[3];
    EXPECT_EQ(StatusOk, vekmQRDecomp_m_64f_3x3(qr.data(), 24, buffer, qr.data(), 24));  // in place
    EXPECT_EQ(qr, Rows({-1, 0, 0, 0, -1, 0, 0, 0, 1}));
    EXPECT_EQ(StatusOk, Solve(identity, {3, -4, 5}, x));
    EXPECT_TRUE(x[0] == 3 && x[1] == -4 && x[2] == 5);
}

TEST_P(QrTest, ZeroPivotTakesTheNegativeRoot)
{
    // Column (0, 3, 4): norm 5, alpha -5, v = (1, -0.6, -0.8), and the pivot becomes +5.
    const Matrix a = Rows({0, 1, 0, 3, 0, 0, 4, 0, 1});
    Matrix qr(3, 3);
    double buffer[3];
    ASSERT_EQ(StatusOk, vekmQRDecomp_m_64f_3x3(a.data(), 24, buffer, qr.data(), 24));
    EXPECT_NEAR(5, qr.at(0, 0), 1e-14);
    EXPECT_NEAR(-0.6, qr.at(0, 1), 1e-15);
    EXPECT_NEAR(-0.8, qr.at(0, 2), 1e-15);
}

TEST_P(QrTest, SingularMatricesStopOrDivideByZero)
{
    double buffer[3], x[3];
    Matrix qr(3, 3);
    const Matrix zeroColumn = Rows({0, 1, 2, 0, 3, 4, 0, 5, 6});
    EXPECT_EQ(StatusDivideByZero, vekmQRDecomp_m_64f_3x3(zeroColumn.data(), 24, buffer, qr.data(), 24));
    EXPECT_EQ(qr, zeroColumn);
    // The second column is a multiple of the first: the first stays factorised.
    const Matrix rankOne = Rows({1, 2, 0, 0, 0, 0, 0, 0, 1});
    EXPECT_EQ(StatusDivideByZero, vekmQRDecomp_m_64f_3x3(rankOne.data(), 24, buffer, qr.data(), 24));
    EXPECT_EQ(-1, qr.at(0, 0));
    // The bound is on the squared norm: 1.4e-8 is below it, 1.6e-8 is not.
    EXPECT_EQ(StatusDivideByZero, Solve(Rows({1.4e-8, 0, 0, 0, 1, 0, 0, 0, 1}), {1, 1, 1}, x));
    EXPECT_EQ(StatusOk, Solve(Rows({1.6e-8, 0, 0, 0, 1, 0, 0, 0, 1}), {1, 1, 1}, x));
    // The last pivot is not tested.
    EXPECT_EQ(StatusOk, Solve(Rows({1, 0, 0, 0, 1, 0, 0, 0, 0}), {1, 1, 1}, x));
    EXPECT_TRUE(std::isinf(x[2]));
}

TEST_P(QrTest, BadCallsGiveTheirStatusAndWriteNothing)
{
    const Matrix a = Rows({1, 2, 3, 4, 5, 6, 7, 8, 10});
    const Matrix before = a;
    double buffer[3] = {7, 7, 7}, b[3] = {1, 2, 3}, x[3] = {9, 9, 9};
    Matrix qr(3, 3);
    const Matrix untouched = qr;
    for (int null = 0; null < 4; ++null) {
        const auto p = [&](int i, auto* pointer) { return i == null ? nullptr : pointer; };
        if (null < 3) {
            EXPECT_EQ(StatusNullPointer, vekmQRDecomp_m_64f_3x3(p(0, a.data()), 0, p(1, buffer), p(2, qr.data()), 28)) << null;
        }
        EXPECT_EQ(StatusNullPointer, vekmQRBackSubst_mv_64f_3x3(p(0, a.data()), 0, p(1, buffer), p(2, b), p(3, x))) << null;
    }
    for (const Vek32s stride : {0, -24, 28, 4, 1}) {
        EXPECT_EQ(StatusBadMatrixStride, vekmQRDecomp_m_64f_3x3(a.data(), stride, buffer, qr.data(), 24));
        EXPECT_EQ(StatusBadMatrixStride, vekmQRDecomp_m_64f_3x3(a.data(), 24, buffer, qr.data(), stride));
        EXPECT_EQ(StatusBadMatrixStride, vekmQRBackSubst_mv_64f_3x3(a.data(), stride, buffer, b, x));
    }
    EXPECT_EQ(untouched, qr);
    EXPECT_EQ(before, a);
    EXPECT_EQ(9, x[0]);
    EXPECT_EQ(7, buffer[0]);
}

UVEK_ON_ALL_TIERS(QrTest);

}  // namespace
}  // namespace uvek::test
