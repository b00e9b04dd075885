#include <ml/sorting.h>

#include <cmath>
#include <cstddef>
#include <new>
#include <type_traits>

namespace {

// Keys and order ------------------------------------------------------------------------------

// The type in which absolute values are compared: a signed integer's absolute value is stored in
// its own type (where the most negative value wraps onto itself) and compared as unsigned, which
// gives every magnitude its true rank.
template <class T, bool = std::is_integral_v<T>&& std::is_signed_v<T>>
struct abs_key {
    using type = T;
};
template <class T>
struct abs_key<T, true> {
    using type = std::make_unsigned_t<T>;
};
template <class T>
using abs_key_t = typename abs_key<T>::type;

template <class T>
inline T AbsValue(T v) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::fabs(v);
    } else if constexpr (std::is_signed_v<T>) {
        using U = std::make_unsigned_t<T>;
        return v < 0 ? static_cast<T>(static_cast<U>(0u - static_cast<U>(v))) : v;
    } else {
        return v;
    }
}

template <class T>
inline abs_key_t<T> AbsKey(T v) {
    return static_cast<abs_key_t<T>>(AbsValue(v));
}

// Plain elements are their own key; records are keyed by value or by absolute value.
struct ValueOf {
    template <class T>
    static T Key(const T& v) {
        return v;
    }
};
struct RecordValue {
    template <class R>
    static auto Key(const R& r) {
        return r.value;
    }
    template <class T>
    static T FromValue(T v) {
        return v;
    }
    template <class R, class T>
    static void Fill(R& r, T v, int index) {
        r.value = v;
        r.index = index;
    }
};
struct RecordAbsValue {
    template <class R>
    static auto Key(const R& r) {
        return static_cast<abs_key_t<decltype(r.absValue)>>(r.absValue);
    }
    template <class T>
    static abs_key_t<T> FromValue(T v) {
        return AbsKey(v);
    }
    template <class R, class T>
    static void Fill(R& r, T v, int index) {
        r.value = v;
        r.absValue = AbsValue(v);
        r.index = index;
    }
};

// Gt(a, b) is "a comes after b" in the requested direction, with strict comparisons only (a NaN
// compares false both ways).
struct Ascending {
    template <class K>
    static bool Gt(const K& a, const K& b) {
        return a > b;
    }
};
struct Descending {
    template <class K>
    static bool Gt(const K& a, const K& b) {
        return b > a;
    }
};

// The quicksort ---------------------------------------------------------------------------------
//
// Ranges are half-open [lo, end) internally. A partition pass takes the pivot key of element
// lo + (end - 1 - lo) / 2 (the middle of the inclusive range, rounded down) once, scans i up while
// the pivot comes after element i and j down while element j comes after the pivot, swaps and
// steps both; the scans need no bound checks because the pivot, and after a swap the swapped
// elements, stop them. Afterwards [lo, j) and [i, end) remain to be sorted; they are disjoint, so
// sorting the smaller first and looping on the larger yields the same result as left-then-right
// recursion while bounding the stack depth by log2(n).

// Ranges of at most this many elements try the insertion finish.
constexpr std::ptrdiff_t kSmallRange = 32;

template <class Rec, class KeyOf, class Order>
struct QuickSorter {
    static auto Key(const Rec& r) { return KeyOf::Key(r); }

    // One partition pass over the non-empty range [lo, end); on return [lo, j) and [i, end) are
    // the two sides.
    static void Partition(Rec* lo, Rec* end, Rec*& iOut, Rec*& jOut) {
        const auto p = Key(lo[(end - 1 - lo) / 2]);
        Rec* i = lo;
        Rec* j = end;  // one past the element the right scan looks at
        for (;;) {
            while (Order::Gt(p, Key(*i)))
                ++i;
            while (Order::Gt(Key(j[-1]), p))
                --j;
            if (i >= j) break;
            const Rec t = *i;
            *i = j[-1];
            j[-1] = t;
            ++i;
            --j;
            if (i >= j) break;
        }
        iOut = i;
        jOut = j;
    }

