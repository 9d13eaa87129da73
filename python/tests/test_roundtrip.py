import copy
import math
import pickle

import numpy as np
import pytest

import plenar as P
from conftest import bits

NAMESPACE = {**vars(P), "inf": math.inf, "nan": math.nan}


def fields(value):
    return tuple(value)


@pytest.mark.parametrize(
    "make",
    [
        lambda r: P.CPoint3d(*r.uniform(-1e3, 1e3, 3)),
        lambda r: P.CVector3d(*r.uniform(-1e3, 1e3, 3)),
        lambda r: P.CUnitVector3d(*r.uniform(-1, 1, 3)),
        lambda r: P.CPoint4d(*r.uniform(-1, 1, 4)),
        lambda r: P.CVector4d(*r.uniform(-1, 1, 4)),
        lambda r: P.Quaternion(*r.uniform(-1, 1, 4)),
        lambda r: P.CPlane(*r.uniform(-1, 1, 4)),
        lambda r: P.CRange(*sorted(r.uniform(-1, 1, 2))),
        lambda r: P.CPoint2d(*r.uniform(-1, 1, 2)),
        lambda r: P.CVector2d(*r.uniform(-1, 1, 2)),
        lambda r: P.CPoint2f(*r.uniform(-1, 1, 2)),
        lambda r: P.CVector2f(*r.uniform(-1, 1, 2)),
        lambda r: P.CRect2f(*r.uniform(-1, 1, 4)),
        lambda r: P.AffineTransform(*r.uniform(-1, 1, 6)),
    ],
)
def test_sequence_types_round_trip_bit_for_bit(make, rng):
    for _ in range(20):
        value = make(rng)
        kind = type(value)
        expected = bits(fields(value))
        # Tuple, NumPy array, repr (shortest round-trip text), copies and pickles keep
        # every bit; unit vectors and planes renormalise when constructed, as in C++.
        if kind not in (P.CUnitVector3d, P.CPlane):
            assert bits(fields(kind(tuple(value)))) == expected
            assert bits(fields(eval(repr(value), NAMESPACE))) == expected
        assert bits(np.asarray(value)) == expected
        assert bits(fields(copy.copy(value))) == expected
        assert bits(fields(copy.deepcopy(value))) == expected
        assert bits(fields(pickle.loads(pickle.dumps(value)))) == expected
        assert len(value) == len(expected) // 8 and value[-1] == tuple(value)[-1]
        with pytest.raises(IndexError):
            value[len(value)]


def test_unit_vector_and_plane_construction_normalise_as_in_cpp():
    u = P.CUnitVector3d((3, 0, 4))
    assert tuple(u) == (3 * (1 / 5), 0.0, 4 * (1 / 5))  # multiplied by 1/L
    assert P.CUnitVector3d(np.array([0.0, 0.0, 0.0])).IsValid() is False
    # Stored components survive pickling untouched, as the C++ fields would.
    raw = P.CUnitVector3d.FromComponents(2.0, 0.0, 0.0)
    assert tuple(pickle.loads(pickle.dumps(raw))) == (2.0, 0.0, 0.0)
    assert tuple(P.CPlane(0, 0, 2, 4)) == (0.0, 0.0, 1.0, 2.0)
    assert tuple(P.CPlane(0, 0, 0, 4)) == (0.0, 0.0, 0.0, 4.0)


def test_repr_prints_special_values_readably():
    assert repr(P.CPoint3d(math.inf, -math.inf, math.nan)) == "CPoint3d(inf, -inf, nan)"
    assert repr(P.CPoint3d(1e30, -0.0, 5e-324)) == "CPoint3d(1e+30, -0.0, 5e-324)"
    assert repr(P.CPoint2f(0.1, 2)) == "CPoint2f(0.1, 2.0)"  # shortest float text, not 0.10000000149


