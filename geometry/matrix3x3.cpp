#include <geometry/matrix3x3.h>
#include <geometry/pmap.h>

#include <cmath>
#include <cstddef>
#include <utility>

namespace velmor::geometry {

namespace {

void ToRows(const double* m, double (*rows)[3]) noexcept {
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) rows[r][c] = m[3 * r + c];
    }
}

void FromRows(const double (*rows)[3], double* m) noexcept {
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) m[3 * r + c] = rows[r][c];
    }
}

// The affine normalisation that ends every product, inverse and SetMat16: affine
// results are scaled to m[8] = 1, projective ones are left unscaled.
void NormalizeIfAffine(CMatrix3x3& a) noexcept {
    if (a.IsAffine()) a.Normalize();
}

}  // namespace

CMatrix3x3 CMatrix3x3::Rotation(double angle) noexcept {
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    CMatrix3x3 r;
    r.m[0] = c;
    r.m[1] = s;
    r.m[3] = -s;
    r.m[4] = c;
    return r;
}

CMatrix3x3 CMatrix3x3::Scaling(double sx, double sy) noexcept {
    CMatrix3x3 r;
    r.m[0] = sx;
    r.m[4] = sy;
    return r;
}

CMatrix3x3 CMatrix3x3::Translation(double tx, double ty) noexcept {
    CMatrix3x3 r;
    r.m[6] = tx;
    r.m[7] = ty;
    return r;
}

CMatrix3x3 CMatrix3x3::Shearing(double shx, double shy) noexcept {
    CMatrix3x3 r;
    r.m[1] = shy;
    r.m[3] = shx;
    return r;
}

void CMatrix3x3::GetMat16(double* out) const noexcept {
    out[0] = m[0];
    out[1] = m[1];
    out[2] = 0.0;
    out[3] = m[2];
    out[4] = m[3];
    out[5] = m[4];
    out[6] = 0.0;
    out[7] = m[5];
    out[8] = 0.0;
    out[9] = 0.0;
    out[10] = 1.0;
    out[11] = 0.0;
    out[12] = m[6];
    out[13] = m[7];
    out[14] = 0.0;
    out[15] = m[8];
}

void CMatrix3x3::SetMat16(const double* in) noexcept {
    m[0] = in[0];
    m[1] = in[1];
    m[2] = in[3];
    m[3] = in[4];
    m[4] = in[5];
    m[5] = in[7];
    m[6] = in[12];
    m[7] = in[13];
    m[8] = in[15];
    NormalizeIfAffine(*this);
}

bool CMatrix3x3::Normalize() noexcept {
    const double tol = EqualTolSq;
    if (std::fabs(m[8]) < tol) return false;
    if (std::fabs(m[8] - 1.0) <= tol) return true;  // inclusive: already normalised
    const double s = 1.0 / m[8];
    for (double& v : m) v *= s;
    return true;
}

bool CMatrix3x3::IsIdentity() const noexcept {
    const double tol = EqualTolSq;
    for (int i = 0; i < 9; ++i) {
        if (i % 4 == 0) {
            if (!(std::fabs(m[i] - 1.0) <= tol)) return false;  // diagonal: inclusive
        } else {
            if (!(std::fabs(m[i]) < tol)) return false;  // off-diagonal: strict
        }
    }
    return true;
}

bool CMatrix3x3::Equals(const CMatrix3x3& other, double tol) const noexcept {
    for (int i = 0; i < 9; ++i) {
        if (!(std::fabs(m[i] - other.m[i]) <= tol)) return false;
    }
    return true;
}

CMatrix3x3 CMatrix3x3::Inverse(const CMatrix3x3& a) noexcept {
    double rows[3][3];
    double adj[3][3];
    ToRows(a.m, rows);
    const double d = mx3d_adjoint(rows, adj);
    CMatrix3x3 result;
    FromRows(adj, result.m);
    // Inclusive: a scalar of exactly EqualTolSq still divides. Below it the adjoint
    // itself is the answer, which for an affine matrix normalises to the inverse.
    if (std::fabs(d) >= EqualTolSq) {
        for (double& v : result.m) v /= d;
    }
    NormalizeIfAffine(result);
    return result;
}

