#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/point2d.h>
#include <geometry/ray3d.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;

namespace {

CBoundingBox3d Box(double x0, double x1, double y0, double y1, double z0, double z1) {
    return CBoundingBox3d(CPoint3d(x0, y0, z0), CPoint3d(x1, y1, z1));
}

// A plane with the given raw fields, bypassing the normalising setters.
CPlane Raw(double a, double b, double c, double d) {
    CPlane pl;
    pl.a = a, pl.b = b, pl.c = c, pl.d = d;
    return pl;
}

void ExpectPlane(const CPlane& pl, double a, double b, double c, double d, double eps = 1e-12) {
    EXPECT_NEAR(pl.a, a, eps);
    EXPECT_NEAR(pl.b, b, eps);
    EXPECT_NEAR(pl.c, c, eps);
    EXPECT_NEAR(pl.d, d, eps);
}

// Points of an ellipse about centre in the plane with normal n, listed
// counter-clockwise about n, with an optional offset along n per point.
std::vector<CPoint3d> Polygon(const CPoint3d& centre, const CUnitVector3d& n, int count, double start,
                              std::mt19937* noiseRng = nullptr, double noise = 0.0) {
    CUnitVector3d xAxis, yAxis;
    n.GetArbitraryAxes(xAxis, yAxis);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<CPoint3d> pts;
    for (int k = 0; k < count; ++k) {
        const double ang = start + 6.283185307179586 * k / count;
        const double off = noiseRng ? noise * u(*noiseRng) : 0.0;
        pts.push_back(centre + CVector3d(5 * std::cos(ang), xAxis, 2 * std::sin(ang), yAxis, off, n));
    }
    return pts;
}

}  // namespace

TEST(Plane, ConstructionNormalisesAndKeepsDegenerateOffset) {
    ExpectPlane(CPlane(), 0, 0, 1, 0, 0);
    ExpectPlane(CPlane(0, 0, 2, -4), 0, 0, 1, -2, 0);
    ExpectPlane(CPlane(3, 0, 4, 10), 0.6, 0, 0.8, 2);
    // 1e-10 squared rounds just above DivideByZeroTolSq: normalised. A little
    // shorter is the degenerate plane with d kept.
    ExpectPlane(CPlane(1e-10, 0, 0, 1), 1, 0, 0, 1e10, 1e-2);
    ExpectPlane(CPlane(0.99e-10, 0, 0, 7), 0, 0, 0, 7, 0);

    // Three points counter-clockwise seen from +z give normal +z; colinear ones none.
    ExpectPlane(CPlane(CPoint3d(0, 0, 3), CPoint3d(2, 0, 3), CPoint3d(0, 5, 3)), 0, 0, 1, -3, 0);
    ExpectPlane(CPlane(CPoint3d(0, 0, 3), CPoint3d(0, 5, 3), CPoint3d(2, 0, 3)), 0, 0, -1, 3, 0);
    EXPECT_FALSE(CPlane(CPoint3d(0, 0, 0), CPoint3d(1, 1, 1), CPoint3d(2, 2, 2)).Normal().IsValid());

    EXPECT_EQ(Raw(0, 0, 2, 0).Normal().z, 2.0);  // copied, not renormalised
    EXPECT_FALSE(Raw(0, 0, 1, std::nan("")).IsValidObj());
}

TEST(Plane, DistancesAndProjections) {
    const CPlane z2(0, 0, 1, -2);
    EXPECT_EQ(z2.SignedDistance(CPoint3d(4, 5, -1)), -3.0);
    EXPECT_EQ(z2.DistanceTo(CPoint3d(4, 5, -1)), 3.0);
    EXPECT_EQ(z2.Project(CPoint3d(1, 2, 5)).z, 2.0);
    const CPoint3d on(7, -3, 2);
    EXPECT_EQ(z2.Project(on).DistanceSquaredTo(on), 0.0);

    // A direction's shadow does not depend on the offset; along the normal it vanishes.
    EXPECT_NEAR(z2.Project(CUnitVector3d(1, 0, 1)).x, 1.0, 1e-15);
    EXPECT_FALSE(z2.Project(CUnitVector3d(0, 0, -1)).IsValid());

    // CPoint3d's plane members; membership is strict at EqualTol.
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    EXPECT_EQ(CPoint3d(0, 0, 1).DistanceTo(z2), 1.0);
    EXPECT_TRUE(CPoint3d(9, 9, 2 + 1.0 / 2048).IsOn(z2));
    EXPECT_FALSE(CPoint3d(9, 9, 2 + 1.0 / 1024).IsOn(z2));
    EXPECT_FALSE(CPoint3d(9, 9, 2 - 1.0 / 1024).IsOn(z2));
    EXPECT_EQ(CPoint3d(3, 4, 0).ProjectTo(z2).z, 2.0);
}

