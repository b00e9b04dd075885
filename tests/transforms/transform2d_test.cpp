#include <ml/transform2d.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace {

template <class T>
class Transform2DTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Transform2DTyped, RealTypes);

template <class T>
using V2 = CMLVector2<T>;
template <class T>
using M3 = CMLMatrix3<T>;
template <class T>
using Affine = CMLAffine2DTransform<T>;

template <class T>
const T kTol = std::is_same_v<T, float> ? T(1e-5) : T(1e-12);

template <class T>
M3<T> Rows(T a, T b, T c, T d, T e, T f, T g = 0, T h = 0, T i = 1) {
    const T v[9] = {a, b, c, d, e, f, g, h, i};
    return M3<T>(v);
}

// |a[i] - b[i]| <= tol for every component of a point or a row-major matrix.
template <class A, class T>
::testing::AssertionResult Near(const A& a, const A& b, T tol) {
    constexpr int n = std::is_same_v<A, V2<T>> ? 2 : 9;
    for (int i = 0; i < n; ++i)
        if (!(std::fabs(a[i] - b[i]) <= tol))
            return ::testing::AssertionFailure() << "[" << i << "] " << a[i] << " vs " << b[i];
    return ::testing::AssertionSuccess();
}

// A well-conditioned frame (rotation by 30 degrees, scaling (2, 0.5), translation (3, -1)),
// another frame, and a singular one.
template <class T>
const M3<T> kF = Rows<T>(T(1.7320508075688772), T(-0.25), 3, 1, T(0.4330127018922193), -1);
template <class T>
const M3<T> kG = Rows<T>(0, -1, 5, 1, 0, 2);
template <class T>
const M3<T> kSingular = Rows<T>(1, 2, 3, 2, 4, 6, 0, 0, 0);

TYPED_TEST(Transform2DTyped, TransformClasses) {
    using T = TypeParam;
    const M3<T> f = kF<T>, g = kG<T>, id = Rows<T>(1, 0, 0, 0, 1, 0);
    // AddTransform acts after the present transform; Combine leaves the object alone.
    CMLBase2DTransform<T> b(f);
    for (int mode : {1, -3, 0})
        EXPECT_TRUE(Near(b.Combine(g, mode), mode ? g * f : f * g, T(0))) << mode;
    b.AddTransform(g);
    EXPECT_TRUE(Near(b.GetMatrix(), g * f, T(0)));
    const CMLBase2DTransform<T> n(Rows<T>(1, 2, 3, 4, 5, 6, T(0.5), T(-0.5), T(1.5)));
    EXPECT_TRUE(n.IsAffine(T(0.5)) == 1 && n.IsAffine(T(0.25)) == 0);  // inclusive
    // Invert returns 1 on success, 0 with out untouched for a singular matrix.
    M3<T> out;
    EXPECT_EQ(CMLBase2DTransform<T>(f).Invert(out, T(1e-6)), 1);
    EXPECT_TRUE(Near(out * f, id, T(10) * kTol<T>));
    out = g;
    EXPECT_EQ(CMLBase2DTransform<T>(kSingular<T>).Invert(out, T(1e-6)), 0);
    EXPECT_TRUE(Near(out, g, T(0)));
    // An affine transform, deleted through the base, is of type 6 even when it is not affine.
    std::unique_ptr<CMLBase2DTransform<T>> p(new Affine<T>(Rows<T>(1, 2, 3, 4, 5, 6, 7, 8, 9)));
    EXPECT_EQ(p->GetTypeOfTransform(), 6);
    *p = CMLBase2DTransform<T>(f);  // virtual assignment
    EXPECT_TRUE(Near(p->GetMatrix(), f, T(0)));
    const T av[4] = {1, 2, 3, 4};
    EXPECT_TRUE(Near(Affine<T>(CMLMatrix2<T>(av), V2<T>(5, 6)).GetMatrix(),
                     Rows<T>(1, 2, 5, 3, 4, 6), T(0)));
    // Parts of the matrix, the shape tests, and the mapping of points and vectors.
    Affine<T> a(Rows<T>(1, 2, 3, 4, 5, 6, 7, 8, 9));
    const CMLMatrixMN<T> r = a.Get2_3Matrix();
    EXPECT_TRUE(r.RowsNb() == 2 && r.ColsNb() == 3 && r(0, 2) == T(3) && r(1, 0) == T(4));
    const T nv[4] = {-1, -2, -3, -4};
    a.Set2DData(CMLMatrix2<T>(nv), V2<T>(-5, -6));  // the last row stays
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(-1, -2, -5, -3, -4, -6, 7, 8, 9), T(0)));
    // Digits: IsTranslation, IsRotation, IsOrthogonal, IsScaling; a rotation by 90 degrees about
    // (1, 1), a scaling by (2, 1) about (3, 4), a reflection.
    const std::pair<M3<T>, int> rows[] = {
        {Rows<T>(1, 0, 0, 0, 1, 0), 1111}, {Rows<T>(0, -1, 2, 1, 0, 0), 110},
        {Rows<T>(1, 0, 1, 0, 1, 0), 1010}, {Rows<T>(2, 0, -3, 0, 1, 0), 1},
        {Rows<T>(-1, 0, 2, 0, 1, 0), 11},  {Rows<T>(1, 0, 0, 0, 1, 0, T(0.1), 0, 1), 0}};
    const T eps = T(1e-5);
    for (const auto& [m, digits] : rows) {
        a.SetTransform(m);
        EXPECT_EQ(a.IsTranslation(eps) * 1000 + a.IsRotation(eps) * 100 + a.IsOrthogonal(eps) * 10 +
                      a.IsScaling(eps),
                  digits);
    }
    // Points are the first two components of matrix * (x, y, 1), never divided by the third.
    a.SetTransform(Rows<T>(1, 2, 3, 4, 5, 6, 1, 1, 2));
    V2<T> pts[2] = {V2<T>(1, 1), V2<T>(-3, T(0.5))}, q1, q2;
    a.TransformLine(pts[0], pts[1], q1, q2);
    a.TransformPointsInPlace(2, pts);  // through TransformPoints and TransformPoint
    EXPECT_TRUE(Near(q1, V2<T>(6, 15), T(0)) && Near(q2, V2<T>(1, T(-3.5)), T(0)));
    EXPECT_TRUE(Near(pts[0], q1, T(0)) && Near(pts[1], q2, T(0)));
    CMLVector3<T> v(1, 1, 2);
    a.ExecuteInPlace(1, &v);  // through Execute, all three components
    EXPECT_TRUE(v.x == T(9) && v.y == T(21) && v.z == T(6));
}

