#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P = CPoint3d;
using U = CUnitVector3d;

namespace {

const CBoundingBox3d kUnit(P(0, 0, 0), P(1, 1, 1));

// The entry side as an int; ok and hit receive the other results.
int Side(const CRay3d& r, const CBoundingBox3d& box, P& hit, bool& ok) {
    EBoxSide side = MaxZ;  // overwritten by every call
    ok = r.IntersectWith(box, hit, side);
    return static_cast<int>(side);
}

double Coord(const P& p, int axis) { return axis == 0 ? p.x : axis == 1 ? p.y : p.z; }

}  // namespace

TEST(Ray3d, ConstructionMembershipAndProjection) {
    CRay3d r;
    r.Set(P(1, 1, 1), P(1, 4, 5));
    EXPECT_DOUBLE_EQ(r.direction.y, 0.6);
    r.Set(P(2, 2, 2), P(2, 2, 2));
    EXPECT_FALSE(r.IsValidObj());  // zero direction

    // Same carrier line in either sense, origin anywhere on it.
    const CRay3d xAxis(P(0, 0, 0), U(1, 0, 0));
    EXPECT_TRUE(CRay3d(P(-7, 0, 0), U(-1, 0, 0)).IsOn(xAxis));
    EXPECT_TRUE(xAxis.IsOn(CPlane()));
    EXPECT_FALSE(CRay3d(P(-7, 0.01, 0), U(1, 0, 0)).IsOn(xAxis));  // origin off the line
    EXPECT_FALSE(CRay3d(P(3, 0, 0), U(1, 0.1, 0)).IsOn(xAxis));    // direction not parallel
    EXPECT_FALSE(CRay3d(P(0, 0, 0), U(1, 0, 0.01)).IsOn(CPlane()));

    // A point against the ray: a line distance, strict at EqualTol.
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    EXPECT_EQ(P(-5, 3, 4).DistanceTo(xAxis), 5.0);
    EXPECT_TRUE(P(-9, 1.0 / 2048, 0).IsOn(xAxis));
    EXPECT_FALSE(P(-9, 1.0 / 1024, 0).IsOn(xAxis));
    EXPECT_EQ(P(-2, 5, 1).ProjectTo(xAxis).DistanceSquaredTo(P(-2, 0, 0)), 0.0);
}

TEST(Ray3d, RayRayIntersectionNeedsTheLinesToMeetWithinTolerance) {
    const CRay3d a(P(5, 0, 0), U(1, 0, 0));
    P p;
    EXPECT_TRUE(a.IntersectWith(CRay3d(P(0, 5, 0), U(0, 1, 0)), p));  // behind both origins
    // Skew by 0.002: a miss, yet the midpoint is written; skew by 0.0005: a hit.
    EXPECT_FALSE(a.IntersectWith(CRay3d(P(0, 5, 0.002), U(0, 1, 0)), p));
    EXPECT_NEAR(p.z, 0.001, 1e-15);
    EXPECT_TRUE(a.IntersectWith(CRay3d(P(0, 5, 0.0005), U(0, 1, 0)), p));
    // Parallel lines, even coincident ones, never meet.
    EXPECT_FALSE(a.IntersectWith(CRay3d(P(-3, 0, 0), U(-1, 0, 0)), p));
}

