#include <ml/algebra.h>

#include <cmath>
#include <type_traits>

namespace {

// The discriminant limit of SolveQuadratic: fixed, whatever the element type and precision.
constexpr double kQuadraticDiscriminantLimit = 1e-6;
// 2 pi / 3 and sqrt(3) / 2 as the cubic formulas write them.
constexpr double kTwoPiOverThree = 2.0943951023931953;
constexpr double kHalfSqrtThree = 0.8660254037844386;

// The residual |f| below which the root finders accept a point as a root, for float and double.
constexpr double kRootResidual = 1e-9;
// SearchRootBrackets: rounds and widening factor.
constexpr int kBracketRounds = 49;
constexpr double kBracketGrowth = 1.6;
// Iteration caps.
constexpr int kSecantSteps = 49;
constexpr int kBrentIterations = 100;
constexpr int kNewtonIterations = 19;
constexpr int kSafeNewtonIterations = 100;
// Brent's relative tolerance term: 2 * kBrentEpsilon * |b|.
constexpr double kBrentEpsilon = 1e-9;

// Comparisons of combinatorics arguments with half-integers: in T for reals, in double for the
// integer types (so that n - 0.5 does not wrap for unsigned n).
template <class T>
using CompareType = std::conditional_t<std::is_floating_point_v<T>, T, double>;
// Integer products are formed in 64 bits: exact whenever the result fits T.
template <class T>
using WideInteger = std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>;

template <class T>
bool SameStrictSign(T a, T b) {
    return (a > 0 && b > 0) || (a < 0 && b < 0);
}

// The case analysis shared by the quadratic solvers, for the discriminant D and the centre m.
template <class T>
int QuadraticCases(T D, T m, T limit, T& x1, T& x2) {
    if (D > limit) {
        const T s = mlSafeSqrt(D);
        x1 = m - s;
        x2 = m + s;
        return 2;
    }
    if (-limit <= D) {
        x1 = m;
        x2 = m;
        return 1;
    }
    x1 = m;
    x2 = mlSafeSqrt(-D);
    return 0;
}

// Real roots r1, r2 as complex numbers; for code 0, r1 + i r2 is the upper root of the pair.
template <class T>
void QuadraticToComplex(int code, T r1, T r2, CMLComplex<T>& x1, CMLComplex<T>& x2) {
    if (code == 0) {
        x1.Set(r1, -r2);
        x2.Set(r1, r2);
    } else {
        x1.Set(r1, T(0));
        x2.Set(r2, T(0));
    }
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Combinatorics

template <class T>
T CMLAlgebra::Permutations(T n) {
    using C = CompareType<T>;
    if (C(n) < C(1.5)) return T(1);
    if constexpr (std::is_floating_point_v<T>) {
        T p = T(1);
        for (T k = T(2); k < n + T(0.5); k += T(1)) {
            p *= k;
            if (std::isinf(p)) break;  // nothing changes any more
        }
        return p;
    } else {
        // Wrapping product; once it is 0 modulo 2^64 it stays 0.
        unsigned long long p = 1;
        for (unsigned long long k = 2; C(k) < C(n) + C(0.5); ++k) {
            p *= k;
            if (p == 0) break;
        }
        return static_cast<T>(p);
    }
}

template <class T>
T CMLAlgebra::Combinations(T n, T k) {
    if constexpr (std::is_floating_point_v<T>) {
        if (k > n - T(0.5) || k < T(0.5)) return T(1);
        if (k >= T(1.5) && k <= n - T(1.5) && (k < T(2.5) || k > n - T(2.5)))
            return n * (n - 1) / 2;
        T c = n;
        for (T j = T(2); j < k + T(0.5); j += T(1)) {
            c = c * (n + 1 - j) / j;
            if (std::isinf(c)) break;  // nothing changes any more
        }
        return c;
    } else {
        const double dn = static_cast<double>(n), dk = static_cast<double>(k);
        if (dk > dn - 0.5 || dk < 0.5) return T(1);
        using W = WideInteger<T>;
        const W wn = static_cast<W>(n);
        if (dk >= 1.5 && dk <= dn - 1.5 && (dk < 2.5 || dk > dn - 2.5))
            return static_cast<T>(wn * (wn - 1) / 2);
        // The same recurrence over the smaller of k and n - k: every step is an exact division,
        // so the result is the one of the direct loop whenever that loop does not overflow.
        const W wk = static_cast<W>(k);
        const W m = wk < wn - wk ? wk : wn - wk;
        W c = wn;
        for (W j = 2; j <= m; ++j)
            c = c * (wn + 1 - j) / j;
        return static_cast<T>(c);
    }
}

// ---------------------------------------------------------------------------------------------
// Quadratic and cubic equations

template <class T>
int CMLAlgebra::SolveReducedQuadratic(T p, T q, T& x1, T& x2, ml::detail::non_deduced_t<T> prec) {
    const T D = T(0.25) * p * p - q;
    return QuadraticCases(D, T(-0.5) * p, prec, x1, x2);
}

template <class T>
int CMLAlgebra::SolveReducedQuadratic(T p, T q, CMLComplex<T>& x1, CMLComplex<T>& x2,
                                      ml::detail::non_deduced_t<T> prec) {
    T r1, r2;
    const int code = SolveReducedQuadratic(p, q, r1, r2, prec);
    QuadraticToComplex(code, r1, r2, x1, x2);
    return code;
}

template <class T>
int CMLAlgebra::SolveQuadratic(T a, T b, T c, T& x1, T& x2, ml::detail::non_deduced_t<T> prec) {
    if (std::fabs(a) < prec) {
        if (std::fabs(b) < prec) {
            x1 = x2 = T(0);
            return std::fabs(c) < prec ? -2 : -1;
        }
        x1 = x2 = -c / b;
        return 1;
    }
    const T p = b / a;
    const T D = T(0.25) * p * p - c / a;
    return QuadraticCases(D, T(-0.5) * p, T(kQuadraticDiscriminantLimit), x1, x2);
}

template <class T>
int CMLAlgebra::SolveQuadratic(T a, T b, T c, CMLComplex<T>& x1, CMLComplex<T>& x2,
                               ml::detail::non_deduced_t<T> prec) {
    T r1, r2;
    const int code = SolveQuadratic(a, b, c, r1, r2, prec);
    QuadraticToComplex(code, r1, r2, x1, x2);
    return code;
}

template <class T>
int CMLAlgebra::SolveReducedCubic(T a, T b, T c, T& x1, T& x2, T& x3,
                                  ml::detail::non_deduced_t<T> prec) {
    const T Q = (a * a - T(3) * b) / T(9);
    const T R = (T(2) * a * a * a - T(9) * a * b + T(27) * c) / T(54);
    const T Q3 = Q * Q * Q;
    const T R2 = R * R;
    const T a3 = a / T(3);
    if (Q3 > R2) {
        // Q3 > R2 >= 0: where the guarded root is 0 the plain one is still positive.
        T s = mlSafeSqrt(Q3);
        if (s == T(0)) s = std::sqrt(Q3);
        T ratio = R / s;
        if (ratio > T(1)) ratio = T(1);  // rounding may leave |R| a hair above sqrt(Q^3)
        if (ratio < T(-1)) ratio = T(-1);
        const T theta = std::acos(ratio) / T(3);
        const T sq = mlSafeSqrt(Q);
        x1 = T(-2) * sq * std::cos(theta) - a3;
        x2 = T(-2) * sq * std::cos(theta + T(kTwoPiOverThree)) - a3;
        x3 = T(-2) * sq * std::cos(theta - T(kTwoPiOverThree)) - a3;
        return 3;
    }
    const T arg = std::fabs(R) + mlSafeSqrt(R2 - Q3);
    const T root = arg < mlDefaultPrecision<T> ? T(0) : std::cbrt(arg);
    const T A = R < 0 ? root : -root;
    const T B = std::fabs(A) < prec ? T(0) : Q / A;
    x1 = A + B - a3;
    if (std::fabs(A - B) >= prec) {
        x2 = T(-0.5) * (A + B) - a3;
        x3 = T(kHalfSqrtThree) * std::fabs(A - B);
        return 1;
    }
    x2 = x3 = -(A + a3);
    return 2;
}

template <class T>
int CMLAlgebra::SolveReducedCubic(T a, T b, T c, CMLComplex<T>& x1, CMLComplex<T>& x2,
                                  CMLComplex<T>& x3, ml::detail::non_deduced_t<T> prec) {
    T r1, r2, r3;
    const int code = SolveReducedCubic(a, b, c, r1, r2, r3, prec);
    x1.Set(r1, T(0));
    if (code == 1) {
        x2.Set(r2, -r3);
        x3.Set(r2, r3);
    } else {
        x2.Set(r2, T(0));
        x3.Set(r3, T(0));
    }
    return code;
}

// ---------------------------------------------------------------------------------------------
// Linear systems

template <class T>
int CMLAlgebra::Solve2x2System(T a, T b, T c, T d, T e, T f, T& x, T& y, int& status,
                               ml::detail::non_deduced_t<T> prec) {
    const T det = a * d - b * c;
    const T nx = d * e - b * f;
    const T ny = a * f - c * e;
    status = 1;
    if (std::fabs(det) > prec) {
        x = nx / det;
        y = ny / det;
        if ((a * a + b * b + c * c + d * d) / std::fabs(det) * prec > T(1)) status = 2;
        return 1;
    }
    if (std::fabs(nx) <= prec && std::fabs(ny) <= prec) {
        if (std::fabs(a) > prec) {
            y = T(1);
            x = (e - b) / a;
        } else if (std::fabs(b) > prec) {
            x = T(1);
            y = (e - b) / b;  // (e - b), not (e - a): the choice callers have always received
        } else if (std::fabs(c) > prec) {
            y = T(1);
            x = (f - d) / c;
        } else if (std::fabs(d) > prec) {
            x = T(1);
            y = (f - c) / d;
        } else {
            x = y = T(1);
        }
        return -2;
    }
    x = y = T(0);
    return -1;
}

template <class T>
int CMLAlgebra::Solve3x3System(T a11, T a12, T a13, T a21, T a22, T a23, T a31, T a32, T a33, T b1,
                               T b2, T b3, T& x, T& y, T& z, int& status,
                               ml::detail::non_deduced_t<T> prec) {
    const T A[3][3] = {{a11, a12, a13}, {a21, a22, a23}, {a31, a32, a33}};
    const T rhs[3] = {b1, b2, b3};
    // Cofactors: C[i][j] = (-1)^(i+j) times the minor without row i and column j.
    T C[3][3];
    for (int i = 0; i < 3; ++i) {
        const int r1 = i == 0 ? 1 : 0, r2 = i == 2 ? 1 : 2;
        for (int j = 0; j < 3; ++j) {
            const int c1 = j == 0 ? 1 : 0, c2 = j == 2 ? 1 : 2;
            const T minor = A[r1][c1] * A[r2][c2] - A[r1][c2] * A[r2][c1];
            C[i][j] = (i + j) % 2 == 0 ? minor : -minor;
        }
    }
    const T det = a11 * C[0][0] + a12 * C[0][1] + a13 * C[0][2];
    // Cramer's numerators: D[j] = sum over i of rhs[i] * C[i][j].
    T D[3];
    for (int j = 0; j < 3; ++j)
        D[j] = rhs[0] * C[0][j] + rhs[1] * C[1][j] + rhs[2] * C[2][j];
    status = 1;

    if (std::fabs(det) > prec) {
        x = D[0] / det;
        y = D[1] / det;
        z = D[2] / det;
        T normA = T(0), normC = T(0);
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                normA += A[i][j] * A[i][j];
                normC += C[i][j] * C[i][j];
            }
        }
        if (mlSafeSqrt(normA * normC) / std::fabs(det) * prec > T(1)) status = 2;
        return 1;
    }

