#include <geometry/rect2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::ToleranceGuard;

namespace {

// Field-by-field exact comparison (operator== is tolerant).
void ExpectSame(const CRect2f& r, float x, float y, float w, float h) {
    EXPECT_EQ(r.x, x);
    EXPECT_EQ(r.y, y);
    EXPECT_EQ(r.width, w);
    EXPECT_EQ(r.height, h);
}
void ExpectSame(const CRect2f& r, const CRect2f& e) { ExpectSame(r, e.x, e.y, e.width, e.height); }

}  // namespace

TEST(Rect2f, EmptinessIsDecidedByTheWidthAlone) {
    ExpectSame(CRect2f(), 0, 0, -1, -1);
    ExpectSame(CRect2f::EmptyRect, 0, 0, -1, -1);

    CRect2f flipped(0, 0, 3, -4);  // negative height only: not empty
    EXPECT_FALSE(flipped.IsEmpty());
    EXPECT_EQ(flipped.Diagonal(), 5.0f);
    ExpectSame(flipped.Union(CRect2f(10, 10, 1, 1)), 0, 0, 11, 11);

    CRect2f empty(7, 7, -0.5f, 4);
    EXPECT_EQ(empty.Diagonal(), 0.0f);
    EXPECT_FALSE(empty.Contains(CPoint2f(7, 8), 5));
    ExpectSame(empty.Union(CRect2f(1, 1, 1, 1)), 1, 1, 1, 1);
    empty += CPoint2f(2, 3);
    ExpectSame(empty, 2, 3, 0, 0);
    EXPECT_TRUE(empty.Contains(CPoint2f(2, 3)));  // zero width is not empty
    empty += CPoint2f(1, 5);
    ExpectSame(empty, CRect2f(CPoint2f(2, 3), CPoint2f(1, 5)));
}

TEST(Rect2f, ArithmeticEqualityAndGrowing) {
    const CRect2f r(1, 2, 3, 4);
    ExpectSame(CRect2f(CPoint2f(4, 6), CPoint2f(1, 2)), r);
    ExpectSame(r * 0.5f + CVector2f(1, -1), 1.5f, 0, 1.5f, 2);

    CRect2f g(0, 0, 1, 1);
    g += CRect2f(5, 5, -1, 3);  // empty: no change
    ExpectSame(g, 0, 0, 1, 1);
    g += CRect2f(-1, 0.5f, 1, 2);
    ExpectSame(g, -1, 0, 2, 2.5f);
    CRect2f e;
    e += CRect2f(2, 3, 0, 1);
    ExpectSame(e, 2, 3, 0, 1);
    const CRect2f odd(9, 9, -2, -2);  // Union of two empties is the argument
    ExpectSame(odd.Union(CRect2f::EmptyRect), CRect2f::EmptyRect);
    ExpectSame(CRect2f::EmptyRect.Union(odd), odd);

    ToleranceGuard tol(0.125);
    EXPECT_TRUE(r == CRect2f(1.125f, 1.875f, 3.125f, 3.875f));
    EXPECT_TRUE(r != CRect2f(1, 2, 3, std::nextafter(4.125f, 5.0f)));
    EXPECT_TRUE(CRect2f::EmptyRect != odd);
}

TEST(Rect2f, CornersMasksAndSides) {
    const CRect2f r(1, 2, 4, 6);
    const CPoint2f corners[4] = {CPoint2f(1, 2), CPoint2f(5, 2), CPoint2f(5, 8), CPoint2f(1, 8)};
    const unsigned int masks[4] = {5, 6, 10, 9};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(r.GetCorner(i), corners[i]) << i;
        EXPECT_EQ(r.GetMaskForCorner(i), masks[i]) << i;
        EXPECT_EQ(r.GetPointFromMask(masks[i]), corners[i]) << i;
    }
    EXPECT_EQ(r.GetCorner(-1), corners[0]);
    EXPECT_EQ(r.GetMaskForCorner(4), 48u);
    EXPECT_EQ(r.GetMaskForCorner(-1), 48u);
    EXPECT_EQ(r.GetPointFromMask(48), r.Center());
    EXPECT_EQ(r.GetPointFromMask(16 | 8), CPoint2f(3, 8));
    EXPECT_EQ(r.GetPointFromMask(2 | 16 | 8 | 32), corners[2]);  // a side wins over the centre
    const float sides[4] = {r.Side(1), r.Side(2), r.Side(4), r.Side(8)};
    EXPECT_EQ(CRect2f(sides[0], sides[2], sides[1] - sides[0], sides[3] - sides[2]), r);
    EXPECT_EQ(r.Side(3), 0.0f);
}

