/// \file
/// CPlane: an oriented plane a*x + b*y + c*z + d = 0 whose normal (a, b, c) every
/// setter keeps at unit length, so that the expression is the signed distance of a
/// point and the normal points to the side called "above". CPlaneCalculator picks
/// a plane out of a stream of points.
///
/// The signed distance is always evaluated as ((a*x + b*y) + c*z) + d, through
/// SignedDistance, so that every member classifies a point identically.
///
/// Tolerances: DistanceTo-based membership (CPoint3d::IsOn) is strict against
/// EqualTol. Ray intersections reject a ray whose direction has |cos| below the
/// tolerance (EqualTolSq by default, strict). The box classification
/// IntersectWith(box) and TrimAbove use no tolerance at all: their tests against 0
/// are strict, so a box or an endpoint exactly on the plane counts as touching or
/// below. IsAbove recognises axis-aligned planes within EqualTol and keeps a margin
/// of EqualTol (inclusive) for them. A degenerate plane has the zero normal; Set
/// produces it for a zero-length normal and keeps d.
#ifndef PLENAR_GEOMETRY_PLANE_H
#define PLENAR_GEOMETRY_PLANE_H

#include <geometry/boundingbox.h>
#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cmath>

namespace velmor::geometry {

class CRay3d;
class CPoint2d;
class CCircle3d;

/// How a box lies against a plane, as CPlane::IntersectWith(box) returns it.
enum EBoxPlaneSide : int { BoxAbove = 1, BoxBelow = 2, BoxCrossing = 3 };

/// What CPlane::TrimAbove did to a segment.
enum ETrimResult : int { SegmentAbove = 1, SegmentTrimmed = 0, SegmentBelow = -1 };

/// An oriented plane a*x + b*y + c*z + d = 0 with unit normal (a, b, c): the expression is the signed distance,
/// positive above. The plane z = 0 by default.
class PLENAR_API CPlane {
public:
    /// x component of the unit normal.
    double a;
    /// y component of the unit normal.
    double b;
    /// z component of the unit normal.
    double c;
    /// Constant term: the signed distance of the world origin from the plane.
    double d;

