#include <geometry/transformation.h>

#include <geometry/boundingbox.h>
#include <geometry/plane.h>
#include <geometry/quaternion.h>
#include <geometry/ray3d.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "detail/simd.h"

namespace velmor::geometry {

namespace {

// Below this a scale or determinant makes the transformation singular. A fixed
// constant of the class, independent of the global tolerances.
constexpr double SingularTol = 1e-15;

constexpr double IdentityMatrix[9] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

void SetIdentity3x3(double* m) noexcept {
    for (int i = 0; i < 9; ++i) m[i] = IdentityMatrix[i];
}

void SetColumns(double* m, const CUnitVector3d& x, const CUnitVector3d& y, const CUnitVector3d& z) noexcept {
    m[0] = x.x;
    m[1] = y.x;
    m[2] = z.x;
    m[3] = x.y;
    m[4] = y.y;
    m[5] = z.y;
    m[6] = x.z;
    m[7] = y.z;
    m[8] = z.z;
}

// Row r of the 3x3 part dotted with row s.
double RowDot(const double* m, std::size_t r, std::size_t s) noexcept {
    return (m[3 * r] * m[3 * s] + m[3 * r + 1] * m[3 * s + 1]) + m[3 * r + 2] * m[3 * s + 2];
}

}  // namespace

CTransformation::CTransformation() noexcept
    : matrix{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0},
      translation{0.0, 0.0, 0.0},
      scale(1.0),
      isIdentity(true),
      isOrthogonal(true) {}

CTransformation::CTransformation(const CUnitVector3d& xAxis, const CUnitVector3d& yAxis, const CUnitVector3d& zAxis,
                                 const CPoint3d& origin) noexcept
    : matrix{}, translation{origin.x, origin.y, origin.z}, scale(1.0), isIdentity(false), isOrthogonal(true) {
    SetColumns(matrix, xAxis, yAxis, zAxis);
}

CTransformation::CTransformation(const CPoint3d& origin, const CUnitVector3d& zAxis) noexcept
    : matrix{}, translation{origin.x, origin.y, origin.z}, scale(1.0), isIdentity(false), isOrthogonal(true) {
    CUnitVector3d xAxis;
    CUnitVector3d yAxis;
    zAxis.GetArbitraryAxes(xAxis, yAxis);
    SetColumns(matrix, xAxis, yAxis, zAxis);
}

CTransformation::CTransformation(const double* m16) noexcept
    : matrix{}, translation{}, scale(1.0), isIdentity(false), isOrthogonal(false) {
    SetMatrix(m16);
}

void CTransformation::Identity() noexcept { *this = CTransformation(); }

void CTransformation::SetMatrix(const double* m16) noexcept {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) matrix[3 * i + j] = m16[4 * j + i];
        translation[i] = m16[12 + i];
    }
    scale = 1.0 / m16[15];
    isIdentity = false;
    isOrthogonal = false;
}

void CTransformation::SetMatrixf(const float* m16) noexcept {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) matrix[3 * i + j] = static_cast<double>(m16[4 * j + i]);
        translation[i] = static_cast<double>(m16[12 + i]);
    }
    scale = 1.0 / static_cast<double>(m16[15]);
    isIdentity = false;
    isOrthogonal = false;
}

void CTransformation::GetMatrix(double* m16) const noexcept {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m16[4 * j + i] = matrix[3 * i + j];
        m16[4 * i + 3] = 0.0;
        m16[12 + i] = translation[i];
    }
    m16[15] = 1.0 / scale;
}

void CTransformation::GetMatrixf(float* m16) const noexcept {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m16[4 * j + i] = static_cast<float>(matrix[3 * i + j]);
        m16[4 * i + 3] = 0.0f;
        m16[12 + i] = static_cast<float>(translation[i]);
    }
    m16[15] = static_cast<float>(1.0 / scale);
}

