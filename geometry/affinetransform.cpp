#include <geometry/affinetransform.h>

#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

namespace {

// Whether a determinant counts as singular: below the squared length tolerance.
bool IsSingular(float det) noexcept { return std::fabs(static_cast<double>(det)) < EqualTolSq; }

}  // namespace

AffineTransform AffineTransform::Rotate(float angle) noexcept {
    const double radians = angle;
    const float cs = static_cast<float>(std::cos(radians));
    const float sn = static_cast<float>(std::sin(radians));
    return {cs, -sn, sn, cs, 0.0f, 0.0f};
}

AffineTransform AffineTransform::Rotate(const CPoint2f& center, float angle) noexcept {
    AffineTransform r = Rotate(angle);
    const float cs = r.a;
    const float sn = r.c;
    r.tx = center.x - (cs * center.x - sn * center.y);
    r.ty = center.y - (cs * center.y + sn * center.x);
    return r;
}

bool AffineTransform::Invert() noexcept {
    const float det = Determinant();
    if (IsSingular(det)) return false;
    const float k = 1.0f / det;
    *this = AffineTransform(d * k, -b * k, -c * k, a * k, (b * ty - d * tx) * k, (c * tx - a * ty) * k);
    return true;
}

bool AffineTransform::IsValid() const noexcept { return !IsSingular(Determinant()); }

float AffineTransform::GetRotationAngle() const noexcept {
    // Taken from the image of (1, 0) so that the signs of zeros follow the linear part.
    const CVector2f xAxis = *this * CVector2f(1.0f, 0.0f);
    return static_cast<float>(std::atan2(static_cast<double>(xAxis.y), static_cast<double>(xAxis.x)));
}

}  // namespace velmor::geometry
