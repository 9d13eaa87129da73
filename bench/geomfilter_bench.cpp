// A pick volume against many boxes, points and segments: the per-item test called
// through IGeomFilter*, as a scene walk calls it, and the bulk call, each beside a
// plain loop over structure-of-arrays data computing the same answers (one bool per
// box, or two with the fully-accepted flag) in the same program.
//
// Every benchmark iteration runs the plain loop and then the library's pass over
// the same input, each timed on its own in CPU time of the thread; the benchmark's
// time is the library's, and the counters give both per item and their ratio:
//   lib_ns, plain_ns  nanoseconds per item;  ratio  lib_ns / plain_ns.
// The argument is the number of items (64k fits in cache, 1M does not). Run with
//   --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
// and read the medians.
#include <geometry/geomfilter.h>

#include <benchmark/benchmark.h>

#include "paired.h"

#include <cstdint>
#include <memory>
#include <vector>

using velmor::geometry::CBoundingBox3d;
using velmor::geometry::CGeomFilterCrossingVolume;
using velmor::geometry::CPlane;
using velmor::geometry::CPoint3d;
using velmor::geometry::CUnitVector3d;
using velmor::geometry::IGeomFilter;

namespace {

using plenar_bench::Paired;

// splitmix64, so that the inputs are the same with every standard library.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    double Uniform(double lo, double hi) {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        z ^= z >> 31;
        return lo + (hi - lo) * (static_cast<double>(z >> 11) * 0x1.0p-53);
    }

private:
    std::uint64_t state_;
};

// A frustum-like volume around the origin: four sloping sides, near and far.
CGeomFilterCrossingVolume MakeVolume() {
    const CPoint3d eye(0, 0, 10);
    return CGeomFilterCrossingVolume(CPlane(eye, CUnitVector3d(1, 0, 0.3)), CPlane(eye, CUnitVector3d(-1, 0, 0.3)),
                                     CPlane(eye, CUnitVector3d(0, 1, 0.3)), CPlane(eye, CUnitVector3d(0, -1, 0.3)),
                                     CPlane(CPoint3d(0, 0, 9), CUnitVector3d(0, 0, 1)),
                                     CPlane(CPoint3d(0, 0, -10), CUnitVector3d(0, 0, -1)));
}

// Boxes, points and segment ends scattered so that the answers mix rejected,
// accepted and straddling cases; the same data as arrays of structures (what the
// library takes) and as structures of arrays (what the plain loops read).
struct Inputs {
    std::vector<CBoundingBox3d> boxes;
    std::vector<double> lo[3], hi[3];
    std::vector<CPoint3d> points, ends;
    std::vector<double> p[3], a[3], b[3];

    explicit Inputs(std::size_t n) : boxes(n), points(n), ends(2 * n) {
        Random rng(31);
        for (int k = 0; k < 3; ++k) lo[k].resize(n), hi[k].resize(n), p[k].resize(n), a[k].resize(n), b[k].resize(n);
        for (std::size_t i = 0; i < n; ++i) {
            const CPoint3d l(rng.Uniform(-12, 12), rng.Uniform(-12, 12), rng.Uniform(-12, 12));
            const CPoint3d h(l.x + rng.Uniform(0, 3), l.y + rng.Uniform(0, 3), l.z + rng.Uniform(0, 3));
            boxes[i] = CBoundingBox3d(l, h);
            points[i] = CPoint3d(rng.Uniform(-12, 12), rng.Uniform(-12, 12), rng.Uniform(-12, 12));
            ends[2 * i] = CPoint3d(rng.Uniform(-12, 12), rng.Uniform(-12, 12), rng.Uniform(-12, 12));
            ends[2 * i + 1] = CPoint3d(rng.Uniform(-12, 12), rng.Uniform(-12, 12), rng.Uniform(-12, 12));
            const double bl[3] = {l.x, l.y, l.z}, bh[3] = {h.x, h.y, h.z};
            const double pp[3] = {points[i].x, points[i].y, points[i].z};
            const double pa[3] = {ends[2 * i].x, ends[2 * i].y, ends[2 * i].z};
            const double pb[3] = {ends[2 * i + 1].x, ends[2 * i + 1].y, ends[2 * i + 1].z};
            for (int k = 0; k < 3; ++k) {
                lo[k][i] = bl[k];
                hi[k][i] = bh[k];
                p[k][i] = pp[k];
                a[k][i] = pa[k];
                b[k][i] = pb[k];
            }
        }
    }
};

