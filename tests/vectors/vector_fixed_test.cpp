#include <ml/vector_fixed.h>

#include <ml/algebra.h>
#include <ml/vector_n.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <ostream>
#include <type_traits>

// Readable failure messages: "(x, y, ...)".
template <class V>
void PrintComponents(const V& v, std::ostream* os) {
    *os << '(';
    for (int i = 0; i < V::Dim(); ++i) *os << (i ? ", " : "") << v[i];
    *os << ')';
}
template <class T>
void PrintTo(const CMLVector2<T>& v, std::ostream* os) {
    PrintComponents(v, os);
}
template <class T>
void PrintTo(const CMLVector3<T>& v, std::ostream* os) {
    PrintComponents(v, os);
}
template <class T>
void PrintTo(const CMLVector4<T>& v, std::ostream* os) {
    PrintComponents(v, os);
}

namespace {

template <class V>
using Elem = std::remove_cv_t<decltype(V::x)>;

// A vector whose component i is first + i * step.
template <class V>
V Ramp(double first, double step) {
    V v;
    for (int i = 0; i < V::Dim(); ++i) v[i] = Elem<V>(first + i * step);
    return v;
}

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(2e-6) : T(1e-14);
}

// The shared contract, checked on all six classes.
template <class V>
class FixedVectorTyped : public ::testing::Test {};
using AllVectors = ::testing::Types<CMLVector2<float>, CMLVector2<double>, CMLVector3<float>,
                                    CMLVector3<double>, CMLVector4<float>, CMLVector4<double>>;
TYPED_TEST_SUITE(FixedVectorTyped, AllVectors);

template <class T>
class FixedVectorReal : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FixedVectorReal, RealTypes);

// ---- Layout ---------------------------------------------------------------------------------

TYPED_TEST(FixedVectorTyped, PlainValueWithFieldsInOrder) {
    using V = TypeParam;
    using T = Elem<V>;
    static_assert(std::is_standard_layout_v<V>);
    static_assert(std::is_trivially_copyable_v<V>);
    static_assert(!std::is_polymorphic_v<V>);
    static_assert(sizeof(V) == V::Dim() * sizeof(T));
    static_assert(offsetof(V, x) == 0 && offsetof(V, y) == sizeof(T));
    // An array of vectors is a plain array of components.
    V a[2] = {Ramp<V>(1, 1), Ramp<V>(10, 1)};
    const T* raw = reinterpret_cast<const T*>(a);
    for (int i = 0; i < 2 * V::Dim(); ++i) EXPECT_EQ(raw[i], i < V::Dim() ? T(1 + i) : T(10 + i - V::Dim()));
}

TEST(FixedVectorLayout, ComponentOffsets) {
    static_assert(offsetof(CMLVector3<double>, z) == 2 * sizeof(double));
    static_assert(offsetof(CMLVector4<float>, z) == 2 * sizeof(float));
    static_assert(offsetof(CMLVector4<float>, w) == 3 * sizeof(float));
    static_assert(CMLVector2<double>::Dim() == 2 && CMLVector3<double>::Dim() == 3 &&
                  CMLVector4<double>::Dim() == 4);
}

// ---- Construction and access ----------------------------------------------------------------

TYPED_TEST(FixedVectorTyped, ConstructorsAndTheIgnoredInt) {
    using V = TypeParam;
    using T = Elem<V>;
    const V zero;
    const V fromInt(5);  // the int is ignored, not spread
    const V constant(T(2.5));
    for (int i = 0; i < V::Dim(); ++i) {
        EXPECT_EQ(zero[i], T(0));
        EXPECT_EQ(fromInt[i], T(0));
        EXPECT_EQ(constant[i], T(2.5));
    }
    V copy(constant);
    const V& same = copy;
    copy = same;  // self-assignment leaves the value
    EXPECT_EQ(copy, constant);
}

TEST(FixedVectorConstruction, ArraysAndComponents) {
    const double src[4] = {1, 2, 3, 4};
    const CMLVector3<double> v3(src);
    EXPECT_EQ(v3.x, 1);
    EXPECT_EQ(v3.z, 3);
    const CMLVector4<double> v4(src);
    EXPECT_EQ(v4.W(), 4);
    CMLVector2<double> v2(7, 8);
    EXPECT_EQ(v2.X(), 7);
    EXPECT_EQ(v2.Y(), 8);
    v2.Fill(-1, -2);
    EXPECT_EQ(v2.x, -1);
    EXPECT_EQ(v2.y, -2);
    const float fsrc[4] = {5, 6, 7, 8};
    CMLVector4<float> f;
    f.Fill(fsrc);
    EXPECT_EQ(f.z, 7.0f);
    CMLVector3<float> g;
    g.Fill(fsrc + 1);
    EXPECT_EQ(g.x, 6.0f);
    EXPECT_EQ(g.z, 8.0f);
    double out[4] = {0, 0, 0, 0};
    v4.Dump(out);
    EXPECT_EQ(out[3], 4);
}

TEST(FixedVectorIndexing, EveryOtherIndexGivesTheLastComponent) {
    CMLVector2<double> v2(1, 2);
    EXPECT_EQ(v2[0], 1);
    EXPECT_EQ(v2[1], 2);
    EXPECT_EQ(v2[-1], 2);
    EXPECT_EQ(v2[5], 2);
    CMLVector3<double> v3(1, 2, 3);
    EXPECT_EQ(v3[7], 3);
    EXPECT_EQ(v3[-1], 3);
    const CMLVector4<float> v4(1, 2, 3, 4);
    EXPECT_EQ(v4[2], 3.0f);
    EXPECT_EQ(v4[3], 4.0f);
    EXPECT_EQ(v4[-2], 4.0f);
    EXPECT_EQ(v4[100], 4.0f);
    v3[9] = 30;  // writes reach the last component too
    v3[1] = 20;
    EXPECT_EQ(v3.z, 30);
    EXPECT_EQ(v3.y, 20);
    v3.X() = 10;
    EXPECT_EQ(v3.x, 10);
}