    T u[3] = {T(1), T(1), T(1)};
    bool consistent = false;
    bool solved = false;

    // Rank 2: the first cofactor above prec, from C33 back to C11.
    for (int idx = 8; idx >= 0 && !solved; --idx) {
        const int i = idx / 3, j = idx % 3;
        if (!(std::fabs(C[i][j]) > prec)) continue;
        solved = true;
        consistent = std::fabs(D[0]) <= prec && std::fabs(D[1]) <= prec && std::fabs(D[2]) <= prec;
        if (!consistent) break;
        const int r1 = i == 0 ? 1 : 0, r2 = i == 2 ? 1 : 2;
        const int c1 = j == 0 ? 1 : 0, c2 = j == 2 ? 1 : 2;
        // Unknown j is 1; the two other unknowns solve equations r1 and r2.
        const T e = rhs[r1] - A[r1][j];
        const T f = rhs[r2] - A[r2][j];
        const T m = A[r1][c1] * A[r2][c2] - A[r1][c2] * A[r2][c1];
        u[c1] = (e * A[r2][c2] - A[r1][c2] * f) / m;
        u[c2] = (A[r1][c1] * f - A[r2][c1] * e) / m;
    }

    // Rank 1: the first coefficient above prec in row order is the pivot.
    for (int idx = 0; idx < 9 && !solved; ++idx) {
        const int i = idx / 3, j = idx % 3;
        if (!(std::fabs(A[i][j]) > prec)) continue;
        solved = true;
        consistent = true;
        for (int k = 0; k < 3; ++k)
            if (k != i && !(std::fabs(A[i][j] * rhs[k] - A[k][j] * rhs[i]) <= prec))
                consistent = false;
        if (!consistent) break;
        T rest = rhs[i];
        for (int l = 0; l < 3; ++l)
            if (l != j) rest -= A[i][l];
        u[j] = rest / A[i][j];
    }

