#include <ml/complex.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace {

template <class T>
class ComplexTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexTyped, RealTypes);

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(2e-6) : T(1e-13);
}

TEST(ComplexLayout, PlainRecordInFieldOrder) {
    static_assert(std::is_standard_layout_v<CMLComplex<double>>);
    static_assert(!std::is_polymorphic_v<CMLComplex<double>>);
    static_assert(sizeof(CMLComplex<double>) == 5 * sizeof(double) + sizeof(double));
    static_assert(sizeof(CMLComplex<float>) == 6 * sizeof(float));
    // The first two words of the record are the algebraic parts, so arrays are plain arrays.
    CMLComplex<double> a[2] = {CMLComplex<double>(1, 2), CMLComplex<double>(3, 4)};
    const double* raw = reinterpret_cast<const double*>(&a[1]);
    EXPECT_EQ(raw[0], 3.0);
    EXPECT_EQ(raw[1], 4.0);
}

TYPED_TEST(ComplexTyped, FreshValuesHaveNoCacheAndDefaultPrecision) {
    using T = TypeParam;
    CMLComplex<T> z(3, 4);
    EXPECT_EQ(z.IsTrigCalculated(), 0);
    EXPECT_EQ(z.GetPrecision(), mlDefaultPrecision<T>);
    z.SetPrecision(T(0.5));
    z.CalculateTrigonForm();
    const CMLComplex<T> sum = z + z;  // binary results reset flag and precision
    EXPECT_EQ(sum.IsTrigCalculated(), 0);
    EXPECT_EQ(sum.GetPrecision(), mlDefaultPrecision<T>);
    const CMLComplex<T> copy(z);  // the copy constructor keeps both
    EXPECT_EQ(copy.IsTrigCalculated(), 1);
    EXPECT_EQ(copy.GetPrecision(), T(0.5));
    EXPECT_EQ(copy.Magn(), T(5));
}

TYPED_TEST(ComplexTyped, AssignmentWithinPrecisionChangesNothing) {
    using T = TypeParam;
    CMLComplex<T> a(1, 1);
    a.SetPrecision(T(0.1));
    CMLComplex<T> b(T(1.05), 1);
    b.SetPrecision(T(0.7));
    b.CalculateTrigonForm();
    a = b;  // distance 0.05 <= 0.1: a keeps everything, cache state included
    EXPECT_EQ(a.Real(), T(1));
    EXPECT_EQ(a.IsTrigCalculated(), 0);
    CMLComplex<T> c(2, 1);
    c.CalculateTrigonForm();
    a = c;  // now copied, cache included, precision kept
    EXPECT_EQ(a.Real(), T(2));
    EXPECT_EQ(a.IsTrigCalculated(), 1);
    EXPECT_EQ(a.GetPrecision(), T(0.1));
}

TEST(ComplexAssignment, DistancesBelowSqrtPAreAlwaysEqual) {
    CMLComplex<double> a(1, 0);
    a.SetPrecision(1e-12);
    a = CMLComplex<double>(1 + 2e-5, 0);  // 2e-5 < sqrt(1e-9): guarded distance 0
    EXPECT_EQ(a.Real(), 1.0);
    a = CMLComplex<double>(1 + 1e-4, 0);
    EXPECT_EQ(a.Real(), 1 + 1e-4);
}

TEST(ComplexAssignment, ScalarAssignmentSetsTrigForm) {
    CMLComplex<double> a;
    a.Set(-3, 1e-12);
    a = -3.0;  // already -3 with an imaginary part within P
    EXPECT_EQ(a.IsTrigCalculated(), 0);
    EXPECT_EQ(a.Imag(), 1e-12);
    a = -2.0;
    EXPECT_EQ(a.Real(), -2.0);
    EXPECT_EQ(a.Imag(), 0.0);
    EXPECT_EQ(a.IsTrigCalculated(), 1);
    EXPECT_EQ(a.Magn(), 2.0);
    EXPECT_EQ(a.AngleInDegrees(), 180.0);
    a = 4.0;
    EXPECT_EQ(a.AngleInDegrees(), 0.0);
}

