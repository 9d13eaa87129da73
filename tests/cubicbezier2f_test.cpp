#include <geometry/cubicbezier2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::ToleranceGuard;

TEST(PointInsideTriangle, InclusiveInEveryVertexOrder) {
    const CPoint2f v[3] = {CPoint2f(0, 0), CPoint2f(4, 0), CPoint2f(0, 4)};
    const CPoint2f in[] = {v[0], v[1], v[2], CPoint2f(2, 0), CPoint2f(2, 2), CPoint2f(0, 2), CPoint2f(1, 1)};
    // One point beyond each edge, one of them an ulp past the long edge.
    const CPoint2f out[] = {CPoint2f(2, -0.5f), CPoint2f(-0.5f, 2), CPoint2f(2, std::nextafter(2.0f, 3.0f))};
    const int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (const auto& o : orders) {
        const CPoint2f &a = v[o[0]], &b = v[o[1]], &c = v[o[2]];
        for (const CPoint2f& p : in) EXPECT_TRUE(PointInsideTriangle(p, a, b, c)) << p.x << ", " << p.y;
        for (const CPoint2f& p : out) EXPECT_FALSE(PointInsideTriangle(p, a, b, c)) << p.x << ", " << p.y;
    }
}

TEST(PointInsideTriangle, DegenerateTriangleContainsEveryPoint) {
    const CPoint2f a(0, 0), b(1, 1), c(2, 2);
    for (const CPoint2f& p : {CPoint2f(5, -3), CPoint2f(-7, 9)}) {
        EXPECT_TRUE(PointInsideTriangle(p, a, b, c));
        EXPECT_TRUE(PointInsideTriangle(p, c, a, c));
    }
}

namespace {

constexpr float kPi = 3.14159265358979323846f;

void ExpectNear(const CPoint2f& actual, const CPoint2f& expected, float eps = 1e-5f) {
    EXPECT_NEAR(actual.x, expected.x, eps);
    EXPECT_NEAR(actual.y, expected.y, eps);
}

// Distance from p to the segment a-b.
float DistanceToSegment(const CPoint2f& p, const CPoint2f& a, const CPoint2f& b) {
    return p.DistanceTo(p.ClosestPointOnLineSegment(a, b));
}

// No two stored hits may be equal: the set's invariant.
void ExpectNoDuplicates(const CurveIntersections2f& out) {
    for (std::size_t i = 0; i < out.points.size(); ++i) {
        for (std::size_t j = i + 1; j < out.points.size(); ++j) EXPECT_FALSE(out.points[i] == out.points[j]);
    }
}

// An arch over [0, 4]: y(t) = 12 t (1 - t), peak (2, 3) at t = 0.5; x(t) = 12t^2 - 8t^3.
const CCubicBezier2f kArch(CPoint2f(0, 0), CPoint2f(0, 4), CPoint2f(4, 4), CPoint2f(4, 0));

}  // namespace

