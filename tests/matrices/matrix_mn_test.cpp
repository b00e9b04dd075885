#include <ml/matrix_mn.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <type_traits>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

template <class T>
class MatrixTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MatrixTyped, RealTypes);

// Allocations made while it lives are not reported as leaks: the assignment operators drop
// singular-value arrays without releasing them, as callers have always had it.
struct LeakCheckPause {
#if defined(__SANITIZE_ADDRESS__)
    LeakCheckPause() {
        __lsan_disable();
    }
    ~LeakCheckPause() {
        __lsan_enable();
    }
#else
    LeakCheckPause() {}   // NOLINT: user-provided so that an unused instance is no warning
    ~LeakCheckPause() {}  // NOLINT
#endif
};

template <class T>
CMLMatrixMN<T> Make(int rows, int cols, std::initializer_list<double> values) {
    std::vector<T> v;
    for (double x : values)
        v.push_back(static_cast<T>(x));
    return CMLMatrixMN<T>(rows, cols, v.data());
}

// Small integers: every product and sum below is exact in float and double.
template <class T>
CMLMatrixMN<T> RandomIntegers(int rows, int cols, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> d(-8, 8);
    CMLMatrixMN<T> m(rows, cols);
    for (int i = 0; i < rows * cols; ++i)
        m[i] = static_cast<T>(d(rng));
    return m;
}

template <class T>
CMLMatrixMN<T> NaiveProduct(const CMLMatrixMN<T>& a, const CMLMatrixMN<T>& b) {
    CMLMatrixMN<T> c(a.RowsNb(), b.ColsNb());
    for (int i = 0; i < a.RowsNb(); ++i) {
        for (int j = 0; j < b.ColsNb(); ++j) {
            T s = 0;
            for (int k = 0; k < a.ColsNb(); ++k)
                s += a(i, k) * b(k, j);
            c(i, j) = s;
        }
    }
    return c;
}

template <class T>
std::string Print(const CMLBaseMatrix<T>& m) {
    std::ostringstream os;
    os << m;
    return os.str();
}

// ---------------------------------------------------------------------------------------------

TEST(MatrixLayout, PolymorphicWithFieldsInOrder) {
    static_assert(std::is_polymorphic_v<CMLBaseMatrix<double>>);
    static_assert(std::is_base_of_v<CMLBaseMatrix<double>, CMLMatrixMN<double>>);
    static_assert(sizeof(CMLBaseMatrix<double>) == sizeof(void*) + 2 * sizeof(int) + sizeof(void*));
    CMLBaseMatrix<double> m(2, 3);
    EXPECT_EQ(m.RowsNb(), 2);
    EXPECT_EQ(m.ColsNb(), 3);
    EXPECT_EQ(m.IsSquare(), 0);
    EXPECT_EQ(CMLBaseMatrix<float>(4).IsSquare(), 1);
}

TYPED_TEST(MatrixTyped, ConstructionZeroFillsOrCopiesRowMajor) {
    using T = TypeParam;
    CMLMatrixMN<T> z(2, 3);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(z[k], T(0));
    const T src[] = {1, 2, 3, 4, 5, 6};
    CMLMatrixMN<T> m(2, 3, src);
    EXPECT_EQ(m(0, 2), T(3));
    EXPECT_EQ(m(1, 0), T(4));
    EXPECT_EQ(m[5], T(6));
    CMLMatrixMN<T> sq(2, src);
    EXPECT_EQ(sq.RowsNb(), 2);
    EXPECT_EQ(sq(1, 1), T(4));
    CMLMatrixMN<T> copy(m);
    m(0, 0) = T(9);
    EXPECT_EQ(copy(0, 0), T(1));  // deep
    EXPECT_EQ(copy.GetRank(), 0);
}

