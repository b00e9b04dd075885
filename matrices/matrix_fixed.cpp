#include <ml/matrix_fixed.h>

#include "matrix_fixed_kernels.h"

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

namespace fm = ml::detail::fixed_matrix;

// Below this cosine of the middle Euler angle the rotation counts as gimbal-locked: 16 machine
// epsilons, the rounding left in the elements of a rotation built with a middle angle of 90.
template <class T>
constexpr T kGimbalLockCosine = T(16) * std::numeric_limits<T>::epsilon();

// The axes (first to act, middle, last) of each mlRotationsOrder, and +1 when they are a cyclic
// permutation of X, Y, Z (-1 otherwise).
struct EulerAxes {
    int i, j, k, parity;
};
constexpr EulerAxes kEulerAxes[6] = {
    {0, 1, 2, 1},   // mlXYZ
    {0, 2, 1, -1},  // mlXZY
    {1, 0, 2, -1},  // mlYXZ
    {1, 2, 0, 1},   // mlYZX
    {2, 1, 0, -1},  // mlZYX
    {2, 0, 1, 1},   // mlZXY
};

bool IsValidOrder(mlRotationsOrder order) {
    return static_cast<int>(order) >= 0 && static_cast<int>(order) <= 5;
}

// The right-handed rotation by angle radians about coordinate axis 0, 1 or 2.
template <class T>
CMLMatrix3<T> AxisRotation(int axis, T angle) {
    const T c = std::cos(angle), s = std::sin(angle);
    const int p = (axis + 1) % 3, q = (axis + 2) % 3;
    CMLMatrix3<T> r;
    r(axis, axis) = T(1);
    r(p, p) = c;
    r(p, q) = -s;
    r(q, p) = s;
    r(q, q) = c;
    return r;
}

template <class M>
using ElementOf = std::remove_cv_t<std::remove_reference_t<decltype(std::declval<const M&>()[0])>>;

// The shared bodies of the numerical members, for M = CMLMatrix2/3/4<T>.

// The spectral norm goes through a temporary dynamic matrix, so that it is the dynamic matrices'
// value to the last bit; the other selectors are computed in place.
template <class M, class T = ElementOf<M>>
T NormOf(const M& a, mlMatrixNorm norm) {
    constexpr int N = M::Size();
    if (static_cast<int>(norm) == mlNormSpectral) return a.ConvertToMatrixMN().Norm(norm);
    return fm::Norm<T, N>(&a[0], static_cast<int>(norm));
}

template <class M, class T = ElementOf<M>>
int InverseWithCondition(const M& a, M& out, mlMatrixNorm norm, T eps, T& condition) {
    M inv;
    const int code = a.Inverse(inv, eps);
    if (code != 0) {
        condition = mlBigValue<T>;
        return code;
    }
    condition = a.Norm(norm) * inv.Norm(norm);
    out = inv;
    return 0;
}

template <class M, class T = ElementOf<M>>
T Condition(const M& a, mlMatrixNorm norm) {
    constexpr int N = M::Size();
    T s[N];
    if (!fm::Svd<T, N>(&a[0], nullptr, nullptr, s, T(0))) return mlBigValue<T>;
    if (!(s[0] > T(0)) || s[N - 1] <= T(N) * std::numeric_limits<T>::epsilon() * s[0]) {
        return mlBigValue<T>;
    }
    if (static_cast<int>(norm) == mlNormSpectral) return s[0] / s[N - 1];
    M inv;
    a.Inverse(inv, T(0));
    return a.Norm(norm) * inv.Norm(norm);
}

template <class M, class T = ElementOf<M>>
int Rank(const M& a, T eps) {
    constexpr int N = M::Size();
    T s[N];
    if (!fm::Svd<T, N>(&a[0], nullptr, nullptr, s, T(0))) return -1;
    const T e = std::numeric_limits<T>::epsilon();
    const T relative = T(N) * e * s[0];
    const T absolute = eps * (s[0] > T(1) ? s[0] : T(1));
    const T threshold = relative > absolute ? relative : absolute;
    int rank = 0;
    for (int k = 0; k < N; ++k)
        if (s[k] > threshold) ++rank;
    return rank;
}

