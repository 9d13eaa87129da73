#!/usr/bin/env python3
"""Picking with a rectangle in a 3D view, from Python.

The scene of the C++ picking example (250 instances placed by rotations,
translations and scales, 100,000 boxes and their 1.2 million edges) is built with
NumPy from the same seeded generator, so that it holds the same numbers. The pick
volume comes from the same camera and screen rectangle. The pick uses the bulk
calls: the instances' world boxes are tested against the volume in one call; each
instance that straddles the volume gets a clone of the volume moved into its own
coordinates by the inverse placement, all its boxes are tested in one call, and
the edges of the boxes that straddle a face are tested in one more. A brute-force
pass over every edge in world coordinates checks the answer.

Run it with the module on the path, for example
    PYTHONPATH=build/release/python/module python3 examples/pick.py
"""
import math
import sys
import time

import numpy as np

import plenar as P

MASK64 = (1 << 64) - 1
GAMMA = 0x9E3779B97F4A7C15


def splitmix64(seed, count):
    """The first `count` outputs of splitmix64 from `seed`: output k depends only on
    seed + (k + 1) * GAMMA, so the whole stream is computed at once."""
    k = np.arange(1, count + 1, dtype=np.uint64)
    with np.errstate(over="ignore"):
        z = np.uint64(seed & MASK64) + k * np.uint64(GAMMA)
        z = (z ^ (z >> np.uint64(30))) * np.uint64(0xBF58476D1CE4E5B9)
        z = (z ^ (z >> np.uint64(27))) * np.uint64(0x94D049BB133111EB)
        return z ^ (z >> np.uint64(31))


def uniform(u, lo, hi):
    """lo + (hi - lo) * (53 random bits / 2**53), in the generator's order of operations."""
    return lo + (hi - lo) * ((u >> np.uint64(11)).astype(np.float64) * 2.0**-53)


class Scene:
    """Boxes (n, 2, 3) in their instance's coordinates, the box range of each group
    and instance, and each instance's placement and world box."""