def test_structured_types_round_trip(rng):
    t = P.CTransformation.Rotate(P.CPoint3d(1, 2, 3), P.CUnitVector3d(1, 1, 0), 0.7) * P.CTransformation.Scale(1.5)
    for other in (copy.copy(t), pickle.loads(pickle.dumps(t)), P.CTransformation(t)):
        assert bits(other.matrix) == bits(t.matrix) and bits(other.translation) == bits(t.translation)
        assert (other.scale, other.isIdentity, other.isOrthogonal) == (t.scale, t.isIdentity, t.isOrthogonal)
    # The column-major 4x4 exchange form and back (flags become neither).
    m16 = t.GetMatrix()
    assert m16[15] == 1.0 / t.scale and np.array_equal(m16[12:15], t.translation)
    back = P.CTransformation(m16.reshape(4, 4))
    assert not back.isOrthogonal and back == t
    t.matrix = np.eye(3)
    assert np.array_equal(t.matrix, np.eye(3)) and t.isOrthogonal  # flags are hints, not recomputed

    box = P.CBoundingBox3d(np.array([[0.0, -1, 2], [1, 0, 3]]))
    assert np.array_equal(np.asarray(box), [[0.0, -1, 2], [1, 0, 3]])
    assert np.array_equal(pickle.loads(pickle.dumps(box)).ToArray(), box.ToArray())
    assert (box.x.min, box.x.max, box.z.max) == (0.0, 1.0, 3.0)
    assert P.CBoundingBox3d().IsEmpty() and tuple(P.CBoundingBox3d().x) == (1e30, -1e30)

    q = P.Quaternion(0.5, P.CUnitVector3d(0, 0, 1))
    assert np.allclose(P.Quaternion.FromMatrix(q.Set()).Set(), q.Set(), atol=1e-15)
    curve = P.CBezier3d(rng.uniform(-1, 1, (4, 3)))
    assert bits(P.CBezier3d(curve.ToArray()).ToArray()) == bits(curve.ToArray())
    cubic = P.CCubicBezier2f(rng.uniform(-1, 1, (4, 2)).astype(np.float32))
    assert P.CCubicBezier2f(cubic.ToArray()).ToArray().tobytes() == cubic.ToArray().tobytes()
    poly = P.CPolygon2d(np.array([[0.0, 0], [1, 0], [1, 1]]))
    assert np.array_equal(copy.copy(poly).points, poly.points) and poly.GetSignedArea() == 0.5


def test_output_parameters_become_return_values():
    plane = P.CPlane(0, 0, 1, 0)
    assert plane.IntersectWith(P.CRay3d((0, 0, 5), (1, 0, 0))) is None  # parallel
    hit = plane.IntersectWith(P.CRay3d((0, 0, 5), (0, 0, -1)))
    assert tuple(hit) == (0.0, 0.0, 0.0)
    assert P.CRange(0, 1).Overlaps(P.CRange(1, 2)) is None
    assert tuple(P.CRange(0, 1).Overlaps(P.CRange(0.5, 2))) == (0.5, 1.0)
    ok, x, y = P.CUnitVector3d(0, 0, 1).GetArbitraryAxes()
    assert ok and tuple(x * y) == (0.0, 0.0, 1.0)
    ok, x, y = P.CUnitVector3d().GetArbitraryAxes()
    assert not ok and not x.IsValid() and not y.IsValid()
    assert P.SegmentsIntersect((0, 0, 0), (1, 0, 0), (0, 1, 0), (1, 1, 0)) is None
    assert tuple(P.SegmentsIntersect((0, 0, 0), (2, 0, 0), (1, -1, 0), (1, 1, 0))) == (1.0, 0.0, 0.0)
    side = P.CRay3d((0.5, 0.5, -3), (0, 0, 1)).IntersectWith(P.CBoundingBox3d((0, 0, 0), (1, 1, 1)))
    assert tuple(side[0]) == (0.5, 0.5, 0.0) and side[1] == P.MinZ
    assert P.CRay3d((5, 5, 5), (0, 0, 1)).IntersectWith(P.CBoundingBox3d((0, 0, 0), (1, 1, 1))) is None
    assert P.CMatrix4x4(np.zeros(16)).GetInverse() is None


def test_operators_follow_cpp():
    a, b = P.CVector3d(1, 0, 0), P.CVector3d(0, 1, 0)
    assert tuple(a * b) == (0.0, 0.0, 1.0)  # cross product
    assert P.Dot(a, b) == 0.0 and tuple(2.0 * a - b) == (2.0, -1.0, 0.0)
    p = P.CPoint3d(1, 1, 1)
    p += a
    assert tuple(p) == (2.0, 1.0, 1.0) and isinstance(p - P.CPoint3d(), P.CVector3d)
    shift = P.CTransformation.Translate(P.CVector3d(1, 0, 0))
    turn = P.CTransformation.Rotate(P.CPoint3d(), P.CUnitVector3d(0, 0, 1), math.pi / 2)
    # In a * b, b is applied first.
    assert tuple(round(c, 12) for c in (shift * turn) * P.CPoint3d(1, 0, 0)) == (1.0, 1.0, 0.0)
    assert tuple(round(c, 12) for c in (turn * shift) * P.CPoint3d(1, 0, 0)) == (0.0, 2.0, 0.0)
    # C++ has no == on points: Python's identity comparison remains.
    assert P.CPoint3d(0, 0, 0) != P.CPoint3d(0, 0, 0)