    // The quicksort with every range partitioned.
    static void Exact(Rec* lo, Rec* end) {
        while (end - lo > 1) {
            Rec *i, *j;
            Partition(lo, end, i, j);
            if (j - lo < end - i) {
                Exact(lo, j);
                lo = i;
            } else {
                Exact(i, end);
                end = j;
            }
        }
    }

    // Insertion-sorts a short range and keeps the result when its keys turn out to be pairwise
    // distinct: every element lands strictly after its left neighbour (checked as it is inserted;
    // each final pair of neighbours met when the later of the two was inserted). Distinct keys
    // have exactly one sorted order, so the partitions would have produced the same arrangement.
    // Otherwise the range is restored and false returned, and the partitions decide where equal
    // keys (and NaNs, which compare neither way) go.
    static bool InsertionIfDistinct(Rec* lo, Rec* end) {
        Rec saved[kSmallRange];
        const std::ptrdiff_t m = end - lo;
        for (std::ptrdiff_t k = 0; k < m; ++k)
            saved[k] = lo[k];
        for (Rec* k = lo + 1; k < end; ++k) {
            const Rec x = *k;
            const auto kx = Key(x);
            Rec* q = k;
            bool distinct = true;
            if (Order::Gt(Key(*lo), kx)) {
                for (; q > lo; --q)
                    *q = q[-1];
            } else {
                for (; Order::Gt(Key(q[-1]), kx); --q)
                    *q = q[-1];  // *lo stops the scan
                distinct = Order::Gt(kx, Key(q[-1]));
            }
            *q = x;
            if (!distinct) {
                for (std::ptrdiff_t c = 0; c < m; ++c)
                    lo[c] = saved[c];
                return false;
            }
        }
        return true;
    }

    static void Sort(Rec* lo, Rec* end) {
        for (;;) {
            if (end - lo <= kSmallRange) {
                if (end - lo > 1 && !InsertionIfDistinct(lo, end)) Exact(lo, end);
                return;
            }
            Rec *i, *j;
            Partition(lo, end, i, j);
            if (j - lo < end - i) {
                Sort(lo, j);
                lo = i;
            } else {
                Sort(i, end);
                end = j;
            }
        }
    }
};

// Sorts the inclusive range [lo, hi] of a.
template <class KeyOf, class Rec>
void QuickSortRange(Rec* a, int lo, int hi, bool ascending) {
    if (lo >= hi) return;
    if (ascending) {
        QuickSorter<Rec, KeyOf, Ascending>::Sort(a + lo, a + hi + 1);
    } else {
        QuickSorter<Rec, KeyOf, Descending>::Sort(a + lo, a + hi + 1);
    }
}

// One partition pass over the inclusive range [i, j] of a; nothing when i > j.
template <class KeyOf, class Order, class Rec>
void PartitionRange(Rec* a, int& i, int& j) {
    if (i > j) return;
    Rec *pi, *pj;
    QuickSorter<Rec, KeyOf, Order>::Partition(a + i, a + j + 1, pi, pj);
    i = static_cast<int>(pi - a);
    j = static_cast<int>(pj - a) - 1;
}

template <class T>
using index_record = typename CMLSorting<T>::mlSortIndexData;
template <class T>
using abs_record = typename CMLSorting<T>::mlSortAbsIndexData;

// A record array for the n elements of a; null when n <= 0 or the allocation fails.
template <class T>
index_record<T>* MakeIndexRecords(int n, const T* a) {
    if (n <= 0) return nullptr;
    auto* r = new (std::nothrow) index_record<T>[static_cast<std::size_t>(n)];
    if (r)
        for (int k = 0; k < n; ++k)
            r[k] = {a[k], k};
    return r;
}

template <class T>
abs_record<T>* MakeAbsRecords(int n, const T* a) {
    if (n <= 0) return nullptr;
    auto* r = new (std::nothrow) abs_record<T>[static_cast<std::size_t>(n)];
    if (r)
        for (int k = 0; k < n; ++k)
            r[k] = {a[k], AbsValue(a[k]), k};
    return r;
}

// Exact integer comparisons -------------------------------------------------------------------

