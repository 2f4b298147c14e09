# SPDX-License-Identifier: Apache-2.0
"""Sweeps of a profile of edges into a strip of quadrilaterals or triangles.

Layers are asked for by their number, ``layers=``, or by their sizes: ``h0=`` that of the first layer and
``h1=`` that of the last one (h0 if it is left out), in a geometric progression; ``even=True`` makes their
number a multiple of 2. Nodes of layer k of a profile with n distinct nodes have the numbers from
N + (k-1)*n on, in the order in which the edges name them; the elements of one edge stand behind one
another, from the profile outward.
"""

from __future__ import annotations

from typing import Optional, Union

from . import _native
from ._results import ArrayLike, Mesh


def extrude_translate_Q4(
    pos: ArrayLike,
    edges: ArrayLike,
    T: ArrayLike,
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
) -> Mesh:
    """Sweeps edges along a straight vector into quadrilaterals.

    pos       (N, 2) coordinates; (N, 2) or (N, 3) for a vector in space.
    edges     (E, 2) node numbers.
    T         (2,) or (3,): the whole way.
    layers    their number, all of the same size; or h0 and h1, the sizes of the first and the last one
              (h1 is h0 if it is left out), with even=True for an even number.

    Returns Mesh(pos, connect): the new nodes stand behind the given ones.

    Raises Error: -1 pos has an unsuitable number of columns; -2 edges has not 2 columns or names a node
    that does not exist; -4 h0 or -5 h1 is not above 0. MemoryError, also when the number of layers is not
    finite.

    >>> strip = extrude_translate_Q4([[0, 0], [1, 0]], [[0, 1]], (0, 2), layers=2)
    >>> strip.pos[2:].tolist(), strip.connect.tolist()
    ([[0.0, 1.0], [1.0, 1.0], [0.0, 2.0], [1.0, 2.0]], [[0, 1, 3, 2], [2, 3, 5, 4]])
    """
    how = (layers, h0, h1, even, None)
    return Mesh(*_native.extrude_translate("extrude_translate_Q4", pos, edges, T, how))


def extrude_translate_T3(
    pos: ArrayLike,
    edges: ArrayLike,
    T: ArrayLike,
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
    pattern: int = 0,
) -> Mesh:
    """Sweeps edges along a straight vector into triangles.

    pattern   the diagonals of the quadrilaterals (a, b, c, d) of `extrude_translate_Q4`, whose arguments
              the others are: 0 cuts b-d, 1 cuts a-c, 2 alternates.

    Raises Error as it does, and -6 pattern is not 0, 1 or 2.

    >>> extrude_translate_T3([[0, 0], [1, 0]], [[0, 1]], (0, 1), h0=1).connect.tolist()
    [[0, 1, 2], [1, 3, 2]]
    """
    how = (layers, h0, h1, even, pattern)
    return Mesh(*_native.extrude_translate("extrude_translate_T3", pos, edges, T, how))


def extrude_rotate_Q4(
    pos: ArrayLike,
    edges: ArrayLike,
    center: ArrayLike,
    angle: Union[float, ArrayLike],
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
) -> Mesh:
    """Sweeps edges around a centre in the plane, or around an axis in space, into quadrilaterals.

    pos       (N, 2) or (N, 3) coordinates.
    edges     (E, 2) node numbers.
    center    (2,), with angle a number of radians, counterclockwise; or (3,), a point of the axis, with
              angle (3,), the rotation vector: along the axis, as long as the angle in radians.
    layers    their number, all of the same angle; or h0 and h1, the sizes of the first and the last one
              along the way of the first node of the first edge.

    Returns Mesh(pos, connect). A full turn is not closed: its last layer lies on the profile.

    Raises Error: -1 pos has an unsuitable number of columns; -2 edges has not 2 columns or names a node
    that does not exist; -5 h0 or -6 h1 is not above 0. MemoryError.

    >>> from math import pi
    >>> ring = extrude_rotate_Q4([[1, 0], [2, 0]], [[0, 1]], (0, 0), 2 * pi, layers=8)
    >>> len(ring.pos), ring.connect.shape
    (18, (8, 4))
    """
    how = (layers, h0, h1, even, None)
    return Mesh(*_native.extrude_rotate("extrude_rotate_Q4", pos, edges, center, angle, how))


def extrude_rotate_T3(
    pos: ArrayLike,
    edges: ArrayLike,
    center: ArrayLike,
    angle: Union[float, ArrayLike],
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
    pattern: int = 0,
) -> Mesh:
    """Sweeps edges around a centre or axis into triangles; arguments as for `extrude_rotate_Q4`.

    pattern   0, 1 or 2 as for `extrude_translate_T3`. It is tested, with -7, in the plane with sizes.

    >>> extrude_rotate_T3([[1, 0, 0], [1, 0, 1]], [[0, 1]], (0, 0, 0), (0, 0, 1), layers=3).connect.shape
    (6, 3)
    """
    how = (layers, h0, h1, even, pattern)
    return Mesh(*_native.extrude_rotate("extrude_rotate_T3", pos, edges, center, angle, how))


