# SPDX-License-Identifier: Apache-2.0
"""Principal curvatures of a surface from its triangles alone."""

import numpy as np
import tessel2d
from shapes import grid_of_triangles, lift, print_checksum

# [program]
mesh = grid_of_triangles(32)
curvatures = tessel2d.principal_curvatures(lift(mesh.pos), mesh.connect, 0.1, max_angle=1.0, max_elements=100)
# [program]

print_checksum("principal_curvatures", np.column_stack(curvatures))
