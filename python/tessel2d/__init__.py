# SPDX-License-Identifier: Apache-2.0
"""Mesh tools for planar and surface meshes of triangles and quadrilaterals, on arrays of numpy.

Arrays: nodes and elements along the first axis. `pos` is (N, 2) or (N, 3) coordinates, `connect` is (E, k)
node numbers from 0, where -1 or 0xFFFFFFFF in the last column of (E, 4) marks a triangle. Arrays of float64
and uint32 (or int32) in C order are read where they are, slices such as ``xyz[:, :2]`` too; others are
copied, and `warn_copies` makes that visible. Inputs are never changed unless ``inplace=True`` says so.
Results are arrays of their own; those of nodes and elements hand over the memory that the library made.

An argument that does not fit raises `Error`, one of the wrong type TypeError, exhausted memory MemoryError.
Calls release the interpreter lock; arrays must not be changed by another thread meanwhile.

Further tools stand in `tessel2d.host`, files in `tessel2d.io`, pictures in `tessel2d.plot`.
"""

from . import host
from ._conversion import (
    convert_degenerated_Q,
    convert_degenerated_Q4,
    convert_into_high_order,
    convert_into_linear,
    convert_into_quadratic,
    flip,
    mesh_reorient,
    split_into_linear,
    split_into_Q4,
    split_Q4_into_T3,
)
from ._extrusion import (
    extrude_normal_Q4,
    extrude_normal_T3,
    extrude_rotate_Q4,
    extrude_rotate_T3,
    extrude_spiral_Q4,
    extrude_spiral_T3,
    extrude_translate_Q4,
    extrude_translate_T3,
)
from ._generators import (
    mesh_disk_Q4,
    mesh_disk_T3,
    mesh_disk_UR_Q4,
    mesh_disk_UR_T3,
    mesh_sphere_Q4,
    mesh_sphere_T3,
    mesh_sphere_UR_Q4,
    mesh_sphere_UR_T3,
    mesh_struct_Q4,
    mesh_struct_T3,
    metrics_struct,
)
from ._location import (
    get_element_containing_point,
    interpolate,
    interpolate_metrics,
    metrics_gen_aniso3d,
)
from ._measures import (
    angles,
    area,
    circumcenters,
    get_connected_elements,
    parametric_curvatures,
    principal_curvatures,
)
from ._native import version
from ._normals import copy_with_offset, normals, offset
from ._results import (
    INSIDE,
    NEAREST,
    NONE,
    UNSERVED,
    Angles,
    Carried,
    Changed,
    CopyWarning,
    Counted,
    Curvatures,
    Disk,
    Error,
    Flipped,
    Mesh,
    Reoriented,
    Sphere,
    Split,
    Stars,
)

#: True: a CopyWarning wherever an array has to be copied because of its type or its layout.
warn_copies: bool = False

__version__ = version()

__all__ = [
    "Angles",
    "Carried",
    "Changed",
    "CopyWarning",
    "Counted",
    "Curvatures",
    "Disk",
    "Error",
    "Flipped",
    "INSIDE",
    "Mesh",
    "NEAREST",
    "NONE",
    "Reoriented",
    "Sphere",
    "Split",
    "Stars",
    "UNSERVED",
    "angles",
    "area",
    "circumcenters",
    "convert_degenerated_Q",
    "convert_degenerated_Q4",
    "convert_into_high_order",
    "convert_into_linear",
    "convert_into_quadratic",
    "copy_with_offset",
    "extrude_normal_Q4",
    "extrude_normal_T3",
    "extrude_rotate_Q4",
    "extrude_rotate_T3",
    "extrude_spiral_Q4",
    "extrude_spiral_T3",
    "extrude_translate_Q4",
    "extrude_translate_T3",
    "flip",
    "host",
    "get_connected_elements",
    "get_element_containing_point",
    "interpolate",
    "interpolate_metrics",
    "mesh_disk_Q4",
    "mesh_disk_T3",
    "mesh_disk_UR_Q4",
    "mesh_disk_UR_T3",
    "mesh_reorient",
    "mesh_sphere_Q4",
    "mesh_sphere_T3",
    "mesh_sphere_UR_Q4",
    "mesh_sphere_UR_T3",
    "mesh_struct_Q4",
    "mesh_struct_T3",
    "metrics_gen_aniso3d",
    "metrics_struct",
    "normals",
    "offset",
    "parametric_curvatures",
    "principal_curvatures",
    "split_Q4_into_T3",
    "split_into_Q4",
    "split_into_linear",
    "version",
    "warn_copies",
]
