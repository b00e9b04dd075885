// CMLBaseMatrix<T>: matrix of run-time shape, row-major, owning its heap array.
// CMLMatrixMN<T>: the general rectangular matrix of numerical linear algebra, with a cached rank
// and cached singular values, structural predicates, block extraction and insertion, and the
// decomposition family (singular value decomposition, QR, pseudo-inverse, inverse, rank).
//
// Element (i, j) lives at index i * cols + j; a matrix with rows * cols == 0 holds a null array.
// CMLBaseMatrix exists for float, double, CMLComplex<float> and CMLComplex<double>; CMLMatrixMN
// and the free comparison functions for float and double.
//
// Behaviour callers rely on:
//  - Nothing checks indices or operand shapes. Element-wise operations run over this (or the
//    left) operand's rows * cols elements; a product runs over the left operand's columns.
//  - Assignment never resizes: it copies the target's own rows * cols elements from the source
//    array (reading past a smaller source, as callers who mix sizes have always seen).
//  - Complex elements are copied whole (parts, cached trigonometric form and precision) by every
//    copy the matrices make, never through CMLComplex's tolerant assignment.
//  - operator== compares element by element with the default precision P of the element type
//    (|a - b| <= P counts as equal; NaN never equals anything).
//  - Text output writes one row a line: "( ", the elements separated by " ", then " )".
#ifndef ML_MATRIX_MN_H
#define ML_MATRIX_MN_H

#include <ml/complex.h>
#include <ml/precision.h>
#include <ml/types.h>
#include <ml/vector_n.h>

#include <iosfwd>

// Selects the matrix norm of Norm() and of the condition estimates. The numeric values are part
// of the interface; any other value selects the Frobenius norm.
enum mlMatrixNorm : int {
    mlNormColumnSum = 0,   // largest sum of absolute values over a column (the 1-norm)
    mlNormRowSum = 1,      // largest sum of absolute values over a row (the infinity norm)
    mlNormFrobenius = 2,   // square root of the sum of squares of all elements
    mlNormSpectral = 3,    // largest singular value (the 2-norm), through the decomposition
    mlNormMaxElement = 4,  // N times the largest absolute element (N = sqrt(rows * cols))
};

// Element types of CMLBaseMatrix; CMLMatrixMN uses ML_FOR_EACH_REAL.
#define ML_FOR_EACH_MATRIX_ELEMENT(X) X(float) X(double) X(CMLComplex<float>) X(CMLComplex<double>)

template <class T>
class ML_API CMLBaseMatrix {
public:
    // 0 x 0, null array.
    CMLBaseMatrix() = default;
    // n x n zero matrix (no negative-size check).
    explicit CMLBaseMatrix(int n);
    // rows x cols zero matrix.
    CMLBaseMatrix(int rows, int cols);
    // n x n (rows x cols) matrix read row-major from src (n * n, rows * cols elements).
    CMLBaseMatrix(int n, const T* src);
    CMLBaseMatrix(int rows, int cols, const T* src);
    // Deep copy with the source's shape.
    CMLBaseMatrix(const CMLBaseMatrix& o);
    // Takes over the source's array; the source becomes 0 x 0.
    CMLBaseMatrix(CMLBaseMatrix&& o) noexcept;
    virtual ~CMLBaseMatrix();

    // Copies this matrix's own rows * cols elements from o's array; the shape never changes and
    // is not compared. Self-assignment does nothing.
    virtual CMLBaseMatrix& operator=(const CMLBaseMatrix& o);
    // Multiplies every element by x.
    virtual CMLBaseMatrix& operator*=(T x);