TEST(MatrixEmpty, ZeroSizedMatricesHoldNothingAndLoopsDoNothing) {
    CMLBaseMatrix<double> a(0, 4), b(0, 4), c(4, 0);
    a += b;
    a *= 2.0;
    EXPECT_EQ(a.Trace(), 0.0);
    EXPECT_EQ(a == b, 1);
    EXPECT_EQ(a == c, 0);  // different shapes, both empty
    EXPECT_EQ(a != c, 1);
    EXPECT_EQ(Print(a), "");
    EXPECT_EQ(Print(c), "");
    CMLMatrixMN<double> e(0);
    EXPECT_EQ(e.Mean(), 0.0);
    EXPECT_EQ(e.Norm(mlNormFrobenius), 0.0);
    EXPECT_EQ(e.IsDiagonal(0.0), 1);
    const CMLBaseMatrix<double> p = CMLBaseMatrix<double>(3, 0) * CMLBaseMatrix<double>(0, 2);
    EXPECT_EQ(p.RowsNb(), 3);
    EXPECT_EQ(p.ColsNb(), 2);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(p[k], 0.0);  // an empty inner sum is zero
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(MatrixTyped, AssignmentNeverResizesAndCopiesTheTargetsCount) {
    using T = TypeParam;
    const T big[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    CMLMatrixMN<T> source(3, 3, big);
    CMLMatrixMN<T> target(2, 2);
    target = source;  // copies the first 4 elements of the source array
    EXPECT_EQ(target.RowsNb(), 2);
    EXPECT_EQ(target.ColsNb(), 2);
    EXPECT_EQ(target(0, 0), T(1));
    EXPECT_EQ(target(0, 1), T(2));
    EXPECT_EQ(target(1, 0), T(3));
    EXPECT_EQ(target(1, 1), T(4));
    CMLMatrixMN<T> wide(1, 4);
    wide = CMLBaseMatrix<T>(2, 2, big);
    EXPECT_EQ(wide(0, 3), T(4));
    CMLMatrixMN<T> empty;
    empty = source;  // nothing to copy
    EXPECT_EQ(empty.RowsNb(), 0);
    source = source;
    EXPECT_EQ(source(2, 2), T(9));
}

TYPED_TEST(MatrixTyped, AssignmentFromPlainMatrixForgetsRankAndSingularValues) {
    using T = TypeParam;
    LeakCheckPause pause;
    CMLMatrixMN<T> m = Make<T>(2, 2, {3, 0, 0, 4});
    EXPECT_EQ(m.CalculateRank(T(1e-6)), 2);
    EXPECT_EQ(m.IsSingCalculated(), 1);
    m = CMLBaseMatrix<T>(2, 2);
    EXPECT_EQ(m.GetRank(), -1);
    EXPECT_EQ(m.IsSingCalculated(), 0);
    T out[2] = {T(7), T(7)};
    m.GetSingularNumbers(out);  // nothing held, nothing copied
    EXPECT_EQ(out[0], T(7));
    // Converting construction from a plain matrix does not know the rank either.
    const CMLMatrixMN<T> converted(CMLBaseMatrix<T>(2, 2));
    EXPECT_EQ(converted.GetRank(), -1);
}

TYPED_TEST(MatrixTyped, AssignmentBetweenMatricesCopiesRankAndSingularValues) {
    using T = TypeParam;
    LeakCheckPause pause;
    CMLMatrixMN<T> a = Make<T>(2, 3, {2, 0, 0, 0, 1, 0});
    ASSERT_EQ(a.CalculateRank(T(1e-6)), 2);
    CMLMatrixMN<T> b(2, 3);
    b.SetRank(5);
    b = a;
    EXPECT_EQ(b.GetRank(), 2);
    EXPECT_EQ(b.IsSingCalculated(), 1);
    T s[2] = {};
    b.GetSingularNumbers(s);
    EXPECT_NEAR(s[0], T(2), T(1e-6));
    EXPECT_NEAR(s[1], T(1), T(1e-6));
    // A source without singular values clears the flag of a target that had them.
    CMLMatrixMN<T> c(2, 3);
    b = c;
    EXPECT_EQ(b.IsSingCalculated(), 0);
    EXPECT_EQ(b.GetRank(), 0);
    // The copy constructor takes the cache along.
    const CMLMatrixMN<T> d(a);
    EXPECT_EQ(d.IsSingCalculated(), 1);
    EXPECT_EQ(d.GetRank(), 2);
}

TEST(MatrixComplex, CopiesKeepElementsThatComplexAssignmentWouldSkip) {
    // CMLComplex's own assignment ignores a value within its precision of the current one; the
    // matrices copy elements whole, so tiny values survive copies.
    CMLComplex<double> src[4] = {CMLComplex<double>(1e-12, 0), CMLComplex<double>(0, 2),
                                 CMLComplex<double>(3, 0), CMLComplex<double>(0, 0)};
    src[1].SetPrecision(0.5);
    CMLBaseMatrix<CMLComplex<double>> m(2, 2, src);
    EXPECT_EQ(m(0, 0).Real(), 1e-12);
    EXPECT_EQ(m(0, 1).GetPrecision(), 0.5);
    CMLBaseMatrix<CMLComplex<double>> t(2, 2);
    t = m;
    EXPECT_EQ(t(0, 0).Real(), 1e-12);
    t.SetElement(1, 1, CMLComplex<double>(2e-13, 0));
    EXPECT_EQ(t(1, 1).Real(), 2e-13);
}

TEST(MatrixComplex, ArithmeticProductsAndTextOutput) {
    using C = CMLComplex<double>;
    const C a[4] = {C(0, 1), C(1, 0), C(2, 0), C(0, -1)};
    CMLBaseMatrix<C> m(2, 2, a);
    const CMLBaseMatrix<C> p = m * m;  // (i 1; 2 -i)^2 = (-1+2 0; 0 2-1)
    EXPECT_EQ(p(0, 0).Real(), 1.0);
    EXPECT_EQ(p(0, 0).Imag(), 0.0);
    EXPECT_EQ(p(0, 1).Real(), 0.0);
    EXPECT_EQ(p(1, 1).Real(), 1.0);
    EXPECT_EQ(m.Trace().Real(), 0.0);
    EXPECT_EQ(m == m.Transpose().Transpose(), 1);
    EXPECT_EQ(m == m.Transpose(), 0);
    CMLBaseMatrix<C> close(m);
    close(0, 0) = C(1e-5, 1);  // distance below sqrt(P): mlAbs of the difference is 0
    EXPECT_EQ(m == close, 1);
    close(0, 0) = C(1e-4, 1);
    EXPECT_EQ(m == close, 0);
    CMLBaseVector<C> v(2);
    v[0] = C(1, 0);
    v[1] = C(0, 1);
    const CMLBaseVector<C> mv = m * v;  // (i + i, 2 + 1)
    EXPECT_EQ(mv[0].Imag(), 2.0);
    EXPECT_EQ(mv[1].Real(), 3.0);
    std::ostringstream os;
    os << CMLBaseMatrix<C>(1, 2, a);
    EXPECT_EQ(os.str(), "( (0,1) (1,0) )\n");
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(MatrixTyped, RowsColumnsAndVectors) {
    using T = TypeParam;
    CMLMatrixMN<T> m(2, 3);
    const T r[] = {1, 2, 3}, c[] = {7, 8};
    m.SetRow(0, r);
    m.SetColumn(2, c);
    EXPECT_EQ(Print(m), "( 1 2 7 )\n( 0 0 8 )\n");
    T out[3] = {};
    m.Row(0, out);
    EXPECT_EQ(out[2], T(7));
    m.Column(1, out);
    EXPECT_EQ(out[0], T(2));
    EXPECT_EQ(out[1], T(0));

    CMLVectorN<T> v(3, T(5));
    m.SetRowVector(1, v);
    EXPECT_EQ(m(1, 0), T(5));
    m.SetColVector(0, CMLVectorN<T>(2, T(-1)));
    EXPECT_EQ(m(0, 0), T(-1));
    EXPECT_EQ(m(1, 0), T(-1));
    const T seq[] = {10, 11, 12, 13};
    const CMLVectorN<T> s(4, seq);
    m.SetPartRowVector(0, 1, 2, 2, s);  // m(0,1..2) = s[2..3]
    EXPECT_EQ(m(0, 1), T(12));
    EXPECT_EQ(m(0, 2), T(13));
    m.SetPartColVector(2, 0, 1, 0, s);  // m(0..1,2) = s[0..1]
    EXPECT_EQ(m(0, 2), T(10));
    EXPECT_EQ(m(1, 2), T(11));
    m.SetPartRowVector(1, 2, 1, 0, s);  // from > to: nothing
    EXPECT_EQ(m(1, 1), T(5));

    const CMLBaseVector<T> row = m.RowVector(1), col = m.ColVector(2), diag = m.Diagonal();
    EXPECT_EQ(row.Dim(), 3);
    EXPECT_EQ(row[2], T(11));
    EXPECT_EQ(col.Dim(), 2);
    EXPECT_EQ(col[0], T(10));
    EXPECT_EQ(diag.Dim(), 2);
    EXPECT_EQ(diag[0], T(-1));
    EXPECT_EQ(diag[1], T(5));
}

TYPED_TEST(MatrixTyped, FillPartTestsTheLastColumnAgainstTheRowCount) {
    using T = TypeParam;
    const T src[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    CMLMatrixMN<T> m(2, 5);
    m.FillPart(0, 0, 1, 3, src, 1);  // c1 = 3 is not below the row count 2: nothing happens
    EXPECT_EQ(m.IsAlmostZero(T(0)), 1);
    m.FillPart(0, 0, 1, 1, src, 1);  // along rows
    EXPECT_EQ(Print(m), "( 1 2 0 0 0 )\n( 3 4 0 0 0 )\n");
    m.FillPart(0, 0, 1, 1, src, 0);  // down columns
    EXPECT_EQ(Print(m), "( 1 3 0 0 0 )\n( 2 4 0 0 0 )\n");
    m.FillPart(1, 0, 0, 0, src, 1);  // r0 > r1
    EXPECT_EQ(m(1, 0), T(2));
    // On a tall matrix a last column past the column count passes the test, and the elements
    // land at their row-major positions i * cols + j.
    CMLMatrixMN<T> tall(4, 2);
    tall.FillPart(0, 1, 1, 2, src, 1);
    EXPECT_EQ(Print(tall), "( 0 1 )\n( 2 3 )\n( 4 0 )\n( 0 0 )\n");
}

TYPED_TEST(MatrixTyped, DumpPartAndCopyPartRowsAndColumns) {
    using T = TypeParam;
    const CMLMatrixMN<T> m = Make<T>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    T out[9] = {};
    m.Dump(out);
    EXPECT_EQ(out[8], T(9));
    T part[4] = {};
    m.DumpPart(1, 1, 2, 2, part, 1);
    EXPECT_EQ(part[0], T(5));
    EXPECT_EQ(part[1], T(6));
    EXPECT_EQ(part[2], T(8));
    m.DumpPart(1, 1, 2, 2, part, 0);
    EXPECT_EQ(part[1], T(8));
    T untouched[1] = {T(-3)};
    m.DumpPart(0, 0, 0, 3, untouched, 1);  // outside: nothing written
    EXPECT_EQ(untouched[0], T(-3));

    CMLMatrixMN<T> t(3, 3);
    t.CopyPartRow(0, 2, 1, 2, m);  // t(0, 1..2) = m(2, 1..2)
    EXPECT_EQ(t(0, 0), T(0));
    EXPECT_EQ(t(0, 1), T(8));
    EXPECT_EQ(t(0, 2), T(9));
    t.CopyPartColumn(2, 0, 1, 2, m);  // t(1..2, 2) = m(1..2, 0)
    EXPECT_EQ(t(1, 2), T(4));
    EXPECT_EQ(t(2, 2), T(7));
    t.Fill(out);
    EXPECT_EQ(t == m, 1);
}

TYPED_TEST(MatrixTyped, ElementUpdates) {
    using T = TypeParam;
    CMLMatrixMN<T> m(2, 2);
    m.SetElement(0, 1, T(3));
    m.AddToElement(0, 1, T(2));
    m.MulElement(0, 1, T(4));
    EXPECT_EQ(m(0, 1), T(20));
    m.SetConstant(T(2));
    m.SetDiagonal(T(-1));
    EXPECT_EQ(Print(m), "( -1 2 )\n( 2 -1 )\n");
    EXPECT_EQ(m.Trace(), T(-2));
    m.SetToZero();
    EXPECT_EQ(m.IsAlmostZero(T(0)), 1);
    CMLMatrixMN<T> wide(2, 4);
    wide.SetDiagonal(T(1));
    EXPECT_EQ(wide.Trace(), T(2));
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(MatrixTyped, ElementwiseArithmetic) {
    using T = TypeParam;
    const CMLMatrixMN<T> a = Make<T>(2, 2, {1, 2, 3, 4});
    const CMLMatrixMN<T> b = Make<T>(2, 2, {4, 3, 2, 1});
    EXPECT_EQ(Print(a + b), "( 5 5 )\n( 5 5 )\n");
    EXPECT_EQ(Print(a - b), "( -3 -1 )\n( 1 3 )\n");
    EXPECT_EQ(Print(a * T(2)), "( 2 4 )\n( 6 8 )\n");
    EXPECT_EQ(Print(a / T(2)), "( 0.5 1 )\n( 1.5 2 )\n");
    EXPECT_EQ(Print(a.Negate()), "( -1 -2 )\n( -3 -4 )\n");
    CMLMatrixMN<T> c(a);
    c += b;
    c -= a;
    EXPECT_EQ(c == b, 1);
    c.Add(c);  // aliasing operand
    c.Sub(b);
    EXPECT_EQ(c == b, 1);
    c *= T(3);
    c /= T(3);
    c.Mul(T(2));
    c.Div(T(2));
    EXPECT_EQ(c == b, 1);
    // Plain division: no guard.
    const CMLMatrixMN<T> inf = a / T(0);
    EXPECT_TRUE(std::isinf(inf(0, 0)));
    const CMLMatrixMN<T> t = Make<T>(2, 3, {1, 2, 3, 4, 5, 6}).Transpose();
    EXPECT_EQ(t.RowsNb(), 3);
    EXPECT_EQ(Print(t), "( 1 4 )\n( 2 5 )\n( 3 6 )\n");
}

TYPED_TEST(MatrixTyped, ProductsMatchThePlainSumForEveryTileShape) {
    using T = TypeParam;
    // Sizes around the register tiles and cache blocks (k beyond one block of 256 included).
    const int shapes[][3] = {{1, 1, 1},      {3, 5, 2},     {7, 9, 13},
                             {24, 24, 24},   {25, 17, 31},  {67, 45, 91},
                             {100, 300, 20}, {13, 257, 40}, {97, 33, 130}};
    unsigned seed = 1;
    for (const auto& s : shapes) {
        const CMLMatrixMN<T> a = RandomIntegers<T>(s[0], s[1], seed++);
        const CMLMatrixMN<T> b = RandomIntegers<T>(s[1], s[2], seed++);
        const CMLMatrixMN<T> c = a * b;
        ASSERT_EQ(c.RowsNb(), s[0]);
        ASSERT_EQ(c.ColsNb(), s[2]);
        // Integer data keep every rounding out: any kernel must give the exact sums.
        EXPECT_EQ(mlAreAlmostEqual(c, NaiveProduct(a, b), T(0)), 1)
            << s[0] << "x" << s[1] << "x" << s[2];
    }
}

TYPED_TEST(MatrixTyped, ProductOfGeneralValuesIsWithinRounding) {
    using T = TypeParam;
    std::mt19937 rng(7);
    std::uniform_real_distribution<T> d(-1, 1);
    CMLMatrixMN<T> a(70, 90), b(90, 50);
    for (int i = 0; i < 70 * 90; ++i)
        a[i] = d(rng);
    for (int i = 0; i < 90 * 50; ++i)
        b[i] = d(rng);
    const CMLMatrixMN<T> c = a * b, ref = NaiveProduct(a, b);
    const T tol = std::numeric_limits<T>::epsilon() * 90 * 4;
    EXPECT_EQ(mlAreAlmostEqual(c, ref, tol), 1);
}

TYPED_TEST(MatrixTyped, ProductRunsOverTheLeftColumnsWithoutComparingSizes) {
    using T = TypeParam;
    const CMLMatrixMN<T> a = Make<T>(1, 2, {1, 2});
    const CMLMatrixMN<T> b = Make<T>(3, 2, {3, 4, 5, 6, 7, 8});  // only its first 2 rows used
    const CMLMatrixMN<T> c = a * b;
    EXPECT_EQ(Print(c), "( 13 16 )\n");
    const CMLVectorN<T> v(3, T(1));
    const CMLBaseVector<T> r = b * v;  // row sums over b's 2 columns
    ASSERT_EQ(r.Dim(), 3);
    EXPECT_EQ(r[0], T(7));
    EXPECT_EQ(r[2], T(15));
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(MatrixTyped, EqualityUsesTheDefaultPrecisionPerElement) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    const T base = T(0);  // differences near P stay exact next to zero
    CMLMatrixMN<T> a(1, 2), b(1, 2);
    a(0, 0) = base;
    b(0, 0) = base + p * T(0.9);
    EXPECT_EQ(a == b, 1);
    b(0, 0) = base + p * T(3);
    EXPECT_EQ(a == b, 0);
    EXPECT_EQ(a != b, 1);
    b(0, 0) = std::numeric_limits<T>::quiet_NaN();
    a(0, 0) = std::numeric_limits<T>::quiet_NaN();
    EXPECT_EQ(a == b, 0);  // NaN equals nothing
    EXPECT_EQ(CMLMatrixMN<T>(2, 3) == CMLMatrixMN<T>(3, 2), 0);
}

TEST(MatrixEquality, DoubleBoundaryAtExactlyP) {
    CMLMatrixMN<double> a(1, 1), b(1, 1);
    b(0, 0) = 1e-9;  // |a - b| == P exactly: equal
    EXPECT_EQ(a == b, 1);
    b(0, 0) = 1.5e-9;
    EXPECT_EQ(a == b, 0);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 2e-9), 1);
    EXPECT_EQ(mlAreAlmostEqual(a, b, 1e-9), 0);
    CMLMatrixMN<float> af(1, 1), bf(1, 1);
    bf(0, 0) = 1e-7f;
    EXPECT_EQ(af == bf, 1);
    EXPECT_EQ(mlAreAlmostEqual(af, bf, 1e-8), 0);  // double literal converts to float
}

TYPED_TEST(MatrixTyped, PartComparisons) {
    using T = TypeParam;
    const CMLMatrixMN<T> big = Make<T>(3, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    const CMLMatrixMN<T> small = Make<T>(2, 2, {6, 7, 10, 11});
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 1, 1, 2, 2, T(0)), 1);
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 0, 1, 1, 2, T(0)), 0);
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 1, 1, 2, 3, T(0)), 0);  // wrong width
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 1, 1, 2, 2, T(0)), 1);
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 2, 3, 3, 4, T(100)), 0);  // outside big
    CMLMatrixMN<T> near(small);
    near(1, 1) += T(0.25);
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(near, big, 1, 1, 2, 2, T(0.3)), 1);
    EXPECT_EQ(mlArePartsMatricesEqual(big, 0, 0, 1, 1, big, 0, 0, 1, 1, T(0)), 1);
    EXPECT_EQ(mlArePartsMatricesEqual(big, 0, 0, 0, 1, big, 2, 2, 2, 3, T(0)), 0);
    EXPECT_EQ(mlArePartsMatricesEqual(big, 1, 1, 2, 2, small, 0, 0, 1, 1, T(0)), 1);
    EXPECT_EQ(mlArePartsMatricesEqual(big, 0, 0, 1, 1, small, 0, 0, 0, 1, T(100)), 0);  // shapes
    EXPECT_EQ(mlArePartsMatricesEqual(big, 0, 0, 1, 1, small, 1, 1, 2, 2, T(100)), 0);  // outside
}