TEST(Ray3d, SegmentIntersectionNeverMeasuresTheLineDistance) {
    const CRay3d r(P(0, 0, 0), U(1, 0, 0));
    const double keep = -99;  // t is left alone
    const struct {
        P a, b;
        bool hit;
        double t;
    } cases[] = {{{2, -1, 0}, {2, 1, 0}, true, 2},
                 {{-2, -1, 1}, {-2, 1, 1}, true, -2},   // a unit above the line, behind the origin
                 {{2, 1, 0}, {2, 3, 0}, false, keep},   // nearest point off the segment
                 {{2, 0.0005, 0}, {2, 3, 0}, true, 2},  // within EqualTol of an end
                 {{3, 3, 0}, {3, 0.0005, 0}, true, 3},
                 {{3, 0.0004, 0}, {3, 0.0006, 0}, true, 3},  // shorter than EqualTol: its midpoint
                 {{4, 0.5, 0}, {4, 0.5, 0}, false, 4},       // ... t written even on a miss
                 {{2, 0, 1}, {2, 0.001, 1}, true, 2},        // exactly EqualTol long: a segment (strict)
                 {{5, 0, 0}, {7, 0, 0}, true, 5},            // parallel: is a on the line?
                 {{6, 1, 0}, {8, 1, 0}, false, 6},
                 {{5, 0.0005, 0}, {6, 0.0005 + 5e-6, 0}, true, 5},  // |v x dir|^2 < 1e-10: parallel
                 {{5, 0.0005, 0}, {6, 0.0005 + 2e-5, 0}, false, keep},
                 // |v x dir|^2 exactly 1e-10: not parallel (strict); the nearest point lies far before a.
                 {{5, 0, 0.5}, {6, 0x1.4f8b4d8f76727p-17, 0.5 + 0x1.5798eep-27}, false, keep}};
    for (const auto& c : cases) {
        double t = keep;
        EXPECT_EQ(r.IntersectWith(c.a, c.b, t), c.hit) << c.a << c.b;
        EXPECT_NEAR(t, c.t, 1e-12) << c.a << c.b;
    }
    // With no tolerance at all the ends still belong: the segment's parameter range is
    // closed at 0 and at 1.
    plenar_test::ToleranceGuard exact(0.0);
    double t = keep;
    EXPECT_TRUE(r.IntersectWith(P(2, 0, 0), P(2, 1, 0), t));
    EXPECT_TRUE(r.IntersectWith(P(3, -1, 0), P(3, 0, 0), t));
}

TEST(Ray3d, BoxEntryFaceTiesAndBoundaries) {
    P hit;
    bool ok = false;
    // Each face from outside.
    for (int axis = 0; axis < 3; ++axis) {
        for (int sign = -1; sign <= 1; sign += 2) {
            double o[3] = {0.25, 0.5, 0.75}, d[3] = {0, 0, 0};
            o[axis] = sign < 0 ? -3.0 : 4.0;
            d[axis] = -sign;
            const CRay3d r(P(o[0], o[1], o[2]), U(d[0], d[1], d[2]));
            EXPECT_EQ(Side(r, kUnit, hit, ok), 2 * axis + (sign < 0 ? 1 : 2));
            EXPECT_TRUE(ok);
        }
    }
    // Origin, direction, side, hit: origin on the boundary (the hit, no side), along a
    // face plane (closed ranges), grazing an edge, equal plane parameters (earlier axis wins).
    const struct {
        P o;
        U d;
        int side;
        P hit;
    } cases[] = {{{0, 0.5, 0.5}, {-1, 0, 0}, 0, {0, 0.5, 0.5}}, {{0, -5, 0.5}, {0, 1, 0}, 3, {0, 0, 0.5}},
                 {{-1, 1, 0.5}, {1, 0, 0}, 1, {0, 1, 0.5}},     {{-1, -1, 0.5}, {1, 1, 0}, 1, {0, 0, 0.5}},
                 {{0.5, 2, 2}, {0, -1, -1}, 4, {0.5, 1, 1}},    {{2, 0.5, -1}, {-1, 0, 1}, 2, {1, 0.5, 0}},
                 {{-1, -1, -1}, {1, 1, 1}, 1, {0, 0, 0}}};
    for (const auto& c : cases) {
        EXPECT_EQ(Side(CRay3d(c.o, c.d), kUnit, hit, ok), c.side) << c.o;
        EXPECT_LT(hit.DistanceTo(c.hit), 1e-15) << c.o;
    }
    // Just outside an edge and an empty box (judged on x): no side, hit untouched.
    hit = P(7, 7, 7);
    for (const auto& [r, box] : {std::pair(CRay3d(P(-1, std::nextafter(1.0, 2.0), 0.5), U(1, 0, 0)), kUnit),
                                 std::pair(CRay3d(P(0, 0, 0), U(1, 0, 0)), CBoundingBox3d())}) {
        EXPECT_EQ(Side(r, box, hit, ok), 0) << r.origin;
        EXPECT_FALSE(ok) << r.origin;
        EXPECT_EQ(hit.x, 7.0) << r.origin;
    }
    // The array call writes exactly n flags: the one after them is the caller's.
    const CBoundingBox3d four[4] = {kUnit, kUnit, kUnit, kUnit};
    bool flags[5] = {false, false, false, false, true};
    CRay3d(P(-1, 0.5, 0.5), U(1, 0, 0)).IntersectBoxes(four, 4, flags, nullptr, nullptr);
    EXPECT_TRUE(flags[4]);
}

