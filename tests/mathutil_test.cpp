#include <geometry/mathutil.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P3 = CPoint3d;
using P2 = CPoint2d;

namespace {
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kTol2 = 0.0009765625;  // 2^-10: (2^-10)^2 is below the load-time EqualTolSq
// A vector of squared length exactly 1e-10 (the double nearest), the fixed
// parallel threshold: y*y + 2^-40 rounds to it.
const double kParY = 9.954421394447146e-06, kParZ = 0x1p-20;
}  // namespace

TEST(ClosestPoint, LinesSkewParallelAndTheFixedThreshold) {
    const CUnitVector3d ux(1, 0, 0), uy(0, 1, 0);
    double t1 = 7, t2 = 7, s, t;
    EXPECT_EQ(DistanceBetweenLines(P3(0, 0, 0), ux, P3(0, 0, 1), uy), 1.0);
    // Parallel: t2 is the foot of p1, so the points still measure the distance.
    EXPECT_EQ(DistanceBetweenLines(P3(5, 0, 0), ux, P3(0, 2, 0), ux), 2.0);
    // 1 - c^2 of about 1e-8 is not parallel (it is below EqualTolSq); 1e-12 is.
    EXPECT_TRUE(ClosestPoint(P3(0, 0, 0), ux, P3(0, 1, 0), CUnitVector3d(1, 1e-4, 0), t1, t2));
    EXPECT_NEAR(t1, -1e4, 1e-2);
    EXPECT_FALSE(ClosestPoint(P3(0, 0, 0), ux, P3(0, 1, 0), CUnitVector3d(1, 1e-6, 0), t1, t2));
    // A determinant exactly at the threshold is not parallel (strict).
    ASSERT_EQ(0.0 + kParY * kParY + kParZ * kParZ, 1e-10);
    EXPECT_TRUE(ClosestPoint(P3(0, 0, 0), P3(1, 0, 0), P3(0, 0, 0), P3(0, kParY, kParZ), s, t));

    EXPECT_TRUE(ClosestPoint(P3(0, 0, 0), P3(2, 0, 0), P3(1, -1, 1), P3(1, 1, 1), s, t));
    EXPECT_EQ(s, 0.5);
    EXPECT_EQ(t, 0.5);
    // Point pairs: the threshold is absolute, so short perpendicular segments read
    // as parallel, and t is then the raw dot product B.(a1 - b1).
    EXPECT_FALSE(ClosestPoint(P3(0, 0, 0), P3(kTol2, 0, 0), P3(0, -0.5, 0), P3(0, -0.5 + kTol2, 0), s, t));
    EXPECT_TRUE(t == 0.5 * kTol2);
}

TEST(ClosestPoint, SegmentToLineCodes) {
    const P3 a(0, 0, 0), b(1, 0, 0), top(0, 0, 2);
    const CUnitVector3d uz(0, 0, 1);
    CPoint3d out;
    EXPECT_EQ(ClosestPoint(a, b, P3(-2, 1, 0), uz, out), ClampedToStart);
    EXPECT_EQ(ClosestPoint(a, P3(0, kParY, kParZ), P3(0, 5, 0), CUnitVector3d(1, 0, 0), out),
              ClampedToEnd);  // exactly 1e-10: not parallel (strict)
    // Parameters exactly 0 and 1 lie inside the segment (both ends inclusive).
    EXPECT_EQ(ClosestPoint(a, b, P3(0, 1, 0), uz, out), InsideSegment);
    EXPECT_EQ(ClosestPoint(a, b, P3(1, 1, 0), uz, out), InsideSegment);
    // Along the line: the endpoint nearer to p, b on a tie.
    EXPECT_EQ(ClosestPoint(a, top, P3(1, 0, -1), uz, out), SegmentParallel);
    EXPECT_EQ(out.z, 0.0);
    EXPECT_EQ(ClosestPoint(a, top, P3(1, 0, 1), uz, out), SegmentParallel);
    EXPECT_EQ(out.z, 2.0);
}

