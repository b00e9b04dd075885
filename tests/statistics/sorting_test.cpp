#include <ml/sorting.h>

#include <gtest/gtest.h>

#include <pthread.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

namespace {

// The positions of keys in the order the quicksort written out literally leaves them: pivot key
// read once from (lo + hi) / 2, strict comparisons, swap and step, left side then right side.
std::vector<int> ReferenceOrder(const std::vector<double>& keys, bool ascending) {
    std::vector<int> at(keys.size());
    for (std::size_t k = 0; k < keys.size(); ++k)
        at[k] = static_cast<int>(k);
    auto gt = [&](int x, int y) { return ascending ? keys[x] > keys[y] : keys[y] > keys[x]; };
    std::function<void(int, int)> sort = [&](int lo, int hi) {
        if (lo >= hi) return;
        const int p = at[(lo + hi) / 2];
        int i = lo, j = hi;
        while (i <= j) {
            while (gt(p, at[i]))
                ++i;
            while (gt(at[j], p))
                --j;
            if (i > j) break;
            std::swap(at[i++], at[j--]);
        }
        sort(lo, j);
        sort(i, hi);
    };
    sort(0, static_cast<int>(keys.size()) - 1);
    return at;
}

// The sort key of a value (exact in double for the values used here).
template <class T>
double KeyOf(T v, bool absolute) {
    return absolute ? std::fabs(static_cast<double>(v)) : static_cast<double>(v);
}

template <class T>
bool SameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
std::vector<T> Vec(const T* a, int n) {
    return std::vector<T>(a, a + n);
}

template <class T>
class SortingTyped : public ::testing::Test {};
using SortableTypes = ::testing::Types<unsigned char, signed char, short, unsigned short, int,
                                       unsigned int, long long, unsigned long long, float, double>;
TYPED_TEST_SUITE(SortingTyped, SortableTypes);

// Every free form and every member, on the whole array and on a range, both directions, both key
// kinds, on values drawn from a small set (for floating types also -0, NaN and halves): values
// and permutations equal the literal quicksort's, bit for bit. By absolute value Sort(out) and
// the range form with out leave the array as it was.
TYPED_TEST(SortingTyped, PermutationsFollowThePartitions) {
    using T = TypeParam;
    std::mt19937 rng(7);
    auto same = [](const std::vector<T>& x, const std::vector<T>& y) {
        return x.empty() || std::memcmp(x.data(), y.data(), x.size() * sizeof(T)) == 0;
    };
    for (int n : {0, 1, 2, 3, 4, 5, 7, 8, 13, 20, 21, 22, 40, 100, 257, 1000, 5000}) {
        for (unsigned distinct : {2u, 5u, 50u, 100000u}) {
            std::vector<T> in(static_cast<std::size_t>(n));
            bool nan = false;
            for (T& x : in) {
                x = static_cast<T>(rng() % distinct);
                if (std::is_signed_v<T> && rng() % 2) x = static_cast<T>(-x);
                if constexpr (std::is_floating_point_v<T>) {
                    const unsigned s = rng() % 20;
                    x = s == 0 ? -T(0) : s == 1 ? std::numeric_limits<T>::quiet_NaN() : x;
                    x = s == 2 ? x + T(0.5) : x;
                    nan = nan || s == 1;
                }
            }
            const int first = n / 4, last = n - 1 - n / 5;
            for (int mode = 0; mode < 4; ++mode) {
                const int asc = mode & 1, abs = mode >> 1;
                auto sorted = [&](int lo, int hi, std::vector<int>& order) {  // [lo, hi] sorted
                    std::vector<double> keys;
                    for (int k = lo; k <= hi; ++k)
                        keys.push_back(KeyOf(in[k], abs));
                    order = ReferenceOrder(keys, asc);
                    std::vector<T> v(in);
                    for (int k = 0; k <= hi - lo; ++k)
                        v[lo + k] = in[lo + order[k]];
                    return v;
                };
                std::vector<int> ref, idx(in.size(), -1), unused;
                const std::vector<T> whole = sorted(0, n - 1, ref),
                                     range = sorted(first, last, unused);
                std::vector<T> out(in.size()), a(in);
                mlSort(n, in.data(), out.data(), idx.data(), asc, abs);
                ASSERT_TRUE(idx == ref && same(out, whole)) << n << " " << distinct << " " << mode;
                // Around a NaN the order is whatever the partitions leave.
                ASSERT_TRUE(nan || mlIsArraySorted(n, out.data(), T(0), asc, abs));
                mlSort(n, in.data(), out.data(), asc, abs);
                ASSERT_TRUE(same(out, whole));
                mlSort(n, first, last, in.data(), out.data(), asc, abs);
                ASSERT_TRUE(same(out, range));
                CMLSorting<T> s(n, a.data(), 1, asc, abs);
                s.SortReturnIndices(idx.data());
                ASSERT_TRUE(idx == ref && same(a, in));
                s.Sort(first, last, out.data());
                ASSERT_TRUE(same(out, range) && same(a, abs ? in : range)) << n << " " << mode;
                a = in;
                s.Sort(out.data());
                ASSERT_TRUE(same(out, whole) && same(a, abs ? in : whole));
                a = in;
                s.Sort();
                ASSERT_TRUE(same(a, whole));
                a = in;
                s.Sort(first, last);
                ASSERT_TRUE(same(a, range));
                a = in;
                if (!abs) s.QuickSort(first, last);  // by value, also the quicksort itself
                ASSERT_TRUE(same(a, abs ? in : range));
            }
        }
    }
}

TEST(SortingPermutations, ExactPermutationsOfSmallInputs) {
    // Descending by absolute value, 3, -7, 5 gives -7, 5, 3; keys equal to the pivot stop both
    // scans and are swapped; the most negative integer has the largest magnitude.
    const double in[3] = {3, -7, 5}, pair[2] = {5, 5};
    const long long ll[3] = {LLONG_MIN, LLONG_MAX, -5};
    double out[3];
    long long llo[3];
    int idx[3], pairIdx[2];
    mlSort(3, in, out, idx, 0, 1);
    mlSort(2, pair, out, pairIdx, 1, 0);
    mlSort(3, ll, llo, 0, 1);
    EXPECT_EQ(std::make_pair(Vec(idx, 3), Vec(pairIdx, 2)),
              std::make_pair(std::vector<int>{1, 2, 0}, std::vector<int>{1, 0}));
    EXPECT_EQ(Vec(llo, 3), (std::vector<long long>{LLONG_MIN, LLONG_MAX, -5}));
}

TEST(SortingClass, AdoptedArraysAreSortedInPlaceOwnedOnesCopied) {
    int n, external, ascending, absolute;
    auto fields = [&](const CMLSorting<double>& s) {
        s.GetData(n, external, ascending, absolute);
        return std::vector<int>{n, external, ascending, absolute};
    };
    double a[4] = {3, 1, 2, 0}, b[4] = {3, 1, 2, 0};
    CMLSorting<double> none, ext(4, a, 1, 1, 0), own(4, b, 0, 0, 0);
    EXPECT_EQ(std::make_pair(fields(none), none.GetArray()),
              std::make_pair(std::vector<int>{0, 1, 1, 0}, static_cast<double*>(nullptr)));
    ext.Sort(2, 1);  // empty and outside ranges: nothing
    ext.Sort(-1, 2);
    ext.Sort(2, 4);
    EXPECT_EQ(Vec(a, 4), (std::vector<double>{3, 1, 2, 0}));
    ext.Sort();
    own.Sort();  // the caller's b stays as it is
    EXPECT_EQ(std::make_tuple(ext.GetArray(), Vec(a, 4), Vec(b, 4), Vec(own.GetArray(), 4)),
              std::make_tuple(a + 0, std::vector<double>{0, 1, 2, 3},
                              std::vector<double>{3, 1, 2, 0}, std::vector<double>{3, 2, 1, 0}));
    CMLSorting<double> copy(own), assigned;  // owned arrays are copied deeply, adopted ones shared
    assigned = ext;
    EXPECT_EQ(assigned.GetArray(), a);
    assigned = own;
    EXPECT_TRUE(copy.GetArray() != own.GetArray() && assigned.GetArray() != own.GetArray());
    own.SetArray(2, b + 2);  // replaces (and frees) the owned copy, keeps the flags
    own.SetSortingType(1, 1);
    EXPECT_EQ(std::make_pair(fields(own), own.GetArray()[0]),
              std::make_pair(std::vector<int>{2, 0, 1, 1}, 2.0));
    // The flag-only setter keeps the pointer: external 0 hands the caller's array to the object,
    // which sorts it in place and frees it; external 1 leaves the object's array to the caller.
    double* heap = new double[4]{3, 1, 2, 0};
    CMLSorting<double> handed(4, heap, 1, 1, 0);
    handed.SetData(3, 0, 0, 0);
    handed.Sort();
    EXPECT_EQ(std::make_pair(handed.GetArray(), Vec(heap, 4)),
              std::make_pair(heap, std::vector<double>{3, 2, 1, 0}));
    double* released = own.GetArray();
    own.SetData(-1, 1, 1, 0);  // every setter stores max(n, 0)
    EXPECT_EQ(std::make_pair(own.GetArray(), fields(own)),
              std::make_pair(released, std::vector<int>{0, 1, 1, 0}));
    delete[] released;
}

TEST(SortingClass, PartitionPasses) {
    using S = CMLSorting<double>;
    std::vector<S::mlSortIndexData> r = {{4, 0}, {1, 1}, {3, 2}, {1, 3}, {5, 4}, {0, 5}};
    int i = 0, j = 5;
    S().AscendingPartition(r.data(), i, j);
    // Pivot 3: 4 <-> 0, then 3 <-> 1, and the indices have crossed.
    EXPECT_EQ(std::vector<int>({i, j, r[0].index, r[1].index, r[2].index, r[3].index}),
              std::vector<int>({3, 2, 5, 1, 3, 2}));
    double a[5] = {2, 9, 4, 1, 7};
    i = 0;
    j = 4;
    S(5, a, 1, 0, 0).DescendingPartition(i, j);  // pivot 4: 2 <-> 7, then 4 with itself
    EXPECT_EQ(std::make_pair(std::vector<int>({i, j}), Vec(a, 5)),
              std::make_pair(std::vector<int>({3, 1}), std::vector<double>{7, 9, 4, 1, 2}));
}

TEST(SortingIsArraySorted, ToleranceAndExactIntegerArithmetic) {
    const double up[2] = {1.0, 0.95}, down[2] = {0.95, 1.0};
    const float f[3] = {-3.f, 2.f, -1.f};
    const unsigned int u[2] = {UINT_MAX, 5};
    const long long ll[2] = {LLONG_MAX, LLONG_MIN};
    const int eq[2] = {1, 1};
    const std::vector<int> got = {
        mlIsArraySorted(2, up, 0.1, 1, 0), mlIsArraySorted(2, up, 0.01, 1, 0),
        mlIsArraySorted(2, up, 0.0, 0, 0), mlIsArraySorted(2, down, 0.1, 0, 0),
        mlIsArraySorted(2, down, 0.01, 0, 0),
        mlIsArraySorted(3, f, 0.0, 0, 1),  // a double literal converts to float
        mlIsArraySorted(1, f, 0.0f, 1, 0), mlIsArraySorted(0, f, 0.0f, 1, 0),
        // Integer differences are exact: b + tolerance does not wrap, b - tolerance not overflow.
        mlIsArraySorted(2, u, UINT_MAX - 2, 1, 0), mlIsArraySorted(2, u, UINT_MAX - 6, 1, 0),
        mlIsArraySorted(2, ll, 0LL, 0, 0), mlIsArraySorted(2, ll, LLONG_MAX, 1, 0),
        mlIsArraySorted(2, eq, -1, 1, 0)};  // a negative tolerance demands a gap
    EXPECT_EQ(got, (std::vector<int>{1, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 0, 0}));
}

void* RunDeepSort(void* data) {
    auto* v = static_cast<std::vector<int>*>(data);
    CMLSorting<int>(static_cast<int>(v->size()), v->data(), 1, 1, 0).Sort();
    return nullptr;
}

TEST(SortingStack, AdversarialInputRunsOnASmallStack) {
    // The middle element of every left side is its largest key, which the pass swaps to the end:
    // each partition splits off one element, on the left, so the literal left-then-right
    // recursion would nest n deep (tail-call elimination of the second call cannot save it).
    const int n = 20000;
    std::vector<int> data(n), pos(n);  // pos[k]: the input position at slot k of the left side
    for (int k = 0; k < n; ++k)
        pos[k] = k;
    for (int hi = n - 1; hi >= 0; --hi) {
        data[pos[hi / 2]] = hi;
        std::swap(pos[hi / 2], pos[hi]);
    }
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 256 * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attr, RunDeepSort, &data), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    for (int k = 0; k < n; ++k)
        ASSERT_EQ(data[k], k);
}