TEST(CubicBezier2f, ConstructorsPlaceTheInnerPoints) {
    const CCubicBezier2f quad(CPoint2f(0, 0), CPoint2f(3, 3), CPoint2f(6, 0));
    EXPECT_EQ(quad.p1, CPoint2f(2, 2));
    EXPECT_EQ(quad.p2, CPoint2f(4, 2));
    EXPECT_EQ(quad.EvaluatePoint(0.5f), CPoint2f(3, 1.5f));  // the quadratic's own midpoint

    const CCubicBezier2f seg(CPoint2f(0, 0), CPoint2f(3, 6));
    EXPECT_EQ(seg.p1, CPoint2f(1, 2));
    EXPECT_EQ(seg.p2, CPoint2f(2, 4));
    EXPECT_TRUE(seg.IsLine(0.0f));

    // Tangents get a third of the end distance; a zero tangent stays zero.
    const CCubicBezier2f herm(CPoint2f(0, 0), CVector2f(5, 0), CPoint2f(6, 0), CVector2f(0, 7));
    ExpectNear(herm.p1, CPoint2f(2, 0));
    ExpectNear(herm.p2, CPoint2f(6, -2));
    const CCubicBezier2f flat(CPoint2f(1, 1), CVector2f(0, 0), CPoint2f(4, 5), CVector2f(0, 0));
    EXPECT_EQ(flat.p1, flat.p0);
    EXPECT_EQ(flat.p2, flat.p3);

    const CPoint2f a(0, 0), b(1, 0), c(2, 1), d(3, 1);
    const CCubicBezier2f cr = CCubicBezier2f::CreateFromCatmullRomSpline(a, b, c, d, 0.5f);
    EXPECT_EQ(cr.p0, b);
    EXPECT_EQ(cr.p3, c);
    ExpectNear(cr.p1, CPoint2f(2, 0.5f));
    ExpectNear(cr.p2, CPoint2f(1, 0.5f));
    // Equal counts weigh 1; a long span before b (na = 3) halves b's tangent.
    const CCubicBezier2f even = CCubicBezier2f::CreateFromIrregularlySampledCatmullRomSpline(a, 2, b, 2, c, 2, d, 0.5f);
    ExpectNear(even.p1, cr.p1);
    ExpectNear(even.p2, cr.p2);
    const CCubicBezier2f uneven =
        CCubicBezier2f::CreateFromIrregularlySampledCatmullRomSpline(a, 3, b, 1, c, 3, d, 1.0f);
    ExpectNear(uneven.p1, CPoint2f(2, 0.5f));  // b + (c - a) * 0.5
    ExpectNear(uneven.p2, CPoint2f(1, 0.5f));  // c + (b - d) * 0.5

    CCubicBezier2f e(CPoint2f(1, 1), CPoint2f(2, 2), CPoint2f(3, 3), CPoint2f(4, 4));
    EXPECT_EQ(e.GetPoint(2), CPoint2f(3, 3));
    EXPECT_EQ(e.GetPoint(7), CPoint2f(1, 1));
    e.SetPoint(7, CPoint2f(9, 9));
    EXPECT_EQ(e.p0, CPoint2f(9, 9));
    EXPECT_EQ(e.p1, CPoint2f(2, 2));
    e.Reverse();
    EXPECT_EQ(e.p0, CPoint2f(4, 4));
    EXPECT_EQ(e.p1, CPoint2f(3, 3));
    EXPECT_EQ(e.p3, CPoint2f(9, 9));
}

TEST(CubicBezier2f, EvaluateClampsOnlyAboveAndNudgesAZeroTangentInward) {
    CPoint2f p;
    CVector2f tan;
    EXPECT_FALSE(kArch.Evaluate(0.0f, p, tan));
    EXPECT_EQ(tan, CVector2f(0, 12));  // 3 * (p1 - p0)
    EXPECT_FALSE(kArch.Evaluate(1.7f, p, tan));
    EXPECT_EQ(p, kArch.p3);
    kArch.Evaluate(-0.5f, p, tan);
    ExpectNear(p, kArch.EvaluatePoint(-0.5f), 1e-4f);
    EXPECT_LT(p.y, -5.0f);  // extrapolated, not clamped to p0

    const CPoint2f q(2, 3);
    const CCubicBezier2f point(q, q, q, q);
    EXPECT_TRUE(point.Evaluate(0.5f, p, tan));
    EXPECT_EQ(p, q);
    EXPECT_EQ(tan, CVector2f(0, 0));

    // p1 == p0: the tangent at 0 is taken just after 0 and points along the curve;
    // p2 == p3: the one at 1 is taken just before 1 and still points forward.
    const CCubicBezier2f startCusp(CPoint2f(0, 0), CPoint2f(0, 0), CPoint2f(4, 4), CPoint2f(8, 0));
    EXPECT_TRUE(startCusp.Evaluate(0.0f, p, tan));
    EXPECT_EQ(p, CPoint2f(0, 0));
    EXPECT_GT(Dot(tan, CVector2f(1, 1)), 0.0f);
    const CCubicBezier2f endCusp(CPoint2f(0, 0), CPoint2f(4, 4), CPoint2f(8, 0), CPoint2f(8, 0));
    EXPECT_TRUE(endCusp.Evaluate(1.0f, p, tan));
    EXPECT_GT(Dot(tan, CVector2f(1, -1)), 0.0f);

    // IsZero is strict against EqualTol on the unscaled difference.
    const CCubicBezier2f shortStart(CPoint2f(0, 0), CPoint2f(0.002f, 0), CPoint2f(4, 4), CPoint2f(8, 0));
    EXPECT_FALSE(shortStart.Evaluate(0.0f, p, tan));
    EXPECT_FLOAT_EQ(tan.x, 0.006f);
    const CCubicBezier2f tinyStart(CPoint2f(0, 0), CPoint2f(0.0005f, 0), CPoint2f(4, 4), CPoint2f(8, 0));
    EXPECT_TRUE(tinyStart.Evaluate(0.0f, p, tan));
}

