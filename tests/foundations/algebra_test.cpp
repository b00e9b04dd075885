#include <ml/algebra.h>

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>
#include <utility>

namespace {

using A = CMLAlgebra;

template <class T>
class AlgebraTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AlgebraTyped, RealTypes);

template <class T>
const T kTol = std::is_same_v<T, float> ? T(2e-5) : T(1e-12);

// (x, y, z) within tol of (ex, ey, ez); tol 0 asks for exact values.
template <class T>
::testing::AssertionResult Is3(T x, T y, T z, double ex, double ey, double ez, double tol = 0) {
    if (std::fabs(x - ex) <= tol && std::fabs(y - ey) <= tol && std::fabs(z - ez) <= tol)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << x << ", " << y << ", " << z << ")";
}

// Functions with known roots, for float and double alike.
const auto Cubic = [](auto x) { return x * x * x - 2 * x - 5; };
const auto CubicSlope = [](auto x) { return 3 * x * x - 2; };
constexpr double kCubicRoot = 2.0945514815423265, kDottie = 0.7390851332151607;
const auto Dottie = [](auto x) { return std::cos(x) - x; };
const auto DottieSlope = [](auto x) { return -std::sin(x) - 1; };
const auto Twice = [](auto x) { return 2 * x; };
const auto Cycler = [](auto x) { return x * x * x - 2 * x + 2; };  // Newton cycles 0 -> 1 -> 0
const auto NoRoot = [](auto x) { return x * x + 1; };
const auto Step = [](double x) { return x < 0.3 ? -1.0 : 1.0; };  // a sign change, no zero

TYPED_TEST(AlgebraTyped, PermutationsAndCombinations) {
    using T = TypeParam;
    const T perms[][2] = {{0, 1}, {1, 1}, {-3, 1}, {5, 120}, {T(2.7), 6}};  // k < n + 0.5: 2 * 3
    for (const auto& r : perms)
        EXPECT_EQ(A::Permutations(r[0]), r[1]) << r[0];
    // n(n-1)/2 stands for every k within 1 of 2 or of n - 2: C(5.75, 3.5) is 5.75 * 4.75 / 2.
    const T combs[][3] = {{5, 0, 1},    {5, 5, 1}, {5, 2, 10},
                          {5, 3, 10},   {5, 1, 5}, {5, 4, 5},
                          {10, 5, 252}, {3, 7, 1}, {T(5.75), T(3.5), T(13.65625)}};
    for (const auto& r : combs)
        EXPECT_EQ(A::Combinations(r[0], r[1]), r[2]) << r[0] << " over " << r[1];
}

TEST(AlgebraCombinatorics, LargeArgumentsAndIntegers) {
    EXPECT_TRUE(std::isinf(A::Permutations(1e9f)));  // stops once the product is infinite
    EXPECT_EQ(A::Permutations(13u), 1932053504u);    // 13! modulo 2^32
    EXPECT_EQ(A::Combinations(100, 97), 161700);     // exact despite C(100, 50)
    EXPECT_EQ(A::Combinations(0u, 3u), 1u);
}

TYPED_TEST(AlgebraTyped, QuadraticCases) {
    using T = TypeParam;
    const T P = mlDefaultPrecision<T>, r2 = std::sqrt(T(2e-6)), r7 = std::sqrt(T(1e-7)), no = -1;
    // a (no: the reduced form), b or p, c or q, prec, return, x1, x2; complex roots come as
    // (real, imaginary), the imaginary part guarded. The full form compares D with the fixed 1e-6.
    const T rows[][7] = {{no, 2, 5, P, 0, -1, 2},
                         {no, 0, T(0.01), T(0.05), 1, 0, 0},
                         {no, 0, -T(1e-7), T(1e-12), 2, -r7, r7},
                         {no, 0, T(1e-10), T(1e-12), 0, 0, 0},
                         {0, 0, 0, P, -2, 0, 0},
                         {0, 0, 1, P, -1, 0, 0},
                         {0, 2, -4, P, 1, 2, 2},
                         {2, -6, 4, P, 2, 1, 2},
                         {1, 0, 4, P, 0, 0, 2},
                         {1, 0, -T(1e-7), T(1e-12), 1, 0, 0},
                         {1, 0, T(1e-7), T(1e-12), 1, 0, 0},
                         {1, 0, -T(2e-6), P, 2, -r2, r2}};
    CMLComplex<T> z1, z2;  // roots are set, not assigned: a wide precision must not hide them
    z1.SetPrecision(100);
    for (const auto& r : rows) {
        T x1 = 7, x2 = 7;
        const bool reduced = r[0] == no;
        const int code = reduced ? A::SolveReducedQuadratic(r[1], r[2], x1, x2, r[3])
                                 : A::SolveQuadratic(r[0], r[1], r[2], x1, x2, r[3]);
        EXPECT_EQ(code, int(r[4])) << r[0] << " " << r[1] << " " << r[2];
        EXPECT_TRUE(Is3(x1, x2, T(0), r[5], r[6], 0)) << r[0] << " " << r[1] << " " << r[2];
        EXPECT_EQ(reduced ? A::SolveReducedQuadratic(r[1], r[2], z1, z2, r[3])
                          : A::SolveQuadratic(r[0], r[1], r[2], z1, z2, r[3]),
                  code);
        const T im = code == 0 ? x2 : T(0);  // a conjugate pair x1 -+ i x2, or two real roots
        EXPECT_TRUE(Is3(z1.Real(), z1.Imag(), z2.Real(), x1, -im, code == 0 ? x1 : x2)) << r[2];
        EXPECT_EQ(z2.Imag(), im);
    }
}

