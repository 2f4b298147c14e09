"""The native module. Arguments are positional; see the layer above it."""

from typing import Any, Optional, Tuple, Union

from ._results import ArrayLike, Numbers, Reals

class NodeDetector:
    """Finds nodes of a planar mesh near a point; keeps a copy of what it needs."""

    def __init__(self, pos: ArrayLike) -> None: ...
    def find_close(self, p: ArrayLike) -> int: ...
    def find_closest(self, p: ArrayLike) -> int: ...
    def __len__(self) -> int: ...

_Layers = Tuple[Optional[int], Optional[float], Optional[float], bool, Optional[int]]
_Mesh = Tuple[Reals, Numbers]
_Disk = Tuple[Reals, Numbers, Numbers]

def version() -> str: ...
def as_reals(given: ArrayLike, name: str, /) -> Reals: ...
def as_field(given: ArrayLike, name: str, /) -> Reals: ...
def test_columns(function: str, given: Reals, columns: int, argument: int, name: str, /) -> None: ...
def test_length(function: str, given: Reals, length: int, argument: int, name: str, /) -> None: ...
def mesh_struct_Q4(pos: ArrayLike, boundary: ArrayLike, n: int, /) -> _Mesh: ...
def mesh_struct_T3(pos: ArrayLike, boundary: ArrayLike, n: int, pattern: int, /) -> _Mesh: ...
def metrics_struct(boundary: ArrayLike, n: int, metrics: ArrayLike, /) -> Reals: ...
def mesh_disk_Q4(center: ArrayLike, radius: float, n: int, /) -> _Disk: ...
def mesh_disk_UR_Q4(center: ArrayLike, radius: float, n: int, /) -> _Disk: ...
def mesh_sphere_UR_Q4(center: ArrayLike, radius: float, n: int, /) -> _Disk: ...
def mesh_disk_T3(center: ArrayLike, radius: float, n: int, pattern: int, /) -> _Disk: ...
def mesh_disk_UR_T3(center: ArrayLike, radius: float, n: int, pattern: int, /) -> _Disk: ...
def mesh_sphere_UR_T3(center: ArrayLike, radius: float, n: int, pattern: int, /) -> _Disk: ...
def mesh_sphere_Q4(center: ArrayLike, radius: float, n: int, circles: bool, /) -> Any: ...
def mesh_sphere_T3(
    center: ArrayLike, radius: float, n: int, pattern: int, circles: bool, /
) -> Any: ...
def extrude_translate(
    name: str, pos: ArrayLike, edges: ArrayLike, T: ArrayLike, how: _Layers, /
) -> _Mesh: ...
def extrude_rotate(
    name: str,
    pos: ArrayLike,
    edges: ArrayLike,
    center: ArrayLike,
    angle: Union[float, ArrayLike],
    how: _Layers,
    /,
) -> _Mesh: ...
def extrude_spiral(
    name: str,
    pos: ArrayLike,
    edges: ArrayLike,
    center: ArrayLike,
    angle: ArrayLike,
    T: ArrayLike,
    how: _Layers,
    /,
) -> _Mesh: ...
def extrude_normal(
    name: str, pos: ArrayLike, edges: ArrayLike, by: Union[float, ArrayLike], how: _Layers, /
) -> _Mesh: ...
def normals_at_nodes(pos: ArrayLike, connect: ArrayLike, power: float, unit: bool, /) -> Reals: ...
def normals_at_elements(pos: ArrayLike, connect: ArrayLike, unit: bool, /) -> Reals: ...
def offset(
    pos: ArrayLike,
    connect: ArrayLike,
    by: Union[float, ArrayLike],
    vectors: Optional[ArrayLike],
    inplace: bool,
    /,
) -> Reals: ...
def copy_with_offset(
    pos: ArrayLike,
    connect: ArrayLike,
    by: Union[float, ArrayLike],
    vectors: Optional[ArrayLike],
    /,
) -> _Mesh: ...
def convert_into_linear(connect: ArrayLike, /) -> Numbers: ...
def convert_into_quadratic(
    pos: ArrayLike, connect: ArrayLike, edges: Optional[ArrayLike], /
) -> _Mesh: ...
def convert_into_high_order(
    pos: ArrayLike,
    connect: ArrayLike,
    a: int,
    b: int,
    c: int,
    edges: Optional[ArrayLike],
    /,
) -> _Mesh: ...
def split_into_linear(connect: ArrayLike, /) -> Numbers: ...
def split_into_Q4(pos: ArrayLike, connect: ArrayLike, edges: Optional[ArrayLike], /) -> _Mesh: ...
def split_all_Q4(connect: ArrayLike, pos: Optional[ArrayLike], /) -> Numbers: ...
def split_bad_Q4(
    connect: ArrayLike,
    pos: ArrayLike,
    min_quality: float,
    min_angle: float,
    min_warp: float,
    criterion: int,
    /,
) -> Tuple[Numbers, Numbers, Numbers]: ...
def flip(connect: ArrayLike, kind: Optional[str], inplace: bool, /) -> Numbers: ...
def flip_neighbors(
    connect: ArrayLike, neighbors: ArrayLike, kind: Optional[str], inplace: bool, /
) -> Tuple[Numbers, Numbers]: ...
def mesh_reorient(
    connect: ArrayLike,
    neighbors: Optional[ArrayLike],
    seed: int,
    all_components: bool,
    inplace: bool,
    /,
) -> Tuple[Numbers, Numbers, int, bool]: ...
def convert_degenerated_Q4(connect: ArrayLike, inplace: bool, /) -> Tuple[Numbers, int]: ...
def convert_degenerated_Q(connect: ArrayLike, inplace: bool, /) -> Tuple[Numbers, Numbers]: ...
def area(pos: ArrayLike, connect: ArrayLike, /) -> float: ...
def angles(pos: ArrayLike, connect: ArrayLike, normalise: bool, /) -> Tuple[Reals, Reals]: ...
def circumcenters(pos: ArrayLike, connect: ArrayLike, /) -> Reals: ...
def get_connected_elements(
    connect: ArrayLike, neighbors: Optional[ArrayLike], ancestors: Optional[ArrayLike], /
) -> Tuple[Numbers, Numbers]: ...
def principal_curvatures(
    pos: ArrayLike,
    connect: ArrayLike,
    radius: float,
    max_angle: float,
    max_elements: int,
    hard_edges: Optional[ArrayLike],
    neighbors: Optional[ArrayLike],
    /,
) -> Reals: ...
def parametric_curvatures(pos: ArrayLike, connect: ArrayLike, D: ArrayLike, /) -> Reals: ...
def metrics_gen_aniso3d(
    pos: ArrayLike, connect: ArrayLike, normal_size: float, metrics: Optional[ArrayLike], /
) -> Reals: ...
def get_element_containing_point(
    pos: ArrayLike,
    connect: ArrayLike,
    p: ArrayLike,
    tolerance: float,
    neighbors: Optional[ArrayLike],
    ancestors: Optional[ArrayLike],
    detector: Optional[NodeDetector],
    /,
) -> Optional[int]: ...
def interpolate(
    pos: ArrayLike,
    connect: ArrayLike,
    field: ArrayLike,
    nodes: ArrayLike,
    neighbors: Optional[ArrayLike],
    ancestors: Optional[ArrayLike],
    inplace: bool,
    /,
) -> Reals: ...
def interpolate_metrics(
    pos: ArrayLike,
    connect: ArrayLike,
    metrics: ArrayLike,
    nodes: Optional[ArrayLike],
    keep_valid: bool,
    neighbors: Optional[ArrayLike],
    ancestors: Optional[ArrayLike],
    inplace: bool,
    /,
) -> Reals: ...
def adjacency(
    function: str,
    connect: ArrayLike,
    nodes: int,
    neighbors: Optional[ArrayLike],
    ancestors: Optional[ArrayLike],
    /,
) -> Tuple[Numbers, Numbers]: ...
def build_adjacency(connect: ArrayLike, nodes: Optional[int], /) -> Tuple[Numbers, Numbers, int]: ...
def merge(pos: ArrayLike, connect: ArrayLike, tolerance: float, /) -> _Mesh: ...
