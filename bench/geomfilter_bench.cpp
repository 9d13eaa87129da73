// Throughput of the pick volume's box and segment tests called through
// IGeomFilter*, as a scene walk calls them, beside the same arithmetic written out
// as a plain loop over raw doubles with no virtual call.
#include <geometry/geomfilter.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

using velmor::geometry::CBoundingBox3d;
using velmor::geometry::CGeomFilterCrossingVolume;
using velmor::geometry::CPlane;
using velmor::geometry::CPoint3d;
using velmor::geometry::CUnitVector3d;
using velmor::geometry::IGeomFilter;

namespace {

constexpr std::size_t Count = 1 << 16;

// A frustum-like volume around the origin: four sloping sides, near and far.
CGeomFilterCrossingVolume MakeVolume() {
    const CPoint3d eye(0, 0, 10);
    return CGeomFilterCrossingVolume(CPlane(eye, CUnitVector3d(1, 0, 0.3)), CPlane(eye, CUnitVector3d(-1, 0, 0.3)),
                                     CPlane(eye, CUnitVector3d(0, 1, 0.3)), CPlane(eye, CUnitVector3d(0, -1, 0.3)),
                                     CPlane(CPoint3d(0, 0, 9), CUnitVector3d(0, 0, 1)),
                                     CPlane(CPoint3d(0, 0, -10), CUnitVector3d(0, 0, -1)));
}

// Boxes and segments scattered so that the answers mix rejected, accepted and
// straddling cases.
const std::vector<CBoundingBox3d>& Boxes() {
    static const std::vector<CBoundingBox3d> boxes = [] {
        std::mt19937_64 rng(31);
        std::uniform_real_distribution<double> u(-12.0, 12.0), s(0.0, 3.0);
        std::vector<CBoundingBox3d> b(Count);
        for (auto& box : b) {
            const CPoint3d lo(u(rng), u(rng), u(rng));
            box = CBoundingBox3d(lo, CPoint3d(lo.x + s(rng), lo.y + s(rng), lo.z + s(rng)));
        }
        return b;
    }();
    return boxes;
}

const std::vector<CPoint3d>& SegmentEnds() {
    static const std::vector<CPoint3d> ends = [] {
        std::mt19937_64 rng(32);
        std::uniform_real_distribution<double> u(-12.0, 12.0);
        std::vector<CPoint3d> e(2 * Count);
        for (auto& p : e) p = CPoint3d(u(rng), u(rng), u(rng));
        return e;
    }();
    return ends;
}

// The volume's planes as raw doubles, for the baselines.
struct RawPlanes {
    double eq[6][4];
    int count;
    explicit RawPlanes(const CGeomFilterCrossingVolume& v) : count(v.HasPlane5() ? 6 : 5) {
        for (int i = 0; i < 6; ++i) v.planes[i].GetEquation(eq[i]);
    }
};

void BM_BoxFullyAcceptedVirtual(benchmark::State& state) {
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter* filter = &volume;
    const std::vector<CBoundingBox3d>& boxes = Boxes();
    for (auto _ : state) {
        int accepted = 0, full = 0;
        for (const CBoundingBox3d& box : boxes) {
            bool f = false;
            accepted += filter->Test(box, f) ? 1 : 0;
            full += f ? 1 : 0;
        }
        benchmark::DoNotOptimize(accepted);
        benchmark::DoNotOptimize(full);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Count));
}

// Nearest and farthest corner per plane, stopping at the first plane with the box
// wholly above it.
void BM_BoxFullyAcceptedPlainLoop(benchmark::State& state) {
    const RawPlanes raw(MakeVolume());
    const std::vector<CBoundingBox3d>& boxes = Boxes();
    for (auto _ : state) {
        int accepted = 0, full = 0;
        for (const CBoundingBox3d& box : boxes) {
            bool rejected = false, allBelow = true;
            for (int i = 0; i < raw.count && !rejected; ++i) {
                const double* e = raw.eq[i];
                const double lx = e[0] >= 0.0 ? box.x.min : box.x.max, hx = e[0] >= 0.0 ? box.x.max : box.x.min;
                const double ly = e[1] >= 0.0 ? box.y.min : box.y.max, hy = e[1] >= 0.0 ? box.y.max : box.y.min;
                const double lz = e[2] >= 0.0 ? box.z.min : box.z.max, hz = e[2] >= 0.0 ? box.z.max : box.z.min;
                if (e[0] * lx + e[1] * ly + e[2] * lz + e[3] > 0.0) {
                    rejected = true;
                } else if (!(e[0] * hx + e[1] * hy + e[2] * hz + e[3] < 0.0)) {
                    allBelow = false;
                }
            }
            accepted += rejected ? 0 : 1;
            full += !rejected && allBelow ? 1 : 0;
        }
        benchmark::DoNotOptimize(accepted);
        benchmark::DoNotOptimize(full);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Count));
}

void BM_SegmentVirtual(benchmark::State& state) {
    CGeomFilterCrossingVolume volume = MakeVolume();
    IGeomFilter* filter = &volume;
    const std::vector<CPoint3d>& ends = SegmentEnds();
    for (auto _ : state) {
        int accepted = 0;
        for (std::size_t i = 0; i < Count; ++i) accepted += filter->Test(ends[2 * i], ends[2 * i + 1]) ? 1 : 0;
        benchmark::DoNotOptimize(accepted);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Count));
}

// The plane-by-plane trim written out: move the end above each plane onto it.
void BM_SegmentPlainLoop(benchmark::State& state) {
    const RawPlanes raw(MakeVolume());
    const std::vector<CPoint3d>& ends = SegmentEnds();
    for (auto _ : state) {
        int accepted = 0;
        for (std::size_t s = 0; s < Count; ++s) {
            double a[3] = {ends[2 * s].x, ends[2 * s].y, ends[2 * s].z};
            double b[3] = {ends[2 * s + 1].x, ends[2 * s + 1].y, ends[2 * s + 1].z};
            bool rejected = false;
            for (int i = 0; i < raw.count && !rejected; ++i) {
                const double* e = raw.eq[i];
                const double da = e[0] * a[0] + e[1] * a[1] + e[2] * a[2] + e[3];
                const double db = e[0] * b[0] + e[1] * b[1] + e[2] * b[2] + e[3];
                if (da > 0.0 && db > 0.0) {
                    rejected = true;
                } else if (da > 0.0 || db > 0.0) {
                    double* above = da > 0.0 ? a : b;
                    const double* below = da > 0.0 ? b : a;
                    const double wa = da > 0.0 ? da : db, wb = da > 0.0 ? -db : -da;
                    const double sum = wa + wb;
                    if (sum >= 1e-10)
                        for (int k = 0; k < 3; ++k) above[k] = (wb * above[k] + wa * below[k]) / sum;
                }
            }
            accepted += rejected ? 0 : 1;
        }
        benchmark::DoNotOptimize(accepted);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Count));
}

}  // namespace

BENCHMARK(BM_BoxFullyAcceptedVirtual);
BENCHMARK(BM_BoxFullyAcceptedPlainLoop);
BENCHMARK(BM_SegmentVirtual);
BENCHMARK(BM_SegmentPlainLoop);
