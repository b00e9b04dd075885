// CMLMatrix2<T>, CMLMatrix3<T>, CMLMatrix4<T>: square matrices of 2, 3 and 4 rows held by value,
// with their arithmetic, tests, decompositions and (3x3, 4x4) the homogeneous transform builders;
// mlRotationsOrder, the order in which three Euler rotations act; and the conversions between
// the sizes.
//
// Each class is a plain value: one array of N*N elements of T stored row by row (element (i, j)
// at i*N + j), no virtual functions, no heap. Copying copies the N*N elements. No index is
// checked. Vectors are columns and a matrix acts from the left (M * v); homogeneous transforms
// keep their translation in the last column and have (0, ..., 0, 1) as last row.
//
// A CMLMatrix3 is used two ways: as a linear map of 3D space (rotations built from Euler angles
// or an angle and an axis, IsRotation, the scale/rotation split) and as the homogeneous matrix of
// a 2D affine transform (Translate, Scale, Rotate, Reflect, ExtractTranslation, IsTranslation,
// IsCoordinateMatrix, InverseCoordinateMatrix). A CMLMatrix4 is the homogeneous matrix of a 3D
// affine transform.
//
// Results: predicates return 1 or 0. Inverse and SolveSystem return 0 on success and 3 for a
// singular matrix (output unchanged). The decompositions return 1 on success and 0 on failure
// (a non-finite element, or the test the member names), leaving their outputs unchanged unless a
// member says otherwise. Nothing throws, allocates (except Norm(mlNormSpectral) and the dynamic
// matrix conversions) or prints. The norm selector mlMatrixNorm is the dynamic matrices' one.
//
// The transform builders reproduce, exactly, the arithmetic callers have always had from them;
// several entries are deliberately not the plain matrix product (see each builder).
#ifndef ML_MATRIX_FIXED_H
#define ML_MATRIX_FIXED_H

#include <ml/complex.h>
#include <ml/matrix_mn.h>
#include <ml/precision.h>
#include <ml/types.h>
#include <ml/vector_fixed.h>

#include <cmath>
#include <type_traits>

// The order in which three rotations about the coordinate axes act on a vector, first to last.
// The angles are always given about X, Y and Z (a, b, c), whatever the order; Rx, Ry, Rz are the
// right-handed (counter-clockwise seen from the positive axis) rotations. Any other value selects
// no rotation at all.
enum mlRotationsOrder : int {
    mlXYZ = 0,  // X, then Y, then Z: Rz(c) * Ry(b) * Rx(a)
    mlXZY = 1,  // X, then Z, then Y: Ry(b) * Rz(c) * Rx(a)
    mlYXZ = 2,  // Y, then X, then Z: Rz(c) * Rx(a) * Ry(b)
    mlYZX = 3,  // Y, then Z, then X: Rx(a) * Rz(c) * Ry(b)
    mlZYX = 4,  // Z, then Y, then X: Rx(a) * Ry(b) * Rz(c)
    mlZXY = 5,  // Z, then X, then Y: Ry(b) * Rx(a) * Rz(c)
};

template <class T>
class CMLMatrix2;
template <class T>
class CMLMatrix3;
template <class T>
class CMLMatrix4;

namespace ml::detail::fixed_matrix {

template <class T, int N>
struct VectorOf;
template <class T>
struct VectorOf<T, 2> {
    using type = CMLVector2<T>;
};
template <class T>
struct VectorOf<T, 3> {
    using type = CMLVector3<T>;
};
template <class T>
struct VectorOf<T, 4> {
    using type = CMLVector4<T>;
};

// Tag of the constructor that leaves the elements to be written by the caller.
struct NoInit {};

// The members the three sizes share, written once over the size N. M is the matrix class that
// derives from it (CMLMatrix2/3/4<T>). The light members are inline; the numerical ones live in
// the library.
template <class M, class T, int N>
class ML_API Base {
public:
    using Vector = typename VectorOf<T, N>::type;

    // ---- Elements. No index is checked.

    // Element (i, j).
    T& operator()(int i, int j) { return m_data[i * N + j]; }
    const T& operator()(int i, int j) const { return m_data[i * N + j]; }
    // Entry k of the row-major array (0 <= k < N*N).
    T& operator[](int k) { return m_data[k]; }
    const T& operator[](int k) const { return m_data[k]; }
    // Each returns N (Size() too: the order, not the element count).
    static constexpr int RowsNb() { return N; }
    static constexpr int ColsNb() { return N; }
    static constexpr int Size() { return N; }

    // ---- Setters and getters.

    // The identity.
    void Unit() { SetDiagonal(T(1)); }
    // Every element 0, or every element v.
    void SetToZero() { SetConstant(T(0)); }
    void SetConstant(T v) {
        for (int k = 0; k < N * N; ++k)
            m_data[k] = v;
    }
    // Every diagonal element d, every other element 0.
    void SetDiagonal(T d) {
        for (int k = 0; k < N * N; ++k)
            m_data[k] = k % (N + 1) == 0 ? d : T(0);
    }
    // Set, add to, multiply element (i, j).
    void SetElement(int i, int j, T v) { m_data[i * N + j] = v; }
    void AddToElement(int i, int j, T v) { m_data[i * N + j] += v; }
    void MulElement(int i, int j, T v) { m_data[i * N + j] *= v; }
    // Copy N values into row i or column j; N*N values, row-major, into the whole matrix.
    void SetRow(int i, const T* src) {
        for (int j = 0; j < N; ++j)
            m_data[i * N + j] = src[j];
    }
    void SetColumn(int j, const T* src) {
        for (int i = 0; i < N; ++i)
            m_data[i * N + j] = src[i];
    }
    void SetRowVector(int i, const Vector& v) {
        for (int j = 0; j < N; ++j)
            m_data[i * N + j] = v[j];
    }
    void SetColVector(int j, const Vector& v) {
        for (int i = 0; i < N; ++i)
            m_data[i * N + j] = v[i];
    }
    void Fill(const T* src) {
        for (int k = 0; k < N * N; ++k)
            m_data[k] = src[k];
    }
    // Copy out row i, column j, or all N*N elements row-major.
    void Row(int i, T* dst) const {
        for (int j = 0; j < N; ++j)
            dst[j] = m_data[i * N + j];
    }
    void Column(int j, T* dst) const {
        for (int i = 0; i < N; ++i)
            dst[i] = m_data[i * N + j];
    }
    void Dump(T* dst) const {
        for (int k = 0; k < N * N; ++k)
            dst[k] = m_data[k];
    }
    // The diagonal, row i, column j, the last row and the last column as vectors of N.
    Vector Diagonal() const {
        Vector v;
        for (int i = 0; i < N; ++i)
            v[i] = m_data[i * (N + 1)];
        return v;
    }
    Vector RowVector(int i) const {
        Vector v;
        for (int j = 0; j < N; ++j)
            v[j] = m_data[i * N + j];
        return v;
    }
    Vector ColVector(int j) const {
        Vector v;
        for (int i = 0; i < N; ++i)
            v[i] = m_data[i * N + j];
        return v;
    }
    Vector LastRow() const { return RowVector(N - 1); }
    Vector LastColumn() const { return ColVector(N - 1); }

