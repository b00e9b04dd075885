// Decompositions of CMLMatrixMN: the contracts of the singular value decomposition, QR,
// pseudo-inverse, inverse and rank on hard inputs, their building blocks, and termination on
// non-finite input.
#include <ml/matrix_mn.h>

#include <gtest/gtest.h>

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
    return 30.0 * std::numeric_limits<T>::epsilon() * (m > n ? m : n);
}

template <class T>
Matrix<T> Random(int rows, int cols, unsigned seed, double lo = -1, double hi = 1) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> d(lo, hi);
    Matrix<T> m(rows, cols);
    for (int i = 0; i < rows * cols; ++i)
        m[i] = static_cast<T>(d(rng));
    return m;
}

// Products and norms are checked in double whatever T is.
template <class T>
std::vector<double> ToDouble(const CMLBaseMatrix<T>& a) {
    std::vector<double> v(static_cast<std::size_t>(a.RowsNb()) * a.ColsNb());
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = static_cast<double>(a[static_cast<int>(i)]);
    return v;
}

double Frobenius(const std::vector<double>& a) {
    double mx = 0;
    for (double x : a)
        mx = std::fmax(mx, std::fabs(x));
    if (mx == 0) return 0;
    double s = 0;
    for (double x : a)
        s += (x / mx) * (x / mx);
    return mx * std::sqrt(s);
}

// Largest |(A B)(i, j) - C(i, j)| with the operands transposed on request, all in double.
template <class T>
std::vector<double> Product(const CMLBaseMatrix<T>& a, bool ta, const CMLBaseMatrix<T>& b,
                            bool tb) {
    const int m = ta ? a.ColsNb() : a.RowsNb(), k = ta ? a.RowsNb() : a.ColsNb();
    const int n = tb ? b.RowsNb() : b.ColsNb();
    std::vector<double> c(static_cast<std::size_t>(m) * n, 0.0);
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            double s = 0;
            for (int p = 0; p < k; ++p) {
                const double x = ta ? a(p, i) : a(i, p);
                const double y = tb ? b(j, p) : b(p, j);
                s += x * y;
            }
            c[static_cast<std::size_t>(i) * n + j] = s;
        }
    }
    return c;
}

double MaxDiff(const std::vector<double>& a, const std::vector<double>& b) {
    double d = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        d = std::fmax(d, std::fabs(a[i] - b[i]));
    return d;
}

// Largest deviation of Q^T Q from the identity.
template <class T>
double OrthonormalityError(const Matrix<T>& q) {
    const std::vector<double> g = Product(q, true, q, false);
    const int n = q.ColsNb();
    double d = 0;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            d = std::fmax(d, std::fabs(g[static_cast<std::size_t>(i) * n + j] - (i == j)));
        }
    }
    return d;
}

// A = U diag(s) V^T, U and V orthonormal, s non-negative and descending.
template <class T>
void ExpectSvdContract(const Matrix<T>& a, bool full, const std::string& name) {
    const int m = a.RowsNb(), n = a.ColsNb(), k = m < n ? m : n;
    Matrix<T> u(m, full ? m : k), v(n, full ? n : k);
    CMLVectorN<T> s(k);
    ASSERT_EQ(a.SV_Decomposition(u, v, s, T(0)), 1) << name;
    for (int i = 0; i < k; ++i) {
        EXPECT_GE(s[i], T(0)) << name;
        if (i > 0) {
            EXPECT_LE(s[i], s[i - 1]) << name;
        }
    }
    Matrix<T> us(u);
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < us.ColsNb(); ++j)
            us(i, j) *= j < k ? s[j] : T(0);
    }
    // Only the first k columns of full factors meet a singular value.
    const std::vector<double> ref = ToDouble(a);
    std::vector<double> rec(ref.size(), 0.0);
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            double t = 0;
            for (int p = 0; p < k; ++p)
                t += double(us(i, p)) * double(v(j, p));
            rec[static_cast<std::size_t>(i) * n + j] = t;
        }
    }
    const double norm = Frobenius(ref);
    const double tol = RelTol<T>(m, n);
    EXPECT_LE(MaxDiff(rec, ref), tol * norm) << name;
    EXPECT_LE(OrthonormalityError(u), tol) << name;
    EXPECT_LE(OrthonormalityError(v), tol) << name;
    if (k > 0) {
        EXPECT_NEAR(double(s[0]), double(a.Norm(mlNormSpectral)), tol * norm) << name;
    }
}

