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
T Tol() {
    return std::is_same_v<T, float> ? T(2e-6) : T(1e-13);
}

// Real part, imaginary part, cache flag and Magn(), compared exactly in one go.
template <class T>
using State = std::tuple<T, T, int, T>;
template <class T>
State<T> Of(const CMLComplex<T>& z) {
    return {z.Real(), z.Imag(), z.IsTrigCalculated(), z.Magn()};
}
using SD = State<double>;

// Both parts within tol of (re, im).
template <class T>
::testing::AssertionResult Near(const CMLComplex<T>& z, double re, double im, double tol) {
    if (std::fabs(z.Real() - re) <= tol && std::fabs(z.Imag() - im) <= tol)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << z.Real() << ", " << z.Imag() << ")";
}

constexpr double kBig = 3.4028234663852886e38;

TEST(ComplexLayout, PlainRecordInFieldOrder) {
    static_assert(std::is_standard_layout_v<CMLComplex<double>>);
    static_assert(sizeof(CMLComplex<double>) == 6 * sizeof(double));
    const CMLComplex<double> a[2] = {{1, 2}, {3, 4}};
    EXPECT_EQ(reinterpret_cast<const double*>(&a[1])[1], 4.0);  // algebraic parts come first
}

TYPED_TEST(ComplexTyped, CopiesKeepCacheAndPrecisionResultsReset) {
    using T = TypeParam;
    CMLComplex<T> z(3, 4);
    z.SetPrecision(T(0.5));
    z.CalculateTrigonForm();
    const CMLComplex<T> sum = z + z, copy(z);
    EXPECT_EQ(sum.IsTrigCalculated(), 0);
    EXPECT_EQ(sum.GetPrecision(), mlDefaultPrecision<T>);
    EXPECT_EQ(Of(copy), State<T>(3, 4, 1, 5));
    EXPECT_EQ(copy.GetPrecision(), T(0.5));
}

TEST(ComplexAssignment, WithinPrecisionNothingChanges) {
    CMLComplex<double> a(1, 1), b(1.05, 1), c(2, 1);
    a.SetPrecision(0.1);
    b.CalculateTrigonForm();
    a = b;  // distance 0.05 <= 0.1: a keeps everything, cache state included
    EXPECT_EQ(Of(a), SD(1, 1, 0, std::sqrt(2.0)));
    c.CalculateTrigonForm();
    a = c;  // copied with its cache; the precision stays a's
    EXPECT_EQ(Of(a), SD(2, 1, 1, std::sqrt(5.0)));
    EXPECT_EQ(a.GetPrecision(), 0.1);
    a.SetPrecision(1e-12);
    a = CMLComplex<double>(2 + 2e-5, 1);  // below sqrt(P): the guarded distance is 0
    EXPECT_EQ(a.Real(), 2.0);
    a = CMLComplex<double>(2 + 1e-4, 1);
    EXPECT_EQ(a.Real(), 2 + 1e-4);
}

TEST(ComplexAssignment, ScalarSetsTheTrigForm) {
    CMLComplex<double> a;
    a.Set(-3, 1e-12);
    a = -3.0;  // same real part, imaginary within P: nothing changes
    EXPECT_EQ(Of(a), SD(-3, 1e-12, 0, 3));
    a.Set(-3, 1e-3);
    a = -3.0;  // the same real part, but the imaginary part is not within P
    EXPECT_EQ(Of(a), SD(-3, 0, 1, 3));
    a = -2.0;
    EXPECT_EQ(Of(a), SD(-2, 0, 1, 2));
    EXPECT_EQ(a.AngleInDegrees(), 180.0);
    a = 4.0;
    EXPECT_EQ(a.AngleInDegrees(), 0.0);
}

TYPED_TEST(ComplexTyped, ArithmeticMatchesDefinitions) {
    using T = TypeParam;
    const CMLComplex<T> a(1, 2), b(3, -4);
    EXPECT_EQ(Of(a * b), State<T>(11, 2, 0, std::sqrt(T(125))));
    EXPECT_TRUE(Near(a * b / b, 1, 2, Tol<T>()));
    EXPECT_TRUE(Near(a + T(2), 3, 2, 0));  // scalars act on the real part only
    EXPECT_TRUE(Near(a * T(2), 2, 4, 0));
    EXPECT_TRUE(Near(a.Conjugate(), 1, -2, 0));
    EXPECT_TRUE(Near(a.Invert(), 0.2, -0.4, Tol<T>()));
    const CMLComplex<T> r(T(2.6), T(2.4));  // rounding is component-wise, each by its own rule
    EXPECT_TRUE(Near(r.Round(), 3, 2, 0));
    EXPECT_TRUE(Near(r.Floor(), 2, 2, 0));
    EXPECT_TRUE(Near(r.Ceil(), 3, 3, 0));
    EXPECT_EQ(CMLComplex<T>(T(-2.0000000001), 0).Floor().Real(), T(-2));  // the tolerant floor
}

