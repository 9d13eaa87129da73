#include <geometry/boxtree.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "support/random.h"

using namespace velmor::geometry;
using Box = CBoundingBox3d;
using P3 = CPoint3d;

namespace {

using Rng = plenar_test::SplitMix64;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// A scene of mixed boxes: ordinary ones, duplicates, flat and point boxes, boxes on a
// dyadic grid sharing faces, and now and then an empty or non-finite one.
std::vector<Box> RandomScene(Rng& rng, int n, double scale, double offset) {
    std::vector<Box> boxes;
    for (int i = 0; i < n; ++i) {
        const int kind = rng.Int(0, 19);
        const P3 lo(offset + scale * rng.Uniform(-10, 10), offset + scale * rng.Uniform(-10, 10),
                    offset + scale * rng.Uniform(-10, 10));
        Box b(lo,
              P3(lo.x + scale * rng.Uniform(0, 3), lo.y + scale * rng.Uniform(0, 3), lo.z + scale * rng.Uniform(0, 3)));
        if (kind == 0 && !boxes.empty()) b = boxes[rng.Int(0, static_cast<int>(boxes.size()) - 1)];
        if (kind == 1) b.z.max = b.z.min;  // flat
        if (kind == 2) b = Box(lo, lo);    // a point
        if (kind == 3) {                   // a grid cell, sharing faces with its neighbours
            const P3 g(offset + scale * rng.Int(-4, 4), offset + scale * rng.Int(-4, 4),
                       offset + scale * rng.Int(-4, 4));
            b = Box(g, P3(g.x + scale, g.y + scale, g.z + scale));
        }
        if (kind == 4 && rng.Int(0, 3) == 0) {
            const int odd = rng.Int(0, 4);
            if (odd == 0) b.Clear();
            if (odd == 1) b.y = CRange(1, -1);  // empty on y only
            if (odd == 2) b.x.min = kNaN;
            if (odd == 3) b.z.max = kInf;
            if (odd == 4) b = Box(P3(kNaN, kNaN, kNaN), P3(kNaN, kNaN, kNaN));
        }
        boxes.push_back(b);
    }
    return boxes;
}

struct Accepted {
    long index;
    bool full;
    bool operator==(const Accepted& o) const { return index == o.index && full == o.full; }
};

std::vector<Accepted> BruteFilter(const std::vector<Box>& boxes, IGeomFilter& filter) {
    std::vector<Accepted> out;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        bool full = false;
        if (filter.Test(boxes[i], full)) out.push_back({static_cast<long>(i), full});
    }
    return out;
}

std::vector<Accepted> TreeFilter(const CBoxTree& tree, IGeomFilter& filter) {
    std::vector<Accepted> out;
    tree.Visit(filter, [&](long index, bool full) {
        out.push_back({index, full});
        return true;
    });
    std::sort(out.begin(), out.end(), [](const Accepted& a, const Accepted& b) { return a.index < b.index; });
    return out;
}

// Every box the ray meets, ordered by entry parameter then index. The entry
// parameter is the one the box test computes: 0 inside, else the entry face's
// coordinate less the origin's over the direction.
std::vector<CBoxTree::RayHit> BruteRay(const std::vector<Box>& boxes, const CRay3d& ray) {
    std::vector<CBoxTree::RayHit> out;
    const double o[3] = {ray.origin.x, ray.origin.y, ray.origin.z};
    const double u[3] = {ray.direction.x, ray.direction.y, ray.direction.z};
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        CBoxTree::RayHit h{static_cast<long>(i), 0.0, P3(), NoSide};
        if (!ray.IntersectWith(boxes[i], h.point, h.side)) continue;
        if (h.side != NoSide) {
            const int axis = (h.side - 1) / 2;
            const double c[3] = {h.point.x, h.point.y, h.point.z};
            h.t = (c[axis] - o[axis]) / u[axis];
        }
        out.push_back(h);
    }
    std::sort(out.begin(), out.end(), [](const CBoxTree::RayHit& a, const CBoxTree::RayHit& b) {
        return a.t < b.t || (a.t == b.t && a.index < b.index);
    });
    return out;
}

