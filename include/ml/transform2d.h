// CMLBase2DTransform<T>, CMLAffine2DTransform<T>: plane transforms held as 3x3 homogeneous
// matrices (column vectors, translation in the last column), and the free functions that move
// points and transforms between a local frame and the world frame, combine transforms given in
// different frames, and find the affine map of three point pairs.
//
// Conventions:
//  - Angles are in degrees; a centre is the fixed point of its operation.
//  - T(t) is the translation by t, S(s, c) = T(c) * diag(sx, sy, 1) * T(-c) the scaling about c,
//    R(a, c) = T(c) * Rot(a) * T(-c) the counter-clockwise rotation about c, Rot(a) with the block
//    (cos a, -sin a; sin a, cos a).
//  - Setters with several letters name their parts in the order in which they act on a point:
//    SetTR translates first and then rotates (R * T); SetTRS translates, rotates, then scales
//    (S * R * T).
//  - Points are mapped as the first two components of matrix * (x, y, 1), with no division by the
//    third component, whatever the matrix holds.
//
// Behaviour callers rely on:
//  - AddRotation works in place in three steps: matrix := T(-c) * matrix; then, with co = cos a
//    and si = sin a, row 0 := co * row 0 - si * row 1 and row 1 := si * (the new row 0) +
//    co * row 1; then matrix := T(c) * matrix. Because row 1 is formed from the updated row 0,
//    the result is not R(a, c) * matrix for non-zero angles (for small angles it is close).
//    SetSR inherits this.
//  - AddShear replaces rows instead of adding to them: row 0 := shx * row 1, then
//    row 1 := shy * (the new row 0); row 2 stays.
//  - Invert returns 1 on success and 0 for a singular matrix (the opposite sense of
//    CMLMatrix3::Inverse, which returns 0 on success).
//  - The free functions invert through CMLMatrix3::Inverse(out, norm 2, eps 1e-6, cond); when an
//    inversion fails they return their input unchanged.
//
// Nothing throws; only Get2_3Matrix allocates (the dynamic matrix it returns).
#ifndef ML_TRANSFORM2D_H
#define ML_TRANSFORM2D_H

#include <ml/matrix_fixed.h>
#include <ml/matrix_mn.h>
#include <ml/precision.h>
#include <ml/types.h>
#include <ml/vector_fixed.h>

// A plane transform: one 3x3 homogeneous matrix, the identity by default.
template <class T>
class ML_API CMLBase2DTransform {
public:
    // The identity.
    CMLBase2DTransform() { m_matrix.Unit(); }
    // A copy of m.
    explicit CMLBase2DTransform(const CMLMatrix3<T>& m) : m_matrix(m) {}
    CMLBase2DTransform(const CMLBase2DTransform&) = default;

    // Virtual operations, in this order; the virtual destructor follows them, so that a transform
    // can be deleted through a pointer to its base.

    // Copies the matrix of t.
    virtual CMLBase2DTransform& operator=(const CMLBase2DTransform& t) {
        m_matrix = t.m_matrix;
        return *this;
    }
    // out := the inverse of the matrix (CMLMatrix3::Inverse(out, eps)); returns 1 on success and
    // 0, with out untouched, when |det| < eps. Not const: derived transforms override this very
    // signature.
    virtual int Invert(CMLMatrix3<T>& out, T eps);
    // 0 for a general transform; derived classes return their own code.
    virtual int GetTypeOfTransform() const { return 0; }
    virtual ~CMLBase2DTransform() = default;

    // The matrix.
    const CMLMatrix3<T>& GetMatrix() const { return m_matrix; }
    // Replace the matrix.
    void SetToIdentity() { m_matrix.Unit(); }
    void SetTransform(const CMLMatrix3<T>& m) { m_matrix = m; }
    // matrix := m * matrix: m acts after the present transform.
    void AddTransform(const CMLMatrix3<T>& m) { m_matrix = m * m_matrix; }
    // m * matrix for a non-zero mode, matrix * m for mode 0; the object is unchanged.
    CMLMatrix3<T> Combine(const CMLMatrix3<T>& m, int mode) const {
        return mode ? m * m_matrix : m_matrix * m;
    }
    // 1 if |m20| <= eps, |m21| <= eps and |m22 - 1| <= eps.
    int IsAffine(T eps) const;

protected:
    CMLMatrix3<T> m_matrix;
};

