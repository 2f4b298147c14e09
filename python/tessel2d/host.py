# SPDX-License-Identifier: Apache-2.0
"""Tools around the functions: adjacency, fusing of nodes, search of nodes."""

from __future__ import annotations

from typing import NamedTuple, Optional

import numpy as np

from . import _native
from ._native import NodeDetector
from ._results import ArrayLike, Numbers, Reals

__all__ = ["Adjacency", "Merged", "NodeDetector", "adjacency", "merge"]


class Adjacency(NamedTuple):
    """The element across each edge, one element for each node, and how many edges have more than two."""

    neighbors: Numbers
    ancestors: Numbers
    shared_by_more: int


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