bool SameHits(const std::vector<CBoxTree::RayHit>& a, const std::vector<CBoxTree::RayHit>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const CBoxTree::RayHit &x = a[i], &y = b[i];
        auto same = [](double u, double v) { return u == v || (std::isnan(u) && std::isnan(v)); };
        const bool samePoint = same(x.point.x, y.point.x) && same(x.point.y, y.point.y) && same(x.point.z, y.point.z);
        if (x.index != y.index || x.t != y.t || x.side != y.side || !samePoint) return false;
    }
    return true;
}

std::vector<CBoxTree::RayHit> TreeRay(const CBoxTree& tree, const CRay3d& ray, std::size_t stopAfter = SIZE_MAX) {
    std::vector<CBoxTree::RayHit> out;
    tree.VisitRay(ray, [&](const CBoxTree::RayHit& h) {
        out.push_back(h);
        return out.size() < stopAfter;
    });
    return out;
}

// A random convex volume around c: six planes with random outward normals.
template <class V>
void RandomVolume(Rng& rng, V& volume, const P3& c, double size) {
    for (CPlane& p : volume.planes) {
        const CUnitVector3d n(rng.Uniform(-1, 1), rng.Uniform(-1, 1), rng.Uniform(-1, 1));
        p.Set(P3(c, size * rng.Uniform(0.2, 1.5), n), n);
    }
}

// A filter around c of the given kind (0 to 5): a crossing volume, an inside volume
// without its sixth plane, a plane, a half-space, everything, a volume and a half-space.
std::unique_ptr<IGeomFilter> RandomFilter(Rng& rng, int kind, const P3& c, double scale) {
    if (kind == 2) return std::make_unique<CGeomFilterPlane>(CPlane(c, CUnitVector3d(1, 2, 3)));
    if (kind == 3) return std::make_unique<CGeomFilterAbovePlane>(CPlane(c, CUnitVector3d(0, 0, 1)));
    if (kind == 4) return std::make_unique<CGeomFilterSelectAll>();
    if (kind == 1) {
        auto v = std::make_unique<CGeomFilterInsideVolume>();
        RandomVolume(rng, *v, c, 8 * scale);
        v->planes[5].d = CGeomFilterVolume::AbsentPlaneD;
        return v;
    }
    auto v = std::make_unique<CGeomFilterCrossingVolume>();
    RandomVolume(rng, *v, c, (kind == 0 ? 8 : 10) * scale);
    if (kind == 0) return v;
    return std::make_unique<CGeomFilterCombined>(v.release(),
                                                 new CGeomFilterAbovePlane(CPlane(c, CUnitVector3d(1, 0, 0))));
}

// A ray from somewhere in or around the scene; a third of them along an axis or a
// diagonal, through grid points, so that they run along shared faces and edges.
CRay3d RandomRay(Rng& rng, double scale, double offset) {
    CRay3d ray;
    if (rng.Int(0, 2) == 0) {
        ray.origin =
            P3(offset + scale * rng.Int(-12, 12), offset + scale * rng.Int(-12, 12), offset + scale * rng.Int(-12, 12));
        const double d[3] = {static_cast<double>(rng.Int(-1, 1)), static_cast<double>(rng.Int(-1, 1)),
                             static_cast<double>(rng.Int(-1, 1))};
        ray.direction = CUnitVector3d(d[0], d[1], d[2] == 0 && d[0] == 0 && d[1] == 0 ? 1.0 : d[2]);
    } else {
        ray.origin = P3(offset + scale * rng.Uniform(-20, 20), offset + scale * rng.Uniform(-20, 20),
                        offset + scale * rng.Uniform(-20, 20));
        const P3 target(offset + scale * rng.Uniform(-8, 8), offset + scale * rng.Uniform(-8, 8),
                        offset + scale * rng.Uniform(-8, 8));
        ray.direction = CUnitVector3d(target - ray.origin);
    }
    return ray;
}

}  // namespace

