#include <ml/complex.h>

#include <cmath>
#include <limits>

namespace {

// Argument in degrees of re + i*im for a modulus m > P: arccos(re/m), mirrored below the real
// axis. The result lies in [0, 360].
template <class T>
T ArgumentInDegrees(T re, T im, T m) {
    const T a = std::acos(re / m) * mlRadToDeg<T>;
    return im < 0 ? T(360) - a : a;
}

}  // namespace

template <class T>
CMLComplex<T>& CMLComplex<T>::operator=(const CMLComplex& o) {
    if (!(DistanceTo(o) > m_precision)) return *this;
    m_re = o.m_re;
    m_im = o.m_im;
    m_modulus = o.m_trig ? o.m_modulus : T(0);
    m_argument = o.m_trig ? o.m_argument : T(0);
    m_trig = o.m_trig ? 1 : 0;
    return *this;
}

template <class T>
CMLComplex<T>& CMLComplex<T>::operator=(const T& x) {
    if (mlIsAlmostZero(m_im) && m_re == x) return *this;
    m_re = x;
    m_im = T(0);
    m_modulus = std::fabs(x);
    m_argument = x >= 0 ? T(0) : T(180);
    m_trig = 1;
    return *this;
}

template <class T>
void CMLComplex<T>::SetInTrigForm(T modulus, T angleInDegrees) {
    m_modulus = modulus;
    m_argument = mlReduceDegrees(angleInDegrees);
    m_trig = 1;
    CalculateAlgebrForm();
}

template <class T>
T CMLComplex<T>::AngleInDegrees() const {
    if (m_trig) return m_argument;
    const T m = mlSafeSqrt(m_re * m_re + m_im * m_im);
    if (mlIsAlmostZero(m)) return T(0);
    return ArgumentInDegrees(m_re, m_im, m);
}

template <class T>
T CMLComplex<T>::AngleInRadians() const {
    if (m_trig) return mlReduceRadians(m_argument * mlDegToRad<T>);
    const T m = mlSafeSqrt(m_re * m_re + m_im * m_im);
    if (mlIsAlmostZero(m)) return T(0);
    const T a = std::acos(m_re / m);
    return m_im < 0 ? mlTwoPi<T> - a : a;
}

template <class T>
void CMLComplex<T>::CalculateTrigonForm() {
    const T s = m_re * m_re + m_im * m_im;
    if (mlIsAlmostZero(s)) {
        m_modulus = T(0);
        m_argument = T(0);
    } else {
        m_modulus = mlSafeSqrt(s);
        m_argument = ArgumentInDegrees(m_re, m_im, m_modulus);
    }
    m_trig = 1;
}

template <class T>
void CMLComplex<T>::CalculateAlgebrForm() {
    const T theta = mlReduceRadians(m_argument * mlDegToRad<T>);
    m_re = m_modulus * std::cos(theta);
    m_im = m_modulus * std::sin(theta);
}

template <class T>
CMLComplex<T> CMLComplex<T>::Power(int n) {
    CMLComplex w;
    if (!m_trig) CalculateTrigonForm();
    const T m = m_modulus;
    if (m < mlDefaultPrecision<T>) return w;

    const long long k = n < 0 ? -static_cast<long long>(n) : n;
    T r;
    switch (k) {
        case 0: r = T(1); break;
        case 1: r = m; break;
        case 2: r = m * m; break;
        case 3: r = m * m * m; break;
        case 4: r = m * m * m * m; break;
        default:
            r = std::fabs(m) < mlDefaultPrecision<T> ? T(0) : std::pow(m, static_cast<T>(k));
            break;
    }
    if (n < 0) {
        // The true maximum of T here, not mlBigValue: a tiny number to a negative power is as
        // large as the type allows.
        r = std::fabs(r) < mlDefaultPrecision<T> ? std::numeric_limits<T>::max() : T(1) / r;
    }
    w.SetInTrigForm(r, static_cast<T>(n) * m_argument);
    return w;
}

