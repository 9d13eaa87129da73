#include <geometry/ellipse2f.h>

#include "support/predicates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/random.h"
#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using namespace plenar_test;

namespace {

constexpr float kPi = 3.14159265358979323846f;

// Twice the signed area of a closed outline: positive when it runs counter-clockwise.
double SignedArea2(const std::vector<CPoint2f>& pts) {
    double a = 0.0;
    for (std::size_t i = 0; i + 1 < pts.size(); ++i) {
        a += static_cast<double>(pts[i].x) * pts[i + 1].y - static_cast<double>(pts[i + 1].x) * pts[i].y;
    }
    return a;
}

}  // namespace

TEST(Ellipse2f, PointsAndTangentsByParametricAngle) {
    const CEllipse2f e(CPoint2f(1, 2), 3, 1, 0);
    EXPECT_EQ(e.GetTangentAtParameter(0), CVector2f(0, 1));
    const CEllipse2f turned(CPoint2f(1, 2), 3, 1, kPi / 2);
    EXPECT_TRUE(NearXy(turned.GetPointAtParameter(0), CPoint2f(1, 5), 1e-5));
}

TEST(Ellipse2f, RectangleConstructorsPivotDifferently) {
    const CRect2f r(1, 2, 4, 6);  // centre (3, 5), radii (2, 3)
    const CEllipse2f plain(r, AffineTransform());
    EXPECT_EQ(plain.center, CPoint2f(3, 5));

    // A quarter turn: the angle form turns about the corner (1, 2), the transform
    // form about its reflection (-1, -2).
    const CEllipse2f aboutCorner(r, kPi / 2);
    EXPECT_TRUE(NearXy(aboutCorner.GetPointAtParameter(0), CPoint2f(-2, 6), 1e-5));
    const CEllipse2f aboutReflection(r, AffineTransform::Rotate(kPi / 2));
    EXPECT_TRUE(NearXy(aboutReflection.center, CPoint2f(-8, 2), 1e-5));
}

TEST(Ellipse2f, SampledOutlineIsClosedAndCounterClockwise) {
    const CEllipse2f e(CPoint2f(1, 2), 3, 1, 0);
    std::vector<CPoint2f> pts(5);
    e.GetPoints(5, pts.data());
    const CPoint2f expected[5] = {{4, 2}, {1, 3}, {-2, 2}, {1, 1}, {4, 2}};
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(NearXy(pts[i], expected[i], 1e-5));
    EXPECT_EQ(pts[4], pts[0]);  // an exact copy

    // Counter-clockwise for every orientation angle; the recurrence stays on the ellipse.
    for (float angle : {0.0f, 0.7f, 2.5f, -1.9f}) {
        const CEllipse2f f(CPoint2f(-3, 4), 5, 2, angle);
        pts.assign(201, CPoint2f());
        f.GetPoints(201, pts.data());
        EXPECT_GT(SignedArea2(pts), 0.0) << angle;
        for (unsigned i = 0; i < 200; ++i) EXPECT_TRUE(NearXy(pts[i], f.GetPointAtParameter(2 * kPi * i / 200), 2e-5f));
    }

    // Fewer than two points: nothing is written.
    std::vector<CPoint2f> canary{CPoint2f(7, 7), CPoint2f(8, 8)};
    e.GetPoints(0, canary.data());
    e.GetPoints(1, canary.data());
    EXPECT_EQ(canary, (std::vector<CPoint2f>{{7, 7}, {8, 8}}));
    e.GetPoints(2, canary.data());
    EXPECT_EQ(canary, (std::vector<CPoint2f>{{4, 2}, {4, 2}}));
}

