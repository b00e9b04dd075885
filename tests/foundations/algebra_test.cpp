#include <ml/algebra.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using A = CMLAlgebra;

template <class T>
class AlgebraTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AlgebraTyped, RealTypes);

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(2e-5) : T(1e-12);
}

// (x, y, z) within tol of (ex, ey, ez); tol 0 asks for exact values.
template <class T>
::testing::AssertionResult Is3(T x, T y, T z, double ex, double ey, double ez, double tol = 0) {
    if (std::fabs(x - ex) <= tol && std::fabs(y - ey) <= tol && std::fabs(z - ez) <= tol)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << x << ", " << y << ", " << z << ")";
}

// Solve3x3System with the twelve coefficients a11 ... a33, b1, b2, b3 in one array.
template <class T>
int Solve3(const T (&m)[12], T& x, T& y, T& z, int& status, T prec = mlDefaultPrecision<T>) {
    return A::Solve3x3System(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10],
                             m[11], x, y, z, status, prec);
}

// Functions with known roots.
const auto Cubic = [](double x) { return x * x * x - 2 * x - 5; };
const auto CubicSlope = [](double x) { return 3 * x * x - 2; };
constexpr double kCubicRoot = 2.0945514815423265;
const auto Dottie = [](double x) { return std::cos(x) - x; };
const auto DottieSlope = [](double x) { return -std::sin(x) - 1; };
constexpr double kDottie = 0.7390851332151607;
const auto Cycler = [](double x) { return x * x * x - 2 * x + 2; };  // Newton cycles 0 -> 1 -> 0
const auto Square2 = [](double x) { return x * x - 2; };
const auto NoRoot = [](double x) { return x * x + 1; };
const auto Twice = [](double x) { return 2 * x; };
const auto Cosine = [](double x) { return std::cos(x); };
const auto Step = [](double x) { return x < 0.3 ? -1.0 : 1.0; };  // a sign change, no zero
double Overloaded(double x) {
    return x - 0.25;
}
float Overloaded(float x) {
    return x - 0.5f;
}

// ---- Combinatorics ----

TYPED_TEST(AlgebraTyped, PermutationsAndCombinations) {
    using T = TypeParam;
    const T perms[][2] = {{0, 1}, {1, 1}, {-3, 1}, {5, 120}, {T(2.7), 6}};  // k < n + 0.5: 2 * 3
    for (const auto& r : perms)
        EXPECT_EQ(A::Permutations(r[0]), r[1]) << r[0];
    const T combs[][3] = {{5, 0, 1}, {5, 5, 1}, {5, 2, 10},   {5, 3, 10},
                          {5, 1, 5}, {5, 4, 5}, {10, 5, 252}, {3, 7, 1}};
    for (const auto& r : combs)
        EXPECT_EQ(A::Combinations(r[0], r[1]), r[2]) << r[0] << " over " << r[1];
}

TEST(AlgebraCombinatorics, LargeArgumentsAndIntegers) {
    EXPECT_EQ(A::Permutations(20.0), 2432902008176640000.0);
    EXPECT_TRUE(std::isinf(A::Permutations(171.0)));
    EXPECT_TRUE(std::isinf(A::Permutations(1e9f)));  // stops once the product is infinite
    EXPECT_NEAR(A::Combinations(50.0, 25.0), 126410606437752.0, 1.0);
    EXPECT_EQ(A::Permutations(13u), 1932053504u);  // 13! modulo 2^32
    EXPECT_EQ(A::Combinations(30, 15), 155117520);
    EXPECT_EQ(A::Combinations(100, 97), 161700);  // exact despite C(100, 50)
    EXPECT_EQ(A::Combinations(70000, 2), static_cast<int>(2449965000LL - 4294967296LL));  // wraps
    EXPECT_EQ(A::Combinations(0u, 3u), 1u);
    EXPECT_EQ(A::Combinations(-3, -5), 1);
}

// ---- Quadratic equations ----

