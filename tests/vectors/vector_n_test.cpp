#include <ml/vector_n.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

template <class T>
class VectorNTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(VectorNTyped, RealTypes);

using CD = CMLComplex<double>;
using CF = CMLComplex<float>;

template <class T>
CMLVectorN<T> Make(std::initializer_list<T> values) {
    CMLVectorN<T> v(static_cast<int>(values.size()));
    int i = 0;
    for (T x : values) v[i++] = x;
    return v;
}

// ---------------------------------------------------------------------------------------------
// Layout and polymorphism

TEST(VectorNLayout, PolymorphicWithDimensionThenData) {
    static_assert(std::is_polymorphic_v<CMLBaseVector<double>>);
    static_assert(std::has_virtual_destructor_v<CMLBaseVector<int>>);
    static_assert(std::is_base_of_v<CMLBaseVector<float>, CMLVectorN<float>>);
    // vtable pointer, int dimension, data pointer; the derived class adds no data.
    static_assert(sizeof(CMLBaseVector<double>) == 3 * sizeof(void*));
    static_assert(sizeof(CMLVectorN<double>) == sizeof(CMLBaseVector<double>));
}

TEST(VectorNLayout, AssignmentDispatchesThroughTheBase) {
    CMLVectorN<double> target(2);
    CMLBaseVector<double>& asBase = target;
    const CMLBaseVector<double> src(2, 4.0);
    asBase = src;  // virtual: the CMLVectorN override runs and copies
    EXPECT_EQ(target[0], 4.0);
    EXPECT_EQ(target[1], 4.0);
    CMLBaseVector<double>* owned = new CMLVectorN<double>(3, 1.0);
    delete owned;  // virtual destructor through the base pointer (sanitizer build checks it)
}

// ---------------------------------------------------------------------------------------------
// Construction, ownership and assignment

