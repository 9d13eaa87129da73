// Throughput of applying a CTransformation to a large array of points, beside a
// plain loop doing the same arithmetic on raw doubles.
#include <geometry/transformation.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

using velmor::geometry::CPoint3d;
using velmor::geometry::CTransformation;
using velmor::geometry::CUnitVector3d;
using velmor::geometry::CVector3d;

namespace {

constexpr std::size_t PointCount = 1 << 16;

enum Kind { General = 0, OrthogonalScaled = 1, IdentityKind = 2 };

const std::vector<CPoint3d>& InputPoints() {
    static const std::vector<CPoint3d> points = [] {
        std::mt19937_64 rng(12345);
        std::uniform_real_distribution<double> u(-100.0, 100.0);
        std::vector<CPoint3d> p(PointCount);
        for (auto& q : p) q = CPoint3d(u(rng), u(rng), u(rng));
        return p;
    }();
    return points;
}

CTransformation MakeTransformation(int kind) {
    const CPoint3d origin(0, 0, 0);
    switch (kind) {
        case General:
            return CTransformation::Translate(CVector3d(1, -2, 3)) *
                   CTransformation::Rotate(origin, CUnitVector3d(1, 2, 3), 0.7) * CTransformation::Scale(1.5, 0.5, 2);
        case OrthogonalScaled:
            return CTransformation::Translate(CVector3d(1, -2, 3)) *
                   CTransformation::Rotate(origin, CUnitVector3d(1, 2, 3), 0.7) * CTransformation::Scale(2.5);
        default:
            return CTransformation();
    }
}

const char* KindName(int kind) {
    return kind == General ? "general" : kind == OrthogonalScaled ? "orthogonal-scaled" : "identity";
}

// Each pass maps the fixed input array into an output array, so the values never
// drift from one pass to the next; the baseline reads and writes the same amount.
void BM_TransformPoints(benchmark::State& state) {
    const CTransformation t = MakeTransformation(static_cast<int>(state.range(0)));
    const std::vector<CPoint3d>& in = InputPoints();
    std::vector<CPoint3d> out(PointCount);
    for (auto _ : state) {
        for (std::size_t i = 0; i < PointCount; ++i) out[i] = t * in[i];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(PointCount));
    state.SetLabel(KindName(static_cast<int>(state.range(0))));
}

// The same arithmetic written out over raw doubles: the floor for the library call.
void BM_PlainLoopBaseline(benchmark::State& state) {
    const CTransformation t = MakeTransformation(static_cast<int>(state.range(0)));
    const bool identity = t.isIdentity;
    double m[9], tr[3];
    for (int i = 0; i < 9; ++i) m[i] = t.matrix[i];
    for (int i = 0; i < 3; ++i) tr[i] = t.translation[i];
    const double s = t.scale;
    std::vector<double> in(3 * PointCount), out(3 * PointCount);
    for (std::size_t i = 0; i < PointCount; ++i) {
        in[3 * i] = InputPoints()[i].x;
        in[3 * i + 1] = InputPoints()[i].y;
        in[3 * i + 2] = InputPoints()[i].z;
    }
    for (auto _ : state) {
        const double* p = in.data();
        double* q = out.data();
        for (std::size_t i = 0; i < PointCount; ++i, p += 3, q += 3) {
            const double x = p[0], y = p[1], z = p[2];
            if (identity) {
                q[0] = x;
                q[1] = y;
                q[2] = z;
                continue;
            }
            q[0] = (((m[0] * x + m[1] * y) + m[2] * z) + tr[0]) * s;
            q[1] = (((m[3] * x + m[4] * y) + m[5] * z) + tr[1]) * s;
            q[2] = (((m[6] * x + m[7] * y) + m[8] * z) + tr[2]) * s;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(PointCount));
    state.SetLabel(KindName(static_cast<int>(state.range(0))));
}

}  // namespace

BENCHMARK(BM_TransformPoints)->Arg(General)->Arg(OrthogonalScaled)->Arg(IdentityKind);
BENCHMARK(BM_PlainLoopBaseline)->Arg(General)->Arg(OrthogonalScaled)->Arg(IdentityKind);
