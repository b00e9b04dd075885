// Shared by the fixed-matrix tests: element types, tolerances, deterministic random matrices and
// residual measures.
#ifndef ML_TESTS_MATRIX_FIXED_TEST_SUPPORT_H
#define ML_TESTS_MATRIX_FIXED_TEST_SUPPORT_H

#include <ml/matrix_fixed.h>

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>
#include <type_traits>

namespace fixed_matrix_test {

using AllMatrices = ::testing::Types<CMLMatrix2<float>, CMLMatrix2<double>, CMLMatrix3<float>,
                                     CMLMatrix3<double>, CMLMatrix4<float>, CMLMatrix4<double>>;
using RealTypes = ::testing::Types<float, double>;

template <class M>
using Elem = std::remove_cv_t<std::remove_reference_t<decltype(std::declval<const M&>()[0])>>;
template <class M>
constexpr int kN = M::Size();

// Round-off allowance of one well-conditioned computation; machine epsilon.
template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(2e-5) : T(1e-12);
}
template <class M>
Elem<M> Eps() {
    return std::numeric_limits<Elem<M>>::epsilon();
}

// A matrix from a row-major list of values; a diagonal one from a list or a vector; the identity.
template <class M>
M Make(std::initializer_list<double> values) {
    M m;
    int k = 0;
    for (double v : values)
        m[k++] = Elem<M>(v);
    return m;
}
template <class M, class V>
M Diag(const V& d) {
    M m;
    for (int i = 0; i < kN<M>; ++i)
        m(i, i) = Elem<M>(d[i]);
    return m;
}
template <class M>
M Diag(std::initializer_list<double> values) {
    return Diag<M>(values.begin());
}
template <class M>
M Identity() {
    M m;
    m.Unit();
    return m;
}

// Uniform elements in [-1, 1), deterministic for a seed.
template <class M>
M Random(unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    M m;
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        m[k] = Elem<M>(u(rng));
    return m;
}

template <class M>
Elem<M> MaxAbsDiff(const M& a, const M& b) {
    Elem<M> d = 0;
    for (int k = 0; k < kN<M> * kN<M>; ++k)
        d = std::fmax(d, std::fabs(a[k] - b[k]));
    return d;
}
template <class M>
Elem<M> MaxAbs(const M& a) {
    return MaxAbsDiff(a, M());
}
// Largest |(Q^T Q - I)(i, j)|.
template <class M>
Elem<M> OrthogonalityError(const M& q) {
    return MaxAbsDiff(q.Transpose() * q, Identity<M>());
}

}  // namespace fixed_matrix_test

#endif  // ML_TESTS_MATRIX_FIXED_TEST_SUPPORT_H
