// Determinism battery: runs a fixed, seeded sequence of operations over every
// subsystem of the library and prints each result bit-exactly, one line per
// operation (doubles and floats as hexadecimal floating point, ints, bools).
//
// The output must be byte-identical whatever compiler and optimisation level built
// the library and this program; scripts/determinism.sh checks that. Inputs come
// from a private splitmix64 generator and are turned into doubles with exact
// arithmetic only, so the inputs themselves never depend on the build. Every NaN
// prints as "nan": the sign and payload of a NaN are not part of any result.
#include <geometry/affinetransform.h>
#include <geometry/arc3d.h>
#include <geometry/bezier3d.h>
#include <geometry/boundingbox.h>
#include <geometry/circle3d.h>
#include <geometry/cubicbezier2f.h>
#include <geometry/ellipse2f.h>
#include <geometry/geometryutils.h>
#include <geometry/geomfilter.h>
#include <geometry/line3d.h>
#include <geometry/lineclipper.h>
#include <geometry/mathutil.h>
#include <geometry/matrix3x3.h>
#include <geometry/plane.h>
#include <geometry/pmap.h>
#include <geometry/point2d.h>
#include <geometry/point2f.h>
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/polygon2d.h>
#include <geometry/polygonmesh.h>
#include <geometry/quaternion.h>
#include <geometry/rangef.h>
#include <geometry/ray3d.h>
#include <geometry/rect2f.h>
#include <geometry/size2f.h>
#include <geometry/sphere3d.h>
#include <geometry/tol.h>
#include <geometry/transformation.h>
#include <geometry/triangleclipper.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <vector>

using namespace velmor::geometry;

namespace {

// ---------------------------------------------------------------------------
// Inputs

class Rng {
public:
    explicit Rng(std::uint64_t seed) : state_(seed) {}

    std::uint64_t Next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    int Int(int lo, int hi) { return lo + static_cast<int>(Next() % static_cast<std::uint64_t>(hi - lo + 1)); }

    bool Bool() { return (Next() & 1) != 0; }

    /// In [0, 1): 53 random bits scaled by a power of two, exact.
    double Unit() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }

    /// Mostly ordinary coordinates in [-100, 100); often values on a 1/8 grid, so
    /// that coincident, collinear and axis-aligned cases occur; now and then a
    /// value at a tolerance or a non-finite one.
    double Coord() {
        const int kind = Int(0, 31);
        if (kind < 20) return Unit() * 200.0 - 100.0;
        if (kind < 29) return static_cast<double>(Int(-64, 64)) * 0.125;
        switch (Int(0, 9)) {
            case 0:
                return EqualTol;
            case 1:
                return -EqualTol * 0.5;
            case 2:
                return DivideByZeroTol;
            case 3:
                return 0.0;
            case 4:
                return -0.0;
            case 5:
                return 1e30;
            case 6:
                return std::numeric_limits<double>::quiet_NaN();
            case 7:
                return std::numeric_limits<double>::infinity();
            case 8:
                return 1e15 + Unit();
            default:
                return Unit() * 1e-6;
        }
    }

    /// Finite only.
    double Finite() {
        const int kind = Int(0, 3);
        if (kind == 0) return static_cast<double>(Int(-64, 64)) * 0.125;
        return Unit() * 200.0 - 100.0;
    }

    double Angle() { return Unit() * 12.0 - 6.0; }

    float CoordF() { return static_cast<float>(Coord()); }
    float FiniteF() { return static_cast<float>(Finite()); }

    CPoint3d Point3d() {
        const double x = Coord();
        const double y = Coord();
        const double z = Coord();
        return {x, y, z};
    }
    CPoint3d FinitePoint3d() {
        const double x = Finite();
        const double y = Finite();
        const double z = Finite();
        return {x, y, z};
    }
    CVector3d Vector3d() {
        const double x = Coord();
        const double y = Coord();
        const double z = Coord();
        return {x, y, z};
    }
    CUnitVector3d Unit3d() {
        const double x = Finite();
        const double y = Finite();
        const double z = Finite();
        return CUnitVector3d(x, y, z);
    }
    CPoint4d Point4d() {
        const double x = Coord();
        const double y = Coord();
        const double z = Coord();
        const double w = Coord();
        return {x, y, z, w};
    }
    CPoint2d Point2d() {
        const double x = Coord();
        const double y = Coord();
        return {x, y};
    }
    CPoint2f Point2f() {
        const float x = CoordF();
        const float y = CoordF();
        return {x, y};
    }
    CVector2f Vector2f() {
        const float x = CoordF();
        const float y = CoordF();
        return {x, y};
    }
    CRange Range() {
        const double a = Coord();
        const double b = Coord();
        return {a, b};
    }
    CBoundingBox3d Box3d() {
        const CRange x = Range();
        const CRange y = Range();
        const CRange z = Range();
        return {x, y, z};
    }
    CRect2f Rect() {
        const float x = CoordF();
        const float y = CoordF();
        const float w = CoordF();
        const float h = CoordF();
        return {x, y, w, h};
    }

private:
    std::uint64_t state_;
};

// ---------------------------------------------------------------------------
// Output

class Out {
public:
    explicit Out(const char* name) { std::printf("%s", name); }
    ~Out() { std::printf("\n"); }
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;

