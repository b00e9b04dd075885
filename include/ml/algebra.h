// CMLAlgebra: the small algebraic problems of the library. Factorials and binomial
// coefficients, real and complex roots of quadratic and reduced cubic equations, 2x2 and 3x3
// linear systems with a status for ill-conditioned and singular systems, and one-dimensional root
// finders for a caller's function.
//
// The class is stateless and not a template: its members are static member function templates over
// the element type, deduced from the arguments, so both `CMLAlgebra::Solve2x2System(...)` and a
// call through an object (whose constructor and destructor do nothing) work. Every member exists
// for float and double; Permutations and Combinations also for int and unsigned int.
//
// The caller's function. Each root finder takes f (and df) in two forms:
//  - a plain function pointer `T (*)(T)`, which also selects one function of an overload set;
//  - any other callable invocable as `T(T)` (lambdas with captures, function objects), through an
//    inline template that passes the library a non-owning reference to it. The callable is only
//    used during the call and is never stored.
// No std::function is involved and nothing is allocated.
// Tolerances (prec, tol) take the element type of the other arguments: a double literal passed
// with float arguments converts instead of failing deduction.
#ifndef ML_ALGEBRA_H
#define ML_ALGEBRA_H

#include <ml/complex.h>
#include <ml/precision.h>
#include <ml/types.h>

#include <memory>
#include <type_traits>

namespace ml::detail {

// Non-owning reference to a callable taking and returning T: a function pointer, or the address
// of a function object together with a function that calls it. Valid while the callable lives.
template <class T>
class function_ref {
public:
    function_ref(T (*f)(T)) noexcept : m_call(&CallFunction<T (*)(T)>) {  // NOLINT: implicit
        m_target.function = reinterpret_cast<void (*)()>(f);
    }
    template <class F,
              std::enable_if_t<
                  !std::is_same_v<std::remove_cv_t<std::remove_reference_t<F>>, function_ref> &&
                      std::is_invocable_r_v<T, F&, T>,
                  int> = 0>
    function_ref(F&& f) noexcept {  // NOLINT: implicit on purpose
        using Fn = std::remove_reference_t<F>;
        using Decayed = std::decay_t<F>;
        if constexpr (std::is_function_v<Fn>) {
            m_target.function = reinterpret_cast<void (*)()>(&f);
            m_call = &CallFunction<Fn*>;
        } else if constexpr (std::is_pointer_v<Decayed> &&
                             std::is_function_v<std::remove_pointer_t<Decayed>>) {
            m_target.function = reinterpret_cast<void (*)()>(f);
            m_call = &CallFunction<Decayed>;
        } else {
            m_target.object = const_cast<void*>(static_cast<const void*>(std::addressof(f)));
            m_call = &CallObject<Fn>;
        }
    }

    T operator()(T x) const { return m_call(m_target, x); }

private:
    union Target {
        void* object;
        void (*function)();
    };
    template <class P>
    static T CallFunction(Target t, T x) {
        return static_cast<T>(reinterpret_cast<P>(t.function)(x));
    }
    template <class Fn>
    static T CallObject(Target t, T x) {
        return static_cast<T>((*static_cast<Fn*>(t.object))(x));
    }

    Target m_target{};
    T (*m_call)(Target, T) = nullptr;
};

}  // namespace ml::detail

class ML_API CMLAlgebra {
public:
    // The plain form of the caller's function.
    template <class T>
    using Function = T (*)(T);

    CMLAlgebra() = default;
    ~CMLAlgebra() = default;

    // ---- Combinatorics (integer instantiations wrap results that do not fit T) ----

    // n!: 1 when n < 1.5, otherwise 2 * 3 * ... over every k >= 2 with k < n + 0.5.
    template <class T>
    static T Permutations(T n);
    // Binomial coefficient: 1 when k > n - 0.5 or k < 0.5; n(n-1)/2 for k = 2 and k = n - 2;
    // otherwise c = n, then c = c * (n + 1 - j) / j for j = 2, 3, ... while j < k + 0.5.
    template <class T>
    static T Combinations(T n, T k);

