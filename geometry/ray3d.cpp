#include <geometry/ray3d.h>

#include <geometry/circle3d.h>
#include <geometry/mathutil.h>
#include <geometry/transformation.h>

#include <cmath>
#include <utility>

namespace velmor::geometry {

bool CRay3d::IsOn(const CRay3d& other) const noexcept {
    return origin.IsOn(other) && direction.IsParallelTo(other.direction);
}

bool CRay3d::IsOn(const CPlane& plane) const noexcept {
    return origin.IsOn(plane) && direction.IsPerpendicularTo(plane.Normal());
}

bool CRay3d::IntersectWith(const CRay3d& other, CPoint3d& p) const noexcept {
    CPoint3d q1(0.0, 0.0, 0.0);
    CPoint3d q2(0.0, 0.0, 0.0);
    const bool notParallel = ClosestPoint(origin, direction, other.origin, other.direction, q1, q2);
    p = CPoint3d(0.5, q1, 0.5, q2);
    return q1.Equals(q2, EqualTol) && notParallel;
}

bool CRay3d::IntersectWith(const CPoint3d& a, const CPoint3d& b, double& t) const noexcept {
    const CVector3d v = b - a;
    if (v.LengthSquared() < EqualTolSq) {
        // A segment shorter than the tolerance is its midpoint.
        const CPoint3d m((a.x + b.x) * 0.5, (a.y + b.y) * 0.5, (a.z + b.z) * 0.5);
        t = ParameterOfClosestPoint(m);
        return CPoint3d(origin, t, direction).Equals(m, EqualTol);
    }
    CVector3d w = v * direction;
    const double q2 = w.LengthSquared();
    if (std::fabs(q2) < DivideByZeroTol) {
        // Parallel: only whether a lies on the carrier line is asked.
        t = ParameterOfClosestPoint(a);
        return CPoint3d(origin, t, direction).Equals(a, EqualTol);
    }
    w = w / q2;
    // Parameter on the segment (0 at a, 1 at b) of its point nearest this line.
    const double s = Dot((origin - a) * direction, w);
    const CPoint3d q = a + v * s;
    if ((s < 0.0 || s > 1.0) && !q.Equals(a, EqualTol) && !q.Equals(b, EqualTol)) return false;
    t = ParameterOfClosestPoint(q);
    return true;
}

int CRay3d::IntersectWith(const CCircle3d& circle, CPoint3d& p1, CPoint3d& p2) const noexcept {
    const CPoint3d& c = circle.center;
    const double r2 = circle.radius * circle.radius;
    if (!IsOn(circle.plane)) {
        // Across the plane: the one crossing must lie on the circle.
        if (!circle.plane.IntersectWith(*this, p1)) return 0;
        return std::fabs(p1.DistanceSquaredTo(c) - r2) < EqualTolSq ? 1 : 0;
    }

    // In the plane: compare the centre's squared distance from the line with r^2.
    const CPoint3d foot(origin, ParameterOfClosestPoint(c), direction);
    p1 = foot;
    const double e = c.DistanceSquaredTo(foot);
    if (std::fabs(e - r2) < EqualTolSq) return 1;
    if (e > r2) return 0;

    // The chord runs along the line. Off the centre its sense is the one the
    // plane across the line at the foot yields with the circle's plane; should
    // that intersection fail, this line's direction stands in.
    CRay3d chord(foot, direction);
    if (!(e < EqualTolSq)) {
        const CPlane across(foot, CUnitVector3d(foot, c));
        across.IntersectWith(circle.plane, chord);
    }
    const double h = std::sqrt(r2 - e);
    p2 = foot + chord.direction * h;
    p1 = foot - chord.direction * h;
    return 2;
}

int CRay3d::IntersectWith(const CCircle3d& circle, double& angle1, double& angle2, CPoint3d* p1,
                          CPoint3d* p2) const noexcept {
    CPoint3d local1(0.0, 0.0, 0.0);
    CPoint3d local2(0.0, 0.0, 0.0);
    CPoint3d& q1 = p1 != nullptr ? *p1 : local1;
    CPoint3d& q2 = p2 != nullptr ? *p2 : local2;
    const int n = IntersectWith(circle, q1, q2);
    const CVector3d& x = circle.xAxis;
    const CUnitVector3d normal = circle.plane.Normal();
    if (n < 1) return n;
    const CUnitVector3d u1(circle.center, q1);
    angle1 = std::atan2(Dot(x * u1, normal), Dot(x, u1));
    if (n < 2) return n;
    const CUnitVector3d u2(circle.center, q2);
    angle2 = std::atan2(Dot(x * u2, normal), Dot(x, u2));
    if (angle1 > angle2) {
        std::swap(angle1, angle2);
        // The points follow their angles only when the caller asked for the first.
        if (p1 != nullptr) std::swap(q1, q2);
    }
    return n;
}

bool CRay3d::FindClosestPoints(const CRay3d& other, CPoint3d& p1, CPoint3d& p2) const noexcept {
    return ClosestPoint(origin, direction, other.origin, other.direction, p1, p2);
}

CRay3d& CRay3d::operator*=(const CTransformation& t) noexcept {
    origin = t * origin;
    direction = t * CVector3d(direction);
    return *this;
}

bool CRay3d::IntersectPlanes(const CPlane& p1, const CPlane& p2) noexcept {
    const CVector3d v = p1.Normal() * p2.Normal();
    if (v.Length() < DivideByZeroTol) return false;
    direction.Set(v.x, v.y, v.z);

    // Cramer's rule on the two plane equations with the dominant coordinate set to
    // zero; the un-normalised cross product is the determinant.
    const double a1 = p1.a, b1 = p1.b, c1 = p1.c, d1 = p1.d;
    const double a2 = p2.a, b2 = p2.b, c2 = p2.c, d2 = p2.d;
    const double ax = std::fabs(direction.x);
    const double ay = std::fabs(direction.y);
    const double az = std::fabs(direction.z);
    if (ax >= ay && ax >= az) {
        origin = CPoint3d(0.0, (c1 * d2 - c2 * d1) / v.x, (b2 * d1 - b1 * d2) / v.x);
    } else if (ay >= az) {
        origin = CPoint3d((c2 * d1 - c1 * d2) / v.y, 0.0, (a1 * d2 - a2 * d1) / v.y);
    } else {
        origin = CPoint3d((b1 * d2 - b2 * d1) / v.z, (a2 * d1 - a1 * d2) / v.z, 0.0);
    }
    return true;
}

}  // namespace velmor::geometry
