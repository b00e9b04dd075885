// Body of the dense decomposition kernels, without an include guard on purpose: svd_kernels.cpp
// includes this file twice, inside two namespaces: once for the baseline instruction set and once
// under an AVX2 target pragma. The loops are written so that both compilations perform the same
// operations in the same order (element-wise updates, and dot products over eight fixed
// interleaved partial sums), which makes the results identical on every processor. No includes
// here.

// ---------------------------------------------------------------------------------------------
// Level-1 loops.

// Maximum and minimum for data known to be finite (std::fmax is a library call).
template <class T>
inline T Max(T a, T b) {
    return a > b ? a : b;
}
template <class T>
inline T Min(T a, T b) {
    return a < b ? a : b;
}

// Sum of x[i] * y[i] over eight interleaved partial sums combined in a fixed order.
template <class T>
inline T Dot(int n, const T* __restrict x, const T* __restrict y) {
    T acc[8] = {T(0), T(0), T(0), T(0), T(0), T(0), T(0), T(0)};
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        for (int k = 0; k < 8; ++k)
            acc[k] += x[i + k] * y[i + k];
    }
    T tail = T(0);
    for (; i < n; ++i)
        tail += x[i] * y[i];
    return ((acc[0] + acc[4]) + (acc[1] + acc[5])) + ((acc[2] + acc[6]) + (acc[3] + acc[7])) + tail;
}

// y := y + a * x.
template <class T>
inline void Axpy(int n, T a, const T* __restrict x, T* __restrict y) {
    for (int i = 0; i < n; ++i)
        y[i] += a * x[i];
}

// ---------------------------------------------------------------------------------------------
// Householder reflectors.

template <class T>
T ReflectorImpl(int n, T& alpha, T* x, long incx) {
    if (n <= 1) return T(0);
    const int len = n - 1;
    T ss = T(0);
    if (incx == 1) {
        ss = Dot(len, x, x);
    } else {
        for (int i = 0; i < len; ++i)
            ss += x[i * incx] * x[i * incx];
    }
    // Sums of squares outside the safe range (tiny, huge or not finite) are recomputed on a
    // copy scaled by a power of two; the reflector itself does not depend on the scale.
    const T low = std::numeric_limits<T>::min() / std::numeric_limits<T>::epsilon();
    const T high = std::numeric_limits<T>::max() / T(4 * (n + 1));
    if (ss >= low && ss <= high && std::fabs(alpha) * std::fabs(alpha) <= high) {
        const T norm = std::sqrt(alpha * alpha + ss);
        const T beta = alpha >= T(0) ? -norm : norm;
        const T tau = (beta - alpha) / beta;
        const T f = T(1) / (alpha - beta);
        for (int i = 0; i < len; ++i)
            x[i * incx] *= f;
        alpha = beta;
        return tau;
    }
    T mx = std::fabs(alpha);
    for (int i = 0; i < len; ++i)
        mx = Max(mx, std::fabs(x[i * incx]));
    if (!(mx > T(0)) || !std::isfinite(mx)) return T(0);
    // The scale 2^e is applied with ldexp to each value: for subnormal data 2^e itself does not
    // fit in T, while every scaled value does.
    const int e = -std::ilogb(mx);
    T ss2 = T(0);
    for (int i = 0; i < len; ++i) {
        const T xi = std::ldexp(x[i * incx], e);
        ss2 += xi * xi;
    }
    if (ss2 == T(0)) return T(0);
    const T as = std::ldexp(alpha, e);
    const T norm = std::sqrt(as * as + ss2);
    const T betaScaled = as >= T(0) ? -norm : norm;
    const T tau = (betaScaled - as) / betaScaled;
    const T denom = as - betaScaled;
    for (int i = 0; i < len; ++i)
        x[i * incx] = std::ldexp(x[i * incx], e) / denom;
    alpha = std::ldexp(betaScaled, -e);
    return tau;
}

