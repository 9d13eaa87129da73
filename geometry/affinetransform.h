/// \file
/// AffineTransform: the single-precision 2D affine map of the drawing geometry.
///
/// A point (x, y) maps to (a*x + b*y + tx, c*x + d*y + ty); a vector maps by the
/// linear part [a b; c d] only. Angles are radians, counter-clockwise with y up.
/// In S * T the transform T is applied first, so (S * T) * p == S * (T * p).
///
/// Singularity: a transform is invertible, and IsValid, unless |a*d - b*c|
/// (float, compared in double) is below EqualTolSq. The squared length tolerance
/// is the threshold on purpose: the determinant scales like an area. Invert
/// leaves a singular transform untouched.
#ifndef PLENAR_GEOMETRY_AFFINETRANSFORM_H
#define PLENAR_GEOMETRY_AFFINETRANSFORM_H

#include <geometry/export.h>
#include <geometry/point2d.h>
#include <geometry/point2f.h>

namespace velmor::geometry {

/// A float 2D affine map (a, b, c, d, tx, ty): the placement of drawing geometry. The identity by default.
class PLENAR_API AffineTransform {
public:
    /// x coefficient of the image x: x' = a*x + b*y + tx.
    float a;
    /// y coefficient of the image x.
    float b;
    /// x coefficient of the image y: y' = c*x + d*y + ty.
    float c;
    /// y coefficient of the image y.
    float d;
    /// Translation in x, added after the linear part.
    float tx;
    /// Translation in y, added after the linear part.
    float ty;

    /// The identity (1, 0, 0, 1, 0, 0).
    constexpr AffineTransform() noexcept : a(1.0f), b(0.0f), c(0.0f), d(1.0f), tx(0.0f), ty(0.0f) {}
    /// The six values as given, in the order a, b, c, d, tx, ty.
    constexpr AffineTransform(float a_, float b_, float c_, float d_, float tx_, float ty_) noexcept
        : a(a_), b(b_), c(c_), d(d_), tx(tx_), ty(ty_) {}

    /// A pure translation by (x, y).
    static constexpr AffineTransform Translate(float x, float y) noexcept { return {1.0f, 0.0f, 0.0f, 1.0f, x, y}; }
    /// Scaling by sx along x and sy along y about the origin.
    static constexpr AffineTransform Scale(float sx, float sy) noexcept { return {sx, 0.0f, 0.0f, sy, 0.0f, 0.0f}; }
    /// Uniform scaling by s about the origin.
    static constexpr AffineTransform Scale(float s) noexcept { return {s, 0.0f, 0.0f, s, 0.0f, 0.0f}; }
    /// Counter-clockwise rotation about the origin; sine and cosine are computed
    /// in double from the float angle, then narrowed.
    static AffineTransform Rotate(float angle) noexcept;
    /// Rotation about center, which stays fixed.
    static AffineTransform Rotate(const CPoint2f& center, float angle) noexcept;
    /// Scaling about center, which stays fixed.
    static constexpr AffineTransform Scale(const CPoint2f& center, float sx, float sy) noexcept {
        return {sx, 0.0f, 0.0f, sy, (1.0f - sx) * center.x, (1.0f - sy) * center.y};
    }

    /// Resets to the identity.
    void SetToIdentity() noexcept { *this = AffineTransform(); }

    /// The image of p, in float.
    constexpr CPoint2f operator*(const CPoint2f& p) const noexcept {
        return {a * p.x + b * p.y + tx, c * p.x + d * p.y + ty};
    }
    /// The image of p, in double with the six values widened.
    constexpr CPoint2d operator*(const CPoint2d& p) const noexcept {
        return {static_cast<double>(a) * p.x + static_cast<double>(b) * p.y + static_cast<double>(tx),
                static_cast<double>(c) * p.x + static_cast<double>(d) * p.y + static_cast<double>(ty)};
    }
    /// The image of v by the linear part, in float.
    constexpr CVector2f operator*(const CVector2f& v) const noexcept { return {a * v.x + b * v.y, c * v.x + d * v.y}; }
    /// The image of v by the linear part, in double.
    constexpr CVector2d operator*(const CVector2d& v) const noexcept {
        return {static_cast<double>(a) * v.x + static_cast<double>(b) * v.y,
                static_cast<double>(c) * v.x + static_cast<double>(d) * v.y};
    }
    /// Replaces p by its image, in float.
    void Transform(CPoint2f& p) const noexcept { p = *this * p; }
    /// Replaces p by its image, in double.
    void Transform(CPoint2d& p) const noexcept { p = *this * p; }
    /// Replaces v by its image under the linear part, in float.
    void Transform(CVector2f& v) const noexcept { v = *this * v; }
    /// Replaces v by its image under the linear part, in double.
    void Transform(CVector2d& v) const noexcept { v = *this * v; }

    /// The matrix product this * o: o is applied first.
    constexpr AffineTransform operator*(const AffineTransform& o) const noexcept {
        return {a * o.a + b * o.c, a * o.b + b * o.d,        c * o.a + d * o.c,
                c * o.b + d * o.d, a * o.tx + b * o.ty + tx, c * o.tx + d * o.ty + ty};
    }

    /// a*d - b*c, in float.
    constexpr float Determinant() const noexcept { return a * d - b * c; }
    /// Inverts in place. Returns false, leaving the transform unchanged, when
    /// |Determinant()| is below EqualTolSq.
    bool Invert() noexcept;
    /// Whether Invert would succeed.
    bool IsValid() const noexcept;
    /// The angle of the image of the x axis, atan2 in double narrowed to float.
    float GetRotationAngle() const noexcept;
    /// The translation (tx, ty).
    constexpr CVector2f GetTranslation() const noexcept { return {tx, ty}; }

    /// Copies the six values out, in the order a, b, c, d, tx, ty.
    void Get(float& a_, float& b_, float& c_, float& d_, float& tx_, float& ty_) const noexcept {
        a_ = a;
        b_ = b;
        c_ = c;
        d_ = d;
        tx_ = tx;
        ty_ = ty;
    }
    /// Stores the six values as given; nothing is checked.
    void Set(float a_, float b_, float c_, float d_, float tx_, float ty_) noexcept {
        *this = AffineTransform(a_, b_, c_, d_, tx_, ty_);
    }
    /// Copies a, b, c, d, tx, ty to values[0..5].
    void Get(float* values) const noexcept { Get(values[0], values[1], values[2], values[3], values[4], values[5]); }
    /// Reads a, b, c, d, tx, ty from values[0..5].
    void Set(const float* values) noexcept { Set(values[0], values[1], values[2], values[3], values[4], values[5]); }
};

}  // namespace velmor::geometry

#endif
