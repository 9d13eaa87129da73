/// \file
/// CTransformation: the library's 3D placement, a linear 3x3 part, a translation
/// and one uniform scale.
///
/// A point p maps to p' = (matrix * p + translation) * scale and a vector v to
/// v' = (matrix * v) * scale. `matrix` is row-major, element (i, j) at 3*i + j, with
/// the images of the X, Y and Z axes as its columns. Keeping the uniform scale apart
/// lets a scaled rotation keep an orthonormal 3x3 part. In a * b, b is applied first.
///
/// The flags are hints that constructors and setters write and the operations
/// trust; they are not recomputed when fields are changed by hand:
/// - isIdentity: every application is skipped (the numbers are the identity's);
/// - isOrthogonal: the 3x3 part is a rotation: it is inverted by transposition and
///   never reported singular, whatever numbers it actually holds.
///
/// SetTransformation and ResynchOrthogonal are the entries that re-derive them.
///
/// Points, vectors, rays and boxes are carried forward; a plane's equation is
/// carried through the inverse transformation and renormalised, so that the
/// signed distance keeps its meaning in the new coordinates.
///
/// The 4x4 exchange form is column-major: matrix(i, j) at 4*j + i, the translation
/// in elements 12..14, elements 3, 7 and 11 zero and element 15 = 1 / scale.
///
/// Tolerances: equality and the identity/orthogonality tests are strict against
/// EqualTol; singularity uses the fixed threshold 1e-15 of this class, not a global
/// tolerance. A singular transformation inverts as a silent no-op.
#ifndef PLENAR_GEOMETRY_TRANSFORMATION_H
#define PLENAR_GEOMETRY_TRANSFORMATION_H

#include <geometry/export.h>
#include <geometry/point3d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cstddef>

namespace velmor::geometry {

class CBoundingBox3d;
class CPlane;
class CRay3d;

/// The 3D placement: a 3x3 linear part, a translation and a uniform scale, with the flags isIdentity and
/// isOrthogonal. The identity by default.
class PLENAR_API CTransformation {
public:
    /// The 3x3 linear part, row-major: element (i, j) at 3*i + j; its columns are the images of the X, Y and Z
    /// axes.
    double matrix[9];
    /// Added after the 3x3 part and before the scale.
    double translation[3];
    /// Uniform scale applied last: p' = (matrix * p + translation) * scale.
    double scale;
    /// Hint: the numbers are the identity's, so every application is skipped. Trusted, not recomputed when
    /// fields are changed by hand.
    bool isIdentity;
    /// Hint: the 3x3 part is a rotation, inverted by transposition and never reported singular. Trusted, not
    /// recomputed when fields are changed by hand.
    bool isOrthogonal;

    // ----- construction and setting -------------------------------------------

    /// The identity; flags (identity, orthogonal).
    CTransformation() noexcept;
    /// The frame with the given axes as columns and origin as translation, scale 1.
    /// The axes are taken as given (not normalised or checked); flagged orthogonal.
    CTransformation(const CUnitVector3d& xAxis, const CUnitVector3d& yAxis, const CUnitVector3d& zAxis,
                    const CPoint3d& origin) noexcept;
    /// The frame at origin whose Z axis is zAxis, X and Y completed by
    /// CUnitVector3d::GetArbitraryAxes; flagged orthogonal.
    CTransformation(const CPoint3d& origin, const CUnitVector3d& zAxis) noexcept;
    /// From a column-major 4x4 matrix, as SetMatrix; flagged neither.
    explicit CTransformation(const double* m16) noexcept;

    /// Resets to the identity with both flags set.
    void Identity() noexcept;

    /// Reads the column-major 4x4 form: elements 3, 7, 11 are ignored and
    /// scale = 1 / m16[15], unguarded. Flagged neither identity nor orthogonal.
    void SetMatrix(const double* m16) noexcept;
    /// As SetMatrix from floats, each widened to double (1 / m16[15] in double).
    void SetMatrixf(const float* m16) noexcept;
    /// Writes the column-major 4x4 form; element 15 is 1 / scale, unguarded.
    void GetMatrix(double* m16) const noexcept;
    /// As GetMatrix, each value narrowed to float (1 / scale computed in double).
    void GetMatrixf(float* m16) const noexcept;

