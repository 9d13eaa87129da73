// Shared pieces of the Python bindings: the registration functions of each
// subsystem, number formatting for __repr__, and the conversions between NumPy
// arrays and the library's point arrays.
#ifndef PLENAR_PYTHON_BINDINGS_H
#define PLENAR_PYTHON_BINDINGS_H

#include <geometry/point2f.h>
#include <geometry/point3d.h>

#include <pybind11/numpy.h>
#include <pybind11/operators.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <string>
#include <type_traits>

namespace plenar_python {

namespace py = pybind11;

void RegisterVectors(py::module_& m);
void RegisterTransforms(py::module_& m);
void RegisterPrimitives(py::module_& m);
void RegisterDrawing2d(py::module_& m);
void RegisterFilters(py::module_& m);
void RegisterClippers(py::module_& m);
void RegisterBulk(py::module_& m);

/// A float64 array in C order; anything else (lists, other dtypes, strided views)
/// is converted on the way in.
using DoubleArray = py::array_t<double, py::array::c_style | py::array::forcecast>;
/// The same for float32, the precision of the 2D drawing types.
using FloatArray = py::array_t<float, py::array::c_style | py::array::forcecast>;

/// The shortest text that reads back as the same double (or float), as Python's
/// repr prints it.
template <typename T>
std::string Num(T value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::string s(buffer, result.ptr);
    if (s == "inf") return "inf";
    if (s == "-inf") return "-inf";
    if (s.find_first_of(".en") == std::string::npos) s += ".0";
    return s;
}

/// "Name(a, b, c)" from the formatted fields.
template <typename... T>
std::string Repr(const char* name, T... values) {
    std::string s(name);
    s += '(';
    bool first = true;
    ((s += (first ? "" : ", "), s += Num(values), first = false), ...);
    s += ')';
    return s;
}

/// Reads n numbers from a Python sequence or array (a tuple, a list, a NumPy
/// array of shape (n,)); raises TypeError or ValueError naming `what`.
template <typename T, std::size_t N>
void ReadSequence(const py::handle& h, T (&out)[N], const char* what) {
    if (!py::isinstance<py::sequence>(h) && !py::isinstance<py::array>(h))
        throw py::type_error(std::string(what) + ": expected a sequence of " + std::to_string(N) + " numbers, got " +
                             std::string(py::str(h.get_type().attr("__name__"))));
    py::array_t<double, py::array::c_style | py::array::forcecast> a;
    try {
        a = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(h);
    } catch (const py::error_already_set&) {
        a = py::array_t<double, py::array::c_style | py::array::forcecast>();
    }
    if (!a) throw py::type_error(std::string(what) + ": expected " + std::to_string(N) + " numbers");
    if (a.ndim() != 1 || static_cast<std::size_t>(a.shape(0)) != N)
        throw py::value_error(std::string(what) + ": expected " + std::to_string(N) + " numbers, got shape " +
                              std::string(py::str(py::getattr(a, "shape"))));
    for (std::size_t i = 0; i < N; ++i) out[i] = static_cast<T>(a.data()[i]);
}

/// Checks that `a` has the given trailing shape, any leading count n, and returns n.
/// `shape` names the expected shape in the error, e.g. "(n, 3)".
inline std::size_t CheckShape(const py::array& a, std::initializer_list<py::ssize_t> trailing, const char* argument,
                              const char* shape) {
    const auto ndim = static_cast<std::size_t>(a.ndim());
    bool ok = ndim == trailing.size() + 1;
    std::size_t k = 1;
    for (auto it = trailing.begin(); ok && it != trailing.end(); ++it, ++k)
        ok = a.shape(static_cast<py::ssize_t>(k)) == *it;
    if (!ok)
        throw py::value_error(std::string(argument) + ": expected an array of shape " + shape + ", got shape " +
                              std::string(py::str(py::getattr(a, "shape"))));
    return static_cast<std::size_t>(a.shape(0));
}

/// Converts an argument to a C-ordered float64 array, with a TypeError naming the
/// argument when it is not numeric at all.
inline DoubleArray AsDoubles(const py::handle& h, const char* argument, const char* shape) {
    if (py::isinstance<py::array>(h)) {
        const auto kind = py::reinterpret_borrow<py::array>(h).dtype().kind();
        if (kind != 'f' && kind != 'i' && kind != 'u' && kind != 'b')
            throw py::type_error(std::string(argument) + ": expected a numeric array of shape " + shape +
                                 " (float64), got dtype " +
                                 std::string(py::str(py::reinterpret_borrow<py::array>(h).dtype())));
    }
    DoubleArray a;
    try {
        a = DoubleArray::ensure(h);
    } catch (const py::error_already_set&) {
        a = DoubleArray();
    }
    if (!a) {
        PyErr_Clear();
        throw py::type_error(std::string(argument) + ": expected an array of shape " + shape +
                             " convertible to float64");
    }
    return a;
}

/// The same for float32 arrays.
inline FloatArray AsFloats(const py::handle& h, const char* argument, const char* shape) {
    if (py::isinstance<py::array>(h)) {
        const auto kind = py::reinterpret_borrow<py::array>(h).dtype().kind();
        if (kind != 'f' && kind != 'i' && kind != 'u' && kind != 'b')
            throw py::type_error(std::string(argument) + ": expected a numeric array of shape " + shape +
                                 " (float32), got dtype " +
                                 std::string(py::str(py::reinterpret_borrow<py::array>(h).dtype())));
    }
    FloatArray a;
    try {
        a = FloatArray::ensure(h);
    } catch (const py::error_already_set&) {
        a = FloatArray();
    }
    if (!a) {
        PyErr_Clear();
        throw py::type_error(std::string(argument) + ": expected an array of shape " + shape +
                             " convertible to float32");
    }
    return a;
}

/// The Python protocols of a small value type of N numbers (a point, a vector, a
/// quaternion): construction from a sequence or array, __repr__, iteration and
/// indexing, len, conversion to a NumPy array, copying and pickling. `get` returns
/// the numbers as a std::array; `make` builds the value from one (through the C++
/// constructor, so a unit vector normalises as in C++); `restore` stores them as
/// they are, for unpickling.
template <typename Class, typename S, std::size_t N, typename Get, typename Make, typename Restore>
void SequenceProtocol(Class& c, const char* name, Get get, Make make, Restore restore) {
    using T = typename Class::type;
    const std::string typeName(name);
    c.def(py::init([make, typeName](const py::handle& seq) {
              S v[N];
              ReadSequence(seq, v, typeName.c_str());
              std::array<S, N> a;
              for (std::size_t i = 0; i < N; ++i) a[i] = v[i];
              return make(a);
          }),
          py::arg("values"),
          ("From a sequence or array of " + std::to_string(N) + " numbers, through the C++ constructor.").c_str());
    c.def("__repr__", [get, typeName](const T& v) {
        const std::array<S, N> a = get(v);
        std::string s = typeName + "(";
        for (std::size_t i = 0; i < N; ++i) s += (i ? ", " : "") + Num(a[i]);
        return s + ")";
    });
    c.def("__len__", [](const T&) { return N; });
    c.def("__getitem__", [get](const T& v, py::ssize_t i) {
        const auto n = static_cast<py::ssize_t>(N);
        if (i < 0) i += n;
        if (i < 0 || i >= n) throw py::index_error("index out of range");
        return get(v)[static_cast<std::size_t>(i)];
    });
    c.def("__iter__", [get](const T& v) {
        const std::array<S, N> a = get(v);
        py::tuple t(N);
        for (std::size_t i = 0; i < N; ++i) t[i] = py::float_(static_cast<double>(a[i]));
        return py::iter(t);
    });
    c.def(
        "__array__",
        [get](const T& v, const py::object& dtype) {
            const std::array<S, N> a = get(v);
            py::array_t<S> out(static_cast<py::ssize_t>(N));
            for (std::size_t i = 0; i < N; ++i) out.mutable_data()[i] = a[i];
            if (dtype.is_none()) return py::object(out);
            return py::object(out.attr("astype")(dtype));
        },
        py::arg("dtype") = py::none());
    c.def("__copy__", [](const T& v) { return T(v); });
    c.def(
        "__deepcopy__", [](const T& v, const py::dict&) { return T(v); }, py::arg("memo"));
    c.def(py::pickle(
        [get](const T& v) {
            const std::array<S, N> a = get(v);
            py::tuple t(N);
            for (std::size_t i = 0; i < N; ++i) t[i] = a[i];
            return t;
        },
        [restore](const py::tuple& t) {
            if (t.size() != N) throw py::value_error("pickled state: expected " + std::to_string(N) + " numbers");
            // Restored field by field, so that a unit vector keeps its stored bits.
            std::array<S, N> a;
            for (std::size_t i = 0; i < N; ++i) a[i] = t[i].cast<S>();
            return restore(a);
        }));
}

/// A new uninitialised array of the given shape.
template <typename T>
py::array_t<T> NewArray(std::initializer_list<py::ssize_t> shape) {
    return py::array_t<T>(std::vector<py::ssize_t>(shape));
}

// The bulk calls read NumPy rows of three doubles as the library's point types.
static_assert(sizeof(velmor::geometry::CPoint3d) == 3 * sizeof(double), "CPoint3d is three packed doubles");
static_assert(std::is_standard_layout_v<velmor::geometry::CPoint3d>, "CPoint3d is standard layout");
static_assert(sizeof(velmor::geometry::CPoint2f) == 2 * sizeof(float), "CPoint2f is two packed floats");

}  // namespace plenar_python

#endif
