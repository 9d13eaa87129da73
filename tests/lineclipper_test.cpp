#include <geometry/lineclipper.h>

#include <gtest/gtest.h>

#include <cmath>

using velmor::geometry::AllVisible;
using velmor::geometry::CPoint4d;
using velmor::geometry::LineClipper;
using velmor::geometry::NothingVisible;
using velmor::geometry::PartVisible;

namespace {

// A clipper whose interval holds values Clip never produces, to see what it writes.
LineClipper Marked(double depthLimit) { return LineClipper{depthLimit, -7.0, 7.0}; }

CPoint4d Clamped(const LineClipper& c, CPoint4d p) {
    c.ClampToNearFarPlaneZ(p);
    return p;
}

}  // namespace

TEST(LineClipper, OutcodesAreStrictAndPerPlane) {
    const LineClipper c = Marked(0.5);
    // One slot past the planes holds a negative value: only the planes in use are read.
    double bc[5] = {99.0, 99.0, 99.0, 99.0, -99.0};
    EXPECT_EQ(c.CalculateBoundaryCoordinates(true, CPoint4d(2.0, -3.0, 0.0, 1.0), bc), 2u | 4u);
    EXPECT_EQ(bc[2], -2.0);
    // On a plane is inside (bc = 0).
    EXPECT_EQ(c.CalculateBoundaryCoordinates(true, CPoint4d(1.0, -1.0, 5.0, 1.0), bc), 0u);

    // Depth planes use d*w and write two values only.
    double bd[4] = {99.0, 99.0, -99.0, 99.0};
    EXPECT_EQ(c.CalculateBoundaryCoordinates(false, CPoint4d(9.0, 9.0, 1.0, 2.0), bd), 0u);
    EXPECT_EQ(c.CalculateBoundaryCoordinates(false, CPoint4d(0.0, 0.0, -1.5, 2.0), bd), 1u);
    EXPECT_EQ(c.CalculateBoundaryCoordinates(false, CPoint4d(0.0, 0.0, 1.5, 2.0), bd), 2u);
    EXPECT_EQ(bd[2], -99.0);
}

TEST(LineClipper, ClipReportsTheVisibleInterval) {
    struct Case {
        bool sides;
        double depthLimit;
        CPoint4d p0, p1;
        int result;
        double tMin, tMax;  // -7 and 7: the interval was left alone
    };
    const Case cases[] = {
        // Trivial cases: wholly inside with one end exactly on x = w; both beyond
        // x = w.
        {true, 1.0, {0, 0, 0, 1}, {1, 0.5, 0, 1}, AllVisible, -7, 7},
        {true, 1.0, {2, 0, 0, 1}, {3, -5, 0, 1}, NothingVisible, -7, 7},
        {true, 0.5, {-2, 0, 0, 1}, {2, 0, 0, 1}, PartVisible, 0.25, 0.75},
        // In through x = -w at t = 2/4, out through y = w at t = 1/1.5.
        {true, 0.5, {-3, 0, 0, 1}, {1, 1.5, 0, 1}, PartVisible, 0.5, 1.0 / 1.5},
        // Through w = 0, clipped without dividing.
        {true, 0.5, {0, 0, 0, 1}, {0, 0, 0, -1}, PartVisible, 0.0, 0.5},
        // Reaching the square exactly at the far end: an empty interval needs
        // tMin strictly above tMax.
        {true, 0.5, {-3, -1, 0, 1}, {-1, 1, 0, 1}, PartVisible, 1.0, 1.0},
        // Passing outside the corner (-1, 1): no shared outcode bit, only the
        // interval shows the miss, and keeps the values reached.
        {true, 0.5, {-3, 0, 0, 1}, {0, 3, 0, 1}, NothingVisible, 2.0 / 3.0, 1.0 / 3.0},
        // Depth planes at d = 0.5.
        {false, 0.5, {0, 0, -2, 1}, {0, 0, 2, 1}, PartVisible, 0.375, 0.625},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(&k - cases);
        LineClipper c = Marked(k.depthLimit);
        EXPECT_EQ(c.Clip(k.sides, k.p0, k.p1), k.result);
        EXPECT_EQ(c.tMin, k.tMin);
        EXPECT_EQ(c.tMax, k.tMax);
    }

    // Equal exit parameters keep the first, down to the sign of a zero: from
    // (+0, +0, 0, -0) the planes x = -w and y = -w are left at t = +0, the planes
    // x = w and y = w at t = -0.
    LineClipper zero = Marked(0.5);
    EXPECT_EQ(zero.Clip(true, CPoint4d(0.0, 0.0, 0.0, -0.0), CPoint4d(0.0, 0.0, 0.0, -1.0)), PartVisible);
    EXPECT_FALSE(std::signbit(zero.tMax));
}

TEST(LineClipper, ClampRewritesDepthThroughTheNormalisedValue) {
    LineClipper c = Marked(1.0);
    EXPECT_EQ(Clamped(c, CPoint4d(0.0, 0.0, 3.0, 2.0)), CPoint4d(0.0, 0.0, 2.0, 2.0));
    EXPECT_EQ(Clamped(c, CPoint4d(1.0, -1.0, -5.0, 1.0)), CPoint4d(1.0, -1.0, -1.0, 1.0));

    // In range, z is still replaced by w * (z / w), here one ulp away from z.
    c.depthLimit = 10.0;
    EXPECT_EQ(Clamped(c, CPoint4d(0.0, 0.0, 0.7, 0.3)).z, 0.3 * (0.7 / 0.3));

    // A zero depth limit: both clamps are strict, so a zero depth keeps its sign.
    c.depthLimit = 0.0;
    EXPECT_FALSE(std::signbit(Clamped(c, CPoint4d(0.0, 0.0, 0.0, 1.0)).z));
    EXPECT_TRUE(std::signbit(Clamped(c, CPoint4d(0.0, 0.0, -0.0, 1.0)).z));
}
