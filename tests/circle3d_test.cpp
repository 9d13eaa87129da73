#include <geometry/arc3d.h>
#include <geometry/circle3d.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <gtest/gtest.h>

#include <cmath>

#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using P = CPoint3d;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
const CUnitVector3d kZ = CUnitVector3d::FromComponents(0, 0, 1);

CCircle3d UnitCircle() { return CCircle3d(P(0, 0, 0), CVector3d(1, 0, 0), kZ); }
double Gap(const P& a, const P& b) { return std::sqrt(a.DistanceSquaredTo(b)); }

// The wrap turn by turn, as literally as it can be written.
double TurnByTurn(double t) {
    while (t < -EqualTolSq) t += kTwoPi;
    while (t > kTwoPi + EqualTolSq) t -= kTwoPi;
    return t;
}

}  // namespace

TEST(Arc3d, ThroughThreePointsRunsFromTheFirstThroughTheSecondToTheThird) {
    const struct {
        P p1, p2, p3, center;
    } cases[] = {{{1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, 0}},  // the long way: the normal flips
                 {{4, 3, 4}, {2, 5, 4}, {2, 1, 4}, {2, 3, 4}}};
    for (const auto& c : cases) {
        const CArc3d arc(c.p1, c.p2, c.p3);
        EXPECT_LT(Gap(arc.center, c.center) + Gap(arc.GetStartPoint(), c.p1) + Gap(arc.GetEndPoint(), c.p3), 1e-12);
        const double mid = arc.ParameterOfClosestPoint(c.p2);
        EXPECT_TRUE(mid < arc.endAngle) << mid;
        EXPECT_TRUE(Gap(arc.Eval(mid), c.p2) < 1e-12) << mid;
    }
    // Arcs about a centre take their sense from the normal; the circle base is the whole turn.
    const CArc3d cw(P(0, 0, 0), P(2, 0, 0), P(0, 2, 0), -kZ);
    EXPECT_NEAR(cw.endAngle, 1.5 * kPi, 1e-15);
    EXPECT_EQ(CArc3d(static_cast<const CCircle3d&>(cw)).endAngle, kTwoPi);
}

TEST(Circle3d, ColinearAndCoincidentPointsGiveAHugeNearlyStraightCircle) {
    const struct {
        P p1, p2, p3, start, center;
    } cases[] = {{{0, 0, 0}, {1, 0, 0}, {3, 0, 0}, {0, 0, 0}, {1.5, 1e9, 0}},  // chord p1-p3
                 {{0, 0, 0}, {5, 0, 0}, {1, 0, 0}, {0, 0, 0}, {2.5, 1e9, 0}},  // p1-p2
                 {{0, 0, 0}, {1, 0, 0}, {-1, 0, 0}, {1, 0, 0}, {0, -1e9, 0}},  // p2-p3
                 {{3, 0, 0}, {0, 0, 0}, {3, 0, 0}, {0, 0, 0}, {1.5, 1e9, 0}},  // tie: p2-p3
                 {{0, 0, 0}, {0, 0, 1}, {0, 0, 4}, {0, 0, 0}, {1e9, 0, 2}}};   // vertical
    for (const auto& c : cases) {
        const CCircle3d circle(c.p1, c.p2, c.p3);
        EXPECT_LT(Gap(circle.center, c.center) + Gap(circle.Eval(0), c.start), 1e-6);
    }
    const CCircle3d point(P(1, 2, 3), P(1, 2, 3), P(1, 2, 3));
    EXPECT_EQ(Gap(point.center, {1, 2, 3}), 0.0);
    // A zero frame has no handedness to restore: moving the point keeps its plane.
    CCircle3d moved = point;
    moved *= CTransformation::Translate(CVector3d(1, 0, 0));
    EXPECT_EQ(moved.plane.b, 1.0);
    // Two equally long longest chords: the later pair wins (the tests are strict).
    auto off = [](const CCircle3d& c, const P& p) { return std::fabs(Gap(c.center, p) - c.radius); };
    CCircle3d tie;
    tie.BuildFakeCircle(P(0, 0, 0), P(4, 1, 0), P(4, -1, 0));  // p1-p2 or p1-p3: p1-p3
    EXPECT_LT(off(tie, P(4, -1, 0)), 1e-5);
    tie.BuildFakeCircle(P(4, 1, 0), P(4, -1, 0), P(0, 0, 0));  // p1-p3 or p2-p3: p2-p3
    EXPECT_LT(Gap(tie.Eval(0), P(4, -1, 0)), 1e-5);
    // The middle point on the end point is not beyond it (strict): the plane stays.
    EXPECT_EQ(CArc3d(P(0, 0, 0), P(1, 0, 0), P(1, 0, 0)).plane.c, 1.0);
}

