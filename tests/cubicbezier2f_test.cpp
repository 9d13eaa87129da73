#include <geometry/cubicbezier2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "support/predicates.h"
#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P = CPoint2f;
using Bez = CCubicBezier2f;

namespace {

constexpr float kPi = 3.14159265358979323846f;
const Rangef kUnit(0, 1);

// An arch over [0, 4]: y(t) = 12 t (1 - t), peak (2, 3) at t = 0.5; x(t) = 12t^2 - 8t^3.
const Bez kArch(P(0, 0), P(0, 4), P(4, 4), P(4, 0));

// The control points by index, for exact comparison in one line.
std::vector<P> Ctrl(const Bez& c) { return {c.GetPoint(0), c.GetPoint(1), c.GetPoint(2), c.GetPoint(3)}; }

// A piece doubling back along the x axis: control bounds [-1/4, 3/4], diagonal 1.
const Bez kBack(P(0, 0), P(-0.25f, 0), P(0.75f, 0), P(0.5f, 0));

}  // namespace

TEST(PointInsideTriangle, RejectsOutsideInEveryVertexOrderAndDegenerateContainsAll) {
    const P v[3] = {P(0, 0), P(4, 0), P(0, 4)};
    const P out[] = {P(2, -0.5f), P(-0.5f, 2), P(2, std::nextafter(2.0f, 3.0f))};  // the last an ulp past the long edge
    const int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (const auto& o : orders) {
        for (const P& p : out) EXPECT_FALSE(PointInsideTriangle(p, v[o[0]], v[o[1]], v[o[2]])) << p.x << ", " << p.y;
    }
    EXPECT_TRUE(PointInsideTriangle(P(5, -3), P(0, 0), P(1, 1), P(2, 2)));
    EXPECT_TRUE(PointInsideTriangle(P(-7, 9), P(2, 2), P(0, 0), P(2, 2)));
}

TEST(CubicBezier2f, ConstructorsPlaceTheInnerPoints) {
    const Bez quad(P(0, 0), P(3, 3), P(6, 0));
    EXPECT_EQ(quad.p1, P(2, 2));
    EXPECT_EQ(quad.p2, P(4, 2));
    const Bez seg(P(0, 0), P(3, 6));
    EXPECT_EQ(seg.p2, P(2, 4));
    // Tangents get a third of the end distance.
    const Bez herm(P(0, 0), CVector2f(5, 0), P(6, 0), CVector2f(0, 7));
    EXPECT_TRUE(plenar_test::NearXy(herm.p2, P(6, -2), 1e-5));

    const P a(0, 0), b(1, 0), c(2, 1), d(3, 1);
    const Bez cr = Bez::CreateFromCatmullRomSpline(a, b, c, d, 0.5f);
    EXPECT_EQ(cr.p3, c);
    EXPECT_TRUE(plenar_test::NearXy(cr.p2, P(1, 0.5f), 1e-5));
    // A long span before b (na = 3) halves b's tangent: b + (c - a) * 0.5, c + (b - d) * 0.5.
    const Bez uneven = Bez::CreateFromIrregularlySampledCatmullRomSpline(a, 3, b, 1, c, 3, d, 1.0f);
    EXPECT_TRUE(plenar_test::NearXy(uneven.p1, P(2, 0.5f), 1e-5));
    EXPECT_TRUE(plenar_test::NearXy(uneven.p2, P(1, 0.5f), 1e-5));

    Bez e(P(1, 1), P(2, 2), P(3, 3), P(4, 4));
    EXPECT_EQ(e.GetPoint(2), P(3, 3));
    EXPECT_EQ(e.GetPoint(7), P(1, 1));  // out-of-range indices mean p0
    e.SetPoint(7, P(9, 9));
    e.Reverse();
    EXPECT_EQ(Ctrl(e), (std::vector<P>{P(4, 4), P(3, 3), P(2, 2), P(9, 9)}));
}

