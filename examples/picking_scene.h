// Picking with a rectangle in a 3D view, done the way an application does it: a
// generated scene of instances (each placed by a CTransformation) holding groups of
// boxes, a small perspective camera, the pick volume built from a screen rectangle,
// and a hierarchical walk that accepts or skips whole instances and groups from
// their bounding boxes and tests box edges only where it must. The walk tests the
// boxes of a group, and the edges of straddling boxes, with the filters' bulk
// calls, and can split the instances between threads.
//
// Everything here is inline and deterministic (a seeded generator of its own, not
// the standard distributions, whose results differ between standard libraries), so
// that the example program and its test build exactly the same scene.
#ifndef PLENAR_EXAMPLES_PICKING_SCENE_H
#define PLENAR_EXAMPLES_PICKING_SCENE_H

#include <geometry/boundingbox.h>
#include <geometry/geomfilter.h>
#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <geometry/transformation.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <memory>
#include <thread>
#include <vector>

namespace plenar_example {

using velmor::geometry::CBoundingBox3d;
using velmor::geometry::CGeomFilterCrossingVolume;
using velmor::geometry::CPlane;
using velmor::geometry::CPoint3d;
using velmor::geometry::CTransformation;
using velmor::geometry::CUnitVector3d;
using velmor::geometry::CVector3d;
using velmor::geometry::IGeomFilter;

/// A small seeded generator (splitmix64) that gives the same numbers everywhere.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    std::uint64_t Next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    /// Uniform in [lo, hi).
    double Uniform(double lo, double hi) { return lo + (hi - lo) * (static_cast<double>(Next() >> 11) * 0x1.0p-53); }

private:
    std::uint64_t state_;
};

/// A run of boxes of one instance, with the box that bounds them all.
struct Group {
    CBoundingBox3d bounds;  ///< in the instance's own coordinates
    int firstBox;
    int boxCount;
};

/// A placed copy of some content: its groups, their bounds, and where it sits.
struct Instance {
    CTransformation placement;   ///< instance coordinates to world coordinates
    CBoundingBox3d bounds;       ///< of all its boxes, in instance coordinates
    CBoundingBox3d worldBounds;  ///< the axis-aligned box of bounds once placed
    int firstGroup;
    int groupCount;
};

/// Boxes (in their instance's coordinates, numbered across the whole scene), the
/// groups that hold them and the instances that hold the groups.
struct Scene {
    std::vector<CBoundingBox3d> boxes;
    std::vector<Group> groups;
    std::vector<Instance> instances;
    CBoundingBox3d worldBounds;
};

struct SceneSize {
    int instances;
    int groupsPerInstance;
    int boxesPerGroup;
};

/// A scene of about `boxes` boxes: instances of 20 groups of 20 boxes (at least one).
inline SceneSize SceneSizeForBoxes(long boxes) {
    const long perInstance = 20 * 20;
    return SceneSize{static_cast<int>(std::max(1L, (boxes + perInstance / 2) / perInstance)), 20, 20};
}

