// CMLVector2<T>, CMLVector3<T>, CMLVector4<T>: fixed vectors of 2, 3 and 4 components held
// inline, and the free functions that work on them (distances, angles, orthogonality and
// collinearity tests, orthonormalisation, linear combinations, dimension conversions, arrays).
//
// Each class is a plain value: public fields x, y (z, w) in this order and nothing else, no
// virtual functions, no heap; copying copies the components and an array of vectors is a plain
// contiguous array of T. The three classes share every member below (with their own component
// count) and add the few listed in each class.
//
// Common members, shown for n components:
//  - V(), V(int): all components 0 (the int is ignored: V<double>(5) is the zero vector).
//  - V(T v): every component v.  V(x, y, ...): the components.  V(const T* src): components
//    from src[0..n-1] (3D and 4D only).  V(const CMLVectorN<T>&) and operator= from it: the
//    first n elements, the dimension of the dynamic vector unchecked.
//  - operator[](int i): 0, 1, ... give x, y, ...; every other index, negative ones included,
//    gives the last component. No index is out of range.
//  - X(), Y(), Z(), W(): component access.  Dim(): the constant n.
//  - Fill(const T*), Dump(T*): copy the components from or to an array (2D: Fill(x, y)).
//  - operator* / operator/ (T): new vector; the division is not guarded (a zero divisor gives
//    infinities and NaNs). operator+, operator- (vector): new vector.
//  - operator*=, /=, +=, -=: in place, return *this. Mul, Div, Add, Sub: the same, no result.
//  - Negate(): new vector with negated components.
//  - operator==: 1 when no component pair differs by more than P in absolute value (compared in
//    order x, y, ...); operator!= is its exact negation. The precision is always P.
//  - Dot: sum of a_i * b_i.  SquareLength(): sum of x_i^2.
//  - Length(), NormEuclidean(): mlSafeNorm(sum of x_i^2), so every length below sqrt(P) is 0.
//  - NormInf(): the largest |x_i|.  Norm1(): the sum of |x_i|.
//  - Normalize(): returns 0 and changes nothing when Length() < P; otherwise multiplies every
//    component by 1 / Length() and returns 1.
//  - GetMaxComponent / GetMinComponent (useAbs): the largest / smallest component, of |x_i| when
//    useAbs != 0; GetIndexOfMaxComponent / GetIndexOfMinComponent: its index, ties to the lower.
//  - IsAlmostZero(p): 1 if -p <= Length() <= p.  IsAlmostUnit(p): 1 if -p <= Length() - 1 <= p.
//  - AnnulateSmallComponents(p): components with |x_i| < p (strict) become 0.
//    (p defaults to P in these three.)
//  - SetToZero(), SetToConstant(v).
//
// Predicates return int (1 true, 0 false). Nothing throws; guarded operations report through their
// return value and leave their outputs unchanged on failure.
#ifndef ML_VECTOR_FIXED_H
#define ML_VECTOR_FIXED_H

#include <ml/precision.h>
#include <ml/types.h>
#include <ml/vector_n.h>

#include <cmath>
#include <cstddef>
#include <type_traits>
#include <utility>

template <class T>
class CMLVector2;
template <class T>
class CMLVector3;
template <class T>
class CMLVector4;

