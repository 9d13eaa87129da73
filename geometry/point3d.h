/// \file
/// CPoint3d: a 3D position of three doubles.
///
/// Tolerances: Equals(p, tol) is strict everywhere (each |d| < tol and the squared
/// distance < tol*tol); the tolerant order operator< / operator> is inclusive at
/// +-EqualTol, so the two are deliberately not complementary at the boundary.
/// IsOn tests are strict against EqualTol. DistanceTo returns exactly 0.0 when the
/// squared distance is at or below DivideByZeroTolSq.
#ifndef PLENAR_GEOMETRY_POINT3D_H
#define PLENAR_GEOMETRY_POINT3D_H

#include <geometry/export.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cmath>
#include <iosfwd>
#include <vector>

namespace velmor::geometry {

class CRay3d;
class CPlane;

/// Where two segments p1-p2 and p3-p4 meet, as CPoint3d::Intersect reports it:
/// one bit for the first segment or-ed with one for the second.
enum ESegmentMeeting : int {
    NoMeeting = 0,
    MeetAtP1 = 1,
    MeetAtP2 = 2,
    MeetInsideP1P2 = 4,
    MeetAtP3 = 8,
    MeetAtP4 = 16,
    MeetInsideP3P4 = 32
};

/// A 3D position of three doubles. The origin by default; see the file description for the tolerance contract.
class PLENAR_API CPoint3d {
public:
    double x;
    double y;
    double z;

    /// The origin.
    constexpr CPoint3d() noexcept : x(0.0), y(0.0), z(0.0) {}
    /// The point (x, y, z).
    constexpr CPoint3d(double x_, double y_, double z_) noexcept : x(x_), y(y_), z(z_) {}
    /// The weighted sum a*p + b*q, each coordinate evaluated as b*q + a*p; the
    /// weights are not normalised.
    constexpr CPoint3d(double a, const CPoint3d& p, double b, const CPoint3d& q) noexcept
        : x(b * q.x + a * p.x), y(b * q.y + a * p.y), z(b * q.z + a * p.z) {}
    /// p + d*u.
    constexpr CPoint3d(const CPoint3d& p, double d, const CUnitVector3d& u) noexcept
        : x(p.x + d * u.x), y(p.y + d * u.y), z(p.z + d * u.z) {}
    /// p + v.
    constexpr CPoint3d(const CPoint3d& p, const CVector3d& v) noexcept : x(p.x + v.x), y(p.y + v.y), z(p.z + v.z) {}

    /// Moves this point by v.
    CPoint3d& operator+=(const CVector3d& v) noexcept {
        x += v.x;
        y += v.y;
        z += v.z;
        return *this;
    }
    /// Moves this point by -v.
    CPoint3d& operator-=(const CVector3d& v) noexcept {
        x -= v.x;
        y -= v.y;
        z -= v.z;
        return *this;
    }
    /// This point moved by v.
    constexpr CPoint3d operator+(const CVector3d& v) const noexcept { return {x + v.x, y + v.y, z + v.z}; }
    /// This point moved by -v.
    constexpr CPoint3d operator-(const CVector3d& v) const noexcept { return {x - v.x, y - v.y, z - v.z}; }
    /// Component-wise sum of two positions.
    constexpr CPoint3d operator+(const CPoint3d& p) const noexcept { return {x + p.x, y + p.y, z + p.z}; }
    /// The vector from p to this point.
    constexpr CVector3d operator-(const CPoint3d& p) const noexcept { return {x - p.x, y - p.y, z - p.z}; }

    /// Sets this point to p + d*u.
    void Offset(const CPoint3d& p, double d, const CUnitVector3d& u) noexcept { *this = CPoint3d(p, d, u); }
    /// Sets this point to p + v.
    void Offset(const CPoint3d& p, const CVector3d& v) noexcept { *this = CPoint3d(p, v); }
    /// This point moved by d along u.
    constexpr CPoint3d Offset(double d, const CUnitVector3d& u) const noexcept { return CPoint3d(*this, d, u); }
    /// This point moved by v.
    constexpr CPoint3d Offset(const CVector3d& v) const noexcept { return CPoint3d(*this, v); }

    /// Strict: |dx| < tol, |dy| < tol, |dz| < tol (in that order, stopping at the
    /// first failure), and the squared distance < tol*tol.
    bool Equals(const CPoint3d& p, double tol) const noexcept {
        const double dx = x - p.x;
        if (!(std::fabs(dx) < tol)) return false;
        const double dy = y - p.y;
        if (!(std::fabs(dy) < tol)) return false;
        const double dz = z - p.z;
        if (!(std::fabs(dz) < tol)) return false;
        return dx * dx + dy * dy + dz * dz < tol * tol;
    }

