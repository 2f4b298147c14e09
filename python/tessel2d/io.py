# SPDX-License-Identifier: Apache-2.0
"""Mesh files, by meshio: VTU, MSH 4.1, STL, PLY, OBJ, OFF, XDMF, MED and what else it knows.

Higher orders come and go by maps of the order in which each format lists the nodes of an element.
"""

from __future__ import annotations

import os
from typing import Any, Dict, List, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import meshio
import numpy as np
from numpy.typing import NDArray

from . import _native
from ._conversion import split_Q4_into_T3
from ._results import NONE, ArrayLike, Mesh, Numbers, Reals
from .host import merge

__all__ = ["MeshData", "node_order", "read", "write"]

Data = Dict[str, NDArray[Any]]
Path = Union[str, "os.PathLike[str]"]


class MeshData(NamedTuple):
    """A mesh with what stands beside it in a file.

    `edges` are those that the file lists, (G, 2) or with nodes between; `fused` is how many nodes have
    gone, as at the corners of the triangles of an STL file.
    """

    pos: Reals
    connect: Numbers
    point_data: Data
    cell_data: Data
    edges: Numbers
    fused: int


def read(
    path: Path,
    *,
    tolerance: Optional[float] = None,
    planar: bool = False,
    file_format: Optional[str] = None,
) -> MeshData:
    """Reads triangles and quadrilaterals, linear or of higher order, and edges.

    path      a file; its ending tells the format, or `file_format`, a name of meshio's.
    tolerance nodes closer than this are fused; for STL, a soup of triangles, those of equal coordinates
              are if it is left out. Data of fused nodes are those of the node that stays.
    planar    True: the third coordinate is dropped.

    In a mixed mesh connect is as wide as a quadrilateral, and triangles have 0xFFFFFFFF behind their
    nodes. Elements come block by block, as in the file; solids and single points are passed over.

    Raises ValueError for a file without surface elements, or with elements of several orders.

    >>> import tempfile
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     write(folder + "/disk.stl", mesh_disk_T3(n=2))
    ...     disk = read(folder + "/disk.stl")
    >>> len(disk.pos), disk.connect.shape, disk.fused
    (57, (96, 3), 231)
    """
    kind = _format_of(path, file_format)
    file = meshio.read(path, kind if kind == "gmsh" else file_format)
    surface = [(i, b) for i, b in enumerate(file.cells) if _shape_of(b.type, b.data.shape[1])]
    if kind == "med":
        # The format has no order of kinds.
        surface.sort(key=lambda block: not block[1].type.startswith("triangle"))
    if not surface:
        raise ValueError(f"{path}: there are no triangles or quadrilaterals in this file")
    order = "gmsh" if kind == "gmsh" else "vtk"
    connect = _joined([_from_file(b.type, b.data, order) for _, b in surface], path)
    pos = np.ascontiguousarray(file.points[:, :2] if planar else file.points, np.float64)
    cell_data = {
        name: np.concatenate([np.asarray(blocks[i]) for i, _ in surface])
        for name, blocks in file.cell_data.items()
        if not name.startswith("gmsh:")
    }
    point_data = {
        name: data for name, data in file.point_data.items() if not name.startswith("gmsh:")
    }
    lines = [b.data for b in file.cells if b.type in ("line", "line3", "line4", "line5")]
    edges = np.concatenate(lines) if len({d.shape[1] for d in lines}) == 1 else np.zeros((0, 2))
    found = MeshData(
        pos, connect, point_data, cell_data, edges.astype(np.uint32), 0
    )
    soup = kind == "stl"
    if tolerance is None and not soup:
        return found
    # meshio has fused corners of equal coordinates already.
    corners = connect.size if soup else len(pos)
    return _fused(found, 0.0 if tolerance is None else tolerance, corners)


