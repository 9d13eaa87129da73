#include <geometry/cubicbezier2f.h>
#include <geometry/intersection2f.h>

#include <gtest/gtest.h>

#include <cmath>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::ToleranceGuard;

TEST(IntersectLineSegments, CrossingTouchingAndParallel) {
    IntersectionPoint2f ip;
    // Asymmetric parameters: t2 runs from b0 (parameter 0) to b1.
    EXPECT_TRUE(IntersectLineSegments(CPoint2f(0, 0), CPoint2f(4, 0), CPoint2f(1, -3), CPoint2f(1, 1), ip));
    EXPECT_EQ(ip.point, CPoint2f(1, 0));
    EXPECT_EQ(ip.t1, 0.25f);
    EXPECT_EQ(ip.t2, 0.75f);

    // Touching at end points counts (both tests inclusive).
    EXPECT_TRUE(IntersectLineSegments(CPoint2f(0, 0), CPoint2f(2, 0), CPoint2f(2, 0), CPoint2f(2, 5), ip));
    EXPECT_TRUE(IntersectLineSegments(CPoint2f(0, 0), CPoint2f(2, 0), CPoint2f(0, 3), CPoint2f(0, 0), ip));

    // Just short of the other segment: false, but the would-be hit is reported.
    EXPECT_FALSE(IntersectLineSegments(CPoint2f(0, 0), CPoint2f(1, 1), CPoint2f(0, 4), CPoint2f(4, 0), ip));
    EXPECT_EQ(ip.t1, 2.0f);

    // Parallel: false, ip untouched.
    ip = IntersectionPoint2f(CPoint2f(-9, -9), -9, -9);
    EXPECT_FALSE(IntersectLineSegments(CPoint2f(0, 0), CPoint2f(4, 0), CPoint2f(0, 1), CPoint2f(4, 1), ip));
    EXPECT_EQ(ip.point, CPoint2f(-9, -9));

    // The parallel test is strict: a determinant of exactly 1e-30 (a segment about 1
    // long crossed by one about 1e-30 long, chosen so the product rounds to 1e-30)
    // is solved.
    const float h = 0x1.44752p-101f;
    EXPECT_TRUE(IntersectLineSegments(CPoint2f(0x1.06697p-30f, 0), CPoint2f(0x1.000c54p+0f, 0), CPoint2f(0.5f, h),
                                      CPoint2f(0.5f, -h), ip));
    EXPECT_EQ(ip.t2, 0.5f);
}

TEST(IntersectionPoint2f, EqualityToleranceOnParametersAndPoint) {
    const CPoint2f p(1, 1);
    const IntersectionPoint2f a(p, 0.0f, 0.5f);
    // Parameters: 0.001 inclusive, compared in double, so 0.001f (just above) differs.
    EXPECT_FALSE(a == IntersectionPoint2f(p, 0.001f, 0.5f));
    EXPECT_TRUE(a != IntersectionPoint2f(p, 0.0f, 0.5f + 0.001953125f));
    // Points: each coordinate within EqualTol and the distance strictly below it, so
    // exactly EqualTol apart (in float) passes the coordinate test but not the distance test.
    const IntersectionPoint2f o(CPoint2f(0, 0), 0.0f, 0.5f);
    EXPECT_FALSE(o == IntersectionPoint2f(CPoint2f(0.001f, 0), 0.0f, 0.5f));
    ToleranceGuard tol(0.01);
    EXPECT_TRUE(a == IntersectionPoint2f(CPoint2f(1.005f, 1.005f), 0.0f, 0.5f));

    IntersectionPoint2f ip(p, 0.25f, 0.75f);
    EXPECT_EQ(ip.GetParameter(1), 0.25f);
    EXPECT_EQ(ip.GetParameter(2), 0.75f);
    ip.ScaleParameters(Rangef(2, 4), Rangef(1, 0));
    EXPECT_EQ(ip.t1, 2.5f);
    EXPECT_EQ(ip.t2, 0.25f);
    ip.SwapParameters();
    EXPECT_EQ(ip.t1, 0.25f);
    EXPECT_EQ(ip.t2, 2.5f);
}

TEST(CurveIntersections2f, AddDropsNearDuplicatesAndSortsEitherWay) {
    CurveIntersections2f set;
    set.Add(CPoint2f(0, 0), 0.5f, 0.1f);
    set.Add(CPoint2f(0.0005f, 0), 0.5005f, 0.1f);  // the same hit found again
    set.Add(CPoint2f(0, 0), 0.9f, 0.3f);           // same point, other parameters: a self-touch
    set.Add(CPoint2f(3, 3), 0.2f, 0.7f);
    ASSERT_EQ(set.points.size(), 3u);
    EXPECT_EQ(set.points[0].t1, 0.5f);  // the first of two equals is kept

    // Adding a set drops its entries already present and its own duplicates.
    CurveIntersections2f more;
    more.points.push_back(IntersectionPoint2f(CPoint2f(3, 3), 0.2f, 0.7f));
    more.points.push_back(IntersectionPoint2f(CPoint2f(5, 5), 0.05f, 0.5f));
    more.points.push_back(IntersectionPoint2f(CPoint2f(5, 5), 0.0505f, 0.5f));
    set.Add(more);
    ASSERT_EQ(set.points.size(), 4u);
    set.Add(set);
    EXPECT_EQ(set.points.size(), 4u);

    set.SortByParameter1();
    const float byT1[4] = {0.05f, 0.2f, 0.5f, 0.9f};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(set.points[i].t1, byT1[i]);
    set.SortByParameter2();
    const float byT2[4] = {0.1f, 0.3f, 0.5f, 0.7f};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(set.points[i].t2, byT2[i]);
    set.SwapParameters();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(set.points[i].t1, byT2[i]);
    EXPECT_FALSE(Parameter1Less(set.points[0], set.points[0]));  // a strict order, as sorting needs
    EXPECT_FALSE(Parameter2Less(set.points[0], set.points[0]));
}

// Under a zero, negative or NaN length tolerance no two hits are equal, and the
// collection must stay linear: a curve intersected with itself under such a
// tolerance once took minutes, scanning tens of thousands of hits for each new one.
TEST(CurveIntersections2f, NonPositiveToleranceKeepsEveryHitWithoutScanning) {
    const CCubicBezier2f c(CPoint2f(0, 0), CPoint2f(3000, 10000), CPoint2f(7000, -10000), CPoint2f(10000, 1000));
    for (const double tol : {0.0, -0.001, static_cast<double>(std::nanf(""))}) {
        ToleranceGuard guard(tol, 0.001f);
        CurveIntersections2f out;
        c.IntersectWithBezier(c, Rangef(0, 1), Rangef(0, 1), out);  // finishes at once
        CurveIntersections2f many;
        for (int i = 0; i < 200000; ++i) many.Add(CPoint2f(1, 2), 0.5f, 0.5f);
        EXPECT_EQ(many.points.size(), 200000u) << tol;
    }
}
