#include <ml/vector_fixed.h>

#include <ml/vector_n.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

template <class T>
using V2 = CMLVector2<T>;
template <class T>
using V3 = CMLVector3<T>;
template <class T>
using V4 = CMLVector4<T>;
using D2 = CMLVector2<double>;
using D3 = CMLVector3<double>;

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

// Round-off allowance of one short computation, and a value below sqrt(P) (its length is 0).
template <class T>
constexpr T kTol = std::is_same_v<T, float> ? T(1e-6) : T(1e-14);
template <class T>
constexpr T kTiny = std::is_same_v<T, float> ? T(1e-4) : T(1e-5);

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

TYPED_TEST(FixedVectorTyped, PlainValueConstructorsAndClampedIndex) {
    using V = TypeParam;
    using T = Elem<V>;
    constexpr int n = V::Dim();
    static_assert(std::is_standard_layout_v<V> && std::is_trivially_copyable_v<V>);
    static_assert(sizeof(V) == n * sizeof(T) && offsetof(V, y) == sizeof(T));
    EXPECT_EQ(V(), Ramp<V>(0, 0));
    EXPECT_EQ(V(5), Ramp<V>(0, 0));  // the int is ignored, not spread
    EXPECT_EQ(V(T(2.5)), Ramp<V>(2.5, 0));
    const T src[5] = {1, 2, 3, 4, 5};
    V v(CMLVectorN<T>(5, src));  // the first n elements of a longer dynamic vector
    EXPECT_EQ(v, Ramp<V>(1, 1));
    T out[4] = {};
    v.Dump(out);
    EXPECT_EQ(out[n - 1], T(n));
    EXPECT_EQ(v[-1], T(n));  // every index but 0 .. n-2 gives the last component
    v[n] = 30;
    EXPECT_EQ(v[100], T(30));
    v = CMLVectorN<T>(n, T(-1));
    EXPECT_EQ(v, V(T(-1)));
}

TYPED_TEST(FixedVectorTyped, ComponentwiseArithmeticAndEquality) {
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
    (c *= T(2)) /= T(4);
    EXPECT_EQ(c, Ramp<V>(5, 5));
    c /= c.x;  // a compound scalar is read once: every component by the original x
    EXPECT_EQ(c, Ramp<V>(1, 1));
    const V q = Ramp<V>(0, 1) / T(0);  // not guarded: 0/0 and 1/0
    EXPECT_TRUE(std::isnan(q.x) && std::isinf(q.y));
    // Equality allows P per component, not on the length of the difference.
    const T p = mlDefaultPrecision<T>;
    V near;
    near[V::Dim() - 1] = p;  // |a - b| == P is still equal
    EXPECT_EQ(V() == near, 1);
    near[0] = T(2) * p;
    EXPECT_EQ(V() == near, 0);
    EXPECT_EQ(V() != near, 1);
    EXPECT_EQ(V() == V(p), 1);
    const V nan(std::numeric_limits<T>::quiet_NaN());
    EXPECT_EQ(nan == nan, 0);  // a NaN component is never within P of anything
}

