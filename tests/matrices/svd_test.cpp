// Decompositions of CMLMatrixMN: the contracts of the singular value decomposition, QR,
// pseudo-inverse, inverse and rank on hard inputs, their building blocks, and termination on
// non-finite input.
#include <ml/matrix_mn.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

template <class T>
class SvdTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SvdTyped, RealTypes);

template <class T>
using Matrix = CMLMatrixMN<T>;

// Relative accuracy expected of a backward-stable decomposition of an m x n matrix.
template <class T>
double RelTol(int m, int n) {
    return 30.0 * std::numeric_limits<T>::epsilon() * std::max(m, n);
}

template <class T>
Matrix<T> Random(int rows, int cols, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(-1, 1);
    Matrix<T> m(rows, cols);
    for (int i = 0; i < rows * cols; ++i)
        m[i] = static_cast<T>(d(rng));
    return m;
}

template <class T>
Matrix<T> Diagonal(int rows, int cols, const T* d, const T* superdiagonal = nullptr) {
    Matrix<T> m(rows, cols);
    for (int i = 0; i < std::min(rows, cols); ++i) {
        m(i, i) = d[i];
        if (superdiagonal && i + 1 < cols) m(i, i + 1) = superdiagonal[i];
    }
    return m;
}

template <class T>
Matrix<T> Eye(int n) {
    Matrix<T> e(n);
    e.SetDiagonal(T(1));
    return e;
}

// Largest |A - B diag(s) C^T| over the elements (s null: ones), computed in double.
template <class T>
double Residual(const Matrix<T>& a, const Matrix<T>& b, const Matrix<T>& c, const T* s = nullptr) {
    double worst = 0;
    for (int i = 0; i < a.RowsNb(); ++i) {
        for (int j = 0; j < a.ColsNb(); ++j) {
            double t = a(i, j);
            for (int p = 0; p < std::min(b.ColsNb(), c.ColsNb()); ++p)
                t -= double(b(i, p)) * (s ? double(s[p]) : 1.0) * double(c(j, p));
            worst = std::fmax(worst, std::fabs(t));
        }
    }
    return worst;
}

// Largest deviation of Q^T Q from the identity.
template <class T>
double OrthonormalityError(const Matrix<T>& q) {
    return Residual(Eye<T>(q.ColsNb()), q.Transpose(), q.Transpose());
}

template <class T>
double Frobenius(const Matrix<T>& a) {
    double f = 0;  // hypot neither overflows nor underflows
    for (int i = 0; i < a.RowsNb() * a.ColsNb(); ++i)
        f = std::hypot(f, double(a[i]));
    return f;
}

template <class T>
using SvdMethod = int (Matrix<T>::*)(Matrix<T>&, Matrix<T>&, CMLVectorN<T>&, T) const;

// SVD: A = U diag(s) V^T, U and V orthonormal, s non-negative and descending. QR: A = Q R, Q
// orthonormal, R upper triangular with a non-negative diagonal. Thin or full factors.
template <class T>
void ExpectContracts(const Matrix<T>& a, bool full, const std::string& name,
                     SvdMethod<T> svd = &Matrix<T>::SV_Decomposition, bool qr = true) {
    SCOPED_TRACE(name + (full ? " full" : " thin"));
    const int m = a.RowsNb(), n = a.ColsNb(), k = std::min(m, n), qc = full ? m : k;
    const double tol = RelTol<T>(m, n), norm = Frobenius(a);
    Matrix<T> u(m, qc), v(n, full ? n : k), q(m, qc), r(qc, n);
    CMLVectorN<T> s(k);
    ASSERT_EQ((a.*svd)(u, v, s, T(0)), 1);
    std::vector<T> padded(std::max(m, n), T(0));  // full factors meet no value beyond k
    for (int i = 0; i < k; ++i) {
        EXPECT_GE(s[i], T(0));
        EXPECT_LE(s[i], i > 0 ? s[i - 1] : s[i]);
        padded[i] = s[i];
    }
    EXPECT_LE(Residual(a, u, v, padded.data()), tol * norm);
    EXPECT_LE(OrthonormalityError(u), tol);
    EXPECT_LE(OrthonormalityError(v), tol);
    EXPECT_NEAR(double(s[0]), double(a.Norm(mlNormSpectral)), tol * norm);
    if (!qr) return;
    ASSERT_EQ(a.QR_Decomposition(q, r, T(0)), 1);
    EXPECT_LE(Residual(a, q, r.Transpose()), tol * norm);
    EXPECT_LE(OrthonormalityError(q), tol);
    for (int i = 0; i < qc; ++i) {
        for (int j = 0; j < std::min(i, n); ++j)
            EXPECT_EQ(r(i, j), T(0));
        EXPECT_GE(i < k ? r(i, i) : T(0), T(0));
    }
}