TEST(CubicBezier2f, EvaluateClampsOnlyAboveAndNudgesAZeroTangentInward) {
    P p;
    CVector2f tan;
    EXPECT_FALSE(kArch.Evaluate(0.0f, p, tan));
    EXPECT_EQ(tan, CVector2f(0, 12));  // 3 * (p1 - p0)
    EXPECT_FALSE(kArch.Evaluate(1.7f, p, tan));
    EXPECT_EQ(p, kArch.p3);
    kArch.Evaluate(-0.5f, p, tan);
    EXPECT_LT(p.y, -5.0f);  // extrapolated, not clamped to p0
    EXPECT_TRUE(Bez(P(2, 3), P(2, 3), P(2, 3), P(2, 3)).Evaluate(0.5f, p, tan));
    EXPECT_EQ(tan, CVector2f(0, 0));

    // A zero end tangent is taken just inside and still points forward.
    EXPECT_TRUE(Bez(P(0, 0), P(0, 0), P(4, 4), P(8, 0)).Evaluate(0.0f, p, tan));
    EXPECT_GT(Dot(tan, CVector2f(1, 1)), 0.0f);
    // Zero is judged on the unscaled difference: 0.0005 is within EqualTol, three times it is not.
    EXPECT_TRUE(Bez(P(0, 0), P(0.0005f, 0), P(4, 4), P(8, 0)).Evaluate(0.0f, p, tan));
    // A cusp exactly at t = 0.5 takes the tangent a step before it (the middle
    // counts as the second half), which here points up.
    EXPECT_TRUE(Bez(P(0, 0), P(4, 4), P(0, 4), P(4, 0)).Evaluate(0.5f, p, tan));
    EXPECT_GT(tan.y, 0.0f);
}

TEST(CubicBezier2f, SplitIsExactDeCasteljau) {
    Bez left, right;
    Bez c(P(0, 0), P(0, 8), P(8, 8), P(8, 0));
    c.Split(0.25f, left, right);
    for (float u : {0.0f, 0.3f, 0.8f}) {
        EXPECT_TRUE(plenar_test::NearXy(right.EvaluatePoint(u), c.EvaluatePoint(0.25f + 0.75f * u), 1e-5));
    }
    c.Split(0.5f, c, right);  // splitting into itself
    EXPECT_EQ(Ctrl(c), (std::vector<P>{{0, 0}, {0, 4}, {2, 6}, {4, 6}}));
    EXPECT_EQ(Ctrl(right), (std::vector<P>{{4, 6}, {6, 6}, {8, 4}, {8, 0}}));
}

TEST(CubicBezier2f, IsLineBoundaryAndOrdering) {
    const P a(0, 0), b(8, 0), o(1, 1);
    // An ulp farther than tol below the chord: the distance is unsigned.
    EXPECT_FALSE(Bez(a, P(2, 0), P(6, std::nextafter(-0.5f, -1.0f)), b).IsLine(0.5f));
    // On the chord line but behind p0 or beyond p3: never a line; at the ends is fine.
    EXPECT_FALSE(Bez(a, P(-1, 0), P(4, 0), b).IsLine(1000.0f));
    EXPECT_FALSE(Bez(a, P(4, 0), P(9, 0), b).IsLine(1000.0f));
    EXPECT_TRUE(Bez(a, a, b, b).IsLine(0.0f));
    // Closed piece: both inner points strictly within tol of p0.
    EXPECT_FALSE(Bez(o, P(1.5f, 1), o, o).IsLine(0.5f));
    EXPECT_FALSE(Bez(o, o, P(1, 0.5f), o).IsLine(0.5f));
}

TEST(CubicBezier2f, BoundsAreTighterThanTheControlBounds) {
    const Bez inner(P(0, 0), P(1, 1), P(3, 2), P(4, 4));
    CRect2f rect(5, 5, 1, 1);
    EXPECT_TRUE(inner.MightIntersectBounds(nullptr));
    EXPECT_FALSE(inner.MightIntersectBounds(&rect));
    rect = CRect2f(4, 4, 1, 1);
    EXPECT_TRUE(inner.MightIntersectBounds(&rect));

    // An S-curve whose inner points stick out on both sides in x.
    const Bez s(P(0, 0), P(3, 1), P(-2, 2), P(1, 3));
    const CRect2f cb = s.ControlPointBounds(), b = s.Bounds();
    EXPECT_LT(b.width, cb.width - 1);
    float hi = 0;
    for (int i = 0; i <= 20000; ++i) {
        const P p = s.EvaluatePoint(i / 20000.0f);
        hi = std::fmax(hi, p.x);
        ASSERT_TRUE(b.Contains(p, 1e-5f)) << i;
    }
    EXPECT_NEAR(b.x + b.width, hi, 2e-3f);

    // kBack is bisected while its squared diagonal is at least EqualTolSq (inclusive),
    // so its bounds come out tighter than its control bounds.
    {
        plenar_test::SquaredToleranceGuard guard(1.0);  // exactly the squared diagonal
        EXPECT_GT(kBack.Bounds().x, -0.25f);
    }
    // At 1/64 of the size the squared diagonal (2.4e-4) is far above EqualTolSq.
    const Bez small(P(0, 0), P(-0.25f / 64, 0), P(0.75f / 64, 0), P(0.5f / 64, 0));
    EXPECT_GT(small.Bounds().x, -0.25f / 64);
}