// The component loops of the three classes, written once over the component count.
namespace ml::detail::fixed_vector {

template <std::size_t I>
using Index = std::integral_constant<std::size_t, I>;

template <class V>
using Elem = std::remove_cv_t<decltype(std::declval<V&>().x)>;

template <class V>
inline constexpr int kDim = std::remove_cv_t<V>::Dim();

// Component I by name: x, y, z, w.
template <class V, std::size_t I>
constexpr auto& Comp(V& v, Index<I>) noexcept {
    if constexpr (I == 0) {
        return v.x;
    } else if constexpr (I == 1) {
        return v.y;
    } else if constexpr (I == 2) {
        return v.z;
    } else {
        return v.w;
    }
}

template <class F, std::size_t... I>
constexpr decltype(auto) CallWithIndices(F&& f, std::index_sequence<I...>) {
    return f(Index<I>{}...);
}

// f(Index<0>{}, ..., Index<n-1>{}) for the n components of V. Component loops are fold
// expressions over these indices: unrolled by construction, in component order.
template <class V, class F>
constexpr decltype(auto) ForComponents(F&& f) {
    return CallWithIndices(f, std::make_index_sequence<kDim<V>>{});
}

// The component an index selects: 0, 1, ... in order, the last one for every other index.
template <class V>
constexpr auto& Clamped(V& v, int i) noexcept {
    if (i == 0) return v.x;
    if constexpr (kDim<V> == 2) {
        return v.y;
    } else {
        if (i == 1) return v.y;
        if constexpr (kDim<V> == 3) {
            return v.z;
        } else {
            if (i == 2) return v.z;
            return v.w;
        }
    }
}

// r_i = f(a_i).
template <class V, class F>
inline V Map(const V& a, F f) {
    V r;
    ForComponents<V>([&](auto... i) { ((Comp(r, i) = f(Comp(a, i))), ...); });
    return r;
}

// r_i = f(a_i, b_i).
template <class V, class F>
inline V Zip(const V& a, const V& b, F f) {
    V r;
    ForComponents<V>([&](auto... i) { ((Comp(r, i) = f(Comp(a, i), Comp(b, i))), ...); });
    return r;
}

// f(v_i) for every component, in order; f may change the component.
template <class V, class F>
inline void Update(V& v, F f) {
    ForComponents<V>([&](auto... i) { (f(Comp(v, i)), ...); });
}

// f(v_i, b_i) for every component, in order.
template <class V, class F>
inline void UpdateWith(V& v, const V& b, F f) {
    ForComponents<V>([&](auto... i) { (f(Comp(v, i), Comp(b, i)), ...); });
}

template <class V>
inline void Load(V& v, const Elem<V>* src) {
    ForComponents<V>([&](auto... i) { ((Comp(v, i) = src[decltype(i)::value]), ...); });
}

template <class V>
inline void Store(const V& v, Elem<V>* dst) {
    ForComponents<V>([&](auto... i) { ((dst[decltype(i)::value] = Comp(v, i)), ...); });
}

template <class V>
inline Elem<V> Dot(const V& a, const V& b) {
    return ForComponents<V>([&](auto... i) { return (... + (Comp(a, i) * Comp(b, i))); });
}

template <class V>
inline Elem<V> SquareDist(const V& a, const V& b) {
    const auto sq = [](Elem<V> d) { return d * d; };
    return ForComponents<V>([&](auto... i) { return (... + sq(Comp(a, i) - Comp(b, i))); });
}

template <class V>
inline Elem<V> Length(const V& a) {
    return mlSafeNorm(Dot(a, a));
}

template <class V>
inline Elem<V> Norm1(const V& a) {
    return ForComponents<V>([&](auto... i) { return (... + std::fabs(Comp(a, i))); });
}

// The largest |component| over all the vectors given (0 for no finite component).
template <class V, class... Vs>
inline Elem<V> LargestAbsComponent(const V& first, const Vs&... rest) {
    Elem<V> m = 0;
    const auto scan = [&m](const V& v) {
        ForComponents<V>([&](auto... i) {
            ((m = std::fabs(Comp(v, i)) > m ? std::fabs(Comp(v, i)) : m), ...);
        });
    };
    scan(first);
    (scan(rest), ...);
    return m;
}

// 1 when every |a_i - b_i| <= P, tested in component order; a NaN component is never within P.
template <class V>
inline int Equal(const V& a, const V& b) {
    constexpr Elem<V> p = mlDefaultPrecision<Elem<V>>;
    return ForComponents<V>([&](auto... i) {
               return (... && (std::fabs(Comp(a, i) - Comp(b, i)) <= p));
           })
               ? 1
               : 0;
}

template <class V>
inline int Normalize(V& v) {
    using T = Elem<V>;
    const T length = Length(v);
    if (length < mlDefaultPrecision<T>) return 0;
    const T inverse = T(1) / length;
    Update(v, [inverse](T& c) { c *= inverse; });
    return 1;
}

// The extreme component (of |x_i| when useAbs != 0) and its index; a later component replaces
// the current one only when strictly greater (greatest) or strictly smaller (otherwise).
template <class V>
inline Elem<V> Extreme(const V& a, int useAbs, bool greatest, int& index) {
    using T = Elem<V>;
    const auto value = [useAbs](T c) { return useAbs ? std::fabs(c) : c; };
    T best = value(a.x);
    index = 0;
    for (int k = 1; k < kDim<V>; ++k) {
        const T c = value(Clamped(a, k));
        if (greatest ? c > best : c < best) {
            best = c;
            index = k;
        }
    }
    return best;
}

template <class V>
inline void AnnulateSmall(V& v, Elem<V> precision) {
    Update(v, [precision](Elem<V>& c) {
        if (std::fabs(c) < precision) c = 0;
    });
}

}  // namespace ml::detail::fixed_vector

namespace ml::detail {

// The members the three fixed vectors share, written once. V is the vector class itself (with
// its fields x, y[, z, w]); it derives from this empty base, so it stays a standard-layout value
// of exactly its components.
template <class V, class T>
class ML_API fixed_vector_members {
public:
    // 0, 1, ... give x, y, ...; every other index, negative ones included, the last component.
    T& operator[](int i) { return fixed_vector::Clamped(Self(), i); }
    const T& operator[](int i) const { return fixed_vector::Clamped(Self(), i); }
    void Dump(T* dst) const { fixed_vector::Store(Self(), dst); }

    V operator*(T s) const {
        return fixed_vector::Map(Self(), [s](T c) { return c * s; });
    }
    V operator/(T s) const {  // not guarded
        return fixed_vector::Map(Self(), [s](T c) { return c / s; });
    }
    V operator+(const V& b) const {
        return fixed_vector::Zip(Self(), b, [](T p, T q) { return p + q; });
    }
    V operator-(const V& b) const {
        return fixed_vector::Zip(Self(), b, [](T p, T q) { return p - q; });
    }
    // The scalar is read once, so `v /= v.x` divides every component by the original x.
    V& operator*=(const T& s) {
        Mul(s);
        return Self();
    }
    V& operator/=(const T& s) {  // not guarded
        Div(s);
        return Self();
    }
    V& operator+=(const V& b) {
        Add(b);
        return Self();
    }
    V& operator-=(const V& b) {
        Sub(b);
        return Self();
    }
    void Mul(T s) {
        fixed_vector::Update(Self(), [s](T& c) { c *= s; });
    }
    void Div(T s) {
        fixed_vector::Update(Self(), [s](T& c) { c /= s; });
    }
    void Add(const V& b) {
        fixed_vector::UpdateWith(Self(), b, [](T& c, T d) { c += d; });
    }
    void Sub(const V& b) {
        fixed_vector::UpdateWith(Self(), b, [](T& c, T d) { c -= d; });
    }
    V Negate() const {
        return fixed_vector::Map(Self(), [](T c) { return -c; });
    }

    int operator==(const V& b) const { return fixed_vector::Equal(Self(), b); }
    int operator!=(const V& b) const { return 1 - (Self() == b); }

