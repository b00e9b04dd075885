#include <ml/quaternion.h>

#include <ml/matrix_fixed.h>
#include <ml/vector_fixed.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <ostream>
#include <type_traits>
#include <utility>

template <class T>
void PrintTo(const CMLQuaternion<T>& q, std::ostream* os) {
    *os << '(' << q.w << ", " << q.x << ", " << q.y << ", " << q.z << ')';
}
template <class T>
void PrintTo(const CMLVector3<T>& v, std::ostream* os) {
    *os << '(' << v.x << ", " << v.y << ", " << v.z << ')';
}

namespace {

template <class T>
class QuaternionTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(QuaternionTyped, RealTypes);

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(2e-6) : T(1e-14);
}

template <class T>
::testing::AssertionResult Near(const CMLQuaternion<T>& a, const CMLQuaternion<T>& b, T tol) {
    for (int i = 0; i < 4; ++i) {
        if (!(std::fabs(a[i] - b[i]) <= tol)) {
            return ::testing::AssertionFailure()
                   << "(" << a.w << ", " << a.x << ", " << a.y << ", " << a.z << ") vs (" << b.w
                   << ", " << b.x << ", " << b.y << ", " << b.z << ") at component " << i;
        }
    }
    return ::testing::AssertionSuccess();
}

template <class T>
::testing::AssertionResult Near(const CMLVector3<T>& a, const CMLVector3<T>& b, T tol) {
    if (std::fabs(a.x - b.x) <= tol && std::fabs(a.y - b.y) <= tol && std::fabs(a.z - b.z) <= tol) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") vs ("
                                         << b.x << ", " << b.y << ", " << b.z << ")";
}

// The product q (0, v) q*, written out with Hamilton products.
template <class T>
CMLVector3<T> Sandwich(const CMLQuaternion<T>& q, const CMLVector3<T>& v) {
    const CMLQuaternion<T> r = q * CMLQuaternion<T>(T(0), v) * q.Conjugate();
    return r.GetVector();
}

template <class T>
CMLQuaternion<T> AxisQuaternion(T angle, int axis) {
    CMLQuaternion<T> q;
    q.SetRotation(angle, CMLVector3<T>(axis == 0 ? T(1) : T(0), axis == 1 ? T(1) : T(0),
                                       axis == 2 ? T(1) : T(0)));
    return q;
}

// ---- Layout and components ---------------------------------------------------------------------

TYPED_TEST(QuaternionTyped, PlainValueInOrderWXYZ) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    static_assert(std::is_standard_layout_v<Q>);
    static_assert(std::is_trivially_copyable_v<Q>);
    static_assert(!std::is_polymorphic_v<Q>);
    static_assert(sizeof(Q) == 4 * sizeof(T));
    static_assert(offsetof(Q, w) == 0 && offsetof(Q, x) == sizeof(T) &&
                  offsetof(Q, y) == 2 * sizeof(T) && offsetof(Q, z) == 3 * sizeof(T));
    const Q q(1, 2, 3, 4);
    const T* raw = reinterpret_cast<const T*>(&q);
    EXPECT_EQ(raw[0], T(1));
    EXPECT_EQ(raw[3], T(4));
}

TYPED_TEST(QuaternionTyped, IndexGivesWForEveryIndexOutside1To3) {
    using T = TypeParam;
    CMLQuaternion<T> q(1, 2, 3, 4);
    EXPECT_EQ(q[0], T(1));
    EXPECT_EQ(q[1], T(2));
    EXPECT_EQ(q[2], T(3));
    EXPECT_EQ(q[3], T(4));
    EXPECT_EQ(q[7], T(1));
    EXPECT_EQ(q[4], T(1));
    EXPECT_EQ(q[-1], T(1));
    q[9] = T(5);  // writes w
    EXPECT_EQ(q.w, T(5));
    q[2] = T(8);
    EXPECT_EQ(q.y, T(8));
}

TYPED_TEST(QuaternionTyped, DefaultIsTheIdentityAndPartsRoundTrip) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    EXPECT_TRUE(Near(Q(), Q(1, 0, 0, 0), T(0)));
    Q q(T(2), CMLVector3<T>(3, 4, 5));
    T s = 0;
    CMLVector3<T> v;
    q.GetComponents(s, v);
    EXPECT_TRUE(Near(Q(s, v), Q(2, 3, 4, 5), T(0)));
    q.Identity();
    EXPECT_TRUE(Near(q, Q(), T(0)));
}

