# SPDX-License-Identifier: Apache-2.0
"""A surface moved along its own normals."""

import tessel2d
from shapes import grid_of_quads, lift, print_checksum

# [program]
mesh = grid_of_quads(12)
moved = tessel2d.offset(lift(mesh.pos), mesh.connect, 0.15)
# [program]

print_checksum("offset", moved)