template <class M, class V, class T = ElementOf<M>>
int SolveWithCondition(const M& a, const V& b, V& x, mlMatrixNorm norm, T eps, T& condition) {
    M inv;
    const int code = InverseWithCondition(a, inv, norm, eps, condition);
    if (code != 0) return code;
    x = inv * b;
    return 0;
}

template <class M, class T = ElementOf<M>>
int Positive(const M& a, T eps) {
    constexpr int N = M::Size();
    if (!a.IsSymmetric(eps)) return 0;
    T values[N], vectors[N * N];
    if (!fm::SymmetricEigen<T, N>(&a[0], values, vectors)) return 0;
    return values[0] > eps ? 1 : 0;
}

template <class V, class T>
void ToVector(const T* x, V& v) {
    for (int i = 0; i < V::Dim(); ++i)
        v[i] = x[i];
}

template <class M, class V, class T = ElementOf<M>>
int SingularValues(const M& a, M* U, M* V2, V& sigma, T eps) {
    constexpr int N = M::Size();
    T u[N * N], v[N * N], s[N];
    if (!fm::Svd<T, N>(&a[0], U ? u : nullptr, V2 ? v : nullptr, s, eps)) return 0;
    if (U) U->Fill(u);
    if (V2) V2->Fill(v);
    ToVector(s, sigma);
    return 1;
}

template <class M, class T = ElementOf<M>>
int PolarOf(const M& a, M& Q, M& S, int side, T eps) {
    constexpr int N = M::Size();
    T q[N * N], s[N * N];
    if (!fm::Polar<T, N>(&a[0], q, s, side, eps)) return 0;
    Q.Fill(q);
    S.Fill(s);
    return 1;
}

template <class M, class T = ElementOf<M>>
int QrOf(const M& a, M& Q, M& R, T eps) {
    constexpr int N = M::Size();
    T q[N * N], r[N * N];
    if (!fm::HouseholderQr<T, N>(&a[0], q, r, eps)) return 0;
    Q.Fill(q);
    R.Fill(r);
    return 1;
}

template <class M, class T = ElementOf<M>>
int LuOf(const M& a, M& L, M& U, T eps) {
    constexpr int N = M::Size();
    T l[N * N], u[N * N];
    const int ok = fm::DoolittleLu<T, N>(&a[0], l, u, eps);
    L.Fill(l);
    U.Fill(u);
    return ok;
}

template <class M, class V, class T = ElementOf<M>>
int EigenOf(const M& a, V& values, M& vectors, T eps) {
    constexpr int N = M::Size();
    if (!a.IsSymmetric(eps)) return 0;
    T w[N], v[N * N];
    if (!fm::SymmetricEigen<T, N>(&a[0], w, v)) return 0;
    ToVector(w, values);
    vectors.Fill(v);
    return 1;
}

template <class M, class T = ElementOf<M>>
int SpectralOf(const M& a, M& A, M& B, int requirePositive, T eps) {
    constexpr int N = M::Size();
    if (!a.IsSymmetric(eps)) return 0;
    T w[N], v[N * N];
    if (!fm::SymmetricEigen<T, N>(&a[0], w, v)) return 0;
    if (requirePositive && !(w[0] > eps)) return 0;
    A.Fill(v);
    B.SetToZero();
    for (int i = 0; i < N; ++i)
        B(i, i) = w[i];
    return 1;
}

template <class M, class T = ElementOf<M>>
int EigenvaluesOf(const M& a, CMLComplex<T>* values) {
    constexpr int N = M::Size();
    T re[N], im[N];
    const int real = fm::Eigenvalues<T, N>(&a[0], re, im);
    if (real < 0) return -1;
    for (int k = 0; k < N; ++k)
        values[k].Set(re[k], im[k]);
    return real;
}

template <class M, class V, class T = ElementOf<M>>
int RealEigenvectorsOf(const M& a, T* values, V* vectors, T eps) {
    constexpr int N = M::Size();
    T w[N], v[N * N];
    const int count = fm::RealEigenvectors<T, N>(&a[0], w, v, eps);
    for (int k = 0; k < count; ++k) {
        values[k] = w[k];
        ToVector(v + k * N, vectors[k]);
    }
    return count;
}

