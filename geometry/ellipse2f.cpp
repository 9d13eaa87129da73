#include <geometry/ellipse2f.h>

#include <geometry/tol.h>

#include <cmath>
#include <limits>

namespace velmor::geometry {

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kPi = 3.141592653589793;

// Bisection halves a bracket of doubles; from the widest bracket down to adjacent
// doubles takes fewer halvings than this, so the limit is never what ends it.
constexpr int kMaxBisections = 2200;

// Below this ratio of minor to major semi-axis an ellipse is taken as the segment
// between its ends: the two differ by less than the double rounding of the major
// axis, and the squared axis ratio the bisection works with stays far from overflow.
constexpr double kFlatRatio = 0x1p-60;

CVector2f AsVector(const CPoint2f& p) noexcept { return CVector2f(p.x, p.y); }

// The root s > -1 of (r0 z0 / (s + r0))^2 + (z1 / (s + 1))^2 - 1, which falls
// monotonically in s; g is its value at s = 0 (not 0). The bracket is [z1 - 1, 0]
// for a point inside and [z1 - 1, |(r0 z0, z1)| - 1] for one outside.
double MultiplierRoot(double r0, double z0, double z1, double g) noexcept {
    const double n0 = r0 * z0;
    double s0 = z1 - 1.0;
    double s1 = g < 0.0 ? 0.0 : std::hypot(n0, z1) - 1.0;
    double s = 0.0;
    for (int i = 0; i < kMaxBisections; ++i) {
        s = 0.5 * (s0 + s1);
        if (s == s0 || s == s1) break;
        const double ratio0 = n0 / (s + r0);
        const double ratio1 = z1 / (s + 1.0);
        const double value = ratio0 * ratio0 + ratio1 * ratio1 - 1.0;
        if (value > 0.0) {
            s0 = s;
        } else if (value < 0.0) {
            s1 = s;
        } else {
            break;
        }
    }
    return s;
}

// The eccentric angle of the point of the ellipse (e0 cos a, e1 sin a) nearest to
// (y0, y1), with e0 >= e1 >= 0 and all finite. Solved in the first quadrant, then
// mirrored back.
double NearestAngleOnAxisEllipse(double e0, double e1, double y0, double y1) noexcept {
    if (!(e0 > 0.0)) return 0.0;  // a point: every angle is as near
    const double a0 = std::fabs(y0);
    const double a1 = std::fabs(y1);
    double angle;
    if (e1 <= e0 * kFlatRatio) {
        // The segment from (-e0, 0) to (e0, 0): the foot of the perpendicular, or an end.
        angle = std::acos(std::fmin(a0 / e0, 1.0));
    } else {
        double x0;
        double x1;
        if (a1 > 0.0) {
            if (a0 > 0.0) {
                const double z0 = a0 / e0;
                const double z1 = a1 / e1;
                const double g = z0 * z0 + z1 * z1 - 1.0;
                if (g != 0.0) {
                    const double ratio = e0 / e1;
                    const double r0 = ratio * ratio;
                    const double s = MultiplierRoot(r0, z0, z1, g);
                    x0 = r0 * a0 / (s + r0);
                    x1 = a1 / (s + 1.0);
                } else {
                    x0 = a0;  // on the ellipse
                    x1 = a1;
                }
            } else {
                x0 = 0.0;  // on the minor axis: its end
                x1 = e1;
            }
        } else {
            // On the major axis: between the centres of curvature of its ends the
            // nearest point lies off the axis, beyond them at the end.
            const double numerator = e0 * a0;
            const double denominator = e0 * e0 - e1 * e1;
            if (numerator < denominator) {
                const double ratio = numerator / denominator;
                x0 = e0 * ratio;
                x1 = e1 * std::sqrt(1.0 - ratio * ratio);
            } else {
                x0 = e0;
                x1 = 0.0;
            }
        }
        angle = std::atan2(x1 / e1, x0 / e0);
    }
    if (y0 < 0.0) angle = kPi - angle;
    if (y1 < 0.0) angle = -angle;
    return angle;
}

}  // namespace

CEllipse2f::CEllipse2f(const CPoint2f& center_, float radiusX_, float radiusY_, float angle) noexcept
    : center(center_),
      radiusX(radiusX_),
      radiusY(radiusY_),
      transform(AffineTransform::Rotate(CPoint2f(0.0f, 0.0f), angle)) {}

CEllipse2f::CEllipse2f(const CRect2f& r, float angle) noexcept
    : center(AffineTransform::Rotate(CPoint2f(r.x, r.y), angle) * r.Center()),
      radiusX(r.width * 0.5f),
      radiusY(r.height * 0.5f),
      transform(AffineTransform::Rotate(angle)) {}

CEllipse2f::CEllipse2f(const CRect2f& r, const AffineTransform& T) noexcept
    : center(), radiusX(r.width * 0.5f), radiusY(r.height * 0.5f), transform(T) {
    const CVector2f corner(r.x, r.y);
    center = T * (r.Center() + corner) - corner;
}

void CEllipse2f::EvalPointAndTangent(float t, CPoint2f& point, CVector2f& tangent) const noexcept {
    const float s = std::sin(t);
    const float c = std::cos(t);
    point = CPoint2f(radiusX * c, radiusY * s);
    tangent = CVector2f(-radiusX * s, radiusY * c);
}

void CEllipse2f::GetPointAndTangentAtParameter(float t, CPoint2f& point, CVector2f& tangent) const noexcept {
    CPoint2f local;
    CVector2f derivative;
    EvalPointAndTangent(t, local, derivative);
    point = transform * local + AsVector(center);
    tangent = transform * derivative;
}

