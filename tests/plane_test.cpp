#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/point2d.h>
#include <geometry/ray3d.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;

namespace {

CBoundingBox3d Box(double x0, double x1, double y0, double y1, double z0, double z1) {
    CBoundingBox3d box;
    box.Clear();
    box.Add(CPoint3d(x0, y0, z0));
    box.Add(CPoint3d(x1, y1, z1));
    return box;
}

// A plane with the given raw fields, bypassing the normalising setters.
CPlane Raw(double a, double b, double c, double d) {
    CPlane pl;
    pl.a = a;
    pl.b = b;
    pl.c = c;
    pl.d = d;
    return pl;
}

void ExpectPlane(const CPlane& pl, double a, double b, double c, double d, double eps = 1e-12) {
    EXPECT_NEAR(pl.a, a, eps);
    EXPECT_NEAR(pl.b, b, eps);
    EXPECT_NEAR(pl.c, c, eps);
    EXPECT_NEAR(pl.d, d, eps);
}

// Brute-force classification of a box against a plane from all eight corners.
int ClassifyByCorners(const CPlane& pl, const CBoundingBox3d& box) {
    double lo = std::numeric_limits<double>::infinity();
    double hi = -lo;
    for (int i = 0; i < 8; ++i) {
        const double s = pl.SignedDistance(box.GetCorner(i));
        lo = std::fmin(lo, s);
        hi = std::fmax(hi, s);
    }
    if (lo > 0.0) return 1;
    if (hi < 0.0) return 2;
    return 3;
}

}  // namespace

TEST(Plane, ConstructionNormalisesAndKeepsDegenerateOffset) {
    const CPlane def;
    ExpectPlane(def, 0, 0, 1, 0, 0);

    CPlane pl;
    pl.Set(0, 0, 2, -4);
    ExpectPlane(pl, 0, 0, 1, -2, 0);
    ExpectPlane(CPlane(3, 0, 4, 10), 0.6, 0, 0.8, 2);

    // Squared normal length 1e-10 * 1e-10 rounds just above DivideByZeroTolSq:
    // normalised. A little shorter is the degenerate plane with d kept.
    ExpectPlane(CPlane(1e-10, 0, 0, 1), 1, 0, 0, 1e10, 1e-2);
    ExpectPlane(CPlane(0.99e-10, 0, 0, 7), 0, 0, 0, 7, 0);

    // Three points: counter-clockwise seen from +z gives normal +z.
    const CPlane tri(CPoint3d(0, 0, 3), CPoint3d(2, 0, 3), CPoint3d(0, 5, 3));
    ExpectPlane(tri, 0, 0, 1, -3, 0);
    const CPlane cw(CPoint3d(0, 0, 3), CPoint3d(0, 5, 3), CPoint3d(2, 0, 3));
    ExpectPlane(cw, 0, 0, -1, 3, 0);
    const CPlane colinear(CPoint3d(0, 0, 0), CPoint3d(1, 1, 1), CPoint3d(2, 2, 2));
    EXPECT_FALSE(colinear.Normal().IsValid());

    const CPlane through(CPoint3d(1, 2, 3), CUnitVector3d(0, 1, 0));
    ExpectPlane(through, 0, 1, 0, -2, 0);

    // Normal() copies the fields as they are, without renormalising.
    const CUnitVector3d raw = Raw(0, 0, 2, 0).Normal();
    EXPECT_EQ(raw.z, 2.0);

    double eq[4];
    CPlane(0, 3, 4, 5).GetEquation(eq);
    EXPECT_DOUBLE_EQ(eq[1], 0.6);
    EXPECT_DOUBLE_EQ(eq[3], 1.0);

    EXPECT_TRUE(pl.IsValidObj());
    EXPECT_FALSE(Raw(0, 0, 1, std::nan("")).IsValidObj());
    EXPECT_FALSE(Raw(std::numeric_limits<double>::infinity(), 0, 0, 0).IsValidObj());
    EXPECT_TRUE(Raw(0, 0, 1, 1e30).IsValidObj());
}

