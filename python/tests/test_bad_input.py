"""Wrong shapes, dtypes, kinds and counts raise errors that name the argument;
convertible input is converted; NaN and infinities answer as in C++; nothing
crashes the interpreter."""
import subprocess
import sys
import textwrap

import numpy as np
import pytest

import plenar as P

VOLUME = P.CGeomFilterCrossingVolume()
RAY = P.CRay3d()
T = P.CTransformation.Scale(2.0)


@pytest.mark.parametrize(
    "call, error, words",
    [
        (lambda: T.TransformPoints(np.zeros((4, 2))), ValueError, ["points", "(n, 3)", "(4, 2)"]),
        (lambda: T.TransformPoints(np.zeros(3)), ValueError, ["points", "(n, 3)"]),
        (lambda: T.TransformPoints(np.array([["a", "b", "c"]])), TypeError, ["points", "float64"]),
        (lambda: T.TransformPoints(np.zeros((2, 3), complex)), TypeError, ["points", "complex"]),
        (lambda: T.TransformPoints([[1, 2, 3], [4, 5]]), TypeError, ["points"]),
        (lambda: T.TransformPoints(np.zeros((2, 3)), out=np.zeros((3, 3))), ValueError, ["out", "rows"]),
        (lambda: T.TransformPoints(np.zeros((2, 3)), out=np.zeros((2, 3), np.float32)), TypeError, ["out"]),
        (lambda: T.TransformPoints(np.zeros((2, 3)), out=np.zeros((3, 2)).T), ValueError, ["out", "contiguous"]),
        (lambda: T.TransformPlanes(np.zeros((2, 3))), ValueError, ["planes", "(n, 4)"]),
        (lambda: P.TestBoxes(VOLUME, np.zeros((5, 3, 2))), ValueError, ["boxes", "(n, 2, 3)", "(5, 3, 2)"]),
        (lambda: P.TestBoxes(VOLUME, np.zeros((5, 6))), ValueError, ["boxes", "(n, 2, 3)"]),
        (lambda: P.TestPoints(VOLUME, np.zeros((5, 2, 3))), ValueError, ["points", "(n, 3)"]),
        (lambda: P.TestSegments(VOLUME, np.zeros((5, 3))), ValueError, ["segments", "(n, 2, 3)"]),
        (lambda: P.TestBoxes(P.CPlane(), np.zeros((1, 2, 3))), TypeError, ["filter", "IGeomFilter", "CPlane"]),
        (lambda: P.TestPoints(None, np.zeros((1, 3))), TypeError, ["filter", "NoneType"]),
        (lambda: P.TestSegments("volume", np.zeros((1, 2, 3))), TypeError, ["filter", "str"]),
        (lambda: RAY.IntersectBoxes(np.zeros((2, 3))), ValueError, ["boxes"]),
        (lambda: P.CMeshWelder(P.CPolygonMesh()).InsertPoints(np.zeros((2, 4))), ValueError, ["points"]),
        (lambda: P.ApproximateWithPolylines(np.zeros((3, 4, 3)), 0.1), ValueError, ["curves", "(n, 4, 2)"]),
        (lambda: P.GetPointsOnArc((0, 0, 0), (1, 0, 0), (0, 1, 0), 1.0, 1.0, -1), ValueError, ["n", ">= 0"]),
        (lambda: P.CEllipse2f().GetPoints(-5), ValueError, ["n", ">= 0"]),
        (lambda: P.timing.TestBoxes(VOLUME, np.zeros((1, 2, 3)), 0), ValueError, ["repeats"]),
        (lambda: P.CPoint3d((1, 2)), ValueError, ["CPoint3d", "3 numbers", "(2,)"]),
        (lambda: P.CPoint3d("abc"), TypeError, ["CPoint3d"]),
        (lambda: P.CBoundingBox3d(np.zeros((3, 2))), ValueError, ["box", "(2, 3)"]),
        (lambda: P.CGeomFilterInsideVolume([P.CPlane()] * 5), ValueError, ["planes", "6"]),
        (lambda: P.CPolygonMesh().GetPoint(1), IndexError, ["1-based"]),
        (lambda: P.TriangleClipper(np.zeros((3, 3)), [P.ClipPlane(True, 0.0, 0)]).ClipToExtents((0, 1, 3)), IndexError, []),
        (lambda: P.TriangleClipper(np.zeros((3, 3))).ClipToExtents((0, 1)), ValueError, ["triangle", "3"]),
        (lambda: P.TriangleClipper(np.zeros((3, 3))).ClipToExtents((0, 1, 2**40)), ValueError, ["int"]),
    ],
)
def test_errors_name_the_argument_and_what_was_expected(call, error, words):
    with pytest.raises(error) as info:
        call()
    for word in words:
        assert word in str(info.value)


