#include <geometry/raytriangle.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/random.h"

using namespace velmor::geometry;
using P3 = CPoint3d;

namespace {

using Rng = plenar_test::SplitMix64;

bool Hit(const CRay3d& ray, const P3& a, const P3& b, const P3& c) {
    double t = 0, u = 0, v = 0;
    return IntersectTriangle(ray, a, b, c, t, u, v);
}

// A grid of n x n cells over [0, n]^2, two triangles per cell, with jittered
// heights and a non-dyadic scale so that nothing is exactly representable; the
// diagonals alternate, so vertices are shared by fans of four to eight triangles.
struct Mesh {
    std::vector<P3> points;
    std::vector<int> triangles;  // three indices each, all wound the same way
};

Mesh JitteredGrid(Rng& rng, int n, double scale) {
    Mesh m;
    for (int j = 0; j <= n; ++j)
        for (int i = 0; i <= n; ++i) m.points.push_back(P3(scale * i, scale * j, scale * rng.Uniform(-0.3, 0.3)));
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            const int p = j * (n + 1) + i, q = p + 1, r = p + n + 1, s = r + 1;
            const int cell[2][6] = {{p, q, s, p, s, r}, {p, q, r, q, s, r}};
            for (int k : cell[(i + j) % 2]) m.triangles.push_back(k);
        }
    return m;
}

int CountHits(const Mesh& m, const CRay3d& ray) {
    int hits = 0;
    for (std::size_t k = 0; k < m.triangles.size(); k += 3)
        hits += Hit(ray, m.points[m.triangles[k]], m.points[m.triangles[k + 1]], m.points[m.triangles[k + 2]]);
    return hits;
}

}  // namespace

TEST(RayTriangle, ParameterBarycentricsAndTheClosedTriangle) {
    const P3 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
    double t = -1, u = -1, v = -1;
    ASSERT_TRUE(IntersectTriangle(CRay3d(P3(0.25, 0.5, 2), CUnitVector3d(0, 0, -1)), a, b, c, t, u, v));
    EXPECT_EQ(t, 2.0);
    EXPECT_EQ(u, 0.25);
    EXPECT_EQ(v, 0.5);
    // A hit at the origin (t = 0) counts.
    EXPECT_TRUE(IntersectTriangle(CRay3d(P3(0.25, 0.25, 0), CUnitVector3d(0, 0, 1)), a, b, c, t, u, v));
    EXPECT_EQ(t, 0.0);
    // Equal direction components: the earlier axis, x, is the depth axis, so t is the
    // distance along x over direction.x exactly.
    const CRay3d diagonal(P3(0, 0, 0), CUnitVector3d(1, 1, 1));
    ASSERT_TRUE(IntersectTriangle(diagonal, P3(1, -1, 0), P3(1, 2, 1), P3(1, 0, 3), t, u, v));
    EXPECT_EQ(t, 1 / diagonal.direction.x);
    // Behind the origin: missed, outputs untouched.
    t = u = v = 42;
    EXPECT_FALSE(IntersectTriangle(CRay3d(P3(0.25, 0.25, 1e-300), CUnitVector3d(0, 0, 1)), a, b, c, t, u, v));
    EXPECT_EQ(t + u + v, 126.0);

    // Edges and vertices belong to the triangle, exactly; a hair outside does not.
    const double just = -0x1p-60, over = std::nextafter(0.5, 1.0);
    const CUnitVector3d down(0, 0, -1);
    EXPECT_TRUE(IntersectTriangle(CRay3d(P3(0.5, 0, 1), down), a, b, c, t, u, v));
    EXPECT_EQ(v, 0.0);  // on edge a-b
    EXPECT_TRUE(IntersectTriangle(CRay3d(P3(1, 0, 1), down), a, b, c, t, u, v));
    EXPECT_EQ(u, 1.0);
    EXPECT_FALSE(Hit(CRay3d(P3(0.5, just, 1), down), a, b, c));
    EXPECT_FALSE(Hit(CRay3d(P3(0.5, over, 1), down), a, b, c));

    // Degenerate and non-finite input misses.
    EXPECT_FALSE(Hit(CRay3d(P3(0.5, 0, 1), down), a, b, P3(2, 0, 0)));  // collinear corners
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(Hit(CRay3d(P3(nan, 0.2, 1), down), a, b, c));
    EXPECT_FALSE(Hit(CRay3d(P3(0.2, 0.2, 1), CUnitVector3d::FromComponents(0, 0, 0)), a, b, c));
}