TEST(Plane, DistancesAndProjections) {
    const CPlane z2(0, 0, 1, -2);
    EXPECT_EQ(z2.SignedDistance(CPoint3d(4, 5, -1)), -3.0);
    EXPECT_EQ(z2.DistanceTo(CPoint3d(4, 5, -1)), 3.0);
    EXPECT_EQ(z2.DistanceTo(CPoint3d(4, 5, 6)), 4.0);

    const CPoint3d foot = z2.Project(CPoint3d(1, 2, 5));
    EXPECT_EQ(foot.x, 1.0);
    EXPECT_EQ(foot.y, 2.0);
    EXPECT_EQ(foot.z, 2.0);
    const CPoint3d on(7, -3, 2);
    const CPoint3d same = z2.Project(on);
    EXPECT_EQ(same.x, on.x);
    EXPECT_EQ(same.y, on.y);
    EXPECT_EQ(same.z, on.z);

    // A direction's shadow does not depend on the plane's offset.
    const CUnitVector3d shadow = z2.Project(CUnitVector3d(1, 0, 1));
    EXPECT_NEAR(shadow.x, 1.0, 1e-15);
    EXPECT_NEAR(shadow.z, 0.0, 1e-15);
    EXPECT_FALSE(z2.Project(CUnitVector3d(0, 0, -1)).IsValid());

    const CRay3d r = z2.Project(CRay3d(CPoint3d(1, 1, 9), CUnitVector3d(0, 1, 1)));
    EXPECT_EQ(r.origin.z, 2.0);
    EXPECT_NEAR(r.direction.y, 1.0, 1e-15);

    // The same through CPoint3d's plane members; membership is strict at EqualTol.
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

    // A ray lying in the plane does not intersect it, though all its points are on it.
    const CRay3d inPlane(CPoint3d(0, 0, 2), CUnitVector3d(1, 1, 0));
    EXPECT_TRUE(inPlane.IsOn(z2));
    EXPECT_FALSE(z2.IntersectWith(inPlane, t));
    EXPECT_EQ(t, 42.0);
    CPoint3d p(-1, -1, -1);
    EXPECT_FALSE(z2.IntersectWith(inPlane, p));
    EXPECT_EQ(p.x, -1.0);

    // The carrier line is intersected: the plane behind the origin gives t < 0.
    const CRay3d up(CPoint3d(1, 1, 5), CUnitVector3d(0, 0, 1));
    ASSERT_TRUE(z2.IntersectWith(up, t));
    EXPECT_EQ(t, -3.0);
    ASSERT_TRUE(up.IntersectWith(z2, p));
    EXPECT_EQ(p.z, 2.0);
    ASSERT_TRUE(z2.IntersectWith(CPoint3d(0, 0, 0), CUnitVector3d(3, 0, 4), p));
    EXPECT_NEAR(p.x, 1.5, 1e-15);

    // Default tolerance is EqualTolSq: a grazing ray with |cos| = 1e-5 still hits.
    const CRay3d grazing(CPoint3d(0, 0, 3), CUnitVector3d(1, 0, 1e-5));
    ASSERT_TRUE(grazing.IntersectWith(z2, t));
    EXPECT_NEAR(t, -1e5, 1e-5);
    EXPECT_FALSE(grazing.IntersectWith(z2, t, EqualTol));

    // An explicit tolerance is strict: |den| equal to it still intersects.
    const CRay3d tilted(CPoint3d(0, 0, 0), CUnitVector3d(0.6, 0, 0.8));
    const double den = tilted.direction.z;
    EXPECT_TRUE(z2.IntersectWith(tilted, t, den));
    EXPECT_FALSE(z2.IntersectWith(tilted, t, std::nextafter(den, 1.0)));
    EXPECT_FALSE(z2.IntersectWith(tilted, p, std::nextafter(den, 1.0)));
    EXPECT_TRUE(z2.IntersectWith(tilted, p, den));
    EXPECT_NEAR(p.z, 2.0, 1e-15);
}

