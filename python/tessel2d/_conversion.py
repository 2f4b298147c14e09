# SPDX-License-Identifier: Apache-2.0
"""The order and the orientation of elements, and their splitting."""

from __future__ import annotations

from typing import Optional, Union

import numpy as np

from . import _native
from ._results import (
    ArrayLike,
    Changed,
    Counted,
    Flipped,
    Mesh,
    Numbers,
    Reoriented,
    Split,
)


def convert_into_linear(connect: ArrayLike) -> Numbers:
    """Lowers quadratic elements to linear ones.

    connect   (E, 6) T6; (E, 8) or (E, 9) quadrilaterals, in which -1 in column 6 marks a T6.

    Returns (E, 3) or (E, 4), with -1 (0xFFFFFFFF) in column 3 of triangles.

    Raises Error: -1 connect has another number of columns.

    >>> convert_into_linear([[0, 1, 2, 3, 4, 5]]).tolist()
    [[0, 1, 2]]
    """
    return _native.convert_into_linear(connect)


def convert_into_quadratic(
    pos: ArrayLike, connect: ArrayLike, edges: Optional[ArrayLike] = None
) -> Mesh:
    """Raises linear elements to T6 and Q9.

    pos       (N, 2) or (N, 3) coordinates.
    connect   (E, 3) or (E, 4) node numbers.
    edges     (G, 3): end nodes and mid-side node of edges that exist already, as on a curved boundary.

    Returns Mesh(pos, connect) with the new nodes behind the given ones.

    Raises Error: -1 pos, -2 connect or -6 edges does not fit. MemoryError.

    >>> mesh = convert_into_quadratic([[0, 0], [2, 0], [0, 2]], [[0, 1, 2]])
    >>> mesh.pos[3:].tolist(), mesh.connect.tolist()
    ([[1.0, 1.0], [0.0, 1.0], [1.0, 0.0]], [[0, 1, 2, 3, 4, 5]])
    """
    return Mesh(*_native.convert_into_quadratic(pos, connect, edges))


def convert_into_high_order(
    pos: ArrayLike,
    connect: ArrayLike,
    a: int,
    b: int,
    c: int,
    edges: Optional[ArrayLike] = None,
) -> Mesh:
    """Raises linear elements to any order.

    pos       (N, 2) or (N, 3) coordinates.
    connect   (E, 3) or (E, 4) node numbers.
    a, b, c   nodes on an edge, in a quadrilateral (a square number) and in a triangle (0, 1 or 3).
    edges     (G, a + 2): end nodes of edges that have their nodes already, then the first of these; the
              others follow it in number.

    Returns Mesh(pos, connect); connect is empty when a + b + c is 0.

    Raises Error: -1 pos, -2 connect, -4 b, -5 c or -6 edges does not fit. MemoryError.

    >>> mesh = convert_into_high_order([[0, 0], [3, 0], [0, 3]], [[0, 1, 2]], 2, 4, 1)
    >>> mesh.connect.tolist(), mesh.pos[9].round(9).tolist()
    ([[0, 1, 2, 3, 4, 5, 6, 7, 8, 9]], [1.0, 1.0])
    """
    return Mesh(*_native.convert_into_high_order(pos, connect, a, b, c, edges))


def split_into_linear(connect: ArrayLike) -> Numbers:
    """Cuts quadratic elements into four linear ones each, on the nodes that they have.

    connect   (E, 6) T6, or (E, 9) Q9 and T6, these with -1 in column 6.

    Returns (4*E, 3) or (4*E, 4).

    Raises Error: -1 connect has another number of columns. MemoryError.

    >>> split_into_linear([[0, 1, 2, 3, 4, 5]]).tolist()
    [[0, 5, 4], [1, 3, 5], [2, 4, 3], [3, 4, 5]]
    """
    return _native.split_into_linear(connect)


def split_into_Q4(
    pos: ArrayLike, connect: ArrayLike, edges: Optional[ArrayLike] = None
) -> Mesh:
    """Makes an all-quadrilateral mesh of any linear one: four of each quadrilateral, three of a triangle.

    edges     (G, 3): end nodes and mid-side node of edges that exist already.

    Raises Error: -1 pos, -2 connect or -4 edges does not fit. MemoryError.

    >>> split_into_Q4([[0, 0], [2, 0], [0, 2]], [[0, 1, 2]]).connect.tolist()
    [[0, 5, 6, 4], [1, 3, 6, 5], [2, 4, 6, 3]]
    """
    return Mesh(*_native.split_into_Q4(pos, connect, edges))


