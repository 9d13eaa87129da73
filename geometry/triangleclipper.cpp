#include <geometry/triangleclipper.h>

#include <utility>

namespace velmor::geometry {

TriangleClipper::~TriangleClipper() = default;

// NOLINTNEXTLINE(readability-make-member-function-const): it grows the pool, as published
TriangleClipper::IndexedTriangle TriangleClipper::AddIndexedTriangle(int i, const CPoint3d& a, const CPoint3d& b) {
    // Copies first: a or b may refer into the pool, which the first append can move.
    const CPoint3d pa = a, pb = b;
    const int n = static_cast<int>(points->size());
    points->push_back(pa);
    points->push_back(pb);
    return {{i, n, n + 1}};
}

// NOLINTNEXTLINE(readability-make-member-function-const): it grows the pool, as published
TriangleClipper::IndexedTriangle TriangleClipper::AddIndexedTriangle(int i, int j, const CPoint3d& a) {
    const CPoint3d pa = a;
    const int n = static_cast<int>(points->size());
    points->push_back(pa);
    return {{i, j, n}};
}

// NOLINTNEXTLINE(readability-make-member-function-const): it grows the pool, as published
TriangleClipper::IndexedTriangle TriangleClipper::AddIndexedTriangle(const CPoint3d& a, const CPoint3d& b,
                                                                     const CPoint3d& c) {
    const CPoint3d pa = a, pb = b, pc = c;
    const int n = static_cast<int>(points->size());
    points->push_back(pa);
    points->push_back(pb);
    points->push_back(pc);
    return {{n, n + 1, n + 2}};
}

void TriangleClipper::ShortenTriangle(const ClipPlane& plane, const IndexedTriangle& triangle, int inside,
                                      std::vector<IndexedTriangle>* result) {
    if (inside < 0 || inside > 2) return;
    const int prev = (inside + 2) % 3;
    const int next = (inside + 1) % 3;
    // triangle may live in *result; keep the indices before anything is appended.
    const int kept = triangle.indices[inside];
    const CPoint3d p = Fetch(triangle.indices[prev]);
    const CPoint3d k = Fetch(kept);
    const CPoint3d n = Fetch(triangle.indices[next]);
    const CPoint3d i1 = plane.Intersection(p, k);
    const CPoint3d i2 = plane.Intersection(k, n);
    // (kept, I2, I1) runs the same way round as (prev, kept, next).
    result->push_back(AddIndexedTriangle(kept, i2, i1));
}

void TriangleClipper::SplitTriangle(const ClipPlane& plane, const IndexedTriangle& triangle, int outside,
                                    std::vector<IndexedTriangle>* result) {
    if (outside < 0 || outside > 2) return;
    const int prevIndex = triangle.indices[(outside + 2) % 3];
    const int nextIndex = triangle.indices[(outside + 1) % 3];
    const CPoint3d p = Fetch(prevIndex);
    const CPoint3d k = Fetch(triangle.indices[outside]);
    const CPoint3d n = Fetch(nextIndex);
    const CPoint3d i1 = plane.Intersection(p, k);
    const CPoint3d i2 = plane.Intersection(k, n);
    // The quadrilateral prev, I1, I2, next is cut along prev-I2; the second half gets
    // its own copy of I2, so every output triangle owns the points made for it.
    const IndexedTriangle first = AddIndexedTriangle(prevIndex, i1, i2);
    result->push_back(first);
    const IndexedTriangle second = AddIndexedTriangle(nextIndex, prevIndex, i2);
    result->push_back(second);
}

void TriangleClipper::ClipToPlane(const ClipPlane& plane, const IndexedTriangle& triangle,
                                  std::vector<IndexedTriangle>* result) {
    int insideCount = 0;
    int lastInside = 0;
    int lastOutside = 0;
    for (int i = 0; i < 3; ++i) {
        if (plane.IsInside(Fetch(triangle.indices[i]))) {
            ++insideCount;
            lastInside = i;
        } else {
            lastOutside = i;
        }
    }
    switch (insideCount) {
        case 3: {
            const IndexedTriangle same = triangle;
            result->push_back(same);
            break;
        }
        case 2:
            SplitTriangle(plane, triangle, lastOutside, result);
            break;
        case 1:
            ShortenTriangle(plane, triangle, lastInside, result);
            break;
        default:
            break;
    }
}

namespace {

using Triangles = std::vector<TriangleClipper::IndexedTriangle>;

// The two working lists of ClipToExtents for one thread. The pieces of one triangle
// tile its part on the kept side of every plane, a convex polygon, so the lists stay
// a few entries long and are kept for the thread's next call.
struct ClipScratch {
    Triangles working;
    Triangles next;
    bool inUse = false;