template <class M, class V, class T = ElementOf<M>>
int ComplexEigenvectorOf(const M& a, const CMLComplex<T>& value, V& re, V& im, T eps) {
    constexpr int N = M::Size();
    T vr[N], vi[N];
    if (!fm::ComplexEigenvector<T, N>(&a[0], value.Real(), value.Imag(), vr, vi, eps)) return 0;
    ToVector(vr, re);
    ToVector(vi, im);
    return 1;
}

}  // namespace

// ---- Members every size shares
// -------------------------------------------------------------------

namespace ml::detail::fixed_matrix {

template <class M, class T, int N>
Base<M, T, N>::Base(const CMLMatrixMN<T>& src) {
    for (int i = 0; i < N; ++i)
        for (int j = 0; j < N; ++j)
            m_data[i * N + j] = src(i, j);
}
template <class M, class T, int N>
CMLMatrixMN<T> Base<M, T, N>::ConvertToMatrixMN() const {
    return CMLMatrixMN<T>(N, N, m_data);
}
template <class M, class T, int N>
T Base<M, T, N>::Norm(mlMatrixNorm norm) const {
    return NormOf(Self(), norm);
}
template <class M, class T, int N>
int Base<M, T, N>::Inverse(M& out, mlMatrixNorm norm, T eps, T& condition) const {
    return InverseWithCondition(Self(), out, norm, eps, condition);
}
template <class M, class T, int N>
T Base<M, T, N>::ConditionNumber(mlMatrixNorm norm) const {
    return Condition(Self(), norm);
}
template <class M, class T, int N>
int Base<M, T, N>::CalculateRank(T eps) const {
    return Rank(Self(), eps);
}
template <class M, class T, int N>
int Base<M, T, N>::SolveSystem(const Vector& b, Vector& x, mlMatrixNorm norm, T eps,
                               T& condition) const {
    return SolveWithCondition(Self(), b, x, norm, eps, condition);
}
template <class M, class T, int N>
int Base<M, T, N>::IsPositive(T eps) const {
    return Positive(Self(), eps);
}
template <class M, class T, int N>
int Base<M, T, N>::SV_Decomposition(M& U, M& V, Vector& sigma, T eps) const {
    return SingularValues(Self(), &U, &V, sigma, eps);
}
template <class M, class T, int N>
int Base<M, T, N>::CalculateSingularNumbers(Vector& sigma) const {
    return SingularValues<M>(Self(), nullptr, nullptr, sigma, T(0));
}
template <class M, class T, int N>
int Base<M, T, N>::PolarDecomposition(M& Q, M& S, int side, T eps) const {
    return PolarOf(Self(), Q, S, side, eps);
}
template <class M, class T, int N>
int Base<M, T, N>::QR_Decomposition(M& Q, M& R, T eps) const {
    return QrOf(Self(), Q, R, eps);
}
template <class M, class T, int N>
int Base<M, T, N>::LU_Decomposition(M& L, M& U, T eps) const {
    return LuOf(Self(), L, U, eps);
}
template <class M, class T, int N>
int Base<M, T, N>::SymmetricEigensolve(Vector& values, M& vectors, T eps) const {
    return EigenOf(Self(), values, vectors, eps);
}
template <class M, class T, int N>
int Base<M, T, N>::SpectralDecomposition(M& A, M& B, int requirePositive, T eps) const {
    return SpectralOf(Self(), A, B, requirePositive, eps);
}

}  // namespace ml::detail::fixed_matrix

// The general eigenproblem of the 2x2 and 3x3 sizes.
#define ML_FIXED_MATRIX_EIGEN_MEMBERS(M)                                                        \
    template <class T>                                                                          \
    int M<T>::FindEigenvalues(CMLComplex<T>* values) const {                                    \
        return EigenvaluesOf(*this, values);                                                    \
    }                                                                                           \
    template <class T>                                                                          \
    int M<T>::FindEigenvectorsReal(T* values, Vector* vectors, T eps) const {                   \
        return RealEigenvectorsOf(*this, values, vectors, eps);                                 \
    }                                                                                           \
    template <class T>                                                                          \
    int M<T>::FindEigenvectorComplex(const CMLComplex<T>& value, Vector& re, Vector& im, T eps) \
        const {                                                                                 \
        return ComplexEigenvectorOf(*this, value, re, im, eps);                                 \
    }

