/// \file
/// CCircle3d: a circle in 3D stored with a redundant frame, so that its points can
/// be evaluated by angle: the point at angle t is center + cos(t) * xAxis +
/// sin(t) * yAxis. xAxis runs from the centre to the point at angle 0 and its length
/// is the radius; yAxis = normal x xAxis is the direction of angle pi/2. Angles
/// are radians, counter-clockwise about the plane's normal.
///
/// After a non-uniform transformation the same record describes an ellipse: xAxis
/// and yAxis are then the (possibly unequal, possibly oblique) conjugate semi-axes
/// and radius is |xAxis|. IsTrueCircle tells the two apart; ParameterOfClosestPoint
/// and Project handle both.
///
/// Tolerances: lengths and perpendicularity of the frame are judged against
/// EqualTol (strict); a frame counts as degenerate when |(xAxis x yAxis) . normal|
/// < EqualTolSq, a squared tolerance on a product of two lengths, deliberately.
/// Angles are wrapped into [-EqualTolSq, 2pi + EqualTolSq]: an angle just below 0 or
/// just above 2pi is kept as it is, so callers can tell a full turn from none.
///
/// The class carries a virtual destructor (and nothing else virtual) so that arcs
/// can be owned through a pointer to their circle.
#ifndef PLENAR_GEOMETRY_CIRCLE3D_H
#define PLENAR_GEOMETRY_CIRCLE3D_H

#include <geometry/export.h>
#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

namespace velmor::geometry {

class CTransformation;

/// A circle (or, after a non-uniform transformation, an ellipse) in 3D with a redundant frame for evaluation by
/// angle: Eval(t) = center + cos(t) * xAxis + sin(t) * yAxis.
class PLENAR_API CCircle3d {
public:
    /// The centre.
    CPoint3d center;
    /// From the centre to the point at angle 0; its length is the radius.
    CVector3d xAxis;
    /// The circle's plane, anchored at the centre; its normal orients the angles (counter-clockwise about it).
    CPlane plane;
    /// The length of xAxis, kept in step by ComputeRedundantParameters.
    double radius;
    /// normal x xAxis for a true circle: the direction of angle pi/2.
    CVector3d yAxis;