TEST(Ellipse2f, ClosestPointParameter) {
    const CEllipse2f circle(CPoint2f(1, 1), 2, 2, 0);
    // A circle needs no correction: the polar angle is returned as it is.
    EXPECT_EQ(circle.ParameterOfClosestPoint(CPoint2f(4, 5)), std::atan2(4.0f, 3.0f));
    // Also far away, where a correction of the rounding noise (about 1e-6) would be
    // amplified by the distance and wander off: steps below EqualTol are not taken.
    EXPECT_NEAR(circle.ParameterOfClosestPoint(CPoint2f(-15, -11)), std::atan2(-12.0f, -16.0f), 1e-6f);
    {
        const ToleranceGuard tol(0x1p-10);
        // Within EqualTol of the centre in both coordinates: 0. Exactly EqualTol away in
        // either coordinate is not within (strict): the polar angle.
        EXPECT_EQ(circle.ParameterOfClosestPoint(CPoint2f(1 - 0x1p-11f, 1 + 0x1p-11f)), 0.0f);
        EXPECT_EQ(circle.ParameterOfClosestPoint(CPoint2f(1 - 0x1p-10f, 1)), std::atan2(0.0f, -1.0f));
        EXPECT_EQ(circle.ParameterOfClosestPoint(CPoint2f(1, 1 + 0x1p-10f)), std::atan2(1.0f, 0.0f));
        // The first correction is exactly -EqualTol, not below it (strict): it is taken;
        // the second is below and is not.
        const CEllipse2f nearCircle(CPoint2f(0, 0), 1, 1.00390625f, 0);
        const CPoint2f p(0.953125f, 0x1.025cdap-2f);
        EXPECT_NEAR(nearCircle.ParameterOfClosestPoint(p), std::atan2(p.y, p.x) - 0x1p-10f, 1e-6f);
    }
    {
        // A tiny ellipse whose squared speed at the polar angle of p is exactly 1e-10f:
        // not below that threshold (strict), so Newton runs and ends at a foot of a normal.
        const ToleranceGuard tol(0x1p-20);
        const CEllipse2f tiny(CPoint2f(0, 0), 1.25e-5f, 0.75e-5f, 0);
        const CPoint2f p(0x1.f75104p-18f, 0x1.bbe226p-18f);
        CPoint2f foot;
        CVector2f tangent;
        tiny.GetPointAndTangentAtParameter(tiny.ParameterOfClosestPoint(p), foot, tangent);
        const CVector2f off = p - foot;
        EXPECT_LT(std::fabs(Dot(tangent, off)), 1e-4 * tangent.Length() * off.Length());
    }
}

namespace {

// The world outline in double, by the same formula as GetPointAtParameter.
CPoint2d WorldPoint(const CEllipse2f& e, double t) {
    const double lx = e.radiusX * std::cos(t), ly = e.radiusY * std::sin(t);
    const AffineTransform& m = e.transform;
    return CPoint2d(m.a * lx + m.b * ly + m.tx + e.center.x, m.c * lx + m.d * ly + m.ty + e.center.y);
}

double Distance(const CPoint2d& a, const CPoint2f& p) { return std::hypot(a.x - p.x, a.y - p.y); }
double Distance(const CPoint2f& a, const CPoint2f& p) { return Distance(CPoint2d(a.x, a.y), p); }

// The distance from p to the outline: the best of a dense sampling, refined by a
// golden-section search on the neighbouring samples.
double SampledDistance(const CEllipse2f& e, const CPoint2f& p) {
    constexpr int n = 1 << 12;
    const double step = 2 * 3.141592653589793 / n;
    int best = 0;
    double bestD = Distance(WorldPoint(e, 0), p);
    for (int i = 1; i < n; ++i) {
        const double d = Distance(WorldPoint(e, i * step), p);
        if (d < bestD) bestD = d, best = i;
    }
    double lo = (best - 1) * step, hi = (best + 1) * step;
    for (int k = 0; k < 100; ++k) {
        const double m1 = lo + (hi - lo) * 0.381966, m2 = hi - (hi - lo) * 0.381966;
        if (Distance(WorldPoint(e, m1), p) < Distance(WorldPoint(e, m2), p))
            hi = m2;
        else
            lo = m1;
    }
    return std::fmin(bestD, Distance(WorldPoint(e, 0.5 * (lo + hi)), p));
}

}  // namespace

