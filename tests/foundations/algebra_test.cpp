#include <ml/algebra.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

template <class T>
class AlgebraTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AlgebraTyped, RealTypes);

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(2e-5) : T(1e-12);
}

// Test functions with known roots.
double Cubic(double x) {
    return x * x * x - 2 * x - 5;
}  // root 2.0945514815423265
double CubicSlope(double x) {
    return 3 * x * x - 2;
}
constexpr double kCubicRoot = 2.0945514815423265;
double Dottie(double x) {
    return std::cos(x) - x;
}  // root 0.7390851332151607
double DottieSlope(double x) {
    return -std::sin(x) - 1;
}
constexpr double kDottie = 0.7390851332151607;
double Overloaded(double x) {
    return x - 0.25;
}
float Overloaded(float x) {
    return x - 0.5f;
}

// ---------------------------------------------------------------------------------------------
// Combinatorics

TYPED_TEST(AlgebraTyped, PermutationsAndCombinations) {
    using T = TypeParam;
    EXPECT_EQ(CMLAlgebra::Permutations<TypeParam>(T(0)), T(1));
    EXPECT_EQ(CMLAlgebra::Permutations<TypeParam>(T(1)), T(1));
    EXPECT_EQ(CMLAlgebra::Permutations<TypeParam>(T(-3)), T(1));
    EXPECT_EQ(CMLAlgebra::Permutations<TypeParam>(T(5)), T(120));
    EXPECT_EQ(CMLAlgebra::Permutations<TypeParam>(T(2.7)), T(6));  // every k < n + 0.5: 2 * 3
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(5), T(0)), T(1));
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(5), T(5)), T(1));
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(5), T(2)), T(10));
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(5), T(3)), T(10));
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(5), T(1)), T(5));
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(5), T(4)), T(5));
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(10), T(5)), T(252));
    EXPECT_EQ(CMLAlgebra::Combinations<TypeParam>(T(3), T(7)), T(1));
}

TEST(AlgebraCombinatorics, LargeRealArguments) {
    EXPECT_EQ(CMLAlgebra::Permutations<double>(20), 2432902008176640000.0);
    EXPECT_TRUE(std::isfinite(CMLAlgebra::Permutations<double>(170)));
    EXPECT_TRUE(std::isinf(CMLAlgebra::Permutations<double>(171)));
    EXPECT_TRUE(
        std::isinf(CMLAlgebra::Permutations<float>(1e9f)));  // stops once the product is infinite
    EXPECT_NEAR(CMLAlgebra::Combinations<double>(50, 25), 126410606437752.0, 1.0);
}

TEST(AlgebraCombinatorics, IntegerInstantiations) {
    EXPECT_EQ(CMLAlgebra::Permutations<int>(12), 479001600);
    EXPECT_EQ(CMLAlgebra::Permutations<int>(0), 1);
    EXPECT_EQ(CMLAlgebra::Permutations<unsigned int>(13u), 1932053504u);  // 13! modulo 2^32
    EXPECT_EQ(CMLAlgebra::Combinations<int>(30, 15), 155117520);
    EXPECT_EQ(CMLAlgebra::Combinations<int>(100, 97), 161700);  // exact despite C(100, 50)
    // n(n-1)/2 = 2449965000 does not fit int: it wraps.
    EXPECT_EQ(CMLAlgebra::Combinations<int>(70000, 2),
              static_cast<int>(2449965000LL - 4294967296LL));
    EXPECT_EQ(CMLAlgebra::Combinations<unsigned int>(0u, 3u), 1u);
    EXPECT_EQ(CMLAlgebra::Combinations<unsigned int>(7u, 0u), 1u);
    EXPECT_EQ(CMLAlgebra::Combinations<unsigned int>(7u, 3u), 35u);
    EXPECT_EQ(CMLAlgebra::Combinations<int>(-3, -5), 1);
}

// ---------------------------------------------------------------------------------------------
// Quadratic equations

TYPED_TEST(AlgebraTyped, ReducedQuadraticCases) {
    using T = TypeParam;
    T x1 = 7, x2 = 7;
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<TypeParam>(T(-3), T(2), x1, x2), 2);
    EXPECT_EQ(x1, T(1));
    EXPECT_EQ(x2, T(2));
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<TypeParam>(T(-2), T(1), x1, x2), 1);
    EXPECT_EQ(x1, T(1));
    EXPECT_EQ(x2, T(1));
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<TypeParam>(T(2), T(5), x1, x2), 0);  // -1 +- 2i
    EXPECT_EQ(x1, T(-1));
    EXPECT_EQ(x2, T(2));
    // |D| = 0.01 within the caller's precision: a double root.
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<TypeParam>(T(0), T(0.01), x1, x2, T(0.05)), 1);
    EXPECT_EQ(x1, T(0));
}