TEST(Plane, IntersectionOfTwoPlanesLiesOnBoth) {
    CRay3d line;
    ASSERT_TRUE(CPlane(0, 0, 1, -2).IntersectWith(CPlane(1, 0, 0, -3), line));
    EXPECT_NEAR(line.origin.x, 3, 1e-15);
    EXPECT_NEAR(line.origin.z, 2, 1e-15);
    EXPECT_NEAR(line.direction.y, 1, 1e-15);  // N1 x N2 = z x x = +y

    const CRay3d before = line;
    EXPECT_FALSE(CPlane(0, 0, 1, -2).IntersectWith(CPlane(0, 0, -1, 7), line));
    EXPECT_EQ(line.origin.x, before.origin.x);
    EXPECT_EQ(line.direction.y, before.direction.y);

    std::mt19937 rng(17);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const CPlane p1(u(rng), u(rng), u(rng), 10 * u(rng));
        const CPlane p2(u(rng), u(rng), u(rng), 10 * u(rng));
        if (!p1.IntersectWith(p2, line)) continue;
        const CVector3d n1n2 = p1.Normal() * p2.Normal();
        if (n1n2.Length() < 1e-3) continue;  // nearly parallel: poorly conditioned
        EXPECT_NEAR(p1.SignedDistance(line.origin), 0, 1e-9);
        EXPECT_NEAR(p2.SignedDistance(line.origin), 0, 1e-6);
        EXPECT_GT(Dot(line.direction, n1n2), 0);
        EXPECT_NEAR(Dot(line.direction, p1.Normal()), 0, 1e-12);
    }
}

TEST(Plane, BoxClassificationPicksCornersByNormalSign) {
    // Normal -x at x = 0.5: the "low" corner is the box's maximum x.
    const CPlane minusX(-1, 0, 0, 0.5);
    EXPECT_EQ(minusX.IntersectWith(Box(0, 1, 0, 1, 0, 1)), 3);
    EXPECT_EQ(minusX.IntersectWith(Box(1, 2, 0, 1, 0, 1)), 2);
    EXPECT_EQ(minusX.IntersectWith(Box(-2, -1, 0, 1, 0, 1)), 1);

    // Touching with a face, from either side, counts as crossing.
    const CPlane x05(1, 0, 0, -0.5);
    EXPECT_EQ(x05.IntersectWith(Box(0.5, 1, 0, 1, 0, 1)), 3);
    EXPECT_EQ(x05.IntersectWith(Box(0, 0.5, 0, 1, 0, 1)), 3);
    EXPECT_EQ(x05.IntersectWith(Box(std::nextafter(0.5, 1.0), 1, 0, 1, 0, 1)), 1);
    EXPECT_EQ(x05.IntersectWith(Box(0, std::nextafter(0.5, 0.0), 0, 1, 0, 1)), 2);
    // A degenerate (point) box on the plane.
    EXPECT_EQ(x05.IntersectWith(Box(0.5, 0.5, 3, 3, 3, 3)), 3);

    std::mt19937 rng(5);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 2000; ++i) {
        const CPlane pl(u(rng), u(rng), u(rng), u(rng));
        const double x = u(rng), y = u(rng), z = u(rng);
        const double e = 0.5 * (u(rng) + 1);
        const CBoundingBox3d box = Box(x, x + e, y, y + e, z, z + e);
        ASSERT_EQ(pl.IntersectWith(box), ClassifyByCorners(pl, box)) << i;
    }
}