// The hard inputs every decomposition meets.
template <class T>
std::vector<std::pair<std::string, Matrix<T>>> Battery() {
    const T perm[16] = {0, 0, 3, 0, -3, 0, 0, 0, 0, 0, 0, 3, 0, -3, 0, 0};  // repeated values
    const T d[6] = {1, 2, 0, 4, 5, 6}, e[5] = {1, 1, 1, 1, 1};
    std::vector<std::pair<std::string, Matrix<T>>> b = {
        {"zero 3x5", Matrix<T>(3, 5)},
        {"rank 2 8x6", Random<T>(8, 2, 8) * Random<T>(2, 6, 9)},
        {"scaled permutation 4x4", Matrix<T>(4, 4, perm)},
        {"bidiagonal, zero d[2]", Diagonal(6, 6, d, e)},
        {"tiny 5x4", Random<T>(5, 4, 11) * (std::numeric_limits<T>::min() * T(16))},
        {"huge 4x5", Random<T>(4, 5, 12) * (std::numeric_limits<T>::max() / T(4))}};
    const int shapes[][2] = {{7, 7}, {12, 5}, {5, 12}, {61, 43}, {1, 1}, {1, 6}, {6, 1}, {9, 7}};
    for (const auto& [m, n] : shapes)
        b.emplace_back(std::to_string(m) + "x" + std::to_string(n), Random<T>(m, n, 100 * m + n));
    // The last (9x7) badly scaled: rows and columns over many orders of magnitude.
    const double span = std::is_same_v<T, float> ? 12.0 : 40.0;
    for (int i = 0; i < 63; ++i)
        b.back().second[i] *= T(std::pow(10.0, span * (i / 7 - 4) / 8 - span * (i % 7 - 3) / 12));
    return b;
}

TYPED_TEST(SvdTyped, SvdAndQrContractsOnHardInputsThinAndFull) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        ExpectContracts(a, false, name);
        ExpectContracts(a, true, name);
    }
}

TYPED_TEST(SvdTyped, OutputShapesPaddingAndTolerance) {
    using T = TypeParam;
    const Matrix<T> a = Random<T>(6, 4, 20);
    Matrix<T> u(6, 4), v(4, 4), u5(6, 5), v34(3, 4);
    CMLVectorN<T> s(6, T(9)), shortS(3);
    ASSERT_EQ(a.SV_Decomposition(u, v, s, T(0)), 1);
    EXPECT_EQ(s[4], T(0));  // a longer vector: the rest becomes 0
    EXPECT_EQ(s[5], T(0));
    // Outputs of the wrong shape are refused and left alone.
    u.SetConstant(T(7));
    EXPECT_EQ(a.SV_Decomposition(u5, v, s, T(0)), 0);  // 5 columns: neither 4 nor 6
    EXPECT_EQ(a.SV_Decomposition(u, v, shortS, T(0)), 0);
    EXPECT_EQ(a.SV_Decomposition(u, v34, s, T(0)), 0);
    EXPECT_EQ(u(0, 0), T(7));
    // A coarse tolerance still gives a rough decomposition.
    const Matrix<T> b = Random<T>(20, 20, 31);
    Matrix<T> ub(20, 20), vb(20, 20);
    CMLVectorN<T> sb(20);
    ASSERT_EQ(b.SV_Decomposition(ub, vb, sb, T(1e-3)), 1);
    EXPECT_LE(Residual(b, ub, vb, &sb[0]), 1e-2 * Frobenius(b));
}

