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

// d on the diagonal, the optional superdiagonal above it (ones on the diagonal when d is null).
template <class T>
Matrix<T> Diagonal(int rows, int cols, const T* d, const T* superdiagonal = nullptr) {
    Matrix<T> m(rows, cols);
    for (int i = 0; i < std::min(rows, cols); ++i) {
        m(i, i) = d ? d[i] : T(1);
        if (superdiagonal && i + 1 < cols) m(i, i + 1) = superdiagonal[i];
    }
    return m;
}

template <class T>
Matrix<T> Eye(int n) {
    return Diagonal<T>(n, n, nullptr);
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
    std::vector<T> padded(&s[0], &s[0] + k);
    EXPECT_TRUE(std::is_sorted(padded.rbegin(), padded.rend()));
    EXPECT_GE(padded.back(), T(0));
    padded.resize(std::max(m, n), T(0));  // full factors meet no value beyond k
    EXPECT_LE(Residual(a, u, v, padded.data()), tol * norm);
    EXPECT_LE(std::max(OrthonormalityError(u), OrthonormalityError(v)), tol);
    EXPECT_NEAR(double(s[0]), double(a.Norm(mlNormSpectral)), tol * norm);
    if (!qr) return;
    ASSERT_EQ(a.QR_Decomposition(q, r, T(0)), 1);
    EXPECT_LE(Residual(a, q, r.Transpose()), tol * norm);
    EXPECT_LE(OrthonormalityError(q), tol);
    EXPECT_EQ(r.IsURTriangular(T(0)), 1);
    for (int i = 0; i < k; ++i)
        EXPECT_GE(r(i, i), T(0));
}

// The hard inputs every decomposition meets.
template <class T>
std::vector<std::pair<std::string, Matrix<T>>> Battery() {
    const T perm[16] = {0, 0, 3, 0, -3, 0, 0, 0, 0, 0, 0, 3, 0, -3, 0, 0};  // repeated values
    const T d[6] = {1, 2, 0, 4, 5, 6}, e[5] = {1, 1, 1, 1, 1};
    // Entries spanning more than the square root of the exponent range leave subnormal values in
    // the reflectors.
    const T big = std::is_same_v<T, float> ? T(1e20) : T(1e160), wide[6] = {0, 0, 1, 0, -big, -1};
    std::vector<std::pair<std::string, Matrix<T>>> b = {
        {"zero 3x5", Matrix<T>(3, 5)},
        {"rank 2 8x6", Random<T>(8, 2, 8) * Random<T>(2, 6, 9)},
        {"scaled permutation 4x4", Matrix<T>(4, 4, perm)},
        {"bidiagonal, zero d[2]", Diagonal(6, 6, d, e)},
        {"wide range 3x2", Matrix<T>(3, 2, wide)},
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

TYPED_TEST(SvdTyped, SvdAndQrContractsOnHardAndStructuredInputs) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        ExpectContracts(a, false, name);
        ExpectContracts(a, true, name);
    }
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
    // Subnormal entries carry only a few bits: the factors stay orthonormal and the product
    // reconstructs the matrix to within a few units of the smallest subnormal.
    const T tiny = std::numeric_limits<T>::denorm_min() * 1000, w[4] = {tiny, 2 * tiny, 0, tiny};
    Matrix<T> sub(2, 2, w), us(2, 2), vs(2, 2);
    CMLVectorN<T> ss(2);
    ASSERT_EQ(sub.SV_Decomposition(us, vs, ss, T(0)), 1);
    EXPECT_LE(Residual(sub, us, vs, &ss[0]), 8 * double(std::numeric_limits<T>::denorm_min()));
    EXPECT_LE(std::max(OrthonormalityError(us), OrthonormalityError(vs)), RelTol<T>(2, 2));
    // SingDecomp2D: the 2 x 2 case in closed form; other shapes take the general decomposition.
    for (int t = 0; t < 400; ++t) {
        Matrix<T> a = Random<T>(2, 2, 1000 + t);
        if (t % 5 == 1) a[2] = T(0);                // already triangular
        if (t % 5 == 2) a[1] = a[2] = T(0);         // diagonal
        if (t % 5 == 3) a[3] = a[2] * a[1] / a[0];  // singular
        if (t % 7 == 0) a[1] *= T(1e6);             // dominant off-diagonal
        ExpectContracts(a, false, "2x2 #" + std::to_string(t), &Matrix<T>::SingDecomp2D, false);
    }
    ExpectContracts(Random<T>(3, 2, 41), false, "3x2", &Matrix<T>::SingDecomp2D, false);
}

