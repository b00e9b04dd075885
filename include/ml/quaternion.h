// CMLQuaternion<T>: quaternions w + xi + yj + zk for the rotations of 3D space, with the
// conversions between quaternions, rotation matrices (CMLMatrix3), angle-axis pairs and Euler
// angles in the rotation orders of mlRotationsOrder (declared with the fixed matrices).
//
// A quaternion is a plain value: public fields w (the scalar part), x, y, z (the vector part) in
// this order and nothing else; no virtual functions, no heap. Rotations follow the column-vector
// convention of the matrices: a unit quaternion q maps v to q v q* (q* the conjugate).
//
// Angle units: SetRotation, GetAngleAndAxis and mlEulerToQuaternion work in radians;
// SetByEulerAngles and ExtractEulerAngles in degrees, like the matrix members they go through.
//
// Behaviour callers rely on:
//  - operator[]: 1, 2, 3 give x, y, z; 0 and every other index give w.
//  - Length() is 0 for a squared length below 1e-6, and Normalize() then sets the identity.
//  - Invert() divides the conjugate by the squared length, but never by less than 1e-6: a zero
//    quaternion stays zero and a tiny one grows by at most 1e6.
//  - operator== holds when every component pair differs by at most P (1e-7f, 1e-9), inclusive.
//  - Conjugate, Negate and Invert work in place (returning nothing) on a named non-const
//    quaternion and return a new one on a const quaternion or a temporary:
//    `CMLQuaternion c = q.Conjugate();` does not compile on a non-const q, so it cannot change q
//    by accident.
//
// Nothing throws and nothing allocates.
#ifndef ML_QUATERNION_H
#define ML_QUATERNION_H

#include <ml/matrix_fixed.h>
#include <ml/precision.h>
#include <ml/types.h>
#include <ml/vector_fixed.h>

#include <cmath>

template <class T>
class ML_API CMLQuaternion {
public:
    T w;
    T x;
    T y;
    T z;

    // The identity (1, 0, 0, 0).
    constexpr CMLQuaternion() : w(1), x(0), y(0), z(0) {}
    // w = s, vector part v.
    constexpr CMLQuaternion(T s, const CMLVector3<T>& v) : w(s), x(v.x), y(v.y), z(v.z) {}
    constexpr CMLQuaternion(T qw, T qx, T qy, T qz) : w(qw), x(qx), y(qy), z(qz) {}
    // From a rotation matrix, as mlMatrixToQuaternion converts it.
    explicit CMLQuaternion(const CMLMatrix3<T>& m);
    CMLQuaternion(const CMLQuaternion&) = default;
    CMLQuaternion& operator=(const CMLQuaternion&) = default;
    ~CMLQuaternion() = default;

    // ---- Components ---------------------------------------------------------------------------

    // 1, 2, 3 give x, y, z; 0 and every other index give w. No index is out of range.
    T& operator[](int i) { return i == 1 ? x : i == 2 ? y : i == 3 ? z : w; }
    const T& operator[](int i) const { return i == 1 ? x : i == 2 ? y : i == 3 ? z : w; }
    T GetScalar() const { return w; }
    CMLVector3<T> GetVector() const { return CMLVector3<T>(x, y, z); }
    void GetComponents(T& s, CMLVector3<T>& v) const {
        s = w;
        v = GetVector();
    }
    void SetScalar(T s) { w = s; }
    void SetVector(const CMLVector3<T>& v) {
        x = v.x;
        y = v.y;
        z = v.z;
    }
    void Set(T s, const CMLVector3<T>& v) {
        w = s;
        SetVector(v);
    }
    void Set(T qw, T qx, T qy, T qz) {
        w = qw;
        x = qx;
        y = qy;
        z = qz;
    }
    void Set(const CMLQuaternion& q) { *this = q; }
    // From a rotation matrix, as mlMatrixToQuaternion converts it.
    void Set(const CMLMatrix3<T>& m);
    // Sets (1, 0, 0, 0).
    void Identity() { Set(T(1), T(0), T(0), T(0)); }

    // w = cos(angle / 2), vector = axis * sin(angle / 2); angle in radians. The axis is used as
    // given: a non-unit axis gives a non-unit quaternion.
    void SetRotation(T angle, const CMLVector3<T>& axis);
    // Angles about X, Y, Z in degrees: builds the matrix with
    // CMLMatrix3::SetRotationByEulerAngles(a, b, c, order) and converts it as
    // mlMatrixToQuaternion does; returns 1. An order outside 0..5 builds nothing: the quaternion
    // becomes the identity and the call returns 0.
    int SetByEulerAngles(T a, T b, T c, mlRotationsOrder order);

    // ---- Norms and tests ----------------------------------------------------------------------