TEST(Rect2f, ContainmentAndOverlapAreClosed) {
    const CRect2f r(0, 0, 2, 1);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(r.Contains(r.GetCorner(i))) << i;
    EXPECT_FALSE(r.Contains(CPoint2f(std::nextafter(2.0f, 3.0f), 0.5f)));
    EXPECT_TRUE(r.Contains(CPoint2f(-0.5f, 1.5f), 0.5f));
    EXPECT_FALSE(r.Contains(CPoint2f(std::nextafter(-0.5f, -1.0f), 1), 0.5f));
    EXPECT_FALSE(CRect2f::EmptyRect.Contains(CPoint2f(), 100));
    EXPECT_TRUE(r.Contains(CRect2f(1, 0, 1, 1)));
    EXPECT_FALSE(r.Contains(CRect2f(1, 0, 1.5f, 1)));

    EXPECT_TRUE(r.Intersects(CRect2f(2, 1, 1, 1)));  // a shared corner
    EXPECT_FALSE(r.Intersects(CRect2f(std::nextafter(2.0f, 3.0f), 0, 1, 1)));
    // No empty check: the empty rectangle's negative extent still overlaps.
    EXPECT_TRUE(CRect2f::EmptyRect.Intersects(CRect2f(-2, -2, 4, 4)));
}

TEST(Rect2f, SegmentTestUsesOutcodesAndSlack) {
    const CRect2f r(0, 0, 1, 1);
    EXPECT_TRUE(r.Intersects(CPoint2f(-1, 0.5f), CPoint2f(2, 0.5f)));
    EXPECT_TRUE(r.Intersects(CPoint2f(0.5f, -3), CPoint2f(0.5f, 3)));
    EXPECT_FALSE(r.Intersects(CPoint2f(2, 0), CPoint2f(3, 5)));
    EXPECT_FALSE(r.Intersects(CPoint2f(-1, 1), CPoint2f(1, 3)));
    EXPECT_TRUE(r.Intersects(CPoint2f(0, 2), CPoint2f(2, 0)));  // touches one corner
    // Passing 5e-6 beyond a corner hits through the slack; 2e-5 misses.
    EXPECT_TRUE(r.Intersects(CPoint2f(-1, 5e-6f), CPoint2f(1, 2.000005f)));
    EXPECT_FALSE(r.Intersects(CPoint2f(-1, 2e-5f), CPoint2f(1, 2.00002f)));
    EXPECT_TRUE(r.Intersects(CPoint2f(0, -1.000005f), CPoint2f(2, 0.999995f)));
    EXPECT_FALSE(r.Intersects(CPoint2f(0, -1.00002f), CPoint2f(2, 0.99998f)));
    // No empty check.
    EXPECT_TRUE(CRect2f(0, 0, -1e-6f, 5).Intersects(CPoint2f(-1, 2), CPoint2f(1, 2)));
}

TEST(Rect2f, IntersectionOfTouchingRectanglesIsZeroAreaNotEmpty) {
    const CRect2f r(0, 0, 2, 2);
    ExpectSame(r.Intersection(CRect2f(1, 1, 5, 0.5f)), 1, 1, 1, 0.5f);
    ExpectSame(r.Intersection(CRect2f(2, 0.5f, 1, 1)), 2, 0.5f, 0, 1);
    ExpectSame(r.Intersection(CRect2f(-1, -3, 1, 3)), 0, 0, 0, 0);
    ExpectSame(r.Intersection(CRect2f(std::nextafter(2.0f, 3.0f), 0, 1, 1)), CRect2f::EmptyRect);
    const CRect2f e1(3, 3, -2, 1), e2(4, 4, -5, -5);  // empty operands come back as they are
    ExpectSame(e1.Intersection(e2), e1);
    ExpectSame(r.Intersection(e2), e2);
}