TYPED_TEST(SvdTyped, OutputShapesThinSvdCodesAndUnitOffsetWorker) {
    using T = TypeParam;
    const Matrix<T> a = Random<T>(6, 4, 20);
    Matrix<T> u(6, 4), v(4, 4), u5(6, 5), v34(3, 4);
    CMLVectorN<T> s(6, T(9)), shortS(3);
    ASSERT_EQ(a.SV_Decomposition(u, v, s, T(1e-3)), 1);  // a coarse tolerance: a rough result
    EXPECT_LE(Residual(a, u, v, &s[0]), 1e-2 * Frobenius(a));
    EXPECT_EQ(std::vector<T>({s[4], s[5]}), std::vector<T>(2, T(0)));  // the rest of s: 0
    // Outputs of the wrong shape are refused and left alone (U of 5 columns: neither 4 nor 6).
    u.SetConstant(T(7));
    EXPECT_EQ(std::vector<int>({a.SV_Decomposition(u5, v, s, T(0)),
                                a.SV_Decomposition(u, v, shortS, T(0)),
                                a.SV_Decomposition(u, v34, s, T(0)), int(u(0, 0))}),
              std::vector<int>({0, 0, 0, 7}));
    // ThinSVD: 1 for outputs of the wrong shape (the thin form only), 0 with the values kept.
    Matrix<T> w = a.Transpose(), uw(4, 4), vw(6, 4), badV(6, 6);
    CMLVectorN<T> sw(4);
    EXPECT_EQ(std::vector<int>({w.ThinSVD(uw, badV, sw), w.IsSingCalculated(),
                                w.ThinSVD(uw, vw, sw), w.IsSingCalculated()}),
              std::vector<int>({1, 0, 0, 1}));
    T held[4] = {};
    w.GetSingularNumbers(held);
    EXPECT_EQ(std::vector<T>(held, held + 4), std::vector<T>(&sw[0], &sw[0] + 4));
    EXPECT_LE(Residual(w, uw, vw, held), RelTol<T>(4, 6) * 3);
    // The worker, on row-pointer arrays whose index 0 is unused: indices run from 1.
    for (const auto& [m, n] : {std::pair<int, int>(5, 3), {3, 5}}) {
        const Matrix<T> g = Random<T>(m, n, 60 + m);
        Matrix<T> ga(m + 1, n + 1), va(n + 1, n + 1);
        std::vector<T*> ap(m + 1), vp(n + 1);
        std::vector<T> ws(n + 1);
        for (int i = 0; i <= m; ++i)
            ap[i] = &ga(i, 0);
        for (int i = 0; i <= n; ++i)
            vp[i] = &va(i, 0);
        ga.InsertMatrix(g, 1, 1, m, n);
        ASSERT_EQ(Matrix<T>::ThinSVDUnitOffsetInPlace(ap.data(), m, n, ws.data(), vp.data(), T(0)),
                  1);
        const Matrix<T> vv = va.ExtractMatrix(1, 1, n, n);
        EXPECT_LE(Residual(g, ga.ExtractMatrix(1, 1, m, n), vv, &ws[1]),
                  RelTol<T>(m, n) * Frobenius(g));
        EXPECT_LE(OrthonormalityError(vv), RelTol<T>(m, n));  // V is square orthogonal
        EXPECT_EQ(m < n ? ws[n] : T(0), T(0));
    }
    EXPECT_EQ(Matrix<T>::ThinSVDUnitOffsetInPlace(nullptr, 2, 2, nullptr, nullptr, T(0)), 0);
}