    Out& D(double v) {
        if (std::isnan(v)) {
            std::printf(" nan");
        } else {
            std::printf(" %a", v);
        }
        return *this;
    }
    Out& F(float v) { return D(static_cast<double>(v)); }
    Out& I(long long v) {
        std::printf(" %lld", v);
        return *this;
    }
    Out& B(bool v) {
        std::printf(" %c", v ? 'T' : 'F');
        return *this;
    }
    Out& P(const CPoint3d& p) { return D(p.x).D(p.y).D(p.z); }
    Out& V(const CVector3d& v) { return D(v.x).D(v.y).D(v.z); }
    Out& U(const CUnitVector3d& u) { return D(u.x).D(u.y).D(u.z); }
    Out& P4(const CPoint4d& p) { return D(p.x).D(p.y).D(p.z).D(p.w); }
    Out& P2(const CPoint2d& p) { return D(p.x).D(p.y); }
    Out& P2f(const CPoint2f& p) { return F(p.x).F(p.y); }
    Out& R(const CRange& r) { return D(r.min).D(r.max); }
    Out& Box(const CBoundingBox3d& b) { return R(b.x).R(b.y).R(b.z); }
    Out& Rect(const CRect2f& r) { return F(r.x).F(r.y).F(r.width).F(r.height); }
    Out& Pl(const CPlane& p) { return D(p.a).D(p.b).D(p.c).D(p.d); }
    Out& Ray(const CRay3d& r) { return P(r.origin).U(r.direction); }
    Out& T(const CTransformation& t) {
        for (double v : t.matrix) D(v);
        for (double v : t.translation) D(v);
        return D(t.scale).B(t.isIdentity).B(t.isOrthogonal);
    }
    template <std::size_t N>
    Out& A(const double (&values)[N]) {
        for (double v : values) D(v);
        return *this;
    }
};

constexpr int Rounds = 150;

// ---------------------------------------------------------------------------
// Subsystem 1: points, vectors, unit vectors, homogeneous points, spheres

void Vectors(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        const CPoint3d p = rng.Point3d();
        const CPoint3d q = rng.Point3d();
        Out("p3.dist").D(p.DistanceTo(q)).D(p.DistanceSquaredTo(q)).B(p.Equals(q, EqualTol)).B(p < q).B(p > q);
        CPoint3d r = p;
        const double d = rng.Coord();
        const bool projected = r.Project(d);
        Out("p3.project").B(projected).P(r);
        CPoint3d s = q;
        const bool projectedGl = s.ProjectGL(d);
        Out("p3.projectgl").B(projectedGl).P(s);

        CVector3d v = rng.Vector3d();
        const CVector3d w = rng.Vector3d();
        double length = 0.0;
        CVector3d n = v;
        const bool normalised = n.Normalize(length);
        Out("v3.ops").V(v * w).D(Dot(v, w)).D(v.Length()).B(normalised).D(length).V(n).D(v.AngleBetween(w));
        CVector3d sl = w;
        const bool lengthSet = sl.SetLength(rng.Coord());
        Out("v3.setlength").B(lengthSet).V(sl);

        const CUnitVector3d u = rng.Unit3d();
        const CUnitVector3d t = rng.Unit3d();
        CUnitVector3d xa, ya;
        const bool axes = u.GetArbitraryAxes(xa, ya);
        Out("u3.ops").U(u).D(u.AngleBetween(t)).B(u.IsParallelTo(t)).B(u.IsPerpendicularTo(t)).B(axes).U(xa).U(ya);
        const CVector3d a = rng.Vector3d();
        const CVector3d b = rng.Vector3d();
        Out("u3.ccw").D(u.CCWAngleBetween(a, b)).U(CUnitVector3d(p, q)).U(u + t).U(u - t);

        CPoint3d lsf = rng.FinitePoint3d();
        double sums[9] = {};
        const bool lsfOk =
            lsf.ComputeLSF(sums[0], sums[1], sums[2], sums[3], sums[4], sums[5], sums[6], sums[7], sums[8]);
        Out("p3.lsf").B(lsfOk).A(sums);

        CPoint3d hit = rng.FinitePoint3d();
        const CPoint3d l1 = rng.FinitePoint3d();
        const CPoint3d l2 = rng.FinitePoint3d();
        const CPoint3d l3 = rng.FinitePoint3d();
        const CPoint3d l4 = rng.Bool() ? CPoint3d(l3.x + (l2.x - l1.x), l3.y + (l2.y - l1.y), l3.z) : rng.Point3d();
        double tt = 0.0, uu = 0.0;
        const int code = hit.Intersect(l1, l2, l3, l4, &tt, &uu);
        Out("p3.intersect").I(code).D(tt).D(uu).P(hit);

        CPoint4d h = rng.Point4d();
        const CPoint4d g = rng.Point4d();
        const CVector4d diff = h - g;
        h.AddScaled(g, rng.Coord(), diff);
        Out("p4.ops").P4(h).P(h.ToPoint3d()).B(CSphere3d(p, rng.Coord()).IsValidObj());
    }
}

// ---------------------------------------------------------------------------
// Subsystem 2: transformations, matrices, quaternions, projective mapping

CTransformation RandomTransformation(Rng& rng) {
    switch (rng.Int(0, 5)) {
        case 0: {
            const CPoint3d c = rng.FinitePoint3d();
            const CUnitVector3d axis = rng.Unit3d();
            return CTransformation::Rotate(c, axis, rng.Angle());
        }
        case 1: {
            const CPoint3d c = rng.FinitePoint3d();
            return CTransformation::Scale(c, rng.Finite());
        }
        case 2: {
            const CPoint3d c = rng.FinitePoint3d();
            const double sx = rng.Finite();
            const double sy = rng.Finite();
            return CTransformation::Scale(c, sx, sy, rng.Finite());
        }
        case 3: {
            const CUnitVector3d xa = rng.Unit3d();
            const CUnitVector3d ya = rng.Unit3d();
            const CUnitVector3d za = rng.Unit3d();
            return CTransformation(xa, ya, za, rng.FinitePoint3d());
        }
        case 4: {
            const CPoint3d o = rng.FinitePoint3d();
            return CTransformation(o, rng.Unit3d());
        }
        default: {
            double m16[16];
            for (double& v : m16) v = rng.Coord();
            return CTransformation(m16);
        }
    }
}

