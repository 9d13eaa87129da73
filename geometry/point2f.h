// CPoint2f and CVector2f: the single-precision 2D points and vectors that all
// drawing geometry is built from. Arithmetic is plain float arithmetic; equality
// (==) is exact.
#ifndef PLENAR_GEOMETRY_POINT2F_H
#define PLENAR_GEOMETRY_POINT2F_H

#include <geometry/export.h>
#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

class PLENAR_API CVector2f {
public:
    float x;
    float y;

    constexpr CVector2f() noexcept : x(0.0f), y(0.0f) {}
    constexpr CVector2f(float x_, float y_) noexcept : x(x_), y(y_) {}

    constexpr CVector2f operator+(const CVector2f& v) const noexcept { return {x + v.x, y + v.y}; }
    constexpr CVector2f operator-(const CVector2f& v) const noexcept { return {x - v.x, y - v.y}; }
    constexpr CVector2f operator-() const noexcept { return {-x, -y}; }
    constexpr CVector2f operator*(float s) const noexcept { return {x * s, y * s}; }
    constexpr CVector2f operator/(float s) const noexcept { return {x / s, y / s}; }
    CVector2f& operator+=(const CVector2f& v) noexcept { x += v.x; y += v.y; return *this; }
    CVector2f& operator-=(const CVector2f& v) noexcept { x -= v.x; y -= v.y; return *this; }
    CVector2f& operator*=(float s) noexcept { x *= s; y *= s; return *this; }
    constexpr bool operator==(const CVector2f& v) const noexcept { return x == v.x && y == v.y; }
    constexpr bool operator!=(const CVector2f& v) const noexcept { return !(*this == v); }

    constexpr float LengthSquared() const noexcept { return x * x + y * y; }
    float Length() const noexcept { return std::sqrt(LengthSquared()); }
};

constexpr CVector2f operator*(float s, const CVector2f& v) noexcept { return v * s; }
/// Dot product a.x*b.x + a.y*b.y, in float.
constexpr float Dot(const CVector2f& a, const CVector2f& b) noexcept { return a.x * b.x + a.y * b.y; }
/// 2D cross product a.x*b.y - a.y*b.x, in float.
constexpr float Cross(const CVector2f& a, const CVector2f& b) noexcept { return a.x * b.y - a.y * b.x; }

class PLENAR_API CPoint2f {
public:
    float x;
    float y;

    /// (0, 0), set when the library is loaded.
    static const CPoint2f Origin;

    constexpr CPoint2f() noexcept : x(0.0f), y(0.0f) {}
    constexpr CPoint2f(float x_, float y_) noexcept : x(x_), y(y_) {}

    constexpr CPoint2f operator+(const CVector2f& v) const noexcept { return {x + v.x, y + v.y}; }
    constexpr CPoint2f operator-(const CVector2f& v) const noexcept { return {x - v.x, y - v.y}; }
    /// The vector from p to this point.
    constexpr CVector2f operator-(const CPoint2f& p) const noexcept { return {x - p.x, y - p.y}; }
    CPoint2f& operator+=(const CVector2f& v) noexcept { x += v.x; y += v.y; return *this; }
    CPoint2f& operator-=(const CVector2f& v) noexcept { x -= v.x; y -= v.y; return *this; }
    constexpr bool operator==(const CPoint2f& p) const noexcept { return x == p.x && y == p.y; }
    constexpr bool operator!=(const CPoint2f& p) const noexcept { return !(*this == p); }

    constexpr float DistanceSquaredTo(const CPoint2f& p) const noexcept { return (*this - p).LengthSquared(); }
    float DistanceTo(const CPoint2f& p) const noexcept { return std::sqrt(DistanceSquaredTo(p)); }
};

}  // namespace velmor::geometry

#endif