// An affine plane transform. Adds no data; GetTypeOfTransform() is 6 whatever the matrix holds.
template <class T>
class ML_API CMLAffine2DTransform : public CMLBase2DTransform<T> {
public:
    // The identity.
    CMLAffine2DTransform() = default;
    // A copy of m.
    explicit CMLAffine2DTransform(const CMLMatrix3<T>& m) : CMLBase2DTransform<T>(m) {}
    CMLAffine2DTransform(const CMLAffine2DTransform&) = default;
    // Upper-left block a, translation column t, last row (0, 0, 1).
    CMLAffine2DTransform(const CMLMatrix2<T>& a, const CMLVector2<T>& t);

    // Virtual operations, in this order (after the inherited Invert).

    // Copies the matrix of t.
    CMLAffine2DTransform& operator=(const CMLBase2DTransform<T>& t) override {
        this->m_matrix = t.GetMatrix();
        return *this;
    }
    // 6.
    int GetTypeOfTransform() const override { return 6; }
    // Copies the matrix of t.
    virtual CMLAffine2DTransform& operator=(const CMLAffine2DTransform& t) {
        this->m_matrix = t.m_matrix;
        return *this;
    }
    // matrix := S(s, c).
    virtual void SetScaling(const CMLVector2<T>& s, const CMLVector2<T>& c);
    // matrix := rows (1, shx, 0), (shy, 1, 0), (0, 0, 1).
    virtual void SetShear(T shx, T shy);

    // ---- Setters --------------------------------------------------------------------------------

    // matrix := T(t).
    void SetTranslation(const CMLVector2<T>& t);
    // matrix := R(a, c).
    void SetRotation(T a, const CMLVector2<T>& c);
    // R(a, c) * T(t): translate, then rotate.
    void SetTR(const CMLVector2<T>& t, T a, const CMLVector2<T>& c);
    // T(t) * R(a, c): rotate, then translate.
    void SetRT(const CMLVector2<T>& t, T a, const CMLVector2<T>& c);
    // S(s, c) * T(t): translate, then scale.
    void SetTS(const CMLVector2<T>& t, const CMLVector2<T>& s, const CMLVector2<T>& c);
    // T(t) * S(s, c): scale, then translate.
    void SetST(const CMLVector2<T>& t, const CMLVector2<T>& s, const CMLVector2<T>& c);
    // S(s, sc) * R(a, rc): rotate, then scale.
    void SetRS(T a, const CMLVector2<T>& rc, const CMLVector2<T>& s, const CMLVector2<T>& sc);
    // S(s, sc), then AddRotation(a, rc): scale, then rotate, with AddRotation's in-place step.
    void SetSR(T a, const CMLVector2<T>& rc, const CMLVector2<T>& s, const CMLVector2<T>& sc);
    // Three parts (translation t, rotation by a about rc, scaling by s about sc), exact products
    // in the order the letters name: SetTRS = S * R * T, SetTSR = R * S * T, SetRST = T * S * R,
    // SetRTS = S * T * R, SetSRT = T * R * S, SetSTR = R * T * S.
    void SetTRS(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                const CMLVector2<T>& sc);
    void SetTSR(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                const CMLVector2<T>& sc);
    void SetRST(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                const CMLVector2<T>& sc);
    void SetRTS(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                const CMLVector2<T>& sc);
    void SetSRT(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                const CMLVector2<T>& sc);
    void SetSTR(const CMLVector2<T>& t, T a, const CMLVector2<T>& rc, const CMLVector2<T>& s,
                const CMLVector2<T>& sc);

    // ---- Adding an operation after the present transform ---------------------------------------

    // matrix := T(t) * matrix.
    void AddTranslation(const CMLVector2<T>& t);
    // matrix := S(s, c) * matrix.
    void AddScaling(const CMLVector2<T>& s, const CMLVector2<T>& c);
    // The three in-place steps described at the top of this header.
    void AddRotation(T a, const CMLVector2<T>& c);
    // row 0 := shx * row 1, then row 1 := shy * (the new row 0); row 2 stays.
    void AddShear(T shx, T shy);

    // ---- Parts of the matrix --------------------------------------------------------------------

