// Throughput of ClipToExtents on a large triangle soup against a 3D box, beside a
// plain loop that only classifies the same vertices against the same six planes
// (the floor: what any clipper pays before it cuts anything).
#include <geometry/triangleclipper.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

using velmor::geometry::CBoundingBox3d;
using velmor::geometry::CPoint3d;
using velmor::geometry::TriangleClipper;
using velmor::geometry::TriangleClipper3D;

namespace {

constexpr int TriangleCount = 1 << 15;

struct Soup {
    std::vector<CPoint3d> points;
    std::vector<TriangleClipper::IndexedTriangle> triangles;
};

// Small triangles scattered over a region twice the size of the clip box, so that
// about one in eight lies inside, many straddle a face and the rest are rejected.
const Soup& InputSoup() {
    static const Soup soup = [] {
        Soup s;
        std::mt19937_64 rng(777);
        std::uniform_real_distribution<double> centre(-1.0, 1.0);
        std::uniform_real_distribution<double> offset(-0.15, 0.15);
        for (int i = 0; i < TriangleCount; ++i) {
            const CPoint3d c(centre(rng), centre(rng), centre(rng));
            const int n = static_cast<int>(s.points.size());
            for (int k = 0; k < 3; ++k) s.points.emplace_back(c.x + offset(rng), c.y + offset(rng), c.z + offset(rng));
            s.triangles.push_back({{n, n + 1, n + 2}});
        }
        return s;
    }();
    return soup;
}

const CBoundingBox3d Box(CPoint3d(0, 0, 0), CPoint3d(1, 1, 1));

void BM_ClipToExtents(benchmark::State& state) {
    const Soup& soup = InputSoup();
    std::vector<CPoint3d> pool;
    std::vector<TriangleClipper::IndexedTriangle> result;
    pool.reserve(soup.points.size() * 4);
    result.reserve(soup.triangles.size() * 2);
    for (auto _ : state) {
        // Each pass starts from the input pool, so the pool never grows without bound.
        pool.assign(soup.points.begin(), soup.points.end());
        result.clear();
        TriangleClipper3D clipper(&pool, Box);
        for (const auto& t : soup.triangles) clipper.ClipToExtents(t, &result);
        benchmark::DoNotOptimize(result.data());
        benchmark::DoNotOptimize(pool.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * TriangleCount);
    state.counters["pieces"] = static_cast<double>(result.size());
}

// Copies the pool the same way and counts, per triangle, how many vertices pass all
// six bounds: the classification work without any cutting.
void BM_PlainClassifyBaseline(benchmark::State& state) {
    const Soup& soup = InputSoup();
    std::vector<CPoint3d> pool;
    pool.reserve(soup.points.size() * 4);
    for (auto _ : state) {
        pool.assign(soup.points.begin(), soup.points.end());
        long inside = 0;
        for (const auto& t : soup.triangles) {
            for (int i : t.indices) {
                const CPoint3d& p = pool[static_cast<std::size_t>(i)];
                inside += (p.y <= 1.0 && p.y >= 0.0 && p.x <= 1.0 && p.x >= 0.0 && p.z <= 1.0 && p.z >= 0.0) ? 1 : 0;
            }
        }
        benchmark::DoNotOptimize(inside);
        benchmark::DoNotOptimize(pool.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * TriangleCount);
}

}  // namespace

BENCHMARK(BM_ClipToExtents);
BENCHMARK(BM_PlainClassifyBaseline);
