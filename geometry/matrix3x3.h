/// \file
/// CMatrix3x3 and CMatrix4x4: small general matrices of doubles.
///
/// CMatrix3x3 is a 2D homogeneous (projective) matrix for row vectors (x, y, w): a
/// point transforms as p * M, translation sits in row 2 and column 2 holds the
/// projective terms. Storage m[9] is row-major, element (r, c) at m[3r + c]. The
/// matrix is affine when m[2] and m[5] are zero within EqualTolSq and m[8] is not;
/// otherwise projective. Every tolerance test here uses EqualTolSq (read at call
/// time): "~ 0" means |value| < EqualTolSq, strict.
///
/// Products, inverses and SetMat16 end with the affine normalisation: an affine
/// result is scaled so that m[8] = 1, a projective result is returned unscaled
/// (any non-zero multiple of a projective matrix denotes the same mapping).
///
/// CMatrix4x4 is column-major, element (r, c) at m[4c + r], and transforms column
/// vectors (M * v). A CMatrix3x3 maps to it as the equivalent column-vector matrix
/// acting on (x, y, z, w) with z passed through:
///
///     m[0], m[1], 0, m[2],  m[3], m[4], 0, m[5],  0, 0, 1, 0,  m[6], m[7], 0, m[8]
///
/// Inversion of a 4x4 uses no tolerance: only an exactly zero pivot is singular.
///
/// Both default to the identity. Nothing throws; failures are return values.
#ifndef PLENAR_GEOMETRY_MATRIX3X3_H
#define PLENAR_GEOMETRY_MATRIX3X3_H

#include <geometry/export.h>
#include <geometry/point4d.h>
#include <geometry/tol.h>

#include <cmath>

namespace velmor::geometry {

/// A 2D homogeneous (projective) 3x3 matrix acting on row vectors (x, y, w). The identity by default.
class PLENAR_API CMatrix3x3 {
public:
    /// Row-major: m[0..2] is row 0, m[3..5] row 1, m[6..8] row 2.
    double m[9];

    /// The identity.
    constexpr CMatrix3x3() noexcept : m{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0} {}

    /// Copies nine values row by row.
    void Set(const double (*rows)[3]) noexcept {
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) m[3 * r + c] = rows[r][c];
        }
    }
    /// Resets to the identity.
    void Identity() noexcept { *this = CMatrix3x3(); }

    /// Counter-clockwise rotation of row vectors by angle (radians): rows
    /// (cos, sin, 0), (-sin, cos, 0), (0, 0, 1).
    static CMatrix3x3 Rotation(double angle) noexcept;
    /// diag(sx, sy, 1).
    static CMatrix3x3 Scaling(double sx, double sy) noexcept;
    /// The identity with row 2 = (tx, ty, 1).
    static CMatrix3x3 Translation(double tx, double ty) noexcept;
    /// x' = x + shx*y, y' = shy*x + y: rows (1, shy, 0), (shx, 1, 0), (0, 0, 1).
    static CMatrix3x3 Shearing(double shx, double shy) noexcept;

    /// Writes the 16 values of the equivalent column-major 4x4 (see the file comment).
    void GetMat16(double* out) const noexcept;
    /// Reads the 3x3 part back from a column-major 4x4 (elements 0, 1, 3, 4, 5, 7,
    /// 12, 13, 15), then applies the affine normalisation.
    void SetMat16(const double* in) noexcept;

    /// m[2] ~ 0 and m[5] ~ 0 and m[8] not ~ 0.
    bool IsAffine() const noexcept {
        const double tol = EqualTolSq;
        return std::fabs(m[2]) < tol && std::fabs(m[5]) < tol && !(std::fabs(m[8]) < tol);
    }
    /// Exactly !IsAffine().
    bool IsProjective() const noexcept { return !IsAffine(); }

    /// Scales the matrix so that m[8] = 1 (multiplying by the reciprocal of m[8]).
    /// False, unchanged, when |m[8]| < EqualTolSq; true and unchanged when m[8] is
    /// already within EqualTolSq of 1 (inclusive).
    bool Normalize() noexcept;

    /// Diagonal entries within EqualTolSq of 1 (inclusive), off-diagonal entries
    /// below EqualTolSq in magnitude (strict). The mix is deliberate: callers rely
    /// on an off-diagonal entry of exactly EqualTolSq not being the identity.
    bool IsIdentity() const noexcept;

    /// True when all nine |a - b| <= tol (inclusive).
    bool Equals(const CMatrix3x3& other, double tol) const noexcept;

    /// The adjoint divided by the scalar mx3d_adjoint returns (when that is at
    /// least EqualTolSq in magnitude; otherwise the undivided adjoint), then the
    /// affine normalisation. Never fails: a singular matrix yields its adjoint. An
    /// affine result is the exact inverse after normalisation; a projective result
    /// is a scalar multiple of it, which denotes the same mapping.
    static CMatrix3x3 Inverse(const CMatrix3x3& a) noexcept;
    /// Replaces this matrix by Inverse(*this).
    void Invert() noexcept { *this = Inverse(*this); }

    /// this * other (this acts first on row vectors), then the affine normalisation.
    CMatrix3x3 operator*(const CMatrix3x3& other) const noexcept;

    /// p (x, y, w) becomes p * M. No division by w.
    void Transform(double* p) const noexcept;

    /// True when all nine entries are finite.
    bool IsValidObj() const noexcept {
        for (double v : m) {
            if (!std::isfinite(v)) return false;
        }
        return true;
    }
};

/// A general 4x4 matrix, column-major, acting on column vectors. The identity by default.
class PLENAR_API CMatrix4x4 {
public:
    /// Column-major: element (r, c) is m[4c + r].
    double m[16];

    /// The identity.
    constexpr CMatrix4x4() noexcept
        : m{1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0} {}
    /// Copies 16 values in storage (column-major) order.
    explicit CMatrix4x4(const double* values) noexcept {
        for (int i = 0; i < 16; ++i) m[i] = values[i];
    }
    /// The column-vector equivalent of a row-vector 3x3, z passed through.
    explicit CMatrix4x4(const CMatrix3x3& a) noexcept { a.GetMat16(m); }

    /// Resets to the identity.
    void Identity() noexcept { *this = CMatrix4x4(); }

    /// this * other: result(r, c) = sum over k of this(r, k) * other(k, c), k = 0..3.
    /// Applied to a column vector, other acts first.
    CMatrix4x4 operator*(const CMatrix4x4& other) const noexcept;

    /// v (x, y, z, w) becomes M * v.
    void Transform(double* v) const noexcept;
    /// The same on a homogeneous point.
    void Transform(CPoint4d& p) const noexcept;

    /// Inverts by Gauss-Jordan elimination with partial pivoting. Only an exactly
    /// zero pivot counts as singular: then out is set to the identity and the
    /// result is false. out may be this matrix.
    bool GetInverse(CMatrix4x4& out) const noexcept;
};

}  // namespace velmor::geometry

#endif