TEST(Plane, RayIntersectionUsesSquaredToleranceAndAcceptsNegativeParameters) {
    const CPlane z2(0, 0, 1, -2);
    double t = 42.0;
    CPoint3d p(-1, -1, -1);
    // A ray lying in the plane does not intersect it, though all its points are on it.
    const CRay3d inPlane(CPoint3d(0, 0, 2), CUnitVector3d(1, 1, 0));
    EXPECT_TRUE(inPlane.IsOn(z2));
    EXPECT_FALSE(z2.IntersectWith(inPlane, t));
    EXPECT_FALSE(z2.IntersectWith(inPlane, p));
    EXPECT_EQ(t, 42.0);
    EXPECT_EQ(p.x, -1.0);

    // The carrier line is intersected: a plane behind the origin gives t < 0.
    const CRay3d up(CPoint3d(1, 1, 5), CUnitVector3d(0, 0, 1));
    ASSERT_TRUE(z2.IntersectWith(up, t));
    EXPECT_EQ(t, -3.0);
    ASSERT_TRUE(up.IntersectWith(z2, p));
    EXPECT_EQ(p.z, 2.0);
    ASSERT_TRUE(z2.IntersectWith(CPoint3d(0, 0, 0), CUnitVector3d(3, 0, 4), p));
    EXPECT_NEAR(p.x, 1.5, 1e-15);

    // The default tolerance is EqualTolSq: a grazing ray with |cos| = 1e-5 hits.
    const CRay3d grazing(CPoint3d(0, 0, 3), CUnitVector3d(1, 0, 1e-5));
    ASSERT_TRUE(grazing.IntersectWith(z2, t));
    EXPECT_NEAR(t, -1e5, 1e-5);
    EXPECT_FALSE(grazing.IntersectWith(z2, t, EqualTol));
    // An explicit tolerance is strict: |cos| equal to it still intersects.
    const CRay3d tilted(CPoint3d(0, 0, 0), CUnitVector3d(0.6, 0, 0.8));
    const double den = tilted.direction.z;
    EXPECT_TRUE(z2.IntersectWith(tilted, p, den));
    EXPECT_FALSE(z2.IntersectWith(tilted, t, std::nextafter(den, 1.0)));
}

TEST(Plane, IntersectionOfTwoPlanesLiesOnBoth) {
    CRay3d line;
    ASSERT_TRUE(CPlane(0, 0, 1, -2).IntersectWith(CPlane(1, 0, 0, -3), line));
    EXPECT_NEAR(line.origin.x, 3, 1e-15);
    EXPECT_NEAR(line.origin.z, 2, 1e-15);
    EXPECT_NEAR(line.direction.y, 1, 1e-15);  // N1 x N2 = z x x = +y
    EXPECT_FALSE(CPlane(0, 0, 1, -2).IntersectWith(CPlane(0, 0, -1, 7), line));
    EXPECT_NEAR(line.origin.x, 3, 1e-15);  // untouched

    std::mt19937 rng(17);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const CPlane p1(u(rng), u(rng), u(rng), 10 * u(rng)), p2(u(rng), u(rng), u(rng), 10 * u(rng));
        const CVector3d n1n2 = p1.Normal() * p2.Normal();
        if (n1n2.Length() < 1e-3 || !p1.IntersectWith(p2, line)) continue;
        EXPECT_NEAR(p1.SignedDistance(line.origin), 0, 1e-9);
        EXPECT_NEAR(p2.SignedDistance(line.origin), 0, 1e-6);
        EXPECT_NEAR(Dot(line.direction, n1n2), n1n2.Length(), 1e-12);
    }
}