TYPED_TEST(AlgebraTyped, CubicCases) {
    using T = TypeParam;
    // a, b, c, return, x1, x2, x3 (for return 1: the real root, then the pair's real and
    // imaginary part), tolerance in units of Tol.
    const T rows[][8] = {{0, -1, 0, 3, -1, 1, 0, 1},              // x^3 - x, in the formula's order
                         {-6, 11, -6, 3, 1, 3, 2, 10},            // (x - 1)(x - 2)(x - 3)
                         {0, -T(1e-4), 0, 3, -0.01, 0.01, 0, 1},  // Q^3 below P, yet no NaN
                         {0, 0, -1, 1, 1, -0.5, std::sqrt(T(3)) / 2, 1},
                         {1, 4, 4, 1, -1, 0, 2, 10},  // (x + 1)(x^2 + 4), R < 0
                         {0, -3, 2, 2, -2, 1, 1, 0},  // (x - 1)^2 (x + 2): Q^3 = R^2 exactly
                         {0, 0, 0, 2, 0, 0, 0, 0}};
    for (const auto& r : rows) {
        T x[3];
        CMLComplex<T> z[3];
        const int code = A::SolveReducedCubic(r[0], r[1], r[2], x[0], x[1], x[2]);
        EXPECT_EQ(code, int(r[3])) << r[0] << " " << r[1] << " " << r[2];
        EXPECT_TRUE(Is3(x[0], x[1], x[2], r[4], r[5], r[6], r[7] * kTol<T>)) << r[2];
        EXPECT_EQ(A::SolveReducedCubic(r[0], r[1], r[2], z[0], z[1], z[2]), code);
        const T im = code == 1 ? x[2] : T(0), re3 = code == 1 ? x[1] : x[2];
        EXPECT_TRUE(Is3(z[0].Real(), z[1].Real(), z[2].Real(), x[0], x[1], re3));
        EXPECT_TRUE(Is3(z[0].Imag(), z[1].Imag(), z[2].Imag(), 0, -im, im));
    }
}

TYPED_TEST(AlgebraTyped, TwoByTwoSystems) {
    using T = TypeParam;
    const T P = mlDefaultPrecision<T>, wide = T(1e-3);
    // a, b, c, d, e, f, prec, return, status, x, y; a singular consistent system gives the
    // solution chosen by the first coefficient above prec.
    const T rows[][11] = {
        {2, 1, 1, -1, 3, 0, P, 1, 1, 1, 1},
        {1, 1, 1, T(1.002), 2, T(2.002), wide, 1, 2, 1, 1},  // 4.004 / 0.002 * 1e-3 > 1
        {0, 2, 0, 4, 2, 4, P, -2, 1, 1, 0},   // b: y = (e - b) / b = 0, although y = 1 solves it
        {1, 2, 2, 4, 3, 6, P, -2, 1, 1, 1},   // a: y = 1, x = (e - b) / a
        {0, 0, 2, 4, 0, 6, P, -2, 1, 1, 1},   // c: y = 1, x = (f - d) / c
        {0, 0, 0, 3, 0, 6, P, -2, 1, 1, 2},   // d: x = 1, y = (f - c) / d
        {0, 0, 0, 0, 5, 5, P, -2, 1, 1, 1},   // none: the numerators vanish whatever e and f are
        {1, 2, 2, 4, 3, 7, P, -1, 1, 0, 0}};  // inconsistent
    T x, y;
    int status;
    for (const auto& r : rows) {
        x = y = status = 9;
        EXPECT_EQ(A::Solve2x2System(r[0], r[1], r[2], r[3], r[4], r[5], x, y, status, r[6]),
                  int(r[7]));
        EXPECT_EQ(status, int(r[8]));
        EXPECT_TRUE(Is3(x, y, T(0), r[9], r[10], 0, r[6] == wide ? 1e-3 : kTol<T>));
    }
}

