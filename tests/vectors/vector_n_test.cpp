#include <ml/vector_n.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

template <class T>
class VectorNTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(VectorNTyped, RealTypes);

using CD = CMLComplex<double>;
using CF = CMLComplex<float>;
using VD = std::vector<double>;
using VI = std::vector<int>;

template <class T>
CMLVectorN<T> Make(std::initializer_list<T> values) {
    CMLVectorN<T> v(static_cast<int>(values.size()));
    int i = 0;
    for (T x : values)
        v[i++] = x;
    return v;
}

// The elements as a std::vector, for one-line comparisons.
template <class T>
std::vector<T> Elems(const CMLBaseVector<T>& v) {
    std::vector<T> out;
    for (int i = 0; i < v.Dim(); ++i)
        out.push_back(v[i]);
    return out;
}

TEST(VectorNLayout, PolymorphicWithDimensionThenData) {
    static_assert(std::has_virtual_destructor_v<CMLBaseVector<int>>);
    static_assert(std::is_base_of_v<CMLBaseVector<float>, CMLVectorN<float>>);
    // vtable pointer, int dimension, data pointer; the derived class adds no data.
    static_assert(sizeof(CMLBaseVector<double>) == 3 * sizeof(void*));
    static_assert(sizeof(CMLVectorN<double>) == sizeof(CMLBaseVector<double>));
    CMLVectorN<double> target(2);
    CMLBaseVector<double>& asBase = target;
    asBase = CMLBaseVector<double>(2, 4.0);  // virtual: the CMLVectorN override runs and copies
    EXPECT_EQ(Elems(target), VD({4, 4}));
    CMLBaseVector<double>* owned = new CMLVectorN<double>(3, 1.0);
    delete owned;  // virtual destructor through the base pointer (the sanitizer build checks it)
}

TEST(VectorNConstruction, ValueInitialisedAndDeep) {
    EXPECT_EQ(CMLBaseVector<int>().Dim(), 0);
    EXPECT_EQ(CMLBaseVector<int>(-3).Dim(), 0);
    EXPECT_EQ(Elems(CMLBaseVector<int>(4)), VI({0, 0, 0, 0}));
    EXPECT_EQ(CMLBaseVector<CD>(2)[1].Imag(), 0.0);
    const double src[3] = {1, 2, 3};
    EXPECT_EQ(Elems(CMLVectorN<double>(3, src)), VD({1, 2, 3}));
    EXPECT_EQ(Elems(CMLVectorN<float>(2, 1.5f)), std::vector<float>({1.5f, 1.5f}));
    CMLVectorN<double> a = Make<double>({1, 2, 3}), b(a);
    b[0] = 9;
    EXPECT_EQ(a[0], 1.0);
    CMLVectorN<double> moved(std::move(b));
    EXPECT_EQ(moved[0], 9.0);
    EXPECT_EQ(b.Dim(), 0);  // NOLINT: the moved-from vector is empty by contract
}

TEST(VectorNAssignment, NeverResizesTheTarget) {
    const CMLVectorN<double> five = Make<double>({1, 2, 3, 4, 5});
    CMLVectorN<double> three(3), empty;
    three = five;
    EXPECT_EQ(Elems(three), VD({1, 2, 3}));
    empty = five;  // an empty target does nothing at all
    EXPECT_EQ(empty.Dim(), 0);
    CMLBaseVector<int> self(2, 7);
    self = self;
    EXPECT_EQ(self[1], 7);
    // Element assignment of CMLComplex keeps the old value within its precision; the vector copy
    // does not go through it, and construction keeps cache and precision.
    CMLBaseVector<CD> dst(1);
    dst = CMLBaseVector<CD>(1, CD(1e-6, 0));
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
    EXPECT_EQ(Elems(v), VD({0, 0, 0}));
    v.SetDimension(0);
    EXPECT_EQ(v.Dim(), 0);
    v.SetDimension(2);
    EXPECT_EQ(Elems(v), VD({0, 0}));
    CMLBaseVector<CF> c(1, CF(1, 1));
    c.SetDimension(1);
    EXPECT_EQ(c[0].Imag(), 0.0f);
}