TEST(BoxTree, FilterQueriesMatchTestingEveryBox) {
    Rng rng(71);
    const int sizes[] = {0, 1, 2, 5, 40, 700, 3000};
    const struct { double scale, offset; } frames[] = {{1.0, 0.0}, {1e-9, 0.0}, {1e-3, 1e9}};
    for (const auto& frame : frames) {
        for (int n : sizes) {
            const std::vector<Box> boxes = RandomScene(rng, n, frame.scale, frame.offset);
            for (CBoxTree::ESplit split : {CBoxTree::SurfaceArea, CBoxTree::Median}) {
                for (int leaf : {1, 4, 16}) {
                    const CBoxTree tree(boxes.data(), boxes.size(), split, leaf);
                    ASSERT_EQ(tree.Size(), boxes.size());
                    for (int q = 0; q < 12; ++q) {
                        const P3 c(frame.offset + frame.scale * rng.Uniform(-10, 10),
                                   frame.offset + frame.scale * rng.Uniform(-10, 10),
                                   frame.offset + frame.scale * rng.Uniform(-10, 10));
                        const std::unique_ptr<IGeomFilter> filter = RandomFilter(rng, q % 6, c, frame.scale);
                        const std::vector<Accepted> expected = BruteFilter(boxes, *filter);
                        ASSERT_EQ(TreeFilter(tree, *filter), expected) << "n " << n << " query " << q;
                        std::vector<long> collected = {-7};  // appended to, not cleared
                        tree.Collect(*filter, collected);
                        ASSERT_EQ(collected.size(), expected.size() + 1);
                        for (std::size_t i = 0; i < expected.size(); ++i)
                            ASSERT_EQ(collected[i + 1], expected[i].index);
                    }
                }
            }
        }
    }
}

TEST(BoxTree, RayVisitsEveryHitNearestFirst) {
    Rng rng(2718);
    const struct { double scale, offset; } frames[] = {{1.0, 0.0}, {1.0 / 1024, 0.0}, {1e-3, 1e9}, {1e6, -3e12}};
    for (const auto& frame : frames) {
        for (int n : {0, 1, 3, 60, 2500}) {
            const std::vector<Box> boxes = RandomScene(rng, n, frame.scale, frame.offset);
            for (CBoxTree::ESplit split : {CBoxTree::SurfaceArea, CBoxTree::Median}) {
                const CBoxTree tree(boxes.data(), boxes.size(), split, split == CBoxTree::Median ? 2 : 4);
                for (int q = 0; q < 40; ++q) {
                    const CRay3d ray = RandomRay(rng, frame.scale, frame.offset);
                    const std::vector<CBoxTree::RayHit> expected = BruteRay(boxes, ray);
                    ASSERT_TRUE(SameHits(TreeRay(tree, ray), expected)) << "n " << n << " ray " << q;
                    std::vector<CBoxTree::RayHit> collected;
                    tree.CollectRay(ray, collected);
                    ASSERT_TRUE(SameHits(collected, expected));
                    // Stopping early gives the nearest hits, and only those.
                    const std::size_t k = expected.size() / 2 + 1;
                    const std::vector<CBoxTree::RayHit> prefix = TreeRay(tree, ray, k);
                    ASSERT_TRUE(
                        SameHits(prefix, std::vector<CBoxTree::RayHit>(
                                             expected.begin(), expected.begin() + std::min(k, expected.size()))));
                }
            }
        }
    }
}

TEST(BoxTree, RaysAimedAtCornersFollowTheBoxTest) {
    // Rays aimed exactly at box corners graze the faces of the nodes those corners
    // bound; whether the box test counts such a box depends on the last bit of its
    // arithmetic, and the tree must follow it either way.
    Rng rng(4242);
    for (double offset : {0.0, 1e7}) {
        const std::vector<Box> boxes = RandomScene(rng, 3000, 0.37, offset);
        const CBoxTree tree(boxes.data(), boxes.size(), CBoxTree::SurfaceArea, 1);
        for (int q = 0; q < 600; ++q) {
            const Box& b = boxes[rng.Int(0, 2999)];
            if (!b.IsValidObj() || b.x.IsEmpty() || b.y.IsEmpty() || b.z.IsEmpty()) continue;
            CRay3d ray;
            ray.origin =
                P3(offset + rng.Uniform(-30, 30), offset + rng.Uniform(-30, 30), offset + rng.Uniform(-30, 30));
            ray.direction = CUnitVector3d(b.GetCorner(rng.Int(0, 7)) - ray.origin);
            ASSERT_TRUE(SameHits(TreeRay(tree, ray), BruteRay(boxes, ray))) << q;
        }
    }
}

