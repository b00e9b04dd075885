#include <ml/transform2d.h>

#include <cmath>

namespace {

// Every inversion of the free functions: Frobenius norm (selector 2) and this singularity limit.
constexpr int kInverseNorm = 2;
constexpr double kInverseEps = 1e-6;

template <class T>
CMLMatrix3<T> FromRows(T m00, T m01, T m02, T m10, T m11, T m12) {
    const T values[9] = {m00, m01, m02, m10, m11, m12, T(0), T(0), T(1)};
    return CMLMatrix3<T>(values);
}

// T(t).
template <class T>
CMLMatrix3<T> Translation(const CMLVector2<T>& t) {
    return FromRows(T(1), T(0), t.x, T(0), T(1), t.y);
}

// S(s, c) = T(c) * diag(sx, sy, 1) * T(-c).
template <class T>
CMLMatrix3<T> Scaling(const CMLVector2<T>& s, const CMLVector2<T>& c) {
    return FromRows(s.x, T(0), c.x - s.x * c.x, T(0), s.y, c.y - s.y * c.y);
}

// R(a, c) = T(c) * Rot(a) * T(-c), a in degrees.
template <class T>
CMLMatrix3<T> Rotation(T a, const CMLVector2<T>& c) {
    const T r = a * mlDegToRad<T>;
    const T co = std::cos(r);
    const T si = std::sin(r);
    return FromRows(co, -si, c.x - (co * c.x - si * c.y), si, co, c.y - (si * c.x + co * c.y));
}

// f^-1 through the condition-estimating inverse; returns 0 on success.
template <class T>
int InvertFrame(const CMLMatrix3<T>& f, CMLMatrix3<T>& inverse) {
    T cond = 0;
    return f.Inverse(inverse, static_cast<mlMatrixNorm>(kInverseNorm), T(kInverseEps), cond);
}

// The first two components of m * (p, 1).
template <class T>
CMLVector2<T> Apply(const CMLMatrix3<T>& m, const CMLVector2<T>& p) {
    const CMLVector3<T> r = m * CMLVector3<T>(p.x, p.y, T(1));
    return CMLVector2<T>(r.x, r.y);
}

template <class T>
T Det2(const CMLMatrix3<T>& m) {
    return m(0, 0) * m(1, 1) - m(0, 1) * m(1, 0);
}

// The upper-left block has orthonormal columns, within eps.
template <class T>
bool OrthonormalBlock(const CMLMatrix3<T>& m, T eps) {
    const T c0 = m(0, 0) * m(0, 0) + m(1, 0) * m(1, 0);
    const T c1 = m(0, 1) * m(0, 1) + m(1, 1) * m(1, 1);
    const T d = m(0, 0) * m(0, 1) + m(1, 0) * m(1, 1);
    return std::fabs(c0 - T(1)) <= eps && std::fabs(c1 - T(1)) <= eps && std::fabs(d) <= eps;
}

}  // namespace

// ---- CMLBase2DTransform -------------------------------------------------------------------------

template <class T>
int CMLBase2DTransform<T>::Invert(CMLMatrix3<T>& out, T eps) {
    return m_matrix.Inverse(out, eps) == 0 ? 1 : 0;
}

template <class T>
int CMLBase2DTransform<T>::IsAffine(T eps) const {
    return (std::fabs(m_matrix(2, 0)) <= eps && std::fabs(m_matrix(2, 1)) <= eps &&
            std::fabs(m_matrix(2, 2) - T(1)) <= eps)
               ? 1
               : 0;
}

// ---- CMLAffine2DTransform -----------------------------------------------------------------------

template <class T>
CMLAffine2DTransform<T>::CMLAffine2DTransform(const CMLMatrix2<T>& a, const CMLVector2<T>& t)
    : CMLBase2DTransform<T>(FromRows(a(0, 0), a(0, 1), t.x, a(1, 0), a(1, 1), t.y)) {}

template <class T>
void CMLAffine2DTransform<T>::SetScaling(const CMLVector2<T>& s, const CMLVector2<T>& c) {
    this->m_matrix = Scaling(s, c);
}

template <class T>
void CMLAffine2DTransform<T>::SetShear(T shx, T shy) {
    this->m_matrix = FromRows(T(1), shx, T(0), shy, T(1), T(0));
}

