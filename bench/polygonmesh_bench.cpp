// Building a CPolygonMesh from quad coordinates, which welds every corner into the
// point pool by a linear scan. Meshes of about 1k, 10k and 50k points; the items
// per second (corners welded) fall in proportion to the mesh size, which is the
// quadratic cost of welding made visible. Beside it, a plain loop doing the same
// scan-and-append weld on a bare array.
//
// Then the same welds through a CMeshWelder: point streams of n points with n / 4
// distinct positions in random order, and the quad meshes. The paired benchmarks
// run a baseline and the welder in turn on every iteration, each timed in CPU
// time of the thread, and report
//   lib_ns, plain_ns  nanoseconds per point;  ratio  lib_ns / plain_ns.
// The baseline is a hand-written exact-duplicate weld with std::unordered_map
// (which gives the same indices on these inputs: their distinct positions lie far
// apart and their repeats are exact or within a quarter of EqualTol), or the
// mesh's own linear scan where that is affordable. Run with
//   --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
// and read the medians.
#include <geometry/meshwelder.h>
#include <geometry/polygonmesh.h>
#include <geometry/tol.h>

#include <benchmark/benchmark.h>
#include <support/random.h>

#include "paired.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <unordered_map>
#include <utility>
#include <vector>

using velmor::geometry::CMeshWelder;
using velmor::geometry::CPoint3d;
using velmor::geometry::CPolygonMesh;

namespace {

using plenar_bench::Paired;

// A grid of side x side points (side even) covered by the quads of a checkerboard's
// dark cells, row by row, so that every point is a corner of one or two quads. Each
// corner is jittered by less than a quarter of EqualTol, so welding has to be
// tolerant.
struct QuadGrid {
    long side = 0;
    std::vector<CPoint3d> corners;  // four per quad
};

QuadGrid MakeGrid(long pointCount) {
    QuadGrid g;
    g.side = 2 * static_cast<long>(std::lround(std::sqrt(static_cast<double>(pointCount)) / 2));
    std::mt19937 rng(4242);
    std::uniform_real_distribution<double> jitter(-0.0002, 0.0002);
    auto corner = [&](long i, long j) {
        return CPoint3d(static_cast<double>(i) + jitter(rng), static_cast<double>(j) + jitter(rng),
                        0.01 * static_cast<double>((i * 7 + j * 3) % 11) + jitter(rng));
    };
    for (long j = 0; j + 1 < g.side; ++j) {
        for (long i = (j % 2); i + 1 < g.side; i += 2) {
            for (const auto& [di, dj] : {std::pair(0, 0), std::pair(1, 0), std::pair(1, 1), std::pair(0, 1)}) {
                g.corners.push_back(corner(i + di, j + dj));
            }
        }
    }
    return g;
}

void BM_AddPolygonWelding(benchmark::State& state) {
    const QuadGrid g = MakeGrid(static_cast<long>(state.range(0)));
    const long quads = static_cast<long>(g.corners.size() / 4);
    std::size_t welded = 0;
    for (auto _ : state) {
        CPolygonMesh mesh(0);
        mesh.ReserveSpace(g.side * g.side, quads);
        for (long q = 0; q < quads; ++q) mesh.AddPolygon(4, g.corners.data() + 4 * q);
        welded = mesh.points.size();
        benchmark::DoNotOptimize(mesh.polygonIndices.data());
    }
    if (welded != static_cast<std::size_t>(g.side * g.side)) state.SkipWithError("welding lost or split points");
    state.counters["points"] = static_cast<double>(welded);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(g.corners.size()));
}

// The same weld as a bare loop: scan the pool for the first point within EqualTol
// (the same strict per-axis and squared-distance test), else append.
void BM_PlainLoopWelding(benchmark::State& state) {
    const QuadGrid g = MakeGrid(static_cast<long>(state.range(0)));
    for (auto _ : state) {
        const double tol = velmor::geometry::EqualTol;
        std::vector<CPoint3d> pool;
        std::vector<long> indices;
        pool.reserve(static_cast<std::size_t>(g.side * g.side));
        indices.reserve(g.corners.size());
        for (const CPoint3d& p : g.corners) {
            long found = 0;
            for (std::size_t k = 0; k < pool.size() && found == 0; ++k) {
                const double dx = pool[k].x - p.x, dy = pool[k].y - p.y, dz = pool[k].z - p.z;
                if (std::fabs(dx) < tol && std::fabs(dy) < tol && std::fabs(dz) < tol &&
                    dx * dx + dy * dy + dz * dz < tol * tol) {
                    found = static_cast<long>(k + 1);
                }
            }
            if (found == 0) {
                pool.push_back(p);
                found = static_cast<long>(pool.size());
            }
            indices.push_back(found);
        }
        benchmark::DoNotOptimize(indices.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(g.corners.size()));
}

}  // namespace

// The 50k mesh welds some 100k corners against up to 50k points, seconds per pass:
// one pass reads its rate, and the baseline stops at 10k.
BENCHMARK(BM_AddPolygonWelding)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddPolygonWelding)->Arg(50000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainLoopWelding)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

