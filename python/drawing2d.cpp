// The single-precision 2D drawing geometry (points, rectangles, affine transforms,
// cubic curves, ellipses) and the double-precision 2D points and polygons.
#include "bindings.h"

#include <geometry/affinetransform.h>
#include <geometry/cubicbezier2f.h>
#include <geometry/ellipse2f.h>
#include <geometry/geometryutils.h>
#include <geometry/intersection2f.h>
#include <geometry/mathutil.h>
#include <geometry/point2d.h>
#include <geometry/point2f.h>
#include <geometry/polygon2d.h>
#include <geometry/rangef.h>
#include <geometry/rect2f.h>
#include <geometry/size2f.h>

#include <cmath>
#include <limits>
#include <vector>

namespace plenar_python {

using namespace velmor::geometry;

namespace {

py::array_t<float> Points2fToArray(const std::vector<CPoint2f>& points) {
    auto out = NewArray<float>({static_cast<py::ssize_t>(points.size()), 2});
    float* d = out.mutable_data();
    for (const CPoint2f& p : points) {
        *d++ = p.x;
        *d++ = p.y;
    }
    return out;
}

std::vector<CPoint2f> ArrayToPoints2f(const py::handle& h, const char* argument) {
    const FloatArray a = AsFloats(h, argument, "(n, 2)");
    if (a.ndim() == 1 && a.shape(0) == 0) return {};
    const std::size_t n = CheckShape(a, {2}, argument, "(n, 2)");
    const auto* p = reinterpret_cast<const CPoint2f*>(a.data());
    return std::vector<CPoint2f>(p, p + n);
}

py::list Hits(const CurveIntersections2f& hits) {
    py::list out;
    for (const IntersectionPoint2f& ip : hits.points) out.append(ip);
    return out;
}

}  // namespace

void RegisterDrawing2d(py::module_& m) {
    // ----- float points and vectors
    py::class_<CVector2f> v2f(m, "CVector2f", "A float 2D displacement; plain float arithmetic, exact ==.");
    py::class_<CPoint2f> p2f(m, "CPoint2f", "A float 2D position; plain float arithmetic, exact ==. y points up.");
    v2f.def(py::init<>()).def(py::init<float, float>(), py::arg("x"), py::arg("y"));
    SequenceProtocol<decltype(v2f), float, 2>(
        v2f, "CVector2f",
        [](const CVector2f& v) {
            return std::array<float, 2>{v.x, v.y};
        },
        [](const std::array<float, 2>& a) { return CVector2f(a[0], a[1]); },
        [](const std::array<float, 2>& a) { return CVector2f(a[0], a[1]); });
    v2f.def_readwrite("x", &CVector2f::x)
        .def_readwrite("y", &CVector2f::y)
        .def(py::self + py::self)
        .def(py::self - py::self)
        .def(-py::self)
        .def(py::self * float())
        .def(float() * py::self)
        .def(py::self / float())
        .def(py::self += py::self)
        .def(
            "__isub__", [](CVector2f& a, const CVector2f& b) -> CVector2f& { return a -= b; }, py::is_operator())
        .def(py::self *= float())
        .def(py::self == py::self, "Exact comparison.")
        .def(py::self != py::self)
        .def("LengthSquared", &CVector2f::LengthSquared)
        .def("Length", &CVector2f::Length, "In float, unguarded.")
        .def("IsZero", &CVector2f::IsZero, "Both |x| and |y| strictly below EqualTol (in double).")
        .def("SetLength", &CVector2f::SetLength, py::arg("len"),
             "Rescales to len; False, unchanged, when the length is not above 1e-10.");
    py::implicitly_convertible<py::tuple, CVector2f>();

    p2f.def(py::init<>()).def(py::init<float, float>(), py::arg("x"), py::arg("y"));
    SequenceProtocol<decltype(p2f), float, 2>(
        p2f, "CPoint2f",
        [](const CPoint2f& v) {
            return std::array<float, 2>{v.x, v.y};
        },
        [](const std::array<float, 2>& a) { return CPoint2f(a[0], a[1]); },
        [](const std::array<float, 2>& a) { return CPoint2f(a[0], a[1]); });
    p2f.def_readwrite("x", &CPoint2f::x)
        .def_readwrite("y", &CPoint2f::y)
        .def(py::self + CVector2f())
        .def(py::self - CVector2f())
        .def(py::self - py::self)
        .def(py::self += CVector2f())
        .def(py::self -= CVector2f())
        .def(py::self == py::self, "Exact comparison.")
        .def(py::self != py::self)
        .def("DistanceSquaredTo", &CPoint2f::DistanceSquaredTo, py::arg("p"))
        .def("DistanceTo", py::overload_cast<const CPoint2f&>(&CPoint2f::DistanceTo, py::const_), py::arg("p"))
        .def("Equals", &CPoint2f::Equals, py::arg("p"), py::arg("tol"),
             "|dx| <= tol and |dy| <= tol, then squared distance strictly below tol*tol.")
        .def("DistanceToLine", &CPoint2f::DistanceToLine, py::arg("p1"), py::arg("p2"),
             "Signed distance to the line p1-p2, positive to the left.")
        .def(
            "IsOnLine",
            [](const CPoint2f& p, const CPoint2f& a, const CPoint2f& b) -> py::object {
                float t = 0.0f;
                if (!p.IsOnLine(a, b, t)) return py::none();
                return py::float_(t);
            },
            py::arg("p1"), py::arg("p2"),
            "The parameter t of this point on the line through p1 and p2 (within EqualTol along the minor axis), or "
            "None when it is not on the line.")
        .def("ClosestPointOnLine", &CPoint2f::ClosestPointOnLine, py::arg("origin"), py::arg("dir"))
        .def(
            "ClosestPointOnLineSegment",
            [](const CPoint2f& p, const CPoint2f& a, const CPoint2f& b) {
                float t = 0.0f;
                const CPoint2f q = p.ClosestPointOnLineSegment(a, b, t);
                return py::make_tuple(q, t);
            },
            py::arg("p1"), py::arg("p2"), "(point, t) of segment p1-p2 closest to this point, t in [0, 1].")
        .def("IsIn", py::overload_cast<const CRect2f&>(&CPoint2f::IsIn, py::const_), py::arg("r"))
        .def("IsIn", py::overload_cast<const CRect2f&, float>(&CPoint2f::IsIn, py::const_), py::arg("r"),
             py::arg("tol"))
        .def_static("EvalPointOnLine",
                    py::overload_cast<const CPoint2f&, const CPoint2f&, float>(&CPoint2f::EvalPointOnLine),
                    py::arg("p1"), py::arg("p2"), py::arg("t"));
    py::implicitly_convertible<py::tuple, CPoint2f>();
    py::implicitly_convertible<py::list, CPoint2f>();
    m.attr("CPoint2f").attr("Origin") = CPoint2f::Origin;

    // ----- double 2D points and vectors
    py::class_<CVector2d> v2d(m, "CVector2d", "A double 2D displacement; exact ==.");
    v2d.def(py::init<>()).def(py::init<double, double>(), py::arg("x"), py::arg("y"));
    SequenceProtocol<decltype(v2d), double, 2>(
        v2d, "CVector2d",
        [](const CVector2d& v) {
            return std::array<double, 2>{v.x, v.y};
        },
        [](const std::array<double, 2>& a) { return CVector2d(a[0], a[1]); },
        [](const std::array<double, 2>& a) { return CVector2d(a[0], a[1]); });
    v2d.def_readwrite("x", &CVector2d::x)
        .def_readwrite("y", &CVector2d::y)
        .def(py::self + py::self)
        .def(py::self - py::self)
        .def(-py::self)
        .def(py::self * double())
        .def(py::self == py::self)
        .def(py::self != py::self)
        .def("Length", &CVector2d::Length);

    py::class_<CPoint2d> p2d(m, "CPoint2d", "A double 2D position; exact ==, tolerant Equals.");
    p2d.def(py::init<>())
        .def(py::init<double, double>(), py::arg("x"), py::arg("y"))
        .def(py::init<const CPoint2f&>(), py::arg("p"), "Widens a float point.");
    SequenceProtocol<decltype(p2d), double, 2>(
        p2d, "CPoint2d",
        [](const CPoint2d& v) {
            return std::array<double, 2>{v.x, v.y};
        },
        [](const std::array<double, 2>& a) { return CPoint2d(a[0], a[1]); },
        [](const std::array<double, 2>& a) { return CPoint2d(a[0], a[1]); });
    p2d.def_readwrite("x", &CPoint2d::x)
        .def_readwrite("y", &CPoint2d::y)
        .def(py::self + CVector2d())
        .def(py::self - CVector2d())
        .def(py::self - py::self)
        .def(py::self == py::self, "Exact comparison.")
        .def(py::self != py::self)
        .def("DistanceTo", &CPoint2d::DistanceTo, py::arg("p"))
        .def("Equals", &CPoint2d::Equals, py::arg("p"),
             "|dx| < EqualTol, |dy| < EqualTol and dx*dx + dy*dy < EqualTolSq, all strict.")
        .def("IsValidObj", &CPoint2d::IsValidObj);
    py::implicitly_convertible<py::tuple, CPoint2d>();
    py::implicitly_convertible<py::list, CPoint2d>();

    // ----- sizes, ranges, rectangles
    py::class_<CSize2f>(m, "CSize2f", "A float width and height; == per field within EqualTol, inclusive.")
        .def(py::init<>())
        .def(py::init<float, float>(), py::arg("width"), py::arg("height"))
        .def_readwrite("width", &CSize2f::width)
        .def_readwrite("height", &CSize2f::height)
        .def(py::self == py::self)
        .def(py::self != py::self)
        .def("IsZero", &CSize2f::IsZero, "Both strictly below EqualTol.")
        .def("__repr__", [](const CSize2f& s) { return Repr("CSize2f", s.width, s.height); });

    py::class_<Rangef>(m, "Rangef", "A float parameter interval from start to end, not necessarily ordered.")
        .def(py::init<>())
        .def(py::init<float, float>(), py::arg("start"), py::arg("end"))
        .def_readwrite("start", &Rangef::start)
        .def_readwrite("end", &Rangef::end)
        .def("Evaluate", &Rangef::Evaluate, py::arg("t"), "(end - start)*t + start, in float.")
        .def("Left", &Rangef::Left, py::arg("t"))
        .def("Right", &Rangef::Right, py::arg("t"))
        .def("__repr__", [](const Rangef& r) { return Repr("Rangef", r.start, r.end); });

    py::class_<CRect2f> rect(
        m, "CRect2f",
        "An axis-aligned float rectangle: bottom-left (x, y), width and height; empty exactly when "
        "width < 0. Tests are closed; == is per field within EqualTol, inclusive.");
    rect.def(py::init<>(), "The empty rectangle (0, 0, -1, -1).")
        .def(py::init<float, float, float, float>(), py::arg("x"), py::arg("y"), py::arg("width"), py::arg("height"))
        .def(py::init<const CPoint2f&, const CPoint2f&>(), py::arg("a"), py::arg("b"),
             "Spanned by two opposite corners, in any order.");
    SequenceProtocol<decltype(rect), float, 4>(
        rect, "CRect2f",
        [](const CRect2f& r) {
            return std::array<float, 4>{r.x, r.y, r.width, r.height};
        },
        [](const std::array<float, 4>& a) { return CRect2f(a[0], a[1], a[2], a[3]); },
        [](const std::array<float, 4>& a) { return CRect2f(a[0], a[1], a[2], a[3]); });
    rect.def_readwrite("x", &CRect2f::x)
        .def_readwrite("y", &CRect2f::y)
        .def_readwrite("width", &CRect2f::width)
        .def_readwrite("height", &CRect2f::height)
        .def("IsEmpty", &CRect2f::IsEmpty)
        .def(py::self == py::self)
        .def(py::self != py::self)
        .def(py::self * float())
        .def(py::self + CVector2f())
        .def(py::self - CVector2f())
        .def(py::self += CPoint2f())
        .def(py::self += py::self)
        .def("BottomLeft", &CRect2f::BottomLeft)
        .def("TopRight", &CRect2f::TopRight)
        .def("Center", &CRect2f::Center)
        .def("GetCorner", &CRect2f::GetCorner, py::arg("i"))
        .def("Contains", py::overload_cast<const CPoint2f&>(&CRect2f::Contains, py::const_), py::arg("p"),
             "Closed; False for an empty rectangle.")
        .def("Contains", py::overload_cast<const CPoint2f&, float>(&CRect2f::Contains, py::const_), py::arg("p"),
             py::arg("tol"))
        .def("Contains", py::overload_cast<const CRect2f&>(&CRect2f::Contains, py::const_), py::arg("r"))
        .def("Intersects", py::overload_cast<const CRect2f&>(&CRect2f::Intersects, py::const_), py::arg("r"),
             "Closed overlap test; no empty check.")
        .def("Intersects", py::overload_cast<const CPoint2f&, const CPoint2f&>(&CRect2f::Intersects, py::const_),
             py::arg("a"), py::arg("b"), "Segment a-b touches the rectangle (1e-5 slack).")
        .def("Intersection", &CRect2f::Intersection, py::arg("r"))
        .def("Union", &CRect2f::Union, py::arg("r"))
        .def("Expand", &CRect2f::Expand, py::arg("d"))
        .def("ExpandToIntegralValues", &CRect2f::ExpandToIntegralValues)
        .def("Diagonal", &CRect2f::Diagonal)
        .def("RelativeCoordinates", &CRect2f::RelativeCoordinates, py::arg("p"))
        .def("AbsoluteCoordinates", &CRect2f::AbsoluteCoordinates, py::arg("uv"));
    m.attr("CRect2f").attr("EmptyRect") = CRect2f::EmptyRect;

    // ----- AffineTransform
    py::class_<AffineTransform> affine(m, "AffineTransform",
                                       "A float 2D affine map: (x, y) -> (a*x + b*y + tx, c*x + d*y + ty). In S * T, T "
                                       "is applied first. Singular when |a*d - b*c| < EqualTolSq.");
    affine.def(py::init<>(), "The identity.")
        .def(py::init<float, float, float, float, float, float>(), py::arg("a"), py::arg("b"), py::arg("c"),
             py::arg("d"), py::arg("tx"), py::arg("ty"));
    SequenceProtocol<decltype(affine), float, 6>(
        affine, "AffineTransform",
        [](const AffineTransform& t) { return std::array<float, 6>{t.a, t.b, t.c, t.d, t.tx, t.ty}; },
        [](const std::array<float, 6>& v) { return AffineTransform(v[0], v[1], v[2], v[3], v[4], v[5]); },
        [](const std::array<float, 6>& v) { return AffineTransform(v[0], v[1], v[2], v[3], v[4], v[5]); });
    affine.def_readwrite("a", &AffineTransform::a)
        .def_readwrite("b", &AffineTransform::b)
        .def_readwrite("c", &AffineTransform::c)
        .def_readwrite("d", &AffineTransform::d)
        .def_readwrite("tx", &AffineTransform::tx)
        .def_readwrite("ty", &AffineTransform::ty)
        .def_static("Translate", &AffineTransform::Translate, py::arg("x"), py::arg("y"))
        .def_static("Scale", py::overload_cast<float, float>(&AffineTransform::Scale), py::arg("sx"), py::arg("sy"))
        .def_static("Scale", py::overload_cast<float>(&AffineTransform::Scale), py::arg("s"))
        .def_static("Scale", py::overload_cast<const CPoint2f&, float, float>(&AffineTransform::Scale),
                    py::arg("center"), py::arg("sx"), py::arg("sy"))
        .def_static("Rotate", py::overload_cast<float>(&AffineTransform::Rotate), py::arg("angle"))
        .def_static("Rotate", py::overload_cast<const CPoint2f&, float>(&AffineTransform::Rotate), py::arg("center"),
                    py::arg("angle"))
        .def("SetToIdentity", &AffineTransform::SetToIdentity)
        .def(
            "__mul__", [](const AffineTransform& t, const AffineTransform& o) { return t * o; }, py::is_operator(),
            "The product: o is applied first.")
        .def(
            "__mul__", [](const AffineTransform& t, const CPoint2f& p) { return t * p; }, py::is_operator(),
            "The image of a float point.")
        .def(
            "__mul__", [](const AffineTransform& t, const CVector2f& v) { return t * v; }, py::is_operator(),
            "The image of a float vector (linear part only).")
        .def(
            "__mul__", [](const AffineTransform& t, const CPoint2d& p) { return t * p; }, py::is_operator(),
            "The image of a double point, computed in double.")
        .def("Determinant", &AffineTransform::Determinant)
        .def("Invert", &AffineTransform::Invert, "Inverts in place; False, unchanged, when singular.")
        .def("IsValid", &AffineTransform::IsValid, "Whether Invert would succeed.")
        .def("GetRotationAngle", &AffineTransform::GetRotationAngle)
        .def("GetTranslation", &AffineTransform::GetTranslation)
        .def(
            "TransformPoints",
            [](const AffineTransform& t, const py::handle& h) {
                std::vector<CPoint2f> pts = ArrayToPoints2f(h, "points");
                for (CPoint2f& p : pts) t.Transform(p);
                return Points2fToArray(pts);
            },
            py::arg("points"), "The images of an (n, 2) float32 array of points, each as t * p.");

    // ----- curve intersections
    py::class_<IntersectionPoint2f>(m, "IntersectionPoint2f",
                                    "One hit of two curves: the point and its parameter on each (t1, t2). == within "
                                    "0.001 on the parameters and EqualTol on the points.")
        .def(py::init<>())
        .def(py::init<const CPoint2f&, float, float>(), py::arg("point"), py::arg("t1"), py::arg("t2"))
        .def_readwrite("point", &IntersectionPoint2f::point)
        .def_readwrite("t1", &IntersectionPoint2f::t1)
        .def_readwrite("t2", &IntersectionPoint2f::t2)
        .def(py::self == py::self)
        .def(py::self != py::self)
        .def("__repr__", [](const IntersectionPoint2f& ip) {
            return "IntersectionPoint2f(" + Repr("CPoint2f", ip.point.x, ip.point.y) + ", t1=" + Num(ip.t1) +
                   ", t2=" + Num(ip.t2) + ")";
        });
    m.def(
        "IntersectLineSegments",
        [](const CPoint2f& a0, const CPoint2f& a1, const CPoint2f& b0, const CPoint2f& b1) -> py::object {
            // A NaN parameter survives only when the call left the hit untouched.
            IntersectionPoint2f ip(CPoint2f(), std::numeric_limits<float>::quiet_NaN(), 0.0f);
            const bool inside = IntersectLineSegments(a0, a1, b0, b1, ip);
            if (!inside && std::isnan(ip.t1)) return py::none();
            return py::make_tuple(inside, ip);
        },
        py::arg("a0"), py::arg("a1"), py::arg("b0"), py::arg("b1"),
        "(within, hit) for the lines of segments a0-a1 and b0-b1: within when both parameters lie in [0, 1]; "
        "None for parallel or degenerate segments (|determinant| < 1e-30).");

    // ----- CCubicBezier2f
    py::class_<CCubicBezier2f>(m, "CCubicBezier2f",
                               "A cubic Bezier curve in float from p0 (t = 0) to p3 (t = 1). Queries bisect at 0.5 "
                               "until a piece is flat (IsLine(tol): exactly tol passes). Bounds and Intersects test "
                               "flatness against EqualTol narrowed to float, the curve intersections against half.")
        .def(py::init<>())
        .def(py::init<const CCubicBezier2f&>(), py::arg("curve"))
        .def(py::init<const CPoint2f&, const CPoint2f&, const CPoint2f&, const CPoint2f&>(), py::arg("p0"),
             py::arg("p1"), py::arg("p2"), py::arg("p3"))
        .def(py::init<const CPoint2f&, const CVector2f&, const CPoint2f&, const CVector2f&>(), py::arg("start"),
             py::arg("startTangent"), py::arg("end"), py::arg("endTangent"))
        .def(py::init<const CPoint2f&, const CPoint2f&, const CPoint2f&>(), py::arg("p0"), py::arg("q"), py::arg("p3"),
             "The quadratic p0, q, p3 raised to a cubic.")
        .def(py::init<const CPoint2f&, const CPoint2f&>(), py::arg("a"), py::arg("b"), "The straight segment a-b.")
        .def(py::init([](const py::handle& h) {
                 const std::vector<CPoint2f> p = ArrayToPoints2f(h, "points");
                 if (p.size() != 4) throw py::value_error("points: expected an array of shape (4, 2)");
                 return CCubicBezier2f(p.data());
             }),
             py::arg("points"), "From a (4, 2) array of control points.")
        .def_readwrite("p0", &CCubicBezier2f::p0)
        .def_readwrite("p1", &CCubicBezier2f::p1)
        .def_readwrite("p2", &CCubicBezier2f::p2)
        .def_readwrite("p3", &CCubicBezier2f::p3)
        .def_static("CreateFromCatmullRomSpline", &CCubicBezier2f::CreateFromCatmullRomSpline, py::arg("a"),
                    py::arg("b"), py::arg("c"), py::arg("d"), py::arg("tension"))
        .def("Reverse", &CCubicBezier2f::Reverse)
        .def("EvaluatePoint", &CCubicBezier2f::EvaluatePoint, py::arg("t"), "B(t) by the Bernstein form; not clamped.")
        .def(
            "Evaluate",
            [](const CCubicBezier2f& c, float t) {
                CPoint2f p;
                CVector2f v;
                const bool nudged = c.Evaluate(t, p, v);
                return py::make_tuple(nudged, p, v);
            },
            py::arg("t"),
            "(nudged, point, derivative): t clamped from above only; nudged when the derivative vanished and was "
            "taken 0.0001 further in.")
        .def(
            "Split",
            [](const CCubicBezier2f& c, float t) {
                CCubicBezier2f l, r;
                c.Split(t, l, r);
                return py::make_tuple(l, r);
            },
            py::arg("t"), "(left, right) by de Casteljau at t.")
        .def("ControlPointBounds", &CCubicBezier2f::ControlPointBounds)
        .def("Bounds", &CCubicBezier2f::Bounds, "A bounding rectangle tighter than ControlPointBounds().")
        .def("IsLine", &CCubicBezier2f::IsLine, py::arg("tol"))
        .def(
            "ParameterOfPointOnCurve",
            [](const CCubicBezier2f& c, const CPoint2f& p, float tol) -> py::object {
                float t = 0.0f;
                if (!c.ParameterOfPointOnCurve(p, tol, t)) return py::none();
                return py::float_(t);
            },
            py::arg("p"), py::arg("tol"), "The parameter of p when it lies within tol of the curve, else None.")
        .def("PointIsOnCurve", &CCubicBezier2f::PointIsOnCurve, py::arg("p"), py::arg("tol"))
        .def("Intersects", &CCubicBezier2f::Intersects, py::arg("r"), "Any part touches the closed rectangle.")
        .def("IsInside", &CCubicBezier2f::IsInside, py::arg("r"), "The whole curve lies in the closed rectangle.")
        .def(
            "ApproximateWithPolyline",
            [](const CCubicBezier2f& c, float tol, const py::object& points) {
                std::vector<CPoint2f> pts;
                if (!points.is_none()) pts = ArrayToPoints2f(points, "points");
                {
                    py::gil_scoped_release release;
                    c.ApproximateWithPolyline(pts, tol);
                }
                return Points2fToArray(pts);
            },
            py::arg("tol"), py::arg("points") = py::none(),
            "Flattens the curve within tol: returns `points` (an (m, 2) float32 array, empty by default) with the "
            "polyline appended. The start point is not appended to an empty list, nor when the list already ends at "
            "p0 within EqualTol.")
        .def(
            "IntersectWithLine",
            [](const CCubicBezier2f& c, const CPoint2f& a, const CPoint2f& b) {
                CurveIntersections2f hits;
                c.IntersectWithLine(a, b, Rangef(0.0f, 1.0f), Rangef(0.0f, 1.0f), hits);
                return Hits(hits);
            },
            py::arg("a"), py::arg("b"),
            "The hits with segment a-b as a list of IntersectionPoint2f (t1 on the curve, t2 on the segment), in "
            "the order found.")
        .def(
            "IntersectWithBezier",
            [](const CCubicBezier2f& c, const CCubicBezier2f& o) {
                CurveIntersections2f hits;
                c.IntersectWithBezier(o, Rangef(0.0f, 1.0f), Rangef(0.0f, 1.0f), hits);
                return Hits(hits);
            },
            py::arg("other"), "The hits with another curve (t1 on this, t2 on other), in the order found.")
        .def("ToArray",
             [](const CCubicBezier2f& c) {
                 return Points2fToArray({c.p0, c.p1, c.p2, c.p3});
             })
        .def("__repr__",
             [](const CCubicBezier2f& c) {
                 return "CCubicBezier2f(" + Repr("CPoint2f", c.p0.x, c.p0.y) + ", " + Repr("CPoint2f", c.p1.x, c.p1.y) +
                        ", " + Repr("CPoint2f", c.p2.x, c.p2.y) + ", " + Repr("CPoint2f", c.p3.x, c.p3.y) + ")";
             })
        .def("__copy__", [](const CCubicBezier2f& c) { return c; });
    m.def("PointInsideTriangle", &PointInsideTriangle, py::arg("p"), py::arg("a"), py::arg("b"), py::arg("c"),
          "Inclusive same-side test in float; a degenerate triangle contains every point.");

    // ----- CEllipse2f
    py::class_<CEllipse2f>(m, "CEllipse2f",
                           "A float ellipse: radii along local axes, oriented by an AffineTransform and placed at a "
                           "centre; t is the parametric angle.")
        .def(py::init<>())
        .def(py::init<const CPoint2f&, float, float, float>(), py::arg("center"), py::arg("radiusX"),
             py::arg("radiusY"), py::arg("angle"))
        .def(py::init<const CRect2f&, float>(), py::arg("r"), py::arg("angle"))
        .def(py::init<const CRect2f&, const AffineTransform&>(), py::arg("r"), py::arg("T"))
        .def_readwrite("center", &CEllipse2f::center)
        .def_readwrite("radiusX", &CEllipse2f::radiusX)
        .def_readwrite("radiusY", &CEllipse2f::radiusY)
        .def_readwrite("transform", &CEllipse2f::transform)
        .def("GetPointAtParameter", &CEllipse2f::GetPointAtParameter, py::arg("t"))
        .def("GetTangentAtParameter", &CEllipse2f::GetTangentAtParameter, py::arg("t"))
        .def("ParameterOfClosestPoint", &CEllipse2f::ParameterOfClosestPoint, py::arg("p"))
        .def(
            "GetPoints",
            [](const CEllipse2f& e, long long n) {
                if (n < 0) throw py::value_error("n: expected a count >= 0, got " + std::to_string(n));
                if (n > 0xFFFFFFFFLL) throw py::value_error("n: expected a count below 2**32");
                std::vector<CPoint2f> pts(static_cast<std::size_t>(n));
                e.GetPoints(static_cast<unsigned int>(n), pts.data());
                if (n < 2) pts.clear();
                return Points2fToArray(pts);
            },
            py::arg("n"),
            "A closed outline of n points as an (n, 2) float32 array: n - 1 at equal steps from t = 0, then a copy "
            "of the first. Fewer than 2 give an empty array.")
        .def("__repr__", [](const CEllipse2f& e) {
            return "CEllipse2f(center=" + Repr("CPoint2f", e.center.x, e.center.y) + ", radiusX=" + Num(e.radiusX) +
                   ", radiusY=" + Num(e.radiusY) + ")";
        });

    // ----- CPolygon2d and point-in-polygon
    py::enum_<EPolygonPosition>(m, "EPolygonPosition", py::arithmetic(), "Point-in-polygon codes (single bits).")
        .value("InsidePolygon", InsidePolygon)
        .value("OnPolygonEdge", OnPolygonEdge)
        .value("OnPolygonVertex", OnPolygonVertex)
        .value("OutsidePolygon", OutsidePolygon)
        .export_values();
    py::class_<CPolygon2d>(m, "CPolygon2d",
                           "A closed 2D polygon of doubles keeping the box of the points added with AddPoint. "
                           "ClassifyPoint answers EPolygonPosition codes within EqualTol.")
        .def(py::init<>())
        .def(py::init<const CPolygon2d&>(), py::arg("polygon"))
        .def(py::init([](const py::handle& h) {
                 const DoubleArray a = AsDoubles(h, "points", "(n, 2)");
                 CPolygon2d poly;
                 if (a.ndim() == 1 && a.shape(0) == 0) return poly;
                 const std::size_t n = CheckShape(a, {2}, "points", "(n, 2)");
                 for (std::size_t i = 0; i < n; ++i) poly.AddPoint(CPoint2d(a.data()[2 * i], a.data()[2 * i + 1]));
                 return poly;
             }),
             py::arg("points"), "From an (n, 2) array, each point added with AddPoint.")
        .def_property_readonly(
            "points",
            [](const CPolygon2d& p) {
                auto out = NewArray<double>({static_cast<py::ssize_t>(p.points.size()), 2});
                for (std::size_t i = 0; i < p.points.size(); ++i) {
                    out.mutable_data()[2 * i] = p.points[i].x;
                    out.mutable_data()[2 * i + 1] = p.points[i].y;
                }
                return out;
            },
            "The vertices as an (n, 2) copy.")
        .def_readonly("bounds", &CPolygon2d::bounds)
        .def_readwrite("tag", &CPolygon2d::tag)
        .def("AddPoint", &CPolygon2d::AddPoint, py::arg("p"))
        .def("ClassifyPoint", &CPolygon2d::ClassifyPoint, py::arg("p"))
        .def("Contains", &CPolygon2d::Contains, py::arg("other"), py::arg("allowBoundary"))
        .def("IsCoincidentWith", &CPolygon2d::IsCoincidentWith, py::arg("other"))
        .def("GetSignedArea", &CPolygon2d::GetSignedArea, "Positive counter-clockwise, 0 when empty.")
        .def("Reverse", &CPolygon2d::Reverse, "Leaves the order as it is (see the C++ contract).")
        .def("__len__", [](const CPolygon2d& p) { return p.points.size(); })
        .def("__repr__",
             [](const CPolygon2d& p) { return "CPolygon2d(" + std::to_string(p.points.size()) + " points)"; })
        .def("__copy__", [](const CPolygon2d& p) { return p; });
    m.def(
        "PointInPolygon",
        [](const CPoint2f& p, const py::handle& h) {
            const std::vector<CPoint2f> pts = ArrayToPoints2f(h, "points");
            return PointInPolygon(p, pts.data(), static_cast<unsigned int>(pts.size()));
        },
        py::arg("p"), py::arg("points"),
        "EPolygonPosition of float point p against the closed polygon of an (n, 2) array.");
}

}  // namespace plenar_python
