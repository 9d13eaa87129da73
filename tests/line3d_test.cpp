#include <geometry/boundingbox.h>
#include <geometry/line3d.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>

#include <gtest/gtest.h>

#include <cmath>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;

namespace {

constexpr double kInf = 1e30;
const CUnitVector3d kX = CUnitVector3d::FromComponents(1, 0, 0);
const CBoundingBox3d kUnit(CPoint3d(0, 0, 0), CPoint3d(1, 1, 1));

// The line through origin along dir with the given parameters.
CLine3d Line(const CPoint3d& origin, const CUnitVector3d& dir, double start, double end) {
    CLine3d l(CRay3d(origin, dir), false, false);
    l.startParam = start;
    l.endParam = end;
    return l;
}

}  // namespace

TEST(Line3d, ConstructionEndsAndValidity) {
    CPoint3d p;
    const CLine3d z;
    EXPECT_TRUE(!z.GetStartPoint(p));
    EXPECT_EQ(p.z, -kInf);
    EXPECT_TRUE(!z.GetEndPoint(p));
    EXPECT_TRUE(z.IsValidObj());  // the markers are finite

    // The ray's finite end is one unit along, whatever the ray.
    const CRay3d ray(CPoint3d(3, 0, 0), kX);
    EXPECT_EQ(CLine3d(ray, false, false).endParam, 1.0);
    EXPECT_EQ(CLine3d(ray, true, false).startParam, -kInf);
    EXPECT_EQ(CLine3d(ray, false, true).startParam, 0.0);
    EXPECT_EQ(CLine3d(ray, false, true).endParam, kInf);
    EXPECT_FALSE(Line(CPoint3d(0, 0, 0), kX, 0, HUGE_VAL).IsValidObj());
}

TEST(Line3d, SettingAnEndBeyondTheOtherReverses) {
    CLine3d l(CPoint3d(0, 0, 0), CPoint3d(5, 0, 0));
    l.SetStartPoint(CPoint3d(5, 3, 0));  // exactly at the end: no reversal
    EXPECT_EQ(l.startParam, 5.0);
    l.SetStartPoint(CPoint3d(7, 1, 0));  // beyond: from the new start to the old end
    EXPECT_EQ(l.direction.x, -1.0);
    EXPECT_EQ(l.startParam, -7.0);
    EXPECT_EQ(l.endParam, -5.0);

    CLine3d m(CPoint3d(0, 0, 0), CPoint3d(5, 0, 0));
    m.SetStartPoint(CPoint3d(2, 0, 0));
    m.SetEndPoint(CPoint3d(-1, 4, 0));  // before the start: from the old start to the new end
    CPoint3d s, e;
    EXPECT_TRUE(m.GetStartPoint(s));
    EXPECT_TRUE(m.GetEndPoint(e));
    EXPECT_EQ(m.direction.x, -1.0);
    EXPECT_EQ(s.x, 2.0);
    EXPECT_EQ(e.x, -1.0);

    // An infinite far end never reverses.
    CLine3d h(CRay3d(CPoint3d(0, 0, 0), kX), false, true);
    h.SetStartPoint(CPoint3d(9, 0, 0));
    EXPECT_EQ(h.direction.x, 1.0);
    h.SetStartPoint(CPoint3d(2e30, 0, 0));  // even beyond the end marker
    EXPECT_EQ(h.startParam, 2e30);
    CLine3d g(CRay3d(CPoint3d(0, 0, 0), kX), true, false);
    g.SetEndPoint(CPoint3d(-2e30, 0, 0));  // an infinite start: even before the start marker
    EXPECT_EQ(g.endParam, -2e30);

    // Pins the strict boundary: an end set exactly on the start does not reverse.
    CLine3d n(CPoint3d(0, 0, 0), CPoint3d(5, 0, 0));
    n.SetEndPoint(CPoint3d(0, 3, 0));
    EXPECT_EQ(n.direction.x, 1.0);
}

