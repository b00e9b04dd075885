// Fixed matrices: the numerical methods, checked by their mathematical contracts (reconstruction,
// orthogonality, ordering, residuals) on ordinary and on hard inputs: rank-deficient, zero,
// repeated and defective eigenvalues, badly scaled and extreme magnitudes, non-finite elements.
#include <ml/matrix_fixed.h>

#include <matrix_fixed_test_support.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <type_traits>

using namespace fixed_matrix_test;

namespace {

template <class M>
class Decomposition : public ::testing::Test {};
using AllMatrices = ::testing::Types<CMLMatrix2<float>, CMLMatrix2<double>, CMLMatrix3<float>,
                                     CMLMatrix3<double>, CMLMatrix4<float>, CMLMatrix4<double>>;
TYPED_TEST_SUITE(Decomposition, AllMatrices);

template <class M>
class Eigen23 : public ::testing::Test {};
using SmallMatrices =
    ::testing::Types<CMLMatrix2<float>, CMLMatrix2<double>, CMLMatrix3<float>, CMLMatrix3<double>>;
TYPED_TEST_SUITE(Eigen23, SmallMatrices);

template <class T>
class Eigen3 : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Eigen3, RealTypes);

template <class M>
Elem<M> Eps() {
    return std::numeric_limits<Elem<M>>::epsilon();
}

// A random orthogonal matrix (the Q of a random matrix).
template <class M>
M RandomOrthogonal(unsigned seed) {
    M q, r;
    EXPECT_EQ(Random<M>(seed).QR_Decomposition(q, r, Elem<M>(0)), 1);
    return q;
}

template <class M>
M DiagOf(const typename M::Vector& d) {
    M m;
    for (int i = 0; i < kN<M>; ++i)
        m(i, i) = d[i];
    return m;
}

// The hard inputs shared by several methods.
template <class M>
M RankOne(unsigned seed) {
    const M r = Random<M>(seed);
    M m;
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < kN<M>; ++j)
            m(i, j) = r(i, 0) * r(1, j);
    return m;
}

template <class M>
M WithNaN(M m) {
    m(kN<M> - 1, 0) = std::numeric_limits<Elem<M>>::quiet_NaN();
    return m;
}

// ---- Singular value decomposition ---------------------------------------------------------------

template <class M>
void ExpectSvdContract(const M& a, Elem<M> eps, Elem<M> relTol) {
    using T = Elem<M>;
    M u, v;
    typename M::Vector s;
    ASSERT_EQ(a.SV_Decomposition(u, v, s, eps), 1);
    EXPECT_LT(OrthogonalityError(u), relTol);
    EXPECT_LT(OrthogonalityError(v), relTol);
    for (int i = 0; i < kN<M>; ++i) {
        EXPECT_GE(s[i], T(0));
        if (i > 0) {
            EXPECT_LE(s[i], s[i - 1]);
        }
    }
    const T scale = std::fmax(s[0], std::numeric_limits<T>::min());
    EXPECT_LT(MaxAbsDiff(u * DiagOf<M>(s) * v.Transpose(), a) / scale, relTol);
    typename M::Vector alone;
    ASSERT_EQ(a.CalculateSingularNumbers(alone), 1);
    for (int i = 0; i < kN<M>; ++i)
        EXPECT_NEAR(alone[i] / scale, s[i] / scale, relTol);
}

TYPED_TEST(Decomposition, SvdOfRandomMatrices) {
    using M = TypeParam;
    for (unsigned seed = 100; seed < 120; ++seed)
        ExpectSvdContract(Random<M>(seed), Elem<M>(0), 50 * Eps<M>());
}

TYPED_TEST(Decomposition, SvdOfHardInputs) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 50 * Eps<M>();
    ExpectSvdContract(M(), T(0), tol);
    ExpectSvdContract(RankOne<M>(121), T(0), tol);
    ExpectSvdContract(RandomOrthogonal<M>(122), T(0), tol);  // all singular values 1
    ExpectSvdContract(Identity<M>() * T(-3), T(0), tol);
    M zeroColumn = Random<M>(123);
    for (int i = 0; i < kN<M>; ++i)
        zeroColumn(i, 1) = T(0);
    ExpectSvdContract(zeroColumn, T(0), tol);
    ExpectSvdContract(Random<M>(124) * T(std::is_same_v<T, float> ? 1e30 : 1e250), T(0), tol);
    ExpectSvdContract(Random<M>(125) * T(std::is_same_v<T, float> ? 1e-30 : 1e-250), T(0), tol);
}

