# SPDX-License-Identifier: Apache-2.0
"""An octant of a sphere in triangles."""

import tessel2d
from shapes import print_checksum

# [program]
octant = tessel2d.mesh_sphere_UR_T3(center=(0, 0, 0), radius=1.0, n=6, pattern=2)
# [program]

print_checksum("mesh_sphere_UR_T3", octant.pos, octant.connect, octant.boundary)