TYPED_TEST(SvdTyped, SingDecomp2DClosedFormMeetsTheContract) {
    using T = TypeParam;
    for (int t = 0; t < 400; ++t) {
        Matrix<T> a = Random<T>(2, 2, 1000 + t);
        if (t % 5 == 1) a[2] = T(0);                // already triangular
        if (t % 5 == 2) a[1] = a[2] = T(0);         // diagonal
        if (t % 5 == 3) a[3] = a[2] * a[1] / a[0];  // singular
        if (t % 7 == 0) a[1] *= T(1e6);             // dominant off-diagonal
        ExpectContracts(a, false, "2x2 #" + std::to_string(t), &Matrix<T>::SingDecomp2D, false);
    }
    // Other shapes take the general decomposition.
    ExpectContracts(Random<T>(3, 2, 41), false, "3x2", &Matrix<T>::SingDecomp2D, false);
}

TYPED_TEST(SvdTyped, ThinSvdCodesCacheAndUnitOffsetWorker) {
    using T = TypeParam;
    Matrix<T> a = Random<T>(4, 6, 50), u(4, 4), v(6, 4), badV(6, 6);
    CMLVectorN<T> s(4);
    EXPECT_EQ(a.ThinSVD(u, badV, s), 1);  // the thin form only
    EXPECT_EQ(a.IsSingCalculated(), 0);
    ASSERT_EQ(a.ThinSVD(u, v, s), 0);
    ASSERT_EQ(a.IsSingCalculated(), 1);
    T held[4] = {};
    a.GetSingularNumbers(held);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(held[i], s[i]);
    EXPECT_LE(Residual(a, u, v, held), RelTol<T>(4, 6) * 3);
    Matrix<T> bad(a);
    bad(1, 1) = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(bad.ThinSVD(u, v, s), 1);
    EXPECT_EQ(bad.IsSingCalculated(), 1);  // the copy took the cache along; it stays
    // The worker, on row-pointer arrays.
    for (const auto& [m, n] : {std::pair<int, int>(5, 3), {3, 5}}) {
        const Matrix<T> a = Random<T>(m, n, 60 + m);
        // Index 0 of every array is unused: indices run from 1.
        Matrix<T> ua(m + 1, n + 1), va(n + 1, n + 1);
        std::vector<T*> ap(m + 1), vp(n + 1);
        std::vector<T> w(n + 1);
        for (int i = 0; i <= std::max(m, n); ++i) {
            if (i <= m) ap[i] = &ua(i, 0);
            if (i <= n) vp[i] = &va(i, 0);
        }
        ua.InsertMatrix(a, 1, 1, m, n);
        ASSERT_EQ(Matrix<T>::ThinSVDUnitOffsetInPlace(ap.data(), m, n, w.data(), vp.data(), T(0)),
                  1);
        const Matrix<T> v = va.ExtractMatrix(1, 1, n, n);
        EXPECT_LE(Residual(a, ua.ExtractMatrix(1, 1, m, n), v, &w[1]),
                  RelTol<T>(m, n) * Frobenius(a));
        EXPECT_LE(OrthonormalityError(v), RelTol<T>(m, n));  // V is square orthogonal
        for (int p = 2; p <= n; ++p)
            EXPECT_LE(w[p], w[p - 1]);
        EXPECT_EQ(m < n ? w[n] : T(0), T(0));
    }
    EXPECT_EQ(Matrix<T>::ThinSVDUnitOffsetInPlace(nullptr, 2, 2, nullptr, nullptr, T(0)), 0);
}