TEST(CubicBezier2f, ControlHullOrdersAndDropsPoints) {
    auto in = [](const Bez& c, float x, float y, float tol = 0.1f) {
        return c.PointInConvexHullOfControlPoints(P(x, y), tol);
    };
    const Bez square(P(0, 0), P(4, 4), P(4, 0), P(0, 4));  // out of order: must be reordered
    EXPECT_TRUE(in(square, 3.5f, 2));
    const Bez tri(P(0, 0), P(1, 1), P(4, 0), P(0, 4));  // p1 inside the others: dropped
    EXPECT_TRUE(in(tri, 1.9f, 1.9f));
    const Bez run(P(0, 0), P(1, 0), P(2, 0), P(3, 0));  // collinear: p0 goes, the hull is p1..p3
    EXPECT_FALSE(in(run, 0, 0));
    // All points within tol: the hull is their mean, inclusively.
    const Bez dot(P(1, 1), P(1, 1), P(1, 1), P(1, 1.0625f));
    EXPECT_TRUE(in(dot, 1, 1.140625f, 0.125f));
    EXPECT_FALSE(in(dot, 1, 1.25f, 0.125f));

    // The edge test on the square, tol = 1/4: exactly tol off an edge passes (strict),
    // exactly tol before an edge's start or past its end fails (inclusive).
    const Bez sq(P(0, 0), P(4, 0), P(4, 4), P(0, 4));
    EXPECT_TRUE(in(sq, 2, -0.25f, 0.25f));
    EXPECT_FALSE(in(sq, -0.25f, -0.125f, 0.25f));
    EXPECT_FALSE(in(sq, 4.25f, -0.125f, 0.25f));
    // An edge exactly tol long is ignored (inclusive): the two edges of length
    // 1/8 leave no edge, and the hull is the mean (0, 1/32), farther than tol
    // from this point, which lies within tol of both of those edges.
    const Bez stub(P(0, 0), P(0, 0), P(0, 0), P(0, 0.125f));
    EXPECT_FALSE(in(stub, 0, -0.1171875f, 0.125f));
    {
        // Beyond an edge means a dot product of the centroid's and the point's offsets
        // from it of at most EqualTol (inclusive): (1, 1/2) is 1/2 inside the bottom
        // edge and the centroid 2, so the product is exactly EqualTol = 1 and the
        // point, farther than tol from the edge, is outside.
        plenar_test::ToleranceGuard guard(1.0);
        EXPECT_FALSE(in(sq, 1, 0.5f, 0.25f));
    }
    // p0, p1 and p3 are collinear as far as float can tell, yet none is dropped; the
    // diagonal test is strict, so p0-p1 does not separate p2 and p3, the order stays
    // p0, p1, p2, p3 and this point lies inside.
    const Bez flatSide(P(0x1.c46aa8p-1f, 0x1.b70e08p-2f), P(0x1.1fe8ep+0f, 0x1.5e1df4p+0f),
                       P(0x1.b69934p+1f, -0x1.08fa74p+2f), P(0x1.4c3826p+0f, 0x1.055c7p+1f));
    EXPECT_TRUE(in(flatSide, 0x1.55a15p+1f, -0x1.a7ad4ap+1f, 0.01f));
}