// The hard inputs every decomposition meets.
template <class T>
std::vector<std::pair<std::string, Matrix<T>>> Battery() {
    std::vector<std::pair<std::string, Matrix<T>>> b;
    b.emplace_back("square 7x7", Random<T>(7, 7, 1));
    b.emplace_back("tall 12x5", Random<T>(12, 5, 2));
    b.emplace_back("wide 5x12", Random<T>(5, 12, 3));
    b.emplace_back("large 61x43", Random<T>(61, 43, 4));
    b.emplace_back("1x1", Random<T>(1, 1, 5));
    b.emplace_back("1x6", Random<T>(1, 6, 6));
    b.emplace_back("6x1", Random<T>(6, 1, 7));
    b.emplace_back("zero 3x5", Matrix<T>(3, 5));
    // Rank 2: an 8 x 2 times a 2 x 6 matrix.
    b.emplace_back("rank-deficient 8x6", Random<T>(8, 2, 8) * Random<T>(2, 6, 9));
    // Rows scaled over many orders of magnitude, columns too.
    Matrix<T> scaled = Random<T>(9, 7, 10);
    const double span = std::is_same_v<T, float> ? 12.0 : 40.0;
    for (int i = 0; i < 9; ++i) {
        for (int j = 0; j < 7; ++j) {
            scaled(i, j) *=
                static_cast<T>(std::pow(10.0, span * (i - 4) / 8 - span * (j - 3) / 12));
        }
    }
    b.emplace_back("badly scaled 9x7", scaled);
    // Uniformly tiny and huge matrices.
    Matrix<T> tiny = Random<T>(5, 4, 11);
    Matrix<T> huge = Random<T>(4, 5, 12);
    const T small = std::numeric_limits<T>::min() * T(16),
            large = std::numeric_limits<T>::max() / T(4);
    for (int i = 0; i < 20; ++i) {
        tiny[i] *= small;
        huge[i] *= large;
    }
    b.emplace_back("tiny 5x4", tiny);
    b.emplace_back("huge 4x5", huge);
    // Repeated singular values: an orthogonal matrix scaled by 3.
    Matrix<T> rot(4);
    const int perm[4] = {2, 0, 3, 1};
    for (int i = 0; i < 4; ++i)
        rot(i, perm[i]) = T(i % 2 ? -3 : 3);
    b.emplace_back("repeated values 4x4", rot);
    // Upper bidiagonal with a zero on the diagonal, and a graded diagonal.
    Matrix<T> bidiag(6);
    for (int i = 0; i < 6; ++i) {
        bidiag(i, i) = i == 2 ? T(0) : T(i + 1);
        if (i < 5) bidiag(i, i + 1) = T(1);
    }
    b.emplace_back("bidiagonal with zero 6x6", bidiag);
    return b;
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(SvdTyped, DecompositionContractOnHardInputsThinAndFull) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        ExpectSvdContract(a, false, name + " thin");
        ExpectSvdContract(a, true, name + " full");
    }
}

TYPED_TEST(SvdTyped, KnownSingularValuesAreFound) {
    using T = TypeParam;
    // A = H1 diag(sigma) H2 with Householder reflections H1, H2: the values are sigma.
    const int m = 6, n = 4;
    const double sigma[4] = {10, 3, 3, 1e-3};
    const Matrix<T> x = Random<T>(m, 1, 20), y = Random<T>(n, 1, 21);
    auto reflector = [](const Matrix<T>& w) {
        const int d = w.RowsNb();
        double nn = 0;
        for (int i = 0; i < d; ++i)
            nn += double(w[i]) * double(w[i]);
        Matrix<T> h(d);
        for (int i = 0; i < d; ++i) {
            for (int j = 0; j < d; ++j)
                h(i, j) = T((i == j) - 2.0 * double(w[i]) * double(w[j]) / nn);
        }
        return h;
    };
    Matrix<T> d(m, n);
    for (int i = 0; i < n; ++i)
        d(i, i) = T(sigma[i]);
    const Matrix<T> a = reflector(x) * d * reflector(y);
    Matrix<T> u(m, n), v(n, n);
    CMLVectorN<T> s(n + 2, T(9));  // longer than needed: the rest becomes 0
    ASSERT_EQ(a.SV_Decomposition(u, v, s, T(0)), 1);
    for (int i = 0; i < n; ++i)
        EXPECT_NEAR(double(s[i]), sigma[i], RelTol<T>(m, n) * 10);
    EXPECT_EQ(s[n], T(0));
    EXPECT_EQ(s[n + 1], T(0));
}

TYPED_TEST(SvdTyped, OutputsOfTheWrongShapeAreRefusedAndLeftAlone) {
    using T = TypeParam;
    const Matrix<T> a = Random<T>(5, 3, 30);
    Matrix<T> u(5, 4, std::vector<T>(20, T(7)).data()), v(3, 3);
    CMLVectorN<T> s(3);
    EXPECT_EQ(a.SV_Decomposition(u, v, s, T(0)), 0);  // 4 columns: neither 3 nor 5
    EXPECT_EQ(u(0, 0), T(7));
    Matrix<T> u2(5, 3);
    CMLVectorN<T> shortS(2);
    EXPECT_EQ(a.SV_Decomposition(u2, v, shortS, T(0)), 0);
    Matrix<T> v2(4, 3);
    EXPECT_EQ(a.SV_Decomposition(u2, v2, s, T(0)), 0);
}