TYPED_TEST(Decomposition, SvdZeroesSingularValuesBelowTheRelativeThreshold) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = RankOne<M>(126) + Random<M>(127) * T(1e-3);
    M u, v;
    typename M::Vector s;
    ASSERT_EQ(a.SV_Decomposition(u, v, s, T(1e-2)), 1);
    for (int i = 1; i < kN<M>; ++i)
        EXPECT_EQ(s[i], T(0));
    EXPECT_GT(s[0], T(0));
    EXPECT_LT(OrthogonalityError(u), 50 * Eps<M>());  // completed to an orthonormal basis
    EXPECT_LT(MaxAbsDiff(u * DiagOf<M>(s) * v.Transpose(), a), T(1e-2) * s[0] * T(kN<M>));
    EXPECT_EQ(a.CalculateRank(T(1e-2)), 1);
    EXPECT_EQ(a.CalculateRank(T(1e-5)), kN<M>);
}

TEST(DecompositionKnown, SvdValues) {
    const auto a = Make<CMLMatrix2<double>>({3, 0, 4, 5});
    CMLVector2<double> s;
    ASSERT_EQ(a.CalculateSingularNumbers(s), 1);
    EXPECT_NEAR(s.x, std::sqrt(45.0), 1e-14);
    EXPECT_NEAR(s.y, std::sqrt(5.0), 1e-14);
}

// Column scaling over twenty orders of magnitude: one-sided Jacobi keeps every singular value to
// full relative accuracy.
TEST(DecompositionKnown, SvdOfGradedMatrixIsRelativelyAccurate) {
    const auto q = RandomOrthogonal<CMLMatrix3<double>>(128);
    const CMLMatrix3<double> a = q * Diag<CMLMatrix3<double>>({1e10, 1, 1e-10});
    CMLVector3<double> s;
    ASSERT_EQ(a.CalculateSingularNumbers(s), 1);
    EXPECT_NEAR(s.x / 1e10, 1, 1e-14);
    EXPECT_NEAR(s.y, 1, 1e-14);
    EXPECT_NEAR(s.z / 1e-10, 1, 1e-12);
    // Rank and condition judge 1e-10 against 3 epsilons times s_max: numerically singular.
    EXPECT_EQ(a.CalculateRank(0.0), 2);
    EXPECT_EQ(a.ConditionNumber(mlNormSpectral), mlBigValue<double>);
    const CMLMatrix3<double> b = q * Diag<CMLMatrix3<double>>({1e6, 1, 1e-6});
    EXPECT_EQ(b.CalculateRank(0.0), 3);
    EXPECT_EQ(b.CalculateRank(1e-9), 2);  // the threshold is 1e-9 * s_max
    EXPECT_NEAR(b.ConditionNumber(mlNormSpectral) / 1e12, 1, 1e-9);
}

TYPED_TEST(Decomposition, NonFiniteInputIsRejected) {
    using M = TypeParam;
    using T = Elem<M>;
    const M bad = WithNaN(Random<M>(129));
    M u = Identity<M>(), v = Identity<M>();
    typename M::Vector s(T(5));
    EXPECT_EQ(bad.SV_Decomposition(u, v, s, T(0)), 0);
    EXPECT_EQ(bad.CalculateSingularNumbers(s), 0);
    EXPECT_EQ(s[0], T(5));
    EXPECT_EQ(u, Identity<M>());
    EXPECT_EQ(bad.QR_Decomposition(u, v, T(0)), 0);
    EXPECT_EQ(bad.PolarDecomposition(u, v, 0, T(0)), 0);
    EXPECT_EQ(u, Identity<M>());
    EXPECT_EQ(bad.CalculateRank(T(0)), -1);
    EXPECT_EQ(bad.ConditionNumber(mlNormSpectral), mlBigValue<T>);
    M sym = WithNaN(Identity<M>());
    sym(0, kN<M> - 1) = sym(kN<M> - 1, 0);
    EXPECT_EQ(sym.SymmetricEigensolve(s, u, T(1)), 0);
    EXPECT_EQ(sym.IsPositive(T(0)), 0);
}