TEST(CubicBezier2f, ParameterOfPointOnCurveWithStrictBoundaries) {
    float t = -7.0f;  // off the curve by twice the tolerance: false, t untouched
    EXPECT_FALSE(kArch.ParameterOfPointOnCurve(P(2, 3.02f), 0.01f, t));
    EXPECT_TRUE(kArch.PointIsOnCurve(P(2, 3.005f), 0.01f));
    EXPECT_EQ(t, -7.0f);

    // Refinement is not clamped: past the end each step adds the same 0.5, since
    // Evaluate clamps only its own copy of t.
    const Bez seg(P(0, 0), P(3, 0));
    t = 1.0f;
    EXPECT_FALSE(seg.RefineClosestPointOnCurve(P(4.5f, 0), t));
    EXPECT_EQ(t, 6.0f);

    // Boundaries of the point search at dyadic offsets: 3/1024 and 4/1024 put a
    // point exactly tol = 5/1024 away, where the strict tests must fail.
    const float k = 1.0f / 1024;
    const float tol = 5 * k;
    t = -7.0f;
    // Behind the start or past the end by exactly tol: every flat piece's chord
    // clamps to the end point, and the end-point fallback is strict.
    EXPECT_FALSE(kArch.ParameterOfPointOnCurve(P(-3 * k, -4 * k), tol, t));
    EXPECT_FALSE(kArch.ParameterOfPointOnCurve(P(4 + 3 * k, -4 * k), tol, t));
    EXPECT_EQ(t, -7.0f);
    EXPECT_TRUE(kArch.ParameterOfPointOnCurve(P(-3 * k, -3 * k), tol, t));
    EXPECT_EQ(t, 0.0f);
    EXPECT_TRUE(kArch.ParameterOfPointOnCurve(P(4 + 3 * k, -3 * k), tol, t));
    EXPECT_EQ(t, 1.0f);

    // A piece smaller than tol that doubles back (so not flat) stands for the
    // middle of its control bounds, (k, 0), within tol strictly.
    const Bez tiny(P(0, 0), P(-k, 0), P(3 * k, 0), P(2 * k, 0));
    t = -7.0f;
    EXPECT_FALSE(tiny.ParameterOfPointOnCurve(P(4 * k, 4 * k), tol, t));
    EXPECT_EQ(t, -7.0f);
    EXPECT_TRUE(tiny.ParameterOfPointOnCurve(P(4 * k, 3 * k), tol, t));
    EXPECT_EQ(t, 0.5f);

    // A piece whose bounds' diagonal is exactly tol is still bisected.
    const Bez edge(P(0, 0), P(-k, 0), P(2 * k, 4 * k), P(2 * k, 0));
    EXPECT_TRUE(edge.ParameterOfPointOnCurve(edge.p0, tol, t));
    EXPECT_EQ(t, 0.25f);

    // A flat piece takes the point strictly within tol of its chord.
    const Bez four(P(0, 0), P(4, 0));
    EXPECT_FALSE(four.ParameterOfPointOnCurve(P(2, 0.5f), 0.5f, t));
    EXPECT_TRUE(four.ParameterOfPointOnCurve(P(2, 0.25f), 0.5f, t));

    // The refined parameter may lie up to EqualTol outside [0, 1], inclusively.
    // On x(t) = 3t a point 0.75 before the start refines to exactly -1/4; one
    // 3/16 past the end steps 1/16 further in each of the ten refinement steps
    // (Evaluate clamps its own t), to exactly 1 + 10/16.
    const Bez three(P(0, 0), P(3, 0));
    {
        plenar_test::ToleranceGuard guard(0.25);
        t = -7.0f;
        EXPECT_TRUE(three.ParameterOfPointOnCurve(P(-0.75f, 0), 1.0f, t));
        EXPECT_EQ(t, -0.25f);
    }
    {
        plenar_test::ToleranceGuard guard(0.625);
        t = -7.0f;
        EXPECT_TRUE(three.ParameterOfPointOnCurve(P(3.1875f, 0), 0.25f, t));
        EXPECT_EQ(t, 1.625f);
    }
}

TEST(CubicBezier2f, RectangleContactAndContainment) {
    EXPECT_TRUE(kArch.Intersects(CRect2f(-1, -1, 1, 1)));  // touching p0 only
    EXPECT_TRUE(kArch.IsInside(CRect2f(-0.5f, -0.5f, 5, 3.6f)));
    EXPECT_TRUE(Bez(P(0, 0), P(2, 2)).IsInside(CRect2f(0, 0, 2, 2)));  // inclusive at the border
    EXPECT_FALSE(kArch.IsInside(CRect2f(-0.5f, -0.5f, 5, 3.4f)));
    EXPECT_FALSE(kArch.IsInside(CRect2f(0.5f, -0.5f, 5, 5)));

    // A piece flat within EqualTol stands for its chord: this one peaks at
    // y = 3/8 but is flat within 1/2, so its chord along y = 0 misses the rectangle.
    const Bez low(P(0, 0), P(1, 0.5f), P(3, 0.5f), P(4, 0));
    const CRect2f above(1, 0.25f, 2, 1);
    EXPECT_TRUE(low.Intersects(above));
    plenar_test::ToleranceGuard guard(0.5);
    EXPECT_FALSE(low.Intersects(above));
}

