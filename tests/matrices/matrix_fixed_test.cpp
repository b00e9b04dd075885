// Fixed matrices: layout, elements, arithmetic, determinant and inverse with their boundaries,
// tests, norms, conversions, the homogeneous transform builders (with the arithmetic callers
// rely on) and the 3D rotations of CMLMatrix3.
#include <ml/matrix_fixed.h>

#include <matrix_fixed_test_support.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

using namespace fixed_matrix_test;

namespace {

template <class M>
class FixedMatrixTyped : public ::testing::Test {};
using AllMatrices = ::testing::Types<CMLMatrix2<float>, CMLMatrix2<double>, CMLMatrix3<float>,
                                     CMLMatrix3<double>, CMLMatrix4<float>, CMLMatrix4<double>>;
TYPED_TEST_SUITE(FixedMatrixTyped, AllMatrices);

template <class T>
class FixedMatrixReal : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FixedMatrixReal, RealTypes);

// The plain triple loop, summing in increasing k.
template <class M>
M NaiveProduct(const M& a, const M& b) {
    M r;
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < kN<M>; ++j) {
            Elem<M> s = a(i, 0) * b(0, j);
            for (int k = 1; k < kN<M>; ++k)
                s += a(i, k) * b(k, j);
            r(i, j) = s;
        }
    return r;
}

// diag(2^-10, 1, ..., 1): its determinant is exactly 2^-10.
template <class M>
M TinyDeterminant() {
    M m = Identity<M>();
    m(0, 0) = Elem<M>(std::ldexp(1.0, -10));
    return m;
}

// ---- Layout and construction ---------------------------------------------------------------

TYPED_TEST(FixedMatrixTyped, PlainValueOfNByNElements) {
    using M = TypeParam;
    using T = Elem<M>;
    static_assert(std::is_standard_layout_v<M>);
    static_assert(std::is_trivially_copyable_v<M>);
    static_assert(!std::is_polymorphic_v<M>);
    static_assert(sizeof(M) == kN<M> * kN<M> * sizeof(T));
    // An array of matrices is a plain array of elements, each matrix row by row.
    M a[2] = {Random<M>(1), Random<M>(2)};
    const T* raw = reinterpret_cast<const T*>(a);
    for (int k = 0; k < kN<M> * kN<M>; ++k) {
        EXPECT_EQ(raw[k], a[0](k / kN<M>, k % kN<M>));
        EXPECT_EQ(raw[kN<M> * kN<M> + k], a[1][k]);
    }
}

TYPED_TEST(FixedMatrixTyped, DefaultIsZeroNotIdentity) {
    using M = TypeParam;
    const M a;
    const M b(3, 7);  // the ints are ignored
    for (int k = 0; k < kN<M> * kN<M>; ++k) {
        EXPECT_EQ(a[k], 0);
        EXPECT_EQ(b[k], 0);
    }
    EXPECT_EQ(M::RowsNb(), kN<M>);
    EXPECT_EQ(a.ColsNb(), kN<M>);
    EXPECT_EQ(a.Size(), kN<M>);
}

TEST(FixedMatrixLayout, SizeIsTheOrder) {
    EXPECT_EQ(CMLMatrix2<double>().Size(), 2);
    EXPECT_EQ(CMLMatrix3<double>().Size(), 3);
    EXPECT_EQ(CMLMatrix4<float>().Size(), 4);
}

TYPED_TEST(FixedMatrixTyped, ArrayConstructorReadsRowMajor) {
    using M = TypeParam;
    using T = Elem<M>;
    T src[16];
    for (int k = 0; k < 16; ++k)
        src[k] = T(k + 1);
    const M m(src);
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < kN<M>; ++j)
            EXPECT_EQ(m(i, j), T(i * kN<M> + j + 1));
}

// ---- Setters and getters ----------------------------------------------------------------------

TYPED_TEST(FixedMatrixTyped, Setters) {
    using M = TypeParam;
    using T = Elem<M>;
    constexpr int n = kN<M>;
    M m = Random<M>(3);
    m.SetDiagonal(T(5));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            EXPECT_EQ(m(i, j), i == j ? T(5) : T(0));
    m.Unit();
    EXPECT_EQ(m, Identity<M>());
    m.SetConstant(T(-2));
    for (int k = 0; k < n * n; ++k)
        EXPECT_EQ(m[k], T(-2));
    m.SetToZero();
    EXPECT_EQ(m, M());

    m.SetElement(1, 0, T(3));
    m.AddToElement(1, 0, T(2));
    m.MulElement(1, 0, T(4));
    EXPECT_EQ(m(1, 0), T(20));
    EXPECT_EQ(m[n], T(20));

    T row[4] = {1, 2, 3, 4}, col[4] = {5, 6, 7, 8};
    m.SetRow(0, row);
    m.SetColumn(n - 1, col);
    for (int j = 0; j < n - 1; ++j)
        EXPECT_EQ(m(0, j), row[j]);
    for (int i = 0; i < n; ++i)
        EXPECT_EQ(m(i, n - 1), col[i]);
    T out[16];
    m.Row(0, out);
    for (int j = 0; j < n; ++j)
        EXPECT_EQ(out[j], m(0, j));
    m.Column(n - 1, out);
    for (int i = 0; i < n; ++i)
        EXPECT_EQ(out[i], col[i]);

    const M r = Random<M>(4);
    r.Dump(out);
    m.Fill(out);
    EXPECT_EQ(MaxAbsDiff(m, r), 0);

    typename M::Vector v;
    for (int i = 0; i < n; ++i)
        v[i] = T(10 + i);
    m.SetRowVector(1, v);
    m.SetColVector(0, v);
    EXPECT_EQ(m.RowVector(1)[n - 1], T(10 + n - 1));
    EXPECT_EQ(m.ColVector(0), v);
    EXPECT_EQ(m(1, 0), T(11));  // the column was written last
    EXPECT_EQ(r.LastRow(), r.RowVector(n - 1));
    EXPECT_EQ(r.LastColumn(), r.ColVector(n - 1));
    typename M::Vector d;
    r.GetDiagElements(d);
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(r.Diagonal()[i], r(i, i));
        EXPECT_EQ(d[i], r(i, i));
    }
}

