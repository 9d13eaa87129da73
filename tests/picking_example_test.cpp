// The picking example's walk against brute force on a generated scene of 2,000 boxes.
// The walk tests in each instance's coordinates, brute force in world space: rounding
// can tip an edge within rounding distance of a pick plane either way, so the walk is
// bracketed by brute force with the pick planes moved 1e-6 in and out.
#include "picking_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

using namespace plenar_example;

namespace {

const SceneSize SmallScene{10, 10, 20};

// The volume with every present plane moved by offset along its normal (a positive
// offset grows the volume).
CGeomFilterCrossingVolume Moved(const CGeomFilterCrossingVolume& v, double offset) {
    CGeomFilterCrossingVolume moved(v);
    for (int i = 0; i < 6; ++i)
        if (i < 5 || moved.HasPlane5()) moved.planes[i].d -= offset;
    return moved;
}

bool Contains(const std::vector<int>& sorted, int id) { return std::binary_search(sorted.begin(), sorted.end(), id); }

// Every counter of a walk, so that two walks compare in one go.
auto Counters(const PickStats& s) {
    return std::make_tuple(s.instancesRejected, s.instancesAccepted, s.instancesOpened, s.groupsRejected,
                           s.groupsAccepted, s.groupsOpened, s.boxesRejected, s.boxesAccepted, s.boxesOpened,
                           s.edgesTested);
}

// Projects p with the camera, independently of PickVolume: pixel coordinates and the
// depth along the view direction.
void Project(const Camera& camera, const CPoint3d& p, double& px, double& py, double& depth) {
    const CUnitVector3d right(camera.direction * camera.up);
    const CUnitVector3d up(right * camera.direction);
    const CVector3d v = p - camera.eye;
    depth = Dot(v, camera.direction);
    const double tanY = std::tan(0.5 * camera.fieldOfView);
    const double tanX = tanY * camera.width / camera.height;
    px = (Dot(v, right) / (depth * tanX) + 1.0) * 0.5 * camera.width;
    py = (Dot(v, up) / (depth * tanY) + 1.0) * 0.5 * camera.height;
}

}  // namespace

TEST(PickingExample, PickVolumeMatchesTheCameraProjection) {
    const Scene scene = MakeScene(SmallScene, 7);
    const Camera camera = LookAtScene(scene);
    const ScreenRect rect{300, 200, 700, 500};
    CGeomFilterCrossingVolume volume = PickVolume(camera, rect);
    EXPECT_TRUE(volume.HasPlane5());
    Random rng(11);
    const CBoundingBox3d& w = scene.worldBounds;
    int inside = 0, outside = 0;
    for (int k = 0; k < 20000; ++k) {
        const CPoint3d p(rng.Uniform(w.x.min, w.x.max), rng.Uniform(w.y.min, w.y.max),
                         rng.Uniform(w.z.min - 10, w.z.max + 10));
        double px, py, depth;
        Project(camera, p, px, py, depth);
        const double margin = 1e-6;
        if (std::fabs(px - rect.left) < margin || std::fabs(px - rect.right) < margin ||
            std::fabs(py - rect.bottom) < margin || std::fabs(py - rect.top) < margin)
            continue;
        const bool expected = depth >= camera.nearDistance && depth <= camera.farDistance && px > rect.left &&
                              px < rect.right && py > rect.bottom && py < rect.top;
        ASSERT_EQ(volume.Test(p), expected) << k;
        ++(expected ? inside : outside);
    }
    EXPECT_GT(inside, 500);
    EXPECT_GT(outside, 500);
    // The near plane cuts off the eye; the far plane what lies beyond the far distance.
    EXPECT_FALSE(volume.Test(camera.eye));
    const CPoint3d centre = camera.eye + CVector3d(camera.direction) * camera.farDistance * 1.01;
    EXPECT_FALSE(volume.Test(centre));
}