TEST(Circle3d, EvalWrapsWholeTurnsOnlyBeyondTheSquaredTolerance) {
    const CCircle3d c = UnitCircle();
    const double tol = EqualTolSq;
    const double cases[][2] = {{-kTwoPi, -kTwoPi + kTwoPi},
                               {-tol, -tol},
                               {-2 * tol, -2 * tol + kTwoPi},
                               {kTwoPi + tol, kTwoPi + tol},
                               {kTwoPi + 2 * tol, (kTwoPi + 2 * tol) - kTwoPi},
                               {5 * kPi, (5 * kPi - kTwoPi) - kTwoPi}};
    for (const auto& k : cases) EXPECT_EQ(c.Eval(k[0]).y, std::sin(k[1])) << k[0];
    // Where turning would never end (2pi is below half a unit in the last place
    // beyond 2^56), and for non-finite angles, the angle is used unwrapped.
    EXPECT_EQ(c.Eval(0x1p56 + 16).y, std::sin(0x1p56 + 16));
    EXPECT_EQ(c.Eval(-0x1p60).x, std::cos(-0x1p60));
    for (double t : {HUGE_VAL, -HUGE_VAL, std::nan("")}) EXPECT_FALSE(c.Eval(t).IsValidObj()) << t;
    EXPECT_EQ(c.ParameterOfClosestPoint(P(std::nan(""), 0, 0)), 0.0);
}

TEST(Circle3d, EvalWrapsLargeAnglesExactlyAsTurnByTurn) {
    // A circle whose point carries the wrapped angle's rounding to every bit.
    const CCircle3d c(P(0.25, -0.5, 3), CVector3d(1.5, 0.5, 0), kZ);
    auto expect = [&](double t) {
        const double w = TurnByTurn(t);
        const P want = c.center + c.xAxis * std::cos(w) + c.yAxis * std::sin(w);
        const P got = c.Eval(t);
        EXPECT_EQ(got.x, want.x) << std::hexfloat << t;
    };
    for (double t : {1e6 + 1, 1e7, -1e7, -1e6 - 1, 123456789.125, -987654321.5, 12.0, -12.0}) expect(t);
    // Both sides of every binade edge from 8 to 2^24, where the rounded step changes; in 64 to 128 2pi falls
    // exactly halfway between two multiples of the unit, so the step depends on whether t is an odd multiple.
    for (int e = 3; e <= 24; ++e) {
        const double edge = std::ldexp(1.0, e);
        for (double t : {edge, std::nextafter(edge, 0.0), std::nextafter(edge, 2 * edge), edge + kTwoPi, edge - kTwoPi,
                         edge + 2 * kTwoPi + std::ldexp(edge, -52)}) {
            expect(t);
            expect(-t);
        }
    }
    plenar_test::SplitMix64 rng(16);
    for (int i = 0; i < 400; ++i) expect(rng.Uniform(-1, 1) * std::pow(10.0, rng.Uniform(0, 6.5)));
    for (int i = 0; i < 3; ++i) expect(rng.Uniform(-1e9, 1e9));
}

