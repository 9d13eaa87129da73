/// \file
/// CEllipse2f: the float ellipse of the drawing geometry, an axis-aligned ellipse
/// of two radii, oriented by an AffineTransform and placed at a centre.
///
/// Parameter t is the parametric (eccentric) angle in radians: the local point is
/// (radiusX cos t, radiusY sin t), the local derivative (-radiusX sin t,
/// radiusY cos t). The world point is transform * local + center, with the
/// transform's translation taking effect; the world tangent is the linear part of
/// transform applied to the local derivative. With positive radii and an
/// orientation-preserving transform the ellipse runs counter-clockwise as t grows.
/// Sines and cosines of float parameters are taken in float; GetPoints samples by
/// an incremental rotation in double.
#ifndef PLENAR_GEOMETRY_ELLIPSE2F_H
#define PLENAR_GEOMETRY_ELLIPSE2F_H

#include <geometry/affinetransform.h>
#include <geometry/export.h>
#include <geometry/point2f.h>
#include <geometry/rect2f.h>

namespace velmor::geometry {

/// A float ellipse: radii along its local axes, oriented by an AffineTransform and placed at a centre.
class PLENAR_API CEllipse2f {
public:
    /// Added after the transform: world point = transform * local + center.
    CPoint2f center;
    float radiusX;  ///< semi-axis along the local x axis
    float radiusY;  ///< semi-axis along the local y axis
    /// Orientation of the local ellipse, translation included; a pure rotation when built from an angle.
    AffineTransform transform;

    /// A point ellipse at the origin: radii 0, identity orientation.
    constexpr CEllipse2f() noexcept : center(), radiusX(0.0f), radiusY(0.0f), transform() {}
    /// Centre and radii, turned counter-clockwise by angle (a pure rotation about
    /// the origin, no translation).
    CEllipse2f(const CPoint2f& center, float radiusX, float radiusY, float angle) noexcept;
    /// The ellipse inscribed in r, the whole figure turned by angle about r's
    /// bottom-left corner.
    CEllipse2f(const CRect2f& r, float angle) noexcept;
    /// The ellipse inscribed in r with orientation T, stored as given (its
    /// translation included). The centre is T*(r.Center() + o) - o with o the
    /// bottom-left corner (r.x, r.y): the pivot is the corner reflected through
    /// the origin, -o, not the corner itself as in the rotating constructor.
    /// Existing drawings are placed by this rule, so it is kept.
    CEllipse2f(const CRect2f& r, const AffineTransform& T) noexcept;

    /// The local point and local derivative at t: no transform, no centre.
    void EvalPointAndTangent(float t, CPoint2f& point, CVector2f& tangent) const noexcept;
    /// The world point and world tangent at t.
    void GetPointAndTangentAtParameter(float t, CPoint2f& point, CVector2f& tangent) const noexcept;
    /// The world point at t.
    CPoint2f GetPointAtParameter(float t) const noexcept;
    /// The world tangent at t (the linear part of transform applied to the local derivative).
    CVector2f GetTangentAtParameter(float t) const noexcept;

    /// The parameter of the ellipse point closest to p, by at most 20 Newton
    /// steps on the parametric angle, starting at the polar angle of p in local
    /// coordinates. A p within EqualTol of the centre (per local coordinate,
    /// strict) gives 0. The result is not wrapped into any interval. A singular
    /// transform is used as it is instead of its inverse.
    ///
    /// The answer is a foot of a normal through p, and for most points outside
    /// an elongated ellipse not the nearest one: the polar angle starts Newton's
    /// method in the basin of another foot. For the ellipse at (0, 0) with radii
    /// 2 and 1 and p = (3, 3) it returns t = 1.110 (distance 2.980), while the
    /// nearest point is at t = 0.6845 (distance 2.777). Existing callers rely on
    /// these answers, so they are kept; NearestParameter finds the nearest point.
    float ParameterOfClosestPoint(const CPoint2f& p) const noexcept;

    /// The parameter t in [-pi, pi] of the point of the ellipse nearest to p, in
    /// world coordinates, for any orientation: the transformed outline is itself an
    /// ellipse, whose own axes come from the singular value decomposition of
    /// transform times the radii; in that frame the nearest point is the root of
    /// the distance derivative (a function of the Lagrange multiplier that falls
    /// monotonically), bracketed and found by bisection in double down to adjacent
    /// doubles. The result is rounded to float, so GetPointAtParameter(t) is
    /// within float rounding of the nearest point.
    ///
    /// When several points are nearest (p at the centre of a circle, or on the
    /// minor axis inside) one of them is returned. A flat ellipse (one radius 0,
    /// or a singular transform) is the segment between its ends; a point ellipse
    /// gives 0. Any NaN or infinite input (p, centre, radii, transform) gives NaN.
    float NearestParameter(const CPoint2f& p) const noexcept;

    /// Fills points[0..n-1] with a closed outline: n - 1 points at equal
    /// parameter steps from t = 0, counter-clockwise for an orientation-preserving
    /// transform, then an exact copy of the first. Fewer than 2 points make no
    /// outline: nothing is written (for n = 1 the closing copy would fall onto
    /// the first point itself).
    void GetPoints(unsigned int n, CPoint2f* points) const noexcept;
};

}  // namespace velmor::geometry

#endif