TYPED_TEST(ComplexTyped, ArithmeticMatchesDefinitions) {
    using T = TypeParam;
    const CMLComplex<T> a(1, 2), b(3, -4);
    const CMLComplex<T> p = a * b;
    EXPECT_EQ(p.Real(), T(11));
    EXPECT_EQ(p.Imag(), T(2));
    const CMLComplex<T> q = p / b;
    EXPECT_NEAR(q.Real(), T(1), Tol<T>());
    EXPECT_NEAR(q.Imag(), T(2), Tol<T>());
    EXPECT_EQ((a + T(2)).Real(), T(3));
    EXPECT_EQ((a + T(2)).Imag(), T(2));  // scalars act on the real part only
    EXPECT_EQ((a - T(1)).Imag(), T(2));
    EXPECT_EQ((a * T(2)).Imag(), T(4));
    EXPECT_EQ((-a).Real(), T(-1));
    EXPECT_EQ(a.Conjugate().Imag(), T(-2));
    const CMLComplex<T> inv = a.Invert();
    EXPECT_NEAR(inv.Real(), T(0.2), Tol<T>());
    EXPECT_NEAR(inv.Imag(), T(-0.4), Tol<T>());
}

TYPED_TEST(ComplexTyped, CompoundAssignmentsLeaveTheCache) {
    using T = TypeParam;
    CMLComplex<T> z;
    z.SetInTrigForm(2, 90);
    z += T(1);
    EXPECT_EQ(z.Magn(), T(2));  // stale on purpose: the cache is not touched
    EXPECT_EQ(z.IsTrigCalculated(), 1);
    EXPECT_NEAR(z.Real(), T(1), Tol<T>());
    z *= CMLComplex<T>(0, 1);
    EXPECT_NEAR(z.Real(), T(-2), Tol<T>());
    EXPECT_NEAR(z.Imag(), T(1), Tol<T>());
    EXPECT_EQ(z.AngleInDegrees(), T(90));
    z -= CMLComplex<T>(1, 1);
    z /= CMLComplex<T>(0, 1);
    EXPECT_NEAR(z.Real(), T(0), Tol<T>());
    EXPECT_NEAR(z.Imag(), T(3), Tol<T>());
    EXPECT_EQ(z.Magn(), T(2));
}

TEST(ComplexDivision, GuardsAlmostZeroDivisor) {
    const CMLComplex<double> q = CMLComplex<double>(1, 0) / CMLComplex<double>(1e-5, 0);
    EXPECT_EQ(q.Real(), 3.4028234663852886e38);  // |b|^2 = 1e-10 < P
    EXPECT_EQ(q.Imag(), 3.4028234663852886e38);
    EXPECT_EQ(q.IsTrigCalculated(), 0);
    const CMLComplex<double> ok = CMLComplex<double>(1, 0) / CMLComplex<double>(1e-4, 0);
    EXPECT_NEAR(ok.Real(), 1e4, 1e-8);
    const CMLComplex<float> f = CMLComplex<float>(1, 0) / CMLComplex<float>(3e-4f, 0);
    EXPECT_EQ(f.Real(), 3.4028235e38f);  // 9e-8 < 1e-7
}

TEST(ComplexDivision, DivisorSquareComesFromTheCache) {
    CMLComplex<double> b(1, 0);
    b.SetInTrigForm(1e-5, 0);  // cached modulus 1e-5 even though the parts are recomputed
    b += 10.0;                 // parts grow, cache stays: the division still sees 1e-10
    const CMLComplex<double> q = CMLComplex<double>(1, 0) / b;
    EXPECT_EQ(q.Real(), mlBigValue<double>);
}