// ---- Rank and condition
// ---------------------------------------------------------------------------

TYPED_TEST(Decomposition, RankOfStructuredMatrices) {
    using M = TypeParam;
    using T = Elem<M>;
    const T eps = T(1e-4);
    EXPECT_EQ(M().CalculateRank(eps), 0);
    EXPECT_EQ(Identity<M>().CalculateRank(eps), kN<M>);
    EXPECT_EQ(RankOne<M>(130).CalculateRank(eps), 1);
    M two = RankOne<M>(131) + RankOne<M>(132);
    EXPECT_EQ(two.CalculateRank(eps), kN<M> == 2 ? 2 : 2);
    M d = Identity<M>();
    d(0, 0) = T(1e-3);
    EXPECT_EQ(d.CalculateRank(T(1e-2)), kN<M> - 1);
    EXPECT_EQ(d.CalculateRank(T(1e-4)), kN<M>);
    EXPECT_EQ((Identity<M>() * T(1e6)).CalculateRank(T(1e-3)), kN<M>);  // relative to s_max
}

TYPED_TEST(Decomposition, ConditionNumbers) {
    using M = TypeParam;
    using T = Elem<M>;
    const M id = Identity<M>();
    EXPECT_NEAR(id.ConditionNumber(mlNormSpectral), T(1), Tol<T>());
    EXPECT_NEAR(id.ConditionNumber(mlNormRowSum), T(1), Tol<T>());
    EXPECT_NEAR(id.ConditionNumber(mlNormColumnSum), T(1), Tol<T>());
    EXPECT_NEAR(id.ConditionNumber(mlNormFrobenius), T(kN<M>), Tol<T>());
    EXPECT_NEAR(id.ConditionNumber(mlNormMaxElement), T(kN<M> * kN<M>), Tol<T>());
    M d = id;
    d(1, 1) = T(1e-3);
    EXPECT_NEAR(d.ConditionNumber(mlNormSpectral), T(1e3), T(1e3) * Tol<T>());
    const M a = Random<M>(133) + id * T(2);
    M inv;
    ASSERT_EQ(a.Inverse(inv, T(0)), 0);
    EXPECT_NEAR(a.ConditionNumber(mlNormRowSum) / (a.Norm(mlNormRowSum) * inv.Norm(mlNormRowSum)),
                T(1), Tol<T>());
    EXPECT_GE(a.ConditionNumber(mlNormSpectral), T(1));
    EXPECT_EQ(RankOne<M>(134).ConditionNumber(mlNormSpectral), mlBigValue<T>);
    EXPECT_EQ(M().ConditionNumber(mlNormRowSum), mlBigValue<T>);
}

// ---- Polar, QR, LU
// -------------------------------------------------------------------------------

TYPED_TEST(Decomposition, PolarBothSides) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 100 * Eps<M>();
    const M inputs[] = {Random<M>(135), RankOne<M>(136), RandomOrthogonal<M>(137), M(),
                        Random<M>(138) * T(-1e3)};
    for (const M& a : inputs) {
        const T scale = std::fmax(T(1), MaxAbs(a));
        for (int side : {0, 1}) {
            M q, s;
            ASSERT_EQ(a.PolarDecomposition(q, s, side, T(0)), 1);
            EXPECT_LT(OrthogonalityError(q), tol);
            EXPECT_EQ(s.IsSymmetric(T(0)), 1);
            typename M::Vector w;
            M vectors;
            ASSERT_EQ(s.SymmetricEigensolve(w, vectors, T(0)), 1);
            EXPECT_GE(w[0], -tol * scale);  // positive semidefinite
            EXPECT_LT(MaxAbsDiff(side == 0 ? q * s : s * q, a) / scale, tol);
        }
    }
    // An orthogonal matrix is its own polar factor, with S the identity.
    const M q0 = RandomOrthogonal<M>(139);
    M q, s;
    ASSERT_EQ(q0.PolarDecomposition(q, s, 0, T(0)), 1);
    EXPECT_LT(MaxAbsDiff(q, q0), tol);
    EXPECT_LT(MaxAbsDiff(s, Identity<M>()), tol);
}

