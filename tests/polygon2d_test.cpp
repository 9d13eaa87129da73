#include <geometry/polygon2d.h>

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <type_traits>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P2 = CPoint2d;

namespace {

CPolygon2d Make(std::initializer_list<P2> pts) {
    CPolygon2d poly;
    for (const P2& p : pts) poly.AddPoint(p);
    return poly;
}

const CPolygon2d kUnit = Make({{0, 0}, {1, 0}, {1, 1}, {0, 1}});

bool Same(const CPolygon2d& a, const CPolygon2d& b) {
    return a.points == b.points && a.bounds.x.min == b.bounds.x.min && a.bounds.x.max == b.bounds.x.max &&
           a.bounds.y.min == b.bounds.y.min && a.bounds.y.max == b.bounds.y.max && a.tag == b.tag;
}

}  // namespace

static_assert(std::has_virtual_destructor_v<CPolygon2d>);

TEST(Polygon2d, ClassifyPointRejectsThroughBoundsBeforeThePolygon) {
    // Points replaced behind the box's back: the stale box still decides first.
    CPolygon2d stale = kUnit;
    stale.points = {{-10, -10}, {10, -10}, {10, 10}, {-10, 10}};
    EXPECT_EQ(stale.ClassifyPoint(P2(5, 5)), OutsidePolygon);
    EXPECT_EQ(stale.ClassifyPoint(P2(0, 0)), InsidePolygon);  // inside the box: the polygon answers
    EXPECT_EQ(kUnit.ClassifyPoint(P2(std::nan(""), 0.5)), OutsidePolygon);
}

TEST(Polygon2d, ContainsAcceptsBoundaryOnlyWhenAsked) {
    const CPolygon2d half = Make({{0.25, 0.25}, {0.75, 0.25}, {0.75, 0.75}, {0.25, 0.75}});
    EXPECT_TRUE(kUnit.Contains(half, false));

    // A vertex on an edge (2), exactly or within the band, passes only with allowBoundary.
    for (double x : {1.0, 1.0005, 1.002}) {
        const CPolygon2d touching = Make({{0.25, 0.25}, {x, 0.5}, {0.25, 0.75}});
        EXPECT_FALSE(kUnit.Contains(touching, false)) << x;
        EXPECT_EQ(kUnit.Contains(touching, true), x < 1.001) << x;
    }

    // The early rejection uses other's box as it stands.
    CPolygon2d unboxed;
    unboxed.points = half.points;
    EXPECT_FALSE(kUnit.Contains(unboxed, true));

    // With a zero tolerance a corner of the square no longer matches itself and
    // reads as inside its own polygon, which fails the self-classification pass.
    plenar_test::ToleranceGuard guard(0.0);
    ASSERT_EQ(kUnit.ClassifyPoint(P2(0, 0)), InsidePolygon);
    EXPECT_FALSE(kUnit.Contains(half, false));
}

TEST(Polygon2d, CoincidenceFollowsTheCycleFromTheFirstMatchOnly) {
    const CPolygon2d rotated = Make({{1, 1}, {0, 1}, {0, 0}, {1, 0}});
    const CPolygon2d reversed = Make({{0, 1}, {1, 1}, {1, 0}, {0, 0}});
    EXPECT_FALSE(reversed.IsCoincidentWith(kUnit));
    EXPECT_FALSE(kUnit.IsCoincidentWith(Make({{0, 0}, {1, 0}, {1, 1}})));
    EXPECT_FALSE(CPolygon2d().IsCoincidentWith(CPolygon2d()));
    EXPECT_TRUE(Make({{3, 4}}).IsCoincidentWith(Make({{3.0005, 4}})));

    // Per-axis and squared tests, all strict, for the start vertex as for the rest.
    // A tolerance of 2^-10 keeps the per-axis boundary exact at every vertex;
    // EqualTolSq stays at its load-time 1e-6, above (2^-10)^2.
    const auto check = [&rotated](double dx, double dy, bool equal) {
        for (int moved = 0; moved < 4; ++moved) {
            CPolygon2d other = rotated;
            other.points[moved] += CVector2d(dx, dy);
            EXPECT_EQ(kUnit.IsCoincidentWith(other), equal) << dx << ", " << dy << " at " << moved;
        }
    };
    check(0.0005, 0, true);
    check(0.002, 0, false);
    check(0.0007, 0.0007, true);
    check(0.00075, -0.00075, false);  // each axis passes, the squared distance does not
    const double t2 = 0.0009765625;
    plenar_test::ToleranceGuard guard(t2);
    check(t2, 0, false);
    check(0, -t2, false);
    check(t2 / 2, -t2 / 2, true);

    // A repeated vertex a: the first a in other is followed by the wrong point and no
    // later a is tried, although starting at the second one would line up.
    const P2 a(0, 0), b(2, 0), d(-2, 0);
    const CPolygon2d abad = Make({a, b, a, d});
    EXPECT_TRUE(abad.IsCoincidentWith(Make({d, a, b, a})));
    EXPECT_FALSE(abad.IsCoincidentWith(Make({b, a, d, a})));
}

TEST(Polygon2d, SignedAreaIsPositiveCounterClockwiseAndReverseChangesNothing) {
    EXPECT_EQ(kUnit.GetSignedArea(), 1.0);
    EXPECT_EQ(CPolygon2d().GetSignedArea(), 0.0);
    // Far from the origin the trapezoids cancel exactly; products of raw
    // coordinates (about 1e16) would not.
    const double o = 1e8;
    EXPECT_EQ(Make({{o, o}, {o + 1, o}, {o + 1, o + 1}, {o, o + 1}}).GetSignedArea(), 1.0);

    for (const CPolygon2d& original : {kUnit, Make({{1, 2}}), CPolygon2d()}) {
        CPolygon2d poly = original;
        poly.Reverse();
        EXPECT_TRUE(Same(poly, original));
    }
}

TEST(Polygon2d, CopyAndAssignmentKeepStoredBoundsAndTag) {
    CPolygon2d source = kUnit;
    source.bounds.x.max = 50;  // deliberately not the box of the points: copied, not rebuilt
    source.tag = 0xFEEDFACECAFEBEEFull;

    CPolygon2d copy(source);
    EXPECT_TRUE(Same(copy, source));
    copy.points[0].x = -7;
    EXPECT_EQ(source.points[0].x, 0.0);  // deep copy

    CPolygon2d target = Make({{9, 9}, {8, 8}, {7, 7}, {6, 6}, {5, 5}});
    target.tag = 3;
    EXPECT_EQ(&(target = source), &target);
    EXPECT_TRUE(Same(target, source));

    CPolygon2d& alias = target;
    target = alias;
    EXPECT_TRUE(Same(target, source));
}
