// Fixed matrices: the numerical methods, checked by their mathematical contracts (reconstruction,
// orthogonality, ordering, residuals) on ordinary and on hard inputs: rank-deficient, zero,
// repeated and defective eigenvalues, badly scaled and extreme magnitudes, non-finite elements.
#include <ml/matrix_fixed.h>

#include <matrix_fixed_test_support.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <initializer_list>
#include <limits>
#include <type_traits>
#include <vector>

using namespace fixed_matrix_test;

namespace {

template <class M>
class Decomposition : public ::testing::Test {};
TYPED_TEST_SUITE(Decomposition, AllMatrices);
template <class M>
class Eigen23 : public ::testing::Test {};
using SmallMatrices =
    ::testing::Types<CMLMatrix2<float>, CMLMatrix2<double>, CMLMatrix3<float>, CMLMatrix3<double>>;
TYPED_TEST_SUITE(Eigen23, SmallMatrices);
template <class T>
class Eigen3 : public ::testing::Test {};
TYPED_TEST_SUITE(Eigen3, RealTypes);

template <class M>
M RandomOrthogonal(unsigned seed) {
    M q, r;
    EXPECT_EQ(Random<M>(seed).QR_Decomposition(q, r, Elem<M>(0)), 1);
    return q;
}
template <class M>
M RankOne(unsigned seed) {
    const M r = Random<M>(seed);
    M m;
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        m[k] = r(k / kN<M>, 0) * r(1, k % kN<M>);
    return m;
}
// Random elements near the top (sign 1) or the bottom (sign -1) of the range.
template <class M>
M Extreme(unsigned seed, int sign) {
    return Random<M>(seed) *
           Elem<M>(std::pow(10.0, sign * (std::is_same_v<Elem<M>, float> ? 30 : 250)));
}
template <class M>
M Symmetrized(M m) {
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < i; ++j)
            m(i, j) = m(j, i);
    return m;
}
// The hard inputs every decomposition takes: zero, rank one, orthogonal (all singular values 1),
// a zero column, extreme magnitudes, -3 I, and a symmetric one with eigenvalue 2 repeated N - 1
// times; then random matrices.
template <class M>
std::vector<M> Inputs(unsigned seed, unsigned randoms) {
    M zeroColumn = Random<M>(seed), d = Identity<M>() * Elem<M>(2);
    zeroColumn.SetColVector(0, typename M::Vector());
    d(kN<M> - 1, kN<M> - 1) = Elem<M>(5);
    const M q = RandomOrthogonal<M>(seed + 1);
    std::vector<M> inputs = {M(),
                             RankOne<M>(seed + 2),
                             RandomOrthogonal<M>(seed + 3),
                             zeroColumn,
                             Extreme<M>(seed + 4, 1),
                             Extreme<M>(seed + 5, -1),
                             Identity<M>() * Elem<M>(-3),
                             Symmetrized(q * d * q.Transpose())};
    for (unsigned k = 0; k < randoms; ++k)
        inputs.push_back(Random<M>(seed + 10 + k));
    return inputs;
}