TEST(CubicBezier2f, PolylineNeverEmitsTheSeedOrDuplicatesAJoint) {
    // An empty list gets no p0; a list ending within EqualTol of p0 gets none either.
    const Bez unit(P(0, 0), P(1, 0));
    for (auto [seed, size] : {std::pair<float, std::size_t>{-1, 1}, {100, 3}, {0.0005f, 2}, {0.002f, 3}}) {
        std::vector<P> pts;
        if (seed >= 0) pts.assign(1, P(seed, seed == 100 ? 100 : 0));
        unit.ApproximateWithPolyline(pts, 0.01f);
        EXPECT_EQ(pts.size(), size) << seed;
        EXPECT_EQ(pts.back(), P(1, 0));
    }
    // A chain of two curves seeded with its start point stays within tol everywhere.
    const Bez second(P(4, 0), P(4, -4), P(8, -4), P(8, 0));
    for (float tol : {0.1f, 0.01f, 0.001f}) {
        std::vector<P> pts(1, kArch.p0);
        kArch.ApproximateWithPolyline(pts, tol);
        second.ApproximateWithPolyline(pts, tol);
        for (std::size_t i = 1; i < pts.size(); ++i) ASSERT_NE(pts[i], pts[i - 1]) << tol << " at " << i;
        for (const Bez* c : {&kArch, &second}) {
            for (int k = 0; k <= 400; ++k) {
                const P p = c->EvaluatePoint(k / 400.0f);
                float best = 1e9f;
                for (std::size_t i = 1; i < pts.size(); ++i)
                    best = std::fmin(best, p.DistanceTo(p.ClosestPointOnLineSegment(pts[i - 1], pts[i])));
                ASSERT_LE(best, tol * 1.01f) << tol << " at " << k;
            }
        }
    }

    // The joint test at dyadic offsets: each coordinate within EqualTol inclusively,
    // the squared distance strictly below EqualTolSq (set on its own, as a client may).
    const float k = 1.0f / 1024;
    const auto pointsAfter = [&](double tol, double tolSq, const P& last) {
        plenar_test::ToleranceGuard guard(tol);
        plenar_test::SquaredToleranceGuard guardSq(tolSq);
        std::vector<P> pts(1, last);
        unit.ApproximateWithPolyline(pts, 0.01f);
        return pts.size();  // 2 when last stands for p0, 3 when p0 follows it
    };
    EXPECT_EQ(pointsAfter(5 * k, 25 * k * k, P(3 * k, 4 * k)), 3u);  // exactly tol away
    EXPECT_EQ(pointsAfter(3 * k, 25 * k * k, P(3 * k, 0)), 2u);
    EXPECT_EQ(pointsAfter(3 * k, 25 * k * k, P(0, -3 * k)), 2u);
    EXPECT_EQ(pointsAfter(3 * k, 25 * k * k, P(0, 4 * k)), 3u);
}

TEST(CubicBezier2f, ArcPiecesDirectionAndSweepsWithNoCount) {
    std::vector<P> pts(5, P(7, 7));
    const P center(1, 2);
    Bez::ApproximateArc(center, 2.0f, 0.0f, kPi / 2, pts);  // clockwise from angle 0 to -pi/2
    ASSERT_EQ(pts.size(), 4u);
    EXPECT_TRUE(plenar_test::NearXy(pts[1], P(3, 2 - 2 * 0.552285f), 1e-4f));
    EXPECT_TRUE(plenar_test::NearXy(pts[3], P(1, 0), 1e-5));
    Bez::ApproximateArc(center, 2.0f, 0.0f, kPi, pts);
    // Each piece, read from the list at its first point, has its middle on the circle.
    for (std::size_t i = 0; i + 3 < pts.size(); i += 3) {
        EXPECT_NEAR(Bez(&pts[i]).EvaluatePoint(0.5f).DistanceTo(center), 2.0f, 1e-3f) << i;
    }
    Bez::ApproximateArc(center, 2.0f, kPi / 2, 0.0f, pts);  // a negative sweep runs the other way
    EXPECT_TRUE(plenar_test::NearXy(pts[3], P(3, 2), 1e-5));
    // Inner points collapse onto the chord only when sin(half piece angle) < EqualTol:
    // at exactly EqualTol they stay apart; at 5e-4, below the default, they coincide.
    {
        plenar_test::ToleranceGuard guard(static_cast<double>(std::sin(0.25f)));
        Bez::ApproximateArc(P(0, 0), 1, 0, 0.5f, pts);
        EXPECT_NE(pts[1], pts[2]);
    }
    Bez::ApproximateArc(P(0, 0), 1, 0, 1e-3f, pts);
    ASSERT_EQ(pts.size(), 4u);
    EXPECT_EQ(pts[1], pts[2]);
    // A sweep of any length gets all its pieces, every one ending on the circle.
    Bez::ApproximateArc(center, 1, 0, 1.65e6f, pts);
    EXPECT_EQ(pts.size(), 3150919u);
    for (std::size_t i = 0; i < pts.size(); i += 3) EXPECT_NEAR(pts[i].DistanceTo(center), 1.0f, 1e-3f) << i;
    // No count for a sweep that is not finite, nor for one no list can hold.
    for (float end : {std::numeric_limits<float>::infinity(), std::nanf(""), 3e38f}) {
        pts.assign(3, P(0, 0));
        Bez::ApproximateArc(P(0, 0), 1, 0, end, pts);
        EXPECT_TRUE(pts.empty()) << end;
    }
}