    // Rank 0: only a zero right-hand side is consistent.
    if (!solved) {
        consistent = std::fabs(b1) <= prec && std::fabs(b2) <= prec && std::fabs(b3) <= prec;
    }

    if (!consistent) {
        x = y = z = T(0);
        return -1;
    }
    x = u[0];
    y = u[1];
    z = u[2];
    return -2;
}

// ---------------------------------------------------------------------------------------------
// Root finders

template <class T>
int CMLAlgebra::DoSearchRootBrackets(T& x1, T& x2, ml::detail::function_ref<T> f) {
    T f1 = f(x1);
    T f2 = f(x2);
    for (int round = 0; round < kBracketRounds; ++round) {
        if (f1 * f2 < 0) return 1;
        if (std::fabs(f2) > std::fabs(f1)) {
            x1 = x1 + T(kBracketGrowth) * (x1 - x2);
            f1 = f(x1);
        } else {
            x2 = x2 + T(kBracketGrowth) * (x2 - x1);
            f2 = f(x1);  // f at x1 stored as f2: the established behaviour
        }
    }
    return 0;
}

template <class T>
void CMLAlgebra::DoNarrowRootBrackets(T x1, T x2, int n, int& nb, T* xb1, T* xb2,
                                      ml::detail::function_ref<T> f) {
    nb = 0;
    if (n < 1) return;
    const T dx = (x2 - x1) / static_cast<T>(n);
    T xp = x1;
    T fp = f(xp);
    for (int i = 1; i <= n; ++i) {
        const T xc = i == n ? x2 : x1 + static_cast<T>(i) * dx;
        const T fc = f(xc);
        if ((fp <= 0 && fc >= 0) || (fp >= 0 && fc <= 0)) {
            xb1[nb] = xp;
            xb2[nb] = xc;
            ++nb;
        }
        xp = xc;
        fp = fc;
    }
}