namespace {

// n points over n / 4 distinct positions scattered in a cube, each position
// repeated four times, in random order. `exact` holds the repeats as exact
// copies; `jittered` moves every repeat but the first by less than a quarter of
// EqualTol per axis, so welding it needs the tolerance.
struct PointStream {
    std::vector<CPoint3d> exact, jittered;
};

PointStream MakeStream(std::size_t n) {
    plenar_test::SplitMix64 rng(0x5EED0000u + n);
    const std::size_t distinct = n / 4;
    const double side = std::cbrt(static_cast<double>(distinct)) * 2.0;
    std::vector<CPoint3d> bases(distinct);
    for (CPoint3d& b : bases) b = CPoint3d(rng.Uniform(0, side), rng.Uniform(0, side), rng.Uniform(0, side));
    std::vector<std::size_t> order(n);
    for (std::size_t i = 0; i < n; ++i) order[i] = i % distinct;
    for (std::size_t i = n; i > 1; --i) std::swap(order[i - 1], order[rng.Next() % i]);
    PointStream s;
    std::vector<bool> seen(distinct, false);
    const double j = 0.25 * velmor::geometry::EqualTol;
    for (std::size_t k : order) {
        s.exact.push_back(bases[k]);
        CPoint3d p = bases[k];
        if (seen[k]) p = CPoint3d(p.x + rng.Uniform(-j, j), p.y + rng.Uniform(-j, j), p.z + rng.Uniform(-j, j));
        seen[k] = true;
        s.jittered.push_back(p);
    }
    return s;
}
// The baseline: exact duplicates found by the bits of their coordinates in a
// reserved std::unordered_map; a new position is appended to the pool.
struct BitsKey {
    std::uint64_t x, y, z;
    bool operator==(const BitsKey& o) const { return x == o.x && y == o.y && z == o.z; }
};
struct BitsHash {
    std::size_t operator()(const BitsKey& k) const {
        std::uint64_t h = k.x * 0x9E3779B97F4A7C15ull ^ (k.y + 0x632BE59BD9B4E019ull);
        h = (h ^ (h >> 29)) * 0xBF58476D1CE4E5B9ull ^ k.z;
        return static_cast<std::size_t>((h ^ (h >> 32)) * 0x94D049BB133111EBull);
    }
};

void ExactHashWeld(const std::vector<CPoint3d>& in, std::vector<CPoint3d>& pool, std::vector<long>& indices) {
    std::unordered_map<BitsKey, long, BitsHash> seen;
    seen.reserve(in.size() / 4);
    pool.clear();
    indices.clear();
    for (const CPoint3d& p : in) {
        BitsKey k{};
        std::memcpy(&k.x, &p.x, 8);
        std::memcpy(&k.y, &p.y, 8);
        std::memcpy(&k.z, &p.z, 8);
        const auto [it, added] = seen.try_emplace(k, static_cast<long>(pool.size()) + 1);
        if (added) pool.push_back(p);
        indices.push_back(it->second);
    }
}

// A fresh mesh welded through a CMeshWelder with one bulk call.
void WelderWeld(const std::vector<CPoint3d>& in, std::vector<long>& indices, std::size_t& poolSize) {
    CPolygonMesh mesh(0);
    CMeshWelder welder(mesh);
    indices.resize(in.size());
    welder.InsertPoints(in.data(), in.size(), indices.data());
    poolSize = mesh.points.size();
}

// Argument 0 welds the exact stream, 1 the jittered one; both beside the exact
// hash weld of the exact stream, whose indices they must reproduce.
void BM_WelderStream(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const PointStream s = MakeStream(n);
    const std::vector<CPoint3d>& input = state.range(1) == 0 ? s.exact : s.jittered;
    std::vector<CPoint3d> pool;
    std::vector<long> want, got;
    std::size_t poolSize = 0;
    Paired(
        state, n, [&] { ExactHashWeld(s.exact, pool, want); },
        [&] {
            WelderWeld(input, got, poolSize);
            benchmark::DoNotOptimize(got.data());
        });
    if (got != want || poolSize != n / 4) state.SkipWithError("the welder's indices differ from the exact weld's");
}
BENCHMARK(BM_WelderStream)
    ->Args({100000, 0})
    ->Args({100000, 1})
    ->Args({1000000, 0})
    ->Args({1000000, 1})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The welder beside the mesh's linear scan, where the scan is affordable.
void BM_WelderVersusLinearScan(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const PointStream s = MakeStream(n);
    std::vector<long> want(n), got;
    std::size_t poolSize = 0;
    Paired(
        state, n,
        [&] {
            CPolygonMesh mesh(0);
            for (std::size_t i = 0; i < n; ++i) want[i] = mesh.InsertPoint(s.jittered[i]);
            benchmark::DoNotOptimize(want.data());
        },
        [&] {
            WelderWeld(s.jittered, got, poolSize);
            benchmark::DoNotOptimize(got.data());
        });
    if (got != want) state.SkipWithError("the welder's indices differ from the linear scan's");
}
BENCHMARK(BM_WelderVersusLinearScan)->Arg(10000)->UseManualTime()->Unit(benchmark::kMillisecond);

// The quad meshes of BM_AddPolygonWelding built through CMeshWelder::AddPolygon.
void BM_WelderAddPolygon(benchmark::State& state) {
    const QuadGrid g = MakeGrid(static_cast<long>(state.range(0)));
    const long quads = static_cast<long>(g.corners.size() / 4);
    std::size_t welded = 0;
    for (auto _ : state) {
        CPolygonMesh mesh(0);
        mesh.ReserveSpace(g.side * g.side, quads);
        CMeshWelder welder(mesh);
        for (long q = 0; q < quads; ++q) welder.AddPolygon(4, g.corners.data() + 4 * q);
        welded = mesh.points.size();
        benchmark::DoNotOptimize(mesh.polygonIndices.data());
    }
    if (welded != static_cast<std::size_t>(g.side * g.side)) state.SkipWithError("welding lost or split points");
    state.counters["points"] = static_cast<double>(welded);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(g.corners.size()));
}
BENCHMARK(BM_WelderAddPolygon)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
