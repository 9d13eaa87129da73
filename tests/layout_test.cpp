// Object layouts are part of the binary interface: clients compiled against one
// release read the fields of objects made by another. These tests pin the size,
// alignment and field offsets of every documented type on x86-64 (LP64), so that a
// hidden member, a reordered field or a new virtual function shows up here first.
// Polymorphic types start with one pointer to their virtual table, then their fields.
#include <geometry/affinetransform.h>
#include <geometry/arc3d.h>
#include <geometry/bezier3d.h>
#include <geometry/boundingbox.h>
#include <geometry/circle3d.h>
#include <geometry/cubicbezier2f.h>
#include <geometry/ellipse2f.h>
#include <geometry/geomfilter.h>
#include <geometry/intersection2f.h>
#include <geometry/line3d.h>
#include <geometry/lineclipper.h>
#include <geometry/matrix3x3.h>
#include <geometry/plane.h>
#include <geometry/point2d.h>
#include <geometry/point2f.h>
#include <geometry/point3d.h>
#include <geometry/point4d.h>
#include <geometry/polygon2d.h>
#include <geometry/polygonmesh.h>
#include <geometry/quaternion.h>
#include <geometry/rangef.h>
#include <geometry/ray3d.h>
#include <geometry/rect2f.h>
#include <geometry/size2f.h>
#include <geometry/sphere3d.h>
#include <geometry/transformation.h>
#include <geometry/triangleclipper.h>
#include <geometry/unitvector3d.h>
#include <geometry/vector3d.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

using namespace velmor::geometry;

namespace {

static_assert(sizeof(void*) == 8 && sizeof(long) == 8 && sizeof(int) == 4, "the pinned layouts are those of LP64");

// Byte offset of a (possibly inherited) field within a live object; unlike offsetof
// it also works for types with a base class or a virtual table.
template <class Object, class Owner, class Field>
std::ptrdiff_t OffsetIn(const Object& object, Field Owner::*field) {
    const Owner& owner = object;
    return reinterpret_cast<const char*>(&(owner.*field)) - reinterpret_cast<const char*>(&object);
}

// A value type: no virtual table, copied as plain bytes (a memcpy reads it), with
// the given size and alignment; one that C code reads is also a standard layout.
template <class T>
::testing::AssertionResult IsPlainValue(std::size_t size, std::size_t align, bool readByC = false) {
    if (std::is_polymorphic_v<T>) return ::testing::AssertionFailure() << "has a virtual table";
    if (!std::is_trivially_copyable_v<T>) return ::testing::AssertionFailure() << "not trivially copyable";
    if (readByC && !std::is_standard_layout_v<T>) return ::testing::AssertionFailure() << "not a standard layout";
    if (sizeof(T) != size || alignof(T) != align)
        return ::testing::AssertionFailure() << "size " << sizeof(T) << ", alignment " << alignof(T);
    return ::testing::AssertionSuccess();
}

// A polymorphic type: a virtual destructor, the given size, alignment 8.
template <class T>
::testing::AssertionResult IsPolymorphicOf(std::size_t size) {
    if (!std::has_virtual_destructor_v<T>) return ::testing::AssertionFailure() << "no virtual destructor";
    if (sizeof(T) != size || alignof(T) != 8)
        return ::testing::AssertionFailure() << "size " << sizeof(T) << ", alignment " << alignof(T);
    return ::testing::AssertionSuccess();
}

// One pinned fact of a layout, named for the failure message.
struct Fact {
    const char* name;
    ::testing::AssertionResult holds;
};

// Checks every fact of a table, each under its own name.
void ExpectFacts(std::initializer_list<Fact> facts) {
    for (const Fact& fact : facts) EXPECT_TRUE(fact.holds) << fact.name;
}

// A byte count (an offset or a size) equal to the pinned one.
::testing::AssertionResult Bytes(std::ptrdiff_t actual, std::ptrdiff_t pinned) {
    if (actual == pinned) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << actual << " bytes, not " << pinned;
}

}  // namespace

// Table rows: a type's kind, size and alignment; a field's byte offset (through an
// object for types offsetof does not serve); the size of an expression's type.
#define PLAIN(T, size, align) (Fact{#T, IsPlainValue<T>(size, align)})
#define C_VALUE(T, size, align) (Fact{#T, IsPlainValue<T>(size, align, true)})
#define POLYMORPHIC(T, size) (Fact{#T, IsPolymorphicOf<T>(size)})
#define FIELD(T, field, at) (Fact{#T "::" #field, Bytes(offsetof(T, field), at)})
#define FIELD_IN(object, T, field, at) (Fact{#T "::" #field, Bytes(OffsetIn(object, &T::field), at)})
#define SIZE_OF(expression, size) (Fact{"sizeof " #expression, Bytes(sizeof(expression), size)})

