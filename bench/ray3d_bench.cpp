// Picking's hot paths: a ray against many boxes, and a plane classifying many
// boxes. Each library call runs beside a plain loop doing the textbook version of
// the same test on the same data, so the numbers read as queries per second
// against a baseline.
#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

using namespace velmor::geometry;

namespace {

constexpr std::size_t kCount = 1 << 14;

struct Scene {
    std::vector<CRay3d> rays;
    std::vector<CPlane> planes;
    std::vector<CBoundingBox3d> boxes;
};

// Boxes scattered in a 20-unit cube, rays from a shell around it aimed roughly at
// the middle, so that a fair share of the queries hit.
const Scene& GetScene() {
    static const Scene scene = [] {
        Scene s;
        std::mt19937 rng(2024);
        std::uniform_real_distribution<double> u(-1, 1);
        for (std::size_t i = 0; i < kCount; ++i) {
            const double x = 10 * u(rng), y = 10 * u(rng), z = 10 * u(rng);
            CBoundingBox3d box;
            box.Clear();
            box.Add(CPoint3d(x, y, z));
            box.Add(CPoint3d(x + 1 + u(rng), y + 1 + u(rng), z + 1 + u(rng)));
            s.boxes.push_back(box);
            const CPoint3d from(30 * u(rng), 30 * u(rng), 30 * u(rng));
            const CPoint3d to(5 * u(rng), 5 * u(rng), 5 * u(rng));
            s.rays.emplace_back(from, CUnitVector3d(from, to));
            s.planes.emplace_back(u(rng), u(rng), u(rng), 10 * u(rng));
        }
        return s;
    }();
    return scene;
}

// Textbook slab test of a half-line against a box: true when the parameter
// intervals of the three slabs overlap at or after the origin.
inline bool SlabHit(const CRay3d& r, const CBoundingBox3d& b, double& tHit) {
    double tNear = 0.0;
    double tFar = 1e300;
    const double o[3] = {r.origin.x, r.origin.y, r.origin.z};
    const double d[3] = {r.direction.x, r.direction.y, r.direction.z};
    const double lo[3] = {b.x.min, b.y.min, b.z.min};
    const double hi[3] = {b.x.max, b.y.max, b.z.max};
    for (int k = 0; k < 3; ++k) {
        const double inv = 1.0 / d[k];
        double t0 = (lo[k] - o[k]) * inv;
        double t1 = (hi[k] - o[k]) * inv;
        if (t0 > t1) std::swap(t0, t1);
        tNear = std::max(tNear, t0);
        tFar = std::min(tFar, t1);
    }
    tHit = tNear;
    return tNear <= tFar;
}

void BM_RayBox_Library(benchmark::State& state) {
    const Scene& s = GetScene();
    for (auto _ : state) {
        std::size_t hits = 0;
        CPoint3d hit;
        EBoxSide side;
        for (std::size_t i = 0; i < kCount; ++i) {
            hits += s.rays[i].IntersectWith(s.boxes[i], hit, side) ? 1 : 0;
            benchmark::DoNotOptimize(hit);
        }
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kCount));
}
BENCHMARK(BM_RayBox_Library);

void BM_RayBox_Baseline(benchmark::State& state) {
    const Scene& s = GetScene();
    for (auto _ : state) {
        std::size_t hits = 0;
        double t = 0.0;
        for (std::size_t i = 0; i < kCount; ++i) {
            hits += SlabHit(s.rays[i], s.boxes[i], t) ? 1 : 0;
            benchmark::DoNotOptimize(t);
        }
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kCount));
}
BENCHMARK(BM_RayBox_Baseline);

void BM_PlaneBox_Library(benchmark::State& state) {
    const Scene& s = GetScene();
    for (auto _ : state) {
        int sum = 0;
        for (std::size_t i = 0; i < kCount; ++i) sum += s.planes[i].IntersectWith(s.boxes[i]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kCount));
}
BENCHMARK(BM_PlaneBox_Library);

// Centre and half-extent form: the box's projected radius on the normal against
// the centre's signed distance.
void BM_PlaneBox_Baseline(benchmark::State& state) {
    const Scene& s = GetScene();
    for (auto _ : state) {
        int sum = 0;
        for (std::size_t i = 0; i < kCount; ++i) {
            const CPlane& p = s.planes[i];
            const CBoundingBox3d& b = s.boxes[i];
            const double cx = 0.5 * (b.x.min + b.x.max), ex = 0.5 * (b.x.max - b.x.min);
            const double cy = 0.5 * (b.y.min + b.y.max), ey = 0.5 * (b.y.max - b.y.min);
            const double cz = 0.5 * (b.z.min + b.z.max), ez = 0.5 * (b.z.max - b.z.min);
            const double dist = p.a * cx + p.b * cy + p.c * cz + p.d;
            const double radius = std::fabs(p.a) * ex + std::fabs(p.b) * ey + std::fabs(p.c) * ez;
            sum += dist - radius > 0.0 ? 1 : (dist + radius < 0.0 ? 2 : 3);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kCount));
}
BENCHMARK(BM_PlaneBox_Baseline);

// One ray against every box, the shape of a pick through a scene.
void BM_PickOneRayAllBoxes_Library(benchmark::State& state) {
    const Scene& s = GetScene();
    const CRay3d& ray = s.rays[0];
    for (auto _ : state) {
        std::size_t hits = 0;
        CPoint3d hit;
        EBoxSide side;
        for (const CBoundingBox3d& box : s.boxes) {
            hits += ray.IntersectWith(box, hit, side) ? 1 : 0;
            benchmark::DoNotOptimize(hit);
        }
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kCount));
}
BENCHMARK(BM_PickOneRayAllBoxes_Library);

void BM_PickOneRayAllBoxes_Baseline(benchmark::State& state) {
    const Scene& s = GetScene();
    const CRay3d& ray = s.rays[0];
    for (auto _ : state) {
        std::size_t hits = 0;
        double t = 0.0;
        for (const CBoundingBox3d& box : s.boxes) {
            hits += SlabHit(ray, box, t) ? 1 : 0;
            benchmark::DoNotOptimize(t);
        }
        benchmark::DoNotOptimize(hits);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kCount));
}
BENCHMARK(BM_PickOneRayAllBoxes_Baseline);

}  // namespace
