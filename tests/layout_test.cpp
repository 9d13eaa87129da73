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
// the given size and alignment.
template <class T>
::testing::AssertionResult IsPlainValue(std::size_t size, std::size_t align) {
    if (std::is_polymorphic_v<T>) return ::testing::AssertionFailure() << "has a virtual table";
    if (!std::is_trivially_copyable_v<T>) return ::testing::AssertionFailure() << "not trivially copyable";
    if (sizeof(T) != size || alignof(T) != align)
        return ::testing::AssertionFailure() << "size " << sizeof(T) << ", alignment " << alignof(T);
    return ::testing::AssertionSuccess();
}

// A plain value that C code can also read: in addition, a standard layout.
template <class T>
::testing::AssertionResult IsCValue(std::size_t size, std::size_t align) {
    if (!std::is_standard_layout_v<T>) return ::testing::AssertionFailure() << "not a standard layout";
    return IsPlainValue<T>(size, align);
}

// A polymorphic type: a virtual destructor, the given size, alignment 8.
template <class T>
::testing::AssertionResult IsPolymorphicOf(std::size_t size) {
    if (!std::has_virtual_destructor_v<T>) return ::testing::AssertionFailure() << "no virtual destructor";
    if (sizeof(T) != size || alignof(T) != 8)
        return ::testing::AssertionFailure() << "size " << sizeof(T) << ", alignment " << alignof(T);
    return ::testing::AssertionSuccess();
}

}  // namespace

TEST(Layout, ThreeDimensionalValues) {
    EXPECT_TRUE(IsCValue<CPoint3d>(24, 8));
    EXPECT_TRUE(IsCValue<CVector3d>(24, 8));
    EXPECT_TRUE(IsCValue<CUnitVector3d>(24, 8));
    EXPECT_EQ(offsetof(CPoint3d, z), 16u);
    EXPECT_EQ(offsetof(CVector3d, z), 16u);
    EXPECT_EQ(offsetof(CUnitVector3d, y), 8u);

    EXPECT_TRUE(IsCValue<CPoint4d>(32, 8));
    EXPECT_TRUE(IsPlainValue<CVector4d>(32, 8));
    EXPECT_TRUE(IsCValue<Quaternion>(32, 8));
    EXPECT_EQ(offsetof(CPoint4d, w), 24u);
    EXPECT_EQ(offsetof(CVector4d, w), 24u);
    EXPECT_EQ(offsetof(Quaternion, x), 0u);  // the vector part first, the scalar last
    EXPECT_EQ(offsetof(Quaternion, w), 24u);

    EXPECT_TRUE(IsPlainValue<CSphere3d>(32, 8));
    EXPECT_EQ(offsetof(CSphere3d, radius), 24u);

    EXPECT_TRUE(IsCValue<CTransformation>(112, 8));
    EXPECT_EQ(sizeof(CTransformation::matrix), 72u);
    EXPECT_EQ(offsetof(CTransformation, translation), 72u);
    EXPECT_EQ(offsetof(CTransformation, scale), 96u);
    EXPECT_EQ(offsetof(CTransformation, isIdentity), 104u);
    EXPECT_EQ(offsetof(CTransformation, isOrthogonal), 105u);

    EXPECT_TRUE(IsPlainValue<CMatrix3x3>(72, 8));
    EXPECT_TRUE(IsPlainValue<CMatrix4x4>(128, 8));

    EXPECT_TRUE(IsCValue<CPlane>(32, 8));
    EXPECT_EQ(offsetof(CPlane, c), 16u);
    EXPECT_EQ(offsetof(CPlane, d), 24u);

    EXPECT_TRUE(IsPlainValue<CPlaneCalculator>(104, 8));
    EXPECT_EQ(offsetof(CPlaneCalculator, second), 24u);
    EXPECT_EQ(offsetof(CPlaneCalculator, firstDirection), 48u);
    EXPECT_EQ(offsetof(CPlaneCalculator, secondDirection), 72u);
    EXPECT_EQ(offsetof(CPlaneCalculator, count), 96u);

    EXPECT_TRUE(IsPlainValue<CRay3d>(48, 8));
    EXPECT_EQ(offsetof(CRay3d, direction), 24u);
    // A line extends the ray: the ray's six doubles, then its two parameters.
    EXPECT_TRUE(IsPlainValue<CLine3d>(64, 8));
    const CLine3d line;
    EXPECT_EQ(OffsetIn(line, &CLine3d::startParam), 48);
    EXPECT_EQ(OffsetIn(line, &CLine3d::endParam), 56);

    EXPECT_TRUE(IsPlainValue<CRange>(16, 8));
    EXPECT_TRUE(IsPlainValue<CBoundingBox2d>(32, 8));
    EXPECT_TRUE(IsCValue<CBoundingBox3d>(48, 8));
    EXPECT_EQ(offsetof(CRange, max), 8u);
    EXPECT_EQ(offsetof(CBoundingBox2d, y), 16u);
    EXPECT_EQ(offsetof(CBoundingBox3d, y), 16u);
    EXPECT_EQ(offsetof(CBoundingBox3d, z), 32u);

    EXPECT_TRUE(IsPlainValue<CBezier3d>(96, 8));
    EXPECT_EQ(offsetof(CBezier3d, p3), 72u);

    EXPECT_TRUE(IsPlainValue<LineClipper>(24, 8));
    EXPECT_EQ(offsetof(LineClipper, tMin), 8u);
    EXPECT_EQ(offsetof(LineClipper, tMax), 16u);
}

