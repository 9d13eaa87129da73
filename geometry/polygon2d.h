/// \file
/// CPolygon2d: a closed 2D polygon of double-precision points (the last point joins
/// the first) that keeps the box of its points up to date as they are added.
///
/// Contract:
///   - bounds covers the points added through AddPoint. Writing to `points`
///     directly bypasses it; every query trusts bounds as it stands.
///   - ClassifyPoint answers with the point-in-polygon codes of EPolygonPosition:
///     1 inside, 2 on an edge, 4 on a vertex, 8 outside. A point outside bounds
///     (CBoundingBox2d::Contains, tolerant by EqualTol) is 8 without looking at the points; anything
///     else is decided by PointInPolygon with its EqualTol band.
///   - Contains without allowBoundary accepts only vertices strictly inside (code 1);
///     with it, edge and vertex codes pass too.
///   - IsCoincidentWith: the same vertex cycle in the same direction, from any start.
///     Points match when |dx| < EqualTol, |dy| < EqualTol and dx*dx + dy*dy <
///     EqualTolSq, all strict. Only the first vertex of the other polygon matching
///     this polygon's first vertex is tried as the start. Empty polygons are never
///     coincident.
///   - GetSignedArea is positive for counter-clockwise order (y up), 0 when empty.
///   - Reverse leaves the points in their order (see there).
///   - The vertex count is used as a signed 32-bit int.
///   - tag is carried along by copies and used by nothing here.
#ifndef PLENAR_GEOMETRY_POLYGON2D_H
#define PLENAR_GEOMETRY_POLYGON2D_H

#include <geometry/boundingbox.h>
#include <geometry/export.h>
#include <geometry/geometryutils.h>
#include <geometry/point2d.h>

#include <cstdint>
#include <vector>

namespace velmor::geometry {

/// A closed 2D polygon of doubles that keeps the box of its points, for fast rejection in point and containment
/// queries.
class PLENAR_API CPolygon2d {
public:
    /// The vertices in order; the polygon is closed implicitly.
    std::vector<CPoint2d> points;
    /// The box of every point added through AddPoint; empty for a new polygon.
    CBoundingBox2d bounds;
    /// A word owned by the caller; zero in a new polygon, copied with it.
    std::uint64_t tag = 0;

    /// No points, empty bounds, tag 0.
    CPolygon2d() = default;
    /// Copies points, bounds and tag.
    CPolygon2d(const CPolygon2d& other);
    /// Replaces the points by other's and copies bounds and tag; self-assignment
    /// does nothing.
    CPolygon2d& operator=(const CPolygon2d& other);
    /// Virtual so that classes derived from a polygon are destroyed whole.
    virtual ~CPolygon2d();

    /// Appends p and grows bounds by it.
    void AddPoint(const CPoint2d& p);

    /// 8 when p lies outside bounds, without consulting the points; otherwise the
    /// The EPolygonPosition of p: InsidePolygon, OnPolygonEdge, OnPolygonVertex or
    /// OutsidePolygon.
    int ClassifyPoint(const CPoint2d& p) const;

    /// Whether every vertex of other lies inside this polygon: strictly inside
    /// (code 1) without allowBoundary, or inside, on an edge or on a vertex with it.
    /// False at once when the two boxes do not meet. Only vertices are tested, so a
    /// non-convex polygon can "contain" one whose edges leave it.
    bool Contains(const CPolygon2d& other, bool allowBoundary) const;

    /// Whether other has the same closed vertex cycle in the same direction,
    /// starting anywhere. A reversed copy is not coincident.
    bool IsCoincidentWith(const CPolygon2d& other) const;

    /// Signed area by the trapezoid rule: positive counter-clockwise, negative
    /// clockwise, 0 for an empty polygon.
    double GetSignedArea() const;

    /// Leaves every polygon in its order: the reversal only ever runs for a vertex
    /// count that is not positive, where there is nothing to reverse. Callers that
    /// need the opposite orientation build a new polygon from the points in reverse.
    void Reverse();
};

}  // namespace velmor::geometry

#endif