TYPED_TEST(FixedVectorReal, NormsComponentsAndSmallValues) {
    using T = TypeParam;
    const V3<T> v(3, -4, 0);
    EXPECT_EQ(v.Length(), T(5));
    EXPECT_EQ(v.SquareLength(), T(25));
    EXPECT_EQ(v.NormInf(), T(4));
    EXPECT_EQ(v.Norm1(), T(7));
    // Lengths below sqrt(P) are 0, so such vectors refuse to normalise and stay as they are.
    V3<T> t(kTiny<T>, kTiny<T> / 2, 0);
    EXPECT_EQ(t.Length(), T(0));
    EXPECT_GT(t.SquareLength(), T(0));
    EXPECT_EQ(t.Normalize(), 0);
    EXPECT_EQ(t.x, kTiny<T>);
    // One reciprocal, then products: 3 * (1/5) differs from 3/5 in double, 3 * (1/7) from 3/7
    // in float.
    V3<T> d(3, 0, 4), f(2, 3, 6);
    EXPECT_EQ(d.Normalize() + f.Normalize(), 2);
    EXPECT_EQ(d.x, T(3) * (T(1) / T(5)));
    EXPECT_EQ(f.y, T(3) * (T(1) / T(7)));
    const V2<T> u(3, 4);
    EXPECT_EQ(u.IsAlmostZero(T(5)) + u.IsAlmostUnit(T(4)), 2);  // both ends included
    EXPECT_EQ(u.IsAlmostZero(T(4.5)) + u.IsAlmostUnit(T(3.5)), 0);
    V4<T> w(T(0.5), T(-0.25), T(0.75), T(-1));
    w.AnnulateSmallComponents(T(0.5));  // strict: 0.5 stays
    EXPECT_EQ(w, V4<T>(T(0.5), 0, T(0.75), T(-1)));
    // Extremes: ties go to the lower index; useAbs compares absolute values.
    EXPECT_EQ(V3<T>(7, 3, 7).GetIndexOfMaxComponent(0), 0);
    EXPECT_EQ(V3<T>(3, 7, 7).GetIndexOfMaxComponent(0), 1);
    EXPECT_EQ(V3<T>(3, 1, 1).GetIndexOfMinComponent(0), 1);
    EXPECT_EQ(w.GetIndexOfMaxComponent(1), 3);
    EXPECT_EQ(w.GetIndexOfMinComponent(1), 1);
    EXPECT_EQ(w.GetMaxComponent(1), T(1));
    EXPECT_EQ(w.GetMinComponent(0), T(-1));
    w.SetToConstant(T(-2));
    EXPECT_EQ(w, V4<T>(T(-2)));
    w.SetToZero();
    EXPECT_EQ(w, V4<T>());
}

TYPED_TEST(FixedVectorReal, MemberExtrasOfTwoAndThreeDimensions) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-4) : T(1e-12);
    // x, y, Angle_0_360, Angle_MINUS_180_180
    const T rows[][4] = {{0, -1, 270, -90}, {-1, 0, 180, 180}, {-1, -1, 225, -135}, {1, 1, 45, 45}};
    for (const auto& r : rows) {
        EXPECT_NEAR(V2<T>(r[0], r[1]).Angle_0_360(), r[2], tol) << r[0] << ", " << r[1];
        EXPECT_NEAR(V2<T>(r[0], r[1]).Angle_MINUS_180_180(), r[3], tol) << r[0] << ", " << r[1];
    }
    EXPECT_EQ(V2<T>(1, 0).Angle_0_360(), T(0));
    const V2<T> r(2, 3);
    EXPECT_EQ(r.Rotate90DegsCCW(), V2<T>(-3, 2));
    EXPECT_EQ(r, V2<T>(2, 3));
    const V3<T> a(1, 2, 3), b(4, 5, 6);
    EXPECT_EQ(a.Cross(b), V3<T>(-3, 6, -3));
    EXPECT_EQ(mlCross(b, a), V3<T>(3, -6, 3));
    EXPECT_EQ(mlMixedProduct(a, b, V3<T>(0, 0, 1)), T(-3));
    EXPECT_EQ(mlCross2D(V2<T>(1, 2), V2<T>(3, 4)), T(-2));
    // DecomposeInBasis succeeds only when the solver returns 1 with status 1.
    const V2<T> e1(2, 1), e2(-1, 1), f1(1, 0), f2(1, T(1e-3));
    T c1 = 0, c2 = 0, c3 = 0;
    ASSERT_EQ(V2<T>(8, 1).DecomposeInBasis(e1, e2, c1, c2, mlDefaultPrecision<T>), 1);
    EXPECT_EQ(std::make_pair(c1, c2), std::make_pair(T(3), T(-2)));
    // A basis the solver calls ill-conditioned (status 2) at 6e-4 fails and leaves c1 and c2.
    EXPECT_EQ((f1 + f2).DecomposeInBasis(f1, f2, c1, c2, T(6e-4)), 0);
    EXPECT_EQ(std::make_pair(c1, c2), std::make_pair(T(3), T(-2)));
    EXPECT_EQ((f1 + f2).DecomposeInBasis(f1, f2, c1, c2, T(1e-4)), 1);
    // Three dimensions: e1, e2, e3 are the columns of the system.
    const V3<T> g1(1, 1, 0), g2(0, 1, 1), g3(1, 0, 1);
    ASSERT_EQ(V3<T>(5, 1, 2).DecomposeInBasis(g1, g2, g3, c1, c2, c3), 1);
    EXPECT_LT(std::fabs(c1 - 2) + std::fabs(c2 + 1) + std::fabs(c3 - 3), 4 * kTol<T>);
    EXPECT_EQ(V3<T>(1, 2, 3).DecomposeInBasis(g1, g2, g1 + g2, c1, c2, c3), 0);
    const V3<T> h1(1, 0, 0), h2(0, 1, 0), h3(0, 0, T(1e-3)), v(1, 1, T(1e-3));
    EXPECT_EQ(v.DecomposeInBasis(h1, h2, h3, c1, c2, c3, T(8e-4)), 0);  // status 2
    EXPECT_NEAR(c3, T(3), kTol<T>);
    EXPECT_EQ(v.DecomposeInBasis(h1, h2, h3, c1, c2, c3, T(1e-6)), 1);
}

