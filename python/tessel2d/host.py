# SPDX-License-Identifier: Apache-2.0
"""Tools around the functions: adjacency, boundaries, outlines, volumes, and meshes in which points are located."""

from __future__ import annotations

from typing import Any, Callable, Iterator, List, NamedTuple, Optional

import numpy as np

from . import _native
from ._native import NodeDetector
from ._results import INSIDE, NEAREST, UNSERVED, ArrayLike, Mesh, Numbers, Reals

__all__ = [
    "Adjacency",
    "Arc",
    "Components",
    "CurvedEdges",
    "DEGENERATE",
    "Edges",
    "INSIDE",
    "Located",
    "Locator",
    "Merged",
    "NEAREST",
    "NodeDetector",
    "OUTSIDE",
    "Orientation",
    "Transfer",
    "UNSERVED",
    "Volume",
    "adjacency",
    "append",
    "arc",
    "boundary_edges",
    "boundary_loops",
    "components",
    "curved_edges",
    "is_orientable",
    "merge",
    "patch_loop",
    "unique_edges",
    "volume",
]

#: Places of `Located`, beside INSIDE: in no element; where the search came to a degenerate element.
OUTSIDE, DEGENERATE = 1, 2

#: Called with the number of points that a part had, as tqdm's update.
Progress = Callable[[int], Any]

#: Points of one part of a long list; between two parts there is progress, and work can be interrupted.
part_size = 1 << 18


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


class Orientation(NamedTuple):
    """Whether the elements of a surface can be made to run alike, and what stands in the way.

    ``fault`` is None, "one-sided" (a walk over the surface comes back with the other side up) or "mismatch"
    (the neighbour has no such edge), ``element``, ``edge`` and ``neighbor`` say where. ``against`` counts
    the edges along which two neighbours run in the same direction, up to the fault.
    """

    orientable: bool
    fault: Optional[str]
    element: Optional[int]
    edge: Optional[int]
    neighbor: Optional[int]
    against: int


class Volume(NamedTuple):
    """The signed volume of a closed surface; or NaN, and how many edges are open."""

    value: float
    open_edges: int


class Arc(NamedTuple):
    """Nodes with those of an arc behind them, and the line of nodes along the arc."""

    pos: Reals
    line: Numbers


class CurvedEdges(NamedTuple):
    """The corners of a line of nodes, and its edges as order conversion wants them."""

    corners: Numbers
    edges: Numbers


class Located(NamedTuple):
    """For each point its element, the shares of the element's nodes, and INSIDE, OUTSIDE or DEGENERATE.

    ``elements`` has 0xFFFFFFFF and ``weights`` zeros where a point is not inside.
    """

    elements: Numbers
    weights: Reals
    places: Numbers


class Transfer(NamedTuple):
    """From where points are served: ``states`` are INSIDE, NEAREST or UNSERVED.

    ``elements`` has the element of a point inside and the node of one that the nearest serves, ``local``
    (P, 2) the coordinates in the element.
    """

    states: Numbers
    elements: Numbers
    local: Reals


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
    return Merged(*_native.merge(pos, connect, tolerance))


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


def is_orientable(connect: ArrayLike, neighbors: Optional[ArrayLike] = None) -> Orientation:
    """Tells whether the elements of a surface can be made to run alike, as `mesh_reorient` does it.

    connect   (E, 3) or (E, 4) node numbers.
    neighbors the element across each edge; built if it is left out.

    Edges that more than two elements share have no neighbours and do not count.

    Raises Error: -1 connect or -2 neighbors does not fit. MemoryError.

    >>> is_orientable([[0, 1, 2], [1, 2, 3]])
    Orientation(orientable=True, fault=None, element=None, edge=None, neighbor=None, against=1)
    """
    return Orientation(*_native.is_orientable(connect, neighbors))


