#include <ml/quaternion.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
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
const T kTol = std::is_same_v<T, float> ? T(2e-6) : T(1e-14);

// |a[i] - b[i]| <= tol for every component of a quaternion, a vector or a row-major matrix.
template <class A, class T>
::testing::AssertionResult Near(const A& a, const A& b, T tol) {
    constexpr int n = std::is_same_v<A, Q<T>> ? 4 : std::is_same_v<A, V3<T>> ? 3 : 9;
    for (int i = 0; i < n; ++i)
        if (!(std::fabs(a[i] - b[i]) <= tol))
            return ::testing::AssertionFailure() << "[" << i << "] " << a[i] << " vs " << b[i];
    return ::testing::AssertionSuccess();
}

template <class T>
Q<T> Unit(T w, T x, T y, T z) {
    Q<T> q(w, x, y, z);
    q.Normalize();
    return q;
}

// The rotation by angle radians about coordinate axis 0, 1 or 2.
template <class T>
Q<T> AxisQuaternion(T angle, int axis) {
    const T s = std::sin(angle / 2);
    return Q<T>(std::cos(angle / 2), axis == 0 ? s : 0, axis == 1 ? s : 0, axis == 2 ? s : 0);
}

TYPED_TEST(QuaternionTyped, ValuesArithmeticAndInverses) {
    using T = TypeParam;
    static_assert(std::is_trivially_copyable_v<Q<T>> && sizeof(Q<T>) == 4 * sizeof(T));
    static_assert(offsetof(Q<T>, w) == 0 && offsetof(Q<T>, z) == 3 * sizeof(T));
    Q<T> q(1, 2, 3, 4);
    for (int i : {1, 2, 3, 0, 4, 7, -1})  // every index outside 1..3 gives w
        EXPECT_EQ(q[i], i >= 1 && i <= 3 ? T(i + 1) : T(1)) << i;
    EXPECT_EQ(&q[9], &q.w);
    // Below a squared length of 1e-6 the length is 0 and Normalize sets the identity.
    EXPECT_EQ(Q<T>(0, 0, T(0.0009), 0).Length(), T(0));  // squared 8.1e-7
    EXPECT_NEAR(Q<T>(0, 0, T(0.0011), 0).Length(), T(0.0011), T(1e-9));
    EXPECT_TRUE(Near(Unit<T>(0, 0, 0, T(0.0001)), Q<T>(1, 0, 0, 0), T(0)));
    EXPECT_TRUE(Near(Unit<T>(0, 0, 0, T(0.002)), Q<T>(0, 0, 0, 1), kTol<T>));
    // IsUnit and IsPure are strict, IsIdentity inclusive.
    const Q<T> un(0, T(1.5), 0, 0);  // |2.25 - 1| = 1.25
    EXPECT_TRUE(un.IsUnit(T(1.25)) == 0 && un.IsUnit(T(1.26)) == 1);
    EXPECT_TRUE(Q<T>(T(0.5), 1, 1, 1).IsPure(T(0.5)) == 0 &&
                Q<T>(T(-0.25), 1, 1, 1).IsPure(T(0.5)) == 1);
    EXPECT_TRUE(Q<T>(T(1.5), T(0.5), T(-0.5), 0).IsIdentity(T(0.5)) == 1 &&
                Q<T>(T(1.5), T(0.75), 0, 0).IsIdentity(T(0.5)) == 0);
    // In place on a named value; a new quaternion from a const value or a temporary.
    const Q<T> c(1, 2, 3, 4);
    Q<T> m = c, n = c, i = c;
    m.Conjugate();
    n.Negate();
    i.Invert();
    EXPECT_TRUE(Near(m, Q<T>(1, -2, -3, -4), T(0)) && Near(c.Conjugate(), m, T(0)));
    EXPECT_TRUE(Near(n, Q<T>(-1, -2, -3, -4), T(0)) && Near(Q<T>(1, 2, 3, 4).Negate(), n, T(0)));
    EXPECT_TRUE(Near(i, Q<T>(T(1) / 30, T(-2) / 30, T(-3) / 30, T(-4) / 30), kTol<T>) &&
                Near(c.Invert(), i, T(0)));
    // Invert never divides by less than 1e-6: zero stays zero, 8.1e-7 is multiplied by 1e6.
    EXPECT_TRUE(Near(Q<T>(0, 0, 0, 0).Invert(), Q<T>(0, 0, 0, 0), T(0)));
    EXPECT_NEAR(Q<T>(0, 0, 0, T(0.0009)).Invert().z, T(-900), T(1e-3));
    EXPECT_NEAR(Q<T>(0, 0, 0, T(0.0011)).Invert().z, T(-1) / T(0.0011), T(0.01));
    // The Hamilton product, this on the left, and the component-wise operations.
    EXPECT_TRUE(Near(Q<T>(5, 6, 7, 8) * Q<T>(1, 2, 3, 4), Q<T>(-60, 20, 14, 32), T(0)));
    Q<T> a(1, 2, 3, 4);
    a *= Q<T>(5, 6, 7, 8);  // this on the left
    EXPECT_TRUE(Near(a, Q<T>(-60, 12, 30, 24), T(0)));
    a = Q<T>(1, 2, 3, 4) + Q<T>(T(0.5), -1, 2, 8) * T(2);
    a -= Q<T>(1, 1, 1, 1);
    a *= T(-0.5);
    EXPECT_TRUE(Near(a, Q<T>(T(-0.5), T(0.5), -3, T(-9.5)), T(0)));
    // Equality has the fixed, inclusive tolerance P in every component.
    const T p = std::is_same_v<T, float> ? T(1e-7) : T(1e-9);
    for (int i = 0; i < 4; ++i) {
        Q<T> at(0, 0, 0, 0), beyond(0, 0, 0, 0), zero(0, 0, 0, 0);
        at[i] = i % 2 ? p : -p;
        beyond[i] = 2 * at[i];
        EXPECT_TRUE((zero == at) == 1 && (zero != beyond) == 1 && (zero == beyond) == 0) << i;
    }
}