TYPED_TEST(SvdTyped, ToleranceTradesAccuracyForIterations) {
    using T = TypeParam;
    const Matrix<T> a = Random<T>(20, 20, 31);
    Matrix<T> u(20, 20), v(20, 20);
    CMLVectorN<T> s(20);
    ASSERT_EQ(a.SV_Decomposition(u, v, s, T(1e-3)), 1);
    const Matrix<T> us = u * [&] {
        Matrix<T> d(20);
        for (int i = 0; i < 20; ++i)
            d(i, i) = s[i];
        return d;
    }();
    const std::vector<double> rec = Product(us, false, v, true);
    EXPECT_LE(MaxDiff(rec, ToDouble(a)), 1e-2 * Frobenius(ToDouble(a)));
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(SvdTyped, SingDecomp2DClosedFormMeetsTheContract) {
    using T = TypeParam;
    std::mt19937 rng(40);
    std::uniform_real_distribution<double> d(-1, 1);
    for (int t = 0; t < 400; ++t) {
        Matrix<T> a(2, 2);
        for (int i = 0; i < 4; ++i)
            a[i] = static_cast<T>(d(rng));
        if (t % 5 == 1) a[2] = T(0);                // already triangular
        if (t % 5 == 2) a[1] = a[2] = T(0);         // diagonal
        if (t % 5 == 3) a[3] = a[2] * a[1] / a[0];  // singular
        if (t % 7 == 0) a[1] *= T(1e6);             // dominant off-diagonal
        Matrix<T> u(2, 2), v(2, 2);
        CMLVectorN<T> s(2);
        ASSERT_EQ(a.SingDecomp2D(u, v, s, T(0)), 1);
        EXPECT_GE(s[1], T(0));
        EXPECT_GE(s[0], s[1]);
        const std::vector<double> us = Product(
            u, false,
            [&] {
                Matrix<T> dd(2);
                dd(0, 0) = s[0];
                dd(1, 1) = s[1];
                return dd;
            }(),
            false);
        Matrix<T> usm(2, 2);
        for (int i = 0; i < 4; ++i)
            usm[i] = static_cast<T>(us[i]);
        EXPECT_LE(MaxDiff(Product(usm, false, v, true), ToDouble(a)),
                  RelTol<T>(2, 2) * 4 * Frobenius(ToDouble(a)));
        EXPECT_LE(OrthonormalityError(u), RelTol<T>(2, 2));
        EXPECT_LE(OrthonormalityError(v), RelTol<T>(2, 2));
    }
    // Other shapes take the general decomposition.
    ExpectSvdContract(Random<T>(3, 2, 41), false, "3x2 through SingDecomp2D");
    Matrix<T> u(3, 2), v(2, 2);
    CMLVectorN<T> s(2);
    EXPECT_EQ(Random<T>(3, 2, 41).SingDecomp2D(u, v, s, T(0)), 1);
}

TYPED_TEST(SvdTyped, ThinSvdCodesAndCache) {
    using T = TypeParam;
    Matrix<T> a = Random<T>(4, 6, 50);
    Matrix<T> u(4, 4), v(6, 4), badV(6, 6);
    CMLVectorN<T> s(4);
    EXPECT_EQ(a.ThinSVD(u, badV, s), 1);  // the thin form only
    EXPECT_EQ(a.IsSingCalculated(), 0);
    ASSERT_EQ(a.ThinSVD(u, v, s), 0);
    EXPECT_EQ(a.IsSingCalculated(), 1);
    T held[4] = {};
    a.GetSingularNumbers(held);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(held[i], s[i]);
    ExpectSvdContract(a, false, "ThinSVD input");
    Matrix<T> bad(a);
    bad(1, 1) = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(bad.ThinSVD(u, v, s), 1);
    EXPECT_EQ(bad.IsSingCalculated(), 1);  // the copy took the cache along; it stays
}

TYPED_TEST(SvdTyped, UnitOffsetWorkerOnRowPointerArrays) {
    using T = TypeParam;
    for (const auto& shape : {std::pair<int, int>(5, 3), std::pair<int, int>(3, 5)}) {
        const int m = shape.first, n = shape.second;
        const Matrix<T> a = Random<T>(m, n, 60 + m);
        // Index 0 of every array is unused: indices run from 1.
        std::vector<std::vector<T>> arows(m + 1, std::vector<T>(n + 1)),
            vrows(n + 1, std::vector<T>(n + 1));
        std::vector<T*> ap(m + 1), vp(n + 1);
        std::vector<T> w(n + 1);
        for (int i = 0; i <= m; ++i)
            ap[i] = arows[i].data();
        for (int i = 0; i <= n; ++i)
            vp[i] = vrows[i].data();
        for (int i = 0; i < m; ++i) {
            for (int j = 0; j < n; ++j)
                arows[i + 1][j + 1] = a(i, j);
        }
        ASSERT_EQ(Matrix<T>::ThinSVDUnitOffsetInPlace(ap.data(), m, n, w.data(), vp.data(), T(0)),
                  1);
        double err = 0;
        for (int i = 0; i < m; ++i) {
            for (int j = 0; j < n; ++j) {
                double t = 0;
                for (int p = 1; p <= n; ++p)
                    t += double(ap[i + 1][p]) * w[p] * double(vp[j + 1][p]);
                err = std::fmax(err, std::fabs(t - double(a(i, j))));
            }
        }
        EXPECT_LE(err, RelTol<T>(m, n) * Frobenius(ToDouble(a)));
        for (int p = 2; p <= n; ++p)
            EXPECT_LE(w[p], w[p - 1]);
        if (m < n) {
            EXPECT_EQ(w[n], T(0));
        }
        Matrix<T> vm(n, n);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j)
                vm(i, j) = vp[i + 1][j + 1];
        }
        EXPECT_LE(OrthonormalityError(vm), RelTol<T>(m, n));  // V is square orthogonal
    }
    EXPECT_EQ(Matrix<T>::ThinSVDUnitOffsetInPlace(nullptr, 2, 2, nullptr, nullptr, T(0)), 0);
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(SvdTyped, PseudoInverseSatisfiesThePenroseConditions) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        if (name.rfind("tiny", 0) == 0 || name.rfind("huge", 0) == 0) continue;  // pinv overflows
        const int m = a.RowsNb(), n = a.ColsNb();
        Matrix<T> x(n, m);
        double condition = -1;
        ASSERT_EQ(a.PseudoInverse(x, mlNormSpectral, condition), 1) << name;
        EXPECT_GE(condition, 0.0) << name;
        const double na = Frobenius(ToDouble(a)), nx = Frobenius(ToDouble(x));
        const double tol = RelTol<T>(m, n) * 20;
        const std::vector<double> ax = Product(a, false, x, false),
                                  xa = Product(x, false, a, false);
        Matrix<T> axm(m, m), xam(n, n);
        for (int i = 0; i < m * m; ++i)
            axm[i] = static_cast<T>(ax[static_cast<std::size_t>(i)]);
        for (int i = 0; i < n * n; ++i)
            xam[i] = static_cast<T>(xa[static_cast<std::size_t>(i)]);
        // A X A = A, X A X = X, A X and X A symmetric.
        EXPECT_LE(MaxDiff(Product(axm, false, a, false), ToDouble(a)), tol * na) << name;
        EXPECT_LE(MaxDiff(Product(xam, false, x, false), ToDouble(x)), tol * nx * (1 + na * nx))
            << name;
        EXPECT_LE(MaxDiff(ToDouble(axm), ToDouble(axm.Transpose())), tol * (1 + na * nx)) << name;
        EXPECT_LE(MaxDiff(ToDouble(xam), ToDouble(xam.Transpose())), tol * (1 + na * nx)) << name;
    }
}