TEST(Plane, IsAboveAxisBranchesKeepMarginAndCornerRuleAnswersTrue) {
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    const double tol = 1.0 / 1024;

    // c = +1, the plane z = 4: the box must end at least EqualTol below it.
    const CPlane z4(0, 0, 1, -4);
    EXPECT_TRUE(z4.IsAbove(Box(0, 1, 0, 1, 0, 4 - tol)));
    EXPECT_FALSE(z4.IsAbove(Box(0, 1, 0, 1, 0, 4 - tol / 2)));
    // c = -1, the plane z = 4 facing down: the box must start EqualTol above it.
    const CPlane z4down(0, 0, -1, 4);
    EXPECT_TRUE(z4down.IsAbove(Box(0, 1, 0, 1, 4 + tol, 9)));
    EXPECT_FALSE(z4down.IsAbove(Box(0, 1, 0, 1, 4 + tol / 2, 9)));
    // The same rules on x and y.
    EXPECT_TRUE(CPlane(1, 0, 0, -4).IsAbove(Box(0, 4 - tol, 0, 1, 0, 1)));
    EXPECT_FALSE(CPlane(1, 0, 0, -4).IsAbove(Box(0, 4, 0, 1, 0, 1)));
    EXPECT_TRUE(CPlane(-1, 0, 0, 4).IsAbove(Box(4 + tol, 5, 0, 1, 0, 1)));
    EXPECT_TRUE(CPlane(0, 1, 0, -4).IsAbove(Box(0, 1, 0, 4 - tol, 0, 1)));
    EXPECT_FALSE(CPlane(0, 1, 0, -4).IsAbove(Box(0, 1, 0, 4 - tol / 2, 0, 1)));
    EXPECT_TRUE(CPlane(0, -1, 0, 4).IsAbove(Box(0, 1, 4 + tol, 5, 0, 1)));
    // A normal within EqualTol of an axis is treated as that axis.
    EXPECT_TRUE(Raw(0, 0, 1 - tol / 2, -4).IsAbove(Box(0, 1, 0, 1, 0, 4 - tol)));

    // The order is c, then a, then b: with both c and a at 1 (raw fields), c decides.
    const CBoundingBox3d lowAndWide = Box(0, 10, 0, 1, 0, 1);
    EXPECT_TRUE(Raw(1, 0, 1, -2).IsAbove(lowAndWide));   // z rule: 1 - 2 <= -tol
    EXPECT_FALSE(Raw(1, 1, 0, -2).IsAbove(lowAndWide));  // a rule: 10 - 2 > -tol
    EXPECT_TRUE(Raw(0, 1, 1, -2).IsAbove(Box(0, 1, 0, 10, 0, 1)));
    EXPECT_TRUE(Raw(1, 1, 0, -2).IsAbove(Box(0, 1, 0, 10, 0, 1)));  // a before b

    // Oblique plane through the origin, normal (1, 1, 1)/sqrt(3).
    const CPlane oblique(1, 1, 1, 0);
    EXPECT_FALSE(oblique.IsAbove(Box(0, 1, 0, 1, 0, 1)));          // centre above
    EXPECT_TRUE(oblique.IsAbove(Box(-10, -9, -10, -9, -10, -9)));  // centre far below
    // Centre below but within the diagonal, no corner strictly above: false.
    EXPECT_FALSE(oblique.IsAbove(Box(-1, 0, -1, 0, -1, 0)));
    // Centre below, one corner on the positive side: the corner rule answers true.
    EXPECT_TRUE(oblique.IsAbove(Box(-1, 0.1, -1, 0, -1, 0)));
}