ML_FIXED_MATRIX_EIGEN_MEMBERS(CMLMatrix2)
ML_FIXED_MATRIX_EIGEN_MEMBERS(CMLMatrix3)
#undef ML_FIXED_MATRIX_EIGEN_MEMBERS

// ---- CMLMatrix3: 2D homogeneous transforms
// -------------------------------------------------------

template <class T>
void CMLMatrix3<T>::Translate(T tx, T ty, int mode) {
    T* m = this->m_data;
    if (mode == 0) {
        // The corner element is added once more, as callers expect.
        m[2] = m[2] + m[0] * tx + m[1] * ty + m[8];
        m[5] = m[5] + m[3] * tx + m[4] * ty + m[8];
    } else {
        for (int j = 0; j < 3; ++j) {
            m[j] += tx * m[6 + j];
            m[3 + j] += ty * m[6 + j];
        }
    }
}

template <class T>
void CMLMatrix3<T>::Scale(T sx, T sy, int mode) {
    T* m = this->m_data;
    for (int k = 0; k < 3; ++k) {
        if (mode == 0) {
            m[k * 3] *= sx;
            m[k * 3 + 1] *= sy;
        } else {
            m[k] *= sx;
            m[3 + k] *= sy;
        }
    }
}

template <class T>
void CMLMatrix3<T>::Rotate(T angle, int mode) {
    T* m = this->m_data;
    const T c = std::cos(angle), s = std::sin(angle);
    for (int k = 0; k < 3; ++k) {
        if (mode == 0) {
            const T x = m[k * 3], y = m[k * 3 + 1];
            m[k * 3] = c * x + s * y;
            m[k * 3 + 1] = c * y - s * x;
        } else {
            const T x = m[k], y = m[3 + k];
            m[k] = c * x - s * y;
            m[3 + k] = s * x + c * y;
        }
    }
}

template <class T>
CMLMatrix3<T> CMLMatrix3<T>::Reflect() const {
    CMLMatrix3 r = *this;
    for (int k = 0; k < 6; ++k)
        r[k] = -r[k];
    return r;
}

// ---- CMLMatrix3: 3D rotations ----------------------------------------------------------------

template <class T>
int CMLMatrix3<T>::SetRotationByEulerAngles(T a, T b, T c, mlRotationsOrder order) {
    if (!IsValidOrder(order)) return 0;
    const EulerAxes& ax = kEulerAxes[static_cast<int>(order)];
    const T angles[3] = {mlReduceRadians(a * mlDegToRad<T>), mlReduceRadians(b * mlDegToRad<T>),
                         mlReduceRadians(c * mlDegToRad<T>)};
    const CMLMatrix3 r = AxisRotation(ax.k, angles[ax.k]) * AxisRotation(ax.j, angles[ax.j]) *
                         AxisRotation(ax.i, angles[ax.i]);
    *this = r;
    return 1;
}