TEST(AlgebraThreeByThree, StatusAndSingularCasesByRank) {
    // a11 ... a33, b1, b2, b3, prec, return, status, x, y, z.
    const double rows[][18] = {
        {2, 1, -1, -3, -1, 2, -2, 1, 2, -3, 5, 2, 1e-9, 1, 1, 1, -2, 3},
        // diag(1, 1, 0.01): |A|_F |adj A|_F / det = sqrt(2.0001 * 1.0002) / 0.01 ~ 141.4
        {1, 0, 0, 0, 1, 0, 0, 0, 0.01, 1, 1, 1, 1e-3, 1, 1, 1, 1, 100},
        {1, 0, 0, 0, 1, 0, 0, 0, 0.01, 1, 1, 1, 0.008, 1, 2, 1, 1, 100},
        // Rank 2, row 3 = row 1 + row 2. The first cofactor above prec from C33 back fixes its
        // unknown to 1: C33 = -3 (z); C33 = 0, C32 = -1 (y); rows 1 and 2 parallel, C23 = -1 (z)
        {1, 2, 3, 4, 5, 6, 5, 7, 9, 1, 1, 2, 1e-9, -2, 1, 0, -1, 1},
        {1, 2, 3, 4, 5, 6, 5, 7, 9, 1, 1, 5, 1e-9, -1, 1, 0, 0, 0},
        {1, 2, 0, 2, 4, 1, 3, 6, 1, 3, 9, 12, 1e-9, -2, 1, 1, 1, 3},
        {1, 2, 3, 2, 4, 6, 0, 1, 1, 8, 16, 3, 1e-9, -2, 1, 1, 2, 1},
        // Rank 1, pivot a12 = 2: x = z = 1, y = (2 - 0 - 4) / 2
        {0, 2, 4, 0, 1, 2, 0, 3, 6, 2, 1, 3, 1e-9, -2, 1, 1, -1, 1},
        {0, 2, 4, 0, 1, 2, 0, 3, 6, 2, 1, 4, 1e-9, -1, 1, 0, 0, 0},
        // Rank 0: consistent only with a zero right-hand side (unlike the 2x2 solver)
        {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1e-9, -2, 1, 1, 1, 1},
        {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1e-9, -1, 1, 0, 0, 0}};
    for (const auto& r : rows) {
        double x = 9, y = 9, z = 9;
        int status = 0;
        EXPECT_EQ(A::Solve3x3System(r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7], r[8], r[9],
                                    r[10], r[11], x, y, z, status, r[12]),
                  int(r[13]))
            << r[0] << r[1] << r[11];
        EXPECT_EQ(status, int(r[14]));
        EXPECT_TRUE(Is3(x, y, z, r[15], r[16], r[17], 1e-12)) << r[0] << r[1] << r[11];
        for (int i = 0; i < 3 && r[13] == -2; ++i)  // the chosen solution solves every equation
            EXPECT_NEAR(r[3 * i] * x + r[3 * i + 1] * y + r[3 * i + 2] * z, r[9 + i], 1e-12);
    }
}

TEST(AlgebraBrackets, SearchWidensAndNarrowSplits) {
    double x1 = 0, x2 = 1;
    int calls = 0;
    EXPECT_EQ(A::SearchRootBrackets(x1, x2, [&](double x) { return ++calls, x + 10; }), 1);
    EXPECT_TRUE(Is3(x1, x2, double(calls), -16.576, 1, 5, 1e-12));  // x1: -1.6, -5.76, -16.576
    // f(x) = x - 10 from [0, 1]: the second branch moves x2 but stores f(x1) as f2, so the sign
    // change at 10 is never seen: 49 widenings of x2 (by 2.6 each), 51 evaluations.
    x1 = calls = 0;
    x2 = 1;
    EXPECT_EQ(A::SearchRootBrackets(x1, x2, [&](double x) { return ++calls, x - 10; }), 0);
    EXPECT_TRUE(Is3(x1, x2 / std::pow(2.6, 49), double(calls), 0, 1, 51, 1e-9));
    double xb1[40], xb2[40];  // narrowing records every sub-interval with a sign change
    int nb = -1;
    A::NarrowRootBrackets(0.5, 10.0, 40, nb, xb1, xb2, [](double x) { return std::sin(x); });
    ASSERT_EQ(nb, 3);
    for (int k = 1; k <= 3; ++k)  // sub-intervals of width 9.5 / 40 around pi, 2 pi, 3 pi
        EXPECT_TRUE(xb1[k - 1] < k * mlPi<double> && k * mlPi<double> < xb2[k - 1]) << k;
    float fb1[2], fb2[2];  // a root on a division point brackets both neighbours
    A::NarrowRootBrackets(0.0f, 2.0f, 2, nb, fb1, fb2, [](float x) { return x - 1; });
    EXPECT_TRUE(Is3(float(nb), fb1[0], fb2[0], 2, 0, 1));
    EXPECT_TRUE(Is3(fb1[1], fb2[1], 0.0f, 1, 2, 0));
}