    // Element access without bounds checks: (i, j) is element i * cols + j, [k] the k-th element
    // of the row-major array.
    T& operator()(int i, int j) { return m_data[i * m_cols + j]; }
    const T& operator()(int i, int j) const { return m_data[i * m_cols + j]; }
    T& operator[](int k) { return m_data[k]; }
    const T& operator[](int k) const { return m_data[k]; }
    void SetElement(int i, int j, const T& v);
    void AddToElement(int i, int j, const T& v) { m_data[i * m_cols + j] += v; }
    void MulElement(int i, int j, const T& v) { m_data[i * m_cols + j] *= v; }
    int RowsNb() const { return m_rows; }
    int ColsNb() const { return m_cols; }
    // 1 when rows == cols.
    int IsSquare() const { return m_rows == m_cols ? 1 : 0; }

    // Copy one full row (cols elements) or column (rows elements) from or to a plain array.
    void SetRow(int i, const T* src);
    void SetColumn(int j, const T* src);
    void Row(int i, T* dst) const;
    void Column(int j, T* dst) const;
    // The same from a vector (which must hold at least cols, rows elements).
    void SetRowVector(int i, const CMLBaseVector<T>& v);
    void SetColVector(int j, const CMLBaseVector<T>& v);
    // this(i, from..to) = v[start..start + to - from] (inclusive); nothing when from > to.
    void SetPartRowVector(int i, int from, int to, int start, const CMLBaseVector<T>& v);
    // this(from..to, j) = v[start..start + to - from] (inclusive); nothing when from > to.
    void SetPartColVector(int j, int from, int to, int start, const CMLBaseVector<T>& v);
    // Row i (cols elements), column j (rows elements) and the min(rows, cols) diagonal elements
    // as new vectors.
    CMLBaseVector<T> RowVector(int i) const;
    CMLBaseVector<T> ColVector(int j) const;
    CMLBaseVector<T> Diagonal() const;

    // Copies rows * cols elements from src, row-major.
    void Fill(const T* src);
    // Fills the inclusive block r0..r1 x c0..c1 from the packed src: along the rows of the block
    // when byRows is non-zero, down its columns when it is 0. Does nothing unless
    // 0 <= r0 <= r1 < rows and 0 <= c0 <= c1 < rows: the last column is tested against the row
    // count, not the column count, and callers rely on that test as it stands.
    void FillPart(int r0, int c0, int r1, int c1, const T* src, int byRows);
    // this(dstRow, first..last) = src(srcRow, first..last), inclusive; nothing when first > last.
    void CopyPartRow(int dstRow, int srcRow, int first, int last, const CMLBaseMatrix& src);
    // this(first..last, dstCol) = src(first..last, srcCol), inclusive; nothing when first > last.
    void CopyPartColumn(int dstCol, int srcCol, int first, int last, const CMLBaseMatrix& src);
    // Writes all rows * cols elements to dst, row-major.
    void Dump(T* dst) const;
    // Writes the inclusive block r0..r1 x c0..c1 to the packed dst, byRows as in FillPart. Does
    // nothing unless 0 <= r0 <= r1 < rows and 0 <= c0 <= c1 < cols.
    void DumpPart(int r0, int c0, int r1, int c1, T* dst, int byRows) const;

    // Element-wise arithmetic over this matrix's rows * cols elements. Division is plain IEEE
    // division: no zero guard.
    CMLBaseMatrix& operator+=(const CMLBaseMatrix& b);
    CMLBaseMatrix& operator-=(const CMLBaseMatrix& b);
    CMLBaseMatrix& operator/=(T x);
    void Add(const CMLBaseMatrix& b) { *this += b; }
    void Sub(const CMLBaseMatrix& b) { *this -= b; }
    void Mul(T x);
    void Div(T x) { *this /= x; }

    // New matrices of this matrix's shape (Transpose: cols x rows).
    CMLBaseMatrix operator+(const CMLBaseMatrix& b) const;
    CMLBaseMatrix operator-(const CMLBaseMatrix& b) const;
    CMLBaseMatrix operator*(T x) const;
    CMLBaseMatrix operator/(T x) const;
    CMLBaseMatrix Negate() const;
    CMLBaseMatrix Transpose() const;
    // rows x b.cols product; element (i, j) sums this(i, k) * b(k, j) over k < this->cols, in
    // increasing k (the inner sizes are not compared). Real elements use a cache-blocked kernel
    // (fused multiply-adds on processors with AVX2/FMA).
    CMLBaseMatrix operator*(const CMLBaseMatrix& b) const;
    // Vector of rows elements: row i dotted with v over k < cols, in increasing k.
    CMLBaseVector<T> operator*(const CMLBaseVector<T>& v) const;