TEST(FixedMatrixGetters, LeadingDiagonals) {
    const auto m3 = Make<CMLMatrix3<double>>({1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(m3.Diagonal2(), CMLVector2<double>(1, 5));
    CMLMatrix4<double> m4;
    for (int k = 0; k < 16; ++k)
        m4[k] = k;
    EXPECT_EQ(m4.Diagonal3(), CMLVector3<double>(0, 5, 10));
}

TEST(FixedMatrixBlocks, FillAndDumpPart) {
    CMLMatrix4<double> m;
    const double src[6] = {1, 2, 3, 4, 5, 6};
    m.FillPart(1, 1, 2, 3, src, 1);  // two rows of three
    EXPECT_EQ(m(1, 1), 1);
    EXPECT_EQ(m(1, 3), 3);
    EXPECT_EQ(m(2, 1), 4);
    EXPECT_EQ(m(2, 3), 6);
    m.FillPart(0, 0, 1, 2, src, 0);  // down the columns
    EXPECT_EQ(m(0, 0), 1);
    EXPECT_EQ(m(1, 0), 2);
    EXPECT_EQ(m(0, 1), 3);
    EXPECT_EQ(m(1, 2), 6);
    double out[6] = {};
    m.DumpPart(0, 0, 1, 2, out, 0);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(out[k], src[k]);
    m.DumpPart(1, 1, 2, 3, out, 1);
    EXPECT_EQ(out[3], 4);

    // Blocks outside the matrix or reversed do nothing.
    const CMLMatrix4<double> before = m;
    m.FillPart(2, 0, 4, 1, src, 1);
    m.FillPart(1, 2, 0, 3, src, 1);
    m.FillPart(0, -1, 1, 1, src, 1);
    EXPECT_EQ(MaxAbsDiff(m, before), 0);
    double untouched[6] = {-1, -1, -1, -1, -1, -1};
    m.DumpPart(0, 3, 1, 4, untouched, 1);
    EXPECT_EQ(untouched[0], -1);
}

TEST(FixedMatrixBlocks, CopyPartRowAndColumn) {
    CMLMatrix4<double> m;
    const auto src = Random<CMLMatrix4<double>>(5);
    m.CopyPartRow(0, 2, 1, 3, src);
    EXPECT_EQ(m(0, 0), 0);
    for (int j = 1; j <= 3; ++j)
        EXPECT_EQ(m(0, j), src(2, j));
    m.CopyPartColumn(3, 1, 2, 3, src);
    EXPECT_EQ(m(1, 3), 0);
    EXPECT_EQ(m(2, 3), src(2, 1));
    EXPECT_EQ(m(3, 3), src(3, 1));
    const CMLMatrix4<double> before = m;
    m.CopyPartRow(1, 1, 3, 2, src);
    m.CopyPartColumn(1, 1, 3, 0, src);
    EXPECT_EQ(MaxAbsDiff(m, before), 0);
}

// ---- Arithmetic ------------------------------------------------------------------------------

TYPED_TEST(FixedMatrixTyped, ElementwiseArithmetic) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(6), b = Random<M>(7);
    const M sum = a + b, diff = a - b, scaled = a * T(3), divided = a / T(4), neg = a.Negate();
    for (int k = 0; k < kN<M> * kN<M>; ++k) {
        EXPECT_EQ(sum[k], a[k] + b[k]);
        EXPECT_EQ(diff[k], a[k] - b[k]);
        EXPECT_EQ(scaled[k], a[k] * T(3));
        EXPECT_EQ(divided[k], a[k] / T(4));
        EXPECT_EQ(neg[k], -a[k]);
    }
    M c = a;
    c += b;
    EXPECT_EQ(MaxAbsDiff(c, sum), 0);
    c = a;
    c -= b;
    EXPECT_EQ(MaxAbsDiff(c, diff), 0);
    c = a;
    c.Add(b);
    EXPECT_EQ(MaxAbsDiff(c, sum), 0);
    c.Sub(b);
    c.Sub(b);
    EXPECT_LT(MaxAbsDiff(c, diff), Tol<T>());
    c = a;
    c *= T(3);
    EXPECT_EQ(MaxAbsDiff(c, scaled), 0);
    c = a;
    c.Mul(T(3));
    EXPECT_EQ(MaxAbsDiff(c, scaled), 0);
    c = a;
    c /= T(4);
    EXPECT_EQ(MaxAbsDiff(c, divided), 0);
    c = a;
    c.Div(T(4));
    EXPECT_EQ(MaxAbsDiff(c, divided), 0);

    // The scalar is read once: every element is divided by the original (0, 0).
    c = a;
    c /= c(0, 0);
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        EXPECT_EQ(c[k], a[k] / a[0]);
    // Division is not guarded.
    EXPECT_TRUE(std::isinf((Identity<M>() / T(0))[0]));

    EXPECT_EQ(a.Transpose()(0, 1), a(1, 0));
    EXPECT_EQ(MaxAbsDiff(a.Transpose().Transpose(), a), 0);
    T trace = 0, total = 0;
    for (int i = 0; i < kN<M>; ++i)
        trace += a(i, i);
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        total += a[k];
    EXPECT_NEAR(a.Trace(), trace, Tol<T>());
    EXPECT_NEAR(a.Mean(), total / T(kN<M> * kN<M>), Tol<T>());
}

TYPED_TEST(FixedMatrixTyped, ProductsInTheirSummationOrder) {
    using M = TypeParam;
    const M a = Random<M>(8), b = Random<M>(9);
    const M p = a * b;
    EXPECT_EQ(MaxAbsDiff(p, NaiveProduct(a, b)), 0);
    M c = a;
    c *= b;
    EXPECT_EQ(MaxAbsDiff(c, p), 0);
    c = a;
    c.PostMultiply(b);
    EXPECT_EQ(MaxAbsDiff(c, p), 0);
    c = a;
    c.PreMultiply(b);
    EXPECT_EQ(MaxAbsDiff(c, NaiveProduct(b, a)), 0);
    c = a;
    c *= c;  // aliasing is safe
    EXPECT_EQ(MaxAbsDiff(c, NaiveProduct(a, a)), 0);

    typename M::Vector v;
    for (int i = 0; i < kN<M>; ++i)
        v[i] = Elem<M>(0.5 * i - 1);
    const typename M::Vector r = a * v;
    for (int i = 0; i < kN<M>; ++i) {
        Elem<M> s = a(i, 0) * v[0];
        if (kN<M> == 4) {
            // Four rows sum in pairs of lanes.
            s = (a(i, 0) * v[0] + a(i, 2) * v[2]) + (a(i, 1) * v[1] + a(i, 3) * v[3]);
        } else {
            for (int k = 1; k < kN<M>; ++k)
                s += a(i, k) * v[k];
        }
        EXPECT_EQ(r[i], s);
    }
}

TYPED_TEST(FixedMatrixTyped, PowersNegativeIsACopy) {
    using M = TypeParam;
    const M a = Random<M>(10);
    EXPECT_EQ(MaxAbsDiff(a ^ 0, Identity<M>()), 0);
    EXPECT_EQ(MaxAbsDiff(a ^ 1, a), 0);
    EXPECT_EQ(MaxAbsDiff(a ^ -3, a), 0);
    EXPECT_EQ(MaxAbsDiff(a ^ -1, a), 0);
    EXPECT_EQ(MaxAbsDiff(a ^ 3, (a * a) * a), 0);
    M b = a;
    b ^= 2;
    EXPECT_EQ(MaxAbsDiff(b, a * a), 0);
    b = a;
    b ^= -2;
    EXPECT_EQ(MaxAbsDiff(b, a), 0);
    b ^= 0;
    EXPECT_EQ(b, Identity<M>());
}

// ---- Equality ----------------------------------------------------------------------------------

TEST(FixedMatrixEquality, FixedToleranceDouble) {
    const auto a = Random<CMLMatrix3<double>>(11);
    auto b = a;
    b(2, 1) += 5e-10;
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    b(2, 1) = a(2, 1) + 2e-9;
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    // Absolute, not relative: large elements get no extra room.
    auto big = Make<CMLMatrix2<double>>({1e12, 0, 0, 1});
    auto big2 = big;
    big2(0, 0) += 1e-3;
    EXPECT_FALSE(big == big2);
    big2 = big;
    big2(1, 1) = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(big2 == big2);
}

TEST(FixedMatrixEquality, FixedToleranceFloat) {
    const auto a = Make<CMLMatrix2<float>>({0.5, 0.25, 0.125, 1});
    auto b = a;
    b(0, 1) += 5e-8f;
    EXPECT_TRUE(a == b);
    b(0, 1) = a(0, 1) + 2e-7f;
    EXPECT_TRUE(a != b);
}

TYPED_TEST(FixedMatrixReal, AlmostEqualWithCallerTolerance) {
    using T = TypeParam;
    const auto a = Make<CMLMatrix3<T>>({1, 2, 3, 4, 5, 6, 7, 8, 9});
    auto b = a;
    b(1, 2) += T(0.5);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 0.5), 1);  // inclusive, and a double literal converts
    EXPECT_EQ(mlAreAlmostEqual(a, b, 0.25), 0);
    const auto a2 = Make<CMLMatrix2<T>>({1, 2, 3, 4});
    EXPECT_EQ(mlAreAlmostEqual(a2, a2 + Make<CMLMatrix2<T>>({0, 0, 0, 0.1}), 0.2), 1);
    const auto a4 = Identity<CMLMatrix4<T>>();
    EXPECT_EQ(mlAreAlmostEqual(a4, a4 * T(2), 0.9), 0);
}

// ---- Determinant and inverse ------------------------------------------------------------------

TYPED_TEST(FixedMatrixReal, DeterminantFormulas) {
    using T = TypeParam;
    EXPECT_EQ(Make<CMLMatrix2<T>>({3, 8, 4, 6}).Det(), T(-14));
    EXPECT_EQ(Make<CMLMatrix3<T>>({6, 1, 1, 4, -2, 5, 2, 8, 7}).Det(), T(-306));
    EXPECT_EQ(Make<CMLMatrix4<T>>({1, 0, 2, -1, 3, 0, 0, 5, 2, 1, 4, -3, 1, 0, 5, 0}).Det(), T(30));
    EXPECT_EQ(CMLMatrix4<T>().Det(), T(0));
}