TEST(Plane, BoxClassificationPicksCornersByNormalSign) {
    // Normal -x at x = 0.5: the "low" corner is the box's maximum x.
    const CPlane minusX(-1, 0, 0, 0.5);
    EXPECT_EQ(minusX.IntersectWith(Box(0, 1, 0, 1, 0, 1)), 3);
    EXPECT_EQ(minusX.IntersectWith(Box(1, 2, 0, 1, 0, 1)), 2);
    EXPECT_EQ(minusX.IntersectWith(Box(-2, -1, 0, 1, 0, 1)), 1);
    // Touching with a face, from either side, or a point box on the plane: crossing.
    const CPlane x05(1, 0, 0, -0.5);
    EXPECT_EQ(x05.IntersectWith(Box(0.5, 1, 0, 1, 0, 1)), 3);
    EXPECT_EQ(x05.IntersectWith(Box(0, 0.5, 0, 1, 0, 1)), 3);
    EXPECT_EQ(x05.IntersectWith(Box(0.5, 0.5, 3, 3, 3, 3)), 3);

    // Against all eight corners: the selected corners are exactly the extremes.
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 2000; ++i) {
        const CPlane pl(u(rng), u(rng), u(rng), u(rng));
        const double x = u(rng), y = u(rng), z = u(rng), e = 0.5 * (u(rng) + 1);
        const CBoundingBox3d box = Box(x, x + e, y, y + e, z, z + e);
        double lo = 1e300, hi = -1e300;
        for (int k = 0; k < 8; ++k) {
            lo = std::fmin(lo, pl.SignedDistance(box.GetCorner(k)));
            hi = std::fmax(hi, pl.SignedDistance(box.GetCorner(k)));
        }
        ASSERT_EQ(pl.IntersectWith(box), lo > 0.0 ? 1 : (hi < 0.0 ? 2 : 3)) << i;
    }
}

TEST(Plane, IsAboveAxisBranchesKeepMarginAndCornerRuleAnswersTrue) {
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    const double tol = 1.0 / 1024;
    // Axis planes at 4: the box must stay at least EqualTol clear, on each axis and
    // for either facing.
    EXPECT_TRUE(CPlane(0, 0, 1, -4).IsAbove(Box(0, 1, 0, 1, 0, 4 - tol)));
    EXPECT_FALSE(CPlane(0, 0, 1, -4).IsAbove(Box(0, 1, 0, 1, 0, 4 - tol / 2)));
    EXPECT_TRUE(CPlane(0, 0, -1, 4).IsAbove(Box(0, 1, 0, 1, 4 + tol, 9)));
    EXPECT_FALSE(CPlane(0, 0, -1, 4).IsAbove(Box(0, 1, 0, 1, 4 + tol / 2, 9)));
    EXPECT_TRUE(CPlane(1, 0, 0, -4).IsAbove(Box(0, 4 - tol, 0, 1, 0, 1)));
    EXPECT_TRUE(CPlane(-1, 0, 0, 4).IsAbove(Box(4 + tol, 5, 0, 1, 0, 1)));
    EXPECT_TRUE(CPlane(0, 1, 0, -4).IsAbove(Box(0, 1, 0, 4 - tol, 0, 1)));
    EXPECT_FALSE(CPlane(0, 1, 0, -4).IsAbove(Box(0, 1, 0, 4 - tol / 2, 0, 1)));
    EXPECT_TRUE(CPlane(0, -1, 0, 4).IsAbove(Box(0, 1, 4 + tol, 5, 0, 1)));
    // A normal within EqualTol of an axis counts as that axis.
    EXPECT_TRUE(Raw(0, 0, 1 - tol / 2, -4).IsAbove(Box(0, 1, 0, 1, 0, 4 - tol)));

    // The order is c, a, b: with two raw components at 1 the earlier one decides.
    EXPECT_TRUE(Raw(1, 0, 1, -2).IsAbove(Box(0, 10, 0, 1, 0, 1)));   // c before a
    EXPECT_TRUE(Raw(0, 1, 1, -2).IsAbove(Box(0, 1, 0, 10, 0, 1)));   // c before b
    EXPECT_FALSE(Raw(1, 1, 0, -2).IsAbove(Box(0, 10, 0, 1, 0, 1)));  // a before b
    EXPECT_TRUE(Raw(1, 1, 0, -2).IsAbove(Box(0, 1, 0, 10, 0, 1)));

    // Oblique plane through the origin, normal (1, 1, 1)/sqrt(3).
    const CPlane oblique(1, 1, 1, 0);
    EXPECT_FALSE(oblique.IsAbove(Box(0, 1, 0, 1, 0, 1)));          // centre above
    EXPECT_TRUE(oblique.IsAbove(Box(-10, -9, -10, -9, -10, -9)));  // centre far below
    // Centre below within the diagonal: no corner strictly above gives false, and
    // a corner on the positive side gives true.
    EXPECT_FALSE(oblique.IsAbove(Box(-1, 0, -1, 0, -1, 0)));
    EXPECT_TRUE(oblique.IsAbove(Box(-1, 0.1, -1, 0, -1, 0)));
}