template <class T>
void CMLAffine2DTransform<T>::SetTranslation(const CMLVector2<T>& t) {
    this->m_matrix = Translation(t);
}

template <class T>
void CMLAffine2DTransform<T>::SetRotation(T a, const CMLVector2<T>& c) {
    this->m_matrix = Rotation(a, c);
}

template <class T>
void CMLAffine2DTransform<T>::SetTR(const CMLVector2<T>& t, T a, const CMLVector2<T>& c) {
    this->m_matrix = Rotation(a, c) * Translation(t);
}

template <class T>
void CMLAffine2DTransform<T>::SetRT(const CMLVector2<T>& t, T a, const CMLVector2<T>& c) {
    this->m_matrix = Translation(t) * Rotation(a, c);
}

template <class T>
void CMLAffine2DTransform<T>::SetTS(const CMLVector2<T>& t, const CMLVector2<T>& s,
                                    const CMLVector2<T>& c) {
    this->m_matrix = Scaling(s, c) * Translation(t);
}

template <class T>
void CMLAffine2DTransform<T>::SetST(const CMLVector2<T>& t, const CMLVector2<T>& s,
                                    const CMLVector2<T>& c) {
    this->m_matrix = Translation(t) * Scaling(s, c);
}

template <class T>
void CMLAffine2DTransform<T>::SetRS(T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                                    const CMLVector2<T>& sc) {
    this->m_matrix = Scaling(s, sc) * Rotation(a, rc);
}

template <class T>
void CMLAffine2DTransform<T>::SetSR(T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                                    const CMLVector2<T>& sc) {
    this->m_matrix = Scaling(s, sc);
    AddRotation(a, rc);
}

template <class T>
void CMLAffine2DTransform<T>::SetTRS(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc,
                                     const CMLVector2<T>& s, const CMLVector2<T>& sc) {
    this->m_matrix = Scaling(s, sc) * Rotation(a, rc) * Translation(t);
}

template <class T>
void CMLAffine2DTransform<T>::SetTSR(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc,
                                     const CMLVector2<T>& s, const CMLVector2<T>& sc) {
    this->m_matrix = Rotation(a, rc) * Scaling(s, sc) * Translation(t);
}

template <class T>
void CMLAffine2DTransform<T>::SetRST(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc,
                                     const CMLVector2<T>& s, const CMLVector2<T>& sc) {
    this->m_matrix = Translation(t) * Scaling(s, sc) * Rotation(a, rc);
}

template <class T>
void CMLAffine2DTransform<T>::SetRTS(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc,
                                     const CMLVector2<T>& s, const CMLVector2<T>& sc) {
    this->m_matrix = Scaling(s, sc) * Translation(t) * Rotation(a, rc);
}

template <class T>
void CMLAffine2DTransform<T>::SetSRT(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc,
                                     const CMLVector2<T>& s, const CMLVector2<T>& sc) {
    this->m_matrix = Translation(t) * Rotation(a, rc) * Scaling(s, sc);
}

template <class T>
void CMLAffine2DTransform<T>::SetSTR(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc,
                                     const CMLVector2<T>& s, const CMLVector2<T>& sc) {
    this->m_matrix = Rotation(a, rc) * Translation(t) * Scaling(s, sc);
}

template <class T>
void CMLAffine2DTransform<T>::AddTranslation(const CMLVector2<T>& t) {
    CMLMatrix3<T>& m = this->m_matrix;
    for (int j = 0; j < 3; ++j) {
        m(0, j) += t.x * m(2, j);
        m(1, j) += t.y * m(2, j);
    }
}

template <class T>
void CMLAffine2DTransform<T>::AddScaling(const CMLVector2<T>& s, const CMLVector2<T>& c) {
    this->m_matrix = Scaling(s, c) * this->m_matrix;
}

template <class T>
void CMLAffine2DTransform<T>::AddRotation(T a, const CMLVector2<T>& c) {
    CMLMatrix3<T>& m = this->m_matrix;
    const T r = a * mlDegToRad<T>;
    const T co = std::cos(r);
    const T si = std::sin(r);
    for (int j = 0; j < 3; ++j) {
        // T(-c), then the rotation of rows 0 and 1 in place (row 1 reads the new row 0), then
        // T(c): the in-place second step is the behaviour callers have always had.
        T r0 = m(0, j) - c.x * m(2, j);
        T r1 = m(1, j) - c.y * m(2, j);
        r0 = co * r0 - si * r1;
        r1 = si * r0 + co * r1;
        m(0, j) = r0 + c.x * m(2, j);
        m(1, j) = r1 + c.y * m(2, j);
    }
}

