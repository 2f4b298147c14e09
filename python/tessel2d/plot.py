# SPDX-License-Identifier: Apache-2.0
"""Pictures of meshes by matplotlib, and meshes for VTK.

Every function draws into `ax` and returns it; without one it makes a new picture, in the plane or in space
as the nodes are. In space faces are drawn from back to front, so that those in front hide the others.
"""

from __future__ import annotations

from typing import Any, Mapping, Optional, Tuple

import numpy as np
from matplotlib import pyplot
from matplotlib.collections import LineCollection, PolyCollection
from mpl_toolkits.mplot3d.art3d import Line3DCollection, Poly3DCollection
from numpy.typing import NDArray

from . import _native
from ._conversion import split_Q4_into_T3, split_into_linear
from ._normals import normals as normals_of
from ._results import NONE, ArrayLike, Numbers, Reals

__all__ = ["boundary", "field", "mesh", "normals", "to_vtk"]

Axes = Any


def mesh(
    pos: ArrayLike,
    connect: ArrayLike,
    *,
    ax: Optional[Axes] = None,
    color: Any = "#cfe3f2",
    edgecolor: Any = "#31566f",
    linewidth: float = 0.5,
    node_numbers: bool = False,
    element_numbers: bool = False,
) -> Axes:
    """Draws the elements of a mesh, linear or quadratic, with their sides.

    pos       (N, 2) or (N, 3) coordinates; connect (E, k) node numbers.
    color, edgecolor, linewidth
              as for matplotlib; color may hold one entry per element.
    node_numbers, element_numbers
              True: the numbers stand beside them.

    >>> disk = mesh_disk_Q4(n=2)
    >>> len(mesh(*disk[:2], node_numbers=True).texts)
    57
    """
    where, elements = _arrays(pos, connect)
    ax = ax or _axes(where)
    style = {"edgecolor": edgecolor, "linewidth": linewidth}
    _add_faces(ax, where, elements, facecolor=color, **style)
    if node_numbers:
        used = np.unique(elements[elements != NONE])
        _write(ax, where[used], used)
    if element_numbers:
        _write(ax, _centers(where, elements), np.arange(len(elements)))
    return _framed(ax, where)


def field(
    pos: ArrayLike,
    connect: ArrayLike,
    values: ArrayLike,
    *,
    at: Optional[str] = None,
    ax: Optional[Axes] = None,
    cmap: str = "viridis",
    vmin: Optional[float] = None,
    vmax: Optional[float] = None,
    colorbar: bool = True,
    label: str = "",
    edges: bool = False,
) -> Axes:
    """Draws a field on a mesh: smooth in the plane if it has a value per node, else element by element.

    values    (N,) at nodes or (E,) at elements; `at`, "nodes" or "elements", says which where N is E.
    vmin, vmax  the ends of the range of colours; the smallest and the largest value if left out.
    edges     True: sides of elements are drawn too.

    >>> disk = mesh_disk_T3(n=3)
    >>> ax = field(disk.pos, disk.connect, disk.pos[:, 0], label="x")
    """
    where, elements = _arrays(pos, connect)
    numbers = np.asarray(values, np.float64)
    if at is None:
        at = "nodes" if len(numbers) == len(where) else "elements"
    if len(numbers) != (len(where) if at == "nodes" else len(elements)):
        raise ValueError("values: one value per node or per element is expected")
    ax = ax or _axes(where)
    style = {"edgecolor": "#00000040" if edges else "none", "linewidth": 0.4}
    norm = pyplot.Normalize(
        np.nanmin(numbers) if vmin is None else vmin, np.nanmax(numbers) if vmax is None else vmax
    )
    if at == "nodes" and where.shape[1] == 2:
        flat = _triangles(elements)
        painted = ax.tripcolor(*where.T, flat, numbers, shading="gouraud", cmap=cmap, norm=norm)
        if edges:
            _add_faces(ax, where, elements, facecolor="none", **style)
    else:
        per_element = numbers if at == "elements" else _centers(numbers[:, None], elements)[:, 0]
        painted = pyplot.cm.ScalarMappable(norm, cmap)
        _add_faces(ax, where, elements, facecolor=painted.to_rgba(per_element), **style)
    if colorbar:
        ax.figure.colorbar(painted, ax=ax, label=label, shrink=0.8)
    return _framed(ax, where)


