#include <geometry/cubicbezier2f.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace velmor::geometry;

TEST(PointInsideTriangle, InclusiveInEveryVertexOrder) {
    const CPoint2f v[3] = {CPoint2f(0, 0), CPoint2f(4, 0), CPoint2f(0, 4)};
    const CPoint2f in[] = {v[0], v[1], v[2], CPoint2f(2, 0), CPoint2f(2, 2), CPoint2f(0, 2), CPoint2f(1, 1)};
    // One point beyond each edge, one of them an ulp past the long edge.
    const CPoint2f out[] = {CPoint2f(2, -0.5f), CPoint2f(-0.5f, 2), CPoint2f(2, std::nextafter(2.0f, 3.0f))};
    const int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (const auto& o : orders) {
        const CPoint2f &a = v[o[0]], &b = v[o[1]], &c = v[o[2]];
        for (const CPoint2f& p : in) EXPECT_TRUE(PointInsideTriangle(p, a, b, c)) << p.x << ", " << p.y;
        for (const CPoint2f& p : out) EXPECT_FALSE(PointInsideTriangle(p, a, b, c)) << p.x << ", " << p.y;
    }
}

TEST(PointInsideTriangle, DegenerateTriangleContainsEveryPoint) {
    const CPoint2f a(0, 0), b(1, 1), c(2, 2);
    for (const CPoint2f& p : {CPoint2f(5, -3), CPoint2f(-7, 9)}) {
        EXPECT_TRUE(PointInsideTriangle(p, a, b, c));
        EXPECT_TRUE(PointInsideTriangle(p, c, a, c));
    }
}