TYPED_TEST(FixedMatrixTyped, DeterminantOfProductAndTranspose) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(12), b = Random<M>(13);
    EXPECT_NEAR((a * b).Det(), a.Det() * b.Det(), 4 * Tol<T>());
    EXPECT_NEAR(a.Transpose().Det(), a.Det(), 4 * Tol<T>());
    M swapped = a;
    for (int j = 0; j < kN<M>; ++j)
        std::swap(swapped(0, j), swapped(1, j));
    EXPECT_NEAR(swapped.Det(), -a.Det(), 4 * Tol<T>());
}

TYPED_TEST(FixedMatrixTyped, InverseReconstructsIdentity) {
    using M = TypeParam;
    using T = Elem<M>;
    for (unsigned seed = 20; seed < 30; ++seed) {
        const M a = Random<M>(seed) + Identity<M>() * T(2);
        M inv;
        ASSERT_EQ(a.Inverse(inv, T(1e-6)), 0);
        EXPECT_LT(MaxAbsDiff(a * inv, Identity<M>()), 20 * Tol<T>());
        EXPECT_LT(MaxAbsDiff(inv * a, Identity<M>()), 20 * Tol<T>());
        M self = a;
        ASSERT_EQ(self.Inverse(self, T(1e-6)), 0);  // out may be the matrix itself
        EXPECT_EQ(MaxAbsDiff(self, inv), 0);
    }
}

TYPED_TEST(FixedMatrixReal, InverseIsTheAdjugateTimesTheReciprocal) {
    using T = TypeParam;
    const auto a = Make<CMLMatrix2<T>>({4, 7, 2, 6});
    CMLMatrix2<T> inv;
    ASSERT_EQ(a.Inverse(inv, T(0)), 0);
    const T id = T(1) / T(10);
    EXPECT_EQ(inv(0, 0), T(6) * id);
    EXPECT_EQ(inv(0, 1), T(-7) * id);
    EXPECT_EQ(inv(1, 0), T(-2) * id);
    EXPECT_EQ(inv(1, 1), T(4) * id);
}

TYPED_TEST(FixedMatrixTyped, SingularInverseReturnsThreeAndLeavesOutput) {
    using M = TypeParam;
    using T = Elem<M>;
    M a = Random<M>(31);
    for (int j = 0; j < kN<M>; ++j)
        a(1, j) = T(2) * a(0, j);  // dependent rows
    M out;
    out.SetConstant(T(7));
    EXPECT_EQ(a.Inverse(out, T(1e-5)), 3);
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        EXPECT_EQ(out[k], T(7));
    EXPECT_EQ(M().Inverse(out, T(0)), 0);  // eps 0 is never above |det|: the test is strict
    T condition = 0;
    out.SetConstant(T(7));
    EXPECT_EQ(a.Inverse(out, mlNormFrobenius, T(1e-5), condition), 3);
    EXPECT_EQ(condition, mlBigValue<T>);
    EXPECT_EQ(out[0], T(7));
    typename M::Vector b, x;
    x[0] = T(9);
    EXPECT_EQ(a.SolveSystem(b, x, T(1e-5)), 3);
    EXPECT_EQ(x[0], T(9));
}

// At |det| = eps the inverse is taken while IsSingular already says 1: both boundaries are kept.
TYPED_TEST(FixedMatrixTyped, InverseAndIsSingularBoundaries) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = TinyDeterminant<M>();
    const T eps = a.Det();
    ASSERT_EQ(eps, T(std::ldexp(1.0, -10)));
    M inv;
    EXPECT_EQ(a.Inverse(inv, eps), 0);
    EXPECT_EQ(inv(0, 0), T(1024));
    EXPECT_EQ(a.IsSingular(eps), 1);
    EXPECT_EQ(a.Inverse(inv, std::nextafter(eps, T(1))), 3);
    EXPECT_EQ(a.IsSingular(std::nextafter(eps, T(0))), 0);
}

TYPED_TEST(FixedMatrixTyped, InverseWithConditionAndSolve) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(32) + Identity<M>() * T(3);
    M inv, plain;
    T condition = 0;
    ASSERT_EQ(a.Inverse(inv, mlNormRowSum, T(1e-6), condition), 0);
    ASSERT_EQ(a.Inverse(plain, T(1e-6)), 0);
    EXPECT_EQ(MaxAbsDiff(inv, plain), 0);
    EXPECT_NEAR(condition, a.Norm(mlNormRowSum) * inv.Norm(mlNormRowSum), Tol<T>());
    EXPECT_GE(condition, T(1));

    typename M::Vector xTrue, b, x;
    for (int i = 0; i < kN<M>; ++i)
        xTrue[i] = T(i + 1);
    b = a * xTrue;
    ASSERT_EQ(a.SolveSystem(b, x, T(1e-6)), 0);
    for (int i = 0; i < kN<M>; ++i)
        EXPECT_NEAR(x[i], xTrue[i], 20 * Tol<T>());
    T c2 = 0;
    ASSERT_EQ(a.SolveSystem(b, x, mlNormColumnSum, T(1e-6), c2), 0);
    EXPECT_NEAR(c2, a.Norm(mlNormColumnSum) * plain.Norm(mlNormColumnSum), Tol<T>());
}

// ---- Tests
// ---------------------------------------------------------------------------------------

TYPED_TEST(FixedMatrixTyped, StructuralTests) {
    using M = TypeParam;
    using T = Elem<M>;
    const T eps = T(1e-3);
    M m = Identity<M>();
    EXPECT_EQ(m.IsUnit(eps), 1);
    m(0, 0) = T(1) + T(2) * eps;
    EXPECT_EQ(m.IsUnit(eps), 0);
    m(0, 0) = T(1);
    m(1, 0) = eps;  // inclusive
    EXPECT_EQ(m.IsUnit(eps), 1);
    EXPECT_EQ(m.IsDiagonal(eps), 1);
    EXPECT_EQ(m.IsScaling(eps), 1);
    EXPECT_EQ(m.IsLLTriangular(T(0)), 1);
    EXPECT_EQ(m.IsURTriangular(T(0)), 0);
    EXPECT_EQ(m.IsURTriangular(eps), 1);
    EXPECT_EQ(m.IsSymmetric(T(0)), 0);
    EXPECT_EQ(m.IsSymmetric(eps), 1);
    m(1, 0) = T(2) * eps;
    EXPECT_EQ(m.IsDiagonal(eps), 0);
    m.SetConstant(eps);
    EXPECT_EQ(m.IsAlmostZero(eps), 1);
    m(1, 1) = T(-2) * eps;
    EXPECT_EQ(m.IsAlmostZero(eps), 0);

    const M r = Random<M>(33);
    M upper = r;
    upper.AnnulateRelativelyDiagonal(1);
    EXPECT_EQ(upper.IsURTriangular(T(0)), 1);
    EXPECT_EQ(upper.IsLLTriangular(T(0)), 0);
    EXPECT_EQ(upper(0, kN<M> - 1), r(0, kN<M> - 1));
    M lower = r;
    lower.AnnulateRelativelyDiagonal(0);
    EXPECT_EQ(lower.IsLLTriangular(T(0)), 1);
    EXPECT_EQ(lower(kN<M> - 1, 0), r(kN<M> - 1, 0));
    EXPECT_EQ((r + r.Transpose()).IsSymmetric(T(0)), 1);
}

TYPED_TEST(FixedMatrixTyped, OrthogonalAndRotationTests) {
    using M = TypeParam;
    using T = Elem<M>;
    M q, r;
    ASSERT_EQ((Random<M>(34)).QR_Decomposition(q, r, T(0)), 1);
    if (q.Det() < 0) {
        for (int i = 0; i < kN<M>; ++i)
            q(i, 0) = -q(i, 0);
    }
    EXPECT_EQ(q.IsOrthogonal(Tol<T>()), 1);
    EXPECT_EQ(q.IsRotation(Tol<T>()), 1);
    M mirror = q;
    for (int i = 0; i < kN<M>; ++i)
        mirror(i, 0) = -mirror(i, 0);
    EXPECT_EQ(mirror.IsOrthogonal(Tol<T>()), 1);
    EXPECT_EQ(mirror.IsRotation(Tol<T>()), 0);
    EXPECT_EQ((q * T(1.01)).IsOrthogonal(Tol<T>()), 0);
    EXPECT_EQ((q * T(1.01)).IsOrthogonal(T(0.05)), 1);
}

