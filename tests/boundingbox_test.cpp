#include <geometry/boundingbox.h>

#include "support/predicates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using namespace plenar_test;
using P3 = CPoint3d;
using P2 = CPoint2d;
using Box = CBoundingBox3d;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const Box kUnit(P3(0, 0, 0), P3(1, 1, 1));

}  // namespace

TEST(Range, EmptyConventionToleranceBoundariesAndGrowth) {
    EXPECT_TRUE(SameRange(CRange(), CRange(1e30, -1e30)));
    // A single value has no extent without a subtraction, even at infinity.
    EXPECT_EQ(CRange(INFINITY, INFINITY).Extent(), 0.0);
    EXPECT_FALSE(CRange(-INFINITY, 0).IsValidObj());
    // Interior tests are inclusive at exactly EqualTol.
    EXPECT_TRUE(CRange(-1, 0).ContainsInInterior(-0.001));
    EXPECT_TRUE(CRange(-1, 0).ContainsInInterior(CRange(-0.5, -0.001)));
    EXPECT_FALSE(CRange(0, 5).ContainsInInterior(CRange(1, 4.9995)));

    EXPECT_TRUE(CRange(0, 1).Intersects(CRange(1, 2)));
    EXPECT_TRUE(CRange(1, 2).Intersects(CRange(0, 1)));
    EXPECT_FALSE(CRange(0, 1).IntersectsInTolerance(CRange(1.0025, 2), 0.001));
    // A gap of exactly 2 * tol still meets, on either side.
    EXPECT_TRUE(CRange(0, 1).IntersectsInTolerance(CRange(1.5, 2), 0.25));
    EXPECT_TRUE(CRange(1.5, 2).IntersectsInTolerance(CRange(0, 1), 0.25));
    EXPECT_FALSE(CRange(-1e31, 1e31).IntersectsInTolerance(CRange(), 0.001));

    // Overlaps needs at least EqualTol of common length, on either side.
    CRange out(7, 8);
    EXPECT_TRUE(CRange(-1, 0.001).Overlaps(CRange(0, 5), out));
    EXPECT_TRUE(SameRange(out, CRange(0, 0.001)));
    EXPECT_TRUE(!CRange(-1, 0.0009).Overlaps(CRange(0, 5), out));
    EXPECT_TRUE(out.IsEmpty());
    EXPECT_TRUE(CRange(-0.001, 5).Overlaps(CRange(-1, 0), out));
    EXPECT_FALSE(CRange(-0.0009, 5).Overlaps(CRange(-1, 0), out));
    CRange self(0, 4);
    EXPECT_TRUE(self.Overlaps(CRange(2, 6), self));
    EXPECT_TRUE(SameRange(self, CRange(2, 4)));  // out may alias

    CRange r;
    r += 3.0;
    r += CRange();  // empty: no change
    EXPECT_TRUE(SameRange(r + CRange(-1, 0), CRange(-1, 3)));
    EXPECT_TRUE(SameRange(r.Union(CRange(5, 4)), r));
    // Only a larger value moves an end: +0 does not replace a top end of -0.
    CRange negativeZero(-1, -0.0);
    negativeZero += 0.0;
    EXPECT_TRUE(std::signbit(negativeZero.max));
    EXPECT_TRUE(SameRange(CRange(0, 1).Intersect(CRange(1, 2)), CRange(1, 1)));  // touching
    EXPECT_TRUE(SameRange(CRange(1, 2).Intersect(CRange(0, 1)), CRange(1, 1)));
}

TEST(BoundingBox3d, GrowingMergingAndIntersecting) {
    Box box;
    EXPECT_TRUE(box.IsEmpty());
    box.Add(P3(1, 2, 3));
    box += P3(4, 6, 3);
    EXPECT_EQ(box.GetDiagonal(), 5.0);
    // A squared diagonal of exactly DivideByZeroTolSq still counts as none (strict).
    EXPECT_EQ(Box(P3(0, 0, 0), P3(kAtDivideGuardX, kAtDivideGuardY, 0)).GetDiagonal(), 0.0);
    EXPECT_TRUE(box.GetMidPoint().Equals(P3(2.5, 4, 3), 1e-15));
    // Empty axes of an added box are skipped one by one.
    EXPECT_TRUE(
        SameBox3(box + Box(CRange(-5, 0), CRange(), CRange(10, 11)), Box(CRange(-5, 4), CRange(2, 6), CRange(3, 11))));
    EXPECT_TRUE(SameBox3(Box() + P3(7, 8, 9), Box(P3(7, 8, 9), P3(7, 8, 9))));
    // Disjoint along x only: y and z keep their common part.
    const Box i = kUnit.Intersect(Box(P3(2, 0.5, 0.5), P3(3, 2, 2)));
    EXPECT_TRUE(SameRange(i.y, CRange(0.5, 1)));
    EXPECT_EQ(kUnit.MaxDistanceSquaredTo(P3(0.25, 0.5, 2)), 0.75 * 0.75 + 0.25 + 4.0);
    EXPECT_FALSE(Box(CRange(0, 1), CRange(0, 1), CRange(0, kNaN)).IsValidObj());
}

