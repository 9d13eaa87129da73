#include <geometry/polygonmesh.h>

#include <geometry/transformation.h>

#include "support/predicates.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "support/tolerance_guard.h"

using namespace velmor::geometry;
using namespace plenar_test;
using P = CPoint3d;
using Indices = std::vector<long>;

namespace {

CPolygonMesh Triangle() {
    CPolygonMesh m(0);
    for (const P& p : {P(0, 0, 0), P(1, 0, 0), P(0, 1, 0)}) m.InsertPoint(p);
    return m;
}

}  // namespace

TEST(PolygonMesh, WeldingTakesTheFirstMatchWithinEqualTol) {
    CPolygonMesh m(0);
    EXPECT_EQ(m.InsertPoint(P(0, 0, 0)), 1);
    EXPECT_EQ(m.InsertPoint(P(0.0005, 0, 0)), 1);
    EXPECT_EQ(m.InsertPoint(P(0.002, 0, 0)), 2);
    EXPECT_EQ(m.InsertPoint(P(0.001, 0, 0)), 3);   // exactly EqualTol from both: strict, so new
    EXPECT_EQ(m.InsertPoint(P(0.0015, 0, 0)), 2);  // within reach of 2 and 3: the earlier wins
    EXPECT_TRUE(SameXyz(m.points[0], P(0, 0, 0)));
    plenar_test::ToleranceGuard wide(0.01);  // read at call time
    EXPECT_EQ(m.FindPoint(P(0.009, 0, 0)), 1);
}

TEST(PolygonMesh, AddPolygonFromIndicesKeepsItsPartialStateOnRefusal) {
    CPolygonMesh m = Triangle();
    const long two[] = {1, 2}, signedTri[] = {1, -2, 3};
    EXPECT_EQ(m.AddPolygon(2, two), 0);
    EXPECT_TRUE(m.polygonStarts.empty());
    EXPECT_EQ(m.AddPolygon(3, signedTri), 1);
    EXPECT_EQ(m.GetPolygonPointIndex(1, 2), -2);
    EXPECT_TRUE(SameXyz(m.GetPolygonPoint(1, 2), P(1, 0, 0)));
    // A bad third corner: the start and the two corners before it stay.
    for (long bad : {0L, 4L, -4L, LONG_MAX, LONG_MIN}) {
        CPolygonMesh t = Triangle();
        const long corners[] = {-3, 3, bad, 1};
        EXPECT_EQ(t.AddPolygon(4, corners), 0) << bad;
        EXPECT_EQ(t.polygonStarts, Indices{0});
        EXPECT_EQ(t.polygonIndices, (Indices{-3, 3}));
    }
}

TEST(PolygonMesh, AddPolygonFromCoordinatesKeepsRefusedCornersAndPoints) {
    CPolygonMesh m(0);
    const P two[] = {P(0, 0, 0), P(1, 0, 0)};
    EXPECT_EQ(m.AddPolygon(2, two) + m.AddPolygon(0, two) + m.AddPolygon(-5, two), 0);
    // The refused corners and points stay: the next polygon starts after them and welds
    // against them as well as within itself; repeats stay.
    const P five[] = {P(1, 0, 0), P(1, 1, 0), P(1.0004, 1, 0), P(0, 0, 0.0002), P(0, 1, 0)};
    const P tri[] = {P(5, 5, 5), P(0, 1, 0), P(1, 1, 0)};
    EXPECT_EQ(m.AddPolygon(5, five), 1);
    EXPECT_EQ(m.AddPolygon(3, tri), 2);
    EXPECT_EQ(m.polygonStarts, (Indices{2, 7}));
    EXPECT_EQ(m.polygonIndices, (Indices{1, 2, 2, 3, 3, 1, 4, 5, 4, 3}));
    EXPECT_EQ(m.CountPolygonPoints(1), 5);  // up to the next start
    EXPECT_EQ(m.CountPolygonPoints(2), 3);  // up to the end of the index list
}

TEST(PolygonMesh, AttributeGettersCheckRangeAndNormalFlagWhileSettersAppend) {
    const CUnitVector3d n(0, 0, 1);
    const P uv(0.25, 0.75, 1), uv2(0.5, 0.5, 0), zero(0, 0, 0);
    CPolygonMesh plain(0);
    plain.SetNormal(1, n);  // appends, although the mesh keeps no normals
    EXPECT_EQ(plain.normals.size(), 1);
    EXPECT_TRUE(!plain.GetNormal(1).IsValid());

    CPolygonMesh m(4 | 8);
    m.SetNormal(5, n);
    for (long i : {1L, -1L}) EXPECT_EQ(m.GetNormal(i), n) << i;
    for (long i : {0L, 2L, -2L, LONG_MIN}) EXPECT_FALSE(m.GetNormal(i).IsValid()) << i;
    m.SetUVFront(7, uv);  // empty, flag unset: appends, and the getter does not ask
    m.SetUVFront(-1, uv2);
    m.SetUVFront(0, uv);
    m.SetUVFront(LONG_MIN, uv);
    EXPECT_EQ(m.uvFront.size(), 3);
    EXPECT_TRUE(SameXyz(m.GetUVFront(1), uv2));
    for (long i : {0L, 4L, LONG_MIN}) EXPECT_TRUE(SameXyz(m.GetUVFront(i), zero)) << i;
    m.SetUVBack(2, uv);
    EXPECT_TRUE(SameXyz(m.GetUVBack(-1), uv));
    EXPECT_TRUE(SameXyz(m.GetUVBack(2), zero));

    // One zero entry per future point in each kept attribute; points only reserved.
    CPolygonMesh r(1 | 4);
    r.ReserveSpace(5, 2);
    r.ReserveSpace(-3, -1);
    EXPECT_TRUE(r.points.empty());
    EXPECT_TRUE(r.points.capacity() >= 5);
    EXPECT_TRUE(r.polygonIndices.capacity() >= 6);
    EXPECT_EQ(r.uvFront.size(), 5);
    EXPECT_TRUE(r.uvBack.empty());
    EXPECT_EQ(r.normals.size(), 5);
    EXPECT_TRUE(SameXyz(r.uvFront[4], zero));
    EXPECT_TRUE(!r.normals[4].IsValid());
    r.SetNormal(5, n);  // overwrites the reserved entry
    EXPECT_EQ(r.GetNormal(5), n);
}

TEST(PolygonMesh, TransformCarriesNormalsAsPlanesAndLeavesTextureCoordinates) {
    CPolygonMesh m(1 | 4);
    m.InsertPoint(P(1, 1, 1));
    m.SetNormal(1, CUnitVector3d(1, 1, 0));
    m.SetNormal(2, CUnitVector3d());
    m.SetUVFront(1, P(0.5, 0.25, 0));
    m.Transform(CTransformation::Scale(2, 1, 1));
    EXPECT_TRUE(SameXyz(m.points[0], P(2, 1, 1)));
    EXPECT_TRUE(SameXyz(m.uvFront[0], P(0.5, 0.25, 0)));
    // (1, 2, 0)/sqrt(5) by the plane rule; as a vector it would be (2, 1, 0)/sqrt(5).
    EXPECT_TRUE(NearXyz(m.normals[0], CVector3d(1 / std::sqrt(5.0), 2 / std::sqrt(5.0), 0), 1e-15));
    EXPECT_FALSE(m.normals[1].IsValid());
}
