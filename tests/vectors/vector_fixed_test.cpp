#include <ml/vector_fixed.h>

#include <ml/vector_n.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <ostream>
#include <type_traits>
#include <utility>
#include <vector>

// Readable failure messages "(x, y, ...)" for the fixed vectors, whose Dim() is a constant.
template <template <class> class V, class T, int N = V<T>::Dim()>
void PrintTo(const V<T>& v, std::ostream* os) {
    for (int i = 0; i < N; ++i)
        *os << (i ? ", " : "(") << v[i];
    *os << ')';
}

namespace {

template <class T>
using V2 = CMLVector2<T>;
template <class T>
using V3 = CMLVector3<T>;
template <class T>
using V4 = CMLVector4<T>;
using D2 = CMLVector2<double>;
using D3 = CMLVector3<double>;
constexpr double kInf = std::numeric_limits<double>::infinity();

template <class V>
using Elem = std::remove_cv_t<decltype(V::x)>;

// A vector whose component i is first + i * step.
template <class V>
V Ramp(double first, double step) {
    V v;
    for (int i = 0; i < V::Dim(); ++i)
        v[i] = Elem<V>(first + i * step);
    return v;
}

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(1e-6) : T(1e-14);
}

// The shared contract, checked on all six classes.
template <class V>
class FixedVectorTyped : public ::testing::Test {};
using AllVectors =
    ::testing::Types<V2<float>, V2<double>, V3<float>, V3<double>, V4<float>, V4<double>>;
TYPED_TEST_SUITE(FixedVectorTyped, AllVectors);

template <class T>
class FixedVectorReal : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FixedVectorReal, RealTypes);

// ---- Layout, construction, access ----

TYPED_TEST(FixedVectorTyped, PlainValueAndConstructors) {
    using V = TypeParam;
    using T = Elem<V>;
    static_assert(std::is_standard_layout_v<V> && std::is_trivially_copyable_v<V>);
    static_assert(sizeof(V) == V::Dim() * sizeof(T) && offsetof(V, y) == sizeof(T));
    EXPECT_EQ(V(), Ramp<V>(0, 0));
    EXPECT_EQ(V(5), Ramp<V>(0, 0));  // the int is ignored, not spread
    EXPECT_EQ(V(T(2.5)), Ramp<V>(2.5, 0));
}

TEST(FixedVectorAccess, EveryOtherIndexGivesTheLastComponent) {
    static_assert(offsetof(D3, z) == 2 * sizeof(double) && offsetof(V4<float>, w) == 12);
    const double src[4] = {1, 2, 3, 4};
    D2 v2(1, 2);
    D3 v3(src);
    const V4<double> v4(src);
    const std::vector<double> got = {v2[-1], v2[5], v3[7], v3[-1], v4[-2], v4[100]};
    EXPECT_EQ(got, std::vector<double>({2, 2, 3, 3, 4, 4}));
    v3[9] = 30;  // writes reach the last component too
    v3.X() = 10;
    EXPECT_EQ(v3, D3(10, 2, 30));
    const float fsrc[4] = {5, 6, 7, 8};
    V3<float> g;
    g.Fill(fsrc + 1);
    EXPECT_EQ(g, V3<float>(6, 7, 8));
}

TYPED_TEST(FixedVectorReal, FromTheFirstElementsOfADynamicVector) {
    using T = TypeParam;
    const T src[5] = {1, 2, 3, 4, 5};
    const CMLVectorN<T> n(5, src), m(4, T(-1));
    EXPECT_EQ(V2<T>(n), V2<T>(1, 2));
    EXPECT_EQ(V3<T>(n), V3<T>(1, 2, 3));
    EXPECT_EQ(V4<T>(n), V4<T>(1, 2, 3, 4));
    V4<T> a4;
    a4 = m;
    EXPECT_EQ(a4, V4<T>(T(-1)));
}

// ---- Arithmetic and comparison ----

TYPED_TEST(FixedVectorTyped, ComponentwiseArithmetic) {
    using V = TypeParam;
    using T = Elem<V>;
    const V a = Ramp<V>(1, 1), b = Ramp<V>(10, 10);  // 1, 2, 3, 4 and 10, 20, 30, 40
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
    V v = Ramp<V>(2, 2);  // a compound scalar is read once: every component by the original x
    v /= v.x;
    EXPECT_EQ(v, Ramp<V>(1, 1));
    v *= v.y;
    EXPECT_EQ(v, Ramp<V>(2, 2));
}