TEST(CubicBezier2f, SplitIsExactDeCasteljau) {
    CCubicBezier2f left, right;
    const CCubicBezier2f c(CPoint2f(0, 0), CPoint2f(0, 8), CPoint2f(8, 8), CPoint2f(8, 0));
    c.Split(0.5f, left, right);
    const CPoint2f l[4] = {{0, 0}, {0, 4}, {2, 6}, {4, 6}};
    const CPoint2f r[4] = {{4, 6}, {6, 6}, {8, 4}, {8, 0}};
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(left.GetPoint(i), l[i]);
        EXPECT_EQ(right.GetPoint(i), r[i]);
    }
    // Off the middle, the halves reparameterise the parent.
    c.Split(0.25f, left, right);
    for (float u : {0.0f, 0.3f, 0.8f}) {
        ExpectNear(left.EvaluatePoint(u), c.EvaluatePoint(0.25f * u), 1e-5f);
        ExpectNear(right.EvaluatePoint(u), c.EvaluatePoint(0.25f + 0.75f * u), 1e-5f);
    }
    CCubicBezier2f self = c;  // splitting into itself
    self.Split(0.5f, self, right);
    EXPECT_EQ(self.p3, CPoint2f(4, 6));
    EXPECT_EQ(right.p3, CPoint2f(8, 0));
}

TEST(CubicBezier2f, IsLineBoundaryAndOrdering) {
    const CPoint2f a(0, 0), b(8, 0);
    EXPECT_TRUE(CCubicBezier2f(a, CPoint2f(2, 0.5f), CPoint2f(6, -0.5f), b).IsLine(0.5f));  // exactly tol
    EXPECT_FALSE(CCubicBezier2f(a, CPoint2f(2, std::nextafter(0.5f, 1.0f)), CPoint2f(6, 0), b).IsLine(0.5f));
    EXPECT_FALSE(CCubicBezier2f(a, CPoint2f(2, 0), CPoint2f(6, std::nextafter(-0.5f, -1.0f)), b).IsLine(0.5f));
    // On the chord line but behind p0 or beyond p3: never a line, whatever tol.
    EXPECT_FALSE(CCubicBezier2f(a, CPoint2f(-1, 0), CPoint2f(4, 0), b).IsLine(1000.0f));
    EXPECT_FALSE(CCubicBezier2f(a, CPoint2f(4, 0), CPoint2f(9, 0), b).IsLine(1000.0f));
    EXPECT_TRUE(CCubicBezier2f(a, a, b, b).IsLine(0.0f));  // at the ends is not beyond them
    // Closed piece: both inner points strictly within tol of p0.
    const CPoint2f o(1, 1);
    EXPECT_FALSE(CCubicBezier2f(o, CPoint2f(1.5f, 1), o, o).IsLine(0.5f));
    EXPECT_TRUE(CCubicBezier2f(o, CPoint2f(1.5f, 1), o, o).IsLine(0.5001f));
    EXPECT_FALSE(CCubicBezier2f(o, o, CPoint2f(1, 0.5f), o).IsLine(0.5f));
}

TEST(CubicBezier2f, BoundsAreTheEndRectOrTighterThanTheControlBounds) {
    const CCubicBezier2f inner(CPoint2f(0, 0), CPoint2f(1, 1), CPoint2f(3, 2), CPoint2f(4, 4));
    const CRect2f r = inner.Bounds();
    EXPECT_EQ(r.x, 0.0f);
    EXPECT_EQ(r.y, 0.0f);
    EXPECT_EQ(r.width, 4.0f);
    EXPECT_EQ(r.height, 4.0f);

    CRect2f null;
    EXPECT_TRUE(inner.MightIntersectBounds(nullptr));
    EXPECT_FALSE(inner.MightIntersectBounds(&(null = CRect2f(5, 5, 1, 1))));
    EXPECT_TRUE(inner.MightIntersectBounds(&(null = CRect2f(4, 4, 1, 1))));

    // An S-curve whose inner points stick out on both sides in x.
    const CCubicBezier2f s(CPoint2f(0, 0), CPoint2f(3, 1), CPoint2f(-2, 2), CPoint2f(1, 3));
    const CRect2f cb = s.ControlPointBounds();
    EXPECT_EQ(cb.x, -2.0f);
    EXPECT_EQ(cb.width, 5.0f);
    const CRect2f b = s.Bounds();
    float lo = 0, hi = 0;
    for (int i = 0; i <= 20000; ++i) {
        const CPoint2f p = s.EvaluatePoint(i / 20000.0f);
        lo = std::fmin(lo, p.x);
        hi = std::fmax(hi, p.x);
        EXPECT_TRUE(b.Contains(p, 1e-5f)) << i;
    }
    EXPECT_NEAR(b.x, lo, 2e-3f);
    EXPECT_NEAR(b.x + b.width, hi, 2e-3f);
    EXPECT_LT(b.width, cb.width - 1.0f);
    EXPECT_EQ(b.y, 0.0f);
    EXPECT_EQ(b.height, 3.0f);
}