// The 2D sort written out from its description: runs compare each key with the run's first key.
template <class T>
std::vector<T> Reference2D(const std::vector<T>& in, double tol, int asc, int abs, int byFirst) {
    const int n = static_cast<int>(in.size() / 2), pc = byFirst ? 0 : 1, sc = 1 - pc;
    std::vector<T> out(in);
    auto key = [&](int k, int c) { return KeyOf(out[2 * k + c], abs); };
    auto keys = [&](int s, int m, int c) {
        std::vector<double> v;
        for (int k = s; k < s + m; ++k)
            v.push_back(key(k, c));
        return v;
    };
    auto reorder = [&](int s, const std::vector<int>& order) {  // points s, s + 1, ...
        const std::vector<T> copy(out);
        for (int k = 0; k < static_cast<int>(order.size()); ++k)
            for (int c = 0; c < 2; ++c)
                out[2 * (s + k) + c] = copy[2 * (s + order[k]) + c];
    };
    reorder(0, ReferenceOrder(keys(0, n, pc), asc));
    for (int s = 0, m = 1; s < n; s += m, m = 1) {
        while (s + m < n && std::fabs(key(s, pc) - key(s + m, pc)) <= tol)
            ++m;
        if (m == 2 && (asc ? key(s, sc) > key(s + 1, sc) : key(s + 1, sc) > key(s, sc))) {
            reorder(s, {1, 0});  // a pair swaps only when strictly out of order
        } else if (m > 2) {
            reorder(s, ReferenceOrder(keys(s, m, sc), asc));
        }
    }
    return out;
}

