# SPDX-License-Identifier: Apache-2.0
"""One orientation for a whole surface."""

import tessel2d
from shapes import grid_of_triangles, print_checksum

# [program]
mesh = grid_of_triangles(8)
mixed = mesh.connect.copy()
mixed[1::3] = mixed[1::3, ::-1]  # every third element shows its back
oriented = tessel2d.mesh_reorient(mixed)
# [program]

print_checksum("mesh_reorient", oriented.connect)