TYPED_TEST(FixedMatrixTyped, PositiveDefinite) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(35);
    const M spd = a * a.Transpose() + Identity<M>() * T(0.1);
    EXPECT_EQ(spd.IsPositive(T(1e-6)), 1);
    EXPECT_EQ((spd * T(-1)).IsPositive(T(1e-6)), 0);
    M semi = Identity<M>();
    semi(0, 0) = 0;  // eigenvalue 0 is not above eps
    EXPECT_EQ(semi.IsPositive(T(1e-6)), 0);
    M skew = spd;
    skew(0, 1) += T(0.5);  // not symmetric
    EXPECT_EQ(skew.IsPositive(T(1e-6)), 0);
    M indefinite = Identity<M>();
    indefinite(0, 1) = indefinite(1, 0) = T(2);
    EXPECT_EQ(indefinite.IsPositive(T(1e-6)), 0);
}

TYPED_TEST(FixedMatrixReal, HomogeneousTests) {
    using T = TypeParam;
    CMLMatrix3<T> t3 = Identity<CMLMatrix3<T>>();
    t3(0, 2) = T(5);
    t3(1, 2) = T(-7);
    EXPECT_EQ(t3.IsTranslation(T(0)), 1);
    EXPECT_EQ(t3.IsCoordinateMatrix(T(1e-6)), 1);
    CMLMatrix3<T> rigid = t3;
    rigid.Rotate(T(0.7), 0);
    EXPECT_EQ(rigid.IsTranslation(T(1e-3)), 0);
    EXPECT_EQ(rigid.IsCoordinateMatrix(T(1e-5)), 1);
    CMLMatrix3<T> inv, general;
    rigid.InverseCoordinateMatrix(inv);
    ASSERT_EQ(rigid.Inverse(general, T(1e-6)), 0);
    EXPECT_LT(MaxAbsDiff(inv, general), Tol<T>());
    rigid.InverseCoordinateMatrix(rigid);  // out may be the matrix itself
    EXPECT_EQ(MaxAbsDiff(rigid, inv), 0);
    CMLMatrix3<T> scaled = t3;
    scaled.Scale(T(2), T(1), 0);
    EXPECT_EQ(scaled.IsCoordinateMatrix(T(1e-5)), 0);
    CMLMatrix3<T> mirrored = t3;
    mirrored.Scale(T(-1), T(1), 0);
    EXPECT_EQ(mirrored.IsCoordinateMatrix(T(1e-5)), 0);  // orthogonal, but not proper
    CMLMatrix3<T> projective = t3;
    projective(2, 0) = T(0.5);
    EXPECT_EQ(projective.IsCoordinateMatrix(T(1e-5)), 0);
    EXPECT_EQ(projective.IsTranslation(T(1e-5)), 0);

    CMLMatrix4<T> t4 = Identity<CMLMatrix4<T>>();
    t4(0, 3) = T(1);
    t4(2, 3) = T(2);
    EXPECT_EQ(t4.IsTranslation(T(0)), 1);
    CMLMatrix4<T> r4 = t4;
    r4.RotateYAxis(T(0.3), 1);
    r4.RotateXAxis(T(-1.1), 1);
    EXPECT_EQ(r4.IsCoordinateMatrix(T(1e-5)), 1);
    CMLMatrix4<T> inv4, general4;
    r4.InverseCoordinateMatrix(inv4);
    ASSERT_EQ(r4.Inverse(general4, T(1e-6)), 0);
    EXPECT_LT(MaxAbsDiff(inv4, general4), 4 * Tol<T>());
    r4(3, 3) = T(2);
    EXPECT_EQ(r4.IsCoordinateMatrix(T(1e-5)), 0);
}

// ---- Norms and other scalars
// ---------------------------------------------------------------------

TYPED_TEST(FixedMatrixReal, NormsBySelector) {
    using T = TypeParam;
    const auto a = Make<CMLMatrix2<T>>({1, -2, 3, 4});
    EXPECT_EQ(a.Norm(mlNormColumnSum), T(6));
    EXPECT_EQ(a.Norm(mlNormRowSum), T(7));
    EXPECT_NEAR(a.Norm(mlNormFrobenius), std::sqrt(T(30)), Tol<T>());
    EXPECT_EQ(a.Norm(mlNormMaxElement), T(8));  // N times the largest |x|
    // Spectral: sqrt of the largest eigenvalue of a^T a = [[10, 10], [10, 20]].
    EXPECT_NEAR(a.Norm(mlNormSpectral), std::sqrt(T(15) + std::sqrt(T(125))), Tol<T>());
    // Any other selector is the Frobenius norm.
    EXPECT_EQ(a.Norm(static_cast<mlMatrixNorm>(7)), a.Norm(mlNormFrobenius));
    EXPECT_EQ(a.Norm(static_cast<mlMatrixNorm>(-1)), a.Norm(mlNormFrobenius));

    const auto b = Make<CMLMatrix3<T>>({1, 0, 0, 0, -5, 0, 0, 0, 2});
    EXPECT_EQ(b.Norm(mlNormMaxElement), T(15));
    EXPECT_NEAR(b.Norm(mlNormSpectral), T(5), Tol<T>());
    EXPECT_EQ(Identity<CMLMatrix4<T>>().Norm(mlNormMaxElement), T(4));
    EXPECT_EQ(CMLMatrix4<T>().Norm(mlNormSpectral), T(0));
}

TEST(FixedMatrixNorms, FrobeniusSurvivesExtremeScales) {
    CMLMatrix2<double> huge;
    huge.SetConstant(1e200);
    EXPECT_NEAR(huge.Norm(mlNormFrobenius) / 2e200, 1.0, 1e-15);
    CMLMatrix2<double> tiny;
    tiny.SetConstant(1e-200);
    EXPECT_NEAR(tiny.Norm(mlNormFrobenius) / 2e-200, 1.0, 1e-15);
    CMLMatrix2<float> hugeF;
    hugeF.SetConstant(1e30f);
    EXPECT_NEAR(hugeF.Norm(mlNormFrobenius) / 2e30f, 1.0f, 1e-6f);
}

TYPED_TEST(FixedMatrixTyped, InnerProductAndCorrelation) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(36), b = Random<M>(37);
    T dot = 0;
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        dot += a[k] * b[k];
    EXPECT_NEAR(a.InnerProduct(b), dot, Tol<T>());
    EXPECT_NEAR(a.CorrelationCoefficient(a * T(3) + Identity<M>() * T(0) + b * T(0)), T(1),
                Tol<T>());
    M shifted = a * T(-2);
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        shifted[k] += T(5);
    EXPECT_NEAR(a.CorrelationCoefficient(shifted), T(-1), Tol<T>());
    M flat;
    flat.SetConstant(T(4));
    EXPECT_EQ(a.CorrelationCoefficient(flat), T(0));
    const T r = a.CorrelationCoefficient(b);
    EXPECT_LE(std::fabs(r), T(1));
}

TYPED_TEST(FixedMatrixTyped, CharacteristicMatrixAndDiagonalInverse) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(38);
    const M c = a.GetCharacteristicsMatrix(T(0.5));
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < kN<M>; ++j)
            EXPECT_EQ(c(i, j), i == j ? a(i, j) - T(0.5) : a(i, j));

    M d = Identity<M>() * T(4);
    d(kN<M> - 1, kN<M> - 1) = T(-0.5);
    M out;
    ASSERT_EQ(d.DiagInverse(out, T(1e-6)), 1);
    EXPECT_EQ(out(0, 0), T(0.25));
    EXPECT_EQ(out(kN<M> - 1, kN<M> - 1), T(-2));
    EXPECT_EQ(out(0, 1), T(0));
    out.SetConstant(T(9));
    M notDiagonal = d;
    notDiagonal(1, 0) = T(1e-3);
    EXPECT_EQ(notDiagonal.DiagInverse(out, T(1e-6)), 0);
    EXPECT_EQ(notDiagonal.DiagInverse(out, T(1e-3)), 1);  // within eps counts as diagonal
    out.SetConstant(T(9));
    M zeroPivot = d;
    zeroPivot(1, 1) = T(0);
    EXPECT_EQ(zeroPivot.DiagInverse(out, T(1e-6)), 0);
    EXPECT_EQ(out(0, 0), T(9));
}