void Transforms(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        const CTransformation a = RandomTransformation(rng);
        const CTransformation b = RandomTransformation(rng);
        const CTransformation ab = a * b;
        Out("tr.compose").T(ab);
        const CPoint3d p = rng.Point3d();
        const CVector3d v = rng.Vector3d();
        CUnitVector3d u = rng.Unit3d();
        ab.Transform(u);
        Out("tr.apply").P(ab * p).V(ab * v).U(u);
        Out("tr.inverse").T(CTransformation::Inverse(a));
        CTransformation c = b;
        const bool inverted = c.Invert3x3();
        Out("tr.invert3x3").B(inverted).T(c);
        Out("tr.interp").T(CTransformation::Interpolate(a, b, rng.Unit()));
        Out("tr.queries")
            .D(ab.GetDeterminant())
            .D(ab.ZRotation())
            .V(ab.XYZScale())
            .B(ab.IsSingular())
            .B(ab.IsInvertible())
            .B(ab.IsOrthogonal())
            .B(ab.IsOrthonormal())
            .B(ab.IsMirrored())
            .B(ab == a);
        CTransformation f = ab;
        f.FixOrthogonal();
        CTransformation g = ab;
        const bool resynched = g.ResynchOrthogonal();
        Out("tr.fix").T(f).B(resynched).T(g);
        double m16[16];
        ab.GetMatrix(m16);
        float f16[16];
        ab.GetMatrixf(f16);
        Out("tr.matrix").A(m16).F(f16[0]).F(f16[5]).F(f16[13]);

        const CUnitVector3d axis = rng.Unit3d();
        const Quaternion q(rng.Angle(), axis);
        double m9[9];
        q.Set(m9);
        const Quaternion back(m9);
        double qc[4];
        for (double& c : qc) c = rng.Finite();
        const Quaternion r(qc[0], qc[1], qc[2], qc[3]);
        const Quaternion s = Quaternion::Slerp(q, r, rng.Unit());
        CVector3d qa;
        double angle = 0.0;
        back.GetAxisAndAngle(qa, angle);
        Out("quat").A(m9).D(back.x).D(back.y).D(back.z).D(back.w).D(s.x).D(s.y).D(s.z).D(s.w).V(qa).D(angle);

        CMatrix3x3 m;
        double rows[3][3];
        for (auto& row : rows) {
            for (double& e : row) e = rng.Finite();
        }
        m.Set(rows);
        const CMatrix3x3 rot = CMatrix3x3::Rotation(rng.Angle());
        const CMatrix3x3 prod = m * rot;
        const CMatrix3x3 inv = CMatrix3x3::Inverse(prod);
        double pt[3] = {rng.Finite(), rng.Finite(), 1.0};
        inv.Transform(pt);
        CMatrix3x3 nm = prod;
        const bool normalisedM = nm.Normalize();
        Out("m3").A(prod.m).A(inv.m).A(pt).B(normalisedM).A(nm.m).B(prod.IsAffine());

        double values[16];
        for (double& e : values) e = rng.Finite();
        const CMatrix4x4 m4(values);
        CMatrix4x4 inv4;
        const bool ok4 = m4.GetInverse(inv4);
        CPoint4d p4 = rng.Point4d();
        (m4 * inv4).Transform(p4);
        Out("m4").B(ok4).A(inv4.m).P4(p4);

        double quad[4][2];
        for (auto& corner : quad) {
            corner[0] = rng.Finite();
            corner[1] = rng.Finite();
        }
        double qr[3][3] = {};
        const double u0 = rng.Finite();
        const double v0 = rng.Finite();
        const int pcode = pmap_quad_rect(u0, v0, u0 + rng.Unit() * 10.0, v0 + 1.0, quad, qr);
        double sq[3][3] = {};
        const int scode = pmap_square_quad(quad, sq);
        Out("pmap").I(pcode).I(scode).A(qr[0]).A(qr[1]).A(qr[2]).A(sq[0]).A(sq[1]).A(sq[2]);
    }
}

// ---------------------------------------------------------------------------
// Subsystem 3: proximity utilities, ranges and boxes

