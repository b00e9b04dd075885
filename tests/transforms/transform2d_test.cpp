#include <ml/transform2d.h>

#include <ml/matrix_fixed.h>
#include <ml/vector_fixed.h>

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
T Tol() {
    return std::is_same_v<T, float> ? T(1e-5) : T(1e-12);
}

template <class T>
M3<T> Rows(T a, T b, T c, T d, T e, T f, T g = 0, T h = 0, T i = 1) {
    const T v[9] = {a, b, c, d, e, f, g, h, i};
    return M3<T>(v);
}

// |a[i] - b[i]| <= tol for every component of a point or a row-major matrix.
template <class A, class T>
::testing::AssertionResult Near(const A& a, const A& b, T tol) {
    constexpr int n = std::is_same_v<A, V2<T>> ? 2 : 9;
    for (int i = 0; i < n; ++i) {
        if (!(std::fabs(a[i] - b[i]) <= tol))
            return ::testing::AssertionFailure()
                   << "component " << i << ": " << a[i] << " vs " << b[i];
    }
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

// ---- Transforms and their setters --------------------------------------------------------------

TYPED_TEST(Transform2DTyped, BaseAndAffineTransforms) {
    using T = TypeParam;
    const M3<T> f = kF<T>, g = kG<T>, id = Rows<T>(1, 0, 0, 0, 1, 0);
    EXPECT_TRUE(Near(CMLBase2DTransform<T>().GetMatrix(), id, T(0)));
    EXPECT_EQ(CMLBase2DTransform<T>().GetTypeOfTransform(), 0);
    // AddTransform acts after the present transform; Combine leaves the object alone.
    CMLBase2DTransform<T> b(f);
    EXPECT_TRUE(Near(b.Combine(g, 1), g * f, T(0)));
    EXPECT_TRUE(Near(b.Combine(g, -3), g * f, T(0)));
    EXPECT_TRUE(Near(b.Combine(g, 0), f * g, T(0)));
    b.AddTransform(g);
    EXPECT_TRUE(Near(b.GetMatrix(), g * f, T(0)));
    const CMLBase2DTransform<T> n(Rows<T>(1, 2, 3, 4, 5, 6, T(0.5), T(-0.5), T(1.5)));
    EXPECT_EQ(n.IsAffine(T(0.5)), 1);  // inclusive
    EXPECT_EQ(n.IsAffine(T(0.25)), 0);
    // Invert returns 1 on success, 0 with out untouched for |det| < eps.
    M3<T> out;
    EXPECT_EQ(CMLBase2DTransform<T>(f).Invert(out, T(1e-6)), 1);
    EXPECT_TRUE(Near(out * f, id, T(10) * Tol<T>()));
    out = g;
    EXPECT_EQ(CMLBase2DTransform<T>(kSingular<T>).Invert(out, T(1e-6)), 0);
    EXPECT_TRUE(Near(out, g, T(0)));
    EXPECT_EQ(CMLBase2DTransform<T>(Rows<T>(T(0.5), 0, 0, 0, T(0.5), 0)).Invert(out, T(0.5)), 0);
    // An affine transform, deleted through the base, is of type 6 even when it is not affine.
    std::unique_ptr<CMLBase2DTransform<T>> p(new Affine<T>(Rows<T>(1, 2, 3, 4, 5, 6, 7, 8, 9)));
    EXPECT_EQ(p->GetTypeOfTransform(), 6);
    *p = CMLBase2DTransform<T>(f);  // virtual assignment
    EXPECT_TRUE(Near(p->GetMatrix(), f, T(0)));
    const T av[4] = {1, 2, 3, 4};
    EXPECT_TRUE(Near(Affine<T>(CMLMatrix2<T>(av), V2<T>(5, 6)).GetMatrix(),
                     Rows<T>(1, 2, 5, 3, 4, 6), T(0)));
}

TYPED_TEST(Transform2DTyped, PointFunctionsAndElementarySetters) {
    using T = TypeParam;
    EXPECT_TRUE(Near(mlTranslate(V2<T>(1, 2), V2<T>(T(0.5), -3)), V2<T>(T(1.5), -1), T(0)));
    EXPECT_TRUE(Near(mlRotate(T(90), V2<T>(2, 3), V2<T>(1, -1)), V2<T>(6, 2), Tol<T>()));
    EXPECT_TRUE(Near(mlScale(V2<T>(2, 3), V2<T>(1, -1), V2<T>(T(0.5), 4)), V2<T>(0, 14), T(0)));
    Affine<T> a;
    a.SetRotation(90, V2<T>(0, 0));  // degrees
    EXPECT_TRUE(Near(a.TransformPoint(V2<T>(1, 0)), V2<T>(0, 1), Tol<T>()));
    a.SetRotation(90, V2<T>(1, 1));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(0, -1, 2, 1, 0, 0), Tol<T>()));
    a.SetTranslation(V2<T>(3, -2));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(1, 0, 3, 0, 1, -2), T(0)));
    a.SetScaling(V2<T>(2, 3), V2<T>(1, -1));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(2, 0, -1, 0, 3, 2), T(0)));
    a.SetShear(T(0.5), -2);
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(1, T(0.5), 0, -2, 1, 0), T(0)));
}

