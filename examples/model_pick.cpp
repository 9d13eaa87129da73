// Picking on a real model: any mesh file assimp reads is welded into a
// CPolygonMesh, a CBoxTree is built over its triangles, and then
//   - the triangle under each of a grid of pixels is picked (nearest hit of the
//     pixel's ray, walking the tree's boxes front to back),
//   - every triangle inside or crossing a screen rectangle is picked (the
//     rectangle's pick volume walks the tree; triangles in fully accepted boxes are
//     taken whole),
//   - the model is clipped to a box with TriangleClipper3D (only triangles whose box
//     the box's volume accepts are clipped),
// and each answer is checked against brute force over every triangle. It prints
// the counts and the time of each stage, a machine-readable RESULT line, and with
// --svg writes the model as the camera sees it with the picked triangles
// highlighted.
//
//   model_pick FILE [--svg OUT.svg] [--zup]
//
// A file assimp cannot read gets one line on stderr and exit status 2.
#include "picking_scene.h"

#include <geometry/boundingbox.h>
#include <geometry/boxtree.h>
#include <geometry/geomfilter.h>
#include <geometry/polygonmesh.h>
#include <geometry/raytriangle.h>
#include <geometry/tol.h>
#include <geometry/triangleclipper.h>

#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <unordered_map>
#include <vector>

#if __has_include(<geometry/meshwelder.h>)
#include <geometry/meshwelder.h>
using velmor::geometry::CMeshWelder;
#else
namespace {

using velmor::geometry::CPoint3d;
using velmor::geometry::CPolygonMesh;

// Stands in for the library's welding index until it is available here: the same
// answers as CPolygonMesh::InsertPoint (the first pool point within EqualTol, else
// a new one), found through a grid of cells twice the tolerance wide, so that only
// the 27 cells around a point can hold its match. Points too large or not finite
// for a cell key are kept in a list scanned for every query; a query point of that
// kind scans the whole pool.
class CMeshWelder {
public:
    explicit CMeshWelder(CPolygonMesh& mesh) : mesh_(mesh) {
        for (std::size_t i = 0; i < mesh.points.size(); ++i) Index(mesh.points[i], static_cast<long>(i + 1));
    }
    long FindPoint(const CPoint3d& p) {
        long key[3];
        if (!Key(p, key)) return mesh_.FindPoint(p);
        const double tol = velmor::geometry::EqualTol;
        long best = 0;
        auto consider = [&](long index) {
            if ((best == 0 || index < best) && mesh_.points[index - 1].Equals(p, tol)) best = index;
        };
        for (long dx = -1; dx <= 1; ++dx)
            for (long dy = -1; dy <= 1; ++dy)
                for (long dz = -1; dz <= 1; ++dz) {
                    const auto it = cells_.find(Hash(key[0] + dx, key[1] + dy, key[2] + dz));
                    if (it == cells_.end()) continue;
                    for (const Entry& e : it->second)
                        if (e.key[0] == key[0] + dx && e.key[1] == key[1] + dy && e.key[2] == key[2] + dz)
                            consider(e.index);
                }
        for (long index : odd_) consider(index);
        return best;
    }
    long InsertPoint(const CPoint3d& p) {
        const long found = FindPoint(p);
        if (found != 0) return found;
        mesh_.points.push_back(p);
        const long index = static_cast<long>(mesh_.points.size());
        Index(p, index);
        return index;
    }
    void InsertPoints(const CPoint3d* points, std::size_t n, long* indices) {
        for (std::size_t i = 0; i < n; ++i) indices[i] = InsertPoint(points[i]);
    }
    long AddPolygon(long count, const CPoint3d* points) {
        mesh_.polygonStarts.push_back(static_cast<long>(mesh_.polygonIndices.size()));
        long added = 0;
        for (long k = 0; k < count; ++k, ++added) mesh_.polygonIndices.push_back(InsertPoint(points[k]));
        if (added > 2) return static_cast<long>(mesh_.polygonStarts.size());
        mesh_.polygonStarts.pop_back();
        return 0;
    }
    CPolygonMesh& Mesh() const { return mesh_; }

private:
    struct Entry {
        long key[3];
        long index;
    };
    bool Key(const CPoint3d& p, long key[3]) const {
        const double cell = 2.0 * velmor::geometry::EqualTol;
        const double c[3] = {p.x / cell, p.y / cell, p.z / cell};
        for (int i = 0; i < 3; ++i) {
            if (!(std::fabs(c[i]) < 1e15)) return false;
            key[i] = static_cast<long>(std::floor(c[i]));
        }
        return true;
    }
    static std::size_t Hash(long x, long y, long z) {
        return static_cast<std::size_t>(x) * 73856093u ^ static_cast<std::size_t>(y) * 19349663u ^
               static_cast<std::size_t>(z) * 83492791u;
    }
    void Index(const CPoint3d& p, long index) {
        long key[3];
        if (!Key(p, key)) {
            odd_.push_back(index);
            return;
        }
        cells_[Hash(key[0], key[1], key[2])].push_back(Entry{{key[0], key[1], key[2]}, index});
    }