    // ---- Arithmetic; this is the left operand.

    // Element by element.
    M operator+(const M& b) const {
        M r(NoInit{});
        for (int k = 0; k < N * N; ++k)
            r.m_data[k] = m_data[k] + b.m_data[k];
        return r;
    }
    M operator-(const M& b) const {
        M r(NoInit{});
        for (int k = 0; k < N * N; ++k)
            r.m_data[k] = m_data[k] - b.m_data[k];
        return r;
    }
    void Add(const M& b) {
        for (int k = 0; k < N * N; ++k)
            m_data[k] += b.m_data[k];
    }
    void Sub(const M& b) {
        for (int k = 0; k < N * N; ++k)
            m_data[k] -= b.m_data[k];
    }
    M& operator+=(const M& b) {
        Add(b);
        return Self();
    }
    M& operator-=(const M& b) {
        Sub(b);
        return Self();
    }
    // Every element times or divided by s (the division is not guarded).
    M operator*(T s) const {
        M r(NoInit{});
        for (int k = 0; k < N * N; ++k)
            r.m_data[k] = m_data[k] * s;
        return r;
    }
    M operator/(T s) const {
        M r(NoInit{});
        for (int k = 0; k < N * N; ++k)
            r.m_data[k] = m_data[k] / s;
        return r;
    }
    void Mul(T s) {
        for (int k = 0; k < N * N; ++k)
            m_data[k] *= s;
    }
    void Div(T s) {
        for (int k = 0; k < N * N; ++k)
            m_data[k] /= s;
    }
    // The scalar is read once, so `m /= m(0, 0)` divides every element by the original value.
    M& operator*=(const T& s) {
        Mul(s);
        return Self();
    }
    M& operator/=(const T& s) {
        Div(s);
        return Self();
    }
    // The product this * b; element (i, j) sums this(i, k) * b(k, j) in increasing k.
    M operator*(const M& b) const {
        M r(NoInit{});
        Multiply(m_data, b.m_data, r.m_data);
        return r;
    }
    M& operator*=(const M& b) {
        PostMultiply(b);
        return Self();
    }
    // this := a * this.
    void PreMultiply(const M& a) {
        T r[N * N];
        Multiply(a.m_data, m_data, r);
        Fill(r);
    }
    // this := this * a.
    void PostMultiply(const M& a) {
        T r[N * N];
        Multiply(m_data, a.m_data, r);
        Fill(r);
    }
    // The column vector whose component i is row i dotted with v: summed in increasing k for 2
    // and 3 rows, as (m_i0 v0 + m_i2 v2) + (m_i1 v1 + m_i3 v3) for 4 (pairs of lanes).
    Vector operator*(const Vector& v) const {
        T x[N];
        ml::detail::fixed_vector::Store(v, x);
        T y[N];
        if constexpr (N == 4) {
            MultiplyVector4(m_data, x, y);
        } else {
            for (int i = 0; i < N; ++i) {
                T s = m_data[i * N] * x[0];
                for (int k = 1; k < N; ++k)
                    s += m_data[i * N + k] * x[k];
                y[i] = s;
            }
        }
        Vector r;
        ml::detail::fixed_vector::Load(r, y);
        return r;
    }
    // n-th power: the identity for n = 0; a copy for n = 1 and for every negative n (no inverse
    // is taken); otherwise the matrix multiplied by itself n - 1 times (r := r * this).
    M operator^(int n) const {
        M r(NoInit{});
        if (n == 0) {
            r.Unit();
            return r;
        }
        r.Fill(m_data);
        for (int k = 1; k < n; ++k)
            r.PostMultiply(Self());
        return r;
    }
    M& operator^=(int n) { return Self() = Self() ^ n; }
    // Every element negated; the transpose. Both return new matrices.
    M Negate() const {
        M r(NoInit{});
        for (int k = 0; k < N * N; ++k)
            r.m_data[k] = -m_data[k];
        return r;
    }
    M Transpose() const {
        M r(NoInit{});
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                r.m_data[j * N + i] = m_data[i * N + j];
        return r;
    }
    // Sum of the diagonal; mean of the N*N elements.
    T Trace() const {
        T s = m_data[0];
        for (int i = 1; i < N; ++i)
            s += m_data[i * (N + 1)];
        return s;
    }
    T Mean() const {
        T s = m_data[0];
        for (int k = 1; k < N * N; ++k)
            s += m_data[k];
        return s / T(N * N);
    }
    // 1 when every element pair differs by at most P (1e-9 for double, 1e-7 for float) in
    // absolute value, whatever the magnitudes; NaN never compares equal. != is the negation.
    int operator==(const M& b) const { return AllWithin(b, mlDefaultPrecision<T>); }
    int operator!=(const M& b) const { return 1 - AllWithin(b, mlDefaultPrecision<T>); }

    // ---- Determinant, inverse and tests.