// Reconstruction, orthogonality and ordering of the SVD, the polar and QR factors and the
// symmetric eigen-decomposition (of the symmetrized input).
TYPED_TEST(Decomposition, ContractsOnHardInputs) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 100 * Eps<M>();
    const std::vector<M> inputs = Inputs<M>(100, 20);
    for (const M& a : inputs) {
        SCOPED_TRACE(testing::Message() << "input " << (&a - inputs.data()));
        const T scale = std::fmax(std::numeric_limits<T>::min(), MaxAbs(a));
        M u, v, q, r;
        typename M::Vector s, alone;
        ASSERT_EQ(a.SV_Decomposition(u, v, s, T(0)) + a.CalculateSingularNumbers(alone), 2);
        EXPECT_LT(OrthogonalityError(u) + OrthogonalityError(v), tol);
        EXPECT_LT(MaxAbsDiff(u * Diag<M>(s) * v.Transpose(), a) / scale, tol);
        for (int i = 0; i < kN<M>; ++i) {
            EXPECT_GE(s[i], i + 1 < kN<M> ? s[i + 1] : T(0));  // descending, non-negative
            EXPECT_NEAR(alone[i] / scale, s[i] / scale, tol);
        }
        for (int side : {0, 1}) {
            ASSERT_EQ(a.PolarDecomposition(q, r, side, T(0)), 1);
            ASSERT_EQ(r.SymmetricEigensolve(s, u, T(0)), 1);
            EXPECT_LT(OrthogonalityError(q), tol);
            EXPECT_GE(s[0], -tol * scale);  // symmetric positive semidefinite
            EXPECT_LT(MaxAbsDiff(side == 0 ? q * r : r * q, a) / scale, tol);
        }
        ASSERT_EQ(a.QR_Decomposition(q, r, T(0)), 1);
        EXPECT_LT(OrthogonalityError(q), tol);
        EXPECT_EQ(r.IsURTriangular(T(0)), 1);
        EXPECT_GE(r.Diagonal().GetMinComponent(0), T(0));
        EXPECT_LT(MaxAbsDiff(q * r, a) / scale, tol);
        const M sym = Symmetrized(a);
        ASSERT_EQ(sym.SymmetricEigensolve(s, v, T(0)) + sym.SpectralDecomposition(q, r, 0, T(0)),
                  2);
        EXPECT_LT(OrthogonalityError(v), tol);
        for (int i = 1; i < kN<M>; ++i)
            EXPECT_LE(s[i - 1], s[i]);
        EXPECT_LT(MaxAbsDiff(sym * v, v * Diag<M>(s)) / scale, tol);
        EXPECT_EQ(r.IsDiagonal(T(0)), 1);
        EXPECT_LT(MaxAbsDiff(q * r * q.Transpose(), sym) / scale, tol);
        if (&a == &inputs[7]) {  // eigenvalue 2 repeated N - 1 times, then 5
            typename M::Vector want(T(2));
            want[kN<M> - 1] = T(5);
            EXPECT_LT((s - want).NormInf(), 20 * Tol<T>());
        }
    }
    // QR: a column already zero below the diagonal within eps is not reflected.
    M upper = Identity<M>(), q, r;
    upper(1, 0) = T(1e-8);
    ASSERT_EQ(upper.QR_Decomposition(q, r, T(1e-6)), 1);
    EXPECT_EQ(MaxAbsDiff(q, Identity<M>()) + MaxAbsDiff(r, Identity<M>()), T(0));
}

// Singular values at or below eps * s_max become 0 in the SVD, the rank and the polar factor.
TYPED_TEST(Decomposition, RankConditionAndSmallSingularValues) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = RankOne<M>(126) + Random<M>(127) * T(1e-3), id = Identity<M>();
    M u, v, q, s, d = id;
    typename M::Vector sigma;
    ASSERT_EQ(a.SV_Decomposition(u, v, sigma, T(1e-2)), 1);
    for (int i = 1; i < kN<M>; ++i)
        EXPECT_EQ(sigma[i], T(0));
    EXPECT_LT(OrthogonalityError(u), 50 * Eps<M>());  // completed to an orthonormal basis
    EXPECT_LT(MaxAbsDiff(u * Diag<M>(sigma) * v.Transpose(), a), T(1e-2) * sigma[0] * kN<M>);
    ASSERT_EQ(a.PolarDecomposition(q, s, 0, T(1e-2)), 1);
    EXPECT_EQ(s.CalculateRank(T(1e-6)), 1);
    d(0, 0) = T(1e-3);
    EXPECT_EQ(a.CalculateRank(T(1e-2)), 1);
    EXPECT_EQ(M().CalculateRank(T(1e-4)), 0);
    EXPECT_EQ((RankOne<M>(131) + RankOne<M>(132)).CalculateRank(T(1e-4)), 2);
    EXPECT_EQ(d.CalculateRank(T(1e-2)), kN<M> - 1);
    EXPECT_EQ((id * T(1e6)).CalculateRank(T(1e-3)), kN<M>);  // relative to s_max

    // Condition numbers: sigma_max / sigma_min, the norm of the matrix times that of its inverse,
    // and mlBigValue for a singular matrix.
    EXPECT_NEAR(id.ConditionNumber(mlNormMaxElement), T(kN<M> * kN<M>), Tol<T>());
    EXPECT_NEAR(d.ConditionNumber(mlNormSpectral), T(1e3), T(1e3) * Tol<T>());
    const M b = Random<M>(133) + id * T(2);
    ASSERT_EQ(b.Inverse(q, T(0)), 0);
    EXPECT_NEAR(b.ConditionNumber(mlNormRowSum), b.Norm(mlNormRowSum) * q.Norm(mlNormRowSum),
                Tol<T>() * b.ConditionNumber(mlNormRowSum));
    EXPECT_EQ(RankOne<M>(134).ConditionNumber(mlNormSpectral), mlBigValue<T>);
    EXPECT_EQ(M().ConditionNumber(mlNormRowSum), mlBigValue<T>);
}

