#include <geometry/polygonmesh.h>

#include <geometry/plane.h>
#include <geometry/tol.h>
#include <geometry/transformation.h>

#include <cstddef>
#include <limits>

namespace velmor::geometry {

namespace {

constexpr unsigned int KeepsUVFront = 1;
constexpr unsigned int KeepsUVBack = 2;
constexpr unsigned int KeepsNormals = 4;

// Whether position `at` (a Slot, |i| - 1) lies within v. Index 0 and LONG_MIN map
// past every vector, so they are never inside.
template <class T>
bool Inside(const std::vector<T>& v, std::size_t at) {
    return at < v.size();
}

// The attribute setters' rule: overwrite the entry when it exists, otherwise
// append, whatever the index was.
template <class T>
void SetOrAppend(std::vector<T>& v, std::size_t at, const T& value) {
    if (Inside(v, at)) {
        v[at] = value;
    } else {
        v.push_back(value);
    }
}

// Reserves v for its size plus factor * extra, saturating instead of overflowing;
// a count below 1 reserves nothing more.
template <class T>
void ReserveMore(std::vector<T>& v, long extra, std::size_t factor = 1) {
    if (extra <= 0) return;
    const std::size_t cap = std::numeric_limits<std::size_t>::max();
    const std::size_t more = static_cast<std::size_t>(extra);
    const std::size_t wanted = more > (cap - v.size()) / factor ? cap : v.size() + more * factor;
    v.reserve(wanted);
}

// The 1-based position of the first pool point equal to p within EqualTol, or 0.
long FirstMatch(const std::vector<CPoint3d>& pool, const CPoint3d& p) {
    const double tol = EqualTol;
    const std::size_t n = pool.size();
    for (std::size_t k = 0; k < n; ++k) {
        if (pool[k].Equals(p, tol)) return static_cast<long>(k + 1);
    }
    return 0;
}

}  // namespace

CPolygonMesh::~CPolygonMesh() = default;

void CPolygonMesh::ReserveSpace(long pointCount, long polygonCount) {
    ReserveMore(points, pointCount);
    ReserveMore(polygonStarts, polygonCount);
    ReserveMore(polygonIndices, polygonCount, 3);
    if (pointCount <= 0) return;
    const std::size_t n = static_cast<std::size_t>(pointCount);
    if ((flags & KeepsUVFront) != 0) {
        ReserveMore(uvFront, pointCount);
        uvFront.insert(uvFront.end(), n, CPoint3d(0.0, 0.0, 0.0));
    }
    if ((flags & KeepsUVBack) != 0) {
        ReserveMore(uvBack, pointCount);
        uvBack.insert(uvBack.end(), n, CPoint3d(0.0, 0.0, 0.0));
    }
    if ((flags & KeepsNormals) != 0) {
        ReserveMore(normals, pointCount);
        normals.insert(normals.end(), n, CUnitVector3d(0.0, 0.0, 0.0));
    }
}

long CPolygonMesh::InsertPoint(const CPoint3d& point) {
    const long found = FirstMatch(points, point);
    if (found != 0) return found;
    points.push_back(point);
    return static_cast<long>(points.size());
}

long CPolygonMesh::FindPoint(const CPoint3d& point) const { return FirstMatch(points, point); }

long CPolygonMesh::AddPolygon(long count, const long* indices) {
    if (count < 3 || indices == nullptr) return 0;
    ReserveMore(polygonIndices, count);
    polygonStarts.push_back(static_cast<long>(polygonIndices.size()));
    const long n = static_cast<long>(points.size());
    for (long k = 0; k < count; ++k) {
        const long index = indices[k];
        // Refused without rolling back: the start and the corners accepted so far
        // stay, and the caller that gets 0 discards the mesh. Compared as
        // -n <= index <= n, so LONG_MIN is out of range rather than overflowing |i|.
        if (index == 0 || index > n || index < -n) return 0;
        polygonIndices.push_back(index);
    }
    return static_cast<long>(polygonStarts.size());
}

long CPolygonMesh::AddPolygon(long count, const CPoint3d* corners) {
    if (corners == nullptr) return 0;
    ReserveMore(polygonIndices, count);
    polygonStarts.push_back(static_cast<long>(polygonIndices.size()));
    long added = 0;
    for (long k = 0; k < count; ++k) {
        polygonIndices.push_back(InsertPoint(corners[k]));
        ++added;
    }
    if (added > 2) return static_cast<long>(polygonStarts.size());
    // Only the start is withdrawn: the corner indices and welded points stay, and
    // the next polygon simply starts after them.
    polygonStarts.pop_back();
    return 0;
}

long CPolygonMesh::CountPolygonPoints(long polygon) const {
    const std::size_t p = static_cast<std::size_t>(polygon);
    const long end = p < polygonStarts.size() ? polygonStarts[p] : static_cast<long>(polygonIndices.size());
    return end - polygonStarts[p - 1];
}

void CPolygonMesh::Transform(const CTransformation& t) {
    for (CPoint3d& p : points) t.Transform(p);
    // A normal moves as the plane through the origin it defines (with the inverse
    // transpose), not as a vector, so it stays perpendicular to the surface when
    // the scaling differs between axes.
    const CPoint3d origin(0.0, 0.0, 0.0);
    for (CUnitVector3d& n : normals) {
        CPlane plane(origin, n);
        t.Transform(plane);
        n = plane.Normal();
    }
}

CPoint3d CPolygonMesh::GetUVFront(long i) const {
    const std::size_t at = Slot(i);
    return Inside(uvFront, at) ? uvFront[at] : CPoint3d(0.0, 0.0, 0.0);
}

CPoint3d CPolygonMesh::GetUVBack(long i) const {
    const std::size_t at = Slot(i);
    return Inside(uvBack, at) ? uvBack[at] : CPoint3d(0.0, 0.0, 0.0);
}

void CPolygonMesh::SetUVFront(long i, const CPoint3d& uv) { SetOrAppend(uvFront, Slot(i), uv); }

void CPolygonMesh::SetUVBack(long i, const CPoint3d& uv) { SetOrAppend(uvBack, Slot(i), uv); }

CUnitVector3d CPolygonMesh::GetNormal(long i) const {
    const std::size_t at = Slot(i);
    if ((flags & KeepsNormals) != 0 && Inside(normals, at)) return normals[at];
    return CUnitVector3d(0.0, 0.0, 0.0);
}

void CPolygonMesh::SetNormal(long i, const CUnitVector3d& n) { SetOrAppend(normals, Slot(i), n); }

}  // namespace velmor::geometry