TYPED_TEST(QuaternionTyped, SetRotationUsesTheAxisAsGiven) {
    using T = TypeParam;
    CMLQuaternion<T> q;
    q.SetRotation(mlPi<T> / 2, CMLVector3<T>(0, 0, 2));  // not normalised
    const T h = std::sqrt(T(0.5));
    EXPECT_TRUE(Near(q, CMLQuaternion<T>(h, 0, 0, 2 * h), Tol<T>()));
    q.SetRotation(mlPi<T> / 2, CMLVector3<T>(0, 0, 1));
    EXPECT_TRUE(Near(q.Rotate(CMLVector3<T>(1, 0, 0)), CMLVector3<T>(0, 1, 0), Tol<T>()));
}

// ---- Norms and tests ---------------------------------------------------------------------------

TYPED_TEST(QuaternionTyped, LengthIsZeroBelowSquaredLength1e6) {
    using T = TypeParam;
    EXPECT_EQ(CMLQuaternion<T>(0, 3, 0, 4).Length(), T(5));
    EXPECT_EQ(CMLQuaternion<T>(1, 2, 3, 4).SquaredLength(), T(30));
    EXPECT_EQ(CMLQuaternion<T>(0, 0, 0, T(0.0001)).Length(), T(0));
    EXPECT_EQ(CMLQuaternion<T>(0, 0, T(0.0009), 0).Length(), T(0));  // squared 8.1e-7
    EXPECT_NEAR(CMLQuaternion<T>(0, 0, T(0.0011), 0).Length(), T(0.0011), T(1e-9));
}

TYPED_TEST(QuaternionTyped, NormalizeSetsTheIdentityForNearZero) {
    using T = TypeParam;
    CMLQuaternion<T> q(0, 0, 0, T(0.0001));
    q.Normalize();
    EXPECT_TRUE(Near(q, CMLQuaternion<T>(1, 0, 0, 0), T(0)));
    CMLQuaternion<T> zero(0, 0, 0, 0);
    zero.Normalize();
    EXPECT_TRUE(Near(zero, CMLQuaternion<T>(), T(0)));
    CMLQuaternion<T> r(0, 3, 0, 4);
    r.Normalize();
    EXPECT_TRUE(Near(r, CMLQuaternion<T>(0, T(0.6), 0, T(0.8)), Tol<T>()));
    CMLQuaternion<T> small(0, 0, 0, T(0.002));  // small, but above the threshold
    small.Normalize();
    EXPECT_TRUE(Near(small, CMLQuaternion<T>(0, 0, 0, 1), Tol<T>()));
    CMLQuaternion<T> g(1, -2, 3, T(0.5));
    g.Normalize();
    EXPECT_EQ(g.IsUnit(T(10) * Tol<T>()), 1);
}

TYPED_TEST(QuaternionTyped, PredicatesAndTheirBoundaries) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    EXPECT_EQ(Q().IsUnit(T(1e-3)), 1);
    EXPECT_EQ(Q().IsUnit(T(0)), 0);                    // strict: |0| < 0 is false
    EXPECT_EQ(Q(0, T(1.5), 0, 0).IsUnit(T(1.25)), 0);  // |2.25 - 1| = 1.25, strict
    EXPECT_EQ(Q(0, T(1.5), 0, 0).IsUnit(T(1.25) + T(1e-3)), 1);
    EXPECT_EQ(Q(T(0.5), 0, 0, 0).IsUnit(T(0.75) + T(1e-3)), 1);  // below 1 too
    EXPECT_EQ(Q(T(0.5), 1, 1, 1).IsPure(T(0.5)), 0);             // strict
    EXPECT_EQ(Q(T(0.25), 1, 1, 1).IsPure(T(0.5)), 1);
    EXPECT_EQ(Q(T(-0.25), 1, 1, 1).IsPure(T(0.5)), 1);
    EXPECT_EQ(Q(T(1.5), T(0.5), T(-0.5), 0).IsIdentity(T(0.5)), 1);  // inclusive
    EXPECT_EQ(Q(T(1.5), T(0.75), 0, 0).IsIdentity(T(0.5)), 0);
    EXPECT_EQ(Q().IsIdentity(T(0)), 1);
    EXPECT_EQ(Q(-1, 0, 0, 0).IsIdentity(T(0.5)), 0);  // the same rotation, not the identity value
}