/// Instances on a square grid, each turned about z, tilted a little, scaled and
/// lifted; inside an instance the groups sit on a grid of cells, their boxes
/// scattered over the cell.
inline Scene MakeScene(const SceneSize& size, std::uint64_t seed) {
    Random rng(seed);
    Scene scene;
    scene.boxes.reserve(static_cast<std::size_t>(size.instances) * size.groupsPerInstance * size.boxesPerGroup);
    scene.groups.reserve(static_cast<std::size_t>(size.instances) * size.groupsPerInstance);
    scene.instances.reserve(static_cast<std::size_t>(size.instances));

    const double cell = 6.0;
    const int cellColumns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(size.groupsPerInstance))));
    const int gridColumns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(size.instances))));
    const double spacing = cellColumns * cell * 1.6;
    const CPoint3d origin(0, 0, 0);

    for (int i = 0; i < size.instances; ++i) {
        Instance instance;
        instance.firstGroup = static_cast<int>(scene.groups.size());
        instance.groupCount = size.groupsPerInstance;
        for (int g = 0; g < size.groupsPerInstance; ++g) {
            Group group;
            group.firstBox = static_cast<int>(scene.boxes.size());
            group.boxCount = size.boxesPerGroup;
            const double cx = (g % cellColumns) * cell, cy = (g / cellColumns) * cell;
            for (int b = 0; b < size.boxesPerGroup; ++b) {
                // One draw per statement: the order in which a compiler evaluates
                // function arguments is unspecified, and the scene must not depend on it.
                const double lx = rng.Uniform(0.0, cell - 1.5);
                const double ly = rng.Uniform(0.0, cell - 1.5);
                const double lz = rng.Uniform(0.0, 3.0);
                const double ex = rng.Uniform(0.2, 1.5);
                const double ey = rng.Uniform(0.2, 1.5);
                const double ez = rng.Uniform(0.2, 2.5);
                const CPoint3d low(cx + lx, cy + ly, lz);
                const CPoint3d high(low.x + ex, low.y + ey, low.z + ez);
                const CBoundingBox3d box(low, high);
                scene.boxes.push_back(box);
                group.bounds += box;
            }
            instance.bounds += group.bounds;
            scene.groups.push_back(group);
        }
        const CVector3d at((i % gridColumns) * spacing, (i / gridColumns) * spacing, rng.Uniform(0.0, 5.0));
        const double turn = rng.Uniform(0.0, 6.283185307179586);
        const double tilt = rng.Uniform(-0.3, 0.3);
        const double scale = rng.Uniform(0.6, 1.4);
        // Scale first, then tilt about x, turn about z, and move into place.
        instance.placement =
            CTransformation::Translate(at) * CTransformation::Rotate(origin, CUnitVector3d(0, 0, 1), turn) *
            CTransformation::Rotate(origin, CUnitVector3d(1, 0, 0), tilt) * CTransformation::Scale(scale);
        instance.worldBounds = instance.placement * instance.bounds;
        scene.worldBounds += instance.worldBounds;
        scene.instances.push_back(instance);
    }
    return scene;
}

/// A perspective camera: where it is, where it looks, its vertical field of view
/// and the viewport in pixels, with the near and far clipping distances.
struct Camera {
    CPoint3d eye;
    CUnitVector3d direction;
    CUnitVector3d up;      ///< roughly up; need not be perpendicular to direction
    double fieldOfView;    ///< vertical, in radians
    double width, height;  ///< viewport in pixels
    double nearDistance, farDistance;
};

/// A camera above and to the side of the scene, looking down at its centre.
inline Camera LookAtScene(const Scene& scene) {
    const CPoint3d centre = scene.worldBounds.GetCenter();
    const double size = scene.worldBounds.GetDiagonal();
    Camera camera;
    camera.eye = centre + CVector3d(-0.3 * size, -0.5 * size, 0.55 * size);
    camera.direction = CUnitVector3d(centre - camera.eye);
    camera.up = CUnitVector3d(0, 0, 1);
    camera.fieldOfView = 50.0 * 3.141592653589793 / 180.0;
    camera.width = 1280;
    camera.height = 720;
    camera.nearDistance = 0.1;
    camera.farDistance = 3.0 * size;
    return camera;
}

/// A rectangle on the screen in pixels, origin at the bottom left, y up.
struct ScreenRect {
    double left, bottom, right, top;
};