TEST(Ray3d, IntersectPlanesSolvesOnTheDominantCoordinatePlane) {
    CRay3d r;
    ASSERT_TRUE(r.IntersectPlanes(CPlane(0, 0, 1, 0), CPlane(1, 0, 0, 0)));
    EXPECT_EQ(r.direction.y, 1.0);  // N1 x N2, in that order
    // Direction ties: x beats y and z (origin.x = 0), y beats z (origin.y = 0).
    ASSERT_TRUE(r.IntersectPlanes(CPlane(1, -1, 0, -2), CPlane(0, 1, -1, -1)));
    EXPECT_NEAR(r.origin.DistanceTo(P(0, -2, -3)), 0.0, 1e-15);
    ASSERT_TRUE(r.IntersectPlanes(CPlane(1, 0, 0, -1), CPlane(0, 1, -1, -2)));
    // Parallel planes: false, ray untouched.
    EXPECT_FALSE(r.IntersectPlanes(CPlane(0, 0, 1, 0), CPlane(0, 0, -1, 3)));
    EXPECT_NEAR(r.origin.DistanceTo(P(1, 0, -2)), 0.0, 1e-15);
    EXPECT_TRUE(r.IntersectPlanes(CPlane(0, 0, 1, 0), CPlane(0, 1e-10, 1, 0)));  // |N1 x N2| = 1e-10: strict

    plenar_test::SplitMix64 rng(8);
    const plenar_test::UniformReal u(-1, 1);
    for (int i = 0; i < 500; ++i) {
        const CPlane p1(u(rng), u(rng), u(rng), 5 * u(rng)), p2(u(rng), u(rng), u(rng), 5 * u(rng));
        const CVector3d v = p1.Normal() * p2.Normal();
        if (v.Length() < 1e-2) continue;
        ASSERT_TRUE(r.IntersectPlanes(p1, p2));
        EXPECT_NEAR(std::fabs(p1.SignedDistance(r.origin)) + std::fabs(p2.SignedDistance(r.origin)), 0.0, 1e-9);
        const double ax = std::fabs(r.direction.x), ay = std::fabs(r.direction.y), az = std::fabs(r.direction.z);
        EXPECT_EQ(Coord(r.origin, (ax >= ay && ax >= az) ? 0 : (ay >= az ? 1 : 2)), 0.0);
    }
}

TEST(Ray3d, IntersectZ) {
    const CRay3d r(P(1, 2, 3), U(0, 3, -4));
    double t = 0;
    P p;
    ASSERT_TRUE(r.IntersectZ(-1.0, t));
    ASSERT_TRUE(r.IntersectZ(7.0, p));
    EXPECT_DOUBLE_EQ(t, 5.0);
    EXPECT_NEAR(p.y, -1.0, 1e-15);
    // A horizontal ray: false, outputs untouched; the guard is strict at 1e-10.
    t = 9;
    EXPECT_FALSE(CRay3d(P(0, 0, 1), U(1, 1, 0)).IntersectZ(0.0, t));
    EXPECT_EQ(t, 9.0);
    CRay3d shallow(P(), U::FromComponents(1.0, 0.0, 1e-10));
    EXPECT_TRUE(shallow.IntersectZ(1.0, t));
}
