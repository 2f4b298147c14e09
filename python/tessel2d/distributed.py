# SPDX-License-Identifier: Apache-2.0
"""Meshes in parts over the ranks of MPI, with the results of one rank.

Each rank of an mpi4py communicator holds a part of the mesh as a `PartitionedMesh`: the arrays that it is made of, with
32-bit local numbers, and the numbers of its nodes and elements within the whole mesh, of 64 bits. Every function is
collective: all ranks call it. None changes the mesh that it is given; what it makes is a new one, which shares the
arrays that have stayed the same. In the numbers of the whole mesh no result depends on the number of ranks nor on how
the elements are shared out.

    from mpi4py import MPI
    from tessel2d import distributed

    mesh = distributed.from_blocks(pos, connect)     # each rank brings any run of nodes and elements
    mesh = distributed.partition(mesh)               # PT-Scotch
    mesh = distributed.convert_into_quadratic(mesh)
    distributed.write(mesh, "mesh.h5")

Run it with `mpirun -n 4 python3 program.py`. An error on one rank is raised on all.
"""

from __future__ import annotations

import atexit
from typing import Any, Callable, Dict, Mapping, NamedTuple, Optional, Tuple

import numpy as np

from ._results import ArrayLike, Reals

try:
    from . import _distributed as _native
except ImportError as missing:  # pragma: no cover
    raise ImportError("tessel2d was built without MPI, PETSc and mpi4py") from missing

from ._distributed import PartitionedMesh

# mpi4py ends MPI behind all of Python's own exits; PETSc has to end before.
atexit.register(_native.stop)

__all__ = [
    "Adjacency",
    "Angles",
    "Carried",
    "Cut",
    "Disk",
    "NO_NUMBER",
    "PartitionedMesh",
    "Read",
    "Reoriented",
    "Sphere",
    "Stars",
    "Volume",
    "adjacency",
    "angles",
    "area",
    "circumcenters",
    "convert_into_high_order",
    "convert_into_linear",
    "convert_into_quadratic",
    "copy_with_offset",
    "drop_halo",
    "extrude",
    "flip",
    "from_blocks",
    "gather",
    "get_connected_elements",
    "grow_halo",
    "interpolate",
    "merge",
    "mesh_disk_Q4",
    "mesh_disk_T3",
    "mesh_reorient",
    "mesh_sphere_Q4",
    "mesh_sphere_T3",
    "mesh_struct_Q4",
    "mesh_struct_T3",
    "normals",
    "offset",
    "parametric_curvatures",
    "partition",
    "principal_curvatures",
    "read",
    "redistribute",
    "reset_traffic",
    "simplify",
    "split_Q4_into_T3",
    "split_into_Q4",
    "split_into_linear",
    "traffic",
    "volume",
    "write",
]

#: Stands for no node and no element among numbers of 64 bits; -1 in what is given.
NO_NUMBER = 0xFFFFFFFFFFFFFFFF


class Adjacency(NamedTuple):
    """The element across each edge, the lowest element of each node, and how many edges have more than two."""

    neighbors: Any
    ancestors: Any
    shared_by_more: int


class Stars(NamedTuple):
    """The elements around each node of which this rank is in charge: elements[starts[s]:starts[s + 1]]."""

    starts: Any
    elements: Any


class Angles(NamedTuple):
    """The smallest and the largest corner angle of each element of the part."""

    min: Reals
    max: Reals


class Cut(NamedTuple):
    """A mesh, and how many quadrilaterals of the whole have been cut."""

    mesh: PartitionedMesh
    cut: int


class Disk(NamedTuple):
    """A mesh of a disk, and the edges of its boundary in numbers of the whole mesh, on every rank."""

    mesh: PartitionedMesh
    boundary: Any


class Sphere(NamedTuple):
    """A mesh of a sphere, and the edges of two of its circles in numbers of the whole mesh, on every rank."""

    mesh: PartitionedMesh
    circle_z: Any
    circle_y: Any


class Reoriented(NamedTuple):
    """A mesh, how many elements have been turned over, and what stood in the way."""

    mesh: PartitionedMesh
    turned: int
    one_sided: int
    conflicts: int