TEST(BoundingBox3d, PointContainmentTolerances) {
    EXPECT_FALSE(kUnit.Contains(P3(1.0 + EqualTol, 0.5, 0.5)));  // strict at EqualTol
    {
        // With a negative band, exact face values still belong.
        plenar_test::ToleranceGuard guard(-0.25);
        EXPECT_TRUE(kUnit.Contains(P3(0, 1, 0)));
        for (const P3& p : {P3(0.2, 0.5, 0.5), P3(0.5, 0.2, 1)}) EXPECT_FALSE(kUnit.Contains(p)) << p;
    }
    EXPECT_TRUE(kUnit.PreciselyContains(P3(0, 0, 0)));  // half-open
    for (const P3& p : {P3(1, 1, 1), P3(0.5, 1, 0.5), P3(0.5, 0.5, 1)}) EXPECT_FALSE(kUnit.PreciselyContains(p)) << p;
    EXPECT_TRUE(kUnit.ContainsInInterior(P3(0.001, 0.5, 0.5)));
    for (const P3& p : {P3(0.0005, 0.5, 0.5), P3(0.5, 0.5, 0.9995)}) EXPECT_FALSE(kUnit.ContainsInInterior(p)) << p;
}

TEST(BoundingBox3d, BoxTestsAndWhichAxesTheyCheckForEmptiness) {
    EXPECT_TRUE(kUnit.Contains(Box(P3(-0.0005, 0, 0), P3(1, 1, 1.0005))));
    EXPECT_TRUE(kUnit.ContainsInInterior(Box(P3(0.001, 0.5, 0.5), P3(0.5, 0.6, 0.6))));
    EXPECT_FALSE(kUnit.Contains(Box(P3(0, 0, 0.0 - EqualTol), P3(1, 1, 1))));
    EXPECT_FALSE(kUnit.ContainsInInterior(Box(P3(0.0009, 0.5, 0.5), P3(0.5, 0.6, 0.6))));
    // Containment rejects a box with an empty x range; the intersection tests reject
    // an empty range on any axis, whatever its values.
    const Box yInverted(CRange(0, 1), CRange(0.6, 0.4), CRange(0, 1));
    EXPECT_FALSE(kUnit.Contains(Box()));
    EXPECT_FALSE(kUnit.ContainsInInterior(Box()));
    EXPECT_FALSE(yInverted.Intersects(kUnit));

    const Box faceNeighbour(P3(1, 0, 0), P3(2, 1, 1));
    Box out = kUnit;
    EXPECT_TRUE(faceNeighbour.Intersects(kUnit));
    EXPECT_TRUE(kUnit.IntersectsInTolerance(Box(P3(0, 0, 1.0015), P3(1, 1, 2)), 0.001));
    EXPECT_TRUE(kUnit.Overlaps(Box(P3(0.5, -1, 0.25), P3(3, 0.5, 0.75)), out));
    // Overlaps stops at the first failing axis; the later ones stay cleared.
    EXPECT_FALSE(kUnit.Overlaps(Box(P3(0.5, 3, 0.5), P3(3, 4, 0.75)), out));
    EXPECT_TRUE(SameRange(out.x, CRange(0.5, 1)));
    for (const CRange* r : {&out.y, &out.z}) EXPECT_TRUE(r->IsEmpty()) << (r == &out.y ? "y" : "z");
}

TEST(BoundingBox3d, CornersSettersExpansionAndFaces) {
    Box box(P3(-1, -2, -3), P3(1, 2, 3));
    for (int i = 0; i < 8; ++i) {
        const P3 c = box.GetCorner(i);
        EXPECT_TRUE(NearXyz(c, P3((i & 1) ? 1 : -1, (i & 2) ? 2 : -2, (i & 4) ? 3 : -3), 0)) << i;
        P3 p(9, 9, 9);
        box.SetCorner(i, p);  // writes into p, never into the box
        EXPECT_TRUE(NearXyz(p, c, 0)) << i;
    }
    box.SetMaxInRange(5, 10);
    box.SetMinInRange(-1, -10);
    box.SetMaxInRange(1, 20);
    box.SetMinInRange(0, -30);
    EXPECT_TRUE(SameBox3(box, Box(CRange(-30, 1), CRange(-2, 20), CRange(-10, 10))));

    Box grow(CRange(0, 2), CRange(), CRange(1, 3));
    grow.Expand(1);
    grow.Stretch(CVector3d(-0.5, 7, 2));
    EXPECT_TRUE(SameBox3(grow, Box(CRange(-0.5, 2.5), CRange(), CRange(-2, 6))));
    // Thin, non-empty axes grow by the largest extent times the factor.
    Box flat(CRange(0, 2), CRange(0, 1), CRange(5, 5));
    flat.ExpandRangeIfZero(0.5);
    EXPECT_TRUE(SameBox3(flat, Box(CRange(0, 2), CRange(0, 1), CRange(4, 6))));
    Box thin(CRange(0, 0.001), CRange(0, 0.0009), CRange(0.5, 0.4));
    thin.ExpandRangeIfZero(1000);  // an extent of exactly EqualTol and the empty z stay
    const double g = 0.001 * 1000;
    EXPECT_TRUE(SameBox3(thin, Box(CRange(0, 0.001), CRange(0 - g, 0.0009 + g), CRange(0.5, 0.4))));

    const Box faces(P3(0, 0, 0), P3(2, 4, 6));
    const double expected[8][6] = {{1, 2, 3, 0, 0, 7}, {0, 2, 3, -1, 0, 0}, {2, 2, 3, 1, 0, 0}, {1, 0, 3, 0, -1, 0},
                                   {1, 4, 3, 0, 1, 0}, {1, 2, 0, 0, 0, -1}, {1, 2, 6, 0, 0, 1}, {1, 2, 3, 0, 0, 7}};
    for (int side = 0; side < 8; ++side) {
        P3 c;
        CUnitVector3d n = CUnitVector3d::FromComponents(0, 0, 7);  // marks "untouched"
        faces.GetCenterNormal(static_cast<EBoxSide>(side == 7 ? 9 : side), c, n);
        const double* e = expected[side];
        EXPECT_TRUE(NearXyz(c, P3(e[0], e[1], e[2]), 0)) << side;
        EXPECT_TRUE(NearXyz(n, P3(e[3], e[4], e[5]), 0)) << side;
    }
}