TYPED_TEST(QuaternionTyped, RotationsAreSandwichProducts) {
    using T = TypeParam;
    const T t = T(10) * kTol<T>;
    Q<T> q;
    q.SetRotation(mlPi<T> / 2, V3<T>(0, 0, 2));  // radians; the axis is used as given
    EXPECT_TRUE(Near(q, Q<T>(std::sqrt(T(0.5)), 0, 0, std::sqrt(T(2))), kTol<T>));
    // Rotate is q (0, v) q*, also for a non-unit q.
    const V3<T> v(T(0.3), T(-1.7), T(2.2));
    for (const Q<T>& p : {Unit(T(0.9), T(-0.2), T(0.3), T(0.4)), Q<T>(1, 2, -1, T(0.5))})
        EXPECT_TRUE(Near(p.Rotate(v), (p * Q<T>(0, v) * p.Conjugate()).GetVector(), T(10) * t));
    // Angle and axis back; no rotation, a turn by 2 pi, w rounded above 1 and (in double, which
    // can hold it) a half angle whose sine is below 1e-6 have a zero axis; a sine of 2e-6 has one.
    q.SetRotation(T(1.2), V3<T>(T(0.36), T(0.48), T(0.8)));
    T angle = 0;
    V3<T> axis;
    q.GetAngleAndAxis(angle, axis);
    EXPECT_NEAR(angle, T(1.2), t);
    EXPECT_TRUE(Near(axis, V3<T>(T(0.36), T(0.48), T(0.8)), t));
    const bool dbl = std::is_same_v<T, double>;
    const T above = T(1) + T(4) * std::numeric_limits<T>::epsilon();
    for (const Q<T>& r :
         {Q<T>(), Q<T>(-1, 0, 0, 0), Q<T>(above, 0, 0, 0), AxisQuaternion(T(dbl ? 1e-6 : 0), 0)}) {
        r.GetAngleAndAxis(angle, axis);
        EXPECT_NEAR(angle, r.w < 0 ? mlTwoPi<T> : T(0), T(1e-5));
        EXPECT_TRUE(Near(axis, V3<T>(0, 0, 0), T(0)));
    }
    AxisQuaternion(T(dbl ? 4e-6 : 1e-2), 0).GetAngleAndAxis(angle, axis);
    EXPECT_NEAR(axis.x, T(1), T(1e-2));
}

