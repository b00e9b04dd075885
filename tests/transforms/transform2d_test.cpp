#include <ml/transform2d.h>

#include <ml/matrix_fixed.h>
#include <ml/vector_fixed.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <ostream>
#include <type_traits>

template <class T>
void PrintTo(const CMLVector2<T>& v, std::ostream* os) {
    *os << '(' << v.x << ", " << v.y << ')';
}

namespace {

template <class T>
class Transform2DTyped : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Transform2DTyped, RealTypes);

template <class T>
T Tol() {
    return std::is_same_v<T, float> ? T(1e-5) : T(1e-12);
}

template <class T>
using V2 = CMLVector2<T>;
template <class T>
using M3 = CMLMatrix3<T>;

template <class T>
M3<T> Rows(T a, T b, T c, T d, T e, T f, T g = 0, T h = 0, T i = 1) {
    const T v[9] = {a, b, c, d, e, f, g, h, i};
    return M3<T>(v);
}

template <class T>
::testing::AssertionResult Near(const V2<T>& a, const V2<T>& b, T tol) {
    if (std::fabs(a.x - b.x) <= tol && std::fabs(a.y - b.y) <= tol) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "(" << a.x << ", " << a.y << ") vs (" << b.x << ", " << b.y << ")";
}

template <class T>
::testing::AssertionResult Near(const M3<T>& a, const M3<T>& b, T tol) {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            if (!(std::fabs(a(i, j) - b(i, j)) <= tol)) {
                return ::testing::AssertionFailure()
                       << "element (" << i << ", " << j << "): " << a(i, j) << " vs " << b(i, j);
            }
        }
    }
    return ::testing::AssertionSuccess();
}

template <class T>
M3<T> Identity() {
    M3<T> m;
    m.Unit();
    return m;
}

// A well-conditioned frame: rotation by 30 degrees, scaling (2, 0.5), translation (3, -1).
template <class T>
M3<T> Frame() {
    const T c = std::cos(T(0.5235987755982988)), s = std::sin(T(0.5235987755982988));
    return Rows<T>(2 * c, T(-0.5) * s, 3, 2 * s, T(0.5) * c, -1);
}

template <class T>
M3<T> OtherFrame() {
    return Rows<T>(0, -1, 5, 1, 0, 2);
}

// ---- Base transform ----------------------------------------------------------------------------

TYPED_TEST(Transform2DTyped, BaseHoldsOneMatrix) {
    using T = TypeParam;
    static_assert(std::is_polymorphic_v<CMLBase2DTransform<T>>);
    const CMLBase2DTransform<T> id;
    EXPECT_TRUE(Near(id.GetMatrix(), Identity<T>(), T(0)));
    EXPECT_EQ(id.GetTypeOfTransform(), 0);
    CMLBase2DTransform<T> b(Frame<T>());
    EXPECT_TRUE(Near(b.GetMatrix(), Frame<T>(), T(0)));
    b.SetToIdentity();
    EXPECT_TRUE(Near(b.GetMatrix(), Identity<T>(), T(0)));
    b.SetTransform(OtherFrame<T>());
    EXPECT_TRUE(Near(b.GetMatrix(), OtherFrame<T>(), T(0)));
    CMLBase2DTransform<T> c;
    c = b;
    EXPECT_TRUE(Near(c.GetMatrix(), OtherFrame<T>(), T(0)));
}

TYPED_TEST(Transform2DTyped, DeletedThroughTheBase) {
    using T = TypeParam;
    std::unique_ptr<CMLBase2DTransform<T>> p(new CMLAffine2DTransform<T>(Frame<T>()));
    EXPECT_EQ(p->GetTypeOfTransform(), 6);
    M3<T> out;
    EXPECT_EQ(p->Invert(out, T(1e-6)), 1);
}