TYPED_TEST(FixedMatrixTyped, AnnulateSmallElementsIsStrict) {
    using M = TypeParam;
    using T = Elem<M>;
    M m = Identity<M>();
    m(0, 1) = T(0.01);
    m(1, 0) = T(-0.005);
    m.AnnulateSmallElements(T(0.01));
    EXPECT_EQ(m(0, 1), T(0.01));  // equal to eps: kept
    EXPECT_EQ(m(1, 0), T(0));
    EXPECT_EQ(m(0, 0), T(1));
}

// ---- Conversions between sizes ---------------------------------------------------------------

TYPED_TEST(FixedMatrixReal, BlockEmbeddings) {
    using T = TypeParam;
    CMLMatrix3<T> affine = Identity<CMLMatrix3<T>>();
    affine(0, 2) = T(5);
    affine(1, 2) = T(7);
    const CMLMatrix4<T> m4 = mlMatrix3To4(affine);
    EXPECT_EQ(m4(0, 2), T(5));
    EXPECT_EQ(m4(1, 2), T(7));
    EXPECT_EQ(m4(0, 3), T(0));
    EXPECT_EQ(m4(1, 3), T(0));
    EXPECT_EQ(m4(3, 3), T(1));
    EXPECT_EQ(m4(2, 2), T(1));
    EXPECT_EQ(m4(3, 0), T(0));
    EXPECT_EQ(mlMatrix4To3(m4), affine);

    const auto r4 = Random<CMLMatrix4<T>>(39);
    const CMLMatrix3<T> r3 = mlMatrix4To3(r4);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_EQ(r3(i, j), r4(i, j));
    const CMLMatrix2<T> r2 = mlMatrix3To2(r3);
    EXPECT_EQ(r2(1, 1), r3(1, 1));
    EXPECT_EQ(r2(0, 1), r3(0, 1));
    const CMLMatrix3<T> back = mlMatrix2To3(r2);
    EXPECT_EQ(back(1, 0), r2(1, 0));
    EXPECT_EQ(back(2, 2), T(1));
    EXPECT_EQ(back(0, 2), T(0));
    EXPECT_EQ(back(2, 1), T(0));
}

// ---- Dynamic matrices
// ------------------------------------------------------------------------------

TYPED_TEST(FixedMatrixTyped, ConversionsWithDynamicMatrices) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(50);
    const CMLMatrixMN<T> d = a.ConvertToMatrixMN();
    ASSERT_EQ(d.RowsNb(), kN<M>);
    ASSERT_EQ(d.ColsNb(), kN<M>);
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < kN<M>; ++j)
            EXPECT_EQ(d(i, j), a(i, j));
    const M back = d;  // converts implicitly
    EXPECT_EQ(MaxAbsDiff(back, a), 0);
    // From a larger dynamic matrix: its leading N x N block.
    CMLMatrixMN<T> big(5, 6);
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 6; ++j)
            big(i, j) = T(10 * i + j);
    const M block(big);
    for (int i = 0; i < kN<M>; ++i)
        for (int j = 0; j < kN<M>; ++j)
            EXPECT_EQ(block(i, j), T(10 * i + j));
}

// The spectral norm is the dynamic matrices' one, to the last bit.
TYPED_TEST(FixedMatrixTyped, SpectralNormIsTheDynamicMatricesOne) {
    using M = TypeParam;
    for (unsigned seed = 51; seed < 56; ++seed) {
        const M a = Random<M>(seed);
        EXPECT_EQ(a.Norm(mlNormSpectral), a.ConvertToMatrixMN().Norm(mlNormSpectral));
        typename M::Vector s;
        ASSERT_EQ(a.CalculateSingularNumbers(s), 1);
        EXPECT_NEAR(a.Norm(mlNormSpectral), s[0], 8 * std::numeric_limits<Elem<M>>::epsilon());
    }
}

// CMLMatrixMN::Inverse(out, eps) of 2, 3 and 4 rows is the fixed matrices' inverse.
TYPED_TEST(FixedMatrixTyped, DynamicInverseOfSmallOrders) {
    using M = TypeParam;
    using T = Elem<M>;
    const M a = Random<M>(56) + Identity<M>();
    M fixed;
    ASSERT_EQ(a.Inverse(fixed, T(1e-6)), 0);
    CMLMatrixMN<T> out(kN<M>, kN<M>);
    ASSERT_EQ(a.ConvertToMatrixMN().Inverse(out, T(1e-6)), 0);
    EXPECT_EQ(MaxAbsDiff(M(out), fixed), 0);
    // The strict determinant test: |det| = eps inverts, just above it does not.
    const M tiny = TinyDeterminant<M>();
    EXPECT_EQ(tiny.ConvertToMatrixMN().Inverse(out, tiny.Det()), 0);
    EXPECT_EQ(out(0, 0), T(1024));
    out(0, 1) = T(5);
    EXPECT_EQ(tiny.ConvertToMatrixMN().Inverse(out, std::nextafter(tiny.Det(), T(1))), 3);
    EXPECT_EQ(out(0, 1), T(5));
}

// ---- 2D homogeneous transforms (CMLMatrix3)
// ------------------------------------------------------

TYPED_TEST(FixedMatrixReal, Translate3AddsTheCornerOnceMore) {
    using T = TypeParam;
    CMLMatrix3<T> m = Identity<CMLMatrix3<T>>();
    m.Translate(T(1), T(2), 0);
    EXPECT_EQ(m(0, 2), T(2));
    EXPECT_EQ(m(1, 2), T(3));
    EXPECT_EQ(m(2, 2), T(1));
    m.Unit();
    m.Translate(T(1), T(2), 1);
    EXPECT_EQ(m(0, 2), T(1));
    EXPECT_EQ(m(1, 2), T(2));

    // On a general matrix: only (0,2) and (1,2) change, each by the formula with + m22.
    const auto a = Make<CMLMatrix3<T>>({1, 2, 3, 4, 5, 6, 7, 8, 9});
    CMLMatrix3<T> b = a;
    b.Translate(T(10), T(100), 0);
    EXPECT_EQ(b(0, 2), T(3 + 1 * 10 + 2 * 100 + 9));
    EXPECT_EQ(b(1, 2), T(6 + 4 * 10 + 5 * 100 + 9));
    for (int k : {0, 1, 3, 4, 6, 7, 8})
        EXPECT_EQ(b[k], a[k]);
    // A non-zero mode is the exact product T * this.
    CMLMatrix3<T> t = Identity<CMLMatrix3<T>>();
    t(0, 2) = T(10);
    t(1, 2) = T(100);
    b = a;
    b.Translate(T(10), T(100), -1);
    EXPECT_EQ(MaxAbsDiff(b, t * a), 0);
}

TYPED_TEST(FixedMatrixReal, Scale3TouchesTwoColumnsOrRows) {
    using T = TypeParam;
    const auto a = Random<CMLMatrix3<T>>(40);
    const auto s = Diag<CMLMatrix3<T>>({2, -3, 1});
    CMLMatrix3<T> b = a;
    b.Scale(T(2), T(-3), 0);
    EXPECT_EQ(MaxAbsDiff(b, a * s), 0);
    b = a;
    b.Scale(T(2), T(-3), 2);
    EXPECT_EQ(MaxAbsDiff(b, s * a), 0);
    EXPECT_EQ(b(2, 0), a(2, 0));
}