TYPED_TEST(SvdTyped, PseudoInverseLeastSquaresAndRank) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        if (name[0] == 't' || name[0] == 'h' || name[0] == 'w') continue;  // tiny, huge, wide
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
        const Matrix<T> xm(n, 1, &xs[0]), r = bm - a * xm;
        EXPECT_LE(Residual(Matrix<T>(n, 1), a.Transpose(), r.Transpose()),
                  tol * na * (Frobenius(bm) + na * Frobenius(xm)));
    }
    // Exact values, the condition in two norms, refused shapes, the zero matrix.
    const T d[3] = {4, T(0.5)}, expected[6] = {T(0.25), 0, 0, 0, 2, 0};
    const Matrix<T> a = Diagonal(3, 2, d);
    Matrix<T> x(2, 3), wrong(3, 2), zero(2, 3), zx(3, 2);
    CMLVectorN<T> shortB(2), xs(2);
    double c = -1, c2 = -1, c0 = -1;
    EXPECT_EQ(a.PseudoInverse(wrong, mlNormSpectral, c), 0);
    EXPECT_EQ(c, -1.0);
    ASSERT_EQ(a.PseudoInverse(x, mlNormFrobenius, c2) + a.PseudoInverse(x, mlNormSpectral, c), 2);
    EXPECT_EQ(mlAreAlmostEqual(x, Matrix<T>(2, 3, expected), 1e-6), 1);
    EXPECT_NEAR(c, 8.0, 1e-5);
    EXPECT_NEAR(c2, std::sqrt(16.25) * std::sqrt(4.0625), 1e-4);
    zx(0, 0) = T(5);
    ASSERT_EQ(zero.PseudoInverse(zx, mlNormRowSum, c0), 1);
    EXPECT_EQ(zx.IsAlmostZero(T(0)), 1);
    EXPECT_EQ(c0, 0.0);
    EXPECT_EQ(Random<T>(3, 2, 71).PseudoSolveSystem(shortB, xs, mlNormSpectral, c), 0);
    // Rank of rank-deficient matrices, cached with the singular values.
    const T eps = std::is_same_v<T, float> ? T(1e-5) : T(1e-10);
    for (int r = 0; r <= 5; ++r) {
        Matrix<T> a = r == 0 ? Matrix<T>(9, 7) : Random<T>(9, r, 80 + r) * Random<T>(r, 7, 90 + r);
        EXPECT_EQ(std::vector<int>({a.CalculateRank(eps), a.GetRank(), a.IsSingCalculated()}),
                  std::vector<int>({r, r, 1}));
        T s[7] = {};
        a.GetSingularNumbers(s);
        EXPECT_GT(r > 0 ? s[r - 1] : T(1), eps);
        EXPECT_LE(s[r], T(100) * std::numeric_limits<T>::epsilon() * (s[0] + 1));
    }
    // The caller's eps is an absolute floor for matrices of norm below 1.
    const T d3[3] = {T(0.5), T(1e-3), T(1e-6)};
    Matrix<T> g = Diagonal(3, 3, d3);
    EXPECT_EQ(std::vector<int>({g.CalculateRank(T(1e-4)), g.CalculateRank(T(1e-2))}),
              std::vector<int>({2, 1}));
}

