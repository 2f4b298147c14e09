# SPDX-License-Identifier: Apache-2.0
"""The second fundamental form of a surface that is known by its derivatives."""

import numpy as np
import tessel2d
from shapes import grid_of_triangles, print_checksum

# [program]
mesh = grid_of_triangles(24)  # parameters u, v
u, v = mesh.pos.T
# The derivatives of S = (u, v, u^3 - u v^2) by u and by v.
derivatives = np.column_stack([1 + 0 * u, 0 * u, 3 * u * u - v * v, 0 * u, 1 + 0 * u, -2 * u * v])
form = tessel2d.parametric_curvatures(mesh.pos, mesh.connect, derivatives)
# [program]

print_checksum("parametric_curvatures", form)
