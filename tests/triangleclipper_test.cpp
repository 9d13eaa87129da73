#include <geometry/triangleclipper.h>

#include "support/predicates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/random.h"

using namespace velmor::geometry;
using namespace plenar_test;
using P3 = CPoint3d;
using Tri = TriangleClipper::IndexedTriangle;
using Tris = std::vector<Tri>;

namespace {

CVector3d Normal(const P3& a, const P3& b, const P3& c) { return (b - a) * (c - a); }

// Reference: twice the area, along n, of the triangle clipped one plane at a time
// (Sutherland-Hodgman on the vertex loop).
double ClippedTwiceArea(std::vector<P3> poly, const std::vector<ClipPlane>& planes, const CVector3d& n) {
    for (const ClipPlane& plane : planes) {
        std::vector<P3> out;
        for (std::size_t i = 0; i < poly.size(); ++i) {
            const P3 &a = poly[i], &b = poly[(i + 1) % poly.size()];
            if (plane.IsInside(a)) out.push_back(a);
            if (plane.IsInside(a) != plane.IsInside(b)) out.push_back(plane.Intersection(a, b));
        }
        poly = out;
    }
    double sum = 0;
    for (std::size_t i = 1; i + 1 < poly.size(); ++i) sum += Dot(Normal(poly[0], poly[i], poly[i + 1]), n);
    return sum;
}

// pool[first], pool[first + 1], ... are bit for bit the points of `expected`.
void ExpectPoolFrom(const std::vector<P3>& pool, std::size_t first, const std::vector<P3>& expected) {
    for (std::size_t k = 0; k < expected.size(); ++k)
        EXPECT_TRUE(SameXyz(pool.at(first + k), expected[k])) << first + k;
}

}  // namespace

TEST(ClipPlane, InclusiveSideAxisSelectionAndCrossing) {
    const P3 p(1, 2, 3);
    // On the plane is inside, from either side; axes other than 0 and 1 read z.
    for (const ClipPlane& c : {ClipPlane(true, 1, 0), ClipPlane(false, 1, 0), ClipPlane(false, 3, 7)})
        EXPECT_TRUE(c.IsInside(p)) << c.value;
    for (const ClipPlane& c : {ClipPlane(true, 2.5, 1), ClipPlane(false, 2.5, 2), ClipPlane(false, 2.9, -1)})
        EXPECT_FALSE(c.IsInside(p)) << c.value;
    EXPECT_TRUE(SameXyz(ClipPlane(false, 6, 5).Intersection(P3(4, 8, 12), P3(0, 0, 0)), P3(2, 4, 6)));
    // A parallel edge has no crossing: +inf on every axis.
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(SameXyz(ClipPlane(true, 1, 1).Intersection(P3(0, 5, 0), P3(3, 5, 9)), P3(inf, inf, inf)));
}

TEST(TriangleClipper, ExtentPlanesInClippingOrder) {
    std::vector<P3> pool;
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(-1, -2, -3), P3(4, 5, 6)));
    const ClipPlane expected[6] = {{false, 5, 1}, {true, -2, 1}, {false, 4, 0},
                                   {true, -1, 0}, {false, 6, 2}, {true, -3, 2}};
    ASSERT_EQ(clipper.clipPlanes.size(), 6u);
    for (int i = 0; i < 6; ++i) {
        const ClipPlane& c = clipper.clipPlanes[i];
        EXPECT_EQ(clipper.extentPlanes[i], i) << i;
        EXPECT_EQ(c.value, expected[i].value) << i;
        EXPECT_EQ(c.axis, expected[i].axis) << i;
    }
    TriangleClipper2D flat(&pool, CBoundingBox2d(CPoint2d(0, 0), CPoint2d(1, 1)));
    EXPECT_EQ(flat.AddClipPlane(ClipPlane(true, 0, 2)), 4);  // the index before the append
    std::unique_ptr<TriangleClipper> owned = std::make_unique<TriangleClipper3D>(&pool, CBoundingBox3d());
    owned.reset();  // deleting through the base pointer runs the whole destructor chain
}

TEST(TriangleClipper, KeptAndRejectedTrianglesLeaveThePoolAlone) {
    std::vector<P3> pool = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.5, 0.5, 2}, {2, 2, 0}, {3, 2, 0}, {2, 3, 0}};
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, 0), P3(1, 1, 1)));
    TriangleClipper2D flat(&pool, CBoundingBox2d(CPoint2d(0, 0), CPoint2d(1, 1)));
    TriangleClipper none(&pool);
    Tris result = {{{9, 9, 9}}};                  // appended to, never cleared
    clipper.ClipToExtents({{0, 1, 2}}, &result);  // every vertex on a face: kept whole
    clipper.ClipToExtents({{4, 5, 6}}, &result);  // wholly outside x max: nothing
    flat.ClipToExtents({{0, 3, 1}}, &result);     // the 2D clipper does not bound z
    none.ClipToExtents({{6, 5, 4}}, &result);     // no planes: passes unchanged
    EXPECT_EQ(result, (Tris{{{9, 9, 9}}, {{0, 1, 2}}, {{0, 3, 1}}, {{6, 5, 4}}}));
    EXPECT_EQ(pool.size(), 7u);
}