TYPED_TEST(FixedVectorTyped, EqualityAllowsPPerComponent) {
    using V = TypeParam;
    using T = Elem<V>;
    const T p = mlDefaultPrecision<T>;
    const V zero;
    V near;
    near[V::Dim() - 1] = p;  // |a - b| == P is still equal
    EXPECT_EQ(zero == near, 1);
    near[0] = T(2) * p;
    EXPECT_EQ(zero == near, 0);
    EXPECT_EQ(zero != near, 1);
    // Per component, not on the length of the difference: all components may differ by P.
    EXPECT_EQ(zero == V(p), 1);
}

TEST(FixedVectorArithmetic, NaNAndDivisionAreNotGuarded) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(D2(nan, 0) == D2(nan, 0), 0);  // a NaN component is never within P of anything
    EXPECT_EQ(D2(nan, 0) != D2(1, 0), 1);
    const D3 v = D3(1, -1, 0) / 0.0;
    EXPECT_EQ(v.x, kInf);
    EXPECT_EQ(v.y, -kInf);
    EXPECT_TRUE(std::isnan(v.z));
}

// ---- Norms and components ----

TYPED_TEST(FixedVectorReal, LengthsAndNorms) {
    using T = TypeParam;
    const V3<T> v(3, -4, 0);
    EXPECT_EQ(v.Length(), T(5));
    EXPECT_EQ(v.SquareLength(), T(25));
    EXPECT_EQ(v.NormInf(), T(4));
    EXPECT_EQ(v.Norm1(), T(7));
    EXPECT_EQ(v.Dot(V3<T>(1, 1, 1)), T(-1));
    EXPECT_EQ(V4<T>(1, 1, 1, 1).Length(), T(2));
    // Lengths below sqrt(P) are 0, so such vectors refuse to normalise and stay as they are.
    const T tiny = std::is_same_v<T, float> ? T(2e-4) : T(2e-5);
    V3<T> t(tiny, tiny / 2, 0);
    EXPECT_EQ(t.Length(), T(0));
    EXPECT_GT(t.SquareLength(), T(0));
    EXPECT_EQ(t.IsAlmostZero(T(1e-12)), 1);
    EXPECT_EQ(t.Normalize(), 0);
    EXPECT_EQ(t, V3<T>(tiny, tiny / 2, 0));
    EXPECT_GT(V2<T>(2 * tiny, 0).Length(), T(0));
    V3<T> u(3, 4, 0);
    EXPECT_EQ(u.Normalize(), 1);
    EXPECT_EQ(u.x, T(3) * (T(1) / T(5)));  // not 3 / 5: a product with 1 / L
    EXPECT_EQ(u.y, T(4) * (T(1) / T(5)));
}

TEST(FixedVectorComponents, TiesGoToTheLowerIndex) {
    const D3 c(-9, 2, 5);
    const V4<float> d(1, -4, 4, -4);
    const std::vector<int> indices = {
        D3(7, 3, 7).GetIndexOfMaxComponent(0), D3(3, 7, 7).GetIndexOfMaxComponent(0),
        D3(3, 1, 1).GetIndexOfMinComponent(0), c.GetIndexOfMaxComponent(0),
        c.GetIndexOfMaxComponent(1),           c.GetIndexOfMinComponent(0),
        c.GetIndexOfMinComponent(1),           d.GetIndexOfMaxComponent(1),
        d.GetIndexOfMinComponent(0),           V2<float>(2, 2).GetIndexOfMinComponent(1)};
    EXPECT_EQ(indices, std::vector<int>({0, 1, 1, 2, 0, 0, 1, 1, 1, 0}));
    const std::vector<double> values = {c.GetMaxComponent(0), c.GetMaxComponent(1),
                                        c.GetMinComponent(0), c.GetMinComponent(1)};
    EXPECT_EQ(values, std::vector<double>({5, 9, -9, 2}));  // useAbs compares absolute values
}