    ClipScratch() = default;
    ClipScratch(const ClipScratch&) = delete;
    ClipScratch& operator=(const ClipScratch&) = delete;
    ~ClipScratch();
};

thread_local ClipScratch threadScratch;
// Set once threadScratch has been destroyed at thread exit. Trivially destructible,
// so it stays readable for the destructors of other thread-local objects that still
// clip after that.
thread_local bool threadScratchGone = false;

ClipScratch::~ClipScratch() { threadScratchGone = true; }

// Lends the thread's working lists to one call, or, when they are already lent
// (a nested clip) or gone, lists owned by the lease itself. Gives them back empty,
// also when the call leaves by an exception.
class ScratchLease {
public:
    ScratchLease() {
        if (!threadScratchGone && !threadScratch.inUse) {
            shared_ = &threadScratch;
            shared_->inUse = true;
            working_ = &shared_->working;
            next_ = &shared_->next;
        } else {
            working_ = &ownWorking_;
            next_ = &ownNext_;
        }
    }
    ScratchLease(const ScratchLease&) = delete;
    ScratchLease& operator=(const ScratchLease&) = delete;
    ~ScratchLease() {
        if (shared_ == nullptr) return;
        shared_->working.clear();
        shared_->next.clear();
        shared_->inUse = false;
    }

    Triangles& Working() { return *working_; }
    Triangles& Next() { return *next_; }
    void Swap() { std::swap(working_, next_); }

private:
    ClipScratch* shared_ = nullptr;
    Triangles* working_ = nullptr;
    Triangles* next_ = nullptr;
    Triangles ownWorking_;
    Triangles ownNext_;
};

}  // namespace

void TriangleClipper::ClipToExtents(const IndexedTriangle& triangle, std::vector<IndexedTriangle>* result) {
    ScratchLease scratch;
    scratch.Working().push_back(triangle);
    for (const ClipPlane& plane : clipPlanes) {
        if (scratch.Working().empty()) break;
        scratch.Next().clear();
        for (const IndexedTriangle& piece : scratch.Working()) ClipToPlane(plane, piece, &scratch.Next());
        scratch.Swap();
    }
    const Triangles& pieces = scratch.Working();
    result->insert(result->end(), pieces.begin(), pieces.end());
}

namespace {

// The rectangle's planes in clipping order: y max, y min, x max, x min.
void AddRectanglePlanes(TriangleClipper& clipper, const CRange& x, const CRange& y, int* indices) {
    indices[0] = clipper.AddClipPlane(ClipPlane(false, y.max, 1));
    indices[1] = clipper.AddClipPlane(ClipPlane(true, y.min, 1));
    indices[2] = clipper.AddClipPlane(ClipPlane(false, x.max, 0));
    indices[3] = clipper.AddClipPlane(ClipPlane(true, x.min, 0));
}

}  // namespace

TriangleClipper2D::TriangleClipper2D(std::vector<CPoint3d>* points_, const CBoundingBox2d& extents_)
    : TriangleClipper(points_), extents(extents_), extentPlanes{} {
    AddRectanglePlanes(*this, extents.x, extents.y, extentPlanes);
}

TriangleClipper2D::~TriangleClipper2D() = default;

TriangleClipper3D::TriangleClipper3D(std::vector<CPoint3d>* points_, const CBoundingBox3d& extents_)
    : TriangleClipper(points_), extents(extents_), extentPlanes{} {
    AddRectanglePlanes(*this, extents.x, extents.y, extentPlanes);
    extentPlanes[4] = AddClipPlane(ClipPlane(false, extents.z.max, 2));
    extentPlanes[5] = AddClipPlane(ClipPlane(true, extents.z.min, 2));
}

TriangleClipper3D::~TriangleClipper3D() = default;

}  // namespace velmor::geometry