    CPolygonMesh& mesh_;
    std::unordered_map<std::size_t, std::vector<Entry> > cells_;
    std::vector<long> odd_;
};

}  // namespace
#endif

using namespace velmor::geometry;
using plenar_example::Camera;
using plenar_example::ScreenRect;
using Clock = std::chrono::steady_clock;

namespace {

double MsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

struct Triangle {
    CPoint3d p[3];
};

// The camera looks at the model's box from the front, to the right and above;
// up is +y (the convention of most formats) or +z.
Camera LookAt(const CBoundingBox3d& bounds, bool zUp) {
    const CPoint3d centre = bounds.GetCenter();
    const double size = std::max(bounds.GetDiagonal(), 1e-9);
    Camera camera;
    camera.eye = centre + (zUp ? CVector3d(0.55 * size, -0.95 * size, 0.6 * size)
                               : CVector3d(0.55 * size, 0.6 * size, 0.95 * size));
    camera.direction = CUnitVector3d(centre - camera.eye);
    camera.up = zUp ? CUnitVector3d(0, 0, 1) : CUnitVector3d(0, 1, 0);
    camera.fieldOfView = 45.0 * 3.141592653589793 / 180.0;
    camera.width = 800;
    camera.height = 600;
    camera.nearDistance = 0.01 * size;
    camera.farDistance = 4.0 * size;
    return camera;
}

struct View {
    CUnitVector3d forward, right, up;
    double tanX, tanY;
};

View MakeView(const Camera& camera) {
    View v;
    v.forward = camera.direction;
    v.right = CUnitVector3d(v.forward * camera.up);
    v.up = CUnitVector3d(v.right * v.forward);
    v.tanY = std::tan(0.5 * camera.fieldOfView);
    v.tanX = v.tanY * camera.width / camera.height;
    return v;
}

// The direction through a pixel, with a forward component of 1 (as PickVolume
// builds its planes).
CVector3d PixelDirection(const Camera& camera, const View& v, double px, double py) {
    const double nx = 2.0 * px / camera.width - 1.0, ny = 2.0 * py / camera.height - 1.0;
    return CVector3d(v.forward) + CVector3d(nx * v.tanX, v.right) + CVector3d(ny * v.tanY, v.up);
}

// Pixel coordinates (y up) and depth of a point.
bool Project(const Camera& camera, const View& v, const CPoint3d& p, double& px, double& py, double& depth) {
    const CVector3d d = p - camera.eye;
    depth = d.x * v.forward.x + d.y * v.forward.y + d.z * v.forward.z;
    if (!(depth > 1e-12)) return false;
    const double x = (d.x * v.right.x + d.y * v.right.y + d.z * v.right.z) / (depth * v.tanX);
    const double y = (d.x * v.up.x + d.y * v.up.y + d.z * v.up.z) / (depth * v.tanY);
    px = (x + 1.0) * 0.5 * camera.width;
    py = (y + 1.0) * 0.5 * camera.height;
    return std::isfinite(px) && std::isfinite(py);
}

// The nearest triangle a ray meets: smallest t, then smallest index; -1 for none.
struct Pick {
    long triangle = -1;
    double t = 0;
    bool operator==(const Pick& o) const { return triangle == o.triangle && (triangle < 0 || t == o.t); }
};

void Consider(Pick& best, long index, double t) {
    if (best.triangle < 0 || t < best.t || (t == best.t && index < best.triangle)) {
        best.triangle = index;
        best.t = t;
    }
}

Pick PickBrute(const std::vector<Triangle>& tris, const CRay3d& ray) {
    Pick best;
    for (std::size_t i = 0; i < tris.size(); ++i) {
        double t, u, v;
        if (IntersectTriangle(ray, tris[i].p[0], tris[i].p[1], tris[i].p[2], t, u, v))
            Consider(best, static_cast<long>(i), t);
    }
    return best;
}

// Boxes come front to back by entry parameter; a triangle lies in its (padded) box,
// so once a box is entered beyond the best hit, nothing after it can be nearer.
Pick PickTree(const CBoxTree& tree, const std::vector<Triangle>& tris, const CRay3d& ray, long& boxesVisited) {
    Pick best;
    tree.VisitRay(ray, [&](const CBoxTree::RayHit& hit) {
        if (best.triangle >= 0 && hit.t > best.t) return false;
        ++boxesVisited;
        const Triangle& tri = tris[static_cast<std::size_t>(hit.index)];
        double t, u, v;
        if (IntersectTriangle(ray, tri.p[0], tri.p[1], tri.p[2], t, u, v)) Consider(best, hit.index, t);
        return true;
    });
    return best;
}

// The twelve edges of the pick volume, for triangles that span it without an edge
// inside it.
struct Frustum {
    CPoint3d corner[8];  // near bl, br, tl, tr, then far
};

Frustum MakeFrustum(const Camera& camera, const View& v, const ScreenRect& r) {
    Frustum f;
    const double xs[2] = {r.left, r.right}, ys[2] = {r.bottom, r.top};
    const double dist[2] = {camera.nearDistance, camera.farDistance};
    for (int k = 0; k < 8; ++k)
        f.corner[k] = camera.eye + PixelDirection(camera, v, xs[k & 1], ys[(k >> 1) & 1]) * dist[k >> 2];
    return f;
}

bool SegmentHitsTriangle(const CPoint3d& a, const CPoint3d& b, const Triangle& tri) {
    const CVector3d d = b - a;
    const double length = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    if (!(length > 0.0)) return false;
    double t, u, v;
    return IntersectTriangle(CRay3d(a, CUnitVector3d(d)), tri.p[0], tri.p[1], tri.p[2], t, u, v) && t <= length;
}

// A triangle is in the rectangle's volume when an edge of it is (inside or
// crossing), or an edge of the volume passes through it.
bool InVolume(IGeomFilter& volume, const Frustum& f, const Triangle& tri) {
    for (int k = 0; k < 3; ++k)
        if (volume.Test(tri.p[k], tri.p[(k + 1) % 3])) return true;
    static const int edges[12][2] = {{0, 1}, {2, 3}, {0, 2}, {1, 3}, {4, 5}, {6, 7},
                                     {4, 6}, {5, 7}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
    for (const auto& e : edges)
        if (SegmentHitsTriangle(f.corner[e[0]], f.corner[e[1]], tri)) return true;
    return false;
}

// The box as a pick volume: six axis planes, normals out.
CGeomFilterCrossingVolume BoxVolume(const CBoundingBox3d& b) {
    return CGeomFilterCrossingVolume(CPlane(1, 0, 0, -b.x.max), CPlane(-1, 0, 0, b.x.min), CPlane(0, 1, 0, -b.y.max),
                                     CPlane(0, -1, 0, b.y.min), CPlane(0, 0, 1, -b.z.max), CPlane(0, 0, -1, b.z.min));
}

// Clips triangle i into pieces (their corners appended to out).
void ClipOne(TriangleClipper3D& clipper, std::vector<CPoint3d>& pool, const Triangle& tri,
             std::vector<TriangleClipper::IndexedTriangle>& scratch, std::vector<CPoint3d>& out) {
    pool.assign(tri.p, tri.p + 3);
    scratch.clear();
    clipper.ClipToExtents(TriangleClipper::IndexedTriangle{{0, 1, 2}}, &scratch);
    for (const auto& piece : scratch)
        for (int k : piece.indices) out.push_back(pool[static_cast<std::size_t>(k)]);
}

// Bit for bit, so that pieces carrying a NaN compare equal to themselves.
bool SamePoints(const std::vector<CPoint3d>& a, const std::vector<CPoint3d>& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double p[3] = {a[i].x, a[i].y, a[i].z}, q[3] = {b[i].x, b[i].y, b[i].z};
        if (std::memcmp(p, q, sizeof p) != 0) return false;
    }
    return true;
}

// The model as the camera sees it: triangles far to near, shaded by their facing,
// the rectangle pick in orange, the pixel picks in red, the clip box outlined.
void WriteSvg(const char* path, const Camera& camera, const View& v, const std::vector<Triangle>& tris,
              const std::vector<char>& rectPicked, const std::vector<long>& pixelPicked, const ScreenRect& rect,
              const CBoundingBox3d& clipBox, const char* title) {
    std::FILE* f = std::fopen(path, "w");
    if (!f) {
        std::fprintf(stderr, "model_pick: cannot write %s\n", path);
        return;
    }
    std::vector<char> pixel(tris.size(), 0);
    for (long p : pixelPicked)
        if (p >= 0) pixel[static_cast<std::size_t>(p)] = 1;
    struct Item {
        double depth;
        std::size_t index;
        double x[3], y[3];
    };
    std::vector<Item> items;
    for (std::size_t i = 0; i < tris.size(); ++i) {
        Item it{0, i, {}, {}};
        bool ok = true;
        for (int k = 0; k < 3 && ok; ++k) {
            double d;
            ok = Project(camera, v, tris[i].p[k], it.x[k], it.y[k], d);
            it.depth += d;
        }
        if (ok) items.push_back(it);
    }
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.depth > b.depth; });
    const double h = camera.height;
    std::fprintf(f,
                 "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%g\" height=\"%g\" viewBox=\"0 0 %g %g\">\n"
                 "<rect width=\"100%%\" height=\"100%%\" fill=\"#f4f4f0\"/>\n",
                 camera.width, h, camera.width, h);
    for (const Item& it : items) {
        const Triangle& t = tris[it.index];
        const CVector3d n = (t.p[1] - t.p[0]) * (t.p[2] - t.p[0]);
        const double len = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
        const double facing =
            len > 0 ? std::fabs(n.x * v.forward.x + n.y * v.forward.y + n.z * v.forward.z) / len : 0.0;
        const int grey = 90 + static_cast<int>(140 * facing);
        char fill[16];
        if (pixel[it.index])
            std::snprintf(fill, sizeof fill, "#d02020");
        else if (rectPicked[it.index])
            std::snprintf(fill, sizeof fill, "#%02x%02x%02x", 240, 150 + grey / 4, 40);
        else
            std::snprintf(fill, sizeof fill, "#%02x%02x%02x", grey, grey, grey + 10 > 255 ? 255 : grey + 10);
        std::fprintf(
            f, "<polygon points=\"%.1f,%.1f %.1f,%.1f %.1f,%.1f\" fill=\"%s\" stroke=\"%s\" stroke-width=\"0.3\"/>\n",
            it.x[0], h - it.y[0], it.x[1], h - it.y[1], it.x[2], h - it.y[2], fill, fill);
    }
    std::fprintf(
        f,
        "<rect x=\"%g\" y=\"%g\" width=\"%g\" height=\"%g\" fill=\"none\" stroke=\"#e07000\" stroke-width=\"1.5\"/>\n",
        rect.left, h - rect.top, rect.right - rect.left, rect.top - rect.bottom);
    for (int a = 0; a < 8; ++a)
        for (int bit = 1; bit < 8; bit <<= 1) {
            if (a & bit) continue;
            double x0, y0, x1, y1, d;
            if (Project(camera, v, clipBox.GetCorner(a), x0, y0, d) &&
                Project(camera, v, clipBox.GetCorner(a | bit), x1, y1, d))
                std::fprintf(f,
                             "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#2060c0\" "
                             "stroke-width=\"1\" stroke-dasharray=\"4 3\"/>\n",
                             x0, h - y0, x1, h - y1);
        }
    std::fprintf(f, "<text x=\"10\" y=\"20\" font-family=\"sans-serif\" font-size=\"13\">%s</text>\n</svg>\n", title);
    std::fclose(f);
}