    T Dot(const V& b) const { return fixed_vector::Dot(Self(), b); }
    T Length() const { return fixed_vector::Length(Self()); }
    T NormEuclidean() const { return Length(); }
    T SquareLength() const { return fixed_vector::Dot(Self(), Self()); }
    T NormInf() const { return fixed_vector::LargestAbsComponent(Self()); }
    T Norm1() const { return fixed_vector::Norm1(Self()); }
    int Normalize() { return fixed_vector::Normalize(Self()); }

    T GetMaxComponent(int useAbs) const {
        int i;
        return fixed_vector::Extreme(Self(), useAbs, true, i);
    }
    T GetMinComponent(int useAbs) const {
        int i;
        return fixed_vector::Extreme(Self(), useAbs, false, i);
    }
    int GetIndexOfMaxComponent(int useAbs) const {
        int i;
        fixed_vector::Extreme(Self(), useAbs, true, i);
        return i;
    }
    int GetIndexOfMinComponent(int useAbs) const {
        int i;
        fixed_vector::Extreme(Self(), useAbs, false, i);
        return i;
    }
    int IsAlmostZero(T precision = mlDefaultPrecision<T>) const {
        return mlIsAlmostZero(Length(), precision);
    }
    int IsAlmostUnit(T precision = mlDefaultPrecision<T>) const {
        return mlIsAlmostZero(Length() - T(1), precision);
    }
    void AnnulateSmallComponents(T precision = mlDefaultPrecision<T>) {
        fixed_vector::AnnulateSmall(Self(), precision);
    }
    void SetToZero() { SetToConstant(T(0)); }
    void SetToConstant(T v) {
        fixed_vector::Update(Self(), [v](T& c) { c = v; });
    }

private:
    V& Self() { return static_cast<V&>(*this); }
    const V& Self() const { return static_cast<const V&>(*this); }
};

}  // namespace ml::detail

// Two components x, y. Besides the common members: the (x, y) constructor and Fill(x, y) in place
// of the array forms, the polar angle in degrees, the quarter turn and the decomposition in a
// basis.
template <class T>
class ML_API CMLVector2 : public ml::detail::fixed_vector_members<CMLVector2<T>, T> {
public:
    T x;
    T y;

    constexpr CMLVector2() : x(0), y(0) {}
    constexpr explicit CMLVector2(int) : x(0), y(0) {}  // the argument is ignored
    constexpr explicit CMLVector2(T v) : x(v), y(v) {}
    constexpr CMLVector2(T vx, T vy) : x(vx), y(vy) {}
    // The first 2 elements of a dynamic vector, whose dimension is not checked.
    CMLVector2(const CMLVectorN<T>& v);  // NOLINT: converts implicitly, like the assignment
    CMLVector2& operator=(const CMLVectorN<T>& v);
    CMLVector2(const CMLVector2&) = default;
    CMLVector2& operator=(const CMLVector2&) = default;
    ~CMLVector2() = default;

    T& X() { return x; }
    T X() const { return x; }
    T& Y() { return y; }
    T Y() const { return y; }
    static constexpr int Dim() { return 2; }
    void Fill(T vx, T vy) {
        x = vx;
        y = vy;
    }

    // atan2(y, x) in degrees, in [0, 360): negative angles have 360 added.
    T Angle_0_360() const;
    // atan2(y, x) in degrees, in (-180, 180].
    T Angle_MINUS_180_180() const;
    // (-y, x): the vector turned a quarter counter-clockwise; this one is unchanged.
    CMLVector2 Rotate90DegsCCW() const { return CMLVector2(-y, x); }
    // Solves c1*e1 + c2*e2 = this with CMLAlgebra::Solve2x2System. Returns 1 and writes c1, c2
    // only when the solver returns 1 with status 1 (a unique, well-conditioned solution); an
    // ill-conditioned or singular basis returns 0 and leaves c1 and c2 unchanged.
    int DecomposeInBasis(const CMLVector2& e1, const CMLVector2& e2, T& c1, T& c2,
                         T precision = mlDefaultPrecision<T>) const;
};

// Three components x, y, z. Besides the common members: the cross product and the decomposition
// in a basis.
template <class T>
class ML_API CMLVector3 : public ml::detail::fixed_vector_members<CMLVector3<T>, T> {
public:
    T x;
    T y;
    T z;

    constexpr CMLVector3() : x(0), y(0), z(0) {}
    constexpr explicit CMLVector3(int) : x(0), y(0), z(0) {}  // the argument is ignored
    constexpr explicit CMLVector3(T v) : x(v), y(v), z(v) {}
    constexpr CMLVector3(T vx, T vy, T vz) : x(vx), y(vy), z(vz) {}
    explicit CMLVector3(const T* src) : x(src[0]), y(src[1]), z(src[2]) {}
    // The first 3 elements of a dynamic vector, whose dimension is not checked.
    CMLVector3(const CMLVectorN<T>& v);  // NOLINT: converts implicitly, like the assignment
    CMLVector3& operator=(const CMLVectorN<T>& v);
    CMLVector3(const CMLVector3&) = default;
    CMLVector3& operator=(const CMLVector3&) = default;
    ~CMLVector3() = default;

    T& X() { return x; }
    T X() const { return x; }
    T& Y() { return y; }
    T Y() const { return y; }
    T& Z() { return z; }
    T Z() const { return z; }
    static constexpr int Dim() { return 3; }
    void Fill(const T* src) { ml::detail::fixed_vector::Load(*this, src); }