def write(
    path: Path,
    mesh: Union[Mesh, MeshData, Tuple[ArrayLike, ...]],
    *,
    point_data: Optional[Mapping[str, ArrayLike]] = None,
    cell_data: Optional[Mapping[str, ArrayLike]] = None,
    edges: Optional[ArrayLike] = None,
    file_format: Optional[str] = None,
) -> None:
    """Writes a mesh.

    path      a file; its ending tells the format, or `file_format`, a name of meshio's.
    mesh      a tuple that begins with pos and connect.
    point_data, cell_data
              arrays with one entry per node or element, by their names.
    edges     (G, 2), or (G, 3) with nodes between: lines beside the elements.

    Formats that hold triangles alone (STL, OFF) get quadrilaterals cut along the better diagonal. In a
    mixed mesh triangles come first, then quadrilaterals; cell data follow them.

    Raises ValueError for elements of an order that the format does not have.
    """
    pos = _native.as_reals(mesh[0], "pos")
    connect = np.asarray(mesh[1])
    kind = _format_of(path, file_format)
    values = {name: np.asarray(data) for name, data in (cell_data or {}).items()}
    if kind in ("stl", "off") and connect.shape[1] == 4:
        if values:
            raise ValueError("cell_data: quadrilaterals are cut in this format, which has no data")
        connect = np.asarray(split_Q4_into_T3(connect, pos))
    order = "gmsh" if kind == "gmsh" else "vtk"
    blocks, chosen = _blocks(connect, order)
    if kind in ("xdmf", "med") and not {name for name, _ in blocks} <= _linear_and_serendipity:
        raise ValueError(f"connect: {kind} holds 3, 4, 6 or 8 nodes in an element")
    if kind == "xdmf" and len(blocks) > 1 and connect.shape[1] > 4:
        raise ValueError("connect: xdmf holds triangles or quadrilaterals of 6 or 8 nodes, not both")
    per_block = {name: [data[c] for c in chosen] for name, data in values.items()}
    if edges is not None:
        lines = np.asarray(edges)
        blocks.append((f"line{lines.shape[1]}" if lines.shape[1] > 2 else "line", lines.astype(np.int64)))
        for name, data in values.items():
            per_block[name].append(np.zeros((len(lines), *data.shape[1:]), data.dtype))
    if pos.shape[1] == 2 and kind not in ("xdmf", "med"):
        pos = np.column_stack([pos, np.zeros(len(pos))])
    per_node = {name: np.asarray(data) for name, data in (point_data or {}).items()}
    if kind == "gmsh" and len(blocks) > 1:
        # Each block has to be an entity of its own, and each entity needs a node. Nodes are written
        # entity by entity, so that ascending ones keep their order.
        entities = [(1 if name.startswith("line") else 2, i + 1) for i, (name, _) in enumerate(blocks)]
        ranks = np.minimum(np.arange(len(pos)), len(blocks) - 1)
        per_node["gmsh:dim_tags"] = np.array(sorted(entities))[ranks]
        tags = [np.full(len(data), i + 1, np.int32) for i, (_, data) in enumerate(blocks)]
        per_block.update({"gmsh:geometrical": tags, "gmsh:physical": tags})
    file = meshio.Mesh(pos, blocks, per_node, per_block)
    meshio.write(path, file, kind if kind == "gmsh" else file_format)


# ---------------------------------------------------------------------------------------- formats


_linear_and_serendipity = {"triangle", "quad", "triangle6", "quad8"}


def _format_of(path: Path, file_format: Optional[str]) -> str:
    """The name of the format; several share the ending .msh, which means Gmsh's here."""
    if file_format is None:
        ending = os.path.splitext(os.fspath(path))[1][1:].lower()
        return "gmsh" if ending == "msh" else ending
    return "gmsh" if file_format.startswith("gmsh") else file_format


def _fused(mesh: MeshData, tolerance: float, corners: int) -> MeshData:
    """The mesh without coincident nodes; data and edges follow."""
    count = len(mesh.pos)
    numbered = np.arange(count, dtype=np.uint32)
    merged = merge(mesh.pos, mesh.connect, tolerance)
    # Which node of before each one is: those that stay keep their order and their coordinates.
    kept = np.full(count, NONE, np.uint32)
    kept[mesh.connect[mesh.connect != NONE]] = merged.connect[merged.connect != NONE]
    first = np.full(len(merged.pos), count, np.int64)
    used = kept != NONE
    np.minimum.at(first, kept[used], numbered[used])
    return MeshData(
        merged.pos,
        merged.connect,
        {name: np.asarray(data)[first] for name, data in mesh.point_data.items()},
        mesh.cell_data,
        kept[mesh.edges],
        corners - len(merged.pos),
    )


# ------------------------------------------------------------------------------- order of nodes


def _shape_of(kind: str, nodes: int) -> Optional[Tuple[int, int]]:
    """Corners and nodes on an edge of a kind of meshio's; None for what is no surface element."""
    if kind.startswith("triangle") or kind == "VTK_LAGRANGE_TRIANGLE":
        for a in range(10):
            if (a + 2) * (a + 3) // 2 == nodes:
                return 3, a
    if kind.startswith("quad") or kind == "VTK_LAGRANGE_QUADRILATERAL":
        if kind == "quad8":
            return 4, 1
        a = int(round(nodes**0.5)) - 2
        if (a + 2) ** 2 == nodes:
            return 4, a
    return None