// Reads the file without any of assimp's post-processing steps: its flattening of
// the node hierarchy and its triangulation assert or crash on a few files, so the
// walk below does both.
const aiScene* Load(Assimp::Importer& importer, const char* path) {
    const aiScene* scene = importer.ReadFile(path, 0);
    if (scene == nullptr || (scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0 || scene->mNumMeshes == 0) return nullptr;
    return scene;
}

// Appends the corners of every triangle of a mesh placed by m (in double).
// Polygons are split into fans from their first corner; points and lines are
// left out.
void AddMesh(const aiMesh* mesh, const double m[12], std::vector<CPoint3d>& corners) {
    if (mesh == nullptr || mesh->mVertices == nullptr || mesh->mFaces == nullptr) return;
    auto place = [&](unsigned index) {
        const aiVector3D& p = mesh->mVertices[index];
        const double x = p.x, y = p.y, z = p.z;
        return CPoint3d(m[0] * x + m[1] * y + m[2] * z + m[3], m[4] * x + m[5] * y + m[6] * z + m[7],
                        m[8] * x + m[9] * y + m[10] * z + m[11]);
    };
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
        const aiFace& face = mesh->mFaces[f];
        if (face.mNumIndices < 3 || face.mIndices == nullptr) continue;
        bool ok = true;
        for (unsigned k = 0; k < face.mNumIndices; ++k) ok = ok && face.mIndices[k] < mesh->mNumVertices;
        if (!ok) continue;
        for (unsigned k = 1; k + 1 < face.mNumIndices; ++k) {
            corners.push_back(place(face.mIndices[0]));
            corners.push_back(place(face.mIndices[k]));
            corners.push_back(place(face.mIndices[k + 1]));
        }
    }
}