TYPED_TEST(FixedMatrixReal, Rotate3IsExactInBothModes) {
    using T = TypeParam;
    const T angle = T(0.4);
    const T c = std::cos(angle), s = std::sin(angle);
    const auto r = Make<CMLMatrix3<T>>({c, -s, 0, s, c, 0, 0, 0, 1});
    const auto a = Random<CMLMatrix3<T>>(41);
    CMLMatrix3<T> b = a;
    b.Rotate(angle, 0);
    EXPECT_LT(MaxAbsDiff(b, a * r), Tol<T>());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(b(i, 2), a(i, 2));
    b = a;
    b.Rotate(angle, 1);
    EXPECT_LT(MaxAbsDiff(b, r * a), Tol<T>());
    for (int j = 0; j < 3; ++j)
        EXPECT_EQ(b(2, j), a(2, j));
    // Counter-clockwise: the x axis turns towards y.
    CMLMatrix3<T> q = Identity<CMLMatrix3<T>>();
    q.Rotate(mlPi<T> / T(2), 1);
    const CMLVector3<T> y = q * CMLVector3<T>(1, 0, 1);
    EXPECT_NEAR(y.x, T(0), Tol<T>());
    EXPECT_NEAR(y.y, T(1), Tol<T>());
}

TYPED_TEST(FixedMatrixReal, ReflectAndExtractTranslation) {
    using T = TypeParam;
    const auto a = Random<CMLMatrix3<T>>(42);
    const CMLMatrix3<T> r = a.Reflect();
    for (int j = 0; j < 3; ++j) {
        EXPECT_EQ(r(0, j), -a(0, j));
        EXPECT_EQ(r(1, j), -a(1, j));
        EXPECT_EQ(r(2, j), a(2, j));
    }
    EXPECT_EQ(a.ExtractTranslation(), CMLVector2<T>(a(0, 2), a(1, 2)));
    const auto b = Random<CMLMatrix4<T>>(43);
    const CMLMatrix4<T> r4 = b.Reflect();
    for (int j = 0; j < 4; ++j) {
        EXPECT_EQ(r4(2, j), -b(2, j));
        EXPECT_EQ(r4(3, j), b(3, j));
    }
    EXPECT_EQ(b.ExtractTranslation(), CMLVector3<T>(b(0, 3), b(1, 3), b(2, 3)));
}

// ---- 3D homogeneous transforms (CMLMatrix4)
// ------------------------------------------------------

TYPED_TEST(FixedMatrixReal, Translate4CountsTheCornerTwice) {
    using T = TypeParam;
    CMLMatrix4<T> m = Identity<CMLMatrix4<T>>();
    m.Translate(T(1), T(2), T(3), 0);
    EXPECT_EQ(m(0, 3), T(2));
    EXPECT_EQ(m(1, 3), T(3));
    EXPECT_EQ(m(2, 3), T(4));
    EXPECT_EQ(m(3, 3), T(2));

    CMLMatrix4<T> a;
    for (int k = 0; k < 16; ++k)
        a[k] = T(k + 1);
    CMLMatrix4<T> b = a;
    b.Translate(T(1), T(10), T(100), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(b(i, 3), a(i, 3) + a(i, 0) + a(i, 1) * 10 + a(i, 2) * 100 + a(3, 3));
    EXPECT_EQ(b(3, 3), T(16 + 13 + 14 * 10 + 15 * 100 + 16));
    for (int k = 0; k < 15; ++k) {
        if (k % 4 != 3) {
            EXPECT_EQ(b[k], a[k]);
        }
    }

    CMLMatrix4<T> t = Identity<CMLMatrix4<T>>();
    t(0, 3) = T(1);
    t(1, 3) = T(10);
    t(2, 3) = T(100);
    b = a;
    b.Translate(T(1), T(10), T(100), 1);
    EXPECT_EQ(MaxAbsDiff(b, t * a), 0);
}

TYPED_TEST(FixedMatrixReal, Scale4) {
    using T = TypeParam;
    const auto a = Random<CMLMatrix4<T>>(44);
    const auto s = Diag<CMLMatrix4<T>>({2, 3, -4, 1});
    CMLMatrix4<T> b = a;
    b.Scale(T(2), T(3), T(-4), 0);
    EXPECT_EQ(MaxAbsDiff(b, a * s), 0);
    b = a;
    b.Scale(T(2), T(3), T(-4), 1);
    EXPECT_EQ(MaxAbsDiff(b, s * a), 0);
}

// The entry-by-entry arithmetic of the three axis rotations, slips included, on a general matrix.
TYPED_TEST(FixedMatrixReal, AxisRotationsTable) {
    using T = TypeParam;
    const T angle = T(0.3);
    const T c = std::cos(angle), s = std::sin(angle);
    const auto a = Random<CMLMatrix4<T>>(45);
    const T tol = 4 * std::numeric_limits<T>::epsilon();
    const auto check = [&](const CMLMatrix4<T>& got, int p, int q, bool columns, T cpp, T cpq,
                           T cqp, T cqq) {
        // Line p := cpp * line p + cpq * line q; line q := cqp * line p + cqq * line q.
        for (int k = 0; k < 4; ++k) {
            const T xp = columns ? a(k, p) : a(p, k), xq = columns ? a(k, q) : a(q, k);
            const T gp = columns ? got(k, p) : got(p, k), gq = columns ? got(k, q) : got(q, k);
            EXPECT_NEAR(gp, cpp * xp + cpq * xq, tol);
            EXPECT_NEAR(gq, cqp * xp + cqq * xq, tol);
        }
    };
    CMLMatrix4<T> b = a;
    b.RotateXAxis(angle, 0);
    check(b, 1, 2, true, c, s, s, c);
    b = a;
    b.RotateXAxis(angle, 1);
    check(b, 1, 2, false, c, -s, s, c);
    b = a;
    b.RotateYAxis(angle, 0);
    check(b, 0, 2, true, c, -s, s, c);
    b = a;
    b.RotateYAxis(angle, 1);
    check(b, 0, 2, false, c, s, -s, c);
    b = a;
    b.RotateZAxis(angle, 0);
    check(b, 0, 1, true, c, s, s, c);
    b = a;
    b.RotateZAxis(angle, 1);
    check(b, 0, 1, false, c, -s, c, s);

    // The exact entries are the products with the right-handed axis rotations.
    auto ry = Identity<CMLMatrix4<T>>();
    ry(0, 0) = ry(2, 2) = c;
    ry(0, 2) = s;
    ry(2, 0) = -s;
    b = a;
    b.RotateYAxis(angle, 0);
    EXPECT_LT(MaxAbsDiff(b, a * ry), Tol<T>());
    b = a;
    b.RotateYAxis(angle, 1);
    EXPECT_LT(MaxAbsDiff(b, ry * a), Tol<T>());
    auto rx = Identity<CMLMatrix4<T>>();
    rx(1, 1) = rx(2, 2) = c;
    rx(1, 2) = -s;
    rx(2, 1) = s;
    b = a;
    b.RotateXAxis(angle, 1);
    EXPECT_LT(MaxAbsDiff(b, rx * a), Tol<T>());
    b = a;
    b.RotateXAxis(angle, 0);
    EXPECT_GT(MaxAbsDiff(b, a * rx), T(0.1));  // the kept slip
}

TYPED_TEST(FixedMatrixReal, AxisRotationsOnTheIdentity) {
    using T = TypeParam;
    const T tol = Tol<T>();
    const T half = mlPi<T> / T(2);
    CMLMatrix4<T> m = Identity<CMLMatrix4<T>>();
    m.RotateYAxis(half, 1);
    EXPECT_LT(MaxAbsDiff(m, Make<CMLMatrix4<T>>({0, 0, 1, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1})),
              tol);
    m.Unit();
    m.RotateXAxis(half, 0);  // column 1 = (0, 0, 1, 0), column 2 = (0, 1, 0, 0)
    EXPECT_LT(MaxAbsDiff(m, Make<CMLMatrix4<T>>({1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1})),
              tol);
    EXPECT_NEAR(m.Det(), T(-1), tol);  // a reflection, as callers have always had it
    m.Unit();
    m.RotateZAxis(half, 0);
    EXPECT_LT(MaxAbsDiff(m, Make<CMLMatrix4<T>>({0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1})),
              tol);
    m.Unit();
    m.RotateZAxis(half, 1);  // row 0 = (0, -1, 0, 0), row 1 = (0, 1, 0, 0)
    EXPECT_LT(MaxAbsDiff(m, Make<CMLMatrix4<T>>({0, -1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1})),
              tol);
    EXPECT_NEAR(m.Det(), T(0), tol);
}

// ---- 3D rotations of CMLMatrix3
// ------------------------------------------------------------------

template <class T>
CMLMatrix3<T> Rx(double degrees) {
    const double a = degrees * 3.141592653589793 / 180;
    return Make<CMLMatrix3<T>>(
        {1, 0, 0, 0, std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a)});
}
template <class T>
CMLMatrix3<T> Ry(double degrees) {
    const double a = degrees * 3.141592653589793 / 180;
    return Make<CMLMatrix3<T>>(
        {std::cos(a), 0, std::sin(a), 0, 1, 0, -std::sin(a), 0, std::cos(a)});
}
template <class T>
CMLMatrix3<T> Rz(double degrees) {
    const double a = degrees * 3.141592653589793 / 180;
    return Make<CMLMatrix3<T>>(
        {std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a), 0, 0, 0, 1});
}

