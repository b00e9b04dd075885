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
    // The double guard value is the float maximum widened, not the double maximum.
    EXPECT_EQ(mlBigValue<double>, static_cast<double>(3.4028235e38f));
    EXPECT_EQ(mlBigValue<double>, 3.4028234663852886e38);
}

TYPED_TEST(PrecisionTyped, SafeSqrtZeroesBelowP) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    EXPECT_EQ(mlSafeSqrt(p * T(0.5)), T(0));
    EXPECT_EQ(mlSafeSqrt(-p * T(0.5)), T(0));  // round-off never reaches sqrt
    EXPECT_EQ(mlSafeSqrt(T(4)), T(2));
    EXPECT_EQ(mlSafeSqrt(p), std::sqrt(p));  // the bound itself is not guarded
}

TYPED_TEST(PrecisionTyped, SafeNormGuardsTwice) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    EXPECT_EQ(mlSafeNorm(mlSquarePrecision<T> * T(0.5)), T(0));
    // Above P^2 but below P: the second guard still gives 0, so lengths under sqrt(P) vanish.
    EXPECT_EQ(mlSafeNorm(p * T(0.9)), T(0));
    EXPECT_EQ(mlSafeNorm(T(9)), T(3));
}

TYPED_TEST(PrecisionTyped, AlmostZeroIncludesBothEnds) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    EXPECT_EQ(mlIsAlmostZero(p), 1);
    EXPECT_EQ(mlIsAlmostZero(-p), 1);
    EXPECT_EQ(mlIsAlmostZero(p * T(1.5)), 0);
    EXPECT_EQ(mlIsAlmostZero(T(0.5), 0.5), 1);  // a double precision converts to T
    EXPECT_EQ(mlIsAlmostZero(T(0), -1.0), 0);   // a negative precision fails everything
    EXPECT_EQ(mlAreAlmostEqual(T(1), T(1) + p * T(0.5)), 1);
    EXPECT_EQ(mlAreAlmostEqual(T(1), T(1.25), 0.25), 1);
    EXPECT_EQ(mlAreAlmostEqual(T(1), T(1.5), 0.25), 0);
}

TEST(PrecisionRounding, FloorForgivesRoundOffBelowNegativeIntegers) {
    EXPECT_EQ(mlFloor(-2.0000000001), -2.0);
    EXPECT_EQ(mlFloor(-2.5), -3.0);
    EXPECT_EQ(mlFloor(2.9999999999), 2.0);  // positive values floor as usual
    EXPECT_EQ(mlFloor(-2.0), -2.0);
    EXPECT_EQ(mlFloor(-2.00000001f), -2.0f);  // float: within 1e-7 after rounding to float
    EXPECT_EQ(mlFloor(-2.001f), -3.0f);
}

TEST(PrecisionRounding, CeilForgivesRoundOffAbovePositiveIntegers) {
    EXPECT_EQ(mlCeil(3.00000000001), 3.0);
    EXPECT_EQ(mlCeil(-2.5), -2.0);
    EXPECT_EQ(mlCeil(3.1), 4.0);
    EXPECT_EQ(mlCeil(0.0), 0.0);
}

TEST(PrecisionRounding, RoundsHalfAwayFromZero) {
    EXPECT_EQ(mlRound(2.5), 3.0);
    EXPECT_EQ(mlRound(-2.5), -3.0);
    EXPECT_EQ(mlRound(2.4999), 2.0);
    EXPECT_EQ(mlRound(-0.4f), 0.0f);
}

TEST(PrecisionAngles, DegreeRuleMapsNegativeMultiplesTo360) {
    EXPECT_EQ(mlReduceDegrees(-360.0), 360.0);
    EXPECT_EQ(mlReduceDegrees(-720.0), 360.0);
    EXPECT_EQ(mlReduceDegrees(-10.0), 350.0);
    EXPECT_EQ(mlReduceDegrees(720.0), 0.0);
    EXPECT_EQ(mlReduceDegrees(359.5), 359.5);
    EXPECT_EQ(mlReduceDegrees(360.0), 0.0);
    EXPECT_EQ(mlReduceDegrees(-10.0f), 350.0f);
}

