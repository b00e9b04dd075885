// The decomposition family of CMLMatrixMN: singular value decomposition (Householder
// bidiagonalisation, then implicit-shift QR on the bidiagonal matrix with plane rotations),
// Householder QR, rank, pseudo-inverse, inverse, and their building blocks. The dense work is
// done by the internal kernels in detail/.
#include <ml/matrix_mn.h>

#include <ml/matrix_fixed.h>

#include "detail/buffer.h"
#include "detail/gemm.h"
#include "detail/svd_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <new>

namespace {

using ml::detail::Buffer;

bool InsideBlock(int r0, int c0, int r1, int c1, int rows, int cols) {
    return 0 <= r0 && r0 <= r1 && r1 < rows && 0 <= c0 && c0 <= c1 && c1 < cols;
}

// Singular values at or below this count as zero for the rank, the singularity test of Inverse
// and the pseudo-inverse: the caller's eps scaled by the matrix when its norm exceeds 1, and
// never below the rounding level max(m, n) * e * s_max.
template <class T>
T RankThreshold(T eps, T smax, int m, int n) {
    if (!(eps > T(0))) eps = T(0);
    const T roundoff = static_cast<T>(m > n ? m : n) * std::numeric_limits<T>::epsilon() * smax;
    const T user = eps * (smax > T(1) ? smax : T(1));
    return user > roundoff ? user : roundoff;
}

template <class T>
T RoundoffThreshold(T smax, int m, int n) {
    return static_cast<T>(m > n ? m : n) * std::numeric_limits<T>::epsilon() * smax;
}

std::size_t Count(long a, long b = 1) {
    return static_cast<std::size_t>(a > 0 ? a : 0) * static_cast<std::size_t>(b > 0 ? b : 0);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Singular value decomposition

template <class T>
int CMLMatrixMN<T>::SV_Decomposition(CMLMatrixMN& U, CMLMatrixMN& V, CMLVectorN<T>& s,
                                     T eps) const {
    const int m = this->m_rows, n = this->m_cols, k = m < n ? m : n;
    const int uCols = U.m_cols, vCols = V.m_cols;
    if (U.m_rows != m || (uCols != k && uCols != m)) return 0;
    if (V.m_rows != n || (vCols != k && vCols != n)) return 0;
    if (s.Dim() < k) return 0;
    Buffer<T> sv;
    if (!sv.Reset(Count(k))) return 0;
    if (!ml::detail::Svd<T>(m, n, this->m_data, n, 1, sv.Get(), U.m_data, uCols, uCols, V.m_data,
                            vCols, vCols, eps)) {
        return 0;
    }
    for (int i = 0; i < s.Dim(); ++i)
        s[i] = i < k ? sv[i] : T(0);
    return 1;
}

template <class T>
int CMLMatrixMN<T>::SingDecomp2D(CMLMatrixMN& U, CMLMatrixMN& V, CMLVectorN<T>& s, T eps) const {
    if (this->m_rows != 2 || this->m_cols != 2) return SV_Decomposition(U, V, s, eps);
    if (U.m_rows != 2 || U.m_cols != 2 || V.m_rows != 2 || V.m_cols != 2 || s.Dim() < 2) {
        return 0;
    }
    const T* a = this->m_data;
    for (int i = 0; i < 4; ++i) {
        if (!std::isfinite(a[i])) return 0;
    }
    // A = G1 R with G1 = (c -s; s c) and R upper triangular.
    T c, sn, r;
    ml::detail::MakeRotation(a[0], a[2], c, sn, r);
    const T r01 = c * a[1] + sn * a[3];
    const T r11 = c * a[3] - sn * a[1];
    // (csl snl; -snl csl) R (csr -snr; snr csr) = diag(smax, smin), so A = (G1 L) D Rm^T with
    // L = (csl -snl; snl csl) and Rm = (csr -snr; snr csr).
    T smin, smax, snr, csr, snl, csl;
    ml::detail::Svd2x2Upper(r, r01, r11, smin, smax, snr, csr, snl, csl);
    T u00 = c * csl - sn * snl, u01 = -c * snl - sn * csl;
    T u10 = sn * csl + c * snl, u11 = -sn * snl + c * csl;
    if (smax < T(0)) {
        smax = -smax;
        u00 = -u00;
        u10 = -u10;
    }
    if (smin < T(0)) {
        smin = -smin;
        u01 = -u01;
        u11 = -u11;
    }
    U.m_data[0] = u00;
    U.m_data[1] = u01;
    U.m_data[2] = u10;
    U.m_data[3] = u11;
    V.m_data[0] = csr;
    V.m_data[1] = -snr;
    V.m_data[2] = snr;
    V.m_data[3] = csr;
    for (int i = 0; i < s.Dim(); ++i)
        s[i] = i == 0 ? smax : (i == 1 ? smin : T(0));
    return 1;
}

template <class T>
int CMLMatrixMN<T>::ThinSVD(CMLMatrixMN& U, CMLMatrixMN& V, CMLVectorN<T>& s) {
    const int m = this->m_rows, n = this->m_cols, k = m < n ? m : n;
    if (U.m_rows != m || U.m_cols != k || V.m_rows != n || V.m_cols != k || s.Dim() < k) return 1;
    T* fresh = nullptr;
    if (!m_singularValues) {
        fresh = new (std::nothrow) T[k > 0 ? k : 0];
        if (!fresh) return 2;
    }
    Buffer<T> sv;
    if (!sv.Reset(Count(k)) || !ml::detail::Svd<T>(m, n, this->m_data, n, 1, sv.Get(), U.m_data, k,
                                                   k, V.m_data, k, k, T(0))) {
        delete[] fresh;
        return 1;
    }
    if (fresh) m_singularValues = fresh;
    for (int i = 0; i < s.Dim(); ++i)
        s[i] = i < k ? sv[i] : T(0);
    CacheSingularValues(sv.Get(), k);
    return 0;
}

namespace {

// Copies the transpose of the m x n row-major a into t (n x m) and back.
template <class T>
void TransposeInto(int m, int n, const T* a, T* t) {
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j)
            t[static_cast<long>(j) * m + i] = a[static_cast<long>(i) * n + j];
    }
}

// Runs a bidiagonal QR step on (d, e) with the rotations applied to the columns of U and V
// (n columns each, optional), through transposed copies.
template <class T, class Step>
int WithTransposedFactors(int n, CMLMatrixMN<T>* U, CMLMatrixMN<T>* V, Step step) {
    const int ur = U ? U->RowsNb() : 0, vr = V ? V->RowsNb() : 0;
    if ((U && U->ColsNb() != n) || (V && V->ColsNb() != n)) return 0;
    Buffer<T> ua, ut, va, vt;
    if (!ua.Reset(Count(ur, n)) || !ut.Reset(Count(ur, n)) || !va.Reset(Count(vr, n)) ||
        !vt.Reset(Count(vr, n))) {
        return 0;
    }
    if (U) {
        U->Dump(ua.Get());
        TransposeInto(ur, n, ua.Get(), ut.Get());
    }
    if (V) {
        V->Dump(va.Get());
        TransposeInto(vr, n, va.Get(), vt.Get());
    }
    if (!step(U ? ut.Get() : nullptr, ur, V ? vt.Get() : nullptr, vr)) return 0;
    if (U) {
        TransposeInto(n, ur, ut.Get(), ua.Get());
        U->Fill(ua.Get());
    }
    if (V) {
        TransposeInto(n, vr, vt.Get(), va.Get());
        V->Fill(va.Get());
    }
    return 1;
}

}  // namespace

