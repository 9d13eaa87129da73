import os
import sys

import numpy as np
import pytest

import plenar

# examples/pick.py holds the NumPy scene generator the pick test shares.
sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "examples"))


@pytest.fixture(autouse=True)
def restore_tolerances():
    """Every test starts and ends with the library's default tolerances."""
    saved = plenar.EqualTol, plenar.EqualTolF
    yield
    plenar.EqualTol, plenar.EqualTolF = saved


@pytest.fixture
def rng():
    return np.random.default_rng(20240611)


def bits(a):
    """The exact bytes of an array or a sequence of floats, NaN payloads included."""
    return np.ascontiguousarray(np.asarray(a, dtype=np.float64)).tobytes()


def hostile_doubles(rng, shape):
    """Random coordinates with a sprinkling of the values that break careless code."""
    values = rng.uniform(-10.0, 10.0, size=shape)
    specials = np.array([np.nan, np.inf, -np.inf, 0.0, -0.0, 1e30, -1e30, 5e-324])
    mask = rng.random(shape) < 0.05
    values[mask] = rng.choice(specials, size=mask.sum())
    return values