TYPED_TEST(FixedVectorReal, FromTheFirstElementsOfADynamicVector) {
    using T = TypeParam;
    const T src[5] = {1, 2, 3, 4, 5};
    const CMLVectorN<T> n(5, src);
    const CMLVector2<T> v2(n);
    const CMLVector3<T> v3 = n;
    const CMLVector4<T> v4(n);
    EXPECT_EQ(v2, CMLVector2<T>(1, 2));
    EXPECT_EQ(v3, CMLVector3<T>(1, 2, 3));
    EXPECT_EQ(v4, CMLVector4<T>(1, 2, 3, 4));
    const CMLVectorN<T> m(4, T(-1));
    CMLVector2<T> a2;
    CMLVector3<T> a3;
    CMLVector4<T> a4;
    a2 = m;
    a3 = m;
    a4 = m;
    EXPECT_EQ(a2, CMLVector2<T>(T(-1)));
    EXPECT_EQ(a3, CMLVector3<T>(T(-1)));
    EXPECT_EQ(a4, CMLVector4<T>(T(-1)));
}

// ---- Arithmetic -------------------------------------------------------------------------------

TYPED_TEST(FixedVectorTyped, ComponentwiseArithmetic) {
    using V = TypeParam;
    using T = Elem<V>;
    const V a = Ramp<V>(1, 1);  // 1, 2, 3, 4
    const V b = Ramp<V>(10, 10);
    EXPECT_EQ(a + b, Ramp<V>(11, 11));
    EXPECT_EQ(b - a, Ramp<V>(9, 9));
    EXPECT_EQ(a * T(3), Ramp<V>(3, 3));
    EXPECT_EQ(b / T(10), Ramp<V>(1, 1));
    EXPECT_EQ(a.Negate(), Ramp<V>(-1, -1));
    V c = a;
    c += b;
    c -= a;
    EXPECT_EQ(c, b);
    (c *= T(2)) /= T(4);
    EXPECT_EQ(c, Ramp<V>(5, 5));
    c.Mul(2);
    c.Div(5);
    c.Add(a);
    c.Sub(Ramp<V>(1, 1));
    EXPECT_EQ(c, Ramp<V>(2, 2));
}

TYPED_TEST(FixedVectorTyped, CompoundScalarIsReadOnce) {
    using V = TypeParam;
    using T = Elem<V>;
    V v = Ramp<V>(2, 2);  // 2, 4, ...
    v /= v.x;             // divides every component by the original x
    EXPECT_EQ(v, Ramp<V>(1, 1));
    v *= v.y;
    EXPECT_EQ(v, Ramp<V>(2, 2));
    EXPECT_EQ(v[V::Dim() - 1], T(2 * V::Dim()));
}

TEST(FixedVectorArithmetic, DivisionIsNotGuarded) {
    const CMLVector3<double> v = CMLVector3<double>(1, -1, 0) / 0.0;
    EXPECT_EQ(v.x, std::numeric_limits<double>::infinity());
    EXPECT_EQ(v.y, -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(v.z));
}

// ---- Comparison -------------------------------------------------------------------------------

TYPED_TEST(FixedVectorTyped, EqualityAllowsPPerComponent) {
    using V = TypeParam;
    using T = Elem<V>;
    const T p = mlDefaultPrecision<T>;
    const V zero;
    V near;
    near[V::Dim() - 1] = p;  // |a - b| == P is still equal
    EXPECT_EQ(zero == near, 1);
    EXPECT_EQ(zero != near, 0);
    near[0] = T(2) * p;
    EXPECT_EQ(zero == near, 0);
    EXPECT_EQ(zero != near, 1);
}

TEST(FixedVectorEquality, ComponentsAreTestedOneByOne) {
    // Each component may differ by P, so the distance may exceed P and the vectors still compare
    // equal: the test is per component, not on the length of the difference.
    const CMLVector4<double> a(0, 0, 0, 0), b(1e-9, 1e-9, 1e-9, 1e-9);
    EXPECT_EQ(a == b, 1);
    // A NaN component is never within P of anything.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(CMLVector2<double>(nan, 0) == CMLVector2<double>(nan, 0), 0);
    EXPECT_EQ(CMLVector2<double>(nan, 0) != CMLVector2<double>(1, 0), 1);
}

// ---- Norms ------------------------------------------------------------------------------------

TYPED_TEST(FixedVectorReal, LengthsAndNorms) {
    using T = TypeParam;
    const CMLVector3<T> v(3, -4, 0);
    EXPECT_EQ(v.Length(), T(5));
    EXPECT_EQ(v.NormEuclidean(), T(5));
    EXPECT_EQ(v.SquareLength(), T(25));
    EXPECT_EQ(v.NormInf(), T(4));
    EXPECT_EQ(v.Norm1(), T(7));
    EXPECT_EQ(v.Dot(CMLVector3<T>(1, 1, 1)), T(-1));
    EXPECT_EQ(CMLVector4<T>(1, 1, 1, 1).Length(), T(2));
    EXPECT_EQ(CMLVector2<T>(-6, 8).Length(), T(10));
}

TEST(FixedVectorNorms, LengthsBelowSqrtPAreZero) {
    const CMLVector3<double> d(2e-5, 0, 0);
    EXPECT_EQ(d.Length(), 0.0);
    EXPECT_DOUBLE_EQ(d.SquareLength(), 4e-10);
    EXPECT_EQ(d.IsAlmostZero(1e-12), 1);
    EXPECT_NEAR(CMLVector3<double>(4e-5, 0, 0).Length(), 4e-5, 1e-18);
    const CMLVector2<float> f(2e-4f, 0);
    EXPECT_EQ(f.Length(), 0.0f);
    EXPECT_GT(CMLVector2<float>(4e-4f, 0).Length(), 0.0f);
}

TYPED_TEST(FixedVectorReal, NormalizeMultipliesByTheReciprocal) {
    using T = TypeParam;
    CMLVector3<T> v(3, 4, 0);
    EXPECT_EQ(v.Normalize(), 1);
    const T inverse = T(1) / T(5);
    EXPECT_EQ(v.x, T(3) * inverse);  // not 3 / 5: a multiplication by 1 / L
    EXPECT_EQ(v.y, T(4) * inverse);
    EXPECT_NEAR(v.Length(), T(1), Tol<T>());
}

