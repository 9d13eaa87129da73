/// \file
/// CPoint2f and CVector2f: the single-precision 2D points and vectors that all
/// drawing geometry is built from, and the free line utilities on them.
///
/// Arithmetic is plain float arithmetic; equality (==) is exact. A line through
/// two points runs from p1 (parameter 0) to p2 (parameter 1); a line given by an
/// origin and a direction has parameter 0 at the origin and 1 at origin + dir.
/// Directions are never normalised: tests built on a cross product (AreParallel,
/// IsOnLine, AreColinear, the free DistanceToLine) scale with the lengths of the
/// vectors passed in.
///
/// Tolerances: on-line and parallelism tests compare against EqualTol narrowed to
/// float, strictly; CVector2f::IsZero compares against EqualTol in double,
/// strictly; Equals(p, tol) is strict (squared distance < tol*tol). Divisions by
/// squared lengths are guarded with DivideByZeroTol.
#ifndef PLENAR_GEOMETRY_POINT2F_H
#define PLENAR_GEOMETRY_POINT2F_H

#include <geometry/export.h>
#include <geometry/point2d.h>
#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

class CRect2f;

/// A float 2D displacement of the drawing geometry. Plain float arithmetic; == is exact.
class PLENAR_API CVector2f {
public:
    /// x component.
    float x;
    /// y component.
    float y;

    /// The zero vector.
    constexpr CVector2f() noexcept : x(0.0f), y(0.0f) {}
    /// The vector (x, y).
    constexpr CVector2f(float x_, float y_) noexcept : x(x_), y(y_) {}

    /// Component-wise sum.
    constexpr CVector2f operator+(const CVector2f& v) const noexcept { return {x + v.x, y + v.y}; }
    /// Component-wise difference.
    constexpr CVector2f operator-(const CVector2f& v) const noexcept { return {x - v.x, y - v.y}; }
    /// The opposite vector.
    constexpr CVector2f operator-() const noexcept { return {-x, -y}; }
    /// Both components times s.
    constexpr CVector2f operator*(float s) const noexcept { return {x * s, y * s}; }
    /// Both components divided by s; unguarded, a zero s gives infinities.
    constexpr CVector2f operator/(float s) const noexcept { return {x / s, y / s}; }
    /// Adds v component-wise.
    CVector2f& operator+=(const CVector2f& v) noexcept {
        x += v.x;
        y += v.y;
        return *this;
    }
    /// Subtracts v component-wise.
    CVector2f& operator-=(const CVector2f& v) noexcept {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    /// Multiplies both components by s.
    CVector2f& operator*=(float s) noexcept {
        x *= s;
        y *= s;
        return *this;
    }
    /// Exact comparison, no tolerance.
    constexpr bool operator==(const CVector2f& v) const noexcept { return x == v.x && y == v.y; }
    /// Exact comparison, no tolerance.
    constexpr bool operator!=(const CVector2f& v) const noexcept { return !(*this == v); }

    /// x*x + y*y, in float.
    constexpr float LengthSquared() const noexcept { return x * x + y * y; }
    /// sqrt(x*x + y*y) in float, unguarded.
    float Length() const noexcept { return std::sqrt(LengthSquared()); }

    /// Both |x| and |y| strictly below EqualTol (compared in double).
    bool IsZero() const noexcept { return EqualTol > std::fabs(x) && EqualTol > std::fabs(y); }
    /// Rescales to length len. When the current length (float) is not above 1e-10
    /// the vector is left as it is and false is returned.
    bool SetLength(float len) noexcept;
};

/// s*v.
constexpr CVector2f operator*(float s, const CVector2f& v) noexcept { return v * s; }
/// Dot product a.x*b.x + a.y*b.y, in float.
constexpr float Dot(const CVector2f& a, const CVector2f& b) noexcept { return a.x * b.x + a.y * b.y; }
/// 2D cross product a.x*b.y - a.y*b.x, in float: positive when b lies counter-clockwise of a.
constexpr float Cross(const CVector2f& a, const CVector2f& b) noexcept { return a.x * b.y - a.y * b.x; }

/// A float 2D position of the drawing geometry. Plain float arithmetic; == is exact.
class PLENAR_API CPoint2f {
public:
    float x;
    /// Grows upwards: the 2D y axis points up.
    float y;

