#include <ml/sorting.h>

#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

namespace {

// The quicksort written out literally, as the reference for every permutation: pivot read once
// from (lo + hi) / 2, strict comparisons, swap and step, left side then right side.
template <class Rec, class Key, class Gt>
void ReferenceQuickSort(Rec* a, int lo, int hi, Key key, Gt gt) {
    if (lo >= hi) return;
    const auto p = key(a[(lo + hi) / 2]);
    int i = lo, j = hi;
    while (i <= j) {
        while (gt(p, key(a[i])))
            ++i;
        while (gt(key(a[j]), p))
            --j;
        if (i > j) break;
        std::swap(a[i], a[j]);
        ++i;
        --j;
    }
    ReferenceQuickSort(a, lo, j, key, gt);
    ReferenceQuickSort(a, i, hi, key, gt);
}

// The magnitude of a value as the absolute-value sort ranks it.
template <class T>
auto Magnitude(T v) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::fabs(v);
    } else if constexpr (std::is_signed_v<T>) {
        return v < 0 ? 0ull - static_cast<unsigned long long>(v)
                     : static_cast<unsigned long long>(v);
    } else {
        return static_cast<unsigned long long>(v);
    }
}

struct Entry {
    double value;
    int index;
};

// Reference permutation of a (indices in sorted order).
template <class T>
std::vector<int> ReferenceOrder(const std::vector<T>& a, bool ascending, bool absolute) {
    struct R {
        T value;
        int index;
    };
    std::vector<R> r;
    for (int k = 0; k < static_cast<int>(a.size()); ++k)
        r.push_back({a[k], k});
    auto gt = [ascending](auto x, auto y) { return ascending ? x > y : y > x; };
    if (absolute) {
        ReferenceQuickSort(
            r.data(), 0, static_cast<int>(r.size()) - 1,
            [](const R& e) { return Magnitude(e.value); }, gt);
    } else {
        ReferenceQuickSort(
            r.data(), 0, static_cast<int>(r.size()) - 1, [](const R& e) { return e.value; }, gt);
    }
    std::vector<int> order;
    for (const R& e : r)
        order.push_back(e.index);
    return order;
}