TYPED_TEST(Transform2DTyped, ComposedSettersActInLetterOrder) {
    using T = TypeParam;
    using P = V2<T>;
    const P t(T(1.5), -2), rc(-1, T(0.5)), s(2, T(-0.5)), sc(3, 1), p(T(0.7), T(-1.3));
    const T ang = -121;
    const auto tr = [&](P q) { return mlTranslate(q, t); };
    const auto ro = [&](P q) { return mlRotate(ang, rc, q); };
    const auto sca = [&](P q) { return mlScale(s, sc, q); };
    const std::pair<std::function<void(Affine<T>&)>, std::function<P(P)>> rows[] = {
        {[&](Affine<T>& a) { a.SetTR(t, ang, rc); }, [&](P q) { return ro(tr(q)); }},
        {[&](Affine<T>& a) { a.SetRT(t, ang, rc); }, [&](P q) { return tr(ro(q)); }},
        {[&](Affine<T>& a) { a.SetTS(t, s, sc); }, [&](P q) { return sca(tr(q)); }},
        {[&](Affine<T>& a) { a.SetST(t, s, sc); }, [&](P q) { return tr(sca(q)); }},
        {[&](Affine<T>& a) { a.SetRS(ang, rc, s, sc); }, [&](P q) { return sca(ro(q)); }},
        {[&](Affine<T>& a) { a.SetTRS(t, ang, rc, s, sc); }, [&](P q) { return sca(ro(tr(q))); }},
        {[&](Affine<T>& a) { a.SetTSR(t, ang, rc, s, sc); }, [&](P q) { return ro(sca(tr(q))); }},
        {[&](Affine<T>& a) { a.SetRST(t, ang, rc, s, sc); }, [&](P q) { return tr(sca(ro(q))); }},
        {[&](Affine<T>& a) { a.SetRTS(t, ang, rc, s, sc); }, [&](P q) { return sca(tr(ro(q))); }},
        {[&](Affine<T>& a) { a.SetSRT(t, ang, rc, s, sc); }, [&](P q) { return tr(ro(sca(q))); }},
        {[&](Affine<T>& a) { a.SetSTR(t, ang, rc, s, sc); }, [&](P q) { return ro(tr(sca(q))); }}};
    for (int i = 0; i < 11; ++i) {
        Affine<T> a;
        rows[i].first(a);
        EXPECT_TRUE(Near(a.TransformPoint(p), rows[i].second(p), T(20) * Tol<T>())) << "row " << i;
    }
}

