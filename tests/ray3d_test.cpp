#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;

namespace {

CBoundingBox3d Box(double x0, double x1, double y0, double y1, double z0, double z1) {
    return CBoundingBox3d(CPoint3d(x0, y0, z0), CPoint3d(x1, y1, z1));
}

const CBoundingBox3d kUnit = Box(0, 1, 0, 1, 0, 1);

// The entry side, with hit and the result in the out-parameters.
int Side(const CRay3d& r, const CBoundingBox3d& box, CPoint3d& hit, bool& ok) {
    EBoxSide side = MaxZ;  // overwritten by every call
    ok = r.IntersectWith(box, hit, side);
    return static_cast<int>(side);
}

double Coord(const CPoint3d& p, int axis) { return axis == 0 ? p.x : axis == 1 ? p.y : p.z; }

}  // namespace

TEST(Ray3d, ConstructionMembershipAndProjection) {
    EXPECT_EQ(CRay3d().direction.z, 1.0);
    EXPECT_TRUE(CRay3d().IsValidObj());
    CRay3d r;
    r.Set(CPoint3d(1, 1, 1), CPoint3d(1, 4, 5));
    EXPECT_DOUBLE_EQ(r.direction.y, 0.6);
    r.Set(CPoint3d(2, 2, 2), CPoint3d(2, 2, 2));
    EXPECT_FALSE(r.IsValidObj());  // zero direction

    // Same carrier line in either sense, origin anywhere on it.
    const CRay3d xAxis(CPoint3d(0, 0, 0), CUnitVector3d(1, 0, 0));
    EXPECT_TRUE(CRay3d(CPoint3d(-7, 0, 0), CUnitVector3d(-1, 0, 0)).IsOn(xAxis));
    EXPECT_FALSE(CRay3d(CPoint3d(-7, 0.01, 0), CUnitVector3d(1, 0, 0)).IsOn(xAxis));
    EXPECT_FALSE(CRay3d(CPoint3d(3, 0, 0), CUnitVector3d(1, 0.1, 0)).IsOn(xAxis));
    EXPECT_TRUE(xAxis.IsOn(CPlane()));
    EXPECT_FALSE(CRay3d(CPoint3d(0, 0, 0), CUnitVector3d(1, 0, 0.01)).IsOn(CPlane()));

    // CPoint3d against the ray: a line distance, strict at EqualTol.
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    EXPECT_EQ(CPoint3d(-5, 3, 4).DistanceTo(xAxis), 5.0);
    EXPECT_EQ(CPoint3d(-5, 3, 4).DistanceSquaredTo(xAxis), 25.0);
    EXPECT_TRUE(CPoint3d(-9, 1.0 / 2048, 0).IsOn(xAxis));
    EXPECT_FALSE(CPoint3d(-9, 1.0 / 1024, 0).IsOn(xAxis));
    EXPECT_EQ(CPoint3d(-2, 5, 1).ProjectTo(xAxis).DistanceSquaredTo(CPoint3d(-2, 0, 0)), 0.0);
    const CRay3d diag(CPoint3d(1, 1, 0), CUnitVector3d(1, 1, 0));
    EXPECT_NEAR(diag.ParameterOfClosestPoint(CPoint3d(0, 0, 3)), -std::sqrt(2.0), 1e-15);
    EXPECT_NEAR(diag.Project(CPoint3d(2, 0, 3)).DistanceTo(CPoint3d(1, 1, 0)), 0.0, 1e-15);
}

TEST(Ray3d, RayRayIntersectionNeedsTheLinesToMeetWithinTolerance) {
    const CRay3d a(CPoint3d(5, 0, 0), CUnitVector3d(1, 0, 0));
    CPoint3d p;
    // The lines cross behind both origins.
    EXPECT_TRUE(a.IntersectWith(CRay3d(CPoint3d(0, 5, 0), CUnitVector3d(0, 1, 0)), p));
    EXPECT_EQ(p.DistanceSquaredTo(CPoint3d(0, 0, 0)), 0.0);
    // Skew by 0.002: no intersection, but the midpoint is written; by half the
    // tolerance they meet.
    EXPECT_FALSE(a.IntersectWith(CRay3d(CPoint3d(0, 5, 0.002), CUnitVector3d(0, 1, 0)), p));
    EXPECT_NEAR(p.z, 0.001, 1e-15);
    EXPECT_TRUE(a.IntersectWith(CRay3d(CPoint3d(0, 5, 0.0005), CUnitVector3d(0, 1, 0)), p));
    // Parallel lines, even coincident ones, never intersect; p is the midpoint of
    // the origin and its foot on the other line.
    EXPECT_FALSE(a.IntersectWith(CRay3d(CPoint3d(-3, 0, 0), CUnitVector3d(-1, 0, 0)), p));
    EXPECT_FALSE(a.IntersectWith(CRay3d(CPoint3d(0, 2, 0), CUnitVector3d(1, 0, 0)), p));
    EXPECT_EQ(p.DistanceSquaredTo(CPoint3d(5, 1, 0)), 0.0);

    CPoint3d p1, p2;
    EXPECT_TRUE(CRay3d(CPoint3d(0, 0, 0), CUnitVector3d(1, 0, 0))
                    .FindClosestPoints(CRay3d(CPoint3d(0, 0, 1), CUnitVector3d(0, 1, 0)), p1, p2));
    EXPECT_EQ(p1.z + p2.z, 1.0);
    EXPECT_FALSE(a.FindClosestPoints(CRay3d(CPoint3d(0, 2, 0), CUnitVector3d(1, 0, 0)), p1, p2));
}

