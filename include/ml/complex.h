// CMLComplex<T>: complex number with a cached trigonometric form (modulus and argument in
// degrees, valid while its flag is set) and a per-object precision used by its own comparisons.
//
// The record is plain: fields in the order re, im, modulus, argument, precision, flag; no virtual
// functions and no owned memory, so an array of CMLComplex is a plain contiguous array.
//
// Behaviour callers rely on:
//  - Assignment from another complex number does nothing at all while the two are within this
//    object's precision (and the precision itself is never copied by assignment).
//  - Compound assignments (+=, -=, *=, /=) change only the algebraic parts and leave the cache and
//    its flag as they were, so Magn() after `c += 1` on a cached value still returns the old
//    modulus.
//  - Every binary operator returns a fresh value: flag 0 and the default precision.
//  - A division by an almost-zero divisor yields mlBigValue in both parts.
#ifndef ML_COMPLEX_H
#define ML_COMPLEX_H

#include <ml/precision.h>
#include <ml/types.h>

template <class T>
class ML_API CMLComplex {
public:
    // 0 + 0i, flag 0, default precision.
    CMLComplex() = default;
    CMLComplex(T re, T im) : m_re(re), m_im(im) {}
    CMLComplex(T re) : m_re(re) {}  // NOLINT: a real number converts implicitly
    // Copies both parts and the precision; the cache only when the source's flag is set.
    CMLComplex(const CMLComplex& o)
        : m_re(o.m_re),
          m_im(o.m_im),
          m_modulus(o.m_trig ? o.m_modulus : T(0)),
          m_argument(o.m_trig ? o.m_argument : T(0)),
          m_precision(o.m_precision),
          m_trig(o.m_trig ? 1 : 0) {}
    ~CMLComplex() = default;

    // Copies o's parts and cache only when the distance to o exceeds this object's precision;
    // otherwise nothing changes. The precision is never copied.
    CMLComplex& operator=(const CMLComplex& o);
    // Becomes x + 0i with the trigonometric form set (modulus |x|, argument 0 or 180, flag 1),
    // unless the value already is exactly x with an imaginary part within P.
    CMLComplex& operator=(const T& x);

    // Sets the algebraic form; the cache is cleared, the precision kept.
    void Set(T re, T im) {
        m_re = re;
        m_im = im;
        m_modulus = T(0);
        m_argument = T(0);
        m_trig = 0;
    }
    // Stores the modulus as given and the angle reduced to [0, 360) (flag 1), and derives the
    // algebraic parts from the angle reduced to [-pi, pi) in radians.
    void SetInTrigForm(T modulus, T angleInDegrees);
    void SetPrecision(T precision) { m_precision = precision; }
    T GetPrecision() const { return m_precision; }

    T Real() const { return m_re; }
    T Imag() const { return m_im; }
    int IsTrigCalculated() const { return m_trig; }
    // Tests against P of T, not against the object's precision.
    int IsReal() const { return mlIsAlmostZero(m_im) ? 1 : 0; }
    int IsImag() const { return mlIsAlmostZero(m_re) ? 1 : 0; }

    // Arithmetic: each result is a fresh value (flag 0, default precision).
    CMLComplex operator-() const { return CMLComplex(-m_re, -m_im); }
    CMLComplex operator+(const CMLComplex& b) const { return CMLComplex(m_re + b.m_re, m_im + b.m_im); }
    CMLComplex operator-(const CMLComplex& b) const { return CMLComplex(m_re - b.m_re, m_im - b.m_im); }
    CMLComplex operator*(const CMLComplex& b) const {
        return CMLComplex(m_re * b.m_re - m_im * b.m_im, m_re * b.m_im + m_im * b.m_re);
    }
    // (mlBigValue, mlBigValue) when |b|^2 < P (the squared modulus is compared with P itself).
    CMLComplex operator/(const CMLComplex& b) const {
        const T s = b.DivisorSquare();
        if (s < mlDefaultPrecision<T>) return CMLComplex(mlBigValue<T>, mlBigValue<T>);
        return CMLComplex((m_re * b.m_re + m_im * b.m_im) / s, (m_im * b.m_re - m_re * b.m_im) / s);
    }
    CMLComplex operator+(T x) const { return CMLComplex(m_re + x, m_im); }
    CMLComplex operator-(T x) const { return CMLComplex(m_re - x, m_im); }
    CMLComplex operator*(T x) const { return CMLComplex(m_re * x, m_im * x); }
    // (mlBigValue, mlBigValue) when -P <= x <= P.
    CMLComplex operator/(T x) const {
        if (mlIsAlmostZero(x)) return CMLComplex(mlBigValue<T>, mlBigValue<T>);
        return CMLComplex(m_re / x, m_im / x);
    }