TYPED_TEST(Transform2DTyped, AddTransformActsAfterAndCombineLeavesTheObject) {
    using T = TypeParam;
    CMLBase2DTransform<T> b(Frame<T>());
    b.AddTransform(OtherFrame<T>());
    EXPECT_TRUE(Near(b.GetMatrix(), OtherFrame<T>() * Frame<T>(), T(0)));
    const CMLBase2DTransform<T> f(Frame<T>());
    EXPECT_TRUE(Near(f.Combine(OtherFrame<T>(), 1), OtherFrame<T>() * Frame<T>(), T(0)));
    EXPECT_TRUE(Near(f.Combine(OtherFrame<T>(), -3), OtherFrame<T>() * Frame<T>(), T(0)));
    EXPECT_TRUE(Near(f.Combine(OtherFrame<T>(), 0), Frame<T>() * OtherFrame<T>(), T(0)));
    EXPECT_TRUE(Near(f.GetMatrix(), Frame<T>(), T(0)));
}

TYPED_TEST(Transform2DTyped, IsAffineIsInclusive) {
    using T = TypeParam;
    EXPECT_EQ(CMLBase2DTransform<T>(Frame<T>()).IsAffine(T(0)), 1);
    const CMLBase2DTransform<T> b(Rows<T>(1, 2, 3, 4, 5, 6, T(0.5), T(-0.5), T(1.5)));
    EXPECT_EQ(b.IsAffine(T(0.5)), 1);
    EXPECT_EQ(b.IsAffine(T(0.25)), 0);
}

TYPED_TEST(Transform2DTyped, InvertReturnsOneOnSuccess) {
    using T = TypeParam;
    const CMLBase2DTransform<T> b(Frame<T>());
    M3<T> out;
    EXPECT_EQ(b.Invert(out, T(1e-6)), 1);
    EXPECT_TRUE(Near(out * Frame<T>(), Identity<T>(), T(10) * Tol<T>()));
    // Singular: 0, and out keeps what it held.
    const CMLBase2DTransform<T> s(Rows<T>(1, 2, 0, 2, 4, 0));
    out = OtherFrame<T>();
    EXPECT_EQ(s.Invert(out, T(1e-6)), 0);
    EXPECT_TRUE(Near(out, OtherFrame<T>(), T(0)));
    // |det| equal to eps still inverts.
    const CMLBase2DTransform<T> e(Rows<T>(T(0.5), 0, 0, 0, T(0.5), 0));  // det 0.25
    EXPECT_EQ(e.Invert(out, T(0.25)), 1);
    EXPECT_EQ(e.Invert(out, T(0.5)), 0);
}

// ---- Affine transform: type, constructors, assignment ------------------------------------------

TYPED_TEST(Transform2DTyped, AffineTypeIsAlwaysSix) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a(Rows<T>(1, 2, 3, 4, 5, 6, 7, 8, 9));  // not even affine
    EXPECT_EQ(a.GetTypeOfTransform(), 6);
    const CMLBase2DTransform<T>& base = a;
    EXPECT_EQ(base.GetTypeOfTransform(), 6);
    EXPECT_EQ(CMLAffine2DTransform<T>().GetTypeOfTransform(), 6);
}

TYPED_TEST(Transform2DTyped, AffineConstructorsAndAssignments) {
    using T = TypeParam;
    EXPECT_TRUE(Near(CMLAffine2DTransform<T>().GetMatrix(), Identity<T>(), T(0)));
    const T av[4] = {1, 2, 3, 4};
    const CMLAffine2DTransform<T> a(CMLMatrix2<T>(av), V2<T>(5, 6));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(1, 2, 5, 3, 4, 6), T(0)));
    const CMLAffine2DTransform<T> copy(a);
    EXPECT_TRUE(Near(copy.GetMatrix(), a.GetMatrix(), T(0)));
    CMLAffine2DTransform<T> b;
    b = a;
    EXPECT_TRUE(Near(b.GetMatrix(), a.GetMatrix(), T(0)));
    // Assignment through a base reference is virtual.
    CMLBase2DTransform<T>& ref = b;
    ref = CMLBase2DTransform<T>(Frame<T>());
    EXPECT_TRUE(Near(b.GetMatrix(), Frame<T>(), T(0)));
    b = CMLBase2DTransform<T>(OtherFrame<T>());
    EXPECT_TRUE(Near(b.GetMatrix(), OtherFrame<T>(), T(0)));
}

