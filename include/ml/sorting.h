// CMLSorting<T>: quicksort of a one-dimensional array, ascending or descending, by value or by
// absolute value, optionally reporting the permutation; the free functions mlSort,
// mlIsArraySorted, mlSort2DArray and mlSort2DVectors wrap it.
//
// The sort is one fixed quicksort (middle-element pivot read once, strict comparisons, swap and
// step), so the order in which equal keys come out is determined by its partition sequence and
// is part of the result: it is not the input order (the sort is not stable), and it is the same
// on every platform. A NaN key stops both scans like a key equal to the pivot.
//
// Sorting by absolute value goes through records holding value, absolute value and input index;
// the absolute value of an unsigned element is the element, and the most negative value of a
// signed integer type ranks above every other (its absolute value is compared as unsigned).
#ifndef ML_SORTING_H
#define ML_SORTING_H

#include <ml/types.h>
#include <ml/vector_fixed.h>

// Element types of CMLSorting, mlSort and mlIsArraySorted.
// clang-format off
#define ML_FOR_EACH_SORTABLE(X)                                                                 \
    X(unsigned char) X(signed char) X(short) X(unsigned short) X(int) X(unsigned int)          \
    X(long long) X(unsigned long long) X(float) X(double)
// clang-format on
// Element types of mlSort2DArray.
#define ML_FOR_EACH_SORTABLE_2D(X) X(signed char) X(short) X(int) X(long long) X(float) X(double)

template <class T>
class ML_API CMLSorting {
public:
    // A key with its position in the input.
    struct mlSortIndexData {
        T value;
        int index;
    };
    // A key, its absolute value (the sort key) and its position in the input. The absolute value
    // of the most negative signed integer wraps onto itself here; it is compared as unsigned.
    struct mlSortAbsIndexData {
        T value;
        T absValue;
        int index;
    };

    // No array, external flag 1, ascending, by value.
    CMLSorting() = default;
    // As SetData.
    CMLSorting(int n, T* data, int external, int ascending, int absolute) {
        SetData(n, data, external, ascending, absolute);
    }
    // Owned arrays are copied, adopted ones shared.
    CMLSorting(const CMLSorting& o);
    CMLSorting& operator=(const CMLSorting& o);
    // Frees the array when the object owns it.
    ~CMLSorting() { Release(); }

    // Stores count (max(n, 0)) and flags. external != 0 adopts data (sorted in place, never
    // freed); external == 0 copies n elements into an array of the object's own (null when n <= 0
    // or when the allocation fails). A previously owned array is freed.
    void SetData(int n, T* data, int external, int ascending, int absolute);
    // SetData with the stored external flag and order flags.
    void SetArray(int n, T* data) { SetData(n, data, m_external, m_ascending, m_absolute); }
    // Stores count (max(n, 0)) and flags and keeps the pointer; the count must not exceed the
    // array. The flag decides who frees the array: external 0 hands an adopted array over to the
    // object, which frees it with delete[] (so it must come from new[]); a nonzero flag leaves
    // the object's own array to the caller, who then frees it.
    void SetData(int n, int external, int ascending, int absolute);
    void GetData(int& n, int& external, int& ascending, int& absolute) const {
        n = m_n;
        external = m_external;
        ascending = m_ascending;
        absolute = m_absolute;
    }
    T* GetArray() const { return m_data; }
    void SetSortingType(int ascending, int absolute) {
        m_ascending = ascending;
        m_absolute = absolute;
    }

    // Sorts the whole array in place (by absolute value the sorted values are written back).
    void Sort();
    // Sorts [first, last] in place; nothing when first >= last or the range leaves the array.
    void Sort(int first, int last);
    // By value: sorts the array in place, then copies it to out. By absolute value: the array is
    // left as it is and out receives its values in sorted order.
    void Sort(T* out);
    // The range form: out receives the whole array with [first, last] sorted (by value the array
    // itself is sorted in that range; for first >= last out gets the array as it is). Nothing
    // when a non-empty range leaves the array.
    void Sort(int first, int last, T* out);
    // indices[k] = input position of the k-th element in sorted order; the array is untouched.
    void SortReturnIndices(int* indices) const;
    // Sorted values in out and the permutation in indices; the array is untouched.
    void Sort(T* out, int* indices) const;
    // 1 if the array is ordered as asked (exact comparisons), else 0; 1 for n <= 1.
    int IsArraySorted(int ascending, int absolute) const;