TEST(Plane, CanonicalFormDecidesByDFirst) {
    EXPECT_NEAR(CPlane(0, 0, -1, 0).GetCanonicalNormal().z, 1.0, 0);
    // d decides first: -5 flips even though c is positive.
    EXPECT_EQ(CPlane(0, 0, 1, -5).GetCanonicalNormal().z, -1.0);
    EXPECT_EQ(CPlane(0, 0, -1, 5).GetCanonicalNormal().z, -1.0);
    // A d strictly within EqualTol passes on to c, then b, then a.
    EXPECT_EQ(CPlane(0, 0, -1, 0.5 * EqualTol).GetCanonicalNormal().z, 1.0);
    EXPECT_EQ(CPlane(0, -1, 0, 0).GetCanonicalNormal().y, 1.0);
    EXPECT_EQ(CPlane(-1, 0, 0, 0).GetCanonicalNormal().x, 1.0);
    EXPECT_EQ(CPlane(1, 0, 0, 0).GetCanonicalNormal().x, 1.0);
    // Inclusive at +-EqualTol.
    EXPECT_EQ(CPlane(0, 0, -1, EqualTol).GetCanonicalNormal().z, -1.0);
    EXPECT_EQ(CPlane(0, 0, 1, -EqualTol).GetCanonicalNormal().z, -1.0);
    // The normal is normalised even when the fields are not.
    EXPECT_EQ(Raw(0, 0, -2, 0).GetCanonicalNormal().z, 1.0);

    CPlane pl(0, 0, 1, -5);
    pl.SetCanonicalForm();
    ExpectPlane(pl, 0, 0, -1, 5, 0);
    pl.SetCanonicalForm();  // already canonical
    ExpectPlane(pl, 0, 0, -1, 5, 0);
    pl.Reverse();
    ExpectPlane(pl, 0, 0, 1, -5, 0);
}

TEST(Plane, MapPointUsesCanonicalFrameSoReversedPlanesAgree) {
    // z = 2 in canonical form is (0, 0, -1, 2): origin (0, 0, 2), axes from the
    // down normal: X = (-1, 0, 0), Y = (0, 1, 0).
    const CPlane z2(0, 0, 1, -2);
    const CPoint2d m = z2.MapPoint(CPoint3d(3, 4, 2));
    EXPECT_EQ(m.x, -3.0);
    EXPECT_EQ(m.y, 4.0);

    std::mt19937 rng(3);
    std::uniform_real_distribution<double> u(-5, 5);
    for (int i = 0; i < 100; ++i) {
        const CPlane pl(u(rng), u(rng), u(rng), u(rng));
        CPlane rev = pl;
        rev.Reverse();
        const CPoint3d p = pl.Project(CPoint3d(u(rng), u(rng), u(rng)));
        const CPoint3d q = pl.Project(CPoint3d(u(rng), u(rng), u(rng)));
        const CPoint2d mp = pl.MapPoint(p);
        const CPoint2d mr = rev.MapPoint(p);
        EXPECT_EQ(mp.x, mr.x);
        EXPECT_EQ(mp.y, mr.y);
        // The frame is orthonormal: distances on the plane are kept.
        EXPECT_NEAR(mp.DistanceTo(pl.MapPoint(q)), p.DistanceTo(q), 1e-9);
    }
    // Origin rule: |d| < EqualTol maps from the world origin.
    const CPoint2d near0 = CPlane(0, 0, 1, -0.5 * EqualTol).MapPoint(CPoint3d(1, 2, 0));
    EXPECT_EQ(near0.x, 1.0);
    EXPECT_EQ(near0.y, 2.0);
}

TEST(Plane, EqualsOrientedAndUnoriented) {
    const CPlane up(0, 0, 1, -1);
    const CPlane down(0, 0, -1, 1);
    EXPECT_TRUE(up.Equals(down, false, EqualTol));
    EXPECT_FALSE(up.Equals(down, true, EqualTol));
    EXPECT_TRUE(up.Equals(up, true, 0.0));

    // Inclusive: a difference of exactly tol matches.
    EXPECT_TRUE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.75), true, 0.25));
    EXPECT_FALSE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.75), true, std::nextafter(0.25, 0.0)));

    // Away from the origin the sign of d decides; zero counts as non-negative.
    EXPECT_TRUE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.0), false, 1.0));
    EXPECT_FALSE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, -1, 0.5), false, 0.01));
    // Through the origin (|d| < EqualTol) the normals decide instead.
    const double h = 0.5 * EqualTol;
    EXPECT_TRUE(Raw(0, 0, 1, h).Equals(Raw(0, 0, -1, h), false, 0.01));
    EXPECT_FALSE(Raw(0, 0, 1, h).Equals(Raw(0, 0, -1, h), true, 0.01));
}