bool CTransformation::SetTransformation(const double* m9, const double* t3, double s) noexcept {
    isIdentity = false;
    for (int i = 0; i < 9; ++i) matrix[i] = m9[i];
    for (int i = 0; i < 3; ++i) translation[i] = t3[i];
    scale = s;
    if (IsReallyIdentity()) Identity();
    return ResynchOrthogonal();
}

void CTransformation::Translation(const CVector3d& v) noexcept {
    SetIdentity3x3(matrix);
    scale = 1.0;
    translation[0] = v.x;
    translation[1] = v.y;
    translation[2] = v.z;
    isIdentity = false;
    isOrthogonal = true;
}

void CTransformation::Translation(const CPoint3d& p) noexcept {
    if (!isIdentity) {  // an identity already holds the unit matrix and scale
        SetIdentity3x3(matrix);
        scale = 1.0;
    }
    translation[0] = p.x;
    translation[1] = p.y;
    translation[2] = p.z;
    isIdentity = false;
    isOrthogonal = true;
}

void CTransformation::Rotation(const CPoint3d& p, const CUnitVector3d& axis, double angle) noexcept {
    const double x = axis.x, y = axis.y, z = axis.z;
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    const double k = 1.0 - c;
    double* m = matrix;
    m[0] = (1.0 - x * x) * c + x * x;
    m[1] = x * y * k - z * s;
    m[2] = x * z * k + y * s;
    m[3] = x * y * k + z * s;
    m[4] = (1.0 - y * y) * c + y * y;
    m[5] = y * z * k - x * s;
    m[6] = x * z * k - y * s;
    m[7] = y * z * k + x * s;
    m[8] = (1.0 - z * z) * c + z * z;
    // p - matrix * p, so that the axis line stays fixed.
    translation[0] = p.x - ((m[0] * p.x + m[1] * p.y) + m[2] * p.z);
    translation[1] = p.y - ((m[3] * p.x + m[4] * p.y) + m[5] * p.z);
    translation[2] = p.z - ((m[6] * p.x + m[7] * p.y) + m[8] * p.z);
    scale = 1.0;
    isIdentity = false;
    isOrthogonal = true;
}

void CTransformation::Scaling(double s) noexcept {
    if (!isIdentity) {
        SetIdentity3x3(matrix);
        ClearTranslation();
    }
    scale = s;
    isIdentity = false;
    isOrthogonal = true;
}

void CTransformation::Scaling(double sx, double sy, double sz) noexcept {
    if (!isIdentity) {
        SetIdentity3x3(matrix);
        ClearTranslation();
    }
    matrix[0] = sx;
    matrix[4] = sy;
    matrix[8] = sz;
    scale = 1.0;
    isIdentity = false;
    isOrthogonal = false;
}

void CTransformation::ClearRotation() noexcept { SetIdentity3x3(matrix); }

CTransformation CTransformation::Translate(const CVector3d& v) noexcept {
    CTransformation t;
    t.Translation(v);
    return t;
}

CTransformation CTransformation::Translate(const CPoint3d& p) noexcept { return Translate(CVector3d(p.x, p.y, p.z)); }

CTransformation CTransformation::Rotate(const CPoint3d& p, const CUnitVector3d& axis, double angle) noexcept {
    CTransformation t;
    t.Rotation(p, axis, angle);
    return t;
}

CTransformation CTransformation::Scale(double s) noexcept {
    CTransformation t;
    t.Scaling(s);
    return t;
}

CTransformation CTransformation::Scale(double sx, double sy, double sz) noexcept {
    CTransformation t;
    t.Scaling(sx, sy, sz);
    return t;
}

CTransformation CTransformation::Scale(const CPoint3d& p, double s) noexcept {
    const CTransformation t = Translate(p);
    return (t * Scale(s)) * Inverse(t);
}

CTransformation CTransformation::Scale(const CPoint3d& p, double sx, double sy, double sz) noexcept {
    const CTransformation t = Translate(p);
    return (t * Scale(sx, sy, sz)) * Inverse(t);
}

CTransformation CTransformation::Inverse(const CTransformation& a) noexcept {
    CTransformation r(a);
    r.Invert();
    return r;
}

