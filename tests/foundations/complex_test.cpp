#include <ml/complex.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>

namespace {

template <class T>
class ComplexTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexTyped, RealTypes);

template <class T>
const T kTol = std::is_same_v<T, float> ? T(2e-6) : T(1e-13);
constexpr double kBig = 3.4028234663852886e38;

// Real part, imaginary part, cache flag and Magn(), compared exactly in one go.
template <class T>
std::tuple<T, T, int, T> Of(const CMLComplex<T>& z) {
    return {z.Real(), z.Imag(), z.IsTrigCalculated(), z.Magn()};
}
using SD = std::tuple<double, double, int, double>;

// Both parts within tol of (re, im).
template <class T>
::testing::AssertionResult Near(const CMLComplex<T>& z, double re, double im, double tol) {
    if (std::fabs(z.Real() - re) <= tol && std::fabs(z.Imag() - im) <= tol)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << z.Real() << ", " << z.Imag() << ")";
}

TEST(ComplexLayout, PlainRecordInFieldOrder) {
    static_assert(std::is_standard_layout_v<CMLComplex<double>>);
    static_assert(sizeof(CMLComplex<double>) == 6 * sizeof(double));
    const CMLComplex<double> a[2] = {{1, 2}, {3, 4}};
    EXPECT_EQ(reinterpret_cast<const double*>(&a[1])[1], 4.0);  // algebraic parts come first
}

TEST(ComplexAssignment, NothingChangesWithinPrecision) {
    CMLComplex<double> a(1, 1), b(1.05, 1), c(2, 1);
    a.SetPrecision(0.1);
    b.CalculateTrigonForm();
    EXPECT_EQ(Of(a = b), SD(1, 1, 0, std::sqrt(2.0)));  // distance 0.05 <= 0.1: a keeps all
    c.CalculateTrigonForm();
    EXPECT_EQ(Of(a = c), SD(2, 1, 1, std::sqrt(5.0)));  // c and its cache; the precision stays
    const CMLComplex<double> copy(a);                   // takes the cache and the precision
    EXPECT_EQ(std::make_pair(Of(copy), copy.GetPrecision()), std::make_pair(Of(a), 0.1));
    a.SetPrecision(1e-12);
    EXPECT_EQ((a = CMLComplex<double>(2 + 2e-5, 1)).Real(), 2.0);  // the guarded distance is 0
    EXPECT_EQ((a = CMLComplex<double>(2 + 1e-4, 1)).Real(), 2 + 1e-4);
    // A scalar: nothing changes for the same real part with an imaginary part within P;
    // otherwise the value becomes real with its trigonometric form set.
    a.Set(-3, 1e-12);
    EXPECT_EQ(Of(a = -3.0), SD(-3, 1e-12, 0, 3));
    a.Set(-3, 1e-3);
    EXPECT_EQ(Of(a = -3.0), SD(-3, 0, 1, 3));
    EXPECT_EQ(Of(a = -2.0), SD(-2, 0, 1, 2));
    EXPECT_EQ(a.AngleInDegrees(), 180.0);
    EXPECT_EQ((a = 4.0).AngleInDegrees(), 0.0);
}

TYPED_TEST(ComplexTyped, ArithmeticGivesFreshValues) {
    using T = TypeParam;
    CMLComplex<T> a(1, 2);
    const CMLComplex<T> b(3, -4), r(T(2.6), T(-2.4));
    a.SetPrecision(T(0.5));
    a.CalculateTrigonForm();  // neither the cache nor the precision reaches a result
    const CMLComplex<T> got[] = {a + b,      a - b,     a * b,     a * b / b, a + T(2),
                                 a - T(2),   a * T(2),  a / T(2),  -a,        a.Conjugate(),
                                 a.Invert(), r.Round(), r.Floor(), r.Ceil()};
    const double want[][2] = {{4, -2},  {-2, 6},  {11, 2}, {1, 2},      {3, 2},  {-1, 2}, {2, 4},
                              {0.5, 1}, {-1, -2}, {1, -2}, {0.2, -0.4}, {3, -2}, {2, -3}, {3, -2}};
    for (int i = 0; i < 14; ++i) {
        EXPECT_TRUE(Near(got[i], want[i][0], want[i][1], kTol<T>)) << i;
        EXPECT_EQ(std::make_pair(got[i].IsTrigCalculated(), got[i].GetPrecision()),
                  std::make_pair(0, mlDefaultPrecision<T>));
    }
}

