#include <geometry/point3d.h>

#include <geometry/plane.h>
#include <geometry/ray3d.h>

#include <cmath>
#include <cstddef>
#include <ostream>

namespace velmor::geometry {

bool CPoint3d::operator<(const CPoint3d& p) const noexcept {
    const double e = EqualTol;
    const double dx = x - p.x;
    if (dx <= -e) return true;
    if (dx >= e) return false;
    const double dy = y - p.y;
    if (dy <= -e) return true;
    if (dy >= e) return false;
    return z - p.z <= -e;
}

bool CPoint3d::operator>(const CPoint3d& p) const noexcept {
    const double e = EqualTol;
    const double dx = x - p.x;
    if (dx >= e) return true;
    if (dx <= -e) return false;
    const double dy = y - p.y;
    if (dy >= e) return true;
    if (dy <= -e) return false;
    return z - p.z >= e;
}

bool CPoint3d::Project(double d) noexcept {
    if (std::fabs(z) < DivideByZeroTol) return false;
    const double s = d / (d - z);
    x = s * x;
    y = s * y;
    z = s * z;
    return true;
}

bool CPoint3d::ProjectGL(double d) noexcept {
    if (std::fabs(z) < DivideByZeroTol) return false;
    const double s = -d / z;
    x = s * x;
    y = s * y;
    z = -d;
    return true;
}

bool CPoint3d::ComputeLSF(double& aa, double& ab, double& ac, double& ad, double& bb, double& bc, double& bd,
                          double& cc, double& cd) noexcept {
    if (std::fabs(aa) < DivideByZeroTol) return false;
    const double k = bc - ab * ac / aa;
    const double m = bb - ab * ab / aa;
    const double n = cc - ac * ac / aa;
    const double det = k * k - n * m;
    if (std::fabs(det) < DivideByZeroTol) return false;
    const double p = bd - ab * ad / aa;
    const double q = cd - ac * ad / aa;
    const double sz = -(p * k - q * m) / det;
    const double sy = -(k * sz + p) / m;  // m unguarded: a zero m gives a non-finite y
    const double sx = -(sz * ac + sy * ab + ad) / aa;
    x = sx;
    y = sy;
    z = sz;
    return true;
}

double CPoint3d::DistanceTo(const CRay3d& r) const noexcept { return DistanceTo(r.origin, r.direction); }

double CPoint3d::DistanceSquaredTo(const CRay3d& r) const noexcept { return DistanceSquaredTo(r.origin, r.direction); }

double CPoint3d::DistanceTo(const CPlane& pl) const noexcept { return pl.DistanceTo(*this); }

bool CPoint3d::IsOn(const CRay3d& r) const noexcept { return DistanceTo(r) < EqualTol; }

bool CPoint3d::IsOn(const CPlane& pl) const noexcept { return DistanceTo(pl) < EqualTol; }

CPoint3d CPoint3d::ProjectTo(const CRay3d& r) const noexcept { return r.Project(*this); }

CPoint3d CPoint3d::ProjectTo(const CPlane& pl) const noexcept { return pl.Project(*this); }

namespace {

// Least-squares point of n planes: the nine sums of coefficient products feed
// ComputeLSF; a solution counts only when every plane passes within EqualTol.
bool FitPointToPlanes(CPoint3d& point, const CPlane* planes, std::size_t n) {
    if (n < 3) return false;
    double aa = 0.0, ab = 0.0, ac = 0.0, ad = 0.0;
    double bb = 0.0, bc = 0.0, bd = 0.0;
    double cc = 0.0, cd = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        const CPlane& pl = planes[i];
        aa += pl.a * pl.a;
        ab += pl.a * pl.b;
        ac += pl.a * pl.c;
        ad += pl.a * pl.d;
        bb += pl.b * pl.b;
        bc += pl.b * pl.c;
        bd += pl.b * pl.d;
        cc += pl.c * pl.c;
        cd += pl.c * pl.d;
    }
    if (!point.ComputeLSF(aa, ab, ac, ad, bb, bc, bd, cc, cd)) return false;
    for (std::size_t i = 0; i < n; ++i) {
        if (planes[i].DistanceTo(point) > EqualTol) return false;
    }
    return true;
}

}  // namespace

bool CPoint3d::LeastSquaresFit(int n, CPlane* planes) noexcept {
    if (planes == nullptr || n < 3) return false;
    return FitPointToPlanes(*this, planes, static_cast<std::size_t>(n));
}

bool CPoint3d::LeastSquaresFit(const std::vector<CPlane>& planes) noexcept {
    return FitPointToPlanes(*this, planes.data(), planes.size());
}

namespace {

struct SegmentHit {
    bool hit;
    double param;
    CPoint3d foot;
};

// Whether e lies on the segment s + t*d, t in [0, 1] (inclusive), within
// EqualTol of its projection onto the segment's line.
SegmentHit OnSegment(const CPoint3d& e, const CPoint3d& s, const CVector3d& d, double d2) {
    const double t = Dot(e - s, d) / d2;
    const CPoint3d q = s + d * t;
    return {q.Equals(e, EqualTol) && t >= 0.0 && t <= 1.0, t, q};
}

CPoint3d Midpoint(const CPoint3d& a, const CPoint3d& b) {
    return {(a.x + b.x) * 0.5, (a.y + b.y) * 0.5, (a.z + b.z) * 0.5};
}

}  // namespace

