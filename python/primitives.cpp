// Planes, rays and lines, ranges and boxes, circles and arcs, Bezier curves and
// polygon meshes.
#include "bindings.h"

#include <geometry/arc3d.h>
#include <geometry/bezier3d.h>
#include <geometry/boundingbox.h>
#include <geometry/circle3d.h>
#include <geometry/line3d.h>
#include <geometry/meshwelder.h>
#include <geometry/plane.h>
#include <geometry/polygonmesh.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <vector>

namespace plenar_python {

using namespace velmor::geometry;

namespace {

std::string PointRepr(const CPoint3d& p) { return Repr("CPoint3d", p.x, p.y, p.z); }

// Collects the vertices a flattened 3D curve sends.
class PointCollector : public IBezier3dDraw {
public:
    std::vector<CPoint3d> points;
    void LineTo(const CPoint3d& p) override { points.push_back(p); }
};

py::array_t<double> PointsToArray(const std::vector<CPoint3d>& points) {
    auto out = NewArray<double>({static_cast<py::ssize_t>(points.size()), 3});
    double* d = out.mutable_data();
    for (const CPoint3d& p : points) {
        *d++ = p.x;
        *d++ = p.y;
        *d++ = p.z;
    }
    return out;
}

std::vector<CPoint3d> ArrayToPoints(const py::handle& h, const char* argument) {
    const DoubleArray a = AsDoubles(h, argument, "(n, 3)");
    const std::size_t n = CheckShape(a, {3}, argument, "(n, 3)");
    const auto* p = reinterpret_cast<const CPoint3d*>(a.data());
    return std::vector<CPoint3d>(p, p + n);
}

CBoundingBox3d BoxFromArray(const py::handle& h) {
    const DoubleArray a = AsDoubles(h, "box", "(2, 3)");
    if (a.ndim() != 2 || a.shape(0) != 2 || a.shape(1) != 3)
        throw py::value_error("box: expected an array of shape (2, 3) ([min x, y, z], [max x, y, z]), got shape " +
                              std::string(py::str(py::getattr(a, "shape"))));
    const double* d = a.data();
    return CBoundingBox3d(CPoint3d(d[0], d[1], d[2]), CPoint3d(d[3], d[4], d[5]));
}

py::array_t<double> BoxToArray(const CBoundingBox3d& b) {
    auto out = NewArray<double>({2, 3});
    double* d = out.mutable_data();
    d[0] = b.x.min;
    d[1] = b.y.min;
    d[2] = b.z.min;
    d[3] = b.x.max;
    d[4] = b.y.max;
    d[5] = b.z.max;
    return out;
}

}  // namespace

void RegisterPrimitives(py::module_& m) {
    py::enum_<EBoxSide>(m, "EBoxSide", py::arithmetic(), "Box faces as the ray and line box tests report them.")
        .value("NoSide", NoSide)
        .value("MinX", MinX)
        .value("MaxX", MaxX)
        .value("MinY", MinY)
        .value("MaxY", MaxY)
        .value("MinZ", MinZ)
        .value("MaxZ", MaxZ)
        .export_values();
    py::enum_<EBoxPlaneSide>(m, "EBoxPlaneSide", py::arithmetic(), "How a box lies against a plane.")
        .value("BoxAbove", BoxAbove)
        .value("BoxBelow", BoxBelow)
        .value("BoxCrossing", BoxCrossing)
        .export_values();
    py::enum_<ETrimResult>(m, "ETrimResult", py::arithmetic(), "What CPlane.TrimAbove did to a segment.")
        .value("SegmentAbove", SegmentAbove)
        .value("SegmentTrimmed", SegmentTrimmed)
        .value("SegmentBelow", SegmentBelow)
        .export_values();

    // ----- CRange and boxes
    py::class_<CRange> range(m, "CRange",
                             "A closed interval [min, max] of doubles; empty when min > max (strict). The default is "
                             "the canonical empty range (1e30, -1e30).");
    range.def(py::init<>(), "The empty range (1e30, -1e30).")
        .def(py::init<double, double>(), py::arg("min"), py::arg("max"), "The range as given.");
    SequenceProtocol<decltype(range), double, 2>(
        range, "CRange",
        [](const CRange& r) {
            return std::array<double, 2>{r.min, r.max};
        },
        [](const std::array<double, 2>& a) { return CRange(a[0], a[1]); },
        [](const std::array<double, 2>& a) { return CRange(a[0], a[1]); });
    range.def_readwrite("min", &CRange::min)
        .def_readwrite("max", &CRange::max)
        .def("Clear", &CRange::Clear)
        .def("IsEmpty", &CRange::IsEmpty, "min > max (strict): a single-value range is not empty.")
        .def("Extent", &CRange::Extent, "max - min when max > min, else 0.")
        .def("Contains", py::overload_cast<double>(&CRange::Contains, py::const_), py::arg("v"),
             "An exact end value belongs; otherwise strictly between min - EqualTol and max + EqualTol.")
        .def("Contains", py::overload_cast<const CRange&>(&CRange::Contains, py::const_), py::arg("r"),
             "r within this range widened by EqualTol, strict; no emptiness test.")
        .def("PreciselyContains", &CRange::PreciselyContains, py::arg("v"), "min <= v < max, no tolerance.")
        .def("ContainsInInterior", py::overload_cast<double>(&CRange::ContainsInInterior, py::const_), py::arg("v"),
             "At least EqualTol inside both ends (inclusive at EqualTol).")
        .def("Intersects", &CRange::Intersects, py::arg("r"), "Closed intervals meet; False when either is empty.")
        .def("IntersectsInTolerance", &CRange::IntersectsInTolerance, py::arg("r"), py::arg("tol"),
             "Both widened by tol: a gap up to 2*tol still counts.")
        .def("Union", &CRange::Union, py::arg("r"))
        .def("Intersect", &CRange::Intersect, py::arg("r"), "The common part; empty unless both meet (closed).")
        .def("Expand", &CRange::Expand, py::arg("e"))
        .def(
            "Overlaps",
            [](const CRange& a, const CRange& b) -> py::object {
                CRange out;
                if (!a.Overlaps(b, out)) return py::none();
                return py::cast(out);
            },
            py::arg("r"), "The common part when the ranges overlap by at least EqualTol, else None.")
        .def(py::self + py::self)
        .def(py::self + double())
        .def(py::self += py::self)
        .def(py::self += double())
        .def("IsValidObj", &CRange::IsValidObj);

    py::class_<CBoundingBox3d>(m, "CBoundingBox3d",
                               "An axis-aligned 3D box of ranges x, y, z; empty by default. IsEmpty looks only at x. "
                               "Contains(point) is tolerant by EqualTol, Intersects(box) closed without tolerance. "
                               "As an array it is (2, 3): [[min x, y, z], [max x, y, z]].")
        .def(py::init<>(), "The empty box.")
        .def(py::init<const CBoundingBox3d&>(), py::arg("box"))
        .def(py::init<const CRange&, const CRange&, const CRange&>(), py::arg("x"), py::arg("y"), py::arg("z"))
        .def(py::init<const CPoint3d&, const CPoint3d&>(), py::arg("minPoint"), py::arg("maxPoint"),
             "From the minimum corner to the maximum corner, stored as given.")
        .def(py::init(&BoxFromArray), py::arg("array"), "From a (2, 3) array [[min], [max]].")
        .def_readwrite("x", &CBoundingBox3d::x)
        .def_readwrite("y", &CBoundingBox3d::y)
        .def_readwrite("z", &CBoundingBox3d::z)
        .def("Clear", &CBoundingBox3d::Clear)
        .def("IsEmpty", &CBoundingBox3d::IsEmpty, "True when the x range is empty (only x is looked at).")
        .def("Contains", py::overload_cast<const CPoint3d&>(&CBoundingBox3d::Contains, py::const_), py::arg("p"),
             "Per axis an exact face value passes, otherwise strictly within EqualTol outside the faces.")
        .def("Contains", py::overload_cast<const CBoundingBox3d&>(&CBoundingBox3d::Contains, py::const_),
             py::arg("box"), "box within this box widened by EqualTol (strict); False when box's x is empty.")
        .def("PreciselyContains", &CBoundingBox3d::PreciselyContains, py::arg("p"), "min <= p < max on every axis.")
        .def("ContainsInInterior", py::overload_cast<const CPoint3d&>(&CBoundingBox3d::ContainsInInterior, py::const_),
             py::arg("p"), "At least EqualTol inside every face.")
        .def("Intersects", py::overload_cast<CPoint3d, CPoint3d>(&CBoundingBox3d::Intersects, py::const_), py::arg("a"),
             py::arg("b"), "Whether the segment a-b meets the box (faces included).")
        .def("Intersects", py::overload_cast<const CBoundingBox3d&>(&CBoundingBox3d::Intersects, py::const_),
             py::arg("box"), "Closed test, no tolerance; False when any axis of either box is empty.")
        .def("IntersectsInTolerance", &CBoundingBox3d::IntersectsInTolerance, py::arg("box"), py::arg("tol"))
        .def(
            "Overlaps",
            [](const CBoundingBox3d& a, const CBoundingBox3d& b) -> py::object {
                CBoundingBox3d out;
                if (!a.Overlaps(b, out)) return py::none();
                return py::cast(out);
            },
            py::arg("box"), "The common box when every axis overlaps by at least EqualTol, else None.")
        .def("GetDiagonalSquared", &CBoundingBox3d::GetDiagonalSquared)
        .def("GetDiagonal", &CBoundingBox3d::GetDiagonal)
        .def("GetCenter", &CBoundingBox3d::GetCenter)
        .def("Add", &CBoundingBox3d::Add, py::arg("p"), "Grows the box to cover p.")
        .def("Union", &CBoundingBox3d::Union, py::arg("box"))
        .def("Intersect", &CBoundingBox3d::Intersect, py::arg("box"))
        .def("GetMinPoint", &CBoundingBox3d::GetMinPoint)
        .def("GetMaxPoint", &CBoundingBox3d::GetMaxPoint)
        .def("GetCorner", &CBoundingBox3d::GetCorner, py::arg("i"),
             "Corner i: maximum on x for bit 1, on y for bit 2, on z for bit 4.")
        .def("MaxDistanceSquaredTo", &CBoundingBox3d::MaxDistanceSquaredTo, py::arg("p"))
        .def("Expand", &CBoundingBox3d::Expand, py::arg("e"))
        .def("ExpandRangeIfZero", &CBoundingBox3d::ExpandRangeIfZero, py::arg("factor"))
        .def("Stretch", &CBoundingBox3d::Stretch, py::arg("v"))
        .def("IsValidObj", &CBoundingBox3d::IsValidObj)
        .def(py::self + py::self)
        .def(py::self + CPoint3d())
        .def(py::self += py::self)
        .def(py::self += CPoint3d())
        .def("ToArray", &BoxToArray, "The (2, 3) array [[min x, y, z], [max x, y, z]].")
        .def(
            "__array__", [](const CBoundingBox3d& b, const py::object&) { return BoxToArray(b); },
            py::arg("dtype") = py::none())
        .def("__repr__",
             [](const CBoundingBox3d& b) {
                 return "CBoundingBox3d(" + PointRepr(b.GetMinPoint()) + ", " + PointRepr(b.GetMaxPoint()) + ")";
             })
        .def("__copy__", [](const CBoundingBox3d& b) { return b; })
        .def(
            "__deepcopy__", [](const CBoundingBox3d& b, const py::dict&) { return b; }, py::arg("memo"))
        .def(py::pickle([](const CBoundingBox3d& b) { return py::array(BoxToArray(b)); },
                        [](const py::array& a) { return BoxFromArray(a); }));

    py::class_<CBoundingBox2d>(m, "CBoundingBox2d", "An axis-aligned 2D box of ranges x and y; empty by default.")
        .def(py::init<>())
        .def(py::init<const CRange&, const CRange&>(), py::arg("x"), py::arg("y"))
        .def(py::init<const CPoint2d&, const CPoint2d&>(), py::arg("minPoint"), py::arg("maxPoint"))
        .def_readwrite("x", &CBoundingBox2d::x)
        .def_readwrite("y", &CBoundingBox2d::y)
        .def("Clear", &CBoundingBox2d::Clear)
        .def("IsEmpty", &CBoundingBox2d::IsEmpty)
        .def("Contains", py::overload_cast<const CPoint2d&>(&CBoundingBox2d::Contains, py::const_), py::arg("p"),
             "Tolerant by EqualTol per axis, no emptiness test.")
        .def("Intersects", &CBoundingBox2d::Intersects, py::arg("box"))
        .def("GetCenter", &CBoundingBox2d::GetCenter)
        .def("Add", &CBoundingBox2d::Add, py::arg("p"))
        .def("Union", &CBoundingBox2d::Union, py::arg("box"))
        .def("Intersect", &CBoundingBox2d::Intersect, py::arg("box"))
        .def("GetMinPoint", &CBoundingBox2d::GetMinPoint)
        .def("GetMaxPoint", &CBoundingBox2d::GetMaxPoint)
        .def("GetDiagonal", &CBoundingBox2d::GetDiagonal)
        .def("IsValidObj", &CBoundingBox2d::IsValidObj)
        .def("__repr__",
             [](const CBoundingBox2d& b) {
                 return "CBoundingBox2d(" + Repr("CPoint2d", b.x.min, b.y.min) + ", " +
                        Repr("CPoint2d", b.x.max, b.y.max) + ")";
             })
        .def("__copy__", [](const CBoundingBox2d& b) { return b; });

    // ----- CPlane
    py::class_<CPlane> plane(m, "CPlane",
                             "An oriented plane a*x + b*y + c*z + d = 0 with unit normal (a, b, c): the expression is "
                             "the signed distance, positive above. The box classification and TrimAbove use no "
                             "tolerance (strict against 0); point membership is strict against EqualTol.");
    py::class_<CRay3d> ray(m, "CRay3d",
                           "A point and a unit direction; most queries treat it as the infinite carrier line. The box "
                           "test gives the origin the meaning of a start and uses no tolerance (faces belong).");
    plane.def(py::init<>(), "The plane z = 0 with normal +z.")
        .def(py::init<const CPlane&>(), py::arg("plane"))
        .def(py::init<double, double, double, double>(), py::arg("a"), py::arg("b"), py::arg("c"), py::arg("d"),
             "The plane of the equation, normalised; a zero normal gives (0, 0, 0, d).")
        .def(py::init<const CPoint3d&, const CUnitVector3d&>(), py::arg("p"), py::arg("n"),
             "The plane through p with normal n, taken as given.")
        .def(py::init<const CPoint3d&, const CPoint3d&, const CPoint3d&>(), py::arg("p1"), py::arg("p2"), py::arg("p3"),
             "Through three points, counter-clockwise seen from above; colinear points: zero normal.");
    SequenceProtocol<decltype(plane), double, 4>(
        plane, "CPlane",
        [](const CPlane& p) {
            return std::array<double, 4>{p.a, p.b, p.c, p.d};
        },
        [](const std::array<double, 4>& a) { return CPlane(a[0], a[1], a[2], a[3]); },
        [](const std::array<double, 4>& a) {
            CPlane p;
            p.a = a[0];
            p.b = a[1];
            p.c = a[2];
            p.d = a[3];
            return p;
        });
    plane.def_readwrite("a", &CPlane::a)
        .def_readwrite("b", &CPlane::b)
        .def_readwrite("c", &CPlane::c)
        .def_readwrite("d", &CPlane::d)
        .def("Set", py::overload_cast<const CPoint3d&, const CUnitVector3d&>(&CPlane::Set), py::arg("p"), py::arg("n"))
        .def("Set", py::overload_cast<double, double, double, double>(&CPlane::Set), py::arg("a"), py::arg("b"),
             py::arg("c"), py::arg("d"), "Normalises; at or below DivideByZeroTolSq the normal becomes zero.")
        .def("Normal", &CPlane::Normal, "The stored normal, not renormalised.")
        .def("SignedDistance", &CPlane::SignedDistance, py::arg("p"), "((a*x + b*y) + c*z) + d; positive above.")
        .def("DistanceTo", &CPlane::DistanceTo, py::arg("p"))
        .def("Project", py::overload_cast<const CPoint3d&>(&CPlane::Project, py::const_), py::arg("p"),
             "The foot of the perpendicular from p.")
        .def("Project", py::overload_cast<const CRay3d&>(&CPlane::Project, py::const_), py::arg("ray"))
        .def(
            "IntersectWith",
            [](const CPlane& pl, const CRay3d& r, double tol) -> py::object {
                double t = 0.0;
                if (!pl.IntersectWith(r, t, tol)) return py::none();
                return py::float_(t);
            },
            py::arg("ray"), py::arg("tol"),
            "The carrier line's parameter t at the plane, or None when |normal . direction| < tol (strict).")
        .def(
            "IntersectWith",
            [](const CPlane& pl, const CRay3d& r) -> py::object {
                CPoint3d p;
                if (!pl.IntersectWith(r, p)) return py::none();
                return py::cast(p);
            },
            py::arg("ray"), "The point where the carrier line meets the plane (tol EqualTolSq), or None.")
        .def(
            "IntersectWith",
            [](const CPlane& pl, const CPlane& other) -> py::object {
                CRay3d line;
                if (!pl.IntersectWith(other, line)) return py::none();
                return py::cast(line);
            },
            py::arg("plane"), "The common line, along this normal x other normal, or None for parallel planes.")
        .def("IntersectWith", py::overload_cast<const CBoundingBox3d&>(&CPlane::IntersectWith, py::const_),
             py::arg("box"),
             "EBoxPlaneSide without tolerance: BoxAbove (1), BoxBelow (2), BoxCrossing (3) when it touches.")
        .def("IsAbove", &CPlane::IsAbove, py::arg("box"))
        .def("GetCanonicalNormal", &CPlane::GetCanonicalNormal)
        .def("SetCanonicalForm", &CPlane::SetCanonicalForm)
        .def("Reverse", &CPlane::Reverse)
        .def("GetPoint", &CPlane::GetPoint)
        .def("MapPoint", &CPlane::MapPoint, py::arg("p"))
        .def("Equals", &CPlane::Equals, py::arg("other"), py::arg("oriented"), py::arg("tol"),
             "Component-wise within tol (inclusive); unoriented compares the negated equation when facing away.")
        .def(py::self += CVector3d())
        .def(py::self -= CVector3d())
        .def("Offset", &CPlane::Offset, py::arg("dist"))
        .def(
            "LeastSquaresFit",
            [](CPlane& pl, const py::handle& h) {
                const std::vector<CPoint3d> pts = ArrayToPoints(h, "points");
                return pl.LeastSquaresFit(static_cast<int>(pts.size()), pts.data());
            },
            py::arg("points"),
            "Least-squares plane of an (n, 3) array; True only when every point lies within EqualTol (inclusive).")
        .def("IsValidObj", &CPlane::IsValidObj)
        .def(
            "TrimAbove",
            [](const CPlane& pl, CPoint3d p, CPoint3d q) {
                const int r = pl.TrimAbove(&p, &q);
                return py::make_tuple(r, p, q);
            },
            py::arg("p"), py::arg("q"),
            "(ETrimResult, p, q): cuts the segment at the plane keeping the part on or below; no tolerance.");

    // ----- CRay3d
    ray.def(py::init<>(), "Origin (0, 0, 0), direction +z.")
        .def(py::init<const CRay3d&>(), py::arg("ray"))
        .def(py::init<const CPoint3d&, const CUnitVector3d&>(), py::arg("origin"), py::arg("direction"))
        .def_readwrite("origin", &CRay3d::origin)
        .def_readwrite("direction", &CRay3d::direction)
        .def("Set", &CRay3d::Set, py::arg("a"), py::arg("b"), "The ray from a towards b.")
        .def("IsOn", py::overload_cast<const CRay3d&>(&CRay3d::IsOn, py::const_), py::arg("ray"))
        .def("IsOn", py::overload_cast<const CPlane&>(&CRay3d::IsOn, py::const_), py::arg("plane"))
        .def(
            "IntersectWith",
            [](const CRay3d& r, const CBoundingBox3d& box) -> py::object {
                CPoint3d hit;
                EBoxSide side = NoSide;
                if (!r.IntersectWith(box, hit, side)) return py::none();
                return py::make_tuple(hit, side);
            },
            py::arg("box"),
            "(entry point, EBoxSide) where the ray enters the box, or None for a miss, an empty box or a box behind "
            "the origin. An origin inside or on the box is the hit itself with NoSide. No tolerance.")
        .def(
            "IntersectWith",
            [](const CRay3d& r, const CRay3d& other) {
                CPoint3d p;
                const bool ok = r.IntersectWith(other, p);
                return py::make_tuple(ok, p);
            },
            py::arg("ray"), "(ok, midpoint of the closest points); ok when not parallel and within EqualTol.")
        .def(
            "IntersectWith",
            [](const CRay3d& r, const CPlane& pl) -> py::object {
                double t = 0.0;
                if (!r.IntersectWith(pl, t)) return py::none();
                return py::float_(t);
            },
            py::arg("plane"), "The parameter at the plane, or None when parallel.")
        .def(
            "IntersectSegment",
            [](const CRay3d& r, const CPoint3d& a, const CPoint3d& b) {
                double t = 0.0;
                const bool ok = r.IntersectWith(a, b, t);
                return py::make_tuple(ok, t);
            },
            py::arg("a"), py::arg("b"),
            "C++ IntersectWith(a, b, t): (ok, t) of the carrier line against segment a-b; the distance between the "
            "lines is deliberately not measured.")
        .def("Project", &CRay3d::Project, py::arg("p"))
        .def(
            "FindClosestPoints",
            [](const CRay3d& r, const CRay3d& o) {
                CPoint3d p1, p2;
                const bool ok = r.FindClosestPoints(o, p1, p2);
                return py::make_tuple(ok, p1, p2);
            },
            py::arg("other"), "(ok, p1, p2); False for parallel lines (p1 the origin, p2 its foot).")
        .def("ParameterOfClosestPoint", &CRay3d::ParameterOfClosestPoint, py::arg("p"))
        .def(
            "__imul__", [](CRay3d& r, const CTransformation& t) -> CRay3d& { return r *= t; }, py::is_operator())
        .def("IntersectPlanes", &CRay3d::IntersectPlanes, py::arg("p1"), py::arg("p2"))
        .def(
            "IntersectZ",
            [](const CRay3d& r, double z) -> py::object {
                CPoint3d p;
                if (!r.IntersectZ(z, p)) return py::none();
                return py::cast(p);
            },
            py::arg("z"), "The point at height z, or None when |direction.z| < DivideByZeroTol.")
        .def("IsValidObj", &CRay3d::IsValidObj)
        .def("__repr__",
             [](const CRay3d& r) {
                 return "CRay3d(" + PointRepr(r.origin) + ", " +
                        Repr("CUnitVector3d", r.direction.x, r.direction.y, r.direction.z) + ")";
             })
        .def("__copy__", [](const CRay3d& r) { return r; })
        .def(
            "__deepcopy__", [](const CRay3d& r, const py::dict&) { return r; }, py::arg("memo"));

    // ----- CLine3d
    py::class_<CLine3d, CRay3d>(m, "CLine3d",
                                "A CRay3d with startParam and endParam: an infinite line, a half-line or a segment. "
                                "InfiniteStart (-1e30) and InfiniteEnd (1e30) mark open ends.")
        .def(py::init<>(), "The infinite z axis.")
        .def(py::init<const CLine3d&>(), py::arg("line"))
        .def(py::init<const CPoint3d&, const CPoint3d&>(), py::arg("a"), py::arg("b"), "The segment from a to b.")
        .def(py::init<const CRay3d&, bool, bool>(), py::arg("ray"), py::arg("infiniteAtStart"),
             py::arg("infiniteAtEnd"))
        .def_readonly_static("InfiniteStart", &CLine3d::InfiniteStart)
        .def_readonly_static("InfiniteEnd", &CLine3d::InfiniteEnd)
        .def_readwrite("startParam", &CLine3d::startParam)
        .def_readwrite("endParam", &CLine3d::endParam)
        .def(
            "GetStartPoint",
            [](const CLine3d& l) {
                CPoint3d p;
                const bool finite = l.GetStartPoint(p);
                return py::make_tuple(finite, p);
            },
            "(finite, point at startParam); the point is computed even for an infinite start.")
        .def(
            "GetEndPoint",
            [](const CLine3d& l) {
                CPoint3d p;
                const bool finite = l.GetEndPoint(p);
                return py::make_tuple(finite, p);
            },
            "(finite, point at endParam).")
        .def("SetStartPoint", &CLine3d::SetStartPoint, py::arg("p"))
        .def("SetEndPoint", &CLine3d::SetEndPoint, py::arg("p"))
        .def("SetInfiniteAtStart", &CLine3d::SetInfiniteAtStart)
        .def("SetInfiniteAtEnd", &CLine3d::SetInfiniteAtEnd)
        .def("SetDirection", &CLine3d::SetDirection, py::arg("dir"))
        .def("Reverse", &CLine3d::Reverse)
        .def(
            "GetSemiInfiniteRay",
            [](const CLine3d& l) -> py::object {
                CRay3d r;
                if (!l.GetSemiInfiniteRay(r)) return py::none();
                return py::cast(r);
            },
            "For a half-line, the ray from its finite end into the infinite side; else None.")
        .def("IsNull", &CLine3d::IsNull, "Parameters differ by less than EqualTol (strict); infinite never null.")
        .def("TrimToPlane", &CLine3d::TrimToPlane, py::arg("plane"))
        .def("IntersectsBox", py::overload_cast<const CBoundingBox3d&>(&CLine3d::IntersectWith, py::const_),
             py::arg("box"), "C++ IntersectWith(box): whether any point of the line lies in the closed box.")
        .def("IsValidObj", &CLine3d::IsValidObj)
        .def("__repr__",
             [](const CLine3d& l) {
                 return "CLine3d(" + PointRepr(l.origin) + ", " +
                        Repr("CUnitVector3d", l.direction.x, l.direction.y, l.direction.z) +
                        ", startParam=" + Num(l.startParam) + ", endParam=" + Num(l.endParam) + ")";
             })
        .def("__copy__", [](const CLine3d& l) { return l; });

    // ----- circles and arcs
    py::class_<CCircle3d>(m, "CCircle3d",
                          "A circle (or, after a non-uniform transformation, an ellipse) with a redundant frame: "
                          "Eval(t) = center + cos(t)*xAxis + sin(t)*yAxis. Lengths and perpendicularity against "
                          "EqualTol (strict); angles wrapped into [-EqualTolSq, 2pi + EqualTolSq].")
        .def(py::init<>())
        .def(py::init<const CCircle3d&>(), py::arg("circle"))
        .def(py::init<const CPoint3d&, const CVector3d&, const CUnitVector3d&>(), py::arg("center"), py::arg("xAxis"),
             py::arg("normal"))
        .def(py::init<const CPoint3d&, const CPoint3d&, const CPoint3d&>(), py::arg("p1"), py::arg("p2"), py::arg("p3"),
             "Through three points; colinear points give a near-straight stand-in.")
        .def_readwrite("center", &CCircle3d::center)
        .def_readwrite("xAxis", &CCircle3d::xAxis)
        .def_readwrite("plane", &CCircle3d::plane)
        .def_readwrite("radius", &CCircle3d::radius)
        .def_readwrite("yAxis", &CCircle3d::yAxis)
        .def("Set", py::overload_cast<const CPoint3d&, const CPoint3d&, const CPoint3d&>(&CCircle3d::Set),
             py::arg("p1"), py::arg("p2"), py::arg("p3"))
        .def("SetRadius", &CCircle3d::SetRadius, py::arg("r"), "False, unchanged, when |r| < EqualTol (strict).")
        .def("Eval", &CCircle3d::Eval, py::arg("t"))
        .def("ParameterOfClosestPoint", &CCircle3d::ParameterOfClosestPoint, py::arg("p"))
        .def("Project", &CCircle3d::Project, py::arg("p"))
        .def("IsTrueCircle", &CCircle3d::IsTrueCircle)
        .def(
            "__imul__", [](CCircle3d& c, const CTransformation& t) -> CCircle3d& { return c *= t; }, py::is_operator())
        .def(py::self == py::self, "Same centre, same plane either way, |radius difference| < EqualTol.")
        .def(py::self != py::self)
        .def(
            "IntersectWith",
            [](const CCircle3d& c, const CRay3d& r) {
                CPoint3d p1, p2;
                const int n = r.IntersectWith(c, p1, p2);
                py::list out;
                if (n >= 1) out.append(p1);
                if (n >= 2) out.append(p2);
                return out;
            },
            py::arg("ray"), "The 0, 1 or 2 points where the ray's carrier line meets the circle.")
        .def("IsValidObj", &CCircle3d::IsValidObj)
        .def("__repr__",
             [](const CCircle3d& c) {
                 return "CCircle3d(center=" + PointRepr(c.center) + ", radius=" + Num(c.radius) + ")";
             })
        .def("__copy__", [](const CCircle3d& c) { return c; });

    py::class_<CArc3d, CCircle3d>(m, "CArc3d",
                                  "The part of a circle from startAngle to endAngle, counter-clockwise about the "
                                  "normal. Full only for (0, 0) exactly, or tolerantly for a sweep of 2pi within "
                                  "EqualTol (strict).")
        .def(py::init<>(), "The full turn (0, 2pi) on the empty circle record.")
        .def(py::init<const CArc3d&>(), py::arg("arc"))
        .def(py::init<const CPoint3d&, const CVector3d&, const CUnitVector3d&, double, double>(), py::arg("center"),
             py::arg("xAxis"), py::arg("normal"), py::arg("start"), py::arg("end"))
        .def(py::init<const CPoint3d&, const CPoint3d&, const CPoint3d&>(), py::arg("p1"), py::arg("p2"), py::arg("p3"))
        .def(py::init<const CCircle3d&>(), py::arg("circle"))
        .def_readwrite("startAngle", &CArc3d::startAngle)
        .def_readwrite("endAngle", &CArc3d::endAngle)
        .def("GetStartPoint", &CArc3d::GetStartPoint)
        .def("GetEndPoint", &CArc3d::GetEndPoint)
        .def("IsNull", &CArc3d::IsNull)
        .def("IsFullCircle", &CArc3d::IsFullCircle, py::arg("tolerant"))
        .def("IsValidObj", &CArc3d::IsValidObj)
        .def("__repr__",
             [](const CArc3d& c) {
                 return "CArc3d(center=" + PointRepr(c.center) + ", radius=" + Num(c.radius) +
                        ", startAngle=" + Num(c.startAngle) + ", endAngle=" + Num(c.endAngle) + ")";
             })
        .def("__copy__", [](const CArc3d& c) { return c; });

    // ----- CBezier3d
    py::class_<CBezier3d>(m, "CBezier3d",
                          "A cubic Bezier curve in 3D from p0 (t = 0) to p3 (t = 1), evaluated by de Casteljau; t is "
                          "not clamped. IsStraight(tol) is strict; a chord shorter than tol is straight.")
        .def(py::init<>())
        .def(py::init<const CBezier3d&>(), py::arg("curve"))
        .def(py::init<const CPoint3d&, const CPoint3d&, const CPoint3d&, const CPoint3d&>(), py::arg("p0"),
             py::arg("p1"), py::arg("p2"), py::arg("p3"))
        .def(py::init<const CPoint3d&, const CUnitVector3d&, const CPoint3d&, const CUnitVector3d&>(), py::arg("start"),
             py::arg("startDir"), py::arg("end"), py::arg("endDir"))
        .def(py::init([](const py::handle& h) {
                 const std::vector<CPoint3d> p = ArrayToPoints(h, "points");
                 if (p.size() != 4) throw py::value_error("points: expected an array of shape (4, 3)");
                 return CBezier3d(p[0], p[1], p[2], p[3]);
             }),
             py::arg("points"), "From a (4, 3) array of control points.")
        .def_readwrite("p0", &CBezier3d::p0)
        .def_readwrite("p1", &CBezier3d::p1)
        .def_readwrite("p2", &CBezier3d::p2)
        .def_readwrite("p3", &CBezier3d::p3)
        .def("EvaluatePoint", &CBezier3d::EvaluatePoint, py::arg("t"))
        .def("EvaluateDirection", &CBezier3d::EvaluateDirection, py::arg("t"))
        .def("Evaluate", &CBezier3d::Evaluate, py::arg("t"))
        .def(
            "Split",
            [](const CBezier3d& c) {
                CBezier3d l, r;
                c.Split(l, r);
                return py::make_tuple(l, r);
            },
            "(left, right) halves at t = 0.5.")
        .def("IsStraight", &CBezier3d::IsStraight, py::arg("tol"))
        .def(
            "Draw",
            [](const CBezier3d& c, double tol) {
                PointCollector sink;
                {
                    py::gil_scoped_release release;
                    c.Draw(&sink, tol);
                }
                return PointsToArray(sink.points);
            },
            py::arg("tol"),
            "Flattens the curve within tol and returns the vertices the C++ sink receives as an (n, 3) array: each "
            "piece's end point, in order; p0 is never included. Empty for a non-positive tolerance or a non-finite "
            "control point.")
        .def("ToArray",
             [](const CBezier3d& c) {
                 return PointsToArray({c.p0, c.p1, c.p2, c.p3});
             })
        .def("__repr__",
             [](const CBezier3d& c) {
                 return "CBezier3d(" + PointRepr(c.p0) + ", " + PointRepr(c.p1) + ", " + PointRepr(c.p2) + ", " +
                        PointRepr(c.p3) + ")";
             })
        .def("__copy__", [](const CBezier3d& c) { return c; });

    // ----- CPolygonMesh and the welding index
    py::class_<CPolygonMesh>(m, "CPolygonMesh",
                             "An indexed polygon mesh over a welded point pool: a point is reused when it equals an "
                             "existing one within EqualTol (strict), the first match in insertion order winning. "
                             "Point indices are 1-based and signed (the sign is the caller's bit).")
        .def(py::init<unsigned int>(), py::arg("flags") = 0u,
             "An empty mesh; flags 1 front texture coordinates, 2 back, 4 normals.")
        .def(py::init<const CPolygonMesh&>(), py::arg("mesh"))
        .def_property(
            "points", [](const CPolygonMesh& mesh) { return PointsToArray(mesh.points); },
            [](CPolygonMesh& mesh, const py::handle& h) { mesh.points = ArrayToPoints(h, "points"); },
            "The point pool as an (n, 3) array (a copy; assigning replaces the pool, unwelded).")
        .def_readwrite("flags", &CPolygonMesh::flags)
        .def_readwrite("polygonStarts", &CPolygonMesh::polygonStarts)
        .def_readwrite("polygonIndices", &CPolygonMesh::polygonIndices)
        .def("ReserveSpace", &CPolygonMesh::ReserveSpace, py::arg("pointCount"), py::arg("polygonCount"))
        .def(
            "GetPoint",
            [](const CPolygonMesh& mesh, long i) {
                const unsigned long k = i < 0 ? 0UL - static_cast<unsigned long>(i) : static_cast<unsigned long>(i);
                if (k == 0 || k > mesh.points.size())
                    throw py::index_error("i: expected a signed 1-based point index within 1.." +
                                          std::to_string(mesh.points.size()) + ", got " + std::to_string(i));
                return mesh.GetPoint(i);
            },
            py::arg("i"), "Point |i| (1-based); IndexError outside the pool (C++ leaves that unchecked).")
        .def("InsertPoint", &CPolygonMesh::InsertPoint, py::arg("point"),
             "The index of the first point equal within EqualTol, or the point appended and its new index.")
        .def("FindPoint", &CPolygonMesh::FindPoint, py::arg("point"), "The first equal point's index; 0 when none.")
        .def(
            "AddPolygon",
            [](CPolygonMesh& mesh, const py::handle& h) {
                if (py::isinstance<py::array>(h) && py::reinterpret_borrow<py::array>(h).ndim() == 2) {
                    const std::vector<CPoint3d> corners = ArrayToPoints(h, "corners");
                    return mesh.AddPolygon(static_cast<long>(corners.size()), corners.data());
                }
                const auto indices = py::cast<std::vector<long>>(h);
                return mesh.AddPolygon(static_cast<long>(indices.size()), indices.data());
            },
            py::arg("corners"),
            "Adds a polygon from an (n, 3) array of coordinates (welded into the pool) or from a list of signed "
            "1-based point indices; returns its number, 0 when refused (see the C++ contract for what stays).")
        .def("CountPolygons", [](const CPolygonMesh& mesh) { return mesh.polygonStarts.size(); })
        .def(
            "CountPolygonPoints",
            [](const CPolygonMesh& mesh, long p) {
                if (p < 1 || static_cast<std::size_t>(p) > mesh.polygonStarts.size())
                    throw py::index_error("polygon: expected 1.." + std::to_string(mesh.polygonStarts.size()));
                return mesh.CountPolygonPoints(p);
            },
            py::arg("polygon"))
        .def("Transform", &CPolygonMesh::Transform, py::arg("t"))
        .def("GetUVFront", &CPolygonMesh::GetUVFront, py::arg("i"))
        .def("SetUVFront", &CPolygonMesh::SetUVFront, py::arg("i"), py::arg("uv"))
        .def("GetNormal", &CPolygonMesh::GetNormal, py::arg("i"))
        .def("SetNormal", &CPolygonMesh::SetNormal, py::arg("i"), py::arg("n"))
        .def("__repr__",
             [](const CPolygonMesh& mesh) {
                 return "CPolygonMesh(" + std::to_string(mesh.points.size()) + " points, " +
                        std::to_string(mesh.polygonStarts.size()) + " polygons, flags=" + std::to_string(mesh.flags) +
                        ")";
             })
        .def("__copy__", [](const CPolygonMesh& mesh) { return mesh; })
        .def(
            "__deepcopy__", [](const CPolygonMesh& mesh, const py::dict&) { return mesh; }, py::arg("memo"));

    py::class_<CMeshWelder>(m, "CMeshWelder",
                            "A welding index bound to a mesh: InsertPoint, FindPoint and AddPolygon give exactly the "
                            "mesh's own answers and effects (the lowest-numbered point equal within EqualTol, strict), "
                            "in about constant time per point. EqualTol is read at every call. The welder keeps its "
                            "mesh alive; after changing pool points in place (CPolygonMesh.Transform, assigning "
                            "points) call Rebuild().")
        .def(py::init<CPolygonMesh&>(), py::arg("mesh"), py::keep_alive<1, 2>(), "Indexes the mesh's current points.")
        .def("InsertPoint", &CMeshWelder::InsertPoint, py::arg("point"))
        .def("FindPoint", &CMeshWelder::FindPoint, py::arg("point"))
        .def(
            "AddPolygon",
            [](CMeshWelder& w, const py::handle& h) {
                const std::vector<CPoint3d> corners = ArrayToPoints(h, "corners");
                return w.AddPolygon(static_cast<long>(corners.size()), corners.data());
            },
            py::arg("corners"), "As CPolygonMesh.AddPolygon with an (n, 3) array of coordinates.")
        .def("Mesh", &CMeshWelder::Mesh, py::return_value_policy::reference_internal, "The indexed mesh.")
        .def("Rebuild", &CMeshWelder::Rebuild, "Indexes the whole pool afresh, after pool points changed in place.");
}

}  // namespace plenar_python