CMatrix3x3 CMatrix3x3::operator*(const CMatrix3x3& other) const noexcept {
    double a[3][3];
    double b[3][3];
    double c[3][3];
    ToRows(m, a);
    ToRows(other.m, b);
    mx3d_mul(a, b, c);
    CMatrix3x3 result;
    FromRows(c, result.m);
    NormalizeIfAffine(result);
    return result;
}

void CMatrix3x3::Transform(double* p) const noexcept {
    double rows[3][3];
    double q[3];
    ToRows(m, rows);
    mx3d_transform(p, rows, q);
    p[0] = q[0];
    p[1] = q[1];
    p[2] = q[2];
}

CMatrix4x4 CMatrix4x4::operator*(const CMatrix4x4& other) const noexcept {
    CMatrix4x4 result;
    for (std::size_t c = 0; c < 4; ++c) {
        for (std::size_t r = 0; r < 4; ++r) {
            result.m[4 * c + r] = m[r] * other.m[4 * c] + m[4 + r] * other.m[4 * c + 1] +
                                  m[8 + r] * other.m[4 * c + 2] + m[12 + r] * other.m[4 * c + 3];
        }
    }
    return result;
}

void CMatrix4x4::Transform(double* v) const noexcept {
    double q[4];
    for (int r = 0; r < 4; ++r) q[r] = m[r] * v[0] + m[4 + r] * v[1] + m[8 + r] * v[2] + m[12 + r] * v[3];
    for (int r = 0; r < 4; ++r) v[r] = q[r];
}

void CMatrix4x4::Transform(CPoint4d& p) const noexcept {
    double v[4] = {p.x, p.y, p.z, p.w};
    Transform(v);
    p.x = v[0];
    p.y = v[1];
    p.z = v[2];
    p.w = v[3];
}

bool CMatrix4x4::GetInverse(CMatrix4x4& out) const noexcept {
    // Work matrix [A | I]: row r is row r of A followed by row r of the identity.
    double work[4][8];
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            work[r][c] = m[4 * c + r];
            work[r][4 + c] = r == c ? 1.0 : 0.0;
        }
    }
    double* row[4] = {work[0], work[1], work[2], work[3]};

    // Forward elimination, one column at a time.
    for (int k = 0; k < 4; ++k) {
        // Partial pivoting by one bottom-up pass: each row is compared with the one
        // above it and the two swap only when the lower entry is strictly larger,
        // so among equal magnitudes the upper row stays the pivot. The pass also
        // fixes the order of the remaining rows, which later ties depend on.
        for (int i = 3; i > k; --i) {
            if (std::fabs(row[i][k]) > std::fabs(row[i - 1][k])) std::swap(row[i], row[i - 1]);
        }
        const double* pivot = row[k];
        // No tolerance: only an exactly zero pivot is singular.
        if (pivot[k] == 0.0) {
            out.Identity();
            return false;
        }
        for (int i = k + 1; i < 4; ++i) {
            const double f = row[i][k] / pivot[k];
            for (int j = k + 1; j < 4; ++j) row[i][j] -= f * pivot[j];
            // Augmented columns where the pivot row holds an exact 0 are skipped.
            for (int j = 4; j < 8; ++j) {
                if (pivot[j] != 0.0) row[i][j] -= f * pivot[j];
            }
        }
    }

    // Back substitution from the last row upward: each row, once the rows below it
    // have been taken out, is divided by its pivot and then taken out of the rows
    // above it.
    for (int i = 3; i >= 0; --i) {
        const double p = row[i][i];
        for (int j = 4; j < 8; ++j) row[i][j] /= p;
        for (int k = i - 1; k >= 0; --k) {
            const double f = row[k][i];
            for (int j = 4; j < 8; ++j) row[k][j] -= row[i][j] * f;
        }
    }

    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) out.m[4 * c + r] = row[r][4 + c];
    }
    return true;
}

}  // namespace velmor::geometry
