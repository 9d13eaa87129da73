/// \file
/// Library identity, and the homogeneous point types of libPlenar.
///
/// PlenarVersionString and PlenarVersionNumber are exported under plain C symbol
/// names, outside any namespace, so that tools can find them in the binary.
///
/// CPoint4d is a point in homogeneous coordinates (x, y, z, w), as points are held
/// while they pass through projective clip space: a finite point carries w = 1, a
/// point at infinity (a direction) w = 0. CVector4d is the difference of two such
/// points, w included. Arithmetic is plain, component-wise and involves no
/// tolerance; nothing guards a division by w (HomogeneousDivide of a point at
/// infinity yields infinities or NaN, and callers must not ask for it).
#ifndef PLENAR_GEOMETRY_POINT4D_H
#define PLENAR_GEOMETRY_POINT4D_H

#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/unitvector3d.h>

extern "C" {
/// "@(#)PROGRAM:Plenar  PROJECT:plenar-16.0.19913\n"
PLENAR_API extern const char PlenarVersionString[];
/// 16.0
PLENAR_API extern const double PlenarVersionNumber;
}

namespace velmor::geometry {

/// The difference of two homogeneous points: four doubles, w included.
class PLENAR_API CVector4d {
public:
    /// x component.
    double x;
    /// y component.
    double y;
    /// z component.
    double z;
    /// w component.
    double w;

    /// The zero vector.
    constexpr CVector4d() noexcept : x(0.0), y(0.0), z(0.0), w(0.0) {}
    /// The vector (x, y, z, w).
    constexpr CVector4d(double x_, double y_, double z_, double w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}

    /// Sum of all four components.
    constexpr CVector4d operator+(const CVector4d& v) const noexcept { return {x + v.x, y + v.y, z + v.z, w + v.w}; }
    /// Difference of all four components.
    constexpr CVector4d operator-(const CVector4d& v) const noexcept { return {x - v.x, y - v.y, z - v.z, w - v.w}; }
    /// The opposite vector.
    constexpr CVector4d operator-() const noexcept { return {-x, -y, -z, -w}; }
    /// All four components times s.
    constexpr CVector4d operator*(double s) const noexcept { return {x * s, y * s, z * s, w * s}; }
    /// Unguarded: a zero divisor gives infinities as the arithmetic does.
    constexpr CVector4d operator/(double s) const noexcept { return {x / s, y / s, z / s, w / s}; }
    /// Adds v in all four components.
    CVector4d& operator+=(const CVector4d& v) noexcept {
        x += v.x;
        y += v.y;
        z += v.z;
        w += v.w;
        return *this;
    }
    /// Subtracts v in all four components.
    CVector4d& operator-=(const CVector4d& v) noexcept {
        x -= v.x;
        y -= v.y;
        z -= v.z;
        w -= v.w;
        return *this;
    }
    /// Multiplies all four components by s.
    CVector4d& operator*=(double s) noexcept {
        x *= s;
        y *= s;
        z *= s;
        w *= s;
        return *this;
    }
    /// Exact component-wise comparison.
    constexpr bool operator==(const CVector4d& v) const noexcept {
        return x == v.x && y == v.y && z == v.z && w == v.w;
    }
    /// Exact comparison.
    constexpr bool operator!=(const CVector4d& v) const noexcept { return !(*this == v); }
};

/// s*v.
constexpr CVector4d operator*(double s, const CVector4d& v) noexcept { return v * s; }

/// A point in homogeneous coordinates; (x/w, y/w, z/w) is the point it denotes.
class PLENAR_API CPoint4d {
public:
    /// Homogeneous x.
    double x;
    /// Homogeneous y.
    double y;
    /// Homogeneous z.
    double z;
    /// Homogeneous weight: 1 for a finite point, 0 for a point at infinity.
    double w;

    /// (0, 0, 0, 0): no point until set (it denotes nothing, not the origin).
    constexpr CPoint4d() noexcept : x(0.0), y(0.0), z(0.0), w(0.0) {}
    /// The homogeneous point (x, y, z, w), taken as given.
    constexpr CPoint4d(double x_, double y_, double z_, double w_) noexcept : x(x_), y(y_), z(z_), w(w_) {}
    /// The finite point p: (p.x, p.y, p.z, 1). Implicit: widening loses nothing.
    constexpr CPoint4d(const CPoint3d& p) noexcept : x(p.x), y(p.y), z(p.z), w(1.0) {}  // NOLINT: implicit
    /// The point at infinity in direction u: (u.x, u.y, u.z, 0). Explicit, so a
    /// direction never silently turns into a position.
    explicit constexpr CPoint4d(const CUnitVector3d& u) noexcept : x(u.x), y(u.y), z(u.z), w(0.0) {}

    /// Component-wise difference of all four components, w included.
    constexpr CVector4d operator-(const CPoint4d& q) const noexcept { return {x - q.x, y - q.y, z - q.z, w - q.w}; }
    /// Adds v in all four components.
    constexpr CPoint4d operator+(const CVector4d& v) const noexcept { return {x + v.x, y + v.y, z + v.z, w + v.w}; }
    /// Subtracts v in all four components.
    constexpr CPoint4d operator-(const CVector4d& v) const noexcept { return {x - v.x, y - v.y, z - v.z, w - v.w}; }
    /// Scales all four components: the same projective point (for s != 0).
    constexpr CPoint4d operator*(double s) const noexcept { return {x * s, y * s, z * s, w * s}; }
    /// Adds v in all four components.
    CPoint4d& operator+=(const CVector4d& v) noexcept {
        x += v.x;
        y += v.y;
        z += v.z;
        w += v.w;
        return *this;
    }
    /// Subtracts v in all four components.
    CPoint4d& operator-=(const CVector4d& v) noexcept {
        x -= v.x;
        y -= v.y;
        z -= v.z;
        w -= v.w;
        return *this;
    }
    /// Multiplies all four components by s.
    CPoint4d& operator*=(double s) noexcept {
        x *= s;
        y *= s;
        z *= s;
        w *= s;
        return *this;
    }
    /// Exact component-wise comparison (no projective equivalence: (1,1,1,1) and
    /// (2,2,2,2) differ here).
    constexpr bool operator==(const CPoint4d& p) const noexcept { return x == p.x && y == p.y && z == p.z && w == p.w; }
    /// Exact comparison.
    constexpr bool operator!=(const CPoint4d& p) const noexcept { return !(*this == p); }

    /// Divides through by w, as s = 1/w multiplied into x, y and z, and sets w = 1.
    /// No guard: a point at infinity (w = 0) becomes infinite or NaN.
    void HomogeneousDivide() noexcept {
        const double s = 1.0 / w;
        x = s * x;
        y = s * y;
        z = s * z;
        w = 1.0;
    }

    /// Sets this point to p + s*v in all four components: the point at parameter s
    /// of the homogeneous segment from p along v.
    void AddScaled(const CPoint4d& p, double s, const CVector4d& v) noexcept {
        x = p.x + s * v.x;
        y = p.y + s * v.y;
        z = p.z + s * v.z;
        w = p.w + s * v.w;
    }

    /// The 3D point denoted, (x/w, y/w, z/w), computed as HomogeneousDivide does.
    CPoint3d ToPoint3d() const noexcept {
        CPoint4d q = *this;
        q.HomogeneousDivide();
        return {q.x, q.y, q.z};
    }
};

}  // namespace velmor::geometry

#endif