TYPED_TEST(FixedVectorReal, DistancesAndOrthogonality) {
    using T = TypeParam;
    const V3<T> a(1, 2, 3), b(1 + 2 * kTiny<T>, 2, 3), c(1 + 10 * kTiny<T>, 2, 3), zero;
    EXPECT_EQ(mlDist(a, b), T(0));  // below sqrt(P)
    EXPECT_GT(mlSquareDist(a, b), T(0));
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-12), 1);  // even with a tight precision
    EXPECT_EQ(mlAreAlmostEqual(a, c), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, c, 20 * kTiny<T>), 1);
    EXPECT_EQ(mlAreAlmostEqual(V2<T>(), V2<T>(3, 4), 5.0), 1);  // both ends included
    EXPECT_EQ(mlAreAlmostEqual(V4<T>(), V4<T>(1, 1, 1, 1), 1.99), 0);
    // Orthogonality: m = |a| |b|; 1 when precision > m, else |a.b| < precision * m.
    EXPECT_EQ(mlAreOrthogonal(zero, a, T(1e-30)), 1);
    EXPECT_EQ(mlAreOrthogonal(zero, a, 0), 0);  // 0 > 0 fails, 0 < 0 fails
    // |a.b| = 1 against precision * |a| |b| = 0.01 * 100 * 1.00005.
    const V2<T> p(100, 0), q(T(0.01), 1);
    EXPECT_EQ(mlAreOrthogonal(p, q, T(0.011)), 1);
    EXPECT_EQ(mlAreOrthogonal(p, q, T(0.009)), 0);
    EXPECT_EQ(mlAreOrthogonal(V4<T>(1, 0, 0, 0), V4<T>(0, 0, 0, 1), 0.001), 1);
}