TEST(VectorNParts, BlockCopiesClampToTheDimension) {
    const int src[10] = {10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    CMLBaseVector<int> v(6);
    v.FillPart(src, 4, 10);  // k = min(6 - 4, 10) = 2
    v.FillPart(src, 6, 3);   // k = 0: nothing
    v.FillPart(src, 1, 0);
    EXPECT_EQ(Elems(v), VI({0, 0, 0, 0, 10, 11}));
    int out[6] = {};
    v.DumpPart(3, 5, out);  // k = 3
    EXPECT_EQ(VI(out, out + 6), VI({0, 10, 11, 0, 0, 0}));
    v.Fill(src);
    v.Dump(out);
    EXPECT_EQ(VI(out, out + 6), VI({10, 11, 12, 13, 14, 15}));
    const CMLBaseVector<int> part(5, src);
    CMLBaseVector<int> w(5);
    w.ReplacePart(1, 3, 2, part);
    w.ReplacePart(0, 0, 0, part);
    EXPECT_EQ(Elems(w), VI({0, 13, 14, 0, 0}));
    CMLBaseVector<int> self(5, src);
    self.ReplacePart(1, 0, 4, self);  // overlapping: reads before it writes
    EXPECT_EQ(Elems(self), VI({10, 10, 11, 12, 13}));
}

TYPED_TEST(VectorNTyped, ArithmeticIsElementWise) {
    using T = TypeParam;
    using V = std::vector<T>;
    const CMLVectorN<T> a = Make<T>({1, 2, 3}), b = Make<T>({4, 5, 6, 99});
    EXPECT_EQ(Elems(a + b), V({5, 7, 9}));  // the left dimension
    EXPECT_EQ(Elems(a - b), V({-3, -3, -3}));
    EXPECT_EQ(Elems(a * T(2)), V({2, 4, 6}));
    EXPECT_EQ(Elems(a / T(4)), V({T(0.25), T(0.5), T(0.75)}));
    EXPECT_EQ(Elems(a.Negate()), V({-1, -2, -3}));
    CMLVectorN<T> c(a);
    c += a;
    c -= Make<T>({1, 1, 1});
    c *= T(3);
    c /= T(2);
    EXPECT_EQ(Elems(c), V({T(1.5), T(4.5), T(7.5)}));
}

TEST(VectorNArithmetic, DivisionIsATrueUnguardedQuotient) {
    const CMLVectorN<double> q = Make<double>({1, -1, 0, 1}) / 0.0;
    EXPECT_EQ(q[0], std::numeric_limits<double>::infinity());
    EXPECT_EQ(q[1], -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(q[2]));
    EXPECT_EQ((CMLVectorN<double>(1, 1.0) / 3.0)[0], 1.0 / 3.0);  // not a product with 1/3
    const CMLBaseVector<double> a(2, 1.0), b(2, 2.0);
    const CMLVectorN<double> sum = a + b;  // base results convert to CMLVectorN
    EXPECT_EQ(sum.Length(), std::sqrt(18.0));
    EXPECT_EQ(Elems(mlFindMidpoint(a, b)), VD({1.5, 1.5}));
}

TEST(VectorNEquality, ComponentWiseWithPIncluded) {
    // Differences of exactly P and just above it in one element.
    const CMLVectorN<double> z(1, 0.0), p(1, 1e-9), over(1, 1.5e-9);
    EXPECT_EQ(z == p, 1);
    EXPECT_EQ(z == over, 0);
    EXPECT_EQ(mlAreAlmostEqual(z, over, 1e-12), 1);  // the norm test: 1.5e-9 is below sqrt(P)
    const CMLVectorN<float> zf(1, 0.0f), pf(1, 1e-7f), overf(1, 1.2e-7f);
    EXPECT_EQ(zf == pf, 1);
    EXPECT_EQ(zf == overf, 0);
    const CMLVectorN<double> nan(1, std::nan(""));
    EXPECT_EQ(nan == nan, 0);
    EXPECT_EQ(nan != nan, 1);
    EXPECT_EQ(CMLBaseVector<int>() == CMLBaseVector<int>(), 1);
    EXPECT_EQ(CMLBaseVector<int>(2) != CMLBaseVector<int>(3), 1);
    EXPECT_EQ(CMLBaseVector<int>(2, 5) == CMLBaseVector<int>(2, 5), 1);
    EXPECT_EQ(CMLBaseVector<int>(2, 5) == CMLBaseVector<int>(2, 6), 0);
    // Complex elements: distances below sqrt(P) have a zero guarded modulus and are equal.
    const CMLBaseVector<CD> c(1, CD(1, 0));
    EXPECT_EQ(c == CMLBaseVector<CD>(1, CD(1 + 2e-5, 0)), 1);
    EXPECT_EQ(c == CMLBaseVector<CD>(1, CD(1, 4e-5)), 0);
    const CMLBaseVector<CF> f(1, CF(1, 0));
    EXPECT_EQ(f == CMLBaseVector<CF>(1, CF(1, 3e-4f)), 1);
    EXPECT_EQ(f != CMLBaseVector<CF>(1, CF(1, 1e-3f)), 1);
}

TEST(VectorNDot, PartsAndComplexWithoutConjugation) {
    const CMLVectorN<double> a = Make<double>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    EXPECT_EQ(a.Dot(a), 506.0);  // longer than one block of partial sums
    EXPECT_EQ(CMLVectorN<double>().Dot(CMLVectorN<double>()), 0.0);
    EXPECT_EQ(a.DotForPart(2, 1, a), 0.0);
    EXPECT_EQ(a.DotForPart(1, 1, a), 4.0);
    EXPECT_EQ(a.DotForPart(0, 2, a), 14.0);
    EXPECT_EQ(mlPartialDotProduct(1, 2, 2, a, a * 10.0), 2 * 30.0 + 3 * 40.0);
    EXPECT_EQ(mlPartialDotProduct(0, 0, 0, a, a), 0.0);
    EXPECT_EQ(mlPartialDotProduct(0, 0, -1, a, a), 0.0);
    const int raw[3] = {1, -2, 3};
    EXPECT_EQ(CMLBaseVector<int>(3, raw).Dot(CMLBaseVector<int>(3, raw)), 14);
    const CMLBaseVector<CD> i(1, CD(0, 1));
    EXPECT_EQ(i.Dot(i).Real(), -1.0);
    const CD craw[2] = {CD(1, 2), CD(3, -1)};
    const CMLBaseVector<CD> v(2, craw);
    const CD d = v.Dot(v);  // (1+2i)^2 + (3-i)^2 = (-3+4i) + (8-6i)
    EXPECT_EQ(std::make_pair(d.Real(), d.Imag()), std::make_pair(5.0, -2.0));
    const CMLBaseVector<CF> fi(1, CF(0, 1));
    EXPECT_EQ(mlPartialDotProduct(0, 0, 1, fi, fi).Real(), -1.0f);
}

TYPED_TEST(VectorNTyped, NormsAndPredicates) {
    using T = TypeParam;
    const CMLVectorN<T> v = Make<T>({3, -4, 0}), empty;
    EXPECT_EQ(v.Length(), T(5));
    EXPECT_EQ(v.SquareLength(), T(25));
    EXPECT_EQ(v.Norm1(), T(7));
    EXPECT_EQ(v.NormInf(), T(4));
    EXPECT_EQ(empty.Length() + empty.Norm1() + empty.NormInf(), T(0));
    // Below sqrt(P) the guarded length is exactly 0.
    const CMLVectorN<T> tiny(1, std::sqrt(mlDefaultPrecision<T>) * T(0.9));
    EXPECT_EQ(tiny.Length(), T(0));
    EXPECT_GT(tiny.SquareLength(), T(0));
    EXPECT_EQ(CMLVectorN<T>(2, T(0.25)).IsAlmostZero(T(0.5)), 1);
    EXPECT_EQ(CMLVectorN<T>(2, T(1)).IsAlmostZero(T(0.5)), 0);
    EXPECT_EQ(Make<T>({0, 1, 0}).IsAlmostUnit(T(0)), 1);
    EXPECT_EQ(Make<T>({0, 2, 0}).IsAlmostUnit(T(0.5)), 0);
    CMLVectorN<T> w = Make<T>({T(0.1), T(-0.1), T(0.05), 2});
    w.AnnulateSmallComponents(T(0.1));  // strict: 0.1 itself stays
    EXPECT_EQ(Elems(w), std::vector<T>({T(0.1), T(-0.1), 0, 2}));
    w.SetToConstant(T(3));
    EXPECT_EQ(Elems(w), std::vector<T>(4, T(3)));
    w.SetToZero();
    EXPECT_EQ(Elems(w), std::vector<T>(4, T(0)));
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

TEST(VectorNNormalize, FailsBelowSqrtPAndLeavesTheVector) {
    CMLVectorN<double> v = Make<double>({1e-6, 0, 0}), w = Make<double>({4e-5, 0, 0});
    EXPECT_EQ(v.Normalize(), 0);
    EXPECT_EQ(v[0], 1e-6);
    EXPECT_EQ(w.Normalize(), 1);  // above sqrt(P)
    EXPECT_NEAR(w[0], 1.0, 1e-15);
    CMLVectorN<double> d = Make<double>({3, 0, 4});
    EXPECT_EQ(d.Normalize(), 1);
    EXPECT_EQ(Elems(d), VD({3 * (1.0 / 5), 0, 4 * (1.0 / 5)}));  // one reciprocal, then products
}

TEST(VectorNComponents, FirstExtremeWins) {
    const CMLVectorN<double> a = Make<double>({3, 7, 7}), b = Make<double>({-9, 7, 9});
    EXPECT_EQ(a.GetIndexOfMaxComponent(0), 1);
    EXPECT_EQ(b.GetIndexOfMaxComponent(1), 0);
    EXPECT_EQ(b.GetIndexOfMaxComponent(0), 2);
    EXPECT_EQ(b.GetIndexOfMinComponent(1), 1);
    EXPECT_EQ(Make<double>({2, -1, 5, -1}).GetIndexOfMinComponent(0), 1);
    EXPECT_EQ(b.GetMaxComponent(1), 9.0);
    EXPECT_EQ(b.GetMinComponent(0), -9.0);
    EXPECT_EQ(b.GetMinComponent(1), 7.0);
    EXPECT_EQ(CMLVectorN<double>().GetIndexOfMaxComponent(0), 0);
    EXPECT_EQ(CMLVectorN<double>(1, -5.0).GetIndexOfMinComponent(1), 0);
    EXPECT_EQ(CMLVectorN<double>().GetMaxComponent(1), 0.0);
    EXPECT_EQ(CMLVectorN<double>().GetMinComponent(0), 0.0);
}

TYPED_TEST(VectorNTyped, Distances) {
    using T = TypeParam;
    const CMLVectorN<T> a = Make<T>({1, 2, 3}), b = Make<T>({4, 6, 3});
    EXPECT_EQ(mlSquareDist(a, b), T(25));
    EXPECT_EQ(mlDist(a, b), T(5));
    EXPECT_EQ(mlDist(a, a), T(0));
}

TEST(VectorNAlmostEqual, NormOfTheDifferenceWithTheSqrtPFloor) {
    CMLVectorN<double> a(3, 1.0), b(3, 1.0);
    b[1] += 2e-5;  // below sqrt(P): equal whatever the precision
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-12), 1);
    b[1] = 1 + 1e-4;
    EXPECT_EQ(mlAreAlmostEqual(a, b), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-3), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-4 - 1e-12), 0);
    const CMLVectorN<float> f(2, 1.0f), g(2, 1.001f);
    EXPECT_EQ(mlAreAlmostEqual(f, g, 1e-2), 1);  // double literal with float vectors
}

TEST(VectorNOrthogonal, RelativeCosineTest) {
    const CMLVectorN<double> x = Make<double>({1, 0}), y = Make<double>({0, 2}), zero(2);
    EXPECT_EQ(mlAreOrthogonal(x, y, 1e-6), 1);
    EXPECT_EQ(mlAreOrthogonal(x, x, 1e-6), 0);
    EXPECT_EQ(mlAreOrthogonal(zero, x, 1e-6), 1);  // a null vector is orthogonal to all
    // |a.b| / m = cos(angle) = 0.01: passes with 0.02, fails with 0.005, at any scale.
    const CMLVectorN<double> tilted = Make<double>({0.01, std::sqrt(1 - 1e-4)});
    EXPECT_EQ(mlAreOrthogonal(x, tilted, 0.02), 1);
    EXPECT_EQ(mlAreOrthogonal(x, tilted, 0.005), 0);
    EXPECT_EQ(mlAreOrthogonal(x * 1000.0, tilted * 1000.0, 0.02), 1);
}

}  // namespace
