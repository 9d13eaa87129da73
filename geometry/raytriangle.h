/// \file
/// Ray against triangle: where a ray meets the triangle a, b, c, with the parameter
/// along the ray and the barycentric coordinates of the hit.
///
/// Which points count: the triangle is closed and no tolerance is used. A ray
/// through an edge or a vertex hits, the interior hits, everything else misses, and
/// the decision is made on exact signs of edge functions. Both faces count (no
/// culling). The ray starts at its origin: the hit must have t >= 0 (inclusive, so a
/// triangle through the origin is hit at t = 0). A triangle seen edge-on (the ray
/// parallel to its plane, or lying in it) and a triangle of zero area as the ray
/// sees it are missed; so is any input holding a NaN or an infinity.
///
/// Watertight: the triangle is projected along the ray onto a plane across the
/// ray's dominant axis, each vertex on its own (the same vertex gives the same
/// projected point in every triangle), and each edge function is the 2D cross
/// product of its two projected endpoints, which changes sign exactly when the
/// endpoints swap. Two triangles that share an edge therefore see the same edge
/// function with opposite signs, whatever the rounding: a ray meets the one, the
/// other, or the edge itself, which both count as hit. A ray through a shared edge
/// or vertex of a mesh hits at least one of the triangles around it (every one
/// that contains the point, as the signs say). The computation is in double.
#ifndef PLENAR_GEOMETRY_RAYTRIANGLE_H
#define PLENAR_GEOMETRY_RAYTRIANGLE_H

#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/ray3d.h>

namespace velmor::geometry {

/// True when the ray meets the closed triangle a, b, c at a parameter t >= 0. Then t
/// is that parameter (the hit is origin + t * direction), and u and v are the
/// barycentric weights of b and c (a's weight is 1 - u - v): u is 0 on the edge c-a
/// and v is 0 on the edge a-b, exactly. Outputs are untouched on a miss.
PLENAR_API bool IntersectTriangle(const CRay3d& ray, const CPoint3d& a, const CPoint3d& b, const CPoint3d& c, double& t,
                                  double& u, double& v) noexcept;

}  // namespace velmor::geometry

#endif