template <class T>
void CMLAffine2DTransform<T>::AddShear(T shx, T shy) {
    CMLMatrix3<T>& m = this->m_matrix;
    for (int j = 0; j < 3; ++j) {
        // The rows are replaced, not added to, as callers expect.
        m(0, j) = shx * m(1, j);
        m(1, j) = shy * m(0, j);
    }
}

template <class T>
CMLVector2<T> CMLAffine2DTransform<T>::GetTranslation() const {
    return CMLVector2<T>(this->m_matrix(0, 2), this->m_matrix(1, 2));
}

template <class T>
CMLMatrix2<T> CMLAffine2DTransform<T>::Get2DMatrix() const {
    const CMLMatrix3<T>& m = this->m_matrix;
    const T values[4] = {m(0, 0), m(0, 1), m(1, 0), m(1, 1)};
    return CMLMatrix2<T>(values);
}

template <class T>
CMLMatrixMN<T> CMLAffine2DTransform<T>::Get2_3Matrix() const {
    const CMLMatrix3<T>& m = this->m_matrix;
    const T values[6] = {m(0, 0), m(0, 1), m(0, 2), m(1, 0), m(1, 1), m(1, 2)};
    return CMLMatrixMN<T>(2, 3, values);
}

template <class T>
void CMLAffine2DTransform<T>::Extract2DData(CMLMatrix2<T>& a, CMLVector2<T>& t) const {
    a = Get2DMatrix();
    t = GetTranslation();
}

template <class T>
void CMLAffine2DTransform<T>::Set2DData(const CMLMatrix2<T>& a, const CMLVector2<T>& t) {
    CMLMatrix3<T>& m = this->m_matrix;
    m(0, 0) = a(0, 0);
    m(0, 1) = a(0, 1);
    m(1, 0) = a(1, 0);
    m(1, 1) = a(1, 1);
    m(0, 2) = t.x;
    m(1, 2) = t.y;
}

template <class T>
int CMLAffine2DTransform<T>::IsTranslation(T eps) const {
    const CMLMatrix3<T>& m = this->m_matrix;
    return (this->IsAffine(eps) && std::fabs(m(0, 0) - T(1)) <= eps &&
            std::fabs(m(1, 1) - T(1)) <= eps && std::fabs(m(0, 1)) <= eps &&
            std::fabs(m(1, 0)) <= eps)
               ? 1
               : 0;
}

template <class T>
int CMLAffine2DTransform<T>::IsRotation(T eps) const {
    const CMLMatrix3<T>& m = this->m_matrix;
    if (!this->IsAffine(eps) || !OrthonormalBlock(m, eps) || !(Det2(m) > T(0))) return 0;
    if (IsTranslation(eps)) {
        // The identity block: a rotation by 0 about any point, but only without translation.
        return (std::fabs(m(0, 2)) <= eps && std::fabs(m(1, 2)) <= eps) ? 1 : 0;
    }
    return 1;
}

template <class T>
int CMLAffine2DTransform<T>::IsOrthogonal(T eps) const {
    return (this->IsAffine(eps) && OrthonormalBlock(this->m_matrix, eps)) ? 1 : 0;
}

template <class T>
int CMLAffine2DTransform<T>::IsScaling(T eps) const {
    const CMLMatrix3<T>& m = this->m_matrix;
    if (!this->IsAffine(eps) || std::fabs(m(0, 1)) > eps || std::fabs(m(1, 0)) > eps) return 0;
    // A factor of 1 leaves no centre along its axis to move about.
    if (std::fabs(m(0, 0) - T(1)) <= eps && std::fabs(m(0, 2)) > eps) return 0;
    if (std::fabs(m(1, 1) - T(1)) <= eps && std::fabs(m(1, 2)) > eps) return 0;
    return 1;
}

// ---- Free functions -----------------------------------------------------------------------------