template <class T>
bool SameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Test data with many ties: values drawn from a small set (for floating types also -0, +0 and
// NaN), sometimes negated.
template <class T>
std::vector<T> TieHeavy(std::mt19937& rng, int n, int distinct) {
    std::vector<T> v(static_cast<std::size_t>(n));
    std::uniform_int_distribution<int> pick(0, distinct - 1), sign(0, 1), special(0, 19);
    for (T& x : v) {
        x = static_cast<T>(pick(rng));
        if (std::is_signed_v<T> && sign(rng)) x = static_cast<T>(-x);
        if constexpr (std::is_floating_point_v<T>) {
            const int s = special(rng);
            if (s == 0) x = -T(0);
            if (s == 1) x = std::numeric_limits<T>::quiet_NaN();
            if (s == 2) x = x + T(0.5);
        }
    }
    return v;
}

template <class T>
class SortingTyped : public ::testing::Test {};
using SortableTypes = ::testing::Types<unsigned char, signed char, short, unsigned short, int,
                                       unsigned int, long long, unsigned long long, float, double>;
TYPED_TEST_SUITE(SortingTyped, SortableTypes);

// Permutations ----------------------------------------------------------------------------------

// Every form, both directions, both key kinds: values and permutations equal the literal
// quicksort's, bit for bit (signed zeros and NaNs included).
TYPED_TEST(SortingTyped, PermutationsFollowThePartitions) {
    using T = TypeParam;
    std::mt19937 rng(7);
    const int sizes[] = {0, 1, 2, 3, 4, 5, 7, 8, 13, 20, 21, 22, 40, 100, 257, 1000, 5000};
    for (int n : sizes) {
        for (int distinct : {2, 5, 50, 100000}) {
            const std::vector<T> in = TieHeavy<T>(rng, n, distinct);
            for (int ascending = 0; ascending < 2; ++ascending) {
                for (int absolute = 0; absolute < 2; ++absolute) {
                    const std::vector<int> ref = ReferenceOrder(in, ascending, absolute);
                    std::vector<T> out(in.size()), values(in.size());
                    std::vector<int> idx(in.size(), -1);
                    mlSort(n, in.data(), out.data(), idx.data(), ascending, absolute);
                    mlSort(n, in.data(), values.data(), ascending, absolute);
                    for (int k = 0; k < n; ++k) {
                        ASSERT_EQ(idx[k], ref[k]) << n << " " << ascending << absolute << " " << k;
                        ASSERT_TRUE(SameBits(out[k], in[ref[k]]));
                        ASSERT_TRUE(SameBits(values[k], in[ref[k]])) << n << " " << k;
                    }
                }
            }
        }
    }
}

TEST(SortingPermutations, EqualKeysComeOutInPartitionOrder) {
    const double in[2] = {5, 5};
    double out[2];
    int idx[2];
    mlSort(2, in, out, idx, 1, 0);
    EXPECT_EQ(idx[0], 1);  // equal to the pivot: both scans stop and the two are swapped
    EXPECT_EQ(idx[1], 0);
    const double five[5] = {2, 1, 2, 1, 2};
    double d5[5];
    int i5[5];
    mlSort(5, five, d5, i5, 1, 0);
    const int expected[5] = {3, 1, 4, 0, 2};
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(i5[k], expected[k]) << k;
}

TEST(SortingPermutations, DescendingByAbsoluteValue) {
    const int in[3] = {3, -7, 5};
    int out[3], idx[3];
    mlSort(3, in, out, idx, 0, 1);
    EXPECT_EQ(out[0], -7);
    EXPECT_EQ(out[1], 5);
    EXPECT_EQ(out[2], 3);
    EXPECT_EQ(idx[0], 1);
    EXPECT_EQ(idx[1], 2);
    EXPECT_EQ(idx[2], 0);
}

TEST(SortingPermutations, SignedZerosAndNaNs) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> in = {0.0, -0.0, 1, nan, -1, 0.0, -0.0, nan, 2};
    const std::vector<int> ref = ReferenceOrder(in, true, false);
    std::vector<double> out(in.size());
    mlSort(static_cast<int>(in.size()), in.data(), out.data(), 1, 0);
    for (std::size_t k = 0; k < in.size(); ++k)
        EXPECT_TRUE(SameBits(out[k], in[ref[k]])) << k;
}

TEST(SortingPermutations, MostNegativeIntegerHasTheLargestMagnitude) {
    const signed char in[4] = {-128, 127, -1, 0};
    signed char out[4];
    mlSort(4, in, out, 1, 1);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], -1);
    EXPECT_EQ(out[2], 127);
    EXPECT_EQ(out[3], -128);
    const long long big[3] = {LLONG_MIN, LLONG_MAX, -5};
    long long bout[3];
    mlSort(3, big, bout, 0, 1);
    EXPECT_EQ(bout[0], LLONG_MIN);
    EXPECT_EQ(bout[1], LLONG_MAX);
}

// The class -------------------------------------------------------------------------------------

TEST(SortingClass, DefaultsAndTrivialSizes) {
    CMLSorting<double> s;
    int n, external, ascending, absolute;
    s.GetData(n, external, ascending, absolute);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(external, 1);
    EXPECT_EQ(ascending, 1);
    EXPECT_EQ(absolute, 0);
    EXPECT_EQ(s.GetArray(), nullptr);
    s.Sort();
    EXPECT_EQ(s.IsArraySorted(1, 0), 1);
    double one = 4;
    s.SetData(1, &one, 1, 0, 0);
    s.Sort();
    EXPECT_EQ(one, 4.0);
    EXPECT_EQ(s.IsArraySorted(1, 1), 1);
    s.SetData(-5, &one, 1, 1, 0);
    s.GetData(n, external, ascending, absolute);
    EXPECT_EQ(n, 0);
}