def volume(pos: ArrayLike, connect: ArrayLike) -> Volume:
    """The volume that a closed surface encloses: positive if its elements are counterclockwise from outside.

    pos       (N, 3) coordinates.
    connect   (E, 3) node numbers, or (E, 4) with -1 in column 3 of a triangle. A quadrilateral counts as
              the bilinear surface through its corners.

    The value is the number next to the exact one, in cubed units of length. It is NaN for a surface that is
    not closed; `open_edges` are those that are not shared by two elements in opposite directions.

    Raises Error: -1 pos has not 3 columns; -2 connect does not fit. MemoryError.

    >>> volume([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 6]], [[0, 2, 1], [0, 1, 3], [1, 2, 3], [2, 0, 3]])
    Volume(value=1.0, open_edges=0)
    """
    return Volume(*_native.volume(pos, connect))


def arc(pos: ArrayLike, a: int, b: int, center: ArrayLike, n: int) -> Arc:
    """Divides the arc between two nodes into n cells of equal angle, counterclockwise around a centre.

    pos       (N, 2) coordinates.
    a, b      numbers of the first and the last node; the same node for a full turn.
    center    (2,): at neither node.
    n         cells; 0 means nothing to do.

    Returns the nodes with n - 1 new ones behind them, and the n + 1 nodes of the arc.

    Raises Error: -1 pos, -2 a, -3 b or -4 center does not fit. MemoryError.

    >>> arc([[1, 0], [0, 1]], 0, 1, (0, 0), 2).line.tolist()
    [0, 2, 1]
    """
    return Arc(*_native.arc(pos, a, b, center, n))


def patch_loop(bottom: ArrayLike, right: ArrayLike, top: ArrayLike, left: ArrayLike) -> Numbers:
    """Joins four lines of nodes to the closed loop of a patch, and turns those that run backwards.

    Opposite lines have equally many nodes, two at least. The loop is what `mesh_struct_Q4` and the other
    functions on patches ask for.

    Raises Error: -1 bottom, -2 right, -3 top or -4 left does not fit. MemoryError.

    >>> patch_loop([0, 1], [2, 1], [2, 3], [3, 0]).tolist()
    [0, 1, 2, 3, 0]
    """
    return _native.patch_loop(bottom, right, top, left)


def curved_edges(line: ArrayLike, a: int) -> CurvedEdges:
    """Takes a line of nodes apart into corners and the nodes between them.

    line      nodes along a curve, as from `arc`: every (a + 1)-th is a corner, those between two corners
              have consecutive numbers.
    a         nodes between two corners, 1 at least.

    Returns the corners, and (M, a + 2) edges for `convert_into_high_order` and, with a = 1,
    `convert_into_quadratic`.

    Raises Error: -1 line or -2 a does not fit. MemoryError.

    >>> curved_edges([0, 5, 1, 6, 2], 1).edges.tolist()
    [[0, 1, 5], [1, 2, 6]]
    """
    return CurvedEdges(*_native.curved_edges(line, a))


def append(pos: ArrayLike, connect: ArrayLike, pos2: ArrayLike, connect2: ArrayLike) -> Mesh:
    """Puts a mesh behind another one: nodes behind nodes and elements behind elements, with numbers shifted.

    pos, pos2          (N, 2) or (N, 3) coordinates, both alike; [] for none.
    connect, connect2  (E, k) node numbers, both alike; [] for none. -1 stays what it is.

    Nodes that coincide are not joined; `merge` does that.

    Raises Error: -1 pos, -3 pos2 or -4 connect2 does not fit. MemoryError.

    >>> triangle = [[0, 0], [1, 0], [0, 1]], [[0, 1, 2]]
    >>> append(*triangle, *triangle).connect.tolist()
    [[0, 1, 2], [3, 4, 5]]
    """
    return Mesh(*_native.append(pos, connect, pos2, connect2))