class Volume(NamedTuple):
    """The signed volume, and whether the surface is closed."""

    volume: float
    closed: bool


class Carried(NamedTuple):
    """Values at points, from where they are (INSIDE, NEAREST, UNSERVED), and the element or node that served."""

    values: Reals
    state: Any
    numbers: Any


class Read(NamedTuple):
    """A mesh with its fields at nodes and elements."""

    mesh: PartitionedMesh
    node_fields: Dict[str, Reals]
    element_fields: Dict[str, Reals]


def _world(comm: Any) -> Any:
    if comm is not None:
        return comm
    from mpi4py import MPI

    return MPI.COMM_WORLD


def _numbers(given: Any, name: str) -> Any:
    """Integers as an array of 64 bits without sign; -1 is NO_NUMBER."""
    array = np.asarray(given)
    if array.size == 0:
        shape = array.shape if array.ndim == 2 else (0, 0)
        return np.zeros(shape, np.uint64)
    if array.dtype.kind not in "iu":
        raise TypeError(f"{name}: integers are needed, not {array.dtype}")
    if array.ndim != 2:
        raise TypeError(f"{name}: a table of numbers is needed, not {array.ndim} dimensions")
    if array.dtype.kind == "i" and array.min() < -1:
        raise ValueError(f"{name}: {array.min()} is no number")
    return np.ascontiguousarray(array).astype(np.uint64)


def from_blocks(pos: ArrayLike, connect: ArrayLike, *, comm: Any = None) -> PartitionedMesh:
    """A mesh of blocks: each rank brings any run of the nodes and any run of the elements.

    The runs follow one another in the order of the ranks. `pos` is (N, 2) or (N, 3), `connect` (E, k) numbers within the
    whole mesh, -1 where there is no node; a rank may bring none of either. `comm` is COMM_WORLD unless given.
    """
    return _native.from_blocks(_world(comm), pos, _numbers(connect, "connect"))


def partition(mesh: PartitionedMesh, by: str = "ptscotch") -> PartitionedMesh:
    """The elements shared out anew: by "ptscotch" on the graph of neighbours, or in "blocks" of numbers."""
    if by not in ("ptscotch", "blocks"):
        raise ValueError(f'by: "ptscotch" or "blocks", not {by!r}')
    return _native.partition(mesh, by)


def redistribute(mesh: PartitionedMesh, ranks: ArrayLike) -> PartitionedMesh:
    """Each element on the rank that is named for it, one entry for each own element of this rank."""
    return _native.redistribute(mesh, np.ascontiguousarray(ranks, dtype=np.int32))


def grow_halo(mesh: PartitionedMesh, layers: int = 1) -> PartitionedMesh:
    """The mesh with so many more layers of elements of other ranks around each part."""
    return _native.grow_halo(mesh, layers)


def drop_halo(mesh: PartitionedMesh) -> PartitionedMesh:
    """The mesh without elements of other ranks."""
    return _native.drop_halo(mesh)


def gather(mesh: PartitionedMesh, root: int = 0) -> Optional[Tuple[Reals, Any]]:
    """The whole mesh, `pos` and `connect`, on rank `root`; None on the others."""
    whole = _native.gather(mesh, root)
    return whole if mesh.comm.Get_rank() == root else None


def write(mesh: PartitionedMesh, path: str, *, node_fields: Optional[Mapping[str, ArrayLike]] = None,
          element_fields: Optional[Mapping[str, ArrayLike]] = None) -> None:
    """Writes mesh and fields to an HDF5 file, and beside it an XDMF file by which viewers read it."""
    _native.write(mesh, str(path), _fields(node_fields), _fields(element_fields))


def _fields(given: Optional[Mapping[str, ArrayLike]]) -> Dict[str, Any]:
    return {name: np.asarray(values, dtype=np.float64) for name, values in (given or {}).items()}


def read(path: str, *, comm: Any = None) -> Read:
    """Reads what `write` has written, on any number of ranks."""
    return Read(*_native.read(_world(comm), str(path)))


def mesh_struct_Q4(pos: ArrayLike, boundary: ArrayLike, n: int, *, comm: Any = None) -> PartitionedMesh:
    """A patch of quadrilaterals, of which each rank makes its share; all ranks bring the whole outline."""
    return _native.mesh_struct_Q4(_world(comm), pos, boundary, n)