TEST(Plane, MovingAndOffsetting) {
    CPlane pl;  // z = 0
    pl += CVector3d(1, 2, 3);
    EXPECT_EQ(pl.d, -3.0);
    pl -= CVector3d(0, 0, 5);
    EXPECT_EQ(pl.d, 2.0);
    pl.Offset(2.5);
    EXPECT_EQ(pl.d, -0.5);
    EXPECT_EQ(pl.SignedDistance(CPoint3d(0, 0, 0.5)), 0.0);

    // The move uses the normalised normal, not the raw fields.
    CPlane raw = Raw(0, 0, 2, 0);
    raw += CVector3d(0, 0, 3);
    EXPECT_EQ(raw.d, -3.0);
}

TEST(Plane, TrimAboveKeepsThePartOnOrBelow) {
    const CPlane z0;
    CPoint3d p(0, 0, 2), q(4, 0, -2);
    EXPECT_EQ(z0.TrimAbove(&p, &q), 0);  // p was above: p moves
    EXPECT_EQ(p.x, 2.0);
    EXPECT_EQ(p.z, 0.0);
    EXPECT_EQ(q.x, 4.0);
    EXPECT_EQ(q.z, -2.0);

    p = CPoint3d(0, 0, -1);
    q = CPoint3d(3, 0, 2);
    EXPECT_EQ(z0.TrimAbove(&p, &q), 0);  // q was above: q moves
    EXPECT_EQ(p.z, -1.0);
    EXPECT_EQ(q.x, 1.0);
    EXPECT_EQ(q.z, 0.0);

    p = CPoint3d(0, 0, 1);
    q = CPoint3d(1, 0, 2);
    EXPECT_EQ(z0.TrimAbove(&p, &q), 1);
    EXPECT_EQ(p.z, 1.0);
    EXPECT_EQ(q.z, 2.0);

    // Both exactly on the plane, or one on and one below: all kept.
    p = CPoint3d(0, 0, 0);
    q = CPoint3d(1, 0, 0);
    EXPECT_EQ(z0.TrimAbove(&p, &q), -1);
    q = CPoint3d(1, 0, -1);
    EXPECT_EQ(z0.TrimAbove(&p, &q), -1);

    // One end above, the other exactly on the plane: the end above collapses onto it.
    p = CPoint3d(5, 0, 3);
    q = CPoint3d(1, 1, 0);
    EXPECT_EQ(z0.TrimAbove(&p, &q), 0);
    EXPECT_EQ(p.x, 1.0);
    EXPECT_EQ(p.y, 1.0);
    EXPECT_EQ(p.z, 0.0);

    // Both ends within DivideByZeroTol: no crossing is computed.
    p = CPoint3d(5, 0, 2e-11);
    q = CPoint3d(1, 0, -2e-11);
    EXPECT_EQ(z0.TrimAbove(&p, &q), 0);
    EXPECT_EQ(p.x, 5.0);
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
    EXPECT_FALSE(pl.Evaluate(line.data(), 4));
    std::vector<CPoint3d> same(4, CPoint3d(1, 2, 3));
    EXPECT_FALSE(pl.Evaluate(same.data(), 4));
    EXPECT_FALSE(pl.Evaluate(square.data(), 2));
    EXPECT_FALSE(pl.Evaluate(nullptr, 0));
    ExpectPlane(pl, 0, 0, -1, 1, 0);

    // Convex polygons listed counter-clockwise about a random normal, starting at a
    // random vertex: the third point falls inside and outside the chord's index
    // range, and the orientation must follow the list every time.
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 300; ++i) {
        const CUnitVector3d n(u(rng), u(rng), u(rng));
        if (!n.IsValid()) continue;
        CUnitVector3d xAxis, yAxis;
        n.GetArbitraryAxes(xAxis, yAxis);
        const CPoint3d centre(10 * u(rng), 10 * u(rng), 10 * u(rng));
        const int count = 3 + static_cast<int>(rng() % 6);
        const double start = 3.0 * u(rng);
        std::vector<CPoint3d> pts;
        for (int k = 0; k < count; ++k) {
            const double ang = start + 6.283185307179586 * k / count;
            pts.push_back(centre + CVector3d(2 * std::cos(ang), xAxis, 3 * std::sin(ang), yAxis));
        }
        ASSERT_TRUE(pl.Evaluate(pts.data(), count));
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
    EXPECT_LT(std::fabs(pl.a) + std::fabs(pl.b), 0.02);

    // Each coordinate plane exercises a different regression axis, also far from
    // the world origin.
    const double far = 1e5;
    std::vector<CPoint3d> xPlane = {{far, 0, 0}, {far, 2, 0}, {far, 2, 3}, {far, 0, 3}};
    ASSERT_TRUE(pl.LeastSquaresFit(4, xPlane.data()));
    ExpectPlane(pl, 1, 0, 0, -far, 1e-9);
    std::vector<CPoint3d> yPlane = {{0, -far, 0}, {0, -far, 3}, {2, -far, 3}, {2, -far, 0}};
    ASSERT_TRUE(pl.LeastSquaresFit(4, yPlane.data()));
    ExpectPlane(pl, 0, 1, 0, far, 1e-9);

    // Too few, colinear or coincident points: false, plane untouched.
    const CPlane before = pl;
    EXPECT_FALSE(pl.LeastSquaresFit(2, xPlane.data()));
    std::vector<CPoint3d> line = {{0, 0, 0}, {1, 2, 3}, {2, 4, 6}, {3, 6, 9}};
    EXPECT_FALSE(pl.LeastSquaresFit(4, line.data()));
    std::vector<CPoint3d> same(5, CPoint3d(1, 1, 1));
    EXPECT_FALSE(pl.LeastSquaresFit(5, same.data()));
    EXPECT_TRUE(pl.Equals(before, true, 0.0));

    // Random tilted polygons with noise within the tolerance stay planar, and the
    // normal follows the winding.
    std::mt19937 rng(23);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const CUnitVector3d n(u(rng), u(rng), u(rng));
        if (!n.IsValid()) continue;
        CUnitVector3d xAxis, yAxis;
        n.GetArbitraryAxes(xAxis, yAxis);
        const CPoint3d centre(100 * u(rng), 100 * u(rng), 100 * u(rng));
        std::vector<CPoint3d> pts;
        for (int k = 0; k < 7; ++k) {
            const double ang = 6.283185307179586 * k / 7;
            pts.push_back(centre + CVector3d(5 * std::cos(ang), xAxis, 2 * std::sin(ang), yAxis, 0.0002 * u(rng), n));
        }
        ASSERT_TRUE(pl.LeastSquaresFit(7, pts.data())) << i;
        EXPECT_NEAR(Dot(pl.Normal(), n), 1.0, 1e-6);
    }
}

