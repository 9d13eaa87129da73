// Fuzz target: bounded lines (CLine3d and the box Zone codes), circles and arcs
// (construction, evaluation, projection, transformation, and their intersections
// with rays and planes), and the welded polygon mesh.
#include <geometry/arc3d.h>
#include <geometry/boundingbox.h>
#include <geometry/circle3d.h>
#include <geometry/line3d.h>
#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <geometry/polygonmesh.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"

using namespace velmor::geometry;
using plenar_fuzz::Consume;
using plenar_fuzz::FuzzInput;

namespace {

CTransformation ReadTransformation(FuzzInput& in) {
    switch (in.Byte() % 5) {
        case 0:
            return CTransformation();
        case 1: {
            const CPoint3d p = in.Point3d();
            const CUnitVector3d axis = in.UnitVector3d();
            return CTransformation::Rotate(p, axis, in.Double());
        }
        case 2: {
            const CPoint3d p = in.Point3d();
            const double sx = in.Double(), sy = in.Double(), sz = in.Double();
            return in.Bool() ? CTransformation::Scale(p, sx) : CTransformation::Scale(p, sx, sy, sz);
        }
        case 3:
            return CTransformation::Translate(in.Vector3d());
        default: {
            double m16[16];
            for (double& v : m16) v = in.Double();
            return CTransformation(m16);
        }
    }
}

CBoundingBox3d ReadBox(FuzzInput& in) {
    if ((in.Byte() & 7) == 0) return CBoundingBox3d();
    const double x0 = in.Double(), x1 = in.Double(), y0 = in.Double(), y1 = in.Double();
    const double z0 = in.Double(), z1 = in.Double();
    return {CRange(x0, x1), CRange(y0, y1), CRange(z0, z1)};
}

CPlane ReadPlane(FuzzInput& in) {
    if (in.Bool()) {
        const CPoint3d p = in.Point3d();
        return CPlane(p, in.UnitVector3d());
    }
    const double a = in.Double(), b = in.Double(), c = in.Double();
    return CPlane(a, b, c, in.Double());
}

CRay3d ReadRay(FuzzInput& in) {
    const CPoint3d o = in.Point3d();
    return CRay3d(o, in.UnitVector3d());
}

CLine3d ReadLine(FuzzInput& in) {
    switch (in.Byte() & 3) {
        case 0:
            return CLine3d();
        case 1: {
            const CPoint3d a = in.Point3d();
            return CLine3d(a, in.Point3d());
        }
        case 2: {
            const CRay3d r = ReadRay(in);
            const bool s = in.Bool();
            return CLine3d(r, s, in.Bool());
        }
        default: {
            CLine3d l(ReadRay(in), false, false);
            l.startParam = in.Double();
            l.endParam = in.Double();
            return l;
        }
    }
}

void FuzzLine(FuzzInput& in) {
    CLine3d l = ReadLine(in);
    CPoint3d p;
    Consume(l.GetStartPoint(p));
    Consume(p);
    Consume(l.GetEndPoint(p));
    Consume(p);
    const int ops = in.Count(8);
    for (int i = 0; i < ops; ++i) {
        switch (in.Byte() % 9) {
            case 0:
                l.SetStartPoint(in.Point3d());
                break;
            case 1:
                l.SetEndPoint(in.Point3d());
                break;
            case 2:
                l.Reverse();
                break;
            case 3:
                l.SetDirection(in.UnitVector3d());
                break;
            case 4:
                Consume(l.TrimToPlane(ReadPlane(in)));
                break;
            case 5:
                l.SetInfiniteAtStart();
                break;
            case 6:
                l.SetInfiniteAtEnd();
                break;
            case 7: {
                CRay3d r;
                Consume(l.GetSemiInfiniteRay(r));
                Consume(r);
                break;
            }
            default: {
                const CBoundingBox3d box = ReadBox(in);
                Consume(l.IntersectWith(box));
                Consume(Zone(box, in.Point3d(), in.Int(-1, 8)));
                break;
            }
        }
        Consume(l.IsNull());
        Consume(l.IsValidObj());
        Consume(l.startParam);
        Consume(l.endParam);
        Consume(l);
    }
}

CCircle3d ReadCircle(FuzzInput& in) {
    switch (in.Byte() & 3) {
        case 0:
            return CCircle3d();
        case 1: {
            const CPoint3d c = in.Point3d();
            const CVector3d x = in.Vector3d();
            return CCircle3d(c, x, in.UnitVector3d());
        }
        case 2: {
            const CPoint3d a = in.Point3d(), b = in.Point3d();
            return CCircle3d(a, b, in.Point3d());
        }
        default: {
            CCircle3d c;
            const CPoint3d a = in.Point3d(), b = in.Point3d();
            c.BuildFakeCircle(a, b, in.Point3d());
            return c;
        }
    }
}

CArc3d ReadArc(FuzzInput& in) {
    switch (in.Byte() & 3) {
        case 0: {
            const CPoint3d c = in.Point3d();
            const CVector3d x = in.Vector3d();
            const CUnitVector3d n = in.UnitVector3d();
            const double s = in.Double();
            return CArc3d(c, x, n, s, in.Double());
        }
        case 1: {
            const CPoint3d a = in.Point3d(), b = in.Point3d();
            return CArc3d(a, b, in.Point3d());
        }
        case 2: {
            const CPoint3d c = in.Point3d(), s = in.Point3d(), e = in.Point3d();
            return CArc3d(c, s, e, in.UnitVector3d());
        }
        default:
            return CArc3d(ReadCircle(in));
    }
}

void ExerciseCircle(FuzzInput& in, CCircle3d& c) {
    const double t = in.Double();
    Consume(c.Eval(t));
    const CPoint3d p = in.Point3d();
    Consume(c.ParameterOfClosestPoint(p));
    Consume(c.Project(p));
    Consume(c.IsTrueCircle());
    Consume(c.IsValidObj());
    CPoint3d p1, p2;
    double a1 = 0.0, a2 = 0.0;
    const CRay3d ray = ReadRay(in);
    Consume(ray.IntersectWith(c, p1, p2));
    Consume(ray.IntersectWith(c, a1, a2, in.Bool() ? &p1 : nullptr, in.Bool() ? &p2 : nullptr));
    const CPlane plane = ReadPlane(in);
    Consume(plane.IntersectWith(c, p1, p2));
    Consume(plane.IntersectWith(c, a1, a2, in.Bool() ? &p1 : nullptr, in.Bool() ? &p2 : nullptr));
    Consume(p1);
    Consume(p2);
    Consume(a1 + a2);
    switch (in.Byte() & 3) {
        case 0:
            Consume(c.SetRadius(in.Double()));
            break;
        case 1:
            c *= ReadTransformation(in);
            break;
        case 2:
            c.SetNormal(in.UnitVector3d());
            c.ComputeRedundantParameters(in.Bool());
            break;
        default: {
            const CPoint3d a = in.Point3d(), b = in.Point3d();
            Consume(c.Set(a, b, in.Point3d()));
            break;
        }
    }
    Consume(c.Eval(in.Double()));
    Consume(c == CCircle3d(c));
}

void FuzzCircle(FuzzInput& in) {
    CCircle3d c = ReadCircle(in);
    ExerciseCircle(in, c);
}

void FuzzArc(FuzzInput& in) {
    CArc3d a = ReadArc(in);
    Consume(a.GetStartPoint());
    Consume(a.GetEndPoint());
    Consume(a.IsNull());
    Consume(a.IsFullCircle(in.Bool()));
    Consume(a.IsValidObj());
    ExerciseCircle(in, a);
    Consume(a.IsFullCircle(in.Bool()));
    Consume(a.GetEndPoint());
}

void FuzzMesh(FuzzInput& in) {
    CPolygonMesh mesh(in.Byte());
    if (in.Bool()) mesh.ReserveSpace(in.Int(-4, 64), in.Int(-4, 64));
    const int ops = in.Count(24);
    for (int i = 0; i < ops; ++i) {
        switch (in.Byte() % 8) {
            case 0:
                Consume(mesh.InsertPoint(in.Point3d()));
                break;
            case 1:
                Consume(mesh.FindPoint(in.Point3d()));
                break;
            case 2: {
                // Any indices, in range or not: the mesh refuses the bad ones.
                std::vector<long> indices = in.List<long>(12, [&in] { return static_cast<long>(in.Int(-20, 20)); });
                const long count = in.Bool() ? static_cast<long>(indices.size()) : in.Int(-2, 0);
                Consume(mesh.AddPolygon(count, indices.data()));
                break;
            }
            case 3: {
                std::vector<CPoint3d> corners = in.List<CPoint3d>(12, [&in] { return in.Point3d(); });
                const long count = in.Bool() ? static_cast<long>(corners.size()) : in.Int(-2, 0);
                Consume(mesh.AddPolygon(count, corners.data()));
                break;
            }
            case 4: {
                const long k = in.Int(-40, 40);
                Consume(mesh.GetUVFront(k));
                Consume(mesh.GetUVBack(k));
                Consume(mesh.GetNormal(k));
                break;
            }
            case 5: {
                const long k = in.Int(-40, 40);
                switch (in.Byte() % 3) {
                    case 0:
                        mesh.SetUVFront(k, in.Point3d());
                        break;
                    case 1:
                        mesh.SetUVBack(k, in.Point3d());
                        break;
                    default:
                        mesh.SetNormal(k, in.UnitVector3d());
                        break;
                }
                break;
            }
            case 6:
                mesh.Transform(ReadTransformation(in));
                break;
            default:
                mesh.ReserveSpace(in.Int(-4, 8), in.Int(-4, 8));
                break;
        }
    }
    // Read back only what the mesh holds: points by index, and the corners of each
    // polygon whose indices all name stored points.
    const long n = static_cast<long>(mesh.points.size());
    for (long k = 1; k <= n; ++k) Consume(mesh.GetPoint(in.Bool() ? k : -k));
    const long polygons = static_cast<long>(mesh.polygonStarts.size());
    for (long poly = 1; poly <= polygons; ++poly) {
        const long corners = mesh.CountPolygonPoints(poly);
        Consume(corners);
        for (long corner = 1; corner <= corners; ++corner) {
            const long idx = mesh.GetPolygonPointIndex(poly, corner);
            if (idx != 0 && (idx < 0 ? -idx : idx) <= n) Consume(mesh.GetPolygonPoint(poly, corner));
        }
    }
    const CPolygonMesh copy(mesh);
    Consume(copy.points.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    plenar_fuzz::ToleranceScope scope;
    int steps = 0;
    while (!in.Empty() && steps++ < 64) {
        switch (in.Byte() % 6) {
            case 0:
                plenar_fuzz::ToleranceScope::Mutate(in);
                break;
            case 1:
                FuzzLine(in);
                break;
            case 2:
                FuzzCircle(in);
                break;
            case 3:
                FuzzArc(in);
                break;
            default:
                FuzzMesh(in);
                break;
        }
    }
    return 0;
}