TEST(Circle3d, ParameterWrapFollowsTheSquaredToleranceToAnyMagnitude) {
    // A negative squared tolerance makes the first loop add turns up to 2e6 and the
    // second take them back below -2e6: millions of turns, each rounded.
    plenar_test::SquaredToleranceGuard guard(-2e6);
    const double want = TurnByTurn(std::atan2(0.7, 0.3));
    EXPECT_EQ(UnitCircle().ParameterOfClosestPoint(P(0.3, 0.7, 0)), want);
    EXPECT_LT(want, -1.9e6);
}

TEST(Circle3d, ThreePointsOnATinyTriangleGiveAZeroNormal) {
    // The plane's normal is the cross product of two edges; below DivideByZeroTolSq in squared length it is
    // zero and the centre stays at the origin. 0.9e-5 by 1e-5 is just below that, 1.1e-5 by 1e-5 just above.
    const P a(5, 5, 5), b(5 + 1e-5, 5, 5);
    const CCircle3d tiny(a, b, P(5, 5 + 0.9e-5, 5));
    const struct {
        const char* name;
        double value;
    } zeros[] = {{"plane.a", tiny.plane.a},   {"plane.b", tiny.plane.b},   {"plane.c", tiny.plane.c},
                 {"center.x", tiny.center.x}, {"center.y", tiny.center.y}, {"center.z", tiny.center.z}};
    for (const auto& z : zeros) EXPECT_EQ(z.value, 0) << z.name;
    EXPECT_FALSE(tiny.IsValidObj());
    const CCircle3d small(a, b, P(5, 5 + 1.1e-5, 5));
    EXPECT_LT(Gap(small.center, P(5 + 0.5e-5, 5 + 0.55e-5, 5)), 1e-12);
}