TYPED_TEST(Transform2DTyped, SettersActInTheOrderOfTheirLetters) {
    using T = TypeParam;
    using P = V2<T>;
    EXPECT_TRUE(Near(mlTranslate(P(1, 2), P(T(0.5), -3)), P(T(1.5), -1), T(0)));
    EXPECT_TRUE(Near(mlRotate(T(90), P(2, 3), P(1, -1)), P(6, 2), kTol<T>));
    EXPECT_TRUE(Near(mlScale(P(2, 3), P(1, -1), P(T(0.5), 4)), P(0, 14), T(0)));
    Affine<T> x(Rows<T>(1, 2, 3, 4, 5, 6));
    x.AddShear(2, 3);  // replaces rows: row 0 := 2 * row 1, then row 1 := 3 * the new row 0
    EXPECT_TRUE(Near(x.GetMatrix(), Rows<T>(8, 10, 12, 24, 30, 36), T(0)));
    x.SetShear(T(0.5), -2);
    EXPECT_TRUE(Near(x.GetMatrix(), Rows<T>(1, T(0.5), 0, -2, 1, 0), T(0)));
    // Each setter, from the frame kF, against the point functions in the order of its letters:
    // F the frame, r the rotation with AddRotation's in-place rows, (x, y) -> (u, si u + co y).
    const P t(T(1.5), -2), rc(-1, T(0.5)), s(2, T(-0.5)), sc(3, 1), p(T(0.7), T(-1.3));
    const T a = -121, co = std::cos(a * mlDegToRad<T>), si = std::sin(a * mlDegToRad<T>);
    const auto inPlace = [&](P q) {
        const T u = co * (q.x - rc.x) - si * (q.y - rc.y);
        return P(rc.x + u, rc.y + si * u + co * (q.y - rc.y));
    };
    using Set = std::function<void(Affine<T>&)>;
    const std::pair<const char*, Set> rows[] = {
        {"T", [&](Affine<T>& m) { m.SetTranslation(t); }},
        {"R", [&](Affine<T>& m) { m.SetRotation(a, rc); }},
        {"S", [&](Affine<T>& m) { m.SetScaling(s, sc); }},
        {"FT", [&](Affine<T>& m) { m.AddTranslation(t); }},
        {"FS", [&](Affine<T>& m) { m.AddScaling(s, sc); }},
        {"Fr", [&](Affine<T>& m) { m.AddRotation(a, rc); }},
        {"TR", [&](Affine<T>& m) { m.SetTR(t, a, rc); }},
        {"RT", [&](Affine<T>& m) { m.SetRT(t, a, rc); }},
        {"TS", [&](Affine<T>& m) { m.SetTS(t, s, sc); }},
        {"ST", [&](Affine<T>& m) { m.SetST(t, s, sc); }},
        {"RS", [&](Affine<T>& m) { m.SetRS(a, rc, s, sc); }},
        {"Sr", [&](Affine<T>& m) { m.SetSR(a, rc, s, sc); }},
        {"TRS", [&](Affine<T>& m) { m.SetTRS(t, a, rc, s, sc); }},
        {"TSR", [&](Affine<T>& m) { m.SetTSR(t, a, rc, s, sc); }},
        {"RST", [&](Affine<T>& m) { m.SetRST(t, a, rc, s, sc); }},
        {"RTS", [&](Affine<T>& m) { m.SetRTS(t, a, rc, s, sc); }},
        {"SRT", [&](Affine<T>& m) { m.SetSRT(t, a, rc, s, sc); }},
        {"STR", [&](Affine<T>& m) { m.SetSTR(t, a, rc, s, sc); }}};
    for (const auto& [letters, set] : rows) {
        Affine<T> m(kF<T>);
        set(m);
        P q = p;
        for (const char* c = letters; *c; ++c)
            q = *c == 'F'   ? mlLocalToWorld(q, kF<T>)
                : *c == 'T' ? mlTranslate(q, t)
                : *c == 'R' ? mlRotate(a, rc, q)
                : *c == 'r' ? inPlace(q)
                            : mlScale(s, sc, q);
        EXPECT_TRUE(Near(m.TransformPoint(p), q, T(20) * kTol<T>)) << letters;
    }
}

