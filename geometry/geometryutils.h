/// \file
/// Free 2D float utilities: classification of a point against a polygon.
///
/// The classification codes are single bits so that callers can accept a set of
/// outcomes with one mask: 1 inside, 2 on an edge (within EqualTol), 4 on a vertex
/// (within EqualTol in both coordinates, strictly), 8 outside.
#ifndef PLENAR_GEOMETRY_GEOMETRYUTILS_H
#define PLENAR_GEOMETRY_GEOMETRYUTILS_H

#include <geometry/export.h>
#include <geometry/point2f.h>

namespace velmor::geometry {

/// Where a point lies against a polygon, as the point-in-polygon tests (float and
/// double) and CPolygon2d::ClassifyPoint return it. Single bits, so that a caller
/// accepts a set of outcomes with one mask: (code & (InsidePolygon | OnPolygonEdge)).
enum EPolygonPosition : int { InsidePolygon = 1, OnPolygonEdge = 2, OnPolygonVertex = 4, OutsidePolygon = 8 };

/// Classifies p against the closed polygon points[0..count-1] (the last vertex
/// joins the first; any orientation, self-intersections counted by crossings).
/// Two rays are cast, toward +x from EqualTol above p and toward -x from EqualTol
/// below p; where their crossing counts disagree in parity p lies in the band of
/// an edge. Returns OnPolygonVertex, OnPolygonEdge, InsidePolygon or
/// OutsidePolygon (also for count 0, when points is not read).
PLENAR_API int PointInPolygon(const CPoint2f& p, const CPoint2f* points, unsigned int count) noexcept;

}  // namespace velmor::geometry

#endif