template <class T>
T CMLAlgebra::DoBisection(T x1, T x2, T tol, ml::detail::function_ref<T> f) {
    const T residual = T(kRootResidual);
    const T fa = f(x1);
    if (std::fabs(fa) <= residual) return x1;
    const T fb = f(x2);
    if (std::fabs(fb) <= residual) return x2;
    // rtb is the end of the current interval where f is negative.
    T rtb = fa < 0 ? x1 : x2;
    T dx = fa < 0 ? x2 - x1 : x1 - x2;
    for (;;) {
        dx *= T(0.5);
        const T mid = rtb + dx;
        if (mid == rtb) return mid;  // the interval cannot be split any further
        const T fm = f(mid);
        if (fm <= 0) rtb = mid;
        if (std::fabs(fm) <= residual || std::fabs(dx) <= tol) return mid;
    }
}

template <class T>
T CMLAlgebra::DoSecant(T x1, T x2, T tol, ml::detail::function_ref<T> f) {
    const T residual = T(kRootResidual);
    T fl = f(x1);
    T fr = f(x2);
    T xl, rts;
    if (std::fabs(fl) < std::fabs(fr)) {
        rts = x1;
        xl = x2;
        const T t = fl;
        fl = fr;
        fr = t;
    } else {
        xl = x1;
        rts = x2;
    }
    if (std::fabs(fr) < residual) return rts;
    for (int step = 0; step < kSecantSteps; ++step) {
        const T slope = fr - fl;
        if (slope == T(0)) return rts;  // flat secant: no step possible
        const T dx = (xl - rts) * fr / slope;
        xl = rts;
        fl = fr;
        rts += dx;
        fr = f(rts);
        if (std::fabs(dx) < tol || std::fabs(fr) < residual) return rts;
    }
    return rts;
}

