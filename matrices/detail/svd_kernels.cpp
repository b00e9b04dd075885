// Householder bidiagonalisation, implicit-shift bidiagonal QR and Householder QR. The vector
// kernels live in svd_kernels_body.h, compiled here twice: for the baseline instruction set and,
// on x86 with GCC, for AVX2 (selected at run time). Both perform identical arithmetic.
#include "svd_kernels.h"

#include "buffer.h"
#include "cpu.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

namespace ml::detail {

// ---------------------------------------------------------------------------------------------
// Scalar helpers shared by both compilations.

// Inlined into the sweeps; MakeRotation is the exported form.
template <class T>
inline void Rotation(T f, T g, T& c, T& s, T& r) {
    if (g == T(0)) {
        c = T(1);
        s = T(0);
        r = f;
        return;
    }
    if (f == T(0)) {
        c = T(0);
        s = std::copysign(T(1), g);
        r = std::fabs(g);
        return;
    }
    const T f1 = std::fabs(f), g1 = std::fabs(g);
    const T rtmin = std::sqrt(std::numeric_limits<T>::min());
    const T rtmax = std::sqrt(std::numeric_limits<T>::max() / T(2));
    if (f1 > rtmin && f1 < rtmax && g1 > rtmin && g1 < rtmax) {
        const T d = std::sqrt(f * f + g * g);
        c = f1 / d;
        r = std::copysign(d, f);
        s = g / r;
        return;
    }
    // Scaled by the larger magnitude so that neither square overflows nor underflows.
    const T u = f1 > g1 ? f1 : g1;
    const T fs = f / u, gs = g / u;
    const T d = std::sqrt(fs * fs + gs * gs);
    c = std::fabs(fs) / d;
    r = std::copysign(d, f);
    s = gs / r;
    r *= u;
}

template <class T>
void MakeRotation(T f, T g, T& c, T& s, T& r) {
    Rotation(f, g, c, s, r);
}

namespace {

// Singular values of the upper triangular (f g; 0 h), computed without overflow.
template <class T>
void SingularValues2x2(T f, T g, T h, T& ssmin, T& ssmax) {
    const T fa = std::fabs(f), ga = std::fabs(g), ha = std::fabs(h);
    const T fhmn = std::fmin(fa, ha), fhmx = std::fmax(fa, ha);
    if (fhmn == T(0)) {
        ssmin = T(0);
        if (fhmx == T(0)) {
            ssmax = ga;
        } else {
            const T mx = std::fmax(fhmx, ga), mn = std::fmin(fhmx, ga);
            ssmax = mx * std::sqrt(T(1) + (mn / mx) * (mn / mx));
        }
        return;
    }
    if (ga < fhmx) {
        const T as = T(1) + fhmn / fhmx;
        const T at = (fhmx - fhmn) / fhmx;
        const T au = (ga / fhmx) * (ga / fhmx);
        const T c = T(2) / (std::sqrt(as * as + au) + std::sqrt(at * at + au));
        ssmin = fhmn * c;
        ssmax = fhmx / c;
        return;
    }
    const T au = fhmx / ga;
    if (au == T(0)) {
        // ga so large that fhmx/ga underflows: the formulas below lose everything.
        ssmin = (fhmn * fhmx) / ga;
        ssmax = ga;
        return;
    }
    const T as = T(1) + fhmn / fhmx;
    const T at = (fhmx - fhmn) / fhmx;
    const T c =
        T(1) / (std::sqrt(T(1) + (as * au) * (as * au)) + std::sqrt(T(1) + (at * au) * (at * au)));
    ssmin = (fhmn * c) * au;
    ssmin = ssmin + ssmin;
    ssmax = ga / (c + c);
}

template <class T>
void SetIdentity(int rows, int cols, T* x, long ld) {
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j)
            x[i * ld + j] = i == j ? T(1) : T(0);
    }
}

template <class T>
void SwapRows(T* a, T* b, int len) {
    for (int j = 0; j < len; ++j) {
        const T t = a[j];
        a[j] = b[j];
        b[j] = t;
    }
}

}  // namespace