template <class T>
int CMLMatrixMN<T>::QRBD(CMLVectorN<T>& d, CMLVectorN<T>& e, CMLMatrixMN* U, CMLMatrixMN* V,
                         T eps) {
    const int n = d.Dim();
    if (n == 0) return 1;
    if (e.Dim() < n - 1) return 0;
    Buffer<T> dd, ee;
    if (!dd.Reset(Count(n)) || !ee.Reset(Count(n))) return 0;
    for (int i = 0; i < n; ++i) {
        dd[i] = d[i];
        ee[i] = i + 1 < n ? e[i] : T(0);
    }
    const int ok = WithTransposedFactors<T>(n, U, V, [&](T* ut, int nu, T* vt, int nv) {
        return ml::detail::BidiagonalQr<T>(n, dd.Get(), ee.Get(), ut, nu, nu, vt, nv, nv, eps);
    });
    if (!ok) return 0;
    for (int i = 0; i < n; ++i)
        d[i] = dd[i];
    for (int i = 0; i + 1 < n && i < e.Dim(); ++i)
        e[i] = T(0);
    return 1;
}

template <class T>
int CMLMatrixMN<T>::Apply_QRBD(int l, int u, CMLVectorN<T>& d, CMLVectorN<T>& e, T shift,
                               CMLMatrixMN* U, CMLMatrixMN* V) {
    const int n = d.Dim();
    if (l < 0 || u <= l || u >= n || e.Dim() < u) return 0;
    Buffer<T> dd, ee;
    if (!dd.Reset(Count(n)) || !ee.Reset(Count(n))) return 0;
    for (int i = 0; i < n; ++i) {
        dd[i] = d[i];
        ee[i] = i < e.Dim() ? e[i] : T(0);
    }
    const int ok = WithTransposedFactors<T>(n, U, V, [&](T* ut, int nu, T* vt, int nv) {
        return ml::detail::BidiagonalSweep<T>(l, u, dd.Get(), ee.Get(), shift, ut, nu, nu, vt, nv,
                                              nv);
    });
    if (!ok) return 0;
    for (int i = l; i <= u; ++i)
        d[i] = dd[i];
    for (int i = l; i < u; ++i)
        e[i] = ee[i];
    return 1;
}