def mesh_struct_T3(pos: ArrayLike, boundary: ArrayLike, n: int, pattern: int = 0, *, comm: Any = None) -> PartitionedMesh:
    """A patch of triangles, of which each rank makes its share."""
    return _native.mesh_struct_T3(_world(comm), pos, boundary, n, pattern)


def mesh_disk_Q4(center: ArrayLike = (0, 0), radius: float = 1.0, n: int = 8, *, comm: Any = None) -> Disk:
    """A disk of quadrilaterals, of which each rank makes its share."""
    return Disk(*_native.mesh_disk(_world(comm), center, radius, n, None)[:2])


def mesh_disk_T3(center: ArrayLike = (0, 0), radius: float = 1.0, n: int = 8, pattern: int = 0, *,
                 comm: Any = None) -> Disk:
    """A disk of triangles, of which each rank makes its share."""
    return Disk(*_native.mesh_disk(_world(comm), center, radius, n, pattern)[:2])


def mesh_sphere_Q4(center: ArrayLike = (0, 0, 0), radius: float = 1.0, n: int = 8, *, comm: Any = None) -> Sphere:
    """A sphere of quadrilaterals, of which each rank makes its share, with its circles around z and y."""
    return Sphere(*_native.mesh_sphere(_world(comm), center, radius, n, None))


def mesh_sphere_T3(center: ArrayLike = (0, 0, 0), radius: float = 1.0, n: int = 8, pattern: int = 0, *,
                   comm: Any = None) -> Sphere:
    """A sphere of triangles, of which each rank makes its share, with its circles around z and y."""
    return Sphere(*_native.mesh_sphere(_world(comm), center, radius, n, pattern))


def extrude(pos: ArrayLike, edges: ArrayLike, by: Callable[[Any, Any], Any], *, comm: Any = None) -> PartitionedMesh:
    """A sweep of a profile, of which each rank makes its share of the edges.

    All ranks bring the whole profile. `by` is one call of a sweep of tessel2d, such as
    ``lambda pos, edges: tessel2d.extrude_translate_Q4(pos, edges, (0, 0, 1), layers=8)``.
    """
    return _native.extrude(_world(comm), pos, edges, by)


def convert_into_linear(mesh: PartitionedMesh) -> PartitionedMesh:
    """Quadratic elements lowered to linear ones."""
    return _native.convert_into_linear(mesh)


def convert_into_quadratic(mesh: PartitionedMesh, edges: ArrayLike = ()) -> PartitionedMesh:
    """Linear elements raised to T6 and Q9; `edges` (G, 3) have their nodes already."""
    return _native.convert_into_high_order(mesh, 1, 1, 0, _numbers(edges, "edges"))


def convert_into_high_order(mesh: PartitionedMesh, a: int, b: int, c: int,
                            edges: ArrayLike = ()) -> PartitionedMesh:
    """Linear elements raised to any order: `a` nodes on an edge, `b` in a quadrilateral, `c` in a triangle."""
    return _native.convert_into_high_order(mesh, a, b, c, _numbers(edges, "edges"))


def split_into_linear(mesh: PartitionedMesh) -> PartitionedMesh:
    """Quadratic elements cut into four linear ones each."""
    return _native.split_into_linear(mesh)


def split_into_Q4(mesh: PartitionedMesh, edges: ArrayLike = ()) -> PartitionedMesh:
    """A mesh of quadrilaterals alone, out of any linear one."""
    return _native.split_into_Q4(mesh, _numbers(edges, "edges"))


def split_Q4_into_T3(mesh: PartitionedMesh, *, better: bool = True, min_quality: Optional[float] = None,
                     min_angle: float = -1.0, min_warp: float = -1.0, criterion: int = 1) -> Cut:
    """Quadrilaterals cut into triangles: all of them, or with `min_quality` those that do not reach the thresholds."""
    if min_quality is None:
        return Cut(*_native.split_Q4_into_T3(mesh, better))
    return Cut(*_native.split_bad_Q4_into_T3(mesh, min_quality, min_angle, min_warp, criterion))