template <class T>
CMLVector2<T> mlLocalToWorld(const CMLVector2<T>& p, const CMLMatrix3<T>& f) {
    return Apply(f, p);
}

template <class T>
CMLVector2<T> mlWorldToLocal(const CMLVector2<T>& p, const CMLMatrix3<T>& f) {
    CMLMatrix3<T> inverse;
    if (InvertFrame(f, inverse) != 0) return p;
    return Apply(inverse, p);
}

template <class T>
CMLVector2<T> mlRecalculateCoordinates(const CMLVector2<T>& p, const CMLMatrix3<T>& f1,
                                       const CMLMatrix3<T>& f2) {
    CMLMatrix3<T> inverse;
    if (InvertFrame(f2, inverse) != 0) return p;
    return Apply(inverse * f1, p);
}

template <class T>
CMLMatrix3<T> mlTransformToWorld(const CMLMatrix3<T>& m, const CMLMatrix3<T>& f) {
    CMLMatrix3<T> inverse;
    if (InvertFrame(f, inverse) != 0) return m;
    return f * m * inverse;
}

template <class T>
CMLMatrix3<T> mlTransformToLocal(const CMLMatrix3<T>& m, const CMLMatrix3<T>& f) {
    CMLMatrix3<T> inverse;
    if (InvertFrame(f, inverse) != 0) return m;
    return inverse * m * f;
}

template <class T>
CMLMatrix3<T> mlRecalculateTransform(const CMLMatrix3<T>& m, const CMLMatrix3<T>& f1,
                                     const CMLMatrix3<T>& f2) {
    CMLMatrix3<T> inverse1, inverse2;
    if (InvertFrame(f1, inverse1) != 0 || InvertFrame(f2, inverse2) != 0) return m;
    return inverse2 * f1 * m * inverse1 * f2;
}

template <class T>
CMLMatrix3<T> mlCombineTransforms(const CMLMatrix3<T>& m1, const CMLMatrix3<T>& m2,
                                  const CMLMatrix3<T>& f1, const CMLMatrix3<T>& f2, int mode) {
    const CMLMatrix3<T> x = mlRecalculateTransform(m2, f2, f1);
    return mode ? x * m1 : m1 * x;
}

template <class T>
int mlFindAffineTransform(const CMLVector2<T>* src, const CMLVector2<T>* dst, CMLMatrix3<T>& out) {
    // D = A * S with S, D the points as homogeneous columns: A = D * S^-1.
    const T s[9] = {src[0].x, src[1].x, src[2].x, src[0].y, src[1].y, src[2].y, T(1), T(1), T(1)};
    const T d[9] = {dst[0].x, dst[1].x, dst[2].x, dst[0].y, dst[1].y, dst[2].y, T(1), T(1), T(1)};
    CMLMatrix3<T> inverse;
    if (InvertFrame(CMLMatrix3<T>(s), inverse) != 0) return 0;
    const CMLMatrix3<T> a = CMLMatrix3<T>(d) * inverse;
    out = FromRows(a(0, 0), a(0, 1), a(0, 2), a(1, 0), a(1, 1), a(1, 2));
    return 1;
}

template <class T>
CMLVector2<T> mlTranslate(const CMLVector2<T>& p, const CMLVector2<T>& t) {
    return p + t;
}

template <class T>
CMLVector2<T> mlScale(const CMLVector2<T>& s, const CMLVector2<T>& c, const CMLVector2<T>& p) {
    return CMLVector2<T>(c.x + s.x * (p.x - c.x), c.y + s.y * (p.y - c.y));
}

template <class T>
CMLVector2<T> mlRotate(T a, const CMLVector2<T>& c, const CMLVector2<T>& p) {
    const T r = a * mlDegToRad<T>;
    const T co = std::cos(r);
    const T si = std::sin(r);
    const T dx = p.x - c.x;
    const T dy = p.y - c.y;
    return CMLVector2<T>(c.x + (co * dx - si * dy), c.y + (si * dx + co * dy));
}

#define ML_TRANSFORM2D_DEFINE(T) ML_TRANSFORM2D_INSTANCES(template, T)
ML_FOR_EACH_REAL(ML_TRANSFORM2D_DEFINE)
#undef ML_TRANSFORM2D_DEFINE