    /// Stores a row-major 3x3 part, a translation and a scale, then re-derives the
    /// flags from the numbers: snaps to the exact identity when IsReallyIdentity(),
    /// and returns ResynchOrthogonal() (which also straightens a nearly orthogonal
    /// 3x3 part).
    bool SetTransformation(const double* m9, const double* t3, double s) noexcept;

    /// A pure translation by v; flagged orthogonal, not identity.
    void Translation(const CVector3d& v) noexcept;
    /// A pure translation by p. When already flagged identity the 3x3 part and the
    /// scale are trusted to be the identity's and left as they are.
    void Translation(const CPoint3d& p) noexcept;
    /// The rotation by angle radians (right-hand rule) about the line through p
    /// along axis; axis is assumed unit length. Flagged orthogonal.
    void Rotation(const CPoint3d& p, const CUnitVector3d& axis, double angle) noexcept;
    /// A uniform scale about the origin; flagged orthogonal (the scale lives in
    /// `scale`). The reset of matrix and translation is skipped when flagged identity.
    void Scaling(double s) noexcept;
    /// A non-uniform scale about the origin, held on the diagonal of the 3x3 part;
    /// flagged neither. The reset is skipped when flagged identity, as above.
    void Scaling(double sx, double sy, double sz) noexcept;

    /// 3x3 part to the identity; translation, scale and flags untouched.
    void ClearRotation() noexcept;
    /// Translation to zero; everything else untouched.
    void ClearTranslation() noexcept { translation[0] = translation[1] = translation[2] = 0.0; }
    /// Scale to 1; everything else untouched.
    void ClearScaling() noexcept { scale = 1.0; }

    // ----- factories ----------------------------------------------------------

    /// A pure translation by v (see Translation).
    static CTransformation Translate(const CVector3d& v) noexcept;
    /// A pure translation by p, the image of the origin.
    static CTransformation Translate(const CPoint3d& p) noexcept;
    /// The rotation by angle radians about the line through p along axis (see Rotation).
    static CTransformation Rotate(const CPoint3d& p, const CUnitVector3d& axis, double angle) noexcept;
    /// Uniform scale about the origin (in `scale`, 3x3 part the identity).
    static CTransformation Scale(double s) noexcept;
    /// Non-uniform scale about the origin (on the diagonal of the 3x3 part).
    static CTransformation Scale(double sx, double sy, double sz) noexcept;
    /// Uniform scale about p: (T * S) * T^-1 with T the translation to p.
    static CTransformation Scale(const CPoint3d& p, double s) noexcept;
    /// Non-uniform scale about p, composed as above.
    static CTransformation Scale(const CPoint3d& p, double sx, double sy, double sz) noexcept;
    /// A copy of a, flags included, inverted with Invert() (unchanged if singular).
    static CTransformation Inverse(const CTransformation& a) noexcept;
    /// Between a (t = 0) and b (t = 1): within EqualTol of either end (strict) a
    /// copy of that end; otherwise b's scale and flags, the translation blended
    /// linearly and the rotation by quaternion slerp. The scale is deliberately not
    /// interpolated.
    static CTransformation Interpolate(const CTransformation& a, const CTransformation& b, double t) noexcept;

    // ----- composition, inversion, comparison -------------------------------

    /// The transformation that applies b first, then this one. Only this (left)
    /// operand's identity flag short-cuts to a copy of b; an identity on the right
    /// is multiplied out. b.scale divides unguarded.
    CTransformation operator*(const CTransformation& b) const noexcept;

    /// Inverts in place. A silent no-op when flagged identity, when |scale| < 1e-15
    /// or when the 3x3 part is singular; the flags are kept.
    void Invert() noexcept;
    /// Inverts the 3x3 part only: a transpose when flagged orthogonal (trusted, not
    /// checked), else the adjugate over the determinant. False, matrix unchanged,
    /// when |determinant| < 1e-15.
    bool Invert3x3() noexcept;

    /// All thirteen numbers within EqualTol, strict; the flags are not compared.
    bool operator==(const CTransformation& b) const noexcept;
    /// Negation of == (strict against EqualTol).
    bool operator!=(const CTransformation& b) const noexcept { return !(*this == b); }

    // ----- application --------------------------------------------------------
    // Kept inline and branch-free beyond the identity test: these run over large
    // arrays of coordinates. The placement is read into locals before the result is
    // written, so that a store through the point cannot force the compiler to reload
    // the matrix after every coordinate.

