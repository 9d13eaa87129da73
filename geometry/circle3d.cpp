#include <geometry/circle3d.h>

#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace velmor::geometry {

namespace {

constexpr double TwoPi = 6.283185307179586;

// One loop of the angle wrap, `while (t > bound) t -= TwoPi` (or, with step
// +TwoPi, `while (t < bound) t += TwoPi`), with the result it would have in double,
// bit for bit, but without taking the turns one at a time.
//
// Within one binade (|t| in [2^e, 2^(e+1)), every value a multiple of the unit u =
// 2^(e-52)) a step whose exact result stays in the binade rounds TwoPi / u to a
// whole number of units: the nearest one, or, at a tie, the one that leaves an
// even multiple of u. From an even multiple (or when there is no tie) every such
// step therefore moves t by the same j units, and any run of them lands exactly
// on t + n * j * u. Such runs are taken in one go; the steps that cross a binade
// edge, set an odd multiple even or come near the bound are taken one by one, so
// a wrap takes a few steps per binade instead of one per turn.
//
// Where a step no longer changes t (|t| beyond 2^56, where TwoPi is less than half
// a unit) the loop would never end; Stalled is set and t is returned as it was.
double AdvanceTurns(double t, double step, double bound, bool& stalled) {
    stalled = false;
    const double start = t;
    const bool up = step > 0.0;
    constexpr std::int64_t BinadeLow = std::int64_t{1} << 52;
    constexpr std::int64_t BinadeHigh = std::int64_t{1} << 53;
    while (up ? t < bound : t > bound) {
        const double next = t + step;
        if (next == t) {
            stalled = true;
            return start;
        }
        t = next;
        // A run of equal steps needs |t| >= 8: below that a single turn leaves the
        // binade anyway.
        if (!(up ? t < bound : t > bound) || !(std::fabs(t) >= 8.0)) continue;
        const int e = std::ilogb(t);
        const double unit = std::ldexp(1.0, e - 52);
        const double q = TwoPi / unit;  // a power-of-two scaling: exact
        const double whole = std::floor(q);
        const double frac = q - whole;
        std::int64_t j = static_cast<std::int64_t>(whole);
        const std::int64_t m = static_cast<std::int64_t>(std::fabs(t) / unit);  // exact: |t| / unit in [2^52, 2^53)
        if (frac > 0.5) {
            ++j;
        } else if (frac == 0.5) {
            if (m % 2 != 0) continue;  // an odd multiple: the next single step makes it even
            if (j % 2 != 0) ++j;
        }
        if (j == 0) continue;  // the next single step stalls
        // In units, signed: t = tm * unit, each step adds dj.
        const std::int64_t tm = t < 0.0 ? -m : m;
        const std::int64_t dj = up ? j : -j;
        // Keep every exact intermediate result inside the binade, a unit clear of
        // its edges, so that each step rounds on this binade's grid.
        const bool growing = (tm > 0) == (dj > 0);
        std::int64_t n = growing ? (BinadeHigh - 2 - m) / j : (m - BinadeLow - 1) / j;
        if (n <= 0) continue;
        // Stop short of the bound: the loop must still run after the last step of the
        // run. A bound outside this binade's range lies beyond it in the direction of
        // travel (t has not passed it), and then does not limit the run.
        const double absBound = std::fabs(bound);
        if (absBound >= std::ldexp(1.0, e) && absBound < std::ldexp(1.0, e + 1) && (bound < 0.0) == (t < 0.0)) {
            const std::int64_t bm = static_cast<std::int64_t>(bound / unit);
            const std::int64_t room = up ? bm - tm : tm - bm;  // > 0: the loop condition holds at t
            n = std::min(n, (room - 1) / j);
        }
        if (n <= 0) continue;
        t = static_cast<double>(tm + n * dj) * unit;
    }
    return t;
}

// Brings an angle into [-EqualTolSq, 2pi + EqualTolSq] by whole turns: first adding
// 2pi while it lies below the range, then subtracting it while it lies above,
// with the rounding of doing so one turn at a time. An angle a hair below 0 or
// above 2pi stays put, so a full turn remains distinguishable from none. Where
// turning would never end (|t| above 2^56, infinite t, or tolerance globals that
// make the loops chase each other out of range) the angle is returned as given;
// NaN passes through.
double WrapAngle(double t) {
    const double tol = EqualTolSq;
    bool stalled = false;
    double w = AdvanceTurns(t, TwoPi, -tol, stalled);
    if (stalled) return t;
    w = AdvanceTurns(w, -TwoPi, TwoPi + tol, stalled);
    return stalled ? t : w;
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