template <class T>
int CMLComplex<T>::Roots(int n, CMLComplex* out) {
    if (!m_trig) CalculateTrigonForm();
    const T m = m_modulus;
    if (m < mlDefaultPrecision<T>) return 0;
    if (n <= 0) return 1;
    const T step = T(360) / static_cast<T>(n);
    const T base = m_argument / static_cast<T>(n);
    const T r = std::pow(m, T(1) / static_cast<T>(n));
    for (int k = 0; k < n; ++k) out[k].SetInTrigForm(r, base + static_cast<T>(k) * step);
    return 1;
}

template <class T>
T mlAbs(const CMLComplex<T>& c) {
    return mlSafeNorm(c.Real() * c.Real() + c.Imag() * c.Imag());
}

template <class T>
T mlAbsMax(CMLComplex<T> a, CMLComplex<T> b) {
    const T ma = a.Magn(), mb = b.Magn();
    return ma > mb ? ma : mb;
}

template <class T>
T mlAbsMax(CMLComplex<T> a, CMLComplex<T> b, CMLComplex<T> c) {
    const T mab = mlAbsMax(a, b), mc = c.Magn();
    return mab > mc ? mab : mc;
}

template <class T>
T mlAbsMin(CMLComplex<T> a, CMLComplex<T> b) {
    const T ma = a.Magn(), mb = b.Magn();
    return ma < mb ? ma : mb;
}

template <class T>
T mlAbsMin(CMLComplex<T> a, CMLComplex<T> b, CMLComplex<T> c) {
    const T mab = mlAbsMin(a, b), mc = c.Magn();
    return mab < mc ? mab : mc;
}

template <class T>
void mlAbsMinInArray(int n, const CMLComplex<T>* a, T& value, int& index) {
    value = a[0].Magn();
    index = 0;
    for (int i = 1; i < n; ++i) {
        const T m = a[i].Magn();
        if (value > m) {
            value = m;
            index = i;
        }
    }
}

template <class T>
void mlAbsMaxInArray(int n, const CMLComplex<T>* a, T& value, int& index) {
    value = a[0].Magn();
    index = 0;
    for (int i = 1; i < n; ++i) {
        const T m = a[i].Magn();
        if (m > value) {
            value = m;
            index = i;
        }
    }
}

template <class T>
int mlAreAlmostEqual(const CMLComplex<T>& a, const CMLComplex<T>& b) {
    return mlAreAlmostEqual(a, b, mlDefaultPrecision<T>);
}

template <class T>
int mlAreAlmostEqual(const CMLComplex<T>& a, const CMLComplex<T>& b,
                     ml::detail::non_deduced_t<T> precision) {
    return mlAbs(a - b) < precision ? 1 : 0;
}

template <class T>
int mlIsAlmostZero(const CMLComplex<T>& c) {
    return mlIsAlmostZero(c, mlDefaultPrecision<T>);
}

template <class T>
int mlIsAlmostZero(const CMLComplex<T>& c, ml::detail::non_deduced_t<T> precision) {
    return c.Magn() < precision ? 1 : 0;
}

#define ML_COMPLEX_DEFINE(T)                                                              \
    template class CMLComplex<T>;                                                         \
    template ML_API T mlAbs<T>(const CMLComplex<T>&);                                     \
    template ML_API T mlAbsMax<T>(CMLComplex<T>, CMLComplex<T>);                          \
    template ML_API T mlAbsMax<T>(CMLComplex<T>, CMLComplex<T>, CMLComplex<T>);           \
    template ML_API T mlAbsMin<T>(CMLComplex<T>, CMLComplex<T>);                          \
    template ML_API T mlAbsMin<T>(CMLComplex<T>, CMLComplex<T>, CMLComplex<T>);           \
    template ML_API void mlAbsMinInArray<T>(int, const CMLComplex<T>*, T&, int&);         \
    template ML_API void mlAbsMaxInArray<T>(int, const CMLComplex<T>*, T&, int&);         \
    template ML_API int mlAreAlmostEqual<T>(const CMLComplex<T>&, const CMLComplex<T>&);  \
    template ML_API int mlAreAlmostEqual<T>(const CMLComplex<T>&, const CMLComplex<T>&, T); \
    template ML_API int mlIsAlmostZero<T>(const CMLComplex<T>&);                          \
    template ML_API int mlIsAlmostZero<T>(const CMLComplex<T>&, T);
ML_FOR_EACH_REAL(ML_COMPLEX_DEFINE)
#undef ML_COMPLEX_DEFINE
