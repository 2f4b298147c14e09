# SPDX-License-Identifier: Apache-2.0
"""The smallest corner angle of each element."""

import tessel2d
from shapes import outline, print_checksum

# [program]
pos, loop = outline(16, 12)
mesh = tessel2d.mesh_struct_T3(pos, loop, 12, pattern=2)
angles = tessel2d.angles(mesh.pos, mesh.connect, normalise=True)
# [program]

print_checksum("angles", angles.min, angles.max)
