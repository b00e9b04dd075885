#include <ml/matrix_mn.h>

#include "detail/buffer.h"
#include "detail/gemm.h"
#include "detail/svd_kernels.h"

#include <cmath>
#include <cstring>
#include <iostream>
#include <limits>
#include <new>
#include <ostream>
#include <type_traits>

namespace {

// Below-diagonal tolerance of IsBidiagonal, fixed whatever the caller's eps and element type.
constexpr double kBidiagonalLowerTolerance = 1e-6;
// Pythagoras returns 0 when the larger magnitude is within this of zero (for float as well).
constexpr double kPythagorasZero = 1e-9;

template <class T>
constexpr bool kIsReal = std::is_floating_point_v<T>;

// The real type behind an element type: the type of its precision and of its modulus.
template <class T>
struct RealOf {
    using type = T;
};
template <class T>
struct RealOf<CMLComplex<T>> {
    using type = T;
};

// Copies n elements exactly. Complex elements are copy-constructed in place (CMLComplex is
// trivially destructible), so the parts, the cache and the precision all arrive, which the
// tolerant CMLComplex assignment would not guarantee.
template <class T>
void CopyElements(T* dst, const T* src, long n) {
    if (n <= 0) return;
    if constexpr (std::is_trivially_copyable_v<T>) {
        std::memmove(dst, src, sizeof(T) * static_cast<std::size_t>(n));
    } else {
        static_assert(std::is_trivially_destructible_v<T>, "elements are overwritten in place");
        for (long i = 0; i < n; ++i)
            ::new (static_cast<void*>(dst + i)) T(src[i]);
    }
}

template <class T>
void CopyElement(T& dst, const T& src) {
    CopyElements(&dst, &src, 1);
}

template <class T>
T AbsValue(const T& x) {
    return std::fabs(x);
}
template <class T>
T AbsValue(const CMLComplex<T>& x) {
    return mlAbs(x);
}

// 1 when |a - b| <= precision; a NaN difference is never within it.
template <class T, class P>
bool Within(const T& a, const T& b, P precision) {
    return AbsValue(a - b) <= precision;
}

template <class T>
void WriteElement(std::ostream& os, const T& x) {
    os << x;
}
template <class T>
void WriteElement(std::ostream& os, const CMLComplex<T>& x) {
    os << '(' << x.Real() << ',' << x.Imag() << ')';
}

template <class T>
void WriteRow(std::ostream& os, const T* row, int count) {
    os << "( ";
    for (int j = 0; j < count; ++j) {
        if (j > 0) os << ' ';
        WriteElement(os, row[j]);
    }
    // '\n' rather than std::endl: the same bytes, without exporting the stream's widen().
    os << " )\n";
}

bool InsideBlock(int r0, int c0, int r1, int c1, int rows, int cols) {
    return 0 <= r0 && r0 <= r1 && r1 < rows && 0 <= c0 && c0 <= c1 && c1 < cols;
}

// Compares the h x w blocks starting at a(ar0, ac0) and b(br0, bc0) element by element.
template <class T>
int BlocksWithin(const CMLBaseMatrix<T>& a, int ar0, int ac0, const CMLBaseMatrix<T>& b, int br0,
                 int bc0, int h, int w, T precision) {
    for (int i = 0; i < h; ++i) {
        for (int j = 0; j < w; ++j) {
            if (!Within(a(ar0 + i, ac0 + j), b(br0 + i, bc0 + j), precision)) return 0;
        }
    }
    return 1;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// CMLBaseMatrix

template <class T>
CMLBaseMatrix<T>::CMLBaseMatrix(int n) : CMLBaseMatrix(n, n) {}

template <class T>
CMLBaseMatrix<T>::CMLBaseMatrix(int rows, int cols) : m_rows(rows), m_cols(cols) {
    const long n = Size();
    m_data = n != 0 ? new T[n]() : nullptr;
}

template <class T>
CMLBaseMatrix<T>::CMLBaseMatrix(int rows, int cols, ml::detail::uninitialized_t)
    : m_rows(rows), m_cols(cols) {
    const long n = Size();
    m_data = n != 0 ? new T[n] : nullptr;
}

template <class T>
CMLBaseMatrix<T>::CMLBaseMatrix(int n, const T* src) : CMLBaseMatrix(n, n, src) {}

template <class T>
CMLBaseMatrix<T>::CMLBaseMatrix(int rows, int cols, const T* src)
    : CMLBaseMatrix(rows, cols, ml::detail::uninitialized_t{}) {
    CopyElements(m_data, src, Size());
}

template <class T>
CMLBaseMatrix<T>::CMLBaseMatrix(const CMLBaseMatrix& o)
    : CMLBaseMatrix(o.m_rows, o.m_cols, ml::detail::uninitialized_t{}) {
    CopyElements(m_data, o.m_data, Size());
}

template <class T>
CMLBaseMatrix<T>::CMLBaseMatrix(CMLBaseMatrix&& o) noexcept
    : m_rows(o.m_rows), m_cols(o.m_cols), m_data(o.m_data) {
    o.m_rows = 0;
    o.m_cols = 0;
    o.m_data = nullptr;
}

template <class T>
CMLBaseMatrix<T>::~CMLBaseMatrix() {
    delete[] m_data;
    m_data = nullptr;
}

template <class T>
CMLBaseMatrix<T>& CMLBaseMatrix<T>::operator=(const CMLBaseMatrix& o) {
    if (this != &o) CopyElements(m_data, o.m_data, Size());
    return *this;
}

template <class T>
CMLBaseMatrix<T>& CMLBaseMatrix<T>::operator*=(T x) {
    const long n = Size();
    for (long i = 0; i < n; ++i)
        m_data[i] *= x;
    return *this;
}

template <class T>
void CMLBaseMatrix<T>::SetElement(int i, int j, const T& v) {
    CopyElement(m_data[i * m_cols + j], v);
}

template <class T>
void CMLBaseMatrix<T>::SetRow(int i, const T* src) {
    CopyElements(m_data + static_cast<long>(i) * m_cols, src, m_cols);
}

template <class T>
void CMLBaseMatrix<T>::SetColumn(int j, const T* src) {
    for (int i = 0; i < m_rows; ++i)
        CopyElement(m_data[i * m_cols + j], src[i]);
}

template <class T>
void CMLBaseMatrix<T>::Row(int i, T* dst) const {
    CopyElements(dst, m_data + static_cast<long>(i) * m_cols, m_cols);
}

template <class T>
void CMLBaseMatrix<T>::Column(int j, T* dst) const {
    for (int i = 0; i < m_rows; ++i)
        CopyElement(dst[i], m_data[i * m_cols + j]);
}

template <class T>
void CMLBaseMatrix<T>::SetRowVector(int i, const CMLBaseVector<T>& v) {
    T* row = m_data + static_cast<long>(i) * m_cols;
    for (int j = 0; j < m_cols; ++j)
        CopyElement(row[j], v[j]);
}

template <class T>
void CMLBaseMatrix<T>::SetColVector(int j, const CMLBaseVector<T>& v) {
    for (int i = 0; i < m_rows; ++i)
        CopyElement(m_data[i * m_cols + j], v[i]);
}

template <class T>
void CMLBaseMatrix<T>::SetPartRowVector(int i, int from, int to, int start,
                                        const CMLBaseVector<T>& v) {
    T* row = m_data + static_cast<long>(i) * m_cols;
    for (int j = from; j <= to; ++j)
        CopyElement(row[j], v[start + j - from]);
}

template <class T>
void CMLBaseMatrix<T>::SetPartColVector(int j, int from, int to, int start,
                                        const CMLBaseVector<T>& v) {
    for (int i = from; i <= to; ++i)
        CopyElement(m_data[i * m_cols + j], v[start + i - from]);
}

template <class T>
CMLBaseVector<T> CMLBaseMatrix<T>::RowVector(int i) const {
    CMLBaseVector<T> v(m_cols);
    const T* row = m_data + static_cast<long>(i) * m_cols;
    for (int j = 0; j < m_cols; ++j)
        CopyElement(v[j], row[j]);
    return v;
}

template <class T>
CMLBaseVector<T> CMLBaseMatrix<T>::ColVector(int j) const {
    CMLBaseVector<T> v(m_rows);
    for (int i = 0; i < m_rows; ++i)
        CopyElement(v[i], m_data[i * m_cols + j]);
    return v;
}

template <class T>
CMLBaseVector<T> CMLBaseMatrix<T>::Diagonal() const {
    const int k = m_rows < m_cols ? m_rows : m_cols;
    CMLBaseVector<T> v(k > 0 ? k : 0);
    for (int i = 0; i < k; ++i)
        CopyElement(v[i], m_data[i * m_cols + i]);
    return v;
}

template <class T>
void CMLBaseMatrix<T>::Fill(const T* src) {
    CopyElements(m_data, src, Size());
}

template <class T>
void CMLBaseMatrix<T>::FillPart(int r0, int c0, int r1, int c1, const T* src, int byRows) {
    // The column bound is the row count: the test callers have always had.
    if (!(0 <= r0 && r0 <= r1 && r1 < m_rows && 0 <= c0 && c0 <= c1 && c1 < m_rows)) return;
    long k = 0;
    if (byRows) {
        for (int i = r0; i <= r1; ++i) {
            for (int j = c0; j <= c1; ++j)
                CopyElement(m_data[i * m_cols + j], src[k++]);
        }
    } else {
        for (int j = c0; j <= c1; ++j) {
            for (int i = r0; i <= r1; ++i)
                CopyElement(m_data[i * m_cols + j], src[k++]);
        }
    }
}

template <class T>
void CMLBaseMatrix<T>::CopyPartRow(int dstRow, int srcRow, int first, int last,
                                   const CMLBaseMatrix& src) {
    if (first > last) return;
    CopyElements(m_data + static_cast<long>(dstRow) * m_cols + first,
                 src.m_data + static_cast<long>(srcRow) * src.m_cols + first, last - first + 1);
}

template <class T>
void CMLBaseMatrix<T>::CopyPartColumn(int dstCol, int srcCol, int first, int last,
                                      const CMLBaseMatrix& src) {
    for (int i = first; i <= last; ++i) {
        CopyElement(m_data[i * m_cols + dstCol], src.m_data[i * src.m_cols + srcCol]);
    }
}

template <class T>
void CMLBaseMatrix<T>::Dump(T* dst) const {
    CopyElements(dst, m_data, Size());
}

template <class T>
void CMLBaseMatrix<T>::DumpPart(int r0, int c0, int r1, int c1, T* dst, int byRows) const {
    if (!InsideBlock(r0, c0, r1, c1, m_rows, m_cols)) return;
    long k = 0;
    if (byRows) {
        for (int i = r0; i <= r1; ++i) {
            for (int j = c0; j <= c1; ++j)
                CopyElement(dst[k++], m_data[i * m_cols + j]);
        }
    } else {
        for (int j = c0; j <= c1; ++j) {
            for (int i = r0; i <= r1; ++i)
                CopyElement(dst[k++], m_data[i * m_cols + j]);
        }
    }
}

template <class T>
CMLBaseMatrix<T>& CMLBaseMatrix<T>::operator+=(const CMLBaseMatrix& b) {
    const long n = Size();
    T* __restrict a = m_data;
    const T* __restrict bd = b.m_data;
    if (a == bd) {
        for (long i = 0; i < n; ++i)
            m_data[i] += m_data[i];
        return *this;
    }
    for (long i = 0; i < n; ++i)
        a[i] += bd[i];
    return *this;
}

template <class T>
CMLBaseMatrix<T>& CMLBaseMatrix<T>::operator-=(const CMLBaseMatrix& b) {
    const long n = Size();
    T* __restrict a = m_data;
    const T* __restrict bd = b.m_data;
    if (a == bd) {
        for (long i = 0; i < n; ++i)
            m_data[i] -= m_data[i];
        return *this;
    }
    for (long i = 0; i < n; ++i)
        a[i] -= bd[i];
    return *this;
}

template <class T>
CMLBaseMatrix<T>& CMLBaseMatrix<T>::operator/=(T x) {
    const long n = Size();
    for (long i = 0; i < n; ++i)
        m_data[i] /= x;
    return *this;
}

template <class T>
void CMLBaseMatrix<T>::Mul(T x) {
    const long n = Size();
    for (long i = 0; i < n; ++i)
        m_data[i] *= x;
}

template <class T>
CMLBaseMatrix<T> CMLBaseMatrix<T>::operator+(const CMLBaseMatrix& b) const {
    CMLBaseMatrix r(m_rows, m_cols, ml::detail::uninitialized_t{});
    const long n = Size();
    for (long i = 0; i < n; ++i)
        r.m_data[i] = m_data[i] + b.m_data[i];
    return r;
}

template <class T>
CMLBaseMatrix<T> CMLBaseMatrix<T>::operator-(const CMLBaseMatrix& b) const {
    CMLBaseMatrix r(m_rows, m_cols, ml::detail::uninitialized_t{});
    const long n = Size();
    for (long i = 0; i < n; ++i)
        r.m_data[i] = m_data[i] - b.m_data[i];
    return r;
}

template <class T>
CMLBaseMatrix<T> CMLBaseMatrix<T>::operator*(T x) const {
    CMLBaseMatrix r(m_rows, m_cols, ml::detail::uninitialized_t{});
    const long n = Size();
    for (long i = 0; i < n; ++i)
        r.m_data[i] = m_data[i] * x;
    return r;
}

template <class T>
CMLBaseMatrix<T> CMLBaseMatrix<T>::operator/(T x) const {
    CMLBaseMatrix r(m_rows, m_cols, ml::detail::uninitialized_t{});
    const long n = Size();
    for (long i = 0; i < n; ++i)
        r.m_data[i] = m_data[i] / x;
    return r;
}

template <class T>
CMLBaseMatrix<T> CMLBaseMatrix<T>::Negate() const {
    CMLBaseMatrix r(m_rows, m_cols, ml::detail::uninitialized_t{});
    const long n = Size();
    for (long i = 0; i < n; ++i)
        r.m_data[i] = -m_data[i];
    return r;
}

template <class T>
CMLBaseMatrix<T> CMLBaseMatrix<T>::Transpose() const {
    CMLBaseMatrix r(m_cols, m_rows, ml::detail::uninitialized_t{});
    constexpr int kTile = 16;
    for (int i0 = 0; i0 < m_rows; i0 += kTile) {
        const int i1 = i0 + kTile < m_rows ? i0 + kTile : m_rows;
        for (int j0 = 0; j0 < m_cols; j0 += kTile) {
            const int j1 = j0 + kTile < m_cols ? j0 + kTile : m_cols;
            for (int i = i0; i < i1; ++i) {
                for (int j = j0; j < j1; ++j) {
                    CopyElement(r.m_data[j * m_rows + i], m_data[i * m_cols + j]);
                }
            }
        }
    }
    return r;
}

template <class T>
CMLBaseMatrix<T> CMLBaseMatrix<T>::operator*(const CMLBaseMatrix& b) const {
    CMLBaseMatrix r(m_rows, b.m_cols, ml::detail::uninitialized_t{});
    const int m = m_rows, n = b.m_cols, k = m_cols;
    if (m <= 0 || n <= 0) return r;
    if constexpr (kIsReal<T>) {
        ml::detail::Gemm<T>(m, n, k, m_data, k, 1, b.m_data, n, 1, r.m_data, n);
    } else {
        for (int i = 0; i < m; ++i) {
            T* ri = r.m_data + static_cast<long>(i) * n;
            for (int j = 0; j < n; ++j)
                ri[j] = T(0);
            for (int p = 0; p < k; ++p) {
                const T aip = m_data[i * k + p];
                const T* bp = b.m_data + static_cast<long>(p) * n;
                for (int j = 0; j < n; ++j)
                    ri[j] += aip * bp[j];
            }
        }
    }
    return r;
}

template <class T>
CMLBaseVector<T> CMLBaseMatrix<T>::operator*(const CMLBaseVector<T>& v) const {
    CMLBaseVector<T> r(m_rows);
    const int k = m_cols;
    if (m_rows <= 0) return r;
    if (k > 0) {
        const T* x = &v[0];
        for (int i = 0; i < m_rows; ++i) {
            const T* row = m_data + static_cast<long>(i) * k;
            T sum = T(0);
            for (int p = 0; p < k; ++p)
                sum += row[p] * x[p];
            CopyElement(r[i], sum);
        }
    }
    return r;
}

template <class T>
void CMLBaseMatrix<T>::SetToZero() {
    const T zero = T(0);
    const long n = Size();
    for (long i = 0; i < n; ++i)
        CopyElement(m_data[i], zero);
}

template <class T>
void CMLBaseMatrix<T>::SetConstant(T v) {
    const long n = Size();
    for (long i = 0; i < n; ++i)
        CopyElement(m_data[i], v);
}

template <class T>
void CMLBaseMatrix<T>::SetDiagonal(T v) {
    const int k = m_rows < m_cols ? m_rows : m_cols;
    for (int i = 0; i < k; ++i)
        CopyElement(m_data[i * m_cols + i], v);
}

template <class T>
T CMLBaseMatrix<T>::Trace() const {
    const int k = m_rows < m_cols ? m_rows : m_cols;
    T sum = T(0);
    for (int i = 0; i < k; ++i)
        sum += m_data[i * m_cols + i];
    return sum;
}

template <class T>
int CMLBaseMatrix<T>::operator==(const CMLBaseMatrix& b) const {
    if (m_rows != b.m_rows || m_cols != b.m_cols) return 0;
    const long n = Size();
    for (long i = 0; i < n; ++i) {
        if (!Within(m_data[i], b.m_data[i], mlDefaultPrecision<typename RealOf<T>::type>)) return 0;
    }
    return 1;
}

template <class T>
void CMLBaseMatrix<T>::PrintPartOfMatrix(int r0, int c0, int r1, int c1) const {
    if (!InsideBlock(r0, c0, r1, c1, m_rows, m_cols)) return;
    for (int i = r0; i <= r1; ++i)
        WriteRow(std::cout, m_data + i * m_cols + c0, c1 - c0 + 1);
    std::cout << '\n';
    std::cout.flush();
}

template <class T>
std::ostream& operator<<(std::ostream& os, const CMLBaseMatrix<T>& m) {
    const int rows = m.RowsNb(), cols = m.ColsNb();
    if (static_cast<long>(rows) * cols == 0) return os;
    for (int i = 0; i < rows; ++i)
        WriteRow(os, &m(i, 0), cols);
    return os;
}

// ---------------------------------------------------------------------------------------------
// CMLMatrixMN: copies, assignment, derived results

template <class T>
CMLMatrixMN<T>::CMLMatrixMN(const CMLMatrixMN& o) : CMLBaseMatrix<T>(o), m_rank(o.m_rank) {
    if (o.m_singCalculated && o.m_singularValues) {
        const int k = o.m_rows < o.m_cols ? o.m_rows : o.m_cols;
        m_singularValues = new T[k > 0 ? k : 0];
        CopyElements(m_singularValues, o.m_singularValues, k);
        m_singCalculated = 1;
    }
}

template <class T>
CMLMatrixMN<T>::CMLMatrixMN(CMLMatrixMN&& o) noexcept
    : CMLBaseMatrix<T>(static_cast<CMLBaseMatrix<T>&&>(o)),
      m_rank(o.m_rank),
      m_singularValues(o.m_singularValues),
      m_singCalculated(o.m_singCalculated) {
    o.m_rank = 0;
    o.m_singularValues = nullptr;
    o.m_singCalculated = 0;
}

template <class T>
CMLMatrixMN<T>::CMLMatrixMN(const CMLBaseMatrix<T>& o) : CMLBaseMatrix<T>(o), m_rank(-1) {}

template <class T>
CMLMatrixMN<T>::CMLMatrixMN(CMLBaseMatrix<T>&& o) noexcept
    : CMLBaseMatrix<T>(static_cast<CMLBaseMatrix<T>&&>(o)), m_rank(-1) {}

template <class T>
CMLMatrixMN<T>::~CMLMatrixMN() {
    if (m_singCalculated) delete[] m_singularValues;
    m_singularValues = nullptr;
}

template <class T>
CMLMatrixMN<T>& CMLMatrixMN<T>::operator=(const CMLBaseMatrix<T>& o) {
    if (this == &o) return *this;
    CMLBaseMatrix<T>::operator=(o);
    m_rank = -1;
    m_singularValues = nullptr;  // dropped, not released, as callers have always had it
    m_singCalculated = 0;
    return *this;
}

template <class T>
CMLMatrixMN<T>& CMLMatrixMN<T>::operator=(const CMLMatrixMN& o) {
    if (this == &o) return *this;
    CMLBaseMatrix<T>::operator=(o);
    m_rank = o.m_rank;
    m_singCalculated = o.m_singCalculated;
    if (o.m_singCalculated && o.m_singularValues) {
        // A fresh array sized by the source; one held before is not released.
        const int k = o.m_rows < o.m_cols ? o.m_rows : o.m_cols;
        m_singularValues = new T[k > 0 ? k : 0];
        CopyElements(m_singularValues, o.m_singularValues, k);
    }
    return *this;
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::operator+(const CMLBaseMatrix<T>& b) const {
    return CMLMatrixMN(CMLBaseMatrix<T>::operator+(b));
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::operator-(const CMLBaseMatrix<T>& b) const {
    return CMLMatrixMN(CMLBaseMatrix<T>::operator-(b));
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::operator*(T x) const {
    return CMLMatrixMN(CMLBaseMatrix<T>::operator*(x));
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::operator/(T x) const {
    return CMLMatrixMN(CMLBaseMatrix<T>::operator/(x));
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::operator*(const CMLBaseMatrix<T>& b) const {
    return CMLMatrixMN(CMLBaseMatrix<T>::operator*(b));
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::Negate() const {
    return CMLMatrixMN(CMLBaseMatrix<T>::Negate());
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::Transpose() const {
    return CMLMatrixMN(CMLBaseMatrix<T>::Transpose());
}

// ---------------------------------------------------------------------------------------------
// CMLMatrixMN: structure

template <class T>
int CMLMatrixMN<T>::IsDiagonal(T eps) const {
    for (int i = 0; i < this->m_rows; ++i) {
        const T* row = this->m_data + static_cast<long>(i) * this->m_cols;
        for (int j = 0; j < this->m_cols; ++j) {
            if (j != i && !(std::fabs(row[j]) <= eps)) return 0;
        }
    }
    return 1;
}

template <class T>
int CMLMatrixMN<T>::IsLLTriangular(T eps) const {
    const int k = this->m_rows < this->m_cols ? this->m_rows : this->m_cols;
    for (int i = 0; i < k; ++i) {
        const T* row = this->m_data + static_cast<long>(i) * this->m_cols;
        for (int j = i + 1; j < this->m_cols; ++j) {
            if (!(std::fabs(row[j]) <= eps)) return 0;
        }
    }
    return 1;
}

template <class T>
int CMLMatrixMN<T>::IsURTriangular(T eps) const {
    for (int i = 1; i < this->m_rows; ++i) {
        const T* row = this->m_data + static_cast<long>(i) * this->m_cols;
        const int end = i < this->m_cols ? i : this->m_cols;
        for (int j = 0; j < end; ++j) {
            if (!(std::fabs(row[j]) <= eps)) return 0;
        }
    }
    return 1;
}

template <class T>
int CMLMatrixMN<T>::IsAlmostZero(T eps) const {
    const long n = this->Size();
    for (long i = 0; i < n; ++i) {
        if (!(std::fabs(this->m_data[i]) <= eps)) return 0;
    }
    return 1;
}

template <class T>
int CMLMatrixMN<T>::IsBidiagonal(T eps) const {
    if (this->m_rows < this->m_cols) return 0;
    const T lowerTolerance = static_cast<T>(kBidiagonalLowerTolerance);
    for (int i = 0; i < this->m_rows; ++i) {
        const T* row = this->m_data + static_cast<long>(i) * this->m_cols;
        for (int j = 0; j < this->m_cols; ++j) {
            if (j < i && !(std::fabs(row[j]) <= lowerTolerance)) return 0;
            if (j > i + 1 && !(std::fabs(row[j]) <= eps)) return 0;
        }
    }
    return 1;
}

template <class T>
void CMLMatrixMN<T>::AnnulateSmallElements(T eps) {
    const long n = this->Size();
    for (long i = 0; i < n; ++i) {
        if (std::fabs(this->m_data[i]) < eps) this->m_data[i] = T(0);
    }
}

template <class T>
void CMLMatrixMN<T>::AnnulateRelativelyDiagonal(int mode) {
    for (int i = 0; i < this->m_rows; ++i) {
        T* row = this->m_data + static_cast<long>(i) * this->m_cols;
        if (mode == 0) {
            for (int j = i + 1; j < this->m_cols; ++j)
                row[j] = T(0);
        } else {
            const int end = i < this->m_cols ? i : this->m_cols;
            for (int j = 0; j < end; ++j)
                row[j] = T(0);
        }
    }
}

template <class T>
void CMLMatrixMN<T>::SetElementTransposition(int i, int j) {
    T* a = this->m_data;
    const int c = this->m_cols;
    a[i * c + i] = T(0);
    a[j * c + j] = T(0);
    a[i * c + j] = T(1);
    a[j * c + i] = T(1);
}

template <class T>
T CMLMatrixMN<T>::Mean() const {
    const long n = this->Size();
    if (n == 0) return T(0);
    T sum = T(0);
    for (long i = 0; i < n; ++i)
        sum += this->m_data[i];
    return sum / static_cast<T>(n);
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::ExtractMatrix(int r0, int c0, int r1, int c1) const {
    if (!InsideBlock(r0, c0, r1, c1, this->m_rows, this->m_cols)) return CMLMatrixMN();
    const int h = r1 - r0 + 1, w = c1 - c0 + 1;
    CMLMatrixMN r(h, w);
    for (int i = 0; i < h; ++i) {
        CopyElements(r.m_data + static_cast<long>(i) * w,
                     this->m_data + static_cast<long>(r0 + i) * this->m_cols + c0, w);
    }
    return r;
}

template <class T>
CMLMatrixMN<T> CMLMatrixMN<T>::ExtractLeftCornerMatrix(int r, int c) const {
    return ExtractMatrix(0, 0, r - 1, c - 1);
}

template <class T>
void CMLMatrixMN<T>::InsertMatrix(const CMLBaseMatrix<T>& src, int r0, int c0, int r1, int c1) {
    if (!InsideBlock(r0, c0, r1, c1, this->m_rows, this->m_cols)) return;
    const int w = c1 - c0 + 1;
    for (int i = r0; i <= r1; ++i) {
        for (int j = 0; j < w; ++j) {
            this->m_data[static_cast<long>(i) * this->m_cols + c0 + j] = src(i - r0, j);
        }
    }
}

template <class T>
void CMLMatrixMN<T>::GetSingularNumbers(T* out) const {
    if (!m_singCalculated || !m_singularValues) return;
    const int k = this->m_rows < this->m_cols ? this->m_rows : this->m_cols;
    CopyElements(out, m_singularValues, k);
}

template <class T>
int CMLMatrixMN<T>::CacheSingularValues(const T* s, int k) {
    if (!m_singularValues) {
        m_singularValues = new (std::nothrow) T[k > 0 ? k : 0];
        if (!m_singularValues) return 0;
    }
    CopyElements(m_singularValues, s, k);
    m_singCalculated = 1;
    return 1;
}

template <class T>
T CMLMatrixMN<T>::Pythagoras(T a, T b) {
    const T aa = std::fabs(a), ab = std::fabs(b);
    const T big = aa > ab ? aa : ab;
    if (big <= static_cast<T>(kPythagorasZero)) return T(0);
    if (aa > ab) {
        const T r = ab / aa;
        return aa * mlSafeSqrt(T(1) + r * r);
    }
    const T r = aa / ab;
    return ab * mlSafeSqrt(T(1) + r * r);
}

// ---------------------------------------------------------------------------------------------
// CMLMatrixMN: zero rows and columns, norms, products

template <class T>
int CMLMatrixMN<T>::TestZeroRowsColumns(int& zeroRows, int& zeroCols, T eps) const {
    const int rows = this->m_rows, cols = this->m_cols;
    zeroRows = 0;
    zeroCols = 0;
    for (int i = 0; i < rows; ++i) {
        const T* row = this->m_data + static_cast<long>(i) * cols;
        int zero = 1;
        for (int j = 0; j < cols && zero; ++j)
            zero = std::fabs(row[j]) <= eps;
        zeroRows += zero;
    }
    for (int j = 0; j < cols; ++j) {
        int zero = 1;
        for (int i = 0; i < rows && zero; ++i)
            zero = std::fabs(this->m_data[i * cols + j]) <= eps;
        zeroCols += zero;
    }
    return zeroRows + zeroCols > 0 ? 1 : 0;
}

template <class T>
int CMLMatrixMN<T>::MoveZeroRows(int& n, CMLMatrixMN& perm, T eps) {
    const int rows = this->m_rows, cols = this->m_cols;
    if (perm.m_rows != rows || perm.m_cols != rows) return 0;
    ml::detail::Buffer<int> order;
    ml::detail::Buffer<T> moved;
    if (!order.Reset(static_cast<std::size_t>(rows)) || !moved.Reset(this->Size())) return 0;
    int front = 0, count = 0;
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < rows; ++i) {
            const T* row = this->m_data + static_cast<long>(i) * cols;
            bool zero = true;
            for (int j = 0; j < cols && zero; ++j)
                zero = std::fabs(row[j]) <= eps;
            if (zero == (pass == 1)) order[front++] = i;
            if (pass == 0 && zero) ++count;
        }
    }
    for (int i = 0; i < rows; ++i) {
        CopyElements(moved.Get() + static_cast<long>(i) * cols,
                     this->m_data + static_cast<long>(order[i]) * cols, cols);
    }
    CopyElements(this->m_data, moved.Get(), this->Size());
    perm.SetToZero();
    for (int i = 0; i < rows; ++i)
        perm.m_data[static_cast<long>(i) * rows + order[i]] = T(1);
    n = count;
    return 1;
}

template <class T>
int CMLMatrixMN<T>::MoveZeroColumns(int& n, CMLMatrixMN& perm, T eps) {
    const int rows = this->m_rows, cols = this->m_cols;
    if (perm.m_rows != cols || perm.m_cols != cols) return 0;
    ml::detail::Buffer<int> order;
    ml::detail::Buffer<T> moved;
    if (!order.Reset(static_cast<std::size_t>(cols)) || !moved.Reset(this->Size())) return 0;
    int front = 0, count = 0;
    for (int pass = 0; pass < 2; ++pass) {
        for (int j = 0; j < cols; ++j) {
            bool zero = true;
            for (int i = 0; i < rows && zero; ++i) {
                zero = std::fabs(this->m_data[static_cast<long>(i) * cols + j]) <= eps;
            }
            if (zero == (pass == 1)) order[front++] = j;
            if (pass == 0 && zero) ++count;
        }
    }
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            moved[static_cast<long>(i) * cols + j] =
                this->m_data[static_cast<long>(i) * cols + order[j]];
        }
    }
    CopyElements(this->m_data, moved.Get(), this->Size());
    perm.SetToZero();
    for (int j = 0; j < cols; ++j)
        perm.m_data[static_cast<long>(order[j]) * cols + j] = T(1);
    n = count;
    return 1;
}

namespace {

// Square root of the sum of squares, recomputed on scaled values when the plain sum overflows
// or loses its small terms to underflow.
template <class T>
T FrobeniusNorm(const T* a, long n) {
    T ss = T(0);
    for (long i = 0; i < n; ++i)
        ss += a[i] * a[i];
    const T low = std::numeric_limits<T>::min() / std::numeric_limits<T>::epsilon();
    if (ss >= low && ss <= std::numeric_limits<T>::max()) return std::sqrt(ss);
    T mx = T(0);
    for (long i = 0; i < n; ++i)
        mx = std::fmax(mx, std::fabs(a[i]));
    if (!(mx > T(0)) || !std::isfinite(mx) || ss != ss) return std::sqrt(ss);
    const int e = std::ilogb(mx);
    const T scale = std::ldexp(T(1), -e);
    T sc = T(0);
    for (long i = 0; i < n; ++i) {
        const T x = a[i] * scale;
        sc += x * x;
    }
    return std::ldexp(std::sqrt(sc), e);
}

// The larger of a and b, NaN when either is NaN (std::fmax would drop it).
template <class T>
T MaxKeepingNaN(T a, T b) {
    return (b > a || b != b) ? b : a;
}

}  // namespace

template <class T>
T CMLMatrixMN<T>::Norm(mlMatrixNorm norm) const {
    const int rows = this->m_rows, cols = this->m_cols;
    const long n = this->Size();
    if (n == 0) return T(0);
    const T* a = this->m_data;
    switch (static_cast<int>(norm)) {
        case mlNormColumnSum: {
            ml::detail::Buffer<T> sums;
            if (!sums.Reset(static_cast<std::size_t>(cols))) return FrobeniusNorm(a, n);
            for (int j = 0; j < cols; ++j)
                sums[j] = T(0);
            for (int i = 0; i < rows; ++i) {
                const T* row = a + static_cast<long>(i) * cols;
                for (int j = 0; j < cols; ++j)
                    sums[j] += std::fabs(row[j]);
            }
            T best = sums[0];
            for (int j = 1; j < cols; ++j)
                best = MaxKeepingNaN(best, sums[j]);
            return best;
        }
        case mlNormRowSum: {
            T best = T(0);
            for (int i = 0; i < rows; ++i) {
                const T* row = a + static_cast<long>(i) * cols;
                T sum = T(0);
                for (int j = 0; j < cols; ++j)
                    sum += std::fabs(row[j]);
                best = i == 0 ? sum : MaxKeepingNaN(best, sum);
            }
            return best;
        }
        case mlNormSpectral: {
            const int k = rows < cols ? rows : cols;
            ml::detail::Buffer<T> s;
            if (s.Reset(static_cast<std::size_t>(k)) &&
                ml::detail::Svd<T>(rows, cols, a, cols, 1, s.Get(), nullptr, 0, 0, nullptr, 0, 0,
                                   T(0))) {
                return s[0];
            }
            return FrobeniusNorm(a, n);
        }
        case mlNormMaxElement: {
            T mx = T(0);
            for (long i = 0; i < n; ++i)
                mx = MaxKeepingNaN(mx, std::fabs(a[i]));
            return std::sqrt(static_cast<T>(rows) * static_cast<T>(cols)) * mx;
        }
        default:
            return FrobeniusNorm(a, n);
    }
}

template <class T>
T CMLMatrixMN<T>::InnerProduct(const CMLMatrixMN& b) const {
    const long n = this->Size();
    T sum = T(0);
    for (long i = 0; i < n; ++i)
        sum += this->m_data[i] * b.m_data[i];
    return sum;
}

template <class T>
T CMLMatrixMN<T>::CorrelationCoefficient(const CMLMatrixMN& b) const {
    const long n = this->Size();
    if (n == 0) return T(0);
    T ma = T(0), mb = T(0);
    for (long i = 0; i < n; ++i) {
        ma += this->m_data[i];
        mb += b.m_data[i];
    }
    ma /= static_cast<T>(n);
    mb /= static_cast<T>(n);
    T sab = T(0), saa = T(0), sbb = T(0);
    for (long i = 0; i < n; ++i) {
        const T da = this->m_data[i] - ma, db = b.m_data[i] - mb;
        sab += da * db;
        saa += da * da;
        sbb += db * db;
    }
    const T denom = std::sqrt(saa) * std::sqrt(sbb);
    if (!(denom >= mlDefaultPrecision<T>)) return T(0);
    return sab / denom;
}

// ---------------------------------------------------------------------------------------------
// Free comparisons

template <class T>
int mlAreAlmostEqual(const CMLBaseMatrix<T>& a, const CMLBaseMatrix<T>& b,
                     ml::detail::non_deduced_t<T> precision) {
    if (a.RowsNb() != b.RowsNb() || a.ColsNb() != b.ColsNb()) return 0;
    return BlocksWithin(a, 0, 0, b, 0, 0, a.RowsNb(), a.ColsNb(), precision);
}

template <class T>
int mlIsMatrixEqualPartOfMatrix(const CMLBaseMatrix<T>& small, const CMLBaseMatrix<T>& big, int r0,
                                int c0, int r1, int c1, ml::detail::non_deduced_t<T> precision) {
    if (small.RowsNb() != r1 - r0 + 1 || small.ColsNb() != c1 - c0 + 1) return 0;
    if (!InsideBlock(r0, c0, r1, c1, big.RowsNb(), big.ColsNb())) return 0;
    return BlocksWithin(small, 0, 0, big, r0, c0, r1 - r0 + 1, c1 - c0 + 1, precision);
}

template <class T>
int mlArePartsMatricesEqual(const CMLBaseMatrix<T>& a, int ar0, int ac0, int ar1, int ac1,
                            const CMLBaseMatrix<T>& b, int br0, int bc0, int br1, int bc1,
                            ml::detail::non_deduced_t<T> precision) {
    if (ar1 - ar0 != br1 - br0 || ac1 - ac0 != bc1 - bc0) return 0;
    if (!InsideBlock(ar0, ac0, ar1, ac1, a.RowsNb(), a.ColsNb())) return 0;
    if (!InsideBlock(br0, bc0, br1, bc1, b.RowsNb(), b.ColsNb())) return 0;
    return BlocksWithin(a, ar0, ac0, b, br0, bc0, ar1 - ar0 + 1, ac1 - ac0 + 1, precision);
}

#define ML_MATRIX_BASE_DEFINE(T)     \
    template class CMLBaseMatrix<T>; \
    template ML_API std::ostream& operator<< <T>(std::ostream&, const CMLBaseMatrix<T>&);
ML_FOR_EACH_MATRIX_ELEMENT(ML_MATRIX_BASE_DEFINE)
#undef ML_MATRIX_BASE_DEFINE

#define ML_MATRIX_MN_DEFINE(T)                                                                    \
    template class CMLMatrixMN<T>;                                                                \
    template ML_API int mlAreAlmostEqual<T>(const CMLBaseMatrix<T>&, const CMLBaseMatrix<T>&, T); \
    template ML_API int mlIsMatrixEqualPartOfMatrix<T>(                                           \
        const CMLBaseMatrix<T>&, const CMLBaseMatrix<T>&, int, int, int, int, T);                 \
    template ML_API int mlArePartsMatricesEqual<T>(const CMLBaseMatrix<T>&, int, int, int, int,   \
                                                   const CMLBaseMatrix<T>&, int, int, int, int,   \
                                                   T);
ML_FOR_EACH_REAL(ML_MATRIX_MN_DEFINE)
#undef ML_MATRIX_MN_DEFINE