void Primitives(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        const CPoint3d p1 = rng.Point3d();
        const CPoint3d p2 = rng.FinitePoint3d();
        const CUnitVector3d u1 = rng.Unit3d();
        const CUnitVector3d u2 = rng.Bool() ? u1 : rng.Unit3d();
        double t1 = 0.0, t2 = 0.0;
        const bool closest = ClosestPoint(p1, u1, p2, u2, t1, t2);
        Out("mu.closestlines").B(closest).D(t1).D(t2).D(DistanceBetweenLines(p1, u1, p2, u2));

        const CPoint3d a1 = rng.FinitePoint3d();
        const CPoint3d a2 = rng.Point3d();
        const CPoint3d b1 = rng.FinitePoint3d();
        const CPoint3d b2 = rng.FinitePoint3d();
        double s = 0.0, t = 0.0;
        const bool segs = ClosestPoint(a1, a2, b1, b2, s, t);
        CPoint3d hit;
        const bool meet = SegmentsIntersect(a1, a2, b1, b1.Offset(a2 - a1), &hit);
        CPoint3d out;
        const int onRay = ClosestPoint(a1, a2, b1, u1, out);
        Out("mu.segments").B(segs).D(s).D(t).B(meet).P(hit).I(onRay).P(out);

        const CPoint3d mid(0.5, a1, 0.5, b2);
        Out("mu.colinear")
            .D(ParameterOfClosestPoint(a1, b2, p1))
            .B(AreColinear(a1, b2, mid, EqualTol))
            .B(IsOnLineSegment(a1, b2, mid, EqualTol))
            .B(IsBetween(mid, a1, b2));

        CPoint3d arc[7];
        const double arcRadius = rng.Finite();
        GetPointsOnArc(p2, u1, u2, arcRadius, rng.Angle(), 7, arc);
        Out o("mu.arc");
        for (const CPoint3d& pt : arc) o.P(pt);

        CPoint2d q1 = rng.Point2d();
        CPoint2d q2 = rng.Point2d();
        CPoint2d q3 = rng.Point2d();
        CPoint2d q4 = rng.Bool() ? q2 : rng.Point2d();
        CPoint2d hit2;
        const bool crossed = IntersectSegments(q1, q2, q3, q4, &hit2);
        double tl = 0.0;
        const bool online = IsOnLine(q1, q2, q3, &tl);
        Out("mu.2d").B(crossed).P2(hit2).B(online).D(tl).D(ParameterOfClosestPoint(q1, q2, q3));

        std::vector<CPoint2d> poly;
        const int n = rng.Int(3, 9);
        for (int k = 0; k < n; ++k) {
            const double angle = 6.283185307179586 * static_cast<double>(k) / static_cast<double>(n);
            const double radius = 1.0 + rng.Unit();
            poly.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
        }
        const double probeX = rng.Unit() * 4.0 - 2.0;
        const CPoint2d probe(probeX, rng.Bool() ? 0.0 : rng.Unit() * 4.0 - 2.0);
        Out("mu.pip").I(PointInPolygon(probe, poly.data(), n)).I(PointInPolygon(poly[1], poly.data(), n));

        CRange r = rng.Range();
        const CRange r2 = rng.Range();
        CRange overlap;
        const bool overlaps = r.Overlaps(r2, overlap);
        Out("range")
            .B(r.Contains(rng.Coord()))
            .B(r.Intersects(r2))
            .B(r.IntersectsInTolerance(r2, EqualTol))
            .R(r.Union(r2))
            .R(r.Intersect(r2))
            .B(overlaps)
            .R(overlap);
        r.Expand(rng.Coord());
        Out("range.expand").R(r);

        CBoundingBox3d box = rng.Box3d();
        const CBoundingBox3d box2 = rng.Box3d();
        const CPoint3d sa = rng.Point3d();
        const CPoint3d sb = rng.FinitePoint3d();
        CBoundingBox3d ov;
        const bool boxOverlap = box.Overlaps(box2, ov);
        Out("box3")
            .B(box.Contains(sa))
            .B(box.Intersects(sa, sb))
            .B(box.Intersects(box2))
            .B(boxOverlap)
            .Box(ov)
            .D(box.GetDiagonal())
            .D(box.MaxDistanceSquaredTo(sb))
            .Box(box.Union(box2));
        box += sb;
        box.ExpandRangeIfZero(rng.Unit());
        CPoint3d centre;
        CUnitVector3d normal;
        box.GetCenterNormal(static_cast<EBoxSide>(rng.Int(0, 6)), centre, normal);
        Out("box3.grow").Box(box).P(centre).U(normal);

        CBoundingBox2d flat;
        flat += rng.Point2d();
        flat += rng.Point2d();
        const CPoint2d p2d = rng.Point2d();
        Out("box2").B(flat.Contains(p2d)).B(flat.ContainsInInterior(p2d)).D(flat.GetDiagonal()).P2(flat.GetCenter());
    }
}

// ---------------------------------------------------------------------------
// Subsystem 3: planes and rays, and their transformation

void PlanesAndRays(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        const CPoint3d p1 = rng.FinitePoint3d();
        const CPoint3d p2 = rng.FinitePoint3d();
        const CPoint3d p3 = rng.Bool() ? rng.FinitePoint3d() : CPoint3d(p1.x, p2.y, p1.z);
        CPlane pl(p1, p2, p3);
        const CUnitVector3d n = rng.Unit3d();
        const CPlane other(rng.Point3d(), n);
        const CPoint3d q = rng.Point3d();
        CRay3d ray;
        ray.Set(q, rng.FinitePoint3d());
        double t = 0.0;
        const bool crosses = pl.IntersectWith(ray, t, EqualTol);
        CRay3d common;
        const bool meet = pl.IntersectWith(other, common);
        Out("plane")
            .Pl(pl)
            .B(crosses)
            .D(t)
            .B(meet)
            .Ray(common)
            .P(pl.Project(q))
            .U(pl.Project(n))
            .D(q.DistanceTo(pl))
            .P2(pl.MapPoint(q))
            .B(pl.Equals(other, rng.Bool(), EqualTol))
            .U(pl.GetCanonicalNormal())
            .P(pl.GetPoint());
        const CBoundingBox3d box = rng.Box3d();
        CPoint3d a = rng.Point3d();
        CPoint3d b = rng.FinitePoint3d();
        const int trimmed = pl.TrimAbove(&a, &b);
        Out("plane.box").I(pl.IntersectWith(box)).B(pl.IsAbove(box)).I(trimmed).P(a).P(b);

        CPoint3d pts[6];
        for (CPoint3d& pt : pts) {
            pt = rng.FinitePoint3d();
            pt.z = rng.Bool() ? 0.25 * pt.x - 0.5 * pt.y + 3.0 : pt.z;
        }
        CPlane fit;
        const bool planar = fit.LeastSquaresFit(6, pts);
        CPlane three;
        const bool evaluated = three.Evaluate(pts, 6);
        CPlaneCalculator calc;
        for (const CPoint3d& pt : pts) calc.AddPoint(pt);
        CPlane calculated;
        const bool found = calc.GetPlane(calculated);
        Out("plane.fit").B(planar).Pl(fit).B(evaluated).Pl(three).B(found).Pl(calculated);
        std::vector<CPlane> planes = {pl, other, fit, three};
        CPoint3d corner = rng.FinitePoint3d();
        const bool solved = corner.LeastSquaresFit(planes);
        Out("plane.corner").B(solved).P(corner);

        const CPoint3d r2Origin = rng.FinitePoint3d();
        const CRay3d r2(r2Origin, rng.Unit3d());
        CPoint3d c1, c2, hit;
        const bool closest = ray.FindClosestPoints(r2, c1, c2);
        const bool met = ray.IntersectWith(r2, hit);
        EBoxSide side = NoSide;
        CPoint3d boxHit;
        const bool boxMet = ray.IntersectWith(box, boxHit, side);
        CRay3d fromPlanes;
        const bool intersected = fromPlanes.IntersectPlanes(pl, other);
        Out("ray")
            .B(closest)
            .P(c1)
            .P(c2)
            .B(met)
            .P(hit)
            .B(boxMet)
            .P(boxHit)
            .I(side)
            .B(intersected)
            .Ray(fromPlanes)
            .D(q.DistanceTo(r2))
            .P(q.ProjectTo(r2))
            .B(ray.IsOn(pl));

        const CPoint3d pivot = rng.FinitePoint3d();
        const CUnitVector3d axis = rng.Unit3d();
        const CTransformation rotation = CTransformation::Rotate(pivot, axis, rng.Angle());
        const CPoint3d centre = rng.FinitePoint3d();
        const CTransformation tr = rotation * CTransformation::Scale(centre, rng.Finite());
        CPlane moved = pl;
        tr.Transform(moved);
        CRay3d movedRay = ray;
        const double factor = tr.Transform(movedRay);
        CBoundingBox3d movedBox = box;
        tr.Transform(movedBox);
        Out("transform.geom").Pl(moved).D(factor).Ray(movedRay).Box(movedBox);
    }
}