    void SetToZero();
    void SetConstant(T v);
    // The min(rows, cols) diagonal elements become v; the others are untouched.
    void SetDiagonal(T v);
    // Sum of the min(rows, cols) diagonal elements; 0 for an empty matrix.
    T Trace() const;

    // 0 when the shapes differ; else 1 when every element pair is within P of the element type
    // (for complex elements mlAbs of the difference, which reports 0 below sqrt(P), so that the
    // test is mlAbs == 0). Empty matrices of one shape are equal.
    int operator==(const CMLBaseMatrix& b) const;
    int operator!=(const CMLBaseMatrix& b) const { return (*this == b) ? 0 : 1; }

    // Writes the inclusive block to standard output in the row format, then one empty line.
    // Writes nothing unless 0 <= r0 <= r1 < rows and 0 <= c0 <= c1 < cols.
    void PrintPartOfMatrix(int r0, int c0, int r1, int c1) const;

protected:
    // rows x cols with an allocated but unset array, for results written in full.
    CMLBaseMatrix(int rows, int cols, ml::detail::uninitialized_t);
    long Size() const { return static_cast<long>(m_rows) * m_cols; }

    int m_rows = 0;
    int m_cols = 0;
    T* m_data = nullptr;
};

// Writes each row as "( ", the elements separated by " " (default stream formatting; complex
// elements as "(re,im)"), " )" and an end of line. An empty matrix writes nothing.
template <class T>
ML_API std::ostream& operator<<(std::ostream& os, const CMLBaseMatrix<T>& m);

template <class T>
class ML_API CMLMatrixMN : public CMLBaseMatrix<T> {
public:
    // Same constructors as CMLBaseMatrix; the rank starts at 0 and no singular values are held.
    CMLMatrixMN() = default;
    explicit CMLMatrixMN(int n) : CMLBaseMatrix<T>(n) {}
    CMLMatrixMN(int rows, int cols) : CMLBaseMatrix<T>(rows, cols) {}
    CMLMatrixMN(int n, const T* src) : CMLBaseMatrix<T>(n, src) {}
    CMLMatrixMN(int rows, int cols, const T* src) : CMLBaseMatrix<T>(rows, cols, src) {}
    // Deep copy, rank and singular values included.
    CMLMatrixMN(const CMLMatrixMN& o);
    CMLMatrixMN(CMLMatrixMN&& o) noexcept;
    // Copy (or take over) a plain matrix; the rank is -1 (not known).
    CMLMatrixMN(const CMLBaseMatrix<T>& o);      // NOLINT: results of base operations convert
    CMLMatrixMN(CMLBaseMatrix<T>&& o) noexcept;  // NOLINT
    // Releases the singular values when the flag says they are held, then the elements.
    ~CMLMatrixMN() override;

    // Copies the elements as the base assignment does, sets the rank to -1, the singular-value
    // pointer to null and the flag to 0 (an array held before is dropped, not released).
    CMLMatrixMN& operator=(const CMLBaseMatrix<T>& o) override;
    // Copies the elements as the base assignment does, then rank and flag; when the source holds
    // singular values a new array of the source's min(rows, cols) receives a copy (an array held
    // before is not released). Self-assignment does nothing.
    virtual CMLMatrixMN& operator=(const CMLMatrixMN& o);