    // w^2 + x^2 + y^2 + z^2.
    T SquaredLength() const { return w * w + x * x + y * y + z * z; }
    // 0 when the squared length is below 1e-6, else its guarded square root.
    T Length() const;
    // Divides the four values by Length(); sets the identity when the squared length (or the
    // length) is below 1e-6.
    void Normalize();
    // 1 if |w^2 + x^2 + y^2 + z^2 - 1| < eps (strict).
    int IsUnit(T eps = mlDefaultPrecision<T>) const {
        return std::fabs(SquaredLength() - T(1)) < eps ? 1 : 0;
    }
    // 1 if |w| < eps (strict): no scalar part.
    int IsPure(T eps = mlDefaultPrecision<T>) const { return std::fabs(w) < eps ? 1 : 0; }
    // 1 if |w - 1|, |x|, |y| and |z| are all at most eps.
    int IsIdentity(T eps = mlDefaultPrecision<T>) const {
        return (std::fabs(w - T(1)) <= eps && std::fabs(x) <= eps && std::fabs(y) <= eps &&
                std::fabs(z) <= eps)
                   ? 1
                   : 0;
    }

    // ---- Conjugate, negation, inverses --------------------------------------------------------

    // On a named non-const quaternion these three work in place and return nothing; on a const
    // one, or on a temporary, they return a new quaternion.

    // In place: (w, -x, -y, -z).
    void Conjugate() & {
        x = -x;
        y = -y;
        z = -z;
    }
    // A new quaternion (w, -x, -y, -z).
    CMLQuaternion Conjugate() const& { return CMLQuaternion(w, -x, -y, -z); }
    CMLQuaternion Conjugate() && { return CMLQuaternion(w, -x, -y, -z); }
    // In place: all four values negated.
    void Negate() & {
        w = -w;
        x = -x;
        y = -y;
        z = -z;
    }
    // A new quaternion with all four values negated (the same rotation).
    CMLQuaternion Negate() const& { return CMLQuaternion(-w, -x, -y, -z); }
    CMLQuaternion Negate() && { return CMLQuaternion(-w, -x, -y, -z); }
    // The conjugate: the inverse of a unit quaternion, and only of one.
    CMLQuaternion InvertUnit() const { return CMLQuaternion(w, -x, -y, -z); }
    // In place: the conjugate divided by the squared length n when n > 1e-6, otherwise the
    // conjugate multiplied by 1e6 (a zero quaternion stays zero).
    void Invert() &;
    // A new quaternion, the inverse as the in-place form computes it.
    CMLQuaternion Invert() const&;
    CMLQuaternion Invert() && {
        const CMLQuaternion& self = *this;
        return self.Invert();
    }

    // ---- Rotations ----------------------------------------------------------------------------

    // angle = 2 acos(w) in radians, with w clamped to [-1, 1] against round-off; the axis is
    // (x, y, z) / sin(acos(w)) when that sine exceeds 1e-6 in magnitude, else the zero vector
    // (a rotation by 0 or 2 pi has no axis; the angle is still reported).
    void GetAngleAndAxis(T& angle, CMLVector3<T>& axis) const;
    // The rotation matrix, as mlQuaternionToMatrix builds it (no normalisation).
    CMLMatrix3<T> GetMatrix() const;
    // Angles about X, Y, Z in degrees for the given order, from GetMatrix() through
    // CMLMatrix3::ExtractEulerAngles: the middle rotation of the order gets an angle in
    // [-90, 90]. Returns 1; 0 with a, b, c unchanged for an order outside 0..5.
    int ExtractEulerAngles(mlRotationsOrder order, T& a, T& b, T& c) const;

    // The vector q v q*: v rotated by a unit quaternion. For a non-unit quaternion the result is
    // also scaled by its squared length, as the product q v q* is.
    CMLVector3<T> Rotate(const CMLVector3<T>& v) const {
        // q v q* = (w^2 - u.u) v + (u.v) 2u + 2w (u x v), u the vector part. The factors that do
        // not depend on v come first, so a loop over many vectors computes them once.
        const T a = w * w - (x * x + y * y + z * z);
        const T x2 = x + x, y2 = y + y, z2 = z + z, w2 = w + w;
        const T d = x * v.x + y * v.y + z * v.z;
        const T cx = y * v.z - z * v.y;
        const T cy = z * v.x - x * v.z;
        const T cz = x * v.y - y * v.x;
        return CMLVector3<T>(a * v.x + d * x2 + w2 * cx, a * v.y + d * y2 + w2 * cy,
                             a * v.z + d * z2 + w2 * cz);
    }

    // ---- Exponential, logarithm, power --------------------------------------------------------

    // exp(w) * (cos |u|, sin |u| * u / |u|), u the vector part; for |u| < 1e-6 the vector part is
    // exp(w) * u (sin |u| / |u| taken as 1).
    CMLQuaternion Exp() const;
    // (ln |q|, theta * u / |u|): the scalar part is half the natural logarithm of the squared
    // length, with ln(1e-9) used when the squared length is at most 1e-9; theta is the angle
    // atan2(|u|, w), taken as pi/2 when |w| < 1e-6. A zero vector part gives a zero vector part.
    CMLQuaternion Log() const;
    // exp(t * log q).
    CMLQuaternion Pow(T t) const;

    // ---- Arithmetic ---------------------------------------------------------------------------