TEST(BoundingBox3d, SegmentTestClipsSnapsAndStopsAfterSixPasses) {
    // A step of exactly EqualTol moves a along the segment, which then misses; a
    // smaller one snaps a onto the face without moving y, and a enters the box.
    EXPECT_FALSE(kUnit.Intersects(P3(-0.0005, 5, 0.5), P3(0.0005, -7, 0.5)));
    EXPECT_TRUE(kUnit.Intersects(P3(-0.0005, 5, 0.5), P3(0.0004, -7, 0.5)));
    {
        // The step is measured against EqualTol as it is at the call.
        plenar_test::ToleranceGuard guard(0.0001);
        EXPECT_FALSE(kUnit.Intersects(P3(-0.0005, 5, 0.5), P3(0.0004, -7, 0.5)));
    }
    // A rounding overshoot past the y face is absorbed by a snap in a fourth pass.
    const Box big(CRange(-2300.6277058493288, 11027.409282471628), CRange(-5622.9285849373609, 15441.094234936463),
                  CRange(-12580.627158713967, -10268.274147271466));
    EXPECT_TRUE(big.Intersects(P3(29349.756334665261, -36148.175088315817, -22465.592734711347),
                               P3(-2300.6277058493292, 15441.094234936463, -12580.627158713967)));
    // On an empty x axis with b.x NaN, a bounces between the x faces for ever; the
    // pass limit ends it with a miss.
    EXPECT_FALSE(Box(CRange(1, 0), CRange(0, 1), CRange(0, 1)).Intersects(P3(0.5, 0.5, 0.5), P3(kNaN, 2, 0.5)));
}

TEST(BoundingBox2d, MembersContainmentAndOverlap) {
    CBoundingBox2d box;
    EXPECT_TRUE(box.IsEmpty());
    box += P2(0, 0);
    box.Add(P2(3, 4));
    EXPECT_EQ(box.GetDiagonal(), 5.0);
    EXPECT_EQ(CBoundingBox2d(P2(0, 0), P2(kAtDivideGuardX, kAtDivideGuardY)).GetDiagonal(), 0.0);  // strict, as in 3D
    EXPECT_EQ(box.GetCenter().y, 2.0);
    EXPECT_TRUE(NearXy(box.GetCorner(1), P2(3, 0), 0));
    EXPECT_EQ(box.GetCorner(2).y, 4);
    EXPECT_TRUE(box.Contains(P2(3.0005, 4)));
    EXPECT_TRUE(box.ContainsInInterior(P2(0.001, 1)));
    EXPECT_FALSE(box.Contains(P2(0.0 - EqualTol, 1)));
    EXPECT_FALSE(box.Contains(CBoundingBox2d(P2(0, 0), P2(3, 4.0 + EqualTol))));

    CBoundingBox2d out;
    EXPECT_TRUE(box.Intersects(CBoundingBox2d(P2(3, 4), P2(5, 5))));
    EXPECT_FALSE(box.Intersects(CBoundingBox2d(CRange(0, 1), CRange(2, 1))));
    EXPECT_TRUE(box.Overlaps(CBoundingBox2d(P2(1, -1), P2(5, 2)), out));
    EXPECT_TRUE(SameRange(out.y, CRange(0, 2)));
    const CBoundingBox2d u = box + CBoundingBox2d(CRange(), CRange(-1, 9));
    const CBoundingBox2d i = box.Intersect(CBoundingBox2d(P2(5, 1), P2(6, 2)));
    EXPECT_TRUE(SameRange(u.x, CRange(0, 3)));
    EXPECT_TRUE(SameRange(i.y, CRange(1, 2)));
    EXPECT_TRUE(!(box + P2(INFINITY, 0)).IsValidObj());
}