// Non-finite elements, asymmetry beyond eps and, when positivity is required, an indefinite
// matrix fail and leave the outputs as they were.
TYPED_TEST(Decomposition, RejectedInputsLeaveOutputsUntouched) {
    using M = TypeParam;
    using T = Elem<M>;
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const M sym = Symmetrized(Random<M>(162));
    M bad = Random<M>(129), badSym = Identity<M>(), skew = sym, indefinite = Identity<M>();
    bad(kN<M> - 1, 0) = badSym(kN<M> - 1, 0) = badSym(0, kN<M> - 1) = nan;
    skew(0, 1) += T(1e-3);
    indefinite(0, 0) = T(-1);
    M u = Identity<M>(), v = Identity<M>();
    typename M::Vector s(T(5));
    EXPECT_EQ(bad.SV_Decomposition(u, v, s, T(0)) + bad.CalculateSingularNumbers(s), 0);
    EXPECT_EQ(bad.QR_Decomposition(u, v, T(0)) + bad.PolarDecomposition(u, v, 0, T(0)), 0);
    EXPECT_EQ(badSym.SymmetricEigensolve(s, u, T(1)) + badSym.IsPositive(T(0)), 0);
    EXPECT_EQ(skew.SymmetricEigensolve(s, u, T(1e-4)), 0);
    EXPECT_EQ(skew.SpectralDecomposition(u, v, 0, T(1e-4)), 0);
    EXPECT_EQ(indefinite.SpectralDecomposition(u, v, 1, T(1e-6)), 0);
    EXPECT_EQ(s[0], T(5));
    EXPECT_EQ(MaxAbsDiff(u, Identity<M>()) + MaxAbsDiff(v, Identity<M>()), T(0));
    EXPECT_EQ(bad.CalculateRank(T(0)), -1);
    EXPECT_EQ(bad.ConditionNumber(mlNormSpectral), mlBigValue<T>);
    // Symmetric within eps is enough; positivity is only checked when required.
    EXPECT_EQ(skew.SymmetricEigensolve(s, u, T(1e-2)), 1);
    EXPECT_EQ((sym * sym + Identity<M>()).SpectralDecomposition(u, v, 1, T(1e-6)), 1);
    EXPECT_EQ(indefinite.SpectralDecomposition(u, v, 0, T(1e-6)), 1);
    EXPECT_EQ(v(0, 0), T(-1));
}

TYPED_TEST(Decomposition, DoolittleLuWithoutRowExchanges) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(146) + Identity<M>() * T(3);
    M l, u;
    ASSERT_EQ(a.LU_Decomposition(l, u, T(1e-6)), 1);
    EXPECT_EQ(l.IsLLTriangular(T(0)) + u.IsURTriangular(T(0)), 2);
    EXPECT_EQ(MaxAbsDiff(Diag<M>(l.Diagonal()), Identity<M>()), T(0));
    EXPECT_LT(MaxAbsDiff(l * u, a), 20 * Tol<T>());
    // A zero leading element fails at once, although the matrix is regular, with the outputs
    // cleared; a later zero pivot fails there, with the factors computed so far.
    M swap = Identity<M>(), late = Identity<M>();
    swap(0, 0) = swap(1, 1) = T(0);
    swap(0, 1) = swap(1, 0) = T(1);
    l.SetConstant(T(9));
    u.SetConstant(T(9));
    EXPECT_EQ(swap.LU_Decomposition(l, u, T(1e-6)), 0);
    EXPECT_EQ(MaxAbs(l) + MaxAbs(u), T(0));
    late(0, 1) = late(1, 0) = T(2);
    late(1, 1) = T(4);
    EXPECT_EQ(late.LU_Decomposition(l, u, T(1e-6)), 0);
    EXPECT_EQ(l(1, 0) + u(0, 1), T(4));
}

template <class T>
std::complex<T> C(const CMLComplex<T>& z) {
    return {z.Real(), z.Imag()};
}