def test_convertible_input_is_converted():
    points = np.arange(12, dtype=np.int32).reshape(4, 3)
    expected = T.TransformPoints(points.astype(np.float64))
    assert np.array_equal(T.TransformPoints(points), expected)
    assert np.array_equal(T.TransformPoints(points.tolist()), expected)
    assert np.array_equal(T.TransformPoints(np.asfortranarray(points)), expected)
    assert np.array_equal(T.TransformPoints(points[::-1])[::-1], expected)
    boxes = np.array([[[-1, -1, -1], [1, 1, 1]]], dtype=np.float32)
    assert P.TestBoxes(P.CGeomFilterSelectAll(), boxes)[1].tolist() == [True]
    empty = T.TransformPoints(np.empty((0, 3)))
    assert empty.shape == (0, 3)
    assert [a.shape for a in RAY.IntersectBoxes(np.empty((0, 2, 3)))] == [(0,), (0, 3), (0,)]
    assert P.ApproximateWithPolylines(np.empty((0, 4, 2)), 0.1)[1].tolist() == [0]


def test_non_finite_values_answer_as_in_cpp():
    nan, inf = np.nan, np.inf
    out = T.TransformPoints(np.array([[nan, 0, 0], [inf, 1, 1]]))
    # 0 * NaN and 0 * inf poison the other coordinates, as the C++ arithmetic does.
    assert np.isnan(out[0]).all() and out[1, 0] == inf and np.isnan(out[1, 1:]).all()
    everything = P.CGeomFilterCrossingVolume(
        [P.CPlane(1, 0, 0, -1e9), P.CPlane(-1, 0, 0, -1e9), P.CPlane(0, 1, 0, -1e9), P.CPlane(0, -1, 0, -1e9),
         P.CPlane(0, 0, 1, -1e9), P.CPlane(0, 0, -1, -1e9)]
    )
    assert P.TestPoints(everything, np.array([[nan, 0, 0], [0, 0, 0], [inf, 0, 0]])).tolist() == [
        everything.Test(P.CPoint3d(nan, 0, 0)),
        True,
        False,
    ]
    hits, entries, _ = RAY.IntersectBoxes(np.array([[[nan, nan, nan], [nan, nan, nan]]]))
    assert hits.tolist() == [RAY.IntersectWith(P.CBoundingBox3d((nan, nan, nan), (nan, nan, nan))) is not None]
    assert P.CBezier3d((0, 0, 0), (1, 1, 0), (2, 1, 0), (nan, 0, 0)).Draw(0.01).shape == (0, 3)
    assert P.CBezier3d((0, 0, 0), (1, 1, 0), (2, 1, 0), (3, 0, 0)).Draw(0.0).shape == (0, 3)


def test_hostile_calls_do_not_crash_the_interpreter():
    # Run in a child: a crash would take the test runner with it.
    script = textwrap.dedent(
        """
        import numpy as np, plenar as P
        nan, inf = float("nan"), float("inf")
        bad = [nan, inf, -inf, 1e308, -1e308, 0.0, -0.0, 5e-324]
        for v in bad:
            P.EqualTol = v
            P.CVector3d(v, v, v).Normalize()
            P.CBezier3d((0, 0, 0), (v, 1, 0), (2, v, 0), (3, 0, 0)).Draw(abs(v) if v == v else v)
            c = P.CCubicBezier2f((0, 0), (v, 1), (2, v), (3, 0))
            c.Bounds(); c.ApproximateWithPolyline(0.01); c.IntersectWithBezier(c)
            P.ApproximateWithPolylines(np.full((3, 4, 2), v, np.float32), v)
            P.CCircle3d((0, 0, 0), (v, 0, 0), (0, 0, 1)).Eval(v)
            P.CTransformation.Scale(v).TransformPoints(np.full((5, 3), v))
            P.TestSegments(P.CGeomFilterCrossingVolume(), np.full((5, 2, 3), v))
            P.CRay3d((v, 0, 0), (1, 0, 0)).IntersectBoxes(np.full((5, 2, 3), v))
            P.CMeshWelder(P.CPolygonMesh()).InsertPoints(np.full((5, 3), v))
            P.CEllipse2f((0, 0), v, v, v).GetPoints(8)
        P.EqualTol = 0.001
        m = P.CPolygonMesh()
        m.AddPolygon([1, 2, 3]); m.AddPolygon(np.zeros((2, 3)))
        for i in (0, -1, 2**62, -2**62):
            try: m.GetPoint(i)
            except IndexError: pass
        try: P.TriangleClipper(np.zeros((3, 3)), [P.ClipPlane(True, 0.0, 0)]).ClipToExtents((-1, 0, 1))
        except IndexError: pass
        P.LineClipper().Clip(True, P.CPoint4d(nan, 0, 0, 0), P.CPoint4d(0, 0, 0, 0))
        print("survived")
        """
    )
    result = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=300)
    assert result.returncode == 0, result.stderr
    assert result.stdout.strip() == "survived"


def test_welder_with_the_largest_tolerance_finishes():
    # The mesh's own scan welds all five to point 1 at once; the welding index must
    # give the same answer, promptly.
    script = textwrap.dedent(
        """
        import numpy as np, plenar as P
        P.EqualTol = 1e308
        points = np.full((5, 3), 1e308)
        mesh = P.CPolygonMesh()
        assert [mesh.InsertPoint(P.CPoint3d(*p)) for p in points] == [1] * 5
        assert P.CMeshWelder(P.CPolygonMesh()).InsertPoints(points).tolist() == [1] * 5
        """
    )
    result = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, timeout=10)
    assert result.returncode == 0, result.stderr