template <class T>
T CMLAlgebra::DoBrent(T x1, T x2, T tol, ml::detail::function_ref<T> f) {
    const T residual = T(kRootResidual);
    T a = x1, b = x2, c = x2;
    T fa = f(a), fb = f(b);
    if (SameStrictSign(fa, fb)) return std::fabs(fa) <= std::fabs(fb) ? a : b;
    T fc = fb;
    T d = T(0), e = T(0);
    for (int iter = 0; iter < kBrentIterations; ++iter) {
        if (SameStrictSign(fb, fc)) {
            c = a;
            fc = fa;
            e = d = b - a;
        }
        if (std::fabs(fc) < std::fabs(fb)) {
            a = b;
            b = c;
            c = a;
            fa = fb;
            fb = fc;
            fc = fa;
        }
        const T tol1 = T(2) * T(kBrentEpsilon) * std::fabs(b) + T(0.5) * tol;
        const T xm = T(0.5) * (c - b);
        if (std::fabs(xm) <= tol1 || std::fabs(fb) < residual) return b;
        if (std::fabs(e) >= tol1 && std::fabs(fa) > std::fabs(fb)) {
            // Inverse quadratic interpolation (secant when only two points are distinct).
            T p, q;
            const T s = fb / fa;
            if (a == c) {
                p = T(2) * xm * s;
                q = T(1) - s;
            } else {
                const T qq = fa / fc;
                const T r = fb / fc;
                p = s * (T(2) * xm * qq * (qq - r) - (b - a) * (r - T(1)));
                q = (qq - T(1)) * (r - T(1)) * (s - T(1));
            }
            if (p > 0) q = -q;
            p = std::fabs(p);
            const T min1 = T(3) * xm * q - std::fabs(tol1 * q);
            const T min2 = std::fabs(e * q);
            if (T(2) * p < (min1 < min2 ? min1 : min2)) {
                e = d;  // interpolation accepted
                d = p / q;
            } else {
                d = xm;  // bisection
                e = d;
            }
        } else {
            d = xm;
            e = d;
        }
        a = b;
        fa = fb;
        if (std::fabs(d) > tol1)
            b += d;
        else
            b += xm >= 0 ? std::fabs(tol1) : -std::fabs(tol1);
        fb = f(b);
    }
    return b;
}

