// Internal dense matrix product on strided arrays. Not installed and not exported: the public
// matrix classes call it for float and double elements.
#ifndef ML_MATRICES_DETAIL_GEMM_H
#define ML_MATRICES_DETAIL_GEMM_H

namespace ml::detail {

// Which micro-kernel runs the product. Automatic picks the AVX2/FMA kernel when the processor
// has it and the portable one otherwise; the explicit choices exist for tests and benchmarks
// (Avx2Fma falls back to Portable on a processor without AVX2/FMA).
enum class GemmKernel { Automatic, Portable, Avx2Fma };

// What the product does with the target: C = A*B, C = C + A*B or C = C - A*B.
enum class GemmUpdate { Set, Add, Subtract };

// C (m x n) op= A (m x k) * B (k x n). A's element (i, p) is a[i * rsa + p * csa], B's element
// (p, j) is b[p * rsb + j * csb], so transposed operands cost nothing; C is row-major with
// leading dimension ldc and must not overlap A or B.
//
// Every C(i, j) is accumulated in increasing p, starting from 0 (Set) or from C(i, j): the
// portable kernel therefore reproduces the plain sum bit for bit, while the AVX2/FMA kernel
// rounds once per fused multiply-add. With k = 0, Set writes zeros.
template <class T>
void Gemm(int m, int n, int k, const T* a, long rsa, long csa, const T* b, long rsb, long csb, T* c,
          long ldc, GemmUpdate update = GemmUpdate::Set, GemmKernel kernel = GemmKernel::Automatic);

extern template void Gemm<float>(int, int, int, const float*, long, long, const float*, long, long,
                                 float*, long, GemmUpdate, GemmKernel);
extern template void Gemm<double>(int, int, int, const double*, long, long, const double*, long,
                                  long, double*, long, GemmUpdate, GemmKernel);

}  // namespace ml::detail

#endif  // ML_MATRICES_DETAIL_GEMM_H
