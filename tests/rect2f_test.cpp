#include <geometry/rect2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::ToleranceGuard;
using F = std::vector<float>;
using Points = std::vector<CPoint2f>;

namespace {

// The fields, for exact comparison (operator== is tolerant).
F Fields(const CRect2f& r) { return {r.x, r.y, r.width, r.height}; }
const float kAbove2 = std::nextafter(2.0f, 3.0f);

}  // namespace

TEST(Rect2f, EmptinessIsDecidedByTheWidthAlone) {
    CRect2f flipped(0, 0, 3, -4);  // negative height only: not empty
    EXPECT_EQ(flipped.Diagonal(), 5.0f);
    EXPECT_EQ(Fields(flipped.Union(CRect2f(10, 10, 1, 1))), (F{0, 0, 11, 11}));

    CRect2f empty(7, 7, -0.5f, 4);
    EXPECT_EQ(empty.Diagonal(), 0.0f);
    EXPECT_TRUE(!empty.Contains(CPoint2f(7, 8), 5));
    EXPECT_EQ(Fields(empty.Union(CRect2f(1, 1, 1, 1))), (F{1, 1, 1, 1}));
    empty += CPoint2f(2, 3);
    EXPECT_TRUE(empty.Contains(CPoint2f(2, 3)));  // zero width is not empty
    empty += CPoint2f(1, 5);
    EXPECT_EQ(Fields(empty), Fields(CRect2f(CPoint2f(2, 3), CPoint2f(1, 5))));
}

TEST(Rect2f, ArithmeticEqualityAndGrowing) {
    const CRect2f r(1, 2, 3, 4);
    EXPECT_EQ(Fields(CRect2f(CPoint2f(4, 6), CPoint2f(1, 2))), Fields(r));
    EXPECT_EQ(Fields(r * 0.5f + CVector2f(1, -1)), (F{1.5f, 0, 1.5f, 2}));
    CRect2f g(0, 0, 1, 1), e;
    g += CRect2f(5, 5, -1, 3);  // empty: no change
    g += CRect2f(-1, 0.5f, 1, 2);
    e += CRect2f(2, 3, 0, 1);
    EXPECT_EQ(Fields(g), (F{-1, 0, 2, 2.5f}));
    EXPECT_EQ(Fields(e), (F{2, 3, 0, 1}));
    ToleranceGuard tol(0.125);
    EXPECT_EQ(r, CRect2f(1.125f, 1.875f, 3.125f, 3.875f));
    EXPECT_TRUE(r != CRect2f(1, 2, 3, std::nextafter(4.125f, 5.0f)));
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
    EXPECT_EQ(r.GetMaskForCorner(4), 48u);
    EXPECT_EQ(r.GetMaskForCorner(-1), 48u);
    EXPECT_EQ(r.GetPointFromMask(48), r.Center());
    EXPECT_EQ(r.GetPointFromMask(2 | 16 | 8 | 32), corners[2]);  // a side wins over the centre
    EXPECT_EQ((F{r.Side(1), r.Side(2), r.Side(4), r.Side(8), r.Side(3)}), (F{1, 5, 2, 8, 0}));
}

TEST(Rect2f, ContainmentAndOverlapAreClosed) {
    const CRect2f r(0, 0, 2, 1);
    EXPECT_TRUE(r.Contains(CPoint2f(-0.5f, 1.5f), 0.5f));
    EXPECT_TRUE(r.Contains(CPoint2f(2.5f, -0.5f), 0.5f));
    EXPECT_TRUE(r.Contains(CRect2f(1, 0, 1, 1)));
    EXPECT_TRUE(r.Intersects(CRect2f(2, 1, 1, 1)));
    EXPECT_TRUE(CRect2f::EmptyRect.Intersects(CRect2f(-2, -2, 4, 4)));  // no empty check
}

TEST(Rect2f, SegmentTestUsesOutcodesAndSlack) {
    const CRect2f r(0, 0, 1, 1);
    // Crossing, missing; 5e-6 beyond a corner hits through the slack, 2e-5 misses.
    const struct {
        CPoint2f a, b;
        bool hit;
    } cases[] = {{{0.5f, -3}, {0.5f, 3}, true},
                 {{2, 0}, {3, 5}, false},
                 {{-1, 1}, {1, 3}, false},
                 {{-1, 5e-6f}, {1, 2.000005f}, true},
                 {{-1, 2e-5f}, {1, 2.00002f}, false},
                 {{0, -1.000005f}, {2, 0.999995f}, true},
                 {{0, -1.00002f}, {2, 0.99998f}, false}};
    for (const auto& c : cases) EXPECT_EQ(r.Intersects(c.a, c.b), c.hit) << c.a.x << " " << c.a.y;
    EXPECT_TRUE(CRect2f(0, 0, -1e-6f, 5).Intersects(CPoint2f(-1, 2), CPoint2f(1, 2)));  // no empty check
}