TYPED_TEST(SvdTyped, InverseCodesResultsAndTheDispatchByRowCount) {
    using T = TypeParam;
    const T eps = T(1e-6);
    const Matrix<T> a = Random<T>(7, 7, 100) + Eye<T>(7) * T(3);
    Matrix<T> inv(7, 7), byRows(7, 7);
    double c = -1;
    for (const mlMatrixNorm norm : {mlNormColumnSum, mlNormSpectral}) {
        ASSERT_EQ(a.Inverse(inv, norm, eps, c), 0);
        EXPECT_LE(Residual(Eye<T>(7), a, inv.Transpose()), RelTol<T>(7, 7) * 50);
        EXPECT_NEAR(c, double(a.Norm(norm)) * double(inv.Norm(norm)), 1e-4 * c);
    }
    ASSERT_EQ(a.Inverse(byRows, eps), 0);  // more than 4 rows: the general path
    EXPECT_EQ(mlAreAlmostEqual(byRows, inv, 0.0), 1);
    // Singular: code 3, out untouched, condition at the guard value. Not square, wrong output,
    // empty: 1.
    const Matrix<T> sing = Random<T>(5, 2, 101) * Random<T>(2, 5, 102);
    Matrix<T> out(5, 5), o99(9, 9), o23(2, 3), o44(4, 4), empty, eo;
    out(0, 0) = T(42);
    EXPECT_EQ(
        std::vector<int>(
            {sing.Inverse(out, mlNormSpectral, eps, c), Matrix<T>(9, 9).Inverse(o99, eps),
             Matrix<T>(2, 3).Inverse(o23, mlNormSpectral, eps, c),
             a.Inverse(o44, mlNormSpectral, eps, c), empty.Inverse(eo, mlNormSpectral, eps, c)}),
        std::vector<int>({3, 3, 1, 1, 1}));
    EXPECT_EQ(out(0, 0), T(42));
    EXPECT_EQ(c, static_cast<double>(mlBigValue<double>));
    // By row count: 0 or 1 rows return 1 at once; a 1 x 1 matrix is deliberately not inverted.
    const T four = 4, minusFive = -5;
    Matrix<T> one(1, 1, &four), oneOut(1, 1, &minusFive);
    EXPECT_EQ(one.Inverse(oneOut, eps) + empty.Inverse(eo, eps), 2);
    EXPECT_EQ(oneOut(0, 0), T(-5));
    // 2, 3 and 4 rows go to the fixed matrices, which decide by |det| < eps (strict): a well
    // conditioned 3 x 3 with det = 1e-6 is singular there, not for the general inverse.
    Matrix<T> small = Diagonal<T>(3, 3, nullptr) * T(0.01), o3(3, 3);
    o3(1, 2) = T(8);
    EXPECT_EQ(small.Inverse(o3, T(2e-6)), 3);
    EXPECT_EQ(o3(1, 2), T(8));
    EXPECT_EQ(small.Inverse(o3, mlNormSpectral, T(2e-6), c), 0);
    const T d2[2] = {T(0.5), T(0.25)}, d4[4] = {2, 2, 2, 2};
    Matrix<T> two = Diagonal(2, 2, d2), four4 = Diagonal(4, 4, d4), o2(2, 2), o4(4, 4);
    four4(0, 3) = T(1);
    EXPECT_EQ(two.Inverse(o2, T(0.125)) + four4.Inverse(o4, eps), 0);  // |det| == eps inverts
    EXPECT_EQ(std::vector<T>({o2(0, 0), o2(1, 1), o4(0, 3)}), std::vector<T>({2, 4, -0.25}));
    const T entriesOf3x2[6] = {1, 2, 3, 4, 5, 6};
    // A tall matrix has no square block to invert: singular, never read past its end; a small
    // out receives the part of the inverse that fits.
    Matrix<T> tall(3, 2), o1(1, 1), o32(3, 2, entriesOf3x2);
    EXPECT_EQ(tall.Inverse(o32, eps), 3);
    EXPECT_EQ(o32(2, 1), T(6));
    EXPECT_EQ(two.Inverse(o1, eps), 0);
    EXPECT_EQ(o1(0, 0), T(2));
}

