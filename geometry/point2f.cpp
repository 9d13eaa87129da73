#include <geometry/point2f.h>

#include <geometry/rect2f.h>

#include <cmath>

namespace velmor::geometry {

const CPoint2f CPoint2f::Origin(0.0f, 0.0f);

bool CVector2f::SetLength(float len) noexcept {
    const float length = Length();
    // Not greater, so a NaN length also leaves the vector alone.
    if (!(static_cast<double>(length) > MinDirectionLength)) return false;
    const float s = len / length;
    x *= s;
    y *= s;
    return true;
}

float CPoint2f::DistanceToLine(const CPoint2f& p1, const CPoint2f& p2) const noexcept {
    const CVector2f d = p2 - p1;
    const float length = d.Length();
    // Strict: a line exactly EqualTol long still has a direction and a sign.
    if (EqualTol > length) return DistanceTo(p1);
    return (d.x * (y - p1.y) - d.y * (x - p1.x)) / length;
}

bool CPoint2f::IsOnLine(const CPoint2f& p1, const CPoint2f& p2) const noexcept {
    float t = 0.0f;
    return IsOnLine(p1, p2, t);
}

bool CPoint2f::IsOnLine(const CPoint2f& p1, const CPoint2f& p2, float& t) const noexcept {
    const float tol = static_cast<float>(EqualTol);
    const float dx = p2.x - p1.x;
    const float dy = p2.y - p1.y;
    // Ties go to x, so a diagonal line is measured along y.
    const bool xDominant = std::fabs(dy) <= std::fabs(dx);
    const float dominant = xDominant ? std::fabs(dx) : std::fabs(dy);
    if (dominant < tol) {
        if (!Equals(p1, tol)) return false;
        t = 0.0f;
        return true;
    }

    // The offset from the line is taken along the minor axis and compared in
    // double against the double tolerance, inclusive.
    float param;
    double offset;
    if (xDominant) {
        param = (x - p1.x) / dx;
        offset = std::fabs(static_cast<double>(y) - static_cast<double>(dy * param + p1.y));
    } else {
        param = (y - p1.y) / dy;
        offset = std::fabs(static_cast<double>(x) - static_cast<double>(dx * param + p1.x));
    }
    if (!(offset <= EqualTol)) return false;

    // Any finite parameter is accepted: this is a test against the infinite line.
    if (std::isfinite(param)) {
        t = param;
        return true;
    }
    // A parameter that overflowed can only be resolved by the end points.
    if (param < 0.0f) {
        if (!Equals(p1, tol)) return false;
        t = 0.0f;
        return true;
    }
    if (!Equals(p2, tol)) return false;
    t = 1.0f;
    return true;
}

float CPoint2f::ParameterOfCLosestPointOnLine(const CPoint2f& origin, const CVector2f& dir) const noexcept {
    const float dd = Dot(dir, dir);
    if (!(static_cast<double>(dd) > DivideByZeroTol)) return 0.0f;
    return Dot(dir, *this - origin) / dd;
}

CPoint2f CPoint2f::ClosestPointOnLineSegment(const CPoint2f& p1, const CPoint2f& p2, float& t) const noexcept {
    const CVector2f d = p2 - p1;
    const float len2 = Dot(d, d);
    if (!(static_cast<double>(len2) > DivideByZeroTol)) {
        t = 0.0f;
        return p1;
    }
    t = Dot(*this - p1, d) / len2;
    // Beyond an end the end point itself is returned, not p1 + d*t, so callers can
    // compare it exactly with the segment's end points.
    if (t < 0.0f) {
        t = 0.0f;
        return p1;
    }
    if (t > 1.0f) {
        t = 1.0f;
        return p2;
    }
    return p1 + d * t;
}

bool CPoint2f::IsIn(const CRect2f& r) const noexcept {
    return r.x <= x && r.y <= y && x <= r.x + r.width && y <= r.y + r.height;
}

bool CPoint2f::IsIn(const CRect2f& r, float tol) const noexcept { return r.Contains(*this, tol); }

float CPoint2f::DistanceTo(const CRect2f& r) const noexcept {
    float gx = 0.0f;
    if (r.x > x) {
        gx = r.x - x;
    } else if (x > r.x + r.width) {
        gx = x - (r.x + r.width);
    }
    float gy = 0.0f;
    if (r.y > y) {
        gy = r.y - y;
    } else if (y > r.y + r.height) {
        gy = y - (r.y + r.height);
    }
    return std::sqrt(gx * gx + gy * gy);
}

CPoint2d ClosestPointOnLine(const CPoint2f& p, const CPoint2f& origin, const CVector2f& dir) noexcept {
    const CVector2d d(dir);
    const CPoint2d o(origin);
    const double dd = Dot(d, d);
    double t = 0.0;
    if (dd > DivideByZeroTol) t = Dot(CPoint2d(p) - o, d) / dd;
    return o + d * t;
}

double AngleBetween(const CVector2f& a, const CVector2f& b) noexcept {
    float c = Dot(a, b);
    // Only a dot product just beyond +-1, as rounding of unit vectors produces,
    // is pulled back; anything further out is left to give NaN on purpose.
    if (c > 1.0f && c < 1.0f + EqualTolF) {
        c = 1.0f;
    } else if (c > -1.0f - EqualTolF && c < -1.0f) {
        c = -1.0f;
    }
    return std::acos(static_cast<double>(c));
}

double SignedAngleBetween(const CVector2f& a, const CVector2f& b) noexcept {
    return AngleBetween(a, b) * (Cross(a, b) < 0.0f ? -1.0 : 1.0);
}

}  // namespace velmor::geometry
