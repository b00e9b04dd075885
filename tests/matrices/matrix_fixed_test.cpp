// Fixed matrices: layout, arithmetic, determinant and inverse with their boundaries, predicates,
// norms, conversions, the transform builders (as callers rely on them) and the 3D rotations.
#include <ml/matrix_fixed.h>

#include <matrix_fixed_test_support.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

using namespace fixed_matrix_test;

namespace {

template <class M>
class FixedMatrixTyped : public ::testing::Test {};
TYPED_TEST_SUITE(FixedMatrixTyped, AllMatrices);
template <class T>
class FixedMatrixReal : public ::testing::Test {};
TYPED_TEST_SUITE(FixedMatrixReal, RealTypes);

TYPED_TEST(FixedMatrixTyped, PlainRowMajorValueThatStartsAtZero) {
    using M = TypeParam;
    using T = Elem<M>;
    constexpr int n = kN<M>;
    static_assert(std::is_standard_layout_v<M> && std::is_trivially_copyable_v<M> &&
                  !std::is_polymorphic_v<M> && sizeof(M) == n * n * sizeof(T));
    static_assert(CMLMatrix2<T>::Size() == 2 && CMLMatrix3<T>::Size() == 3 &&
                  CMLMatrix4<T>::Size() == 4 && M::RowsNb() == n && M::ColsNb() == n);
    T src[16];
    for (int k = 0; k < 16; ++k)
        src[k] = T(k + 1);
    const M zero, ignored(3, 7), m(src);  // the two ints are ignored
    M set = Random<M>(3), diag = set;
    set.SetConstant(T(-2));
    diag.SetDiagonal(T(5));
    for (int k = 0; k < n * n; ++k) {
        EXPECT_EQ(zero[k] + ignored[k], T(0));
        EXPECT_EQ(m(k / n, k % n), T(k + 1));
        EXPECT_EQ(set[k], T(-2));
        EXPECT_EQ(diag[k], k % (n + 1) == 0 ? T(5) : T(0));
    }
}

TEST(FixedMatrixBlocks, PartsByRowsOrColumnsAndNothingOutside) {
    CMLMatrix4<double> m;
    const double src[6] = {1, 2, 3, 4, 5, 6};
    double out[6] = {};
    m.FillPart(1, 1, 2, 3, src, 1);  // two rows of three
    m.FillPart(0, 0, 1, 2, src, 0);  // down the columns
    EXPECT_EQ(
        MaxAbsDiff(m, Make<CMLMatrix4<double>>({1, 3, 5, 0, 2, 4, 6, 3, 0, 4, 5, 6, 0, 0, 0, 0})),
        0);
    m.DumpPart(0, 0, 1, 2, out, 0);
    EXPECT_TRUE(std::equal(out, out + 6, src));
    const auto r = Random<CMLMatrix4<double>>(5);
    m.CopyPartRow(0, 2, 1, 3, r);     // row 2, columns 1 to 3, into row 0
    m.CopyPartColumn(3, 1, 2, 3, r);  // column 1, rows 2 to 3, into column 3
    m.CopyPartRow(1, 1, 3, 2, r);     // reversed or outside the matrix: nothing
    m.CopyPartColumn(1, 1, 3, 0, r);
    m.FillPart(2, 0, 4, 1, src, 1);
    m.FillPart(1, 2, 0, 3, src, 1);
    m.FillPart(0, -1, 1, 1, src, 1);
    EXPECT_EQ(MaxAbsDiff(m, Make<CMLMatrix4<double>>({1, r(2, 1), r(2, 2), r(2, 3), 2, 4, 6, 3, 0,
                                                      4, 5, r(2, 1), 0, 0, 0, r(3, 1)})),
              0);
    out[0] = -1;
    m.DumpPart(0, 3, 1, 4, out, 1);
    EXPECT_EQ(out[0], -1);
}

TYPED_TEST(FixedMatrixTyped, ArithmeticProductsAndPowers) {
    using M = TypeParam;
    using T = Elem<M>;
    constexpr int n = kN<M>;
    const M a = Random<M>(6), b = Random<M>(7);
    const M ops[5] = {a + b, a - b, a * T(3), a / T(4), a.Negate()};
    M c[4] = {a, a, a, a};  // the named forms, which the compound operators call
    c[0].Add(b);
    c[1].Sub(b);
    c[2].Mul(T(3));
    c[3].Div(T(4));
    for (int k = 0; k < n * n; ++k) {
        const T want[5] = {a[k] + b[k], a[k] - b[k], a[k] * T(3), a[k] / T(4), -a[k]};
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(ops[i][k], want[i]) << "operator " << i;
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(c[i][k], want[i]) << "form " << i;
        EXPECT_EQ(a.Transpose()[k], a(k % n, k / n));
    }
    EXPECT_NEAR((Identity<M>() * T(n) + a - a.Transpose()).Mean(), T(1), Tol<T>());
    c[0] = a;
    c[0] /= c[0](0, 0);  // the scalar is read once
    EXPECT_EQ(c[0][n * n - 1], a[n * n - 1] / a[0]);
    EXPECT_TRUE(std::isinf((Identity<M>() / T(0))[0]));  // division is not guarded
    // mlAreAlmostEqual: the caller's tolerance, inclusive, over every element; a double literal
    // converts for float.
    M far = Identity<M>();
    far[n * n - 1] = T(1.5);
    EXPECT_EQ(mlAreAlmostEqual(far, Identity<M>(), 0.5), 1);
    EXPECT_EQ(mlAreAlmostEqual(far, Identity<M>(), 0.25), 0);

    // Products: row by column, with the vector too; in place, from either side, aliased.
    const typename M::Vector v = b.ColVector(0);
    for (int i = 0; i < kN<M>; ++i) {
        EXPECT_NEAR((a * v)[i], a.RowVector(i).Dot(v), 8 * Eps<M>());
        for (int j = 0; j < kN<M>; ++j)
            EXPECT_NEAR((a * b)(i, j), a.RowVector(i).Dot(b.ColVector(j)), 8 * Eps<M>());
    }
    c[0] = c[1] = c[2] = c[3] = a;
    c[0] *= b;
    c[1].PostMultiply(b);
    c[2].PreMultiply(b);
    c[3] *= c[3];  // aliasing is safe
    const M want[4] = {a * b, a * b, b * a, a * a};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(MaxAbsDiff(c[i], want[i]), T(0)) << "form " << i;
    // Powers: 0 is the identity, 1 and every negative power a copy (no inversion).
    for (int p : {0, 1, -1, -3, 2, 3}) {
        const M power = p == 0 ? Identity<M>() : p == 2 ? a * a : p == 3 ? a * a * a : a;
        M d = a;
        d ^= p;
        EXPECT_EQ(MaxAbsDiff(a ^ p, power), T(0)) << "power " << p;
        EXPECT_EQ(MaxAbsDiff(d, power), T(0)) << "power " << p;
    }
}

// == allows 1e-9 (double) or 1e-7 (float) per element, absolute and inclusive; NaN is unequal.
TYPED_TEST(FixedMatrixReal, EqualityHasAFixedAbsoluteTolerance) {
    using T = TypeParam;
    const T p = std::is_same_v<T, float> ? T(1e-7) : T(1e-9);
    const auto a = Make<CMLMatrix3<T>>({1, 2, 3, 4, 5, 6, 7, 0.125, 9});
    auto b = a;
    b(2, 1) += T(0.9) * p;
    EXPECT_TRUE(a == b && !(a != b));
    b(2, 1) = a(2, 1) + T(1.1) * p;
    EXPECT_TRUE(a != b && !(a == b));
    auto big = Make<CMLMatrix2<T>>({1e12, 0, 0, 1}), next = big;
    next(0, 0) = std::nextafter(big(0, 0), T(2e12));
    EXPECT_TRUE(big != next);
    next(1, 1) = std::numeric_limits<T>::quiet_NaN();
    EXPECT_FALSE(next == next);
}

TYPED_TEST(FixedMatrixReal, DeterminantAndAdjugateValues) {
    using T = TypeParam;
    EXPECT_EQ(Make<CMLMatrix2<T>>({3, 8, 4, 6}).Det(), T(-14));
    EXPECT_EQ(Make<CMLMatrix3<T>>({6, 1, 1, 4, -2, 5, 2, 8, 7}).Det(), T(-306));
    EXPECT_EQ(Make<CMLMatrix4<T>>({1, 0, 2, -1, 3, 0, 0, 5, 2, 1, 4, -3, 1, 0, 5, 0}).Det(), T(30));
    CMLMatrix2<T> inv;
    ASSERT_EQ(Make<CMLMatrix2<T>>({4, 7, 2, 6}).Inverse(inv, T(0)), 0);
    EXPECT_EQ(MaxAbsDiff(inv, Make<CMLMatrix2<T>>({6, -7, -2, 4}) * (T(1) / T(10))), T(0));
}

TYPED_TEST(FixedMatrixTyped, DeterminantInverseAndSolveContracts) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(12), b = Random<M>(13);
    EXPECT_NEAR((a * b).Det(), a.Det() * b.Det(), 4 * Tol<T>());
    EXPECT_NEAR(a.Transpose().Det(), a.Det(), 4 * Tol<T>());
    for (unsigned seed = 20; seed < 30; ++seed) {
        const M m = Random<M>(seed) + Identity<M>() * T(2);
        M inv, self = m, withCond;
        T cond = 0, cond2 = 0;
        ASSERT_EQ(m.Inverse(inv, T(1e-6)), 0);
        EXPECT_LT(MaxAbsDiff(m * inv, Identity<M>()), 20 * Tol<T>());
        ASSERT_EQ(self.Inverse(self, T(1e-6)), 0);  // out may be the matrix itself
        ASSERT_EQ(m.Inverse(withCond, mlNormRowSum, T(1e-6), cond), 0);
        EXPECT_EQ(MaxAbsDiff(self, inv) + MaxAbsDiff(withCond, inv), T(0));
        EXPECT_NEAR(cond, m.Norm(mlNormRowSum) * inv.Norm(mlNormRowSum), Tol<T>());
        // CMLMatrixMN::Inverse of 2, 3 and 4 rows is this inverse, to the last bit.
        CMLMatrixMN<T> out(kN<M>, kN<M>);
        ASSERT_EQ(m.ConvertToMatrixMN().Inverse(out, T(1e-6)), 0);
        EXPECT_EQ(MaxAbsDiff(M(out), inv), T(0));
        // The spectral norm is the dynamic matrices' one, to the last bit.
        EXPECT_EQ(m.Norm(mlNormSpectral), m.ConvertToMatrixMN().Norm(mlNormSpectral));
        const typename M::Vector xTrue = b.ColVector(0);
        typename M::Vector x;
        ASSERT_EQ(m.SolveSystem(m * xTrue, x, T(1e-6)), 0);
        EXPECT_LT((x - xTrue).NormInf(), 20 * Tol<T>());
        ASSERT_EQ(m.SolveSystem(m * xTrue, x, mlNormColumnSum, T(1e-6), cond2), 0);
        EXPECT_NEAR(cond2, m.Norm(mlNormColumnSum) * inv.Norm(mlNormColumnSum), Tol<T>());
    }
}