TEST(Circle3d, ParameterAndProjectionOfCirclesAndEllipses) {
    const CCircle3d c(P(1, 2, 3), CVector3d(2, 0, 0), kZ);
    EXPECT_LT(Gap(c.Project(P(4, 2, 7)), {2.2, 2, 4.6}), 1e-12);  // radial: leaves the plane

    CCircle3d e = UnitCircle();
    e *= CTransformation::Scale(2, 1, 1);
    for (const double t : {0.3, 2.0, 4.0})
        EXPECT_NEAR(e.ParameterOfClosestPoint(P(2 * std::cos(t), std::sin(t), 0)), t, 1e-12);
    // A flat ellipse, |(xAxis x yAxis) . normal| = 2^-10: its frame is degenerate only strictly below the
    // squared tolerance, so exactly at it the ellipse is still valid and projected as an ellipse.
    CCircle3d flat = UnitCircle();
    flat *= CTransformation::Scale(1, 1.0 / 1024, 1);
    {
        plenar_test::SquaredToleranceGuard guard(1.0 / 1024);
        const P f = flat.Project(P(1, 1, 0));
        EXPECT_NEAR(f.x * f.x + f.y * f.y * 1024 * 1024, 1.0, 1e-12);
        EXPECT_TRUE(flat.IsValidObj());
    }

    // Sheared (oblique axes), rotated and moved: points off it project back onto it.
    const double shear[16] = {1.5, 0, 0, 0, 0.8, 0.6, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    CCircle3d g = UnitCircle();
    g *= CTransformation::Translate(CVector3d(5, -2, 1)) *
         CTransformation::Rotate(P(0, 0, 0), CUnitVector3d(1, 1, 1), 0.7) * CTransformation(shear);
    for (const double t : {0.0, 1.0, 2.5, 4.0, 6.0}) {
        const P p = g.Eval(t);
        EXPECT_LT(Gap(g.Project(g.center + (p - g.center) * 3.0), p), 1e-9);
    }
}

TEST(Circle3d, MirrorRadiusComparisonAndValidity) {
    CCircle3d m = UnitCircle();
    m *= CTransformation::Scale(-1, 1, 1);  // the plane turns over so angles still run from xAxis to yAxis
    EXPECT_EQ(m, UnitCircle());             // planes compared either way
    // Centres and planes are compared within EqualTol: 2^-12 apart is the same circle.
    EXPECT_EQ(CCircle3d(P(1.0 / 4096, 0, 0), CVector3d(1, 0, 0), kZ), UnitCircle());
    EXPECT_EQ(CCircle3d(P(0, 0, 0), CVector3d(1, 0, 0), CUnitVector3d(1.0 / 4096, 0, 1)), UnitCircle());
    // Axis lengths and the cosine between the axes are judged strictly against EqualTol.
    const struct {
        double tol;
        CVector3d x, y;
        bool round;
    } frames[] = {{0.001, {1, 0, 0}, {0, 1 + 1.0 / 2048, 0}, true},        // lengths 2^-11 apart
                  {0.001, {1, 0, 0}, {1.0 / 4096, 1, 0}, true},            // cosine about 2^-12
                  {1.0 / 1024, {1, 0, 0}, {0, 1 + 1.0 / 1024, 0}, false},  // lengths exactly the tolerance apart
                  {0.6, {5, 0, 0}, {3, 4, 0}, false}};                     // cosine 3/5, exactly the tolerance
    for (const auto& f : frames) {
        plenar_test::ToleranceGuard guard(f.tol);
        CCircle3d c = UnitCircle();
        c.xAxis = f.x;
        c.yAxis = f.y;
        EXPECT_EQ(c.IsTrueCircle(), f.round) << f.y;
    }
    EXPECT_NEAR(m.ParameterOfClosestPoint(P(0, 1, 0)), kPi / 2, 1e-15);

    CCircle3d c = UnitCircle();
    EXPECT_TRUE(!c.SetRadius(0.0005));
    EXPECT_TRUE(c.SetRadius(3));
    EXPECT_EQ(c.Eval(kPi / 2).y, 3.0);
    {
        plenar_test::ToleranceGuard guard(1.0 / 1024);
        EXPECT_TRUE(c.SetRadius(1.0 / 1024));
        CCircle3d bigger = UnitCircle();
        bigger.radius = 1 + 1.0 / 1024;
        EXPECT_FALSE(bigger == UnitCircle());
        bigger.radius = 1 + 1.0 / 2048;
        EXPECT_TRUE(bigger == UnitCircle());
    }
    EXPECT_FALSE(CCircle3d(P(std::nan(""), 0, 0), CVector3d(1, 0, 0), kZ).IsValidObj());
    EXPECT_FALSE(CArc3d(P(0, 0, 0), CVector3d(1, 0, 0), kZ, 0, HUGE_VAL).IsValidObj());
}

TEST(Arc3d, FullCircleModesAndNullness) {
    plenar_test::ToleranceGuard guard(1.0 / 1024);
    const double tol = 1.0 / 1024;
    // start, end, full (exact), full (tolerant), null.
    const double cases[][5] = {
        {0, kTwoPi, 0, 1, 0},           {0, 0, 1, 1, 1},      {1, 1, 0, 0, 1},       {0, kTwoPi - tol, 0, 0, 0},
        {0, kTwoPi - tol / 2, 0, 1, 0}, {kTwoPi, 0, 0, 1, 0}, {0, tol / 2, 0, 0, 1}, {0, tol, 0, 0, 0}};
    for (const auto& c : cases) {
        const CArc3d arc(P(0, 0, 0), CVector3d(1, 0, 0), kZ, c[0], c[1]);
        EXPECT_EQ(arc.IsFullCircle(false), c[2] != 0) << c[0] << " " << c[1];
        EXPECT_EQ(arc.IsFullCircle(true), c[3] != 0) << c[0] << " " << c[1];
        EXPECT_EQ(arc.IsNull(), c[4] != 0) << c[0] << " " << c[1];
    }
}

TEST(Ray3d, CircleIntersectionComparesSquaredLengths) {
    const CCircle3d c = UnitCircle();
    const CUnitVector3d x = CUnitVector3d::FromComponents(1, 0, 0);
    const double h = std::sqrt(1.2e-6), b = std::sqrt(1 - 1e-8), m = std::sqrt(1 - 1e-6);
    const struct {
        P origin;
        CUnitVector3d dir;
        int n;
        P p1, p2;
    } cases[] = {{{-5, 1e-4, 0}, x, 2, {-b, 1e-4, 0}, {b, 1e-4, 0}},     // e < EqualTolSq: along the ray
                 {{0, -0.6, 0}, x, 2, {-0.8, -0.6, 0}, {0.8, -0.6, 0}},  // off it: the chord's own sense
                 {{-5, 0.001, 0}, x, 2, {m, 0.001, 0}, {-m, 0.001, 0}},  // e == EqualTolSq: off it (strict)
                 {{0, 1 + 4e-7, 0}, x, 1, {0, 1 + 4e-7, 0}, {}},         // tangent: |e - r^2| = 8e-7
                 {{0, 1 - 4e-7, 0}, x, 1, {0, 1 - 4e-7, 0}, {}},
                 {{0, 1 + 6e-7, 0}, x, 0, {}, {}},  // 1.2e-6
                 {{0, 1 - 6e-7, 0}, x, 2, {h, 1 - 6e-7, 0}, {-h, 1 - 6e-7, 0}},
                 {{1 + 4e-7, 0, -5}, kZ, 1, {1 + 4e-7, 0, 0}, {}},  // across the plane
                 {{1 + 6e-7, 0, -5}, kZ, 0, {}, {}},
                 {{0, 0, 1}, x, 0, {}, {}}};  // parallel, off the plane
    for (const auto& k : cases) {
        P p1(9, 9, 9), p2(9, 9, 9);
        EXPECT_EQ(CRay3d(k.origin, k.dir).IntersectWith(c, p1, p2), k.n) << k.origin;
        EXPECT_LT((k.n >= 1 ? Gap(p1, k.p1) : 0.0) + (k.n == 2 ? Gap(p2, k.p2) : 0.0), 1e-9) << k.origin;
    }
    // Angles come out ordered; the points follow only when p1 is given.
    const CRay3d through(P(-5, 0, 0), x);
    double a1 = 42, a2 = 42;
    P p1, p2;
    EXPECT_EQ(through.IntersectWith(c, a1, a2, &p1, &p2), 2);
    EXPECT_EQ(a1, 0.0);
    EXPECT_EQ(a2, kPi);
    EXPECT_EQ(p1.x, 1.0);
    EXPECT_EQ(through.IntersectWith(c, a1, a2, nullptr, &p2), 2);
    EXPECT_EQ(p2.x, 1.0);  // p2 not swapped
    a1 = a2 = 42;
    EXPECT_EQ(CRay3d(P(0, 1, 0), x).IntersectWith(c, a1, a2, nullptr, nullptr), 1);
    EXPECT_TRUE(a1 == kPi / 2);

    // With a zero squared tolerance nothing is near the circle: a crossing of the plane exactly on it is off it
    // (strict), and a line touching it crosses it twice (e <= r^2, inclusive) at two equal angles, where the
    // crossings keep the order they were found in (the origin's z = -0 tells them apart: the first has z = +0).
    plenar_test::SquaredToleranceGuard noTolerance(0.0);
    EXPECT_EQ(CRay3d(P(1, 0, -5), kZ).IntersectWith(c, p1, p2), 0);
    EXPECT_EQ(CRay3d(P(1, 5, -0.0), CUnitVector3d::FromComponents(0, 1, 0)).IntersectWith(c, a1, a2, &p1, &p2), 2);
    EXPECT_FALSE(std::signbit(p1.z));
}

TEST(Plane, CircleIntersectionGoesThroughTheCommonLine) {
    const CCircle3d c = UnitCircle();
    P p1, p2;
    double a1 = 42, a2 = 42;
    EXPECT_EQ(CPlane(1, 0, 0, -0.6).IntersectWith(c, a1, a2, &p1, &p2), 2);
    EXPECT_LT(Gap(p1, {0.6, -0.8, 0}) + Gap(p2, {0.6, 0.8, 0}), 1e-12);
    EXPECT_TRUE(std::fabs(a2 - std::atan2(0.8, 0.6)) < 1e-15);
    EXPECT_EQ(CPlane(0, 0, 1, -1).IntersectWith(c, p1, p2), 0);  // parallel planes
}