TYPED_TEST(SvdTyped, PseudoInverseAndLeastSquares) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        if (name.rfind("tiny", 0) == 0 || name.rfind("huge", 0) == 0) continue;  // X overflows
        SCOPED_TRACE(name);
        const int m = a.RowsNb(), n = a.ColsNb();
        Matrix<T> x(n, m);
        double condition = -1;
        ASSERT_EQ(a.PseudoInverse(x, mlNormSpectral, condition), 1);
        EXPECT_GE(condition, 0.0);
        // Penrose: A X A = A, X A X = X, A X and X A symmetric.
        const double na = Frobenius(a), nx = Frobenius(x), tol = RelTol<T>(m, n) * 20;
        const Matrix<T> ax = a * x, xa = x * a;
        EXPECT_LE(Residual(a, ax, a.Transpose()), tol * na);
        EXPECT_LE(Residual(x, xa, x.Transpose()), tol * nx * (1 + na * nx));
        EXPECT_LE(Residual(ax, Eye<T>(m), ax), tol * (1 + na * nx));
        EXPECT_LE(Residual(xa, Eye<T>(n), xa), tol * (1 + na * nx));
        // Least squares: the residual b - A x is orthogonal to the columns of A.
        const Matrix<T> bm = Random<T>(m, 1, 70);
        CMLVectorN<T> b(m, &bm[0]), xs(n);
        ASSERT_EQ(a.PseudoSolveSystem(b, xs, mlNormSpectral, condition), 1);
        const double bound = tol * na * (Frobenius(bm) + na * Frobenius(Matrix<T>(n, 1, &xs[0])));
        for (int j = 0; j < n; ++j) {
            double t = 0;
            for (int i = 0; i < m; ++i) {
                double r = b[i];
                for (int p = 0; p < n; ++p)
                    r -= double(a(i, p)) * double(xs[p]);
                t += double(a(i, j)) * r;
            }
            EXPECT_LE(std::fabs(t), bound);
        }
    }
    // Exact values, the condition in two norms, refused shapes, the zero matrix.
    const T d[2] = {4, T(0.5)};
    const Matrix<T> a = Diagonal(3, 2, d);
    Matrix<T> x(2, 3), wrong(3, 2), zero(2, 3), zx(3, 2);
    CMLVectorN<T> shortB(2), xs(2);
    double c = -1;
    EXPECT_EQ(a.PseudoInverse(wrong, mlNormSpectral, c), 0);
    EXPECT_EQ(c, -1.0);
    ASSERT_EQ(a.PseudoInverse(x, mlNormSpectral, c), 1);
    EXPECT_NEAR(c, 8.0, 1e-5);
    EXPECT_NEAR(double(x(0, 0)), 0.25, 1e-6);
    EXPECT_NEAR(double(x(1, 1)), 2.0, 1e-6);
    ASSERT_EQ(a.PseudoInverse(x, mlNormFrobenius, c), 1);
    EXPECT_NEAR(c, std::sqrt(16.25) * std::sqrt(4.0625), 1e-4);
    zx(0, 0) = T(5);
    ASSERT_EQ(zero.PseudoInverse(zx, mlNormRowSum, c), 1);
    EXPECT_EQ(zx.IsAlmostZero(T(0)), 1);
    EXPECT_EQ(c, 0.0);
    EXPECT_EQ(Random<T>(3, 2, 71).PseudoSolveSystem(shortB, xs, mlNormSpectral, c), 0);
}

TYPED_TEST(SvdTyped, RankOfRankDeficientMatrices) {
    using T = TypeParam;
    const T eps = std::is_same_v<T, float> ? T(1e-5) : T(1e-10);
    for (int r = 0; r <= 5; ++r) {
        Matrix<T> a = r == 0 ? Matrix<T>(9, 7) : Random<T>(9, r, 80 + r) * Random<T>(r, 7, 90 + r);
        EXPECT_EQ(a.CalculateRank(eps), r);
        EXPECT_EQ(a.GetRank(), r);
        ASSERT_EQ(a.IsSingCalculated(), 1);
        T s[7] = {};
        a.GetSingularNumbers(s);
        EXPECT_GT(r > 0 ? s[r - 1] : T(1), eps);
        EXPECT_LE(s[r], T(100) * std::numeric_limits<T>::epsilon() * (s[0] + 1));
    }
    EXPECT_EQ(Random<T>(4, 6, 99).CalculateRank(eps), 4);
    // The caller's eps is an absolute floor for matrices of norm below 1.
    const T d[3] = {T(0.5), T(1e-3), T(1e-6)};
    Matrix<T> g = Diagonal(3, 3, d), bad = Random<T>(3, 3, 98);
    EXPECT_EQ(g.CalculateRank(T(1e-4)), 2);
    EXPECT_EQ(g.CalculateRank(T(1e-2)), 1);
    bad(0, 0) = std::numeric_limits<T>::infinity();
    EXPECT_EQ(bad.CalculateRank(eps), -1);
    EXPECT_EQ(bad.GetRank(), -1);
}