    // Compound assignments: algebraic parts only, the cache is left untouched.
    CMLComplex& operator+=(const CMLComplex& b) {
        m_re += b.m_re;
        m_im += b.m_im;
        return *this;
    }
    CMLComplex& operator-=(const CMLComplex& b) {
        m_re -= b.m_re;
        m_im -= b.m_im;
        return *this;
    }
    CMLComplex& operator*=(const CMLComplex& b) {
        const T re = m_re * b.m_re - m_im * b.m_im;
        m_im = m_re * b.m_im + m_im * b.m_re;
        m_re = re;
        return *this;
    }
    // Both parts become mlBigValue when |b|^2 < P.
    CMLComplex& operator/=(const CMLComplex& b) {
        const T s = b.DivisorSquare();
        if (s < mlDefaultPrecision<T>) {
            m_re = m_im = mlBigValue<T>;
        } else {
            const T re = (m_re * b.m_re + m_im * b.m_im) / s;
            m_im = (m_im * b.m_re - m_re * b.m_im) / s;
            m_re = re;
        }
        return *this;
    }
    CMLComplex& operator+=(T x) {
        m_re += x;
        return *this;
    }
    CMLComplex& operator-=(T x) {
        m_re -= x;
        return *this;
    }
    CMLComplex& operator*=(T x) {
        m_re *= x;
        m_im *= x;
        return *this;
    }
    // Both parts become mlBigValue when |x| < P (strict, unlike the binary form).
    CMLComplex& operator/=(T x) {
        if (std::fabs(x) < mlDefaultPrecision<T>) {
            m_re = m_im = mlBigValue<T>;
        } else {
            m_re /= x;
            m_im /= x;
        }
        return *this;
    }

    // 1 if the guarded distance is below this object's precision (strict).
    int operator==(const CMLComplex& b) const { return DistanceTo(b) < m_precision ? 1 : 0; }
    // 1 if the guarded distance exceeds this object's precision (strict): at equality both
    // operators return 0.
    int operator!=(const CMLComplex& b) const { return m_precision < DistanceTo(b) ? 1 : 0; }

    // The cached modulus when the flag is set; otherwise computed (and not cached), 0 below this
    // object's precision squared or when the squared modulus is below P.
    T Magn() const {
        if (m_trig) return m_modulus;
        const T s = m_re * m_re + m_im * m_im;
        if (m_precision * m_precision > s) return T(0);
        if (std::fabs(s) < mlDefaultPrecision<T>) return T(0);
        return std::sqrt(s);
    }
    T SquareMagn() const { return m_trig ? m_modulus * m_modulus : m_re * m_re + m_im * m_im; }
    // The cached argument, or one computed in [0, 360); 0 for a modulus within P.
    T AngleInDegrees() const;
    // Cached: the argument in radians reduced to [-pi, pi). Uncached: computed in [0, 2pi). The two
    // ranges differ for the same number; callers have always seen them so.
    T AngleInRadians() const;
    // Fills the cache from the algebraic parts (modulus and argument 0 when |z|^2 is within P) and
    // sets the flag.
    void CalculateTrigonForm();
    // Recomputes the algebraic parts from the cache; the flag is not changed.
    void CalculateAlgebrForm();

    CMLComplex Conjugate() const { return CMLComplex(m_re, -m_im); }
    // (mlBigValue, mlBigValue) when |z|^2 < P.
    CMLComplex Invert() const {
        const T s = DivisorSquare();
        if (s < mlDefaultPrecision<T>) return CMLComplex(mlBigValue<T>, mlBigValue<T>);
        return CMLComplex(m_re / s, -m_im / s);
    }
    CMLComplex Round() const { return CMLComplex(mlRound(m_re), mlRound(m_im)); }
    CMLComplex Ceil() const { return CMLComplex(mlCeil(m_re), mlCeil(m_im)); }
    CMLComplex Floor() const { return CMLComplex(mlFloor(m_re), mlFloor(m_im)); }