// ---- Elementary setters ------------------------------------------------------------------------

TYPED_TEST(Transform2DTyped, RotationIsInDegreesAboutTheCentre) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a;
    a.SetRotation(90, V2<T>(0, 0));
    EXPECT_TRUE(Near(a.TransformPoint(V2<T>(1, 0)), V2<T>(0, 1), Tol<T>()));
    a.SetRotation(90, V2<T>(1, 1));
    EXPECT_TRUE(Near(a.TransformPoint(V2<T>(2, 1)), V2<T>(1, 2), Tol<T>()));
    EXPECT_TRUE(Near(a.TransformPoint(V2<T>(1, 1)), V2<T>(1, 1), Tol<T>()));
    a.SetRotation(-30, V2<T>(2, -1));
    EXPECT_TRUE(
        Near(a.TransformPoint(V2<T>(5, 4)), mlRotate(T(-30), V2<T>(2, -1), V2<T>(5, 4)), Tol<T>()));
}

TYPED_TEST(Transform2DTyped, TranslationScalingShear) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a;
    a.SetTranslation(V2<T>(3, -2));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(1, 0, 3, 0, 1, -2), T(0)));
    a.SetScaling(V2<T>(2, 3), V2<T>(1, -1));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(2, 0, -1, 0, 3, 2), T(0)));
    EXPECT_TRUE(Near(a.TransformPoint(V2<T>(1, -1)), V2<T>(1, -1), T(0)));  // the centre stays
    a.SetShear(T(0.5), -2);
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(1, T(0.5), 0, -2, 1, 0), T(0)));
}

// ---- Composed setters: the letters name the order in which the parts act ----------------------

TYPED_TEST(Transform2DTyped, TwoPartSettersActInLetterOrder) {
    using T = TypeParam;
    const V2<T> t(T(1.5), -2), c(-1, T(0.5)), s(2, T(-0.5)), sc(3, 1), p(T(0.7), T(-1.3));
    const T ang = 37;
    const T tol = T(10) * Tol<T>();
    CMLAffine2DTransform<T> a;
    a.SetTR(t, ang, c);
    EXPECT_TRUE(Near(a.TransformPoint(p), mlRotate(ang, c, mlTranslate(p, t)), tol));
    a.SetRT(t, ang, c);
    EXPECT_TRUE(Near(a.TransformPoint(p), mlTranslate(mlRotate(ang, c, p), t), tol));
    a.SetTS(t, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), mlScale(s, sc, mlTranslate(p, t)), tol));
    a.SetST(t, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), mlTranslate(mlScale(s, sc, p), t), tol));
    a.SetRS(ang, c, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), mlScale(s, sc, mlRotate(ang, c, p)), tol));
}

TYPED_TEST(Transform2DTyped, ThreePartSettersActInLetterOrder) {
    using T = TypeParam;
    const V2<T> t(T(1.5), -2), rc(-1, T(0.5)), s(2, T(-0.5)), sc(3, 1), p(T(0.7), T(-1.3));
    const T ang = -121;
    const T tol = T(20) * Tol<T>();
    const auto tr = [&](const V2<T>& q) { return mlTranslate(q, t); };
    const auto ro = [&](const V2<T>& q) { return mlRotate(ang, rc, q); };
    const auto sca = [&](const V2<T>& q) { return mlScale(s, sc, q); };
    CMLAffine2DTransform<T> a;
    a.SetTRS(t, ang, rc, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), sca(ro(tr(p))), tol));
    a.SetTSR(t, ang, rc, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), ro(sca(tr(p))), tol));
    a.SetRST(t, ang, rc, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), tr(sca(ro(p))), tol));
    a.SetRTS(t, ang, rc, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), sca(tr(ro(p))), tol));
    a.SetSRT(t, ang, rc, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), tr(ro(sca(p))), tol));
    a.SetSTR(t, ang, rc, s, sc);
    EXPECT_TRUE(Near(a.TransformPoint(p), ro(tr(sca(p))), tol));
}

