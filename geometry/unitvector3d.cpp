#include <geometry/unitvector3d.h>

#include <geometry/point3d.h>

#include <cmath>

namespace velmor::geometry {

namespace {
constexpr double Pi = 3.141592653589793;
constexpr double TwoPi = 6.283185307179586;

// Length from a squared length, 0 at or below DivideByZeroTolSq.
inline double GuardedLength(double l2) { return l2 > DivideByZeroTolSq ? std::sqrt(l2) : 0.0; }

// Arc cosine of a dot product of unit vectors, without tolerance.
inline double AngleFromCosine(double c) {
    if (c >= 1.0) return 0.0;
    if (c <= -1.0) return Pi;
    return std::acos(c);
}
}  // namespace

CUnitVector3d::CUnitVector3d(const CPoint3d& from, const CPoint3d& to) noexcept
    : x(to.x - from.x), y(to.y - from.y), z(to.z - from.z) {
    Normalize();
}

double CUnitVector3d::Set(const CPoint3d& from, const CPoint3d& to) noexcept {
    return Set(to.x - from.x, to.y - from.y, to.z - from.z);
}

bool CUnitVector3d::Normalize() noexcept {
    const double l2 = LengthSquared();
    if (l2 < DivideByZeroTolSq) {
        x = y = z = 0.0;
        return false;
    }
    if (std::fabs(l2 - 1.0) <= DivideByZeroTolSq) return true;  // already a unit vector
    const double inv = 1.0 / GuardedLength(l2);
    x *= inv;
    y *= inv;
    z *= inv;
    return true;
}

bool CUnitVector3d::Normalize(double& length) noexcept {
    length = GuardedLength(LengthSquared());
    if (length < DivideByZeroTol) {
        x = y = z = 0.0;
        return false;
    }
    const double inv = 1.0 / length;
    x *= inv;
    y *= inv;
    z *= inv;
    return true;
}

bool CUnitVector3d::IsValidObj() const noexcept {
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(z) && std::fabs(LengthSquared() - 1.0) < EqualTolSq;
}

double CUnitVector3d::AngleBetween(const CUnitVector3d& u) const noexcept {
    return AngleFromCosine(x * u.x + y * u.y + z * u.z);
}

double CUnitVector3d::CCWAngleBetween(const CVector3d& a, const CVector3d& b) const noexcept {
    // The projections of a and b into the plane perpendicular to this direction.
    const CUnitVector3d pa((*this * a) * *this);
    if (!pa.IsValid()) return 0.0;
    const CUnitVector3d pb((*this * b) * *this);
    if (!pb.IsValid()) return 0.0;
    const double theta = AngleFromCosine(pa.x * pb.x + pa.y * pb.y + pa.z * pb.z);
    // Clockwise about this direction: report the reflex angle.
    if (Dot(pa * pb, *this) < 0.0) return TwoPi - theta;
    return theta;
}

bool CUnitVector3d::GetArbitraryAxes(CUnitVector3d& xAxis, CUnitVector3d& yAxis) const noexcept {
    CUnitVector3d reference = FromComponents(0.0, 0.0, 1.0);
    if (IsParallelTo(reference)) reference = FromComponents(0.0, 1.0, 0.0);
    xAxis = reference * *this;
    yAxis.x = y * xAxis.z - z * xAxis.y;
    yAxis.y = z * xAxis.x - x * xAxis.z;
    yAxis.z = x * xAxis.y - y * xAxis.x;
    return yAxis.Normalize();
}

}  // namespace velmor::geometry