TEST(SortingClass, ExternalArraysAreSortedInPlaceOwnedOnesCopied) {
    double a[4] = {3, 1, 2, 0};
    CMLSorting<double> ext(4, a, 1, 1, 0);
    EXPECT_EQ(ext.GetArray(), a);
    ext.Sort();
    EXPECT_EQ(a[0], 0.0);
    EXPECT_EQ(a[3], 3.0);

    double b[4] = {3, 1, 2, 0};
    CMLSorting<double> own(4, b, 0, 0, 0);
    EXPECT_NE(own.GetArray(), b);
    own.Sort();
    EXPECT_EQ(b[0], 3.0);  // the caller's array is untouched
    EXPECT_EQ(own.GetArray()[0], 3.0);
    EXPECT_EQ(own.GetArray()[3], 0.0);
    EXPECT_EQ(own.IsArraySorted(0, 0), 1);
    EXPECT_EQ(own.IsArraySorted(1, 0), 0);

    CMLSorting<double> copy(own);  // owned arrays are copied deeply
    EXPECT_NE(copy.GetArray(), own.GetArray());
    EXPECT_EQ(copy.GetArray()[1], 2.0);
    CMLSorting<double> assigned;
    assigned = ext;  // adopted arrays are shared
    EXPECT_EQ(assigned.GetArray(), a);
    assigned = own;
    EXPECT_NE(assigned.GetArray(), own.GetArray());

    own.SetArray(2, b + 2);  // replaces (and frees) the owned copy, keeps the flags
    int n, external, ascending, absolute;
    own.GetData(n, external, ascending, absolute);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(external, 0);
    EXPECT_EQ(ascending, 0);
    EXPECT_EQ(own.GetArray()[0], 2.0);
}

TEST(SortingClass, FlagOnlySetterKeepsThePointer) {
    double a[3] = {2, 3, 1};
    CMLSorting<double> s(3, a, 1, 1, 0);
    s.SetData(2, 1, 0, 0);
    EXPECT_EQ(s.GetArray(), a);
    s.Sort();
    EXPECT_EQ(a[0], 3.0);
    EXPECT_EQ(a[1], 2.0);
    EXPECT_EQ(a[2], 1.0);
    // Taking ownership copies the caller's array first, so the destructor never frees it.
    s.SetData(3, 0, 1, 0);
    EXPECT_NE(s.GetArray(), a);
    s.Sort();
    EXPECT_EQ(a[0], 3.0);
    EXPECT_EQ(s.GetArray()[0], 1.0);
    s.SetSortingType(0, 1);
    int n, external, ascending, absolute;
    s.GetData(n, external, ascending, absolute);
    EXPECT_EQ(ascending, 0);
    EXPECT_EQ(absolute, 1);
}

TEST(SortingClass, SortIntoOutputByValueAndByAbsoluteValue) {
    double a[4] = {-3, 1, -2, 4};
    double out[4];
    CMLSorting<double> byValue(4, a, 1, 1, 0);
    byValue.Sort(out);
    EXPECT_EQ(a[0], -3.0);  // sorted in place, then copied
    EXPECT_EQ(a[1], -2.0);
    EXPECT_EQ(out[3], 4.0);

    double b[4] = {-3, 1, -2, 4};
    CMLSorting<double> byAbs(4, b, 1, 1, 1);
    byAbs.Sort(out);
    EXPECT_EQ(b[0], -3.0);  // left as it was
    EXPECT_EQ(b[1], 1.0);
    EXPECT_EQ(out[0], 1.0);
    EXPECT_EQ(out[1], -2.0);
    EXPECT_EQ(out[2], -3.0);
    EXPECT_EQ(out[3], 4.0);
    byAbs.Sort();  // Sort() writes the sorted values back
    EXPECT_EQ(b[1], -2.0);
}