    // 2x2: m00*m11 - m01*m10. 3x3: cofactor expansion along the first row. 4x4: expansion by
    // the 2x2 minors of the first two rows and of the last two.
    T Det() const {
        const T* m = m_data;
        if constexpr (N == 2) {
            return m[0] * m[3] - m[1] * m[2];
        } else if constexpr (N == 3) {
            return m[0] * (m[4] * m[8] - m[5] * m[7]) + m[1] * (m[5] * m[6] - m[3] * m[8]) +
                   m[2] * (m[3] * m[7] - m[4] * m[6]);
        } else {
            T s[6], c[6];
            Minors4(m, s, c);
            return s[0] * c[5] - s[1] * c[4] + s[2] * c[3] + s[3] * c[2] - s[4] * c[1] +
                   s[5] * c[0];
        }
    }
    // Returns 3 and leaves out untouched when eps > |Det()| (strict: |det| equal to eps still
    // inverts); otherwise writes the adjugate times 1/det into out and returns 0. out may be
    // this matrix.
    int Inverse(M& out, T eps) const {
        const T* m = m_data;
        T r[N * N];
        if constexpr (N == 2) {
            const T det = m[0] * m[3] - m[1] * m[2];
            if (eps > std::fabs(det)) return 3;
            const T id = T(1) / det;
            r[0] = m[3] * id;
            r[1] = -m[1] * id;
            r[2] = -m[2] * id;
            r[3] = m[0] * id;
        } else if constexpr (N == 3) {
            const T c00 = m[4] * m[8] - m[5] * m[7];
            const T c01 = m[5] * m[6] - m[3] * m[8];
            const T c02 = m[3] * m[7] - m[4] * m[6];
            const T det = m[0] * c00 + m[1] * c01 + m[2] * c02;
            if (eps > std::fabs(det)) return 3;
            const T id = T(1) / det;
            r[0] = c00 * id;
            r[1] = (m[2] * m[7] - m[1] * m[8]) * id;
            r[2] = (m[1] * m[5] - m[2] * m[4]) * id;
            r[3] = c01 * id;
            r[4] = (m[0] * m[8] - m[2] * m[6]) * id;
            r[5] = (m[2] * m[3] - m[0] * m[5]) * id;
            r[6] = c02 * id;
            r[7] = (m[1] * m[6] - m[0] * m[7]) * id;
            r[8] = (m[0] * m[4] - m[1] * m[3]) * id;
        } else {
            T s[6], c[6];
            Minors4(m, s, c);
            const T det =
                s[0] * c[5] - s[1] * c[4] + s[2] * c[3] + s[3] * c[2] - s[4] * c[1] + s[5] * c[0];
            if (eps > std::fabs(det)) return 3;
            const T id = T(1) / det;
            r[0] = (m[5] * c[5] - m[6] * c[4] + m[7] * c[3]) * id;
            r[1] = (-m[1] * c[5] + m[2] * c[4] - m[3] * c[3]) * id;
            r[2] = (m[13] * s[5] - m[14] * s[4] + m[15] * s[3]) * id;
            r[3] = (-m[9] * s[5] + m[10] * s[4] - m[11] * s[3]) * id;
            r[4] = (-m[4] * c[5] + m[6] * c[2] - m[7] * c[1]) * id;
            r[5] = (m[0] * c[5] - m[2] * c[2] + m[3] * c[1]) * id;
            r[6] = (-m[12] * s[5] + m[14] * s[2] - m[15] * s[1]) * id;
            r[7] = (m[8] * s[5] - m[10] * s[2] + m[11] * s[1]) * id;
            r[8] = (m[4] * c[4] - m[5] * c[2] + m[7] * c[0]) * id;
            r[9] = (-m[0] * c[4] + m[1] * c[2] - m[3] * c[0]) * id;
            r[10] = (m[12] * s[4] - m[13] * s[2] + m[15] * s[0]) * id;
            r[11] = (-m[8] * s[4] + m[9] * s[2] - m[11] * s[0]) * id;
            r[12] = (-m[4] * c[3] + m[5] * c[1] - m[6] * c[0]) * id;
            r[13] = (m[0] * c[3] - m[1] * c[1] + m[2] * c[0]) * id;
            r[14] = (-m[12] * s[3] + m[13] * s[1] - m[14] * s[0]) * id;
            r[15] = (m[8] * s[3] - m[9] * s[1] + m[10] * s[0]) * id;
        }
        out.Fill(r);
        return 0;
    }
    // 1 when |Det()| <= eps (inclusive: at |det| = eps the matrix is singular here while Inverse
    // still inverts it).
    int IsSingular(T eps) const { return std::fabs(Det()) <= eps ? 1 : 0; }
    // Solves this * x = b through Inverse(inv, eps): 3 with x unchanged for a singular matrix,
    // else x = inv * b and 0.
    int SolveSystem(const Vector& b, Vector& x, T eps) const {
        M inv(NoInit{});
        const int code = Inverse(inv, eps);
        if (code != 0) return code;
        x = inv * b;
        return 0;
    }

    // Tests; an element counts as zero when |x| <= eps.
    // Off-diagonal elements zero, diagonal elements within eps of 1.
    int IsUnit(T eps) const {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                if (!(std::fabs(m_data[i * N + j] - (i == j ? T(1) : T(0))) <= eps)) return 0;
        return 1;
    }
    // Off-diagonal elements zero (a scaling along the axes: IsScaling is the same test).
    int IsDiagonal(T eps) const {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                if (i != j && !(std::fabs(m_data[i * N + j]) <= eps)) return 0;
        return 1;
    }
    int IsScaling(T eps) const { return IsDiagonal(eps); }
    // Every element zero.
    int IsAlmostZero(T eps) const {
        for (int k = 0; k < N * N; ++k)
            if (!(std::fabs(m_data[k]) <= eps)) return 0;
        return 1;
    }
    // Lower-left triangular: every element right of the diagonal (j > i) zero.
    int IsLLTriangular(T eps) const {
        for (int i = 0; i < N; ++i)
            for (int j = i + 1; j < N; ++j)
                if (!(std::fabs(m_data[i * N + j]) <= eps)) return 0;
        return 1;
    }
    // Upper-right triangular: every element left of the diagonal (j < i) zero.
    int IsURTriangular(T eps) const {
        for (int i = 1; i < N; ++i)
            for (int j = 0; j < i; ++j)
                if (!(std::fabs(m_data[i * N + j]) <= eps)) return 0;
        return 1;
    }
    // |a(i, j) - a(j, i)| <= eps for every pair.
    int IsSymmetric(T eps) const {
        for (int i = 0; i < N; ++i)
            for (int j = i + 1; j < N; ++j)
                if (!(std::fabs(m_data[i * N + j] - m_data[j * N + i]) <= eps)) return 0;
        return 1;
    }
    // this * transpose within eps of the identity, element by element.
    int IsOrthogonal(T eps) const {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j) {
                T s = m_data[i * N] * m_data[j * N];
                for (int k = 1; k < N; ++k)
                    s += m_data[i * N + k] * m_data[j * N + k];
                if (!(std::fabs(s - (i == j ? T(1) : T(0))) <= eps)) return 0;
            }
        return 1;
    }
    // A proper rotation: orthogonal within eps and Det() within eps of +1.
    int IsRotation(T eps) const {
        return IsOrthogonal(eps) && std::fabs(Det() - T(1)) <= eps ? 1 : 0;
    }

