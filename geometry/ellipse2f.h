// CEllipse2f: the float ellipse of the drawing geometry, an axis-aligned ellipse
// of two radii, oriented by an AffineTransform and placed at a centre.
//
// Parameter t is the parametric (eccentric) angle in radians: the local point is
// (radiusX cos t, radiusY sin t), the local derivative (-radiusX sin t,
// radiusY cos t). The world point is transform * local + center, with the
// transform's translation taking effect; the world tangent is the linear part of
// transform applied to the local derivative. With positive radii and an
// orientation-preserving transform the ellipse runs counter-clockwise as t grows.
// Sines and cosines of float parameters are taken in float; GetPoints samples by
// an incremental rotation in double.
#ifndef PLENAR_GEOMETRY_ELLIPSE2F_H
#define PLENAR_GEOMETRY_ELLIPSE2F_H

#include <geometry/affinetransform.h>
#include <geometry/export.h>
#include <geometry/point2f.h>
#include <geometry/rect2f.h>

namespace velmor::geometry {

class PLENAR_API CEllipse2f {
public:
    CPoint2f center;
    float radiusX;  ///< semi-axis along the local x axis
    float radiusY;  ///< semi-axis along the local y axis
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
    CPoint2f GetPointAtParameter(float t) const noexcept;
    CVector2f GetTangentAtParameter(float t) const noexcept;

    /// The parameter of the ellipse point closest to p, by at most 20 Newton
    /// steps on the parametric angle, starting at the polar angle of p in local
    /// coordinates. A p within EqualTol of the centre (per local coordinate,
    /// strict) gives 0. The result is not wrapped into any interval. A singular
    /// transform is used as it is instead of its inverse.
    float ParameterOfClosestPoint(const CPoint2f& p) const noexcept;

    /// Fills points[0..n-1] with a closed outline: n - 1 points at equal
    /// parameter steps from t = 0, counter-clockwise for an orientation-preserving
    /// transform, then an exact copy of the first. Fewer than 2 points make no
    /// outline: nothing is written (for n = 1 the closing copy would fall onto
    /// the first point itself).
    void GetPoints(unsigned int n, CPoint2f* points) const noexcept;
};

}  // namespace velmor::geometry

#endif