TYPED_TEST(SvdTyped, InverseCodesAndResults) {
    using T = TypeParam;
    Matrix<T> a = Random<T>(7, 7, 100) + Eye<T>(7) * T(3), inv(7, 7), byRows(7, 7);
    double c = -1;
    ASSERT_EQ(a.Inverse(inv, mlNormSpectral, T(1e-6), c), 0);
    EXPECT_LE(Residual(Eye<T>(7), a, inv.Transpose()), RelTol<T>(7, 7) * 50);
    EXPECT_NEAR(c, double(a.Norm(mlNormSpectral)) * double(inv.Norm(mlNormSpectral)), 1e-4 * c);
    ASSERT_EQ(a.Inverse(inv, mlNormColumnSum, T(1e-6), c), 0);
    EXPECT_NEAR(c, double(a.Norm(mlNormColumnSum)) * double(inv.Norm(mlNormColumnSum)), 1e-4 * c);
    ASSERT_EQ(a.Inverse(byRows, T(1e-6)), 0);  // more than 4 rows: the general path
    EXPECT_LE(Residual(Eye<T>(7), a, byRows.Transpose()), RelTol<T>(7, 7) * 50);
    // Singular: code 3, out untouched, condition at the guard value.
    const Matrix<T> sing = Random<T>(5, 2, 101) * Random<T>(2, 5, 102);
    Matrix<T> out(5, 5), o99(9, 9), o23(2, 3), o44(4, 4), empty, eo, nan(a);
    out(0, 0) = T(42);
    ASSERT_EQ(sing.Inverse(out, mlNormSpectral, T(1e-6), c), 3);
    EXPECT_EQ(out(0, 0), T(42));
    EXPECT_EQ(c, static_cast<double>(mlBigValue<double>));
    EXPECT_EQ(Matrix<T>(9, 9).Inverse(o99, T(1e-6)), 3);
    // Not square, wrong output, empty: 1. Non-finite: 2.
    EXPECT_EQ(Matrix<T>(2, 3).Inverse(o23, mlNormSpectral, T(1e-6), c), 1);
    EXPECT_EQ(a.Inverse(o44, mlNormSpectral, T(1e-6), c), 1);
    EXPECT_EQ(empty.Inverse(eo, mlNormSpectral, T(1e-6), c), 1);
    nan(2, 3) = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(nan.Inverse(inv, mlNormSpectral, T(1e-6), c), 2);
    // By row count: 0 or 1 rows return 1 at once; a 1 x 1 matrix is deliberately not inverted.
    const Matrix<T> one(1, 1, std::vector<T>{T(4)}.data());
    Matrix<T> oneOut(1, 1, std::vector<T>{T(-5)}.data());
    EXPECT_EQ(one.Inverse(oneOut, T(1e-6)), 1);
    EXPECT_EQ(oneOut(0, 0), T(-5));
    EXPECT_EQ(empty.Inverse(eo, T(1e-6)), 1);
}

// The 2 x 2, 3 x 3 and 4 x 4 cases of Inverse(out, eps) belong to the fixed matrices, which decide
// singularity by |det| < eps (strict) and return 0 or 3.
TYPED_TEST(SvdTyped, InverseOfSmallOrdersUsesTheFixedMatrices) {
    using T = TypeParam;
    // Well conditioned but with det = 1e-6 below eps: singular for the determinant test.
    Matrix<T> small(3);
    small.SetDiagonal(T(0.01));
    Matrix<T> out(3, 3);
    out(1, 2) = T(8);
    EXPECT_EQ(small.Inverse(out, T(2e-6)), 3);
    EXPECT_EQ(out(1, 2), T(8));
    // |det| exactly eps inverts.
    Matrix<T> two(2);
    two(0, 0) = T(0.5);
    two(1, 1) = T(0.25);
    Matrix<T> inv(2, 2);
    EXPECT_EQ(two.Inverse(inv, T(0.125)), 0);
    EXPECT_EQ(inv(0, 0), T(2));
    EXPECT_EQ(inv(1, 1), T(4));
    // Order 4: the adjugate formula.
    Matrix<T> four(4);
    four.SetDiagonal(T(2));
    four(0, 3) = T(1);
    Matrix<T> inv4(4, 4);
    EXPECT_EQ(four.Inverse(inv4, T(1e-6)), 0);
    EXPECT_EQ(inv4(0, 3), T(-0.25));
}