// Walks the node hierarchy (with a stack of its own and a bound on the nodes
// visited, whatever the file holds) and places each referenced mesh. Without
// nodes every mesh is taken as it is.
void CollectTriangles(const aiScene* scene, std::vector<CPoint3d>& corners) {
    struct Item {
        const aiNode* node;
        double m[12];
    };
    const double identity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    if (scene->mRootNode == nullptr) {
        for (unsigned i = 0; i < scene->mNumMeshes; ++i) AddMesh(scene->mMeshes[i], identity, corners);
        return;
    }
    std::vector<Item> stack;
    stack.push_back(Item{scene->mRootNode, {}});
    std::copy(identity, identity + 12, stack.back().m);
    long budget = 1000000;
    while (!stack.empty() && budget-- > 0) {
        const Item item = stack.back();
        stack.pop_back();
        const aiMatrix4x4& t = item.node->mTransformation;
        const double local[12] = {t.a1, t.a2, t.a3, t.a4, t.b1, t.b2, t.b3, t.b4, t.c1, t.c2, t.c3, t.c4};
        Item placed{nullptr, {}};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 4; ++c)
                placed.m[4 * r + c] = item.m[4 * r] * local[c] + item.m[4 * r + 1] * local[4 + c] +
                                      item.m[4 * r + 2] * local[8 + c] + (c == 3 ? item.m[4 * r + 3] : 0.0);
        for (unsigned i = 0; i < item.node->mNumMeshes; ++i)
            if (item.node->mMeshes[i] < scene->mNumMeshes)
                AddMesh(scene->mMeshes[item.node->mMeshes[i]], placed.m, corners);
        for (unsigned i = 0; i < item.node->mNumChildren; ++i)
            if (item.node->mChildren[i] != nullptr) {
                placed.node = item.node->mChildren[i];
                stack.push_back(placed);
            }
    }
}