    // (y*b.z - z*b.y, z*b.x - x*b.z, x*b.y - y*b.x).
    CMLVector3 Cross(const CMLVector3& b) const {
        return CMLVector3(y * b.z - z * b.y, z * b.x - x * b.z, x * b.y - y * b.x);
    }
    // Solves c1*e1 + c2*e2 + c3*e3 = this (e1, e2, e3 the columns of the system) with
    // CMLAlgebra::Solve3x3System. Returns 1 and writes c1, c2, c3 only when the solver returns 1
    // with status 1; otherwise returns 0 and leaves them unchanged.
    int DecomposeInBasis(const CMLVector3& e1, const CMLVector3& e2, const CMLVector3& e3, T& c1,
                         T& c2, T& c3, T precision = mlDefaultPrecision<T>) const;
};

// Four components x, y, z, w; the common members only.
template <class T>
class ML_API CMLVector4 : public ml::detail::fixed_vector_members<CMLVector4<T>, T> {
public:
    T x;
    T y;
    T z;
    T w;

    constexpr CMLVector4() : x(0), y(0), z(0), w(0) {}
    constexpr explicit CMLVector4(int) : x(0), y(0), z(0), w(0) {}  // the argument is ignored
    constexpr explicit CMLVector4(T v) : x(v), y(v), z(v), w(v) {}
    constexpr CMLVector4(T vx, T vy, T vz, T vw) : x(vx), y(vy), z(vz), w(vw) {}
    explicit CMLVector4(const T* src) : x(src[0]), y(src[1]), z(src[2]), w(src[3]) {}
    // The first 4 elements of a dynamic vector, whose dimension is not checked.
    CMLVector4(const CMLVectorN<T>& v);  // NOLINT: converts implicitly, like the assignment
    CMLVector4& operator=(const CMLVectorN<T>& v);
    CMLVector4(const CMLVector4&) = default;
    CMLVector4& operator=(const CMLVector4&) = default;
    ~CMLVector4() = default;

    T& X() { return x; }
    T X() const { return x; }
    T& Y() { return y; }
    T Y() const { return y; }
    T& Z() { return z; }
    T Z() const { return z; }
    T& W() { return w; }
    T W() const { return w; }
    static constexpr int Dim() { return 4; }
    void Fill(const T* src) { ml::detail::fixed_vector::Load(*this, src); }
};

// Geometry shared by the free functions of two and three dimensions.
namespace ml::detail::fixed_vector {

// The magnitude of the cross product: |a.x*b.y - a.y*b.x| in 2D (no guard), the guarded length
// of a x b in 3D.
template <class T>
inline T CrossMagnitude(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return std::fabs(a.x * b.y - a.y * b.x);
}
template <class T>
inline T CrossMagnitude(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return a.Cross(b).Length();
}

// The collinearity test with the largest component of the two as the scale of the tolerance.
template <class V>
inline int Colinear(const V& a, const V& b, Elem<V> precision) {
    const Elem<V> m = LargestAbsComponent(a, b);
    if (precision > m) return 1;
    return CrossMagnitude(a, b) < precision * m ? 1 : 0;
}

// The coplanarity test with the largest component of the three as the scale of the tolerance.
template <class T>
inline int Coplanar(const CMLVector3<T>& a, const CMLVector3<T>& b, const CMLVector3<T>& c,
                    T precision) {
    const T m = LargestAbsComponent(a, b, c);
    if (precision > m) return 1;
    return std::fabs(a.Dot(b.Cross(c))) < precision * m ? 1 : 0;
}

template <class V>
inline int Orthogonal(const V& a, const V& b, Elem<V> precision) {
    const Elem<V> m = a.Length() * b.Length();
    if (precision > m) return 1;
    return std::fabs(a.Dot(b)) < precision * m ? 1 : 0;
}

}  // namespace ml::detail::fixed_vector

// ---- Distances and comparisons (2, 3 and 4 components) ----------------------------------------

// mlSafeNorm of the squared distance: distances below sqrt(P) are 0.
template <class T>
inline ML_API T mlDist(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return mlSafeNorm(ml::detail::fixed_vector::SquareDist(a, b));
}
template <class T>
inline ML_API T mlDist(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return mlSafeNorm(ml::detail::fixed_vector::SquareDist(a, b));
}
template <class T>
inline ML_API T mlDist(const CMLVector4<T>& a, const CMLVector4<T>& b) {
    return mlSafeNorm(ml::detail::fixed_vector::SquareDist(a, b));
}

// Sum of (a_i - b_i)^2.
template <class T>
inline ML_API T mlSquareDist(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return ml::detail::fixed_vector::SquareDist(a, b);
}
template <class T>
inline ML_API T mlSquareDist(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return ml::detail::fixed_vector::SquareDist(a, b);
}
template <class T>
inline ML_API T mlSquareDist(const CMLVector4<T>& a, const CMLVector4<T>& b) {
    return ml::detail::fixed_vector::SquareDist(a, b);
}

// 1 if -p <= mlDist(a, b) <= p with p = P. Distances below sqrt(P) are 0, so such vectors are
// always equal, whatever precision the three-argument form is given.
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return mlIsAlmostZero(mlDist(a, b));
}
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return mlIsAlmostZero(mlDist(a, b));
}
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLVector4<T>& a, const CMLVector4<T>& b) {
    return mlIsAlmostZero(mlDist(a, b));
}
// The same with p = precision.
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLVector2<T>& a, const CMLVector2<T>& b,
                                   ml::detail::non_deduced_t<T> precision) {
    return mlIsAlmostZero(mlDist(a, b), precision);
}
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLVector3<T>& a, const CMLVector3<T>& b,
                                   ml::detail::non_deduced_t<T> precision) {
    return mlIsAlmostZero(mlDist(a, b), precision);
}
template <class T>
inline ML_API int mlAreAlmostEqual(const CMLVector4<T>& a, const CMLVector4<T>& b,
                                   ml::detail::non_deduced_t<T> precision) {
    return mlIsAlmostZero(mlDist(a, b), precision);
}