TEST(Line3d, ReverseKeepsTheMarkersAndSetDirectionRebases) {
    const CPoint3d o(1, 0, 0);
    const CUnitVector3d up = CUnitVector3d::FromComponents(0, 1, 0);
    // Parameters, reversed parameters, then origin x and parameters after SetDirection.
    const double cases[][7] = {{2, 5, -5, -2, 3, 0, 3},
                               {-kInf, 5, -kInf, -5, 6, -kInf, 0},  // the complementary half
                               {5, kInf, -5, kInf, 6, 0, kInf},
                               {0x1p48, kInf, -0x1p48, kInf, 1 + 0x1p48, 0, kInf},  // the end marker is not rebased
                               {-kInf, kInf, -kInf, kInf, 1, -kInf, kInf}};
    for (const auto& c : cases) {
        CLine3d r = Line(o, kX, c[0], c[1]);
        r.Reverse();
        EXPECT_EQ(r.direction.x, -1.0) << c[0] << " " << c[1];
        EXPECT_EQ(r.startParam, c[2]) << c[0] << " " << c[1];
        EXPECT_EQ(r.endParam, c[3]) << c[0] << " " << c[1];
        CLine3d d = Line(o, kX, c[0], c[1]);
        d.SetDirection(up);
        EXPECT_EQ(d.origin.x, c[4]) << c[0] << " " << c[1];
        EXPECT_EQ(d.startParam, c[5]) << c[0] << " " << c[1];
        EXPECT_EQ(d.endParam, c[6]) << c[0] << " " << c[1];
    }

    // A half-line's ray starts at its finite end and runs away from it.
    CLine3d half = Line(o, kX, -kInf, 5);
    CRay3d ray(CPoint3d(7, 7, 7), kX);
    EXPECT_TRUE(half.GetSemiInfiniteRay(ray));
    EXPECT_EQ(ray.origin.x, 6.0);
    EXPECT_EQ(ray.direction.x, -1.0);
    EXPECT_TRUE(Line(o, kX, 2, kInf).GetSemiInfiniteRay(ray));
    EXPECT_EQ(ray.origin.x, 3.0);
    EXPECT_FALSE(Line(o, kX, 2, 5).GetSemiInfiniteRay(ray));
    EXPECT_FALSE(Line(o, kX, -kInf, kInf).GetSemiInfiniteRay(ray));
    EXPECT_EQ(ray.origin.x, 3.0);  // untouched

    // Pins the strict ordering after Reverse: a start a subnormal step before the
    // origin and an end at it are re-measured as +0 and -0, equal, and stay in place.
    CLine3d zeros = Line(o, CUnitVector3d::FromComponents(0.96, 0.28, 0), -0x1p-1072, 0);
    zeros.Reverse();
    EXPECT_TRUE(std::signbit(zeros.endParam));

    plenar_test::ToleranceGuard guard(1.0 / 1024);
    EXPECT_TRUE(Line(o, kX, 3, 3 + 1.0 / 2048).IsNull());
    EXPECT_FALSE(Line(o, kX, 3, 3 + 1.0 / 1024).IsNull());
}

TEST(Line3d, TrimToPlaneKeepsThePositiveSideAndRejectsSlivers) {
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    const double tol = 1.0 / 1024;
    // Plane (a, b, d), kept, then the parameters of the line from 0 to 10 along x.
    // Rows 7 and 8 leave a sliver thinner than EqualTol (the parameter still
    // moves), rows 9 and 10 exactly EqualTol; the last two are parallel, decided
    // by the origin.
    const double cases[][6] = {{1, 0, -4, 1, 4, 10},
                               {-1, 0, 4, 1, 0, 4},
                               {1, 0, -12, 0, 0, 10},
                               {-1, 0, 12, 1, 0, 10},
                               {1, 0, 1, 1, 0, 10},
                               {-1, 0, -1, 0, 0, 10},
                               {1, 0, tol / 2 - 10, 0, 10 - tol / 2, 10},
                               {-1, 0, tol / 2, 0, 0, tol / 2},
                               {-1, 0, tol, 1, 0, tol},
                               {1, 0, tol - 10, 1, 10 - tol, 10},
                               {0, 1, -tol / 2, 1, 0, 10},
                               {0, 1, -tol, 0, 0, 10},
                               {1, 0, -10, 0, 10, 10},  // crossing at the end: nothing is left
                               {-1, 0, 0, 0, 0, 0}};    // crossing at the start: nothing is left
    for (const auto& c : cases) {
        CLine3d l = Line(CPoint3d(0, 0, 0), kX, 0, 10);
        EXPECT_EQ(l.TrimToPlane(CPlane(c[0], c[1], 0, c[2])), c[3] != 0) << c[0] << " " << c[1] << " " << c[2];
        EXPECT_EQ(l.startParam, c[4]) << c[0] << " " << c[1] << " " << c[2];
        EXPECT_EQ(l.endParam, c[5]) << c[0] << " " << c[1] << " " << c[2];
    }

    // A sliver with the crossing exactly at the end the plane keeps is nothing: the
    // crossing is compared with the parameters strictly, then the sliver rule holds.
    CLine3d a = Line(CPoint3d(0, 0, 0), kX, 0, tol / 2);
    EXPECT_FALSE(a.TrimToPlane(CPlane(1, 0, 0, 0)));
    CLine3d b = Line(CPoint3d(0, 0, 0), kX, 0, tol / 2);
    EXPECT_FALSE(b.TrimToPlane(CPlane(-1, 0, 0, tol / 2)));
}

