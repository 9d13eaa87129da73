// The module `plenar`: the library's types under their C++ names, the tolerance
// globals read and written live, and the bulk calls on NumPy arrays.
#include "bindings.h"

#include <pybind11/eval.h>

#include <geometry/export.h>
#include <geometry/point4d.h>
#include <geometry/tol.h>

namespace py = pybind11;
namespace g = velmor::geometry;

namespace {

// The tolerance globals are C++ variables that every test reads when it runs. A
// module attribute would be a copy, so the module's class is given properties that
// read and write the variables themselves: `plenar.EqualTol = 0.01` changes the
// library's EqualTol at once, and the squared tolerances, which the library never
// recomputes, have no setter.
const char* const kToleranceProperties = R"(
import types as _types

def _install(module, accessors):
    def prop(name, doc, writable):
        getter = accessors["get_" + name]
        setter = accessors["set_" + name] if writable else None
        def fset(self, value):
            setter(value)
        def fset_readonly(self, value):
            raise AttributeError(
                name + " is read-only: it is computed once when the library is loaded and never follows EqualTol")
        return property(lambda self: getter(), fset if writable else fset_readonly, None, doc)

    class PlenarModule(_types.ModuleType):
        EqualTol = prop("EqualTol", accessors["doc_EqualTol"], True)
        EqualTolF = prop("EqualTolF", accessors["doc_EqualTolF"], True)
        EqualTolSq = prop("EqualTolSq", accessors["doc_EqualTolSq"], False)
        EqualTolSqF = prop("EqualTolSqF", accessors["doc_EqualTolSqF"], False)
        EqualTolLatLong = prop("EqualTolLatLong", accessors["doc_EqualTolLatLong"], True)

    PlenarModule.__name__ = "module"
    PlenarModule.__module__ = module.__name__
    module.__class__ = PlenarModule
)";

}  // namespace

PYBIND11_MODULE(plenar, m) {
    m.doc() =
        "libPlenar: geometric value types and algorithms for modelling, drawing and picking 3D geometry.\n\n"
        "Classes and members keep their C++ names. Output parameters are return values: a tuple, or None when\n"
        "the C++ call reports no result. The bulk calls (CTransformation.TransformPoints, TestBoxes, TestPoints,\n"
        "TestSegments, CRay3d.IntersectBoxes, CMeshWelder.InsertPoints, ApproximateWithPolylines) take NumPy\n"
        "arrays and run in C++ with the GIL released; element i of their answer is exactly what the scalar call\n"
        "gives for element i.\n\n"
        "Tolerances: EqualTol and EqualTolF are read by every test when it runs; assigning plenar.EqualTol\n"
        "changes the library's global at once. EqualTolSq and EqualTolSqF are computed once when the library\n"
        "loads and are read-only here, as in C++: changing EqualTol does not change EqualTolSq.";

    py::dict accessors;
    accessors["get_EqualTol"] = py::cpp_function([] { return g::EqualTol; });
    accessors["set_EqualTol"] = py::cpp_function([](double v) { g::EqualTol = v; });
    accessors["get_EqualTolF"] = py::cpp_function([] { return g::EqualTolF; });
    accessors["set_EqualTolF"] = py::cpp_function([](float v) { g::EqualTolF = v; });
    accessors["get_EqualTolSq"] = py::cpp_function([] { return g::EqualTolSq; });
    accessors["get_EqualTolSqF"] = py::cpp_function([] { return g::EqualTolSqF; });
    accessors["get_EqualTolLatLong"] = py::cpp_function([] { return g::EqualTolLatLong; });
    accessors["set_EqualTolLatLong"] = py::cpp_function([](double v) { g::EqualTolLatLong = v; });
    accessors["doc_EqualTol"] =
        "Length tolerance, 0.001 model units: positions closer than this are the same and a length below it is "
        "zero. Read by every test when it runs; assigning it changes the library's global at once.";
    accessors["doc_EqualTolF"] =
        "The same for the single-precision 2D drawing geometry, 0.001f (a float: assignments are narrowed).";
    accessors["doc_EqualTolSq"] =
        "EqualTol squared (1e-6), set once when the library loads; read-only, it does not follow EqualTol.";
    accessors["doc_EqualTolSqF"] =
        "EqualTolF squared in float, set once when the library loads; read-only, it does not follow EqualTolF.";
    accessors["doc_EqualTolLatLong"] = "2.28e-8, for callers comparing latitudes and longitudes; never read here.";

    m.attr("DivideByZeroTol") = g::DivideByZeroTol;
    m.attr("DivideByZeroTolSq") = g::DivideByZeroTolSq;
    m.attr("ParallelThreshold") = g::ParallelThreshold;
    m.attr("MinDirectionLength") = g::MinDirectionLength;
    m.attr("PlaneFitDeterminantThreshold") = g::PlaneFitDeterminantThreshold;
    m.attr("DegenerateSideThreshold") = g::DegenerateSideThreshold;

    // Library identity, read from the loaded libPlenar.so.
    m.attr("PlenarVersionString") = std::string(PlenarVersionString);
    m.attr("PlenarVersionNumber") = PlenarVersionNumber;
    m.attr("PLENAR_VERSION_MAJOR") = PLENAR_VERSION_MAJOR;
    m.attr("PLENAR_VERSION_MINOR") = PLENAR_VERSION_MINOR;
    m.attr("PLENAR_VERSION_PATCH") = PLENAR_VERSION_PATCH;
    m.attr("__version__") = std::to_string(PLENAR_VERSION_MAJOR) + "." + std::to_string(PLENAR_VERSION_MINOR) + "." +
                            std::to_string(PLENAR_VERSION_PATCH);

    plenar_python::RegisterVectors(m);
    plenar_python::RegisterTransforms(m);
    plenar_python::RegisterPrimitives(m);
    plenar_python::RegisterDrawing2d(m);
    plenar_python::RegisterFilters(m);
    plenar_python::RegisterClippers(m);
    plenar_python::RegisterBulk(m);

    // Last, once every class has taken its __module__ from the plain module.
    py::dict scope;
    py::exec(kToleranceProperties, scope);
    scope["_install"](m, accessors);
}
