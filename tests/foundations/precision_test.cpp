#include <ml/precision.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace {

template <class T>
class PrecisionTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PrecisionTyped, RealTypes);

TEST(PrecisionConstants, ExactValuesPerType) {
    EXPECT_EQ(mlDefaultPrecision<float>, 1e-7f);
    EXPECT_EQ(mlDefaultPrecision<double>, 1e-9);
    EXPECT_EQ(mlSquarePrecision<float>, 1e-14f);
    EXPECT_EQ(mlSquarePrecision<double>, 1e-18);
    EXPECT_EQ(mlBigValue<float>, 3.4028235e38f);
    EXPECT_EQ(mlBigValue<double>, 3.4028234663852886e38);  // the float maximum, widened
}

TYPED_TEST(PrecisionTyped, GuardedRootsAndInclusiveAlmostZero) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    EXPECT_EQ(mlSafeSqrt(p * T(0.5)), T(0));
    EXPECT_EQ(mlSafeSqrt(-p * T(0.5)), T(0));  // round-off never reaches sqrt
    EXPECT_EQ(mlSafeSqrt(p), std::sqrt(p));    // the bound itself is not guarded
    EXPECT_EQ(mlSafeNorm(mlSquarePrecision<T> * T(0.5)), T(0));
    EXPECT_EQ(mlSafeNorm(p * T(0.9)), T(0));  // second guard: lengths under sqrt(P) vanish
    EXPECT_EQ(mlSafeNorm(T(9)), T(3));
    EXPECT_EQ(mlIsAlmostZero(p), 1);
    EXPECT_EQ(mlIsAlmostZero(-p), 1);
    EXPECT_EQ(mlIsAlmostZero(T(0.5), 0.5), 1);  // a double precision converts to T
    EXPECT_EQ(mlIsAlmostZero(T(0), -1.0), 0);   // a negative precision fails everything
    EXPECT_EQ(mlAreAlmostEqual(T(1), T(1.5), 0.25), 0);
}

TEST(PrecisionRounding, FloorCeilRound) {
    // Floor forgives round-off below negative integers, ceil above positive ones.
    const double x[] = {-2.0000000001, -2.5, -2, 2.9999999999, 3.00000000001, 3.1, 2.5, 2.4999, 0};
    const double floors[] = {-2, -3, -2, 2, 3, 3, 2, 2, 0};
    const double ceils[] = {-2, -2, -2, 3, 3, 4, 3, 3, 0};
    const double rounds[] = {-2, -3, -2, 3, 3, 3, 3, 2, 0};
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(mlFloor(x[i]), floors[i]) << x[i];
        EXPECT_EQ(mlCeil(x[i]), ceils[i]) << x[i];
        EXPECT_EQ(mlRound(x[i]), rounds[i]) << x[i];
    }
    // Each type forgives its own P.
    EXPECT_EQ(mlFloor(-5e-8f), 0.0f);
    EXPECT_EQ(mlFloor(-5e-8), -1.0);
    EXPECT_EQ(mlCeil(5e-8f), 0.0f);
}

TYPED_TEST(PrecisionTyped, AngleReduction) {
    using T = TypeParam;
    const T degrees[][2] = {{-360, 360}, {-720, 360}, {-10, 350},
                            {720, 0},    {360, 0},    {T(359.5), T(359.5)}};
    for (const auto& r : degrees)
        EXPECT_EQ(mlReduceDegrees(r[0]), r[1]) << r[0];  // negative multiples of 360 give 360
    EXPECT_NEAR(mlReduceRadians(mlPi<T>), -mlPi<T>, 4 * std::numeric_limits<T>::epsilon());
    EXPECT_EQ(mlReduceRadians(-mlPi<T>), -mlPi<T>);
    EXPECT_NEAR(mlReduceRadians(T(-7)), T(-7) + mlTwoPi<T>, 1e-5);
}

TEST(PrecisionPower, WrapsIn32BitsAndDividesIntegrally) {
    // x, n, x^n; the most negative power inverts to INT_MAX.
    const int rows[][3] = {
        {3, 0, 1},         {0, 0, 1},     {-7, 1, -7},  {-3, 3, -27},  {5, 4, 625},
        {0, 7, 0},         {2, 10, 1024}, {-2, 5, -32}, {65536, 2, 0}, {46341, 2, -2147479015},
        {10, 10, INT_MIN}, {2, -1, 0},    {1, -3, 1},   {-1, -3, -1},  {-1, -6, 1},
        {10, -10, INT_MAX}};
    for (const auto& r : rows)
        EXPECT_EQ(mlPower(r[0], r[1]), r[2]) << r[0] << "^" << r[1];
}

TEST(PrecisionPowerDeathTest, ZeroToNegativePowerTraps) {
    volatile int zero = 0;  // the integer division by zero is left to the platform on purpose
    EXPECT_DEATH(EXPECT_NE(mlPower(zero, -2), 12345), "");
}

TYPED_TEST(PrecisionTyped, ArcSinCosPicksTheQuadrant) {
    using T = TypeParam;
    const T tol = std::is_same_v<T, float> ? T(1e-6) : T(1e-14);
    for (double deg = -179.0; deg <= 180.0; deg += 7.0) {
        const T a = T(deg * 3.141592653589793 / 180.0);
        EXPECT_NEAR(mlArcSinCos(std::sin(a), std::cos(a)), a, 10 * tol) << deg;
    }
    EXPECT_EQ(mlArcSinCos(T(0), T(-1)), -mlPi<T>);  // the negative end, deliberately
    EXPECT_NEAR(mlArcSinCos(T(1e-3), T(-1)), mlPi<T> - std::asin(T(1e-3)), tol);
    EXPECT_EQ(mlArcSinCos(T(2), T(1)), std::asin(T(1)));  // sines are clamped, not NaN
    EXPECT_EQ(mlArcSinCos(T(-5), T(1)), -std::asin(T(1)));
}

TEST(PrecisionArcSinCos, SwitchLiteralIsNotSqrtHalf) {  // 0.707106781 < sqrt(1/2)
    EXPECT_EQ(mlArcSinCos(0.25, 0.7071067811), std::asin(0.25));
    EXPECT_EQ(mlArcSinCos(0.25, 0.707106781), std::acos(0.707106781));
}

}  // namespace