CTransformation CTransformation::Interpolate(const CTransformation& a, const CTransformation& b, double t) noexcept {
    if (std::fabs(t) < EqualTol) return a;
    if (std::fabs(t - 1.0) < EqualTol) return b;
    CTransformation r(b);  // b's scale and flags: the scale is not interpolated
    const CPoint3d ta(a.translation[0], a.translation[1], a.translation[2]);
    const CPoint3d tb(b.translation[0], b.translation[1], b.translation[2]);
    const CPoint3d blended(1.0 - t, ta, t, tb);
    r.translation[0] = blended.x;
    r.translation[1] = blended.y;
    r.translation[2] = blended.z;
    const Quaternion q = Quaternion::Slerp(Quaternion(a.matrix), Quaternion(b.matrix), t);
    q.Set(r.matrix);
    return r;
}

CTransformation CTransformation::operator*(const CTransformation& b) const noexcept {
    // Only the left operand's flag short-cuts: an identity-flagged right operand is
    // multiplied out like any other.
    if (isIdentity) return b;
    CTransformation r;
    const double* A = matrix;
    const double* B = b.matrix;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            r.matrix[3 * i + j] = (A[3 * i] * B[j] + A[3 * i + 1] * B[3 + j]) + A[3 * i + 2] * B[6 + j];
        }
        r.translation[i] =
            ((A[3 * i] * b.translation[0] + A[3 * i + 1] * b.translation[1]) + A[3 * i + 2] * b.translation[2]) +
            translation[i] / b.scale;
    }
    r.scale = scale * b.scale;
    r.isIdentity = false;
    r.isOrthogonal = isOrthogonal && b.isOrthogonal;
    return r;
}

void CTransformation::Invert() noexcept {
    if (isIdentity) return;
    if (std::fabs(scale) < SingularTol) return;
    if (!Invert3x3()) return;
    const double* m = matrix;
    const double tx = translation[0], ty = translation[1], tz = translation[2];
    translation[0] = -scale * ((m[0] * tx + m[1] * ty) + m[2] * tz);
    translation[1] = -scale * ((m[3] * tx + m[4] * ty) + m[5] * tz);
    translation[2] = -scale * ((m[6] * tx + m[7] * ty) + m[8] * tz);
    scale = 1.0 / scale;
}

bool CTransformation::Invert3x3() noexcept {
    double* m = matrix;
    if (isOrthogonal) {  // trusted: a rotation's inverse is its transpose
        double t = m[1];
        m[1] = m[3];
        m[3] = t;
        t = m[2];
        m[2] = m[6];
        m[6] = t;
        t = m[5];
        m[5] = m[7];
        m[7] = t;
        return true;
    }
    const double d = GetDeterminant();
    if (std::fabs(d) < SingularTol) return false;
    const double adj[9] = {
        m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
        m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
        m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3],
    };
    for (int i = 0; i < 9; ++i) m[i] = adj[i] / d;
    return true;
}

bool CTransformation::operator==(const CTransformation& b) const noexcept {
    // Column by column, then translation, then scale.
    for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < 3; ++i) {
            if (!(std::fabs(matrix[3 * i + j] - b.matrix[3 * i + j]) < EqualTol)) return false;
        }
    }
    for (int i = 0; i < 3; ++i) {
        if (!(std::fabs(translation[i] - b.translation[i]) < EqualTol)) return false;
    }
    return std::fabs(scale - b.scale) < EqualTol;
}

double CTransformation::ZRotation() const noexcept {
    const CUnitVector3d zt = Z();
    const CTransformation frame(T(), zt);
    return zt.CCWAngleBetween(frame.X(), X());
}

double CTransformation::GetDeterminant() const noexcept {
    const double* m = matrix;
    return (m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6])) +
           m[2] * (m[3] * m[7] - m[4] * m[6]);
}

bool CTransformation::IsSingular() const noexcept {
    if (isOrthogonal) return false;
    return std::fabs(GetDeterminant()) < SingularTol;
}