    // Sum of this(i, j) * b(i, j).
    T InnerProduct(const M& b) const {
        T s = m_data[0] * b.m_data[0];
        for (int k = 1; k < N * N; ++k)
            s += m_data[k] * b.m_data[k];
        return s;
    }
    // Pearson correlation of the N*N element pairs; 0 when either matrix has no spread (the
    // product of the deviations' norms is below P).
    T CorrelationCoefficient(const M& b) const {
        const T ma = Mean(), mb = b.Mean();
        T sab = T(0), saa = T(0), sbb = T(0);
        for (int k = 0; k < N * N; ++k) {
            const T da = m_data[k] - ma, db = b.m_data[k] - mb;
            sab += da * db;
            saa += da * da;
            sbb += db * db;
        }
        const T d = std::sqrt(saa) * std::sqrt(sbb);
        return d < mlDefaultPrecision<T> ? T(0) : sab / d;
    }

    // this - lambda * identity.
    M GetCharacteristicsMatrix(T lambda) const {
        M r = Self();
        for (int i = 0; i < N; ++i)
            r.m_data[i * (N + 1)] -= lambda;
        return r;
    }
    // The diagonal into d.
    void GetDiagElements(Vector& d) const { d = Diagonal(); }
    // Inverse of a diagonal matrix: 0 with out unchanged when an off-diagonal element exceeds
    // eps or a diagonal element lies below eps in absolute value; otherwise out holds the
    // reciprocals on its diagonal and zeros elsewhere, and the call returns 1.
    int DiagInverse(M& out, T eps) const {
        if (!IsDiagonal(eps)) return 0;
        for (int i = 0; i < N; ++i)
            if (std::fabs(m_data[i * (N + 1)]) < eps) return 0;
        T r[N * N];
        for (int k = 0; k < N * N; ++k)
            r[k] = k % (N + 1) == 0 ? T(1) / m_data[k] : T(0);
        out.Fill(r);
        return 1;
    }
    // Every element with |x| < eps (strict) becomes 0.
    void AnnulateSmallElements(T eps) {
        for (int k = 0; k < N * N; ++k)
            if (std::fabs(m_data[k]) < eps) m_data[k] = T(0);
    }
    // mode 0 zeroes the elements above the diagonal, any other mode those below it.
    void AnnulateRelativelyDiagonal(int mode) {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N; ++j)
                if (mode == 0 ? j > i : j < i) m_data[i * N + j] = T(0);
    }

    // ---- Norms, conditioning, systems and decompositions (see the notes above CMLMatrix2).

    T Norm(mlMatrixNorm norm) const;
    int Inverse(M& out, mlMatrixNorm norm, T eps, T& condition) const;
    T ConditionNumber(mlMatrixNorm norm) const;
    int CalculateRank(T eps) const;
    int SolveSystem(const Vector& b, Vector& x, mlMatrixNorm norm, T eps, T& condition) const;
    int IsPositive(T eps) const;
    int SV_Decomposition(M& U, M& V, Vector& sigma, T eps) const;
    int CalculateSingularNumbers(Vector& sigma) const;
    int PolarDecomposition(M& Q, M& S, int side, T eps) const;
    int QR_Decomposition(M& Q, M& R, T eps) const;
    int LU_Decomposition(M& L, M& U, T eps) const;
    int SymmetricEigensolve(Vector& values, M& vectors, T eps) const;
    int SpectralDecomposition(M& A, M& B, int requirePositive, T eps) const;
    CMLMatrixMN<T> ConvertToMatrixMN() const;

