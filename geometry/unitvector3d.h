/// \file
/// CUnitVector3d: a direction in 3D, three doubles normalised by every constructor
/// and setter.
///
/// The zero vector is the one special value: it is what a direction of a zero-length
/// input becomes, and it is the invalid state (IsValid() false). Equality is per
/// component within EqualTol, inclusive. IsPerpendicularTo is strict (|dot| <
/// EqualTol). As for CVector3d, Normalize() guards the squared length against
/// DivideByZeroTolSq and Normalize(double&) the length against DivideByZeroTol, on
/// purpose. Normalize() leaves a vector whose squared length is within
/// DivideByZeroTolSq of 1 bit-for-bit unchanged.
#ifndef PLENAR_GEOMETRY_UNITVECTOR3D_H
#define PLENAR_GEOMETRY_UNITVECTOR3D_H

#include <geometry/export.h>
#include <geometry/tol.h>
#include <geometry/vector3d.h>

#include <cmath>

namespace velmor::geometry {

class CPoint3d;

/// A 3D direction of three doubles, normalised by every constructor and setter; the zero vector is its invalid
/// state.
class PLENAR_API CUnitVector3d {
public:
    /// x component.
    double x;
    /// y component.
    double y;
    /// z component.
    double z;

    /// The zero (invalid) direction.
    constexpr CUnitVector3d() noexcept : x(0.0), y(0.0), z(0.0) {}
    /// Stores the components, then Normalize().
    CUnitVector3d(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) { Normalize(); }
    /// Copies xyz[0..2], then Normalize().
    explicit CUnitVector3d(const double* xyz) noexcept : x(xyz[0]), y(xyz[1]), z(xyz[2]) { Normalize(); }
    /// Copies v, then Normalize().
    explicit CUnitVector3d(const CVector3d& v) noexcept : x(v.x), y(v.y), z(v.z) { Normalize(); }
    /// The direction from one point to another (to - from), normalised.
    CUnitVector3d(const CPoint3d& from, const CPoint3d& to) noexcept;

    /// Components taken as given, without normalising: for callers that already
    /// hold a unit (or deliberately zero) vector, such as a plane's stored normal.
    static constexpr CUnitVector3d FromComponents(double x, double y, double z) noexcept {
        CUnitVector3d u;
        u.x = x;
        u.y = y;
        u.z = z;
        return u;
    }

    /// Copies v, then Normalize().
    CUnitVector3d& operator=(const CVector3d& v) noexcept {
        x = v.x;
        y = v.y;
        z = v.z;
        Normalize();
        return *this;
    }

    /// Stores the components, then Normalize(double&); returns the input's length
    /// (0.0 for a zero input).
    double Set(double x_, double y_, double z_) noexcept {
        x = x_;
        y = y_;
        z = z_;
        double length = 0.0;
        Normalize(length);
        return length;
    }
    /// to - from, normalised; returns the distance between the points.
    double Set(const CPoint3d& from, const CPoint3d& to) noexcept;

    /// x*x + y*y + z*z: 1 up to rounding, 0 for the invalid direction.
    constexpr double LengthSquared() const noexcept { return x * x + y * y + z * z; }

    /// Fails (false, zeroed) when the squared length is strictly below
    /// DivideByZeroTolSq; leaves an already-unit vector (|L2 - 1| <=
    /// DivideByZeroTolSq) untouched; otherwise multiplies by 1/L.
    bool Normalize() noexcept;
    /// Reports the length first; fails (false, zeroed) when it is strictly below
    /// DivideByZeroTol. No already-unit shortcut.
    bool Normalize(double& length) noexcept;

    /// True when at least one component is non-zero (a NaN counts as non-zero).
    constexpr bool IsValid() const noexcept { return x != 0.0 || y != 0.0 || z != 0.0; }
    /// True when every component is finite and |x*x + y*y + z*z - 1| < EqualTolSq
    /// (strict); the zero vector is not a valid object.
    bool IsValidObj() const noexcept;

    /// Points the other way (still unit length).
    void Reverse() noexcept {
        x = -x;
        y = -y;
        z = -z;
    }
    /// The opposite direction, without renormalising.
    constexpr CUnitVector3d operator-() const noexcept { return FromComponents(-x, -y, -z); }
    /// Component-wise sum, normalised (opposite directions sum to the zero vector).
    CUnitVector3d operator+(const CUnitVector3d& u) const noexcept { return {x + u.x, y + u.y, z + u.z}; }
    /// Component-wise difference, normalised.
    CUnitVector3d operator-(const CUnitVector3d& u) const noexcept { return {x - u.x, y - u.y, z - u.z}; }