// (x - y) > tol without overflow, for any integer types of the library (x and y of one type).
template <class K, class T>
bool DifferenceExceeds(K x, K y, T tol) {
    using U = unsigned long long;
    const bool diffNegative = x < y;
    const U diff = diffNegative ? static_cast<U>(y) - static_cast<U>(x)
                                : static_cast<U>(x) - static_cast<U>(y);
    bool tolNegative = false;
    if constexpr (std::is_signed_v<T>) tolNegative = tol < 0;
    const U tolMagnitude = tolNegative ? U(0) - static_cast<U>(tol) : static_cast<U>(tol);
    if (!diffNegative) return tolNegative || diff > tolMagnitude;
    return tolNegative && diff < tolMagnitude;
}

// b[k] > b[k+1] + tol for ascending order, b[k+1] - tol > b[k] for descending.
template <class K, class T>
bool OutOfOrder(K current, K next, T tol, bool ascending) {
    if constexpr (std::is_floating_point_v<K>) {
        return ascending ? current > next + tol : next - tol > current;
    } else {
        return ascending ? DifferenceExceeds(current, next, tol)
                         : DifferenceExceeds(next, current, tol);
    }
}

// -tol <= a - b <= tol.
template <class K, class T>
bool WithinTolerance(K a, K b, T tol) {
    if constexpr (std::is_floating_point_v<K>) {
        const K d = a - b;
        return -tol <= d && d <= tol;
    } else {
        return !DifferenceExceeds(a, b, tol) && !DifferenceExceeds(b, a, tol);
    }
}

// 2D points -----------------------------------------------------------------------------------

// Interleaved pairs: point k is (p[2k], p[2k+1]).
template <class T>
struct InterleavedPairs {
    struct Point {
        T c[2];
    };
    using Src = T;
    using Dst = T;
    static Point Load(const T* p, int k) { return {{p[2 * k], p[2 * k + 1]}}; }
    static void Store(T* p, int k, const Point& v) {
        p[2 * k] = v.c[0];
        p[2 * k + 1] = v.c[1];
    }
    static T Coord(const Point& v, int c) { return v.c[c]; }
};

// Arrays of any point type with x and y members.
template <class P, class T>
struct PointsXY {
    using Point = P;
    using Src = P;
    using Dst = P;
    static Point Load(const P* p, int k) { return p[k]; }
    static void Store(P* p, int k, const Point& v) { p[k] = v; }
    static T Coord(const Point& v, int c) { return c == 0 ? v.x : v.y; }
};

// The 2D sort on any point layout. The input is copied first, so in and out may be one array.
template <class KeyOf, class Access, class T, class Rec>
void Sort2DWith(int n, const typename Access::Src* in, typename Access::Dst* out, T tolerance,
                bool ascending, int secondary, typename Access::Point* points, Rec* records) {
    using Point = typename Access::Point;
    QuickSortRange<KeyOf>(records, 0, n - 1, ascending);
    for (int k = 0; k < n; ++k)
        points[k] = Access::Load(in, k);
    for (int k = 0; k < n; ++k)
        Access::Store(out, k, points[records[k].index]);

    int s = 0;
    while (s < n) {
        // The run: every later key within tolerance of the run's first key.
        const auto first = KeyOf::Key(records[s]);
        int m = 1;
        while (s + m < n && WithinTolerance(first, KeyOf::Key(records[s + m]), tolerance))
            ++m;
        if (m == 2) {
            const Point a = Access::Load(out, s), b = Access::Load(out, s + 1);
            const auto ka = KeyOf::FromValue(Access::Coord(a, secondary));
            const auto kb = KeyOf::FromValue(Access::Coord(b, secondary));
            if (ascending ? Ascending::Gt(ka, kb) : Descending::Gt(ka, kb)) {
                Access::Store(out, s, b);
                Access::Store(out, s + 1, a);
            }
        } else if (m > 2) {
            // The run's records are no longer needed: they take the secondary keys, sorted with
            // index tracking like the primary ones.
            for (int k = 0; k < m; ++k) {
                points[k] = Access::Load(out, s + k);
                KeyOf::Fill(records[s + k], Access::Coord(points[k], secondary), k);
            }
            QuickSortRange<KeyOf>(records + s, 0, m - 1, ascending);
            for (int k = 0; k < m; ++k)
                Access::Store(out, s + k, points[records[s + k].index]);
        }
        s += m;
    }
}