TYPED_TEST(SvdTyped, QrSkipsReducedColumnsAndQrtUsesOneRotation) {
    using T = TypeParam;
    const T entries[6] = {-2, 1, 0, 3, 0, T(1e-9)};
    Matrix<T> a(3, 2, entries), q(3, 3), r(3, 2), wrongR(2, 2), q2(2, 2), r2(2, 4), r3(3, 2);
    ASSERT_EQ(a.QR_Decomposition(q, r, T(1e-6)), 1);
    // Column 0 needs no reflection: Q's first column is -e0 (the diagonal made non-negative);
    // column 1's part below the diagonal is within eps of its norm and is dropped.
    EXPECT_EQ(q(0, 0), T(-1));
    EXPECT_EQ(q(1, 0), T(0));
    EXPECT_EQ(q(1, 1), T(1));
    EXPECT_EQ(r(0, 0), T(2));
    EXPECT_EQ(r(1, 1), T(3));
    EXPECT_EQ(a.QR_Decomposition(q, wrongR, T(0)), 0);
    const Matrix<T> b = Random<T>(2, 4, 120);
    ASSERT_EQ(b.QRT_2D(q2, r2, T(0)), 1);
    EXPECT_EQ(r2(1, 0), T(0));
    EXPECT_GE(r2(0, 0), T(0));
    EXPECT_EQ(q2(0, 0), q2(1, 1));  // a rotation
    EXPECT_EQ(q2(0, 1), -q2(1, 0));
    EXPECT_LE(Residual(b, q2, r2.Transpose()), RelTol<T>(2, 4));
    EXPECT_LE(OrthonormalityError(q2), RelTol<T>(2, 2));
    EXPECT_EQ(Matrix<T>(3, 2).QRT_2D(q2, r3, T(0)), 0);
}

TYPED_TEST(SvdTyped, HouseholderReflectionsReduceToBidiagonalForm) {
    using T = TypeParam;
    T x[3] = {T(2), T(-1), T(2)}, alpha = T(4), zero[2] = {}, a2 = T(3);
    EXPECT_NE(Matrix<T>::Householder1(4, alpha, x, 1), T(0));
    EXPECT_NEAR(std::fabs(double(alpha)), 5.0, 1e-6);          // |(4, 2, -1, 2)| = 5
    EXPECT_EQ(Matrix<T>::Householder1(3, a2, zero, 1), T(0));  // nothing to reflect
    EXPECT_EQ(a2, T(3));
    // Alternating reflections from the left and the right (both built on the two members above)
    // reduce to bidiagonal form and keep the singular values.
    const Matrix<T> a = Random<T>(7, 5, 130);
    Matrix<T> b(a), u1(7, 5), v1(5, 5), u2(7, 5), v2(5, 5);
    CMLVectorN<T> s1(5), s2(5);
    std::vector<T> v(7);
    T t;
    for (int k = 0; k < 5; ++k) {
        ASSERT_EQ(b.ZeroUpperTransform(k, v.data(), t), 1);
        ASSERT_EQ(k + 1 < 5 ? b.ZeroRightTransform(k, v.data(), t) : 1, 1);
    }
    EXPECT_EQ(b.ZeroRightTransform(4, v.data(), t), 0);
    EXPECT_EQ(b.ZeroUpperTransform(5, v.data(), t), 0);
    EXPECT_EQ(b.IsBidiagonal(T(0)), 1);
    ASSERT_EQ(a.SV_Decomposition(u1, v1, s1, T(0)), 1);
    ASSERT_EQ(b.SV_Decomposition(u2, v2, s2, T(0)), 1);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(double(s1[i]), double(s2[i]), RelTol<T>(7, 5) * 10);
}

