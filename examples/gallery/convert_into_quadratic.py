# SPDX-License-Identifier: Apache-2.0
"""Linear elements raised to quadratic ones, with nodes on edges and in centres."""

import tessel2d
from shapes import grid_of_triangles, print_checksum

# [program]
mesh = grid_of_triangles(4)
quadratic = tessel2d.convert_into_quadratic(mesh.pos, mesh.connect)
# [program]

print_checksum("convert_into_quadratic", quadratic.pos, quadratic.connect)
