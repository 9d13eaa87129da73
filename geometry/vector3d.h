/// \file
/// CVector3d: a free 3D displacement of three doubles.
///
/// Length everywhere is L = sqrt(x*x + y*y + z*z) when the squared length exceeds
/// DivideByZeroTolSq, else exactly 0.0. Equality is per component within EqualTol,
/// inclusive (|d| <= EqualTol), with no spherical test. The two Normalize overloads
/// guard differently on purpose: Normalize() tests the squared length against
/// DivideByZeroTolSq, Normalize(double&) the length against DivideByZeroTol.
/// operator* between vectors is the cross product; the dot product is the free
/// function Dot.
#ifndef PLENAR_GEOMETRY_VECTOR3D_H
#define PLENAR_GEOMETRY_VECTOR3D_H

#include <geometry/export.h>
#include <geometry/tol.h>

#include <cmath>
#include <iosfwd>

namespace velmor::geometry {

class CUnitVector3d;

/// A free 3D displacement of three doubles. The zero vector by default.
class PLENAR_API CVector3d {
public:
    /// x component.
    double x;
    /// y component.
    double y;
    /// z component.
    double z;

    /// The zero vector.
    constexpr CVector3d() noexcept : x(0.0), y(0.0), z(0.0) {}
    /// The vector (x, y, z).
    constexpr CVector3d(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}
    /// A direction widened to a vector (same components). Defined in unitvector3d.h.
    inline CVector3d(const CUnitVector3d& u) noexcept;  // NOLINT: implicit by design
    /// a*u.
    inline CVector3d(double a, const CUnitVector3d& u) noexcept;
    /// a*u + b*v.
    inline CVector3d(double a, const CUnitVector3d& u, double b, const CUnitVector3d& v) noexcept;
    /// a*u + b*v + c*w: a vector from its coordinates in the frame (u, v, w).
    inline CVector3d(double a, const CUnitVector3d& u, double b, const CUnitVector3d& v, double c,
                     const CUnitVector3d& w) noexcept;

    /// Squared length, summed as (x*x + y*y) + z*z.
    constexpr double LengthSquared() const noexcept { return x * x + y * y + z * z; }
    /// Length; exactly 0.0 when the squared length is at or below DivideByZeroTolSq.
    double Length() const noexcept {
        const double l2 = LengthSquared();
        return l2 > DivideByZeroTolSq ? std::sqrt(l2) : 0.0;
    }

    /// Scales to unit length. Fails (false, vector zeroed) when the squared length is
    /// strictly below DivideByZeroTolSq. At exactly DivideByZeroTolSq the guard passes
    /// but the length reads 0, so the components become non-finite (kept as is).
    bool Normalize() noexcept;
    /// Scales to unit length and reports the length first. Fails (false, vector
    /// zeroed) when the length is strictly below DivideByZeroTol.
    bool Normalize(double& length) noexcept;
    /// Rescales to the given length. Fails when the length is strictly below
    /// DivideByZeroTol, and then leaves the vector unchanged (nothing is zeroed).
    bool SetLength(double length) noexcept;

    /// Component-wise sum.
    constexpr CVector3d operator+(const CVector3d& v) const noexcept { return {x + v.x, y + v.y, z + v.z}; }
    /// Component-wise difference.
    constexpr CVector3d operator-(const CVector3d& v) const noexcept { return {x - v.x, y - v.y, z - v.z}; }
    /// All components times s.
    constexpr CVector3d operator*(double s) const noexcept { return {x * s, y * s, z * s}; }
    /// Unguarded: a zero divisor gives infinities as the arithmetic does.
    constexpr CVector3d operator/(double s) const noexcept { return {x / s, y / s, z / s}; }
    /// The opposite vector.
    constexpr CVector3d operator-() const noexcept { return {-x, -y, -z}; }
    /// Adds v component-wise.
    CVector3d& operator+=(const CVector3d& v) noexcept {
        x += v.x;
        y += v.y;
        z += v.z;
        return *this;
    }
    /// Subtracts v component-wise.
    CVector3d& operator-=(const CVector3d& v) noexcept {
        x -= v.x;
        y -= v.y;
        z -= v.z;
        return *this;
    }
    /// Multiplies all components by s.
    CVector3d& operator*=(double s) noexcept {
        x *= s;
        y *= s;
        z *= s;
        return *this;
    }
    /// Unguarded, like operator/.
    CVector3d& operator/=(double s) noexcept {
        x /= s;
        y /= s;
        z /= s;
        return *this;
    }
    /// Points the other way.
    void Reverse() noexcept {
        x = -x;
        y = -y;
        z = -z;
    }

    /// Cross product this x v.
    constexpr CVector3d operator*(const CVector3d& v) const noexcept {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }
    /// Cross product this x u.
    inline CVector3d operator*(const CUnitVector3d& u) const noexcept;
    /// Cross product this x v, the same as operator*.
    constexpr CVector3d Cross(const CVector3d& v) const noexcept { return *this * v; }
    /// Cross product this x u.
    inline CVector3d Cross(const CUnitVector3d& u) const noexcept;

    /// Per component |d| <= EqualTol (inclusive).
    bool operator==(const CVector3d& v) const noexcept {
        return std::fabs(x - v.x) <= EqualTol && std::fabs(y - v.y) <= EqualTol && std::fabs(z - v.z) <= EqualTol;
    }
    /// Negation of ==.
    bool operator!=(const CVector3d& v) const noexcept { return !(*this == v); }
    /// Tolerant lexicographic order, inclusive at +-EqualTol (see CPoint3d::operator<).
    /// Non-const, as the interface has always declared it.
    bool operator<(const CVector3d& v) noexcept;  // NOLINT(readability-make-member-function-const)

    /// Unsigned angle in [0, pi]. Returns pi/2 at once when |dot| < EqualTol (an
    /// absolute test on the raw dot product, whatever the lengths), and 0.0 when
    /// either length is below EqualTol.
    double AngleBetween(const CVector3d& v) const noexcept;

    /// True when no component is NaN or infinite.
    bool IsValidObj() const noexcept { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }
};

/// s*v.
constexpr CVector3d operator*(double s, const CVector3d& v) noexcept { return v * s; }

/// Dot product x*vx + y*vy + z*vz, summed in that order. Unit vectors convert.
constexpr double Dot(const CVector3d& a, const CVector3d& b) noexcept { return a.x * b.x + a.y * b.y + a.z * b.z; }

/// Writes "(x, y, z)" with the stream's current formatting; no line end.
PLENAR_API std::ostream& operator<<(std::ostream& os, const CVector3d& v);

}  // namespace velmor::geometry

// The unit vector completes the inline members declared above.
#include <geometry/unitvector3d.h>

#endif