bool CTransformation::IsInvertible() const noexcept {
    if (isIdentity) return true;
    if (std::fabs(scale) < SingularTol) return false;
    if (isOrthogonal) return true;
    return std::fabs(GetDeterminant()) >= SingularTol;
}

bool CTransformation::IsRotationReallyIdentity() const noexcept {
    for (int i = 0; i < 9; ++i) {
        if (!(std::fabs(matrix[i] - IdentityMatrix[i]) < EqualTol)) return false;
    }
    return true;
}

bool CTransformation::IsReallyIdentity() noexcept {
    return IsRotationReallyIdentity() && std::fabs(translation[0]) < EqualTol && std::fabs(translation[1]) < EqualTol &&
           std::fabs(translation[2]) < EqualTol && std::fabs(scale - 1.0) < EqualTol;
}

bool CTransformation::IsOrthogonal() const noexcept {
    if (isIdentity) return true;
    // Squared row lengths against the linear tolerance, deliberately.
    for (int r = 0; r < 3; ++r) {
        if (!(std::fabs(RowDot(matrix, r, r) - 1.0) < EqualTol)) return false;
    }
    return std::fabs(RowDot(matrix, 0, 1)) < EqualTol && std::fabs(RowDot(matrix, 0, 2)) < EqualTol &&
           std::fabs(RowDot(matrix, 1, 2)) < EqualTol;
}

bool CTransformation::IsOrthonormal() const noexcept {
    const CUnitVector3d x = X(), y = Y(), z = Z();
    return std::fabs(Dot(x, y)) < EqualTol && std::fabs(Dot(x, z)) < EqualTol && std::fabs(Dot(y, z)) < EqualTol;
}

bool CTransformation::IsMirrored() const noexcept {
    const CUnitVector3d x = X(), y = Y(), z = Z();
    return Dot(x * y, z) < 0.0;
}

bool CTransformation::IsValidObj() const noexcept {
    for (double v : matrix) {
        if (!std::isfinite(v)) return false;
    }
    for (double v : translation) {
        if (!std::isfinite(v)) return false;
    }
    return std::isfinite(scale);
}

void CTransformation::FixOrthogonal() noexcept {
    if (IsRotationReallyIdentity()) {
        SetIdentity3x3(matrix);
        return;
    }
    CUnitVector3d x = X(), y = Y();
    const CUnitVector3d z = Z();
    // Z keeps its direction; X and Y are rebuilt around it with the same handedness.
    if (!IsMirrored()) {
        y = z * x;
        x = y * z;
    } else {
        x = z * y;
        y = x * z;
    }
    SetColumns(matrix, x, y, z);
}

bool CTransformation::ResynchOrthogonal() noexcept {
    isOrthogonal = IsOrthogonal();
    if (isOrthogonal && !isIdentity) FixOrthogonal();
    return isOrthogonal;
}

// ---------------------------------------------------------------------------
// Arrays of points and vectors.
//
// Two points (six doubles) fill three SSE2 registers, four points three AVX
// registers; they are regrouped into x, y and z lanes, carried through exactly the
// operations of Transform(CPoint3d&) in the same order, and regrouped back. Every
// lane is an IEEE double operation like the scalar one, so the bits agree with the
// single-item call on every path.