// At |det| = eps the inverse is taken while IsSingular already says 1: both boundaries are kept.
// A singular matrix gives 3 and leaves every output as it was.
TYPED_TEST(FixedMatrixTyped, SingularBoundariesAndUntouchedOutputs) {
    using M = TypeParam;
    using T = Elem<M>;
    M a = Identity<M>(), inv;
    a(0, 0) = T(std::ldexp(1.0, -10));  // the determinant is exactly 2^-10
    const T eps = a.Det(), above = std::nextafter(eps, T(1));
    EXPECT_EQ(a.Inverse(inv, eps), 0);
    EXPECT_EQ(inv(0, 0), T(1024));
    EXPECT_EQ(a.IsSingular(eps), 1);
    EXPECT_EQ(a.IsSingular(std::nextafter(eps, T(0))), 0);
    EXPECT_EQ(a.Inverse(inv, above), 3);
    CMLMatrixMN<T> out(kN<M>, kN<M>);  // the dynamic matrices' inverse keeps both boundaries
    EXPECT_EQ(a.ConvertToMatrixMN().Inverse(out, above), 3);

    M dependent = Random<M>(31);
    dependent.SetRowVector(1, dependent.RowVector(0) * T(2));
    M sevens;
    sevens.SetConstant(T(7));
    inv = sevens;
    T cond = 0;
    EXPECT_EQ(dependent.Inverse(inv, T(1e-5)), 3);
    EXPECT_EQ(dependent.Inverse(inv, mlNormFrobenius, T(1e-5), cond), 3);
    EXPECT_EQ(cond, mlBigValue<T>);
    EXPECT_EQ(MaxAbsDiff(inv, sevens), T(0));
    typename M::Vector b, x;
    x[0] = T(9);
    EXPECT_EQ(dependent.SolveSystem(b, x, T(1e-5)), 3);
    EXPECT_EQ(dependent.SolveSystem(b, x, mlNormRowSum, T(1e-5), cond), 3);
    EXPECT_EQ(x[0], T(9));
    EXPECT_EQ(M().Inverse(inv, T(0)), 0);  // eps 0 is never above |det|: the test is strict
}

