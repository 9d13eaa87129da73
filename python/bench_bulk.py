#!/usr/bin/env python3
"""The cost of calling the bulk calls from Python against the same C++ bulk call.

For 1M points transformed by a general placement and 1M boxes tested against a
pick volume, it times the Python call (array checks, conversion, the output arrays,
the C++ call with the GIL released) and plenar.timing's C++ timing of the library
call alone on data already in the library's layout. Fixed seed, inputs made before
timing, best of several runs; prints ns per item and the ratio (target: 1.5 or less).

    PYTHONPATH=build/release/python/module python3 python/bench_bulk.py
"""
import sys
import time

import numpy as np

import plenar as P

N = 1_000_000
REPEATS = 7


def best_seconds(call):
    best = float("inf")
    for _ in range(REPEATS):
        start = time.perf_counter()
        call()
        best = min(best, time.perf_counter() - start)
    return best


def report(name, python_seconds, cpp_seconds):
    ratio = python_seconds / cpp_seconds
    print(
        f"{name:<26} python {1e9 * python_seconds / N:7.2f} ns/item   C++ {1e9 * cpp_seconds / N:7.2f} ns/item   "
        f"ratio {ratio:5.2f}"
    )
    return ratio


def main():
    rng = np.random.default_rng(1234)
    points = rng.uniform(-100.0, 100.0, (N, 3))
    low = rng.uniform(-100.0, 100.0, (N, 3))
    boxes = np.stack([low, low + rng.uniform(0.1, 5.0, (N, 3))], axis=1)

    placement = P.CTransformation.Translate(P.CVector3d(3, -2, 7)) * P.CTransformation.Rotate(
        P.CPoint3d(1, 2, 3), P.CUnitVector3d(1, 1, 1), 0.7
    ) * P.CTransformation.Scale(1.25)
    out = np.empty_like(points)
    volume = P.CGeomFilterCrossingVolume(
        [P.CPlane(1, 0.1, 0, -40), P.CPlane(-1, 0, 0.1, -40), P.CPlane(0, 1, 0, -40), P.CPlane(0.1, -1, 0, -40),
         P.CPlane(0, 0, 1, -40), P.CPlane(0, 0.1, -1, -40)]
    )

    ratios = [
        report(
            "TransformPoints (new)",
            best_seconds(lambda: placement.TransformPoints(points)),
            P.timing.TransformPoints(placement, points, REPEATS),
        ),
        report(
            "TransformPoints (out=)",
            best_seconds(lambda: placement.TransformPoints(points, out=out)),
            P.timing.TransformPoints(placement, points, REPEATS),
        ),
        report(
            "TestBoxes",
            best_seconds(lambda: P.TestBoxes(volume, boxes)),
            P.timing.TestBoxes(volume, boxes, REPEATS),
        ),
    ]
    worst = max(ratios)
    print(f"worst ratio {worst:.2f} ({'within' if worst <= 1.5 else 'above'} the 1.5 target)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