    /// (0, 0), set when the library is loaded.
    static const CPoint2f Origin;

    /// The origin.
    constexpr CPoint2f() noexcept : x(0.0f), y(0.0f) {}
    /// The point (x, y).
    constexpr CPoint2f(float x_, float y_) noexcept : x(x_), y(y_) {}
    /// The weighted sum a*p + b*q; the weights are not normalised.
    constexpr CPoint2f(float a, const CPoint2f& p, float b, const CPoint2f& q) noexcept
        : x(a * p.x + b * q.x), y(a * p.y + b * q.y) {}

    /// This point moved by v.
    constexpr CPoint2f operator+(const CVector2f& v) const noexcept { return {x + v.x, y + v.y}; }
    /// This point moved by -v.
    constexpr CPoint2f operator-(const CVector2f& v) const noexcept { return {x - v.x, y - v.y}; }
    /// The vector from p to this point.
    constexpr CVector2f operator-(const CPoint2f& p) const noexcept { return {x - p.x, y - p.y}; }
    /// Moves this point by v.
    CPoint2f& operator+=(const CVector2f& v) noexcept {
        x += v.x;
        y += v.y;
        return *this;
    }
    /// Moves this point by -v.
    CPoint2f& operator-=(const CVector2f& v) noexcept {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    /// Exact comparison, no tolerance.
    constexpr bool operator==(const CPoint2f& p) const noexcept { return x == p.x && y == p.y; }
    /// Exact comparison, no tolerance.
    constexpr bool operator!=(const CPoint2f& p) const noexcept { return !(*this == p); }

    /// Squared distance to p, in float.
    constexpr float DistanceSquaredTo(const CPoint2f& p) const noexcept { return (*this - p).LengthSquared(); }
    /// Distance to p, in float, unguarded.
    float DistanceTo(const CPoint2f& p) const noexcept { return std::sqrt(DistanceSquaredTo(p)); }

    /// Whether p lies within tol of this point, in float: |dx| <= tol and |dy| <= tol
    /// as a quick rejection, then the squared distance strictly below tol*tol, so a
    /// point exactly tol away is not within.
    bool Equals(const CPoint2f& p, float tol) const noexcept {
        const float dx = x - p.x;
        const float dy = y - p.y;
        return std::fabs(dx) <= tol && std::fabs(dy) <= tol && dx * dx + dy * dy < tol * tol;
    }

    /// Signed distance to the infinite line p1-p2: positive to the left of the
    /// direction p1->p2. When p1 and p2 are closer than EqualTol the line is
    /// degenerate and the (unsigned) distance to p1 is returned.
    float DistanceToLine(const CPoint2f& p1, const CPoint2f& p2) const noexcept;
    /// Whether this point lies on the infinite line through p1 and p2.
    bool IsOnLine(const CPoint2f& p1, const CPoint2f& p2) const noexcept;
    /// Whether this point lies on the infinite line through p1 and p2; on success t
    /// receives the point's parameter along the line, unlimited (t > 1 beyond p2,
    /// t < 0 before p1). The distance is measured along the line's minor axis, so
    /// the test is against EqualTol in that coordinate, not perpendicular. For
    /// p1 and p2 closer than EqualTol the point must lie within EqualTol of p1,
    /// and t is 0. t is left untouched on failure.
    bool IsOnLine(const CPoint2f& p1, const CPoint2f& p2, float& t) const noexcept;

    /// p1 + (p2 - p1)*t, each coordinate evaluated as (p2 - p1)*t + p1.
    static constexpr CPoint2f EvalPointOnLine(const CPoint2f& p1, const CPoint2f& p2, float t) noexcept {
        return {(p2.x - p1.x) * t + p1.x, (p2.y - p1.y) * t + p1.y};
    }
    /// origin + dir*t.
    static constexpr CPoint2f EvalPointOnLine(const CPoint2f& origin, const CVector2f& dir, float t) noexcept {
        return origin + dir * t;
    }

    /// The parameter t of the point of the line origin + t*dir closest to this
    /// point: dir.(this - origin) / dir.dir, or 0 when dir.dir is not above
    /// DivideByZeroTol.
    float ParameterOfCLosestPointOnLine(const CPoint2f& origin, const CVector2f& dir) const noexcept;
    /// The point of the line origin + t*dir closest to this point; origin for a zero dir.
    CPoint2f ClosestPointOnLine(const CPoint2f& origin, const CVector2f& dir) const noexcept {
        return origin + dir * ParameterOfCLosestPointOnLine(origin, dir);
    }
    /// The point of the segment p1-p2 closest to this point, with its parameter t
    /// in [0, 1]. Beyond an end the end itself is returned exactly. A segment whose
    /// squared length is not above DivideByZeroTol gives p1 and t = 0.
    CPoint2f ClosestPointOnLineSegment(const CPoint2f& p1, const CPoint2f& p2, float& t) const noexcept;
    /// The same, without reporting the parameter.
    CPoint2f ClosestPointOnLineSegment(const CPoint2f& p1, const CPoint2f& p2) const noexcept {
        float t = 0.0f;
        return ClosestPointOnLineSegment(p1, p2, t);
    }

    /// Closed test against the rectangle's sides, boundary included. An empty
    /// rectangle (negative width) contains no point.
    bool IsIn(const CRect2f& r) const noexcept;
    /// r.Contains(*this, tol): closed test against r grown by tol on every side.
    bool IsIn(const CRect2f& r, float tol) const noexcept;
    /// Euclidean distance (float) to the closed rectangle; 0 inside or on its border.
    float DistanceTo(const CRect2f& r) const noexcept;
};

/// Whether |cross(a, b)| is strictly below EqualTol narrowed to float. The vectors
/// are not normalised, so the test scales with their lengths.
inline bool AreParallel(const CVector2f& a, const CVector2f& b) noexcept {
    return std::fabs(Cross(a, b)) < static_cast<float>(EqualTol);
}

/// |cross(p - origin, dir)|, unsigned. A true distance only for a unit dir.
inline float DistanceToLine(const CPoint2f& p, const CPoint2f& origin, const CVector2f& dir) noexcept {
    return std::fabs(Cross(p - origin, dir));
}

/// Whether |cross(p - origin, dir)| (float) is strictly below EqualTol narrowed to float.
inline bool IsOnLine(const CPoint2f& p, const CPoint2f& origin, const CVector2f& dir) noexcept {
    return DistanceToLine(p, origin, dir) < static_cast<float>(EqualTol);
}

/// The point of the line origin + t*dir closest to p, computed wholly in double
/// for precision, hence the double result. origin for a dir whose squared length
/// is not above DivideByZeroTol.
PLENAR_API CPoint2d ClosestPointOnLine(const CPoint2f& p, const CPoint2f& origin, const CVector2f& dir) noexcept;

/// Whether the lines p1 + t*d1 and p2 + t*d2 coincide: p1 lies on the second line
/// and the directions are parallel, both by a strict cross-product test against
/// EqualTol narrowed to float, without normalisation.
inline bool AreColinear(const CPoint2f& p1, const CVector2f& d1, const CPoint2f& p2, const CVector2f& d2) noexcept {
    const float tol = static_cast<float>(EqualTol);
    return std::fabs(Cross(p1 - p2, d2)) < tol && std::fabs(d2.y * d1.x - d2.x * d1.y) < tol;
}

/// The intersection of the lines p1 + s*d1 and p2 + t*d2. Unguarded: parallel
/// lines divide by zero and give a non-finite point, so callers test AreParallel
/// first.
inline CPoint2f IntersectLines(const CPoint2f& p1, const CVector2f& d1, const CPoint2f& p2,
                               const CVector2f& d2) noexcept {
    const float s = Cross(p2 - p1, d2) / Cross(d1, d2);
    return p1 + d1 * s;
}

/// Unsigned angle in radians between two unit vectors (not normalised here), the
/// arc cosine of their float dot product. A dot product just beyond +-1 (within
/// EqualTolF) is taken as +-1; further out it is not clamped and the angle is NaN.
PLENAR_API double AngleBetween(const CVector2f& a, const CVector2f& b) noexcept;
/// AngleBetween, negative when b lies clockwise of a (cross product < 0); a zero
/// cross product counts as positive.
PLENAR_API double SignedAngleBetween(const CVector2f& a, const CVector2f& b) noexcept;

}  // namespace velmor::geometry

#endif