TEST(Plane, CanonicalFormDecidesByDFirst) {
    EXPECT_EQ(CPlane(0, 0, -1, 0).GetCanonicalNormal().z, 1.0);
    EXPECT_EQ(CPlane(0, 0, 1, -5).GetCanonicalNormal().z, -1.0);  // d decides before c
    EXPECT_EQ(CPlane(0, 0, -1, 5).GetCanonicalNormal().z, -1.0);
    // Values strictly within EqualTol pass on: d to c, then b, then a.
    EXPECT_EQ(CPlane(0, 0, -1, 0.5 * EqualTol).GetCanonicalNormal().z, 1.0);
    EXPECT_EQ(CPlane(0, -1, 0, 0).GetCanonicalNormal().y, 1.0);
    EXPECT_EQ(CPlane(-1, 0, 0, 0).GetCanonicalNormal().x, 1.0);
    EXPECT_EQ(CPlane(1, 0, 0, 0).GetCanonicalNormal().x, 1.0);
    // Inclusive at +-EqualTol; the normal comes out normalised.
    EXPECT_EQ(CPlane(0, 0, -1, EqualTol).GetCanonicalNormal().z, -1.0);
    EXPECT_EQ(CPlane(0, 0, 1, -EqualTol).GetCanonicalNormal().z, -1.0);
    EXPECT_EQ(Raw(0, 0, -2, 0).GetCanonicalNormal().z, 1.0);

    CPlane pl(0, 0, 1, -5);
    pl.SetCanonicalForm();
    ExpectPlane(pl, 0, 0, -1, 5, 0);
    pl.SetCanonicalForm();
    ExpectPlane(pl, 0, 0, -1, 5, 0);
}

TEST(Plane, MapPointUsesCanonicalFrameSoReversedPlanesAgree) {
    // z = 2 in canonical form is (0, 0, -1, 2): origin (0, 0, 2), X = (-1, 0, 0),
    // Y = (0, 1, 0).
    const CPoint2d m = CPlane(0, 0, 1, -2).MapPoint(CPoint3d(3, 4, 2));
    EXPECT_EQ(m.x, -3.0);
    EXPECT_EQ(m.y, 4.0);
    // |d| < EqualTol maps from the world origin.
    const CPoint2d near0 = CPlane(0, 0, 1, -0.5 * EqualTol).MapPoint(CPoint3d(1, 2, 0));
    EXPECT_EQ(near0.x, 1.0);
    EXPECT_EQ(near0.y, 2.0);

    std::mt19937 rng(3);
    std::uniform_real_distribution<double> u(-5, 5);
    for (int i = 0; i < 100; ++i) {
        const CPlane pl(u(rng), u(rng), u(rng), u(rng));
        CPlane rev = pl;
        rev.Reverse();
        const CPoint3d p = pl.Project(CPoint3d(u(rng), u(rng), u(rng)));
        const CPoint3d q = pl.Project(CPoint3d(u(rng), u(rng), u(rng)));
        EXPECT_EQ(pl.MapPoint(p).x, rev.MapPoint(p).x);
        EXPECT_EQ(pl.MapPoint(p).y, rev.MapPoint(p).y);
        EXPECT_NEAR(pl.MapPoint(p).DistanceTo(pl.MapPoint(q)), p.DistanceTo(q), 1e-9);
    }
}