    // ---- Quadratic and cubic equations ----
    // Return value: the number of distinct real roots, or a negative code where stated. Complex
    // overloads write their roots with CMLComplex::Set (cached form cleared, precision kept).

    // x^2 + p x + q = 0 with D = p^2/4 - q, m = -p/2. D > prec: x1 = m - sqrt(D), x2 = m + sqrt(D),
    // returns 2. |D| <= prec: x1 = x2 = m, returns 1. D < -prec: x1 = m (real part), x2 = sqrt(-D)
    // (imaginary part, guarded: 0 below P), returns 0.
    template <class T>
    static int SolveReducedQuadratic(T p, T q, T& x1, T& x2,
                                     ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);
    // The same; in the complex case x1 = m - i sqrt(-D) and x2 = m + i sqrt(-D).
    template <class T>
    static int SolveReducedQuadratic(T p, T q, CMLComplex<T>& x1, CMLComplex<T>& x2,
                                     ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);
    // a x^2 + b x + c = 0. |a| < prec and |b| < prec: x1 = x2 = 0, returns -2 when |c| < prec
    // (every x solves) and -1 otherwise (none does). |a| < prec only: x1 = x2 = -c / b, returns 1.
    // Otherwise the reduced equation with p = b/a, q = c/a, except that D is compared with the
    // fixed 1e-6 instead of prec, for float and double alike.
    template <class T>
    static int SolveQuadratic(T a, T b, T c, T& x1, T& x2,
                              ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);
    // The same with complex roots (0 + 0i in the degenerate cases).
    template <class T>
    static int SolveQuadratic(T a, T b, T c, CMLComplex<T>& x1, CMLComplex<T>& x2,
                              ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);
    // x^3 + a x^2 + b x + c = 0 with Q = (a^2 - 3b)/9, R = (2a^3 - 9ab + 27c)/54.
    // Q^3 > R^2: three real roots from the trigonometric form, in its order
    //   x_k = -2 sqrt(Q) cos(theta + {0, +2pi/3, -2pi/3}) - a/3, theta = acos(R / sqrt(Q^3)) / 3;
    //   returns 3. (Where the guarded sqrt(Q^3) is 0 the cosine uses the plain root, so that no
    //   NaN comes out.)
    // Otherwise Cardano: A = -sign(R) cbrt(|R| + sqrt(R^2 - Q^3)) (0 when the argument is below P),
    //   B = Q / A (0 when |A| < prec), x1 = A + B - a/3. |A - B| >= prec: one real root and a
    //   complex pair, x2 = its real part -(A + B)/2 - a/3, x3 = its imaginary part
    //   0.8660254037844386 |A - B|; returns 1. Otherwise x2 = x3 = -(A + a/3); returns 2.
    template <class T>
    static int SolveReducedCubic(T a, T b, T c, T& x1, T& x2, T& x3,
                                 ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);
    // The same; for return 1 the pair is x2 = re - i im, x3 = re + i im.
    template <class T>
    static int SolveReducedCubic(T a, T b, T c, CMLComplex<T>& x1, CMLComplex<T>& x2,
                                 CMLComplex<T>& x3,
                                 ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);

    // ---- Linear systems ----