TYPED_TEST(ComplexTyped, CompoundAssignmentsLeaveTheCache) {
    using T = TypeParam;
    CMLComplex<T> z;
    z.SetInTrigForm(2, 90);
    z += T(1);
    EXPECT_EQ(z.Magn(), T(2));  // stale on purpose
    z *= CMLComplex<T>(0, 1);
    EXPECT_TRUE(Near(z, -2, 1, Tol<T>()));
    EXPECT_EQ(z.AngleInDegrees(), T(90));
    z -= CMLComplex<T>(1, 1);
    z /= CMLComplex<T>(0, 1);
    EXPECT_TRUE(Near(z, 0, 3, Tol<T>()));
    EXPECT_EQ(z.Magn(), T(2));
}

TEST(ComplexDivision, GuardsAndTheCachedDivisor) {
    const CMLComplex<double> one(1, 0);
    const CMLComplex<double> q = one / CMLComplex<double>(1e-5, 0);  // |b|^2 = 1e-10 < P
    EXPECT_TRUE(Near(q, kBig, kBig, 0));
    EXPECT_EQ(q.IsTrigCalculated(), 0);
    EXPECT_TRUE(Near(one / CMLComplex<double>(1e-4, 0), 1e4, 0, 1e-8));
    EXPECT_EQ((CMLComplex<float>(1, 0) / CMLComplex<float>(3e-4f, 0)).Real(), 3.4028235e38f);
    CMLComplex<double> b;
    b.SetInTrigForm(1e-5, 0);
    b += 10.0;  // the parts grow, the cache stays: the division still sees 1e-10
    EXPECT_EQ((one / b).Real(), kBig);
    EXPECT_EQ(CMLComplex<double>(0, 0).Invert().Real(), kBig);
    // The binary scalar form includes the bound P, the compound form excludes it.
    EXPECT_EQ((one / 1e-9).Real(), kBig);
    CMLComplex<double> c(1, 1);
    c /= 1e-9;
    EXPECT_DOUBLE_EQ(c.Real(), 1e9);
    c.Set(1, 1);
    c.CalculateTrigonForm();
    c /= 0.0;  // both parts become the guard value, the cache stays valid
    EXPECT_EQ(Of(c), SD(kBig, kBig, 1, std::sqrt(2.0)));
}

TYPED_TEST(ComplexTyped, EqualityIsStrictBothWays) {
    using T = TypeParam;
    CMLComplex<T> a(1, 0);
    a.SetPrecision(T(0.5));
    const CMLComplex<T> near(T(1.25), 0), edge(T(1.5), 0), far(2, 0);
    EXPECT_EQ(a == near, 1);
    EXPECT_EQ(a != near, 0);
    EXPECT_EQ(a == edge, 0);  // L equal to the precision: neither holds
    EXPECT_EQ(a != edge, 0);
    EXPECT_EQ(a != far, 1);
}

TEST(ComplexTrigForm, CachedAndComputedAnglesDifferInRange) {
    CMLComplex<double> z;
    z.SetInTrigForm(1, -360);
    EXPECT_EQ(z.AngleInDegrees(), 360.0);  // the degree rule keeps -360 as 360
    EXPECT_EQ(z.AngleInRadians(), 0.0);    // cached: reduced to [-pi, pi)
    EXPECT_TRUE(Near(z, 1, 0, 1e-15));
    const CMLComplex<double> down(0, -1);
    EXPECT_NEAR(down.AngleInRadians(), 1.5 * mlPi<double>, 1e-15);  // computed: [0, 2pi)
    EXPECT_NEAR(down.AngleInDegrees(), 270.0, 1e-12);
    z.SetInTrigForm(2, 270);
    EXPECT_NEAR(z.AngleInRadians(), -0.5 * mlPi<double>, 1e-15);
    EXPECT_TRUE(Near(z, 0, -2, 1e-15));
    z.Set(1, 1);
    z.CalculateAlgebrForm();  // from the cleared cache (0, 0); the flag stays 0
    EXPECT_EQ(Of(z), SD(0, 0, 0, 0));
}

TYPED_TEST(ComplexTyped, MagnitudeGuards) {
    using T = TypeParam;
    EXPECT_EQ(CMLComplex<T>(std::sqrt(mlDefaultPrecision<T>) * T(0.9), 0).Magn(), T(0));
    CMLComplex<T> wide(T(0.5), 0), z(3, 4), zero;
    wide.SetPrecision(T(0.6));  // precision^2 = 0.36 > 0.25
    EXPECT_EQ(wide.Magn(), T(0));
    EXPECT_EQ(mlAbs(wide), T(0.5));  // ignores the object's precision and cache
    z.CalculateTrigonForm();
    z.Set(6, 8);
    EXPECT_EQ(z.IsTrigCalculated(), 0);
    EXPECT_EQ(z.SquareMagn(), T(100));
    EXPECT_EQ(zero.AngleInDegrees(), T(0));
    zero.CalculateTrigonForm();
    EXPECT_EQ(Of(zero), State<T>(0, 0, 1, 0));
}