// ---- Conjugate, negation, inverses -------------------------------------------------------------

TYPED_TEST(QuaternionTyped, InPlaceAndConstFormsAgree) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    const Q c(1, 2, 3, 4);
    EXPECT_TRUE(Near(c.Conjugate(), Q(1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(c.Negate(), Q(-1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(c.InvertUnit(), Q(1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(c, Q(1, 2, 3, 4), T(0)));  // the const forms leave it alone
    Q m = c;
    m.Conjugate();
    EXPECT_TRUE(Near(m, c.Conjugate(), T(0)));
    m = c;
    m.Negate();
    EXPECT_TRUE(Near(m, c.Negate(), T(0)));
    m = c;
    m.Invert();
    EXPECT_TRUE(Near(m, c.Invert(), T(0)));
    // A named non-const quaternion changes in place; temporaries give values.
    static_assert(std::is_void_v<decltype(std::declval<Q&>().Conjugate())>);
    static_assert(std::is_void_v<decltype(std::declval<Q&>().Invert())>);
    static_assert(std::is_same_v<decltype(std::declval<const Q&>().Negate()), Q>);
    EXPECT_TRUE(Near(Q(1, 2, 3, 4).Negate(), Q(-1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(Q(1, 2, 3, 4).Conjugate(), Q(1, -2, -3, -4), T(0)));
    EXPECT_TRUE(Near(Q(2, 0, 0, 0).Invert(), Q(T(0.5), 0, 0, 0), T(0)));
}

TYPED_TEST(QuaternionTyped, InvertDividesTheConjugateBySquaredLength) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    const Q q(1, 2, 3, 4);
    const Q inv = q.Invert();
    EXPECT_TRUE(Near(inv, Q(T(1) / 30, T(-2) / 30, T(-3) / 30, T(-4) / 30), Tol<T>()));
    EXPECT_TRUE(Near(q * inv, Q(), T(10) * Tol<T>()));
    EXPECT_TRUE(Near(inv * q, Q(), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, InvertClampsTheDivisorAt1e6) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    Q zero(0, 0, 0, 0);
    zero.Invert();
    EXPECT_TRUE(Near(zero, Q(0, 0, 0, 0), T(0)));
    // Squared length 8.1e-7: multiplied by 1e6 instead of divided.
    EXPECT_NEAR(Q(0, 0, 0, T(0.0009)).Invert().z, T(-900), T(1e-3));
    EXPECT_NEAR(Q(T(1e-4), 0, 0, 0).Invert().w, T(100), T(1e-3));
    // Squared length 1.21e-6: a true division.
    EXPECT_NEAR(Q(0, 0, 0, T(0.0011)).Invert().z, T(-1) / T(0.0011), T(0.01));
}

// ---- Rotations ---------------------------------------------------------------------------------

TYPED_TEST(QuaternionTyped, AngleAndAxisRoundTrip) {
    using T = TypeParam;
    CMLQuaternion<T> q;
    const CMLVector3<T> axis = CMLVector3<T>(T(0.36), T(0.48), T(0.8));  // unit
    q.SetRotation(T(1.2), axis);
    T angle = 0;
    CMLVector3<T> back;
    q.GetAngleAndAxis(angle, back);
    EXPECT_NEAR(angle, T(1.2), T(10) * Tol<T>());
    EXPECT_TRUE(Near(back, axis, T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, AngleAndAxisOfNoRotationHasAZeroAxis) {
    using T = TypeParam;
    T angle = -1;
    CMLVector3<T> axis(1, 1, 1);
    CMLQuaternion<T>().GetAngleAndAxis(angle, axis);
    EXPECT_EQ(angle, T(0));
    EXPECT_TRUE(Near(axis, CMLVector3<T>(0, 0, 0), T(0)));
    CMLQuaternion<T>(-1, 0, 0, 0).GetAngleAndAxis(angle, axis);  // a turn by 2 pi
    EXPECT_NEAR(angle, mlTwoPi<T>, Tol<T>());
    EXPECT_TRUE(Near(axis, CMLVector3<T>(0, 0, 0), T(0)));
    // A scalar part rounded just above 1 is a rotation by 0, not a NaN.
    CMLQuaternion<T>(T(1) + T(4) * std::numeric_limits<T>::epsilon(), 0, 0, 0)
        .GetAngleAndAxis(angle, axis);
    EXPECT_EQ(angle, T(0));
}

TYPED_TEST(QuaternionTyped, RotateIsTheSandwichProduct) {
    using T = TypeParam;
    const CMLVector3<T> v(T(0.3), T(-1.7), T(2.2));
    // A unit quaternion rotates: the length is kept.
    CMLQuaternion<T> u(T(0.9), T(-0.2), T(0.3), T(0.4));
    u.Normalize();
    const CMLVector3<T> r = u.Rotate(v);
    EXPECT_NEAR(r.Length(), v.Length(), T(10) * Tol<T>());
    EXPECT_TRUE(Near(r, Sandwich(u, v), T(10) * Tol<T>()));
    // A non-unit one also scales by its squared length, like q v q*.
    const CMLQuaternion<T> q(1, 2, -1, T(0.5));
    EXPECT_TRUE(Near(q.Rotate(v), Sandwich(q, v), T(100) * Tol<T>()));
    EXPECT_NEAR(q.Rotate(v).Length(), q.SquaredLength() * v.Length(), T(100) * Tol<T>());
}

TYPED_TEST(QuaternionTyped, RightHandedAxisRotations) {
    using T = TypeParam;
    const T t = T(10) * Tol<T>();
    const T q = mlPi<T> / 2;
    EXPECT_TRUE(
        Near(AxisQuaternion(q, 0).Rotate(CMLVector3<T>(0, 1, 0)), CMLVector3<T>(0, 0, 1), t));
    EXPECT_TRUE(
        Near(AxisQuaternion(q, 1).Rotate(CMLVector3<T>(0, 0, 1)), CMLVector3<T>(1, 0, 0), t));
    EXPECT_TRUE(
        Near(AxisQuaternion(q, 2).Rotate(CMLVector3<T>(1, 0, 0)), CMLVector3<T>(0, 1, 0), t));
}

// ---- Arithmetic --------------------------------------------------------------------------------

TYPED_TEST(QuaternionTyped, HamiltonProductExactValues) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    EXPECT_TRUE(Near(Q(1, 2, 3, 4) * Q(5, 6, 7, 8), Q(-60, 12, 30, 24), T(0)));
    EXPECT_TRUE(Near(Q(5, 6, 7, 8) * Q(1, 2, 3, 4), Q(-60, 20, 14, 32), T(0)));
    const Q i(0, 1, 0, 0), j(0, 0, 1, 0), k(0, 0, 0, 1);
    EXPECT_TRUE(Near(i * j, k, T(0)));
    EXPECT_TRUE(Near(j * k, i, T(0)));
    EXPECT_TRUE(Near(k * i, j, T(0)));
    EXPECT_TRUE(Near(j * i, k.Negate(), T(0)));
    EXPECT_TRUE(Near(i * i, Q(-1, 0, 0, 0), T(0)));
    Q a(1, 2, 3, 4);
    a *= Q(5, 6, 7, 8);  // this on the left
    EXPECT_TRUE(Near(a, Q(-60, 12, 30, 24), T(0)));
}

TYPED_TEST(QuaternionTyped, ProductComposesRotationsRightFirst) {
    using T = TypeParam;
    CMLQuaternion<T> p, q;
    p.SetRotation(T(0.7), CMLVector3<T>(T(0.6), 0, T(0.8)));
    q.SetRotation(T(-1.9), CMLVector3<T>(0, 1, 0));
    const CMLVector3<T> v(1, 2, 3);
    EXPECT_TRUE(Near((p * q).Rotate(v), p.Rotate(q.Rotate(v)), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, ComponentwiseArithmetic) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    Q c = Q(1, 2, 3, 4) + Q(T(0.5), -1, 2, 8) * T(2);
    EXPECT_TRUE(Near(c, Q(2, 0, 7, 20), T(0)));
    c -= Q(1, 1, 1, 1);
    c *= T(-0.5);
    EXPECT_TRUE(Near(c, Q(T(-0.5), T(0.5), -3, T(-9.5)), T(0)));
}

TEST(QuaternionEquality, DoubleToleranceIs1e9Inclusive) {
    using Q = CMLQuaternion<double>;
    EXPECT_EQ(Q(0, 0, 0, 0) == Q(0, 0, 0, 1e-9), 1);
    EXPECT_EQ(Q(0, 0, 0, 0) != Q(0, 0, 0, 1e-9), 0);
    EXPECT_EQ(Q(0, 0, 0, 0) == Q(0, 0, 2e-9, 0), 0);
    EXPECT_EQ(Q(0, 0, 0, 0) != Q(-2e-9, 0, 0, 0), 1);
    EXPECT_EQ(Q(1, 2, 3, 4) == Q(1 + 5e-10, 2 - 5e-10, 3, 4 + 5e-10), 1);
}

TEST(QuaternionEquality, FloatToleranceIs1e7Inclusive) {
    using Q = CMLQuaternion<float>;
    EXPECT_EQ(Q(0, 0, 0, 0) == Q(0, 1e-7f, 0, 0), 1);
    EXPECT_EQ(Q(0, 0, 0, 0) == Q(0, 0, 0, 2e-7f), 0);
    EXPECT_EQ(Q(0, 0, 0, 0) != Q(0, 0, 0, 2e-7f), 1);
    // The double tolerance would call these different.
    EXPECT_EQ(Q(1, 0, 0, 0) == Q(1, 0, 5e-8f, 0), 1);
}

// ---- Exponential, logarithm, power -------------------------------------------------------------

TYPED_TEST(QuaternionTyped, ExpAndLogAreInverse) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    const Q samples[] = {Q(T(0.9), T(-0.2), T(0.3), T(0.4)), Q(T(-2), T(0.5), T(1), T(-1)),
                         Q(T(3), 0, 0, T(1e-3)), Q(T(0.25), T(2), T(-3), T(1))};
    for (const Q& q : samples) {
        EXPECT_TRUE(Near(q.Log().Exp(), q, T(100) * Tol<T>()));
    }
    const Q p(T(0.3), T(-0.4), T(0.5), T(0.6));
    EXPECT_TRUE(Near(p.Exp().Log(), p, T(100) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, LogOfARotationIsHalfAngleTimesAxis) {
    using T = TypeParam;
    CMLQuaternion<T> q;
    q.SetRotation(T(2.5), CMLVector3<T>(0, T(0.6), T(-0.8)));
    const CMLQuaternion<T> l = q.Log();
    EXPECT_NEAR(l.w, T(0), T(10) * Tol<T>());
    EXPECT_TRUE(Near(l.GetVector(), CMLVector3<T>(0, T(0.75), T(-1)), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, LogGuards) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    // The squared length is floored at 1e-9: ln(1e-9) / 2.
    const Q zero = Q(0, 0, 0, 0).Log();
    EXPECT_NEAR(zero.w, T(0.5) * std::log(T(1e-9)), Tol<T>() * 10);
    EXPECT_TRUE(Near(zero.GetVector(), CMLVector3<T>(0, 0, 0), T(0)));
    EXPECT_EQ(Q(0, T(1e-5), 0, 0).Log().w, zero.w);  // squared length 1e-10
    // |w| < 1e-6: the angle is exactly pi/2.
    const Q pure = Q(T(9e-7), 0, T(2), 0).Log();
    EXPECT_EQ(pure.y, mlPi<T> / T(2));
    EXPECT_NEAR(pure.w, std::log(T(2)), T(100) * Tol<T>());  // w^2 adds 1e-13
    // A real quaternion has a zero vector part, whatever its sign.
    EXPECT_TRUE(Near(Q(T(-2), 0, 0, 0).Log(), Q(std::log(T(2)), 0, 0, 0), Tol<T>()));
}

TYPED_TEST(QuaternionTyped, ExpOfASmallVectorPart) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    // |u| < 1e-6: the vector part is exp(w) * u.
    const Q e = Q(0, T(5e-7), 0, T(-5e-7)).Exp();
    EXPECT_EQ(e.x, T(5e-7));
    EXPECT_EQ(e.z, T(-5e-7));
    EXPECT_NEAR(e.w, std::cos(std::sqrt(T(5e-13))), Tol<T>());
    // exp of a pure quaternion of norm pi/2 is the unit vector.
    const Q f = Q(0, 0, mlPi<T> / 2, 0).Exp();
    EXPECT_TRUE(Near(f, Q(0, 0, 1, 0), Tol<T>()));
    EXPECT_TRUE(Near(Q(1, 0, 0, 0).Exp(), Q(std::exp(T(1)), 0, 0, 0), Tol<T>() * 10));
}

TYPED_TEST(QuaternionTyped, PowerThroughLogAndExp) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    const Q q(T(0.5), T(-1), T(2), T(0.25));
    EXPECT_TRUE(Near(q.Pow(2), q * q, T(1000) * Tol<T>()));
    EXPECT_TRUE(Near(q.Pow(1), q, T(100) * Tol<T>()));
    EXPECT_TRUE(Near(q.Pow(0), Q(), T(10) * Tol<T>()));
    const Q h = q.Pow(T(0.5));
    EXPECT_TRUE(Near(h * h, q, T(1000) * Tol<T>()));
    // A rotation to the power t turns by t times the angle.
    Q r;
    r.SetRotation(T(1.2), CMLVector3<T>(0, 0, 1));
    Q expected;
    expected.SetRotation(T(0.4), CMLVector3<T>(0, 0, 1));
    EXPECT_TRUE(Near(r.Pow(T(1) / 3), expected, T(10) * Tol<T>()));
}

// ---- Euler angles ------------------------------------------------------------------------------

TYPED_TEST(QuaternionTyped, EulerToQuaternionFollowsTheOrderTable) {
    using T = TypeParam;
    const T a = T(0.1), b = T(0.2), c = T(0.3);
    const CMLQuaternion<T> qx = AxisQuaternion(a, 0), qy = AxisQuaternion(b, 1),
                           qz = AxisQuaternion(c, 2);
    const T t = Tol<T>();
    EXPECT_TRUE(Near(mlEulerToQuaternion(a, b, c, mlXYZ), qz * qy * qx, t));
    EXPECT_TRUE(Near(mlEulerToQuaternion(a, b, c, mlXZY), qy * qz * qx, t));
    EXPECT_TRUE(Near(mlEulerToQuaternion(a, b, c, mlYXZ), qz * qx * qy, t));
    EXPECT_TRUE(Near(mlEulerToQuaternion(a, b, c, mlYZX), qx * qz * qy, t));
    EXPECT_TRUE(Near(mlEulerToQuaternion(a, b, c, mlZYX), qx * qy * qz, t));
    EXPECT_TRUE(Near(mlEulerToQuaternion(a, b, c, mlZXY), qy * qx * qz, t));
    EXPECT_EQ(static_cast<int>(mlXYZ), 0);
    EXPECT_EQ(static_cast<int>(mlZXY), 5);
}

TYPED_TEST(QuaternionTyped, EulerOrderNamesTheSequenceActingOnAVector) {
    using T = TypeParam;
    const T a = T(0.7), b = T(-1.1), c = T(2.3);
    const CMLQuaternion<T> qx = AxisQuaternion(a, 0), qy = AxisQuaternion(b, 1),
                           qz = AxisQuaternion(c, 2);
    const CMLVector3<T> v(T(0.5), T(-2), T(1.5));
    const T t = T(20) * Tol<T>();
    // Y, then Z, then X.
    EXPECT_TRUE(
        Near(mlEulerToQuaternion(a, b, c, mlYZX).Rotate(v), qx.Rotate(qz.Rotate(qy.Rotate(v))), t));
    // Z, then X, then Y.
    EXPECT_TRUE(
        Near(mlEulerToQuaternion(a, b, c, mlZXY).Rotate(v), qy.Rotate(qx.Rotate(qz.Rotate(v))), t));
}

TYPED_TEST(QuaternionTyped, EulerAnglesAreNotWrapped) {
    using T = TypeParam;
    // Adding 2 pi to an angle flips the sign of the quaternion (same rotation, other value).
    const CMLQuaternion<T> q = mlEulerToQuaternion(T(0.4), T(0), T(0), mlXYZ);
    const CMLQuaternion<T> r = mlEulerToQuaternion(T(0.4) + mlTwoPi<T>, T(0), T(0), mlXYZ);
    EXPECT_TRUE(Near(r, q.Negate(), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, OrderOutsideTheTableGivesTheIdentity) {
    using T = TypeParam;
    const CMLQuaternion<T> id;
    EXPECT_TRUE(Near(mlEulerToQuaternion(T(0.1), T(0.2), T(0.3), static_cast<mlRotationsOrder>(6)),
                     id, T(0)));
    EXPECT_TRUE(Near(mlEulerToQuaternion(T(0.1), T(0.2), T(0.3), static_cast<mlRotationsOrder>(-1)),
                     id, T(0)));
}

// ---- Matrices ----------------------------------------------------------------------------------

template <class T>
CMLMatrix3<T> Diagonal(T a, T b, T c) {
    CMLMatrix3<T> m;
    m(0, 0) = a;
    m(1, 1) = b;
    m(2, 2) = c;
    return m;
}

template <class T>
::testing::AssertionResult NearMatrix(const CMLMatrix3<T>& a, const CMLMatrix3<T>& b, T tol) {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            if (!(std::fabs(a(i, j) - b(i, j)) <= tol)) {
                return ::testing::AssertionFailure()
                       << "element (" << i << ", " << j << "): " << a(i, j) << " vs " << b(i, j);
            }
        }
    }
    return ::testing::AssertionSuccess();
}

// The same rotation: q or -q.
template <class T>
::testing::AssertionResult SameRotation(const CMLQuaternion<T>& a, const CMLQuaternion<T>& b,
                                        T tol) {
    if (Near(a, b, tol) || Near(a, b.Negate(), tol)) return ::testing::AssertionSuccess();
    return Near(a, b, tol);
}

TYPED_TEST(QuaternionTyped, QuaternionToMatrixIsNotNormalised) {
    using T = TypeParam;
    const T expected[9] = {-49, 4, 22, 20, -39, 20, 10, 28, -25};
    EXPECT_TRUE(NearMatrix(mlQuaternionToMatrix(CMLQuaternion<T>(1, 2, 3, 4)),
                           CMLMatrix3<T>(expected), T(0)));
    EXPECT_TRUE(
        NearMatrix(CMLQuaternion<T>(1, 2, 3, 4).GetMatrix(), CMLMatrix3<T>(expected), T(0)));
}

TYPED_TEST(QuaternionTyped, MatrixActsLikeRotate) {
    using T = TypeParam;
    CMLQuaternion<T> q(T(0.9), T(-0.2), T(0.3), T(0.4));
    q.Normalize();
    const CMLVector3<T> v(T(0.3), T(-1.7), T(2.2));
    EXPECT_TRUE(Near(q.GetMatrix() * v, q.Rotate(v), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, MatrixToQuaternionBranches) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    // Trace -1: the X branch, and the Z branch when m22 is the largest.
    EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal<T>(1, -1, -1)), Q(0, 1, 0, 0), T(0)));
    EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal<T>(-1, -1, 1)), Q(0, 0, 0, 1), T(0)));
    EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal<T>(-1, 1, -1)), Q(0, 0, 1, 0), T(0)));
    // Ties go to X before Y and Z, and to Y before Z.
    const T h2 = std::sqrt(T(2)) / 2, h3 = std::sqrt(T(3)) / 2;
    EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal<T>(-1, -1, -1)), Q(0, h2, 0, 0), Tol<T>()));
    EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal<T>(-1, -2, -1)), Q(0, h3, 0, 0), Tol<T>()));
    EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal<T>(-2, -1, -1)), Q(0, 0, h3, 0), Tol<T>()));
    // The result is not normalised: 2 I gives (sqrt(7)/2, 0, 0, 0).
    EXPECT_TRUE(Near(mlMatrixToQuaternion(Diagonal<T>(2, 2, 2)), Q(std::sqrt(T(7)) / 2, 0, 0, 0),
                     Tol<T>()));
    // The constructor and Set convert alike.
    const Q c(Diagonal<T>(-1, -1, 1));
    EXPECT_TRUE(Near(c, Q(0, 0, 0, 1), T(0)));
    Q d;
    d.Set(Diagonal<T>(1, -1, -1));
    EXPECT_TRUE(Near(d, Q(0, 1, 0, 0), T(0)));
}