TYPED_TEST(ComplexTyped, CompoundAssignmentsLeaveTheCache) {
    using T = TypeParam;
    CMLComplex<T> z;
    z.SetInTrigForm(2, 90);
    z += T(1);
    EXPECT_EQ(std::make_pair(z.Magn(), z.SquareMagn()), std::make_pair(T(2), T(4)));  // stale
    EXPECT_NEAR(mlAbs(z), std::sqrt(T(5)), kTol<T>);  // mlAbs ignores the cache
    EXPECT_TRUE(Near(z *= CMLComplex<T>(0, 1), -2, 1, kTol<T>));
    EXPECT_TRUE(Near((z -= CMLComplex<T>(1, 1)) /= CMLComplex<T>(0, 1), 0, 3, kTol<T>));
    // A failed division: both parts become the guard value, the cache stays.
    EXPECT_EQ(Of(z /= CMLComplex<T>()), std::make_tuple(mlBigValue<T>, mlBigValue<T>, 1, T(2)));
}

TEST(ComplexDivision, GuardsAndTheCachedDivisor) {
    const CMLComplex<double> one(1, 0);
    EXPECT_TRUE(Near(one / CMLComplex<double>(1e-5, 0), kBig, kBig, 0));  // |b|^2 = 1e-10 < P
    EXPECT_TRUE(Near(one / CMLComplex<double>(1e-4, 0), 1e4, 0, 1e-8));
    EXPECT_EQ((CMLComplex<float>(1, 0) / CMLComplex<float>(3e-4f, 0)).Real(), 3.4028235e38f);
    CMLComplex<double> b, c(1, 1);
    b.SetInTrigForm(1e-5, 0);
    b += 10.0;  // the parts grow, the cache stays: division and inversion still see 1e-10
    EXPECT_EQ(std::make_pair((one / b).Real(), b.Invert().Imag()), std::make_pair(kBig, kBig));
    // The binary scalar form includes the bound P, the compound form excludes it.
    EXPECT_EQ((one / 1e-9).Real(), kBig);
    EXPECT_DOUBLE_EQ((c /= 1e-9).Real(), 1e9);
    c.Set(1, 1);
    c.CalculateTrigonForm();
    EXPECT_EQ(Of(c /= 0.0), SD(kBig, kBig, 1, std::sqrt(2.0)));  // the cache stays valid
}

TEST(ComplexTrigForm, CachedAndComputedAnglesDifferInRange) {
    CMLComplex<double> z;
    z.SetInTrigForm(1, -360);
    // The degree rule keeps -360 as 360; cached, the radians are reduced to [-pi, pi).
    EXPECT_EQ(std::make_pair(z.AngleInDegrees(), z.AngleInRadians()), std::make_pair(360.0, 0.0));
    EXPECT_NEAR(CMLComplex<double>(0, -1).AngleInRadians(), 1.5 * mlPi<double>, 1e-15);  // [0, 2pi)
    EXPECT_NEAR(CMLComplex<double>(0, -1).AngleInDegrees(), 270.0, 1e-12);
    z.SetInTrigForm(2, 270);
    EXPECT_NEAR(z.AngleInRadians(), -0.5 * mlPi<double>, 1e-15);
    EXPECT_TRUE(Near(z, 0, -2, 1e-15));
    z.Set(1, 1);
    z.CalculateAlgebrForm();  // from the cleared cache (0, 0); the flag stays 0
    EXPECT_EQ(Of(z), SD(0, 0, 0, 0));
}

TYPED_TEST(ComplexTyped, EqualityAndMagnitudeGuards) {
    using T = TypeParam;
    CMLComplex<T> a(1, 0);
    a.SetPrecision(T(0.5));
    // Distances 0.25, 0.5 (the precision itself: neither holds) and 1.
    const CMLComplex<T> b[] = {{T(1.25), 0}, {T(1.5), 0}, {2, 0}};
    const int eq[] = {1, 0, 0}, ne[] = {0, 0, 1};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(std::make_pair(a == b[i], a != b[i]), std::make_pair(eq[i], ne[i])) << i;
    EXPECT_EQ(CMLComplex<T>(std::sqrt(mlDefaultPrecision<T>) * T(0.9), 0).Magn(), T(0));
    CMLComplex<T> wide(T(0.5), 0), zero;
    wide.SetPrecision(T(0.6));  // precision^2 = 0.36 > 0.25
    EXPECT_EQ(std::make_pair(wide.Magn(), mlAbs(wide)), std::make_pair(T(0), T(0.5)));
    EXPECT_EQ(zero.AngleInDegrees(), T(0));
    zero.CalculateTrigonForm();
    EXPECT_EQ(Of(zero), std::make_tuple(T(0), T(0), 1, T(0)));
}