template <class T>
void Svd2x2Upper(T f, T g, T h, T& ssmin, T& ssmax, T& snr, T& csr, T& snl, T& csl) {
    const T eps = std::numeric_limits<T>::epsilon() / T(2);
    T ft = f, fa = std::fabs(f), ht = h, ha = std::fabs(h);
    int pmax = 1;  // which of f, g, h has the largest magnitude
    const bool swap = ha > fa;
    if (swap) {
        pmax = 3;
        T t = ft;
        ft = ht;
        ht = t;
        t = fa;
        fa = ha;
        ha = t;
    }
    const T gt = g, ga = std::fabs(g);
    T clt, crt, slt, srt;
    if (ga == T(0)) {
        ssmin = ha;
        ssmax = fa;
        clt = T(1);
        crt = T(1);
        slt = T(0);
        srt = T(0);
    } else {
        bool gasmal = true;
        if (ga > fa) {
            pmax = 2;
            if (fa / ga < eps) {
                // g dominates so strongly that the values follow directly.
                gasmal = false;
                ssmax = ga;
                ssmin = ha > T(1) ? fa / (ga / ha) : (fa / ga) * ha;
                clt = T(1);
                slt = ht / gt;
                srt = T(1);
                crt = ft / gt;
            }
        }
        if (gasmal) {
            const T dd = fa - ha;
            T l = dd == fa ? T(1) : dd / fa;  // also copes with infinite f or h
            const T mm = gt / ft;
            T t = T(2) - l;
            const T mm2 = mm * mm, tt = t * t;
            const T s = std::sqrt(tt + mm2);
            const T r = l == T(0) ? std::fabs(mm) : std::sqrt(l * l + mm2);
            const T a = T(0.5) * (s + r);
            ssmin = ha / a;
            ssmax = fa * a;
            if (mm2 == T(0)) {
                if (l == T(0)) {
                    t = std::copysign(T(2), ft) * std::copysign(T(1), gt);
                } else {
                    t = gt / std::copysign(dd, ft) + mm / t;
                }
            } else {
                t = (mm / (s + t) + mm / (r + l)) * (T(1) + a);
            }
            l = std::sqrt(t * t + T(4));
            crt = T(2) / l;
            srt = t / l;
            clt = (crt + srt * mm) / a;
            slt = (ht / ft) * srt / a;
        }
    }
    if (swap) {
        csl = srt;
        snl = crt;
        csr = slt;
        snr = clt;
    } else {
        csl = clt;
        snl = slt;
        csr = crt;
        snr = srt;
    }
    // Signs of the two values so that the rotations reproduce the matrix.
    T tsign;
    if (pmax == 1) {
        tsign = std::copysign(T(1), csr) * std::copysign(T(1), csl) * std::copysign(T(1), f);
    } else if (pmax == 2) {
        tsign = std::copysign(T(1), snr) * std::copysign(T(1), csl) * std::copysign(T(1), g);
    } else {
        tsign = std::copysign(T(1), snr) * std::copysign(T(1), snl) * std::copysign(T(1), h);
    }
    ssmax = std::copysign(ssmax, tsign);
    ssmin = std::copysign(ssmin, tsign * std::copysign(T(1), f) * std::copysign(T(1), h));
}

namespace portable {
#include "svd_kernels_body.h"
}  // namespace portable

#if ML_HAVE_X86_DISPATCH && defined(__GNUC__) && !defined(__clang__)
#define ML_SVD_HAVE_AVX2 1
#pragma GCC push_options
#pragma GCC target("avx2")
namespace avx2 {
#include "svd_kernels_body.h"
}  // namespace avx2
#pragma GCC pop_options
#else
#define ML_SVD_HAVE_AVX2 0
#endif

namespace {
inline bool UseAvx2() {
#if ML_SVD_HAVE_AVX2
    return CpuHasAvx2Fma();
#else
    return false;
#endif
}
}  // namespace

// ---------------------------------------------------------------------------------------------
// Dispatch.

template <class T>
int Svd(int m, int n, const T* a, long rsa, long csa, T* s, T* u, long ldu, int uCols, T* v,
        long ldv, int vCols, T tol) {
#if ML_SVD_HAVE_AVX2
    if (UseAvx2()) return avx2::SvdImpl(m, n, a, rsa, csa, s, u, ldu, uCols, v, ldv, vCols, tol);
#endif
    return portable::SvdImpl(m, n, a, rsa, csa, s, u, ldu, uCols, v, ldv, vCols, tol);
}