// ---------------------------------------------------------------------------
// Subsystem 4: single-precision 2D drawing geometry

void Drawing2d(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        const CPoint2f p = rng.Point2f();
        const CPoint2f a = rng.Point2f();
        const CPoint2f b = rng.Point2f();
        float t = 0.0f;
        const bool on = p.IsOnLine(a, b, t);
        float ts = 0.0f;
        const CPoint2f closest = p.ClosestPointOnLineSegment(a, b, ts);
        Out("p2f.line").F(p.DistanceToLine(a, b)).B(on).F(t).P2f(closest).F(ts);
        const CVector2f d = rng.Vector2f();
        const CVector2f e = rng.Vector2f();
        CVector2f sl = d;
        const bool lengthSet = sl.SetLength(rng.CoordF());
        Out("v2f")
            .D(AngleBetween(d, e))
            .D(SignedAngleBetween(d, e))
            .B(AreParallel(d, e))
            .P2(ClosestPointOnLine(p, a, d))
            .F(p.ParameterOfCLosestPointOnLine(a, d))
            .B(lengthSet)
            .F(sl.x)
            .F(sl.y);

        const CRect2f r = rng.Rect();
        float rv[4];
        for (float& v : rv) v = rng.FiniteF();
        const CRect2f s(rv[0], rv[1], rv[2], rv[3]);
        CRect2f grown = r;
        grown += s;
        CRect2f integral = s;
        integral.ExpandToIntegralValues();
        Out("rect")
            .B(r.Contains(p))
            .B(s.Contains(p, EqualTolF))
            .B(r.Intersects(s))
            .Rect(r.Intersection(s))
            .Rect(r.Union(s))
            .Rect(grown)
            .Rect(integral)
            .B(s.Intersects(a, b))
            .P2f(s.RelativeCoordinates(p))
            .F(p.DistanceTo(s));
        std::vector<CPoint2f> crossings;
        s.Intersections(p, d, &crossings);
        Out o("rect.crossings");
        for (const CPoint2f& c : crossings) o.P2f(c);

        float sv[4];
        for (float& v : sv) v = rng.FiniteF();
        const CSize2f size(sv[0], sv[1]);
        const Rangef range(sv[2], sv[3]);
        const float tr = static_cast<float>(rng.Unit());
        Out("size.range").B(size.IsZero()).F(range.Evaluate(tr)).F(range.Left(tr).end).F(range.Right(tr).start);

        AffineTransform at = AffineTransform::Rotate(p, static_cast<float>(rng.Angle()));
        const float scaleX = rng.FiniteF();
        at = at * AffineTransform::Scale(a, scaleX, rng.FiniteF());
        const CPoint2f mapped = at * b;
        const CPoint2d mappedD = at * CPoint2d(b);
        AffineTransform inv = at;
        const bool inverted = inv.Invert();
        Out("affine")
            .P2f(mapped)
            .P2(mappedD)
            .B(inverted)
            .F(inv.a)
            .F(inv.b)
            .F(inv.c)
            .F(inv.d)
            .F(inv.tx)
            .F(inv.ty)
            .F(at.GetRotationAngle())
            .B(at.IsValid());

        std::vector<CPoint2f> poly;
        const int n = rng.Int(3, 9);
        for (int k = 0; k < n; ++k) {
            const float x = static_cast<float>(rng.Int(-8, 8)) * 0.5f;
            const float y = static_cast<float>(rng.Int(-8, 8)) * 0.5f;
            poly.emplace_back(x, y);
        }
        const float probeX = static_cast<float>(rng.Int(-8, 8)) * 0.25f;
        const CPoint2f probe(probeX, static_cast<float>(rng.Int(-8, 8)) * 0.25f);
        Out("pip2f")
            .I(PointInPolygon(probe, poly.data(), static_cast<unsigned int>(n)))
            .B(PointInsideTriangle(probe, poly[0], poly[1], poly[2]));
    }
}

// ---------------------------------------------------------------------------
// Subsystem: 2D float curves (cubic Bezier, ellipse)

Out& Hits(Out& o, const CurveIntersections2f& hits) {
    o.I(static_cast<long long>(hits.points.size()));
    for (const IntersectionPoint2f& h : hits.points) o.P2f(h.point).F(h.t1).F(h.t2);
    return o;
}