TYPED_TEST(AlgebraTyped, RootFindersConvergeOnKnownRoots) {
    using T = TypeParam;
    const bool isFloat = std::is_same_v<T, float>;
    const double tol = isFloat ? 1e-6 : 1e-12;  // converts to T
    const double acc = isFloat ? 2e-6 : 1e-9;   // |f| <= 1e-9 stops them within 1e-9 / |f'|
    const auto check = [&](auto f, auto df, T lo, T hi, double root) {
        EXPECT_NEAR(A::Bisection(lo, hi, tol, f), root, acc);
        EXPECT_NEAR(A::Secant(lo, hi, tol, f), root, acc);
        EXPECT_NEAR(A::Brent(lo, hi, tol, f), root, acc);
        EXPECT_NEAR(A::SafeNewton(lo, hi, tol, f, df), root, acc);
        T r = 0;
        EXPECT_EQ(A::Newton(lo, hi, tol, r, f, df), 1);
        EXPECT_NEAR(r, root, acc);
    };
    check(Cubic, CubicSlope, 2, 3, kCubicRoot);
    check(Dottie, DottieSlope, 0, 1, kDottie);
}

TEST(AlgebraRootFinders, StoppingRulesAndCaps) {
    int calls = 0;
    const auto n = [&calls](double (*f)(double)) {
        return [&calls, f](double x) { return ++calls, f(x); };
    };
    double root = -7;
    // Bisection: |f| <= 1e-9 stops it at the first midpoint (f(1) = -6.25e-10) or at an end.
    EXPECT_EQ(A::Bisection(0.0, 2.0, 1e-15, [](double x) { return (x - 1.0625) * 1e-8; }), 1.0);
    EXPECT_EQ(A::Bisection(0.0, 2.0, 1e-15, [](double x) { return (x - 1) * 1e-10; }), 0.0);
    // Secant: no root runs the 49 steps; |f| < 1e-9 stops a full step; a flat secant stops.
    A::Secant(0.0, 1.0, 0.0, n([](double x) { return std::cos(x) + 2; }));
    EXPECT_EQ(std::exchange(calls, 0), 2 + 49);
    EXPECT_EQ(A::Secant(0.0, 3.0, 0.0, n([](double x) { return (x - 1) * 1e-8; })), 1.0);
    EXPECT_EQ(std::exchange(calls, 0), 3);
    EXPECT_EQ(A::Secant(0.0, 1.0, 1e-9, [](double) { return 3.0; }), 1.0);
    // Brent: no sign change (the end with the smaller |f| comes back); a sign change
    // without a zero runs into the 100-iteration cap; |f(b)| < 1e-9.
    double (*const noRoot)(double) = NoRoot;  // a plain function pointer
    EXPECT_EQ(A::Brent(0.5, 2.0, 1e-9, noRoot), 0.5);
    EXPECT_NEAR(A::Brent(0.0, 1.0, -1.0, n(Step)), 0.3, 1e-9);
    EXPECT_EQ(std::exchange(calls, 0), 2 + 100);
    EXPECT_EQ(A::Brent(0.0, 3.0, 0.0, [](double x) { return (x - 2.5) * 1e-10; }), 3.0);
    // Newton: from 2.55 the iterates converge to 2.0946, below the interval [2.1, 3].
    EXPECT_EQ(A::Newton(2.1, 3.0, 1e-12, root, Cubic, CubicSlope), 0);
    EXPECT_EQ(A::Newton(-1.0, 1.0, 1e-12, root, NoRoot, Twice), 0);          // zero slope, no root
    EXPECT_EQ(A::Newton(-1.0, 1.0, 1e-12, root, Cycler, n(CubicSlope)), 0);  // the 19-step cap
    EXPECT_EQ(std::exchange(calls, 0), 19);
    EXPECT_EQ(root, -7.0);
    // SafeNewton converges where Newton cycles; an end with |f| < 1e-9 comes back at once.
    EXPECT_NEAR(A::SafeNewton(-2.0, 1.0, 1e-13, Cycler, CubicSlope), -1.7692923542386314, 1e-12);
    EXPECT_EQ(A::SafeNewton(1e-10, -5.0, 1e-9, Twice, Twice), 1e-10);
    EXPECT_EQ(A::SafeNewton(0.5, 2.0, 1e-9, NoRoot, Twice), 0.5);  // no sign change
    // A sign change without a zero: bisection until the 100-iteration cap or no progress.
    EXPECT_NEAR(A::SafeNewton(0.0, 1.0, 0.0, n(Step), [](double) { return 0.0; }), 0.3, 1e-15);
    EXPECT_LE(std::exchange(calls, 0), 2 + 1 + 100);
}

}  // namespace