    /// Cross product this x v, not normalised.
    constexpr CVector3d operator*(const CVector3d& v) const noexcept {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }
    /// Cross product this x u, not normalised.
    constexpr CVector3d operator*(const CUnitVector3d& u) const noexcept {
        return {y * u.z - z * u.y, z * u.x - x * u.z, x * u.y - y * u.x};
    }
    /// Cross product this x v, not normalised.
    constexpr CVector3d Cross(const CVector3d& v) const noexcept { return *this * v; }
    /// Cross product this x u, not normalised.
    constexpr CVector3d Cross(const CUnitVector3d& u) const noexcept { return *this * u; }
    /// s*u as a free vector.
    constexpr CVector3d operator*(double s) const noexcept { return {x * s, y * s, z * s}; }

    /// Per component |d| <= tol (inclusive).
    bool Equals(const CUnitVector3d& u, double tol) const noexcept {
        return std::fabs(x - u.x) <= tol && std::fabs(y - u.y) <= tol && std::fabs(z - u.z) <= tol;
    }
    /// Per component within EqualTol, inclusive.
    bool operator==(const CUnitVector3d& u) const noexcept { return Equals(u, EqualTol); }
    /// The same as ==: per component within EqualTol, inclusive.
    bool IsSameDirectionAs(const CUnitVector3d& u) const noexcept { return Equals(u, EqualTol); }
    /// Negation of ==.
    bool operator!=(const CUnitVector3d& u) const noexcept { return !Equals(u, EqualTol); }
    /// Equal to u or to -u, per component within EqualTol (inclusive); u first.
    bool IsParallelTo(const CUnitVector3d& u) const noexcept { return Equals(u, EqualTol) || Equals(-u, EqualTol); }
    /// |dot| < EqualTol (strict).
    bool IsPerpendicularTo(const CUnitVector3d& u) const noexcept {
        return std::fabs(x * u.x + y * u.y + z * u.z) < EqualTol;
    }

    /// Unsigned angle in [0, pi] from the raw dot product: 0.0 when it is >= 1, pi
    /// when <= -1, acos otherwise. No tolerance.
    double AngleBetween(const CUnitVector3d& u) const noexcept;
    /// Counter-clockwise angle from a to b about this direction, in [0, 2pi), both
    /// projected into the plane perpendicular to it; 0.0 when either projection
    /// vanishes.
    double CCWAngleBetween(const CVector3d& a, const CVector3d& b) const noexcept;
    /// Completes the right-handed frame (xAxis, yAxis, this). The reference is +Z,
    /// or +Y when this direction is parallel to Z. Returns the success of the last
    /// normalisation; a zero direction yields two zero axes and false.
    bool GetArbitraryAxes(CUnitVector3d& xAxis, CUnitVector3d& yAxis) const noexcept;
};

/// s*u as a free vector.
constexpr CVector3d operator*(double s, const CUnitVector3d& u) noexcept { return u * s; }

// Members of CVector3d that need the complete unit vector.
inline CVector3d::CVector3d(const CUnitVector3d& u) noexcept : x(u.x), y(u.y), z(u.z) {}
inline CVector3d::CVector3d(double a, const CUnitVector3d& u) noexcept : x(a * u.x), y(a * u.y), z(a * u.z) {}
inline CVector3d::CVector3d(double a, const CUnitVector3d& u, double b, const CUnitVector3d& v) noexcept
    : x(a * u.x + b * v.x), y(a * u.y + b * v.y), z(a * u.z + b * v.z) {}
inline CVector3d::CVector3d(double a, const CUnitVector3d& u, double b, const CUnitVector3d& v, double c,
                            const CUnitVector3d& w) noexcept
    : x(a * u.x + b * v.x + c * w.x), y(a * u.y + b * v.y + c * w.y), z(a * u.z + b * v.z + c * w.z) {}
inline CVector3d CVector3d::operator*(const CUnitVector3d& u) const noexcept {
    return {y * u.z - z * u.y, z * u.x - x * u.z, x * u.y - y * u.x};
}
inline CVector3d CVector3d::Cross(const CUnitVector3d& u) const noexcept { return *this * u; }

}  // namespace velmor::geometry

#endif
