/// \file
/// Free geometry functions of libPlenar: closest points of lines and segments,
/// projection parameters, collinearity and on-segment tests, points along an arc,
/// tolerant 2D segment intersection and point-in-polygon classification.
///
/// The tolerance globals themselves are declared in geometry/tol.h and defined,
/// with their load-time initialisation, beside these functions.
///
/// Tolerances used here:
///   - 3D point equality within tol is CPoint3d::Equals(q, tol): strict per axis
///     and on the squared distance.
///   - 2D point equality is the same rule with EqualTol and EqualTolSq:
///     |dx| < EqualTol, |dy| < EqualTol, dx*dx + dy*dy < EqualTolSq, all strict.
///   - The parallel tests of the closest-point functions and of IntersectSegments
///     use the fixed absolute threshold 1e-10, not a tolerance global, and they are
///     not scaled by the lengths involved.
///   - Degenerate (point-like) segments are those whose squared length is below
///     EqualTolSq (strict).
///
/// Point-in-polygon codes are the single bits of EPolygonPosition (geometryutils.h):
/// 1 inside, 2 on an edge, 4 on a vertex, 8 outside.
#ifndef PLENAR_GEOMETRY_MATHUTIL_H
#define PLENAR_GEOMETRY_MATHUTIL_H

#include <geometry/export.h>
#include <geometry/geometryutils.h>
#include <geometry/point2d.h>
#include <geometry/point3d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>