TEST(Ray3d, SegmentIntersectionNeverMeasuresTheLineDistance) {
    const CRay3d r(CPoint3d(0, 0, 0), CUnitVector3d(1, 0, 0));
    double t = -1;
    EXPECT_TRUE(r.IntersectWith(CPoint3d(2, -1, 0), CPoint3d(2, 1, 0), t));
    EXPECT_EQ(t, 2.0);
    // A segment passing one unit above the line still "meets" it, behind the origin.
    EXPECT_TRUE(r.IntersectWith(CPoint3d(-2, -1, 1), CPoint3d(-2, 1, 1), t));
    EXPECT_EQ(t, -2.0);
    // The nearest point is off the segment: no hit, t untouched; within EqualTol of
    // an end it is a hit.
    EXPECT_FALSE(r.IntersectWith(CPoint3d(2, 1, 0), CPoint3d(2, 3, 0), t));
    EXPECT_EQ(t, -2.0);
    EXPECT_TRUE(r.IntersectWith(CPoint3d(2, 0.0005, 0), CPoint3d(2, 3, 0), t));
    EXPECT_TRUE(r.IntersectWith(CPoint3d(3, 3, 0), CPoint3d(3, -0.0005, 0), t));
    EXPECT_NEAR(t, 3.0, 1e-15);

    // Segments shorter than EqualTol are their midpoint; t is written even on a miss.
    EXPECT_TRUE(r.IntersectWith(CPoint3d(3, -0.0001, 0), CPoint3d(3, 0.0001, 0), t));
    EXPECT_FALSE(r.IntersectWith(CPoint3d(4, 0.5, 0), CPoint3d(4, 0.5, 0), t));
    EXPECT_EQ(t, 4.0);
    // Parallel segments: only whether a lies on the line is asked.
    EXPECT_TRUE(r.IntersectWith(CPoint3d(5, 0, 0), CPoint3d(7, 0, 0), t));
    EXPECT_EQ(t, 5.0);
    EXPECT_FALSE(r.IntersectWith(CPoint3d(6, 1, 0), CPoint3d(8, 1, 0), t));
    // Nearly parallel counts as parallel when |v x dir|^2 < 1e-10; a steeper segment
    // meets the line far before a: no hit.
    EXPECT_TRUE(r.IntersectWith(CPoint3d(5, 0.0005, 0), CPoint3d(6, 0.0005 + 5e-6, 0), t));
    EXPECT_FALSE(r.IntersectWith(CPoint3d(5, 0.0005, 0), CPoint3d(6, 0.0005 + 2e-5, 0), t));
}