def extrude_spiral_Q4(
    pos: ArrayLike,
    edges: ArrayLike,
    center: ArrayLike,
    angle: ArrayLike,
    T: ArrayLike,
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
) -> Mesh:
    """Sweeps edges along a screw into quadrilaterals: around an axis and along a vector together.

    pos       (N, 3) coordinates.
    edges     (E, 2) node numbers.
    center    (3,): a point of the axis.
    angle     (3,): the rotation vector, along the axis, as long as the angle in radians.
    T         (3,): the whole way. Sizes count along it, however long the arc is.
    layers    their number; or h0 and h1, the sizes of the first and the last one.

    Raises Error: -1 pos has not 3 columns; -2 edges has not 2 columns or names a node that does not
    exist; -6 h0 or -7 h1 is not above 0. MemoryError.

    >>> stairs = extrude_spiral_Q4([[1, 0, 0], [2, 0, 0]], [[0, 1]], (0, 0, 0), (0, 0, 3.14), (0, 0, 2), h0=0.5)
    >>> stairs.connect.shape
    (4, 4)
    """
    how = (layers, h0, h1, even, None)
    return Mesh(*_native.extrude_spiral("extrude_spiral_Q4", pos, edges, center, angle, T, how))


def extrude_spiral_T3(
    pos: ArrayLike,
    edges: ArrayLike,
    center: ArrayLike,
    angle: ArrayLike,
    T: ArrayLike,
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
    pattern: int = 0,
) -> Mesh:
    """Sweeps edges along a screw into triangles; arguments as for `extrude_spiral_Q4`.

    pattern   0, 1 or 2 as for `extrude_translate_T3`; it is not tested.

    Raises Error as it does, but -6 h0 or -4 h1 is not above 0.

    >>> edge = [[1, 0, 0], [2, 0, 0]]
    >>> extrude_spiral_T3(edge, [[0, 1]], (0, 0, 0), (0, 0, 1), (0, 0, 1), layers=2, pattern=2).connect.tolist()
    [[0, 1, 3], [0, 3, 2], [2, 3, 4], [3, 5, 4]]
    """
    how = (layers, h0, h1, even, pattern)
    return Mesh(*_native.extrude_spiral("extrude_spiral_T3", pos, edges, center, angle, T, how))


def extrude_normal_Q4(
    pos: ArrayLike,
    edges: ArrayLike,
    by: Union[float, ArrayLike],
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
) -> Mesh:
    """Sweeps a planar profile along its own normals, or along given vectors, into quadrilaterals.

    pos       (N, 2) coordinates.
    edges     (E, 2) node numbers. The normal of an edge from a to b points to its left.
    by        the thickness, above 0; or (N, 2) vectors, the whole way of each node, which go with layers.
    layers    their number; or h0 and h1, the sizes of the first and the last one.

    Raises Error: -1 pos has not 2 columns; -2 edges has not 2 columns or names a node that does not
    exist; -3 the thickness is not above 0, or the vectors do not fit; -4 h0 or -5 h1 is not above 0.
    MemoryError.

    >>> wall = extrude_normal_Q4([[0, 0], [1, 0]], [[0, 1]], 0.3, h0=0.1)
    >>> wall.pos[-1].round(9).tolist(), wall.connect.shape
    ([1.0, 0.3], (3, 4))
    """
    how = (layers, h0, h1, even, None)
    return Mesh(*_native.extrude_normal("extrude_normal_Q4", pos, edges, by, how))


def extrude_normal_T3(
    pos: ArrayLike,
    edges: ArrayLike,
    by: Union[float, ArrayLike],
    *,
    layers: Optional[int] = None,
    h0: Optional[float] = None,
    h1: Optional[float] = None,
    even: bool = False,
    pattern: int = 0,
) -> Mesh:
    """Sweeps a planar profile along normals or vectors into triangles; see `extrude_normal_Q4`.

    pattern   0, 1 or 2 as for `extrude_translate_T3`; it is not tested.

    >>> up = [[0, 1], [0, 2]]
    >>> extrude_normal_T3([[0, 0], [1, 0]], [[0, 1]], up, layers=1).pos[2:].tolist()
    [[0.0, 1.0], [1.0, 2.0]]
    """
    how = (layers, h0, h1, even, pattern)
    return Mesh(*_native.extrude_normal("extrude_normal_T3", pos, edges, by, how))