// ---- Adding operations -------------------------------------------------------------------------

TYPED_TEST(Transform2DTyped, AddTranslationAndScalingAreExactProducts) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a(Frame<T>());
    a.AddTranslation(V2<T>(2, -3));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(1, 0, 2, 0, 1, -3) * Frame<T>(), Tol<T>()));
    CMLAffine2DTransform<T> b(Frame<T>());
    b.AddScaling(V2<T>(2, 3), V2<T>(1, -1));
    EXPECT_TRUE(Near(b.GetMatrix(), Rows<T>(2, 0, -1, 0, 3, 2) * Frame<T>(), Tol<T>()));
}

TYPED_TEST(Transform2DTyped, AddRotationFormsRowOneFromTheNewRowZero) {
    using T = TypeParam;
    // From the identity by 30 degrees: row 1 = (si * co, co - si^2), not (si, co).
    CMLAffine2DTransform<T> a;
    a.AddRotation(30, V2<T>(0, 0));
    const T co = std::cos(T(0.5235987755982988)), si = T(0.5);
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(co, -si, 0, si * co, co - si * si, 0), Tol<T>()));
    // By 90 degrees about (1, 0): T(-c), the in-place rows, then T(c).
    CMLAffine2DTransform<T> b;
    b.AddRotation(90, V2<T>(1, 0));
    EXPECT_TRUE(Near(b.GetMatrix(), Rows<T>(0, -1, 1, 0, -1, 0), Tol<T>()));
    // A zero angle changes nothing.
    CMLAffine2DTransform<T> c(Frame<T>());
    c.AddRotation(0, V2<T>(4, 5));
    EXPECT_TRUE(Near(c.GetMatrix(), Frame<T>(), Tol<T>()));
}

TYPED_TEST(Transform2DTyped, SetSRInheritsTheInPlaceRotation) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a;
    a.SetSR(90, V2<T>(0, 0), V2<T>(2, 3), V2<T>(0, 0));
    // The exact product R * S would have rows (0, -3, 0), (2, 0, 0).
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(0, -3, 0, 0, -3, 0), Tol<T>()));
    CMLAffine2DTransform<T> b;
    b.SetScaling(V2<T>(2, 3), V2<T>(1, 1));
    b.AddRotation(15, V2<T>(-1, 2));
    a.SetSR(15, V2<T>(-1, 2), V2<T>(2, 3), V2<T>(1, 1));
    EXPECT_TRUE(Near(a.GetMatrix(), b.GetMatrix(), T(0)));
}

TYPED_TEST(Transform2DTyped, AddShearReplacesRows) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a(Rows<T>(1, 2, 3, 4, 5, 6));
    a.AddShear(2, 3);
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(8, 10, 12, 24, 30, 36), T(0)));
}

// ---- Parts and tests ---------------------------------------------------------------------------