    // (m02, m12).
    CMLVector2<T> GetTranslation() const;
    // The upper-left 2x2 block.
    CMLMatrix2<T> Get2DMatrix() const;
    // The upper two rows, as a 2x3 matrix.
    CMLMatrixMN<T> Get2_3Matrix() const;
    // a := the upper-left block, t := the translation column.
    void Extract2DData(CMLMatrix2<T>& a, CMLVector2<T>& t) const;
    // Writes the upper-left block and the translation column; the last row is left as it is.
    void Set2DData(const CMLMatrix2<T>& a, const CMLVector2<T>& t);

    // ---- Tests, each with the absolute tolerance eps --------------------------------------------

    // Affine, and the upper-left block is the identity.
    int IsTranslation(T eps) const;
    // Affine, the block orthonormal with determinant +1: a rotation about some point. A block
    // equal to the identity counts only with a zero translation.
    int IsRotation(T eps) const;
    // Affine, and the block orthonormal (rotation or reflection, any translation).
    int IsOrthogonal(T eps) const;
    // Affine, the block diagonal: a scaling about some point. A factor of 1 counts only with a
    // zero translation along its axis.
    int IsScaling(T eps) const;

    // ---- Mapping points and vectors -------------------------------------------------------------

    // The first two components of matrix * (p.x, p.y, 1).
    CMLVector2<T> TransformPoint(const CMLVector2<T>& p) const {
        const CMLMatrix3<T>& m = this->m_matrix;
        return CMLVector2<T>(m(0, 0) * p.x + m(0, 1) * p.y + m(0, 2),
                             m(1, 0) * p.x + m(1, 1) * p.y + m(1, 2));
    }
    void TransformPointInPlace(CMLVector2<T>& p) const { p = TransformPoint(p); }
    // out[i] := TransformPoint(in[i]) for i < n.
    void TransformPoints(int n, const CMLVector2<T>* in, CMLVector2<T>* out) const {
        for (int i = 0; i < n; ++i)
            out[i] = TransformPoint(in[i]);
    }
    void TransformPointsInPlace(int n, CMLVector2<T>* points) const {
        TransformPoints(n, points, points);
    }
    // matrix * v, all three components.
    CMLVector3<T> Execute(const CMLVector3<T>& v) const { return this->m_matrix * v; }
    void ExecuteInPlace(CMLVector3<T>& v) const { v = Execute(v); }
    // out[i] := Execute(in[i]) for i < n.
    void Execute(int n, const CMLVector3<T>* in, CMLVector3<T>* out) const {
        for (int i = 0; i < n; ++i)
            out[i] = Execute(in[i]);
    }
    void ExecuteInPlace(int n, CMLVector3<T>* v) const { Execute(n, v, v); }
    // The line through p1 and p2, mapped to the line through q1 and q2.
    void TransformLine(const CMLVector2<T>& p1, const CMLVector2<T>& p2, CMLVector2<T>& q1,
                       CMLVector2<T>& q2) const {
        q1 = TransformPoint(p1);
        q2 = TransformPoint(p2);
    }
};

// ---- Frames ------------------------------------------------------------------------------------
// F, F1, F2 are frames (local-to-world matrices), M, M1, M2 transforms.

// The first two components of f * (p, 1).
template <class T>
ML_API CMLVector2<T> mlLocalToWorld(const CMLVector2<T>& p, const CMLMatrix3<T>& f);
// The first two components of f^-1 * (p, 1); p when f cannot be inverted.
template <class T>
ML_API CMLVector2<T> mlWorldToLocal(const CMLVector2<T>& p, const CMLMatrix3<T>& f);
// The first two components of f2^-1 * f1 * (p, 1): a point of frame f1 in frame f2; p when f2
// cannot be inverted.
template <class T>
ML_API CMLVector2<T> mlRecalculateCoordinates(const CMLVector2<T>& p, const CMLMatrix3<T>& f1,
                                              const CMLMatrix3<T>& f2);
// f * m * f^-1: a transform given in frame f, in world terms; m when f cannot be inverted.
template <class T>
ML_API CMLMatrix3<T> mlTransformToWorld(const CMLMatrix3<T>& m, const CMLMatrix3<T>& f);
// f^-1 * m * f: a world transform in terms of frame f; m when f cannot be inverted.
template <class T>
ML_API CMLMatrix3<T> mlTransformToLocal(const CMLMatrix3<T>& m, const CMLMatrix3<T>& f);
// f2^-1 * f1 * m * f1^-1 * f2: m brought from frame f1 to frame f2; m when either frame cannot be
// inverted.
template <class T>
ML_API CMLMatrix3<T> mlRecalculateTransform(const CMLMatrix3<T>& m, const CMLMatrix3<T>& f1,
                                            const CMLMatrix3<T>& f2);