TEST(FixedVectorNorms, NormalizeRefusesShortVectors) {
    CMLVector3<double> v(2e-5, 1e-5, 0);  // guarded length 0
    EXPECT_EQ(v.Normalize(), 0);
    EXPECT_EQ(v, CMLVector3<double>(2e-5, 1e-5, 0));
    EXPECT_EQ(v.x, 2e-5);
    CMLVector2<float> f;
    EXPECT_EQ(f.Normalize(), 0);
    EXPECT_EQ(f.x, 0.0f);
}

TEST(FixedVectorExtremes, TiesGoToTheLowerIndex) {
    const CMLVector3<double> a(7, 3, 7), b(3, 7, 7), c(-9, 2, 5);
    EXPECT_EQ(a.GetIndexOfMaxComponent(0), 0);
    EXPECT_EQ(b.GetIndexOfMaxComponent(0), 1);
    EXPECT_EQ(a.GetMaxComponent(0), 7);
    EXPECT_EQ(CMLVector3<double>(3, 1, 1).GetIndexOfMinComponent(0), 1);
    EXPECT_EQ(c.GetIndexOfMaxComponent(0), 2);
    EXPECT_EQ(c.GetMaxComponent(0), 5);
    EXPECT_EQ(c.GetIndexOfMaxComponent(1), 0);
    EXPECT_EQ(c.GetMaxComponent(1), 9);  // the absolute value
    EXPECT_EQ(c.GetIndexOfMinComponent(0), 0);
    EXPECT_EQ(c.GetMinComponent(0), -9);
    EXPECT_EQ(c.GetIndexOfMinComponent(1), 1);
    EXPECT_EQ(c.GetMinComponent(1), 2);
    const CMLVector4<float> d(1, -4, 4, -4);
    EXPECT_EQ(d.GetIndexOfMaxComponent(1), 1);
    EXPECT_EQ(d.GetIndexOfMinComponent(0), 1);
    EXPECT_EQ(CMLVector2<float>(2, 2).GetIndexOfMinComponent(1), 0);
}

TYPED_TEST(FixedVectorReal, SmallValuePredicates) {
    using T = TypeParam;
    const CMLVector2<T> v(3, 4);
    EXPECT_EQ(v.IsAlmostZero(T(5)), 1);  // both ends included
    EXPECT_EQ(v.IsAlmostZero(T(4.5)), 0);
    EXPECT_EQ(v.IsAlmostUnit(T(4)), 1);
    EXPECT_EQ(v.IsAlmostUnit(T(3.5)), 0);
    EXPECT_EQ(CMLVector3<T>(0, 1, 0).IsAlmostUnit(), 1);
    CMLVector4<T> w(T(0.5), T(-0.25), T(0.75), T(-1));
    w.AnnulateSmallComponents(T(0.5));  // strict: 0.5 stays
    EXPECT_EQ(w, CMLVector4<T>(T(0.5), 0, T(0.75), T(-1)));
    w.SetToConstant(T(-2));
    EXPECT_EQ(w, CMLVector4<T>(T(-2)));
    w.SetToZero();
    EXPECT_EQ(w.Norm1(), T(0));
}

// ---- Two and three dimensions: member extras --------------------------------------------------

TYPED_TEST(FixedVectorReal, PolarAngles) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-4) : T(1e-12);
    EXPECT_NEAR(CMLVector2<T>(0, -1).Angle_0_360(), T(270), tol);
    EXPECT_NEAR(CMLVector2<T>(0, -1).Angle_MINUS_180_180(), T(-90), tol);
    EXPECT_NEAR(CMLVector2<T>(-1, 0).Angle_0_360(), T(180), tol);
    EXPECT_NEAR(CMLVector2<T>(-1, 0).Angle_MINUS_180_180(), T(180), tol);
    EXPECT_EQ(CMLVector2<T>(1, 0).Angle_0_360(), T(0));
    EXPECT_NEAR(CMLVector2<T>(-1, -1).Angle_0_360(), T(225), tol);
    EXPECT_NEAR(CMLVector2<T>(-1, -1).Angle_MINUS_180_180(), T(-135), tol);
    EXPECT_NEAR(CMLVector2<T>(1, 1).Angle_MINUS_180_180(), T(45), tol);
}

TEST(FixedVectorRotation, QuarterTurnLeavesTheOriginal) {
    const CMLVector2<double> v(2, 3);
    const CMLVector2<double> r = v.Rotate90DegsCCW();
    EXPECT_EQ(r, CMLVector2<double>(-3, 2));
    EXPECT_EQ(v, CMLVector2<double>(2, 3));
    EXPECT_EQ(r.Rotate90DegsCCW().Rotate90DegsCCW().Rotate90DegsCCW(), v);
}

TYPED_TEST(FixedVectorReal, CrossProduct) {
    using T = TypeParam;
    const CMLVector3<T> a(1, 2, 3), b(4, 5, 6);
    EXPECT_EQ(a.Cross(b), CMLVector3<T>(-3, 6, -3));
    EXPECT_EQ(mlCross(b, a), CMLVector3<T>(3, -6, 3));
    EXPECT_EQ(CMLVector3<T>(1, 0, 0).Cross(CMLVector3<T>(0, 1, 0)), CMLVector3<T>(0, 0, 1));
    EXPECT_EQ(a.Cross(b).Dot(a), T(0));
    EXPECT_EQ(mlMixedProduct(a, b, CMLVector3<T>(0, 0, 1)), a.Dot(b.Cross(CMLVector3<T>(0, 0, 1))));
    EXPECT_EQ(mlMixedProduct(CMLVector3<T>(1, 0, 0), CMLVector3<T>(0, 1, 0),
                             CMLVector3<T>(0, 0, 2)),
              T(2));
    EXPECT_EQ(mlCross2D(CMLVector2<T>(1, 2), CMLVector2<T>(3, 4)), T(-2));
}

