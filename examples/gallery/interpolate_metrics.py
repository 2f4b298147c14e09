# SPDX-License-Identifier: Apache-2.0
"""Size tensors carried onto nodes of no element."""

import numpy as np
import tessel2d
from shapes import grid_of_triangles, print_checksum

# [program]
mesh = grid_of_triangles(4)
x = mesh.pos[:, 0]
tensors = np.column_stack([100 + 900 * x, 0 * x, 1000 - 900 * x])  # m00, m01, m11
points = np.array([(0.1 + 0.2 * (k % 5), 0.1 + 0.2 * (k // 5)) for k in range(25)])
carried = tessel2d.interpolate_metrics(mesh.pos, mesh.connect, tensors, points)
# [program]

print_checksum("interpolate_metrics", tensors, carried.values)
