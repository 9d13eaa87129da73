// The C++ picking example's scene, camera, pick volume and hierarchical walk
// (examples/picking_scene.h), exposed to the Python tests so that the scene built
// with NumPy and the pick made with the bulk calls can be compared with the
// example's own, number for number and box for box. Built for the tests only.
#include "picking_scene.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

namespace py = pybind11;
using namespace plenar_example;

namespace {

py::array_t<double> Boxes(const std::vector<CBoundingBox3d>& boxes) {
    py::array_t<double> out(std::vector<py::ssize_t>{static_cast<py::ssize_t>(boxes.size()), 2, 3});
    double* d = out.mutable_data();
    for (const CBoundingBox3d& b : boxes) {
        const double v[6] = {b.x.min, b.y.min, b.z.min, b.x.max, b.y.max, b.z.max};
        for (double x : v) *d++ = x;
    }
    return out;
}

Scene Make(int instances, int groups, int boxes, std::uint64_t seed) {
    return MakeScene(SceneSize{instances, groups, boxes}, seed);
}

}  // namespace

PYBIND11_MODULE(plenar_picking_reference, m) {
    m.def(
        "scene",
        [](int instances, int groups, int boxes, std::uint64_t seed) {
            const Scene scene = Make(instances, groups, boxes, seed);
            std::vector<CBoundingBox3d> groupBounds, instanceBounds, worldBounds;
            py::array_t<double> placements(
                std::vector<py::ssize_t>{static_cast<py::ssize_t>(scene.instances.size()), 13});
            double* p = placements.mutable_data();
            for (const Group& g : scene.groups) groupBounds.push_back(g.bounds);
            for (const Instance& in : scene.instances) {
                instanceBounds.push_back(in.bounds);
                worldBounds.push_back(in.worldBounds);
                for (double v : in.placement.matrix) *p++ = v;
                for (double v : in.placement.translation) *p++ = v;
                *p++ = in.placement.scale;
            }
            py::dict out;
            out["boxes"] = Boxes(scene.boxes);
            out["groupBounds"] = Boxes(groupBounds);
            out["instanceBounds"] = Boxes(instanceBounds);
            out["worldBounds"] = Boxes(worldBounds);
            out["placements"] = placements;
            return out;
        },
        py::arg("instances"), py::arg("groups"), py::arg("boxes"), py::arg("seed"),
        "The example's scene: box arrays (n, 2, 3) and the placements as rows of matrix[9], translation[3], scale.");
    m.def(
        "pick",
        [](int instances, int groups, int boxes, std::uint64_t seed, double left, double bottom, double right,
           double top) {
            const Scene scene = Make(instances, groups, boxes, seed);
            const Camera camera = LookAtScene(scene);
            CGeomFilterCrossingVolume volume = PickVolume(camera, ScreenRect{left, bottom, right, top});
            py::array_t<double> planes(std::vector<py::ssize_t>{6, 4});
            double* d = planes.mutable_data();
            for (const CPlane& pl : volume.planes) {
                *d++ = pl.a;
                *d++ = pl.b;
                *d++ = pl.c;
                *d++ = pl.d;
            }
            const PickResult result = PickHierarchical(scene, volume);
            return py::make_tuple(planes, result.picked, PickBruteForce(scene, volume));
        },
        py::arg("instances"), py::arg("groups"), py::arg("boxes"), py::arg("seed"), py::arg("left"), py::arg("bottom"),
        py::arg("right"), py::arg("top"),
        "(pick volume planes (6, 4), ids picked by the hierarchical walk, ids picked by brute force).");
}
