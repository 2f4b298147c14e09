# SPDX-License-Identifier: Apache-2.0
"""A patch with bent sides in each of the three patterns of triangles."""

import tessel2d
from shapes import outline, print_checksum

# [program]
pos, loop = outline(8, 6)
falling = tessel2d.mesh_struct_T3(pos, loop, 6, pattern=0)
rising = tessel2d.mesh_struct_T3(pos, loop, 6, pattern=1)
alternating = tessel2d.mesh_struct_T3(pos, loop, 6, pattern=2)
# [program]

print_checksum("mesh_struct_T3", falling.pos, falling.connect, rising.connect, alternating.connect)