// ---------------------------------------------------------------------------------------------
// QR

template <class T>
int CMLMatrixMN<T>::QR_Decomposition(CMLMatrixMN& Q, CMLMatrixMN& R, T eps) const {
    const int m = this->m_rows, n = this->m_cols, k = m < n ? m : n;
    const int qCols = Q.m_cols;
    if (Q.m_rows != m || (qCols != k && qCols != m)) return 0;
    if (R.m_rows != qCols || R.m_cols != n) return 0;
    return ml::detail::Qr<T>(m, n, this->m_data, n, 1, Q.m_data, qCols, qCols, R.m_data, n, qCols,
                             eps);
}

template <class T>
int CMLMatrixMN<T>::QRT_2D(CMLMatrixMN& Q, CMLMatrixMN& R, T eps) const {
    const int n = this->m_cols;
    if (this->m_rows != 2 || Q.m_rows != 2 || Q.m_cols != 2 || R.m_rows != 2 || R.m_cols != n) {
        return 0;
    }
    const T* a = this->m_data;
    for (int i = 0; i < 2 * n; ++i) {
        if (!std::isfinite(a[i])) return 0;
    }
    T c = T(1), s = T(0);
    if (n > 0) {
        const T a0 = a[0], a1 = a[n];
        T r;
        ml::detail::MakeRotation(a0, a1, c, s, r);
        if (!(std::fabs(a1) > (eps > T(0) ? eps : T(0)) * std::fabs(r))) {
            c = T(1);
            s = T(0);
            r = a0;
        }
        if (r < T(0)) {
            c = -c;
            s = -s;
        }
    }
    // R = G^T A with G^T = (c s; -s c); Q = G.
    Buffer<T> rr;
    if (!rr.Reset(Count(2, n))) return 0;
    for (int j = 0; j < n; ++j) {
        rr[j] = c * a[j] + s * a[n + j];
        rr[n + j] = j == 0 ? T(0) : c * a[n + j] - s * a[j];
    }
    for (int j = 0; j < 2 * n; ++j)
        R.m_data[j] = rr[j];
    Q.m_data[0] = c;
    Q.m_data[1] = -s;
    Q.m_data[2] = s;
    Q.m_data[3] = c;
    return 1;
}

// ---------------------------------------------------------------------------------------------
// Rank, pseudo-inverse, inverse

template <class T>
int CMLMatrixMN<T>::CalculateRank(T eps) {
    const int m = this->m_rows, n = this->m_cols, k = m < n ? m : n;
    Buffer<T> s;
    if (!s.Reset(Count(k))) return m_rank = -1;
    if (k > 0 && !ml::detail::Svd<T>(m, n, this->m_data, n, 1, s.Get(), nullptr, 0, 0, nullptr, 0,
                                     0, T(0))) {
        return m_rank = -1;
    }
    int rank = 0;
    if (k > 0) {
        const T threshold = RankThreshold(eps, s[0], m, n);
        while (rank < k && s[rank] > threshold)
            ++rank;
    }
    m_rank = rank;
    CacheSingularValues(s.Get(), k);
    return rank;
}