TYPED_TEST(PrecisionTyped, RadianRuleIsHalfOpenAroundZero) {
    using T = TypeParam;
    const T pi = mlPi<T>;
    EXPECT_EQ(mlReduceRadians(T(0)), T(0));
    EXPECT_NEAR(mlReduceRadians(pi), -pi, 4 * std::numeric_limits<T>::epsilon());
    EXPECT_EQ(mlReduceRadians(-pi), -pi);
    EXPECT_NEAR(mlReduceRadians(T(3) * pi + T(0.5)), -pi + T(0.5), 1e-5);
    EXPECT_NEAR(mlReduceRadians(T(-7)), T(-7) + mlTwoPi<T>, 1e-5);
}

TEST(PrecisionPower, SmallExponentsWrapIn32Bits) {
    EXPECT_EQ(mlPower(3, 0), 1);
    EXPECT_EQ(mlPower(0, 0), 1);
    EXPECT_EQ(mlPower(-7, 1), -7);
    EXPECT_EQ(mlPower(-3, 3), -27);
    EXPECT_EQ(mlPower(5, 4), 625);
    EXPECT_EQ(mlPower(0, 7), 0);
    EXPECT_EQ(mlPower(2, 10), 1024);
    EXPECT_EQ(mlPower(-2, 5), -32);
    EXPECT_EQ(mlPower(65536, 2), 0);            // 2^32 wraps to 0
    EXPECT_EQ(mlPower(46341, 2), -2147479015);  // wraps past INT_MAX
    EXPECT_EQ(mlPower(10, 10), INT_MIN);        // pow() out of range truncates as x86 does
}

TEST(PrecisionPower, NegativeExponentsDivideIntegrally) {
    EXPECT_EQ(mlPower(2, -1), 0);
    EXPECT_EQ(mlPower(1, -3), 1);
    EXPECT_EQ(mlPower(-1, -3), -1);
    EXPECT_EQ(mlPower(-1, -6), 1);
    EXPECT_EQ(mlPower(10, -10), INT_MAX);  // the most negative power gives INT_MAX
}

TEST(PrecisionPowerDeathTest, ZeroToNegativePowerTraps) {
    // The integer division by zero is left to the platform on purpose.
    EXPECT_DEATH({ volatile int r = mlPower(0, -2); (void)r; }, "");
}

TYPED_TEST(PrecisionTyped, ArcSinCosPicksTheQuadrant) {
    using T = TypeParam;
    const T pi = mlPi<T>;
    const T tol = std::is_same_v<T, float> ? T(1e-6) : T(1e-14);
    for (double deg = -179.0; deg <= 180.0; deg += 7.0) {
        const T a = T(deg * 3.141592653589793 / 180.0);
        EXPECT_NEAR(mlArcSinCos(std::sin(a), std::cos(a)), a, 10 * tol) << deg;
    }
    EXPECT_EQ(mlArcSinCos(T(0), T(-1)), -pi);  // the negative end, deliberately
    EXPECT_NEAR(mlArcSinCos(T(1e-3), T(-1)), pi - std::asin(T(1e-3)), tol);
    EXPECT_NEAR(mlArcSinCos(T(-1e-3), T(-1)), -pi + std::asin(T(1e-3)), tol);
    EXPECT_EQ(mlArcSinCos(T(2), T(0)), std::acos(T(0)));  // clamped to (1, 0): pi/2
    EXPECT_EQ(mlArcSinCos(T(-5), T(0)), -std::acos(T(0)));
}

TEST(PrecisionArcSinCos, SwitchLiteralIsNotSqrtHalf) {
    // Just above 0.707106781 but below sqrt(1/2): asin branch with cv >= 0 returns asin(sv).
    const double cv = 0.7071067811;
    EXPECT_EQ(mlArcSinCos(0.25, cv), std::asin(0.25));
    // At the literal itself the acos branch is taken.
    EXPECT_EQ(mlArcSinCos(0.25, 0.707106781), std::acos(0.707106781));
}

}  // namespace