TYPED_TEST(FixedMatrixTyped, StructuralTestsAreInclusive) {
    using M = TypeParam;
    using T = Elem<M>;
    const T eps = T(1e-3);
    M m = Identity<M>();
    m(1, 0) = eps;
    EXPECT_EQ(m.IsUnit(eps) + m.IsDiagonal(eps) + m.IsScaling(eps) + m.IsSymmetric(eps), 4);
    EXPECT_EQ(m.IsLLTriangular(T(0)) + m.IsURTriangular(eps), 2);
    EXPECT_EQ(m.IsURTriangular(T(0)) + m.IsSymmetric(T(0)), 0);
    m(1, 0) = T(2) * eps;
    EXPECT_EQ(m.IsUnit(eps) + m.IsDiagonal(eps), 0);
    m.SetConstant(-eps);
    EXPECT_EQ(m.IsAlmostZero(eps) + (m * T(2)).IsAlmostZero(eps), 1);
    const M r = Random<M>(33);
    EXPECT_EQ((r + r.Transpose()).IsSymmetric(T(0)), 1);

    M q, unused;
    ASSERT_EQ(r.QR_Decomposition(q, unused, T(0)), 1);
    if (q.Det() < 0) q.SetColVector(0, q.ColVector(0) * T(-1));
    M mirror = q;
    mirror.SetColVector(0, q.ColVector(0) * T(-1));
    EXPECT_EQ(q.IsOrthogonal(Tol<T>()) + q.IsRotation(Tol<T>()) + mirror.IsOrthogonal(Tol<T>()), 3);
    EXPECT_EQ(mirror.IsRotation(Tol<T>()) + (q * T(1.01)).IsOrthogonal(Tol<T>()), 0);

    const M spd = r * r.Transpose() + Identity<M>() * T(0.1);
    M notPositive[4] = {spd * T(-1), Identity<M>(), spd, Identity<M>()};
    notPositive[1](0, 0) = 0;                            // eigenvalue 0 is not above eps
    notPositive[2](0, 1) += T(0.5);                      // not symmetric
    notPositive[3](0, 1) = notPositive[3](1, 0) = T(2);  // indefinite
    EXPECT_EQ(spd.IsPositive(T(1e-6)), 1);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(notPositive[i].IsPositive(T(1e-6)), 0) << "case " << i;
}