TYPED_TEST(FixedVectorReal, SmallValuePredicates) {
    using T = TypeParam;
    const V2<T> v(3, 4);
    EXPECT_EQ(v.IsAlmostZero(T(5)), 1);  // both ends included
    EXPECT_EQ(v.IsAlmostZero(T(4.5)), 0);
    EXPECT_EQ(v.IsAlmostUnit(T(4)), 1);
    EXPECT_EQ(v.IsAlmostUnit(T(3.5)), 0);
    V4<T> w(T(0.5), T(-0.25), T(0.75), T(-1));
    w.AnnulateSmallComponents(T(0.5));  // strict: 0.5 stays
    EXPECT_EQ(w, V4<T>(T(0.5), 0, T(0.75), T(-1)));
    w.SetToConstant(T(-2));
    EXPECT_EQ(w, V4<T>(T(-2)));
}

// ---- Two and three dimensions: member extras ----

TYPED_TEST(FixedVectorReal, PolarAnglesAndQuarterTurn) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-4) : T(1e-12);
    // x, y, Angle_0_360, Angle_MINUS_180_180
    const T rows[][4] = {{0, -1, 270, -90}, {-1, 0, 180, 180}, {-1, -1, 225, -135}, {1, 1, 45, 45}};
    for (const auto& r : rows) {
        EXPECT_NEAR(V2<T>(r[0], r[1]).Angle_0_360(), r[2], tol) << r[0] << ", " << r[1];
        EXPECT_NEAR(V2<T>(r[0], r[1]).Angle_MINUS_180_180(), r[3], tol) << r[0] << ", " << r[1];
    }
    EXPECT_EQ(V2<T>(1, 0).Angle_0_360(), T(0));
    const V2<T> v(2, 3);
    EXPECT_EQ(v.Rotate90DegsCCW(), V2<T>(-3, 2));
    EXPECT_EQ(v, V2<T>(2, 3));
}

TYPED_TEST(FixedVectorReal, CrossProducts) {
    using T = TypeParam;
    const V3<T> a(1, 2, 3), b(4, 5, 6), z(0, 0, 1);
    EXPECT_EQ(a.Cross(b), V3<T>(-3, 6, -3));
    EXPECT_EQ(mlCross(b, a), V3<T>(3, -6, 3));
    EXPECT_EQ(mlMixedProduct(a, b, z), a.Dot(b.Cross(z)));
    EXPECT_EQ(mlMixedProduct(V3<T>(1, 0, 0), V3<T>(0, 1, 0), z * T(2)), T(2));
    EXPECT_EQ(mlCross2D(V2<T>(1, 2), V2<T>(3, 4)), T(-2));
}

TYPED_TEST(FixedVectorReal, DecomposeInBasis) {
    using T = TypeParam;
    const V2<T> e1(2, 1), e2(-1, 1);
    T c1 = 0, c2 = 0, c3 = 0;
    ASSERT_EQ(V2<T>(8, 1).DecomposeInBasis(e1, e2, c1, c2, mlDefaultPrecision<T>), 1);
    EXPECT_EQ(c1, T(3));
    EXPECT_EQ(c2, T(-2));
    EXPECT_EQ(mlCombine2(e1, e2, c1, c2), V2<T>(8, 1));
    // A singular basis, and one the solver calls ill-conditioned (status 2) at 6e-4, fail and
    // leave the coefficients.
    EXPECT_EQ(V2<T>(1, 1).DecomposeInBasis(V2<T>(1, 2), V2<T>(2, 4), c1, c2), 0);
    const V2<T> f1(1, 0), f2(1, T(1e-3));
    EXPECT_EQ((f1 + f2).DecomposeInBasis(f1, f2, c1, c2, T(6e-4)), 0);
    EXPECT_EQ(std::make_pair(c1, c2), std::make_pair(T(3), T(-2)));
    EXPECT_EQ((f1 + f2).DecomposeInBasis(f1, f2, c1, c2, T(1e-4)), 1);
    EXPECT_EQ(std::make_pair(c1, c2), std::make_pair(T(1), T(1)));
    // Three dimensions: e1, e2, e3 are the columns of the system.
    const V3<T> g1(1, 1, 0), g2(0, 1, 1), g3(1, 0, 1);
    ASSERT_EQ(V3<T>(5, 1, 2).DecomposeInBasis(g1, g2, g3, c1, c2, c3), 1);
    EXPECT_NEAR(c1, T(2), Tol<T>());
    EXPECT_NEAR(c2, T(-1), Tol<T>());
    EXPECT_NEAR(c3, T(3), Tol<T>());
    EXPECT_EQ(V3<T>(1, 2, 3).DecomposeInBasis(g1, g2, g1 + g2, c1, c2, c3), 0);
    const V3<T> h1(1, 0, 0), h2(0, 1, 0), h3(0, 0, T(1e-3)), v(1, 1, T(1e-3));
    EXPECT_EQ(v.DecomposeInBasis(h1, h2, h3, c1, c2, c3, T(8e-4)), 0);  // status 2
    EXPECT_NEAR(c3, T(3), Tol<T>());
    EXPECT_EQ(v.DecomposeInBasis(h1, h2, h3, c1, c2, c3, T(1e-6)), 1);
    EXPECT_NEAR(c3, T(1), Tol<T>());
}

