# SPDX-License-Identifier: Apache-2.0
"""Quadrilaterals cut along the diagonal that gives the better triangles."""

import tessel2d
from shapes import grid_of_quads, print_checksum

# [program]
mesh = grid_of_quads(8)
pos = mesh.pos.copy()  # sheared to the left below, to the right above
y = pos[:, 1] - 0.5
pos[:, 0] += 1.6 * y * y
triangles = tessel2d.split_Q4_into_T3(mesh.connect, pos)
# [program]

print_checksum("split_Q4_into_T3", triangles)
