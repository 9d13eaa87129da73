#include <geometry/ray3d.h>

#include <geometry/mathutil.h>
#include <geometry/transformation.h>

#include <cmath>

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