TYPED_TEST(Decomposition, PolarDropsSmallSingularValues) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = RankOne<M>(140) + Random<M>(141) * T(1e-4);
    M q, s;
    ASSERT_EQ(a.PolarDecomposition(q, s, 0, T(1e-2)), 1);
    EXPECT_EQ(s.CalculateRank(T(1e-6)), 1);
}

TYPED_TEST(Decomposition, HouseholderQr) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 50 * Eps<M>();
    M zeroColumn = Random<M>(142);
    for (int i = 0; i < kN<M>; ++i)
        zeroColumn(i, 0) = T(0);
    const M inputs[] = {Random<M>(143),        RankOne<M>(144),         zeroColumn, M(),
                        Identity<M>() * T(-2), Random<M>(145) * T(1e20)};
    for (const M& a : inputs) {
        M q, r;
        ASSERT_EQ(a.QR_Decomposition(q, r, T(0)), 1);
        EXPECT_LT(OrthogonalityError(q), tol);
        EXPECT_EQ(r.IsURTriangular(T(0)), 1);
        for (int i = 0; i < kN<M>; ++i)
            EXPECT_GE(r(i, i), T(0));
        EXPECT_LT(MaxAbsDiff(q * r, a) / std::fmax(T(1), MaxAbs(a)), tol);
    }
    // A column already zero below the diagonal within eps is not reflected.
    M upper = Identity<M>();
    upper(1, 0) = T(1e-8);
    upper(0, 1) = T(3);
    M q, r;
    ASSERT_EQ(upper.QR_Decomposition(q, r, T(1e-6)), 1);
    EXPECT_EQ(MaxAbsDiff(q, Identity<M>()), T(0));
    EXPECT_EQ(r(1, 0), T(0));
    EXPECT_EQ(r(0, 1), T(3));
}

TYPED_TEST(Decomposition, DoolittleLuWithoutRowExchanges) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(146) + Identity<M>() * T(3);
    M l, u;
    ASSERT_EQ(a.LU_Decomposition(l, u, T(1e-6)), 1);
    EXPECT_EQ(l.IsLLTriangular(T(0)), 1);
    EXPECT_EQ(u.IsURTriangular(T(0)), 1);
    for (int i = 0; i < kN<M>; ++i)
        EXPECT_EQ(l(i, i), T(1));
    EXPECT_LT(MaxAbsDiff(l * u, a), 20 * Tol<T>());

    // A zero leading element fails at once, although the matrix is regular; the outputs are
    // cleared first.
    M swap = Identity<M>();
    swap(0, 0) = swap(1, 1) = T(0);
    swap(0, 1) = swap(1, 0) = T(1);
    l.SetConstant(T(9));
    u.SetConstant(T(9));
    EXPECT_EQ(swap.LU_Decomposition(l, u, T(1e-6)), 0);
    EXPECT_EQ(MaxAbs(l), T(0));
    EXPECT_EQ(MaxAbs(u), T(0));
    // A later zero pivot fails there, with the factors computed so far.
    M late = Identity<M>();
    late(0, 1) = T(2);
    late(1, 0) = T(2);
    late(1, 1) = T(4);
    EXPECT_EQ(late.LU_Decomposition(l, u, T(1e-6)), 0);
    EXPECT_EQ(l(1, 0), T(2));
    EXPECT_EQ(u(0, 1), T(2));
}

// ---- Symmetric eigenproblems -----------------------------------------------------------------

template <class M>
void ExpectSymmetricContract(const M& a, Elem<M> tol) {
    using T = Elem<M>;
    typename M::Vector w;
    M v;
    ASSERT_EQ(a.SymmetricEigensolve(w, v, T(0)), 1);
    const T scale = std::fmax(std::numeric_limits<T>::min(), MaxAbs(a));
    EXPECT_LT(OrthogonalityError(v), tol);
    for (int i = 1; i < kN<M>; ++i)
        EXPECT_LE(w[i - 1], w[i]);
    EXPECT_LT(MaxAbsDiff(a * v, v * DiagOf<M>(w)) / scale, tol);
    M vectors, values;
    ASSERT_EQ(a.SpectralDecomposition(vectors, values, 0, T(0)), 1);
    EXPECT_EQ(values.IsDiagonal(T(0)), 1);
    EXPECT_LT(MaxAbsDiff(vectors * values * vectors.Transpose(), a) / scale, tol);
}