/// The pick volume of a screen rectangle: the four planes through the eye and the
/// rectangle's sides, then near and far, every normal pointing out of the volume.
inline CGeomFilterCrossingVolume PickVolume(const Camera& camera, const ScreenRect& rect) {
    const CUnitVector3d forward = camera.direction;
    const CUnitVector3d right(forward * camera.up);
    const CUnitVector3d up(right * forward);
    const double tanY = std::tan(0.5 * camera.fieldOfView);
    const double tanX = tanY * camera.width / camera.height;
    // The direction of the ray through a pixel.
    auto ray = [&](double px, double py) {
        const double nx = 2.0 * px / camera.width - 1.0, ny = 2.0 * py / camera.height - 1.0;
        return CVector3d(forward) + CVector3d(nx * tanX, right) + CVector3d(ny * tanY, up);
    };
    const CVector3d bl = ray(rect.left, rect.bottom), br = ray(rect.right, rect.bottom);
    const CVector3d tl = ray(rect.left, rect.top), tr = ray(rect.right, rect.top);
    const CVector3d centre = ray(0.5 * (rect.left + rect.right), 0.5 * (rect.bottom + rect.top));
    const CPoint3d inside = camera.eye + centre * (0.5 * (camera.nearDistance + camera.farDistance));
    // A side plane through the eye and two corner rays, turned to face out.
    auto side = [&](const CVector3d& a, const CVector3d& b) {
        CPlane plane(camera.eye, CUnitVector3d(a * b));
        if (plane.SignedDistance(inside) > 0.0) plane.Reverse();
        return plane;
    };
    const CPlane nearPlane(camera.eye + CVector3d(camera.nearDistance, forward), -forward);
    const CPlane farPlane(camera.eye + CVector3d(camera.farDistance, forward), forward);
    return CGeomFilterCrossingVolume(side(bl, tl), side(br, tr), side(bl, br), side(tl, tr), nearPlane, farPlane);
}

/// Calls f(start, end) for the twelve edges of a box given by its eight corners
/// (corner numbering of CBoundingBox3d::GetCorner) until f returns true; returns
/// whether it did.
template <typename F>
bool AnyEdge(const CPoint3d (&corners)[8], F f) {
    for (int i = 0; i < 8; ++i)
        for (int bit = 1; bit < 8; bit <<= 1)
            if ((i & bit) == 0 && f(corners[i], corners[i | bit])) return true;
    return false;
}

/// What the walk did at each level.
struct PickStats {
    int instancesRejected = 0, instancesAccepted = 0, instancesOpened = 0;
    int groupsRejected = 0, groupsAccepted = 0, groupsOpened = 0;
    int boxesRejected = 0, boxesAccepted = 0, boxesOpened = 0;
    long edgesTested = 0;

    PickStats& operator+=(const PickStats& o) {
        instancesRejected += o.instancesRejected;
        instancesAccepted += o.instancesAccepted;
        instancesOpened += o.instancesOpened;
        groupsRejected += o.groupsRejected;
        groupsAccepted += o.groupsAccepted;
        groupsOpened += o.groupsOpened;
        boxesRejected += o.boxesRejected;
        boxesAccepted += o.boxesAccepted;
        boxesOpened += o.boxesOpened;
        edgesTested += o.edgesTested;
        return *this;
    }
};

struct PickResult {
    std::vector<int> picked;  ///< ids of the boxes with an edge in the volume, ascending
    PickStats stats;
    /// Time of each stage, added up over the threads (so with several threads they
    /// can exceed the wall time), and the wall time of the whole pick.
    double instanceSeconds = 0, boxSeconds = 0, edgeSeconds = 0, wallSeconds = 0;
};