TYPED_TEST(FixedVectorReal, DecomposeIn2DBasis) {
    using T = TypeParam;
    const CMLVector2<T> e1(2, 1), e2(-1, 1);
    T c1 = 0, c2 = 0;
    ASSERT_EQ(CMLVector2<T>(8, 1).DecomposeInBasis(e1, e2, c1, c2, mlDefaultPrecision<T>), 1);
    EXPECT_EQ(c1, T(3));
    EXPECT_EQ(c2, T(-2));
    EXPECT_EQ(mlCombine2(e1, e2, c1, c2), CMLVector2<T>(8, 1));
    // A singular basis fails and leaves the coefficients.
    EXPECT_EQ(CMLVector2<T>(1, 1).DecomposeInBasis(CMLVector2<T>(1, 2), CMLVector2<T>(2, 4), c1, c2),
              0);
    EXPECT_EQ(c1, T(3));
    EXPECT_EQ(c2, T(-2));
}

TYPED_TEST(FixedVectorReal, IllConditioned2DBasisIsRefused) {
    using T = TypeParam;
    const CMLVector2<T> e1(1, 0), e2(1, T(1e-3)), v = e1 + e2;
    // The solver solves this system but reports it ill-conditioned (status 2) at 6e-4.
    T x = 0, y = 0;
    int status = 0;
    ASSERT_EQ(CMLAlgebra::Solve2x2System(e1.x, e2.x, e1.y, e2.y, v.x, v.y, x, y, status, T(6e-4)), 1);
    ASSERT_EQ(status, 2);
    T c1 = 7, c2 = 7;
    EXPECT_EQ(v.DecomposeInBasis(e1, e2, c1, c2, T(6e-4)), 0);
    EXPECT_EQ(c1, T(7));
    EXPECT_EQ(c2, T(7));
    EXPECT_EQ(v.DecomposeInBasis(e1, e2, c1, c2, T(1e-4)), 1);
    EXPECT_EQ(c1, T(1));
    EXPECT_EQ(c2, T(1));
}

TYPED_TEST(FixedVectorReal, DecomposeIn3DBasis) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-6) : T(1e-15);
    const CMLVector3<T> e1(1, 1, 0), e2(0, 1, 1), e3(1, 0, 1);
    T c1 = 0, c2 = 0, c3 = 0;
    ASSERT_EQ(CMLVector3<T>(5, 1, 2).DecomposeInBasis(e1, e2, e3, c1, c2, c3), 1);
    EXPECT_NEAR(c1, T(2), tol);
    EXPECT_NEAR(c2, T(-1), tol);
    EXPECT_NEAR(c3, T(3), tol);
    // Singular: e3 in the plane of e1 and e2.
    EXPECT_EQ(CMLVector3<T>(1, 2, 3).DecomposeInBasis(e1, e2, e1 + e2, c1, c2, c3), 0);
    EXPECT_NEAR(c3, T(3), tol);
    // Ill-conditioned at this precision: solved by the solver (status 2), refused here.
    const CMLVector3<T> f1(1, 0, 0), f2(0, 1, 0), f3(0, 0, T(1e-3)), v(1, 1, T(1e-3));
    T x = 0, y = 0, z = 0;
    int status = 0;
    ASSERT_EQ(CMLAlgebra::Solve3x3System(T(1), T(0), T(0), T(0), T(1), T(0), T(0), T(0), T(1e-3),
                                         v.x, v.y, v.z, x, y, z, status, T(8e-4)),
              1);
    ASSERT_EQ(status, 2);
    EXPECT_EQ(v.DecomposeInBasis(f1, f2, f3, c1, c2, c3, T(8e-4)), 0);
    EXPECT_NEAR(c1, T(2), tol);
    EXPECT_EQ(v.DecomposeInBasis(f1, f2, f3, c1, c2, c3, T(1e-6)), 1);
    EXPECT_NEAR(c3, T(1), tol);
}

// ---- Distances and tolerance tests ------------------------------------------------------------

TEST(FixedVectorDistance, DistancesBelowSqrtPAreZero) {
    const CMLVector3<double> a(1, 2, 3);
    const CMLVector3<double> b(1 + 2e-5, 2, 3);
    EXPECT_EQ(mlDist(a, b), 0.0);
    EXPECT_GT(mlSquareDist(a, b), 0.0);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-12), 1);  // even with a tight precision
    const CMLVector3<double> c(1 + 1e-4, 2, 3);
    EXPECT_EQ(mlAreAlmostEqual(a, c), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, c, 2e-4), 1);
    EXPECT_EQ(mlDist(CMLVector4<double>(1, 1, 1, 1), CMLVector4<double>()), 2.0);
    EXPECT_EQ(mlSquareDist(CMLVector2<double>(1, 1), CMLVector2<double>(4, 5)), 25.0);
}

TEST(FixedVectorDistance, FloatLimitIsSqrtOfItsP) {
    const CMLVector2<float> a(1, 0);
    EXPECT_EQ(mlAreAlmostEqual(a, CMLVector2<float>(1 + 2e-4f, 0), 1e-10), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, CMLVector2<float>(1 + 1e-3f, 0)), 0);
    EXPECT_EQ(mlAreAlmostEqual(CMLVector4<float>(1.5f), CMLVector4<float>(1.5f)), 1);
}

TYPED_TEST(FixedVectorReal, OrthogonalityScalesByTheLengths) {
    using T = TypeParam;
    const CMLVector3<T> zero;
    EXPECT_EQ(mlAreOrthogonal(zero, CMLVector3<T>(1, 2, 3), T(1e-30)), 1);
    EXPECT_EQ(mlAreOrthogonal(zero, CMLVector3<T>(1, 2, 3), 0), 0);  // 0 > 0 fails, 0 < 0 fails
    // |a.b| = 1 against precision * |a| |b| = 0.01 * 100 * 1.00005.
    const CMLVector2<T> a(100, 0), b(T(0.01), 1);
    EXPECT_EQ(mlAreOrthogonal(a, b, T(0.011)), 1);
    EXPECT_EQ(mlAreOrthogonal(a, b, T(0.009)), 0);
    EXPECT_EQ(mlAreOrthogonal(CMLVector4<T>(1, 0, 0, 0), CMLVector4<T>(0, 0, 0, 1), 0.001), 1);
}

