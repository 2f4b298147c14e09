# SPDX-License-Identifier: Apache-2.0
"""A profile swept along a screw into triangles."""

import tessel2d
from shapes import print_checksum

# [program]
pos = [(0.4 + 0.15 * k, 0, 0) for k in range(5)]
edges = [(k, k + 1) for k in range(4)]
# Around the axis z by 12 radians, rising by 1.6.
ramp = tessel2d.extrude_spiral_T3(pos, edges, (0, 0, 0), (0, 0, 12.0), (0, 0, 1.6), layers=72, pattern=2)
# [program]

print_checksum("extrude_spiral_T3", ramp.pos, ramp.connect)