TYPED_TEST(Transform2DTyped, PartsOfTheMatrix) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a(Rows<T>(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_TRUE(Near(a.GetTranslation(), V2<T>(3, 6), T(0)));
    const CMLMatrix2<T> b = a.Get2DMatrix();
    EXPECT_EQ(b(0, 0), T(1));
    EXPECT_EQ(b(0, 1), T(2));
    EXPECT_EQ(b(1, 0), T(4));
    EXPECT_EQ(b(1, 1), T(5));
    const CMLMatrixMN<T> r = a.Get2_3Matrix();
    EXPECT_EQ(r.RowsNb(), 2);
    EXPECT_EQ(r.ColsNb(), 3);
    EXPECT_EQ(r(0, 2), T(3));
    EXPECT_EQ(r(1, 0), T(4));
    CMLMatrix2<T> e;
    V2<T> t;
    a.Extract2DData(e, t);
    EXPECT_EQ(e(1, 1), T(5));
    EXPECT_TRUE(Near(t, V2<T>(3, 6), T(0)));
    const T nv[4] = {-1, -2, -3, -4};
    a.Set2DData(CMLMatrix2<T>(nv), V2<T>(-5, -6));
    EXPECT_TRUE(Near(a.GetMatrix(), Rows<T>(-1, -2, -5, -3, -4, -6, 7, 8, 9), T(0)));
}

TYPED_TEST(Transform2DTyped, ShapeTests) {
    using T = TypeParam;
    const T eps = T(1e-5);
    CMLAffine2DTransform<T> a;
    EXPECT_EQ(a.IsTranslation(eps) + a.IsRotation(eps) + a.IsOrthogonal(eps) + a.IsScaling(eps), 4);
    a.SetRotation(30, V2<T>(1, 2));
    EXPECT_EQ(a.IsRotation(eps), 1);
    EXPECT_EQ(a.IsOrthogonal(eps), 1);
    EXPECT_EQ(a.IsTranslation(eps), 0);
    EXPECT_EQ(a.IsScaling(eps), 0);
    a.SetTranslation(V2<T>(1, 0));
    EXPECT_EQ(a.IsTranslation(eps), 1);
    EXPECT_EQ(a.IsRotation(eps), 0);
    EXPECT_EQ(a.IsOrthogonal(eps), 1);
    EXPECT_EQ(a.IsScaling(eps), 0);
    a.SetScaling(V2<T>(2, 1), V2<T>(3, 4));  // only x is scaled, about x = 3
    EXPECT_EQ(a.IsScaling(eps), 1);
    EXPECT_EQ(a.IsOrthogonal(eps), 0);
    a.SetTransform(Rows<T>(-1, 0, 2, 0, 1, 0));  // a mirror
    EXPECT_EQ(a.IsOrthogonal(eps), 1);
    EXPECT_EQ(a.IsRotation(eps), 0);
    a.SetTransform(Rows<T>(1, 0, 0, 0, 1, 0, T(0.1), 0, 1));  // not affine
    EXPECT_EQ(a.IsTranslation(eps) + a.IsRotation(eps) + a.IsOrthogonal(eps) + a.IsScaling(eps), 0);
}

// ---- Mapping points and vectors ----------------------------------------------------------------

TYPED_TEST(Transform2DTyped, PointsAreNotDividedByTheThirdComponent) {
    using T = TypeParam;
    CMLAffine2DTransform<T> a(Rows<T>(1, 2, 3, 4, 5, 6, 1, 1, 2));
    EXPECT_TRUE(Near(a.TransformPoint(V2<T>(1, 1)), V2<T>(6, 15), T(0)));
    const CMLVector3<T> e = a.Execute(CMLVector3<T>(1, 1, 2));
    EXPECT_EQ(e.x, T(9));
    EXPECT_EQ(e.y, T(21));
    EXPECT_EQ(e.z, T(6));
    CMLVector3<T> v(1, 1, 2);
    a.ExecuteInPlace(v);
    EXPECT_EQ(v.z, T(6));
    V2<T> p(1, 1);
    a.TransformPointInPlace(p);
    EXPECT_TRUE(Near(p, V2<T>(6, 15), T(0)));
}

TYPED_TEST(Transform2DTyped, ArraysAndLines) {
    using T = TypeParam;
    const CMLAffine2DTransform<T> a(Frame<T>());
    V2<T> pts[2] = {V2<T>(1, 2), V2<T>(-3, T(0.5))};
    V2<T> out[2], q1, q2;
    a.TransformPoints(2, pts, out);
    a.TransformLine(pts[0], pts[1], q1, q2);
    a.TransformPointsInPlace(2, pts);
    EXPECT_TRUE(Near(out[1], a.TransformPoint(V2<T>(-3, T(0.5))), T(0)));
    EXPECT_TRUE(Near(pts[1], out[1], T(0)));
    EXPECT_TRUE(Near(q1, out[0], T(0)));
    EXPECT_TRUE(Near(q2, out[1], T(0)));
    CMLVector3<T> v[2] = {CMLVector3<T>(1, 2, 1), CMLVector3<T>(3, 4, 0)}, vout[2];
    a.Execute(2, v, vout);
    a.ExecuteInPlace(2, v);
    EXPECT_EQ(vout[1].x, a.Execute(CMLVector3<T>(3, 4, 0)).x);
    EXPECT_EQ(v[1].y, vout[1].y);
}

// ---- Frames ------------------------------------------------------------------------------------

TYPED_TEST(Transform2DTyped, LocalAndWorldPoints) {
    using T = TypeParam;
    const V2<T> p(T(1.25), T(-0.75));
    const V2<T> w = mlLocalToWorld(p, Frame<T>());
    EXPECT_TRUE(Near(w, CMLAffine2DTransform<T>(Frame<T>()).TransformPoint(p), T(0)));
    EXPECT_TRUE(Near(mlWorldToLocal(w, Frame<T>()), p, T(10) * Tol<T>()));
    // No division by the third component for a non-affine frame.
    EXPECT_TRUE(
        Near(mlLocalToWorld(V2<T>(1, 1), Rows<T>(1, 2, 3, 4, 5, 6, 1, 1, 2)), V2<T>(6, 15), T(0)));
    // A singular frame gives the point back.
    const M3<T> singular = Rows<T>(1, 2, 3, 2, 4, 6, 0, 0, 0);
    EXPECT_TRUE(Near(mlWorldToLocal(p, singular), p, T(0)));
    // The free functions invert with eps 1e-6: |det| = 1e-6 still inverts, 5e-7 does not.
    EXPECT_TRUE(Near(mlWorldToLocal(V2<T>(1, 1), Rows<T>(T(0.5), 0, 0, 0, T(2e-6), 0)),
                     V2<T>(2, T(5e5)), T(2) * Tol<T>() * T(5e5)));
    EXPECT_TRUE(
        Near(mlWorldToLocal(V2<T>(1, 1), Rows<T>(T(0.5), 0, 0, 0, T(1e-6), 0)), V2<T>(1, 1), T(0)));
    // A point of one frame in another.
    const V2<T> q = mlRecalculateCoordinates(p, Frame<T>(), OtherFrame<T>());
    EXPECT_TRUE(
        Near(q, mlWorldToLocal(mlLocalToWorld(p, Frame<T>()), OtherFrame<T>()), T(10) * Tol<T>()));
    EXPECT_TRUE(Near(mlLocalToWorld(q, OtherFrame<T>()), w, T(10) * Tol<T>()));
    EXPECT_TRUE(Near(mlRecalculateCoordinates(p, Frame<T>(), singular), p, T(0)));
}

TYPED_TEST(Transform2DTyped, TransformsBetweenFrames) {
    using T = TypeParam;
    const T tol = T(50) * Tol<T>();
    const M3<T> m = Rows<T>(T(0.5), -1, 2, T(1.5), T(0.25), -3);  // a transform in frame F
    const M3<T> f = Frame<T>();
    const V2<T> p(T(0.3), T(-2.1));  // a point in frame F
    const M3<T> world = mlTransformToWorld(m, f);
    // Moving to the world and applying the world transform = applying m locally, then moving.
    EXPECT_TRUE(Near(mlLocalToWorld(p, world * f), mlLocalToWorld(mlLocalToWorld(p, m), f), tol));
    EXPECT_TRUE(Near(mlTransformToLocal(world, f), m, tol));
    const M3<T> g = OtherFrame<T>();
    const M3<T> inG = mlRecalculateTransform(m, f, g);
    EXPECT_TRUE(Near(inG, mlTransformToLocal(mlTransformToWorld(m, f), g), tol));
    EXPECT_TRUE(Near(mlTransformToWorld(inG, g), world, tol));
    // Failed inversions return the transform unchanged.
    const M3<T> singular = Rows<T>(1, 2, 3, 2, 4, 6, 0, 0, 0);
    EXPECT_TRUE(Near(mlTransformToWorld(m, singular), m, T(0)));
    EXPECT_TRUE(Near(mlTransformToLocal(m, singular), m, T(0)));
    EXPECT_TRUE(Near(mlRecalculateTransform(m, singular, g), m, T(0)));
    EXPECT_TRUE(Near(mlRecalculateTransform(m, f, singular), m, T(0)));
}

TYPED_TEST(Transform2DTyped, CombineTransformsBringsTheSecondIntoTheFirstFrame) {
    using T = TypeParam;
    const M3<T> m1 = Rows<T>(1, 0, 2, 0, 1, -1), m2 = Rows<T>(0, -1, 0, 1, 0, 0);
    const M3<T> f1 = Frame<T>(), f2 = OtherFrame<T>();
    const M3<T> x = mlRecalculateTransform(m2, f2, f1);
    EXPECT_TRUE(Near(mlCombineTransforms(m1, m2, f1, f2, 1), x * m1, T(0)));
    EXPECT_TRUE(Near(mlCombineTransforms(m1, m2, f1, f2, 0), m1 * x, T(0)));
}

TYPED_TEST(Transform2DTyped, FindAffineTransformOfThreePointPairs) {
    using T = TypeParam;
    const M3<T> a = Rows<T>(T(1.5), T(-0.5), 3, T(0.25), 2, -1);
    const V2<T> src[3] = {V2<T>(0, 0), V2<T>(2, 1), V2<T>(-1, 3)};
    V2<T> dst[3];
    for (int i = 0; i < 3; ++i)
        dst[i] = mlLocalToWorld(src[i], a);
    M3<T> out;
    EXPECT_EQ(mlFindAffineTransform(src, dst, out), 1);
    EXPECT_TRUE(Near(out, a, T(20) * Tol<T>()));
    EXPECT_EQ(out(2, 0), T(0));
    EXPECT_EQ(out(2, 1), T(0));
    EXPECT_EQ(out(2, 2), T(1));
    // Source triangles of |det| below 1e-6 count as collinear too.
    const V2<T> thin[3] = {V2<T>(0, 0), V2<T>(1, 1), V2<T>(2, T(2) + T(4e-7))};
    out = OtherFrame<T>();
    EXPECT_EQ(mlFindAffineTransform(thin, dst, out), 0);
    // Collinear source points: 0, out as it was.
    const V2<T> line[3] = {V2<T>(0, 0), V2<T>(1, 1), V2<T>(2, 2)};
    out = OtherFrame<T>();
    EXPECT_EQ(mlFindAffineTransform(line, dst, out), 0);
    EXPECT_TRUE(Near(out, OtherFrame<T>(), T(0)));
}

// ---- Points ------------------------------------------------------------------------------------

TYPED_TEST(Transform2DTyped, PointFunctions) {
    using T = TypeParam;
    EXPECT_TRUE(Near(mlTranslate(V2<T>(1, 2), V2<T>(T(0.5), -3)), V2<T>(T(1.5), -1), T(0)));
    EXPECT_TRUE(Near(mlRotate(T(90), V2<T>(2, 3), V2<T>(1, -1)), V2<T>(6, 2), Tol<T>()));
    EXPECT_TRUE(Near(mlScale(V2<T>(2, 3), V2<T>(1, -1), V2<T>(T(0.5), 4)), V2<T>(0, 14), T(0)));
    EXPECT_TRUE(Near(mlRotate(T(360), V2<T>(2, 3), V2<T>(1, -1)), V2<T>(1, -1), T(10) * Tol<T>()));
}

}  // namespace