// The interleaved form against the description; the vector form, in place, bit for bit.
template <class T>
void Check2D(const std::vector<T>& in, T tol, int mode) {
    const int n = static_cast<int>(in.size() / 2), asc = mode & 1, abs = (mode >> 1) & 1;
    const int byFirst = mode >> 2;
    std::vector<T> out(in.size());
    mlSort2DArray(n, in.data(), out.data(), tol, asc, abs, byFirst);
    ASSERT_EQ(out, Reference2D(in, tol, asc, abs, byFirst)) << n << " " << mode << " " << tol;
    if constexpr (std::is_floating_point_v<T>) {
        std::vector<CMLVector2<T>> v;
        for (int k = 0; k < n; ++k)
            v.emplace_back(in[2 * k], in[2 * k + 1]);
        mlSort2DVectors(n, byFirst, v.data(), v.data(), tol, asc, abs);
        for (int k = 0; k < 2 * n; ++k)
            ASSERT_TRUE(SameBits(k % 2 ? v[k / 2].y : v[k / 2].x, out[k])) << mode << " " << k;
    }
}

// Keys on a small grid (integers, and halves with signed zeros), so that runs chain and key
// differences hit the tolerance exactly.
TEST(Sorting2D, MatchesTheDescriptionOnTieHeavyData) {
    std::mt19937 rng(11);
    for (int n : {0, 1, 2, 3, 10, 60, 500}) {
        std::vector<int> in(2 * static_cast<std::size_t>(n));
        std::vector<float> f;
        for (int& v : in) {
            v = int(rng() % 13) - 6;
            f.push_back(v == 0 && rng() % 2 ? -0.0f : float(v) / 2);
        }
        const std::vector<double> d(f.begin(), f.end());
        for (int mode = 0; mode < 8; ++mode) {
            for (int tol : {0, 1, 3}) {
                Check2D(in, tol, mode);
                Check2D(f, tol / 2.0f, mode);
                Check2D(d, tol / 2.0, mode);
            }
        }
    }
    // Keys whose difference wraps are far apart: in place, the run {MAX - 1, MAX} sorted by y.
    long long p[6] = {LLONG_MAX, 0, LLONG_MIN, 2, LLONG_MAX - 1, 1};
    mlSort2DArray(3, p, p, 1LL, 1, 0, 1);
    EXPECT_EQ(Vec(p, 6), (std::vector<long long>{LLONG_MIN, 2, LLONG_MAX, 0, LLONG_MAX - 1, 1}));
    const double pair[4] = {1, 5, 1.5, 5};  // a run of two with equal secondary keys stays
    double po[4];
    mlSort2DArray(2, pair, po, 1.0, 1, 0, 1);
    EXPECT_EQ(Vec(po, 4), Vec(pair, 4));
}

}  // namespace
