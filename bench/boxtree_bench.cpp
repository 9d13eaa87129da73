// CBoxTree: build time, and pick queries through the tree beside the plain loop
// that tests every box, on a generated scene of 1M boxes and, when assimp is
// there, on the triangles of the largest test model.
//
//   - Build: boxes indexed per second, surface-area and median splits.
//   - Rect pick: a pick volume over about 1% of the scene, every accepted box
//     reported; the plain loop calls the filter's box test on every box. Items
//     are the scene's boxes, so the two ns-per-item figures compare directly.
//   - Nearest hit: rays from above; the tree stops at the first box (boxes are the
//     targets here) or, on a model, once the next box starts beyond the best
//     triangle hit; the plain loop tests every box (or triangle) and keeps the
//     nearest. Items are rays.
#include <geometry/boxtree.h>
#include <geometry/geomfilter.h>
#include <geometry/raytriangle.h>

#include <benchmark/benchmark.h>
#include <support/random.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#ifdef PLENAR_BENCH_ASSIMP
#include <assimp/scene.h>

#include <assimp/Importer.hpp>
#endif

using namespace velmor::geometry;

namespace {

using Rng = plenar_test::SplitMix64;

struct Scene {
    std::vector<CBoundingBox3d> boxes;
    std::vector<CPoint3d> corners;  // three per triangle, for a model
    CBoundingBox3d bounds;
    std::string name;
};

// A city of boxes: 1000 x 1000 cells of 10 units (PLENAR_BENCH_GRID cells a
// side instead, e.g. 3163 for 10 million boxes), one box per cell with a random
// footprint and height.
const Scene& Generated() {
    static const Scene scene = [] {
        Scene s;
        s.name = "generated";
        const char* grid = std::getenv("PLENAR_BENCH_GRID");
        const int side = grid != nullptr && std::atoi(grid) > 0 ? std::atoi(grid) : 1000;
        Rng rng(1000000);
        s.boxes.reserve(static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
        for (int j = 0; j < side; ++j)
            for (int i = 0; i < side; ++i) {
                const CPoint3d lo(10.0 * i + rng.Uniform(0, 4), 10.0 * j + rng.Uniform(0, 4), rng.Uniform(0, 2));
                const CPoint3d hi(lo.x + rng.Uniform(1, 6), lo.y + rng.Uniform(1, 6), lo.z + rng.Uniform(1, 40));
                s.boxes.emplace_back(lo, hi);
                s.bounds += s.boxes.back();
            }
        return s;
    }();
    return scene;
}

// The triangles of a model file (PLENAR_BENCH_MODEL, by default the largest of
// assimp's test models), as read, each polygon split into a fan.
const Scene& Model() {
    static const Scene scene = [] {
        Scene s;
#ifdef PLENAR_BENCH_ASSIMP
        const char* env = std::getenv("PLENAR_BENCH_MODEL");
        s.name = env ? env : "/usr/share/assimp/models/BLEND/SuzanneSubdiv_252.blend";
        Assimp::Importer importer;
        if (const aiScene* a = importer.ReadFile(s.name, 0)) {
            for (unsigned m = 0; m < a->mNumMeshes; ++m) {
                const aiMesh* mesh = a->mMeshes[m];
                for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
                    const aiFace& face = mesh->mFaces[f];
                    for (unsigned k = 1; k + 1 < face.mNumIndices; ++k) {
                        const unsigned idx[3] = {face.mIndices[0], face.mIndices[k], face.mIndices[k + 1]};
                        CBoundingBox3d box;
                        for (unsigned i : idx) {
                            const aiVector3D& p = mesh->mVertices[i];
                            s.corners.emplace_back(p.x, p.y, p.z);
                            box += s.corners.back();
                        }
                        s.boxes.push_back(box);
                        s.bounds += box;
                    }
                }
            }
        }
#endif
        return s;
    }();
    return scene;
}

const CBoxTree& Tree(const Scene& s) {
    static const CBoxTree generated(Generated().boxes.data(), Generated().boxes.size());
    static const CBoxTree model(Model().boxes.data(), Model().boxes.size());
    return &s == &Generated() ? generated : model;
}

const Scene& Pick(int which) { return which == 0 ? Generated() : Model(); }

// A box-shaped pick volume over the middle 10% x 10% of the scene's footprint.
CGeomFilterCrossingVolume RectVolume(const CBoundingBox3d& b) {
    const double cx = 0.5 * (b.x.min + b.x.max), cy = 0.5 * (b.y.min + b.y.max);
    const double hx = 0.05 * (b.x.max - b.x.min), hy = 0.05 * (b.y.max - b.y.min);
    return CGeomFilterCrossingVolume(CPlane(1, 0, 0, -(cx + hx)), CPlane(-1, 0, 0, cx - hx),
                                     CPlane(0, 1, 0, -(cy + hy)), CPlane(0, -1, 0, cy - hy), CPlane(0, 0, 1, -b.z.max),
                                     CPlane(0, 0, -1, b.z.min));
}

// Rays from above the scene, aimed at random points of its footprint.
std::vector<CRay3d> Rays(const CBoundingBox3d& b, int n) {
    Rng rng(77);
    std::vector<CRay3d> rays;
    const double height = b.z.max + (b.z.max - b.z.min) + 1.0;
    for (int i = 0; i < n; ++i) {
        const CPoint3d target(rng.Uniform(b.x.min, b.x.max), rng.Uniform(b.y.min, b.y.max), b.z.min);
        const CPoint3d eye(target.x + rng.Uniform(-0.2, 0.2) * (b.x.max - b.x.min),
                           target.y + rng.Uniform(-0.2, 0.2) * (b.y.max - b.y.min), height);
        rays.emplace_back(eye, CUnitVector3d(target - eye));
    }
    return rays;
}

bool Skip(benchmark::State& state, const Scene& s) {
    if (!s.boxes.empty()) return false;
    state.SkipWithError("no model (assimp or the model file is missing)");
    return true;
}

void BM_Build(benchmark::State& state) {
    const Scene& s = Pick(static_cast<int>(state.range(0)));
    if (Skip(state, s)) return;
    const auto split = static_cast<CBoxTree::ESplit>(state.range(1));
    for (auto _ : state) {
        CBoxTree tree(s.boxes.data(), s.boxes.size(), split);
        benchmark::DoNotOptimize(tree.NodeCount());
    }
    state.SetLabel(s.name);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(s.boxes.size()));
}

