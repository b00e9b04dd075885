// CMLBaseVector<T>: vector of run-time dimension owning a heap array, and CMLVectorN<T>: the real
// N-dimensional vector built on it, with norms, normalisation and extreme-component queries.
//
// Behaviour callers rely on:
//  - Assignment never resizes the target. It copies the first Dim() elements of the source and
//    does nothing at all when the target is empty or is the source itself; callers size the
//    target first with SetDimension.
//  - Binary operations do not compare dimensions: loops run over the left (or this) operand, and
//    the other operand must have at least as many elements.
//  - Copies of elements are exact copies of the element (for complex elements: value, cached
//    trigonometric form and precision), never element assignments.
//  - Equality is component-wise with the absolute tolerance of the element type (a difference of
//    exactly P is still equal); mlAreAlmostEqual instead tests the guarded norm of the difference.
//  - Dot products of complex vectors are plain products: neither factor is conjugated.
//  - Only constructors, SetDimension and operators returning a new vector allocate. A dimension
//    below 1 means an empty vector without storage; a negative dimension counts as 0.
//
// The array is allocated with array new; an allocation failure is left to the allocator.
#ifndef ML_VECTOR_N_H
#define ML_VECTOR_N_H

#include <ml/complex.h>
#include <ml/precision.h>
#include <ml/types.h>

// Element types of CMLBaseVector.
#define ML_FOR_EACH_VECTOR_N_ELEMENT(X) \
    X(int) X(float) X(double) X(CMLComplex<float>) X(CMLComplex<double>)
// Element types of mlPartialDotProduct.
#define ML_FOR_EACH_VECTOR_N_DOT(X) X(float) X(double) X(CMLComplex<float>) X(CMLComplex<double>)

namespace ml::detail {
// Selects the constructor that allocates without initialising (for results written in full).
struct uninitialized_t {};
}  // namespace ml::detail

template <class T>
class ML_API CMLBaseVector {
public:
    // Dimension 0, no storage.
    CMLBaseVector() = default;
    // n value-initialised elements (0, or 0 + 0i); no storage when n < 1.
    explicit CMLBaseVector(int n);
    // n elements equal to value.
    CMLBaseVector(int n, T value);
    // n elements copied from src[0..n-1].
    CMLBaseVector(int n, const T* src);
    // Deep copy with the source's dimension.
    CMLBaseVector(const CMLBaseVector& o);
    // Takes over o's array; o is left empty.
    CMLBaseVector(CMLBaseVector&& o) noexcept : m_dim(o.m_dim), m_data(o.m_data) {
        o.m_dim = 0;
        o.m_data = nullptr;
    }
    // Releases the array.
    virtual ~CMLBaseVector();

    // Copies the first Dim() elements of o; nothing when o is this object or Dim() < 1. The
    // dimension never changes. Returns *this.
    virtual CMLBaseVector& operator=(const CMLBaseVector& o);

    // Element i; no bounds check.
    T& operator[](int i) { return m_data[i]; }
    const T& operator[](int i) const { return m_data[i]; }
    // The number of elements.
    int Dim() const { return m_dim; }

    // Replaces the array by n zero elements, also when n equals the old dimension: the old
    // contents are always lost.
    void SetDimension(int n);
    // Copies Dim() elements from src.
    void Fill(const T* src);
    // Copies src[0..k-1] into elements start..start+k-1, k = min(Dim() - start, count); nothing
    // when k < 1.
    void FillPart(const T* src, int start, int count);
    // Copies all elements to dst.
    void Dump(T* dst) const;
    // Copies elements start..start+k-1 to dst[0..k-1], k = min(Dim() - start, count).
    void DumpPart(int start, int count, T* dst) const;
    // Every element becomes zero.
    void SetToZero();

    // New vectors of this dimension. The division is not guarded: a zero divisor gives the
    // element type's own result (IEEE infinities for reals, a trap for int, mlBigValue for complex).
    CMLBaseVector operator*(T x) const;
    CMLBaseVector operator/(T x) const;
    CMLBaseVector operator+(const CMLBaseVector& b) const;
    CMLBaseVector operator-(const CMLBaseVector& b) const;
    // In place over this dimension, with the element type's compound operators; return *this.
    CMLBaseVector& operator*=(const T& x);
    CMLBaseVector& operator/=(const T& x);
    CMLBaseVector& operator+=(const CMLBaseVector& b);
    CMLBaseVector& operator-=(const CMLBaseVector& b);
    // The same four operations in place.
    void Mul(T x);
    void Div(T x);
    void Add(const CMLBaseVector& b);
    void Sub(const CMLBaseVector& b);
    // New vector with every element negated.
    CMLBaseVector Negate() const;

