/// \file
/// CPoint2d and CVector2d: double-precision 2D points and vectors, used where 2D
/// geometry needs more precision than the float drawing types (polygons, boxes,
/// segment intersection, point-in-polygon).
///
/// Arithmetic is plain double arithmetic; equality (==) is exact. Tolerant
/// comparisons live with the algorithms that need them.
#ifndef PLENAR_GEOMETRY_POINT2D_H
#define PLENAR_GEOMETRY_POINT2D_H

#include <geometry/export.h>
#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

class CPoint2f;
class CVector2f;

/// A double-precision 2D displacement. Plain arithmetic; == is exact.
class PLENAR_API CVector2d {
public:
    /// x component.
    double x;
    /// y component.
    double y;

    /// The zero vector.
    constexpr CVector2d() noexcept : x(0.0), y(0.0) {}
    /// The vector (x, y).
    constexpr CVector2d(double x_, double y_) noexcept : x(x_), y(y_) {}
    /// Widens both coordinates to double.
    explicit CVector2d(const CVector2f& v) noexcept;

    /// Component-wise sum.
    constexpr CVector2d operator+(const CVector2d& v) const noexcept { return {x + v.x, y + v.y}; }
    /// Component-wise difference.
    constexpr CVector2d operator-(const CVector2d& v) const noexcept { return {x - v.x, y - v.y}; }
    /// The opposite vector.
    constexpr CVector2d operator-() const noexcept { return {-x, -y}; }
    /// Both components times s.
    constexpr CVector2d operator*(double s) const noexcept { return {x * s, y * s}; }
    /// Both components divided by s; unguarded, a zero s gives infinities.
    constexpr CVector2d operator/(double s) const noexcept { return {x / s, y / s}; }
    /// Adds v component-wise.
    CVector2d& operator+=(const CVector2d& v) noexcept {
        x += v.x;
        y += v.y;
        return *this;
    }
    /// Subtracts v component-wise.
    CVector2d& operator-=(const CVector2d& v) noexcept {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    /// Multiplies both components by s.
    CVector2d& operator*=(double s) noexcept {
        x *= s;
        y *= s;
        return *this;
    }
    /// Exact comparison, no tolerance.
    constexpr bool operator==(const CVector2d& v) const noexcept { return x == v.x && y == v.y; }
    /// Exact comparison, no tolerance.
    constexpr bool operator!=(const CVector2d& v) const noexcept { return !(*this == v); }

    /// x*x + y*y.
    constexpr double LengthSquared() const noexcept { return x * x + y * y; }
    /// sqrt(x*x + y*y), unguarded (no snapping of tiny lengths to 0).
    double Length() const noexcept { return std::sqrt(LengthSquared()); }
};

/// s*v.
constexpr CVector2d operator*(double s, const CVector2d& v) noexcept { return v * s; }
/// Dot product a.x*b.x + a.y*b.y.
constexpr double Dot(const CVector2d& a, const CVector2d& b) noexcept { return a.x * b.x + a.y * b.y; }
/// 2D cross product a.x*b.y - a.y*b.x: positive when b lies counter-clockwise of a.
constexpr double Cross(const CVector2d& a, const CVector2d& b) noexcept { return a.x * b.y - a.y * b.x; }

/// A double-precision 2D position. Plain arithmetic; == is exact.
class PLENAR_API CPoint2d {
public:
    double x;
    double y;

    /// The origin.
    constexpr CPoint2d() noexcept : x(0.0), y(0.0) {}
    /// The point (x, y).
    constexpr CPoint2d(double x_, double y_) noexcept : x(x_), y(y_) {}
    /// Widens both coordinates to double.
    explicit CPoint2d(const CPoint2f& p) noexcept;

    /// This point moved by v.
    constexpr CPoint2d operator+(const CVector2d& v) const noexcept { return {x + v.x, y + v.y}; }
    /// This point moved by -v.
    constexpr CPoint2d operator-(const CVector2d& v) const noexcept { return {x - v.x, y - v.y}; }
    /// The vector from p to this point.
    constexpr CVector2d operator-(const CPoint2d& p) const noexcept { return {x - p.x, y - p.y}; }
    /// Moves this point by v.
    CPoint2d& operator+=(const CVector2d& v) noexcept {
        x += v.x;
        y += v.y;
        return *this;
    }
    /// Moves this point by -v.
    CPoint2d& operator-=(const CVector2d& v) noexcept {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    /// Exact comparison, no tolerance.
    constexpr bool operator==(const CPoint2d& p) const noexcept { return x == p.x && y == p.y; }
    /// Exact comparison, no tolerance.
    constexpr bool operator!=(const CPoint2d& p) const noexcept { return !(*this == p); }

    /// Squared distance to p.
    constexpr double DistanceSquaredTo(const CPoint2d& p) const noexcept { return (*this - p).LengthSquared(); }
    /// Distance to p, unguarded.
    double DistanceTo(const CPoint2d& p) const noexcept { return std::sqrt(DistanceSquaredTo(p)); }

    /// The library's tolerant 2D position equality: |dx| < EqualTol, |dy| < EqualTol
    /// and dx*dx + dy*dy < EqualTolSq, all strict, tested in that order. The squared
    /// test uses the load-time EqualTolSq (it does not follow later changes of
    /// EqualTol). Exact comparison is operator==.
    bool Equals(const CPoint2d& p) const noexcept {
        const double dx = x - p.x;
        if (!(std::fabs(dx) < EqualTol)) return false;
        const double dy = y - p.y;
        if (!(std::fabs(dy) < EqualTol)) return false;
        return dx * dx + dy * dy < EqualTolSq;
    }

    /// True when neither coordinate is NaN or infinite.
    bool IsValidObj() const noexcept { return std::isfinite(x) && std::isfinite(y); }
};

}  // namespace velmor::geometry

#endif