TYPED_TEST(Decomposition, SymmetricEigensolveContract) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 50 * Eps<M>();
    for (unsigned seed = 150; seed < 160; ++seed) {
        const M r = Random<M>(seed);
        ExpectSymmetricContract<M>(r + r.Transpose(), tol);
    }
    ExpectSymmetricContract(M(), tol);
    ExpectSymmetricContract(Identity<M>() * T(7), tol);
    const M q = RandomOrthogonal<M>(160);
    M d = Identity<M>() * T(2);
    d(kN<M> - 1, kN<M> - 1) = T(5);  // 2 repeated N - 1 times
    const M repeated = q * d * q.Transpose();
    M sym = repeated;
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < i; ++j)
            sym(i, j) = sym(j, i);
    ExpectSymmetricContract(sym, tol);
    typename M::Vector w;
    M v;
    ASSERT_EQ(sym.SymmetricEigensolve(w, v, T(0)), 1);
    for (int i = 0; i + 1 < kN<M>; ++i)
        EXPECT_NEAR(w[i], T(2), 20 * Tol<T>());
    EXPECT_NEAR(w[kN<M> - 1], T(5), 20 * Tol<T>());
    const M r = Random<M>(161);
    ExpectSymmetricContract<M>((r + r.Transpose()) * T(std::is_same_v<T, float> ? 1e-30 : 1e-280),
                               tol);
}

TEST(DecompositionKnown, SymmetricEigenvaluesOfGradedMatrix) {
    // Scaled diagonally dominant: Jacobi keeps the small eigenvalues to relative accuracy.
    const auto a = Make<CMLMatrix3<double>>({1e10, 1e2, 0, 1e2, 1, 1e-6, 0, 1e-6, 1e-10});
    CMLVector3<double> w;
    CMLMatrix3<double> v;
    ASSERT_EQ(a.SymmetricEigensolve(w, v, 0.0), 1);
    EXPECT_NEAR(w.x / 1e-10, 1 - 1e-2, 1e-6);  // 1e-10 - (1e-6)^2 / 1
    EXPECT_NEAR(w.y, 1 - 1e-6, 1e-12);
    EXPECT_NEAR(w.z / 1e10, 1, 1e-14);
}

TYPED_TEST(Decomposition, SymmetricRequirementsAndPositivity) {
    using M = TypeParam;
    using T = Elem<M>;
    M a = Random<M>(162);
    a = a + a.Transpose();
    M skew = a;
    skew(0, 1) += T(1e-3);
    typename M::Vector w(T(8));
    M v = Identity<M>(), b = Identity<M>();
    EXPECT_EQ(skew.SymmetricEigensolve(w, v, T(1e-4)), 0);
    EXPECT_EQ(skew.SpectralDecomposition(v, b, 0, T(1e-4)), 0);
    EXPECT_EQ(w[0], T(8));
    EXPECT_EQ(v, Identity<M>());
    EXPECT_EQ(skew.SymmetricEigensolve(w, v, T(1e-2)), 1);  // symmetric within eps

    const M spd = a * a + Identity<M>();
    EXPECT_EQ(spd.SpectralDecomposition(v, b, 1, T(1e-6)), 1);
    EXPECT_GT(b(0, 0), T(0));
    M indefinite = Identity<M>();
    indefinite(0, 0) = T(-1);
    v = Identity<M>() * T(3);
    EXPECT_EQ(indefinite.SpectralDecomposition(v, b, 1, T(1e-6)), 0);
    EXPECT_EQ(v, Identity<M>() * T(3));
    EXPECT_EQ(indefinite.SpectralDecomposition(v, b, 0, T(1e-6)), 1);
    EXPECT_EQ(b(0, 0), T(-1));
}

// ---- General eigenproblems (2x2 and 3x3)
// ---------------------------------------------------------

template <class T>
std::complex<T> C(const CMLComplex<T>& z) {
    return {z.Real(), z.Imag()};
}

