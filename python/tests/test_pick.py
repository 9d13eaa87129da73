"""The pick of examples/pick.py (scene built with NumPy, bulk calls) against the C++
picking example's own scene, pick volume and hierarchical walk.

How the two are matched: examples/pick.py rebuilds the example's scene from the same
splitmix64 stream (output k depends only on seed + (k + 1) * gamma, so NumPy computes
it in one go) with the same draws in the same order and the same arithmetic, and the
placements and pick volume with the library's own types. The reference module runs
examples/picking_scene.h in C++. The scenes and volumes must agree bit for bit, and
then the boxes picked must be the same ids."""
import numpy as np
import pytest

import plenar as P

pick = pytest.importorskip("pick")
reference = pytest.importorskip("plenar_picking_reference")

CASES = [
    ((250, 20, 20, 2024), (520.0, 260.0, 800.0, 430.0)),  # the example's own scene and rectangle
    ((12, 7, 9, 99), (0.0, 0.0, 640.0, 720.0)),
    ((30, 10, 20, 7), (600.0, 300.0, 610.0, 310.0)),
]


@pytest.mark.parametrize("size, rect", CASES)
def test_python_pick_equals_the_cpp_example(size, rect):
    scene = pick.make_scene(*size)
    cpp = reference.scene(*size)
    assert scene.boxes.tobytes() == cpp["boxes"].tobytes()
    assert scene.group_bounds.reshape(-1, 2, 3).tobytes() == cpp["groupBounds"].tobytes()
    assert scene.world_bounds.tobytes() == cpp["worldBounds"].tobytes()
    rows = np.array([np.concatenate([t.matrix.ravel(), t.translation, [t.scale]]) for t in scene.placements])
    assert rows.tobytes() == cpp["placements"].tobytes()

    volume = pick.pick_volume(scene, rect)
    planes, walked, brute = reference.pick(*size, *rect)
    assert np.array([tuple(p) for p in volume.planes]).tobytes() == planes.tobytes()

    picked, stats = pick.pick(scene, volume)
    assert picked.tolist() == walked
    assert pick.pick_brute_force(scene, volume).tolist() == brute
    assert stats["instances opened"] > 0 or not walked


def test_the_example_pick_is_neither_empty_nor_everything():
    scene = pick.make_scene()
    picked, stats = pick.pick(scene, pick.pick_volume(scene, pick.RECT))
    assert 0 < len(picked) < len(scene.boxes)
    assert stats["instances taken whole"] > 0 and stats["instances skipped"] > 0 and stats["edges tested"] > 0
