# SPDX-License-Identifier: Apache-2.0
"""Quadrilaterals with a collapsed edge become triangles."""

import tessel2d
from shapes import grid_of_quads, print_checksum

# [program]
mesh = grid_of_quads(6)
elements = mesh.connect.copy()
elements[mesh.pos[elements, 0] == 0] = 0  # the left side shrinks to one node
repaired = tessel2d.convert_degenerated_Q4(elements)  # 6 elements have been changed
# [program]

print_checksum("convert_degenerated_Q4", repaired.connect)