void Curves2d(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        const CPoint2f p0 = rng.Point2f();
        const CPoint2f p1 = rng.Point2f();
        const CPoint2f p2 = rng.Point2f();
        const CCubicBezier2f c(p0, p1, p2, rng.Point2f());
        const float t = static_cast<float>(rng.Unit());
        CPoint2f at;
        CVector2f tangent;
        const bool evaluated = c.Evaluate(t, at, tangent);
        CCubicBezier2f left, right;
        c.Split(t, left, right);
        Out("bez2f.eval")
            .P2f(c.EvaluatePoint(t))
            .B(evaluated)
            .P2f(at)
            .F(tangent.x)
            .F(tangent.y)
            .P2f(left.p1)
            .P2f(left.p2)
            .P2f(left.p3)
            .P2f(right.p1)
            .P2f(right.p2);
        CRect2f hull;
        const bool might = c.MightIntersectBounds(&hull);
        const CPoint2f probe = rng.Point2f();
        const float tol = static_cast<float>(rng.Unit() * 2.0 + 0.01);
        float onT = 0.0f;
        const bool onCurve = c.ParameterOfPointOnCurve(probe, tol, onT);
        float refined = t;
        const bool refinedOk = c.RefineClosestPointOnCurve(probe, refined);
        const CRect2f r = rng.Rect();
        Out("bez2f.bounds")
            .Rect(c.ControlPointBounds())
            .Rect(c.Bounds())
            .B(might)
            .Rect(hull)
            .B(c.IsLine(tol))
            .B(c.PointInConvexHullOfControlPoints(probe, tol))
            .B(onCurve)
            .F(onT)
            .B(refinedOk)
            .F(refined)
            .B(c.PointIsOnCurve(probe, tol))
            .B(c.Intersects(r))
            .B(c.IsInside(r));

        std::vector<CPoint2f> flat;
        c.ApproximateWithPolyline(flat, tol);
        Out o("bez2f.flatten");
        o.I(static_cast<long long>(flat.size()));
        for (const CPoint2f& q : flat) o.P2f(q);

        std::vector<CPoint2f> arc;
        const CPoint2f center = rng.Point2f();
        const float radius = rng.FiniteF();
        const float a0 = static_cast<float>(rng.Angle());
        CCubicBezier2f::ApproximateArc(center, radius, a0, static_cast<float>(rng.Angle()), arc);
        Out oa("bez2f.arc");
        oa.I(static_cast<long long>(arc.size()));
        for (const CPoint2f& q : arc) oa.P2f(q);

        // Finite curves on a coarse grid, so that crossings, touches and shared
        // end points are common.
        auto grid = [&rng] {
            const float x = static_cast<float>(rng.Int(-8, 8)) * 0.5f;
            return CPoint2f(x, static_cast<float>(rng.Int(-8, 8)) * 0.5f);
        };
        const CPoint2f g0 = grid(), g1 = grid(), g2 = grid(), g3 = grid();
        const CCubicBezier2f d(g0, g1, g2, g3);
        const CPoint2f h0 = grid(), h1 = grid(), h2 = grid(), h3 = grid();
        const CCubicBezier2f e(h0, h1, h2, h3);
        const Rangef whole(0.0f, 1.0f);
        CurveIntersections2f withLine;
        const bool lineHit = d.IntersectWithLine(h0, h3, whole, whole, withLine);
        Out ol("bez2f.x.line");
        ol.B(lineHit);
        Hits(ol, withLine);
        CurveIntersections2f withCurve;
        const bool curveHit = d.IntersectWithBezier(e, whole, whole, withCurve);
        Out oc("bez2f.x.bezier");
        oc.B(curveHit);
        Hits(oc, withCurve);

        const float rx = rng.FiniteF();
        const float ry = rng.FiniteF();
        const CEllipse2f el(center, rx, ry, static_cast<float>(rng.Angle()));
        const CEllipse2f fromRect(r, static_cast<float>(rng.Angle()));
        const float u = static_cast<float>(rng.Angle());
        CPoint2f ep;
        CVector2f et;
        el.EvalPointAndTangent(u, ep, et);
        CPoint2f gp;
        CVector2f gt;
        fromRect.GetPointAndTangentAtParameter(u, gp, gt);
        CPoint2f outline[7];
        el.GetPoints(7, outline);
        Out oe("ellipse2f");
        oe.P2f(ep)
            .F(et.x)
            .F(et.y)
            .P2f(gp)
            .F(gt.x)
            .F(gt.y)
            .P2f(el.GetPointAtParameter(u))
            .F(el.GetTangentAtParameter(u).x)
            .F(el.ParameterOfClosestPoint(probe))
            .F(fromRect.ParameterOfClosestPoint(probe));
        for (const CPoint2f& q : outline) oe.P2f(q);
    }
}

// ---------------------------------------------------------------------------
// Subsystem: 3D curves, bounded lines and meshes

class Collect : public IBezier3dDraw {
public:
    void LineTo(const CPoint3d& p) override { points.push_back(p); }
    std::vector<CPoint3d> points;
};