TEST(Plane, EqualsOrientedAndUnoriented) {
    EXPECT_TRUE(CPlane(0, 0, 1, -1).Equals(CPlane(0, 0, -1, 1), false, EqualTol));
    EXPECT_FALSE(CPlane(0, 0, 1, -1).Equals(CPlane(0, 0, -1, 1), true, EqualTol));
    // Inclusive at tol.
    EXPECT_TRUE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.75), true, 0.25));
    EXPECT_FALSE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.75), true, std::nextafter(0.25, 0.0)));
    // Away from the origin the signs of d decide, zero counting as non-negative.
    EXPECT_TRUE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.0), false, 1.0));
    // Through the origin (|d| < EqualTol) the normals decide instead.
    const double h = 0.5 * EqualTol;
    EXPECT_TRUE(Raw(0, 0, 1, h).Equals(Raw(0, 0, -1, h), false, 0.01));
    EXPECT_FALSE(Raw(0, 0, 1, h).Equals(Raw(0, 0, -1, h), true, 0.01));
}

TEST(Plane, MovingOffsettingAndReversing) {
    CPlane pl;
    pl += CVector3d(1, 2, 3);
    EXPECT_EQ(pl.d, -3.0);
    pl -= CVector3d(0, 0, 5);
    EXPECT_EQ(pl.d, 2.0);
    pl.Offset(2.5);
    EXPECT_EQ(pl.SignedDistance(CPoint3d(0, 0, 0.5)), 0.0);
    pl.Reverse();
    ExpectPlane(pl, 0, 0, -1, 0.5, 0);
    // The move uses the normalised normal, not the raw fields.
    CPlane raw = Raw(0, 0, 2, 0);
    raw += CVector3d(0, 0, 3);
    EXPECT_EQ(raw.d, -3.0);
    EXPECT_EQ(CPlane(0, 0, 1, -0.5 * EqualTol).GetPoint().z, 0.0);
    EXPECT_EQ(CPlane(0, 0, 1, -2).GetPoint().z, 2.0);
}

TEST(Plane, TrimAboveKeepsThePartOnOrBelow) {
    const CPlane z0;
    auto trim = [&](CPoint3d p, CPoint3d q, int expected, const CPoint3d& p2, const CPoint3d& q2) {
        EXPECT_EQ(z0.TrimAbove(&p, &q), expected);
        EXPECT_EQ(p.DistanceSquaredTo(p2), 0.0) << p;
        EXPECT_EQ(q.DistanceSquaredTo(q2), 0.0) << q;
    };
    trim({0, 0, 2}, {4, 0, -2}, 0, {2, 0, 0}, {4, 0, -2});   // p above: p moves
    trim({0, 0, -1}, {3, 0, 2}, 0, {0, 0, -1}, {1, 0, 0});   // q above: q moves
    trim({0, 0, 1}, {1, 0, 2}, 1, {0, 0, 1}, {1, 0, 2});     // all above
    trim({0, 0, 0}, {1, 0, 0}, -1, {0, 0, 0}, {1, 0, 0});    // both exactly on
    trim({0, 0, 0}, {1, 0, -1}, -1, {0, 0, 0}, {1, 0, -1});  // on and below
    trim({5, 0, 3}, {1, 1, 0}, 0, {1, 1, 0}, {1, 1, 0});     // above to on: collapses
    // Both ends within DivideByZeroTol of the plane: no crossing is computed.
    trim({5, 0, 2e-11}, {1, 0, -2e-11}, 0, {5, 0, 2e-11}, {1, 0, -2e-11});
}

