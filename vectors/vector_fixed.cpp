#include <ml/vector_fixed.h>

#include <ml/algebra.h>
#include <ml/vector_n.h>

#include <cmath>
#include <limits>

namespace {

namespace fv = ml::detail::fixed_vector;

// Below this guarded length the first vector of an angle counts as zero and the angle is 0; the
// same limit for float and double.
constexpr double kAngleZeroLength = 1e-6;

template <class V>
fv::Elem<V> AngleInRadians(const V& a, const V& b) {
    using T = fv::Elem<V>;
    const T la = a.Length();
    if (mlIsAlmostZero(la, T(kAngleZeroLength))) return T(0);
    return std::acos(a.Dot(b) / (la * b.Length()));
}

template <class V>
V Combine(int n, const V* v, const fv::Elem<V>* w) {
    V r = v[0] * w[0];
    for (int i = 1; i < n; ++i) r += v[i] * w[i];
    return r;
}

template <class V>
V Mean(const V* v, int n) {
    using T = fv::Elem<V>;
    if (n <= 0) return V(std::numeric_limits<T>::quiet_NaN());
    V sum;
    for (int i = 0; i < n; ++i) sum += v[i];
    return sum * (T(1) / static_cast<T>(n));
}

template <class V>
void CopyArray(int n, const V* src, V* dst) {
    for (int i = 0; i < n; ++i) dst[i] = src[i];
}

template <class V>
int AppendArray(int n, V* dst, int m, const V* src) {
    for (int i = 0; i < m; ++i) dst[n + i] = src[i];
    return n + m;
}

// ((v.u) / (u.u)) * u: the projection of v on the unnormalised u.
template <class V>
V Projection(const V& v, const V& u) {
    return u * (v.Dot(u) / u.Dot(u));
}

// u / mlSafeNorm(u.u) when that norm is at least P, else u as it is.
template <class V>
V NormalizedIfLong(const V& u) {
    using T = fv::Elem<V>;
    const T norm = mlSafeNorm(u.Dot(u));
    return norm >= mlDefaultPrecision<T> ? u / norm : u;
}

}  // namespace

template <class T>
CMLVector2<T>::CMLVector2(const CMLVectorN<T>& v) : x(v[0]), y(v[1]) {}

template <class T>
CMLVector2<T>& CMLVector2<T>::operator=(const CMLVectorN<T>& v) {
    return *this = CMLVector2(v);
}

template <class T>
CMLVector3<T>::CMLVector3(const CMLVectorN<T>& v) : x(v[0]), y(v[1]), z(v[2]) {}

template <class T>
CMLVector3<T>& CMLVector3<T>::operator=(const CMLVectorN<T>& v) {
    return *this = CMLVector3(v);
}

template <class T>
CMLVector4<T>::CMLVector4(const CMLVectorN<T>& v) : x(v[0]), y(v[1]), z(v[2]), w(v[3]) {}

template <class T>
CMLVector4<T>& CMLVector4<T>::operator=(const CMLVectorN<T>& v) {
    return *this = CMLVector4(v);
}

template <class T>
T CMLVector2<T>::Angle_0_360() const {
    const T a = std::atan2(y, x) * mlRadToDeg<T>;
    return a < 0 ? a + T(360) : a;
}

template <class T>
T CMLVector2<T>::Angle_MINUS_180_180() const {
    return std::atan2(y, x) * mlRadToDeg<T>;
}

template <class T>
int CMLVector2<T>::DecomposeInBasis(const CMLVector2& e1, const CMLVector2& e2, T& c1, T& c2,
                                    T precision) const {
    T s1 = 0, s2 = 0;
    int status = 0;
    const int result =
        CMLAlgebra::Solve2x2System(e1.x, e2.x, e1.y, e2.y, x, y, s1, s2, status, precision);
    // An ill-conditioned system (status 2) is refused like a singular one.
    if (result != 1 || status != 1) return 0;
    c1 = s1;
    c2 = s2;
    return 1;
}

template <class T>
int CMLVector3<T>::DecomposeInBasis(const CMLVector3& e1, const CMLVector3& e2,
                                    const CMLVector3& e3, T& c1, T& c2, T& c3,
                                    T precision) const {
    T s1 = 0, s2 = 0, s3 = 0;
    int status = 0;
    const int result = CMLAlgebra::Solve3x3System(e1.x, e2.x, e3.x, e1.y, e2.y, e3.y, e1.z, e2.z,
                                                  e3.z, x, y, z, s1, s2, s3, status, precision);
    // An ill-conditioned system (status 2) is refused like a singular one.
    if (result != 1 || status != 1) return 0;
    c1 = s1;
    c2 = s2;
    c3 = s3;
    return 1;
}

template <class T>
CMLVector2<T> mlCombine(int n, const CMLVector2<T>* v, const T* w) {
    return Combine(n, v, w);
}
template <class T>
CMLVector3<T> mlCombine(int n, const CMLVector3<T>* v, const T* w) {
    return Combine(n, v, w);
}

template <class T>
CMLVector2<T> mlFindMean(const CMLVector2<T>* v, int n) {
    return Mean(v, n);
}
template <class T>
CMLVector3<T> mlFindMean(const CMLVector3<T>* v, int n) {
    return Mean(v, n);
}

