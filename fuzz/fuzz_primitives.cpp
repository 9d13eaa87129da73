// Fuzz target: the 3D primitives and proximity utilities: closest points,
// distances, collinearity and on-segment tests, arc sampling, 2D segment
// intersection and point-in-polygon on CPoint2d, ranges and 2D/3D bounding boxes,
// planes and rays.
#include <geometry/bezier3d.h>
#include <geometry/boundingbox.h>
#include <geometry/mathutil.h>
#include <geometry/plane.h>
#include <geometry/point2d.h>
#include <geometry/point3d.h>
#include <geometry/ray3d.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"

using namespace velmor::geometry;
using plenar_fuzz::Consume;
using plenar_fuzz::FuzzInput;

namespace {

CRange ReadRange(FuzzInput& in) {
    if ((in.Byte() & 7) == 0) return CRange();
    const double a = in.Double();
    return {a, in.Double()};
}

CBoundingBox3d ReadBox3d(FuzzInput& in) {
    const CRange x = ReadRange(in);
    const CRange y = ReadRange(in);
    return {x, y, ReadRange(in)};
}

CBoundingBox2d ReadBox2d(FuzzInput& in) {
    const CRange x = ReadRange(in);
    return {x, ReadRange(in)};
}

void FuzzRange(FuzzInput& in) {
    CRange a = ReadRange(in);
    const CRange b = ReadRange(in);
    const double v = in.Double();
    Consume(a.IsEmpty());
    Consume(a.Extent());
    Consume(a.Contains(v));
    Consume(a.Contains(b));
    Consume(a.PreciselyContains(v));
    Consume(a.ContainsInInterior(v));
    Consume(a.ContainsInInterior(b));
    Consume(a.Intersects(b));
    Consume(a.IntersectsInTolerance(b, in.Tolerance()));
    Consume(a.Union(b));
    Consume(a + v);
    Consume(a.Intersect(b));
    CRange out;
    Consume(a.Overlaps(b, out));
    Consume(out);
    a += b;
    a += in.Double();
    a.Expand(in.Double());
    Consume(a.IsValidObj());
}

void FuzzBox3d(FuzzInput& in) {
    CBoundingBox3d a = ReadBox3d(in);
    const CBoundingBox3d b = ReadBox3d(in);
    const CPoint3d p = in.Point3d();
    Consume(a.Contains(p));
    Consume(a.PreciselyContains(p));
    Consume(a.Contains(b));
    Consume(a.ContainsInInterior(p));
    Consume(a.ContainsInInterior(b));
    Consume(a.Intersects(b));
    Consume(a.IntersectsInTolerance(b, in.Tolerance()));
    CBoundingBox3d out;
    Consume(a.Overlaps(b, out));
    Consume(out);
    Consume(a.GetDiagonal());
    Consume(a.GetCenter());
    Consume(a.Union(b));
    Consume(a + p);
    Consume(a.Intersect(b));
    Consume(a.GetCorner(in.Int(-2, 9)));
    Consume(a.MaxDistanceSquaredTo(p));
    CPoint3d centre;
    CUnitVector3d normal;
    a.GetCenterNormal(static_cast<EBoxSide>(in.Int(0, 7)), centre, normal);
    Consume(centre);
    Consume(normal);
    switch (in.Byte() % 6) {
        case 0:
            a += p;
            break;
        case 1:
            a += b;
            break;
        case 2:
            a.Expand(in.Double());
            break;
        case 3:
            a.ExpandRangeIfZero(in.Double());
            break;
        case 4:
            a.Stretch(in.Vector3d());
            break;
        default: {
            const int axis = in.Int(0, 2);
            if (in.Bool()) {
                a.SetMaxInRange(axis, in.Double());
            } else {
                a.SetMinInRange(axis, in.Double());
            }
            break;
        }
    }
    Consume(a.IsValidObj());
}

void FuzzBox2d(FuzzInput& in) {
    CBoundingBox2d a = ReadBox2d(in);
    const CBoundingBox2d b = ReadBox2d(in);
    const CPoint2d p = in.Point2d();
    Consume(a.Contains(p));
    Consume(a.Contains(b));
    Consume(a.ContainsInInterior(p));
    Consume(a.ContainsInInterior(b));
    Consume(a.Intersects(b));
    CBoundingBox2d out;
    Consume(a.Overlaps(b, out));
    Consume(out);
    Consume(a.GetDiagonal());
    Consume(a.Union(b));
    Consume(a + p);
    Consume(a.Intersect(b));
    Consume(a.GetCorner(in.Int(-2, 5)));
    a += p;
    a += b;
    Consume(a.IsValidObj());
}

CPlane ReadPlane(FuzzInput& in) {
    switch (in.Byte() & 3) {
        case 0: {
            const double a = in.Double(), b = in.Double(), c = in.Double();
            return CPlane(a, b, c, in.Double());
        }
        case 1: {
            const CPoint3d p = in.Point3d();
            return CPlane(p, in.UnitVector3d());
        }
        case 2: {
            const CPoint3d p1 = in.Point3d(), p2 = in.Point3d();
            return CPlane(p1, p2, in.Point3d());
        }
        default: {
            // Raw coefficients, as a caller may write them.
            CPlane pl;
            pl.a = in.Double();
            pl.b = in.Double();
            pl.c = in.Double();
            pl.d = in.Double();
            return pl;
        }
    }
}

CRay3d ReadRay(FuzzInput& in) {
    const CPoint3d o = in.Point3d();
    if (in.Bool()) {
        CRay3d r;
        r.Set(o, in.Point3d());
        return r;
    }
    return CRay3d(o, in.UnitVector3d());
}

void FuzzPlane(FuzzInput& in) {
    CPlane pl = ReadPlane(in);
    const CRay3d r = ReadRay(in);
    const CPoint3d p = in.Point3d();
    const double tol = in.Tolerance();
    double t = 0.0;
    CPoint3d hit;
    Consume(pl.Project(p));
    Consume(pl.Project(in.UnitVector3d()));
    Consume(pl.Project(r));
    Consume(pl.IntersectWith(r, t, tol));
    Consume(pl.IntersectWith(r, t));
    Consume(pl.IntersectWith(r, hit, tol));
    Consume(pl.IntersectWith(r, hit));
    Consume(pl.IntersectWith(p, in.UnitVector3d(), hit));
    CRay3d line;
    const CPlane other = ReadPlane(in);
    Consume(pl.IntersectWith(other, line));
    Consume(line);
    const CBoundingBox3d box = ReadBox3d(in);
    Consume(pl.IntersectWith(box));
    Consume(pl.IsAbove(box));
    Consume(pl.GetCanonicalNormal());
    Consume(pl.GetPoint());
    Consume(pl.MapPoint(p));
    Consume(pl.Equals(other, in.Bool(), tol));
    Consume(p.DistanceTo(pl));
    Consume(p.IsOn(pl));
    Consume(p.ProjectTo(pl));
    CPoint3d a = in.Point3d(), b = in.Point3d();
    Consume(pl.TrimAbove(&a, &b));
    Consume(a);
    Consume(b);
    double eq[4];
    pl.GetEquation(eq);
    Consume(eq);
    switch (in.Byte() % 6) {
        case 0:
            pl.SetCanonicalForm();
            break;
        case 1:
            pl.Reverse();
            break;
        case 2:
            pl += in.Vector3d();
            pl -= in.Vector3d();
            break;
        case 3:
            pl.Offset(in.Double());
            break;
        case 4: {
            std::vector<CPoint3d> pts = in.List<CPoint3d>(64, [&in] { return in.Point3d(); });
            Consume(pl.Evaluate(pts.data(), static_cast<int>(pts.size())));
            Consume(pl.LeastSquaresFit(static_cast<int>(pts.size()), pts.data()));
            break;
        }
        default: {
            double v[14];
            for (double& x : v) x = in.Double();
            Consume(CPlane::ComputeLSF(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10], v[11], v[12],
                                       v[13]));
            break;
        }
    }
    Consume(pl.IsValidObj());
}