    /// The empty record: centre (0, 0, 0), zero axes and radius, plane z = 0. It is
    /// not a valid object (its frame is degenerate).
    constexpr CCircle3d() noexcept : center(), xAxis(), plane(), radius(0.0), yAxis() {}
    /// The circle about center whose angle 0 lies at center + xAxis, in the plane
    /// through center with the given normal. radius and yAxis are derived.
    CCircle3d(const CPoint3d& center_, const CVector3d& xAxis_, const CUnitVector3d& normal) noexcept;
    /// The circle through three points, angle 0 at p1 and counter-clockwise from p1
    /// through p2 to p3 about the normal. Coincident or colinear points give the
    /// near-straight stand-in of BuildFakeCircle.
    ///
    /// Points that span a triangle too small for its plane, where the cross product
    /// of the edges p2 - p1 and p3 - p1 has a squared length at or below
    /// DivideByZeroTolSq (twice the area below 1e-10: points 1e-5 apart at a right
    /// angle, or 1e-4 apart on a flatter triangle), give a plane with a zero normal:
    /// the centre is never found and stays at the origin, and radius and xAxis
    /// describe p1 seen from the origin. Callers tell this case by the zero normal
    /// (plane.a, b and c all 0; IsValidObj is then false).
    CCircle3d(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept;
    /// Copies every field.
    CCircle3d(const CCircle3d&) = default;
    /// Copies every field.
    CCircle3d& operator=(const CCircle3d&) = default;
    virtual ~CCircle3d() = default;

    /// Sets the circle through three points, as the constructor does for points
    /// that span a plane (with the same zero normal for a tiny triangle). False when the perpendicular bisectors of
    /// p1-p2 and p2-p3 have no common line (coincident or colinear points); the plane has then already been replaced by
    /// the plane of the points and the rest is untouched.
    bool Set(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept;
    /// As the (center, xAxis, normal) constructor, on an existing object.
    void Set(const CPoint3d& center_, const CVector3d& xAxis_, const CUnitVector3d& normal) noexcept;

    /// Replaces the circle through colinear or coincident points by a huge circle
    /// that is practically straight along them: radius about 1e9, angle 0 at one
    /// end of the longest chord and the other end a tiny counter-clockwise step
    /// further. The plane contains the chord and is as upright as possible (normal
    /// (0, 1, 0) for a vertical chord). Coincident points give a circle of radius 0
    /// at the point.
    void BuildFakeCircle(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept;

    /// Rederives radius = |xAxis| (0 at or below DivideByZeroTolSq) and anchors the
    /// plane at the centre; with withYAxis also yAxis = normal x xAxis.
    void ComputeRedundantParameters(bool withYAxis) noexcept;
    /// Replaces the plane's normal, normalised, keeping its offset d. Neither yAxis
    /// nor the anchoring at the centre is recomputed: callers that change the
    /// normal follow with ComputeRedundantParameters when they need them.
    void SetNormal(const CUnitVector3d& n) noexcept { plane.Set(n.x, n.y, n.z, plane.d); }
    /// The same from a free vector.
    void SetNormal(const CVector3d& n) noexcept { plane.Set(n.x, n.y, n.z, plane.d); }
    /// Rescales the circle about its centre to radius r, scaling both axes by
    /// r / radius. False, nothing changed, when |r| < EqualTol (strict). A circle of
    /// radius 0 cannot be rescaled (its axes become non-finite).
    bool SetRadius(double r) noexcept;

    /// The point at angle t. t is first wrapped by whole turns into [-EqualTolSq,
    /// 2pi + EqualTolSq], with exactly the result (to the last bit) of adding or
    /// subtracting 2pi one turn at a time, whatever the size of t, though in a few
    /// steps per power of two rather than one per turn. Beyond |t| = 2^56, where
    /// subtracting 2pi no longer changes t and turning would never end, and for an
    /// infinite t, the angle goes to sine and cosine as it is (they reduce it
    /// exactly); a non-finite t gives a non-finite point.
    CPoint3d Eval(double t) const noexcept;
    /// The angle of p about the normal, wrapped as Eval wraps (through the same
    /// exact turn-by-turn result, however far the tolerance globals send it): the angle of p's
    /// projection onto the plane, measured from xAxis. An ellipse is measured in
    /// its own affine frame, where it is the unit circle, so that for a point in
    /// the plane Eval of the result is Project(p). 0 when it cannot be determined
    /// (p at the centre, non-finite input).
    double ParameterOfClosestPoint(const CPoint3d& p) const noexcept;
    /// The point of the circle in the direction of p from the centre: center +
    /// radius * unit(p - center). p is deliberately not first projected onto the
    /// plane, so for a point off the plane the result leaves the plane. For an
    /// ellipse the same radial rule is applied in its affine frame, so the result
    /// lies on the ellipse. p at the centre gives the centre.
    CPoint3d Project(const CPoint3d& p) const noexcept;
    /// True when the axes have equal lengths within EqualTol, are perpendicular
    /// (|cos| < EqualTol) and the plane's normal is parallel to xAxis x yAxis (either
    /// sense). All strict.
    bool IsTrueCircle() const noexcept;

    /// Carries the circle along: the centre as a point, the plane as a plane, the
    /// axes as vectors (so a non-uniform scale yields an ellipse). When the
    /// transformation mirrors, the plane is reversed so that xAxis, yAxis and the
    /// normal stay right-handed and angles keep running from xAxis towards yAxis.
    /// radius and the plane's anchoring are rederived; yAxis is kept as transformed.
    CCircle3d& operator*=(const CTransformation& t) noexcept;
    /// Same centre (CPoint3d::Equals, EqualTol), same plane in either orientation
    /// (CPlane::Equals, EqualTol) and |radius difference| < EqualTol. The axes, and
    /// so the position of angle 0, are not compared.
    bool operator==(const CCircle3d& o) const noexcept;
    /// Negation of ==.
    bool operator!=(const CCircle3d& o) const noexcept { return !(*this == o); }

    /// Centre, axes and plane finite, radius finite, and the frame not degenerate:
    /// |(xAxis x yAxis) . normal| >= EqualTolSq.
    bool IsValidObj() const noexcept;

private:
    // The map from the unit circle frame to this ellipse, when this is an ellipse
    // whose frame is not degenerate; false for a true circle or a degenerate frame.
    bool EllipseFrame(CTransformation& toEllipse) const noexcept;
    // The radial projection of a true circle.
    CPoint3d ProjectRadially(const CPoint3d& p) const noexcept;
};

}  // namespace velmor::geometry

#endif