    // a x + b y = e, c x + d y = f. det = ad - bc, Nx = de - bf, Ny = af - ce; status = 1.
    //  1: |det| > prec, x = Nx/det, y = Ny/det; status 2 (ill-conditioned) when
    //     (a^2 + b^2 + c^2 + d^2) / |det| * prec > 1.
    // -2: singular and consistent (|Nx| <= prec and |Ny| <= prec); one solution, chosen by the
    //     first coefficient above prec in the order a, b, c, d:
    //     a: y = 1, x = (e - b)/a;  b: x = 1, y = (e - b)/b (not (e - a)/b: callers rely on it);
    //     c: y = 1, x = (f - d)/c;  d: x = 1, y = (f - c)/d;  none: x = y = 1.
    // -1: singular and inconsistent; x = y = 0.
    template <class T>
    static int Solve2x2System(T a, T b, T c, T d, T e, T f, T& x, T& y, int& status,
                              ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);
    // a11 x + a12 y + a13 z = b1, a21 x + ... = b2, a31 x + ... = b3. det and the cofactors C_ij
    // of the coefficient matrix A; Dx, Dy, Dz the determinants of Cramer's rule; status = 1.
    //  1: |det| > prec, the solution by Cramer's rule; status 2 (ill-conditioned) when
    //     |A|_F * |adj A|_F / |det| * prec > 1 (the Frobenius condition estimate; for a 2x2
    //     matrix it is exactly the test of Solve2x2System).
    // For |det| <= prec the rank decides, judged with prec like det:
    //  rank 2 (some |C_ij| > prec): consistent when |Dx|, |Dy|, |Dz| <= prec. The first C_ij above
    //     prec in the order C33, C32, C31, C23, C22, C21, C13, C12, C11 selects the two equations
    //     other than i and the two unknowns other than j (first equations and first unknowns
    //     preferred); unknown j is set to 1 and the two others solve those equations. Returns -2.
    //  rank 1 (every |C_ij| <= prec, some |a_ij| > prec): the first such a_ij in row order is the
    //     pivot; consistent when |a_ij b_k - a_kj b_i| <= prec for the other equations k. The two
    //     unknowns other than j are set to 1 and equation i gives unknown j. Returns -2.
    //  rank 0 (every |a_ij| <= prec): consistent when every |b_k| <= prec; x = y = z = 1,
    //     returns -2.
    // -1: singular and inconsistent; x = y = z = 0.
    template <class T>
    static int Solve3x3System(T a11, T a12, T a13, T a21, T a22, T a23, T a31, T a32, T a33, T b1,
                              T b2, T b3, T& x, T& y, T& z, int& status,
                              ml::detail::non_deduced_t<T> prec = mlDefaultPrecision<T>);

    // ---- Root finders ----

    // Widens [x1, x2] until f changes sign: f1 = f(x1), f2 = f(x2); up to 49 rounds of: return 1
    // if f1 * f2 < 0; if |f2| > |f1| move x1 by 1.6 (x1 - x2) and set f1 = f(x1), otherwise move
    // x2 by 1.6 (x2 - x1) and set f2 = f(x1) (f at x1, as callers have always had it). Returns 0
    // after the 49th widening without testing the last interval; x1 and x2 keep the last interval.
    template <class T>
    static int SearchRootBrackets(T& x1, T& x2, Function<T> f) {
        return DoSearchRootBrackets<T>(x1, x2, f);
    }
    template <class T, class F>
    static int SearchRootBrackets(T& x1, T& x2, F&& f) {
        return DoSearchRootBrackets<T>(x1, x2, ml::detail::function_ref<T>(f));
    }

    // Divides [x1, x2] into n equal sub-intervals and records in xb1[k], xb2[k] every sub-interval
    // whose end values differ in sign (a zero end value counts as either sign, so a root on a
    // division point brackets both neighbours); nb receives their count (0 when n < 1). xb1 and
    // xb2 must hold n values.
    template <class T>
    static void NarrowRootBrackets(T x1, T x2, int n, int& nb, T* xb1, T* xb2, Function<T> f) {
        DoNarrowRootBrackets<T>(x1, x2, n, nb, xb1, xb2, f);
    }
    template <class T, class F>
    static void NarrowRootBrackets(T x1, T x2, int n, int& nb, T* xb1, T* xb2, F&& f) {
        DoNarrowRootBrackets<T>(x1, x2, n, nb, xb1, xb2, ml::detail::function_ref<T>(f));
    }