    // The base operations, returning CMLMatrixMN.
    using CMLBaseMatrix<T>::operator*;
    CMLMatrixMN operator+(const CMLBaseMatrix<T>& b) const;
    CMLMatrixMN operator-(const CMLBaseMatrix<T>& b) const;
    CMLMatrixMN operator*(T x) const;
    CMLMatrixMN operator/(T x) const;
    CMLMatrixMN operator*(const CMLBaseMatrix<T>& b) const;
    CMLMatrixMN Negate() const;
    CMLMatrixMN Transpose() const;

    // Structural predicates: an element counts as zero when |x| <= eps.
    // Every off-diagonal element is zero (an empty matrix is diagonal).
    int IsDiagonal(T eps) const;
    // Lower-left triangular: every element right of the diagonal in the first min(rows, cols)
    // rows is zero.
    int IsLLTriangular(T eps) const;
    // Upper-right triangular: every element left of the diagonal in rows 1..rows-1 is zero.
    int IsURTriangular(T eps) const;
    // Every element is zero.
    int IsAlmostZero(T eps) const;
    // Upper bidiagonal: 0 when rows < cols; the elements below the diagonal must be zero within
    // the fixed 1e-6 (whatever eps is, float included), those above the first superdiagonal
    // within eps.
    int IsBidiagonal(T eps) const;

    // Every element with |x| < eps (strict) becomes exactly 0.
    void AnnulateSmallElements(T eps);
    // mode 0 zeroes the strict upper triangle, any other mode the strict lower triangle.
    void AnnulateRelativelyDiagonal(int mode);
    // (i, i) and (j, j) become 0, (i, j) and (j, i) become 1, nothing else changes: on the
    // identity this builds the permutation swapping i and j.
    void SetElementTransposition(int i, int j);
    // Sum of the elements divided by their count; 0 for an empty matrix.
    T Mean() const;

    // The inclusive block as a new matrix; 0 x 0 unless 0 <= r0 <= r1 < rows, 0 <= c0 <= c1 < cols.
    CMLMatrixMN ExtractMatrix(int r0, int c0, int r1, int c1) const;
    // The top-left r x c block (0 x 0 when it does not fit).
    CMLMatrixMN ExtractLeftCornerMatrix(int r, int c) const;
    // Writes src's leading (r1 - r0 + 1) x (c1 - c0 + 1) elements (read with src's own column
    // count) into the inclusive block; nothing unless the block lies inside this matrix.
    void InsertMatrix(const CMLBaseMatrix<T>& src, int r0, int c0, int r1, int c1);

    // Cached rank: 0 after construction, -1 (not known) after assignment from a plain matrix,
    // set by SetRank and CalculateRank. Neither cache follows later changes of the elements.
    int GetRank() const { return m_rank; }
    void SetRank(int rank) { m_rank = rank; }
    // 1 when the object holds singular values (ThinSVD, CalculateRank).
    int IsSingCalculated() const { return m_singCalculated ? 1 : 0; }
    // Copies the min(rows, cols) held singular values to out; nothing when none are held.
    void GetSingularNumbers(T* out) const;

    // sqrt(a^2 + b^2) without overflow: |a| sqrt(1 + (|b|/|a|)^2) when |a| > |b|, else with the
    // roles swapped, through mlSafeSqrt; 0 when the larger magnitude is within 1e-9 of zero.
    static T Pythagoras(T a, T b);
    // |a| with the sign of b (b = 0 counts as positive).
    static T SignA(T a, T b) { return b >= T(0) ? (a >= T(0) ? a : -a) : (a >= T(0) ? -a : a); }

    // ---- Decompositions. Unless stated otherwise they return 1 on success and 0 on failure
    // (a non-finite element, an output of the wrong shape, the iteration limit of the
    // bidiagonal QR, or memory exhausted), and leave their outputs unchanged on failure.
    // k = min(rows, cols); tolerances are relative to the matrix's scale unless stated.

