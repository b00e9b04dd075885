// The numerical methods of the fixed matrices: singular values by one-sided Jacobi rotations,
// symmetric eigenproblems by cyclic Jacobi rotations, Householder QR, Doolittle LU, the polar
// decomposition, and the eigenvalues of general matrices by balancing, Hessenberg reduction and
// shifted QR iteration. Everything works on the stack; the methods converge to full precision
// and report non-finite input instead of iterating on it.
#include "matrix_fixed_kernels.h"

#include <ml/types.h>

#include <cmath>
#include <limits>

namespace ml::detail::fixed_matrix {

namespace {

template <class T>
constexpr T kEpsilon = std::numeric_limits<T>::epsilon();

// Jacobi sweeps allowed before the methods stop; they converge quadratically, in well under ten
// sweeps for these sizes.
constexpr int kMaxJacobiSweeps = 60;
// QR iterations allowed per eigenvalue, with an exceptional shift after every 10 of them.
constexpr int kMaxQrIterations = 60;
// Above this |zeta| the rotation's tangent is taken as 1 / (2 zeta), avoiding zeta^2 overflow.
constexpr double kLargeCotangent = 1e60;

template <class T>
T Abs(T x) {
    return std::fabs(x);
}

template <class T>
T Max(T a, T b) {
    return a > b ? a : b;
}

template <class T, int N>
void SetIdentity(T* a) {
    for (int k = 0; k < N * N; ++k)
        a[k] = k % (N + 1) == 0 ? T(1) : T(0);
}

template <class T, int N>
void Copy(const T* src, T* dst) {
    for (int k = 0; k < N * N; ++k)
        dst[k] = src[k];
}

// The exponent e with 2^e <= max |a| < 2^(e+1); 0 for a zero matrix. Dividing by 2^e is exact
// and keeps sums of squares away from overflow and underflow.
template <class T, int N>
int ScaleExponent(const T* a) {
    T m = T(0);
    for (int k = 0; k < N * N; ++k)
        m = Max(m, Abs(a[k]));
    return m > T(0) ? std::ilogb(m) : 0;
}

// tan of the Jacobi rotation angle from its cotangent-like ratio zeta: the smaller root of
// t^2 + 2 zeta t - 1 = 0, with the sign of zeta (zeta = 0 gives 1).
template <class T>
T JacobiTangent(T zeta) {
    const T az = Abs(zeta);
    const T t = az > T(kLargeCotangent) ? T(0.5) / az : T(1) / (az + std::sqrt(T(1) + az * az));
    return zeta < T(0) ? -t : t;
}

// Column p of u becomes a unit vector orthogonal to the columns marked in done: the basis
// vector with the largest component left after two Gram-Schmidt passes, normalised.
template <class T, int N>
void CompleteColumn(T* u, const bool* done, int p) {
    T best[N] = {};
    T bestNorm = T(-1);
    for (int m = 0; m < N; ++m) {
        T x[N] = {};
        x[m] = T(1);
        for (int pass = 0; pass < 2; ++pass) {
            for (int j = 0; j < N; ++j) {
                if (!done[j]) continue;
                T d = T(0);
                for (int i = 0; i < N; ++i)
                    d += u[i * N + j] * x[i];
                for (int i = 0; i < N; ++i)
                    x[i] -= d * u[i * N + j];
            }
        }
        T n = T(0);
        for (int i = 0; i < N; ++i)
            n += x[i] * x[i];
        n = std::sqrt(n);
        if (n > bestNorm) {
            bestNorm = n;
            for (int i = 0; i < N; ++i)
                best[i] = x[i];
        }
    }
    for (int i = 0; i < N; ++i)
        u[i * N + p] = best[i] / bestNorm;
}

// A complex number for the eigenvector of a complex eigenvalue.
template <class T>
struct Cx {
    T re;
    T im;
};
template <class T>
Cx<T> operator+(Cx<T> a, Cx<T> b) {
    return {a.re + b.re, a.im + b.im};
}
template <class T>
Cx<T> operator-(Cx<T> a, Cx<T> b) {
    return {a.re - b.re, a.im - b.im};
}
template <class T>
Cx<T> operator*(Cx<T> a, Cx<T> b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <class T>
T Norm2(Cx<T> a) {
    return a.re * a.re + a.im * a.im;
}

// |m v| / |v| for a complex N x N matrix and vector (0 for a zero vector).
template <class T, int N>
T RelativeResidual(const Cx<T>* m, const Cx<T>* v) {
    T vv = T(0), rr = T(0);
    for (int i = 0; i < N; ++i) {
        vv += Norm2(v[i]);
        Cx<T> s{T(0), T(0)};
        for (int j = 0; j < N; ++j)
            s = s + m[i * N + j] * v[j];
        rr += Norm2(s);
    }
    return vv > T(0) ? std::sqrt(rr / vv) : std::numeric_limits<T>::infinity();
}

}  // namespace

template <class T, int N>
bool AllFinite(const T* a) {
    for (int k = 0; k < N * N; ++k)
        if (!std::isfinite(a[k])) return false;
    return true;
}

template <class T, int N>
T FrobeniusNorm(const T* a) {
    T ss = T(0);
    for (int k = 0; k < N * N; ++k)
        ss += a[k] * a[k];
    const T low = std::numeric_limits<T>::min() / kEpsilon<T>;
    if (ss >= low && ss <= std::numeric_limits<T>::max()) return std::sqrt(ss);
    T m = T(0);
    for (int k = 0; k < N * N; ++k)
        m = Max(m, Abs(a[k]));
    if (!(m > T(0)) || !std::isfinite(m)) return std::sqrt(ss);
    const int e = std::ilogb(m);
    T sc = T(0);
    for (int k = 0; k < N * N; ++k) {
        const T x = std::ldexp(a[k], -e);
        sc += x * x;
    }
    return std::ldexp(std::sqrt(sc), e);
}

// The larger of a and b, NaN when either is NaN: the norm of a matrix holding NaN is NaN.
template <class T>
T MaxKeepingNaN(T a, T b) {
    return (b > a || b != b) ? b : a;
}

template <class T, int N>
T Norm(const T* a, int selector) {
    switch (selector) {
        case 0: {
            T best = T(0);
            for (int j = 0; j < N; ++j) {
                T s = T(0);
                for (int i = 0; i < N; ++i)
                    s += Abs(a[i * N + j]);
                best = j == 0 ? s : MaxKeepingNaN(best, s);
            }
            return best;
        }
        case 1: {
            T best = T(0);
            for (int i = 0; i < N; ++i) {
                T s = T(0);
                for (int j = 0; j < N; ++j)
                    s += Abs(a[i * N + j]);
                best = i == 0 ? s : MaxKeepingNaN(best, s);
            }
            return best;
        }
        case 3: {
            T s[N];
            if (Svd<T, N>(a, nullptr, nullptr, s, T(0))) return s[0];
            return FrobeniusNorm<T, N>(a);
        }
        case 4: {
            T m = T(0);
            for (int k = 0; k < N * N; ++k)
                m = MaxKeepingNaN(m, Abs(a[k]));
            return T(N) * m;
        }
        default:
            return FrobeniusNorm<T, N>(a);
    }
}

template <class T, int N>
int Svd(const T* a, T* u, T* v, T* s, T rel) {
    if (!AllFinite<T, N>(a)) return 0;
    const int e = ScaleExponent<T, N>(a);
    T w[N * N], vv[N * N];
    for (int k = 0; k < N * N; ++k)
        w[k] = std::ldexp(a[k], -e);
    SetIdentity<T, N>(vv);

    // Rotate pairs of columns of w until every pair is orthogonal to working precision; then
    // w = a v with v orthogonal, and the column lengths of w are the singular values.
    for (int sweep = 0; sweep < kMaxJacobiSweeps; ++sweep) {
        bool rotated = false;
        for (int p = 0; p < N - 1; ++p) {
            for (int q = p + 1; q < N; ++q) {
                T alpha = T(0), beta = T(0), gamma = T(0);
                for (int i = 0; i < N; ++i) {
                    const T x = w[i * N + p], y = w[i * N + q];
                    alpha += x * x;
                    beta += y * y;
                    gamma += x * y;
                }
                if (gamma == T(0) ||
                    Abs(gamma) <= kEpsilon<T> * std::sqrt(alpha) * std::sqrt(beta)) {
                    continue;
                }
                rotated = true;
                const T t = JacobiTangent((beta - alpha) / (T(2) * gamma));
                const T c = T(1) / std::sqrt(T(1) + t * t);
                const T sn = c * t;
                for (int i = 0; i < N; ++i) {
                    const T x = w[i * N + p], y = w[i * N + q];
                    w[i * N + p] = c * x - sn * y;
                    w[i * N + q] = sn * x + c * y;
                    const T vx = vv[i * N + p], vy = vv[i * N + q];
                    vv[i * N + p] = c * vx - sn * vy;
                    vv[i * N + q] = sn * vx + c * vy;
                }
            }
        }
        if (!rotated) break;
    }

    // Column lengths, in descending order (a stable selection keeps equal values in place).
    T sigma[N];
    int order[N];
    for (int p = 0; p < N; ++p) {
        T ss = T(0);
        for (int i = 0; i < N; ++i)
            ss += w[i * N + p] * w[i * N + p];
        sigma[p] = std::sqrt(ss);
        order[p] = p;
    }
    for (int p = 0; p < N - 1; ++p) {
        int best = p;
        for (int q = p + 1; q < N; ++q)
            if (sigma[order[q]] > sigma[order[best]]) best = q;
        if (best != p) {
            const int o = order[best];
            for (int q = best; q > p; --q)
                order[q] = order[q - 1];
            order[p] = o;
        }
    }

    const T threshold = (rel > T(0) ? rel : T(0)) * sigma[order[0]];
    T uu[N * N] = {};
    bool done[N] = {};
    T sorted[N];
    for (int p = 0; p < N; ++p) {
        const int o = order[p];
        const T sp = sigma[o];
        if (sp > threshold && sp >= std::numeric_limits<T>::min()) {
            for (int i = 0; i < N; ++i)
                uu[i * N + p] = w[i * N + o] / sp;
            done[p] = true;
            sorted[p] = sp;
        } else {
            sorted[p] = T(0);
        }
    }
    for (int p = 0; p < N; ++p) {
        if (done[p]) continue;
        CompleteColumn<T, N>(uu, done, p);
        done[p] = true;
    }

    for (int p = 0; p < N; ++p)
        s[p] = std::ldexp(sorted[p], e);
    if (u) Copy<T, N>(uu, u);
    if (v) {
        for (int i = 0; i < N; ++i)
            for (int p = 0; p < N; ++p)
                v[i * N + p] = vv[i * N + order[p]];
    }
    return 1;
}

template <class T, int N>
int SymmetricEigen(const T* a, T* values, T* vectors) {
    if (!AllFinite<T, N>(a)) return 0;
    const int e = ScaleExponent<T, N>(a);
    T b[N * N], vv[N * N];
    for (int i = 0; i < N; ++i)
        for (int j = 0; j < N; ++j)
            b[i * N + j] = (std::ldexp(a[i * N + j], -e) + std::ldexp(a[j * N + i], -e)) * T(0.5);
    SetIdentity<T, N>(vv);

    for (int sweep = 0; sweep < kMaxJacobiSweeps; ++sweep) {
        bool rotated = false;
        for (int p = 0; p < N - 1; ++p) {
            for (int q = p + 1; q < N; ++q) {
                const T apq = b[p * N + q];
                if (apq == T(0)) continue;
                const T app = b[p * N + p], aqq = b[q * N + q];
                // Negligible against both diagonal elements (or below the normal range): zero.
                if (Abs(apq) <= kEpsilon<T> * std::sqrt(Abs(app)) * std::sqrt(Abs(aqq)) ||
                    Abs(apq) < std::numeric_limits<T>::min()) {
                    b[p * N + q] = b[q * N + p] = T(0);
                    continue;
                }
                rotated = true;
                const T t = JacobiTangent((aqq - app) / (T(2) * apq));
                const T c = T(1) / std::sqrt(T(1) + t * t);
                const T sn = c * t;
                for (int r = 0; r < N; ++r) {
                    if (r != p && r != q) {
                        const T arp = b[r * N + p], arq = b[r * N + q];
                        b[r * N + p] = b[p * N + r] = c * arp - sn * arq;
                        b[r * N + q] = b[q * N + r] = sn * arp + c * arq;
                    }
                    const T vrp = vv[r * N + p], vrq = vv[r * N + q];
                    vv[r * N + p] = c * vrp - sn * vrq;
                    vv[r * N + q] = sn * vrp + c * vrq;
                }
                b[p * N + p] = app - t * apq;
                b[q * N + q] = aqq + t * apq;
                b[p * N + q] = b[q * N + p] = T(0);
            }
        }
        if (!rotated) break;
    }

    // Ascending order by a stable insertion of the columns.
    int order[N];
    for (int p = 0; p < N; ++p)
        order[p] = p;
    for (int p = 1; p < N; ++p) {
        const int o = order[p];
        int q = p;
        while (q > 0 && b[order[q - 1] * (N + 1)] > b[o * (N + 1)]) {
            order[q] = order[q - 1];
            --q;
        }
        order[q] = o;
    }
    for (int p = 0; p < N; ++p)
        values[p] = std::ldexp(b[order[p] * (N + 1)], e);
    for (int i = 0; i < N; ++i)
        for (int p = 0; p < N; ++p)
            vectors[i * N + p] = vv[i * N + order[p]];
    return 1;
}

template <class T, int N>
int HouseholderQr(const T* a, T* q, T* r, T eps) {
    if (!AllFinite<T, N>(a)) return 0;
    const T tol = eps > T(0) ? eps : T(0);
    T rr[N * N], qq[N * N];
    Copy<T, N>(a, rr);
    SetIdentity<T, N>(qq);
    for (int k = 0; k < N - 1; ++k) {
        T scale = T(0);
        for (int i = k; i < N; ++i)
            scale = Max(scale, Abs(rr[i * N + k]));
        if (scale == T(0)) continue;
        T x[N] = {};
        T below = T(0);
        for (int i = k; i < N; ++i) {
            x[i] = rr[i * N + k] / scale;
            if (i > k) below += x[i] * x[i];
        }
        const T norm = std::sqrt(x[k] * x[k] + below);
        if (std::sqrt(below) <= tol * norm) {
            for (int i = k + 1; i < N; ++i)
                rr[i * N + k] = T(0);
            continue;
        }
        // H = I - 2 v v^T / (v^T v) maps the column to (alpha, 0, ..., 0).
        const T alpha = x[k] >= T(0) ? -norm : norm;
        x[k] -= alpha;
        T vtv = T(0);
        for (int i = k; i < N; ++i)
            vtv += x[i] * x[i];
        for (int j = k + 1; j < N; ++j) {
            T d = T(0);
            for (int i = k; i < N; ++i)
                d += x[i] * rr[i * N + j];
            const T f = T(2) * d / vtv;
            for (int i = k; i < N; ++i)
                rr[i * N + j] -= f * x[i];
        }
        rr[k * N + k] = alpha * scale;
        for (int i = k + 1; i < N; ++i)
            rr[i * N + k] = T(0);
        for (int i = 0; i < N; ++i) {
            T d = T(0);
            for (int l = k; l < N; ++l)
                d += qq[i * N + l] * x[l];
            const T f = T(2) * d / vtv;
            for (int l = k; l < N; ++l)
                qq[i * N + l] -= f * x[l];
        }
    }
    for (int k = 0; k < N; ++k) {
        if (rr[k * N + k] >= T(0)) continue;
        for (int j = 0; j < N; ++j)
            rr[k * N + j] = -rr[k * N + j];
        for (int i = 0; i < N; ++i)
            qq[i * N + k] = -qq[i * N + k];
    }
    Copy<T, N>(qq, q);
    Copy<T, N>(rr, r);
    return 1;
}

template <class T, int N>
int DoolittleLu(const T* a, T* l, T* u, T eps) {
    for (int k = 0; k < N * N; ++k)
        l[k] = u[k] = T(0);
    if (Abs(a[0]) < eps) return 0;
    l[0] = T(1);
    u[0] = a[0];
    for (int i = 1; i < N; ++i) {
        l[i * N + i] = T(1);
        u[i] = a[i];
        l[i * N] = a[i * N] / a[0];
    }
    for (int k = 1; k < N; ++k) {
        T pivot = a[k * N + k];
        for (int j = 0; j < k; ++j)
            pivot -= l[k * N + j] * u[j * N + k];
        if (Abs(pivot) < eps) return 0;
        u[k * N + k] = pivot;
        for (int i = k + 1; i < N; ++i) {
            T uki = a[k * N + i];
            T lik = a[i * N + k];
            for (int j = 0; j < k; ++j) {
                uki -= l[k * N + j] * u[j * N + i];
                lik -= l[i * N + j] * u[j * N + k];
            }
            u[k * N + i] = uki;
            l[i * N + k] = lik / pivot;
        }
    }
    return 1;
}

template <class T, int N>
int Polar(const T* a, T* q, T* s, int side, T rel) {
    T u[N * N], v[N * N], sigma[N];
    if (!Svd<T, N>(a, u, v, sigma, rel)) return 0;
    const T* w = side == 0 ? v : u;
    for (int i = 0; i < N; ++i) {
        for (int j = 0; j < N; ++j) {
            T d = T(0);
            for (int k = 0; k < N; ++k)
                d += u[i * N + k] * v[j * N + k];
            q[i * N + j] = d;
        }
        for (int j = i; j < N; ++j) {
            T d = T(0);
            for (int k = 0; k < N; ++k)
                d += w[i * N + k] * sigma[k] * w[j * N + k];
            s[i * N + j] = s[j * N + i] = d;
        }
    }
    return 1;
}

template <class T, int N>
int Eigenvalues(const T* a, T* re, T* im) {
    if (!AllFinite<T, N>(a)) return -1;
    const int e = ScaleExponent<T, N>(a);
    T h[N * N];
    for (int k = 0; k < N * N; ++k)
        h[k] = std::ldexp(a[k], -e);
    // One-based access, as the classic statements of these algorithms are written.
    const auto A = [&h](int i, int j) -> T& { return h[(i - 1) * N + (j - 1)]; };
    constexpr int n = N;

    // Balancing by powers of two: rows and columns of comparable norms, same eigenvalues.
    for (bool done = false; !done;) {
        done = true;
        for (int i = 1; i <= n; ++i) {
            T r = T(0), c = T(0);
            for (int j = 1; j <= n; ++j) {
                if (j == i) continue;
                c += Abs(A(j, i));
                r += Abs(A(i, j));
            }
            if (c == T(0) || r == T(0)) continue;
            T g = r / T(2), f = T(1);
            const T s = c + r;
            while (c < g) {
                f *= T(2);
                c *= T(4);
            }
            g = r * T(2);
            while (c > g) {
                f /= T(2);
                c /= T(4);
            }
            if ((c + r) / f < T(0.95) * s) {
                done = false;
                g = T(1) / f;
                for (int j = 1; j <= n; ++j)
                    A(i, j) *= g;
                for (int j = 1; j <= n; ++j)
                    A(j, i) *= f;
            }
        }
    }

    // Reduction to upper Hessenberg form by stabilised elementary similarity transforms.
    for (int m = 2; m < n; ++m) {
        T x = T(0);
        int piv = m;
        for (int j = m; j <= n; ++j) {
            if (Abs(A(j, m - 1)) > Abs(x)) {
                x = A(j, m - 1);
                piv = j;
            }
        }
        if (piv != m) {
            for (int j = m - 1; j <= n; ++j) {
                const T t = A(piv, j);
                A(piv, j) = A(m, j);
                A(m, j) = t;
            }
            for (int j = 1; j <= n; ++j) {
                const T t = A(j, piv);
                A(j, piv) = A(j, m);
                A(j, m) = t;
            }
        }
        if (x != T(0)) {
            for (int i = m + 1; i <= n; ++i) {
                T y = A(i, m - 1);
                if (y == T(0)) continue;
                y /= x;
                A(i, m - 1) = y;
                for (int j = m; j <= n; ++j)
                    A(i, j) -= y * A(m, j);
                for (int j = 1; j <= n; ++j)
                    A(j, m) += y * A(j, i);
            }
        }
    }
    for (int i = 3; i <= n; ++i)
        for (int j = 1; j <= i - 2; ++j)
            A(i, j) = T(0);

    // Shifted QR iteration on the Hessenberg matrix (double shift, deflating 1x1 and 2x2 blocks).
    T wr[N + 1], wi[N + 1];
    T anorm = T(0);
    for (int i = 1; i <= n; ++i)
        for (int j = (i > 1 ? i - 1 : 1); j <= n; ++j)
            anorm += Abs(A(i, j));
    int nn = n;
    T t = T(0);
    while (nn >= 1) {
        int its = 0;
        int l;
        do {
            for (l = nn; l >= 2; --l) {
                T s = Abs(A(l - 1, l - 1)) + Abs(A(l, l));
                if (s == T(0)) s = anorm;
                // Negligible next to its diagonal neighbours, or next to the whole matrix (the
                // second test ends the iteration on defective eigenvalues, where the neighbours
                // shrink with the subdiagonal element).
                if (static_cast<T>(Abs(A(l, l - 1)) + s) == s ||
                    Abs(A(l, l - 1)) <= kEpsilon<T> * anorm) {
                    A(l, l - 1) = T(0);
                    break;
                }
            }
            T x = A(nn, nn);
            if (l == nn) {
                wr[nn] = x + t;
                wi[nn--] = T(0);
            } else {
                T y = A(nn - 1, nn - 1);
                T w = A(nn, nn - 1) * A(nn - 1, nn);
                if (l == nn - 1) {
                    const T p = T(0.5) * (y - x);
                    const T q = p * p + w;
                    T z = std::sqrt(Abs(q));
                    x += t;
                    if (q >= T(0)) {
                        z = p + (p >= T(0) ? Abs(z) : -Abs(z));
                        wr[nn - 1] = wr[nn] = x + z;
                        if (z != T(0)) wr[nn] = x - w / z;
                        wi[nn - 1] = wi[nn] = T(0);
                    } else {
                        wr[nn - 1] = wr[nn] = x + p;
                        wi[nn] = z;
                        wi[nn - 1] = -z;
                    }
                    nn -= 2;
                } else if constexpr (N == 2) {
                    return -1;  // a 2x2 block always deflates above
                } else {
                    if (its == kMaxQrIterations) return -1;
                    if (its % 10 == 0 && its > 0) {
                        t += x;
                        for (int i = 1; i <= nn; ++i)
                            A(i, i) -= x;
                        const T s = Abs(A(nn, nn - 1)) + Abs(A(nn - 1, nn - 2));
                        y = x = T(0.75) * s;
                        w = T(-0.4375) * s * s;
                    }
                    ++its;
                    int m;
                    T p = T(0), q = T(0), r = T(0), z = T(0);
                    for (m = nn - 2; m >= l; --m) {
                        z = A(m, m);
                        r = x - z;
                        T s = y - z;
                        p = (r * s - w) / A(m + 1, m) + A(m, m + 1);
                        q = A(m + 1, m + 1) - z - r - s;
                        r = A(m + 2, m + 1);
                        s = Abs(p) + Abs(q) + Abs(r);
                        p /= s;
                        q /= s;
                        r /= s;
                        if (m == l) break;
                        const T u = Abs(A(m, m - 1)) * (Abs(q) + Abs(r));
                        const T v = Abs(p) * (Abs(A(m - 1, m - 1)) + Abs(z) + Abs(A(m + 1, m + 1)));
                        if (static_cast<T>(u + v) == v) break;
                    }
                    for (int i = m + 2; i <= nn; ++i) {
                        A(i, i - 2) = T(0);
                        if (i != m + 2) A(i, i - 3) = T(0);
                    }
                    for (int k = m; k <= nn - 1; ++k) {
                        if (k != m) {
                            p = A(k, k - 1);
                            q = A(k + 1, k - 1);
                            r = T(0);
                            if (k != nn - 1) r = A(k + 2, k - 1);
                            if ((x = Abs(p) + Abs(q) + Abs(r)) != T(0)) {
                                p /= x;
                                q /= x;
                                r /= x;
                            }
                        }
                        const T root = std::sqrt(p * p + q * q + r * r);
                        const T s = p >= T(0) ? root : -root;
                        if (s != T(0)) {
                            if (k == m) {
                                if (l != m) A(k, k - 1) = -A(k, k - 1);
                            } else {
                                A(k, k - 1) = -s * x;
                            }
                            p += s;
                            x = p / s;
                            y = q / s;
                            z = r / s;
                            q /= p;
                            r /= p;
                            for (int j = k; j <= nn; ++j) {
                                p = A(k, j) + q * A(k + 1, j);
                                if (k != nn - 1) {
                                    p += r * A(k + 2, j);
                                    A(k + 2, j) -= p * z;
                                }
                                A(k + 1, j) -= p * y;
                                A(k, j) -= p * x;
                            }
                            const int mmin = nn < k + 3 ? nn : k + 3;
                            for (int i = l; i <= mmin; ++i) {
                                p = x * A(i, k) + y * A(i, k + 1);
                                if (k != nn - 1) {
                                    p += z * A(i, k + 2);
                                    A(i, k + 2) -= p * r;
                                }
                                A(i, k + 1) -= p * q;
                                A(i, k) -= p;
                            }
                        }
                    }
                }
            }
        } while (nn >= 1 && l < nn - 1);
    }

    // Real eigenvalues ascending, then the complex pairs by real part, positive part first.
    T rv[N], cr[N], ci[N];
    int nr = 0, nc = 0;
    for (int k = 1; k <= n; ++k) {
        if (wi[k] == T(0)) {
            rv[nr++] = std::ldexp(wr[k], e);
        } else if (wi[k] > T(0)) {
            cr[nc] = std::ldexp(wr[k], e);
            ci[nc++] = std::ldexp(wi[k], e);
        }
    }
    for (int p = 1; p < nr; ++p) {
        const T x = rv[p];
        int q = p;
        for (; q > 0 && rv[q - 1] > x; --q)
            rv[q] = rv[q - 1];
        rv[q] = x;
    }
    for (int p = 1; p < nc; ++p) {
        const T x = cr[p], y = ci[p];
        int q = p;
        for (; q > 0 && cr[q - 1] > x; --q) {
            cr[q] = cr[q - 1];
            ci[q] = ci[q - 1];
        }
        cr[q] = x;
        ci[q] = y;
    }
    for (int k = 0; k < nr; ++k) {
        re[k] = rv[k];
        im[k] = T(0);
    }
    for (int k = 0; k < nc; ++k) {
        re[nr + 2 * k] = re[nr + 2 * k + 1] = cr[k];
        im[nr + 2 * k] = ci[k];
        im[nr + 2 * k + 1] = -ci[k];
    }
    return nr;
}

template <class T, int N>
int RealEigenvectors(const T* a, T* values, T* vectors, T eps) {
    T re[N], im[N];
    const int nr = Eigenvalues<T, N>(a, re, im);
    if (nr < 0) return -1;
    const T scale = Max(T(1), FrobeniusNorm<T, N>(a));
    const T clusterTolerance = std::sqrt(kEpsilon<T>) * scale;
    const T zeroTolerance = (eps > T(0) ? eps : T(0)) * scale;
    int count = 0;
    for (int g0 = 0; g0 < nr;) {
        int g1 = g0 + 1;
        while (g1 < nr && re[g1] - re[g1 - 1] <= clusterTolerance)
            ++g1;
        const int multiplicity = g1 - g0;
        T lambda = T(0);
        for (int k = g0; k < g1; ++k)
            lambda += re[k];
        lambda /= T(multiplicity);

        T b[N * N], v[N * N], s[N];
        Copy<T, N>(a, b);
        for (int i = 0; i < N; ++i)
            b[i * (N + 1)] -= lambda;
        if (!Svd<T, N>(b, nullptr, v, s, T(0))) return -1;
        int d = 0;
        for (int k = N - 1; k >= 0 && s[k] <= zeroTolerance; --k)
            ++d;
        if (d < 1) d = 1;
        if (d > multiplicity) d = multiplicity;
        for (int t = 0; t < d; ++t) {
            const int col = N - 1 - t;
            int big = 0;
            for (int i = 1; i < N; ++i)
                if (Abs(v[i * N + col]) > Abs(v[big * N + col])) big = i;
            const T sign = v[big * N + col] < T(0) ? T(-1) : T(1);
            values[count] = lambda;
            for (int i = 0; i < N; ++i)
                vectors[count * N + i] = sign * v[i * N + col];
            ++count;
        }
        g0 = g1;
    }
    return count;
}

template <class T, int N>
int ComplexEigenvector(const T* a, T lre, T lim, T* vre, T* vim, T eps) {
    static_assert(N == 2 || N == 3, "complex eigenvectors are provided for 2x2 and 3x3");
    if (!AllFinite<T, N>(a) || !std::isfinite(lre) || !std::isfinite(lim)) return 0;
    // Work on the matrix scaled by a power of two, so that products of rows cannot overflow.
    const int e = ScaleExponent<T, N>(a);
    T as[N * N];
    for (int k = 0; k < N * N; ++k)
        as[k] = std::ldexp(a[k], -e);
    const T sre = std::ldexp(lre, -e), sim = std::ldexp(lim, -e);
    Cx<T> m[N * N];
    for (int i = 0; i < N; ++i)
        for (int j = 0; j < N; ++j)
            m[i * N + j] = {as[i * N + j] - (i == j ? sre : T(0)), i == j ? -sim : T(0)};

    // Candidates: vectors orthogonal (bilinearly) to the rows of this - value * I, and the
    // basis vectors; the one with the smallest relative residual wins.
    constexpr int kCandidates = N == 2 ? 4 : 9;
    Cx<T> cand[kCandidates][N] = {};
    int nc = 0;
    int bigRow = 0;
    T bigNorm = T(-1);
    for (int i = 0; i < N; ++i) {
        T rn = T(0);
        for (int j = 0; j < N; ++j)
            rn += Norm2(m[i * N + j]);
        if (rn > bigNorm) {
            bigNorm = rn;
            bigRow = i;
        }
    }
    if constexpr (N == 2) {
        for (int i = 0; i < 2; ++i) {
            cand[nc][0] = m[i * 2 + 1];
            cand[nc][1] = Cx<T>{T(0), T(0)} - m[i * 2];
            ++nc;
        }
    } else {
        const auto cross = [](const Cx<T>* r, const Cx<T>* s, Cx<T>* out) {
            out[0] = r[1] * s[2] - r[2] * s[1];
            out[1] = r[2] * s[0] - r[0] * s[2];
            out[2] = r[0] * s[1] - r[1] * s[0];
        };
        cross(m, m + 3, cand[nc++]);
        cross(m, m + 6, cand[nc++]);
        cross(m + 3, m + 6, cand[nc++]);
        for (int k = 0; k < 3; ++k) {
            Cx<T> basis[3] = {};
            basis[k].re = T(1);
            cross(m + 3 * bigRow, basis, cand[nc++]);
        }
    }
    for (int k = 0; k < N; ++k) {
        cand[nc][k].re = T(1);
        ++nc;
    }

    int best = -1;
    T bestResidual = std::numeric_limits<T>::infinity();
    for (int c = 0; c < nc; ++c) {
        const T r = RelativeResidual<T, N>(m, cand[c]);
        if (r < bestResidual) {
            bestResidual = r;
            best = c;
        }
    }
    // |(a - value I) v| <= eps * max(1, |a|_F), in the scaled units.
    const T scale = Max(std::ldexp(T(1), -e), FrobeniusNorm<T, N>(as));
    if (best < 0 || !(bestResidual <= (eps > T(0) ? eps : T(0)) * scale)) return 0;

    // Unit length, and the largest component turned real and positive.
    Cx<T>* v = cand[best];
    T vv = T(0);
    int big = 0;
    for (int i = 0; i < N; ++i) {
        vv += Norm2(v[i]);
        if (Norm2(v[i]) > Norm2(v[big])) big = i;
    }
    const T len = std::sqrt(vv);
    const T bigLen = std::sqrt(Norm2(v[big]));
    const Cx<T> phase{v[big].re / (bigLen * len), -v[big].im / (bigLen * len)};
    for (int i = 0; i < N; ++i) {
        const Cx<T> x = v[i] * phase;
        vre[i] = x.re;
        vim[i] = i == big ? T(0) : x.im;
    }
    vre[big] = bigLen / len;
    return 1;
}

#define ML_FIXED_KERNELS(T, N)                             \
    template bool AllFinite<T, N>(const T*);               \
    template T FrobeniusNorm<T, N>(const T*);              \
    template T Norm<T, N>(const T*, int);                  \
    template int Svd<T, N>(const T*, T*, T*, T*, T);       \
    template int SymmetricEigen<T, N>(const T*, T*, T*);   \
    template int HouseholderQr<T, N>(const T*, T*, T*, T); \
    template int DoolittleLu<T, N>(const T*, T*, T*, T);   \
    template int Polar<T, N>(const T*, T*, T*, int, T);    \
    template int Eigenvalues<T, N>(const T*, T*, T*);      \
    template int RealEigenvectors<T, N>(const T*, T*, T*, T);
#define ML_FIXED_KERNELS_ALL_SIZES(T)                                 \
    ML_FIXED_KERNELS(T, 2)                                            \
    ML_FIXED_KERNELS(T, 3)                                            \
    ML_FIXED_KERNELS(T, 4)                                            \
    template int ComplexEigenvector<T, 2>(const T*, T, T, T*, T*, T); \
    template int ComplexEigenvector<T, 3>(const T*, T, T, T*, T*, T);
ML_FOR_EACH_REAL(ML_FIXED_KERNELS_ALL_SIZES)
#undef ML_FIXED_KERNELS_ALL_SIZES
#undef ML_FIXED_KERNELS

}  // namespace ml::detail::fixed_matrix
