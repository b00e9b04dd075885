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
        std::swap(a[i++], a[j--]);
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

// The input positions of a in the literal quicksort's order.
template <class T>
std::vector<int> ReferenceOrder(const std::vector<T>& a, bool ascending, bool absolute) {
    std::vector<std::pair<T, int>> r;
    for (int k = 0; k < static_cast<int>(a.size()); ++k)
        r.emplace_back(a[k], k);
    auto gt = [ascending](auto x, auto y) { return ascending ? x > y : y > x; };
    const int hi = static_cast<int>(r.size()) - 1;
    if (absolute) {
        ReferenceQuickSort(
            r.data(), 0, hi, [](const auto& e) { return Magnitude(e.first); }, gt);
    } else {
        ReferenceQuickSort(
            r.data(), 0, hi, [](const auto& e) { return e.first; }, gt);
    }
    std::vector<int> order;
    for (const auto& e : r)
        order.push_back(e.second);
    return order;
}

template <class T>
bool SameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Values drawn from a small set (for floating types also -0, NaN and halves), sometimes negated.
template <class T>
std::vector<T> TieHeavy(std::mt19937& rng, int n, int distinct) {
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T& x : v) {
        x = static_cast<T>(rng() % distinct);
        if (std::is_signed_v<T> && rng() % 2) x = static_cast<T>(-x);
        if constexpr (std::is_floating_point_v<T>) {
            const unsigned s = rng() % 20;
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

// Every free form, both directions, both key kinds: values and permutations equal the literal
// quicksort's, bit for bit (signed zeros and NaNs included), and pass the sortedness check.
TYPED_TEST(SortingTyped, PermutationsFollowThePartitions) {
    using T = TypeParam;
    std::mt19937 rng(7);
    for (int n : {0, 1, 2, 3, 4, 5, 7, 8, 13, 20, 21, 22, 40, 100, 257, 1000, 5000}) {
        for (int distinct : {2, 5, 50, 100000}) {
            const std::vector<T> in = TieHeavy<T>(rng, n, distinct);
            const bool nan =
                std::any_of(in.begin(), in.end(), [](T x) { return std::isnan(double(x)); });
            for (int mode = 0; mode < 4; ++mode) {
                const int ascending = mode & 1, absolute = mode >> 1;
                const std::vector<int> ref = ReferenceOrder(in, ascending, absolute);
                std::vector<T> out(in.size()), values(in.size());
                std::vector<int> idx(in.size(), -1);
                mlSort(n, in.data(), out.data(), idx.data(), ascending, absolute);
                mlSort(n, in.data(), values.data(), ascending, absolute);
                // Around a NaN the order is whatever the partitions leave.
                ASSERT_EQ(nan ? 1 : mlIsArraySorted(n, values.data(), T(0), ascending, absolute),
                          1);
                for (int k = 0; k < n; ++k) {
                    ASSERT_EQ(idx[k], ref[k]) << n << " " << distinct << " " << mode << " " << k;
                    ASSERT_TRUE(SameBits(out[k], in[ref[k]]));
                    ASSERT_TRUE(SameBits(values[k], in[ref[k]])) << n << " " << k;
                }
            }
        }
    }
}

TEST(SortingPermutations, ExactPermutationsOfSmallInputs) {
    struct Case {
        std::vector<double> in;
        int ascending, absolute;
        std::vector<int> order;
    };
    const Case cases[] = {
        {{5, 5}, 1, 0, {1, 0}},  // equal to the pivot: both scans stop and the two are swapped
        {{2, 1, 2, 1, 2}, 1, 0, {3, 1, 4, 0, 2}},  // equal keys in partition order, not input order
        {{3, -7, 5}, 0, 1, {1, 2, 0}}};            // descending by absolute value: -7, 5, 3
    for (const Case& c : cases) {
        const int n = static_cast<int>(c.in.size());
        std::vector<double> out(c.in.size());
        std::vector<int> idx(c.in.size());
        mlSort(n, c.in.data(), out.data(), idx.data(), c.ascending, c.absolute);
        EXPECT_EQ(idx, c.order) << c.in[0] << " " << n;
    }
    // The most negative integer has the largest magnitude, in every width.
    const signed char sc[4] = {-128, 127, -1, 0};
    const long long ll[3] = {LLONG_MIN, LLONG_MAX, -5};
    signed char sco[4];
    long long llo[3];
    mlSort(4, sc, sco, 1, 1);
    mlSort(3, ll, llo, 0, 1);
    EXPECT_EQ(std::vector<signed char>(sco, sco + 4), (std::vector<signed char>{0, -1, 127, -128}));
    EXPECT_EQ(std::vector<long long>(llo, llo + 3),
              (std::vector<long long>{LLONG_MIN, LLONG_MAX, -5}));
}

TEST(SortingClass, ExternalArraysAreSortedInPlaceOwnedOnesCopied) {
    CMLSorting<double> empty;
    int n, external, ascending, absolute;
    empty.GetData(n, external, ascending, absolute);
    EXPECT_EQ(std::vector<int>({n, external, ascending, absolute}), std::vector<int>({0, 1, 1, 0}));
    EXPECT_EQ(empty.GetArray(), nullptr);
    empty.Sort();
    EXPECT_EQ(empty.IsArraySorted(1, 0), 1);
    empty.SetData(-5, nullptr, 1, 1, 0);  // a negative count is stored as 0
    empty.GetData(n, external, ascending, absolute);
    EXPECT_EQ(n, 0);

    double a[4] = {3, 1, 2, 0}, b[4] = {3, 1, 2, 0};
    CMLSorting<double> ext(4, a, 1, 1, 0), own(4, b, 0, 0, 0);
    EXPECT_EQ(ext.GetArray(), a);
    EXPECT_NE(own.GetArray(), b);
    ext.Sort();
    own.Sort();
    EXPECT_EQ(std::vector<double>(a, a + 4), (std::vector<double>{0, 1, 2, 3}));
    EXPECT_EQ(b[0], 3.0);  // the caller's array is untouched
    EXPECT_EQ(std::vector<double>(own.GetArray(), own.GetArray() + 4),
              (std::vector<double>{3, 2, 1, 0}));
    CMLSorting<double> copy(own), assigned;  // owned arrays are copied deeply
    EXPECT_NE(copy.GetArray(), own.GetArray());
    EXPECT_EQ(copy.GetArray()[1], 2.0);
    assigned = ext;  // adopted arrays are shared
    EXPECT_EQ(assigned.GetArray(), a);
    assigned = own;
    EXPECT_NE(assigned.GetArray(), own.GetArray());
    own.SetArray(2, b + 2);  // replaces (and frees) the owned copy, keeps the flags
    own.GetData(n, external, ascending, absolute);
    EXPECT_EQ(std::vector<int>({n, external, ascending, absolute}), std::vector<int>({2, 0, 0, 0}));
    EXPECT_EQ(own.GetArray()[0], 2.0);
    ext.SetSortingType(0, 1);
    ext.GetData(n, external, ascending, absolute);
    EXPECT_EQ(std::vector<int>({ascending, absolute}), std::vector<int>({0, 1}));
    // The flag-only setter keeps the pointer: external 0 hands the caller's array to the object,
    // which sorts it in place and frees it; external 1 leaves the object's array to the caller.
    double* heap = new double[4]{3, 1, 2, 0};
    CMLSorting<double> handed(4, heap, 1, 1, 0);
    handed.SetData(3, 0, 0, 0);
    EXPECT_EQ(handed.GetArray(), heap);
    handed.Sort();
    EXPECT_EQ(std::vector<double>(heap, heap + 4), (std::vector<double>{3, 2, 1, 0}));
    double* released = own.GetArray();
    own.SetData(-1, 1, 1, 0);
    own.GetData(n, external, ascending, absolute);
    EXPECT_EQ(std::vector<int>({n, external}), std::vector<int>({0, 1}));
    EXPECT_EQ(own.GetArray(), released);
    delete[] released;
}

TEST(SortingClass, OutputsRangesAndIndices) {
    // Sort(out) by value sorts the array and copies it; by absolute value only out is sorted.
    double a[4] = {-3, 1, -2, 4}, b[4] = {-3, 1, -2, 4}, out[4];
    CMLSorting<double> byValue(4, a, 1, 1, 0), byAbs(4, b, 1, 1, 1);
    byValue.Sort(out);
    EXPECT_EQ(std::vector<double>(a, a + 4), (std::vector<double>{-3, -2, 1, 4}));
    EXPECT_EQ(std::vector<double>(out, out + 4), (std::vector<double>{-3, -2, 1, 4}));
    byAbs.Sort(out);
    EXPECT_EQ(std::vector<double>(b, b + 4), (std::vector<double>{-3, 1, -2, 4}));
    EXPECT_EQ(std::vector<double>(out, out + 4), (std::vector<double>{1, -2, -3, 4}));
    byAbs.Sort();  // Sort() writes the sorted values back
    EXPECT_EQ(b[1], -2.0);

    int c[6] = {9, 5, 3, 4, 1, 0}, d[6] = {9, -5, 3, -4, 1, 0}, iout[6];
    CMLSorting<int> s(6, c, 1, 1, 0), t(6, d, 1, 0, 1);
    s.Sort(1, 4);
    s.Sort(4, 1);   // empty range
    s.Sort(-1, 3);  // outside: nothing
    s.Sort(3, 6);
    EXPECT_EQ(std::vector<int>(c, c + 6), (std::vector<int>{9, 1, 3, 4, 5, 0}));
    t.Sort(1, 3, iout);  // by absolute value: d stays, out is d with the range sorted
    EXPECT_EQ(std::vector<int>(iout, iout + 6), (std::vector<int>{9, -5, -4, 3, 1, 0}));
    EXPECT_EQ(d[2], 3);
    t.SetSortingType(0, 0);
    t.Sort(1, 3, iout);
    EXPECT_EQ(std::vector<int>(d, d + 6), (std::vector<int>{9, 3, -4, -5, 1, 0}));
    EXPECT_EQ(std::vector<int>(iout, iout + 6), (std::vector<int>{9, 3, -4, -5, 1, 0}));
    mlSort(5, 1, 3, d + 1, iout, 1, 0);  // copies all five, sorts out[1..3] only
    EXPECT_EQ(std::vector<int>(iout, iout + 5), (std::vector<int>{3, -5, -4, 1, 0}));

    float f[5] = {0.5f, -2.f, 1.5f, -0.25f, 3.f};
    int idx[5];
    CMLSorting<float> fs(5, f, 1, 0, 1);
    fs.SortReturnIndices(idx);
    EXPECT_EQ(std::vector<int>(idx, idx + 5), (std::vector<int>{4, 1, 2, 0, 3}));
    EXPECT_EQ(f[1], -2.f);  // the array is left alone
}

TEST(SortingClass, PartitionPassesAndQuickSortRanges) {
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
    std::vector<S::mlSortAbsIndexData> ar = {{-4, 4, 0}, {1, 1, 1}, {-3, 3, 2}};
    i = 0;
    j = 2;
    s.DescendingPartition(ar.data(), i, j);  // by magnitude around the pivot |1|: 1 <-> -3
    EXPECT_EQ(ar[1].index, 2);
    EXPECT_EQ(ar[2].index, 1);
    double a[5] = {2, 9, 4, 1, 7};
    S t(5, a, 1, 0, 0);
    int pi = 0, pj = 4;
    t.DescendingPartition(pi, pj);
    EXPECT_LT(pj, pi);
    for (int k = 0; k < 5; ++k)
        EXPECT_TRUE((k >= pi || a[k] >= 4) && (k <= pj || a[k] <= 4)) << k;
    t.QuickSort(1, 3);
    EXPECT_EQ(t.IsArraySorted(0, 0), 0);
    t.QuickSort(0, 4);
    EXPECT_EQ(t.IsArraySorted(0, 0), 1);
}

TEST(SortingIsArraySorted, ToleranceAndExactIntegerArithmetic) {
    const double up[2] = {1.0, 0.95}, down[2] = {0.95, 1.0};
    EXPECT_EQ(mlIsArraySorted(2, up, 0.1, 1, 0), 1);
    EXPECT_EQ(mlIsArraySorted(2, up, 0.01, 1, 0), 0);
    EXPECT_EQ(mlIsArraySorted(2, up, 0.0, 0, 0), 1);
    EXPECT_EQ(mlIsArraySorted(2, down, 0.1, 0, 0), 1);
    EXPECT_EQ(mlIsArraySorted(2, down, 0.01, 0, 0), 0);
    const float f[3] = {-3.f, 2.f, -1.f};
    EXPECT_EQ(mlIsArraySorted(3, f, 0.0, 0, 1), 1);  // a double literal converts to float
    EXPECT_EQ(mlIsArraySorted(0, f, 0.0f, 1, 0), 1);
    EXPECT_EQ(mlIsArraySorted(1, f, 0.0f, 1, 0), 1);
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

// An input on which this quicksort splits off one element per partition (McIlroy's adversary:
// values assigned lazily while the literal algorithm sorts). Pivots come out as the largest key,
// so the large side is the left one, which tail-call elimination of the second call cannot save.
std::vector<int> AdversarialInput(int n) {
    std::vector<int> val(static_cast<std::size_t>(n), -1), ptr(static_cast<std::size_t>(n));
    for (int k = 0; k < n; ++k)
        ptr[k] = k;
    int next = n - 1, candidate = 0;
    auto gt = [&](int x, int y) {
        if (val[x] < 0 && val[y] < 0) val[x == candidate ? x : y] = next--;
        if (val[x] < 0 || val[y] < 0) candidate = val[x] < 0 ? x : y;
        return val[x] > val[y];
    };
    // Looping on an explicit stack; the order of disjoint sides does not change the comparisons.
    std::vector<std::pair<int, int>> stack = {{0, n - 1}};
    while (!stack.empty()) {
        const auto [lo, hi] = stack.back();
        stack.pop_back();
        if (lo >= hi) continue;
        const int p = ptr[(lo + hi) / 2];
        int i = lo, j = hi;
        while (i <= j) {
            while (gt(p, ptr[i]))
                ++i;
            while (gt(ptr[j], p))
                --j;
            if (i <= j) std::swap(ptr[i++], ptr[j--]);
        }
        stack.push_back({lo, j});
        stack.push_back({i, hi});
    }
    return val;
}

void* RunDeepSort(void* data) {
    auto* v = static_cast<std::vector<int>*>(data);
    CMLSorting<int> s(static_cast<int>(v->size()), v->data(), 1, 1, 0);
    s.Sort();
    return nullptr;
}

TEST(SortingStack, AdversarialInputRunsOnASmallStack) {
    // The literal left-then-right recursion would nest about n / 2 deep on this input.
    std::vector<int> data = AdversarialInput(20000);
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 256 * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attr, RunDeepSort, &data), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    EXPECT_TRUE(std::is_sorted(data.begin(), data.end()));
}

// 2D points -------------------------------------------------------------------------------------

// The 2D sort written out from its description.
template <class T>
std::vector<T> Reference2D(const std::vector<T>& in, T tol, bool asc, bool abs, bool byFirst) {
    const int n = static_cast<int>(in.size() / 2), pc = byFirst ? 0 : 1, sc = 1 - pc;
    auto key = [abs](T v) { return abs ? double(Magnitude(v)) : double(v); };
    auto gt = [asc](double a, double b) { return asc ? a > b : b > a; };
    auto coordinates = [&](const std::vector<T>& points, int c, int from, int count) {
        std::vector<T> v;
        for (int k = 0; k < count; ++k)
            v.push_back(points[2 * (from + k) + c]);
        return v;
    };
    auto reorder = [](std::vector<T>& points, int from, const std::vector<int>& order) {
        const std::vector<T> copy(points);
        for (int k = 0; k < static_cast<int>(order.size()); ++k) {
            points[2 * (from + k)] = copy[2 * (from + order[k])];
            points[2 * (from + k) + 1] = copy[2 * (from + order[k]) + 1];
        }
    };
    std::vector<T> out(in);
    reorder(out, 0, ReferenceOrder(coordinates(in, pc, 0, n), asc, abs));
    for (int s = 0, m = 1; s < n; s += m, m = 1) {
        while (s + m < n && std::fabs(key(out[2 * s + pc]) - key(out[2 * (s + m) + pc])) <= tol)
            ++m;
        if (m == 2 && gt(key(out[2 * s + sc]), key(out[2 * s + 2 + sc]))) {
            reorder(out, s, {1, 0});  // a pair swaps only when strictly out of order
        } else if (m > 2) {
            reorder(out, s, ReferenceOrder(coordinates(out, sc, s, m), asc, abs));
        }
    }
    return out;
}

TEST(Sorting2D, MatchesTheDescriptionOnTieHeavyData) {
    std::mt19937 rng(11);
    for (int n : {0, 1, 2, 3, 10, 60, 500}) {
        std::vector<int> in(2 * static_cast<std::size_t>(n));
        for (int& v : in)
            v = int(rng() % 13) - 6;
        const std::vector<double> dbl(in.begin(), in.end());
        for (int mode = 0; mode < 8; ++mode) {
            const int asc = mode & 1, abs = (mode >> 1) & 1, byFirst = mode >> 2;
            for (int tol : {0, 1, 3}) {
                std::vector<int> out(in.size());
                std::vector<double> dout(in.size());
                mlSort2DArray(n, in.data(), out.data(), tol, asc, abs, byFirst);
                mlSort2DArray(n, dbl.data(), dout.data(), tol + 0.25, asc, abs, byFirst);
                EXPECT_EQ(out, Reference2D(in, tol, asc, abs, byFirst)) << n << " " << mode << tol;
                EXPECT_EQ(dout, Reference2D(dbl, tol + 0.25, asc, abs, byFirst))
                    << n << " " << mode;
            }
        }
    }
}

TEST(Sorting2D, KeysWhoseDifferenceWrapsAreFarApart) {
    long long p[6] = {LLONG_MAX, 0, LLONG_MIN, 2, LLONG_MAX - 1, 1};
    mlSort2DArray(3, p, p, 1LL, 1, 0, 1);  // in place; the run {MAX - 1, MAX} sorted by y
    EXPECT_EQ(std::vector<long long>(p, p + 6),
              (std::vector<long long>{LLONG_MIN, 2, LLONG_MAX, 0, LLONG_MAX - 1, 1}));
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
    for (int n : {0, 1, 2, 3, 17, 300}) {
        std::vector<T> flat(2 * static_cast<std::size_t>(n));
        std::vector<CMLVector2<T>> points;
        for (T& v : flat)
            v = rng() % 9 == 0 ? -T(0) : static_cast<T>(int(rng() % 9) - 4) / T(2);
        for (int k = 0; k < n; ++k)
            points.emplace_back(flat[2 * k], flat[2 * k + 1]);
        for (int mode = 0; mode < 8; ++mode) {
            const int asc = mode & 1, abs = (mode >> 1) & 1, byFirst = mode >> 2;
            std::vector<T> expected(flat.size());
            std::vector<CMLVector2<T>> out(points.size()), inPlace(points);
            mlSort2DArray(n, flat.data(), expected.data(), 0.5, asc, abs, byFirst);
            mlSort2DVectors(n, byFirst, points.data(), out.data(), 0.5, asc, abs);
            mlSort2DVectors(n, byFirst, inPlace.data(), inPlace.data(), 0.5, asc, abs);
            for (int k = 0; k < 2 * n; ++k) {
                ASSERT_TRUE(SameBits(k % 2 ? out[k / 2].y : out[k / 2].x, expected[k])) << mode;
                ASSERT_TRUE(SameBits(k % 2 ? inPlace[k / 2].y : inPlace[k / 2].x, expected[k]));
            }
        }
    }
}

}  // namespace