TYPED_TEST(ComplexTyped, PowersAndRoots) {
    using T = TypeParam;
    CMLComplex<T> base(1, 1), product(1, 0);
    for (int n = 0; n <= 7; ++n, product *= base) {  // trigonometric form, argument in [0, 360)
        const CMLComplex<T> w = base.Power(n);
        EXPECT_TRUE(Near(w, product.Real(), product.Imag(), 20 * kTol<T>) && w.IsTrigCalculated() &&
                    w.AngleInDegrees() >= 0 && w.AngleInDegrees() < 360)
            << n;
    }
    // Negative powers fill the base's cache. A cached modulus of at least P whose square is below
    // P gives the largest finite T (for double not mlBigValue); a modulus below P, also one
    // computed as 0 from a square below P, gives the zero value.
    const T P = mlDefaultPrecision<T>, m = std::sqrt(P) / 3;
    CMLComplex<T> a(T(1e-3), 0), cached, tiny(P / 10, 0), small(m, 0);
    EXPECT_NEAR(a.Power(-2).Magn(), T(1e6), T(1e6) * kTol<T>);
    EXPECT_EQ(a.IsTrigCalculated(), 1);
    cached.SetInTrigForm(m, 0);
    EXPECT_EQ(cached.Power(-2).Magn(), std::numeric_limits<T>::max());
    EXPECT_EQ(Of(tiny.Power(-1)), std::make_tuple(T(0), T(0), 0, T(0)));
    EXPECT_EQ(small.Power(-2).Magn(), T(0));
    CMLComplex<T> eight(8, 0), zero, r[3];
    r[1].SetPrecision(T(0.25));
    ASSERT_EQ(eight.Roots(3, r), 1);
    for (int k = 0; k < 3; ++k)  // cubes of 8, at 0, 120 and 240 degrees, in trigonometric form
        EXPECT_TRUE(Near(r[k] * r[k] * r[k], 8, 0, 40 * kTol<T>) && r[k].IsTrigCalculated() &&
                    std::fabs(r[k].AngleInDegrees() - 120 * k) < 1e-4)
            << k;
    EXPECT_EQ(r[1].GetPrecision(), T(0.25));  // precision fields are not written
    EXPECT_EQ(std::make_pair(zero.Roots(3, r), eight.Roots(0, r)), std::make_pair(0, 1));
}

TEST(ComplexFree, ExtremesAndAlmostEqual) {
    CMLComplex<double> a(3, 4), b(0, 2), c(-6, 0);
    a.CalculateTrigonForm();
    a += 100.0;  // stale cache: Magn() still 5
    EXPECT_EQ(std::make_pair(mlAbsMax(a, b), mlAbsMax(a, b, c)), std::make_pair(5.0, 6.0));
    EXPECT_EQ(std::make_pair(mlAbsMin(a, b), mlAbsMin(c, a, b)), std::make_pair(2.0, 2.0));
    const CMLComplex<float> v[4] = {{2, 0}, {0, 1}, {-1, 0}, {0, -2}};
    float value = -1;
    int index = -1;
    mlAbsMinInArray(4, v, value, index);
    EXPECT_EQ(std::make_pair(value, index), std::make_pair(1.0f, 1));
    mlAbsMaxInArray(4, v, value, index);
    EXPECT_EQ(std::make_pair(value, index), std::make_pair(2.0f, 0));
    mlAbsMaxInArray(0, v + 1, value, index);  // element 0 is read even for an empty range
    EXPECT_EQ(std::make_pair(value, index), std::make_pair(1.0f, 0));
    // Distances below sqrt(P) vanish; the caller's precision is compared strictly.
    const CMLComplex<double> one(1, 1), near(1 + 2e-5, 1), far(1 + 1e-4, 1);
    EXPECT_EQ(mlAreAlmostEqual(one, near, 1e-12), 1);
    EXPECT_EQ(mlAreAlmostEqual(one, far), 0);
    EXPECT_EQ(mlAreAlmostEqual(one, far, 1e-3), 1);
    EXPECT_EQ(mlAreAlmostEqual(one, one, 0.0), 0);  // L = 0 is not below a zero precision
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<double>(1e-5, 0)), 1);
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<double>(1e-3, 0)), 0);
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<float>(1e-3f, 0), 1e-2), 1);
    EXPECT_EQ(mlIsAlmostZero(a, 6.0), 1);  // from the stale cached modulus 5
    CMLComplex<double> z(5, 1e-9);         // IsReal and IsImag use P, not the object's precision
    z.SetPrecision(1e-20);
    EXPECT_EQ(std::make_pair(z.IsReal(), z.IsImag()), std::make_pair(1, 0));
}

}  // namespace
