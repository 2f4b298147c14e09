# SPDX-License-Identifier: Apache-2.0
"""Quadratic elements made linear: their mid-side nodes fall out."""

import tessel2d
from shapes import grid_of_quads, print_checksum

# [program]
mesh = grid_of_quads(4)
quadratic = tessel2d.convert_into_quadratic(mesh.pos, mesh.connect)
linear = tessel2d.convert_into_linear(quadratic.connect)
# [program]

print_checksum("convert_into_linear", linear)
