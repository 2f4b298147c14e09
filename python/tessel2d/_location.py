# SPDX-License-Identifier: Apache-2.0
"""Location of points, and fields and sizes carried from one mesh to another."""

from __future__ import annotations

from typing import Callable, Iterator, Optional, Tuple, Union, overload

import numpy as np
from numpy.typing import NDArray

from . import _native
from ._native import NodeDetector
from ._results import (
    INSIDE,
    NEAREST,
    NONE,
    UNSERVED,
    ArrayLike,
    Carried,
    Numbers,
    Reals,
)
from .host import Progress

#: Points of one part. Parts are never smaller than the mesh, whose search tree each builds anew.
part_size = 1 << 18


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
    carrier = _Carrier("interpolate", pos, connect, neighbors, ancestors)
    values = _native.as_field(field, "field")
    carrier.test_field(values, 5, "field")

    def carry(part: Reals, state: NDArray[np.uint8]) -> Reals:
        return _interpolated(carrier, values, part, state)

    return carrier.carried(values, points, np.nan, carry, progress)


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
    carrier = _Carrier("interpolate_metrics", pos, connect, neighbors, ancestors)
    values = _native.as_field(metrics, "metrics")
    carrier.test_field(values, 5, "metrics")

    def carry(part: Reals, state: NDArray[np.uint8]) -> Reals:
        _interpolated(carrier, values, part, state)
        all_pos, orphans, all_ancestors = carrier.with_orphans(part)
        all_values = _appended(values, len(part), 0.0)
        _native.interpolate_metrics(
            all_pos, connect, all_values, orphans, True, carrier.neighbors, all_ancestors, True
        )
        return all_values[len(values) :]

    return carrier.carried(values, points, 0.0, carry, progress)


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


def _appended(values: Reals, count: int, fill: float) -> Reals:
    """Values with further rows behind them."""
    more = np.empty((len(values) + count, *values.shape[1:]))
    more[: len(values)] = values
    more[len(values) :] = fill
    return more


class _Carrier:
    """A mesh from which values are carried onto points, part by part."""

    def __init__(
        self,
        name: str,
        pos: ArrayLike,
        connect: ArrayLike,
        neighbors: Optional[ArrayLike],
        ancestors: Optional[ArrayLike],
    ) -> None:
        self.name = name
        self.pos = _native.as_reals(pos, "pos")
        self.connect = connect
        _native.test_columns(name, self.pos, 2, 1, "pos")
        self.neighbors, self.ancestors = _native.adjacency(
            name, connect, len(self.pos), neighbors, ancestors
        )

    def test_field(self, values: Reals, argument: int, field_name: str) -> None:
        _native.test_length(self.name, values, len(self.pos), argument, field_name)

    def with_orphans(self, part: Reals) -> Tuple[Reals, Numbers, Numbers]:
        """The nodes with points behind them, the numbers of the points, and ancestors for all."""
        count, nodes = len(part), len(self.pos)
        orphans = np.arange(nodes, nodes + count, dtype=np.uint32)
        ancestors = np.full(nodes + count, NONE, np.uint32)
        ancestors[: len(self.ancestors)] = self.ancestors
        return np.concatenate([self.pos, part]), orphans, ancestors

    def carried(
        self,
        values: Reals,
        points: ArrayLike,
        fill: float,
        carry: Callable[[Reals, NDArray[np.uint8]], Reals],
        progress: Optional[Progress],
    ) -> Carried:
        where = _native.as_reals(points, "points")
        if where.size and where.shape[1] != 2:
            raise TypeError("points: an array of 2 columns is expected")
        result = np.full((len(where), *values.shape[1:]), fill)
        state = np.full(len(where), UNSERVED, np.uint8)
        for part in _parts(len(where), max(part_size, len(self.pos))):
            result[part] = carry(where[part], state[part])
            if progress is not None:
                progress(part.stop - part.start)
        return Carried(result, state)


def _parts(count: int, size: int) -> Iterator[slice]:
    for first in range(0, count, size):
        yield slice(first, min(first + size, count))


def _interpolated(
    carrier: _Carrier, values: Reals, part: Reals, state: NDArray[np.uint8]
) -> Reals:
    """Values at points; `state` is filled in.

    The coordinates of the nodes go along as two more components: inside an element they come out as
    those of the point itself, outside as those of the closest node.
    """
    nodes, count = len(carrier.pos), len(part)
    all_pos, orphans, ancestors = carrier.with_orphans(part)
    field = np.empty((nodes + count, values[0:1].size + 2 if nodes else 2))
    columns = values.reshape(nodes, -1) if nodes else values.reshape(0, 0)
    field[:nodes, :2] = carrier.pos
    field[:nodes, 2:] = columns
    field[nodes:] = np.nan
    _native.interpolate(
        all_pos, carrier.connect, field, orphans, carrier.neighbors, ancestors, True
    )
    found = field[nodes:]
    extent = float(np.ptp(carrier.pos, axis=0).max()) if nodes else 0.0
    with np.errstate(invalid="ignore"):
        distance = np.abs(found[:, :2] - part).max(axis=1, initial=0.0)
    state[:] = np.where(distance <= 1e-9 * extent, INSIDE, NEAREST)
    state[np.isnan(distance)] = UNSERVED
    return found[:, 2:].reshape(count, *values.shape[1:])