template <class T>
int Qr(int m, int n, const T* a, long rsa, long csa, T* q, long ldq, int qCols, T* r, long ldr,
       int rRows, T tol) {
#if ML_SVD_HAVE_AVX2
    if (UseAvx2()) return avx2::QrImpl(m, n, a, rsa, csa, q, ldq, qCols, r, ldr, rRows, tol);
#endif
    return portable::QrImpl(m, n, a, rsa, csa, q, ldq, qCols, r, ldr, rRows, tol);
}

template <class T>
T MakeReflector(int n, T& alpha, T* x, long incx) {
    return portable::ReflectorImpl(n, alpha, x, incx);
}

template <class T>
int BidiagonalQr(int n, T* d, T* e, T* ut, long ldu, int nu, T* vt, long ldv, int nv, T tol) {
    if (n <= 0) return 1;
    Buffer<T> scratch;
    if (!scratch.Reset(6 * static_cast<std::size_t>(n))) return 0;
    // Scaled by a power of two so that no intermediate overflows; undone exactly afterwards.
    T amax = T(0);
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(d[i]) || (i + 1 < n && !std::isfinite(e[i]))) return 0;
        amax = std::fmax(amax, std::fabs(d[i]));
        if (i + 1 < n) amax = std::fmax(amax, std::fabs(e[i]));
    }
    const int expo = amax > T(0) ? std::ilogb(amax) : 0;
    for (int i = 0; i < n; ++i) {
        d[i] = std::ldexp(d[i], -expo);
        if (i + 1 < n) e[i] = std::ldexp(e[i], -expo);
    }
    int ok;
#if ML_SVD_HAVE_AVX2
    if (UseAvx2()) {
        ok = avx2::BidiagonalQrImpl(n, d, e, ut, ldu, nu, vt, ldv, nv, tol, scratch.Get());
    } else {
        ok = portable::BidiagonalQrImpl(n, d, e, ut, ldu, nu, vt, ldv, nv, tol, scratch.Get());
    }
#else
    ok = portable::BidiagonalQrImpl(n, d, e, ut, ldu, nu, vt, ldv, nv, tol, scratch.Get());
#endif
    for (int i = 0; i < n; ++i) {
        d[i] = std::ldexp(d[i], expo);
        if (i + 1 < n) e[i] = std::ldexp(e[i], expo);
    }
    return ok;
}

template <class T>
int BidiagonalSweep(int l, int u, T* d, T* e, T shift, T* ut, long ldu, int nu, T* vt, long ldv,
                    int nv) {
    if (l < 0 || u <= l) return 0;
    Buffer<T> scratch;
    if (!scratch.Reset(6 * static_cast<std::size_t>(u - l + 1))) return 0;
    portable::SweepAndApply(1, l, u, d, e, shift, ut, ldu, nu, vt, ldv, nv, scratch.Get());
    return 1;
}

template <class T>
void RotateRows(T* x, long ld, int len, int p, int q, T c, T s) {
    portable::RotateTwoRows(x, ld, len, p, q, c, s);
}

#define ML_SVD_KERNELS_DEFINE(T)                                                              \
    template int Svd<T>(int, int, const T*, long, long, T*, T*, long, int, T*, long, int, T); \
    template int Qr<T>(int, int, const T*, long, long, T*, long, int, T*, long, int, T);      \
    template T MakeReflector<T>(int, T&, T*, long);                                           \
    template void MakeRotation<T>(T, T, T&, T&, T&);                                          \
    template void Svd2x2Upper<T>(T, T, T, T&, T&, T&, T&, T&, T&);                            \
    template int BidiagonalQr<T>(int, T*, T*, T*, long, int, T*, long, int, T);               \
    template int BidiagonalSweep<T>(int, int, T*, T*, T, T*, long, int, T*, long, int);       \
    template void RotateRows<T>(T*, long, int, int, int, T, T);
ML_SVD_KERNELS_DEFINE(float)
ML_SVD_KERNELS_DEFINE(double)
#undef ML_SVD_KERNELS_DEFINE

}  // namespace ml::detail
