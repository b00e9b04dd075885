// Cache-blocked matrix product. The operands are copied ("packed") into contiguous panels sized
// for the caches: a KC x NC panel of B stays in the outer cache, an MC x KC block of A in the
// second level, and a register-tiled micro-kernel multiplies an MR-row sliver of A with an
// NR-column sliver of B, keeping the MR x NR tile of C in registers for the whole KC loop.
//
// Two micro-kernels exist: a portable one written with the compiler's generic vector types (it
// compiles to the baseline instruction set, SSE2 on x86-64) and an AVX2/FMA one compiled with a
// function target attribute and selected at run time. The build itself stays portable.
#include "gemm.h"

#include "buffer.h"
#include "cpu.h"

#include <cstring>

#if ML_HAVE_X86_DISPATCH
#include <immintrin.h>
#endif

namespace ml::detail {
namespace {

// ---------------------------------------------------------------------------------------------
// Micro-kernels. Each computes the MR x NR tile c (row-major, leading dimension ldc) as
// (load ? c : 0) + sum over p < kc of ap[p*MR + i] * bp[p*NR + j], accumulating in p order.
// ap and bp are 64-byte aligned packed slivers.

template <class T>
struct Vec16;
template <>
struct Vec16<double> {
    typedef double type __attribute__((vector_size(16)));
};
template <>
struct Vec16<float> {
    typedef float type __attribute__((vector_size(16)));
};

template <class V, class T>
inline V LoadVec(const T* p) {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class V, class T>
inline void StoreVec(T* p, const V& v) {
    std::memcpy(p, &v, sizeof v);
}

// Portable kernel: MR rows times NV 16-byte vectors (3 x 4 fills the sixteen SSE registers).
template <class T, int MR, int NV>
void PortableKernel(int kc, const T* ap, const T* bp, T* c, long ldc, bool load) {
    using V = typename Vec16<T>::type;
    constexpr int L = 16 / sizeof(T);
    V acc[MR][NV];
#pragma GCC unroll 16
    for (int r = 0; r < MR; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < NV; ++v)
            acc[r][v] = load ? LoadVec<V>(c + r * ldc + v * L) : V{};
    }
    for (int p = 0; p < kc; ++p) {
        V b[NV];
#pragma GCC unroll 16
        for (int v = 0; v < NV; ++v)
            b[v] = LoadVec<V>(bp + v * L);
#pragma GCC unroll 16
        for (int r = 0; r < MR; ++r) {
            const T a = ap[r];
#pragma GCC unroll 16
            for (int v = 0; v < NV; ++v)
                acc[r][v] += b[v] * a;
        }
        ap += MR;
        bp += NV * L;
    }
#pragma GCC unroll 16
    for (int r = 0; r < MR; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < NV; ++v)
            StoreVec(c + r * ldc + v * L, acc[r][v]);
    }
}

#if ML_HAVE_X86_DISPATCH

#define ML_AVX2_INLINE ML_TARGET_AVX2 __attribute__((always_inline)) inline

// 256-bit operations per element type, for the AVX2/FMA kernels.
template <class T>
struct Avx2;
template <>
struct Avx2<double> {
    using V = __m256d;
    static constexpr int kLanes = 4;
    static ML_AVX2_INLINE V Zero() { return _mm256_setzero_pd(); }
    static ML_AVX2_INLINE V Load(const double* p) { return _mm256_load_pd(p); }
    static ML_AVX2_INLINE V LoadU(const double* p) { return _mm256_loadu_pd(p); }
    static ML_AVX2_INLINE void StoreU(double* p, V v) { _mm256_storeu_pd(p, v); }
    static ML_AVX2_INLINE V Broadcast(const double* p) { return _mm256_broadcast_sd(p); }
    static ML_AVX2_INLINE V Fma(V a, V b, V c) { return _mm256_fmadd_pd(a, b, c); }
};
template <>
struct Avx2<float> {
    using V = __m256;
    static constexpr int kLanes = 8;
    static ML_AVX2_INLINE V Zero() { return _mm256_setzero_ps(); }
    static ML_AVX2_INLINE V Load(const float* p) { return _mm256_load_ps(p); }
    static ML_AVX2_INLINE V LoadU(const float* p) { return _mm256_loadu_ps(p); }
    static ML_AVX2_INLINE void StoreU(float* p, V v) { _mm256_storeu_ps(p, v); }
    static ML_AVX2_INLINE V Broadcast(const float* p) { return _mm256_broadcast_ss(p); }
    static ML_AVX2_INLINE V Fma(V a, V b, V c) { return _mm256_fmadd_ps(a, b, c); }
};

// AVX2/FMA kernel: 6 rows times two 256-bit vectors (6 x 8 doubles, 6 x 16 floats), twelve
// accumulators, the classic register budget of the 16 ymm registers.
template <class T>
ML_TARGET_AVX2 void Avx2Kernel(int kc, const T* ap, const T* bp, T* c, long ldc, bool load) {
    using O = Avx2<T>;
    using V = typename O::V;
    constexpr int L = O::kLanes;
    V c00, c01, c10, c11, c20, c21, c30, c31, c40, c41, c50, c51;
    if (load) {
        c00 = O::LoadU(c + 0 * ldc), c01 = O::LoadU(c + 0 * ldc + L);
        c10 = O::LoadU(c + 1 * ldc), c11 = O::LoadU(c + 1 * ldc + L);
        c20 = O::LoadU(c + 2 * ldc), c21 = O::LoadU(c + 2 * ldc + L);
        c30 = O::LoadU(c + 3 * ldc), c31 = O::LoadU(c + 3 * ldc + L);
        c40 = O::LoadU(c + 4 * ldc), c41 = O::LoadU(c + 4 * ldc + L);
        c50 = O::LoadU(c + 5 * ldc), c51 = O::LoadU(c + 5 * ldc + L);
    } else {
        c00 = c01 = c10 = c11 = c20 = c21 = O::Zero();
        c30 = c31 = c40 = c41 = c50 = c51 = O::Zero();
    }
#pragma GCC unroll 4
    for (int p = 0; p < kc; ++p) {
        const V b0 = O::Load(bp), b1 = O::Load(bp + L);
        V a = O::Broadcast(ap + 0);
        c00 = O::Fma(a, b0, c00), c01 = O::Fma(a, b1, c01);
        a = O::Broadcast(ap + 1);
        c10 = O::Fma(a, b0, c10), c11 = O::Fma(a, b1, c11);
        a = O::Broadcast(ap + 2);
        c20 = O::Fma(a, b0, c20), c21 = O::Fma(a, b1, c21);
        a = O::Broadcast(ap + 3);
        c30 = O::Fma(a, b0, c30), c31 = O::Fma(a, b1, c31);
        a = O::Broadcast(ap + 4);
        c40 = O::Fma(a, b0, c40), c41 = O::Fma(a, b1, c41);
        a = O::Broadcast(ap + 5);
        c50 = O::Fma(a, b0, c50), c51 = O::Fma(a, b1, c51);
        ap += 6;
        bp += 2 * L;
    }
    O::StoreU(c + 0 * ldc, c00), O::StoreU(c + 0 * ldc + L, c01);
    O::StoreU(c + 1 * ldc, c10), O::StoreU(c + 1 * ldc + L, c11);
    O::StoreU(c + 2 * ldc, c20), O::StoreU(c + 2 * ldc + L, c21);
    O::StoreU(c + 3 * ldc, c30), O::StoreU(c + 3 * ldc + L, c31);
    O::StoreU(c + 4 * ldc, c40), O::StoreU(c + 4 * ldc + L, c41);
    O::StoreU(c + 5 * ldc, c50), O::StoreU(c + 5 * ldc + L, c51);
}

#endif  // ML_HAVE_X86_DISPATCH

// ---------------------------------------------------------------------------------------------
// Blocking.

template <class T>
struct KernelPlan {
    void (*kernel)(int, const T*, const T*, T*, long, bool);
    int mr, nr;      // register tile
    int mc, kc, nc;  // cache blocks; mc a multiple of mr, nc of nr
};

template <class T>
KernelPlan<T> PortablePlan() {
    constexpr int L = 16 / sizeof(T);
    return {&PortableKernel<T, 3, 4>, 3, 4 * L, 96, 256, 4080 / (4 * L) * (4 * L)};
}

template <class T>
KernelPlan<T> SelectKernel(GemmKernel choice) {
#if ML_HAVE_X86_DISPATCH
    if (choice != GemmKernel::Portable && CpuHasAvx2Fma()) {
        constexpr int nr = 2 * Avx2<T>::kLanes;
        return {&Avx2Kernel<T>, 6, nr, 96, 256, 4080 / nr * nr};
    }
#else
    (void)choice;
#endif
    return PortablePlan<T>();
}

// Packs rows [0, mc) x columns [0, kc) of A (already offset) into MR-row slivers, p-major,
// zero-padding the last sliver; negated for a subtracting update (exact).
template <class T>
void PackA(int mc, int kc, const T* a, long rsa, long csa, int mr, bool negate, T* out) {
    for (int i0 = 0; i0 < mc; i0 += mr) {
        const int rows = mc - i0 < mr ? mc - i0 : mr;
        for (int r = 0; r < rows; ++r) {
            const T* src = a + (i0 + r) * rsa;
            T* dst = out + r;
            if (negate) {
                for (int p = 0; p < kc; ++p)
                    dst[p * mr] = -src[p * csa];
            } else {
                for (int p = 0; p < kc; ++p)
                    dst[p * mr] = src[p * csa];
            }
        }
        for (int r = rows; r < mr; ++r) {
            for (int p = 0; p < kc; ++p)
                out[p * mr + r] = T(0);
        }
        out += static_cast<long>(mr) * kc;
    }
}

// Packs rows [0, kc) x columns [0, nc) of B (already offset) into NR-column slivers, p-major,
// zero-padding the last sliver.
template <class T>
void PackB(int kc, int nc, const T* b, long rsb, long csb, int nr, T* out) {
    for (int j0 = 0; j0 < nc; j0 += nr) {
        const int cols = nc - j0 < nr ? nc - j0 : nr;
        for (int p = 0; p < kc; ++p) {
            const T* src = b + p * rsb + j0 * csb;
            T* dst = out + p * nr;
            if (csb == 1) {
                std::memcpy(dst, src, sizeof(T) * cols);
            } else {
                for (int j = 0; j < cols; ++j)
                    dst[j] = src[j * csb];
            }
            for (int j = cols; j < nr; ++j)
                dst[j] = T(0);
        }
        out += static_cast<long>(nr) * kc;
    }
}

// The plain triple loop for products too small to repay packing; same accumulation order.
template <class T>
void SmallGemm(int m, int n, int k, const T* a, long rsa, long csa, const T* b, long rsb, long csb,
               T* c, long ldc, GemmUpdate update) {
    for (int i = 0; i < m; ++i) {
        T* ci = c + i * ldc;
        if (update == GemmUpdate::Set) {
            for (int j = 0; j < n; ++j)
                ci[j] = T(0);
        }
        for (int p = 0; p < k; ++p) {
            T aip = a[i * rsa + p * csa];
            if (update == GemmUpdate::Subtract) aip = -aip;
            const T* bp = b + p * rsb;
            if (csb == 1) {
                for (int j = 0; j < n; ++j)
                    ci[j] += aip * bp[j];
            } else {
                for (int j = 0; j < n; ++j)
                    ci[j] += aip * bp[j * csb];
            }
        }
    }
}

}  // namespace