TEST(SortingClass, RangesAndTheirOutputs) {
    int a[6] = {9, 5, 3, 4, 1, 0};
    CMLSorting<int> s(6, a, 1, 1, 0);
    s.Sort(1, 4);
    const int sorted[6] = {9, 1, 3, 4, 5, 0};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(a[k], sorted[k]);
    s.Sort(4, 1);   // empty range
    s.Sort(-1, 3);  // leaves the array
    s.Sort(3, 6);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(a[k], sorted[k]);

    int b[6] = {9, -5, 3, -4, 1, 0};
    int out[6];
    CMLSorting<int> t(6, b, 1, 0, 1);
    t.Sort(1, 3,
           out);  // by absolute value: the array stays, out is the array with the range sorted
    const int expected[6] = {9, -5, -4, 3, 1, 0};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(out[k], expected[k]) << k;
    EXPECT_EQ(b[1], -5);
    EXPECT_EQ(b[2], 3);
    t.SetSortingType(0, 0);
    t.Sort(1, 3, out);
    const int byValue[6] = {9, 3, -4, -5, 1, 0};
    for (int k = 0; k < 6; ++k) {
        EXPECT_EQ(b[k], byValue[k]) << k;
        EXPECT_EQ(out[k], byValue[k]) << k;
    }

    int c[5] = {4, 3, 2, 1, 0};
    int full[5];
    mlSort(5, 1, 3, c, full, 1, 0);
    EXPECT_EQ(full[0], 4);
    EXPECT_EQ(full[1], 1);
    EXPECT_EQ(full[3], 3);
    EXPECT_EQ(full[4], 0);
}

TEST(SortingClass, IndicesLeaveTheArrayAlone) {
    float a[5] = {0.5f, -2.f, 1.5f, -0.25f, 3.f};
    CMLSorting<float> s(5, a, 1, 0, 1);
    int idx[5];
    s.SortReturnIndices(idx);
    const int expected[5] = {4, 1, 2, 0, 3};
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(idx[k], expected[k]);
    EXPECT_EQ(a[1], -2.f);
    float out[5];
    s.Sort(out, idx);
    EXPECT_EQ(out[1], -2.f);
    EXPECT_EQ(out[4], -0.25f);
    EXPECT_EQ(a[4], 3.f);
}

TEST(SortingClass, QuickSortAndPartitionsOnRecords) {
    using S = CMLSorting<double>;
    S s;
    std::vector<S::mlSortIndexData> r = {{4, 0}, {1, 1}, {3, 2}, {1, 3}, {5, 4}, {0, 5}};
    int i = 0, j = 5;
    s.AscendingPartition(r.data(), i, j);
    // Pivot r[2] = 3: 4 <-> 0, then 3 <-> 1, and the indices have crossed.
    EXPECT_EQ(i, 3);
    EXPECT_EQ(j, 2);
    const double afterPass[6] = {0, 1, 1, 3, 5, 4};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(r[k].value, afterPass[k]) << k;
    s.QuickSort(r.data(), 0, 5);
    EXPECT_EQ(r[0].index, 5);
    EXPECT_EQ(r[1].index, 3);  // the two ones, in partition order
    EXPECT_EQ(r[2].index, 1);
    EXPECT_EQ(r[5].index, 4);

    std::vector<S::mlSortAbsIndexData> ar = {{-4, 4, 0}, {1, 1, 1}, {-3, 3, 2}};
    int lo = 0, hi = 2;
    s.DescendingPartition(ar.data(), lo, hi);
    s.QuickSort(ar.data(), 0, 2);  // ascending flag set: by absolute value, ascending
    EXPECT_EQ(ar[0].index, 1);
    EXPECT_EQ(ar[2].index, 0);

    double a[5] = {2, 9, 4, 1, 7};
    S t(5, a, 1, 0, 0);
    int pi = 0, pj = 4;
    t.DescendingPartition(pi, pj);
    EXPECT_LT(pj, pi);
    for (int k = 0; k < pi; ++k)
        EXPECT_GE(a[k], 4.0);
    for (int k = pj + 1; k < 5; ++k)
        EXPECT_LE(a[k], 4.0);
    t.QuickSort(1, 3);
    EXPECT_EQ(t.IsArraySorted(0, 0), 0);
    t.QuickSort(0, 4);
    EXPECT_EQ(t.IsArraySorted(0, 0), 1);
}