TEST(BoxTree, DepthIsBoundedAndDegenerateInputsAreHandled) {
    // Sizes growing geometrically tempt the surface-area split into peeling one box
    // at a time; identical boxes give it no split at all.
    std::vector<Box> nested, same(5000, Box(P3(1, 2, 3), P3(4, 5, 6)));
    for (int k = 0; k < 5000; ++k) {
        const double s = std::pow(1.01, k);
        nested.push_back(Box(P3(s, 0, 0), P3(2 * s, 1, 1)));
    }
    for (const std::vector<Box>* boxes : {&nested, &same}) {
        for (CBoxTree::ESplit split : {CBoxTree::SurfaceArea, CBoxTree::Median}) {
            const CBoxTree tree(boxes->data(), boxes->size(), split, 1);
            const CRay3d ray(P3(-1, 0.5, 0.5), CUnitVector3d(1, 0, 0));
            EXPECT_TRUE(SameHits(TreeRay(tree, ray), BruteRay(*boxes, ray)));
        }
    }

    // Each box 32 times as long as the last: the surface-area split peels one box a
    // level for as long as the depth left exceeds what halving the rest needs (the
    // budget test is strict), so 48 and 49 boxes both end at depth 47.
    for (int n : {48, 49}) {
        std::vector<Box> chain;
        for (int k = 0; k < n; ++k) chain.push_back(Box(P3(0, 0, 0), P3(std::ldexp(1.0, 5 * k), 1, 1)));
        EXPECT_EQ(CBoxTree(chain.data(), chain.size(), CBoxTree::SurfaceArea, 1).Depth(), 47) << n;
    }

    // Only empty and non-finite boxes: no nodes, every box tested directly.
    const std::vector<Box> odd = {Box(), Box(P3(kNaN, 0, 0), P3(1, 1, 1)), Box(P3(0, 0, 0), P3(1, kInf, 1))};
    const CBoxTree oddTree(odd.data(), odd.size());
    EXPECT_EQ(oddTree.NodeCount(), 0u);
    const CRay3d ray(P3(0.5, -1, 0.5), CUnitVector3d(0, 1, 0));
    EXPECT_TRUE(SameHits(TreeRay(oddTree, ray), BruteRay(odd, ray)));

    // A ray that is not finite meets nothing; a null array is refused.
    const Box unit(P3(0, 0, 0), P3(1, 1, 1));
    const CBoxTree one(&unit, 1);
    EXPECT_EQ(TreeRay(one, CRay3d(P3(kNaN, 0, 0), CUnitVector3d(0, 0, 1))).size(), 0u);
    CBoxTree refused;
    refused.Build(nullptr, 3);
    EXPECT_EQ(refused.Size(), 0u);
    EXPECT_TRUE(refused.Build(nullptr, 0));  // null is refused only with n > 0

    // Finite rays whose parameters leave the double range still get the box test's
    // answer. Entered at t = inf (the distance overflows), two boxes come in index
    // order across passes: a node's upper bound equal to the last t is inclusive.
    const double big = 0x1p1023;
    const std::vector<Box> far(2, Box(P3(0, big, 0), P3(1, 1.5 * big, 1)));
    const CBoxTree farTree(far.data(), far.size());
    const CRay3d up(P3(0.5, -1.5 * big, 0.5), CUnitVector3d::FromComponents(0, 1, 0));
    EXPECT_TRUE(SameHits(TreeRay(farTree, up), BruteRay(far, up)));
    // A direction of length 2^1023 (taken as given): the box just behind the origin
    // is entered at t = -0, and the node's exit parameter -0 is not behind it.
    const Box behind(P3(-0x1p-70, 0, 0), P3(0, 1, 1));
    const CBoxTree behindTree(&behind, 1);
    const CRay3d longRay(P3(0x1p-60, 0.5, 0.5), CUnitVector3d::FromComponents(big, 0, 0));
    EXPECT_TRUE(SameHits(TreeRay(behindTree, longRay), BruteRay({behind}, longRay)));
}

