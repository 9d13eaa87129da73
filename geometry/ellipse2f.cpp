#include <geometry/ellipse2f.h>

#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

namespace {

constexpr double kTwoPi = 6.283185307179586;

CVector2f AsVector(const CPoint2f& p) noexcept { return CVector2f(p.x, p.y); }

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