int Run(int argc, char** argv) {
    const char* path = nullptr;
    const char* svgPath = nullptr;
    bool zUp = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--svg") == 0 && i + 1 < argc)
            svgPath = argv[++i];
        else if (std::strcmp(argv[i], "--zup") == 0)
            zUp = true;
        else if (path == nullptr)
            path = argv[i];
    }
    if (path == nullptr) {
        std::fprintf(stderr, "usage: model_pick FILE [--svg OUT.svg] [--zup]\n");
        return 2;
    }

    // 1. Read, with assimp's own exact-duplicate count from a second import.
    auto start = Clock::now();
    Assimp::Importer importer;
    const aiScene* scene = Load(importer, path);
    if (scene == nullptr) {
        const std::string error = importer.GetErrorString();
        std::fprintf(stderr, "model_pick: cannot read %s: %s\n", path, error.empty() ? "no meshes" : error.c_str());
        return 2;
    }
    std::vector<CPoint3d> corners;  // three per triangle
    CollectTriangles(scene, corners);
    const double loadMs = MsSince(start);
    if (corners.empty()) {
        std::fprintf(stderr, "model_pick: %s holds no triangles\n", path);
        return 3;
    }
    // Exact duplicates among the corners: what joining identical vertices would
    // leave, to set beside the welding within the tolerance.
    std::size_t exact = 0;
    {
        // A NaN has no place in an order: such corners are all distinct.
        std::vector<CPoint3d> sorted;
        for (const CPoint3d& p : corners) {
            if (std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z))
                ++exact;
            else
                sorted.push_back(p);
        }
        auto less = [](const CPoint3d& a, const CPoint3d& b) {
            return a.x < b.x || (a.x == b.x && (a.y < b.y || (a.y == b.y && a.z < b.z)));
        };
        std::sort(sorted.begin(), sorted.end(), less);
        for (std::size_t i = 0; i < sorted.size(); ++i) exact += i == 0 || less(sorted[i - 1], sorted[i]);
    }

    // 2. Weld into a polygon mesh: triangle i is polygon i + 1.
    start = Clock::now();
    CPolygonMesh mesh(0);
    mesh.ReserveSpace(static_cast<long>(corners.size()), static_cast<long>(corners.size() / 3));
    CMeshWelder welder(mesh);
    const std::size_t nTri = corners.size() / 3;
    for (std::size_t i = 0; i < nTri; ++i) welder.AddPolygon(3, &corners[3 * i]);
    const double weldMs = MsSince(start);
    std::vector<Triangle> tris(nTri);
    CBoundingBox3d bounds;
    for (std::size_t i = 0; i < nTri; ++i)
        for (int k = 0; k < 3; ++k) {
            tris[i].p[k] = mesh.GetPolygonPoint(static_cast<long>(i + 1), k + 1);
            if (tris[i].p[k].IsValidObj()) bounds += tris[i].p[k];
        }
    if (bounds.x.IsEmpty()) {
        std::fprintf(stderr, "model_pick: %s has no finite point\n", path);
        return 3;
    }

    // 3. The tree over the triangles' boxes, padded so that a ray meeting a triangle
    //    meets its box, whatever the rounding of either test.
    start = Clock::now();
    const double pad = 1e-9 * (std::max({std::fabs(bounds.x.min), std::fabs(bounds.x.max), std::fabs(bounds.y.min),
                                         std::fabs(bounds.y.max), std::fabs(bounds.z.min), std::fabs(bounds.z.max)}) +
                               bounds.GetDiagonal()) +
                       1e-300;
    std::vector<CBoundingBox3d> boxes(nTri);
    for (std::size_t i = 0; i < nTri; ++i) {
        boxes[i] = CBoundingBox3d(tris[i].p[0], tris[i].p[0]);
        boxes[i] += tris[i].p[1];
        boxes[i] += tris[i].p[2];
        boxes[i].Expand(pad);
    }
    const CBoxTree tree(boxes.data(), boxes.size());
    const double treeMs = MsSince(start);

    std::printf("%s\n", path);
    std::printf("  read:   %zu triangles, %zu corners at %zu distinct positions (%.1f ms)\n", nTri, corners.size(),
                exact, loadMs);
    std::printf("  weld:   %zu corners -> %zu points within EqualTol %g (%.1f ms)\n", corners.size(),
                mesh.points.size(), EqualTol, weldMs);
    std::printf("  tree:   %zu nodes, depth %d (%.1f ms)\n", tree.NodeCount(), tree.Depth(), treeMs);

    const Camera camera = LookAt(bounds, zUp);
    const View view = MakeView(camera);
    int checks = 0, agree = 0;

    // 4. Pixel picks on a grid over the model's image.
    const int grid = 5;
    std::vector<long> pixelPicked;
    double pixelTreeMs = 0, pixelBruteMs = 0;
    long boxesVisited = 0;
    int hits = 0;
    for (int gy = 0; gy < grid; ++gy)
        for (int gx = 0; gx < grid; ++gx) {
            const double px = camera.width * (0.3 + 0.4 * gx / (grid - 1));
            const double py = camera.height * (0.3 + 0.4 * gy / (grid - 1));
            const CRay3d ray(camera.eye, CUnitVector3d(PixelDirection(camera, view, px, py)));
            auto t0 = Clock::now();
            const Pick fast = PickTree(tree, tris, ray, boxesVisited);
            pixelTreeMs += MsSince(t0);
            t0 = Clock::now();
            const Pick slow = PickBrute(tris, ray);
            pixelBruteMs += MsSince(t0);
            ++checks;
            agree += fast == slow;
            hits += fast.triangle >= 0;
            if (!(fast == slow))
                std::printf("  DISAGREE at pixel (%g, %g): tree %ld, brute force %ld\n", px, py, fast.triangle,
                            slow.triangle);
            pixelPicked.push_back(fast.triangle);
        }
    std::printf("  pixels: %d picks, %d on the model, %ld boxes opened; tree %.3f ms, brute force %.3f ms\n",
                grid * grid, hits, boxesVisited, pixelTreeMs, pixelBruteMs);

    // 5. The rectangle in the middle of the screen.
    const ScreenRect rect{camera.width * 0.4, camera.height * 0.4, camera.width * 0.62, camera.height * 0.58};
    CGeomFilterCrossingVolume volume = plenar_example::PickVolume(camera, rect);
    const Frustum frustum = MakeFrustum(camera, view, rect);
    auto t0 = Clock::now();
    std::vector<char> rectPicked(nTri, 0);
    long whole = 0, tested = 0;
    tree.Visit(volume, [&](long i, bool full) {
        const std::size_t k = static_cast<std::size_t>(i);
        if (full) {
            ++whole;
            rectPicked[k] = 1;
        } else {
            ++tested;
            rectPicked[k] = InVolume(volume, frustum, tris[k]);
        }
        return true;
    });
    const double rectTreeMs = MsSince(t0);
    // Brute force asks the same of every triangle: its box first (a box the volume
    // rejects holds nothing selected, one it fully accepts is taken whole), then
    // the triangle itself. The box comes first here too because the segment test
    // and the box test can part ways where plane distances overflow.
    t0 = Clock::now();
    std::vector<char> rectBrute(nTri, 0);
    for (std::size_t i = 0; i < nTri; ++i) {
        bool full = false;
        if (volume.Test(boxes[i], full)) rectBrute[i] = full || InVolume(volume, frustum, tris[i]);
    }
    const double rectBruteMs = MsSince(t0);
    const long rectCount = static_cast<long>(std::count(rectPicked.begin(), rectPicked.end(), 1));
    ++checks;
    agree += rectPicked == rectBrute;
    std::printf("  rect:   %ld triangles (%ld in boxes taken whole, %ld tested); tree %.3f ms, brute force %.3f ms%s\n",
                rectCount, whole, tested, rectTreeMs, rectBruteMs, rectPicked == rectBrute ? "" : "  DISAGREE");

    // 6. Clip to the middle half of the model's box.
    CBoundingBox3d clipBox = bounds;
    clipBox.x = CRange(bounds.x.min * 0.75 + bounds.x.max * 0.25, bounds.x.min * 0.25 + bounds.x.max * 0.75);
    clipBox.y = CRange(bounds.y.min * 0.75 + bounds.y.max * 0.25, bounds.y.min * 0.25 + bounds.y.max * 0.75);
    clipBox.z = CRange(bounds.z.min * 0.75 + bounds.z.max * 0.25, bounds.z.min * 0.25 + bounds.z.max * 0.75);
    std::vector<CPoint3d> pool;
    std::vector<TriangleClipper::IndexedTriangle> scratch;
    TriangleClipper3D clipper(&pool, clipBox);
    CGeomFilterCrossingVolume clipVolume = BoxVolume(clipBox);
    t0 = Clock::now();
    std::vector<long> candidates;
    tree.Collect(clipVolume, candidates);
    std::vector<CPoint3d> clipped;
    for (long i : candidates) ClipOne(clipper, pool, tris[static_cast<std::size_t>(i)], scratch, clipped);
    const double clipTreeMs = MsSince(t0);
    t0 = Clock::now();
    std::vector<CPoint3d> clippedBrute;
    for (const Triangle& tri : tris) ClipOne(clipper, pool, tri, scratch, clippedBrute);
    const double clipBruteMs = MsSince(t0);
    ++checks;
    const bool clipSame = SamePoints(clipped, clippedBrute);
    agree += clipSame;
    std::printf("  clip:   %zu candidates -> %zu pieces; tree %.3f ms, brute force %.3f ms%s\n", candidates.size(),
                clipped.size() / 3, clipTreeMs, clipBruteMs, clipSame ? "" : "  DISAGREE");

    std::printf("  checks: %d of %d agree with brute force\n", agree, checks);
    std::printf("RESULT\t%zu\t%zu\t%zu\t%zu\t%d\t%d\t%.1f\t%.1f\n", corners.size(), exact, mesh.points.size(), nTri,
                agree, checks, weldMs, treeMs);

    if (svgPath != nullptr) {
        std::string title = path;
        const std::size_t slash = title.find_last_of('/');
        if (slash != std::string::npos) title = title.substr(slash + 1);
        for (char& ch : title)
            if (ch == '<' || ch == '>' || ch == '&' || ch == '"') ch = '_';
        title += ": " + std::to_string(nTri) + " triangles, " + std::to_string(rectCount) + " in the rectangle";
        WriteSvg(svgPath, camera, view, tris, rectPicked, pixelPicked, rect, clipBox, title.c_str());
    }
    return agree == checks ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "model_pick: %s: %s\n", argc > 1 ? argv[1] : "", e.what());
        return 4;
    }
}