// ---- Distances and tolerance tests ----

TEST(FixedVectorDistance, DistancesBelowSqrtPAreZero) {
    const D3 a(1, 2, 3), b(1 + 2e-5, 2, 3), c(1 + 1e-4, 2, 3);
    EXPECT_EQ(mlDist(a, b), 0.0);
    EXPECT_GT(mlSquareDist(a, b), 0.0);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-12), 1);  // even with a tight precision
    EXPECT_EQ(mlAreAlmostEqual(a, c), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, c, 2e-4), 1);
    EXPECT_EQ(mlDist(V4<double>(1, 1, 1, 1), V4<double>()), 2.0);
    const V2<float> f(1, 0);  // float: the limit is the square root of its own P
    EXPECT_EQ(mlAreAlmostEqual(f, V2<float>(1 + 2e-4f, 0), 1e-10), 1);
    EXPECT_EQ(mlAreAlmostEqual(f, V2<float>(1 + 1e-3f, 0)), 0);
}

TYPED_TEST(FixedVectorReal, OrthogonalityScalesByTheLengths) {
    using T = TypeParam;
    const V3<T> zero;
    EXPECT_EQ(mlAreOrthogonal(zero, V3<T>(1, 2, 3), T(1e-30)), 1);
    EXPECT_EQ(mlAreOrthogonal(zero, V3<T>(1, 2, 3), 0), 0);  // 0 > 0 fails, 0 < 0 fails
    // |a.b| = 1 against precision * |a| |b| = 0.01 * 100 * 1.00005.
    const V2<T> a(100, 0), b(T(0.01), 1);
    EXPECT_EQ(mlAreOrthogonal(a, b, T(0.011)), 1);
    EXPECT_EQ(mlAreOrthogonal(a, b, T(0.009)), 0);
    EXPECT_EQ(mlAreOrthogonal(V4<T>(1, 0, 0, 0), V4<T>(0, 0, 0, 1), 0.001), 1);
}

TEST(FixedVectorColinear, GuardedCrossIn3DPlainIn2D) {
    EXPECT_EQ(mlAreColinear(D3(1, 0, 0), D3(1, 1e-5, 0), 1e-12), 1);  // |cross|^2 = 1e-10 < P
    EXPECT_EQ(mlAreColinear(D3(1, 0, 0), D3(1, 1e-3, 0), 1e-12), 0);
    EXPECT_EQ(mlAreColinear(V3<float>(1, 0, 0), V3<float>(1, 2e-4f, 0), 1e-12), 1);
    EXPECT_EQ(mlAreColinear(V3<float>(1, 0, 0), V3<float>(1, 1e-2f, 0), 1e-12), 0);
    EXPECT_EQ(mlAreColinear(D2(1, 0), D2(1, 1e-5), 1e-12), 0);  // the 2D cross is not guarded
    EXPECT_EQ(mlAreColinear(D2(1, 0), D2(1, 1e-5), 1e-4), 1);
    EXPECT_EQ(mlAreColinear(V2<float>(2, 4), V2<float>(-1, -2), 1e-6), 1);
}

