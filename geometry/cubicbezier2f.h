/// \file
/// 2D cubic Bezier curves in float, and the triangle test that their control-hull
/// checks are built on.
///
/// PointInsideTriangle is an inclusive same-side test in float: points on an edge
/// or at a vertex are inside, the triangle's orientation does not matter, and a
/// degenerate (collinear) triangle contains every point, so that a control point
/// lying on the line of the other three is dropped from the hull.
#ifndef PLENAR_GEOMETRY_CUBICBEZIER2F_H
#define PLENAR_GEOMETRY_CUBICBEZIER2F_H

#include <geometry/export.h>
#include <geometry/point2f.h>

namespace velmor::geometry {

/// Whether p lies inside or on the boundary of the triangle a, b, c: for each
/// edge, p must not lie strictly on the other side from the opposite vertex.
PLENAR_API bool PointInsideTriangle(const CPoint2f& p, const CPoint2f& a, const CPoint2f& b,
                                    const CPoint2f& c) noexcept;

}  // namespace velmor::geometry

#endif