    // Singular value decomposition this = U diag(s) V^T by Householder bidiagonalisation and
    // implicit-shift QR on the bidiagonal matrix. The shapes of the outputs choose thin or full
    // factors: U m x k (orthonormal columns) or m x m (orthogonal), V n x k or n x n; s needs
    // at least k elements and receives the singular values, non-negative and descending (any
    // further elements become 0). eps is the relative convergence tolerance of the QR iteration
    // (values below a small multiple of the machine epsilon are raised to it).
    int SV_Decomposition(CMLMatrixMN& U, CMLMatrixMN& V, CMLVectorN<T>& s, T eps) const;
    // The same decomposition, with the 2 x 2 case computed in closed form (one plane rotation to
    // triangular form, then the closed-form 2 x 2 singular value decomposition).
    int SingDecomp2D(CMLMatrixMN& U, CMLMatrixMN& V, CMLVectorN<T>& s, T eps) const;
    // Thin decomposition (U m x k, V n x k, s of at least k elements) at full precision that
    // also keeps the singular values in the object (allocating the array when absent). Returns
    // 0 on success, 1 when the decomposition fails (outputs of the wrong shape included) and 2
    // when the array cannot be allocated; nothing is written unless it returns 0.
    int ThinSVD(CMLMatrixMN& U, CMLMatrixMN& V, CMLVectorN<T>& s);

    // QR of a matrix of any shape by Householder reflections: this = Q R with Q m x m and R
    // m x n, or Q m x k and R k x n (the shapes of the outputs choose); Q has orthonormal
    // columns and R is upper triangular with a non-negative diagonal. A column whose part below
    // the diagonal has a norm within eps times the column's norm is not reflected.
    int QR_Decomposition(CMLMatrixMN& Q, CMLMatrixMN& R, T eps) const;
    // QR of a matrix with two rows by one plane rotation: Q 2 x 2 (a rotation), R 2 x cols with
    // R(0, 0) >= 0; no rotation when |this(1, 0)| is within eps times the first column's norm.
    // 0 unless rows == 2 and the outputs have those shapes.
    int QRT_2D(CMLMatrixMN& Q, CMLMatrixMN& R, T eps) const;

    // Rank: the number of singular values above max(eps * max(1, s_max), max(m, n) * e * s_max),
    // e the machine epsilon of T. Also caches the rank and the singular values. Returns -1 (and
    // caches rank -1) when the decomposition fails.
    int CalculateRank(T eps);
    // Moore-Penrose inverse (cols x rows): V diag(1/s) U^T over the singular values above
    // max(m, n) * e * s_max. condition receives ||this|| * ||out|| in the selected norm (for the
    // spectral norm s_max / s_r); 0 for a zero matrix. condition is unchanged on failure.
    int PseudoInverse(CMLMatrixMN& out, mlMatrixNorm norm, double& condition) const;
    // Inverse of a square matrix through the singular value decomposition. Returns 0 on
    // success; 1 when the matrix is not square, empty or out is not of its shape; 2 when the
    // decomposition fails; 3 when the matrix is singular (CalculateRank(eps) < rows), with
    // condition set to mlBigValue. out is only written on success, condition on 0 and 3.
    int Inverse(CMLMatrixMN& out, mlMatrixNorm norm, T eps, double& condition) const;
    // Inverse by row count: 0 or 1 rows return 1 at once, out untouched (a 1 x 1 matrix is not
    // inverted). 2, 3 and 4 rows go through CMLMatrix2/3/4 (ml/matrix_fixed.h): the leading
    // N x N block is inverted there by its determinant test, and the code is that matrix's, 0
    // with the inverse written to out's leading block (as much of it as out holds) or 3
    // (|det| < eps, or fewer columns than rows) with out untouched. Larger matrices return the
    // code of the general inverse above.
    int Inverse(CMLMatrixMN& out, T eps) const;
    // Minimum-norm least-squares solution x = pinv(this) b (b of rows, x of cols elements);
    // condition as in PseudoInverse.
    int PseudoSolveSystem(const CMLVectorN<T>& b, CMLVectorN<T>& x, mlMatrixNorm norm,
                          double& condition) const;

