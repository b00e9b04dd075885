#include <ml/quaternion.h>

#include <ml/matrix_fixed.h>
#include <ml/vector_fixed.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

namespace {

template <class T>
class QuaternionTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(QuaternionTyped, RealTypes);

template <class T>
using Q = CMLQuaternion<T>;
template <class T>
using V3 = CMLVector3<T>;

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(2e-6) : T(1e-14);
}

// |a[i] - b[i]| <= tol for every component of a quaternion, a vector or a row-major matrix.
template <class A, class T>
::testing::AssertionResult Near(const A& a, const A& b, T tol) {
    constexpr int n = std::is_same_v<A, Q<T>> ? 4 : std::is_same_v<A, V3<T>> ? 3 : 9;
    for (int i = 0; i < n; ++i) {
        if (!(std::fabs(a[i] - b[i]) <= tol))
            return ::testing::AssertionFailure()
                   << "component " << i << ": " << a[i] << " vs " << b[i];
    }
    return ::testing::AssertionSuccess();
}

// q or -q: the same rotation.
template <class T>
::testing::AssertionResult SameRotation(const Q<T>& a, const Q<T>& b, T tol) {
    return Near(a, b, tol) ? ::testing::AssertionSuccess() : Near(a, b.Negate(), tol);
}

template <class T>
Q<T> Unit(T w, T x, T y, T z) {
    Q<T> q(w, x, y, z);
    q.Normalize();
    return q;
}

template <class T>
Q<T> AxisQuaternion(T angle, int axis) {
    Q<T> q;
    q.SetRotation(angle, V3<T>(axis == 0 ? 1 : 0, axis == 1 ? 1 : 0, axis == 2 ? 1 : 0));
    return q;
}

template <class T>
CMLMatrix3<T> Diagonal(T a, T b, T c) {
    const T v[9] = {a, 0, 0, 0, b, 0, 0, 0, c};
    return CMLMatrix3<T>(v);
}

// ---- Values, norms, predicates -----------------------------------------------------------------

TYPED_TEST(QuaternionTyped, PlainValueWithAClampingIndex) {
    using T = TypeParam;
    static_assert(std::is_standard_layout_v<Q<T>> && std::is_trivially_copyable_v<Q<T>>);
    static_assert(!std::is_polymorphic_v<Q<T>> && sizeof(Q<T>) == 4 * sizeof(T));
    static_assert(offsetof(Q<T>, w) == 0 && offsetof(Q<T>, z) == 3 * sizeof(T));
    EXPECT_TRUE(Near(Q<T>(), Q<T>(1, 0, 0, 0), T(0)));
    Q<T> q(1, 2, 3, 4);
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(q[i], T(i + 1));
    for (int i : {0, 4, 7, -1})  // every index outside 1..3 gives w
        EXPECT_EQ(q[i], T(1)) << i;
    q[9] = T(5);
    EXPECT_EQ(q.w, T(5));
}

TYPED_TEST(QuaternionTyped, LengthNormalizeAndPredicates) {
    using T = TypeParam;
    // Below a squared length of 1e-6 the length is 0 and Normalize sets the identity.
    EXPECT_EQ(Q<T>(0, 3, 0, 4).Length(), T(5));
    EXPECT_EQ(Q<T>(0, 0, T(0.0009), 0).Length(), T(0));  // squared 8.1e-7
    EXPECT_NEAR(Q<T>(0, 0, T(0.0011), 0).Length(), T(0.0011), T(1e-9));
    const Q<T> rows[][2] = {{Q<T>(0, 0, 0, T(0.0001)), Q<T>()},
                            {Q<T>(0, 0, 0, 0), Q<T>()},
                            {Q<T>(0, 3, 0, 4), Q<T>(0, T(0.6), 0, T(0.8))},
                            {Q<T>(0, 0, 0, T(0.002)), Q<T>(0, 0, 0, 1)}};
    for (const auto& row : rows)
        EXPECT_TRUE(Near(Unit(row[0].w, row[0].x, row[0].y, row[0].z), row[1], Tol<T>()));
    // IsUnit and IsPure are strict, IsIdentity inclusive.
    EXPECT_EQ(Q<T>(0, T(1.5), 0, 0).IsUnit(T(1.25)), 0);  // |2.25 - 1| = 1.25
    EXPECT_EQ(Q<T>(0, T(1.5), 0, 0).IsUnit(T(1.26)), 1);
    EXPECT_EQ(Q<T>(T(0.5), 1, 1, 1).IsPure(T(0.5)), 0);
    EXPECT_EQ(Q<T>(T(-0.25), 1, 1, 1).IsPure(T(0.5)), 1);
    EXPECT_EQ(Q<T>(T(1.5), T(0.5), T(-0.5), 0).IsIdentity(T(0.5)), 1);
    EXPECT_EQ(Q<T>(T(1.5), T(0.75), 0, 0).IsIdentity(T(0.5)), 0);
    EXPECT_EQ(Q<T>(-1, 0, 0, 0).IsIdentity(T(0.5)), 0);  // the same rotation, another value
}

