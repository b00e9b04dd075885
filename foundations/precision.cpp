#include <ml/precision.h>

#include <climits>
#include <cmath>
#include <cstdint>

namespace {

// The cosine magnitude above which asin is the better-conditioned inverse. The literal is the one
// callers have always had, not sqrt(1/2) to full precision.
constexpr double kArcSinCosSwitch = 0.707106781;

// Conversion of a double to int as the x86 instruction does it: values outside the int range (and
// NaN) give INT_MIN. Writing it out keeps the result defined on every platform.
int TruncateToInt(double v) {
    if (!(v > double(INT_MIN) - 1.0 && v < double(INT_MAX) + 1.0)) return INT_MIN;
    return static_cast<int>(v);
}

int WrapToInt(std::uint32_t v) { return static_cast<int>(v); }

// 1 / r in integer division. A zero r divides by zero for real: the volatile operands keep the
// compiler from replacing `1 / r` by a branch that returns 0, so the platform's trap is what
// callers get at every optimisation level. The sanitizer check is suppressed for this one division
// because the trap is the documented behaviour, not a defect.
__attribute__((no_sanitize("integer-divide-by-zero"))) int InvertInteger(int r) {
    volatile int one = 1;
    volatile int divisor = r;
    return one / divisor;
}

}  // namespace

int mlPower(int x, int n) {
    const long long m = n < 0 ? -static_cast<long long>(n) : n;
    const std::uint32_t ux = static_cast<std::uint32_t>(x);
    int r;
    switch (m) {
        case 0: r = 1; break;
        case 1: r = x; break;
        case 2: r = WrapToInt(ux * ux); break;
        case 3: r = WrapToInt(ux * ux * ux); break;
        case 4: r = WrapToInt((ux * ux) * (ux * ux)); break;
        default:
            r = std::fabs(static_cast<double>(x)) < 1e-9
                    ? 0
                    : TruncateToInt(std::pow(static_cast<double>(x), static_cast<double>(m)));
            break;
    }
    if (n < 0) {
        // |r| is negative only for INT_MIN, whose magnitude does not fit.
        if (r == INT_MIN) return INT_MAX;
        return InvertInteger(r);  // r == 0 traps on purpose: see the header.
    }
    return r;
}

template <class T>
T mlArcSinCos(T sine, T cosine) {
    const T sv = sine <= T(-1) ? T(-1) : std::fmin(sine, T(1));
    const T cv = cosine <= T(-1) ? T(-1) : std::fmin(cosine, T(1));
    const T a = std::asin(sv);
    if (std::fabs(cv) > T(kArcSinCosSwitch)) {
        if (cv < 0) return a > 0 ? mlPi<T> - a : -mlPi<T> - a;
        return a;
    }
    return sv < 0 ? -std::acos(cv) : std::acos(cv);
}

#define ML_PRECISION_DEFINE(T) template ML_API T mlArcSinCos<T>(T, T);
ML_FOR_EACH_REAL(ML_PRECISION_DEFINE)
#undef ML_PRECISION_DEFINE