template <class T>
T mlFindAngleInRadians(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return AngleInRadians(a, b);
}
template <class T>
T mlFindAngleInRadians(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return AngleInRadians(a, b);
}
template <class T>
T mlFindAngleInDegrees(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return AngleInRadians(a, b) * mlRadToDeg<T>;
}
template <class T>
T mlFindAngleInDegrees(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return AngleInRadians(a, b) * mlRadToDeg<T>;
}

template <class T>
T mlSin(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return fv::CrossMagnitude(a, b) / (a.Length() * b.Length());
}
template <class T>
T mlSin(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return fv::CrossMagnitude(a, b) / (a.Length() * b.Length());
}
template <class T>
T mlCos(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return a.Dot(b) / (a.Length() * b.Length());
}
template <class T>
T mlCos(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return a.Dot(b) / (a.Length() * b.Length());
}
template <class T>
T mlTan(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return fv::CrossMagnitude(a, b) / a.Dot(b);
}
template <class T>
T mlTan(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return fv::CrossMagnitude(a, b) / a.Dot(b);
}
template <class T>
T mlCot(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return a.Dot(b) / fv::CrossMagnitude(a, b);
}
template <class T>
T mlCot(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return a.Dot(b) / fv::CrossMagnitude(a, b);
}

template <class T>
int mlOrthonormalize(CMLVector2<T>& e1, CMLVector2<T>& e2, ml::detail::non_deduced_t<T> precision) {
    const T m = fv::LargestAbsComponent(e1, e2);
    if (precision > m) return 0;
    if (precision * m > std::fabs(mlCross2D(e1, e2))) return 0;
    const CMLVector2<T> u1 = e1;
    const CMLVector2<T> u2 = e2 - Projection(e2, u1);
    e1 = u1 / mlSafeSqrt(u1.Dot(u1));
    e2 = NormalizedIfLong(u2);
    return 1;
}

template <class T>
int mlOrthonormalize(CMLVector3<T>& e1, CMLVector3<T>& e2, CMLVector3<T>& e3,
                     ml::detail::non_deduced_t<T> precision) {
    const T m = fv::LargestAbsComponent(e1, e2, e3);
    if (precision > m) return 0;
    if (precision * m > std::fabs(mlMixedProduct(e1, e2, e3))) return 0;
    const CMLVector3<T> u1 = e1;
    const CMLVector3<T> u2 = e2 - Projection(e2, u1);
    // Both projections of e3 are taken from e3 itself (classical Gram-Schmidt).
    const CMLVector3<T> u3 = e3 - Projection(e3, u1) - Projection(e3, u2);
    e1 = u1 / mlSafeSqrt(u1.Dot(u1));
    e2 = u2 / mlSafeSqrt(u2.Dot(u2));
    e3 = NormalizedIfLong(u3);
    return 1;
}

template <class T>
int mlAreOrthonormalized(const CMLVector2<T>& e1, const CMLVector2<T>& e2,
                         ml::detail::non_deduced_t<T> precision) {
    if (!mlAreOrthogonal(e1, e2, precision)) return 0;
    if (!e1.IsAlmostUnit(precision) || !e2.IsAlmostUnit(precision)) return 0;
    // In two dimensions the orientation test is made on the dot product, as callers have always
    // had it: it accepts a clockwise pair and rejects an orthogonal pair whose dot product rounds
    // below zero.
    return e1.Dot(e2) >= 0 ? 1 : 0;
}

template <class T>
int mlAreOrthonormalized(const CMLVector3<T>& e1, const CMLVector3<T>& e2, const CMLVector3<T>& e3,
                         ml::detail::non_deduced_t<T> precision) {
    if (!mlAreOrthogonal(e1, e2, precision) || !mlAreOrthogonal(e1, e3, precision) ||
        !mlAreOrthogonal(e2, e3, precision)) {
        return 0;
    }
    if (!e1.IsAlmostUnit(precision) || !e2.IsAlmostUnit(precision) || !e3.IsAlmostUnit(precision)) return 0;
    return mlMixedProduct(e1, e2, e3) >= 0 ? 1 : 0;
}

template <class T>
void mlCopyVectorArray(int n, const CMLVector2<T>* src, CMLVector2<T>* dst) {
    CopyArray(n, src, dst);
}
template <class T>
void mlCopyVectorArray(int n, const CMLVector3<T>* src, CMLVector3<T>* dst) {
    CopyArray(n, src, dst);
}

template <class T>
int mlAppendVectorArray(int n, CMLVector2<T>* dst, int m, const CMLVector2<T>* src) {
    return AppendArray(n, dst, m, src);
}
template <class T>
int mlAppendVectorArray(int n, CMLVector3<T>* dst, int m, const CMLVector3<T>* src) {
    return AppendArray(n, dst, m, src);
}

#define ML_VECTOR_FIXED_DEFINE(T) ML_VECTOR_FIXED_INSTANCES(template, T)
ML_FOR_EACH_REAL(ML_VECTOR_FIXED_DEFINE)
#undef ML_VECTOR_FIXED_DEFINE