// Eigenvalues in the documented order (real ascending, then pairs with the positive imaginary part
// first), summing to the trace and multiplying to the determinant; then, when given, the expected
// values and real count. Returns the real count.
template <class M>
int ExpectEigenvalues(const M& a, CMLComplex<Elem<M>>* values, Elem<M> tol,
                      std::initializer_list<std::complex<double>> want = {}, int wantReal = -1) {
    using T = Elem<M>;
    const int real = a.FindEigenvalues(values);
    EXPECT_TRUE(real >= 0 && (kN<M> - real) % 2 == 0) << real;
    std::complex<T> sum = 0, product = 1;
    for (int k = 0; k < kN<M>; ++k) {
        if (k < real) {
            EXPECT_EQ(values[k].Imag(), T(0));
            EXPECT_LE(values[k > 0 ? k - 1 : 0].Real(), values[k].Real());
        } else if ((k - real) % 2 == 0) {
            EXPECT_GT(values[k].Imag(), T(0));
            EXPECT_EQ(C(values[k + 1]), std::conj(C(values[k])));
        }
        sum += C(values[k]);
        product *= C(values[k]);
    }
    const T scale = std::fmax(T(1), MaxAbs(a)), floor = std::fmax(tol, 100 * Eps<M>());
    EXPECT_LT(std::abs(sum - a.Trace()), floor * scale);
    EXPECT_LT(std::abs(product - a.Det()), floor * std::pow(scale, T(kN<M>)));
    EXPECT_TRUE(wantReal < 0 || real == wantReal) << real;
    for (int k = 0; k < kN<M> && k < int(want.size()); ++k)
        EXPECT_LE(std::abs(C(values[k]) - std::complex<T>(want.begin()[k])), tol) << k;
    return real;
}

TYPED_TEST(Eigen3, KnownEigenvalues) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-5) : T(1e-13);
    CMLComplex<T> v2[2], v3[3];
    ExpectEigenvalues(Make<CMLMatrix2<T>>({0, -1, 1, 0}), v2, tol, {{0, 1}, {0, -1}}, 0);
    ExpectEigenvalues(Make<CMLMatrix2<T>>({1, 1, 0, 1}), v2, T(0), {1, 1}, 2);  // defective
    // The companion matrix of (x - 1)(x - 2)(x - 3); twice a quarter turn about Z.
    const auto companion = Make<CMLMatrix3<T>>({6, -11, 6, 1, 0, 0, 0, 1, 0});
    ExpectEigenvalues(companion, v3, 100 * tol, {1, 2, 3}, 3);
    ExpectEigenvalues(Make<CMLMatrix3<T>>({0, -2, 0, 2, 0, 0, 0, 0, 2}), v3, tol,
                      {{2, 0}, {0, 2}, {0, -2}}, 1);
    // A triple root and nilpotent matrices lose accuracy to the cube root of epsilon only; the
    // subdiagonal of the nilpotent ones shrinks with its diagonal neighbours, and the iteration
    // must still end.
    const T cube = 10 * std::cbrt(std::numeric_limits<T>::epsilon());
    ExpectEigenvalues(Make<CMLMatrix3<T>>({6, -12, 8, 1, 0, 0, 0, 1, 0}), v3, cube, {2, 2, 2});
    for (const auto& a : {Make<CMLMatrix3<T>>({0, 0, 1, 0, 0, 2, -2, 1, 0}),
                          Make<CMLMatrix3<T>>({0, 1, 0, -2, -2, -2, 2, 1, 2}),
                          Make<CMLMatrix3<T>>({0, 2, 0, -2, -2, 2, -2, 0, 2})})
        ExpectEigenvalues(a, v3, cube * MaxAbs(a), {0, 0, 0});
}

// Real pairs: unit vectors with their largest component positive, small residuals, and an
// orthonormal basis of a repeated eigenvalue's space.
template <class M>
void ExpectRealPairs(const M& a, int expected, Elem<M> tol) {
    using T = Elem<M>;
    T values[kN<M>];
    typename M::Vector vectors[kN<M>];
    ASSERT_EQ(a.FindEigenvectorsReal(values, vectors, T(1e-6)), expected);
    for (int k = 0; k < expected; ++k) {
        EXPECT_NEAR(vectors[k].Length(), T(1), tol);
        EXPECT_LT((a * vectors[k] - vectors[k] * values[k]).NormInf() / std::fmax(T(1), MaxAbs(a)),
                  tol);
        EXPECT_GT(vectors[k][vectors[k].GetIndexOfMaxComponent(1)], T(0));
        for (int j = 0; j < k; ++j)
            EXPECT_NEAR(values[j] == values[k] ? vectors[j].Dot(vectors[k]) : T(0), T(0), tol);
    }
}

// A unit complex eigenvector re + i im with a small residual and its largest component real and
// positive.
template <class M>
void ExpectComplexVector(const M& a, const CMLComplex<Elem<M>>& value, Elem<M> tol) {
    using T = Elem<M>;
    typename M::Vector re, im;
    ASSERT_EQ(a.FindEigenvectorComplex(value, re, im, tol), 1);
    const T lr = value.Real(), li = value.Imag();
    EXPECT_LT((a * re - re * lr + im * li).NormInf() + (a * im - im * lr - re * li).NormInf(), tol);
    EXPECT_NEAR(re.Dot(re) + im.Dot(im), T(1), tol);
    int big = 0;
    for (int i = 1; i < kN<M>; ++i)
        if (re[i] * re[i] + im[i] * im[i] > re[big] * re[big] + im[big] * im[big]) big = i;
    EXPECT_EQ(im[big], T(0));
    EXPECT_GT(re[big], T(0));
}