TEST(Rect2f, IntersectionOfTouchingRectanglesIsZeroAreaNotEmpty) {
    const CRect2f r(0, 0, 2, 2), e1(3, 3, -2, 1), e2(4, 4, -5, -5);
    EXPECT_EQ(Fields(r.Intersection(CRect2f(-1, -3, 1, 3))), (F{0, 0, 0, 0}));
    EXPECT_EQ(Fields(r.Intersection(CRect2f(kAbove2, 0, 1, 1))), Fields(CRect2f::EmptyRect));
    EXPECT_EQ(Fields(e1.Intersection(e2)), Fields(e1));
    EXPECT_EQ(Fields(r.Intersection(e2)), Fields(e2));  // as they are
}

TEST(Rect2f, ExpandAndRelativeCoordinates) {
    CRect2f r(0.5f, -1.5f, 1, 1.25f), e;
    r.ExpandToIntegralValues();
    EXPECT_EQ(Fields(r), (F{0, -2, 2, 2}));  // from the far sides, not ceil(width)
    r.Expand(-0.5f);
    e.ExpandToIntegralValues();
    e.Expand(3);
    EXPECT_EQ(Fields(r), (F{0.5f, -1.5f, 1, 1}));
    EXPECT_EQ(Fields(e), Fields(CRect2f::EmptyRect));
    const CRect2f q(2, 4, 4, 8);
    EXPECT_EQ(q.RelativeCoordinates(CPoint2f(0, 16)), CPoint2f(-0.5f, 1.5f));
    EXPECT_EQ(q.AbsoluteCoordinates(CPoint2f(-0.5f, 1.5f)), CPoint2f(0, 16));
    EXPECT_EQ(CRect2f(2, 4, 0, 0).RelativeCoordinates(CPoint2f(3, 6)), CPoint2f(0, 0));
    // A side of exactly 1e-10f: degenerate in x (compared in float), not in y (in double).
    EXPECT_EQ(CRect2f(0, 0, 1e-10f, 1e-10f).RelativeCoordinates(CPoint2f(1e-10f, 1e-10f)), CPoint2f(0, 1));
}

TEST(Rect2f, IntersectionsAppendAtMostTwoDistinctPoints) {
    const CRect2f r(0, 0, 2, 1);
    // Start list, line, list after: the order is top, bottom, left, right; a corner is
    // added once; a line within the tolerance still hits; the list is never cleared, and
    // earlier points count toward the two and toward duplicates.
    const struct {
        Points before;
        CPoint2f p;
        CVector2f d;
        Points after;
    } cases[] = {{{}, {1.5f, -7}, {0, 3}, {{1.5f, 1}, {1.5f, 0}}},
                 {{}, {0, 0.25f}, {4, 1}, {{0, 0.25f}, {2, 0.75f}}},
                 {{}, {-2, -1}, {2, 1}, {{2, 1}, {0, 0}}},
                 {{}, {3, 0}, {-1, 1}, {{2, 1}}},
                 {{}, {0, 1.0005f}, {1, 0}, {{0, 1.0005f}, {2, 1.0005f}}},
                 {{{9, 9}}, {5, 0.5f}, {-1, 0}, {{9, 9}, {0, 0.5f}}},
                 {{{0, 0.5004f}}, {5, 0.5f}, {-1, 0}, {{0, 0.5004f}, {2, 0.5f}}}};
    for (const auto& c : cases) {
        Points pts = c.before;
        r.Intersections(c.p, c.d, &pts);
        EXPECT_EQ(pts, c.after) << c.p.x << " " << c.p.y;
    }
}

TEST(Rect2f, PrintWritesTheFieldsWithSixDecimals) {
    testing::internal::CaptureStdout();
    CRect2f(1, 2, 3, 4).Print("r");
    CRect2f::EmptyRect.Print("empty");
    CRect2f(0.1f, -2.5f, 1e6f, 0).PrintCorners("");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "r: 1.000000, 2.000000, 3.000000, 4.000000\n"
              "empty: 0.000000, 0.000000, -1.000000, -1.000000\n"
              ": (0.100000, -2.500000) (1000000.125000, -2.500000)\n");
}
