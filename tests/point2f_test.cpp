#include <geometry/point2f.h>
#include <geometry/rect2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::ToleranceGuard;

namespace {

constexpr double kPi = 3.14159265358979323846;
// 0.7 narrows to a float just below it: 0.7f passes a strict test against EqualTol
// in double but fails it against EqualTol narrowed to float.
constexpr double kTolAboveItsFloat = 0.7;
const float kF = static_cast<float>(kTolAboveItsFloat);

}  // namespace

TEST(Point2f, WeightedSumAndEvaluation) {
    const CPoint2f p(1, 2), q(5, -6);
    EXPECT_EQ(CPoint2f(2, p, 3, q), CPoint2f(17, -14));  // weights not normalised
    EXPECT_EQ(CPoint2f::EvalPointOnLine(p, q, -1), CPoint2f(-3, 10));
    EXPECT_EQ(CPoint2f::EvalPointOnLine(p, CVector2f(2, 4), 2), CPoint2f(5, 10));
}

TEST(Point2f, DistanceToLineIsSignedUnlessDegenerate) {
    const CPoint2f o(0, 0);
    {
        ToleranceGuard tol(0.5);  // a line exactly EqualTol long keeps its sign
        EXPECT_EQ(CPoint2f(0.25f, -1).DistanceToLine(o, CPoint2f(0.5f, 0)), -1.0f);
    }
    ToleranceGuard tol(kTolAboveItsFloat);  // length 0.7f is below 0.7 in double: degenerate
    EXPECT_EQ(CPoint2f(0, -3).DistanceToLine(o, CPoint2f(kF, 0)), 3.0f);
}

TEST(Point2f, IsOnLineTestsTheInfiniteLine) {
    const CPoint2f o(0, 0);
    float t = 42;
    EXPECT_TRUE(CPoint2f(0.5f, 0.5005f).IsOnLine(o, CPoint2f(1, 1), t));
    EXPECT_EQ(t, 0.5f);  // a tie goes to x

    ToleranceGuard tol(0.125);
    EXPECT_TRUE(CPoint2f(1, 0.125f).IsOnLine(o, CPoint2f(4, 0), t));  // inclusive
    // 0.125 - (-2^-40) is above the tolerance in double, but not once rounded to float.
    const float below = std::ldexp(-1.0f, -40);
    EXPECT_FALSE(CPoint2f(1, 0.125f).IsOnLine(CPoint2f(0, below), CPoint2f(4, below)));
    EXPECT_TRUE(CPoint2f(10, 0).IsOnLine(o, CPoint2f(0.125f, 0), t));
    EXPECT_EQ(t, 80.0f);  // exactly tol long: a line
    // p1 == p2: within the tolerance of p1, strictly, by distance.
    const CPoint2f p(1, 1);
    EXPECT_TRUE(CPoint2f(1.0625f, 0.9375f).IsOnLine(p, p, t));
    EXPECT_EQ(t, 0.0f);
    EXPECT_FALSE(CPoint2f(1.125f, 1).IsOnLine(p, p));
    EXPECT_FALSE(CPoint2f(10, 1).IsOnLine(p, CPoint2f(1.1f, 1)));
}

TEST(Point2f, ClosestPoints) {
    const CPoint2f origin(1, 1), p(3, 5);
    EXPECT_EQ(p.ClosestPointOnLine(origin, CVector2f(4, 0)), CPoint2f(3, 1));
    // Guarded by DivideByZeroTol on the squared length, not by EqualTol.
    EXPECT_EQ(p.ParameterOfCLosestPointOnLine(origin, CVector2f(1e-5f, 0)), 0.0f);
    EXPECT_GT(p.ParameterOfCLosestPointOnLine(origin, CVector2f(2e-5f, 0)), 9e4f);

    const CPoint2d q = ClosestPointOnLine(CPoint2f(5, 0), CPoint2f(), CVector2f(3, 4));
    EXPECT_TRUE(std::fabs(q.y - 2.4) < 1e-15);
    EXPECT_EQ(ClosestPointOnLine(p, origin, CVector2f(1e-5f, 0)), CPoint2d(origin));

    float t = 42;
    EXPECT_EQ(CPoint2f(-5, -9).ClosestPointOnLineSegment(origin, p, t), origin);
    EXPECT_EQ(t, 0.0f);
    // p1 + (p2 - p1) rounds to (0, 0) here: the end itself must come back.
    EXPECT_EQ(CPoint2f(-5, 0).ClosestPointOnLineSegment(CPoint2f(3, 0), CPoint2f(1e-8f, 0), t), CPoint2f(1e-8f, 0));
    EXPECT_EQ(t, 1.0f);
    // t == 1 is not beyond the end (strict): p1 + d*t comes back, (0, 0) here.
    EXPECT_EQ(CPoint2f(1e-8f, 0).ClosestPointOnLineSegment(CPoint2f(3, 0), CPoint2f(1e-8f, 0), t), CPoint2f());
    // Nor is t == 0 (strict): at p1 t is -0 here (zero times negative components) and is kept.
    origin.ClosestPointOnLineSegment(origin, CPoint2f(-1, -1), t);
    EXPECT_TRUE(std::signbit(t));
}