void Curves3d(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        const CPoint3d q0 = rng.FinitePoint3d();
        const CPoint3d q1 = rng.FinitePoint3d();
        const CPoint3d q2 = rng.FinitePoint3d();
        const CBezier3d b(q0, q1, q2, rng.FinitePoint3d());
        const double t = rng.Unit();
        CBezier3d left, right;
        b.Split(left, right);
        const double tol = rng.Unit() + 0.05;
        Out("bez3d")
            .P(b.EvaluatePoint(t))
            .U(b.EvaluateDirection(t))
            .Ray(b.Evaluate(rng.Coord()))
            .P(left.p1)
            .P(left.p2)
            .P(left.p3)
            .P(right.p2)
            .B(b.IsStraight(tol));
        Collect sink;
        b.Draw(&sink, tol);
        Out od("bez3d.draw");
        od.I(static_cast<long long>(sink.points.size()));
        for (const CPoint3d& p : sink.points) od.P(p);

        const CPoint3d a = rng.Point3d();
        CLine3d line(a, rng.Point3d());
        const CPoint3d s = rng.Point3d();
        CPoint3d start, end;
        const bool hasStart = line.GetStartPoint(start);
        const bool hasEnd = line.GetEndPoint(end);
        Out("line3d")
            .Ray(line)
            .D(line.startParam)
            .D(line.endParam)
            .B(hasStart)
            .P(start)
            .B(hasEnd)
            .P(end)
            .B(line.IsNull());
        line.SetStartPoint(s);
        Out("line3d.start").Ray(line).D(line.startParam).D(line.endParam);
        line.SetEndPoint(rng.Point3d());
        Out("line3d.end").Ray(line).D(line.startParam).D(line.endParam);
        line.Reverse();
        Out("line3d.reverse").Ray(line).D(line.startParam).D(line.endParam);
        line.SetDirection(rng.Unit3d());
        Out("line3d.direction").Ray(line).D(line.startParam).D(line.endParam);
        const CPoint3d onPlane = rng.Point3d();
        const bool kept = line.TrimToPlane(CPlane(onPlane, rng.Unit3d()));
        CRay3d semi;
        const bool hasSemi = line.GetSemiInfiniteRay(semi);
        const CBoundingBox3d box = rng.Box3d();
        Out("line3d.trim")
            .B(kept)
            .Ray(line)
            .D(line.startParam)
            .D(line.endParam)
            .B(hasSemi)
            .Ray(semi)
            .B(line.IntersectWith(box))
            .I(Zone(box, s, 7))
            .I(Zone(box, s, rng.Int(0, 7)))
            .B(line.IsValidObj());

        const CPoint3d c1 = rng.FinitePoint3d();
        const CPoint3d c2 = rng.FinitePoint3d();
        const CPoint3d c3 = rng.FinitePoint3d();
        CCircle3d circle(c1, c2, c3);
        CCircle3d fake;
        fake.BuildFakeCircle(c1, c2, c3);
        const double angle = rng.Angle();
        const CPoint3d p = rng.Point3d();
        Out("circle3d")
            .P(circle.center)
            .V(circle.xAxis)
            .V(circle.yAxis)
            .Pl(circle.plane)
            .D(circle.radius)
            .P(circle.Eval(angle))
            .D(circle.ParameterOfClosestPoint(p))
            .P(circle.Project(p))
            .B(circle.IsTrueCircle())
            .P(fake.center)
            .D(fake.radius)
            .V(fake.xAxis)
            .P(fake.Eval(angle));
        const CPoint3d ro = rng.Point3d();
        const CRay3d ray(ro, rng.Unit3d());
        CPoint3d x1, x2;
        double t1 = 0.0, t2 = 0.0;
        const int rayHits = ray.IntersectWith(circle, t1, t2, &x1, &x2);
        Out("circle3d.ray").I(rayHits).D(t1).D(t2).P(x1).P(x2);
        const CPoint3d po = rng.FinitePoint3d();
        const CPlane plane(po, rng.Unit3d());
        const int planeHits = plane.IntersectWith(circle, x1, x2);
        Out("circle3d.plane").I(planeHits).P(x1).P(x2);
        const bool resized = circle.SetRadius(rng.Finite());
        const CUnitVector3d axis = rng.Unit3d();
        circle *= CTransformation::Rotate(po, axis, rng.Angle());
        Out("circle3d.moved")
            .B(resized)
            .P(circle.center)
            .V(circle.xAxis)
            .V(circle.yAxis)
            .Pl(circle.plane)
            .D(circle.radius);

        const CArc3d arc3(c1, c2, c3);
        const CPoint3d ac = rng.FinitePoint3d();
        const CArc3d about(ac, c1, c2, rng.Unit3d());
        Out("arc3d")
            .D(arc3.startAngle)
            .D(arc3.endAngle)
            .P(arc3.GetStartPoint())
            .P(arc3.GetEndPoint())
            .B(arc3.IsNull())
            .B(arc3.IsFullCircle(true))
            .B(arc3.IsFullCircle(false))
            .D(about.startAngle)
            .D(about.endAngle)
            .D(about.radius)
            .P(about.GetEndPoint())
            .B(about.IsFullCircle(true));

        CPolygonMesh mesh(7);
        const int corners = rng.Int(3, 6);
        std::vector<CPoint3d> ring;
        for (int k = 0; k < corners; ++k) {
            const double x = static_cast<double>(rng.Int(-4, 4)) * 0.5;
            const double y = static_cast<double>(rng.Int(-4, 4)) * 0.5;
            ring.emplace_back(x, y, static_cast<double>(rng.Int(-2, 2)) * 0.5);
        }
        const long first = mesh.AddPolygon(static_cast<long>(corners), ring.data());
        std::vector<long> indices;
        for (int k = 0; k < corners; ++k) indices.push_back(rng.Int(-corners, corners));
        const long second = mesh.AddPolygon(static_cast<long>(corners), indices.data());
        mesh.SetNormal(1, rng.Unit3d());
        mesh.SetUVFront(1, rng.FinitePoint3d());
        // One draw per statement: the order of a call's arguments is unspecified.
        const CPoint3d fixed = rng.FinitePoint3d();
        const double sx = rng.Finite();
        const double sy = rng.Finite();
        mesh.Transform(CTransformation::Scale(fixed, sx, sy, rng.Finite()));
        Out om("mesh");
        om.I(first).I(second).I(mesh.FindPoint(ring[0])).I(static_cast<long long>(mesh.points.size()));
        for (const CPoint3d& m : mesh.points) om.P(m);
        om.U(mesh.GetNormal(1)).P(mesh.GetUVFront(1)).P(mesh.GetUVBack(2));
    }
}

// ---------------------------------------------------------------------------
// Subsystem 4: double-precision 2D polygons

void Polygons(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        CPolygon2d a;
        CPolygon2d b;
        const int n = rng.Int(0, 8);
        const int shift = n > 0 ? rng.Int(0, n - 1) : 0;
        for (int k = 0; k < n; ++k) {
            const double x = static_cast<double>(rng.Int(-8, 8)) * 0.5;
            const double y = static_cast<double>(rng.Int(-8, 8)) * 0.5;
            a.AddPoint(CPoint2d(x, y));
        }
        for (int k = 0; k < n; ++k) {
            const CPoint2d& p = a.points[static_cast<std::size_t>((k + shift) % n)];
            b.AddPoint(rng.Int(0, 7) == 0 ? CPoint2d(p.x + EqualTol, p.y) : p);
        }
        CPoint2d probe = rng.Point2d();
        if (rng.Bool()) {
            probe.x = static_cast<double>(rng.Int(-8, 8)) * 0.25;
            probe.y = static_cast<double>(rng.Int(-8, 8)) * 0.25;
        }
        CPolygon2d r = a;
        r.Reverse();
        Out("polygon")
            .I(a.ClassifyPoint(probe))
            .B(a.Contains(b, true))
            .B(a.Contains(b, false))
            .B(a.IsCoincidentWith(b))
            .D(a.GetSignedArea())
            .D(r.GetSignedArea())
            .R(a.bounds.x)
            .R(a.bounds.y);
    }
}

