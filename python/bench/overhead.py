# SPDX-License-Identifier: Apache-2.0
"""How long calls take on one triangle, beside a call of Python that does nothing.

    PYTHONPATH=build/release/python python3 python/bench/overhead.py
"""

import timeit
from typing import Callable, Dict

import numpy as np

import tessel2d as t

pos = np.array([[0.0, 0, 0], [1, 0, 0], [1, 1, 0]])
plane = pos[:, :2].copy()
connect = np.array([[0, 1, 2]], np.uint32)
connect64 = connect.astype(np.int64)

calls: Dict[str, Callable[[], object]] = {
    "nothing": lambda: None,
    "area": lambda: t.area(plane, connect),
    "flip": lambda: t.flip(connect),
    "circumcenters": lambda: t.circumcenters(plane, connect),
    "normals": lambda: t.normals(pos, connect),
    "angles": lambda: t.angles(plane, connect),
    "area, integers of 64 bits": lambda: t.area(plane, connect64),
}


def microseconds(call: Callable[[], object], number: int = 20000) -> float:
    """The least of several rounds."""
    return min(timeit.repeat(call, number=number, repeat=15)) / number * 1e6


if __name__ == "__main__":
    for name, call in calls.items():
        print(f"{name:28}{microseconds(call):8.3f} us")