    // Interval halving from the end where f is negative; returns the last midpoint once
    // |f(mid)| <= 1e-9 or the step is <= tol (or the midpoint no longer moves). An end where
    // |f| <= 1e-9 is returned at once. Without a sign change between the ends the iteration
    // closes in on x2, which is then returned (it is not a root).
    template <class T>
    static T Bisection(T x1, T x2, ml::detail::non_deduced_t<T> tol, Function<T> f) {
        return DoBisection<T>(x1, x2, tol, f);
    }
    template <class T, class F>
    static T Bisection(T x1, T x2, ml::detail::non_deduced_t<T> tol, F&& f) {
        return DoBisection<T>(x1, x2, tol, ml::detail::function_ref<T>(f));
    }

    // Secant iteration from the end with the smaller |f|; at most 49 steps, stops when
    // |dx| < tol or |f| < 1e-9, or when the secant is flat. Returns the last iterate.
    template <class T>
    static T Secant(T x1, T x2, ml::detail::non_deduced_t<T> tol, Function<T> f) {
        return DoSecant<T>(x1, x2, tol, f);
    }
    template <class T, class F>
    static T Secant(T x1, T x2, ml::detail::non_deduced_t<T> tol, F&& f) {
        return DoSecant<T>(x1, x2, tol, ml::detail::function_ref<T>(f));
    }

    // Brent's method (inverse quadratic interpolation with bisection fallback) on a bracketing
    // interval; at most 100 iterations, tolerance term 2e-9 |b| + tol / 2; stops when
    // |f(b)| < 1e-9. Returns the estimate b. Without a sign change it returns the end with the
    // smaller |f| and does not iterate.
    template <class T>
    static T Brent(T x1, T x2, ml::detail::non_deduced_t<T> tol, Function<T> f) {
        return DoBrent<T>(x1, x2, tol, f);
    }
    template <class T, class F>
    static T Brent(T x1, T x2, ml::detail::non_deduced_t<T> tol, F&& f) {
        return DoBrent<T>(x1, x2, tol, ml::detail::function_ref<T>(f));
    }

    // Newton's method from the midpoint of [x1, x2]. Returns 1 with root set when |dx| < tol;
    // returns 0 with root unchanged when an iterate leaves [x1, x2] (a zero derivative away from
    // a root counts as leaving) or after 19 iterations without convergence.
    template <class T>
    static int Newton(T x1, T x2, ml::detail::non_deduced_t<T> tol, T& root, Function<T> f,
                      Function<T> df) {
        return DoNewton<T>(x1, x2, tol, root, f, df);
    }
    template <class T, class F, class DF>
    static int Newton(T x1, T x2, ml::detail::non_deduced_t<T> tol, T& root, F&& f, DF&& df) {
        return DoNewton<T>(x1, x2, tol, root, ml::detail::function_ref<T>(f),
                           ml::detail::function_ref<T>(df));
    }

    // Newton steps kept inside a bracketing interval by bisection; at most 100 iterations,
    // stops when |dx| < tol. An end where |f| < 1e-9 is returned at once. Without a sign change
    // it returns the end with the smaller |f|.
    template <class T>
    static T SafeNewton(T x1, T x2, ml::detail::non_deduced_t<T> tol, Function<T> f,
                        Function<T> df) {
        return DoSafeNewton<T>(x1, x2, tol, f, df);
    }
    template <class T, class F, class DF>
    static T SafeNewton(T x1, T x2, ml::detail::non_deduced_t<T> tol, F&& f, DF&& df) {
        return DoSafeNewton<T>(x1, x2, tol, ml::detail::function_ref<T>(f),
                               ml::detail::function_ref<T>(df));
    }

private:
    template <class T>
    using Ref = ml::detail::function_ref<T>;
    template <class T>
    static int DoSearchRootBrackets(T& x1, T& x2, Ref<T> f);
    template <class T>
    static void DoNarrowRootBrackets(T x1, T x2, int n, int& nb, T* xb1, T* xb2, Ref<T> f);
    template <class T>
    static T DoBisection(T x1, T x2, T tol, Ref<T> f);
    template <class T>
    static T DoSecant(T x1, T x2, T tol, Ref<T> f);
    template <class T>
    static T DoBrent(T x1, T x2, T tol, Ref<T> f);
    template <class T>
    static int DoNewton(T x1, T x2, T tol, T& root, Ref<T> f, Ref<T> df);
    template <class T>
    static T DoSafeNewton(T x1, T x2, T tol, Ref<T> f, Ref<T> df);
};