TEST(TriangleClipper, SplitShortenAndPiecesInOrderAcrossPlanes) {
    // x max cuts vertex 1 away (prev 0, next 2): the second crossing is added twice.
    std::vector<P3> pool = {{0.5, 0.5, 0}, {2, 0.5, 0}, {0.5, 0.9, 7}};
    TriangleClipper2D clipper(&pool, CBoundingBox2d(CPoint2d(0, 0), CPoint2d(1, 1)));
    Tris result;
    clipper.ClipToExtents({{0, 1, 2}}, &result);
    EXPECT_EQ(result, (Tris{{{0, 3, 4}}, {{2, 0, 5}}}));
    ASSERT_EQ(pool.size(), 6u);
    const P3 i2 = P3(2, 0.5, 0) + (P3(0.5, 0.9, 7) - P3(2, 0.5, 0)) * ((1.0 - 2.0) / (0.5 - 2.0));
    ExpectPoolFrom(pool, 3, {P3(1, 0.5, 0), i2, i2});

    // Only vertex 1 is kept: it, the point on edge 1-2, then on 0-1.
    std::vector<P3> pool2 = {{3, 0, 0}, {0, 0, 0}, {3, 3, 0}};
    TriangleClipper one(&pool2, {ClipPlane(false, 1, 0)});
    result.clear();
    one.ClipToExtents({{0, 1, 2}}, &result);
    EXPECT_EQ(result, (Tris{{{1, 3, 4}}}));
    ASSERT_EQ(pool2.size(), 5u);
    ExpectPoolFrom(pool2, 3, {P3(1, 1, 0), P3(1, 0, 0)});
    one.ShortenTriangle(one.clipPlanes[0], {{0, 1, 2}}, 3, &result);  // out-of-range positions: nothing
    one.SplitTriangle(one.clipPlanes[0], {{0, 1, 2}}, -1, &result);
    EXPECT_EQ(pool2.size(), 5u);

    // y max splits first into (1, 3, 4), (0, 1, 5); x max then shortens the first
    // (keeping 4) and splits the second.
    pool = {{0.5, 0.5, 0}, {2, 0.5, 0}, {0.5, 2, 0}};
    result.clear();
    clipper.ClipToExtents({{0, 1, 2}}, &result);
    EXPECT_EQ(result, (Tris{{{4, 6, 7}}, {{0, 8, 9}}, {{5, 0, 10}}}));
    ASSERT_EQ(pool.size(), 11u);
    ExpectPoolFrom(pool, 3, {P3(1.5, 1, 0), P3(0.5, 1, 0), P3(0.5, 1, 0)});
    ExpectPoolFrom(pool, 7, {P3(1, 1, 0), P3(1, 0.5, 0)});
}

TEST(TriangleClipper, RandomTrianglesKeepWindingAndArea) {
    plenar_test::SplitMix64 rng(20240611);
    plenar_test::UniformReal u(-1.0, 2.0);
    std::vector<P3> pool;
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, 0), P3(1, 1, 1)));
    for (int iter = 0; iter < 3000; ++iter) {
        pool.clear();
        for (int k = 0; k < 3; ++k) pool.emplace_back(u(rng), u(rng), u(rng));
        const std::vector<P3> input = pool;
        const CVector3d nIn = Normal(pool[0], pool[1], pool[2]);
        const double len = std::sqrt(nIn.LengthSquared());
        const CVector3d unit = nIn / len;
        Tris result;
        clipper.ClipToExtents({{0, 1, 2}}, &result);
        double twiceArea = 0;
        for (const Tri& t : result) {
            const P3 &a = pool.at(t.indices[0]), &b = pool.at(t.indices[1]), &c = pool.at(t.indices[2]);
            twiceArea += Dot(Normal(a, b, c), unit);  // a reversed piece would subtract
        }
        EXPECT_NEAR(twiceArea, ClippedTwiceArea(input, clipper.clipPlanes, unit), 1e-9 * len) << iter;
    }
}