TYPED_TEST(FixedMatrixReal, HomogeneousTests) {
    using T = TypeParam;
    CMLMatrix3<T> t3 = Identity<CMLMatrix3<T>>(), inv3;
    t3(0, 2) = T(5);
    t3(1, 2) = T(-7);
    CMLMatrix3<T> rigid = t3, notRigid[3] = {t3, t3, t3};
    rigid.Rotate(T(0.7), 0);
    notRigid[0].Scale(T(2), T(1), 0);
    notRigid[1].Scale(T(-1), T(1), 0);  // orthogonal, but not proper
    notRigid[2](2, 0) = T(0.5);         // projective
    EXPECT_EQ(t3.IsTranslation(T(0)) + t3.IsCoordinateMatrix(T(1e-6)), 2);
    EXPECT_EQ(rigid.IsCoordinateMatrix(T(1e-5)), 1);
    EXPECT_EQ(rigid.IsTranslation(T(1e-3)) + notRigid[2].IsTranslation(T(1e-5)), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(notRigid[i].IsCoordinateMatrix(T(1e-5)), 0) << "case " << i;
    rigid.InverseCoordinateMatrix(inv3);
    EXPECT_LT(MaxAbsDiff(inv3 * rigid, Identity<CMLMatrix3<T>>()), Tol<T>());
    rigid.InverseCoordinateMatrix(rigid);  // out may be the matrix itself
    EXPECT_EQ(MaxAbsDiff(rigid, inv3), T(0));

    CMLMatrix4<T> t4 = Identity<CMLMatrix4<T>>(), inv4;
    t4(0, 3) = T(1);
    t4(2, 3) = T(2);
    EXPECT_EQ(t4.IsTranslation(T(0)) - (t4 * T(2)).IsCoordinateMatrix(T(1e-5)), 1);  // 1 and 0
    t4.RotateYAxis(T(0.3), 1);
    t4.RotateXAxis(T(-1.1), 1);
    EXPECT_EQ(t4.IsCoordinateMatrix(T(1e-5)), 1);
    t4.InverseCoordinateMatrix(inv4);
    EXPECT_LT(MaxAbsDiff(inv4 * t4, Identity<CMLMatrix4<T>>()), 4 * Tol<T>());
}

TYPED_TEST(FixedMatrixReal, NormsBySelector) {
    using T = TypeParam;
    const auto a = Make<CMLMatrix2<T>>({1, -2, 3, 4});
    EXPECT_EQ(a.Norm(mlNormColumnSum), T(6));
    EXPECT_EQ(a.Norm(mlNormRowSum), T(7));
    EXPECT_NEAR(a.Norm(mlNormFrobenius), std::sqrt(T(30)), Tol<T>());
    EXPECT_EQ(a.Norm(mlNormMaxElement), T(8));  // N times the largest |x|
    // Spectral: sqrt of the largest eigenvalue of a^T a = [[10, 10], [10, 20]].
    EXPECT_NEAR(a.Norm(mlNormSpectral), std::sqrt(T(15) + std::sqrt(T(125))), Tol<T>());
    EXPECT_EQ(a.Norm(static_cast<mlMatrixNorm>(7)), a.Norm(mlNormFrobenius));  // any other
    EXPECT_EQ(Diag<CMLMatrix3<T>>({1, -5, 2}).Norm(mlNormMaxElement), T(15));
    EXPECT_EQ(CMLMatrix4<T>().Norm(mlNormSpectral), T(0));
    // A NaN anywhere makes every norm NaN, in the first element as in the last.
    for (int k : {0, 8}) {
        auto nan = Diag<CMLMatrix3<T>>({1, 2, 3});
        nan[k] = std::numeric_limits<T>::quiet_NaN();
        for (int sel = 0; sel <= 4; ++sel)
            EXPECT_TRUE(std::isnan(nan.Norm(static_cast<mlMatrixNorm>(sel)))) << k << ' ' << sel;
    }
}

TYPED_TEST(FixedMatrixTyped, ScalarsAndElementFilters) {
    using M = TypeParam;
    using T = Elem<M>;
    constexpr int n = kN<M>;
    const M a = Random<M>(36);
    M flat, d = Identity<M>() * T(4), out;
    flat.SetConstant(T(5));
    EXPECT_NEAR(a.InnerProduct(Identity<M>()), a.Trace(), Tol<T>());
    EXPECT_NEAR(a.CorrelationCoefficient(a * T(3)), T(1), Tol<T>());
    EXPECT_NEAR(a.CorrelationCoefficient(a * T(-2) + flat), T(-1), Tol<T>());
    EXPECT_EQ(a.CorrelationCoefficient(flat), T(0));
    EXPECT_EQ(MaxAbsDiff(a.GetCharacteristicsMatrix(T(0.5)), a - Identity<M>() * T(0.5)), T(0));
    // DiagInverse: off-diagonal elements within eps count as zero; a diagonal element below eps
    // fails with out unchanged.
    d(n - 1, n - 1) = T(-0.5);
    ASSERT_EQ(d.DiagInverse(out, T(1e-6)), 1);
    EXPECT_EQ(MaxAbsDiff(out * d, Identity<M>()) + MaxAbs(out - Diag<M>(out.Diagonal())), T(0));
    M notDiagonal = d, zeroPivot = d;
    notDiagonal(1, 0) = T(1e-3);
    zeroPivot(1, 1) = T(0);
    out.SetConstant(T(9));
    EXPECT_EQ(notDiagonal.DiagInverse(out, T(1e-6)) + zeroPivot.DiagInverse(out, T(1e-6)), 0);
    EXPECT_EQ(out(0, 0), T(9));
    EXPECT_EQ(notDiagonal.DiagInverse(out, T(1e-3)), 1);
    // Strictly below eps becomes 0; mode 0 clears above the diagonal, others below.
    M m = Identity<M>(), upper = a, lower = a;
    m(0, 1) = T(0.01);  // equal to eps: kept
    const M kept = m;
    m(1, 0) = T(-0.005);
    m.AnnulateSmallElements(T(0.01));
    EXPECT_EQ(MaxAbsDiff(m, kept), T(0));
    upper.AnnulateRelativelyDiagonal(1);
    lower.AnnulateRelativelyDiagonal(0);
    EXPECT_EQ(MaxAbsDiff(upper + lower - Diag<M>(a.Diagonal()), a), T(0));
    EXPECT_EQ(upper.IsURTriangular(T(0)) + lower.IsLLTriangular(T(0)), 2);
}

TYPED_TEST(FixedMatrixReal, BlockEmbeddingsArePlain) {
    using T = TypeParam;
    CMLMatrix3<T> affine = Identity<CMLMatrix3<T>>();
    affine(0, 2) = T(5);
    affine(1, 2) = T(7);
    // The 2D translation stays in column 2; it is not moved to the 4x4 translation column.
    EXPECT_EQ(MaxAbsDiff(mlMatrix3To4(affine),
                         Make<CMLMatrix4<T>>({1, 0, 5, 0, 0, 1, 7, 0, 0, 0, 1, 0, 0, 0, 0, 1})),
              T(0));
    const auto r4 = Random<CMLMatrix4<T>>(39);
    const CMLMatrix3<T> r3 = mlMatrix4To3(r4), back = mlMatrix2To3(mlMatrix3To2(r3));
    for (int k = 0; k < 9; ++k) {
        const int i = k / 3, j = k % 3;
        EXPECT_EQ(r3[k], r4(i, j));
        EXPECT_EQ(back[k], k == 8 ? T(1) : i == 2 || j == 2 ? T(0) : r4(i, j));
    }
}

TYPED_TEST(FixedMatrixReal, TranslateAddsTheCornerOnceMore) {
    using T = TypeParam;
    CMLMatrix3<T> m = Identity<CMLMatrix3<T>>();
    m.Translate(T(1), T(2), 0);
    EXPECT_EQ(MaxAbsDiff(m, Make<CMLMatrix3<T>>({1, 0, 2, 0, 1, 3, 0, 0, 1})), T(0));
    // Mode 0 on a general matrix changes the translation column only, each entry with the corner
    // added (for 4x4 the corner itself too, so m33 counts twice); any other mode is the exact
    // product T * this.
    const auto a3 = Make<CMLMatrix3<T>>({1, 2, 3, 4, 5, 6, 7, 8, 9});
    CMLMatrix3<T> b3 = a3, c3 = a3;
    b3.Translate(T(10), T(100), 0);
    c3.Translate(T(10), T(100), -1);
    EXPECT_EQ(MaxAbsDiff(b3, Make<CMLMatrix3<T>>({1, 2, 222, 4, 5, 555, 7, 8, 9})), T(0));
    EXPECT_EQ(MaxAbsDiff(c3, Make<CMLMatrix3<T>>({1, 0, 10, 0, 1, 100, 0, 0, 1}) * a3), T(0));
    CMLMatrix4<T> a4;
    for (int k = 0; k < 16; ++k)
        a4[k] = T(k + 1);
    CMLMatrix4<T> b4 = a4, c4 = a4, want = a4;
    b4.Translate(T(1), T(10), T(100), 0);
    c4.Translate(T(1), T(10), T(100), 1);
    for (int i = 0; i < 4; ++i)
        want(i, 3) = a4(i, 3) + a4(i, 0) + a4(i, 1) * 10 + a4(i, 2) * 100 + a4(3, 3);
    EXPECT_EQ(MaxAbsDiff(b4, want), T(0));
    const auto t4 = Make<CMLMatrix4<T>>({1, 0, 0, 1, 0, 1, 0, 10, 0, 0, 1, 100, 0, 0, 0, 1});
    EXPECT_EQ(MaxAbsDiff(c4, t4 * a4), T(0));
}

TYPED_TEST(FixedMatrixReal, ScaleReflectAndTranslationColumn) {
    using T = TypeParam;
    using M3 = CMLMatrix3<T>;
    using M4 = CMLMatrix4<T>;
    const auto a3 = Random<M3>(40);
    const auto a4 = Random<M4>(44);
    M3 b3 = a3, c3 = a3;
    M4 b4 = a4, c4 = a4;
    b3.Scale(T(2), T(-3), 0);
    c3.Scale(T(2), T(-3), 2);
    b4.Scale(T(2), T(3), T(-4), 0);
    c4.Scale(T(2), T(3), T(-4), -1);
    EXPECT_EQ(MaxAbsDiff(b3, a3 * Diag<M3>({2, -3, 1})), T(0));
    EXPECT_EQ(MaxAbsDiff(c3, Diag<M3>({2, -3, 1}) * a3), T(0));
    EXPECT_EQ(MaxAbsDiff(b4, a4 * Diag<M4>({2, 3, -4, 1})), T(0));
    EXPECT_EQ(MaxAbsDiff(c4, Diag<M4>({2, 3, -4, 1}) * a4), T(0));
    EXPECT_EQ(MaxAbsDiff(a3.Reflect(), Diag<M3>({-1, -1, 1}) * a3), T(0));
    EXPECT_EQ(MaxAbsDiff(a4.Reflect(), Diag<M4>({-1, -1, -1, 1}) * a4), T(0));
    EXPECT_EQ(a4.ExtractTranslation(), CMLVector3<T>(a4(0, 3), a4(1, 3), a4(2, 3)));
}

// b from a: line p := k0 * line p + k1 * line q; line q := k2 * line p + k3 * line q (old values),
// columns in mode 0 and rows in any other mode; every other line unchanged.
template <class M>
void ExpectLineUpdate(const M& a, const M& b, int mode, int p, int q, const Elem<M> (&k)[4]) {
    const auto at = [mode](const M& m, int line, int e) {
        return mode == 0 ? m(e, line) : m(line, e);
    };
    for (int e = 0; e < kN<M>; ++e) {
        EXPECT_NEAR(at(b, p, e), k[0] * at(a, p, e) + k[1] * at(a, q, e), 4 * Eps<M>());
        EXPECT_NEAR(at(b, q, e), k[2] * at(a, p, e) + k[3] * at(a, q, e), 4 * Eps<M>());
        for (int other = 0; other < kN<M>; ++other)
            EXPECT_TRUE(other == p || other == q || at(b, other, e) == at(a, other, e));
    }
}

// The 4x4 axis rotations entry by entry, slips included, and the exact 3x3 Rotate.
TYPED_TEST(FixedMatrixReal, RotationsLineByLine) {
    using T = TypeParam;
    using M4 = CMLMatrix4<T>;
    const T angle = T(0.3), c = std::cos(angle), s = std::sin(angle);
    const auto a4 = Random<M4>(45);
    const auto a3 = Random<CMLMatrix3<T>>(46);
    struct Entry {
        void (M4::*rotate)(T, int);
        int mode, p, q;
        T k[4];
    };
    const Entry table[] = {
        {&M4::RotateXAxis, 0, 1, 2, {c, s, s, c}},    // slip: not a rotation
        {&M4::RotateXAxis, 1, 1, 2, {c, -s, s, c}},   // exact
        {&M4::RotateYAxis, 0, 0, 2, {c, -s, s, c}},   // exact
        {&M4::RotateYAxis, 2, 0, 2, {c, s, -s, c}},   // exact
        {&M4::RotateZAxis, 0, 0, 1, {c, s, s, c}},    // slip: not a rotation
        {&M4::RotateZAxis, -1, 0, 1, {c, -s, c, s}},  // slip: operands swapped
    };
    for (const Entry& e : table) {
        SCOPED_TRACE(testing::Message() << "table entry " << (&e - table));
        M4 b = a4;
        (b.*e.rotate)(angle, e.mode);
        ExpectLineUpdate(a4, b, e.mode, e.p, e.q, e.k);
    }
    for (int mode : {0, 1}) {  // counter-clockwise: this * R or R * this
        CMLMatrix3<T> b = a3;
        b.Rotate(angle, mode);
        const T k[4] = {c, mode == 0 ? s : -s, mode == 0 ? -s : s, c};
        ExpectLineUpdate(a3, b, mode, 0, 1, k);
    }
}

// The right-handed rotation by `degrees` about axis 0 (X), 1 (Y) or 2 (Z).
template <class T>
CMLMatrix3<T> AxisRotation(int axis, double degrees) {
    const double a = degrees * 3.141592653589793 / 180;
    const int p = (axis + 1) % 3, q = (axis + 2) % 3;
    CMLMatrix3<T> m = Identity<CMLMatrix3<T>>();
    m(p, p) = m(q, q) = T(std::cos(a));
    m(p, q) = T(-std::sin(a));
    m(q, p) = T(std::sin(a));
    return m;
}

template <class T>
CMLMatrix3<T> Euler(double a, double b, double c, mlRotationsOrder order) {
    CMLMatrix3<T> m;
    EXPECT_EQ(m.SetRotationByEulerAngles(T(a), T(b), T(c), order), 1);
    return m;
}

TYPED_TEST(FixedMatrixReal, EulerOrdersComposeWrapAndExtract) {
    using T = TypeParam;
    static_assert(mlXYZ == 0 && mlXZY == 1 && mlYXZ == 2 && mlYZX == 3 && mlZYX == 4 && mlZXY == 5);
    const double a = 25, b = -40, c = 130;
    const auto x = AxisRotation<T>(0, a), y = AxisRotation<T>(1, b), z = AxisRotation<T>(2, c);
    const CMLMatrix3<T> want[6] = {z * y * x, y * z * x, z * x * y,
                                   x * z * y, x * y * z, y * x * z};
    for (int o = 0; o < 6; ++o)
        EXPECT_LT(MaxAbsDiff(Euler<T>(a, b, c, mlRotationsOrder(o)), want[o]), 4 * Tol<T>())
            << "order " << o;
    // Whole turns wrap away; a half turn stays one.
    EXPECT_TRUE(Euler<T>(370, 0, 0, mlXYZ) == Euler<T>(10, 0, 0, mlXYZ));
    EXPECT_LT(MaxAbsDiff(Euler<T>(180, 0, 0, mlXYZ), AxisRotation<T>(0, 180)), Tol<T>());

    // Extraction: in gimbal lock the middle angle is exact and the rotation about the shared axis
    // is split evenly; otherwise the middle angle is brought into [-90, 90].
    const T tol = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);
    const double cases[3][7] = {{mlXYZ, 10, 90, 30, -10, 90, 10},  // order, in, out
                                {mlZYX, 10, 90, 30, 20, 90, 20},
                                {mlXYZ, 170, 100, -120, -10, 80, 60}};
    for (const auto& e : cases) {
        T out[3];
        ASSERT_EQ(Euler<T>(e[1], e[2], e[3], mlRotationsOrder(e[0]))
                      .ExtractEulerAngles(mlRotationsOrder(e[0]), out[0], out[1], out[2]),
                  1);
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(out[k], T(e[4 + k]), e[4 + k] == 90 ? T(0) : tol) << (&e - cases) << k;
    }

    // Any other order builds and extracts nothing.
    const auto r = Random<CMLMatrix3<T>>(46);
    CMLMatrix3<T> m = r;
    EXPECT_EQ(m.SetRotationByEulerAngles(T(10), T(20), T(30), mlRotationsOrder(6)), 0);
    EXPECT_EQ(m.SetRotationByEulerAngles(T(10), T(20), T(30), mlRotationsOrder(-1)), 0);
    EXPECT_EQ(MaxAbsDiff(m, r), T(0));
    T p = 1, q = 2, w = 3;
    EXPECT_EQ(m.ExtractEulerAngles(mlRotationsOrder(9), p, q, w), 0);
    EXPECT_EQ(p + q + w, T(6));
}

