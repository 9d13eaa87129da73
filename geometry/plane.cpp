#include <geometry/plane.h>

#include <geometry/circle3d.h>
#include <geometry/point2d.h>
#include <geometry/ray3d.h>

#include <cmath>

namespace velmor::geometry {

namespace {

// Whether a normal component is +1 (sign 1) or -1 (sign -1) within EqualTol, strict.
inline bool IsAxisComponent(double v, double sign) { return std::fabs(v - sign) < EqualTol; }

// Coordinate 0 (x), 1 (y) or 2 (z) of p.
inline double Coordinate(const CPoint3d& p, int axis) { return axis == 0 ? p.x : axis == 1 ? p.y : p.z; }

}  // namespace

CPlane::CPlane(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3) noexcept : CPlane() {
    Set(p1, CUnitVector3d((p2 - p1) * (p3 - p1)));
}

void CPlane::Set(double a_, double b_, double c_, double d_) noexcept {
    const double len2 = a_ * a_ + b_ * b_ + c_ * c_;
    if (len2 > DivideByZeroTolSq) {
        const double inv = 1.0 / std::sqrt(len2);
        a = a_ * inv;
        b = b_ * inv;
        c = c_ * inv;
        d = d_ * inv;
    } else {
        a = b = c = 0.0;
        d = d_;
    }
}

CUnitVector3d CPlane::Project(const CUnitVector3d& v) const noexcept {
    const CPoint3d origin = Project(CPoint3d(0.0, 0.0, 0.0));
    const CPoint3d tip = Project(CPoint3d(v.x, v.y, v.z));
    return CUnitVector3d(tip - origin);
}

CRay3d CPlane::Project(const CRay3d& r) const noexcept { return CRay3d(Project(r.origin), Project(r.direction)); }

bool CPlane::IntersectWith(const CRay3d& r, double& t, double tol) const noexcept {
    const double den = a * r.direction.x + b * r.direction.y + c * r.direction.z;
    if (std::fabs(den) < tol) return false;
    t = -SignedDistance(r.origin) / den;
    return true;
}

bool CPlane::IntersectWith(const CRay3d& r, double& t) const noexcept { return IntersectWith(r, t, EqualTolSq); }

bool CPlane::IntersectWith(const CRay3d& r, CPoint3d& p, double tol) const noexcept {
    double t = 0.0;
    if (!IntersectWith(r, t, tol)) return false;
    p = CPoint3d(r.origin, t, r.direction);
    return true;
}

bool CPlane::IntersectWith(const CRay3d& r, CPoint3d& p) const noexcept { return IntersectWith(r, p, EqualTolSq); }

bool CPlane::IntersectWith(const CPoint3d& o, const CUnitVector3d& dir, CPoint3d& p) const noexcept {
    return IntersectWith(CRay3d(o, dir), p, EqualTolSq);
}

bool CPlane::IntersectWith(const CPlane& other, CRay3d& line) const noexcept {
    const CUnitVector3d n1 = Normal();
    const CUnitVector3d dir(n1 * other.Normal());
    if (!dir.IsValid()) return false;
    // From the foot of the world origin on this plane, walk within this plane
    // across the common line until the other plane is reached.
    const CPoint3d foot(-d * a, -d * b, -d * c);
    const CUnitVector3d across(n1 * dir);
    CPoint3d onBoth;
    if (!other.IntersectWith(CRay3d(foot, across), onBoth, EqualTolSq)) return false;
    line.origin = onBoth;
    line.direction = dir;
    return true;
}

int CPlane::IntersectWith(const CCircle3d& circle, CPoint3d& p1, CPoint3d& p2) const noexcept {
    CRay3d line;
    if (!IntersectWith(circle.plane, line)) return 0;
    return line.IntersectWith(circle, p1, p2);
}

int CPlane::IntersectWith(const CCircle3d& circle, double& angle1, double& angle2, CPoint3d* p1,
                          CPoint3d* p2) const noexcept {
    CRay3d line;
    if (!IntersectWith(circle.plane, line)) return 0;
    return line.IntersectWith(circle, angle1, angle2, p1, p2);
}

bool CPlane::IsAbove(const CBoundingBox3d& box) const noexcept {
    const double tol = EqualTol;
    // Axis-aligned planes, in the order c, a, b: the box must stay EqualTol clear.
    if (IsAxisComponent(c, 1.0)) return box.z.max + d <= -tol;
    if (IsAxisComponent(c, -1.0)) return box.z.min - d >= tol;
    if (IsAxisComponent(a, 1.0)) return box.x.max + d <= -tol;
    if (IsAxisComponent(a, -1.0)) return box.x.min - d >= tol;
    if (IsAxisComponent(b, 1.0)) return box.y.max + d <= -tol;
    if (IsAxisComponent(b, -1.0)) return box.y.min - d >= tol;

    const double s = SignedDistance(box.GetCenter());
    if (s > 0.0) return false;
    if (s * s > box.GetDiagonalSquared()) return true;
    // Inconclusive from the centre: a corner on the positive side answers true.
    // Callers depend on this corner rule as it is, though it reads the opposite
    // way from the axis-aligned tests above.
    for (int i = 0; i < 8; ++i) {
        if (SignedDistance(box.GetCorner(i)) > 0.0) return true;
    }
    return false;
}

namespace {

// The canonical sign rule: d, then c, b, a decide; a value at least EqualTol keeps,
// one at most -EqualTol flips, one strictly within passes on. When d, c and b are
// all within the tolerance, only a clearly negative a flips.
bool CanonicalFlip(const CPlane& pl) {
    const double tol = EqualTol;
    for (const double v : {pl.d, pl.c, pl.b}) {
        if (v >= tol) return false;
        if (v <= -tol) return true;
    }
    return pl.a <= -tol;
}

}  // namespace

CUnitVector3d CPlane::GetCanonicalNormal() const noexcept {
    CUnitVector3d n(a, b, c);
    if (CanonicalFlip(*this)) n.Reverse();
    return n;
}

void CPlane::SetCanonicalForm() noexcept {
    if (CanonicalFlip(*this)) Reverse();
}

CPoint3d CPlane::GetPoint() const noexcept {
    if (std::fabs(d) < EqualTol) return {0.0, 0.0, 0.0};
    return {-d * a, -d * b, -d * c};
}

CPoint2d CPlane::MapPoint(const CPoint3d& p) const noexcept {
    CPlane canonical = *this;
    canonical.SetCanonicalForm();
    const CPoint3d o = canonical.GetPoint();
    CUnitVector3d xAxis;
    CUnitVector3d yAxis;
    canonical.GetCanonicalNormal().GetArbitraryAxes(xAxis, yAxis);
    const CVector3d v = p - o;
    return {Dot(xAxis, v), Dot(yAxis, v)};
}

bool CPlane::Equals(const CPlane& other, bool oriented, double tol) const noexcept {
    bool flip = false;
    if (!oriented) {
        if (std::fabs(d) < EqualTol) {
            flip = a * other.a + b * other.b + c * other.c < 0.0;
        } else {
            flip = (d < 0.0) != (other.d < 0.0);
        }
    }
    const double s = flip ? -1.0 : 1.0;
    return std::fabs(s * a - other.a) <= tol && std::fabs(s * b - other.b) <= tol &&
           std::fabs(s * c - other.c) <= tol && std::fabs(s * d - other.d) <= tol;
}

CPlane& CPlane::operator+=(const CVector3d& v) noexcept {
    d = d - Dot(CUnitVector3d(a, b, c), v);
    return *this;
}

CPlane& CPlane::operator-=(const CVector3d& v) noexcept {
    d = d + Dot(CUnitVector3d(a, b, c), v);
    return *this;
}

bool CPlane::Evaluate(CPoint3d* pts, int n) noexcept {
    if (pts == nullptr || n < 3) return false;

    // Indices of the extreme points per axis; the first occurrence wins, and a
    // point is tried as a maximum only when it is not a new minimum.
    int minIdx[3] = {0, 0, 0};
    int maxIdx[3] = {0, 0, 0};
    for (int k = 1; k < n; ++k) {
        for (int axis = 0; axis < 3; ++axis) {
            const double v = Coordinate(pts[k], axis);
            if (v < Coordinate(pts[minIdx[axis]], axis)) {
                minIdx[axis] = k;
            } else if (v > Coordinate(pts[maxIdx[axis]], axis)) {
                maxIdx[axis] = k;
            }
        }
    }
    const double ex = std::fabs(pts[maxIdx[0]].x - pts[minIdx[0]].x);
    const double ey = std::fabs(pts[maxIdx[1]].y - pts[minIdx[1]].y);
    const double ez = std::fabs(pts[maxIdx[2]].z - pts[minIdx[2]].z);
    const int axis = (ez > ex && ez > ey) ? 2 : (ey > ex ? 1 : 0);
    if (minIdx[axis] == maxIdx[axis]) return false;
    const int lo = minIdx[axis] < maxIdx[axis] ? minIdx[axis] : maxIdx[axis];
    const int hi = minIdx[axis] < maxIdx[axis] ? maxIdx[axis] : minIdx[axis];

    CUnitVector3d u;
    if (u.Set(pts[hi], pts[lo]) < DivideByZeroTol) return false;

    // The third point spans the largest triangle with the chord hi -> lo.
    CVector3d best;
    double bestLength = 0.0;
    int m = -1;
    for (int k = 0; k < n; ++k) {
        if (k == lo || k == hi) continue;
        const CVector3d candidate = u * (pts[k] - pts[hi]);
        const double len2 = candidate.LengthSquared();
        const double length = len2 > 1e-20 ? std::sqrt(len2) : 0.0;
        if (length > bestLength) {
            bestLength = length;
            best = candidate;
            m = k;
        }
    }
    if (bestLength < DivideByZeroTol) return false;

    // The chord runs against the list order; the third point between its ends
    // keeps that order's winding, one outside reverses it.
    const double sign = (lo >= m || hi <= m) ? -1.0 : 1.0;
    a = sign * (best.x / bestLength);
    b = sign * (best.y / bestLength);
    c = sign * (best.z / bestLength);
    d = -(a * pts[lo].x + b * pts[lo].y + c * pts[lo].z);
    return true;
}

bool CPlane::ComputeLSF(double& a, double& b, double& c, double& d, double sx, double sy, double sz, double sxx,
                        double syy, double szz, double sxy, double sxz, double syz, double count) noexcept {
    // Centred second moments.
    const double cxx = sxx - sx * sx / count;
    const double cyy = syy - sy * sy / count;
    const double czz = szz - sz * sz / count;
    const double cxy = sxy - sx * sy / count;
    const double cxz = sxz - sx * sz / count;
    const double cyz = syz - sy * sz / count;

    // The axis whose complementary 2x2 moment determinant is largest is the one the
    // points spread least along: regress it on the other two.
    const double dz = cxx * cyy - cxy * cxy;
    const double dy = cxx * czz - cxz * cxz;
    const double dx = cyy * czz - cyz * cyz;
    double na;
    double nb;
    double nc;
    if (std::fabs(dz) >= std::fabs(dy) && std::fabs(dz) >= std::fabs(dx)) {
        if (!(dz >= PlaneFitDeterminantThreshold)) return false;
        na = (cxy * cyz - cyy * cxz) / dz;
        nb = (cxy * cxz - cxx * cyz) / dz;
        nc = 1.0;
    } else if (std::fabs(dy) >= std::fabs(dx)) {
        if (!(dy >= PlaneFitDeterminantThreshold)) return false;
        na = (cxz * cyz - czz * cxy) / dy;
        nb = 1.0;
        nc = (cxz * cxy - cxx * cyz) / dy;
    } else {
        if (!(dx >= PlaneFitDeterminantThreshold)) return false;
        na = 1.0;
        nb = (cyz * cxz - czz * cxy) / dx;
        nc = (cyz * cxy - cyy * cxz) / dx;
    }
    const double nd = -(sx * na + sy * nb + sz * nc) / count;
    const double length = std::sqrt(na * na + nb * nb + nc * nc);
    a = na / length;
    b = nb / length;
    c = nc / length;
    d = nd / length;
    return true;
}

bool CPlane::LeastSquaresFit(int n, const CPoint3d* pts) noexcept {
    if (pts == nullptr || n < 3) return false;

    double cx = 0.0;
    double cy = 0.0;
    double cz = 0.0;
    for (int i = 0; i < n; ++i) {
        cx += pts[i].x;
        cy += pts[i].y;
        cz += pts[i].z;
    }
    const double inv = 1.0 / n;
    cx *= inv;
    cy *= inv;
    cz *= inv;

    // Sums relative to the centroid keep the moments well conditioned far from the
    // world origin.
    double sx = 0.0, sy = 0.0, sz = 0.0;
    double sxx = 0.0, syy = 0.0, szz = 0.0;
    double sxy = 0.0, sxz = 0.0, syz = 0.0;
    double count = 0.0;
    for (int i = 0; i < n; ++i) {
        const double x = pts[i].x - cx;
        const double y = pts[i].y - cy;
        const double z = pts[i].z - cz;
        sx += x;
        sy += y;
        sz += z;
        sxx += x * x;
        syy += y * y;
        szz += z * z;
        sxy += x * y;
        sxz += x * z;
        syz += y * z;
        count += 1.0;
    }
    double na = 0.0;
    double nb = 0.0;
    double nc = 0.0;
    double nd = 0.0;
    if (!ComputeLSF(na, nb, nc, nd, sx, sy, sz, sxx, syy, szz, sxy, sxz, syz, count)) return false;
    a = na;
    b = nb;
    c = nc;
    d = nd - (a * cx + b * cy + c * cz);

    // Orient by the winding: the fan about the first point sums to twice the
    // polygon's area vector.
    CVector3d area;
    for (int i = 2; i < n; ++i) area += (pts[i - 1] - pts[0]) * (pts[i] - pts[0]);
    if (Dot(Normal(), area) < 0.0) Reverse();

    for (int i = 0; i < n; ++i) {
        if (!(DistanceTo(pts[i]) <= EqualTol)) return false;
    }
    return true;
}

bool CPlaneCalculator::AddPoint(const CPoint3d& p) noexcept {
    switch (count) {
        case 0:
            first = p;
            count = 1;
            return true;
        case 1:
            if (p.Equals(first, EqualTol)) return true;
            second = p;
            firstDirection = CUnitVector3d(first, second);
            count = 2;
            return true;
        case 2: {
            const CVector3d v = p - second;
            const double along = Dot(v, firstDirection);
            // The squared distance from the line is compared with the plain
            // DivideByZeroTol, not its square: deliberately lenient.
            if (v.LengthSquared() - along * along > DivideByZeroTol) {
                secondDirection = CUnitVector3d(v);
                count = 3;
            }
            return true;
        }
        default:
            return false;
    }
}

bool CPlaneCalculator::GetPlane(CPlane& plane) const noexcept {
    if (count < 3) return false;
    const CUnitVector3d n(firstDirection * secondDirection);
    if (!n.IsValid()) return false;
    plane.Set(first, n);
    return true;
}

}  // namespace velmor::geometry
