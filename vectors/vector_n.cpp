#include <ml/vector_n.h>

#include <cmath>
#include <cstring>
#include <new>
#include <type_traits>

namespace {

// Number of interleaved partial sums in the real reductions: independent accumulators the
// compiler maps onto vector lanes. The sum equals the sequential one up to rounding.
constexpr int kLanes = 8;

template <class T>
constexpr bool kIsReal = std::is_floating_point_v<T>;

// Elements copied byte for byte (all but the complex numbers, whose copy constructor decides
// what of the cache it takes).
template <class T>
constexpr bool kIsPlain = std::is_trivially_copyable_v<T>;

// Stores an exact copy of v into dst. Complex numbers are re-constructed rather than assigned,
// because their assignment does nothing while the two values are within the target's precision.
template <class T>
inline void Put(T& dst, const T& v) {
    if constexpr (kIsPlain<T>) {
        dst = v;
    } else {
        static_assert(std::is_trivially_destructible_v<T>);
        ::new (static_cast<void*>(&dst)) T(v);
    }
}

template <class T>
void CopyElements(T* dst, const T* src, int n) {
    if (n < 1) return;
    if constexpr (kIsPlain<T>) {
        std::memcpy(dst, src, static_cast<std::size_t>(n) * sizeof(T));
    } else {
        for (int i = 0; i < n; ++i) Put(dst[i], src[i]);
    }
}

template <class T>
void FillElements(T* dst, const T& v, int n) {
    for (int i = 0; i < n; ++i) Put(dst[i], v);
}

// Arrays of n elements. Value-initialised: zeros (0 + 0i for complex). Raw: left for the
// caller to write in full.
template <class T>
T* NewZeroed(int n) {
    return n > 0 ? new T[n]() : nullptr;
}
template <class T>
T* NewRaw(int n) {
    return n > 0 ? new T[n] : nullptr;
}

// Sum of term(i) over i < n in kLanes interleaved partial sums, added up in lane order, then the
// tail in sequence.
template <class T, class Term>
T LaneSum(int n, Term term) {
    T acc[kLanes] = {};
    int i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (int l = 0; l < kLanes; ++l) acc[l] += term(i + l);
    T s = T(0);
    for (int l = 0; l < kLanes; ++l) s += acc[l];
    for (; i < n; ++i) s += term(i);
    return s;
}

// Sum of a[i] * b[i], i < n, without conjugation.
template <class T>
T DotRange(const T* a, const T* b, int n) {
    if constexpr (kIsReal<T>) {
        return LaneSum<T>(n, [a, b](int i) { return a[i] * b[i]; });
    } else if constexpr (std::is_integral_v<T>) {
        // Wrapping arithmetic: an overflowing int dot product is defined, not undefined.
        using U = std::make_unsigned_t<T>;
        U s = 0;
        for (int i = 0; i < n; ++i) s += static_cast<U>(a[i]) * static_cast<U>(b[i]);
        return static_cast<T>(s);
    } else {
        T s;
        for (int i = 0; i < n; ++i) s += a[i] * b[i];
        return s;
    }
}

template <class T>
T SquareSum(const T* a, int n) {
    return LaneSum<T>(n, [a](int i) { return a[i] * a[i]; });
}

template <class T>
T SquareDistance(const T* a, const T* b, int n) {
    return LaneSum<T>(n, [a, b](int i) {
        const T d = a[i] - b[i];
        return d * d;
    });
}

// Index of the first element (or absolute value) that no later one beats; 0 for n < 2.
template <class T, class Beats>
int ExtremeIndex(const T* a, int n, int useAbs, Beats beats) {
    if (n < 2) return 0;
    int best = 0;
    T m = useAbs ? std::fabs(a[0]) : a[0];
    for (int i = 1; i < n; ++i) {
        const T v = useAbs ? std::fabs(a[i]) : a[i];
        if (beats(v, m)) {
            m = v;
            best = i;
        }
    }
    return best;
}

// Element-wise kernels writing a fresh result r (which never aliases the operands).
template <class T>
void AddTo(T* __restrict r, const T* a, const T* b, int n) {
    for (int i = 0; i < n; ++i) Put(r[i], a[i] + b[i]);
}
template <class T>
void SubTo(T* __restrict r, const T* a, const T* b, int n) {
    for (int i = 0; i < n; ++i) Put(r[i], a[i] - b[i]);
}
template <class T>
void MulTo(T* __restrict r, const T* a, const T& x, int n) {
    for (int i = 0; i < n; ++i) Put(r[i], a[i] * x);
}
template <class T>
void DivTo(T* __restrict r, const T* a, const T& x, int n) {
    for (int i = 0; i < n; ++i) Put(r[i], a[i] / x);
}
template <class T>
void NegTo(T* __restrict r, const T* a, int n) {
    for (int i = 0; i < n; ++i) Put(r[i], -a[i]);
}

// Whether an element pair differs for the equality operators.
inline bool Differs(int a, int b) { return a != b; }
template <class T, std::enable_if_t<std::is_floating_point_v<T>, int> = 0>
bool Differs(T a, T b) {
    // A difference of exactly P is equal; a NaN difference is never within P, so NaN differs
    // (the rule of every comparison of the library's vectors and matrices).
    return !(std::fabs(a - b) <= mlDefaultPrecision<T>);
}
template <class T>
bool Differs(const CMLComplex<T>& a, const CMLComplex<T>& b) {
    return mlAbs(a - b) != T(0);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// CMLBaseVector

template <class T>
CMLBaseVector<T>::CMLBaseVector(int n) : m_dim(n > 0 ? n : 0), m_data(NewZeroed<T>(n)) {}

template <class T>
CMLBaseVector<T>::CMLBaseVector(int n, T value) : m_dim(n > 0 ? n : 0), m_data(NewRaw<T>(n)) {
    FillElements(m_data, value, m_dim);
}

template <class T>
CMLBaseVector<T>::CMLBaseVector(int n, const T* src) : m_dim(n > 0 ? n : 0), m_data(NewRaw<T>(n)) {
    CopyElements(m_data, src, m_dim);
}

template <class T>
CMLBaseVector<T>::CMLBaseVector(const CMLBaseVector& o) : m_dim(o.m_dim), m_data(NewRaw<T>(o.m_dim)) {
    CopyElements(m_data, o.m_data, m_dim);
}

template <class T>
CMLBaseVector<T>::CMLBaseVector(int n, ml::detail::uninitialized_t)
    : m_dim(n > 0 ? n : 0), m_data(NewRaw<T>(n)) {}

template <class T>
CMLBaseVector<T>::~CMLBaseVector() {
    delete[] m_data;
    m_data = nullptr;
}

template <class T>
CMLBaseVector<T>& CMLBaseVector<T>::operator=(const CMLBaseVector& o) {
    if (&o == this || m_dim < 1) return *this;
    CopyElements(m_data, o.m_data, m_dim);
    return *this;
}

template <class T>
void CMLBaseVector<T>::SetDimension(int n) {
    // An empty vector holds no array, so nothing is lost when it is resized later.
    delete[] m_data;
    m_dim = n > 0 ? n : 0;
    m_data = NewZeroed<T>(m_dim);
}

template <class T>
void CMLBaseVector<T>::Fill(const T* src) {
    CopyElements(m_data, src, m_dim);
}

template <class T>
void CMLBaseVector<T>::FillPart(const T* src, int start, int count) {
    const int k = m_dim - start < count ? m_dim - start : count;
    if (k >= 1) CopyElements(m_data + start, src, k);
}

template <class T>
void CMLBaseVector<T>::Dump(T* dst) const {
    CopyElements(dst, m_data, m_dim);
}

template <class T>
void CMLBaseVector<T>::DumpPart(int start, int count, T* dst) const {
    const int k = m_dim - start < count ? m_dim - start : count;
    if (k >= 1) CopyElements(dst, m_data + start, k);
}

template <class T>
void CMLBaseVector<T>::SetToZero() {
    if constexpr (kIsPlain<T>) {
        for (int i = 0; i < m_dim; ++i) m_data[i] = T(0);
    } else {
        FillElements(m_data, T(), m_dim);
    }
}

template <class T>
CMLBaseVector<T> CMLBaseVector<T>::operator*(T x) const {
    CMLBaseVector r(m_dim, ml::detail::uninitialized_t{});
    MulTo(r.m_data, m_data, x, m_dim);
    return r;
}

template <class T>
CMLBaseVector<T> CMLBaseVector<T>::operator/(T x) const {
    CMLBaseVector r(m_dim, ml::detail::uninitialized_t{});
    DivTo(r.m_data, m_data, x, m_dim);
    return r;
}

template <class T>
CMLBaseVector<T> CMLBaseVector<T>::operator+(const CMLBaseVector& b) const {
    CMLBaseVector r(m_dim, ml::detail::uninitialized_t{});
    AddTo(r.m_data, m_data, b.m_data, m_dim);
    return r;
}

template <class T>
CMLBaseVector<T> CMLBaseVector<T>::operator-(const CMLBaseVector& b) const {
    CMLBaseVector r(m_dim, ml::detail::uninitialized_t{});
    SubTo(r.m_data, m_data, b.m_data, m_dim);
    return r;
}

template <class T>
CMLBaseVector<T>& CMLBaseVector<T>::operator*=(const T& x) {
    Mul(x);
    return *this;
}

template <class T>
CMLBaseVector<T>& CMLBaseVector<T>::operator/=(const T& x) {
    Div(x);
    return *this;
}

template <class T>
CMLBaseVector<T>& CMLBaseVector<T>::operator+=(const CMLBaseVector& b) {
    Add(b);
    return *this;
}

template <class T>
CMLBaseVector<T>& CMLBaseVector<T>::operator-=(const CMLBaseVector& b) {
    Sub(b);
    return *this;
}

template <class T>
void CMLBaseVector<T>::Mul(T x) {
    for (int i = 0; i < m_dim; ++i) m_data[i] *= x;
}

template <class T>
void CMLBaseVector<T>::Div(T x) {
    for (int i = 0; i < m_dim; ++i) m_data[i] /= x;
}

template <class T>
void CMLBaseVector<T>::Add(const CMLBaseVector& b) {
    const T* s = b.m_data;
    for (int i = 0; i < m_dim; ++i) m_data[i] += s[i];
}

template <class T>
void CMLBaseVector<T>::Sub(const CMLBaseVector& b) {
    const T* s = b.m_data;
    for (int i = 0; i < m_dim; ++i) m_data[i] -= s[i];
}

template <class T>
CMLBaseVector<T> CMLBaseVector<T>::Negate() const {
    CMLBaseVector r(m_dim, ml::detail::uninitialized_t{});
    NegTo(r.m_data, m_data, m_dim);
    return r;
}

template <class T>
int CMLBaseVector<T>::operator==(const CMLBaseVector& b) const {
    if (m_dim != b.m_dim) return 0;
    for (int i = 0; i < m_dim; ++i)
        if (Differs(m_data[i], b.m_data[i])) return 0;
    return 1;
}

template <class T>
int CMLBaseVector<T>::operator!=(const CMLBaseVector& b) const {
    return *this == b ? 0 : 1;
}

template <class T>
T CMLBaseVector<T>::Dot(const CMLBaseVector& b) const {
    return DotRange(m_data, b.m_data, m_dim);
}

template <class T>
T CMLBaseVector<T>::DotForPart(int first, int last, const CMLBaseVector& b) const {
    if (first > last) return T(0);
    return DotRange(m_data + first, b.m_data + first, last - first + 1);
}

template <class T>
void CMLBaseVector<T>::ReplacePart(int dstStart, int srcStart, int count, const CMLBaseVector& src) {
    if (count < 1) return;
    if (&src == this) {
        // Overlapping ranges of one array: copy in the direction that reads before it writes.
        T* d = m_data + dstStart;
        const T* s = m_data + srcStart;
        if (d < s) {
            for (int k = 0; k < count; ++k) Put(d[k], T(s[k]));
        } else {
            for (int k = count - 1; k >= 0; --k) Put(d[k], T(s[k]));
        }
        return;
    }
    CopyElements(m_data + dstStart, src.m_data + srcStart, count);
}

// ---------------------------------------------------------------------------------------------
// CMLVectorN

template <class T>
CMLVectorN<T>::~CMLVectorN() = default;

template <class T>
CMLVectorN<T>& CMLVectorN<T>::operator=(const CMLBaseVector<T>& o) {
    CMLBaseVector<T>::operator=(o);
    return *this;
}

template <class T>
CMLVectorN<T>& CMLVectorN<T>::operator=(const CMLVectorN& o) {
    CMLBaseVector<T>::operator=(o);
    return *this;
}

template <class T>
T CMLVectorN<T>::Length() const {
    return mlSafeNorm(SquareSum(this->m_data, this->m_dim));
}

template <class T>
T CMLVectorN<T>::NormEuclidean() const {
    return Length();
}

template <class T>
T CMLVectorN<T>::SquareLength() const {
    return SquareSum(this->m_data, this->m_dim);
}

template <class T>
T CMLVectorN<T>::Norm1() const {
    const T* a = this->m_data;
    return LaneSum<T>(this->m_dim, [a](int i) { return std::fabs(a[i]); });
}

template <class T>
T CMLVectorN<T>::NormInf() const {
    T m = T(0);
    for (int i = 0; i < this->m_dim; ++i) {
        const T v = std::fabs(this->m_data[i]);
        if (v > m) m = v;
    }
    return m;
}

template <class T>
int CMLVectorN<T>::Normalize() {
    const T len = Length();
    if (len < mlDefaultPrecision<T>) return 0;
    this->Mul(T(1) / len);
    return 1;
}

template <class T>
T CMLVectorN<T>::GetMaxComponent(int useAbs) const {
    if (this->m_dim < 1) return T(0);
    const T v = this->m_data[GetIndexOfMaxComponent(useAbs)];
    return useAbs ? std::fabs(v) : v;
}

template <class T>
T CMLVectorN<T>::GetMinComponent(int useAbs) const {
    if (this->m_dim < 1) return T(0);
    const T v = this->m_data[GetIndexOfMinComponent(useAbs)];
    return useAbs ? std::fabs(v) : v;
}

template <class T>
int CMLVectorN<T>::GetIndexOfMaxComponent(int useAbs) const {
    return ExtremeIndex(this->m_data, this->m_dim, useAbs, [](T v, T m) { return v > m; });
}

template <class T>
int CMLVectorN<T>::GetIndexOfMinComponent(int useAbs) const {
    return ExtremeIndex(this->m_data, this->m_dim, useAbs, [](T v, T m) { return v < m; });
}

template <class T>
int CMLVectorN<T>::IsAlmostZero(T precision) const {
    const T len = Length();
    return (-precision <= len && len <= precision) ? 1 : 0;
}

template <class T>
int CMLVectorN<T>::IsAlmostUnit(T precision) const {
    const T d = Length() - T(1);
    return (-precision <= d && d <= precision) ? 1 : 0;
}

template <class T>
void CMLVectorN<T>::AnnulateSmallComponents(T precision) {
    T* a = this->m_data;
    for (int i = 0; i < this->m_dim; ++i)
        if (std::fabs(a[i]) < precision) a[i] = T(0);
}

template <class T>
void CMLVectorN<T>::SetToConstant(T value) {
    T* a = this->m_data;
    for (int i = 0; i < this->m_dim; ++i) a[i] = value;
}

template <class T>
CMLVectorN<T> CMLVectorN<T>::operator*(T x) const {
    CMLVectorN r(this->m_dim, ml::detail::uninitialized_t{});
    MulTo(r.m_data, this->m_data, x, this->m_dim);
    return r;
}

template <class T>
CMLVectorN<T> CMLVectorN<T>::operator/(T x) const {
    CMLVectorN r(this->m_dim, ml::detail::uninitialized_t{});
    DivTo(r.m_data, this->m_data, x, this->m_dim);
    return r;
}

template <class T>
CMLVectorN<T> CMLVectorN<T>::operator+(const CMLBaseVector<T>& b) const {
    CMLVectorN r(this->m_dim, ml::detail::uninitialized_t{});
    AddTo(r.m_data, this->m_data, this->DataOf(b), this->m_dim);
    return r;
}

template <class T>
CMLVectorN<T> CMLVectorN<T>::operator-(const CMLBaseVector<T>& b) const {
    CMLVectorN r(this->m_dim, ml::detail::uninitialized_t{});
    SubTo(r.m_data, this->m_data, this->DataOf(b), this->m_dim);
    return r;
}

template <class T>
CMLVectorN<T> CMLVectorN<T>::Negate() const {
    CMLVectorN r(this->m_dim, ml::detail::uninitialized_t{});
    NegTo(r.m_data, this->m_data, this->m_dim);
    return r;
}

// ---------------------------------------------------------------------------------------------
// Free functions

template <class T>
T mlPartialDotProduct(int startA, int startB, int count, const CMLBaseVector<T>& a,
                      const CMLBaseVector<T>& b) {
    if (count < 1) return T(0);
    return DotRange(&a[startA], &b[startB], count);
}

template <class T>
CMLBaseVector<T> mlFindMidpoint(const CMLBaseVector<T>& a, const CMLBaseVector<T>& b) {
    CMLBaseVector<T> r(a.Dim());
    for (int i = 0; i < a.Dim(); ++i) r[i] = (a[i] + b[i]) * T(0.5);
    return r;
}

template <class T>
T mlSquareDist(const CMLVectorN<T>& a, const CMLVectorN<T>& b) {
    if (a.Dim() < 1) return T(0);
    return SquareDistance(&a[0], &b[0], a.Dim());
}

template <class T>
T mlDist(const CMLVectorN<T>& a, const CMLVectorN<T>& b) {
    return mlSafeNorm(mlSquareDist(a, b));
}

template <class T>
int mlAreAlmostEqual(const CMLVectorN<T>& a, const CMLVectorN<T>& b) {
    return mlAreAlmostEqual(a, b, mlDefaultPrecision<T>);
}

template <class T>
int mlAreAlmostEqual(const CMLVectorN<T>& a, const CMLVectorN<T>& b,
                     ml::detail::non_deduced_t<T> precision) {
    const T len = mlDist(a, b);
    return (-precision <= len && len <= precision) ? 1 : 0;
}

template <class T>
int mlAreOrthogonal(const CMLVectorN<T>& a, const CMLVectorN<T>& b,
                    ml::detail::non_deduced_t<T> precision) {
    const T m = a.Length() * b.Length();
    if (precision > m) return 1;
    return std::fabs(a.Dot(b)) < precision * m ? 1 : 0;
}

#define ML_VECTOR_N_BASE_DEFINE(T) template class CMLBaseVector<T>;
ML_FOR_EACH_VECTOR_N_ELEMENT(ML_VECTOR_N_BASE_DEFINE)
#undef ML_VECTOR_N_BASE_DEFINE

#define ML_VECTOR_N_DOT_DEFINE(T)                                                          \
    template ML_API T mlPartialDotProduct<T>(int, int, int, const CMLBaseVector<T>&, \
                                             const CMLBaseVector<T>&);
ML_FOR_EACH_VECTOR_N_DOT(ML_VECTOR_N_DOT_DEFINE)
#undef ML_VECTOR_N_DOT_DEFINE

#define ML_VECTOR_N_DEFINE(T)                                                                \
    template class CMLVectorN<T>;                                                            \
    template ML_API CMLBaseVector<T> mlFindMidpoint<T>(const CMLBaseVector<T>&,              \
                                                       const CMLBaseVector<T>&);             \
    template ML_API T mlSquareDist<T>(const CMLVectorN<T>&, const CMLVectorN<T>&);           \
    template ML_API T mlDist<T>(const CMLVectorN<T>&, const CMLVectorN<T>&);                 \
    template ML_API int mlAreAlmostEqual<T>(const CMLVectorN<T>&, const CMLVectorN<T>&);     \
    template ML_API int mlAreAlmostEqual<T>(const CMLVectorN<T>&, const CMLVectorN<T>&, T);  \
    template ML_API int mlAreOrthogonal<T>(const CMLVectorN<T>&, const CMLVectorN<T>&, T);
ML_FOR_EACH_REAL(ML_VECTOR_N_DEFINE)
#undef ML_VECTOR_N_DEFINE
