# SPDX-License-Identifier: Apache-2.0
"""A field carried from one mesh onto another."""

import tessel2d
from shapes import grid_of_triangles, print_checksum

# [program]
mesh = grid_of_triangles(16)
x, y = mesh.pos.T
field = 4 * x * (1 - x) * y
disk = tessel2d.mesh_disk_T3(center=(0.5, 0.5), radius=0.45, n=6, pattern=2)
carried = tessel2d.interpolate(mesh.pos, mesh.connect, field, disk.pos)
# [program]

print_checksum("interpolate", field, carried.values)
