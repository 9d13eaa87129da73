#include <geometry/triangleclipper.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace velmor::geometry;
using P3 = CPoint3d;
using Tri = TriangleClipper::IndexedTriangle;
using Tris = std::vector<Tri>;

namespace {

bool Same(const P3& a, const P3& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

CVector3d Normal(const P3& a, const P3& b, const P3& c) { return (b - a) * (c - a); }

// Reference: the polygon of a triangle clipped by the same half-spaces, one plane
// at a time (Sutherland-Hodgman on the vertex loop).
std::vector<P3> ClipPolygon(std::vector<P3> poly, const std::vector<ClipPlane>& planes) {
    for (const ClipPlane& plane : planes) {
        std::vector<P3> out;
        for (std::size_t i = 0; i < poly.size(); ++i) {
            const P3& a = poly[i];
            const P3& b = poly[(i + 1) % poly.size()];
            const bool ina = plane.IsInside(a), inb = plane.IsInside(b);
            if (ina) out.push_back(a);
            if (ina != inb) out.push_back(plane.Intersection(a, b));
        }
        poly = out;
    }
    return poly;
}

// Twice the area of a planar polygon, measured along the unit normal n.
double TwiceArea(const std::vector<P3>& poly, const CVector3d& n) {
    CVector3d sum;
    for (std::size_t i = 1; i + 1 < poly.size(); ++i) sum += Normal(poly[0], poly[i], poly[i + 1]);
    return Dot(sum, n);
}

}  // namespace

TEST(ClipPlane, InclusiveSideAxisSelectionAndCrossing) {
    const P3 p(1, 2, 3);
    EXPECT_TRUE(ClipPlane(true, 1, 0).IsInside(p) && ClipPlane(false, 1, 0).IsInside(p));  // on the plane: inside
    EXPECT_FALSE(ClipPlane(true, 2.5, 1).IsInside(p) || ClipPlane(false, 2.5, 2).IsInside(p));
    // Any axis other than 0 and 1 reads z.
    EXPECT_TRUE(ClipPlane(false, 3, 7).IsInside(p) && !ClipPlane(false, 2.9, -1).IsInside(p));

    const P3 c = ClipPlane(true, 1, 0).Intersection(P3(0, 0, 0), P3(4, 8, 12));
    EXPECT_TRUE(Same(c, P3(1, 2, 3)));
    EXPECT_TRUE(Same(ClipPlane(false, 6, 5).Intersection(P3(4, 8, 12), P3(0, 0, 0)), P3(2, 4, 6)));
    // A parallel edge has no crossing: the guard answers +inf on every axis.
    const P3 g = ClipPlane(true, 1, 1).Intersection(P3(0, 5, 0), P3(3, 5, 9));
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(g.x == inf && g.y == inf && g.z == inf);
}

TEST(TriangleClipper, ExtentPlanesInClippingOrder) {
    std::vector<P3> pool;
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(-1, -2, -3), P3(4, 5, 6)));
    const ClipPlane expected[6] = {{false, 5, 1}, {true, -2, 1}, {false, 4, 0},
                                   {true, -1, 0}, {false, 6, 2}, {true, -3, 2}};
    ASSERT_EQ(clipper.clipPlanes.size(), 6u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(clipper.extentPlanes[i], i);
        EXPECT_EQ(clipper.clipPlanes[i].keepGreater, expected[i].keepGreater) << i;
        EXPECT_EQ(clipper.clipPlanes[i].value, expected[i].value) << i;
        EXPECT_EQ(clipper.clipPlanes[i].axis, expected[i].axis) << i;
    }
    TriangleClipper2D flat(&pool, CBoundingBox2d(CPoint2d(0, 0), CPoint2d(1, 1)));
    EXPECT_EQ(flat.clipPlanes.size(), 4u);
    EXPECT_EQ(flat.AddClipPlane(ClipPlane(true, 0, 2)), 4);  // the index before the append

    // Deleting through the base pointer runs the whole destructor chain.
    std::unique_ptr<TriangleClipper> owned = std::make_unique<TriangleClipper3D>(&pool, CBoundingBox3d());
    owned.reset();
}

TEST(TriangleClipper, KeptAndRejectedTrianglesLeaveThePoolAlone) {
    std::vector<P3> pool = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.5, 0.5, 2}, {2, 2, 0}, {3, 2, 0}, {2, 3, 0}};
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, 0), P3(1, 1, 1)));
    Tris result = {{{9, 9, 9}}};  // appended to, never cleared

    // Every vertex on a face of the box: kept whole, the same indices.
    clipper.ClipToExtents({{0, 1, 2}}, &result);
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[0], (Tri{{9, 9, 9}}));
    EXPECT_EQ(result[1], (Tri{{0, 1, 2}}));
    EXPECT_EQ(pool.size(), 7u);

    // Wholly outside x max (but inside y): nothing comes out and nothing is added.
    clipper.ClipToExtents({{4, 5, 6}}, &result);
    EXPECT_EQ(result.size(), 2u);
    EXPECT_EQ(pool.size(), 7u);

    // The 2D clipper does not bound z.
    TriangleClipper2D flat(&pool, CBoundingBox2d(CPoint2d(0, 0), CPoint2d(1, 1)));
    flat.ClipToExtents({{0, 3, 1}}, &result);
    ASSERT_EQ(result.size(), 3u);
    EXPECT_EQ(result[2], (Tri{{0, 3, 1}}));

    // With no planes a triangle passes unchanged, whatever its points.
    TriangleClipper none(&pool);
    none.ClipToExtents({{6, 5, 4}}, &result);
    EXPECT_EQ(result.back(), (Tri{{6, 5, 4}}));
    EXPECT_EQ(pool.size(), 7u);
}

