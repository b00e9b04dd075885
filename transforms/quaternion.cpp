#include <ml/quaternion.h>

#include <cmath>

namespace {

// Below this squared length a quaternion has no length (0) and normalises to the identity.
constexpr double kSmallSquaredLength = 1e-6;
// Normalisation never divides by a length below this.
constexpr double kSmallLength = 1e-6;
// Inversion never divides by a squared length below this floor; it multiplies by its reciprocal.
constexpr double kInverseFloor = 1e-6;
constexpr double kInverseScale = 1e6;
// Below this sine of the half angle a rotation has no axis.
constexpr double kSmallSine = 1e-6;
// Below this norm of the vector part, sin|u| / |u| is taken as 1 in the exponential.
constexpr double kSmallVectorNorm = 1e-6;
// The logarithm never takes ln of a squared length below this floor (float and double alike).
constexpr double kLogSquaredLengthFloor = 1e-9;
// Below this |w| the logarithm takes the rotation angle as exactly pi/2.
constexpr double kLogSmallScalar = 1e-6;

template <class T>
CMLQuaternion<T> Half(T angle, int axis) {
    const T h = angle / T(2);
    const T s = std::sin(h);
    return CMLQuaternion<T>(std::cos(h), axis == 0 ? s : T(0), axis == 1 ? s : T(0),
                            axis == 2 ? s : T(0));
}

}  // namespace

template <class T>
CMLQuaternion<T>::CMLQuaternion(const CMLMatrix3<T>& m) : CMLQuaternion(mlMatrixToQuaternion(m)) {}

template <class T>
void CMLQuaternion<T>::Set(const CMLMatrix3<T>& m) {
    *this = mlMatrixToQuaternion(m);
}

template <class T>
int CMLQuaternion<T>::SetByEulerAngles(T a, T b, T c, mlRotationsOrder order) {
    CMLMatrix3<T> m;
    m.Unit();  // an order that builds nothing leaves the identity
    const int built = m.SetRotationByEulerAngles(a, b, c, order);
    Set(m);
    return built;
}

template <class T>
CMLMatrix3<T> CMLQuaternion<T>::GetMatrix() const {
    return mlQuaternionToMatrix(*this);
}

template <class T>
int CMLQuaternion<T>::ExtractEulerAngles(mlRotationsOrder order, T& a, T& b, T& c) const {
    return GetMatrix().ExtractEulerAngles(order, a, b, c);
}

template <class T>
void CMLQuaternion<T>::SetRotation(T angle, const CMLVector3<T>& axis) {
    const T h = angle / T(2);
    const T s = std::sin(h);
    Set(std::cos(h), axis.x * s, axis.y * s, axis.z * s);
}

template <class T>
T CMLQuaternion<T>::Length() const {
    const T n = SquaredLength();
    if (n < T(kSmallSquaredLength)) return T(0);
    return mlSafeSqrt(n);
}

template <class T>
void CMLQuaternion<T>::Normalize() {
    if (SquaredLength() < T(kSmallSquaredLength)) {
        Identity();
        return;
    }
    const T length = Length();
    if (length < T(kSmallLength)) {
        Identity();
        return;
    }
    w /= length;
    x /= length;
    y /= length;
    z /= length;
}

template <class T>
CMLQuaternion<T> CMLQuaternion<T>::Invert() const& {
    CMLQuaternion q = Conjugate();
    const T n = q.SquaredLength();
    if (n > T(kInverseFloor)) {
        q.w /= n;
        q.x /= n;
        q.y /= n;
        q.z /= n;
    } else {
        q *= T(kInverseScale);
    }
    return q;
}

template <class T>
void CMLQuaternion<T>::Invert() & {
    const CMLQuaternion& self = *this;
    *this = self.Invert();
}

template <class T>
void CMLQuaternion<T>::GetAngleAndAxis(T& angle, CMLVector3<T>& axis) const {
    const T c = w < T(-1) ? T(-1) : (w > T(1) ? T(1) : w);
    const T half = std::acos(c);
    angle = T(2) * half;
    const T s = std::sin(half);
    if (std::fabs(s) > T(kSmallSine)) {
        axis = CMLVector3<T>(x / s, y / s, z / s);
    } else {
        axis = CMLVector3<T>(T(0), T(0), T(0));
    }
}

template <class T>
CMLQuaternion<T> CMLQuaternion<T>::Exp() const {
    const T e = std::exp(w);
    // The plain square root: the guarded one would drop every vector part below sqrt(P).
    const T r = std::sqrt(x * x + y * y + z * z);
    const T f = r < T(kSmallVectorNorm) ? e : e * std::sin(r) / r;
    return CMLQuaternion(e * std::cos(r), x * f, y * f, z * f);
}