TYPED_TEST(FixedVectorReal, ColinearityScalesByTheLargestComponent) {
    using T = TypeParam;
    // Cross length 100, largest component 100: a test scaled by the product of the lengths
    // would accept this pair (sine 0.01) above 0.01; the largest-component scale needs 1.
    EXPECT_EQ(mlAreColinear(V3<T>(100, 0, 0), V3<T>(100, 1, 0), T(0.5)), 0);
    EXPECT_EQ(mlAreColinear(V3<T>(100, 0, 0), V3<T>(100, 1, 0), T(2)), 1);
    EXPECT_EQ(mlAreColinear(V2<T>(100, 0), V2<T>(100, 1), T(0.5)), 0);
    EXPECT_EQ(mlAreColinear(V2<T>(100, 0), V2<T>(100, 1), T(1.01)), 1);
    EXPECT_EQ(mlAreColinear(V3<T>(T(1e-3), 0, 0), V3<T>(0, T(1e-3), 0), T(0.01)), 1);  // tiny
    const V3<T> p0(1, 1, 1), p1(2, 2, 2), q0(1000, 1000, 1000);
    EXPECT_EQ(mlArePointsCollinear(p0, p1, V3<T>(4, 4, 4), T(1e-6)), 1);
    EXPECT_EQ(mlArePointsCollinear(p0, p1, V3<T>(4, 4, 5), T(1e-6)), 0);
    // M comes from p1 - p0 and p2 - p0 (here 1), not from the points (about 1000).
    const V3<T> dx(1, 0, 0), dy(0, 1, 0);
    EXPECT_EQ(mlArePointsCollinear(q0, q0 + dx, q0 + dy, T(0.01)), 0);
    EXPECT_EQ(mlArePointsCollinear(q0, q0 + dx, q0 + dy, T(1.5)), 1);
    // Coplanarity: the triple product 100 of a, b, c is measured against precision * 100.
    const V3<T> a(100, 0, 0), b(0, 100, 0), c(0, 0, T(0.01));
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, V3<T>(1, 1, 0), T(1e-6)), 1);
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, V3<T>(0, 0, 1), T(1e-6)), 0);
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, c, T(2)), 1);
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, c, T(0.5)), 0);
    EXPECT_EQ(mlArePointsCoplanar(p0, p0 + a, p0 + b, p0 + c, T(2)), 1);
    EXPECT_EQ(mlArePointsCoplanar(p0, p0 + a, p0 + b, p0 + c, T(0.5)), 0);
    EXPECT_EQ(mlArePointsCoplanar(p0, p0 + a, p0 + b, p0 + a + b, T(1e-6)), 1);
}

// ---- Areas, midpoints, combinations, means ----

TYPED_TEST(FixedVectorReal, AreaMidpointCombinationsAndMeans) {
    using T = TypeParam;
    const V2<T> p0(1, 1), p1(3, 1), p2(1, 4);
    EXPECT_EQ(mlGetTriangleArea(p0, p1, p2), T(3));
    EXPECT_EQ(mlGetTriangleArea(p0, p2, p1), T(3));  // orientation does not matter
    EXPECT_EQ(mlFindMidpoint(p1, p2), V2<T>(2, T(2.5)));
    EXPECT_EQ(mlFindMidpoint(V3<T>(0, 0, 0), V3<T>(2, 4, -6)), V3<T>(1, 2, -3));
    const V3<T> v[3] = {V3<T>(1, 2, 3), V3<T>(4, 5, 6), V3<T>(7, 8, 9)};
    EXPECT_EQ(mlCombine2(v[0], v[1], 2, -1), V3<T>(-2, -1, 0));
    EXPECT_EQ(mlCombine3(v[0], v[1], v[2], 1, 1, -1), V3<T>(-2, -1, 0));
    EXPECT_EQ(mlCombine4(v[0], v[1], v[2], v[0], 1, 1, 1, T(0.5)), V3<T>(T(12.5), 16, T(19.5)));
    EXPECT_EQ(mlCombine4(p0, p1, p2, p0, 1, 1, 1, -1), V2<T>(4, 5));
    const T w[3] = {1, 2, -1};
    EXPECT_EQ(mlCombine(3, v, w), V3<T>(2, 4, 6));
    EXPECT_EQ(mlCombine(0, v, w), v[0]);  // the first term is always taken
    EXPECT_EQ(mlFindMean(v, 3), V3<T>(4, 5, 6));
    const V2<T> u[2] = {V2<T>(1, 2), V2<T>(2, 6)};
    EXPECT_EQ(mlCombine(2, u, w + 1), V2<T>(0, -2));
    EXPECT_EQ(mlFindMean(u, 2), V2<T>(T(1.5), 4));
    EXPECT_TRUE(std::isnan(mlFindMean(u, 0).x));  // no points: 0 / 0
}

// ---- Angles and trigonometric ratios ----

