# SPDX-License-Identifier: Apache-2.0
"""A parallel surface: a copy moved along the normals of the original."""

import tessel2d
from shapes import grid_of_triangles, lift, print_checksum

# [program]
mesh = grid_of_triangles(12)
# The nodes of the copy are appended; its elements alone come back.
copy = tessel2d.copy_with_offset(lift(mesh.pos), mesh.connect, -0.2)
# [program]

print_checksum("copy_with_offset", copy.pos, copy.connect)