TEST(Layout, ThreeDimensionalValues) {
    const CLine3d line;
    ExpectFacts({C_VALUE(CPoint3d, 24, 8), FIELD(CPoint3d, z, 16)});
    ExpectFacts({C_VALUE(CVector3d, 24, 8), FIELD(CVector3d, z, 16)});
    ExpectFacts({C_VALUE(CUnitVector3d, 24, 8), FIELD(CUnitVector3d, y, 8)});
    ExpectFacts({C_VALUE(CPoint4d, 32, 8), FIELD(CPoint4d, w, 24)});
    ExpectFacts({PLAIN(CVector4d, 32, 8), FIELD(CVector4d, w, 24)});
    // The quaternion's vector part first, the scalar last.
    ExpectFacts({C_VALUE(Quaternion, 32, 8), FIELD(Quaternion, x, 0), FIELD(Quaternion, w, 24)});
    ExpectFacts({PLAIN(CSphere3d, 32, 8), FIELD(CSphere3d, radius, 24)});
    ExpectFacts({C_VALUE(CTransformation, 112, 8), SIZE_OF(CTransformation::matrix, 72),
                 FIELD(CTransformation, translation, 72), FIELD(CTransformation, scale, 96),
                 FIELD(CTransformation, isIdentity, 104), FIELD(CTransformation, isOrthogonal, 105)});
    ExpectFacts({PLAIN(CMatrix3x3, 72, 8), PLAIN(CMatrix4x4, 128, 8)});
    ExpectFacts({C_VALUE(CPlane, 32, 8), FIELD(CPlane, c, 16), FIELD(CPlane, d, 24)});
    ExpectFacts({PLAIN(CPlaneCalculator, 104, 8), FIELD(CPlaneCalculator, second, 24),
                 FIELD(CPlaneCalculator, firstDirection, 48), FIELD(CPlaneCalculator, secondDirection, 72),
                 FIELD(CPlaneCalculator, count, 96)});
    // A line extends the ray: the ray's six doubles, then its two parameters.
    ExpectFacts({PLAIN(CRay3d, 48, 8), FIELD(CRay3d, direction, 24)});
    ExpectFacts(
        {PLAIN(CLine3d, 64, 8), FIELD_IN(line, CLine3d, startParam, 48), FIELD_IN(line, CLine3d, endParam, 56)});
    ExpectFacts({PLAIN(CRange, 16, 8), FIELD(CRange, max, 8)});
    ExpectFacts({PLAIN(CBoundingBox2d, 32, 8), FIELD(CBoundingBox2d, y, 16)});
    ExpectFacts({C_VALUE(CBoundingBox3d, 48, 8), FIELD(CBoundingBox3d, y, 16), FIELD(CBoundingBox3d, z, 32)});
    ExpectFacts({PLAIN(CBezier3d, 96, 8), FIELD(CBezier3d, p3, 72)});
    ExpectFacts({PLAIN(LineClipper, 24, 8), FIELD(LineClipper, tMin, 8), FIELD(LineClipper, tMax, 16)});
}

TEST(Layout, TwoDimensionalValues) {
    ExpectFacts({PLAIN(CPoint2f, 8, 4), FIELD(CPoint2f, y, 4), PLAIN(CVector2f, 8, 4)});
    ExpectFacts({PLAIN(CPoint2d, 16, 8), FIELD(CPoint2d, y, 8), PLAIN(CVector2d, 16, 8)});
    ExpectFacts({C_VALUE(CRect2f, 16, 4), FIELD(CRect2f, y, 4), FIELD(CRect2f, width, 8), FIELD(CRect2f, height, 12)});
    ExpectFacts({PLAIN(CSize2f, 8, 4), FIELD(CSize2f, height, 4)});
    ExpectFacts({PLAIN(Rangef, 8, 4), FIELD(Rangef, end, 4)});
    ExpectFacts({C_VALUE(AffineTransform, 24, 4), FIELD(AffineTransform, b, 4), FIELD(AffineTransform, c, 8),
                 FIELD(AffineTransform, d, 12), FIELD(AffineTransform, tx, 16), FIELD(AffineTransform, ty, 20)});
    ExpectFacts({PLAIN(CCubicBezier2f, 32, 4), FIELD(CCubicBezier2f, p1, 8), FIELD(CCubicBezier2f, p3, 24)});
    ExpectFacts(
        {PLAIN(IntersectionPoint2f, 16, 4), FIELD(IntersectionPoint2f, t1, 8), FIELD(IntersectionPoint2f, t2, 12)});
    // One growable array and nothing else.
    ExpectFacts({SIZE_OF(CurveIntersections2f, sizeof(std::vector<IntersectionPoint2f>))});
    ExpectFacts({C_VALUE(CEllipse2f, 40, 4), FIELD(CEllipse2f, radiusX, 8), FIELD(CEllipse2f, radiusY, 12),
                 FIELD(CEllipse2f, transform, 16)});
}

