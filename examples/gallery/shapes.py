# SPDX-License-Identifier: Apache-2.0
"""What the programs of the gallery begin with: an outline, a profile, a grid and a hill; and their checksum."""

import zlib

import numpy as np
import tessel2d


def outline(m, n):
    """2*(m + n) nodes around a patch with bent sides, and the closed loop of their numbers."""

    def bend(t):
        return 0.4 * t * (1 - t)

    nodes = [(1.4 * k / m, bend(1.0 * k / m)) for k in range(m)]
    nodes += [(1.4 + bend(1.0 * k / n), 1.0 * k / n) for k in range(n)]
    nodes += [(1.4 - 1.4 * k / m, 1 + bend(1.0 * k / m)) for k in range(m)]
    nodes += [(bend(1.0 * k / n), 1 - 1.0 * k / n) for k in range(n)]
    return np.array(nodes), np.array([*range(len(nodes)), 0], dtype=np.uint32)


def square(n):
    """The nodes and the loop around the unit square, n cells along each side."""
    t = [1.0 * k / n for k in range(n)]
    nodes = [(s, 0.0) for s in t] + [(1.0, s) for s in t] + [(1 - s, 1.0) for s in t] + [(0.0, 1 - s) for s in t]
    return np.array(nodes), np.array([*range(4 * n), 0], dtype=np.uint32)


def grid_of_quads(n):
    pos, loop = square(n)
    return tessel2d.mesh_struct_Q4(pos, loop, n)


def grid_of_triangles(n):
    pos, loop = square(n)
    return tessel2d.mesh_struct_T3(pos, loop, n, pattern=2)


def lift(pos):
    """The unit square lifted to a hill in space."""
    x, y = pos[:, 0], pos[:, 1]
    return np.column_stack([x, y, 8 * x * (1 - x) * y * (1 - y) + 0.2 * x * x])


def profile(n):
    """A chain of n edges over the unit interval, bent upward."""
    pos = np.array([(1.0 * k / n, 0.6 * (1.0 * k / n) * (1.0 * k / n)) for k in range(n + 1)])
    return pos, np.array([(k, k + 1) for k in range(n)], dtype=np.uint32)


def print_checksum(name, *results):
    """Prints what the program of the same name in C++ prints."""
    checksum = 0
    for result in results:
        checksum = zlib.crc32(np.ascontiguousarray(result).tobytes(), checksum)
    print(f"{name} {checksum:08x}")