TYPED_TEST(SvdTyped, PseudoInverseConditionAndShapes) {
    using T = TypeParam;
    Matrix<T> a(3, 2);
    a(0, 0) = T(4);
    a(1, 1) = T(0.5);
    Matrix<T> x(2, 3), wrong(3, 2);
    double c = -1;
    EXPECT_EQ(a.PseudoInverse(wrong, mlNormSpectral, c), 0);
    EXPECT_EQ(c, -1.0);
    ASSERT_EQ(a.PseudoInverse(x, mlNormSpectral, c), 1);
    EXPECT_NEAR(c, 8.0, 1e-5);
    EXPECT_NEAR(double(x(0, 0)), 0.25, 1e-6);
    EXPECT_NEAR(double(x(1, 1)), 2.0, 1e-6);
    ASSERT_EQ(a.PseudoInverse(x, mlNormFrobenius, c), 1);
    EXPECT_NEAR(c, std::sqrt(16.25) * std::sqrt(4.0625), 1e-4);
    Matrix<T> zero(2, 3), zx(3, 2);
    zx(0, 0) = T(5);
    ASSERT_EQ(zero.PseudoInverse(zx, mlNormRowSum, c), 1);
    EXPECT_EQ(zx.IsAlmostZero(T(0)), 1);
    EXPECT_EQ(c, 0.0);
}

