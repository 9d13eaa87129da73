#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/point2d.h>
#include <geometry/ray3d.h>

#include "support/predicates.h"
#include "support/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::NearPlane;
using plenar_test::NearXy;
using plenar_test::NearXyz;
using P = CPoint3d;

namespace {

CBoundingBox3d Box(double x0, double x1, double y0, double y1, double z0, double z1) {
    return CBoundingBox3d(P(x0, y0, z0), P(x1, y1, z1));
}

// A plane with the given raw fields, bypassing the normalising setters.
CPlane Raw(double a, double b, double c, double d) {
    CPlane pl;
    pl.a = a, pl.b = b, pl.c = c, pl.d = d;
    return pl;
}

// An ellipse about centre in the plane with normal n, counter-clockwise about n,
// each point offset along n by up to noise.
std::vector<P> Polygon(plenar_test::SplitMix64& rng, const P& centre, const CUnitVector3d& n, int count, double start,
                       double noise = 0.0) {
    CUnitVector3d xAxis, yAxis;
    n.GetArbitraryAxes(xAxis, yAxis);
    plenar_test::UniformReal u(-1, 1);
    std::vector<P> pts;
    for (int k = 0; k < count; ++k) {
        const double ang = start + 6.283185307179586 * k / count;
        pts.push_back(centre + CVector3d(5 * std::cos(ang), xAxis, 2 * std::sin(ang), yAxis, noise * u(rng), n));
    }
    return pts;
}

}  // namespace

TEST(Plane, ConstructionNormalisesAndKeepsDegenerateOffset) {
    EXPECT_TRUE(NearPlane(CPlane(3, 0, 4, 10), Raw(0.6, 0, 0.8, 2), 1e-12));
    // A squared length of exactly DivideByZeroTolSq is degenerate, with d kept (the test is strict).
    EXPECT_TRUE(
        NearPlane(CPlane(plenar_test::kAtDivideGuardX, plenar_test::kAtDivideGuardY, 0, 7), Raw(0, 0, 0, 7), 0));
    // Clockwise seen from +z gives normal -z.
    EXPECT_TRUE(NearPlane(CPlane(P(0, 0, 3), P(0, 5, 3), P(2, 0, 3)), Raw(0, 0, -1, 3), 0));
    EXPECT_FALSE(Raw(0, 0, 1, std::nan("")).IsValidObj());
}

TEST(Plane, MembershipIsStrictAtEqualTolOnEitherSide) {
    const CPlane z2(0, 0, 1, -2);
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    EXPECT_TRUE(P(9, 9, 2 + 1.0 / 2048).IsOn(z2));
    EXPECT_FALSE(P(9, 9, 2 + 1.0 / 1024).IsOn(z2));
    EXPECT_FALSE(P(9, 9, 2 - 1.0 / 1024).IsOn(z2));
}

TEST(Plane, RayIntersectionUsesSquaredToleranceAndAcceptsNegativeParameters) {
    const CPlane z2(0, 0, 1, -2);
    double t = 42.0;
    P p(-1, -1, -1);
    // A ray lying in the plane does not intersect it; the outputs stay untouched.
    const CRay3d inPlane(P(0, 0, 2), CUnitVector3d(1, 1, 0));
    EXPECT_FALSE(z2.IntersectWith(inPlane, t));
    EXPECT_EQ(t, 42.0);
    // The carrier line is intersected: a plane behind the origin gives t < 0.
    const CRay3d up(P(1, 1, 5), CUnitVector3d(0, 0, 1));
    EXPECT_TRUE(z2.IntersectWith(up, t));
    EXPECT_EQ(t, -3.0);
    EXPECT_TRUE(up.IntersectWith(z2, p));
    // The default tolerance is EqualTolSq: a grazing ray with |cos| = 1e-5 hits.
    const CRay3d grazing(P(0, 0, 3), CUnitVector3d(1, 0, 1e-5));
    ASSERT_TRUE(grazing.IntersectWith(z2, t));
    EXPECT_TRUE(z2.IntersectWith(grazing, p));
    EXPECT_TRUE(z2.IntersectWith(grazing.origin, grazing.direction, p));
    // An explicit tolerance is strict: |cos| equal to it still intersects.
    const CRay3d tilted(P(0, 0, 0), CUnitVector3d(0.6, 0, 0.8));
    EXPECT_TRUE(z2.IntersectWith(tilted, p, tilted.direction.z));
    EXPECT_FALSE(z2.IntersectWith(tilted, t, std::nextafter(tilted.direction.z, 1.0)));
}