    // Zero rows and columns (every element within eps): their counts; returns 1 when there is at
    // least one, else 0.
    int TestZeroRowsColumns(int& zeroRows, int& zeroCols, T eps) const;
    // Moves the zero rows (columns) to the bottom (right), keeping the order of the others; n
    // receives their count and perm (rows x rows, cols x cols) the permutation P with
    // P * old = new (old * P = new). Returns 0, changing nothing, when perm has the wrong shape.
    int MoveZeroRows(int& n, CMLMatrixMN& perm, T eps);
    int MoveZeroColumns(int& n, CMLMatrixMN& perm, T eps);

    // The selected norm (see mlMatrixNorm); 0 for an empty matrix; NaN when an element is NaN.
    // The spectral norm falls back to the Frobenius norm when the decomposition fails
    // (non-finite elements).
    T Norm(mlMatrixNorm norm) const;
    // Sum of this(i, j) * b(i, j) over this matrix's elements.
    T InnerProduct(const CMLMatrixMN& b) const;
    // Pearson correlation of the elements of the two matrices (over this matrix's count); 0 when
    // either has no spread (the product of the deviations' norms is below P).
    T CorrelationCoefficient(const CMLMatrixMN& b) const;

    // ---- Building blocks of the decompositions.

    // Householder reflector H = I - tau w w^T, w[0] = 1, with H (alpha, x) = (beta, 0, ..., 0)
    // for the n-vector (alpha, x[0], x[incx], ...): overwrites x with w[1..n-1] and alpha with
    // beta, returns tau (0, and nothing changed, when x is zero or n < 2).
    static T Householder1(int n, T& alpha, T* x, int incx);
    // Applies H = I - tau v v^T to the inclusive block r0..r1 x c0..c1: mode 0 from the right
    // (block := block H, v of c1 - c0 + 1 elements), any other mode from the left (block := H
    // block, v of r1 - r0 + 1 elements). Nothing unless the block lies inside the matrix.
    void Householder2(const T* v, T tau, int r0, int c0, int r1, int c1, int mode);
    // One left step of the reduction: the reflector built from column k (rows k..rows-1) is
    // applied from the left to columns k..cols-1, which zeroes column k below the diagonal.
    // v (rows - k elements, v[0] = 1) and tau receive the reflector. Returns 0 when k is not a
    // valid column index below the last row.
    int ZeroUpperTransform(int k, T* v, T& tau);
    // One right step: the reflector built from row k (columns k+1..cols-1) is applied from the
    // right to rows k..rows-1, which zeroes row k right of the superdiagonal. v receives
    // cols - k - 1 elements (v[0] = 1). Returns 0 when k + 1 is not a valid column index.
    // Alternating ZeroUpperTransform(k) and ZeroRightTransform(k) for k = 0, 1, ... reduces a
    // matrix with rows >= cols to upper bidiagonal form.
    int ZeroRightTransform(int k, T* v, T& tau);
    // Plane rotation with c a + s b = r and -s a + c b = 0, c >= 0, r with the sign of a.
    static void Givens1(T a, T b, T& c, T& s, T& r);
    // Applies the rotation G (identity with G(p,p) = G(q,q) = c, G(p,q) = -s, G(q,p) = s):
    // mode 0 from the right to columns p and q (this := this G), any other mode from the left
    // to rows p and q (this := G^T this): x_p := c x_p + s x_q, x_q := c x_q - s x_p.
    void Givens2(int p, int q, T c, T s, int mode);

