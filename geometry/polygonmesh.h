/// \file
/// CPolygonMesh: an indexed polygon mesh over a pool of points that is welded as it
/// grows, with optional per-point texture coordinates and normals.
///
/// Contract:
///   - Point indices are 1-based and signed: 0 means no point, and the sign is a bit
///     the caller may carry per polygon corner (a hidden edge, say). The mesh stores
///     the sign and every lookup ignores it. Point i is points[|i| - 1].
///   - Welding: a point is reused when it equals an existing one within EqualTol
///     (CPoint3d::Equals, strict), and the first match in insertion order wins. The
///     scan is linear, so welding n points costs O(n^2): meant for moderate meshes.
///   - Polygon p (1-based) owns polygonIndices[polygonStarts[p - 1]] up to the next
///     polygon's start, or to the end of polygonIndices for the last polygon.
///   - AddPolygon reports a refused polygon with 0 and does not undo what it had
///     already recorded (see each overload). A caller that gets 0 from the indices
///     overload is expected to discard the mesh.
///   - flags: 1 keeps front texture coordinates, 2 back texture coordinates, 4
///     normals; other bits are ignored. The attribute vectors are parallel to points
///     only as far as the caller keeps them so (ReserveSpace, then the setters);
///     nothing enforces it.
///   - Attribute getters answer zeros for an index outside their vector, and
///     GetNormal also when the mesh keeps no normals; setters overwrite inside the
///     vector and append otherwise, whatever the index and the flags.
///   - GetPoint and the polygon queries do not check their indices: an index out of
///     range is the caller's error and reads outside the vectors.
#ifndef PLENAR_GEOMETRY_POLYGONMESH_H
#define PLENAR_GEOMETRY_POLYGONMESH_H

#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/unitvector3d.h>

#include <cstddef>
#include <vector>

namespace velmor::geometry {

class CTransformation;

/// An indexed polygon mesh over a welded point pool, with optional per-point texture coordinates and normals. A
/// value: copies own their own vectors.
class PLENAR_API CPolygonMesh {
public:
    /// The point pool; point index k (k >= 1) is points[k - 1].
    std::vector<CPoint3d> points;
    /// Attribute bits set at construction: 1 front texture coordinates, 2 back
    /// texture coordinates, 4 normals.
    unsigned int flags;
    /// Front texture coordinates per point (u, v in x and y; z carried along).
    std::vector<CPoint3d> uvFront;
    /// Back texture coordinates per point.
    std::vector<CPoint3d> uvBack;
    /// Normals per point.
    std::vector<CUnitVector3d> normals;
    /// For polygon p (p >= 1), the position in polygonIndices of its first corner.
    std::vector<long> polygonStarts;
    /// Every polygon's signed 1-based corner point indices, polygon after polygon.
    std::vector<long> polygonIndices;

    /// An empty mesh keeping the attributes named by flags.
    explicit CPolygonMesh(unsigned int flags_) : flags(flags_) {}
    CPolygonMesh(const CPolygonMesh&) = default;
    /// Takes over every vector; the source is left empty but valid.
    CPolygonMesh(CPolygonMesh&&) noexcept = default;
    CPolygonMesh& operator=(const CPolygonMesh&) = default;
    /// Takes over every vector; the source is left empty but valid.
    CPolygonMesh& operator=(CPolygonMesh&&) noexcept = default;
    /// Virtual so that meshes derived from it are destroyed whole; frees the vectors.
    virtual ~CPolygonMesh();

    /// Reserves room for pointCount more points and polygonCount more polygons (of
    /// three corners each). For every attribute the flags keep, appends pointCount
    /// zero entries for the setters to overwrite; points themselves are only
    /// reserved. Counts below 1 add nothing.
    void ReserveSpace(long pointCount, long polygonCount);

    /// Point |i|, unchecked: i must be a valid signed index.
    const CPoint3d& GetPoint(long i) const { return points[Slot(i)]; }
    /// Point |i|, unchecked and writable.
    CPoint3d& GetPoint(long i) { return points[Slot(i)]; }

    /// The index of the first point equal to point within EqualTol, or point
    /// appended and its new index.
    long InsertPoint(const CPoint3d& point);
    /// The index of the first point equal to point within EqualTol; 0 when none is.
    long FindPoint(const CPoint3d& point) const;

    /// Adds a polygon of count existing signed point indices and returns its
    /// number. 0 and no change for count < 3 (or no indices). An index that is 0 or
    /// beyond the pool in either sign also returns 0, leaving the polygon's start
    /// and the indices accepted before it in place.
    long AddPolygon(long count, const long* indices);
    /// Adds a polygon from coordinates, welding each into the pool, and returns its
    /// number. With fewer than three corners it returns 0 and withdraws the
    /// polygon's start, but the corners it appended to polygonIndices and the points
    /// it inserted stay.
    long AddPolygon(long count, const CPoint3d* corners);

    /// Corner count of polygon p (1-based), unchecked.
    long CountPolygonPoints(long polygon) const;
    /// The signed point index of corner `corner` (1-based) of polygon p, unchecked.
    long GetPolygonPointIndex(long polygon, long corner) const {
        return polygonIndices[static_cast<std::size_t>(polygonStarts[static_cast<std::size_t>(polygon - 1)] + corner -
                                                       1)];
    }
    /// The point at that corner, unchecked.
    CPoint3d GetPolygonPoint(long polygon, long corner) const {
        return GetPoint(GetPolygonPointIndex(polygon, corner));
    }

    /// Transforms the points as points and the normals as planes through the
    /// origin, which keeps them perpendicular to the surface under non-uniform
    /// scaling. Texture coordinates stay.
    void Transform(const CTransformation& t);

    /// Front texture coordinate |i|; (0, 0, 0) outside uvFront. The flag is not
    /// consulted.
    CPoint3d GetUVFront(long i) const;
    /// Back texture coordinate |i|; (0, 0, 0) outside uvBack.
    CPoint3d GetUVBack(long i) const;
    /// Overwrites front texture coordinate |i|, or appends uv when |i| is 0 or past
    /// the end.
    void SetUVFront(long i, const CPoint3d& uv);
    /// Overwrites back texture coordinate |i|, or appends uv.
    void SetUVBack(long i, const CPoint3d& uv);
    /// Normal |i| when the mesh keeps normals and |i| is within normals; otherwise
    /// the zero direction.
    CUnitVector3d GetNormal(long i) const;
    /// Overwrites normal |i|, or appends n, whether or not the mesh keeps normals.
    void SetNormal(long i, const CUnitVector3d& n);

private:
    /// |i| - 1 as a vector position, computed without overflow: index 0 and
    /// LONG_MIN (whose magnitude has no long) map past every vector.
    static std::size_t Slot(long i) {
        const unsigned long magnitude = i < 0 ? 0UL - static_cast<unsigned long>(i) : static_cast<unsigned long>(i);
        return static_cast<std::size_t>(magnitude) - 1;
    }
};

}  // namespace velmor::geometry

#endif
