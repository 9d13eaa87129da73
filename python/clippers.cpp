// The triangle clippers, each with a point pool of its own, and the homogeneous
// line clipper.
#include "bindings.h"

#include <geometry/lineclipper.h>
#include <geometry/triangleclipper.h>

#include <memory>
#include <vector>

namespace plenar_python {

using namespace velmor::geometry;

namespace {

// In C++ the caller owns the point pool a clipper appends to; from Python the pool
// lives beside the clipper, seeded from an (n, 3) array and read back as one.
struct PooledClipper {
    std::vector<CPoint3d> pool;
    std::unique_ptr<TriangleClipper> clipper;
    virtual ~PooledClipper() = default;
};
struct PooledClipper2D : PooledClipper {};
struct PooledClipper3D : PooledClipper {};

std::vector<CPoint3d> ToPool(const py::handle& h) {
    const DoubleArray a = AsDoubles(h, "points", "(n, 3)");
    if (a.ndim() == 1 && a.shape(0) == 0) return {};
    const std::size_t n = CheckShape(a, {3}, "points", "(n, 3)");
    const auto* p = reinterpret_cast<const CPoint3d*>(a.data());
    return std::vector<CPoint3d>(p, p + n);
}

TriangleClipper::IndexedTriangle ToTriangle(const py::handle& h) {
    const auto v = py::cast<std::vector<long long>>(h);
    if (v.size() != 3) throw py::value_error("triangle: expected 3 vertex indices, got " + std::to_string(v.size()));
    TriangleClipper::IndexedTriangle t{};
    for (int i = 0; i < 3; ++i) {
        const long long k = v[static_cast<std::size_t>(i)];
        if (k < -2147483647LL - 1 || k > 2147483647LL)
            throw py::value_error("triangle: vertex index " + std::to_string(k) + " does not fit an int");
        t.indices[i] = static_cast<int>(k);
    }
    return t;
}

py::array_t<int> Triangles(const std::vector<TriangleClipper::IndexedTriangle>& ts) {
    auto out = NewArray<int>({static_cast<py::ssize_t>(ts.size()), 3});
    int* d = out.mutable_data();
    for (const auto& t : ts) {
        *d++ = t.indices[0];
        *d++ = t.indices[1];
        *d++ = t.indices[2];
    }
    return out;
}

py::array_t<double> PoolArray(const std::vector<CPoint3d>& pool) {
    auto out = NewArray<double>({static_cast<py::ssize_t>(pool.size()), 3});
    double* d = out.mutable_data();
    for (const CPoint3d& p : pool) {
        *d++ = p.x;
        *d++ = p.y;
        *d++ = p.z;
    }
    return out;
}

}  // namespace

void RegisterClippers(py::module_& m) {
    py::class_<ClipPlane>(m, "ClipPlane",
                          "One axis-aligned clip plane on x (axis 0), y (1) or z (any other value); keepGreater keeps "
                          "coordinate >= value, else <= value. Inclusive, no tolerance.")
        .def(py::init<bool, double, int>(), py::arg("keepGreater"), py::arg("value"), py::arg("axis"))
        .def_readwrite("keepGreater", &ClipPlane::keepGreater)
        .def_readwrite("value", &ClipPlane::value)
        .def_readwrite("axis", &ClipPlane::axis)
        .def("Coordinate", &ClipPlane::Coordinate, py::arg("p"))
        .def("IsInside", &ClipPlane::IsInside, py::arg("p"), "Inclusive: a vertex exactly on the plane is inside.")
        .def("Intersection", &ClipPlane::Intersection, py::arg("a"), py::arg("b"),
             "Where segment a->b meets the plane; (+inf, +inf, +inf) when it runs along it.")
        .def("__repr__",
             [](const ClipPlane& p) {
                 return std::string("ClipPlane(keepGreater=") + (p.keepGreater ? "True" : "False") +
                        ", value=" + Num(p.value) + ", axis=" + std::to_string(p.axis) + ")";
             })
        .def("__copy__", [](const ClipPlane& p) { return p; });

    py::class_<PooledClipper>(m, "TriangleClipper",
                              "Clips indexed triangles against clip planes applied in insertion order. The point "
                              "pool (`points`) belongs to the clipper here; clipping appends every new vertex to it "
                              "and never de-duplicates. Output triangles keep the input winding. A vertex index "
                              "outside the pool raises IndexError before anything is appended.")
        .def(py::init([](const py::handle& points, const std::vector<ClipPlane>& planes) {
                 auto c = std::make_unique<PooledClipper>();
                 c->pool = ToPool(points);
                 c->clipper = std::make_unique<TriangleClipper>(&c->pool, planes);
                 return c;
             }),
             py::arg("points"), py::arg("planes") = std::vector<ClipPlane>(),
             "A clipper over a copy of the (n, 3) point array, with a copy of the planes.")
        .def_property_readonly(
            "points", [](const PooledClipper& c) { return PoolArray(c.pool); }, "The point pool, as an (n, 3) copy.")
        .def_property_readonly(
            "clipPlanes", [](const PooledClipper& c) { return c.clipper->clipPlanes; }, "The planes, in order.")
        .def(
            "AddClipPlane", [](PooledClipper& c, const ClipPlane& p) { return c.clipper->AddClipPlane(p); },
            py::arg("plane"), "Appends a plane; returns its index.")
        .def(
            "ClipToExtents",
            [](PooledClipper& c, const py::handle& triangle) {
                std::vector<TriangleClipper::IndexedTriangle> out;
                c.clipper->ClipToExtents(ToTriangle(triangle), &out);
                return Triangles(out);
            },
            py::arg("triangle"),
            "Clips one triangle (three pool indices) against every plane in order; returns the pieces as an (m, 3) "
            "int array.")
        .def(
            "ClipToPlane",
            [](PooledClipper& c, const ClipPlane& plane, const py::handle& triangle) {
                std::vector<TriangleClipper::IndexedTriangle> out;
                c.clipper->ClipToPlane(plane, ToTriangle(triangle), &out);
                return Triangles(out);
            },
            py::arg("plane"), py::arg("triangle"), "Clips one triangle against one plane: 0, 1 or 2 pieces.");

    py::class_<PooledClipper2D, PooledClipper>(m, "TriangleClipper2D",
                                               "A clipper to a 2D rectangle: y <= max, y >= min, x <= max, x >= min "
                                               "in that order; z is not bounded.")
        .def(py::init([](const py::handle& points, const CBoundingBox2d& extents) {
                 auto c = std::make_unique<PooledClipper2D>();
                 c->pool = ToPool(points);
                 c->clipper = std::make_unique<TriangleClipper2D>(&c->pool, extents);
                 return c;
             }),
             py::arg("points"), py::arg("extents"))
        .def_property_readonly("extents", [](const PooledClipper2D& c) {
            return static_cast<const TriangleClipper2D&>(*c.clipper).extents;
        });

    py::class_<PooledClipper3D, PooledClipper>(m, "TriangleClipper3D",
                                               "A clipper to a 3D box: the rectangle's four planes, then z <= max and "
                                               "z >= min.")
        .def(py::init([](const py::handle& points, const CBoundingBox3d& extents) {
                 auto c = std::make_unique<PooledClipper3D>();
                 c->pool = ToPool(points);
                 c->clipper = std::make_unique<TriangleClipper3D>(&c->pool, extents);
                 return c;
             }),
             py::arg("points"), py::arg("extents"))
        .def_property_readonly("extents", [](const PooledClipper3D& c) {
            return static_cast<const TriangleClipper3D&>(*c.clipper).extents;
        });

    py::enum_<EClipResult>(m, "EClipResult", py::arithmetic(), "What LineClipper.Clip found visible.")
        .value("NothingVisible", NothingVisible)
        .value("AllVisible", AllVisible)
        .value("PartVisible", PartVisible)
        .export_values();

    py::class_<LineClipper>(m, "LineClipper",
                            "Clips a homogeneous segment against the side planes (-w <= x, y <= w) or the depth planes "
                            "(-d*w <= z <= d*w) of the view volume; a point on a plane is inside. The visible part is "
                            "[tMin, tMax] on p0 + t*(p1 - p0).")
        .def(py::init<>())
        .def(py::init([](double depthLimit) {
                 LineClipper c;
                 c.depthLimit = depthLimit;
                 return c;
             }),
             py::arg("depthLimit"))
        .def_readwrite("depthLimit", &LineClipper::depthLimit)
        .def_readwrite("tMin", &LineClipper::tMin)
        .def_readwrite("tMax", &LineClipper::tMax)
        .def(
            "CalculateBoundaryCoordinates",
            [](const LineClipper& c, bool sides, const CPoint4d& p) {
                double bc[4] = {0.0, 0.0, 0.0, 0.0};
                const unsigned int code = c.CalculateBoundaryCoordinates(sides, p, bc);
                auto out = NewArray<double>({sides ? 4 : 2});
                for (int i = 0; i < (sides ? 4 : 2); ++i) out.mutable_data()[i] = bc[i];
                return py::make_tuple(code, out);
            },
            py::arg("sides"), py::arg("p"),
            "(outcode, boundary coordinates): four values for the sides, two for depth; bit i set when bc[i] < 0.")
        .def("Clip", &LineClipper::Clip, py::arg("sides"), py::arg("p0"), py::arg("p1"),
             "EClipResult: NothingVisible 0, AllVisible 1 (tMin, tMax untouched), PartVisible 2 (tMin, tMax set).")
        .def(
            "ClampToNearFarPlaneZ",
            [](const LineClipper& c, CPoint4d p) {
                c.ClampToNearFarPlaneZ(p);
                return p;
            },
            py::arg("p"), "A copy of p with z/w clamped into [-d, d]; unguarded (w must not be 0).")
        .def("__repr__", [](const LineClipper& c) {
            return "LineClipper(depthLimit=" + Num(c.depthLimit) + ", tMin=" + Num(c.tMin) + ", tMax=" + Num(c.tMax) +
                   ")";
        });
}

}  // namespace plenar_python