// The members instantiated for each real element type T, in one list used twice: `extern` here and
// as definitions in the source. X(T, declaration) receives each member's signature.
#define ML_ALGEBRA_REAL_MEMBERS(X, T)                                                             \
    X(T, T CMLAlgebra::Permutations<T>(T))                                                        \
    X(T, T CMLAlgebra::Combinations<T>(T, T))                                                     \
    X(T, int CMLAlgebra::SolveReducedQuadratic<T>(T, T, T&, T&, T))                               \
    X(T, int CMLAlgebra::SolveReducedQuadratic<T>(T, T, CMLComplex<T>&, CMLComplex<T>&, T))       \
    X(T, int CMLAlgebra::SolveQuadratic<T>(T, T, T, T&, T&, T))                                   \
    X(T, int CMLAlgebra::SolveQuadratic<T>(T, T, T, CMLComplex<T>&, CMLComplex<T>&, T))           \
    X(T, int CMLAlgebra::SolveReducedCubic<T>(T, T, T, T&, T&, T&, T))                            \
    X(T, int CMLAlgebra::SolveReducedCubic<T>(T, T, T, CMLComplex<T>&, CMLComplex<T>&,            \
                                              CMLComplex<T>&, T))                                 \
    X(T, int CMLAlgebra::Solve2x2System<T>(T, T, T, T, T, T, T&, T&, int&, T))                    \
    X(T,                                                                                          \
      int CMLAlgebra::Solve3x3System<T>(T, T, T, T, T, T, T, T, T, T, T, T, T&, T&, T&, int&, T)) \
    X(T, int CMLAlgebra::DoSearchRootBrackets<T>(T&, T&, ml::detail::function_ref<T>))            \
    X(T, void CMLAlgebra::DoNarrowRootBrackets<T>(T, T, int, int&, T*, T*,                        \
                                                  ml::detail::function_ref<T>))                   \
    X(T, T CMLAlgebra::DoBisection<T>(T, T, T, ml::detail::function_ref<T>))                      \
    X(T, T CMLAlgebra::DoSecant<T>(T, T, T, ml::detail::function_ref<T>))                         \
    X(T, T CMLAlgebra::DoBrent<T>(T, T, T, ml::detail::function_ref<T>))                          \
    X(T, int CMLAlgebra::DoNewton<T>(T, T, T, T&, ml::detail::function_ref<T>,                    \
                                     ml::detail::function_ref<T>))                                \
    X(T, T CMLAlgebra::DoSafeNewton<T>(T, T, T, ml::detail::function_ref<T>,                      \
                                       ml::detail::function_ref<T>))

// Integer element types: combinatorics only.
#define ML_FOR_EACH_ALGEBRA_INTEGER(X) X(int) X(unsigned int)
#define ML_ALGEBRA_INTEGER_MEMBERS(X, T)   \
    X(T, T CMLAlgebra::Permutations<T>(T)) \
    X(T, T CMLAlgebra::Combinations<T>(T, T))

#define ML_ALGEBRA_EXTERN_ONE(T, declaration) extern template declaration;
#define ML_ALGEBRA_EXTERN_REAL(T) ML_ALGEBRA_REAL_MEMBERS(ML_ALGEBRA_EXTERN_ONE, T)
#define ML_ALGEBRA_EXTERN_INTEGER(T) ML_ALGEBRA_INTEGER_MEMBERS(ML_ALGEBRA_EXTERN_ONE, T)
ML_FOR_EACH_REAL(ML_ALGEBRA_EXTERN_REAL)
ML_FOR_EACH_ALGEBRA_INTEGER(ML_ALGEBRA_EXTERN_INTEGER)
#undef ML_ALGEBRA_EXTERN_REAL
#undef ML_ALGEBRA_EXTERN_INTEGER
#undef ML_ALGEBRA_EXTERN_ONE

#endif  // ML_ALGEBRA_H