TYPED_TEST(FixedVectorReal, ColinearityScalesByTheLargestComponent) {
    using T = TypeParam;
    // The 3D cross product's length is guarded (0 below sqrt(P), whatever the precision); the
    // 2D cross product is not.
    EXPECT_EQ(mlAreColinear(V3<T>(1, 0, 0), V3<T>(1, kTiny<T>, 0), 1e-12), 1);
    EXPECT_EQ(mlAreColinear(V3<T>(1, 0, 0), V3<T>(1, 100 * kTiny<T>, 0), 1e-12), 0);
    EXPECT_EQ(mlAreColinear(V2<T>(1, 0), V2<T>(1, kTiny<T>), 1e-12), 0);
    // Cross length 100, largest component 100: a test scaled by the product of the lengths
    // would accept this pair (sine 0.01) above 0.01; the largest-component scale needs 1.
    EXPECT_EQ(mlAreColinear(V3<T>(100, 0, 0), V3<T>(100, 1, 0), T(0.5)), 0);
    EXPECT_EQ(mlAreColinear(V3<T>(100, 0, 0), V3<T>(100, 1, 0), T(2)), 1);
    EXPECT_EQ(mlAreColinear(V2<T>(100, 0), V2<T>(100, 1), T(0.5)), 0);
    EXPECT_EQ(mlAreColinear(V3<T>(T(1e-3), 0, 0), V3<T>(0, T(1e-3), 0), T(0.01)), 1);  // tiny
    // Points: M comes from p1 - p0 and p2 - p0 (here 1), not from the points (about 1000).
    const V3<T> q0(1000, 1000, 1000), dx(1, 0, 0), dy(0, 1, 0);
    EXPECT_EQ(mlArePointsCollinear(q0, q0 + dx, q0 + dy, T(0.01)), 0);
    EXPECT_EQ(mlArePointsCollinear(q0, q0 + dx, q0 + dy, T(1.5)), 1);
    // Coplanarity: |triple| against precision * M, M from all three (50 < 1 * 100 here).
    const V3<T> a(100, 0, 0), b(0, 100, 0), c(0, 0, T(0.01));
    EXPECT_EQ(mlAreVectorsCoplanar(a, dy * T(2), V3<T>(0, 0, T(0.25)), T(1)), 1);
    EXPECT_EQ(mlAreVectorsCoplanar(a, b, c, T(0.5)), 0);
    EXPECT_EQ(mlArePointsCoplanar(q0, q0 + a, q0 + b, q0 + c, T(0.5)), 0);
}

TYPED_TEST(FixedVectorReal, AreaMidpointCombinationsAndMeans) {
    using T = TypeParam;
    const V2<T> p0(1, 1), p1(3, 1), p2(1, 4);
    EXPECT_EQ(mlGetTriangleArea(p0, p1, p2), T(3));
    EXPECT_EQ(mlGetTriangleArea(p0, p2, p1), T(3));  // orientation does not matter
    EXPECT_EQ(mlFindMidpoint(p1, p2), V2<T>(2, T(2.5)));
    const V3<T> v[3] = {V3<T>(1, 2, 3), V3<T>(4, 5, 6), V3<T>(7, 8, 9)};
    EXPECT_EQ(mlCombine2(v[0], v[1], 2, -1), V3<T>(-2, -1, 0));
    EXPECT_EQ(mlCombine3(v[0], v[1], v[2], 1, 1, -1), V3<T>(-2, -1, 0));
    EXPECT_EQ(mlCombine4(p0, p1, p2, p0, 1, 1, 1, T(-0.5)), V2<T>(T(4.5), T(5.5)));
    const T w[3] = {1, 2, -1};
    EXPECT_EQ(mlCombine(3, v, w), V3<T>(2, 4, 6));
    EXPECT_EQ(mlCombine(0, v, w), v[0]);  // the first term is always taken
    EXPECT_EQ(mlFindMean(v, 3), V3<T>(4, 5, 6));
    const V2<T> u[3] = {V2<T>(1, 2), V2<T>(2, 6), V2<T>(2, -3)};
    EXPECT_EQ(mlCombine(2, u, w + 1), V2<T>(0, -2));
    EXPECT_EQ(mlFindMean(u, 3).y, T(5) * (T(1) / T(3)));  // a product with 1/n, not 5/3
    EXPECT_TRUE(std::isnan(mlFindMean(u, 0).x));          // no points: 0 / 0
}

