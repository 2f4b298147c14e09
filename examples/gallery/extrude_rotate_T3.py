# SPDX-License-Identifier: Apache-2.0
"""A profile swept around an axis in space into triangles: a vase."""

import numpy as np
import tessel2d
from shapes import print_checksum

# [program]
t = np.arange(13) / 12.0
pos = np.column_stack([0.3 + 1.2 * t * (1 - t) + 0.2 * t * t, 0 * t, 1.4 * t])
edges = [(k, k + 1) for k in range(12)]
# Around the axis z by 5.5 radians.
vase = tessel2d.extrude_rotate_T3(pos, edges, (0, 0, 0), (0, 0, 5.5), layers=36, pattern=2)
# [program]

print_checksum("extrude_rotate_T3", vase.pos, vase.connect)