// angles -> matrix -> angles -> matrix for every order, in and out of gimbal lock, where the
// middle angle is exact and the first and third share the rotation about the common axis equally.
TYPED_TEST(FixedMatrixReal, EulerRoundTripsAllOrders) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(2e-5) : T(1e-13);
    const T split = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);
    const double angles[] = {0, 10, -45, 89.5, 89.9999, 90, -90, -95, 135, 180, -179, 250};
    constexpr int kMiddleAxis[6] = {1, 2, 0, 2, 1, 0};  // of each order: 0 X, 1 Y, 2 Z
    for (int o = 0; o < 6; ++o)
        for (const double a : angles)
            for (const double b : angles)
                for (const double c : angles) {
                    SCOPED_TRACE(testing::Message() << o << ": " << a << " " << b << " " << c);
                    const double in[3] = {a, b, c};
                    const int m = kMiddleAxis[o];
                    const CMLMatrix3<T> m1 = Euler<T>(a, b, c, mlRotationsOrder(o));
                    T out[3];
                    ASSERT_EQ(m1.ExtractEulerAngles(mlRotationsOrder(o), out[0], out[1], out[2]),
                              1);
                    EXPECT_LE(std::fabs(out[m]), T(90));
                    EXPECT_LE(std::fmax(std::fabs(out[(m + 1) % 3]), std::fabs(out[(m + 2) % 3])),
                              T(180) + tol);
                    EXPECT_LT(MaxAbsDiff(m1, Euler<T>(out[0], out[1], out[2], mlRotationsOrder(o))),
                              tol);
                    if (std::fabs(in[m]) == 90) {
                        EXPECT_EQ(out[m], T(in[m]));
                        EXPECT_NEAR(std::fabs(out[(m + 1) % 3]), std::fabs(out[(m + 2) % 3]),
                                    split);
                    }
                }
}