template <class T, class Access>
void Sort2D(int n, const typename Access::Src* in, typename Access::Dst* out, T tolerance,
            int ascending, int absolute, int byFirst) {
    using Point = typename Access::Point;
    if (n <= 0) return;
    const int primary = byFirst ? 0 : 1;
    const std::size_t count = static_cast<std::size_t>(n);
    Point* points = new (std::nothrow) Point[count];
    if (!points) return;
    if (absolute) {
        auto* records = new (std::nothrow) abs_record<T>[count];
        if (records) {
            for (int k = 0; k < n; ++k)
                RecordAbsValue::Fill(records[k], Access::Coord(Access::Load(in, k), primary), k);
            Sort2DWith<RecordAbsValue, Access>(n, in, out, tolerance, ascending != 0, 1 - primary,
                                               points, records);
        }
        delete[] records;
    } else {
        auto* records = new (std::nothrow) index_record<T>[count];
        if (records) {
            for (int k = 0; k < n; ++k)
                RecordValue::Fill(records[k], Access::Coord(Access::Load(in, k), primary), k);
            Sort2DWith<RecordValue, Access>(n, in, out, tolerance, ascending != 0, 1 - primary,
                                            points, records);
        }
        delete[] records;
    }
    delete[] points;
}

}  // namespace

// CMLSorting ----------------------------------------------------------------------------------

template <class T>
CMLSorting<T>::CMLSorting(const CMLSorting& o)
    : m_n(o.m_n), m_external(o.m_external), m_ascending(o.m_ascending), m_absolute(o.m_absolute) {
    if (m_external) {
        m_data = o.m_data;
    } else if (o.m_data && m_n > 0) {
        m_data = new (std::nothrow) T[static_cast<std::size_t>(m_n)];
        if (m_data)
            for (int k = 0; k < m_n; ++k)
                m_data[k] = o.m_data[k];
    }
}

template <class T>
CMLSorting<T>& CMLSorting<T>::operator=(const CMLSorting& o) {
    if (this != &o) {
        CMLSorting copy(o);
        Release();
        m_n = copy.m_n;
        m_data = copy.m_data;
        m_external = copy.m_external;
        m_ascending = copy.m_ascending;
        m_absolute = copy.m_absolute;
        copy.m_data = nullptr;
    }
    return *this;
}

template <class T>
void CMLSorting<T>::SetData(int n, T* data, int external, int ascending, int absolute) {
    const int count = n > 0 ? n : 0;
    T* const old = m_data;
    const bool ownedOld = !m_external;
    T* next = nullptr;
    if (external) {
        next = data;
    } else if (count > 0 && data) {
        next = new (std::nothrow) T[static_cast<std::size_t>(count)];
        if (next)
            for (int k = 0; k < count; ++k)
                next[k] = data[k];
    }
    m_n = count;
    m_data = next;
    m_external = external;
    m_ascending = ascending;
    m_absolute = absolute;
    if (ownedOld && old != next) delete[] old;
}

template <class T>
void CMLSorting<T>::SetData(int n, int external, int ascending, int absolute) {
    m_n = n > 0 ? n : 0;
    m_external = external;
    m_ascending = ascending;
    m_absolute = absolute;
}

template <class T>
void CMLSorting<T>::SortAbsolute(int first, int last, T* out) const {
    const int m = last - first + 1;
    abs_record<T>* r = MakeAbsRecords(m, m_data + first);
    if (!r) return;
    QuickSortRange<RecordAbsValue>(r, 0, m - 1, m_ascending != 0);
    for (int k = 0; k < m; ++k)
        out[first + k] = r[k].value;
    delete[] r;
}

template <class T>
void CMLSorting<T>::Sort() {
    if (!m_data || m_n < 2) return;
    if (m_absolute) {
        SortAbsolute(0, m_n - 1, m_data);
    } else {
        QuickSortRange<ValueOf>(m_data, 0, m_n - 1, m_ascending != 0);
    }
}

