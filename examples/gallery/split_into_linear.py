# SPDX-License-Identifier: Apache-2.0
"""Quadratic elements cut into four linear ones each."""

import tessel2d
from shapes import grid_of_triangles, print_checksum

# [program]
mesh = grid_of_triangles(3)
quadratic = tessel2d.convert_into_quadratic(mesh.pos, mesh.connect)
pieces = tessel2d.split_into_linear(quadratic.connect)
# [program]

print_checksum("split_into_linear", pieces)
