// 3D points, vectors and unit vectors, homogeneous points and spheres, and the free
// closest-point and segment functions on them.
#include "bindings.h"

#include <geometry/mathutil.h>
#include <geometry/plane.h>
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/ray3d.h>
#include <geometry/sphere3d.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <vector>

namespace plenar_python {

using namespace velmor::geometry;

namespace {

template <typename T>
std::array<double, 3> Xyz(const T& v) {
    return {v.x, v.y, v.z};
}

template <typename T>
T Components(const std::array<double, 3>& a) {
    T v;
    v.x = a[0];
    v.y = a[1];
    v.z = a[2];
    return v;
}

}  // namespace

void RegisterVectors(py::module_& m) {
    py::enum_<ESegmentMeeting>(m, "ESegmentMeeting", py::arithmetic(),
                               "Where two segments p1-p2 and p3-p4 meet (CPoint3d.Intersect): one bit of each segment.")
        .value("NoMeeting", NoMeeting)
        .value("MeetAtP1", MeetAtP1)
        .value("MeetAtP2", MeetAtP2)
        .value("MeetInsideP1P2", MeetInsideP1P2)
        .value("MeetAtP3", MeetAtP3)
        .value("MeetAtP4", MeetAtP4)
        .value("MeetInsideP3P4", MeetInsideP3P4)
        .export_values();

    // Declared first so that every signature below can name all three.
    py::class_<CVector3d> vector(m, "CVector3d",
                                 "A free 3D displacement of three doubles; the zero vector by default.\n\n"
                                 "Length() is exactly 0.0 when the squared length is at or below DivideByZeroTolSq. "
                                 "== is per component within EqualTol, inclusive. v * w is the cross product; the "
                                 "dot product is plenar.Dot.");
    py::class_<CUnitVector3d> unit(m, "CUnitVector3d",
                                   "A 3D direction of three doubles, normalised by every constructor and setter. The "
                                   "zero vector is the invalid state (IsValid() false). == is per component within "
                                   "EqualTol, inclusive; IsPerpendicularTo is strict.");
    py::class_<CPoint3d> point(m, "CPoint3d",
                               "A 3D position of three doubles; the origin by default.\n\n"
                               "Equals(p, tol) is strict (each |d| < tol and the squared distance < tol*tol); the "
                               "tolerant order < and > is inclusive at +-EqualTol. Like C++, there is no ==: "
                               "compare with Equals(p, tol), or tuple(p) for the exact numbers.");

    // ----- CPoint3d
    point.def(py::init<>(), "The origin.")
        .def(py::init<const CPoint3d&>(), py::arg("p"), "A copy of p.")
        .def(py::init<double, double, double>(), py::arg("x"), py::arg("y"), py::arg("z"), "The point (x, y, z).")
        .def(py::init<double, const CPoint3d&, double, const CPoint3d&>(), py::arg("a"), py::arg("p"), py::arg("b"),
             py::arg("q"), "The weighted sum a*p + b*q, each coordinate evaluated as b*q + a*p.")
        .def(py::init<const CPoint3d&, double, const CUnitVector3d&>(), py::arg("p"), py::arg("d"), py::arg("u"),
             "p + d*u.")
        .def(py::init<const CPoint3d&, const CVector3d&>(), py::arg("p"), py::arg("v"), "p + v.");
    SequenceProtocol<decltype(point), double, 3>(
        point, "CPoint3d", Xyz<CPoint3d>, [](const std::array<double, 3>& a) { return CPoint3d(a[0], a[1], a[2]); },
        Components<CPoint3d>);
    point.def_readwrite("x", &CPoint3d::x)
        .def_readwrite("y", &CPoint3d::y)
        .def_readwrite("z", &CPoint3d::z)
        .def(py::self + CVector3d())
        .def(py::self - CVector3d())
        .def(py::self + py::self)
        .def(py::self - py::self)
        .def(py::self += CVector3d())
        .def(py::self -= CVector3d())
        .def(
            "__lt__", [](const CPoint3d& a, const CPoint3d& b) { return a < b; },
            "Tolerant lexicographic order with e = EqualTol: true at dx <= -e, false at dx >= e, then y, finally "
            "dz <= -e. Inclusive at +-e.")
        .def(
            "__gt__", [](const CPoint3d& a, const CPoint3d& b) { return a > b; }, "The mirror of <.")
        .def("Offset", py::overload_cast<double, const CUnitVector3d&>(&CPoint3d::Offset, py::const_), py::arg("d"),
             py::arg("u"), "This point moved by d along u.")
        .def("Offset", py::overload_cast<const CVector3d&>(&CPoint3d::Offset, py::const_), py::arg("v"),
             "This point moved by v.")
        .def("Equals", &CPoint3d::Equals, py::arg("p"), py::arg("tol"),
             "Strict: |dx| < tol, |dy| < tol, |dz| < tol, and the squared distance < tol*tol.")
        .def("DistanceSquaredTo", py::overload_cast<const CPoint3d&>(&CPoint3d::DistanceSquaredTo, py::const_),
             py::arg("p"), "Squared distance to p, summed as (dx*dx + dy*dy) + dz*dz; no guard.")
        .def("DistanceTo", py::overload_cast<const CPoint3d&>(&CPoint3d::DistanceTo, py::const_), py::arg("p"),
             "Distance to p; exactly 0.0 when the squared distance is at or below DivideByZeroTolSq.")
        .def("DistanceSquaredTo",
             py::overload_cast<const CPoint3d&, const CUnitVector3d&>(&CPoint3d::DistanceSquaredTo, py::const_),
             py::arg("p"), py::arg("u"), "Squared distance to the infinite line through p along u, unguarded.")
        .def("DistanceTo", py::overload_cast<const CPoint3d&, const CUnitVector3d&>(&CPoint3d::DistanceTo, py::const_),
             py::arg("p"), py::arg("u"),
             "Distance to the infinite line through p along u; 0.0 at or below DivideByZeroTolSq.")
        .def("DistanceTo", py::overload_cast<const CRay3d&>(&CPoint3d::DistanceTo, py::const_), py::arg("ray"),
             "Distance to the ray's carrier line.")
        .def("DistanceTo", py::overload_cast<const CPlane&>(&CPoint3d::DistanceTo, py::const_), py::arg("plane"),
             "Unsigned distance to the plane.")
        .def("IsOn", py::overload_cast<const CPoint3d&, const CUnitVector3d&>(&CPoint3d::IsOn, py::const_),
             py::arg("p"), py::arg("u"), "On the line through p along u: distance < EqualTol (strict).")
        .def("IsOn", py::overload_cast<const CRay3d&>(&CPoint3d::IsOn, py::const_), py::arg("ray"),
             "On the ray's carrier line: distance < EqualTol (strict).")
        .def("IsOn", py::overload_cast<const CPlane&>(&CPoint3d::IsOn, py::const_), py::arg("plane"),
             "On the plane: distance < EqualTol (strict).")
        .def("ProjectTo", py::overload_cast<const CRay3d&>(&CPoint3d::ProjectTo, py::const_), py::arg("ray"),
             "The foot of the perpendicular on the ray's carrier line.")
        .def("ProjectTo", py::overload_cast<const CPlane&>(&CPoint3d::ProjectTo, py::const_), py::arg("plane"),
             "The foot of the perpendicular on the plane.")
        .def("SelectClosest", &CPoint3d::SelectClosest, py::arg("a"), py::arg("b"),
             "a when the squared distance to b is >= that to a (a tie selects a); otherwise, and for NaN, b.")
        .def("IsValidObj", &CPoint3d::IsValidObj, "True when no coordinate is NaN or infinite.")
        .def("Project", &CPoint3d::Project, py::arg("d"),
             "Perspective projection towards an eye at distance d, in place: False (unchanged) when |z| < "
             "DivideByZeroTol; otherwise scales all three by d / (d - z).")
        .def("ProjectGL", &CPoint3d::ProjectGL, py::arg("d"),
             "OpenGL-style projection in place: same guard; scales x, y by -d / z and sets z = -d.")
        .def(
            "LeastSquaresFit", [](CPoint3d& p, std::vector<CPlane> planes) { return p.LeastSquaresFit(planes); },
            py::arg("planes"),
            "Sets this point to the least-squares intersection of the planes. False, unchanged, for fewer than three "
            "planes or a singular system; after a solve, False when some plane lies farther than EqualTol (the "
            "solution is kept), True when all are within EqualTol (inclusive).")
        .def(
            "Intersect",
            [](CPoint3d& p, const CPoint3d& p1, const CPoint3d& p2, const CPoint3d& p3, const CPoint3d& p4) {
                double t = 0.0, u = 0.0;
                const int code = p.Intersect(p1, p2, p3, p4, &t, &u);
                return py::make_tuple(code, t, u);
            },
            py::arg("p1"), py::arg("p2"), py::arg("p3"), py::arg("p4"),
            "Classifies the meeting of segments p1-p2 and p3-p4 and writes it into this point. Returns (code, t, u): "
            "code or-s one ESegmentMeeting bit of each segment (NoMeeting, 0, for none: then t = u = -1 and this "
            "point is unchanged).");
    py::implicitly_convertible<py::tuple, CPoint3d>();
    py::implicitly_convertible<py::list, CPoint3d>();
    py::implicitly_convertible<py::array, CPoint3d>();

    // ----- CVector3d
    vector.def(py::init<>(), "The zero vector.")
        .def(py::init<const CVector3d&>(), py::arg("v"), "A copy of v.")
        .def(py::init<const CUnitVector3d&>(), py::arg("u"), "A direction widened to a vector (same components).")
        .def(py::init<double, double, double>(), py::arg("x"), py::arg("y"), py::arg("z"), "The vector (x, y, z).")
        .def(py::init<double, const CUnitVector3d&>(), py::arg("a"), py::arg("u"), "a*u.")
        .def(py::init<double, const CUnitVector3d&, double, const CUnitVector3d&>(), py::arg("a"), py::arg("u"),
             py::arg("b"), py::arg("v"), "a*u + b*v.")
        .def(py::init<double, const CUnitVector3d&, double, const CUnitVector3d&, double, const CUnitVector3d&>(),
             py::arg("a"), py::arg("u"), py::arg("b"), py::arg("v"), py::arg("c"), py::arg("w"),
             "a*u + b*v + c*w: a vector from its coordinates in the frame (u, v, w).");
    SequenceProtocol<decltype(vector), double, 3>(
        vector, "CVector3d", Xyz<CVector3d>, [](const std::array<double, 3>& a) { return CVector3d(a[0], a[1], a[2]); },
        Components<CVector3d>);
    vector.def_readwrite("x", &CVector3d::x)
        .def_readwrite("y", &CVector3d::y)
        .def_readwrite("z", &CVector3d::z)
        .def("LengthSquared", &CVector3d::LengthSquared, "Squared length, summed as (x*x + y*y) + z*z.")
        .def("Length", &CVector3d::Length,
             "Length; exactly 0.0 when the squared length is at or below DivideByZeroTolSq.")
        .def("Normalize", py::overload_cast<>(&CVector3d::Normalize),
             "Scales to unit length in place. False (vector zeroed) when the squared length is strictly below "
             "DivideByZeroTolSq.")
        .def(
            "NormalizeWithLength",
            [](CVector3d& v) {
                double length = 0.0;
                const bool ok = v.Normalize(length);
                return py::make_tuple(ok, length);
            },
            "C++ Normalize(double& length): scales to unit length and returns (ok, length). Fails (False, vector "
            "zeroed) when the length is strictly below DivideByZeroTol.")
        .def("SetLength", &CVector3d::SetLength, py::arg("length"),
             "Rescales to the given length. False, unchanged, when the current length is strictly below "
             "DivideByZeroTol.")
        .def(py::self + py::self)
        .def(py::self - py::self)
        .def(py::self * double())
        .def(double() * py::self)
        .def(py::self / double())
        .def(-py::self)
        .def(py::self += py::self)
        .def(
            "__isub__", [](CVector3d& a, const CVector3d& b) -> CVector3d& { return a -= b; }, py::is_operator())
        .def(py::self *= double())
        .def(py::self /= double())
        .def(
            "__mul__", [](const CVector3d& a, const CVector3d& b) { return a * b; }, py::is_operator(),
            "Cross product.")
        .def(
            "__mul__", [](const CVector3d& a, const CUnitVector3d& b) { return a * b; }, py::is_operator(),
            "Cross product.")
        .def(py::self == py::self, "Per component |d| <= EqualTol (inclusive).")
        .def(py::self != py::self)
        .def(
            "__lt__", [](CVector3d& a, const CVector3d& b) { return a < b; },
            "Tolerant lexicographic order, inclusive at +-EqualTol.")
        .def("Reverse", &CVector3d::Reverse, "Points the other way, in place.")
        .def("Cross", py::overload_cast<const CVector3d&>(&CVector3d::Cross, py::const_), py::arg("v"),
             "Cross product this x v.")
        .def("Cross", py::overload_cast<const CUnitVector3d&>(&CVector3d::Cross, py::const_), py::arg("u"),
             "Cross product this x u.")
        .def("AngleBetween", &CVector3d::AngleBetween, py::arg("v"),
             "Unsigned angle in [0, pi]: pi/2 at once when |dot| < EqualTol (absolute, on the raw dot product), 0.0 "
             "when either length is below EqualTol.")
        .def("IsValidObj", &CVector3d::IsValidObj, "True when no component is NaN or infinite.");
    py::implicitly_convertible<py::tuple, CVector3d>();
    py::implicitly_convertible<py::list, CVector3d>();

    // ----- CUnitVector3d
    unit.def(py::init<>(), "The zero (invalid) direction.")
        .def(py::init<const CUnitVector3d&>(), py::arg("u"), "A copy of u, not renormalised.")
        .def(py::init<double, double, double>(), py::arg("x"), py::arg("y"), py::arg("z"),
             "Stores the components, then Normalize().")
        .def(py::init<const CVector3d&>(), py::arg("v"), "Copies v, then Normalize().")
        .def(py::init<const CPoint3d&, const CPoint3d&>(), py::arg("from"), py::arg("to"),
             "The direction from one point to another (to - from), normalised.");
    SequenceProtocol<decltype(unit), double, 3>(
        unit, "CUnitVector3d", Xyz<CUnitVector3d>,
        [](const std::array<double, 3>& a) { return CUnitVector3d(a[0], a[1], a[2]); },
        [](const std::array<double, 3>& a) { return CUnitVector3d::FromComponents(a[0], a[1], a[2]); });
    unit.def_readwrite("x", &CUnitVector3d::x, "x component, stored as given (no renormalisation).")
        .def_readwrite("y", &CUnitVector3d::y)
        .def_readwrite("z", &CUnitVector3d::z)
        .def_static("FromComponents", &CUnitVector3d::FromComponents, py::arg("x"), py::arg("y"), py::arg("z"),
                    "Components taken as given, without normalising.")
        .def(
            "Set", [](CUnitVector3d& u, double x, double y, double z) { return u.Set(x, y, z); }, py::arg("x"),
            py::arg("y"), py::arg("z"),
            "Stores the components, then Normalize(double&); returns the input's length (0.0 for a zero input).")
        .def(
            "Set", [](CUnitVector3d& u, const CPoint3d& a, const CPoint3d& b) { return u.Set(a, b); }, py::arg("from"),
            py::arg("to"), "to - from, normalised; returns the distance between the points.")
        .def("LengthSquared", &CUnitVector3d::LengthSquared, "x*x + y*y + z*z: 1 up to rounding, 0 when invalid.")
        .def("Normalize", py::overload_cast<>(&CUnitVector3d::Normalize),
             "False (zeroed) when the squared length is strictly below DivideByZeroTolSq; an already-unit vector "
             "(|L2 - 1| <= DivideByZeroTolSq) is left untouched.")
        .def("IsValid", &CUnitVector3d::IsValid, "True when at least one component is non-zero (NaN counts).")
        .def("IsValidObj", &CUnitVector3d::IsValidObj,
             "Every component finite and |x*x + y*y + z*z - 1| < EqualTolSq (strict); the zero vector is not valid.")
        .def("Reverse", &CUnitVector3d::Reverse, "Points the other way, in place.")
        .def(-py::self)
        .def(
            "__add__", [](const CUnitVector3d& a, const CUnitVector3d& b) { return a + b; }, py::is_operator(),
            "Component-wise sum, normalised.")
        .def(
            "__sub__", [](const CUnitVector3d& a, const CUnitVector3d& b) { return a - b; }, py::is_operator(),
            "Component-wise difference, normalised.")
        .def(
            "__mul__", [](const CUnitVector3d& a, const CUnitVector3d& b) { return a * b; }, py::is_operator(),
            "Cross product, not normalised.")
        .def(
            "__mul__", [](const CUnitVector3d& a, const CVector3d& b) { return a * b; }, py::is_operator(),
            "Cross product, not normalised.")
        .def(
            "__mul__", [](const CUnitVector3d& a, double s) { return a * s; }, py::is_operator(),
            "s*u as a free vector.")
        .def(
            "__rmul__", [](const CUnitVector3d& a, double s) { return s * a; }, py::is_operator(),
            "s*u as a free vector.")
        .def("Cross", py::overload_cast<const CUnitVector3d&>(&CUnitVector3d::Cross, py::const_), py::arg("u"),
             "Cross product this x u, not normalised.")
        .def("Cross", py::overload_cast<const CVector3d&>(&CUnitVector3d::Cross, py::const_), py::arg("v"),
             "Cross product this x v, not normalised.")
        .def("Equals", &CUnitVector3d::Equals, py::arg("u"), py::arg("tol"), "Per component |d| <= tol (inclusive).")
        .def(py::self == py::self, "Per component within EqualTol, inclusive.")
        .def(py::self != py::self)
        .def("IsSameDirectionAs", &CUnitVector3d::IsSameDirectionAs, py::arg("u"),
             "The same as ==: per component within EqualTol, inclusive.")
        .def("IsParallelTo", &CUnitVector3d::IsParallelTo, py::arg("u"),
             "Equal to u or to -u per component within EqualTol (inclusive).")
        .def("IsPerpendicularTo", &CUnitVector3d::IsPerpendicularTo, py::arg("u"), "|dot| < EqualTol (strict).")
        .def("AngleBetween", &CUnitVector3d::AngleBetween, py::arg("u"),
             "Unsigned angle in [0, pi] from the raw dot product; no tolerance.")
        .def("CCWAngleBetween", &CUnitVector3d::CCWAngleBetween, py::arg("a"), py::arg("b"),
             "Counter-clockwise angle from a to b about this direction, in [0, 2pi); 0.0 when a projection "
             "vanishes.")
        .def(
            "GetArbitraryAxes",
            [](const CUnitVector3d& u) {
                CUnitVector3d x, y;
                const bool ok = u.GetArbitraryAxes(x, y);
                return py::make_tuple(ok, x, y);
            },
            "Completes the right-handed frame (xAxis, yAxis, this): returns (ok, xAxis, yAxis). The reference is "
            "+Z, or +Y when this direction is parallel to Z; a zero direction gives two zero axes and False.");
    py::implicitly_convertible<py::tuple, CUnitVector3d>();
    py::implicitly_convertible<py::list, CUnitVector3d>();
    py::implicitly_convertible<CVector3d, CUnitVector3d>();

    m.def(
        "Dot", [](const CVector3d& a, const CVector3d& b) { return Dot(a, b); }, py::arg("a"), py::arg("b"),
        "Dot product x*vx + y*vy + z*vz, summed in that order.");

    // ----- homogeneous points and spheres
    py::class_<CVector4d> vector4(m, "CVector4d", "A homogeneous vector (x, y, z, w); exact ==.");
    vector4.def(py::init<>())
        .def(py::init<double, double, double, double>(), py::arg("x"), py::arg("y"), py::arg("z"), py::arg("w"));
    SequenceProtocol<decltype(vector4), double, 4>(
        vector4, "CVector4d",
        [](const CVector4d& v) {
            return std::array<double, 4>{v.x, v.y, v.z, v.w};
        },
        [](const std::array<double, 4>& a) { return CVector4d(a[0], a[1], a[2], a[3]); },
        [](const std::array<double, 4>& a) { return CVector4d(a[0], a[1], a[2], a[3]); });
    vector4.def_readwrite("x", &CVector4d::x)
        .def_readwrite("y", &CVector4d::y)
        .def_readwrite("z", &CVector4d::z)
        .def_readwrite("w", &CVector4d::w)
        .def(py::self + py::self)
        .def(py::self - py::self)
        .def(py::self * double())
        .def(py::self / double())
        .def(-py::self)
        .def(py::self == py::self, "Exact comparison.")
        .def(py::self != py::self);

    py::class_<CPoint4d> point4(m, "CPoint4d",
                                "A point in homogeneous coordinates; (x/w, y/w, z/w) is the point it denotes. "
                                "Plain arithmetic, no tolerance, exact ==.");
    point4.def(py::init<>(), "(0, 0, 0, 0): no point until set.")
        .def(py::init<double, double, double, double>(), py::arg("x"), py::arg("y"), py::arg("z"), py::arg("w"))
        .def(py::init<const CPoint3d&>(), py::arg("p"), "The finite point p: (p.x, p.y, p.z, 1).")
        .def(py::init<const CUnitVector3d&>(), py::arg("u"), "The point at infinity in direction u (w = 0).");
    SequenceProtocol<decltype(point4), double, 4>(
        point4, "CPoint4d",
        [](const CPoint4d& v) {
            return std::array<double, 4>{v.x, v.y, v.z, v.w};
        },
        [](const std::array<double, 4>& a) { return CPoint4d(a[0], a[1], a[2], a[3]); },
        [](const std::array<double, 4>& a) { return CPoint4d(a[0], a[1], a[2], a[3]); });
    point4.def_readwrite("x", &CPoint4d::x)
        .def_readwrite("y", &CPoint4d::y)
        .def_readwrite("z", &CPoint4d::z)
        .def_readwrite("w", &CPoint4d::w)
        .def(py::self - py::self)
        .def(py::self + CVector4d())
        .def(py::self - CVector4d())
        .def(py::self * double())
        .def(py::self == py::self, "Exact component-wise comparison (no projective equivalence).")
        .def(py::self != py::self)
        .def("HomogeneousDivide", &CPoint4d::HomogeneousDivide,
             "Divides x, y, z by w and sets w = 1, in place; unguarded (w = 0 gives infinities or NaN).")
        .def("ToPoint3d", &CPoint4d::ToPoint3d, "The 3D point denoted, (x/w, y/w, z/w).");
    py::implicitly_convertible<py::tuple, CPoint4d>();
    py::implicitly_convertible<CPoint3d, CPoint4d>();

    py::class_<CSphere3d>(m, "CSphere3d", "A sphere: centre and radius, stored as given (never validated).")
        .def(py::init<>())
        .def(py::init<const CPoint3d&, double>(), py::arg("center"), py::arg("radius"))
        .def_readwrite("center", &CSphere3d::center)
        .def_readwrite("radius", &CSphere3d::radius)
        .def("IsValidObj", &CSphere3d::IsValidObj, "Centre and radius finite.")
        .def("__repr__",
             [](const CSphere3d& s) {
                 return "CSphere3d(" + Repr("CPoint3d", s.center.x, s.center.y, s.center.z) + ", " + Num(s.radius) +
                        ")";
             })
        .def("__copy__", [](const CSphere3d& s) { return s; })
        .def(
            "__deepcopy__", [](const CSphere3d& s, const py::dict&) { return s; }, py::arg("memo"));

    // ----- free functions
    m.def(
        "ClosestPoint",
        [](const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2, const CUnitVector3d& u2) {
            CPoint3d q1, q2;
            const bool ok = ClosestPoint(p1, u1, p2, u2, q1, q2);
            return py::make_tuple(ok, q1, q2);
        },
        py::arg("p1"), py::arg("u1"), py::arg("p2"), py::arg("u2"),
        "The closest points (ok, q1, q2) of the infinite lines p1 + t1*u1 and p2 + t2*u2. Parallel when 1 - c*c < "
        "1e-10 (strict, c = u1.u2): then ok is False, q1 = p1 and q2 its foot on the second line.");
    m.def(
        "ClosestPointParameters",
        [](const CPoint3d& p1, const CUnitVector3d& u1, const CPoint3d& p2, const CUnitVector3d& u2) {
            double t1 = 0.0, t2 = 0.0;
            const bool ok = ClosestPoint(p1, u1, p2, u2, t1, t2);
            return py::make_tuple(ok, t1, t2);
        },
        py::arg("p1"), py::arg("u1"), py::arg("p2"), py::arg("u2"),
        "C++ ClosestPoint(p1, u1, p2, u2, t1, t2): (ok, t1, t2); parallel lines give t1 = 0, t2 the foot of p1.");
    m.def(
        "ClosestPointOnSegment",
        [](const CPoint3d& a, const CPoint3d& b, const CPoint3d& p, const CUnitVector3d& u) {
            CPoint3d out;
            const int code = ClosestPoint(a, b, p, u, out);
            return py::make_tuple(code, out);
        },
        py::arg("a"), py::arg("b"), py::arg("p"), py::arg("u"),
        "C++ ClosestPoint(a, b, p, u, out): (code, point) of segment a-b closest to the line p + l*u; code is "
        "SegmentParallel 0, ClampedToStart 1, ClampedToEnd 2, InsideSegment 3.");
    m.def("DistanceBetweenLines", &DistanceBetweenLines, py::arg("p1"), py::arg("u1"), py::arg("p2"), py::arg("u2"),
          "Distance between the closest points of two infinite lines; for parallel lines their separation.");
    m.def(
        "ParameterOfClosestPoint",
        [](const CPoint3d& a, const CPoint3d& b, const CPoint3d& p) { return ParameterOfClosestPoint(a, b, p); },
        py::arg("a"), py::arg("b"), py::arg("p"),
        "((p - a).(b - a)) / |b - a|^2, not clamped; 0.0 when |b - a|^2 < EqualTolSq.");
    m.def(
        "SegmentsIntersect",
        [](const CPoint3d& a1, const CPoint3d& a2, const CPoint3d& b1, const CPoint3d& b2) -> py::object {
            CPoint3d out;
            if (!SegmentsIntersect(a1, a2, b1, b2, &out)) return py::none();
            return py::cast(out);
        },
        py::arg("a1"), py::arg("a2"), py::arg("b1"), py::arg("b2"),
        "The meeting point of segments a1-a2 and b1-b2 (by CPoint3d.Intersect), or None when they do not meet.");
    m.def("AreColinear", py::overload_cast<const CPoint3d&, const CPoint3d&, const CPoint3d&, double>(&AreColinear),
          py::arg("a"), py::arg("b"), py::arg("c"), py::arg("tol"),
          "c on the line through a and b: squared distance < tol*tol (strict); a base shorter than tol is colinear "
          "with anything.");
    m.def("IsOnLineSegment", &IsOnLineSegment, py::arg("a"), py::arg("b"), py::arg("p"), py::arg("tol"),
          "p equals (CPoint3d.Equals, tol) its projection clamped to segment a-b.");
    m.def("IsBetween", &IsBetween, py::arg("p"), py::arg("a"), py::arg("b"),
          "p projects between a and b (0 <= s <= 1; the distance from the line is not tested).");
    m.def(
        "GetPointsOnArc",
        [](const CPoint3d& center, const CUnitVector3d& xAxis, const CUnitVector3d& yAxis, double radius, double sweep,
           int n) {
            if (n < 0) throw py::value_error("n: expected a count >= 0, got " + std::to_string(n));
            auto out = NewArray<double>({n, 3});
            GetPointsOnArc(center, xAxis, yAxis, radius, sweep, n, reinterpret_cast<CPoint3d*>(out.mutable_data()));
            return out;
        },
        py::arg("center"), py::arg("xAxis"), py::arg("yAxis"), py::arg("radius"), py::arg("sweep"), py::arg("n"),
        "n points of the arc as an (n, 3) array, starting on xAxis and turning by sweep towards yAxis.");
}

}  // namespace plenar_python
