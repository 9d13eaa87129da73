// Throughput of flattening cubic Bezier curves and of intersecting them with each
// other, beside plain loops doing the naive version of each job: uniform sampling
// for flattening, and all pairs of segments of two uniformly sampled polylines
// for intersection.
#include <geometry/cubicbezier2f.h>
#include <geometry/intersection2f.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

using velmor::geometry::CCubicBezier2f;
using velmor::geometry::CPoint2f;
using velmor::geometry::CurveIntersections2f;
using velmor::geometry::Rangef;

namespace {

constexpr std::size_t CurveCount = 1024;

// Curves spanning about 100 units, as a drawing would hold.
const std::vector<CCubicBezier2f>& InputCurves() {
    static const std::vector<CCubicBezier2f> curves = [] {
        std::mt19937 rng(20240611);
        std::uniform_real_distribution<float> u(0.0f, 100.0f);
        std::vector<CCubicBezier2f> c(CurveCount);
        for (auto& b : c)
            b = CCubicBezier2f(CPoint2f(u(rng), u(rng)), CPoint2f(u(rng), u(rng)), CPoint2f(u(rng), u(rng)),
                               CPoint2f(u(rng), u(rng)));
        return c;
    }();
    return curves;
}

// Curves handled per second, and the points produced per curve (polyline
// points, or intersection hits per pair of curves).
void ReportCurves(benchmark::State& state, std::int64_t curves, std::int64_t points, const char* pointsName) {
    state.SetItemsProcessed(curves);
    state.counters["curves/s"] = benchmark::Counter(static_cast<double>(curves), benchmark::Counter::kIsRate);
    state.counters[pointsName] = static_cast<double>(points) / static_cast<double>(curves);
}

// Adaptive flattening at the tolerance given in thousandths.
void BM_ApproximateWithPolyline(benchmark::State& state) {
    const float tol = static_cast<float>(state.range(0)) * 0.001f;
    const std::vector<CCubicBezier2f>& curves = InputCurves();
    std::vector<CPoint2f> points;
    std::int64_t produced = 0, done = 0;
    for (auto _ : state) {
        for (const CCubicBezier2f& c : curves) {
            points.clear();
            c.ApproximateWithPolyline(points, tol);
            produced += static_cast<std::int64_t>(points.size());
            benchmark::DoNotOptimize(points.data());
        }
        done += static_cast<std::int64_t>(curves.size());
    }
    ReportCurves(state, done, produced, "points/curve");
}
BENCHMARK(BM_ApproximateWithPolyline)->Arg(100)->Arg(10)->Arg(1);

// A fixed number of evenly spaced points per curve from the Bernstein form in
// raw floats: no flatness test, so the floor for producing that many points.
void BM_UniformSamplingBaseline(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<CCubicBezier2f>& curves = InputCurves();
    std::vector<float> xy(2 * static_cast<std::size_t>(n));
    std::int64_t produced = 0, done = 0;
    for (auto _ : state) {
        for (const CCubicBezier2f& c : curves) {
            for (int i = 0; i < n; ++i) {
                const float t = static_cast<float>(i + 1) / static_cast<float>(n);
                const float s = 1.0f - t;
                const float b0 = s * s * s, b1 = 3 * t * s * s, b2 = 3 * t * t * s, b3 = t * t * t;
                xy[2 * i] = c.p0.x * b0 + c.p1.x * b1 + c.p2.x * b2 + c.p3.x * b3;
                xy[2 * i + 1] = c.p0.y * b0 + c.p1.y * b1 + c.p2.y * b2 + c.p3.y * b3;
            }
            produced += n;
            benchmark::DoNotOptimize(xy.data());
            benchmark::ClobberMemory();
        }
        done += static_cast<std::int64_t>(curves.size());
    }
    ReportCurves(state, done, produced, "points/curve");
}
BENCHMARK(BM_UniformSamplingBaseline)->Arg(16)->Arg(64);

// Each curve against its neighbour in the list; the counter reports hits per pair.
void BM_IntersectWithBezier(benchmark::State& state) {
    const std::vector<CCubicBezier2f>& curves = InputCurves();
    CurveIntersections2f out;
    std::int64_t hits = 0, done = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i + 1 < curves.size(); ++i) {
            out.points.clear();
            curves[i].IntersectWithBezier(curves[i + 1], Rangef(0, 1), Rangef(0, 1), out);
            hits += static_cast<std::int64_t>(out.points.size());
            benchmark::DoNotOptimize(out.points.data());
        }
        done += static_cast<std::int64_t>(curves.size() - 1);
    }
    ReportCurves(state, done, hits, "hits/pair");
}
BENCHMARK(BM_IntersectWithBezier);

// Both curves sampled into n segments, then every pair of segments tested in raw
// floats: the brute-force way to the same hits, at a fixed resolution.
void BM_PolylinePairsBaseline(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::vector<CCubicBezier2f>& curves = InputCurves();
    std::vector<CPoint2f> a(static_cast<std::size_t>(n) + 1), b(static_cast<std::size_t>(n) + 1);
    std::int64_t hits = 0, done = 0;
    for (auto _ : state) {
        for (std::size_t k = 0; k + 1 < curves.size(); ++k) {
            for (int i = 0; i <= n; ++i) {
                const float t = static_cast<float>(i) / static_cast<float>(n);
                a[i] = curves[k].EvaluatePoint(t);
                b[i] = curves[k + 1].EvaluatePoint(t);
            }
            for (int i = 0; i < n; ++i) {
                const float ax = a[i + 1].x - a[i].x, ay = a[i + 1].y - a[i].y;
                for (int j = 0; j < n; ++j) {
                    const float bx = b[j + 1].x - b[j].x, by = b[j + 1].y - b[j].y;
                    const float det = ax * by - ay * bx;
                    if (det == 0.0f) continue;
                    const float wx = b[j].x - a[i].x, wy = b[j].y - a[i].y;
                    const float s = (wx * by - wy * bx) / det;
                    const float u = (wx * ay - wy * ax) / det;
                    hits += (s >= 0 && s < 1 && u >= 0 && u < 1) ? 1 : 0;
                }
            }
            benchmark::DoNotOptimize(hits);
        }
        done += static_cast<std::int64_t>(curves.size() - 1);
    }
    ReportCurves(state, done, hits, "hits/pair");
}
BENCHMARK(BM_PolylinePairsBaseline)->Arg(16)->Arg(64);

}  // namespace
