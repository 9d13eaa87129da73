/// \file
/// CArc3d: the part of a circle (or ellipse) from startAngle to endAngle, running
/// counter-clockwise about the plane's normal, angles measured from xAxis towards
/// yAxis as CCircle3d::Eval takes them. The default arc is the full turn (0, 2pi).
///
/// A full circle is recognised two ways: exactly, only by the angles (0, 0); and
/// tolerantly, by a sweep of 2pi within EqualTol (strict). The default arc is full
/// only in the tolerant sense. An arc whose angles differ by less than EqualTol
/// (strict) is null.
#ifndef PLENAR_GEOMETRY_ARC3D_H
#define PLENAR_GEOMETRY_ARC3D_H

#include <geometry/circle3d.h>
#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

namespace velmor::geometry {

/// The part of a circle or ellipse from startAngle to endAngle, counter-clockwise about the plane's normal. The
/// full turn (0, 2pi) by default.
class PLENAR_API CArc3d : public CCircle3d {
public:
    /// Angle of the start point, radians from xAxis towards yAxis.
    double startAngle;
    /// Angle of the end point; the arc runs counter-clockwise from startAngle to here.
    double endAngle;

    /// The full turn (0, 2pi) on the empty circle record (centre (0, 0, 0), zero
    /// axes and radius, plane z = 0).
    CArc3d() noexcept;
    /// The circle (center, xAxis, normal) from start to end.
    CArc3d(const CPoint3d& center_, const CVector3d& xAxis_, const CUnitVector3d& normal, double start,
           double end) noexcept
        : CCircle3d(center_, xAxis_, normal), startAngle(start), endAngle(end) {}
    /// The arc through three points: from p1 (angle 0) to p3. When p2 would not lie
    /// between them, the plane is turned over and the end angle becomes 2pi minus
    /// itself. yAxis is deliberately left as it was before the turn. A triangle too
    /// small for its plane gives the circle constructor's zero normal and centre at
    /// the origin; the angles then measure nothing useful.
    CArc3d(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept;
    /// The arc about center from start (angle 0, which also fixes the radius)
    /// counter-clockwise about normal to the angle of end.
    CArc3d(const CPoint3d& center_, const CPoint3d& start, const CPoint3d& end, const CUnitVector3d& normal) noexcept;
    /// The whole circle c, as the arc (0, 2pi).
    CArc3d(const CCircle3d& c) noexcept;  // NOLINT: a circle converts to its full arc by design
    CArc3d(const CArc3d&) = default;
    CArc3d& operator=(const CArc3d&) = default;
    ~CArc3d() override = default;

    /// Eval(startAngle).
    CPoint3d GetStartPoint() const noexcept { return Eval(startAngle); }
    /// Eval(endAngle).
    CPoint3d GetEndPoint() const noexcept { return Eval(endAngle); }
    /// The angles differ by less than EqualTol (strict).
    bool IsNull() const noexcept;
    /// True for the angles exactly (0, 0) in both modes. Tolerant, also for any
    /// sweep whose magnitude is within EqualTol of 2pi (strict).
    bool IsFullCircle(bool tolerant) const noexcept;
    /// Both angles finite, and the circle a valid object.
    bool IsValidObj() const noexcept;
};

}  // namespace velmor::geometry

#endif