// m = a.Length() * b.Length(); 1 if precision > m (so a zero vector is orthogonal to everything),
// else 1 if |a.b| < precision * m.
template <class T>
inline ML_API int mlAreOrthogonal(const CMLVector2<T>& a, const CMLVector2<T>& b,
                                  ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Orthogonal(a, b, precision);
}
template <class T>
inline ML_API int mlAreOrthogonal(const CMLVector3<T>& a, const CMLVector3<T>& b,
                                  ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Orthogonal(a, b, precision);
}
template <class T>
inline ML_API int mlAreOrthogonal(const CMLVector4<T>& a, const CMLVector4<T>& b,
                                  ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Orthogonal(a, b, precision);
}

// ---- Collinearity and coplanarity ----------------------------------------------------------------
// These tests scale the tolerance by M, the largest absolute component of their inputs, not by a
// product of lengths: 1 if precision > M, else 1 if the cross-product measure is below
// precision * M.

// Measure: |mlCross2D(a, b)| in 2D, the guarded length of a x b in 3D (0 below sqrt(P)).
template <class T>
inline ML_API int mlAreColinear(const CMLVector2<T>& a, const CMLVector2<T>& b,
                                ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Colinear(a, b, precision);
}
template <class T>
inline ML_API int mlAreColinear(const CMLVector3<T>& a, const CMLVector3<T>& b,
                                ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Colinear(a, b, precision);
}
// The test of mlAreColinear on p1 - p0 and p2 - p0.
template <class T>
inline ML_API int mlArePointsCollinear(const CMLVector3<T>& p0, const CMLVector3<T>& p1,
                                       const CMLVector3<T>& p2,
                                       ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Colinear(p1 - p0, p2 - p0, precision);
}
// Measure: |a.(b x c)|, M over a, b and c.
template <class T>
inline ML_API int mlAreVectorsCoplanar(const CMLVector3<T>& a, const CMLVector3<T>& b,
                                       const CMLVector3<T>& c,
                                       ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Coplanar(a, b, c, precision);
}
// mlAreVectorsCoplanar on p1 - p0, p2 - p0, p3 - p0.
template <class T>
inline ML_API int mlArePointsCoplanar(const CMLVector3<T>& p0, const CMLVector3<T>& p1,
                                      const CMLVector3<T>& p2, const CMLVector3<T>& p3,
                                      ml::detail::non_deduced_t<T> precision) {
    return ml::detail::fixed_vector::Coplanar(p1 - p0, p2 - p0, p3 - p0, precision);
}

// ---- Products, areas, midpoints and combinations -----------------------------------------------

// a.Cross(b).
template <class T>
inline ML_API CMLVector3<T> mlCross(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return a.Cross(b);
}
// a.x*b.y - a.y*b.x.
template <class T>
inline ML_API T mlCross2D(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return a.x * b.y - a.y * b.x;
}
// a.(b x c).
template <class T>
inline ML_API T mlMixedProduct(const CMLVector3<T>& a, const CMLVector3<T>& b,
                               const CMLVector3<T>& c) {
    return a.Dot(b.Cross(c));
}
// |mlCross2D(p1 - p0, p2 - p0)| * 0.5.
template <class T>
inline ML_API T mlGetTriangleArea(const CMLVector2<T>& p0, const CMLVector2<T>& p1,
                                  const CMLVector2<T>& p2) {
    return std::fabs(mlCross2D(p1 - p0, p2 - p0)) * T(0.5);
}

// (a + b) * 0.5.
template <class T>
inline ML_API CMLVector2<T> mlFindMidpoint(const CMLVector2<T>& a, const CMLVector2<T>& b) {
    return (a + b) * T(0.5);
}
template <class T>
inline ML_API CMLVector3<T> mlFindMidpoint(const CMLVector3<T>& a, const CMLVector3<T>& b) {
    return (a + b) * T(0.5);
}

// a*wa + b*wb (+ c*wc (+ d*wd)), summed left to right.
template <class T>
inline ML_API CMLVector2<T> mlCombine2(const CMLVector2<T>& a, const CMLVector2<T>& b,
                                       ml::detail::non_deduced_t<T> wa,
                                       ml::detail::non_deduced_t<T> wb) {
    return a * wa + b * wb;
}
template <class T>
inline ML_API CMLVector3<T> mlCombine2(const CMLVector3<T>& a, const CMLVector3<T>& b,
                                       ml::detail::non_deduced_t<T> wa,
                                       ml::detail::non_deduced_t<T> wb) {
    return a * wa + b * wb;
}
template <class T>
inline ML_API CMLVector2<T> mlCombine3(const CMLVector2<T>& a, const CMLVector2<T>& b,
                                       const CMLVector2<T>& c, ml::detail::non_deduced_t<T> wa,
                                       ml::detail::non_deduced_t<T> wb,
                                       ml::detail::non_deduced_t<T> wc) {
    return a * wa + b * wb + c * wc;
}
template <class T>
inline ML_API CMLVector3<T> mlCombine3(const CMLVector3<T>& a, const CMLVector3<T>& b,
                                       const CMLVector3<T>& c, ml::detail::non_deduced_t<T> wa,
                                       ml::detail::non_deduced_t<T> wb,
                                       ml::detail::non_deduced_t<T> wc) {
    return a * wa + b * wb + c * wc;
}
template <class T>
inline ML_API CMLVector2<T> mlCombine4(const CMLVector2<T>& a, const CMLVector2<T>& b,
                                       const CMLVector2<T>& c, const CMLVector2<T>& d,
                                       ml::detail::non_deduced_t<T> wa,
                                       ml::detail::non_deduced_t<T> wb,
                                       ml::detail::non_deduced_t<T> wc,
                                       ml::detail::non_deduced_t<T> wd) {
    return a * wa + b * wb + c * wc + d * wd;
}
template <class T>
inline ML_API CMLVector3<T> mlCombine4(const CMLVector3<T>& a, const CMLVector3<T>& b,
                                       const CMLVector3<T>& c, const CMLVector3<T>& d,
                                       ml::detail::non_deduced_t<T> wa,
                                       ml::detail::non_deduced_t<T> wb,
                                       ml::detail::non_deduced_t<T> wc,
                                       ml::detail::non_deduced_t<T> wd) {
    return a * wa + b * wb + c * wc + d * wd;
}