TEST(Plane, IntersectionOfTwoPlanesLiesOnBoth) {
    CRay3d line;
    ASSERT_TRUE(CPlane(0, 0, 1, -2).IntersectWith(CPlane(1, 0, 0, -3), line));
    // Origin (3, ., 2) and direction N1 x N2 = +y.
    EXPECT_TRUE(NearPlane(Raw(line.origin.x, line.origin.z, line.direction.y, 0), Raw(3, 2, 1, 0), 1e-15));
    EXPECT_FALSE(CPlane(0, 0, 1, -2).IntersectWith(CPlane(0, 0, -1, 7), line));
    EXPECT_NEAR(line.origin.x, 3, 1e-15);  // untouched
    // Planes 2^-12 apart in angle still meet: the walk to the common line uses EqualTolSq.
    EXPECT_TRUE(CPlane(0, 0, 1, 0).IntersectWith(CPlane(0x1p-12, 0, 1, 0), line));
    plenar_test::SplitMix64 rng(17);
    plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const CPlane p1(u(rng), u(rng), u(rng), 10 * u(rng)), p2(u(rng), u(rng), u(rng), 10 * u(rng));
        const CVector3d n1n2 = p1.Normal() * p2.Normal();
        if (n1n2.Length() < 1e-3 || !p1.IntersectWith(p2, line)) continue;
        EXPECT_NEAR(p1.SignedDistance(line.origin), 0, 1e-9);
        EXPECT_NEAR(p2.SignedDistance(line.origin), 0, 1e-6);
    }
}

TEST(Plane, BoxClassificationPicksCornersByNormalSign) {
    // A point box on the plane is crossing: both corner tests are strict.
    EXPECT_EQ(CPlane(1, 0, 0, -0.5).IntersectWith(Box(0.5, 0.5, 3, 3, 3, 3)), 3);
    plenar_test::SplitMix64 rng(5);
    plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 2000; ++i) {  // against all eight corners
        const CPlane pl(u(rng), u(rng), u(rng), u(rng));
        const double x = u(rng), y = u(rng), z = u(rng), e = 0.5 * (u(rng) + 1);
        const CBoundingBox3d box = Box(x, x + e, y, y + e, z, z + e);
        double lo = 1e300, hi = -1e300;
        for (int k = 0; k < 8; ++k) {
            lo = std::fmin(lo, pl.SignedDistance(box.GetCorner(k)));
            hi = std::fmax(hi, pl.SignedDistance(box.GetCorner(k)));
        }
        ASSERT_EQ(pl.IntersectWith(box), lo > 0.0 ? BoxAbove : (hi < 0.0 ? BoxBelow : BoxCrossing)) << i;
    }
}