TEST(AlgebraQuadratic, ReducedGuardsTheImaginaryPart) {
    double x1, x2;
    // D = -1e-10: complex with a precision of 1e-12, but the guarded root of 1e-10 is 0.
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<double>(0, 1e-10, x1, x2, 1e-12), 0);
    EXPECT_EQ(x2, 0.0);
    // D = +1e-10: two roots by the count, both at m.
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<double>(0, -1e-10, x1, x2, 1e-12), 2);
    EXPECT_EQ(x1, 0.0);
    EXPECT_EQ(x2, 0.0);
}

TEST(AlgebraQuadratic, ComplexOverloads) {
    CMLComplex<double> z1, z2;
    z1.SetPrecision(0.5);  // the roots are set, not assigned, so the precision does not hide them
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<double>(2, 5, z1, z2), 0);
    EXPECT_EQ(z1.Real(), -1.0);
    EXPECT_EQ(z1.Imag(), -2.0);
    EXPECT_EQ(z2.Imag(), 2.0);
    EXPECT_EQ(z1.GetPrecision(), 0.5);
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<double>(1, -3, 2, z1, z2), 2);
    EXPECT_EQ(z1.Real(), 1.0);
    EXPECT_EQ(z2.Real(), 2.0);
    EXPECT_EQ(z2.Imag(), 0.0);
    CMLComplex<float> f1, f2;
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<float>(1, 0, 4, f1, f2), 0);
    EXPECT_EQ(f1.Imag(), -2.0f);
    EXPECT_EQ(f2.Imag(), 2.0f);
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<float>(0, 0, 0, f1, f2), -2);
    EXPECT_EQ(f1.Real(), 0.0f);
}

TYPED_TEST(AlgebraTyped, QuadraticDegenerateCases) {
    using T = TypeParam;
    T x1 = 5, x2 = 5;
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(0), T(0), T(0), x1, x2), -2);
    EXPECT_EQ(x1, T(0));
    EXPECT_EQ(x2, T(0));
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(0), T(0), T(1), x1, x2), -1);
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(0), T(2), T(-4), x1, x2), 1);
    EXPECT_EQ(x1, T(2));
    EXPECT_EQ(x2, T(2));
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(2), T(-6), T(4), x1, x2), 2);
    EXPECT_EQ(x1, T(1));
    EXPECT_EQ(x2, T(2));
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(1), T(0), T(1), x1, x2), 0);
    EXPECT_EQ(x1, T(0));
    EXPECT_EQ(x2, T(1));
}

TYPED_TEST(AlgebraTyped, QuadraticDiscriminantLimitIsFixed) {
    using T = TypeParam;
    T x1 = 5, x2 = 5;
    // D = 1e-7 is below the fixed 1e-6: a double root at 0, whatever the precision.
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(1), T(0), T(-1e-7), x1, x2), 1);
    EXPECT_EQ(x1, T(0));
    EXPECT_EQ(x2, T(0));
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(1), T(0), T(-1e-7), x1, x2, T(1e-12)), 1);
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(1), T(0), T(1e-7), x1, x2, T(1e-12)), 1);
    // D = 2e-6 is above it.
    EXPECT_EQ(CMLAlgebra::SolveQuadratic<TypeParam>(T(1), T(0), T(-2e-6), x1, x2), 2);
    EXPECT_NEAR(x2, std::sqrt(T(2e-6)), Tol<T>());
    // The reduced form compares with the precision instead.
    EXPECT_EQ(CMLAlgebra::SolveReducedQuadratic<TypeParam>(T(0), T(-1e-7), x1, x2, T(1e-12)), 2);
}

// ---------------------------------------------------------------------------------------------
// Reduced cubic

TYPED_TEST(AlgebraTyped, CubicThreeRealRootsInFormulaOrder) {
    using T = TypeParam;
    T x1, x2, x3;
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(0), T(-1), T(0), x1, x2, x3), 3);
    EXPECT_NEAR(x1, T(-1), Tol<T>());
    EXPECT_NEAR(x2, T(1), Tol<T>());
    EXPECT_NEAR(x3, T(0), Tol<T>());
    // (x - 1)(x - 2)(x - 3)
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(-6), T(11), T(-6), x1, x2, x3), 3);
    for (T r : {x1, x2, x3})
        EXPECT_NEAR((r - 1) * (r - 2) * (r - 3), T(0), T(10) * Tol<T>());
    EXPECT_NEAR(x1 + x2 + x3, T(6), T(10) * Tol<T>());
}

