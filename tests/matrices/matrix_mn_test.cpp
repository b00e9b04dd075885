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

// While it lives, leaks are not reported: the assignment operators drop cached singular-value
// arrays without releasing them, as callers have always had it.
struct LeakCheckPause {
#if defined(__SANITIZE_ADDRESS__)
    LeakCheckPause() {
        __lsan_disable();
    }
    ~LeakCheckPause() {
        __lsan_enable();
    }
#else
    LeakCheckPause() {}  // NOLINT: user-provided so that an unused instance is no warning
#endif
};

template <class T>
CMLMatrixMN<T> Make(int rows, int cols, std::initializer_list<double> values) {
    const std::vector<T> v(values.begin(), values.end());
    return CMLMatrixMN<T>(rows, cols, v.data());
}

template <class T>
std::string Print(const CMLBaseMatrix<T>& m) {
    std::ostringstream os;
    os << m;
    return os.str();
}

template <class T>
std::vector<T> Elements(const CMLBaseVector<T>& x) {
    return std::vector<T>(&x[0], &x[0] + x.Dim());
}

TYPED_TEST(MatrixTyped, ConstructionAndAssignmentNeverResizeAndCarryTheCache) {
    using T = TypeParam;
    static_assert(std::is_polymorphic_v<CMLBaseMatrix<T>>);
    static_assert(sizeof(CMLBaseMatrix<T>) == 2 * sizeof(void*) + 2 * sizeof(int));
    const T src[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(Print(CMLMatrixMN<T>(1, 3)) + Print(CMLMatrixMN<T>(2, 3, src)),
              "( 0 0 0 )\n( 1 2 3 )\n( 4 5 6 )\n");
    CMLMatrixMN<T> source(3, src), target(2, 2), wide(1, 4), empty, copy(source);
    source(0, 0) = T(9);
    target = copy;  // copies the target's 4 elements from the front of the source array
    wide = CMLBaseMatrix<T>(2, 2, src);
    empty = copy;
    copy = copy;
    EXPECT_EQ(Print(target) + Print(wide), "( 1 2 )\n( 3 4 )\n( 1 2 3 4 )\n");
    EXPECT_EQ(std::vector<T>({copy(0, 0), copy(2, 2), T(copy.GetRank()), T(empty.RowsNb())}),
              std::vector<T>({1, 9, 0, 0}));  // deep, rank 0 after construction
    // The singular-value cache follows a CMLMatrixMN source and is forgotten for a plain one.
    LeakCheckPause pause;
    CMLMatrixMN<T> a = Make<T>(2, 3, {2, 0, 0, 0, 1, 0}), b(2, 3), c(2, 3);
    ASSERT_EQ(a.CalculateRank(T(1e-6)), 2);
    b.SetRank(5);
    b = a;
    T s[2] = {T(7), T(7)};
    b.GetSingularNumbers(s);
    EXPECT_EQ(mlAreAlmostEqual(CMLMatrixMN<T>(1, 2, s), Make<T>(1, 2, {2, 1}), 1e-6), 1);
    EXPECT_EQ(std::vector<int>({b.GetRank(), CMLMatrixMN<T>(a).IsSingCalculated()}),
              std::vector<int>({2, 1}));
    b = c;                       // a source without singular values clears the flag
    a = CMLBaseMatrix<T>(2, 3);  // from a plain matrix: rank unknown, no values
    s[0] = T(7);
    a.GetSingularNumbers(s);
    EXPECT_EQ(
        std::vector<int>({b.IsSingCalculated(), b.GetRank(), a.GetRank(), a.IsSingCalculated(),
                          int(s[0]), CMLMatrixMN<T>(CMLBaseMatrix<T>(2, 2)).GetRank()}),
        std::vector<int>({0, 0, -1, 0, 7, -1}));
}

TEST(MatrixEmpty, ZeroSizedMatricesHoldNothingAndLoopsDoNothing) {
    CMLBaseMatrix<double> a(0, 4), b(0, 4), c(4, 0);
    a += b;
    a *= 2.0;
    EXPECT_EQ(std::vector<int>({a == b, a != c, int(a.Trace())}), std::vector<int>({1, 1, 0}));
    EXPECT_EQ(Print(a) + Print(c), "");  // a and c differ in shape: unequal although both empty
    const CMLMatrixMN<double> e(0);
    EXPECT_EQ(std::vector<double>({e.Mean(), e.Norm(mlNormFrobenius), double(e.IsDiagonal(0))}),
              std::vector<double>({0, 0, 1}));
    // An empty inner sum is zero.
    EXPECT_EQ(Print(CMLBaseMatrix<double>(2, 0) * CMLBaseMatrix<double>(0, 2)),
              "( 0 0 )\n( 0 0 )\n");
}

TEST(MatrixComplex, CopiesArithmeticAndText) {
    using C = CMLComplex<double>;
    // CMLComplex's own assignment ignores a value within its precision of the current one; the
    // matrices copy elements whole, so tiny values survive.
    C src[4] = {C(1e-12, 0), C(0, 2), C(3, 0), C(0, 0)};
    src[1].SetPrecision(0.5);
    CMLBaseMatrix<C> t(2, 2), m(2, 2, src);
    (t = m).SetElement(1, 1, C(2e-13, 0));
    EXPECT_EQ(std::vector<double>({t(0, 0).Real(), t(0, 1).GetPrecision(), t(1, 1).Real()}),
              std::vector<double>({1e-12, 0.5, 2e-13}));
    const C a[4] = {C(0, 1), C(1, 0), C(2, 0), C(0, -1)};
    CMLBaseMatrix<C> n(2, 2, a), close(n);
    EXPECT_EQ(Print(n * n), "( (1,0) (0,0) )\n( (0,0) (1,0) )\n");  // (i 1; 2 -i)^2 = I
    // mlAbs of the difference is compared; it reports 0 below sqrt(P).
    close(0, 0) = C(1e-5, 1);
    const int within = n == close;
    close(0, 0) = C(1e-4, 1);
    EXPECT_EQ(std::vector<int>({within, n == close}), std::vector<int>({1, 0}));
    const CMLBaseVector<C> nv = n * CMLBaseVector<C>(2, C(0, 1));  // (i i + i, 2 i - i i)
    EXPECT_EQ(std::vector<double>({nv[0].Real(), nv[0].Imag(), nv[1].Real(), nv[1].Imag()}),
              std::vector<double>({-1, 1, 1, 2}));
}

TYPED_TEST(MatrixTyped, RowsColumnsVectorsAndParts) {
    using T = TypeParam;
    CMLMatrixMN<T> m(2, 3);
    const T r[] = {1, 2, 3}, c[] = {7, 8}, seq[] = {10, 11, 12, 13};
    const CMLVectorN<T> v(4, seq);
    T out[3] = {};
    m.SetRow(0, r);
    m.SetColumn(2, c);
    m.Row(0, out);
    m.Column(1, out + 1);
    EXPECT_EQ(Print(m) + Print(CMLMatrixMN<T>(1, 3, out)), "( 1 2 7 )\n( 0 0 8 )\n( 1 2 0 )\n");
    m.SetRowVector(1, CMLVectorN<T>(3, T(5)));
    m.SetColVector(0, CMLVectorN<T>(2, T(-1)));
    m.SetPartRowVector(0, 1, 2, 2, v);  // m(0, 1..2) = seq[2..3]
    m.SetPartColVector(2, 1, 1, 1, v);  // m(1, 2) = seq[1]
    m.SetPartRowVector(1, 2, 1, 0, v);  // from > to: nothing
    EXPECT_EQ(Print(m), "( -1 12 13 )\n( -1 5 11 )\n");
    EXPECT_EQ(Elements(m.RowVector(1)), (std::vector<T>{-1, 5, 11}));
    EXPECT_EQ(Elements(m.ColVector(2)), (std::vector<T>{13, 11}));
    EXPECT_EQ(Elements(m.Diagonal()), (std::vector<T>{-1, 5}));  // min(rows, cols) elements

    const CMLMatrixMN<T> g = Make<T>(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    T all[9] = {}, part[4] = {}, untouched[1] = {T(-3)};
    g.DumpPart(1, 1, 2, 2, part, 1);
    g.DumpPart(1, 1, 2, 2, all, 0);        // all[0..3] only
    g.DumpPart(0, 0, 0, 3, untouched, 1);  // column 3 is outside: nothing written
    EXPECT_EQ(Print(CMLMatrixMN<T>(1, 4, part)) + Print(CMLMatrixMN<T>(1, 5, all)),
              "( 5 6 8 9 )\n( 5 8 6 9 0 )\n");
    EXPECT_EQ(untouched[0], T(-3));
    g.Dump(all);
    CMLMatrixMN<T> t(3, 3);
    t.CopyPartRow(0, 2, 1, 2, g);     // t(0, 1..2) = g(2, 1..2)
    t.CopyPartColumn(2, 0, 1, 2, g);  // t(1..2, 2) = g(1..2, 0)
    EXPECT_EQ(Print(t), "( 0 8 9 )\n( 0 0 4 )\n( 0 0 7 )\n");
    t.Fill(all);
    EXPECT_EQ(t == g, 1);
}

TYPED_TEST(MatrixTyped, FillPartTestsTheLastColumnAgainstTheRowCount) {
    using T = TypeParam;
    const T src[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    CMLMatrixMN<T> m(2, 5), n(2, 5), tall(4, 2);
    m.FillPart(0, 0, 1, 3, src, 1);  // c1 = 3 is not below the row count 2: nothing happens
    m.FillPart(1, 0, 0, 0, src, 1);  // r0 > r1: nothing
    EXPECT_EQ(m.IsAlmostZero(T(0)), 1);
    m.FillPart(0, 0, 1, 1, src, 1);  // along rows
    n.FillPart(0, 0, 1, 1, src, 0);  // down columns
    EXPECT_EQ(Print(m) + Print(n), "( 1 2 0 0 0 )\n( 3 4 0 0 0 )\n( 1 3 0 0 0 )\n( 2 4 0 0 0 )\n");
    // On a tall matrix a last column past the column count passes the test, and the elements
    // land at their row-major positions i * cols + j.
    tall.FillPart(0, 1, 1, 2, src, 1);
    EXPECT_EQ(Print(tall), "( 0 1 )\n( 2 3 )\n( 4 0 )\n( 0 0 )\n");
}

// The product column by column through the plain matrix-vector loop.
template <class T>
CMLMatrixMN<T> ByColumns(const CMLMatrixMN<T>& a, const CMLMatrixMN<T>& b) {
    CMLMatrixMN<T> c(a.RowsNb(), b.ColsNb());
    for (int j = 0; j < b.ColsNb(); ++j)
        c.SetColVector(j, a * b.ColVector(j));
    return c;
}

TYPED_TEST(MatrixTyped, ArithmeticAndProductsWithoutComparingSizes) {
    using T = TypeParam;
    const CMLMatrixMN<T> a = Make<T>(2, 2, {1, 2, 3, 4}), b = Make<T>(2, 2, {4, 3, 2, 1});
    EXPECT_EQ(Print(a + b) + Print(a - b), "( 5 5 )\n( 5 5 )\n( -3 -1 )\n( 1 3 )\n");
    EXPECT_EQ(Print(a * T(2)) + Print(a / T(2)), "( 2 4 )\n( 6 8 )\n( 0.5 1 )\n( 1.5 2 )\n");
    EXPECT_EQ(Print(a.Negate()), "( -1 -2 )\n( -3 -4 )\n");
    EXPECT_EQ(Print(Make<T>(2, 3, {1, 2, 3, 4, 5, 6}).Transpose()), "( 1 4 )\n( 2 5 )\n( 3 6 )\n");
    EXPECT_TRUE(std::isinf((a / T(0))(0, 0)));  // plain division: no guard
    CMLMatrixMN<T> c(a), wide(2, 4);
    ((c += b) -= a) *= T(3);
    c.Add(c);  // aliasing operand
    c.Div(T(6));
    c.Mul(T(2));
    (c /= T(2)).Sub(b);
    EXPECT_EQ(c.IsAlmostZero(T(0)), 1);
    c.SetConstant(T(2));
    c.SetDiagonal(T(-1));
    c.SetElement(0, 1, T(3));
    c.AddToElement(0, 1, T(2));
    c.MulElement(0, 1, T(4));
    wide.SetDiagonal(T(1));
    EXPECT_EQ(Print(c), "( -1 20 )\n( 2 -1 )\n");
    EXPECT_EQ(std::vector<T>({c.Trace(), wide.Trace()}), std::vector<T>({-2, 2}));
    c.SetToZero();
    EXPECT_EQ(c.IsAlmostZero(T(0)), 1);
    // Sizes around the register tiles and cache blocks (k beyond one block of 256 included);
    // small integers keep every rounding out, so any kernel must give the exact sums.
    const int shapes[][3] = {{1, 1, 1},      {3, 5, 2},     {7, 9, 13},
                             {24, 24, 24},   {25, 17, 31},  {67, 45, 91},
                             {100, 300, 20}, {13, 257, 40}, {97, 33, 130}};
    std::mt19937 rng(1);
    for (const auto& s : shapes) {
        CMLMatrixMN<T> x(s[0], s[1]), y(s[1], s[2]);
        for (int i = 0; i < s[1] * (s[0] + s[2]); ++i)
            (i < s[0] * s[1] ? x[i] : y[i - s[0] * s[1]]) = T(int(rng() % 17) - 8);
        EXPECT_EQ(mlAreAlmostEqual(x * y, ByColumns(x, y), T(0)), 1) << s[0] << "x" << s[1];
    }
    // The sums run over the left operand's columns: only b3's first 2 rows are used.
    const CMLMatrixMN<T> b3 = Make<T>(3, 2, {3, 4, 5, 6, 7, 8});
    EXPECT_EQ(Print(Make<T>(1, 2, {1, 2}) * b3), "( 13 16 )\n");
    EXPECT_EQ(Elements(b3 * CMLVectorN<T>(3, T(1))), (std::vector<T>{7, 11, 15}));
}

TYPED_TEST(MatrixTyped, EqualityUsesThePrecisionPerElementAndPartsTheirShape) {
    using T = TypeParam;
    const T p = mlDefaultPrecision<T>;
    CMLMatrixMN<T> a(1, 2), b(1, 2), n(1, 2);
    b(0, 0) = p;  // |a - b| == P exactly: equal
    const int atP = a == b;
    b(0, 0) = p * T(1.5);
    n(0, 0) = std::numeric_limits<T>::quiet_NaN();
    // A double precision converts for float matrices; NaN equals nothing; shapes must agree.
    EXPECT_EQ(std::vector<int>({atP, a != b, mlAreAlmostEqual(a, b, 2 * double(p)),
                                mlAreAlmostEqual(a, b, p), n == n,
                                CMLMatrixMN<T>(2, 3) == CMLMatrixMN<T>(3, 2)}),
              std::vector<int>({1, 1, 1, 0, 0, 0}));
    const CMLMatrixMN<T> big = Make<T>(3, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    const CMLMatrixMN<T> small = Make<T>(2, 2, {6, 7, 10, 11.25});
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 1, 1, 2, 2, T(0.3)), 1);
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 1, 1, 2, 2, T(0.2)), 0);
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 0, 1, 1, 2, T(0.3)), 0);
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 1, 1, 2, 3, T(100)), 0);  // wrong width
    EXPECT_EQ(mlIsMatrixEqualPartOfMatrix(small, big, 2, 3, 3, 4, T(100)), 0);  // outside big
    EXPECT_EQ(mlArePartsMatricesEqual(big, 0, 0, 0, 1, big, 2, 2, 2, 3, T(0)), 0);
    EXPECT_EQ(mlArePartsMatricesEqual(big, 1, 1, 2, 2, small, 0, 0, 1, 1, T(0.3)), 1);
    EXPECT_EQ(mlArePartsMatricesEqual(big, 0, 0, 1, 1, small, 0, 0, 0, 1, T(100)), 0);  // shapes
    EXPECT_EQ(mlArePartsMatricesEqual(big, 0, 0, 1, 1, small, 1, 1, 2, 2, T(100)), 0);  // outside
}

