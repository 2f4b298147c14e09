# SPDX-License-Identifier: Apache-2.0
"""Patches, disks and spheres from their outlines."""

from __future__ import annotations

from typing import Union

from . import _native
from ._results import ArrayLike, Disk, Mesh, Reals, Sphere


def mesh_struct_Q4(pos: ArrayLike, boundary: ArrayLike, n: int) -> Mesh:
    """Fills a four-sided patch with a structured grid of quadrilaterals.

    pos       (N, 2) or (N, 3) coordinates.
    boundary  (2*(m+n) + 1,) node numbers: the closed loop bottom, right, top, left; first and last are
              equal. Counterclockwise loops give counterclockwise elements.
    n         cells along left and right; m, those along bottom and top, follows from the length.

    Returns Mesh(pos, connect): the (m-1)*(n-1) nodes inside stand behind the given ones, which keep
    their values; connect is (m*n, 4).

    Raises Error: -1 pos has neither 2 nor 3 columns; -2 the loop is too short, not closed or names a node
    that does not exist; -3 n does not fit its length. MemoryError.

    >>> pos = [[0, 0], [1, 0], [2, 0], [2, 1], [2, 2], [1, 2], [0, 2], [0, 1]]
    >>> mesh = mesh_struct_Q4(pos, [0, 1, 2, 3, 4, 5, 6, 7, 0], 2)
    >>> mesh.pos[8].tolist(), mesh.connect[0].tolist()
    ([1.0, 1.0], [0, 1, 8, 7])
    """
    return Mesh(*_native.mesh_struct_Q4(pos, boundary, n))


def mesh_struct_T3(
    pos: ArrayLike, boundary: ArrayLike, n: int, pattern: int = 0
) -> Mesh:
    """Fills a four-sided patch with a structured grid of triangles.

    pattern   the diagonals of the cells (a, b, c, d): 0 cuts b-d, 1 cuts a-c, 2 alternates like a chess
              board. The other arguments are those of `mesh_struct_Q4`.

    Returns Mesh(pos, connect), connect (2*m*n, 3). A loop of 2*n + 1 entries has no cell in the first
    direction: pos loses its last n - 1 nodes and connect is empty.

    Raises Error as `mesh_struct_Q4` does, and -4 pattern is not 0, 1 or 2.

    >>> pos = [[0, 0], [1, 0], [1, 1], [0, 1]]
    >>> mesh_struct_T3(pos, [0, 1, 2, 3, 0], 1).connect.tolist()
    [[0, 1, 3], [1, 2, 3]]
    """
    return Mesh(*_native.mesh_struct_T3(pos, boundary, n, pattern))


def metrics_struct(boundary: ArrayLike, n: int, metrics: ArrayLike) -> Reals:
    """Sizes for the nodes that `mesh_struct_Q4` and `mesh_struct_T3` put inside a patch.

    boundary  the loop of the patch, and n its cells, as for the mesh.
    metrics   (N,) sizes of the nodes, or (N, 3) tensors m00, m01, m11, or (N, 6) tensors m00, m01, m11,
              m02, m12, m22. 0 stands for no size.

    Returns metrics with the (m-1)*(n-1) entries of the nodes inside behind the given ones.

    Raises Error: -1 the loop is too short, not closed or names a node without an entry; -2 n does not fit
    its length; -3 metrics has neither 3 nor 6 columns. MemoryError.

    >>> metrics_struct([0, 1, 2, 3, 4, 5, 6, 7, 0], 2, [1, 1, 1, 2, 3, 3, 3, 2])[8:].tolist()
    [2.0]
    """
    return _native.metrics_struct(boundary, n, metrics)


def mesh_disk_Q4(center: ArrayLike = (0.0, 0.0), radius: float = 1.0, n: int = 8) -> Disk:
    """Meshes a disk with 12*n*n quadrilaterals: four quarters of three patches each.

    center    (2,); one that is farther away than about 1000 radii takes too many digits from the nodes.
    radius    in the unit of the nodes.
    n         cells along the side of a patch; the circle gets 8*n edges.

    Returns Disk(pos, connect, boundary): 12*n*n + 4*n + 1 nodes, counterclockwise elements, and the
    edges of the circle, counterclockwise from the point to the right of the centre.

    Raises MemoryError, also when the nodes outgrow 32-bit numbers.

    >>> disk = mesh_disk_Q4(n=2)
    >>> len(disk.pos), len(disk.connect), len(disk.boundary)
    (57, 48, 16)
    """
    return Disk(*_native.mesh_disk_Q4(center, radius, n))