    // 0 if the dimensions differ; 1 if both are empty; otherwise 1 unless a pair differs: by more
    // than P for float and double (a NaN always differs), by any amount for
    // int, by a non-zero mlAbs of the difference for complex elements (by sqrt(P) or more).
    int operator==(const CMLBaseVector& b) const;
    // The exact negation of ==.
    int operator!=(const CMLBaseVector& b) const;

    // Sum of a[i] * b[i] over i < Dim(); 0 for an empty vector. No conjugation.
    T Dot(const CMLBaseVector& b) const;
    // Sum of a[i] * b[i] for first <= i <= last (both included); 0 when first > last.
    T DotForPart(int first, int last, const CMLBaseVector& b) const;
    // this[dstStart + k] = src[srcStart + k] for 0 <= k < count; nothing when count < 1.
    void ReplacePart(int dstStart, int srcStart, int count, const CMLBaseVector& src);

protected:
    // n elements left for the caller to write (class elements are default-constructed).
    CMLBaseVector(int n, ml::detail::uninitialized_t);
    // The array of another vector, for derived classes.
    static const T* DataOf(const CMLBaseVector& v) { return v.m_data; }

    int m_dim = 0;
    T* m_data = nullptr;
};

// The real N-dimensional vector. Constructors, SetDimension, both assignments, == and != behave
// exactly as in CMLBaseVector; the arithmetic operators return CMLVectorN.
template <class T>
class ML_API CMLVectorN : public CMLBaseVector<T> {
public:
    CMLVectorN() = default;
    explicit CMLVectorN(int n) : CMLBaseVector<T>(n) {}
    CMLVectorN(int n, T value) : CMLBaseVector<T>(n, value) {}
    CMLVectorN(int n, const T* src) : CMLBaseVector<T>(n, src) {}
    CMLVectorN(const CMLVectorN& o) : CMLBaseVector<T>(o) {}
    CMLVectorN(CMLVectorN&& o) noexcept : CMLBaseVector<T>(static_cast<CMLBaseVector<T>&&>(o)) {}
    // Deep copy of a base vector (for example the result of a base-class operator).
    CMLVectorN(const CMLBaseVector<T>& o) : CMLBaseVector<T>(o) {}  // NOLINT: implicit on purpose
    CMLVectorN(CMLBaseVector<T>&& o) noexcept  // NOLINT: implicit on purpose
        : CMLBaseVector<T>(static_cast<CMLBaseVector<T>&&>(o)) {}
    ~CMLVectorN() override;

    // Both copy the first Dim() elements and never resize, as in the base class.
    CMLVectorN& operator=(const CMLBaseVector<T>& o) override;
    virtual CMLVectorN& operator=(const CMLVectorN& o);

    // mlSafeNorm of the sum of squares: exactly 0 below sqrt(P).
    T Length() const;
    // Identical to Length().
    T NormEuclidean() const;
    // Sum of squares; 0 for an empty vector.
    T SquareLength() const;
    // Sum of absolute values; 0 for an empty vector.
    T Norm1() const;
    // Largest absolute value; 0 for an empty vector.
    T NormInf() const;
    // Scales by 1 / Length() and returns 1; returns 0 with the vector unchanged when the length
    // is below P.
    int Normalize();

    // Largest element (largest absolute value when useAbs != 0); 0 for an empty vector.
    T GetMaxComponent(int useAbs) const;
    // Smallest element (smallest absolute value when useAbs != 0); 0 for an empty vector.
    T GetMinComponent(int useAbs) const;
    // Index of the first largest element (or absolute value); 0 for dimensions 0 and 1.
    int GetIndexOfMaxComponent(int useAbs) const;
    // Index of the first smallest element (or absolute value); 0 for dimensions 0 and 1.
    int GetIndexOfMinComponent(int useAbs) const;
    // 1 if -precision <= Length() <= precision.
    int IsAlmostZero(T precision = mlDefaultPrecision<T>) const;
    // 1 if -precision <= Length() - 1 <= precision.
    int IsAlmostUnit(T precision = mlDefaultPrecision<T>) const;
    // Every element with |x| < precision (strict) becomes 0.
    void AnnulateSmallComponents(T precision = mlDefaultPrecision<T>);
    // Every element becomes value.
    void SetToConstant(T value);