TEST(Point2f, RectangleTestsAreClosed) {
    const CRect2f r(1, 2, 3, 4);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(r.GetCorner(i).IsIn(r)) << i;
    EXPECT_FALSE(CPoint2f(std::nextafter(1.0f, 0.0f), 3).IsIn(r));
    EXPECT_TRUE(CPoint2f(0.5f, 3).IsIn(r, 0.5f));
    EXPECT_EQ(CPoint2f(7, -2).DistanceTo(r), 5.0f);
    EXPECT_EQ(CPoint2f(-2, 10).DistanceTo(r), 5.0f);
    // On a side the gap is 0 without a subtraction (strict), so even a corner at
    // infinity is at distance 0 rather than inf - inf.
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(CPoint2f(inf, inf).DistanceTo(CRect2f(inf, inf, 0, 0)), 0.0f);
}

TEST(Vector2f, IsZeroAndSetLengthGuardInDouble) {
    EXPECT_TRUE(CVector2f(0.0009f, -0.0009f).IsZero());
    CVector2f v(3, 4), tiny(1e-10f, 0), tinier(5e-11f, 0);
    EXPECT_TRUE(v.SetLength(-10));
    EXPECT_EQ(v, CVector2f(-6, -8));
    // 1e-10f is just above 1e-10 in double, so this vector can still be scaled.
    EXPECT_TRUE(tiny.SetLength(2));
    EXPECT_TRUE(!tinier.SetLength(2));
    EXPECT_TRUE(tinier.x == 5e-11f);

    {
        ToleranceGuard tol(0.125);
        EXPECT_FALSE(CVector2f(-0.125f, 0).IsZero());
        EXPECT_FALSE(CVector2f(0, 0.125f).IsZero());
    }
    ToleranceGuard tol(kTolAboveItsFloat);
    EXPECT_TRUE(CVector2f(kF, 0).IsZero());
}

TEST(Line2f, CrossProductTestsAreStrictAgainstTheFloatTolerance) {
    EXPECT_TRUE(IsOnLine(CPoint2f(5, 5.0005f), CPoint2f(), CVector2f(1, 1)));
    EXPECT_TRUE(AreColinear(CPoint2f(0, 0.0005f), CVector2f(1, 0), CPoint2f(), CVector2f(1, 0)));  // within EqualTol

    ToleranceGuard tol(kTolAboveItsFloat);
    EXPECT_FALSE(AreParallel(CVector2f(1, 0), CVector2f(1, kF)));
    EXPECT_TRUE(AreParallel(CVector2f(1, 0), CVector2f(1, std::nextafter(kF, 0.0f))));
    EXPECT_FALSE(IsOnLine(CPoint2f(3, kF), CPoint2f(), CVector2f(1, 0)));
    EXPECT_FALSE(AreColinear(CPoint2f(0, kF), CVector2f(1, 0), CPoint2f(), CVector2f(1, 0)));
    EXPECT_FALSE(AreColinear(CPoint2f(), CVector2f(1, kF), CPoint2f(), CVector2f(1, 0)));
}

TEST(Line2f, IntersectLines) {
    EXPECT_EQ(IntersectLines(CPoint2f(0, 1), CVector2f(2, 0), CPoint2f(5, 0), CVector2f(-1, 1)), CPoint2f(4, 1));
}

TEST(Line2f, AnglesClampOnlyJustBeyondUnitDotProducts) {
    const CVector2f ex(1, 0), ey(0, 1);
    EXPECT_EQ(SignedAngleBetween(ex, ey), -SignedAngleBetween(ey, ex));
    EXPECT_DOUBLE_EQ(SignedAngleBetween(ex, CVector2f(-1, 0)), kPi);  // zero cross product: positive

    const float band = EqualTolF;
    EXPECT_TRUE(std::isnan(AngleBetween(ex, CVector2f(1 + band, 0))));
    // The same band below -1, open at -1 - EqualTolF (strict).
    EXPECT_EQ(AngleBetween(ex, CVector2f(-1 - band / 2, 0)), kPi);
    EXPECT_TRUE(std::isnan(AngleBetween(ex, CVector2f(-1 - band, 0))));
    ToleranceGuard tol(0.001, 0.25f);  // the band follows EqualTolF
    EXPECT_EQ(AngleBetween(ex, CVector2f(1.125f, 0)), 0.0);
}
