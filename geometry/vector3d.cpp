#include <geometry/vector3d.h>

#include <algorithm>
#include <cmath>
#include <ostream>

namespace velmor::geometry {

bool CVector3d::Normalize() noexcept {
    const double l2 = LengthSquared();
    if (l2 < DivideByZeroTolSq) {
        x = y = z = 0.0;
        return false;
    }
    // At l2 == DivideByZeroTolSq the length reads 0 and the result is non-finite;
    // that boundary is kept as it has always been.
    const double inv = 1.0 / Length();
    x *= inv;
    y *= inv;
    z *= inv;
    return true;
}

bool CVector3d::Normalize(double& length) noexcept {
    length = Length();
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

bool CVector3d::SetLength(double length) noexcept {
    const double current = Length();
    if (current < DivideByZeroTol) return false;
    const double factor = length / current;
    x *= factor;
    y *= factor;
    z *= factor;
    return true;
}

bool CVector3d::operator<(const CVector3d& v) noexcept {  // NOLINT(readability-make-member-function-const)
    const double e = EqualTol;
    const double dx = x - v.x;
    if (dx <= -e) return true;
    if (dx >= e) return false;
    const double dy = y - v.y;
    if (dy <= -e) return true;
    if (dy >= e) return false;
    return z - v.z <= -e;
}

double CVector3d::AngleBetween(const CVector3d& v) const noexcept {
    const double d = Dot(*this, v);
    // Nearly perpendicular by an absolute test on the raw dot product.
    if (std::fabs(d) < EqualTol) return 1.570796326794896;
    const double l1 = Length();
    if (l1 < EqualTol) return 0.0;
    const double l2 = v.Length();
    if (l2 < EqualTol) return 0.0;
    double c = d / l1 / l2;
    c = std::fmin(c, 1.0);
    c = std::fmax(c, -1.0);
    return std::acos(c);
}

std::ostream& operator<<(std::ostream& os, const CVector3d& v) {
    return os << "(" << v.x << ", " << v.y << ", " << v.z << ")";
}

}  // namespace velmor::geometry
