# SPDX-License-Identifier: Apache-2.0
"""A sphere in quadrilaterals with two great circles."""

import tessel2d
from shapes import print_checksum

# [program]
sphere = tessel2d.mesh_sphere_Q4(center=(0, 0, 0), radius=1.0, n=5, circles=True)
# [program]

print_checksum("mesh_sphere_Q4", sphere.pos, sphere.connect, sphere.circle_z, sphere.circle_y)