// Eigenvalues in the documented order, summing to the trace and multiplying to the determinant.
template <class M>
int ExpectEigenvalueContract(const M& a, CMLComplex<Elem<M>>* values, Elem<M> tol) {
    using T = Elem<M>;
    const int real = a.FindEigenvalues(values);
    EXPECT_GE(real, 0);
    if (real < 0) return real;
    EXPECT_EQ((kN<M> - real) % 2, 0);
    for (int k = 0; k < real; ++k) {
        EXPECT_EQ(values[k].Imag(), T(0));
        if (k > 0) {
            EXPECT_LE(values[k - 1].Real(), values[k].Real());
        }
    }
    for (int k = real; k < kN<M>; k += 2) {
        EXPECT_GT(values[k].Imag(), T(0));
        EXPECT_EQ(values[k + 1].Imag(), -values[k].Imag());
        EXPECT_EQ(values[k + 1].Real(), values[k].Real());
    }
    std::complex<T> sum = 0, product = 1;
    for (int k = 0; k < kN<M>; ++k) {
        sum += C(values[k]);
        product *= C(values[k]);
    }
    const T scale = std::fmax(T(1), MaxAbs(a));
    EXPECT_NEAR(sum.real(), a.Trace(), tol * scale);
    EXPECT_NEAR(sum.imag(), T(0), tol * scale);
    EXPECT_NEAR(product.real(), a.Det(), tol * std::pow(scale, T(kN<M>)));
    EXPECT_NEAR(product.imag(), T(0), tol * std::pow(scale, T(kN<M>)));
    return real;
}

TYPED_TEST(Eigen23, EigenvaluesOfRandomMatrices) {
    using M = TypeParam;
    CMLComplex<Elem<M>> values[kN<M>];
    for (unsigned seed = 170; seed < 200; ++seed)
        ExpectEigenvalueContract(Random<M>(seed), values, 100 * Eps<M>());
}

TYPED_TEST(Eigen23, EigenvaluesOfHardInputs) {
    using M = TypeParam;
    using T = Elem<M>;
    CMLComplex<T> values[kN<M>];
    const T tol = 100 * Eps<M>();
    EXPECT_EQ(ExpectEigenvalueContract(M(), values, tol), kN<M>);
    EXPECT_EQ(values[0].Real(), T(0));
    EXPECT_EQ(ExpectEigenvalueContract(Identity<M>() * T(3), values, tol), kN<M>);
    EXPECT_EQ(values[kN<M> - 1].Real(), T(3));
    ExpectEigenvalueContract(RankOne<M>(200), values, tol);
    // Badly scaled but similar to a tame matrix: balancing recovers 0 and 2.
    M scaled = Identity<M>();
    scaled(0, 1) = T(1e6);
    scaled(1, 0) = T(1e-6);
    EXPECT_EQ(ExpectEigenvalueContract(scaled, values, tol), kN<M>);
    EXPECT_NEAR(values[0].Real(), T(0), 10 * tol);
    EXPECT_NEAR(values[kN<M> - 1].Real(), T(2), 10 * tol);
    EXPECT_EQ(ExpectEigenvalueContract(Random<M>(201) * T(std::is_same_v<T, float> ? 1e10 : 1e50),
                                       values, tol * T(10)) >= 0,
              true);
    values[0].Set(T(4), T(4));
    EXPECT_EQ(WithNaN(Identity<M>()).FindEigenvalues(values), -1);
    EXPECT_EQ(values[0].Real(), T(4));
}

TYPED_TEST(Eigen3, KnownEigenvalues) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-5) : T(1e-13);
    CMLComplex<T> v2[2];
    EXPECT_EQ(Make<CMLMatrix2<T>>({0, -1, 1, 0}).FindEigenvalues(v2), 0);  // +-i, +i first
    EXPECT_NEAR(v2[0].Real(), T(0), tol);
    EXPECT_NEAR(v2[0].Imag(), T(1), tol);
    EXPECT_NEAR(v2[1].Imag(), T(-1), tol);
    EXPECT_EQ(Make<CMLMatrix2<T>>({1, 1, 0, 1}).FindEigenvalues(v2), 2);  // defective, exact
    EXPECT_EQ(v2[0].Real(), T(1));
    EXPECT_EQ(v2[1].Real(), T(1));
    EXPECT_EQ(Make<CMLMatrix2<T>>({3, 0, 0, -2}).FindEigenvalues(v2), 2);
    EXPECT_EQ(v2[0].Real(), T(-2));
    EXPECT_EQ(v2[1].Real(), T(3));

    CMLComplex<T> v3[3];
    // Companion matrix of (x - 1)(x - 2)(x - 3).
    EXPECT_EQ(Make<CMLMatrix3<T>>({6, -11, 6, 1, 0, 0, 0, 1, 0}).FindEigenvalues(v3), 3);
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(v3[k].Real(), T(k + 1), 100 * tol);
    // A quarter turn about Z, scaled by 2: 2 and +-2i.
    EXPECT_EQ(Make<CMLMatrix3<T>>({0, -2, 0, 2, 0, 0, 0, 0, 2}).FindEigenvalues(v3), 1);
    EXPECT_NEAR(v3[0].Real(), T(2), tol);
    EXPECT_NEAR(v3[1].Real(), T(0), tol);
    EXPECT_NEAR(v3[1].Imag(), T(2), tol);
    // A triple root: the defective case loses accuracy to the cube root of epsilon only.
    ExpectEigenvalueContract(Make<CMLMatrix3<T>>({6, -12, 8, 1, 0, 0, 0, 1, 0}), v3,
                             T(100) * std::numeric_limits<T>::epsilon());
    for (int k = 0; k < 3; ++k)
        EXPECT_LT(std::abs(C(v3[k]) - T(2)), 10 * std::cbrt(std::numeric_limits<T>::epsilon()));
}