TYPED_TEST(AlgebraTyped, QuadraticCases) {
    using T = TypeParam;
    const T P = mlDefaultPrecision<T>, r2 = std::sqrt(T(2e-6)), r7 = std::sqrt(T(1e-7));
    // p, q, prec, return, x1, x2 of the reduced form; complex roots give (real, imaginary).
    const T reduced[][6] = {{-3, 2, P, 2, 1, 2},
                            {-2, 1, P, 1, 1, 1},
                            {2, 5, P, 0, -1, 2},
                            {0, T(0.01), T(0.05), 1, 0, 0},
                            {0, -T(1e-7), T(1e-12), 2, -r7, r7},
                            {0, T(1e-10), T(1e-12), 0, 0, 0},  // the imaginary part is guarded
                            {0, -T(1e-10), T(1e-12), 2, 0, 0}};
    for (const auto& r : reduced) {
        T x1 = 7, x2 = 7;
        EXPECT_EQ(A::SolveReducedQuadratic(r[0], r[1], x1, x2, r[2]), int(r[3])) << r[1];
        EXPECT_TRUE(Is3(x1, x2, T(0), r[4], r[5], 0)) << r[1];
    }
    // a, b, c, prec, return, x1, x2; D is compared with the fixed 1e-6, not with prec.
    const T full[][7] = {{0, 0, 0, P, -2, 0, 0},
                         {0, 0, 1, P, -1, 0, 0},
                         {0, 2, -4, P, 1, 2, 2},
                         {2, -6, 4, P, 2, 1, 2},
                         {1, 0, 1, P, 0, 0, 1},
                         {1, 0, -T(1e-7), P, 1, 0, 0},
                         {1, 0, -T(1e-7), T(1e-12), 1, 0, 0},
                         {1, 0, T(1e-7), T(1e-12), 1, 0, 0},
                         {1, 0, -T(2e-6), P, 2, -r2, r2}};
    for (const auto& r : full) {
        T x1 = 5, x2 = 5;
        EXPECT_EQ(A::SolveQuadratic(r[0], r[1], r[2], x1, x2, r[3]), int(r[4]))
            << r[1] << " " << r[2];
        EXPECT_TRUE(Is3(x1, x2, T(0), r[5], r[6], 0)) << r[1] << " " << r[2];
    }
}

TEST(AlgebraQuadratic, ComplexOverloads) {
    CMLComplex<double> z1, z2;
    z1.SetPrecision(0.5);  // the roots are set, not assigned, so the precision does not hide them
    EXPECT_EQ(A::SolveReducedQuadratic(2.0, 5.0, z1, z2), 0);
    EXPECT_TRUE(Is3(z1.Real(), z1.Imag(), z2.Imag(), -1, -2, 2));
    EXPECT_EQ(z1.GetPrecision(), 0.5);
    EXPECT_EQ(A::SolveQuadratic(1.0, -3.0, 2.0, z1, z2), 2);
    EXPECT_TRUE(Is3(z1.Real(), z2.Real(), z2.Imag(), 1, 2, 0));
    CMLComplex<float> f1, f2;
    EXPECT_EQ(A::SolveQuadratic(1.0f, 0.0f, 4.0f, f1, f2), 0);
    EXPECT_TRUE(Is3(f1.Real(), f1.Imag(), f2.Imag(), 0, -2, 2));
    EXPECT_EQ(A::SolveQuadratic(0.0f, 0.0f, 0.0f, f1, f2), -2);
    EXPECT_EQ(f1.Real(), 0.0f);
}

// ---- Reduced cubic ----

