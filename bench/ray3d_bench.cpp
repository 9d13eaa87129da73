// Picking's hot paths: a ray against a box with its entry point and face, pair by
// pair (10k pairs, in cache) and one ray against 10k boxes through the array call,
// and a plane classifying boxes. Each library call runs beside a plain loop over
// structure-of-arrays data that computes the same answer (hit, entry point, face;
// checked equal before timing) in the same program.
//
// Every benchmark iteration runs the plain loop and then the library call, each
// timed on its own in CPU time of the thread; the benchmark's time is the
// library's, and the counters give both per item and their ratio:
//   lib_ns, plain_ns  nanoseconds per ray/box pair;  ratio  lib_ns / plain_ns.
// Run with --benchmark_repetitions=5 --benchmark_report_aggregates_only=true and
// read the medians.
#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>

#include <benchmark/benchmark.h>

#include "paired.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

using namespace velmor::geometry;

namespace {

using plenar_bench::Paired;

constexpr std::size_t kCount = 10000;

// splitmix64, so that the scene is the same with every standard library.
struct Rng {
    std::uint64_t state;
    double Uniform(double lo, double hi) {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        z ^= z >> 31;
        return lo + (hi - lo) * (static_cast<double>(z >> 11) * 0x1.0p-53);
    }
};

struct Scene {
    std::vector<CRay3d> rays;
    std::vector<CPlane> planes;
    std::vector<CBoundingBox3d> boxes;
};

// Boxes scattered in a 20-unit cube; rays from a shell around it, half aimed at
// their own box and half roughly at the middle, so that hits and misses mix.
const Scene& GetScene() {
    static const Scene scene = [] {
        Scene s;
        Rng rng{2024};
        for (std::size_t i = 0; i < kCount; ++i) {
            const double x = rng.Uniform(-10, 10), y = rng.Uniform(-10, 10), z = rng.Uniform(-10, 10);
            const double w = 1 + rng.Uniform(-1, 1), h = 1 + rng.Uniform(-1, 1), d = 1 + rng.Uniform(-1, 1);
            const CBoundingBox3d box(CPoint3d(x, y, z), CPoint3d(x + w, y + h, z + d));
            s.boxes.push_back(box);
            const CPoint3d from(rng.Uniform(-30, 30), rng.Uniform(-30, 30), rng.Uniform(-30, 30));
            const double jx = rng.Uniform(-1, 1), jy = rng.Uniform(-1, 1), jz = rng.Uniform(-1, 1);
            const CPoint3d to = i % 2 == 0 ? CPoint3d(x + w * 0.5 + jx, y + h * 0.5 + jy, z + d * 0.5 + jz)
                                           : CPoint3d(5 * jx, 5 * jy, 5 * jz);
            s.rays.emplace_back(from, CUnitVector3d(from, to));
            const double a = rng.Uniform(-1, 1), b = rng.Uniform(-1, 1), c = rng.Uniform(-1, 1);
            s.planes.emplace_back(a, b, c, rng.Uniform(-10, 10));
        }
        return s;
    }();
    return scene;
}

// The scene as separate arrays: ray origins and directions, box minima and maxima
// per axis.
struct SoA {
    std::vector<double> o[3], u[3], lo[3], hi[3];
    SoA() {
        const Scene& s = GetScene();
        for (std::size_t i = 0; i < kCount; ++i) {
            const CRay3d& r = s.rays[i];
            const CBoundingBox3d& b = s.boxes[i];
            const double ro[3] = {r.origin.x, r.origin.y, r.origin.z};
            const double ru[3] = {r.direction.x, r.direction.y, r.direction.z};
            const double bl[3] = {b.x.min, b.y.min, b.z.min};
            const double bh[3] = {b.x.max, b.y.max, b.z.max};
            for (int k = 0; k < 3; ++k) {
                o[k].push_back(ro[k]);
                u[k].push_back(ru[k]);
                lo[k].push_back(bl[k]);
                hi[k].push_back(bh[k]);
            }
        }
    }
};

// Results of a plain loop, as separate arrays.
struct Answers {
    std::unique_ptr<bool[]> hit{new bool[kCount]};
    std::vector<double> e[3] = {std::vector<double>(kCount), std::vector<double>(kCount), std::vector<double>(kCount)};
    std::vector<int> side = std::vector<int>(kCount);
};

// The ray/box entry test written out plainly: the near face of each slab the
// origin is outside, the largest face parameter (earlier axis on a tie), the entry
// point within the other two slabs. Ray k's numbers are ro[k], ru[k] (one ray) or
// arrays (one ray per box) as the caller passes them.
inline void PlainOne(const double* o, const double* u, const double* lo, const double* hi, bool& hit, double* e,
                     int& side) {
    side = 0;
    hit = false;
    if (lo[0] > hi[0]) return;
    double t[3], c[3];
    bool left[3], inside = true;
    for (int k = 0; k < 3; ++k) {
        left[k] = lo[k] > o[k];
        const bool out = left[k] || o[k] > hi[k];
        inside = inside && !out;
        c[k] = left[k] ? lo[k] : hi[k];
        t[k] = out && u[k] != 0.0 ? (c[k] - o[k]) / u[k] : -1.0;
    }
    if (inside) {
        hit = true;
        for (int k = 0; k < 3; ++k) e[k] = o[k];
        return;
    }
    int a = 0;
    if (t[1] > t[a]) a = 1;
    if (t[2] > t[a]) a = 2;
    if (t[a] < 0.0) return;
    double p[3];
    for (int k = 0; k < 3; ++k) {
        p[k] = k == a ? c[k] : o[k] + t[a] * u[k];
        if (k != a && (p[k] < lo[k] || p[k] > hi[k])) return;
    }
    hit = true;
    for (int k = 0; k < 3; ++k) e[k] = p[k];
    side = 2 * a + (left[a] ? 1 : 2);
}

void PlainPairs(const SoA& s, Answers& out) {
    for (std::size_t i = 0; i < kCount; ++i) {
        const double o[3] = {s.o[0][i], s.o[1][i], s.o[2][i]};
        const double u[3] = {s.u[0][i], s.u[1][i], s.u[2][i]};
        const double lo[3] = {s.lo[0][i], s.lo[1][i], s.lo[2][i]};
        const double hi[3] = {s.hi[0][i], s.hi[1][i], s.hi[2][i]};
        double e[3];
        PlainOne(o, u, lo, hi, out.hit[i], e, out.side[i]);
        if (out.hit[i]) {
            for (int k = 0; k < 3; ++k) out.e[k][i] = e[k];
        }
    }
    benchmark::ClobberMemory();
}

void PlainOneRay(const SoA& s, Answers& out) {
    const double o[3] = {s.o[0][0], s.o[1][0], s.o[2][0]};
    const double u[3] = {s.u[0][0], s.u[1][0], s.u[2][0]};
    for (std::size_t i = 0; i < kCount; ++i) {
        const double lo[3] = {s.lo[0][i], s.lo[1][i], s.lo[2][i]};
        const double hi[3] = {s.hi[0][i], s.hi[1][i], s.hi[2][i]};
        double e[3];
        PlainOne(o, u, lo, hi, out.hit[i], e, out.side[i]);
        if (out.hit[i]) {
            for (int k = 0; k < 3; ++k) out.e[k][i] = e[k];
        }
    }
    benchmark::ClobberMemory();
}

// Whether the library's answers equal the plain loop's.
bool Agree(const Answers& a, const bool* hits, const std::vector<CPoint3d>& entries,
           const std::vector<EBoxSide>& sides) {
    for (std::size_t i = 0; i < kCount; ++i) {
        if (a.hit[i] != hits[i] || a.side[i] != static_cast<int>(sides[i])) return false;
        if (hits[i] && (a.e[0][i] != entries[i].x || a.e[1][i] != entries[i].y || a.e[2][i] != entries[i].z))
            return false;
    }
    return true;
}
// Ray i against box i, one IntersectWith call per pair.
void BM_RayBox_PerCall(benchmark::State& state) {
    const Scene& s = GetScene();
    const SoA soa;
    Answers plain;
    std::unique_ptr<bool[]> hits(new bool[kCount]);
    std::vector<CPoint3d> entries(kCount);
    std::vector<EBoxSide> sides(kCount);
    const auto library = [&] {
        for (std::size_t i = 0; i < kCount; ++i) hits[i] = s.rays[i].IntersectWith(s.boxes[i], entries[i], sides[i]);
    };
    PlainPairs(soa, plain);
    library();
    if (!Agree(plain, hits.get(), entries, sides)) state.SkipWithError("plain loop and library disagree");
    Paired(
        state, kCount, [&] { PlainPairs(soa, plain); }, library);
}
BENCHMARK(BM_RayBox_PerCall)->UseManualTime();

// One ray against every box through the array call: the shape of a pick.
void BM_OneRayManyBoxes_Bulk(benchmark::State& state) {
    const Scene& s = GetScene();
    const SoA soa;
    Answers plain;
    std::unique_ptr<bool[]> hits(new bool[kCount]);
    std::vector<CPoint3d> entries(kCount);
    std::vector<EBoxSide> sides(kCount);
    const CRay3d& ray = s.rays[0];
    const auto library = [&] { ray.IntersectBoxes(s.boxes.data(), kCount, hits.get(), entries.data(), sides.data()); };
    PlainOneRay(soa, plain);
    library();
    if (!Agree(plain, hits.get(), entries, sides)) state.SkipWithError("plain loop and library disagree");
    Paired(
        state, kCount, [&] { PlainOneRay(soa, plain); }, library);
}
BENCHMARK(BM_OneRayManyBoxes_Bulk)->UseManualTime();

// The same through one IntersectWith call per box, for comparison.
void BM_OneRayManyBoxes_PerCall(benchmark::State& state) {
    const Scene& s = GetScene();
    const SoA soa;
    Answers plain;
    std::unique_ptr<bool[]> hits(new bool[kCount]);
    std::vector<CPoint3d> entries(kCount);
    std::vector<EBoxSide> sides(kCount);
    const CRay3d& ray = s.rays[0];
    const auto library = [&] {
        for (std::size_t i = 0; i < kCount; ++i) hits[i] = ray.IntersectWith(s.boxes[i], entries[i], sides[i]);
    };
    Paired(
        state, kCount, [&] { PlainOneRay(soa, plain); }, library);
}
BENCHMARK(BM_OneRayManyBoxes_PerCall)->UseManualTime();

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

}  // namespace