// With X = mlRecalculateTransform(m2, f2, f1) (m2 brought from frame f2 into frame f1): X * m1 for
// a non-zero mode (m1 acts first, then X), m1 * X for mode 0 (X acts first, then m1).
template <class T>
ML_API CMLMatrix3<T> mlCombineTransforms(const CMLMatrix3<T>& m1, const CMLMatrix3<T>& m2,
                                         const CMLMatrix3<T>& f1, const CMLMatrix3<T>& f2,
                                         int mode);
// The affine matrix that maps src[0], src[1], src[2] onto dst[0], dst[1], dst[2]. Returns 1; or
// 0, with out untouched, when the source points are collinear (the inversion of their
// homogeneous matrix fails).
template <class T>
ML_API int mlFindAffineTransform(const CMLVector2<T>* src, const CMLVector2<T>* dst,
                                 CMLMatrix3<T>& out);

// ---- Points ------------------------------------------------------------------------------------

// p + t.
template <class T>
ML_API CMLVector2<T> mlTranslate(const CMLVector2<T>& p, const CMLVector2<T>& t);
// c + s * (p - c) component by component: p scaled by the factors s about the centre c.
template <class T>
ML_API CMLVector2<T> mlScale(const CMLVector2<T>& s, const CMLVector2<T>& c,
                             const CMLVector2<T>& p);
// p rotated by a degrees counter-clockwise about the centre c.
template <class T>
ML_API CMLVector2<T> mlRotate(T a, const CMLVector2<T>& c, const CMLVector2<T>& p);

#define ML_TRANSFORM2D_INSTANCES(KW, T)                                                           \
    KW class CMLBase2DTransform<T>;                                                               \
    KW class CMLAffine2DTransform<T>;                                                             \
    KW ML_API CMLVector2<T> mlLocalToWorld<T>(const CMLVector2<T>&, const CMLMatrix3<T>&);        \
    KW ML_API CMLVector2<T> mlWorldToLocal<T>(const CMLVector2<T>&, const CMLMatrix3<T>&);        \
    KW ML_API CMLVector2<T> mlRecalculateCoordinates<T>(                                          \
        const CMLVector2<T>&, const CMLMatrix3<T>&, const CMLMatrix3<T>&);                        \
    KW ML_API CMLMatrix3<T> mlTransformToWorld<T>(const CMLMatrix3<T>&, const CMLMatrix3<T>&);    \
    KW ML_API CMLMatrix3<T> mlTransformToLocal<T>(const CMLMatrix3<T>&, const CMLMatrix3<T>&);    \
    KW ML_API CMLMatrix3<T> mlRecalculateTransform<T>(const CMLMatrix3<T>&, const CMLMatrix3<T>&, \
                                                      const CMLMatrix3<T>&);                      \
    KW ML_API CMLMatrix3<T> mlCombineTransforms<T>(const CMLMatrix3<T>&, const CMLMatrix3<T>&,    \
                                                   const CMLMatrix3<T>&, const CMLMatrix3<T>&,    \
                                                   int);                                          \
    KW ML_API int mlFindAffineTransform<T>(const CMLVector2<T>*, const CMLVector2<T>*,            \
                                           CMLMatrix3<T>&);                                       \
    KW ML_API CMLVector2<T> mlTranslate<T>(const CMLVector2<T>&, const CMLVector2<T>&);           \
    KW ML_API CMLVector2<T> mlScale<T>(const CMLVector2<T>&, const CMLVector2<T>&,                \
                                       const CMLVector2<T>&);                                     \
    KW ML_API CMLVector2<T> mlRotate<T>(T, const CMLVector2<T>&, const CMLVector2<T>&);

#define ML_TRANSFORM2D_EXTERN(T) ML_TRANSFORM2D_INSTANCES(extern template, T)
ML_FOR_EACH_REAL(ML_TRANSFORM2D_EXTERN)
#undef ML_TRANSFORM2D_EXTERN

#endif  // ML_TRANSFORM2D_H