TEST(ParameterOfClosestPoint, UnclampedAndDegenerateStrictlyBelowLoadTimeEqualTolSq) {
    EXPECT_EQ(ParameterOfClosestPoint(P3(0, 0, 0), P3(0.0009, 0, 0), P3(1, 0, 0)), 0.0);
    EXPECT_EQ(ParameterOfClosestPoint(P2(0, 0), P2(0.0009, 0), P2(1, 0)), 0.0);
    EXPECT_NEAR(ParameterOfClosestPoint(P3(0, 0, 0), P3(0.001, 0, 0), P3(0.002, 0, 0)), 2.0, 1e-9);
    // A squared length exactly EqualTolSq is not degenerate (strict).
    plenar_test::SquaredToleranceGuard sq(0x1p-20);
    EXPECT_EQ(ParameterOfClosestPoint(P2(0, 0), P2(0x1p-10, 0), P2(0x1p-10, 0)), 1.0);
}

TEST(SegmentsIntersect, WritesThePointAndAcceptsNull) {
    CPoint3d out(9, 9, 9);
    EXPECT_TRUE(SegmentsIntersect(P3(0, 0, 0), P3(2, 2, 0), P3(0, 2, 0), P3(2, 0, 0), &out));
    EXPECT_TRUE(out.Equals(P3(1, 1, 0), 1e-12));
    EXPECT_TRUE(SegmentsIntersect(P3(0, 0, 0), P3(2, 2, 0), P3(0, 2, 0), P3(2, 0, 0), nullptr));
}

TEST(LinePredicates, ColinearOnSegmentAndBetweenAreStrictAtTolerance) {
    const P3 a(0, 0, 0), b(1, 0, 0);
    EXPECT_TRUE(AreColinear(a, b, P3(3, 0.05, 0), 0.1));
    EXPECT_FALSE(AreColinear(a, b, P3(5, 0.001, 0), 0.001));
    EXPECT_TRUE(AreColinear(a, P3(0.0009, 0, 0), P3(0, 5, 0), 0.001));  // degenerate base
    EXPECT_FALSE(AreColinear(a, P3(0.001, 0, 0), P3(0, 5, 0), 0.001));

    EXPECT_TRUE(IsOnLineSegment(a, b, P3(-0.0005, 0, 0), 0.001));
    EXPECT_FALSE(IsOnLineSegment(a, b, P3(1.002, 0, 0), 0.001));
    EXPECT_TRUE(IsOnLineSegment(a, b, P3(0.5, 0.05, 0), 0.1));  // the given tol, not EqualTol
    EXPECT_TRUE(IsOnLineSegment(a, a, P3(0.0005, 0, 0), 0.001));

    // Between: the projection alone decides inside [0, 1], both ends inclusive.
    EXPECT_TRUE(IsBetween(P3(0, 7, 0), a, b));
    EXPECT_TRUE(IsBetween(P3(1, 7, 0), a, b));
    EXPECT_TRUE(IsBetween(P3(-0.0005, 0, 0), a, b));
    EXPECT_TRUE(IsBetween(P3(1.0005, 0, 0), a, b));  // beyond b: within EqualTol, not its square
    EXPECT_FALSE(IsBetween(P3(-0.0005, 10, 0), a, b));
    EXPECT_FALSE(IsBetween(P3(kNaN, 0, 0), a, b));
    EXPECT_TRUE(IsBetween(P3(100, 100, 100), a, P3(0.0009, 0, 0)));  // degenerate: anything
    // A squared length exactly EqualTolSq is not degenerate (strict).
    plenar_test::SquaredToleranceGuard sq(0x1p-20);
    const P3 tiny(0x1p-10, 0, 0);
    EXPECT_TRUE(IsOnLineSegment(a, tiny, tiny, 0x1p-12));
    EXPECT_FALSE(IsBetween(P3(5, 0, 0), a, tiny));
}