const Inputs& InputsOf(std::size_t n) {
    static std::unique_ptr<Inputs> inputs;
    if (!inputs || inputs->boxes.size() != n) inputs.reset(new Inputs(n));
    return *inputs;
}

// The volume's planes as raw doubles, for the plain loops.
struct RawPlanes {
    double e[6][4];
    int count;
    explicit RawPlanes(const CGeomFilterCrossingVolume& v) : count(v.HasPlane5() ? 6 : 5) {
        for (int i = 0; i < 6; ++i) v.planes[i].GetEquation(e[i]);
    }
};

// The plain loops: accepted[i] (and full[i]) for every item, over the columns.
struct PlainLoops {
    RawPlanes raw{MakeVolume()};
    const Inputs& in;
    std::unique_ptr<bool[]> accepted, full;
    std::size_t n;

    explicit PlainLoops(std::size_t count)
        : in(InputsOf(count)), accepted(new bool[count]), full(new bool[count]), n(count) {}

    // Per plane the nearest corner (minimum where the normal component is >= 0) and
    // the farthest; rejected when some nearest corner is above, fully accepted when
    // every farthest corner is below.
    void Boxes() {
        const double *x0 = in.lo[0].data(), *x1 = in.hi[0].data(), *y0 = in.lo[1].data(), *y1 = in.hi[1].data();
        const double *z0 = in.lo[2].data(), *z1 = in.hi[2].data();
        for (std::size_t i = 0; i < n; ++i) {
            bool above = false, notBelow = false;
            for (int k = 0; k < raw.count; ++k) {
                const double* e = raw.e[k];
                const double lx = e[0] >= 0.0 ? x0[i] : x1[i], hx = e[0] >= 0.0 ? x1[i] : x0[i];
                const double ly = e[1] >= 0.0 ? y0[i] : y1[i], hy = e[1] >= 0.0 ? y1[i] : y0[i];
                const double lz = e[2] >= 0.0 ? z0[i] : z1[i], hz = e[2] >= 0.0 ? z1[i] : z0[i];
                above |= e[0] * lx + e[1] * ly + e[2] * lz + e[3] > 0.0;
                notBelow |= !(e[0] * hx + e[1] * hy + e[2] * hz + e[3] < 0.0);
            }
            accepted[i] = !above;
            full[i] = !above && !notBelow;
        }
        benchmark::DoNotOptimize(accepted.get());
        benchmark::DoNotOptimize(full.get());
    }

    // Inside or on every plane.
    void Points() {
        const double *x = in.p[0].data(), *y = in.p[1].data(), *z = in.p[2].data();
        for (std::size_t i = 0; i < n; ++i) {
            bool above = false;
            for (int k = 0; k < raw.count; ++k) {
                const double* e = raw.e[k];
                above |= e[0] * x[i] + e[1] * y[i] + e[2] * z[i] + e[3] > 0.0;
            }
            accepted[i] = !above;
        }
        benchmark::DoNotOptimize(accepted.get());
    }

    // The plane-by-plane trim written out: move the end above each plane onto it,
    // stop when both ends are above.
    void Segments() {
        for (std::size_t s = 0; s < n; ++s) {
            double a[3] = {in.a[0][s], in.a[1][s], in.a[2][s]};
            double b[3] = {in.b[0][s], in.b[1][s], in.b[2][s]};
            bool rejected = false;
            for (int k = 0; k < raw.count && !rejected; ++k) {
                const double* e = raw.e[k];
                const double da = e[0] * a[0] + e[1] * a[1] + e[2] * a[2] + e[3];
                const double db = e[0] * b[0] + e[1] * b[1] + e[2] * b[2] + e[3];
                if (da > 0.0 && db > 0.0) {
                    rejected = true;
                } else if (da > 0.0 || db > 0.0) {
                    double* up = da > 0.0 ? a : b;
                    const double* down = da > 0.0 ? b : a;
                    const double wu = da > 0.0 ? da : db, wd = da > 0.0 ? -db : -da;
                    const double sum = wu + wd;
                    if (sum >= 1e-10)
                        for (int c = 0; c < 3; ++c) up[c] = (wd * up[c] + wu * down[c]) / sum;
                }
            }
            accepted[s] = !rejected;
        }
        benchmark::DoNotOptimize(accepted.get());
    }
};