TYPED_TEST(AlgebraTyped, CubicCases) {
    using T = TypeParam;
    const T tol = Tol<T>(), h = std::sqrt(T(3)) / 2;
    T x1, x2, x3;
    CMLComplex<T> z1, z2, z3;
    EXPECT_EQ(A::SolveReducedCubic(T(0), T(-1), T(0), x1, x2, x3), 3);  // in the formula's order
    EXPECT_TRUE(Is3(x1, x2, x3, -1, 1, 0, tol));
    EXPECT_EQ(A::SolveReducedCubic(T(-6), T(11), T(-6), x1, x2, x3), 3);  // (x-1)(x-2)(x-3)
    for (T r : {x1, x2, x3})
        EXPECT_NEAR((r - 1) * (r - 2) * (r - 3), T(0), 10 * tol);
    EXPECT_NEAR(x1 + x2 + x3, T(6), 10 * tol);
    // One real root and a pair (real part, imaginary part).
    EXPECT_EQ(A::SolveReducedCubic(T(0), T(0), T(-1), x1, x2, x3), 1);
    EXPECT_TRUE(Is3(x1, x2, x3, 1, -0.5, h, tol));
    EXPECT_EQ(A::SolveReducedCubic(T(0), T(0), T(-1), z1, z2, z3), 1);
    EXPECT_TRUE(Is3(z1.Imag(), z2.Real(), z2.Imag(), 0, -0.5, -h, tol));
    EXPECT_NEAR(z3.Imag(), h, tol);
    EXPECT_EQ(A::SolveReducedCubic(T(1), T(4), T(4), x1, x2, x3), 1);  // (x + 1)(x^2 + 4), R < 0
    EXPECT_TRUE(Is3(x1, x2, x3, -1, 0, 2, 10 * tol));
    // (x - 1)^2 (x + 2): Q^3 = R^2 exactly; x^3: all zero.
    EXPECT_EQ(A::SolveReducedCubic(T(0), T(-3), T(2), x1, x2, x3), 2);
    EXPECT_TRUE(Is3(x1, x2, x3, -2, 1, 1));
    EXPECT_EQ(A::SolveReducedCubic(T(0), T(-3), T(2), z1, z2, z3), 2);
    EXPECT_TRUE(Is3(z3.Real(), z3.Imag(), T(0), 1, 0, 0));
    EXPECT_EQ(A::SolveReducedCubic(T(0), T(0), T(0), x1, x2, x3), 2);
    EXPECT_TRUE(Is3(x1, x2, x3, 0, 0, 0));
    // x^3 - 1e-4 x: Q^3 is below P, yet the three roots come out without NaN.
    EXPECT_EQ(A::SolveReducedCubic(T(0), T(-1e-4), T(0), x1, x2, x3), 3);
    EXPECT_TRUE(Is3(x1, x2, x3, -0.01, 0.01, 0, tol));
}

// ---- Linear systems ----

TYPED_TEST(AlgebraTyped, RegularSystems) {
    using T = TypeParam;
    T x = 0, y = 0, z = 0;
    int status = 0;
    EXPECT_EQ(Solve3<T>({2, 1, -1, -3, -1, 2, -2, 1, 2, -3, 5, 2}, x, y, z, status), 1);
    EXPECT_EQ(status, 1);
    EXPECT_TRUE(Is3(x, y, z, 1, -2, 3, Tol<T>()));
    EXPECT_EQ(A::Solve2x2System(T(2), T(1), T(1), T(-1), T(3), T(0), x, y, status), 1);
    EXPECT_TRUE(Is3(x, y, T(status), 1, 1, 1));
    // (1 + 1 + 1 + 1.002^2) / 0.002 * 1e-3 = 2.002 > 1: ill-conditioned.
    const T p = T(1e-3);
    EXPECT_EQ(A::Solve2x2System(T(1), T(1), T(1), T(1.002), T(2), T(2.002), x, y, status, p), 1);
    EXPECT_EQ(status, 2);
    EXPECT_NEAR(x, T(1), T(1e-3));
    EXPECT_EQ(A::Solve2x2System(T(1), T(1), T(1), T(1.01), T(2), T(2.01), x, y, status, p), 1);
    EXPECT_EQ(status, 1);
}

TEST(AlgebraTwoByTwo, SingularSystems) {
    // a, b, c, d, e, f, x, y of the solution chosen by the first coefficient above prec.
    const double rows[][8] = {
        {0, 2, 0, 4, 2, 4, 1, 0},   // b: y = (e - b) / b = 0, although y = 1 solves it
        {1, 2, 2, 4, 3, 6, 1, 1},   // a: y = 1, x = (e - b) / a
        {0, 0, 2, 4, 0, 6, 1, 1},   // c: y = 1, x = (f - d) / c
        {0, 0, 0, 3, 0, 6, 1, 2},   // d: x = 1, y = (f - c) / d
        {0, 0, 0, 0, 5, 5, 1, 1}};  // none: the numerators vanish whatever e and f are
    for (const auto& r : rows) {
        double x = 0, y = 0;
        int status = 0;
        EXPECT_EQ(A::Solve2x2System(r[0], r[1], r[2], r[3], r[4], r[5], x, y, status), -2);
        EXPECT_TRUE(Is3(x, y, double(status), r[6], r[7], 1)) << r[0] << r[1] << r[2] << r[3];
    }
    float x = 3, y = 3;
    int status = 0;
    EXPECT_EQ(A::Solve2x2System(1.0f, 2.0f, 2.0f, 4.0f, 3.0f, 7.0f, x, y, status), -1);
    EXPECT_TRUE(Is3(x, y, float(status), 0, 0, 1));
}