TEST(IsOnLine, TwoDEqualityIsStrictPerAxisAndOnTheLoadTimeSquare) {
    double t = 0;
    EXPECT_TRUE(IsOnLine(P2(1, 1), P2(1, 1), P2(1.0005, 1), &t));
    {
        // A squared length exactly EqualTolSq is not degenerate (strict).
        plenar_test::SquaredToleranceGuard sq(0x1p-20);
        EXPECT_TRUE(IsOnLine(P2(0, 0), P2(0x1p-10, 0), P2(0x1p-10, 0), &t));
        EXPECT_EQ(t, 1.0);
    }
    {
        // Per-axis tests pass, but dy^2 = 1e-6 is not below EqualTolSq.
        plenar_test::ToleranceGuard guard(0.01);
        EXPECT_FALSE(IsOnLine(P2(0, 0), P2(1, 0), P2(0.5, 0.001), nullptr));
    }
    // Here only the strict per-axis test rejects a difference of exactly EqualTol.
    plenar_test::ToleranceGuard guard(kTol2);
    EXPECT_FALSE(IsOnLine(P2(0, 0), P2(1, 0), P2(0.5, kTol2), nullptr));
    P2 sq[] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    EXPECT_EQ(PointInPolygon(P2(-kTol2, 0), sq, 4), OutsidePolygon);
}

TEST(GetPointsOnArc, AccumulatesTheAngleAndHandlesSmallCounts) {
    const CUnitVector3d ux(1, 0, 0), uy(0, 1, 0);
    CPoint3d pts[11];
    GetPointsOnArc(P3(0, 0, 0), ux, uy, 1.0, 3.141592653589793, 3, pts);
    const P3 half[3] = {P3(1, 0, 0), P3(0, 1, 0), P3(-1, 0, 0)};
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(pts[i].Equals(half[i], 1e-15)) << i;
    // Ten additions of 0.2 end at 1.9999999999999998, whose sine and cosine differ from those of 2.
    GetPointsOnArc(P3(0, 0, 0), ux, CUnitVector3d(0, 0, 1), 2.0, 2.0, 11, pts);
    volatile double step = 0.2;
    double angle = 0;
    for (int i = 0; i < 10; ++i) angle += step;
    ASSERT_NE(angle, 2.0);
    EXPECT_TRUE(pts[10].z == 2.0 * std::sin(angle));

    CPoint3d one[1];
    GetPointsOnArc(P3(1, 2, 3), ux, uy, 2.0, 1.0, 1, one);
    EXPECT_TRUE(one[0].Equals(P3(3, 2, 3), 1e-15));
    GetPointsOnArc(P3(1, 2, 3), ux, uy, 2.0, 1.0, 0, nullptr);
}