template <class T>
CMLMatrix3<T> Euler(double a, double b, double c, mlRotationsOrder order) {
    CMLMatrix3<T> m;
    EXPECT_EQ(m.SetRotationByEulerAngles(T(a), T(b), T(c), order), 1);
    return m;
}

TEST(FixedMatrixEuler, OrderValues) {
    EXPECT_EQ(mlXYZ, 0);
    EXPECT_EQ(mlXZY, 1);
    EXPECT_EQ(mlYXZ, 2);
    EXPECT_EQ(mlYZX, 3);
    EXPECT_EQ(mlZYX, 4);
    EXPECT_EQ(mlZXY, 5);
}

TYPED_TEST(FixedMatrixReal, EulerOrdersComposeAsTabled) {
    using T = TypeParam;
    const double a = 25, b = -40, c = 130;
    const T tol = 4 * Tol<T>();
    EXPECT_LT(MaxAbsDiff(Euler<T>(a, b, c, mlXYZ), Rz<T>(c) * Ry<T>(b) * Rx<T>(a)), tol);
    EXPECT_LT(MaxAbsDiff(Euler<T>(a, b, c, mlXZY), Ry<T>(b) * Rz<T>(c) * Rx<T>(a)), tol);
    EXPECT_LT(MaxAbsDiff(Euler<T>(a, b, c, mlYXZ), Rz<T>(c) * Rx<T>(a) * Ry<T>(b)), tol);
    EXPECT_LT(MaxAbsDiff(Euler<T>(a, b, c, mlYZX), Rx<T>(a) * Rz<T>(c) * Ry<T>(b)), tol);
    EXPECT_LT(MaxAbsDiff(Euler<T>(a, b, c, mlZYX), Rx<T>(a) * Ry<T>(b) * Rz<T>(c)), tol);
    EXPECT_LT(MaxAbsDiff(Euler<T>(a, b, c, mlZXY), Ry<T>(b) * Rx<T>(a) * Rz<T>(c)), tol);
    // Right-handed: a quarter turn about Z takes x to y.
    const CMLVector3<T> y = Euler<T>(0, 0, 90, mlXYZ) * CMLVector3<T>(1, 0, 0);
    EXPECT_NEAR(y.y, T(1), Tol<T>());
    EXPECT_NEAR(y.x, T(0), Tol<T>());
}

TYPED_TEST(FixedMatrixReal, EulerAnglesWrap) {
    using T = TypeParam;
    EXPECT_TRUE(Euler<T>(370, 0, 0, mlXYZ) == Euler<T>(10, 0, 0, mlXYZ));
    EXPECT_LT(MaxAbsDiff(Euler<T>(-350, 720 + 20, 30, mlZXY), Euler<T>(10, 20, 30, mlZXY)),
              4 * Tol<T>());
    EXPECT_LT(MaxAbsDiff(Euler<T>(180, 0, 0, mlXYZ), Rx<T>(180)), Tol<T>());
}

TYPED_TEST(FixedMatrixReal, EulerInvalidOrderBuildsNothing) {
    using T = TypeParam;
    const auto a = Random<CMLMatrix3<T>>(46);
    CMLMatrix3<T> m = a;
    EXPECT_EQ(m.SetRotationByEulerAngles(T(10), T(20), T(30), static_cast<mlRotationsOrder>(6)), 0);
    EXPECT_EQ(m.SetRotationByEulerAngles(T(10), T(20), T(30), static_cast<mlRotationsOrder>(-1)),
              0);
    EXPECT_EQ(MaxAbsDiff(m, a), 0);
    T x = 1, y = 2, z = 3;
    EXPECT_EQ(m.ExtractEulerAngles(static_cast<mlRotationsOrder>(9), x, y, z), 0);
    EXPECT_EQ(x, T(1));
    EXPECT_EQ(z, T(3));
}

TYPED_TEST(FixedMatrixReal, ExtractEulerAnglesExamples) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);
    T a, b, c;
    ASSERT_EQ(Euler<T>(10, 90, 30, mlXYZ).ExtractEulerAngles(mlXYZ, a, b, c), 1);
    EXPECT_NEAR(a, T(-10), tol);
    EXPECT_EQ(b, T(90));
    EXPECT_NEAR(c, T(10), tol);
    ASSERT_EQ(Euler<T>(10, 90, 30, mlZYX).ExtractEulerAngles(mlZYX, a, b, c), 1);
    EXPECT_NEAR(a, T(20), tol);
    EXPECT_EQ(b, T(90));
    EXPECT_NEAR(c, T(20), tol);
    ASSERT_EQ(Euler<T>(170, 100, -120, mlXYZ).ExtractEulerAngles(mlXYZ, a, b, c), 1);
    EXPECT_NEAR(a, T(-10), tol);
    EXPECT_NEAR(b, T(80), tol);
    EXPECT_NEAR(c, T(60), tol);
    // Away from gimbal lock the angles come back as given.
    ASSERT_EQ(Euler<T>(-35, 160, 12, mlYZX).ExtractEulerAngles(mlYZX, a, b, c), 1);
    EXPECT_NEAR(a, T(-35), tol);
    EXPECT_NEAR(b, T(160), tol);
    EXPECT_NEAR(c, T(12), tol);
}

// angles -> matrix -> angles -> matrix for every order, in and out of gimbal lock.
TYPED_TEST(FixedMatrixReal, EulerRoundTripsAllOrders) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(2e-5) : T(1e-13);
    const double firsts[] = {0, 10, -45, 90, 135, -179, 180, 250};
    const double middles[] = {0, 30, -60, 89.5, 90, -90, 100, 180, -95, 89.9999};
    const double lasts[] = {0, 30, -120, 175, -90};
    for (int o = 0; o < 6; ++o) {
        const auto order = static_cast<mlRotationsOrder>(o);
        // The middle rotation of each order is about this axis.
        const int middleAxis[6] = {1, 2, 0, 2, 1, 0};
        for (double p : firsts)
            for (double q : middles)
                for (double r : lasts) {
                    // The middle angle on the order's middle axis, the others after it.
                    double in[3];
                    const int m = middleAxis[o];
                    in[m] = q;
                    in[(m + 1) % 3] = p;
                    in[(m + 2) % 3] = r;
                    const CMLMatrix3<T> m1 = Euler<T>(in[0], in[1], in[2], order);
                    T a, b, c;
                    ASSERT_EQ(m1.ExtractEulerAngles(order, a, b, c), 1);
                    const T out[3] = {a, b, c};
                    EXPECT_GE(out[m], T(-90));
                    EXPECT_LE(out[m], T(90));
                    for (int k = 0; k < 3; ++k) {
                        EXPECT_GT(out[k], T(-180) - tol);
                        EXPECT_LE(out[k], T(180) + tol);
                    }
                    const CMLMatrix3<T> m2 = Euler<T>(a, b, c, order);
                    EXPECT_LT(MaxAbsDiff(m1, m2), tol)
                        << "order " << o << " angles " << in[0] << ", " << in[1] << ", " << in[2];
                }
    }
}

