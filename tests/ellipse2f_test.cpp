#include <geometry/ellipse2f.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace velmor::geometry;

namespace {

constexpr float kPi = 3.14159265358979323846f;

void ExpectNear(const CPoint2f& actual, const CPoint2f& expected, float eps = 1e-5f) {
    EXPECT_NEAR(actual.x, expected.x, eps);
    EXPECT_NEAR(actual.y, expected.y, eps);
}

// Twice the signed area of a closed outline (last point repeats the first):
// positive when it runs counter-clockwise.
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
    EXPECT_EQ(e.GetPointAtParameter(0), CPoint2f(4, 2));
    ExpectNear(e.GetPointAtParameter(kPi / 2), CPoint2f(1, 3));
    EXPECT_EQ(e.GetTangentAtParameter(0), CVector2f(0, 1));
    EXPECT_NEAR(e.GetTangentAtParameter(kPi / 2).x, -3.0f, 1e-6f);
    EXPECT_NEAR(e.GetTangentAtParameter(kPi / 2).y, 0.0f, 1e-6f);
    // Local evaluation ignores centre and orientation.
    CPoint2f p;
    CVector2f t;
    const CEllipse2f turned(CPoint2f(1, 2), 3, 1, kPi / 2);
    turned.EvalPointAndTangent(0, p, t);
    EXPECT_EQ(p, CPoint2f(3, 0));
    EXPECT_EQ(t, CVector2f(0, 1));
    ExpectNear(turned.GetPointAtParameter(0), CPoint2f(1, 5));
    turned.GetPointAndTangentAtParameter(0, p, t);
    ExpectNear(CPoint2f(t.x, t.y), CPoint2f(-1, 0));
}

TEST(Ellipse2f, RectangleConstructorsPivotDifferently) {
    const CRect2f r(1, 2, 4, 6);  // centre (3, 5), radii (2, 3)
    const CEllipse2f plain(r, AffineTransform());
    EXPECT_EQ(plain.center, CPoint2f(3, 5));
    EXPECT_EQ(plain.radiusX, 2.0f);
    EXPECT_EQ(plain.radiusY, 3.0f);

    // A translation moves the centre and, being kept in the orientation, moves
    // every point once more.
    const CEllipse2f shifted(r, AffineTransform::Translate(5, 0));
    EXPECT_EQ(shifted.center, CPoint2f(8, 5));
    EXPECT_EQ(shifted.GetPointAtParameter(0), CPoint2f(15, 5));
    EXPECT_EQ(shifted.GetTangentAtParameter(0), plain.GetTangentAtParameter(0));

    // A quarter turn: the angle form turns about the corner (1, 2), the transform
    // form about its reflection (-1, -2).
    const CEllipse2f aboutCorner(r, kPi / 2);
    ExpectNear(aboutCorner.center, CPoint2f(-2, 4));
    ExpectNear(aboutCorner.GetPointAtParameter(0), CPoint2f(-2, 6));
    const CEllipse2f aboutReflection(r, AffineTransform::Rotate(kPi / 2));
    ExpectNear(aboutReflection.center, CPoint2f(-8, 2));
}

TEST(Ellipse2f, SampledOutlineIsClosedAndCounterClockwise) {
    const CEllipse2f e(CPoint2f(1, 2), 3, 1, 0);
    std::vector<CPoint2f> pts(5);
    e.GetPoints(5, pts.data());
    const CPoint2f expected[5] = {{4, 2}, {1, 3}, {-2, 2}, {1, 1}, {4, 2}};
    for (int i = 0; i < 5; ++i) ExpectNear(pts[i], expected[i]);
    EXPECT_EQ(pts[4], pts[0]);  // an exact copy

    // Counter-clockwise for every orientation angle; the recurrence stays on the ellipse.
    for (float angle : {0.0f, 0.7f, 2.5f, -1.9f}) {
        const CEllipse2f f(CPoint2f(-3, 4), 5, 2, angle);
        pts.assign(201, CPoint2f());
        f.GetPoints(201, pts.data());
        EXPECT_GT(SignedArea2(pts), 0.0) << angle;
        EXPECT_NEAR(SignedArea2(pts) / 2, kPi * 5 * 2, 0.01) << angle;
        for (unsigned i = 0; i < 200; ++i) ExpectNear(pts[i], f.GetPointAtParameter(2 * kPi * i / 200), 2e-5f);
    }

    // Fewer than two points: nothing is written.
    CPoint2f canary[2] = {CPoint2f(7, 7), CPoint2f(8, 8)};
    e.GetPoints(0, canary);
    e.GetPoints(1, canary);
    EXPECT_EQ(canary[0], CPoint2f(7, 7));
    EXPECT_EQ(canary[1], CPoint2f(8, 8));
    e.GetPoints(2, canary);
    EXPECT_EQ(canary[0], CPoint2f(4, 2));
    EXPECT_EQ(canary[1], CPoint2f(4, 2));
}

TEST(Ellipse2f, ClosestPointParameter) {
    const CEllipse2f circle(CPoint2f(1, 1), 2, 2, 0);
    EXPECT_EQ(circle.ParameterOfClosestPoint(circle.center), 0.0f);
    // A circle needs no correction: the polar angle is returned as it is.
    EXPECT_EQ(circle.ParameterOfClosestPoint(CPoint2f(4, 5)), std::atan2(4.0f, 3.0f));
    EXPECT_EQ(circle.ParameterOfClosestPoint(CPoint2f(1, 1.0009f)), 0.0f);  // within EqualTol of the centre
    EXPECT_NEAR(circle.ParameterOfClosestPoint(CPoint2f(1, 1.002f)), kPi / 2, 1e-6f);

    // On a rotated, translated ellipse: points off the outline along its normal,
    // inside and outside, lead back to the foot of that normal.
    const CEllipse2f e(CRect2f(0, 0, 10, 4), AffineTransform::Translate(1, -2) * AffineTransform::Rotate(0.4f));
    for (float t0 : {0.3f, 1.2f, 2.8f, 4.0f, 5.5f}) {
        for (float offset : {0.5f, -0.3f}) {
            CPoint2f foot;
            CVector2f tan;
            e.GetPointAndTangentAtParameter(t0, foot, tan);
            const CPoint2f p = foot + CVector2f(tan.y, -tan.x) * (offset / tan.Length());
            const float t = e.ParameterOfClosestPoint(p);
            ExpectNear(e.GetPointAtParameter(t), foot, 2e-3f);
        }
    }
}