TYPED_TEST(FixedMatrixReal, AngleAxis) {
    using T = TypeParam;
    CMLMatrix3<T> m;
    ASSERT_EQ(m.SetRotationByAngleAxis(T(90), CMLVector3<T>(0, 0, 2)), 1);  // normalised axis
    EXPECT_LT(MaxAbsDiff(m, AxisRotation<T>(2, 90)), Tol<T>());
    const CMLMatrix3<T> before = m;
    EXPECT_EQ(m.SetRotationByAngleAxis(T(10), CMLVector3<T>(0, 0, 0)), 0);
    EXPECT_EQ(MaxAbsDiff(m, before), T(0));
    T angle = 5;
    CMLVector3<T> axis(1, 1, 1);
    EXPECT_EQ(Identity<CMLMatrix3<T>>().ExtractRotationAngleAxis(angle, axis), 0);
    EXPECT_EQ(angle, T(0));
    EXPECT_EQ(axis, CMLVector3<T>(0, 0, 0));

    // Round trips, near 0 and 180 degrees too; the axis is kept fixed.
    const T tol = std::is_same_v<T, float> ? T(1e-4) : T(1e-10);
    for (const auto& given : {CMLVector3<T>(1, 0, 0), CMLVector3<T>(0.3, -0.4, 0.866),
                              CMLVector3<T>(-1, -1, -1), CMLVector3<T>(0.01, 1, -0.02)}) {
        for (double degrees : {0.001, 1.0, 45.0, 135.0, 179.0, 179.9999, 180.0}) {
            SCOPED_TRACE(testing::Message() << "angle " << degrees);
            CMLMatrix3<T> r, back;
            ASSERT_EQ(r.SetRotationByAngleAxis(T(degrees), given), 1);
            ASSERT_EQ(r.ExtractRotationAngleAxis(angle, axis), 1);
            EXPECT_TRUE(angle >= T(0) && angle <= T(180));
            EXPECT_NEAR(axis.Length(), T(1), tol);
            ASSERT_EQ(back.SetRotationByAngleAxis(angle, axis), 1);
            EXPECT_LT(MaxAbsDiff(back, r), tol);
        }
    }
}

