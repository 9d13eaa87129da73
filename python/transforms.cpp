// CTransformation, Quaternion, CMatrix3x3 and CMatrix4x4, with NumPy views of
// their numbers.
#include "bindings.h"

#include <geometry/boundingbox.h>
#include <geometry/matrix3x3.h>
#include <geometry/plane.h>
#include <geometry/quaternion.h>
#include <geometry/ray3d.h>
#include <geometry/transformation.h>

namespace plenar_python {

using namespace velmor::geometry;

namespace {

template <std::size_t N>
py::array_t<double> ToArray(const double* values, std::initializer_list<py::ssize_t> shape) {
    auto out = NewArray<double>(shape);
    for (std::size_t i = 0; i < N; ++i) out.mutable_data()[i] = values[i];
    return out;
}

template <std::size_t N>
void FromArray(const py::handle& h, double* values, const char* argument, const char* shape) {
    const DoubleArray a = AsDoubles(h, argument, shape);
    if (static_cast<std::size_t>(a.size()) != N)
        throw py::value_error(std::string(argument) + ": expected " + std::to_string(N) + " numbers " + shape +
                              ", got shape " + std::string(py::str(py::getattr(a, "shape"))));
    for (std::size_t i = 0; i < N; ++i) values[i] = a.data()[i];
}

std::string TransformationRepr(const CTransformation& t) {
    std::string s = "CTransformation(matrix=[";
    for (int i = 0; i < 9; ++i) s += (i ? ", " : "") + Num(t.matrix[i]);
    s += "], translation=[" + Num(t.translation[0]) + ", " + Num(t.translation[1]) + ", " + Num(t.translation[2]);
    s += "], scale=" + Num(t.scale) + ", isIdentity=" + (t.isIdentity ? "True" : "False") +
         ", isOrthogonal=" + (t.isOrthogonal ? "True" : "False") + ")";
    return s;
}

}  // namespace

void RegisterTransforms(py::module_& m) {
    py::class_<CTransformation>(
        m, "CTransformation",
        "The 3D placement: a row-major 3x3 linear part `matrix` (columns are the images of the axes), a "
        "`translation` and a uniform `scale`; a point p maps to (matrix * p + translation) * scale, and in a * b "
        "the transformation b is applied first. The flags isIdentity and isOrthogonal are hints that constructors "
        "and setters write and the operations trust; they are not recomputed when numbers are changed by hand "
        "(SetTransformation and ResynchOrthogonal re-derive them). Equality and the identity/orthogonality tests "
        "are strict against EqualTol; singularity uses the fixed threshold 1e-15. The 4x4 exchange form "
        "(GetMatrix/SetMatrix) is column-major with the translation in elements 12..14 and element 15 = 1/scale.")
        .def(py::init<>(), "The identity; flagged identity and orthogonal.")
        .def(py::init<const CTransformation&>(), py::arg("t"), "A copy, flags included.")
        .def(py::init<const CUnitVector3d&, const CUnitVector3d&, const CUnitVector3d&, const CPoint3d&>(),
             py::arg("xAxis"), py::arg("yAxis"), py::arg("zAxis"), py::arg("origin"),
             "The frame with the given axes as columns and origin as translation, scale 1; axes taken as given; "
             "flagged orthogonal.")
        .def(py::init<const CPoint3d&, const CUnitVector3d&>(), py::arg("origin"), py::arg("zAxis"),
             "The frame at origin whose Z axis is zAxis, X and Y by GetArbitraryAxes; flagged orthogonal.")
        .def(py::init([](const py::handle& m16) {
                 double values[16];
                 FromArray<16>(m16, values, "m16", "(16,) or (4, 4) column-major");
                 return CTransformation(values);
             }),
             py::arg("m16"),
             "From a column-major 4x4 matrix (16 numbers, or a (4, 4) array in storage order), as SetMatrix; "
             "flagged neither identity nor orthogonal.")
        .def_property(
            "matrix",
            [](const CTransformation& t) {
                return ToArray<9>(t.matrix, {3, 3});
            },
            [](CTransformation& t, const py::handle& h) { FromArray<9>(h, t.matrix, "matrix", "(3, 3)"); },
            "The 3x3 linear part as a (3, 3) array (a copy; assign a whole array to change it). Row-major: element "
            "(i, j) is matrix[i, j]; the columns are the images of the X, Y and Z axes. The flags are not updated.")
        .def_property(
            "translation", [](const CTransformation& t) { return ToArray<3>(t.translation, {3}); },
            [](CTransformation& t, const py::handle& h) { FromArray<3>(h, t.translation, "translation", "(3,)"); },
            "Added after the 3x3 part and before the scale, as a (3,) array (a copy).")
        .def_readwrite("scale", &CTransformation::scale, "Uniform scale applied last.")
        .def_readwrite("isIdentity", &CTransformation::isIdentity,
                       "Hint: every application is skipped. Trusted, not recomputed.")
        .def_readwrite("isOrthogonal", &CTransformation::isOrthogonal,
                       "Hint: the 3x3 part is a rotation, inverted by transposition. Trusted, not recomputed.")
        .def("Identity", &CTransformation::Identity, "Resets to the identity with both flags set.")
        .def(
            "SetMatrix",
            [](CTransformation& t, const py::handle& h) {
                double values[16];
                FromArray<16>(h, values, "m16", "(16,) column-major");
                t.SetMatrix(values);
            },
            py::arg("m16"),
            "Reads the column-major 4x4 form: elements 3, 7, 11 ignored, scale = 1 / m16[15] unguarded; flagged "
            "neither identity nor orthogonal.")
        .def(
            "GetMatrix",
            [](const CTransformation& t) {
                double values[16];
                t.GetMatrix(values);
                return ToArray<16>(values, {16});
            },
            "The column-major 4x4 form as a (16,) array; element 15 is 1 / scale, unguarded.")
        .def(
            "SetTransformation",
            [](CTransformation& t, const py::handle& m9, const py::handle& t3, double s) {
                double a[9], b[3];
                FromArray<9>(m9, a, "m9", "(3, 3) row-major");
                FromArray<3>(t3, b, "t3", "(3,)");
                return t.SetTransformation(a, b, s);
            },
            py::arg("m9"), py::arg("t3"), py::arg("s"),
            "Stores a row-major 3x3 part, a translation and a scale, then re-derives the flags: snaps to the exact "
            "identity when IsReallyIdentity(), and returns ResynchOrthogonal().")
        .def("Translation", py::overload_cast<const CVector3d&>(&CTransformation::Translation), py::arg("v"),
             "Sets a pure translation by v; flagged orthogonal, not identity.")
        .def("Rotation", &CTransformation::Rotation, py::arg("p"), py::arg("axis"), py::arg("angle"),
             "Sets the rotation by angle radians (right-hand rule) about the line through p along axis.")
        .def("Scaling", py::overload_cast<double>(&CTransformation::Scaling), py::arg("s"),
             "Sets a uniform scale about the origin (in `scale`); the reset is skipped when flagged identity.")
        .def("Scaling", py::overload_cast<double, double, double>(&CTransformation::Scaling), py::arg("sx"),
             py::arg("sy"), py::arg("sz"), "Sets a non-uniform scale on the diagonal of the 3x3 part; flagged neither.")
        .def("ClearRotation", &CTransformation::ClearRotation, "3x3 part to the identity; the rest untouched.")
        .def("ClearTranslation", &CTransformation::ClearTranslation, "Translation to zero.")
        .def("ClearScaling", &CTransformation::ClearScaling, "Scale to 1.")
        .def_static("Translate", py::overload_cast<const CVector3d&>(&CTransformation::Translate), py::arg("v"),
                    "A pure translation by v.")
        .def_static("Rotate", &CTransformation::Rotate, py::arg("p"), py::arg("axis"), py::arg("angle"),
                    "The rotation by angle radians about the line through p along axis (assumed unit length).")
        .def_static("Scale", py::overload_cast<double>(&CTransformation::Scale), py::arg("s"),
                    "Uniform scale about the origin.")
        .def_static("Scale", py::overload_cast<double, double, double>(&CTransformation::Scale), py::arg("sx"),
                    py::arg("sy"), py::arg("sz"), "Non-uniform scale about the origin.")
        .def_static("Scale", py::overload_cast<const CPoint3d&, double>(&CTransformation::Scale), py::arg("p"),
                    py::arg("s"), "Uniform scale about p.")
        .def_static("Scale", py::overload_cast<const CPoint3d&, double, double, double>(&CTransformation::Scale),
                    py::arg("p"), py::arg("sx"), py::arg("sy"), py::arg("sz"), "Non-uniform scale about p.")
        .def_static("Inverse", &CTransformation::Inverse, py::arg("a"),
                    "A copy of a inverted with Invert() (unchanged if singular).")
        .def_static("Interpolate", &CTransformation::Interpolate, py::arg("a"), py::arg("b"), py::arg("t"),
                    "Between a (t = 0) and b (t = 1): within EqualTol of either end (strict) a copy of that end; "
                    "otherwise b's scale and flags, translation blended linearly, rotation by quaternion slerp.")
        .def(
            "__mul__", [](const CTransformation& a, const CTransformation& b) { return a * b; }, py::is_operator(),
            "a * b applies b first, then a. Only a's identity flag short-cuts.")
        .def(
            "__mul__", [](const CTransformation& t, const CPoint3d& p) { return t * p; }, py::is_operator(),
            "A transformed copy of the point.")
        .def(
            "__mul__", [](const CTransformation& t, const CVector3d& v) { return t * v; }, py::is_operator(),
            "A transformed copy of the vector (no translation).")
        .def(
            "__mul__", [](const CTransformation& t, const CPlane& p) { return t * p; }, py::is_operator(),
            "A transformed copy of the plane (carried through the inverse, renormalised).")
        .def(
            "__mul__", [](const CTransformation& t, const CRay3d& r) { return t * r; }, py::is_operator(),
            "A transformed copy of the ray.")
        .def(
            "__mul__", [](const CTransformation& t, const CBoundingBox3d& b) { return t * b; }, py::is_operator(),
            "The axis-aligned box of the transformed box.")
        .def("Invert", &CTransformation::Invert,
             "Inverts in place; a silent no-op when flagged identity, |scale| < 1e-15 or the 3x3 part is singular.")
        .def("Invert3x3", &CTransformation::Invert3x3,
             "Inverts the 3x3 part only; False, unchanged, when |determinant| < 1e-15.")
        .def(py::self == py::self, "All thirteen numbers within EqualTol, strict; flags not compared.")
        .def(py::self != py::self)
        .def(
            "Transform", [](const CTransformation& t, CPoint3d& p) { t.Transform(p); }, py::arg("p"),
            "Transforms the point in place: p <- (matrix * p + translation) * scale; nothing when flagged identity.")
        .def(
            "Transform", [](const CTransformation& t, CVector3d& v) { t.Transform(v); }, py::arg("v"),
            "Transforms the vector in place (no translation).")
        .def(
            "Transform", [](const CTransformation& t, CUnitVector3d& u) { t.Transform(u); }, py::arg("u"),
            "Transforms the direction in place and renormalises it (a collapsed direction becomes zero).")
        .def(
            "Transform", [](const CTransformation& t, CPlane& p) { t.Transform(p); }, py::arg("plane"),
            "Carries the plane along in place: its equation goes through the inverse, then it is renormalised.")
        .def(
            "Transform", [](const CTransformation& t, CRay3d& r) { return t.Transform(r); }, py::arg("ray"),
            "Transforms the ray in place; returns the stretch of its direction (1.0 when flagged identity).")
        .def(
            "Transform", [](const CTransformation& t, CBoundingBox3d& b) { t.Transform(b); }, py::arg("box"),
            "Replaces the box by the axis-aligned box of its transformed volume; an empty box stays.")
        .def("X", &CTransformation::X, "Column 0 of the 3x3 part, normalised.")
        .def("Y", &CTransformation::Y, "Column 1 of the 3x3 part, normalised.")
        .def("Z", &CTransformation::Z, "Column 2 of the 3x3 part, normalised.")
        .def("T", &CTransformation::T, "The image of the origin, translation * scale; (0, 0, 0) when identity.")
        .def("XScale", &CTransformation::XScale, "Length of the transformed unit X vector, scale included.")
        .def("YScale", &CTransformation::YScale, "Length of the transformed unit Y vector.")
        .def("ZScale", &CTransformation::ZScale, "Length of the transformed unit Z vector.")
        .def("XYZScale", &CTransformation::XYZScale, "(XScale(), YScale(), ZScale()).")
        .def("ZRotation", &CTransformation::ZRotation, "Counter-clockwise angle about the own Z axis.")
        .def("GetDeterminant", &CTransformation::GetDeterminant, "Determinant of the 3x3 part (scale excluded).")
        .def("IsSingular", &CTransformation::IsSingular, "False when flagged orthogonal; else |det| < 1e-15.")
        .def("IsInvertible", &CTransformation::IsInvertible,
             "True when flagged identity; False when |scale| < 1e-15; True when flagged orthogonal; else |det| >= "
             "1e-15 (inclusive).")
        .def("IsRotationReallyIdentity", &CTransformation::IsRotationReallyIdentity,
             "Every 3x3 element strictly within EqualTol of the identity's.")
        .def("IsReallyIdentity", &CTransformation::IsReallyIdentity,
             "The identity by value, strict against EqualTol, whatever the flags say.")
        .def("IsOrthogonal", &CTransformation::IsOrthogonal,
             "Flagged identity, or rows of squared length within EqualTol of 1 and pairwise dots below EqualTol "
             "(strict).")
        .def("IsOrthonormal", &CTransformation::IsOrthonormal, "Normalised columns pairwise perpendicular (strict).")
        .def("IsMirrored", &CTransformation::IsMirrored, "(X x Y) . Z < 0 for the normalised columns (strict).")
        .def("IsValidObj", &CTransformation::IsValidObj, "No stored number is NaN or infinite.")
        .def("FixOrthogonal", &CTransformation::FixOrthogonal,
             "Straightens the 3x3 part into an orthonormal one keeping Z and the handedness.")
        .def("ResynchOrthogonal", &CTransformation::ResynchOrthogonal,
             "Re-derives isOrthogonal from the numbers, straightens the 3x3 part when set, returns it.")
        .def("__repr__", &TransformationRepr)
        .def("__copy__", [](const CTransformation& t) { return t; })
        .def(
            "__deepcopy__", [](const CTransformation& t, const py::dict&) { return t; }, py::arg("memo"))
        .def(py::pickle(
            [](const CTransformation& t) {
                return py::make_tuple(ToArray<9>(t.matrix, {9}), ToArray<3>(t.translation, {3}), t.scale, t.isIdentity,
                                      t.isOrthogonal);
            },
            [](const py::tuple& s) {
                if (s.size() != 5) throw py::value_error("pickled CTransformation: expected 5 fields");
                CTransformation t;
                FromArray<9>(s[0], t.matrix, "matrix", "(9,)");
                FromArray<3>(s[1], t.translation, "translation", "(3,)");
                t.scale = s[2].cast<double>();
                t.isIdentity = s[3].cast<bool>();
                t.isOrthogonal = s[4].cast<bool>();
                return t;
            }));

    py::class_<Quaternion> q(m, "Quaternion",
                             "A rotation as a quaternion (x, y, z, w): vector part, then scalar part; the identity "
                             "by default. == is exact (q and -q compare unequal).");
    q.def(py::init<>(), "The identity rotation (0, 0, 0, 1).")
        .def(py::init<const Quaternion&>(), py::arg("q"))
        .def(py::init<double, double, double, double>(), py::arg("x"), py::arg("y"), py::arg("z"), py::arg("w"),
             "The four components as given, not normalised.")
        .def(py::init<double, const CUnitVector3d&>(), py::arg("angle"), py::arg("axis"),
             "Rotation by angle radians about axis, then normalised (unguarded).")
        .def_static(
            "FromMatrix",
            [](const py::handle& h) {
                double values[9];
                FromArray<9>(h, values, "matrix", "(3, 3) row-major rotation");
                return Quaternion(values);
            },
            py::arg("matrix"),
            "C++ Quaternion(const double* matrix): from a row-major 3x3 rotation, then normalised (trace "
            "threshold 1e-9).");
    SequenceProtocol<decltype(q), double, 4>(
        q, "Quaternion",
        [](const Quaternion& v) {
            return std::array<double, 4>{v.x, v.y, v.z, v.w};
        },
        [](const std::array<double, 4>& a) { return Quaternion(a[0], a[1], a[2], a[3]); },
        [](const std::array<double, 4>& a) { return Quaternion(a[0], a[1], a[2], a[3]); });
    q.def_readwrite("x", &Quaternion::x)
        .def_readwrite("y", &Quaternion::y)
        .def_readwrite("z", &Quaternion::z)
        .def_readwrite("w", &Quaternion::w)
        .def(
            "Set",
            [](const Quaternion& v) {
                double values[9];
                v.Set(values);
                return ToArray<9>(values, {3, 3});
            },
            "The row-major rotation matrix of this quaternion as a (3, 3) array, not normalised first.")
        .def_static("Slerp", &Quaternion::Slerp, py::arg("a"), py::arg("b"), py::arg("t"),
                    "Spherical interpolation along the shorter arc (a negated when a.b < 0); nearly equal rotations "
                    "blend linearly (threshold 1e-6); not renormalised.")
        .def(
            "GetAxisAndAngle",
            [](const Quaternion& v) {
                CVector3d axis;
                double angle = 0.0;
                v.GetAxisAndAngle(axis, angle);
                return py::make_tuple(axis, angle);
            },
            "(axis, angle) with angle = 2*acos(w); unguarded: the identity gives a non-finite axis.")
        .def(py::self == py::self, "Exact component-wise comparison.")
        .def(py::self != py::self);

    py::class_<CMatrix3x3>(m, "CMatrix3x3",
                           "A 2D homogeneous 3x3 matrix acting on row vectors (x, y, w): p * M; row-major m[9]. "
                           "Tolerance tests use EqualTolSq, strict.")
        .def(py::init<>(), "The identity.")
        .def(py::init([](const py::handle& h) {
                 CMatrix3x3 a;
                 FromArray<9>(h, a.m, "m", "(3, 3) row-major");
                 return a;
             }),
             py::arg("m"), "From nine numbers, row by row.")
        .def_property(
            "m",
            [](const CMatrix3x3& a) {
                return ToArray<9>(a.m, {3, 3});
            },
            [](CMatrix3x3& a, const py::handle& h) { FromArray<9>(h, a.m, "m", "(3, 3)"); },
            "The nine numbers as a (3, 3) array (a copy).")
        .def("Identity", &CMatrix3x3::Identity)
        .def_static("Rotation", &CMatrix3x3::Rotation, py::arg("angle"))
        .def_static("Scaling", &CMatrix3x3::Scaling, py::arg("sx"), py::arg("sy"))
        .def_static("Translation", &CMatrix3x3::Translation, py::arg("tx"), py::arg("ty"))
        .def_static("Shearing", &CMatrix3x3::Shearing, py::arg("shx"), py::arg("shy"))
        .def("IsAffine", &CMatrix3x3::IsAffine, "m[2] ~ 0 and m[5] ~ 0 and m[8] not ~ 0 (|v| < EqualTolSq).")
        .def("IsProjective", &CMatrix3x3::IsProjective)
        .def("Normalize", &CMatrix3x3::Normalize,
             "Scales so that m[8] = 1; False, unchanged, when |m[8]| < EqualTolSq.")
        .def("IsIdentity", &CMatrix3x3::IsIdentity,
             "Diagonal within EqualTolSq of 1 (inclusive), off-diagonal below EqualTolSq (strict).")
        .def("Equals", &CMatrix3x3::Equals, py::arg("other"), py::arg("tol"), "All nine |a - b| <= tol (inclusive).")
        .def_static("Inverse", &CMatrix3x3::Inverse, py::arg("a"),
                    "The adjoint over its scalar, then the affine normalisation; never fails.")
        .def("Invert", &CMatrix3x3::Invert)
        .def(py::self * py::self)
        .def(
            "Transform",
            [](const CMatrix3x3& a, const py::handle& h) {
                double p[3];
                FromArray<3>(h, p, "p", "(3,) = (x, y, w)");
                a.Transform(p);
                return ToArray<3>(p, {3});
            },
            py::arg("p"), "p * M for p = (x, y, w); no division by w.")
        .def("IsValidObj", &CMatrix3x3::IsValidObj)
        .def("__repr__",
             [](const CMatrix3x3& a) {
                 std::string s = "CMatrix3x3([";
                 for (int i = 0; i < 9; ++i) s += (i ? ", " : "") + Num(a.m[i]);
                 return s + "])";
             })
        .def("__copy__", [](const CMatrix3x3& a) { return a; })
        .def("__array__", [](const CMatrix3x3& a) {
            return ToArray<9>(a.m, {3, 3});
        });

    py::class_<CMatrix4x4>(m, "CMatrix4x4",
                           "A general 4x4 matrix, column-major (element (r, c) at m[4c + r]), acting on column "
                           "vectors. Inversion pivots partially; only an exactly zero pivot is singular.")
        .def(py::init<>(), "The identity.")
        .def(py::init<const CMatrix3x3&>(), py::arg("a"), "The column-vector equivalent of a row-vector 3x3.")
        .def(py::init([](const py::handle& h) {
                 double values[16];
                 FromArray<16>(h, values, "values", "(16,) column-major");
                 return CMatrix4x4(values);
             }),
             py::arg("values"), "16 values in storage (column-major) order.")
        .def_property(
            "m", [](const CMatrix4x4& a) { return ToArray<16>(a.m, {16}); },
            [](CMatrix4x4& a, const py::handle& h) { FromArray<16>(h, a.m, "m", "(16,)"); },
            "The 16 numbers in storage (column-major) order (a copy).")
        .def("Identity", &CMatrix4x4::Identity)
        .def(py::self * py::self)
        .def(
            "Transform",
            [](const CMatrix4x4& a, const py::handle& h) {
                double v[4];
                FromArray<4>(h, v, "v", "(4,)");
                a.Transform(v);
                return ToArray<4>(v, {4});
            },
            py::arg("v"), "M * v for v = (x, y, z, w).")
        .def(
            "GetInverse",
            [](const CMatrix4x4& a) -> py::object {
                CMatrix4x4 out;
                if (!a.GetInverse(out)) return py::none();
                return py::cast(out);
            },
            "The inverse, or None when a pivot is exactly zero.")
        .def("__repr__",
             [](const CMatrix4x4& a) {
                 std::string s = "CMatrix4x4([";
                 for (int i = 0; i < 16; ++i) s += (i ? ", " : "") + Num(a.m[i]);
                 return s + "])";
             })
        .def("__copy__", [](const CMatrix4x4& a) { return a; });
}

}  // namespace plenar_python