    // The base-class arithmetic with CMLVectorN results.
    CMLVectorN operator*(T x) const;
    CMLVectorN operator/(T x) const;
    CMLVectorN operator+(const CMLBaseVector<T>& b) const;
    CMLVectorN operator-(const CMLBaseVector<T>& b) const;
    CMLVectorN& operator*=(const T& x) {
        CMLBaseVector<T>::Mul(x);
        return *this;
    }
    CMLVectorN& operator/=(const T& x) {
        CMLBaseVector<T>::Div(x);
        return *this;
    }
    CMLVectorN& operator+=(const CMLBaseVector<T>& b) {
        CMLBaseVector<T>::Add(b);
        return *this;
    }
    CMLVectorN& operator-=(const CMLBaseVector<T>& b) {
        CMLBaseVector<T>::Sub(b);
        return *this;
    }
    CMLVectorN Negate() const;

private:
    CMLVectorN(int n, ml::detail::uninitialized_t u) : CMLBaseVector<T>(n, u) {}
};

// Sum of a[startA + k] * b[startB + k] for 0 <= k < count; 0 (0 + 0i) when count < 1. No
// conjugation.
template <class T>
ML_API T mlPartialDotProduct(int startA, int startB, int count, const CMLBaseVector<T>& a,
                             const CMLBaseVector<T>& b);
// New vector of a's dimension with elements (a[i] + b[i]) * 0.5.
template <class T>
ML_API CMLBaseVector<T> mlFindMidpoint(const CMLBaseVector<T>& a, const CMLBaseVector<T>& b);
// Sum of (a[i] - b[i])^2 over a's dimension.
template <class T>
ML_API T mlSquareDist(const CMLVectorN<T>& a, const CMLVectorN<T>& b);
// mlSafeNorm(mlSquareDist(a, b)).
template <class T>
ML_API T mlDist(const CMLVectorN<T>& a, const CMLVectorN<T>& b);
// 1 if the guarded norm of a - b is within P (both ends included). Distances below sqrt(P) are
// always equal.
template <class T>
ML_API int mlAreAlmostEqual(const CMLVectorN<T>& a, const CMLVectorN<T>& b);
// The same with the caller's precision in the final comparison only.
template <class T>
ML_API int mlAreAlmostEqual(const CMLVectorN<T>& a, const CMLVectorN<T>& b,
                            ml::detail::non_deduced_t<T> precision);
// m = a.Length() * b.Length(). 1 when precision > m (a nearly null vector is orthogonal to
// everything); otherwise 1 when |a . b| < precision * m (a test on the cosine of the angle).
template <class T>
ML_API int mlAreOrthogonal(const CMLVectorN<T>& a, const CMLVectorN<T>& b,
                           ml::detail::non_deduced_t<T> precision = mlDefaultPrecision<T>);

#define ML_VECTOR_N_BASE_EXTERN(T) extern template class CMLBaseVector<T>;
ML_FOR_EACH_VECTOR_N_ELEMENT(ML_VECTOR_N_BASE_EXTERN)
#undef ML_VECTOR_N_BASE_EXTERN

#define ML_VECTOR_N_DOT_EXTERN(T)                                                        \
    extern template ML_API T mlPartialDotProduct<T>(int, int, int, const CMLBaseVector<T>&, \
                                                    const CMLBaseVector<T>&);
ML_FOR_EACH_VECTOR_N_DOT(ML_VECTOR_N_DOT_EXTERN)
#undef ML_VECTOR_N_DOT_EXTERN

#define ML_VECTOR_N_EXTERN(T)                                                                 \
    extern template class CMLVectorN<T>;                                                      \
    extern template ML_API CMLBaseVector<T> mlFindMidpoint<T>(const CMLBaseVector<T>&,        \
                                                              const CMLBaseVector<T>&);       \
    extern template ML_API T mlSquareDist<T>(const CMLVectorN<T>&, const CMLVectorN<T>&);     \
    extern template ML_API T mlDist<T>(const CMLVectorN<T>&, const CMLVectorN<T>&);           \
    extern template ML_API int mlAreAlmostEqual<T>(const CMLVectorN<T>&, const CMLVectorN<T>&); \
    extern template ML_API int mlAreAlmostEqual<T>(const CMLVectorN<T>&, const CMLVectorN<T>&, \
                                                   T);                                        \
    extern template ML_API int mlAreOrthogonal<T>(const CMLVectorN<T>&, const CMLVectorN<T>&, T);
ML_FOR_EACH_REAL(ML_VECTOR_N_EXTERN)
#undef ML_VECTOR_N_EXTERN

#endif  // ML_VECTOR_N_H
