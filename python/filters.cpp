// The selection filters: IGeomFilter and its family, with copies made by Clone.
#include "bindings.h"

#include <geometry/geomfilter.h>

#include <memory>

namespace plenar_python {

using namespace velmor::geometry;

namespace {

py::list PlaneList(const CGeomFilterVolume& v) {
    py::list out;
    for (const CPlane& p : v.planes) out.append(p);
    return out;
}

void SetPlanes(CGeomFilterVolume& v, const py::handle& h) {
    const auto planes = py::cast<std::vector<CPlane>>(h);
    if (planes.size() != 6) throw py::value_error("planes: expected 6 planes, got " + std::to_string(planes.size()));
    for (int i = 0; i < 6; ++i) v.planes[i] = planes[static_cast<std::size_t>(i)];
}

template <typename Volume>
void VolumeConstructors(py::class_<Volume, CGeomFilterVolume>& c) {
    c.def(py::init<>(), "Six planes (0, 0, 1, 0), all present: the half-space z <= 0.")
        .def(py::init<const Volume&>(), py::arg("filter"), "A copy of the six planes.")
        .def(py::init<const CPlane&, const CPlane&, const CPlane&, const CPlane&, const CPlane&, const CPlane&>(),
             py::arg("p0"), py::arg("p1"), py::arg("p2"), py::arg("p3"), py::arg("p4"), py::arg("p5"),
             "The six planes in argument order, normals pointing out of the volume (p5.d = AbsentPlaneD removes "
             "plane 5).")
        .def(py::init([](const py::handle& planes) {
                 auto v = std::make_unique<Volume>();
                 SetPlanes(*v, planes);
                 return v;
             }),
             py::arg("planes"), "From a sequence of six planes.");
}

}  // namespace

void RegisterFilters(py::module_& m) {
    py::class_<IGeomFilter>(m, "IGeomFilter",
                            "The selection question asked by a scene walk: is a point, a segment or a box selected. "
                            "Copies are made with Clone() (copy.copy does the same). Distances are the signed plane "
                            "distance; the volume tests use no tolerance (a point on a face is inside). The bulk "
                            "calls TestBoxes, TestPoints and TestSegments answer whole arrays.")
        .def("Test", py::overload_cast<const CPoint3d&>(&IGeomFilter::Test), py::arg("point"), "Is the point selected.")
        .def("Test", py::overload_cast<const CPoint3d&, const CPoint3d&>(&IGeomFilter::Test), py::arg("start"),
             py::arg("end"), "Is the segment from start to end selected.")
        .def("Test", py::overload_cast<const CBoundingBox3d&>(&IGeomFilter::Test), py::arg("box"),
             "May anything in the box be selected; False lets the caller skip the box.")
        .def(
            "TestFully",
            [](IGeomFilter& f, const CBoundingBox3d& box) {
                bool full = false;
                const bool accepted = f.Test(box, full);
                return py::make_tuple(accepted, full);
            },
            py::arg("box"),
            "C++ Test(box, fullyAccepted): (accepted, fullyAccepted); fullyAccepted True when everything in the box "
            "is certainly selected.")
        .def("Clone", &IGeomFilter::Clone, py::return_value_policy::take_ownership, "A new copy of the same type.")
        .def("__copy__", &IGeomFilter::Clone, py::return_value_policy::take_ownership)
        .def(
            "__deepcopy__", [](IGeomFilter& f, const py::dict&) { return f.Clone(); },
            py::return_value_policy::take_ownership, py::arg("memo"))
        .def("Transform", &IGeomFilter::Transform, py::arg("t"), "Moves the filter's geometry by t in place.")
        .def(
            "GetFrustumPlane",
            [](const IGeomFilter& f, int index) -> py::object {
                const CPlane* p = f.GetFrustumPlane(index);
                if (p == nullptr) return py::none();
                return py::cast(*p);
            },
            py::arg("index"), "A copy of one of the bounding planes, or None when there is none at index.");

    py::class_<CGeomFilterVolume, IGeomFilter>(
        m, "CGeomFilterVolume",
        "A convex volume of six planes with outward normals; a point is inside when no signed distance is positive. "
        "Plane 5 is absent when its d is AbsentPlaneD.")
        .def_readonly_static("AbsentPlaneD", &CGeomFilterVolume::AbsentPlaneD)
        .def_property("planes", &PlaneList, &SetPlanes,
                      "The six planes as a list of copies; assign a sequence of six to change them.")
        .def("HasPlane5", &CGeomFilterVolume::HasPlane5);

    py::class_<CGeomFilterInsideVolume, CGeomFilterVolume> inside(
        m, "CGeomFilterInsideVolume",
        "Selects what lies wholly inside the volume: a segment when both ends are inside.");
    VolumeConstructors(inside);
    inside.def("__repr__", [](const CGeomFilterInsideVolume&) { return std::string("CGeomFilterInsideVolume(...)"); });

    py::class_<CGeomFilterCrossingVolume, CGeomFilterVolume> crossing(
        m, "CGeomFilterCrossingVolume",
        "Selects what lies inside the volume or crosses its boundary; segments are trimmed plane by plane "
        "(CPlane.TrimAbove) and rejected as soon as nothing is left below a plane.");
    VolumeConstructors(crossing);
    crossing.def("__repr__",
                 [](const CGeomFilterCrossingVolume&) { return std::string("CGeomFilterCrossingVolume(...)"); });

    py::class_<CGeomFilterSelectAll, IGeomFilter>(m, "CGeomFilterSelectAll",
                                                  "Selects everything; boxes are always fully accepted.")
        .def(py::init<>())
        .def("__repr__", [](const CGeomFilterSelectAll&) { return std::string("CGeomFilterSelectAll()"); });

    py::class_<CGeomFilterPlane, IGeomFilter>(
        m, "CGeomFilterPlane",
        "Selects what touches or crosses one plane: points and segment ends within EqualTol (strict), segments with "
        "ends strictly on opposite sides, boxes that touch or straddle it (exactly). Never fully accepted.")
        .def(py::init<>(), "The plane z = 0.")
        .def(py::init<const CPlane&>(), py::arg("plane"))
        .def_readwrite("plane", &CGeomFilterPlane::plane)
        .def("__repr__", [](const CGeomFilterPlane& f) {
            return "CGeomFilterPlane(" + Repr("CPlane", f.plane.a, f.plane.b, f.plane.c, f.plane.d) + ")";
        });

    py::class_<CGeomFilterAbovePlane, CGeomFilterPlane>(
        m, "CGeomFilterAbovePlane",
        "Selects what reaches the positive side: points and segment ends from EqualTol below (distance > "
        "-EqualTol, strict); boxes classified exactly with no band. A box wholly above is fully accepted.")
        .def(py::init<>())
        .def(py::init<const CPlane&>(), py::arg("plane"))
        .def("__repr__", [](const CGeomFilterAbovePlane& f) {
            return "CGeomFilterAbovePlane(" + Repr("CPlane", f.plane.a, f.plane.b, f.plane.c, f.plane.d) + ")";
        });

    py::class_<CGeomFilterCombined, IGeomFilter>(
        m, "CGeomFilterCombined",
        "The logical AND of a list of filters; an empty list selects everything. The combined filter owns clones of "
        "the filters given to it, so the Python objects passed in stay independent.")
        .def(py::init<>())
        .def(py::init([](IGeomFilter& first, IGeomFilter& second) {
                 return std::make_unique<CGeomFilterCombined>(first.Clone(), second.Clone());
             }),
             py::arg("first"), py::arg("second"), "Holds clones of first and second.")
        .def(
            "Add", [](CGeomFilterCombined& c, IGeomFilter& f) { c.Add(f.Clone()); }, py::arg("filter"),
            "Appends a clone of filter.")
        .def("__len__", [](const CGeomFilterCombined& c) { return c.filters.size(); })
        .def(
            "__getitem__",
            [](const CGeomFilterCombined& c, py::ssize_t i) {
                const auto n = static_cast<py::ssize_t>(c.filters.size());
                if (i < 0) i += n;
                if (i < 0 || i >= n) throw py::index_error("index out of range");
                return c.filters[static_cast<std::size_t>(i)];
            },
            py::return_value_policy::reference_internal, "Member i (owned by the combined filter).")
        .def("__repr__", [](const CGeomFilterCombined& c) {
            return "CGeomFilterCombined(" + std::to_string(c.filters.size()) + " filters)";
        });
}

}  // namespace plenar_python