TYPED_TEST(Transform2DTyped, AddOperationsWorkInPlace) {
    using T = TypeParam;
    Affine<T> a(kF<T>);
    a.AddTranslation(V2<T>(2, -3));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(1, 0, 2, 0, 1, -3) * kF<T>, Tol<T>()));
    a.SetTransform(kF<T>);
    a.AddScaling(V2<T>(2, 3), V2<T>(1, -1));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(2, 0, -1, 0, 3, 2) * kF<T>, Tol<T>()));
    // AddShear replaces rows: row 0 := shx * row 1, then row 1 := shy * the new row 0.
    a.SetTransform(Rows<T>(1, 2, 3, 4, 5, 6));
    a.AddShear(2, 3);
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(8, 10, 12, 24, 30, 36), T(0)));
    // AddRotation forms row 1 from the new row 0: by 30 degrees from the identity, row 1 is
    // (si * co, co - si^2), not (si, co).
    a.SetToIdentity();
    a.AddRotation(30, V2<T>(0, 0));
    const T co = std::cos(T(0.5235987755982988)), si = T(0.5);
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(co, -si, 0, si * co, co - si * si, 0), Tol<T>()));
    // By 90 degrees about (1, 0): T(-c), the in-place rows, then T(c).
    a.SetToIdentity();
    a.AddRotation(90, V2<T>(1, 0));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(0, -1, 1, 0, -1, 0), Tol<T>()));
    // SetSR inherits it: the exact R * S would have rows (0, -3, 0), (2, 0, 0).
    a.SetSR(90, V2<T>(0, 0), V2<T>(2, 3), V2<T>(0, 0));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(0, -3, 0, 0, -3, 0), Tol<T>()));
    Affine<T> b;
    b.SetScaling(V2<T>(2, 3), V2<T>(1, 1));
    b.AddRotation(15, V2<T>(-1, 2));
    a.SetSR(15, V2<T>(-1, 2), V2<T>(2, 3), V2<T>(1, 1));
    EXPECT_TRUE(Near(a.GetMatrix(), b.GetMatrix(), T(0)));
}

// ---- Parts, shape tests, mapping ---------------------------------------------------------------

TYPED_TEST(Transform2DTyped, PartsAndShapeTests) {
    using T = TypeParam;
    Affine<T> a(Rows<T>(1, 2, 3, 4, 5, 6, 7, 8, 9));
    const CMLMatrixMN<T> r = a.Get2_3Matrix();
    ASSERT_TRUE(r.RowsNb() == 2 && r.ColsNb() == 3);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(r(k / 3, k % 3), T(k + 1)) << k;
    const T nv[4] = {-1, -2, -3, -4};
    a.Set2DData(CMLMatrix2<T>(nv), V2<T>(-5, -6));  // the last row stays
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(-1, -2, -5, -3, -4, -6, 7, 8, 9), T(0)));
    // Digits: IsTranslation, IsRotation, IsOrthogonal, IsScaling.
    Affine<T> rot, sc;
    rot.SetRotation(30, V2<T>(1, 2));
    sc.SetScaling(V2<T>(2, 1), V2<T>(3, 4));
    const std::pair<M3<T>, int> rows[] = {
        {Rows<T>(1, 0, 0, 0, 1, 0), 1111}, {rot.GetMatrix(), 110},
        {Rows<T>(1, 0, 1, 0, 1, 0), 1010}, {sc.GetMatrix(), 1},
        {Rows<T>(-1, 0, 2, 0, 1, 0), 11},  {Rows<T>(1, 0, 0, 0, 1, 0, T(0.1), 0, 1), 0}};
    const T eps = T(1e-5);
    for (const auto& [m, digits] : rows) {
        a.SetTransform(m);
        EXPECT_EQ(a.IsTranslation(eps) * 1000 + a.IsRotation(eps) * 100 + a.IsOrthogonal(eps) * 10 +
                      a.IsScaling(eps),
                  digits);
    }
}