protected:
    Base() : m_data{} {}
    explicit Base(NoInit) {}  // NOLINT: the elements are written by the caller
    explicit Base(const T* src) { Fill(src); }
    // The leading N x N block of a dynamic matrix.
    explicit Base(const CMLMatrixMN<T>& src);

    // Homogeneous transforms (3x3 and 4x4 only; the classes make them public).
    // The identity except for the translation column (its first N-1 elements).
    int IsTranslation(T eps) const {
        for (int i = 0; i < N; ++i)
            for (int j = 0; j < N - 1; ++j)
                if (!(std::fabs(m_data[i * N + j] - (i == j ? T(1) : T(0))) <= eps)) return 0;
        return std::fabs(m_data[N * N - 1] - T(1)) <= eps ? 1 : 0;
    }
    // A rigid motion: the upper-left (N-1)x(N-1) block a proper rotation within eps, the last
    // row (0, ..., 0, 1) within eps, any translation.
    int IsCoordinateMatrix(T eps) const {
        for (int j = 0; j < N; ++j)
            if (!(std::fabs(m_data[(N - 1) * N + j] - (j == N - 1 ? T(1) : T(0))) <= eps)) return 0;
        T det = T(1);
        if constexpr (N == 3) {
            det = m_data[0] * m_data[4] - m_data[1] * m_data[3];
        } else if constexpr (N == 4) {
            const T* m = m_data;
            det = m[0] * (m[5] * m[10] - m[6] * m[9]) + m[1] * (m[6] * m[8] - m[4] * m[10]) +
                  m[2] * (m[4] * m[9] - m[5] * m[8]);
        }
        for (int i = 0; i < N - 1; ++i)
            for (int j = 0; j < N - 1; ++j) {
                T s = T(0);
                for (int k = 0; k < N - 1; ++k)
                    s += m_data[i * N + k] * m_data[j * N + k];
                if (!(std::fabs(s - (i == j ? T(1) : T(0))) <= eps)) return 0;
            }
        return std::fabs(det - T(1)) <= eps ? 1 : 0;
    }
    // The inverse of a rigid motion [R t; 0 1], [R^T  -R^T t; 0 1], written into out without
    // checking that the matrix is one (see IsCoordinateMatrix). out may be this matrix.
    void InverseCoordinateMatrix(M& out) const {
        T r[N * N];
        for (int i = 0; i < N - 1; ++i) {
            T t = T(0);
            for (int j = 0; j < N - 1; ++j) {
                r[i * N + j] = m_data[j * N + i];
                t -= m_data[j * N + i] * m_data[j * N + N - 1];
            }
            r[i * N + N - 1] = t;
        }
        for (int j = 0; j < N; ++j)
            r[(N - 1) * N + j] = j == N - 1 ? T(1) : T(0);
        out.Fill(r);
    }

    M& Self() { return static_cast<M&>(*this); }
    const M& Self() const { return static_cast<const M&>(*this); }

    // 1 when every |a - b| <= eps.
    int AllWithin(const M& b, T eps) const {
        for (int k = 0; k < N * N; ++k)
            if (!(std::fabs(m_data[k] - b.m_data[k]) <= eps)) return 0;
        return 1;
    }

    // c = a * b for row-major N x N arrays; c must not overlap a or b. Each row of c is built as
    // a sum of the rows of b scaled by the row of a, which keeps the sum of each element in
    // increasing k and lets the compiler vectorise along the row.
    static void Multiply(const T* a, const T* b, T* c) {
        for (int i = 0; i < N; ++i) {
            T acc[N];
            for (int j = 0; j < N; ++j)
                acc[j] = a[i * N] * b[j];
            for (int k = 1; k < N; ++k) {
                const T aik = a[i * N + k];
                for (int j = 0; j < N; ++j)
                    acc[j] += aik * b[k * N + j];
            }
            for (int j = 0; j < N; ++j)
                c[i * N + j] = acc[j];
        }
    }

    // y = m x for a row-major 4x4, each component summed as (m_i0 x0 + m_i2 x2) +
    // (m_i1 x1 + m_i3 x3). For double with GCC and Clang the halves of each row are multiplied
    // as pairs of lanes and the rows' partial sums interleaved; otherwise the same arithmetic
    // is written out, with the same results.
    static void MultiplyVector4(const T* m, const T* x, T* y) {
#if defined(__GNUC__)
        if constexpr (std::is_same_v<T, double>) {
            using Pair = double __attribute__((vector_size(16)));
            Pair x01, x23, p[4];
            __builtin_memcpy(&x01, x, sizeof(Pair));
            __builtin_memcpy(&x23, x + 2, sizeof(Pair));
            for (int i = 0; i < 4; ++i) {
                Pair lo, hi;
                __builtin_memcpy(&lo, m + 4 * i, sizeof(Pair));
                __builtin_memcpy(&hi, m + 4 * i + 2, sizeof(Pair));
                p[i] = lo * x01 + hi * x23;  // (m_i0 x0 + m_i2 x2, m_i1 x1 + m_i3 x3)
            }
#if defined(__clang__)
            const Pair y01 = __builtin_shufflevector(p[0], p[1], 0, 2) +
                             __builtin_shufflevector(p[0], p[1], 1, 3);
            const Pair y23 = __builtin_shufflevector(p[2], p[3], 0, 2) +
                             __builtin_shufflevector(p[2], p[3], 1, 3);
#else
            using Index = long long __attribute__((vector_size(16)));
            const Pair y01 = __builtin_shuffle(p[0], p[1], Index{0, 2}) +
                             __builtin_shuffle(p[0], p[1], Index{1, 3});
            const Pair y23 = __builtin_shuffle(p[2], p[3], Index{0, 2}) +
                             __builtin_shuffle(p[2], p[3], Index{1, 3});
#endif
            __builtin_memcpy(y, &y01, sizeof(Pair));
            __builtin_memcpy(y + 2, &y23, sizeof(Pair));
            return;
        }
#endif
        for (int i = 0; i < 4; ++i)
            y[i] = (m[4 * i] * x[0] + m[4 * i + 2] * x[2]) +
                   (m[4 * i + 1] * x[1] + m[4 * i + 3] * x[3]);
    }

    // The 2x2 minors of a 4x4: s from rows 0 and 1, c from rows 2 and 3 (columns 01, 02, 03,
    // 12, 13, 23 for s; the complementary order for c).
    static void Minors4(const T* m, T* s, T* c) {
        s[0] = m[0] * m[5] - m[4] * m[1];
        s[1] = m[0] * m[6] - m[4] * m[2];
        s[2] = m[0] * m[7] - m[4] * m[3];
        s[3] = m[1] * m[6] - m[5] * m[2];
        s[4] = m[1] * m[7] - m[5] * m[3];
        s[5] = m[2] * m[7] - m[6] * m[3];
        c[5] = m[10] * m[15] - m[14] * m[11];
        c[4] = m[9] * m[15] - m[13] * m[11];
        c[3] = m[9] * m[14] - m[13] * m[10];
        c[2] = m[8] * m[15] - m[12] * m[11];
        c[1] = m[8] * m[14] - m[12] * m[10];
        c[0] = m[8] * m[13] - m[12] * m[9];
    }

    T m_data[N * N];
};

}  // namespace ml::detail::fixed_matrix