TEST(IntersectSegments, CrossingEndTolerancesAndPointSegments) {
    // The function takes its points by reference; these copies stay unchanged.
    auto hit = [](P2 a1, P2 a2, P2 b1, P2 b2, P2* out = nullptr) { return IntersectSegments(a1, a2, b1, b2, out); };
    P2 out;
    // Beyond a's end but within EqualTol of a2; beyond b's end within EqualTol of b1.
    EXPECT_TRUE(hit(P2(0, 0), P2(1, 0), P2(1.0005, -1), P2(1.0005, 1)));
    EXPECT_TRUE(hit(P2(0, -1), P2(0, 1), P2(0.0005, 0), P2(1, 0)));
    // Point-like segments stand for their midpoints.
    EXPECT_TRUE(hit(P2(0.5, 0), P2(0.5, 0.0001), P2(0, 0), P2(1, 0), &out));
    EXPECT_EQ(out.y, 0.00005);
    EXPECT_TRUE(hit(P2(0, 0), P2(1, 0), P2(0.5, 0), P2(0.5, 0.0001)));
    EXPECT_TRUE(hit(P2(0.5, 0), P2(0.5, 0.0001), P2(0.5, 0.0002), P2(0.5, 0.0003)));
    EXPECT_FALSE(hit(P2(kNaN, 0), P2(1, 1), P2(0, 0), P2(1, 0)));
    {
        // A squared length exactly EqualTolSq is a segment, not a point (strict).
        plenar_test::SquaredToleranceGuard sq(0x1p-20);
        EXPECT_TRUE(hit(P2(0, 0), P2(0x1p-10, 0), P2(0x1.8p-11, -1), P2(0x1.8p-11, 1), &out));
        EXPECT_EQ(out.x, 0x1.8p-11);
        EXPECT_TRUE(hit(P2(0x1.8p-11, -1), P2(0x1.8p-11, 1), P2(0, 0), P2(0x1p-10, 0), &out));
        EXPECT_EQ(out.x, 0x1.8p-11);
    }
    {
        // With EqualTol zero only the exact parameters count: both ends of a and of b are inclusive.
        plenar_test::ToleranceGuard zero(0.0);
        EXPECT_TRUE(hit(P2(0, 0), P2(1, 0), P2(0, -1), P2(0, 1)));  // s == 0
        EXPECT_TRUE(hit(P2(0, 0), P2(1, 0), P2(1, -1), P2(1, 1)));  // s == 1
        EXPECT_TRUE(hit(P2(0, 0), P2(2, 0), P2(1, 0), P2(1, 1)));   // t == 0
        EXPECT_TRUE(hit(P2(0, 0), P2(2, 0), P2(1, -1), P2(1, 0)));  // t == 1
    }
    {
        // Parallel and b1 at parameter exactly 1 of a, where a1 + (a2 - a1) rounds
        // off a2: the end is inclusive, so b1 still lies on a.
        plenar_test::ToleranceGuard ulp(0x1p-52);
        plenar_test::SquaredToleranceGuard sq(0x1p-104);
        const double end = 0.6 + (1.76 - 0.6);
        ASSERT_NE(end, 1.76);
        EXPECT_TRUE(hit(P2(0.6, 0), P2(1.76, 0), P2(end, 0), P2(3, 0)));
    }

    // Parallel: only b's endpoints are tested against a.
    EXPECT_FALSE(hit(P2(1, 0), P2(2, 0), P2(0, 0), P2(3, 0)));
    EXPECT_TRUE(hit(P2(0, 0), P2(1, 0), P2(-1, 0), P2(0.5, 0), &out));
    EXPECT_EQ(out, P2(0.5, 0));
    // b runs 1e-4 above a: a cross product of 1e-9 is not parallel (the lines meet
    // far away), one of 1e-11 is, and b1 lies on a within EqualTol.
    EXPECT_FALSE(hit(P2(0, 0), P2(1, 0), P2(0.5, 1e-4), P2(1.5, 1e-4 + 1e-9)));
    EXPECT_TRUE(hit(P2(0, 0), P2(1, 0), P2(0.5, 1e-4), P2(1.5, 1e-4 + 1e-11)));
    // A cross product of exactly 1e-10 is not parallel (strict): b crosses a's middle, neither end of b on a.
    EXPECT_TRUE(hit(P2(0, 0), P2(1, 0), P2(-1, -0.5e-10), P2(2, 0.5e-10)));
}