namespace velmor::geometry {

/// Parameters t1, t2 of the closest points of the infinite lines p1 + t1*u1 and
/// p2 + t2*u2. With c = u1.u2, the lines count as parallel when 1 - c*c < 1e-10
/// (strict); then t1 = 0, t2 is the foot of p1 on the second line, and the result
/// is false.
PLENAR_API bool ClosestPoint(const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2, const CUnitVector3d& u2,
                             double& t1, double& t2);

/// The closest points q1 = p1 + t1*u1 and q2 = p2 + t2*u2 of two infinite lines,
/// with t1, t2 as above. Both points are written also when the lines are parallel
/// (false): then q1 = p1 and q2 its foot on the second line.
PLENAR_API bool ClosestPoint(const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2, const CUnitVector3d& u2,
                             CPoint3d& q1, CPoint3d& q2);

/// Distance between the closest points of two infinite lines; for parallel lines
/// their separation.
PLENAR_API double DistanceBetweenLines(const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2,
                                       const CUnitVector3d& u2);

/// Parameters s, t of the closest points of the lines through a1->a2 and b1->b2
/// (0 at the first point, 1 at the second; not clamped). With A = a2 - a1 and
/// B = b2 - b1 the lines count as parallel when |A|^2*|B|^2 - (A.B)^2 < 1e-10, an
/// absolute threshold, so short segments read as parallel sooner. Then s = 0, t is
/// the raw dot product B.(a1 - b1) (not divided by |B|^2), and the result is false.
PLENAR_API bool ClosestPoint(const CPoint3d& a1, const CPoint3d& a2, const CPoint3d& b1, const CPoint3d& b2, double& s,
                             double& t);

/// Where the point of a segment closest to a line lies, as the segment-to-line
/// ClosestPoint returns it.
enum ESegmentClosest : int { SegmentParallel = 0, ClampedToStart = 1, ClampedToEnd = 2, InsideSegment = 3 };

/// The point of segment a-b closest to the infinite line p + l*u, in out. Returns
/// SegmentParallel (0) when the segment is parallel to the line (|D x u|^2 <
/// ParallelThreshold with D = b - a; out is the endpoint nearer to p, b on a tie),
/// ClampedToStart (1) when the closest point is clamped to a, ClampedToEnd (2) when
/// clamped to b, InsideSegment (3) when it lies inside the segment.
PLENAR_API int ClosestPoint(const CPoint3d& a, const CPoint3d& b, const CPoint3d& p, const CUnitVector3d& u,
                            CPoint3d& out);

/// Parameter of p's projection onto the line a->b, ((p - a).(b - a)) / |b - a|^2,
/// not clamped; 0.0 when |b - a|^2 < EqualTolSq.
PLENAR_API double ParameterOfClosestPoint(const CPoint3d& a, const CPoint3d& b, const CPoint3d& p);
/// The same in 2D.
PLENAR_API double ParameterOfClosestPoint(const CPoint2d& a, const CPoint2d& b, const CPoint2d& p);

/// Whether segments a1-a2 and b1-b2 meet, by CPoint3d::Intersect. The meeting
/// point is written to out when out is given and the segments meet; out may be
/// null.
PLENAR_API bool SegmentsIntersect(const CPoint3d& a1, const CPoint3d& a2, const CPoint3d& b1, const CPoint3d& b2,
                                  CPoint3d* out);

/// Whether c lies on the line through a and b: its squared distance from the line
/// is below tol*tol (strict). A base shorter than tol (|b - a|^2 < tol*tol) is
/// collinear with anything.
PLENAR_API bool AreColinear(const CPoint3d& a, const CPoint3d& b, const CPoint3d& c, double tol);

/// Whether p lies on the segment a-b within tol: p is compared (CPoint3d::Equals)
/// with its projection clamped to the segment. A degenerate segment (squared
/// length below EqualTolSq) compares p with a.
PLENAR_API bool IsOnLineSegment(const CPoint3d& a, const CPoint3d& b, const CPoint3d& p, double tol);

/// Whether p projects between a and b. Only the projection parameter is tested,
/// not the distance from the line: a point far beside the segment still counts
/// when 0 <= s <= 1. Beyond the ends p must equal that end within EqualTol. A
/// degenerate segment (squared length below EqualTolSq) accepts every point.
PLENAR_API bool IsBetween(const CPoint3d& p, const CPoint3d& a, const CPoint3d& b);

/// Whether p lies on the line through a and b within EqualTol (2D point equality
/// with its projection). The parameter is not limited to [0, 1]: points on the
/// extension count. When t is given it receives the projection parameter (0 for a
/// degenerate segment, squared length below EqualTolSq).
PLENAR_API bool IsOnLine(const CPoint2d& a, const CPoint2d& b, const CPoint2d& p, double* t);

/// Writes n points of the circular arc about center in the plane of xAxis and
/// yAxis, starting on xAxis and turning by sweep towards yAxis. The angle grows by
/// sweep / (n - 1) after each point (accumulated, so the last point sits at sweep
/// up to the rounding of the sum). Nothing is written when n <= 0; for n == 1 the
/// single point center + radius*xAxis is written.
PLENAR_API void GetPointsOnArc(const CPoint3d& center, const CUnitVector3d& xAxis, const CUnitVector3d& yAxis,
                               double radius, double sweep, int n, CPoint3d* out);

/// Tolerant intersection of the 2D segments a1-a2 and b1-b2; out (may be null)
/// receives the intersection point. A point-like segment (squared length below
/// EqualTolSq) is tested as its midpoint; the four end points are only read,
/// although the signature takes them by non-const reference. Segments count as parallel when
/// |A x B| < 1e-10. In the parallel case only the endpoints of b are tested
/// against a, so collinear segments where a lies strictly inside b report no
/// intersection while the swapped call does: callers rely on this asymmetry.
PLENAR_API bool IntersectSegments(CPoint2d& a1, CPoint2d& a2, CPoint2d& b1, CPoint2d& b2, CPoint2d* out);

/// Classifies p against the closed polygon poly[0..n-1] (the last vertex joins the
/// first): OnPolygonVertex within EqualTol of a vertex, OnPolygonEdge on an edge,
/// otherwise InsidePolygon or OutsidePolygon by the parity of crossings of the horizontal ray towards +x. A vertex
/// on the ray counts only together with a lower neighbour, so a vertex touched
/// from above is no crossing. n < 1 yields OutsidePolygon without reading poly.
/// poly is only read, although it is not a pointer to const.
PLENAR_API int PointInPolygon(const CPoint2d& p, CPoint2d* poly, int n);

}  // namespace velmor::geometry

#endif