    /// Squared distance to p, summed as (dx*dx + dy*dy) + dz*dz; no guard.
    constexpr double DistanceSquaredTo(const CPoint3d& p) const noexcept {
        const double dx = x - p.x, dy = y - p.y, dz = z - p.z;
        return dx * dx + dy * dy + dz * dz;
    }
    /// Exactly 0.0 when the squared distance is at or below DivideByZeroTolSq.
    double DistanceTo(const CPoint3d& p) const noexcept {
        const double d2 = DistanceSquaredTo(p);
        return d2 > DivideByZeroTolSq ? std::sqrt(d2) : 0.0;
    }
    /// Squared distance to the infinite line through p along u: |(this - p) x u|^2,
    /// unguarded.
    double DistanceSquaredTo(const CPoint3d& p, const CUnitVector3d& u) const noexcept {
        return ((*this - p) * u).LengthSquared();
    }
    /// Distance to the infinite line through p along u; 0.0 when the squared
    /// distance is at or below DivideByZeroTolSq.
    double DistanceTo(const CPoint3d& p, const CUnitVector3d& u) const noexcept {
        const double d2 = DistanceSquaredTo(p, u);
        return d2 > DivideByZeroTolSq ? std::sqrt(d2) : 0.0;
    }
    /// On the infinite line through p along u: line distance < EqualTol (strict).
    bool IsOn(const CPoint3d& p, const CUnitVector3d& u) const noexcept { return DistanceTo(p, u) < EqualTol; }

    /// Distance to the ray's carrier line (the ray is taken as an infinite line).
    double DistanceTo(const CRay3d& r) const noexcept;
    /// Squared distance to the ray's carrier line, unguarded.
    double DistanceSquaredTo(const CRay3d& r) const noexcept;
    /// Unsigned distance to the plane.
    double DistanceTo(const CPlane& pl) const noexcept;
    /// On the ray's carrier line: line distance < EqualTol (strict).
    bool IsOn(const CRay3d& r) const noexcept;
    /// On the plane: plane distance < EqualTol (strict).
    bool IsOn(const CPlane& pl) const noexcept;
    /// The foot of the perpendicular on the ray's carrier line.
    CPoint3d ProjectTo(const CRay3d& r) const noexcept;
    /// The foot of the perpendicular on the plane.
    CPoint3d ProjectTo(const CPlane& pl) const noexcept;

    /// a when the squared distance to b is >= that to a (a tie selects a);
    /// otherwise, and whenever a distance is NaN, b.
    CPoint3d SelectClosest(const CPoint3d& a, const CPoint3d& b) const noexcept {
        return DistanceSquaredTo(b) >= DistanceSquaredTo(a) ? a : b;
    }

    /// Tolerant lexicographic order with e = EqualTol: true at dx <= -e, false at
    /// dx >= e, then the same on y, finally dz <= -e. Inclusive at +-e.
    bool operator<(const CPoint3d& p) const noexcept;
    /// The mirror of operator<: true at dx >= e, false at dx <= -e, ..., dz >= e.
    bool operator>(const CPoint3d& p) const noexcept;

    /// True when no coordinate is NaN or infinite.
    bool IsValidObj() const noexcept { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }

    /// Perspective projection towards an eye at distance d: false (unchanged) when
    /// |z| < DivideByZeroTol; otherwise scales all three by d / (d - z).
    bool Project(double d) noexcept;
    /// OpenGL-style projection: same guard; scales x, y by -d / z and sets z = -d.
    bool ProjectGL(double d) noexcept;

    /// Sets this point to the least-squares intersection of n planes. False, point
    /// unchanged, for fewer than three planes or a singular system. After a solve,
    /// false when some plane lies farther than EqualTol from the point (which keeps
    /// the solution); true when all are within EqualTol (inclusive).
    bool LeastSquaresFit(int n, CPlane* planes) noexcept;
    /// The same over a list of planes.
    bool LeastSquaresFit(const std::vector<CPlane>& planes) noexcept;
    /// The solver step of LeastSquaresFit, from the nine sums of plane coefficient
    /// products Saa, Sab, Sac, Sad, Sbb, Sbc, Sbd, Scc, Scd, eliminating x first.
    bool ComputeLSF(double& aa, double& ab, double& ac, double& ad, double& bb, double& bc, double& bd, double& cc,
                    double& cd) noexcept;

    /// Classifies the intersection of segments p1-p2 and p3-p4 and writes it into
    /// this point. The result or-s one ESegmentMeeting bit of each segment: MeetAtP1
    /// (1), MeetAtP2 (2) or MeetInsideP1P2 (4), with MeetAtP3 (8), MeetAtP4 (16) or
    /// MeetInsideP3P4 (32); NoMeeting (0) for none (then t and u, when given, are -1
    /// and this point is left unchanged).
    int Intersect(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3, const CPoint3d& p4, double* t,
                  double* u) noexcept;
    /// The same without parameters: true when the classifier is non-zero.
    bool Intersect(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3, const CPoint3d& p4) noexcept {
        return Intersect(p1, p2, p3, p4, nullptr, nullptr) != NoMeeting;
    }
};

/// Writes "(x, y, z)" with the stream's current formatting; no line end.
PLENAR_API std::ostream& operator<<(std::ostream& os, const CPoint3d& p);

}  // namespace velmor::geometry

#endif