TEST(RayTriangle, HitDoesNotDependOnVertexOrder) {
    // A rotated order sees the same edge functions rotated, a swapped one sees them
    // negated, so they agree on every ray, including the ones aimed at edges and corners.
    Rng rng(17);
    for (int q = 0; q < 3000; ++q) {
        const P3 p[3] = {P3(rng.Uniform(-1, 1), rng.Uniform(-1, 1), rng.Uniform(-1, 1)),
                         P3(rng.Uniform(-1, 1), rng.Uniform(-1, 1), rng.Uniform(-1, 1)),
                         P3(rng.Uniform(-1, 1), rng.Uniform(-1, 1), rng.Uniform(-1, 1))};
        const int e = rng.Int(0, 2);
        const double s = q % 3 == 0 ? 0.0 : rng.Uniform(-0.2, 1.2);
        const P3 target = p[e] + (p[(e + 1) % 3] - p[e]) * s;
        const P3 origin(rng.Uniform(-5, 5), rng.Uniform(-5, 5), rng.Uniform(-5, 5));
        const CRay3d ray(origin, CUnitVector3d(target - origin));
        const bool hit = Hit(ray, p[0], p[1], p[2]);
        EXPECT_EQ(Hit(ray, p[1], p[2], p[0]), hit);
        EXPECT_EQ(Hit(ray, p[1], p[0], p[2]), hit);
    }
}

TEST(RayTriangle, RaysThroughSharedEdgesAndVerticesOfAMeshNeverSlipThrough) {
    // Rays aimed exactly at points of interior edges, at interior vertices and at
    // triangle middles of a jittered grid, from above, below and far to the side:
    // each meets at least one triangle around that point.
    Rng rng(1234);
    const int n = 8;
    for (double scale : {1.0, 0.1, 3.7e5}) {
        const Mesh m = JitteredGrid(rng, n, scale);
        for (int q = 0; q < 4000; ++q) {
            const std::size_t tri =
                3 * static_cast<std::size_t>(rng.Int(0, static_cast<int>(m.triangles.size() / 3) - 1));
            const P3 corner[3] = {m.points[m.triangles[tri]], m.points[m.triangles[tri + 1]],
                                  m.points[m.triangles[tri + 2]]};
            P3 target;
            const int kind = q % 4;
            if (kind == 0) {
                target = corner[rng.Int(0, 2)];
            } else if (kind == 3) {
                target = corner[0] + (corner[1] - corner[0]) * (1.0 / 3) + (corner[2] - corner[0]) * (1.0 / 3);
            } else {
                const int e = rng.Int(0, 2);
                target = corner[e] + (corner[(e + 1) % 3] - corner[e]) * rng.Uniform(0, 1);
            }
            // Stay off the grid's border, where an edge has one triangle and a
            // grazing ray may leave the mesh.
            if (target.x < scale * 0.5 || target.y < scale * 0.5 || target.x > scale * (n - 0.5) ||
                target.y > scale * (n - 0.5))
                continue;
            const double side = q % 3 == 0 ? -1.0 : 1.0;
            const P3 origin(target.x + scale * rng.Uniform(-3, 3), target.y + scale * rng.Uniform(-3, 3),
                            target.z + side * scale * rng.Uniform(2, 9));
            const CRay3d ray(origin, CUnitVector3d(target - origin));
            const int hits = CountHits(m, ray);
            ASSERT_GE(hits, 1) << "scale " << scale << " ray " << q << " kind " << kind;
        }
    }
}