TEST(PlaneCalculator, CollectsThreeNonColinearPoints) {
    CPlaneCalculator calc;
    EXPECT_EQ(calc.count, 0);
    EXPECT_EQ(calc.firstDirection.z, 1.0);
    CPlane pl(0, 1, 0, 9);
    EXPECT_FALSE(calc.GetPlane(pl));

    EXPECT_TRUE(calc.AddPoint(CPoint3d(0, 0, 1)));
    EXPECT_TRUE(calc.AddPoint(CPoint3d(0.0005, 0, 1)));  // within EqualTol of the first
    EXPECT_EQ(calc.count, 1);
    EXPECT_TRUE(calc.AddPoint(CPoint3d(2, 0, 1)));
    EXPECT_EQ(calc.count, 2);
    EXPECT_EQ(calc.firstDirection.x, 1.0);
    EXPECT_TRUE(calc.AddPoint(CPoint3d(5, 0, 1)));  // colinear: ignored
    EXPECT_TRUE(calc.AddPoint(CPoint3d(-3, 0, 1)));
    EXPECT_EQ(calc.count, 2);
    EXPECT_FALSE(calc.GetPlane(pl));
    ExpectPlane(pl, 0, 1, 0, 9, 0);

    // The third point's squared distance from the line is compared with 1e-10:
    // 5e-6 off the line (2.5e-11) is ignored, 1e-4 off (1e-8) is taken.
    EXPECT_TRUE(calc.AddPoint(CPoint3d(3, 5e-6, 1)));
    EXPECT_EQ(calc.count, 2);
    EXPECT_TRUE(calc.AddPoint(CPoint3d(3, 1e-4, 1)));
    EXPECT_EQ(calc.count, 3);
    EXPECT_FALSE(calc.AddPoint(CPoint3d(0, 7, 7)));
    ASSERT_TRUE(calc.GetPlane(pl));
    ExpectPlane(pl, 0, 0, 1, -1);

    // Clockwise seen from +z gives the normal -z.
    CPlaneCalculator cw;
    cw.AddPoint(CPoint3d(0, 0, 0));
    cw.AddPoint(CPoint3d(0, 1, 0));
    cw.AddPoint(CPoint3d(1, 1, 0));
    ASSERT_TRUE(cw.GetPlane(pl));
    ExpectPlane(pl, 0, 0, -1, 0);
}