// A (mi x nc, row-major, lda) := H A with H = I - tau v v^T, v contiguous (v[0] = 1).
// w receives v^T A (nc elements).
template <class T>
void ApplyLeftReflector(int mi, int nc, const T* v, T tau, T* a, long lda, T* w) {
    if (tau == T(0) || nc <= 0) return;
    for (int j = 0; j < nc; ++j)
        w[j] = a[j];
    for (int r = 1; r < mi; ++r)
        Axpy(nc, v[r], a + r * lda, w);
    for (int r = 0; r < mi; ++r)
        Axpy(nc, -(tau * v[r]), w, a + r * lda);
}

// A (mi x nc, row-major, lda) := A H with H = I - tau u u^T, u contiguous (u[0] = 1).
template <class T>
void ApplyRightReflector(int mi, int nc, const T* u, T tau, T* a, long lda) {
    if (tau == T(0) || nc <= 0) return;
    for (int r = 0; r < mi; ++r) {
        T* row = a + r * lda;
        const T t = Dot(nc, row, u);
        Axpy(nc, -(tau * t), u, row);
    }
}

// Golub-Kahan bidiagonalisation of the m x n (m >= n >= 1) row-major A: A = Q_L B Q_R^T with B
// upper bidiagonal (d, e). The left reflector i is kept below the diagonal of column i, the
// right reflector i right of the superdiagonal of row i. work: m + 2n elements.
template <class T>
void Bidiagonalize(int m, int n, T* a, long lda, T* d, T* e, T* tauq, T* taup, T* work) {
    T* col = work;
    T* w = work + m;
    T* u = work + m + n;
    for (int i = 0; i < n; ++i) {
        const int mi = m - i;
        const int nc = n - i - 1;
        T* aii = a + i * lda + i;
        for (int r = 0; r < mi; ++r)
            col[r] = aii[r * lda];
        T alpha = col[0];
        const T tq = ReflectorImpl(mi, alpha, col + 1, 1);
        col[0] = T(1);
        d[i] = alpha;
        tauq[i] = tq;
        aii[0] = alpha;
        for (int r = 1; r < mi; ++r)
            aii[r * lda] = col[r];
        if (tq != T(0) && nc > 0) {
            for (int j = 0; j < nc; ++j)
                w[j] = aii[1 + j];
            for (int r = 1; r < mi; ++r)
                Axpy(nc, col[r], aii + r * lda + 1, w);
            Axpy(nc, -tq, w, aii + 1);
        }
        T tp = T(0);
        if (nc > 0) {
            T* row = aii + 1;
            T beta = row[0];
            tp = ReflectorImpl(nc, beta, row + 1, 1);
            row[0] = beta;
            e[i] = beta;
            taup[i] = tp;
            u[0] = T(1);
            for (int j = 1; j < nc; ++j)
                u[j] = row[j];
        }
        if (nc > 0 && (tq != T(0) || tp != T(0))) {
            for (int r = 1; r < mi; ++r) {
                T* rr = aii + r * lda + 1;
                if (tq != T(0)) Axpy(nc, -(tq * col[r]), w, rr);
                if (tp != T(0)) {
                    const T t = Dot(nc, rr, u);
                    Axpy(nc, -(tp * t), u, rr);
                }
            }
        }
    }
}

// Q^T restricted to its first p rows (p = k or m), row-major p x m (ldq), from the k left
// reflectors kept below the diagonal of a (m x ?, lda) with factors tau: backward accumulation,
// each reflector applied from the right to the rows it can reach. work: m elements.
template <class T>
void FormLeftQt(int m, int k, const T* a, long lda, const T* tau, int p, T* qt, long ldq, T* work) {
    for (int r = 0; r < p; ++r) {
        T* row = qt + r * ldq;
        for (int j = 0; j < m; ++j)
            row[j] = T(0);
        row[r] = T(1);
    }
    T* v = work;
    for (int i = k - 1; i >= 0; --i) {
        if (tau[i] == T(0)) continue;
        const int len = m - i;
        v[0] = T(1);
        for (int r = 1; r < len; ++r)
            v[r] = a[(i + r) * lda + i];
        for (int r = i; r < p; ++r) {
            T* x = qt + r * ldq + i;
            const T t = Dot(len, x, v);
            Axpy(len, -(tau[i] * t), v, x);
        }
    }
}

