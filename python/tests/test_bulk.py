"""Every bulk call against the scalar call it stands for, bit for bit, on random
input with NaN, infinities, signed zeros, huge values and empty boxes mixed in."""
import numpy as np
import pytest

import plenar as P
from conftest import bits, hostile_doubles


def random_boxes(rng, n):
    low = hostile_doubles(rng, (n, 3))
    high = low + rng.uniform(-0.5, 3.0, (n, 3))  # some inverted (empty) axes
    boxes = np.stack([low, high], axis=1)
    boxes[::17] = [[1e30, 1e30, 1e30], [-1e30, -1e30, -1e30]]  # the canonical empty box
    return boxes


def transformations():
    o = P.CPoint3d(0.25, -1.5, 2.0)
    general = P.CTransformation()
    general.SetMatrix(np.array([1.5, 0.2, -0.3, 0, 0.1, 0.9, 0.4, 0, -0.7, 0.05, 1.2, 0, 3, -2, 1, 1]))
    return [
        P.CTransformation(),
        P.CTransformation.Rotate(o, P.CUnitVector3d(1, 2, 3), 0.8),
        P.CTransformation.Scale(o, 2.0, -0.5, 3.0) * P.CTransformation.Translate(P.CVector3d(1e3, 0, -7)),
        general,
    ]


def test_transforms_equal_the_scalar_calls(rng):
    points = hostile_doubles(rng, (500, 3))
    planes = hostile_doubles(rng, (300, 4))
    for t in transformations():
        expected = np.array([tuple(t * P.CPoint3d(*p)) for p in points])
        assert bits(t.TransformPoints(points)) == bits(expected)
        # In place, and from float32 and strided input (converted first).
        inplace = points.copy()
        assert t.TransformPoints(inplace, out=inplace) is inplace and bits(inplace) == bits(expected)
        wide = np.zeros((500, 6))
        wide[:, ::2] = points
        assert bits(t.TransformPoints(wide[:, ::2])) == bits(expected)
        assert bits(t.TransformPoints(points.astype(np.float32))) == bits(
            [tuple(t * P.CPoint3d(*p)) for p in points.astype(np.float32).astype(np.float64)]
        )
        assert bits(t.TransformVectors(points)) == bits([tuple(t * P.CVector3d(*v)) for v in points])
        scalar_planes = []
        for row in planes:
            plane = P.CPlane((0, 0, 1, 0))
            plane.a, plane.b, plane.c, plane.d = row
            t.Transform(plane)
            scalar_planes.append(tuple(plane))
        assert bits(t.TransformPlanes(planes)) == bits(scalar_planes)


def volume_planes(rng):
    centre = rng.uniform(-2, 2, 3)
    normals = [(1, 0, 0), (-1, 0, 0), (0, 1, 0), (0, -1, 0), (0, 0, 1), (0, 0, -1)]
    planes = []
    for n in normals:
        tilted = np.array(n, float) + rng.uniform(-0.2, 0.2, 3)
        planes.append(P.CPlane(P.CPoint3d(*(centre + 3.0 * np.array(n))), P.CUnitVector3d(*tilted)))
    return planes


def all_filters(rng):
    planes = volume_planes(rng)
    open_volume = list(planes)
    open_volume[5] = P.CPlane(0, 0, 0, 0)
    open_volume[5].d = P.CGeomFilterVolume.AbsentPlaneD
    cut = P.CPlane(0.3, -0.5, 0.8, 0.4)
    combined = P.CGeomFilterCombined(P.CGeomFilterCrossingVolume(planes), P.CGeomFilterAbovePlane(cut))
    return [
        P.CGeomFilterInsideVolume(planes),
        P.CGeomFilterCrossingVolume(planes),
        P.CGeomFilterCrossingVolume(open_volume),
        P.CGeomFilterSelectAll(),
        P.CGeomFilterPlane(cut),
        P.CGeomFilterAbovePlane(cut),
        combined,
        P.CGeomFilterCombined(),
    ]


def test_filter_tests_equal_the_scalar_calls(rng):
    boxes = random_boxes(rng, 400)
    points = hostile_doubles(rng, (400, 3))
    segments = hostile_doubles(rng, (400, 2, 3))
    for f in all_filters(rng):
        accepted, whole = P.TestBoxes(f, boxes)
        scalar = [f.TestFully(P.CBoundingBox3d(b)) for b in boxes]
        assert accepted.dtype == bool and accepted.tolist() == [a for a, _ in scalar], f
        assert whole.tolist() == [w for _, w in scalar], f
        assert accepted.tolist() == [f.Test(P.CBoundingBox3d(b)) for b in boxes], f
        assert P.TestPoints(f, points).tolist() == [f.Test(P.CPoint3d(*p)) for p in points], f
        assert P.TestSegments(f, segments).tolist() == [
            f.Test(P.CPoint3d(*s[0]), P.CPoint3d(*s[1])) for s in segments
        ], f
        # The methods are the same calls.
        assert f.TestBoxes(boxes)[1].tolist() == whole.tolist()
        # Both answers occur, so a constant answer would not pass unnoticed.
        if isinstance(f, P.CGeomFilterVolume):
            assert 0 < accepted.sum() < len(boxes) and 0 < P.TestPoints(f, points).sum() < len(points)