TEST(Rect2f, ExpandAndRelativeCoordinates) {
    CRect2f r(0.5f, -1.5f, 1, 1.25f);
    r.ExpandToIntegralValues();
    ExpectSame(r, 0, -2, 2, 2);  // from the far sides, not ceil(width)
    r.Expand(-0.5f);
    ExpectSame(r, 0.5f, -1.5f, 1, 1);
    CRect2f e;
    e.ExpandToIntegralValues();
    e.Expand(3);
    ExpectSame(e, CRect2f::EmptyRect);

    const CRect2f q(2, 4, 4, 8);
    EXPECT_EQ(q.RelativeCoordinates(CPoint2f(0, 16)), CPoint2f(-0.5f, 1.5f));
    EXPECT_EQ(q.AbsoluteCoordinates(CPoint2f(-0.5f, 1.5f)), CPoint2f(0, 16));
    EXPECT_EQ(CRect2f(2, 4, 0, 0).RelativeCoordinates(CPoint2f(3, 6)), CPoint2f(0, 0));
    // A side of exactly 1e-10f: degenerate in x (compared in float), not in y (in double).
    EXPECT_EQ(CRect2f(0, 0, 1e-10f, 1e-10f).RelativeCoordinates(CPoint2f(1e-10f, 1e-10f)), CPoint2f(0, 1));
}

TEST(Rect2f, IntersectionsAppendAtMostTwoDistinctPoints) {
    const CRect2f r(0, 0, 2, 1);
    using Points = std::vector<CPoint2f>;
    Points pts;
    r.Intersections(CPoint2f(5, 0.5f), CVector2f(-1, 0), &pts);
    EXPECT_EQ(pts, (Points{CPoint2f(0, 0.5f), CPoint2f(2, 0.5f)}));
    pts.clear();
    r.Intersections(CPoint2f(1.5f, -7), CVector2f(0, 3), &pts);
    EXPECT_EQ(pts, (Points{CPoint2f(1.5f, 1), CPoint2f(1.5f, 0)}));
    pts.clear();  // top, bottom, left, right in turn
    r.Intersections(CPoint2f(0, 0.25f), CVector2f(4, 1), &pts);
    EXPECT_EQ(pts, (Points{CPoint2f(0, 0.25f), CPoint2f(2, 0.75f)}));
    pts.clear();  // through two corners, each once
    r.Intersections(CPoint2f(-2, -1), CVector2f(2, 1), &pts);
    EXPECT_EQ(pts, (Points{CPoint2f(2, 1), CPoint2f(0, 0)}));
    pts.clear();  // through one corner, once
    r.Intersections(CPoint2f(3, 0), CVector2f(-1, 1), &pts);
    EXPECT_EQ(pts, (Points{CPoint2f(2, 1)}));
    pts.clear();  // a line missing the rectangle, then one within the tolerance of it
    r.Intersections(CPoint2f(0, 1.002f), CVector2f(1, 0), &pts);
    EXPECT_TRUE(pts.empty());
    r.Intersections(CPoint2f(0, 1.0005f), CVector2f(1, 0), &pts);
    EXPECT_EQ(pts.size(), 2u);

    // Never cleared: earlier points count toward the two and toward duplicates.
    pts = {CPoint2f(9, 9)};
    r.Intersections(CPoint2f(5, 0.5f), CVector2f(-1, 0), &pts);
    EXPECT_EQ(pts, (Points{CPoint2f(9, 9), CPoint2f(0, 0.5f)}));
    pts = {CPoint2f(0, 0.5004f)};
    r.Intersections(CPoint2f(5, 0.5f), CVector2f(-1, 0), &pts);
    EXPECT_EQ(pts, (Points{CPoint2f(0, 0.5004f), CPoint2f(2, 0.5f)}));
}

TEST(Rect2f, PrintWritesTheFieldsWithSixDecimals) {
    testing::internal::CaptureStdout();
    CRect2f(1, 2, 3, 4).Print("r");
    CRect2f(1, 2, 3, 4).PrintCorners("r");
    CRect2f::EmptyRect.Print("empty");
    CRect2f(0.1f, -2.5f, 1e6f, 0).PrintCorners("");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "r: 1.000000, 2.000000, 3.000000, 4.000000\n"
              "r: (1.000000, 2.000000) (4.000000, 6.000000)\n"
              "empty: 0.000000, 0.000000, -1.000000, -1.000000\n"
              ": (0.100000, -2.500000) (1000000.125000, -2.500000)\n");
}
