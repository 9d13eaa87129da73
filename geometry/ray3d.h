/// \file
/// CRay3d: a point and a unit direction. Parameter t denotes origin + t * direction
/// and is a length. Although it is called a ray, almost every query treats it as the
/// infinite carrier line: parameters may be negative, and the plane, ray, segment
/// and circle intersections accept them. Only the box test gives the origin the
/// meaning of a start (a box behind the origin is missed).
///
/// Tolerances: IsOn uses the point's line and plane membership (strict against
/// EqualTol) with the direction's parallel (inclusive) and perpendicular (strict)
/// tests. Ray/ray and ray/segment coincidences are decided with
/// CPoint3d::Equals(EqualTol). The box test uses no tolerance: box faces belong to
/// the box, and a direction component is ignored only when it is exactly zero. The
/// circle intersections compare squared lengths with EqualTolSq (strict).
#ifndef PLENAR_GEOMETRY_RAY3D_H
#define PLENAR_GEOMETRY_RAY3D_H

#include <geometry/boundingbox.h>
#include <geometry/export.h>
#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cmath>
#include <cstddef>

namespace velmor::geometry {

class CTransformation;
class CCircle3d;

/// A point and a unit direction; most queries treat it as the infinite line through origin.
class PLENAR_API CRay3d {
public:
    /// The point at parameter 0.
    CPoint3d origin;
    /// The unit direction; parameter t is the distance along it.
    CUnitVector3d direction;

    /// Origin (0, 0, 0), direction +z.
    constexpr CRay3d() noexcept : origin(), direction(CUnitVector3d::FromComponents(0.0, 0.0, 1.0)) {}
    /// The ray from origin along direction, both taken as given.
    constexpr CRay3d(const CPoint3d& origin_, const CUnitVector3d& direction_) noexcept
        : origin(origin_), direction(direction_) {}

    /// The ray from a towards b. Coincident points give the zero direction.
    void Set(const CPoint3d& a, const CPoint3d& b) noexcept {
        origin = a;
        direction = b - a;
    }

    /// Same carrier line: the origin lies on other's line (strict, EqualTol) and
    /// the directions are parallel in either sense.
    bool IsOn(const CRay3d& other) const noexcept;
    /// Lies in the plane: the origin is on it (strict, EqualTol) and the direction
    /// is perpendicular to its normal.
    bool IsOn(const CPlane& plane) const noexcept;

    /// Where the two carrier lines meet: p is the midpoint of their closest points
    /// (written even on false). True when the lines are not parallel and pass
    /// within EqualTol of each other; parameters may be negative on either line.
    bool IntersectWith(const CRay3d& other, CPoint3d& p) const noexcept;
    /// plane.IntersectWith(*this, t): the carrier line's parameter at the plane.
    bool IntersectWith(const CPlane& plane, double& t) const noexcept { return plane.IntersectWith(*this, t); }
    /// plane.IntersectWith(*this, t, tol).
    bool IntersectWith(const CPlane& plane, double& t, double tol) const noexcept {
        return plane.IntersectWith(*this, t, tol);
    }
    /// plane.IntersectWith(*this, p).
    bool IntersectWith(const CPlane& plane, CPoint3d& p) const noexcept { return plane.IntersectWith(*this, p); }

    /// Where the ray enters the box, and through which face. An origin inside the
    /// box or on its boundary is the hit itself, with side 0. The entry face is the
    /// axis of the largest plane parameter; on a tie the earlier axis (x, then y, then
    /// z) wins. The entry point must lie on the closed face. False for an empty box
    /// (judged on x), a box behind the origin, or a miss; side is always written,
    /// hit only on success.
    bool IntersectWith(const CBoundingBox3d& box, CPoint3d& hit, EBoxSide& side) const noexcept {
        // Everything is read into locals first and the answer is built with selects,
        // leaving one branch: whether to write the hit. This runs for every box a
        // pick ray meets.
        const double ox = origin.x, oy = origin.y, oz = origin.z;
        const double ux = direction.x, uy = direction.y, uz = direction.z;
        const double x0 = box.x.min, x1 = box.x.max, y0 = box.y.min, y1 = box.y.max, z0 = box.z.min, z1 = box.z.max;
        side = NoSide;

        // Per axis: whether the origin lies before (left) or beyond the slab, the near
        // face, and the parameter of that face; -1 marks an axis that cannot be the
        // entry (origin within the slab, or a direction exactly parallel to it).
        const bool lx = x0 > ox, ly = y0 > oy, lz = z0 > oz;
        const bool outX = lx || ox > x1, outY = ly || oy > y1, outZ = lz || oz > z1;
        const double cx = lx ? x0 : x1, cy = ly ? y0 : y1, cz = lz ? z0 : z1;
        const double tx = outX && ux != 0.0 ? (cx - ox) / (ux != 0.0 ? ux : 1.0) : -1.0;
        const double ty = outY && uy != 0.0 ? (cy - oy) / (uy != 0.0 ? uy : 1.0) : -1.0;
        const double tz = outZ && uz != 0.0 ? (cz - oz) / (uz != 0.0 ? uz : 1.0) : -1.0;

        // The largest parameter; strictly greater replaces, so a tie keeps the
        // earlier axis.
        const bool pickY = ty > tx;
        const double txy = pickY ? ty : tx;
        const bool pickZ = tz > txy;
        const double t = pickZ ? tz : txy;
        const bool entryX = !(pickY || pickZ), entryY = pickY && !pickZ;

        // The entry point must lie within the closed ranges of the other two axes; on
        // the entry axis it is exactly the near face.
        const double px = ox + t * ux, py = oy + t * uy, pz = oz + t * uz;
        const bool missX = !entryX && (px < x0 || px > x1);
        const bool missY = !entryY && (py < y0 || py > y1);
        const bool missZ = !pickZ && (pz < z0 || pz > z1);

        const bool outside = outX || outY || outZ;
        const bool empty = x0 > x1;
        const bool ok = !empty && (!outside || !(t < 0.0 || missX || missY || missZ));
        if (!ok) return false;
        // Faces are numbered 1 + 2 * axis for the minimum and 2 + 2 * axis for the
        // maximum; an origin in the box is the hit itself, with no side.
        const int face = entryX ? (lx ? 1 : 2) : entryY ? (ly ? 3 : 4) : (lz ? 5 : 6);
        hit = CPoint3d(outside ? (entryX ? cx : px) : ox, outside ? (entryY ? cy : py) : oy,
                       outside ? (pickZ ? cz : pz) : oz);
        side = static_cast<EBoxSide>(outside ? face : 0);
        return true;
    }