TYPED_TEST(Transform2DTyped, FramesAndFreeFunctions) {
    using T = TypeParam;
    const T tol = T(50) * kTol<T>;
    const M3<T> f = kF<T>, g = kG<T>, singular = kSingular<T>;
    const V2<T> p(T(1.25), T(-0.75));
    const V2<T> w = mlLocalToWorld(p, f);
    EXPECT_TRUE(Near(mlWorldToLocal(w, f), p, T(10) * kTol<T>));
    EXPECT_TRUE(Near(mlLocalToWorld(mlRecalculateCoordinates(p, f, g), g), w, T(10) * kTol<T>));
    EXPECT_TRUE(
        Near(mlLocalToWorld(V2<T>(1, 1), Rows<T>(1, 2, 3, 4, 5, 6, 1, 1, 2)), V2<T>(6, 15), T(0)));
    // The inversions use eps 1e-6: |det| = 1e-6 still inverts, 5e-7 does not; failures give p.
    EXPECT_TRUE(Near(mlWorldToLocal(V2<T>(1, 1), Rows<T>(T(0.5), 0, 0, 0, T(2e-6), 0)),
                     V2<T>(2, T(5e5)), T(2) * kTol<T> * T(5e5)));
    EXPECT_TRUE(
        Near(mlWorldToLocal(V2<T>(1, 1), Rows<T>(T(0.5), 0, 0, 0, T(1e-6), 0)), V2<T>(1, 1), T(0)));
    EXPECT_TRUE(Near(mlWorldToLocal(p, singular), p, T(0)));
    EXPECT_TRUE(Near(mlRecalculateCoordinates(p, f, singular), p, T(0)));
    // A transform m given in frame f: in the world it maps f p to f m p.
    const M3<T> m = Rows<T>(T(0.5), -1, 2, T(1.5), T(0.25), -3);
    const M3<T> world = mlTransformToWorld(m, f);
    EXPECT_TRUE(Near(mlLocalToWorld(p, world * f), mlLocalToWorld(mlLocalToWorld(p, m), f), tol));
    EXPECT_TRUE(Near(mlTransformToLocal(world, f), m, tol));
    EXPECT_TRUE(Near(mlTransformToWorld(mlRecalculateTransform(m, f, g), g), world, tol));
    // mlCombineTransforms: m1 first, then m brought from frame g into frame f.
    const M3<T> m1 = Rows<T>(1, 0, 2, 0, 1, -1), x = mlRecalculateTransform(m, g, f);
    EXPECT_TRUE(Near(mlCombineTransforms(m1, m, f, g, 1), x * m1, T(0)));
    EXPECT_TRUE(Near(mlCombineTransforms(m1, m, f, g, 0), m1 * x, T(0)));
    // Failed inversions return the transform unchanged.
    for (const M3<T>& r :
         {mlTransformToWorld(m, singular), mlTransformToLocal(m, singular),
          mlRecalculateTransform(m, singular, g), mlRecalculateTransform(m, f, singular)})
        EXPECT_TRUE(Near(r, m, T(0)));
    // The affine map of three point pairs; collinear source points, or a triangle of |det| below
    // 1e-6, give 0 and leave out as it was.
    const M3<T> a = Rows<T>(T(1.5), T(-0.5), 3, T(0.25), 2, -1);
    const V2<T> src[3] = {V2<T>(0, 0), V2<T>(2, 1), V2<T>(-1, 3)};
    const V2<T> dst[3] = {mlLocalToWorld(src[0], a), mlLocalToWorld(src[1], a),
                          mlLocalToWorld(src[2], a)};
    M3<T> out;
    EXPECT_EQ(mlFindAffineTransform(src, dst, out), 1);
    EXPECT_TRUE(Near(out, a, T(20) * kTol<T>));
    const V2<T> line[3] = {V2<T>(0, 0), V2<T>(1, 1), V2<T>(2, 2)};
    const V2<T> thin[3] = {V2<T>(0, 0), V2<T>(1, 1), V2<T>(2, T(2) + T(4e-7))};
    for (const V2<T>* s : {line, thin}) {
        out = kG<T>;
        EXPECT_EQ(mlFindAffineTransform(s, dst, out), 0);
        EXPECT_TRUE(Near(out, kG<T>, T(0)));
    }
}

}  // namespace