int CPoint3d::Intersect(const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3, const CPoint3d& p4, double* t,
                        double* u) noexcept {
    const double tol = EqualTol;
    double tOut = -1.0;
    double uOut = -1.0;
    int result = NoMeeting;
    CPoint3d at;

    const CVector3d a = p2 - p1;
    const CVector3d b = p4 - p3;
    const double a2 = a.LengthSquared();
    const double b2 = b.LengthSquared();
    const bool s1Point = a2 < EqualTolSq;
    const bool s2Point = b2 < EqualTolSq;

    if (s1Point || s2Point) {
        // Point-like segments are replaced by their midpoints.
        const CPoint3d pa = Midpoint(p1, p2);
        const CPoint3d pb = Midpoint(p3, p4);
        if (s1Point && s2Point) {
            if (pa.Equals(pb, tol)) result = MeetAtP1 | MeetAtP3, tOut = 0.0, uOut = 0.0, at = Midpoint(pa, pb);
        } else if (s1Point) {
            tOut = 0.0;
            if (pa.Equals(p3, tol)) {
                result = MeetAtP1 | MeetAtP3, uOut = 0.0, at = Midpoint(pa, p3);
            } else if (pa.Equals(p4, tol)) {
                result = MeetAtP1 | MeetAtP4, uOut = 1.0, at = Midpoint(pa, p4);
            } else if (const SegmentHit h = OnSegment(pa, p3, b, b2); h.hit) {
                result = MeetAtP1 | MeetInsideP3P4, uOut = h.param, at = Midpoint(pa, h.foot);
            }
        } else {
            uOut = 0.0;
            if (pb.Equals(p1, tol)) {
                result = MeetAtP1 | MeetAtP3, tOut = 0.0, at = Midpoint(pb, p1);
            } else if (pb.Equals(p2, tol)) {
                result = MeetAtP2 | MeetAtP3, tOut = 1.0, at = Midpoint(pb, p2);
            } else if (const SegmentHit h = OnSegment(pb, p1, a, a2); h.hit) {
                result = MeetInsideP1P2 | MeetAtP3, tOut = h.param, at = Midpoint(pb, h.foot);
            }
        }
    } else {
        const CVector3d axb = a * b;
        const double cross2 = axb.LengthSquared();
        if (cross2 / (a2 * b2) >= DivideByZeroTol) {
            // General case: the closest points of the two carrier lines.
            const CVector3d c = axb / cross2;
            const CVector3d w = p3 - p1;
            const double tt = Dot(w * b, c);
            const CPoint3d pa = p1 + a * tt;
            int s1 = 0;
            if (pa.Equals(p1, tol))
                s1 = MeetAtP1;
            else if (pa.Equals(p2, tol))
                s1 = MeetAtP2;
            else if (tt > 0.0 && tt < 1.0)
                s1 = MeetInsideP1P2;
            if (s1 != 0) {
                const double uu = Dot(w * a, c);
                const CPoint3d pb = p3 + b * uu;
                int s2 = 0;
                if (pb.Equals(p3, tol))
                    s2 = MeetAtP3;
                else if (pb.Equals(p4, tol))
                    s2 = MeetAtP4;
                else if (uu > 0.0 && uu < 1.0)
                    s2 = MeetInsideP3P4;
                // The lines must really meet, not pass each other.
                if (s2 != 0 && pa.Equals(pb, tol)) result = s2 | s1, tOut = tt, uOut = uu, at = Midpoint(pa, pb);
            }
        } else if (!((a * (p3 - p1)).LengthSquared() / ((p3 - p1).LengthSquared() * a2) > DivideByZeroTol)) {
            // Collinear: report one shared point, interior positions first.
            SegmentHit h{};
            if (!p3.Equals(p1, tol) && !p3.Equals(p2, tol) && (h = OnSegment(p3, p1, a, a2)).hit) {
                result = MeetInsideP1P2 | MeetAtP3, tOut = h.param, uOut = 0.0, at = Midpoint(p3, h.foot);
            } else if (!p4.Equals(p1, tol) && !p4.Equals(p2, tol) && (h = OnSegment(p4, p1, a, a2)).hit) {
                result = MeetInsideP1P2 | MeetAtP4, tOut = h.param, uOut = 1.0, at = Midpoint(p4, h.foot);
            } else if (!p1.Equals(p3, tol) && !p1.Equals(p4, tol) && (h = OnSegment(p1, p3, b, b2)).hit) {
                result = MeetAtP1 | MeetInsideP3P4, tOut = 0.0, uOut = h.param, at = Midpoint(p1, h.foot);
            } else if (!p2.Equals(p3, tol) && !p2.Equals(p4, tol) && (h = OnSegment(p2, p3, b, b2)).hit) {
                result = MeetAtP2 | MeetInsideP3P4, tOut = 1.0, uOut = h.param, at = Midpoint(p2, h.foot);
            } else if (p1.Equals(p3, tol)) {
                result = MeetAtP1 | MeetAtP3, tOut = 0.0, uOut = 0.0, at = Midpoint(p1, p3);
            } else if (p1.Equals(p4, tol)) {
                result = MeetAtP1 | MeetAtP4, tOut = 0.0, uOut = 1.0, at = Midpoint(p1, p4);
            } else if (p2.Equals(p3, tol)) {
                result = MeetAtP2 | MeetAtP3, tOut = 1.0, uOut = 0.0, at = Midpoint(p2, p3);
            } else if (p2.Equals(p4, tol)) {
                result = MeetAtP2 | MeetAtP4, tOut = 1.0, uOut = 1.0, at = Midpoint(p2, p4);
            }
        }
    }

    if (result == NoMeeting)
        tOut = uOut = -1.0;
    else
        *this = at;
    if (t) *t = tOut;
    if (u) *u = uOut;
    return result;
}

std::ostream& operator<<(std::ostream& os, const CPoint3d& p) {
    return os << "(" << p.x << ", " << p.y << ", " << p.z << ")";
}

}  // namespace velmor::geometry