template <class T>
void CMLSorting<T>::Sort(int first, int last) {
    if (first >= last || !ValidRange(first, last)) return;
    if (m_absolute) {
        SortAbsolute(first, last, m_data);
    } else {
        QuickSortRange<ValueOf>(m_data, first, last, m_ascending != 0);
    }
}

template <class T>
void CMLSorting<T>::Sort(T* out) {
    if (!m_data || m_n < 1) return;
    if (m_absolute) {
        SortAbsolute(0, m_n - 1, out);
    } else {
        Sort();
        for (int k = 0; k < m_n; ++k)
            out[k] = m_data[k];
    }
}

template <class T>
void CMLSorting<T>::Sort(int first, int last, T* out) {
    if (!m_data) return;
    if (first < last && !ValidRange(first, last)) return;
    if (m_absolute) {
        for (int k = 0; k < m_n; ++k)
            out[k] = m_data[k];
        if (first < last) SortAbsolute(first, last, out);
    } else {
        Sort(first, last);
        for (int k = 0; k < m_n; ++k)
            out[k] = m_data[k];
    }
}

template <class T>
void CMLSorting<T>::SortReturnIndices(int* indices) const {
    if (!m_data || m_n < 1) return;
    if (m_absolute) {
        abs_record<T>* r = MakeAbsRecords(m_n, m_data);
        if (!r) return;
        QuickSortRange<RecordAbsValue>(r, 0, m_n - 1, m_ascending != 0);
        for (int k = 0; k < m_n; ++k)
            indices[k] = r[k].index;
        delete[] r;
    } else {
        index_record<T>* r = MakeIndexRecords(m_n, m_data);
        if (!r) return;
        QuickSortRange<RecordValue>(r, 0, m_n - 1, m_ascending != 0);
        for (int k = 0; k < m_n; ++k)
            indices[k] = r[k].index;
        delete[] r;
    }
}

template <class T>
void CMLSorting<T>::Sort(T* out, int* indices) const {
    if (!m_data || m_n < 1) return;
    if (m_absolute) {
        abs_record<T>* r = MakeAbsRecords(m_n, m_data);
        if (!r) return;
        QuickSortRange<RecordAbsValue>(r, 0, m_n - 1, m_ascending != 0);
        for (int k = 0; k < m_n; ++k) {
            out[k] = r[k].value;
            indices[k] = r[k].index;
        }
        delete[] r;
    } else {
        index_record<T>* r = MakeIndexRecords(m_n, m_data);
        if (!r) return;
        QuickSortRange<RecordValue>(r, 0, m_n - 1, m_ascending != 0);
        for (int k = 0; k < m_n; ++k) {
            out[k] = r[k].value;
            indices[k] = r[k].index;
        }
        delete[] r;
    }
}

template <class T>
int CMLSorting<T>::IsArraySorted(int ascending, int absolute) const {
    if (!m_data) return 1;
    return mlIsArraySorted(m_n, m_data, T(0), ascending, absolute);
}

template <class T>
void CMLSorting<T>::QuickSort(int lo, int hi) {
    if (lo >= hi || !ValidRange(lo, hi)) return;
    QuickSortRange<ValueOf>(m_data, lo, hi, m_ascending != 0);
}

template <class T>
void CMLSorting<T>::QuickSort(mlSortIndexData* records, int lo, int hi) const {
    QuickSortRange<RecordValue>(records, lo, hi, m_ascending != 0);
}

template <class T>
void CMLSorting<T>::QuickSort(mlSortAbsIndexData* records, int lo, int hi) const {
    QuickSortRange<RecordAbsValue>(records, lo, hi, m_ascending != 0);
}

template <class T>
void CMLSorting<T>::AscendingPartition(int& i, int& j) {
    if (i <= j && ValidRange(i, j)) PartitionRange<ValueOf, Ascending>(m_data, i, j);
}

template <class T>
void CMLSorting<T>::DescendingPartition(int& i, int& j) {
    if (i <= j && ValidRange(i, j)) PartitionRange<ValueOf, Descending>(m_data, i, j);
}