TEST(PointInPolygon, SquareCodesAndStrictTolerances) {
    P2 sq[] = {{0, 0}, {1, 0}, {1, InsidePolygon}, {0, InsidePolygon}};
    const struct {
        double x, y;
        int code;
    } cases[] = {{0.5, 0.5, InsidePolygon},   {1, 0.5, OnPolygonEdge},       {0.5, 0, OnPolygonEdge},
                 {1, 1, OnPolygonVertex},     {0, 1, OnPolygonVertex},       {2, 0.5, OutsidePolygon},
                 {-1, 0, OutsidePolygon},     {-1, 1, OutsidePolygon},       {-0.0009, 0, OnPolygonVertex},
                 {-0.001, 0, OutsidePolygon}, {0.5, -0.0009, OnPolygonEdge}, {0.5, -0.001, OutsidePolygon},
                 {kNaN, 0.5, OutsidePolygon}};
    for (const auto& c : cases) EXPECT_EQ(PointInPolygon(P2(c.x, c.y), sq, 4), c.code) << c.x << ", " << c.y;
    // n < 1 reads no vertex; a one-vertex polygon has no inside.
    EXPECT_EQ(PointInPolygon(P2(0, 0), nullptr, -3), OutsidePolygon);
    P2 one[] = {{1, 0}};
    EXPECT_EQ(PointInPolygon(P2(0, 0), one, 1), OutsidePolygon);
    EXPECT_EQ(PointInPolygon(P2(1, 0), one, 1), OnPolygonVertex);
    {
        // An edge of squared length exactly EqualTolSq is tested for p on it
        // (inclusive), although the ray test alone misses p by exactly EqualTol.
        plenar_test::ToleranceGuard tol(0x1p-12);
        plenar_test::SquaredToleranceGuard sq(0x1p-21);
        P2 wedge[] = {{0x1p-11, 0x1p-11}, {0x1p-11, 1}, {-1, 1}, {0, 0}};
        EXPECT_EQ(PointInPolygon(P2(0x1p-11, 0x1p-12), wedge, 4), OnPolygonEdge);
    }
    {
        // The edge test is strict at t == 1: p at parameter exactly 1, rounded off
        // the vertex (1.76, 1), is not on the edge.
        plenar_test::ToleranceGuard ulp(0x1p-52);
        plenar_test::SquaredToleranceGuard sq(0x1p-104);
        const double end = 0.6 + (1.76 - 0.6);
        ASSERT_NE(end, 1.76);
        P2 quad[] = {{1.76, 1}, {1.76, 3}, {0, 3}, {0.6, 0}};
        EXPECT_EQ(PointInPolygon(P2(end, 1), quad, 4), OutsidePolygon);
    }
}

TEST(PointInPolygon, VerticesOnTheRayCountOnlyWithALowerNeighbour) {
    // The ray from (0, 0) meets (2, 0), touched from above: no crossing.
    P2 fromAbove[] = {{-3, -3}, {3, -3}, {3, 3}, {2, 0}, {1, 3}, {-3, 3}};
    EXPECT_EQ(PointInPolygon(P2(0, 0), fromAbove, 6), InsidePolygon);
    EXPECT_EQ(PointInPolygon(P2(2.8, 1.5), fromAbove, 6), InsidePolygon);
    // Touched from below: counted twice, parity unchanged.
    P2 fromBelow[] = {{-3, -3}, {1, -3}, {2, 0}, {3, -3}, {3, 3}, {-3, 3}};
    EXPECT_EQ(PointInPolygon(P2(0, 0), fromBelow, 6), InsidePolygon);
    EXPECT_EQ(PointInPolygon(P2(2, -2), fromBelow, 6), OutsidePolygon);
    // Passed through: once. The end on the ray decides, and (-1, 0) lies left of p.
    P2 wedge[] = {{-1, 0}, {1, -1}, {1, 1}};
    EXPECT_EQ(PointInPolygon(P2(0, 0), wedge, 3), InsidePolygon);
    EXPECT_EQ(PointInPolygon(P2(-2, 0), wedge, 3), OutsidePolygon);
    // A vertex 2^-9 above p is on the ray's line (within EqualTol) but not equal
    // to p (its square is not below EqualTolSq).
    plenar_test::ToleranceGuard tol(0x1p-8);
    plenar_test::SquaredToleranceGuard sq(0x1p-20);
    // That vertex at p's own x lies not to the right of p: no crossing (strict).
    P2 apex[] = {{0, 0x1p-9}, {-1, -1}, {-1, 1}};
    EXPECT_EQ(PointInPolygon(P2(0, 0), apex, 3), OutsidePolygon);
    // p at the x of a horizontal edge's end is not strictly between its ends.
    P2 shelf[] = {{0, 0x1p-9}, {1, 0x1p-9}, {1, 1}, {0, 1}};
    EXPECT_EQ(PointInPolygon(P2(0, 0), shelf, 4), OutsidePolygon);
}