    // Diagonalises the upper bidiagonal matrix with diagonal d (n = d.Dim()) and superdiagonal
    // e[0..n-2] by implicit-shift QR sweeps with plane rotations. The left rotations
    // post-multiply U and the right ones V (each with n columns, or null): starting from
    // identities, B = U diag(d) V^T afterwards. d becomes the singular values, non-negative and
    // descending (columns of U and V following), e zero. eps as in SV_Decomposition.
    static int QRBD(CMLVectorN<T>& d, CMLVectorN<T>& e, CMLMatrixMN* U, CMLMatrixMN* V, T eps);
    // One implicit QR sweep with the given shift on the block l..u (l < u < d.Dim()) of the
    // bidiagonal matrix (d, e), chasing the bulge downwards, rotations applied to U and V as in
    // QRBD; a zero shift runs the zero-shift sweep that keeps tiny singular values accurate. The
    // block must stand apart: e[l - 1] and e[u] are taken as zero.
    static int Apply_QRBD(int l, int u, CMLVectorN<T>& d, CMLVectorN<T>& e, T shift, CMLMatrixMN* U,
                          CMLMatrixMN* V);

    // Singular value decomposition on unit-offset arrays, for code written with indices from 1:
    // a[1..m][1..n] is replaced by U (m x n; when m < n its last n - m columns are zero),
    // w[1..n] receives the singular values (descending, non-negative) and v[1..n][1..n] the
    // orthogonal V, so that A = U diag(w) V^T.
    static int ThinSVDUnitOffsetInPlace(T** a, int m, int n, T* w, T** v, T eps);

private:
    // Stores k singular values in the object's own array (allocated when absent). 0 on failure.
    int CacheSingularValues(const T* s, int k);

    int m_rank = 0;
    T* m_singularValues = nullptr;
    int m_singCalculated = 0;
};

// 0 when the shapes differ; else 1 when every element pair of a and b is within precision.
template <class T>
ML_API int mlAreAlmostEqual(const CMLBaseMatrix<T>& a, const CMLBaseMatrix<T>& b,
                            ml::detail::non_deduced_t<T> precision = mlDefaultPrecision<T>);
// 0 unless small is (r1 - r0 + 1) x (c1 - c0 + 1) and the inclusive block lies inside big; else
// the element-wise comparison of small with that block of big.
template <class T>
ML_API int mlIsMatrixEqualPartOfMatrix(const CMLBaseMatrix<T>& small, const CMLBaseMatrix<T>& big,
                                       int r0, int c0, int r1, int c1,
                                       ml::detail::non_deduced_t<T> precision);
// 0 unless both inclusive blocks lie inside their matrices and have the same height and width;
// else their element-wise comparison.
template <class T>
ML_API int mlArePartsMatricesEqual(const CMLBaseMatrix<T>& a, int ar0, int ac0, int ar1, int ac1,
                                   const CMLBaseMatrix<T>& b, int br0, int bc0, int br1, int bc1,
                                   ml::detail::non_deduced_t<T> precision);

#define ML_MATRIX_BASE_EXTERN(T)            \
    extern template class CMLBaseMatrix<T>; \
    extern template ML_API std::ostream& operator<< <T>(std::ostream&, const CMLBaseMatrix<T>&);
ML_FOR_EACH_MATRIX_ELEMENT(ML_MATRIX_BASE_EXTERN)
#undef ML_MATRIX_BASE_EXTERN

#define ML_MATRIX_MN_EXTERN(T)                                                                    \
    extern template class CMLMatrixMN<T>;                                                         \
    extern template ML_API int mlAreAlmostEqual<T>(const CMLBaseMatrix<T>&,                       \
                                                   const CMLBaseMatrix<T>&, T);                   \
    extern template ML_API int mlIsMatrixEqualPartOfMatrix<T>(                                    \
        const CMLBaseMatrix<T>&, const CMLBaseMatrix<T>&, int, int, int, int, T);                 \
    extern template ML_API int mlArePartsMatricesEqual<T>(const CMLBaseMatrix<T>&, int, int, int, \
                                                          int, const CMLBaseMatrix<T>&, int, int, \
                                                          int, int, T);
ML_FOR_EACH_REAL(ML_MATRIX_MN_EXTERN)
#undef ML_MATRIX_MN_EXTERN

#endif  // ML_MATRIX_MN_H
