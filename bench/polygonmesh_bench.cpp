// Building a CPolygonMesh from quad coordinates, which welds every corner into the
// point pool by a linear scan. Meshes of about 1k, 10k and 50k points; the items
// per second (corners welded) fall in proportion to the mesh size, which is the
// quadratic cost of welding made visible. Beside it, a plain loop doing the same
// scan-and-append weld on a bare array.
#include <geometry/polygonmesh.h>
#include <geometry/tol.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <utility>
#include <vector>

using velmor::geometry::CPoint3d;
using velmor::geometry::CPolygonMesh;

namespace {

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