TYPED_TEST(SvdTyped, LeastSquaresResidualIsOrthogonalToTheColumnSpace) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        if (name.rfind("tiny", 0) == 0 || name.rfind("huge", 0) == 0) continue;
        const int m = a.RowsNb(), n = a.ColsNb();
        const Matrix<T> bm = Random<T>(m, 1, 70);
        CMLVectorN<T> b(m), x(n);
        for (int i = 0; i < m; ++i)
            b[i] = bm[i];
        double c = 0;
        ASSERT_EQ(a.PseudoSolveSystem(b, x, mlNormSpectral, c), 1) << name;
        std::vector<double> r(static_cast<std::size_t>(m));
        for (int i = 0; i < m; ++i) {
            double t = double(b[i]);
            for (int j = 0; j < n; ++j)
                t -= double(a(i, j)) * double(x[j]);
            r[static_cast<std::size_t>(i)] = t;
        }
        const double na = Frobenius(ToDouble(a)), nb = Frobenius(ToDouble(bm));
        for (int j = 0; j < n; ++j) {
            double t = 0;
            for (int i = 0; i < m; ++i)
                t += double(a(i, j)) * r[static_cast<std::size_t>(i)];
            EXPECT_LE(std::fabs(t), RelTol<T>(m, n) * 20 * na *
                                        (nb + na * Frobenius(ToDouble(Matrix<T>(n, 1, &x[0])))))
                << name;
        }
    }
    const Matrix<T> a = Random<T>(3, 2, 71);
    CMLVectorN<T> shortB(2), x(2);
    double c = 0;
    EXPECT_EQ(a.PseudoSolveSystem(shortB, x, mlNormSpectral, c), 0);
}

