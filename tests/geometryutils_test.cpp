#include <geometry/geometryutils.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using plenar_test::ToleranceGuard;

namespace {

// Classifies p against every rotation of the vertex list, forwards and reversed:
// the answer must not depend on the orientation or on the first vertex.
void ExpectEveryWay(const std::vector<CPoint2f>& polygon, const CPoint2f& p, int expected) {
    for (int reversed = 0; reversed < 2; ++reversed) {
        std::vector<CPoint2f> poly = polygon;
        if (reversed) std::reverse(poly.begin(), poly.end());
        for (size_t start = 0; start < poly.size(); ++start) {
            EXPECT_EQ(PointInPolygon(p, poly.data(), static_cast<unsigned int>(poly.size())), expected)
                << "point (" << p.x << ", " << p.y << "), start " << start << (reversed ? ", reversed" : "");
            std::rotate(poly.begin(), poly.begin() + 1, poly.end());
        }
    }
}

const std::vector<CPoint2f> kSquare = {CPoint2f(0, 0), CPoint2f(1, 0), CPoint2f(1, 1), CPoint2f(0, 1)};

}  // namespace

TEST(PointInPolygon, BandBoundariesOnEverySide) {
    const float t = 1.0f / 1024;  // a power of two keeps every offset exact
    ToleranceGuard tol(t);
    // Offsets across each side, inward positive: exactly the tolerance inside is
    // inside, exactly the tolerance outside is outside, anything between is on the edge.
    const float offsets[5] = {-t, -t / 2, 0, t / 2, t};
    const int expected[5] = {OutsidePolygon, OnPolygonEdge, OnPolygonEdge, OnPolygonEdge, InsidePolygon};
    for (int i = 0; i < 5; ++i) {
        const float o = offsets[i];
        ExpectEveryWay(kSquare, CPoint2f(o, 0.5f), expected[i]);
        ExpectEveryWay(kSquare, CPoint2f(1 - o, 0.5f), expected[i]);
        ExpectEveryWay(kSquare, CPoint2f(0.5f, o), expected[i]);
        ExpectEveryWay(kSquare, CPoint2f(0.5f, 1 - o), expected[i]);
    }
    // The vertex test is strict in each coordinate.
    ExpectEveryWay(kSquare, CPoint2f(1 + t / 2, 1 - t / 2), OnPolygonVertex);
    ExpectEveryWay(kSquare, CPoint2f(1 - t, 1), OnPolygonEdge);
    ExpectEveryWay(kSquare, CPoint2f(1 + t, 1), OutsidePolygon);

    // A vertex exactly the tolerance above (below) p counts as above (below) the
    // ray's line on both its edges, so a point that far below a peak is inside.
    const std::vector<CPoint2f> diamond = {CPoint2f(1, 0), CPoint2f(2, 1), CPoint2f(1, 2), CPoint2f(0, 1)};
    ExpectEveryWay(diamond, CPoint2f(1, 2 - t), InsidePolygon);
    ExpectEveryWay(diamond, CPoint2f(1, t), InsidePolygon);
}

TEST(PointInPolygon, ConcaveAndSelfIntersectingPolygons) {
    const std::vector<CPoint2f> ell = {CPoint2f(0, 0), CPoint2f(2, 0), CPoint2f(2, 1),
                                       CPoint2f(1, 1), CPoint2f(1, 2), CPoint2f(0, 2)};
    ExpectEveryWay(ell, CPoint2f(0.5f, 1), InsidePolygon);  // level with the reflex vertex
    ExpectEveryWay(ell, CPoint2f(1.5f, 1.5f), OutsidePolygon);

    // A pentagram counts crossings: its centre is crossed twice, so outside.
    std::vector<CPoint2f> star;
    for (int k = 0; k < 5; ++k) {
        const double a = 1.5707963267948966 + 4 * 3.141592653589793 * k / 5;
        star.emplace_back(static_cast<float>(std::cos(a)), static_cast<float>(std::sin(a)));
    }
    ExpectEveryWay(star, CPoint2f(0, 0), OutsidePolygon);
    ExpectEveryWay(star, CPoint2f(0, 0.8f), InsidePolygon);
}

TEST(PointInPolygon, DegenerateInputs) {
    EXPECT_EQ(PointInPolygon(CPoint2f(), nullptr, 0), OutsidePolygon);
    EXPECT_EQ(PointInPolygon(CPoint2f(std::nanf(""), 0), kSquare.data(), OnPolygonVertex), 8);
}