TYPED_TEST(FixedVectorReal, AnglesBetweenVectors) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-5) : T(1e-13);
    const V3<T> x(2, 0, 0), y(0, 3, 0), zero;
    EXPECT_NEAR(mlFindAngleInRadians(x, y), mlPi<T> / 2, tol);
    EXPECT_NEAR(mlFindAngleInRadians(x, x.Negate()), mlPi<T>, T(1e3) * tol);
    EXPECT_NEAR(mlFindAngleInDegrees(x, V3<T>(1, 1, 0)), T(45), T(100) * tol);
    EXPECT_NEAR(mlFindAngleInDegrees(V2<T>(1, 0), V2<T>(-1, 1)), T(135), T(100) * tol);
    EXPECT_EQ(mlFindAngleInDegrees(V2<T>(1, 0), V2<T>(-1, 0)),
              mlFindAngleInRadians(V2<T>(1, 0), V2<T>(-1, 0)) * T(57.29577951308232));
    // Only the first vector is guarded (fixed 1e-6 on its guarded length): 0 for a zero or
    // sub-sqrt(P) first vector, NaN for a zero second one.
    EXPECT_EQ(mlFindAngleInRadians(zero, x), T(0));
    EXPECT_EQ(mlFindAngleInDegrees(V2<T>(), V2<T>(0, 1)), T(0));
    const T tiny = std::is_same_v<T, float> ? T(2e-4) : T(2e-5);
    EXPECT_EQ(mlFindAngleInRadians(V3<T>(tiny, 0, 0), y), T(0));
    EXPECT_TRUE(std::isnan(mlFindAngleInRadians(x, zero)));
    EXPECT_TRUE(std::isnan(mlFindAngleInDegrees(V2<T>(1, 0), V2<T>())));
    // The cosine is not clamped: |a|^2 = 18, sqrt(18)^2 rounds below 18, arccos(1 + ulp) = NaN.
    const V3<T> a(1, 1, 4);
    EXPECT_GT(a.Dot(a) / (a.Length() * a.Length()), T(1));
    EXPECT_TRUE(std::isnan(mlFindAngleInRadians(a, a)));
    EXPECT_TRUE(std::isnan(mlFindAngleInDegrees(V2<T>(3, 3), V2<T>(3, 3))));
}

TYPED_TEST(FixedVectorReal, TrigonometricRatios) {
    using T = TypeParam;
    const T tol = Tol<T>(), h = T(1) / std::sqrt(T(2));
    const V3<T> a(2, 0, 0), b(3, 3, 0);
    EXPECT_NEAR(mlSin(a, b), h, tol);
    EXPECT_NEAR(mlCos(a, b), h, tol);
    EXPECT_EQ(mlTan(a, b), T(1));
    EXPECT_EQ(mlCot(a, b), T(1));
    const V2<T> c(1, 0), d(-1, T(1.7320508075688772));
    EXPECT_NEAR(mlSin(c, d), std::sqrt(T(3)) / 2, tol);
    EXPECT_NEAR(mlCos(c, d), T(-0.5), tol);
    EXPECT_NEAR(mlTan(c, d), -std::sqrt(T(3)), 4 * tol);
    EXPECT_NEAR(mlCot(c, d), T(-1) / std::sqrt(T(3)), tol);
}

TEST(FixedVectorTrigonometry, DivisionsAreNotGuarded) {
    const D3 x(1, 0, 0), y(0, 1, 0), zero;
    EXPECT_TRUE(std::isnan(mlCos(zero, x)));
    EXPECT_TRUE(std::isnan(mlSin(x, zero)));
    EXPECT_EQ(mlTan(x, y), kInf);
    EXPECT_EQ(mlCot(x, x * 2.0), kInf);
    // The 3D cross length is guarded, the 2D cross product is not.
    EXPECT_EQ(mlSin(x, D3(1, 1e-5, 0)), 0.0);
    EXPECT_NEAR(mlSin(D2(1, 0), D2(1, 1e-5)), 1e-5, 1e-15);
}

// ---- Orthonormal sets ----

