// Fuzz target: the 3D primitives and proximity utilities: closest points,
// distances, collinearity and on-segment tests, arc sampling, 2D segment
// intersection and point-in-polygon on CPoint2d, ranges and 2D/3D bounding boxes.
#include <geometry/boundingbox.h>
#include <geometry/mathutil.h>
#include <geometry/point2d.h>
#include <geometry/point3d.h>

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    plenar_fuzz::ToleranceScope scope;
    int steps = 0;
    while (!in.Empty() && steps++ < 128) {
        switch (in.Byte() % 16) {
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
            default:
                FuzzBox2d(in);
                break;
        }
    }
    return 0;
}
