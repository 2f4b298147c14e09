# SPDX-License-Identifier: Apache-2.0
"""Tools around the functions: adjacency, edges, boundaries, components, fusing and search of nodes."""

from __future__ import annotations

from typing import List, NamedTuple, Optional

import numpy as np

from . import _native
from ._native import NodeDetector
from ._results import ArrayLike, Numbers, Reals

__all__ = [
    "Adjacency",
    "Components",
    "Edges",
    "Merged",
    "NodeDetector",
    "adjacency",
    "boundary_edges",
    "boundary_loops",
    "components",
    "merge",
    "unique_edges",
]


class Adjacency(NamedTuple):
    """The element across each edge, one element for each node, and how many edges have more than two."""

    neighbors: Numbers
    ancestors: Numbers
    shared_by_more: int


class Edges(NamedTuple):
    """Every edge once, the two elements on it (the second one 0xFFFFFFFF on the boundary), and how many
    edges have more than two."""

    edges: Numbers
    elements: Numbers
    shared_by_more: int


class Components(NamedTuple):
    """How many components there are, and the number of its own for each element."""

    number: int
    component: Numbers


class Merged(NamedTuple):
    """A mesh without coincident nodes, and how many nodes have gone."""

    pos: Reals
    connect: Numbers
    fused: int


def adjacency(connect: ArrayLike, nodes: Optional[int] = None) -> Adjacency:
    """Finds the neighbours of all elements and an element for each node.

    connect   (E, 3) node numbers, or (E, 4) with -1 in column 3 of a triangle.
    nodes     number of nodes; one more than the largest that connect names, if it is left out.

    Edge k of a triangle lies opposite its corner k, edge k of a quadrilateral starts from corner k.

    >>> adjacency([[0, 1, 2], [2, 1, 3]]).neighbors[0, 0]
    1
    """
    return Adjacency(*_native.build_adjacency(connect, nodes))


def merge(pos: ArrayLike, connect: ArrayLike, tolerance: float = 0.0) -> Merged:
    """Fuses nodes that lie closer than a tolerance, and drops nodes that no element uses.

    pos       (N, 2) or (N, 3) coordinates.
    connect   (E, k) node numbers.
    tolerance in the unit of pos; 0 fuses nodes of equal coordinates.

    >>> merge([[0, 0], [1, 0], [0, 1], [1, 0], [1, 1], [0, 1]], [[0, 1, 2], [3, 4, 5]]).fused
    2
    """
    before = len(np.asarray(pos))
    nodes, elements = _native.merge(pos, connect, tolerance)
    return Merged(nodes, elements, before - len(nodes))


def unique_edges(connect: ArrayLike, nodes: Optional[int] = None) -> Edges:
    """Lists every edge of a mesh once, in the order and direction in which the elements have them first.

    connect   (E, 3) or (E, 4) node numbers; nodes: how many nodes there are, as for `adjacency`.

    >>> unique_edges([[0, 1, 2], [2, 1, 3]]).edges.shape
    (5, 2)
    """
    return Edges(*_native.unique_edges(connect, nodes))


def boundary_edges(connect: ArrayLike, nodes: Optional[int] = None) -> Numbers:
    """The edges with an element on one side only, (B, 2), each in the direction of its element.

    >>> len(boundary_edges([[0, 1, 2], [2, 1, 3]]))
    4
    """
    return _native.boundary_edges(connect, nodes)


def boundary_loops(connect: ArrayLike, nodes: Optional[int] = None) -> List[Numbers]:
    """The boundary as closed loops of nodes, first and last equal, as the generators want them.

    They run in the direction of the elements: counterclockwise around counterclockwise elements, clockwise
    around holes. Elements along the boundary have to run alike.

    >>> [len(loop) for loop in boundary_loops([[0, 1, 2], [2, 1, 3]])]
    [5]
    """
    starts, loops = _native.boundary_loops(connect, nodes)
    return [loops[first:last] for first, last in zip(starts[:-1], starts[1:])]


def components(neighbors: ArrayLike) -> Components:
    """Numbers the components of a mesh: elements that are connected through neighbours.

    >>> components(adjacency([[0, 1, 2], [3, 4, 5]]).neighbors).number
    2
    """
    return Components(*_native.components(neighbors))