// Members of every size, besides those of the shared base (see ml::detail::fixed_matrix::Base):
//  - M(), M(int, int): all elements 0, not the identity (the ints are ignored).
//    M(const T* src): N*N values read row-major. M(const CMLMatrixMN<T>& src): the elements
//    src(i, j) for i, j < N (src's shape is not checked: it must have N rows and N columns at
//    least).
//  - Norm(norm): by selector value 0 the largest column sum of |x|, 1 the largest row sum, 2 the
//    Frobenius norm, 3 the spectral norm (largest singular value, computed through a temporary
//    CMLMatrixMN exactly as its own Norm does: the one member that allocates), 4 N times the
//    largest |x|; any other value the Frobenius norm. A NaN element makes every norm NaN.
//  - Inverse(out, norm, eps, cond): Inverse(out, eps) that also gives the condition estimate
//    Norm(norm) * out.Norm(norm) in cond (mlBigValue when the call returns 3).
//  - ConditionNumber(norm): sigma_max / sigma_min for the spectral norm, else
//    Norm(norm) * inverse.Norm(norm); mlBigValue for a numerically singular matrix (sigma_min at
//    or below N * machine epsilon * sigma_max) or a non-finite element.
//  - CalculateRank(eps): the number of singular values above
//    max(eps * max(1, sigma_max), N * machine epsilon * sigma_max); -1 for a non-finite element.
//  - SolveSystem(b, x, norm, eps, cond): SolveSystem(b, x, eps) with cond as in Inverse.
//  - IsPositive(eps): symmetric within eps and every eigenvalue above eps (positive definite).
//  - SV_Decomposition(U, V, sigma, eps): this = U diag(sigma) V^T with U, V orthogonal and sigma
//    non-negative and descending, by one-sided Jacobi rotations to full precision. Singular
//    values at or below eps * sigma_max become exactly 0 and their columns of U complete an
//    orthonormal basis. CalculateSingularNumbers(sigma): the singular values alone.
//  - PolarDecomposition(Q, S, side, eps): Q orthogonal (the one nearest to this matrix) and S
//    symmetric positive semidefinite, this = Q * S for side 0 and this = S * Q otherwise; the
//    singular values at or below eps * sigma_max are dropped from S.
//  - QR_Decomposition(Q, R, eps): Householder reflections, this = Q * R with Q orthogonal and R
//    upper triangular with a non-negative diagonal; a column whose part below the diagonal has
//    a norm within eps times the column's norm is not reflected.
//  - LU_Decomposition(L, U, eps): Doolittle without row exchanges, this = L * U with L unit lower
//    triangular. Both outputs are cleared first; returns 0 (outputs partly written) as soon as a
//    pivot |U(k, k)| is below eps, even for a regular matrix such as [[0, 1], [1, 0]].
//  - SymmetricEigensolve(values, vectors, eps): eigenvalues ascending and the orthonormal
//    eigenvectors as the columns of vectors (this * vectors = vectors * diag(values)), by cyclic
//    Jacobi rotations; 0 when the matrix is not symmetric within eps.
//  - SpectralDecomposition(A, B, requirePositive, eps): this = A * B * A^T with A orthogonal (the
//    eigenvectors) and B diagonal (the eigenvalues, ascending); 0 when the matrix is not
//    symmetric within eps, or, for a non-zero requirePositive, not positive definite
//    (IsPositive(eps)).
//  - ConvertToMatrixMN(): the elements as a new N x N dynamic matrix.
//  CMLMatrixMN<T>::Inverse(out, eps) hands matrices of 2, 3 and 4 rows to these classes.
// 2x2 and 3x3 only:
//  - FindEigenvalues(values): the N eigenvalues into values[0..N-1] as complex numbers, the real
//    ones first in ascending order, then each complex pair (positive imaginary part first), by
//    Hessenberg reduction and shifted QR iteration on the balanced matrix. Returns the number of
//    real eigenvalues, or -1 (values unchanged) for a non-finite element or no convergence.
//  - FindEigenvectorsReal(values, vectors, eps): for every real eigenvalue, a unit eigenvector;
//    eigenvalues closer than sqrt(machine epsilon) times max(1, Frobenius norm) count as one
//    repeated eigenvalue, which receives an orthonormal basis of its eigenspace (the right
//    singular vectors of this - lambda * I whose singular values are at or below
//    eps * max(1, Frobenius norm); at least one, at most its multiplicity). Writes the pairs to
//    values[k], vectors[k] (arrays of N) and returns their count k (fewer than N for complex or
//    defective eigenvalues), or -1 as FindEigenvalues. Each vector's largest component is
//    positive.
//  - FindEigenvectorComplex(value, re, im, eps): a unit eigenvector re + i * im of the (complex)
//    eigenvalue value, its largest component real and positive. Returns 0 with re and im
//    unchanged when |(this - value * I) v| exceeds eps * max(1, Frobenius norm).

// 2x2 matrix.
template <class T>
class ML_API CMLMatrix2 : public ml::detail::fixed_matrix::Base<CMLMatrix2<T>, T, 2> {
    using Base = ml::detail::fixed_matrix::Base<CMLMatrix2<T>, T, 2>;

public:
    using Vector = CMLVector2<T>;

    CMLMatrix2() = default;
    CMLMatrix2(int, int) {}
    explicit CMLMatrix2(const T* src) : Base(src) {}
    CMLMatrix2(const CMLMatrixMN<T>& src) : Base(src) {}  // NOLINT: converts implicitly

    int FindEigenvalues(CMLComplex<T>* values) const;
    int FindEigenvectorsReal(T* values, Vector* vectors, T eps) const;
    int FindEigenvectorComplex(const CMLComplex<T>& value, Vector& re, Vector& im, T eps) const;

private:
    friend Base;
    explicit CMLMatrix2(ml::detail::fixed_matrix::NoInit t) : Base(t) {}
};

// 3x3 matrix: a linear map of 3D space or the homogeneous matrix of a 2D affine transform.
template <class T>
class ML_API CMLMatrix3 : public ml::detail::fixed_matrix::Base<CMLMatrix3<T>, T, 3> {
    using Base = ml::detail::fixed_matrix::Base<CMLMatrix3<T>, T, 3>;

public:
    using Vector = CMLVector3<T>;

    CMLMatrix3() = default;
    CMLMatrix3(int, int) {}
    explicit CMLMatrix3(const T* src) : Base(src) {}
    CMLMatrix3(const CMLMatrixMN<T>& src) : Base(src) {}  // NOLINT: converts implicitly

    using Base::InverseCoordinateMatrix;
    using Base::IsCoordinateMatrix;
    using Base::IsTranslation;

    int FindEigenvalues(CMLComplex<T>* values) const;
    int FindEigenvectorsReal(T* values, Vector* vectors, T eps) const;
    int FindEigenvectorComplex(const CMLComplex<T>& value, Vector& re, Vector& im, T eps) const;

    // (m00, m11): the diagonal of the upper-left 2x2 block.
    CMLVector2<T> Diagonal2() const { return CMLVector2<T>(this->m_data[0], this->m_data[4]); }