TEST(AlgebraCubic, SmallCoefficientsGiveNoNaN) {
    // x^3 - 1e-4 x: Q^3 is below P, so the guarded root of Q^3 alone would be 0.
    double x1, x2, x3;
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<double>(0, -1e-4, 0, x1, x2, x3), 3);
    EXPECT_NEAR(x1, -0.01, 1e-15);
    EXPECT_NEAR(x2, 0.01, 1e-15);
    EXPECT_NEAR(x3, 0.0, 1e-15);
}

TYPED_TEST(AlgebraTyped, CubicOneRealRootAndAPair) {
    using T = TypeParam;
    T x1, x2, x3;
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(0), T(0), T(-1), x1, x2, x3),
              1);  // x^3 = 1
    EXPECT_EQ(x1, T(1));
    EXPECT_EQ(x2, T(-0.5));
    EXPECT_NEAR(x3, std::sqrt(T(3)) / 2, Tol<T>());
    CMLComplex<T> z1, z2, z3;
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(0), T(0), T(-1), z1, z2, z3), 1);
    EXPECT_EQ(z1.Imag(), T(0));
    EXPECT_EQ(z2.Real(), T(-0.5));
    EXPECT_NEAR(z2.Imag(), -std::sqrt(T(3)) / 2, Tol<T>());
    EXPECT_NEAR(z3.Imag(), std::sqrt(T(3)) / 2, Tol<T>());
    // (x + 1)(x^2 + 4): R < 0 branch of the sign.
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(1), T(4), T(4), x1, x2, x3), 1);
    EXPECT_NEAR(x1, T(-1), T(10) * Tol<T>());
    EXPECT_NEAR(x2, T(0), T(10) * Tol<T>());
    EXPECT_NEAR(x3, T(2), T(10) * Tol<T>());
}

TYPED_TEST(AlgebraTyped, CubicDoubleAndTripleRoots) {
    using T = TypeParam;
    T x1, x2, x3;
    // (x - 1)^2 (x + 2) = x^3 - 3x + 2: Q^3 = R^2 exactly.
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(0), T(-3), T(2), x1, x2, x3), 2);
    EXPECT_EQ(x1, T(-2));
    EXPECT_EQ(x2, T(1));
    EXPECT_EQ(x3, T(1));
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(0), T(0), T(0), x1, x2, x3), 2);  // x^3
    EXPECT_EQ(x1, T(0));
    EXPECT_EQ(x2, T(0));
    CMLComplex<T> z1, z2, z3;
    EXPECT_EQ(CMLAlgebra::SolveReducedCubic<TypeParam>(T(0), T(-3), T(2), z1, z2, z3), 2);
    EXPECT_EQ(z3.Real(), T(1));
    EXPECT_EQ(z3.Imag(), T(0));
}

// ---------------------------------------------------------------------------------------------
// 2x2 systems

TYPED_TEST(AlgebraTyped, TwoByTwoRegular) {
    using T = TypeParam;
    T x = 0, y = 0;
    int status = 0;
    EXPECT_EQ(
        CMLAlgebra::Solve2x2System<TypeParam>(T(2), T(1), T(1), T(-1), T(3), T(0), x, y, status),
        1);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(x, T(1));
    EXPECT_EQ(y, T(1));
    // (1 + 1 + 1 + 1.002^2) / 0.002 * 1e-3 = 2.002 > 1: ill-conditioned.
    EXPECT_EQ(CMLAlgebra::Solve2x2System<TypeParam>(T(1), T(1), T(1), T(1.002), T(2), T(2.002), x,
                                                    y, status, T(1e-3)),
              1);
    EXPECT_EQ(status, 2);
    EXPECT_NEAR(x, T(1), T(1e-3));
    EXPECT_EQ(CMLAlgebra::Solve2x2System<TypeParam>(T(1), T(1), T(1), T(1.01), T(2), T(2.01), x, y,
                                                    status, T(1e-3)),
              1);
    EXPECT_EQ(status, 1);
}

TEST(AlgebraTwoByTwo, SingularConsistentChoices) {
    double x = 0, y = 0;
    int status = 0;
    // The b case divides (e - b) by b: x = 1, y = (2 - 2) / 2 = 0, although y = 1 solves it.
    EXPECT_EQ(CMLAlgebra::Solve2x2System<double>(0, 2, 0, 4, 2, 4, x, y, status), -2);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 0.0);
    // a case: y = 1, x = (e - b) / a.
    EXPECT_EQ(CMLAlgebra::Solve2x2System<double>(1, 2, 2, 4, 3, 6, x, y, status), -2);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 1.0);
    // c case: y = 1, x = (f - d) / c.
    EXPECT_EQ(CMLAlgebra::Solve2x2System<double>(0, 0, 2, 4, 0, 6, x, y, status), -2);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 1.0);
    // d case: x = 1, y = (f - c) / d.
    EXPECT_EQ(CMLAlgebra::Solve2x2System<double>(0, 0, 0, 3, 0, 6, x, y, status), -2);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 2.0);
    // No coefficient: x = y = 1, and the numerators vanish whatever e and f are.
    EXPECT_EQ(CMLAlgebra::Solve2x2System<double>(0, 0, 0, 0, 5, 5, x, y, status), -2);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 1.0);
}