    // this^n in trigonometric form (flag set). Fills this object's cache first. Zero for a modulus
    // below P; a negative power of a modulus whose |n|-th power is below P gives the largest finite
    // T (for double the true double maximum, not mlBigValue).
    CMLComplex Power(int n);
    // Writes the n complex n-th roots into out[0..n-1] (flags set, precision fields untouched).
    // Returns 0 for a modulus below P (nothing written), else 1; n <= 0 writes nothing.
    int Roots(int n, CMLComplex* out);

private:
    // |b|^2 as the divisions use it: from the cache when it is valid.
    T DivisorSquare() const { return m_trig ? m_modulus * m_modulus : m_re * m_re + m_im * m_im; }
    T DistanceTo(const CMLComplex& b) const {
        const T dr = m_re - b.m_re, di = m_im - b.m_im;
        return mlSafeNorm(dr * dr + di * di);
    }

    T m_re = T(0);
    T m_im = T(0);
    T m_modulus = T(0);
    T m_argument = T(0);  // degrees, in [0, 360) wherever the library sets it
    T m_precision = mlDefaultPrecision<T>;
    int m_trig = 0;
};

// mlSafeNorm(re^2 + im^2) from the algebraic parts; ignores the cache and the precision.
template <class T>
ML_API T mlAbs(const CMLComplex<T>& c);

// The largest or smallest Magn() of the operands (each with its own cache and precision).
template <class T>
ML_API T mlAbsMax(CMLComplex<T> a, CMLComplex<T> b);
template <class T>
ML_API T mlAbsMax(CMLComplex<T> a, CMLComplex<T> b, CMLComplex<T> c);
template <class T>
ML_API T mlAbsMin(CMLComplex<T> a, CMLComplex<T> b);
template <class T>
ML_API T mlAbsMin(CMLComplex<T> a, CMLComplex<T> b, CMLComplex<T> c);

// Smallest (largest) Magn() over a[0..n-1] and its index; the first extreme wins. a[0] is read
// even when n <= 0.
template <class T>
ML_API void mlAbsMinInArray(int n, const CMLComplex<T>* a, T& value, int& index);
template <class T>
ML_API void mlAbsMaxInArray(int n, const CMLComplex<T>* a, T& value, int& index);

// 1 if the guarded distance of a and b is below P (strict). Distances under sqrt(P) are always 0.
template <class T>
ML_API int mlAreAlmostEqual(const CMLComplex<T>& a, const CMLComplex<T>& b);
// The same with the caller's precision in the final comparison only.
template <class T>
ML_API int mlAreAlmostEqual(const CMLComplex<T>& a, const CMLComplex<T>& b,
                            ml::detail::non_deduced_t<T> precision);
// 1 if the modulus (cached, or computed as Magn() does) is below P, or below the caller's precision.
template <class T>
ML_API int mlIsAlmostZero(const CMLComplex<T>& c);
template <class T>
ML_API int mlIsAlmostZero(const CMLComplex<T>& c, ml::detail::non_deduced_t<T> precision);

#define ML_COMPLEX_EXTERN(T)                                                                   \
    extern template class CMLComplex<T>;                                                       \
    extern template ML_API T mlAbs<T>(const CMLComplex<T>&);                                   \
    extern template ML_API T mlAbsMax<T>(CMLComplex<T>, CMLComplex<T>);                        \
    extern template ML_API T mlAbsMax<T>(CMLComplex<T>, CMLComplex<T>, CMLComplex<T>);         \
    extern template ML_API T mlAbsMin<T>(CMLComplex<T>, CMLComplex<T>);                        \
    extern template ML_API T mlAbsMin<T>(CMLComplex<T>, CMLComplex<T>, CMLComplex<T>);         \
    extern template ML_API void mlAbsMinInArray<T>(int, const CMLComplex<T>*, T&, int&);       \
    extern template ML_API void mlAbsMaxInArray<T>(int, const CMLComplex<T>*, T&, int&);       \
    extern template ML_API int mlAreAlmostEqual<T>(const CMLComplex<T>&, const CMLComplex<T>&); \
    extern template ML_API int mlAreAlmostEqual<T>(const CMLComplex<T>&, const CMLComplex<T>&, \
                                                   T);                                         \
    extern template ML_API int mlIsAlmostZero<T>(const CMLComplex<T>&);                        \
    extern template ML_API int mlIsAlmostZero<T>(const CMLComplex<T>&, T);
ML_FOR_EACH_REAL(ML_COMPLEX_EXTERN)
#undef ML_COMPLEX_EXTERN

#endif  // ML_COMPLEX_H