TEST(CubicBezier2f, ControlHullOrdersAndDropsPoints) {
    // Quadrilateral given out of order: the hull must be reordered into a square.
    const CCubicBezier2f quad(CPoint2f(0, 0), CPoint2f(4, 4), CPoint2f(4, 0), CPoint2f(0, 4));
    EXPECT_TRUE(quad.PointInConvexHullOfControlPoints(CPoint2f(3.5f, 2), 0.1f));
    EXPECT_TRUE(quad.PointInConvexHullOfControlPoints(CPoint2f(2, -0.05f), 0.1f));
    EXPECT_TRUE(quad.PointInConvexHullOfControlPoints(CPoint2f(4.05f, 4.05f), 0.1f));
    EXPECT_FALSE(quad.PointInConvexHullOfControlPoints(CPoint2f(2, -0.2f), 0.1f));
    EXPECT_FALSE(quad.PointInConvexHullOfControlPoints(CPoint2f(4.2f, 2), 0.1f));

    // p1 inside the triangle of the others is dropped.
    const CCubicBezier2f tri(CPoint2f(0, 0), CPoint2f(1, 1), CPoint2f(4, 0), CPoint2f(0, 4));
    EXPECT_TRUE(tri.PointInConvexHullOfControlPoints(CPoint2f(1.9f, 1.9f), 0.1f));
    EXPECT_FALSE(tri.PointInConvexHullOfControlPoints(CPoint2f(2.2f, 2.2f), 0.1f));

    // Collinear points: p0 goes first, so the hull is p1..p3 and p0 lies outside it.
    const CCubicBezier2f run(CPoint2f(0, 0), CPoint2f(1, 0), CPoint2f(2, 0), CPoint2f(3, 0));
    EXPECT_TRUE(run.PointInConvexHullOfControlPoints(CPoint2f(2, 0.05f), 0.1f));
    EXPECT_FALSE(run.PointInConvexHullOfControlPoints(CPoint2f(0, 0), 0.1f));

    // All points within tol: the hull is their mean, inclusively.
    const CPoint2f o(1, 1);
    const CCubicBezier2f dot(o, o, o, CPoint2f(1, 1.0625f));
    EXPECT_TRUE(dot.PointInConvexHullOfControlPoints(CPoint2f(1, 1.140625f), 0.125f));  // exactly tol from the mean
    EXPECT_FALSE(dot.PointInConvexHullOfControlPoints(CPoint2f(1, 1.25f), 0.125f));
}

TEST(CubicBezier2f, ParameterOfPointOnCurve) {
    float t = -7.0f;
    EXPECT_TRUE(kArch.ParameterOfPointOnCurve(kArch.p0, 0.01f, t));
    EXPECT_EQ(t, 0.0f);
    EXPECT_TRUE(kArch.ParameterOfPointOnCurve(kArch.p3, 0.01f, t));
    EXPECT_NEAR(t, 1.0f, 1e-3f);
    for (float u = 0.05f; u < 1.0f; u += 0.1f) {
        const CPoint2f p = kArch.EvaluatePoint(u);
        ASSERT_TRUE(kArch.ParameterOfPointOnCurve(p, 0.01f, t)) << u;
        EXPECT_NEAR(t, u, 1e-3f);
        EXPECT_LT(kArch.EvaluatePoint(t).DistanceTo(p), 0.01f);
    }
    // Off the curve by twice the tolerance: false, t untouched.
    t = -7.0f;
    EXPECT_FALSE(kArch.ParameterOfPointOnCurve(CPoint2f(2, 3.02f), 0.01f, t));
    EXPECT_FALSE(kArch.PointIsOnCurve(CPoint2f(2, 3.02f), 0.01f));
    EXPECT_TRUE(kArch.PointIsOnCurve(CPoint2f(2, 3.005f), 0.01f));
    EXPECT_EQ(t, -7.0f);

    // Refinement is not clamped: past the end of a uniform segment each step
    // adds the same 0.5, since Evaluate clamps only its own copy of t.
    const CCubicBezier2f seg(CPoint2f(0, 0), CPoint2f(3, 0));
    t = 1.0f;
    EXPECT_FALSE(seg.RefineClosestPointOnCurve(CPoint2f(4.5f, 0), t));
    EXPECT_EQ(t, 6.0f);
    t = 0.3f;
    EXPECT_TRUE(seg.RefineClosestPointOnCurve(CPoint2f(1.5f, 1), t));
    EXPECT_NEAR(t, 0.5f, 1e-5f);
}

