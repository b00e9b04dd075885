#include <ml/vector_n.h>

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
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
    return CMLVectorN<T>(static_cast<int>(values.size()), values.begin());
}

// The elements as a std::vector, for one-line comparisons.
template <class T>
std::vector<T> Elems(const CMLBaseVector<T>& v) {
    std::vector<T> out;
    for (int i = 0; i < v.Dim(); ++i)
        out.push_back(v[i]);
    return out;
}

TEST(VectorNConstruction, PolymorphicValueInitialisedDeepAndZeroFilledOnResize) {
    // vtable pointer, int dimension, data pointer; the derived class adds no data.
    static_assert(std::has_virtual_destructor_v<CMLBaseVector<int>>);
    static_assert(sizeof(CMLBaseVector<double>) == 3 * sizeof(void*));
    static_assert(sizeof(CMLVectorN<double>) == sizeof(CMLBaseVector<double>));
    CMLBaseVector<double>* owned = new CMLVectorN<double>(3, 1.0);
    delete owned;  // virtual destructor through the base pointer (the sanitizer build checks it)
    EXPECT_EQ(CMLBaseVector<int>(-3).Dim(), 0);
    EXPECT_EQ(Elems(CMLBaseVector<int>(4)), VI({0, 0, 0, 0}));
    EXPECT_EQ(CMLBaseVector<CD>(2)[1].Imag(), 0.0);
    EXPECT_EQ(Elems(CMLVectorN<float>(2, 1.5f)), std::vector<float>({1.5f, 1.5f}));
    CMLVectorN<double> a = Make<double>({1, 2, 3}), b(a);
    b[0] = 9;
    EXPECT_EQ(a[0], 1.0);
    a.SetDimension(3);  // the same dimension still zero-fills
    EXPECT_EQ(Elems(a), VD({0, 0, 0}));
    a.SetDimension(0);
    a.SetDimension(2);
    EXPECT_EQ(Elems(a), VD({0, 0}));
}

TEST(VectorNAssignment, NeverResizesTheTarget) {
    const CMLVectorN<double> five = Make<double>({1, 2, 3, 4, 5});
    CMLVectorN<double> three(3), empty;
    CMLBaseVector<double>& asBase = three;
    asBase = five;  // virtual: the CMLVectorN override runs, and copies 3 elements
    three = three;
    EXPECT_EQ(Elems(three), VD({1, 2, 3}));
    empty = five;  // an empty target does nothing at all
    EXPECT_EQ(empty.Dim(), 0);
    // Element assignment of CMLComplex keeps the old value within its precision; the vector copy
    // does not go through it.
    CMLBaseVector<CD> dst(1);
    dst = CMLBaseVector<CD>(1, CD(1e-6, 0));
    EXPECT_EQ(dst[0].Real(), 1e-6);
}