TEST(Ellipse2f, NearestParameterFindsTheNearestPointWhereNewtonDoesNot) {
    // Newton from the polar angle settles on a farther foot of a normal; both are kept.
    const CEllipse2f e(CPoint2f(0, 0), 2, 1, 0);
    const CPoint2f p(3, 3);
    EXPECT_NEAR(Distance(WorldPoint(e, e.ParameterOfClosestPoint(p)), p), 2.980, 1e-3);
    EXPECT_NEAR(Distance(WorldPoint(e, e.NearestParameter(p)), p), 2.777, 1e-3);

    // Seeded points in and around rotated, sheared, mirrored, translated, round, flat and tiny ellipses.
    const CEllipse2f ellipses[] = {
        e,
        CEllipse2f(CPoint2f(-3, 4), 5, 0.5f, 0.7f),
        CEllipse2f(CRect2f(1, 2, 8, 3), AffineTransform(1, 0.8f, -0.3f, 0.6f, 2, -1)),
        CEllipse2f(CRect2f(-2, 0, 4, 6), AffineTransform(-1, 0, 0, 1, 0.5f, 0)),   // mirrored
        CEllipse2f(CRect2f(0, 0, 6, 2), AffineTransform(0.3f, 1, 1, 0.2f, 0, 0)),  // mirrored and sheared
        CEllipse2f(CPoint2f(1, 1), 3, 3, 2.0f),
        CEllipse2f(CPoint2f(0, 0), 4, 0.01f, -0.4f),
        CEllipse2f(CPoint2f(1000, -500), 0.02f, 0.05f, 1.0f),
    };
    plenar_test::SplitMix64 rng(1602);
    int farFromNewton = 0;
    for (const CEllipse2f& ell : ellipses) {
        const double size = std::fmax(std::fabs(ell.radiusX), std::fabs(ell.radiusY)) *
                            (1 + std::fabs(ell.transform.a) + std::fabs(ell.transform.b) + std::fabs(ell.transform.c) +
                             std::fabs(ell.transform.d));
        const CPoint2d middle =
            WorldPoint(ell, 0.0) + (WorldPoint(ell, 3.141592653589793) - WorldPoint(ell, 0.0)) * 0.5;
        for (int i = 0; i < 150; ++i) {
            const double spread = i < 50 ? 0.6 : (i < 100 ? 1.5 : 6.0);  // mostly inside, near, far
            const CPoint2f q(static_cast<float>(middle.x + rng.Uniform(-spread, spread) * size),
                             static_cast<float>(middle.y + rng.Uniform(-spread, spread) * size));
            const float t = ell.NearestParameter(q);
            const double best = SampledDistance(ell, q);
            const double tol = 1e-6 * (size + Distance(middle, q));  // float rounding of t and of the evaluation
            EXPECT_TRUE(t >= -3.1415927f) << t;
            EXPECT_TRUE(t <= 3.1415927f) << t;
            // Evaluated in float, the point is off by the rounding of its coordinates.
            const double coordinates = std::fabs(q.x) + std::fabs(q.y) + size;
            EXPECT_LE(Distance(ell.GetPointAtParameter(t), q), best + tol + 2.4e-7 * coordinates)
                << "ellipse " << (&ell - ellipses) << " i " << i;
            if (Distance(WorldPoint(ell, ell.ParameterOfClosestPoint(q)), q) > best + 1e-3 * size) ++farFromNewton;
        }
    }
    EXPECT_GT(farFromNewton, 100);  // the cases above are the ones the Newton steps miss
}