// Sortedness checks -----------------------------------------------------------------------------

TEST(SortingIsArraySorted, Tolerance) {
    const double a[2] = {1.0, 0.95};
    EXPECT_EQ(mlIsArraySorted(2, a, 0.1, 1, 0), 1);
    EXPECT_EQ(mlIsArraySorted(2, a, 0.01, 1, 0), 0);
    EXPECT_EQ(mlIsArraySorted(2, a, 0.0, 0, 0), 1);
    const double b[2] = {0.95, 1.0};
    EXPECT_EQ(mlIsArraySorted(2, b, 0.1, 0, 0), 1);
    EXPECT_EQ(mlIsArraySorted(2, b, 0.01, 0, 0), 0);
    const float c[3] = {-3.f, 2.f, -1.f};
    EXPECT_EQ(mlIsArraySorted(3, c, 0.0, 0, 1), 1);  // a double literal converts to float
    EXPECT_EQ(mlIsArraySorted(0, c, 0.0f, 1, 0), 1);
    EXPECT_EQ(mlIsArraySorted(1, c, 0.0f, 1, 0), 1);
}

TEST(SortingIsArraySorted, IntegerArithmeticIsExact) {
    const unsigned int u[2] = {UINT_MAX, 5};
    EXPECT_EQ(mlIsArraySorted(2, u, UINT_MAX - 2, 1, 0), 1);  // 5 + tolerance does not wrap
    EXPECT_EQ(mlIsArraySorted(2, u, UINT_MAX - 6, 1, 0), 0);
    const long long ll[2] = {LLONG_MAX, LLONG_MIN};
    EXPECT_EQ(mlIsArraySorted(2, ll, 0LL, 0, 0), 1);
    EXPECT_EQ(mlIsArraySorted(2, ll, LLONG_MAX, 1, 0), 0);
    const int eq[2] = {1, 1};
    EXPECT_EQ(mlIsArraySorted(2, eq, -1, 1, 0), 0);  // a negative tolerance demands a gap
    const signed char sc[2] = {-128, 127};
    EXPECT_EQ(mlIsArraySorted(2, sc, static_cast<signed char>(0), 0, 1), 1);
    EXPECT_EQ(mlIsArraySorted(2, sc, static_cast<signed char>(0), 1, 1), 0);
    const unsigned long long big[2] = {~0ull, 0};
    EXPECT_EQ(mlIsArraySorted(2, big, ~0ull, 1, 0), 1);
}

TYPED_TEST(SortingTyped, SortedOutputPassesTheCheck) {
    using T = TypeParam;
    std::mt19937 rng(3);
    std::vector<T> in(300);
    std::uniform_int_distribution<int> d(-100, 100);
    for (T& x : in)
        x = static_cast<T>(std::is_signed_v<T> ? d(rng) : d(rng) + 100);
    std::vector<T> out(in.size());
    for (int asc = 0; asc < 2; ++asc) {
        for (int abs = 0; abs < 2; ++abs) {
            mlSort(300, in.data(), out.data(), asc, abs);
            EXPECT_EQ(mlIsArraySorted(300, out.data(), T(0), asc, abs), 1);
            CMLSorting<T> s(300, out.data(), 1, asc, abs);
            EXPECT_EQ(s.IsArraySorted(asc, abs), 1);
        }
    }
}

// Stack depth -----------------------------------------------------------------------------------