TEST(TriangleClipper, SplitAddsThreePointsWithTheSecondCrossingTwice) {
    std::vector<P3> pool = {{0.5, 0.5, 0}, {2, 0.5, 0}, {0.5, 0.9, 7}};
    TriangleClipper2D clipper(&pool, CBoundingBox2d(CPoint2d(0, 0), CPoint2d(1, 1)));
    Tris result;
    clipper.ClipToExtents({{0, 1, 2}}, &result);
    // x max cuts vertex 1 away: prev is vertex 0, next vertex 2.
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[0], (Tri{{0, 3, 4}}));
    EXPECT_EQ(result[1], (Tri{{2, 0, 5}}));
    ASSERT_EQ(pool.size(), 6u);
    EXPECT_TRUE(Same(pool[3], P3(1, 0.5, 0)));
    const P3 i2 = P3(2, 0.5, 0) + (P3(0.5, 0.9, 7) - P3(2, 0.5, 0)) * ((1.0 - 2.0) / (0.5 - 2.0));
    EXPECT_TRUE(Same(pool[4], i2) && Same(pool[5], i2));  // not de-duplicated
    EXPECT_DOUBLE_EQ(pool[4].z, 14.0 / 3.0);              // z follows the cut edge
    EXPECT_DOUBLE_EQ(pool[4].y, 0.5 + 0.4 * 2.0 / 3.0);
}

TEST(TriangleClipper, ShortenKeepsOneVertexAndAddsTwoPoints) {
    // Only vertex 1 is below x = 1: kept vertex, the point on edge 1-2, then on 0-1.
    std::vector<P3> pool = {{3, 0, 0}, {0, 0, 0}, {3, 3, 0}};
    TriangleClipper clipper(&pool, {ClipPlane(false, 1, 0)});
    Tris result;
    clipper.ClipToExtents({{0, 1, 2}}, &result);
    ASSERT_EQ(result.size(), 1u);
    EXPECT_EQ(result[0], (Tri{{1, 3, 4}}));
    ASSERT_EQ(pool.size(), 5u);
    EXPECT_TRUE(Same(pool[3], P3(1, 1, 0)));  // on edge 1 -> 2
    EXPECT_TRUE(Same(pool[4], P3(1, 0, 0)));  // on edge 0 -> 1

    // Called directly, out-of-range positions append nothing.
    clipper.ShortenTriangle(clipper.clipPlanes[0], {{0, 1, 2}}, 3, &result);
    clipper.SplitTriangle(clipper.clipPlanes[0], {{0, 1, 2}}, -1, &result);
    EXPECT_EQ(result.size(), 1u);
    EXPECT_EQ(pool.size(), 5u);
}