template <class T>
int CMLMatrix3<T>::ExtractEulerAngles(mlRotationsOrder order, T& a, T& b, T& c) const {
    if (!IsValidOrder(order)) return 0;
    const EulerAxes& ax = kEulerAxes[static_cast<int>(order)];
    const int i = ax.i, j = ax.j, k = ax.k;
    const T s = T(ax.parity);
    const CMLMatrix3& m = *this;
    // With this = R_k(gamma) R_j(beta) R_i(alpha): m(k, i) = -s sin(beta), and row k carries
    // cos(beta) times the sine and cosine of alpha.
    const T sinBeta = -s * m(k, i);
    const T cosBeta = std::sqrt(m(k, j) * m(k, j) + m(k, k) * m(k, k));
    T alpha, beta = T(0), gamma;
    if (cosBeta <= kGimbalLockCosine<T>) {
        // Gimbal lock: only alpha + sigma * gamma is determined. Take it with alpha = 0, then
        // split it equally between the first and the third rotation.
        const T sigma = sinBeta > T(0) ? -s : s;
        const T gamma0 = std::atan2(-s * m(i, j), m(j, j));
        const T theta = sigma * gamma0;
        alpha = theta / T(2);
        gamma = sigma * theta / T(2);
    } else {
        beta = std::atan2(sinBeta, cosBeta);
        alpha = std::atan2(s * m(k, j), m(k, k));
        // gamma from this * R_i(alpha)^T = R_k(gamma) R_j(beta), whose (i, j) and (j, j)
        // elements are -s sin(gamma) and cos(gamma) whatever beta is.
        const T ca = std::cos(alpha), sa = std::sin(alpha);
        gamma = std::atan2(-s * m(i, j) * ca + m(i, k) * sa, m(j, j) * ca - s * m(j, k) * sa);
    }
    T out[3];
    out[i] = alpha * mlRadToDeg<T>;
    out[j] =
        cosBeta <= kGimbalLockCosine<T> ? (sinBeta > T(0) ? T(90) : T(-90)) : beta * mlRadToDeg<T>;
    out[k] = gamma * mlRadToDeg<T>;
    a = out[0];
    b = out[1];
    c = out[2];
    return 1;
}

template <class T>
int CMLMatrix3<T>::SetRotationByAngleAxis(T angle, const CMLVector3<T>& axis) {
    CMLVector3<T> n = axis;
    if (!n.Normalize()) return 0;
    const T theta = mlReduceRadians(angle * mlDegToRad<T>);
    const T c = std::cos(theta), s = std::sin(theta), t = T(1) - c;
    const T x = n.x, y = n.y, z = n.z;
    T* m = this->m_data;
    m[0] = c + x * x * t;
    m[1] = x * y * t - z * s;
    m[2] = x * z * t + y * s;
    m[3] = x * y * t + z * s;
    m[4] = c + y * y * t;
    m[5] = y * z * t - x * s;
    m[6] = x * z * t - y * s;
    m[7] = y * z * t + x * s;
    m[8] = c + z * z * t;
    return 1;
}

template <class T>
int CMLMatrix3<T>::ExtractRotationAngleAxis(T& angle, CMLVector3<T>& axis) const {
    const T* m = this->m_data;
    // v = 2 sin(theta) n and trace - 1 = 2 cos(theta).
    const T v[3] = {m[7] - m[5], m[2] - m[6], m[3] - m[1]};
    const T twoSin = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    const T twoCos = m[0] + m[4] + m[8] - T(1);
    const T theta = std::atan2(twoSin, twoCos);
    if (twoSin == T(0) && twoCos > T(0)) {
        angle = T(0);
        axis = CMLVector3<T>(T(0), T(0), T(0));
        return 0;
    }
    T n[3];
    if (twoCos > T(0)) {
        for (int r = 0; r < 3; ++r)
            n[r] = v[r] / twoSin;
    } else {
        // Near a half turn the antisymmetric part vanishes: (R + R^T) / 2 - cos(theta) I is
        // (1 - cos(theta)) n n^T; its column of largest diagonal element gives n.
        const T cosTheta = twoCos / T(2);
        T b[9];
        for (int r = 0; r < 3; ++r)
            for (int q = 0; q < 3; ++q)
                b[r * 3 + q] = (m[r * 3 + q] + m[q * 3 + r]) / T(2) - (r == q ? cosTheta : T(0));
        int col = 0;
        for (int r = 1; r < 3; ++r)
            if (b[r * 4] > b[col * 4]) col = r;
        T len = T(0);
        for (int r = 0; r < 3; ++r)
            len += b[r * 3 + col] * b[r * 3 + col];
        len = std::sqrt(len);
        for (int r = 0; r < 3; ++r)
            n[r] = b[r * 3 + col] / len;
        // Orient n along the antisymmetric part; at exactly a half turn, its largest component
        // positive.
        const T d = n[0] * v[0] + n[1] * v[1] + n[2] * v[2];
        if (d < T(0) || (d == T(0) && n[col] < T(0))) {
            for (int r = 0; r < 3; ++r)
                n[r] = -n[r];
        }
    }
    angle = theta * mlRadToDeg<T>;
    axis = CMLVector3<T>(n[0], n[1], n[2]);
    return 1;
}