// v[0]*w[0] + ... + v[n-1]*w[n-1]. The first term is always taken: n must be at least 1.
template <class T>
ML_API CMLVector2<T> mlCombine(int n, const CMLVector2<T>* v, const T* w);
template <class T>
ML_API CMLVector3<T> mlCombine(int n, const CMLVector3<T>* v, const T* w);

// (v[0] + ... + v[n-1]) * (1/n). For n <= 0 (no points) every component is a quiet NaN.
template <class T>
ML_API CMLVector2<T> mlFindMean(const CMLVector2<T>* v, int n);
template <class T>
ML_API CMLVector3<T> mlFindMean(const CMLVector3<T>* v, int n);

// ---- Angles and trigonometric ratios (2 and 3 components) ---------------------------------------

// arccos((a.b) / (|a| |b|)) with guarded lengths; 0 when |a| lies within [-1e-6, 1e-6] (the same
// fixed limit for float and double). Neither b nor the cosine is checked: a zero b divides by
// zero and gives NaN, and a cosine rounded just past 1 gives NaN too.
template <class T>
ML_API T mlFindAngleInRadians(const CMLVector2<T>& a, const CMLVector2<T>& b);
template <class T>
ML_API T mlFindAngleInRadians(const CMLVector3<T>& a, const CMLVector3<T>& b);
// mlFindAngleInRadians * 57.29577951308232.
template <class T>
ML_API T mlFindAngleInDegrees(const CMLVector2<T>& a, const CMLVector2<T>& b);
template <class T>
ML_API T mlFindAngleInDegrees(const CMLVector3<T>& a, const CMLVector3<T>& b);

// Ratios of |a x b| (|mlCross2D| in 2D) and a.b with guarded lengths; no division is guarded:
// mlSin = |a x b| / (|a| |b|), mlCos = a.b / (|a| |b|), mlTan = |a x b| / a.b,
// mlCot = a.b / |a x b|.
template <class T>
ML_API T mlSin(const CMLVector2<T>& a, const CMLVector2<T>& b);
template <class T>
ML_API T mlSin(const CMLVector3<T>& a, const CMLVector3<T>& b);
template <class T>
ML_API T mlCos(const CMLVector2<T>& a, const CMLVector2<T>& b);
template <class T>
ML_API T mlCos(const CMLVector3<T>& a, const CMLVector3<T>& b);
template <class T>
ML_API T mlTan(const CMLVector2<T>& a, const CMLVector2<T>& b);
template <class T>
ML_API T mlTan(const CMLVector3<T>& a, const CMLVector3<T>& b);
template <class T>
ML_API T mlCot(const CMLVector2<T>& a, const CMLVector2<T>& b);
template <class T>
ML_API T mlCot(const CMLVector3<T>& a, const CMLVector3<T>& b);

// ---- Orthonormal sets ---------------------------------------------------------------------------

// Gram-Schmidt in place. Returns 0 and leaves the vectors unchanged when the largest absolute
// component M is below precision, or when precision * M exceeds |mlCross2D(e1, e2)| (2D) or
// |e1.(e2 x e3)| (3D). Otherwise projects with the unnormalised u1, u2 over their squared lengths,
// divides e1 and e2 by mlSafeSqrt of their squared lengths (a length below sqrt(P) divides by
// zero), normalises the last vector only when its guarded norm is at least P, and returns 1.
template <class T>
ML_API int mlOrthonormalize(CMLVector2<T>& e1, CMLVector2<T>& e2,
                            ml::detail::non_deduced_t<T> precision);
template <class T>
ML_API int mlOrthonormalize(CMLVector3<T>& e1, CMLVector3<T>& e2, CMLVector3<T>& e3,
                            ml::detail::non_deduced_t<T> precision);

// 1 when every pair passes mlAreOrthogonal(precision), every length is within precision of 1
// (inclusive) and the set is right-handed, tested as e1.(e2 x e3) >= 0 in 3D and as
// e1.e2 >= 0 in 2D: the 2D test is on the dot product, so a left-handed 2D pair passes and an
// orthogonal pair whose dot product rounds below zero fails.
template <class T>
ML_API int mlAreOrthonormalized(const CMLVector2<T>& e1, const CMLVector2<T>& e2,
                                ml::detail::non_deduced_t<T> precision);
template <class T>
ML_API int mlAreOrthonormalized(const CMLVector3<T>& e1, const CMLVector3<T>& e2,
                                const CMLVector3<T>& e3, ml::detail::non_deduced_t<T> precision);

// ---- Arrays of vectors -------------------------------------------------------------------------