TEST(TriangleClipper, PiecesArriveInOrderAcrossPlanes) {
    // y max splits first, then x max shortens the first half and splits the second.
    std::vector<P3> pool = {{0.5, 0.5, 0}, {2, 0.5, 0}, {0.5, 2, 0}};
    TriangleClipper2D clipper(&pool, CBoundingBox2d(CPoint2d(0, 0), CPoint2d(1, 1)));
    Tris result;
    clipper.ClipToExtents({{0, 1, 2}}, &result);
    // After y max: (1, 3, 4) and (0, 1, 5) with 3 = (1.5, 1), 4 = 5 = (0.5, 1).
    // x max on (1, 3, 4) keeps only 4: (4, 6, 7) with 6 on 4->1, 7 = (1, 1) on 3->4.
    // x max on (0, 1, 5) cuts 1: (0, 8, 9), (5, 0, 10).
    const Tris expected = {{{4, 6, 7}}, {{0, 8, 9}}, {{5, 0, 10}}};
    ASSERT_EQ(result.size(), 3u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(result[i], expected[i]) << i;
    ASSERT_EQ(pool.size(), 11u);
    EXPECT_TRUE(Same(pool[3], P3(1.5, 1, 0)) && Same(pool[4], P3(0.5, 1, 0)) && Same(pool[5], P3(0.5, 1, 0)));
    EXPECT_TRUE(Same(pool[7], P3(1, 1, 0)) && Same(pool[8], P3(1, 0.5, 0)));
    EXPECT_TRUE(Same(pool[9], pool[10]));
    double area = 0;
    for (const Tri& t : result) area += Normal(pool[t.indices[0]], pool[t.indices[1]], pool[t.indices[2]]).z;
    EXPECT_NEAR(area, 2 * 0.25, 1e-15);  // the square [0.5, 1] x [0.5, 1]
}

TEST(TriangleClipper, RandomTrianglesKeepWindingAndArea) {
    std::mt19937_64 rng(20240611);
    std::uniform_real_distribution<double> u(-1.0, 2.0);
    std::vector<P3> pool;
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, 0), P3(1, 1, 1)));
    int pieces = 0;
    for (int iter = 0; iter < 3000; ++iter) {
        pool.clear();
        for (int k = 0; k < 3; ++k) pool.emplace_back(u(rng), u(rng), u(rng));
        const CVector3d nIn = Normal(pool[0], pool[1], pool[2]);
        const double len = std::sqrt(nIn.LengthSquared());
        const CVector3d unit = nIn / len;
        Tris result;
        clipper.ClipToExtents({{0, 1, 2}}, &result);
        pieces += static_cast<int>(result.size());

        double twiceArea = 0;
        for (const Tri& t : result) {
            const P3 &a = pool.at(t.indices[0]), &b = pool.at(t.indices[1]), &c = pool.at(t.indices[2]);
            const CVector3d n = Normal(a, b, c);
            // Same winding: never pointing against the input normal beyond rounding.
            EXPECT_GE(Dot(n, unit), -1e-12 * len) << iter;
            twiceArea += Dot(n, unit);
            for (const P3* p : {&a, &b, &c})
                EXPECT_TRUE(p->x >= -1e-12 && p->x <= 1 + 1e-12 && p->y >= -1e-12 && p->y <= 1 + 1e-12 &&
                            p->z >= -1e-12 && p->z <= 1 + 1e-12)
                    << iter;
        }
        const std::vector<P3> poly = ClipPolygon({pool[0], pool[1], pool[2]}, clipper.clipPlanes);
        EXPECT_NEAR(twiceArea, TwiceArea(poly, unit), 1e-9 * len) << iter;
    }
    EXPECT_GT(pieces, 1000);  // the loop really clipped something
}

TEST(TriangleClipper, BadIndicesThrowBeforeAnythingIsAppended) {
    std::vector<P3> pool = {{0, 0, 0}, {5, 0, 0}, {0, 5, 0}};
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, -1), P3(1, 1, 1)));
    Tris result = {{{0, 1, 2}}};
    for (const Tri& bad : {Tri{{0, 1, 3}}, Tri{{0, -1, 2}}, Tri{{std::numeric_limits<int>::min(), 1, 2}}}) {
        try {
            clipper.ClipToExtents(bad, &result);
            ADD_FAILURE() << "no exception";
        } catch (const std::out_of_range& e) {
            EXPECT_EQ(std::string(e.what()).rfind("vector::_M_range_check", 0), 0u) << e.what();
        }
        EXPECT_EQ(result.size(), 1u);
        EXPECT_EQ(pool.size(), 3u);
    }
    EXPECT_THROW(clipper.ClipToPlane(clipper.clipPlanes[0], {{0, 1, 7}}, &result), std::out_of_range);
    // The clipper is still usable afterwards: x max and y max each cut the triangle.
    clipper.ClipToExtents({{0, 1, 2}}, &result);
    EXPECT_EQ(result.size(), 1u + 3u);
    EXPECT_EQ(pool.size(), 3u + 3u + 2u + 3u);
}

TEST(TriangleClipper, AddIndexedTriangleCopiesPointsThatLiveInThePool) {
    std::vector<P3> pool = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    pool.shrink_to_fit();  // the next append reallocates
    TriangleClipper clipper(&pool);
    EXPECT_EQ(clipper.AddIndexedTriangle(pool[0], pool[1], pool[2]), (Tri{{3, 4, 5}}));
    pool.shrink_to_fit();
    EXPECT_EQ(clipper.AddIndexedTriangle(8, pool[2], pool[0]), (Tri{{8, 6, 7}}));
    pool.shrink_to_fit();
    EXPECT_EQ(clipper.AddIndexedTriangle(1, 2, pool[1]), (Tri{{1, 2, 8}}));
    const std::vector<P3> expected = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {1, 2, 3}, {4, 5, 6},
                                      {7, 8, 9}, {7, 8, 9}, {1, 2, 3}, {4, 5, 6}};
    ASSERT_EQ(pool.size(), expected.size());
    for (std::size_t i = 0; i < pool.size(); ++i) EXPECT_TRUE(Same(pool[i], expected[i])) << i;
}

TEST(TriangleClipper, NonFiniteVerticesFinish) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    std::vector<P3> pool = {{0.5, 0.5, 0.5}, {nan, 0.5, 0.5}, {0.2, inf, 0.5}, {0.5, 0.2, 0.5}};
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, 0), P3(1, 1, 1)));
    Tris result;
    clipper.ClipToExtents({{0, 1, 3}}, &result);  // NaN is outside every plane
    clipper.ClipToExtents({{0, 2, 3}}, &result);
    clipper.ClipToExtents({{1, 2, 1}}, &result);
    for (const Tri& t : result)
        for (int i : t.indices) EXPECT_LT(static_cast<std::size_t>(i), pool.size());
}
