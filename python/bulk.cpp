// Bulk calls on NumPy arrays: each converts its arrays once, releases the GIL and
// runs the library's bulk entry point (or one C++ loop) over all elements, so that no
// Python work is done per element. Element i of every answer is exactly what the
// scalar call gives for element i.
#include "bindings.h"

#include <geometry/boundingbox.h>
#include <geometry/cubicbezier2f.h>
#include <geometry/geomfilter.h>
#include <geometry/meshwelder.h>
#include <geometry/plane.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

#include <chrono>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace plenar_python {

using namespace velmor::geometry;

namespace {

static_assert(sizeof(CPlane) == 4 * sizeof(double), "CPlane is four packed doubles");
static_assert(sizeof(CBoundingBox3d) == 6 * sizeof(double), "CBoundingBox3d is six packed doubles");
static_assert(sizeof(bool) == 1, "NumPy bool arrays hold one byte per element");

const CPoint3d* Points(const DoubleArray& a) { return reinterpret_cast<const CPoint3d*>(a.data()); }

IGeomFilter& FilterArgument(const py::handle& h) {
    if (!h.is_none()) {
        try {
            return *h.cast<IGeomFilter*>();
        } catch (const py::cast_error&) {
        }
    }
    throw py::type_error(
        "filter: expected a selection filter (an IGeomFilter such as CGeomFilterCrossingVolume or CGeomFilterPlane), "
        "got " +
        std::string(py::str(h.get_type().attr("__name__"))));
}

// An (n, 2, 3) box array holds [min x, y, z] then [max x, y, z]; the library's box
// holds the x range, then y, then z. The boxes are rearranged a block at a time into
// a small buffer that stays in cache, and each block goes to the bulk call.
constexpr std::size_t kBoxBlock = 1024;

void RepackBoxes(const double* d, std::size_t n, CBoundingBox3d* boxes) {
    for (std::size_t i = 0; i < n; ++i, d += 6) {
        CBoundingBox3d& b = boxes[i];
        b.x.min = d[0];
        b.y.min = d[1];
        b.z.min = d[2];
        b.x.max = d[3];
        b.y.max = d[4];
        b.z.max = d[5];
    }
}

/// Calls f(boxes, count, first) for consecutive blocks of the (n, 2, 3) array.
template <typename F>
void ForBoxBlocks(const double* d, std::size_t n, F f) {
    CBoundingBox3d block[kBoxBlock];
    for (std::size_t first = 0; first < n; first += kBoxBlock) {
        const std::size_t count = std::min(kBoxBlock, n - first);
        RepackBoxes(d + 6 * first, count, block);
        f(block, count, first);
    }
}

DoubleArray BoxArgument(const py::handle& h, std::size_t& n) {
    DoubleArray a = AsDoubles(h, "boxes", "(n, 2, 3)");
    n = CheckShape(a, {2, 3}, "boxes", "(n, 2, 3) ([min x, y, z], [max x, y, z])");
    return a;
}

py::tuple TestBoxesArray(const py::handle& filterArg, const py::handle& boxesArg) {
    IGeomFilter& filter = FilterArgument(filterArg);
    std::size_t n = 0;
    const DoubleArray a = BoxArgument(boxesArg, n);
    auto accepted = NewArray<bool>({static_cast<py::ssize_t>(n)});
    auto full = NewArray<bool>({static_cast<py::ssize_t>(n)});
    bool* acc = accepted.mutable_data();
    bool* ful = full.mutable_data();
    {
        py::gil_scoped_release release;
        ForBoxBlocks(a.data(), n, [&](const CBoundingBox3d* boxes, std::size_t count, std::size_t first) {
            TestBoxes(filter, boxes, count, acc + first, ful + first);
        });
    }
    return py::make_tuple(accepted, full);
}

py::array_t<bool> TestPointsArray(const py::handle& filterArg, const py::handle& pointsArg) {
    IGeomFilter& filter = FilterArgument(filterArg);
    const DoubleArray a = AsDoubles(pointsArg, "points", "(n, 3)");
    const std::size_t n = CheckShape(a, {3}, "points", "(n, 3)");
    auto accepted = NewArray<bool>({static_cast<py::ssize_t>(n)});
    bool* acc = accepted.mutable_data();
    {
        py::gil_scoped_release release;
        TestPoints(filter, Points(a), n, acc);
    }
    return accepted;
}

py::array_t<bool> TestSegmentsArray(const py::handle& filterArg, const py::handle& segmentsArg) {
    IGeomFilter& filter = FilterArgument(filterArg);
    const DoubleArray a = AsDoubles(segmentsArg, "segments", "(n, 2, 3)");
    const std::size_t n = CheckShape(a, {2, 3}, "segments", "(n, 2, 3) ([start x, y, z], [end x, y, z])");
    auto accepted = NewArray<bool>({static_cast<py::ssize_t>(n)});
    bool* acc = accepted.mutable_data();
    {
        py::gil_scoped_release release;
        TestSegments(filter, Points(a), n, acc);
    }
    return accepted;
}

// The (m, 2) float32 polylines of many cubics, as ApproximateWithPolyline appends
// them to an empty list one curve at a time, and the offsets of each curve's run.
py::tuple FlattenCubics(const py::handle& curvesArg, float tol) {
    const FloatArray a = AsFloats(curvesArg, "curves", "(n, 4, 2)");
    const std::size_t n = CheckShape(a, {4, 2}, "curves", "(n, 4, 2) (p0, p1, p2, p3)");
    std::vector<CPoint2f> all;
    std::vector<std::int64_t> offsets(n + 1, 0);
    {
        py::gil_scoped_release release;
        const auto* p = reinterpret_cast<const CPoint2f*>(a.data());
        std::vector<CPoint2f> one;
        for (std::size_t i = 0; i < n; ++i) {
            one.clear();
            CCubicBezier2f(p + 4 * i).ApproximateWithPolyline(one, tol);
            all.insert(all.end(), one.begin(), one.end());
            offsets[i + 1] = static_cast<std::int64_t>(all.size());
        }
    }
    auto points = NewArray<float>({static_cast<py::ssize_t>(all.size()), 2});
    if (!all.empty()) std::memcpy(points.mutable_data(), all.data(), all.size() * sizeof(CPoint2f));
    auto offs = NewArray<std::int64_t>({static_cast<py::ssize_t>(n + 1)});
    std::memcpy(offs.mutable_data(), offsets.data(), offsets.size() * sizeof(std::int64_t));
    return py::make_tuple(points, offs);
}

double Seconds(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

void RegisterBulk(py::module_& m) {
    auto transformation = py::reinterpret_borrow<py::class_<CTransformation>>(m.attr("CTransformation"));
    transformation
        .def(
            "TransformPoints",
            [](const CTransformation& t, const py::handle& pointsArg, const py::object& outArg) {
                const DoubleArray in = AsDoubles(pointsArg, "points", "(n, 3)");
                const std::size_t n = CheckShape(in, {3}, "points", "(n, 3)");
                py::array_t<double> out;
                if (outArg.is_none()) {
                    out = NewArray<double>({static_cast<py::ssize_t>(n), 3});
                } else {
                    if (!py::isinstance<py::array_t<double>>(outArg))
                        throw py::type_error("out: expected a float64 array of shape (n, 3)");
                    out = py::reinterpret_borrow<py::array_t<double>>(outArg);
                    if (!(out.flags() & py::array::c_style) || !out.writeable())
                        throw py::value_error("out: expected a writable C-contiguous float64 array");
                    if (CheckShape(out, {3}, "out", "(n, 3)") != n)
                        throw py::value_error("out: expected as many rows as points (" + std::to_string(n) + ")");
                }
                auto* dst = reinterpret_cast<CPoint3d*>(out.mutable_data());
                {
                    py::gil_scoped_release release;
                    t.TransformPoints(Points(in), n, dst);
                }
                return out;
            },
            py::arg("points"), py::arg("out") = py::none(),
            "Transforms an (n, 3) array of points, each exactly as t * p, by the C++ bulk call. Returns a new "
            "(n, 3) float64 array, or writes into `out` (a writable C-contiguous float64 (n, 3) array, which may be "
            "`points` itself) and returns it. Other dtypes and strided views are converted first.")
        .def(
            "TransformVectors",
            [](const CTransformation& t, const py::handle& vectorsArg) {
                const DoubleArray in = AsDoubles(vectorsArg, "vectors", "(n, 3)");
                const std::size_t n = CheckShape(in, {3}, "vectors", "(n, 3)");
                auto out = NewArray<double>({static_cast<py::ssize_t>(n), 3});
                if (n > 0) std::memcpy(out.mutable_data(), in.data(), n * sizeof(CVector3d));
                auto* v = reinterpret_cast<CVector3d*>(out.mutable_data());
                {
                    py::gil_scoped_release release;
                    t.TransformVectors(v, n);
                }
                return out;
            },
            py::arg("vectors"), "Transforms an (n, 3) array of vectors, each exactly as t * v (no translation).")
        .def(
            "TransformPlanes",
            [](const CTransformation& t, const py::handle& planesArg) {
                const DoubleArray in = AsDoubles(planesArg, "planes", "(n, 4)");
                const std::size_t n = CheckShape(in, {4}, "planes", "(n, 4) (a, b, c, d)");
                auto out = NewArray<double>({static_cast<py::ssize_t>(n), 4});
                if (n > 0) std::memcpy(out.mutable_data(), in.data(), n * sizeof(CPlane));
                auto* p = reinterpret_cast<CPlane*>(out.mutable_data());
                {
                    py::gil_scoped_release release;
                    t.TransformPlanes(p, n);
                }
                return out;
            },
            py::arg("planes"),
            "Transforms an (n, 4) array of plane equations, each exactly as t * plane (the rows are taken as "
            "stored, not normalised first).");

    const char* boxesDoc =
        "Tests an (n, 2, 3) array of boxes ([min x, y, z], [max x, y, z]) against the filter; returns "
        "(accepted, fullyAccepted), two boolean arrays of n, element i exactly as filter.TestFully(box i).";
    const char* pointsDoc = "Tests an (n, 3) array of points; returns a boolean array, element i as filter.Test(p).";
    const char* segmentsDoc =
        "Tests an (n, 2, 3) array of segments ([start], [end]); returns a boolean array, element i as "
        "filter.Test(start, end).";
    m.def("TestBoxes", &TestBoxesArray, py::arg("filter"), py::arg("boxes"), boxesDoc);
    m.def("TestPoints", &TestPointsArray, py::arg("filter"), py::arg("points"), pointsDoc);
    m.def("TestSegments", &TestSegmentsArray, py::arg("filter"), py::arg("segments"), segmentsDoc);
    auto filter = py::reinterpret_borrow<py::class_<IGeomFilter>>(m.attr("IGeomFilter"));
    filter.def(
        "TestBoxes", [](py::object self, const py::handle& boxes) { return TestBoxesArray(self, boxes); },
        py::arg("boxes"), boxesDoc);
    filter.def(
        "TestPoints", [](py::object self, const py::handle& points) { return TestPointsArray(self, points); },
        py::arg("points"), pointsDoc);
    filter.def(
        "TestSegments", [](py::object self, const py::handle& segs) { return TestSegmentsArray(self, segs); },
        py::arg("segments"), segmentsDoc);

    auto ray = py::reinterpret_borrow<py::class_<CRay3d>>(m.attr("CRay3d"));
    ray.def(
        "IntersectBoxes",
        [](const CRay3d& r, const py::handle& boxesArg) {
            std::size_t n = 0;
            const DoubleArray a = BoxArgument(boxesArg, n);
            auto hits = NewArray<bool>({static_cast<py::ssize_t>(n)});
            auto entries = NewArray<double>({static_cast<py::ssize_t>(n), 3});
            auto sides = NewArray<std::int32_t>({static_cast<py::ssize_t>(n)});
            bool* h = hits.mutable_data();
            double* e = entries.mutable_data();
            std::int32_t* s = sides.mutable_data();
            {
                py::gil_scoped_release release;
                // Entries of missed boxes are not written by the library: they read NaN.
                const double nan = std::numeric_limits<double>::quiet_NaN();
                auto* points = reinterpret_cast<CPoint3d*>(e);
                for (std::size_t i = 0; i < n; ++i) points[i] = CPoint3d(nan, nan, nan);
                EBoxSide faces[kBoxBlock];
                ForBoxBlocks(a.data(), n, [&](const CBoundingBox3d* boxes, std::size_t count, std::size_t first) {
                    r.IntersectBoxes(boxes, count, h + first, points + first, faces);
                    for (std::size_t i = 0; i < count; ++i) s[first + i] = static_cast<std::int32_t>(faces[i]);
                });
            }
            return py::make_tuple(hits, entries, sides);
        },
        py::arg("boxes"),
        "One ray against an (n, 2, 3) array of boxes by the C++ bulk call: returns (hits, entries, sides), a "
        "boolean array, an (n, 3) array of entry points (NaN where the box is missed) and an int32 array of "
        "EBoxSide faces; element i exactly as IntersectWith(box i).");

    auto welder = py::reinterpret_borrow<py::class_<CMeshWelder>>(m.attr("CMeshWelder"));
    welder.def(
        "InsertPoints",
        [](CMeshWelder& w, const py::handle& pointsArg) {
            const DoubleArray a = AsDoubles(pointsArg, "points", "(n, 3)");
            const std::size_t n = CheckShape(a, {3}, "points", "(n, 3)");
            auto indices = NewArray<std::int64_t>({static_cast<py::ssize_t>(n)});
            static_assert(sizeof(long) == sizeof(std::int64_t), "point indices are 64-bit longs");
            auto* out = reinterpret_cast<long*>(indices.mutable_data());
            {
                py::gil_scoped_release release;
                w.InsertPoints(Points(a), n, out);
            }
            return indices;
        },
        py::arg("points"),
        "Welds an (n, 3) array of points into the mesh in order; returns their 1-based point indices as int64, "
        "element i exactly as InsertPoint(point i) called in order.");

    m.def("ApproximateWithPolylines", &FlattenCubics, py::arg("curves"), py::arg("tol"),
          "Flattens an (n, 4, 2) array of cubic control points (float32) within tol. Returns (points, offsets): "
          "the polylines as one (m, 2) float32 array and n + 1 int64 offsets, curve i owning points[offsets[i]:"
          "offsets[i + 1]], exactly what CCubicBezier2f.ApproximateWithPolyline(tol) returns for it.");

    // C++ timings of the bulk calls on data already in the library's layout, for the
    // benchmark that compares them with the Python calls.
    py::module_ timing = m.def_submodule("timing", "C++ timings of the bulk entry points, for benchmarks.");
    timing.def(
        "TransformPoints",
        [](const CTransformation& t, const py::handle& pointsArg, int repeats) {
            if (repeats < 1) throw py::value_error("repeats: expected a count >= 1, got " + std::to_string(repeats));
            const DoubleArray in = AsDoubles(pointsArg, "points", "(n, 3)");
            const std::size_t n = CheckShape(in, {3}, "points", "(n, 3)");
            double best = std::numeric_limits<double>::infinity();
            {
                py::gil_scoped_release release;
                std::vector<CPoint3d> out(n);
                for (int r = 0; r < repeats; ++r) {
                    const auto start = std::chrono::steady_clock::now();
                    t.TransformPoints(Points(in), n, out.data());
                    best = std::min(best, Seconds(start));
                }
            }
            return best;
        },
        py::arg("t"), py::arg("points"), py::arg("repeats"),
        "Best of `repeats` timings (seconds) of the C++ TransformPoints over the points, output preallocated.");
    timing.def(
        "TestBoxes",
        [](const py::handle& filterArg, const py::handle& boxesArg, int repeats) {
            if (repeats < 1) throw py::value_error("repeats: expected a count >= 1, got " + std::to_string(repeats));
            IGeomFilter& f = FilterArgument(filterArg);
            std::size_t n = 0;
            const DoubleArray a = BoxArgument(boxesArg, n);
            double best = std::numeric_limits<double>::infinity();
            {
                py::gil_scoped_release release;
                std::vector<CBoundingBox3d> boxes(n);
                RepackBoxes(a.data(), n, boxes.data());
                std::unique_ptr<bool[]> acc(new bool[n + 1]), full(new bool[n + 1]);
                for (int r = 0; r < repeats; ++r) {
                    const auto start = std::chrono::steady_clock::now();
                    TestBoxes(f, boxes.data(), n, acc.get(), full.get());
                    best = std::min(best, Seconds(start));
                }
            }
            return best;
        },
        py::arg("filter"), py::arg("boxes"), py::arg("repeats"),
        "Best of `repeats` timings (seconds) of the C++ TestBoxes over boxes already in the library's layout.");
}

}  // namespace plenar_python