// Nilpotent matrices: every eigenvalue is 0 and the subdiagonal shrinks with its diagonal
// neighbours; the iteration still ends, within the cube root of epsilon of the true values.
TYPED_TEST(Eigen3, NilpotentMatricesConverge) {
    using T = TypeParam;
    const T tol = 10 * std::cbrt(std::numeric_limits<T>::epsilon());
    for (const auto& a : {Make<CMLMatrix3<T>>({0, 0, 1, 0, 0, 2, -2, 1, 0}),
                          Make<CMLMatrix3<T>>({0, 1, 0, -2, -2, -2, 2, 1, 2}),
                          Make<CMLMatrix3<T>>({0, 2, 0, -2, -2, 2, -2, 0, 2})}) {
        ASSERT_EQ(a.Det(), T(0));
        CMLComplex<T> values[3];
        ASSERT_GE(a.FindEigenvalues(values), 0);
        for (int k = 0; k < 3; ++k)
            EXPECT_LT(std::abs(C(values[k])), tol * MaxAbs(a));
    }
}

template <class M>
void ExpectRealPairs(const M& a, int expected, Elem<M> tol) {
    using T = Elem<M>;
    T values[kN<M>];
    typename M::Vector vectors[kN<M>];
    const int count = a.FindEigenvectorsReal(values, vectors, T(1e-6));
    ASSERT_EQ(count, expected);
    const T scale = std::fmax(T(1), MaxAbs(a));
    for (int k = 0; k < count; ++k) {
        EXPECT_NEAR(vectors[k].Length(), T(1), tol);
        EXPECT_LT((a * vectors[k] - vectors[k] * values[k]).NormInf() / scale, tol);
        EXPECT_GT(vectors[k][vectors[k].GetIndexOfMaxComponent(1)], T(0));
        for (int j = 0; j < k; ++j) {
            if (values[j] == values[k]) {
                EXPECT_NEAR(vectors[j].Dot(vectors[k]), T(0), tol);
            }
        }
    }
}

TYPED_TEST(Eigen23, RealEigenvectors) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 200 * Eps<M>();
    for (unsigned seed = 210; seed < 220; ++seed) {
        const M r = Random<M>(seed);
        ExpectRealPairs<M>(r + r.Transpose(), kN<M>, tol);
    }
    ExpectRealPairs(Identity<M>(), kN<M>, tol);  // one eigenspace: an orthonormal basis
    ExpectRealPairs(M(), kN<M>, tol);
    const M q = RandomOrthogonal<M>(221);
    M d = Identity<M>() * T(2);
    d(0, 0) = T(-1);
    ExpectRealPairs<M>(q * d * q.Transpose(), kN<M>, tol);  // repeated, rotated
    M jordan = Identity<M>() * T(2);
    jordan(0, 1) = T(1);
    ExpectRealPairs(jordan, kN<M> - 1, tol);  // defective: one vector short
    M rotation = Identity<M>();
    rotation(0, 0) = rotation(1, 1) = T(0);
    rotation(0, 1) = T(-1);
    rotation(1, 0) = T(1);
    ExpectRealPairs(rotation, kN<M> - 2, tol);  // a complex pair has no real vector
}