def flip(mesh: PartitionedMesh) -> PartitionedMesh:
    """All elements turned over."""
    return _native.flip(mesh)


def mesh_reorient(mesh: PartitionedMesh, seed: int = 0, all_components: bool = True) -> Reoriented:
    """The elements of a surface made to agree with element `seed`."""
    return Reoriented(*_native.mesh_reorient(mesh, seed, all_components))


def merge(mesh: PartitionedMesh, tolerance: float) -> PartitionedMesh:
    """Nodes that coincide within a tolerance fused."""
    return _native.merge(mesh, tolerance)


def simplify(mesh: PartitionedMesh, first_node: int = 0) -> PartitionedMesh:
    """Nodes from `first_node` on that no element uses removed."""
    return _native.simplify(mesh, first_node)


def offset(mesh: PartitionedMesh, by: float, *, vectors: Optional[ArrayLike] = None) -> PartitionedMesh:
    """The nodes moved along given vectors, or along the normals of the surface."""
    return _native.offset(mesh, vectors, by)


def copy_with_offset(mesh: PartitionedMesh, by: float, *, vectors: Optional[ArrayLike] = None) -> PartitionedMesh:
    """A copy that is moved along given vectors or the normals, on new nodes behind the present ones."""
    return _native.copy_with_offset(mesh, vectors, by)


def adjacency(mesh: PartitionedMesh) -> Adjacency:
    """Neighbours of the elements of this part and an element for each of its nodes, in numbers of the whole mesh."""
    return Adjacency(*_native.adjacency(mesh))


def get_connected_elements(mesh: PartitionedMesh) -> Stars:
    """The elements around each own node of this rank, in the order in which one meets them around it."""
    return Stars(*_native.get_connected_elements(mesh))


def normals(mesh: PartitionedMesh, *, at: str = "nodes", power: float = 1.0, unit: bool = True) -> Reals:
    """Normal vectors of the nodes or elements of this part."""
    if at == "elements":
        return _native.element_normals(mesh, unit)
    if at != "nodes":
        raise ValueError(f'at: "nodes" or "elements", not {at!r}')
    return _native.normals(mesh, power, unit)


def angles(mesh: PartitionedMesh, normalise: bool = False) -> Angles:
    """The smallest and the largest corner angle of each element of this part."""
    return Angles(*_native.angles(mesh, normalise))


def circumcenters(mesh: PartitionedMesh) -> Reals:
    """The circumcentre of each triangle of this part."""
    return _native.circumcenters(mesh)


def area(mesh: PartitionedMesh) -> float:
    """The area of the whole mesh: the exact sum, rounded once."""
    return _native.area(mesh)


def volume(mesh: PartitionedMesh) -> Volume:
    """The volume that the whole surface encloses: the exact sum, rounded once."""
    return Volume(*_native.volume(mesh))


def principal_curvatures(mesh: PartitionedMesh, radius: float, *, max_angle: float = float(np.pi),
                         max_elements: int = 1000, hard_edges: Optional[ArrayLike] = None) -> Reals:
    """(N, 8): directions u1 and u2 and curvatures k1 and k2 at the nodes of this part."""
    return _native.principal_curvatures(mesh, radius, max_angle, max_elements, hard_edges)


def parametric_curvatures(mesh: PartitionedMesh, D: ArrayLike) -> Reals:
    """(N, 3): the second fundamental form of a surface at the nodes of this part, from its derivatives `D` (N, 6)."""
    return _native.parametric_curvatures(mesh, D)


def interpolate(mesh: PartitionedMesh, field: ArrayLike, points: ArrayLike, *,
                unserved: float = float("nan")) -> Carried:
    """Values of a field of the whole mesh at points that this rank brings; `field` has a row for each node of this part."""
    values = np.asarray(field)
    carried = _native.interpolate(mesh, values.reshape(len(values), -1), points, unserved)
    return Carried(carried[0].reshape(-1) if values.ndim == 1 else carried[0], *carried[1:])


def traffic() -> Tuple[int, int]:
    """Messages and bytes that this rank has sent since `reset_traffic`."""
    return _native.traffic()


def reset_traffic() -> None:
    """Counts anew."""
    _native.reset_traffic()