TEST(FixedVectorColinear, GuardedCrossLengthIn3D) {
    const CMLVector3<double> a(1, 0, 0);
    EXPECT_EQ(mlAreColinear(a, CMLVector3<double>(1, 1e-5, 0), 1e-12), 1);
    EXPECT_EQ(mlAreColinear(a, CMLVector3<double>(1, 1e-3, 0), 1e-12), 0);
    const CMLVector3<float> f(1, 0, 0);
    EXPECT_EQ(mlAreColinear(f, CMLVector3<float>(1, 2e-4f, 0), 1e-12), 1);
    EXPECT_EQ(mlAreColinear(f, CMLVector3<float>(1, 1e-2f, 0), 1e-12), 0);
}

TEST(FixedVectorColinear, UnguardedCrossIn2D) {
    // The 2D cross product is used as it is: a difference that vanishes in 3D counts in 2D.
    EXPECT_EQ(mlAreColinear(CMLVector2<double>(1, 0), CMLVector2<double>(1, 1e-5), 1e-12), 0);
    EXPECT_EQ(mlAreColinear(CMLVector2<double>(1, 0), CMLVector2<double>(1, 1e-5), 1e-4), 1);
    EXPECT_EQ(mlAreColinear(CMLVector2<float>(2, 4), CMLVector2<float>(-1, -2), 1e-6), 1);
}

TYPED_TEST(FixedVectorReal, ColinearScaleIsTheLargestComponent) {
    using T = TypeParam;
    // Cross length 100, largest component 100; lengths 100 and about 100.005. A test scaled by
    // the product of the lengths would accept this pair (sine 0.01) for any precision above
    // 0.01; the largest-component scale needs a precision above 1.
    const CMLVector3<T> a(100, 0, 0), b(100, 1, 0);
    EXPECT_EQ(mlAreColinear(a, b, T(0.5)), 0);
    EXPECT_EQ(mlAreColinear(a, b, T(2)), 1);
    EXPECT_EQ(mlAreColinear(CMLVector2<T>(100, 0), CMLVector2<T>(100, 1), T(0.5)), 0);
    EXPECT_EQ(mlAreColinear(CMLVector2<T>(100, 0), CMLVector2<T>(100, 1), T(1.01)), 1);
    // Vectors whose components are all below the precision are colinear.
    EXPECT_EQ(mlAreColinear(CMLVector3<T>(T(1e-3), 0, 0), CMLVector3<T>(0, T(1e-3), 0), T(0.01)),
              1);
}

TYPED_TEST(FixedVectorReal, PointsCollinearScalesByTheDifferences) {
    using T = TypeParam;
    const CMLVector3<T> p0(1, 1, 1);
    EXPECT_EQ(mlArePointsCollinear(p0, CMLVector3<T>(2, 2, 2), CMLVector3<T>(4, 4, 4), T(1e-6)), 1);
    EXPECT_EQ(mlArePointsCollinear(p0, CMLVector3<T>(2, 2, 2), CMLVector3<T>(4, 4, 5), T(1e-6)), 0);
    // M comes from p1 - p0 and p2 - p0 (here 1), not from the points (about 1000).
    const CMLVector3<T> q0(1000, 1000, 1000);
    EXPECT_EQ(mlArePointsCollinear(q0, q0 + CMLVector3<T>(1, 0, 0), q0 + CMLVector3<T>(0, 1, 0),
                                   T(0.01)),
              0);
    EXPECT_EQ(mlArePointsCollinear(q0, q0 + CMLVector3<T>(1, 0, 0), q0 + CMLVector3<T>(0, 1, 0),
                                   T(1.5)),
              1);
}

TYPED_TEST(FixedVectorReal, CoplanarityScalesByTheLargestComponent) {
    using T = TypeParam;
    const CMLVector3<T> a(100, 0, 0), b(0, 100, 0);
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, CMLVector3<T>(1, 1, 0), T(1e-6)), 1);
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, CMLVector3<T>(0, 0, 1), T(1e-6)), 0);
    // Three mutually perpendicular vectors: the triple product 100 is measured against
    // precision * 100, so precision 2 calls them coplanar and 0.5 does not.
    const CMLVector3<T> c(0, 0, T(0.01));
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, c, T(2)), 1);
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, c, T(0.5)), 0);
    const CMLVector3<T> p0(5, -5, 7);
    EXPECT_EQ(mlArePointsCoplanar(p0, p0 + a, p0 + b, p0 + c, T(2)), 1);
    EXPECT_EQ(mlArePointsCoplanar(p0, p0 + a, p0 + b, p0 + c, T(0.5)), 0);
    EXPECT_EQ(mlArePointsCoplanar(p0, p0 + a, p0 + b, p0 + a + b, T(1e-6)), 1);
}

// ---- Areas, midpoints, combinations, means ----------------------------------------------------

TYPED_TEST(FixedVectorReal, AreaMidpointAndCombinations) {
    using T = TypeParam;
    const CMLVector2<T> p0(1, 1), p1(3, 1), p2(1, 4);
    EXPECT_EQ(mlGetTriangleArea(p0, p1, p2), T(3));
    EXPECT_EQ(mlGetTriangleArea(p0, p2, p1), T(3));  // orientation does not matter
    EXPECT_EQ(mlFindMidpoint(p1, p2), CMLVector2<T>(2, T(2.5)));
    EXPECT_EQ(mlFindMidpoint(CMLVector3<T>(0, 0, 0), CMLVector3<T>(2, 4, -6)),
              CMLVector3<T>(1, 2, -3));
    const CMLVector3<T> a(1, 0, 0), b(0, 1, 0), c(0, 0, 1), d(1, 1, 1);
    EXPECT_EQ(mlCombine2(a, b, 2, 3), CMLVector3<T>(2, 3, 0));
    EXPECT_EQ(mlCombine3(a, b, c, 2, 3, 4), CMLVector3<T>(2, 3, 4));
    EXPECT_EQ(mlCombine4(a, b, c, d, 2, 3, 4, 0.5), CMLVector3<T>(T(2.5), T(3.5), T(4.5)));
    EXPECT_EQ(mlCombine2(p0, p1, 1, -1), CMLVector2<T>(-2, 0));
    EXPECT_EQ(mlCombine3(p0, p1, p2, 1, 1, 1), CMLVector2<T>(5, 6));
    EXPECT_EQ(mlCombine4(p0, p1, p2, p0, 1, 1, 1, -1), CMLVector2<T>(4, 5));
}