// ---------------------------------------------------------------------------------------------

TEST(MatrixText, RowFormatAndPrintPartOfMatrix) {
    const CMLMatrixMN<double> m = Make<double>(2, 3, {1.5, -2, 3, 4, 5e-10, 6});
    EXPECT_EQ(Print(m), "( 1.5 -2 3 )\n( 4 5e-10 6 )\n");
    testing::internal::CaptureStdout();
    m.PrintPartOfMatrix(0, 1, 1, 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "( -2 3 )\n( 5e-10 6 )\n\n");
    testing::internal::CaptureStdout();
    m.PrintPartOfMatrix(0, 1, 1, 3);  // column 3 does not exist
    m.PrintPartOfMatrix(1, 0, 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    std::ostringstream os;
    os.precision(3);
    os << CMLMatrixMN<float>(1, 1, std::vector<float>{3.14159f}.data());
    EXPECT_EQ(os.str(), "( 3.14 )\n");  // the stream's own formatting
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(MatrixTyped, StructuralPredicates) {
    using T = TypeParam;
    const T e = T(0.01);
    EXPECT_EQ(Make<T>(2, 3, {1, 0.01, 0, -0.01, 2, 0}).IsDiagonal(e), 1);
    EXPECT_EQ(Make<T>(2, 3, {1, 0, 0, 0, 2, 0.02}).IsDiagonal(e), 0);
    // Lower-left: nothing right of the diagonal in the first min(rows, cols) rows.
    EXPECT_EQ(Make<T>(3, 2, {1, 0, 2, 3, 4, 5}).IsLLTriangular(e), 1);
    EXPECT_EQ(Make<T>(2, 3, {1, 0, 0, 2, 3, 0.5}).IsLLTriangular(e), 0);
    // Upper-right: nothing left of the diagonal in rows 1..rows-1.
    EXPECT_EQ(Make<T>(2, 3, {1, 2, 3, 0, 4, 5}).IsURTriangular(e), 1);
    EXPECT_EQ(Make<T>(3, 2, {1, 2, 0, 3, 0, 0.5}).IsURTriangular(e), 0);
    EXPECT_EQ(Make<T>(1, 3, {1, 2, 3}).IsURTriangular(T(0)), 1);
    EXPECT_EQ(Make<T>(2, 2, {0.01, -0.01, 0, 0.01}).IsAlmostZero(e), 1);
    EXPECT_EQ(Make<T>(2, 2, {0.01, -0.01, 0, 0.011}).IsAlmostZero(e), 0);
}

TYPED_TEST(MatrixTyped, BidiagonalTestUsesAFixedLowerTolerance) {
    using T = TypeParam;
    CMLMatrixMN<T> m = Make<T>(3, 3, {1, 2, 0, 0, 3, 4, 0, 0, 5});
    EXPECT_EQ(m.IsBidiagonal(T(0)), 1);
    m(1, 0) = T(9e-7);  // below the diagonal: fixed 1e-6 whatever eps is
    EXPECT_EQ(m.IsBidiagonal(T(0)), 1);
    m(1, 0) = T(2e-6);
    EXPECT_EQ(m.IsBidiagonal(T(1)), 0);
    m(1, 0) = T(0);
    m(0, 2) = T(0.5);  // above the superdiagonal: the caller's eps
    EXPECT_EQ(m.IsBidiagonal(T(0.4)), 0);
    EXPECT_EQ(m.IsBidiagonal(T(0.5)), 1);
    EXPECT_EQ(CMLMatrixMN<T>(2, 3).IsBidiagonal(T(1)), 0);  // more columns than rows
}

TYPED_TEST(MatrixTyped, AnnulationAndTransposition) {
    using T = TypeParam;
    CMLMatrixMN<T> m = Make<T>(2, 2, {0.5, 0.25, -0.1, 1});
    m.AnnulateSmallElements(T(0.25));  // strict: 0.25 stays, while IsAlmostZero counts it
    EXPECT_EQ(Print(m), "( 0.5 0.25 )\n( 0 1 )\n");
    EXPECT_EQ(Make<T>(1, 1, {0.25}).IsAlmostZero(T(0.25)), 1);
    CMLMatrixMN<T> u = Make<T>(2, 3, {1, 2, 3, 4, 5, 6});
    u.AnnulateRelativelyDiagonal(0);
    EXPECT_EQ(Print(u), "( 1 0 0 )\n( 4 5 0 )\n");
    CMLMatrixMN<T> l = Make<T>(3, 2, {1, 2, 3, 4, 5, 6});
    l.AnnulateRelativelyDiagonal(7);
    EXPECT_EQ(Print(l), "( 1 2 )\n( 0 4 )\n( 0 0 )\n");
    CMLMatrixMN<T> p(3);
    p.SetDiagonal(T(1));
    p.SetElementTransposition(0, 2);
    EXPECT_EQ(Print(p), "( 0 0 1 )\n( 0 1 0 )\n( 1 0 0 )\n");
    CMLMatrixMN<T> q = Make<T>(2, 2, {5, 6, 7, 8});
    q.SetElementTransposition(0, 1);  // only the four elements change
    EXPECT_EQ(Print(q), "( 0 1 )\n( 1 0 )\n");
}

TYPED_TEST(MatrixTyped, MeanExtractAndInsert) {
    using T = TypeParam;
    const CMLMatrixMN<T> m = Make<T>(3, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(m.Mean(), T(6.5));
    const CMLMatrixMN<T> b = m.ExtractMatrix(1, 1, 2, 3);
    EXPECT_EQ(Print(b), "( 6 7 8 )\n( 10 11 12 )\n");
    EXPECT_EQ(m.ExtractMatrix(1, 1, 3, 3).RowsNb(), 0);  // outside
    EXPECT_EQ(Print(m.ExtractLeftCornerMatrix(2, 2)), "( 1 2 )\n( 5 6 )\n");
    CMLMatrixMN<T> t(3, 4);
    t.InsertMatrix(b, 0, 0, 1, 1);  // the leading 2 x 2 of b
    EXPECT_EQ(Print(t), "( 6 7 0 0 )\n( 10 11 0 0 )\n( 0 0 0 0 )\n");
    t.InsertMatrix(b, 2, 2, 3, 3);  // outside: nothing
    EXPECT_EQ(t(2, 2), T(0));
}

TYPED_TEST(MatrixTyped, PythagorasAndSignA) {
    using T = TypeParam;
    using M = CMLMatrixMN<T>;
    EXPECT_NEAR(M::Pythagoras(T(3), T(-4)), T(5), T(1e-6));
    EXPECT_NEAR(M::Pythagoras(T(-4), T(3)), T(5), T(1e-6));
    EXPECT_EQ(M::Pythagoras(T(1e-9), T(-1e-10)), T(0));  // larger magnitude within 1e-9
    EXPECT_GT(M::Pythagoras(T(2e-9), T(0)), T(0));
    const T huge = std::numeric_limits<T>::max() / T(2);
    EXPECT_TRUE(std::isfinite(M::Pythagoras(huge, huge)));
    EXPECT_EQ(M::SignA(T(-3), T(2)), T(3));
    EXPECT_EQ(M::SignA(T(3), T(-2)), T(-3));
    EXPECT_EQ(M::SignA(T(-3), T(0)), T(3));  // zero counts as positive
}

TYPED_TEST(MatrixTyped, ZeroRowsAndColumnsAreCountedAndMoved) {
    using T = TypeParam;
    CMLMatrixMN<T> m = Make<T>(3, 3, {0, 1, 0, 0, 0, 0, 0, 2, 1e-3});
    int zr = -1, zc = -1;
    EXPECT_EQ(m.TestZeroRowsColumns(zr, zc, T(1e-2)), 1);
    EXPECT_EQ(zr, 1);
    EXPECT_EQ(zc, 2);  // columns 0 and 2
    EXPECT_EQ(Make<T>(1, 2, {1, 1}).TestZeroRowsColumns(zr, zc, T(0)), 0);
    const CMLMatrixMN<T> original(m);
    CMLMatrixMN<T> perm(3), wrong(2);
    int n = -1;
    EXPECT_EQ(m.MoveZeroRows(n, wrong, T(1e-2)), 0);
    EXPECT_EQ(m == original, 1);
    ASSERT_EQ(m.MoveZeroRows(n, perm, T(1e-2)), 1);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(Print(m), "( 0 1 0 )\n( 0 2 0.001 )\n( 0 0 0 )\n");
    EXPECT_EQ(mlAreAlmostEqual(perm * original, m, T(0)), 1);  // P * old = new
    CMLMatrixMN<T> cperm(3);
    ASSERT_EQ(m.MoveZeroColumns(n, cperm, T(1e-2)), 1);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(Print(m), "( 1 0 0 )\n( 2 0 0.001 )\n( 0 0 0 )\n");
}

// ---------------------------------------------------------------------------------------------

TYPED_TEST(MatrixTyped, NormSelectors) {
    using T = TypeParam;
    const CMLMatrixMN<T> m = Make<T>(2, 3, {1, -2, 3, -4, 5, -6});
    EXPECT_EQ(m.Norm(mlNormColumnSum), T(9));
    EXPECT_EQ(m.Norm(mlNormRowSum), T(15));
    EXPECT_NEAR(m.Norm(mlNormFrobenius), std::sqrt(T(91)), T(1e-5));
    EXPECT_NEAR(m.Norm(mlNormMaxElement), std::sqrt(T(6)) * T(6), T(1e-5));
    EXPECT_NEAR(m.Norm(mlNormSpectral), T(9.508032), T(1e-5));
    EXPECT_EQ(m.Norm(static_cast<mlMatrixNorm>(17)), m.Norm(mlNormFrobenius));
    EXPECT_EQ(m.Norm(static_cast<mlMatrixNorm>(-1)), m.Norm(mlNormFrobenius));
    EXPECT_EQ(Make<T>(3, 3, {1, 0, 0, 0, -7, 0, 0, 0, 2}).Norm(mlNormMaxElement), T(21));
    EXPECT_EQ(static_cast<int>(mlNormColumnSum), 0);
    EXPECT_EQ(static_cast<int>(mlNormMaxElement), 4);
}

TEST(MatrixNorm, FrobeniusAvoidsOverflowAndUnderflow) {
    const CMLMatrixMN<double> big = Make<double>(1, 2, {3e200, 4e200});
    EXPECT_NEAR(big.Norm(mlNormFrobenius) / 5e200, 1.0, 1e-15);
    const CMLMatrixMN<double> tiny = Make<double>(1, 2, {3e-200, 4e-200});
    EXPECT_NEAR(tiny.Norm(mlNormFrobenius) / 5e-200, 1.0, 1e-15);
    CMLMatrixMN<double> bad = Make<double>(1, 2, {1, std::numeric_limits<double>::infinity()});
    EXPECT_TRUE(std::isinf(bad.Norm(mlNormFrobenius)));
    EXPECT_TRUE(std::isinf(bad.Norm(mlNormSpectral)));  // decomposition refuses, falls back
}

TYPED_TEST(MatrixTyped, InnerProductAndCorrelation) {
    using T = TypeParam;
    const CMLMatrixMN<T> a = Make<T>(2, 2, {1, 2, 3, 4});
    const CMLMatrixMN<T> b = Make<T>(2, 2, {2, 4, 6, 8});
    EXPECT_EQ(a.InnerProduct(b), T(60));
    EXPECT_NEAR(a.CorrelationCoefficient(b), T(1), T(1e-6));
    EXPECT_NEAR(a.CorrelationCoefficient(b.Negate()), T(-1), T(1e-6));
    EXPECT_NEAR(a.CorrelationCoefficient(Make<T>(2, 2, {1, -1, -1, 1})), T(0), T(1e-6));
    EXPECT_EQ(a.CorrelationCoefficient(Make<T>(2, 2, {5, 5, 5, 5})), T(0));  // no spread
}

}  // namespace
