# SPDX-License-Identifier: Apache-2.0
"""Location of points, and fields and sizes carried from one mesh to another."""

from __future__ import annotations

from typing import Optional, Tuple, Union, overload

import numpy as np
from numpy.typing import NDArray

from . import _native
from ._native import NodeDetector
from ._results import NONE, ArrayLike, Carried, Reals
from .host import Progress, by_parts


def get_element_containing_point(
    pos: ArrayLike,
    connect: ArrayLike,
    p: ArrayLike,
    *,
    tolerance: float = 1e-6,
    neighbors: Optional[ArrayLike] = None,
    ancestors: Optional[ArrayLike] = None,
    detector: Optional[NodeDetector] = None,
) -> Optional[int]:
    """The element of a planar mesh that contains a point, or None.

    pos       (N, 2) coordinates.
    connect   (E, 3) node numbers, or (E, 4) with -1 in column 3 of a triangle, counterclockwise.
    p         (2,).
    tolerance how far outside a side the point may lie, as a share of the area of the element.
    neighbors, ancestors, detector
              the element across each edge, one element for each node, and NodeDetector(pos). Each is
              built if it is left out; for many points in one mesh build them once.

    Raises Error: -1 pos has not 2 columns, or the search came to a degenerate element; -2 connect,
    -3 neighbors or -4 ancestors does not fit. MemoryError.

    >>> get_element_containing_point([[0, 0], [1, 0], [1, 1], [0, 1]], [[0, 1, 3], [1, 2, 3]], (0.9, 0.8))
    1
    """
    return _native.get_element_containing_point(
        pos, connect, p, tolerance, neighbors, ancestors, detector
    )


@overload
def interpolate(
    pos: ArrayLike,
    connect: ArrayLike,
    field: ArrayLike,
    points: ArrayLike,
    *,
    neighbors: Optional[ArrayLike] = ...,
    ancestors: Optional[ArrayLike] = ...,
    progress: Optional[Progress] = ...,
) -> Carried: ...


@overload
def interpolate(
    pos: ArrayLike,
    connect: ArrayLike,
    field: ArrayLike,
    *,
    nodes: ArrayLike,
    neighbors: Optional[ArrayLike] = ...,
    ancestors: Optional[ArrayLike] = ...,
    inplace: bool = ...,
) -> Reals: ...


def interpolate(
    pos: ArrayLike,
    connect: ArrayLike,
    field: ArrayLike,
    points: Optional[ArrayLike] = None,
    *,
    nodes: Optional[ArrayLike] = None,
    neighbors: Optional[ArrayLike] = None,
    ancestors: Optional[ArrayLike] = None,
    inplace: bool = False,
    progress: Optional[Progress] = None,
) -> Union[Carried, Reals]:
    """Carries a nodal field onto points, or onto nodes that belong to no element.

    pos       (N, 2) coordinates.
    connect   (E, 3) node numbers, or (E, 4) with -1 in column 3 of a triangle, counterclockwise.
    field     (N,) or (N, C) values.
    points    (P, 2): where values are wanted. Values are linear on triangles, bilinear on quadrilaterals;
              outside of all elements, but in the box around the mesh, those of the closest node.
    nodes     instead of points: numbers of nodes of pos. Those without an ancestor get a value.
    neighbors, ancestors
              the element across each edge, one element for each node; built if they are left out.
    inplace   with nodes: field itself is changed and returned.
    progress  with points: called with the number of points done since the last call. The work can be
              interrupted between parts.

    Returns Carried(values, state) for points, with NaN where a point could not be served; state is
    INSIDE, NEAREST or UNSERVED. For nodes it returns the field.

    Raises Error: -1 pos, -2 connect, -3 neighbors, -4 ancestors, -5 field or -6 nodes does not fit.

    >>> pos, connect = [[0, 0], [1, 0], [1, 1], [0, 1]], [[0, 1, 3], [1, 2, 3]]
    >>> interpolate(pos, connect, [0, 1, 2, 1], [[0.5, 0.25], [7, 7]])
    Carried(values=array([0.75,  nan]), state=array([0, 2], dtype=uint8))
    """
    if points is None:
        if nodes is None:
            raise TypeError("points: either points or nodes is needed")
        return _native.interpolate(pos, connect, field, nodes, neighbors, ancestors, inplace)
    if nodes is not None or inplace:
        raise TypeError("points: nodes and inplace do not go with points")
    mesh = _native.Locator(pos, connect, neighbors, ancestors, "interpolate")
    values = _native.as_field(field, "field")
    _native.test_length("interpolate", values, len(mesh), 5, "field")

    def part(some: Reals) -> _Part:
        table = mesh.transfer(some, 1)
        return mesh.carry(*table, values, np.nan), table[0].astype(np.uint8)

    return Carried(*by_parts(_in_the_plane(points), part, progress))