TEST(Plane, EvaluateFollowsTheOrderOfThePoints) {
    std::vector<CPoint3d> square = {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    CPlane pl;
    ASSERT_TRUE(pl.Evaluate(square.data(), 4));
    ExpectPlane(pl, 0, 0, 1, -1, 0);
    std::vector<CPoint3d> reversed(square.rbegin(), square.rend());
    ASSERT_TRUE(pl.Evaluate(reversed.data(), 4));
    ExpectPlane(pl, 0, 0, -1, 1, 0);

    // Colinear, coincident and too few points fail and leave the plane alone.
    std::vector<CPoint3d> line = {{0, 0, 0}, {1, 1, 1}, {3, 3, 3}, {2, 2, 2}};
    std::vector<CPoint3d> same(4, CPoint3d(1, 2, 3));
    EXPECT_FALSE(pl.Evaluate(line.data(), 4));
    EXPECT_FALSE(pl.Evaluate(same.data(), 4));
    EXPECT_FALSE(pl.Evaluate(square.data(), 2));
    ExpectPlane(pl, 0, 0, -1, 1, 0);

    // Convex polygons counter-clockwise about a random normal from a random first
    // vertex: the third point falls inside and outside the chord's index range, and
    // the orientation must follow the list every time.
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 300; ++i) {
        const CUnitVector3d n(u(rng), u(rng), u(rng));
        const CPoint3d centre(10 * u(rng), 10 * u(rng), 10 * u(rng));
        std::vector<CPoint3d> pts = Polygon(centre, n, 3 + static_cast<int>(rng() % 6), 3.0 * u(rng));
        ASSERT_TRUE(pl.Evaluate(pts.data(), static_cast<int>(pts.size())));
        EXPECT_NEAR(Dot(pl.Normal(), n), 1.0, 1e-9) << i;
        EXPECT_NEAR(pl.SignedDistance(centre), 0.0, 1e-9);
    }
}

TEST(Plane, LeastSquaresFitReportsPlanarityAndFollowsWinding) {
    std::vector<CPoint3d> square = {{0, 0, 2}, {1, 0, 2}, {1, 1, 2}, {0, 1, 2}};
    CPlane pl;
    ASSERT_TRUE(pl.LeastSquaresFit(4, square.data()));
    ExpectPlane(pl, 0, 0, 1, -2);
    std::vector<CPoint3d> cw(square.rbegin(), square.rend());
    ASSERT_TRUE(pl.LeastSquaresFit(4, cw.data()));
    ExpectPlane(pl, 0, 0, -1, 2);
    // Lifting one corner by 0.01 breaks planarity; the fitted plane is still set.
    square[2].z += 0.01;
    EXPECT_FALSE(pl.LeastSquaresFit(4, square.data()));
    EXPECT_GT(pl.c, 0.99);

    // The x and y coordinate planes use the other regression axes, far from the origin.
    const double far = 1e5;
    std::vector<CPoint3d> xPlane = {{far, 0, 0}, {far, 2, 0}, {far, 2, 3}, {far, 0, 3}};
    ASSERT_TRUE(pl.LeastSquaresFit(4, xPlane.data()));
    ExpectPlane(pl, 1, 0, 0, -far, 1e-9);
    std::vector<CPoint3d> yPlane = {{0, -far, 0}, {0, -far, 3}, {2, -far, 3}, {2, -far, 0}};
    ASSERT_TRUE(pl.LeastSquaresFit(4, yPlane.data()));
    ExpectPlane(pl, 0, 1, 0, far, 1e-9);

    // Too few, colinear or coincident points: false, plane untouched.
    const CPlane before = pl;
    std::vector<CPoint3d> line = {{0, 0, 0}, {1, 2, 3}, {2, 4, 6}, {3, 6, 9}};
    std::vector<CPoint3d> same(5, CPoint3d(1, 1, 1));
    EXPECT_FALSE(pl.LeastSquaresFit(2, xPlane.data()));
    EXPECT_FALSE(pl.LeastSquaresFit(4, line.data()));
    EXPECT_FALSE(pl.LeastSquaresFit(5, same.data()));
    EXPECT_TRUE(pl.Equals(before, true, 0.0));

    // Tilted polygons with noise well within the tolerance stay planar, and the
    // normal follows the winding.
    std::mt19937 rng(23);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const CUnitVector3d n(u(rng), u(rng), u(rng));
        std::vector<CPoint3d> pts = Polygon(CPoint3d(100 * u(rng), 100 * u(rng), 100 * u(rng)), n, 7, 0.0, &rng, 2e-4);
        ASSERT_TRUE(pl.LeastSquaresFit(7, pts.data())) << i;
        EXPECT_NEAR(Dot(pl.Normal(), n), 1.0, 1e-6);
    }
}