TEST(CubicBezier2f, RectangleContactAndContainment) {
    EXPECT_TRUE(kArch.Intersects(CRect2f(1.5f, 2.9f, 1, 1)));   // around the peak
    EXPECT_FALSE(kArch.Intersects(CRect2f(1.5f, 3.1f, 1, 1)));  // inside the control bounds only
    EXPECT_TRUE(kArch.Intersects(CRect2f(-1, -1, 1, 1)));       // holds p0 (closed)
    EXPECT_TRUE(CCubicBezier2f(CPoint2f(-1, 0.5f), CPoint2f(3, 0.5f)).Intersects(CRect2f(0, 0, 1, 1)));

    EXPECT_TRUE(kArch.IsInside(CRect2f(-0.5f, -0.5f, 5, 3.6f)));
    EXPECT_FALSE(kArch.IsInside(CRect2f(-0.5f, -0.5f, 5, 3.4f)));
    EXPECT_FALSE(kArch.IsInside(CRect2f(0.5f, -0.5f, 5, 5)));  // misses p0
    EXPECT_TRUE(CCubicBezier2f(CPoint2f(0, 0), CPoint2f(2, 2)).IsInside(CRect2f(0, 0, 2, 2)));
}

TEST(CubicBezier2f, PolylineNeverEmitsTheSeedOrDuplicatesAJoint) {
    std::vector<CPoint2f> pts;
    CCubicBezier2f(CPoint2f(0, 0), CPoint2f(4, 0)).ApproximateWithPolyline(pts, 0.01f);
    ASSERT_EQ(pts.size(), 1u);
    EXPECT_EQ(pts[0], CPoint2f(4, 0));

    // A list not ending at p0 gets p0 too; ending within EqualTol of it, not.
    pts.assign(1, CPoint2f(100, 100));
    CCubicBezier2f(CPoint2f(0, 0), CPoint2f(1, 0)).ApproximateWithPolyline(pts, 0.01f);
    ASSERT_EQ(pts.size(), 3u);
    EXPECT_EQ(pts[1], CPoint2f(0, 0));
    pts.assign(1, CPoint2f(0.0005f, 0));
    CCubicBezier2f(CPoint2f(0, 0), CPoint2f(1, 0)).ApproximateWithPolyline(pts, 0.01f);
    EXPECT_EQ(pts.size(), 2u);
    pts.assign(1, CPoint2f(0.002f, 0));
    CCubicBezier2f(CPoint2f(0, 0), CPoint2f(1, 0)).ApproximateWithPolyline(pts, 0.01f);
    EXPECT_EQ(pts.size(), 3u);

    // A chain of two curves seeded with its start point.
    const CCubicBezier2f second(CPoint2f(4, 0), CPoint2f(4, -4), CPoint2f(8, -4), CPoint2f(8, 0));
    for (float tol : {0.1f, 0.01f, 0.001f}) {
        pts.assign(1, kArch.p0);
        kArch.ApproximateWithPolyline(pts, tol);
        const std::size_t firstCount = pts.size();
        second.ApproximateWithPolyline(pts, tol);
        EXPECT_EQ(pts[firstCount - 1], second.p0);
        EXPECT_EQ(pts.back(), second.p3);
        for (std::size_t i = 1; i < pts.size(); ++i) EXPECT_NE(pts[i], pts[i - 1]) << tol << " at " << i;
        // Every curve point lies within tol of the polyline.
        for (const CCubicBezier2f* c : {&kArch, &second}) {
            for (int k = 0; k <= 400; ++k) {
                const CPoint2f p = c->EvaluatePoint(k / 400.0f);
                float best = 1e9f;
                for (std::size_t i = 1; i < pts.size(); ++i) {
                    best = std::fmin(best, DistanceToSegment(p, pts[i - 1], pts[i]));
                }
                EXPECT_LE(best, tol * 1.01f) << tol << " at " << k;
            }
        }
    }
}

