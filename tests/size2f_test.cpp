#include <geometry/size2f.h>

#include <gtest/gtest.h>

#include <cmath>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;

TEST(Size2f, EqualityIsInclusiveAndIsZeroStrict) {
    EXPECT_TRUE(CSize2f::ZeroSize.IsZero());
    EXPECT_EQ(CSize2f().width, 0.0f);
    plenar_test::ToleranceGuard tol(0.125);
    EXPECT_TRUE(CSize2f(2, 3) == CSize2f(2.125f, 2.875f));
    EXPECT_TRUE(CSize2f(2, 3) != CSize2f(2, std::nextafter(3.125f, 4.0f)));
    EXPECT_FALSE(CSize2f(0, -0.125f).IsZero());
    EXPECT_FALSE(CSize2f(-0.125f, 0).IsZero());
    EXPECT_TRUE(CSize2f(std::nextafter(0.125f, 0.0f), -0.1f).IsZero());
}
