// Fuzz target: 3D points, vectors and unit vectors, the tolerance globals,
// homogeneous points and spheres. Each input is a program of operations chosen by
// an opcode byte, run on values decoded by FuzzInput.
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/sphere3d.h>
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cstddef>
#include <cstdint>
#include <sstream>

#include "fuzz_input.h"

using namespace velmor::geometry;
using plenar_fuzz::Consume;
using plenar_fuzz::FuzzInput;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    plenar_fuzz::ToleranceScope scope;
    int steps = 0;
    while (!in.Empty() && steps++ < 256) {
        switch (in.Byte() % 24) {
            case 0:
                plenar_fuzz::ToleranceScope::Mutate(in);
                break;
            case 1: {
                const CPoint3d p = in.Point3d();
                const CPoint3d q = in.Point3d();
                const double tol = in.Tolerance();
                Consume(p.Equals(q, tol));
                Consume(p.DistanceTo(q));
                Consume(p.DistanceSquaredTo(q));
                Consume(p < q);
                Consume(p > q);
                Consume(p.SelectClosest(q, in.Point3d()));
                Consume(p.IsValidObj());
                break;
            }
            case 2: {
                const CPoint3d p = in.Point3d();
                const CPoint3d q = in.Point3d();
                const CUnitVector3d u = in.UnitVector3d();
                Consume(p.DistanceTo(q, u));
                Consume(p.IsOn(q, u));
                Consume(p.Offset(in.Double(), u));
                Consume(CPoint3d(in.Double(), p, in.Double(), q));
                break;
            }
            case 3: {
                CPoint3d p = in.Point3d();
                Consume(p.Project(in.Double()));
                Consume(p);
                CPoint3d q = in.Point3d();
                Consume(q.ProjectGL(in.Double()));
                Consume(q);
                break;
            }
            case 4: {
                CPoint3d p = in.Point3d();
                double s[9];
                for (double& v : s) v = in.Double();
                Consume(p.ComputeLSF(s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8]));
                Consume(s);
                break;
            }
            case 5: {
                CPoint3d p = in.Point3d();
                const CPoint3d a = in.Point3d(), b = in.Point3d(), c = in.Point3d(), d = in.Point3d();
                double t = 0.0, u = 0.0;
                const bool withParams = in.Bool();
                Consume(p.Intersect(a, b, c, d, withParams ? &t : nullptr, withParams ? &u : nullptr));
                Consume(p.Intersect(a, b, c, d));
                Consume(t + u);
                Consume(p);
                break;
            }
            case 6: {
                CVector3d v = in.Vector3d();
                Consume(v.Length());
                Consume(v.Normalize());
                double length = 0.0;
                CVector3d w = in.Vector3d();
                Consume(w.Normalize(length));
                Consume(length);
                CVector3d s = in.Vector3d();
                Consume(s.SetLength(in.Double()));
                Consume(v + w - s);
                break;
            }
            case 7: {
                CVector3d v = in.Vector3d();
                const CVector3d w = in.Vector3d();
                Consume(v.AngleBetween(w));
                Consume(v == w);
                Consume(v < w);
                Consume(v * w);
                Consume(Dot(v, w));
                const double s = in.Double();
                v *= s;
                v /= in.Double();
                Consume(v / s);
                break;
            }
            case 8: {
                const CUnitVector3d u = in.UnitVector3d();
                const CUnitVector3d w = in.UnitVector3d();
                Consume(u.AngleBetween(w));
                Consume(u.IsParallelTo(w));
                Consume(u.IsPerpendicularTo(w));
                Consume(u.Equals(w, in.Tolerance()));
                Consume(u.IsValidObj());
                Consume(u + w);
                Consume(u - w);
                Consume(u * w);
                break;
            }
            case 9: {
                const CUnitVector3d u = in.UnitVector3d();
                Consume(u.CCWAngleBetween(in.Vector3d(), in.Vector3d()));
                break;
            }
            case 10: {
                const CUnitVector3d u = in.UnitVector3d();
                CUnitVector3d xa, ya;
                Consume(u.GetArbitraryAxes(xa, ya));
                Consume(xa);
                Consume(ya);
                break;
            }
            case 11: {
                CUnitVector3d u;
                Consume(u.Set(in.Double(), in.Double(), in.Double()));
                CUnitVector3d w(in.Point3d(), in.Point3d());
                Consume(w.Set(in.Point3d(), in.Point3d()));
                Consume(u);
                CUnitVector3d r = in.UnitVector3d();
                double length = 0.0;
                Consume(r.Normalize(length));
                Consume(r.Normalize());
                break;
            }
            case 12: {
                double xyz[3] = {in.Double(), in.Double(), in.Double()};
                const CUnitVector3d u(xyz);
                CUnitVector3d w;
                w = in.Vector3d();
                Consume(CVector3d(in.Double(), u, in.Double(), w, in.Double(), in.UnitVector3d()));
                break;
            }
            case 13: {
                CPoint4d p = in.Point4d();
                const CPoint4d q = in.Point4d();
                const CVector4d v = p - q;
                Consume(v * in.Double());
                Consume(p == q);
                p.AddScaled(q, in.Double(), v);
                Consume(p.ToPoint3d());
                p.HomogeneousDivide();
                Consume(p);
                Consume(CPoint4d(in.UnitVector3d()));
                Consume(CPoint4d(in.Point3d()));
                break;
            }
            case 14: {
                const CSphere3d s(in.Point3d(), in.Double());
                Consume(s.IsValidObj());
                break;
            }
            case 15: {
                std::ostringstream os;
                os << in.Point3d() << in.Vector3d();
                Consume(os.str().size());
                break;
            }
            default: {
                // Arithmetic chains, including in-place forms.
                CPoint3d p = in.Point3d();
                CVector3d v = in.Vector3d();
                p += v;
                p -= in.Vector3d();
                v += in.Vector3d();
                v -= in.Vector3d();
                v.Reverse();
                Consume(p - in.Point3d());
                Consume(p + in.Point3d());
                Consume(v.Cross(in.UnitVector3d()));
                Consume(-in.UnitVector3d());
                break;
            }
        }
    }
    return 0;
}