TYPED_TEST(Transform2DTyped, PointsAreNotDividedByTheThirdComponent) {
    using T = TypeParam;
    const Affine<T> a(Rows<T>(1, 2, 3, 4, 5, 6, 1, 1, 2));
    V2<T> pts[2] = {V2<T>(1, 1), V2<T>(-3, T(0.5))}, out[2], q1, q2;
    a.TransformPoints(2, pts, out);
    a.TransformLine(pts[0], pts[1], q1, q2);
    a.TransformPointsInPlace(2, pts);
    for (const V2<T>& q : {out[1], pts[1], q2})
        EXPECT_TRUE(Near(q, V2<T>(1, T(-3.5)), T(0)));
    EXPECT_TRUE(Near(q1, V2<T>(6, 15), T(0)) && Near(pts[0], q1, T(0)));
    CMLVector3<T> v[2] = {CMLVector3<T>(1, 1, 2), CMLVector3<T>(3, 4, 0)}, vout[2];
    a.Execute(2, v, vout);
    a.ExecuteInPlace(2, v);
    EXPECT_TRUE(vout[0].x == T(9) && vout[0].y == T(21) && vout[0].z == T(6));
    EXPECT_TRUE(v[1].x == T(11) && v[1].y == T(32) && v[1].z == T(7));
}

// ---- Frames and free functions -----------------------------------------------------------------

TYPED_TEST(Transform2DTyped, PointsAndTransformsBetweenFrames) {
    using T = TypeParam;
    const T tol = T(50) * Tol<T>();
    const M3<T> f = kF<T>, g = kG<T>, singular = kSingular<T>;
    const V2<T> p(T(1.25), T(-0.75));
    const V2<T> w = mlLocalToWorld(p, f);
    EXPECT_TRUE(Near(w, Affine<T>(f).TransformPoint(p), T(0)));
    EXPECT_TRUE(Near(mlWorldToLocal(w, f), p, T(10) * Tol<T>()));
    EXPECT_TRUE(Near(mlLocalToWorld(mlRecalculateCoordinates(p, f, g), g), w, T(10) * Tol<T>()));
    EXPECT_TRUE(
        Near(mlLocalToWorld(V2<T>(1, 1), Rows<T>(1, 2, 3, 4, 5, 6, 1, 1, 2)), V2<T>(6, 15), T(0)));
    // The inversions use eps 1e-6: |det| = 1e-6 still inverts, 5e-7 does not; failures give p.
    EXPECT_TRUE(Near(mlWorldToLocal(V2<T>(1, 1), Rows<T>(T(0.5), 0, 0, 0, T(2e-6), 0)),
                     V2<T>(2, T(5e5)), T(2) * Tol<T>() * T(5e5)));
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
    EXPECT_TRUE(Near(mlTransformToWorld(m, singular), m, T(0)));
    EXPECT_TRUE(Near(mlTransformToLocal(m, singular), m, T(0)));
    EXPECT_TRUE(Near(mlRecalculateTransform(m, singular, g), m, T(0)));
    EXPECT_TRUE(Near(mlRecalculateTransform(m, f, singular), m, T(0)));
}

TYPED_TEST(Transform2DTyped, FindAffineTransformOfThreePointPairs) {
    using T = TypeParam;
    const M3<T> a = Rows<T>(T(1.5), T(-0.5), 3, T(0.25), 2, -1);
    const V2<T> src[3] = {V2<T>(0, 0), V2<T>(2, 1), V2<T>(-1, 3)};
    const V2<T> dst[3] = {mlLocalToWorld(src[0], a), mlLocalToWorld(src[1], a),
                          mlLocalToWorld(src[2], a)};
    M3<T> out;
    EXPECT_EQ(mlFindAffineTransform(src, dst, out), 1);
    EXPECT_TRUE(Near(out, a, T(20) * Tol<T>()));
    EXPECT_TRUE(out(2, 0) == T(0) && out(2, 1) == T(0) && out(2, 2) == T(1));
    // Collinear source points, or a triangle of |det| below 1e-6: 0, out as it was.
    const V2<T> line[3] = {V2<T>(0, 0), V2<T>(1, 1), V2<T>(2, 2)};
    const V2<T> thin[3] = {V2<T>(0, 0), V2<T>(1, 1), V2<T>(2, T(2) + T(4e-7))};
    for (const V2<T>* s : {line, thin}) {
        out = kG<T>;
        EXPECT_EQ(mlFindAffineTransform(s, dst, out), 0);
        EXPECT_TRUE(Near(out, kG<T>, T(0)));
    }
}

}  // namespace