    /// p <- (matrix * p + translation) * scale; nothing when flagged identity.
    void Transform(CPoint3d& p) const noexcept {
        if (isIdentity) return;
        const double m0 = matrix[0], m1 = matrix[1], m2 = matrix[2];
        const double m3 = matrix[3], m4 = matrix[4], m5 = matrix[5];
        const double m6 = matrix[6], m7 = matrix[7], m8 = matrix[8];
        const double t0 = translation[0], t1 = translation[1], t2 = translation[2];
        const double s = scale;
        const double px = p.x, py = p.y, pz = p.z;
        p.x = (((m0 * px + m1 * py) + m2 * pz) + t0) * s;
        p.y = (((m3 * px + m4 * py) + m5 * pz) + t1) * s;
        p.z = (((m6 * px + m7 * py) + m8 * pz) + t2) * s;
    }
    /// v <- (matrix * v) * scale, no translation; nothing when flagged identity.
    void Transform(CVector3d& v) const noexcept {
        if (isIdentity) return;
        const double m0 = matrix[0], m1 = matrix[1], m2 = matrix[2];
        const double m3 = matrix[3], m4 = matrix[4], m5 = matrix[5];
        const double m6 = matrix[6], m7 = matrix[7], m8 = matrix[8];
        const double s = scale;
        const double vx = v.x, vy = v.y, vz = v.z;
        v.x = ((m0 * vx + m1 * vy) + m2 * vz) * s;
        v.y = ((m3 * vx + m4 * vy) + m5 * vz) * s;
        v.z = ((m6 * vx + m7 * vy) + m8 * vz) * s;
    }
    /// Transforms u as a vector and renormalises it; a collapsed direction becomes
    /// the zero vector. Runs the normalisation even when flagged identity.
    void Transform(CUnitVector3d& u) const noexcept {
        CVector3d v(u);
        Transform(v);
        u = v;
    }
    /// A transformed copy of p (a plain copy when flagged identity).
    CPoint3d operator*(const CPoint3d& p) const noexcept {
        CPoint3d r(p);
        Transform(r);
        return r;
    }
    /// A transformed copy of v (a plain copy when flagged identity).
    CVector3d operator*(const CVector3d& v) const noexcept {
        CVector3d r(v);
        Transform(r);
        return r;
    }

    // ----- application to arrays ----------------------------------------------
    // Each element ends up with exactly the bits the single-item call gives it (the
    // same operations in the same order, no fused multiply-add), whatever vector
    // width the processor offers. The arrays must not overlap the transformation.

    /// Transform(points[i]) for i in [0, n), in place.
    void TransformPoints(CPoint3d* points, std::size_t n) const noexcept { TransformPoints(points, n, points); }
    /// out[i] = *this * in[i] for i in [0, n). in == out is allowed; otherwise the
    /// two arrays must not overlap. A plain copy when flagged identity.
    void TransformPoints(const CPoint3d* in, std::size_t n, CPoint3d* out) const noexcept;
    /// Transform(vectors[i]) for i in [0, n), in place.
    void TransformVectors(CVector3d* vectors, std::size_t n) const noexcept;
    /// Transform(planes[i]) for i in [0, n), in place. The transformation is inverted
    /// once for all planes instead of once per plane; the results are the same.
    void TransformPlanes(CPlane* planes, std::size_t n) const noexcept;

    /// Carries the plane along: its equation goes through the inverse (a singular
    /// transformation, which cannot be inverted, uses itself), and the result is
    /// renormalised unless its normal collapsed. Nothing when flagged identity.
    void Transform(CPlane& pl) const noexcept;
    /// The same on the equation plane[0..3] = (a, b, c, d), not renormalised.
    void Transform(double* plane) const noexcept;
    /// Transforms the origin and the point one unit along the direction, and
    /// points the direction from the one to the other. Returns the length that
    /// unit step takes, the stretch of the direction (1.0 when flagged identity).
    double Transform(CRay3d& r) const noexcept;
    /// Replaces the box by the axis-aligned box of its transformed volume. The box
    /// stays ordered under mirroring and negative scales; an empty box (judged on
    /// x) stays as it is.
    void Transform(CBoundingBox3d& box) const noexcept;
    /// A transformed copy of the plane.
    CPlane operator*(const CPlane& pl) const noexcept;
    /// A transformed copy of the ray.
    CRay3d operator*(const CRay3d& r) const noexcept;
    /// A transformed copy of the box.
    CBoundingBox3d operator*(const CBoundingBox3d& box) const noexcept;

