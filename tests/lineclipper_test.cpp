#include <geometry/lineclipper.h>

#include <gtest/gtest.h>

using velmor::geometry::AllVisible;
using velmor::geometry::CPoint4d;
using velmor::geometry::LineClipper;
using velmor::geometry::NothingVisible;
using velmor::geometry::PartVisible;

namespace {

// A clipper whose interval holds values Clip never produces, to see what it writes.
LineClipper Marked(double depthLimit = 1.0) { return LineClipper{depthLimit, -7.0, 7.0}; }

}  // namespace

TEST(LineClipper, OutcodesAreStrictAndPerPlane) {
    const LineClipper c = Marked(0.5);
    double bc[4] = {99.0, 99.0, 99.0, 99.0};
    EXPECT_EQ(c.CalculateBoundaryCoordinates(true, CPoint4d(2.0, -3.0, 0.0, 1.0), bc), 2u | 4u);
    EXPECT_EQ(bc[1], -1.0);
    EXPECT_EQ(bc[2], -2.0);
    // On a plane is inside (bc = 0), on every side.
    EXPECT_EQ(c.CalculateBoundaryCoordinates(true, CPoint4d(1.0, -1.0, 5.0, 1.0), bc), 0u);
    EXPECT_EQ(c.CalculateBoundaryCoordinates(true, CPoint4d(-2.0, 2.0, 0.0, 2.0), bc), 0u);

    // Depth planes use d*w and write two values only.
    double bd[4] = {99.0, 99.0, 99.0, 99.0};
    EXPECT_EQ(c.CalculateBoundaryCoordinates(false, CPoint4d(9.0, 9.0, 1.0, 2.0), bd), 0u);
    EXPECT_EQ(bd[1], 0.0);
    EXPECT_EQ(c.CalculateBoundaryCoordinates(false, CPoint4d(0.0, 0.0, -1.5, 2.0), bd), 1u);
    EXPECT_EQ(c.CalculateBoundaryCoordinates(false, CPoint4d(0.0, 0.0, 1.5, 2.0), bd), 2u);
    EXPECT_EQ(bd[2], 99.0);
}

TEST(LineClipper, TrivialCasesLeaveTheIntervalAlone) {
    LineClipper c = Marked();
    // Wholly inside, one end exactly on x = w.
    EXPECT_EQ(c.Clip(true, CPoint4d(0.0, 0.0, 0.0, 1.0), CPoint4d(1.0, 0.5, 0.0, 1.0)), AllVisible);
    // Both beyond x = w.
    EXPECT_EQ(c.Clip(true, CPoint4d(2.0, 0.0, 0.0, 1.0), CPoint4d(3.0, -5.0, 0.0, 1.0)), NothingVisible);
    // Depth clipping ignores x and y.
    EXPECT_EQ(c.Clip(false, CPoint4d(50.0, 0.0, 0.0, 1.0), CPoint4d(0.0, -50.0, -1.0, 1.0)), AllVisible);
    EXPECT_EQ(c.tMin, -7.0);
    EXPECT_EQ(c.tMax, 7.0);
}

TEST(LineClipper, CrossingSegmentsReportTheVisibleInterval) {
    struct Case {
        bool sides;
        CPoint4d p0, p1;
        int result;
        double tMin, tMax;
    };
    const Case cases[] = {
        {true, {-2, 0, 0, 1}, {2, 0, 0, 1}, PartVisible, 0.25, 0.75},
        {true, {2, 0, 0, 1}, {-2, 0, 0, 1}, PartVisible, 0.25, 0.75},
        // In through x = -w at t = 2/4, out through y = w at t = 1/1.5.
        {true, {-3, 0, 0, 1}, {1, 1.5, 0, 1}, PartVisible, 0.5, 1.0 / 1.5},
        // Through w = 0, clipped without dividing.
        {true, {0, 0, 0, 1}, {0, 0, 0, -1}, PartVisible, 0.0, 0.5},
        // Reaching the square exactly at the far end: an empty interval needs
        // tMin strictly above tMax.
        {true, {-3, -1, 0, 1}, {-1, 1, 0, 1}, PartVisible, 1.0, 1.0},
        // Passing outside the corner (-1, 1): no shared outcode bit, only the
        // interval shows the miss, and keeps the values reached.
        {true, {-3, 0, 0, 1}, {0, 3, 0, 1}, NothingVisible, 2.0 / 3.0, 1.0 / 3.0},
        // Depth planes at d = 0.5.
        {false, {0, 0, -2, 1}, {0, 0, 2, 1}, PartVisible, 0.375, 0.625},
    };
    for (const Case& k : cases) {
        LineClipper c = Marked(0.5);
        EXPECT_EQ(c.Clip(k.sides, k.p0, k.p1), k.result) << k.p0.x << " " << k.p1.x;
        EXPECT_EQ(c.tMin, k.tMin) << k.p0.x << " " << k.p1.x;
        EXPECT_EQ(c.tMax, k.tMax) << k.p0.x << " " << k.p1.x;
    }
}

TEST(LineClipper, ClampRewritesDepthThroughTheNormalisedValue) {
    LineClipper c = Marked(1.0);
    CPoint4d far(0.0, 0.0, 3.0, 2.0), near(1.0, -1.0, -5.0, 1.0), flipped(0.0, 0.0, 3.0, -1.0);
    c.ClampToNearFarPlaneZ(far);
    c.ClampToNearFarPlaneZ(near);
    c.ClampToNearFarPlaneZ(flipped);
    EXPECT_EQ(far, CPoint4d(0.0, 0.0, 2.0, 2.0));
    EXPECT_EQ(near, CPoint4d(1.0, -1.0, -1.0, 1.0));
    EXPECT_EQ(flipped.z, 1.0);  // z/w = -3 clamps to -1

    // In range, z is still replaced by w * (z / w), here one ulp away from z.
    c.depthLimit = 10.0;
    CPoint4d inside(0.0, 0.0, 0.7, 0.3);
    c.ClampToNearFarPlaneZ(inside);
    ASSERT_NE(0.3 * (0.7 / 0.3), 0.7);
    EXPECT_EQ(inside.z, 0.3 * (0.7 / 0.3));
}