TEST(AlgebraThreeByThree, IllConditionedStatus) {
    double x, y, z;
    int status = 0;
    // diag(1, 1, 0.01): |A|_F |adj A|_F / det = sqrt(2.0001) * sqrt(1.0002) / 0.01 ~ 141.4.
    EXPECT_EQ(Solve3<double>({1, 0, 0, 0, 1, 0, 0, 0, 0.01, 1, 1, 1}, x, y, z, status, 1e-3), 1);
    EXPECT_EQ(status, 1);
    EXPECT_NEAR(z, 100.0, 1e-12);
    EXPECT_EQ(Solve3<double>({1, 0, 0, 0, 1, 0, 0, 0, 0.01, 1, 1, 1}, x, y, z, status, 0.008), 1);
    EXPECT_EQ(status, 2);
    // A nearly singular 2x2 block: sqrt(5.004 * 4.004) / 0.002 * 1e-3 = 2.24 > 1.
    EXPECT_EQ(Solve3<double>({1, 1, 0, 1, 1.002, 0, 0, 0, 1, 2, 2.002, 1}, x, y, z, status, 1e-3),
              1);
    EXPECT_EQ(status, 2);
}

TEST(AlgebraThreeByThree, SingularSystemsByRank) {
    double x, y, z;
    int status = 0;
    // Rank 2, row 3 = row 1 + row 2; C33 = -3 is the first cofactor: z = 1.
    EXPECT_EQ(Solve3<double>({1, 2, 3, 4, 5, 6, 5, 7, 9, 1, 1, 2}, x, y, z, status), -2);
    EXPECT_EQ(status, 1);
    EXPECT_TRUE(Is3(x, y, z, 0, -1, 1, 1e-15));
    EXPECT_EQ(Solve3<double>({1, 2, 3, 4, 5, 6, 5, 7, 9, 1, 1, 5}, x, y, z, status), -1);
    EXPECT_TRUE(Is3(x, y, z, 0, 0, 0));
    // Rank 1, pivot a12 = 2: x = z = 1, y = (2 - 0 - 4) / 2.
    EXPECT_EQ(Solve3<double>({0, 2, 4, 0, 1, 2, 0, 3, 6, 2, 1, 3}, x, y, z, status), -2);
    EXPECT_TRUE(Is3(x, y, z, 1, -1, 1));
    EXPECT_EQ(Solve3<double>({0, 2, 4, 0, 1, 2, 0, 3, 6, 2, 1, 4}, x, y, z, status), -1);
    // Rank 0: consistent only with a zero right-hand side (unlike the 2x2 solver).
    EXPECT_EQ(Solve3<double>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, x, y, z, status), -2);
    EXPECT_TRUE(Is3(x, y, z, 1, 1, 1));
    EXPECT_EQ(Solve3<double>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, x, y, z, status), -1);
    EXPECT_EQ(status, 1);
}

TEST(AlgebraThreeByThree, ChosenSolutionsSolveTheSystem) {
    // Rank-2 systems from pairs of rows: whatever unknown is fixed, all three equations hold.
    const double rows[4][3] = {{0, 0, 1}, {0, 3, 0}, {2, 0, 0}, {1, -1, 2}};
    for (int p = 0; p < 4; ++p) {
        for (int q = 0; q < 4; ++q) {
            if (p == q) continue;
            const double *r1 = rows[p], *r2 = rows[q], b1 = 1.5, b2 = -0.5;
            double m[12] = {r1[0], r1[1], r1[2], r2[0], r2[1], r2[2], 0, 0, 0, b1, b2, 2 * b1 - b2};
            for (int j = 0; j < 3; ++j)
                m[6 + j] = 2 * r1[j] - r2[j];
            double x, y, z;
            int status;
            ASSERT_EQ(Solve3(m, x, y, z, status), -2);
            const auto row = [&](int i) {
                return m[3 * i] * x + m[3 * i + 1] * y + m[3 * i + 2] * z;
            };
            EXPECT_TRUE(Is3(row(0), row(1), row(2), m[9], m[10], m[11], 1e-12));
        }
    }
}

