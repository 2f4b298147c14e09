# SPDX-License-Identifier: Apache-2.0
"""Linear elements raised to any order: here two nodes on each edge and four in each quadrilateral."""

import tessel2d
from shapes import grid_of_quads, print_checksum

# [program]
mesh = grid_of_quads(3)
cubic = tessel2d.convert_into_high_order(mesh.pos, mesh.connect, 2, 4, 0)
# [program]

print_checksum("convert_into_high_order", cubic.pos, cubic.connect)
