# SPDX-License-Identifier: Apache-2.0
"""Unit normals at the nodes of a surface."""

import tessel2d
from shapes import grid_of_triangles, lift, print_checksum

# [program]
mesh = grid_of_triangles(10)
vectors = tessel2d.normals(lift(mesh.pos), mesh.connect)
# [program]

print_checksum("normals", vectors)