TEST(Line3d, ZoneCodesAndTheBoxTest) {
    // Point, axes mask, code; a point on the faces is inside.
    const double zones[][5] = {{1, 0, 0.5, 7, 0},  {-1, 2, 3, 7, 49},  {-1, -1, -1, 7, 7}, {2, -1, 0.5, 7, 10},
                               {2, -1, 0.5, 1, 8}, {2, -1, 0.5, 6, 2}, {0, 0.5, 0, 7, 0}};
    for (const auto& z : zones) EXPECT_EQ(Zone(kUnit, CPoint3d(z[0], z[1], z[2]), int(z[3])), int(z[4])) << z[0];

    // Segments s-e, with the origin placed so that s lies at parameter startParam.
    const struct {
        CPoint3d s, e;
        double startParam;
        bool hit;
    } segments[] = {{{-1, 0.5, 0.5}, {2, 0.5, 0.5}, 0, true},         // slab of x
                    {{-2, 0.5, 0.5}, {-1, 0.5, 0.5}, 0, false},       // both below x
                    {{1, 1, 1}, {3, 3, 3}, 0, true},                  // an end on the corner
                    {{-0.5, -0.5, 0.5}, {0.5, 1.5, 0.5}, 0, true},    // through the x minimum face
                    {{-0.5, -0.5, 0.5}, {0.5, 1.5, 0.5}, -3, false},  // crossing laid off from the origin
                    {{-1, 0.5, 0.5}, {0.5, 2, 0.5}, 0, false},        // past the corner
                    {{-1, 0.1, 0.5}, {2, 0.9, 0.5}, -5, true},        // the slab rule computes no crossing
                    // Touching only an edge: the crossing on a face's edge is within it.
                    {{0.5, 1 + 0x1p-31, 0.5}, {1.5, 1 - 0x1p-31, 0.5}, 0, true},
                    {{-0.5, 0x1p-31, 0.5}, {0.5, -0x1p-31, 0.5}, 0, true}};
    for (const auto& c : segments) {
        CLine3d l(c.s, c.e);
        l.origin = CPoint3d(c.s, -c.startParam, l.direction);
        l.startParam = c.startParam;
        l.endParam += c.startParam;
        EXPECT_EQ(l.IntersectWith(kUnit), c.hit) << c.s << c.e << c.startParam;
    }

    // Pins the strict skip: a face whose axis the direction crosses by exactly
    // EqualTolSq is tried. The segment enters through y = 0; its x maximum crossing,
    // laid off from the origin, lies below the box.
    {
        plenar_test::SquaredToleranceGuard guard(0x1p-30);
        const CLine3d l = Line(CPoint3d(0, -0x1p-30 * 0.75, 0.5), CUnitVector3d::FromComponents(1, 0x1p-30, 0), 0.5, 2);
        EXPECT_TRUE(l.IntersectWith(kUnit));
    }

    // Unbounded lines go through the ray test, both ways for a full line.
    const CPoint3d o(5, 0.5, 0.5);
    EXPECT_TRUE(Line(o, kX, -kInf, kInf).IntersectWith(kUnit));
    EXPECT_TRUE(Line(o, kX, -kInf, -2).IntersectWith(kUnit));
    EXPECT_FALSE(Line(o, kX, 2, kInf).IntersectWith(kUnit));
    EXPECT_FALSE(Line(CPoint3d(5, 5, 5), kX, -kInf, kInf).IntersectWith(kUnit));
}