TYPED_TEST(SvdTyped, QrReflectionsAndRotations) {
    using T = TypeParam;
    const T entries[6] = {-2, 1, 0, 3, 0, T(1e-9)};
    Matrix<T> qa(3, 2, entries), qq(3, 3), rq(3, 2), wrongR(2, 2), q2(2, 2), r2(2, 4), r3(3, 2);
    ASSERT_EQ(qa.QR_Decomposition(qq, rq, T(1e-6)), 1);
    // Column 0 needs no reflection: Q's first column is -e0 (the diagonal made non-negative);
    // column 1's part below the diagonal is within eps of its norm and is dropped.
    EXPECT_EQ(std::vector<T>({qq(0, 0), qq(1, 0), qq(1, 1), rq(0, 0), rq(1, 1)}),
              std::vector<T>({-1, 0, 1, 2, 3}));
    EXPECT_EQ(qa.QR_Decomposition(qq, wrongR, T(0)), 0);
    const Matrix<T> wide = Random<T>(2, 4, 120);
    ASSERT_EQ(wide.QRT_2D(q2, r2, T(0)), 1);
    EXPECT_EQ(r2(1, 0), T(0));
    EXPECT_GE(r2(0, 0), T(0));
    EXPECT_EQ(std::vector<T>({q2(0, 0), q2(0, 1)}), std::vector<T>({q2(1, 1), -q2(1, 0)}));
    EXPECT_LE(Residual(wide, q2, r2.Transpose()), RelTol<T>(2, 4));
    EXPECT_LE(OrthonormalityError(q2), RelTol<T>(2, 2));
    EXPECT_EQ(Matrix<T>(3, 2).QRT_2D(q2, r3, T(0)), 0);
    // Householder1 reflects (alpha, x) onto (beta, 0, ...); nothing to reflect gives tau 0.
    T x[3] = {T(2), T(-1), T(2)}, alpha = T(4), zero[2] = {}, a2 = T(3);
    EXPECT_NE(Matrix<T>::Householder1(4, alpha, x, 1), T(0));
    EXPECT_NEAR(std::fabs(double(alpha)), 5.0, 1e-6);          // |(4, 2, -1, 2)| = 5
    EXPECT_EQ(Matrix<T>::Householder1(3, a2, zero, 1), T(0));  // nothing to reflect
    EXPECT_EQ(a2, T(3));
    // Alternating reflections from the left and the right (both built on the two members above)
    // reduce to bidiagonal form and keep the norms.
    const Matrix<T> a = Random<T>(7, 5, 130);
    Matrix<T> b(a);
    std::vector<T> v(7);
    T t;
    for (int k = 0; k < 5; ++k) {
        ASSERT_EQ(b.ZeroUpperTransform(k, v.data(), t), 1);
        ASSERT_EQ(k + 1 < 5 ? b.ZeroRightTransform(k, v.data(), t) : 1, 1);
    }
    EXPECT_EQ(b.ZeroRightTransform(4, v.data(), t) + b.ZeroUpperTransform(5, v.data(), t), 0);
    EXPECT_EQ(b.IsBidiagonal(T(0)), 1);
    for (const mlMatrixNorm norm : {mlNormSpectral, mlNormFrobenius})
        EXPECT_NEAR(double(b.Norm(norm)), double(a.Norm(norm)), RelTol<T>(7, 5) * 10);
    // Plane rotations: r keeps the sign of a; the angle of (3, -4) zeroes m(1, 0) acting on rows
    // and w(0, 1) acting on columns.
    T c, s, r;
    Matrix<T>::Givens1(T(-2), T(0), c, s, r);
    const T r0 = r;
    Matrix<T>::Givens1(T(3), T(-4), c, s, r);
    EXPECT_EQ(r0, T(-2));
    EXPECT_NEAR(double(r), 5.0, 1e-6);
    const T rows[6] = {3, 1, -4, 2, 5, 6}, cols[6] = {3, -4, 1, 0, 1, 1};
    const T rowsAfter[6] = {5, -1, 0, 2, 5, 6}, colsAfter[6] = {5, 0, 1, T(-0.8), T(0.6), 1};
    Matrix<T> m(3, 2, rows), w(2, 3, cols);
    m.Givens2(0, 1, c, s, 1);
    w.Givens2(0, 1, c, s, 0);
    w.Givens2(0, 5, c, s, 0);  // out of range: nothing
    EXPECT_EQ(mlAreAlmostEqual(m, Matrix<T>(3, 2, rowsAfter), 1e-6), 1);
    EXPECT_EQ(mlAreAlmostEqual(w, Matrix<T>(2, 3, colsAfter), 1e-6), 1);
}