// ---------------------------------------------------------------------------
// Subsystem 5: selection filters

void Filters(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        // A box-shaped pick volume around a random centre, slightly turned.
        const CPoint3d c = rng.FinitePoint3d();
        const double h = 1.0 + rng.Unit() * 10.0;
        const CPlane planes[6] = {CPlane(1, 0, 0, -(c.x + h)), CPlane(-1, 0, 0, c.x - h),   CPlane(0, 1, 0, -(c.y + h)),
                                  CPlane(0, -1, 0, c.y - h),   CPlane(0, 0, 1, -(c.z + h)), CPlane(0, 0, -1, c.z - h)};
        CGeomFilterCrossingVolume crossing(planes[0], planes[1], planes[2], planes[3], planes[4], planes[5]);
        CGeomFilterInsideVolume inside(planes[0], planes[1], planes[2], planes[3], planes[4], planes[5]);
        const CPoint3d pivot = rng.FinitePoint3d();
        const CUnitVector3d axis = rng.Unit3d();
        const CTransformation turn = CTransformation::Rotate(pivot, axis, rng.Unit() * 0.2);
        std::unique_ptr<IGeomFilter> turned(crossing.Clone());
        turned->Transform(turn);
        const CPoint3d cutPoint = rng.FinitePoint3d();
        const CPlane cut(cutPoint, rng.Unit3d());
        CGeomFilterCombined combined(new CGeomFilterAbovePlane(cut), turned->Clone());
        combined.Add(new CGeomFilterPlane(cut));

        // Probes around the volume, so that all the answers occur.
        const auto near = [&rng, &c, h]() {
            const double x = c.x + (rng.Unit() - 0.5) * 3.0 * h;
            const double y = c.y + (rng.Unit() - 0.5) * 3.0 * h;
            const double z = c.z + (rng.Unit() - 0.5) * 3.0 * h;
            return CPoint3d(x, y, z);
        };
        const CPoint3d a = rng.Int(0, 9) == 0 ? rng.Point3d() : near();
        const CPoint3d b = near();
        CBoundingBox3d box;
        box += near();
        box += near();
        Out o("filter");
        for (IGeomFilter* f : {static_cast<IGeomFilter*>(&crossing), static_cast<IGeomFilter*>(&inside), turned.get(),
                               static_cast<IGeomFilter*>(&combined)}) {
            bool fully = false;
            const bool boxHit = f->Test(box, fully);
            o.B(f->Test(a)).B(f->Test(a, b)).B(f->Test(box)).B(boxHit).B(fully);
        }
        const CPlane* face = turned->GetFrustumPlane(rng.Int(0, 5));
        o.Pl(face != nullptr ? *face : CPlane());
    }
}

// ---------------------------------------------------------------------------
// Subsystem 6: clipping

void TriangleClipping(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        std::vector<CPoint3d> pool;
        for (int k = 0; k < 6; ++k) pool.push_back(rng.Bool() ? rng.FinitePoint3d() : rng.Point3d());
        std::vector<ClipPlane> planes;
        const int n = rng.Int(0, 6);
        for (int k = 0; k < n; ++k) {
            const bool keepGreater = rng.Bool();
            const double value = rng.Finite();
            planes.emplace_back(keepGreater, value, rng.Int(0, 2));
        }
        TriangleClipper clipper(&pool, planes);
        std::vector<TriangleClipper::IndexedTriangle> result;
        clipper.ClipToExtents({{0, 1, 2}}, &result);
        clipper.ClipToExtents({{3, 4, 5}}, &result);
        Out o("triclip");
        o.I(static_cast<long long>(result.size())).I(static_cast<long long>(pool.size()));
        for (const auto& t : result) {
            for (int index : t.indices) o.I(index).P(pool[static_cast<std::size_t>(index)]);
        }
    }
}

void Clipping(Rng& rng) {
    for (int i = 0; i < Rounds; ++i) {
        LineClipper clipper;
        clipper.depthLimit = rng.Bool() ? 1.0 : rng.Unit() * 2.0;
        const bool sides = rng.Bool();
        const CPoint4d p0 = rng.Point4d();
        CPoint4d p1 = rng.Point4d();
        if (rng.Bool()) p1.w = 1.0;
        const int code = clipper.Clip(sides, p0, p1);
        double bc[4] = {};
        const unsigned int outcode = clipper.CalculateBoundaryCoordinates(sides, p0, bc);
        CPoint4d clamped = p1;
        clipper.ClampToNearFarPlaneZ(clamped);
        Out("lineclip").I(code).D(clipper.tMin).D(clipper.tMax).I(outcode).A(bc).P4(clamped);
    }
}

}  // namespace

int main() {
    // Each subsystem has its own stream, so adding operations to one leaves the
    // inputs of the others unchanged.
    Rng vectors(0x5EED0001ull);
    Vectors(vectors);
    Rng transforms(0x5EED0002ull);
    Transforms(transforms);
    Rng primitives(0x5EED0003ull);
    Primitives(primitives);
    Rng planes(0x5EED0007ull);
    PlanesAndRays(planes);
    Rng drawing(0x5EED0004ull);
    Drawing2d(drawing);
    Rng polygons(0x5EED0005ull);
    Polygons(polygons);
    Rng filters(0x5EED0008ull);
    Filters(filters);
    Rng triangles(0x5EED0009ull);
    TriangleClipping(triangles);
    Rng clipping(0x5EED0006ull);
    Clipping(clipping);
    Rng curves2d(0x5EED000Aull);
    Curves2d(curves2d);
    Rng curves3d(0x5EED000Bull);
    Curves3d(curves3d);
    return 0;
}
