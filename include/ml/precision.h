// The precision rule shared by the whole library, and the scalar helpers every family calls.
//
// Per element type T there are three constants: P = mlDefaultPrecision<T> (1e-7f, 1e-9), its
// square P^2 = mlSquarePrecision<T>, and mlBigValue<T>, the value a result takes when its divisor
// was almost zero. Comparisons are absolute, never relative. The guards inside mlSafeSqrt and
// mlSafeNorm always use the fixed P and P^2, never a caller's precision.
#ifndef ML_PRECISION_H
#define ML_PRECISION_H

#include <ml/types.h>

#include <cmath>
#include <type_traits>

namespace ml::detail {

template <class T>
struct precision_traits;

template <>
struct precision_traits<float> {
    static constexpr float p = 1e-7f;
    static constexpr float p2 = 1e-14f;
    static constexpr float big = 3.4028235e38f;
};

template <>
struct precision_traits<double> {
    static constexpr double p = 1e-9;
    static constexpr double p2 = 1e-18;
    // The largest float widened to double, not the largest double: a result guarded with it
    // still converts to float without overflowing.
    static constexpr double big = 3.4028234663852886e38;
};

template <class T>
using enable_if_real_t = std::enable_if_t<std::is_floating_point_v<T>, int>;

}  // namespace ml::detail

// P: default tolerance of every predicate, guard of every square root and of every division.
template <class T>
inline constexpr T mlDefaultPrecision = ml::detail::precision_traits<T>::p;

// P^2: first guard of a norm computed from a sum of squares.
template <class T>
inline constexpr T mlSquarePrecision = ml::detail::precision_traits<T>::p2;

// Written into each component of a result whose divisor was almost zero.
template <class T>
inline constexpr T mlBigValue = ml::detail::precision_traits<T>::big;

// Angle constants, written as the library uses them.
template <class T>
inline constexpr T mlPi = T(3.141592653589793);
template <class T>
inline constexpr T mlTwoPi = T(6.283185307179586);
template <class T>
inline constexpr T mlRadToDeg = T(57.29577951308232);
template <class T>
inline constexpr T mlDegToRad = T(3.141592653589793 / 180.0);

// 0 if |x| < P, else sqrt(x). Also keeps tiny negative round-off away from the square root.
template <class T>
inline T mlSafeSqrt(T x) {
    return std::fabs(x) < mlDefaultPrecision<T> ? T(0) : std::sqrt(x);
}

// Length from a sum of squares: 0 below P^2, then mlSafeSqrt. Because the second guard compares
// the squared length with P, every length below sqrt(P) comes out as exactly 0.
template <class T>
inline T mlSafeNorm(T sumOfSquares) {
    return sumOfSquares < mlSquarePrecision<T> ? T(0) : mlSafeSqrt(sumOfSquares);
}

// 1 if -precision <= x <= precision (both ends included), else 0.
template <class T, ml::detail::enable_if_real_t<T> = 0>
inline int mlIsAlmostZero(T x, ml::detail::non_deduced_t<T> precision = mlDefaultPrecision<T>) {
    return (-precision <= x && x <= precision) ? 1 : 0;
}

// mlIsAlmostZero(a - b, precision).
template <class T, ml::detail::enable_if_real_t<T> = 0>
inline int mlAreAlmostEqual(T a, T b,
                            ml::detail::non_deduced_t<T> precision = mlDefaultPrecision<T>) {
    return mlIsAlmostZero(a - b, precision);
}

// Floor that forgives round-off: a negative value less than P below an integer floors to that
// integer; positive values floor as usual.
template <class T>
inline T mlFloor(T x) {
    const T t = std::trunc(x);
    if (x < 0 && std::fabs(x - t) >= mlDefaultPrecision<T>) return std::trunc(x - 1);
    return t;
}

// Ceiling that forgives round-off: a positive value less than P above an integer ceils to it.
template <class T>
inline T mlCeil(T x) {
    const T t = std::trunc(x);
    if (x >= 0 && std::fabs(x - t) >= mlDefaultPrecision<T>) return std::trunc(x + 1);
    return t;
}

// Rounds half away from zero.
template <class T>
inline T mlRound(T x) {
    return x < 0 ? std::trunc(x - T(0.5)) : std::trunc(x + T(0.5));
}

// Brings an angle in radians into [-pi, pi): theta - 2*pi*k with k = mlFloor((theta + pi) / 2pi).
template <class T>
inline T mlReduceRadians(T theta) {
    const T k = mlFloor((theta + mlPi<T>) / mlTwoPi<T>);
    return theta - mlTwoPi<T> * k;
}

// Brings an angle in degrees into [0, 360). Negative multiples of 360 map to 360, not to 0:
// callers have always seen -360 come back as 360.
template <class T>
inline T mlReduceDegrees(T a) {
    if (a < 0) return a + (std::trunc(-a / T(360)) + 1) * T(360);
    if (a >= T(360)) return a - std::trunc(a / T(360)) * T(360);
    return a;
}

// Integer power x^n in wrapping 32-bit arithmetic (pow() truncated for |n| > 4). A negative n
// inverts the power by integer division, so the result is 0 unless the power is +-1; the most
// negative power gives 2147483647. A zero power with negative n divides by zero: the platform
// traps (SIGFPE on x86), as it always has.
ML_API int mlPower(int x, int n);

// The angle in [-pi, pi] whose sine and cosine are sine and cosine (each clamped to [-1, 1]),
// taken from asin or acos, whichever is better conditioned. (0, -1) gives -pi.
template <class T>
ML_API T mlArcSinCos(T sine, T cosine);

#define ML_PRECISION_EXTERN(T) extern template ML_API T mlArcSinCos<T>(T, T);
ML_FOR_EACH_REAL(ML_PRECISION_EXTERN)
#undef ML_PRECISION_EXTERN

#endif  // ML_PRECISION_H