TYPED_TEST(SvdTyped, RankOfRankDeficientMatrices) {
    using T = TypeParam;
    const T eps = std::is_same_v<T, float> ? T(1e-5) : T(1e-10);
    for (int r = 0; r <= 5; ++r) {
        Matrix<T> a = Random<T>(9, r, 80 + r) * Random<T>(r, 7, 90 + r);
        if (r == 0) a = Matrix<T>(9, 7);
        EXPECT_EQ(a.CalculateRank(eps), r);
        EXPECT_EQ(a.GetRank(), r);
        EXPECT_EQ(a.IsSingCalculated(), 1);
        T s[7] = {};
        a.GetSingularNumbers(s);
        if (r > 0) {
            EXPECT_GT(s[r - 1], eps);
        }
        if (r < 7) {
            EXPECT_LE(s[r], T(100) * std::numeric_limits<T>::epsilon() * (s[0] + 1));
        }
    }
    EXPECT_EQ(Random<T>(4, 6, 99).CalculateRank(eps), 4);
    // The caller's eps is an absolute floor for matrices of norm below 1.
    Matrix<T> d(3);
    d(0, 0) = T(0.5);
    d(1, 1) = T(1e-3);
    d(2, 2) = T(1e-6);
    EXPECT_EQ(d.CalculateRank(T(1e-4)), 2);
    EXPECT_EQ(d.CalculateRank(T(1e-2)), 1);
    Matrix<T> bad = Random<T>(3, 3, 98);
    bad(0, 0) = std::numeric_limits<T>::infinity();
    EXPECT_EQ(bad.CalculateRank(eps), -1);
    EXPECT_EQ(bad.GetRank(), -1);
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(SvdTyped, InverseCodesAndResults) {
    using T = TypeParam;
    Matrix<T> a = Random<T>(6, 6, 100);
    for (int i = 0; i < 6; ++i)
        a(i, i) += T(3);  // well conditioned
    Matrix<T> inv(6, 6);
    double c = -1;
    ASSERT_EQ(a.Inverse(inv, mlNormSpectral, T(1e-6), c), 0);
    const std::vector<double> p = Product(a, false, inv, false);
    for (int i = 0; i < 6; ++i) {
        for (int j = 0; j < 6; ++j) {
            EXPECT_NEAR(p[static_cast<std::size_t>(i) * 6 + j], i == j ? 1.0 : 0.0,
                        RelTol<T>(6, 6) * 50);
        }
    }
    Matrix<T> u(6, 6), v(6, 6);
    CMLVectorN<T> s(6);
    ASSERT_EQ(a.SV_Decomposition(u, v, s, T(0)), 1);
    EXPECT_NEAR(c, double(s[0]) / double(s[5]), 1e-4 * c);
    ASSERT_EQ(a.Inverse(inv, mlNormColumnSum, T(1e-6), c), 0);
    EXPECT_NEAR(c, double(a.Norm(mlNormColumnSum)) * double(inv.Norm(mlNormColumnSum)), 1e-4 * c);

    // Singular: code 3, out untouched, condition at the guard value.
    const Matrix<T> sing = Random<T>(5, 2, 101) * Random<T>(2, 5, 102);
    Matrix<T> out(5, 5);
    out(0, 0) = T(42);
    ASSERT_EQ(sing.Inverse(out, mlNormSpectral, T(1e-6), c), 3);
    EXPECT_EQ(out(0, 0), T(42));
    EXPECT_EQ(c, static_cast<double>(mlBigValue<double>));
    // Not square, wrong output, empty: 1. Non-finite: 2.
    Matrix<T> rect(2, 3), o23(2, 3), o55(4, 4);
    EXPECT_EQ(rect.Inverse(o23, mlNormSpectral, T(1e-6), c), 1);
    EXPECT_EQ(a.Inverse(o55, mlNormSpectral, T(1e-6), c), 1);
    Matrix<T> empty, eo;
    EXPECT_EQ(empty.Inverse(eo, mlNormSpectral, T(1e-6), c), 1);
    Matrix<T> nan(a);
    nan(2, 3) = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(nan.Inverse(inv, mlNormSpectral, T(1e-6), c), 2);
}

TYPED_TEST(SvdTyped, InverseByRowCountLeavesOneByOneAlone) {
    using T = TypeParam;
    const Matrix<T> one(1, 1, std::vector<T>{T(4)}.data());
    Matrix<T> out(1, 1, std::vector<T>{T(-5)}.data());
    EXPECT_EQ(one.Inverse(out, T(1e-6)), 1);  // deliberately not inverted
    EXPECT_EQ(out(0, 0), T(-5));
    Matrix<T> none, noneOut;
    EXPECT_EQ(none.Inverse(noneOut, T(1e-6)), 1);
    Matrix<T> a = Random<T>(7, 7, 110);
    for (int i = 0; i < 7; ++i)
        a(i, i) += T(4);
    Matrix<T> inv(7, 7);
    ASSERT_EQ(a.Inverse(inv, T(1e-6)), 0);  // the general path
    const Matrix<T> id = a * inv;
    Matrix<T> eye(7);
    eye.SetDiagonal(T(1));
    EXPECT_EQ(mlAreAlmostEqual(id, eye, T(RelTol<T>(7, 7) * 50)), 1);
    const Matrix<T> sing(9, 9);
    Matrix<T> so(9, 9);
    EXPECT_EQ(sing.Inverse(so, T(1e-6)), 3);
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

// ---------------------------------------------------------------------------------------------

template <class T>
void ExpectQrContract(const Matrix<T>& a, bool full, const std::string& name) {
    const int m = a.RowsNb(), n = a.ColsNb(), k = m < n ? m : n;
    const int qc = full ? m : k;
    Matrix<T> q(m, qc), r(qc, n);
    ASSERT_EQ(a.QR_Decomposition(q, r, T(0)), 1) << name;
    const double tol = RelTol<T>(m, n);
    EXPECT_LE(MaxDiff(Product(q, false, r, false), ToDouble(a)), tol * Frobenius(ToDouble(a)))
        << name;
    EXPECT_LE(OrthonormalityError(q), tol) << name;
    for (int i = 0; i < qc; ++i) {
        for (int j = 0; j < n && j < i; ++j)
            EXPECT_EQ(r(i, j), T(0)) << name;
        if (i < k) {
            EXPECT_GE(r(i, i), T(0)) << name;
        }
    }
}

TYPED_TEST(SvdTyped, QrContractOnHardInputs) {
    using T = TypeParam;
    for (const auto& [name, a] : Battery<T>()) {
        ExpectQrContract(a, false, name + " thin");
        ExpectQrContract(a, true, name + " full");
    }
}

TYPED_TEST(SvdTyped, QrSkipsColumnsThatAreAlreadyReduced) {
    using T = TypeParam;
    Matrix<T> a(3, 2);
    a(0, 0) = T(-2);
    a(0, 1) = T(1);
    a(1, 1) = T(3);
    a(2, 1) = T(1e-9);
    Matrix<T> q(3, 3), r(3, 2);
    ASSERT_EQ(a.QR_Decomposition(q, r, T(1e-6)), 1);
    // Column 0 needs no reflection: Q's first column is -e0 (the diagonal made non-negative);
    // column 1's part below the diagonal is within eps of its norm and is dropped.
    EXPECT_EQ(q(0, 0), T(-1));
    EXPECT_EQ(q(1, 0), T(0));
    EXPECT_EQ(r(0, 0), T(2));
    EXPECT_EQ(r(1, 1), T(3));
    EXPECT_EQ(q(1, 1), T(1));
    Matrix<T> wrongR(2, 2);
    EXPECT_EQ(a.QR_Decomposition(q, wrongR, T(0)), 0);
}

TYPED_TEST(SvdTyped, QrtTwoRowsByOneRotation) {
    using T = TypeParam;
    const Matrix<T> a = Random<T>(2, 4, 120);
    Matrix<T> q(2, 2), r(2, 4);
    ASSERT_EQ(a.QRT_2D(q, r, T(0)), 1);
    EXPECT_EQ(r(1, 0), T(0));
    EXPECT_GE(r(0, 0), T(0));
    EXPECT_EQ(q(0, 0), q(1, 1));  // a rotation
    EXPECT_EQ(q(0, 1), -q(1, 0));
    EXPECT_LE(MaxDiff(Product(q, false, r, false), ToDouble(a)), RelTol<T>(2, 4));
    EXPECT_LE(OrthonormalityError(q), RelTol<T>(2, 2));
    Matrix<T> three(3, 2), q3(2, 2), r3(3, 2);
    EXPECT_EQ(three.QRT_2D(q3, r3, T(0)), 0);
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(SvdTyped, HouseholderBuildingBlocks) {
    using T = TypeParam;
    T x[3] = {T(2), T(-1), T(2)};
    T alpha = T(4);
    const T tau = Matrix<T>::Householder1(4, alpha, x, 1);
    EXPECT_NEAR(std::fabs(double(alpha)), 5.0, 1e-6);  // |(4, 2, -1, 2)| = 5
    // Reflecting the original vector with H = I - tau w w^T gives (alpha, 0, 0, 0).
    Matrix<T> col(4, 1, std::vector<T>{T(4), T(2), T(-1), T(2)}.data());
    const T w[4] = {T(1), x[0], x[1], x[2]};
    col.Householder2(w, tau, 0, 0, 3, 0, 1);
    EXPECT_NEAR(double(col(0, 0)), double(alpha), 1e-5);
    for (int i = 1; i < 4; ++i)
        EXPECT_NEAR(double(col(i, 0)), 0.0, 1e-5);
    Matrix<T> row(1, 4, std::vector<T>{T(4), T(2), T(-1), T(2)}.data());
    row.Householder2(w, tau, 0, 0, 0, 3, 0);  // from the right
    EXPECT_NEAR(double(row(0, 0)), double(alpha), 1e-5);
    T zero[2] = {T(0), T(0)};
    T a2 = T(3);
    EXPECT_EQ(Matrix<T>::Householder1(3, a2, zero, 1), T(0));  // nothing to reflect
    EXPECT_EQ(a2, T(3));
}

TYPED_TEST(SvdTyped, AlternatingTransformsReduceToBidiagonalForm) {
    using T = TypeParam;
    const Matrix<T> a = Random<T>(7, 5, 130);
    Matrix<T> b(a);
    std::vector<T> v(7);
    T tau;
    for (int k = 0; k < 5; ++k) {
        ASSERT_EQ(b.ZeroUpperTransform(k, v.data(), tau), 1);
        if (k + 1 < 5) {
            ASSERT_EQ(b.ZeroRightTransform(k, v.data(), tau), 1);
        }
    }
    EXPECT_EQ(b.ZeroRightTransform(4, v.data(), tau), 0);
    EXPECT_EQ(b.ZeroUpperTransform(5, v.data(), tau), 0);
    EXPECT_EQ(b.IsBidiagonal(T(0)), 1);
    // Orthogonal transforms keep the singular values.
    Matrix<T> u1(7, 5), v1(5, 5), u2(7, 5), v2(5, 5);
    CMLVectorN<T> s1(5), s2(5);
    ASSERT_EQ(a.SV_Decomposition(u1, v1, s1, T(0)), 1);
    ASSERT_EQ(b.SV_Decomposition(u2, v2, s2, T(0)), 1);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(double(s1[i]), double(s2[i]), RelTol<T>(7, 5) * 10);
}

TYPED_TEST(SvdTyped, GivensRotations) {
    using T = TypeParam;
    T c, s, r;
    Matrix<T>::Givens1(T(3), T(-4), c, s, r);
    EXPECT_NEAR(double(r), 5.0, 1e-6);
    EXPECT_GE(c, T(0));
    EXPECT_NEAR(double(-s * T(3) + c * T(-4)), 0.0, 1e-6);
    Matrix<T>::Givens1(T(-2), T(0), c, s, r);
    EXPECT_EQ(c, T(1));
    EXPECT_EQ(s, T(0));
    EXPECT_EQ(r, T(-2));
    Matrix<T> m(3, 2, std::vector<T>{T(3), T(1), T(-4), T(2), T(5), T(6)}.data());
    Matrix<T>::Givens1(m(0, 0), m(1, 0), c, s, r);
    m.Givens2(0, 1, c, s, 1);  // rows: zeroes (1, 0)
    EXPECT_NEAR(double(m(1, 0)), 0.0, 1e-6);
    EXPECT_NEAR(double(m(0, 0)), 5.0, 1e-6);
    Matrix<T> w(2, 3, std::vector<T>{T(3), T(-4), T(1), T(0), T(1), T(1)}.data());
    Matrix<T>::Givens1(w(0, 0), w(0, 1), c, s, r);
    w.Givens2(0, 1, c, s, 0);  // columns: zeroes (0, 1)
    EXPECT_NEAR(double(w(0, 1)), 0.0, 1e-6);
    EXPECT_EQ(w(0, 2), T(1));
    w.Givens2(0, 5, c, s, 0);  // out of range: nothing
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
    Matrix<T> b(n);
    for (int i = 0; i < n; ++i) {
        b(i, i) = d[i];
        if (i + 1 < n) b(i, i + 1) = e[i];
    }
    // One sweep keeps B = U B' V^T.
    Matrix<T> u(n), v(n);
    u.SetDiagonal(T(1));
    v.SetDiagonal(T(1));
    CMLVectorN<T> d1(d), e1(e);
    ASSERT_EQ(Matrix<T>::Apply_QRBD(1, 6, d1, e1, T(0.75), &u, &v), 1);
    Matrix<T> b1(n);
    for (int i = 0; i < n; ++i) {
        b1(i, i) = d1[i];
        if (i + 1 < n) b1(i, i + 1) = e1[i];
    }
    EXPECT_LE(MaxDiff(Product(u * b1, false, v, true), ToDouble(b)), RelTol<T>(n, n) * 20);
    EXPECT_EQ(d1[7], d[7]);                                           // outside the block
    EXPECT_EQ(Matrix<T>::Apply_QRBD(3, 3, d1, e1, T(0), &u, &v), 0);  // empty block
    ASSERT_EQ(Matrix<T>::Apply_QRBD(1, 6, d1, e1, T(0), &u, &v), 1);  // zero shift
    for (int i = 0; i < n; ++i) {
        b1(i, i) = d1[i];
        if (i + 1 < n) b1(i, i + 1) = e1[i];
    }
    EXPECT_LE(MaxDiff(Product(u * b1, false, v, true), ToDouble(b)), RelTol<T>(n, n) * 20);

    // The whole iteration: B = U diag(d) V^T with sorted non-negative values.
    Matrix<T> uu(n), vv(n);
    uu.SetDiagonal(T(1));
    vv.SetDiagonal(T(1));
    CMLVectorN<T> d2(d), e2(e);
    ASSERT_EQ(Matrix<T>::QRBD(d2, e2, &uu, &vv, T(0)), 1);
    for (int i = 0; i < n; ++i) {
        EXPECT_GE(d2[i], T(0));
        if (i > 0) {
            EXPECT_LE(d2[i], d2[i - 1]);
        }
        if (i + 1 < n) {
            EXPECT_EQ(e2[i], T(0));
        }
    }
    Matrix<T> dm(n);
    for (int i = 0; i < n; ++i)
        dm(i, i) = d2[i];
    EXPECT_LE(MaxDiff(Product(uu * dm, false, vv, true), ToDouble(b)), RelTol<T>(n, n) * 20);
    EXPECT_LE(OrthonormalityError(uu), RelTol<T>(n, n));
    // Values near the top of the range converge without overflow.
    const T huge = std::numeric_limits<T>::max() / T(16);
    CMLVectorN<T> dh(d * (huge / T(11))), eh(e * (huge / T(11)));
    ASSERT_EQ(Matrix<T>::QRBD(dh, eh, nullptr, nullptr, T(0)), 1);
    for (int i = 0; i < n; ++i) EXPECT_NEAR(double(dh[i] / (huge / T(11))), double(d2[i]), 1e-4);
    CMLVectorN<T> d3(d), e3(e);
    d3[4] = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(Matrix<T>::QRBD(d3, e3, nullptr, nullptr, T(0)), 0);
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(SvdTyped, NonFiniteInputFailsThroughTheReturnValue) {
    using T = TypeParam;
    const T specials[] = {std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::infinity(),
                          -std::numeric_limits<T>::infinity()};
    for (const T bad : specials) {
        for (const auto& shape :
             {std::pair<int, int>(4, 4), std::pair<int, int>(2, 5), std::pair<int, int>(1, 1)}) {
            Matrix<T> a = Random<T>(shape.first, shape.second, 140);
            a[a.RowsNb() * a.ColsNb() - 1] = bad;
            const int m = a.RowsNb(), n = a.ColsNb(), k = m < n ? m : n;
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
    // Matrices mixing zeros, repeated values, huge and tiny magnitudes: every decomposition must
    // terminate and meet its contract.
    std::mt19937 rng(150);
    std::uniform_int_distribution<int> pick(0, 7), size(1, 9);
    std::uniform_real_distribution<double> u(-1, 1);
    const double big = std::is_same_v<T, float> ? 1e30 : 1e250;
    const double small = std::is_same_v<T, float> ? 1e-30 : 1e-250;
    for (int t = 0; t < 300; ++t) {
        const int m = size(rng), n = size(rng);
        Matrix<T> a(m, n);
        for (int i = 0; i < m * n; ++i) {
            switch (pick(rng)) {
                case 0:
                    a[i] = T(0);
                    break;
                case 1:
                    a[i] = T(1);
                    break;
                case 2:
                    a[i] = T(-1);
                    break;
                case 3:
                    a[i] = static_cast<T>(u(rng) * big);
                    break;
                case 4:
                    a[i] = static_cast<T>(u(rng) * small);
                    break;
                default:
                    a[i] = static_cast<T>(u(rng));
                    break;
            }
        }
        ExpectSvdContract(a, t % 2 == 0, "structured #" + std::to_string(t));
        ExpectQrContract(a, t % 2 == 1, "structured #" + std::to_string(t));
    }
}

}  // namespace