// An input on which this quicksort degrades to one element split off per partition, built by
// letting the literal algorithm sort while values are assigned lazily (McIlroy's adversary).
// Undecided values compare below every decided one and each decision takes the next lower value,
// so pivots come out as the largest key: the large side is the left one, the side that a
// compiler's tail-call elimination of the second call cannot save.
std::vector<int> AdversarialInput(int n) {
    const int undecided = -1;
    std::vector<int> val(static_cast<std::size_t>(n), undecided);
    std::vector<int> ptr(static_cast<std::size_t>(n));
    for (int k = 0; k < n; ++k)
        ptr[k] = k;
    int next = n - 1, candidate = 0;
    auto gt = [&](int x, int y) {
        if (val[x] == undecided && val[y] == undecided) val[x == candidate ? x : y] = next--;
        if (val[x] == undecided) {
            candidate = x;
        } else if (val[y] == undecided) {
            candidate = y;
        }
        return val[x] > val[y];
    };
    // The literal algorithm, looping on the larger side so that the generator's own stack stays
    // small; the order in which disjoint sides are sorted does not change the comparisons made.
    struct Frame {
        int lo, hi;
    };
    std::vector<Frame> stack = {{0, n - 1}};
    while (!stack.empty()) {
        Frame f = stack.back();
        stack.pop_back();
        if (f.lo >= f.hi) continue;
        const int p = ptr[(f.lo + f.hi) / 2];
        int i = f.lo, j = f.hi;
        while (i <= j) {
            while (gt(p, ptr[i]))
                ++i;
            while (gt(ptr[j], p))
                --j;
            if (i > j) break;
            std::swap(ptr[i], ptr[j]);
            ++i;
            --j;
        }
        stack.push_back({f.lo, j});
        stack.push_back({i, f.hi});
    }
    return val;
}

struct DeepSortJob {
    std::vector<int>* data;
    int sorted;
};

void* RunDeepSort(void* arg) {
    auto* job = static_cast<DeepSortJob*>(arg);
    const int n = static_cast<int>(job->data->size());
    CMLSorting<int> s(n, job->data->data(), 1, 1, 0);
    s.Sort();
    job->sorted = s.IsArraySorted(1, 0);
    return nullptr;
}

TEST(SortingStack, AdversarialInputRunsOnASmallStack) {
    const int n = 20000;
    std::vector<int> data = AdversarialInput(n);
    // The literal left-then-right recursion would nest about n / 2 deep on this input.
    DeepSortJob job{&data, 0};
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 256 * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attr, RunDeepSort, &job), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    EXPECT_EQ(job.sorted, 1);
}

// 2D points -------------------------------------------------------------------------------------

TEST(Sorting2D, RunsCompareWithTheirFirstKey) {
    // x keys 0, 0.6, 1.2 with tolerance 1: the run is {0, 0.6}; 1.2 is 1.2 from the run's first
    // key although only 0.6 from its neighbour.
    const double in[6] = {1.2, 1, 0, 5, 0.6, 3};
    double out[6];
    mlSort2DArray(3, in, out, 1.0, 1, 0, 1);
    const double expected[6] = {0.6, 3, 0, 5, 1.2, 1};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(out[k], expected[k]) << k;
}

TEST(Sorting2D, SecondCoordinateAsPrimaryKeepsPairOrder) {
    const int in[8] = {1, 30, 2, 10, 3, 20, 4, 10};
    int out[8];
    mlSort2DArray(4, in, out, 0, 0, 0, 0);  // by y descending; the tie y = 10 by x descending
    const int expected[8] = {1, 30, 3, 20, 4, 10, 2, 10};
    for (int k = 0; k < 8; ++k)
        EXPECT_EQ(out[k], expected[k]) << k;
}