TYPED_TEST(QuaternionTyped, ExpLogAndPow) {
    using T = TypeParam;
    const T t = T(100) * kTol<T>;
    for (const Q<T>& q : {Q<T>(T(0.9), T(-0.2), T(0.3), T(0.4)), Q<T>(T(-2), T(0.5), T(1), T(-1)),
                          Q<T>(T(3), 0, 0, T(1e-3)), Q<T>(T(0.25), T(2), T(-3), T(1))})
        EXPECT_TRUE(Near(q.Log().Exp(), q, t));
    // The log of a rotation is half the angle times the axis; a power scales the angle.
    const Q<T> r = AxisQuaternion(T(2.5), 1);
    EXPECT_TRUE(Near(r.Log(), Q<T>(0, 0, T(1.25), 0), T(10) * kTol<T>));
    EXPECT_TRUE(Near(r.Pow(T(1) / 3), AxisQuaternion(T(2.5) / 3, 1), T(10) * kTol<T>));
    // |u| < 1e-6: the vector part of exp is exp(w) * u.
    EXPECT_EQ(Q<T>(1, 0, 0, T(-5e-7)).Exp().z, std::exp(T(1)) * T(-5e-7));
    // The log floors the squared length at 1e-9 and takes the angle as pi/2 when |w| < 1e-6.
    const Q<T> zero = Q<T>(0, 0, 0, 0).Log();
    EXPECT_TRUE(Near(zero, Q<T>(T(0.5) * std::log(T(1e-9)), 0, 0, 0), T(10) * kTol<T>));
    EXPECT_EQ(Q<T>(0, T(1e-5), 0, 0).Log().w, zero.w);  // squared length 1e-10
    EXPECT_TRUE(Near(Q<T>(T(9e-7), 0, 2, 0).Log(), Q<T>(std::log(T(2)), 0, mlPi<T> / 2, 0), t));
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
    for (const T* r : rows) {
        const T d[9] = {r[0], 0, 0, 0, r[1], 0, 0, 0, r[2]};
        EXPECT_TRUE(Near(Q<T>(CMLMatrix3<T>(d)), Q<T>(r[3], r[4], r[5], r[6]), kTol<T>))
            << r[0] << " " << r[1] << " " << r[2];
    }
    // Round trips through the trace branch and each diagonal branch, whose own component comes
    // out positive (w >= 0 in the trace branch).
    for (const Q<T>& q :
         {Unit(T(0.9), T(-0.2), T(0.3), T(0.4)), Unit(T(0.1), T(0.9), T(-0.3), T(0.2)),
          Unit(T(-0.1), T(0.2), T(0.95), T(-0.1)), Unit(T(0.05), T(-0.3), T(0.2), T(0.9))})
        EXPECT_TRUE(Near(mlMatrixToQuaternion(q.GetMatrix()), q, T(10) * kTol<T>));
}

TYPED_TEST(QuaternionTyped, EulerAngles) {
    using T = TypeParam;
    const T r = mlPi<T> / 180, t = T(10) * kTol<T>;
    const T deg = std::is_same_v<T, float> ? T(2e-3) : T(1e-9);  // degrees
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
            // Radians into a quaternion, degrees into the matrix and into a quaternion through it;
            // and back to the same angles.
            const Q<T> q = mlEulerToQuaternion(e[0] * r, e[1] * r, e[2] * r, o);
            CMLMatrix3<T> m;
            m.SetRotationByEulerAngles(e[0], e[1], e[2], o);
            EXPECT_TRUE(Near(q.GetMatrix(), m, t));
            Q<T> d;
            EXPECT_EQ(d.SetByEulerAngles(e[0], e[1], e[2], o), 1);
            EXPECT_TRUE(Near(d, q, t) || Near(d, q.Negate(), t));
            T x = 0, y = 0, z = 0;
            EXPECT_EQ(q.ExtractEulerAngles(o, x, y, z), 1);
            EXPECT_TRUE(Near(V3<T>(x, y, z), V3<T>(e[0], e[1], e[2]), deg));
        }
    }
    // In radians order 0 is qz(c) qy(b) qx(a); the angles are not wrapped (adding 2 pi flips the
    // sign); an order outside 0..5 gives the identity.
    EXPECT_TRUE(
        Near(mlEulerToQuaternion(T(0.1), T(0.2), T(0.3), mlXYZ),
             AxisQuaternion(T(0.3), 2) * AxisQuaternion(T(0.2), 1) * AxisQuaternion(T(0.1), 0),
             kTol<T>));
    EXPECT_TRUE(Near(mlEulerToQuaternion(T(0.4) + mlTwoPi<T>, T(0), T(0), mlXYZ),
                     AxisQuaternion(T(0.4), 0).Negate(), T(10) * kTol<T>));
    for (int o : {6, -1})
        EXPECT_TRUE(
            Near(mlEulerToQuaternion(T(0.1), T(0.2), T(0.3), mlRotationsOrder(o)), Q<T>(), T(0)));
    // {angles in degrees, order, angles back}: degrees are wrapped; the middle angle comes back
    // inside [-90, 90]; gimbal lock survives the round-off of the quaternion, the rotation about
    // the shared axis split equally between the first and the third angle.
    const T cases[][7] = {{370, 20, 30, 0, 10, 20, 30},
                          {170, 100, -120, 0, -10, 80, 60},
                          {10, 90, 30, 0, -10, 90, 10},
                          {10, 90, 30, 4, 20, 90, 20}};
    Q<T> q;
    T a = 0, b = 0, c = 0;
    for (const T* e : cases) {
        const mlRotationsOrder o = mlRotationsOrder(int(e[3]));
        q.SetByEulerAngles(e[0], e[1], e[2], o);
        q.ExtractEulerAngles(o, a, b, c);
        EXPECT_TRUE(Near(V3<T>(a, b, c), V3<T>(e[4], e[5], e[6]), deg)) << e[0] << " " << e[1];
    }
    EXPECT_EQ(q.SetByEulerAngles(10, 20, 30, mlRotationsOrder(6)), 0);
    EXPECT_TRUE(Near(q, Q<T>(), T(0)));
}

}  // namespace