TEST(CubicBezier2f, ArcPiecesAndDirection) {
    std::vector<CPoint2f> pts(5, CPoint2f(7, 7));
    const CPoint2f center(1, 2);
    CCubicBezier2f::ApproximateArc(center, 2.0f, 0.0f, kPi / 2, pts);
    ASSERT_EQ(pts.size(), 4u);
    // Clockwise from angle 0 to -pi/2.
    ExpectNear(pts[0], CPoint2f(3, 2));
    ExpectNear(pts[1], CPoint2f(3, 2 - 2 * 0.552285f), 1e-4f);
    ExpectNear(pts[2], CPoint2f(1 + 2 * 0.552285f, 0), 1e-4f);
    ExpectNear(pts[3], CPoint2f(1, 0));

    CCubicBezier2f::ApproximateArc(center, 2.0f, 0.0f, kPi, pts);
    EXPECT_EQ(pts.size(), 7u);
    CCubicBezier2f::ApproximateArc(center, 2.0f, 1.0f, 1.0f + 2 * kPi, pts);
    ASSERT_EQ(pts.size(), 13u);
    for (std::size_t i = 0; i < pts.size(); i += 3) EXPECT_NEAR(pts[i].DistanceTo(center), 2.0f, 1e-5f) << i;
    ExpectNear(pts[0], CPoint2f(1 + 2 * std::cos(-1.0f), 2 + 2 * std::sin(-1.0f)));
    ExpectNear(pts[12], pts[0], 1e-5f);
    // Each piece's middle is close to the circle.
    for (std::size_t i = 0; i + 3 < pts.size(); i += 3) {
        const CCubicBezier2f piece(&pts[i]);
        EXPECT_NEAR(piece.EvaluatePoint(0.5f).DistanceTo(center), 2.0f, 1e-3f);
    }

    // A negative sweep runs the other way round.
    CCubicBezier2f::ApproximateArc(center, 2.0f, kPi / 2, 0.0f, pts);
    ASSERT_EQ(pts.size(), 4u);
    ExpectNear(pts[0], CPoint2f(1, 0));
    ExpectNear(pts[3], CPoint2f(3, 2));

    CCubicBezier2f::ApproximateArc(center, 2.0f, 0.0f, std::nanf(""), pts);
    EXPECT_TRUE(pts.empty());
}

TEST(CubicBezier2f, LineHitsAreFoundOnceInCurveOrder) {
    // y(t) = 9t(1-t)(1-2t): crossings of y = 0 at t = 0, 0.5 (the first split) and 1.
    const CCubicBezier2f wave(CPoint2f(0, 0), CPoint2f(1, 3), CPoint2f(2, -3), CPoint2f(3, 0));
    const CPoint2f a(-1, 0), b(4, 0);
    CurveIntersections2f out;
    EXPECT_TRUE(wave.IntersectWithLine(a, b, Rangef(0, 1), Rangef(0, 1), out));
    ASSERT_EQ(out.points.size(), 3u);
    const float expected[3] = {0.0f, 0.5f, 1.0f};
    for (int i = 0; i < 3; ++i) {
        const IntersectionPoint2f& ip = out.points[i];
        EXPECT_NEAR(ip.t1, expected[i], 1e-3f);
        EXPECT_NEAR(ip.point.y, 0.0f, 1e-3f);
        EXPECT_NEAR(ip.t2, (ip.point.x + 1) / 5, 1e-5f);
        ExpectNear(ip.point, wave.EvaluatePoint(ip.t1), 2e-3f);
    }
    // Found again: reported, not stored twice.
    EXPECT_TRUE(wave.IntersectWithLine(a, b, Rangef(0, 1), Rangef(0, 1), out));
    EXPECT_EQ(out.points.size(), 3u);

    // Ranges map both parameters.
    CurveIntersections2f mapped;
    kArch.IntersectWithLine(CPoint2f(0, 1), CPoint2f(4, 1), Rangef(2, 4), Rangef(1, 0), mapped);
    ASSERT_EQ(mapped.points.size(), 2u);
    const float tArch = (1 - std::sqrt(2.0f / 3)) / 2;  // 12 t (1 - t) = 1
    const float x = 12 * tArch * tArch - 8 * tArch * tArch * tArch;
    EXPECT_NEAR(mapped.points[0].t1, 2 + 2 * tArch, 2e-3f);
    EXPECT_NEAR(mapped.points[0].t2, 1 - x / 4, 1e-3f);

    CurveIntersections2f none;
    EXPECT_FALSE(kArch.IntersectWithLine(CPoint2f(0, 3.5f), CPoint2f(4, 3.5f), Rangef(0, 1), Rangef(0, 1), none));
    EXPECT_TRUE(none.points.empty());
}