void BM_RectPickTree(benchmark::State& state) {
    const Scene& s = Pick(static_cast<int>(state.range(0)));
    if (Skip(state, s)) return;
    const CBoxTree& tree = Tree(s);
    CGeomFilterCrossingVolume volume = RectVolume(s.bounds);
    long accepted = 0;
    for (auto _ : state) {
        accepted = 0;
        tree.Visit(volume, [&](long, bool) {
            ++accepted;
            return true;
        });
        benchmark::DoNotOptimize(accepted);
    }
    state.counters["accepted"] = static_cast<double>(accepted);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(s.boxes.size()));
}

void BM_RectPickEveryBox(benchmark::State& state) {
    const Scene& s = Pick(static_cast<int>(state.range(0)));
    if (Skip(state, s)) return;
    CGeomFilterCrossingVolume volume = RectVolume(s.bounds);
    IGeomFilter* filter = &volume;
    long accepted = 0;
    for (auto _ : state) {
        accepted = 0;
        for (const CBoundingBox3d& box : s.boxes) {
            bool full = false;
            accepted += filter->Test(box, full);
        }
        benchmark::DoNotOptimize(accepted);
    }
    state.counters["accepted"] = static_cast<double>(accepted);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(s.boxes.size()));
}

// The nearest thing under a ray: a box of the generated scene, a triangle of a model.
struct Nearest {
    long index = -1;
    double t = 0;
    void Consider(long i, double ti) {
        if (index < 0 || ti < t || (ti == t && i < index)) {
            index = i;
            t = ti;
        }
    }
};

void BM_NearestTree(benchmark::State& state) {
    const Scene& s = Pick(static_cast<int>(state.range(0)));
    if (Skip(state, s)) return;
    const CBoxTree& tree = Tree(s);
    const std::vector<CRay3d> rays = Rays(s.bounds, 1024);
    const bool triangles = !s.corners.empty();
    long found = 0;
    for (auto _ : state) {
        found = 0;
        for (const CRay3d& ray : rays) {
            Nearest best;
            tree.VisitRay(ray, [&](const CBoxTree::RayHit& hit) {
                if (!triangles) {
                    best.Consider(hit.index, hit.t);
                    return false;
                }
                if (best.index >= 0 && hit.t > best.t) return false;
                const CPoint3d* p = &s.corners[3 * static_cast<std::size_t>(hit.index)];
                double t, u, v;
                if (IntersectTriangle(ray, p[0], p[1], p[2], t, u, v)) best.Consider(hit.index, t);
                return true;
            });
            found += best.index >= 0;
        }
        benchmark::DoNotOptimize(found);
    }
    state.counters["hits"] = static_cast<double>(found);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(rays.size()));
}

void BM_NearestEveryBox(benchmark::State& state) {
    const Scene& s = Pick(static_cast<int>(state.range(0)));
    if (Skip(state, s)) return;
    const std::vector<CRay3d> rays = Rays(s.bounds, 16);
    const bool triangles = !s.corners.empty();
    long found = 0;
    for (auto _ : state) {
        found = 0;
        for (const CRay3d& ray : rays) {
            Nearest best;
            for (std::size_t i = 0; i < s.boxes.size(); ++i) {
                if (triangles) {
                    const CPoint3d* p = &s.corners[3 * i];
                    double t, u, v;
                    if (IntersectTriangle(ray, p[0], p[1], p[2], t, u, v)) best.Consider(static_cast<long>(i), t);
                } else {
                    CPoint3d hit;
                    EBoxSide side;
                    if (ray.IntersectWith(s.boxes[i], hit, side))
                        best.Consider(static_cast<long>(i), ray.ParameterOfClosestPoint(hit));
                }
            }
            found += best.index >= 0;
        }
        benchmark::DoNotOptimize(found);
    }
    state.counters["hits"] = static_cast<double>(found);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(rays.size()));
}

}  // namespace

// Argument 0: the generated 1M-box scene; 1: the model.
BENCHMARK(BM_Build)
    ->Args({0, CBoxTree::SurfaceArea})
    ->Args({0, CBoxTree::Median})
    ->Args({1, CBoxTree::SurfaceArea})
    ->Args({1, CBoxTree::Median})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);
BENCHMARK(BM_RectPickTree)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RectPickEveryBox)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NearestTree)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NearestEveryBox)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
