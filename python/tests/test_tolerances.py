import subprocess
import sys

import pytest

import plenar as P


def test_equal_tol_is_read_live_and_the_squared_value_stays():
    a, b = P.CVector3d(0, 0, 0), P.CVector3d(0.004, 0, 0)
    assert P.EqualTol == 0.001 and P.EqualTolSq == 1e-6
    assert not a == b
    P.EqualTol = 0.004
    # The library's global changed: CVector3d == is inclusive at EqualTol.
    assert a == b
    assert P.EqualTolSq == 1e-6
    # Tests on squared lengths keep the load-time tolerance: CPoint2d.Equals is
    # |d| < EqualTol and dx*dx + dy*dy < EqualTolSq.
    assert not P.CPoint2d(0, 0).Equals(P.CPoint2d(0.002, 0))
    P.EqualTol = 0.001
    assert not a == b


def test_strictness_follows_the_new_value_at_the_boundary():
    # Dyadic values make both senses of each comparison observable.
    P.EqualTol = 0.25
    p = P.CPoint3d(0, 0, 0)
    ray = P.CRay3d(P.CPoint3d(0, 0.25, 0), P.CUnitVector3d(1, 0, 0))
    assert not p.IsOn(ray)  # strict: distance 0.25 is not < 0.25
    assert P.CRange(0, 1).Contains(1.2) and not P.CRange(0, 1).Contains(1.25)
    P.EqualTol = 0.375
    assert p.IsOn(ray)


def test_float_tolerance_and_read_only_squares():
    P.EqualTolF = 0.1
    assert P.EqualTolF == pytest.approx(0.1, rel=1e-7) and P.EqualTolF != 0.1  # narrowed to float
    for name in ("EqualTolSq", "EqualTolSqF"):
        before = getattr(P, name)
        with pytest.raises(AttributeError, match="read-only"):
            setattr(P, name, 1.0)
        assert getattr(P, name) == before
    with pytest.raises(TypeError):
        P.EqualTol = "0.1"
    assert P.DivideByZeroTol == 1e-10 and P.DivideByZeroTolSq == 1e-20


def test_a_change_is_seen_by_a_fresh_import_in_the_same_process():
    P.EqualTol = 0.5
    import importlib

    again = importlib.import_module("plenar")
    assert again.EqualTol == 0.5


def test_identity():
    assert P.PlenarVersionString.startswith("@(#)PROGRAM:Plenar")
    assert P.PlenarVersionString.endswith(f"plenar-{P.__version__}\n")
    assert P.PlenarVersionNumber == 16.0 and P.PLENAR_VERSION_MAJOR == 16


def test_globals_start_at_their_load_values_in_a_new_interpreter():
    out = subprocess.run(
        [sys.executable, "-c", "import plenar as P; print(P.EqualTol, P.EqualTolSq, P.EqualTolF, P.EqualTolSqF)"],
        capture_output=True,
        text=True,
        check=True,
    )
    tol, tol_sq, tol_f, tol_sq_f = map(float, out.stdout.split())
    assert (tol, tol_sq) == (0.001, 1e-6)
    assert tol_f == pytest.approx(0.001, rel=1e-7) and tol_sq_f == pytest.approx(1e-6, rel=1e-6)
