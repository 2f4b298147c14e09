# SPDX-License-Identifier: Apache-2.0
"""A patch with bent sides, filled with a structured grid of quadrilaterals."""

import tessel2d
from shapes import outline, print_checksum

# [program]
pos, loop = outline(14, 10)
mesh = tessel2d.mesh_struct_Q4(pos, loop, 10)
# [program]

print_checksum("mesh_struct_Q4", mesh.pos, mesh.connect)