TEST(PlaneCalculator, CollectsThreeNonColinearPoints) {
    CPlaneCalculator calc;
    EXPECT_EQ(calc.count, 0);
    EXPECT_EQ(calc.firstDirection.z, 1.0);
    CPlane pl(0, 1, 0, 9);
    EXPECT_TRUE(calc.AddPoint(CPoint3d(0, 0, 1)));
    EXPECT_TRUE(calc.AddPoint(CPoint3d(0.0005, 0, 1)));  // within EqualTol: ignored
    EXPECT_EQ(calc.count, 1);
    EXPECT_TRUE(calc.AddPoint(CPoint3d(2, 0, 1)));
    EXPECT_EQ(calc.firstDirection.x, 1.0);
    EXPECT_TRUE(calc.AddPoint(CPoint3d(5, 0, 1)));  // colinear: ignored
    EXPECT_EQ(calc.count, 2);
    EXPECT_FALSE(calc.GetPlane(pl));
    ExpectPlane(pl, 0, 1, 0, 9, 0);

    // The squared distance from the line is compared with 1e-10: 5e-6 off the line
    // (2.5e-11) is ignored, 1e-4 off (1e-8) is taken.
    EXPECT_TRUE(calc.AddPoint(CPoint3d(3, 5e-6, 1)));
    EXPECT_EQ(calc.count, 2);
    EXPECT_TRUE(calc.AddPoint(CPoint3d(3, 1e-4, 1)));
    EXPECT_EQ(calc.count, 3);
    EXPECT_FALSE(calc.AddPoint(CPoint3d(0, 7, 7)));
    ASSERT_TRUE(calc.GetPlane(pl));
    ExpectPlane(pl, 0, 0, 1, -1);

    CPlaneCalculator cw;  // clockwise seen from +z
    for (const CPoint3d& p : {CPoint3d(0, 0, 0), CPoint3d(0, 1, 0), CPoint3d(1, 1, 0)}) cw.AddPoint(p);
    ASSERT_TRUE(cw.GetPlane(pl));
    ExpectPlane(pl, 0, 0, -1, 0);
}

TEST(Point3dWithPlanes, LeastSquaresFitOfPlanes) {
    std::vector<CPlane> planes = {CPlane(1, 0, 0, -1), CPlane(0, 1, 0, -2), CPlane(0, 0, 1, -3)};
    CPoint3d p(9, 9, 9);
    EXPECT_FALSE(p.LeastSquaresFit(2, planes.data()));
    EXPECT_EQ(p.x, 9.0);
    ASSERT_TRUE(p.LeastSquaresFit(planes));
    EXPECT_EQ(p.DistanceSquaredTo(CPoint3d(1, 2, 3)), 0.0);

    // One plane 0.01 off: solved but inconsistent, and the solution is kept.
    planes.push_back(CPlane(0, 0, 1, -3.01));
    EXPECT_FALSE(p.LeastSquaresFit(static_cast<int>(planes.size()), planes.data()));
    EXPECT_NEAR(p.z, 3.005, 1e-12);

    // Parallel planes are singular: false, point untouched.
    std::vector<CPlane> parallel = {CPlane(0, 0, 1, 0), CPlane(0, 0, 1, -1), CPlane(0, 0, 1, -2)};
    EXPECT_FALSE(p.LeastSquaresFit(parallel));
    EXPECT_NEAR(p.z, 3.005, 1e-12);
}