namespace {

// The placement's numbers as locals shared by the kernels.
struct Placement {
    double m[9];
    double t[3];
    double s;
};

Placement ReadPlacement(const CTransformation& x) noexcept {
    Placement p{};
    for (int i = 0; i < 9; ++i) p.m[i] = x.matrix[i];
    for (int i = 0; i < 3; ++i) p.t[i] = x.translation[i];
    p.s = x.scale;
    return p;
}

// One point or vector (translate false) in scalar arithmetic: the tail of the
// vector kernels and the whole loop where they are unavailable.
template <bool translate>
inline void ApplyOne(const Placement& p, const double* in, double* out) noexcept {
    const double x = in[0], y = in[1], z = in[2];
    if (translate) {
        out[0] = (((p.m[0] * x + p.m[1] * y) + p.m[2] * z) + p.t[0]) * p.s;
        out[1] = (((p.m[3] * x + p.m[4] * y) + p.m[5] * z) + p.t[1]) * p.s;
        out[2] = (((p.m[6] * x + p.m[7] * y) + p.m[8] * z) + p.t[2]) * p.s;
    } else {
        out[0] = ((p.m[0] * x + p.m[1] * y) + p.m[2] * z) * p.s;
        out[1] = ((p.m[3] * x + p.m[4] * y) + p.m[5] * z) * p.s;
        out[2] = ((p.m[6] * x + p.m[7] * y) + p.m[8] * z) * p.s;
    }
}

#ifdef PLENAR_X86_64

// n triples from in to out, two at a time; returns how many were done.
template <bool translate>
std::size_t ApplySse2(const Placement& p, const double* in, std::size_t n, double* out) noexcept {
    __m128d m[9];
    for (int i = 0; i < 9; ++i) m[i] = _mm_set1_pd(p.m[i]);
    const __m128d t0 = _mm_set1_pd(p.t[0]), t1 = _mm_set1_pd(p.t[1]), t2 = _mm_set1_pd(p.t[2]);
    const __m128d s = _mm_set1_pd(p.s);
    std::size_t i = 0;
    for (; i + 2 <= n; i += 2, in += 6, out += 6) {
        const __m128d a = _mm_loadu_pd(in);      // x0 y0
        const __m128d b = _mm_loadu_pd(in + 2);  // z0 x1
        const __m128d c = _mm_loadu_pd(in + 4);  // y1 z1
        const __m128d x = _mm_shuffle_pd(a, b, 2);
        const __m128d y = _mm_shuffle_pd(a, c, 1);
        const __m128d z = _mm_shuffle_pd(b, c, 2);
        __m128d rx = _mm_add_pd(_mm_add_pd(_mm_mul_pd(m[0], x), _mm_mul_pd(m[1], y)), _mm_mul_pd(m[2], z));
        __m128d ry = _mm_add_pd(_mm_add_pd(_mm_mul_pd(m[3], x), _mm_mul_pd(m[4], y)), _mm_mul_pd(m[5], z));
        __m128d rz = _mm_add_pd(_mm_add_pd(_mm_mul_pd(m[6], x), _mm_mul_pd(m[7], y)), _mm_mul_pd(m[8], z));
        if (translate) {
            rx = _mm_add_pd(rx, t0);
            ry = _mm_add_pd(ry, t1);
            rz = _mm_add_pd(rz, t2);
        }
        rx = _mm_mul_pd(rx, s);
        ry = _mm_mul_pd(ry, s);
        rz = _mm_mul_pd(rz, s);
        _mm_storeu_pd(out, _mm_unpacklo_pd(rx, ry));
        _mm_storeu_pd(out + 2, _mm_shuffle_pd(rz, rx, 2));
        _mm_storeu_pd(out + 4, _mm_unpackhi_pd(ry, rz));
    }
    return i;
}

// The same four at a time, for processors with AVX.
template <bool translate>
__attribute__((target("avx"))) std::size_t ApplyAvx(const Placement& p, const double* in, std::size_t n,
                                                    double* out) noexcept {
    __m256d m[9];
    for (int i = 0; i < 9; ++i) m[i] = _mm256_set1_pd(p.m[i]);
    const __m256d t0 = _mm256_set1_pd(p.t[0]), t1 = _mm256_set1_pd(p.t[1]), t2 = _mm256_set1_pd(p.t[2]);
    const __m256d s = _mm256_set1_pd(p.s);
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4, in += 12, out += 12) {
        const __m256d l0 = _mm256_loadu_pd(in);      // x0 y0 z0 x1
        const __m256d l1 = _mm256_loadu_pd(in + 4);  // y1 z1 x2 y2
        const __m256d l2 = _mm256_loadu_pd(in + 8);  // z2 x3 y3 z3
        // Points 0-1 in the low halves, points 2-3 in the high halves.
        const __m256d a = _mm256_permute2f128_pd(l0, l1, 0x30);  // x0 y0 | x2 y2
        const __m256d b = _mm256_permute2f128_pd(l0, l2, 0x21);  // z0 x1 | z2 x3
        const __m256d c = _mm256_permute2f128_pd(l1, l2, 0x30);  // y1 z1 | y3 z3
        const __m256d x = _mm256_shuffle_pd(a, b, 0xA);
        const __m256d y = _mm256_shuffle_pd(a, c, 0x5);
        const __m256d z = _mm256_shuffle_pd(b, c, 0xA);
        __m256d rx =
            _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(m[0], x), _mm256_mul_pd(m[1], y)), _mm256_mul_pd(m[2], z));
        __m256d ry =
            _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(m[3], x), _mm256_mul_pd(m[4], y)), _mm256_mul_pd(m[5], z));
        __m256d rz =
            _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(m[6], x), _mm256_mul_pd(m[7], y)), _mm256_mul_pd(m[8], z));
        if (translate) {
            rx = _mm256_add_pd(rx, t0);
            ry = _mm256_add_pd(ry, t1);
            rz = _mm256_add_pd(rz, t2);
        }
        rx = _mm256_mul_pd(rx, s);
        ry = _mm256_mul_pd(ry, s);
        rz = _mm256_mul_pd(rz, s);
        const __m256d oa = _mm256_unpacklo_pd(rx, ry);      // x0 y0 | x2 y2
        const __m256d ob = _mm256_shuffle_pd(rz, rx, 0xA);  // z0 x1 | z2 x3
        const __m256d oc = _mm256_unpackhi_pd(ry, rz);      // y1 z1 | y3 z3
        _mm256_storeu_pd(out, _mm256_permute2f128_pd(oa, ob, 0x20));
        _mm256_storeu_pd(out + 4, _mm256_permute2f128_pd(oc, oa, 0x30));
        _mm256_storeu_pd(out + 8, _mm256_permute2f128_pd(ob, oc, 0x31));
    }
    return i;
}