def test_moved_filter_agrees_with_moved_input(rng):
    # The scene walk's identity: a volume moved by the inverse placement accepts in
    # local coordinates what the world volume accepts after placement, except within
    # rounding of a face.
    volume = P.CGeomFilterCrossingVolume(volume_planes(rng))
    placement = P.CTransformation.Rotate(P.CPoint3d(1, 2, 3), P.CUnitVector3d(0, 1, 1), 1.1)
    local = volume.Clone()
    local.Transform(P.CTransformation.Inverse(placement))
    points = rng.uniform(-8, 8, (2000, 3))
    world = placement.TransformPoints(points)
    distances = np.array([[pl.SignedDistance(P.CPoint3d(*w)) for pl in volume.planes] for w in world])
    clear = np.abs(distances).min(axis=1) > 1e-9
    assert np.array_equal(local.TestPoints(points)[clear], volume.TestPoints(world)[clear])
    assert clear.sum() > 1900


def test_ray_against_many_boxes_equals_the_scalar_call(rng):
    boxes = random_boxes(rng, 600)
    rays = [
        P.CRay3d(P.CPoint3d(-20, 0.5, 0.25), P.CUnitVector3d(1, 0, 0)),  # components exactly zero
        P.CRay3d(P.CPoint3d(*rng.uniform(-5, 5, 3)), P.CUnitVector3d(*rng.uniform(-1, 1, 3))),
        P.CRay3d(P.CPoint3d(0, 0, 0), P.CUnitVector3d(1, 1, 1)),
    ]
    for ray in rays:
        hits, entries, sides = ray.IntersectBoxes(boxes)
        assert sides.dtype == np.int32
        for i, b in enumerate(boxes):
            scalar = ray.IntersectWith(P.CBoundingBox3d(b))
            assert hits[i] == (scalar is not None)
            if scalar is None:
                assert np.isnan(entries[i]).all() and sides[i] == P.NoSide
            else:
                assert bits(entries[i]) == bits(tuple(scalar[0])) and sides[i] == int(scalar[1])
    assert 0 < P.CRay3d(P.CPoint3d(0, 0, 0), P.CUnitVector3d(1, 1, 1)).IntersectBoxes(boxes)[0].sum() < len(boxes)


def test_welding_many_points_equals_inserting_them_in_order(rng):
    base = rng.uniform(-1, 1, (60, 3))
    # Repeats nudged below and above EqualTol, so both the reuse and the append are exercised.
    jitter = rng.choice([0.0, 0.0004, 0.0009, 0.0011, 0.002], size=(400, 1)) * rng.choice([-1, 1], size=(400, 3))
    points = base[rng.integers(0, 60, 400)] + jitter
    points[::50] = np.nan
    welded = P.CPolygonMesh()
    indices = P.CMeshWelder(welded).InsertPoints(points)
    plain = P.CPolygonMesh()
    assert indices.dtype == np.int64
    assert indices.tolist() == [plain.InsertPoint(P.CPoint3d(*p)) for p in points]
    assert bits(welded.points) == bits(plain.points)
    assert 60 < len(plain.points) < 400
    welder = P.CMeshWelder(welded)
    assert welder.FindPoint(P.CPoint3d(*points[1])) == indices[1]
    assert welder.AddPolygon(points[:3]) == plain.AddPolygon(points[:3]) == 1


def test_flattening_many_cubics_equals_one_at_a_time(rng):
    curves = rng.uniform(-50, 50, (120, 4, 2)).astype(np.float32)
    curves[7] = curves[7][0]  # a point curve
    curves[9, 2, 0] = np.nan
    for tol in (0.5, 0.01):
        points, offsets = P.ApproximateWithPolylines(curves, tol)
        assert offsets[0] == 0 and offsets[-1] == len(points) and points.dtype == np.float32
        for i, c in enumerate(curves):
            one = P.CCubicBezier2f(c).ApproximateWithPolyline(tol)
            assert points[offsets[i] : offsets[i + 1]].tobytes() == one.tobytes()
    assert len(P.ApproximateWithPolylines(curves, 0.01)[0]) > len(P.ApproximateWithPolylines(curves, 0.5)[0])
