#include <geometry/circle3d.h>

#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <cmath>

namespace velmor::geometry {

namespace {

constexpr double TwoPi = 6.283185307179586;

// Angles up to this magnitude are wrapped turn by turn. Beyond it the turns would
// number in the hundreds of thousands, each adding rounding, and for huge or
// infinite angles the loops would never end: such angles go to sine and cosine
// unwrapped, which reduce them exactly.
constexpr double WrapLimit = 1e6;
// More turns than any angle within WrapLimit needs (1e6 / 2pi < 159155): a bound on
// each loop that holds whatever the tolerance globals have been set to.
constexpr int MaxTurns = 200000;

// Brings an angle into [-EqualTolSq, 2pi + EqualTolSq] by whole turns. An angle a
// hair below 0 or above 2pi stays put, so a full turn remains distinguishable from
// none.
double WrapAngle(double t) {
    if (!(std::fabs(t) <= WrapLimit)) return t;  // huge, infinite or NaN
    const double tol = EqualTolSq;
    for (int i = 0; t < -tol && i < MaxTurns; ++i) t += TwoPi;
    for (int i = 0; t > TwoPi + tol && i < MaxTurns; ++i) t -= TwoPi;
    return t;
}

}  // namespace

CCircle3d::CCircle3d(const CPoint3d& center_, const CVector3d& xAxis_, const CUnitVector3d& normal) noexcept
    : center(center_), xAxis(xAxis_), plane(center_, normal), radius(0.0), yAxis() {
    ComputeRedundantParameters(true);
}

CCircle3d::CCircle3d(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept : CCircle3d() {
    CVector3d u = p2 - p1;
    CVector3d v = p3 - p1;
    if (u.Normalize() && v.Normalize() && CUnitVector3d(u * v).IsValid() && Set(p1, p2, p3)) return;
    BuildFakeCircle(p1, p2, p3);
}

bool CCircle3d::Set(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept {
    const CPoint3d first = p1;  // p1 may be this circle's own centre
    plane = CPlane(p1, p2, p3);
    // The centre lies on both perpendicular bisector planes: on their common line,
    // where it crosses the circle's plane.
    const CPlane bisector12(CPoint3d(0.5, p1, 0.5, p2), CUnitVector3d(p1, p2));
    const CPlane bisector23(CPoint3d(0.5, p2, 0.5, p3), CUnitVector3d(p2, p3));
    CRay3d axis;
    if (!bisector12.IntersectWith(bisector23, axis)) return false;
    // The common line is perpendicular to the plane, so it always crosses it.
    plane.IntersectWith(axis, center);
    xAxis = first - center;
    ComputeRedundantParameters(true);
    return true;
}

void CCircle3d::Set(const CPoint3d& center_, const CVector3d& xAxis_, const CUnitVector3d& normal) noexcept {
    *this = CCircle3d(center_, xAxis_, normal);
}

void CCircle3d::BuildFakeCircle(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept {
    // The two points farthest apart span the chord; the strict tests let a later
    // pair win ties.
    const double d12 = p1.DistanceSquaredTo(p2);
    const double d13 = p1.DistanceSquaredTo(p3);
    const double d23 = p2.DistanceSquaredTo(p3);
    CPoint3d a = p2;
    CPoint3d b = p3;
    if (d12 > d13 && d12 > d23) {
        a = p1;
        b = p2;
    } else if (d13 > d23) {
        a = p1;
        b = p3;
    }
    const CPoint3d mid(0.5, a, 0.5, b);
    const CUnitVector3d u(a, b);

    // The plane holds the chord and leans as little as possible from vertical.
    CVector3d w = CVector3d(0.0, 0.0, 1.0) * u;
    CUnitVector3d normal = CUnitVector3d::FromComponents(0.0, 1.0, 0.0);
    if (w.Normalize()) normal = CUnitVector3d(u * w);
    plane.Set(a, normal);

    // The centre far across the chord puts a practically straight arc along it.
    center = mid + (normal * u) * 1e9;
    xAxis = a - center;
    ComputeRedundantParameters(true);
}

void CCircle3d::ComputeRedundantParameters(bool withYAxis) noexcept {
    radius = xAxis.Length();
    const CUnitVector3d n = plane.Normal();
    plane.Set(center, n);
    if (withYAxis) yAxis = n * xAxis;
}

bool CCircle3d::SetRadius(double r) noexcept {
    if (std::fabs(r) < EqualTol) return false;
    const double s = r / radius;
    radius = r;
    xAxis *= s;
    yAxis *= s;
    return true;
}

CPoint3d CCircle3d::Eval(double t) const noexcept {
    const double angle = WrapAngle(t);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return center + xAxis * c + yAxis * s;
}

bool CCircle3d::EllipseFrame(CTransformation& toEllipse) const noexcept {
    if (IsTrueCircle()) return false;
    const CUnitVector3d n = plane.Normal();
    if (std::fabs(Dot(xAxis * yAxis, n)) < EqualTolSq) return false;
    // The unit circle in the XY plane is first stretched to the axis lengths, then
    // placed in the frame of the axis directions and the normal at the centre:
    // Frame(X, Y, N, center) * Scale(|xAxis|, |yAxis|, 1), the scale applied first.
    // The axes need not be perpendicular: the composite is not flagged
    // orthogonal, so its inverse is the true one.
    const CTransformation frame(CUnitVector3d(xAxis), CUnitVector3d(yAxis), n, center);
    toEllipse = frame * CTransformation::Scale(xAxis.Length(), yAxis.Length(), 1.0);
    return true;
}

CPoint3d CCircle3d::ProjectRadially(const CPoint3d& p) const noexcept {
    return CPoint3d(center, radius, CUnitVector3d(center, p));
}

double CCircle3d::ParameterOfClosestPoint(const CPoint3d& p) const noexcept {
    // An ellipse is measured in its own frame, where it is the unit circle.
    CCircle3d c(*this);
    CPoint3d q = p;
    CTransformation toEllipse;
    if (EllipseFrame(toEllipse)) {
        const CTransformation toUnit = CTransformation::Inverse(toEllipse);
        c *= toUnit;
        toUnit.Transform(q);
    }
    const CUnitVector3d u(c.center, c.plane.Project(q));
    const double angle = std::atan2(Dot(c.xAxis * u, c.plane.Normal()), Dot(c.xAxis, u));
    if (!std::isfinite(angle)) return 0.0;
    return WrapAngle(angle);
}

CPoint3d CCircle3d::Project(const CPoint3d& p) const noexcept {
    CTransformation toEllipse;
    if (!EllipseFrame(toEllipse)) return ProjectRadially(p);
    const CTransformation toUnit = CTransformation::Inverse(toEllipse);
    CCircle3d unit(*this);
    unit *= toUnit;
    return toEllipse * unit.ProjectRadially(toUnit * p);
}

bool CCircle3d::IsTrueCircle() const noexcept {
    const double lx = xAxis.Length();
    const double ly = yAxis.Length();
    if (!(std::fabs(lx - ly) < EqualTol)) return false;
    // Zero axes make the cosine NaN: no circle.
    if (!(std::fabs(Dot(xAxis / lx, yAxis / ly)) < EqualTol)) return false;
    return plane.Normal().IsParallelTo(CUnitVector3d(xAxis * yAxis));
}

CCircle3d& CCircle3d::operator*=(const CTransformation& t) noexcept {
    t.Transform(center);
    t.Transform(plane);
    t.Transform(xAxis);
    t.Transform(yAxis);
    // A mirroring map turns the axes' handedness; turning the plane over keeps
    // angles counter-clockwise about the normal.
    if (Dot(xAxis * yAxis, plane.Normal()) < 0.0) plane.Reverse();
    ComputeRedundantParameters(false);
    return *this;
}

bool CCircle3d::operator==(const CCircle3d& o) const noexcept {
    return center.Equals(o.center, EqualTol) && plane.Equals(o.plane, false, EqualTol) &&
           std::fabs(radius - o.radius) < EqualTol;
}

bool CCircle3d::IsValidObj() const noexcept {
    if (!center.IsValidObj() || !xAxis.IsValidObj() || !plane.IsValidObj() || !yAxis.IsValidObj()) return false;
    if (std::fabs(Dot(xAxis * yAxis, plane.Normal())) < EqualTolSq) return false;
    return std::isfinite(radius);
}

}  // namespace velmor::geometry
