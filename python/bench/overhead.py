# SPDX-License-Identifier: Apache-2.0
"""How long calls take on one triangle, beside a call of Python that does nothing.

    PYTHONPATH=build/release/python python3 python/bench/overhead.py

Rounds are short and take turns, so that each call has undisturbed ones also on a machine that is busy.
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


def microseconds(number: int = 2000, rounds: int = 40) -> Dict[str, float]:
    """The least of several rounds, for each call."""
    least = {name: float("inf") for name in calls}
    for _ in range(rounds):
        for name, call in calls.items():
            least[name] = min(least[name], timeit.timeit(call, number=number) / number * 1e6)
    return least


if __name__ == "__main__":
    for name, time in microseconds().items():
        print(f"{name:28}{time:8.3f} us")