def boundary(
    pos: ArrayLike,
    edges: ArrayLike,
    *,
    ax: Optional[Axes] = None,
    color: Any = "#b3261e",
    linewidth: float = 1.5,
) -> Axes:
    """Draws edges, (G, 2) node numbers.

    >>> disk = mesh_disk_T3(n=2)
    >>> ax = boundary(disk.pos, disk.boundary, ax=mesh(*disk[:2]))
    """
    where, lines = _arrays(pos, edges)
    ax = ax or _axes(where)
    collection = LineCollection if where.shape[1] == 2 else Line3DCollection
    drawn = collection(where[lines[:, :2]], colors=color, linewidths=linewidth)
    if where.shape[1] == 2:
        ax.add_collection(drawn)
    else:
        ax.add_collection3d(drawn)
    return _framed(ax, where)


def normals(
    pos: ArrayLike,
    connect: ArrayLike,
    *,
    at: str = "elements",
    ax: Optional[Axes] = None,
    length: Optional[float] = None,
    color: Any = "#b3261e",
) -> Axes:
    """Draws the unit normals of a surface in space, at its elements or nodes.

    length    in the unit of pos; a twentieth of the surface if it is left out.

    >>> octant = mesh_sphere_UR_T3(n=2)
    >>> ax = normals(octant.pos, octant.connect, ax=mesh(*octant[:2]))
    """
    where, elements = _arrays(pos, connect)
    ax = ax or _axes(where)
    vectors = normals_of(where, elements, at=at)
    feet = _centers(where, elements) if at == "elements" else where
    size = float(np.ptp(where, axis=0).max()) / 20 if length is None else length
    ax.quiver(*feet.T, *vectors.T, length=size, color=color, linewidth=0.8)
    return _framed(ax, where)


def to_vtk(
    pos: ArrayLike,
    connect: ArrayLike,
    *,
    point_data: Optional[Mapping[str, ArrayLike]] = None,
    cell_data: Optional[Mapping[str, ArrayLike]] = None,
) -> Any:
    """A vtkPolyData for VTK, or for PyVista's `wrap`.

    Coordinates (N, 3) and the connectivity of a mesh of triangles or of quadrilaterals are not copied: the
    arrays are read where they are and live as long as VTK needs them. (N, 2) coordinates and mixed meshes
    are.

    Raises ImportError without VTK, ValueError for elements of higher order.
    """
    from vtkmodules.util.numpy_support import numpy_to_vtk
    from vtkmodules.vtkCommonCore import vtkPoints
    from vtkmodules.vtkCommonDataModel import vtkCellArray, vtkPolyData

    where, elements = _arrays(pos, connect)
    if elements.shape[1] not in (3, 4):
        raise ValueError("connect: linear elements are expected")
    if where.shape[1] == 2:
        where = np.column_stack([where, np.zeros(len(where))])
    corners = elements.view(np.int32) if elements.flags.c_contiguous else elements.astype(np.int32)
    sizes = np.full(len(elements), elements.shape[1], np.int32)
    flat = corners.reshape(-1)
    if elements.shape[1] == 4 and (elements[:, 3] == NONE).any():
        sizes[elements[:, 3] == NONE] = 3
        flat = corners[elements != NONE]
    offsets = np.concatenate([[0], np.cumsum(sizes)]).astype(np.int32)
    cells = vtkCellArray()
    cells.SetData(numpy_to_vtk(offsets), numpy_to_vtk(flat))
    _hold(cells, offsets, flat)
    points = vtkPoints()
    where = np.ascontiguousarray(where)
    points.SetData(numpy_to_vtk(where))
    _hold(points, where)
    data = vtkPolyData()
    data.SetPoints(points)
    data.SetPolys(cells)
    for owner, arrays in ((data.GetPointData(), point_data), (data.GetCellData(), cell_data)):
        for name, values in (arrays or {}).items():
            kept = np.ascontiguousarray(values)
            array = numpy_to_vtk(kept)
            _hold(array, kept)
            array.SetName(name)
            owner.AddArray(array)
    return data