    /// IntersectWith(boxes[i], entries[i], sides[i]) for i in [0, n): hits[i] is the
    /// result, sides[i] is always written and entries[i] only on a hit. entries and
    /// sides may be null when only the hit mask is wanted. The results are the
    /// single-box call's to the bit, whatever vector width the processor offers; the
    /// output arrays must not overlap one another, the boxes or this ray.
    void IntersectBoxes(const CBoundingBox3d* boxes, std::size_t n, bool* hits, CPoint3d* entries,
                        EBoxSide* sides) const noexcept;

    /// The carrier line against the segment a-b. Yields the point of the segment
    /// nearest the line (endpoints included within EqualTol) and its parameter t on
    /// this line; the distance between the lines is deliberately not measured, so
    /// skew lines passing each other still meet. A segment parallel to the line
    /// meets it when a lies on the line; a segment shorter than EqualTol meets it
    /// when its midpoint does (t is written then even on false).
    bool IntersectWith(const CPoint3d& a, const CPoint3d& b, double& t) const noexcept;

    /// Where the carrier line meets the circle: 0, 1 or 2 points. A line lying in
    /// the circle's plane (IsOn) is compared with the circle through the squared
    /// distance e of the centre from the line: |e - r*r| < EqualTolSq (strict) is a
    /// tangent, p1 the touching point; e > r*r misses; otherwise p1 and p2 are the
    /// two crossings, p2 = F + h * u and p1 = F - h * u about the foot F of the
    /// centre, with u along the line (through the centre, this direction;
    /// otherwise the sense of the chord the plane intersection yields). Any other
    /// line crosses the plane at one point p1, on the circle when its squared
    /// distance from the centre is within EqualTolSq of r*r (strict). Squared
    /// lengths are compared with the squared tolerance throughout, deliberately.
    /// p1 may be written even when 0 is returned.
    int IntersectWith(const CCircle3d& circle, CPoint3d& p1, CPoint3d& p2) const noexcept;
    /// As above, also giving the crossings' angles on the circle, in (-pi, pi]
    /// about its normal from its xAxis. With two crossings the angles are put in
    /// increasing order; the points are swapped with them only when p1 is given
    /// (with p1 null, *p2 keeps the second crossing as found, whichever angle it
    /// has). Either pointer may be null. An angle without a crossing is left
    /// untouched.
    int IntersectWith(const CCircle3d& circle, double& angle1, double& angle2, CPoint3d* p1,
                      CPoint3d* p2) const noexcept;

    /// The foot of the perpendicular from p on the carrier line.
    CPoint3d Project(const CPoint3d& p) const noexcept {
        return CPoint3d(origin, ParameterOfClosestPoint(p), direction);
    }
    /// The closest points of the two carrier lines: p1 on this one, p2 on the
    /// other. False for parallel lines (p1 is then the origin, p2 its foot).
    bool FindClosestPoints(const CRay3d& other, CPoint3d& p1, CPoint3d& p2) const noexcept;
    /// The parameter of p's projection: (p - origin) . direction, any sign.
    constexpr double ParameterOfClosestPoint(const CPoint3d& p) const noexcept {
        return (p.x - origin.x) * direction.x + (p.y - origin.y) * direction.y + (p.z - origin.z) * direction.z;
    }

    /// Transforms the origin as a point and the direction as a vector (scale
    /// included, no translation), then renormalises the direction.
    CRay3d& operator*=(const CTransformation& t) noexcept;

    /// Sets this ray to the line common to two planes, directed along N1 x N2.
    /// The origin lies on the coordinate plane across the direction's dominant axis
    /// (ties favour x, then y). False, ray untouched, for parallel planes.
    bool IntersectPlanes(const CPlane& p1, const CPlane& p2) noexcept;

    /// The parameter where the carrier line reaches height z; false when the
    /// direction is horizontal (|direction.z| < DivideByZeroTol).
    bool IntersectZ(double z, double& t) const noexcept {
        if (std::fabs(direction.z) < DivideByZeroTol) return false;
        t = (z - origin.z) / direction.z;
        return true;
    }
    /// The point where the carrier line reaches height z.
    bool IntersectZ(double z, CPoint3d& p) const noexcept {
        double t = 0.0;
        if (!IntersectZ(z, t)) return false;
        p = CPoint3d(origin, t, direction);
        return true;
    }

    /// The origin is finite and the direction a finite unit vector.
    bool IsValidObj() const noexcept { return origin.IsValidObj() && direction.IsValidObj(); }
};

}  // namespace velmor::geometry

#endif
