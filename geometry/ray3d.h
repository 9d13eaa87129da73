// CRay3d: a point and a unit direction. Parameter t denotes origin + t * direction
// and is a length. Although it is called a ray, almost every query treats it as the
// infinite carrier line: parameters may be negative, and the plane, ray, segment
// and circle intersections accept them. Only the box test gives the origin the
// meaning of a start (a box behind the origin is missed).
//
// Tolerances: IsOn uses the point's line and plane membership (strict against
// EqualTol) with the direction's parallel (inclusive) and perpendicular (strict)
// tests. Ray/ray and ray/segment coincidences are decided with
// CPoint3d::Equals(EqualTol). The box test uses no tolerance: box faces belong to
// the box, and a direction component is ignored only when it is exactly zero. The
// circle intersections compare squared lengths with EqualTolSq (strict).
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

namespace velmor::geometry {

class CTransformation;
class CCircle3d;

class PLENAR_API CRay3d {
public:
    CPoint3d origin;
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
        side = static_cast<EBoxSide>(0);
        if (box.x.min > box.x.max) return false;

        const double o[3] = {origin.x, origin.y, origin.z};
        const double u[3] = {direction.x, direction.y, direction.z};
        const double lo[3] = {box.x.min, box.y.min, box.z.min};
        const double hi[3] = {box.x.max, box.y.max, box.z.max};

        // Candidate plane per axis: the near face of a slab the origin lies outside;
        // -1 marks an axis that cannot be the entry (origin within the slab, or a
        // direction exactly parallel to it). Written with selects rather than
        // branches: this runs for every box a pick ray meets.
        double candidate[3];
        double tmax[3];
        bool left[3];
        bool outside[3];
        for (int i = 0; i < 3; ++i) {
            left[i] = lo[i] > o[i];
            const bool right = o[i] > hi[i];
            outside[i] = left[i] || right;
            candidate[i] = left[i] ? lo[i] : hi[i];
            const bool usable = outside[i] && u[i] != 0.0;
            tmax[i] = usable ? (candidate[i] - o[i]) / (usable ? u[i] : 1.0) : -1.0;
        }
        if (!(outside[0] || outside[1] || outside[2])) {
            hit = origin;
            return true;
        }

        // Strictly greater replaces, so a tie keeps the earlier axis.
        int entry = 0;
        entry = tmax[1] > tmax[entry] ? 1 : entry;
        entry = tmax[2] > tmax[entry] ? 2 : entry;
        const double t = tmax[entry];
        if (t < 0.0) return false;

        // The entry point must lie within the closed ranges of the other two axes;
        // on the entry axis it is exactly the candidate plane.
        double c[3];
        bool within = true;
        for (int j = 0; j < 3; ++j) {
            const double cj = o[j] + t * u[j];
            within = within && (j == entry || !(cj < lo[j] || cj > hi[j]));
            c[j] = j == entry ? candidate[j] : cj;
        }
        if (!within) return false;
        hit = CPoint3d(c[0], c[1], c[2]);
        // Faces are numbered 1 + 2 * axis for the minimum and 2 + 2 * axis for the
        // maximum.
        side = static_cast<EBoxSide>(2 * entry + (left[entry] ? 1 : 2));
        return true;
    }

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