TYPED_TEST(FixedVectorReal, GramSchmidt) {
    using T = TypeParam;
    const T tol = Tol<T>();
    const V3<T> a(1, T(0.2), T(0.1)), b(T(0.3), 1, T(0.2)), c(T(0.1), T(0.1), 1);
    V3<T> e[3] = {a, b, c};
    ASSERT_EQ(mlOrthonormalize(e[0], e[1], e[2], T(1e-6)), 1);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(e[i].Dot(e[j]), T(i == j), tol) << i << j;
    EXPECT_NEAR(mlMixedProduct(e[0], e[1], e[2]), T(1), tol);
    // e1 keeps its direction; e2 stays in the plane of a and b, on b's side.
    EXPECT_NEAR(e[0].Cross(a).Length(), T(0), tol);
    EXPECT_GT(e[0].Dot(a), T(0));
    EXPECT_NEAR(mlMixedProduct(a, b, e[1]), T(0), 10 * tol);
    EXPECT_GT(e[1].Dot(b), T(0));
    EXPECT_EQ(mlAreOrthonormalized(e[0], e[1], e[2], T(1e-5)), 1);
    EXPECT_EQ(mlAreOrthonormalized(a, b, c, T(1e-5)), 0);
    V2<T> g1(3, 4), g2(-1, 2);
    ASSERT_EQ(mlOrthonormalize(g1, g2, T(1e-6)), 1);
    EXPECT_NEAR(g1.x, T(0.6), tol);
    EXPECT_NEAR(g1.Dot(g2), T(0), tol);
    EXPECT_NEAR(g2.Length(), T(1), tol);
    EXPECT_GT(mlCross2D(g1, g2), T(0));  // orientation kept
    EXPECT_EQ(mlAreOrthonormalized(g1, g2, T(1e-5)), 1);
}

TEST(FixedVectorOrthonormalize, DegenerateAndShortInput) {
    D3 e1(1, 0, 0), e2(0, 1, 0), e3(1, 1, 1e-10);
    EXPECT_EQ(mlOrthonormalize(e1, e2, e3, 1e-9), 0);  // 1e-9 * 1 > |triple| = 1e-10
    EXPECT_EQ(e3.z, 1e-10);
    D3 s1(1e-4, 0, 0), s2(0, 1e-4, 0), s3(0, 0, 1e-4);
    EXPECT_EQ(mlOrthonormalize(s1, s2, s3, 1e-3), 0);  // precision above every component
    EXPECT_EQ(s1.x, 1e-4);
    V2<float> f1(1, 0), f2(2, 1e-8f);
    EXPECT_EQ(mlOrthonormalize(f1, f2, 1e-6), 0);
    EXPECT_EQ(f2.y, 1e-8f);
    // A tiny precision lets a short last vector through; its guarded norm is 0, so it is kept as
    // the projection left it.
    e3 = D3(1, 1, 1e-6);
    e1 = D3(2, 0, 0);
    e2 = D3(0, 3, 0);
    EXPECT_EQ(mlOrthonormalize(e1, e2, e3, 1e-30), 1);
    EXPECT_EQ(e1, D3(1, 0, 0));
    EXPECT_EQ(e2, D3(0, 1, 0));
    EXPECT_TRUE(e3.x == 0 && e3.y == 0 && e3.z == 1e-6);
    D2 g1(1, 0), g2(5, 1e-6);
    EXPECT_EQ(mlOrthonormalize(g1, g2, 1e-30), 1);
    EXPECT_TRUE(g2.x == 0 && g2.y == 1e-6);
    // e1 and e2 are divided by mlSafeSqrt of their squared lengths, which is 0 below sqrt(P).
    e1 = D3(1e-6, 0, 0);
    e2 = D3(0, 1, 0);
    e3 = D3(0, 0, 1);
    EXPECT_EQ(mlOrthonormalize(e1, e2, e3, 1e-30), 1);
    EXPECT_EQ(e1.x, kInf);
    EXPECT_TRUE(std::isnan(e1.y));
}

TYPED_TEST(FixedVectorReal, OrthonormalityAndHandedness) {
    using T = TypeParam;
    const V3<T> x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z, T(1e-6)), 1);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z.Negate(), T(1e-6)), 0);  // left-handed
    EXPECT_EQ(mlAreOrthonormalized(y, x, z, T(1e-6)), 0);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z * T(1.01), T(1e-6)), 0);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z * T(1.01), T(0.02)), 1);
    EXPECT_EQ(mlAreOrthonormalized(x, V3<T>(T(0.1), 1, 0), z, T(1e-3)), 0);
    // In 2D the last test is on the dot product: a clockwise pair passes, a dot product just
    // below zero fails although the pair is orthogonal within the precision.
    EXPECT_EQ(mlAreOrthonormalized(V2<T>(1, 0), V2<T>(0, -1), T(1e-6)), 1);
    EXPECT_EQ(mlAreOrthonormalized(V2<T>(0, 1), V2<T>(1, 0), T(1e-6)), 1);
    EXPECT_EQ(mlAreOrthonormalized(V2<T>(1, 0), V2<T>(T(1e-12), 1), T(1e-6)), 1);
    EXPECT_EQ(mlAreOrthonormalized(V2<T>(1, 0), V2<T>(T(-1e-12), 1), T(1e-6)), 0);
}