TEST(ComplexDivision, ScalarGuardsDiffer) {
    // The binary form includes the bound P, the compound form excludes it.
    const CMLComplex<double> a(1, 1);
    EXPECT_EQ((a / 1e-9).Real(), mlBigValue<double>);
    CMLComplex<double> b(1, 1);
    b /= 1e-9;
    EXPECT_DOUBLE_EQ(b.Real(), 1e9);
    CMLComplex<double> c(1, 1);
    c.CalculateTrigonForm();
    c /= 0.0;
    EXPECT_EQ(c.Real(), mlBigValue<double>);
    EXPECT_EQ(c.Imag(), mlBigValue<double>);
    EXPECT_EQ(c.IsTrigCalculated(), 1);
    EXPECT_NEAR(c.Magn(), std::sqrt(2.0), 1e-15);
    EXPECT_EQ(CMLComplex<double>(0, 0).Invert().Real(), mlBigValue<double>);
}

TYPED_TEST(ComplexTyped, EqualityIsStrictBothWays) {
    using T = TypeParam;
    CMLComplex<T> a(1, 0);
    a.SetPrecision(T(0.5));
    EXPECT_EQ(a == CMLComplex<T>(T(1.25), 0), 1);
    EXPECT_EQ(a != CMLComplex<T>(T(1.25), 0), 0);
    EXPECT_EQ(a == CMLComplex<T>(T(1.5), 0), 0);  // L equal to the precision: neither holds
    EXPECT_EQ(a != CMLComplex<T>(T(1.5), 0), 0);
    EXPECT_EQ(a != CMLComplex<T>(T(2), 0), 1);
}

TEST(ComplexTrigForm, SetInTrigFormReducesTheAngle) {
    CMLComplex<double> z;
    z.SetInTrigForm(1, -360);
    EXPECT_EQ(z.AngleInDegrees(), 360.0);  // the degree rule keeps -360 as 360
    EXPECT_EQ(z.AngleInRadians(), 0.0);    // cached: reduced to [-pi, pi)
    EXPECT_NEAR(z.Real(), 1.0, 1e-15);
    const CMLComplex<double> down(0, -1);
    EXPECT_NEAR(down.AngleInRadians(), 1.5 * mlPi<double>, 1e-15);  // uncached: [0, 2pi)
    EXPECT_NEAR(down.AngleInDegrees(), 270.0, 1e-12);
    z.SetInTrigForm(2, 270);
    EXPECT_NEAR(z.AngleInRadians(), -0.5 * mlPi<double>, 1e-15);
    EXPECT_NEAR(z.Imag(), -2.0, 1e-15);
}

TYPED_TEST(ComplexTyped, MagnitudeGuards) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    const T small = std::sqrt(p) * T(0.9);  // squared modulus below P
    EXPECT_EQ(CMLComplex<T>(small, 0).Magn(), T(0));
    EXPECT_EQ(CMLComplex<T>(3, 4).Magn(), T(5));
    CMLComplex<T> wide(T(0.5), 0);
    wide.SetPrecision(T(0.6));  // precision^2 = 0.36 > 0.25
    EXPECT_EQ(wide.Magn(), T(0));
    EXPECT_EQ(mlAbs(wide), T(0.5));  // ignores the object's precision and cache
    CMLComplex<T> z(3, 4);
    z.CalculateTrigonForm();
    z.Set(6, 8);
    EXPECT_EQ(z.IsTrigCalculated(), 0);
    EXPECT_EQ(z.SquareMagn(), T(100));
    EXPECT_EQ(CMLComplex<T>(0, 0).AngleInDegrees(), T(0));
    CMLComplex<T> zero;
    zero.CalculateTrigonForm();
    EXPECT_EQ(zero.IsTrigCalculated(), 1);
    EXPECT_EQ(zero.Magn(), T(0));
}

TEST(ComplexTrigForm, CalculateAlgebrFormKeepsFlag) {
    CMLComplex<double> z(1, 1);
    z.CalculateAlgebrForm();  // cache is 0, 0: the parts become 0
    EXPECT_EQ(z.Real(), 0.0);
    EXPECT_EQ(z.IsTrigCalculated(), 0);
}