TEST(EigenKnown, JordanBlockOfThree) {
    const auto j = Make<CMLMatrix3<double>>({2, 1, 0, 0, 2, 1, 0, 0, 2});
    double values[3];
    CMLVector3<double> vectors[3];
    ASSERT_EQ(j.FindEigenvectorsReal(values, vectors, 1e-9), 1);
    EXPECT_EQ(values[0], 2);
    EXPECT_LT((vectors[0] - CMLVector3<double>(1, 0, 0)).NormInf(), 1e-15);
}

template <class M>
void ExpectComplexVector(const M& a, const CMLComplex<Elem<M>>& value, Elem<M> tol) {
    using T = Elem<M>;
    typename M::Vector re, im;
    ASSERT_EQ(a.FindEigenvectorComplex(value, re, im, tol), 1);
    const std::complex<T> lambda = C(value);
    T norm = 0;
    int big = 0;
    for (int i = 0; i < kN<M>; ++i) {
        std::complex<T> s = 0;
        for (int j = 0; j < kN<M>; ++j)
            s += a(i, j) * std::complex<T>(re[j], im[j]);
        EXPECT_LT(std::abs(s - lambda * std::complex<T>(re[i], im[i])), tol);
        norm += re[i] * re[i] + im[i] * im[i];
        if (std::abs(std::complex<T>(re[i], im[i])) > std::abs(std::complex<T>(re[big], im[big])))
            big = i;
    }
    EXPECT_NEAR(norm, T(1), tol);
    EXPECT_EQ(im[big], T(0));
    EXPECT_GT(re[big], T(0));
}

TYPED_TEST(Eigen23, ComplexEigenvectors) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 200 * Eps<M>();
    for (unsigned seed = 230; seed < 250; ++seed) {
        const M a = Random<M>(seed);
        CMLComplex<T> values[kN<M>];
        ASSERT_GE(a.FindEigenvalues(values), 0);
        for (int k = 0; k < kN<M>; ++k)
            ExpectComplexVector(a, values[k], tol);
    }
    // A repeated eigenvalue with a plane of eigenvectors, and the zero matrix.
    M d = Identity<M>() * T(2);
    d(kN<M> - 1, kN<M> - 1) = T(5);
    ExpectComplexVector(d, CMLComplex<T>(2, 0), tol);
    ExpectComplexVector(M(), CMLComplex<T>(0, 0), tol);
    // Elements near the top of the range: the rows' products must not overflow.
    const M huge = Random<M>(251) * T(std::is_same_v<T, float> ? 1e30 : 1e300);
    CMLComplex<T> values[kN<M>];
    ASSERT_GE(huge.FindEigenvalues(values), 0);
    typename M::Vector hr, hi;
    for (int k = 0; k < kN<M>; ++k)
        EXPECT_EQ(huge.FindEigenvectorComplex(values[k], hr, hi, tol), 1);
    // Not an eigenvalue: 0 and the outputs unchanged.
    typename M::Vector re(T(3)), im(T(3));
    EXPECT_EQ(Identity<M>().FindEigenvectorComplex(CMLComplex<T>(1, 0.5), re, im, tol), 0);
    EXPECT_EQ(re[0], T(3));
}

TYPED_TEST(Eigen3, RotationEigenvectors) {
    using T = TypeParam;
    const T tol = 200 * std::numeric_limits<T>::epsilon();
    CMLMatrix3<T> r;
    ASSERT_EQ(r.SetRotationByAngleAxis(T(60), CMLVector3<T>(1, 2, 2)), 1);
    CMLComplex<T> values[3];
    ASSERT_EQ(r.FindEigenvalues(values), 1);
    EXPECT_NEAR(values[0].Real(), T(1), tol);
    EXPECT_NEAR(values[1].Real(), T(0.5), tol);
    EXPECT_NEAR(values[1].Imag(), std::sqrt(T(3)) / T(2), tol);
    T real[3];
    CMLVector3<T> axis[3];
    ASSERT_EQ(r.FindEigenvectorsReal(real, axis, T(1e-6)), 1);
    EXPECT_LT((axis[0] - CMLVector3<T>(1, 2, 2) / T(3)).NormInf(), tol);
    ExpectComplexVector(r, values[1], tol);
    ExpectComplexVector(r, values[2], tol);
}

}  // namespace