// In gimbal lock the first and third angles share the rotation about the common axis equally.
TYPED_TEST(FixedMatrixReal, GimbalLockSplitsEqually) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);
    const int middleAxis[6] = {1, 2, 0, 2, 1, 0};
    for (int o = 0; o < 6; ++o) {
        const auto order = static_cast<mlRotationsOrder>(o);
        for (double middle : {90.0, -90.0}) {
            double in[3] = {0, 0, 0};
            const int m = middleAxis[o];
            in[m] = middle;
            in[(m + 1) % 3] = 37;
            in[(m + 2) % 3] = -81;
            const CMLMatrix3<T> m1 = Euler<T>(in[0], in[1], in[2], order);
            T out[3];
            ASSERT_EQ(m1.ExtractEulerAngles(order, out[0], out[1], out[2]), 1);
            EXPECT_EQ(out[m], T(middle));
            EXPECT_NEAR(std::fabs(out[(m + 1) % 3]), std::fabs(out[(m + 2) % 3]), tol);
            EXPECT_LT(MaxAbsDiff(m1, Euler<T>(out[0], out[1], out[2], order)), 4 * Tol<T>());
        }
    }
}

TYPED_TEST(FixedMatrixReal, AngleAxisBuildsRodrigues) {
    using T = TypeParam;
    CMLMatrix3<T> m;
    ASSERT_EQ(m.SetRotationByAngleAxis(T(90), CMLVector3<T>(0, 0, 2)), 1);  // normalised axis
    EXPECT_LT(MaxAbsDiff(m, Rz<T>(90)), Tol<T>());
    ASSERT_EQ(m.SetRotationByAngleAxis(T(-30), CMLVector3<T>(1, 0, 0)), 1);
    EXPECT_LT(MaxAbsDiff(m, Rx<T>(-30)), Tol<T>());
    ASSERT_EQ(m.SetRotationByAngleAxis(T(400), CMLVector3<T>(0, 3, 0)), 1);
    EXPECT_LT(MaxAbsDiff(m, Ry<T>(40)), 4 * Tol<T>());

    const CMLVector3<T> axis(1, -2, 0.5);
    ASSERT_EQ(m.SetRotationByAngleAxis(T(71), axis), 1);
    EXPECT_EQ(m.IsRotation(4 * Tol<T>()), 1);
    const CMLVector3<T> fixed = m * axis;
    EXPECT_LT((fixed - axis).NormInf(), 4 * Tol<T>());
    EXPECT_NEAR((m.Trace() - T(1)) / T(2), std::cos(T(71) * mlDegToRad<T>), Tol<T>());

    const CMLMatrix3<T> before = m;
    EXPECT_EQ(m.SetRotationByAngleAxis(T(10), CMLVector3<T>(0, 0, 0)), 0);
    EXPECT_EQ(MaxAbsDiff(m, before), 0);
}

TYPED_TEST(FixedMatrixReal, AngleAxisRoundTrips) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-4) : T(1e-10);
    const CMLVector3<T> axes[] = {CMLVector3<T>(1, 0, 0), CMLVector3<T>(0, -1, 0),
                                  CMLVector3<T>(0.3, -0.4, 0.866), CMLVector3<T>(-1, -1, -1),
                                  CMLVector3<T>(0.01, 1, -0.02)};
    for (const auto& axis : axes) {
        CMLVector3<T> unit = axis;
        unit.Normalize();
        for (double angle : {0.001, 1.0, 45.0, 90.0, 135.0, 179.0, 179.9999, 180.0}) {
            CMLMatrix3<T> m;
            ASSERT_EQ(m.SetRotationByAngleAxis(T(angle), axis), 1);
            T got;
            CMLVector3<T> gotAxis;
            ASSERT_EQ(m.ExtractRotationAngleAxis(got, gotAxis), 1);
            EXPECT_GE(got, T(0));
            EXPECT_LE(got, T(180));
            EXPECT_NEAR(gotAxis.Length(), T(1), tol);
            CMLMatrix3<T> back;
            ASSERT_EQ(back.SetRotationByAngleAxis(got, gotAxis), 1);
            EXPECT_LT(MaxAbsDiff(back, m), tol) << "angle " << angle;
            if (angle > 0.5 && angle < 179.5) {
                EXPECT_NEAR(got, T(angle), (std::is_same_v<T, float> ? T(2e-3) : T(1e-8)));
                EXPECT_LT((gotAxis - unit).NormInf(), tol);
            }
        }
    }
    T angle = 5;
    CMLVector3<T> axis(1, 1, 1);
    EXPECT_EQ(Identity<CMLMatrix3<T>>().ExtractRotationAngleAxis(angle, axis), 0);
    EXPECT_EQ(angle, T(0));
    EXPECT_EQ(axis, CMLVector3<T>(0, 0, 0));
}

TYPED_TEST(FixedMatrixReal, ExtractScaleRotation) {
    using T = TypeParam;
    const T tol = 10 * Tol<T>();
    const CMLMatrix3<T> r = Euler<T>(20, -35, 110, mlZYX);
    const CMLMatrix3<T> m = r * Diag<CMLMatrix3<T>>({2, 0.5, 4});
    CMLVector3<T> scale;
    CMLMatrix3<T> rotation;
    ASSERT_EQ(m.ExtractScaleRotation(scale, rotation, T(1e-4)), 1);
    EXPECT_LT((scale - CMLVector3<T>(2, 0.5, 4)).NormInf(), tol);
    EXPECT_LT(MaxAbsDiff(rotation, r), tol);
    EXPECT_EQ(rotation.IsRotation(tol), 1);

    // A mirror goes into the scale of the axis it flips.
    ASSERT_EQ(Diag<CMLMatrix3<T>>({-2, 3, 4}).ExtractScaleRotation(scale, rotation, T(1e-4)), 1);
    EXPECT_LT((scale - CMLVector3<T>(-2, 3, 4)).NormInf(), tol);
    EXPECT_LT(MaxAbsDiff(rotation, Identity<CMLMatrix3<T>>()), tol);
    ASSERT_EQ((r * Diag<CMLMatrix3<T>>({1, -1, 2})).ExtractScaleRotation(scale, rotation, T(1e-4)),
              1);
    EXPECT_EQ(rotation.IsRotation(tol), 1);
    EXPECT_LT(MaxAbsDiff(rotation * Diag<CMLMatrix3<T>>({scale.x, scale.y, scale.z}),
                         r * Diag<CMLMatrix3<T>>({1, -1, 2})),
              tol);

    // A shear or a singular matrix has no such split: outputs unchanged.
    scale = CMLVector3<T>(7, 7, 7);
    CMLMatrix3<T> sheared = m;
    sheared(0, 1) += T(0.3);
    EXPECT_EQ(sheared.ExtractScaleRotation(scale, rotation, T(1e-4)), 0);
    EXPECT_EQ(Diag<CMLMatrix3<T>>({1, 0, 1}).ExtractScaleRotation(scale, rotation, T(1e-4)), 0);
    EXPECT_EQ(scale, CMLVector3<T>(7, 7, 7));
}

TYPED_TEST(FixedMatrixReal, ExtractOrthogonalIsThePolarFactor) {
    using T = TypeParam;
    const T tol = 10 * Tol<T>();
    const CMLMatrix3<T> q = Euler<T>(-70, 15, 40, mlXZY);
    const auto a = Random<CMLMatrix3<T>>(47);
    const CMLMatrix3<T> s = a * a.Transpose() + Identity<CMLMatrix3<T>>();  // symmetric positive
    CMLMatrix3<T> got;
    ASSERT_EQ((q * s).ExtractOrthogonal(got, T(1e-6)), 1);
    EXPECT_LT(MaxAbsDiff(got, q), tol);
    const CMLMatrix3<T> mirror = q * Diag<CMLMatrix3<T>>({1, 1, -1});
    ASSERT_EQ(mirror.ExtractOrthogonal(got, T(1e-6)), 1);
    EXPECT_LT(MaxAbsDiff(got, mirror), tol);
    got.SetConstant(T(3));
    EXPECT_EQ(Diag<CMLMatrix3<T>>({1, 2, 0}).ExtractOrthogonal(got, T(1e-6)), 0);
    EXPECT_EQ(got(0, 0), T(3));
}

}  // namespace