TYPED_TEST(FixedMatrixReal, ExtractScaleRotationAndOrthogonal) {
    using T = TypeParam;
    using M3 = CMLMatrix3<T>;
    const T tol = 10 * Tol<T>();
    const M3 r = Euler<T>(20, -35, 110, mlZYX);
    CMLVector3<T> scale;
    M3 rotation;
    // rotation * diag(scale) rebuilds the matrix; a mirror goes into the scale of an axis.
    const M3 inputs[] = {r * Diag<M3>({2, 0.5, 4}), r * Diag<M3>({1, -1, 2}), Diag<M3>({-2, 3, 4})};
    for (const M3& in : inputs) {
        ASSERT_EQ(in.ExtractScaleRotation(scale, rotation, T(1e-4)), 1);
        EXPECT_EQ(rotation.IsRotation(tol), 1);
        EXPECT_LT(MaxAbsDiff(rotation * Diag<M3>(scale), in), tol);
    }
    EXPECT_LT((scale - CMLVector3<T>(-2, 3, 4)).NormInf(), tol);
    // A shear or a singular matrix has no such split: outputs unchanged.
    M3 sheared = inputs[0];
    sheared(0, 1) += T(0.3);
    scale = CMLVector3<T>(7, 7, 7);
    EXPECT_EQ(sheared.ExtractScaleRotation(scale, rotation, T(1e-4)), 0);
    EXPECT_EQ(Diag<M3>({1, 0, 1}).ExtractScaleRotation(scale, rotation, T(1e-4)), 0);
    EXPECT_EQ(scale, CMLVector3<T>(7, 7, 7));

    // ExtractOrthogonal is the polar factor, mirrors included; none for a singular matrix.
    const M3 a = Random<M3>(47), spd = a * a.Transpose() + Identity<M3>();
    for (const M3& q : {Euler<T>(-70, 15, 40, mlXZY), r * Diag<M3>({1, 1, -1})}) {
        ASSERT_EQ((q * spd).ExtractOrthogonal(rotation, T(1e-6)), 1);
        EXPECT_LT(MaxAbsDiff(rotation, q), tol);
    }
    const M3 kept = rotation;
    EXPECT_EQ(Diag<M3>({1, 2, 0}).ExtractOrthogonal(rotation, T(1e-6)), 0);
    EXPECT_EQ(MaxAbsDiff(rotation, kept), T(0));
}

}  // namespace