TYPED_TEST(QuaternionTyped, MatrixRoundTripInEveryBranch) {
    using T = TypeParam;
    using Q = CMLQuaternion<T>;
    // Rotations whose matrices take the trace branch and each of the three diagonal branches.
    const Q samples[] = {Q(T(0.9), T(-0.2), T(0.3), T(0.4)), Q(T(0.1), T(0.9), T(-0.3), T(0.2)),
                         Q(T(-0.1), T(0.2), T(0.95), T(-0.1)), Q(T(0.05), T(-0.3), T(0.2), T(0.9)),
                         Q(T(-0.8), T(0.1), T(0.5), T(-0.2))};
    for (Q q : samples) {
        q.Normalize();
        const Q back = mlMatrixToQuaternion(mlQuaternionToMatrix(q));
        EXPECT_TRUE(SameRotation(back, q, T(10) * Tol<T>()));
    }
    // The trace branch gives w >= 0: a quaternion with w < 0 comes back negated.
    Q n(T(-0.8), T(0.1), T(0.5), T(-0.2));
    n.Normalize();
    EXPECT_TRUE(
        Near(mlMatrixToQuaternion(n.GetMatrix()), std::as_const(n).Negate(), T(10) * Tol<T>()));
}

TYPED_TEST(QuaternionTyped, SetByEulerAnglesIsInDegrees) {
    using T = TypeParam;
    CMLQuaternion<T> q;
    EXPECT_EQ(q.SetByEulerAngles(10, 20, 30, mlXYZ), 1);
    const T r = mlPi<T> / 180;
    EXPECT_TRUE(
        SameRotation(q, mlEulerToQuaternion(10 * r, 20 * r, 30 * r, mlXYZ), T(10) * Tol<T>()));
    // Degrees are wrapped by the matrix: 370 is 10.
    CMLQuaternion<T> p;
    p.SetByEulerAngles(370, 20, 30, mlXYZ);
    EXPECT_TRUE(SameRotation(p, q, T(100) * Tol<T>()));
    // An order outside the table builds nothing.
    EXPECT_EQ(q.SetByEulerAngles(10, 20, 30, static_cast<mlRotationsOrder>(6)), 0);
    EXPECT_TRUE(Near(q, CMLQuaternion<T>(), T(0)));
}