// Q_R^T (n x n, row-major, ldv) from the right reflectors kept in the rows of a (lda).
template <class T>
void FormRightQt(int n, const T* a, long lda, const T* tau, T* vt, long ldv, T* work) {
    for (int r = 0; r < n; ++r) {
        T* row = vt + r * ldv;
        for (int j = 0; j < n; ++j)
            row[j] = T(0);
        row[r] = T(1);
    }
    T* u = work;
    for (int i = n - 3; i >= 0; --i) {
        if (tau[i] == T(0)) continue;
        const int len = n - i - 1;
        u[0] = T(1);
        for (int j = 1; j < len; ++j)
            u[j] = a[i * lda + i + 1 + j];
        for (int r = i + 1; r < n; ++r) {
            T* x = vt + r * ldv + i + 1;
            const T t = Dot(len, x, u);
            Axpy(len, -(tau[i] * t), u, x);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Plane rotation sequences on the rows of a row-major array. Rotation k (c[k], s[k]) acts on
// rows r0 + k and r0 + k + 1 as row_a := c row_a + s row_b, row_b := c row_b - s row_a. The
// columns are processed in blocks of W whose running row stays in registers, so each rotation
// costs one load and one store per element.

// NV vectors of 32 bytes per block (generic vector types: one AVX register each in the AVX2
// compilation, two SSE registers in the baseline one; the lanes compute the same thing).
template <class T>
struct Vec32;
template <>
struct Vec32<double> {
    typedef double type __attribute__((vector_size(32)));
    // The same vector at element alignment, for loads and stores anywhere in an array.
    typedef double unaligned __attribute__((vector_size(32), aligned(8), may_alias));
};
template <>
struct Vec32<float> {
    typedef float type __attribute__((vector_size(32)));
    typedef float unaligned __attribute__((vector_size(32), aligned(4), may_alias));
};

// Vectors travel by reference only: passing 32-byte vectors by value would depend on the ABI of
// the instruction set.
template <class V, class T>
inline void LoadV(V& v, const T* p) {
    v = *reinterpret_cast<const typename Vec32<T>::unaligned*>(p);
}

template <class V, class T>
inline void StoreV(T* p, const V& v) {
    *reinterpret_cast<typename Vec32<T>::unaligned*>(p) = v;
}

template <int NV, class T>
inline void RotateBlockForward(T* x, long ld, int j0, int r0, int cnt, const T* c, const T* s) {
    using V = typename Vec32<T>::type;
    constexpr int L = 32 / sizeof(T);
    V carry[NV];
    for (int v = 0; v < NV; ++v)
        LoadV(carry[v], x + r0 * ld + j0 + v * L);
    for (int k = 0; k < cnt; ++k) {
        T* out = x + (r0 + k) * ld + j0;
        const T* y = x + (r0 + k + 1) * ld + j0;
        const V ck = V{} + c[k], sk = V{} + s[k];
        V b[NV];
        for (int v = 0; v < NV; ++v)
            LoadV(b[v], y + v * L);
        for (int v = 0; v < NV; ++v) {
            const V t = ck * carry[v] + sk * b[v];
            StoreV(out + v * L, t);
            carry[v] = ck * b[v] - sk * carry[v];
        }
    }
    for (int v = 0; v < NV; ++v)
        StoreV(x + (r0 + cnt) * ld + j0 + v * L, carry[v]);
}

// The same rotations applied in the order k = cnt - 1 down to 0.
template <int NV, class T>
inline void RotateBlockBackward(T* x, long ld, int j0, int r0, int cnt, const T* c, const T* s) {
    using V = typename Vec32<T>::type;
    constexpr int L = 32 / sizeof(T);
    V carry[NV];
    for (int v = 0; v < NV; ++v)
        LoadV(carry[v], x + (r0 + cnt) * ld + j0 + v * L);
    for (int k = cnt - 1; k >= 0; --k) {
        const T* y = x + (r0 + k) * ld + j0;
        T* out = x + (r0 + k + 1) * ld + j0;
        const V ck = V{} + c[k], sk = V{} + s[k];
        V a[NV];
        for (int v = 0; v < NV; ++v)
            LoadV(a[v], y + v * L);
        for (int v = 0; v < NV; ++v) {
            const V t = ck * carry[v] - sk * a[v];
            StoreV(out + v * L, t);
            carry[v] = ck * a[v] + sk * carry[v];
        }
    }
    for (int v = 0; v < NV; ++v)
        StoreV(x + r0 * ld + j0 + v * L, carry[v]);
}

// Columns one at a time, for the ragged end.
template <class T>
inline void RotateColumn(bool forward, T* x, long ld, int j, int r0, int cnt, const T* c,
                         const T* s) {
    if (forward) {
        T carry = x[r0 * ld + j];
        for (int k = 0; k < cnt; ++k) {
            const T b = x[(r0 + k + 1) * ld + j];
            x[(r0 + k) * ld + j] = c[k] * carry + s[k] * b;
            carry = c[k] * b - s[k] * carry;
        }
        x[(r0 + cnt) * ld + j] = carry;
    } else {
        T carry = x[(r0 + cnt) * ld + j];
        for (int k = cnt - 1; k >= 0; --k) {
            const T a = x[(r0 + k) * ld + j];
            x[(r0 + k + 1) * ld + j] = c[k] * carry - s[k] * a;
            carry = c[k] * a + s[k] * carry;
        }
        x[r0 * ld + j] = carry;
    }
}

template <class T>
void RotateSequence(bool forward, T* x, long ld, int len, int r0, int cnt, const T* c, const T* s) {
    if (cnt <= 0 || len <= 0) return;
    constexpr int L = 32 / sizeof(T);
    int j0 = 0;
    for (; j0 + 4 * L <= len; j0 += 4 * L) {
        if (forward) {
            RotateBlockForward<4>(x, ld, j0, r0, cnt, c, s);
        } else {
            RotateBlockBackward<4>(x, ld, j0, r0, cnt, c, s);
        }
    }
    for (; j0 + L <= len; j0 += L) {
        if (forward) {
            RotateBlockForward<1>(x, ld, j0, r0, cnt, c, s);
        } else {
            RotateBlockBackward<1>(x, ld, j0, r0, cnt, c, s);
        }
    }
    for (; j0 < len; ++j0)
        RotateColumn(forward, x, ld, j0, r0, cnt, c, s);
}

template <class T>
void RotateTwoRows(T* x, long ld, int len, int p, int q, T c, T s) {
    T* __restrict xp = x + p * ld;
    T* __restrict xq = x + q * ld;
    for (int j = 0; j < len; ++j) {
        const T a = xp[j], b = xq[j];
        xp[j] = c * a + s * b;
        xq[j] = c * b - s * a;
    }
}

// ---------------------------------------------------------------------------------------------
// Implicit-shift QR on an upper bidiagonal matrix.

// One sweep on the block d[0..nb-1], e[0..nb-2], chasing the bulge from the top. Right
// rotations go to (cr, sr), left ones to (cl, sl), nb - 1 of each.
template <class T>
void SweepTopDown(int nb, T* d, T* e, T shift, T* cr, T* sr, T* cl, T* sl) {
    const int last = nb - 1;
    if (shift == T(0)) {
        T cs = T(1), sn = T(0), oldcs = T(1), oldsn = T(0), r = T(0);
        for (int i = 0; i < last; ++i) {
            Rotation(d[i] * cs, e[i], cs, sn, r);
            if (i > 0) e[i - 1] = oldsn * r;
            Rotation(oldcs * r, d[i + 1] * sn, oldcs, oldsn, d[i]);
            cr[i] = cs;
            sr[i] = sn;
            cl[i] = oldcs;
            sl[i] = oldsn;
        }
        const T h = d[last] * cs;
        d[last] = h * oldcs;
        e[last - 1] = h * oldsn;
        return;
    }
    T f = (std::fabs(d[0]) - shift) * (std::copysign(T(1), d[0]) + shift / d[0]);
    T g = e[0];
    T cosr, sinr, cosl, sinl, r;
    for (int i = 0; i < last; ++i) {
        Rotation(f, g, cosr, sinr, r);
        if (i > 0) e[i - 1] = r;
        f = cosr * d[i] + sinr * e[i];
        e[i] = cosr * e[i] - sinr * d[i];
        g = sinr * d[i + 1];
        d[i + 1] = cosr * d[i + 1];
        Rotation(f, g, cosl, sinl, r);
        d[i] = r;
        f = cosl * e[i] + sinl * d[i + 1];
        d[i + 1] = cosl * d[i + 1] - sinl * e[i];
        if (i < last - 1) {
            g = sinl * e[i + 1];
            e[i + 1] = cosl * e[i + 1];
        }
        cr[i] = cosr;
        sr[i] = sinr;
        cl[i] = cosl;
        sl[i] = sinl;
    }
    e[last - 1] = f;
}

// Sweep on the block l..u (l < u) chasing from the top (dir 1) or from the bottom (dir 2), with
// the rotations applied to ut and vt. A bottom-up sweep is the top-down sweep of the reversed
// transposed block, whose left and right rotations swap roles. scratch: 6 * (u - l + 1).
template <class T>
void SweepAndApply(int dir, int l, int u, T* d, T* e, T shift, T* ut, long ldu, int nu, T* vt,
                   long ldv, int nv, T* scratch) {
    const int nb = u - l + 1;
    T* cr = scratch;
    T* sr = cr + nb;
    T* cl = sr + nb;
    T* sl = cl + nb;
    if (dir == 1) {
        SweepTopDown(nb, d + l, e + l, shift, cr, sr, cl, sl);
        if (vt) RotateSequence(true, vt, ldv, nv, l, nb - 1, cr, sr);
        if (ut) RotateSequence(true, ut, ldu, nu, l, nb - 1, cl, sl);
        return;
    }
    T* dr = sl + nb;
    T* er = dr + nb;
    for (int i = 0; i < nb; ++i)
        dr[i] = d[u - i];
    for (int i = 0; i + 1 < nb; ++i)
        er[i] = e[u - 1 - i];
    SweepTopDown(nb, dr, er, shift, cr, sr, cl, sl);
    for (int i = 0; i < nb; ++i)
        d[u - i] = dr[i];
    for (int i = 0; i + 1 < nb; ++i)
        e[u - 1 - i] = er[i];
    // Rotation j of the reversed block acts on the pair (u - 1 - j, u - j) with the sine
    // negated; stored at index u - 1 - j - l and applied from the bottom up.
    const int cnt = nb - 1;
    for (int j = 0; j < cnt / 2; ++j) {
        const int k = cnt - 1 - j;
        T t = cr[j];
        cr[j] = cr[k];
        cr[k] = t;
        t = sr[j];
        sr[j] = sr[k];
        sr[k] = t;
        t = cl[j];
        cl[j] = cl[k];
        cl[k] = t;
        t = sl[j];
        sl[j] = sl[k];
        sl[k] = t;
    }
    for (int j = 0; j < cnt; ++j) {
        sr[j] = -sr[j];
        sl[j] = -sl[j];
    }
    if (ut) RotateSequence(false, ut, ldu, nu, l, cnt, cr, sr);
    if (vt) RotateSequence(false, vt, ldv, nv, l, cnt, cl, sl);
}

template <class T>
int BidiagonalQrImpl(int n, T* d, T* e, T* ut, long ldu, int nu, T* vt, long ldv, int nv, T tolIn,
                     T* scratch) {
    if (n <= 0) return 1;
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(d[i])) return 0;
    }
    for (int i = 0; i + 1 < n; ++i) {
        if (!std::isfinite(e[i])) return 0;
    }
    const T eps = std::numeric_limits<T>::epsilon() / T(2);
    const T unfl = std::numeric_limits<T>::min();
    const T tolmul = Max(T(10), Min(T(100), std::pow(eps, T(-0.125))));
    T tol = tolmul * eps;
    if (tolIn > tol) tol = tolIn;
    if (tol > T(0.25)) tol = T(0.25);
    constexpr int kMaxIt = 6;

    // Threshold for negligible superdiagonal elements, from an estimate of the smallest
    // singular value.
    T sminoa = std::fabs(d[0]);
    if (sminoa != T(0)) {
        T mu = sminoa;
        for (int i = 1; i < n; ++i) {
            mu = std::fabs(d[i]) * (mu / (mu + std::fabs(e[i - 1])));
            sminoa = Min(sminoa, mu);
            if (sminoa == T(0)) break;
        }
    }
    sminoa = sminoa / std::sqrt(T(n));
    const T thresh = Max(tol * sminoa, T(kMaxIt) * (T(n) * (T(n) * unfl)));

    const long maxIter = static_cast<long>(kMaxIt) * n * n;
    long iter = 0;
    int oldll = -1, oldm = -1, dir = 1;
    int m = n - 1;
    while (m > 0) {
        if (iter > maxIter) return 0;
        // The bottom unreduced block ll..m.
        T smax = std::fabs(d[m]);
        int ll = 0;
        bool split = false;
        for (int i = m - 1; i >= 0; --i) {
            const T abss = std::fabs(d[i]), abse = std::fabs(e[i]);
            if (abse <= thresh) {
                e[i] = T(0);
                ll = i;
                split = true;
                break;
            }
            smax = Max(smax, Max(abss, abse));
        }
        if (split) {
            if (ll == m - 1) {
                --m;
                continue;
            }
            ++ll;
        }
        if (ll == m - 1) {
            T sigmn, sigmx, sinr, cosr, sinl, cosl;
            Svd2x2Upper(d[m - 1], e[m - 1], d[m], sigmn, sigmx, sinr, cosr, sinl, cosl);
            d[m - 1] = sigmx;
            e[m - 1] = T(0);
            d[m] = sigmn;
            if (vt) RotateTwoRows(vt, ldv, nv, m - 1, m, cosr, sinr);
            if (ut) RotateTwoRows(ut, ldu, nu, m - 1, m, cosl, sinl);
            m -= 2;
            continue;
        }
        // A new block chooses the chasing direction: from the larger end.
        if (ll > oldm || m < oldll) dir = std::fabs(d[ll]) >= std::fabs(d[m]) ? 1 : 2;

        // Convergence tests, and an estimate of the smallest singular value of the block.
        T sminl = T(0);
        bool deflated = false;
        if (dir == 1) {
            if (std::fabs(e[m - 1]) <= tol * std::fabs(d[m])) {
                e[m - 1] = T(0);
                continue;
            }
            T mu = std::fabs(d[ll]);
            sminl = mu;
            for (int i = ll; i < m; ++i) {
                if (std::fabs(e[i]) <= tol * mu) {
                    e[i] = T(0);
                    deflated = true;
                    break;
                }
                mu = std::fabs(d[i + 1]) * (mu / (mu + std::fabs(e[i])));
                sminl = Min(sminl, mu);
            }
        } else {
            if (std::fabs(e[ll]) <= tol * std::fabs(d[ll])) {
                e[ll] = T(0);
                continue;
            }
            T mu = std::fabs(d[m]);
            sminl = mu;
            for (int i = m - 1; i >= ll; --i) {
                if (std::fabs(e[i]) <= tol * mu) {
                    e[i] = T(0);
                    deflated = true;
                    break;
                }
                mu = std::fabs(d[i]) * (mu / (mu + std::fabs(e[i])));
                sminl = Min(sminl, mu);
            }
        }
        if (deflated) continue;
        oldll = ll;
        oldm = m;

        // Shift: the smaller singular value of the trailing (or leading) 2 x 2 block, or zero
        // when it would be negligible against the block's scale.
        T shift = T(0);
        if (T(n) * tol * (sminl / smax) > Max(eps, T(0.01) * tol)) {
            T sll, other;
            if (dir == 1) {
                sll = std::fabs(d[ll]);
                SingularValues2x2(d[m - 1], e[m - 1], d[m], shift, other);
            } else {
                sll = std::fabs(d[m]);
                SingularValues2x2(d[ll], e[ll], d[ll + 1], shift, other);
            }
            if (sll > T(0) && (shift / sll) * (shift / sll) < eps) shift = T(0);
        }
        iter += m - ll;
        SweepAndApply(dir, ll, m, d, e, shift, ut, ldu, nu, vt, ldv, nv, scratch);
        if (dir == 1) {
            if (std::fabs(e[m - 1]) <= thresh) e[m - 1] = T(0);
        } else {
            if (std::fabs(e[ll]) <= thresh) e[ll] = T(0);
        }
    }

    // Non-negative values in descending order, vectors following.
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(d[i])) return 0;
        if (d[i] < T(0)) {
            d[i] = -d[i];
            if (vt) {
                T* row = vt + i * ldv;
                for (int j = 0; j < nv; ++j)
                    row[j] = -row[j];
            }
        }
    }
    for (int i = 0; i + 1 < n; ++i) {
        int best = i;
        for (int j = i + 1; j < n; ++j) {
            if (d[j] > d[best]) best = j;
        }
        if (best == i) continue;
        const T t = d[i];
        d[i] = d[best];
        d[best] = t;
        if (ut) SwapRows(ut + i * ldu, ut + best * ldu, nu);
        if (vt) SwapRows(vt + i * ldv, vt + best * ldv, nv);
    }
    return 1;
}