template <class T>
CMLQuaternion<T> CMLQuaternion<T>::Log() const {
    const T n = SquaredLength();
    const T scalar =
        T(0.5) * std::log(n <= T(kLogSquaredLengthFloor) ? T(kLogSquaredLengthFloor) : n);
    const T r = std::sqrt(x * x + y * y + z * z);
    if (!(r > T(0))) return CMLQuaternion(scalar, T(0), T(0), T(0));
    const T theta = std::fabs(w) < T(kLogSmallScalar) ? mlPi<T> / T(2) : std::atan2(r, w);
    const T f = theta / r;
    return CMLQuaternion(scalar, x * f, y * f, z * f);
}

template <class T>
CMLQuaternion<T> CMLQuaternion<T>::Pow(T t) const {
    return (Log() * t).Exp();
}

template <class T>
CMLMatrix3<T> mlQuaternionToMatrix(const CMLQuaternion<T>& q) {
    const T w = q.w, x = q.x, y = q.y, z = q.z;
    // clang-format off
    const T m[9] = {T(1) - T(2) * y * y - T(2) * z * z, T(2) * x * y - T(2) * w * z, T(2) * x * z + T(2) * w * y,
                    T(2) * x * y + T(2) * w * z, T(1) - T(2) * x * x - T(2) * z * z, T(2) * y * z - T(2) * w * x,
                    T(2) * x * z - T(2) * w * y, T(2) * y * z + T(2) * w * x, T(1) - T(2) * x * x - T(2) * y * y};
    // clang-format on
    return CMLMatrix3<T>(m);
}

template <class T>
CMLQuaternion<T> mlMatrixToQuaternion(const CMLMatrix3<T>& m) {
    const T m00 = m(0, 0), m01 = m(0, 1), m02 = m(0, 2);
    const T m10 = m(1, 0), m11 = m(1, 1), m12 = m(1, 2);
    const T m20 = m(2, 0), m21 = m(2, 1), m22 = m(2, 2);
    const T t = m00 + m11 + m22;
    // No guard against s = 0: k is left to become infinite, as callers have always seen.
    if (t >= T(0)) {
        const T s = mlSafeSqrt(T(1) + t);
        const T k = T(0.5) / s;
        return CMLQuaternion<T>(s / T(2), (m21 - m12) * k, (m02 - m20) * k, (m10 - m01) * k);
    }
    const int branch = m11 >= m22 ? (m00 >= m11 ? 0 : 1) : (m00 >= m22 ? 0 : 2);
    if (branch == 0) {
        const T s = mlSafeSqrt(T(1) + m00 - m11 - m22);
        const T k = T(0.5) / s;
        return CMLQuaternion<T>((m21 - m12) * k, s / T(2), (m01 + m10) * k, (m20 + m02) * k);
    }
    if (branch == 1) {
        const T s = mlSafeSqrt(T(1) + m11 - m00 - m22);
        const T k = T(0.5) / s;
        return CMLQuaternion<T>((m02 - m20) * k, (m01 + m10) * k, s / T(2), (m12 + m21) * k);
    }
    const T s = mlSafeSqrt(T(1) + m22 - m11 - m00);
    const T k = T(0.5) / s;
    return CMLQuaternion<T>((m10 - m01) * k, (m20 + m02) * k, (m12 + m21) * k, s / T(2));
}

template <class T>
CMLQuaternion<T> mlEulerToQuaternion(T a, T b, T c, mlRotationsOrder order) {
    const CMLQuaternion<T> qx = Half(a, 0);
    const CMLQuaternion<T> qy = Half(b, 1);
    const CMLQuaternion<T> qz = Half(c, 2);
    switch (static_cast<int>(order)) {
        case mlXYZ:
            return qz * qy * qx;
        case mlXZY:
            return qy * qz * qx;
        case mlYXZ:
            return qz * qx * qy;
        case mlYZX:
            return qx * qz * qy;
        case mlZYX:
            return qx * qy * qz;
        case mlZXY:
            return qy * qx * qz;
        default:
            return CMLQuaternion<T>();
    }
}

#define ML_QUATERNION_DEFINE(T) ML_QUATERNION_INSTANCES(template, T)
ML_FOR_EACH_REAL(ML_QUATERNION_DEFINE)
#undef ML_QUATERNION_DEFINE
