#include <geometry/mathutil.h>

#include <ios>

namespace velmor::geometry {

double EqualTol = 0.001;
float EqualTolF = 0.001f;
double EqualTolLatLong = 2.28e-08;
// Zero until the load-time initialisation below has run.
double EqualTolSq;
float EqualTolSqF;
const double DivideByZeroTol = 1e-10;
const double DivideByZeroTolSq = 1e-20;

namespace {

// Load-time work of this translation unit, in this order: the stream library,
// then the squared tolerances, computed once from the values the linear ones have
// now. They are never recomputed when a client later changes EqualTol.
const std::ios_base::Init streamInit;

struct SquareTolerancesAtLoad {
    SquareTolerancesAtLoad() noexcept {
        EqualTolSq = EqualTol * EqualTol;
        EqualTolSqF = EqualTolF * EqualTolF;
    }
};
const SquareTolerancesAtLoad squareTolerancesAtLoad;

}  // namespace

}  // namespace velmor::geometry

namespace velmor::geometry {

namespace {

CPoint2d Midpoint(const CPoint2d& a, const CPoint2d& b) { return {(a.x + b.x) * 0.5, (a.y + b.y) * 0.5}; }

// Whether p lies on the non-degenerate segment s1-s2: its projection parameter is
// within [0, 1] (inclusive) and p is 2D-equal to the projected point.
bool OnSegment2d(const CPoint2d& s1, const CPoint2d& s2, const CPoint2d& p) {
    const CVector2d d = s2 - s1;
    const double s = Dot(p - s1, d) / d.LengthSquared();
    const CPoint2d q = s1 + d * s;
    return p.Equals(q) && s >= 0.0 && s <= 1.0;
}

}  // namespace

bool ClosestPoint(const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2, const CUnitVector3d& u2, double& t1,
                  double& t2) {
    const double c = Dot(u1, u2);
    const double den = 1.0 - c * c;
    const CVector3d w = p1 - p2;
    if (den < ParallelThreshold) {
        t1 = 0.0;
        t2 = Dot(w, u2);
        return false;
    }
    const double d1 = Dot(u1, w);
    const double d2 = Dot(u2, w);
    t1 = (c * d2 - d1) / den;
    t2 = (d2 - c * d1) / den;
    return true;
}

bool ClosestPoint(const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2, const CUnitVector3d& u2,
                  CPoint3d& q1, CPoint3d& q2) {
    double t1 = 0.0;
    double t2 = 0.0;
    const bool ok = ClosestPoint(p1, u1, p2, u2, t1, t2);
    q1 = CPoint3d(p1, t1, u1);
    q2 = CPoint3d(p2, t2, u2);
    return ok;
}

double DistanceBetweenLines(const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2, const CUnitVector3d& u2) {
    CPoint3d q1;
    CPoint3d q2;
    ClosestPoint(p1, u1, p2, u2, q1, q2);
    return q1.DistanceTo(q2);
}

bool ClosestPoint(const CPoint3d& a1, const CPoint3d& a2, const CPoint3d& b1, const CPoint3d& b2, double& s,
                  double& t) {
    const CVector3d A = a2 - a1;
    const CVector3d B = b2 - b1;
    const CVector3d w = a1 - b1;
    const double a = Dot(A, A);
    const double b = Dot(A, B);
    const double c = Dot(B, B);
    const double d = Dot(A, w);
    const double e = Dot(B, w);
    const double den = a * c - b * b;
    if (den < ParallelThreshold) {
        // Parallel: t stays the raw dot product, callers have always read it so.
        s = 0.0;
        t = e;
        return false;
    }
    s = (b * e - c * d) / den;
    t = (a * e - b * d) / den;
    return true;
}

int ClosestPoint(const CPoint3d& a, const CPoint3d& b, const CPoint3d& p, const CUnitVector3d& u, CPoint3d& out) {
    const CVector3d D = b - a;
    const double k = Dot(D, u);
    const double den = Dot(D, D) - k * k;
    if (den < ParallelThreshold) {
        // Parallel: the nearer endpoint, b on a tie.
        out = (b - p).LengthSquared() > (p - a).LengthSquared() ? a : b;
        return SegmentParallel;
    }
    const CVector3d ap = p - a;
    const double s = (Dot(D, ap) - Dot(u, ap) * k) / den;
    if (s < 0.0) {
        out = a;
        return ClampedToStart;
    }
    if (s > 1.0) {
        out = b;
        return ClampedToEnd;
    }
    out = CPoint3d(1.0 - s, a, s, b);
    return InsideSegment;
}

double ParameterOfClosestPoint(const CPoint3d& a, const CPoint3d& b, const CPoint3d& p) {
    const CVector3d d = b - a;
    const double d2 = d.LengthSquared();
    if (d2 < EqualTolSq) return 0.0;
    return Dot(p - a, d) / d2;
}

double ParameterOfClosestPoint(const CPoint2d& a, const CPoint2d& b, const CPoint2d& p) {
    const CVector2d d = b - a;
    const double d2 = d.LengthSquared();
    if (d2 < EqualTolSq) return 0.0;
    return Dot(p - a, d) / d2;
}

bool SegmentsIntersect(const CPoint3d& a1, const CPoint3d& a2, const CPoint3d& b1, const CPoint3d& b2, CPoint3d* out) {
    CPoint3d local;
    CPoint3d& target = out != nullptr ? *out : local;
    return target.Intersect(a1, a2, b1, b2);
}

bool AreColinear(const CPoint3d& a, const CPoint3d& b, const CPoint3d& c, double tol) {
    const double tol2 = tol * tol;
    // A degenerate base is collinear with anything.
    if ((b - a).LengthSquared() < tol2) return true;
    const CUnitVector3d u(a, b);
    return c.DistanceSquaredTo(a, u) < tol2;
}

bool IsOnLineSegment(const CPoint3d& a, const CPoint3d& b, const CPoint3d& p, double tol) {
    const CVector3d d = b - a;
    const double d2 = d.LengthSquared();
    const double s = d2 < EqualTolSq ? 0.0 : Dot(p - a, d) / d2;
    if (s < 0.0) return p.Equals(a, tol);
    if (s > 1.0) return p.Equals(b, tol);
    return p.Equals(CPoint3d(1.0 - s, a, s, b), tol);
}

bool IsBetween(const CPoint3d& p, const CPoint3d& a, const CPoint3d& b) {
    const CVector3d d = b - a;
    const double d2 = d.LengthSquared();
    if (d2 < EqualTolSq) return true;
    const double s = Dot(p - a, d) / d2;
    // Only the projection decides inside the segment; the distance from the line
    // is deliberately not tested.
    if (s >= 0.0 && s <= 1.0) return true;
    if (s < 0.0) return p.Equals(a, EqualTol);
    if (s > 1.0) return p.Equals(b, EqualTol);
    return false;  // NaN parameter
}

bool IsOnLine(const CPoint2d& a, const CPoint2d& b, const CPoint2d& p, double* t) {
    const CVector2d d = b - a;
    const double d2 = d.LengthSquared();
    const double s = d2 < EqualTolSq ? 0.0 : Dot(p - a, d) / d2;
    if (t != nullptr) *t = s;
    const double r = 1.0 - s;
    const CPoint2d q(a.x * r + b.x * s, a.y * r + b.y * s);
    return p.Equals(q);
}

void GetPointsOnArc(const CPoint3d& center, const CUnitVector3d& xAxis, const CUnitVector3d& yAxis, double radius,
                    double sweep, int n, CPoint3d* out) {
    if (n <= 0) return;
    // With a single point the step would divide by zero; only the start is defined.
    const double step = n > 1 ? sweep / (n - 1) : 0.0;
    double angle = 0.0;
    for (int i = 0; i < n; ++i) {
        const double c = radius * std::cos(angle);
        const double s = radius * std::sin(angle);
        out[i] = CPoint3d(center.x + c * xAxis.x + s * yAxis.x, center.y + c * xAxis.y + s * yAxis.y,
                          center.z + c * xAxis.z + s * yAxis.z);
        angle += step;  // accumulated, not i * step
    }
}

bool IntersectSegments(CPoint2d& a1, CPoint2d& a2, CPoint2d& b1, CPoint2d& b2, CPoint2d* out) {
    CPoint2d local;
    CPoint2d& hit = out != nullptr ? *out : local;
    const CVector2d A = a2 - a1;
    const CVector2d B = b2 - b1;
    const bool aPoint = A.LengthSquared() < EqualTolSq;
    const bool bPoint = B.LengthSquared() < EqualTolSq;

    if (aPoint) {
        hit = Midpoint(a1, a2);
        if (bPoint) return hit.Equals(Midpoint(b1, b2));
        return hit.Equals(b1) || hit.Equals(b2) || OnSegment2d(b1, b2, hit);
    }
    if (bPoint) {
        hit = Midpoint(b1, b2);
        return hit.Equals(a1) || hit.Equals(a2) || OnSegment2d(a1, a2, hit);
    }

    const double cross = Cross(A, B);
    if (std::fabs(cross) >= ParallelThreshold) {
        const CVector2d w = b1 - a1;
        const double s = Cross(w, B) / cross;
        hit = a1 + A * s;
        // Beyond a's ends only a hit within tolerance of an end still counts.
        if ((s < 0.0 || s > 1.0) && !hit.Equals(a1) && !hit.Equals(a2)) return false;
        const double t = Cross(w, A) / cross;
        if (t >= 0.0 && t <= 1.0) return true;
        return hit.Equals(b1) || hit.Equals(b2);
    }

    // Parallel: only b's endpoints are tested against a. Callers rely on the
    // asymmetry (a strictly inside a collinear b is no intersection).
    hit = b1;
    if (b1.Equals(a1) || b1.Equals(a2) || OnSegment2d(a1, a2, b1)) return true;
    hit = b2;
    return b2.Equals(a1) || b2.Equals(a2) || OnSegment2d(a1, a2, b2);
}

int PointInPolygon(const CPoint2d& p, CPoint2d* poly, int n) {
    // Checked before any vertex is read; for valid input the order is immaterial.
    if (n < 1) return OutsidePolygon;
    if (p.Equals(poly[n - 1])) return OnPolygonVertex;

    // Which side of p's horizontal a vertex lies on: 0 within EqualTol, +1 above,
    // -1 below.
    const auto side = [&p](const CPoint2d& v) {
        if (std::fabs(v.y - p.y) < EqualTol) return 0;
        return v.y > p.y ? 1 : -1;
    };

    CPoint2d prev = poly[n - 1];
    int sPrev = side(prev);
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const CPoint2d cur = poly[i];
        if (cur.Equals(p)) return OnPolygonVertex;
        const int sCur = side(cur);
        if (sCur != sPrev) {
            const CVector2d e = cur - prev;
            const double e2 = e.LengthSquared();
            if (e2 >= EqualTolSq) {
                const double t = Dot(p - prev, e) / e2;
                if (t > 0.0 && t < 1.0 && p.Equals(prev + e * t)) return OnPolygonEdge;
            }
            const int sum = sPrev + sCur;
            if (sum == -1) {
                // One end on the ray's line, the other below: counts when that end
                // lies to the right. An end touched from above (sum +1) never counts.
                const CPoint2d& onLine = sPrev == 0 ? prev : cur;
                if (onLine.x > p.x) ++count;
            } else if (sum == 0) {
                const double xs = (p.y - prev.y) * (cur.x - prev.x) / (cur.y - prev.y) + prev.x;
                if (std::fabs(xs - p.x) < EqualTol) return OnPolygonEdge;
                if (xs > p.x) ++count;
            }
        } else if (sCur == 0) {
            // A horizontal edge at p's height.
            if ((p.x - cur.x) * (p.x - prev.x) < 0.0) return OnPolygonEdge;
        }
        prev = cur;
        sPrev = sCur;
    }
    return (count % 2 != 0) ? InsidePolygon : OutsidePolygon;
}

}  // namespace velmor::geometry