TEST(VectorNConstruction, ValueInitialisedAndSized) {
    const CMLBaseVector<int> empty;
    EXPECT_EQ(empty.Dim(), 0);
    const CMLBaseVector<int> zeros(4);
    EXPECT_EQ(zeros.Dim(), 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(zeros[i], 0);
    const CMLBaseVector<CD> cz(2);
    EXPECT_EQ(cz[1].Real(), 0.0);
    EXPECT_EQ(cz[1].Imag(), 0.0);
    const double src[3] = {1, 2, 3};
    const CMLVectorN<double> copied(3, src);
    EXPECT_EQ(copied[2], 3.0);
    const CMLVectorN<float> filled(2, 1.5f);
    EXPECT_EQ(filled[1], 1.5f);
    const CMLBaseVector<double> negative(-3);
    EXPECT_EQ(negative.Dim(), 0);
}

TEST(VectorNConstruction, CopiesAreDeep) {
    CMLVectorN<double> a = Make<double>({1, 2, 3});
    CMLVectorN<double> b(a);
    b[0] = 9;
    EXPECT_EQ(a[0], 1.0);
    EXPECT_EQ(b.Dim(), 3);
    CMLVectorN<double> moved(std::move(b));
    EXPECT_EQ(moved[0], 9.0);
    EXPECT_EQ(b.Dim(), 0);  // NOLINT: the moved-from vector is empty by contract
}

TEST(VectorNAssignment, NeverResizesTheTarget) {
    const CMLVectorN<double> five = Make<double>({1, 2, 3, 4, 5});
    CMLVectorN<double> three(3);
    three = five;
    EXPECT_EQ(three.Dim(), 3);
    EXPECT_EQ(three[0], 1.0);
    EXPECT_EQ(three[2], 3.0);
    CMLVectorN<double> empty;
    empty = five;  // an empty target does nothing at all
    EXPECT_EQ(empty.Dim(), 0);
    CMLBaseVector<int> self(2, 7);
    self = self;
    EXPECT_EQ(self[1], 7);
}

TEST(VectorNAssignment, ComplexElementsAreCopiedExactly) {
    // An element assignment of CMLComplex keeps the old value within its precision; the vector
    // copy does not go through it.
    CMLBaseVector<CD> src(1, CD(1e-6, 0));
    CMLBaseVector<CD> dst(1);
    dst = src;
    EXPECT_EQ(dst[0].Real(), 1e-6);
    CD cached(3, 4);
    cached.CalculateTrigonForm();
    cached.SetPrecision(0.5);
    const CMLBaseVector<CD> v(1, &cached);
    EXPECT_EQ(v[0].IsTrigCalculated(), 1);
    EXPECT_EQ(v[0].GetPrecision(), 0.5);
}

TEST(VectorNDimension, SetDimensionAlwaysZeroFills) {
    CMLVectorN<double> v = Make<double>({1, 2, 3});
    v.SetDimension(3);
    EXPECT_EQ(v.Dim(), 3);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(v[i], 0.0);
    v.SetDimension(0);
    EXPECT_EQ(v.Dim(), 0);
    v.SetDimension(2);
    EXPECT_EQ(v[1], 0.0);
    CMLBaseVector<CF> c(1, CF(1, 1));
    c.SetDimension(1);
    EXPECT_EQ(c[0].Imag(), 0.0f);
}

// ---------------------------------------------------------------------------------------------
// Block copies

TEST(VectorNParts, FillPartClampsToTheDimension) {
    CMLBaseVector<int> v(6);
    const int src[10] = {10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    v.FillPart(src, 4, 10);
    EXPECT_EQ(v[3], 0);
    EXPECT_EQ(v[4], 10);
    EXPECT_EQ(v[5], 11);
    v.FillPart(src, 6, 3);  // k = 0: nothing
    v.FillPart(src, 1, 0);
    EXPECT_EQ(v[1], 0);
    v.Fill(src);
    EXPECT_EQ(v[5], 15);
}

TEST(VectorNParts, DumpAndDumpPart) {
    const CMLBaseVector<double> v(4, 2.5);
    double out[4] = {0, 0, 0, 0};
    v.DumpPart(2, 5, out);
    EXPECT_EQ(out[0], 2.5);
    EXPECT_EQ(out[1], 2.5);
    EXPECT_EQ(out[2], 0.0);
    double all[4] = {};
    v.Dump(all);
    EXPECT_EQ(all[3], 2.5);
}

TEST(VectorNParts, ReplacePart) {
    CMLBaseVector<int> v(5);
    const int raw[5] = {1, 2, 3, 4, 5};
    const CMLBaseVector<int> src(5, raw);
    v.ReplacePart(1, 3, 2, src);
    EXPECT_EQ(v[0], 0);
    EXPECT_EQ(v[1], 4);
    EXPECT_EQ(v[2], 5);
    v.ReplacePart(0, 0, 0, src);
    EXPECT_EQ(v[0], 0);
    CMLBaseVector<int> self(5, raw);
    self.ReplacePart(1, 0, 4, self);  // overlapping: reads before it writes
    EXPECT_EQ(self[1], 1);
    EXPECT_EQ(self[4], 4);
}

// ---------------------------------------------------------------------------------------------
// Arithmetic

TYPED_TEST(VectorNTyped, ArithmeticIsElementWise) {
    using T = TypeParam;
    const CMLVectorN<T> a = Make<T>({1, 2, 3});
    const CMLVectorN<T> b = Make<T>({4, 5, 6, 99});
    const CMLVectorN<T> sum = a + b;  // left dimension
    ASSERT_EQ(sum.Dim(), 3);
    EXPECT_EQ(sum[2], T(9));
    EXPECT_EQ((a - b)[0], T(-3));
    EXPECT_EQ((a * T(2))[1], T(4));
    EXPECT_EQ((a / T(4))[0], T(0.25));
    EXPECT_EQ(a.Negate()[2], T(-3));
    CMLVectorN<T> c(a);
    c += a;
    c -= Make<T>({1, 1, 1});
    c *= T(3);
    c /= T(2);
    EXPECT_EQ(c[0], T(1.5));
    EXPECT_EQ(c[2], T(7.5));
    c.Mul(T(2));
    c.Div(T(3));
    c.Add(a);
    c.Sub(a);
    EXPECT_EQ(c[2], T(5));
}

TEST(VectorNArithmetic, DivisionIsNotGuarded) {
    const CMLVectorN<double> a = Make<double>({1, -1, 0});
    const CMLVectorN<double> q = a / 0.0;
    EXPECT_EQ(q[0], std::numeric_limits<double>::infinity());
    EXPECT_EQ(q[1], -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(q[2]));
    // Division is a true quotient, not a product with the reciprocal.
    EXPECT_EQ((CMLVectorN<double>(1, 1.0) / 3.0)[0], 1.0 / 3.0);
}

TEST(VectorNArithmetic, BaseResultsConvertToVectorN) {
    const CMLBaseVector<double> a(2, 1.0), b(2, 2.0);
    const CMLVectorN<double> sum = a + b;
    EXPECT_EQ(sum.Length(), std::sqrt(18.0));
    const CMLBaseVector<double> mid = mlFindMidpoint(a, b);
    EXPECT_EQ(mid[0], 1.5);
}

// ---------------------------------------------------------------------------------------------
// Equality

TEST(VectorNEquality, DoubleToleranceIncludesP) {
    // Differences of exactly P and of 1.5e-9 in one element.
    const CMLVectorN<double> z(1, 0.0), p(1, 1e-9), over(1, 1.5e-9);
    EXPECT_EQ(z == p, 1);
    EXPECT_EQ(z != p, 0);
    EXPECT_EQ(z == over, 0);
    EXPECT_EQ(z != over, 1);
    // The norm test still calls them equal: 1.5e-9 is far below sqrt(P).
    EXPECT_EQ(mlAreAlmostEqual(z, over), 1);
    EXPECT_EQ(mlAreAlmostEqual(z, over, 1e-12), 1);
}

TEST(VectorNEquality, FloatToleranceIncludesP) {
    const CMLVectorN<float> z(1, 0.0f), p(1, 1e-7f), over(1, 1.2e-7f);
    EXPECT_EQ(z == p, 1);
    EXPECT_EQ(z == over, 0);
}

TEST(VectorNEquality, DimensionsAndEmptyVectors) {
    EXPECT_EQ(CMLBaseVector<int>() == CMLBaseVector<int>(), 1);
    EXPECT_EQ(CMLBaseVector<int>(2) == CMLBaseVector<int>(3), 0);
    EXPECT_EQ(CMLBaseVector<int>(2) != CMLBaseVector<int>(3), 1);
    CMLBaseVector<int> a(2, 5), b(2, 5);
    EXPECT_EQ(a == b, 1);
    b[1] = 6;
    EXPECT_EQ(a == b, 0);
}

TEST(VectorNEquality, OnlyDifferencesAboveTheToleranceCount) {
    // A NaN difference is not greater than P: the same rule as the fixed vectors.
    const CMLVectorN<double> a(1, std::nan("")), b(1, 1.0);
    EXPECT_EQ(a == b, 1);
    EXPECT_EQ(a != b, 0);
}

TEST(VectorNEquality, ComplexUsesTheGuardedModulus) {
    // Distances below sqrt(P) have a zero guarded modulus and are equal.
    const CMLBaseVector<CD> a(1, CD(1, 0));
    EXPECT_EQ(a == CMLBaseVector<CD>(1, CD(1 + 2e-5, 0)), 1);
    EXPECT_EQ(a == CMLBaseVector<CD>(1, CD(1, 4e-5)), 0);
    const CMLBaseVector<CF> f(1, CF(1, 0));
    EXPECT_EQ(f == CMLBaseVector<CF>(1, CF(1, 3e-4f)), 1);
    EXPECT_EQ(f != CMLBaseVector<CF>(1, CF(1, 1e-3f)), 1);
}

// ---------------------------------------------------------------------------------------------
// Dot products

TEST(VectorNDot, RealAndIntegerDots) {
    const CMLVectorN<double> a = Make<double>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    EXPECT_EQ(a.Dot(a), 506.0);  // longer than one block of partial sums
    EXPECT_EQ(CMLVectorN<double>().Dot(CMLVectorN<double>()), 0.0);
    EXPECT_EQ(a.DotForPart(2, 1, a), 0.0);
    EXPECT_EQ(a.DotForPart(1, 1, a), 4.0);
    EXPECT_EQ(a.DotForPart(0, 2, a), 14.0);
    const int raw[3] = {1, -2, 3};
    const CMLBaseVector<int> v(3, raw);
    EXPECT_EQ(v.Dot(v), 14);
}

TEST(VectorNDot, ComplexDotDoesNotConjugate) {
    const CMLBaseVector<CD> i(1, CD(0, 1));
    EXPECT_EQ(i.Dot(i).Real(), -1.0);
    EXPECT_EQ(i.Dot(i).Imag(), 0.0);
    const CD raw[2] = {CD(1, 2), CD(3, -1)};
    const CMLBaseVector<CD> v(2, raw);
    const CD d = v.Dot(v);  // (1+2i)^2 + (3-i)^2 = (-3+4i) + (8-6i)
    EXPECT_EQ(d.Real(), 5.0);
    EXPECT_EQ(d.Imag(), -2.0);
    const CF f = mlPartialDotProduct(0, 0, 1, CMLBaseVector<CF>(1, CF(0, 1)),
                                     CMLBaseVector<CF>(1, CF(0, 1)));
    EXPECT_EQ(f.Real(), -1.0f);
}

TEST(VectorNDot, PartialDotProductOffsets) {
    const CMLVectorN<double> a = Make<double>({1, 2, 3, 4});
    const CMLVectorN<double> b = Make<double>({10, 20, 30, 40});
    EXPECT_EQ(mlPartialDotProduct(1, 2, 2, a, b), 2 * 30.0 + 3 * 40.0);
    EXPECT_EQ(mlPartialDotProduct(0, 0, 0, a, b), 0.0);
    EXPECT_EQ(mlPartialDotProduct(0, 0, -1, a, b), 0.0);
}

// ---------------------------------------------------------------------------------------------
// Norms, normalisation, extreme components

TYPED_TEST(VectorNTyped, Norms) {
    using T = TypeParam;
    const CMLVectorN<T> v = Make<T>({3, -4, 0});
    EXPECT_EQ(v.Length(), T(5));
    EXPECT_EQ(v.NormEuclidean(), T(5));
    EXPECT_EQ(v.SquareLength(), T(25));
    EXPECT_EQ(v.Norm1(), T(7));
    EXPECT_EQ(v.NormInf(), T(4));
    const CMLVectorN<T> empty;
    EXPECT_EQ(empty.Length(), T(0));
    EXPECT_EQ(empty.Norm1(), T(0));
    EXPECT_EQ(empty.NormInf(), T(0));
    // Below sqrt(P) the guarded length is exactly 0.
    const T tiny = std::sqrt(mlDefaultPrecision<T>) * T(0.9);
    EXPECT_EQ(CMLVectorN<T>(1, tiny).Length(), T(0));
    EXPECT_GT(CMLVectorN<T>(1, tiny).SquareLength(), T(0));
}

TEST(VectorNNorms, LongSumsMatchTheSequentialSum) {
    CMLVectorN<double> v(1003);
    double seq = 0, abs = 0;
    for (int i = 0; i < v.Dim(); ++i) {
        v[i] = std::sin(0.37 * i) * (i % 7 + 1);
        seq += v[i] * v[i];
        abs += std::fabs(v[i]);
    }
    EXPECT_NEAR(v.SquareLength(), seq, 1e-12 * seq);
    EXPECT_NEAR(v.Norm1(), abs, 1e-12 * abs);
    EXPECT_NEAR(v.Dot(v), seq, 1e-12 * seq);
}

TEST(VectorNNormalize, FailsBelowPAndLeavesTheVector) {
    CMLVectorN<double> v = Make<double>({1e-6, 0, 0});
    EXPECT_EQ(v.Normalize(), 0);
    EXPECT_EQ(v[0], 1e-6);
    CMLVectorN<double> w = Make<double>({4e-5, 0, 0});  // above sqrt(P): normalises
    EXPECT_EQ(w.Normalize(), 1);
    EXPECT_NEAR(w[0], 1.0, 1e-15);
    CMLVectorN<float> f = Make<float>({3, 0, 4});
    EXPECT_EQ(f.Normalize(), 1);
    EXPECT_EQ(f.IsAlmostUnit(), 1);
    EXPECT_FLOAT_EQ(f[2], 0.8f);
}

TEST(VectorNComponents, FirstExtremeWins) {
    const CMLVectorN<double> a = Make<double>({3, 7, 7});
    EXPECT_EQ(a.GetIndexOfMaxComponent(0), 1);
    const CMLVectorN<double> b = Make<double>({-9, 7, 9});
    EXPECT_EQ(b.GetIndexOfMaxComponent(1), 0);
    EXPECT_EQ(b.GetIndexOfMaxComponent(0), 2);
    EXPECT_EQ(b.GetMaxComponent(1), 9.0);
    EXPECT_EQ(b.GetMaxComponent(0), 9.0);
    EXPECT_EQ(b.GetMinComponent(0), -9.0);
    EXPECT_EQ(b.GetMinComponent(1), 7.0);
    EXPECT_EQ(b.GetIndexOfMinComponent(1), 1);
    const CMLVectorN<double> c = Make<double>({2, -1, 5, -1});
    EXPECT_EQ(c.GetIndexOfMinComponent(0), 1);
    EXPECT_EQ(CMLVectorN<double>().GetIndexOfMaxComponent(0), 0);
    EXPECT_EQ(CMLVectorN<double>(1, -5.0).GetIndexOfMinComponent(1), 0);
    EXPECT_EQ(CMLVectorN<double>().GetMaxComponent(1), 0.0);
    EXPECT_EQ(CMLVectorN<double>().GetMinComponent(0), 0.0);
}

TYPED_TEST(VectorNTyped, PredicatesAndCleanUp) {
    using T = TypeParam;
    EXPECT_EQ(CMLVectorN<T>(2, T(0.25)).IsAlmostZero(T(0.5)), 1);
    EXPECT_EQ(CMLVectorN<T>(2, T(1)).IsAlmostZero(T(0.5)), 0);
    EXPECT_EQ(Make<T>({0, 1, 0}).IsAlmostUnit(T(0)), 1);
    EXPECT_EQ(Make<T>({0, 2, 0}).IsAlmostUnit(T(0.5)), 0);
    CMLVectorN<T> v = Make<T>({T(0.1), T(-0.1), T(0.05), 2});
    v.AnnulateSmallComponents(T(0.1));  // strict: 0.1 itself stays
    EXPECT_EQ(v[0], T(0.1));
    EXPECT_EQ(v[1], T(-0.1));
    EXPECT_EQ(v[2], T(0));
    v.SetToConstant(T(3));
    EXPECT_EQ(v[3], T(3));
    v.SetToZero();
    EXPECT_EQ(v[0], T(0));
}

// ---------------------------------------------------------------------------------------------
// Free functions

TYPED_TEST(VectorNTyped, Distances) {
    using T = TypeParam;
    const CMLVectorN<T> a = Make<T>({1, 2, 3});
    const CMLVectorN<T> b = Make<T>({4, 6, 3});
    EXPECT_EQ(mlSquareDist(a, b), T(25));
    EXPECT_EQ(mlDist(a, b), T(5));
    EXPECT_EQ(mlDist(a, a), T(0));
    const CMLBaseVector<T> mid = mlFindMidpoint<T>(a, b);
    EXPECT_EQ(mid[0], T(2.5));
    EXPECT_EQ(mid[2], T(3));
}

TEST(VectorNAlmostEqual, NormOfTheDifferenceWithTheSqrtPFloor) {
    CMLVectorN<double> a(3, 1.0), b(3, 1.0);
    b[1] += 2e-5;  // below sqrt(P): equal whatever the precision
    EXPECT_EQ(mlAreAlmostEqual(a, b), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-12), 1);
    b[1] = 1 + 1e-4;
    EXPECT_EQ(mlAreAlmostEqual(a, b), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-3), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-4 - 1e-12), 0);
    const CMLVectorN<float> f(2, 1.0f), g(2, 1.001f);
    EXPECT_EQ(mlAreAlmostEqual(f, g, 1e-2), 1);  // double literal with float vectors
}

TEST(VectorNOrthogonal, RelativeCosineTest) {
    const CMLVectorN<double> x = Make<double>({1, 0});
    const CMLVectorN<double> y = Make<double>({0, 2});
    EXPECT_EQ(mlAreOrthogonal(x, y, 1e-6), 1);
    EXPECT_EQ(mlAreOrthogonal(x, x, 1e-6), 0);
    const CMLVectorN<double> zero(2);
    EXPECT_EQ(mlAreOrthogonal(zero, x, 1e-6), 1);  // a null vector is orthogonal to all
    // |a.b| / m = cos(angle): 0.01 passes with 0.02, fails with 0.005.
    const CMLVectorN<double> tilted = Make<double>({0.01, std::sqrt(1 - 1e-4)});
    EXPECT_EQ(mlAreOrthogonal(x, tilted, 0.02), 1);
    EXPECT_EQ(mlAreOrthogonal(x, tilted, 0.005), 0);
    // Scale does not matter, only the angle.
    EXPECT_EQ(mlAreOrthogonal(x * 1000.0, tilted * 1000.0, 0.02), 1);
}

}  // namespace