template <class T>
void CMLSorting<T>::AscendingPartition(mlSortIndexData* records, int& i, int& j) const {
    PartitionRange<RecordValue, Ascending>(records, i, j);
}

template <class T>
void CMLSorting<T>::DescendingPartition(mlSortIndexData* records, int& i, int& j) const {
    PartitionRange<RecordValue, Descending>(records, i, j);
}

template <class T>
void CMLSorting<T>::AscendingPartition(mlSortAbsIndexData* records, int& i, int& j) const {
    PartitionRange<RecordAbsValue, Ascending>(records, i, j);
}

template <class T>
void CMLSorting<T>::DescendingPartition(mlSortAbsIndexData* records, int& i, int& j) const {
    PartitionRange<RecordAbsValue, Descending>(records, i, j);
}

// Free functions ------------------------------------------------------------------------------

template <class T>
void mlSort(int n, const T* in, T* out, int ascending, int absolute) {
    if (n <= 0) return;
    if (in != out)
        for (int k = 0; k < n; ++k)
            out[k] = in[k];
    CMLSorting<T> s(n, out, 1, ascending, absolute);
    s.Sort();
}

template <class T>
void mlSort(int n, int first, int last, const T* in, T* out, int ascending, int absolute) {
    if (n <= 0) return;
    if (in != out)
        for (int k = 0; k < n; ++k)
            out[k] = in[k];
    CMLSorting<T> s(n, out, 1, ascending, absolute);
    s.Sort(first, last);
}

template <class T>
void mlSort(int n, const T* in, T* out, int* indices, int ascending, int absolute) {
    if (n <= 0) return;
    const CMLSorting<T> s(n, const_cast<T*>(in), 1, ascending, absolute);  // read only
    s.Sort(out, indices);
}

template <class T>
int mlIsArraySorted(int n, const T* a, ml::detail::non_deduced_t<T> tolerance, int ascending,
                    int absolute) {
    for (int k = 0; k + 1 < n; ++k) {
        const bool bad = absolute
                             ? OutOfOrder(AbsKey(a[k]), AbsKey(a[k + 1]), tolerance, ascending != 0)
                             : OutOfOrder(a[k], a[k + 1], tolerance, ascending != 0);
        if (bad) return 0;
    }
    return 1;
}

template <class T>
void mlSort2DArray(int n, const T* in, T* out, ml::detail::non_deduced_t<T> tolerance,
                   int ascending, int absolute, int byFirst) {
    Sort2D<T, InterleavedPairs<T>>(n, in, out, tolerance, ascending, absolute, byFirst);
}

template <class T>
void mlSort2DVectors(int n, int byFirst, const CMLVector2<T>* in, CMLVector2<T>* out,
                     ml::detail::non_deduced_t<T> tolerance, int ascending, int absolute) {
    Sort2D<T, PointsXY<CMLVector2<T>, T>>(n, in, out, tolerance, ascending, absolute, byFirst);
}

#define ML_SORTING_DEFINE(T)                                               \
    template class CMLSorting<T>;                                          \
    template ML_API void mlSort<T>(int, const T*, T*, int, int);           \
    template ML_API void mlSort<T>(int, int, int, const T*, T*, int, int); \
    template ML_API void mlSort<T>(int, const T*, T*, int*, int, int);     \
    template ML_API int mlIsArraySorted<T>(int, const T*, T, int, int);
ML_FOR_EACH_SORTABLE(ML_SORTING_DEFINE)
#undef ML_SORTING_DEFINE

#define ML_SORTING_2D_DEFINE(T) \
    template ML_API void mlSort2DArray<T>(int, const T*, T*, T, int, int, int);
ML_FOR_EACH_SORTABLE_2D(ML_SORTING_2D_DEFINE)
#undef ML_SORTING_2D_DEFINE

#define ML_SORTING_VECTORS_DEFINE(T)                                                           \
    template ML_API void mlSort2DVectors<T>(int, int, const CMLVector2<T>*, CMLVector2<T>*, T, \
                                            int, int);
ML_FOR_EACH_REAL(ML_SORTING_VECTORS_DEFINE)
#undef ML_SORTING_VECTORS_DEFINE
