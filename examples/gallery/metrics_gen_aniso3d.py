# SPDX-License-Identifier: Apache-2.0
"""Size tensors derived from a surface of triangles."""

import tessel2d
from shapes import print_checksum

# [program]
octant = tessel2d.mesh_sphere_UR_T3(center=(0, 0, 0), radius=1.0, n=8, pattern=2)
tensors = tessel2d.metrics_gen_aniso3d(octant.pos, octant.connect, 0.0)
# [program]

print_checksum("metrics_gen_aniso3d", tensors)