TYPED_TEST(SvdTyped, GivensRotations) {
    using T = TypeParam;
    T c, s, r;
    Matrix<T>::Givens1(T(-2), T(0), c, s, r);
    EXPECT_EQ(c, T(1));
    EXPECT_EQ(s, T(0));
    EXPECT_EQ(r, T(-2));
    Matrix<T>::Givens1(T(3), T(-4), c, s, r);
    EXPECT_NEAR(double(r), 5.0, 1e-6);
    EXPECT_GE(c, T(0));
    EXPECT_NEAR(double(-s * T(3) + c * T(-4)), 0.0, 1e-6);
    // The same angle zeroes m(1, 0) acting on rows and w(0, 1) acting on columns.
    const T rows[6] = {3, 1, -4, 2, 5, 6}, cols[6] = {3, -4, 1, 0, 1, 1};
    const T rowsAfter[6] = {5, -1, 0, 2, 5, 6}, colsAfter[6] = {5, 0, 1, T(-0.8), T(0.6), 1};
    Matrix<T> m(3, 2, rows), w(2, 3, cols);
    m.Givens2(0, 1, c, s, 1);
    w.Givens2(0, 1, c, s, 0);
    w.Givens2(0, 5, c, s, 0);  // out of range: nothing
    for (int i = 0; i < 6; ++i) {
        EXPECT_NEAR(double(m[i]), double(rowsAfter[i]), 1e-6) << i;
        EXPECT_NEAR(double(w[i]), double(colsAfter[i]), 1e-6) << i;
    }
}

TYPED_TEST(SvdTyped, BidiagonalQrDiagonalisesWithAccumulatedRotations) {
    using T = TypeParam;
    const int n = 8;
    CMLVectorN<T> d(n), e(n - 1);
    for (int i = 0; i < n; ++i)
        d[i] = T(1 + (i * 37) % 11) * (i % 3 ? T(1) : T(-1));
    for (int i = 0; i < n - 1; ++i)
        e[i] = T(0.5 + i % 4);
    e[0] = e[6] = T(0);  // rows 1..6 form a separate block
    const Matrix<T> b = Diagonal(n, n, &d[0], &e[0]);
    const double tol = RelTol<T>(n, n) * 20;
    // Each sweep, shifted or not, keeps B = U B' V^T.
    Matrix<T> u = Eye<T>(n), v = Eye<T>(n);
    CMLVectorN<T> d1(d), e1(e), d2(d), e2(e), d3(d), e3(e);
    for (const T shift : {T(0.75), T(0)}) {
        ASSERT_EQ(Matrix<T>::Apply_QRBD(1, 6, d1, e1, shift, &u, &v), 1);
        EXPECT_LE(Residual(b, u * Diagonal(n, n, &d1[0], &e1[0]), v), tol) << shift;
    }
    EXPECT_EQ(d1[7], d[7]);                                           // outside the block
    EXPECT_EQ(Matrix<T>::Apply_QRBD(3, 3, d1, e1, T(0), &u, &v), 0);  // empty block
    // The whole iteration: B = U diag(d) V^T with sorted non-negative values.
    u = Eye<T>(n);
    v = Eye<T>(n);
    ASSERT_EQ(Matrix<T>::QRBD(d2, e2, &u, &v, T(0)), 1);
    for (int i = 0; i < n; ++i) {
        EXPECT_GE(d2[i], T(0));
        EXPECT_LE(d2[i], i > 0 ? d2[i - 1] : d2[i]);
        EXPECT_EQ(i + 1 < n ? e2[i] : T(0), T(0));
    }
    EXPECT_LE(Residual(b, u, v, &d2[0]), tol);
    EXPECT_LE(OrthonormalityError(u), RelTol<T>(n, n));
    // Values near the top of the range converge without overflow; a NaN fails.
    const T scale = std::numeric_limits<T>::max() / T(16) / T(11);
    CMLVectorN<T> dh(d * scale), eh(e * scale);
    ASSERT_EQ(Matrix<T>::QRBD(dh, eh, nullptr, nullptr, T(0)), 1);
    for (int i = 0; i < n; ++i)
        EXPECT_NEAR(double(dh[i] / scale), double(d2[i]), 1e-4);
    d3[4] = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(Matrix<T>::QRBD(d3, e3, nullptr, nullptr, T(0)), 0);
}