template <class T>
int CMLMatrix3<T>::ExtractScaleRotation(CMLVector3<T>& scale, CMLMatrix3& rotation, T eps) const {
    if (!fm::AllFinite<T, 3>(this->m_data)) return 0;
    const T* m = this->m_data;
    T len[3];
    T longest = T(0);
    for (int q = 0; q < 3; ++q) {
        len[q] = std::sqrt(m[q] * m[q] + m[3 + q] * m[3 + q] + m[6 + q] * m[6 + q]);
        longest = len[q] > longest ? len[q] : longest;
    }
    for (int q = 0; q < 3; ++q)
        if (len[q] == T(0) || len[q] <= eps * longest) return 0;
    for (int p = 0; p < 3; ++p)
        for (int q = p + 1; q < 3; ++q) {
            const T d = m[p] * m[q] + m[3 + p] * m[3 + q] + m[6 + p] * m[6 + q];
            if (std::fabs(d) > eps * len[p] * len[q]) return 0;
        }
    T r[9];
    T sc[3] = {len[0], len[1], len[2]};
    for (int k = 0; k < 9; ++k)
        r[k] = m[k] / len[k % 3];
    const T det = r[0] * (r[4] * r[8] - r[5] * r[7]) + r[1] * (r[5] * r[6] - r[3] * r[8]) +
                  r[2] * (r[3] * r[7] - r[4] * r[6]);
    if (det < T(0)) {
        int flip = 0;
        for (int q = 1; q < 3; ++q)
            if (r[q * 4] < r[flip * 4]) flip = q;
        for (int p = 0; p < 3; ++p)
            r[p * 3 + flip] = -r[p * 3 + flip];
        sc[flip] = -sc[flip];
    }
    // The normalised columns are orthogonal within eps; their polar factor is exactly so.
    T q[9], s[9];
    if (!fm::Polar<T, 3>(r, q, s, 0, T(0))) return 0;
    rotation.Fill(q);
    scale = CMLVector3<T>(sc[0], sc[1], sc[2]);
    return 1;
}

template <class T>
int CMLMatrix3<T>::ExtractOrthogonal(CMLMatrix3& q, T eps) const {
    T u[9], v[9], s[3];
    if (!fm::Svd<T, 3>(this->m_data, u, v, s, T(0))) return 0;
    if (!(s[0] > T(0)) || s[2] <= eps * s[0]) return 0;
    T r[9];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r[i * 3 + j] =
                u[i * 3] * v[j * 3] + u[i * 3 + 1] * v[j * 3 + 1] + u[i * 3 + 2] * v[j * 3 + 2];
    q.Fill(r);
    return 1;
}

// ---- CMLMatrix4 --------------------------------------------------------------------------------

template <class T>
void CMLMatrix4<T>::FillPart(int r0, int c0, int r1, int c1, const T* src, int byRows) {
    if (r0 < 0 || r0 > r1 || r1 >= 4 || c0 < 0 || c0 > c1 || c1 >= 4) return;
    int k = 0;
    if (byRows) {
        for (int i = r0; i <= r1; ++i)
            for (int j = c0; j <= c1; ++j)
                (*this)(i, j) = src[k++];
    } else {
        for (int j = c0; j <= c1; ++j)
            for (int i = r0; i <= r1; ++i)
                (*this)(i, j) = src[k++];
    }
}

template <class T>
void CMLMatrix4<T>::DumpPart(int r0, int c0, int r1, int c1, T* dst, int byRows) const {
    if (r0 < 0 || r0 > r1 || r1 >= 4 || c0 < 0 || c0 > c1 || c1 >= 4) return;
    int k = 0;
    if (byRows) {
        for (int i = r0; i <= r1; ++i)
            for (int j = c0; j <= c1; ++j)
                dst[k++] = (*this)(i, j);
    } else {
        for (int j = c0; j <= c1; ++j)
            for (int i = r0; i <= r1; ++i)
                dst[k++] = (*this)(i, j);
    }
}

template <class T>
void CMLMatrix4<T>::CopyPartRow(int dstRow, int srcRow, int first, int last,
                                const CMLMatrix4& src) {
    for (int j = first; j <= last; ++j)
        (*this)(dstRow, j) = src(srcRow, j);
}