// ---- Bracketing ----

TEST(AlgebraBrackets, SearchWidensUpTo49Times) {
    double x1 = 0, x2 = 1;
    EXPECT_EQ(A::SearchRootBrackets(x1, x2, [](double x) { return x + 10; }), 1);
    EXPECT_NEAR(x1, -16.576, 1e-12);  // 0 -> -1.6 -> -5.76 -> -16.576
    EXPECT_EQ(x2, 1.0);
    // Already bracketed: nothing moves, two evaluations.
    int calls = 0;
    x1 = 0;
    x2 = 3;
    EXPECT_EQ(A::SearchRootBrackets(x1, x2, [&](double x) { return ++calls, Cubic(x); }), 1);
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(Is3(x1, x2, 0.0, 0, 3, 0));
    // f(x) = x - 10 from [0, 1]: the second branch moves x2 but stores f(x1) as f2, so the sign
    // change at 10 is never seen. 49 widenings, 51 evaluations, all but one at x1 = 0.
    std::vector<double> at;
    x1 = 0;
    x2 = 1;
    EXPECT_EQ(A::SearchRootBrackets(x1, x2, [&](double x) { return at.push_back(x), x - 10; }), 0);
    ASSERT_EQ(at.size(), 51u);
    EXPECT_EQ(at[1], 1.0);
    for (std::size_t i = 2; i < at.size(); ++i)
        EXPECT_EQ(at[i], 0.0);
    EXPECT_EQ(x1, 0.0);
    EXPECT_NEAR(x2, std::pow(2.6, 49), 1e-9 * std::pow(2.6, 49));
    calls = 0;
    float f1 = -1, f2 = 1;
    EXPECT_EQ(A::SearchRootBrackets(f1, f2, [&](float x) { return ++calls, x * x + 1; }), 0);
    EXPECT_EQ(calls, 51);
}

TEST(AlgebraBrackets, NarrowFindsEverySignChange) {
    double xb1[40], xb2[40];
    int nb = -1;
    const auto sine = [](double x) { return std::sin(x); };
    A::NarrowRootBrackets(0.5, 10.0, 40, nb, xb1, xb2, sine);
    ASSERT_EQ(nb, 3);
    for (int k = 0; k < 3; ++k) {
        EXPECT_TRUE(xb1[k] < (k + 1) * mlPi<double> && xb2[k] > (k + 1) * mlPi<double>) << k;
        EXPECT_NEAR(xb2[k] - xb1[k], 9.5 / 40, 1e-12);
    }
    A::NarrowRootBrackets(0.5, 10.0, 0, nb, xb1, xb2, sine);
    EXPECT_EQ(nb, 0);
    // A root on a division point brackets both neighbours.
    A::NarrowRootBrackets(0.0, 2.0, 2, nb, xb1, xb2, [](double x) { return x - 1; });
    ASSERT_EQ(nb, 2);
    EXPECT_TRUE(Is3(xb1[0], xb2[0], xb1[1], 0, 1, 1));
    EXPECT_EQ(xb2[1], 2.0);
}

// ---- Root finders: they stop once |f| <= 1e-9, so a root is found to 1e-9 / |f'| at worst ----

