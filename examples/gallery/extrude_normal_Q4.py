# SPDX-License-Identifier: Apache-2.0
"""A boundary layer: a profile swept along its own normals into quadrilaterals."""

import tessel2d
from shapes import profile, print_checksum

# [program]
pos, edges = profile(16)
# 0.3 thick, layers from 0.01 at the profile to 0.08.
strip = tessel2d.extrude_normal_Q4(pos, edges, 0.3, h0=0.01, h1=0.08, even=True)
# [program]

print_checksum("extrude_normal_Q4", strip.pos, strip.connect)