void FuzzPlaneCalculator(FuzzInput& in) {
    CPlaneCalculator calc;
    const int n = in.Count(16);
    for (int i = 0; i < n; ++i) Consume(calc.AddPoint(in.Point3d()));
    CPlane pl;
    Consume(calc.GetPlane(pl));
    Consume(pl);
    std::vector<CPlane> planes;
    const int m = in.Count(16);
    for (int i = 0; i < m; ++i) planes.push_back(ReadPlane(in));
    CPoint3d p = in.Point3d();
    Consume(p.LeastSquaresFit(static_cast<int>(planes.size()), planes.data()));
    Consume(p.LeastSquaresFit(planes));
    Consume(p);
}

void FuzzRay(FuzzInput& in) {
    CRay3d r = ReadRay(in);
    const CRay3d s = ReadRay(in);
    const CPoint3d p = in.Point3d();
    CPoint3d hit, q1, q2;
    Consume(r.IsOn(s));
    Consume(r.IsOn(ReadPlane(in)));
    Consume(r.IntersectWith(s, hit));
    double t = 0.0;
    Consume(r.IntersectWith(ReadPlane(in), t, in.Tolerance()));
    EBoxSide side = NoSide;
    Consume(r.IntersectWith(ReadBox3d(in), hit, side));
    Consume(static_cast<int>(side));
    const CPoint3d a = in.Point3d();
    Consume(r.IntersectWith(a, in.Point3d(), t));
    Consume(r.Project(p));
    Consume(r.FindClosestPoints(s, q1, q2));
    Consume(r.ParameterOfClosestPoint(p));
    Consume(p.DistanceTo(r));
    Consume(p.DistanceSquaredTo(r));
    Consume(p.IsOn(r));
    Consume(p.ProjectTo(r));
    Consume(r.IntersectZ(in.Double(), t));
    Consume(r.IntersectZ(in.Double(), hit));
    const CPlane p1 = ReadPlane(in);
    Consume(r.IntersectPlanes(p1, ReadPlane(in)));
    Consume(r);
}