    // The quicksort of [lo, hi] on the array by value (the absolute flag is not consulted), and
    // on record arrays by their key, in the stored direction. Nothing for lo >= hi; the array form
    // also does nothing when the range leaves the array.
    void QuickSort(int lo, int hi);
    void QuickSort(mlSortIndexData* records, int lo, int hi) const;
    void QuickSort(mlSortAbsIndexData* records, int lo, int hi) const;
    // One partition pass over [i, j] around the key of element (i + j) / 2, read once. On return
    // i and j are where the scans crossed (j < i): [old i, j] and [i, old j] remain to be sorted,
    // nothing in the first comes after the pivot and nothing in the second before it. Nothing
    // when i > j (the array form also when the range leaves the array).
    void AscendingPartition(int& i, int& j);
    void DescendingPartition(int& i, int& j);
    void AscendingPartition(mlSortIndexData* records, int& i, int& j) const;
    void DescendingPartition(mlSortIndexData* records, int& i, int& j) const;
    void AscendingPartition(mlSortAbsIndexData* records, int& i, int& j) const;
    void DescendingPartition(mlSortAbsIndexData* records, int& i, int& j) const;

private:
    void Release() {
        if (!m_external) delete[] m_data;
        m_data = nullptr;
    }
    bool ValidRange(int first, int last) const {
        return m_data && 0 <= first && first <= last && last < m_n;
    }
    // Sorts [first, last] by absolute value into out (which may be the array itself).
    void SortAbsolute(int first, int last, T* out) const;

    int m_n = 0;
    T* m_data = nullptr;
    int m_external = 1;
    int m_ascending = 1;
    int m_absolute = 0;
};

// Copies in to out (n elements; nothing for n <= 0) and sorts out in place.
template <class T>
ML_API void mlSort(int n, const T* in, T* out, int ascending, int absolute);
// Copies all n elements, then sorts out[first..last] only.
template <class T>
ML_API void mlSort(int n, int first, int last, const T* in, T* out, int ascending, int absolute);
// Sorted values in out, indices[k] = position in in of out[k].
template <class T>
ML_API void mlSort(int n, const T* in, T* out, int* indices, int ascending, int absolute);
// 1 if a (or |a|) is ordered within tolerance: ascending fails at b[k] > b[k+1] + tolerance,
// descending at b[k+1] - tolerance > b[k]. 1 for n <= 1. Integer arithmetic is exact.
template <class T>
ML_API int mlIsArraySorted(int n, const T* a, ml::detail::non_deduced_t<T> tolerance, int ascending,
                           int absolute);
// Sorts n points held as interleaved pairs (2n values) by their primary coordinate (the first
// when byFirst != 0, else the second); each run of points whose primary keys lie within tolerance
// of the run's first key is then sorted by the secondary coordinate, with the same flags. A run of
// two is a single compare-and-swap (swapped only when strictly out of order). Points keep their
// coordinate order.
template <class T>
ML_API void mlSort2DArray(int n, const T* in, T* out, ml::detail::non_deduced_t<T> tolerance,
                          int ascending, int absolute, int byFirst);

// mlSort2DArray on arrays of CMLVector2 (x first, y second).
template <class T>
ML_API void mlSort2DVectors(int n, int byFirst, const CMLVector2<T>* in, CMLVector2<T>* out,
                            ml::detail::non_deduced_t<T> tolerance, int ascending, int absolute);

#define ML_SORTING_EXTERN(T)                                                      \
    extern template class CMLSorting<T>;                                          \
    extern template ML_API void mlSort<T>(int, const T*, T*, int, int);           \
    extern template ML_API void mlSort<T>(int, int, int, const T*, T*, int, int); \
    extern template ML_API void mlSort<T>(int, const T*, T*, int*, int, int);     \
    extern template ML_API int mlIsArraySorted<T>(int, const T*, T, int, int);
ML_FOR_EACH_SORTABLE(ML_SORTING_EXTERN)
#undef ML_SORTING_EXTERN

#define ML_SORTING_2D_EXTERN(T) \
    extern template ML_API void mlSort2DArray<T>(int, const T*, T*, T, int, int, int);
ML_FOR_EACH_SORTABLE_2D(ML_SORTING_2D_EXTERN)
#undef ML_SORTING_2D_EXTERN

#define ML_SORTING_VECTORS_EXTERN(T)                                                               \
    extern template ML_API void mlSort2DVectors<T>(int, int, const CMLVector2<T>*, CMLVector2<T>*, \
                                                   T, int, int);
ML_FOR_EACH_REAL(ML_SORTING_VECTORS_EXTERN)
#undef ML_SORTING_VECTORS_EXTERN

#endif  // ML_SORTING_H