TYPED_TEST(FixedVectorReal, CombineArraysAndMeans) {
    using T = TypeParam;
    const CMLVector3<T> v[3] = {CMLVector3<T>(1, 2, 3), CMLVector3<T>(4, 5, 6), CMLVector3<T>(7, 8, 9)};
    const T w[3] = {1, 2, -1};
    EXPECT_EQ(mlCombine(3, v, w), CMLVector3<T>(2, 4, 6));
    EXPECT_EQ(mlCombine(1, v, w), v[0]);
    EXPECT_EQ(mlCombine(0, v, w), v[0]);  // the first term is always taken
    EXPECT_EQ(mlFindMean(v, 3), CMLVector3<T>(4, 5, 6));
    const CMLVector2<T> u[2] = {CMLVector2<T>(1, 2), CMLVector2<T>(2, 6)};
    const T w2[2] = {2, 1};
    EXPECT_EQ(mlCombine(2, u, w2), CMLVector2<T>(4, 10));
    EXPECT_EQ(mlFindMean(u, 2), CMLVector2<T>(T(1.5), 4));
}

TEST(FixedVectorMean, NoPointsGiveNaN) {
    const CMLVector2<double> u[1] = {CMLVector2<double>(1, 2)};
    EXPECT_TRUE(std::isnan(mlFindMean(u, 0).x));
    EXPECT_TRUE(std::isnan(mlFindMean(u, -3).y));
    const CMLVector3<float> f[1];
    EXPECT_TRUE(std::isnan(mlFindMean(f, 0).z));
}

// ---- Angles and trigonometric ratios ----------------------------------------------------------

TYPED_TEST(FixedVectorReal, AnglesBetweenVectors) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-5) : T(1e-13);
    const CMLVector3<T> x(2, 0, 0), y(0, 3, 0);
    EXPECT_NEAR(mlFindAngleInRadians(x, y), mlPi<T> / 2, tol);
    EXPECT_NEAR(mlFindAngleInRadians(x, x.Negate()), mlPi<T>, T(1e3) * tol);
    EXPECT_NEAR(mlFindAngleInDegrees(x, CMLVector3<T>(1, 1, 0)), T(45), T(100) * tol);
    EXPECT_NEAR(mlFindAngleInDegrees(CMLVector2<T>(1, 0), CMLVector2<T>(-1, 1)), T(135),
                T(100) * tol);
    EXPECT_EQ(mlFindAngleInDegrees(CMLVector2<T>(1, 0), CMLVector2<T>(-1, 0)),
              mlFindAngleInRadians(CMLVector2<T>(1, 0), CMLVector2<T>(-1, 0)) *
                  T(57.29577951308232));
}

TYPED_TEST(FixedVectorReal, AngleGuardsOnlyTheFirstVector) {
    using T = TypeParam;
    const CMLVector3<T> zero, b(1, 2, 3);
    EXPECT_EQ(mlFindAngleInRadians(zero, b), T(0));
    EXPECT_EQ(mlFindAngleInDegrees(CMLVector2<T>(), CMLVector2<T>(0, 1)), T(0));
    EXPECT_TRUE(std::isnan(mlFindAngleInRadians(b, zero)));  // 0 / 0
    EXPECT_TRUE(std::isnan(mlFindAngleInDegrees(CMLVector2<T>(1, 0), CMLVector2<T>())));
    // A first vector shorter than sqrt(P) has guarded length 0: the angle is 0 whatever b is.
    const T tiny = std::is_same_v<T, float> ? T(2e-4) : T(2e-5);
    EXPECT_EQ(mlFindAngleInRadians(CMLVector3<T>(tiny, 0, 0), CMLVector3<T>(0, 1, 0)), T(0));
}

TYPED_TEST(FixedVectorReal, AngleCosineIsNotClamped) {
    using T = TypeParam;
    // |a|^2 = 18, and sqrt(18) * sqrt(18) rounds below 18 for float and double: the cosine of a
    // vector with itself comes out just above 1 and arccos gives NaN instead of 0.
    const CMLVector3<T> a(1, 1, 4);
    EXPECT_GT(a.Dot(a) / (a.Length() * a.Length()), T(1));
    EXPECT_TRUE(std::isnan(mlFindAngleInRadians(a, a)));
    EXPECT_TRUE(std::isnan(mlFindAngleInDegrees(CMLVector2<T>(3, 3), CMLVector2<T>(3, 3))));
}

TYPED_TEST(FixedVectorReal, TrigonometricRatios) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-6) : T(1e-15);
    const CMLVector3<T> a(2, 0, 0), b(3, 3, 0);
    const T h = T(1) / std::sqrt(T(2));
    EXPECT_NEAR(mlSin(a, b), h, tol);
    EXPECT_NEAR(mlCos(a, b), h, tol);
    EXPECT_EQ(mlTan(a, b), T(1));
    EXPECT_EQ(mlCot(a, b), T(1));
    const CMLVector2<T> c(1, 0), d(-1, T(1.7320508075688772));
    EXPECT_NEAR(mlSin(c, d), std::sqrt(T(3)) / 2, tol);
    EXPECT_NEAR(mlCos(c, d), T(-0.5), tol);
    EXPECT_NEAR(mlTan(c, d), -std::sqrt(T(3)), 4 * tol);
    EXPECT_NEAR(mlCot(c, d), T(-1) / std::sqrt(T(3)), tol);
}

TEST(FixedVectorTrigonometry, DivisionsAreNotGuarded) {
    const CMLVector3<double> x(1, 0, 0), y(0, 1, 0), zero;
    EXPECT_TRUE(std::isnan(mlCos(zero, x)));
    EXPECT_TRUE(std::isnan(mlSin(x, zero)));
    EXPECT_EQ(mlTan(x, y), std::numeric_limits<double>::infinity());
    EXPECT_EQ(mlCot(x, x * 2.0), std::numeric_limits<double>::infinity());
    // The 3D cross length is guarded, the 2D cross product is not.
    EXPECT_EQ(mlSin(x, CMLVector3<double>(1, 1e-5, 0)), 0.0);
    EXPECT_NEAR(mlSin(CMLVector2<double>(1, 0), CMLVector2<double>(1, 1e-5)), 1e-5, 1e-15);
}

