// Numerical kernels of the fixed matrices, on row-major N x N arrays (element (i, j) at i*N + j).
// Internal to the library: hidden, instantiated in matrix_fixed_decompositions.cpp for float and
// double and N = 2, 3, 4 (the eigenvalue kernels for N = 2, 3).
#ifndef ML_MATRICES_MATRIX_FIXED_KERNELS_H
#define ML_MATRICES_MATRIX_FIXED_KERNELS_H

namespace ml::detail::fixed_matrix {

// 1 when every element is finite.
template <class T, int N>
bool AllFinite(const T* a);

// Square root of the sum of squares, rescaled when the plain sum overflows or underflows.
template <class T, int N>
T FrobeniusNorm(const T* a);

// Norm by selector value: 0 largest column sum, 1 largest row sum, 3 largest singular value,
// 4 N times the largest |x|, anything else Frobenius.
template <class T, int N>
T Norm(const T* a, int selector);

// Singular value decomposition a = u diag(s) v^T by one-sided Jacobi rotations: s descending and
// non-negative, u and v orthogonal (either may be null when not wanted). Singular values at or
// below rel * s[0] become 0 and their columns of u complete an orthonormal basis. Returns 0,
// writing nothing, for a non-finite element.
template <class T, int N>
int Svd(const T* a, T* u, T* v, T* s, T rel);

// Eigen-decomposition of the symmetric part (a + a^T) / 2 by cyclic Jacobi rotations: values
// ascending, vectors orthonormal columns. Returns 0, writing nothing, for a non-finite element.
template <class T, int N>
int SymmetricEigen(const T* a, T* values, T* vectors);

// Householder QR: a = q r, r upper triangular with a non-negative diagonal; a column whose
// part below the diagonal has a norm within eps times the column's norm is not reflected.
// Returns 0, writing nothing, for a non-finite element.
template <class T, int N>
int HouseholderQr(const T* a, T* q, T* r, T eps);

// Doolittle LU without row exchanges; l and u are cleared first. Returns 0 as soon as a pivot
// is below eps in absolute value.
template <class T, int N>
int DoolittleLu(const T* a, T* l, T* u, T eps);

// Polar decomposition: q orthogonal, s symmetric positive semidefinite, a = q s (side 0) or
// a = s q (side != 0); singular values at or below rel * s_max are dropped from s.
template <class T, int N>
int Polar(const T* a, T* q, T* s, int side, T rel);

// Eigenvalues re[k] + i im[k]: real ones ascending first, then complex pairs (positive imaginary
// part first). Returns the number of real eigenvalues, or -1 (nothing written) for a non-finite
// element or when the QR iteration does not converge.
template <class T, int N>
int Eigenvalues(const T* a, T* re, T* im);

// Real eigenpairs: values[k] and the unit vector vectors[k*N .. k*N+N-1]; see
// CMLMatrix3::FindEigenvectorsReal. Returns their count or -1.
template <class T, int N>
int RealEigenvectors(const T* a, T* values, T* vectors, T eps);

// A unit eigenvector vre + i vim of the eigenvalue lre + i lim; 0 (nothing written) when the
// residual exceeds eps * max(1, Frobenius norm).
template <class T, int N>
int ComplexEigenvector(const T* a, T lre, T lim, T* vre, T* vim, T eps);

}  // namespace ml::detail::fixed_matrix

#endif  // ML_MATRICES_MATRIX_FIXED_KERNELS_H
