// Internal dense decompositions on strided arrays: Householder bidiagonalisation followed by
// implicit-shift QR on the bidiagonal matrix (Golub-Kahan singular value decomposition), and
// Householder QR. Not installed and not exported.
//
// Results do not depend on the processor: the AVX2 variant selected at run time performs the
// same floating-point operations in the same order as the baseline variant, only wider.
#ifndef ML_MATRICES_DETAIL_SVD_KERNELS_H
#define ML_MATRICES_DETAIL_SVD_KERNELS_H

namespace ml::detail {

// Singular value decomposition A = U diag(s) V^T of the m x n matrix A whose element (i, j) is
// a[i * rsa + j * csa]. With k = min(m, n):
//  - s receives the k singular values, non-negative and in descending order;
//  - u, when not null, receives U row-major (leading dimension ldu), m x uCols with uCols = k
//    (orthonormal columns) or m (a full orthogonal matrix);
//  - v, when not null, receives V row-major (ldv), n x vCols with vCols = k or n.
// tol is the relative tolerance of the bidiagonal QR iteration; values below a small multiple
// of the machine epsilon are raised to it. Returns 1 on success and 0, leaving s, u and v
// unspecified, when A has a non-finite element, the iteration limit is reached, the column
// counts are invalid, or scratch memory cannot be allocated. The outputs must not overlap A.
template <class T>
int Svd(int m, int n, const T* a, long rsa, long csa, T* s, T* u, long ldu, int uCols, T* v,
        long ldv, int vCols, T tol);

// Householder QR A = Q R of the m x n matrix A (element (i, j) at a[i * rsa + j * csa]), with
// k = min(m, n): q receives Q row-major (ldq), m x qCols with qCols = k or m; r receives R
// row-major (ldr), rRows x n with rRows = qCols, upper triangular with a non-negative diagonal.
// A column whose part below the diagonal has a norm within tol times the column's norm is not
// reflected (that part is taken as zero). Returns 1 on success, 0 for a non-finite element,
// invalid sizes or failed allocation.
template <class T>
int Qr(int m, int n, const T* a, long rsa, long csa, T* q, long ldq, int qCols, T* r, long ldr,
       int rRows, T tol);

// Householder reflector H = I - tau w w^T (w[0] = 1) with H (alpha, x) = (beta, 0, ..., 0) for
// the n-vector (alpha, x[0], x[(n-2) * incx]). Overwrites x with w[1..n-1], alpha with beta,
// and returns tau (0 when x is already zero: H is the identity).
template <class T>
T MakeReflector(int n, T& alpha, T* x, long incx);

// Plane rotation with c*f + s*g = r and -s*f + c*g = 0, c >= 0, r carrying the sign of f
// (c = 1, s = 0 for g = 0), computed without intermediate overflow.
template <class T>
void MakeRotation(T f, T g, T& c, T& s, T& r);

// Singular value decomposition of the upper triangular 2 x 2 matrix (f g; 0 h):
// (csl snl; -snl csl) (f g; 0 h) (csr -snr; snr csr) = diag(ssmax, ssmin), |ssmax| >= |ssmin|.
template <class T>
void Svd2x2Upper(T f, T g, T h, T& ssmin, T& ssmax, T& snr, T& csr, T& snl, T& csl);

// Diagonalises the n x n upper bidiagonal matrix (diagonal d[0..n-1], superdiagonal
// e[0..n-2]) by implicit-shift QR with plane rotations. The left rotations are applied to the
// rows 0..n-1 of ut (nu columns, leading dimension ldu) and the right ones to the rows of vt
// (nv columns, ldv); either may be null. On success d holds the singular values, non-negative
// and descending (the rows of ut and vt permuted and signed to match), e is zero, and 1 is
// returned; 0 when an element is not finite or the iteration limit is reached. tol as in Svd.
template <class T>
int BidiagonalQr(int n, T* d, T* e, T* ut, long ldu, int nu, T* vt, long ldv, int nv, T tol);

// One implicit QR sweep with the given shift on the block l..u (l < u) of the bidiagonal
// matrix (d, e), chasing the bulge from the top; rotations applied as in BidiagonalQr. A zero
// shift selects the zero-shift variant, which keeps small singular values to high relative
// accuracy. Returns 0 (nothing done) when the block is invalid or scratch cannot be allocated.
template <class T>
int BidiagonalSweep(int l, int u, T* d, T* e, T shift, T* ut, long ldu, int nu, T* vt, long ldv,
                    int nv);

// Applies the plane rotation to rows p and q of the row-major array x (len columns, leading
// dimension ld): row_p := c row_p + s row_q, row_q := c row_q - s row_p.
template <class T>
void RotateRows(T* x, long ld, int len, int p, int q, T c, T s);

#define ML_SVD_KERNELS_EXTERN(T)                                                                 \
    extern template int Svd<T>(int, int, const T*, long, long, T*, T*, long, int, T*, long, int, \
                               T);                                                               \
    extern template int Qr<T>(int, int, const T*, long, long, T*, long, int, T*, long, int, T);  \
    extern template T MakeReflector<T>(int, T&, T*, long);                                       \
    extern template void MakeRotation<T>(T, T, T&, T&, T&);                                      \
    extern template void Svd2x2Upper<T>(T, T, T, T&, T&, T&, T&, T&, T&);                        \
    extern template int BidiagonalQr<T>(int, T*, T*, T*, long, int, T*, long, int, T);           \
    extern template int BidiagonalSweep<T>(int, int, T*, T*, T, T*, long, int, T*, long, int);   \
    extern template void RotateRows<T>(T*, long, int, int, int, T, T);
ML_SVD_KERNELS_EXTERN(float)
ML_SVD_KERNELS_EXTERN(double)
#undef ML_SVD_KERNELS_EXTERN

}  // namespace ml::detail

#endif  // ML_MATRICES_DETAIL_SVD_KERNELS_H