# ----------------------------------------------------------------------------------------- parts


def _hold(owner: Any, *arrays: NDArray[Any]) -> None:
    """Keeps arrays alive until VTK destroys the object that reads them."""
    owner.AddObserver("DeleteEvent", lambda *_: arrays and None)


def _arrays(pos: ArrayLike, connect: ArrayLike) -> Tuple[Reals, Numbers]:
    where = _native.as_reals(pos, "pos")
    elements = _native.as_numbers(connect, "connect")
    if elements.size and int(elements[elements != NONE].max(initial=0)) >= len(where):
        raise ValueError("connect: a node that does not exist is named")
    return where, elements


def _axes(where: Reals) -> Axes:
    return pyplot.figure().add_subplot(projection="3d" if where.shape[1] == 3 else None)


def _outline(width: int) -> Tuple[Any, Any]:
    """The columns around a triangle and a quadrilateral of `width` columns."""
    known = {
        3: ([0, 1, 2], None),
        4: ([0, 1, 2], [0, 1, 2, 3]),
        6: ([0, 5, 1, 3, 2, 4], None),
        8: ([0, 5, 1, 3, 2, 4], [0, 4, 1, 5, 2, 6, 3, 7]),
        9: ([0, 5, 1, 3, 2, 4], [0, 4, 1, 5, 2, 6, 3, 7]),
    }
    if width not in known:
        raise ValueError("connect: linear or quadratic elements are expected")
    return known[width]


def _is_triangle(elements: Numbers) -> NDArray[np.bool_]:
    width = elements.shape[1]
    if width in (3, 6):
        return np.ones(len(elements), bool)
    marked: NDArray[np.bool_] = elements[:, 3 if width == 4 else 6] == NONE
    return marked


def _add_faces(ax: Axes, where: Reals, elements: Numbers, **style: Any) -> None:
    three, four = _outline(elements.shape[1])
    triangle = _is_triangle(elements)
    polygons = [where[e[three if flat else four]] for e, flat in zip(elements, triangle)]
    if where.shape[1] == 2:
        ax.add_collection(PolyCollection(polygons, **style))
    else:
        ax.add_collection3d(Poly3DCollection(polygons, zsort="average", **style))


def _triangles(elements: Numbers) -> Numbers:
    if elements.shape[1] in (6, 9):
        elements = split_into_linear(elements)
    elif elements.shape[1] == 8:
        elements = elements[:, :4].copy()
    cut = split_Q4_into_T3(elements)
    assert isinstance(cut, np.ndarray)
    return cut


def _centers(values: Reals, elements: Numbers) -> Reals:
    """The mean at the corners of each element."""
    triangle = _is_triangle(elements)
    sums = values[elements[:, :3]].sum(axis=1)
    sums[~triangle] += values[elements[~triangle, 3]] if (~triangle).any() else 0
    means: Reals = sums / np.where(triangle, 3, 4)[:, None]
    return means


def _write(ax: Axes, where: Reals, numbers: NDArray[Any]) -> None:
    for place, number in zip(where, numbers):
        ax.text(*place, str(number), fontsize=7, ha="center", va="center")


def _framed(ax: Axes, where: Reals) -> Axes:
    if where.shape[1] == 2:
        ax.set_aspect("equal")
        ax.autoscale_view()
        return ax
    finite = where[np.isfinite(where).all(axis=1)]
    if len(finite):
        low, high = finite.min(axis=0), finite.max(axis=0)
        half = max(float((high - low).max()) / 2, 1e-300)
        for middle, setter in zip((low + high) / 2, (ax.set_xlim, ax.set_ylim, ax.set_zlim)):
            setter(middle - half, middle + half)
        ax.set_box_aspect((1, 1, 1))
    return ax