TYPED_TEST(QuaternionTyped, EulerRoundTripsForEveryOrder) {
    using T = TypeParam;
    const T r = mlPi<T> / 180;
    // The axis that acts second in each order (X = 0, Y = 1, Z = 2): its angle comes back in
    // [-90, 90], the other two in (-180, 180].
    const int middle[6] = {1, 2, 0, 2, 1, 0};
    const T outer[][2] = {{10, 30}, {-150, 100}, {35, -170}, {120, -60}};
    const T inner[] = {20, 45, -80, 5};
    const T tol = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);  // degrees
    for (int order = 0; order < 6; ++order) {
        const mlRotationsOrder o = static_cast<mlRotationsOrder>(order);
        for (int k = 0; k < 4; ++k) {
            T e[3];
            for (int axis = 0, j = 0; axis < 3; ++axis) {
                e[axis] = axis == middle[order] ? inner[k] : outer[k][j++];
            }
            // Radians into a quaternion, then its matrix against the matrix built in degrees.
            const CMLQuaternion<T> q = mlEulerToQuaternion(e[0] * r, e[1] * r, e[2] * r, o);
            CMLMatrix3<T> m;
            m.SetRotationByEulerAngles(e[0], e[1], e[2], o);
            EXPECT_TRUE(NearMatrix(q.GetMatrix(), m, T(10) * Tol<T>())) << "order " << order;
            // Degrees back out.
            T a = 0, b = 0, c = 0;
            EXPECT_EQ(q.ExtractEulerAngles(o, a, b, c), 1);
            EXPECT_NEAR(a, e[0], tol) << "order " << order;
            EXPECT_NEAR(b, e[1], tol) << "order " << order;
            EXPECT_NEAR(c, e[2], tol) << "order " << order;
            // The quaternion built from degrees through the matrix is the same rotation, and
            // comes back to the same matrix.
            CMLQuaternion<T> d;
            d.SetByEulerAngles(e[0], e[1], e[2], o);
            EXPECT_TRUE(SameRotation(d, q, T(10) * Tol<T>())) << "order " << order;
            EXPECT_TRUE(NearMatrix(d.GetMatrix(), m, T(10) * Tol<T>())) << "order " << order;
        }
    }
}

TYPED_TEST(QuaternionTyped, ExtractEulerAnglesKeepsTheMiddleAngleInRange) {
    using T = TypeParam;
    CMLQuaternion<T> q;
    q.SetByEulerAngles(170, 100, -120, mlXYZ);
    T a = 0, b = 0, c = 0;
    q.ExtractEulerAngles(mlXYZ, a, b, c);
    const T tol = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);
    EXPECT_NEAR(a, T(-10), tol);
    EXPECT_NEAR(b, T(80), tol);
    EXPECT_NEAR(c, T(60), tol);
    // An order outside the table leaves the angles alone.
    a = b = c = 7;
    EXPECT_EQ(q.ExtractEulerAngles(static_cast<mlRotationsOrder>(-1), a, b, c), 0);
    EXPECT_EQ(a + b + c, T(21));
}

}  // namespace