TEST(Sorting2D, PairRunsSwapOnlyWhenStrictlyOutOfOrder) {
    // Primary keys tie; the quicksort swaps equal keys, so the points come out in reverse. The
    // run of two then compares the secondary keys -0 and +0, which are equal: no swap.
    const double in[4] = {1, -0.0, 1, 0.0};
    double out[4];
    mlSort2DArray(2, in, out, 0.0, 1, 0, 1);
    EXPECT_FALSE(std::signbit(out[1]));
    EXPECT_TRUE(std::signbit(out[3]));
    const double in2[4] = {1, 5, 1, 2};
    mlSort2DArray(2, in2, out, 0.0, 1, 0, 1);
    EXPECT_EQ(out[1], 2.0);
    EXPECT_EQ(out[3], 5.0);
}

TEST(Sorting2D, AbsoluteKeysAndLongRuns) {
    const double in[10] = {-1, 4, 1, -3, 0.5, 9, -1, 2, 1, -8};
    double out[10];
    mlSort2DArray(5, in, out, 0.0, 1, 1, 1);  // |x| ascending, ties by |y| ascending
    const double expected[10] = {0.5, 9, -1, 2, 1, -3, -1, 4, 1, -8};
    for (int k = 0; k < 10; ++k)
        EXPECT_EQ(out[k], expected[k]) << k;
    mlSort2DArray(5, in, out, -1.0, 1, 1, 1);  // a negative tolerance forms no runs
    EXPECT_EQ(out[0], 0.5);
}

TEST(Sorting2D, ExtremeIntegersAndInPlace) {
    long long p[6] = {LLONG_MAX, 0, LLONG_MIN, 2, LLONG_MAX - 1, 1};
    mlSort2DArray(3, p, p, 1LL, 1, 0, 1);  // in place; the run {MAX - 1, MAX} sorted by y
    const long long expected[6] = {LLONG_MIN, 2, LLONG_MAX, 0, LLONG_MAX - 1, 1};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(p[k], expected[k]) << k;
    // MIN and MAX are far apart, although their difference wraps to 1 in 64-bit arithmetic.
    long long q[4] = {LLONG_MIN, 5, LLONG_MAX, 1};
    mlSort2DArray(2, q, q, 1LL, 1, 0, 1);
    EXPECT_EQ(q[0], LLONG_MIN);
    EXPECT_EQ(q[1], 5);
}

// The 2D sort written out from its description, on tie-heavy data.
template <class T>
std::vector<T> Reference2D(const std::vector<T>& in, T tol, bool asc, bool abs, bool byFirst) {
    const int n = static_cast<int>(in.size() / 2);
    const int pc = byFirst ? 0 : 1, sc = 1 - pc;
    auto key = [abs](T v) {
        return abs ? static_cast<double>(Magnitude(v)) : static_cast<double>(v);
    };
    auto gt = [asc](double a, double b) { return asc ? a > b : b > a; };
    std::vector<Entry> r;
    for (int k = 0; k < n; ++k)
        r.push_back({key(in[2 * k + pc]), k});
    ReferenceQuickSort(
        r.data(), 0, n - 1, [](const Entry& e) { return e.value; }, gt);
    std::vector<T> out(in.size());
    for (int k = 0; k < n; ++k) {
        out[2 * k] = in[2 * r[k].index];
        out[2 * k + 1] = in[2 * r[k].index + 1];
    }
    for (int s = 0; s < n;) {
        int m = 1;
        while (s + m < n && std::fabs(r[s].value - r[s + m].value) <= static_cast<double>(tol))
            ++m;
        if (m == 2) {
            if (gt(key(out[2 * s + sc]), key(out[2 * s + 2 + sc]))) {
                std::swap(out[2 * s], out[2 * s + 2]);
                std::swap(out[2 * s + 1], out[2 * s + 3]);
            }
        } else if (m > 2) {
            std::vector<Entry> run;
            for (int k = 0; k < m; ++k)
                run.push_back({key(out[2 * (s + k) + sc]), k});
            ReferenceQuickSort(
                run.data(), 0, m - 1, [](const Entry& e) { return e.value; }, gt);
            std::vector<T> copy(out.begin() + 2 * s, out.begin() + 2 * (s + m));
            for (int k = 0; k < m; ++k) {
                out[2 * (s + k)] = copy[2 * run[k].index];
                out[2 * (s + k) + 1] = copy[2 * run[k].index + 1];
            }
        }
        s += m;
    }
    return out;
}