TEST(TriangleClipper, BadIndicesThrowBeforeAnythingIsAppended) {
    std::vector<P3> pool = {{0, 0, 0}, {5, 0, 0}, {0, 5, 0}};
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, -1), P3(1, 1, 1)));
    Tris result = {{{0, 1, 2}}};
    for (const Tri& bad : {Tri{{0, 1, 3}}, Tri{{0, -1, 2}}}) {
        EXPECT_THROW(clipper.ClipToExtents(bad, &result), std::out_of_range) << bad.indices[2];
        EXPECT_EQ(result.size(), 1u);
        EXPECT_EQ(pool.size(), 3u);
    }
    clipper.ClipToExtents({{0, 1, 2}}, &result);  // still usable: x max and y max each cut
    EXPECT_TRUE(pool.size() == 3u + 3u + 2u + 3u);
}

TEST(TriangleClipper, AddIndexedTriangleCopiesPointsThatLiveInThePool) {
    std::vector<P3> pool = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    TriangleClipper clipper(&pool);
    pool.shrink_to_fit();  // each append below reallocates
    EXPECT_EQ(clipper.AddIndexedTriangle(pool[0], pool[1], pool[2]), (Tri{{3, 4, 5}}));
    pool.shrink_to_fit();
    EXPECT_EQ(clipper.AddIndexedTriangle(8, pool[2], pool[0]), (Tri{{8, 6, 7}}));
    pool.shrink_to_fit();
    EXPECT_EQ(clipper.AddIndexedTriangle(1, 2, pool[1]), (Tri{{1, 2, 8}}));
    const double xs[9] = {1, 4, 7, 1, 4, 7, 7, 1, 4};
    for (std::size_t i = 0; i < 9; ++i) EXPECT_TRUE(SameXyz(pool.at(i), P3(xs[i], xs[i] + 1, xs[i] + 2))) << i;
}

TEST(TriangleClipper, NonFiniteVerticesFinish) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    std::vector<P3> pool = {{0.5, 0.5, 0.5}, {nan, 0.5, 0.5}, {0.2, inf, 0.5}, {0.5, 0.2, 0.5}};
    TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, 0), P3(1, 1, 1)));
    Tris result;
    for (const Tri& t : {Tri{{0, 1, 3}}, Tri{{0, 2, 3}}, Tri{{1, 2, 1}}}) clipper.ClipToExtents(t, &result);
    for (const Tri& t : result)
        for (int i : t.indices) EXPECT_LT(static_cast<std::size_t>(i), pool.size());
}

namespace {

// Clips a fixed soup of small triangles scattered around the unit box on a pool of
// its own, so that the pieces and the pool can be compared bit for bit.
struct SoupClip {
    std::vector<P3> pool;
    Tris result;

    void Run() {
        plenar_test::SplitMix64 rng(4242);
        pool.clear();
        result.clear();
        for (int i = 0; i < 600; ++i) {
            const P3 c(rng.Uniform(-0.5, 1.5), rng.Uniform(-0.5, 1.5), rng.Uniform(-0.5, 1.5));
            for (int k = 0; k < 3; ++k)
                pool.emplace_back(c.x + rng.Uniform(-0.4, 0.4), c.y + rng.Uniform(-0.4, 0.4),
                                  c.z + rng.Uniform(-0.4, 0.4));
        }
        TriangleClipper3D clipper(&pool, CBoundingBox3d(P3(0, 0, 0), P3(1, 1, 1)));
        for (int i = 0; i < 600; ++i) clipper.ClipToExtents({{3 * i, 3 * i + 1, 3 * i + 2}}, &result);
    }
    bool operator==(const SoupClip& o) const {
        if (result != o.result || pool.size() != o.pool.size()) return false;
        for (std::size_t i = 0; i < pool.size(); ++i)
            if (!SameXyz(pool[i], o.pool[i])) return false;
        return true;
    }
};

// Clips when its thread ends; made before the thread's first clip, so it is
// destroyed after the clipper's per-thread working lists.
struct ClipsAtThreadExit {
    SoupClip* out = nullptr;
    ~ClipsAtThreadExit() {
        if (out != nullptr) out->Run();
    }
};
thread_local ClipsAtThreadExit clipsAtThreadExit;

}  // namespace

TEST(TriangleClipper, ClippersOnSeveralThreadsGiveTheSingleThreadAnswer) {
    SoupClip reference;
    reference.Run();
    // The per-thread working lists must not be shared: four threads clipping at once
    // each get the single-thread pieces and pool.
    std::vector<SoupClip> runs(4);
    std::vector<std::thread> threads;
    for (SoupClip& run : runs)
        threads.emplace_back([&run] {
            for (int repeat = 0; repeat < 20; ++repeat) run.Run();
        });
    for (std::thread& t : threads) t.join();
    for (const SoupClip& run : runs) EXPECT_TRUE(run == reference);

    // A clip from a thread-local destructor that runs after the working lists are
    // gone still works.
    SoupClip atExit;
    std::thread([&atExit] {
        clipsAtThreadExit.out = &atExit;
        SoupClip first;
        first.Run();
    }).join();
    EXPECT_TRUE(atExit == reference);
}