    CMLQuaternion operator+(const CMLQuaternion& q) const {
        return CMLQuaternion(w + q.w, x + q.x, y + q.y, z + q.z);
    }
    CMLQuaternion operator-(const CMLQuaternion& q) const {
        return CMLQuaternion(w - q.w, x - q.x, y - q.y, z - q.z);
    }
    CMLQuaternion& operator+=(const CMLQuaternion& q) {
        w += q.w;
        x += q.x;
        y += q.y;
        z += q.z;
        return *this;
    }
    CMLQuaternion& operator-=(const CMLQuaternion& q) {
        w -= q.w;
        x -= q.x;
        y -= q.y;
        z -= q.z;
        return *this;
    }
    // All four values scaled.
    CMLQuaternion operator*(T s) const { return CMLQuaternion(w * s, x * s, y * s, z * s); }
    CMLQuaternion& operator*=(T s) {
        w *= s;
        x *= s;
        y *= s;
        z *= s;
        return *this;
    }
    // The Hamilton product this * q (this on the left): as rotations, q acts first.
    CMLQuaternion operator*(const CMLQuaternion& q) const {
        // clang-format off
        return CMLQuaternion(w * q.w - x * q.x - y * q.y - z * q.z,
                             w * q.x + x * q.w + y * q.z - z * q.y,
                             w * q.y - x * q.z + y * q.w + z * q.x,
                             w * q.z + x * q.y - y * q.x + z * q.w);
        // clang-format on
    }
    CMLQuaternion& operator*=(const CMLQuaternion& q) { return *this = *this * q; }

    // 1 when every component pair differs by at most P (inclusive); != is its negation.
    int operator==(const CMLQuaternion& q) const {
        constexpr T p = mlDefaultPrecision<T>;
        return (std::fabs(w - q.w) <= p && std::fabs(x - q.x) <= p && std::fabs(y - q.y) <= p &&
                std::fabs(z - q.z) <= p)
                   ? 1
                   : 0;
    }
    int operator!=(const CMLQuaternion& q) const { return 1 - (*this == q); }
};

// The rotation matrix of q, without normalising q: m00 = 1 - 2y^2 - 2z^2, m01 = 2xy - 2wz,
// m02 = 2xz + 2wy, m10 = 2xy + 2wz, m11 = 1 - 2x^2 - 2z^2, m12 = 2yz - 2wx, m20 = 2xz - 2wy,
// m21 = 2yz + 2wx, m22 = 1 - 2x^2 - 2y^2.
template <class T>
ML_API CMLMatrix3<T> mlQuaternionToMatrix(const CMLQuaternion<T>& q);

// The quaternion of a rotation matrix by the largest-component rule, sq the guarded square root
// (0 below P):
//  - trace t >= 0: s = sq(1 + t), w = s/2, and with k = 0.5/s: x = (m21 - m12)k,
//    y = (m02 - m20)k, z = (m10 - m01)k;
//  - otherwise the branch of the largest diagonal element, ties going to X before Y and Z and to
//    Y before Z: if m11 >= m22, X when m00 >= m11, else Y; if m11 < m22, X when m00 >= m22, else
//    Z. X: s = sq(1 + m00 - m11 - m22), x = s/2, y = (m01 + m10)k, z = (m20 + m02)k,
//    w = (m21 - m12)k. Y: s = sq(1 + m11 - m00 - m22), y = s/2, x = (m01 + m10)k,
//    z = (m12 + m21)k, w = (m02 - m20)k. Z: s = sq(1 + m22 - m11 - m00), z = s/2,
//    x = (m20 + m02)k, y = (m12 + m21)k, w = (m10 - m01)k.
// Nothing guards k = 0.5/s, the result is not normalised, and its sign is the branch's (w >= 0
// in the trace branch).
template <class T>
ML_API CMLQuaternion<T> mlMatrixToQuaternion(const CMLMatrix3<T>& m);

// The product of the three half-angle quaternions qx(a) = (cos a/2, sin a/2, 0, 0), qy(b), qz(c)
// in the composition the order names (order 0: qz(c) * qy(b) * qx(a)); angles in radians, not
// wrapped. An order outside 0..5 gives the identity.
template <class T>
ML_API CMLQuaternion<T> mlEulerToQuaternion(T a, T b, T c, mlRotationsOrder order);

#define ML_QUATERNION_INSTANCES(KW, T)                                            \
    KW class CMLQuaternion<T>;                                                    \
    KW ML_API CMLQuaternion<T> mlEulerToQuaternion<T>(T, T, T, mlRotationsOrder); \
    KW ML_API CMLMatrix3<T> mlQuaternionToMatrix<T>(const CMLQuaternion<T>&);     \
    KW ML_API CMLQuaternion<T> mlMatrixToQuaternion<T>(const CMLMatrix3<T>&);

#define ML_QUATERNION_EXTERN(T) ML_QUATERNION_INSTANCES(extern template, T)
ML_FOR_EACH_REAL(ML_QUATERNION_EXTERN)
#undef ML_QUATERNION_EXTERN

#endif  // ML_QUATERNION_H