TEST(CubicBezier2f, LineHitsAreStoredOnceAndBisectedDownToTheTolerance) {
    // y(t) = 9t(1-t)(1-2t): crossings of y = 0 at t = 0, 0.5 (the first split) and 1.
    const Bez wave(P(0, 0), P(1, 3), P(2, -3), P(3, 0));
    CurveIntersections2f out;
    EXPECT_TRUE(wave.IntersectWithLine(P(-1, 0), P(4, 0), kUnit, kUnit, out));
    ASSERT_EQ(out.points.size(), 3u);
    EXPECT_TRUE(wave.IntersectWithLine(P(-1, 0), P(4, 0), kUnit, kUnit, out));  // found again, not stored twice
    EXPECT_EQ(out.points.size(), 3u);

    // kBack, its diagonal exactly the intersection tolerance (EqualTol / 2 = 1), is
    // still bisected: its halves give two hits (t1 = 1/4, 3/4), not its middle one.
    plenar_test::ToleranceGuard guard(2.0);
    CurveIntersections2f halves;
    EXPECT_TRUE(kBack.IntersectWithLine(P(0.25f, -1), P(0.25f, 1), kUnit, kUnit, halves));
    ASSERT_EQ(halves.points.size(), 2u);
}

TEST(CubicBezier2f, CurveHitsBisectDownToTheToleranceAndTakeTinyPiecesByTheirMiddle) {
    {
        // Against a piece doubling back along y, kBack is still bisected at exactly
        // the intersection tolerance: no hit comes from its middle.
        plenar_test::ToleranceGuard guard(2.0);
        const Bez up(P(0.25f, -0.5f), P(0.25f, -1), P(0.25f, 1), P(0.25f, 0.5f));
        CurveIntersections2f hits;
        EXPECT_TRUE(kBack.IntersectWithBezier(up, kUnit, kUnit, hits));
        for (const IntersectionPoint2f& ip : hits.points) EXPECT_NE(ip.t1, 0.5f) << ip.t2;
    }
    // A tiny piece (diagonal under tol = 1/2) stands for its middle (2, 2.5),
    // which lies exactly tol below the arch's peak: a hit, inclusively.
    plenar_test::ToleranceGuard guard(1.0);
    const float e = 1.0f / 16;
    const Bez tiny(P(2 + e, 2.5f), P(2 - 2 * e, 2.5f), P(2 + 2 * e, 2.5f), P(2 - e, 2.5f));
    CurveIntersections2f touch;
    EXPECT_TRUE(tiny.IntersectWithBezier(kArch, kUnit, kUnit, touch));
    ASSERT_EQ(touch.points.size(), 1u);
}

TEST(CubicBezier2f, RecursionsReturnOnDegenerateInput) {
    const float nan = std::nanf(""), inf = std::numeric_limits<float>::infinity();
    // 1e30 overflows the squared lengths inside the flatness test; at 1e18 float
    // rounding keeps pieces from ever becoming flat.
    const Bez curves[] = {
        Bez(P(0, 0), P(nan, 1), P(2, 1), P(3, 0)),
        Bez(P(0, 0), P(1, inf), P(2, 1), P(3, 0)),
        Bez(P(-inf, 0), P(1, 1), P(2, 1), P(inf, 0)),
        Bez(P(0, 0), P(1e30f, 1e30f), P(-1e30f, 1e30f), P(1e30f, 0)),
        Bez(P(-1e18f, 3e17f), P(1e18f, 1e18f), P(-1e18f, -1e18f), P(1e18f, 0)),
        kArch,
    };
    for (const Bez& c : curves) {
        const bool finite = std::isfinite(c.p1.x + c.p1.y + c.p0.x + c.p3.x);
        if (finite) {
            EXPECT_TRUE(c.ControlPointBounds().Contains(c.Bounds()));
        }
        c.IsInside(CRect2f(-1e31f, -1e31f, 2e31f, 2e31f));
        for (float tol : {0.001f, 0.0f, -1.0f, nan, 1e-30f}) {
            float t = 0.5f;
            c.ParameterOfPointOnCurve(c.EvaluatePoint(0.3f), tol, t);
            c.PointIsOnCurve(P(1, 0.5f), tol);
            std::vector<P> pts;
            c.ApproximateWithPolyline(pts, tol);
            EXPECT_GE(pts.size(), 1u);
            EXPECT_LT(pts.size(), 1u << 20);
        }
        CurveIntersections2f out;
        c.IntersectWithLine(P(-1, 0.5f), P(4, 0.5f), kUnit, kUnit, out);
        c.IntersectWithLine(P(nan, 0), P(4, 0.5f), kUnit, kUnit, out);
        c.IntersectWithBezier(kArch, kUnit, kUnit, out);
        kArch.IntersectWithBezier(c, kUnit, kUnit, out);
        if (&c != &curves[4]) c.IntersectWithBezier(c, kUnit, kUnit, out);
        if (!finite) {
            EXPECT_TRUE(out.points.empty());
        }
    }
    // A zero, negative or NaN length tolerance: the queries that read it still return.
    for (double tol : {0.0, -1.0, static_cast<double>(nan)}) {
        plenar_test::ToleranceGuard guard(tol);
        for (const Bez& c : {curves[3], curves[4], kArch}) {
            c.Intersects(CRect2f(1.9f, 2.9f, 0.2f, 0.2f));
            c.IsInside(CRect2f(-1, -1, 6, 6));
            CurveIntersections2f out;
            c.IntersectWithLine(P(0, 3), P(4, 3), kUnit, kUnit, out);
            c.IntersectWithBezier(kArch, kUnit, kUnit, out);
            c.IntersectWithBezier(Bez(P(0, 2), P(4, 2)), kUnit, kUnit, out);
        }
    }
}