TEST(Ray3d, BoxEntryFaceTiesAndBoundaries) {
    CPoint3d hit;
    bool ok = false;
    // Each face from outside; pointing away misses.
    for (int axis = 0; axis < 3; ++axis) {
        for (int sign = -1; sign <= 1; sign += 2) {
            double o[3] = {0.25, 0.5, 0.75}, d[3] = {0, 0, 0};
            o[axis] = sign < 0 ? -3.0 : 4.0;
            d[axis] = -sign;
            const CRay3d r(CPoint3d(o[0], o[1], o[2]), CUnitVector3d(d[0], d[1], d[2]));
            EXPECT_EQ(Side(r, kUnit, hit, ok), 2 * axis + (sign < 0 ? 1 : 2));
            EXPECT_EQ(Coord(hit, axis), sign < 0 ? 0.0 : 1.0);
            EXPECT_EQ(Coord(hit, (axis + 1) % 3), o[(axis + 1) % 3]);
            EXPECT_EQ(Side(CRay3d(r.origin, -r.direction), kUnit, hit, ok), 0);
            EXPECT_FALSE(ok);
        }
    }
    // An origin inside or on the boundary is the hit, with no side.
    EXPECT_EQ(Side(CRay3d(CPoint3d(0, 0.5, 0.5), CUnitVector3d(-1, 0, 0)), kUnit, hit, ok), 0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(hit.DistanceSquaredTo(CPoint3d(0, 0.5, 0.5)), 0.0);

    // Along a face plane with an exactly zero component: closed ranges.
    EXPECT_EQ(Side(CRay3d(CPoint3d(0, -5, 0.5), CUnitVector3d(0, 1, 0)), kUnit, hit, ok), 3);
    EXPECT_EQ(hit.DistanceSquaredTo(CPoint3d(0, 0, 0.5)), 0.0);
    // Grazing an edge hits; just outside it misses, leaving hit untouched.
    EXPECT_EQ(Side(CRay3d(CPoint3d(-1, 1, 0.5), CUnitVector3d(1, 0, 0)), kUnit, hit, ok), 1);
    hit = CPoint3d(7, 7, 7);
    Side(CRay3d(CPoint3d(-1, std::nextafter(1.0, 2.0), 0.5), CUnitVector3d(1, 0, 0)), kUnit, hit, ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(hit.x, 7.0);

    // Equal plane parameters: the earlier axis is the entry.
    EXPECT_EQ(Side(CRay3d(CPoint3d(-1, -1, 0.5), CUnitVector3d(1, 1, 0)), kUnit, hit, ok), 1);
    EXPECT_EQ(Side(CRay3d(CPoint3d(0.5, 2, 2), CUnitVector3d(0, -1, -1)), kUnit, hit, ok), 4);
    EXPECT_EQ(Side(CRay3d(CPoint3d(2, 0.5, -1), CUnitVector3d(-1, 0, 1)), kUnit, hit, ok), 2);
    EXPECT_EQ(Side(CRay3d(CPoint3d(-1, -1, -1), CUnitVector3d(1, 1, 1)), kUnit, hit, ok), 1);
    EXPECT_TRUE(ok);

    // An empty box (judged on x) and a plain miss.
    EXPECT_EQ(Side(CRay3d(CPoint3d(0, 0, 0), CUnitVector3d(1, 0, 0)), CBoundingBox3d(), hit, ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(Side(CRay3d(CPoint3d(-1, 2, 0.5), CUnitVector3d(1, 0, 0)), kUnit, hit, ok), 0);
    EXPECT_FALSE(ok);
}

TEST(Ray3d, BoxHitLiesOnTheEntryFaceAndOnTheRay) {
    std::mt19937 rng(42);
    std::uniform_real_distribution<double> u(-1, 1);
    int hits = 0;
    for (int i = 0; i < 5000; ++i) {
        const double x = 5 * u(rng), y = 5 * u(rng), z = 5 * u(rng);
        const CBoundingBox3d box = Box(x, x + 1 + u(rng), y, y + 1 + u(rng), z, z + 1 + u(rng));
        const CPoint3d o(10 * u(rng), 10 * u(rng), 10 * u(rng));
        // Half of the rays aim into the box, the others anywhere.
        const CPoint3d target = (i % 2) ? box.GetCenter() + CVector3d(0.4 * u(rng), 0.4 * u(rng), 0.4 * u(rng))
                                        : o + CVector3d(u(rng), u(rng), u(rng));
        const CRay3d r(o, CUnitVector3d(o, target));

        // Reference: slab intervals of the half-line.
        const double lo[3] = {box.x.min, box.y.min, box.z.min}, hi[3] = {box.x.max, box.y.max, box.z.max};
        const double d[3] = {r.direction.x, r.direction.y, r.direction.z};
        double tNear = 0, tFar = 1e300;
        for (int k = 0; k < 3; ++k) {
            double t0 = (lo[k] - Coord(o, k)) / d[k], t1 = (hi[k] - Coord(o, k)) / d[k];
            if (t0 > t1) std::swap(t0, t1);
            tNear = std::max(tNear, t0);
            tFar = std::min(tFar, t1);
        }
        if (std::fabs(tFar - tNear) < 1e-9) continue;  // grazing: either answer is fine

        CPoint3d hit;
        bool ok = false;
        const int s = Side(r, box, hit, ok);
        ASSERT_EQ(ok, tNear <= tFar) << i;
        if (!ok) continue;
        ++hits;
        EXPECT_NEAR(r.ParameterOfClosestPoint(hit), tNear, 1e-9);
        EXPECT_NEAR(hit.DistanceTo(r), 0.0, 1e-9);
        if (s == 0) continue;  // the origin is in the box
        const int axis = (s - 1) / 2;
        EXPECT_EQ(Coord(hit, axis), (s % 2) ? lo[axis] : hi[axis]);
        for (int k = 0; k < 3; ++k) {
            EXPECT_GE(Coord(hit, k), lo[k]);
            EXPECT_LE(Coord(hit, k), hi[k]);
        }
    }
    EXPECT_GT(hits, 2000);
}

TEST(Ray3d, IntersectPlanesSolvesOnTheDominantCoordinatePlane) {
    CRay3d r;
    ASSERT_TRUE(r.IntersectPlanes(CPlane(0, 0, 1, 0), CPlane(1, 0, 0, 0)));
    EXPECT_EQ(r.direction.y, 1.0);  // N1 x N2, in that order
    EXPECT_EQ(r.origin.DistanceSquaredTo(CPoint3d(0, 0, 0)), 0.0);
    ASSERT_TRUE(r.IntersectPlanes(CPlane(1, 0, 0, 0), CPlane(0, 0, 1, 0)));
    EXPECT_EQ(r.direction.y, -1.0);

    // z = 1 and x - y = 2: the direction ties x and y; x wins, so origin.x = 0.
    ASSERT_TRUE(r.IntersectPlanes(CPlane(0, 0, 1, -1), CPlane(1, -1, 0, -2)));
    EXPECT_NEAR(r.origin.DistanceTo(CPoint3d(0, -2, 1)), 0.0, 1e-15);
    // x = 1 and y - z = 2: y and z tie; y wins, so origin.y = 0.
    ASSERT_TRUE(r.IntersectPlanes(CPlane(1, 0, 0, -1), CPlane(0, 1, -1, -2)));
    EXPECT_NEAR(r.origin.DistanceTo(CPoint3d(1, 0, -2)), 0.0, 1e-15);

    // Parallel and coincident planes: false, ray untouched.
    EXPECT_FALSE(r.IntersectPlanes(CPlane(0, 0, 1, 0), CPlane(0, 0, -1, 3)));
    EXPECT_FALSE(r.IntersectPlanes(CPlane(0, 1, 0, 0), CPlane(0, 1, 0, 0)));
    EXPECT_NEAR(r.origin.DistanceTo(CPoint3d(1, 0, -2)), 0.0, 1e-15);

    std::mt19937 rng(8);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = 0; i < 500; ++i) {
        const CPlane p1(u(rng), u(rng), u(rng), 5 * u(rng)), p2(u(rng), u(rng), u(rng), 5 * u(rng));
        const CVector3d v = p1.Normal() * p2.Normal();
        if (v.Length() < 1e-2) continue;
        ASSERT_TRUE(r.IntersectPlanes(p1, p2));
        EXPECT_NEAR(p1.SignedDistance(r.origin), 0.0, 1e-9);
        EXPECT_NEAR(p2.SignedDistance(r.origin), 0.0, 1e-9);
        EXPECT_NEAR(Dot(r.direction, v), v.Length(), 1e-12);
        const double ax = std::fabs(r.direction.x), ay = std::fabs(r.direction.y), az = std::fabs(r.direction.z);
        EXPECT_EQ(Coord(r.origin, (ax >= ay && ax >= az) ? 0 : (ay >= az ? 1 : 2)), 0.0);
    }
}

TEST(Ray3d, IntersectZ) {
    const CRay3d r(CPoint3d(1, 2, 3), CUnitVector3d(0, 3, -4));
    double t = 0;
    ASSERT_TRUE(r.IntersectZ(-1.0, t));
    EXPECT_DOUBLE_EQ(t, 5.0);
    CPoint3d p;
    ASSERT_TRUE(r.IntersectZ(7.0, p));
    EXPECT_DOUBLE_EQ(p.y, -1.0);
    EXPECT_DOUBLE_EQ(p.z, 7.0);
    // A horizontal ray: false, outputs untouched; the guard is strict at 1e-10.
    t = 9;
    EXPECT_FALSE(CRay3d(CPoint3d(0, 0, 1), CUnitVector3d(1, 1, 0)).IntersectZ(0.0, t));
    EXPECT_EQ(t, 9.0);
    CRay3d shallow(CPoint3d(), CUnitVector3d::FromComponents(1.0, 0.0, 1e-10));
    EXPECT_TRUE(shallow.IntersectZ(1.0, t));
    shallow.direction.z = 0.99e-10;
    EXPECT_FALSE(shallow.IntersectZ(1.0, p));
}