TYPED_TEST(Eigen23, EigenpairsOfRandomAndHardInputs) {
    using M = TypeParam;
    using T = Elem<M>;
    const T tol = 200 * Eps<M>();
    CMLComplex<T> values[kN<M>];
    for (unsigned seed = 210; seed < 240; ++seed) {
        const M a = Random<M>(seed);
        const int real = ExpectEigenvalues(a, values, T(100) * Eps<M>());
        ASSERT_GE(real, 0);
        for (int k = 0; k < kN<M>; ++k)
            ExpectComplexVector(a, values[k], tol);
        ExpectRealPairs(a, real, tol);
        ExpectRealPairs(Symmetrized(a), kN<M>, tol);
    }
    ExpectEigenvalues(RankOne<M>(200), values, T(100) * Eps<M>());
    ExpectEigenvalues(Random<M>(201) * T(std::is_same_v<T, float> ? 1e10 : 1e50), values,
                      10 * T(100) * Eps<M>());
    ExpectEigenvalues(M(), values, T(0), {0, 0, 0}, kN<M>);
    ExpectEigenvalues(Identity<M>() * T(3), values, T(0), {3, 3, 3}, kN<M>);
    // Badly scaled but similar to a tame matrix: balancing recovers 0 and 2.
    M scaled = Identity<M>();
    scaled(0, 1) = T(1e6);
    scaled(1, 0) = T(1e-6);
    EXPECT_EQ(ExpectEigenvalues(scaled, values, T(100) * Eps<M>()), kN<M>);
    EXPECT_NEAR(values[0].Real(), T(0), 10 * T(100) * Eps<M>());
    EXPECT_NEAR(values[kN<M> - 1].Real(), T(2), 10 * T(100) * Eps<M>());
    // Eigenvalues of a non-finite matrix: -1 and the outputs unchanged.
    values[0].Set(T(4), T(4));
    scaled(1, 0) = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(scaled.FindEigenvalues(values), -1);
    EXPECT_EQ(values[0].Real(), T(4));
    // One eigenspace (an orthonormal basis), a repeated eigenvalue, a defective one (a vector
    // short), a complex pair (no real vector).
    const M q = RandomOrthogonal<M>(221);
    M d = Identity<M>() * T(2), jordan = d, rotation = Identity<M>();
    d(0, 0) = T(-1);
    jordan(0, 1) = T(1);
    rotation(0, 0) = rotation(1, 1) = T(0);
    rotation(0, 1) = T(-1);
    rotation(1, 0) = T(1);
    ExpectRealPairs(Identity<M>(), kN<M>, tol);
    ExpectRealPairs(M(), kN<M>, tol);
    ExpectRealPairs(Symmetrized(q * d * q.Transpose()), kN<M>, tol);
    ExpectRealPairs(jordan, kN<M> - 1, tol);
    ExpectRealPairs(rotation, kN<M> - 2, tol);
    ExpectComplexVector(d, CMLComplex<T>(2, 0), tol);  // a plane of eigenvectors
    if constexpr (kN<M> == 3) {
        ExpectRealPairs(Make<M>({2, 1, 0, 0, 2, 1, 0, 0, 2}), 1, tol);  // a Jordan block of three
        M turn;  // the axis, (1, 2, 2) / 3, is the one real eigenvector
        ASSERT_EQ(turn.SetRotationByAngleAxis(T(60), CMLVector3<T>(1, 2, 2)), 1);
        ExpectRealPairs(turn, 1, tol);
    }
    // Elements near the top of the range: the rows' products must not overflow (a regression).
    const M huge = Random<M>(251) * T(std::is_same_v<T, float> ? 1e30 : 1e300);
    typename M::Vector re(T(3)), im(T(3));
    ASSERT_GE(huge.FindEigenvalues(values), 0);
    for (int k = 0; k < kN<M>; ++k)
        EXPECT_EQ(huge.FindEigenvectorComplex(values[k], re, im, tol), 1);
    // Not an eigenvalue: 0 and the outputs unchanged.
    re = im = typename M::Vector(T(3));
    EXPECT_EQ(Identity<M>().FindEigenvectorComplex(CMLComplex<T>(1, 0.5), re, im, tol), 0);
    EXPECT_EQ(re[0] + im[0], T(6));
}

}  // namespace