TEST(ComplexRounding, ComponentWise) {
    const CMLComplex<double> z(-2.5, 2.5);
    EXPECT_EQ(z.Round().Real(), -3.0);
    EXPECT_EQ(z.Round().Imag(), 3.0);
    EXPECT_EQ(z.Floor().Real(), -3.0);
    EXPECT_EQ(z.Ceil().Imag(), 3.0);
    EXPECT_EQ(CMLComplex<double>(-2.0000000001, 0).Floor().Real(), -2.0);
}

TEST(ComplexPower, NegativePowersUseTheTrueMaximum) {
    CMLComplex<double> a(1e-3, 0);
    const CMLComplex<double> w = a.Power(-2);
    EXPECT_NEAR(w.Magn(), 1e6, 1e-6);
    EXPECT_EQ(w.AngleInDegrees(), 0.0);
    EXPECT_EQ(a.IsTrigCalculated(), 1);  // the cache of the base is filled
    // A modulus of at least P whose square falls below P: the largest double, not mlBigValue.
    CMLComplex<double> b;
    b.SetInTrigForm(1e-5, 0);
    EXPECT_EQ(b.Power(-2).Magn(), std::numeric_limits<double>::max());
    EXPECT_EQ(b.Power(-2).IsTrigCalculated(), 1);
    CMLComplex<float> bf;
    bf.SetInTrigForm(3e-4f, 0);
    EXPECT_EQ(bf.Power(-2).Magn(), std::numeric_limits<float>::max());
}

TEST(ComplexPower, ModulusBelowPComesFirst) {
    CMLComplex<double> tiny(1e-10, 0);
    const CMLComplex<double> z = tiny.Power(-1);
    EXPECT_EQ(z.Magn(), 0.0);
    EXPECT_EQ(z.Real(), 0.0);
    EXPECT_EQ(z.IsTrigCalculated(), 0);
    // Filling the cache of 1e-5 + 0i gives modulus 0 (its squared modulus is within P), so its
    // negative powers are the zero value as well.
    CMLComplex<double> small(1e-5, 0);
    EXPECT_EQ(small.Power(-2).Magn(), 0.0);
    EXPECT_EQ(small.Magn(), 0.0);
}

TYPED_TEST(ComplexTyped, PowerMatchesRepeatedProducts) {
    using T = TypeParam;
    CMLComplex<T> base(1, 1);
    CMLComplex<T> product(1, 0);
    for (int n = 0; n <= 7; ++n) {
        const CMLComplex<T> w = base.Power(n);
        EXPECT_EQ(w.IsTrigCalculated(), 1);
        EXPECT_NEAR(w.Real(), product.Real(), 20 * Tol<T>()) << n;
        EXPECT_NEAR(w.Imag(), product.Imag(), 20 * Tol<T>()) << n;
        EXPECT_GE(w.AngleInDegrees(), T(0));
        EXPECT_LT(w.AngleInDegrees(), T(360));
        product *= base;
    }
    const CMLComplex<T> inv = base.Power(-1);
    EXPECT_NEAR(inv.Real(), T(0.5), Tol<T>());
    EXPECT_NEAR(inv.Imag(), T(-0.5), Tol<T>());
}

TYPED_TEST(ComplexTyped, RootsOfEight) {
    using T = TypeParam;
    CMLComplex<T> eight(8, 0);
    CMLComplex<T> r[3];
    r[1].SetPrecision(T(0.25));
    ASSERT_EQ(eight.Roots(3, r), 1);
    const T angles[3] = {0, 120, 240};
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(r[k].Magn(), T(2), Tol<T>());
        EXPECT_NEAR(r[k].AngleInDegrees(), angles[k], 1e-4);
        EXPECT_EQ(r[k].IsTrigCalculated(), 1);
        const CMLComplex<T> cube = r[k] * r[k] * r[k];
        EXPECT_NEAR(cube.Real(), T(8), 40 * Tol<T>());
        EXPECT_NEAR(cube.Imag(), T(0), 40 * Tol<T>());
    }
    EXPECT_EQ(r[1].GetPrecision(), T(0.25));  // precision fields are not written
    CMLComplex<T> zero;
    EXPECT_EQ(zero.Roots(3, r), 0);
    EXPECT_EQ(eight.Roots(0, r), 1);
}