template <class T>
int CMLMatrixMN<T>::PseudoInverse(CMLMatrixMN& out, mlMatrixNorm norm, double& condition) const {
    const int m = this->m_rows, n = this->m_cols, k = m < n ? m : n;
    if (out.m_rows != n || out.m_cols != m) return 0;
    if (k == 0) {
        out.SetToZero();
        condition = 0.0;
        return 1;
    }
    Buffer<T> s, u, v;
    if (!s.Reset(Count(k)) || !u.Reset(Count(m, k)) || !v.Reset(Count(n, k))) return 0;
    if (!ml::detail::Svd<T>(m, n, this->m_data, n, 1, s.Get(), u.Get(), k, k, v.Get(), k, k,
                            T(0))) {
        return 0;
    }
    const T tol = RoundoffThreshold(s[0], m, n);
    int r = 0;
    while (r < k && s[r] > tol)
        ++r;
    const T normThis = r > 0 && norm != mlNormSpectral ? this->Norm(norm) : T(0);
    // out = (V diag(1/s)) U^T over the r retained values.
    for (int i = 0; i < n; ++i) {
        for (int p = 0; p < r; ++p)
            v[static_cast<long>(i) * k + p] /= s[p];
    }
    ml::detail::Gemm<T>(n, m, r, v.Get(), k, 1, u.Get(), 1, k, out.m_data, m);
    if (r == 0) {
        condition = 0.0;
    } else if (norm == mlNormSpectral) {
        condition = static_cast<double>(s[0]) / static_cast<double>(s[r - 1]);
    } else {
        condition = static_cast<double>(normThis) * static_cast<double>(out.Norm(norm));
    }
    return 1;
}

template <class T>
int CMLMatrixMN<T>::Inverse(CMLMatrixMN& out, mlMatrixNorm norm, T eps, double& condition) const {
    const int n = this->m_rows;
    if (this->m_cols != n || n == 0 || out.m_rows != n || out.m_cols != n) return 1;
    Buffer<T> s, u, v;
    if (!s.Reset(Count(n)) || !u.Reset(Count(n, n)) || !v.Reset(Count(n, n))) return 2;
    if (!ml::detail::Svd<T>(n, n, this->m_data, n, 1, s.Get(), u.Get(), n, n, v.Get(), n, n,
                            T(0))) {
        return 2;
    }
    if (s[n - 1] <= RankThreshold(eps, s[0], n, n)) {
        condition = static_cast<double>(mlBigValue<double>);
        return 3;
    }
    const T normThis = norm != mlNormSpectral ? this->Norm(norm) : T(0);
    for (int i = 0; i < n; ++i) {
        for (int p = 0; p < n; ++p)
            v[static_cast<long>(i) * n + p] /= s[p];
    }
    ml::detail::Gemm<T>(n, n, n, v.Get(), n, 1, u.Get(), 1, n, out.m_data, n);
    if (norm == mlNormSpectral) {
        condition = static_cast<double>(s[0]) / static_cast<double>(s[n - 1]);
    } else {
        condition = static_cast<double>(normThis) * static_cast<double>(out.Norm(norm));
    }
    return 0;
}

namespace {

// Inverse(out, eps) for 2, 3 and 4 rows: the fixed matrix's determinant test and adjugate, its
// code (0, or 3 with out unchanged), and the inverse copied back into out's leading block. A
// matrix with fewer columns than rows has no square block to invert and reports 3, instead of
// being read past its end; an out smaller than the inverse receives the part that fits.
template <class Fixed, class T>
int InverseThroughFixed(const CMLMatrixMN<T>& a, CMLMatrixMN<T>& out, T eps) {
    constexpr int n = Fixed::Size();
    if (a.ColsNb() < n) return 3;
    const Fixed f(a);
    Fixed inv;
    const int code = f.Inverse(inv, eps);
    if (code != 0) return code;
    const int rows = std::min(n, out.RowsNb()), cols = std::min(n, out.ColsNb());
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            out(i, j) = inv(i, j);
    return 0;
}

}  // namespace

template <class T>
int CMLMatrixMN<T>::Inverse(CMLMatrixMN& out, T eps) const {
    switch (this->m_rows) {
        case 0:
        case 1:
            // Matrices of no or one row are deliberately not inverted.
            return 1;
        case 2:
            return InverseThroughFixed<CMLMatrix2<T>>(*this, out, eps);
        case 3:
            return InverseThroughFixed<CMLMatrix3<T>>(*this, out, eps);
        case 4:
            return InverseThroughFixed<CMLMatrix4<T>>(*this, out, eps);
        default: {
            double condition = 0.0;
            return Inverse(out, mlNormFrobenius, eps, condition);
        }
    }
}