TEST(VectorNParts, BlockCopiesClampToTheDimension) {
    const int src[10] = {10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    CMLBaseVector<int> v(6);
    v.FillPart(src, 4, 10);  // k = min(6 - 4, 10) = 2
    v.FillPart(src, 6, 3);   // k = 0: nothing
    EXPECT_EQ(Elems(v), VI({0, 0, 0, 0, 10, 11}));
    int out[6] = {};
    v.DumpPart(3, 5, out);  // k = 3
    EXPECT_EQ(VI(out, out + 6), VI({0, 10, 11, 0, 0, 0}));
    v.Fill(src);
    v.Dump(out);
    EXPECT_EQ(VI(out, out + 6), VI({10, 11, 12, 13, 14, 15}));
    CMLBaseVector<int> w(5);
    w.ReplacePart(1, 3, 2, v);
    w.ReplacePart(0, 0, 0, v);
    EXPECT_EQ(Elems(w), VI({0, 13, 14, 0, 0}));
    v.ReplacePart(1, 0, 4, v);  // overlapping: reads before it writes
    EXPECT_EQ(Elems(v), VI({10, 10, 11, 12, 13, 15}));
}

TYPED_TEST(VectorNTyped, ArithmeticIsElementWiseOverTheLeftDimension) {
    using T = TypeParam;
    using V = std::vector<T>;
    const CMLVectorN<T> a = Make<T>({1, 2, 3}), b = Make<T>({4, 5, 6, 99});
    EXPECT_EQ(Elems(a + b), V({5, 7, 9}));
    EXPECT_EQ(Elems(a - b), V({-3, -3, -3}));
    EXPECT_EQ(Elems(a * T(2)), V({2, 4, 6}));
    EXPECT_EQ(Elems(a.Negate()), V({-1, -2, -3}));
    CMLVectorN<T> c(a);
    c += a;
    c -= Make<T>({1, 1, 1});
    c *= T(3);
    c /= T(2);
    EXPECT_EQ(Elems(c), V({T(1.5), T(4.5), T(7.5)}));
    // The division is a true quotient (5/3 is not 5 * (1/3)), and it is not guarded.
    EXPECT_EQ((CMLVectorN<T>(1, T(5)) / T(3))[0], T(5) / T(3));
    const CMLVectorN<T> q = Make<T>({1, -1, 0}) / T(0);
    EXPECT_TRUE(std::isinf(q[0]) && q[0] > 0 && std::isinf(q[1]) && q[1] < 0);
    EXPECT_TRUE(std::isnan(q[2]));
    const CMLBaseVector<T> u(2, T(1)), w(2, T(2));
    EXPECT_EQ(Elems(mlFindMidpoint(u, w)), V({T(1.5), T(1.5)}));
    EXPECT_EQ(CMLVectorN<T>(u + w).Length(), std::sqrt(T(18)));  // base results convert
}

TEST(VectorNEquality, ComponentWiseWithPIncluded) {
    // Differences of exactly P and just above it in one element.
    const CMLVectorN<double> z(1, 0.0), over(1, 1.5e-9);
    EXPECT_EQ(z == CMLVectorN<double>(1, 1e-9), 1);
    EXPECT_EQ(z == over, 0);
    EXPECT_EQ(mlAreAlmostEqual(z, over, 1e-12), 1);  // the norm test: 1.5e-9 is below sqrt(P)
    const CMLVectorN<float> zf(1, 0.0f);
    EXPECT_EQ(zf == CMLVectorN<float>(1, 1e-7f), 1);
    EXPECT_EQ(zf == CMLVectorN<float>(1, 1.2e-7f), 0);
    const CMLVectorN<double> nan(1, std::nan(""));
    EXPECT_EQ(nan == nan, 0);
    EXPECT_EQ(CMLBaseVector<int>() == CMLBaseVector<int>(), 1);
    EXPECT_EQ(CMLBaseVector<int>(2) != CMLBaseVector<int>(3), 1);
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
    EXPECT_EQ(a.DotForPart(2, 1, a), 0.0);
    EXPECT_EQ(a.DotForPart(1, 1, a), 4.0);
    EXPECT_EQ(mlPartialDotProduct(1, 2, 2, a, a * 10.0), 2 * 30.0 + 3 * 40.0);
    EXPECT_EQ(mlPartialDotProduct(0, 0, -1, a, a), 0.0);
    EXPECT_EQ(CMLBaseVector<int>(3, 2).Dot(CMLBaseVector<int>(3, -3)), -18);
    const CD craw[2] = {CD(1, 2), CD(3, -1)};
    const CMLBaseVector<CD> v(2, craw);
    const CD d = v.Dot(v);  // (1+2i)^2 + (3-i)^2 = (-3+4i) + (8-6i)
    EXPECT_EQ(std::make_pair(d.Real(), d.Imag()), std::make_pair(5.0, -2.0));
    const CMLBaseVector<CF> fi(1, CF(0, 1));
    EXPECT_EQ(fi.Dot(fi).Real(), -1.0f);  // i * i, not |i|^2
}

TYPED_TEST(VectorNTyped, NormsSmallValuesAndNormalize) {
    using T = TypeParam;
    // Longer than one block of interleaved partial sums, with a tail.
    const CMLVectorN<T> v = Make<T>({3, -4, 0, 0, 0, 0, 0, 0, 0, 0, 12}), empty;
    EXPECT_EQ(v.Length(), T(13));
    EXPECT_EQ(v.SquareLength(), T(169));
    EXPECT_EQ(v.Norm1(), T(19));
    EXPECT_EQ(v.NormInf(), T(12));
    EXPECT_EQ(empty.Length() + empty.Norm1() + empty.NormInf(), T(0));
    const CMLVectorN<T> u = Make<T>({3, 4});
    EXPECT_EQ(u.IsAlmostZero(T(5)) + u.IsAlmostUnit(T(4)), 2);  // both ends included
    EXPECT_EQ(u.IsAlmostZero(T(4.5)) + u.IsAlmostUnit(T(3.5)), 0);
    CMLVectorN<T> s = Make<T>({T(0.1), T(-0.1), T(0.05), 2});
    s.AnnulateSmallComponents(T(0.1));  // strict: 0.1 itself stays
    EXPECT_EQ(Elems(s), std::vector<T>({T(0.1), T(-0.1), 0, 2}));
    s.SetToConstant(T(3));
    EXPECT_EQ(Elems(s), std::vector<T>(4, T(3)));
    s.SetToZero();
    EXPECT_EQ(Elems(s), std::vector<T>(4, T(0)));
    // Normalize fails below sqrt(P) (the guarded length is 0) and leaves the vector.
    const T root = std::sqrt(mlDefaultPrecision<T>);
    CMLVectorN<T> tiny = Make<T>({root * T(0.9), 0, 0}), small = Make<T>({root * T(1.1), 0});
    EXPECT_EQ(tiny.Length(), T(0));
    EXPECT_EQ(tiny.Normalize(), 0);
    EXPECT_EQ(tiny[0], root * T(0.9));
    EXPECT_EQ(small.Normalize(), 1);
    EXPECT_NEAR(small[0], T(1), T(4) * std::numeric_limits<T>::epsilon());
    // One reciprocal, then products: 3 * (1/5) differs from 3/5 in double, 3 * (1/7) from 3/7 in
    // float.
    CMLVectorN<T> d = Make<T>({3, 0, 4}), f = Make<T>({2, 3, 6});
    EXPECT_EQ(d.Normalize() + f.Normalize(), 2);
    EXPECT_EQ(d[0], T(3) * (T(1) / T(5)));
    EXPECT_EQ(f[1], T(3) * (T(1) / T(7)));
}

TEST(VectorNComponents, FirstExtremeWins) {
    const CMLVectorN<double> a = Make<double>({3, 7, 7}), b = Make<double>({-9, 7, 9}), e;
    EXPECT_EQ(a.GetIndexOfMaxComponent(0), 1);
    EXPECT_EQ(b.GetIndexOfMaxComponent(1), 0);  // |-9| ties 9: the first wins
    EXPECT_EQ(b.GetIndexOfMaxComponent(0), 2);
    EXPECT_EQ(b.GetIndexOfMinComponent(1), 1);
    EXPECT_EQ(Make<double>({2, -1, 5, -1}).GetIndexOfMinComponent(0), 1);
    EXPECT_EQ(e.GetIndexOfMaxComponent(0), 0);
    const VD values = {b.GetMaxComponent(1), b.GetMinComponent(0), b.GetMinComponent(1),
                       e.GetMaxComponent(1)};
    EXPECT_EQ(values, VD({9, -9, 7, 0}));
}

TYPED_TEST(VectorNTyped, DistancesAlmostEqualAndOrthogonality) {
    using T = TypeParam;
    const CMLVectorN<T> a = Make<T>({1, 2, 3}), b = Make<T>({4, 6, 3});
    EXPECT_EQ(mlSquareDist(a, b), T(25));
    EXPECT_EQ(mlDist(a, b), T(5));
    EXPECT_EQ(mlAreAlmostEqual(a, b, 5.0), 1);  // both ends included
    EXPECT_EQ(mlAreAlmostEqual(a, b, 4.9), 0);
    const T root = std::sqrt(mlDefaultPrecision<T>);
    CMLVectorN<T> c(a);
    c[1] += root * T(0.5);  // below sqrt(P): equal whatever the precision
    EXPECT_EQ(mlDist(a, c), T(0));
    EXPECT_EQ(mlAreAlmostEqual(a, c, 1e-12), 1);
    c[1] = T(2) + T(4) * root;
    EXPECT_EQ(mlAreAlmostEqual(a, c), 0);
    EXPECT_EQ(mlAreAlmostEqual(a, c, T(5) * root), 1);
    // Orthogonality: a null vector is orthogonal to all; otherwise a relative test on the cosine.
    const CMLVectorN<T> x = Make<T>({1, 0}), zero(2);
    EXPECT_EQ(mlAreOrthogonal(zero, x, 1e-6), 1);
    // |a.b| / m = cos(angle) = 0.01: passes with 0.02, fails with 0.005, at any scale.
    const CMLVectorN<T> tilted = Make<T>({T(0.01), std::sqrt(T(1) - T(1e-4))});
    EXPECT_EQ(mlAreOrthogonal(x, tilted, 0.02), 1);
    EXPECT_EQ(mlAreOrthogonal(x, tilted, 0.005), 0);
    EXPECT_EQ(mlAreOrthogonal(x * T(1000), tilted * T(1000), 0.02), 1);
}

}  // namespace