    // ---- 2D homogeneous transforms. mode 0 applies the elementary matrix X on the right
    // (this := this * X, X acts first); any other mode on the left (this := X * this).

    // Translation by (tx, ty). mode 0, as callers have always had it: (0,2) becomes
    // m02 + m00*tx + m01*ty + m22 and (1,2) becomes m12 + m10*tx + m11*ty + m22 (the corner
    // element is added once more, so an affine matrix ends one further along each axis than
    // this * T); nothing else changes. Other modes: row 0 += tx * row 2, row 1 += ty * row 2.
    void Translate(T tx, T ty, int mode);
    // Scaling diag(sx, sy, 1): columns 0 and 1 times sx, sy (mode 0) or rows 0 and 1 (others).
    void Scale(T sx, T sy, int mode);
    // Counter-clockwise rotation by angle radians, exact in both modes: mode 0 gives
    // col0 := c*col0 + s*col1, col1 := c*col1 - s*col0; other modes row0 := c*row0 - s*row1,
    // row1 := s*row0 + c*row1 (old values on the right).
    void Rotate(T angle, int mode);
    // (m02, m12).
    CMLVector2<T> ExtractTranslation() const {
        return CMLVector2<T>(this->m_data[2], this->m_data[5]);
    }
    // The matrix with rows 0 and 1 negated and row 2 kept: the point reflection through the
    // origin applied after the transform.
    CMLMatrix3 Reflect() const;

    // ---- 3D rotations (degrees).

    // Builds the rotation of the given order from the angles a, b, c about X, Y, Z in degrees
    // (each wrapped into [-180, 180) through radians, k = mlFloor((angle + pi) / 2pi)) into all
    // nine elements and returns 1; an order outside 0..5 leaves the matrix unchanged and
    // returns 0.
    int SetRotationByEulerAngles(T a, T b, T c, mlRotationsOrder order);
    // Angles about X, Y, Z in degrees that rebuild this rotation with
    // SetRotationByEulerAngles(a, b, c, order): the middle rotation of the order gets an angle
    // in [-90, 90], the other two angles in (-180, 180]. In gimbal lock (middle angle +-90,
    // detected when its cosine is below 16 machine epsilons) the rotation about the shared axis
    // is split equally between the first and the third angle. Returns 0 with a, b, c unchanged
    // for an order outside 0..5, else 1.
    int ExtractEulerAngles(mlRotationsOrder order, T& a, T& b, T& c) const;
    // The right-handed rotation by angle degrees about axis (normalised first; Rodrigues'
    // formula) and 1; 0 with the matrix unchanged when the axis is shorter than P.
    int SetRotationByAngleAxis(T angle, const CMLVector3<T>& axis);
    // The angle in degrees, in [0, 180], and the unit axis of this rotation (which is assumed to
    // be one; near 180 degrees the axis comes from the symmetric part). Returns 1, or 0 for the
    // identity (angle 0, axis the zero vector).
    int ExtractRotationAngleAxis(T& angle, CMLVector3<T>& axis) const;
    // this = rotation * diag(scale) with rotation proper: scale holds the column lengths, the
    // one of the column whose normalised diagonal element is smallest negated when Det() < 0.
    // Returns 0 with the outputs unchanged when a column is shorter than eps times the longest,
    // when two columns are not orthogonal within eps (a shear), or for a non-finite element.
    int ExtractScaleRotation(CMLVector3<T>& scale, CMLMatrix3& rotation, T eps) const;
    // The orthogonal matrix nearest to this one (the orthogonal polar factor U V^T; its
    // determinant has the sign of Det()). Returns 0 with q unchanged when the smallest singular
    // value is at or below eps times the largest (no unique answer) or for a non-finite element.
    int ExtractOrthogonal(CMLMatrix3& q, T eps) const;

private:
    friend Base;
    explicit CMLMatrix3(ml::detail::fixed_matrix::NoInit t) : Base(t) {}
};

// 4x4 matrix: the homogeneous matrix of a 3D affine transform.
template <class T>
class ML_API CMLMatrix4 : public ml::detail::fixed_matrix::Base<CMLMatrix4<T>, T, 4> {
    using Base = ml::detail::fixed_matrix::Base<CMLMatrix4<T>, T, 4>;

public:
    using Vector = CMLVector4<T>;

    CMLMatrix4() = default;
    CMLMatrix4(int, int) {}
    explicit CMLMatrix4(const T* src) : Base(src) {}
    CMLMatrix4(const CMLMatrixMN<T>& src) : Base(src) {}  // NOLINT: converts implicitly

    using Base::InverseCoordinateMatrix;
    using Base::IsCoordinateMatrix;
    using Base::IsTranslation;


    // (m00, m11, m22): the diagonal of the upper-left 3x3 block.
    CMLVector3<T> Diagonal3() const {
        return CMLVector3<T>(this->m_data[0], this->m_data[5], this->m_data[10]);
    }

    // ---- Blocks. Inclusive ranges; byRows non-zero runs the packed array along the rows of
    // the block, 0 down its columns.

    // Fills rows r0..r1, columns c0..c1 from src; nothing unless 0 <= r0 <= r1 < 4 and
    // 0 <= c0 <= c1 < 4.
    void FillPart(int r0, int c0, int r1, int c1, const T* src, int byRows);
    // Writes that block to dst; nothing unless it lies inside the matrix.
    void DumpPart(int r0, int c0, int r1, int c1, T* dst, int byRows) const;
    // this(dstRow, first..last) = src(srcRow, first..last); nothing when first > last.
    void CopyPartRow(int dstRow, int srcRow, int first, int last, const CMLMatrix4& src);
    // this(first..last, dstCol) = src(first..last, srcCol); nothing when first > last.
    void CopyPartColumn(int dstCol, int srcCol, int first, int last, const CMLMatrix4& src);

    // ---- 3D homogeneous transforms. mode 0 applies the elementary matrix X on the right
    // (this := this * X), any other mode on the left (this := X * this). Angles in radians.