TEST(AlgebraTwoByTwo, SingularInconsistent) {
    float x = 3, y = 3;
    int status = 0;
    EXPECT_EQ(CMLAlgebra::Solve2x2System<float>(1, 2, 2, 4, 3, 7, x, y, status), -1);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(x, 0.0f);
    EXPECT_EQ(y, 0.0f);
}

// ---------------------------------------------------------------------------------------------
// 3x3 systems

TYPED_TEST(AlgebraTyped, ThreeByThreeRegular) {
    using T = TypeParam;
    T x, y, z;
    int status = 0;
    // Solution (1, -2, 3).
    EXPECT_EQ(CMLAlgebra::Solve3x3System<TypeParam>(T(2), T(1), T(-1), T(-3), T(-1), T(2), T(-2),
                                                    T(1), T(2), T(-3), T(5), T(2), x, y, z, status),
              1);
    EXPECT_EQ(status, 1);
    EXPECT_NEAR(x, T(1), Tol<T>());
    EXPECT_NEAR(y, T(-2), Tol<T>());
    EXPECT_NEAR(z, T(3), Tol<T>());
}

TEST(AlgebraThreeByThree, IllConditionedStatus) {
    double x, y, z;
    int status = 0;
    // diag(1, 1, 0.01): |A|_F |adj A|_F / det = sqrt(2.0001) * sqrt(1.0002) / 0.01 ~ 141.4.
    EXPECT_EQ(CMLAlgebra::Solve3x3System<double>(1, 0, 0, 0, 1, 0, 0, 0, 0.01, 1, 1, 1, x, y, z,
                                                 status, 1e-3),
              1);
    EXPECT_EQ(status, 1);
    EXPECT_NEAR(z, 100.0, 1e-12);
    EXPECT_EQ(CMLAlgebra::Solve3x3System<double>(1, 0, 0, 0, 1, 0, 0, 0, 0.01, 1, 1, 1, x, y, z,
                                                 status, 0.008),
              1);
    EXPECT_EQ(status, 2);
    // A nearly singular 2x2 block: sqrt(5.004 * 4.004) / 0.002 * 1e-3 = 2.24 > 1.
    EXPECT_EQ(CMLAlgebra::Solve3x3System<double>(1, 1, 0, 1, 1.002, 0, 0, 0, 1, 2, 2.002, 1, x, y,
                                                 z, status, 1e-3),
              1);
    EXPECT_EQ(status, 2);
}

TEST(AlgebraThreeByThree, RankTwoConsistent) {
    double x, y, z;
    int status = 0;
    // Row 3 = row 1 + row 2; C33 = -3 is the first cofactor: z = 1, equations 1 and 2 give x, y.
    EXPECT_EQ(
        CMLAlgebra::Solve3x3System<double>(1, 2, 3, 4, 5, 6, 5, 7, 9, 1, 1, 2, x, y, z, status),
        -2);
    EXPECT_EQ(status, 1);
    EXPECT_NEAR(x, 0.0, 1e-15);
    EXPECT_NEAR(y, -1.0, 1e-15);
    EXPECT_EQ(z, 1.0);
    // C33 = 0, C32 = -1: y = 1, equations 1 and 2 give x and z.
    EXPECT_EQ(
        CMLAlgebra::Solve3x3System<double>(1, 2, 0, 2, 4, 1, 3, 6, 1, 4, 9, 13, x, y, z, status),
        -2);
    EXPECT_NEAR(x, 2.0, 1e-15);
    EXPECT_EQ(y, 1.0);
    EXPECT_NEAR(z, 1.0, 1e-15);
}

TEST(AlgebraThreeByThree, RankTwoInconsistent) {
    double x = 5, y = 5, z = 5;
    int status = 0;
    EXPECT_EQ(
        CMLAlgebra::Solve3x3System<double>(1, 2, 3, 4, 5, 6, 5, 7, 9, 1, 1, 5, x, y, z, status),
        -1);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(y, 0.0);
    EXPECT_EQ(z, 0.0);
}

