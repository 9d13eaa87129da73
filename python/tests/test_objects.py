"""Ownership and state across the Python boundary: filters copied by Clone,
combined filters owning their own copies, clippers growing their pools, meshes and
welders sharing one mesh."""
import copy
import gc

import numpy as np

import plenar as P


def unit_cube_volume():
    return P.CGeomFilterInsideVolume(
        [P.CPlane(1, 0, 0, -1), P.CPlane(-1, 0, 0, 0), P.CPlane(0, 1, 0, -1), P.CPlane(0, -1, 0, 0),
         P.CPlane(0, 0, 1, -1), P.CPlane(0, 0, -1, 0)]
    )


def test_filters_copy_by_clone_and_combined_owns_its_members():
    volume = unit_cube_volume()
    clone = copy.copy(volume)
    assert type(clone) is P.CGeomFilterInsideVolume and clone is not volume
    clone.Transform(P.CTransformation.Translate(P.CVector3d(5, 0, 0)))
    assert volume.Test(P.CPoint3d(0.5, 0.5, 0.5)) and not clone.Test(P.CPoint3d(0.5, 0.5, 0.5))
    assert clone.Test(P.CPoint3d(5.5, 0.5, 0.5))
    # Inclusive faces, no tolerance: on the face is inside, 1e-12 beyond is not.
    assert volume.Test(P.CPoint3d(1.0, 0.5, 0.5)) and not volume.Test(P.CPoint3d(1.0 + 1e-12, 0.5, 0.5))

    combined = P.CGeomFilterCombined()
    combined.Add(volume)
    combined.Add(P.CGeomFilterAbovePlane(P.CPlane(0, 0, 1, -0.5)))
    volume.planes = [P.CPlane(0, 0, 1, 0)] * 6  # the member is a copy: unaffected
    del volume
    gc.collect()
    assert len(combined) == 2 and type(combined[0]) is P.CGeomFilterInsideVolume
    assert combined.Test(P.CPoint3d(0.5, 0.5, 0.75)) and not combined.Test(P.CPoint3d(0.5, 0.5, 0.25))
    assert combined.TestFully(P.CBoundingBox3d((0.1, 0.1, 0.6), (0.9, 0.9, 0.9))) == (True, True)
    assert combined.GetFrustumPlane(0) is not None and P.CGeomFilterSelectAll().GetFrustumPlane(0) is None
    assert P.CGeomFilterPlane().TestFully(P.CBoundingBox3d((-1, -1, -1), (1, 1, 1))) == (True, False)


def test_triangle_clipper_appends_to_its_pool():
    points = np.array([[0.0, 0, 0], [2, 0, 0], [0, 2, 0]])
    clipper = P.TriangleClipper2D(points, P.CBoundingBox2d((0, 0), (1, 1)))
    pieces = clipper.ClipToExtents((0, 1, 2))
    pool = clipper.points
    assert len(pool) > 3 and np.array_equal(pool[:3], points)
    assert pieces.shape[1] == 3 and pieces.max() < len(pool)
    # Every piece lies in the closed unit square and keeps the input's winding.
    for tri in pieces:
        corners = pool[tri]
        assert (corners[:, :2] >= 0).all() and (corners[:, :2] <= 1).all()
        cross = np.cross(corners[1] - corners[0], corners[2] - corners[0])[2]
        assert cross >= 0
    # A triangle already inside passes through unchanged, and adds nothing.
    before = len(clipper.points)
    inside = P.TriangleClipper(np.array([[0.1, 0.1, 0], [0.2, 0.1, 0], [0.1, 0.2, 0]]), [P.ClipPlane(True, 0.0, 0)])
    assert inside.ClipToExtents((0, 1, 2)).tolist() == [[0, 1, 2]] and len(clipper.points) == before


def test_line_clipper_reports_the_visible_interval():
    clipper = P.LineClipper()
    assert clipper.Clip(True, P.CPoint4d(-2, 0, 0, 1), P.CPoint4d(2, 0, 0, 1)) == P.PartVisible
    assert (clipper.tMin, clipper.tMax) == (0.25, 0.75)
    clipper.tMin, clipper.tMax = 0.1, 0.2
    assert clipper.Clip(True, P.CPoint4d(0, 0, 0, 1), P.CPoint4d(0.5, 0, 0, 1)) == P.AllVisible
    assert (clipper.tMin, clipper.tMax) == (0.1, 0.2)  # left as they were
    code, bc = clipper.CalculateBoundaryCoordinates(False, P.CPoint4d(0, 0, 2, 1))
    assert code == 2 and bc.tolist() == [3.0, -1.0]


def test_welder_and_mesh_share_one_mesh():
    mesh = P.CPolygonMesh(4)
    welder = P.CMeshWelder(mesh)
    del mesh
    gc.collect()
    square = np.array([[0.0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]])
    assert welder.AddPolygon(square) == 1 and welder.AddPolygon(square + [1, 0, 0]) == 2
    mesh = welder.Mesh()
    assert len(mesh.points) == 6 and mesh.CountPolygonPoints(2) == 4
    assert mesh.polygonIndices == [1, 2, 3, 4, 2, 5, 6, 3]
    assert mesh.AddPolygon([1, 2, 7]) == 0  # an index beyond the pool refuses the polygon


def test_welder_follows_the_tolerance_and_a_rebuilt_pool():
    mesh = P.CPolygonMesh()
    welder = P.CMeshWelder(mesh)
    points = np.array([[0.0, 0, 0], [0.004, 0, 0], [0.008, 0, 0]])
    assert welder.InsertPoints(points).tolist() == [1, 2, 3]
    P.EqualTol = 0.005  # read at every call, as the mesh does
    assert welder.FindPoint(P.CPoint3d(0.006, 0, 0)) == mesh.FindPoint(P.CPoint3d(0.006, 0, 0)) == 2
    P.EqualTol = 0.001
    mesh.Transform(P.CTransformation.Translate(P.CVector3d(10, 0, 0)))
    welder.Rebuild()
    assert welder.FindPoint(P.CPoint3d(10.004, 0, 0)) == 2 and welder.FindPoint(P.CPoint3d(0.004, 0, 0)) == 0