TEST(CubicBezier2f, CurveHitsKeepEachCurvesParameter) {
    // Mirror arches with the same x(t): they cross where 12u = 2 - 12u, u = t(1 - t).
    const CCubicBezier2f valley(CPoint2f(0, 2), CPoint2f(0, -2), CPoint2f(4, -2), CPoint2f(4, 2));
    const float tLow = (1 - std::sqrt(2.0f / 3)) / 2;
    CurveIntersections2f out;
    EXPECT_TRUE(kArch.IntersectWithBezier(valley, Rangef(0, 1), Rangef(0, 1), out));
    ASSERT_EQ(out.points.size(), 2u);
    EXPECT_NEAR(out.points[0].t1, tLow, 2e-3f);
    EXPECT_NEAR(out.points[1].t1, 1 - tLow, 2e-3f);
    for (const IntersectionPoint2f& ip : out.points) {
        EXPECT_NEAR(ip.t2, ip.t1, 2e-3f);
        EXPECT_NEAR(ip.point.y, 1.0f, 2e-3f);
    }

    // A straight first curve against a curved second: the swapped search must
    // hand back t1 on the straight one (x / 4) and t2 on the arch.
    const CCubicBezier2f chord(CPoint2f(0, 1), CPoint2f(4, 1));
    const float x = 12 * tLow * tLow - 8 * tLow * tLow * tLow;
    for (int order = 0; order < 2; ++order) {
        CurveIntersections2f hits;
        if (order == 0) {
            EXPECT_TRUE(chord.IntersectWithBezier(kArch, Rangef(0, 1), Rangef(0, 1), hits));
        } else {
            EXPECT_TRUE(kArch.IntersectWithBezier(chord, Rangef(0, 1), Rangef(0, 1), hits));
            hits.SwapParameters();
        }
        ASSERT_EQ(hits.points.size(), 2u) << order;
        hits.SortByParameter1();
        EXPECT_NEAR(hits.points[0].t1, x / 4, 1e-3f) << order;
        EXPECT_NEAR(hits.points[0].t2, tLow, 2e-3f) << order;
        EXPECT_NEAR(hits.points[1].t1, 1 - x / 4, 1e-3f) << order;
    }

    // Two curves crossing at both their midpoints, the first split of each.
    const CCubicBezier2f s(CPoint2f(0, 0), CPoint2f(0, 4), CPoint2f(4, -4), CPoint2f(4, 0));
    const CCubicBezier2f turned(CPoint2f(2, -2), CPoint2f(-2, -2), CPoint2f(6, 2), CPoint2f(2, 2));
    CurveIntersections2f mid;
    EXPECT_TRUE(s.IntersectWithBezier(turned, Rangef(0, 1), Rangef(0, 1), mid));
    ExpectNoDuplicates(mid);
    int atCenter = 0;
    for (const IntersectionPoint2f& ip : mid.points) {
        ExpectNear(ip.point, s.EvaluatePoint(ip.t1), 2e-3f);
        ExpectNear(ip.point, turned.EvaluatePoint(ip.t2), 2e-3f);
        if (ip.point.DistanceTo(CPoint2f(2, 0)) < 0.01f) {
            ++atCenter;
            EXPECT_NEAR(ip.t1, 0.5f, 1e-3f);
            EXPECT_NEAR(ip.t2, 0.5f, 1e-3f);
        }
    }
    EXPECT_EQ(atCenter, 1);

    CurveIntersections2f apart;
    const CCubicBezier2f above(CPoint2f(0, 5), CPoint2f(1, 6), CPoint2f(3, 6), CPoint2f(4, 5));
    EXPECT_FALSE(kArch.IntersectWithBezier(above, Rangef(0, 1), Rangef(0, 1), apart));
    EXPECT_TRUE(apart.points.empty());
}