class Locator:
    """A planar mesh that is tested and prepared once and asked often.

    pos       (N, 2) coordinates.
    connect   (E, 3) node numbers, or (E, 4) with -1 in column 3 of a triangle, counterclockwise.
    neighbors, ancestors
              the element across each edge, one element for each node; built if they are left out.

    It keeps copies, so arrays may change afterwards. Threads may share it.

    Raises Error: -1 pos, -2 connect, -3 neighbors or -4 ancestors does not fit. MemoryError.

    >>> mesh = Locator([[0, 0], [1, 0], [1, 1], [0, 1]], [[0, 1, 3], [1, 2, 3]])
    >>> mesh.find((0.9, 0.8))
    1
    """

    __slots__ = ("_mesh",)

    def __init__(
        self,
        pos: ArrayLike,
        connect: ArrayLike,
        *,
        neighbors: Optional[ArrayLike] = None,
        ancestors: Optional[ArrayLike] = None,
    ) -> None:
        self._mesh = _native.Locator(pos, connect, neighbors, ancestors, "locator::build")

    def find(self, p: ArrayLike, *, tolerance: float = 1e-6) -> Optional[int]:
        """The element that contains the point p, or None: what `get_element_containing_point` finds.

        tolerance how far outside a side the point may lie, as a share of the area of the element.

        Raises Error: -1 the search came to a degenerate element.
        """
        return self._mesh.find(p, tolerance)

    def locate(
        self,
        points: ArrayLike,
        *,
        tolerance: float = 1e-6,
        threads: int = 1,
        progress: Optional[Progress] = None,
    ) -> Located:
        """Finds the elements that contain many points, each as `find` does.

        points    (P, 2).
        threads   that share the points; 0 takes as many as the processor has. Results do not depend on it.
        progress  called with the number of points done since the last call. The work can be interrupted
                  between parts.

        Returns elements (P,), weights (P, k), whose sum is 1 in each row, and places (P,).

        Raises Error: -1 points does not fit. MemoryError.

        >>> mesh = Locator([[0, 0], [1, 0], [1, 1], [0, 1]], [[0, 1, 3], [1, 2, 3]])
        >>> found = mesh.locate([[0.25, 0.25], [7, 7]])
        >>> found.weights.tolist(), (found.places == INSIDE).tolist()
        ([[0.5, 0.25, 0.25], [0.0, 0.0, 0.0]], [True, False])
        """

        def part(some: Reals) -> Located:
            return Located(*self._mesh.locate(some, tolerance, threads))

        return Located(*by_parts(points, part, progress))

    def transfer(
        self, points: ArrayLike, *, threads: int = 1, progress: Optional[Progress] = None
    ) -> Transfer:
        """Finds out from where points are served when fields are carried onto them, as `interpolate` does.

        The arguments are those of `locate`. A point in no element, but in the box around the mesh, is
        served by the nearest node.

        Raises Error: -1 points does not fit. MemoryError.
        """

        def part(some: Reals) -> Transfer:
            return Transfer(*self._mesh.transfer(some, threads))

        return Transfer(*by_parts(points, part, progress))

    def carry(
        self, table: Transfer, field: ArrayLike, *, unserved: float = float("nan")
    ) -> Reals:
        """Carries a field of the mesh onto the points of a table that `transfer` has made.

        field     (N,) or (N, C) values.
        unserved  what points get that nothing serves.

        Values are those of `interpolate` to the last bit.

        Raises Error: -1 table or -2 field does not fit. MemoryError.

        >>> mesh = Locator([[0, 0], [1, 0], [1, 1], [0, 1]], [[0, 1, 3], [1, 2, 3]])
        >>> mesh.carry(mesh.transfer([[0.5, 0.25]]), [0, 1, 2, 1]).tolist()
        [0.75]
        """
        if not isinstance(table, tuple) or len(table) != 3:
            raise TypeError("table: what `transfer` has made is expected")
        return self._mesh.carry(*table, field, unserved)


def by_parts(
    points: ArrayLike,
    work: Callable[[Reals], Any],
    progress: Optional[Progress],
    *,
    at_least: int = 0,
) -> Iterator[Any]:
    """The arrays of a result that `work` makes for a part of the points, of `at_least` so many."""
    where = _native.as_reals(points, "points")
    if where.ndim == 1:  # []
        where = where.reshape(0, 2)
    results = []
    size = max(part_size, at_least)
    for first in range(0, max(len(where), 1), size):
        some = where[first : first + size]
        results.append(work(some))
        if progress is not None:
            progress(len(some))
    if len(results) == 1:
        return iter(results[0])
    return (np.concatenate(arrays) for arrays in zip(*results))