TEST(Plane, IsAboveAxisBranchesKeepMarginAndCornerRuleAnswersTrue) {
    const double tol = 1.0 / 1024, h = tol / 2;
    plenar_test::ToleranceGuard guard(tol);
    const struct {
        CPlane pl;
        CBoundingBox3d box;
        bool above;
    } cases[] = {
        // Axis planes at 4, either facing: the box must stay at least EqualTol clear.
        {CPlane(0, 0, 1, -4), Box(0, 1, 0, 1, 0, 4 - tol), true},
        {CPlane(0, 0, 1, -4), Box(0, 1, 0, 1, 0, 4 - h), false},
        {CPlane(0, 0, -1, 4), Box(0, 1, 0, 1, 4 + tol, 9), true},
        {CPlane(0, 0, -1, 4), Box(0, 1, 0, 1, 4 + h, 9), false},
        {CPlane(1, 0, 0, -4), Box(0, 4 - tol, 0, 1, 0, 1), true},
        {CPlane(1, 0, 0, -4), Box(0, 4 - h, 0, 1, 0, 1), false},
        {CPlane(-1, 0, 0, 4), Box(4 + tol, 5, 0, 1, 0, 1), true},
        {CPlane(-1, 0, 0, 4), Box(4 + h, 5, 0, 1, 0, 1), false},
        {CPlane(0, 1, 0, -4), Box(0, 1, 0, 4 - tol, 0, 1), true},
        {CPlane(0, 1, 0, -4), Box(0, 1, 0, 4 - h, 0, 1), false},
        {CPlane(0, -1, 0, 4), Box(0, 1, 4 + tol, 5, 0, 1), true},
        {CPlane(0, -1, 0, 4), Box(0, 1, 4 + h, 5, 0, 1), false},
        {Raw(0, 0, 1 - h, -4), Box(0, 1, 0, 1, 0, 4 - tol), true},     // within EqualTol of an axis
        {Raw(0, 0, 1 - tol, -4), Box(0, 1, 0, 1, 0, 4 - tol), false},  // exactly EqualTol off: oblique (strict)
        // With two raw components at 1 the earlier of c, a, b decides.
        {Raw(1, 0, 1, -2), Box(0, 10, 0, 1, 0, 1), true},
        {Raw(0, 1, 1, -2), Box(0, 1, 0, 10, 0, 1), true},
        {Raw(1, 1, 0, -2), Box(0, 1, 0, 10, 0, 1), true},
        // Oblique: centre above, far below, below within the diagonal with no corner
        // strictly above, and with one corner on the positive side.
        {CPlane(1, 1, 1, 0), Box(0, 1, 0, 1, 0, 1), false},
        {CPlane(1, 1, 1, 0), Box(-10, -9, -10, -9, -10, -9), true},
        {CPlane(1, 1, 1, 0), Box(-1, 0, -1, 0, -1, 0), false},
        {CPlane(1, 1, 1, 0), Box(-1, 0.1, -1, 0, -1, 0), true},
        // The centre exactly on the plane is inconclusive: the corners decide.
        {CPlane(1, 1, 1, 0), Box(-1, 1, -1, 1, -1, 1), true},
        // A point box on the plane: its distance equals its (zero) diagonal, which is
        // inconclusive, and no corner is strictly above.
        {CPlane(1, 1, 1, 0), Box(0, 0, 0, 0, 0, 0), false},
    };
    for (const auto& c : cases) EXPECT_EQ(c.pl.IsAbove(c.box), c.above) << (&c - cases);
}

TEST(Plane, CanonicalFormDecidesByDFirst) {
    const double e = EqualTol, h = 0.5 * EqualTol;
    // d, then c, b, a: a value at least EqualTol keeps, at most -EqualTol flips, and
    // one strictly within passes on. The normal comes out normalised.
    const struct {
        CPlane pl;
        double x, y, z;
    } cases[] = {{CPlane(0, 0, -1, 0), 0, 0, 1}, {CPlane(0, 0, 1, -5), 0, 0, -1}, {CPlane(0, 0, -1, 5), 0, 0, -1},
                 {CPlane(0, 0, -1, h), 0, 0, 1}, {CPlane(0, -1, 0, 0), 0, 1, 0},  {CPlane(-1, 0, 0, 0), 1, 0, 0},
                 {CPlane(1, 0, 0, 0), 1, 0, 0},  {CPlane(0, 0, -1, e), 0, 0, -1}, {CPlane(0, 0, 1, -e), 0, 0, -1},
                 {Raw(0, 0, -2, 0), 0, 0, 1},    {Raw(-e, 0, 0, 0), 1, 0, 0}};
    for (const auto& c : cases) {
        EXPECT_TRUE(NearXyz(c.pl.GetCanonicalNormal(), P(c.x, c.y, c.z), 0)) << (&c - cases);
    }
}

TEST(Plane, MapPointUsesCanonicalFrameSoReversedPlanesAgree) {
    // z = 2 in canonical form is (0, 0, -1, 2): origin (0, 0, 2), X = (-1, 0, 0), Y = (0, 1, 0).
    EXPECT_TRUE(NearXy(CPlane(0, 0, 1, -2).MapPoint(P(3, 4, 2)), CPoint2d(-3, 4), 0));
    plenar_test::SplitMix64 rng(3);
    plenar_test::UniformReal u(-5, 5);
    for (int i = 0; i < 100; ++i) {
        const CPlane pl(u(rng), u(rng), u(rng), u(rng));
        CPlane rev = pl;
        rev.Reverse();
        const P p = pl.Project(P(u(rng), u(rng), u(rng))), q = pl.Project(P(u(rng), u(rng), u(rng)));
        EXPECT_TRUE(NearXy(pl.MapPoint(p), rev.MapPoint(p), 0)) << i;
        EXPECT_NEAR(pl.MapPoint(p).DistanceTo(pl.MapPoint(q)), p.DistanceTo(q), 1e-9);
    }
}