// ---- Orthonormal sets -------------------------------------------------------------------------

template <class T>
void ExpectOrthonormalRightHanded(const CMLVector3<T>& e1, const CMLVector3<T>& e2,
                                  const CMLVector3<T>& e3, T tol) {
    EXPECT_NEAR(e1.Dot(e1), T(1), tol);
    EXPECT_NEAR(e2.Dot(e2), T(1), tol);
    EXPECT_NEAR(e3.Dot(e3), T(1), tol);
    EXPECT_NEAR(e1.Dot(e2), T(0), tol);
    EXPECT_NEAR(e1.Dot(e3), T(0), tol);
    EXPECT_NEAR(e2.Dot(e3), T(0), tol);
    EXPECT_NEAR(mlMixedProduct(e1, e2, e3), T(1), tol);
}

TYPED_TEST(FixedVectorReal, GramSchmidtIn3D) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-6) : T(1e-14);
    const CMLVector3<T> a(1, T(0.2), T(0.1)), b(T(0.3), 1, T(0.2)), c(T(0.1), T(0.1), 1);
    CMLVector3<T> e1 = a, e2 = b, e3 = c;
    ASSERT_EQ(mlOrthonormalize(e1, e2, e3, T(1e-6)), 1);
    ExpectOrthonormalRightHanded(e1, e2, e3, tol);
    // e1 keeps its direction; e2 stays in the plane of a and b.
    EXPECT_NEAR(e1.Cross(a).Length(), T(0), tol);
    EXPECT_GT(e1.Dot(a), T(0));
    EXPECT_NEAR(std::fabs(mlMixedProduct(a, b, e2)), T(0), 10 * tol);
    EXPECT_GT(e2.Dot(b), T(0));
    EXPECT_EQ(mlAreOrthonormalized(e1, e2, e3, T(1e-5)), 1);
    EXPECT_EQ(mlAreOrthonormalized(a, b, c, T(1e-5)), 0);
}

TEST(FixedVectorOrthonormalize, DegenerateInputIsLeftUnchanged) {
    CMLVector3<double> e1(1, 0, 0), e2(0, 1, 0), e3(1, 1, 1e-10);
    EXPECT_EQ(mlOrthonormalize(e1, e2, e3, 1e-9), 0);  // 1e-9 * 1 > |triple| = 1e-10
    EXPECT_EQ(e3.z, 1e-10);
    EXPECT_EQ(e1, CMLVector3<double>(1, 0, 0));
    CMLVector3<double> s1(1e-4, 0, 0), s2(0, 1e-4, 0), s3(0, 0, 1e-4);
    EXPECT_EQ(mlOrthonormalize(s1, s2, s3, 1e-3), 0);  // precision above every component
    EXPECT_EQ(s1.x, 1e-4);
    CMLVector2<float> f1(1, 0), f2(2, 1e-8f);
    EXPECT_EQ(mlOrthonormalize(f1, f2, 1e-6), 0);
    EXPECT_EQ(f2.y, 1e-8f);
}

TEST(FixedVectorOrthonormalize, ShortLastVectorStaysUnnormalised) {
    // Passing a tiny precision lets a short third vector through the degeneracy test; its guarded
    // norm is 0, so it is kept as the projection left it.
    CMLVector3<double> e1(2, 0, 0), e2(0, 3, 0), e3(1, 1, 1e-6);
    EXPECT_EQ(mlOrthonormalize(e1, e2, e3, 1e-30), 1);
    EXPECT_EQ(e1, CMLVector3<double>(1, 0, 0));
    EXPECT_EQ(e2, CMLVector3<double>(0, 1, 0));
    EXPECT_EQ(e3.x, 0.0);
    EXPECT_EQ(e3.y, 0.0);
    EXPECT_EQ(e3.z, 1e-6);
    CMLVector2<double> g1(1, 0), g2(5, 1e-6);
    EXPECT_EQ(mlOrthonormalize(g1, g2, 1e-30), 1);
    EXPECT_EQ(g2.x, 0.0);
    EXPECT_EQ(g2.y, 1e-6);
}

TEST(FixedVectorOrthonormalize, ShortFirstVectorDividesByZero) {
    // e1 and e2 are divided by mlSafeSqrt of their squared lengths, which is 0 below sqrt(P).
    CMLVector3<double> e1(1e-6, 0, 0), e2(0, 1, 0), e3(0, 0, 1);
    EXPECT_EQ(mlOrthonormalize(e1, e2, e3, 1e-30), 1);
    EXPECT_EQ(e1.x, std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(e1.y));
    EXPECT_EQ(e2, CMLVector3<double>(0, 1, 0));
}

TYPED_TEST(FixedVectorReal, GramSchmidtIn2D) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-6) : T(1e-14);
    CMLVector2<T> e1(2, 0), e2(1, 1);
    ASSERT_EQ(mlOrthonormalize(e1, e2, T(1e-6)), 1);
    EXPECT_EQ(e1, CMLVector2<T>(1, 0));
    EXPECT_EQ(e2, CMLVector2<T>(0, 1));
    CMLVector2<T> g1(3, 4), g2(-1, 2);
    ASSERT_EQ(mlOrthonormalize(g1, g2, T(1e-6)), 1);
    EXPECT_NEAR(g1.x, T(0.6), tol);
    EXPECT_NEAR(g1.Dot(g2), T(0), tol);
    EXPECT_NEAR(g2.Length(), T(1), tol);
    EXPECT_GT(mlCross2D(g1, g2), T(0));  // orientation kept
    EXPECT_EQ(mlAreOrthonormalized(g1, g2, T(1e-5)), 1);
}

TYPED_TEST(FixedVectorReal, OrthonormalityAndHandedness) {
    using T = TypeParam;
    const CMLVector3<T> x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z, T(1e-6)), 1);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z.Negate(), T(1e-6)), 0);  // left-handed
    EXPECT_EQ(mlAreOrthonormalized(y, x, z, T(1e-6)), 0);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z * T(1.01), T(1e-6)), 0);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z * T(1.01), T(0.02)), 1);
    EXPECT_EQ(mlAreOrthonormalized(x, CMLVector3<T>(T(0.1), 1, 0), z, T(1e-3)), 0);
}