// Exchanges a and b.
template <class T>
inline ML_API void mlSwapVectors(CMLVector2<T>& a, CMLVector2<T>& b) {
    const CMLVector2<T> t = a;
    a = b;
    b = t;
}
template <class T>
inline ML_API void mlSwapVectors(CMLVector3<T>& a, CMLVector3<T>& b) {
    const CMLVector3<T> t = a;
    a = b;
    b = t;
}

// dst[i] = src[i] for i < n; nothing for n < 1.
template <class T>
ML_API void mlCopyVectorArray(int n, const CMLVector2<T>* src, CMLVector2<T>* dst);
template <class T>
ML_API void mlCopyVectorArray(int n, const CMLVector3<T>* src, CMLVector3<T>* dst);

// dst[n + i] = src[i] for i < m; returns n + m, also when m < 1 (nothing is copied then).
template <class T>
ML_API int mlAppendVectorArray(int n, CMLVector2<T>* dst, int m, const CMLVector2<T>* src);
template <class T>
ML_API int mlAppendVectorArray(int n, CMLVector3<T>* dst, int m, const CMLVector3<T>* src);

// ---- Conversions between dimensions ------------------------------------------------------------

// (x, y, z); the one-argument form appends z = 1.
template <class T>
inline ML_API CMLVector3<T> mlVector2To3(const CMLVector2<T>& a, ml::detail::non_deduced_t<T> z) {
    return CMLVector3<T>(a.x, a.y, z);
}
template <class T>
inline ML_API CMLVector3<T> mlVector2To3(const CMLVector2<T>& a) {
    return CMLVector3<T>(a.x, a.y, T(1));
}
// (x, y, z, w); the one-argument form appends w = 1.
template <class T>
inline ML_API CMLVector4<T> mlVector3To4(const CMLVector3<T>& a, ml::detail::non_deduced_t<T> w) {
    return CMLVector4<T>(a.x, a.y, a.z, w);
}
template <class T>
inline ML_API CMLVector4<T> mlVector3To4(const CMLVector3<T>& a) {
    return CMLVector4<T>(a.x, a.y, a.z, T(1));
}
// (x, y): the last component dropped. The Affine and Cut forms are the same function.
template <class T>
inline ML_API CMLVector2<T> mlAffineVector3To2(const CMLVector3<T>& a) {
    return CMLVector2<T>(a.x, a.y);
}
template <class T>
inline ML_API CMLVector2<T> mlCutVector3To2(const CMLVector3<T>& a) {
    return CMLVector2<T>(a.x, a.y);
}
// (x, y, z): the last component dropped. The Affine and Cut forms are the same function.
template <class T>
inline ML_API CMLVector3<T> mlAffineVector4To3(const CMLVector4<T>& a) {
    return CMLVector3<T>(a.x, a.y, a.z);
}
template <class T>
inline ML_API CMLVector3<T> mlCutVector4To3(const CMLVector4<T>& a) {
    return CMLVector3<T>(a.x, a.y, a.z);
}
// (x, y) with z stored; no division.
template <class T>
inline ML_API CMLVector2<T> mlVector3To2(const CMLVector3<T>& a, T& z) {
    z = a.z;
    return CMLVector2<T>(a.x, a.y);
}
// (x, y, z) with w stored; no division.
template <class T>
inline ML_API CMLVector3<T> mlVector4To3(const CMLVector4<T>& a, T& w) {
    w = a.w;
    return CMLVector3<T>(a.x, a.y, a.z);
}
// Homogeneous division: stores z; returns 0 with out unchanged when precision > |z|, else
// out = (x/z, y/z) and 1.
template <class T>
inline ML_API int mlVector3To2(const CMLVector3<T>& a, ml::detail::non_deduced_t<T> precision,
                               CMLVector2<T>& out, T& z) {
    z = a.z;
    if (precision > std::fabs(z)) return 0;
    out = CMLVector2<T>(a.x / z, a.y / z);
    return 1;
}
// Homogeneous division: stores w; returns 0 with out unchanged when precision > |w|, else
// out = (x/w, y/w, z/w) and 1.
template <class T>
inline ML_API int mlVector4To3(const CMLVector4<T>& a, ml::detail::non_deduced_t<T> precision,
                               CMLVector3<T>& out, T& w) {
    w = a.w;
    if (precision > std::fabs(w)) return 0;
    out = CMLVector3<T>(a.x / w, a.y / w, a.z / w);
    return 1;
}

