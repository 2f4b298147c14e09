# SPDX-License-Identifier: Apache-2.0
"""Reads a scanned surface from an STL file, repairs its orientation, computes curvatures and shows them.

    python3 scan.py [scan.stl [picture.png]]

Without a file it makes a scan of its own: a torus with noise, every seventh triangle of which is turned
over. Without the name of a picture it opens a window.
"""

import sys
import tempfile
from pathlib import Path

import numpy as np
from matplotlib import pyplot

import tessel2d as t
from tessel2d import host, io, plot


def made_up_scan(path: Path) -> None:
    """A torus with radii 2 and 1."""
    n = 48
    angle = np.arange(n) * 2 * np.pi / n
    circle = np.column_stack([2 + np.cos(angle), np.zeros(n), np.sin(angle)])
    edges = np.column_stack([np.arange(n), np.roll(np.arange(n), -1)])
    around = (0.0, 0.0, -2 * np.pi)
    torus = t.extrude_rotate_T3(circle, edges, (0.0, 0.0, 0.0), around, layers=2 * n, pattern=2)
    # A full turn is not closed; fused nodes close it.
    pos, connect, _ = host.merge(torus.pos, torus.connect, 1e-9)
    pos += np.random.default_rng(0).normal(0, 0.002, pos.shape)
    connect[::7] = connect[::7, ::-1]
    io.write(path, (pos, connect))


def main(scan: Path, picture: str) -> None:
    # 1. Read: an STL file holds single triangles, whose corners are fused to nodes.
    soup = io.read(scan)
    print(f"{len(soup.connect)} triangles, {len(soup.pos)} nodes, {soup.fused} corners fused")

    # 2. Repair: all triangles like the first one, then outward.
    beside = host.adjacency(soup.connect, len(soup.pos))
    connect, neighbors, turned, conflict = t.mesh_reorient(soup.connect, beside.neighbors)
    print(f"{turned} triangles turned over{', not orientable' if conflict else ''}")
    a, b, c = (soup.pos[connect[:, k]] for k in range(3))
    volume = float(np.einsum("ij,ij", a, np.cross(b, c))) / 6
    if volume < 0:
        flipped = t.flip(connect, neighbors=neighbors)
        assert isinstance(flipped, t.Flipped)
        connect, neighbors = flipped
    print(f"area {t.area(soup.pos, connect):.3f}, volume {abs(volume):.3f}")

    # 3. Curvatures, over patches some edges wide.
    edge = float(np.sqrt(t.area(soup.pos, connect) / len(connect)) * 1.5)
    found = t.principal_curvatures(soup.pos, connect, 3 * edge, neighbors=neighbors)
    mean = (found.k1 + found.k2) / 2
    print(f"mean curvature from {mean.min():.3f} to {mean.max():.3f}")

    # 4. Show.
    low, high = np.quantile(mean, [0.02, 0.98])
    plot.field(soup.pos, connect, mean, cmap="coolwarm", vmin=low, vmax=high, label="mean curvature")
    if picture:
        pyplot.savefig(picture, dpi=120)
    else:
        pyplot.show()


if __name__ == "__main__":
    arguments = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        path = Path(arguments[0]) if arguments else Path(folder) / "scan.stl"
        if not arguments:
            made_up_scan(path)
        main(path, arguments[1] if len(arguments) > 1 else "")