TYPED_TEST(SvdTyped, NonFiniteInputFailsThroughTheReturnValue) {
    using T = TypeParam;
    const T inf = std::numeric_limits<T>::infinity();
    for (const T bad : {std::numeric_limits<T>::quiet_NaN(), inf, -inf}) {
        for (const auto& [m, n] : {std::pair<int, int>(4, 4), {2, 5}, {1, 1}}) {
            Matrix<T> a = Random<T>(m, n, 140);
            a[m * n - 1] = bad;
            const int k = std::min(m, n);
            Matrix<T> u(m, k), v(n, k), q(m, k), r(k, n), x(n, m);
            u(0, 0) = T(3);
            CMLVectorN<T> s(k, T(5));
            double c = 7;
            EXPECT_EQ(a.SV_Decomposition(u, v, s, T(0)), 0);
            EXPECT_EQ(u(0, 0), T(3));  // untouched
            EXPECT_EQ(s[0], T(5));
            EXPECT_EQ(a.QR_Decomposition(q, r, T(0)), 0);
            EXPECT_EQ(a.PseudoInverse(x, mlNormSpectral, c), 0);
            EXPECT_EQ(c, 7.0);
            EXPECT_EQ(a.ThinSVD(u, v, s), 1);
            EXPECT_EQ(a.CalculateRank(T(0)), -1);
        }
    }
}

TYPED_TEST(SvdTyped, StructuredRandomInputsAllConverge) {
    using T = TypeParam;
    // Zeros, repeated values, huge and tiny magnitudes mixed: every decomposition terminates and
    // meets its contract.
    std::mt19937 rng(150);
    std::uniform_int_distribution<int> pick(0, 7), size(1, 9);
    std::uniform_real_distribution<double> u(-1, 1);
    const double big = std::is_same_v<T, float> ? 1e30 : 1e250;
    const double fixed[3] = {0, 1, -1}, scale[8] = {0, 0, 0, big, 1 / big, 1, 1, 1};
    for (int t = 0; t < 300; ++t) {
        const int m = size(rng), n = size(rng);
        Matrix<T> a(m, n);
        for (int i = 0; i < m * n; ++i) {
            const int kind = pick(rng);
            a[i] = static_cast<T>(kind < 3 ? fixed[kind] : scale[kind] * u(rng));
        }
        ExpectContracts(a, t % 2 == 0, "structured #" + std::to_string(t));
    }
}

// Entries spanning more than the square root of the exponent range leave subnormal values in the
// reflectors; a matrix of subnormal entries has a subnormal largest element.
TYPED_TEST(SvdTyped, WideDynamicRangeDecomposes) {
    using T = TypeParam;
    const T big = std::is_same_v<T, float> ? T(1e20) : T(1e160), v[6] = {0, 0, 1, 0, -big, -1};
    ExpectContracts(Matrix<T>(3, 2, v), false, "(0 0; 1 0; -big -1)");
    // Subnormal values carry only a few bits: the factors stay orthonormal and the product
    // reconstructs the matrix to within a few units of the smallest subnormal.
    const T tiny = std::numeric_limits<T>::denorm_min() * 1000, w[4] = {tiny, 2 * tiny, 0, tiny};
    const Matrix<T> a(2, 2, w);
    Matrix<T> uf(2, 2), vf(2, 2);
    CMLVectorN<T> sv(2);
    ASSERT_EQ(a.SV_Decomposition(uf, vf, sv, T(0)), 1);
    const T padded[2] = {sv[0], sv[1]};
    EXPECT_LE(Residual(a, uf, vf, padded), 8 * double(std::numeric_limits<T>::denorm_min()));
    EXPECT_LE(OrthonormalityError(uf), RelTol<T>(2, 2));
    EXPECT_LE(OrthonormalityError(vf), RelTol<T>(2, 2));
}

}  // namespace