TEST(Plane, EqualsOrientedAndUnoriented) {
    EXPECT_FALSE(CPlane(0, 0, 1, -1).Equals(CPlane(0, 0, -1, 1), true, EqualTol));
    EXPECT_TRUE(CPlane(3, 0.5, 4, 1).Equals(CPlane(3, 0.5, 4, 1), true, 0.0));  // every component, inclusive
    EXPECT_FALSE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.75), true, std::nextafter(0.25, 0.0)));
    // Away from the origin the signs of d decide, zero counting as non-negative;
    // through the origin (|d| < EqualTol) the normals decide instead.
    EXPECT_TRUE(Raw(0, 0, 1, 0.5).Equals(Raw(0, 0, 1, 0.0), false, 1.0));
    const double h = 0.5 * EqualTol;
    EXPECT_TRUE(Raw(0, 0, 1, h).Equals(Raw(0, 0, -1, h), false, 0.01));
    // |d| exactly EqualTol is away from the origin (strict): the equal signs of d keep
    // the opposite normals apart.
    EXPECT_FALSE(Raw(0, 0, 1, EqualTol).Equals(Raw(0, 0, -1, EqualTol), false, 0.01));
    // Perpendicular normals through the origin are compared as given, not negated.
    EXPECT_FALSE(Raw(0.5, 0.5, 0.5, 0).Equals(Raw(0.5, 0.5, -1, 0), false, 1.0));
    // With EqualTol 0 a zero d of this plane is decided by sign, as non-negative.
    plenar_test::ToleranceGuard exact(0.0);
    EXPECT_TRUE(Raw(0, 0, 1, 0).Equals(Raw(0, 0, 1, 0.5), false, 1.0));
}

TEST(Plane, MovingOffsettingAndReversing) {
    CPlane pl;
    pl += CVector3d(1, 2, 3);
    pl -= CVector3d(0, 0, 5);
    pl.Offset(2.5);
    pl.Reverse();
    EXPECT_TRUE(NearPlane(pl, Raw(0, 0, -1, 0.5), 0));
    EXPECT_EQ(CPlane(0, 0, 1, -0.5 * EqualTol).GetPoint().z, 0.0);
    EXPECT_EQ(CPlane(0, 0, 1, -EqualTol).GetPoint().z, EqualTol);  // the origin only strictly within
}

TEST(Plane, TrimAboveKeepsThePartOnOrBelow) {
    const CPlane z0;
    auto trim = [&](P p, P q, int expected, const P& p2, const P& q2) {
        EXPECT_EQ(z0.TrimAbove(&p, &q), expected);
        EXPECT_EQ(p.DistanceSquaredTo(p2), 0.0) << p;
        EXPECT_EQ(q.DistanceSquaredTo(q2), 0.0) << q;
    };
    trim({0, 0, 2}, {4, 0, -2}, SegmentTrimmed, {2, 0, 0}, {4, 0, -2});  // p above: p moves
    trim({0, 0, -1}, {3, 0, 2}, SegmentTrimmed, {0, 0, -1}, {1, 0, 0});  // q above: q moves
    trim({0, 0, 1}, {1, 0, 2}, SegmentAbove, {0, 0, 1}, {1, 0, 2});      // all above
    trim({0, 0, 0}, {1, 0, 0}, SegmentBelow, {0, 0, 0}, {1, 0, 0});      // both exactly on
    trim({0, 0, 0}, {1, 0, -1}, SegmentBelow, {0, 0, 0}, {1, 0, -1});    // on and below
    trim({5, 0, 3}, {1, 1, 0}, SegmentTrimmed, {1, 1, 0}, {1, 1, 0});    // above to on: collapses
    // Both ends within DivideByZeroTol of the plane: no crossing is computed.
    trim({5, 0, 2e-11}, {1, 0, -2e-11}, SegmentTrimmed, {5, 0, 2e-11}, {1, 0, -2e-11});
}

TEST(Plane, LeastSquaresFitAcceptsPointsExactlyEqualTolOff) {
    // A saddle of four points h above and below z = 0: the fit is z = 0 exactly
    // (dyadic values, no rounding) and every point lies exactly h from it. The
    // planarity test is inclusive, so h == EqualTol still passes.
    for (const double h : {0x4p-10, 0x5p-10}) {
        const std::vector<P> saddle = {{1, 1, h}, {-1, 1, -h}, {-1, -1, h}, {1, -1, -h}};
        plenar_test::ToleranceGuard guard(0x4p-10);
        CPlane pl;
        EXPECT_EQ(pl.LeastSquaresFit(4, saddle.data()), h <= 0x4p-10) << h;
    }
}

