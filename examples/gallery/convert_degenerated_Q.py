# SPDX-License-Identifier: Apache-2.0
"""Quadratic quadrilaterals with a collapsed edge become quadratic triangles."""

import tessel2d
from shapes import grid_of_quads, print_checksum

# [program]
mesh = grid_of_quads(4)
quadratic = tessel2d.convert_into_quadratic(mesh.pos, mesh.connect)
elements = quadratic.connect.copy()
elements[quadratic.pos[elements, 0] == 0] = 0  # the left side shrinks to one node
repaired = tessel2d.convert_degenerated_Q(elements)  # 4 of 16
# [program]

print_checksum("convert_degenerated_Q", repaired.connect, repaired.changed)