TEST(Sorting2D, MatchesTheDescriptionOnTieHeavyData) {
    std::mt19937 rng(11);
    for (int n : {0, 1, 2, 3, 10, 60, 500}) {
        std::vector<int> in(2 * static_cast<std::size_t>(n));
        std::uniform_int_distribution<int> d(-6, 6);
        for (int& v : in)
            v = d(rng);
        std::vector<double> dbl(in.begin(), in.end());
        for (int asc = 0; asc < 2; ++asc) {
            for (int abs = 0; abs < 2; ++abs) {
                for (int byFirst = 0; byFirst < 2; ++byFirst) {
                    for (int tol : {0, 1, 3}) {
                        std::vector<int> out(in.size());
                        mlSort2DArray(n, in.data(), out.data(), tol, asc, abs, byFirst);
                        EXPECT_EQ(out, Reference2D(in, tol, asc, abs, byFirst))
                            << n << asc << abs << byFirst << tol;
                        std::vector<double> dout(in.size());
                        mlSort2DArray(n, dbl.data(), dout.data(), tol + 0.25, asc, abs, byFirst);
                        EXPECT_EQ(dout, Reference2D(dbl, tol + 0.25, asc, abs, byFirst));
                    }
                }
            }
        }
    }
}

template <class T>
class Sorting2DVectors : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Sorting2DVectors, RealTypes);

// The vector form orders points exactly as the interleaved form does, ties and signed zeros
// included, and also works in place.
TYPED_TEST(Sorting2DVectors, MatchInterleavedPairs) {
    using T = TypeParam;
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> d(-4, 4);
    for (int n : {0, 1, 2, 3, 17, 300}) {
        std::vector<T> flat(2 * static_cast<std::size_t>(n));
        for (T& v : flat)
            v = d(rng) == 0 ? -T(0) : static_cast<T>(d(rng)) / T(2);
        std::vector<CMLVector2<T>> points;
        for (int k = 0; k < n; ++k)
            points.emplace_back(flat[2 * k], flat[2 * k + 1]);
        for (int asc = 0; asc < 2; ++asc) {
            for (int abs = 0; abs < 2; ++abs) {
                for (int byFirst = 0; byFirst < 2; ++byFirst) {
                    std::vector<T> expected(flat.size());
                    mlSort2DArray(n, flat.data(), expected.data(), 0.5, asc, abs, byFirst);
                    std::vector<CMLVector2<T>> out(points.size());
                    mlSort2DVectors(n, byFirst, points.data(), out.data(), 0.5, asc, abs);
                    std::vector<CMLVector2<T>> inPlace = points;
                    mlSort2DVectors(n, byFirst, inPlace.data(), inPlace.data(), 0.5, asc, abs);
                    for (int k = 0; k < n; ++k) {
                        ASSERT_TRUE(SameBits(out[k].x, expected[2 * k]));
                        ASSERT_TRUE(SameBits(out[k].y, expected[2 * k + 1]));
                        ASSERT_TRUE(SameBits(inPlace[k].x, expected[2 * k]));
                        ASSERT_TRUE(SameBits(inPlace[k].y, expected[2 * k + 1]));
                    }
                }
            }
        }
    }
}

TEST(Sorting2DVectorsOrder, ByYDescendingKeepsVectorsWhole) {
    const CMLVector2<double> in[3] = {{1, 2}, {3, 9}, {5, 4}};
    CMLVector2<double> out[3];
    mlSort2DVectors(3, 0, in, out, 0.0, 0, 0);
    EXPECT_EQ(out[0].x, 3.0);
    EXPECT_EQ(out[1].x, 5.0);
    EXPECT_EQ(out[2].y, 2.0);
}

}  // namespace