// ---------------------------------------------------------------------------------------------
// Drivers.

// Copies the transpose of the row-major r x c array src (lds) to dst (c x r, ldd).
template <class T>
void Transpose(int r, int c, const T* src, long lds, T* dst, long ldd) {
    constexpr int kTile = 16;
    for (int i0 = 0; i0 < r; i0 += kTile) {
        const int i1 = i0 + kTile < r ? i0 + kTile : r;
        for (int j0 = 0; j0 < c; j0 += kTile) {
            const int j1 = j0 + kTile < c ? j0 + kTile : c;
            for (int i = i0; i < i1; ++i) {
                for (int j = j0; j < j1; ++j)
                    dst[j * ldd + i] = src[i * lds + j];
            }
        }
    }
}

template <class T>
int SvdImpl(int m, int n, const T* a, long rsa, long csa, T* s, T* u, long ldu, int uCols, T* v,
            long ldv, int vCols, T tol) {
    const int k = m < n ? m : n;
    if (m < 0 || n < 0) return 0;
    if (u && uCols != k && uCols != m) return 0;
    if (v && vCols != k && vCols != n) return 0;
    if (k == 0) {
        if (u) SetIdentity(m, uCols, u, ldu);
        if (v) SetIdentity(n, vCols, v, ldv);
        return 1;
    }
    T amax = T(0);
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            const T x = a[i * rsa + j * csa];
            if (!std::isfinite(x)) return 0;
            amax = Max(amax, std::fabs(x));
        }
    }
    // Work on the tall orientation: W = A (m >= n) or A^T, M x N with N = k.
    const bool trans = m < n;
    const int bigM = trans ? n : m, bigN = k;
    T* up = trans ? v : u;
    const long ldup = trans ? ldv : ldu;
    const int p = trans ? vCols : uCols;
    T* vp = trans ? u : v;
    const long ldvp = trans ? ldu : ldv;
    if (amax == T(0)) {
        for (int i = 0; i < k; ++i)
            s[i] = T(0);
        if (up) SetIdentity(bigM, p, up, ldup);
        if (vp) SetIdentity(bigN, bigN, vp, ldvp);
        return 1;
    }
    // Power-of-two scaling keeps every intermediate in range and changes no rounding.
    const int expo = std::ilogb(amax);
    const long rs = trans ? csa : rsa, cs = trans ? rsa : csa;

    const std::size_t sizeW = static_cast<std::size_t>(bigM) * bigN;
    const std::size_t sizeU = up ? static_cast<std::size_t>(p) * bigM : 0;
    const std::size_t sizeV = vp ? static_cast<std::size_t>(bigN) * bigN : 0;
    Buffer<T> buf;
    if (!buf.Reset(sizeW + sizeU + sizeV + 4 * static_cast<std::size_t>(bigN) +
                   static_cast<std::size_t>(bigM) + 8 * static_cast<std::size_t>(bigN))) {
        return 0;
    }
    T* w = buf.Get();
    T* ut = w + sizeW;
    T* vt = ut + sizeU;
    T* d = vt + sizeV;
    T* e = d + bigN;
    T* tauq = e + bigN;
    T* taup = tauq + bigN;
    T* work = taup + bigN;  // bigM + 8 bigN
    for (int i = 0; i < bigM; ++i) {
        for (int j = 0; j < bigN; ++j)
            w[i * bigN + j] = std::ldexp(a[i * rs + j * cs], -expo);
    }
    for (int i = 0; i < bigN; ++i)
        e[i] = taup[i] = T(0);
    Bidiagonalize(bigM, bigN, w, bigN, d, e, tauq, taup, work);
    if (up) FormLeftQt(bigM, bigN, w, bigN, tauq, p, ut, bigM, work);
    if (vp) FormRightQt(bigN, w, bigN, taup, vt, bigN, work);
    if (!BidiagonalQrImpl(bigN, d, e, up ? ut : nullptr, bigM, bigM, vp ? vt : nullptr, bigN, bigN,
                          tol, work)) {
        return 0;
    }
    for (int i = 0; i < k; ++i)
        s[i] = std::ldexp(d[i], expo);
    if (up) Transpose(p, bigM, ut, bigM, up, ldup);
    if (vp) Transpose(bigN, bigN, vt, bigN, vp, ldvp);
    return 1;
}