TYPED_TEST(SvdTyped, BidiagonalQrDiagonalisesWithAccumulatedRotations) {
    using T = TypeParam;
    const int n = 8;
    const T dv[n] = {-1, 4, 8, -1, 5, 9, -2, 6},
            ev[n - 1] = {0, T(1.5), T(2.5), T(3.5), T(0.5), T(1.5), 0};  // rows 1..6: one block
    CMLVectorN<T> d1(n, dv), e1(n - 1, ev), d2(d1), e2(e1);
    const Matrix<T> b = Diagonal(n, n, dv, ev);
    const double tol = RelTol<T>(n, n) * 20;
    // Each sweep, shifted or not, keeps B = U B' V^T.
    Matrix<T> u = Eye<T>(n), v = Eye<T>(n);
    for (const T shift : {T(0.75), T(0)}) {
        ASSERT_EQ(Matrix<T>::Apply_QRBD(1, 6, d1, e1, shift, &u, &v), 1);
        EXPECT_LE(Residual(b, u * Diagonal(n, n, &d1[0], &e1[0]), v), tol) << shift;
    }
    // Outside the block nothing changes; an empty block is refused.
    EXPECT_EQ(std::vector<T>({d1[7], T(Matrix<T>::Apply_QRBD(3, 3, d1, e1, T(0), &u, &v))}),
              std::vector<T>({dv[7], 0}));
    // The whole iteration: B = U diag(d) V^T with sorted non-negative values.
    u = Eye<T>(n);
    v = Eye<T>(n);
    ASSERT_EQ(Matrix<T>::QRBD(d2, e2, &u, &v, T(0)), 1);
    EXPECT_TRUE(std::is_sorted(&d2[0], &d2[0] + n, [](T x, T y) { return x > y; }));
    EXPECT_EQ(std::vector<T>(&e2[0], &e2[0] + n - 1), std::vector<T>(n - 1, T(0)));
    EXPECT_GE(d2[n - 1], T(0));
    EXPECT_LE(Residual(b, u, v, &d2[0]), tol);
    EXPECT_LE(std::max(OrthonormalityError(u), OrthonormalityError(v)), RelTol<T>(n, n));
}

TYPED_TEST(SvdTyped, NonFiniteInputFailsThroughTheReturnValue) {
    using T = TypeParam;
    const T inf = std::numeric_limits<T>::infinity();
    for (const T bad : {std::numeric_limits<T>::quiet_NaN(), inf, -inf}) {
        for (const auto& [m, n] : {std::pair<int, int>(4, 4), {2, 5}, {1, 1}}) {
            Matrix<T> a = Random<T>(m, n, 140);
            a[m * n - 1] = bad;
            const int k = std::min(m, n);
            Matrix<T> u(m, k), v(n, k), q(m, k), r(k, n), x(n, m), inv(m, m);
            u(0, 0) = T(3);
            CMLVectorN<T> s(k, T(5)), e(k, bad);
            double c = 7;
            // In order: SVD, QR, pseudo-inverse, ThinSVD and its cache flag, rank, cached rank,
            // inverse (square only), bidiagonal QR.
            const std::vector<int> codes = {a.SV_Decomposition(u, v, s, T(0)),
                                            a.QR_Decomposition(q, r, T(0)),
                                            a.PseudoInverse(x, mlNormSpectral, c),
                                            a.ThinSVD(u, v, s),
                                            a.IsSingCalculated(),
                                            a.CalculateRank(T(0)),
                                            a.GetRank(),
                                            m == n ? a.Inverse(inv, mlNormSpectral, T(0), c) : 2,
                                            Matrix<T>::QRBD(e, s, nullptr, nullptr, T(0))};
            EXPECT_EQ(codes, std::vector<int>({0, 0, 0, 1, 0, -1, -1, 2, 0}));
            EXPECT_EQ(std::vector<double>({u(0, 0), s[0], c}), std::vector<double>({3, 5, 7}));
        }
    }
}

}  // namespace