namespace detail {

/// How many edges the walk tests in one bulk call: the twelve edges of up to this
/// many straddling boxes.
constexpr std::size_t EdgeBatchBoxes = 64;

/// The twelve edges of a box as 24 endpoints (corner numbering of
/// CBoundingBox3d::GetCorner: an edge joins corners that differ in one bit).
inline void BoxEdges(const CBoundingBox3d& box, CPoint3d* ends) {
    CPoint3d corners[8];
    for (int c = 0; c < 8; ++c) corners[c] = box.GetCorner(c);
    int e = 0;
    for (int i = 0; i < 8; ++i)
        for (int bit = 1; bit < 8; bit <<= 1)
            if ((i & bit) == 0) {
                ends[e++] = corners[i];
                ends[e++] = corners[i | bit];
            }
}

/// What the walk does with a bounding box after asking the filter about it.
enum class Verdict { Skip, TakeWhole, Open };

/// Asks the filter about box and counts the answer: skipped (nothing in the box is
/// selected), taken whole (everything is), or to be opened and looked into.
inline Verdict Judge(IGeomFilter& filter, const CBoundingBox3d& box, int& skipped, int& taken) {
    bool whole = false;
    if (!filter.Test(box, whole)) {
        ++skipped;
        return Verdict::Skip;
    }
    if (whole) {
        ++taken;
        return Verdict::TakeWhole;
    }
    return Verdict::Open;
}

/// Walks instances [first, last) with a filter of its own (a clone of the world
/// filter): the single-threaded walk, and one thread's share of a threaded one.
inline PickResult WalkShare(const Scene& scene, IGeomFilter& world, int first, int last) {
    using Clock = std::chrono::steady_clock;
    PickResult result;
    PickStats& s = result.stats;
    // Each stage picks in ascending order of ids (instances, groups and boxes are
    // numbered in scene order), so three lists merged give the sorted answer.
    std::vector<int> picked[3];
    int stage = 0;
    auto acceptGroup = [&](const Group& group) {
        for (int b = 0; b < group.boxCount; ++b) picked[stage].push_back(group.firstBox + b);
    };
    auto acceptInstance = [&](const Instance& in) {
        for (int g = in.firstGroup; g < in.firstGroup + in.groupCount; ++g) acceptGroup(scene.groups[g]);
    };

    // 1. Instances: world boxes against the world filter; a local filter for each
    //    instance that straddles the volume.
    const auto t0 = Clock::now();
    std::vector<std::pair<int, std::unique_ptr<IGeomFilter>>> opened;
    for (int i = first; i < last; ++i) {
        const Instance& in = scene.instances[i];
        const Verdict v = Judge(world, in.worldBounds, s.instancesRejected, s.instancesAccepted);
        if (v == Verdict::TakeWhole) acceptInstance(in);
        if (v != Verdict::Open) continue;
        std::unique_ptr<IGeomFilter> local = world.CloneUnique();
        local->Transform(CTransformation::Inverse(in.placement));
        opened.emplace_back(i, std::move(local));
    }

    // 2. Instance and group bounds in instance coordinates, then the boxes of each
    //    straddling group in one bulk call.
    const auto t1 = Clock::now();
    stage = 1;
    std::vector<std::pair<int, IGeomFilter*>> straddling;
    std::size_t largestGroup = 0;
    for (const Group& group : scene.groups) largestGroup = std::max(largestGroup, std::size_t(group.boxCount));
    std::unique_ptr<bool[]> accepted(new bool[largestGroup]), whole(new bool[largestGroup]);
    for (auto& [index, local] : opened) {
        const Instance& in = scene.instances[index];
        const Verdict v = Judge(*local, in.bounds, s.instancesRejected, s.instancesAccepted);
        if (v == Verdict::TakeWhole) acceptInstance(in);
        if (v != Verdict::Open) continue;
        ++s.instancesOpened;
        for (int g = in.firstGroup; g < in.firstGroup + in.groupCount; ++g) {
            const Group& group = scene.groups[g];
            const Verdict gv = Judge(*local, group.bounds, s.groupsRejected, s.groupsAccepted);
            if (gv == Verdict::TakeWhole) acceptGroup(group);
            if (gv == Verdict::Open) {
                ++s.groupsOpened;
                TestBoxes(*local, &scene.boxes[group.firstBox], group.boxCount, accepted.get(), whole.get());
                for (int k = 0; k < group.boxCount; ++k) {
                    if (!accepted[k]) {
                        ++s.boxesRejected;
                    } else if (whole[k]) {
                        ++s.boxesAccepted;
                        picked[1].push_back(group.firstBox + k);
                    } else {
                        ++s.boxesOpened;
                        straddling.emplace_back(group.firstBox + k, local.get());
                    }
                }
            }
        }
    }

    // 3. Edges of the boxes that straddle the volume, in batches of boxes that share
    //    a local filter: a box is picked when any of its twelve edges is.
    const auto t2 = Clock::now();
    std::vector<CPoint3d> ends(24 * EdgeBatchBoxes);
    std::unique_ptr<bool[]> hits(new bool[12 * EdgeBatchBoxes]);
    for (std::size_t b = 0; b < straddling.size();) {
        IGeomFilter* filter = straddling[b].second;
        std::size_t e = b;
        while (e < straddling.size() && e - b < EdgeBatchBoxes && straddling[e].second == filter) {
            BoxEdges(scene.boxes[straddling[e].first], &ends[24 * (e - b)]);
            ++e;
        }
        const std::size_t edges = 12 * (e - b);
        TestSegments(*filter, ends.data(), edges, hits.get());
        s.edgesTested += static_cast<long>(edges);
        for (std::size_t k = b; k < e; ++k) {
            const bool* h = &hits[12 * (k - b)];
            if (std::any_of(h, h + 12, [](bool hit) { return hit; })) picked[2].push_back(straddling[k].first);
        }
        b = e;
    }
    std::vector<int> early;
    early.reserve(picked[0].size() + picked[1].size());
    std::merge(picked[0].begin(), picked[0].end(), picked[1].begin(), picked[1].end(), std::back_inserter(early));
    result.picked.reserve(early.size() + picked[2].size());
    std::merge(early.begin(), early.end(), picked[2].begin(), picked[2].end(), std::back_inserter(result.picked));
    const auto t3 = Clock::now();
    result.instanceSeconds = std::chrono::duration<double>(t1 - t0).count();
    result.boxSeconds = std::chrono::duration<double>(t2 - t1).count();
    result.edgeSeconds = std::chrono::duration<double>(t3 - t2).count();
    return result;
}

}  // namespace detail