TEST(Plane, EvaluateAndFitFollowTheOrderOfThePoints) {
    std::vector<P> square = {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}, reversed(square.rbegin(), square.rend());
    CPlane pl;
    ASSERT_TRUE(pl.Evaluate(square.data(), 4));
    ASSERT_TRUE(pl.LeastSquaresFit(4, square.data()));
    ASSERT_TRUE(pl.LeastSquaresFit(4, reversed.data()));
    ASSERT_TRUE(pl.Evaluate(reversed.data(), 4));
    EXPECT_TRUE(NearPlane(pl, Raw(0, 0, -1, 1), 0));
    // Colinear and too few points fail and leave the plane alone; three points are enough.
    const std::vector<P> line = {{0, 0, 0}, {1, 1, 1}, {3, 3, 3}, {2, 2, 2}};
    EXPECT_FALSE(pl.Evaluate(square.data(), 2));
    EXPECT_FALSE(pl.LeastSquaresFit(4, line.data()));
    EXPECT_FALSE(pl.LeastSquaresFit(2, square.data()));
    EXPECT_TRUE(NearPlane(pl, Raw(0, 0, -1, 1), 0));  // untouched
    EXPECT_TRUE(pl.LeastSquaresFit(3, square.data()));
    // Lifting one corner by 0.01 breaks planarity; the fitted plane is still set.
    square[2].z += 0.01;
    EXPECT_TRUE(!pl.LeastSquaresFit(4, square.data()));
    EXPECT_TRUE(pl.c > 0.99);
    // A bowtie's fan area vector is zero: only a negative winding reverses the fit.
    const std::vector<P> bowtie = {{0, 0, 1}, {1, 1, 1}, {1, 0, 1}, {0, 1, 1}};
    ASSERT_TRUE(pl.LeastSquaresFit(4, bowtie.data()));
    EXPECT_TRUE(NearPlane(pl, Raw(0, 0, 1, -1), 0));
    // The x and y coordinate planes use the other regression axes, far from the origin.
    const double far = 1e5;
    std::vector<P> xPlane = {{far, 0, 0}, {far, 2, 0}, {far, 2, 3}, {far, 0, 3}};
    std::vector<P> yPlane = {{0, -far, 0}, {0, -far, 3}, {2, -far, 3}, {2, -far, 0}};
    ASSERT_TRUE(pl.LeastSquaresFit(4, xPlane.data()));
    ASSERT_TRUE(pl.LeastSquaresFit(4, yPlane.data()));

    // Random convex polygons from a random first vertex, so that Evaluate's third
    // point falls inside and outside the chord's index range; the fit gets noise.
    plenar_test::SplitMix64 rng(11);
    plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 300; ++i) {
        const CUnitVector3d n(u(rng), u(rng), u(rng));
        const P centre(10 * u(rng), 10 * u(rng), 10 * u(rng));
        std::vector<P> pts = Polygon(rng, centre, n, 3 + static_cast<int>(rng() % 6), 3.0 * u(rng));
        ASSERT_TRUE(pl.Evaluate(pts.data(), static_cast<int>(pts.size())));
        EXPECT_NEAR(pl.SignedDistance(centre), 0.0, 1e-9);
        pts = Polygon(rng, P(10 * centre.x, 10 * centre.y, 10 * centre.z), n, 7, 0.0, 2e-4);
        ASSERT_TRUE(pl.LeastSquaresFit(7, pts.data())) << i;
    }
}