// Every instantiation of the family for one element type T, as one list: the header declares them
// (`extern template`), the source defines them (`template`).
#define ML_VECTOR_FIXED_INSTANCES(KW, T)                                                          \
    KW class ml::detail::fixed_vector_members<CMLVector2<T>, T>;                                   \
    KW class ml::detail::fixed_vector_members<CMLVector3<T>, T>;                                   \
    KW class ml::detail::fixed_vector_members<CMLVector4<T>, T>;                                   \
    KW class CMLVector2<T>;                                                                        \
    KW class CMLVector3<T>;                                                                        \
    KW class CMLVector4<T>;                                                                        \
    ML_VECTOR_FIXED_SIZED_INSTANCES(KW, T, CMLVector2)                                             \
    ML_VECTOR_FIXED_SIZED_INSTANCES(KW, T, CMLVector3)                                             \
    ML_VECTOR_FIXED_COMMON_INSTANCES(KW, T, CMLVector4)                                            \
    KW ML_API int mlArePointsCollinear<T>(const CMLVector3<T>&, const CMLVector3<T>&,              \
                                          const CMLVector3<T>&, T);                                \
    KW ML_API int mlAreVectorsCoplanar<T>(const CMLVector3<T>&, const CMLVector3<T>&,              \
                                          const CMLVector3<T>&, T);                                \
    KW ML_API int mlArePointsCoplanar<T>(const CMLVector3<T>&, const CMLVector3<T>&,               \
                                         const CMLVector3<T>&, const CMLVector3<T>&, T);           \
    KW ML_API CMLVector3<T> mlCross<T>(const CMLVector3<T>&, const CMLVector3<T>&);                \
    KW ML_API T mlCross2D<T>(const CMLVector2<T>&, const CMLVector2<T>&);                          \
    KW ML_API T mlMixedProduct<T>(const CMLVector3<T>&, const CMLVector3<T>&,                      \
                                  const CMLVector3<T>&);                                           \
    KW ML_API T mlGetTriangleArea<T>(const CMLVector2<T>&, const CMLVector2<T>&,                   \
                                     const CMLVector2<T>&);                                        \
    KW ML_API int mlOrthonormalize<T>(CMLVector2<T>&, CMLVector2<T>&, T);                          \
    KW ML_API int mlOrthonormalize<T>(CMLVector3<T>&, CMLVector3<T>&, CMLVector3<T>&, T);          \
    KW ML_API int mlAreOrthonormalized<T>(const CMLVector2<T>&, const CMLVector2<T>&, T);          \
    KW ML_API int mlAreOrthonormalized<T>(const CMLVector3<T>&, const CMLVector3<T>&,              \
                                          const CMLVector3<T>&, T);                                \
    KW ML_API CMLVector3<T> mlVector2To3<T>(const CMLVector2<T>&, T);                              \
    KW ML_API CMLVector3<T> mlVector2To3<T>(const CMLVector2<T>&);                                 \
    KW ML_API CMLVector4<T> mlVector3To4<T>(const CMLVector3<T>&, T);                              \
    KW ML_API CMLVector4<T> mlVector3To4<T>(const CMLVector3<T>&);                                 \
    KW ML_API CMLVector2<T> mlAffineVector3To2<T>(const CMLVector3<T>&);                           \
    KW ML_API CMLVector2<T> mlCutVector3To2<T>(const CMLVector3<T>&);                              \
    KW ML_API CMLVector3<T> mlAffineVector4To3<T>(const CMLVector4<T>&);                           \
    KW ML_API CMLVector3<T> mlCutVector4To3<T>(const CMLVector4<T>&);                              \
    KW ML_API CMLVector2<T> mlVector3To2<T>(const CMLVector3<T>&, T&);                             \
    KW ML_API CMLVector3<T> mlVector4To3<T>(const CMLVector4<T>&, T&);                             \
    KW ML_API int mlVector3To2<T>(const CMLVector3<T>&, T, CMLVector2<T>&, T&);                    \
    KW ML_API int mlVector4To3<T>(const CMLVector4<T>&, T, CMLVector3<T>&, T&);

// The functions provided for every size.
#define ML_VECTOR_FIXED_COMMON_INSTANCES(KW, T, V)                                                \
    KW ML_API T mlDist<T>(const V<T>&, const V<T>&);                                               \
    KW ML_API T mlSquareDist<T>(const V<T>&, const V<T>&);                                         \
    KW ML_API int mlAreAlmostEqual<T>(const V<T>&, const V<T>&);                                   \
    KW ML_API int mlAreAlmostEqual<T>(const V<T>&, const V<T>&, T);                                \
    KW ML_API int mlAreOrthogonal<T>(const V<T>&, const V<T>&, T);

// The functions provided for two and three components.
#define ML_VECTOR_FIXED_SIZED_INSTANCES(KW, T, V)                                                 \
    ML_VECTOR_FIXED_COMMON_INSTANCES(KW, T, V)                                                     \
    KW ML_API int mlAreColinear<T>(const V<T>&, const V<T>&, T);                                   \
    KW ML_API V<T> mlFindMidpoint<T>(const V<T>&, const V<T>&);                                    \
    KW ML_API V<T> mlCombine2<T>(const V<T>&, const V<T>&, T, T);                                  \
    KW ML_API V<T> mlCombine3<T>(const V<T>&, const V<T>&, const V<T>&, T, T, T);                  \
    KW ML_API V<T> mlCombine4<T>(const V<T>&, const V<T>&, const V<T>&, const V<T>&, T, T, T, T);  \
    KW ML_API V<T> mlCombine<T>(int, const V<T>*, const T*);                                       \
    KW ML_API V<T> mlFindMean<T>(const V<T>*, int);                                                \
    KW ML_API T mlFindAngleInRadians<T>(const V<T>&, const V<T>&);                                 \
    KW ML_API T mlFindAngleInDegrees<T>(const V<T>&, const V<T>&);                                 \
    KW ML_API T mlSin<T>(const V<T>&, const V<T>&);                                                \
    KW ML_API T mlCos<T>(const V<T>&, const V<T>&);                                                \
    KW ML_API T mlTan<T>(const V<T>&, const V<T>&);                                                \
    KW ML_API T mlCot<T>(const V<T>&, const V<T>&);                                                \
    KW ML_API void mlSwapVectors<T>(V<T>&, V<T>&);                                                 \
    KW ML_API void mlCopyVectorArray<T>(int, const V<T>*, V<T>*);                                  \
    KW ML_API int mlAppendVectorArray<T>(int, V<T>*, int, const V<T>*);

#define ML_VECTOR_FIXED_EXTERN(T) ML_VECTOR_FIXED_INSTANCES(extern template, T)
ML_FOR_EACH_REAL(ML_VECTOR_FIXED_EXTERN)
#undef ML_VECTOR_FIXED_EXTERN

#endif  // ML_VECTOR_FIXED_H