CPoint2f CEllipse2f::GetPointAtParameter(float t) const noexcept {
    CPoint2f point;
    CVector2f tangent;
    GetPointAndTangentAtParameter(t, point, tangent);
    return point;
}

CVector2f CEllipse2f::GetTangentAtParameter(float t) const noexcept {
    CPoint2f point;
    CVector2f tangent;
    GetPointAndTangentAtParameter(t, point, tangent);
    return tangent;
}

float CEllipse2f::ParameterOfClosestPoint(const CPoint2f& p) const noexcept {
    const CVector2f v = p - center;
    AffineTransform inverse = transform;
    // A singular orientation cannot be undone; it is then used as it is.
    inverse.Invert();
    // The point form on purpose: a translation stored in transform is undone too.
    const CPoint2f q = inverse * CPoint2f(v.x, v.y);
    if (std::fabs(q.x) < EqualTol && std::fabs(q.y) < EqualTol) return 0.0f;

    // The polar angle is the parametric one only for a circle; Newton's method
    // corrects it for the radii.
    float t = std::atan2(q.y, q.x);
    for (int i = 0; i < 20; ++i) {
        const float s = std::sin(t);
        const float c = std::cos(t);
        const CVector2f d(-radiusX * s, radiusY * c);
        const float len2 = Dot(d, d);
        if (std::fabs(len2) < 1e-10f) break;
        const float step = Dot(d, q - CPoint2f(radiusX * c, radiusY * s)) / len2;
        if (std::fabs(step) < EqualTol) break;
        t = t + step;
    }
    return t;
}

float CEllipse2f::NearestParameter(const CPoint2f& p) const noexcept {
    // The world outline is M (cos t, sin t) + o with M the linear part of transform
    // times the radii and o the transform's translation plus the centre. Products of
    // two floats are exact in double.
    const double m00 = static_cast<double>(transform.a) * radiusX;
    const double m01 = static_cast<double>(transform.b) * radiusY;
    const double m10 = static_cast<double>(transform.c) * radiusX;
    const double m11 = static_cast<double>(transform.d) * radiusY;
    const double wx = (static_cast<double>(p.x) - center.x) - transform.tx;
    const double wy = (static_cast<double>(p.y) - center.y) - transform.ty;
    if (!std::isfinite(m00) || !std::isfinite(m01) || !std::isfinite(m10) || !std::isfinite(m11) ||
        !std::isfinite(wx) || !std::isfinite(wy))
        return std::numeric_limits<float>::quiet_NaN();

    // M = Rot(phi) diag(sigma0, sigma1) Rot(theta): M splits into a rotation-scale
    // (e, h) and a reflection-scale (f, g) part, whose lengths add to the singular
    // values and whose angles give the two rotations. Then M (cos t, sin t) is
    // Rot(phi) (sigma0 cos s, sigma1 sin s) with s = t + theta.
    const double e = 0.5 * (m00 + m11);
    const double f = 0.5 * (m00 - m11);
    const double g = 0.5 * (m10 + m01);
    const double h = 0.5 * (m10 - m01);
    const double q = std::hypot(e, h);
    const double r = std::hypot(f, g);
    const double sigma0 = q + r;
    if (!(sigma0 > 0.0)) return 0.0;  // M = 0: the ellipse is the single point o
    // The smaller singular value from the determinant, which keeps its relative
    // accuracy where q - r would cancel; negative for a mirroring transform.
    const double sigma1 = (m00 * m11 - m01 * m10) / sigma0;
    const double reflectionAngle = std::atan2(g, f);
    const double rotationAngle = std::atan2(h, e);
    const double theta = 0.5 * (rotationAngle - reflectionAngle);
    const double phi = 0.5 * (rotationAngle + reflectionAngle);

    // p in the ellipse's own frame; a mirrored frame is turned back by flipping y.
    const double cosPhi = std::cos(phi);
    const double sinPhi = std::sin(phi);
    const double y0 = cosPhi * wx + sinPhi * wy;
    double y1 = cosPhi * wy - sinPhi * wx;
    if (sigma1 < 0.0) y1 = -y1;
    const double s = NearestAngleOnAxisEllipse(sigma0, std::fmin(std::fabs(sigma1), sigma0), y0, y1);

    double t = s - theta;
    if (t > kPi) {
        t -= kTwoPi;
    } else if (t < -kPi) {
        t += kTwoPi;
    }
    return static_cast<float>(t);
}

void CEllipse2f::GetPoints(unsigned int n, CPoint2f* points) const noexcept {
    if (n < 2) return;
    const unsigned int pieces = n - 1;
    const double step = kTwoPi / static_cast<double>(pieces);
    const double sn = std::sin(step);
    const double cs = std::cos(step);
    const CVector2f offset = AsVector(center);
    double cosT = 1.0;
    double sinT = 0.0;
    for (unsigned int i = 0; i < pieces; ++i) {
        CPoint2f& p = points[i];
        p = CPoint2f(static_cast<float>(radiusX * cosT), static_cast<float>(radiusY * sinT));
        transform.Transform(p);
        p += offset;
        // Rotation by one step, in double so that the error of the recurrence
        // stays far below float resolution over the whole turn.
        const double nextCos = cosT * cs - sinT * sn;
        const double nextSin = sn * cosT + cs * sinT;
        cosT = nextCos;
        sinT = nextSin;
    }
    points[n - 1] = points[0];
}

}  // namespace velmor::geometry
