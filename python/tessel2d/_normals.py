# SPDX-License-Identifier: Apache-2.0
"""Normals and offsets of surfaces in space."""

from __future__ import annotations

from typing import Optional, Union

from . import _native
from ._results import ArrayLike, Mesh, Reals


def normals(
    pos: ArrayLike,
    connect: ArrayLike,
    *,
    at: str = "nodes",
    power: float = 1.0,
    unit: bool = True,
) -> Reals:
    """Normal vectors at the nodes or elements of a surface.

    pos       (N, 3) coordinates.
    connect   (E, 3) node numbers, or (E, 4) with -1 in the last column of a triangle.
    at        "nodes" or "elements".
    power     at nodes: elements are weighted by their size to this power; 0 alike, 1 by area. The largest
              finite numbers take the largest and the smallest element of a node.
    unit      True: unit vectors. False: at elements as long as twice the area, at nodes the weighted mean.

    Returns (N, 3) or (E, 3); zero for a node without elements and for an element without area.

    Raises Error: -1 pos has not 3 columns; -2 connect has neither 3 nor 4 columns or names a node that
    does not exist. MemoryError.

    >>> pos = [[0, 0, 0], [2, 0, 0], [0, 2, 0]]
    >>> normals(pos, [[0, 1, 2]], at="elements", unit=False)[0, 2]
    4.0
    """
    if not isinstance(at, str) or at not in ("nodes", "elements"):
        raise ValueError('at: "nodes" or "elements" is expected')
    if at == "nodes":
        return _native.normals_at_nodes(pos, connect, power, unit)
    return _native.normals_at_elements(pos, connect, unit)


def offset(
    pos: ArrayLike,
    connect: ArrayLike,
    by: Union[float, ArrayLike],
    *,
    vectors: Optional[ArrayLike] = None,
    inplace: bool = False,
) -> Reals:
    """Moves the nodes of a surface along its normals or along given vectors.

    pos       (N, 3) coordinates.
    connect   (E, 3) or (E, 4) node numbers. Each node that they name moves once; the others stay.
    by        a distance in lengths of the vectors; or a symmetric tensor, (3, 3) or (6,) as m00, m01,
              m11, m02, m12, m22, by which the vectors are multiplied.
    vectors   (N, 3): one for each node. Without them the unit normals, which point to the side from which
              elements turn counterclockwise.
    inplace   True: pos itself is changed and returned.

    Raises Error: -1 pos has not 3 columns; -2 and -3 pos, connect or vectors do not fit. MemoryError.

    >>> pos = [[0, 0, 0], [2, 0, 0], [0, 2, 0]]
    >>> offset(pos, [[0, 1, 2]], 0.5)[0].tolist()
    [0.0, 0.0, 0.5]
    """
    return _native.offset(pos, connect, by, vectors, inplace)


def copy_with_offset(
    pos: ArrayLike,
    connect: ArrayLike,
    by: Union[float, ArrayLike],
    *,
    vectors: Optional[ArrayLike] = None,
) -> Mesh:
    """Appends a copy of a surface that is moved as by `offset`, whose arguments these are.

    Returns Mesh(pos, connect): pos with the nodes of the copy behind those given, in the order in which
    the elements name them, and the elements of the copy alone.

    Raises Error: -1 pos has not 3 columns; -2 and -3 pos, connect or vectors do not fit. MemoryError.

    >>> pos = [[0, 0, 0], [2, 0, 0], [0, 2, 0]]
    >>> shifted = copy_with_offset(pos, [[0, 1, 2]], 1)
    >>> shifted.pos[3].tolist(), shifted.connect.tolist()
    ([0.0, 0.0, 1.0], [[3, 4, 5]])
    """
    return Mesh(*_native.copy_with_offset(pos, connect, by, vectors))