    // ----- queries ------------------------------------------------------------

    /// Column 0, 1 or 2 of the 3x3 part, normalised; the scale does not enter.
    CUnitVector3d X() const noexcept { return CUnitVector3d(matrix[0], matrix[3], matrix[6]); }
    /// Column 1 of the 3x3 part, normalised.
    CUnitVector3d Y() const noexcept { return CUnitVector3d(matrix[1], matrix[4], matrix[7]); }
    /// Column 2 of the 3x3 part, normalised.
    CUnitVector3d Z() const noexcept { return CUnitVector3d(matrix[2], matrix[5], matrix[8]); }
    /// The image of the origin, translation * scale; (0, 0, 0) when flagged identity.
    CPoint3d T() const noexcept {
        if (isIdentity) return {0.0, 0.0, 0.0};
        return {translation[0] * scale, translation[1] * scale, translation[2] * scale};
    }
    /// The uniform scale factor.
    double Scale() const noexcept { return scale; }
    /// Lengths of the transformed axis vectors, scale included; 0.0 when the
    /// squared length is at or below DivideByZeroTolSq.
    double XScale() const noexcept { return (*this * CVector3d(1.0, 0.0, 0.0)).Length(); }
    /// Length of the transformed unit Y vector, scale included.
    double YScale() const noexcept { return (*this * CVector3d(0.0, 1.0, 0.0)).Length(); }
    /// Length of the transformed unit Z vector, scale included.
    double ZScale() const noexcept { return (*this * CVector3d(0.0, 0.0, 1.0)).Length(); }
    /// (XScale(), YScale(), ZScale()).
    CVector3d XYZScale() const noexcept { return {XScale(), YScale(), ZScale()}; }
    /// Counter-clockwise angle about this transformation's own Z axis from the
    /// reference X axis that GetArbitraryAxes picks for it to this X axis, as
    /// CUnitVector3d::CCWAngleBetween measures it. With Z = (0, 0, 1) it is the
    /// usual rotation angle about Z.
    double ZRotation() const noexcept;

    /// Determinant of the 3x3 part (scale excluded), expanded along row 0.
    double GetDeterminant() const noexcept;
    /// False when flagged orthogonal; otherwise |determinant| < 1e-15.
    bool IsSingular() const noexcept;
    /// True when flagged identity; false when |scale| < 1e-15; true when flagged
    /// orthogonal; otherwise |determinant| >= 1e-15 (inclusive).
    bool IsInvertible() const noexcept;
    /// Every element of the 3x3 part strictly within EqualTol of the identity's.
    bool IsRotationReallyIdentity() const noexcept;
    /// The identity by value, strict against EqualTol, whatever the flags say.
    /// Non-const, as the interface has always declared it.
    bool IsReallyIdentity() noexcept;
    /// True when flagged identity; otherwise each row's squared length within
    /// EqualTol of 1 (the linear tolerance on purpose) and the pairwise row dot
    /// products below EqualTol, all strict. A uniform scale lives in `scale`, so a
    /// scaled rotation passes.
    bool IsOrthogonal() const noexcept;
    /// The normalised columns pairwise perpendicular within EqualTol (strict).
    /// Column lengths are not tested.
    bool IsOrthonormal() const noexcept;
    /// (X x Y) . Z < 0 for the normalised columns (strict).
    bool IsMirrored() const noexcept;
    /// No stored number is NaN or infinite; the flags are not checked.
    bool IsValidObj() const noexcept;
    /// Straightens the 3x3 part into an orthonormal one keeping the Z direction and
    /// the handedness; snaps it to the exact identity when it is that within
    /// EqualTol. Translation, scale and flags are untouched.
    void FixOrthogonal() noexcept;
    /// FixOrthogonal() when flagged orthogonal and not identity.
    void CheckOrthogonal() noexcept {
        if (isOrthogonal && !isIdentity) FixOrthogonal();
    }
    /// Re-derives isOrthogonal from the numbers, straightens the 3x3 part when it
    /// is set (and not flagged identity) and returns it.
    bool ResynchOrthogonal() noexcept;
};

}  // namespace velmor::geometry

#endif