// ---- Arrays and conversions ----

TEST(FixedVectorArrays, SwapCopyAppend) {
    D3 a(1, 2, 3), b(4, 5, 6);
    mlSwapVectors(a, b);
    EXPECT_EQ(a, D3(4, 5, 6));
    EXPECT_EQ(b, D3(1, 2, 3));
    const D2 src[3] = {D2(1, 1), D2(2, 2), D2(3, 3)};
    D2 dst[8];
    mlCopyVectorArray(0, src, dst);
    mlCopyVectorArray(-4, src, dst);
    EXPECT_EQ(dst[0].x, 0.0);
    mlCopyVectorArray(2, src, dst);
    EXPECT_EQ(mlAppendVectorArray(5, dst, 0, src), 5);
    EXPECT_EQ(mlAppendVectorArray(5, dst, -2, src), 3);  // n + m, nothing copied
    EXPECT_EQ(mlAppendVectorArray(2, dst, 3, src), 5);
    const double xs[8] = {1, 2, 1, 2, 3, 0, 0, 0};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(dst[i].x, xs[i]) << i;
}

TYPED_TEST(FixedVectorReal, DimensionConversions) {
    using T = TypeParam;
    const V2<T> a(1, 2);
    const V3<T> b(1, 2, 3);
    const V4<T> c(2, 4, 6, 2);
    EXPECT_EQ(mlVector2To3(a), V3<T>(1, 2, 1));
    EXPECT_EQ(mlVector2To3(a, 0.5), V3<T>(1, 2, T(0.5)));
    EXPECT_EQ(mlVector3To4(b), V4<T>(1, 2, 3, 1));
    EXPECT_EQ(mlVector3To4(b, -7), V4<T>(1, 2, 3, -7));
    EXPECT_EQ(mlAffineVector3To2(b), V2<T>(1, 2));
    EXPECT_EQ(mlCutVector3To2(b), V2<T>(1, 2));
    EXPECT_EQ(mlAffineVector4To3(c), V3<T>(2, 4, 6));
    EXPECT_EQ(mlCutVector4To3(c), V3<T>(2, 4, 6));
    T dropped = 0;
    EXPECT_EQ(mlVector3To2(b, dropped), V2<T>(1, 2));  // no division
    EXPECT_EQ(dropped, T(3));
    EXPECT_EQ(mlVector4To3(c, dropped), V3<T>(2, 4, 6));
    EXPECT_EQ(dropped, T(2));
    // Homogeneous division: the dropped coordinate is stored even on failure.
    V3<T> out3(T(9));
    EXPECT_EQ(mlVector4To3(c, mlDefaultPrecision<T>, out3, dropped), 1);
    EXPECT_EQ(out3, V3<T>(1, 2, 3));
    EXPECT_EQ(mlVector4To3(V4<T>(2, 4, 6, 0), mlDefaultPrecision<T>, out3, dropped), 0);
    EXPECT_EQ(dropped, T(0));
    EXPECT_EQ(out3, V3<T>(1, 2, 3));
    EXPECT_EQ(mlVector4To3(V4<T>(1, 1, 1, T(0.5)), T(0.5), out3, dropped), 1);  // prec == |w|
    EXPECT_EQ(out3, V3<T>(T(2)));
    V2<T> out2(T(7));
    EXPECT_EQ(mlVector3To2(V3<T>(3, 6, -3), 0.1, out2, dropped), 1);
    EXPECT_EQ(out2, V2<T>(-1, -2));
    EXPECT_EQ(mlVector3To2(V3<T>(3, 6, T(0.05)), 0.1, out2, dropped), 0);
    EXPECT_EQ(dropped, T(0.05));
    EXPECT_EQ(out2, V2<T>(-1, -2));
}

}  // namespace