TEST(BoxTree, NodesNestAndFormABinaryTree) {
    // Whatever the split, every inner node's right child comes after its left one
    // and lies in its box, and the nodes form a binary tree. A broken link would
    // leave the answers right and the walk linear, which no answer can show.
    Rng rng(8);
    const std::vector<Box> boxes = RandomScene(rng, 2000, 1.0, 0.0);
    for (CBoxTree::ESplit split : {CBoxTree::SurfaceArea, CBoxTree::Median}) {
        for (int leaf : {1, 3, 8}) {
            const CBoxTree tree(boxes.data(), boxes.size(), split, leaf);
            const std::vector<CBoxTree::Node>& nodes = tree.Nodes();
            std::size_t leaves = 0;
            auto inside = [](const Box& in, const Box& out) {
                return out.x.min <= in.x.min && in.x.max <= out.x.max && out.y.min <= in.y.min &&
                       in.y.max <= out.y.max && out.z.min <= in.z.min && in.z.max <= out.z.max;
            };
            for (std::size_t i = 0; i < nodes.size(); ++i) {
                const CBoxTree::Node& n = nodes[i];
                if (n.right == 0) {
                    ++leaves;
                    continue;
                }
                ASSERT_GT(static_cast<std::size_t>(n.right), i + 1);
                ASSERT_LT(static_cast<std::size_t>(n.right), nodes.size());
                const CBoxTree::Node& r = nodes[static_cast<std::size_t>(n.right)];
                EXPECT_TRUE(inside(r.box, n.box));
            }
            EXPECT_EQ(nodes.size(), 2 * leaves - 1);
        }
    }

    // Ties in the build are broken the same way every time. Three unit boxes in a
    // row cost the same split as 1 + 2 or 2 + 1: the first split found wins.
    const Box row[] = {Box(P3(0, 0, 0), P3(1, 1, 1)), Box(P3(2, 0, 0), P3(3, 1, 1)), Box(P3(4, 0, 0), P3(5, 1, 1))};
    EXPECT_EQ(CBoxTree(row, 3, CBoxTree::SurfaceArea, 1).Nodes()[1].count, 1);
    // Centres spread equally on x and y: the median split halves along x.
    const Box square[] = {Box(P3(0, 0, 0), P3(1, 1, 1)), Box(P3(1, 3, 0), P3(2, 4, 1)), Box(P3(2, 1, 0), P3(3, 2, 1)),
                          Box(P3(3, 2, 0), P3(4, 3, 1))};
    EXPECT_EQ(CBoxTree(square, 4, CBoxTree::Median, 1).Nodes()[1].box.x.max, 2.0);
}

TEST(BoxTree, StoppingTheFilterWalkAndConcurrentQueries) {
    Rng rng(5);
    const std::vector<Box> boxes = RandomScene(rng, 4000, 1.0, 0.0);
    const CBoxTree tree(boxes.data(), boxes.size());
    CGeomFilterSelectAll all;
    int seen = 0;
    EXPECT_FALSE(tree.Visit(all, [&](long, bool) { return ++seen < 3; }));
    EXPECT_EQ(seen, 3);

    // One tree, several threads, each with its own clone of the filter.
    CGeomFilterCrossingVolume volume;
    RandomVolume(rng, volume, P3(0, 0, 0), 6.0);
    const std::vector<Accepted> expected = BruteFilter(boxes, volume);
    const CRay3d ray = RandomRay(rng, 1.0, 0.0);
    const std::vector<CBoxTree::RayHit> expectedRay = BruteRay(boxes, ray);
    bool ok[4] = {};
    std::vector<std::thread> threads;
    for (int k = 0; k < 4; ++k)
        threads.emplace_back([&, k] {
            std::unique_ptr<IGeomFilter> mine(volume.Clone());
            bool good = true;
            for (int r = 0; r < 20; ++r)
                good = good && TreeFilter(tree, *mine) == expected && SameHits(TreeRay(tree, ray), expectedRay);
            ok[k] = good;
        });
    for (std::thread& t : threads) t.join();
    for (bool b : ok) EXPECT_TRUE(b);
}