def interpolate_metrics(
    pos: ArrayLike,
    connect: ArrayLike,
    metrics: ArrayLike,
    points: Optional[ArrayLike] = None,
    *,
    nodes: Optional[ArrayLike] = None,
    keep_valid: bool = True,
    neighbors: Optional[ArrayLike] = None,
    ancestors: Optional[ArrayLike] = None,
    inplace: bool = False,
    progress: Optional[Progress] = None,
) -> Union[Carried, Reals]:
    """Carries sizes or size tensors onto points, or onto nodes that belong to no element.

    metrics   (N,) sizes, on triangles and quadrilaterals; or (N, 3) tensors m00, m01, m11 or (N, 6)
              tensors m00, m01, m11, m02, m12, m22, on triangles. Between two tensors the sizes along
              their common basis are linear.
    points    (P, 2): where sizes are wanted.
    nodes     instead of points: numbers of nodes of pos; without both all nodes of pos.
    keep_valid  with nodes: one whose size is valid keeps it.

    The other arguments are those of `interpolate`, and so is what comes back; 0 stands for no size.

    Raises Error: -1 pos, -2 connect, -3 neighbors, -4 ancestors, -5 metrics or -6 nodes does not fit.

    >>> pos, connect = [[0, 0], [1, 0], [1, 1], [0, 1]], [[0, 1, 3], [1, 2, 3]]
    >>> interpolate_metrics(pos, connect, [1, 2, 3, 2], [[0.5, 0.25]]).values.tolist()
    [1.75]
    """
    if points is None:
        return _native.interpolate_metrics(
            pos, connect, metrics, nodes, keep_valid, neighbors, ancestors, inplace
        )
    if nodes is not None or inplace:
        raise TypeError("points: nodes and inplace do not go with points")
    where = _native.as_reals(pos, "pos")
    _native.test_columns("interpolate_metrics", where, 2, 1, "pos")
    across, around = _native.adjacency(
        "interpolate_metrics", connect, len(where), neighbors, ancestors
    )
    mesh = _native.Locator(where, connect, across, around, "interpolate_metrics")
    values = _native.as_field(metrics, "metrics")
    _native.test_length("interpolate_metrics", values, len(mesh), 5, "metrics")

    def part(some: Reals) -> _Part:
        # The points as nodes that no element has, behind those of the mesh.
        orphans = np.arange(len(where), len(where) + len(some), dtype=np.uint32)
        sizes = np.concatenate([values, np.zeros((len(some), *values.shape[1:]))])
        _native.interpolate_metrics(
            np.concatenate([where, some]),
            connect,
            sizes,
            orphans,
            True,
            across,
            np.concatenate([around, np.full(len(some), NONE, around.dtype)]),
            True,
        )
        return sizes[len(where) :], mesh.transfer(some, 1)[0].astype(np.uint8)

    # Each part copies the mesh, so that none is smaller than it.
    return Carried(*by_parts(_in_the_plane(points), part, progress, at_least=len(where)))


def metrics_gen_aniso3d(
    pos: ArrayLike,
    connect: ArrayLike,
    normal_size: float,
    metrics: Optional[ArrayLike] = None,
) -> Reals:
    """Size tensors of a surface: at each node the mean length of its edges in the tangent plane.

    pos       (N, 3) coordinates.
    connect   (E, 3) node numbers.
    normal_size  above 0: the size along the normal; below 0: its ratio to that in the plane; 0: the same.
    metrics   (K, 6) tensors that take part in the merge.

    Returns (N, 6) tensors m00, m01, m11, m02, m12, m22, up to the largest node that connect names.

    Raises Error: -1 pos has not 3 columns; -2 connect or -4 metrics does not fit. MemoryError.

    >>> metrics_gen_aniso3d([[0, 0, 0], [2, 0, 0], [0, 2, 0]], [[0, 1, 2]], 1.0)[0].tolist()
    [0.25, 0.0, 0.25, 0.0, 0.0, 1.0]
    """
    return _native.metrics_gen_aniso3d(pos, connect, normal_size, metrics)


#: Values at a part of the points, and their states.
_Part = Tuple[Reals, NDArray[np.uint8]]


def _in_the_plane(points: ArrayLike) -> Reals:
    where = _native.as_reals(points, "points")
    if where.size and where.shape[1] != 2:
        raise TypeError("points: an array of 2 columns is expected")
    return where if where.size else np.empty((0, 2))