TEST(FixedVectorOrthonormalized, TwoDimensionalTestIsOnTheDotProduct) {
    const CMLVector2<double> e1(1, 0);
    // A clockwise (left-handed) pair passes: its dot product is 0.
    EXPECT_EQ(mlAreOrthonormalized(e1, CMLVector2<double>(0, -1), 1e-9), 1);
    EXPECT_EQ(mlAreOrthonormalized(e1, CMLVector2<double>(0, 1), 1e-9), 1);
    // Orthogonal within the precision either way, but a dot product just below zero fails.
    EXPECT_EQ(mlAreOrthonormalized(e1, CMLVector2<double>(1e-12, 1), 1e-9), 1);
    EXPECT_EQ(mlAreOrthonormalized(e1, CMLVector2<double>(-1e-12, 1), 1e-9), 0);
    EXPECT_EQ(mlAreOrthonormalized(CMLVector2<float>(0, 1), CMLVector2<float>(1, 0), 1e-6), 1);
}

// ---- Arrays -----------------------------------------------------------------------------------

TEST(FixedVectorArrays, SwapCopyAppend) {
    CMLVector3<double> a(1, 2, 3), b(4, 5, 6);
    mlSwapVectors(a, b);
    EXPECT_EQ(a, CMLVector3<double>(4, 5, 6));
    EXPECT_EQ(b, CMLVector3<double>(1, 2, 3));
    CMLVector2<float> p(1, 2), q(3, 4);
    mlSwapVectors(p, q);
    EXPECT_EQ(p.x, 3.0f);

    const CMLVector2<double> src[3] = {CMLVector2<double>(1, 1), CMLVector2<double>(2, 2),
                                       CMLVector2<double>(3, 3)};
    CMLVector2<double> dst[8];
    mlCopyVectorArray(0, src, dst);
    mlCopyVectorArray(-4, src, dst);
    EXPECT_EQ(dst[0].x, 0.0);
    mlCopyVectorArray(2, src, dst);
    EXPECT_EQ(dst[1].x, 2.0);
    EXPECT_EQ(dst[2].x, 0.0);
    EXPECT_EQ(mlAppendVectorArray(5, dst, 0, src), 5);
    EXPECT_EQ(dst[5].x, 0.0);
    EXPECT_EQ(mlAppendVectorArray(5, dst, -2, src), 3);  // n + m, nothing copied
    EXPECT_EQ(dst[3].x, 0.0);
    EXPECT_EQ(mlAppendVectorArray(2, dst, 3, src), 5);
    EXPECT_EQ(dst[2].x, 1.0);
    EXPECT_EQ(dst[4].x, 3.0);
    EXPECT_EQ(dst[5].x, 0.0);
    CMLVector3<float> f[4];
    const CMLVector3<float> g[2] = {CMLVector3<float>(1.0f), CMLVector3<float>(2.0f)};
    EXPECT_EQ(mlAppendVectorArray(1, f, 2, g), 3);
    mlCopyVectorArray(1, g + 1, f);
    EXPECT_EQ(f[0].z, 2.0f);
    EXPECT_EQ(f[2].z, 2.0f);
}

// ---- Conversions ------------------------------------------------------------------------------

TYPED_TEST(FixedVectorReal, DimensionConversions) {
    using T = TypeParam;
    const CMLVector2<T> a(1, 2);
    EXPECT_EQ(mlVector2To3(a), CMLVector3<T>(1, 2, 1));
    EXPECT_EQ(mlVector2To3(a, 0.5), CMLVector3<T>(1, 2, T(0.5)));
    const CMLVector3<T> b(1, 2, 3);
    EXPECT_EQ(mlVector3To4(b), CMLVector4<T>(1, 2, 3, 1));
    EXPECT_EQ(mlVector3To4(b, -7), CMLVector4<T>(1, 2, 3, -7));
    EXPECT_EQ(mlAffineVector3To2(b), CMLVector2<T>(1, 2));
    EXPECT_EQ(mlCutVector3To2(b), CMLVector2<T>(1, 2));
    const CMLVector4<T> c(2, 4, 6, 2);
    EXPECT_EQ(mlAffineVector4To3(c), CMLVector3<T>(2, 4, 6));
    EXPECT_EQ(mlCutVector4To3(c), CMLVector3<T>(2, 4, 6));
    T dropped = 0;
    EXPECT_EQ(mlVector3To2(b, dropped), CMLVector2<T>(1, 2));  // no division
    EXPECT_EQ(dropped, T(3));
    EXPECT_EQ(mlVector4To3(c, dropped), CMLVector3<T>(2, 4, 6));
    EXPECT_EQ(dropped, T(2));
}

TYPED_TEST(FixedVectorReal, HomogeneousDivision) {
    using T = TypeParam;
    CMLVector3<T> out3(T(9));
    T w = 0;
    EXPECT_EQ(mlVector4To3(CMLVector4<T>(2, 4, 6, 2), mlDefaultPrecision<T>, out3, w), 1);
    EXPECT_EQ(out3, CMLVector3<T>(1, 2, 3));
    EXPECT_EQ(w, T(2));
    EXPECT_EQ(mlVector4To3(CMLVector4<T>(2, 4, 6, 0), mlDefaultPrecision<T>, out3, w), 0);
    EXPECT_EQ(w, T(0));  // stored even on failure
    EXPECT_EQ(out3, CMLVector3<T>(1, 2, 3));
    EXPECT_EQ(mlVector4To3(CMLVector4<T>(1, 1, 1, T(0.5)), T(0.5), out3, w), 1);  // precision == |w|
    EXPECT_EQ(out3, CMLVector3<T>(T(2)));

    CMLVector2<T> out2(T(7));
    T z = 0;
    EXPECT_EQ(mlVector3To2(CMLVector3<T>(3, 6, -3), 0.1, out2, z), 1);
    EXPECT_EQ(out2, CMLVector2<T>(-1, -2));
    EXPECT_EQ(z, T(-3));
    EXPECT_EQ(mlVector3To2(CMLVector3<T>(3, 6, T(0.05)), 0.1, out2, z), 0);
    EXPECT_EQ(z, T(0.05));
    EXPECT_EQ(out2, CMLVector2<T>(-1, -2));
}

}  // namespace