class CountingSink : public IBezier3dDraw {
public:
    void LineTo(const CPoint3d& p) override {
        ++count;
        Consume(p);
    }
    long count = 0;
};

void FuzzBezier3d(FuzzInput& in) {
    const CPoint3d p0 = in.Point3d(), p1 = in.Point3d(), p2 = in.Point3d(), p3 = in.Point3d();
    const CBezier3d c(p0, p1, p2, p3);
    const double t = in.Double();
    Consume(c.EvaluatePoint(t));
    Consume(c.EvaluateDirection(t));
    Consume(c.Evaluate(t));
    CBezier3d left, right;
    c.Split(left, right);
    Consume(left);
    const double tol = in.Tolerance();
    Consume(c.IsStraight(tol));
    // Only curves whose flattening is bounded by a million or so pieces are drawn
    // here (a flattening sends on the order of sqrt(size / tol) pieces). Larger
    // ones make Draw count up to 2^25 pieces before it coarsens the tolerance:
    // seconds in a release build, close to a minute under AddressSanitizer with its
    // stack-use-after-return checks, beyond the fuzzer's per-input timeout. The
    // coarsening paths are covered by the unit tests instead.
    double size = 0.0;
    for (const CPoint3d* q : {&p1, &p2, &p3}) {
        size = std::fmax(size,
                         std::fmax(std::fabs(q->x - p0.x), std::fmax(std::fabs(q->y - p0.y), std::fabs(q->z - p0.z))));
    }
    const bool finite = c.p0.IsValidObj() && c.p1.IsValidObj() && c.p2.IsValidObj() && c.p3.IsValidObj();
    if (finite && tol > 0.0 && !(size / tol < 1e9)) return;
    CountingSink sink;
    c.Draw(&sink, tol);
    Consume(sink.count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    plenar_fuzz::ToleranceScope scope;
    int steps = 0;
    while (!in.Empty() && steps++ < 128) {
        switch (in.Byte() % 21) {
            case 0:
                plenar_fuzz::ToleranceScope::Mutate(in);
                break;
            case 1: {
                const CPoint3d p1 = in.Point3d(), p2 = in.Point3d();
                const CUnitVector3d u1 = in.UnitVector3d(), u2 = in.UnitVector3d();
                double t1 = 0.0, t2 = 0.0;
                Consume(ClosestPoint(p1, u1, p2, u2, t1, t2));
                CPoint3d q1, q2;
                Consume(ClosestPoint(p1, u1, p2, u2, q1, q2));
                Consume(DistanceBetweenLines(p1, u1, p2, u2));
                Consume(t1 + t2);
                Consume(q1);
                break;
            }
            case 2: {
                const CPoint3d a1 = in.Point3d(), a2 = in.Point3d(), b1 = in.Point3d(), b2 = in.Point3d();
                double s = 0.0, t = 0.0;
                Consume(ClosestPoint(a1, a2, b1, b2, s, t));
                CPoint3d hit;
                Consume(SegmentsIntersect(a1, a2, b1, b2, in.Bool() ? &hit : nullptr));
                Consume(s + t);
                break;
            }
            case 3: {
                const CPoint3d a = in.Point3d(), b = in.Point3d(), p = in.Point3d();
                const CUnitVector3d u = in.UnitVector3d();
                CPoint3d out;
                Consume(ClosestPoint(a, b, p, u, out));
                Consume(ParameterOfClosestPoint(a, b, p));
                Consume(IsBetween(p, a, b));
                const double tol = in.Tolerance();
                Consume(AreColinear(a, b, p, tol));
                Consume(IsOnLineSegment(a, b, p, tol));
                break;
            }
            case 4: {
                const CPoint2d a = in.Point2d(), b = in.Point2d(), p = in.Point2d();
                Consume(ParameterOfClosestPoint(a, b, p));
                double t = 0.0;
                Consume(IsOnLine(a, b, p, in.Bool() ? &t : nullptr));
                Consume(t);
                break;
            }
            case 5: {
                const CPoint3d c = in.Point3d();
                const CUnitVector3d xa = in.UnitVector3d(), ya = in.UnitVector3d();
                const double radius = in.Double(), sweep = in.Double();
                const int n = in.Int(-2, 64);
                std::vector<CPoint3d> out(n > 0 ? static_cast<std::size_t>(n) : 0u);
                GetPointsOnArc(c, xa, ya, radius, sweep, n, out.data());
                Consume(out.empty() ? CPoint3d() : out.back());
                break;
            }
            case 6: {
                CPoint2d a1 = in.Point2d(), a2 = in.Point2d(), b1 = in.Point2d(), b2 = in.Point2d();
                CPoint2d hit;
                Consume(IntersectSegments(a1, a2, b1, b2, in.Bool() ? &hit : nullptr));
                Consume(hit);
                break;
            }
            case 7: {
                std::vector<CPoint2d> poly = in.List<CPoint2d>(64, [&in] { return in.Point2d(); });
                const CPoint2d p = in.Point2d();
                Consume(PointInPolygon(p, poly.data(), static_cast<int>(poly.size())));
                break;
            }
            case 8:
            case 9:
                FuzzRange(in);
                break;
            case 10:
            case 11:
            case 12: {
                FuzzBox3d(in);
                const CBoundingBox3d box = ReadBox3d(in);
                Consume(box.Intersects(in.Point3d(), in.Point3d()));
                break;
            }
            case 16:
            case 17:
                FuzzPlane(in);
                break;
            case 19:
                FuzzBezier3d(in);
                break;
            case 18:
                if (in.Bool()) {
                    FuzzPlaneCalculator(in);
                } else {
                    FuzzRay(in);
                }
                break;
            default:
                FuzzBox2d(in);
                break;
        }
    }
    return 0;
}