// Finite curves finer than float can resolve: a piece that halving leaves as it
// is, a pass that runs out of pieces, and the budget of the duplicate scans.
TEST(CubicBezier2f, RecursionsRunToTheEndOnFiniteInput) {
    // A piece that is its own left half: flat only within 0.7 float steps, so
    // halving it again changes nothing. It is answered by its chord, then its
    // right half (collapsed onto p3) adds p3 once more.
    const float u = std::nextafter(1.0f, 2.0f) - 1.0f;
    const Bez stuck(P(1 + u, 1 + u), P(1 + 2 * u, 1 + u), P(1 + 2 * u, 1 + 2 * u), P(1 + 2 * u, 1 + 2 * u));
    std::vector<P> pts;
    stuck.ApproximateWithPolyline(pts, 1e-8f);
    ASSERT_EQ(pts.size(), 2u);
    float t = -1;
    EXPECT_TRUE(stuck.ParameterOfPointOnCurve(stuck.p0, 1e-8f, t));
    EXPECT_EQ(t, 0.0f);

    // Coordinates too coarse in float for the tolerance: the pass that runs out of
    // pieces is dropped and the curve flattened again at the float resolution.
    const Bez huge(P(-1e18f, 3e17f), P(1e18f, 1e18f), P(-1e18f, -1e18f), P(1e18f, 0));
    pts.clear();
    huge.ApproximateWithPolyline(pts, 0.001f);
    EXPECT_LT(pts.size(), 100000u);

    {
        // A pass's duplicate scans may compare against 2^30 stored hits, inclusively:
        // this curve against itself at EqualTol 2^-30 finds 1024 hits, each charged
        // twice against the 2^19 stored (its own 1024 first, so all are duplicates),
        // exactly 2^30; a pass over budget would start over and add new hits.
        plenar_test::ToleranceGuard guard(0x1p-30);
        const float s = 0x1p-12f;
        const Bez small(P(1, 1), P(1, 0x1.001edp+0f), P(1 + s, 1 + s), P(1 + s, 1));
        CurveIntersections2f hits;
        ASSERT_TRUE(small.IntersectWithBezier(small, kUnit, kUnit, hits));
        hits.points.resize(std::size_t(1) << 19, IntersectionPoint2f(P(-100, -100), 7, 7));
        EXPECT_TRUE(small.IntersectWithBezier(small, kUnit, kUnit, hits));
        EXPECT_EQ(hits.points.size(), std::size_t(1) << 19);
    }
}

// Tolerances that no piece can meet, and non-finite curves, return at once.
TEST(CubicBezier2f, UnusableTolerancesAndNonFiniteCurvesReturnAtOnce) {
    const float nan = std::nanf("");
    for (float tol : {0.0f, -1.0f, nan, 1e-30f}) {
        std::vector<P> pts;
        kArch.ApproximateWithPolyline(pts, tol);
        ASSERT_EQ(pts.size(), 1u) << tol;
    }
    // EqualTol so small that half of it squares to zero: no intersections.
    {
        plenar_test::ToleranceGuard guard(1e-23);
        CurveIntersections2f out;
        EXPECT_FALSE(kArch.IntersectWithBezier(kArch, kUnit, kUnit, out));
        EXPECT_FALSE(kArch.IntersectWithLine(P(0, 1), P(4, 1), kUnit, kUnit, out));
    }
    // A curve with a coordinate that is not finite neither meets nor lies in a rectangle.
    const float inf = std::numeric_limits<float>::infinity();
    for (const Bez& c : {Bez(P(0, 0), P(nan, 1), P(2, 1), P(3, 0)), Bez(P(0, 0), P(1, inf), P(2, 1), P(3, 0)),
                         Bez(P(-inf, 0), P(1, 1), P(2, 1), P(inf, 0))}) {
        EXPECT_FALSE(c.Intersects(CRect2f(0.5f, 0.5f, 1, 1)));
        EXPECT_FALSE(c.IsInside(CRect2f(-1, -1, 5, 5)));
    }
    const Bez notFinite(P(0, 0), P(nan, 1e30f), P(1, 1), P(2, 0));
    std::vector<P> pts;
    notFinite.ApproximateWithPolyline(pts, 0.001f);
    EXPECT_EQ(pts.size(), 1u);
    CurveIntersections2f out;
    EXPECT_FALSE(notFinite.IntersectWithBezier(kArch, kUnit, kUnit, out));
    EXPECT_FALSE(kArch.IntersectWithBezier(notFinite, kUnit, kUnit, out));
}