TEST(AlgebraBisection, ConvergesAndStops) {
    EXPECT_NEAR(A::Bisection(0.0, 2.0, 1e-12, Square2), std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(A::Bisection(0.0, 2.0, 0.0, Cosine), mlPi<double> / 2, 1e-9);
    EXPECT_NEAR(A::Bisection(0.0f, 2.0f, 0.0f, [](float x) { return x * x - 2; }), std::sqrt(2.0f),
                3e-7f);
    EXPECT_EQ(A::Bisection(-3.0, 1.0, 1e-6, [](double x) { return x - 1; }), 1.0);  // an end root
    // |f(mid)| <= 1e-9 ends the halving on the first midpoint: f(1) = -6.25e-10.
    int calls = 0;
    EXPECT_EQ(A::Bisection(0.0, 2.0, 1e-15, [&](double x) { return ++calls, (x - 1.0625) * 1e-8; }),
              1.0);
    EXPECT_EQ(calls, 3);
    // The same residual at an end returns that end without halving.
    calls = 0;
    EXPECT_EQ(A::Bisection(0.0, 2.0, 1e-15, [&](double x) { return ++calls, (x - 1) * 1e-10; }),
              0.0);
    EXPECT_EQ(calls, 1);
    // Without a sign change it closes in on x2.
    EXPECT_NEAR(A::Bisection(0.0, 1.0, 1e-12, NoRoot), 1.0, 1e-12);
}

TEST(AlgebraSecant, ConvergesWithinItsStepCap) {
    EXPECT_NEAR(A::Secant(2.0, 3.0, 1e-12, Cubic), kCubicRoot, 1e-10);
    EXPECT_NEAR(A::Secant(0.0, 1.0, 1e-12, Dottie), kDottie, 1e-9);
    EXPECT_NEAR(A::Secant(1.0f, 2.0f, 1e-6f, [](float x) { return x * x - 2; }), std::sqrt(2.0f),
                1e-6f);
    int calls = 0;  // no root: the iteration runs its 49 steps
    A::Secant(0.0, 1.0, 0.0, [&](double x) { return ++calls, std::cos(x) + 2; });
    EXPECT_EQ(calls, 2 + 49);
    calls = 0;  // a flat secant stops at once
    EXPECT_EQ(A::Secant(0.0, 1.0, 1e-9, [&](double) { return ++calls, 3.0; }), 1.0);
    EXPECT_EQ(calls, 2);
}

TEST(AlgebraBrent, ConvergesWithinItsLimits) {
    EXPECT_NEAR(A::Brent(2.0, 3.0, 1e-12, Cubic), kCubicRoot, 1e-10);
    // Here the relative term 2e-9 |b| ends the search first.
    EXPECT_NEAR(A::Brent(1.0, 2.0, 1e-12, Cosine), mlPi<double> / 2, 2e-9 * 1.6);
    EXPECT_NEAR(A::Brent(0.0, 1.0, 1e-6, Step), 0.3, 1e-6);  // no zero: the tolerance decides
    EXPECT_NEAR(A::Brent(2.0f, 3.0f, 1e-6f, [](float x) { return x * x * x - 2 * x - 5; }),
                float(kCubicRoot), 2e-6f);
    // Without a sign change the end with the smaller |f| comes back, nothing else is evaluated.
    int calls = 0;
    EXPECT_EQ(A::Brent(0.5, 2.0, 1e-9, [&](double x) { return ++calls, NoRoot(x); }), 0.5);
    EXPECT_EQ(calls, 2);
    // A tolerance that can never be met: the 100-iteration cap.
    calls = 0;
    EXPECT_NEAR(A::Brent(0.0, 1.0, -1.0, [&](double x) { return ++calls, Step(x); }), 0.3, 1e-9);
    EXPECT_EQ(calls, 2 + 100);
    // |f(b)| < 1e-9 stops at once even with a zero tolerance.
    EXPECT_EQ(A::Brent(0.0, 2.0, 0.0, [](double x) { return (x - 2) * 1e-10; }), 2.0);
}

TEST(AlgebraNewton, ConvergesAndReportsFailures) {
    double root = -7;
    EXPECT_EQ(A::Newton(2.0, 3.0, 1e-12, root, Cubic, CubicSlope), 1);
    EXPECT_NEAR(root, kCubicRoot, 1e-14);
    EXPECT_EQ(A::Newton(0.0, 1.0, 1e-12, root, Dottie, DottieSlope), 1);
    EXPECT_NEAR(root, kDottie, 1e-14);
    // x^2 - 2 from the midpoint of [1.5, 3]: 2.25 -> 1.569 -> 1.4226 leaves the interval.
    root = -7;
    EXPECT_EQ(A::Newton(1.5, 3.0, 1e-12, root, Square2, Twice), 0);
    EXPECT_EQ(root, -7.0);
    // Zero derivative away from a root.
    EXPECT_EQ(A::Newton(-1.0, 1.0, 1e-12, root, NoRoot, Twice), 0);
    int slopes = 0;  // a cycle runs into the 19-iteration cap
    const auto countedSlope = [&](double x) { return ++slopes, CubicSlope(x); };
    EXPECT_EQ(A::Newton(-1.0, 1.0, 1e-12, root, Cycler, countedSlope), 0);
    EXPECT_EQ(slopes, 19);
    EXPECT_EQ(root, -7.0);
}

TEST(AlgebraSafeNewton, ConvergesWhereNewtonCycles) {
    EXPECT_NEAR(A::SafeNewton(-2.0, 1.0, 1e-13, Cycler, CubicSlope), -1.7692923542386314, 1e-12);
    EXPECT_NEAR(A::SafeNewton(2.0, 3.0, 1e-13, Cubic, CubicSlope), kCubicRoot, 1e-13);
    EXPECT_NEAR(A::SafeNewton(
                    0.0f, 1.0f, 1e-6f, [](float x) { return std::cos(x) - x; },
                    [](float x) { return -std::sin(x) - 1; }),
                float(kDottie), 1e-6f);
    const auto line = [](double x) { return x - 2; };
    const auto one = [](double) { return 1.0; };
    EXPECT_EQ(A::SafeNewton(2.0, 5.0, 1e-9, line, one), 2.0);
    EXPECT_EQ(A::SafeNewton(-1.0, 2.0, 1e-9, line, one), 2.0);
    EXPECT_EQ(A::SafeNewton(2 + 1e-10, 5.0, 1e-9, line, one), 2 + 1e-10);  // |f| < 1e-9 at x1
    EXPECT_EQ(A::SafeNewton(0.5, 2.0, 1e-9, NoRoot, Twice), 0.5);
    // A sign change without a zero: bisection until the cap of 100 iterations or no progress.
    int calls = 0;
    const auto countedStep = [&](double x) { return ++calls, Step(x); };
    EXPECT_NEAR(A::SafeNewton(0.0, 1.0, 0.0, countedStep, [](double) { return 0.0; }), 0.3, 1e-15);
    EXPECT_LE(calls, 2 + 1 + 100);
}

// ---- The caller's function ----

struct Shifted {
    double shift;
    double operator()(double x) const { return x - shift; }
};

TEST(AlgebraCallables, PointersLambdasAndFunctionObjects) {
    double (*pointer)(double) = Cubic;
    EXPECT_NEAR(A::Brent<double>(2, 3, 1e-12, pointer), kCubicRoot, 1e-10);
    const Shifted object{0.6};
    EXPECT_NEAR(A::Bisection<double>(0, 1, 1e-12, object), 0.6, 1e-9);
    // An overload set: the pointer overload selects the member for T.
    EXPECT_NEAR(A::Bisection<double>(0, 1, 1e-12, Overloaded), 0.25, 1e-9);
    EXPECT_NEAR(A::Bisection(0.0f, 1.0f, 1e-7, Overloaded), 0.5f, 1e-7f);  // the tolerance converts
    // The function object is called, not copied: its state is visible afterwards.
    struct Counter {
        int calls = 0;
        double operator()(double x) { return ++calls, x - 0.5; }
    } counter;
    A::Brent<double>(0, 1, 1e-12, counter);
    EXPECT_GT(counter.calls, 2);
    // Through an object, with a stateless lambda as the derivative; types deduced.
    const CMLAlgebra algebra;
    double root = 0;
    EXPECT_EQ(algebra.Newton(0.0, 2.0, 1e-12, root, Shifted{1.25}, [](double) { return 1.0; }), 1);
    EXPECT_EQ(root, 1.25);
    float r1 = 0, r2 = 0;
    EXPECT_EQ(algebra.SolveQuadratic(1.0f, -3.0f, 2.0f, r1, r2, 1e-6), 2);  // double precision
    EXPECT_TRUE(Is3(r1, r2, 0.0f, 1, 2, 0));
}

}  // namespace