    // Translation by (tx, ty, tz). mode 0, as callers have always had it: for rows i = 0, 1, 2
    // element (i,3) becomes mi3 + mi0*tx + mi1*ty + mi2*tz + m33, and (3,3) becomes
    // m33 + m30*tx + m31*ty + m32*tz + m33 (the corner counted twice, so an affine matrix gets
    // 2 there). Other modes: rows 0, 1, 2 gain tx, ty, tz times row 3 (the exact product).
    void Translate(T tx, T ty, T tz, int mode);
    // Columns 0, 1, 2 (mode 0) or rows 0, 1, 2 (other modes) times sx, sy, sz.
    void Scale(T sx, T sy, T sz, int mode);
    // The axis rotations, with c = cos(angle), s = sin(angle), old values on the right, over
    // all four rows (mode 0, columns updated) or all four columns (other modes, rows updated).
    // Kept as callers have always had them: four entries are the exact products, while the
    // mode-0 entries of RotateXAxis and RotateZAxis and the other-mode entry of RotateZAxis
    // differ from them as listed.
    //   RotateXAxis mode 0: col1 := c*col1 + s*col2; col2 := s*col1 + c*col2.
    //               others: row1 := c*row1 - s*row2; row2 := s*row1 + c*row2.
    void RotateXAxis(T angle, int mode);
    //   RotateYAxis mode 0: col0 := c*col0 - s*col2; col2 := s*col0 + c*col2.
    //               others: row0 := c*row0 + s*row2; row2 := c*row2 - s*row0.
    void RotateYAxis(T angle, int mode);
    //   RotateZAxis mode 0: col0 := c*col0 + s*col1; col1 := s*col0 + c*col1.
    //               others: row0 := c*row0 - s*row1; row1 := c*row0 + s*row1.
    void RotateZAxis(T angle, int mode);
    // (m03, m13, m23).
    CMLVector3<T> ExtractTranslation() const {
        return CMLVector3<T>(this->m_data[3], this->m_data[7], this->m_data[11]);
    }
    // The matrix with rows 0, 1 and 2 negated and row 3 kept.
    CMLMatrix4 Reflect() const;

private:
    friend Base;
    explicit CMLMatrix4(ml::detail::fixed_matrix::NoInit t) : Base(t) {}
};

// ---- Conversions between the sizes -------------------------------------------------------------

// The upper-left 3x3 block.
template <class T>
inline ML_API CMLMatrix3<T> mlMatrix4To3(const CMLMatrix4<T>& m) {
    CMLMatrix3<T> r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r(i, j) = m(i, j);
    return r;
}
// A 4x4 with m as its upper-left block, 1 at (3,3) and 0 elsewhere: a plain embedding (a 2D
// translation in column 2 stays in column 2).
template <class T>
inline ML_API CMLMatrix4<T> mlMatrix3To4(const CMLMatrix3<T>& m) {
    CMLMatrix4<T> r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r(i, j) = m(i, j);
    r(3, 3) = T(1);
    return r;
}
// The upper-left 2x2 block.
template <class T>
inline ML_API CMLMatrix2<T> mlMatrix3To2(const CMLMatrix3<T>& m) {
    CMLMatrix2<T> r;
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            r(i, j) = m(i, j);
    return r;
}
// A 3x3 with m as its upper-left block, 1 at (2,2) and 0 elsewhere.
template <class T>
inline ML_API CMLMatrix3<T> mlMatrix2To3(const CMLMatrix2<T>& m) {
    CMLMatrix3<T> r;
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            r(i, j) = m(i, j);
    r(2, 2) = T(1);
    return r;
}

// 1 when no element pair differs by more than eps in absolute value.
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLMatrix2<T>& a, const CMLMatrix2<T>& b,
                                   ml::detail::non_deduced_t<T> eps) {
    for (int k = 0; k < 4; ++k)
        if (!(std::fabs(a[k] - b[k]) <= eps)) return 0;
    return 1;
}
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLMatrix3<T>& a, const CMLMatrix3<T>& b,
                                   ml::detail::non_deduced_t<T> eps) {
    for (int k = 0; k < 9; ++k)
        if (!(std::fabs(a[k] - b[k]) <= eps)) return 0;
    return 1;
}
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLMatrix4<T>& a, const CMLMatrix4<T>& b,
                                   ml::detail::non_deduced_t<T> eps) {
    for (int k = 0; k < 16; ++k)
        if (!(std::fabs(a[k] - b[k]) <= eps)) return 0;
    return 1;
}

// Every instantiation of the family for one element type T, as one list: the header declares them
// (`extern template`), the source defines them (`template`).
#define ML_MATRIX_FIXED_INSTANCES(KW, T)                                              \
    KW class ml::detail::fixed_matrix::Base<CMLMatrix2<T>, T, 2>;                     \
    KW class ml::detail::fixed_matrix::Base<CMLMatrix3<T>, T, 3>;                     \
    KW class ml::detail::fixed_matrix::Base<CMLMatrix4<T>, T, 4>;                     \
    KW class CMLMatrix2<T>;                                                           \
    KW class CMLMatrix3<T>;                                                           \
    KW class CMLMatrix4<T>;                                                           \
    KW ML_API CMLMatrix3<T> mlMatrix4To3<T>(const CMLMatrix4<T>&);                    \
    KW ML_API CMLMatrix4<T> mlMatrix3To4<T>(const CMLMatrix3<T>&);                    \
    KW ML_API CMLMatrix2<T> mlMatrix3To2<T>(const CMLMatrix3<T>&);                    \
    KW ML_API CMLMatrix3<T> mlMatrix2To3<T>(const CMLMatrix2<T>&);                    \
    KW ML_API int mlAreAlmostEqual<T>(const CMLMatrix2<T>&, const CMLMatrix2<T>&, T); \
    KW ML_API int mlAreAlmostEqual<T>(const CMLMatrix3<T>&, const CMLMatrix3<T>&, T); \
    KW ML_API int mlAreAlmostEqual<T>(const CMLMatrix4<T>&, const CMLMatrix4<T>&, T);

#define ML_MATRIX_FIXED_EXTERN(T) ML_MATRIX_FIXED_INSTANCES(extern template, T)
ML_FOR_EACH_REAL(ML_MATRIX_FIXED_EXTERN)
#undef ML_MATRIX_FIXED_EXTERN

#endif  // ML_MATRIX_FIXED_H