def split_Q4_into_T3(
    connect: ArrayLike,
    pos: Optional[ArrayLike] = None,
    *,
    min_quality: Optional[float] = None,
    min_angle: Optional[float] = None,
    min_warp: Optional[float] = None,
    criterion: int = 1,
) -> Union[Numbers, Split]:
    """Cuts quadrilaterals into triangles; triangles stay.

    connect   (E, 3) or (E, 4) node numbers.
    pos       (N, 2) or (N, 3) coordinates: each is cut along the diagonal that gives the better
              triangles. Without them it is (0, 1, 2) and (2, 3, 0).
    min_quality, min_angle, min_warp
              with any of these only quadrilaterals are cut that fall short of one, and the others are
              kept. All qualities are 1 for a square; one that is left out is asked of none.
    criterion how the diagonal is chosen then: 1 shape, 2 angle, 3 larger area, 4 sum of areas, 5 fold,
              6 fold times length.

    Returns the triangles, (M, 3); or Split(connect, kept, split) with connect (M, 4), those kept first.

    Raises Error: -1 pos or -2 connect does not fit (-1 connect without pos). MemoryError.

    >>> split_Q4_into_T3([[0, 1, 2, 3]]).tolist()
    [[0, 1, 2], [2, 3, 0]]
    >>> flat = [[0, 0], [9, 0], [9, 1], [0, 1]]
    >>> split_Q4_into_T3([[0, 1, 2, 3]], flat, min_quality=0.5).split.tolist()
    [0]
    """
    if min_quality is None and min_angle is None and min_warp is None:
        return _native.split_all_Q4(connect, pos)
    if pos is None:
        raise TypeError("pos: coordinates are needed to measure qualities")
    quality, angle, warp = (
        -np.inf if least is None else least for least in (min_quality, min_angle, min_warp)
    )
    return Split(*_native.split_bad_Q4(connect, pos, quality, angle, warp, criterion))


def flip(
    connect: ArrayLike,
    *,
    kind: Optional[str] = None,
    neighbors: Optional[ArrayLike] = None,
    inplace: bool = False,
) -> Union[Numbers, Flipped]:
    """Turns all elements over.

    connect   (E, 3) or more: nodes 0 and 2 of each element change places.
    kind      "T3", "T6", "Q4", "Q8", "Q9", or "FACE" for what the columns tell: mid-side nodes change
              places too.
    neighbors (E, 3) or (E, 4), kept in step; without a kind by that of "FACE".
    inplace   True: the arrays themselves are changed and returned.

    Returns connect, or Flipped(connect, neighbors).

    Raises Error: -1, -2 or -3: connect or neighbors does not suit the kind.

    >>> flip([[0, 1, 2]]).tolist(), flip([[0, 1, 2, 3, 4, 5]], kind="T6").tolist()
    ([[2, 1, 0]], [[2, 1, 0, 5, 4, 3]])
    """
    if neighbors is None:
        return _native.flip(connect, kind, inplace)
    return Flipped(*_native.flip_neighbors(connect, neighbors, kind, inplace))


def mesh_reorient(
    connect: ArrayLike,
    neighbors: Optional[ArrayLike] = None,
    seed: int = 0,
    all_components: bool = True,
    *,
    inplace: bool = False,
) -> Reoriented:
    """Makes the elements of a surface agree with one of them.

    connect   (E, 3) or (E, 4) node numbers, with -1 in column 3 of a triangle.
    neighbors as many rows and columns: the element across each edge. They are built if left out.
    seed      the element whose orientation holds.
    all_components
              True: each further component behind the seed follows its first element.
    inplace   True: connect, and neighbors if it is given, are changed and returned.

    Returns Reoriented(connect, neighbors, turned, conflict).

    Raises Error: -1 connect, -2 neighbors or -3 seed does not fit. MemoryError.

    >>> mesh_reorient([[0, 1, 2], [1, 2, 3]]).connect.tolist()
    [[0, 1, 2], [3, 2, 1]]
    """
    return Reoriented(
        *_native.mesh_reorient(connect, neighbors, seed, all_components, inplace)
    )


def convert_degenerated_Q4(connect: ArrayLike, *, inplace: bool = False) -> Counted:
    """Turns quadrilaterals with a collapsed edge into triangles.

    connect   (E, 4) node numbers.
    inplace   True: connect itself is changed and returned.

    Returns Counted(connect, changes), with -1 (0xFFFFFFFF) in column 3 of the triangles.

    Raises Error: -1 connect has not 4 columns.

    >>> convert_degenerated_Q4([[0, 0, 1, 2]]).connect[0, :3].tolist()
    [0, 1, 2]
    """
    return Counted(*_native.convert_degenerated_Q4(connect, inplace))


def convert_degenerated_Q(connect: ArrayLike, *, inplace: bool = False) -> Changed:
    """Turns linear or quadratic quadrilaterals with a collapsed edge into T3 or T6.

    connect   (E, 4), (E, 8) or (E, 9) node numbers.
    inplace   True: connect itself is changed and returned.

    Returns Changed(connect, changed) with the numbers of the elements changed, ascending.

    Raises Error: -1 connect has another number of columns.

    >>> convert_degenerated_Q([[0, 1, 2, 3], [4, 5, 5, 6]]).changed.tolist()
    [1]
    """
    return Changed(*_native.convert_degenerated_Q(connect, inplace))