TEST(ComplexFree, AbsMaxMinUseEachOperandsMagn) {
    CMLComplex<double> a(3, 4), b(0, 2), c(-6, 0);
    a.CalculateTrigonForm();
    a += 100.0;  // stale cache: Magn() still 5
    EXPECT_EQ(mlAbsMax(a, b), 5.0);
    EXPECT_EQ(mlAbsMax(a, b, c), 6.0);
    EXPECT_EQ(mlAbsMin(a, b), 2.0);
    EXPECT_EQ(mlAbsMin(a, b, c), 2.0);
}

TEST(ComplexFree, ArrayExtremesFirstWins) {
    const CMLComplex<double> v[3] = {CMLComplex<double>(2, 0), CMLComplex<double>(0, 1),
                                     CMLComplex<double>(-1, 0)};
    double value = 0;
    int index = -1;
    mlAbsMinInArray(3, v, value, index);
    EXPECT_EQ(value, 1.0);
    EXPECT_EQ(index, 1);
    const CMLComplex<float> w[4] = {CMLComplex<float>(1, 0), CMLComplex<float>(0, 3),
                                    CMLComplex<float>(-3, 0), CMLComplex<float>(2, 0)};
    float fv = 0;
    mlAbsMaxInArray(4, w, fv, index);
    EXPECT_EQ(fv, 3.0f);
    EXPECT_EQ(index, 1);
    mlAbsMaxInArray(0, w, fv, index);  // element 0 is read even for an empty range
    EXPECT_EQ(fv, 1.0f);
    EXPECT_EQ(index, 0);
}

TEST(ComplexFree, AlmostEqualAndZero) {
    const CMLComplex<double> a(1, 1);
    EXPECT_EQ(mlAreAlmostEqual(a, CMLComplex<double>(1 + 2e-5, 1)), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, CMLComplex<double>(1 + 2e-5, 1), 1e-12), 1);  // below sqrt(P)
    EXPECT_EQ(mlAreAlmostEqual(a, CMLComplex<double>(1 + 1e-4, 1)), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, CMLComplex<double>(1 + 1e-4, 1), 1e-3), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, a, 0.0), 0);  // L = 0 is not below a zero precision
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<double>(1e-5, 0)), 1);
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<double>(1e-3, 0)), 0);
    EXPECT_EQ(mlIsAlmostZero(CMLComplex<float>(1e-3f, 0), 1e-2), 1);
    CMLComplex<double> cached(0.5, 0);
    cached.CalculateTrigonForm();
    cached.Set(0.5, 0);  // Set clears the cache
    EXPECT_EQ(mlIsAlmostZero(cached, 0.6), 1);
    CMLComplex<double> stale(0, 0);
    stale.CalculateTrigonForm();
    stale += 5.0;  // cached modulus still 0
    EXPECT_EQ(mlIsAlmostZero(stale), 1);
}

TEST(ComplexPredicates, RealAndImagUseDefaultPrecision) {
    CMLComplex<double> z(5, 1e-9);
    z.SetPrecision(1e-20);
    EXPECT_EQ(z.IsReal(), 1);
    EXPECT_EQ(z.IsImag(), 0);
    EXPECT_EQ(CMLComplex<double>(2e-9, 3).IsImag(), 0);
    EXPECT_EQ(CMLComplex<float>(1e-7f, 3).IsImag(), 1);
}

}  // namespace