TEST(ComplexPower, NegativePowersAndTheirGuards) {
    CMLComplex<double> a(1e-3, 0), b, tiny(1e-10, 0), small(1e-5, 0);
    const CMLComplex<double> w = a.Power(-2);
    EXPECT_NEAR(w.Magn(), 1e6, 1e-6);
    EXPECT_EQ(w.AngleInDegrees(), 0.0);
    EXPECT_EQ(a.IsTrigCalculated(), 1);  // the cache of the base is filled
    // A modulus of at least P whose square falls below P: the true maximum, not mlBigValue.
    b.SetInTrigForm(1e-5, 0);
    EXPECT_EQ(b.Power(-2).Magn(), std::numeric_limits<double>::max());
    EXPECT_EQ(b.Power(-2).IsTrigCalculated(), 1);
    CMLComplex<float> bf;
    bf.SetInTrigForm(3e-4f, 0);
    EXPECT_EQ(bf.Power(-2).Magn(), std::numeric_limits<float>::max());
    // A modulus below P gives the zero value first; so does 1e-5, whose computed modulus is 0.
    EXPECT_EQ(Of(tiny.Power(-1)), SD(0, 0, 0, 0));
    EXPECT_EQ(small.Power(-2).Magn(), 0.0);
}

TYPED_TEST(ComplexTyped, PowersAndRootsMatchRepeatedProducts) {
    using T = TypeParam;
    CMLComplex<T> base(1, 1), product(1, 0), eight(8, 0), zero, r[3];
    for (int n = 0; n <= 7; ++n, product *= base) {
        const CMLComplex<T> w = base.Power(n);
        EXPECT_EQ(w.IsTrigCalculated(), 1);
        EXPECT_TRUE(Near(w, product.Real(), product.Imag(), 20 * Tol<T>())) << n;
        EXPECT_TRUE(w.AngleInDegrees() >= T(0) && w.AngleInDegrees() < T(360)) << n;
    }
    EXPECT_TRUE(Near(base.Power(-1), 0.5, -0.5, Tol<T>()));
    r[1].SetPrecision(T(0.25));
    ASSERT_EQ(eight.Roots(3, r), 1);
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(r[k].Magn(), T(2), Tol<T>());
        EXPECT_NEAR(r[k].AngleInDegrees(), T(120 * k), 1e-4);
        EXPECT_EQ(r[k].IsTrigCalculated(), 1);
        EXPECT_TRUE(Near(r[k] * r[k] * r[k], 8, 0, 40 * Tol<T>())) << k;
    }
    EXPECT_EQ(r[1].GetPrecision(), T(0.25));  // precision fields are not written
    EXPECT_EQ(zero.Roots(3, r), 0);
    EXPECT_EQ(eight.Roots(0, r), 1);
}

TEST(ComplexFree, ExtremesUseEachOperandsMagnFirstWins) {
    CMLComplex<double> a(3, 4), b(0, 2), c(-6, 0);
    a.CalculateTrigonForm();
    a += 100.0;  // stale cache: Magn() still 5
    EXPECT_EQ(mlAbsMax(a, b), 5.0);
    EXPECT_EQ(mlAbsMax(a, b, c), 6.0);
    EXPECT_EQ(mlAbsMin(a, b), 2.0);
    EXPECT_EQ(mlAbsMin(a, b, c), 2.0);
    const CMLComplex<float> v[4] = {{2, 0}, {0, 1}, {-1, 0}, {0, -2}};
    float value = -1;
    int index = -1;
    mlAbsMinInArray(4, v, value, index);
    EXPECT_EQ(std::make_pair(value, index), std::make_pair(1.0f, 1));
    mlAbsMaxInArray(4, v, value, index);
    EXPECT_EQ(std::make_pair(value, index), std::make_pair(2.0f, 0));
    mlAbsMaxInArray(0, v + 1, value, index);  // element 0 is read even for an empty range
    EXPECT_EQ(std::make_pair(value, index), std::make_pair(1.0f, 0));
}

TEST(ComplexFree, AlmostEqualAndZero) {
    const CMLComplex<double> a(1, 1), near(1 + 2e-5, 1), far(1 + 1e-4, 1);
    EXPECT_EQ(mlAreAlmostEqual(a, near, 1e-12), 1);  // below sqrt(P)
    EXPECT_EQ(mlAreAlmostEqual(a, far), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, far, 1e-3), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, a, 0.0), 0);  // L = 0 is not below a zero precision
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<double>(1e-5, 0)), 1);
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<double>(1e-3, 0)), 0);
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<float>(1e-3f, 0), 1e-2), 1);
    CMLComplex<double> stale(0, 0);
    stale.CalculateTrigonForm();
    stale += 5.0;  // cached modulus still 0
    EXPECT_EQ(mlIsAlmostZero(stale), 1);
    CMLComplex<double> z(5, 1e-9);  // IsReal and IsImag use P, not the object's precision
    z.SetPrecision(1e-20);
    EXPECT_EQ(z.IsReal(), 1);
    EXPECT_EQ(z.IsImag(), 0);
    EXPECT_EQ(CMLComplex<float>(1e-7f, 3).IsImag(), 1);
}

}  // namespace