TEST(Point3dWithPlanes, LeastSquaresFitOfPlanes) {
    std::vector<CPlane> planes = {CPlane(1, 0, 0, -1), CPlane(0, 1, 0, -2), CPlane(0, 0, 1, -3)};
    CPoint3d p(9, 9, 9);
    EXPECT_FALSE(p.LeastSquaresFit(2, planes.data()));
    EXPECT_EQ(p.x, 9.0);
    ASSERT_TRUE(p.LeastSquaresFit(planes));
    EXPECT_EQ(p.x, 1.0);
    EXPECT_EQ(p.y, 2.0);
    EXPECT_EQ(p.z, 3.0);

    // Oblique planes through a common point.
    const CPoint3d target(-2, 5, 0.5);
    std::vector<CPlane> oblique;
    for (const CUnitVector3d& n :
         {CUnitVector3d(1, 1, 0), CUnitVector3d(0, 1, 1), CUnitVector3d(1, 0, 1), CUnitVector3d(1, -1, 1)}) {
        oblique.emplace_back(target, n);
    }
    p = CPoint3d(0, 0, 0);
    ASSERT_TRUE(p.LeastSquaresFit(static_cast<int>(oblique.size()), oblique.data()));
    EXPECT_NEAR(p.DistanceTo(target), 0.0, 1e-12);

    // One plane 0.01 off: solved but inconsistent, and the solution is kept.
    planes.push_back(CPlane(0, 0, 1, -3.01));
    p = CPoint3d(9, 9, 9);
    EXPECT_FALSE(p.LeastSquaresFit(planes));
    EXPECT_NEAR(p.z, 3.005, 1e-12);

    // Three parallel planes are singular: false, point untouched.
    std::vector<CPlane> parallel = {CPlane(0, 0, 1, 0), CPlane(0, 0, 1, -1), CPlane(0, 0, 1, -2)};
    p = CPoint3d(4, 4, 4);
    EXPECT_FALSE(p.LeastSquaresFit(parallel));
    EXPECT_EQ(p.z, 4.0);
}
