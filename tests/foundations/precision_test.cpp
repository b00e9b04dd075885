#include <ml/precision.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <tuple>

namespace {

template <class T>
class PrecisionTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(PrecisionTyped, RealTypes);

TEST(PrecisionConstants, ExactValuesPerType) {  // P, P^2 and the guard value, per type
    EXPECT_EQ(
        std::make_tuple(mlDefaultPrecision<float>, mlSquarePrecision<float>, mlBigValue<float>),
        std::make_tuple(1e-7f, 1e-14f, 3.4028235e38f));
    EXPECT_EQ(
        std::make_tuple(mlDefaultPrecision<double>, mlSquarePrecision<double>, mlBigValue<double>),
        std::make_tuple(1e-9, 1e-18, 3.4028234663852886e38));  // the float maximum, widened
}

TYPED_TEST(PrecisionTyped, GuardedRootsAndInclusiveAlmostZero) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    // Below P the root is 0, also of tiny negative round-off; P itself is not guarded.
    EXPECT_EQ(std::make_tuple(mlSafeSqrt(p / 2), mlSafeSqrt(-p / 2), mlSafeSqrt(p)),
              std::make_tuple(T(0), T(0), std::sqrt(p)));
    // A norm is 0 below P^2 and, by the second guard, for every length under sqrt(P).
    EXPECT_EQ(std::make_tuple(mlSafeNorm(mlSquarePrecision<T> / 2), mlSafeNorm(p * T(0.9))),
              std::make_tuple(T(0), T(0)));
    // Both ends included; a double precision converts to T; a negative one fails everything.
    EXPECT_EQ(std::make_tuple(mlIsAlmostZero(p), mlIsAlmostZero(-p), mlIsAlmostZero(T(0.5), 0.5),
                              mlIsAlmostZero(T(0), -1.0), mlAreAlmostEqual(T(1), T(1.5), 0.25)),
              std::make_tuple(1, 1, 1, 0, 0));
}

TEST(PrecisionRounding, FloorCeilRound) {
    // Floor forgives round-off below negative integers, ceil above positive ones.
    const double x[] = {-2.0000000001, -2.5, -2, 2.9999999999, 3.00000000001, 3.1, 2.5, 2.4999, 0};
    const double floors[] = {-2, -3, -2, 2, 3, 3, 2, 2, 0};
    const double ceils[] = {-2, -2, -2, 3, 3, 4, 3, 3, 0};
    const double rounds[] = {-2, -3, -2, 3, 3, 3, 3, 2, 0};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(std::make_tuple(mlFloor(x[i]), mlCeil(x[i]), mlRound(x[i])),
                  std::make_tuple(floors[i], ceils[i], rounds[i]))
            << x[i];
    // Each type forgives its own P.
    EXPECT_EQ(std::make_tuple(mlFloor(-5e-8f), mlFloor(-5e-8), mlCeil(5e-8f)),
              std::make_tuple(0.0f, -1.0, 0.0f));
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

TYPED_TEST(PrecisionTyped, AngleReductionAndArcSinCos) {
    using T = TypeParam;
    const T degrees[][2] = {{-360, 360}, {-720, 360}, {-10, 350},
                            {720, 0},    {360, 0},    {T(359.5), T(359.5)}};
    for (const auto& r : degrees)
        EXPECT_EQ(mlReduceDegrees(r[0]), r[1]) << r[0];  // negative multiples of 360 give 360
    EXPECT_NEAR(mlReduceRadians(mlPi<T>), -mlPi<T>, 4 * std::numeric_limits<T>::epsilon());
    EXPECT_EQ(mlReduceRadians(-mlPi<T>), -mlPi<T>);
    EXPECT_NEAR(mlReduceRadians(T(-7)), T(-7) + mlTwoPi<T>, 1e-5);
    // mlArcSinCos picks the quadrant from both values.
    const T tol = std::is_same_v<T, float> ? T(1e-6) : T(1e-14);
    for (double deg = -179.0; deg <= 180.0; deg += 7.0) {
        const T a = T(deg * 3.141592653589793 / 180.0);
        EXPECT_NEAR(mlArcSinCos(std::sin(a), std::cos(a)), a, 10 * tol) << deg;
    }
    EXPECT_EQ(mlArcSinCos(T(0), T(-1)), -mlPi<T>);  // the negative end, deliberately
    EXPECT_NEAR(mlArcSinCos(T(1e-3), T(-1)), mlPi<T> - std::asin(T(1e-3)), tol);
    EXPECT_EQ(mlArcSinCos(T(2), T(1)), std::asin(T(1)));  // sines are clamped, not NaN
    EXPECT_EQ(mlArcSinCos(T(-5), T(1)), -std::asin(T(1)));
    // asin takes over above the literal 0.707106781 (below sqrt(1/2) for double), acos at it.
    const T edge = T(0.707106781);
    EXPECT_EQ(mlArcSinCos(T(0.25), std::nextafter(edge, T(1))), std::asin(T(0.25)));
    EXPECT_EQ(mlArcSinCos(T(0.25), edge), std::acos(edge));
}

}  // namespace