TYPED_TEST(QuaternionTyped, ConjugateNegateInvert) {
    using T = TypeParam;
    // In place on a named value; a new quaternion from a const one or a temporary.
    static_assert(std::is_void_v<decltype(std::declval<Q<T>&>().Conjugate())>);
    static_assert(std::is_void_v<decltype(std::declval<Q<T>&>().Invert())>);
    static_assert(std::is_same_v<decltype(std::declval<const Q<T>&>().Negate()), Q<T>>);
    const Q<T> c(1, 2, 3, 4);
    EXPECT_TRUE(Near(c.Conjugate(), Q<T>(1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(Q<T>(1, 2, 3, 4).Negate(), Q<T>(-1, -2, -3, -4), T(0)));
    Q<T> m = c, n = c, i = c;
    m.Conjugate();
    n.Negate();
    i.Invert();
    EXPECT_TRUE(Near(m, Q<T>(1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(n, Q<T>(-1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(i, Q<T>(T(1) / 30, T(-2) / 30, T(-3) / 30, T(-4) / 30), Tol<T>()));
    EXPECT_TRUE(Near(c.Invert(), i, T(0)));
    EXPECT_TRUE(Near(c * i, Q<T>(), T(10) * Tol<T>()));
    // The divisor is clamped at 1e-6: zero stays zero, squared length 8.1e-7 is multiplied by
    // 1e6, and 1.21e-6 is a true division.
    EXPECT_TRUE(Near(Q<T>(0, 0, 0, 0).Invert(), Q<T>(0, 0, 0, 0), T(0)));
    EXPECT_NEAR(Q<T>(0, 0, 0, T(0.0009)).Invert().z, T(-900), T(1e-3));
    EXPECT_NEAR(Q<T>(0, 0, 0, T(0.0011)).Invert().z, T(-1) / T(0.0011), T(0.01));
}

// ---- Rotations, arithmetic, exponential ---------------------------------------------------------

TYPED_TEST(QuaternionTyped, RotationsAreRightHandedSandwichProducts) {
    using T = TypeParam;
    const T t = T(10) * Tol<T>();
    Q<T> q;
    q.SetRotation(mlPi<T> / 2, V3<T>(0, 0, 2));  // the axis is used as given
    EXPECT_TRUE(Near(q, Q<T>(std::sqrt(T(0.5)), 0, 0, std::sqrt(T(2))), Tol<T>()));
    const V3<T> e[3] = {V3<T>(1, 0, 0), V3<T>(0, 1, 0), V3<T>(0, 0, 1)};
    for (int axis = 0; axis < 3; ++axis)  // a quarter turn takes the next axis to the one after
        EXPECT_TRUE(Near(AxisQuaternion(mlPi<T> / 2, axis).Rotate(e[(axis + 1) % 3]),
                         e[(axis + 2) % 3], t));
    // Rotate is q (0, v) q*, also for a non-unit q; the matrix acts alike; products compose
    // rotations right first.
    const V3<T> v(T(0.3), T(-1.7), T(2.2));
    const Q<T> u = Unit(T(0.9), T(-0.2), T(0.3), T(0.4));
    for (const Q<T>& p : {u, Q<T>(1, 2, -1, T(0.5))})
        EXPECT_TRUE(Near(p.Rotate(v), (p * Q<T>(0, v) * p.Conjugate()).GetVector(), T(10) * t));
    EXPECT_TRUE(Near(u.GetMatrix() * v, u.Rotate(v), t));
    q.SetRotation(T(-1.9), V3<T>(0, 1, 0));
    EXPECT_TRUE(Near((u * q).Rotate(v), u.Rotate(q.Rotate(v)), t));
    // Angle and axis back; no rotation, a turn by 2 pi and w rounded above 1 have a zero axis.
    q.SetRotation(T(1.2), V3<T>(T(0.36), T(0.48), T(0.8)));
    T angle = 0;
    V3<T> axis;
    q.GetAngleAndAxis(angle, axis);
    EXPECT_NEAR(angle, T(1.2), t);
    EXPECT_TRUE(Near(axis, V3<T>(T(0.36), T(0.48), T(0.8)), t));
    const T above = T(1) + T(4) * std::numeric_limits<T>::epsilon();
    for (const auto& [r, expected] :
         {std::pair(Q<T>(), T(0)), std::pair(Q<T>(-1, 0, 0, 0), mlTwoPi<T>),
          std::pair(Q<T>(above, 0, 0, 0), T(0))}) {
        r.GetAngleAndAxis(angle, axis);
        EXPECT_NEAR(angle, expected, Tol<T>());
        EXPECT_TRUE(Near(axis, V3<T>(0, 0, 0), T(0)));
    }
    if constexpr (std::is_same_v<T, double>) {  // float cannot hold a half angle this small
        // The axis appears once the sine of the half angle exceeds 1e-6.
        Q<T>(std::cos(T(5e-7)), std::sin(T(5e-7)), 0, 0).GetAngleAndAxis(angle, axis);
        EXPECT_TRUE(Near(axis, V3<T>(0, 0, 0), T(0)));
        Q<T>(std::cos(T(2e-6)), std::sin(T(2e-6)), 0, 0).GetAngleAndAxis(angle, axis);
        EXPECT_NEAR(axis.x, T(1), T(1e-3));
    }
}

TYPED_TEST(QuaternionTyped, ArithmeticExactValues) {
    using T = TypeParam;
    EXPECT_TRUE(Near(Q<T>(1, 2, 3, 4) * Q<T>(5, 6, 7, 8), Q<T>(-60, 12, 30, 24), T(0)));
    EXPECT_TRUE(Near(Q<T>(5, 6, 7, 8) * Q<T>(1, 2, 3, 4), Q<T>(-60, 20, 14, 32), T(0)));
    EXPECT_TRUE(Near(Q<T>(0, 1, 0, 0) * Q<T>(0, 0, 1, 0), Q<T>(0, 0, 0, 1), T(0)));  // i j = k
    Q<T> a(1, 2, 3, 4);
    a *= Q<T>(5, 6, 7, 8);  // this on the left
    EXPECT_TRUE(Near(a, Q<T>(-60, 12, 30, 24), T(0)));
    a = Q<T>(1, 2, 3, 4) + Q<T>(T(0.5), -1, 2, 8) * T(2);
    a -= Q<T>(1, 1, 1, 1);
    a *= T(-0.5);
    EXPECT_TRUE(Near(a, Q<T>(T(-0.5), T(0.5), -3, T(-9.5)), T(0)));
}

TYPED_TEST(QuaternionTyped, EqualityHasAFixedInclusiveTolerance) {
    using T = TypeParam;
    const T p = std::is_same_v<T, float> ? T(1e-7) : T(1e-9);
    for (int i = 0; i < 4; ++i) {
        Q<T> q(0, 0, 0, 0);
        q[i] = (i % 2 ? p : -p);
        EXPECT_TRUE((Q<T>(0, 0, 0, 0) == q) == 1 && (Q<T>(0, 0, 0, 0) != q) == 0) << i;
        q[i] = 2 * q[i];
        EXPECT_TRUE((Q<T>(0, 0, 0, 0) == q) == 0 && (Q<T>(0, 0, 0, 0) != q) == 1) << i;
    }
}

TYPED_TEST(QuaternionTyped, ExpLogAndPow) {
    using T = TypeParam;
    const T t = T(100) * Tol<T>();
    for (const Q<T>& q : {Q<T>(T(0.9), T(-0.2), T(0.3), T(0.4)), Q<T>(T(-2), T(0.5), T(1), T(-1)),
                          Q<T>(T(3), 0, 0, T(1e-3)), Q<T>(T(0.25), T(2), T(-3), T(1))})
        EXPECT_TRUE(Near(q.Log().Exp(), q, t));
    const Q<T> p(T(0.3), T(-0.4), T(0.5), T(0.6));
    EXPECT_TRUE(Near(p.Exp().Log(), p, t));
    const Q<T> h = p.Pow(T(0.5));
    EXPECT_TRUE(Near(h * h, p, t));
    // The log of a rotation is half the angle times the axis; a power scales the angle.
    Q<T> r, third;
    r.SetRotation(T(2.5), V3<T>(0, T(0.6), T(-0.8)));
    EXPECT_TRUE(Near(r.Log(), Q<T>(0, 0, T(0.75), -1), T(10) * Tol<T>()));
    third.SetRotation(T(2.5) / 3, V3<T>(0, T(0.6), T(-0.8)));
    EXPECT_TRUE(Near(r.Pow(T(1) / 3), third, T(10) * Tol<T>()));
    // |u| < 1e-6: the vector part of exp is exp(w) * u.
    EXPECT_EQ(Q<T>(0, T(5e-7), 0, 0).Exp().x, T(5e-7));
    EXPECT_EQ(Q<T>(1, 0, 0, T(-5e-7)).Exp().z, std::exp(T(1)) * T(-5e-7));
    // The log floors the squared length at 1e-9 and takes the angle as pi/2 when |w| < 1e-6.
    const Q<T> zero = Q<T>(0, 0, 0, 0).Log();
    EXPECT_TRUE(Near(zero, Q<T>(T(0.5) * std::log(T(1e-9)), 0, 0, 0), T(10) * Tol<T>()));
    EXPECT_EQ(Q<T>(0, T(1e-5), 0, 0).Log().w, zero.w);  // squared length 1e-10
    const Q<T> pure = Q<T>(T(9e-7), 0, T(2), 0).Log();
    EXPECT_EQ(pure.y, mlPi<T> / T(2));
    EXPECT_NEAR(pure.w, std::log(T(2)), t);
    EXPECT_TRUE(Near(Q<T>(T(-2), 0, 0, 0).Log(), Q<T>(std::log(T(2)), 0, 0, 0), Tol<T>()));
}

// ---- Euler angles and matrices -----------------------------------------------------------------

TYPED_TEST(QuaternionTyped, EulerToQuaternionFollowsTheOrderTable) {
    using T = TypeParam;
    const Q<T> q[3] = {AxisQuaternion(T(0.1), 0), AxisQuaternion(T(0.2), 1),
                       AxisQuaternion(T(0.3), 2)};
    // The axes in the sequence in which they act on a vector, first to last, for orders 0..5.
    const int seq[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 1, 0}, {2, 0, 1}};
    const V3<T> v(T(0.5), T(-2), T(1.5));
    for (int o = 0; o < 6; ++o) {
        SCOPED_TRACE(o);
        const Q<T> e = mlEulerToQuaternion(T(0.1), T(0.2), T(0.3), mlRotationsOrder(o));
        const Q<T>&a = q[seq[o][0]], &b = q[seq[o][1]], &c = q[seq[o][2]];
        EXPECT_TRUE(Near(e, c * b * a, Tol<T>()));
        EXPECT_TRUE(Near(e.Rotate(v), c.Rotate(b.Rotate(a.Rotate(v))), T(20) * Tol<T>()));
    }
    for (int o : {6, -1})
        EXPECT_TRUE(
            Near(mlEulerToQuaternion(T(0.1), T(0.2), T(0.3), mlRotationsOrder(o)), Q<T>(), T(0)));
    // Not wrapped: adding 2 pi flips the sign.
    EXPECT_TRUE(Near(mlEulerToQuaternion(T(0.4) + mlTwoPi<T>, T(0), T(0), mlXYZ),
                     AxisQuaternion(T(0.4), 0).Negate(), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, MatrixConversions) {
    using T = TypeParam;
    const T expected[9] = {-49, 4, 22, 20, -39, 20, 10, 28, -25};  // not normalised
    EXPECT_TRUE(Near(mlQuaternionToMatrix(Q<T>(1, 2, 3, 4)), CMLMatrix3<T>(expected), T(0)));
    // {diagonal, quaternion}: trace >= 0 (not normalised), then the largest-component branches
    // with ties going to X before Y and Z, and to Y before Z.
    const T h2 = std::sqrt(T(2)) / 2, h3 = std::sqrt(T(3)) / 2, r5 = std::sqrt(T(5)) / 2,
            r7 = std::sqrt(T(7)) / 2;
    const T rows[][7] = {
        {2, 2, 2, r7, 0, 0, 0},    {1, 0, -1, T(0.5), 0, 0, 0}, {1, -1, -1, 0, 1, 0, 0},
        {-1, 1, -1, 0, 0, 1, 0},   {-1, -1, 1, 0, 0, 0, 1},     {-1, -1, -1, 0, h2, 0, 0},
        {-1, -2, -1, 0, h3, 0, 0}, {-2, -1, -1, 0, 0, h3, 0},   {-3, -2, -1, 0, 0, 0, r5}};
    for (const T* r : rows)
        EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal(r[0], r[1], r[2])),
                         Q<T>(r[3], r[4], r[5], r[6]), Tol<T>()))
            << r[0] << " " << r[1] << " " << r[2];
    EXPECT_TRUE(Near(Q<T>(Diagonal<T>(-1, -1, 1)), Q<T>(0, 0, 0, 1), T(0)));
    // Round trips through the trace branch and each diagonal branch; w >= 0 in the trace branch.
    const Q<T> n = Unit(T(-0.8), T(0.1), T(0.5), T(-0.2));
    for (const Q<T>& q :
         {Unit(T(0.9), T(-0.2), T(0.3), T(0.4)), Unit(T(0.1), T(0.9), T(-0.3), T(0.2)),
          Unit(T(-0.1), T(0.2), T(0.95), T(-0.1)), Unit(T(0.05), T(-0.3), T(0.2), T(0.9))})
        EXPECT_TRUE(SameRotation(mlMatrixToQuaternion(q.GetMatrix()), q, T(10) * Tol<T>()));
    EXPECT_TRUE(Near(mlMatrixToQuaternion(n.GetMatrix()), n.Negate(), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, EulerRoundTripsForEveryOrder) {
    using T = TypeParam;
    const T r = mlPi<T> / 180, t = T(10) * Tol<T>();
    const T tol = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);  // degrees
    // The axis acting second in each order gets the inner angle, in [-90, 90].
    const int middle[6] = {1, 2, 0, 2, 1, 0};
    const T outer[][2] = {{10, 30}, {-150, 100}, {35, -170}, {120, -60}};
    const T inner[] = {20, 45, -80, 5};
    for (int order = 0; order < 6; ++order) {
        const mlRotationsOrder o = mlRotationsOrder(order);
        for (int k = 0; k < 4; ++k) {
            SCOPED_TRACE(::testing::Message() << "order " << order << " row " << k);
            T e[3];
            for (int axis = 0, j = 0; axis < 3; ++axis)
                e[axis] = axis == middle[order] ? inner[k] : outer[k][j++];
            // Radians into a quaternion, against the matrix and the quaternion built in degrees.
            const Q<T> q = mlEulerToQuaternion(e[0] * r, e[1] * r, e[2] * r, o);
            CMLMatrix3<T> m;
            m.SetRotationByEulerAngles(e[0], e[1], e[2], o);
            EXPECT_TRUE(Near(q.GetMatrix(), m, t));
            Q<T> d;
            EXPECT_EQ(d.SetByEulerAngles(e[0], e[1], e[2], o), 1);
            EXPECT_TRUE(SameRotation(d, q, t));
            T a = 0, b = 0, c = 0;
            EXPECT_EQ(q.ExtractEulerAngles(o, a, b, c), 1);
            EXPECT_TRUE(Near(V3<T>(a, b, c), V3<T>(e[0], e[1], e[2]), tol));
        }
    }
}

TYPED_TEST(QuaternionTyped, EulerDegreesWrapAndOutOfRangeOrders) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);
    Q<T> q, p;
    q.SetByEulerAngles(10, 20, 30, mlXYZ);
    p.SetByEulerAngles(370, 20, 30, mlXYZ);
    EXPECT_TRUE(SameRotation(p, q, T(100) * Tol<T>()));
    q.SetByEulerAngles(170, 100, -120, mlXYZ);
    T a = 0, b = 0, c = 0;
    q.ExtractEulerAngles(mlXYZ, a, b, c);  // the middle angle comes back inside [-90, 90]
    EXPECT_TRUE(Near(V3<T>(a, b, c), V3<T>(-10, 80, 60), tol));
    a = b = c = 7;
    EXPECT_EQ(q.ExtractEulerAngles(mlRotationsOrder(-1), a, b, c), 0);
    EXPECT_EQ(a + b + c, T(21));
    EXPECT_EQ(q.SetByEulerAngles(10, 20, 30, mlRotationsOrder(6)), 0);
    EXPECT_TRUE(Near(q, Q<T>(), T(0)));
    // Gimbal lock survives the round-off of the quaternion: the rotation about the shared axis
    // is split equally between the first and the third angle.
    for (const auto& [o, x, z] :
         {std::tuple(mlXYZ, T(-10), T(10)), std::tuple(mlZYX, T(20), T(20))}) {
        q.SetByEulerAngles(10, 90, 30, o);
        q.ExtractEulerAngles(o, a, b, c);
        EXPECT_TRUE(Near(V3<T>(a, b, c), V3<T>(x, 90, z), tol)) << o;
    }
}

}  // namespace