TEST(Layout, CirclesMeshesAndPolygonsAfterOneVirtualTablePointer) {
    const CArc3d arc;
    const CPolygonMesh mesh(7);
    const CPolygon2d polygon;
    ExpectFacts({POLYMORPHIC(CCircle3d, 120), FIELD_IN(arc, CArc3d, center, 8), FIELD_IN(arc, CArc3d, xAxis, 32),
                 FIELD_IN(arc, CArc3d, plane, 56), FIELD_IN(arc, CArc3d, radius, 88),
                 FIELD_IN(arc, CArc3d, yAxis, 96)});
    ExpectFacts(
        {POLYMORPHIC(CArc3d, 136), FIELD_IN(arc, CArc3d, startAngle, 120), FIELD_IN(arc, CArc3d, endAngle, 128)});
    ExpectFacts({POLYMORPHIC(CPolygonMesh, 160), FIELD_IN(mesh, CPolygonMesh, points, 8),
                 FIELD_IN(mesh, CPolygonMesh, flags, 32), FIELD_IN(mesh, CPolygonMesh, uvFront, 40),
                 FIELD_IN(mesh, CPolygonMesh, uvBack, 64), FIELD_IN(mesh, CPolygonMesh, normals, 88),
                 FIELD_IN(mesh, CPolygonMesh, polygonStarts, 112), FIELD_IN(mesh, CPolygonMesh, polygonIndices, 136)});
    ExpectFacts({POLYMORPHIC(CPolygon2d, 72), FIELD_IN(polygon, CPolygon2d, points, 8),
                 FIELD_IN(polygon, CPolygon2d, bounds, 32), FIELD_IN(polygon, CPolygon2d, tag, 64),
                 SIZE_OF(CPolygon2d::tag, 8)});
    // The drawing sink is an interface: the table pointer and nothing else.
    ExpectFacts({POLYMORPHIC(IBezier3dDraw, 8)});
}

TEST(Layout, SelectionFiltersAfterOneVirtualTablePointer) {
    const CGeomFilterCrossingVolume volume;
    const CGeomFilterAbovePlane above;
    const CGeomFilterCombined combined;
    ExpectFacts({POLYMORPHIC(IGeomFilter, 8), POLYMORPHIC(CGeomFilterSelectAll, 8)});
    ExpectFacts({POLYMORPHIC(CGeomFilterVolume, 8 + 6 * 32), POLYMORPHIC(CGeomFilterInsideVolume, 8 + 6 * 32),
                 POLYMORPHIC(CGeomFilterCrossingVolume, 8 + 6 * 32), FIELD_IN(volume, CGeomFilterVolume, planes, 8)});
    ExpectFacts({POLYMORPHIC(CGeomFilterPlane, 8 + 32), POLYMORPHIC(CGeomFilterAbovePlane, 8 + 32),
                 FIELD_IN(above, CGeomFilterPlane, plane, 8)});
    ExpectFacts({POLYMORPHIC(CGeomFilterCombined, 8 + 24), FIELD_IN(combined, CGeomFilterCombined, filters, 8)});
}

TEST(Layout, TriangleClippersHoldOnlyTheirPoolPlanesAndExtents) {
    std::vector<CPoint3d> pool;
    const TriangleClipper clipper(&pool);
    const TriangleClipper2D flat(&pool, CBoundingBox2d());
    const TriangleClipper3D box(&pool, CBoundingBox3d());
    ExpectFacts({C_VALUE(ClipPlane, 24, 8), FIELD(ClipPlane, value, 8), FIELD(ClipPlane, axis, 16),
                 PLAIN(TriangleClipper::IndexedTriangle, 12, 4)});
    // The pool pointer and the plane list, nothing else: a client's extent
    // clipper finds its extents right after them.
    ExpectFacts({POLYMORPHIC(TriangleClipper, 8 + 8 + 24), FIELD_IN(clipper, TriangleClipper, points, 8),
                 FIELD_IN(clipper, TriangleClipper, clipPlanes, 16)});
    ExpectFacts({POLYMORPHIC(TriangleClipper2D, 40 + 32 + 16), FIELD_IN(flat, TriangleClipper2D, extents, 40),
                 FIELD_IN(flat, TriangleClipper2D, extentPlanes, 72)});
    ExpectFacts({POLYMORPHIC(TriangleClipper3D, 40 + 48 + 24), FIELD_IN(box, TriangleClipper3D, extents, 40),
                 FIELD_IN(box, TriangleClipper3D, extentPlanes, 88)});
}