using detail::HasAvx;

#endif

// n triples from in to out (in == out allowed) through the placement.
template <bool translate>
void ApplyAll(const Placement& p, const double* in, std::size_t n, double* out) noexcept {
    std::size_t done = 0;
#ifdef PLENAR_X86_64
    done = HasAvx() ? ApplyAvx<translate>(p, in, n, out) : ApplySse2<translate>(p, in, n, out);
#endif
    for (std::size_t i = done; i < n; ++i) ApplyOne<translate>(p, in + 3 * i, out + 3 * i);
}

}  // namespace

void CTransformation::TransformPoints(const CPoint3d* in, std::size_t n, CPoint3d* out) const noexcept {
    if (n == 0) return;
    if (isIdentity) {
        if (in != out) {
            for (std::size_t i = 0; i < n; ++i) out[i] = in[i];
        }
        return;
    }
    static_assert(sizeof(CPoint3d) == 3 * sizeof(double), "points are three packed doubles");
    ApplyAll<true>(ReadPlacement(*this), &in->x, n, &out->x);
}

void CTransformation::TransformVectors(CVector3d* vectors, std::size_t n) const noexcept {
    if (isIdentity || n == 0) return;
    static_assert(sizeof(CVector3d) == 3 * sizeof(double), "vectors are three packed doubles");
    ApplyAll<false>(ReadPlacement(*this), &vectors->x, n, &vectors->x);
}

// ---------------------------------------------------------------------------
// Planes, rays and boxes.