TEST(MatrixText, RowFormatAndPrintPartOfMatrix) {
    const CMLMatrixMN<double> m = Make<double>(2, 3, {1.5, -2, 3, 4, 5e-10, 6});
    EXPECT_EQ(Print(m), "( 1.5 -2 3 )\n( 4 5e-10 6 )\n");
    testing::internal::CaptureStdout();
    m.PrintPartOfMatrix(0, 1, 1, 2);
    m.PrintPartOfMatrix(0, 1, 1, 3);  // column 3 does not exist: nothing
    m.PrintPartOfMatrix(1, 0, 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "( -2 3 )\n( 5e-10 6 )\n\n");
    std::ostringstream os;
    os.precision(3);
    os << Make<float>(1, 1, {3.14159});
    EXPECT_EQ(os.str(), "( 3.14 )\n");  // the stream's own formatting
}

TYPED_TEST(MatrixTyped, StructureAnnulationTranspositionAndBlocks) {
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
    // Bidiagonal: below the diagonal a fixed 1e-6 whatever eps is, above the superdiagonal eps.
    CMLMatrixMN<T> m = Make<T>(3, 3, {1, 2, 0.5, 9e-7, 3, 4, 0, 0, 5});
    EXPECT_EQ(m.IsBidiagonal(T(0.5)), 1);
    EXPECT_EQ(m.IsBidiagonal(T(0.4)), 0);
    m(1, 0) = T(2e-6);
    EXPECT_EQ(m.IsBidiagonal(T(1)), 0);
    EXPECT_EQ(CMLMatrixMN<T>(2, 3).IsBidiagonal(T(1)), 0);  // more columns than rows
    m = Make<T>(3, 3, {0.5, 0.25, -0.1, 1, 0, 0, 0, 0, 0});
    m.AnnulateSmallElements(T(0.25));  // strict: 0.25 stays, while IsAlmostZero counts it
    EXPECT_EQ(Print(m), "( 0.5 0.25 0 )\n( 1 0 0 )\n( 0 0 0 )\n");
    CMLMatrixMN<T> u = Make<T>(2, 3, {1, 2, 3, 4, 5, 6}), l = Make<T>(3, 2, {1, 2, 3, 4, 5, 6});
    u.AnnulateRelativelyDiagonal(0);
    l.AnnulateRelativelyDiagonal(7);
    EXPECT_EQ(Print(u) + Print(l), "( 1 0 0 )\n( 4 5 0 )\n( 1 2 )\n( 0 4 )\n( 0 0 )\n");
    CMLMatrixMN<T> p(3), q = Make<T>(3, 3, {5, 6, 7, 8, 9, 1, 2, 3, 4});
    p.SetDiagonal(T(1));
    p.SetElementTransposition(0, 2);
    q.SetElementTransposition(0, 1);  // only the four elements change
    EXPECT_EQ(Print(p) + Print(q),
              "( 0 0 1 )\n( 0 1 0 )\n( 1 0 0 )\n( 0 1 7 )\n( 1 0 1 )\n( 2 3 4 )\n");
    const CMLMatrixMN<T> g = Make<T>(3, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    const CMLMatrixMN<T> b = g.ExtractMatrix(1, 1, 2, 3);
    CMLMatrixMN<T> t(3, 4);
    t.InsertMatrix(b, 0, 0, 1, 1);  // the leading 2 x 2 of b
    t.InsertMatrix(b, 2, 2, 3, 3);  // outside: nothing
    EXPECT_EQ(Print(b) + Print(g.ExtractLeftCornerMatrix(2, 2)) + Print(t),
              "( 6 7 8 )\n( 10 11 12 )\n( 1 2 )\n( 5 6 )\n"
              "( 6 7 0 0 )\n( 10 11 0 0 )\n( 0 0 0 0 )\n");
    EXPECT_EQ(g.ExtractMatrix(1, 1, 3, 3).RowsNb(), 0);  // outside
    EXPECT_EQ(g.Mean(), T(6.5));
}

TYPED_TEST(MatrixTyped, PythagorasSignAAndZeroRowsAndColumns) {
    using T = TypeParam;
    using M = CMLMatrixMN<T>;
    const T huge = std::numeric_limits<T>::max() / T(2);
    EXPECT_NEAR(M::Pythagoras(T(3), T(-4)), T(5), T(1e-6));
    EXPECT_NEAR(M::Pythagoras(T(-4), T(3)), T(5), T(1e-6));
    EXPECT_EQ(M::Pythagoras(T(1e-9), T(-1e-10)), T(0));  // larger magnitude within 1e-9
    EXPECT_GT(M::Pythagoras(T(2e-9), T(0)), T(0));
    EXPECT_TRUE(std::isfinite(M::Pythagoras(huge, huge)));
    // |a| with the sign of b; zero counts as positive.
    EXPECT_EQ(std::vector<T>({M::SignA(T(-3), T(2)), M::SignA(T(3), T(-2)), M::SignA(T(-3), 0)}),
              std::vector<T>({3, -3, 3}));
    CMLMatrixMN<T> m = Make<T>(3, 4, {0, 0, 0, 0, 0, 1, 0, 3, 0, 2, 1e-3, 4});
    int zr = -1, zc = -1, n = -1;
    EXPECT_EQ(m.TestZeroRowsColumns(zr, zc, T(1e-2)), 1);
    EXPECT_EQ(std::vector<int>({zr, zc}), std::vector<int>({1, 2}));  // row 0, columns 0 and 2
    EXPECT_EQ(Make<T>(1, 2, {1, 1}).TestZeroRowsColumns(zr, zc, T(0)), 0);
    const CMLMatrixMN<T> original(m);
    CMLMatrixMN<T> rows(3), cols(4), wrong(2);
    EXPECT_EQ(std::vector<int>({m.MoveZeroRows(n, wrong, T(1e-2)), m == original}),
              std::vector<int>({0, 1}));  // refused, unchanged
    EXPECT_EQ(std::vector<int>({m.MoveZeroRows(n, rows, T(1e-2)), n}), std::vector<int>({1, 1}));
    EXPECT_EQ(Print(m), "( 0 1 0 3 )\n( 0 2 0.001 4 )\n( 0 0 0 0 )\n");
    EXPECT_EQ(mlAreAlmostEqual(rows * original, m, T(0)), 1);  // P * old = new
    const CMLMatrixMN<T> before(m);
    EXPECT_EQ(std::vector<int>({m.MoveZeroColumns(n, cols, T(1e-2)), n}), std::vector<int>({1, 2}));
    EXPECT_EQ(Print(m), "( 1 3 0 0 )\n( 2 4 0 0.001 )\n( 0 0 0 0 )\n");
    EXPECT_EQ(mlAreAlmostEqual(before * cols, m, T(0)), 1);  // old * P = new
}

TYPED_TEST(MatrixTyped, NormsInnerProductAndCorrelation) {
    using T = TypeParam;
    CMLMatrixMN<T> m = Make<T>(2, 3, {1, -2, 3, -4, 5, -6});
    EXPECT_EQ(m.Norm(mlNormColumnSum), T(9));
    EXPECT_EQ(m.Norm(mlNormRowSum), T(15));
    EXPECT_NEAR(m.Norm(mlNormFrobenius), std::sqrt(T(91)), T(1e-5));
    EXPECT_NEAR(m.Norm(mlNormMaxElement), std::sqrt(T(6)) * T(6), T(1e-5));
    EXPECT_NEAR(m.Norm(mlNormSpectral), T(9.508032), T(1e-5));
    EXPECT_EQ(m.Norm(static_cast<mlMatrixNorm>(17)), m.Norm(mlNormFrobenius));
    // The Frobenius norm neither overflows nor underflows; with an infinite element the spectral
    // norm falls back to it.
    const T big = std::numeric_limits<T>::max() / 8, tiny = std::numeric_limits<T>::min() * 4;
    EXPECT_NEAR((Make<T>(1, 2, {3, 4}) * big).Norm(mlNormFrobenius) / big, T(5), T(1e-5));
    EXPECT_NEAR((Make<T>(1, 2, {3, 4}) * tiny).Norm(mlNormFrobenius) / tiny, T(5), T(1e-5));
    EXPECT_TRUE(std::isinf(Make<T>(1, 2, {1, INFINITY}).Norm(mlNormSpectral)));
    // A NaN anywhere makes every norm NaN.
    for (const int k : {0, 5}) {
        m[k] = std::numeric_limits<T>::quiet_NaN();
        for (const int norm : {0, 1, 2, 3, 4})
            EXPECT_TRUE(std::isnan(m.Norm(static_cast<mlMatrixNorm>(norm)))) << k << norm;
    }
    const CMLMatrixMN<T> a = Make<T>(2, 2, {1, 2, 3, 4}), b = Make<T>(2, 2, {2, 4, 6, 8});
    EXPECT_EQ(a.InnerProduct(b), T(60));
    EXPECT_NEAR(a.CorrelationCoefficient(b), T(1), T(1e-6));
    EXPECT_NEAR(a.CorrelationCoefficient(b.Negate()), T(-1), T(1e-6));
    EXPECT_NEAR(a.CorrelationCoefficient(Make<T>(2, 2, {1, -1, -1, 1})), T(0), T(1e-6));
    EXPECT_EQ(a.CorrelationCoefficient(Make<T>(2, 2, {5, 5, 5, 5})), T(0));  // no spread
}

}  // namespace