TEST(CubicBezier2f, RecursionsReturnOnDegenerateInput) {
    const float nan = std::nanf("");
    const float inf = std::numeric_limits<float>::infinity();
    // 1e30 overflows the squared lengths inside the flatness test; 1e18 does not,
    // and float rounding at that scale keeps pieces from ever becoming flat.
    const CCubicBezier2f curves[] = {
        CCubicBezier2f(CPoint2f(0, 0), CPoint2f(nan, 1), CPoint2f(2, 1), CPoint2f(3, 0)),
        CCubicBezier2f(CPoint2f(0, 0), CPoint2f(1, inf), CPoint2f(2, 1), CPoint2f(3, 0)),
        CCubicBezier2f(CPoint2f(-inf, 0), CPoint2f(1, 1), CPoint2f(2, 1), CPoint2f(inf, 0)),
        CCubicBezier2f(CPoint2f(0, 0), CPoint2f(1e30f, 1e30f), CPoint2f(-1e30f, 1e30f), CPoint2f(1e30f, 0)),
        CCubicBezier2f(CPoint2f(-1e18f, 3e17f), CPoint2f(1e18f, 1e18f), CPoint2f(-1e18f, -1e18f), CPoint2f(1e18f, 0)),
        kArch,
    };
    const CRect2f rect(0.5f, 0.5f, 1, 1);
    for (const CCubicBezier2f& c : curves) {
        const bool finite = std::isfinite(c.p1.x + c.p1.y + c.p0.x + c.p3.x);
        const CRect2f b = c.Bounds();
        if (finite) {
            EXPECT_TRUE(c.ControlPointBounds().Contains(b));
        } else {
            EXPECT_FALSE(c.Intersects(rect));
            EXPECT_FALSE(c.IsInside(CRect2f(-1, -1, 5, 5)));
        }
        c.Intersects(rect);
        c.IsInside(CRect2f(-1e31f, -1e31f, 2e31f, 2e31f));
        for (float tol : {0.001f, 0.0f, -1.0f, nan, 1e-30f}) {
            float t = 0.5f;
            c.ParameterOfPointOnCurve(c.EvaluatePoint(0.3f), tol, t);
            c.ParameterOfPointOnCurve(c.p0, tol, t);
            c.PointIsOnCurve(CPoint2f(1, 0.5f), tol);
            std::vector<CPoint2f> pts;
            c.ApproximateWithPolyline(pts, tol);
            EXPECT_GE(pts.size(), 1u);
            EXPECT_LT(pts.size(), 1u << 20);
        }
        CurveIntersections2f out;
        c.IntersectWithLine(CPoint2f(-1, 0.5f), CPoint2f(4, 0.5f), Rangef(0, 1), Rangef(0, 1), out);
        c.IntersectWithLine(CPoint2f(nan, 0), CPoint2f(4, 0.5f), Rangef(0, 1), Rangef(0, 1), out);
        c.IntersectWithBezier(kArch, Rangef(0, 1), Rangef(0, 1), out);
        kArch.IntersectWithBezier(c, Rangef(0, 1), Rangef(0, 1), out);
        if (&c != &curves[4]) c.IntersectWithBezier(c, Rangef(0, 1), Rangef(0, 1), out);
        if (!finite) {
            EXPECT_TRUE(out.points.empty());
        }
    }

    // The length tolerance itself zero, negative or NaN: the rectangle queries and
    // the intersections, which read it, still return.
    for (double tol : {0.0, -1.0, static_cast<double>(nan)}) {
        ToleranceGuard guard(tol);
        for (const CCubicBezier2f& c : {curves[3], curves[4], kArch}) {
            c.Bounds();
            c.Intersects(CRect2f(1.9f, 2.9f, 0.2f, 0.2f));
            c.IsInside(CRect2f(-1, -1, 6, 6));
            CurveIntersections2f out;
            c.IntersectWithLine(CPoint2f(0, 3), CPoint2f(4, 3), Rangef(0, 1), Rangef(0, 1), out);
            c.IntersectWithBezier(kArch, Rangef(0, 1), Rangef(0, 1), out);
            c.IntersectWithBezier(CCubicBezier2f(CPoint2f(0, 2), CPoint2f(4, 2)), Rangef(0, 1), Rangef(0, 1), out);
        }
    }
}