def mesh_disk_T3(
    center: ArrayLike = (0.0, 0.0), radius: float = 1.0, n: int = 8, pattern: int = 0
) -> Disk:
    """Meshes a disk with 24*n*n triangles: `mesh_disk_Q4` with its elements cut.

    pattern   0, 1 or 2 as for `mesh_struct_T3`; it is not tested.

    >>> disk = mesh_disk_T3((1, 2), radius=0.5, n=2)
    >>> disk.pos.mean(axis=0).round(9).tolist(), disk.connect.shape
    ([1.0, 2.0], (96, 3))
    """
    return Disk(*_native.mesh_disk_T3(center, radius, n, pattern))


def mesh_disk_UR_Q4(
    center: ArrayLike = (0.0, 0.0), radius: float = 1.0, n: int = 8
) -> Disk:
    """Meshes the upper right quarter of a disk with 3*n*n quadrilaterals.

    Arguments are those of `mesh_disk_Q4`. Returns Disk(pos, connect, boundary): 3*n*(n+1) + 1 nodes, and
    the 6*n edges around the quarter, the first 2*n of them on the arc.

    >>> mesh_disk_UR_Q4(n=1).connect.tolist()
    [[0, 1, 2, 3], [1, 4, 5, 2], [2, 5, 6, 3]]
    """
    return Disk(*_native.mesh_disk_UR_Q4(center, radius, n))


def mesh_disk_UR_T3(
    center: ArrayLike = (0.0, 0.0), radius: float = 1.0, n: int = 8, pattern: int = 0
) -> Disk:
    """Meshes the upper right quarter of a disk with 6*n*n triangles; see `mesh_disk_UR_Q4`.

    >>> mesh_disk_UR_T3(n=3).connect.shape
    (54, 3)
    """
    return Disk(*_native.mesh_disk_UR_T3(center, radius, n, pattern))


def mesh_sphere_Q4(
    center: ArrayLike = (0.0, 0.0, 0.0),
    radius: float = 1.0,
    n: int = 8,
    circles: bool = False,
) -> Union[Mesh, Sphere]:
    """Meshes a sphere with 24*n*n quadrilaterals, counterclockwise when seen from outside.

    center    (3,); one that is farther away than about 1000 radii takes too many digits from the nodes.
    radius    in the unit of the nodes.
    n         cells along the side of a patch; a great circle has 8*n edges.
    circles   True: the great circles in the planes z and y of the centre come as edges.

    Returns Mesh(pos, connect) of 24*n*n + 2 nodes, or Sphere(pos, connect, circle_z, circle_y).

    Raises MemoryError, also when the nodes outgrow 32-bit numbers.

    >>> sphere = mesh_sphere_Q4(n=2, circles=True)
    >>> len(sphere.pos), len(sphere.connect), len(sphere.circle_z)
    (98, 96, 16)
    """
    made = _native.mesh_sphere_Q4(center, radius, n, circles)
    return Sphere(*made) if circles else Mesh(*made)


def mesh_sphere_T3(
    center: ArrayLike = (0.0, 0.0, 0.0),
    radius: float = 1.0,
    n: int = 8,
    pattern: int = 0,
    circles: bool = False,
) -> Union[Mesh, Sphere]:
    """Meshes a sphere with 48*n*n triangles: `mesh_sphere_Q4` with its elements cut.

    pattern   0, 1 or 2 as for `mesh_struct_T3`; it is not tested.

    >>> mesh_sphere_T3(radius=2, n=3).connect.shape
    (432, 3)
    """
    made = _native.mesh_sphere_T3(center, radius, n, pattern, circles)
    return Sphere(*made) if circles else Mesh(*made)


def mesh_sphere_UR_Q4(
    center: ArrayLike = (0.0, 0.0, 0.0), radius: float = 1.0, n: int = 8
) -> Disk:
    """Meshes the octant of a sphere beyond its centre in x, y and z with 3*n*n quadrilaterals.

    Arguments are those of `mesh_sphere_Q4`. Returns Disk(pos, connect, boundary): 3*n*(n+1) + 1 nodes,
    and the 6*n edges around the octant: 2*n each from X to Y, from Y to Z and from Z to X.

    >>> octant = mesh_sphere_UR_Q4(n=2)
    >>> len(octant.pos), len(octant.boundary)
    (19, 12)
    """
    return Disk(*_native.mesh_sphere_UR_Q4(center, radius, n))


def mesh_sphere_UR_T3(
    center: ArrayLike = (0.0, 0.0, 0.0), radius: float = 1.0, n: int = 8, pattern: int = 0
) -> Disk:
    """Meshes an octant of a sphere with 6*n*n triangles; see `mesh_sphere_UR_Q4`.

    >>> mesh_sphere_UR_T3(n=2).connect.shape
    (24, 3)
    """
    return Disk(*_native.mesh_sphere_UR_T3(center, radius, n, pattern))