TEST(Plane, EvaluatePicksTheFirstOfEqualCandidatesAndKeepsItsThresholds) {
    const double t = 1e-10;
    const struct {
        std::vector<P> pts;
        CPlane expected;
    } cases[] = {
        // Extents x and z tie at t (x wins). The chord runs from the first lowest x to the
        // first highest and is exactly DivideByZeroTol long (usable). The second point lies
        // at squared distance exactly 1e-20 from it (on it); the third and the last are
        // both exactly DivideByZeroTol off (usable), and the earlier one spans the plane.
        {{{0, 0, 0},
          {0, plenar_test::kAtDivideGuardX, plenar_test::kAtDivideGuardY},
          {t / 2, 0, t},
          {t, 0, 0},
          {t, 0, t}},
         Raw(0, 1, 0, 0)},
        // Extents y and z tie above x: y wins. All three tie: x wins.
        {{{1, 1, 0}, {0, 0, 2}, {0, 2, 0}, {0, 0, 0}}, Raw(-1, 0, 0, 0)},
        {{{0, 0, 0}, {0, 0, 1}, {0, 1, 0}, {1, 0, 0}}, Raw(0, 1, 0, 0)},
    };
    for (const auto& c : cases) {
        std::vector<P> pts = c.pts;
        CPlane pl;
        ASSERT_TRUE(pl.Evaluate(pts.data(), static_cast<int>(pts.size()))) << (&c - cases);
        EXPECT_TRUE(NearPlane(pl, c.expected, 0)) << (&c - cases);
    }
}

TEST(Plane, LeastSquaresSolverRegressesTheAxisOfTheLargestDeterminant) {
    // Centred moments (xx, yy, zz, xy, xz, yz) whose largest 2x2 determinant is exactly
    // the threshold 1e-10 (accepted: inclusive). On a tie z is regressed before y, y
    // before x, which decides the sign of the normal.
    const double h = 1 / std::sqrt(2.0);
    const struct {
        double xx, yy, zz, xy, xz, yz;
        CPlane expected;
    } cases[] = {
        {1e-10, 1, 1, 0, 0, 1, Raw(0, -h, h, 0)},  // dz == dy > dx
        {1, 1e-10, 1, 0, 1, 0, Raw(-h, 0, h, 0)},  // dz == dx > dy
        {1, 1, 1e-10, 1, 0, 0, Raw(-h, h, 0, 0)},  // dy == dx > dz
        {0, 1e-10, 1, 0, 0, 0, Raw(1, 0, 0, 0)},   // dx alone
    };
    for (const auto& c : cases) {
        CPlane pl = Raw(7, 7, 7, 7);
        ASSERT_TRUE(CPlane::ComputeLSF(pl.a, pl.b, pl.c, pl.d, 0, 0, 0, c.xx, c.yy, c.zz, c.xy, c.xz, c.yz, 1))
            << (&c - cases);
        EXPECT_TRUE(NearPlane(pl, c.expected, 1e-15)) << (&c - cases);
    }
}

TEST(PlaneCalculator, CollectsThreeNonColinearPoints) {
    CPlaneCalculator calc;
    CPlane pl;
    calc.AddPoint(P(0, 0, 1));
    calc.AddPoint(P(0.0005, 0, 1));  // within EqualTol: ignored
    EXPECT_EQ(calc.count, 1);
    calc.AddPoint(P(2, 0, 1));
    calc.AddPoint(P(5, 0, 1));  // colinear: ignored
    EXPECT_FALSE(calc.GetPlane(pl));
    // Squared distance from the line against 1e-10: 5e-6 off (2.5e-11) is ignored, 1e-4 off is taken.
    calc.AddPoint(P(3, 5e-6, 1));
    calc.AddPoint(P(2, 0x1.b1d6b0e5e63b6p-18, 1 + 0x1p-17));  // squared distance exactly 1e-10: ignored (strict)
    calc.AddPoint(P(3, 1e-4, 1));
    EXPECT_FALSE(calc.AddPoint(P(0, 7, 7)));  // full: the fourth point is refused
    ASSERT_TRUE(calc.GetPlane(pl));
    EXPECT_TRUE(NearPlane(pl, Raw(0, 0, 1, -1), 1e-12));
}

TEST(Point3dWithPlanes, LeastSquaresFitOfPlanes) {
    // One plane 0.01 off: solved but inconsistent, and the solution is kept.
    std::vector<CPlane> planes = {CPlane(1, 0, 0, -1), CPlane(0, 1, 0, -2), CPlane(0, 0, 1, -3),
                                  CPlane(0, 0, 1, -3.01)};
    P p;
    EXPECT_FALSE(p.LeastSquaresFit(static_cast<int>(planes.size()), planes.data()));
    EXPECT_NEAR(p.z, 3.005, 1e-12);
    // Parallel planes are singular: false, point untouched.
    EXPECT_FALSE(p.LeastSquaresFit(std::vector<CPlane>{CPlane(0, 0, 1, 0), CPlane(0, 0, 1, -1), CPlane(0, 0, 1, -2)}));
    EXPECT_NEAR(p.z, 3.005, 1e-12);
}