TYPED_TEST(FixedVectorReal, AnglesAndRatiosWithoutGuards) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-5) : T(1e-13), h = T(1) / std::sqrt(T(2));
    const V3<T> x(2, 0, 0), y(0, 3, 0), b(3, 3, 0), zero;
    EXPECT_NEAR(mlFindAngleInDegrees(V2<T>(1, 0), V2<T>(-1, 1)), T(135), T(100) * tol);
    EXPECT_EQ(mlFindAngleInDegrees(x, b), mlFindAngleInRadians(x, b) * T(57.29577951308232));
    // Only the first vector is guarded (fixed 1e-6 on its guarded length): 0 for a zero or
    // sub-sqrt(P) first vector, NaN for a zero second one.
    EXPECT_EQ(mlFindAngleInRadians(V3<T>(kTiny<T>, 0, 0), y), T(0));
    EXPECT_EQ(mlFindAngleInDegrees(V2<T>(), V2<T>(0, 1)), T(0));
    EXPECT_TRUE(std::isnan(mlFindAngleInRadians(x, zero)));
    EXPECT_TRUE(std::isnan(mlFindAngleInDegrees(V2<T>(1, 0), V2<T>())));
    // The cosine is not clamped: |a|^2 = 18, sqrt(18)^2 rounds below 18, arccos(1 + ulp) = NaN.
    EXPECT_TRUE(std::isnan(mlFindAngleInRadians(V3<T>(1, 1, 4), V3<T>(1, 1, 4))));
    // Ratios: sin = |a x b| / (|a| |b|), cos = a.b / (|a| |b|), tan = |a x b| / a.b, cot.
    EXPECT_NEAR(mlSin(x, b), h, tol);
    EXPECT_NEAR(mlCos(x, b), h, tol);
    EXPECT_EQ(mlTan(x, b) + mlCot(x, b), T(2));
    const V2<T> c(1, 0), d(-1, T(1.7320508075688772));
    EXPECT_NEAR(mlCos(c, d), T(-0.5), tol);
    EXPECT_NEAR(mlTan(c, d), -std::sqrt(T(3)), 4 * tol);
    EXPECT_TRUE(std::isnan(mlCos(zero, x)) && std::isnan(mlSin(x, zero)));
    EXPECT_TRUE(std::isinf(mlTan(x, y)) && std::isinf(mlCot(x, x * T(2))));
    // The 3D cross length is guarded, the 2D cross product is not.
    EXPECT_EQ(mlSin(x, V3<T>(1, kTiny<T>, 0)), T(0));
    EXPECT_NEAR(mlSin(c, V2<T>(1, kTiny<T>)), kTiny<T>, T(1e-4) * kTiny<T>);
}