TEST(PickingExample, HierarchicalPickAgreesWithBruteForce) {
    const Scene scene = MakeScene(SmallScene, 7);
    const Camera camera = LookAtScene(scene);
    Random rng(5);
    std::vector<ScreenRect> rects = {{0, 0, 1280, 720}, {520, 260, 800, 430}, {639, 359, 641, 361}};
    for (int k = 0; k < 20; ++k) {
        const double x = rng.Uniform(0, 1200), y = rng.Uniform(0, 650);
        rects.push_back({x, y, x + rng.Uniform(1, 500), y + rng.Uniform(1, 300)});
    }
    int ambiguous = 0;
    PickStats total;
    std::size_t pickedTotal = 0;
    for (const ScreenRect& rect : rects) {
        CGeomFilterCrossingVolume volume = PickVolume(camera, rect);
        CGeomFilterCrossingVolume shrunk = Moved(volume, -1e-6), grown = Moved(volume, 1e-6);
        const PickResult walk = PickHierarchical(scene, volume);
        const std::vector<int> surely = PickBruteForce(scene, shrunk);
        const std::vector<int> maybe = PickBruteForce(scene, grown);

        EXPECT_TRUE(std::adjacent_find(walk.picked.begin(), walk.picked.end()) == walk.picked.end());
        // surely <= walk <= maybe: the walk can differ from the exact answer only on
        // boxes in maybe - surely.
        for (int id : surely) EXPECT_TRUE(Contains(walk.picked, id)) << id;
        for (int id : walk.picked) EXPECT_TRUE(Contains(maybe, id)) << id;
        for (int id : maybe) ambiguous += Contains(surely, id) ? 0 : 1;
        total += walk.stats;
        pickedTotal += walk.picked.size();
    }
    EXPECT_LE(ambiguous, 3);
    // The whole screen takes everything in front of the camera.
    EXPECT_GT(pickedTotal, 2000u);
    // Every level of the hierarchy did some of the work, and far fewer edges were
    // tested than brute force tests.
    EXPECT_GT(total.instancesAccepted, 0);
    EXPECT_GT(total.instancesRejected, 0);
    EXPECT_GT(total.groupsAccepted, 0);
    EXPECT_GT(total.groupsRejected, 0);
    EXPECT_GT(total.boxesAccepted, 0);
    EXPECT_GT(total.boxesRejected, 0);
    EXPECT_LT(total.edgesTested, static_cast<long>(rects.size() * 12 * scene.boxes.size() / 4));
}

TEST(PickingExample, ThreadsShareTheInstancesAndGiveTheSameAnswer) {
    // 23 instances do not split evenly between 2, 3 or 4 threads; 40 threads leave
    // some without a share of their own.
    const Scene scene = MakeScene(SceneSize{23, 6, 15}, 9);
    const Camera camera = LookAtScene(scene);
    const std::vector<ScreenRect> rects = {{0, 0, 1280, 720}, {520, 260, 800, 430}, {100, 50, 400, 700}};
    for (const ScreenRect& rect : rects) {
        CGeomFilterCrossingVolume volume = PickVolume(camera, rect);
        const PickResult one = PickHierarchical(scene, volume, 1);
        for (const int threads : {2, 3, 4, 40}) {
            const PickResult many = PickHierarchical(scene, volume, threads);
            EXPECT_EQ(many.picked, one.picked) << threads;
            EXPECT_EQ(Counters(many.stats), Counters(one.stats)) << threads;
            // Every instance is looked at once, by exactly one share.
            const PickStats& s = many.stats;
            EXPECT_EQ(s.instancesRejected + s.instancesAccepted + s.instancesOpened, 23) << threads;
        }
    }
    // The scene size option: about the number of boxes asked for, never empty.
    EXPECT_EQ(SceneSizeForBoxes(1).instances, 1);
    EXPECT_EQ(SceneSizeForBoxes(10000000).instances * 400L, 10000000L);
}
