#include <geometry/point2d.h>
#include <geometry/point2f.h>

#include <gtest/gtest.h>

#include <limits>

using namespace velmor::geometry;

TEST(Point2d, WideningIsExactAndValidityRejectsNonFinite) {
    EXPECT_EQ(CPoint2d(CPoint2f(0.1f, -3.5f)).x, static_cast<double>(0.1f));
    EXPECT_EQ(CVector2d(CVector2f(1e-30f, 0.3f)).y, static_cast<double>(0.3f));
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(CPoint2d(1e30, -std::numeric_limits<double>::max()).IsValidObj());
    EXPECT_FALSE(CPoint2d(std::numeric_limits<double>::quiet_NaN(), 0).IsValidObj());
    EXPECT_FALSE(CPoint2d(0, -inf).IsValidObj());
}