    /// The plane z = 0 with normal +z.
    constexpr CPlane() noexcept : a(0.0), b(0.0), c(1.0), d(0.0) {}
    /// The plane of the equation a*x + b*y + c*z + d = 0, normalised as Set does (a
    /// zero normal gives the degenerate plane (0, 0, 0, d)).
    CPlane(double a_, double b_, double c_, double d_) noexcept : CPlane() { Set(a_, b_, c_, d_); }
    /// The plane through p with normal n, taken as given.
    CPlane(const CPoint3d& p, const CUnitVector3d& n) noexcept : CPlane() { Set(p, n); }
    /// The plane through three points, its normal (p2 - p1) x (p3 - p1) normalised:
    /// counter-clockwise points seen from above. Colinear points give the zero
    /// normal.
    CPlane(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept;

    /// The plane through p with normal n, taken as given: d = -(n . p).
    void Set(const CPoint3d& p, const CUnitVector3d& n) noexcept {
        a = n.x;
        b = n.y;
        c = n.z;
        d = -(n.x * p.x + n.y * p.y + n.z * p.z);
    }
    /// Scales the equation so that the normal has unit length. When the squared
    /// normal length is at or below DivideByZeroTolSq the normal becomes (0, 0, 0)
    /// and d is stored unchanged.
    void Set(double a_, double b_, double c_, double d_) noexcept;

    /// Copies a, b, c, d into eq[0..3].
    void GetEquation(double* eq) const noexcept {
        eq[0] = a;
        eq[1] = b;
        eq[2] = c;
        eq[3] = d;
    }
    /// The stored normal, copied without renormalising.
    constexpr CUnitVector3d Normal() const noexcept { return CUnitVector3d::FromComponents(a, b, c); }

    /// Signed distance ((a*x + b*y) + c*z) + d: positive above the plane.
    constexpr double SignedDistance(const CPoint3d& p) const noexcept { return a * p.x + b * p.y + c * p.z + d; }
    /// Unsigned distance |SignedDistance(p)|.
    double DistanceTo(const CPoint3d& p) const noexcept { return std::fabs(SignedDistance(p)); }

    /// The foot of the perpendicular from p: p - SignedDistance(p) * normal.
    CPoint3d Project(const CPoint3d& p) const noexcept {
        const double s = SignedDistance(p);
        return {p.x - s * a, p.y - s * b, p.z - s * c};
    }
    /// The direction of v's shadow on the plane: the unit vector from the
    /// projection of the origin to the projection of v. A v along the normal has no
    /// shadow and gives the zero vector.
    CUnitVector3d Project(const CUnitVector3d& v) const noexcept;
    /// The ray projected: origin and direction each projected as above.
    CRay3d Project(const CRay3d& r) const noexcept;

    /// Intersects the ray's carrier line: false (t untouched) when |normal .
    /// direction| < tol (strict: parallel); otherwise t, possibly negative, such that
    /// origin + t * direction lies on the plane.
    bool IntersectWith(const CRay3d& r, double& t, double tol) const noexcept;
    /// The same with tol = EqualTolSq.
    bool IntersectWith(const CRay3d& r, double& t) const noexcept;
    /// As above, writing the intersection point; p is untouched on false.
    bool IntersectWith(const CRay3d& r, CPoint3d& p, double tol) const noexcept;
    /// The same with tol = EqualTolSq.
    bool IntersectWith(const CRay3d& r, CPoint3d& p) const noexcept;
    /// The line through o along dir intersected with tol = EqualTolSq.
    bool IntersectWith(const CPoint3d& o, const CUnitVector3d& dir, CPoint3d& p) const noexcept;
    /// The line common to two planes, directed along this normal x other normal.
    /// False (line untouched) for parallel planes.
    bool IntersectWith(const CPlane& other, CRay3d& line) const noexcept;

    /// Where this plane cuts the circle: the line common to this plane and the
    /// circle's plane intersected with the circle (CRay3d::IntersectWith), 0, 1 or
    /// 2 points. 0 when the planes are parallel.
    int IntersectWith(const CCircle3d& circle, CPoint3d& p1, CPoint3d& p2) const noexcept;
    /// The same with the crossings' angles on the circle, as CRay3d gives them.
    int IntersectWith(const CCircle3d& circle, double& angle1, double& angle2, CPoint3d* p1,
                      CPoint3d* p2) const noexcept;

    /// Classifies a box without tolerance (an EBoxPlaneSide): BoxAbove (1) when it lies wholly above (its lowest
    /// corner in the normal's sense is strictly above), BoxBelow (2) when wholly
    /// below (its highest corner strictly below), BoxCrossing (3) when it touches or
    /// crosses the plane. A box touching the plane with a face is BoxCrossing.
    int IntersectWith(const CBoundingBox3d& box) const noexcept {
        // Per axis the low corner takes the minimum where the normal component is
        // >= 0; the high corner takes the other end.
        // Both corners are always evaluated: selects instead of data-dependent
        // branches keep the classification of many boxes branch-light.
        const double x0 = box.x.min, x1 = box.x.max, y0 = box.y.min, y1 = box.y.max, z0 = box.z.min, z1 = box.z.max;
        const bool px = a >= 0.0, py = b >= 0.0, pz = c >= 0.0;
        const CPoint3d low(px ? x0 : x1, py ? y0 : y1, pz ? z0 : z1);
        const CPoint3d high(px ? x1 : x0, py ? y1 : y0, pz ? z1 : z0);
        const bool above = SignedDistance(low) > 0.0;
        const bool below = SignedDistance(high) < 0.0;
        return above ? BoxAbove : (below ? BoxBelow : BoxCrossing);
    }

    /// Whether the plane lies above the box. Planes whose normal is an axis within
    /// EqualTol are decided first, in the order c, a, b, with a margin of EqualTol
    /// (a box face exactly EqualTol below the plane is below it). Any other plane is
    /// decided from the box centre and, when that is inconclusive, from the corners,
    /// where a corner on the positive side answers true; callers of the corner test
    /// rely on this answer, which differs from the axis-aligned rule.
    bool IsAbove(const CBoundingBox3d& box) const noexcept;

    /// The normal, normalised, under the sign convention of SetCanonicalForm.
    CUnitVector3d GetCanonicalNormal() const noexcept;
    /// Chooses the orientation by looking at d, then c, b and a: the first value at
    /// least EqualTol keeps the plane, the first at most -EqualTol flips all four
    /// values; values strictly within the tolerance pass on to the next.
    void SetCanonicalForm() noexcept;
    /// The same plane with the other side up.
    void Reverse() noexcept {
        a = -a;
        b = -b;
        c = -c;
        d = -d;
    }
    /// The foot of the perpendicular from the world origin; exactly (0, 0, 0) when
    /// |d| < EqualTol.
    CPoint3d GetPoint() const noexcept;
    /// 2D coordinates of p in a frame on the plane built from its canonical form,
    /// so that a plane and its reverse map points identically.
    CPoint2d MapPoint(const CPoint3d& p) const noexcept;

    /// Component-wise comparison, each |difference| <= tol. Unoriented, the other
    /// equation is compared negated when the planes face opposite ways: by the sign
    /// of d (zero counts as non-negative), or by the normals when this |d| <
    /// EqualTol.
    bool Equals(const CPlane& other, bool oriented, double tol) const noexcept;

    /// Moves the plane by v.
    CPlane& operator+=(const CVector3d& v) noexcept;
    /// Moves the plane by -v.
    CPlane& operator-=(const CVector3d& v) noexcept;
    /// Moves the plane dist along its normal.
    void Offset(double dist) noexcept { d = d - dist; }

    /// Sets this plane through three well-spread points of the list, oriented by the
    /// order of the points (counter-clockwise seen from above). False, plane
    /// untouched, for fewer than three points or points that are coincident or
    /// colinear.
    bool Evaluate(CPoint3d* pts, int n) noexcept;
    /// Least-squares plane of the points, oriented by their winding (the normal
    /// follows the fan area vector about the first point). Returns true only when
    /// every point lies within EqualTol (inclusive) of the plane: a false with the
    /// plane set means the points are not planar. Fewer than three points, or points
    /// that do not span a plane, return false with the plane untouched.
    bool LeastSquaresFit(int n, const CPoint3d* pts) noexcept;
    /// The solver behind LeastSquaresFit, from the sums of coordinates sx, sy, sz,
    /// of their squares sxx, syy, szz, of their products sxy, sxz, syz, and the point
    /// count. The normal's component on the axis that best spans the points is fixed
    /// and the other two come from regressing that coordinate on them; the result is
    /// normalised. False, outputs untouched, when the points do not span a plane
    /// (the best 2x2 moment determinant below 1e-10).
    static bool ComputeLSF(double& a, double& b, double& c, double& d, double sx, double sy, double sz, double sxx,
                           double syy, double szz, double sxy, double sxz, double syz, double count) noexcept;

    /// True when none of a, b, c, d is NaN or infinite.
    bool IsValidObj() const noexcept {
        return std::isfinite(a) && std::isfinite(b) && std::isfinite(c) && std::isfinite(d);
    }

    /// Cuts the segment p-q at the plane, keeping the part on or below it (an
    /// ETrimResult): SegmentAbove (1) when both ends are strictly above (nothing
    /// moved), SegmentTrimmed (0) when the segment crosses (the end above is moved
    /// onto the plane), SegmentBelow (-1) when both ends are on or below. The
    /// crossing is not computed when both ends lie within DivideByZeroTol of the
    /// plane; the end above then stays where it is.
    int TrimAbove(CPoint3d* p, CPoint3d* q) const noexcept {
        const double sp = SignedDistance(*p);
        const double sq = SignedDistance(*q);
        if (sp > 0.0) {
            if (sq > 0.0) return SegmentAbove;
            MoveToCrossing(*p, *q, sp, sq);
            return SegmentTrimmed;
        }
        if (sq > 0.0) {
            MoveToCrossing(*q, *p, sq, sp);
            return SegmentTrimmed;
        }
        return SegmentBelow;
    }

private:
    // Moves `above` (signed distance sa) onto the plane along the segment to
    // `below` (signed distance sb): (|sb| * above + |sa| * below) / (|sa| + |sb|).
    static void MoveToCrossing(CPoint3d& above, const CPoint3d& below, double sa, double sb) noexcept {
        const double wa = std::fabs(sa);
        const double wb = std::fabs(sb);
        const double sum = wa + wb;
        if (!(sum >= DivideByZeroTol)) return;
        above.x = (wb * above.x + wa * below.x) / sum;
        above.y = (wb * above.y + wa * below.y) / sum;
        above.z = (wb * above.z + wa * below.z) / sum;
    }
};

/// Collects the points that define a plane: the first point, a second one apart
/// from it (within EqualTol), and a third off the line through them. Points that
/// add nothing are ignored.
class PLENAR_API CPlaneCalculator {
public:
    /// The first point accepted.
    CPoint3d first;
    /// The second point accepted (apart from the first by at least EqualTol).
    CPoint3d second;
    /// Unit direction from first to second, once two points are in.
    CUnitVector3d firstDirection;
    /// Unit direction from first to the third point, once three points are in.
    CUnitVector3d secondDirection;
    /// Number of points accepted so far, 0 to 3.
    int count;

    /// No point yet: both points (0, 0, 0), both directions (0, 0, 1).
    constexpr CPlaneCalculator() noexcept
        : first(),
          second(),
          firstDirection(CUnitVector3d::FromComponents(0.0, 0.0, 1.0)),
          secondDirection(CUnitVector3d::FromComponents(0.0, 0.0, 1.0)),
          count(0) {}

    /// Offers a point. Returns false only when three points have already been
    /// accepted. A second point equal to the first within EqualTol is ignored, as
    /// is a third point whose squared distance from the line of the first two is
    /// at or below DivideByZeroTol (the plain tolerance on a squared length, so that
    /// nearly colinear points still define a plane).
    bool AddPoint(const CPoint3d& p) noexcept;
    /// The plane through the accepted points, its normal firstDirection x
    /// secondDirection. False, plane untouched, before three points.
    bool GetPlane(CPlane& plane) const noexcept;
};

}  // namespace velmor::geometry

// The ray completes the plane's ray members; included last so that either header
// brings both types.
#include <geometry/ray3d.h>

#endif