TYPED_TEST(FixedVectorReal, GramSchmidtAndHandedness) {
    using T = TypeParam;
    const T tol = 4 * kTol<T>;
    const V3<T> a(1, T(0.2), T(0.1)), b(T(0.3), 1, T(0.2)), c(T(0.1), T(0.1), 1);
    V3<T> e[3] = {a, b, c};
    ASSERT_EQ(mlOrthonormalize(e[0], e[1], e[2], T(1e-6)), 1);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(e[i].Dot(e[j]), T(i == j), tol) << i << j;
    // e1 keeps its direction, e2 stays in the plane of a and b.
    EXPECT_NEAR(e[0].Dot(a), a.Length(), tol);
    EXPECT_NEAR(mlMixedProduct(a, b, e[1]), T(0), tol);
    EXPECT_EQ(mlAreOrthonormalized(e[0], e[1], e[2], T(1e-5)), 1);
    EXPECT_EQ(mlAreOrthonormalized(a, b, c, T(1e-5)), 0);
    V2<T> g1(3, 4), g2(-1, 2);
    ASSERT_EQ(mlOrthonormalize(g1, g2, T(1e-6)), 1);
    EXPECT_NEAR(g1.x, T(0.6), tol);
    EXPECT_NEAR(g1.Dot(g2), T(0), tol);
    EXPECT_NEAR(g2.Length(), T(1), tol);
    EXPECT_GT(mlCross2D(g1, g2), T(0));  // orientation kept
    // Handedness: e1.(e2 x e3) >= 0 in 3D, and the lengths within precision of 1.
    const V3<T> x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z.Negate(), T(1e-6)), 0);
    EXPECT_EQ(mlAreOrthonormalized(x, y, z * T(1.01), T(1e-6)), 0);
    // In 2D the last test is on the dot product: a clockwise pair passes, a dot product just
    // below zero fails although the pair is orthogonal within the precision.
    EXPECT_EQ(mlAreOrthonormalized(V2<T>(1, 0), V2<T>(0, -1), T(1e-6)), 1);
    EXPECT_EQ(mlAreOrthonormalized(V2<T>(1, 0), V2<T>(T(1e-12), 1), T(1e-6)), 1);
    EXPECT_EQ(mlAreOrthonormalized(V2<T>(1, 0), V2<T>(T(-1e-12), 1), T(1e-6)), 0);
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
    D3 t1(2, 0, 0), t2(0, 3, 0), t3(1, 1, 1e-6);
    EXPECT_EQ(mlOrthonormalize(t1, t2, t3, 1e-30), 1);
    EXPECT_TRUE(t1.x == 1 && t2.y == 1 && t3.x == 0 && t3.y == 0 && t3.z == 1e-6);
    D2 g1(1, 0), g2(5, 1e-6);
    EXPECT_EQ(mlOrthonormalize(g1, g2, 1e-30), 1);
    EXPECT_TRUE(g2.x == 0 && g2.y == 1e-6);
    // e1 and e2 are divided by mlSafeSqrt of their squared lengths, which is 0 below sqrt(P).
    D3 u1(1e-6, 0, 0), u2(0, 1, 0), u3(0, 0, 1);
    EXPECT_EQ(mlOrthonormalize(u1, u2, u3, 1e-30), 1);
    EXPECT_TRUE(std::isinf(u1.x) && std::isnan(u1.y));
}

TYPED_TEST(FixedVectorReal, ArraysAndDimensionConversions) {
    using T = TypeParam;
    V2<T> a, dst[6];
    a.Fill(1, 2);
    const V2<T> src[3] = {a, a * T(2), a * T(3)};
    mlCopyVectorArray(-4, src, dst);
    mlCopyVectorArray(2, src, dst);
    EXPECT_EQ(mlAppendVectorArray(5, dst, 0, src), 5);
    EXPECT_EQ(mlAppendVectorArray(5, dst, -2, src), 3);  // n + m, nothing copied
    EXPECT_EQ(mlAppendVectorArray(2, dst, 3, src), 5);
    mlSwapVectors(dst[0], dst[4]);
    EXPECT_TRUE(dst[0].x == 3 && dst[1].x == 2 && dst[2].x == 1 && dst[3].x == 2 && dst[4].x == 1);
    EXPECT_EQ(dst[5], V2<T>());
    const T raw[4] = {2, 4, 6, 2};
    V3<T> b;
    b.Fill(raw + 1);
    const V4<T> c(raw);
    EXPECT_EQ(mlVector2To3(a), V3<T>(1, 2, 1));
    EXPECT_EQ(mlVector3To4(b, -7), V4<T>(4, 6, 2, -7));
    EXPECT_EQ(mlAffineVector3To2(b), V2<T>(4, 6));
    EXPECT_EQ(mlCutVector4To3(c), V3<T>(2, 4, 6));
    T dropped = 0;
    EXPECT_EQ(mlVector3To2(b, dropped), V2<T>(4, 6));  // no division
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
}

}  // namespace