TEST(Layout, TwoDimensionalValues) {
    EXPECT_TRUE(IsPlainValue<CPoint2f>(8, 4));
    EXPECT_TRUE(IsPlainValue<CVector2f>(8, 4));
    EXPECT_TRUE(IsPlainValue<CPoint2d>(16, 8));
    EXPECT_TRUE(IsPlainValue<CVector2d>(16, 8));
    EXPECT_EQ(offsetof(CPoint2f, y), 4u);
    EXPECT_EQ(offsetof(CPoint2d, y), 8u);

    EXPECT_TRUE(IsCValue<CRect2f>(16, 4));
    EXPECT_EQ(offsetof(CRect2f, y), 4u);
    EXPECT_EQ(offsetof(CRect2f, width), 8u);
    EXPECT_EQ(offsetof(CRect2f, height), 12u);
    EXPECT_TRUE(IsPlainValue<CSize2f>(8, 4));
    EXPECT_EQ(offsetof(CSize2f, height), 4u);
    EXPECT_TRUE(IsPlainValue<Rangef>(8, 4));
    EXPECT_EQ(offsetof(Rangef, end), 4u);

    EXPECT_TRUE(IsCValue<AffineTransform>(24, 4));
    EXPECT_EQ(offsetof(AffineTransform, b), 4u);
    EXPECT_EQ(offsetof(AffineTransform, c), 8u);
    EXPECT_EQ(offsetof(AffineTransform, d), 12u);
    EXPECT_EQ(offsetof(AffineTransform, tx), 16u);
    EXPECT_EQ(offsetof(AffineTransform, ty), 20u);

    EXPECT_TRUE(IsPlainValue<CCubicBezier2f>(32, 4));
    EXPECT_EQ(offsetof(CCubicBezier2f, p1), 8u);
    EXPECT_EQ(offsetof(CCubicBezier2f, p3), 24u);

    EXPECT_TRUE(IsPlainValue<IntersectionPoint2f>(16, 4));
    EXPECT_EQ(offsetof(IntersectionPoint2f, t1), 8u);
    EXPECT_EQ(offsetof(IntersectionPoint2f, t2), 12u);
    // One growable array and nothing else.
    EXPECT_EQ(sizeof(CurveIntersections2f), sizeof(std::vector<IntersectionPoint2f>));

    EXPECT_TRUE(IsCValue<CEllipse2f>(40, 4));
    EXPECT_EQ(offsetof(CEllipse2f, radiusX), 8u);
    EXPECT_EQ(offsetof(CEllipse2f, radiusY), 12u);
    EXPECT_EQ(offsetof(CEllipse2f, transform), 16u);
}