def node_order(corners: int, a: int, inside: int, order: str) -> List[int]:
    """For each node of an element in a file, the column of connect that holds it.

    corners   3 or 4; a: nodes on an edge; inside: those inside.
    order     "vtk" or "gmsh".

    >>> node_order(3, 1, 0, "vtk")
    [0, 1, 2, 5, 3, 4]
    """
    sides = [[corners + a * k + i for i in range(a)] for k in range(corners)]
    first = corners * (a + 1)
    middle = list(range(first, first + inside))
    if corners == 3:
        # An edge has the number of the corner that lies opposite.
        sides = [sides[2], sides[0], sides[1]]
    elif order == "vtk" and a > 1:
        # Sides 2 and 3 run in the direction of the coordinates.
        sides = [sides[0], sides[1], sides[2][::-1], sides[3][::-1]]
    elif order == "gmsh" and inside > 1:
        middle = [first + i for i in _from_outside(int(round(inside**0.5)))]
    return [*range(corners), *(n for side in sides for n in side), *middle]


def _from_outside(m: int) -> List[int]:
    """The m x m nodes of a grid, numbered row by row, corner by corner, side by side, then those inside."""
    if m <= 1:
        return list(range(m))
    corners = [0, m - 1, m * m - 1, m * (m - 1)]
    steps = [1, m, -1, -m]
    sides = [c + s * i for c, s in zip(corners, steps) for i in range(1, m - 1)]
    inner = [(i // (m - 2) + 1) * m + i % (m - 2) + 1 for i in _from_outside(m - 2)]
    return corners + sides + inner


def _columns(corners: int, a: int, nodes: int, order: str) -> List[int]:
    return node_order(corners, a, nodes - corners * (a + 1), order)


def _from_file(kind: str, data: NDArray[Any], order: str) -> Tuple[int, int, Numbers]:
    """Corners, nodes on an edge, and the elements of one block in our order."""
    nodes = data.shape[1]
    shape = _shape_of(kind, nodes)
    assert shape is not None
    corners, a = shape
    ours = np.empty(data.shape, np.uint32)
    ours[:, _columns(corners, a, nodes, order)] = data
    return corners, a, ours


def _joined(blocks: Sequence[Tuple[int, int, Numbers]], path: Path) -> Numbers:
    if len({a for _, a, _ in blocks}) > 1 or len({b.shape[1] for c, _, b in blocks if c == 4}) > 1:
        raise ValueError(f"{path}: there are elements of several orders in this file")
    width = max(b.shape[1] for _, _, b in blocks)
    connect = np.full((sum(len(b) for _, _, b in blocks), width), NONE, np.uint32)
    row = 0
    for _, _, b in blocks:
        connect[row : row + len(b), : b.shape[1]] = b
        row += len(b)
    return connect


def _nodes_on_an_edge(width: int) -> Tuple[int, int, int]:
    """Nodes on an edge, nodes of a triangle and of a quadrilateral (0: none) by the columns of connect."""
    known = {3: (0, 3, 0), 4: (0, 3, 4), 6: (1, 6, 0), 8: (1, 6, 8), 9: (1, 6, 9), 10: (2, 10, 0)}
    if width in known:
        return known[width]
    m = int(round(width**0.5))
    if m * m == width and m < 9:
        a = m - 2
        return a, (a + 2) * (a + 3) // 2, width
    raise ValueError(f"connect: elements of {width} nodes have no counterpart in files")


def _blocks(
    connect: NDArray[Any], order: str
) -> Tuple[List[Tuple[str, NDArray[Any]]], List[NDArray[Any]]]:
    """Blocks of meshio's, and the numbers of the elements in each."""
    a, three, four = _nodes_on_an_edge(connect.shape[1])
    fillers = connect[:, three] if four else np.zeros(len(connect), np.int64)
    is_triangle = (fillers == NONE) | (fillers == -1) if four else np.ones(len(connect), bool)
    blocks, chosen = [], []
    for corners, nodes, mask in ((3, three, is_triangle), (4, four, ~is_triangle)):
        which = np.flatnonzero(mask)
        if len(which) == 0:
            continue
        columns = _columns(corners, a, nodes, order)
        blocks.append((_name(corners, nodes, a, order), connect[which][:, columns].astype(np.int64)))
        chosen.append(which)
    return blocks, chosen


def _name(corners: int, nodes: int, a: int, order: str) -> str:
    if a > 1 and order == "vtk":
        return "VTK_LAGRANGE_TRIANGLE" if corners == 3 else "VTK_LAGRANGE_QUADRILATERAL"
    name = "triangle" if corners == 3 else "quad"
    return name if a == 0 else f"{name}{nodes}"
