#include <geometry/quaternion.h>

#include <cmath>

namespace velmor::geometry {

namespace {

// Divides all four components by the norm ((x^2 + y^2) + z^2) + w^2, unguarded.
void NormalizeInPlace(Quaternion& q) noexcept {
    const double n = std::sqrt(((q.x * q.x + q.y * q.y) + q.z * q.z) + q.w * q.w);
    q.x /= n;
    q.y /= n;
    q.z /= n;
    q.w /= n;
}

// Above this the trace gives a well-conditioned w; at or below it the largest
// diagonal element is used instead.
constexpr double TraceThreshold = 1e-9;
// Closer than this to +-1 in cosine, slerp degenerates and blends linearly.
constexpr double SlerpThreshold = 1e-6;
// A quarter turn, truncated as the fallback interpolation has always used it.
constexpr double HalfPi = 1.570796326794896;

}  // namespace

Quaternion::Quaternion(double angle, const CUnitVector3d& axis) noexcept {
    const double half = angle * 0.5;
    const double s = std::sin(half);
    const double c = std::cos(half);
    x = axis.x * s;
    y = axis.y * s;
    z = axis.z * s;
    w = c;
    NormalizeInPlace(*this);
}

Quaternion::Quaternion(const double* m) noexcept {
    const double trace = ((1.0 + m[0]) + m[4]) + m[8];
    if (trace > TraceThreshold) {
        const double s = 2.0 * std::sqrt(trace);
        x = (m[7] - m[5]) / s;
        y = (m[2] - m[6]) / s;
        z = (m[3] - m[1]) / s;
        w = 0.25 * s;
    } else if (m[0] > m[4] && m[0] > m[8]) {  // strict: a tie falls through to a later axis
        const double s = 2.0 * std::sqrt(((1.0 + m[0]) - m[4]) - m[8]);
        x = 0.25 * s;
        y = (m[3] + m[1]) / s;
        z = (m[2] + m[6]) / s;
        w = (m[7] - m[5]) / s;
    } else if (m[4] > m[8]) {  // strict, as above
        const double s = 2.0 * std::sqrt(((1.0 + m[4]) - m[0]) - m[8]);
        x = (m[3] + m[1]) / s;
        y = 0.25 * s;
        z = (m[7] + m[5]) / s;
        w = (m[2] - m[6]) / s;
    } else {
        const double s = 2.0 * std::sqrt(((1.0 + m[8]) - m[0]) - m[4]);
        x = (m[2] + m[6]) / s;
        y = (m[7] + m[5]) / s;
        z = 0.25 * s;
        w = (m[3] - m[1]) / s;
    }
    NormalizeInPlace(*this);
}

void Quaternion::Set(double* m) const noexcept {
    m[0] = 1.0 - 2.0 * (y * y + z * z);
    m[1] = 2.0 * (x * y - z * w);
    m[2] = 2.0 * (x * z + y * w);
    m[3] = 2.0 * (x * y + z * w);
    m[4] = 1.0 - 2.0 * (x * x + z * z);
    m[5] = 2.0 * (y * z - x * w);
    m[6] = 2.0 * (x * z - y * w);
    m[7] = 2.0 * (y * z + x * w);
    m[8] = 1.0 - 2.0 * (x * x + y * y);
}

Quaternion Quaternion::Slerp(Quaternion a, Quaternion b, double t) noexcept {
    double d = ((a.x * b.x + a.y * b.y) + a.z * b.z) + a.w * b.w;
    if (d < 0.0) {
        // q and -q are the same rotation: turn a round to take the shorter arc.
        a.x = -a.x;
        a.y = -a.y;
        a.z = -a.z;
        a.w = -a.w;
        d = -d;
    }
    if (1.0 + d > SlerpThreshold) {
        double p;
        double q;
        if (1.0 - d > SlerpThreshold) {
            const double omega = std::acos(d);
            const double sinOmega = std::sin(omega);
            p = std::sin((1.0 - t) * omega) / sinOmega;
            q = std::sin(t * omega) / sinOmega;
        } else {
            p = 1.0 - t;
            q = t;
        }
        return {p * a.x + q * b.x, p * a.y + q * b.y, p * a.z + q * b.z, p * a.w + q * b.w};
    }
    // Opposite rotations: interpolate towards a quaternion perpendicular to a. After
    // the shorter-arc turn only a NaN input gets here; the branch is kept whole.
    const Quaternion bp(-b.y, b.x, -b.w, b.z);
    const double p = std::sin((1.0 - t) * HalfPi);
    const double q = std::sin(t * HalfPi);
    return {p * a.x + q * bp.x, p * a.y + q * bp.y, p * a.z + q * bp.z, p * a.w + q * bp.w};
}

void Quaternion::GetAxisAndAngle(CVector3d& axis, double& angle) const noexcept {
    angle = 2.0 * std::acos(w);
    const double s = std::sin(angle * 0.5);
    axis = CVector3d(x / s, y / s, z / s);
}

}  // namespace velmor::geometry