namespace {

// The plane (a, b, c, d) carried by the transformation whose inverse is inv: the
// normal through the transpose of the inverse's 3x3 part, the offset through its
// translation and scale. Written to out[0..3], not renormalised.
void TransformPlaneEquation(const CTransformation& inv, double a, double b, double c, double d, double* out) {
    const double* r = inv.matrix;
    const double* t = inv.translation;
    out[0] = a * r[0] + b * r[3] + c * r[6];
    out[1] = a * r[1] + b * r[4] + c * r[7];
    out[2] = a * r[2] + b * r[5] + c * r[8];
    out[3] = a * t[0] + b * t[1] + c * t[2] + d / inv.scale;
}

// The plane carried through the transformation whose inverse is inv, renormalised
// unless its normal collapsed.
inline void TransformPlaneWithInverse(const CTransformation& inv, CPlane& pl) noexcept {
    double eq[4];
    TransformPlaneEquation(inv, pl.a, pl.b, pl.c, pl.d, eq);
    const double len2 = eq[0] * eq[0] + eq[1] * eq[1] + eq[2] * eq[2];
    if (len2 > DivideByZeroTolSq) {
        const double s = 1.0 / std::sqrt(len2);
        eq[0] *= s;
        eq[1] *= s;
        eq[2] *= s;
        eq[3] *= s;
    }
    pl.a = eq[0];
    pl.b = eq[1];
    pl.c = eq[2];
    pl.d = eq[3];
}

}  // namespace

void CTransformation::Transform(CPlane& pl) const noexcept {
    if (isIdentity) return;
    // A plane moves with the inverse transpose. A singular transformation, whose
    // Invert leaves it as it is, transforms planes with itself.
    CTransformation inv = *this;
    inv.Invert();
    TransformPlaneWithInverse(inv, pl);
}

void CTransformation::TransformPlanes(CPlane* planes, std::size_t n) const noexcept {
    if (isIdentity || n == 0) return;
    // The inverse does not depend on the plane: compute it once.
    CTransformation inv = *this;
    inv.Invert();
    for (std::size_t i = 0; i < n; ++i) TransformPlaneWithInverse(inv, planes[i]);
}

void CTransformation::Transform(double* plane) const noexcept {
    if (isIdentity) return;
    CTransformation inv = *this;
    inv.Invert();
    TransformPlaneEquation(inv, plane[0], plane[1], plane[2], plane[3], plane);
}

double CTransformation::Transform(CRay3d& r) const noexcept {
    if (isIdentity) return 1.0;
    CPoint3d tip(r.origin, 1.0, r.direction);
    Transform(r.origin);
    Transform(tip);
    return r.direction.Set(r.origin, tip);
}

void CTransformation::Transform(CBoundingBox3d& box) const noexcept {
    if (isIdentity || box.x.min > box.x.max) return;
    const double mins[3] = {box.x.min, box.y.min, box.z.min};
    const double maxs[3] = {box.x.max, box.y.max, box.z.max};
    double lo[3];
    double hi[3];
    for (int i = 0; i < 3; ++i) {
        lo[i] = hi[i] = translation[i];
        for (int j = 0; j < 3; ++j) {
            const double e1 = matrix[3 * i + j] * mins[j];
            const double e2 = matrix[3 * i + j] * maxs[j];
            if (e2 > e1) {
                lo[i] += e1;
                hi[i] += e2;
            } else {
                lo[i] += e2;
                hi[i] += e1;
            }
        }
    }
    // Regrown from empty: a negative scale swaps the corners, and the box stays
    // ordered.
    CBoundingBox3d result;
    result.Clear();
    result.Add(CPoint3d(lo[0] * scale, lo[1] * scale, lo[2] * scale));
    result.Add(CPoint3d(hi[0] * scale, hi[1] * scale, hi[2] * scale));
    box = result;
}

CPlane CTransformation::operator*(const CPlane& pl) const noexcept {
    CPlane result = pl;
    Transform(result);
    return result;
}

CRay3d CTransformation::operator*(const CRay3d& r) const noexcept {
    CRay3d result = r;
    Transform(result);
    return result;
}

CBoundingBox3d CTransformation::operator*(const CBoundingBox3d& box) const noexcept {
    CBoundingBox3d result = box;
    Transform(result);
    return result;
}

}  // namespace velmor::geometry