/// A box is picked when any of its edges lies in or crosses the volume. The walk
/// tests each instance's world box with the world filter; an instance neither
/// rejected nor wholly accepted gets its own copy of the filter, moved into the
/// instance's coordinates by the inverse placement, and its groups and boxes are
/// tested there, down to the edges of the boxes that straddle the volume.
///
/// With threads > 1 the instances are split into that many consecutive shares;
/// each thread walks its share with its own clone of the world filter (filters are
/// not shared between threads), and the shares are merged in order and the ids
/// sorted, so the answer and the counts are the same for any number of threads.
inline PickResult PickHierarchical(const Scene& scene, IGeomFilter& world, int threads = 1) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const int instances = static_cast<int>(scene.instances.size());
    const int shares = std::max(1, std::min(threads, instances));
    std::vector<PickResult> parts(static_cast<std::size_t>(shares));
    auto walk = [&](int t) {
        std::unique_ptr<IGeomFilter> own = world.CloneUnique();
        const int first = static_cast<int>(static_cast<long>(instances) * t / shares);
        const int last = static_cast<int>(static_cast<long>(instances) * (t + 1) / shares);
        parts[static_cast<std::size_t>(t)] = detail::WalkShare(scene, *own, first, last);
    };
    if (shares == 1) {
        walk(0);
    } else {
        std::vector<std::thread> pool;
        for (int t = 0; t < shares; ++t) pool.emplace_back(walk, t);
        for (std::thread& thread : pool) thread.join();
    }

    PickResult result;
    std::size_t total = 0;
    for (const PickResult& part : parts) total += part.picked.size();
    result.picked.reserve(total);
    for (const PickResult& part : parts) {
        result.picked.insert(result.picked.end(), part.picked.begin(), part.picked.end());
        result.stats += part.stats;
        result.instanceSeconds += part.instanceSeconds;
        result.boxSeconds += part.boxSeconds;
        result.edgeSeconds += part.edgeSeconds;
    }
    // The shares hold consecutive instances, so their answers follow one another;
    // a scene numbered otherwise is sorted here.
    if (!std::is_sorted(result.picked.begin(), result.picked.end()))
        std::sort(result.picked.begin(), result.picked.end());
    result.wallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

/// The same question answered without any hierarchy: every edge of every box is
/// placed in world coordinates and tested with the world filter.
inline std::vector<int> PickBruteForce(const Scene& scene, IGeomFilter& world) {
    std::vector<int> picked;
    for (const Instance& in : scene.instances) {
        for (int g = in.firstGroup; g < in.firstGroup + in.groupCount; ++g) {
            const Group& group = scene.groups[g];
            for (int b = group.firstBox; b < group.firstBox + group.boxCount; ++b) {
                CPoint3d corners[8];
                for (int c = 0; c < 8; ++c) corners[c] = in.placement * scene.boxes[b].GetCorner(c);
                if (AnyEdge(corners, [&](const CPoint3d& a, const CPoint3d& e) { return world.Test(a, e); }))
                    picked.push_back(b);
            }
        }
    }
    std::sort(picked.begin(), picked.end());
    return picked;
}

}  // namespace plenar_example

#endif
