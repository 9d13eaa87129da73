// Fuzz target: CTransformation, Quaternion, CMatrix3x3 / CMatrix4x4 and the
// projective quad mapping. Transformations are built from fuzzed parts, composed,
// inverted, interpolated and applied; the raw fields are sometimes set directly
// (flags included), as a caller exchanging matrices may.
#include <geometry/boundingbox.h>
#include <geometry/matrix3x3.h>
#include <geometry/plane.h>
#include <geometry/pmap.h>
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/quaternion.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <cstddef>
#include <cstdint>

#include "fuzz_input.h"

using namespace velmor::geometry;
using plenar_fuzz::Consume;
using plenar_fuzz::FuzzInput;

namespace {

CTransformation ReadTransformation(FuzzInput& in) {
    switch (in.Byte() % 10) {
        case 0:
            return CTransformation();
        case 1: {
            const CUnitVector3d xa = in.UnitVector3d();
            const CUnitVector3d ya = in.UnitVector3d();
            const CUnitVector3d za = in.UnitVector3d();
            return CTransformation(xa, ya, za, in.Point3d());
        }
        case 2: {
            const CPoint3d o = in.Point3d();
            return CTransformation(o, in.UnitVector3d());
        }
        case 3: {
            double m16[16];
            for (double& v : m16) v = in.Double();
            return CTransformation(m16);
        }
        case 4: {
            const CPoint3d p = in.Point3d();
            const CUnitVector3d axis = in.UnitVector3d();
            return CTransformation::Rotate(p, axis, in.Double());
        }
        case 5: {
            const CPoint3d p = in.Point3d();
            const double sx = in.Double(), sy = in.Double(), sz = in.Double();
            return in.Bool() ? CTransformation::Scale(p, sx) : CTransformation::Scale(p, sx, sy, sz);
        }
        case 6:
            return in.Bool() ? CTransformation::Translate(in.Vector3d()) : CTransformation::Translate(in.Point3d());
        case 7: {
            CTransformation t;
            double m9[9], t3[3];
            for (double& v : m9) v = in.Double();
            for (double& v : t3) v = in.Double();
            Consume(t.SetTransformation(m9, t3, in.Double()));
            return t;
        }
        case 8: {
            // Raw fields with arbitrary flags: the flags may lie.
            CTransformation t;
            for (double& v : t.matrix) v = in.Double();
            for (double& v : t.translation) v = in.Double();
            t.scale = in.Double();
            t.isIdentity = in.Bool();
            t.isOrthogonal = in.Bool();
            return t;
        }
        default: {
            CTransformation t;
            float m16[16];
            for (float& v : m16) v = in.Float();
            t.SetMatrixf(m16);
            return t;
        }
    }
}

void Exercise(const CTransformation& t, FuzzInput& in) {
    Consume(t * in.Point3d());
    Consume(t * in.Vector3d());
    CUnitVector3d u = in.UnitVector3d();
    t.Transform(u);
    Consume(u);
    Consume(t.X());
    Consume(t.Y());
    Consume(t.Z());
    Consume(t.T());
    Consume(t.XYZScale());
    Consume(t.ZRotation());
    Consume(t.GetDeterminant());
    Consume(t.IsSingular());
    Consume(t.IsInvertible());
    Consume(t.IsRotationReallyIdentity());
    Consume(t.IsOrthogonal());
    Consume(t.IsOrthonormal());
    Consume(t.IsMirrored());
    Consume(t.IsValidObj());
    double m16[16];
    t.GetMatrix(m16);
    Consume(m16);
    const double a = in.Double(), b = in.Double(), c = in.Double();
    CPlane pl(a, b, c, in.Double());
    t.Transform(pl);
    Consume(pl);
    const CPoint3d o = in.Point3d();
    CRay3d r(o, in.UnitVector3d());
    Consume(t.Transform(r));
    r *= t;
    Consume(r);
    const CPoint3d lo = in.Point3d();
    CBoundingBox3d box(lo, in.Point3d());
    t.Transform(box);
    Consume(box);
    float f16[16];
    t.GetMatrixf(f16);
    Consume(f16);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    plenar_fuzz::ToleranceScope scope;
    CTransformation acc;
    int steps = 0;
    while (!in.Empty() && steps++ < 128) {
        switch (in.Byte() % 16) {
            case 0:
                plenar_fuzz::ToleranceScope::Mutate(in);
                break;
            case 1:
                acc = ReadTransformation(in);
                Exercise(acc, in);
                break;
            case 2: {
                const CTransformation b = ReadTransformation(in);
                acc = in.Bool() ? acc * b : b * acc;
                Consume(acc == b);
                Exercise(acc, in);
                break;
            }
            case 3: {
                CTransformation t = acc;
                t.Invert();
                Exercise(t, in);
                Consume(CTransformation::Inverse(acc));
                CTransformation s = ReadTransformation(in);
                Consume(s.Invert3x3());
                Consume(s);
                break;
            }
            case 4: {
                const CTransformation b = ReadTransformation(in);
                Exercise(CTransformation::Interpolate(acc, b, in.Double()), in);
                break;
            }
            case 5: {
                CTransformation t = ReadTransformation(in);
                switch (in.Byte() % 9) {
                    case 0:
                        t.Translation(in.Vector3d());
                        break;
                    case 1: {
                        const CPoint3d p = in.Point3d();
                        const CUnitVector3d axis = in.UnitVector3d();
                        t.Rotation(p, axis, in.Double());
                        break;
                    }
                    case 2:
                        t.Scaling(in.Double());
                        break;
                    case 3: {
                        const double sx = in.Double(), sy = in.Double();
                        t.Scaling(sx, sy, in.Double());
                        break;
                    }
                    case 4:
                        t.ClearRotation();
                        break;
                    case 5:
                        t.FixOrthogonal();
                        break;
                    case 6:
                        t.CheckOrthogonal();
                        break;
                    case 7:
                        Consume(t.ResynchOrthogonal());
                        break;
                    default:
                        Consume(t.IsReallyIdentity());
                        break;
                }
                Exercise(t, in);
                acc = t;
                break;
            }
            case 6: {
                const CUnitVector3d axis = in.UnitVector3d();
                const Quaternion q(in.Double(), axis);
                double m9[9];
                q.Set(m9);
                const Quaternion back(m9);
                CVector3d ax;
                double angle = 0.0;
                back.GetAxisAndAngle(ax, angle);
                Consume(ax);
                Consume(angle);
                break;
            }
            case 7: {
                double m9[9];
                for (double& v : m9) v = in.Double();
                const Quaternion q(m9);
                const Quaternion r(in.Double(), in.Double(), in.Double(), in.Double());
                Consume(Quaternion::Slerp(q, r, in.Double()));
                CVector3d ax;
                double angle = 0.0;
                r.GetAxisAndAngle(ax, angle);
                Consume(angle);
                Consume(q == r);
                break;
            }
            case 8: {
                CMatrix3x3 a;
                switch (in.Byte() % 5) {
                    case 0:
                        a = CMatrix3x3::Rotation(in.Double());
                        break;
                    case 1: {
                        const double sx = in.Double();
                        a = CMatrix3x3::Scaling(sx, in.Double());
                        break;
                    }
                    case 2: {
                        const double tx = in.Double();
                        a = CMatrix3x3::Translation(tx, in.Double());
                        break;
                    }
                    case 3: {
                        const double sx = in.Double();
                        a = CMatrix3x3::Shearing(sx, in.Double());
                        break;
                    }
                    default: {
                        double rows[3][3];
                        for (auto& r : rows) {
                            for (double& v : r) v = in.Double();
                        }
                        a.Set(rows);
                        break;
                    }
                }
                CMatrix3x3 b;
                double m16[16];
                for (double& v : m16) v = in.Double();
                b.SetMat16(m16);
                CMatrix3x3 c = a * b;
                Consume(c.IsAffine());
                Consume(c.IsIdentity());
                Consume(c.Equals(a, in.Tolerance()));
                Consume(c.Normalize());
                c.Invert();
                Consume(CMatrix3x3::Inverse(a));
                double p[3] = {in.Double(), in.Double(), in.Double()};
                c.Transform(p);
                Consume(p);
                c.GetMat16(m16);
                Consume(m16);
                Consume(c.IsValidObj());
                break;
            }
            case 9: {
                double values[16];
                for (double& v : values) v = in.Double();
                const CMatrix4x4 a(values);
                const CMatrix4x4 b = in.Bool() ? CMatrix4x4(CMatrix3x3::Rotation(in.Double())) : CMatrix4x4();
                const CMatrix4x4 c = a * b;
                CMatrix4x4 inv;
                Consume(c.GetInverse(inv));
                Consume(inv);
                CPoint4d p = in.Point4d();
                c.Transform(p);
                Consume(p);
                double v[4] = {in.Double(), in.Double(), in.Double(), in.Double()};
                a.Transform(v);
                Consume(v);
                break;
            }
            case 10: {
                double quad[4][2];
                for (auto& corner : quad) {
                    corner[0] = in.Double();
                    corner[1] = in.Double();
                }
                double sq[3][3] = {};
                Consume(pmap_square_quad(quad, sq));
                const double u0 = in.Double(), v0 = in.Double(), u1 = in.Double(), v1 = in.Double();
                double qr[3][3] = {};
                Consume(pmap_quad_rect(u0, v0, u1, v1, quad, qr));
                double adj[3][3];
                Consume(mx3d_adjoint(qr, adj));
                double prod[3][3];
                mx3d_mul(sq, adj, prod);
                const double p[3] = {in.Double(), in.Double(), 1.0};
                double q[3];
                mx3d_transform(p, prod, q);
                Consume(q);
                break;
            }
            default:
                Exercise(acc, in);
                break;
        }
    }
    return 0;
}
