#include <geometry/affinetransform.h>

#include "support/predicates.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using namespace plenar_test;
using plenar_test::ToleranceGuard;

namespace {

constexpr float kHalfPi = 1.57079632679489661923f;

void ExpectFields(const AffineTransform& t, float a, float b, float c, float d, float tx, float ty) {
    const float expected[6] = {a, b, c, d, tx, ty};
    float actual[6];
    t.Get(actual);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(actual[i], expected[i]) << "field " << i;
}

}  // namespace

TEST(AffineTransform, FactoriesAndApplication) {
    ExpectFields(AffineTransform(), 1, 0, 0, 1, 0, 0);
    ExpectFields(AffineTransform::Scale(CPoint2f(1, 2), 2, 3), 2, 0, 0, 3, -1, -4);
    const AffineTransform rot = AffineTransform::Rotate(kHalfPi);
    EXPECT_EQ(rot.b, -1.0f);
    EXPECT_TRUE(NearXy(rot * CPoint2f(1, 0), CPoint2f(0, 1), 1e-5));
    const CPoint2f center(3, -2);
    EXPECT_TRUE(NearXy(AffineTransform::Rotate(center, 0.7f) * center, center, 1e-5));
    EXPECT_TRUE(NearXy(AffineTransform::Rotate(center, kHalfPi) * CPoint2f(4, -2), CPoint2f(3, -1), 1e-5));

    const AffineTransform t(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(t * CPoint2f(1, -1), CPoint2f(4, 5));
    EXPECT_EQ(t * CVector2f(1, -1), CVector2f(-1, -1));  // no translation
    CPoint2d pd(1, -1);
    CVector2d vd(1, -1);
    t.Transform(pd);
    t.Transform(vd);
    EXPECT_EQ(pd, CPoint2d(4, 5));
    EXPECT_EQ(vd, CVector2d(-1, -1));
    // Double points are mapped in double: 1 + 1e-10 survives.
    EXPECT_EQ((AffineTransform::Translate(1, 0) * CPoint2d(1e-10, 0)).x, 1.0 + 1e-10);
    EXPECT_EQ(t.GetTranslation(), CVector2f(5, 6));
}

TEST(AffineTransform, CompositionAppliesTheRightOperandFirst) {
    const AffineTransform T = AffineTransform::Translate(5, 0);
    const AffineTransform O = AffineTransform::Rotate(kHalfPi);
    EXPECT_TRUE(NearXy((O * T) * CPoint2f(1, 0), CPoint2f(0, 6), 1e-5));

    const AffineTransform A(1, 2, 3, 4, 5, 6), B(0, -1, 2, 1, -3, 7);
    ExpectFields(A * B, 4, 1, 8, 1, 16, 25);
    ExpectFields(B * A, -3, -4, 5, 8, -9, 23);
}

TEST(AffineTransform, InvertUsesTheSquaredToleranceAsSingularityThreshold) {
    AffineTransform t = AffineTransform::Translate(3, 4);
    EXPECT_TRUE(t.Invert());
    ExpectFields(t, 1, 0, 0, 1, -3, -4);
    AffineTransform g(2, 1, 1, 1, 3, 4);
    EXPECT_TRUE(g.Invert());
    ExpectFields(g, 1, -1, -1, 2, 1, -5);

    AffineTransform flat = AffineTransform::Scale(0, 1);
    EXPECT_FALSE(flat.Invert());
    ExpectFields(flat, 0, 0, 0, 1, 0, 0);
    // 1e-6f lies just below 1e-6 in double: singular. The next float up is not.
    AffineTransform below(1e-6f, 0, 0, 1, 2, 2);
    EXPECT_FALSE(below.IsValid());
    EXPECT_FALSE(below.Invert());
    ExpectFields(below, 1e-6f, 0, 0, 1, 2, 2);
    EXPECT_TRUE(AffineTransform(std::nextafter(1e-6f, 1.0f), 0, 0, 1, 2, 2).IsValid());
    {
        // A determinant exactly at the squared tolerance is not singular (strict).
        SquaredToleranceGuard sq(0x1p-4);
        EXPECT_TRUE(AffineTransform::Scale(0.25f, 0.25f).IsValid());
    }

    // Below EqualTol but above its square is fine; EqualTolSq ignores later EqualTol changes.
    ToleranceGuard tol(0.5);
    AffineTransform small = AffineTransform::Scale(0.0005f, 1);
    EXPECT_TRUE(small.Invert());
    EXPECT_FLOAT_EQ(small.a, 2000.0f);
}

TEST(AffineTransform, RotationAngleIsThatOfTheImageOfTheXAxis) {
    EXPECT_FLOAT_EQ((AffineTransform::Rotate(-0.5f) * AffineTransform::Scale(3)).GetRotationAngle(), -0.5f);
    EXPECT_FLOAT_EQ(AffineTransform::Scale(-1, 1).GetRotationAngle(), 2 * kHalfPi);
    // The image of (1, 0) has x = -0*1 + 1*0 = +0, so the angle is 0, not pi.
    EXPECT_EQ(AffineTransform(-0.0f, 1, 0, 1, 0, 0).GetRotationAngle(), 0.0f);
}
