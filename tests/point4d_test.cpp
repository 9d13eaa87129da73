#include <geometry/point4d.h>
#include <geometry/sphere3d.h>

#include <gtest/gtest.h>

using namespace velmor::geometry;

TEST(CPoint4d, WidensWithWeightAndDividesByTheReciprocal) {
    const CPoint4d p(CPoint3d(2.0, 4.0, 6.0));
    EXPECT_EQ(p, CPoint4d(2.0, 4.0, 6.0, 1.0));
    const CUnitVector3d u(0.0, 3.0, 4.0);
    EXPECT_EQ(CPoint4d(u), CPoint4d(u.x, u.y, u.z, 0.0));

    CPoint4d scaled = p * 2.0;
    scaled.HomogeneousDivide();
    EXPECT_EQ(scaled, p);

    // 5 * (1/3) and 5 / 3 differ in the last bit; the reciprocal form is the one used.
    CPoint4d q(5.0, 7.0, -1.0, 3.0);
    q.HomogeneousDivide();
    ASSERT_NE((1.0 / 3.0) * 5.0, 5.0 / 3.0);
    EXPECT_EQ(q, CPoint4d((1.0 / 3.0) * 5.0, (1.0 / 3.0) * 7.0, (1.0 / 3.0) * -1.0, 1.0));
}

TEST(CPoint4d, DifferenceAndAddScaledIncludeTheWeight) {
    const CPoint4d p(0.0, 2.0, -4.0, 1.0);
    const CPoint4d q(4.0, 2.0, 4.0, 3.0);
    const CVector4d d = q - p;
    EXPECT_EQ(d, CVector4d(4.0, 0.0, 8.0, 2.0));
    CPoint4d mid(9.0, 9.0, 9.0, 9.0);
    mid.AddScaled(p, 0.5, d);
    EXPECT_EQ(mid, CPoint4d(2.0, 2.0, 0.0, 2.0));
    EXPECT_EQ(mid.ToPoint3d().x, 1.0);

    const CSphere3d s(CPoint3d(1.0, -2.0, 3.0), -0.5);
    EXPECT_EQ(s.radius, -0.5);  // stored as given, not validated
}
