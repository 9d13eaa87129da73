// Applying a CTransformation to 10k points (in cache): the single-point call in a
// loop and the array call, each beside a plain loop over structure-of-arrays data
// computing the same coordinates in the same program.
//
// Every benchmark iteration runs the plain loop and then the library call over the
// same input, each timed on its own in CPU time of the thread; the benchmark's time is the library's, and
// the counters give both per point and their ratio:
//   lib_ns, plain_ns  nanoseconds per point;  ratio  lib_ns / plain_ns.
// Run with --benchmark_repetitions=5 --benchmark_report_aggregates_only=true and
// read the medians.
#include <geometry/transformation.h>

#include <benchmark/benchmark.h>

#include "paired.h"

#include <cstdint>
#include <vector>

using velmor::geometry::CPoint3d;
using velmor::geometry::CTransformation;
using velmor::geometry::CUnitVector3d;
using velmor::geometry::CVector3d;

namespace {

using plenar_bench::Paired;

constexpr std::size_t PointCount = 10000;

// splitmix64, so that the inputs are the same with every standard library.
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

const std::vector<CPoint3d>& InputPoints() {
    static const std::vector<CPoint3d> points = [] {
        Rng rng{12345};
        std::vector<CPoint3d> p(PointCount);
        for (CPoint3d& q : p) {
            const double x = rng.Uniform(-100, 100), y = rng.Uniform(-100, 100), z = rng.Uniform(-100, 100);
            q = CPoint3d(x, y, z);
        }
        return p;
    }();
    return points;
}

// A general placement: rotation, non-uniform scale and translation.
CTransformation General() {
    return CTransformation::Translate(CVector3d(1, -2, 3)) *
           CTransformation::Rotate(CPoint3d(0, 0, 0), CUnitVector3d(1, 2, 3), 0.7) *
           CTransformation::Scale(1.5, 0.5, 2);
}

// n points from separate coordinate arrays into separate arrays.
void PlainTransform(const double* __restrict px, const double* __restrict py, const double* __restrict pz,
                    std::size_t n, const double* m, const double* t, double s, double* __restrict qx,
                    double* __restrict qy, double* __restrict qz) {
    const double m0 = m[0], m1 = m[1], m2 = m[2], m3 = m[3], m4 = m[4], m5 = m[5], m6 = m[6], m7 = m[7], m8 = m[8];
    const double t0 = t[0], t1 = t[1], t2 = t[2];
    for (std::size_t i = 0; i < n; ++i) {
        qx[i] = (((m0 * px[i] + m1 * py[i]) + m2 * pz[i]) + t0) * s;
        qy[i] = (((m3 * px[i] + m4 * py[i]) + m5 * pz[i]) + t1) * s;
        qz[i] = (((m6 * px[i] + m7 * py[i]) + m8 * pz[i]) + t2) * s;
    }
}

// The floor: the same arithmetic in the same order over separate x, y and z arrays.
struct PlainLoop {
    double m[9], t[3], s;
    std::vector<double> x, y, z, ox, oy, oz;

    explicit PlainLoop(const CTransformation& tr) : s(tr.scale) {
        for (int i = 0; i < 9; ++i) m[i] = tr.matrix[i];
        for (int i = 0; i < 3; ++i) t[i] = tr.translation[i];
        for (const CPoint3d& p : InputPoints()) {
            x.push_back(p.x);
            y.push_back(p.y);
            z.push_back(p.z);
        }
        ox.resize(x.size());
        oy.resize(x.size());
        oz.resize(x.size());
    }

    void Run() {
        PlainTransform(x.data(), y.data(), z.data(), x.size(), m, t, s, ox.data(), oy.data(), oz.data());
        benchmark::DoNotOptimize(ox.data());
        benchmark::DoNotOptimize(oy.data());
        benchmark::DoNotOptimize(oz.data());
        benchmark::ClobberMemory();
    }
};

// out[i] = t * in[i], one call per point.
void BM_TransformPoint_PerCall(benchmark::State& state) {
    const CTransformation t = General();
    PlainLoop plain(t);
    const std::vector<CPoint3d>& in = InputPoints();
    std::vector<CPoint3d> out(PointCount);
    Paired(
        state, PointCount, [&] { plain.Run(); },
        [&] {
            for (std::size_t i = 0; i < PointCount; ++i) out[i] = t * in[i];
            benchmark::DoNotOptimize(out.data());
        });
}
BENCHMARK(BM_TransformPoint_PerCall)->UseManualTime();

// The array call, out of place.
void BM_TransformPoints_Bulk(benchmark::State& state) {
    const CTransformation t = General();
    PlainLoop plain(t);
    const std::vector<CPoint3d>& in = InputPoints();
    std::vector<CPoint3d> out(PointCount);
    Paired(
        state, PointCount, [&] { plain.Run(); },
        [&] {
            t.TransformPoints(in.data(), PointCount, out.data());
            benchmark::DoNotOptimize(out.data());
        });
}
BENCHMARK(BM_TransformPoints_Bulk)->UseManualTime();

}  // namespace