template <class T>
void CMLMatrix4<T>::CopyPartColumn(int dstCol, int srcCol, int first, int last,
                                   const CMLMatrix4& src) {
    for (int i = first; i <= last; ++i)
        (*this)(i, dstCol) = src(i, srcCol);
}

template <class T>
void CMLMatrix4<T>::Translate(T tx, T ty, T tz, int mode) {
    T* m = this->m_data;
    if (mode == 0) {
        // The corner element is added once more, as callers expect (and counted twice in the
        // corner itself).
        const T m33 = m[15];
        for (int i = 0; i < 3; ++i)
            m[i * 4 + 3] =
                m[i * 4 + 3] + m[i * 4] * tx + m[i * 4 + 1] * ty + m[i * 4 + 2] * tz + m33;
        m[15] = m33 + m[12] * tx + m[13] * ty + m[14] * tz + m33;
    } else {
        for (int j = 0; j < 4; ++j) {
            m[j] += tx * m[12 + j];
            m[4 + j] += ty * m[12 + j];
            m[8 + j] += tz * m[12 + j];
        }
    }
}

template <class T>
void CMLMatrix4<T>::Scale(T sx, T sy, T sz, int mode) {
    T* m = this->m_data;
    for (int k = 0; k < 4; ++k) {
        if (mode == 0) {
            m[k * 4] *= sx;
            m[k * 4 + 1] *= sy;
            m[k * 4 + 2] *= sz;
        } else {
            m[k] *= sx;
            m[4 + k] *= sy;
            m[8 + k] *= sz;
        }
    }
}

// The axis rotations keep, entry by entry, the arithmetic callers have always had; the entries
// that differ from the plain product are marked.
template <class T>
void CMLMatrix4<T>::RotateXAxis(T angle, int mode) {
    T* m = this->m_data;
    const T c = std::cos(angle), s = std::sin(angle);
    for (int k = 0; k < 4; ++k) {
        if (mode == 0) {
            const T x = m[k * 4 + 1], y = m[k * 4 + 2];
            m[k * 4 + 1] = c * x + s * y;
            m[k * 4 + 2] = s * x + c * y;  // kept: the product would give c*y - s*x
        } else {
            const T x = m[4 + k], y = m[8 + k];
            m[4 + k] = c * x - s * y;
            m[8 + k] = s * x + c * y;
        }
    }
}

template <class T>
void CMLMatrix4<T>::RotateYAxis(T angle, int mode) {
    T* m = this->m_data;
    const T c = std::cos(angle), s = std::sin(angle);
    for (int k = 0; k < 4; ++k) {
        if (mode == 0) {
            const T x = m[k * 4], y = m[k * 4 + 2];
            m[k * 4] = c * x - s * y;
            m[k * 4 + 2] = s * x + c * y;
        } else {
            const T x = m[k], y = m[8 + k];
            m[k] = c * x + s * y;
            m[8 + k] = c * y - s * x;
        }
    }
}

template <class T>
void CMLMatrix4<T>::RotateZAxis(T angle, int mode) {
    T* m = this->m_data;
    const T c = std::cos(angle), s = std::sin(angle);
    for (int k = 0; k < 4; ++k) {
        if (mode == 0) {
            const T x = m[k * 4], y = m[k * 4 + 1];
            m[k * 4] = c * x + s * y;
            m[k * 4 + 1] = s * x + c * y;  // kept: the product would give c*y - s*x
        } else {
            const T x = m[k], y = m[4 + k];
            m[k] = c * x - s * y;
            m[4 + k] = c * x + s * y;  // kept: the product would give s*x + c*y
        }
    }
}

template <class T>
CMLMatrix4<T> CMLMatrix4<T>::Reflect() const {
    CMLMatrix4 r = *this;
    for (int k = 0; k < 12; ++k)
        r[k] = -r[k];
    return r;
}

#define ML_MATRIX_FIXED_DEFINE(T) ML_MATRIX_FIXED_INSTANCES(template, T)
ML_FOR_EACH_REAL(ML_MATRIX_FIXED_DEFINE)
#undef ML_MATRIX_FIXED_DEFINE
