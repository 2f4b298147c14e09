# SPDX-License-Identifier: Apache-2.0
"""Areas, angles, circumcentres, stars, curvatures."""

from __future__ import annotations

from math import pi
from typing import Optional

from . import _native
from ._results import Angles, ArrayLike, Curvatures, Reals, Stars


def area(pos: ArrayLike, connect: ArrayLike) -> float:
    """The area of a mesh of triangles, quadrilaterals or both.

    pos       (N, 2) or (N, 3) coordinates.
    connect   (E, 3) node numbers, or (E, 4) with -1 in column 3 of a triangle.

    In the plane elements that turn clockwise are subtracted; in space magnitudes are added.

    Raises Error: -1 pos has neither 2 nor 3 columns; -2 connect has neither 3 nor 4 columns or names a
    node that does not exist.

    >>> area([[0, 0], [2, 0], [0, 1]], [[0, 1, 2]])
    1.0
    """
    return _native.area(pos, connect)


def angles(pos: ArrayLike, connect: ArrayLike, normalise: bool = False) -> Angles:
    """The smallest and the largest corner angle of each element.

    normalise False: radians. True: in units of 60 degrees for triangles, 90 for quadrilaterals.

    Returns Angles(min, max), each (E,). In the plane angles have the sign of the turn.

    Raises Error: -1 pos or -2 connect does not fit, as for `area`. MemoryError.

    >>> angles([[0, 0], [1, 0], [1, 1], [0, 1]], [[0, 1, 2, 3]], normalise=True).max.tolist()
    [1.0]
    """
    return Angles(*_native.angles(pos, connect, normalise))


def circumcenters(pos: ArrayLike, connect: ArrayLike) -> Reals:
    """The circumcentre of each triangle.

    pos       (N, 2) or (N, 3) coordinates.
    connect   (E, 3) node numbers.

    Returns (E, 2) or (E, 3). A flat triangle has one too: the midpoint of its longest side in the plane,
    its third node in space.

    Raises Error: -1 pos has neither 2 nor 3 columns; -2 connect has not 3 columns or names a node that
    does not exist. MemoryError.

    >>> circumcenters([[0, 0], [2, 0], [0, 2]], [[0, 1, 2]]).tolist()
    [[1.0, 1.0]]
    """
    return _native.circumcenters(pos, connect)


def get_connected_elements(
    connect: ArrayLike,
    neighbors: Optional[ArrayLike] = None,
    ancestors: Optional[ArrayLike] = None,
) -> Stars:
    """The elements around every node, in the order of a turn around it.

    connect   (E, 3) or (E, 4) node numbers, with -1 in column 3 of a triangle.
    neighbors as many rows and columns: the element across each edge, or -1. Edge k of a triangle lies
              opposite its corner k; edge k of a quadrilateral starts from corner k.
    ancestors one element for each node, or -1. Both are built if they are left out.

    Returns Stars(starts, elements): those of node n are elements[starts[n]:starts[n + 1]].

    Raises Error: -1 connect, -2 neighbors or -3 ancestors does not fit. MemoryError.

    >>> get_connected_elements([[0, 1, 2], [2, 1, 3]]).of(1).tolist()
    [1, 0]
    """
    return Stars(*_native.get_connected_elements(connect, neighbors, ancestors))


def principal_curvatures(
    pos: ArrayLike,
    connect: ArrayLike,
    radius: float,
    *,
    max_angle: float = pi,
    max_elements: int = 1000,
    hard_edges: Optional[ArrayLike] = None,
    neighbors: Optional[ArrayLike] = None,
) -> Curvatures:
    """Principal curvatures and directions at the nodes of a triangulated surface.

    pos       (N, 3) coordinates.
    connect   (E, 3) node numbers.
    radius    the patch around a node holds the triangles whose centroids are within this distance.
    max_angle radians: a patch does not grow across edges where the normal turns by this or more.
    max_elements  a patch of this many triangles grows no further.
    hard_edges    (H, 2) node numbers: edges that no patch crosses.
    neighbors (E, 3): the element opposite each node; built if left out.

    Returns Curvatures(u1, u2, k1, k2), k1 of the larger magnitude. A surface that bends toward its normal
    counts positive: a sphere of radius R with outward normals has k1 and k2 near -1/R.

    Raises Error: -1 pos, -2 connect, -3 neighbors or -7 hard_edges does not fit. MemoryError.

    >>> sphere = mesh_sphere_T3(radius=2, n=12)
    >>> bool(abs(principal_curvatures(sphere.pos, sphere.connect, 0.8).k1 + 0.5).max() < 0.1)
    True
    """
    table = _native.principal_curvatures(
        pos, connect, radius, max_angle, max_elements, hard_edges, neighbors
    )
    return Curvatures(table[:, 0:3], table[:, 3:6], table[:, 6], table[:, 7])


def parametric_curvatures(pos: ArrayLike, connect: ArrayLike, D: ArrayLike) -> Reals:
    """The second fundamental form of a surface S(u, v) at the nodes of a mesh of its parameters.

    pos       (N, 2) parameters.
    connect   (E, 3) node numbers.
    D         (N, 6): the derivatives of S by u and v at the nodes.

    Returns (N, 3): the coefficients of du du, du dv and dv dv, negative where the surface bends toward
    its normal.

    Raises Error: -1 pos, -2 connect or -3 D does not fit. MemoryError.

    >>> disk = mesh_disk_T3(n=4)
    >>> plane = [[1, 0, 0, 0, 1, 0]] * len(disk.pos)
    >>> parametric_curvatures(disk.pos, disk.connect, plane)[0].tolist()
    [0.0, 0.0, 0.0]
    """
    return _native.parametric_curvatures(pos, connect, D)
