// Throughput of flattening cubic Bezier curves and of intersecting them with each
// other, beside plain loops doing the naive version of each job: uniform sampling
// for flattening, and all pairs of segments of two uniformly sampled polylines
// for intersection. Curve intersection is also measured against the plain
// pairwise recursion below, which finds the same hits in the same order and bits
// but recomputes each piece's bounds, flatness and halves at every pair it meets.
#include <geometry/cubicbezier2f.h>
#include <geometry/intersection2f.h>

#include <benchmark/benchmark.h>

#include "paired.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <random>
#include <vector>

using velmor::geometry::CCubicBezier2f;
using velmor::geometry::CPoint2f;
using velmor::geometry::CRect2f;
using velmor::geometry::CurveIntersections2f;
using velmor::geometry::IntersectionPoint2f;
using velmor::geometry::Rangef;

namespace {

using plenar_bench::Paired;

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

// --- The plain pairwise recursion, with the same stop rules and work caps as the
// library's, each pair visit working its pieces out afresh.
namespace plain {

constexpr int kMaxDepth = 400;
constexpr int kMaxStall = 4;
constexpr std::uint64_t kMaxBisections = std::uint64_t(1) << 22;
constexpr std::uint64_t kMaxScans = std::uint64_t(1) << 30;

bool SameCurve(const CCubicBezier2f& a, const CCubicBezier2f& b) {
    return a.p0 == b.p0 && a.p1 == b.p1 && a.p2 == b.p2 && a.p3 == b.p3;
}

bool SameRect(const CRect2f& a, const CRect2f& b) {
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

CPoint2f MidPoint(const CCubicBezier2f& c) {
    return CPoint2f(((c.p0.x * 0.125f + c.p1.x * 0.375f) + c.p2.x * 0.375f) + c.p3.x * 0.125f,
                    ((c.p0.y * 0.125f + c.p1.y * 0.375f) + c.p2.y * 0.375f) + c.p3.y * 0.125f);
}

struct Descent {
    int depth = 0;
    int stall = 0;
    bool CanSplit() const { return depth < kMaxDepth && stall < kMaxStall; }
    Descent Into(const CCubicBezier2f& half, const CCubicBezier2f& parent, const CRect2f& parentBounds) const {
        if (SameCurve(half, parent)) return {depth + 1, kMaxStall};
        return {depth + 1, SameRect(half.ControlPointBounds(), parentBounds) ? stall + 1 : 0};
    }
};

struct Work {
    float tol;
    std::uint64_t left;
    bool exhausted = false;
    std::uint64_t scans = kMaxScans;
    void Scan(std::size_t stored) {
        if (stored > scans) {
            exhausted = true;
            scans = 0;
        } else {
            scans -= stored;
        }
    }
    bool Take() {
        if (left == 0) {
            exhausted = true;
            return false;
        }
        --left;
        return true;
    }
};

float ResolutionTol(std::initializer_list<const CPoint2f*> points) {
    float m = 0.0f;
    for (const CPoint2f* p : points) m = std::fmax(m, std::fmax(std::fabs(p->x), std::fabs(p->y)));
    return 4.0f * (m - std::nextafter(m, 0.0f));
}

bool ChordHit(const CCubicBezier2f& c, const CPoint2f& a, const CPoint2f& b, const Rangef& r1, const Rangef& r2,
              CurveIntersections2f& out, Work& work) {
    IntersectionPoint2f ip;
    if (!velmor::geometry::IntersectLineSegments(c.p0, c.p3, a, b, ip)) return false;
    ip.ScaleParameters(r1, r2);
    work.Scan(out.points.size());
    out.Add(ip);
    return true;
}

bool LineHits(const CCubicBezier2f& c, const CPoint2f& a, const CPoint2f& b, const Rangef& r1, const Rangef& r2,
              CurveIntersections2f& out, Work& work, Descent at) {
    const CRect2f cb = c.ControlPointBounds();
    if (!cb.Intersects(a, b)) return false;
    if (c.IsLine(work.tol)) return ChordHit(c, a, b, r1, r2, out, work);
    if (cb.DiagonalSquared() < work.tol * work.tol) {
        const CPoint2f m = MidPoint(c);
        float t = 0.0f;
        if (m.IsOnLine(a, b, t)) {
            work.Scan(out.points.size());
            out.Add(m, r1.Evaluate(0.5f), r2.Evaluate(t));
            return true;
        }
    }
    if (!at.CanSplit() || !work.Take()) return ChordHit(c, a, b, r1, r2, out, work);
    CCubicBezier2f left, right;
    c.Split(0.5f, left, right);
    const bool h1 = LineHits(left, a, b, r1.Left(0.5f), r2, out, work, at.Into(left, c, cb));
    if (work.exhausted) return h1;
    const bool h2 = LineHits(right, a, b, r1.Right(0.5f), r2, out, work, at.Into(right, c, cb));
    return h1 || h2;
}

bool CurveHitsLine(const CCubicBezier2f& c, const CCubicBezier2f& line, const Rangef& r1, const Rangef& r2,
                   CurveIntersections2f& out, Work& work, Descent at) {
    CurveIntersections2f swapped;
    const bool found = LineHits(c, line.p0, line.p3, r1, r2, swapped, work, at);
    if (found) {
        swapped.SwapParameters();
        work.Scan(out.points.size() * swapped.points.size());
        out.Add(swapped);
    }
    return found;
}

bool CurveHits(const CCubicBezier2f& c, const CCubicBezier2f& other, const Rangef& r1, const Rangef& r2,
               CurveIntersections2f& out, Work& work, Descent at) {
    const CRect2f cb = c.ControlPointBounds();
    const CRect2f ob = other.ControlPointBounds();
    if (!cb.Intersects(ob)) return false;
    const float tol = work.tol;
    if (other.IsLine(tol)) return LineHits(c, other.p0, other.p3, r1, r2, out, work, Descent{at.depth, 0});
    if (c.IsLine(tol)) return CurveHitsLine(other, c, r2, r1, out, work, Descent{at.depth, 0});
    if (cb.DiagonalSquared() >= tol * tol) {
        if (!at.CanSplit() || !work.Take()) return CurveHitsLine(other, c, r2, r1, out, work, Descent{at.depth, 0});
        CCubicBezier2f a1, a2, b1, b2;
        c.Split(0.5f, a1, a2);
        other.Split(0.5f, b1, b2);
        const auto into = [&](const CCubicBezier2f& half, const CCubicBezier2f& otherHalf) {
            if (SameCurve(half, c) && SameCurve(otherHalf, other)) return Descent{at.depth + 1, kMaxStall};
            const bool same = SameRect(half.ControlPointBounds(), cb) && SameRect(otherHalf.ControlPointBounds(), ob);
            return Descent{at.depth + 1, same ? at.stall + 1 : 0};
        };
        bool found = CurveHits(a1, b1, r1.Left(0.5f), r2.Left(0.5f), out, work, into(a1, b1));
        if (work.exhausted) return found;
        found = CurveHits(a1, b2, r1.Left(0.5f), r2.Right(0.5f), out, work, into(a1, b2)) || found;
        if (work.exhausted) return found;
        found = CurveHits(a2, b1, r1.Right(0.5f), r2.Left(0.5f), out, work, into(a2, b1)) || found;
        if (work.exhausted) return found;
        return CurveHits(a2, b2, r1.Right(0.5f), r2.Right(0.5f), out, work, into(a2, b2)) || found;
    }
    const CPoint2f m = MidPoint(c);
    float u = 0.0f;
    if (other.ParameterOfPointOnCurve(m, tol, u) && (m - other.EvaluatePoint(u)).LengthSquared() <= tol * tol) {
        work.Scan(out.points.size());
        out.Add(m, r1.Evaluate(0.5f), r2.Evaluate(u));
        return true;
    }
    return false;
}

// The whole call for finite curves at a usable tolerance, as the library makes it.
bool IntersectWithBezier(const CCubicBezier2f& a, const CCubicBezier2f& b, CurveIntersections2f& out) {
    const float tol = static_cast<float>(velmor::geometry::EqualTol * 0.5);
    const Rangef unit(0, 1);
    Work work{tol, kMaxBisections};
    const bool found = CurveHits(a, b, unit, unit, out, work, Descent{});
    if (!work.exhausted) return found;
    out.points.clear();
    const float resolution = ResolutionTol({&a.p0, &a.p1, &a.p2, &a.p3, &b.p0, &b.p1, &b.p2, &b.p3});
    Work coarse{std::fmax(tol, resolution), ~std::uint64_t(0), false, ~std::uint64_t(0)};
    return CurveHits(a, b, unit, unit, out, coarse, Descent{});
}

}  // namespace plain

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

// Each curve against its neighbour in the list, through the plain recursion and
// then the library, each timed on its own; the benchmark's time is the library's.
// Counters: lib_ns and plain_ns per pair, ratio lib_ns / plain_ns, target_ns the
// goal for lib_ns, hits/pair. The two are first checked to give the same hits,
// bit for bit and in order. Run with
//   --benchmark_filter=IntersectWithBezier --benchmark_repetitions=5
//   --benchmark_report_aggregates_only=true
// and read the medians.
void BM_IntersectWithBezier(benchmark::State& state) {
    const std::vector<CCubicBezier2f>& curves = InputCurves();
    const std::size_t pairs = curves.size() - 1;
    CurveIntersections2f mine, lib;
    for (std::size_t i = 0; i < pairs; ++i) {
        mine.points.clear();
        lib.points.clear();
        const bool a = plain::IntersectWithBezier(curves[i], curves[i + 1], mine);
        const bool b = curves[i].IntersectWithBezier(curves[i + 1], Rangef(0, 1), Rangef(0, 1), lib);
        const bool same = a == b && mine.points.size() == lib.points.size() &&
                          (mine.points.empty() || std::memcmp(mine.points.data(), lib.points.data(),
                                                              mine.points.size() * sizeof(IntersectionPoint2f)) == 0);
        if (!same) {
            state.SkipWithError("the plain recursion and the library disagree");
            return;
        }
    }
    std::int64_t hits = 0;
    Paired(
        state, pairs,
        [&] {
            for (std::size_t i = 0; i < pairs; ++i) {
                mine.points.clear();
                plain::IntersectWithBezier(curves[i], curves[i + 1], mine);
                benchmark::DoNotOptimize(mine.points.data());
            }
        },
        [&] {
            for (std::size_t i = 0; i < pairs; ++i) {
                lib.points.clear();
                curves[i].IntersectWithBezier(curves[i + 1], Rangef(0, 1), Rangef(0, 1), lib);
                hits += static_cast<std::int64_t>(lib.points.size());
                benchmark::DoNotOptimize(lib.points.data());
            }
        });
    state.counters["target_ns"] = 5000;
    state.counters["hits/pair"] =
        static_cast<double>(hits) / (static_cast<double>(state.iterations()) * static_cast<double>(pairs));
}
BENCHMARK(BM_IntersectWithBezier)->UseManualTime();

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