template <class T>
int CMLAlgebra::DoNewton(T x1, T x2, T tol, T& root, ml::detail::function_ref<T> f,
                         ml::detail::function_ref<T> df) {
    const T lo = x1 < x2 ? x1 : x2;
    const T hi = x1 < x2 ? x2 : x1;
    T rtn = T(0.5) * (x1 + x2);
    for (int iter = 0; iter < kNewtonIterations; ++iter) {
        const T fv = f(rtn);
        const T dv = df(rtn);
        T dx = T(0);
        if (dv != T(0))
            dx = fv / dv;
        else if (fv != T(0))
            return 0;  // the step would be infinite: the iterate leaves the interval
        rtn -= dx;
        if (!(lo <= rtn && rtn <= hi)) return 0;
        if (std::fabs(dx) < tol) {
            root = rtn;
            return 1;
        }
    }
    return 0;
}

template <class T>
T CMLAlgebra::DoSafeNewton(T x1, T x2, T tol, ml::detail::function_ref<T> f,
                           ml::detail::function_ref<T> df) {
    const T residual = T(kRootResidual);
    const T fl = f(x1);
    if (std::fabs(fl) < residual) return x1;
    const T fh = f(x2);
    if (std::fabs(fh) < residual) return x2;
    if (SameStrictSign(fl, fh)) return std::fabs(fl) <= std::fabs(fh) ? x1 : x2;
    // xl is the end where f is negative.
    T xl = fl < 0 ? x1 : x2;
    T xh = fl < 0 ? x2 : x1;
    T rts = T(0.5) * (x1 + x2);
    T dxold = std::fabs(x2 - x1);
    T dx = dxold;
    T fv = f(rts);
    T dv = df(rts);
    for (int iter = 0; iter < kSafeNewtonIterations; ++iter) {
        if (fv == T(0)) return rts;
        if (((rts - xh) * dv - fv) * ((rts - xl) * dv - fv) > 0 ||
            std::fabs(T(2) * fv) > std::fabs(dxold * dv)) {
            // Newton would leave the bracket or converge too slowly: bisect.
            dxold = dx;
            dx = T(0.5) * (xh - xl);
            rts = xl + dx;
            if (xl == rts) return rts;
        } else {
            dxold = dx;
            dx = fv / dv;
            const T before = rts;
            rts -= dx;
            if (before == rts) return rts;
        }
        if (std::fabs(dx) < tol) return rts;
        fv = f(rts);
        dv = df(rts);
        if (fv < 0)
            xl = rts;
        else
            xh = rts;
    }
    return rts;
}

#define ML_ALGEBRA_DEFINE_ONE(T, declaration) template ML_API declaration;
#define ML_ALGEBRA_DEFINE_REAL(T) ML_ALGEBRA_REAL_MEMBERS(ML_ALGEBRA_DEFINE_ONE, T)
#define ML_ALGEBRA_DEFINE_INTEGER(T) ML_ALGEBRA_INTEGER_MEMBERS(ML_ALGEBRA_DEFINE_ONE, T)
ML_FOR_EACH_REAL(ML_ALGEBRA_DEFINE_REAL)
ML_FOR_EACH_ALGEBRA_INTEGER(ML_ALGEBRA_DEFINE_INTEGER)
#undef ML_ALGEBRA_DEFINE_REAL
#undef ML_ALGEBRA_DEFINE_INTEGER
#undef ML_ALGEBRA_DEFINE_ONE