namespace {

// FNV-1a over the found flag, the hit count and the bits of every hit in order.
struct Digest {
    std::uint64_t h = 14695981039346656037ull;
    void Mix(std::uint32_t v) {
        for (int i = 0; i < 4; ++i) h = (h ^ ((v >> (8 * i)) & 0xffu)) * 1099511628211ull;
    }
    void MixF(float f) {
        std::uint32_t v;
        std::memcpy(&v, &f, sizeof v);
        Mix(v);
    }
    void Add(bool found, const CurveIntersections2f& out) {
        Mix(found ? 1u : 0u);
        Mix(static_cast<std::uint32_t>(out.points.size()));
        for (const IntersectionPoint2f& ip : out.points) {
            MixF(ip.point.x);
            MixF(ip.point.y);
            MixF(ip.t1);
            MixF(ip.t2);
        }
    }
};

Bez RandomCurve(plenar_test::SplitMix64& rng, float lo, float hi) {
    // One draw per statement: the order in which a call's arguments are evaluated
    // differs between compilers, and recorded hits must not depend on it.
    const plenar_test::UniformReal u(lo, hi);
    float v[8];
    for (float& x : v) x = static_cast<float>(u(rng));
    return Bez(P(v[0], v[1]), P(v[2], v[3]), P(v[4], v[5]), P(v[6], v[7]));
}

}  // namespace

// The hits of seeded random curve pairs, bit for bit and in order, as recorded: ordinary
// crossings, near-tangent and tiny pieces, curves against themselves, straight curves
// either way round, coordinates too coarse in float, and changed tolerances.
TEST(CubicBezier2f, CurveHitsMatchRecordedBits) {
    plenar_test::SplitMix64 rng(0x5eed2026);
    Digest d;
    const auto pair = [&](const Bez& a, const Bez& b) {
        CurveIntersections2f out;
        const bool found = a.IntersectWithBezier(b, kUnit, kUnit, out);
        d.Add(found, out);
    };
    const auto randomPair = [&](float lo, float hi) {
        const Bez a = RandomCurve(rng, lo, hi);
        const Bez b = RandomCurve(rng, lo, hi);
        pair(a, b);
    };
    for (int i = 0; i < 1500; ++i) randomPair(0, 100);
    for (int i = 0; i < 300; ++i) randomPair(0, 0.004f);
    for (int i = 0; i < 60; ++i) {
        const Bez c = RandomCurve(rng, 0, 2);
        pair(c, c);
    }
    for (int i = 0; i < 200; ++i) {
        const Bez c = RandomCurve(rng, 0, 10);
        const P a = c.EvaluatePoint(0.25f), b(static_cast<float>(rng.Uniform(0, 10)), c.p3.y);
        const Bez line(a, b);
        pair(c, line);
        pair(line, c);
        CurveIntersections2f out;
        const bool found = c.IntersectWithLine(a, b, Rangef(0.25f, 0.75f), Rangef(1, 0), out);
        d.Add(found, out);
    }
    for (int i = 0; i < 20; ++i) randomPair(20000, 20256);
    for (int i = 0; i < 5; ++i) randomPair(-1e18f, 1e18f);
    const Bez far(P(20000, 20000), P(20000, 20256), P(20256, 20256), P(20256, 20000));
    pair(far, far);
    pair(far, RandomCurve(rng, 20000, 20256));
    for (double tol : {1e-9, 0.5}) {
        plenar_test::ToleranceGuard guard(tol);
        for (int i = 0; i < 20; ++i) randomPair(0, 4);
    }
    {
        // Too many pieces at this tolerance: the pass gives up and starts over.
        plenar_test::ToleranceGuard guard(1e-9);
        const Bez arch(P(0, 0), P(0, 1), P(1, 1), P(1, 0));
        pair(arch, arch);
    }
    EXPECT_EQ(d.h, 0xbc9771e865b1a1fdull);
}