TEST(AlgebraThreeByThree, RankOneAndZero) {
    double x, y, z;
    int status = 0;
    // Proportional rows; the pivot is a12 = 2: x = z = 1, y = (2 - 0 - 4) / 2.
    EXPECT_EQ(
        CMLAlgebra::Solve3x3System<double>(0, 2, 4, 0, 1, 2, 0, 3, 6, 2, 1, 3, x, y, z, status),
        -2);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, -1.0);
    EXPECT_EQ(z, 1.0);
    EXPECT_EQ(
        CMLAlgebra::Solve3x3System<double>(0, 2, 4, 0, 1, 2, 0, 3, 6, 2, 1, 4, x, y, z, status),
        -1);
    // Zero matrix: consistent only with a zero right-hand side (unlike the 2x2 solver).
    EXPECT_EQ(
        CMLAlgebra::Solve3x3System<double>(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, x, y, z, status),
        -2);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(z, 1.0);
    EXPECT_EQ(
        CMLAlgebra::Solve3x3System<double>(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, x, y, z, status),
        -1);
    EXPECT_EQ(status, 1);
}

TEST(AlgebraThreeByThree, ChosenSolutionsSolveTheSystem) {
    // Rank-2 systems built from random rows: whatever unknown is fixed, the result solves all
    // three equations.
    const double rows[4][3] = {{0, 0, 1}, {0, 3, 0}, {2, 0, 0}, {1, -1, 2}};
    for (int p = 0; p < 4; ++p) {
        for (int q = 0; q < 4; ++q) {
            if (p == q) continue;
            const double* r1 = rows[p];
            const double* r2 = rows[q];
            const double r3[3] = {2 * r1[0] - r2[0], 2 * r1[1] - r2[1], 2 * r1[2] - r2[2]};
            const double b1 = 1.5, b2 = -0.5, b3 = 2 * b1 - b2;
            double x, y, z;
            int status;
            ASSERT_EQ(
                CMLAlgebra::Solve3x3System<double>(r1[0], r1[1], r1[2], r2[0], r2[1], r2[2], r3[0],
                                                   r3[1], r3[2], b1, b2, b3, x, y, z, status),
                -2);
            EXPECT_NEAR(r1[0] * x + r1[1] * y + r1[2] * z, b1, 1e-12);
            EXPECT_NEAR(r2[0] * x + r2[1] * y + r2[2] * z, b2, 1e-12);
            EXPECT_NEAR(r3[0] * x + r3[1] * y + r3[2] * z, b3, 1e-12);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Bracketing

TEST(AlgebraBrackets, SearchWidensTowardsTheRoot) {
    double x1 = 0, x2 = 1;
    EXPECT_EQ(CMLAlgebra::SearchRootBrackets<double>(x1, x2, [](double x) { return x + 10; }), 1);
    EXPECT_NEAR(x1, -16.576, 1e-12);  // 0 -> -1.6 -> -5.76 -> -16.576
    EXPECT_EQ(x2, 1.0);
    // Transcendental: exp(-x) - 10 changes sign near -2.30.
    x1 = 0;
    x2 = 1;
    EXPECT_EQ(
        CMLAlgebra::SearchRootBrackets<double>(x1, x2, [](double x) { return std::exp(-x) - 10; }),
        1);
    EXPECT_LT(x1, -std::log(10.0));
    // Already bracketed: nothing moves, two evaluations.
    int calls = 0;
    x1 = 0;
    x2 = 3;
    EXPECT_EQ(
        CMLAlgebra::SearchRootBrackets<double>(x1, x2, [&](double x) { return ++calls, Cubic(x); }),
        1);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(x1, 0.0);
    EXPECT_EQ(x2, 3.0);
}

TEST(AlgebraBrackets, SecondBranchEvaluatesAtX1) {
    // f(x) = x - 10 from [0, 1]: the second branch moves x2 but stores f(x1) as f2, so the sign
    // change at 10 is never seen. 49 widenings, 51 evaluations, all but one at x1 = 0.
    std::vector<double> at;
    double x1 = 0, x2 = 1;
    EXPECT_EQ(CMLAlgebra::SearchRootBrackets<double>(
                  x1, x2, [&](double x) { return at.push_back(x), x - 10; }),
              0);
    ASSERT_EQ(at.size(), 51u);
    EXPECT_EQ(at[1], 1.0);
    for (std::size_t i = 2; i < at.size(); ++i)
        EXPECT_EQ(at[i], 0.0);
    EXPECT_EQ(x1, 0.0);
    EXPECT_NEAR(x2, std::pow(2.6, 49), 1e-9 * std::pow(2.6, 49));
}

TEST(AlgebraBrackets, NoSignChangeReturnsZeroAfter49Widenings) {
    int calls = 0;
    float x1 = -1, x2 = 1;
    EXPECT_EQ(
        CMLAlgebra::SearchRootBrackets<float>(x1, x2, [&](float x) { return ++calls, x * x + 1; }),
        0);
    EXPECT_EQ(calls, 51);
}

TEST(AlgebraBrackets, NarrowFindsEverySignChange) {
    double xb1[40], xb2[40];
    int nb = -1;
    CMLAlgebra::NarrowRootBrackets<double>(0.5, 10.0, 40, nb, xb1, xb2,
                                           [](double x) { return std::sin(x); });
    ASSERT_EQ(nb, 3);
    for (int k = 0; k < 3; ++k) {
        EXPECT_LT(xb1[k], (k + 1) * mlPi<double>);
        EXPECT_GT(xb2[k], (k + 1) * mlPi<double>);
        EXPECT_NEAR(xb2[k] - xb1[k], 9.5 / 40, 1e-12);
    }
    EXPECT_EQ(xb2[2] <= 10.0, true);
    CMLAlgebra::NarrowRootBrackets<double>(0.5, 10.0, 0, nb, xb1, xb2,
                                           [](double x) { return std::sin(x); });
    EXPECT_EQ(nb, 0);
    // A root on a division point brackets both neighbours.
    CMLAlgebra::NarrowRootBrackets<double>(0.0, 2.0, 2, nb, xb1, xb2,
                                           [](double x) { return x - 1; });
    ASSERT_EQ(nb, 2);
    EXPECT_EQ(xb1[0], 0.0);
    EXPECT_EQ(xb2[0], 1.0);
    EXPECT_EQ(xb1[1], 1.0);
    EXPECT_EQ(xb2[1], 2.0);
}

// ---------------------------------------------------------------------------------------------
// Root finders

// The finders stop once |f| <= 1e-9 (or < 1e-9), so a root is located to 1e-9 / |f'| at worst.

TEST(AlgebraBisection, ConvergesOnKnownRoots) {
    EXPECT_NEAR(CMLAlgebra::Bisection<double>(0, 2, 1e-12, [](double x) { return x * x - 2; }),
                std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(CMLAlgebra::Bisection<double>(2, 3, 1e-10, Cubic), kCubicRoot, 1e-9);
    EXPECT_NEAR(CMLAlgebra::Bisection<double>(0, 2, 0, [](double x) { return std::cos(x); }),
                mlPi<double> / 2, 1e-9);
    // An end that is a root is returned at once.
    EXPECT_EQ(CMLAlgebra::Bisection<double>(1, 4, 1e-6, [](double x) { return x - 1; }), 1.0);
    EXPECT_EQ(CMLAlgebra::Bisection<double>(-3, 1, 1e-6, [](double x) { return x - 1; }), 1.0);
    EXPECT_NEAR(CMLAlgebra::Bisection<float>(0, 2, 0, [](float x) { return x * x - 2; }),
                std::sqrt(2.0f), 3e-7f);
}

TEST(AlgebraBisection, StopsOnResidualAndWithoutSignChange) {
    // |f(mid)| <= 1e-9 ends the halving on the first midpoint.
    int calls = 0;
    EXPECT_EQ(CMLAlgebra::Bisection<double>(0, 2, 1e-15,
                                            [&](double x) { return ++calls, (x - 1.0625) * 1e-8; }),
              1.0);  // f(1) = -6.25e-10
    EXPECT_EQ(calls, 3);
    // The same residual at an end returns that end without halving.
    calls = 0;
    EXPECT_EQ(CMLAlgebra::Bisection<double>(0, 2, 1e-15,
                                            [&](double x) { return ++calls, (x - 1) * 1e-10; }),
              0.0);
    EXPECT_EQ(calls, 1);
    // Without a sign change it closes in on x2.
    EXPECT_NEAR(CMLAlgebra::Bisection<double>(0, 1, 1e-12, [](double x) { return x * x + 1; }), 1.0,
                1e-12);
    EXPECT_NEAR(CMLAlgebra::Bisection<double>(0, 1, 1e-12, [](double x) { return -x * x - 1; }),
                1.0, 1e-12);
}

TEST(AlgebraSecant, ConvergesOnKnownRoots) {
    EXPECT_NEAR(CMLAlgebra::Secant<double>(2, 3, 1e-12, Cubic), kCubicRoot, 1e-10);
    EXPECT_NEAR(CMLAlgebra::Secant<double>(0, 1, 1e-12, Dottie), kDottie, 1e-9);
    EXPECT_NEAR(CMLAlgebra::Secant<float>(1, 2, 1e-6f, [](float x) { return x * x - 2; }),
                std::sqrt(2.0f), 1e-6f);
}

TEST(AlgebraSecant, StepCapAndFlatSecant) {
    int calls = 0;
    // No root: the iteration runs its 49 steps.
    CMLAlgebra::Secant<double>(0, 1, 0, [&](double x) { return ++calls, std::cos(x) + 2; });
    EXPECT_EQ(calls, 2 + 49);
    calls = 0;
    EXPECT_EQ(CMLAlgebra::Secant<double>(0, 1, 1e-9, [&](double) { return ++calls, 3.0; }), 1.0);
    EXPECT_EQ(calls, 2);
}

TEST(AlgebraBrent, ConvergesOnKnownRoots) {
    EXPECT_NEAR(CMLAlgebra::Brent<double>(2, 3, 1e-12, Cubic), kCubicRoot, 1e-10);
    EXPECT_NEAR(CMLAlgebra::Brent<double>(0, 1, 1e-12, [](double x) { return std::exp(x) - 2; }),
                std::log(2.0), 1e-9);
    // Here the relative term 2e-9 |b| ends the search first.
    EXPECT_NEAR(CMLAlgebra::Brent<double>(1, 2, 1e-12, [](double x) { return std::cos(x); }),
                mlPi<double> / 2, 2e-9 * 1.6);
    // Without the residual stop (no exact zero reachable) the tolerance term decides.
    EXPECT_NEAR(
        CMLAlgebra::Brent<double>(0, 1, 1e-6, [](double x) { return x < 0.3 ? -1.0 : 1.0; }), 0.3,
        1e-6);
    EXPECT_NEAR(
        CMLAlgebra::Brent<float>(2, 3, 1e-6f, [](float x) { return x * x * x - 2 * x - 5; }),
        float(kCubicRoot), 2e-6f);
}

TEST(AlgebraBrent, LimitsAndUnbracketedInput) {
    // Without a sign change the end with the smaller |f| comes back, nothing else is evaluated.
    int calls = 0;
    EXPECT_EQ(CMLAlgebra::Brent<double>(0.5, 2, 1e-9, [&](double x) { return ++calls, x * x + 1; }),
              0.5);
    EXPECT_EQ(calls, 2);
    // A sign change without a zero and a tolerance that can never be met: the 100-iteration cap.
    calls = 0;
    const double b = CMLAlgebra::Brent<double>(
        0, 1, -1, [&](double x) { return ++calls, x < 0.3 ? -1.0 : 1.0; });
    EXPECT_EQ(calls, 2 + 100);
    EXPECT_NEAR(b, 0.3, 1e-9);
    // |f(b)| < 1e-9 stops at once even with a zero tolerance.
    EXPECT_EQ(CMLAlgebra::Brent<double>(0, 2, 0, [](double x) { return (x - 2) * 1e-10; }), 2.0);
}

TEST(AlgebraNewton, ConvergesAndReportsFailures) {
    double root = -7;
    EXPECT_EQ(CMLAlgebra::Newton<double>(2, 3, 1e-12, root, Cubic, CubicSlope), 1);
    EXPECT_NEAR(root, kCubicRoot, 1e-14);
    EXPECT_EQ(CMLAlgebra::Newton<double>(0, 1, 1e-12, root, Dottie, DottieSlope), 1);
    EXPECT_NEAR(root, kDottie, 1e-14);
    // x^2 - 2 from the midpoint of [1.5, 3]: 2.25 -> 1.569 -> 1.4226 leaves the interval.
    root = -7;
    EXPECT_EQ(CMLAlgebra::Newton<double>(
                  1.5, 3, 1e-12, root, [](double x) { return x * x - 2; },
                  [](double x) { return 2 * x; }),
              0);
    EXPECT_EQ(root, -7.0);
    // Zero derivative away from a root.
    EXPECT_EQ(
        CMLAlgebra::Newton<double>(
            -1, 1, 1e-12, root, [](double x) { return x * x + 1; }, [](double x) { return 2 * x; }),
        0);
}

TEST(AlgebraNewton, NineteenIterationCap) {
    // x^3 - 2x + 2 cycles 0 -> 1 -> 0 under Newton's method.
    int slopes = 0;
    double root = -7;
    EXPECT_EQ(CMLAlgebra::Newton<double>(
                  -1, 1, 1e-12, root, [](double x) { return x * x * x - 2 * x + 2; },
                  [&](double x) { return ++slopes, 3 * x * x - 2; }),
              0);
    EXPECT_EQ(slopes, 19);
    EXPECT_EQ(root, -7.0);
}

TEST(AlgebraSafeNewton, ConvergesWhereNewtonCycles) {
    const double r = CMLAlgebra::SafeNewton<double>(
        -2, 1, 1e-13, [](double x) { return x * x * x - 2 * x + 2; },
        [](double x) { return 3 * x * x - 2; });
    EXPECT_NEAR(r, -1.7692923542386314, 1e-12);
    EXPECT_NEAR(CMLAlgebra::SafeNewton<double>(2, 3, 1e-13, Cubic, CubicSlope), kCubicRoot, 1e-13);
    EXPECT_NEAR(CMLAlgebra::SafeNewton<double>(
                    1, 2, 1e-13, [](double x) { return std::cos(x); },
                    [](double x) { return -std::sin(x); }),
                mlPi<double> / 2, 1e-13);
    EXPECT_NEAR(CMLAlgebra::SafeNewton<float>(
                    0, 1, 1e-6f, [](float x) { return std::cos(x) - x; },
                    [](float x) { return -std::sin(x) - 1; }),
                float(kDottie), 1e-6f);
}

TEST(AlgebraSafeNewton, EndsAndLimits) {
    auto line = [](double x) { return x - 2; };
    auto one = [](double) { return 1.0; };
    EXPECT_EQ(CMLAlgebra::SafeNewton<double>(2, 5, 1e-9, line, one), 2.0);
    EXPECT_EQ(CMLAlgebra::SafeNewton<double>(-1, 2, 1e-9, line, one), 2.0);
    EXPECT_EQ(CMLAlgebra::SafeNewton<double>(2 + 1e-10, 5, 1e-9, line, one),
              2 + 1e-10);  // |f| < 1e-9 at x1
    EXPECT_EQ(CMLAlgebra::SafeNewton<double>(
                  0.5, 2, 1e-9, [](double x) { return x * x + 1; }, [](double x) { return 2 * x; }),
              0.5);
    // A sign change without a zero: bisection until the cap of 100 iterations or no progress.
    int calls = 0;
    const double s = CMLAlgebra::SafeNewton<double>(
        0, 1, 0, [&](double x) { return ++calls, x < 0.3 ? -1.0 : 1.0; },
        [](double) { return 0.0; });
    EXPECT_NEAR(s, 0.3, 1e-15);
    EXPECT_LE(calls, 2 + 1 + 100);
}

// ---------------------------------------------------------------------------------------------
// The caller's function

struct Shifted {
    double shift;
    double operator()(double x) const { return x - shift; }
};

TEST(AlgebraCallables, PointersLambdasAndFunctionObjects) {
    double (*pointer)(double) = Cubic;
    EXPECT_NEAR(CMLAlgebra::Brent<double>(2, 3, 1e-12, pointer), kCubicRoot, 1e-10);
    const double shift = 0.75;
    EXPECT_NEAR(CMLAlgebra::Brent<double>(0, 1, 1e-12, [shift](double x) { return x - shift; }),
                0.75, 1e-9);
    const Shifted object{0.6};
    EXPECT_NEAR(CMLAlgebra::Bisection<double>(0, 1, 1e-12, object), 0.6, 1e-9);
    Shifted mutableObject{0.4};
    EXPECT_NEAR(CMLAlgebra::Secant<double>(0, 1, 1e-12, mutableObject), 0.4, 1e-9);
    // An overload set: the pointer overload selects the member for T.
    EXPECT_NEAR(CMLAlgebra::Bisection<double>(0, 1, 1e-12, Overloaded), 0.25, 1e-9);
    EXPECT_NEAR(CMLAlgebra::Bisection<float>(0, 1, 1e-7f, Overloaded), 0.5f, 1e-7f);
    // The function object is called, not copied: its state is visible afterwards.
    struct Counter {
        int calls = 0;
        double operator()(double x) { return ++calls, x - 0.5; }
    } counter;
    CMLAlgebra::Brent<double>(0, 1, 1e-12, counter);
    EXPECT_GT(counter.calls, 2);
    // An object with a stateless lambda as the derivative.
    CMLAlgebra algebra;
    double root = 0;
    EXPECT_EQ(algebra.Newton(0.0, 2.0, 1e-12, root, Shifted{1.25}, [](double) { return 1.0; }), 1);
    EXPECT_EQ(root, 1.25);
}

TEST(AlgebraCalls, ElementTypeIsDeducedFromTheArguments) {
    // Callers write the element type once, in their arguments.
    double x = 0, y = 0;
    int status = 0;
    EXPECT_EQ(CMLAlgebra::Solve2x2System(1.0, 1.0, 1.0, -1.0, 3.0, 1.0, x, y, status, 1e-9), 1);
    EXPECT_EQ(x, 2.0);
    EXPECT_EQ(y, 1.0);
    float r1 = 0, r2 = 0;
    const CMLAlgebra algebra;
    EXPECT_EQ(algebra.SolveQuadratic(1.0f, -3.0f, 2.0f, r1, r2), 2);
    EXPECT_EQ(r1, 1.0f);
    EXPECT_EQ(r2, 2.0f);
    EXPECT_EQ(CMLAlgebra::Permutations(5.0), 120.0);
    EXPECT_EQ(CMLAlgebra::Combinations(5u, 2u), 10u);
}

}  // namespace