TEST(Layout, CirclesMeshesAndPolygonsAfterOneVirtualTablePointer) {
    EXPECT_TRUE(IsPolymorphicOf<CCircle3d>(120));
    const CArc3d arc;
    EXPECT_EQ(OffsetIn(arc, &CArc3d::center), 8);
    EXPECT_EQ(OffsetIn(arc, &CArc3d::xAxis), 32);
    EXPECT_EQ(OffsetIn(arc, &CArc3d::plane), 56);
    EXPECT_EQ(OffsetIn(arc, &CArc3d::radius), 88);
    EXPECT_EQ(OffsetIn(arc, &CArc3d::yAxis), 96);
    EXPECT_TRUE(IsPolymorphicOf<CArc3d>(136));
    EXPECT_EQ(OffsetIn(arc, &CArc3d::startAngle), 120);
    EXPECT_EQ(OffsetIn(arc, &CArc3d::endAngle), 128);

    EXPECT_TRUE(IsPolymorphicOf<CPolygonMesh>(160));
    const CPolygonMesh mesh(7);
    EXPECT_EQ(OffsetIn(mesh, &CPolygonMesh::points), 8);
    EXPECT_EQ(OffsetIn(mesh, &CPolygonMesh::flags), 32);
    EXPECT_EQ(OffsetIn(mesh, &CPolygonMesh::uvFront), 40);
    EXPECT_EQ(OffsetIn(mesh, &CPolygonMesh::uvBack), 64);
    EXPECT_EQ(OffsetIn(mesh, &CPolygonMesh::normals), 88);
    EXPECT_EQ(OffsetIn(mesh, &CPolygonMesh::polygonStarts), 112);
    EXPECT_EQ(OffsetIn(mesh, &CPolygonMesh::polygonIndices), 136);

    EXPECT_TRUE(IsPolymorphicOf<CPolygon2d>(72));
    const CPolygon2d polygon;
    EXPECT_EQ(OffsetIn(polygon, &CPolygon2d::points), 8);
    EXPECT_EQ(OffsetIn(polygon, &CPolygon2d::bounds), 32);
    EXPECT_EQ(OffsetIn(polygon, &CPolygon2d::tag), 64);
    EXPECT_EQ(sizeof(CPolygon2d::tag), 8u);

    // The drawing sink is an interface: the table pointer and nothing else.
    EXPECT_TRUE(IsPolymorphicOf<IBezier3dDraw>(8));
}

TEST(Layout, SelectionFiltersAfterOneVirtualTablePointer) {
    EXPECT_TRUE(IsPolymorphicOf<IGeomFilter>(8));
    EXPECT_TRUE(IsPolymorphicOf<CGeomFilterVolume>(8 + 6 * 32));
    EXPECT_TRUE(IsPolymorphicOf<CGeomFilterInsideVolume>(8 + 6 * 32));
    EXPECT_TRUE(IsPolymorphicOf<CGeomFilterCrossingVolume>(8 + 6 * 32));
    const CGeomFilterCrossingVolume volume;
    EXPECT_EQ(OffsetIn(volume, &CGeomFilterVolume::planes), 8);
    EXPECT_TRUE(IsPolymorphicOf<CGeomFilterSelectAll>(8));
    EXPECT_TRUE(IsPolymorphicOf<CGeomFilterPlane>(8 + 32));
    EXPECT_TRUE(IsPolymorphicOf<CGeomFilterAbovePlane>(8 + 32));
    const CGeomFilterAbovePlane above;
    EXPECT_EQ(OffsetIn(above, &CGeomFilterPlane::plane), 8);
    EXPECT_TRUE(IsPolymorphicOf<CGeomFilterCombined>(8 + 24));
    const CGeomFilterCombined combined;
    EXPECT_EQ(OffsetIn(combined, &CGeomFilterCombined::filters), 8);
}

TEST(Layout, TriangleClippersHoldOnlyTheirPoolPlanesAndExtents) {
    EXPECT_TRUE(IsCValue<ClipPlane>(24, 8));
    EXPECT_EQ(offsetof(ClipPlane, value), 8u);
    EXPECT_EQ(offsetof(ClipPlane, axis), 16u);
    EXPECT_TRUE(IsPlainValue<TriangleClipper::IndexedTriangle>(12, 4));

    // The pool pointer and the plane list, nothing else: a client's extent clipper
    // finds its extents right after them.
    EXPECT_TRUE(IsPolymorphicOf<TriangleClipper>(8 + 8 + 24));
    std::vector<CPoint3d> pool;
    const TriangleClipper clipper(&pool);
    EXPECT_EQ(OffsetIn(clipper, &TriangleClipper::points), 8);
    EXPECT_EQ(OffsetIn(clipper, &TriangleClipper::clipPlanes), 16);

    EXPECT_TRUE(IsPolymorphicOf<TriangleClipper2D>(40 + 32 + 16));
    const TriangleClipper2D flat(&pool, CBoundingBox2d());
    EXPECT_EQ(OffsetIn(flat, &TriangleClipper2D::extents), 40);
    EXPECT_EQ(OffsetIn(flat, &TriangleClipper2D::extentPlanes), 72);

    EXPECT_TRUE(IsPolymorphicOf<TriangleClipper3D>(40 + 48 + 24));
    const TriangleClipper3D box(&pool, CBoundingBox3d());
    EXPECT_EQ(OffsetIn(box, &TriangleClipper3D::extents), 40);
    EXPECT_EQ(OffsetIn(box, &TriangleClipper3D::extentPlanes), 88);
}