template <class T>
int CMLMatrixMN<T>::PseudoSolveSystem(const CMLVectorN<T>& b, CMLVectorN<T>& x, mlMatrixNorm norm,
                                      double& condition) const {
    const int m = this->m_rows, n = this->m_cols;
    if (b.Dim() < m || x.Dim() < n) return 0;
    CMLMatrixMN pinv(n, m);
    double cond = 0.0;
    if (!PseudoInverse(pinv, norm, cond)) return 0;
    for (int i = 0; i < n; ++i) {
        const T* row = pinv.m_data + static_cast<long>(i) * m;
        T sum = T(0);
        for (int j = 0; j < m; ++j)
            sum += row[j] * b[j];
        x[i] = sum;
    }
    condition = cond;
    return 1;
}

// ---------------------------------------------------------------------------------------------
// Building blocks

template <class T>
T CMLMatrixMN<T>::Householder1(int n, T& alpha, T* x, int incx) {
    return ml::detail::MakeReflector<T>(n, alpha, x, incx);
}

template <class T>
void CMLMatrixMN<T>::Householder2(const T* v, T tau, int r0, int c0, int r1, int c1, int mode) {
    const int cols = this->m_cols;
    if (!InsideBlock(r0, c0, r1, c1, this->m_rows, cols) || tau == T(0)) return;
    T* a = this->m_data;
    const int h = r1 - r0 + 1, w = c1 - c0 + 1;
    if (mode == 0) {
        for (int i = r0; i <= r1; ++i) {
            T* row = a + static_cast<long>(i) * cols + c0;
            T t = T(0);
            for (int j = 0; j < w; ++j)
                t += row[j] * v[j];
            const T f = tau * t;
            for (int j = 0; j < w; ++j)
                row[j] -= f * v[j];
        }
        return;
    }
    Buffer<T> wv;
    if (!wv.Reset(Count(w))) return;
    for (int j = 0; j < w; ++j)
        wv[j] = T(0);
    for (int i = 0; i < h; ++i) {
        const T* row = a + static_cast<long>(r0 + i) * cols + c0;
        for (int j = 0; j < w; ++j)
            wv[j] += v[i] * row[j];
    }
    for (int i = 0; i < h; ++i) {
        T* row = a + static_cast<long>(r0 + i) * cols + c0;
        const T f = tau * v[i];
        for (int j = 0; j < w; ++j)
            row[j] -= f * wv[j];
    }
}

template <class T>
int CMLMatrixMN<T>::ZeroUpperTransform(int k, T* v, T& tau) {
    const int m = this->m_rows, n = this->m_cols;
    if (k < 0 || k >= n || k >= m) return 0;
    T* a = this->m_data;
    const int len = m - k;
    for (int r = 0; r < len; ++r)
        v[r] = a[static_cast<long>(k + r) * n + k];
    T alpha = v[0];
    tau = Householder1(len, alpha, v + 1, 1);
    v[0] = T(1);
    a[static_cast<long>(k) * n + k] = alpha;
    for (int r = 1; r < len; ++r)
        a[static_cast<long>(k + r) * n + k] = T(0);
    if (k + 1 < n) Householder2(v, tau, k, k + 1, m - 1, n - 1, 1);
    return 1;
}

template <class T>
int CMLMatrixMN<T>::ZeroRightTransform(int k, T* v, T& tau) {
    const int m = this->m_rows, n = this->m_cols;
    if (k < 0 || k >= m || k + 1 >= n) return 0;
    T* row = this->m_data + static_cast<long>(k) * n;
    const int len = n - k - 1;
    for (int j = 0; j < len; ++j)
        v[j] = row[k + 1 + j];
    T alpha = v[0];
    tau = Householder1(len, alpha, v + 1, 1);
    v[0] = T(1);
    row[k + 1] = alpha;
    for (int j = 1; j < len; ++j)
        row[k + 1 + j] = T(0);
    if (k + 1 < m) Householder2(v, tau, k + 1, k + 1, m - 1, n - 1, 0);
    return 1;
}

template <class T>
void CMLMatrixMN<T>::Givens1(T a, T b, T& c, T& s, T& r) {
    ml::detail::MakeRotation<T>(a, b, c, s, r);
}