TEST(Ellipse2f, NearestParameterOnAxesAndDegenerateEllipses) {
    const CEllipse2f e(CPoint2f(1, 2), 2, 1, 0);
    // At the centre: an end of the minor axis.
    EXPECT_NEAR(std::fabs(e.NearestParameter(CPoint2f(1, 2))), 3.14159265f / 2, 1e-6f);
    // On the major axis between the centres of curvature of its ends (|x| < 1.5 from
    // the centre), the nearest point is off the axis at x = 4/3 * 0.75 = 1; beyond
    // them it is the end itself.
    const float t = e.NearestParameter(CPoint2f(1.75f, 2));
    EXPECT_NEAR(2 * std::cos(t), 1.0, 1e-6);
    EXPECT_EQ(e.NearestParameter(CPoint2f(2.5f, 2)), 0.0f);
    EXPECT_EQ(e.NearestParameter(CPoint2f(9, 2)), 0.0f);
    // Beyond the far end: pi, not -pi (the wrap into [-pi, pi] is strict at pi).
    EXPECT_EQ(e.NearestParameter(CPoint2f(-5, 2)), kPi);
    // On the minor axis: the end on the same side.
    EXPECT_NEAR(e.NearestParameter(CPoint2f(1, -7)), -3.14159265f / 2, 1e-6f);
    // On the outline itself.
    EXPECT_NEAR(e.NearestParameter(e.GetPointAtParameter(-2.5f)), -2.5f, 1e-5f);

    // A needle (axes 1 and 2^-59), p 2^-53 inside its tip and 2^-87 off the axis:
    // cos t = 1 - 2^-53, t = 2^-26. The multiplier equation is exactly 0 over a
    // stretch around its root; the bisection stops at the first such value it meets.
    const CEllipse2f needle(CPoint2f(0x1p-53f, 0), 1, 0x1p-59f, 0);
    EXPECT_NEAR(needle.NearestParameter(CPoint2f(1, 0x1p-87f)), 0x1p-26f, 0x1p-26f * 1e-6f);

    // A circle: the polar angle; at the centre, where every point is nearest, t = 0.
    EXPECT_EQ(CEllipse2f(CPoint2f(1, 2), 2, 2, 0).NearestParameter(CPoint2f(1, 2)), 0.0f);
    const CEllipse2f circle(CPoint2f(0, 0), 2, 2, 0.9f);
    EXPECT_NEAR(circle.NearestParameter(CPoint2f(-3, 1)), std::atan2(1.0f, -3.0f) - 0.9f, 1e-6f);
    EXPECT_NEAR(circle.NearestParameter(CPoint2f(0.1f, 0.1f)), 3.14159265f / 4 - 0.9f, 1e-6f);

    // Flat ellipses are segments: a zero radius, or a transform that flattens.
    const CEllipse2f flat(CPoint2f(0, 0), 3, 0, 0);
    // The sign of t follows the side of p, although t and -t are the same point.
    EXPECT_NEAR(flat.NearestParameter(CPoint2f(1.5f, 4)), 3.14159265f / 3, 1e-6f);
    EXPECT_EQ(flat.NearestParameter(CPoint2f(5, -1)), 0.0f);
    EXPECT_EQ(flat.NearestParameter(CPoint2f(-5, -1)), -kPi);  // the wrap is strict at -pi
    // Minor to major axis exactly 2^-60 is already flat (inclusive): beside the end, the end.
    EXPECT_EQ(CEllipse2f(CPoint2f(0, 0), 1, 0x1p-60f, 0).NearestParameter(CPoint2f(1, 0x1p-60f)), 0.0f);
    // Onto the line y = x: centre (-1, -1), ends (-1, -1) +- (sqrt2, sqrt2).
    const CEllipse2f squashed(CRect2f(-1, -1, 2, 2), AffineTransform(1, 1, 1, 1, 0, 0));
    const float end = std::sqrt(2.0f) - 1;
    const auto foot = [&](const CPoint2f& q) { return squashed.GetPointAtParameter(squashed.NearestParameter(q)); };
    EXPECT_TRUE(NearXy(foot(CPoint2f(3, 0)), CPoint2f(end, end), 1e-5));
    EXPECT_TRUE(NearXy(foot(CPoint2f(0, -1)), CPoint2f(-0.5f, -0.5f), 1e-5));
    EXPECT_EQ(CEllipse2f(CPoint2f(4, 4), 0, 0, 0).NearestParameter(CPoint2f(1, 1)), 0.0f);
    // Also turned by a half turn, whose zero axes carry signs (atan2(0, -0) = pi).
    EXPECT_EQ(CEllipse2f(CRect2f(4, 4, 0, 0), AffineTransform(-1, 0, 0, -1, 0, 0)).NearestParameter(CPoint2f(1, 1)),
              0.0f);

    // Non-finite input gives NaN; huge and tiny finite input finishes with an answer.
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(std::isnan(e.NearestParameter(CPoint2f(nan, 0))));
    EXPECT_TRUE(std::isnan(e.NearestParameter(CPoint2f(0, inf))));
    EXPECT_TRUE(std::isnan(CEllipse2f(CPoint2f(0, 0), nan, 1, 0).NearestParameter(CPoint2f(1, 1))));
    EXPECT_TRUE(std::isnan(
        CEllipse2f(CRect2f(0, 0, 2, 2), AffineTransform(inf, 0, 0, 1, 0, 0)).NearestParameter(CPoint2f(1, 1))));
    const float big = std::numeric_limits<float>::max(), tiny = std::numeric_limits<float>::denorm_min();
    EXPECT_NEAR(e.NearestParameter(CPoint2f(big, big)), std::atan(0.5f),
                1e-6f);  // normal (cos t, 2 sin t) along (1, 1)
    EXPECT_TRUE(std::isfinite(CEllipse2f(CPoint2f(0, 0), tiny, tiny * 3, 0).NearestParameter(CPoint2f(tiny, -big))));
}