def make_scene(instances=250, groups=20, boxes=20, seed=2024):
    cell = 6.0
    cell_columns = math.ceil(math.sqrt(groups))
    grid_columns = math.ceil(math.sqrt(instances))
    spacing = cell_columns * cell * 1.6
    per_instance = groups * boxes * 6 + 4
    draws = splitmix64(seed, instances * per_instance).reshape(instances, per_instance)

    # Six draws per box: low x, y, z, then the extents along x, y, z.
    d = draws[:, : groups * boxes * 6].reshape(instances, groups, boxes, 6)
    g = np.arange(groups)
    cx = ((g % cell_columns) * cell)[None, :, None]
    cy = ((g // cell_columns) * cell)[None, :, None]
    low = np.stack(
        [cx + uniform(d[..., 0], 0.0, cell - 1.5), cy + uniform(d[..., 1], 0.0, cell - 1.5), uniform(d[..., 2], 0.0, 3.0)],
        axis=-1,
    )
    high = np.stack(
        [
            low[..., 0] + uniform(d[..., 3], 0.2, 1.5),
            low[..., 1] + uniform(d[..., 4], 0.2, 1.5),
            low[..., 2] + uniform(d[..., 5], 0.2, 2.5),
        ],
        axis=-1,
    )
    scene = Scene()
    scene.boxes = np.stack([low, high], axis=-2).reshape(-1, 2, 3)
    grouped = scene.boxes.reshape(instances, groups, boxes, 2, 3)
    scene.group_bounds = np.stack([grouped[..., 0, :].min(axis=2), grouped[..., 1, :].max(axis=2)], axis=-2)
    scene.instance_bounds = np.stack(
        [scene.group_bounds[..., 0, :].min(axis=1), scene.group_bounds[..., 1, :].max(axis=1)], axis=-2
    )
    scene.boxes_per_instance = groups * boxes

    # Four draws per instance: height, turn, tilt and scale. Scale first, then tilt
    # about x, turn about z, and move into place.
    tail = draws[:, groups * boxes * 6 :]
    origin = P.CPoint3d(0, 0, 0)
    scene.placements = []
    scene.world_bounds = np.empty((instances, 2, 3))
    world = P.CBoundingBox3d()
    for i in range(instances):
        at = P.CVector3d((i % grid_columns) * spacing, (i // grid_columns) * spacing, float(uniform(tail[i, 0], 0.0, 5.0)))
        turn = float(uniform(tail[i, 1], 0.0, 6.283185307179586))
        tilt = float(uniform(tail[i, 2], -0.3, 0.3))
        scale = float(uniform(tail[i, 3], 0.6, 1.4))
        placement = (
            P.CTransformation.Translate(at)
            * P.CTransformation.Rotate(origin, P.CUnitVector3d(0, 0, 1), turn)
            * P.CTransformation.Rotate(origin, P.CUnitVector3d(1, 0, 0), tilt)
            * P.CTransformation.Scale(scale)
        )
        scene.placements.append(placement)
        box = placement * P.CBoundingBox3d(scene.instance_bounds[i])
        scene.world_bounds[i] = box.ToArray()
        world += box
    scene.world = world
    return scene


def pick_volume(scene, rect):
    """The example's camera above and to the side of the scene, and the pick volume of
    a screen rectangle (left, bottom, right, top) in pixels: four planes through the
    eye and the rectangle's sides, then near and far, normals pointing out."""
    centre = scene.world.GetCenter()
    size = scene.world.GetDiagonal()
    eye = centre + P.CVector3d(-0.3 * size, -0.5 * size, 0.55 * size)
    forward = P.CUnitVector3d(centre - eye)
    camera_up = P.CUnitVector3d(0, 0, 1)
    field_of_view = 50.0 * 3.141592653589793 / 180.0
    width, height, near, far = 1280.0, 720.0, 0.1, 3.0 * size

    right = P.CUnitVector3d(forward * camera_up)
    up = P.CUnitVector3d(right * forward)
    tan_y = math.tan(0.5 * field_of_view)
    tan_x = tan_y * width / height

    def ray(px, py):
        nx, ny = 2.0 * px / width - 1.0, 2.0 * py / height - 1.0
        return P.CVector3d(forward) + P.CVector3d(nx * tan_x, right) + P.CVector3d(ny * tan_y, up)

    left, bottom, rright, top = rect
    bl, br, tl, tr = ray(left, bottom), ray(rright, bottom), ray(left, top), ray(rright, top)
    middle = ray(0.5 * (left + rright), 0.5 * (bottom + top))
    inside = eye + middle * (0.5 * (near + far))

    def side(a, b):
        plane = P.CPlane(eye, P.CUnitVector3d(a * b))
        if plane.SignedDistance(inside) > 0.0:
            plane.Reverse()
        return plane

    near_plane = P.CPlane(eye + P.CVector3d(near, forward), -forward)
    far_plane = P.CPlane(eye + P.CVector3d(far, forward), forward)
    return P.CGeomFilterCrossingVolume(side(bl, tl), side(br, tr), side(bl, br), side(tl, tr), near_plane, far_plane)


# The twelve edges of a box as pairs of corner numbers (bit 1 max x, 2 max y, 4 max z).
EDGES = [(i, i | bit) for i in range(8) for bit in (1, 2, 4) if not i & bit]


def box_edges(boxes):
    """The (12 n, 2, 3) segments of the edges of (n, 2, 3) boxes, box by box."""
    corners = np.empty((len(boxes), 8, 3))
    for c in range(8):
        for axis, bit in enumerate((1, 2, 4)):
            corners[:, c, axis] = boxes[:, 1 if c & bit else 0, axis]
    ends = np.array(EDGES)
    return np.stack([corners[:, ends[:, 0]], corners[:, ends[:, 1]]], axis=2).reshape(-1, 2, 3)


def pick(scene, volume):
    """Ids (ascending) of the boxes with an edge in or across the volume, by the bulk
    calls, instance by instance in the instance's own coordinates."""
    picked = []
    stats = {"instances skipped": 0, "instances taken whole": 0, "instances opened": 0, "edges tested": 0}
    accepted, whole = P.TestBoxes(volume, scene.world_bounds)
    n = scene.boxes_per_instance
    for i, placement in enumerate(scene.placements):
        ids = np.arange(i * n, (i + 1) * n)
        if not accepted[i]:
            stats["instances skipped"] += 1
        elif whole[i]:
            stats["instances taken whole"] += 1
            picked.append(ids)
        else:
            stats["instances opened"] += 1
            local = volume.Clone()
            local.Transform(P.CTransformation.Inverse(placement))
            boxes = scene.boxes[i * n : (i + 1) * n]
            box_accepted, box_whole = local.TestBoxes(boxes)
            straddling = box_accepted & ~box_whole
            segments = box_edges(boxes[straddling])
            stats["edges tested"] += len(segments)
            hit = local.TestSegments(segments).reshape(-1, 12).any(axis=1)
            picked.append(ids[box_whole])
            picked.append(ids[straddling][hit])
    return np.sort(np.concatenate(picked)) if picked else np.empty(0, dtype=np.int64), stats


def pick_brute_force(scene, volume):
    """Every edge of every box placed in world coordinates and tested with the world volume."""
    n = scene.boxes_per_instance
    hits = []
    for i, placement in enumerate(scene.placements):
        segments = box_edges(scene.boxes[i * n : (i + 1) * n])
        world = placement.TransformPoints(segments.reshape(-1, 3)).reshape(-1, 2, 3)
        hits.append(P.TestSegments(volume, world).reshape(-1, 12).any(axis=1))
    return np.flatnonzero(np.concatenate(hits))


RECT = (520.0, 260.0, 800.0, 430.0)


def main():
    start = time.perf_counter()
    scene = make_scene()
    print(
        f"scene: {len(scene.placements)} instances, {len(scene.boxes)} boxes ({12 * len(scene.boxes)} edges), "
        f"built with NumPy in {1e3 * (time.perf_counter() - start):.1f} ms"
    )
    volume = pick_volume(scene, RECT)
    start = time.perf_counter()
    picked, stats = pick(scene, volume)
    pick_seconds = time.perf_counter() - start
    print("  ".join(f"{k}: {v}" for k, v in stats.items()))
    first = " ".join(str(i) for i in picked[:8])
    print(f"picked {len(picked)} boxes in {1e3 * pick_seconds:.3f} ms; first ids: {first}{' ...' if len(picked) > 8 else ''}")
    start = time.perf_counter()
    brute = pick_brute_force(scene, volume)
    brute_seconds = time.perf_counter() - start
    same = np.array_equal(brute, picked)
    print(
        f"brute force over all {12 * len(scene.boxes)} edges in world coordinates: {len(brute)} boxes in "
        f"{1e3 * brute_seconds:.3f} ms; {'same answer' if same else 'DIFFERENT ANSWER'}"
    )
    return 0 if same else 1


if __name__ == "__main__":
    sys.exit(main())