template <class T>
int QrImpl(int m, int n, const T* a, long rsa, long csa, T* q, long ldq, int qCols, T* r, long ldr,
           int rRows, T tol) {
    const int k = m < n ? m : n;
    if (m < 0 || n < 0) return 0;
    if (qCols != k && qCols != m) return 0;
    if (rRows != qCols) return 0;
    T amax = T(0);
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j) {
            const T x = a[i * rsa + j * csa];
            if (!std::isfinite(x)) return 0;
            amax = Max(amax, std::fabs(x));
        }
    }
    const int expo = amax > T(0) ? std::ilogb(amax) : 0;
    const std::size_t sizeW = static_cast<std::size_t>(m) * n;
    const std::size_t sizeQ = static_cast<std::size_t>(qCols) * m;
    Buffer<T> buf;
    if (!buf.Reset(sizeW + sizeQ + static_cast<std::size_t>(k) + 2 * static_cast<std::size_t>(m) +
                   static_cast<std::size_t>(n) + 1)) {
        return 0;
    }
    T* w = buf.Get();
    T* qt = w + sizeW;
    T* tau = qt + sizeQ;
    T* col = tau + k;
    T* work = col + m;  // n + m
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j)
            w[i * n + j] = std::ldexp(a[i * rsa + j * csa], -expo);
    }
    if (tol < T(0) || !(tol == tol)) tol = T(0);
    for (int i = 0; i < k; ++i) {
        const int mi = m - i;
        T* aii = w + i * n + i;
        for (int rr = 0; rr < mi; ++rr)
            col[rr] = aii[rr * n];
        const T below = mi > 1 ? std::sqrt(Dot(mi - 1, col + 1, col + 1)) : T(0);
        const T whole = std::sqrt(below * below + col[0] * col[0]);
        T alpha = col[0];
        T t = T(0);
        if (below > tol * whole) {
            t = ReflectorImpl(mi, alpha, col + 1, 1);
        } else {
            for (int rr = 1; rr < mi; ++rr)
                col[rr] = T(0);
        }
        col[0] = T(1);
        tau[i] = t;
        aii[0] = alpha;
        for (int rr = 1; rr < mi; ++rr)
            aii[rr * n] = col[rr];
        ApplyLeftReflector(mi, n - i - 1, col, t, aii + 1, n, work);
    }
    FormLeftQt(m, k, w, n, tau, qCols, qt, m, work);
    // Non-negative diagonal of R: flip row i of R together with column i of Q.
    for (int i = 0; i < k; ++i) {
        if (w[i * n + i] < T(0)) {
            for (int j = i; j < n; ++j)
                w[i * n + j] = -w[i * n + j];
            for (int j = 0; j < m; ++j)
                qt[i * m + j] = -qt[i * m + j];
        }
    }
    Transpose(qCols, m, qt, m, q, ldq);
    for (int i = 0; i < rRows; ++i) {
        T* row = r + i * ldr;
        for (int j = 0; j < n; ++j) {
            row[j] = (i < k && j >= i) ? std::ldexp(w[i * n + j], expo) : T(0);
        }
    }
    return 1;
}