template <class T>
void CMLMatrixMN<T>::Givens2(int p, int q, T c, T s, int mode) {
    const int rows = this->m_rows, cols = this->m_cols;
    if (mode == 0) {
        if (p < 0 || q < 0 || p >= cols || q >= cols) return;
        for (int i = 0; i < rows; ++i) {
            T* row = this->m_data + static_cast<long>(i) * cols;
            const T x = row[p], y = row[q];
            row[p] = c * x + s * y;
            row[q] = c * y - s * x;
        }
        return;
    }
    if (p < 0 || q < 0 || p >= rows || q >= rows) return;
    ml::detail::RotateRows<T>(this->m_data, cols, cols, p, q, c, s);
}

template <class T>
int CMLMatrixMN<T>::ThinSVDUnitOffsetInPlace(T** a, int m, int n, T* w, T** v, T eps) {
    if (!a || !w || !v || m < 1 || n < 1) return 0;
    const int k = m < n ? m : n;
    Buffer<T> aa, s, u, vv;
    if (!aa.Reset(Count(m, n)) || !s.Reset(Count(k)) || !u.Reset(Count(m, k)) ||
        !vv.Reset(Count(n, n))) {
        return 0;
    }
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j)
            aa[static_cast<long>(i) * n + j] = a[i + 1][j + 1];
    }
    if (!ml::detail::Svd<T>(m, n, aa.Get(), n, 1, s.Get(), u.Get(), k, k, vv.Get(), n, n, eps)) {
        return 0;
    }
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j)
            a[i + 1][j + 1] = j < k ? u[static_cast<long>(i) * k + j] : T(0);
    }
    for (int j = 0; j < n; ++j)
        w[j + 1] = j < k ? s[j] : T(0);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            v[i + 1][j + 1] = vv[static_cast<long>(i) * n + j];
    }
    return 1;
}

#define ML_SVD_MEMBERS_DEFINE(T)                                                                   \
    template int CMLMatrixMN<T>::SV_Decomposition(CMLMatrixMN<T>&, CMLMatrixMN<T>&,                \
                                                  CMLVectorN<T>&, T) const;                        \
    template int CMLMatrixMN<T>::SingDecomp2D(CMLMatrixMN<T>&, CMLMatrixMN<T>&, CMLVectorN<T>&, T) \
        const;                                                                                     \
    template int CMLMatrixMN<T>::ThinSVD(CMLMatrixMN<T>&, CMLMatrixMN<T>&, CMLVectorN<T>&);        \
    template int CMLMatrixMN<T>::QRBD(CMLVectorN<T>&, CMLVectorN<T>&, CMLMatrixMN<T>*,             \
                                      CMLMatrixMN<T>*, T);                                         \
    template int CMLMatrixMN<T>::Apply_QRBD(int, int, CMLVectorN<T>&, CMLVectorN<T>&, T,           \
                                            CMLMatrixMN<T>*, CMLMatrixMN<T>*);                     \
    template int CMLMatrixMN<T>::PseudoSolveSystem(const CMLVectorN<T>&, CMLVectorN<T>&,           \
                                                   mlMatrixNorm, double&) const;                   \
    template int CMLMatrixMN<T>::QR_Decomposition(CMLMatrixMN<T>&, CMLMatrixMN<T>&, T) const;      \
    template int CMLMatrixMN<T>::QRT_2D(CMLMatrixMN<T>&, CMLMatrixMN<T>&, T) const;                \
    template int CMLMatrixMN<T>::CalculateRank(T);                                                 \
    template int CMLMatrixMN<T>::PseudoInverse(CMLMatrixMN<T>&, mlMatrixNorm, double&) const;      \
    template int CMLMatrixMN<T>::Inverse(CMLMatrixMN<T>&, mlMatrixNorm, T, double&) const;         \
    template int CMLMatrixMN<T>::Inverse(CMLMatrixMN<T>&, T) const;                                \
    template T CMLMatrixMN<T>::Householder1(int, T&, T*, int);                                     \
    template void CMLMatrixMN<T>::Householder2(const T*, T, int, int, int, int, int);              \
    template int CMLMatrixMN<T>::ZeroUpperTransform(int, T*, T&);                                  \
    template int CMLMatrixMN<T>::ZeroRightTransform(int, T*, T&);                                  \
    template void CMLMatrixMN<T>::Givens1(T, T, T&, T&, T&);                                       \
    template void CMLMatrixMN<T>::Givens2(int, int, T, T, int);                                    \
    template int CMLMatrixMN<T>::ThinSVDUnitOffsetInPlace(T**, int, int, T*, T**, T);
ML_FOR_EACH_REAL(ML_SVD_MEMBERS_DEFINE)
#undef ML_SVD_MEMBERS_DEFINE