// Test(box, fullyAccepted) through IGeomFilter*, one call per box.
void BM_Boxes_PerCall(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    PlainLoops plain(n);
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter* filter = &volume;
    std::unique_ptr<bool[]> accepted(new bool[n]), full(new bool[n]);
    const CBoundingBox3d* boxes = plain.in.boxes.data();
    Paired(
        state, n, [&] { plain.Boxes(); },
        [&] {
            for (std::size_t i = 0; i < n; ++i) accepted[i] = filter->Test(boxes[i], full[i]);
            benchmark::DoNotOptimize(accepted.get());
            benchmark::DoNotOptimize(full.get());
        });
}
BENCHMARK(BM_Boxes_PerCall)->Arg(1 << 16)->Arg(1 << 20)->UseManualTime();

// The bulk call through the IGeomFilter& dispatcher, with the fully-accepted flags.
void BM_Boxes_Bulk(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    PlainLoops plain(n);
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter& filter = volume;
    std::unique_ptr<bool[]> accepted(new bool[n]), full(new bool[n]);
    Paired(
        state, n, [&] { plain.Boxes(); },
        [&] {
            TestBoxes(filter, plain.in.boxes.data(), n, accepted.get(), full.get());
            benchmark::DoNotOptimize(accepted.get());
            benchmark::DoNotOptimize(full.get());
        });
}
BENCHMARK(BM_Boxes_Bulk)->Arg(1 << 16)->Arg(1 << 20)->UseManualTime();

void BM_Points_PerCall(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    PlainLoops plain(n);
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter* filter = &volume;
    std::unique_ptr<bool[]> accepted(new bool[n]);
    const CPoint3d* points = plain.in.points.data();
    Paired(
        state, n, [&] { plain.Points(); },
        [&] {
            for (std::size_t i = 0; i < n; ++i) accepted[i] = filter->Test(points[i]);
            benchmark::DoNotOptimize(accepted.get());
        });
}
BENCHMARK(BM_Points_PerCall)->Arg(1 << 20)->UseManualTime();

void BM_Points_Bulk(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    PlainLoops plain(n);
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter& filter = volume;
    std::unique_ptr<bool[]> accepted(new bool[n]);
    Paired(
        state, n, [&] { plain.Points(); },
        [&] {
            TestPoints(filter, plain.in.points.data(), n, accepted.get());
            benchmark::DoNotOptimize(accepted.get());
        });
}
BENCHMARK(BM_Points_Bulk)->Arg(1 << 20)->UseManualTime();

void BM_Segments_PerCall(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    PlainLoops plain(n);
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter* filter = &volume;
    std::unique_ptr<bool[]> accepted(new bool[n]);
    const CPoint3d* ends = plain.in.ends.data();
    Paired(
        state, n, [&] { plain.Segments(); },
        [&] {
            for (std::size_t i = 0; i < n; ++i) accepted[i] = filter->Test(ends[2 * i], ends[2 * i + 1]);
            benchmark::DoNotOptimize(accepted.get());
        });
}
BENCHMARK(BM_Segments_PerCall)->Arg(1 << 20)->UseManualTime();

void BM_Segments_Bulk(benchmark::State& state) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    PlainLoops plain(n);
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter& filter = volume;
    std::unique_ptr<bool[]> accepted(new bool[n]);
    Paired(
        state, n, [&] { plain.Segments(); },
        [&] {
            TestSegments(filter, plain.in.ends.data(), n, accepted.get());
            benchmark::DoNotOptimize(accepted.get());
        });
}
BENCHMARK(BM_Segments_Bulk)->Arg(1 << 20)->UseManualTime();

}  // namespace