template <class T>
void Gemm(int m, int n, int k, const T* a, long rsa, long csa, const T* b, long rsb, long csb, T* c,
          long ldc, GemmUpdate update, GemmKernel kernel) {
    if (m <= 0 || n <= 0) return;
    if (k <= 0) {
        if (update == GemmUpdate::Set) {
            for (int i = 0; i < m; ++i) {
                for (int j = 0; j < n; ++j)
                    c[i * ldc + j] = T(0);
            }
        }
        return;
    }
    const KernelPlan<T> plan = SelectKernel<T>(kernel);
    const long work = static_cast<long>(m) * n * k;
    if (work < 24L * 24 * 24 || m < plan.mr || n < plan.nr) {
        SmallGemm(m, n, k, a, rsa, csa, b, rsb, csb, c, ldc, update);
        return;
    }

    const int mr = plan.mr, nr = plan.nr;
    const int kcMax = k < plan.kc ? k : plan.kc;
    const int ncMax = n < plan.nc ? (n + nr - 1) / nr * nr : plan.nc;
    const int mcMax = m < plan.mc ? (m + mr - 1) / mr * mr : plan.mc;
    Buffer<T> packedB, packedA;
    if (!packedB.Reset(static_cast<std::size_t>(kcMax) * ncMax) ||
        !packedA.Reset(static_cast<std::size_t>(kcMax) * mcMax)) {
        SmallGemm(m, n, k, a, rsa, csa, b, rsb, csb, c, ldc, update);
        return;
    }
    alignas(64) T edge[8 * 32] = {};  // one MR x NR tile for the ragged borders
    const bool negate = update == GemmUpdate::Subtract;

    for (int jc = 0; jc < n; jc += plan.nc) {
        const int nc = n - jc < plan.nc ? n - jc : plan.nc;
        for (int pc = 0; pc < k; pc += plan.kc) {
            const int kc = k - pc < plan.kc ? k - pc : plan.kc;
            const bool load = pc > 0 || update != GemmUpdate::Set;
            PackB(kc, nc, b + pc * rsb + jc * csb, rsb, csb, nr, packedB.Get());
            for (int ic = 0; ic < m; ic += plan.mc) {
                const int mc = m - ic < plan.mc ? m - ic : plan.mc;
                PackA(mc, kc, a + ic * rsa + pc * csa, rsa, csa, mr, negate, packedA.Get());
                for (int jr = 0; jr < nc; jr += nr) {
                    const int cols = nc - jr < nr ? nc - jr : nr;
                    const T* bp = packedB.Get() + static_cast<long>(jr) * kc;
                    for (int ir = 0; ir < mc; ir += mr) {
                        const int rows = mc - ir < mr ? mc - ir : mr;
                        const T* ap = packedA.Get() + static_cast<long>(ir) * kc;
                        T* ct = c + (ic + ir) * ldc + jc + jr;
                        if (rows == mr && cols == nr) {
                            plan.kernel(kc, ap, bp, ct, ldc, load);
                            continue;
                        }
                        if (load) {
                            for (int r = 0; r < rows; ++r) {
                                for (int j = 0; j < cols; ++j)
                                    edge[r * nr + j] = ct[r * ldc + j];
                            }
                        }
                        plan.kernel(kc, ap, bp, edge, nr, load);
                        for (int r = 0; r < rows; ++r) {
                            for (int j = 0; j < cols; ++j)
                                ct[r * ldc + j] = edge[r * nr + j];
                        }
                    }
                }
            }
        }
    }
}

template void Gemm<float>(int, int, int, const float*, long, long, const float*, long, long, float*,
                          long, GemmUpdate, GemmKernel);
template void Gemm<double>(int, int, int, const double*, long, long, const double*, long, long,
                           double*, long, GemmUpdate, GemmKernel);

}  // namespace ml::detail
